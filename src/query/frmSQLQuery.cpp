#include "frmSQLQuery.h"

#include "KORVODatabase.h"
#include "KORVOIconImages.h"
#include "KORVOMainWindowServices.h"
#include "SQLTextEditor.h"
#include "UiServices.h"
#include "multiGrid.h"
#include "sql/KORVOSQL.h"
#include "vss/KORVOVSS.h"

#include <QApplication>
#include <QClipboard>
#include <QCloseEvent>
#include <QFile>
#include <QLabel>
#include <QMdiSubWindow>
#include <QMimeData>
#include <QSplitter>
#include <QStatusBar>
#include <QToolBar>
#include <QToolButton>
#include <QVBoxLayout>

namespace
{

const QString kReady = QStringLiteral("Ready.");
const QString kFilter = QStringLiteral("All SQL Files (*.sql);;All Files (*)");
constexpr long kKeyContext = 56; // the query window's help topic

} // namespace

frmSQLQuery::frmSQLQuery(KORVOMainWindowServices &main, KORVODatabase &database, QWidget *parent)
    : QWidget(parent)
    , mMain(main)
    , mDatabase(database)
{
    setObjectName(QStringLiteral("frmSQLQuery"));
    MarkAsChild(*this);
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(QStringLiteral("SQL Query Window"));
    setWindowIcon(KORVOIconImage(QStringLiteral("SQLQUERY")));

    tbrQuery = new QToolBar(QStringLiteral("SQL Query Toolbar"), this);
    tbrQuery->setObjectName(QStringLiteral("tbrQuery"));
    tbrQuery->setProperty("Key", QStringLiteral("SQT"));
    tbrQuery->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    auto addButton = [this](const QString &key, const QString &icon, const QString &text, const QString &tip) {
        QAction *a = tbrQuery->addAction(KORVOIconImage(icon), text);
        a->setObjectName(key);
        a->setToolTip(tip);
        return a;
    };
    mParse = addButton(QStringLiteral("SQWBAR:PARSE"), QStringLiteral("SQLQUERY:PARSE"), QStringLiteral("Parse SQL"),
        QStringLiteral("Parse Selected SQL"));
    mExecute = addButton(QStringLiteral("SQWBAR:EXECUTE"), QStringLiteral("SQLQUERY:EXECUTE"),
        QStringLiteral("Execute SQL"), QStringLiteral("Execute Selected SQL"));
    mCancel = tbrQuery->addAction(QIcon::fromTheme(QStringLiteral("process-stop")), QStringLiteral("Cancel Query"));
    mCancel->setObjectName(QStringLiteral("SQWBAR:CANCEL"));
    mCancel->setToolTip(QStringLiteral("Cancel the Running Query"));
    mCancel->setEnabled(false);
    tbrQuery->addSeparator()->setObjectName(QStringLiteral("SQWBAR:SPACER1"));
    mPanel = addButton(QStringLiteral("SQWBAR:PANEL"), QStringLiteral("SQLQUERY:PANEL"),
        QStringLiteral("Show/Hide Query Results Panel"), QStringLiteral("Show/Hide Query Results Panel"));
    mPanel->setCheckable(true);
    connect(mParse, &QAction::triggered, this, &frmSQLQuery::Parse);
    connect(mExecute, &QAction::triggered, this, &frmSQLQuery::Execute);
    connect(mCancel, &QAction::triggered, this, &frmSQLQuery::CancelQuery);
    connect(mPanel, &QAction::triggered, this, [this](bool checked) { SetPanelVisible(checked); });

    mSplitter = new QSplitter(Qt::Vertical, this);
    mSplitter->setObjectName(QStringLiteral("splitter"));
    mSplitter->setChildrenCollapsible(false);
    picText = new QWidget(mSplitter);
    picText->setObjectName(QStringLiteral("picText"));
    txtSQL = new SQLTextEditor(database.Ui(), picText);
    txtSQL->setObjectName(QStringLiteral("txtSQL"));
    auto *textLayout = new QVBoxLayout(picText);
    textLayout->setContentsMargins(0, 0, 0, 0);
    textLayout->addWidget(txtSQL);
    grdResults = new multiGrid(mSplitter);
    mSplitter->addWidget(picText);
    mSplitter->addWidget(grdResults);
    mSplitter->setStretchFactor(0, 3);
    mSplitter->setStretchFactor(1, 2);

    sbStatus = new QStatusBar(this);
    sbStatus->setObjectName(QStringLiteral("sbStatus"));
    // The small button that opens and closes the result panel.
    cmdSplit = new QToolButton(sbStatus);
    cmdSplit->setObjectName(QStringLiteral("cmdSplit"));
    cmdSplit->setAutoRaise(true);
    connect(cmdSplit, &QToolButton::clicked, this, [this] { SetPanelVisible(!PanelVisible()); });
    sbStatus->addWidget(cmdSplit);
    mPanelStatus = new QLabel(kReady, this);
    mPanelStatus->setObjectName(QStringLiteral("Status"));
    sbStatus->addWidget(mPanelStatus, 1);
    mPanelCaret = new QLabel(this);
    mPanelCaret->setObjectName(QStringLiteral("Caret"));
    mPanelCaret->setFixedWidth(mPanelCaret->fontMetrics().horizontalAdvance(QStringLiteral("Ln 99999, Col 99999")) + 12);
    sbStatus->addWidget(mPanelCaret);

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(tbrQuery);
    layout->addWidget(mSplitter, 1);
    layout->addWidget(sbStatus);

    auto clipboardChanged = [this] {
        const QMimeData *data = QApplication::clipboard()->mimeData();
        mClipboardHasText = data && data->hasText();
    };
    connect(QApplication::clipboard(), &QClipboard::dataChanged, this, clipboardChanged);
    clipboardChanged();

    connect(txtSQL, &SQLTextEditor::bcCaretMove, this, [this](int, int, int column, int line) {
        mPanelCaret->setText(QStringLiteral("Ln %1, Col %2").arg(line + 1).arg(column + 1));
    });
    connect(txtSQL, &SQLTextEditor::bcGotFocus, this, [this] { mHasFocus = true; });
    connect(txtSQL, &SQLTextEditor::bcLostFocus, this, [this] { mHasFocus = false; });
    connect(txtSQL, &SQLTextEditor::bcKeyDown, this,
        [this](int &key, int shift) { mMain.KeyPreview(true, key, shift, kKeyContext); });
    connect(txtSQL, &SQLTextEditor::bcKeyUp, this,
        [this](int &key, int shift) { mMain.KeyPreview(false, key, shift, kKeyContext); });
    connect(grdResults, &multiGrid::runningChanged, this, [this](bool running) {
        mParse->setEnabled(!running);
        mExecute->setEnabled(!running);
        mCancel->setEnabled(running);
        // The text stays as it was sent while the server works on it.
        txtSQL->setReadOnly(running);
        SetStatus(running ? QStringLiteral("Executing SQL") : kReady);
    });
}

frmSQLQuery::~frmSQLQuery() = default;

UiServices &frmSQLQuery::Ui() const
{
    return mDatabase.Ui();
}

QString frmSQLQuery::PanelText(const QString &panel) const
{
    const auto *label = findChild<QLabel *>(panel);
    return label ? label->text() : QString();
}

long frmSQLQuery::CurrentIcon() const
{
    const auto &icons = mDatabase.Icons();
    return icons ? long(icons->Names().indexOf(QStringLiteral("SQLQUERY")) + 1) : 0;
}

void frmSQLQuery::OpenSQLQuery()
{
    mLoading = true;
    const KORVOProjectPtr &project = mDatabase.Project();
    txtSQL->SetServerKind(project && project->SQL()->Kind().KindId() == ServerKind::Id::PostgreSQL);
    // The editor works on an empty scratch file; the user's file is QueryFileName.
    if (project) {
        const QString scratch = project->VSS()->GetItemFileName(QStringLiteral("SQLQuery.sql"));
        QFile file(scratch);
        if (file.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
            file.close();
            txtSQL->LoadFile(scratch);
        }
        grdResults->SetSQLConnection(project->SQL().get());
    }
    SetPanelVisible(false);
    RefreshCaption();
    mLoading = false;
}

void frmSQLQuery::RefreshCaption()
{
    setWindowTitle(QStringLiteral("SQL Query Window"));
}

// --- Running ---

QString frmSQLQuery::TextToRun() const
{
    const QString selected = txtSQL->SelectedText();
    return selected.isEmpty() ? txtSQL->Text() : selected;
}

void frmSQLQuery::Parse()
{
    const QString text = TextToRun();
    if (text.trimmed().isEmpty() || grdResults->IsRunning())
        return;
    WaitCursor wait(Ui());
    grdResults->ParseQuery(text);
    SetPanelVisible(true);
}

void frmSQLQuery::Execute()
{
    const QString text = TextToRun();
    if (text.trimmed().isEmpty() || grdResults->IsRunning())
        return;
    WaitCursor wait(Ui());
    SetPanelVisible(true);
    grdResults->ExecuteQuery(text);
}

void frmSQLQuery::CancelQuery()
{
    grdResults->Cancel();
}

bool frmSQLQuery::PanelVisible() const
{
    return !grdResults->isHidden();
}

void frmSQLQuery::SetPanelVisible(bool show)
{
    mPanel->setChecked(show);
    grdResults->setVisible(show);
    mSplitter->handle(1)->setVisible(show);
    // A panel hidden before the splitter was first laid out comes back with no height.
    if (show && mSplitter->sizes().value(1) == 0)
        mSplitter->setSizes({ mSplitter->height() * 3 / 5, mSplitter->height() * 2 / 5 });
    cmdSplit->setArrowType(show ? Qt::DownArrow : Qt::UpArrow);
    cmdSplit->setToolTip(QStringLiteral("Show/Hide Query Results Panel"));
}

// --- Files ---

void frmSQLQuery::OpenText()
{
    if (txtSQL->IsModified()
        && !Ui().askYesNo(QStringLiteral("Discard Changes Made?"),
            QStringLiteral("Are you sure you want to load a file? Changes made to the object will be lost.")))
        return;
    SetStatus(QStringLiteral("Opening SQL File"));
    const QString path = Ui().openFileName(QStringLiteral("Open SQL File"), mQueryFileName, kFilter);
    if (!path.isEmpty()) {
        QFile file(path);
        if (file.open(QIODevice::ReadOnly)) {
            mQueryFileName = path;
            txtSQL->SetText(QString::fromUtf8(file.readAll()));
        }
    }
    SetStatus(kReady);
}

bool frmSQLQuery::SaveText(bool showMessage)
{
    if (mQueryFileName.isEmpty()) {
        const QString path = Ui().saveFileName(QStringLiteral("Save SQL Query"), QString(), kFilter);
        if (path.isEmpty())
            return false;
        mQueryFileName = path;
    }
    QFile file(mQueryFileName);
    if (file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        file.write(txtSQL->Text().toUtf8());
    file.close();
    txtSQL->SaveFile(QString());
    if (showMessage)
        Ui().inform(QStringLiteral("SQL Query Saved"), QStringLiteral("SQL Query has been successfully Saved"));
    return true;
}

// --- Closing ---

bool frmSQLQuery::ConfirmSave()
{
    if (!txtSQL->IsModified())
        return true;
    switch (Ui().messageBox(UiServices::Icon::Question, QStringLiteral("Save SQL"),
        QStringLiteral("Would you like to save the changes made?"), UiServices::Buttons::YesNoCancel)) {
    case UiServices::Answer::Yes:
        return SaveText(true);
    case UiServices::Answer::No:
        return true;
    default:
        return false;
    }
}

bool frmSQLQuery::CloseItem(bool force)
{
    // A running query holds this window's connection: it is cancelled first.
    if (grdResults->IsRunning()) {
        grdResults->Cancel();
        return false;
    }
    SetStatus(QStringLiteral("Closing SQL Query Window"));
    if (!force && !ConfirmSave()) {
        SetStatus(kReady);
        return false;
    }
    mClosing = true;
    ChildFrame(this)->close();
    return true;
}

bool frmSQLQuery::QueryClose()
{
    return !grdResults->IsRunning() && ConfirmSave();
}

void frmSQLQuery::closeEvent(QCloseEvent *e)
{
    if (grdResults->IsRunning()) {
        grdResults->Cancel();
        e->ignore();
        return;
    }
    if (!mClosing && !ConfirmSave()) {
        e->ignore();
        return;
    }
    mClosing = true;
    ClearChildMarker(this);
    QWidget::closeEvent(e);
}

// --- Size and status ---

void frmSQLQuery::SetStatus(const QString &text)
{
    mPanelStatus->setText(text);
}

QWidget *frmSQLQuery::Frame()
{
    return ChildFrame(this);
}

void frmSQLQuery::showEvent(QShowEvent *e)
{
    QWidget::showEvent(e);
    if (std::exchange(mSizeApplied, true))
        return;
    // The size is kept in twips, shared with the text window.
    QWidget *frame = Frame();
    if (!frame->isMaximized())
        frame->resize(int(mDatabase.ChildWindowWidth() * logicalDpiX() / 1440.0),
            int(mDatabase.ChildWindowHeight() * logicalDpiY() / 1440.0));
    if (auto *sub = qobject_cast<QMdiSubWindow *>(parentWidget())) {
        if (mDatabase.ChildWindowState() == 2)
            sub->showMaximized();
        connect(sub, &QMdiSubWindow::windowStateChanged, this, &frmSQLQuery::StoreChildSize);
    }
}

void frmSQLQuery::resizeEvent(QResizeEvent *e)
{
    QWidget::resizeEvent(e);
    StoreChildSize();
}

void frmSQLQuery::StoreChildSize()
{
    QWidget *frame = Frame();
    if (mLoading || !mSizeApplied || !isVisible() || frame->isMinimized())
        return;
    mDatabase.SetChildWindowState(frame->isMaximized() ? 2 : 0);
    if (!frame->isMaximized()) {
        mDatabase.SetChildWindowWidth(qRound(frame->width() * 1440.0 / logicalDpiX()));
        mDatabase.SetChildWindowHeight(qRound(frame->height() * 1440.0 / logicalDpiY()));
    }
}

// --- Editing, passed to the editor ---

bool frmSQLQuery::CanCut() const
{
    return txtSQL->HasSelection() && !txtSQL->Locked();
}
bool frmSQLQuery::CanCopy() const
{
    return txtSQL->HasSelection();
}
bool frmSQLQuery::CanPaste() const
{
    return mClipboardHasText && !txtSQL->Locked();
}
bool frmSQLQuery::CanUndo() const
{
    return txtSQL->CanUndo();
}
bool frmSQLQuery::CanRedo() const
{
    return txtSQL->CanRedo();
}
void frmSQLQuery::Undo()
{
    txtSQL->Undo();
}
void frmSQLQuery::Redo()
{
    txtSQL->Redo();
}
void frmSQLQuery::CopyText()
{
    txtSQL->bcCopy();
}
void frmSQLQuery::CutText()
{
    txtSQL->bcCut();
}
void frmSQLQuery::PasteText()
{
    txtSQL->bcPaste();
}
void frmSQLQuery::Find(bool next, bool previous)
{
    if (next)
        txtSQL->FindNext();
    else if (previous)
        txtSQL->FindPrevious();
    else
        txtSQL->Find();
}
void frmSQLQuery::FindNext()
{
    txtSQL->FindNext();
}
void frmSQLQuery::FindPrevious()
{
    txtSQL->FindPrevious();
}
void frmSQLQuery::Replace()
{
    txtSQL->Replace();
}
void frmSQLQuery::SetFocusOfChild()
{
    txtSQL->setFocus();
}
