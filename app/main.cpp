#include "HelpIntegration.h"
#include "KORVOAllWindows.h"
#include "KORVODatabase.h"
#include "KORVOObjectFactory.h"
#include "KorvoApplication.h"
#include "QtUiServices.h"
#include "frmInitialize.h"
#include "mdiMain.h"

int main(int argc, char *argv[])
{
    KorvoApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("KORVO"));
    QApplication::setApplicationVersion(QStringLiteral("%1.%2").arg(KORVO_VERSION_MAJOR).arg(KORVO_VERSION_MINOR));

    // These live for the whole run; the windows are handed references.
    QtUiServices ui;
    app.SetUi(&ui);
    HelpIntegration help(ui);
    KORVOAllWindows windows(&help);
    frmInitialize splash(ui, help, [&ui, &windows] {
        return std::make_shared<KORVODatabase>(ui, std::make_shared<KORVOObjectFactory>(), [&windows] {
            auto main = std::make_unique<mdiMain>();
            main->SetWindows(&windows);
            return main;
        });
    });
    splash.StartKORVO();
    return app.exec();
}
