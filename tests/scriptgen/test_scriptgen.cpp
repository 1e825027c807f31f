// The script generator on both server kinds with a Subversion project: the
// settings file, scripts of the four modes against expected files, the time
// frame's cases, the wizard's checks and interruption, and on PostgreSQL the
// scripts run by psql.
#include "../editor/ChildWindowTest.h"
#include "FullDisk.h"
#include "KORVOStepList.h"
#include "OffscreenDialogs.h"
#include "ScriptCreator.h"
#include "UserDataFolder.h"
#include "frmScriptCreator.h"

#include <QCheckBox>
#include <QDateTimeEdit>
#include <QDir>
#include <QProcess>
#include <QRadioButton>
#include <QTemporaryDir>
#include <QThread>
#include <QTreeWidget>

#include <optional>

namespace
{

using Icon = UiServices::Icon;
using Answer = UiServices::Answer;

// The job's fields in one line, so that a table row states them at once.
QString State(ScriptCreator &job)
{
    const auto &sql = *job.SQLConnection();
    return QStringLiteral("%1|%2|%3|%4|%5|%6|%7|%8|%9|%10|%11")
        .arg(job.OptionSelected)
        .arg(job.FileName)
        .arg(job.DropObjects)
        .arg(job.CreatePermission)
        .arg(sql.Server(), sql.StoredUserName())
        .arg(sql.UseWinNTAuth())
        .arg(sql.Database(), job.VSSStart, job.VSSEnd)
        .arg(job.VSSIsToday);
}

// "add usp_a", "drop vw_x v3" ... of the job's entries in order.
QStringList Entries(ScriptCreator &job)
{
    static const QStringList actions { "none", "add", "update", "drop", "nothing" };
    QStringList out;
    for (const auto &e : job.ObjectsToScript())
        out.append(actions.value(e->Action) + QLatin1Char(' ') + e->ScriptObject->Name()
            + (e->VersionNumber > 0 ? QStringLiteral(" v") : QString()));
    return out;
}

} // namespace

class TestScriptGen : public QObject
{
    Q_OBJECT

    std::unique_ptr<Backend> b;
    std::unique_ptr<QTemporaryDir> tmp; // settings, data folder and scripts of one test
    std::unique_ptr<KORVODatabase> session;
    std::unique_ptr<frmScriptCreator> wizard;
    std::unique_ptr<PgTestDatabase> otherPg;

    bool setUp()
    {
        b = OpenBackend();
        return b && setUpSession();
    }
    // A session on the backend's database and repository, project "Shop".
    bool setUpSession()
    {
        if (!(session = OpenSession(*b, tmp->filePath("korvo.conf"), true)))
            return false;
        session->Project()->Name = QStringLiteral("Shop");
        session->SetShowOwnerNameInName(true);
        return true;
    }

    std::shared_ptr<KORVOVersionedObjects> Collection(const QString &type)
    {
        return std::dynamic_pointer_cast<KORVOVersionedObjects>(session->GetObjectObjects(type));
    }
    KORVOTypedObjectPtr Object(const QString &type, const QString &name)
    {
        for (const auto &o : *Collection(type))
            if (o->Name() == name)
                return o;
        return nullptr;
    }
    bool CheckIn(const QString &type, const QString &text)
    {
        KORVOTypedObjectPtr o = Collection(type)->NewObject();
        return o->CheckIn(text, QStringLiteral("created"));
    }
    bool Change(const QString &type, const QString &name, const QString &text)
    {
        KORVOTypedObjectPtr o = Object(type, name);
        return o && o->CheckOut() && o->CheckIn(text, QStringLiteral("changed"));
    }
    bool Delete(const QString &type, const QString &name)
    {
        KORVOTypedObjectPtr o = Object(type, name);
        return o && o->DeleteItem();
    }
    QString ViewOver(const QString &name, const QString &base) const
    {
        return b
            ->Pick("CREATE VIEW dbo.%1 AS SELECT a FROM dbo.%2", "CREATE VIEW [dbo].[%1] AS SELECT a FROM [dbo].[%2]")
            .arg(name, base);
    }
    // The small project: two procedures, a function, a view over another view
    // that sorts before it, and a trigger (on PostgreSQL with its function).
    bool MakeProject()
    {
        bool ok = CheckIn("StoredProcedures", b->Text(ObjectClass::StoredProcedure, "usp_a"))
            && CheckIn("StoredProcedures", b->Text(ObjectClass::StoredProcedure, "usp_b"))
            && CheckIn("UserDefinedFunctions", b->Text(ObjectClass::UserDefinedFunction, "fn_a"))
            && CheckIn("Views", b->Text(ObjectClass::View, "vw_b_base"))
            && CheckIn("Views", ViewOver("vw_a_top", "vw_b_base"));
        const QString trigger = b->Text(ObjectClass::Trigger, "tr_a");
        if (ok && b->IsPostgreSQL()) {
            // The trigger's function is part of the project.
            const QString id = b->Id("trg_fn");
            ok = b->AddFile(id + QStringLiteral(".udf"), b->ServerText(id));
        }
        return ok && CheckIn("Triggers", trigger);
    }

    // The other database of a comparison, in an older state of the project:
    // usp_a the same, usp_b older, fn_a and the views missing, usp_z and a view
    // over another view extra; the dependent view sorts last.
    void MakeOlderDatabase(KORVOSQL &other)
    {
        if (b->IsPostgreSQL()) {
            otherPg = PgTestServer().newDatabase(QStringLiteral("older"));
            otherPg->exec("CREATE SCHEMA dbo; CREATE TABLE dbo.t_ops (id int NOT NULL, label varchar(20) NULL, "
                          "amount numeric(10,2) NOT NULL)");
            other.SetKind(ServerKind::PostgreSQL());
            QVERIFY(other
                        .OpenConnection(otherPg->Server, otherPg->Database, otherPg->UserName, otherPg->Password,
                            KORVOSQL::UseNTNo, true)
                        .isEmpty());
        } else {
            b->scripted->addDatabase("older");
            other.SetDriver(b->scripted->driver());
            QVERIFY(other.OpenConnection("SQLTEST", "older", "sa", "sa-pw", KORVOSQL::UseNTNo, true).isEmpty());
        }
        other.ExecuteSQL(b->ServerText(Object("StoredProcedures", "usp_a")->DBID()));
        other.ExecuteSQL(b->Text(ObjectClass::StoredProcedure, "usp_b", 2));
        other.ExecuteSQL(b->Text(ObjectClass::StoredProcedure, "usp_z"));
        other.ExecuteSQL(b->Text(ObjectClass::View, "vw_y"));
        other.ExecuteSQL(ViewOver("vw_z_top", "vw_y"));
    }

    frmScriptCreator &Wizard()
    {
        wizard = std::make_unique<frmScriptCreator>(*session);
        wizard->show();
        return *wizard;
    }
    void Choose(frmScriptCreator &w, int option)
    {
        Control<QRadioButton>(w, QStringLiteral("optType_%1").arg(option))->setChecked(true);
        Click(w, "cmdNext");
    }
    void Compare(frmScriptCreator &w)
    {
        if (!b->IsPostgreSQL())
            w.Job().SQLConnection()->SetDriver(b->scripted->driver());
        SetText(w, "txtSQLServer", b->Pick(otherPg ? otherPg->Server : QString(), "SQLTEST"));
        SetText(w, "txtSQLUsername", b->Pick("korvo", "sa"));
        SetText(w, "txtSQLPassword", b->Pick("korvo-pw", "sa-pw"));
        SetText(w, "cboSQLDatabase", b->Pick(otherPg ? otherPg->Database : QString(), "older"));
        Click(w, "cmdNext");
    }
    // Finishes to a new file and returns its text.
    QString Finish(frmScriptCreator &w, const QString &name = QStringLiteral("out.sql"))
    {
        const QString path = tmp->filePath(name);
        SetText(w, "txtFileLocation", path);
        b->ui.answer(Answer::Ok); // "Script was successfully generated!"
        Click(w, "cmdFinished");
        return ReadTextFile(path);
    }
    void RunMode(frmScriptCreator &w, const QString &mode)
    {
        if (mode == QLatin1String("complete")) {
            Choose(w, 3);
        } else if (mode == QLatin1String("custom")) {
            Choose(w, 4);
            auto *list = Control<QTreeWidget>(w, "lvwItems");
            for (const char *name : { "dbo.vw_a_top", "dbo.usp_b", "dbo.vw_b_base" })
                list->findItems(name, Qt::MatchExactly).value(0)->setCheckState(0, Qt::Checked);
            Click(w, "cmdNext");
        } else {
            Choose(w, 2);
            Compare(w);
        }
    }
    void CompareWithExpected(const QString &script, const QString &name)
    {
        QString actual = script;
        actual.replace(QRegularExpression("Date Created:  [0-9.: ]{19}"), "Date Created:  dd.mm.yyyy hh:nn:ss");
        const QString path = QStringLiteral(KORVO_EXPECTED_DIR "/") + name;
        if (qEnvironmentVariableIsSet("KORVO_WRITE_EXPECTED")) {
            QFile f(path);
            QVERIFY(f.open(QIODevice::WriteOnly));
            f.write(actual.toUtf8());
        }
        const QStringList got = actual.split(QStringLiteral("\r\n"));
        const QStringList want = ReadTextFile(path).split(QStringLiteral("\r\n"));
        for (int i = 0; i < qMax(got.size(), want.size()); ++i)
            QVERIFY2(got.value(i) == want.value(i),
                qPrintable(QStringLiteral("%1 line %2:\n got: %3\nwant: %4")
                               .arg(name)
                               .arg(i + 1)
                               .arg(got.value(i), want.value(i))));
    }

private Q_SLOTS:
    void init()
    {
        tmp = std::make_unique<QTemporaryDir>();
        qputenv("KORVO_DATA_DIR", tmp->filePath("data").toUtf8());
    }
    void cleanup()
    {
        wizard.reset();
        session.reset();
        otherPg.reset();
        b.reset();
    }

    // What a settings file leaves in a fresh job.
    void settingsRead_data()
    {
        QTest::addColumn<QString>("xml");
        QTest::addColumn<QString>("state");
        const QString fresh = QStringLiteral("0||0|0|||0||||0");
        QTest::newRow("empty") << "" << fresh;
        QTest::newRow("not XML") << "option=3" << fresh;
        QTest::newRow("truncated") << "<ScriptCreator><Settings option=\"3\" filename=\"a.sql\"" << fresh;
        QTest::newRow("other root") << "<Script><Settings option=\"3\"/></Script>" << fresh;
        QTest::newRow("all")
            << "<ScriptCreator><Settings option=\"2\" filename=\"c:\\a.sql\" dropobjects=\"yes\" "
               "createpermission=\"yes\"/><Database server=\"srv\" username=\"bob\" usewinauth=\"yes\" "
               "database=\"db\"/><VSS from=\"2024-01-02T03:04:05\" until=\"2024-02-01T00:00:00\" "
               "today=\"yes\"/></ScriptCreator>"
            << "2|c:\\a.sql|1|1|srv|bob|1|db|2024-01-02T03:04:05|2024-02-01T00:00:00|1";
        QTest::newRow("names in capitals, values not")
            << "<ScriptCreator><Settings OPTION=\"4\" DropObjects=\"yes\" "
               "createpermission=\"YES\"/><VSS Today=\"Yes\"/></ScriptCreator>"
            << "4||1|0|||0||||0";
        QTest::newRow("unknown attributes, password") << "<ScriptCreator><Settings colour=\"red\" option=\"1\"/>"
                                                         "<Database password=\"secret\" server=\"s\"/></ScriptCreator>"
                                                      << "1||0|0|s||0||||0";
        for (const char *option : { "0", "5", "abc" })
            QTest::addRow("option %s", option)
                << QStringLiteral("<ScriptCreator><Settings option=\"%1\"/></ScriptCreator>").arg(option) << fresh;
        QTest::newRow("invalid dates")
            << "<ScriptCreator><VSS from=\"yesterday\" until=\"31.02.2024\"/></ScriptCreator>" << fresh;
    }
    void settingsRead()
    {
        QFETCH(QString, xml);
        QFETCH(QString, state);
        ScriptedUi ui;
        ScriptCreator job(ui, ServerKind::SQLServer());
        const QString path = tmp->filePath("read.xml");
        QVERIFY(WriteTextFile(path, xml));
        job.LoadDocumentSettings(path);
        QCOMPARE(State(job), state);
        job.LoadDocumentSettings(tmp->filePath("missing.xml"));
        QCOMPARE(State(job), state);
    }

    // One line in the order of the table, never the password; a read-only file
    // is replaced and stays read-only; what is written reads back the same.
    void settingsWritten()
    {
        ScriptedUi ui;
        ScriptCreator job(ui, ServerKind::SQLServer());
        job.OptionSelected = 2;
        job.FileName = "a&b.sql";
        job.CreatePermission = true;
        job.SQLConnection()->SetServer("srv");
        job.SQLConnection()->SetUserName("bob");
        job.SQLConnection()->SetPassword("secret");
        job.SQLConnection()->SetDatabase("db");
        job.VSSStart = "2024-01-02T03:04:05";
        const QString path = tmp->filePath("written.xml");
        QVERIFY(WriteTextFile(path, "old"));
        QFile::setPermissions(path, QFile::ReadOwner);
        QVERIFY(job.SaveDocumentSettings(path));
        QCOMPARE(ReadTextFile(path),
            "<ScriptCreator><Settings option=\"2\" filename=\"a&amp;b.sql\" dropobjects=\"no\" "
            "createpermission=\"yes\"/>"
            "<Database server=\"srv\" username=\"bob\" usewinauth=\"no\" database=\"db\"/><VSS "
            "from=\"2024-01-02T03:04:05\" "
            "until=\"\" today=\"no\"/></ScriptCreator>");
        QVERIFY(!(QFile::permissions(path) & QFile::WriteOwner));
        ScriptCreator back(ui, ServerKind::SQLServer());
        back.LoadDocumentSettings(path);
        QCOMPARE(State(back), State(job));
    }

    // Complete, custom and comparison scripts of the small project, compared
    // line by line with the expected files; the job's entries say why.
    void modes_data()
    {
        AddKindRows({ "complete", "custom", "compare" });
        QTest::addColumn<QStringList>("entries");
    }
    void modes()
    {
        QFETCH(QString, kind);
        QFETCH(QString, row);
        QVERIFY(setUp());
        QVERIFY(MakeProject());
        auto other = std::make_shared<KORVOSQL>(b->ui);
        if (row == QLatin1String("compare"))
            MakeOlderDatabase(*other);
        QStringList overloads; // listed with their argument types, and left unticked
        if (row == QLatin1String("custom") && b->IsPostgreSQL()) {
            for (const QString type : { "integer", "text" }) {
                b->sql->ExecuteSQL(
                    QStringLiteral("CREATE FUNCTION dbo.f_ov(p_a %1) RETURNS integer LANGUAGE sql AS $$ SELECT 1 $$")
                        .arg(type));
                const QString id = b->sql->OpenRecordset(
                    QStringLiteral("SELECT to_regprocedure('dbo.f_ov(%1)')::oid::bigint AS id").arg(type))->FieldText("id");
                QVERIFY(b->AddFile(id + ".udf", b->ServerText(id)));
                overloads << QStringLiteral("dbo.f_ov(%1)").arg(type);
            }
        }
        frmScriptCreator &w = Wizard();
        // The cluster's roles differ between machines: PostgreSQL's permissions are run by psql below.
        if (row != QLatin1String("custom") && !b->IsPostgreSQL())
            Control<QCheckBox>(w, "chkCreatePermission")->setChecked(true);
        if (row == QLatin1String("complete"))
            Control<QCheckBox>(w, "chkDropObjectsFirst")->setChecked(true);
        RunMode(w, row);
        QCOMPARE(w.CurrentFrame()->objectName(), QStringLiteral("fraFinish"));
        for (const QString &name : std::as_const(overloads))
            QCOMPARE(Control<QTreeWidget>(w, "lvwItems")->findItems(name, Qt::MatchExactly).size(), 1);
        const QStringList expected = row == QLatin1String("complete")
            ? QStringList { "add usp_b", "add usp_a", "add fn_a", "add vw_a_top", "add vw_b_base", "add tr_a" }
            : row == QLatin1String("custom")
            ? QStringList { "add usp_b", "add vw_a_top", "add vw_b_base" }
            : QStringList { "update usp_b", "add fn_a", "add vw_a_top", "add vw_b_base", "add tr_a", "drop usp_z",
                  "drop vw_y", "drop vw_z_top" };
        QStringList entries = Entries(w.Job());
        if (b->IsPostgreSQL()) // the trigger's function
            entries.removeAll(QStringLiteral("add trg_fn"));
        QVERIFY2(entries == expected, qPrintable(entries.join(", ")));
        CompareWithExpected(Finish(w), kind + QLatin1Char('_') + row + QStringLiteral(".sql"));
        QCOMPARE(b->ui.last().title, QStringLiteral("Operation Successful"));
        QVERIFY(ReadTextFile(w.SettingsPath()).contains("username=\"" + b->Pick("korvo", "sa") + "\"")
            == (row == "compare"));
        // The typed password, not "pw" alone: the temporary folder's random name may hold those letters.
        QVERIFY(!ReadTextFile(w.SettingsPath()).contains(b->Pick("korvo-pw", "sa-pw")));
    }

    // Created before and changed in the frame: update at the frame's version.
    // Created in the frame: add. Created and deleted in it: nothing. Changed
    // and deleted in it: drop. Created after it: left out. Renamed in it: made
    // under the new name, dropped under the old. Changed in it and deleted
    // after it: updated with the text of the frame's time.
    void timeFrame_data() { AddKindRows(); }
    void timeFrame()
    {
        QVERIFY(setUp());
        auto sp = [this](const QString &name, int variant = 1) {
            return b->Text(ObjectClass::StoredProcedure, name, variant);
        };
        QVERIFY(CheckIn("StoredProcedures", sp("usp_old")) && CheckIn("StoredProcedures", sp("usp_gone")));
        QVERIFY(CheckIn("StoredProcedures", sp("usp_ren")) && CheckIn("StoredProcedures", sp("usp_later")));
        QThread::msleep(1100);
        const QDateTime from = QDateTime::currentDateTime();
        QVERIFY(Change("StoredProcedures", "usp_old", sp("usp_old", 2)));
        QVERIFY(Change("StoredProcedures", "usp_gone", sp("usp_gone", 2)) && Delete("StoredProcedures", "usp_gone"));
        QVERIFY(CheckIn("StoredProcedures", sp("usp_brief")) && Delete("StoredProcedures", "usp_brief"));
        QVERIFY(CheckIn("StoredProcedures", sp("usp_new")));
        b->ExpectBox();
        QVERIFY(Object("StoredProcedures", "usp_ren")->RenameItem("usp_ren2", false));
        QVERIFY(Change("StoredProcedures", "usp_later", sp("usp_later", 2)));
        QThread::msleep(1100);
        const QDateTime until = QDateTime::currentDateTime();
        QThread::msleep(1100);
        QVERIFY(CheckIn("StoredProcedures", sp("usp_late")));
        QVERIFY(Change("StoredProcedures", "usp_new", sp("usp_new", 3)));
        QVERIFY(Delete("StoredProcedures", "usp_later"));

        frmScriptCreator &w = Wizard();
        Choose(w, 1);
        Control<QDateTimeEdit>(w, "dtpFrom")->setDateTime(from);
        Control<QDateTimeEdit>(w, "dtpUntil")->setDateTime(until);
        Control<QCheckBox>(w, "chkUntil")->setChecked(false);
        Click(w, "cmdNext");
        const QStringList entries = Entries(w.Job());
        QVERIFY2(entries
                == QStringList({ "add usp_new v", "update usp_old v", "add usp_ren2 v", "drop usp_gone v",
                    "update usp_later v", "nothing usp_brief v", "drop usp_ren2" }),
            qPrintable(entries.join(", ")));
        const QString script = Finish(w, "frame.sql");
        CompareWithExpected(script, b->Pick("PostgreSQL", "SQLServer") + QStringLiteral("_timeframe.sql"));
        // The text of the frame's time, not the later one.
        QVERIFY(script.contains("SELECT 1"));
        QVERIFY(!script.contains("SELECT 3"));
        QVERIFY(script.contains(b->Pick("DROP PROCEDURE IF EXISTS dbo.usp_ren(", "DROP PROCEDURE [dbo].[usp_ren]")));
    }

    // A text that cannot be read stops the script: no file, and a box that says
    // which object, never "successfully generated".
    void unreadableText()
    {
        b = Backend::Make("SQLServer");
        QVERIFY(b && setUpSession());
        QVERIFY(CheckIn("StoredProcedures", b->Text(ObjectClass::StoredProcedure, "usp_blank")));
        const KORVOTypedObjectPtr o = Object("StoredProcedures", "usp_blank");
        QVERIFY(b->vss->ChangeItemContent(o->DBID() + ".sp", " \r\n", QString(), true));
        frmScriptCreator &w = Wizard();
        Choose(w, 3);
        SetText(w, "txtFileLocation", tmp->filePath("blank.sql"));
        b->ui.answer(Answer::Ok);
        Click(w, "cmdFinished");
        b->ExpectLastBox(Icon::Critical, "Script Not Generated", "~dbo.usp_blank");
        QVERIFY(!QFile::exists(tmp->filePath("blank.sql")));
    }

    // Overloads are told apart by their argument types: the one the other
    // database has in another text is updated, the one only it has is dropped.
    void compareOverloads()
    {
        b = Backend::Make("PostgreSQL");
        QVERIFY(b && setUpSession());
        const QString fn("CREATE FUNCTION dbo.f_over(p %1) RETURNS integer LANGUAGE sql AS $$ SELECT %2 $$");
        QVERIFY(CheckIn("UserDefinedFunctions", fn.arg("integer").arg(1)));
        QVERIFY(CheckIn("UserDefinedFunctions", fn.arg("text").arg(2)));
        otherPg = PgTestServer().newDatabase(QStringLiteral("older"));
        otherPg->exec("CREATE SCHEMA dbo;" + fn.arg("integer").arg(1) + ";" + fn.arg("text").arg(3) + ";"
            + fn.arg("boolean").arg(4));
        frmScriptCreator &w = Wizard();
        Choose(w, 2);
        Compare(w);
        QCOMPARE(Entries(w.Job()), QStringList({ "update f_over", "drop f_over" }));
        const QString script = Finish(w, "overloads.sql");
        QVERIFY(script.contains("DROP FUNCTION IF EXISTS dbo.f_over(p boolean)"));
        RunPsql(otherPg->Database, tmp->filePath("overloads.sql"));
        QCOMPARE(otherPg->exec("SELECT string_agg(oid::regprocedure::text || '=' || prosrc, ',' ORDER BY 1) AS s FROM "
                               "pg_proc WHERE proname = 'f_over'")
                     .Results.first()
                     ->FieldText("s"),
            QStringLiteral("dbo.f_over(integer)= SELECT 1 ,dbo.f_over(text)= SELECT 2 "));
    }

    // The wizard's checks: message, and where the focus goes; an existing file
    // is not overwritten on No.
    void refusals_data()
    {
        QTest::addColumn<QString>("page");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("focus");
        QTest::newRow("no option") << "fraStart"
                                   << "Please specify the Type of script you would like to create!"
                                   << "";
        QTest::newRow("until before from") << "fraVSS"
                                           << "Until date must be after From date!"
                                           << "dtpUntil";
        QTest::newRow("from in the future") << "fraVSS today"
                                            << "From date must be in the past!"
                                            << "dtpFrom";
        QTest::newRow("no server") << "fraAnotherDB"
                                   << "Server is Missing!"
                                   << "txtSQLServer";
        QTest::newRow("no user") << "fraAnotherDB server"
                                 << "Username is Missing!"
                                 << "txtSQLUsername";
        QTest::newRow("no file name") << "fraFinish"
                                      << "No Script file name specifed!"
                                      << "cmdCreateFile";
        QTest::newRow("missing folder") << "fraFinish missing"
                                        << "~could not be written"
                                        << "";
        QTest::newRow("path through a file") << "fraFinish missing through"
                                             << "~could not be written"
                                             << "";
        QTest::newRow("full disk") << "fraFinish missing full"
                                   << "~could not be written"
                                   << "";
        QTest::newRow("existing file, No")
            << "fraFinish exists"
            << "The specified Script file name already exists. Would you like to overwrite the file?"
            << "";
    }
    void refusals()
    {
        QFETCH(QString, page);
        QFETCH(QString, text);
        QFETCH(QString, focus);
        const bool missing = page.contains("missing"), exists = page.endsWith("exists");
        const QString kept = tmp->filePath("kept.sql");
        QVERIFY(WriteTextFile(kept, "kept"));
        std::optional<FullDisk> disk;
        if (page.endsWith("full"))
            disk.emplace(tmp->filePath("full"));
        const QString target = page.endsWith("through") ? kept + "/x.sql"
            : disk                                      ? disk->FilePath("x.sql")
                                                        : tmp->filePath("no/such/folder/x.sql");
        b = Backend::Make("SQLServer");
        QVERIFY(b && setUpSession());
        frmScriptCreator &w = Wizard();
        QApplication::setActiveWindow(&w);
        if (page.startsWith("fraVSS")) {
            Choose(w, 1);
            const bool today = page.endsWith("today");
            Control<QCheckBox>(w, "chkUntil")->setChecked(today);
            Control<QDateTimeEdit>(w, "dtpFrom")->setDateTime(QDateTime::currentDateTime().addDays(1));
            Control<QDateTimeEdit>(w, "dtpUntil")->setDateTime(QDateTime::currentDateTime());
        } else if (page.startsWith("fraAnotherDB")) {
            Choose(w, 2);
            SetText(w, "txtSQLServer", page.endsWith("server") ? "SQLTEST" : "");
            SetText(w, "txtSQLUsername", "");
        } else if (page.startsWith("fraFinish")) {
            Choose(w, 3);
            SetText(w, "txtFileLocation", missing ? target : exists ? kept : "");
        }
        if (disk)
            disk->Fill(0); // the script is short
        b->ui.answer(exists ? Answer::No : Answer::Ok);
        Click(w, page.startsWith("fraFinish") ? "cmdFinished" : "cmdNext");
        b->ExpectLastBox(missing ? Icon::Critical
                : exists         ? Icon::Question
                                 : Icon::Warning,
            missing      ? "Script Not Saved"
                : exists ? "Overwrite File?"
                         : "Invalid Data",
            text);
        QCOMPARE(w.CurrentFrame()->objectName(), page.section(' ', 0, 0));
        if (!focus.isEmpty())
            QCOMPARE(QApplication::focusWidget()->objectName(), focus);
        QVERIFY(!QFile::exists(target));
        if (disk)
            QVERIFY2(b->ui.last().text.contains(disk->Reason()), qPrintable(b->ui.last().text));
        QCOMPARE(ReadTextFile(kept), QStringLiteral("kept"));
    }

    // Closing during a collection asks first; Yes stops the run, which then
    // closes the window.
    void interruption()
    {
        b = Backend::Make("SQLServer");
        QVERIFY(b && setUpSession());
        frmScriptCreator &w = Wizard();
        b->ui.answer(Answer::Yes);
        QTimer::singleShot(0, &w, [&w] { w.close(); });
        Choose(w, 3);
        QCOMPARE(b->ui.last().title, QStringLiteral("Are you sure?"));
        QVERIFY(w.Interrupted());
        QVERIFY(!w.isVisible());
        QVERIFY(w.Idle());
    }

    // The complete script builds the project's objects in a database with only
    // the tables; the comparison script brings the older database to the
    // project's state. Both then hold the project's texts.
    void psqlRunsScripts()
    {
        b = Backend::Make("PostgreSQL");
        QVERIFY(b && setUpSession());
        QVERIFY(MakeProject());
        auto older = std::make_shared<KORVOSQL>(b->ui);
        MakeOlderDatabase(*older);

        auto empty = PgTestServer().newDatabase(QStringLiteral("empty"));
        empty->exec("CREATE SCHEMA dbo; CREATE TABLE dbo.t_ops (id int NOT NULL, label varchar(20) NULL, amount "
                    "numeric(10,2) NOT NULL)");
        frmScriptCreator &w = Wizard();
        Control<QCheckBox>(w, "chkCreatePermission")->setChecked(true);
        Choose(w, 3);
        Finish(w, "complete.sql");
        RunPsql(empty->Database, tmp->filePath("complete.sql"));
        wizard.reset();
        frmScriptCreator &w2 = Wizard();
        Choose(w2, 2);
        Compare(w2);
        Finish(w2, "compare.sql");
        RunPsql(otherPg->Database, tmp->filePath("compare.sql"));

        for (PgTestDatabase *db : { empty.get(), otherPg.get() }) {
            KORVOSQL sql(b->ui, ServerKind::PostgreSQL());
            QVERIFY(sql.OpenConnection(db->Server, db->Database, db->UserName, db->Password, KORVOSQL::UseNTNo, true)
                        .isEmpty());
            QStringList names;
            for (const char *type : { "StoredProcedures", "UserDefinedFunctions", "Views", "Triggers" }) {
                for (const auto &o : *Collection(type)) {
                    const QString id = sql.GetObjectID(o->Name(), o->Owner());
                    QVERIFY2(!id.isEmpty(), qPrintable(o->Name()));
                    QCOMPARE(sql.GetObjectText(id).trimmed(), o->GetContent(1).trimmed());
                    names.append(o->Name());
                }
            }
            auto rs = sql.OpenRecordset("SELECT count(*) AS n FROM pg_proc p JOIN pg_namespace n ON n.oid = "
                                        "p.pronamespace WHERE n.nspname = 'dbo'");
            const auto views = sql.OpenRecordset("SELECT count(*) AS n FROM pg_views WHERE schemaname = 'dbo'");
            QCOMPARE(rs->FieldText("n").toInt() + views->FieldText("n").toInt(), names.size() - 1); // less the trigger
        }
    }

private:
    void RunPsql(const QString &database, const QString &file)
    {
        QProcess psql;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert("PGPASSWORD", "korvo-pw");
        psql.setProcessEnvironment(env);
        psql.start("psql",
            { "-X", "-q", "-v", "ON_ERROR_STOP=1", "-h", PgTestServer::defaultSocketDir(), "-U", "korvo", "-d",
                database, "-f", file });
        QVERIFY(psql.waitForFinished(60000));
        QVERIFY2(psql.exitCode() == 0, psql.readAllStandardError().constData());
    }
};

QTEST_MAIN(TestScriptGen)
#include "test_scriptgen.moc"
