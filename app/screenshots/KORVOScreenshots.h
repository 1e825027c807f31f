#pragma once

#include <QList>
#include <QString>
#include <QStringList>

#include <functional>

class HelpIntegration;
class KORVOAllWindows;
class KORVODatabase;
class QWidget;
class mdiMain;

// How the program answers the boxes no one is there to see: Yes to the
// questions whose titles are listed, No to the others; onBox sees each box
// before it is answered (the recompile window, say, is grabbed at its last box).
struct KORVOScreenshotAnswers
{
    QStringList yesTo;
    std::function<void(const QString &title)> onBox;
};

// What a screenshot function gets: the open demo project, its main window and
// the program's windows.
struct KORVOScreenshotContext
{
    KORVODatabase &session;
    mdiMain &main;
    KORVOAllWindows &windows;
    HelpIntegration &help;
    KORVOScreenshotAnswers &answers;
    // Writes the widget's picture as {name}.png into the output folder.
    std::function<bool(QWidget &widget, const QString &name)> save;
};

// One screenshot: a name for the command line and the function that sets the
// scene and saves one or more pictures. A window adds itself with one row.
// Those on the fresh demo run before its objects are versioned: they show what
// a new user sees.
struct KORVOScreenshot
{
    QString name;
    std::function<bool(KORVOScreenshotContext &)> take;
    bool onFreshDemo = false;
};

QList<KORVOScreenshot> KORVOScreenshots();

// The main window on the demo data: folders open, an object selected.
bool ShootMainWindow(KORVOScreenshotContext &context);
