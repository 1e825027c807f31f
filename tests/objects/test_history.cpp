// History and rollback of versioned objects on both server kinds with a real
// Subversion project: the refusals, and what each side holds when a rollback
// fails at each step.
#include "test_operations_fixture.h"

#include "driver/SqlError.h"

#include <QTest>

using Icon = UiServices::Icon;

class TestHistory : public QObject
{
    Q_OBJECT

    OpsFixture f;
    std::shared_ptr<KORVOVersionedObjects> c;

    bool setUp()
    {
        QFETCH(QString, kind);
        if (!f.Open(kind))
            return false;
        c = f.Collection(ObjectClass::StoredProcedure);
        return true;
    }
    ScriptedUi &ui() { return f.Ui(); }
    QString text(const QString &name, int variant) { return f.Text(ObjectClass::StoredProcedure, name, variant); }
    // Checks a text in: check out, check in.
    bool change(KORVOTypedObject &o, const QString &content, const QString &comment)
    {
        return o.CheckOut() && o.CheckIn(content, comment);
    }

private Q_SLOTS:
    void cleanup()
    {
        if (f.b)
            QCOMPARE(ui().pending(), 0);
        c.reset();
        f.b.reset();
        f.scripted = nullptr;
    }

    void historyRows_data() { AddKindRows(); }
    void historyRows()
    {
        QVERIFY(setUp());
        KORVOTypedObjectPtr o = f.CheckedIn(*c, ObjectClass::StoredProcedure, QStringLiteral("usp_h"), 1);
        QVERIFY(o);
        QVERIFY(change(*o, text(QStringLiteral("usp_h"), 2), QStringLiteral("second")));
        const QList<KORVOHistoryData> rows = o->Generic().History();
        QCOMPARE(rows.size(), 2);
        QVERIFY(rows.at(0).VersionNumber > rows.at(1).VersionNumber);
        QCOMPARE(rows.at(0).Comment, QStringLiteral("second"));
        QCOMPARE(rows.at(0).UserName, QStringLiteral("alice"));
        QVERIFY(!rows.at(0).IsLabel);
        QVERIFY(VersionDateTime(rows.at(0).VersionDate).isValid());
        QVERIFY(o->Generic()
                    .GetContent(1, rows.at(1).VersionNumber, false)
                    .contains(OpsFixture::Marker(ObjectClass::StoredProcedure, 1)));
    }

    void refusals_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<bool>("checkedOut");
        for (const QString &kind : { QStringLiteral("PostgreSQL"), QStringLiteral("SQLServer") }) {
            QTest::newRow(qPrintable(kind + QStringLiteral(" checked out"))) << kind << true;
            QTest::newRow(qPrintable(kind + QStringLiteral(" identical"))) << kind << false;
        }
    }
    void refusals()
    {
        QVERIFY(setUp());
        QFETCH(bool, checkedOut);
        KORVOTypedObjectPtr o = f.CheckedIn(*c, ObjectClass::StoredProcedure, QStringLiteral("usp_h"), 1);
        QVERIFY(o);
        const long first = o->Generic().History().at(0).VersionNumber;
        QVERIFY(change(*o, text(QStringLiteral("usp_h"), 2), QStringLiteral("second")));
        const QString item = o->DBID() + QStringLiteral(".sp");
        if (checkedOut) {
            // The object's own state says nothing: the check-out is read afresh.
            QVERIFY(f.b->vss->CheckOut(item, true));
            QVERIFY(!o->IsCheckedOut());
        } else {
            // The third version is the first one again, character for character.
            QVERIFY(change(*o, o->Generic().GetContent(1, first, false), QStringLiteral("third")));
        }
        const QString serverBefore = f.ServerText(o->DBID());
        const int versions = o->Generic().History().size();
        f.ExpectBox();
        QVERIFY(!o->Generic().Rollback(first, false));
        QCOMPARE(ui().boxes.size(), 1);
        QCOMPARE(ui().last().icon, Icon::Warning);
        if (checkedOut) {
            QCOMPARE(ui().last().title, QStringLiteral("Rollback Unsuccessful"));
            QCOMPARE(ui().last().text,
                QStringLiteral("The item is currently checkedout by 'alice'. In order to "
                               "rollback an item it must be checked in!"));
        } else {
            QCOMPARE(ui().last().title, QStringLiteral("Rollback not Requred"));
            QCOMPARE(ui().last().text, QStringLiteral("The current version and the selected version are identical!"));
        }
        QCOMPARE(f.ServerText(o->DBID()), serverBefore);
        QCOMPARE(o->Generic().History().size(), versions);
        QVERIFY(!o->Generic().Rollback(first, true)); // silent: no box
        QCOMPARE(ui().boxes.size(), 1);
    }

    // What each side holds when a rollback fails at a step.
    void failures_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("step");
        for (const QString &kind : { QStringLiteral("PostgreSQL"), QStringLiteral("SQLServer") }) {
            for (const char *step : { "replace", "check in", "other name create", "other name source control" })
                QTest::newRow(qPrintable(kind + QLatin1Char(' ') + QLatin1String(step)))
                    << kind << QString::fromLatin1(step);
        }
    }
    void failures()
    {
        QVERIFY(setUp());
        QFETCH(QString, step);
        const bool otherName = step.startsWith(QLatin1String("other name"));
        QString first = text(QStringLiteral("usp_h"), 1);
        if (step == QLatin1String("replace")) {
            // The first version reads a table that goes away later.
            f.b->sql->ExecuteSQL(f.IsPostgreSQL() ? QStringLiteral("CREATE TABLE dbo.t_gone (id integer)")
                                                  : QStringLiteral("CREATE TABLE [dbo].[t_gone] (id int NOT NULL)"));
            first.replace(QLatin1String("SELECT 1"), QLatin1String("SELECT count(*) FROM dbo.t_gone"));
        }
        auto o = c->NewObject();
        QVERIFY(o->CheckIn(first, QStringLiteral("first")));
        const long version = o->Generic().History().at(0).VersionNumber;
        QVERIFY(change(*o, text(QStringLiteral("usp_h"), 2), QStringLiteral("second")));
        if (otherName) {
            f.ExpectBox();
            QVERIFY(o->RenameItem(QStringLiteral("usp_h2"), false));
        }
        const QString id = o->DBID();
        const QString name = o->Name();
        const QString item = id + QStringLiteral(".sp");
        const QString serverBefore = f.ServerText(id);
        const QString vssBefore = f.Latest(item);
        const int versions = o->Generic().History().size();
        const int boxes = ui().boxes.size();

        if (step == QLatin1String("replace")) {
            f.b->sql->ExecuteSQL(f.IsPostgreSQL() ? QStringLiteral("DROP TABLE dbo.t_gone")
                                                  : QStringLiteral("DROP TABLE [dbo].[t_gone]"));
            if (f.scripted)
                f.FailStatements(
                    QStringLiteral("ALTER PROCEDURE .*t_gone.*"), QStringLiteral("Invalid object name 'dbo.t_gone'."));
            // No handler of its own: the server's error reaches the caller.
            QVERIFY_THROWS_EXCEPTION(SqlError, o->Generic().Rollback(version, false));
            QCOMPARE(ui().boxes.size(), boxes);
        } else if (step == QLatin1String("check in")) {
            f.RefuseCommits(true);
            f.ExpectBox(); // the connector's
            QVERIFY(o->Generic().Rollback(version, false));
            QCOMPARE(ui().last().title, QStringLiteral("Could not check in"));
        } else if (step == QLatin1String("other name create")) {
            f.b->Create(text(QStringLiteral("usp_h"), 3), QStringLiteral("usp_h"));
            f.ExpectBox();
            QVERIFY(!o->Generic().Rollback(version, false));
            QCOMPARE(ui().last().icon, Icon::Critical);
            QCOMPARE(ui().last().title, QStringLiteral("Could not Rollback Item"));
            QVERIFY(f.ServerText(f.Id(QStringLiteral("usp_h")))
                        .contains(OpsFixture::Marker(ObjectClass::StoredProcedure, 3)));
        } else {
            f.RefuseCommits(true);
            f.ExpectBox(); // the connector's
            QVERIFY(!o->Generic().Rollback(version, false));
            QCOMPARE(ui().last().title, QStringLiteral("Could not Rename Item"));
            // Both objects are in SQL now.
            QVERIFY(f.Exists(QStringLiteral("usp_h")));
        }
        f.RefuseCommits(false);

        QCOMPARE(o->DBID(), id);
        QCOMPARE(o->Name(), name);
        QCOMPARE(f.Files(), QStringList { item });
        QCOMPARE(f.Latest(item), vssBefore);
        QCOMPARE(o->Generic().History().size(), versions);
        if (step == QLatin1String("check in")) {
            // The server holds the old text, source control the newer one.
            QVERIFY(f.ServerText(id).contains(OpsFixture::Marker(ObjectClass::StoredProcedure, 1)));
            QVERIFY(o->SQLAndVSSDiffer());
            QCOMPARE(f.CheckedOutBy(item), QStringLiteral("alice"));
        } else {
            QCOMPARE(f.ServerText(id), serverBefore);
            QVERIFY(!o->SQLAndVSSDiffer());
            QCOMPARE(f.CheckedOutBy(item), QString());
        }
    }
};

QTEST_MAIN(TestHistory)
#include "test_history.moc"
