#include "KORVOTable.h"

#include "sql/KORVOSQL.h"

namespace
{

void TakeStatements(KORVOObjectNonVSS &object, const ServerKind &kind)
{
    const ServerKind::TableStatements s = kind.TableObjectStatements();
    object.ParameterQuery1 = s.ParameterQuery1;
    object.ParameterQuery2 = s.ParameterQuery2;
    object.DBQuery = s.DBQuery;
    object.DBQueryByName = s.DBQueryByName;
    object.DBQueryByOwner = s.DBQueryByOwner;
}

} // namespace

KORVOTable::KORVOTable()
{
    mObject.ObjectType = QStringLiteral("Table");
    mObject.ObjectDisplayName = QStringLiteral("Table");
    mObject.IconToUse = QStringLiteral("TABLE");
    // SQL Server until a connection says otherwise.
    TakeStatements(mObject, *ServerKind::SQLServer());
}

void KORVOTable::SetActiveDBConnection(const std::shared_ptr<KORVOSQL> &connection)
{
    mObject.ActiveDBConnection = connection;
    if (connection)
        TakeStatements(mObject, connection->Kind());
}

KORVODBTItemsPtr KORVOTable::GetItemInfo(bool showOwner, bool, bool)
{
    KORVODBTItemsPtr items = mObject.GetItemInfo(showOwner);
    if (mTriggersInfo) {
        KORVODBTItemPtr triggers = items->Add(QStringLiteral("T") + mObject.DBID);
        triggers->Text = mTriggersInfo->ObjectDisplayName;
        triggers->Tag = mTriggersInfo->ObjectType;
        triggers->ImageName = mTriggersInfo->Icon;
        triggers->Children().Add(triggers->Key + QStringLiteral("_tmp"))->Tag = QStringLiteral("temp");
    }
    return items;
}

KORVODBTItemPtr KORVOTable::Refresh(bool showOwner)
{
    return mObject.Refresh(showOwner);
}

KORVOContextMenu KORVOTable::GetContextMenu(bool)
{
    return mObject.GetContextMenu();
}

std::shared_ptr<KORVOFields> KORVOTable::GetFields(bool)
{
    return mObject.GetFields();
}

KORVOPermissionsPtr KORVOTable::GetPermissions(bool quickList, int show)
{
    return mObject.GetPermissions(quickList, show);
}

KORVODBTItemsPtr KORVOTable::GetPermissionItems(int show)
{
    return ::GetPermissionItems(mObject.DBID, *mObject.GetPermissions(true, show));
}
