#include "frmEditObjectText.h"

#include "KORVODatabase.h"
#include "KORVOIconLookup.h"
#include "KORVOMainWindowServices.h"
#include "KORVOWindows.h"
#include "SQLParser.h"
#include "SQLTextEditor.h"
#include "UiServices.h"
#include "frmComment.h"
#include "frmEditObjectTextSavePrompt.h"
#include "frmItemDescription.h"
#include "sql/KORVOSQL.h"

#include <QAction>
#include <QFile>
#include <QLabel>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QStatusBar>
#include <QVBoxLayout>

namespace
{

// Main-window shortcuts see the editor's keys under this help context.
constexpr long kKeyContext = 35;

} // namespace

frmEditObjectText::frmEditObjectText(KORVOMainWindowServices &main, KORVODatabase &database, QWidget *parent)
    : SQLEditorChild(main, database, kKeyContext, parent)
{
    // F1 reaches the manual through the main window's keys (kKeyContext), once.
    setObjectName(QStringLiteral("frmEditObjectText"));
    sbStatus = new QStatusBar(this);
    sbStatus->setObjectName(QStringLiteral("sbStatus"));
    auto makePanel = [this](const QString &name, int stretch) {
        auto *panel = new QLabel(this);
        panel->setObjectName(name);
        sbStatus->addWidget(panel, stretch);
        return panel;
    };
    mPanelStatus = makePanel(QStringLiteral("Status"), 1);
    mPanelOnClose = makePanel(QStringLiteral("OnClose"), 0);
    mPanelOnClose->setFixedWidth(200);
    mPanelCaret = makePanel(QStringLiteral("Caret"), 0);
    mPanelCaret->setFixedWidth(64);
    lblStatus = new QLabel(this);
    lblStatus->setObjectName(QStringLiteral("lblStatus"));
    lblStatus->hide();
    lblClose = new QLabel(this);
    lblClose->setObjectName(QStringLiteral("lblClose"));
    lblClose->hide();

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(txtSQL, 1);
    layout->addWidget(sbStatus);

    auto *compare = new QAction(tr("Compare with VSS"), this);
    compare->setObjectName(QStringLiteral("mnuCompareWithVSS"));
    connect(compare, &QAction::triggered, this, &frmEditObjectText::CompareWithVSS);
    txtSQL->AddContextAction(compare);

    auto activate = [this] {
        if (auto *sub = qobject_cast<QMdiSubWindow *>(parentWidget()); sub && sub->mdiArea())
            sub->mdiArea()->setActiveSubWindow(sub);
    };
    connect(txtSQL, &SQLTextEditor::bcClick, this, activate);
    connect(txtSQL, &SQLTextEditor::bcDblClick, this, activate);
    // A locked text ignores typing; say why rather than nothing.
    connect(txtSQL, &SQLTextEditor::bcKeyPress, this, [this](int &ch) {
        if (txtSQL->Locked() && mItem && (ch >= 32 || ch == 8 || ch == 9 || ch == 13))
            mPanelStatus->setText(QStringLiteral("Read only: check the object out (Ctrl+O) to change it."));
    });
    connect(txtSQL, &SQLTextEditor::bcSelectionChange, this, [this] {
        if (IsActiveChild() && !txtSQL->HasFocus())
            txtSQL->setFocus();
    });
}

frmEditObjectText::~frmEditObjectText() = default;

// --- Opening and loading ---

void frmEditObjectText::NewObject(const KORVOTypedObjectPtr &object, const QString &text)
{
    Open(object, text, true);
}

void frmEditObjectText::OpenObject(const KORVOTypedObjectPtr &object)
{
    Open(object, QString(), false);
}

void frmEditObjectText::Open(const KORVOTypedObjectPtr &object, const QString &text, bool asNew)
{
    mLoading = true;
    mOpenedAsNew = asNew;
    mItem = object;
    const auto &sql = mItem->ActiveDBConnection();
    txtSQL->SetServerKind(sql && sql->Kind().KindId() == ServerKind::Id::PostgreSQL);
    SetStatus(QString());
    mClosing = false;
    LoadObject(text);
    // The main window shows the window; its size follows once it is shown.
    ApplyChildSize();
}

void frmEditObjectText::LoadObject(const QString &text)
{
    txtSQL->LoadFile(mItem->FileName());
    if (!text.isEmpty())
        txtSQL->SetText(text);

    mCaptionText.clear();
    mGetLatestAllowed = mEditAllowed = mCheckOutAllowed = mUndoCheckOutAllowed = false;
    mPermissionsAllowed = mDescriptionAllowed = mOpenFileAllowed = mSaveFileAllowed = false;
    SetStatus(QStringLiteral("Getting Data"));
    if (mItem->IsNew()) {
        mEditAllowed = mOpenFileAllowed = mSaveFileAllowed = true;
    } else {
        mPermissionsAllowed = mDescriptionAllowed = true;
        if (mItem->IsCheckedOutByMe())
            mEditAllowed = mUndoCheckOutAllowed = mOpenFileAllowed = mSaveFileAllowed = true;
        else
            mGetLatestAllowed = mCheckOutAllowed = true;
    }
    const QString iconName = mItem->IconToUse();
    mCurrentIcon = mDatabase.Icons() ? mDatabase.Icons()->Index(iconName) : -1;
    RefreshCaption();
    lblStatus->setText(QStringLiteral("Ln 99999, Col 99999"));
    mPanelCaret->setFixedWidth(lblStatus->fontMetrics().horizontalAdvance(lblStatus->text()) + 12);
    SetStatus(QString());
    mTextLoaded = true;
}

void frmEditObjectText::RefreshCaption()
{
    if (!mItem)
        return;
    if (mItem->IsNew()) {
        mCaptionText = QStringLiteral("New (") + mItem->ObjectDisplayName() + QLatin1Char(')');
    } else {
        mCaptionText = mItem->Generic().Caption(mDatabase.ShowOwnerNameInName()) + QStringLiteral(" (")
            + mItem->ObjectDisplayName() + QStringLiteral(") - Edit");
        if (!mItem->IsCheckedOutByMe())
            mCaptionText += QStringLiteral(" [Read Only]");
    }
    setWindowTitle(mCaptionText);
    // The frame shows the object's picture in its state, as the tree does.
    setWindowIcon(KORVOTreeIcon(mItem->IconToUse()));
}

QString frmEditObjectText::ObjectKey() const
{
    if (!mItem)
        return QString();
    return mItem->IsNew() ? QStringLiteral("NEW") : QStringLiteral("I") + mItem->DBID();
}

QString frmEditObjectText::ObjectTag() const
{
    return mItem ? mItem->ObjectType() : QString();
}

// --- Status bar and layout ---

void frmEditObjectText::SetStatus(const QString &text)
{
    mPanelStatus->setText(text.isEmpty() ? QStringLiteral("Ready.") : text + QStringLiteral(" ..."));
}

void frmEditObjectText::RefreshStatusBar()
{
    if (!mItem)
        return;
    QString text;
    if (mItem->IsNew() && !mDatabase.ShowSaveChangesNew()) {
        static const QStringList sentences { "it will be Checked In", "it's Text will be Saved",
            "all changes will be Discarded" };
        text = sentences.value(mDatabase.SaveChangesNewDefault() - 1);
    } else if (!mItem->IsNew() && mItem->IsCheckedOutByMe() && !mDatabase.ShowSaveChangesEdit()) {
        static const QStringList sentences { " it will be Checked In", "it's Text will be Saved", QString(),
            "all changes will be Discarded but will remain Checked Out",
            "all changes will be Discarded and Checkout will be Undone" };
        text = sentences.value(mDatabase.SaveChangesEditDefault() - 1);
    }
    if (text.isEmpty())
        return;
    lblClose->setText(QStringLiteral("On Closing this item ") + text);
    mPanelOnClose->setText(lblClose->text());
    mPanelOnClose->setFixedWidth(lblClose->fontMetrics().horizontalAdvance(lblClose->text()) + 12);
}

void frmEditObjectText::CaretMoved(int column, int line)
{
    lblStatus->setText(CaretText(column, line));
    mPanelCaret->setText(lblStatus->text());
}

bool frmEditObjectText::IsActiveChild()
{
    auto *sub = qobject_cast<QMdiSubWindow *>(parentWidget());
    return sub ? sub->mdiArea() && sub->mdiArea()->activeSubWindow() == sub : isActiveWindow();
}

void frmEditObjectText::FirstShown()
{
    if (auto *sub = qobject_cast<QMdiSubWindow *>(parentWidget()))
        connect(sub, &QMdiSubWindow::aboutToActivate, this, &frmEditObjectText::RefreshStatusBar);
    RefreshStatusBar();
}

void frmEditObjectText::resizeEvent(QResizeEvent *e)
{
    SQLEditorChild::resizeEvent(e);
    QWidget *frame = Frame();
    if (frame->isMinimized())
        return;
    sbStatus->setSizeGripEnabled(!frame->isMaximized());
    mPanelCaret->setFixedWidth(lblStatus->fontMetrics().horizontalAdvance(lblStatus->text()) + 12);
}

// --- Closing ---

bool frmEditObjectText::CloseItem(bool force)
{
    SetStatus(QStringLiteral("Closing Item"));
    if (!CloseChild(force)) {
        SetStatus(QString());
        return false;
    }
    return true;
}

bool frmEditObjectText::ConfirmClose()
{
    WaitCursor wait(Ui());
    if (!mItem || !txtSQL->IsModified())
        return true;
    switch (frmEditObjectTextSavePrompt(Ui(), this).ChangesMade(mDatabase, mItem->IsNew())) {
    case 1:
        return CheckInItem();
    case 2:
        return SaveText(false);
    case 3:
    case 4:
        return true;
    case 5:
        return UndoCheckout(false);
    default:
        return false;
    }
}

// --- Text ---

QString frmEditObjectText::FileFilter() const
{
    const QString ext = mItem->FileExtension();
    return QStringLiteral("%1 Files (*%2);;SQL Script Files (*.sql);;All Files (*)")
        .arg(mItem->ObjectDisplayName(), ext);
}

void frmEditObjectText::OpenText()
{
    if (txtSQL->IsModified()
        && !Ui().askYesNo(QStringLiteral("Discard Changes Made?"),
            QStringLiteral("Are you sure you want to load a file? Changes made to the object will be lost."))) {
        return;
    }
    SetStatus(QStringLiteral("Loading Text"));
    const QString path = Ui().openFileName(QStringLiteral("Load SQL from a File"), QString(), FileFilter());
    if (!path.isEmpty()) {
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly)) {
            Ui().critical(QStringLiteral("File not Loaded"),
                QStringLiteral("The file '%1' could not be read: %2.").arg(path, file.errorString()));
        } else if (const QByteArray bytes = file.readAll(); bytes.isEmpty()) {
            Ui().warn(QStringLiteral("File not Loaded"), QStringLiteral("The specified file is empty!"));
        } else {
            txtSQL->SetBytes(bytes);
            Ui().inform(QStringLiteral("File Loaded"), QStringLiteral("The File was sussessfully loaded!"));
        }
    }
    SetStatus(QString());
}

bool frmEditObjectText::SaveText(bool showMessage)
{
    if (mItem->IsNew()) {
        const QString current = mItem->FileName();
        const QString path
            = Ui().saveFileName(QStringLiteral("Save ") + mItem->ObjectDisplayName(), current, FileFilter());
        // A new object is saved only under a name of its own.
        if (path.isEmpty() || path == current)
            return false;
        SetStatus(QStringLiteral("Saving Text"));
        if (!txtSQL->SaveFile(path)) {
            SetStatus(QString());
            return false;
        }
        mItem->SetFileName(path);
        txtSQL->LoadFile(path);
    } else {
        SetStatus(QStringLiteral("Saving Text"));
        if (!txtSQL->SaveFile(QString())) {
            SetStatus(QString());
            return false;
        }
    }
    mTextLoaded = true;
    SetStatus(QString());
    if (showMessage)
        Ui().inform(QStringLiteral("Text Saved"), QStringLiteral("Text has been successfully Saved"));
    return true;
}

// --- Version control ---

bool frmEditObjectText::TextIsUtf8(const QString &step)
{
    // The server and source control get UTF-8: a byte that is not UTF-8 would
    // reach them as U+FFFD, so the text goes nowhere until the user fixes it.
    const int line = txtSQL->LineNotUtf8();
    if (line == 0)
        return true;
    Ui().critical(QStringLiteral("Text not UTF-8"),
        QStringLiteral("Line %1 of the text holds a character that is not UTF-8 (an 8-bit character from an older "
                       "file). KORVO sends texts to the server and to source control as UTF-8 and would change "
                       "it, so nothing was %2.\n\nRetype the character on that line and try again.")
            .arg(line)
            .arg(step));
    return false;
}

bool frmEditObjectText::TestItem(bool showMessage)
{
    if (showMessage && !TextIsUtf8(QStringLiteral("sent")))
        return false;
    const bool ok = mItem->TestItem(txtSQL->Text());
    if (ok && showMessage)
        Ui().inform(QStringLiteral("Syntax OK"), QStringLiteral("Syntax is OK"));
    return ok;
}

bool frmEditObjectText::GetLatestVersionOfItem()
{
    SetStatus(QStringLiteral("Getting Latest Version"));
    const bool ok = mItem->GetLatestVersion();
    if (ok) {
        LoadObject(QString());
        mMain.RefreshItem(mItem->ObjectType(), QStringLiteral("I") + mItem->DBID(), false);
    }
    SetStatus(QString());
    return ok;
}

bool frmEditObjectText::CheckOutItem()
{
    SetStatus(QStringLiteral("Checking Out Item"));
    const bool ok = mItem->CheckOut();
    if (ok) {
        LoadObject(QString());
        mMain.RefreshItem(mItem->ObjectType(), QStringLiteral("I") + mItem->DBID(), false);
    }
    SetStatus(QString());
    return ok;
}

bool frmEditObjectText::CheckInItem()
{
    if (!TextIsUtf8(QStringLiteral("checked in")))
        return false;
    SetStatus(QStringLiteral("Checking In Item"));
    QString comment;
    if (mDatabase.ShowCommentPrompt()) {
        if (!TestItem(false) || !frmComment(this).GetComment(comment)) {
            SetStatus(QString());
            return false;
        }
    }
    const bool ok = mItem->CheckIn(txtSQL->Text(), comment);
    if (!ok && mItem->ServerTextTaken()) {
        // The working file holds the server's text now.
        LoadObject(QString());
    }
    if (ok) {
        LoadObject(QString());
        if (mOpenedAsNew) {
            if (mDatabase.ShowDescriptionPrompt())
                ChangeDescription();
            mOpenedAsNew = mItem->IsNew();
            mMain.RefreshItem(mItem->ParentObjectType(), mItem->ParentObjectType(), false);
            if (mDatabase.ShowPermissionsOnNewObjectCreate() && mItem->HasPermissions())
                mMain.EditPermissions(mItem->ObjectType(), QStringLiteral("I") + mItem->DBID(), mItem);
        } else {
            mMain.RefreshItem(mItem->ObjectType(), QStringLiteral("I") + mItem->DBID(), false);
        }
    }
    SetStatus(QString());
    return ok;
}

bool frmEditObjectText::UndoCheckout(bool confirm)
{
    bool ask = false;
    if (confirm) {
        WaitCursor wait(Ui());
        // Also a text that was saved but never checked in.
        ask = txtSQL->IsModified() || !TextsEqual(txtSQL->Text(), mItem->GetContent(1), false, false);
    }
    if (ask
        && !Ui().askYesNo(
            QStringLiteral("Undo Checkout?"), QStringLiteral("Are you sure you want to discard the changes made?")))
        return false;
    SetStatus(QStringLiteral("Undoing Check Out of Item"));
    const bool ok = mItem->UndoCheckout();
    if (ok) {
        LoadObject(QString());
        mMain.RefreshItem(mItem->ObjectType(), QStringLiteral("I") + mItem->DBID(), false);
    }
    SetStatus(QString());
    return ok;
}

void frmEditObjectText::ShowHistory()
{
    WaitCursor wait(Ui());
    const QString key = ObjectKey();
    if (mMain.Windows().ShowHistory(this, mDatabase, mItem)) {
        GetLatestVersionOfItem();
        mMain.RefreshItem(ObjectTag(), key, true);
    }
}

void frmEditObjectText::ChangeDescription()
{
    WaitCursor wait(Ui());
    QString description = mItem->Description();
    if (frmItemDescription(Ui(), this).GetDescription(description)) {
        SetStatus(QStringLiteral("Saving Item Description"));
        mItem->SetDescription(description);
    }
    SetStatus(QString());
}

void frmEditObjectText::CompareWithVSS()
{
    if (mItem->IsNew())
        return;
    WaitCursor wait(Ui());
    mMain.Windows().Compare(
        this, mDatabase, txtSQL->Text(), mItem->GetContent(1), QStringLiteral("SQL"), QStringLiteral("VSS"));
}
