// Times the script generator's complete mode over 2,600 objects (another count
// as the first argument), its comparison mode between two PostgreSQL databases
// of that many objects with 5% of them differing, and its time frame mode over
// the same, with the project on svnserve: the collection of the objects and
// the emission of the script file, each and together, in the model alone and
// through the wizard with its step list as the user waits for it (from "Next"
// to the last page, from "Finish" to the file written). "first" is the complete
// mode with the working folder empty. Without a display the window is offscreen.
// Arguments: the object count, then the modes to run ("complete", "compare",
// "timeframe"; all by default).
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
#include "frmScriptCreator.h"
#include "sql/KORVOSQL.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDateTimeEdit>
#include <QDir>
#include <QElapsedTimer>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTemporaryDir>

#include <cstdio>

namespace
{

const QString project = QStringLiteral("$\\Db\\Objects\\");
// 2,600 objects: the trigger function counts among the functions.
int Procedures = 1000, Functions = 800, Views = 600, Triggers = 199;

void SetSize(int objects)
{
    Procedures = objects * 10 / 26;
    Functions = objects * 8 / 26;
    Views = objects * 6 / 26;
    Triggers = objects - Procedures - Functions - Views - 1;
}

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

template <class T> T *Control(QWidget &w, const char *name)
{
    T *c = w.findChild<T *>(QString::fromLatin1(name));
    if (!c)
        qFatal("no control %s", name);
    return c;
}

void Click(QWidget &w, const char *name)
{
    Control<QPushButton>(w, name)->click();
}

struct Figures {
    int Count = 0;
    double Collected = 0, Emitted = 0;
    qint64 Bytes = 0;
};

struct Other {
    QString Server, Database, UserName, Password;
};

// The wizard from its first page to the script written, as the user drives it.
Figures InWindow(KORVODatabase &session, int option, const Other &older, const QDateTime &from, const QString &file)
{
    Figures f;
    frmScriptCreator w(session);
    w.show();
    QApplication::processEvents();
    Control<QRadioButton>(w, qPrintable(QStringLiteral("optType_%1").arg(option)))->setChecked(true);
    if (option == ScriptCreator::Complete) {
        QElapsedTimer t;
        t.start();
        Click(w, "cmdNext");
        f.Collected = ms(t);
    } else {
        Click(w, "cmdNext");
        if (option == ScriptCreator::Compare) {
            Control<QLineEdit>(w, "txtSQLServer")->setText(older.Server);
            Control<QLineEdit>(w, "txtSQLUsername")->setText(older.UserName);
            Control<QLineEdit>(w, "txtSQLPassword")->setText(older.Password);
            Control<QComboBox>(w, "cboSQLDatabase")->setEditText(older.Database);
        } else {
            Control<QCheckBox>(w, "chkUntil")->setChecked(true);
            Control<QDateTimeEdit>(w, "dtpFrom")->setDateTime(from);
        }
        QElapsedTimer t;
        t.start();
        Click(w, "cmdNext");
        f.Collected = ms(t);
    }
    f.Count = w.Job().ObjectsToScript().Count();
    Control<QLineEdit>(w, "txtFileLocation")->setText(file);
    QElapsedTimer t;
    t.start();
    Click(w, "cmdFinished");
    QApplication::processEvents();
    f.Emitted = ms(t);
    f.Bytes = QFileInfo(file).size();
    return f;
}

// The same through the model, with no step list.
Figures InModel(KORVODatabase &session, ScriptedUi &ui, int option, const Other &older, const QDateTime &from,
    const QString &file)
{
    Figures f;
    NoSteps steps;
    const bool interrupted = false;
    ScriptCreator job(ui, ServerKind::PostgreSQL());
    job.OptionSelected = option;
    ScriptObjectSelection selection(session, job, steps, interrupted);
    QElapsedTimer t;
    t.start();
    if (option == ScriptCreator::Complete) {
        selection.Complete(true);
        f.Count = job.ObjectsToScript().Count();
    } else if (option == ScriptCreator::Compare) {
        const auto &other = job.SQLConnection();
        other->SetServer(older.Server);
        other->SetDatabase(older.Database);
        other->SetUserName(older.UserName);
        other->SetPassword(older.Password);
        QString error;
        if (selection.Compare(f.Count, error) != ScriptObjectSelection::CompareResult::Done) {
            std::printf("comparison failed: %s\n", qPrintable(error));
            return f;
        }
    } else {
        f.Count = selection.TimeFrame(from, QDateTime::currentDateTime());
    }
    f.Collected = ms(t);
    t.restart();
    ScriptEmitter emitter(job, *ServerKind::PostgreSQL(), steps, interrupted);
    if (emitter.Run(file) != ScriptEmitter::Result::Written)
        return f;
    f.Emitted = ms(t);
    f.Bytes = QFileInfo(file).size();
    return f;
}

void Print(const char *mode, const char *where, const Figures &f)
{
    std::printf("%-11s %-7s %5d entries: collection %7.0f ms, emission %7.0f ms, total %7.0f ms; script %lld KB\n",
        mode, where, f.Count, f.Collected, f.Emitted, f.Collected + f.Emitted, static_cast<long long>(f.Bytes / 1024));
}

QStringList Modes;

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

    // Each run in a session of its own, so that none finds the objects of another.
    int sessions = 0;
    std::unique_ptr<KORVODatabase> current;
    const auto session = [&]() -> KORVODatabase & {
        current = std::make_unique<KORVODatabase>(ui, std::make_shared<KORVOObjectFactory>(),
            KORVODatabase::MainWindowFactory(), dataDir + QStringLiteral("/korvo%1.conf").arg(++sessions));
        current->SetProject(proj);
        return *current;
    };
    const Other other { older->Server, older->Database, older->UserName, older->Password };
    // Every object was checked in a minute ago at most.
    const QDateTime from = QDateTime::currentDateTime().addSecs(-600);
    int run = 0;
    const auto file = [&] { return dataDir + QStringLiteral("/bench%1.sql").arg(++run); };
    // The first run fetches every working file afresh; the others find them
    // there, as a user's working folder usually has them.
    Print("first:", "model", InModel(session(), ui, ScriptCreator::Complete, other, from, file()));
    const struct {
        int option;
        const char *name, *key;
    } modes[] = { { ScriptCreator::Complete, "complete:", "complete" }, { ScriptCreator::Compare, "compare:", "compare" },
        { ScriptCreator::TimeFrame, "time frame:", "timeframe" } };
    for (const auto &mode : modes) {
        if (!Modes.isEmpty() && !Modes.contains(QLatin1String(mode.key)))
            continue;
        const Figures model = InModel(session(), ui, mode.option, other, from, file());
        const Figures window = InWindow(session(), mode.option, other, from, file());
        Print(mode.name, "model", model);
        Print("", "window", window);
        if (window.Count != model.Count || window.Bytes / 64 != model.Bytes / 64)
            std::printf("    the window's script differs from the model's\n");
    }
    for (const ScriptedUi::Box &box : std::as_const(ui.boxes))
        if (box.title != QLatin1String("Operation Successful"))
            std::printf("box: %s: %s\n", qPrintable(box.title), qPrintable(box.text));
    return true;
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
    for (int i = 1; i < argc; ++i) {
        const QString arg = QString::fromLocal8Bit(argv[i]);
        if (arg.toInt() > 100)
            SetSize(arg.toInt());
        else
            Modes.append(arg);
    }
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
