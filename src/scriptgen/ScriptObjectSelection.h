#pragma once

#include "KORVOTypedObject.h"

#include <QDateTime>
#include <QList>
#include <QString>

class KORVODatabase;
class KORVOStepProgress;
class KORVOVersionedObjects;
class ScriptCreator;
class ScriptCreatorObject;

// Decides which objects a script touches and what it does with each, in the
// four ways of the script generator, and fills the job's list. Progress goes
// to the step list; `interrupted` is read after every round and step, and a
// run that sees it set returns at once.
class ScriptObjectSelection
{
public:
    ScriptObjectSelection(
        KORVODatabase &session, ScriptCreator &job, KORVOStepProgress &steps, const bool &interrupted);

    // Objects with a history entry inside [from, until], the newest such entry
    // giving the version. Returns the number of entries the script writes.
    int TimeFrame(const QDateTime &from, const QDateTime &until);

    enum class CompareResult { Done, ConnectionFailed, Interrupted };
    // The project against the database in the job's SQLConnection (server and
    // login set by the caller). count is the number of entries; error the
    // driver's raw text when the connection failed.
    CompareResult Compare(int &count, QString &error);

    // Complete mode: every object in the database gets an add entry. Custom mode
    // (complete false): the objects in the database are returned for the
    // caller's list, and the job's list stays empty.
    QList<KORVOTypedObjectPtr> Complete(bool complete);

    // The history entry of an object inside [from, until]: its version, or -1.
    static int VersionInFrame(const KORVOTypedObject &object, const QDateTime &from, const QDateTime &until);
    struct FrameVersions {
        int InFrame = -1; // the newest version inside the frame
        int Before = -1; // the newest version before it: what the target holds
        bool Recreated = false; // given a new id between the two (renamed, undeleted, added again)
    };
    static FrameVersions VersionsOf(const KORVOTypedObject &object, const QDateTime &from, const QDateTime &until);

private:
    void AddObjectTypeSteps(bool deleted, bool other);
    // An object made anew in the frame. Renamed: the script drops it under the
    // name the target knows (read from the text of version before) and an update
    // makes it under its present name. Same name: its rights are stated again.
    void Recreated(const std::shared_ptr<ScriptCreatorObject> &entry, int before, int &count);
    // The project's collections of the script types; for deleted ones the
    // resolved objects of each type's deleted list.
    QList<QList<KORVOTypedObjectPtr>> GetObjectCollections(bool deleted);
    QList<std::shared_ptr<KORVOVersionedObjects>> TypedCollections(const QList<KORVOObjectCollectionPtr> &list) const;

    KORVODatabase &mSession;
    ScriptCreator &mJob;
    KORVOStepProgress &mSteps;
    const bool &mInterrupted;
};
