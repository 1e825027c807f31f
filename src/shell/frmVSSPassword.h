#pragma once

#include "PasswordDialog.h"

// Asks for the source-control login of a repository.
class frmVSSPassword : public PasswordDialog
{
    Q_OBJECT
public:
    frmVSSPassword(UiServices &ui, QWidget *parent = nullptr);
    bool GetUserNameAndPassword(const QString &iniFile, QString &userName, QString &password);

private:
    QLineEdit *mIniFile;
};
