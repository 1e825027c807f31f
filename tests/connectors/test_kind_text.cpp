// The text helpers of KORVOSQL and the server kinds that need no server.
#include "sql/KORVOSQL.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace
{

std::shared_ptr<const ServerKind> kindOf(bool postgres)
{
    return postgres ? ServerKind::PostgreSQL() : ServerKind::SQLServer();
}

void rule(const char *name, bool postgres, const char *helper, const QString &text, const QString &expected)
{
    QTest::newRow(name) << postgres << QString::fromLatin1(helper) << text << expected;
}

} // namespace

class TestKindText : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void sqlFMTOUT_data()
    {
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<int>("type");
        QTest::addColumn<bool>("comma");
        QTest::addColumn<QString>("result");
        QTest::newRow("quote doubled") << QVariant(u"O'Brien"_s) << 0 << true << u" 'O''Brien',"_s;
        QTest::newRow("empty text") << QVariant(u""_s) << 0 << false << u" NULL"_s;
        QTest::newRow("null with comma") << QVariant() << 1 << true << u" NULL,"_s;
        QTest::newRow("type 12") << QVariant(u"x"_s) << 12 << false << u" NULL"_s;
        QTest::newRow("not numeric") << QVariant(u"x"_s) << 1 << false << u" NULL"_s;
        QTest::newRow("numeric text") << QVariant(u"42"_s) << 1 << false << u" 42"_s;
        QTest::newRow("number") << QVariant(7) << 3 << true << u" 7,"_s;
        QTest::newRow("double") << QVariant(1.5) << 1 << false << u" 1.5"_s;
        QTest::newRow("unknown type") << QVariant(1) << 7 << true << u","_s;
        QTest::newRow("date") << QVariant(QDateTime(QDate(2024, 3, 9), QTime(8, 5, 1))) << 2 << false
                              << u" '09.03.2024 08:05:01'"_s;
        QTest::newRow("date text") << QVariant(u"2024-03-09"_s) << 2 << false << u" '09.03.2024 00:00:00'"_s;
        QTest::newRow("not a date") << QVariant(u"soon"_s) << 2 << false << u" NULL"_s;
    }

    void sqlFMTOUT()
    {
        QFETCH(QVariant, value);
        QFETCH(int, type);
        QFETCH(bool, comma);
        QFETCH(QString, result);
        QCOMPARE(KORVOSQL::sqlFMTOUT(value, type, comma), result);
    }

    void validObjectName()
    {
        for (const char *name : { "AS", "as", "@p", "(@a" })
            QVERIFY2(!KORVOSQL::IsValidObjectName(QLatin1String(name)), name);
        for (const char *name : { "usp_x", "ASX", "" })
            QVERIFY2(KORVOSQL::IsValidObjectName(QLatin1String(name)), name);
    }

    // The name, text, connection and error-text rules of the two kinds: one row per case, the helper named.
    void nameAndTextRules_data()
    {
        QTest::addColumn<bool>("postgres");
        QTest::addColumn<QString>("helper");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("expected"); // lists joined with "|"

        rule("ms split plain", false, "split", u"x"_s, u"|x"_s);
        rule("ms split dotted", false, "split", u"dbo.x"_s, u"dbo|x"_s);
        rule("ms split further dot stays", false, "split", u"a.b.c"_s, u"a|b.c"_s);
        rule("ms split case kept", false, "split", u"[Dbo].[MyProc]"_s, u"Dbo|MyProc"_s);
        rule("pg split folds unquoted", true, "split", u"Public.MyFunc"_s, u"public|myfunc"_s);
        rule("pg split quoted kept", true, "split", u"\"My Schema\".\"F.x\""_s, u"My Schema|F.x"_s);
        rule("pg split plain", true, "split", u"f"_s, u"|f"_s);
        rule("pg split brackets dropped", true, "split", u"[dbo].[x]"_s, u"dbo|x"_s);

        rule("ms format", false, "format", u"dbo|x"_s, u"[dbo].[x]"_s);
        rule("ms format no owner", false, "format", u"|x"_s, u"[x]"_s);
        rule("pg format", true, "format", u"public|f"_s, u"public.f"_s);
        rule("pg format quoted", true, "format", u"My Schema|F\"x"_s, u"\"My Schema\".\"F\"\"x\""_s);

        rule("ms trigger bracketed", false, "trigger table", u"CREATE TRIGGER [dbo].[tr] ON [dbo].[t] FOR INSERT AS"_s,
            u"[dbo].[t]"_s);
        rule("ms trigger plain", false, "trigger table", u"CREATE TRIGGER tr ON t FOR INSERT AS"_s, u"t"_s);
        rule("ms trigger dotted", false, "trigger table", u"create trigger dbo.tr\r\non dbo.t for insert as"_s,
            u"dbo.t"_s);
        rule("ms trigger comments", false, "trigger table",
            u"/* CREATE TRIGGER x ON y */\nCREATE TRIGGER tr -- c\n ON [t] AS"_s, u"[t]"_s);
        rule("ms trigger mixed owner then name", false, "trigger table", u"CREATE TRIGGER [dbo].tr ON t AS"_s, {});
        rule("ms trigger mixed name then owner", false, "trigger table", u"CREATE TRIGGER dbo.[tr] ON t AS"_s, {});
        rule("ms trigger none", false, "trigger table", u"CREATE VIEW v AS SELECT 1"_s, {});
        rule("pg trigger server form", true, "trigger table",
            u"CREATE TRIGGER trg BEFORE INSERT OR UPDATE ON public.t FOR EACH ROW EXECUTE FUNCTION public.f()"_s,
            u"public.t"_s);
        rule("pg trigger update of column", true, "trigger table",
            u"CREATE OR REPLACE TRIGGER trg AFTER UPDATE OF a, b ON \"S\".\"T\" FOR EACH ROW EXECUTE FUNCTION f()"_s,
            u"\"S\".\"T\""_s);
        rule("pg constraint trigger", true, "trigger table",
            u"CREATE CONSTRAINT TRIGGER c AFTER INSERT ON t DEFERRABLE FOR EACH ROW EXECUTE FUNCTION f()"_s, u"t"_s);
        rule("pg trigger without ON", true, "trigger table", u"CREATE TRIGGER trg"_s, {});

        rule("ms replacing is ALTER", false, "replacing", u"/* CREATE */ CREATE PROC x AS"_s,
            u"/* CREATE */ ALTER PROC x AS"_s);
        rule("ms replacing without CREATE", false, "replacing", u"SELECT 1"_s, {});
        rule("pg replacing", true, "replacing", u"-- h\nCREATE FUNCTION f() RETURNS int"_s,
            u"-- h\nCREATE OR REPLACE FUNCTION f() RETURNS int"_s);
        rule("pg already replacing", true, "replacing", u"CREATE OR REPLACE VIEW v AS SELECT 1"_s,
            u"CREATE OR REPLACE VIEW v AS SELECT 1"_s);
        rule("pg replacing trigger", true, "replacing",
            u"create trigger t before insert on x for each row execute function f()"_s,
            u"CREATE OR REPLACE trigger t before insert on x for each row execute function f()"_s);
        rule("pg constraint trigger unchanged", true, "replacing", u"CREATE CONSTRAINT TRIGGER c"_s,
            u"CREATE CONSTRAINT TRIGGER c"_s);
        rule("pg replacing without CREATE", true, "replacing", u"SELECT 1"_s, {});

        rule("ms temporary name", false, "temporary name", u"CREATE PROCEDURE [dbo].[p] @a int AS"_s,
            u"CREATE PROCEDURE [sptmp_20240309080501_17] @a int AS|[dbo].[p]"_s);
        // The SQL Server way swallows a glued parameter list...
        rule("ms temporary name, glued list", false, "temporary name", u"CREATE PROCEDURE p(@a int) AS"_s,
            u"CREATE PROCEDURE [sptmp_20240309080501_17] int) AS|p(@a"_s);
        // ...which a PostgreSQL function header always has: it stays.
        rule("pg temporary name", true, "temporary name",
            u"CREATE OR REPLACE FUNCTION public.f(a integer)\n RETURNS int"_s,
            u"CREATE OR REPLACE FUNCTION sptmp_20240309080501_17(a integer)\n RETURNS int|public.f"_s);
        rule("pg temporary name not found", true, "temporary name", u"SELECT 1"_s, u"|"_s);

        // PostgreSQL's connection strings; SQL Server's are read back by the scripted server.
        const QString pg = u"connect_timeout=10 application_name=KORVO"_s;
        rule("pg host", true, "connection", u"db.example"_s,
            u"host='db.example' dbname='db' user='u' password='p\\'' "_s + pg);
        rule("pg host and port", true, "connection", u"localhost:5433"_s,
            u"host='localhost' port=5433 dbname='db' user='u' password='p\\'' "_s + pg);
        rule("pg socket folder, os login", true, "connection os", u"/run/postgresql"_s,
            u"host='/run/postgresql' dbname='db' "_s + pg);

        // Error texts of the Microsoft driver lose its prefixes.
        rule("error server prefix", false, "error text",
            u"[Microsoft][ODBC SQL Server Driver][SQL Server]Login failed for user 'x'."_s,
            u"Login failed for user 'x'."_s);
        rule("error both prefixes", false, "error text",
            u"[Microsoft][ODBC SQL Server Driver][Shared Memory][Microsoft][ODBC SQL Server Driver][SQL Server]a"_s,
            u"a"_s);
        rule("error line kept", false, "error text", u"Line 3: [Microsoft][ODBC SQL Server Driver][SQL Server]Bad"_s,
            u"Line 3: Bad"_s);
        for (const char *kept :
            { "[Microsoft][ODBC SQL Server Driver][DBNETLIB]gone", "[microsoft][odbc sql server driver][sql server]x" })
            rule(kept, false, "error text", QString::fromLatin1(kept), QString::fromLatin1(kept));
    }

    void nameAndTextRules()
    {
        QFETCH(bool, postgres);
        QFETCH(QString, helper);
        QFETCH(QString, text);
        QFETCH(QString, expected);
        const auto kind = kindOf(postgres);
        QString result;
        if (helper == u"split"_s) {
            result = kind->SplitName(text).join(u'|');
        } else if (helper == u"format"_s) {
            result = kind->FormatName(text.section(u'|', 0, 0), text.section(u'|', 1));
        } else if (helper == u"trigger table"_s) {
            result = kind->ExtractTableNameFromTrigger(text, kind->CreatePatterns(ObjectClass::Trigger));
        } else if (helper == u"replacing"_s) {
            result = kind->ReplacingText(text);
        } else if (helper.startsWith(u"connection"_s)) {
            result = kind->CreateConnectionString(text, u"db"_s, u"u"_s, u"p'"_s, helper.endsWith(u" os"_s));
        } else if (helper == u"error text"_s) {
            result = KORVOSQL::FormatSQLError(text);
        } else { // the text under a temporary name, and the name it had
            const auto cls = postgres ? ObjectClass::UserDefinedFunction : ObjectClass::StoredProcedure;
            const QString temp = kind->TemporaryName(QDateTime(QDate(2024, 3, 9), QTime(8, 5, 1)), 17);
            QString old = u"stale"_s;
            result = kind->ReplaceObjectName(kind->CreatePatterns(cls), text, temp, old);
            result += u'|' + old;
        }
        QCOMPARE(result, expected);
    }
};

QTEST_GUILESS_MAIN(TestKindText)
#include "test_kind_text.moc"
