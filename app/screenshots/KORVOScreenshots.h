#pragma once

#include <QList>
#include <QString>

#include <functional>

class HelpIntegration;
class KORVOAllWindows;
class KORVODatabase;
class QWidget;
class mdiMain;

// What a screenshot function gets: the open demo project, its main window and
// the program's windows.
struct KORVOScreenshotContext
{
    KORVODatabase &session;
    mdiMain &main;
    KORVOAllWindows &windows;
    HelpIntegration &help;
    // Writes the widget's picture as {name}.png into the output folder.
    std::function<bool(QWidget &widget, const QString &name)> save;
};

// One screenshot: a name for the command line and the function that sets the
// scene and saves one or more pictures. A window adds itself with one row.
struct KORVOScreenshot
{
    QString name;
    std::function<bool(KORVOScreenshotContext &)> take;
};

QList<KORVOScreenshot> KORVOScreenshots();

// The main window on the demo data: folders open, an object selected.
bool ShootMainWindow(KORVOScreenshotContext &context);
