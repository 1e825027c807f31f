#pragma once

#include <QDialog>

class HelpIntegration;
class KORVOVSS;
class QMenu;
class QPushButton;
class QTreeWidget;
class QTreeWidgetItem;
class UiServices;

// Picks a project folder of a source-control database, or makes a new one. The
// tree is filled lazily from "$\"; every node's key is its full project path.
class frmVSSProjectBrowser : public QDialog
{
    Q_OBJECT
public:
    frmVSSProjectBrowser(UiServices &ui, HelpIntegration *help = nullptr, QWidget *parent = nullptr);
    ~frmVSSProjectBrowser() override;

    // Opens the tree along startFolder and selects it; the chosen folder's path
    // ("$\A\B\"), or empty when cancelled.
    QString GetFolder(KORVOVSS &vss, const QString &startFolder);

    static constexpr int HelpTopic = 10;
    static constexpr int KeyRole = Qt::UserRole;
    static constexpr int TagRole = Qt::UserRole + 1;

protected:
    void keyPressEvent(QKeyEvent *event) override;

private:
    QTreeWidgetItem *AddNode(QTreeWidgetItem *parent, const QString &text, const QString &key);
    // Replaces the node's children (or its placeholder) with the sub-projects.
    void FillChildren(QTreeWidgetItem *node);
    QTreeWidgetItem *FindNode(const QString &key) const;
    void OpenAlong(const QString &startFolder);
    // The selected node; without one, says so and returns nothing.
    QTreeWidgetItem *SelectedNode();

    void tvwVSSProjects_Expand(QTreeWidgetItem *node);
    void cmdOK_Click();
    void cmdNewProject_Click();

    UiServices &mUi;
    HelpIntegration *mHelp;
    KORVOVSS *mVSS = nullptr;
    QString mResult;
    bool mFilling = false;

    QTreeWidget *tvwVSSProjects;
    QPushButton *cmdOK;
    QPushButton *cmdCancel;
    QPushButton *cmdNewProject;
    QMenu *mnuPopup;
};
