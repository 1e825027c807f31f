#include "KORVOObjectNonVSS.h"

#include "sql/KORVOSQL.h"

KORVOFieldsPtr KORVOObjectNonVSS::GetFields()
{
    if (!ActiveDBConnection)
        return std::make_shared<KORVOFields>();
    std::shared_ptr<Recordset> rs = ActiveDBConnection->OpenRecordset(ParameterQuery1 + DBID + ParameterQuery2);
    if (!rs)
        return std::make_shared<KORVOFields>();
    return FieldsFromColumns(*rs, BlankFieldDisplayName, true);
}

KORVODBTItemsPtr KORVOObjectNonVSS::GetItemInfo(bool showOwner)
{
    auto items = std::make_shared<KORVODBTItems>();
    if (showOwner) {
        KORVODBTItemPtr owner = items->Add(QStringLiteral("OWNER") + DBID);
        owner->Text = Owner;
        owner->ImageName = QStringLiteral("OWNER");
    }

    AddFieldItems(*items, DBID, *GetFields());
    AddPermissionFolderItem(*items, DBID);
    return items;
}

QString KORVOObjectNonVSS::Caption(bool showOwner) const
{
    if (showOwner && !Owner.isEmpty())
        return Owner + QLatin1Char('.') + Name;
    return Name;
}

KORVODBTItemPtr KORVOObjectNonVSS::Refresh(bool showOwner)
{
    auto item = std::make_shared<KORVODBTItem>();
    if (ActiveDBConnection) {
        std::shared_ptr<Recordset> rs = ActiveDBConnection->OpenRecordset(DBQuery + KORVOSQL::sqlFMTOUT(DBID, 1));
        if (rs && !rs->Eof()) {
            Name = rs->FieldText(QStringLiteral("name"));
            Owner = rs->FieldText(QStringLiteral("UserName"));
        } else {
            // Dropped and made again under the same name: follow the new id.
            QString sql = DBQueryByName + KORVOSQL::sqlFMTOUT(Name, 0);
            if (!Owner.isEmpty())
                sql += DBQueryByOwner + KORVOSQL::sqlFMTOUT(Owner, 0);
            rs = ActiveDBConnection->OpenRecordset(sql);
            if (rs && !rs->Eof()) {
                item->KeyChanged = DBID;
                DBID = rs->FieldText(QStringLiteral("id"));
                Name = rs->FieldText(QStringLiteral("name"));
                Owner = rs->FieldText(QStringLiteral("UserName"));
            } else {
                item->RemoveItem = true;
            }
        }
    }
    item->Tag = ObjectType;
    item->Key = QStringLiteral("I") + DBID;
    if (Icons)
        item->ImageName = Icons->Item(IconToUse).Name;
    item->Text = Caption(showOwner);
    return item;
}

KORVOContextMenu KORVOObjectNonVSS::GetContextMenu() const
{
    KORVOContextMenu menu;
    menu.DisplayName = Name;
    menu.EditPermissions = HasPermissions;
    return menu;
}

KORVOPermissionsPtr KORVOObjectNonVSS::GetPermissions(bool quickList, int show)
{
    if (!HasPermissions)
        return std::make_shared<KORVOPermissions>();
    return ReadPermissions(
        ActiveDBConnection, DBID, ObjectPermissionExecuteOnly, ObjectPermissionExecAndRefOnly, quickList, show);
}
