// The small dialogs of the object commands: rename, undelete, comment and
// description, driven offscreen by their control names.
#include "KORVODatabase.h"
#include "ScriptedUi.h"
#include "StubCollections.h"
#include "frmComment.h"
#include "frmItemDescription.h"
#include "frmRenameObject.h"
#include "frmUndelete.h"

#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QTreeWidget>

#include <functional>

namespace
{

// Runs f once the next modal dialog has started; closes it if f left it open,
// so that a failing step cannot hang the test.
void WhenModal(std::function<void(QDialog &)> f)
{
    QTimer::singleShot(0, [f] {
        auto *dlg = qobject_cast<QDialog *>(QApplication::activeModalWidget());
        if (!dlg) {
            QTest::qFail("no modal dialog", __FILE__, __LINE__);
            return;
        }
        f(*dlg);
        if (dlg->isVisible())
            dlg->reject();
    });
}

template <class T> T *Control(QWidget &w, const QString &name)
{
    T *c = w.findChild<T *>(name);
    if (!c)
        QTest::qFail(qPrintable(QStringLiteral("no control ") + name), __FILE__, __LINE__);
    return c;
}

void Click(QWidget &w, const QString &name)
{
    if (auto *button = Control<QPushButton>(w, name))
        button->click();
}

// Deleted objects of one type; undeleting succeeds for the keys in `good`.
class DeletedCollection : public StubCollection
{
public:
    DeletedCollection(const QString &type, const QString &itemType, const QString &display)
        : StubCollection(type)
        , mItemType(itemType)
        , mDisplay(display)
    {
    }
    QString SubObjectType() const override { return mItemType; }
    QString SubObjectDisplayName() const override { return mDisplay; }
    bool IsEditable() const override { return true; }
    KORVODBTItemsPtr GetDeletedItems(bool) override
    {
        auto items = std::make_shared<KORVODBTItems>();
        for (const QString &key : deleted) {
            auto item = items->Add(key);
            item->Text = QStringLiteral("dbo.") + key.mid(1);
            item->Tag = mItemType;
        }
        return items;
    }
    bool UnDeleteObject(const QString &key) override
    {
        calls.append(key);
        if (!good.contains(key))
            return false;
        deleted.removeAll(key);
        return true;
    }

    QStringList deleted, good, calls;

private:
    QString mItemType, mDisplay;
};

class DeletedFactory : public KORVOCollectionFactory
{
public:
    std::shared_ptr<DeletedCollection> procs, views;
    KORVOObjectCollectionPtr Create(Kind kind) override
    {
        if (kind == Kind::StoredProcedures)
            return procs = std::make_shared<DeletedCollection>(QStringLiteral("StoredProcedures"),
                       QStringLiteral("StoredProcedure"), QStringLiteral("Stored Procedure"));
        if (kind == Kind::Views)
            return views = std::make_shared<DeletedCollection>(
                       QStringLiteral("Views"), QStringLiteral("View"), QStringLiteral("View"));
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

void Check(QTreeWidget &list, const QString &caption)
{
    for (int i = 0; i < list.topLevelItemCount(); ++i) {
        if (list.topLevelItem(i)->text(0) == caption)
            list.topLevelItem(i)->setCheckState(0, Qt::Checked);
    }
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
        QTest::newRow("empty") << QStringLiteral("   ") << QStringLiteral("New Name is missing!");
        QTest::newRow("same name other case")
            << QStringLiteral(" USP_Orders ") << QStringLiteral("New Name is the same as the Old Name!");
        QTest::newRow("open bracket") << QStringLiteral("usp[x") << QStringLiteral("New Name is invalid!");
        QTest::newRow("close bracket") << QStringLiteral("usp]x") << QStringLiteral("New Name is invalid!");
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
            Control<QLineEdit>(d, QStringLiteral("txtNewName"))->setText(typed);
            Click(d, QStringLiteral("cmdRename"));
            stillOpen = d.isVisible();
            shownTrimmed = Control<QLineEdit>(d, QStringLiteral("txtNewName"))->text();
        });
        QCOMPARE(dlg.RenameItem(nullptr, QStringLiteral("usp_orders"), QStringLiteral("dbo")), QString());
        QVERIFY(stillOpen);
        QCOMPARE(shownTrimmed, typed.trimmed());
        QCOMPARE(ui.boxes.size(), 1);
        QCOMPARE(ui.last().icon, UiServices::Icon::Warning);
        QCOMPARE(ui.last().title, QStringLiteral("Invalid Data"));
        QCOMPARE(ui.last().text, message);
    }

    void renameReturnsTrimmedName()
    {
        frmRenameObject dlg(ui);
        QString oldLabel, ownerLabel, closeLabel, start;
        WhenModal([&](QDialog &d) {
            oldLabel = Control<QLabel>(d, QStringLiteral("lblOldName"))->text();
            ownerLabel = Control<QLabel>(d, QStringLiteral("lblOwner"))->text();
            closeLabel = Control<QLabel>(d, QStringLiteral("lblOwnerClose"))->text();
            start = Control<QLineEdit>(d, QStringLiteral("txtNewName"))->text();
            Control<QLineEdit>(d, QStringLiteral("txtNewName"))->setText(QStringLiteral("  usp_orders2 "));
            Click(d, QStringLiteral("cmdRename"));
        });
        QCOMPARE(dlg.RenameItem(nullptr, QStringLiteral("usp_orders"), QStringLiteral("sales")),
            QStringLiteral("usp_orders2"));
        QCOMPARE(oldLabel, QStringLiteral("[sales].[usp_orders]"));
        QCOMPARE(ownerLabel, QStringLiteral("[sales].["));
        QCOMPARE(closeLabel, QStringLiteral("]"));
        QCOMPARE(start, QStringLiteral("usp_orders"));
        QVERIFY(ui.boxes.isEmpty());

        // Cancel gives the empty string, even after a name was typed.
        WhenModal([&](QDialog &d) {
            Control<QLineEdit>(d, QStringLiteral("txtNewName"))->setText(QStringLiteral("other"));
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
            start = Control<QPlainTextEdit>(d, QStringLiteral("txtComment"))->toPlainText();
            Control<QPlainTextEdit>(d, QStringLiteral("txtComment"))->setPlainText(QStringLiteral("fixed totals"));
            Click(d, QStringLiteral("cmdOK"));
        });
        QVERIFY(dlg.GetComment(comment));
        QCOMPARE(start, QString());
        QCOMPARE(comment, QStringLiteral("fixed totals"));

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
            start = Control<QPlainTextEdit>(d, QStringLiteral("txtDescription"))->toPlainText();
            Control<QPlainTextEdit>(d, QStringLiteral("txtDescription"))->clear();
            Click(d, QStringLiteral("cmdOK")); // answered no: stays
            openAfterNo = d.isVisible();
            Click(d, QStringLiteral("cmdOK")); // answered yes
        });
        QVERIFY(dlg.GetDescription(description));
        QCOMPARE(start, QStringLiteral("Totals per customer"));
        QVERIFY(openAfterNo);
        QCOMPARE(description, QString());
        QCOMPARE(ui.boxes.size(), 2);
        QCOMPARE(ui.boxes.at(0).title, QStringLiteral("Save Blank Description"));
        QCOMPARE(ui.boxes.at(0).text, QStringLiteral("Are you sure you want to save a blank description?"));
        QCOMPARE(ui.boxes.at(0).buttons, UiServices::Buttons::YesNo);

        // A text is kept without a question; Cancel leaves the caller's text.
        WhenModal([&](QDialog &d) {
            Control<QPlainTextEdit>(d, QStringLiteral("txtDescription"))->setPlainText(QStringLiteral("new"));
            Click(d, QStringLiteral("cmdOK"));
        });
        QVERIFY(dlg.GetDescription(description));
        QCOMPARE(description, QStringLiteral("new"));
        WhenModal([&](QDialog &d) { Click(d, QStringLiteral("cmdCancel")); });
        QVERIFY(!dlg.GetDescription(description));
        QCOMPARE(description, QStringLiteral("new"));
        QCOMPARE(ui.boxes.size(), 2);
    }

    void undeleteOutcomes_data()
    {
        QTest::addColumn<QStringList>("checked");
        QTest::addColumn<QStringList>("good");
        QTest::addColumn<int>("icon");
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("result");
        const QStringList all { QStringLiteral("dbo.101"), QStringLiteral("dbo.102"), QStringLiteral("dbo.201") };
        QTest::newRow("all") << all << QStringList { "I101", "I102", "I201" } << int(UiServices::Icon::Information)
                             << QStringLiteral("Undeletion Successful")
                             << QStringLiteral("All selected objects have been successfully undeleted.") << true;
        QTest::newRow("none") << all << QStringList() << int(UiServices::Icon::Critical)
                              << QStringLiteral("Undeletion Unsuccessful")
                              << QStringLiteral("Non of the selected objects could be successfully undeleted!")
                              << false;
        QTest::newRow("one of three") << all << QStringList { "I201" } << int(UiServices::Icon::Warning)
                                      << QStringLiteral("Undeletion Partly Successful")
                                      << QStringLiteral("Not all selected objects could be successfully undeleted! "
                                                        "Of the 3 selected objects, 1 was successfully undeleted and "
                                                        "2 could not be undeleted!")
                                      << true;
        QTest::newRow("two of three") << all << QStringList { "I101", "I201" } << int(UiServices::Icon::Warning)
                                      << QStringLiteral("Undeletion Partly Successful")
                                      << QStringLiteral("Not all selected objects could be successfully undeleted! "
                                                        "Of the 3 selected objects, 2 were successfully undeleted "
                                                        "and 1 could not be undeleted!")
                                      << true;
        QTest::newRow("nothing checked") << QStringList() << QStringList { "I101" } << -1 << QString() << QString()
                                         << false;
    }
    void undeleteOutcomes()
    {
        QFETCH(QStringList, checked);
        QFETCH(QStringList, good);
        QFETCH(int, icon);
        QFETCH(QString, title);
        QFETCH(QString, text);
        QFETCH(bool, result);

        QTemporaryDir dir;
        auto factory = std::make_shared<DeletedFactory>();
        KORVODatabase session(ui, factory, {}, dir.filePath(QStringLiteral("settings.conf")));
        factory->procs->deleted = { QStringLiteral("I101"), QStringLiteral("I102") };
        factory->procs->good = good;
        factory->views->deleted = { QStringLiteral("I201") };
        factory->views->good = good;

        frmUndelete dlg(ui);
        if (icon >= 0)
            ui.answer(UiServices::Answer::Ok);
        QStringList before, after;
        WhenModal([&](QDialog &d) {
            auto *list = Control<QTreeWidget>(d, QStringLiteral("lvwDeletedItems"));
            before = Rows(*list);
            for (const QString &caption : checked)
                Check(*list, caption);
            Click(d, QStringLiteral("cmdUndelete"));
            after = Rows(*list);
            Click(d, QStringLiteral("cmdClose"));
        });
        QCOMPARE(dlg.ShowDeletedItems(session), result);

        QCOMPARE(before,
            QStringList({ QStringLiteral("dbo.101|Stored Procedure"), QStringLiteral("dbo.102|Stored Procedure"),
                QStringLiteral("dbo.201|View") }));
        QCOMPARE(factory->procs->calls.size() + factory->views->calls.size(), checked.size());
        // The list is reloaded: what came back is gone from it.
        QCOMPARE(after.size(), before.size() - (checked.isEmpty() ? 0 : good.size()));
        if (icon < 0) {
            QVERIFY(ui.boxes.isEmpty());
            return;
        }
        QCOMPARE(ui.boxes.size(), 1);
        QCOMPARE(int(ui.last().icon), icon);
        QCOMPARE(ui.last().title, title);
        QCOMPARE(ui.last().text, text);
        QVERIFY(ui.waitCalls > 0);
    }
};

QTEST_MAIN(TestObjectDialogs)
#include "test_object_dialogs.moc"
