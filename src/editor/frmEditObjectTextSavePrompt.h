#pragma once

#include <QDialog>
#include <QList>

class KORVOSettings;
class QRadioButton;
class QVBoxLayout;
class UiServices;

// "Action to take ...": what to do with the changes of a text window that is
// closing. The choices are those the save-changes settings store: 1 check in,
// 2 save the text, 3 discard (new object), 4 keep checked out and discard,
// 5 undo the check-out; 0 cancels the closing.
class frmEditObjectTextSavePrompt : public QDialog
{
    Q_OBJECT
public:
    static constexpr int HelpTopic = 29;

    explicit frmEditObjectTextSavePrompt(UiServices &ui, QWidget *parent = nullptr);

    // Returns the stored default without asking when the question is off and the
    // default is valid for the object; otherwise asks.
    int ChangesMade(KORVOSettings &settings, bool isNew);

    // The options offered: opt_0, opt_1 ... each with its choice in the property "Tag".
    const QList<QRadioButton *> &Options() const { return opt; }

protected:
    void keyPressEvent(QKeyEvent *e) override;

private:
    void cmdOK_Click();

    UiServices &mUi;
    QVBoxLayout *mOptionsLayout;
    QList<QRadioButton *> opt;
    int mChoice = 0;
};
