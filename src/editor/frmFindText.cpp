#include "frmFindText.h"
#include "HelpKeys.h"

#include "SQLTextEditor.h"

#include <QCheckBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

frmFindText::frmFindText(SQLTextEditor &editor, bool replace, QWidget *parent)
    : QDialog(parent)
    , mEditor(editor)
{
    HelpKeys::SetTopic(this, 35);
    setObjectName(replace ? QStringLiteral("frmReplace") : QStringLiteral("frmFind"));
    setWindowTitle(replace ? tr("Replace") : tr("Find"));

    auto *fields = new QFormLayout;
    txtFind = new QLineEdit(this);
    txtFind->setObjectName(QStringLiteral("txtFind"));
    // Start from the selection, as a user expects of a find dialog.
    txtFind->setText(editor.SelectedText().section(QLatin1Char('\n'), 0, 0));
    fields->addRow(tr("Fi&nd what:"), txtFind);
    if (replace) {
        txtReplace = new QLineEdit(this);
        txtReplace->setObjectName(QStringLiteral("txtReplace"));
        fields->addRow(tr("Re&place with:"), txtReplace);
    }
    chkMatchCase = new QCheckBox(tr("Match &case"), this);
    chkMatchCase->setObjectName(QStringLiteral("chkMatchCase"));
    chkWholeWord = new QCheckBox(tr("Match &whole word only"), this);
    chkWholeWord->setObjectName(QStringLiteral("chkWholeWord"));
    optUp = new QRadioButton(tr("&Up"), this);
    optUp->setObjectName(QStringLiteral("optUp"));
    auto *optDown = new QRadioButton(tr("&Down"), this);
    optDown->setObjectName(QStringLiteral("optDown"));
    optDown->setChecked(true);
    auto *direction = new QHBoxLayout;
    direction->addWidget(optUp);
    direction->addWidget(optDown);

    auto *buttons = new QVBoxLayout;
    auto addButton = [&](const QString &name, const QString &text) {
        auto *b = new QPushButton(text, this);
        b->setObjectName(name);
        b->setAutoDefault(false);
        buttons->addWidget(b);
        return b;
    };
    QPushButton *findNext = addButton(QStringLiteral("cmdFindNext"), tr("&Find Next"));
    findNext->setDefault(true);
    connect(findNext, &QPushButton::clicked, this, &frmFindText::cmdFindNext_Click);
    if (replace) {
        connect(addButton(QStringLiteral("cmdReplace"), tr("&Replace")), &QPushButton::clicked, this,
            &frmFindText::cmdReplace_Click);
        connect(addButton(QStringLiteral("cmdReplaceAll"), tr("Replace &All")), &QPushButton::clicked, this,
            &frmFindText::cmdReplaceAll_Click);
    }
    connect(addButton(QStringLiteral("cmdClose"), tr("Close")), &QPushButton::clicked, this, &QDialog::reject);
    buttons->addStretch();

    auto *left = new QVBoxLayout;
    left->addLayout(fields);
    left->addWidget(chkMatchCase);
    left->addWidget(chkWholeWord);
    left->addLayout(direction);
    auto *layout = new QHBoxLayout(this);
    layout->addLayout(left, 1);
    layout->addLayout(buttons);
}

void frmFindText::cmdFindNext_Click()
{
    mEditor.Search(txtFind->text(), chkMatchCase->isChecked(), chkWholeWord->isChecked(), !optUp->isChecked());
}

void frmFindText::cmdReplace_Click()
{
    // The current match is replaced first, then the next one is looked for.
    const Qt::CaseSensitivity cs = chkMatchCase->isChecked() ? Qt::CaseSensitive : Qt::CaseInsensitive;
    if (!txtFind->text().isEmpty() && mEditor.SelectedText().compare(txtFind->text(), cs) == 0)
        mEditor.replaceSelectedText(txtReplace->text());
    cmdFindNext_Click();
}

void frmFindText::cmdReplaceAll_Click()
{
    mEditor.ReplaceAll(txtFind->text(), txtReplace->text(), chkMatchCase->isChecked(), chkWholeWord->isChecked());
}
