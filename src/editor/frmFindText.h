#pragma once

#include <QDialog>

class QCheckBox;
class QLineEdit;
class QRadioButton;
class SQLTextEditor;

// The find and the replace dialog of the SQL editor, over QScintilla's search.
// It stays open for repeated searches; the editor remembers the last search for
// FindNext and FindPrevious.
class frmFindText : public QDialog
{
    Q_OBJECT
public:
    frmFindText(SQLTextEditor &editor, bool replace, QWidget *parent = nullptr);

private:
    void cmdFindNext_Click();
    void cmdReplace_Click();
    void cmdReplaceAll_Click();

    SQLTextEditor &mEditor;
    QLineEdit *txtFind;
    QLineEdit *txtReplace = nullptr;
    QCheckBox *chkMatchCase;
    QCheckBox *chkWholeWord;
    QRadioButton *optUp;
};
