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
    DeletedCollection(const QString &type, const QString &display)
        : StubCollection(type)
        , mDisplay(display)
    {
    }
    QString SubObjectType() const override { return ObjectType().chopped(1); }
    QString SubObjectDisplayName() const override { return mDisplay; }
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

private:
    QString mDisplay;
};

class DeletedFactory : public KORVOCollectionFactory
{
public:
    std::shared_ptr<DeletedCollection> procs, views;
    KORVOObjectCollectionPtr Create(Kind kind) override
    {
        if (kind == Kind::StoredProcedures)
            return procs = std::make_shared<DeletedCollection>("StoredProcedures", "Stored Procedure");
        if (kind == Kind::Views)
            return views = std::make_shared<DeletedCollection>("Views", "View");
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

    void renameRefusesBadNames_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QString>("message");
        auto row
            = [](const char *tag, const char *typed, const char *message) { QTest::newRow(tag) << typed << message; };
        row("empty", "   ", "New Name is missing!");
        row("same name other case", " USP_Orders ", "New Name is the same as the Old Name!");
        row("open bracket", "usp[x", "New Name is invalid!");
        row("close bracket", "usp]x", "New Name is invalid!");
    }
    void renameRefusesBadNames()
    {
        QFETCH(QString, typed);
        QFETCH(QString, message);
        frmRenameObject dlg(ui);
        ui.answer(UiServices::Answer::Ok);
        bool stillOpen = false;
        QString shownTrimmed;
        WhenModal([&](QDialog &d) {
            SetText(d, QStringLiteral("txtNewName"), typed);
            Click(d, QStringLiteral("cmdRename"));
            stillOpen = d.isVisible();
            shownTrimmed = Text(d, QStringLiteral("txtNewName"));
        });
        QCOMPARE(dlg.RenameItem(nullptr, QStringLiteral("usp_orders"), QStringLiteral("dbo")), QString());
        QVERIFY(stillOpen);
        QCOMPARE(shownTrimmed, typed.trimmed());
        QCOMPARE(Boxes(ui), QStringList { "warning|Invalid Data|" + message });
    }

    void renameReturnsTrimmedName()
    {
        frmRenameObject dlg(ui);
        QStringList shown;
        WhenModal([&](QDialog &d) {
            for (const char *label : { "lblOldName", "lblOwner", "lblOwnerClose" })
                shown << Control<QLabel>(d, QLatin1String(label))->text();
            shown << Text(d, QStringLiteral("txtNewName"));
            SetText(d, QStringLiteral("txtNewName"), QStringLiteral("  usp_orders2 "));
            Click(d, QStringLiteral("cmdRename"));
        });
        QCOMPARE(dlg.RenameItem(nullptr, QStringLiteral("usp_orders"), QStringLiteral("sales")), "usp_orders2");
        QCOMPARE(shown, (QStringList { "[sales].[usp_orders]", "[sales].[", "]", "usp_orders" }));
        QVERIFY(ui.boxes.isEmpty());

        // Cancel gives the empty string, even after a name was typed.
        WhenModal([&](QDialog &d) {
            SetText(d, QStringLiteral("txtNewName"), QStringLiteral("other"));
            Click(d, QStringLiteral("cmdCancel"));
        });
        QCOMPARE(dlg.RenameItem(nullptr, QStringLiteral("usp_orders"), QStringLiteral("sales")), QString());
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
        QCOMPARE(ui.boxes.size(), 2);
        QCOMPARE(ui.boxes.at(0).title, "Save Blank Description");
        QCOMPARE(ui.boxes.at(0).text, "Are you sure you want to save a blank description?");
        QCOMPARE(ui.boxes.at(0).buttons, UiServices::Buttons::YesNo);

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
        QCOMPARE(ui.boxes.size(), 2);
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
        QCOMPARE(before, (QStringList { "dbo.101|Stored Procedure", "dbo.102|Stored Procedure", "dbo.201|View" }));
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
