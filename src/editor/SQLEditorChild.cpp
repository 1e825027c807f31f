#include "SQLEditorChild.h"

#include "KORVOMainWindowServices.h"
#include "KORVODatabase.h"
#include "SQLTextEditor.h"

#include <QApplication>
#include <QClipboard>
#include <QMimeData>

SQLEditorChild::SQLEditorChild(KORVOMainWindowServices &main, KORVODatabase &database, long keyContext, QWidget *parent)
    : KORVOChildForm(main, database, parent)
{
    txtSQL = new SQLTextEditor(database.Ui(), this);
    txtSQL->setObjectName(QStringLiteral("txtSQL"));

    // The main window polls CanPaste on every tick: follow the clipboard instead of asking it.
    auto clipboardChanged = [this] {
        const QMimeData *data = QApplication::clipboard()->mimeData();
        mClipboardHasText = data && data->hasText();
    };
    connect(QApplication::clipboard(), &QClipboard::dataChanged, this, clipboardChanged);
    clipboardChanged();

    connect(txtSQL, &SQLTextEditor::bcCaretMove, this,
        [this](int, int, int column, int line) { CaretMoved(column, line); });
    connect(txtSQL, &SQLTextEditor::bcKeyDown, this,
        [this, keyContext](int &key, int shift) { mMain.KeyPreview(true, key, shift, keyContext); });
    connect(txtSQL, &SQLTextEditor::bcKeyUp, this,
        [this, keyContext](int &key, int shift) { mMain.KeyPreview(false, key, shift, keyContext); });
}

QString SQLEditorChild::CaretText(int column, int line)
{
    return QStringLiteral("Ln %1, Col %2").arg(line + 1).arg(column + 1);
}

bool SQLEditorChild::CanCut() const
{
    return !txtSQL->Locked() && txtSQL->HasSelection();
}

bool SQLEditorChild::CanCopy() const
{
    return txtSQL->HasSelection();
}

bool SQLEditorChild::CanPaste() const
{
    return !txtSQL->Locked() && mClipboardHasText;
}

bool SQLEditorChild::CanUndo() const
{
    return txtSQL->CanUndo();
}

bool SQLEditorChild::CanRedo() const
{
    return txtSQL->CanRedo();
}

void SQLEditorChild::Undo()
{
    txtSQL->Undo();
}

void SQLEditorChild::Redo()
{
    txtSQL->Redo();
}

void SQLEditorChild::CopyText()
{
    txtSQL->bcCopy();
}

void SQLEditorChild::CutText()
{
    if (!txtSQL->Locked())
        txtSQL->bcCut();
}

void SQLEditorChild::PasteText()
{
    txtSQL->bcPaste();
}

void SQLEditorChild::Find(bool next, bool previous)
{
    if (next)
        txtSQL->FindNext();
    else if (previous)
        txtSQL->FindPrevious();
    else
        txtSQL->Find();
}

void SQLEditorChild::FindNext()
{
    txtSQL->FindNext();
}

void SQLEditorChild::FindPrevious()
{
    txtSQL->FindPrevious();
}

void SQLEditorChild::Replace()
{
    txtSQL->Replace();
}

void SQLEditorChild::SetFocusOfChild()
{
    if (!txtSQL->HasFocus())
        txtSQL->setFocus();
}
