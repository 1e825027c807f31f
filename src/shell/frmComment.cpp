#include "frmComment.h"
#include "HelpKeys.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

frmComment::frmComment(QWidget *parent)
    : QDialog(parent)
{
    HelpKeys::SetTopic(this, 18);
    setObjectName(QStringLiteral("frmComment"));
    setWindowTitle(tr("Comment"));
    mComment = new QPlainTextEdit(this);
    mComment->setObjectName(QStringLiteral("txtComment"));
    mComment->setTabChangesFocus(true);
    auto *ok = new QPushButton(tr("OK"), this);
    ok->setObjectName(QStringLiteral("cmdOK"));
    ok->setDefault(true);
    auto *cancel = new QPushButton(tr("Cancel"), this);
    cancel->setObjectName(QStringLiteral("cmdCancel"));

    auto *layout = new QVBoxLayout(this);
    layout->addWidget(new QLabel(tr("Comment:"), this));
    layout->addWidget(mComment);
    auto *buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(ok);
    buttons->addWidget(cancel);
    layout->addLayout(buttons);

    connect(ok, &QPushButton::clicked, this, &QDialog::accept);
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
}

bool frmComment::GetComment(QString &comment)
{
    mComment->clear();
    mComment->setFocus();
    setModal(true);
    if (exec() == QDialog::Accepted) {
        comment = mComment->toPlainText();
        return true;
    }
    comment.clear();
    return false;
}
