#include "frmEditObjectPermissions.h"

#include "KORVODatabase.h"
#include "KORVOIconImages.h"
#include "KORVOMainWindowServices.h"
#include "driver/SqlError.h"
#include "sql/KORVOSQL.h"
#include "ui/UiServices.h"

#include <QApplication>
#include <QClipboard>
#include <QHeaderView>
#include <QKeyEvent>
#include <QTableWidget>
#include <QVBoxLayout>

namespace
{

constexpr int kNameWidth = 215;
constexpr int kRightWidth = 55;
// The help topic of the window, under which the main window sees its keys.
constexpr long kHelpContext = 39;

QString ValueIconName(int value)
{
    static const char *const names[] = { "PERMISSION:NONE", "PERMISSION:GRANT", "PERMISSION:DENY", "PERMISSION:OWNER" };
    return QLatin1String(names[qBound(0, value, 3)]);
}

// Column key and heading of a right.
QPair<QString, QString> RightColumn(int action)
{
    switch (action) {
    case ActionExecute:
        return { QStringLiteral("EXECUTE"), QStringLiteral("Execute") };
    case ActionSelect:
        return { QStringLiteral("SELECT"), QStringLiteral("Select") };
    case ActionInsert:
        return { QStringLiteral("INSERT"), QStringLiteral("Insert") };
    case ActionUpdate:
        return { QStringLiteral("UPDATE"), QStringLiteral("Update") };
    case ActionDelete:
        return { QStringLiteral("DELETE"), QStringLiteral("Delete") };
    default:
        return { QStringLiteral("REFERENCE"), QStringLiteral("DRI") };
    }
}

} // namespace

frmEditObjectPermissions::frmEditObjectPermissions(
    KORVOMainWindowServices &main, KORVODatabase &database, QWidget *parent)
    : KORVOChildForm(main, database, parent)
{
    setObjectName(QStringLiteral("frmEditObjectPermissions"));

    grdPermission = new QTableWidget(this);
    grdPermission->setObjectName(QStringLiteral("grdPermission"));
    grdPermission->setEditTriggers(QAbstractItemView::NoEditTriggers);
    grdPermission->setSelectionMode(QAbstractItemView::SingleSelection);
    grdPermission->setSelectionBehavior(QAbstractItemView::SelectItems);
    grdPermission->verticalHeader()->hide();
    grdPermission->installEventFilter(this);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(grdPermission);

    // A release of the left button; a shift key held means the user extends a
    // selection rather than clicks.
    connect(grdPermission, &QTableWidget::cellClicked, this, [this](int row, int column) {
        if (QApplication::mouseButtons() & ~Qt::LeftButton)
            return;
        if (QApplication::keyboardModifiers() & Qt::ShiftModifier)
            return;
        CycleCell(row, column);
    });
}

void frmEditObjectPermissions::EditObjectPermissions(const KORVOTypedObjectPtr &object)
{
    mItem = object;
    LoadPermissions();
}

QString frmEditObjectPermissions::ObjectKey() const
{
    return mItem ? QStringLiteral("I") + mItem->DBID() : QString();
}

QString frmEditObjectPermissions::PermissionObjectKey() const
{
    return mItem ? QStringLiteral("P") + mItem->DBID() : QString();
}

QString frmEditObjectPermissions::ObjectTag() const
{
    return mItem ? mItem->ObjectType() : QString();
}

void frmEditObjectPermissions::RefreshCaption()
{
    if (!mItem)
        return;
    QString caption;
    if (mDatabase.ShowOwnerNameInName() && !mItem->Owner().isEmpty())
        caption = mItem->Owner() + QLatin1Char('.');
    caption += mItem->Name() + QStringLiteral(" (") + mItem->ObjectDisplayName() + QStringLiteral(") - Permissions");
    setWindowTitle(caption);
}

void frmEditObjectPermissions::LoadPermissions()
{
    WaitCursor wait(Ui());
    RefreshCaption();
    const int icon = mDatabase.Icons() ? mDatabase.Icons()->Index(QStringLiteral("PERMISSIONS")) : -1;
    if (icon >= 0) {
        setWindowIcon(KORVOIconImage(QStringLiteral("PERMISSIONS")));
        mCurrentIcon = icon;
    }

    grdPermission->clear();
    grdPermission->setRowCount(0);
    mPermissions = mItem->GetPermissions(false, mDatabase.ShowPermissionsInEditor());
    mActions = mPermissions->Actions();

    QStringList headings { QStringLiteral("Role/User Name") };
    for (int action : std::as_const(mActions))
        headings << RightColumn(action).second;
    grdPermission->setColumnCount(int(headings.size()));
    grdPermission->setHorizontalHeaderLabels(headings);
    grdPermission->setColumnWidth(0, kNameWidth);
    for (int c = 1; c < grdPermission->columnCount(); ++c) {
        grdPermission->setColumnWidth(c, kRightWidth);
        grdPermission->horizontalHeaderItem(c)->setData(Qt::UserRole, RightColumn(mActions[c - 1]).first);
    }

    grdPermission->setRowCount(mPermissions->Count());
    int row = 0;
    for (const KORVOPermissionPtr &p : *mPermissions) {
        auto *name = new QTableWidgetItem(
            KORVOIconImage(p->IsRole ? QStringLiteral("PERMISSION:ROLE") : QStringLiteral("PERMISSION:USER")), p->Name);
        grdPermission->setItem(row, 0, name);
        for (int c = 1; c < grdPermission->columnCount(); ++c)
            SetCell(row, c, p->IsOwner ? int(PermissionOwner) : p->Value(mActions[c - 1]));
        ++row;
    }
    ResetUndo();
}

void frmEditObjectPermissions::SetCell(int row, int column, int value)
{
    QTableWidgetItem *cell = grdPermission->item(row, column);
    if (!cell) {
        cell = new QTableWidgetItem;
        grdPermission->setItem(row, column, cell);
    }
    cell->setIcon(KORVOIconImage(ValueIconName(value)));
    cell->setData(Qt::UserRole, value);
    cell->setToolTip(ValueIconName(value).mid(11).toLower());
}

int frmEditObjectPermissions::CellValue(int row, int column) const
{
    const QTableWidgetItem *cell = grdPermission->item(row, column);
    return cell ? cell->data(Qt::UserRole).toInt() : 0;
}

void frmEditObjectPermissions::CycleCell(int row, int column)
{
    if (column < 1 || row < 0 || row >= grdPermission->rowCount() || column >= grdPermission->columnCount())
        return;
    const int oldValue = CellValue(row, column);
    int newValue = oldValue;
    switch (oldValue) {
    case PermissionNone:
        newValue = PermissionGrant;
        break;
    case PermissionGrant:
        // A server without deny knows only granted or not.
        newValue = mPermissions->CanDeny() ? PermissionDeny : PermissionNone;
        break;
    case PermissionDeny:
        newValue = PermissionNone;
        break;
    default:
        return; // the owner's cells do not change
    }
    mIsDirty = true;
    // A new change drops whatever could have been redone.
    mUndo.resize(mUndoPosition);
    mUndo.append(UndoRecord { row, column, oldValue, short(oldValue), newValue, short(newValue) });
    mUndoPosition = int(mUndo.size());
    SetCell(row, column, newValue);
}

void frmEditObjectPermissions::Undo()
{
    if (mUndoPosition <= 0)
        return;
    const UndoRecord &r = mUndo[--mUndoPosition];
    SetCell(r.Row, r.Column, r.OldValue);
}

void frmEditObjectPermissions::Redo()
{
    if (mUndoPosition >= UndoCount())
        return;
    const UndoRecord &r = mUndo[mUndoPosition++];
    SetCell(r.Row, r.Column, r.NewValue);
}

void frmEditObjectPermissions::ResetUndo()
{
    mUndo.clear();
    mUndoPosition = 0;
    mIsDirty = false;
}

bool frmEditObjectPermissions::CanCopy() const
{
    return grdPermission->currentColumn() == 0;
}

void frmEditObjectPermissions::CopyText()
{
    if (grdPermission->currentColumn() != 0 || grdPermission->currentRow() < 0)
        return;
    if (const QTableWidgetItem *cell = grdPermission->item(grdPermission->currentRow(), 0))
        QGuiApplication::clipboard()->setText(cell->text());
}

void frmEditObjectPermissions::SetFocusOfChild()
{
    grdPermission->setFocus();
}

bool frmEditObjectPermissions::SaveText(bool showMessage)
{
    WaitCursor wait(Ui());
    for (int row = 0; row < grdPermission->rowCount(); ++row) {
        const KORVOPermissionPtr p = mPermissions->Item(grdPermission->item(row, 0)->text());
        if (!p || p->IsOwner)
            continue;
        for (int c = 1; c < grdPermission->columnCount(); ++c)
            p->SetValue(mActions[c - 1], CellValue(row, c));
    }
    try {
        if (!mPermissions->Save())
            return false;
    } catch (const SqlError &e) {
        // The statements before this one stay in force; the grid keeps what the
        // user set, so that a second save restates it all.
        Ui().messageBox(UiServices::Icon::Critical, QStringLiteral("Permissions not Saved"),
            QStringLiteral("The statement\n%1\nfailed: %2")
                .arg(mPermissions->LastStatement, KORVOSQL::FormatSQLError(e.Description)));
        return false;
    }
    if (showMessage) {
        Ui().messageBox(UiServices::Icon::Information, QStringLiteral("Permissions Saved"),
            QStringLiteral("Permissions successfully saved!"));
        LoadPermissions();
    }
    ResetUndo();
    return true;
}

bool frmEditObjectPermissions::ConfirmClose()
{
    WaitCursor wait(Ui());
    if (!mIsDirty)
        return true;
    switch (mDatabase.ShowSaveChangesPermission()) {
    case 1:
        mIsDirty = false;
        return true;
    case 2:
        return SaveText(false);
    default:
        break;
    }
    switch (Ui().messageBox(UiServices::Icon::Question, QStringLiteral("Save Changes to Permissions?"),
        QStringLiteral("Would you like to save the changes made?"), UiServices::Buttons::YesNoCancel)) {
    case UiServices::Answer::Yes:
        return SaveText(false);
    case UiServices::Answer::No:
        mIsDirty = false;
        return true;
    default:
        return false;
    }
}

bool frmEditObjectPermissions::CloseItem(bool force)
{
    return CloseChild(force);
}

bool frmEditObjectPermissions::eventFilter(QObject *watched, QEvent *e)
{
    if (watched == grdPermission) {
        if (e->type() == QEvent::KeyPress || e->type() == QEvent::KeyRelease) {
            // The main window's shortcuts first, as in the other child windows.
            auto *event = static_cast<QKeyEvent *>(e);
            const Qt::KeyboardModifiers m = event->modifiers();
            const int shift = (m & Qt::ShiftModifier ? 1 : 0) | (m & Qt::ControlModifier ? 2 : 0)
                | (m & Qt::AltModifier ? 4 : 0);
            int code = event->key();
            if (!(event->isAutoRepeat() && e->type() == QEvent::KeyRelease))
                mMain.KeyPreview(e->type() == QEvent::KeyPress, code, shift, kHelpContext);
            if (code == 0)
                return true;
        }
        if (e->type() == QEvent::KeyPress) {
            const int key = static_cast<QKeyEvent *>(e)->key();
            if (key == Qt::Key_Return || key == Qt::Key_Enter || key == Qt::Key_Space) {
                if (grdPermission->currentRow() >= 0 && grdPermission->currentColumn() >= 0)
                    CycleCell(grdPermission->currentRow(), grdPermission->currentColumn());
                return true;
            }
        } else if (e->type() == QEvent::FocusIn && grdPermission->currentRow() < 0 && grdPermission->rowCount() > 0) {
            // The name, not a right: a blank typed next must not grant anything.
            grdPermission->setCurrentCell(0, 0);
        }
    }
    return QWidget::eventFilter(watched, e);
}
