#include "frmSQLPassword.h"
#include "HelpKeys.h"

#include <QLineEdit>

frmSQLPassword::frmSQLPassword(UiServices &ui, QWidget *parent) : PasswordDialog(ui, parent)
{
    HelpKeys::SetTopic(this, 7);
    setObjectName(QStringLiteral("frmSQLPassword"));
    setWindowTitle(tr("SQL Server Login"));
    mServer = addInfoLine(QStringLiteral("txtServer"), tr("Server:"));
    mDatabase = addInfoLine(QStringLiteral("txtDatabase"), tr("Database:"));
}

bool frmSQLPassword::GetUserNameAndPassword(const QString &server, const QString &database, QString &userName,
                                            QString &password)
{
    mServer->setText(server);
    mDatabase->setText(database);
    return run(userName, password);
}
