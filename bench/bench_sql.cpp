// Figures for the SQL text parser and the SQL connector:
//   tokenising and name extraction over a 1 MB script;
//   GetObjectID and GetObjectText round trips on PostgreSQL, on a cluster of
//   its own (started and stopped here with the test fixture's script).
#include "PgTestServer.h"
#include "SQLParser.h"
#include "ScriptedUi.h"
#include "sql/KORVOSQL.h"

#include <QCoreApplication>
#include <QElapsedTimer>

#include <algorithm>
#include <cstdio>

namespace
{

// A script of procedures, each with comments, strings, brackets and a "go".
QString makeScript(qsizetype bytes)
{
    QString script;
    for (int i = 0; script.size() < bytes; ++i) {
        script += QStringLiteral("/* procedure %1: keeps the 'orders' */\r\n"
                                 "CREATE PROCEDURE [dbo].[usp_order_%1] (@id int, @name varchar(50) = 'x''y')\r\n"
                                 "AS\r\n"
                                 "-- CREATE PROC not_this_one\r\n"
                                 "SELECT o.[id], o.name, 'go' AS word FROM dbo.orders o WHERE o.id = @id\r\n"
                                 "go\r\n")
                      .arg(i);
    }
    return script;
}

// Best of a few runs, in milliseconds.
template <typename F> double bestMs(int runs, F &&work)
{
    double best = 1e300;
    for (int r = 0; r < runs; ++r) {
        QElapsedTimer t;
        t.start();
        work();
        best = std::min(best, t.nsecsElapsed() / 1e6);
    }
    return best;
}

void parserFigures()
{
    const QString script = makeScript(1024 * 1024);
    const double mb = script.size() / (1024.0 * 1024.0);
    const SQLKeywordPatterns proc { { "CREATE", "PROC" }, { "CREATE", "PROCEDURE" } };

    qsizetype tokens = 0;
    const double tokenise = bestMs(5, [&] { tokens = SplitSQLTokens(script, true).size(); });
    std::printf("SplitSQLTokens, 1 MB script (%.2f M chars, %lld tokens): %.1f ms (%.1f MB/s)\n", mb,
        static_cast<long long>(tokens), tokenise, mb / (tokenise / 1000.0));

    QStringList batches;
    const double split = bestMs(5, [&] { batches = SplitBatches(script); });
    std::printf("SplitBatches, 1 MB script (%lld parts): %.1f ms\n", static_cast<long long>(batches.size()), split);

    qsizetype found = 0;
    const double names = bestMs(3, [&] {
        found = 0;
        for (const QString &batch : batches)
            found += ExtractNameAfterPattern(proc, batch).isEmpty() ? 0 : 1;
    });
    std::printf("ExtractNameAfterPattern per batch (%lld names): %.1f ms in all, %.2f us per object\n",
        static_cast<long long>(found), names, names * 1000.0 / std::max<qsizetype>(found, 1));

    QString last;
    const double whole = bestMs(3, [&] { last = ExtractNameAfterPattern(proc, script); });
    std::printf("ExtractNameAfterPattern over the whole 1 MB (first name %s): %.1f ms\n", qPrintable(last), whole);

    QString old;
    const double replace = bestMs(3, [&] { ReplaceNameAfterPattern(proc, script, QStringLiteral("[t]"), old); });
    std::printf("ReplaceNameAfterPattern over the whole 1 MB: %.1f ms\n", replace);
}

int postgresFigures()
{
    const QString socketDir = PgTestServer::newClusterDir();
    QElapsedTimer start;
    start.start();
    if (!PgTestServer::startCluster(socketDir)) {
        std::printf("PostgreSQL cluster could not be started; no server figures\n");
        return 1;
    }
    std::printf("Throw-away PostgreSQL cluster started in %.0f ms\n", start.nsecsElapsed() / 1e6);
    int rc = 0;
    try {
        auto db = PgTestServer(socketDir).newDatabase(QStringLiteral("bench"));
        constexpr int objects = 200;
        QString ddl;
        for (int i = 0; i < objects; ++i)
            ddl += QStringLiteral("CREATE FUNCTION f_%1(a int) RETURNS int LANGUAGE plpgsql AS $$\nBEGIN\n  -- "
                                  "body %1\n  RETURN a + %1;\nEND\n$$;\n")
                       .arg(i);
        db->exec(ddl);

        ScriptedUi ui;
        KORVOSQL sql(ui, ServerKind::PostgreSQL());
        QElapsedTimer open;
        open.start();
        const QString error
            = sql.OpenConnection(db->Server, db->Database, db->UserName, db->Password, KORVOSQL::UseNTNo, true);
        const double openMs = open.nsecsElapsed() / 1e6;
        if (!error.isEmpty()) {
            std::printf("connection failed: %s\n", qPrintable(error));
            rc = 1;
        } else {
            std::printf("OpenConnection (test connection + real one): %.1f ms\n", openMs);
            QStringList ids;
            QElapsedTimer t;
            t.start();
            for (int i = 0; i < objects; ++i)
                ids << sql.GetObjectID(QStringLiteral("f_%1").arg(i), QStringLiteral("public"));
            const double idMs = t.nsecsElapsed() / 1e6;
            std::printf("GetObjectID: %d calls in %.1f ms, %.3f ms per call\n", objects, idMs, idMs / objects);
            t.restart();
            qsizetype chars = 0;
            for (const QString &id : ids)
                chars += sql.GetObjectText(id).size();
            const double textMs = t.nsecsElapsed() / 1e6;
            std::printf("GetObjectText: %d calls in %.1f ms, %.3f ms per call (%lld chars)\n", objects, textMs,
                textMs / objects, static_cast<long long>(chars));
            if (ids.contains(QString()))
                rc = 1;
        }
        sql.CloseConnection();
    } catch (const SqlError &e) {
        std::printf("server error: %s\n", e.what());
        rc = 1;
    }
    PgTestServer::stopCluster(socketDir);
    return rc;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    parserFigures();
    return postgresFigures();
}
