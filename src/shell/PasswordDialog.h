#pragma once

#include <QDialog>

class UiServices;
class QFormLayout;
class QLineEdit;

// Common part of the two password prompts: user name, password, OK and Cancel.
// OK with an empty user name is refused with an "Invalid Data" box.
class PasswordDialog : public QDialog
{
    Q_OBJECT
public:
    PasswordDialog(UiServices &ui, QWidget *parent);

protected:
    // Adds a read-only line above the user name.
    QLineEdit *addInfoLine(const QString &objectName, const QString &label);
    // Runs the dialog; on true the name and password are handed back.
    bool run(QString &userName, QString &password);

private:
    void onOk();

    UiServices &mUi;
    QFormLayout *mForm;
    QLineEdit *mUserName;
    QLineEdit *mPwd;
};
