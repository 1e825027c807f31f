#include "KORVOTypedObject.h"

#include "KORVOFields.h"
#include "KORVOPermissions.h"
#include "KORVOVersionedObjects.h"
#include "sql/KORVOSQL.h"

KORVOTypedObject::KORVOTypedObject(ObjectClass cls)
    : mObject(std::make_unique<KORVOObjectVSS>(ObjectTypeInfo(cls), this))
{
}

KORVOTypedObject::~KORVOTypedObject() = default;

std::shared_ptr<KORVOFields> KORVOTypedObject::GetFields(bool showNullability)
{
    return mObject->GetFields(showNullability);
}

KORVODBTItemsPtr KORVOTypedObject::GetItemInfo(bool showOwner, bool noExtras, bool showNullability)
{
    return mObject->GetItemInfo(showOwner, QString(), noExtras, showNullability);
}

KORVODBTItemsPtr KORVOTypedObject::GetPermissionItems(int show)
{
    return ::GetPermissionItems(DBID(), *GetPermissions(true, show));
}

void KORVOTypedObject::NewItemCreated_Event()
{
    if (auto collection = Collection())
        collection->ItemAdded_Event(this);
}

std::shared_ptr<KORVOFields> KORVOTrigger::GetFields(bool)
{
    return std::make_shared<KORVOFields>();
}

KORVODBTItemsPtr KORVOTrigger::GetItemInfo(bool showOwner, bool noExtras, bool)
{
    auto items = std::make_shared<KORVODBTItems>();
    if (showOwner && !noExtras)
        Generic().AddOwnerItem(*items);
    const std::shared_ptr<KORVOSQL> &sql = ActiveDBConnection();
    const QString query = Generic().Statements().TriggerEventsQuery;
    if (!sql || query.isEmpty())
        return items;
    const std::shared_ptr<Recordset> events = sql->OpenRecordset(query + DBID());
    if (!events || events->Eof())
        return items;
    for (const QString &word : { QStringLiteral("INSERT"), QStringLiteral("UPDATE"), QStringLiteral("DELETE") }) {
        if (events->Field(QStringLiteral("IS") + word).toInt() != 1)
            continue;
        KORVODBTItemPtr item = items->Add(word + DBID());
        item->Text = word;
        item->ImageName = QStringLiteral("TRIGGER:") + word;
    }
    return items;
}
