#include "PasswordDialog.h"

#include "UiServices.h"

#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

PasswordDialog::PasswordDialog(UiServices &ui, QWidget *parent) : QDialog(parent), mUi(ui)
{
    auto *layout = new QVBoxLayout(this);
    mForm = new QFormLayout;
    layout->addLayout(mForm);
    mUserName = new QLineEdit(this);
    mUserName->setObjectName(QStringLiteral("txtUserName"));
    mPwd = new QLineEdit(this);
    mPwd->setObjectName(QStringLiteral("txtPwd"));
    mPwd->setEchoMode(QLineEdit::Password);
    mForm->addRow(tr("User Name:"), mUserName);
    mForm->addRow(tr("Password:"), mPwd);

    auto *buttons = new QDialogButtonBox(this);
    auto *ok = buttons->addButton(tr("OK"), QDialogButtonBox::AcceptRole);
    ok->setObjectName(QStringLiteral("cmdOK"));
    ok->setDefault(true);
    auto *cancel = buttons->addButton(tr("Cancel"), QDialogButtonBox::RejectRole);
    cancel->setObjectName(QStringLiteral("cmdCancel"));
    layout->addWidget(buttons);
    connect(ok, &QPushButton::clicked, this, &PasswordDialog::onOk);
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
}

QLineEdit *PasswordDialog::addInfoLine(const QString &objectName, const QString &label)
{
    auto *line = new QLineEdit(this);
    line->setObjectName(objectName);
    line->setReadOnly(true);
    mForm->insertRow(mForm->rowCount() - 2, label, line);
    return line;
}

bool PasswordDialog::run(QString &userName, QString &password)
{
    mUserName->setText(userName);
    mPwd->clear();
    // The password is what is usually missing; a missing name takes the focus.
    (userName.isEmpty() ? mUserName : mPwd)->setFocus();
    if (exec() != QDialog::Accepted)
        return false;
    userName = mUserName->text();
    password = mPwd->text();
    return true;
}

void PasswordDialog::onOk()
{
    if (mUserName->text().isEmpty()) {
        mUi.warn(QStringLiteral("Invalid Data"), QStringLiteral("User Name is missing"));
        mUserName->setFocus();
        return;
    }
    accept();
}
