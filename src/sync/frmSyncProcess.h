#pragma once

#include "KORVODatabase.h"
#include "KORVOSyncAnalysis.h"

#include <QDialog>
#include <QElapsedTimer>

class HelpIntegration;
class KORVOWindows;
class QProgressBar;
class QTimer;
class QTreeWidget;

// "Synchronization Process ...": the modal window in which the analysis runs,
// one line per step. Its first timer tick does the work, so that the window is
// on the screen before it begins.
class frmSyncProcess : public QDialog, private KORVOSyncAnalysis::Observer, private KORVOSessionListener
{
    Q_OBJECT
public:
    frmSyncProcess(KORVOWindows &windows, HelpIntegration *help = nullptr, QWidget *parent = nullptr);
    ~frmSyncProcess() override;

    // True when the results window applied at least one change. An analysis
    // that fails shows one box, opens no results and is not recorded.
    bool StartSync(KORVODatabase &database);

    const KORVOSyncAnalysis *Analysis() const { return mAnalysis.get(); }

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void reject() override;

private:
    void InitSteps();
    void BuildSteps();
    void Tick();
    void ShowProgress(long current, long maximum, int step);

    // KORVOSyncAnalysis::Observer
    void SetStepStatus(int step, const QString &text, int icon) override;
    void CompareStarted(int step, long count) override;
    void ObjectCompared(int step, long current, long count) override;
    // KORVOSessionListener: progress of the refresh step under way.
    void RetrieveStatusChange(const QString &, const QString &, long position, long total, bool &) override;
    void AddingStatusChange(const QString &, const QString &, long, long, bool &) override { }
    void CompletedCurrentStatus(const QString &, const QString &) override { }

    KORVOWindows &mWindows;
    HelpIntegration *mHelp;
    KORVODatabase *msdbCurrent = nullptr;
    std::unique_ptr<KORVOSyncAnalysis> mAnalysis;
    int mCurrentStep = -1;
    long mProgress = 0;
    int mProgressStep = -1;
    // Since the progress was last painted; invalid when the next call paints.
    QElapsedTimer mPainted;
    bool mRunning = false;
    // Why the analysis stopped; empty when it ran through.
    QString mFailure;
    QTreeWidget *lvwSteps;
    QProgressBar *pbrCurrent;
    QTimer *tmr;
};
