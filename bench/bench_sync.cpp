// Times the synchronisation analysis of 10,000 objects (2,500 procedures,
// functions, views and triggers, 5% of them out of step; another count as the
// first argument) on a throw-away PostgreSQL cluster with a file:// repository
// and through svnserve, the model alone and through the window as the user
// waits for it (from the command to the results grid shown), and the
// application of 1,000 "add to VSS" rows. "analysis" or "apply" as an argument
// runs only that part. Without a display the windows are offscreen.
#include "KORVODatabase.h"
#include "KORVOObjectFactory.h"
#include "KORVOProject.h"
#include "KORVOSyncAnalysis.h"
#include "KORVOSyncResultsModel.h"
#include "KORVOVSS.h"
#include "KORVOWindows.h"
#include "PgTestServer.h"
#include "ScriptedUi.h"
#include "SvnFixtures.h"
#include "SvnRepository.h"
#include "frmSyncProcess.h"
#include "frmSyncResults.h"
#include "sql/KORVOSQL.h"

#include <QApplication>
#include <QTableView>
#include <QTimer>
#include <QDir>
#include <QElapsedTimer>
#include <QTemporaryDir>

#include <cstdio>

namespace
{

const QString project = QStringLiteral("$\\Db\\Objects\\");
int perType = 2500;

double ms(const QElapsedTimer &t)
{
    return t.nsecsElapsed() / 1e6;
}

class Quiet : public KORVOSyncAnalysis::Observer
{
public:
    QElapsedTimer clock;
    QList<double> stepTimes;
    void SetStepStatus(int step, const QString &, int icon) override
    {
        if (icon == 1 && step >= stepTimes.size())
            clock.restart(), stepTimes.append(0);
        else if (icon == 2)
            stepTimes[step] = ms(clock);
    }
    void CompareStarted(int, long) override { }
    void ObjectCompared(int, long, long) override { }
};

// The server's own texts of every object of the bench, by id, read the way the
// server kind reads one.
QHash<QString, QPair<QString, QString>> serverTexts(KORVOSQL &sql)
{
    QHash<QString, QPair<QString, QString>> texts;
    const auto rs = sql.OpenRecordset(QStringLiteral(
        "BEGIN; SET LOCAL search_path = pg_catalog; "
        "SELECT p.oid::bigint AS id, CASE p.prokind WHEN 'p' THEN '.sp' ELSE '.udf' END AS ext, "
        "pg_get_functiondef(p.oid) AS text FROM pg_proc p WHERE p.pronamespace = 'dbo'::regnamespace "
        "UNION ALL SELECT c.oid::bigint, '.vw', format('CREATE OR REPLACE VIEW %I.%I AS', n.nspname, c.relname) || "
        "E'\\n' || pg_get_viewdef(c.oid, true) FROM pg_class c JOIN pg_namespace n ON n.oid = c.relnamespace "
        "WHERE n.nspname = 'dbo' AND c.relkind = 'v' "
        "UNION ALL SELECT t.oid::bigint, '.trg', pg_get_triggerdef(t.oid, true) FROM pg_trigger t WHERE NOT "
        "t.tgisinternal; COMMIT"));
    for (; rs && !rs->Eof(); rs->MoveNext())
        texts.insert(rs->FieldText(QStringLiteral("id")),
            { rs->FieldText(QStringLiteral("ext")), rs->FieldText(QStringLiteral("text")) });
    return texts;
}

// One object in twenty is out of step: its file's text changed, no file, or a
// file of an object the server does not have.
int fillProject(const QString &url, KORVOSQL &sql)
{
    QList<SvnRepository::Change> adds;
    const auto texts = serverTexts(sql);
    int i = 0, differing = 0;
    for (auto it = texts.cbegin(); it != texts.cend(); ++it, ++i) {
        const QString file = it.key() + it.value().first;
        QString text = it.value().second;
        if (i % 20 == 0) {
            ++differing;
            switch ((i / 20) % 3) {
            case 0:
                text += QStringLiteral("\n-- changed in the repository");
                break;
            case 1:
                continue;
            case 2:
                adds.append({ SvnRepository::Change::AddFile, QStringLiteral("9%1.sp").arg(i, 8, 10, QLatin1Char('0')),
                    QStringLiteral("CREATE PROCEDURE dbo.usp_ghost_%1()\n LANGUAGE sql\nAS $$ SELECT 1 $$")
                        .arg(i)
                        .toUtf8(),
                    {}, -1 });
                break;
            }
        }
        adds.append({ SvnRepository::Change::AddFile, file, text.toUtf8(), {}, -1 });
    }
    SvnRepository svn(url, QStringLiteral("setup"), {});
    svn.Commit(QStringLiteral("Db/Objects"), QStringLiteral("bench files"), adds);
    return differing;
}

std::unique_ptr<KORVODatabase> openSession(ScriptedUi &ui, const PgTestDatabase &db, const QString &url,
    const QString &password, const QString &work, const QString &settings)
{
    auto session = std::make_unique<KORVODatabase>(
        ui, std::make_shared<KORVOObjectFactory>(), KORVODatabase::MainWindowFactory(), settings);
    auto p = std::make_shared<KORVOProject>(ui);
    p->SQL()->SetKind(ServerKind::PostgreSQL());
    p->SQL()->OpenConnection(db.Server, db.Database, db.UserName, db.Password, KORVOSQL::UseNTNo, true);
    p->VSS()->OpenConnection(url, QStringLiteral("alice"), password, project, work, true, true);
    if (!p->SQL()->ConnectionOpen() || !p->VSS()->ConnectionOpen())
        return nullptr;
    session->SetProject(p);
    return session;
}

// The synchronisation command as the user meets it: the step window, then the
// results grid; timed until the grid has been shown, then closed.
void analyseInWindow(const char *transport, KORVODatabase &session)
{
    double shown = -1;
    int rows = -1;
    QElapsedTimer t;
    // The grid's window is shown from its own event loop: it is caught there.
    struct Catcher : QObject {
        std::function<void(QWidget *)> Seen;
        bool eventFilter(QObject *watched, QEvent *event) override
        {
            if (event->type() == QEvent::Show)
                if (auto *w = qobject_cast<frmSyncResults *>(watched))
                    Seen(w);
            return false;
        }
    } catcher;
    catcher.Seen = [&](QWidget *w) {
        QTimer::singleShot(0, w, [&, w] {
            // After the show's paint has gone out.
            shown = ms(t);
            if (auto *grid = w->findChild<QTableView *>())
                rows = grid->model() ? grid->model()->rowCount() : -1;
            static_cast<QDialog *>(w)->reject();
        });
    };
    qApp->installEventFilter(&catcher);
    KORVOWindows windows;
    frmSyncProcess process(windows);
    t.start();
    process.StartSync(session);
    qApp->removeEventFilter(&catcher);
    std::printf("through the window, %-9s %8.0f ms to the grid of %d rows\n", transport, shown, rows);
}

void analyse(const char *transport, KORVODatabase &session)
{
    KORVOSyncAnalysis analysis(session);
    analysis.BuildSteps();
    Quiet observer;
    QElapsedTimer t;
    t.start();
    analysis.Run(observer);
    const double total = ms(t);
    std::printf("analysis of %d objects, %-9s %8.0f ms; %lld differences\n", 4 * perType, transport, total,
        qsizetype(analysis.Differences().size()));
    for (int s = 0; s < analysis.Steps().size(); ++s)
        std::printf("    %-45s %8.0f ms\n", qPrintable(analysis.Steps().at(s).StepText), observer.stepTimes.value(s));
}

bool runAnalysis(const PgTestServer &server, const QString &tmp)
{
    auto db = server.newDatabase(QStringLiteral("sync"));
    QString ddl = QStringLiteral("CREATE SCHEMA dbo;\nCREATE FUNCTION dbo.trg_fn() RETURNS trigger LANGUAGE plpgsql AS "
                                 "$$ BEGIN RETURN NEW; END $$;\n");
    for (int t = 0; t < 25; ++t)
        ddl += QStringLiteral("CREATE TABLE dbo.t_%1 (id integer);\n").arg(t);
    for (int i = 0; i < perType; ++i) {
        ddl += QStringLiteral("CREATE PROCEDURE dbo.usp_bench_%1(p_id integer)\n LANGUAGE sql\nAS $$ SELECT p_id + %1 "
                              "$$;\n")
                   .arg(i);
        // The trigger function counts among the functions.
        if (i > 0)
            ddl += QStringLiteral("CREATE FUNCTION dbo.udf_bench_%1(p_id integer) RETURNS integer LANGUAGE sql AS $$ "
                                  "SELECT p_id * %1 $$;\n")
                       .arg(i);
        ddl += QStringLiteral("CREATE VIEW dbo.v_bench_%1 AS SELECT %1 AS a;\n").arg(i);
        ddl += QStringLiteral("CREATE TRIGGER tr_bench_%1 AFTER INSERT ON dbo.t_%2 FOR EACH ROW EXECUTE FUNCTION "
                              "dbo.trg_fn();\n")
                   .arg(i)
                   .arg(i % 25);
    }
    QElapsedTimer t;
    t.start();
    db->exec(ddl);
    ScriptedUi ui;
    ui.setLenient(true);
    KORVOSQL sql(ui, ServerKind::PostgreSQL());
    sql.OpenConnection(db->Server, db->Database, db->UserName, db->Password, KORVOSQL::UseNTNo, true);
    SvnTestRepository repo;
    if (!repo.IsValid() || !repo.MakeFolders({ QStringLiteral("Db/Objects") }))
        return false;
    const int differing = fillProject(repo.Url(), sql);
    std::printf("set-up of %d objects, %d of them out of step: %.0f ms\n", 4 * perType, differing, ms(t));

    // Each run in a session of its own, so that none finds the objects of another.
    auto session = openSession(ui, *db, repo.Url(), {}, repo.Folder(QStringLiteral("work")), tmp + "/a.conf");
    auto windowSession = openSession(ui, *db, repo.Url(), {}, repo.Folder(QStringLiteral("work")), tmp + "/a2.conf");
    if (!session || !windowSession)
        return false;
    analyse("file://", *session);
    analyseInWindow("file://", *windowSession);

    if (!repo.ServeUsers({ { QStringLiteral("alice"), QStringLiteral("pw1") } }))
        return false;
    SvnServe serve(repo.Root());
    if (!serve.IsRunning())
        return false;
    session = openSession(ui, *db, serve.Url(QStringLiteral("repo")), QStringLiteral("pw1"),
        repo.Folder(QStringLiteral("work2")), tmp + "/b.conf");
    windowSession = openSession(ui, *db, serve.Url(QStringLiteral("repo")), QStringLiteral("pw1"),
        repo.Folder(QStringLiteral("work2")), tmp + "/b2.conf");
    if (!session || !windowSession)
        return false;
    analyse("svnserve:", *session);
    analyseInWindow("svnserve:", *windowSession);
    return ui.boxes.isEmpty();
}

// 1,000 procedures only on the server, all applied to VSS.
bool runApply(const PgTestServer &server, const QString &tmp)
{
    constexpr int count = 1000;
    auto db = server.newDatabase(QStringLiteral("apply"));
    QString ddl = QStringLiteral("CREATE SCHEMA dbo;\n");
    for (int i = 0; i < count; ++i)
        ddl += QStringLiteral("CREATE PROCEDURE dbo.usp_add_%1()\n LANGUAGE sql\nAS $$ SELECT %1 $$;\n").arg(i);
    db->exec(ddl);
    SvnTestRepository repo;
    if (!repo.IsValid() || !repo.MakeFolders({ QStringLiteral("Db/Objects") }))
        return false;
    ScriptedUi ui;
    ui.setLenient(true);
    auto session = openSession(ui, *db, repo.Url(), {}, repo.Folder(QStringLiteral("work")), tmp + "/c.conf");
    if (!session)
        return false;
    KORVOSyncAnalysis analysis(*session);
    analysis.BuildSteps();
    Quiet observer;
    analysis.Run(observer);
    KORVOSyncResultsModel model;
    model.InitGrid(db->Database, project);
    model.FillGrid(analysis.Differences());
    model.MakeAll(KORVOSyncResultsModel::ActOnVSS);
    QElapsedTimer t;
    t.start();
    model.ApplyChanges(*session, {});
    const double total = ms(t);
    std::printf("applying %lld \"add to VSS\" rows (file://): %.0f ms, %.2f ms per row; %d rows left\n",
        qsizetype(analysis.Differences().size()), total, total / count, model.rowCount());

    // For comparison, not what the rows do: the same texts read in one query and
    // added in a single commit.
    t.restart();
    KORVOSQL sql(ui, ServerKind::PostgreSQL());
    sql.OpenConnection(db->Server, db->Database, db->UserName, db->Password, KORVOSQL::UseNTNo, true);
    QHash<QString, QString> texts;
    sql.GetObjectTexts(ObjectClass::StoredProcedure, texts);
    QList<SvnRepository::Change> adds;
    for (auto it = texts.cbegin(); it != texts.cend(); ++it)
        adds.append({ SvnRepository::Change::AddFile, it.key() + QStringLiteral(".sp"), it->toUtf8(), {}, -1 });
    const double read = ms(t);
    if (!repo.MakeFolders({ QStringLiteral("Db/Batch") }))
        return false;
    t.restart();
    SvnRepository(repo.Url(), QStringLiteral("alice"), {}).Commit(QStringLiteral("Db/Batch"), {}, adds);
    std::printf("instead one query (%.0f ms) and a single commit (%.0f ms) of the same %lld texts\n", read, ms(t),
        qsizetype(adds.size()));

    // The floor of one commit per row: the same texts, each in a commit of its own
    // with nothing else around it.
    if (!repo.MakeFolders({ QStringLiteral("Db/Single") }))
        return false;
    SvnRepository single(repo.Url(), QStringLiteral("alice"), {});
    t.restart();
    for (const SvnRepository::Change &add : std::as_const(adds))
        single.Commit(QStringLiteral("Db/Single"), {}, { add });
    std::printf("or %lld bare commits of one file each: %.0f ms\n", qsizetype(adds.size()), ms(t));
    return model.rowCount() == 0 && ui.boxes.isEmpty();
}

} // namespace

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM") && qEnvironmentVariableIsEmpty("DISPLAY")
        && qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    // The offscreen platform's note on every window would hide the figures.
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &text) {
        if (!text.contains(QLatin1String("propagateSizeHints")))
            std::fprintf(stderr, "%s\n", qPrintable(text));
    });
    QApplication app(argc, argv);
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    QTemporaryDir tmp(QDir::tempPath() + QStringLiteral("/korvo-bench-XXXXXX"));
    // The server runs as another user when we are root: it must reach the folder.
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
        QString only;
        for (int i = 1; i < argc; ++i) {
            bool number = false;
            const int objects = QString::fromLocal8Bit(argv[i]).toInt(&number);
            if (number && objects >= 4)
                perType = objects / 4;
            else
                only = QString::fromLocal8Bit(argv[i]);
        }
        if (only != QLatin1String("apply") && !runAnalysis(server, tmp.path()))
            rc = 1;
        if (only != QLatin1String("analysis") && !runApply(server, tmp.path()))
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
