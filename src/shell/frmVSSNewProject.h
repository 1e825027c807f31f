#pragma once

#include <QDialog>

class HelpIntegration;
class QLineEdit;
class UiServices;

// Asks for the name of a new source-control project folder.
class frmVSSNewProject : public QDialog
{
    Q_OBJECT
public:
    frmVSSNewProject(UiServices &ui, HelpIntegration *help = nullptr, QWidget *parent = nullptr);

    // The trimmed name, or empty when cancelled.
    QString NewVSSProjectName();

    static constexpr int HelpTopic = 10;

protected:
    void keyPressEvent(QKeyEvent *event) override;

private:
    void cmdOK_Click();

    UiServices &mUi;
    HelpIntegration *mHelp;

    QLineEdit *txtVSSProject;
};
