// Recompile of versioned objects on both server kinds: the server's text is
// created under a temporary name and dropped again, and nothing on the server
// changes; an object whose dependencies went away reports an error.
#include "test_operations_fixture.h"

#include <QTest>

class TestRecompile : public QObject
{
    Q_OBJECT

    OpsFixture f;

private Q_SLOTS:
    void cleanup()
    {
        if (f.b)
            QCOMPARE(f.Ui().pending(), 0);
        f.b.reset();
        f.scripted = nullptr;
    }

    void compilesEveryType_data() { AddKindAndTypeRows(); }
    void compilesEveryType()
    {
        QFETCH(QString, kind);
        QFETCH(int, cls);
        QVERIFY(f.Open(kind));
        const auto type = ObjectClass(cls);
        auto c = f.Collection(type);
        KORVOTypedObjectPtr o = f.CheckedIn(*c, type, QStringLiteral("ops_rc"));
        QVERIFY(o);
        const QString before = f.ServerText(o->DBID());
        const int versions = o->Generic().History().size();
        QVERIFY(o->Generic().Recompile(false));
        QCOMPARE(f.ServerText(o->DBID()), before);
        QCOMPARE(f.TemporaryObjects(), QStringList());
        QCOMPARE(o->Generic().History().size(), versions);
        QVERIFY(!o->IsCheckedOut());
        QVERIFY(f.Ui().boxes.isEmpty());
    }

    // A procedure whose table was dropped no longer compiles; by default the
    // run is silent, and asked not to be it shows the server's error.
    void reportsBrokenDependency_data() { AddKindRows(); }
    void reportsBrokenDependency()
    {
        QFETCH(QString, kind);
        QVERIFY(f.Open(kind));
        f.b->sql->ExecuteSQL(f.IsPostgreSQL() ? QStringLiteral("CREATE TABLE dbo.t_gone (id integer)")
                                              : QStringLiteral("CREATE TABLE [dbo].[t_gone] (id int NOT NULL)"));
        auto c = f.Collection(ObjectClass::StoredProcedure);
        KORVOTypedObjectPtr o = c->NewObject();
        QString text = f.Text(ObjectClass::StoredProcedure, QStringLiteral("usp_rc"));
        text.replace(QLatin1String("SELECT 1"), QLatin1String("SELECT count(*) FROM dbo.t_gone"));
        QVERIFY(o->CheckIn(text, QString()));
        QVERIFY(o->Generic().Recompile());

        f.b->sql->ExecuteSQL(
            f.IsPostgreSQL() ? QStringLiteral("DROP TABLE dbo.t_gone") : QStringLiteral("DROP TABLE [dbo].[t_gone]"));
        if (f.scripted)
            f.FailStatements(QStringLiteral("CREATE PROCEDURE \\[sptmp_.*t_gone.*"),
                QStringLiteral("Invalid object name 'dbo.t_gone'."));
        const QString before = f.ServerText(o->DBID());
        QVERIFY(!o->Generic().Recompile());
        QVERIFY(f.Ui().boxes.isEmpty());
        f.ExpectBox();
        QVERIFY(!o->Generic().Recompile(false));
        QCOMPARE(f.Ui().boxes.size(), 1);
        QCOMPARE(f.Ui().last().title, QStringLiteral("Syntax Error"));
        QVERIFY2(f.Ui().last().text.contains(QLatin1String("t_gone")), qPrintable(f.Ui().last().text));
        QCOMPARE(f.ServerText(o->DBID()), before);
        QCOMPARE(f.TemporaryObjects(), QStringList());
    }
};

QTEST_MAIN(TestRecompile)
#include "test_recompile.moc"
