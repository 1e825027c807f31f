// Times the script generator's complete mode over 2,600 objects, and its
// comparison mode between two PostgreSQL databases of 2,600 objects each with
// 5% of them differing, with the project on svnserve: the collection of the
// objects and the emission of the script file, each and together. "again" is
// the complete mode with the working files already in the working folder.
#include "KORVODatabase.h"
#include "KORVOObjectFactory.h"
#include "KORVOObjectTypes.h"
#include "KORVOProject.h"
#include "KORVOStepProgress.h"
#include "KORVOVSS.h"
#include "PgTestServer.h"
#include "ScriptCreator.h"
#include "ScriptEmitter.h"
#include "ScriptObjectSelection.h"
#include "ScriptedUi.h"
#include "SvnFixtures.h"
#include "SvnRepository.h"
#include "sql/KORVOSQL.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QTemporaryDir>

#include <cstdio>

namespace
{

const QString project = QStringLiteral("$\\Db\\Objects\\");
constexpr int Procedures = 1000, Functions = 800, Views = 600, Triggers = 199; // and one trigger function

// Steps go nowhere; the run is timed as a whole.
class NoSteps : public KORVOStepProgress
{
public:
    void ClearSteps() override { }
    void AddStep(const QString &, const QString &) override { }
    void NextStep() override { }
    void SetProgressMax(long) override { }
    void SetProgress(long, const QString &) override { }
    void EndStep(const QString &) override { }
};

double ms(const QElapsedTimer &t)
{
    return t.nsecsElapsed() / 1e6;
}

// The objects of the project; `other` makes the older database: every 20th
// procedure, view and trigger differs, every 20th function is missing, and ten
// procedures are its own.
QString Ddl(bool other)
{
    QString ddl = QStringLiteral("CREATE SCHEMA dbo;\nCREATE FUNCTION dbo.trg_fn() RETURNS trigger LANGUAGE plpgsql AS "
                                 "$$ BEGIN RETURN NEW; END $$;\n");
    auto differs = [other](int i) { return other && i % 20 == 0; };
    for (int i = 0; i < Procedures; ++i)
        ddl += QStringLiteral("CREATE PROCEDURE dbo.usp_%1(p_id integer) LANGUAGE sql AS $$ SELECT p_id + %2 $$;\n")
                   .arg(i)
                   .arg(differs(i) ? i + 1 : i);
    for (int i = 0; i < Functions; ++i) {
        if (!differs(i))
            ddl += QStringLiteral(
                "CREATE FUNCTION dbo.fn_%1(p integer) RETURNS integer LANGUAGE sql AS $$ SELECT p + %1 "
                "$$;\n")
                       .arg(i);
    }
    for (int i = 0; i < Views; ++i)
        ddl += QStringLiteral("CREATE VIEW dbo.vw_%1 AS SELECT %2 AS a;\n").arg(i).arg(differs(i) ? -i : i);
    for (int t = 0; t < 10; ++t)
        ddl += QStringLiteral("CREATE TABLE dbo.t_%1 (id integer);\n").arg(t);
    for (int i = 0; i < Triggers; ++i)
        ddl += QStringLiteral("CREATE TRIGGER tr_%1 AFTER %2 ON dbo.t_%3 FOR EACH ROW EXECUTE FUNCTION dbo.trg_fn();\n")
                   .arg(i)
                   .arg(differs(i) ? QStringLiteral("UPDATE") : QStringLiteral("INSERT"))
                   .arg(i % 10);
    for (int i = 0; other && i < 10; ++i)
        ddl += QStringLiteral("CREATE PROCEDURE dbo.usp_extra_%1() LANGUAGE sql AS $$ SELECT 1 $$;\n").arg(i);
    return ddl;
}

// A file per object in one commit, each holding the server's text.
bool FillProject(const SvnTestRepository &repo, KORVOSQL &sql)
{
    const struct {
        ObjectClass cls;
        const char *query;
    } types[] = {
        { ObjectClass::StoredProcedure,
            "SELECT p.oid::bigint AS id FROM pg_proc p WHERE p.pronamespace = "
            "'dbo'::regnamespace AND p.prokind = 'p'" },
        { ObjectClass::UserDefinedFunction,
            "SELECT p.oid::bigint AS id FROM pg_proc p WHERE p.pronamespace = "
            "'dbo'::regnamespace AND p.prokind = 'f'" },
        { ObjectClass::View,
            "SELECT c.oid::bigint AS id FROM pg_class c WHERE c.relnamespace = 'dbo'::regnamespace "
            "AND c.relkind = 'v'" },
        { ObjectClass::Trigger, "SELECT t.oid::bigint AS id FROM pg_trigger t WHERE NOT t.tgisinternal" },
    };
    QList<SvnRepository::Change> adds;
    for (const auto &type : types) {
        for (auto rows = sql.OpenRecordset(QString::fromLatin1(type.query)); !rows->Eof(); rows->MoveNext()) {
            const QString id = rows->FieldText(QStringLiteral("id"));
            adds.append({ SvnRepository::Change::AddFile, id + ObjectTypeInfo(type.cls).VSSExt,
                sql.GetObjectText(id).toUtf8(), {}, -1 });
        }
    }
    try {
        SvnRepository svn(repo.Url(), QStringLiteral("setup"), {});
        svn.Commit(QStringLiteral("Db/Objects"), QStringLiteral("bench files"), adds);
    } catch (const VssError &e) {
        std::printf("filling the project: %s\n", qPrintable(e.Description()));
        return false;
    }
    std::printf("project: %lld files\n", static_cast<long long>(adds.size()));
    return true;
}

bool Run(const PgTestServer &server, const QString &dataDir)
{
    auto own = server.newDatabase(QStringLiteral("scripts"));
    auto older = server.newDatabase(QStringLiteral("older"));
    own->exec(Ddl(false));
    older->exec(Ddl(true));

    ScriptedUi ui;
    ui.setLenient(true);
    auto proj = std::make_shared<KORVOProject>(ui);
    proj->Name = QStringLiteral("Bench");
    proj->SQL()->SetKind(ServerKind::PostgreSQL());
    if (!proj->SQL()
             ->OpenConnection(own->Server, own->Database, own->UserName, own->Password, KORVOSQL::UseNTNo, true)
             .isEmpty())
        return false;

    SvnTestRepository repo;
    if (!repo.IsValid() || !repo.MakeFolders({ QStringLiteral("Db/Objects") }) || !FillProject(repo, *proj->SQL())
        || !repo.ServeUsers({ { QStringLiteral("alice"), QStringLiteral("pw1") } }))
        return false;
    SvnServe svnserve(repo.Root());
    if (!svnserve.IsRunning()) {
        std::printf("svnserve did not start\n");
        return false;
    }
    if (!proj->VSS()
             ->OpenConnection(svnserve.Url(QStringLiteral("repo")), QStringLiteral("alice"), QStringLiteral("pw1"),
                 project, repo.Folder(QStringLiteral("work")), true, true)
             .isEmpty())
        return false;

    KORVODatabase session(ui, std::make_shared<KORVOObjectFactory>(), {}, dataDir + QStringLiteral("/korvo.conf"));
    session.SetProject(proj);
    NoSteps steps;
    const bool interrupted = false;
    // The first run fetches every working file afresh; the last finds them there,
    // as a user's working folder usually has them.
    int run = 0;
    for (int option : { ScriptCreator::Complete, ScriptCreator::Compare, ScriptCreator::Complete }) {
        ++run;
        ScriptCreator job(ui, ServerKind::PostgreSQL());
        job.OptionSelected = option;
        ScriptObjectSelection selection(session, job, steps, interrupted);
        QElapsedTimer t;
        t.start();
        int count = 0;
        if (option == ScriptCreator::Complete) {
            selection.Complete(true);
            count = job.ObjectsToScript().Count();
        } else {
            const auto &other = job.SQLConnection();
            other->SetServer(older->Server);
            other->SetDatabase(older->Database);
            other->SetUserName(older->UserName);
            other->SetPassword(older->Password);
            QString error;
            if (selection.Compare(count, error) != ScriptObjectSelection::CompareResult::Done) {
                std::printf("comparison failed: %s\n", qPrintable(error));
                return false;
            }
        }
        const double collected = ms(t);
        t.restart();
        ScriptEmitter emitter(job, *ServerKind::PostgreSQL(), steps, interrupted);
        const QString file = dataDir + QStringLiteral("/bench.sql");
        if (emitter.Run(file) != ScriptEmitter::Result::Written)
            return false;
        const double emitted = ms(t);
        std::printf("%-10s %4d entries: collection %7.0f ms, emission %7.0f ms, total %7.0f ms; script %lld KB\n",
            option == ScriptCreator::Compare ? "compare:"
                : run == 1                   ? "complete:"
                                             : "again:",
            count, collected, emitted, collected + emitted,
            static_cast<long long>(emitter.Script().toUtf8().size() / 1024));
    }
    return true;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    QTemporaryDir tmp(QDir::tempPath() + QStringLiteral("/korvo-bench-XXXXXX"));
    // The server runs as another user when we are root: it must reach the folder.
    QFile::setPermissions(tmp.path(),
        QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner | QFileDevice::ReadOther
            | QFileDevice::ExeOther | QFileDevice::ReadGroup | QFileDevice::ExeGroup);
    const QString socketDir = tmp.path() + QStringLiteral("/pg");
    if (!PgTestServer::startCluster(socketDir)) {
        std::printf("PostgreSQL cluster could not be started\n");
        return 1;
    }
    int rc = 0;
    try {
        if (!Run(PgTestServer(socketDir), tmp.path()))
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
