#include "frmSQLQuery.h"

#include "KORVODatabase.h"
#include "KORVOIconImages.h"
#include "KORVOMainWindowServices.h"
#include "SQLTextEditor.h"
#include "UiServices.h"
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
        QFile file(scratch);
        if (file.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
            file.close();
            txtSQL->LoadFile(scratch);
        }
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
