// Times the query window's result panel on PostgreSQL: a 100,000-row,
// 10-column result fetched and shown, with the process's peak memory; and a
// script of 1,000 batches.
#include "PgTestServer.h"
#include "ScriptedUi.h"
#include "multiGrid.h"
#include "sql/KORVOSQL.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTableView>
#include <QTemporaryDir>

#include <cstdio>

namespace
{

// VmHWM of /proc/self/status in MB.
double PeakMB()
{
    QFile f(QStringLiteral("/proc/self/status"));
    if (!f.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray &line : f.readAll().split('\n')) {
        if (line.startsWith("VmHWM:"))
            return line.mid(6).trimmed().split(' ').value(0).toDouble() / 1024.0;
    }
    return -1;
}

void Figures(const PgTestDatabase &db)
{
    ScriptedUi ui;
    KORVOSQL sql(ui);
    sql.SetKind(ServerKind::PostgreSQL());
    sql.OpenConnection(db.Server, db.Database, db.UserName, db.Password, KORVOSQL::UseNTNo, true);
    multiGrid grid;
    grid.SetSQLConnection(&sql);
    grid.resize(1000, 700);
    grid.show();
    std::printf("Peak memory before the large result: %.0f MB\n", PeakMB());

    const QString large = QStringLiteral(
        "select g as id, g * 2 as twice, 'name ' || g as name, g % 97 as bucket, now() as at, "
        "md5(g::text) as hash, g::numeric / 7 as ratio, g % 2 = 0 as even, repeat('x', g % 20) as pad, "
        "null::text as nothing from generate_series(1, 100000) g");
    for (int run = 0; run < 3; ++run) {
        QElapsedTimer t;
        t.start();
        grid.ExecuteQuery(large);
        grid.Grid(1)->repaint();
        QCoreApplication::processEvents();
        std::printf("100,000 rows x 10 columns fetched and shown: %.0f ms (%d rows in the grid)\n",
            t.nsecsElapsed() / 1e6, grid.Grid(1)->model()->rowCount());
    }
    std::printf("Peak memory (VmHWM) after the large result: %.0f MB\n", PeakMB());

    QString script = QStringLiteral("drop table if exists b;\ncreate temp table b(i int);\ngo\n");
    for (int i = 0; i < 1000; ++i)
        script += QStringLiteral("insert into b values (%1);\ngo\n").arg(i);
    for (int run = 0; run < 3; ++run) {
        QElapsedTimer t;
        t.start();
        grid.ExecuteQuery(script);
        QCoreApplication::processEvents();
        std::printf("Script of 1,001 batches: %.0f ms (%lld message lines)\n", t.nsecsElapsed() / 1e6,
            qlonglong(grid.MessagesText().count(QLatin1Char('\n'))));
    }
}

} // namespace

int main(int argc, char **argv)
{
    // Without a display the windows are offscreen.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM") && qEnvironmentVariableIsEmpty("DISPLAY")
        && qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    QTemporaryDir tmp(QDir::tempPath() + QStringLiteral("/korvo-bench-XXXXXX"));
    // The server runs as another user when we are root: it must reach the folder.
    QFile::setPermissions(tmp.path(),
        QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner | QFileDevice::ReadOther
            | QFileDevice::ExeOther | QFileDevice::ReadGroup | QFileDevice::ExeGroup);
    const QString socketDir = tmp.path() + QStringLiteral("/pg");
    if (!PgTestServer::startCluster(socketDir)) {
        std::printf("PostgreSQL cluster could not be started; no figures\n");
        return 1;
    }
    int rc = 0;
    try {
        auto db = PgTestServer(socketDir).newDatabase(QStringLiteral("bench"));
        Figures(*db);
    } catch (const std::exception &e) {
        std::printf("failed: %s\n", e.what());
        rc = 1;
    }
    PgTestServer::stopCluster(socketDir);
    return rc;
}
