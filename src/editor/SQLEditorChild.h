#pragma once

#include "KORVOChildForm.h"

class SQLTextEditor;

// A child window built around one SQL editor, `txtSQL`: the editing commands
// the main window offers go to the editor, and the editor's keys pass through
// the main window's shortcuts first.
class SQLEditorChild : public KORVOChildForm
{
    Q_OBJECT
public:
    // keyContext is the help context under which the main window sees the keys.
    SQLEditorChild(KORVOMainWindowServices &main, KORVODatabase &database, long keyContext, QWidget *parent);

    SQLTextEditor &Editor() const { return *txtSQL; }

    bool CanCut() const override;
    bool CanCopy() const override;
    bool CanPaste() const override;
    bool CanFind() const override { return true; }
    bool CanUndo() const override;
    bool CanRedo() const override;
    void Undo() override;
    void Redo() override;
    void CopyText() override;
    void CutText() override;
    void PasteText() override;
    void Find(bool next, bool previous) override;
    void FindNext() override;
    void FindPrevious() override;
    void Replace() override;
    void SetFocusOfChild() override;

protected:
    // "Ln {line}, Col {column}", both counted from 1.
    static QString CaretText(int column, int line);
    // Columns and lines are counted from 0.
    virtual void CaretMoved(int column, int line) = 0;

    SQLTextEditor *txtSQL;

private:
    bool mClipboardHasText = false;
};
