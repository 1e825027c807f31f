#include "ScriptObjectSelection.h"

#include "KORVODatabase.h"
#include "KORVOProject.h"
#include "KORVOHistoryData.h"
#include "KORVOLatestTexts.h"
#include "KORVOStepProgress.h"
#include "KORVOVSS.h"
#include "KORVOVersionedObjects.h"
#include "ScriptCreator.h"
#include "sql/KORVOSQL.h"

#include <QHash>

namespace
{

bool InFrame(const QDateTime &date, const QDateTime &from, const QDateTime &until)
{
    return date.isValid() && from.secsTo(date) >= 0 && date.secsTo(until) >= 0;
}

QDateTime WholeSeconds(const QDateTime &date)
{
    return date.addMSecs(-date.time().msec());
}

// Objects compare by owner and name without regard to case; routines also by
// their argument types, where both sides know them.
QString MatchKey(const KORVOTypedObject &object)
{
    return object.Owner().toLower() + QChar(0x1f) + object.Name().toLower();
}

// A routine's argument types by id, where the server tells overloads apart.
using ArgumentTypes = QHash<QString, QString>;

ArgumentTypes ReadArgumentTypes(KORVOSQL *sql)
{
    ArgumentTypes types;
    if (!sql || !sql->ConnectionOpen())
        return types;
    const QString statement = sql->Kind().ArgumentTypesStatement();
    if (statement.isEmpty())
        return types;
    const std::shared_ptr<Recordset> rows = sql->OpenRecordset(statement);
    for (; rows && rows->IsOpen() && !rows->Eof(); rows->MoveNext())
        types.insert(rows->FieldText(QStringLiteral("id")), rows->FieldText(QStringLiteral("types")));
    return types;
}

// The objects of each owner and name, in the collection's order.
class MatchIndex
{
public:
    MatchIndex(const KORVOVersionedObjects &collection, const ArgumentTypes &types)
        : mTypes(types)
    {
        mByName.reserve(collection.Count());
        for (const KORVOTypedObjectPtr &object : collection)
            mByName[MatchKey(*object)].append(object);
    }
    // The first object of the same owner and name and, where both sides know
    // them, the same argument types.
    KORVOTypedObjectPtr Match(const KORVOTypedObject &object, const ArgumentTypes &objectTypes) const
    {
        const auto found = mByName.constFind(MatchKey(object));
        if (found == mByName.cend())
            return nullptr;
        const auto mine = objectTypes.constFind(object.DBID());
        for (const KORVOTypedObjectPtr &candidate : *found) {
            const auto theirs = mTypes.constFind(candidate->DBID());
            if (mine == objectTypes.cend() || theirs == mTypes.cend() || *mine == *theirs)
                return candidate;
        }
        return nullptr;
    }

private:
    const ArgumentTypes &mTypes;
    QHash<QString, QList<KORVOTypedObjectPtr>> mByName;
};

QString Stripped(const QString &text)
{
    qsizetype from = 0, to = text.size();
    auto blank = [](QChar c) {
        return c == QLatin1Char(' ') || c == QLatin1Char('\t') || c == QLatin1Char('\r') || c == QLatin1Char('\n');
    };
    while (from < to && blank(text.at(from)))
        ++from;
    while (to > from && blank(text.at(to - 1)))
        --to;
    return text.mid(from, to - from);
}

// The server texts of a collection's objects in one read where the kind can,
// else nothing, and the objects are read one by one.
QHash<QString, QString> ServerTexts(KORVOSQL &sql, const KORVOVersionedObjects &collection)
{
    QHash<QString, QString> texts;
    QStringList ids;
    for (const KORVOTypedObjectPtr &object : collection)
        ids.append(object->DBID());
    const QString statement = sql.Kind().ScriptTextsStatement(ids);
    if (statement.isEmpty() || !sql.ConnectionOpen())
        return texts;
    const std::shared_ptr<Recordset> rows = sql.OpenRecordset(statement);
    for (; rows && rows->IsOpen() && !rows->Eof(); rows->MoveNext())
        texts[rows->FieldText(QStringLiteral("id"))] += rows->FieldText(QStringLiteral("Text"));
    return texts;
}

} // namespace

ScriptObjectSelection::ScriptObjectSelection(
    KORVODatabase &session, ScriptCreator &job, KORVOStepProgress &steps, const bool &interrupted)
    : mSession(session)
    , mJob(job)
    , mSteps(steps)
    , mInterrupted(interrupted)
{
}

void ScriptObjectSelection::AddObjectTypeSteps(bool deleted, bool other)
{
    const KORVODBTItemsPtr items = mSession.GetItemsForScriptGen();
    for (const KORVODBTItemPtr &item : *items) {
        const QString key = QStringLiteral("GETOBJECTS_")
            + (deleted      ? QStringLiteral("DEL_")
                    : other ? QStringLiteral("OTHER_")
                            : QString())
            + item->Key;
        mSteps.AddStep(
            key, QStringLiteral("Find all ") + (deleted ? QStringLiteral("deleted ") : QString()) + item->Text);
    }
}

QList<QList<KORVOTypedObjectPtr>> ScriptObjectSelection::GetObjectCollections(bool deleted)
{
    QList<QList<KORVOTypedObjectPtr>> result;
    const KORVODBTItemsPtr items = mSession.GetItemsForScriptGen();
    for (const KORVODBTItemPtr &item : *items) {
        mSteps.NextStep();
        if (mInterrupted)
            return result;
        QList<KORVOTypedObjectPtr> members;
        if (!deleted) {
            if (auto collection
                = std::dynamic_pointer_cast<KORVOVersionedObjects>(mSession.GetObjectObjects(item->Key)))
                members = QList<KORVOTypedObjectPtr>(collection->begin(), collection->end());
        } else {
            const QList<KORVODBTItemsPtr> lists = mSession.GetObjectsForUndeleteing(item->Key);
            if (!lists.isEmpty() && lists.first()) {
                for (const KORVODBTItemPtr &row : *lists.first()) {
                    bool fromDeleted = true;
                    if (auto object = std::dynamic_pointer_cast<KORVOTypedObject>(
                            mSession.GetObject(row->Tag, row->Key, fromDeleted)))
                        members.append(object);
                }
            }
        }
        result.append(members);
    }
    return result;
}

ScriptObjectSelection::FrameVersions ScriptObjectSelection::VersionsOf(
    const KORVOTypedObject &object, const QDateTime &fromPicked, const QDateTime &untilPicked)
{
    const QDateTime from = WholeSeconds(fromPicked), until = WholeSeconds(untilPicked);
    QDateTime latest(QDate(1900, 1, 1), QTime(0, 0)), before = latest;
    FrameVersions versions;
    QList<QDateTime> renames;
    for (const QStringList &entry : object.DateSummary(true)) {
        const QDateTime date = VersionDateTime(entry.value(0));
        // Dates have whole seconds: of two versions in one second the higher
        // number is the later one.
        const int number = entry.value(2).toInt();
        if (InFrame(date, from, until)
            && (latest.secsTo(date) > 0 || (latest.secsTo(date) == 0 && number > versions.InFrame))) {
            latest = date;
            versions.InFrame = number;
        } else if (date.isValid() && date.secsTo(from) > 0
            && (before.secsTo(date) > 0 || (before.secsTo(date) == 0 && number > versions.Before))) {
            before = date;
            versions.Before = number;
        }
        // The item moved to a new id: the object was made anew on the server
        // (renamed, undeleted, or added again from source control).
        if (entry.value(3) == QLatin1String("Renamed") || entry.value(3) == QLatin1String("Recovered"))
            renames.append(date);
    }
    for (const QDateTime &date : std::as_const(renames))
        versions.Recreated = versions.Recreated || (versions.Before > -1 && InFrame(date, from, latest));
    return versions;
}

int ScriptObjectSelection::VersionInFrame(
    const KORVOTypedObject &object, const QDateTime &fromPicked, const QDateTime &untilPicked)
{
    return VersionsOf(object, fromPicked, untilPicked).InFrame;
}

void ScriptObjectSelection::Recreated(const ScriptCreatorObjectPtr &entry, int before, int &count)
{
    const KORVOTypedObject &object = *entry->ScriptObject;
    const QString earlierText = object.GetContent(1, before, false, entry->Deleted);
    const QStringList earlier = object.NameInText(earlierText);
    if (earlier.value(1).isEmpty())
        return;
    const QString earlierOwner = earlier.value(0).isEmpty() ? object.Owner() : earlier.value(0);
    QStringList now { object.Owner(), object.Name() };
    if (entry->Action != ScriptCreatorObject::Drop) {
        now = object.NameInText(object.GetContent(1, entry->VersionNumber, false, entry->Deleted));
        if (now.value(0).isEmpty())
            now[0] = object.Owner();
    }
    const bool sameName = earlierOwner.compare(now.value(0), Qt::CaseInsensitive) == 0
        && earlier.value(1).compare(now.value(1), Qt::CaseInsensitive) == 0;
    if (sameName) {
        // Under its old name the object keeps its place; its rights are those
        // the new one was given.
        if (entry->Action == ScriptCreatorObject::Update)
            entry->Recreated = true;
        return;
    }
    // The earlier text names the earlier object with its argument types; the
    // object of today's id may be gone (deleted in the frame too).
    QString drop = object.DropScriptOfText(earlierText);
    if (drop.isEmpty())
        drop = object.DropScriptAs(earlierOwner, earlier.value(1));
    if (entry->Action == ScriptCreatorObject::Drop) {
        entry->DropText = drop;
        return;
    }
    // The target knows the object by its earlier name: it is made under the new
    // one, and the earlier one goes.
    entry->Action = ScriptCreatorObject::Add;
    ScriptCreatorObjectPtr dropEntry = mJob.ObjectsToScript().Add();
    dropEntry->Action = ScriptCreatorObject::Drop;
    dropEntry->ScriptObject = entry->ScriptObject;
    dropEntry->Deleted = entry->Deleted;
    dropEntry->DropText = drop;
    ++count;
}

int ScriptObjectSelection::TimeFrame(const QDateTime &fromPicked, const QDateTime &untilPicked)
{
    // History dates have whole seconds, and so has the frame.
    const QDateTime from = WholeSeconds(fromPicked), until = WholeSeconds(untilPicked);
    ScriptCreatorObjects &list = mJob.ObjectsToScript();
    const KORVOVSSListingPass listing = mSession.ListingPass();
    mSteps.SetProgressMax(1);
    list.Clear();
    AddObjectTypeSteps(false, false);
    AddObjectTypeSteps(true, false);
    mSteps.AddStep(QStringLiteral("FIND"), QStringLiteral("Find objects that fit in specified time frame"));
    mSteps.AddStep(QStringLiteral("END"), QStringLiteral("Create VSS time line"));

    // Present objects before all deleted ones.
    QList<QList<KORVOTypedObjectPtr>> collections = GetObjectCollections(false);
    if (mInterrupted)
        return -1;
    const QList<QList<KORVOTypedObjectPtr>> deleted = GetObjectCollections(true);
    if (mInterrupted)
        return -1;
    const qsizetype deletedCollections = deleted.size();
    collections += deleted;
    mSteps.NextStep();
    long total = 0;
    for (const auto &members : std::as_const(collections))
        total += members.size();
    mSteps.SetProgressMax(total);
    mSteps.SetProgress(0, QString());

    int count = 0;
    long position = 0;
    const qsizetype presentCollections = collections.size() - deletedCollections;
    QHash<const ScriptCreatorObject *, int> recreatedBefore;
    for (qsizetype c = 0; c < collections.size(); ++c) {
        for (const KORVOTypedObjectPtr &object : std::as_const(collections.at(c))) {
            const FrameVersions versions = VersionsOf(*object, from, until);
            if (versions.InFrame > -1) {
                ScriptCreatorObjectPtr entry = list.Add();
                entry->Action = ScriptCreatorObject::Update;
                entry->VersionNumber = versions.InFrame;
                entry->ScriptObject = object;
                entry->Deleted = c >= presentCollections;
                if (versions.Recreated)
                    recreatedBefore.insert(entry.get(), versions.Before);
                ++count;
            }
            mSteps.SetProgress(++position, QString());
            if (mInterrupted)
                return -1;
        }
    }

    mSteps.NextStep();
    const int entries = list.Count();
    mSteps.SetProgressMax(entries);
    mSteps.SetProgress(0, QString());
    position = 0;
    // By position: an object renamed in the frame adds a drop entry at the end.
    for (int i = 1; i <= entries; ++i) {
        const ScriptCreatorObjectPtr entry = list.Item(i);
        const KORVOTypedObject &object = *entry->ScriptObject;
        if (InFrame(object.FirstDate(), from, until))
            entry->Action = ScriptCreatorObject::Add;
        if (InFrame(object.LastDate(), from, until) && object.IsDeleted()) {
            if (entry->Action == ScriptCreatorObject::Add) {
                entry->Action = ScriptCreatorObject::Nothing;
                --count;
            } else {
                entry->Action = ScriptCreatorObject::Drop;
            }
        }
        if (const auto before = recreatedBefore.constFind(entry.get());
            before != recreatedBefore.cend() && entry->Action != ScriptCreatorObject::Nothing)
            Recreated(entry, *before, count);
        mSteps.SetProgress(++position, QString());
        if (mInterrupted)
            return -1;
    }
    if (count > 0)
        mSteps.NextStep();
    return count;
}

QList<std::shared_ptr<KORVOVersionedObjects>> ScriptObjectSelection::TypedCollections(
    const QList<KORVOObjectCollectionPtr> &list) const
{
    QList<std::shared_ptr<KORVOVersionedObjects>> out;
    for (const auto &collection : list) {
        if (auto typed = std::dynamic_pointer_cast<KORVOVersionedObjects>(collection))
            out.append(typed);
    }
    return out;
}

ScriptObjectSelection::CompareResult ScriptObjectSelection::Compare(int &count, QString &error)
{
    count = 0;
    ScriptCreatorObjects &list = mJob.ObjectsToScript();
    const std::shared_ptr<KORVOSQL> &other = mJob.SQLConnection();
    const KORVOVSSListingPass listing = mSession.ListingPass();
    mSteps.SetProgressMax(1);
    list.Clear();
    AddObjectTypeSteps(false, false);
    mSteps.AddStep(QStringLiteral("CONNECT"), QStringLiteral("Open a Connection to specified Database"));
    AddObjectTypeSteps(false, true);
    mSteps.AddStep(QStringLiteral("COMPARE"), QStringLiteral("Compare objects and mark changes"));
    mSteps.AddStep(QStringLiteral("END"), QStringLiteral("Close Connection to specified database"));

    QList<std::shared_ptr<KORVOVersionedObjects>> own;
    const KORVODBTItemsPtr items = mSession.GetItemsForScriptGen();
    for (const KORVODBTItemPtr &item : *items) {
        mSteps.NextStep();
        if (mInterrupted)
            return CompareResult::Interrupted;
        if (auto c = std::dynamic_pointer_cast<KORVOVersionedObjects>(mSession.GetObjectObjects(item->Key)))
            own.append(c);
    }
    mSteps.NextStep();
    mSteps.SetProgressMax(1);
    mSteps.SetProgress(0, QString());
    mSteps.SetProgress(1, QString());
    error = other->OpenConnection(other->Server(), other->Database(), other->StoredUserName(), other->Password(),
        other->UseWinNTAuth() ? KORVOSQL::UseNTYes : KORVOSQL::UseNTNo, true);
    if (!error.isEmpty())
        return CompareResult::ConnectionFailed;

    const QList<std::shared_ptr<KORVOVersionedObjects>> others
        = TypedCollections(mSession.SetupAvailableEditableObjectsForAnotherDB(other));
    for (const auto &collection : others) {
        mSteps.NextStep();
        bool cancel = mInterrupted;
        collection->RefreshList(cancel);
        if (mInterrupted)
            return CompareResult::Interrupted;
    }

    mSteps.NextStep();
    long total = 0;
    for (const auto &c : std::as_const(own))
        total += c->Count();
    for (const auto &c : others)
        total += c->Count();
    mSteps.SetProgressMax(total);
    mSteps.SetProgress(0, QString());

    auto sameType = [](const auto &lists, const QString &type) -> std::shared_ptr<KORVOVersionedObjects> {
        for (const auto &c : lists) {
            if (c->ObjectType() == type)
                return c;
        }
        return nullptr;
    };
    KORVOLatestTexts latest;
    const std::shared_ptr<KORVOSQL> project = mSession.Project() ? mSession.Project()->SQL() : nullptr;
    const ArgumentTypes ownTypes = ReadArgumentTypes(project.get()), otherTypes = ReadArgumentTypes(other.get());
    long position = 0;
    for (const auto &mine : std::as_const(own)) {
        const auto theirs = sameType(others, mine->ObjectType());
        if (!theirs) {
            position += mine->Count();
            continue;
        }
        const MatchIndex index(*theirs, otherTypes);
        const QHash<QString, QString> texts = ServerTexts(*other, *theirs);
        for (const KORVOTypedObjectPtr &object : *mine) {
            const KORVOTypedObjectPtr match = index.Match(*object, ownTypes);
            int action = ScriptCreatorObject::Add;
            if (match) {
                const auto text = texts.constFind(match->DBID());
                const QString theirText = text != texts.cend() ? *text : match->GetContent(2);
                action = Stripped(latest.Of(*object)) == Stripped(theirText) ? 0 : ScriptCreatorObject::Update;
            }
            if (action) {
                ScriptCreatorObjectPtr entry = list.Add();
                entry->Action = action;
                entry->ScriptObject = object;
                ++count;
            }
            mSteps.SetProgress(++position, QString());
            if (mInterrupted)
                return CompareResult::Interrupted;
        }
    }
    for (const auto &collection : others) {
        const auto mine = sameType(own, collection->ObjectType());
        if (!mine) {
            position += collection->Count();
            continue;
        }
        const MatchIndex index(*mine, ownTypes);
        for (const KORVOTypedObjectPtr &object : *collection) {
            if (!index.Match(*object, otherTypes)) {
                ScriptCreatorObjectPtr entry = list.Add();
                entry->Action = ScriptCreatorObject::Drop;
                entry->ScriptObject = object;
                ++count;
            }
            mSteps.SetProgress(++position, QString());
            if (mInterrupted)
                return CompareResult::Interrupted;
        }
    }

    mSteps.NextStep();
    mSteps.SetProgressMax(1);
    mSteps.SetProgress(0, QString());
    other->CloseConnection();
    mSteps.SetProgress(1, QString());
    mSteps.NextStep();
    return CompareResult::Done;
}

QList<KORVOTypedObjectPtr> ScriptObjectSelection::Complete(bool complete)
{
    QList<KORVOTypedObjectPtr> rows;
    const KORVOVSSListingPass listing = mSession.ListingPass();
    mSteps.SetProgressMax(1);
    mJob.ObjectsToScript().Clear();
    AddObjectTypeSteps(false, false);
    mSteps.AddStep(QStringLiteral("END"),
        complete ? QStringLiteral("Prepare objects for scripting") : QStringLiteral("Add objects to custom list"));

    const QList<QList<KORVOTypedObjectPtr>> collections = GetObjectCollections(false);
    if (mInterrupted)
        return rows;
    long total = 0;
    for (const auto &members : collections)
        total += members.size();
    mSteps.SetProgressMax(total);
    mSteps.NextStep();
    long position = 0;
    for (const auto &members : collections) {
        for (const KORVOTypedObjectPtr &object : members) {
            if (object->InSQL()) {
                if (complete) {
                    ScriptCreatorObjectPtr entry = mJob.ObjectsToScript().Add();
                    entry->Action = ScriptCreatorObject::Add;
                    entry->ScriptObject = object;
                } else {
                    rows.append(object);
                }
            }
            mSteps.SetProgress(++position, QString());
            if (mInterrupted)
                return rows;
        }
    }
    mSteps.NextStep();
    return rows;
}
