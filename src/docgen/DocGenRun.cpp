#include "DocGenRun.h"

#include "DocGenScanner.h"
#include "DocGenWordWriter.h"
#include "DocGenWriter.h"
#include "UiServices.h"

DocGenRun::DocGenRun(DocGenSource &source, const DocGenProject &project, DocGenModule *module, DocGenSteps &steps)
    : mSource(source)
    , mProject(project)
    , mModule(module)
    , mSteps(steps)
{
}

void DocGenRun::ListSteps()
{
    mTypes = mSource.GetItemsForDocGen();
    for (const auto &type : std::as_const(mTypes))
        mSteps.AddStep(QStringLiteral("GETOBJECTS-") + type.Key, QStringLiteral("Find all ") + type.Text);
    if (mModule) {
        // The module's name is not part of the text.
        for (const auto &type : std::as_const(mTypes))
            mSteps.AddStep(QStringLiteral("FINDOBJECTS-") + type.Key,
                QStringLiteral("Find all ") + type.Text + QStringLiteral(" used in Module "));
    }
    mSteps.AddStep(QStringLiteral("START"), QStringLiteral("Initialise Document"));
    if (!mModule) {
        for (const auto &type : std::as_const(mTypes))
            mSteps.AddStep(QStringLiteral("ADDOBJECTS-") + type.Key,
                QStringLiteral("Generate documentation for all ") + type.Text);
    } else {
        if (mProject.IncludeModuleSummay)
            for (const auto &type : std::as_const(mTypes))
                mSteps.AddStep(
                    QStringLiteral("ADDOBJECTS-") + type.Key, QStringLiteral("Generate summary for all ") + type.Text);
        mSteps.AddStep(QStringLiteral("FILES"), QStringLiteral("Document all objects found in module"));
    }
    mSteps.AddStep(QStringLiteral("END"), QStringLiteral("Save Document"));
}

DocGenRun::Outcome DocGenRun::Run()
{
    std::unique_ptr<DocGenWriter> writer;
    if (mProject.DocumentType == QLatin1String("WORD"))
        writer = std::make_unique<DocGenWordWriter>(mProject, mSteps);
    else if (mProject.DocumentType == QLatin1String("HTML"))
        writer = std::make_unique<DocGenHtmlWriter>(mProject, mSteps);
    else
        return Outcome::NotRun;
    try {
        QList<DocGenCollection> collections;
        const std::shared_ptr<void> listing = mSource.HoldListing();
        for (const auto &type : std::as_const(mTypes)) {
            mSteps.NextStep();
            collections.append(mSource.GetObjectObjects(type.Key));
        }
        if (!mModule) {
            writer->WriteAll(collections);
        } else {
            DocGenModule &module = *mModule;
            QList<QList<DocGenObjectPtr>> found;
            ScanModule(collections, module, mSteps, found);
            writer->WriteModule(module, collections, found);
        }
    } catch (const DocGenError &e) {
        mError = e.Description;
        return Outcome::Failed;
    }
    return Outcome::Done;
}

void DocGenRun::TellOutcome(UiServices &ui, Outcome outcome, const QString &error)
{
    if (outcome == Outcome::Done)
        ui.inform(QStringLiteral("Document Generated"), QStringLiteral("Document has been successfully generated!"));
    else if (outcome == Outcome::Failed)
        ui.messageBox(UiServices::Icon::Critical, QStringLiteral("Document Generation Aborted"),
            QStringLiteral("An error occured: ") + error + QStringLiteral("\n\nDocument could not be generated!"));
}
