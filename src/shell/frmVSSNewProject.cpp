#include "frmVSSNewProject.h"

#include "HelpIntegration.h"
#include "SelectAllOnFocus.h"
#include "UiServices.h"

#include <QDialogButtonBox>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

frmVSSNewProject::frmVSSNewProject(UiServices &ui, HelpIntegration *help, QWidget *parent)
    : QDialog(parent)
    , mUi(ui)
    , mHelp(help)
{
    setObjectName(QStringLiteral("frmVSSNewProject"));
    setWindowTitle(QStringLiteral("New VSS Project"));
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(new QLabel(QStringLiteral("Project Name:"), this));
    txtVSSProject = new QLineEdit(this);
    txtVSSProject->setObjectName(QStringLiteral("txtVSSProject"));
    layout->addWidget(txtVSSProject);
    auto *buttons = new QDialogButtonBox(this);
    auto *cmdOK = buttons->addButton(QStringLiteral("OK"), QDialogButtonBox::AcceptRole);
    cmdOK->setObjectName(QStringLiteral("cmdOK"));
    cmdOK->setDefault(true);
    auto *cmdCancel = buttons->addButton(QStringLiteral("Cancel"), QDialogButtonBox::RejectRole);
    cmdCancel->setObjectName(QStringLiteral("cmdCancel"));
    layout->addWidget(buttons);
    connect(cmdOK, &QPushButton::clicked, this, &frmVSSNewProject::cmdOK_Click);
    connect(cmdCancel, &QPushButton::clicked, this, &QDialog::reject);
    SelectAllOnFocus::Install(this);
}

QString frmVSSNewProject::NewVSSProjectName()
{
    txtVSSProject->clear();
    txtVSSProject->setFocus();
    return exec() == QDialog::Accepted ? txtVSSProject->text().trimmed() : QString();
}

void frmVSSNewProject::cmdOK_Click()
{
    const QString name = txtVSSProject->text().trimmed();
    if (name.isEmpty()) {
        mUi.messageBox(
            UiServices::Icon::None, QStringLiteral("Invalid Data"), QStringLiteral("No Project Name specified!"));
        txtVSSProject->setFocus();
        return;
    }
    accept();
}

void frmVSSNewProject::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_F1 && mHelp) {
        mHelp->ShowHelp(this, HelpTopic);
        return;
    }
    QDialog::keyPressEvent(event);
}
