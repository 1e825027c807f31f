#pragma once

#include <QDialog>

class QPlainTextEdit;
class UiServices;

// Edits the free-text description of an object.
class frmItemDescription : public QDialog
{
    Q_OBJECT
public:
    explicit frmItemDescription(UiServices &ui, QWidget *parent = nullptr);

    // Modal, starting with the given text; true with the new text on OK.
    bool GetDescription(QString &description);

private:
    void cmdOK_Click();

    UiServices &mUi;
    QPlainTextEdit *mDescription;
};
