// The small dialogs of the object commands: rename, undelete, comment and
// description, driven offscreen by their control names.
#include "KORVODatabase.h"
#include "OffscreenDialogs.h"
#include "StubCollections.h"
#include "frmComment.h"
#include "frmItemDescription.h"
#include "frmRenameObject.h"
#include "frmUndelete.h"

#include <QLabel>
#include <QPlainTextEdit>
#include <QTemporaryDir>
#include <QTreeWidget>

namespace
{

// Deleted objects of one type; undeleting succeeds for the keys in `good`.
class DeletedCollection : public StubCollection
{
public:
    using StubCollection::StubCollection;
    bool IsEditable() const override { return true; }
    KORVODBTItemsPtr GetDeletedItems(bool) override
    {
        auto items = std::make_shared<KORVODBTItems>();
        for (const QString &key : deleted) {
            auto item = items->Add(key);
            item->Text = "dbo." + key.mid(1);
            item->Tag = SubObjectType();
        }
        return items;
    }
    bool UnDeleteObject(const QString &key) override
    {
        calls.append(key);
        return good.contains(key) && deleted.removeAll(key);
    }

    QStringList deleted, good, calls;
};

class DeletedFactory : public KORVOCollectionFactory
{
public:
    std::shared_ptr<DeletedCollection> procs, views;
    KORVOObjectCollectionPtr Create(Kind kind) override
    {
        if (kind == Kind::StoredProcedures)
            return procs = std::make_shared<DeletedCollection>("StoredProcedures");
        if (kind == Kind::Views)
            return views = std::make_shared<DeletedCollection>("Views");
        return StubCollectionFactory().Create(kind);
    }
    void Link(const KORVOObjectCollectionPtr &, const KORVOObjectCollectionPtr &) override { }
};

QStringList Rows(QTreeWidget &list)
{
    QStringList rows;
    for (int i = 0; i < list.topLevelItemCount(); ++i)
        rows.append(list.topLevelItem(i)->text(0) + QLatin1Char('|') + list.topLevelItem(i)->text(1));
    return rows;
}

} // namespace

class TestObjectDialogs : public QObject
{
    Q_OBJECT

    ScriptedUi ui;

private Q_SLOTS:
    void init() { ui.clear(); }
    void cleanup() { QCOMPARE(ui.pending(), 0); }

    // The old name is shown and the new one trimmed; a bad name is refused with
    // the dialog left open; Cancel gives nothing, even after a name was typed.
    void renameChecksTheNewName_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QString>("message"); // empty: no box
        QTest::addColumn<QString>("result");
        QTest::newRow("accepted") << "  usp_orders2 "
                                  << ""
                                  << "usp_orders2";
        QTest::newRow("cancelled") << "other"
                                   << ""
                                   << "";
        QTest::newRow("empty") << "   "
                               << "New Name is missing!"
                               << "";
        QTest::newRow("same name other case") << " USP_Orders "
                                              << "New Name is the same as the Old Name!"
                                              << "";
        QTest::newRow("open bracket") << "usp[x"
                                      << "New Name is invalid!"
                                      << "";
        QTest::newRow("close bracket") << "usp]x"
                                       << "New Name is invalid!"
                                       << "";
    }
    void renameChecksTheNewName()
    {
        QFETCH(QString, typed);
        QFETCH(QString, message);
        QFETCH(QString, result);
        frmRenameObject dlg(ui);
        if (!message.isEmpty())
            ui.answer(UiServices::Answer::Ok);
        bool stillOpen = false;
        QString shown, shownTrimmed;
        WhenModal([&](QDialog &d) {
            shown = Control<QLabel>(d, QStringLiteral("lblOldName"))->text() + " "
                + Text(d, QStringLiteral("txtNewName"));
            SetText(d, QStringLiteral("txtNewName"), typed);
            Click(d,
                QString(QTest::currentDataTag()) == "cancelled" ? QStringLiteral("cmdCancel")
                                                                : QStringLiteral("cmdRename"));
            stillOpen = d.isVisible();
            shownTrimmed = Text(d, QStringLiteral("txtNewName"));
        });
        QCOMPARE(dlg.RenameItem(nullptr, QStringLiteral("usp_orders"), QStringLiteral("sales")), result);
        QCOMPARE(shown, "[sales].[usp_orders] usp_orders");
        QCOMPARE(stillOpen, !message.isEmpty());
        if (!message.isEmpty())
            QCOMPARE(shownTrimmed, typed.trimmed());
        QCOMPARE(Boxes(ui), message.isEmpty() ? QStringList() : QStringList { "warning|Invalid Data|" + message });
    }

    void commentOkAndCancel()
    {
        frmComment dlg;
        QString comment = QStringLiteral("old");
        QString start;
        WhenModal([&](QDialog &d) {
            auto *text = Control<QPlainTextEdit>(d, QStringLiteral("txtComment"));
            start = text->toPlainText();
            text->setPlainText(QStringLiteral("fixed totals"));
            Click(d, QStringLiteral("cmdOK"));
        });
        QVERIFY(dlg.GetComment(comment));
        QCOMPARE(start, QString());
        QCOMPARE(comment, "fixed totals");

        WhenModal([&](QDialog &d) {
            Control<QPlainTextEdit>(d, QStringLiteral("txtComment"))->setPlainText(QStringLiteral("lost"));
            Click(d, QStringLiteral("cmdCancel"));
        });
        QVERIFY(!dlg.GetComment(comment));
        QCOMPARE(comment, QString());
    }

    void descriptionAsksBeforeBlank()
    {
        frmItemDescription dlg(ui);
        QString description = QStringLiteral("Totals per customer");
        QString start;
        bool openAfterNo = false;
        ui.answer(UiServices::Answer::No).answer(UiServices::Answer::Yes);
        WhenModal([&](QDialog &d) {
            auto *text = Control<QPlainTextEdit>(d, QStringLiteral("txtDescription"));
            start = text->toPlainText();
            text->clear();
            Click(d, QStringLiteral("cmdOK")); // answered no: stays
            openAfterNo = d.isVisible();
            Click(d, QStringLiteral("cmdOK")); // answered yes
        });
        QVERIFY(dlg.GetDescription(description));
        QCOMPARE(start, "Totals per customer");
        QVERIFY(openAfterNo);
        QCOMPARE(description, QString());
        const QStringList asked(
            2, QStringLiteral("question|Save Blank Description|Are you sure you want to save a blank description?"));
        QCOMPARE(Boxes(ui), asked);

        // A text is kept without a question; Cancel leaves the caller's text.
        WhenModal([&](QDialog &d) {
            Control<QPlainTextEdit>(d, QStringLiteral("txtDescription"))->setPlainText(QStringLiteral("new"));
            Click(d, QStringLiteral("cmdOK"));
        });
        QVERIFY(dlg.GetDescription(description));
        QCOMPARE(description, "new");
        WhenModal([&](QDialog &d) { Click(d, QStringLiteral("cmdCancel")); });
        QVERIFY(!dlg.GetDescription(description));
        QCOMPARE(description, "new");
        QCOMPARE(Boxes(ui), asked);
    }

    void undeleteOutcomes_data()
    {
        QTest::addColumn<bool>("check");
        QTest::addColumn<QStringList>("good");
        QTest::addColumn<QString>("box"); // icon|title|text, none without a box
        QTest::addColumn<bool>("result");
        const QString partly = QStringLiteral("warning|Undeletion Partly Successful|Not all selected objects could be "
                                              "successfully undeleted! Of the 3 selected objects, ");
        QTest::newRow("all") << true << QStringList { "I101", "I102", "I201" }
                             << "information|Undeletion Successful|All selected objects have been successfully "
                                "undeleted."
                             << true;
        QTest::newRow("none") << true << QStringList()
                              << "critical|Undeletion Unsuccessful|Non of the selected objects could be successfully "
                                 "undeleted!"
                              << false;
        QTest::newRow("one of three") << true << QStringList { "I201" }
                                      << partly + "1 was successfully undeleted and 2 could not be undeleted!" << true;
        QTest::newRow("two of three") << true << QStringList { "I101", "I201" }
                                      << partly + "2 were successfully undeleted and 1 could not be undeleted!" << true;
        QTest::newRow("nothing checked") << false << QStringList { "I101" } << QString() << false;
    }
    void undeleteOutcomes()
    {
        QFETCH(bool, check);
        QFETCH(QStringList, good);
        QFETCH(QString, box);
        QFETCH(bool, result);
        QTemporaryDir dir;
        auto factory = std::make_shared<DeletedFactory>();
        KORVODatabase session(ui, factory, {}, dir.filePath(QStringLiteral("settings.conf")));
        factory->procs->deleted = QStringList { "I101", "I102" };
        factory->views->deleted = QStringList { "I201" };
        factory->procs->good = factory->views->good = good;

        frmUndelete dlg(ui);
        if (!box.isEmpty())
            ui.answer(UiServices::Answer::Ok);
        QStringList before, after;
        WhenModal([&](QDialog &d) {
            auto *list = Control<QTreeWidget>(d, QStringLiteral("lvwDeletedItems"));
            before = Rows(*list);
            for (int i = 0; check && i < list->topLevelItemCount(); ++i)
                list->topLevelItem(i)->setCheckState(0, Qt::Checked);
            Click(d, QStringLiteral("cmdUndelete"));
            after = Rows(*list);
            Click(d, QStringLiteral("cmdClose"));
        });
        QCOMPARE(dlg.ShowDeletedItems(session), result);
        QCOMPARE(before, (QStringList { "dbo.101|StoredProcedures", "dbo.102|StoredProcedures", "dbo.201|Views" }));
        QCOMPARE(factory->procs->calls.size() + factory->views->calls.size(), check ? 3 : 0);
        // The list is reloaded: what came back is gone from it.
        QCOMPARE(after.size(), before.size() - (check ? good.size() : 0));
        QCOMPARE(Boxes(ui), box.isEmpty() ? QStringList() : QStringList { box });
        if (check)
            QVERIFY(ui.waitCalls > 0);
    }
};

QTEST_MAIN(TestObjectDialogs)
#include "test_object_dialogs.moc"
