#pragma once

#include "KORVOStepProgress.h"

#include <QElapsedTimer>
#include <QWidget>

class QLabel;
class QProgressBar;
class QTreeWidget;
class QTreeWidgetItem;

// The step list of the generators: `lvwSteps` with an icon column, "Step" and
// "Status", and the progress bar `pbrCurrent` under a "Status:" label. A
// change of step repaints and lets the event loop run once, so that a long job
// on the interface thread stays responsive and can be interrupted; progress
// within a step shows on its first call, then at most every 50 ms, and always
// when it reaches the maximum (painting per object would cost more than the
// objects).
class KORVOStepList : public QWidget, public KORVOStepProgress
{
    Q_OBJECT

public:
    explicit KORVOStepList(QWidget *parent = nullptr);

    void ClearSteps() override;
    void AddStep(const QString &key, const QString &text) override;
    void NextStep() override;
    void SetProgressMax(long maximum) override;
    void SetProgress(long value, const QString &text) override;
    void EndStep(const QString &status) override;

    // 1-based place of the running step, 0 before the first.
    int CurrentStep() const { return mCurrentStep; }
    QTreeWidget *Steps() const { return mSteps; }
    QProgressBar *Bar() const { return mBar; }
    // The row of a step key, or null.
    QTreeWidgetItem *Step(const QString &key) const;

private:
    QTreeWidgetItem *Running() const;
    void Show(QTreeWidgetItem *row);
    void Pump();
    // Shows the progress given last, if it is not shown yet.
    void ShowProgress();

    QTreeWidget *mSteps;
    QProgressBar *mBar;
    QLabel *mStatus;
    int mCurrentStep = 0;
    long mMaximum = 1;
    long mValue = 0;
    QString mText;
    bool mPending = false;
    // Since the progress was last shown; invalid when the next call shows.
    QElapsedTimer mShown;
};
