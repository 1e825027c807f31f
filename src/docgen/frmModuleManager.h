#pragma once

#include "DocGenProject.h"

#include <QDialog>

class HelpIntegration;
class QListWidget;
class UiServices;

// Lists the project's modules and opens them for editing.
class frmModuleManager : public QDialog
{
public:
    frmModuleManager(DocGenProject &project, UiServices &ui, HelpIntegration *help, QWidget *parent = nullptr);

    // Shows the manager modally.
    static void ModuleManager(DocGenProject &project, UiServices &ui, HelpIntegration *help, QWidget *parent = nullptr);

protected:
    void keyPressEvent(QKeyEvent *event) override;

private:
    void Fill(int select);
    void Edit();

    DocGenProject &mProject;
    UiServices &mUi;
    HelpIntegration *mHelp;
    QListWidget *mList;
};
