// The text helpers of KORVOSQL and the server kinds that need no server.
#include "ScriptedUi.h"
#include "sql/KORVOSQL.h"

#include <QTest>

namespace
{

const SQLKeywordPatterns msTrigger { { "CREATE", "TRIGGER" } };

} // namespace

class TestKindText : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void sqlFMTOUT_data();
    void sqlFMTOUT();
    void formatSQLError_data();
    void formatSQLError();
    void validObjectName_data();
    void validObjectName();
    void ownerAndName_data();
    void ownerAndName();
    void triggerTable_data();
    void triggerTable();
    void connectionStrings_data();
    void connectionStrings();
    void replacingText_data();
    void replacingText();
    void temporaryNameInText_data();
    void temporaryNameInText();
    void sqlServerDropScript();
    void permissionStatements_data();
    void permissionStatements();
    void storedKindNames();
};

void TestKindText::sqlFMTOUT_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<int>("type");
    QTest::addColumn<bool>("comma");
    QTest::addColumn<QString>("result");

    QTest::newRow("quote doubled") << QVariant("O'Brien") << 0 << true << " 'O''Brien',";
    QTest::newRow("empty text") << QVariant("") << 0 << false << " NULL";
    QTest::newRow("text") << QVariant("abc") << 0 << false << " 'abc'";
    QTest::newRow("null any type") << QVariant() << 1 << false << " NULL";
    QTest::newRow("null with comma") << QVariant() << 0 << true << " NULL,";
    QTest::newRow("type 12") << QVariant("x") << 12 << false << " NULL";
    QTest::newRow("not numeric") << QVariant("x") << 1 << false << " NULL";
    QTest::newRow("numeric text") << QVariant("42") << 1 << false << " 42";
    QTest::newRow("number") << QVariant(7) << 3 << true << " 7,";
    QTest::newRow("double") << QVariant(1.5) << 1 << false << " 1.5";
    QTest::newRow("unknown type with comma") << QVariant(1) << 7 << true << ",";
    QTest::newRow("unknown type") << QVariant(1) << 7 << false << "";
    QTest::newRow("date") << QVariant(QDateTime(QDate(2024, 3, 9), QTime(8, 5, 1))) << 2 << false
                          << " '09.03.2024 08:05:01'";
    QTest::newRow("date text") << QVariant("2024-03-09") << 2 << false << " '09.03.2024 00:00:00'";
    QTest::newRow("not a date") << QVariant("soon") << 2 << false << " NULL";
    QTest::newRow("empty date") << QVariant("") << 2 << false << " NULL";
}

void TestKindText::sqlFMTOUT()
{
    QFETCH(QVariant, value);
    QFETCH(int, type);
    QFETCH(bool, comma);
    QFETCH(QString, result);
    QCOMPARE(KORVOSQL::sqlFMTOUT(value, type, comma), result);
}

void TestKindText::formatSQLError_data()
{
    QTest::addColumn<QString>("raw");
    QTest::addColumn<QString>("clean");
    QTest::newRow("server prefix") << "[Microsoft][ODBC SQL Server Driver][SQL Server]Login failed for user 'x'."
                                   << "Login failed for user 'x'.";
    QTest::newRow("both prefixes")
        << "[Microsoft][ODBC SQL Server Driver][Shared Memory][Microsoft][ODBC SQL Server Driver][SQL Server]a"
        << "a";
    QTest::newRow("line kept") << "Line 3: [Microsoft][ODBC SQL Server Driver][SQL Server]Bad"
                               << "Line 3: Bad";
    QTest::newRow("other prefixes stay") << "[Microsoft][ODBC SQL Server Driver][DBNETLIB]gone"
                                         << "[Microsoft][ODBC SQL Server Driver][DBNETLIB]gone";
    QTest::newRow("case sensitive") << "[microsoft][odbc sql server driver][sql server]x"
                                    << "[microsoft][odbc sql server driver][sql server]x";
}

void TestKindText::formatSQLError()
{
    QFETCH(QString, raw);
    QFETCH(QString, clean);
    QCOMPARE(KORVOSQL::FormatSQLError(raw), clean);
}

void TestKindText::validObjectName_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("valid");
    QTest::newRow("AS") << "AS" << false;
    QTest::newRow("as") << "as" << false;
    QTest::newRow("parameter") << "@p" << false;
    QTest::newRow("paren") << "(@a" << false;
    QTest::newRow("name") << "usp_x" << true;
    QTest::newRow("ASX") << "ASX" << true;
    QTest::newRow("empty") << "" << true;
}

void TestKindText::validObjectName()
{
    QFETCH(QString, name);
    QFETCH(bool, valid);
    QCOMPARE(KORVOSQL::IsValidObjectName(name), valid);
}

void TestKindText::ownerAndName_data()
{
    QTest::addColumn<bool>("postgres");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("owner");
    QTest::addColumn<QString>("item");

    QTest::newRow("ms plain") << false << "x"
                              << ""
                              << "x";
    QTest::newRow("ms dotted") << false << "dbo.x"
                               << "dbo"
                               << "x";
    QTest::newRow("ms dot in brackets") << false << "[a.b].[c]"
                                        << "a.b"
                                        << "c";
    QTest::newRow("ms further dot stays") << false << "a.b.c"
                                          << "a"
                                          << "b.c";
    QTest::newRow("ms case kept") << false << "[Dbo].[MyProc]"
                                  << "Dbo"
                                  << "MyProc";
    QTest::newRow("pg folds unquoted") << true << "Public.MyFunc"
                                       << "public"
                                       << "myfunc";
    QTest::newRow("pg quoted kept") << true << "\"My Schema\".\"F.x\""
                                    << "My Schema"
                                    << "F.x";
    QTest::newRow("pg plain") << true << "f"
                              << ""
                              << "f";
    QTest::newRow("pg brackets dropped") << true << "[dbo].[x]"
                                         << "dbo"
                                         << "x";
}

void TestKindText::ownerAndName()
{
    QFETCH(bool, postgres);
    QFETCH(QString, name);
    QFETCH(QString, owner);
    QFETCH(QString, item);
    ScriptedUi ui;
    KORVOSQL sql(ui, postgres ? ServerKind::PostgreSQL() : ServerKind::SQLServer());
    QCOMPARE(sql.ExtractOwnerAndItemName(name), (QStringList { owner, item }));
}

void TestKindText::triggerTable_data()
{
    QTest::addColumn<bool>("postgres");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("table");

    QTest::newRow("ms bracketed") << false << "CREATE TRIGGER [dbo].[tr] ON [dbo].[t] FOR INSERT AS"
                                  << "[dbo].[t]";
    QTest::newRow("ms plain") << false << "CREATE TRIGGER tr ON t FOR INSERT AS"
                              << "t";
    QTest::newRow("ms dotted") << false << "create trigger dbo.tr\r\non dbo.t for insert as"
                               << "dbo.t";
    QTest::newRow("ms comments") << false << "/* CREATE TRIGGER x ON y */\nCREATE TRIGGER tr -- c\n ON [t] AS"
                                 << "[t]";
    QTest::newRow("ms mixed owner then name") << false << "CREATE TRIGGER [dbo].tr ON t AS"
                                              << "";
    QTest::newRow("ms mixed name then owner") << false << "CREATE TRIGGER dbo.[tr] ON t AS"
                                              << "";
    QTest::newRow("ms no trigger") << false << "CREATE VIEW v AS SELECT 1"
                                   << "";
    QTest::newRow("pg server form")
        << true << "CREATE TRIGGER trg BEFORE INSERT OR UPDATE ON public.t FOR EACH ROW EXECUTE FUNCTION public.f()"
        << "public.t";
    QTest::newRow("pg update of column")
        << true << "CREATE OR REPLACE TRIGGER trg AFTER UPDATE OF a, b ON \"S\".\"T\" FOR EACH ROW EXECUTE FUNCTION f()"
        << "\"S\".\"T\"";
    QTest::newRow("pg constraint trigger")
        << true << "CREATE CONSTRAINT TRIGGER c AFTER INSERT ON t DEFERRABLE FOR EACH ROW EXECUTE FUNCTION f()"
        << "t";
    QTest::newRow("pg no on") << true << "CREATE TRIGGER trg"
                              << "";
}

void TestKindText::triggerTable()
{
    QFETCH(bool, postgres);
    QFETCH(QString, text);
    QFETCH(QString, table);
    ScriptedUi ui;
    const auto kind = postgres ? ServerKind::PostgreSQL() : ServerKind::SQLServer();
    KORVOSQL sql(ui, kind);
    QCOMPARE(sql.ExtractTableNameFromTrigger(text, kind->CreatePatterns(ObjectClass::Trigger)), table);
}

void TestKindText::connectionStrings_data()
{
    QTest::addColumn<bool>("postgres");
    QTest::addColumn<QString>("server");
    QTest::addColumn<bool>("os");
    QTest::addColumn<QString>("result");

    QTest::newRow("ms login") << false << "srv" << false << "Driver={SQL Server};Server=srv;Database=db;Uid=u;Pwd=p';";
    QTest::newRow("ms trusted") << false << "srv" << true
                                << "Driver={SQL Server};Server=srv;Database=db;Trusted_Connection=yes;";
    QTest::newRow("pg host") << true << "db.example" << false
                             << "host='db.example' dbname='db' user='u' password='p\\'' connect_timeout=10 "
                                "application_name=KORVO";
    QTest::newRow("pg host and port") << true << "localhost:5433" << false
                                      << "host='localhost' port=5433 dbname='db' user='u' password='p\\'' "
                                         "connect_timeout=10 application_name=KORVO";
    QTest::newRow("pg socket folder, os login") << true << "/run/postgresql" << true
                                                << "host='/run/postgresql' dbname='db' connect_timeout=10 "
                                                   "application_name=KORVO";
}

void TestKindText::connectionStrings()
{
    QFETCH(bool, postgres);
    QFETCH(QString, server);
    QFETCH(bool, os);
    QFETCH(QString, result);
    ScriptedUi ui;
    KORVOSQL sql(ui, postgres ? ServerKind::PostgreSQL() : ServerKind::SQLServer());
    QCOMPARE(sql.CreateConnectionString(server, QStringLiteral("db"), QStringLiteral("u"), QStringLiteral("p'"), os),
        result);
    // The stored values, with the stored user name whatever is displayed.
    sql.SetServer(server);
    sql.SetDatabase(QStringLiteral("db"));
    sql.SetUserName(QStringLiteral("u"));
    sql.SetPassword(QStringLiteral("p'"));
    sql.SetUseWinNTAuth(os);
    QCOMPARE(sql.ConnectionString(), result);
}

void TestKindText::replacingText_data()
{
    QTest::addColumn<bool>("postgres");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("result");
    QTest::newRow("ms alter") << false << "/* CREATE */ CREATE PROC x AS"
                              << "/* CREATE */ ALTER PROC x AS";
    QTest::newRow("ms no create") << false << "SELECT 1"
                                  << "";
    QTest::newRow("pg or replace") << true << "-- h\nCREATE FUNCTION f() RETURNS int"
                                   << "-- h\nCREATE OR REPLACE FUNCTION f() RETURNS int";
    QTest::newRow("pg already replacing") << true << "CREATE OR REPLACE VIEW v AS SELECT 1"
                                          << "CREATE OR REPLACE VIEW v AS SELECT 1";
    QTest::newRow("pg trigger") << true << "create trigger t before insert on x for each row execute function f()"
                                << "CREATE OR REPLACE trigger t before insert on x for each row execute function f()";
    QTest::newRow("pg constraint trigger unchanged") << true << "CREATE CONSTRAINT TRIGGER c"
                                                     << "CREATE CONSTRAINT TRIGGER c";
    QTest::newRow("pg no create") << true << "SELECT 1"
                                  << "";
}

void TestKindText::replacingText()
{
    QFETCH(bool, postgres);
    QFETCH(QString, text);
    QFETCH(QString, result);
    const auto kind = postgres ? ServerKind::PostgreSQL() : ServerKind::SQLServer();
    QCOMPARE(kind->ReplacingText(text), result);
}

void TestKindText::temporaryNameInText_data()
{
    QTest::addColumn<bool>("postgres");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("result");
    QTest::addColumn<QString>("oldName");
    QTest::newRow("ms procedure") << false << "CREATE PROCEDURE [dbo].[p] @a int AS"
                                  << "CREATE PROCEDURE [sptmp_20240309080501_17] @a int AS"
                                  << "[dbo].[p]";
    // The SQL Server way swallows a glued parameter list...
    QTest::newRow("ms glued list") << false << "CREATE PROCEDURE p(@a int) AS"
                                   << "CREATE PROCEDURE [sptmp_20240309080501_17] int) AS"
                                   << "p(@a";
    // ...which a PostgreSQL function header always has: it stays.
    QTest::newRow("pg function") << true << "CREATE OR REPLACE FUNCTION public.f(a integer)\n RETURNS int"
                                 << "CREATE OR REPLACE FUNCTION sptmp_20240309080501_17(a integer)\n RETURNS int"
                                 << "public.f";
    QTest::newRow("pg not found") << true << "SELECT 1"
                                  << ""
                                  << "";
}

void TestKindText::temporaryNameInText()
{
    QFETCH(bool, postgres);
    QFETCH(QString, text);
    QFETCH(QString, result);
    QFETCH(QString, oldName);
    const auto kind = postgres ? ServerKind::PostgreSQL() : ServerKind::SQLServer();
    const QString temp = kind->TemporaryName(QDateTime(QDate(2024, 3, 9), QTime(8, 5, 1)), 17);
    const ObjectClass cls = postgres ? ObjectClass::UserDefinedFunction : ObjectClass::StoredProcedure;
    QString old = QStringLiteral("stale");
    QCOMPARE(kind->ReplaceObjectName(kind->CreatePatterns(cls), text, temp, old), result);
    QCOMPARE(old, oldName);
}

void TestKindText::sqlServerDropScript()
{
    const auto kind = ServerKind::SQLServer();
    QCOMPARE(kind->DropScript(ObjectClass::StoredProcedure, QStringLiteral("dbo"), QStringLiteral("p"), {}),
        QStringLiteral("IF EXISTS (SELECT * FROM dbo.sysobjects WHERE id = OBJECT_ID(N'[dbo].[p]') AND "
                       "OBJECTPROPERTY(id, N'IsProcedure') = 1) \r\n\t DROP PROCEDURE [dbo].[p]"));
    QCOMPARE(kind->DropScript(ObjectClass::UserDefinedFunction, QString(), QStringLiteral("f"), {}),
        QStringLiteral("IF EXISTS (SELECT * FROM dbo.sysobjects WHERE id = OBJECT_ID(N'[f]') AND xtype IN "
                       "(N'FN', N'IF', N'TF') ) \r\n\t DROP FUNCTION [f]"));
}

void TestKindText::permissionStatements_data()
{
    QTest::addColumn<bool>("postgres");
    QTest::addColumn<int>("action");
    QTest::addColumn<int>("value");
    QTest::addColumn<QString>("result");
    QTest::newRow("ms revoke says TO") << false << 2 << 0 << "REVOKE SELECT ON [dbo].[v] TO [r]x]";
    QTest::newRow("ms grant") << false << 1 << 1 << "GRANT EXECUTE ON [dbo].[v] TO [r]x]";
    QTest::newRow("ms deny") << false << 6 << 2 << "DENY REFERENCES ON [dbo].[v] TO [r]x]";
    QTest::newRow("ms owner") << false << 1 << 3 << "";
    QTest::newRow("pg revoke from") << true << 2 << 0 << "REVOKE SELECT ON [dbo].[v] FROM \"r]x\"";
    QTest::newRow("pg grant") << true << 3 << 1 << "GRANT INSERT ON [dbo].[v] TO \"r]x\"";
    QTest::newRow("pg no deny") << true << 1 << 2 << "";
}

void TestKindText::permissionStatements()
{
    QFETCH(bool, postgres);
    QFETCH(int, action);
    QFETCH(int, value);
    QFETCH(QString, result);
    const auto kind = postgres ? ServerKind::PostgreSQL() : ServerKind::SQLServer();
    QCOMPARE(kind->PermissionStatement(action, value, QStringLiteral("[dbo].[v]"), QStringLiteral("r]x")), result);
    QCOMPARE(kind->SupportsDeny(), !postgres);
}

void TestKindText::storedKindNames()
{
    QCOMPARE(ServerKind::FromName(QString())->KindId(), ServerKind::Id::SQLServer);
    QCOMPARE(ServerKind::FromName(QStringLiteral("unknown"))->KindId(), ServerKind::Id::SQLServer);
    for (const auto &kind : { ServerKind::SQLServer(), ServerKind::PostgreSQL() })
        QCOMPARE(ServerKind::FromName(kind->Name()).get(), kind.get());
    ScriptedUi ui;
    QCOMPARE(KORVOSQL(ui).Kind().KindId(), ServerKind::Id::SQLServer);
}

QTEST_GUILESS_MAIN(TestKindText)
#include "test_kind_text.moc"
