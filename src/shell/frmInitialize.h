#pragma once

#include "SystemRequirements.h"
#include "frmProjectBrowser.h"

#include <QPointer>
#include <QWidget>

#include <functional>
#include <memory>

class HelpIntegration;
class KORVODatabase;
class KORVOProject;
class KORVOProjects;
class QLabel;
class QTimer;
class UiServices;

// The splash window. StartKORVO shows it; one tick of its timer then creates the
// session, checks the required components and opens the most recent project,
// or else the project browser, and closes the splash.
class frmInitialize : public QWidget
{
    Q_OBJECT
public:
    using SessionFactory = std::function<std::shared_ptr<KORVODatabase>()>;

    // makeSession creates the session object; probe empty: the real component checks.
    frmInitialize(UiServices &ui, HelpIntegration &help, SessionFactory makeSession,
        SystemRequirements::Probe probe = {}, QWidget *parent = nullptr);
    ~frmInitialize() override;

    void StartKORVO();
    // Shows "{text} ..." and pauses a tenth of a second so that the step can be read.
    void ShowStatus(const QString &text);

    const std::shared_ptr<KORVODatabase> &Database() const { return mDatabase; }
    const std::shared_ptr<KORVOProjects> &Projects() const { return mProjects; }
    // The browser the tick opened, while it is open.
    frmProjectBrowser *ProjectBrowserWindow() const { return mBrowser; }

    static constexpr int HelpTopic = 1;

Q_SIGNALS:
    void statusShown(const QString &text);

protected:
    void keyPressEvent(QKeyEvent *event) override;

private:
    void tmr_Timer();
    // Connects both sides of the default project and opens it; false when a
    // connection failed or the project did not open.
    bool OpenMostRecentProject(const std::shared_ptr<KORVOProject> &project);

    UiServices &mUi;
    HelpIntegration &mHelp;
    SessionFactory mMakeSession;
    SystemRequirements::Probe mProbe;
    std::shared_ptr<KORVODatabase> mDatabase;
    std::shared_ptr<KORVOProjects> mProjects;
    QPointer<frmProjectBrowser> mBrowser;

    QLabel *lblStatus;
    QLabel *lblVersion;
    QTimer *tmr;
};
