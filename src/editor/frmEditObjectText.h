#pragma once

#include "KORVOTypedObject.h"
#include "SQLEditorChild.h"

class QLabel;
class QStatusBar;

// The text of one versioned object in a child window of the main window: new,
// read-only, checked out, saved, checked in. The editor shows the object's
// working file; the caption, the status bar and the commands offered follow the
// object's state.
class frmEditObjectText : public SQLEditorChild
{
    Q_OBJECT
public:
    frmEditObjectText(KORVOMainWindowServices &main, KORVODatabase &database, QWidget *parent = nullptr);
    ~frmEditObjectText() override;

    // A new object, starting from its expanded default text.
    void NewObject(const KORVOTypedObjectPtr &object, const QString &text);
    void OpenObject(const KORVOTypedObjectPtr &object);

    const KORVOTypedObjectPtr &Item() const { return mItem; }
    bool OpenedAsNew() const { return mOpenedAsNew; }
    QString CaptionText() const { return mCaptionText; }

    // --- What the main window polls ---
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
    bool CanReplace() const override { return mEditAllowed; }
    bool CanTestSQL() const override { return mEditAllowed; }
    bool CanGetLatest() const override { return mGetLatestAllowed; }
    bool CanCheckIn() const override { return mEditAllowed; }
    bool CanCheckOut() const override { return mCheckOutAllowed; }
    bool CanUndoCheckOut() const override { return mUndoCheckOutAllowed; }
    bool CanShowHistory() const override { return !mOpenedAsNew; }

    void RefreshCaption() override;
    bool CloseItem(bool force) override;

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
    // False, after a box naming the line, when the text is not UTF-8.
    bool TextIsUtf8(const QString &step);
    void CheckIn() override { CheckInItem(); }
    bool UndoCheckout(bool confirm);
    void UndoCheckout() override { UndoCheckout(true); }
    void ShowHistory() override;
    void ChangeDescription() override;
    // The editor's text against the latest version in source control.
    void CompareWithVSS();

    // Says in the "OnClose" panel what closing will do when no question comes.
    void RefreshStatusBar();
    // Whether the window may close; asks what to do with changes.
    bool ConfirmClose() override;

protected:
    void resizeEvent(QResizeEvent *e) override;
    void FirstShown() override;
    void CaretMoved(int column, int line) override;

private:
    void Open(const KORVOTypedObjectPtr &object, const QString &text, bool asNew);
    void LoadObject(const QString &text);
    void SetStatus(const QString &text);
    bool IsActiveChild();
    QString FileFilter() const;

    KORVOTypedObjectPtr mItem;

    QStatusBar *sbStatus;
    QLabel *mPanelStatus;
    QLabel *mPanelOnClose;
    QLabel *mPanelCaret;
    QLabel *lblStatus; // the caret text; sizes the "Caret" panel
    QLabel *lblClose; // the closing sentence; sizes the "OnClose" panel

    QString mCaptionText;
    bool mTextLoaded = false;
    bool mOpenedAsNew = false;
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
