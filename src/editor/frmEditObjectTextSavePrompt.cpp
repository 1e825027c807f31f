#include "frmEditObjectTextSavePrompt.h"

#include "HelpIntegration.h"
#include "KORVOSettings.h"
#include "UiServices.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

frmEditObjectTextSavePrompt::frmEditObjectTextSavePrompt(UiServices &ui, QWidget *parent)
    : QDialog(parent)
    , mUi(ui)
{
    setObjectName(QStringLiteral("frmEditObjectTextSavePrompt"));
    setWindowTitle(tr("Action to take ..."));
    auto *question = new QLabel(
        tr("Changes have been made do the object. Which of the following actions would you like to take?"), this);
    question->setObjectName(QStringLiteral("lblQuestion"));
    question->setWordWrap(true);
    auto *cmdOK = new QPushButton(tr("OK"), this);
    cmdOK->setObjectName(QStringLiteral("cmdOK"));
    cmdOK->setDefault(true);
    auto *cmdCancel = new QPushButton(tr("Cancel"), this);
    cmdCancel->setObjectName(QStringLiteral("cmdCancel"));
    connect(cmdOK, &QPushButton::clicked, this, &frmEditObjectTextSavePrompt::cmdOK_Click);
    connect(cmdCancel, &QPushButton::clicked, this, &QDialog::reject);

    mOptionsLayout = new QVBoxLayout;
    auto *buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(cmdOK);
    buttons->addWidget(cmdCancel);
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(question);
    layout->addLayout(mOptionsLayout);
    layout->addLayout(buttons);
    layout->setSizeConstraint(QLayout::SetFixedSize); // grows to the options made
}

int frmEditObjectTextSavePrompt::ChangesMade(KORVOSettings &settings, bool isNew)
{
    int choice = isNew ? settings.SaveChangesNewDefault() : settings.SaveChangesEditDefault();
    const bool valid = isNew ? choice >= 1 && choice <= 3 : choice >= 1 && choice <= 5 && choice != 3;
    if (!valid)
        choice = 0;
    else if (!(isNew ? settings.ShowSaveChangesNew() : settings.ShowSaveChangesEdit()))
        return choice;

    static const char *const texts[] = { "", "&Check In", "&Save Text", "&Discard Changes",
        "&Keep Checked Out and Discard Changes", "&Undo Check Out" };
    const QList<int> values = isNew ? QList<int> { 1, 2, 3 } : QList<int> { 1, 2, 5, 4 };
    for (int value : values) {
        auto *o = new QRadioButton(tr(texts[value]), this);
        o->setObjectName(QStringLiteral("opt_%1").arg(opt.size()));
        o->setProperty("Tag", value);
        o->setChecked(value == choice);
        mOptionsLayout->addWidget(o);
        opt.append(o);
    }
    mChoice = 0;
    return exec() == QDialog::Accepted ? mChoice : 0;
}

void frmEditObjectTextSavePrompt::cmdOK_Click()
{
    for (QRadioButton *o : opt) {
        if (o->isChecked()) {
            WaitCursor wait(mUi);
            mChoice = o->property("Tag").toInt();
            accept();
            return;
        }
    }
    mUi.messageBox(UiServices::Icon::Warning, tr("Invalid Data"), tr("Nothing has been selected!"));
}

void frmEditObjectTextSavePrompt::keyPressEvent(QKeyEvent *e)
{
    if (e->key() == Qt::Key_F1 && !(e->modifiers() & Qt::ShiftModifier)) {
        HelpIntegration(mUi).ShowHelp(this, HelpTopic);
        return;
    }
    QDialog::keyPressEvent(e);
}
