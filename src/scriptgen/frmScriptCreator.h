#pragma once

#include "KORVODatabase.h"
#include "KORVOTypedObject.h"

#include <QDialog>

#include <memory>

class HelpIntegration;
class KORVOStepList;
class QAbstractButton;
class QButtonGroup;
class QCheckBox;
class QComboBox;
class QDateTimeEdit;
class QGroupBox;
class QLabel;
class QLineEdit;
class QMenu;
class QPushButton;
class QTreeWidget;
class ScriptCreator;

// The script generator's wizard: the kind of script, the time frame or the
// other database it needs, or the objects picked by hand; the collection of
// objects with its step list; the destination and the emission.
class frmScriptCreator : public QDialog, private KORVOSessionListener
{
    Q_OBJECT

public:
    static constexpr int HelpTopic = 62;

    // Loads the remembered settings and fills the controls; exec() runs it.
    frmScriptCreator(KORVODatabase &session, HelpIntegration *help = nullptr, QWidget *parent = nullptr);
    ~frmScriptCreator() override;

    // Opens the wizard modally and releases it when it has closed.
    static void StartScriptGenerator(
        KORVODatabase &session, HelpIntegration *help = nullptr, QWidget *parent = nullptr);

    ScriptCreator &Job() { return *mScript; }
    QWidget *CurrentFrame() const { return mCurrentFrame; }
    KORVOStepList *StepList() const { return mStepList; }
    bool Idle() const { return mIdle; }
    bool Interrupted() const { return mInterrupted; }
    // Shows the step list of the last run again (for pictures of the window).
    void ShowStepList();
    // {data folder}/{project}_scripts.xml
    QString SettingsPath() const;

protected:
    void closeEvent(QCloseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

private:
    void BuildControls();
    QGroupBox *Page(const QString &name, const QString &caption);
    void LoadSettings();
    // Keeps the wizard's choices in its settings file; the system's reason when
    // that failed, told in a box when tell is set.
    QString SaveSettings(bool tell = true);
    int SelectedOption() const;
    void ShowFrame(QWidget *page, QWidget *focus, QWidget *spareFocus = nullptr);
    void Invalid(const QString &text, QWidget *focus);

    void Next();
    void Back();
    bool NextFromVSS();
    bool NextFromAnotherDB();
    void NextFromCustom();
    void StartCollection();
    void RunTimeFrame();
    void RunCompare();
    void RunCompleteOrCustom(bool complete);
    void FillCustomList(const QList<KORVOTypedObjectPtr> &objects);
    void RebuildCustomJob();
    void CheckRows(bool all, bool check);
    void Finish();
    void FillDatabaseList();
    void BrowseServers();
    void WindowsAuthChanged();
    void ChooseFile();
    void SettingsTouched();

    void RetrieveStatusChange(const QString &, const QString &, long position, long total, bool &cancel) override;
    void AddingStatusChange(const QString &, const QString &, long, long, bool &) override { }
    void CompletedCurrentStatus(const QString &, const QString &) override { }

    KORVODatabase &mSession;
    UiServices &mUi;
    HelpIntegration *mHelp;
    KORVOSessionListener *mOuterListener;
    std::unique_ptr<ScriptCreator> mScript;
    QWidget *mCurrentFrame = nullptr;
    bool mCustomListFilled = false;
    QString mLastServer, mLastUserName, mLastPassword;
    bool mLastWinAuth = false;
    bool mDatabaseListValid = false;
    bool mInterrupted = false;
    bool mIdle = true;
    bool mEmitting = false;

    QList<QGroupBox *> mPages;
    QGroupBox *fraStart, *fraVSS, *fraAnotherDB, *fraCustom, *fraProgress, *fraFinish, *fraSQLError;
    QButtonGroup *optType;
    QDateTimeEdit *dtpFrom, *dtpUntil;
    QCheckBox *chkUntil;
    QLabel *lblUntil;
    QLineEdit *txtSQLServer, *txtSQLUsername, *txtSQLPassword;
    QComboBox *cboSQLServer, *cboSQLDatabase;
    QPushButton *cmdSQLServer;
    QLabel *lblSQLUserName, *lblSQLPassword, *lblSQLServerErrorLabel;
    QCheckBox *chkUseWindowsAuth;
    QTreeWidget *lvwItems;
    QMenu *mnuPopup;
    KORVOStepList *mStepList;
    QLineEdit *txtFileLocation;
    QPushButton *cmdCreateFile;
    QCheckBox *chkDropObjectsFirst, *chkCreatePermission;
    QPushButton *cmdBack, *cmdNext, *cmdFinished, *cmdCancel;
};
