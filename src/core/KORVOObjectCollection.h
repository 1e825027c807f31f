#pragma once

#include "KORVOContextMenu.h"
#include "KORVODBTItem.h"
#include "KORVOIcons.h"

#include <QString>

#include <memory>

class KORVODatabase;
class KORVOFields;
class KORVOSQL;
class KORVOVSS;
class KORVOObjectCollection;

// What the session asks of one database object, whatever its type. The object
// model implements it for versioned objects and for tables.
class KORVODBObject
{
public:
    virtual ~KORVODBObject() = default;

    virtual QString DBID() const = 0;
    virtual QString Name() const = 0;
    virtual QString Owner() const = 0;

    // The nodes shown under the object in the tree. Unversioned objects look at
    // the first argument only.
    virtual KORVODBTItemsPtr GetItemInfo(bool showOwner, bool noExtras = false, bool showNullability = false) = 0;
    // Fresh state for the object's node; RemoveItem or KeyChanged tell the
    // caller what became of it.
    virtual KORVODBTItemPtr Refresh(bool showOwner) = 0;
    virtual KORVOContextMenu GetContextMenu(bool showOwner) = 0;
    virtual std::shared_ptr<KORVOFields> GetFields(bool showNullability) = 0;
    // The rows of the object's permissions folder, in the quick form with the
    // given ShowPermissionsInDBT value.
    virtual KORVODBTItemsPtr GetPermissionItems(int show) = 0;
};

using KORVODBObjectPtr = std::shared_ptr<KORVODBObject>;

// Progress of a collection's long loops, passed on by the session.
class KORVOCollectionStatusSink
{
public:
    virtual ~KORVOCollectionStatusSink() = default;
    virtual void RetrieveStatusChange(KORVOObjectCollection &source, long position, long total, bool &cancel) = 0;
    virtual void AddingStatusChange(KORVOObjectCollection &source, long position, long total, bool &cancel) = 0;
    virtual void CompletedCurrentStatus(KORVOObjectCollection &source) = 0;
};

// The members every typed collection answers to; the session dispatches to
// collections only through these.
class KORVOObjectCollection
{
public:
    virtual ~KORVOObjectCollection() = default;

    virtual QString ObjectType() const = 0;
    virtual QString ObjectDisplayName() const = 0;
    virtual QString SubObjectType() const = 0;
    virtual QString SubObjectDisplayName() const = 0;
    virtual bool IsRootNode() const = 0;
    virtual bool IsEditable() const = 0;
    virtual QString IconToUse() const = 0;

    virtual void LoadIcons() = 0;
    virtual void RefreshList(bool &cancel) = 0;
    // Accepts "I" + DBID as well as the bare DBID.
    virtual KORVODBObjectPtr Item(const QString &key, bool deleted = false, bool silent = true) = 0;
    virtual bool ObjectIsOfThisType(const QString &key) = 0;
    // The folder's children; nothing when cancelled. The triggers collection
    // lists only the triggers of `table` when one is given.
    virtual KORVODBTItemsPtr GetItemInfo(bool showOwner, const KORVODBObjectPtr &table = nullptr) = 0;
    virtual KORVOContextMenu GetContextMenu() = 0;
    virtual KORVODBObjectPtr newItem() = 0;
    virtual bool RenameItem(const QString &key, const QString &newName) = 0;
    virtual bool DeleteItem(const QString &key) = 0;
    virtual KORVODBTItemsPtr GetDeletedItems(bool showOwner) = 0;
    virtual bool UnDeleteObject(const QString &key) = 0;
    virtual void RemoveItem(const QString &key, bool deleted = false) = 0;
    // Moves the object under oldKey to its present DBID, at the 1-based position
    // when that is within the list, otherwise last.
    virtual void ChangeKey(const QString &oldKey, int position = 0) = 0;

    virtual void SetActiveDBConnection(const std::shared_ptr<KORVOSQL> &connection) = 0;
    virtual void SetActiveVSSConnection(const std::shared_ptr<KORVOVSS> &connection) = 0;
    virtual void SetIcons(const KORVOIconsPtr &icons) = 0;
    virtual void SetDatabase(KORVODatabase *database) = 0;
    virtual void SetCheckSQLOnly(bool on) = 0;

    void SetStatusSink(KORVOCollectionStatusSink *sink) { mSink = sink; }

protected:
    void RaiseRetrieveStatusChange(long position, long total, bool &cancel)
    {
        if (mSink)
            mSink->RetrieveStatusChange(*this, position, total, cancel);
    }
    void RaiseAddingStatusChange(long position, long total, bool &cancel)
    {
        if (mSink)
            mSink->AddingStatusChange(*this, position, total, cancel);
    }
    void RaiseCompletedCurrentStatus()
    {
        if (mSink)
            mSink->CompletedCurrentStatus(*this);
    }

private:
    KORVOCollectionStatusSink *mSink = nullptr;
};

using KORVOObjectCollectionPtr = std::shared_ptr<KORVOObjectCollection>;

// Makes the typed collections; the object model provides it, so that the
// session does not depend on the concrete classes.
class KORVOCollectionFactory
{
public:
    enum class Kind { StoredProcedures, Tables, UserDefinedFunctions, Views, Triggers };
    virtual ~KORVOCollectionFactory() = default;
    virtual KORVOObjectCollectionPtr Create(Kind kind) = 0;
    // Triggers show under tables, and tables know how triggers look.
    virtual void Link(const KORVOObjectCollectionPtr &tables, const KORVOObjectCollectionPtr &triggers) = 0;
};
