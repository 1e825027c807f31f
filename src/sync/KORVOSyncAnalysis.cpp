#include "KORVOSyncAnalysis.h"

#include "KORVODatabase.h"
#include "KORVOVSS.h"
#include "KORVOVersionedObjects.h"
#include "SQLParser.h"
#include "sql/KORVOSQL.h"

#include <algorithm>

QStringList KORVOSyncDifference::Row() const
{
    const auto flag = [](bool on) { return on ? QStringLiteral("1") : QStringLiteral("0"); };
    return { DBID, ObjectType, flag(InSQL), flag(InVSS), flag(Differs), QualifiedName, ObjectDisplayName };
}

KORVOSyncAnalysis::KORVOSyncAnalysis(KORVODatabase &database)
    : mDatabase(database)
{
}

KORVOSyncAnalysis::~KORVOSyncAnalysis() = default;

const QList<KORVOSyncStep> &KORVOSyncAnalysis::BuildSteps()
{
    mDifferences.clear();
    mSteps.clear();
    mCurrent.reset();
    mListing.reset();
    mRepositoryTexts = {};
    const auto types = mDatabase.GetItemsForSyncronisation();
    for (const auto &type : *types) {
        mSteps.append(
            { QStringLiteral("SQLVSS"), type->Key, QStringLiteral("Find %1 in SQL and VSS").arg(type->Text) });
        mSteps.append({ QStringLiteral("COMP"), type->Key, QStringLiteral("Compare %1 content").arg(type->Text) });
    }
    return mSteps;
}

void KORVOSyncAnalysis::Run(Observer &observer)
{
    for (int step = 0; step < mSteps.size(); ++step)
        RunStep(step, observer);
}

void KORVOSyncAnalysis::RunStep(int step, Observer &observer)
{
    observer.SetStepStatus(step, QStringLiteral("Processing"), 1);
    const KORVOSyncStep &s = mSteps.at(step);
    // One listing of the repository folder serves the refreshes of all types;
    // it ends with the last step, or with a step that failed.
    if (!mListing)
        mListing = std::make_unique<KORVOVSSListingPass>(mDatabase.Project() ? mDatabase.Project()->VSS() : nullptr);
    try {
        if (s.StepKind == QLatin1String("SQLVSS"))
            mCurrent = std::dynamic_pointer_cast<KORVOVersionedObjects>(mDatabase.GetObjectObjects(s.ObjectType));
        else
            Compare(step, observer);
    } catch (...) {
        mListing.reset();
        throw;
    }
    if (step + 1 >= mSteps.size())
        mListing.reset();
    observer.SetStepStatus(step, QStringLiteral("Completed"), 2);
}

void KORVOSyncAnalysis::Compare(int step, Observer &observer)
{
    if (!mCurrent)
        return;
    const long count = mCurrent->Count();
    observer.CompareStarted(step, count);

    // Where the server kind can, all the type's texts come in one statement, and
    // the project's texts come in one request; the comparison is that of
    // SQLAndVSSDiffer, with each side read on its own where the batch lacks it.
    QHash<QString, QString> serverTexts;
    mRepositoryTexts.Renew();
    const std::shared_ptr<KORVOSQL> &sql = mCurrent->ActiveDBConnection();
    if (sql && std::any_of(mCurrent->begin(), mCurrent->end(), [](const KORVOTypedObjectPtr &o) {
            return o->InSQL() && o->InVSS();
        }))
        sql->GetObjectTexts(mCurrent->Type().Class, serverTexts);

    long done = 0;
    for (const KORVOTypedObjectPtr &object : *mCurrent) {
        const bool inSQL = object->InSQL(), inVSS = object->InVSS();
        bool differs = false;
        // The texts are fetched only for objects on both sides.
        if (inSQL && inVSS) {
            const std::shared_ptr<KORVOSQL> &server = object->ActiveDBConnection();
            if (server && object->ActiveVSSConnection()) {
                const QString latest = mRepositoryTexts.Of(*object);
                const auto text = serverTexts.constFind(object->DBID());
                differs = !TextsEqual(
                    latest, text != serverTexts.cend() ? *text : server->GetObjectText(object->DBID()), true, true);
            } else {
                differs = object->SQLAndVSSDiffer();
            }
        }
        if ((inSQL && inVSS && differs) || inSQL != inVSS) {
            // The caption carries the argument types of an overloaded routine.
            mDifferences.append({ object->DBID(), object->ObjectType(), inSQL, inVSS, differs,
                object->Generic().Caption(true), object->ObjectDisplayName() });
        }
        observer.ObjectCompared(step, ++done, count);
    }
}
