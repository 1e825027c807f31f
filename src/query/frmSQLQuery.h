#pragma once

#include "KORVOChildWindow.h"

#include <QWidget>

class KORVODatabase;
class KORVOMainWindowServices;
class QAction;
class QLabel;
class QSplitter;
class QStatusBar;
class QToolBar;
class QToolButton;
class SQLTextEditor;
class UiServices;
class multiGrid;

// A scratchpad for free SQL against the project's database: the editor above,
// the result panel below, a toolbar to parse, execute or cancel, and SQL files
// opened and saved. Nothing here touches source control.
class frmSQLQuery : public QWidget, public KORVOChildWindow
{
    Q_OBJECT
public:
    frmSQLQuery(KORVOMainWindowServices &main, KORVODatabase &database, QWidget *parent = nullptr);
    ~frmSQLQuery() override;

    void OpenSQLQuery();

    SQLTextEditor &Editor() const { return *txtSQL; }
    multiGrid &Results() const { return *grdResults; }
    QString QueryFileName() const { return mQueryFileName; }
    QString PanelText(const QString &panel) const;
    bool PanelVisible() const;

    // --- What the main window polls ---
    QWidget *Widget() override { return this; }
    long FormType() const override { return 3; }
    QString ObjectKey() const override { return QString(); }
    QString ObjectTag() const override { return QString(); }
    long CurrentIcon() const override;
    KORVODBObjectPtr CurrentObject() const override { return nullptr; }
    bool CanPermissions() const override { return false; }
    bool CanDescription() const override { return false; }
    bool CanOpenFile() const override { return true; }
    QString OpenFileText() const override { return QStringLiteral("Open"); }
    bool CanSaveFile() const override { return true; }
    QString SaveFileText() const override { return QStringLiteral("Save"); }
    bool CanCut() const override;
    bool CanCopy() const override;
    bool CanPaste() const override;
    bool CanFind() const override { return true; }
    bool CanReplace() const override { return true; }
    bool CanUndo() const override;
    bool CanRedo() const override;
    bool CanTestSQL() const override { return false; }
    bool CanGetLatest() const override { return false; }
    bool CanCheckIn() const override { return false; }
    bool CanCheckOut() const override { return false; }
    bool CanUndoCheckOut() const override { return false; }
    bool CanShowHistory() const override { return false; }

    void RefreshCaption() override;
    bool CloseItem(bool force) override;
    // A running query keeps the window open; otherwise the user may keep the text.
    bool QueryClose() override;

    void OpenText() override;
    bool SaveText(bool showMessage);
    void SaveText() override { SaveText(true); }
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

    // The toolbar's commands.
    void Parse();
    void Execute();
    void CancelQuery();
    void SetPanelVisible(bool show);
    // Whether the window may close; asks about unsaved changes.
    bool ConfirmSave();

protected:
    void closeEvent(QCloseEvent *e) override;
    void resizeEvent(QResizeEvent *e) override;
    void showEvent(QShowEvent *e) override;

private:
    QString TextToRun() const;
    void SetStatus(const QString &text);
    void StoreChildSize();
    QWidget *Frame();
    UiServices &Ui() const;

    KORVOMainWindowServices &mMain;
    KORVODatabase &mDatabase;
    QString mQueryFileName;
    bool mLoading = false;
    bool mHasFocus = false;
    bool mClosing = false;
    bool mSizeApplied = false;
    bool mClipboardHasText = false;

    QToolBar *tbrQuery;
    QAction *mParse;
    QAction *mExecute;
    QAction *mPanel;
    QAction *mCancel;
    QSplitter *mSplitter;
    QWidget *picText;
    SQLTextEditor *txtSQL;
    multiGrid *grdResults;
    QToolButton *cmdSplit;
    QStatusBar *sbStatus;
    QLabel *mPanelStatus;
    QLabel *mPanelCaret;
};
