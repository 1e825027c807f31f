#include "frmRenameObject.h"
#include "HelpKeys.h"

#include "UiServices.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

frmRenameObject::frmRenameObject(UiServices &ui, QWidget *parent)
    : QDialog(parent)
    , mUi(ui)
{
    HelpKeys::SetTopic(this, 45);
    setObjectName(QStringLiteral("frmRenameObject"));
    setWindowTitle(tr("Rename Object"));

    mOldName = new QLabel(this);
    mOldName->setObjectName(QStringLiteral("lblOldName"));
    mOwner = new QLabel(this);
    mOwner->setObjectName(QStringLiteral("lblOwner"));
    mNewName = new QLineEdit(this);
    mNewName->setObjectName(QStringLiteral("txtNewName"));
    auto *ownerClose = new QLabel(QStringLiteral("]"), this);
    ownerClose->setObjectName(QStringLiteral("lblOwnerClose"));
    auto *rename = new QPushButton(tr("&Rename"), this);
    rename->setObjectName(QStringLiteral("cmdRename"));
    rename->setDefault(true);
    auto *cancel = new QPushButton(tr("&Cancel"), this);
    cancel->setObjectName(QStringLiteral("cmdCancel"));

    auto *grid = new QGridLayout(this);
    grid->addWidget(new QLabel(tr("Old Name:"), this), 0, 0);
    grid->addWidget(mOldName, 0, 1, 1, 3);
    grid->addWidget(new QLabel(tr("New Name:"), this), 1, 0);
    grid->addWidget(mOwner, 1, 1);
    grid->addWidget(mNewName, 1, 2);
    grid->addWidget(ownerClose, 1, 3);
    auto *buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(rename);
    buttons->addWidget(cancel);
    grid->addLayout(buttons, 2, 0, 1, 4);

    connect(rename, &QPushButton::clicked, this, &frmRenameObject::cmdRename_Click);
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
}

QString frmRenameObject::RenameItem(QWidget *ownerForm, const QString &oldName, const QString &owner)
{
    if (ownerForm)
        setParent(ownerForm, windowFlags() | Qt::Dialog);
    mOldNameText = oldName;
    mOldName->setText(QLatin1Char('[') + owner + QStringLiteral("].[") + oldName + QLatin1Char(']'));
    mOwner->setText(QLatin1Char('[') + owner + QStringLiteral("].["));
    mNewName->setText(oldName);
    mNewName->selectAll();
    mNewName->setFocus();
    setModal(true);
    // Rename leaves the accepted name, trimmed, in the box.
    return exec() == QDialog::Accepted ? mNewName->text() : QString();
}

void frmRenameObject::Refuse(const QString &text)
{
    mUi.messageBox(UiServices::Icon::Warning, QStringLiteral("Invalid Data"), text);
    mNewName->setFocus();
}

void frmRenameObject::cmdRename_Click()
{
    const QString name = mNewName->text().trimmed();
    mNewName->setText(name);
    if (name.isEmpty())
        return Refuse(QStringLiteral("New Name is missing!"));
    if (name.compare(mOldNameText, Qt::CaseInsensitive) == 0)
        return Refuse(QStringLiteral("New Name is the same as the Old Name!"));
    if (name.contains(QLatin1Char('[')) || name.contains(QLatin1Char(']')))
        return Refuse(QStringLiteral("New Name is invalid!"));
    accept();
}
