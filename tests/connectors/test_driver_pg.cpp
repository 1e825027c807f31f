// Both driver implementations against the test run's PostgreSQL cluster: libpq
// directly, and ODBC through PostgreSQL's ODBC driver.
#include "PgTestServer.h"
#include "driver/OdbcDriver.h"
#include "driver/PgDriver.h"
#include "serverkinds/ServerKind.h"

#include <QTest>

namespace
{

enum class Via { Libpq, Odbc };

std::unique_ptr<SqlDriver> driverFor(Via via)
{
    if (via == Via::Odbc)
        return std::make_unique<OdbcDriver>();
    return std::make_unique<PgDriver>();
}

QString connectionString(Via via, const PgTestDatabase &db, const QString &password)
{
    if (via == Via::Odbc)
        return QStringLiteral(
            "Driver={PostgreSQL Unicode};Servername=%1;Port=5432;Database=%2;Uid=%3;Pwd=%4;OptionalErrors=1;")
            .arg(db.Server, db.Database, db.UserName, password);
    return PgTestServer::conninfo(db.Server, db.Database, db.UserName, password);
}

} // namespace

Q_DECLARE_METATYPE(Via)

class TestDriverPg : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase() { mDb.reset(); }

    void connectRefused_data() { drivers(); }
    void connectRefused();
    void resultSets_data() { drivers(); }
    void resultSets();
    void nullsAndTypes_data() { drivers(); }
    void nullsAndTypes();
    void messages_data() { drivers(); }
    void messages();
    void errorsCarryLine_data() { drivers(); }
    void errorsCarryLine();
    void errorLeavesConnectionUsable_data() { drivers(); }
    void errorLeavesConnectionUsable();
    void serverGoesAway_data() { drivers(); }
    void serverGoesAway();
    void longText_data() { drivers(); }
    void longText();
    void sqlServerDriverIsRegistered();

private:
    void drivers()
    {
        QTest::addColumn<Via>("via");
        QTest::newRow("libpq") << Via::Libpq;
        QTest::newRow("odbc") << Via::Odbc;
    }
    std::unique_ptr<SqlConnection> open(Via via)
    {
        return driverFor(via)->Open(connectionString(via, *mDb, mDb->Password));
    }

    std::unique_ptr<PgTestDatabase> mDb;
};

void TestDriverPg::initTestCase()
{
    QString why;
    if (!PgTestServer().available(&why))
        QFAIL(qPrintable(why));
    mDb = PgTestServer::freshDatabase(QStringLiteral("driver"));
    mDb->exec(QStringLiteral("CREATE TABLE t (id int PRIMARY KEY, name text)"));
}

void TestDriverPg::connectRefused()
{
    QFETCH(Via, via);
    try {
        driverFor(via)->Open(connectionString(via, *mDb, QStringLiteral("wrong")));
        QFAIL("a wrong password was accepted");
    } catch (const SqlError &e) {
        QVERIFY2(e.Description.contains(QLatin1String("password authentication failed for user \"korvo\"")),
            qPrintable(e.Description));
    }
}

void TestDriverPg::resultSets()
{
    QFETCH(Via, via);
    auto c = open(via);
    const BatchResult r = c->Execute(QStringLiteral("DELETE FROM t; INSERT INTO t VALUES (1, 'a'), (2, 'b'), (3, "
                                                    "NULL); SELECT id, name FROM t ORDER BY id; SELECT 'x' AS c "
                                                    "WHERE false; UPDATE t SET name = 'z' WHERE id > 1"));
    QCOMPARE(r.Results.size(), 5);
    QVERIFY(!r.Results[0]->IsOpen());
    QCOMPARE(r.Results[1]->RecordsAffected(), 3);
    QVERIFY(!r.Results[1]->IsOpen());
    const auto &rows = r.Results[2];
    QVERIFY(rows->IsOpen());
    QCOMPARE(rows->FieldNames(), (QStringList { "id", "name" }));
    QCOMPARE(rows->RecordCount(), 3);
    QCOMPARE(rows->Field(QStringLiteral("ID")).toInt(), 1);
    rows->MoveNext();
    QCOMPARE(rows->FieldText(QStringLiteral("name")), QStringLiteral("b"));
    rows->MoveNext();
    QVERIFY(rows->IsNull(QStringLiteral("name")));
    rows->MoveNext();
    QVERIFY(rows->Eof());
    QVERIFY_THROWS_EXCEPTION(SqlError, rows->Field(QStringLiteral("id")));
    QVERIFY(r.Results[3]->IsOpen());
    QCOMPARE(r.Results[3]->RecordCount(), 0);
    QVERIFY(r.Results[3]->Eof());
    QCOMPARE(r.Results[4]->RecordsAffected(), 2);

    const auto first = c->OpenRecordset(QStringLiteral("SET search_path = public; SELECT count(*) AS n FROM t"));
    QCOMPARE(first->Field(QStringLiteral("n")).toInt(), 3);
    QVERIFY(!c->OpenRecordset(QStringLiteral("SET search_path = public"))->IsOpen());
}

void TestDriverPg::nullsAndTypes()
{
    QFETCH(Via, via);
    auto c = open(via);
    const auto rs = c->OpenRecordset(
        QStringLiteral("SELECT NULL::text AS n, ''::text AS e, 42::int AS i, 4294967295::bigint AS big, 1.5::float8 "
                       "AS f, 'Grüße ''q'' ✓'::text AS u"));
    QVERIFY(!rs->Field(QStringLiteral("n")).isValid());
    QVERIFY(rs->Field(QStringLiteral("e")).isValid());
    QCOMPARE(rs->FieldText(QStringLiteral("e")), QString());
    QCOMPARE(rs->Field(QStringLiteral("i")).toLongLong(), 42);
    QCOMPARE(rs->Field(QStringLiteral("big")).toLongLong(), 4294967295LL);
    QCOMPARE(rs->Field(QStringLiteral("f")).toDouble(), 1.5);
    QCOMPARE(rs->FieldText(QStringLiteral("u")), QStringLiteral("Grüße 'q' ✓"));
    QVERIFY_THROWS_EXCEPTION(SqlError, rs->Field(QStringLiteral("nope")));
}

void TestDriverPg::messages()
{
    QFETCH(Via, via);
    auto c = open(via);
    const BatchResult r = c->Execute(QStringLiteral("DO $$BEGIN RAISE NOTICE 'hello %', 1; END$$; SELECT 1 AS one"));
    QVERIFY2(r.Messages.join('\n').contains(QLatin1String("hello 1")), qPrintable(r.Messages.join('\n')));
}

void TestDriverPg::errorsCarryLine()
{
    QFETCH(Via, via);
    auto c = open(via);
    try {
        c->Execute(QStringLiteral("SELECT 1\r\n  FROM t\r\n WHER id = 1"));
        QFAIL("no error");
    } catch (const SqlError &e) {
        QCOMPARE(e.State, QStringLiteral("42601"));
        if (via == Via::Libpq)
            QCOMPARE(e.Description, QStringLiteral("Line 3: syntax error at or near \"id\""));
        else
            QVERIFY2(
                e.Description.contains(QLatin1String("syntax error at or near \"id\"")), qPrintable(e.Description));
    }
}

void TestDriverPg::errorLeavesConnectionUsable()
{
    QFETCH(Via, via);
    auto c = open(via);
    QVERIFY_THROWS_EXCEPTION(SqlError, c->Execute(QStringLiteral("SELECT * FROM missing_table")));
    QVERIFY(c->IsOpen());
    // An error inside an explicit transaction must not leave it aborted.
    QVERIFY_THROWS_EXCEPTION(SqlError, c->Execute(QStringLiteral("BEGIN; SELECT 1/0; COMMIT")));
    QCOMPARE(c->OpenRecordset(QStringLiteral("SELECT 7 AS s"))->Field(QStringLiteral("s")).toInt(), 7);
}

void TestDriverPg::serverGoesAway()
{
    QFETCH(Via, via);
    auto c = open(via);
    QVERIFY(c->IsOpen());
    mDb->terminateSessions();
    QVERIFY_THROWS_EXCEPTION(SqlError, c->Execute(QStringLiteral("SELECT 1")));
    QVERIFY(!c->IsOpen());
    QVERIFY_THROWS_EXCEPTION(SqlError, c->Execute(QStringLiteral("SELECT 1")));
}

void TestDriverPg::longText()
{
    QFETCH(Via, via);
    auto c = open(via);
    const QString text = QString(5000, QLatin1Char('x')) + QStringLiteral("é") + QString(3000, QLatin1Char('y'));
    const auto rs = c->OpenRecordset(QStringLiteral("SELECT '%1'::text AS v").arg(text));
    QCOMPARE(rs->FieldText(QStringLiteral("v")), text);
}

// The SQL Server kind's connection strings name the driver "SQL Server": it
// must load (FreeTDS here) and report a refused server as such.
void TestDriverPg::sqlServerDriverIsRegistered()
{
    const QString conn = ServerKind::SQLServer()->CreateConnectionString(
        QStringLiteral("127.0.0.1,1"), QStringLiteral("master"), QStringLiteral("sa"), QStringLiteral("x"), false);
    try {
        OdbcDriver().Open(conn);
        QFAIL("a server on port 1?");
    } catch (const SqlError &e) {
        QVERIFY2(!e.State.startsWith(QLatin1String("IM")), qPrintable(e.Description)); // driver manager errors
        QCOMPARE(ServerKind::SQLServer()->ClassifyConnectError(e), ServerKind::ConnectFailure::ServerNotFound);
    }
}

QTEST_GUILESS_MAIN(TestDriverPg)
#include "test_driver_pg.moc"
