#pragma once

#include "KORVOChildWindow.h"
#include "KORVOTypedObject.h"

#include <QWidget>

class KORVODatabase;
class KORVOMainWindowServices;
class QLabel;
class QStatusBar;
class SQLTextEditor;
class UiServices;

// The text of one versioned object in a child window of the main window: new,
// read-only, checked out, saved, checked in. The editor shows the object's
// working file; the caption, the status bar and the commands offered follow the
// object's state.
class frmEditObjectText : public QWidget, public KORVOChildWindow
{
    Q_OBJECT
public:
    frmEditObjectText(KORVOMainWindowServices &main, KORVODatabase &database, QWidget *parent = nullptr);
    ~frmEditObjectText() override;

    // A new object, starting from its expanded default text.
    void NewObject(const KORVOTypedObjectPtr &object, const QString &text);
    void OpenObject(const KORVOTypedObjectPtr &object);

    SQLTextEditor &Editor() const { return *txtSQL; }
    const KORVOTypedObjectPtr &Item() const { return mItem; }
    bool OpenedAsNew() const { return mOpenedAsNew; }
    QString CaptionText() const { return mCaptionText; }
    // The text of a status panel: "Status", "OnClose" or "Caret".
    QString PanelText(const QString &panel) const;

    // --- What the main window polls ---
    QWidget *Widget() override { return this; }
    long FormType() const override { return 1; }
    QString ObjectKey() const override;
    QString ObjectTag() const override;
    long CurrentIcon() const override { return mCurrentIcon; }
    KORVODBObjectPtr CurrentObject() const override { return mItem; }
    bool CanPermissions() const override { return mPermissionsAllowed; }
    bool CanDescription() const override { return mDescriptionAllowed; }
    bool CanOpenFile() const override { return mOpenFileAllowed; }
    QString OpenFileText() const override { return QStringLiteral("Load Text"); }
    bool CanSaveFile() const override { return mSaveFileAllowed; }
    QString SaveFileText() const override { return QStringLiteral("Save Text"); }
    bool CanCut() const override;
    bool CanCopy() const override;
    bool CanPaste() const override;
    bool CanFind() const override { return true; }
    bool CanReplace() const override { return mEditAllowed; }
    bool CanUndo() const override;
    bool CanRedo() const override;
    bool CanTestSQL() const override { return mEditAllowed; }
    bool CanGetLatest() const override { return mGetLatestAllowed; }
    bool CanCheckIn() const override { return mEditAllowed; }
    bool CanCheckOut() const override { return mCheckOutAllowed; }
    bool CanUndoCheckOut() const override { return mUndoCheckOutAllowed; }
    bool CanShowHistory() const override { return !mOpenedAsNew; }

    void RefreshCaption() override;
    bool CloseItem(bool force) override;
    bool QueryClose() override { return ConfirmClose(); }

    // --- Commands; those with a result say whether the work was done ---
    void OpenText() override;
    bool SaveText(bool showMessage);
    void SaveText() override { SaveText(true); }
    bool TestItem(bool showMessage);
    void TestItem() override { TestItem(true); }
    bool GetLatestVersionOfItem();
    void GetLatestVersion() override { GetLatestVersionOfItem(); }
    bool CheckOutItem();
    void CheckOut() override { CheckOutItem(); }
    bool CheckInItem();
    void CheckIn() override { CheckInItem(); }
    bool UndoCheckout(bool confirm);
    void UndoCheckout() override { UndoCheckout(true); }
    void ShowHistory() override;
    void ChangeDescription() override;
    // The editor's text against the latest version in source control.
    void CompareWithVSS();
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

    // Says in the "OnClose" panel what closing will do when no question comes.
    void RefreshStatusBar();
    // Whether the window may close; asks what to do with changes.
    bool ConfirmClose();

protected:
    void closeEvent(QCloseEvent *e) override;
    void resizeEvent(QResizeEvent *e) override;
    void showEvent(QShowEvent *e) override;

private:
    void Open(const KORVOTypedObjectPtr &object, const QString &text, bool asNew);
    void LoadObject(const QString &text);
    void SetStatus(const QString &text);
    void CaretMoved(int column, int line);
    void ApplyChildSize();
    // Keeps the frame's state, and its size in normal state, in the settings.
    void StoreChildSize();
    QWidget *Frame();
    bool IsActiveChild();
    QString FileFilter() const;
    UiServices &Ui() const;

    KORVOMainWindowServices &mMain;
    KORVODatabase &mDatabase;
    KORVOTypedObjectPtr mItem;

    SQLTextEditor *txtSQL;
    QStatusBar *sbStatus;
    QLabel *mPanelStatus;
    QLabel *mPanelOnClose;
    QLabel *mPanelCaret;
    QLabel *lblStatus; // the caret text; sizes the "Caret" panel
    QLabel *lblClose; // the closing sentence; sizes the "OnClose" panel

    QString mCaptionText;
    bool mLoading = false;
    bool mTextLoaded = false;
    bool mOpenedAsNew = false;
    bool mHasFocus = false;
    bool mClosing = false;
    bool mSizeApplied = false;
    bool mClipboardHasText = false;
    long mCurrentIcon = 0;

    bool mGetLatestAllowed = false;
    bool mEditAllowed = false;
    bool mCheckOutAllowed = false;
    bool mUndoCheckOutAllowed = false;
    bool mPermissionsAllowed = false;
    bool mDescriptionAllowed = false;
    bool mOpenFileAllowed = false;
    bool mSaveFileAllowed = false;
};
