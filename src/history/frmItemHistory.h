#pragma once

#include "KORVOHistoryData.h"
#include "KORVOTypedObject.h"

#include <QDialog>

class KORVODatabase;
class KORVOWindows;
class QLabel;
class QLineEdit;
class QToolBar;
class QTreeWidget;
class QTreeWidgetItem;

// The version list of one object, with rollback to a version and the
// comparison of two versions' texts.
class frmItemHistory : public QDialog
{
    Q_OBJECT
public:
    frmItemHistory(KORVODatabase &database, KORVOWindows &windows, QWidget *parent = nullptr);

    // Loads the rows and shows the window modal; true once a rollback succeeded.
    bool ShowHistory(const KORVOTypedObjectPtr &object);
    // Loads the object's rows without showing the window.
    void SetObject(const KORVOTypedObjectPtr &object);

    bool ShowLabels() const { return mShowLabels; }
    bool RolledBack() const { return mRolledBack; }

    void LoadHistory();
    void ToggleLabels();
    void Rollback();
    // The texts of the two selected versions side by side, the older on the left.
    void CompareVersions();

private:
    void SelectionChanged();
    QTreeWidgetItem *SelectedRow() const;
    const KORVOHistoryData *SelectedData() const;

    KORVODatabase &mDatabase;
    KORVOWindows &mWindows;
    KORVOTypedObjectPtr mItem;
    QList<KORVOHistoryData> mHistory;
    bool mShowLabels = false;
    bool mRolledBack = false;

    QTreeWidget *lvwHistory;
    QToolBar *ebcHistory;
    QAction *mLabel;
    QAction *mRollback;
    QAction *mCompare;
    QAction *mClose;
    QLabel *lblComment;
    QLineEdit *CommentText;
};
