#pragma once

#include "KORVOStepProgress.h"

#include <QWidget>

class QLabel;
class QProgressBar;
class QTreeWidget;
class QTreeWidgetItem;

// The step list of the generators: `lvwSteps` with an icon column, "Step" and
// "Status", and the progress bar `pbrCurrent` under a "Status:" label. Each
// change repaints and lets the event loop run once, so that a long job on the
// interface thread stays responsive and can be interrupted.
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

    QTreeWidget *mSteps;
    QProgressBar *mBar;
    QLabel *mStatus;
    int mCurrentStep = 0;
    long mMaximum = 1;
};
