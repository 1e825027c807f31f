#include "HelpIntegration.h"
#include "ScriptedUi.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

class TestHelp : public QObject
{
    Q_OBJECT

private:
    // The manual as it is installed beside the program.
    static QString SourceHelpFolder() { return QFileInfo(QFINDTESTDATA("../../help/index.html")).absolutePath(); }

private Q_SLOTS:
    // A topic's page, and the page with its anchor opened by ShowHelp; topics
    // outside the table open the start page.
    void topicOpensItsPage_data()
    {
        QTest::addColumn<int>("topic");
        QTest::addColumn<QString>("page");
        QTest::newRow("0") << 0 << QString();
        QTest::newRow("1") << 1 << QStringLiteral("Introduction.htm");
        QTest::newRow("6") << 6 << QStringLiteral("GettingStarted_Step2.htm#ProjectDetails");
        QTest::newRow("27") << 27 << QStringLiteral("Options.htm#DefaultTexts");
        QTest::newRow("35") << 35 << QStringLiteral("TheEditor.htm");
        QTest::newRow("49") << 49 << QStringLiteral("ObjectMaint.htm#Rollback");
        QTest::newRow("67") << 67 << QStringLiteral("ScriptGenerator.htm#Destination");
        QTest::newRow("68") << 68 << QString();
        QTest::newRow("-1") << -1 << QString();
    }

    void topicOpensItsPage()
    {
        QFETCH(int, topic);
        QFETCH(QString, page);
        QCOMPARE(HelpIntegration::TopicPage(topic), page);
        ScriptedUi ui;
        QList<QUrl> opened;
        HelpIntegration help(ui, SourceHelpFolder(), [&](const QUrl &u) {
            opened << u;
            return true;
        });
        QVERIFY(!help.HelpWindowOpened());
        help.ShowHelp(this, topic);
        QCOMPARE(ui.boxes.size(), 0);
        QCOMPARE(opened.size(), 1);
        const QString file = page.isEmpty() ? QStringLiteral("index.html") : page.section(QLatin1Char('#'), 0, 0);
        QCOMPARE(opened[0].toLocalFile(), SourceHelpFolder() + "/" + file);
        QCOMPARE(opened[0].fragment(), page.section(QLatin1Char('#'), 1));
        QVERIFY(help.HelpWindowOpened());
    }

    // Every page the table names exists in the manual with its anchor.
    void manualHasEveryPageAndAnchor()
    {
        const QString folder = SourceHelpFolder();
        QVERIFY(QFile::exists(folder + QStringLiteral("/index.html")));
        for (int t = 1; t <= HelpIntegration::TopicCount; ++t) {
            const QString page = HelpIntegration::TopicPage(t);
            const QString file = page.section(QLatin1Char('#'), 0, 0);
            const QString anchor = page.section(QLatin1Char('#'), 1);
            QFile f(folder + QLatin1Char('/') + file);
            QVERIFY2(f.open(QIODevice::ReadOnly), qPrintable(file));
            const QString html = QString::fromUtf8(f.readAll());
            QVERIFY2(html.contains(QStringLiteral("<title>")), qPrintable(file));
            if (!anchor.isEmpty())
                QVERIFY2(html.contains(QStringLiteral("id=\"%1\"").arg(anchor)), qPrintable(page));
        }
    }

    void missingHelpFolderGivesMessageEachTime()
    {
        ScriptedUi ui;
        QTemporaryDir empty;
        int opened = 0;
        HelpIntegration help(ui, empty.filePath(QStringLiteral("help")), [&](const QUrl &) { return ++opened; });
        ui.answer(UiServices::Answer::Ok).answer(UiServices::Answer::Ok);
        help.ShowHelp(nullptr, 5);
        help.ShowHelp(nullptr, 0);
        QCOMPARE(opened, 0);
        QCOMPARE(ui.boxes.size(), 2);
        for (const auto &box : ui.boxes) {
            QCOMPARE(box.icon, UiServices::Icon::Warning);
            QCOMPARE(box.title, "No help available!");
            QCOMPARE(box.text, "The help file is could not be found!");
        }
        QVERIFY(!help.HelpWindowOpened());
    }
};

QTEST_GUILESS_MAIN(TestHelp)
#include "test_help.moc"
