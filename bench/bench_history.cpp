// Times the recompile window over 2,000 procedures on a throw-away PostgreSQL
// cluster, and the opening of the history window of an object with 500
// versions in a project served by svnserve on 127.0.0.1.
#include "KORVODatabase.h"
#include "KORVOObjectFactory.h"
#include "KORVOProject.h"
#include "KORVOVSS.h"
#include "KORVOVersionedObjects.h"
#include "KORVOWindows.h"
#include "PgTestServer.h"
#include "ScriptedUi.h"
#include "SvnFixtures.h"
#include "SvnRepository.h"
#include "frmItemHistory.h"
#include "frmRecompile.h"
#include "sql/KORVOSQL.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTreeWidget>

#include <cstdio>

namespace
{

const QString project = QStringLiteral("$\\Db\\Objects\\");

QStringList ProcedureIds(KORVOSQL &sql)
{
    QStringList ids;
    const auto rows = sql.OpenRecordset(QStringLiteral(
        "SELECT p.oid::bigint AS id FROM pg_proc p WHERE p.pronamespace = 'dbo'::regnamespace ORDER BY 1"));
    for (; !rows->Eof(); rows->MoveNext())
        ids.append(rows->FieldText(QStringLiteral("id")));
    return ids;
}

bool recompile(const PgTestServer &server, const QString &settings, int count)
{
    auto db = server.newDatabase(QStringLiteral("recompile"));
    QString ddl = QStringLiteral("CREATE SCHEMA dbo;\n");
    for (int i = 0; i < count; ++i)
        ddl += QStringLiteral("CREATE PROCEDURE dbo.usp_bench_%1(p_id integer)\n LANGUAGE sql\nAS $$ SELECT p_id + %1 "
                              "$$;\n")
                   .arg(i);
    db->exec(ddl);

    ScriptedUi ui;
    ui.setLenient(true);
    auto proj = std::make_shared<KORVOProject>(ui);
    proj->SQL()->SetKind(ServerKind::PostgreSQL());
    if (!proj->SQL()
             ->OpenConnection(db->Server, db->Database, db->UserName, db->Password, KORVOSQL::UseNTNo, true)
             .isEmpty())
        return false;
    SvnTestRepository repo;
    if (!repo.IsValid() || !repo.MakeFolders({ QStringLiteral("Db/Objects") }))
        return false;
    {
        SvnRepository svn(repo.Url(), QStringLiteral("setup"), {});
        QList<SvnRepository::Change> adds;
        for (const QString &id : ProcedureIds(*proj->SQL()))
            adds.append({ SvnRepository::Change::AddFile, id + QStringLiteral(".sp"),
                proj->SQL()->GetObjectText(id).toUtf8(), {}, -1 });
        svn.Commit(QStringLiteral("Db/Objects"), QStringLiteral("bench files"), adds);
    }
    if (!proj->VSS()
             ->OpenConnection(repo.Url(), QStringLiteral("alice"), QString(), project,
                 repo.Folder(QStringLiteral("work")), true, true)
             .isEmpty())
        return false;
    KORVODatabase session(ui, std::make_shared<KORVOObjectFactory>(), nullptr, settings);
    session.SetProject(proj);

    // Where the time goes: the list, and reading every text, apart from the run.
    QElapsedTimer t;
    t.start();
    auto procs = std::dynamic_pointer_cast<KORVOVersionedObjects>(
        session.GetObjectObjects(session.StoredProcedures()->ObjectType()));
    const double listSeconds = t.nsecsElapsed() / 1e9;
    t.restart();
    for (const KORVOTypedObjectPtr &o : *procs)
        o->GetContent(2);
    const double textSeconds = t.nsecsElapsed() / 1e9;
    std::printf("list of %d procedures read in %.2f s; their texts alone at %.0f objects/s\n", procs->Count(),
        listSeconds, count / textSeconds);

    frmRecompile w(session);
    w.Fill();
    t.restart();
    w.Start();
    const double seconds = t.nsecsElapsed() / 1e9;
    std::printf("recompile of %d procedures on PostgreSQL: %.2f s, %.0f objects/s (list read included); "
                "%d errors; last box: %s\n",
        count, seconds, count / seconds, w.ErrorCount(), qPrintable(ui.last().text));
    return w.ErrorCount() == 0;
}

bool history(const PgTestServer &server, const QString &settings, int versions)
{
    auto db = server.newDatabase(QStringLiteral("history"));
    db->exec("CREATE SCHEMA dbo; CREATE PROCEDURE dbo.usp_long(p_id integer) LANGUAGE sql AS $$ SELECT p_id $$;");
    ScriptedUi ui;
    ui.setLenient(true);
    auto sql = std::make_shared<KORVOSQL>(ui, ServerKind::PostgreSQL());
    if (!sql->OpenConnection(db->Server, db->Database, db->UserName, db->Password, KORVOSQL::UseNTNo, true).isEmpty())
        return false;
    const QString id = ProcedureIds(*sql).value(0);
    const QString text = sql->GetObjectText(id);

    SvnTestRepository repo;
    if (!repo.IsValid() || !repo.MakeFolders({ QStringLiteral("Db/Objects") }))
        return false;
    QElapsedTimer t;
    t.start();
    {
        SvnRepository svn(repo.Url(), QStringLiteral("alice"), {});
        svn.Commit(QStringLiteral("Db/Objects"), QStringLiteral("created"),
            { { SvnRepository::Change::AddFile, id + QStringLiteral(".sp"), text.toUtf8(), {}, -1 } });
        for (int v = 2; v <= versions; ++v)
            svn.Commit(QStringLiteral("Db/Objects"), QStringLiteral("change %1").arg(v),
                { { SvnRepository::Change::ModifyFile, id + QStringLiteral(".sp"),
                    (text + QStringLiteral("\n-- %1").arg(v)).toUtf8(), {}, -1 } });
    }
    std::printf("set-up of %d versions: %.1f s\n", versions, t.nsecsElapsed() / 1e9);

    if (!repo.ServeUsers({ { QStringLiteral("alice"), QStringLiteral("pw1") } }))
        return false;
    SvnServe serve(repo.Root());
    if (!serve.IsRunning()) {
        std::printf("svnserve did not start\n");
        return false;
    }
    auto vss = std::make_shared<KORVOVSS>(ui);
    if (!vss->OpenConnection(serve.Url(QStringLiteral("repo")), QStringLiteral("alice"), QStringLiteral("pw1"), project,
                repo.Folder(QStringLiteral("work")), true, true)
             .isEmpty())
        return false;
    auto procs = std::make_shared<KORVOStoredProcedures>();
    procs->SetActiveDBConnection(sql);
    procs->SetActiveVSSConnection(vss);
    procs->SetIcons(std::make_shared<KORVOIcons>());
    bool cancel = false;
    procs->RefreshList(cancel);
    const KORVOTypedObjectPtr object = procs->Object(id);
    if (!object)
        return false;

    KORVODatabase session(ui, std::make_shared<KORVOObjectFactory>(), nullptr, settings);
    KORVOWindows windows;
    for (int run = 1; run <= 3; ++run) {
        t.restart();
        frmItemHistory w(session, windows);
        w.SetObject(object);
        w.show();
        QCoreApplication::processEvents();
        const double ms = t.nsecsElapsed() / 1e6;
        std::printf("history window of an object with %d versions over svnserve, run %d: %.0f ms (%d rows)\n", versions,
            run, ms, w.findChild<QTreeWidget *>(QStringLiteral("lvwHistory"))->topLevelItemCount());
    }
    return true;
}

} // namespace

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    QTemporaryDir tmp(QDir::tempPath() + QStringLiteral("/korvo-bench-XXXXXX"));
    // The server runs as another user when we are root: it must reach the folder.
    QFile::setPermissions(tmp.path(),
        QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner | QFileDevice::ReadOther
            | QFileDevice::ExeOther | QFileDevice::ReadGroup | QFileDevice::ExeGroup);
    qputenv("KORVO_DATA_DIR", tmp.filePath(QStringLiteral("data")).toUtf8());
    const QString settings = tmp.filePath(QStringLiteral("korvo.conf"));
    const QString socketDir = tmp.path() + QStringLiteral("/pg");
    if (!PgTestServer::startCluster(socketDir)) {
        std::printf("PostgreSQL cluster could not be started\n");
        return 1;
    }
    int rc = 0;
    try {
        const PgTestServer server(socketDir);
        if (!recompile(server, settings, 2000))
            rc = 1;
        if (!history(server, settings, 500))
            rc = 1;
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
