// Renders KORVO's windows on the demo project into PNG files, offscreen:
//   korvo_screenshots <output folder> [name...]
// Run it on a throw-away demo: it changes the demo project.
// KORVO_SETTINGS_FILE and KORVO_DATA_DIR point at the demo's settings, as
// scripts/screenshots sets them up.
#include "HelpIntegration.h"
#include "KORVOAllWindows.h"
#include "KORVODatabase.h"
#include "KORVOObjectFactory.h"
#include "KORVOScreenshots.h"
#include "KORVOTypedObject.h"
#include "KorvoApplication.h"
#include "QtUiServices.h"
#include "frmInitialize.h"
#include "mdiMain.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QPixmap>
#include <QTreeWidget>

#include <cstdio>

namespace
{
// No one is there to answer: every box is printed, and a question gets No
// unless the screenshot being taken lists it.
class UnattendedUi : public QtUiServices
{
public:
    KORVOScreenshotAnswers answers;

    Answer messageBox(Icon, const QString &title, const QString &text, Buttons buttons) override
    {
        std::fprintf(stderr, "screenshots: box \"%s\": %s\n", qPrintable(title), qPrintable(text));
        if (answers.onBox)
            answers.onBox(title);
        if (buttons == Buttons::Ok)
            return Answer::Ok;
        return answers.yesTo.contains(title) ? Answer::Yes : Answer::No;
    }
    bool sqlPassword(const QString &, const QString &, QString &, QString &) override { return false; }
    bool vssPassword(const QString &, QString &, QString &) override { return false; }
};

// The demo's server-only objects are added to source control and one object
// is checked out, so that the pictures show those states.
void VersionTheDemo(KORVODatabase &session, mdiMain &main)
{
    for (const auto &collection : { session.StoredProcedures(), session.UserDefinedFunctions(), session.Views() }) {
        if (!collection)
            continue;
        QTreeWidgetItem *folder = main.FindNode(collection->ObjectType());
        if (!folder)
            continue;
        folder->setExpanded(true);
        bool added = false;
        for (int i = 0; i < folder->childCount(); ++i) {
            QTreeWidgetItem *node = folder->child(i);
            bool fromDeleted = false;
            auto object = std::dynamic_pointer_cast<KORVOTypedObject>(
                session.GetObject(mdiMain::NodeTag(node), mdiMain::NodeKey(node), fromDeleted));
            if (object && object->InSQL() && !object->InVSS())
                added = object->SyncAdd(1) || added;
        }
        if (added)
            main.RefreshNode(folder);
    }
    if (QTreeWidgetItem *procedures = main.FindNode(session.StoredProcedures()->ObjectType());
        procedures && procedures->childCount() > 1) {
        main.Tree()->setCurrentItem(procedures->child(1));
        main.DoCommand(8, QStringLiteral("mnuPopupCheckOut"));
    }
    main.Tree()->setCurrentItem(nullptr);
}
} // namespace

int main(int argc, char *argv[])
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    KorvoApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("KORVO"));
    QApplication::setApplicationVersion(QStringLiteral("%1.%2").arg(KORVO_VERSION_MAJOR).arg(KORVO_VERSION_MINOR));
    const QStringList args = QApplication::arguments().mid(1);
    if (args.isEmpty()) {
        std::fprintf(stderr, "usage: korvo_screenshots <output folder> [name...]\n");
        return 2;
    }
    const QString out = args.first();
    const QStringList wanted = args.mid(1);
    QDir().mkpath(out);

    UnattendedUi ui;
    app.SetUi(&ui);
    HelpIntegration help(ui, QString(), [](const QUrl &) { return true; });
    KORVOAllWindows windows;
    std::shared_ptr<KORVODatabase> session;
    frmInitialize splash(ui, help, [&] {
        session = std::make_shared<KORVODatabase>(ui, std::make_shared<KORVOObjectFactory>(),
            [&] { return std::make_unique<mdiMain>(windows, &help); });
        return session;
    });
    splash.StartKORVO();
    QDeadlineTimer deadline(120000);
    auto *main = [&]() -> mdiMain * {
        while (!deadline.hasExpired()) {
            QApplication::processEvents(QEventLoop::AllEvents, 50);
            if (session && session->MainWindow()) {
                auto *m = static_cast<mdiMain *>(session->MainWindow());
                if (m->isVisible())
                    return m;
            }
        }
        return nullptr;
    }();
    if (!main) {
        std::fprintf(stderr, "screenshots: the demo project did not open\n");
        return 1;
    }
    KORVOScreenshotContext context { *session, *main, windows, help, ui.answers,
        [&out](QWidget &widget, const QString &name) {
            const QString file = QDir(out).filePath(name + QStringLiteral(".png"));
            const bool ok = widget.grab().save(file);
            std::fprintf(stderr, "screenshots: %s %s\n", ok ? "wrote" : "could not write", qPrintable(file));
            return ok;
        } };
    int failed = 0;
    const QList<KORVOScreenshot> shots = KORVOScreenshots();
    auto take = [&](bool onFreshDemo) {
        for (const KORVOScreenshot &shot : shots) {
            if (shot.onFreshDemo == onFreshDemo && (wanted.isEmpty() || wanted.contains(shot.name))) {
                if (!shot.take(context)) {
                    std::fprintf(stderr, "screenshots: %s failed\n", qPrintable(shot.name));
                    ++failed;
                }
            }
        }
    };
    take(true);
    VersionTheDemo(*session, *main);
    take(false);
    main->CloseProject();
    return failed == 0 ? 0 : 1;
}
