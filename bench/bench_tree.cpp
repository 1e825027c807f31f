// Expanding the stored procedures folder of the main window's tree over 5,000
// and 20,000 procedures on a throw-away PostgreSQL cluster, each with its file
// in a Subversion project, reached through file:// and through svnserve on
// 127.0.0.1. Prints the session's part (RefreshList and GetItemInfo), filling
// the tree widget, and the process's memory with the tree filled.
#include "KORVODatabase.h"
#include "KORVOObjectFactory.h"
#include "KORVOProject.h"
#include "KORVOVSS.h"
#include "PgTestServer.h"
#include "ScriptedUi.h"
#include "SvnFixtures.h"
#include "SvnRepository.h"
#include "mdiMain.h"
#include "sql/KORVOSQL.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QSignalBlocker>
#include <QTemporaryDir>
#include <QTreeWidget>

#include <cstdio>
#include <malloc.h>

namespace
{

const QString project = QStringLiteral("$\\Db\\Objects\\");

double ms(const QElapsedTimer &t)
{
    return t.nsecsElapsed() / 1e6;
}

// Resident memory of this process in MB.
double residentMB()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    const QRegularExpression rss(QStringLiteral("VmRSS:\\s+(\\d+) kB"));
    const auto m = rss.match(QString::fromLatin1(status.readAll()));
    return m.hasMatch() ? m.captured(1).toDouble() / 1024.0 : -1;
}

bool fillProject(const SvnTestRepository &repo, KORVOSQL &sql, const QStringList &ids)
{
    SvnRepository svn(repo.Url(), QStringLiteral("setup"), {});
    QList<SvnRepository::Change> adds;
    for (const QString &id : ids)
        adds.append(
            { SvnRepository::Change::AddFile, id + QStringLiteral(".sp"), sql.GetObjectText(id).toUtf8(), {}, -1 });
    svn.Commit(QStringLiteral("Db/Objects"), QStringLiteral("bench files"), adds);
    return true;
}

// The folder's first expansion, timed in its two parts: the session's fetch
// (RefreshList and GetItemInfo) and filling the tree widget with the result.
struct Target
{
    QString server, database, dbUser, dbPassword, url, user, password, work;
};

bool expand(const QString &label, const Target &db, int count)
{
    ScriptedUi ui;
    ui.setLenient(true);
    QTemporaryDir settings;
    KORVODatabase session(ui, std::make_shared<KORVOObjectFactory>(), [] { return std::make_unique<mdiMain>(); },
        settings.filePath(QStringLiteral("korvo.conf")));
    auto p = std::make_shared<KORVOProject>(ui);
    p->Name = QStringLiteral("Bench");
    p->SQL()->SetKind(ServerKind::PostgreSQL());
    if (!p->SQL()->OpenConnection(db.server, db.database, db.dbUser, db.dbPassword, KORVOSQL::UseNTNo, true)
             .isEmpty())
        return false;
    if (!p->VSS()->OpenConnection(db.url, db.user, db.password, project, db.work, true, true).isEmpty())
        return false;
    ui.answer(UiServices::Answer::No);
    bool ok = false;
    session.OpenProject(p, ok);
    auto *main = static_cast<mdiMain *>(session.MainWindow());
    const QString folder = session.StoredProcedures()->ObjectType();

    QElapsedTimer t;
    t.start();
    const KORVODBTItemsPtr items = session.GetItemInfo(folder, folder, false, true);
    const double cold = ms(t);
    if (!items || items->Count() != count) {
        std::printf("%s: %d items instead of %d\n", qPrintable(label), items ? items->Count() : -1, count);
        return false;
    }
    // Filling the tree with what the fetch gave, as the expansion does, and
    // painting it once.
    QTreeWidgetItem *node = main->FindNode(folder);
    t.restart();
    {
        const QSignalBlocker quiet(main->Tree());
        node->setExpanded(true);
    }
    main->FillNode(node, *items);
    QApplication::processEvents();
    main->Tree()->repaint();
    const double fill = ms(t);
    const struct mallinfo2 heap = mallinfo2();
    std::fprintf(stderr, "heap: arena %zu, mmapped %zu, in use %zu, free %zu, top %zu (kB)\n", heap.arena / 1024,
        heap.hblkhd / 1024, heap.uordblks / 1024, heap.fordblks / 1024, heap.keepcost / 1024);
    std::fflush(stdout);
    std::printf("%6d procedures, %-30s first expansion %6.0f ms = session %6.0f ms (RefreshList, GetItemInfo) + "
                "tree %5.0f ms; %d nodes; resident %4.0f MB\n",
        count, qPrintable(label + QLatin1Char(':')), cold + fill, cold, fill, node->childCount(), residentMB());
    main->CloseProject();
    return true;
}

bool run(const PgTestServer &server, int count)
{
    auto db = server.newDatabase(QStringLiteral("tree"));
    QString ddl = QStringLiteral("CREATE SCHEMA dbo;\n");
    for (int i = 0; i < count; ++i)
        ddl += QStringLiteral("CREATE PROCEDURE dbo.usp_bench_%1(p_id integer)\n LANGUAGE sql\nAS $$ SELECT p_id + %1 "
                              "$$;\n")
                   .arg(i);
    db->exec(ddl);

    ScriptedUi ui;
    KORVOSQL sql(ui, ServerKind::PostgreSQL());
    if (!sql.OpenConnection(db->Server, db->Database, db->UserName, db->Password, KORVOSQL::UseNTNo, true).isEmpty())
        return false;
    QStringList ids;
    const auto rows = sql.OpenRecordset(QStringLiteral(
        "SELECT p.oid::bigint AS id FROM pg_proc p WHERE p.pronamespace = 'dbo'::regnamespace ORDER BY 1"));
    for (; !rows->Eof(); rows->MoveNext())
        ids.append(rows->FieldText(QStringLiteral("id")));

    SvnTestRepository repo;
    if (!repo.IsValid() || !repo.MakeFolders({ QStringLiteral("Db/Objects") }) || !fillProject(repo, sql, ids))
        return false;
    // Each measurement runs in a process of its own, so that its memory is that
    // of a session with the tree filled, without this set-up's.
    auto measure = [&](const QString &label, const QString &url, const QString &password, const QString &work) {
        QProcess child;
        child.setProcessChannelMode(QProcess::ForwardedChannels);
        QStringList args { QStringLiteral("--measure"), label, QString::number(count), db->Server, db->Database,
            db->UserName, db->Password, url, QStringLiteral("alice"), password, repo.Folder(work) };
        // KORVO_BENCH_WRAP runs the measurement under a profiler, e.g. "heaptrack" or "valgrind --tool=massif".
        QStringList wrap = QProcess::splitCommand(qEnvironmentVariable("KORVO_BENCH_WRAP"));
        if (!wrap.isEmpty())
            args.prepend(QCoreApplication::applicationFilePath());
        const QString program = wrap.isEmpty() ? QCoreApplication::applicationFilePath() : wrap.takeFirst();
        child.start(program, wrap + args);
        return child.waitForFinished(-1) && child.exitCode() == 0;
    };
    bool ok = measure(QStringLiteral("file://"), repo.Url(), QString(), QStringLiteral("work1"));
    if (!repo.ServeUsers({ { QStringLiteral("alice"), QStringLiteral("pw1") } }))
        return false;
    SvnServe serve(repo.Root());
    if (!serve.IsRunning()) {
        std::printf("svnserve did not start\n");
        return false;
    }
    ok = measure(QStringLiteral("svn:// (svnserve, 127.0.0.1)"), serve.Url(QStringLiteral("repo")),
                 QStringLiteral("pw1"), QStringLiteral("work2"))
        && ok;
    return ok;
}

} // namespace

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    QApplication app(argc, argv);
    const QStringList args = app.arguments().mid(1);
    if (args.value(0) == QLatin1String("--measure") && args.size() == 11) {
        const Target target { args[3], args[4], args[5], args[6], args[7], args[8], args[9], args[10] };
        const bool ok = expand(args[1], target, args[2].toInt());
        std::fflush(stdout);
        return ok ? 0 : 1;
    }
    QTemporaryDir tmp(QDir::tempPath() + QStringLiteral("/korvo-bench-XXXXXX"));
    QFile::setPermissions(tmp.path(),
        QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner | QFileDevice::ReadOther
            | QFileDevice::ExeOther | QFileDevice::ReadGroup | QFileDevice::ExeGroup);
    qputenv("KORVO_DATA_DIR", tmp.filePath(QStringLiteral("data")).toUtf8());
    const QString socketDir = tmp.path() + QStringLiteral("/pg");
    if (!PgTestServer::startCluster(socketDir)) {
        std::printf("PostgreSQL cluster could not be started\n");
        return 1;
    }
    int rc = 0;
    try {
        const PgTestServer server(socketDir);
        const QList<int> counts = args.isEmpty() ? QList<int> { 5000, 20000 } : QList<int> { args.first().toInt() };
        for (int count : counts) {
            if (!run(server, count))
                rc = 1;
        }
    } catch (const SqlError &e) {
        std::printf("server error: %s\n", e.what());
        rc = 1;
    } catch (const VssError &e) {
        std::printf("source-control error: %s\n", qPrintable(e.Description()));
        rc = 1;
    }
    PgTestServer::stopCluster(socketDir);
    return rc;
}
