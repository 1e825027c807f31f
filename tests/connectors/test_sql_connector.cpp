// KORVOSQL's behaviour, written once and run on both server kinds: SQL Server
// through the scripted server, PostgreSQL on the test run's real cluster.
#include "PgTestServer.h"
#include "ScriptedSqlServer.h"
#include "ScriptedUi.h"
#include "sql/KORVOSQL.h"

#include <QTest>

#include <functional>

using namespace Qt::StringLiterals;

namespace
{

// One server of either kind, with a database to work in and a way to make objects.
struct Backend {
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

void kinds()
{
    QTest::addColumn<QString>("kind");
    QTest::newRow("sqlserver") << u"sqlserver"_s;
    QTest::newRow("postgresql") << u"postgresql"_s;
}

// What a call throws: the description, marked when the connection was lost.
QString failure(const std::function<void()> &call)
{
    try {
        call();
        return u"no error"_s;
    } catch (const SqlError &e) {
        return (e.ConnectionLost ? u"lost: "_s : QString()) + e.Description;
    }
}

} // namespace

class TestSqlConnector : public QObject
{
    Q_OBJECT

    std::unique_ptr<ScriptedSqlServer> mMssql;
    std::unique_ptr<PgTestDatabase> mPg;
    ScriptedUi mUi;

    Backend backend()
    {
        QFETCH(QString, kind);
        return backend(kind);
    }

    Backend backend(const QString &kind)
    {
        if (kind == u"postgresql"_s) {
            mPg = PgTestServer::freshDatabase(u"sqlconn"_s);
            PgTestDatabase *db = mPg.get();
            return Backend { ServerKind::PostgreSQL(), db->Server, db->Database, db->UserName, db->Password,
                u"public"_s, [db](const QString &sql) { db->exec(sql); }, [db] { db->terminateSessions(); }, nullptr,
                u"CREATE PROCEDURE usp_a()\nLANGUAGE sql\nAS $$\n-- first\nSELECT 1\n$$"_s,
                u"CREATE SCHEMA other; CREATE PROCEDURE other.usp_a() LANGUAGE sql AS 'SELECT 2'"_s,
                u"CREATE OR REPLACE PROCEDURE public.usp_a()\n LANGUAGE sql\nAS $procedure$\n-- first\nSELECT "
                "1\n$procedure$\n"_s,
                u"/nonexistent/korvo"_s };
        }
        mMssql = std::make_unique<ScriptedSqlServer>(u"SQLTEST"_s);
        mMssql->addDatabase(u"korvotest"_s);
        mMssql->addUser(u"korvotest"_s, u"other"_s, u"otherlogin"_s);
        ScriptedSqlServer *server = mMssql.get();
        const QString text = u"CREATE PROCEDURE usp_a\r\nAS\r\n-- first\r\nSELECT 1\r\n"_s;
        return Backend { ServerKind::SQLServer(), u"SQLTEST"_s, u"korvotest"_s, u"sa"_s, u"sa-pw"_s, u"dbo"_s,
            [server](const QString &sql) {
                ScriptedSqlServer::Session s
                    = server->connect(u"Driver={SQL Server};Server=SQLTEST;Database=korvotest;Uid=sa;Pwd=sa-pw;"_s);
                server->execute(s, sql);
            },
            [server] { server->stop(); }, server->driver(), text, u"CREATE PROCEDURE [other].[usp_a] AS SELECT 2"_s,
            text, u"NOSUCHSERVER"_s };
    }

    std::unique_ptr<KORVOSQL> newSql(const Backend &b)
    {
        auto sql = std::make_unique<KORVOSQL>(mUi, b.serverKind);
        if (b.driver)
            sql->SetDriver(b.driver);
        return sql;
    }

    std::unique_ptr<KORVOSQL> openSql(const Backend &b)
    {
        auto sql = newSql(b);
        const QString result = sql->OpenConnection(b.server, b.database, b.user, b.password, KORVOSQL::UseNTNo);
        if (!result.isEmpty())
            qWarning("open failed: %s", qPrintable(result));
        return sql;
    }

private Q_SLOTS:
    void initTestCase()
    {
        QString why;
        if (!PgTestServer().available(&why))
            QFAIL(qPrintable(why));
    }

    void init() { mUi.clear(); }

    void cleanup()
    {
        QCOMPARE(mUi.pending(), 0);
        mPg.reset();
        mMssql.reset();
    }

    void refusedLogin_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("what");
        for (const char *kind : { "sqlserver", "postgresql" }) {
            for (const char *what : { "password", "server", "database" })
                QTest::addRow("%s %s", kind, what) << QString::fromLatin1(kind) << QString::fromLatin1(what);
        }
    }

    void refusedLogin()
    {
        const Backend b = backend();
        QFETCH(QString, what);
        const QString server = what == u"server"_s ? b.badServer : b.server;
        const QString database = what == u"database"_s ? u"nosuchdb"_s : b.database;
        const QString password = what == u"password"_s ? u"wrong"_s : b.password;
        auto sql = newSql(b);
        const QString raw = sql->TestConnection(server, database, b.user, password, false);
        QVERIFY(!raw.isEmpty());
        mUi.answer(UiServices::Answer::Ok);
        QCOMPARE(sql->OpenConnection(server, database, b.user, password, KORVOSQL::UseNTNo), raw);
        QVERIFY(!sql->ConnectionOpen() && !sql->DBConn() && !sql->HasConnected());
        QCOMPARE(sql->Server(), QString());
        // Silent: the same result, no second box.
        QCOMPARE(sql->OpenConnection(server, database, b.user, password, KORVOSQL::UseNTNo, true), raw);
        QCOMPARE(mUi.boxTexts(), QStringList { u"critical|Connection Error|"_s + KORVOSQL::FormatSQLError(raw) });
    }

    void passwordPrompt_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("why"); // why no prompt comes; empty: it comes
        for (const char *kind : { "sqlserver", "postgresql" }) {
            for (const char *why : { "", "stored", "connected before", "os login" })
                QTest::addRow("%s %s", kind, *why ? why : "prompt")
                    << QString::fromLatin1(kind) << QString::fromLatin1(why);
        }
    }

    // A blank password brings the prompt, unless passwords are stored, a
    // connection was made before, or the login is the operating system's: then
    // it is taken as it is (an unexpected prompt fails the test).
    void passwordPrompt()
    {
        const Backend b = backend();
        QFETCH(QString, why);
        const bool os = why == u"os login"_s;
        auto sql = newSql(b);
        sql->SetUserName(u"stored"_s);
        sql->SetStorePassword(why == u"stored"_s);
        if (why == u"connected before"_s) {
            QCOMPARE(sql->OpenConnection(b.server, b.database, b.user, b.password, KORVOSQL::UseNTNo), QString());
            sql->SetPassword(QString());
        }
        const auto open = [&](bool silent) {
            return sql->OpenConnection(b.server, b.database, os ? QString() : b.user, QString(),
                os ? KORVOSQL::UseNTYes : KORVOSQL::UseNTNo, silent);
        };
        if (why.isEmpty()) {
            // Cancelled, with a box and silently; then confirmed.
            mUi.password(false).answer(UiServices::Answer::Ok).password(false).password(true, b.user, b.password);
            QCOMPARE(open(false), u"Password was not entered!"_s);
            QCOMPARE(open(true), u"Password was not entered!"_s);
            QCOMPARE(mUi.boxTexts(), QStringList { u"critical|Connection Error|Password was not entered!"_s });
            const ScriptedUi::Prompt &prompt = mUi.prompts[0];
            QCOMPARE((QStringList { prompt.kind, prompt.server, prompt.database, prompt.userName }),
                (QStringList { u"SQL"_s, b.server, b.database, b.user }));
            QVERIFY(!sql->ConnectionOpen());
            QCOMPARE(open(false), QString());
            QCOMPARE(sql->Password(), b.password);
        } else if (os) {
            QCOMPARE(open(true), QString());
            QVERIFY(sql->UseWinNTAuth());
            QCOMPARE(sql->UserName() + u'|' + sql->StoredUserName(), u"(Windows authentication)|stored"_s);
        } else {
            // Neither server takes this login without a password: the attempt is made and fails.
            const QString result = open(true);
            QVERIFY(!result.isEmpty());
            QCOMPARE(result, sql->TestConnection(b.server, b.database, b.user, QString(), false));
        }
    }

    void objectLookups_data() { kinds(); }
    void objectLookups()
    {
        const Backend b = backend();
        b.run(b.procText);
        auto sql = openSql(b);
        const QString id = sql->GetObjectID(u"usp_a"_s, QString());
        QVERIFY(!id.isEmpty());
        QCOMPARE(sql->GetObjectID(u"[usp_a]"_s, u"["_s + b.owner + u"]"_s), id);
        QCOMPARE(sql->GetObjectID(u"usp_a"_s, u"nobody"_s), QString());
        QCOMPARE(sql->GetObjectID(u"usp_none"_s, QString()), QString());
        QCOMPARE(sql->GetObjectName(id, false), b.serverKind->FormatName(QString(), u"usp_a"_s));
        QCOMPARE(sql->GetObjectName(id, true), b.serverKind->FormatName(b.owner, u"usp_a"_s));
        QCOMPARE(sql->GetObjectName(u"123456789"_s, true), QString());
        QCOMPARE(sql->GetObjectOwnerName(id), b.owner);
        QCOMPARE(sql->GetObjectOwnerName(u"123456789"_s), QString());
        QCOMPARE(sql->GetObjectText(id), b.expectedProcText);
        // Quotes are doubled in the literal; neither lookup may fail on the server.
        QCOMPARE(sql->GetObjectID(u"O'Brien"_s, u"d'bo"_s), QString());
        QCOMPARE(sql->GetObjectID(u"[a]]b]"_s, QString()), QString());
        QCOMPARE(sql->GetObjectName(u"1; DROP TABLE x"_s, true), QString());
        QVERIFY(sql->ConnectionOpen());

        // A name held by two owners is found by its owner only.
        b.run(b.procTextOtherOwner);
        const QString other = sql->GetObjectID(u"usp_a"_s, u"other"_s);
        QVERIFY(!other.isEmpty() && other != id);
        QCOMPARE(sql->GetObjectID(u"usp_a"_s, b.owner), id);
        QCOMPARE(sql->GetObjectID(u"usp_a"_s, QString()), QString());
        QCOMPARE(sql->GetObjectOwnerName(other), u"other"_s);
    }

    // A statement's error leaves the connection open; a lost connection stays
    // lost and fails loudly until a new one is open.
    void serverGoesAway_data() { kinds(); }
    void serverGoesAway()
    {
        const Backend b = backend();
        b.run(b.procText);
        auto sql = openSql(b);
        const QString error = failure([&] { sql->ExecuteSQL(u"DROP VIEW no_such_view"_s); });
        QVERIFY2(error.contains("no_such_view"_L1) && !error.startsWith("lost"_L1), qPrintable(error));
        QVERIFY(sql->ConnectionOpen());

        b.dropSessions();
        const QString lost = failure([&] { sql->GetObjectID(u"usp_a"_s, QString()); });
        QVERIFY2(lost.startsWith("lost: "_L1), qPrintable(lost));
        QVERIFY(!sql->ConnectionOpen() && !sql->DBConn() && sql->ConnectionLost());
        // Everything that needs the server fails with the driver's text, without reaching it.
        QCOMPARE(failure([&] { sql->ExecuteSQL(u"SELECT 1"_s); }), lost);
        QCOMPARE(failure([&] { sql->OpenRecordset(u"SELECT 1"_s); }), lost);
        QCOMPARE(failure([&] { sql->UserDefinedFunctionsAllowed(); }), u"Connection is not open"_s);
        // A reconnect while the server is still away leaves it lost.
        if (mMssql) {
            QVERIFY(!sql->OpenConnection({}, {}, {}, {}, KORVOSQL::UseStoredAuth, true).isEmpty());
            QCOMPARE(failure([&] { sql->ExecuteSQL(u"SELECT 1"_s); }), lost);
            mMssql->start();
        }
        QCOMPARE(sql->OpenConnection(), QString());
        QVERIFY(!sql->ConnectionLost());
        QVERIFY(!sql->GetObjectID(u"usp_a"_s, QString()).isEmpty());
        // Closed on purpose, it stays quiet as described.
        sql->CloseConnection();
        QVERIFY(!sql->ConnectionOpen() && !sql->DBConn() && sql->HasConnected());
        sql->ExecuteSQL(u"SELECT 1"_s);
        QVERIFY(!sql->OpenRecordset(u"SELECT 1"_s));
    }

    void serverQueries_data() { kinds(); }
    void serverQueries()
    {
        const Backend b = backend();
        auto sql = openSql(b);
        QCOMPARE(sql->DatabaseUserName(), b.owner);
        QVERIFY(sql->UserDefinedFunctionsAllowed());
        // Nothing stays behind, so the probe can run again.
        QVERIFY(sql->UserDefinedFunctionsAllowed());
        QCOMPARE(sql->GetObjectID(u"udfCheck_SQL_SERVER_VERSION"_s, QString()), QString());

        const QStringList dbs = sql->FindDatabases(b.server, b.user, b.password, KORVOSQL::UseNTNo);
        QVERIFY(dbs.indexOf(b.database) >= 1);
        QCOMPARE(dbs[0], QString());
        QVERIFY_THROWS_EXCEPTION(SqlError, sql->FindDatabases(b.server, b.user, u"wrong"_s, 0));

        // The connection checks of the dialogs answer texts, never boxes.
        const int no = KORVOSQL::UseNTNo;
        QCOMPARE(sql->ValidSQLDMOConnectionString(b.server, b.user, b.password, b.database, no), QString());
        QCOMPARE(sql->ValidSQLDMOConnectionString(b.server, b.user, b.password, QString(), no), QString());
        QCOMPARE(sql->ValidSQLDMOConnectionString(b.server, b.user, b.password, u"nosuchdb"_s, no),
            u"Database 'nosuchdb' does not exist."_s);
        QCOMPARE(sql->ValidSQLDMOConnectionString(b.server, b.user, u"wrong"_s, b.database, no),
            u"Login failed for user '%1'."_s.arg(b.user));
        QCOMPARE(sql->ValidSQLDMOConnectionString(b.badServer, b.user, b.password, b.database, no),
            u"SQL Server '%1' does not exist or access denied."_s.arg(b.badServer));
        QCOMPARE(sql->ValidateConnectionInformationADO(b.server, b.user, b.password, b.database, no), QString());
        QCOMPARE(sql->ValidateConnectionInformationADO(b.server, b.user, u"wrong"_s, b.database, no),
            KORVOSQL::FormatSQLError(sql->TestConnection(b.server, b.database, b.user, u"wrong"_s, false)));
    }

    void parseOnly()
    {
        const Backend b = backend(u"sqlserver"_s);
        mMssql->ParseCheck = [](const QString &sql) {
            return sql.contains("SELEC "_L1) ? u"Incorrect syntax near 'SELEC'."_s : QString();
        };
        auto sql = openSql(b);
        mMssql->Log.clear();
        QCOMPARE(sql->ParseSQL(u"SELECT * FROM nowhere"_s), QString());
        QCOMPARE(mMssql->Log, (QStringList { "SET PARSEONLY ON", "SELECT * FROM nowhere" }));
        QCOMPARE(sql->ParseSQL(u"SELEC 1"_s),
            u"Line 1: [Microsoft][ODBC SQL Server Driver][SQL Server]Incorrect syntax near 'SELEC'."_s);
        // A connection that cannot be made reaches the caller.
        sql->SetPassword(u"wrong"_s);
        QVERIFY_THROWS_EXCEPTION(SqlError, sql->ParseSQL(u"SELECT 1"_s));

        QCOMPARE(openSql(backend(u"postgresql"_s))->ParseSQL(u"SELECT 1"_s),
            u"PostgreSQL has no parse-only mode. Could not parse query"_s);
    }
};

QTEST_GUILESS_MAIN(TestSqlConnector)
#include "test_sql_connector.moc"
