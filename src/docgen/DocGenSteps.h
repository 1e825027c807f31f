#pragma once

#include <QString>

// A long job's list of steps with one progress bar. The progress window shows
// it; tests record it.
class DocGenSteps
{
public:
    virtual ~DocGenSteps() = default;
    virtual void AddStep(const QString &key, const QString &text) = 0;
    // Ends the running step and begins the next.
    virtual void NextStep() = 0;
    virtual void SetProgressMax(int maximum) = 0;
    virtual void SetProgress(int value, const QString &text) = 0;
};

// What ends a documentation run; Description is shown to the user.
struct DocGenError {
    QString Description;
};
