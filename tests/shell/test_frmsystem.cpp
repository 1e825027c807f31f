#include "HelpIntegration.h"
#include "OffscreenDialogs.h"
#include "frmSystem.h"

#include <QLabel>
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
            QCOMPARE(dialog.windowTitle(), "System Requirements not met!");
            QCOMPARE(Control<QLabel>(dialog, QStringLiteral("lblError"))->text(),
                "Your system does not meet all the requirements! Please ensure that you have the required components "
                "installed before using KORVO.");
            QCOMPARE(Control<QPushButton>(dialog, QStringLiteral("cmdContinue"))->text(), "Continue Anyway");
            QCOMPARE(Control<QPushButton>(dialog, QStringLiteral("cmdClose"))->text(), "Close KORVO");

            auto *list = Control<QTreeWidget>(dialog, QStringLiteral("lvwError"));
            QCOMPARE(list->selectionBehavior(), QAbstractItemView::SelectRows);
            // Widths in twips at the screen's dpi: 1440 to the inch.
            const int twips[] = { 1830, 1800, 3820 };
            QStringList header, rows;
            for (int c = 0; c < 3; ++c) {
                header << list->headerItem()->text(c);
                QCOMPARE(list->columnWidth(c), qRound(twips[c] * dialog.logicalDpiX() / 1440.0));
            }
            QCOMPARE(header, (QStringList { "Missing Component", "Min Version Required", "URL" }));
            for (int i = 0; i < list->topLevelItemCount(); ++i) {
                rows << list->topLevelItem(i)->text(0) + " " + list->topLevelItem(i)->text(1);
                QVERIFY(list->topLevelItem(i)->text(2).startsWith(QStringLiteral("https://")));
            }
            QCOMPARE(rows, (QStringList { "Visual SourceSafe 6.0", "ADO 2.5", "XML Parser 3.0" }));
            QTest::mouseClick(Control<QPushButton>(dialog, QStringLiteral("cmdClose")), Qt::LeftButton);
        });
        QVERIFY(!ok);
        QCOMPARE(mUi.boxes.size(), 0); // closing asks nothing
        QCOMPARE(dialog.MissingComponentCount(), 3);
    }

    void continueAnywayAsksFirst()
    {
        frmSystem dialog(mUi, *mHelp, NothingPresent);
        auto *cont = Control<QPushButton>(dialog, QStringLiteral("cmdContinue"));
        const bool ok = RunCheck(dialog, [&] {
            mUi.answer(UiServices::Answer::No);
            QTest::mouseClick(cont, Qt::LeftButton);
            QVERIFY(dialog.isVisible()); // No keeps the dialog
            mUi.answer(UiServices::Answer::Yes);
            QTest::mouseClick(cont, Qt::LeftButton);
            QVERIFY(!dialog.isVisible());
        });
        QVERIFY(ok);
        QCOMPARE(Boxes(mUi),
            QStringList(2,
                "warning|Continue Anyway?|WARNING: If you continue, KORVO may crash at any time!\n\nAre you sure you "
                "wish to continue?"));
        for (const auto &box : mUi.boxes)
            QCOMPARE(box.buttons, UiServices::Buttons::YesNo);
    }

    void secondRunStartsAfresh()
    {
        // Only the XML parser is missing the second time.
        bool first = true;
        frmSystem dialog(
            mUi, *mHelp, [&](const QString &name) { return !first && !name.startsWith(QLatin1String("MSXML2")); });
        QVERIFY(!RunCheck(dialog, [] {}));
        first = false;
        int rows = 0;
        QVERIFY(!RunCheck(
            dialog, [&] { rows = Control<QTreeWidget>(dialog, QStringLiteral("lvwError"))->topLevelItemCount(); }));
        QCOMPARE(rows, 1);
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
            auto *list = Control<QTreeWidget>(dialog, QStringLiteral("lvwError"));
            QTest::mouseClick(
                list->viewport(), Qt::LeftButton, {}, list->visualItemRect(list->topLevelItem(1)).center());
            QCOMPARE(urls, QList<QUrl> { QUrl(list->topLevelItem(1)->text(2)) });
            QTest::keyClick(&dialog, Qt::Key_F1);
            QCOMPARE(mOpened.size(), 1);
            QVERIFY(mOpened[0].toLocalFile().endsWith(QStringLiteral("/GettingStarted_Firstly.htm")));
        });
    }
};

QTEST_MAIN(TestFrmSystem)
#include "test_frmsystem.moc"
