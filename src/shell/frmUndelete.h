#pragma once

#include <QDialog>

class KORVODatabase;
class QTreeWidget;
class UiServices;

// Lists the objects deleted in source control, of every versioned type, and
// undeletes the checked ones.
class frmUndelete : public QDialog
{
    Q_OBJECT
public:
    explicit frmUndelete(UiServices &ui, QWidget *parent = nullptr);

    // Modal; true once any object has been undeleted.
    bool ShowDeletedItems(KORVODatabase &database);

private:
    void LoadItems();
    void cmdUndelete_Click();

    UiServices &mUi;
    KORVODatabase *mDatabase = nullptr;
    QTreeWidget *mItems;
    bool mUndeleted = false;
};
