#pragma once

#include "SQLEditorChild.h"

class QAction;
class QLabel;
class QSplitter;
class QStatusBar;
class QToolBar;
class QToolButton;
class multiGrid;

// A scratchpad for free SQL against the project's database: the editor above,
// the result panel below, a toolbar to parse, execute or cancel, and SQL files
// opened and saved. Nothing here touches source control.
class frmSQLQuery : public SQLEditorChild
{
    Q_OBJECT
public:
    frmSQLQuery(KORVOMainWindowServices &main, KORVODatabase &database, QWidget *parent = nullptr);
    ~frmSQLQuery() override;

    void OpenSQLQuery();

    multiGrid &Results() const { return *grdResults; }
    QString QueryFileName() const { return mQueryFileName; }
    bool PanelVisible() const;

    // --- What the main window polls ---
    long FormType() const override { return 3; }
    QString ObjectKey() const override { return QString(); }
    QString ObjectTag() const override { return QString(); }
    long CurrentIcon() const override;
    KORVODBObjectPtr CurrentObject() const override { return nullptr; }
    bool CanOpenFile() const override { return true; }
    QString OpenFileText() const override { return QStringLiteral("Open"); }
    bool CanSaveFile() const override { return true; }
    QString SaveFileText() const override { return QStringLiteral("Save"); }
    bool CanReplace() const override { return true; }

    void RefreshCaption() override;
    bool CloseItem(bool force) override;

    void OpenText() override;
    bool SaveText(bool showMessage);
    void SaveText() override { SaveText(true); }

    // The toolbar's commands.
    void Parse();
    void Execute();
    void CancelQuery();
    void SetPanelVisible(bool show);
    // Whether the window may close: not while a query runs; asks about
    // unsaved changes.
    bool ConfirmClose() override;

protected:
    void closeEvent(QCloseEvent *e) override;
    void CaretMoved(int column, int line) override;

private:
    QString TextToRun() const;
    void SetStatus(const QString &text);

    QString mQueryFileName;
    // How the user's file was read, so that it is saved back the same way.
    bool mFileLatin1 = false;
    bool mFileBom = false;

    QToolBar *tbrQuery;
    QAction *mParse;
    QAction *mExecute;
    QAction *mPanel;
    QAction *mCancel;
    QSplitter *mSplitter;
    QWidget *picText;
    multiGrid *grdResults;
    QToolButton *cmdSplit;
    QStatusBar *sbStatus;
    QLabel *mPanelStatus;
    QLabel *mPanelCaret;
};
