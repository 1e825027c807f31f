#include "HelpIntegration.h"
#include "ScriptedUi.h"

#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

class TestHelp : public QObject
{
    Q_OBJECT

private:
    // The manual as it is installed beside the program.
    static QString SourceHelpFolder() { return QFileInfo(QFINDTESTDATA("../../help/index.html")).absolutePath(); }

private Q_SLOTS:
    // ShowHelp opens a topic's page with its anchor; topics outside the table
    // open the start page. (Every topic's page and anchor: test_manual.)
    void topicOpensItsPage_data()
    {
        QTest::addColumn<int>("topic");
        QTest::addColumn<QString>("page");
        QTest::newRow("0") << 0 << QString();
        QTest::newRow("1") << 1 << QStringLiteral("Introduction.htm");
        QTest::newRow("6") << 6 << QStringLiteral("GettingStarted_Step2.htm#ProjectDetails");
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
        QCOMPARE(ui.last().icon, UiServices::Icon::Warning);
        QVERIFY(!help.HelpWindowOpened());
    }
};

QTEST_GUILESS_MAIN(TestHelp)
#include "test_help.moc"
