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
#include "PgTestServer.h"
#include "ScriptedSqlServer.h"
#include "ScriptedUi.h"
#include "StubCollections.h"
#include "SvnFixtures.h"
#include "frmProjectBrowser.h"
#include "frmProjectDetails.h"
#include "frmVSSNewProject.h"
#include "frmVSSProjectBrowser.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QTreeWidget>

namespace
{

// Runs f once the next modal dialog has started; closes it if f left it open,
// so that a failing step cannot hang the test.
void WhenModal(std::function<void(QDialog &)> f)
{
    QTimer::singleShot(0, [f] {
        auto *dlg = qobject_cast<QDialog *>(QApplication::activeModalWidget());
        if (!dlg) {
            QTest::qFail("no modal dialog", __FILE__, __LINE__);
            return;
        }
        f(*dlg);
        if (dlg->isVisible())
            dlg->reject();
    });
}

template <class T> T *Control(QWidget &w, const QString &name)
{
    T *c = w.findChild<T *>(name);
    if (!c)
        qWarning("no control %s", qPrintable(name));
    return c;
}

void SetText(QWidget &w, const QString &name, const QString &text)
{
    if (auto *edit = w.findChild<QLineEdit *>(name)) {
        edit->setText(text);
        return;
    }
    if (auto *combo = w.findChild<QComboBox *>(name)) {
        combo->setEditText(text);
        return;
    }
    qWarning("no text control %s", qPrintable(name));
}

void Click(QWidget &w, const QString &name)
{
    Control<QPushButton>(w, name)->click();
}

// The control that has (or will get) the focus in the window.
QString FocusName(QWidget &w)
{
    QWidget *f = w.focusWidget();
    while (f && f->objectName().isEmpty() && f->parentWidget() != &w)
        f = f->parentWidget();
    if (f && qobject_cast<QComboBox *>(f->parentWidget()))
        f = f->parentWidget(); // the edit box of a combo
    return f ? f->objectName() : QString();
}

// One server of either kind, with a database "shop" the login korvo may use.
struct Server {
    QString kind;
    QString server, database, user = QStringLiteral("korvo"), password = QStringLiteral("korvo-pw");
    std::unique_ptr<PgTestDatabase> pg;
    std::unique_ptr<ScriptedSqlServer> scripted;

    explicit Server(const QString &k)
        : kind(k)
    {
        if (kind == QLatin1String("PostgreSQL")) {
            pg = PgTestServer::freshDatabase(QStringLiteral("prjwiz"));
            server = pg->Server;
            database = pg->Database;
        } else {
            scripted = std::make_unique<ScriptedSqlServer>();
            scripted->addDatabase(QStringLiteral("master"));
            scripted->addDatabase(QStringLiteral("shop"));
            scripted->addLogin(user, password);
            scripted->addUser(QStringLiteral("master"), user, user);
            scripted->addUser(QStringLiteral("shop"), user, user);
            server = QStringLiteral("SQLTEST");
            database = QStringLiteral("shop");
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
    int KindIndex() const { return kind == QLatin1String("PostgreSQL") ? 1 : 0; }
};

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

    // Fills every step with values that pass, for a server of the given kind.
    void FillValid(QWidget &dlg, const Server &s, const QString &name = QStringLiteral("Shop"))
    {
        SetText(dlg, QStringLiteral("txtProjectName"), name);
        SetText(dlg, QStringLiteral("txtWorkingFolder"), mWorkingFolder);
        Control<QComboBox>(dlg, QStringLiteral("cboServerKind"))->setCurrentIndex(s.KindIndex());
        SetText(dlg, QStringLiteral("cboSQLServer"), s.server);
        SetText(dlg, QStringLiteral("txtSQLUsername"), s.user);
        SetText(dlg, QStringLiteral("txtSQLPassword"), s.password);
        SetText(dlg, QStringLiteral("cboSQLDatabase"), s.database);
        SetText(dlg, QStringLiteral("txtVSSIniFile"), mRepo->Url());
        SetText(dlg, QStringLiteral("txtVSSUserName"), QStringLiteral("anna"));
        SetText(dlg, QStringLiteral("txtVSSPassword"), QStringLiteral("secret"));
        SetText(dlg, QStringLiteral("txtVSSProject"), QStringLiteral("$\\Shop\\"));
    }

    static void AddKinds() { QTest::addColumn<QString>("kind"); }

    static QStringList Kinds() { return { QStringLiteral("SQLServer"), QStringLiteral("PostgreSQL") }; }

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
        QVERIFY(mRepo->MakeFolders({ QStringLiteral("Shop"), QStringLiteral("A"), QStringLiteral("A/B"),
            QStringLiteral("A/B/C"), QStringLiteral("X") }));
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
        Server s(QStringLiteral("PostgreSQL"));
        frmProjectDetails wizard(*mDb, mUi, mHelp.get());
        wizard.MakeProject = [&] { return s.NewProject(mUi); };
        QList<QList<bool>> buttons; // back, next, finished per step shown
        QStringList captions, visible;
        KORVOProjectPtr result;
        WhenModal([&](QDialog &dlg) {
            auto record = [&] {
                buttons << QList<bool> { Control<QPushButton>(dlg, "cmdBack")->isEnabled(),
                    Control<QPushButton>(dlg, "cmdNext")->isEnabled(),
                    Control<QPushButton>(dlg, "cmdFinished")->isEnabled() };
                for (int i = 1; i <= 5; ++i) {
                    auto *frame = Control<QGroupBox>(dlg, QStringLiteral("fraStep_%1").arg(i));
                    if (frame->isVisible()) {
                        visible << frame->objectName();
                        captions << frame->title();
                    }
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
            Click(dlg, QStringLiteral("cmdBack"));
            Click(dlg, QStringLiteral("cmdBack"));
            Click(dlg, QStringLiteral("cmdBack"));
            Click(dlg, QStringLiteral("cmdBack")); // no step before the first
            record();
        });
        result = wizard.newProject();
        QVERIFY(!result);
        QCOMPARE(wizard.windowTitle(), QStringLiteral("Project Wizard - New Project"));
        QCOMPARE(visible,
            (QStringList {
                "fraStep_1", "fraStep_2", "fraStep_3", "fraStep_4", "fraStep_5", "fraStep_4", "fraStep_1" }));
        QCOMPARE(captions.mid(0, 5),
            (QStringList { "Project Details ...", "SQL Server Settings ...", "SQL Database Settings ...",
                "Visual SourceSafe Settings ...", "VSS Project Settings ..." }));
        const QList<QList<bool>> expected { { false, true, false }, { true, true, false }, { true, true, false },
            { true, true, false }, { true, false, true }, { true, true, false }, { false, true, false } };
        QCOMPARE(buttons, expected);
        QCOMPARE(mUi.boxes.size(), 0);
    }

    void validationMessages_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<int>("step");
        QTest::addColumn<QString>("control");
        QTest::addColumn<QString>("value");
        QTest::addColumn<QString>("message");
        QTest::addColumn<QString>("focus");
        for (const QString &k : Kinds()) {
            auto row = [&](const char *tag, int step, const char *control, const QString &value, const char *message,
                           const char *focus) {
                QTest::addRow("%s %s", qPrintable(k), tag)
                    << k << step << QString::fromLatin1(control) << value << QString::fromLatin1(message)
                    << QString::fromLatin1(focus);
            };
            row("no name", 1, "txtProjectName", "  ", "No Project Name specified!", "txtProjectName");
            row("name taken", 1, "txtProjectName", "EXISTING", "The specified Project Name already exists!",
                "txtProjectName");
            row("no folder", 1, "txtWorkingFolder", "", "No Working Folder specified!", "txtWorkingFolder");
            row("missing folder", 1, "txtWorkingFolder", "/no/such/folder",
                "The specified Working Folder does not exist!", "txtWorkingFolder");
            row("no server", 2, "cboSQLServer", " ", "No SQL Server specified!", "cboSQLServer");
            row("no SQL user", 2, "txtSQLUsername", "", "No Username specified!", "txtSQLUsername");
            row("no database", 3, "cboSQLDatabase", "", "No Database specified!", "cboSQLDatabase");
            row("no ini file", 4, "txtVSSIniFile", "", "No Ini File specified!", "txtVSSIniFile");
            row("missing ini file", 4, "txtVSSIniFile", "/no/such/srcsafe.ini",
                "The specified Ini File does not exist!", "txtVSSIniFile");
            row("no VSS user", 4, "txtVSSUserName", " ", "No Username specified!", "txtVSSUserName");
            row("no project", 5, "txtVSSProject", "", "No Project specified!", "txtVSSProject");
        }
    }

    void validationMessages()
    {
        QFETCH(QString, kind);
        QFETCH(int, step);
        QFETCH(QString, control);
        QFETCH(QString, value);
        QFETCH(QString, message);
        QFETCH(QString, focus);
        auto existing = std::make_shared<KORVOProject>(mUi);
        existing->Name = QStringLiteral("Existing");
        mDb->SaveProject(existing);

        Server s(kind);
        frmProjectDetails wizard(*mDb, mUi, mHelp.get());
        wizard.MakeProject = [&] { return s.NewProject(mUi); };
        int reached = 0, stayed = 0;
        QString focusName;
        WhenModal([&](QDialog &dlg) {
            FillValid(dlg, s);
            for (int i = 1; i < step; ++i)
                Click(dlg, QStringLiteral("cmdNext"));
            reached = wizard.CurrentStep();
            SetText(dlg, control, value);
            mUi.clear();
            mUi.answer(UiServices::Answer::Ok);
            // The last step has no Next: Finished tests it.
            Click(dlg, step < 5 ? QStringLiteral("cmdNext") : QStringLiteral("cmdFinished"));
            stayed = wizard.CurrentStep();
            focusName = FocusName(dlg);
        });
        QVERIFY(!wizard.newProject());
        QCOMPARE(reached, step);
        QCOMPARE(stayed, step);
        QCOMPARE(mUi.boxes.size(), 1);
        QCOMPARE(int(mUi.boxes.first().icon), int(UiServices::Icon::Warning));
        QCOMPARE(mUi.boxes.first().title, QStringLiteral("Invalid Data"));
        QCOMPARE(mUi.boxes.first().text, message);
        QCOMPARE(focusName, focus);
    }

    void finishRevalidatesEveryStep_data()
    {
        AddKinds();
        for (const QString &k : Kinds())
            QTest::newRow(qPrintable(k)) << k;
    }

    // A field emptied after its step passed sends Finished back to that step.
    void finishRevalidatesEveryStep()
    {
        QFETCH(QString, kind);
        Server s(kind);
        frmProjectDetails wizard(*mDb, mUi, mHelp.get());
        wizard.MakeProject = [&] { return s.NewProject(mUi); };
        int stepAfterFinish = 0;
        QString focusName;
        WhenModal([&](QDialog &dlg) {
            FillValid(dlg, s);
            for (int i = 1; i < 5; ++i)
                Click(dlg, QStringLiteral("cmdNext"));
            SetText(dlg, QStringLiteral("txtVSSUserName"), QString());
            mUi.answer(UiServices::Answer::Ok);
            Click(dlg, QStringLiteral("cmdFinished"));
            stepAfterFinish = wizard.CurrentStep();
            focusName = FocusName(dlg);
        });
        QVERIFY(!wizard.newProject());
        QCOMPARE(stepAfterFinish, 4);
        QCOMPARE(focusName, QStringLiteral("txtVSSUserName"));
        QCOMPARE(mUi.boxes.size(), 1);
        QCOMPARE(mUi.boxes.first().text, QStringLiteral("No Username specified!"));
        QCOMPARE(mUi.waitDepth, 0);
    }

    void newProjectFinishesAndIsStored_data()
    {
        AddKinds();
        for (const QString &k : Kinds())
            QTest::newRow(qPrintable(k)) << k;
    }

    void newProjectFinishesAndIsStored()
    {
        QFETCH(QString, kind);
        Server s(kind);
        frmProjectDetails wizard(*mDb, mUi, mHelp.get());
        wizard.MakeProject = [&] { return s.NewProject(mUi); };
        QStringList databases;
        WhenModal([&](QDialog &dlg) {
            FillValid(dlg, s, QStringLiteral("  Shop  "));
            Control<QCheckBox>(dlg, QStringLiteral("chkSQLStorePassword"))->setChecked(true);
            Click(dlg, QStringLiteral("cmdNext"));
            Click(dlg, QStringLiteral("cmdNext"));
            auto *list = Control<QComboBox>(dlg, QStringLiteral("cboSQLDatabase"));
            for (int i = 0; i < list->count(); ++i)
                databases << list->itemText(i);
            Click(dlg, QStringLiteral("cmdNext"));
            Click(dlg, QStringLiteral("cmdNext"));
            Click(dlg, QStringLiteral("cmdNext"));
            Click(dlg, QStringLiteral("cmdFinished"));
        });
        const KORVOProjectPtr p = wizard.newProject();
        QVERIFY(p);
        QCOMPARE(mUi.boxes.size(), 0);
        // The list came from the server, and the typed database stayed selected.
        QVERIFY2(databases.contains(s.database), qPrintable(databases.join(',')));
        QCOMPARE(p->Sequence, -1L);
        QCOMPARE(p->Name, QStringLiteral("Shop"));
        QCOMPARE(p->SQL()->Kind().Name(), kind);
        QCOMPARE(p->SQL()->Server(), s.server);
        QCOMPARE(p->SQL()->Database(), s.database);
        QCOMPARE(p->SQL()->UserName(), s.user);
        QCOMPARE(p->SQL()->Password(), s.password);
        QVERIFY(p->SQL()->StorePassword());
        QCOMPARE(p->VSS()->IniFile, mRepo->Url());
        QCOMPARE(p->VSS()->Project, QStringLiteral("$\\Shop\\"));
        QCOMPARE(p->VSS()->GeneralWorkingFolder(), mWorkingFolder);
        mDb->SaveProject(p);
        QSettings store(mFile, QSettings::IniFormat);
        QCOMPARE(store.value(QStringLiteral("1/PrjName")).toString(), QStringLiteral("Shop"));
        QCOMPARE(store.value(QStringLiteral("1/ServerKind")).toString(), kind);
    }

    void serverAwayIsAQuestion_data()
    {
        AddKinds();
        for (const QString &k : Kinds())
            QTest::newRow(qPrintable(k)) << k;
    }

    // The user may finish a project whose server is away; No keeps the step.
    void serverAwayIsAQuestion()
    {
        QFETCH(QString, kind);
        Server s(kind);
        if (s.scripted)
            s.scripted->stop();
        else
            s.server = mDir->filePath(QStringLiteral("no-server-here"));
        frmProjectDetails wizard(*mDb, mUi, mHelp.get());
        wizard.MakeProject = [&] { return s.NewProject(mUi); };
        int afterNo = 0, afterYes = 0;
        bool errorShown = false;
        WhenModal([&](QDialog &dlg) {
            FillValid(dlg, s);
            Click(dlg, QStringLiteral("cmdNext"));
            Click(dlg, QStringLiteral("cmdNext")); // the list fails quietly
            errorShown = Control<QLabel>(dlg, QStringLiteral("lblSQLServerErrorLabel"))->isVisible()
                && !Control<QLabel>(dlg, QStringLiteral("lblSQLServerError"))->text().isEmpty();
            mUi.answer(UiServices::Answer::No);
            Click(dlg, QStringLiteral("cmdNext"));
            afterNo = wizard.CurrentStep();
            mUi.answer(UiServices::Answer::Yes);
            Click(dlg, QStringLiteral("cmdNext"));
            afterYes = wizard.CurrentStep();
            Click(dlg, QStringLiteral("cmdNext"));
            mUi.answer(UiServices::Answer::Yes); // asked again while finishing
            Click(dlg, QStringLiteral("cmdFinished"));
        });
        const KORVOProjectPtr p = wizard.newProject();
        QVERIFY(errorShown);
        QCOMPARE(afterNo, 3);
        QCOMPARE(afterYes, 4);
        QVERIFY(p);
        QCOMPARE(p->SQL()->Server(), s.server);
        QCOMPARE(mUi.boxes.size(), 3);
        for (const auto &box : mUi.boxes) {
            QCOMPARE(box.title, QStringLiteral("Invalid Data"));
            QCOMPARE(int(box.buttons), int(UiServices::Buttons::YesNo));
            QVERIFY2(
                box.text.startsWith(QStringLiteral("Could not connect to the specified database. Would you like to "
                                                   "continue anyway?\nThe following error occured:\n")),
                qPrintable(box.text));
            QVERIFY(box.text.size() > 120); // the server's own words follow
        }
    }

    void missingPasswordsAreAskedFor()
    {
        Server s(QStringLiteral("PostgreSQL"));
        frmProjectDetails wizard(*mDb, mUi, mHelp.get());
        wizard.MakeProject = [&] { return s.NewProject(mUi); };
        QString sqlPassword, vssPassword;
        WhenModal([&](QDialog &dlg) {
            FillValid(dlg, s);
            SetText(dlg, QStringLiteral("txtSQLPassword"), QString());
            SetText(dlg, QStringLiteral("txtVSSPassword"), QString());
            Click(dlg, QStringLiteral("cmdNext"));
            Click(dlg, QStringLiteral("cmdNext"));
            mUi.password(true, s.user, s.password);
            Click(dlg, QStringLiteral("cmdNext"));
            sqlPassword = Control<QLineEdit>(dlg, QStringLiteral("txtSQLPassword"))->text();
            mUi.password(false);
            mUi.answer(UiServices::Answer::Yes);
            Click(dlg, QStringLiteral("cmdNext"));
            vssPassword = Control<QLineEdit>(dlg, QStringLiteral("txtVSSPassword"))->text();
        });
        QVERIFY(!wizard.newProject());
        QCOMPARE(sqlPassword, s.password);
        QCOMPARE(vssPassword, QString());
        QCOMPARE(mUi.prompts.size(), 2);
        QCOMPARE(mUi.prompts.at(0).kind, QStringLiteral("SQL"));
        QCOMPARE(mUi.prompts.at(0).database, s.database);
        QCOMPARE(mUi.prompts.at(1).kind, QStringLiteral("VSS"));
        QCOMPARE(mUi.boxes.size(), 1);
        QCOMPARE(mUi.boxes.first().text,
            QStringLiteral("Could not connect to the specified project. Would you like to "
                           "continue anyway?\nThe following error occured:\n"
                           "Password was not entered!"));
    }

    void windowsAuthentication()
    {
        Server s(QStringLiteral("PostgreSQL"));
        frmProjectDetails wizard(*mDb, mUi, mHelp.get());
        wizard.MakeProject = [&] { return s.NewProject(mUi); };
        QStringList states;
        WhenModal([&](QDialog &dlg) {
            FillValid(dlg, s);
            auto *user = Control<QLineEdit>(dlg, QStringLiteral("txtSQLUsername"));
            auto *pwd = Control<QLineEdit>(dlg, QStringLiteral("txtSQLPassword"));
            auto *store = Control<QCheckBox>(dlg, QStringLiteral("chkSQLStorePassword"));
            auto *label = Control<QLabel>(dlg, QStringLiteral("lblSQLUsername"));
            auto state = [&] {
                states << QStringLiteral("%1|%2|%3|%4|%5")
                              .arg(user->text(), pwd->text())
                              .arg(user->isEnabled())
                              .arg(store->isEnabled())
                              .arg(label->isEnabled());
            };
            store->setChecked(true);
            Control<QCheckBox>(dlg, QStringLiteral("chkUseWindowsAuth"))->click();
            state();
            Control<QCheckBox>(dlg, QStringLiteral("chkUseWindowsAuth"))->click();
            state();
            Control<QCheckBox>(dlg, QStringLiteral("chkUseWindowsAuth"))->click();
            for (int i = 1; i < 5; ++i)
                Click(dlg, QStringLiteral("cmdNext"));
            Click(dlg, QStringLiteral("cmdFinished"));
        });
        const KORVOProjectPtr p = wizard.newProject();
        QCOMPARE(states, (QStringList { "(Windows authentication)||0|0|0", "||1|1|1" }));
        // The operating-system login reaches the test cluster, so no question came.
        QCOMPARE(mUi.boxes.size(), 0);
        QVERIFY(p);
        QVERIFY(p->SQL()->UseWinNTAuth());
        QCOMPARE(p->SQL()->StoredUserName(), QString());
        QCOMPARE(p->SQL()->Password(), QString());
        QVERIFY(!p->SQL()->StorePassword());
    }

    void pickersAndTheirTitles()
    {
        frmProjectDetails wizard(*mDb, mUi, mHelp.get());
        const QString ini = mDir->filePath(QStringLiteral("srcsafe.ini"));
        QString folder, iniFile;
        WhenModal([&](QDialog &dlg) {
            mUi.pick(mWorkingFolder);
            Click(dlg, QStringLiteral("cmdWFBrowse"));
            folder = Control<QLineEdit>(dlg, QStringLiteral("txtWorkingFolder"))->text();
            mUi.pick(QString()); // cancelled: the field stays
            Click(dlg, QStringLiteral("cmdWFBrowse"));
            mUi.pick(ini);
            Click(dlg, QStringLiteral("cmdVSSIniFile"));
            iniFile = Control<QLineEdit>(dlg, QStringLiteral("txtVSSIniFile"))->text();
        });
        wizard.newProject();
        QCOMPARE(folder, mWorkingFolder);
        QCOMPARE(iniFile, ini);
        QCOMPARE(mUi.pickerTitles,
            (QStringList { "Select the Working Folder (the filename will be ignored)",
                "Select the Working Folder (the filename will be ignored)",
                "Select the Microsoft Visual SourceSafe Database File (srcsafe.ini)" }));
    }

    void editKeepsItsNameButNotACaseChange()
    {
        Server s(QStringLiteral("PostgreSQL"));
        auto alpha = s.NewProject(mUi);
        alpha->Name = QStringLiteral("Alpha");
        alpha->SQL()->SetServer(s.server);
        mDb->SaveProject(alpha);
        auto project = mDb->FindProjectByID(1);
        frmProjectDetails wizard(*mDb, mUi, mHelp.get());
        int stepKept = 0, stepCase = 0;
        QString filledName, filledServer;
        WhenModal([&](QDialog &dlg) {
            filledName = Control<QLineEdit>(dlg, QStringLiteral("txtProjectName"))->text();
            filledServer = Control<QComboBox>(dlg, QStringLiteral("cboSQLServer"))->currentText();
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
        QCOMPARE(wizard.windowTitle(), QStringLiteral("Project Wizard - Project Details"));
        QCOMPARE(filledName, QStringLiteral("Alpha"));
        QCOMPARE(filledServer, s.server);
        QCOMPARE(stepKept, 2);
        QCOMPARE(stepCase, 1);
        QCOMPARE(mUi.boxes.size(), 1);
        QCOMPARE(mUi.boxes.first().text, QStringLiteral("The specified Project Name already exists!"));
        // Cancelled: the project is as it was.
        QCOMPARE(project->Name, QStringLiteral("Alpha"));
    }

    // --- The project browser ------------------------------------------------

    void browserCancelLeavesTheStore()
    {
        mDb->SaveProject([&] {
            auto p = std::make_shared<KORVOProject>(mUi);
            p->Name = QStringLiteral("Kept");
            return p;
        }());
        const QByteArray before = StoreBytes();
        frmProjectBrowser browser(mDb, mUi, *mHelp);
        browser.ProjectBrowser(nullptr, false);
        auto *list = Control<QTreeWidget>(browser, QStringLiteral("lvwProjects"));
        QCOMPARE(list->topLevelItemCount(), 1);
        WhenModal([&](QDialog &dlg) {
            SetText(dlg, QStringLiteral("txtProjectName"), QStringLiteral("Something new"));
            Click(dlg, QStringLiteral("cmdCancel"));
        });
        Click(browser, QStringLiteral("cmdNew"));
        list->setCurrentItem(list->topLevelItem(0));
        WhenModal([&](QDialog &dlg) {
            SetText(dlg, QStringLiteral("txtProjectName"), QStringLiteral("Renamed"));
            Click(dlg, QStringLiteral("cmdCancel"));
        });
        Click(browser, QStringLiteral("cmdEdit"));
        QCOMPARE(StoreBytes(), before);
        QCOMPARE(list->topLevelItem(0)->text(0), QStringLiteral("Kept"));
        QCOMPARE(mUi.waitDepth, 0);
        browser.close();
    }

    void browserListAndRemove()
    {
        for (const char *n : { "P1", "P2", "P3" }) {
            auto p = std::make_shared<KORVOProject>(mUi);
            p->Name = QString::fromLatin1(n);
            p->SQL()->SetServer(QStringLiteral("srv-") + p->Name);
            p->SQL()->SetDatabase(QStringLiteral("db-") + p->Name);
            p->VSS()->IniFile = QStringLiteral("/ini/") + p->Name;
            mDb->SaveProject(p);
        }
        frmProjectBrowser browser(mDb, mUi, *mHelp);
        QCOMPARE(browser.windowTitle(), QStringLiteral("Project Browser"));
        browser.ProjectBrowser(nullptr, false);
        auto *list = Control<QTreeWidget>(browser, QStringLiteral("lvwProjects"));
        QCOMPARE(list->headerItem()->text(3), QStringLiteral("VSS Ini File"));
        QCOMPARE(list->topLevelItemCount(), 3);
        const QTreeWidgetItem *row = list->topLevelItem(1);
        QCOMPARE((QStringList { row->text(0), row->text(1), row->text(2), row->text(3) }),
            (QStringList { "P2", "srv-P2", "db-P2", "/ini/P2" }));

        list->setCurrentItem(list->topLevelItem(1));
        mUi.answer(UiServices::Answer::No);
        Click(browser, QStringLiteral("cmdRemove"));
        QCOMPARE(list->topLevelItemCount(), 3);
        mUi.answer(UiServices::Answer::Yes);
        Click(browser, QStringLiteral("cmdRemove"));
        QCOMPARE(mUi.boxes.size(), 2);
        QCOMPARE(mUi.boxes.last().title, QStringLiteral("Remove Project"));
        QCOMPARE(mUi.boxes.last().text, QStringLiteral("Are you sure you want to the project 'P2'?"));
        QCOMPARE(list->topLevelItemCount(), 2);
        QCOMPARE(list->topLevelItem(1)->text(0), QStringLiteral("P3"));
        QSettings store(mFile, QSettings::IniFormat);
        QCOMPARE(store.value(QStringLiteral("2/PrjName")).toString(), QStringLiteral("P3"));
        QCOMPARE(store.value(QStringLiteral("2/LastServer")).toString(), QStringLiteral("srv-P3"));
        QVERIFY(!store.childGroups().contains(QStringLiteral("3")));

        // Without a selected row the buttons do nothing.
        list->clearSelection();
        Click(browser, QStringLiteral("cmdRemove"));
        Click(browser, QStringLiteral("cmdOpen"));
        QCOMPARE(mUi.boxes.size(), 2);
        browser.close();
    }

    void mostRecentTickWritesTheSetting()
    {
        frmProjectBrowser browser(mDb, mUi, *mHelp);
        browser.ProjectBrowser(nullptr, false);
        auto *chk = Control<QCheckBox>(browser, QStringLiteral("chkMostResent"));
        QVERIFY(!chk->isChecked());
        chk->click();
        QVERIFY(mDb->OpenMostRecent());
        QCOMPARE(QSettings(mFile, QSettings::IniFormat).value(QStringLiteral("ProjectToOpen")).toString(),
            QStringLiteral("1"));
        chk->click();
        QVERIFY(!mDb->OpenMostRecent());
        browser.close();
    }

    // Opening project 3 of 3 connects both sides and rotates the keys.
    void openingTheThirdProjectRotatesTheKeys()
    {
        Server s(QStringLiteral("PostgreSQL"));
        for (const char *n : { "P1", "P2", "P3" }) {
            auto p = s.NewProject(mUi);
            p->Name = QString::fromLatin1(n);
            p->SQL()->SetServer(s.server);
            p->SQL()->SetDatabase(s.database);
            p->SQL()->SetUserName(s.user);
            p->SQL()->SetPassword(s.password);
            p->SQL()->SetStorePassword(true);
            p->VSS()->IniFile = mRepo->Url();
            p->VSS()->UserName = QStringLiteral("anna");
            p->VSS()->StorePassword = true;
            p->VSS()->Project = QStringLiteral("$\\Shop\\");
            p->VSS()->SetGeneralWorkingFolder(mWorkingFolder);
            mDb->SaveProject(p);
        }
        frmProjectBrowser browser(mDb, mUi, *mHelp);
        bool ok = false;
        browser.OpenRecentProject(3, QString(), ok);
        QVERIFY(ok);
        QCOMPARE(mUi.boxes.size(), 0);
        QVERIFY(mDb->Project());
        QCOMPARE(mDb->Project()->Name, QStringLiteral("P3"));
        QVERIFY(mDb->Project()->SQL()->ConnectionOpen());
        QVERIFY(mDb->Project()->VSS()->ConnectionOpen());
        QSettings store(mFile, QSettings::IniFormat);
        QCOMPARE((QStringList { store.value("1/PrjName").toString(), store.value("2/PrjName").toString(),
                     store.value("3/PrjName").toString() }),
            (QStringList { "P3", "P1", "P2" }));

        // By name now; an unknown one is reported.
        browser.OpenRecentProject(-1, QStringLiteral("P2"), ok);
        QVERIFY(ok);
        QCOMPARE(mDb->Project()->Name, QStringLiteral("P2"));
        mUi.answer(UiServices::Answer::Ok);
        browser.OpenRecentProject(-1, QStringLiteral("Nope"), ok);
        QVERIFY(!ok);
        QCOMPARE(int(mUi.boxes.last().icon), int(UiServices::Icon::Critical));
        QCOMPARE(mUi.boxes.last().title, QStringLiteral("Unable to open project"));
        QCOMPARE(mUi.boxes.last().text, QStringLiteral("Project could not be found in the project list!"));
    }

    void openProjectBrowserReopensOnlyWhatChanged()
    {
        for (const char *n : { "Open", "Other" }) {
            auto p = std::make_shared<KORVOProject>(mUi);
            p->Name = QString::fromLatin1(n);
            p->SQL()->SetServer(QStringLiteral("srv"));
            mDb->SaveProject(p);
        }
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
        QCOMPARE(other->Name, QStringLiteral("Other"));
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
        QCOMPARE(clicked->Name, QStringLiteral("Other"));
        current->SQL()->SetServer(QStringLiteral("moved"));
        const auto changed = choose(0);
        QVERIFY(changed);
        QCOMPARE(changed->SQL()->Server(), QStringLiteral("srv"));
    }

    // --- Source-control project browser --------------------------------------

    void vssBrowserOpensAlongTheStartFolder()
    {
        KORVOVSS vss(mUi);
        QCOMPARE(vss.OpenConnection(
                     mRepo->Url(), QStringLiteral("anna"), QString(), QStringLiteral("$\\"), QString(), true, true),
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
        QCOMPARE(browser.GetFolder(vss, QStringLiteral("$\\A\\B")), QStringLiteral("$\\A\\B\\"));
        QCOMPARE(browser.windowTitle(), QStringLiteral("VSS Project Browser"));
        QCOMPARE(selected, QStringLiteral("$\\A\\B\\"));
        QCOMPARE(expanded, (QStringList { "$", "A", "B" }));
        QCOMPARE(rootChildren, (QStringList { "$\\A\\", "$\\Shop\\", "$\\X\\" }));
    }

    void vssBrowserMakesASubProject()
    {
        KORVOVSS vss(mUi);
        QCOMPARE(vss.OpenConnection(
                     mRepo->Url(), QStringLiteral("anna"), QString(), QStringLiteral("$\\"), QString(), true, true),
            QString());
        frmVSSProjectBrowser browser(mUi, mHelp.get());
        QString newName = QStringLiteral("New%1").arg(QDateTime::currentMSecsSinceEpoch());
        QString askTitle;
        WhenModal([&](QDialog &dlg) {
            auto *tree = Control<QTreeWidget>(dlg, QStringLiteral("tvwVSSProjects"));
            tree->clearSelection();
            tree->setCurrentItem(nullptr);
            mUi.answer(UiServices::Answer::Ok);
            Click(dlg, QStringLiteral("cmdOK")); // nothing selected
            mUi.answer(UiServices::Answer::Ok);
            Click(dlg, QStringLiteral("cmdNewProject"));
            tree->setCurrentItem(tree->topLevelItem(0)->child(0)); // A
            WhenModal([&](QDialog &ask) {
                askTitle = ask.objectName();
                SetText(ask, QStringLiteral("txtVSSProject"), QStringLiteral("  ") + newName + QStringLiteral(" "));
                Click(ask, QStringLiteral("cmdOK"));
            });
            Click(dlg, QStringLiteral("cmdNewProject"));
            Click(dlg, QStringLiteral("cmdOK"));
        });
        QCOMPARE(browser.GetFolder(vss, QStringLiteral("$\\")), QStringLiteral("$\\A\\") + newName + QLatin1Char('\\'));
        QCOMPARE(askTitle, QStringLiteral("frmVSSNewProject"));
        QCOMPARE(mUi.boxes.size(), 2);
        QCOMPARE(mUi.boxes.at(0).text, QStringLiteral("No Project selected!"));
        QCOMPARE(mUi.boxes.at(1).text, QStringLiteral("No Project selected!"));
        QVERIFY(vss.GetProjectSubFolders(QStringLiteral("$\\A\\")).contains(newName));
    }

    void newVSSProjectNeedsAName()
    {
        frmVSSNewProject ask(mUi, mHelp.get());
        QString focus;
        WhenModal([&](QDialog &dlg) {
            SetText(dlg, QStringLiteral("txtVSSProject"), QStringLiteral("   "));
            mUi.answer(UiServices::Answer::Ok);
            Click(dlg, QStringLiteral("cmdOK"));
            focus = FocusName(dlg);
            Click(dlg, QStringLiteral("cmdCancel"));
        });
        QCOMPARE(ask.NewVSSProjectName(), QString());
        QCOMPARE(focus, QStringLiteral("txtVSSProject"));
        QCOMPARE(mUi.boxes.size(), 1);
        QCOMPARE(int(mUi.boxes.first().icon), int(UiServices::Icon::None));
        QCOMPARE(mUi.boxes.first().text, QStringLiteral("No Project Name specified!"));
    }
};

QTEST_MAIN(TestProjectDialogs)
#include "test_projectdialogs.moc"
