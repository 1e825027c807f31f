// The PostgreSQL kind against a real server: object texts, their replacing
// forms, the line numbers of compile check errors, and drop scripts.
#include "PgTestServer.h"
#include "ScriptedUi.h"
#include "sql/KORVOSQL.h"

#include <QTest>

using namespace Qt::StringLiterals;

class TestKindPg : public QObject
{
    Q_OBJECT

    std::unique_ptr<PgTestDatabase> mDb;
    ScriptedUi mUi;
    std::unique_ptr<KORVOSQL> mSql;

    QString idOf(const QString &name, const QString &owner = u"public"_s) { return mSql->GetObjectID(name, owner); }

private Q_SLOTS:
    void initTestCase()
    {
        QString why;
        if (!PgTestServer().available(&why))
            QFAIL(qPrintable(why));
    }

    void init()
    {
        mDb = PgTestServer::freshDatabase(u"kindpg"_s);
        mDb->exec(u"CREATE TABLE t (id int, name text);"
                  "CREATE FUNCTION f(a int = 5) RETURNS int LANGUAGE plpgsql AS $body$\nBEGIN\n  -- kept\n  "
                  "RETURN a + 1;\nEND\n$body$;"
                  "CREATE VIEW v AS SELECT id /* gone */ FROM t;"
                  "CREATE FUNCTION tf() RETURNS trigger LANGUAGE plpgsql AS $$BEGIN RETURN NEW; END$$;"
                  "CREATE TRIGGER trg BEFORE INSERT OR UPDATE ON t FOR EACH ROW EXECUTE FUNCTION tf();"
                  "CREATE PROCEDURE p(x int) LANGUAGE sql AS 'SELECT 1';"_s);
        mSql = std::make_unique<KORVOSQL>(mUi, ServerKind::PostgreSQL());
        QCOMPARE(mSql->OpenConnection(mDb->Server, mDb->Database, mDb->UserName, mDb->Password, KORVOSQL::UseNTNo),
            QString());
    }

    void cleanup()
    {
        mSql.reset();
        mDb.reset();
    }

    void objectTexts_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("text");
        QTest::newRow("function") << u"f"_s
                                  << u"CREATE OR REPLACE FUNCTION public.f(a integer DEFAULT 5)\n RETURNS integer\n "
                                     "LANGUAGE plpgsql\nAS $function$\nBEGIN\n  -- kept\n  RETURN a + 1;\nEND\n"
                                     "$function$\n"_s;
        QTest::newRow("view") << u"v"_s << u"CREATE OR REPLACE VIEW public.v AS\n SELECT t.id\n   FROM public.t;"_s;
        QTest::newRow("trigger")
            << u"trg"_s
            << u"CREATE TRIGGER trg BEFORE INSERT OR UPDATE ON public.t FOR EACH ROW EXECUTE FUNCTION public.tf()"_s;
    }

    // The server's own text, in its replacing form, runs and keeps the object.
    void objectTexts()
    {
        QFETCH(QString, name);
        QFETCH(QString, text);
        const QString id = idOf(name);
        QVERIFY(!id.isEmpty());
        // Unquoted names fold to lower case, as the server reads them.
        QCOMPARE(idOf(name.toUpper(), u"PUBLIC"_s), id);
        QCOMPARE(mSql->GetObjectText(id), text);
        QCOMPARE(mSql->GetObjectName(id, true), u"public."_s + name);
        // Reading a text leaves no transaction open.
        QVERIFY(mSql->OpenRecordset(u"SELECT now() = statement_timestamp() AS x"_s)->Field(u"x"_s).toBool());

        const QString replacing = mSql->Kind().ReplacingText(text);
        QVERIFY(!replacing.isEmpty());
        mSql->ExecuteSQL(replacing);
        QCOMPARE(idOf(name), id);
        QCOMPARE(mSql->GetObjectText(id), text);
    }

    // An error of a compile check keeps the line numbers of the text; that the
    // check leaves nothing behind is tested with the objects.
    void compileCheck()
    {
        const QString text = u"CREATE FUNCTION g() RETURNS int LANGUAGE sql\nAS $$\nSELEC 1\n$$"_s;
        try {
            for (const QString &sql : mSql->Kind().CompileCheckStatements(text, QString()))
                mSql->ExecuteSQL(sql);
            QFAIL("no error");
        } catch (const SqlError &e) {
            QVERIFY2(
                e.Description.startsWith("Line 3: syntax error at or near \"SELEC\""_L1), qPrintable(e.Description));
        }
        QVERIFY(mSql->ConnectionOpen());
    }

    void dropScripts()
    {
        mDb->exec(u"CREATE FUNCTION f(a text) RETURNS int LANGUAGE sql AS 'SELECT 1'"_s);
        // An overloaded name has no single id.
        QCOMPARE(idOf(u"f"_s), QString());
        const ServerKind &kind = mSql->Kind();
        const auto read = [this](const QString &sql) { return mSql->OpenRecordset(sql); };
        const QString dropF = kind.DropScript(ObjectClass::UserDefinedFunction, u"public"_s, u"f"_s, read);
        QCOMPARE(dropF, u"DROP FUNCTION IF EXISTS public.f(a integer);\r\nDROP FUNCTION IF EXISTS public.f(a text);"_s);
        const QString dropTrg = kind.DropScript(ObjectClass::Trigger, QString(), u"trg"_s, read);
        QCOMPARE(dropTrg, u"DROP TRIGGER IF EXISTS trg ON public.t;"_s);
        for (const QString &sql : { dropF, dropTrg, kind.DropScript(ObjectClass::View, u"public"_s, u"v"_s, read),
                 kind.DropScript(ObjectClass::StoredProcedure, u"public"_s, u"p"_s, read) })
            mSql->ExecuteSQL(sql);
        for (const char *name : { "f", "trg", "v", "p" })
            QCOMPARE(idOf(QLatin1String(name)), QString());
        // Dropping what is not there is no error.
        mSql->ExecuteSQL(kind.DropScript(ObjectClass::View, u"public"_s, u"v"_s, read));
        QCOMPARE(kind.DropScript(ObjectClass::Trigger, QString(), u"trg"_s, read), QString());
    }
};

QTEST_GUILESS_MAIN(TestKindPg)
#include "test_kind_pg.moc"
