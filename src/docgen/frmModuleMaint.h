#pragma once

#include "DocGenProject.h"

#include <QDialog>

class HelpIntegration;
class QFrame;
class QLabel;
class QLineEdit;
class QPlainTextEdit;
class QPushButton;
class QTreeWidget;
class UiServices;

// Edits one module of the project: its details and its files.
class frmModuleMaint : public QDialog
{
public:
    frmModuleMaint(DocGenProject &project, UiServices &ui, HelpIntegration *help, QWidget *parent = nullptr);

    // True when the user saved.
    static bool NewModule(DocGenProject &project, UiServices &ui, HelpIntegration *help, QWidget *parent = nullptr);
    static bool EditModule(
        DocGenProject &project, int position, UiServices &ui, HelpIntegration *help, QWidget *parent = nullptr);

    // Opens modally for a new module (position -1) or the one at the 1-based position.
    bool Open(int position);

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void closeEvent(QCloseEvent *event) override;
    void reject() override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void Save();
    void AddFiles();
    void RemoveFiles();
    void BrowsePath();
    // Marks missing files; true when one is missing.
    bool RefreshFileList();
    bool MayClose();
    void Warn(const QString &text, QWidget *focus);

    DocGenProject &mProject;
    UiServices &mUi;
    HelpIntegration *mHelp;
    int mPosition = -1;
    bool mDirty = false;
    bool mCancelled = true;
    bool mLoading = false;
    QString mStartName;

    QLineEdit *mName, *mProjectName, *mCreatedBy, *mCreatedOn, *mPath;
    QPlainTextEdit *mDevelopedBy, *mDescription;
    QTreeWidget *mFiles;
    QPushButton *mBrowse, *mAdd, *mRemove, *mSave, *mCancel;
    QFrame *mError;
    QLabel *mErrorText;
};
