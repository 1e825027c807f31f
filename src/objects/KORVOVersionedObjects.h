#pragma once

#include "KORVOObjectCollection.h"
#include "KORVOTypedObject.h"

#include <QHash>
#include <QList>
#include <QString>

#include <memory>

class KORVOVSSItem;
class Recordset;

// The objects of one versioned type, merged from the database's list and the
// source-control project's list. The four typed collections are this class
// with another type table. The main list is keyed by DBID; keys of the form
// "I" + DBID are accepted everywhere.
class KORVOVersionedObjects : public KORVOObjectCollection, public std::enable_shared_from_this<KORVOVersionedObjects>
{
public:
    explicit KORVOVersionedObjects(ObjectClass cls);
    ~KORVOVersionedObjects() override;

    const KORVOObjectTypeInfo &Type() const { return mType; }

    // --- KORVOObjectCollection ---
    QString ObjectType() const override { return mType.CollectionObjectType; }
    QString ObjectDisplayName() const override { return mType.CollectionDisplayName; }
    QString SubObjectType() const override { return mType.ObjectType; }
    QString SubObjectDisplayName() const override { return mType.ObjectDisplayName; }
    bool IsRootNode() const override { return mType.IsRootNode; }
    // Versioned objects are edited as text.
    bool IsEditable() const override { return true; }
    QString IconToUse() const override { return mType.CollectionIcon; }

    void LoadIcons() override;
    void RefreshList(bool &cancel) override;
    KORVODBObjectPtr Item(const QString &key, bool deleted = false, bool silent = true) override;
    bool ObjectIsOfThisType(const QString &key) override;
    KORVODBTItemsPtr GetItemInfo(bool showOwner, const KORVODBObjectPtr &table = nullptr) override;
    KORVOContextMenu GetContextMenu() override { return KORVOContextMenu(); }
    KORVODBObjectPtr newItem() override { return NewObject(); }
    bool RenameItem(const QString &key, const QString &newName) override;
    bool DeleteItem(const QString &key) override;
    KORVODBTItemsPtr GetDeletedItems(bool showOwner) override;
    bool UnDeleteObject(const QString &key) override;
    void RemoveItem(const QString &key, bool deleted = false) override;
    void ChangeKey(const QString &oldKey, int position = 0) override;

    void SetActiveDBConnection(const std::shared_ptr<KORVOSQL> &connection) override { mSQL = connection; }
    void SetActiveVSSConnection(const std::shared_ptr<KORVOVSS> &connection) override { mVSS = connection; }
    void SetIcons(const KORVOIconsPtr &icons) override { mIcons = icons; }
    void SetDatabase(KORVODatabase *database) override { mDatabase = database; }
    void SetCheckSQLOnly(bool on) override { mCheckSQLOnly = on; }

    // --- Typed access ---
    const std::shared_ptr<KORVOSQL> &ActiveDBConnection() const { return mSQL; }
    const std::shared_ptr<KORVOVSS> &ActiveVSSConnection() const { return mVSS; }
    KORVODatabase *Database() const { return mDatabase; }
    const KORVOIconsPtr &Icons() const { return mIcons; }
    bool CheckSQLOnly() const { return mCheckSQLOnly; }
    // The keyword sequences of the type on the connection's server.
    SQLKeywordPatterns Keywords() const;

    // Silent false: a missing key throws std::out_of_range.
    KORVOTypedObjectPtr Object(const QString &key, bool deleted = false, bool silent = true) const;
    int Count() const { return int(mItems.size()); }
    // 0-based, in list order.
    KORVOTypedObjectPtr At(int index) const { return mItems.value(index); }
    QList<KORVOTypedObjectPtr>::const_iterator begin() const { return mItems.cbegin(); }
    QList<KORVOTypedObjectPtr>::const_iterator end() const { return mItems.cend(); }
    // Objects made by newItem and not yet checked in.
    const QList<KORVOTypedObjectPtr> &NewItems() const { return mNew; }
    KORVOTypedObjectPtr NewObject();
    // A new object has its id now: it moves from the new list into the main
    // list, before the first object with a greater name.
    void ItemAdded_Event(KORVOTypedObject *object);

protected:
    virtual KORVOTypedObjectPtr MakeObject() const = 0;
    // Reads what a type takes from its row of the list query beyond id and
    // name; here the argument types of a routine that shares its name.
    virtual void ReadListRow(KORVOTypedObject &object, const Recordset &row) const;
    // Whether the object is listed under the given table (all are without one).
    virtual bool ListedUnder(const KORVOTypedObject &, const KORVODBObjectPtr &) const { return true; }
    // Added to the caption of a deleted object, from its text.
    virtual QString DeletedCaptionSuffix(const QString &) const { return QString(); }

private:
    KORVOTypedObjectPtr Adopt(const KORVOTypedObjectPtr &object) const;
    QString ResolveKey(const QString &key) const;
    void Insert(int index, const QString &key, const KORVOTypedObjectPtr &object);
    void RemoveAt(int index);
    QString NameFromText(const QString &text) const;
    bool TextCreatesObject(const QString &item, const QString &id) const;
    // Field "id" of the object a file's text names: by its argument types where
    // the name does not identify (overloads), else by the name.
    std::shared_ptr<Recordset> LookUpText(const QString &text, const QString &name) const;
    // The state of an object known only by its file: owner and name from the
    // name its text gives, or else the file's name less its last three characters.
    void TakeFileState(KORVOObjectVSS &state, const KORVOVSSItem &file, const QString &base, const QString &name) const;
    QString Caption(const KORVOTypedObject &object, bool showOwner) const;

    const KORVOObjectTypeInfo &mType;
    std::shared_ptr<KORVOSQL> mSQL;
    std::shared_ptr<KORVOVSS> mVSS;
    KORVOIconsPtr mIcons;
    KORVODatabase *mDatabase = nullptr;
    bool mCheckSQLOnly = false;

    // The main list: objects and their keys in order, and the keys' index.
    QList<KORVOTypedObjectPtr> mItems;
    QList<QString> mKeys;
    QHash<QString, KORVOTypedObjectPtr> mByKey;
    QHash<QString, KORVOTypedObjectPtr> mDeleted;
    QList<KORVOTypedObjectPtr> mNew;
};

class KORVOStoredProcedures : public KORVOVersionedObjects
{
public:
    KORVOStoredProcedures()
        : KORVOVersionedObjects(ObjectClass::StoredProcedure)
    {
    }
    bool IsStoredProcedure(const QString &key) { return ObjectIsOfThisType(key); }

protected:
    KORVOTypedObjectPtr MakeObject() const override { return std::make_shared<KORVOStoredProcedure>(); }
};

class KORVOViews : public KORVOVersionedObjects
{
public:
    KORVOViews()
        : KORVOVersionedObjects(ObjectClass::View)
    {
    }
    bool IsView(const QString &key) { return ObjectIsOfThisType(key); }

protected:
    KORVOTypedObjectPtr MakeObject() const override { return std::make_shared<KORVOView>(); }
};

class KORVOUserDefinedFunctions : public KORVOVersionedObjects
{
public:
    KORVOUserDefinedFunctions()
        : KORVOVersionedObjects(ObjectClass::UserDefinedFunction)
    {
    }
    bool IsUserDefinedFunction(const QString &key) { return ObjectIsOfThisType(key); }

protected:
    KORVOTypedObjectPtr MakeObject() const override { return std::make_shared<KORVOUserDefinedFunction>(); }
};

// Triggers show under their tables as well as in their own folder.
class KORVOTriggers : public KORVOVersionedObjects
{
public:
    KORVOTriggers()
        : KORVOVersionedObjects(ObjectClass::Trigger)
    {
    }
    bool IsTrigger(const QString &key) { return ObjectIsOfThisType(key); }

    void LoadIcons() override;
    KORVOObjectCollectionPtr Tables() const { return mTables.lock(); }
    void SetTables(const KORVOObjectCollectionPtr &tables) { mTables = tables; }

protected:
    KORVOTypedObjectPtr MakeObject() const override { return std::make_shared<KORVOTrigger>(); }
    void ReadListRow(KORVOTypedObject &object, const Recordset &row) const override;
    bool ListedUnder(const KORVOTypedObject &object, const KORVODBObjectPtr &table) const override;
    QString DeletedCaptionSuffix(const QString &text) const override;

private:
    std::weak_ptr<KORVOObjectCollection> mTables;
};
