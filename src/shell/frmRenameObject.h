#pragma once

#include <QDialog>

class QLabel;
class QLineEdit;
class UiServices;

// Asks for the new name of an object, shown between its owner and a closing
// bracket as in "[owner].[name]".
class frmRenameObject : public QDialog
{
    Q_OBJECT
public:
    explicit frmRenameObject(UiServices &ui, QWidget *parent = nullptr);

    // Modal over ownerForm; the new name, or empty when cancelled.
    QString RenameItem(QWidget *ownerForm, const QString &oldName, const QString &owner);

private:
    void cmdRename_Click();
    void Refuse(const QString &text);

    UiServices &mUi;
    QLabel *mOldName;
    QLabel *mOwner;
    QLineEdit *mNewName;
    QString mOldNameText;
};
