#pragma once

#include "KORVOQsci.h"

#include <QByteArray>
#include <QList>
#include <QString>

class KORVOSQLLexer;
class QAction;
class UiServices;

// The SQL editor of the text and query windows. The document is kept as the
// bytes of the file it came from: a text that is not valid UTF-8, holds NUL
// characters or mixes line ends is shown as it is and written back byte for byte
// where the user changed nothing. Text gives the document as UTF-8 text.
class SQLTextEditor : public QsciScintilla
{
    Q_OBJECT
public:
    explicit SQLTextEditor(UiServices &ui, QWidget *parent = nullptr);
    ~SQLTextEditor() override;

    // Keywords and quoting of PostgreSQL or of SQL Server.
    void SetServerKind(bool postgreSQL);

    bool HasFocus() const { return hasFocus(); }
    bool HasSelection() const { return hasSelectedText(); }
    WId ctrlHWnd() const { return winId(); }
    bool IsModified() const;
    bool CanUndo() const { return isUndoAvailable(); }
    bool CanRedo() const { return isRedoAvailable(); }
    // Writing replaces the whole text in one undoable step and counts as a change.
    QString Text() const;
    void SetText(const QString &text);
    QString SelectedText() const { return HasSelection() ? selectedText() : QString(); }
    bool Locked() const { return isReadOnly(); }
    void SetLocked(bool locked) { setReadOnly(locked); }

    // The document's bytes, and replacing them as one undoable change.
    QByteArray Bytes() const;
    void SetBytes(const QByteArray &bytes);
    // The first line (from 1) whose bytes are not UTF-8, which Text would change;
    // 0 when the whole document is UTF-8.
    int LineNotUtf8() const;
    // The file LoadFile or SaveFile last used.
    QString FileName() const { return mFileName; }

    void AboutBox();
    void QueryCaret();
    // Loads the file's bytes; a file without write permission makes the editor
    // Locked. A file that cannot be read gives a box and keeps the text.
    bool LoadFile(const QString &path);
    // Writes the bytes to path, or to the loaded file when path is empty. A
    // failure (also a loaded file that vanished) gives a box and keeps the text.
    bool SaveFile(const QString &path);
    void Find();
    void FindNext();
    void FindPrevious();
    void Replace();
    void Undo();
    void Redo();
    void Paste(const QString &text);
    void bcCut() { cut(); }
    void bcCopy() { copy(); }
    void bcPaste();

    // Extra entries for the editor's context menu.
    void AddContextAction(QAction *action) { mContextActions.append(action); }

    // Colours the whole document now, instead of as it is shown.
    void ColourAll();

    // The search the find dialogs run, also without a dialog.
    bool Search(const QString &what, bool matchCase, bool wholeWord, bool forward);
    int ReplaceAll(const QString &what, const QString &with, bool matchCase, bool wholeWord);

Q_SIGNALS:
    void bcCaretMove(int x, int y, int column, int line);
    void bcClick();
    void bcDblClick();
    void bcDragDrop(QObject *source, int x, int y);
    void bcDragOver(QObject *source, int x, int y, int state);
    void bcGotFocus();
    // Setting keyCode to 0 swallows the key.
    void bcKeyDown(int &keyCode, int shift);
    void bcKeyPress(int &key);
    void bcKeyUp(int &keyCode, int shift);
    void bcLostFocus();
    void bcMouseDown(int button, int shift, int x, int y);
    void bcMouseMove(int button, int shift, int x, int y);
    void bcMouseUp(int button, int shift, int x, int y);
    void bcSelectionChange(int lineFrom, int indexFrom, int lineTo, int indexTo);
    void bcValidate(bool &cancel);

protected:
    void focusInEvent(QFocusEvent *e) override;
    void focusOutEvent(QFocusEvent *e) override;
    void keyPressEvent(QKeyEvent *e) override;
    void keyReleaseEvent(QKeyEvent *e) override;
    void mousePressEvent(QMouseEvent *e) override;
    void mouseMoveEvent(QMouseEvent *e) override;
    void mouseReleaseEvent(QMouseEvent *e) override;
    void mouseDoubleClickEvent(QMouseEvent *e) override;
    void dragMoveEvent(QDragMoveEvent *e) override;
    void dropEvent(QDropEvent *e) override;
    void contextMenuEvent(QContextMenuEvent *e) override;

private:
    void ShowFindDialog(bool replace);
    void Box(const QString &title, const QString &text);

    UiServices &mUi;
    KORVOSQLLexer *mLexer = nullptr;
    QString mFileName;
    QList<QAction *> mContextActions;
    // The last search, repeated by FindNext and FindPrevious.
    QString mFindWhat;
    bool mMatchCase = false;
    bool mWholeWord = false;
};
