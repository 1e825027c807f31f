#pragma once

#include "KORVOObjectCollection.h"
#include "KORVOObjectVSS.h"

#include <memory>

class KORVOPermissions;
class KORVOVersionedObjects;

// A versioned object of one type. It holds a generic KORVOObjectVSS, gives it
// the type's table and forwards to it; what the types do differently is data,
// except for the few members a trigger overrides.
class KORVOTypedObject : public KORVODBObject
{
public:
    explicit KORVOTypedObject(ObjectClass cls);
    ~KORVOTypedObject() override;

    // The generic object, for the collection that fills its state.
    KORVOObjectVSS &Generic() { return *mObject; }
    const KORVOObjectVSS &Generic() const { return *mObject; }

    // --- Type ---
    ObjectClass Class() const { return mObject->Type().Class; }
    const QString &ObjectType() const { return mObject->ObjectType(); }
    const QString &ObjectDisplayName() const { return mObject->ObjectDisplayName(); }
    const QString &ParentObjectType() const { return mObject->ParentObjectType(); }
    const QString &DocumentMiddleName() const { return mObject->DocumentMiddleName(); }
    bool HasPermissions() const { return mObject->HasPermissions(); }
    bool IsEditable() const { return mObject->IsEditable(); }
    SQLKeywordPatterns Parse() const { return mObject->Parse(); }

    // --- State ---
    QString DBID() const override { return mObject->DBID; }
    QString Name() const override { return mObject->Name; }
    QString Owner() const override { return mObject->Owner; }
    bool InSQL() const { return mObject->InSQL; }
    bool InVSS() const { return mObject->InVSS; }
    bool IsCheckedOut() const { return mObject->IsCheckedOut(); }
    bool IsCheckedOutByMe() const { return mObject->IsCheckedOutByMe(); }
    QString CheckedOutBy() const { return mObject->CheckedOutBy; }
    bool RemovalRequest() const { return mObject->RemovalRequest(); }
    QDateTime FirstDate() const { return mObject->FirstDate(); }
    QDateTime LastDate() const { return mObject->LastDate(); }
    QList<QStringList> DateSummary(bool ascending) const { return mObject->DateSummary(ascending); }
    bool IsDeleted() const { return mObject->IsDeleted(); }
    QString FileName() { return mObject->FileName(); }
    void SetFileName(const QString &path) { mObject->SetFileName(path); }
    QString FileExtension() const { return mObject->FileExtension(); }
    bool SQLAndVSSDiffer() const { return mObject->SQLAndVSSDiffer(); }
    QString IconToUse(bool plain = false) const { return mObject->IconToUse(plain); }
    const std::shared_ptr<KORVOSQL> &ActiveDBConnection() const { return mObject->ActiveDBConnection(); }
    void SetActiveDBConnection(const std::shared_ptr<KORVOSQL> &c) { mObject->SetActiveDBConnection(c); }
    const std::shared_ptr<KORVOVSS> &ActiveVSSConnection() const { return mObject->ActiveVSSConnection(); }
    void SetActiveVSSConnection(const std::shared_ptr<KORVOVSS> &c) { mObject->SetActiveVSSConnection(c); }
    const KORVOIconsPtr &Icons() const { return mObject->Icons(); }
    void SetIcons(const KORVOIconsPtr &icons) { mObject->SetIcons(icons); }
    QString Description() const { return mObject->Description(); }
    void SetDescription(const QString &description) { mObject->SetDescription(description); }
    bool IsNew() const { return mObject->IsNew(); }
    // As a script for another database writes it.
    QString DropScript() const { return mObject->DropScript(true); }
    QString DropScriptAs(const QString &owner, const QString &name) const { return mObject->DropScriptAs(owner, name); }
    QStringList NameInText(const QString &text) const { return mObject->NameInText(text); }
    QString DropScriptOfText(const QString &text) const { return mObject->DropScriptOfText(text); }

    // --- Tree and dispatch ---
    std::shared_ptr<KORVOFields> GetFields(bool showNullability) override;
    KORVODBTItemsPtr GetItemInfo(bool showOwner, bool noExtras = false, bool showNullability = false) override;
    KORVOContextMenu GetContextMenu(bool showOwner) override { return mObject->GetContextMenu(showOwner); }
    KORVODBTItemPtr Refresh(bool showOwner) override { return mObject->Refresh(showOwner); }
    KORVODBTItemsPtr GetPermissionItems(int show) override;
    std::shared_ptr<KORVOPermissions> GetPermissions(bool quickList, int show) const
    {
        return mObject->GetPermissions(quickList, show);
    }

    // --- Operations ---
    QString GetContent(int source, long version = -1, bool asAlter = false, bool deleted = false) const
    {
        return mObject->GetContent(source, version, asAlter, deleted);
    }
    bool GetLatestVersion() { return mObject->GetLatestVersion(); }
    bool CheckOut(bool silent = false) { return mObject->CheckOut(silent); }
    bool UndoCheckout() { return mObject->UndoCheckout(); }
    virtual bool CheckIn(const QString &content, const QString &comment) { return mObject->CheckIn(content, comment); }
    bool TestItem(const QString &content) { return mObject->TestItem(content, false); }
    bool ServerTextTaken() const { return mObject->ServerTextTaken(); }
    bool SyncAdd(int target) { return mObject->SyncAdd(target); }
    bool SyncRemove(int target) { return mObject->SyncRemove(target); }
    bool SyncChange(int target) { return mObject->SyncChange(target); }
    bool RenameItem(const QString &newName, bool silent) { return mObject->RenameItem(newName, silent); }
    bool DeleteItem() { return mObject->DeleteItem(); }
    QList<KORVOHistoryData> History() const { return mObject->History(); }
    bool Rollback(long version, bool silent) { return mObject->Rollback(version, silent); }
    bool UnDelete(bool silent) { return mObject->UnDelete(silent); }
    bool Recompile(bool silent = true) { return mObject->Recompile(silent); }
    // Recompile with the server's text already read, as a run reads a whole type's texts at once.
    bool RecompileText(const QString &serverText, bool silent = true) { return mObject->TestItem(serverText, silent); }

    // The collection the object belongs to; the object does not keep it alive.
    std::shared_ptr<KORVOVersionedObjects> Collection() const { return mCollection.lock(); }
    void SetCollection(const std::weak_ptr<KORVOVersionedObjects> &collection) { mCollection = collection; }
    // A new object was checked in: its collection takes it into the main list.
    void NewItemCreated_Event();

private:
    std::unique_ptr<KORVOObjectVSS> mObject;
    std::weak_ptr<KORVOVersionedObjects> mCollection;
};

using KORVOTypedObjectPtr = std::shared_ptr<KORVOTypedObject>;

class KORVOStoredProcedure : public KORVOTypedObject
{
public:
    KORVOStoredProcedure()
        : KORVOTypedObject(ObjectClass::StoredProcedure)
    {
    }
};

class KORVOView : public KORVOTypedObject
{
public:
    KORVOView()
        : KORVOTypedObject(ObjectClass::View)
    {
    }
};

class KORVOUserDefinedFunction : public KORVOTypedObject
{
public:
    KORVOUserDefinedFunction()
        : KORVOTypedObject(ObjectClass::UserDefinedFunction)
    {
    }
};

// A trigger has no fields; under its node the tree shows the events it fires on.
class KORVOTrigger : public KORVOTypedObject
{
public:
    KORVOTrigger()
        : KORVOTypedObject(ObjectClass::Trigger)
    {
    }

    // The id of the table the trigger belongs to.
    QString ParentTableDBID;

    std::shared_ptr<KORVOFields> GetFields(bool showNullability) override;
    KORVODBTItemsPtr GetItemInfo(bool showOwner, bool noExtras = false, bool showNullability = false) override;
    // A trigger checked in for the first time learns its table from its text.
    bool CheckIn(const QString &content, const QString &comment) override;
};

using KORVOTriggerPtr = std::shared_ptr<KORVOTrigger>;
