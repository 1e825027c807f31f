#include "SQLTextEditor.h"

#include "KORVOSQLLexer.h"
#include "UiServices.h"
#include "UserDataFolder.h"
#include "frmFindText.h"

#include <QAction>
#include <QContextMenuEvent>
#include <QFile>
#include <QFileInfo>
#include <QFontDatabase>
#include <QMenu>

namespace
{

int ShiftState(Qt::KeyboardModifiers m)
{
    return (m & Qt::ShiftModifier ? 1 : 0) | (m & Qt::ControlModifier ? 2 : 0) | (m & Qt::AltModifier ? 4 : 0);
}

int ButtonNumber(Qt::MouseButtons b)
{
    return (b & Qt::LeftButton ? 1 : 0) | (b & Qt::RightButton ? 2 : 0) | (b & Qt::MiddleButton ? 4 : 0);
}

// The end-of-line mode of the first line end in the bytes, so that new lines
// match the file's.
QsciScintilla::EolMode EolOf(const QByteArray &bytes)
{
    const qsizetype n = bytes.indexOf('\n');
    const qsizetype r = bytes.indexOf('\r');
    if (r >= 0 && (n < 0 || r < n))
        return r + 1 < bytes.size() && bytes.at(r + 1) == '\n' ? QsciScintilla::EolWindows : QsciScintilla::EolMac;
    return QsciScintilla::EolUnix;
}

} // namespace

SQLTextEditor::SQLTextEditor(UiServices &ui, QWidget *parent)
    : QsciScintilla(parent)
    , mUi(ui)
{
    setUtf8(true);
    SetServerKind(false);
    setMarginType(0, NumberMargin);
    setMarginLineNumbers(0, true);
    setMarginWidth(0, QStringLiteral("099999"));
    setMarginWidth(1, 0);
    setBraceMatching(SloppyBraceMatch);
    setCaretLineVisible(true);
    setCaretLineBackgroundColor(QColor(0xe8, 0xf2, 0xfe));
    setTabWidth(4);
    setEolMode(EolWindows);
    setContextMenuPolicy(Qt::DefaultContextMenu);
    connect(this, &QsciScintilla::cursorPositionChanged, this,
        [this](int line, int index) { Q_EMIT bcCaretMove(0, 0, index, line); });
    connect(this, &QsciScintilla::selectionChanged, this, [this] {
        int lineFrom = 0, indexFrom = 0, lineTo = 0, indexTo = 0;
        getSelection(&lineFrom, &indexFrom, &lineTo, &indexTo);
        Q_EMIT bcSelectionChange(lineFrom, indexFrom, lineTo, indexTo);
    });
}

SQLTextEditor::~SQLTextEditor() = default;

void SQLTextEditor::SetServerKind(bool postgreSQL)
{
    auto *lexer = new KORVOSQLLexer(postgreSQL, this);
    const QFont fixed = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    lexer->setDefaultFont(fixed);
    lexer->setFont(fixed, -1);
    setLexer(lexer);
    setMarginsFont(fixed);
    delete mLexer;
    mLexer = lexer;
}

bool SQLTextEditor::IsModified() const
{
    return SendScintilla(SCI_GETMODIFY) != 0;
}

QByteArray SQLTextEditor::Bytes() const
{
    const auto length = SendScintilla(SCI_GETLENGTH);
    return QByteArray(static_cast<const char *>(SendScintillaPtrResult(SCI_GETCHARACTERPOINTER)), qsizetype(length));
}

void SQLTextEditor::SetBytes(const QByteArray &bytes)
{
    const bool locked = Locked();
    SetLocked(false);
    SendScintilla(SCI_TARGETWHOLEDOCUMENT);
    SendScintilla(SCI_REPLACETARGET, bytes.size(), bytes.constData());
    SetLocked(locked);
}

int SQLTextEditor::LineNotUtf8() const
{
    const QByteArray bytes = Bytes();
    const QByteArray again = QString::fromUtf8(bytes).toUtf8();
    if (again == bytes)
        return 0;
    qsizetype at = 0;
    while (at < bytes.size() && at < again.size() && bytes.at(at) == again.at(at))
        ++at;
    return int(bytes.left(at).count('\n')) + 1;
}

QString SQLTextEditor::Text() const
{
    return QString::fromUtf8(Bytes());
}

void SQLTextEditor::SetText(const QString &text)
{
    SetBytes(text.toUtf8());
}

void SQLTextEditor::AboutBox()
{
    mUi.inform(tr("About the SQL Editor"),
        tr("KORVO's SQL editor, built on QScintilla %1.").arg(QStringLiteral(QSCINTILLA_VERSION_STR)));
}

void SQLTextEditor::QueryCaret()
{
    int line = 0, index = 0;
    getCursorPosition(&line, &index);
    Q_EMIT bcCaretMove(0, 0, index, line);
}

void SQLTextEditor::Box(const QString &title, const QString &text)
{
    mUi.critical(title, text);
}

bool SQLTextEditor::LoadFile(const QString &path)
{
    QFile file(path);
    if (path.isEmpty() || !QFileInfo(path).isFile() || !file.open(QIODevice::ReadOnly)) {
        const QString why
            = path.isEmpty() || !QFileInfo::exists(path) ? tr("it does not exist") : tr("it cannot be read");
        Box(tr("File not Loaded"),
            tr("The file '%1' could not be loaded: %2. The text in the editor was kept.").arg(path, why));
        return false;
    }
    const QByteArray bytes = file.readAll();
    setReadOnly(false);
    SendScintilla(SCI_CLEARALL);
    SendScintilla(SCI_APPENDTEXT, bytes.size(), bytes.constData());
    setEolMode(bytes.contains('\n') || bytes.contains('\r') ? EolOf(bytes) : EolWindows);
    SendScintilla(SCI_EMPTYUNDOBUFFER);
    SendScintilla(SCI_SETSAVEPOINT);
    SendScintilla(SCI_GOTOPOS, 0);
    // Root may write anywhere: the permission bits, as source control leaves them, decide.
    setReadOnly(!(QFile::permissions(path) & QFileDevice::WriteOwner));
    mFileName = path;
    QueryCaret();
    return true;
}

bool SQLTextEditor::SaveFile(const QString &path)
{
    const QString target = path.isEmpty() ? mFileName : path;
    QString why;
    if (target.isEmpty())
        why = tr("no file was loaded");
    else if (path.isEmpty() && !QFileInfo::exists(target))
        why = tr("the file no longer exists");
    // A working file source control left read-only stays so, for root too.
    else if (QFileInfo::exists(target) && !(QFile::permissions(target) & QFileDevice::WriteOwner))
        why = tr("the file is read-only");
    if (why.isEmpty())
        WriteFileBytes(target, Bytes(), &why);
    if (!why.isEmpty()) {
        Box(tr("File not Saved"),
            tr("The text could not be saved to '%1': %2. The text in the editor was kept.").arg(target, why));
        return false;
    }
    mFileName = target;
    SendScintilla(SCI_SETSAVEPOINT);
    return true;
}

void SQLTextEditor::Undo()
{
    if (CanUndo())
        undo();
}

void SQLTextEditor::Redo()
{
    if (CanRedo())
        redo();
}

void SQLTextEditor::Paste(const QString &text)
{
    if (!Locked())
        insert(text);
}

void SQLTextEditor::bcPaste()
{
    if (!Locked())
        paste();
}

void SQLTextEditor::ColourAll()
{
    mLexer->StyleRange(0, int(SendScintilla(SCI_GETLENGTH)));
}

bool SQLTextEditor::Search(const QString &what, bool matchCase, bool wholeWord, bool forward)
{
    mFindWhat = what;
    mMatchCase = matchCase;
    mWholeWord = wholeWord;
    if (what.isEmpty())
        return false;
    // Searching backwards starts before the current match, not inside it.
    if (!forward && HasSelection()) {
        int lineFrom = 0, indexFrom = 0, lineTo = 0, indexTo = 0;
        getSelection(&lineFrom, &indexFrom, &lineTo, &indexTo);
        setCursorPosition(lineFrom, indexFrom);
    }
    if (findFirst(what, false, matchCase, wholeWord, true, forward))
        return true;
    mUi.inform(tr("Find"), tr("Cannot find \"%1\".").arg(what));
    return false;
}

int SQLTextEditor::ReplaceAll(const QString &what, const QString &with, bool matchCase, bool wholeWord)
{
    if (what.isEmpty() || Locked())
        return 0;
    int count = 0;
    beginUndoAction();
    setCursorPosition(0, 0);
    // No wrapping, so that a replacement that contains the text ends the loop.
    for (bool found = findFirst(what, false, matchCase, wholeWord, false, true); found; found = findNext()) {
        replace(with);
        ++count;
    }
    endUndoAction();
    return count;
}

void SQLTextEditor::ShowFindDialog(bool replace)
{
    frmFindText dlg(*this, replace && !Locked(), this);
    dlg.exec();
}

void SQLTextEditor::Find()
{
    ShowFindDialog(false);
}

void SQLTextEditor::Replace()
{
    ShowFindDialog(true);
}

void SQLTextEditor::FindNext()
{
    if (mFindWhat.isEmpty())
        Find();
    else
        Search(mFindWhat, mMatchCase, mWholeWord, true);
}

void SQLTextEditor::FindPrevious()
{
    if (mFindWhat.isEmpty())
        Find();
    else
        Search(mFindWhat, mMatchCase, mWholeWord, false);
}

void SQLTextEditor::focusInEvent(QFocusEvent *e)
{
    QsciScintilla::focusInEvent(e);
    Q_EMIT bcGotFocus();
}

void SQLTextEditor::focusOutEvent(QFocusEvent *e)
{
    bool cancel = false;
    Q_EMIT bcValidate(cancel);
    QsciScintilla::focusOutEvent(e);
    Q_EMIT bcLostFocus();
}

void SQLTextEditor::keyPressEvent(QKeyEvent *e)
{
    int key = e->key();
    const int shift = ShiftState(e->modifiers());
    Q_EMIT bcKeyDown(key, shift);
    if (key == 0) {
        e->accept();
        return;
    }
    if (key == Qt::Key_F3 && (shift == 0 || shift == 1)) {
        e->accept();
        if (shift == 0)
            FindNext();
        else
            FindPrevious();
        return;
    }
    if (!e->text().isEmpty()) {
        int ch = e->text().at(0).unicode();
        Q_EMIT bcKeyPress(ch);
        if (ch == 0) {
            e->accept();
            return;
        }
    }
    QsciScintilla::keyPressEvent(e);
}

void SQLTextEditor::keyReleaseEvent(QKeyEvent *e)
{
    int key = e->key();
    Q_EMIT bcKeyUp(key, ShiftState(e->modifiers()));
    if (key == 0) {
        e->accept();
        return;
    }
    QsciScintilla::keyReleaseEvent(e);
}

void SQLTextEditor::mousePressEvent(QMouseEvent *e)
{
    QsciScintilla::mousePressEvent(e);
    const QPoint p = e->position().toPoint();
    Q_EMIT bcMouseDown(ButtonNumber(e->buttons()), ShiftState(e->modifiers()), p.x(), p.y());
}

void SQLTextEditor::mouseMoveEvent(QMouseEvent *e)
{
    QsciScintilla::mouseMoveEvent(e);
    const QPoint p = e->position().toPoint();
    Q_EMIT bcMouseMove(ButtonNumber(e->buttons()), ShiftState(e->modifiers()), p.x(), p.y());
}

void SQLTextEditor::mouseReleaseEvent(QMouseEvent *e)
{
    QsciScintilla::mouseReleaseEvent(e);
    const QPoint p = e->position().toPoint();
    Q_EMIT bcMouseUp(ButtonNumber(e->button()), ShiftState(e->modifiers()), p.x(), p.y());
    if (e->button() == Qt::LeftButton)
        Q_EMIT bcClick();
}

void SQLTextEditor::mouseDoubleClickEvent(QMouseEvent *e)
{
    QsciScintilla::mouseDoubleClickEvent(e);
    Q_EMIT bcDblClick();
}

void SQLTextEditor::dragMoveEvent(QDragMoveEvent *e)
{
    QsciScintilla::dragMoveEvent(e);
    const QPoint p = e->position().toPoint();
    Q_EMIT bcDragOver(e->source(), p.x(), p.y(), 2);
}

void SQLTextEditor::dropEvent(QDropEvent *e)
{
    if (Locked()) {
        e->ignore();
        return;
    }
    QsciScintilla::dropEvent(e);
    const QPoint p = e->position().toPoint();
    Q_EMIT bcDragDrop(e->source(), p.x(), p.y());
}

void SQLTextEditor::contextMenuEvent(QContextMenuEvent *e)
{
    QMenu *menu = createStandardContextMenu();
    if (!menu)
        return;
    if (!mContextActions.isEmpty()) {
        menu->addSeparator();
        menu->addActions(mContextActions);
    }
    menu->exec(e->globalPos());
    delete menu;
}
