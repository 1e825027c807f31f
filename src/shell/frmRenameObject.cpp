#include "frmRenameObject.h"

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
    setObjectName(QStringLiteral("frmRenameObject"));
    setWindowTitle(tr("Rename Object"));

    mOldName = new QLabel(this);
    mOldName->setObjectName(QStringLiteral("lblOldName"));
    mOwner = new QLabel(this);
    mOwner->setObjectName(QStringLiteral("lblOwner"));
    mNewName = new QLineEdit(this);
    mNewName->setObjectName(QStringLiteral("txtNewName"));
    mOwnerClose = new QLabel(QStringLiteral("]"), this);
    mOwnerClose->setObjectName(QStringLiteral("lblOwnerClose"));
    mRename = new QPushButton(tr("&Rename"), this);
    mRename->setObjectName(QStringLiteral("cmdRename"));
    mRename->setDefault(true);
    mCancel = new QPushButton(tr("&Cancel"), this);
    mCancel->setObjectName(QStringLiteral("cmdCancel"));

    auto *grid = new QGridLayout(this);
    grid->addWidget(new QLabel(tr("Old Name:"), this), 0, 0);
    grid->addWidget(mOldName, 0, 1, 1, 3);
    grid->addWidget(new QLabel(tr("New Name:"), this), 1, 0);
    grid->addWidget(mOwner, 1, 1);
    grid->addWidget(mNewName, 1, 2);
    grid->addWidget(mOwnerClose, 1, 3);
    auto *buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(mRename);
    buttons->addWidget(mCancel);
    grid->addLayout(buttons, 2, 0, 1, 4);

    connect(mRename, &QPushButton::clicked, this, &frmRenameObject::cmdRename_Click);
    connect(mCancel, &QPushButton::clicked, this, &frmRenameObject::cmdCancel_Click);
}

QString frmRenameObject::RenameItem(QWidget *ownerForm, const QString &oldName, const QString &owner)
{
    if (ownerForm)
        setParent(ownerForm, windowFlags() | Qt::Dialog);
    mOldNameText = oldName;
    mResult.clear();
    mOldName->setText(QLatin1Char('[') + owner + QStringLiteral("].[") + oldName + QLatin1Char(']'));
    mOwner->setText(QLatin1Char('[') + owner + QStringLiteral("].["));
    mNewName->setText(oldName);
    mNewName->selectAll();
    mNewName->setFocus();
    setModal(true);
    exec();
    return mResult;
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
    mResult = name;
    accept();
}

void frmRenameObject::cmdCancel_Click()
{
    mResult.clear();
    reject();
}
