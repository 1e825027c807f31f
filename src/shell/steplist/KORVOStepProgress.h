#pragma once

#include <QString>

// The list of steps a long job shows: a row per step with a state text, and
// one progress bar for the running step. Jobs talk to it only through this
// interface; KORVOStepList is the window's implementation.
class KORVOStepProgress
{
public:
    virtual ~KORVOStepProgress() = default;

    virtual void ClearSteps() = 0;
    // Appends "Step {n} - {text}", not started yet.
    virtual void AddStep(const QString &key, const QString &text) = 0;
    // Completes the running step and starts the next one.
    virtual void NextStep() = 0;
    virtual void SetProgressMax(long maximum) = 0;
    virtual void SetProgress(long value, const QString &text) = 0;
    // Ends the running step with a state text of its own.
    virtual void EndStep(const QString &status) = 0;
};
