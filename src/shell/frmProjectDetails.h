#pragma once

#include "KORVOProject.h"

#include <QDialog>

#include <functional>

class HelpIntegration;
class KORVODatabase;
class QCheckBox;
class QComboBox;
class QGroupBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QStackedWidget;
class UiServices;

// The project wizard: five steps that define a project and test both of its
// connections. A connection that fails is a question, never a stop, so that a
// project can be finished while its server is away.
class frmProjectDetails : public QDialog
{
    Q_OBJECT
public:
    frmProjectDetails(
        KORVODatabase &database, UiServices &ui, HelpIntegration *help = nullptr, QWidget *parent = nullptr);
    ~frmProjectDetails() override;

    // The new project, or nothing when cancelled.
    KORVOProjectPtr newProject();
    // Makes the project that newProject fills; a plain project when not set.
    std::function<KORVOProjectPtr()> MakeProject;
    // The edited project, or nothing when cancelled.
    KORVOProjectPtr EditProject(const KORVOProjectPtr &project);

    int CurrentStep() const { return mStep; }
    bool Cancelled() const { return mCancelled; }
    // The help topic of each step's page of the manual.
    static int HelpTopic(int step) { return 5 + step; }

    static QString WindowsAuthenticationText() { return QStringLiteral("(Windows authentication)"); }

protected:
    void keyPressEvent(QKeyEvent *event) override;

private:
    void Setup();
    void FillFromProject();
    void ShowStep(int step);
    // Runs the step's tests; a failure has shown its message and set the focus.
    bool ValidateStep(int step);
    void FillDatabaseList();
    bool TestSQLConnection();
    bool TestVSSConnection(bool withProject);
    // The "continue anyway?" question after a failed connection test to the
    // database or project; true on Yes.
    bool ContinueAnyway(const QString &what, const QString &error);
    // Texts count as empty after trimming.
    static bool Blank(const QString &text) { return text.trimmed().isEmpty(); }
    void Invalid(const QString &text, QWidget *focus);
    QString SQLServerText() const;
    QWidget *SQLServerControl() const;
    void ApplyServerListing();
    void ApplyServerKind();

    void cmdNext_Click();
    void cmdBack_Click();
    void cmdFinished_Click();
    void chkUseWindowsAuth_Click();
    void cmdSQLServer_Click();
    void cmdVSSIniFile_Click();
    void cmdWFBrowse_Click();
    void cmdVSSProject_Click();

    KORVODatabase &mDatabase;
    UiServices &mUi;
    HelpIntegration *mHelp;
    KORVOProjectPtr mProject;
    QString mOldName;
    bool mEditing = false;
    bool mCancelled = true;
    bool mFinishing = false;
    int mStep = 1;

    QStackedWidget *mSteps;
    QGroupBox *fraStep[6] = {};

    QLineEdit *txtProjectName;
    QLineEdit *txtWorkingFolder;
    QPushButton *cmdWFBrowse;

    QComboBox *cboServerKind;
    QLineEdit *txtSQLServer;
    QComboBox *cboSQLServer;
    QPushButton *cmdSQLServer;
    QCheckBox *chkUseWindowsAuth;
    QLabel *lblSQLUsername;
    QLineEdit *txtSQLUsername;
    QLabel *lblSQLPassword;
    QLineEdit *txtSQLPassword;

    QComboBox *cboSQLDatabase;
    QCheckBox *chkSQLStorePassword;
    QLabel *lblSQLServerErrorLabel;
    QLabel *lblSQLServerError;

    QLineEdit *txtVSSIniFile;
    QPushButton *cmdVSSIniFile;
    QLineEdit *txtVSSUserName;
    QLineEdit *txtVSSPassword;

    QLineEdit *txtVSSProject;
    QPushButton *cmdVSSProject;
    QCheckBox *chkVSSStorePassword;
    QLabel *lblVSSErrorLabel;
    QLabel *lblVSSError;

    QPushButton *cmdBack;
    QPushButton *cmdNext;
    QPushButton *cmdFinished;
    QPushButton *cmdCancel;
};
