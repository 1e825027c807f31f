// History, rollback and recompile of versioned objects on both server kinds
// with a real Subversion project: the history rows, the refusals, what each
// side holds when a rollback fails at each step, and a recompile that finds a
// dependency gone.
#include "test_backend.h"

#include <QTest>

using Icon = UiServices::Icon;

class TestHistory : public QObject
{
    Q_OBJECT

    std::unique_ptr<Backend> b;
    std::shared_ptr<KORVOVersionedObjects> c;

    bool setUp()
    {
        b = OpenBackend();
        if (b)
            c = b->Collection(ObjectClass::StoredProcedure);
        return bool(b);
    }
    QString text(const QString &name, int variant) { return b->Text(ObjectClass::StoredProcedure, name, variant); }
    static bool change(KORVOTypedObject &o, const QString &content, const QString &comment)
    {
        return o.CheckOut() && o.CheckIn(content, comment);
    }
    // A procedure that reads a table which can go away later.
    KORVOTypedObjectPtr readingTable()
    {
        b->CreateTable("dbo", "t_gone");
        KORVOTypedObjectPtr o = c->NewObject();
        return o->CheckIn(text("usp_h", 1).replace("SELECT 1", "SELECT count(*) FROM dbo.t_gone"), "first") ? o
                                                                                                            : nullptr;
    }

private Q_SLOTS:
    void cleanup()
    {
        if (b)
            QCOMPARE(b->ui.pending(), 0);
        c.reset();
        b.reset();
    }

    void historyRows_data() { AddKindRows(); }
    void historyRows()
    {
        QVERIFY(setUp());
        KORVOTypedObjectPtr o = b->CheckedIn(*c, ObjectClass::StoredProcedure, "usp_h", 1);
        QVERIFY(o && change(*o, text("usp_h", 2), "second"));
        const QList<KORVOHistoryData> rows = o->Generic().History();
        QCOMPARE(rows.size(), 2);
        QVERIFY(rows.at(0).VersionNumber > rows.at(1).VersionNumber);
        QCOMPARE(rows.at(0).Comment, QStringLiteral("second"));
        QCOMPARE(rows.at(0).UserName, QStringLiteral("alice"));
        QVERIFY(!rows.at(0).IsLabel);
        QVERIFY(VersionDateTime(rows.at(0).VersionDate).isValid());
        QVERIFY(o->Generic()
                    .GetContent(1, rows.at(1).VersionNumber, false)
                    .contains(Backend::Marker(ObjectClass::StoredProcedure, 1)));
    }

    void refusals_data() { AddKindRows({ "checked out", "identical" }); }
    void refusals()
    {
        QVERIFY(setUp());
        QFETCH(QString, row);
        KORVOTypedObjectPtr o = b->CheckedIn(*c, ObjectClass::StoredProcedure, "usp_h", 1);
        QVERIFY(o);
        const long first = o->Generic().History().at(0).VersionNumber;
        QVERIFY(change(*o, text("usp_h", 2), "second"));
        if (row == "checked out") {
            // The object's own state says nothing: the check-out is read afresh.
            QVERIFY(b->vss->CheckOut(o->DBID() + ".sp", true));
            QVERIFY(!o->IsCheckedOut());
        } else {
            // The third version is the first one again, character for character.
            QVERIFY(change(*o, o->Generic().GetContent(1, first, false), "third"));
        }
        const QString serverBefore = b->ServerText(o->DBID());
        const int versions = o->Generic().History().size();
        b->ExpectBox();
        QVERIFY(!o->Generic().Rollback(first, false));
        QCOMPARE(b->ui.boxes.size(), 1);
        if (row == "checked out")
            b->ExpectLastBox(Icon::Warning, "Rollback Unsuccessful",
                "The item is currently checkedout by 'alice'. In order to rollback an item it must be checked in!");
        else
            b->ExpectLastBox(
                Icon::Warning, "Rollback not Requred", "The current version and the selected version are identical!");
        QCOMPARE(b->ServerText(o->DBID()), serverBefore);
        QCOMPARE(o->Generic().History().size(), versions);
        QVERIFY(!o->Generic().Rollback(first, true)); // silent: no box
        QCOMPARE(b->ui.boxes.size(), 1);
    }

    // What each side holds when a rollback fails at a step.
    void failures_data() { AddKindRows({ "replace", "check in", "other name create", "other name source control" }); }
    void failures()
    {
        QVERIFY(setUp());
        QFETCH(QString, row);
        // The first version reads a table that goes away later.
        KORVOTypedObjectPtr o = readingTable();
        QVERIFY(o);
        const long version = o->Generic().History().at(0).VersionNumber;
        QVERIFY(change(*o, text("usp_h", 2), "second"));
        if (row.startsWith("other name")) {
            b->ExpectBox();
            QVERIFY(o->RenameItem("usp_h2", false));
        }
        const QString id = o->DBID(), name = o->Name(), item = id + ".sp";
        const QString serverBefore = b->ServerText(id), vssBefore = b->Latest(item);
        const int versions = o->Generic().History().size(), boxes = b->ui.boxes.size();

        if (row == "replace") {
            b->DropTable("dbo", "t_gone");
            if (b->scripted)
                b->FailStatements("ALTER PROCEDURE .*t_gone.*", "Invalid object name 'dbo.t_gone'.");
            // No handler of its own: the server's error reaches the caller.
            QVERIFY_THROWS_EXCEPTION(SqlError, o->Generic().Rollback(version, false));
            QCOMPARE(b->ui.boxes.size(), boxes);
        } else if (row == "other name create") {
            b->Create(ObjectClass::StoredProcedure, "usp_h", 3);
            b->ExpectBox();
            QVERIFY(!o->Generic().Rollback(version, false));
            QCOMPARE(b->ui.last().icon, Icon::Critical);
            QCOMPARE(b->ui.last().title, QStringLiteral("Could not Rollback Item"));
            QVERIFY(b->ServerText(b->Id("usp_h")).contains(Backend::Marker(ObjectClass::StoredProcedure, 3)));
        } else {
            b->RefuseCommits(true);
            b->ExpectBox(); // the connector's
            // Checked in again the rollback goes through on the server; renamed, it does not.
            QCOMPARE(o->Generic().Rollback(version, false), row == "check in");
            QCOMPARE(b->ui.last().title, QString(row == "check in" ? "Could not check in" : "Could not Rename Item"));
            b->RefuseCommits(false);
            // Both objects are in SQL now.
            QVERIFY(row == "check in" || b->Exists("usp_h"));
        }
        QCOMPARE(o->DBID(), id);
        QCOMPARE(o->Name(), name);
        QCOMPARE(b->Files(), QStringList { item });
        QCOMPARE(b->Latest(item), vssBefore);
        QCOMPARE(o->Generic().History().size(), versions);
        if (row == "check in") {
            // The server holds the old text, source control the newer one.
            QVERIFY(b->ServerText(id).contains("t_gone"));
            QVERIFY(o->SQLAndVSSDiffer());
            QCOMPARE(b->CheckedOutBy(item), QStringLiteral("alice"));
        } else {
            QCOMPARE(b->ServerText(id), serverBefore);
            QVERIFY(!o->SQLAndVSSDiffer());
            QCOMPARE(b->CheckedOutBy(item), QString());
        }
    }

    // A procedure whose table was dropped no longer compiles; by default the
    // run is silent, and asked not to be it shows the server's error.
    void recompileReportsBrokenDependency_data() { AddKindRows(); }
    void recompileReportsBrokenDependency()
    {
        QVERIFY(setUp());
        KORVOTypedObjectPtr o = readingTable();
        QVERIFY(o && o->Generic().Recompile());
        b->DropTable("dbo", "t_gone");
        if (b->scripted)
            b->FailStatements("CREATE PROCEDURE \\[sptmp_.*t_gone.*", "Invalid object name 'dbo.t_gone'.");
        const QString before = b->ServerText(o->DBID());
        QVERIFY(!o->Generic().Recompile());
        QVERIFY(b->ui.boxes.isEmpty());
        b->ExpectBox();
        QVERIFY(!o->Generic().Recompile(false));
        QCOMPARE(b->ui.boxes.size(), 1);
        QCOMPARE(b->ui.last().title, QStringLiteral("Syntax Error"));
        QVERIFY2(b->ui.last().text.contains("t_gone"), qPrintable(b->ui.last().text));
        QCOMPARE(b->ServerText(o->DBID()), before);
        QCOMPARE(b->TemporaryObjects(), QStringList());
    }
};

QTEST_MAIN(TestHistory)
#include "test_history.moc"
