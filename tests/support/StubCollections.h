#pragma once

#include "KORVOMainWindow.h"
#include "KORVOObjectCollection.h"

// Empty typed collections for tests of the session that do not reach the
// object model: each answers to its type and holds no objects.
class StubCollection : public KORVOObjectCollection
{
public:
    explicit StubCollection(const QString &type)
        : mType(type)
    {
    }

    QString ObjectType() const override { return mType; }
    QString ObjectDisplayName() const override { return mType; }
    QString SubObjectType() const override { return mType + QStringLiteral("ITEM"); }
    QString SubObjectDisplayName() const override { return mType; }
    bool IsRootNode() const override { return true; }
    bool IsEditable() const override { return false; }
    QString IconToUse() const override { return mType; }
    void LoadIcons() override { }
    void RefreshList(bool &) override { }
    KORVODBObjectPtr Item(const QString &, bool, bool) override { return nullptr; }
    bool ObjectIsOfThisType(const QString &) override { return false; }
    KORVODBTItemsPtr GetItemInfo(bool, const KORVODBObjectPtr &) override { return std::make_shared<KORVODBTItems>(); }
    KORVOContextMenu GetContextMenu() override { return {}; }
    KORVODBObjectPtr newItem() override { return nullptr; }
    bool RenameItem(const QString &, const QString &) override { return false; }
    bool DeleteItem(const QString &) override { return false; }
    KORVODBTItemsPtr GetDeletedItems(bool) override { return std::make_shared<KORVODBTItems>(); }
    bool UnDeleteObject(const QString &) override { return false; }
    void RemoveItem(const QString &, bool) override { }
    void ChangeKey(const QString &, int) override { }
    void SetActiveDBConnection(const std::shared_ptr<KORVOSQL> &) override { }
    void SetActiveVSSConnection(const std::shared_ptr<KORVOVSS> &) override { }
    void SetIcons(const KORVOIconsPtr &) override { }
    void SetDatabase(KORVODatabase *) override { }
    void SetCheckSQLOnly(bool) override { }

private:
    QString mType;
};

class StubCollectionFactory : public KORVOCollectionFactory
{
public:
    KORVOObjectCollectionPtr Create(Kind kind) override
    {
        static const char *const types[]
            = { "STOREDPROCEDURES", "TABLES", "USERDEFINEDFUNCTIONS", "VIEWS", "TRIGGERS" };
        return std::make_shared<StubCollection>(QString::fromLatin1(types[int(kind)]));
    }
    void Link(const KORVOObjectCollectionPtr &, const KORVOObjectCollectionPtr &) override { }
};

// A main window that only lets the session open projects.
class StubMainWindow : public KORVOMainWindow
{
public:
    void Init(KORVODatabase *) override { }
    void SetLoading(bool) override { }
    void Hide() override { }
    void Show() override { }
    void SetCaption(const QString &) override { }
    void InitDBT(long) override { }
    void SetHeightTwips(long) override { }
    void SetWidthTwips(long) override { }
    void SetWindowState(long) override { }
    void SetDatabaseTreeVisible(bool) override { }
    void SetExtraPanelVisible(bool) override { }
    void doTrmResize() override { }
    void CheckProjectSyncInfo() override { }
};
