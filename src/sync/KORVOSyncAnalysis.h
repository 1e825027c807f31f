#pragma once

#include "KORVOLatestTexts.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <memory>

class KORVODatabase;
class KORVOVSSListingPass;
class KORVOVersionedObjects;

// One object that is out of step, a row of the difference table.
struct KORVOSyncDifference {
    QString DBID;
    QString ObjectType;
    bool InSQL = false;
    bool InVSS = false;
    bool Differs = false;
    QString QualifiedName;
    QString ObjectDisplayName;

    // The row as the seven strings of the difference table.
    QStringList Row() const;
};

// A step of the analysis: "SQLVSS" refreshes a type's collection, "COMP"
// compares its objects.
struct KORVOSyncStep {
    QString StepKind;
    QString ObjectType;
    QString StepText;
};

// Walks the editable object types of a session, refreshes each collection and
// collects the objects whose two sides are not in step. Changes nothing.
class KORVOSyncAnalysis
{
public:
    // What a window shows of the run.
    class Observer
    {
    public:
        virtual ~Observer() = default;
        // icon: -1 none, 1 processing, 2 completed.
        virtual void SetStepStatus(int step, const QString &text, int icon) = 0;
        // The compare step is about to look at `count` objects.
        virtual void CompareStarted(int step, long count) = 0;
        // One more object compared.
        virtual void ObjectCompared(int step, long current, long count) = 0;
    };

    explicit KORVOSyncAnalysis(KORVODatabase &database);
    ~KORVOSyncAnalysis();

    // Two steps per editable type, refresh first. Empties the differences.
    const QList<KORVOSyncStep> &BuildSteps();
    const QList<KORVOSyncStep> &Steps() const { return mSteps; }
    // Runs every step in turn (0-based step numbers in the observer's calls).
    void Run(Observer &observer);
    void RunStep(int step, Observer &observer);

    const QList<KORVOSyncDifference> &Differences() const { return mDifferences; }

private:
    void Compare(int step, Observer &observer);

    KORVODatabase &mDatabase;
    QList<KORVOSyncStep> mSteps;
    QList<KORVOSyncDifference> mDifferences;
    std::shared_ptr<KORVOVersionedObjects> mCurrent;
    std::unique_ptr<KORVOVSSListingPass> mListing;
    // The project's texts, read once for all types while nothing changes.
    KORVOLatestTexts mRepositoryTexts;
};
