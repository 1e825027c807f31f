#include "frmSQLQuery.h"

#include "KORVODatabase.h"
#include "KORVOIconImages.h"
#include "KORVOMainWindowServices.h"
#include "SQLTextEditor.h"
#include "UiServices.h"
#include "UserDataFolder.h"
#include "multiGrid.h"
#include "sql/KORVOSQL.h"
#include "vss/KORVOVSS.h"

#include <QCloseEvent>
#include <QFile>
#include <QLabel>
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
    : SQLEditorChild(main, database, kKeyContext, parent)
{
    setObjectName(QStringLiteral("frmSQLQuery"));
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
    // F5 and Ctrl+Enter run the text, after the main window's keys had their turn.
    connect(txtSQL, &SQLTextEditor::bcKeyDown, this, [this](int &key, int shift) {
        const bool run = (key == Qt::Key_F5 && shift == 0)
            || ((key == Qt::Key_Return || key == Qt::Key_Enter) && shift == 2);
        if (!run)
            return;
        key = 0;
        if (mExecute->isEnabled())
            Execute();
    });
    connect(mCancel, &QAction::triggered, this, &frmSQLQuery::CancelQuery);
    connect(mPanel, &QAction::triggered, this, [this](bool checked) { SetPanelVisible(checked); });

    mSplitter = new QSplitter(Qt::Vertical, this);
    mSplitter->setObjectName(QStringLiteral("splitter"));
    mSplitter->setChildrenCollapsible(false);
    picText = new QWidget(mSplitter);
    picText->setObjectName(QStringLiteral("picText"));
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

void frmSQLQuery::CaretMoved(int column, int line)
{
    mPanelCaret->setText(CaretText(column, line));
}

long frmSQLQuery::CurrentIcon() const
{
    const auto &icons = mDatabase.Icons();
    return icons ? long(icons->Names().indexOf(QStringLiteral("SQLQUERY")) + 1) : 0;
}

void frmSQLQuery::OpenSQLQuery()
{
    const KORVOProjectPtr &project = mDatabase.Project();
    txtSQL->SetServerKind(project && project->SQL()->Kind().KindId() == ServerKind::Id::PostgreSQL);
    // The editor works on an empty scratch file; the user's file is QueryFileName.
    if (project) {
        const QString scratch = project->VSS()->GetItemFileName(QStringLiteral("SQLQuery.sql"));
        if (WriteFileBytes(scratch, QByteArray()))
            txtSQL->LoadFile(scratch);
        grdResults->SetSQLConnection(project->SQL().get());
    }
    SetPanelVisible(false);
    RefreshCaption();
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
    grdResults->SetRowLimit(mDatabase.QueryRowLimit());
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
        if (!file.open(QIODevice::ReadOnly)) {
            Ui().critical(QStringLiteral("File not Loaded"),
                QStringLiteral("The file '%1' could not be read: %2.").arg(path, file.errorString()));
        } else {
            QByteArray bytes = file.readAll();
            mFileBom = bytes.startsWith("\xEF\xBB\xBF");
            if (mFileBom)
                bytes.remove(0, 3);
            // A file that is not UTF-8 (an older 8-bit file) is read byte for byte
            // and saved back in the same bytes.
            const QString utf8 = QString::fromUtf8(bytes);
            mFileLatin1 = utf8.toUtf8() != bytes;
            mQueryFileName = path;
            txtSQL->SetText(mFileLatin1 ? QString::fromLatin1(bytes) : utf8);
        }
    }
    SetStatus(kReady);
}

namespace
{
// The first line (from 1) with a character Latin-1 cannot hold; 0 when none.
int LineOutsideLatin1(const QString &text)
{
    int line = 1;
    for (const QChar c : text) {
        if (c == QLatin1Char('\n'))
            ++line;
        else if (c.unicode() > 0xFF)
            return line;
    }
    return 0;
}
} // namespace

bool frmSQLQuery::SaveText(bool showMessage)
{
    QString path = mQueryFileName;
    if (path.isEmpty()) {
        path = Ui().saveFileName(QStringLiteral("Save SQL Query"), QString(), kFilter);
        if (path.isEmpty())
            return false;
    }
    const QString text = txtSQL->Text();
    bool latin1 = mFileLatin1;
    if (latin1) {
        if (const int line = LineOutsideLatin1(text)) {
            if (!Ui().askYesNo(QStringLiteral("Save as UTF-8?"),
                    QStringLiteral("The file was read as 8-bit text (Latin-1), and line %1 now holds a character that "
                                   "such a file cannot hold.\n\nSave the whole file as UTF-8? With No nothing is "
                                   "saved.")
                        .arg(line)))
                return false;
            latin1 = false;
        }
    }
    QByteArray bytes = latin1 ? text.toLatin1() : text.toUtf8();
    if (mFileBom && !latin1)
        bytes.prepend("\xEF\xBB\xBF");
    QString why;
    if (!WriteFileBytes(path, bytes, &why)) {
        // The window stays open and modified with the text; the old file is whole.
        Ui().critical(QStringLiteral("SQL Query not Saved"),
            QStringLiteral("The SQL Query could not be saved to '%1': %2.\n\nThe text stays in the window.")
                .arg(path, why));
        return false;
    }
    mQueryFileName = path;
    mFileLatin1 = latin1;
    txtSQL->setModified(false);
    if (showMessage)
        Ui().inform(QStringLiteral("SQL Query Saved"), QStringLiteral("SQL Query has been successfully Saved"));
    return true;
}

// --- Closing ---

bool frmSQLQuery::ConfirmClose()
{
    if (grdResults->IsRunning())
        return false;
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
    if (!CloseChild(force)) {
        SetStatus(kReady);
        return false;
    }
    return true;
}

void frmSQLQuery::closeEvent(QCloseEvent *e)
{
    if (grdResults->IsRunning()) {
        grdResults->Cancel();
        e->ignore();
        return;
    }
    SQLEditorChild::closeEvent(e);
}

// --- Status ---

void frmSQLQuery::SetStatus(const QString &text)
{
    mPanelStatus->setText(text);
}
