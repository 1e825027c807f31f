#pragma once

#include "PasswordDialog.h"

// Asks for the SQL login of a server and database.
class frmSQLPassword : public PasswordDialog
{
    Q_OBJECT
public:
    frmSQLPassword(UiServices &ui, QWidget *parent = nullptr);
    bool GetUserNameAndPassword(const QString &server, const QString &database, QString &userName,
                                QString &password);

private:
    QLineEdit *mServer;
    QLineEdit *mDatabase;
};
