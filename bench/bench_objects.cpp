// Times RefreshList and GetItemInfo of the stored procedures collection over
// 1,000 and 5,000 procedures on a throw-away PostgreSQL cluster, with a
// file:// Subversion project that is empty or holds a file per procedure.
#include "KORVOVSS.h"
#include "KORVOVersionedObjects.h"
#include "PgTestServer.h"
#include "ScriptedUi.h"
#include "SvnFixtures.h"
#include "SvnRepository.h"
#include "sql/KORVOSQL.h"

#include <QCoreApplication>
#include <QElapsedTimer>

#include <cstdio>

namespace
{

const QString project = QStringLiteral("$\\Db\\Objects\\");

double ms(const QElapsedTimer &t)
{
    return t.nsecsElapsed() / 1e6;
}

// A file per procedure, in one commit, each holding the server's text.
bool fillProject(const SvnTestRepository &repo, KORVOSQL &sql, const QStringList &ids)
{
    try {
        SvnRepository svn(repo.Url(), QStringLiteral("setup"), {});
        QList<SvnRepository::Change> adds;
        for (const QString &id : ids)
            adds.append(
                { SvnRepository::Change::AddFile, id + QStringLiteral(".sp"), sql.GetObjectText(id).toUtf8(), {}, -1 });
        svn.Commit(QStringLiteral("Db/Objects"), QStringLiteral("bench files"), adds);
    } catch (const VssError &e) {
        std::printf("filling the project: %s\n", qPrintable(e.Description()));
        return false;
    }
    return true;
}

bool run(const PgTestServer &server, int count)
{
    auto db = server.newDatabase(QStringLiteral("objects"));
    QString ddl = QStringLiteral("CREATE SCHEMA dbo;\n");
    for (int i = 0; i < count; ++i)
        ddl += QStringLiteral("CREATE PROCEDURE dbo.usp_bench_%1(p_id integer)\n LANGUAGE sql\nAS $$ SELECT p_id + %1 "
                              "$$;\n")
                   .arg(i);
    db->exec(ddl);

    ScriptedUi ui;
    ui.setLenient(true);
    auto sql = std::make_shared<KORVOSQL>(ui, ServerKind::PostgreSQL());
    if (!sql->OpenConnection(db->Server, db->Database, db->UserName, db->Password, KORVOSQL::UseNTNo, true).isEmpty())
        return false;
    QStringList ids;
    const auto rows = sql->OpenRecordset(QStringLiteral(
        "SELECT p.oid::bigint AS id FROM pg_proc p WHERE p.pronamespace = 'dbo'::regnamespace ORDER BY 1"));
    for (; !rows->Eof(); rows->MoveNext())
        ids.append(rows->FieldText(QStringLiteral("id")));

    for (bool withFiles : { false, true }) {
        SvnTestRepository repo;
        if (!repo.IsValid() || !repo.MakeFolders({ QStringLiteral("Db/Objects") }))
            return false;
        if (withFiles && !fillProject(repo, *sql, ids))
            return false;
        auto vss = std::make_shared<KORVOVSS>(ui);
        if (!vss->OpenConnection(repo.Url(), QStringLiteral("alice"), QString(), project,
                    repo.Folder(QStringLiteral("work")), true, true)
                 .isEmpty())
            return false;

        auto procs = std::make_shared<KORVOStoredProcedures>();
        procs->SetActiveDBConnection(sql);
        procs->SetActiveVSSConnection(vss);
        procs->SetIcons(std::make_shared<KORVOIcons>());
        bool cancel = false;
        QElapsedTimer t;
        t.start();
        procs->RefreshList(cancel);
        const double first = ms(t);
        t.restart();
        procs->RefreshList(cancel);
        const double again = ms(t);
        t.restart();
        const KORVODBTItemsPtr items = procs->GetItemInfo(true);
        const double info = ms(t);
        int both = 0;
        for (const auto &o : *procs)
            both += o->InSQL() && o->InVSS();
        std::printf("%5d procedures, %-13s RefreshList %8.0f ms (again %8.0f ms), GetItemInfo %8.0f ms; "
                    "%d items, %d in both places\n",
            count, withFiles ? "with files:" : "no files:", first, again, info, items ? items->Count() : -1, both);
    }
    return true;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    const QString socketDir = PgTestServer::newClusterDir();
    if (!PgTestServer::startCluster(socketDir)) {
        std::printf("PostgreSQL cluster could not be started\n");
        return 1;
    }
    int rc = 0;
    try {
        const PgTestServer server(socketDir);
        for (int count : { 1000, 5000 }) {
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
