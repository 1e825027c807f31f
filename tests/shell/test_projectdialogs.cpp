// The project wizard, the project browser and the source-control project
// browser, driven offscreen by their control names. Behaviour that reaches a
// server runs on both kinds: PostgreSQL on the test cluster, SQL Server on the
// scripted server.
#include "HelpIntegration.h"
#include "KORVODatabase.h"
#include "KORVOProject.h"
#include "KORVOProjects.h"
#include "KORVOSQL.h"
#include "KORVOVSS.h"
#include "OffscreenDialogs.h"
#include "PgTestServer.h"
#include "ScriptedSqlServer.h"
#include "StubCollections.h"
#include "SvnFixtures.h"
#include "frmProjectBrowser.h"
#include "frmProjectDetails.h"
#include "frmSQLPassword.h"
#include "frmVSSPassword.h"
#include "frmVSSProjectBrowser.h"

#include <QCheckBox>
#include <QDir>
#include <QGroupBox>
#include <QLabel>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTreeWidget>

namespace
{

// One server of either kind, with a database "shop" the login korvo may use.
struct Server {
    QString kind;
    QString server, database, user = QStringLiteral("korvo"), password = QStringLiteral("korvo-pw");
    std::unique_ptr<PgTestDatabase> pg;
    std::unique_ptr<ScriptedSqlServer> scripted;

    explicit Server(const QString &k = QStringLiteral("PostgreSQL"))
        : kind(k)
    {
        if (kind == QLatin1String("PostgreSQL")) {
            pg = PgTestServer::freshDatabase(QStringLiteral("prjwiz"));
            server = pg->Server;
            database = pg->Database;
            return;
        }
        scripted = std::make_unique<ScriptedSqlServer>();
        server = QStringLiteral("SQLTEST");
        database = QStringLiteral("shop");
        scripted->addLogin(user, password);
        for (const QString &db : { QStringLiteral("master"), database }) {
            scripted->addDatabase(db);
            scripted->addUser(db, user, user);
        }
    }
    // A project whose connector reaches this server.
    KORVOProjectPtr NewProject(UiServices &ui) const
    {
        auto p = std::make_shared<KORVOProject>(ui);
        p->SQL()->SetKind(ServerKind::FromName(kind));
        if (scripted)
            p->SQL()->SetDriver(scripted->driver());
        return p;
    }
};

void KindRows()
{
    QTest::addColumn<QString>("kind");
    for (const char *k : { "SQLServer", "PostgreSQL" })
        QTest::newRow(k) << k;
}

} // namespace

class TestProjectDialogs : public QObject
{
    Q_OBJECT

private:
    ScriptedUi mUi;
    std::unique_ptr<QTemporaryDir> mDir;
    std::unique_ptr<HelpIntegration> mHelp;
    std::shared_ptr<KORVODatabase> mDb;
    QString mFile;
    std::unique_ptr<SvnTestRepository> mRepo;
    QString mWorkingFolder;

    QByteArray StoreBytes() const
    {
        QFile f(mFile);
        return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
    }

    std::unique_ptr<frmProjectDetails> Wizard(const Server &s)
    {
        auto wizard = std::make_unique<frmProjectDetails>(*mDb, mUi, mHelp.get());
        wizard->MakeProject = [&] { return s.NewProject(mUi); };
        return wizard;
    }

    // Fills every step with values that pass, for a server of the given kind.
    void FillValid(QWidget &dlg, const Server &s, const QString &name = QStringLiteral("Shop"))
    {
        Control<QComboBox>(dlg, QStringLiteral("cboServerKind"))->setCurrentIndex(s.pg ? 1 : 0);
        const std::pair<const char *, QString> fields[] = { { "txtProjectName", name },
            { "txtWorkingFolder", mWorkingFolder }, { "cboSQLServer", s.server }, { "txtSQLUsername", s.user },
            { "txtSQLPassword", s.password }, { "cboSQLDatabase", s.database }, { "txtVSSIniFile", mRepo->Url() },
            { "txtVSSUserName", "anna" }, { "txtVSSPassword", "secret" }, { "txtVSSProject", "$\\Shop\\" } };
        for (const auto &[control, text] : fields)
            SetText(dlg, QLatin1String(control), text);
    }

    void SaveProjects(const QStringList &names)
    {
        for (const QString &name : names) {
            auto p = std::make_shared<KORVOProject>(mUi);
            p->Name = name;
            p->SQL()->SetServer("srv-" + name);
            p->SQL()->SetDatabase("db-" + name);
            p->VSS()->IniFile = "/ini/" + name;
            mDb->SaveProject(p);
        }
    }

private Q_SLOTS:
    void initTestCase()
    {
        QApplication::setQuitOnLastWindowClosed(false);
        const QString root = qEnvironmentVariable("KORVO_TEST_TMP", QDir::tempPath());
        QDir().mkpath(root);
        mDir = std::make_unique<QTemporaryDir>(root + QStringLiteral("/projectdialogs-XXXXXX"));
        QVERIFY(mDir->isValid());
        qputenv("KORVO_DATA_DIR", QFile::encodeName(mDir->filePath(QStringLiteral("data"))));
        mRepo = std::make_unique<SvnTestRepository>();
        QVERIFY(mRepo->IsValid());
        QVERIFY(mRepo->MakeFolders({ "Shop", "A", "A/B", "A/B/C", "X" }));
        mWorkingFolder = mRepo->Folder(QStringLiteral("work"));
        QString why;
        if (!PgTestServer().available(&why))
            QSKIP(qPrintable(QStringLiteral("no PostgreSQL test cluster: ") + why));
    }

    void init()
    {
        mUi.clear();
        // Each stored value is synced on its own: memory-backed files keep this quick.
        const QString shm = QStringLiteral("/dev/shm");
        mFile = (QDir(shm).exists() ? QStringLiteral("%1/korvo-%2-").arg(shm).arg(QCoreApplication::applicationPid())
                                    : mDir->filePath(QString()))
            + QStringLiteral("settings-%1.ini").arg(QTest::currentTestFunction());
        QFile::remove(mFile);
        mHelp = std::make_unique<HelpIntegration>(mUi, mDir->path(), [](const QUrl &) { return true; });
        mDb = std::make_shared<KORVODatabase>(
            mUi, std::make_shared<StubCollectionFactory>(), [] { return std::make_unique<StubMainWindow>(); }, mFile);
    }

    void cleanup()
    {
        mDb.reset();
        QFile::remove(mFile);
        QCOMPARE(mUi.pending(), 0);
    }

    // --- The wizard ---------------------------------------------------------

    void wizardForwardAndBack()
    {
        Server s;
        auto wizard = Wizard(s);
        QStringList steps; // "frame:back next finished" per step shown
        const QString ini = mDir->filePath(QStringLiteral("srcsafe.ini"));
        QString folder, iniFile;
        WhenModal([&](QDialog &dlg) {
            // A picked folder or file fills its field; a cancelled picker leaves it.
            mUi.pick(mWorkingFolder);
            Click(dlg, QStringLiteral("cmdWFBrowse"));
            mUi.pick(QString());
            Click(dlg, QStringLiteral("cmdWFBrowse"));
            folder = Text(dlg, QStringLiteral("txtWorkingFolder"));
            mUi.pick(ini);
            Click(dlg, QStringLiteral("cmdVSSIniFile"));
            iniFile = Text(dlg, QStringLiteral("txtVSSIniFile"));
            auto record = [&] {
                QString buttons;
                for (const char *b : { "cmdBack", "cmdNext", "cmdFinished" })
                    buttons += QString::number(Control<QPushButton>(dlg, QLatin1String(b))->isEnabled());
                for (auto *frame : dlg.findChildren<QGroupBox *>(QRegularExpression(QStringLiteral("^fraStep_\\d$")))) {
                    if (frame->isVisible())
                        steps << frame->objectName() + ":" + buttons;
                }
            };
            FillValid(dlg, s);
            record();
            for (int i = 0; i < 4; ++i) {
                Click(dlg, QStringLiteral("cmdNext"));
                record();
            }
            Click(dlg, QStringLiteral("cmdBack"));
            record();
            Click(dlg, QStringLiteral("cmdBack"), 4); // the last has no step before the first
            record();
        });
        QVERIFY(!wizard->newProject());
        QCOMPARE(steps,
            (QStringList { "fraStep_1:010", "fraStep_2:110", "fraStep_3:110", "fraStep_4:110", "fraStep_5:101",
                "fraStep_4:110", "fraStep_1:010" }));
        QCOMPARE(mUi.boxes.size(), 0);
        QCOMPARE(folder, mWorkingFolder);
        QCOMPARE(iniFile, ini);
    }

    // Each check of a step: the field set to the value on the step shown, the
    // message, and where the wizard stays with the focus. A field emptied after
    // its step passed sends Finished back to that step.
    void validationMessages_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<int>("step");
        QTest::addColumn<QString>("control");
        QTest::addColumn<QString>("value");
        QTest::addColumn<QString>("message");
        QTest::addColumn<int>("stays");
        for (const char *k : { "SQLServer", "PostgreSQL" }) {
            auto row = [&](const char *tag, int step, const char *control, const char *value, const char *message,
                           int stays = 0) {
                QTest::addRow("%s %s", k, tag) << k << step << control << value << message << (stays ? stays : step);
            };
            row("no name", 1, "txtProjectName", "  ", "No Project Name specified!");
            row("name taken", 1, "txtProjectName", "EXISTING", "The specified Project Name already exists!");
            row("no folder", 1, "txtWorkingFolder", "", "No Working Folder specified!");
            row("missing folder", 1, "txtWorkingFolder", "/no/such/folder",
                "The specified Working Folder does not exist!");
            row("no server", 2, "cboSQLServer", " ", "No SQL Server specified!");
            row("no SQL user", 2, "txtSQLUsername", "", "No Username specified!");
            row("no database", 3, "cboSQLDatabase", "", "No Database specified!");
            row("no ini file", 4, "txtVSSIniFile", "", "No Ini File specified!");
            row("missing ini file", 4, "txtVSSIniFile", "/no/such/srcsafe.ini",
                "The specified Ini File does not exist!");
            row("no VSS user", 4, "txtVSSUserName", " ", "No Username specified!");
            row("no project", 5, "txtVSSProject", "", "No Project specified!");
            row("finish checks every step", 5, "txtVSSUserName", "", "No Username specified!", 4);
        }
    }

    void validationMessages()
    {
        QFETCH(QString, kind);
        QFETCH(int, step);
        QFETCH(QString, control);
        QFETCH(QString, value);
        QFETCH(QString, message);
        QFETCH(int, stays);
        auto existing = std::make_shared<KORVOProject>(mUi);
        existing->Name = QStringLiteral("Existing");
        mDb->SaveProject(existing);
        Server s(kind);
        auto wizard = Wizard(s);
        int reached = 0, stayed = 0;
        QString focus;
        WhenModal([&](QDialog &dlg) {
            FillValid(dlg, s);
            Click(dlg, QStringLiteral("cmdNext"), step - 1);
            reached = wizard->CurrentStep();
            SetText(dlg, control, value);
            mUi.clear();
            mUi.answer(UiServices::Answer::Ok);
            // The last step has no Next: Finished tests it.
            Click(dlg, step < 5 ? QStringLiteral("cmdNext") : QStringLiteral("cmdFinished"));
            stayed = wizard->CurrentStep();
            focus = FocusName(dlg);
        });
        QVERIFY(!wizard->newProject());
        QCOMPARE(reached, step);
        QCOMPARE(stayed, stays);
        QCOMPARE(Boxes(mUi), QStringList { "warning|Invalid Data|" + message });
        QCOMPARE(focus, control);
        QCOMPARE(mUi.waitDepth, 0);
    }

    void newProjectFinishesWithTheTypedValues_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<bool>("windowsAuth");
        QTest::newRow("SQLServer") << "SQLServer" << false;
        QTest::newRow("PostgreSQL") << "PostgreSQL" << false;
        // The operating-system login reaches the test cluster, so no question comes.
        QTest::newRow("PostgreSQL, Windows authentication") << "PostgreSQL" << true;
    }

    void newProjectFinishesWithTheTypedValues()
    {
        QFETCH(QString, kind);
        QFETCH(bool, windowsAuth);
        Server s(kind);
        auto wizard = Wizard(s);
        QStringList databases, states;
        WhenModal([&](QDialog &dlg) {
            FillValid(dlg, s, QStringLiteral("  Shop  "));
            Control<QCheckBox>(dlg, QStringLiteral("chkSQLStorePassword"))->setChecked(true);
            // Windows authentication on, off and on: the login fields follow.
            for (int i = 0; windowsAuth && i < 3; ++i) {
                Control<QCheckBox>(dlg, QStringLiteral("chkUseWindowsAuth"))->click();
                QString enabled;
                for (const char *c : { "txtSQLUsername", "chkSQLStorePassword", "lblSQLUsername" })
                    enabled += QString::number(Control<QWidget>(dlg, QLatin1String(c))->isEnabled());
                states << Text(dlg, QStringLiteral("txtSQLUsername")) + "|"
                        + Text(dlg, QStringLiteral("txtSQLPassword")) + "|" + enabled;
            }
            Click(dlg, QStringLiteral("cmdNext"), 2);
            auto *list = Control<QComboBox>(dlg, QStringLiteral("cboSQLDatabase"));
            for (int i = 0; i < list->count(); ++i)
                databases << list->itemText(i);
            Click(dlg, QStringLiteral("cmdNext"), 3);
            Click(dlg, QStringLiteral("cmdFinished"));
        });
        const KORVOProjectPtr p = wizard->newProject();
        QVERIFY(p);
        QCOMPARE(mUi.boxes.size(), 0);
        // The list came from the server, and the typed database stayed selected.
        QVERIFY2(databases.contains(s.database), qPrintable(databases.join(',')));
        QCOMPARE(p->Sequence, -1L);
        QCOMPARE((QStringList { p->VSS()->IniFile, p->VSS()->Project, p->VSS()->GeneralWorkingFolder() }),
            (QStringList { mRepo->Url(), "$\\Shop\\", mWorkingFolder }));
        if (windowsAuth) {
            QCOMPARE(
                states, (QStringList { "(Windows authentication)||000", "||111", "(Windows authentication)||000" }));
            QVERIFY(p->SQL()->UseWinNTAuth());
            QCOMPARE(p->SQL()->StoredUserName() + p->SQL()->Password(), QString());
            QVERIFY(!p->SQL()->StorePassword());
            return;
        }
        QCOMPARE((QStringList { p->Name, p->SQL()->Kind().Name(), p->SQL()->Server(), p->SQL()->Database(),
                     p->SQL()->UserName(), p->SQL()->Password() }),
            (QStringList { "Shop", kind, s.server, s.database, s.user, s.password }));
        QVERIFY(p->SQL()->StorePassword());
    }

    // A server, database or project out of reach is a question: No keeps its
    // step, and brings it up again when finishing; Yes goes on and may finish.
    void unreachableIsAQuestion_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("away");
        for (const char *k : { "SQLServer", "PostgreSQL" }) {
            for (const char *away : { "server", "database", "project" })
                QTest::addRow("%s %s", k, away) << k << away;
        }
    }
    void unreachableIsAQuestion()
    {
        QFETCH(QString, kind);
        QFETCH(QString, away);
        Server s(kind);
        if (away == "server" && s.scripted)
            s.scripted->stop();
        else if (away == "server")
            s.server = mDir->filePath(QStringLiteral("no-server-here"));
        const bool project = away == "project";
        auto wizard = Wizard(s);
        QList<int> stays;
        bool errorShown = false, open = false;
        WhenModal([&](QDialog &dlg) {
            FillValid(dlg, s);
            if (away == "database")
                SetText(dlg, QStringLiteral("cboSQLDatabase"), QStringLiteral("nosuchdb"));
            if (project)
                SetText(dlg, QStringLiteral("txtVSSProject"), QStringLiteral("$\\NoSuch\\"));
            Click(dlg, QStringLiteral("cmdNext"), 2); // a server away fails the list quietly
            errorShown = Control<QLabel>(dlg, QStringLiteral("lblSQLServerErrorLabel"))->isVisible()
                && !Control<QLabel>(dlg, QStringLiteral("lblSQLServerError"))->text().isEmpty();
            if (!project) {
                mUi.answer(UiServices::Answer::No);
                Click(dlg, QStringLiteral("cmdNext"));
                stays << wizard->CurrentStep();
                mUi.answer(UiServices::Answer::Yes);
            }
            Click(dlg, QStringLiteral("cmdNext"), 2);
            mUi.answer(UiServices::Answer::No);
            Click(dlg, QStringLiteral("cmdFinished"));
            stays << wizard->CurrentStep();
            open = dlg.isVisible();
            if (!project) {
                mUi.answer(UiServices::Answer::Yes);
                Click(dlg, QStringLiteral("cmdNext"), 2);
            }
            mUi.answer(UiServices::Answer::Yes); // asked again while finishing
            Click(dlg, QStringLiteral("cmdFinished"));
        });
        const KORVOProjectPtr p = wizard->newProject();
        QVERIFY(p);
        QCOMPARE(p->SQL()->Server(), s.server);
        QCOMPARE(stays, project ? QList<int>({ 5 }) : QList<int>({ 3, 3 }));
        QVERIFY(open);
        QCOMPARE(errorShown, away == "server");
        // The same question every time, the server's own words after it.
        QCOMPARE(Boxes(mUi), QStringList(project ? 2 : 5, Boxes(mUi).value(0)));
        QCOMPARE(mUi.last().buttons, UiServices::Buttons::YesNo);
        const QString question = QStringLiteral("Could not connect to the specified %1. Would you like to continue "
                                                "anyway?\nThe following error occured:\n")
                                     .arg(project ? "project" : "database");
        QVERIFY2(mUi.last().text.startsWith(question) && mUi.last().text.size() > question.size(),
            qPrintable(mUi.last().text));
    }

    // Both password prompts refuse an empty user name and stay open with the
    // focus on it; a name then confirms.
    void passwordDialogsNeedAUserName_data()
    {
        QTest::addColumn<QString>("dialog");
        QTest::newRow("SQL") << "SQL";
        QTest::newRow("VSS") << "VSS";
    }
    void passwordDialogsNeedAUserName()
    {
        QFETCH(QString, dialog);
        QString user = QStringLiteral("sa"), password = QStringLiteral("old"), focus;
        bool stillOpen = false;
        WhenModal([&](QDialog &dlg) {
            SetText(dlg, QStringLiteral("txtUserName"), QString());
            SetText(dlg, QStringLiteral("txtPwd"), QStringLiteral("pw"));
            mUi.answer(UiServices::Answer::Ok);
            Click(dlg, QStringLiteral("cmdOK"));
            stillOpen = dlg.isVisible();
            focus = FocusName(dlg);
            SetText(dlg, QStringLiteral("txtUserName"), QStringLiteral("anna"));
            Click(dlg, QStringLiteral("cmdOK"));
        });
        const bool confirmed = dialog == "SQL"
            ? frmSQLPassword(mUi).GetUserNameAndPassword(QStringLiteral("srv"), QStringLiteral("db"), user, password)
            : frmVSSPassword(mUi).GetUserNameAndPassword(QStringLiteral("srcsafe.ini"), user, password);
        QVERIFY(confirmed);
        QVERIFY(stillOpen);
        QCOMPARE(focus, "txtUserName");
        QCOMPARE(Boxes(mUi), QStringList { "warning|Invalid Data|User Name is missing" });
        QCOMPARE(user + "|" + password, "anna|pw");
    }

    void missingPasswordsAreAskedFor()
    {
        Server s;
        auto wizard = Wizard(s);
        QString sqlPassword, vssPassword;
        WhenModal([&](QDialog &dlg) {
            FillValid(dlg, s);
            SetText(dlg, QStringLiteral("txtSQLPassword"), QString());
            SetText(dlg, QStringLiteral("txtVSSPassword"), QString());
            Click(dlg, QStringLiteral("cmdNext"), 2);
            mUi.password(true, s.user, s.password);
            Click(dlg, QStringLiteral("cmdNext"));
            sqlPassword = Text(dlg, QStringLiteral("txtSQLPassword"));
            mUi.password(false);
            mUi.answer(UiServices::Answer::Yes);
            Click(dlg, QStringLiteral("cmdNext"));
            vssPassword = Text(dlg, QStringLiteral("txtVSSPassword"));
        });
        QVERIFY(!wizard->newProject());
        QCOMPARE(sqlPassword, s.password);
        QCOMPARE(vssPassword, QString());
        QCOMPARE(mUi.prompts.size(), 2);
        QCOMPARE(mUi.prompts.at(0).kind + " " + mUi.prompts.at(0).database, "SQL " + s.database);
        QCOMPARE(mUi.prompts.at(1).kind, "VSS");
        QCOMPARE(mUi.boxes.size(), 1);
        QCOMPARE(mUi.last().title + "|" + mUi.last().text,
            "Invalid Data|Could not connect to the specified project. Would you like to continue anyway?\nThe "
            "following error occured:\nPassword was not entered!");
    }

    void editKeepsItsNameButNotACaseChange()
    {
        Server s;
        auto alpha = s.NewProject(mUi);
        alpha->Name = QStringLiteral("Alpha");
        alpha->SQL()->SetServer(s.server);
        mDb->SaveProject(alpha);
        auto project = mDb->FindProjectByID(1);
        frmProjectDetails wizard(*mDb, mUi, mHelp.get());
        int stepKept = 0, stepCase = 0;
        QString filledName, filledServer;
        WhenModal([&](QDialog &dlg) {
            filledName = Text(dlg, QStringLiteral("txtProjectName"));
            filledServer = Text(dlg, QStringLiteral("cboSQLServer"));
            SetText(dlg, QStringLiteral("txtWorkingFolder"), mWorkingFolder);
            Click(dlg, QStringLiteral("cmdNext"));
            stepKept = wizard.CurrentStep();
            Click(dlg, QStringLiteral("cmdBack"));
            SetText(dlg, QStringLiteral("txtProjectName"), QStringLiteral("ALPHA"));
            mUi.answer(UiServices::Answer::Ok);
            Click(dlg, QStringLiteral("cmdNext"));
            stepCase = wizard.CurrentStep();
            Click(dlg, QStringLiteral("cmdCancel"));
        });
        QVERIFY(!wizard.EditProject(project));
        QCOMPARE(filledName, "Alpha");
        QCOMPARE(filledServer, s.server);
        QCOMPARE(stepKept, 2);
        QCOMPARE(stepCase, 1);
        QCOMPARE(Boxes(mUi), QStringList { "warning|Invalid Data|The specified Project Name already exists!" });
        // Cancelled: the project is as it was.
        QCOMPARE(project->Name, "Alpha");
    }

    // --- The project browser ------------------------------------------------

    void browserListCancelTickAndRemove()
    {
        SaveProjects({ QStringLiteral("P1"), QStringLiteral("P2"), QStringLiteral("P3") });
        frmProjectBrowser browser(mDb, mUi, *mHelp);
        browser.ProjectBrowser(nullptr, false);
        auto *list = Control<QTreeWidget>(browser, QStringLiteral("lvwProjects"));
        QCOMPARE(list->topLevelItemCount(), 3);
        const QTreeWidgetItem *row = list->topLevelItem(1);
        QCOMPARE((QStringList { row->text(0), row->text(1), row->text(2), row->text(3) }),
            (QStringList { "P2", "srv-P2", "db-P2", "/ini/P2" }));

        // Cancelled wizards leave the store and the list alone.
        const QByteArray before = StoreBytes();
        list->setCurrentItem(list->topLevelItem(1));
        for (const char *button : { "cmdNew", "cmdEdit" }) {
            WhenModal([&](QDialog &dlg) {
                SetText(dlg, QStringLiteral("txtProjectName"), QStringLiteral("Renamed"));
                Click(dlg, QStringLiteral("cmdCancel"));
            });
            Click(browser, QLatin1String(button));
        }
        QCOMPARE(StoreBytes(), before);
        QCOMPARE(list->topLevelItem(1)->text(0), "P2");
        QCOMPARE(mUi.waitDepth, 0);

        // The most-recent tick is a setting of its own.
        auto *chk = Control<QCheckBox>(browser, QStringLiteral("chkMostResent"));
        QVERIFY(!chk->isChecked());
        chk->click();
        QVERIFY(mDb->OpenMostRecent());
        chk->click();
        QVERIFY(!mDb->OpenMostRecent());

        mUi.answer(UiServices::Answer::No);
        Click(browser, QStringLiteral("cmdRemove"));
        QCOMPARE(list->topLevelItemCount(), 3);
        mUi.answer(UiServices::Answer::Yes);
        Click(browser, QStringLiteral("cmdRemove"));
        QCOMPARE(mUi.boxes.size(), 2);
        QCOMPARE(mUi.last().title + "|" + mUi.last().text, "Remove Project|Are you sure you want to the project 'P2'?");
        QCOMPARE(list->topLevelItemCount(), 2);
        QCOMPARE(list->topLevelItem(1)->text(0), "P3");
        QCOMPARE(mDb->FindAllProjects(true, true)->Count(), 2);

        // Without a selected row the buttons do nothing.
        list->clearSelection();
        Click(browser, QStringLiteral("cmdRemove"));
        Click(browser, QStringLiteral("cmdOpen"));
        QCOMPARE(mUi.boxes.size(), 2);
        browser.close();
    }

    void openRecentProjectReportsAnUnknownName()
    {
        SaveProjects({ QStringLiteral("P1") });
        frmProjectBrowser browser(mDb, mUi, *mHelp);
        mUi.answer(UiServices::Answer::Ok);
        bool ok = true;
        browser.OpenRecentProject(-1, QStringLiteral("Nope"), ok);
        QVERIFY(!ok);
        QCOMPARE(Boxes(mUi),
            QStringList { "critical|Unable to open project|Project could not be found in the project list!" });
    }

    void openProjectBrowserReopensOnlyWhatChanged()
    {
        SaveProjects({ QStringLiteral("Open"), QStringLiteral("Other") });
        const auto current = mDb->FindProjectByID(1);
        frmProjectBrowser browser(mDb, mUi, *mHelp);
        auto choose = [&](int row) {
            WhenModal([row](QDialog &dlg) {
                auto *list = Control<QTreeWidget>(dlg, QStringLiteral("lvwProjects"));
                list->setCurrentItem(list->topLevelItem(row));
                Click(dlg, QStringLiteral("cmdOpen"));
            });
            return browser.OpenProjectBrowser(current);
        };
        QVERIFY(!choose(0)); // the open project, unchanged
        const auto other = choose(1);
        QVERIFY(other);
        QCOMPARE(other->Name, "Other");
        QVERIFY(!other->SQL()->ConnectionOpen()); // the main window connects it
        // A double click opens the row under the mouse.
        WhenModal([](QDialog &dlg) {
            auto *list = Control<QTreeWidget>(dlg, QStringLiteral("lvwProjects"));
            list->clearSelection();
            const QPoint at = list->visualItemRect(list->topLevelItem(1)).center();
            QTest::mousePress(list->viewport(), Qt::LeftButton, {}, at);
            QTest::mouseRelease(list->viewport(), Qt::LeftButton, {}, at);
            QTest::mouseDClick(list->viewport(), Qt::LeftButton, {}, at);
        });
        const auto clicked = browser.OpenProjectBrowser(current);
        QVERIFY(clicked);
        QCOMPARE(clicked->Name, "Other");
        current->SQL()->SetServer(QStringLiteral("moved"));
        const auto changed = choose(0);
        QVERIFY(changed);
        QCOMPARE(changed->SQL()->Server(), "srv-Open");
    }

    // --- Source-control project browser --------------------------------------

    // Opens along the start folder two levels deep; makes a sub-project of
    // the selected project.
    void vssBrowserStartFolderAndSubProject()
    {
        KORVOVSS vss(mUi);
        QCOMPARE(vss.OpenConnection(mRepo->Url(), QStringLiteral("anna"), {}, QStringLiteral("$\\"), {}, true, true),
            QString());
        frmVSSProjectBrowser browser(mUi, mHelp.get());
        QString selected;
        QStringList expanded, rootChildren;
        WhenModal([&](QDialog &dlg) {
            auto *tree = Control<QTreeWidget>(dlg, QStringLiteral("tvwVSSProjects"));
            QTreeWidgetItem *root = tree->topLevelItem(0);
            for (int i = 0; i < root->childCount(); ++i)
                rootChildren << root->child(i)->data(0, frmVSSProjectBrowser::KeyRole).toString();
            for (QTreeWidgetItemIterator it(tree); *it; ++it) {
                if ((*it)->isExpanded())
                    expanded << (*it)->text(0);
            }
            selected = tree->currentItem()->data(0, frmVSSProjectBrowser::KeyRole).toString();
            Click(dlg, QStringLiteral("cmdOK"));
        });
        QCOMPARE(browser.GetFolder(vss, QStringLiteral("$\\A\\B")), "$\\A\\B\\");
        QCOMPARE(selected, "$\\A\\B\\");
        QCOMPARE(expanded, (QStringList { "$", "A", "B" }));
        QCOMPARE(rootChildren, (QStringList { "$\\A\\", "$\\Shop\\", "$\\X\\" }));

        const QString newName = QStringLiteral("New%1").arg(QDateTime::currentMSecsSinceEpoch());
        QString askFocus;
        WhenModal([&](QDialog &dlg) {
            auto *tree = Control<QTreeWidget>(dlg, QStringLiteral("tvwVSSProjects"));
            tree->clearSelection();
            tree->setCurrentItem(nullptr);
            mUi.answer(UiServices::Answer::Ok).answer(UiServices::Answer::Ok).answer(UiServices::Answer::Ok);
            Click(dlg, QStringLiteral("cmdOK")); // nothing selected
            Click(dlg, QStringLiteral("cmdNewProject"));
            tree->setCurrentItem(tree->topLevelItem(0)->child(0)); // A
            WhenModal([&](QDialog &ask) {
                SetText(ask, QStringLiteral("txtVSSProject"), QStringLiteral("   "));
                Click(ask, QStringLiteral("cmdOK")); // a blank name is refused
                askFocus = FocusName(ask);
                SetText(ask, QStringLiteral("txtVSSProject"), "  " + newName + " ");
                Click(ask, QStringLiteral("cmdOK"));
            });
            Click(dlg, QStringLiteral("cmdNewProject"));
            Click(dlg, QStringLiteral("cmdOK"));
        });
        QCOMPARE(browser.GetFolder(vss, QStringLiteral("$\\")), "$\\A\\" + newName + "\\");
        const QString none = QStringLiteral("warning|Invalid Data|No Project selected!");
        QCOMPARE(Boxes(mUi), QStringList({ none, none, "none|Invalid Data|No Project Name specified!" }));
        QCOMPARE(askFocus, "txtVSSProject");
        QVERIFY(vss.GetProjectSubFolders(QStringLiteral("$\\A\\")).contains(newName));
    }

    // The source-control project picker of step 5: a database it cannot reach,
    // and a new project whose name is taken. The field keeps its text.
    void vssProjectPickerFailures_data()
    {
        QTest::addColumn<QString>("failure");
        QTest::addColumn<QString>("box");
        QTest::newRow("cannot connect") << "cannot connect"
                                        << "warning|Invalid Data|Cannot connect to Visual SourceSafe Database";
        QTest::newRow("name taken") << "name taken"
                                    << "critical|Could not create folder|The Project 'A' already exists!";
    }
    void vssProjectPickerFailures()
    {
        QFETCH(QString, failure);
        QFETCH(QString, box);
        Server s;
        auto wizard = Wizard(s);
        QString project;
        WhenModal([&](QDialog &dlg) {
            FillValid(dlg, s);
            Click(dlg, QStringLiteral("cmdNext"), 4);
            mUi.answer(UiServices::Answer::Ok);
            if (failure == "cannot connect") {
                SetText(dlg, QStringLiteral("txtVSSIniFile"), mDir->filePath(QStringLiteral("no-such/srcsafe.ini")));
            } else {
                WhenModal([&](QDialog &browser) {
                    auto *tree = Control<QTreeWidget>(browser, QStringLiteral("tvwVSSProjects"));
                    tree->setCurrentItem(tree->topLevelItem(0));
                    WhenModal([](QDialog &ask) {
                        SetText(ask, QStringLiteral("txtVSSProject"), QStringLiteral("A"));
                        Click(ask, QStringLiteral("cmdOK"));
                    });
                    Click(browser, QStringLiteral("cmdNewProject"));
                    Click(browser, QStringLiteral("cmdCancel"));
                });
            }
            Click(dlg, QStringLiteral("cmdVSSProject"));
            project = Text(dlg, QStringLiteral("txtVSSProject"));
        });
        QVERIFY(!wizard->newProject());
        QCOMPARE(Boxes(mUi), QStringList { box });
        QCOMPARE(project, "$\\Shop\\");
    }
};

QTEST_MAIN(TestProjectDialogs)
#include "test_projectdialogs.moc"
