#include "HelpIntegration.h"
#include "ScriptedUi.h"
#include "frmSystem.h"

#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QTest>
#include <QTimer>
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

const auto NothingPresent = [](const QString &) { return false; };

} // namespace

class TestFrmSystem : public QObject
{
    Q_OBJECT

private:
    ScriptedUi mUi;
    QList<QUrl> mOpened;
    std::unique_ptr<HelpIntegration> mHelp;

private Q_SLOTS:
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

    void allPresentShowsNothing()
    {
        frmSystem dialog(mUi, *mHelp, [](const QString &) { return true; });
        int shows = 0;
        QObject::connect(&dialog, &QDialog::finished, [&] { ++shows; });
        QVERIFY(dialog.SystemRequirementsOK());
        QCOMPARE(shows, 0);
        QVERIFY(!dialog.isVisible());
        QCOMPARE(dialog.MissingComponentCount(), 0);
        QCOMPARE(mUi.boxes.size(), 0);
    }

    void textsColumnsAndRows()
    {
        frmSystem dialog(mUi, *mHelp, NothingPresent);
        const bool ok = RunCheck(dialog, [&] {
            QCOMPARE(dialog.windowTitle(), QStringLiteral("System Requirements not met!"));
            QCOMPARE(dialog.findChild<QLabel *>(QStringLiteral("lblError"))->text(),
                QStringLiteral("Your system does not meet all the requirements! Please ensure that you have "
                               "the required components installed before using KORVO."));
            QCOMPARE(dialog.findChild<QPushButton *>(QStringLiteral("cmdContinue"))->text(),
                QStringLiteral("Continue Anyway"));
            QCOMPARE(
                dialog.findChild<QPushButton *>(QStringLiteral("cmdClose"))->text(), QStringLiteral("Close KORVO"));

            auto *list = dialog.findChild<QTreeWidget *>(QStringLiteral("lvwError"));
            QVERIFY(list);
            QCOMPARE(list->selectionBehavior(), QAbstractItemView::SelectRows);
            const QTreeWidgetItem *header = list->headerItem();
            QCOMPARE(header->text(0), QStringLiteral("Missing Component"));
            QCOMPARE(header->text(1), QStringLiteral("Min Version Required"));
            QCOMPARE(header->text(2), QStringLiteral("URL"));
            // Twips at the screen's dpi: 1440 to the inch.
            const double dpi = dialog.logicalDpiX();
            QCOMPARE(list->columnWidth(0), qRound(1830 * dpi / 1440));
            QCOMPARE(list->columnWidth(1), qRound(1800 * dpi / 1440));
            QCOMPARE(list->columnWidth(2), qRound(3820 * dpi / 1440));

            QCOMPARE(list->topLevelItemCount(), 3);
            const QStringList names = { "Visual SourceSafe", "ADO", "XML Parser" };
            const QStringList versions = { "6.0", "2.5", "3.0" };
            for (int i = 0; i < 3; ++i) {
                QCOMPARE(list->topLevelItem(i)->text(0), names[i]);
                QCOMPARE(list->topLevelItem(i)->text(1), versions[i]);
                QVERIFY(list->topLevelItem(i)->text(2).startsWith(QStringLiteral("https://")));
            }
            QTest::mouseClick(dialog.findChild<QPushButton *>(QStringLiteral("cmdClose")), Qt::LeftButton);
        });
        QVERIFY(!ok);
        QCOMPARE(mUi.boxes.size(), 0); // closing asks nothing
        QCOMPARE(dialog.MissingComponentCount(), 3);
    }

    void continueAnywayAsksFirst()
    {
        frmSystem dialog(mUi, *mHelp, NothingPresent);
        auto *cont = dialog.findChild<QPushButton *>(QStringLiteral("cmdContinue"));
        const bool ok = RunCheck(dialog, [&] {
            mUi.answer(UiServices::Answer::No);
            QTest::mouseClick(cont, Qt::LeftButton);
            QVERIFY(dialog.isVisible()); // No keeps the dialog
            mUi.answer(UiServices::Answer::Yes);
            QTest::mouseClick(cont, Qt::LeftButton);
            QVERIFY(!dialog.isVisible());
        });
        QVERIFY(ok);
        QCOMPARE(mUi.boxes.size(), 2);
        for (const auto &box : mUi.boxes) {
            QCOMPARE(box.icon, UiServices::Icon::Warning);
            QCOMPARE(box.buttons, UiServices::Buttons::YesNo);
            QCOMPARE(box.title, QStringLiteral("Continue Anyway?"));
            QCOMPARE(box.text,
                QStringLiteral("WARNING: If you continue, KORVO may crash at any time!\n\n"
                               "Are you sure you wish to continue?"));
        }
    }

    void secondRunStartsAfresh()
    {
        // Only the XML parser is missing the second time.
        bool first = true;
        frmSystem dialog(
            mUi, *mHelp, [&](const QString &name) { return !first && !name.startsWith(QLatin1String("MSXML2")); });
        QVERIFY(!RunCheck(dialog, [] {}));
        first = false;
        QVERIFY(!RunCheck(dialog,
            [&] { QCOMPARE(dialog.findChild<QTreeWidget *>(QStringLiteral("lvwError"))->topLevelItemCount(), 1); }));
        QCOMPARE(dialog.MissingComponentCount(), 1);
    }

    void clickOnRowOpensItsAddressAndF1OpensHelp()
    {
        QList<QUrl> urls;
        frmSystem dialog(mUi, *mHelp, NothingPresent, [&](const QUrl &u) {
            urls << u;
            return true;
        });
        RunCheck(dialog, [&] {
            auto *list = dialog.findChild<QTreeWidget *>(QStringLiteral("lvwError"));
            const QRect r = list->visualItemRect(list->topLevelItem(1));
            QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, r.center());
            QCOMPARE(urls, QList<QUrl> { QUrl(list->topLevelItem(1)->text(2)) });

            QTest::keyClick(&dialog, Qt::Key_F1);
            QCOMPARE(mOpened.size(), 1);
            QVERIFY(mOpened[0].toLocalFile().endsWith(QStringLiteral("/GettingStarted_Firstly.htm")));
        });
    }
};

QTEST_MAIN(TestFrmSystem)
#include "test_frmsystem.moc"
