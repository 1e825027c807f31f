#include "KorvoApplication.h"

#include "KORVOIconImages.h"
#include "SqlError.h"
#include "UiServices.h"

KorvoApplication::KorvoApplication(int &argc, char **argv) : QApplication(argc, argv)
{
    KORVOInitIconTheme();
}

QString KorvoApplication::ErrorText(const std::exception &error)
{
    if (const auto *sql = dynamic_cast<const SqlError *>(&error))
        return QStringLiteral("Error %1 (%2):\n\n%3").arg(sql->Number).arg(sql->Source, sql->Description);
    return QStringLiteral("Error:\n\n%1").arg(QString::fromUtf8(error.what()));
}

bool KorvoApplication::notify(QObject *receiver, QEvent *event)
{
    try {
        return QApplication::notify(receiver, event);
    } catch (const std::exception &error) {
        // Restore any wait cursor the failed action left behind.
        while (overrideCursor())
            restoreOverrideCursor();
        if (mUi)
            mUi->messageBox(UiServices::Icon::Critical, QStringLiteral("KORVO"), ErrorText(error));
        else
            qCritical("%s", error.what());
    }
    return false;
}
