#include "KORVOVersionedObjects.h"

#include "KORVOVSS.h"
#include "KORVOVSSItems.h"
#include "SQLParser.h"
#include "driver/Recordset.h"
#include "sql/KORVOSQL.h"

#include <QDateTime>
#include <QRandomGenerator>
#include <QSet>

#include <exception>
#include <stdexcept>

namespace
{

// A decimal object id, as the file names of objects are: "123" but not
// "dbo.usp_x", "1e3" or " 12".
bool IsNumeric(const QString &text)
{
    if (text.isEmpty())
        return false;
    for (const QChar c : text) {
        if (c < QLatin1Char('0') || c > QLatin1Char('9'))
            return false;
    }
    return true;
}

// A refresh that ends in an error tells nothing new about the objects: they
// get back the sides and check-out they had, instead of showing as missing.
class RestoreOnError
{
public:
    explicit RestoreOnError(const QList<KORVOTypedObjectPtr> &objects)
        : mExceptions(std::uncaught_exceptions())
    {
        for (const KORVOTypedObjectPtr &object : objects) {
            const KORVOObjectVSS &state = object->Generic();
            mSaved.append({ object, state.InSQL, state.InVSS, state.CheckedOutBy });
        }
    }
    ~RestoreOnError()
    {
        if (std::uncaught_exceptions() <= mExceptions)
            return;
        for (const Saved &saved : std::as_const(mSaved)) {
            KORVOObjectVSS &state = saved.Object->Generic();
            state.InSQL = saved.InSQL;
            state.InVSS = saved.InVSS;
            state.CheckedOutBy = saved.CheckedOutBy;
        }
    }
    RestoreOnError(const RestoreOnError &) = delete;
    RestoreOnError &operator=(const RestoreOnError &) = delete;

private:
    struct Saved {
        KORVOTypedObjectPtr Object;
        bool InSQL, InVSS;
        QString CheckedOutBy;
    };
    QList<Saved> mSaved;
    int mExceptions;
};

} // namespace

KORVOVersionedObjects::KORVOVersionedObjects(ObjectClass cls)
    : mType(ObjectTypeInfo(cls))
{
}

KORVOVersionedObjects::~KORVOVersionedObjects() = default;

SQLKeywordPatterns KORVOVersionedObjects::Keywords() const
{
    return ServerKindOf(mSQL).CreatePatterns(mType.Class);
}

void KORVOVersionedObjects::LoadIcons()
{
    if (!mIcons)
        return;
    const QString plain = mType.IconPrefix.chopped(1);
    mIcons->Add(IconToUse());
    mIcons->Add(plain);
    for (const char *state : { ":NEW", ":VSSBROKEN", ":SQLBROKEN", ":CHECKEDIN", ":CHECKEDINOUT", ":CHECKEDOUT" })
        mIcons->Add(plain + QLatin1String(state));
}

void KORVOTriggers::LoadIcons()
{
    KORVOVersionedObjects::LoadIcons();
    if (const KORVOIconsPtr &icons = Icons()) {
        for (const char *event : { "TRIGGER:INSERT", "TRIGGER:UPDATE", "TRIGGER:DELETE" })
            icons->Add(QLatin1String(event));
    }
}

KORVOTypedObjectPtr KORVOVersionedObjects::Adopt(const KORVOTypedObjectPtr &object) const
{
    object->SetActiveDBConnection(mSQL);
    object->SetActiveVSSConnection(mVSS);
    object->SetIcons(mIcons);
    object->SetCollection(std::const_pointer_cast<KORVOVersionedObjects>(shared_from_this()));
    return object;
}

QString KORVOVersionedObjects::ResolveKey(const QString &key) const
{
    if (mByKey.contains(key))
        return key;
    return key.mid(1);
}

void KORVOVersionedObjects::Insert(int index, const QString &key, const KORVOTypedObjectPtr &object)
{
    if (index < 0 || index > mItems.size())
        index = int(mItems.size());
    mItems.insert(index, object);
    mKeys.insert(index, key);
    mByKey.insert(key, object);
}

void KORVOVersionedObjects::RemoveAt(int index)
{
    mByKey.remove(mKeys.at(index));
    mItems.removeAt(index);
    mKeys.removeAt(index);
}

KORVOTypedObjectPtr KORVOVersionedObjects::Object(const QString &key, bool deleted, bool silent) const
{
    const QHash<QString, KORVOTypedObjectPtr> &list = deleted ? mDeleted : mByKey;
    KORVOTypedObjectPtr object = list.value(key);
    if (!object)
        object = list.value(key.mid(1));
    if (!object && !silent)
        throw std::out_of_range("Invalid procedure call or argument");
    return object;
}

KORVODBObjectPtr KORVOVersionedObjects::Item(const QString &key, bool deleted, bool silent)
{
    return Object(key, deleted, silent);
}

bool KORVOVersionedObjects::ObjectIsOfThisType(const QString &key)
{
    return Object(key) != nullptr;
}

QString KORVOVersionedObjects::NameFromText(const QString &text) const
{
    const QString name = ExtractNameAfterPattern(Keywords(), text);
    return KORVOSQL::IsValidObjectName(name) ? name : QString();
}

bool KORVOVersionedObjects::TextCreatesObject(const QString &item, const QString &id) const
{
    // A file named after an object is that object's earlier file only when its
    // text creates that very object; a note of the same name is not.
    const QString name = NameFromText(mVSS->ItemContent(item, true, -1, true, false));
    if (name.isEmpty())
        return false;
    const ServerKind &kind = ServerKindOf(mSQL);
    const QStringList parts = kind.SplitName(name);
    const QString owner = parts.value(0).isEmpty() ? QString() : kind.FormatName(QString(), parts.value(0));
    return mSQL->GetObjectID(kind.FormatName(QString(), parts.value(1)), owner) == id;
}

void KORVOVersionedObjects::TakeFileState(
    KORVOObjectVSS &state, const KORVOVSSItem &file, const QString &base, const QString &name) const
{
    if (!name.isEmpty()) {
        const QStringList parts = ServerKindOf(mSQL).SplitName(name);
        state.Owner = parts.value(0);
        state.Name = parts.value(1);
    } else {
        state.Owner.clear();
        state.Name = file.Name.chopped(3);
    }
    state.DBID = base;
    state.InSQL = false;
    state.InVSS = true;
    state.CheckedOutBy = file.CheckedOutBy;
}

void KORVOVersionedObjects::RefreshList(bool &cancel)
{
    // A lost connection is no closed one: the list query says so, loudly.
    if (!mSQL || (!mSQL->ConnectionOpen() && !mSQL->ConnectionLost()))
        return;
    const RestoreOnError restore(mItems);
    for (const KORVOTypedObjectPtr &object : std::as_const(mItems)) {
        object->Generic().InSQL = false;
        object->Generic().InVSS = false;
    }

    const ServerKind::VersionedStatements statements = mSQL->Kind().VersionedObjectStatements(mType.Class);
    const std::shared_ptr<Recordset> rows = mSQL->OpenRecordset(statements.ListQuery);
    const bool withVSS = !mCheckSQLOnly && mVSS;
    std::shared_ptr<KORVOVSSItems> files;
    if (withVSS)
        files = mVSS->Items(QLatin1Char('*') + mType.VSSExt, false, false);

    long position = 0;
    long total = 0;
    if (rows && rows->RecordCount() > 0)
        total = 2 * long(rows->RecordCount());
    if (files)
        total += files->Count();
    RaiseRetrieveStatusChange(position, total, cancel);
    if (cancel)
        return;

    for (; rows && !rows->Eof(); rows->MoveNext()) {
        const QString id = rows->FieldText(QStringLiteral("id"));
        KORVOTypedObjectPtr object = mByKey.value(id);
        if (!object) {
            object = Adopt(MakeObject());
            object->Generic().DBID = id;
            Insert(-1, id, object);
        }
        KORVOObjectVSS &state = object->Generic();
        state.Name = rows->FieldText(QStringLiteral("name"));
        state.Owner = mSQL->GetObjectOwnerName(id, *rows);
        state.InSQL = true;
        state.InVSS = false;
        state.CheckedOutBy.clear();
        ReadListRow(*object, *rows);
        position += 2;
        RaiseRetrieveStatusChange(position, total, cancel);
        if (cancel)
            return;
    }

    if (files) {
        for (std::shared_ptr<KORVOVSSItem> file : *files) {
            QString base = file->Name.chopped(mType.VSSExt.size());
            if (!IsNumeric(base)) {
                // A file of the earlier form owner.name.sp or name.sp moves to
                // the id's name, with its description.
                QString owner = QStringLiteral("dbo");
                QString name = base;
                if (const qsizetype dot = base.indexOf(QLatin1Char('.')); dot >= 0) {
                    owner = base.left(dot);
                    name = base.mid(dot + 1);
                }
                const QString id = mSQL->GetObjectID(name, owner);
                if (!id.isEmpty() && TextCreatesObject(file->Name, id)
                    && mVSS->RenameItem(file->Name, id + mType.VSSExt, false, false, false)) {
                    // ".sp.desc" whatever the type.
                    mVSS->RenameItem(
                        file->Name + QStringLiteral(".desc"), id + QStringLiteral(".sp.desc"), true, true, false);
                    base = id;
                    file = mVSS->Item(id + mType.VSSExt);
                }
            }
            if (IsNumeric(base)) {
                KORVOTypedObjectPtr known = mByKey.value(base);
                if (known && known->Generic().InSQL) {
                    known->Generic().InVSS = true;
                    known->Generic().CheckedOutBy = file->CheckedOutBy;
                } else {
                    // SQL does not know the object under this id. It may have
                    // been dropped and recreated: its text names it.
                    const QString text = mVSS->ItemContent(file->Name, true, -1, false, false);
                    const QString name = NameFromText(text);
                    const std::shared_ptr<Recordset> found = LookUpText(text, name);
                    const QString id = found && !found->Eof() ? found->FieldText(QStringLiteral("id")) : QString();
                    if (!id.isEmpty()) {
                        mVSS->RenameItem(file->Name, id + mType.VSSExt, false, false, false);
                        if (KORVOTypedObjectPtr recreated = mByKey.value(id)) {
                            recreated->Generic().InVSS = true;
                            recreated->Generic().CheckedOutBy = file->CheckedOutBy;
                        }
                    } else {
                        // Only in source control. An object left under this key
                        // by an earlier refresh keeps its place.
                        KORVOTypedObjectPtr object = known ? known : Adopt(MakeObject());
                        TakeFileState(object->Generic(), *file, base, name);
                        if (!known)
                            Insert(-1, base, object);
                    }
                }
            }
            position += 1;
            RaiseRetrieveStatusChange(position, total, cancel);
            if (cancel)
                return;
        }
    }

    for (int i = int(mItems.size()) - 1; i >= 0; --i) {
        const KORVOObjectVSS &state = mItems.at(i)->Generic();
        if (!state.InSQL && !state.InVSS)
            RemoveAt(i);
    }
    RaiseCompletedCurrentStatus();
}

std::shared_ptr<Recordset> KORVOVersionedObjects::LookUpText(const QString &text, const QString &name) const
{
    const ServerKind &kind = mSQL->Kind();
    const QString identity = kind.TextIdentityStatement(mType.Class, text,
        kind.TemporaryName(QDateTime::currentDateTime(), QRandomGenerator::global()->bounded(2001) + 1));
    if (identity.isEmpty())
        return mSQL->OpenRecordset(kind.ObjectLookupStatement(mType.Class, name));
    // One name, several argument lists: the text's argument types say which.
    // A text the server cannot read names no object.
    try {
        return mSQL->OpenRecordset(identity);
    } catch (const SqlError &error) {
        if (error.ConnectionLost)
            throw;
        return nullptr;
    }
}

void KORVOVersionedObjects::ReadListRow(KORVOTypedObject &object, const Recordset &row) const
{
    object.Generic().Signature
        = row.FieldIndex(QStringLiteral("signature")) >= 0 ? row.FieldText(QStringLiteral("signature")) : QString();
}

QString KORVOVersionedObjects::Caption(const KORVOTypedObject &object, bool showOwner) const
{
    return object.Generic().NodeText(showOwner);
}

KORVODBTItemsPtr KORVOVersionedObjects::GetItemInfo(bool showOwner, const KORVODBObjectPtr &table)
{
    // The type's files and the descriptions come from one listing.
    const KORVOVSSListingPass listing(mCheckSQLOnly ? nullptr : mVSS);
    bool cancel = false;
    RefreshList(cancel);
    if (cancel)
        return nullptr;
    const long total = Count();
    RaiseAddingStatusChange(0, total, cancel);
    if (cancel)
        return nullptr;

    // One listing of the descriptions saves asking for each object's ".desc"
    // item that does not exist.
    QSet<QString> descriptions;
    const bool withVSS = !mCheckSQLOnly && mVSS && mVSS->ConnectionOpen();
    if (withVSS) {
        const std::shared_ptr<KORVOVSSItems> files = mVSS->Items(QStringLiteral("*.desc"), false, false);
        for (const std::shared_ptr<KORVOVSSItem> &file : *files)
            descriptions.insert(file->Name);
    }

    auto items = std::make_shared<KORVODBTItems>();
    long position = 0;
    for (const KORVOTypedObjectPtr &object : std::as_const(mItems)) {
        if (ListedUnder(*object, table)) {
            KORVODBTItemPtr item = items->Add(QStringLiteral("I") + object->DBID());
            item->Text = Caption(*object, showOwner);
            item->ImageName = object->IconToUse(false);
            item->Tag = object->ObjectType();
            if (descriptions.contains(object->Generic().ItemName() + QStringLiteral(".desc")))
                item->SetToolTipText(object->Description());
            KORVODBTItemPtr placeholder = item->Children().Add(item->Key + QStringLiteral("_tmp"));
            placeholder->Tag = QStringLiteral("temp");
        }
        RaiseAddingStatusChange(++position, total, cancel);
        if (cancel)
            return nullptr;
    }
    RaiseCompletedCurrentStatus();
    return items;
}

KORVOTypedObjectPtr KORVOVersionedObjects::NewObject()
{
    KORVOTypedObjectPtr object = Adopt(MakeObject());
    object->Generic().InSQL = false;
    object->Generic().InVSS = false;
    object->Generic().SetIsNew(true);
    mNew.append(object);
    return object;
}

void KORVOVersionedObjects::ItemAdded_Event(KORVOTypedObject *object)
{
    const qsizetype at = std::find_if(mNew.cbegin(), mNew.cend(), [object](const KORVOTypedObjectPtr &p) {
        return p.get() == object;
    }) - mNew.cbegin();
    if (at >= mNew.size())
        return;
    const KORVOTypedObjectPtr added = mNew.takeAt(at);
    int index = 0;
    while (index < mItems.size() && !(mItems.at(index)->Name() > added->Name()))
        ++index;
    Insert(index, added->DBID(), added);
}

void KORVOVersionedObjects::ChangeKey(const QString &oldKey, int position)
{
    const int index = int(mKeys.indexOf(ResolveKey(oldKey)));
    if (index < 0)
        return;
    const KORVOTypedObjectPtr object = mItems.at(index);
    RemoveAt(index);
    Insert(position >= 1 && position <= mItems.size() ? position - 1 : -1, object->DBID(), object);
}

void KORVOVersionedObjects::RemoveItem(const QString &key, bool deleted)
{
    const QString bare = IsNumeric(key) ? key : key.mid(1);
    if (deleted) {
        mDeleted.remove(bare);
        return;
    }
    const int index = int(mKeys.indexOf(bare));
    if (index >= 0)
        RemoveAt(index);
}

bool KORVOVersionedObjects::RenameItem(const QString &key, const QString &newName)
{
    const KORVOTypedObjectPtr object = Object(key);
    if (!object)
        return false;
    const int position = int(mItems.indexOf(object)) + 1;
    const QString oldId = object->DBID();
    const bool done = object->RenameItem(newName, false);
    // A rename that stopped after source control moved has the new id already.
    if (done || object->DBID() != oldId)
        ChangeKey(key, position);
    return done;
}

bool KORVOVersionedObjects::DeleteItem(const QString &key)
{
    const KORVOTypedObjectPtr object = Object(key);
    if (!object || !object->DeleteItem())
        return false;
    RemoveItem(key, false);
    return true;
}

KORVODBTItemsPtr KORVOVersionedObjects::GetDeletedItems(bool showOwner)
{
    mDeleted.clear();
    if (!mVSS)
        return std::make_shared<KORVODBTItems>();
    const std::shared_ptr<KORVOVSSItems> files = mVSS->Items(QLatin1Char('*') + mType.VSSExt, true, true);
    const long total = files->Count();
    bool cancel = false;
    RaiseRetrieveStatusChange(0, total, cancel);
    if (cancel)
        return nullptr;
    struct Deleted {
        QString base, text;
        KORVOTypedObjectPtr object;
    };
    QList<Deleted> deleted;
    QHash<QString, int> names; // how many objects, live or deleted, share a name
    const auto nameKey = [](const KORVOObjectVSS &state) { return (state.Owner + QLatin1Char('.') + state.Name).toLower(); };
    for (const KORVOTypedObjectPtr &live : std::as_const(mItems)) {
        if (live->InSQL() || live->InVSS()) // a deleted object may linger in the list
            ++names[nameKey(live->Generic())];
    }
    long position = 0;
    for (const std::shared_ptr<KORVOVSSItem> &file : *files) {
        const QString base = file->Name.chopped(mType.VSSExt.size());
        if (IsNumeric(base)) {
            const QString text = mVSS->ItemContent(file->Name, true, -1, false, true);
            const QString name = NameFromText(text);
            KORVOTypedObjectPtr object = Adopt(MakeObject());
            KORVOObjectVSS &state = object->Generic();
            TakeFileState(state, *file, base, name);
            if (!name.isEmpty() && state.Owner.isEmpty() && mSQL)
                state.Owner = mSQL->DatabaseUserName();
            mDeleted.insert(base, object);
            ++names[nameKey(state)];
            deleted.append({ base, text, object });
        }
        RaiseRetrieveStatusChange(++position, total, cancel);
        if (cancel)
            return nullptr;
    }
    auto items = std::make_shared<KORVODBTItems>();
    for (const Deleted &d : std::as_const(deleted)) {
        KORVOObjectVSS &state = d.object->Generic();
        // An overload is listed with its argument types, which only the server can read from its text.
        if (names.value(nameKey(state)) > 1 && mSQL && !state.Name.isEmpty()) {
            const std::shared_ptr<Recordset> found = LookUpText(d.text, state.Name);
            const QString written = found && !found->Eof() && found->FieldIndex(QStringLiteral("Signature")) >= 0
                ? found->FieldText(QStringLiteral("Signature"))
                : QString();
            if (written.endsWith(QLatin1Char(')'))) {
                int depth = 0, open = int(written.size()) - 1;
                for (; open >= 0; --open) {
                    depth += written.at(open) == QLatin1Char(')') ? 1 : written.at(open) == QLatin1Char('(') ? -1 : 0;
                    if (depth == 0)
                        break;
                }
                if (open >= 0)
                    state.Signature = written.mid(open + 1, written.size() - open - 2);
            }
        }
        KORVODBTItemPtr item = items->Add(QStringLiteral("I") + d.base);
        item->Text = Caption(*d.object, showOwner) + DeletedCaptionSuffix(d.text);
        item->ImageName = d.object->IconToUse(false);
        item->Tag = d.object->ObjectType();
        item->SetToolTipText(d.object->Description());
    }
    RaiseCompletedCurrentStatus();
    return items;
}

bool KORVOVersionedObjects::UnDeleteObject(const QString &key)
{
    const KORVOTypedObjectPtr object = Object(key, true);
    if (!object)
        return false;
    const bool done = object->UnDelete(false);
    mDeleted.removeIf([&object](const auto &entry) { return entry.value() == object; });
    return done;
}

void KORVOTriggers::ReadListRow(KORVOTypedObject &object, const Recordset &row) const
{
    static_cast<KORVOTrigger &>(object).ParentTableDBID = row.FieldText(QStringLiteral("parent_obj"));
}

bool KORVOTriggers::ListedUnder(const KORVOTypedObject &object, const KORVODBObjectPtr &table) const
{
    return !table || static_cast<const KORVOTrigger &>(object).ParentTableDBID == table->DBID();
}

QString KORVOTriggers::DeletedCaptionSuffix(const QString &text) const
{
    const QString table = ServerKindOf(ActiveDBConnection()).ExtractTableNameFromTrigger(text, Keywords());
    return table.isEmpty() ? QString() : QStringLiteral(" on ") + table;
}
