#include "HelpIntegration.h"
#include "KORVODatabase.h"
#include "KORVOObjectFactory.h"
#include "KORVOProjects.h"
#include "OffscreenDialogs.h"
#include "frmInitialize.h"
#include "frmProjectBrowser.h"
#include "frmSystem.h"

#include <QDir>
#include <QElapsedTimer>
#include <QLabel>
#include <QSignalSpy>
#include <QTemporaryDir>

class TestFrmInitialize : public QObject
{
    Q_OBJECT

private:
    ScriptedUi mUi;
    std::unique_ptr<QTemporaryDir> mDir;
    std::unique_ptr<HelpIntegration> mHelp;
    QList<QUrl> mOpened;

    frmInitialize::SessionFactory Sessions()
    {
        const QString file = mDir->filePath(QStringLiteral("settings.ini"));
        return [this, file] {
            return std::make_shared<KORVODatabase>(mUi, std::make_shared<KORVOObjectFactory>(), nullptr, file);
        };
    }

    // Waits for the tick to finish: the splash closes on every path out of it.
    static bool TickDone(frmInitialize &splash)
    {
        return QTest::qWaitFor([&] { return !splash.isVisible(); }, 5000);
    }
    static QStringList Texts(const QSignalSpy &steps)
    {
        QStringList texts;
        for (const auto &s : steps)
            texts << s.at(0).toString();
        return texts;
    }
    static QString Label(QWidget &w, const char *name) { return Control<QLabel>(w, QLatin1String(name))->text(); }

private Q_SLOTS:
    void initTestCase()
    {
        const QString root = qEnvironmentVariable("KORVO_TEST_TMP", QDir::tempPath());
        QDir().mkpath(root);
        mDir = std::make_unique<QTemporaryDir>(root + QStringLiteral("/initialize-XXXXXX"));
        QVERIFY(mDir->isValid());
        qputenv("KORVO_DATA_DIR", QFile::encodeName(mDir->filePath(QStringLiteral("data"))));
        // A closing splash must not end the test program.
        QApplication::setQuitOnLastWindowClosed(false);
    }

    void init()
    {
        mUi.clear();
        mOpened.clear();
        mHelp = std::make_unique<HelpIntegration>(
            mUi, QFileInfo(QFINDTESTDATA("../../help/index.html")).absolutePath(), [this](const QUrl &u) {
                mOpened << u;
                return true;
            });
    }

    void startShowsSplashAndArmsTimer()
    {
        frmInitialize splash(mUi, *mHelp, Sessions(), [](const QString &) { return true; });
        auto *tmr = Control<QTimer>(splash, QStringLiteral("tmr"));
        QVERIFY(!tmr->isActive()); // disabled until started
        QCOMPARE(tmr->interval(), 100);
        QVERIFY(tmr->isSingleShot());

        Control<QLabel>(splash, QStringLiteral("lblStatus"))->setText(QStringLiteral("old"));
        splash.StartKORVO();
        QVERIFY(splash.isVisible());
        QVERIFY(tmr->isActive());
        QCOMPARE(splash.windowTitle(), "KORVO - Initializing");
        QCOMPARE(Label(splash, "lblStatus"), QString());
        QCOMPARE(Label(splash, "lblVersion"), "Version: 1.0");

        QTest::keyClick(&splash, Qt::Key_F1);
        QCOMPARE(mOpened.size(), 1);
        QVERIFY(mOpened[0].toLocalFile().endsWith(QStringLiteral("/Introduction.htm")));
        QVERIFY(TickDone(splash));
        delete splash.ProjectBrowserWindow();
    }

    void showStatusPausesATenth()
    {
        frmInitialize splash(mUi, *mHelp, Sessions());
        QElapsedTimer t;
        t.start();
        splash.ShowStatus(QStringLiteral("Working"));
        QVERIFY(t.elapsed() >= 100);
        QCOMPARE(Label(splash, "lblStatus"), "Working ...");
    }

    void missingComponentAndCloseEndsEverything()
    {
        frmInitialize splash(mUi, *mHelp, Sessions(), [](const QString &) { return false; });
        QSignalSpy steps(&splash, &frmInitialize::statusShown);
        bool dialogSeen = false;
        // The requirements dialog runs modally inside the tick.
        QTimer poll;
        QObject::connect(&poll, &QTimer::timeout, [&] {
            if (auto *dialog = qobject_cast<frmSystem *>(QApplication::activeModalWidget())) {
                dialogSeen = true;
                Click(*dialog, QStringLiteral("cmdClose"));
            }
        });
        poll.start(20);
        splash.StartKORVO();
        QVERIFY(TickDone(splash));
        QVERIFY(dialogSeen);
        QCOMPARE(Texts(steps),
            (QStringList { "Initializing KORVO Database ...", "Initializing KORVO Projects ...",
                "Checking System Requirements ..." }));
        QVERIFY(!splash.ProjectBrowserWindow());
        QCOMPARE(mUi.boxes.size(), 0);
    }

    void noDefaultProjectOpensTheBrowser()
    {
        frmInitialize splash(mUi, *mHelp, Sessions(), [](const QString &) { return true; });
        QSignalSpy steps(&splash, &frmInitialize::statusShown);
        splash.StartKORVO();
        QVERIFY(TickDone(splash));
        QCOMPARE(Texts(steps),
            (QStringList { "Initializing KORVO Database ...", "Initializing KORVO Projects ...",
                "Checking System Requirements ...", "Finding Most Recent KORVO Project ...",
                "Finding KORVO Projects ...", "Initializing Project Browser ..." }));
        QVERIFY(splash.Database());
        QVERIFY(splash.Projects());
        QCOMPARE(splash.Projects()->Count(), 0);
        frmProjectBrowser *browser = splash.ProjectBrowserWindow();
        QVERIFY(browser);
        QVERIFY(browser->isVisible());
        QVERIFY(!browser->isModal());
        QCOMPARE(browser->windowTitle(), "Project Browser");
        QCOMPARE(browser->Projects(), splash.Projects());
        // One tick only.
        QTest::qWait(250);
        QCOMPARE(steps.size(), 6);
        browser->close();
        QTRY_VERIFY(!splash.ProjectBrowserWindow()); // deleted on close
    }
};

QTEST_MAIN(TestFrmInitialize)
#include "test_frminitialize.moc"
