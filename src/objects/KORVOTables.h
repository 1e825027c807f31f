#pragma once

#include "KORVOObjectCollection.h"
#include "KORVOTable.h"
#include "KORVOTriggersInfo.h"

#include <QHash>
#include <QList>
#include <QStringList>

#include <memory>

// The database's tables, keyed by DBID. A table that vanished from the server
// stays in the list until its own Refresh reports it gone.
class KORVOTables : public KORVOObjectCollection
{
public:
    QString ObjectType() const override { return QStringLiteral("Tables"); }
    QString ObjectDisplayName() const override { return QStringLiteral("Tables"); }
    QString SubObjectType() const override;
    QString SubObjectDisplayName() const override;
    bool IsRootNode() const override { return true; }
    bool IsEditable() const override;
    QString IconToUse() const override { return QStringLiteral("TABLES"); }

    void LoadIcons() override;
    void RefreshList(bool &cancel) override;
    KORVODBObjectPtr Item(const QString &key, bool deleted = false, bool silent = true) override;
    KORVOTablePtr Table(const QString &key) const;
    KORVOTablePtr Item(int index) const; // 0-based, in list order
    int Count() const { return int(mKeys.size()); }
    bool IsTable(const QString &key) const { return Table(key) != nullptr; }
    bool ObjectIsOfThisType(const QString &key) override { return IsTable(key); }
    // The table nodes; showOwner prefixes the owner. The second argument is not used.
    KORVODBTItemsPtr GetItemInfo(bool showOwner, const KORVODBObjectPtr &table = nullptr) override;
    KORVOContextMenu GetContextMenu() override { return {}; }

    // Tables are made on the server, not here: these do nothing.
    KORVODBObjectPtr newItem() override { return nullptr; }
    bool RenameItem(const QString &, const QString &) override { return false; }
    bool DeleteItem(const QString &) override { return false; }
    KORVODBTItemsPtr GetDeletedItems(bool) override { return std::make_shared<KORVODBTItems>(); }
    bool UnDeleteObject(const QString &) override { return false; }

    void RemoveItem(const QString &key, bool deleted = false) override;
    void ChangeKey(const QString &oldKey, int position = 0) override;

    const std::shared_ptr<KORVOSQL> &ActiveDBConnection() const { return mSQL; }
    void SetActiveDBConnection(const std::shared_ptr<KORVOSQL> &connection) override { mSQL = connection; }
    const std::shared_ptr<KORVOVSS> &ActiveVSSConnection() const { return mVSS; }
    void SetActiveVSSConnection(const std::shared_ptr<KORVOVSS> &connection) override { mVSS = connection; }
    void SetIcons(const KORVOIconsPtr &icons) override { mIcons = icons; }
    KORVODatabase *Database() const { return mDatabase; }
    void SetDatabase(KORVODatabase *database) override { mDatabase = database; }
    bool CheckSQLOnly() const { return mCheckSQLOnly; }
    void SetCheckSQLOnly(bool on) override { mCheckSQLOnly = on; }
    const KORVOTriggersInfoPtr &TriggersInfo() const { return mTriggersInfo; }
    void SetTriggersInfo(const KORVOTriggersInfoPtr &info) { mTriggersInfo = info; }

    // The tables in list order, for enumeration.
    QList<KORVOTablePtr> List() const;

private:
    // The key under which the list holds the object: as given, or without
    // its one-letter prefix.
    QString ListKey(const QString &key) const;

    QStringList mKeys; // list order
    QHash<QString, KORVOTablePtr> mTables;
    std::shared_ptr<KORVOSQL> mSQL;
    std::shared_ptr<KORVOVSS> mVSS;
    KORVOIconsPtr mIcons;
    KORVODatabase *mDatabase = nullptr;
    bool mCheckSQLOnly = false;
    KORVOTriggersInfoPtr mTriggersInfo;
};
