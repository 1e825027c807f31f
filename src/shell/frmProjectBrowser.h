#pragma once

#include <QDialog>

#include <memory>

class HelpIntegration;
class KORVODatabase;
class KORVOProject;
class KORVOProjects;
class QCheckBox;
class QPushButton;
class QTreeWidget;
class QTreeWidgetItem;
class UiServices;

// The list of stored projects, the way into a project: open, new, edit, remove.
class frmProjectBrowser : public QDialog
{
    Q_OBJECT
public:
    frmProjectBrowser(
        std::shared_ptr<KORVODatabase> database, UiServices &ui, HelpIntegration &help, QWidget *parent = nullptr);
    ~frmProjectBrowser() override;

    // Modal: shown as a dialog, the chosen project is returned. Not modal: shown
    // and the call returns at once with nothing; the browser then opens the
    // chosen project itself. With no projects given, the stored ones are read.
    std::shared_ptr<KORVOProject> ProjectBrowser(std::shared_ptr<KORVOProjects> projects, bool modal);
    // For the main window: the chosen project, or nothing when it is the open
    // project with unchanged settings (or nothing was chosen).
    std::shared_ptr<KORVOProject> OpenProjectBrowser(const std::shared_ptr<KORVOProject> &currentProject);
    // Opens a project of the store by name, or by number when the name is empty;
    // no window appears.
    void OpenRecentProject(long sequence, const QString &name, bool &ok);

    const std::shared_ptr<KORVOProjects> &Projects() const { return mProjects; }

    static constexpr int HelpTopic = 21;

protected:
    void keyPressEvent(QKeyEvent *event) override;

private:
    void FillList();
    void ReloadList();
    QTreeWidgetItem *SelectedRow() const;
    std::shared_ptr<KORVOProject> ProjectOfRow(const QTreeWidgetItem *row) const;
    bool OpenSelectedProject(const std::shared_ptr<KORVOProject> &project);

    void cmdOpen_Click();
    void cmdNew_Click();
    void cmdEdit_Click();
    void cmdRemove_Click();
    void chkMostResent_Click();
    void lvwProjects_DblClick();

    std::shared_ptr<KORVODatabase> mDatabase;
    UiServices &mUi;
    HelpIntegration &mHelp;
    std::shared_ptr<KORVOProjects> mProjects;
    std::shared_ptr<KORVOProject> mSelected;
    bool mReturnOnly = false;
    bool mFromMainWindow = false;

    QTreeWidget *lvwProjects;
    QCheckBox *chkMostResent;
    QPushButton *cmdOpen;
    QPushButton *cmdNew;
    QPushButton *cmdEdit;
    QPushButton *cmdRemove;
    QPushButton *cmdClose;
};
