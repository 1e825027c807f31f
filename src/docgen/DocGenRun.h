#pragma once

#include "DocGenObjects.h"
#include "DocGenProject.h"
#include "DocGenSteps.h"

#include <QString>

class UiServices;

// One documentation run, as the progress window drives it: the steps are
// listed first, then the run walks them.
class DocGenRun
{
public:
    enum class Outcome { NotRun, Done, Failed };

    // module null: all objects.
    DocGenRun(DocGenSource &source, const DocGenProject &project, DocGenModule *module, DocGenSteps &steps);

    void ListSteps();
    // Scans (for a module) and writes the document of the project's
    // DocumentType; another type does nothing. Errors end the run: Failed,
    // with the description in Error(), and no document was written.
    Outcome Run();
    const QString &Error() const { return mError; }

    // The box that tells the user how the run ended.
    static void TellOutcome(UiServices &ui, Outcome outcome, const QString &error);

private:
    DocGenSource &mSource;
    const DocGenProject &mProject;
    DocGenModule *mModule;
    DocGenSteps &mSteps;
    QList<DocGenSource::Type> mTypes;
    QString mError;
};
