// The PostgreSQL kind against a real server: object texts, their replacing
// forms, compile checks, drop scripts and triggers' tables.
#include "PgTestServer.h"
#include "ScriptedUi.h"
#include "sql/KORVOSQL.h"

#include <QTest>

class TestKindPg : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();
    void objectTexts_data();
    void objectTexts();
    void replacingTextKeepsId_data();
    void replacingTextKeepsId();
    void compileCheckLeavesNothing();
    void compileCheckErrorHasLine();
    void dropScripts();
    void triggerTableFromServerText();
    void overloadedNameHasNoId();

private:
    QString idOf(const QString &name, const QString &owner = QStringLiteral("public"))
    {
        return mSql->GetObjectID(name, owner);
    }
    std::unique_ptr<PgTestDatabase> mDb;
    ScriptedUi mUi;
    std::unique_ptr<KORVOSQL> mSql;
};

void TestKindPg::initTestCase()
{
    QString why;
    if (!PgTestServer().available(&why))
        QFAIL(qPrintable(why));
}

void TestKindPg::init()
{
    mDb = PgTestServer::freshDatabase(QStringLiteral("kindpg"));
    mDb->exec(QStringLiteral("CREATE TABLE t (id int, name text);"
                             "CREATE FUNCTION f(a int = 5) RETURNS int LANGUAGE plpgsql AS $body$\nBEGIN\n  -- kept\n  "
                             "RETURN a + 1;\nEND\n$body$;"
                             "CREATE VIEW v AS SELECT id /* gone */ FROM t;"
                             "CREATE FUNCTION tf() RETURNS trigger LANGUAGE plpgsql AS $$BEGIN RETURN NEW; END$$;"
                             "CREATE TRIGGER trg BEFORE INSERT OR UPDATE ON t FOR EACH ROW EXECUTE FUNCTION tf();"
                             "CREATE PROCEDURE p(x int) LANGUAGE sql AS 'SELECT 1';"));
    mSql = std::make_unique<KORVOSQL>(mUi, ServerKind::PostgreSQL());
    QCOMPARE(
        mSql->OpenConnection(mDb->Server, mDb->Database, mDb->UserName, mDb->Password, KORVOSQL::UseNTNo), QString());
}

void TestKindPg::cleanup()
{
    mSql.reset();
    mDb.reset();
}

void TestKindPg::objectTexts_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("text");
    QTest::newRow("function")
        << "f"
        << "CREATE OR REPLACE FUNCTION public.f(a integer DEFAULT 5)\n RETURNS integer\n "
           "LANGUAGE plpgsql\nAS $function$\nBEGIN\n  -- kept\n  RETURN a + 1;\nEND\n$function$\n";
    QTest::newRow("view") << "v"
                          << "CREATE OR REPLACE VIEW public.v AS\n SELECT t.id\n   FROM public.t;";
    QTest::newRow("trigger") << "trg"
                             << "CREATE TRIGGER trg BEFORE INSERT OR UPDATE ON public.t FOR EACH ROW EXECUTE FUNCTION "
                                "public.tf()";
    QTest::newRow("procedure") << "p"
                               << "CREATE OR REPLACE PROCEDURE public.p(IN x integer)\n LANGUAGE sql\nAS "
                                  "$procedure$SELECT 1$procedure$\n";
}

void TestKindPg::objectTexts()
{
    QFETCH(QString, name);
    QFETCH(QString, text);
    const QString id = idOf(name);
    QVERIFY(!id.isEmpty());
    QCOMPARE(mSql->GetObjectText(id), text);
    QCOMPARE(mSql->GetObjectName(id, true), QStringLiteral("public.") + name);
    // Reading a text leaves no transaction open.
    QCOMPARE(
        mSql->OpenRecordset(QStringLiteral("SELECT now() = statement_timestamp() AS x"))->Field("x").toBool(), true);
}

void TestKindPg::replacingTextKeepsId_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("function") << "f";
    QTest::newRow("view") << "v";
    QTest::newRow("trigger") << "trg";
    QTest::newRow("procedure") << "p";
}

// The server's own text, in its replacing form, runs and keeps the object.
void TestKindPg::replacingTextKeepsId()
{
    QFETCH(QString, name);
    const QString id = idOf(name);
    const QString text = mSql->GetObjectText(id);
    const QString replacing = mSql->Kind().ReplacingText(text);
    QVERIFY(!replacing.isEmpty());
    mSql->ExecuteSQL(replacing);
    QCOMPARE(idOf(name), id);
    QCOMPARE(mSql->GetObjectText(id), text);
}

void TestKindPg::compileCheckLeavesNothing()
{
    const ServerKind &kind = mSql->Kind();
    const QString text = mSql->GetObjectText(idOf(QStringLiteral("f")));
    QString old;
    const QString temp = kind.TemporaryName(QDateTime::currentDateTime(), 42);
    const QString tempText
        = kind.ReplaceObjectName(kind.CreatePatterns(ObjectClass::UserDefinedFunction), text, temp, old);
    QCOMPARE(old, QStringLiteral("public.f"));
    for (const QString &sql : kind.CompileCheckStatements(tempText, QString()))
        mSql->ExecuteSQL(sql);
    QCOMPARE(idOf(temp, QString()), QString());
}

void TestKindPg::compileCheckErrorHasLine()
{
    const ServerKind &kind = mSql->Kind();
    const QString bad = QStringLiteral("CREATE FUNCTION g() RETURNS int LANGUAGE sql\nAS $$\nSELEC 1\n$$");
    try {
        for (const QString &sql : kind.CompileCheckStatements(bad, QString()))
            mSql->ExecuteSQL(sql);
        QFAIL("no error");
    } catch (const SqlError &e) {
        QVERIFY2(e.Description.startsWith(QLatin1String("Line 3: syntax error at or near \"SELEC\"")),
            qPrintable(e.Description));
    }
    QVERIFY(mSql->ConnectionOpen());
    QCOMPARE(idOf(QStringLiteral("g")), QString());
    QVERIFY(!idOf(QStringLiteral("f")).isEmpty());
}

void TestKindPg::dropScripts()
{
    mDb->exec(QStringLiteral("CREATE FUNCTION f(a text) RETURNS int LANGUAGE sql AS 'SELECT 1'"));
    const ServerKind &kind = mSql->Kind();
    const auto read = [this](const QString &sql) { return mSql->OpenRecordset(sql); };
    const QString dropF = kind.DropScript(ObjectClass::UserDefinedFunction, QStringLiteral("public"), "f", read);
    QCOMPARE(dropF,
        QStringLiteral("DROP FUNCTION IF EXISTS public.f(a integer);\r\nDROP FUNCTION IF EXISTS "
                       "public.f(a text);"));
    const QString dropTrg = kind.DropScript(ObjectClass::Trigger, QString(), QStringLiteral("trg"), read);
    QCOMPARE(dropTrg, QStringLiteral("DROP TRIGGER IF EXISTS trg ON public.t;"));
    for (const QString &sql : { dropF, dropTrg, kind.DropScript(ObjectClass::View, QStringLiteral("public"), "v", read),
             kind.DropScript(ObjectClass::StoredProcedure, QStringLiteral("public"), "p", read) })
        mSql->ExecuteSQL(sql);
    for (const char *name : { "f", "trg", "v", "p" })
        QCOMPARE(idOf(QLatin1String(name)), QString());
    // Dropping what is not there is no error.
    mSql->ExecuteSQL(kind.DropScript(ObjectClass::View, QStringLiteral("public"), "v", read));
    QCOMPARE(kind.DropScript(ObjectClass::Trigger, QString(), QStringLiteral("trg"), read), QString());
}

void TestKindPg::triggerTableFromServerText()
{
    const QString text = mSql->GetObjectText(idOf(QStringLiteral("trg")));
    QCOMPARE(mSql->ExtractTableNameFromTrigger(text, mSql->Kind().CreatePatterns(ObjectClass::Trigger)),
        QStringLiteral("public.t"));
}

void TestKindPg::overloadedNameHasNoId()
{
    QVERIFY(!idOf(QStringLiteral("f")).isEmpty());
    mDb->exec(QStringLiteral("CREATE FUNCTION f(a text) RETURNS int LANGUAGE sql AS 'SELECT 1'"));
    QCOMPARE(idOf(QStringLiteral("f")), QString());
    // Unquoted names fold to lower case, as the server reads them.
    QVERIFY(!idOf(QStringLiteral("V"), QStringLiteral("PUBLIC")).isEmpty());
}

QTEST_GUILESS_MAIN(TestKindPg)
#include "test_kind_pg.moc"
