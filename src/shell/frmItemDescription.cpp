#include "frmItemDescription.h"
#include "HelpKeys.h"

#include "UiServices.h"

#include <QHBoxLayout>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

frmItemDescription::frmItemDescription(UiServices &ui, QWidget *parent)
    : QDialog(parent)
    , mUi(ui)
{
    HelpKeys::SetTopic(this, 37);
    setObjectName(QStringLiteral("frmItemDescription"));
    setWindowTitle(tr("Item Description"));
    mDescription = new QPlainTextEdit(this);
    mDescription->setObjectName(QStringLiteral("txtDescription"));
    mDescription->setTabChangesFocus(true);
    auto *ok = new QPushButton(tr("OK"), this);
    ok->setObjectName(QStringLiteral("cmdOK"));
    auto *cancel = new QPushButton(tr("Cancel"), this);
    cancel->setObjectName(QStringLiteral("cmdCancel"));

    auto *layout = new QVBoxLayout(this);
    layout->addWidget(mDescription);
    auto *buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(ok);
    buttons->addWidget(cancel);
    layout->addLayout(buttons);

    connect(ok, &QPushButton::clicked, this, &frmItemDescription::cmdOK_Click);
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
}

bool frmItemDescription::GetDescription(QString &description)
{
    mDescription->setPlainText(description);
    mDescription->setFocus();
    setModal(true);
    if (exec() != QDialog::Accepted)
        return false;
    description = mDescription->toPlainText();
    return true;
}

void frmItemDescription::cmdOK_Click()
{
    if (mDescription->toPlainText().isEmpty()
        && !mUi.askYesNo(QStringLiteral("Save Blank Description"),
            QStringLiteral("Are you sure you want to save a blank description?")))
        return;
    accept();
}
