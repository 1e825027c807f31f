// KORVOSQL's behaviour, written once and run on both server kinds: SQL Server
// through the scripted server, PostgreSQL on the test run's real cluster.
#include "PgTestServer.h"
#include "ScriptedSqlServer.h"
#include "ScriptedUi.h"
#include "sql/KORVOSQL.h"

#include <QTest>

namespace
{

// One server of either kind, with a database to work in and a way to make objects.
struct Backend {
    QString kind;
    std::shared_ptr<const ServerKind> serverKind;
    QString server, database, user, password, owner;
    std::function<void(const QString &)> run; // as the owner of the database
    std::function<void()> dropSessions; // as a restart of the server would
    std::shared_ptr<SqlDriver> driver; // null: the kind's own
    QString procText; // CREATE text of procedure usp_a
    QString procTextOtherOwner; // usp_a owned by "other"
    QString expectedProcText; // usp_a's text as the server gives it back
    QString badServer;
};

} // namespace

class TestSqlConnector : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void init();
    void cleanup();

    void openAndClose_data() { kinds(); }
    void openAndClose();
    void refusedLogin_data();
    void refusedLogin();
    void passwordPrompt_data() { kinds(); }
    void passwordPrompt();
    void storedBlankPasswordIsNotPrompted_data() { kinds(); }
    void storedBlankPasswordIsNotPrompted();
    void reopenUsesStoredPassword_data() { kinds(); }
    void reopenUsesStoredPassword();
    void osLogin_data() { kinds(); }
    void osLogin();
    void objectLookups_data() { kinds(); }
    void objectLookups();
    void nameHeldByTwoOwners_data() { kinds(); }
    void nameHeldByTwoOwners();
    void quotesAndBracketsInNames_data() { kinds(); }
    void quotesAndBracketsInNames();
    void statementErrorKeepsConnection_data() { kinds(); }
    void statementErrorKeepsConnection();
    void serverGoesAway_data() { kinds(); }
    void serverGoesAway();
    void closedConnection_data() { kinds(); }
    void closedConnection();
    void functionProbe_data() { kinds(); }
    void functionProbe();
    void databaseUserName_data() { kinds(); }
    void databaseUserName();
    void serverLists_data() { kinds(); }
    void serverLists();
    void connectionChecks_data() { kinds(); }
    void connectionChecks();

    void parseOnlySqlServer();
    void parseOnlyMissingOnPostgreSQL();
    void sqlServerStatementsAreExact();

private:
    void kinds()
    {
        QTest::addColumn<QString>("kind");
        QTest::newRow("sqlserver") << QStringLiteral("sqlserver");
        QTest::newRow("postgresql") << QStringLiteral("postgresql");
    }
    Backend &backend();
    std::unique_ptr<KORVOSQL> newSql(const Backend &b);
    std::unique_ptr<KORVOSQL> openSql(const Backend &b);

    std::unique_ptr<ScriptedSqlServer> mMssql;
    std::unique_ptr<PgTestDatabase> mPg;
    Backend mMssqlBackend, mPgBackend;
    ScriptedUi mUi;
};

void TestSqlConnector::initTestCase()
{
    QString why;
    if (!PgTestServer().available(&why))
        QFAIL(qPrintable(why));
}

void TestSqlConnector::cleanupTestCase() { }

void TestSqlConnector::init()
{
    mUi.clear();
    mMssql = std::make_unique<ScriptedSqlServer>(QStringLiteral("SQLTEST"));
    mMssql->addDatabase(QStringLiteral("korvotest"));
    mMssql->addUser(QStringLiteral("korvotest"), QStringLiteral("other"), QStringLiteral("otherlogin"));
    Backend &m = mMssqlBackend;
    m = Backend {};
    m.kind = QStringLiteral("sqlserver");
    m.serverKind = ServerKind::SQLServer();
    m.server = QStringLiteral("SQLTEST");
    m.database = QStringLiteral("korvotest");
    m.user = QStringLiteral("sa");
    m.password = QStringLiteral("sa-pw");
    m.owner = QStringLiteral("dbo");
    m.driver = mMssql->driver();
    ScriptedSqlServer *server = mMssql.get();
    m.run = [server](const QString &sql) {
        ScriptedSqlServer::Session s = server->connect(
            QStringLiteral("Driver={SQL Server};Server=SQLTEST;Database=korvotest;Uid=sa;Pwd=sa-pw;"));
        server->execute(s, sql);
    };
    m.dropSessions = [server] { server->stop(); };
    m.procText = QStringLiteral("CREATE PROCEDURE usp_a\r\nAS\r\n-- first\r\nSELECT 1\r\n");
    m.procTextOtherOwner = QStringLiteral("CREATE PROCEDURE [other].[usp_a] AS SELECT 2");
    m.expectedProcText = m.procText;
    m.badServer = QStringLiteral("NOSUCHSERVER");

    mPg = PgTestServer::freshDatabase(QStringLiteral("sqlconn"));
    Backend &p = mPgBackend;
    p = Backend {};
    p.kind = QStringLiteral("postgresql");
    p.serverKind = ServerKind::PostgreSQL();
    p.server = mPg->Server;
    p.database = mPg->Database;
    p.user = mPg->UserName;
    p.password = mPg->Password;
    p.owner = QStringLiteral("public");
    PgTestDatabase *db = mPg.get();
    p.run = [db](const QString &sql) { db->exec(sql); };
    p.dropSessions = [db] { db->terminateSessions(); };
    p.procText = QStringLiteral("CREATE PROCEDURE usp_a()\nLANGUAGE sql\nAS $$\n-- first\nSELECT 1\n$$");
    p.procTextOtherOwner = QStringLiteral("CREATE SCHEMA other; CREATE PROCEDURE other.usp_a() LANGUAGE sql AS "
                                          "'SELECT 2'");
    p.expectedProcText
        = QStringLiteral("CREATE OR REPLACE PROCEDURE public.usp_a()\n LANGUAGE sql\nAS $procedure$\n-- first\nSELECT "
                         "1\n$procedure$\n");
    p.badServer = QStringLiteral("/nonexistent/korvo");
}

void TestSqlConnector::cleanup()
{
    QCOMPARE(mUi.pending(), 0);
    mPg.reset();
    mMssql.reset();
}

Backend &TestSqlConnector::backend()
{
    QFETCH(QString, kind);
    return kind == QLatin1String("sqlserver") ? mMssqlBackend : mPgBackend;
}

std::unique_ptr<KORVOSQL> TestSqlConnector::newSql(const Backend &b)
{
    auto sql = std::make_unique<KORVOSQL>(mUi, b.serverKind);
    if (b.driver)
        sql->SetDriver(b.driver);
    return sql;
}

std::unique_ptr<KORVOSQL> TestSqlConnector::openSql(const Backend &b)
{
    auto sql = newSql(b);
    const QString result = sql->OpenConnection(b.server, b.database, b.user, b.password, KORVOSQL::UseNTNo);
    if (!result.isEmpty())
        qWarning("open failed: %s", qPrintable(result));
    return sql;
}

void TestSqlConnector::openAndClose()
{
    const Backend &b = backend();
    auto sql = newSql(b);
    QVERIFY(!sql->ConnectionOpen());
    QVERIFY(!sql->DBConn());
    QCOMPARE(sql->OpenConnection(b.server, b.database, b.user, b.password, KORVOSQL::UseNTNo), QString());
    QVERIFY(sql->ConnectionOpen());
    QVERIFY(sql->DBConn());
    QVERIFY(sql->HasConnected());
    QCOMPARE(sql->Server(), b.server);
    QCOMPARE(sql->Database(), b.database);
    QCOMPARE(sql->UserName(), b.user);
    QCOMPARE(sql->Password(), b.password);
    QVERIFY(!sql->UseWinNTAuth());
    QCOMPARE(
        sql->ConnectionString(), b.serverKind->CreateConnectionString(b.server, b.database, b.user, b.password, false));
    sql->CloseConnection();
    QVERIFY(!sql->ConnectionOpen());
    QVERIFY(!sql->DBConn());
    QVERIFY(sql->HasConnected());
    QVERIFY(mUi.boxes.isEmpty());
}

void TestSqlConnector::refusedLogin_data()
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QString>("what");
    QTest::addColumn<bool>("silent");
    for (const char *kind : { "sqlserver", "postgresql" }) {
        for (const char *what : { "password", "server", "database" }) {
            QTest::addRow("%s %s", kind, what) << kind << what << false;
            QTest::addRow("%s %s silent", kind, what) << kind << what << true;
        }
    }
}

void TestSqlConnector::refusedLogin()
{
    const Backend &b = backend();
    QFETCH(QString, what);
    QFETCH(bool, silent);
    const QString server = what == QLatin1String("server") ? b.badServer : b.server;
    const QString database = what == QLatin1String("database") ? QStringLiteral("nosuchdb") : b.database;
    const QString password = what == QLatin1String("password") ? QStringLiteral("wrong") : b.password;
    auto sql = newSql(b);
    const QString raw = sql->TestConnection(server, database, b.user, password, false);
    QVERIFY(!raw.isEmpty());
    if (!silent)
        mUi.answer(UiServices::Answer::Ok);
    QCOMPARE(sql->OpenConnection(server, database, b.user, password, KORVOSQL::UseNTNo, silent), raw);
    QVERIFY(!sql->ConnectionOpen());
    QVERIFY(!sql->DBConn());
    QVERIFY(!sql->HasConnected());
    QCOMPARE(sql->Server(), QString());
    if (silent) {
        QVERIFY(mUi.boxes.isEmpty());
    } else {
        QCOMPARE(mUi.boxes.size(), 1);
        QCOMPARE(mUi.last().icon, UiServices::Icon::Critical);
        QCOMPARE(mUi.last().title, QStringLiteral("Connection Error"));
        QCOMPARE(mUi.last().text, KORVOSQL::FormatSQLError(raw));
    }
}

void TestSqlConnector::passwordPrompt()
{
    const Backend &b = backend();
    auto sql = newSql(b);
    sql->SetServer(b.server);
    sql->SetDatabase(b.database);
    sql->SetUserName(b.user);

    mUi.password(false).answer(UiServices::Answer::Ok);
    QCOMPARE(sql->OpenConnection(), QStringLiteral("Password was not entered!"));
    QCOMPARE(mUi.prompts.size(), 1);
    QCOMPARE(mUi.prompts[0].kind, QStringLiteral("SQL"));
    QCOMPARE(mUi.prompts[0].server, b.server);
    QCOMPARE(mUi.prompts[0].database, b.database);
    QCOMPARE(mUi.prompts[0].userName, b.user);
    QCOMPARE(mUi.last().title, QStringLiteral("Connection Error"));
    QCOMPARE(mUi.last().text, QStringLiteral("Password was not entered!"));
    QCOMPARE(mUi.last().icon, UiServices::Icon::Critical);
    QVERIFY(!sql->ConnectionOpen());

    // Silent: no box, same result.
    mUi.password(false);
    QCOMPARE(sql->OpenConnection(QString(), QString(), QString(), QString(), KORVOSQL::UseStoredAuth, true),
        QStringLiteral("Password was not entered!"));
    QCOMPARE(mUi.boxes.size(), 1);

    mUi.password(true, b.user, b.password);
    QCOMPARE(sql->OpenConnection(), QString());
    QVERIFY(sql->ConnectionOpen());
    QCOMPARE(sql->Password(), b.password);
}

void TestSqlConnector::storedBlankPasswordIsNotPrompted()
{
    const Backend &b = backend();
    auto sql = newSql(b);
    sql->SetStorePassword(true);
    const QString raw = sql->TestConnection(b.server, b.database, b.user, QString(), false);
    // Neither server takes this login without a password: the attempt is made and fails.
    QVERIFY(!raw.isEmpty());
    QCOMPARE(sql->OpenConnection(b.server, b.database, b.user, QString(), KORVOSQL::UseNTNo, true), raw);
    QVERIFY(mUi.prompts.isEmpty());
}

void TestSqlConnector::reopenUsesStoredPassword()
{
    const Backend &b = backend();
    auto sql = openSql(b);
    QVERIFY(sql->ConnectionOpen());
    QCOMPARE(sql->OpenConnection(), QString());
    QVERIFY(sql->ConnectionOpen());
    QVERIFY(mUi.prompts.isEmpty());
    // Once connected, a blank password is accepted without a prompt even when
    // nothing is stored.
    sql->SetPassword(QString());
    sql->OpenConnection(QString(), QString(), QString(), QString(), KORVOSQL::UseNTNo, true);
    QVERIFY(mUi.prompts.isEmpty());
}

void TestSqlConnector::osLogin()
{
    const Backend &b = backend();
    auto sql = newSql(b);
    sql->SetUserName(QStringLiteral("stored"));
    QCOMPARE(sql->OpenConnection(b.server, b.database, QString(), QString(), KORVOSQL::UseNTYes), QString());
    QVERIFY(mUi.prompts.isEmpty());
    QVERIFY(sql->UseWinNTAuth());
    QCOMPARE(sql->UserName(), QStringLiteral("(Windows authentication)"));
    QCOMPARE(sql->StoredUserName(), QStringLiteral("stored"));
    sql->SetUseWinNTAuth(false);
    QCOMPARE(sql->UserName(), QStringLiteral("stored"));
}

void TestSqlConnector::objectLookups()
{
    const Backend &b = backend();
    b.run(b.procText);
    auto sql = openSql(b);
    const QString id = sql->GetObjectID(QStringLiteral("usp_a"), QString());
    QVERIFY(!id.isEmpty());
    QCOMPARE(sql->GetObjectID(QStringLiteral("[usp_a]"), QStringLiteral("[") + b.owner + QStringLiteral("]")), id);
    QCOMPARE(sql->GetObjectID(QStringLiteral("usp_a"), QStringLiteral("nobody")), QString());
    QCOMPARE(sql->GetObjectID(QStringLiteral("usp_none"), QString()), QString());
    QCOMPARE(sql->GetObjectName(id, false), b.serverKind->FormatName(QString(), QStringLiteral("usp_a")));
    QCOMPARE(sql->GetObjectName(id, true), b.serverKind->FormatName(b.owner, QStringLiteral("usp_a")));
    QCOMPARE(sql->GetObjectName(QStringLiteral("123456789"), true), QString());
    QCOMPARE(sql->GetObjectName(QStringLiteral("x"), true), QString());
    QCOMPARE(sql->GetObjectOwnerName(id), b.owner);
    QCOMPARE(sql->GetObjectOwnerName(QStringLiteral("123456789")), QString());
    QCOMPARE(sql->GetObjectText(id), b.expectedProcText);
}

void TestSqlConnector::nameHeldByTwoOwners()
{
    const Backend &b = backend();
    b.run(b.procText);
    b.run(b.procTextOtherOwner);
    auto sql = openSql(b);
    const QString mine = sql->GetObjectID(QStringLiteral("usp_a"), b.owner);
    const QString other = sql->GetObjectID(QStringLiteral("usp_a"), QStringLiteral("other"));
    QVERIFY(!mine.isEmpty());
    QVERIFY(!other.isEmpty());
    QVERIFY(mine != other);
    QCOMPARE(sql->GetObjectID(QStringLiteral("usp_a"), QString()), QString());
    QCOMPARE(sql->GetObjectOwnerName(other), QStringLiteral("other"));
}

void TestSqlConnector::quotesAndBracketsInNames()
{
    const Backend &b = backend();
    auto sql = openSql(b);
    // Quotes are doubled in the literal; neither lookup may fail on the server.
    QCOMPARE(sql->GetObjectID(QStringLiteral("O'Brien"), QStringLiteral("d'bo")), QString());
    QCOMPARE(sql->GetObjectID(QStringLiteral("[a]]b]"), QString()), QString());
    QCOMPARE(sql->GetObjectName(QStringLiteral("1; DROP TABLE x"), true), QString());
    QVERIFY(sql->ConnectionOpen());
}

void TestSqlConnector::statementErrorKeepsConnection()
{
    const Backend &b = backend();
    auto sql = openSql(b);
    try {
        sql->ExecuteSQL(QStringLiteral("DROP VIEW no_such_view"));
        QFAIL("no error");
    } catch (const SqlError &e) {
        QVERIFY(e.Description.startsWith(QLatin1String("Line 1: ")) || b.kind == QLatin1String("postgresql"));
        QVERIFY(e.Description.contains(QLatin1String("no_such_view")));
    }
    QVERIFY(sql->ConnectionOpen());
    b.run(b.procText);
    QVERIFY(!sql->GetObjectID(QStringLiteral("usp_a"), QString()).isEmpty());
}

void TestSqlConnector::serverGoesAway()
{
    const Backend &b = backend();
    b.run(b.procText);
    auto sql = openSql(b);
    QVERIFY(sql->ConnectionOpen());
    b.dropSessions();
    QVERIFY_THROWS_EXCEPTION(SqlError, sql->GetObjectID(QStringLiteral("usp_a"), QString()));
    QVERIFY(!sql->ConnectionOpen());
    QVERIFY(!sql->DBConn());
    // Closed now: statements do nothing, look-ups find nothing.
    sql->ExecuteSQL(QStringLiteral("SELECT 1"));
    QVERIFY(!sql->OpenRecordset(QStringLiteral("SELECT 1")));
    QCOMPARE(sql->GetObjectID(QStringLiteral("usp_a"), QString()), QString());
    if (mMssql)
        mMssql->start();
    QCOMPARE(sql->OpenConnection(), QString());
    QVERIFY(!sql->GetObjectID(QStringLiteral("usp_a"), QString()).isEmpty());
}

void TestSqlConnector::closedConnection()
{
    const Backend &b = backend();
    auto sql = newSql(b);
    sql->ExecuteSQL(QStringLiteral("this is not sent"));
    QVERIFY(!sql->OpenRecordset(QStringLiteral("nor is this")));
    QCOMPARE(sql->DatabaseUserName(), QString());
    QCOMPARE(sql->GetObjectText(QStringLiteral("1")), QString());
    try {
        sql->UserDefinedFunctionsAllowed();
        QFAIL("no error");
    } catch (const SqlError &e) {
        QCOMPARE(e.Number, 1000);
        QCOMPARE(e.Source, QStringLiteral("KORVOSQL"));
        QCOMPARE(e.Description, QStringLiteral("Connection is not open"));
    }
    QVERIFY(mMssql->Log.isEmpty());
}

void TestSqlConnector::functionProbe()
{
    const Backend &b = backend();
    auto sql = openSql(b);
    QVERIFY(sql->UserDefinedFunctionsAllowed());
    // Nothing stays behind, so the probe can run again.
    QVERIFY(sql->UserDefinedFunctionsAllowed());
    QCOMPARE(sql->GetObjectID(QStringLiteral("udfCheck_SQL_SERVER_VERSION"), QString()), QString());
}

void TestSqlConnector::databaseUserName()
{
    const Backend &b = backend();
    auto sql = openSql(b);
    QCOMPARE(sql->DatabaseUserName(), b.owner);
}

void TestSqlConnector::serverLists()
{
    const Backend &b = backend();
    auto sql = newSql(b);
    QVERIFY(sql->SQLDMOInstalled());
    QCOMPARE(sql->FindServers(), QStringList { QString() });
    const QStringList dbs = sql->FindDatabases(b.server, b.user, b.password, KORVOSQL::UseNTNo);
    QVERIFY(dbs.size() >= 2);
    QCOMPARE(dbs[0], QString());
    QVERIFY(dbs.indexOf(b.database) >= 1);
    QVERIFY_THROWS_EXCEPTION(SqlError, sql->FindDatabases(b.server, b.user, QStringLiteral("wrong"), 0));
}

void TestSqlConnector::connectionChecks()
{
    const Backend &b = backend();
    auto sql = newSql(b);
    const int no = KORVOSQL::UseNTNo;
    QCOMPARE(sql->ValidSQLDMOConnectionString(b.server, b.user, b.password, b.database, no), QString());
    QCOMPARE(sql->ValidSQLDMOConnectionString(b.server, b.user, b.password, QString(), no), QString());
    QCOMPARE(sql->ValidSQLDMOConnectionString(b.server, b.user, b.password, QStringLiteral("nosuchdb"), no),
        QStringLiteral("Database 'nosuchdb' does not exist."));
    QCOMPARE(sql->ValidSQLDMOConnectionString(b.server, b.user, QStringLiteral("wrong"), b.database, no),
        QStringLiteral("Login failed for user '%1'.").arg(b.user));
    QCOMPARE(sql->ValidSQLDMOConnectionString(b.badServer, b.user, b.password, b.database, no),
        QStringLiteral("SQL Server '%1' does not exist or access denied.").arg(b.badServer));

    QCOMPARE(sql->ValidateConnectionInformationADO(b.server, b.user, b.password, b.database, no), QString());
    const QString raw = sql->TestConnection(b.server, b.database, b.user, QStringLiteral("wrong"), false);
    QCOMPARE(sql->ValidateConnectionInformationADO(b.server, b.user, QStringLiteral("wrong"), b.database, no),
        KORVOSQL::FormatSQLError(raw));
    QVERIFY(mUi.boxes.isEmpty());
}

void TestSqlConnector::parseOnlySqlServer()
{
    const Backend &b = mMssqlBackend;
    mMssql->ParseCheck = [](const QString &sql) {
        return sql.contains(QLatin1String("SELEC ")) ? QStringLiteral("Incorrect syntax near 'SELEC'.") : QString();
    };
    auto sql = openSql(b);
    mMssql->Log.clear();
    QCOMPARE(sql->ParseSQL(QStringLiteral("SELECT * FROM nowhere")), QString());
    QCOMPARE(mMssql->Log, (QStringList { "SET PARSEONLY ON", "SELECT * FROM nowhere" }));
    QCOMPARE(sql->ParseSQL(QStringLiteral("SELEC 1")),
        QStringLiteral("Line 1: [Microsoft][ODBC SQL Server Driver][SQL Server]Incorrect syntax near 'SELEC'."));
    // A connection that cannot be made reaches the caller.
    sql->SetPassword(QStringLiteral("wrong"));
    QVERIFY_THROWS_EXCEPTION(SqlError, sql->ParseSQL(QStringLiteral("SELECT 1")));
}

void TestSqlConnector::parseOnlyMissingOnPostgreSQL()
{
    auto sql = openSql(mPgBackend);
    QCOMPARE(sql->ParseSQL(QStringLiteral("SELECT 1")),
        QStringLiteral("PostgreSQL has no parse-only mode. Could not parse query"));
}

// The statements of the SQL Server kind, as the server receives them.
void TestSqlConnector::sqlServerStatementsAreExact()
{
    const Backend &b = mMssqlBackend;
    b.run(QStringLiteral("CREATE PROCEDURE usp_x AS SELECT 1"));
    auto sql = openSql(b);
    mMssql->Log.clear();
    const QString id = sql->GetObjectID(QStringLiteral("[usp_x]"), QStringLiteral("[dbo]"));
    sql->GetObjectID(QStringLiteral("usp_x"), QString());
    sql->GetObjectText(id);
    sql->GetObjectOwnerName(id);
    sql->DatabaseUserName();
    sql->UserDefinedFunctionsAllowed();
    const QStringList expected {
        "SELECT id FROM sysobjects so INNER JOIN sysusers su ON so.uid = su.uid WHERE so.name =  'usp_x' AND su.name "
        "=  'dbo'",
        "SELECT id FROM sysobjects WHERE name =  'usp_x'",
        "SELECT so.name AS ObjectName, su.name AS UserName FROM sysobjects so INNER JOIN sysusers su ON so.uid = "
        "su.uid WHERE so.id =  "
            + id,
        "sp_helptext  '[dbo].[usp_x]'",
        "SELECT name FROM sysusers WHERE uid IN (SELECT uid FROM sysobjects WHERE id = " + id + ")",
        "SELECT su.name AS [DatabaseUserName] FROM [dbo].[sysusers] su INNER JOIN [master].[dbo].[syslogins] sl ON "
        "su.sid = sl.sid WHERE LOWER(sl.name) =  'sa'",
        "CREATE FUNCTION udfCheck_SQL_SERVER_VERSION () RETURNS INT AS BEGIN RETURN 1 END",
        "DROP FUNCTION udfCheck_SQL_SERVER_VERSION"
    };
    QCOMPARE(mMssql->Log, expected);
    QVERIFY(mMssql->Refused.isEmpty());
}

QTEST_GUILESS_MAIN(TestSqlConnector)
#include "test_sql_connector.moc"
