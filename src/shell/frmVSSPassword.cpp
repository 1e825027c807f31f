#include "frmVSSPassword.h"
#include "HelpKeys.h"

#include <QLineEdit>

frmVSSPassword::frmVSSPassword(UiServices &ui, QWidget *parent) : PasswordDialog(ui, parent)
{
    HelpKeys::SetTopic(this, 9);
    setObjectName(QStringLiteral("frmVSSPassword"));
    setWindowTitle(tr("Visual SourceSafe Login"));
    mIniFile = addInfoLine(QStringLiteral("txtIniFile"), tr("SourceSafe Database:"));
}

bool frmVSSPassword::GetUserNameAndPassword(const QString &iniFile, QString &userName, QString &password)
{
    mIniFile->setText(iniFile);
    return run(userName, password);
}
