#pragma once

#include "KORVOChildForm.h"
#include "KORVOPermissions.h"
#include "KORVOTypedObject.h"

#include <QList>

class QTableWidget;

// Who may do what with one object, as a grid of icons: a row per role and
// user, a column per right of the object's type. A click, Enter or blank
// cycles a cell through none, grant and deny (none and grant where the server
// has no deny); the owner's cells stay. Saving restates every right of every
// grantee.
class frmEditObjectPermissions : public KORVOChildForm
{
    Q_OBJECT
public:
    // One change of a cell; icons are the permission values they show.
    struct UndoRecord {
        int Row = 0;
        int Column = 0;
        int OldIcon = 0;
        short OldValue = 0;
        int NewIcon = 0;
        short NewValue = 0;
    };

    frmEditObjectPermissions(KORVOMainWindowServices &main, KORVODatabase &database, QWidget *parent = nullptr);

    // Loads the object's rights; the main window shows the child, as it does the
    // text windows.
    void EditObjectPermissions(const KORVOTypedObjectPtr &object);
    void LoadPermissions();

    const KORVOPermissionsPtr &Permissions() const { return mPermissions; }
    bool IsDirty() const { return mIsDirty; }
    int UndoCount() const { return int(mUndo.size()); }
    int UndoPosition() const { return mUndoPosition; }
    QString PermissionObjectKey() const;
    // The value a cell holds; grid rows and right columns are counted from 0, the
    // name column being column 0.
    int CellValue(int row, int column) const;
    // The click on a cell.
    void CycleCell(int row, int column);

    // --- What the main window polls ---
    long FormType() const override { return 2; }
    QString ObjectKey() const override;
    QString ObjectTag() const override;
    long CurrentIcon() const override { return mCurrentIcon; }
    KORVODBObjectPtr CurrentObject() const override { return mItem; }
    bool CanOpenFile() const override { return false; }
    QString OpenFileText() const override { return QStringLiteral("Load"); }
    bool CanSaveFile() const override { return mIsDirty; }
    QString SaveFileText() const override { return QStringLiteral("Save Permissions"); }
    bool CanCut() const override { return false; }
    bool CanCopy() const override;
    bool CanPaste() const override { return false; }
    bool CanFind() const override { return false; }
    bool CanReplace() const override { return false; }
    bool CanUndo() const override { return mUndoPosition > 0; }
    bool CanRedo() const override { return mUndoPosition < UndoCount(); }

    void RefreshCaption() override;
    bool CloseItem(bool force) override;
    bool SaveText(bool showMessage);
    void SaveText() override { SaveText(true); }
    void Undo() override;
    void Redo() override;
    void CopyText() override;
    void GetLatestVersion() override { }
    void SetFocusOfChild() override;

    // Whether the window may close; saves or drops changes as the settings say.
    bool ConfirmClose() override;

protected:
    bool eventFilter(QObject *watched, QEvent *e) override;

private:
    void SetCell(int row, int column, int value);
    void ResetUndo();
    long mCurrentIcon = 0;
    KORVOTypedObjectPtr mItem;
    KORVOPermissionsPtr mPermissions;
    QList<int> mActions; // the action of each right column, in order

    QTableWidget *grdPermission;
    QList<UndoRecord> mUndo;
    int mUndoPosition = 0;
    bool mIsDirty = false;
};
