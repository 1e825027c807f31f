// The road from the splash to an open project: the default project connected
// on both sides and opened, the browser after a failed connection, and the
// first-connection question once the main window shows.
#include "HelpIntegration.h"
#include "KORVODatabase.h"
#include "KORVOProject.h"
#include "KORVOProjects.h"
#include "KORVOSQL.h"
#include "KORVOVSS.h"
#include "PgTestServer.h"
#include "ScriptedUi.h"
#include "StubCollections.h"
#include "SvnFixtures.h"
#include "frmInitialize.h"
#include "frmProjectBrowser.h"
#include "mdiMain.h"

#include <QApplication>
#include <QDir>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

namespace
{

// Notes, for each box, whether a main window was on the screen when it came.
class ObservingUi : public ScriptedUi
{
public:
    QList<bool> mainVisible;
    Answer messageBox(Icon icon, const QString &title, const QString &text, Buttons buttons) override
    {
        bool visible = false;
        for (QWidget *w : QApplication::topLevelWidgets())
            visible = visible || (qobject_cast<mdiMain *>(w) && w->isVisible());
        mainVisible << visible;
        return ScriptedUi::messageBox(icon, title, text, buttons);
    }
};

} // namespace

class TestProjectStartup : public QObject
{
    Q_OBJECT

private:
    ObservingUi mUi;
    std::unique_ptr<QTemporaryDir> mDir;
    std::unique_ptr<HelpIntegration> mHelp;
    std::unique_ptr<SvnTestRepository> mRepo;
    std::unique_ptr<PgTestDatabase> mPg;
    QString mFile;

    std::shared_ptr<KORVODatabase> NewSession()
    {
        return std::make_shared<KORVODatabase>(
            mUi, std::make_shared<StubCollectionFactory>(), [] { return std::make_unique<mdiMain>(); }, mFile);
    }

    // Stores a PostgreSQL project with both passwords, as key 1, opened at start.
    void StoreDefaultProject(const QString &database)
    {
        auto session = NewSession();
        auto p = std::make_shared<KORVOProject>(mUi);
        p->Name = QStringLiteral("Shop");
        p->SQL()->SetKind(ServerKind::PostgreSQL());
        p->SQL()->SetServer(mPg->Server);
        p->SQL()->SetDatabase(database);
        p->SQL()->SetUserName(mPg->UserName);
        p->SQL()->SetPassword(mPg->Password);
        p->SQL()->SetStorePassword(true);
        p->VSS()->IniFile = mRepo->Url();
        p->VSS()->UserName = QStringLiteral("anna");
        p->VSS()->StorePassword = true;
        p->VSS()->Project = QStringLiteral("$\\Shop\\");
        p->VSS()->SetGeneralWorkingFolder(mRepo->Folder(QStringLiteral("work")));
        session->SaveProject(p);
        session->SetOpenMostRecent(true);
    }

    static void CloseAll()
    {
        for (QWidget *w : QApplication::topLevelWidgets())
            w->close();
    }

private Q_SLOTS:
    void initTestCase()
    {
        QApplication::setQuitOnLastWindowClosed(false);
        const QString root = qEnvironmentVariable("KORVO_TEST_TMP", QDir::tempPath());
        QDir().mkpath(root);
        mDir = std::make_unique<QTemporaryDir>(root + QStringLiteral("/projectstartup-XXXXXX"));
        QVERIFY(mDir->isValid());
        qputenv("KORVO_DATA_DIR", QFile::encodeName(mDir->filePath(QStringLiteral("data"))));
        QString why;
        if (!PgTestServer().available(&why))
            QSKIP(qPrintable(QStringLiteral("no PostgreSQL test cluster: ") + why));
        mPg = PgTestServer::freshDatabase(QStringLiteral("prjstart"));
        mHelp = std::make_unique<HelpIntegration>(mUi, mDir->path(), [](const QUrl &) { return true; });
    }

    void init()
    {
        mUi.clear();
        mUi.mainVisible.clear();
        mRepo = std::make_unique<SvnTestRepository>();
        QVERIFY(mRepo->MakeFolders({ QStringLiteral("Shop") }));
        mFile = mDir->filePath(QStringLiteral("settings-%1.ini").arg(QTest::currentTestFunction()));
        QFile::remove(mFile);
    }

    void cleanup()
    {
        CloseAll();
        QCOMPARE(mUi.pending(), 0);
    }

    void defaultProjectOpensAndAsksOnce()
    {
        StoreDefaultProject(mPg->Database);
        frmInitialize splash(
            mUi, *mHelp, [this] { return NewSession(); }, [](const QString &) { return true; });
        mUi.answer(UiServices::Answer::No);
        splash.StartKORVO();
        QVERIFY(QTest::qWaitFor([&] { return !splash.isVisible(); }, 10000));
        QVERIFY(!splash.ProjectBrowserWindow());
        const auto session = splash.Database();
        QVERIFY(session->Project());
        QCOMPARE(session->Project()->Name, "Shop");
        QVERIFY(session->Project()->Default);
        QVERIFY(session->Project()->SQL()->ConnectionOpen());
        QVERIFY(session->Project()->VSS()->ConnectionOpen());
        auto *main = dynamic_cast<mdiMain *>(session->MainWindow());
        QVERIFY(main);
        QVERIFY(main->isVisible());
        QCOMPARE(main->windowTitle(), "Shop - KORVO");

        // The question came once the window was on the screen, and No is shared.
        QCOMPARE(mUi.boxes.size(), 1);
        QCOMPARE(mUi.last().title + "|" + mUi.last().text,
            "Start Synchronization Process?|This is the first time anyone has connected to this project. Would you "
            "like to Synchronize?");
        QCOMPARE(mUi.last().buttons, UiServices::Buttons::YesNo);
        QCOMPARE(mUi.mainVisible, QList<bool> { true });
        QVERIFY(!session->Project()->IsFirstUserToConnect());
        const QString history
            = session->Project()->VSS()->ItemContent(QStringLiteral("SyncHistory"), false, -1, false, false);
        QVERIFY(history.startsWith(QStringLiteral("NoSyncWanted: ")));

        // The next opening, by anyone, asks nothing.
        main->CheckProjectSyncInfo();
        QCOMPARE(mUi.boxes.size(), 1);
    }

    void yesLeavesTheQuestionOpen()
    {
        StoreDefaultProject(mPg->Database);
        auto session = NewSession();
        auto project = session->GetDefaultProject();
        QVERIFY(project);
        QCOMPARE(project->SQL()->OpenConnection(), QString());
        QCOMPARE(project->VSS()->OpenConnection({}, {}, {}, {}, {}, false, false), QString());
        mUi.answer(UiServices::Answer::Yes);
        bool ok = false;
        session->OpenProject(project, ok);
        QVERIFY(ok);
        QCOMPARE(mUi.boxes.size(), 1);
        // The synchronisation records its own run; until then nothing is written.
        QVERIFY(project->IsFirstUserToConnect());
        QVERIFY(!project->VSS()->ItemExists(QStringLiteral("SyncHistory"), false));
    }

    void failedConnectionOpensTheBrowser()
    {
        StoreDefaultProject(QStringLiteral("no_such_database"));
        frmInitialize splash(
            mUi, *mHelp, [this] { return NewSession(); }, [](const QString &) { return true; });
        mUi.answer(UiServices::Answer::Ok); // the connector's own message
        splash.StartKORVO();
        QVERIFY(QTest::qWaitFor([&] { return !splash.isVisible(); }, 10000));
        QCOMPARE(mUi.boxes.size(), 1);
        QCOMPARE(mUi.last().title, "Connection Error");
        QVERIFY(!splash.Database()->MainWindow());
        frmProjectBrowser *browser = splash.ProjectBrowserWindow();
        QVERIFY(browser);
        QVERIFY(browser->isVisible());
        QCOMPARE(browser->Projects()->Count(), 1);
    }
};

QTEST_MAIN(TestProjectStartup)
#include "test_projectstartup.moc"
