// F1 in the dialogs that name their help topic: the key opens the manual at the
// dialog's page, from whichever control has the focus, and never reaches past
// the dialog to the window it was opened from.
#include "HelpIntegration.h"
#include "HelpKeys.h"
#include "KORVODatabase.h"
#include "KORVOSettings.h"
#include "SQLTextEditor.h"
#include "ScriptedUi.h"
#include "StubCollections.h"
#include "frmComment.h"
#include "frmCompareText.h"
#include "frmFindText.h"
#include "frmItemDescription.h"
#include "frmRenameObject.h"
#include "frmSQLPassword.h"
#include "frmScriptCreator.h"
#include "frmUndelete.h"
#include "frmVSSPassword.h"

#include <QLineEdit>
#include <QTemporaryDir>
#include <QTest>

#include <functional>
#include <memory>

namespace
{
// "Page.htm" or "Page.htm#Anchor" of an opened URL.
QString PageOf(const QUrl &url)
{
    return url.fileName() + (url.hasFragment() ? QStringLiteral("#") + url.fragment() : QString());
}
// The manual's F1 keys over the whole application, with the pages they would open kept.
struct RecordedHelp {
    explicit RecordedHelp(UiServices &ui)
        : help(ui, QStringLiteral(KORVO_SOURCE_DIR "/help"), [this](const QUrl &url) {
            opened.append(url);
            return true;
        })
        , keys(help)
    {
        qApp->installEventFilter(&keys);
    }
    ~RecordedHelp() { qApp->removeEventFilter(&keys); }
    QList<QUrl> opened;
    HelpIntegration help;
    HelpKeys keys;
};
} // namespace

using Maker = std::function<std::unique_ptr<QWidget>(UiServices &, KORVOSettings &, SQLTextEditor &)>;
Q_DECLARE_METATYPE(Maker)

class TestHelpKeys : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void dialogsOpenTheirTopic_data()
    {
        QTest::addColumn<Maker>("make");
        QTest::addColumn<QString>("page");
        QTest::newRow("comment") << Maker([](auto &, auto &, auto &) { return std::make_unique<frmComment>(); })
                                 << "GettingStarted_Step5.htm#Edit";
        QTest::newRow("description") << Maker([](auto &ui, auto &, auto &) {
            return std::make_unique<frmItemDescription>(ui);
        }) << "Descriptions.htm#Edit";
        QTest::newRow("rename") << Maker([](auto &ui, auto &, auto &) { return std::make_unique<frmRenameObject>(ui); })
                                << "ObjectMaint.htm#Renaming";
        QTest::newRow("undelete") << Maker([](auto &ui, auto &, auto &) { return std::make_unique<frmUndelete>(ui); })
                                  << "ObjectMaint.htm#Undeleting";
        QTest::newRow("sql login") << Maker([](auto &ui, auto &, auto &) {
            return std::make_unique<frmSQLPassword>(ui);
        }) << "GettingStarted_Step2.htm#SQLServer";
        QTest::newRow("vss login") << Maker([](auto &ui, auto &, auto &) {
            return std::make_unique<frmVSSPassword>(ui);
        }) << "GettingStarted_Step2.htm#VSSDB";
        QTest::newRow("compare") << Maker([](auto &ui, auto &settings, auto &) {
            return std::make_unique<frmCompareText>(settings, ui);
        }) << "TheEditor.htm";
        QTest::newRow("find") << Maker([](auto &, auto &, auto &editor) {
            return std::make_unique<frmFindText>(editor, false);
        }) << "TheEditor.htm";
    }
    void dialogsOpenTheirTopic()
    {
        QFETCH(Maker, make);
        QFETCH(QString, page);
        QTemporaryDir dir;
        ScriptedUi ui;
        KORVOSettings settings(dir.filePath(QStringLiteral("s.conf")));
        SQLTextEditor editor(ui);
        RecordedHelp recorded(ui);
        const QList<QUrl> &opened = recorded.opened;
        auto dialog = make(ui, settings, editor);
        dialog->show();
        // From a control inside the dialog, as the user would press it.
        QWidget *target = dialog->findChild<QLineEdit *>();
        if (!target)
            target = dialog.get();
        QTest::keyClick(target, Qt::Key_F2);
        QVERIFY(opened.isEmpty());
        QTest::keyClick(target, Qt::Key_F1);
        QCOMPARE(opened.size(), 1);
        QCOMPARE(PageOf(opened.first()), page);
    }

    // The wizard handles F1 itself: one topic for every page, opened once.
    void scriptWizardPagesOpenItsTopic_data()
    {
        QTest::addColumn<QString>("page");
        for (const char *page : { "fraStart", "fraVSS", "fraAnotherDB", "fraCustom", "fraProgress", "fraFinish" })
            QTest::newRow(page) << page;
    }
    void scriptWizardPagesOpenItsTopic()
    {
        QFETCH(QString, page);
        QTemporaryDir dir;
        qputenv("KORVO_DATA_DIR", QFile::encodeName(dir.path()));
        ScriptedUi ui;
        KORVODatabase session(ui, std::make_shared<StubCollectionFactory>(), {}, dir.filePath(QStringLiteral("s.conf")));
        RecordedHelp recorded(ui);
        const QList<QUrl> &opened = recorded.opened;
        frmScriptCreator wizard(session, &recorded.help);
        wizard.show();
        auto *shown = wizard.findChild<QWidget *>(page);
        QVERIFY(shown);
        wizard.CurrentFrame()->hide();
        shown->show();
        QWidget *target = shown;
        for (QWidget *w : shown->findChildren<QWidget *>()) {
            if (w->focusPolicy() != Qt::NoFocus && w->isVisibleTo(shown)) {
                target = w;
                break;
            }
        }
        QTest::keyClick(target, Qt::Key_F1);
        QCOMPARE(opened.size(), 1);
        QCOMPARE(PageOf(opened.first()), "ScriptGenerator.htm");
    }

    void topicStopsAtTheWindow()
    {
        QWidget owner;
        HelpKeys::SetTopic(&owner, 23);
        QWidget dialog(&owner, Qt::Dialog);
        QWidget control(&dialog);
        QCOMPARE(HelpKeys::TopicOf(&control), 0);
        QWidget child(&owner);
        QCOMPARE(HelpKeys::TopicOf(&child), 23);
    }
};

QTEST_MAIN(TestHelpKeys)
#include "test_helpkeys.moc"
