// The history window and the recompile window on both server kinds: labels
// shown and hidden, the rollback rules, a rollback back across a rename, two
// versions compared; a recompile that finds an object that no longer compiles.
#include "../editor/ChildWindowTest.h"
#include "../shell/OffscreenDialogs.h"
#include "frmItemHistory.h"
#include "frmRecompile.h"

#include <QAction>
#include <QProgressBar>
#include <QTemporaryDir>
#include <QTreeWidget>

namespace
{

QStringList Column(QTreeWidget *list, int column)
{
    QStringList out;
    for (int i = 0; i < list->topLevelItemCount(); ++i)
        out << list->topLevelItem(i)->text(column);
    return out;
}

} // namespace

class TestHistory : public QObject, public BackendTest
{
    Q_OBJECT

    QTemporaryDir dir;
    std::unique_ptr<KORVODatabase> session;
    FakeMain windows;

    QAction *tool(QWidget &w, const QString &name) { return Control<QAction>(w, name); }
    void select(QTreeWidget *list, const QList<int> &rows)
    {
        list->clearSelection();
        for (int r : rows)
            list->topLevelItem(r)->setSelected(true);
        list->setCurrentItem(list->topLevelItem(rows.first()), 0, QItemSelectionModel::Select);
    }

private Q_SLOTS:
    void init()
    {
        if (!SetUp())
            QSKIP("no server");
        session = OpenSession(*b, dir.filePath(QStringLiteral("settings.conf")), false);
    }
    void cleanup()
    {
        session.reset();
        TearDown();
    }

    // Created, changed, renamed and labelled; rolled back to the first
    // version, which carries the old name.
    void historyAndRollback_data() { AddKindRows(); }
    void historyAndRollback()
    {
        const auto cls = ObjectClass::StoredProcedure;
        KORVOTypedObjectPtr o = b->CheckedIn(*procs, cls, QStringLiteral("usp_h1"));
        QVERIFY(o && o->CheckOut());
        QVERIFY(o->CheckIn(b->Text(cls, QStringLiteral("usp_h1"), 2), QStringLiteral("changed")));
        b->ExpectBox();
        QVERIFY(procs->RenameItem(QStringLiteral("I") + o->DBID(), QStringLiteral("usp_h2")));
        QVERIFY(b->repo->Copy(QStringLiteral("Db/Objects"), QStringLiteral("Db/tags/v1"), QStringLiteral("Release 1")));
        b->ui.boxes.clear();

        frmItemHistory w(*session, windows);
        o->Generic().Signature = QStringLiteral("integer"); // an overload is told apart in the title
        w.SetObject(o);
        QCOMPARE(w.windowTitle(), QStringLiteral("History of usp_h2(integer) (Stored Procedure)"));
        o->Generic().Signature = QString();
        auto *list = Control<QTreeWidget>(w, QStringLiteral("lvwHistory"));
        QCOMPARE(Column(list, 4), QStringList({ "Item renamed from [usp_h1] to [usp_h2].", "changed", "created" }));

        tool(w, "LABEL")->trigger();
        QCOMPARE(list->topLevelItemCount(), 4);
        QCOMPARE(list->topLevelItem(0)->text(0), QString());
        select(list, { 0 });
        QCOMPARE(Text(w, "CommentText"), QStringLiteral("Release 1"));
        QVERIFY(!tool(w, "ROLLBACK")->isEnabled());
        // With the label shown the current version is no longer the first row.
        select(list, { 1 });
        QVERIFY(tool(w, "ROLLBACK")->isEnabled());
        tool(w, "LABEL")->trigger();

        select(list, { 0 });
        QVERIFY(!tool(w, "ROLLBACK")->isEnabled());
        b->ExpectBox();
        w.Rollback();

        // Two versions compared, the older on the left.
        select(list, { 1, 2 });
        QVERIFY(tool(w, "COMPARE")->isEnabled());
        tool(w, "COMPARE")->trigger();
        QCOMPARE(windows.compared.size(), 2);
        QVERIFY(windows.compared[0].contains(Backend::Marker(cls, 1)));
        QVERIFY(windows.compared[1].contains(Backend::Marker(cls, 2)));

        const QString first = list->topLevelItem(2)->text(0);
        select(list, { 2 });
        b->ui.answer(UiServices::Answer::No);
        w.Rollback();
        QVERIFY(!w.RolledBack() && b->Exists(QStringLiteral("usp_h2")));
        b->ui.answer(UiServices::Answer::Yes);
        b->ExpectBox();
        w.Rollback();
        QCOMPARE(Boxes(b->ui),
            QStringList({ "information|Cannot Rollback|Cannot Rollback to the current version!",
                "question|Are you sure?|Are you sure that you would like to Rollback to Version " + first + "?",
                "question|Are you sure?|Are you sure that you would like to Rollback to Version " + first + "?",
                "information|Rollback Successful|Rollback was successful!" }));
        QVERIFY(w.RolledBack());
        QCOMPARE(list->topLevelItemCount(), 4);
        QVERIFY(list->topLevelItem(0)->text(4).startsWith("Rollback to version: " + first + ". NOTE: Item renamed"));
    }

    // One object that compiles and one whose table has gone; on the scripted
    // server also one whose text cannot be read; the broken one checked out
    // by another user, which the run passes over without a box.
    void recompile_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<bool>("unreadable");
        QTest::addColumn<bool>("held");
        QTest::newRow("PostgreSQL") << "PostgreSQL" << false << false;
        QTest::newRow("SQLServer") << "SQLServer" << false << false;
        QTest::newRow("SQLServer unreadable text") << "SQLServer" << true << false;
        QTest::newRow("PostgreSQL held by another user") << "PostgreSQL" << false << true;
    }
    void recompile()
    {
        QFETCH(bool, unreadable);
        QFETCH(bool, held);
        QVERIFY((session = OpenSession(*b, dir.filePath(QStringLiteral("settings.conf")), true)));

        QVERIFY(b->CheckedIn(*procs, ObjectClass::StoredProcedure, QStringLiteral("usp_fine")));
        b->CreateTable(Backend::Dbo, QStringLiteral("t_gone"));
        const ObjectClass brokenClass = b->IsPostgreSQL() ? ObjectClass::UserDefinedFunction : ObjectClass::View;
        const QString brokenText = b->Pick(
            "CREATE FUNCTION dbo.fn_broken() RETURNS bigint LANGUAGE sql AS $$ SELECT count(*) FROM dbo.t_gone $$",
            "CREATE VIEW [dbo].[vw_broken] AS SELECT id FROM [dbo].[t_gone]");
        auto broken = b->Collection(brokenClass);
        KORVOTypedObjectPtr bad = broken->NewObject();
        QVERIFY(bad->CheckIn(brokenText, QStringLiteral("created")));
        const QString badItem = bad->DBID() + Backend::Ext(brokenClass);
        b->DropTable(Backend::Dbo, QStringLiteral("t_gone"));
        KORVOVSS bob(b->ui);
        if (held) {
            QCOMPARE(bob.OpenConnection(b->repo->Url(), "bob", {}, Backend::Project, b->repo->Folder("work-bob"), true,
                         true),
                QString());
            QVERIFY(bob.CheckOut(badItem, true));
        }
        if (unreadable)
            b->FailStatements(
                QStringLiteral("sp_helptext\\s+'.*usp_fine.*"), QStringLiteral("Could not read the text"));

        frmRecompile w(*session);
        w.Fill();
        b->ExpectBox();
        Click(w, QStringLiteral("cmdStart"));
        const int errors = unreadable ? 2 : 1;
        QCOMPARE(Boxes(b->ui),
            QStringList(QStringLiteral("warning|Recompile Complete|Recompile complete. %1 object(s) reported errors "
                                       "during the recompile and have been checked out (where possible)")
                            .arg(errors)));
        QCOMPARE(w.ErrorCount(), errors);
        QCOMPARE(b->vss->Checkouts(badItem), QStringList(held ? "bob" : "alice"));
        QCOMPARE(b->TemporaryObjects(), QStringList());
        QVERIFY(!Control<QPushButton>(w, QStringLiteral("cmdCancel"))->isEnabled());
    }

    // Nothing to compile; a cancel before the first fifth step still ends the run there.
    void recompileNothingAndCancel_data() { AddKindRows(); }
    void recompileNothingAndCancel()
    {
        QVERIFY((session = OpenSession(*b, dir.filePath(QStringLiteral("settings.conf")), true)));
        frmRecompile w(*session);
        w.Fill();
        b->ExpectBox();
        Click(w, QStringLiteral("cmdStart"));
        QCOMPARE(Boxes(b->ui).last(),
            QStringLiteral("information|Recompile Complete|Recompile complete. All objects recompile without reporting "
                           "any errors."));
        for (int n = 0; n < 7; ++n)
            QVERIFY(b->CheckedIn(*procs, ObjectClass::StoredProcedure, QStringLiteral("usp_c%1").arg(n)));
        frmRecompile again(*session);
        again.Fill();
        // The queue runs at the fifth object: a click on Cancel waiting there ends the run.
        QTimer::singleShot(0, &again, [&again] { Click(again, QStringLiteral("cmdCancel")); });
        b->ExpectBox();
        Click(again, QStringLiteral("cmdStart"));
        QCOMPARE(Boxes(b->ui).last(),
            QStringLiteral("warning|Recompile Aborted|Recompile cancelled by user! All objects, that were processed, "
                           "recompile without reporting any errors."));
        QCOMPARE(Control<QProgressBar>(again, QStringLiteral("pbr"))->value(), 5);
    }
};

QTEST_MAIN(TestHistory)
#include "test_history.moc"
