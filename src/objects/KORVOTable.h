#pragma once

#include "KORVOObjectCollection.h"
#include "KORVOObjectNonVSS.h"
#include "KORVOTriggersInfo.h"

#include <memory>

// A table: shown in the tree with its columns, permissions and triggers, never
// kept in source control.
class KORVOTable : public KORVODBObject
{
public:
    KORVOTable();

    QString DBID() const override { return mObject.DBID; }
    void SetDBID(const QString &value) { mObject.DBID = value; }
    QString Name() const override { return mObject.Name; }
    void SetName(const QString &value) { mObject.Name = value; }
    QString Owner() const override { return mObject.Owner; }
    void SetOwner(const QString &value) { mObject.Owner = value; }

    QString ObjectType() const { return mObject.ObjectType; }
    QString ObjectDisplayName() const { return mObject.ObjectDisplayName; }
    QString IconToUse() const { return mObject.IconToUse; }
    bool HasPermissions() const { return mObject.HasPermissions; }
    bool IsEditable() const { return mObject.IsEditable(); }
    // Owner + "." + Name with showOwner and an owner, else Name.
    QString Caption(bool showOwner) const { return mObject.Caption(showOwner); }

    const std::shared_ptr<KORVOSQL> &ActiveDBConnection() const { return mObject.ActiveDBConnection; }
    // Also takes the server kind's statements for tables.
    void SetActiveDBConnection(const std::shared_ptr<KORVOSQL> &connection);
    const std::shared_ptr<KORVOVSS> &ActiveVSSConnection() const { return mObject.ActiveVSSConnection; }
    void SetActiveVSSConnection(const std::shared_ptr<KORVOVSS> &connection)
    {
        mObject.ActiveVSSConnection = connection;
    }
    const KORVOIconsPtr &Icons() const { return mObject.Icons; }
    void SetIcons(const KORVOIconsPtr &icons) { mObject.Icons = icons; }

    const KORVOTriggersInfoPtr &TriggersInfo() const { return mTriggersInfo; }
    void SetTriggersInfo(const KORVOTriggersInfoPtr &info) { mTriggersInfo = info; }

    // The object's nodes, then the folder of the table's triggers ("T" + DBID),
    // whose children are fetched on demand. Only showOwner counts.
    KORVODBTItemsPtr GetItemInfo(bool showOwner, bool noExtras = false, bool showNullability = false) override;
    KORVODBTItemPtr Refresh(bool showOwner) override;
    KORVOContextMenu GetContextMenu(bool showOwner) override;
    // Nullability is always shown for a table's columns.
    std::shared_ptr<KORVOFields> GetFields(bool showNullability = true) override;
    KORVODBTItemsPtr GetPermissionItems(int show) override;
    KORVOPermissionsPtr GetPermissions(bool quickList, int show);

private:
    KORVOObjectNonVSS mObject;
    KORVOTriggersInfoPtr mTriggersInfo;
};

using KORVOTablePtr = std::shared_ptr<KORVOTable>;
