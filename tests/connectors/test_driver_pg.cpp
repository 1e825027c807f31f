// Both driver implementations against the test run's PostgreSQL cluster: libpq
// directly, and ODBC through PostgreSQL's ODBC driver.
#include "PgTestServer.h"
#include "driver/OdbcDriver.h"
#include "driver/PgDriver.h"
#include "serverkinds/ServerKind.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace
{
enum class Via { Libpq, Odbc };

// A result as text: the rows affected, or the count, field names and rows of a result with rows.
QString describe(Recordset &rs)
{
    if (!rs.IsOpen())
        return u"affected %1"_s.arg(rs.RecordsAffected());
    QStringList rows { u"%1 of %2"_s.arg(rs.RecordCount()).arg(rs.FieldNames().join(u',')) };
    for (; !rs.Eof(); rs.MoveNext()) {
        QStringList row;
        for (const QString &field : rs.FieldNames())
            row << (rs.IsNull(field) ? u"NULL"_s : rs.FieldText(field));
        rows << row.join(u',');
    }
    return rows.join(u'|');
}
}

Q_DECLARE_METATYPE(Via)

class TestDriverPg : public QObject
{
    Q_OBJECT

    std::unique_ptr<PgTestDatabase> mDb;

    std::unique_ptr<SqlConnection> open(Via via, const QString &password)
    {
        if (via == Via::Libpq)
            return PgDriver().Open(PgTestServer::conninfo(mDb->Server, mDb->Database, mDb->UserName, password));
        return OdbcDriver().Open(
            u"Driver={PostgreSQL Unicode};Servername=%1;Port=5432;Database=%2;Uid=%3;Pwd=%4;OptionalErrors=1;"_s.arg(
                mDb->Server, mDb->Database, mDb->UserName, password));
    }
    std::unique_ptr<SqlConnection> open()
    {
        QFETCH(Via, via);
        return open(via, mDb->Password);
    }
    static void drivers()
    {
        QTest::addColumn<Via>("via");
        QTest::newRow("libpq") << Via::Libpq;
        QTest::newRow("odbc") << Via::Odbc;
    }

private Q_SLOTS:
    void initTestCase()
    {
        QString why;
        if (!PgTestServer().available(&why))
            QFAIL(qPrintable(why));
        mDb = PgTestServer::freshDatabase(u"driver"_s);
        mDb->exec(u"CREATE TABLE t (id int PRIMARY KEY, name text)"_s);
    }
    void cleanupTestCase() { mDb.reset(); }

    void connectRefused_data() { drivers(); }
    void connectRefused()
    {
        QFETCH(Via, via);
        try {
            open(via, u"wrong"_s);
            QFAIL("a wrong password was accepted");
        } catch (const SqlError &e) {
            QVERIFY2(e.Description.contains("password authentication failed for user \"korvo\""_L1),
                qPrintable(e.Description));
        }
    }

    // Every statement of a batch gives a result, in order; notices come as messages.
    void resultSets_data() { drivers(); }
    void resultSets()
    {
        auto c = open();
        const BatchResult r
            = c->Execute(u"DELETE FROM t; INSERT INTO t VALUES (1, 'a'), (2, 'b'), (3, NULL); SELECT id, name FROM t "
                         "ORDER BY id; SELECT 'x' AS c WHERE false; UPDATE t SET name = 'z' WHERE id > 1; "
                         "DO $$BEGIN RAISE NOTICE 'hello %', 1; END$$"_s);
        QCOMPARE(r.Results.size(), 6);
        QVERIFY(!r.Results[0]->IsOpen());
        QCOMPARE(r.Results[2]->Field(u"ID"_s).toInt(), 1); // field names in any case
        QStringList results;
        for (int i = 1; i < 5; ++i)
            results << describe(*r.Results[i]);
        QCOMPARE(results, (QStringList { "affected 3", "3 of id,name|1,a|2,b|3,NULL", "0 of c", "affected 2" }));
        QVERIFY_THROWS_EXCEPTION(SqlError, r.Results[2]->Field(u"id"_s)); // past the last row
        QVERIFY2(r.Messages.join('\n').contains("hello 1"_L1), qPrintable(r.Messages.join('\n')));

        // OpenRecordset gives the first result, rows or not.
        QCOMPARE(
            c->OpenRecordset(u"SET search_path = public; SELECT count(*) AS n FROM t"_s)->Field(u"n"_s).toInt(), 3);
        QVERIFY(!c->OpenRecordset(u"SET search_path = public"_s)->IsOpen());
    }

    void values_data() { drivers(); }
    void values()
    {
        const QString text = QString(5000, u'x') + u"é"_s + QString(3000, u'y');
        const auto rs = open()->OpenRecordset(
            u"SELECT NULL::text AS n, ''::text AS e, 42::int AS i, 4294967295::bigint AS big, 1.5::float8 AS f, "
            "'Grüße ''q'' ✓'::text AS u, '%1'::text AS long"_s.arg(text));
        QCOMPARE(rs->Field(u"big"_s).toLongLong(), 4294967295LL);
        QVERIFY_THROWS_EXCEPTION(SqlError, rs->Field(u"nope"_s));
        QCOMPARE(describe(*rs), u"1 of n,e,i,big,f,u,long|NULL,,42,4294967295,1.5,Grüße 'q' ✓,"_s + text);
    }

    // Errors carry the server's state and line, and leave the connection usable.
    void errors_data() { drivers(); }
    void errors()
    {
        QFETCH(Via, via);
        auto c = open();
        try {
            c->Execute(u"SELECT 1\r\n  FROM t\r\n WHER id = 1"_s);
            QFAIL("no error");
        } catch (const SqlError &e) {
            QCOMPARE(e.State, u"42601"_s);
            if (via == Via::Libpq)
                QCOMPARE(e.Description, u"Line 3: syntax error at or near \"id\""_s);
            else
                QVERIFY2(e.Description.contains("syntax error at or near \"id\""_L1), qPrintable(e.Description));
        }
        QVERIFY(c->IsOpen());
        // An error inside an explicit transaction must not leave it aborted.
        QVERIFY_THROWS_EXCEPTION(SqlError, c->Execute(u"BEGIN; SELECT 1/0; COMMIT"_s));
        QCOMPARE(c->OpenRecordset(u"SELECT 7 AS s"_s)->Field(u"s"_s).toInt(), 7);
    }

    void serverGoesAway_data() { drivers(); }
    void serverGoesAway()
    {
        auto c = open();
        QVERIFY(c->IsOpen());
        mDb->terminateSessions();
        QVERIFY_THROWS_EXCEPTION(SqlError, c->Execute(u"SELECT 1"_s));
        QVERIFY(!c->IsOpen());
        QVERIFY_THROWS_EXCEPTION(SqlError, c->Execute(u"SELECT 1"_s));
    }

    // The SQL Server kind's connection strings name the driver "SQL Server": it
    // must load (FreeTDS here) and report a refused server as such.
    void sqlServerDriverIsRegistered()
    {
        try {
            OdbcDriver().Open(
                ServerKind::SQLServer()->CreateConnectionString(u"127.0.0.1,1"_s, u"master"_s, u"sa"_s, u"x"_s, false));
            QFAIL("a server on port 1?");
        } catch (const SqlError &e) {
            QVERIFY2(!e.State.startsWith("IM"_L1), qPrintable(e.Description)); // driver manager errors
            QCOMPARE(ServerKind::SQLServer()->ClassifyConnectError(e), ServerKind::ConnectFailure::ServerNotFound);
        }
    }
};

QTEST_GUILESS_MAIN(TestDriverPg)
#include "test_driver_pg.moc"
