// The start: the splash with its steps, and the system requirements dialog it shows.
#include "HelpIntegration.h"
#include "KORVODatabase.h"
#include "KORVOObjectFactory.h"
#include "KORVOProjects.h"
#include "OffscreenDialogs.h"
#include "frmInitialize.h"
#include "frmProjectBrowser.h"
#include "frmSystem.h"

#include <QDir>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTreeWidget>

namespace
{

// Runs the check with the dialog driven by `drive` once it is up; whatever the
// test does, the dialog is closed in the end so that the check returns.
bool RunCheck(frmSystem &dialog, const std::function<void()> &drive)
{
    QTimer::singleShot(0, &dialog, [&] {
        QVERIFY(dialog.isVisible());
        drive();
        if (dialog.isVisible())
            dialog.reject();
    });
    return dialog.SystemRequirementsOK();
}

} // namespace

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
        splash.StartKORVO();
        QVERIFY(splash.isVisible());
        QVERIFY(tmr->isActive());

        QTest::keyClick(&splash, Qt::Key_F1);
        QCOMPARE(mOpened.size(), 1);
        QVERIFY(mOpened[0].toLocalFile().endsWith(QStringLiteral("/Introduction.htm")));
        QVERIFY(TickDone(splash));
        delete splash.ProjectBrowserWindow();
    }

    // One tick runs the steps: a missing component closed ends the start, else
    // the browser opens for want of a default project.
    void startRunsItsStepsInOneTick_data()
    {
        QTest::addColumn<bool>("present");
        QTest::newRow("requirements missing") << false;
        QTest::newRow("no default project") << true;
    }
    void startRunsItsStepsInOneTick()
    {
        QFETCH(bool, present);
        frmInitialize splash(mUi, *mHelp, Sessions(), [present](const QString &) { return present; });
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
        QCOMPARE(dialogSeen, !present);
        QCOMPARE(mUi.boxes.size(), 0);
        QStringList expected { "Initializing KORVO Database ...", "Initializing KORVO Projects ...",
            "Checking System Requirements ..." };
        frmProjectBrowser *browser = splash.ProjectBrowserWindow();
        if (!present) {
            QCOMPARE(Texts(steps), expected);
            QVERIFY(!browser);
            return;
        }
        QTest::qWait(250); // one tick only
        QCOMPARE(Texts(steps),
            expected << "Finding Most Recent KORVO Project ..."
                     << "Finding KORVO Projects ..."
                     << "Initializing Project Browser ...");
        QVERIFY(browser && browser->isVisible() && !browser->isModal());
        QVERIFY(splash.Database());
        QCOMPARE(browser->Projects(), splash.Projects());
        QCOMPARE(splash.Projects()->Count(), 0);
        browser->close();
        QTRY_VERIFY(!splash.ProjectBrowserWindow()); // deleted on close
    }

    // --- The system requirements dialog ---

    // Three checks with one dialog, the list afresh each time. Everything
    // missing: a row opens its address, F1 the help, Close asks nothing. One
    // missing: Continue Anyway asks first, No keeps the dialog. Nothing missing:
    // no dialog.
    void requirementsDialogOverThreeChecks()
    {
        int run = 0;
        QList<QUrl> urls;
        frmSystem dialog(
            mUi, *mHelp,
            [&](const QString &name) { return run == 2 || (run == 1 && !name.startsWith(QLatin1String("MSXML2"))); },
            [&](const QUrl &u) {
                urls << u;
                return true;
            });
        auto *list = Control<QTreeWidget>(dialog, QStringLiteral("lvwError"));
        QStringList rows;
        const auto readRows = [&] {
            rows.clear();
            for (int i = 0; i < list->topLevelItemCount(); ++i)
                rows << list->topLevelItem(i)->text(0) + " " + list->topLevelItem(i)->text(1);
        };
        QVERIFY(!RunCheck(dialog, [&] {
            readRows();
            const QPoint row = list->visualItemRect(list->topLevelItem(1)).center();
            QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, row);
            QCOMPARE(urls, QList<QUrl> { QUrl(list->topLevelItem(1)->text(2)) });
            QTest::keyClick(&dialog, Qt::Key_F1);
            QTest::mouseClick(Control<QPushButton>(dialog, QStringLiteral("cmdClose")), Qt::LeftButton);
        }));
        QCOMPARE(rows, (QStringList { "Visual SourceSafe 6.0", "ADO 2.5", "XML Parser 3.0" }));
        QCOMPARE(mOpened.size(), 1);
        QVERIFY(mOpened[0].toLocalFile().endsWith(QStringLiteral("/GettingStarted_Firstly.htm")));
        QCOMPARE(mUi.boxes.size(), 0);

        run = 1;
        auto *cont = Control<QPushButton>(dialog, QStringLiteral("cmdContinue"));
        bool openAfterNo = false;
        QVERIFY(RunCheck(dialog, [&] {
            readRows();
            mUi.answer(UiServices::Answer::No);
            QTest::mouseClick(cont, Qt::LeftButton);
            openAfterNo = dialog.isVisible();
            mUi.answer(UiServices::Answer::Yes);
            QTest::mouseClick(cont, Qt::LeftButton);
        }));
        QCOMPARE(rows, QStringList { "XML Parser 3.0" });
        QVERIFY(openAfterNo);
        QCOMPARE(dialog.MissingComponentCount(), 1);
        QCOMPARE(Boxes(mUi),
            QStringList(2,
                "warning|Continue Anyway?|WARNING: If you continue, KORVO may crash at any time!\n\nAre you sure you "
                "wish to continue?"));
        QCOMPARE(mUi.last().buttons, UiServices::Buttons::YesNo);

        run = 2;
        int shows = 0;
        QObject::connect(&dialog, &QDialog::finished, [&] { ++shows; });
        QVERIFY(dialog.SystemRequirementsOK());
        QCOMPARE(shows, 0);
        QCOMPARE(dialog.MissingComponentCount(), 0);
    }
};

QTEST_MAIN(TestFrmInitialize)
#include "test_frminitialize.moc"
