#include "HelpIntegration.h"
#include "KORVOAllWindows.h"
#include "HelpKeys.h"
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
    HelpKeys helpKeys(help);
    app.installEventFilter(&helpKeys);
    KORVOAllWindows windows(&help);
    frmInitialize splash(ui, help, [&ui, &help, &windows] {
        auto session = std::make_shared<KORVODatabase>(ui, std::make_shared<KORVOObjectFactory>(),
            [&help, &windows] { return std::make_unique<mdiMain>(windows, &help); });
        ui.SetServerTextChooser([session = std::weak_ptr<KORVODatabase>(session)](const QString &title,
                                    const QString &text, const QString &serverText, const QString &myText) {
            const auto live = session.lock();
            return live ? KORVOAllWindows::ChooseServerText(*live, title, text, serverText, myText)
                        : UiServices::ServerTextChoice::Cancel;
        });
        return session;
    });
    splash.StartKORVO();
    return app.exec();
}
