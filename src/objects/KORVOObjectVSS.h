#pragma once

#include "KORVOContextMenu.h"
#include "KORVODBTItem.h"
#include "KORVOHistoryData.h"
#include "KORVOIcons.h"
#include "KORVOObjectTypes.h"
#include "UiServices.h"

#include <QDateTime>
#include <QList>
#include <QString>
#include <QStringList>

#include <memory>
#include <optional>

class KORVODescription;
class KORVOFields;
class KORVOPermissions;
class KORVOSQL;
class KORVOTypedObject;
class KORVOVSS;
class SqlError;

// A programmable object that lives twice: as an object in the database and as
// the file DBID + VSSExt in the source-control project. The typed classes hold
// one each and differ only by the type table they give it.
class KORVOObjectVSS
{
public:
    KORVOObjectVSS(const KORVOObjectTypeInfo &type, KORVOTypedObject *parent);
    ~KORVOObjectVSS();
    KORVOObjectVSS(const KORVOObjectVSS &) = delete;
    KORVOObjectVSS &operator=(const KORVOObjectVSS &) = delete;

    // --- Type descriptor ---
    const KORVOObjectTypeInfo &Type() const { return mType; }
    const QString &ObjectType() const { return mType.ObjectType; }
    const QString &ObjectDisplayName() const { return mType.ObjectDisplayName; }
    const QString &ParentObjectType() const { return mType.ParentObjectType; }
    const QString &VSSExt() const { return mType.VSSExt; }
    const QString &IconPrefix() const { return mType.IconPrefix; }
    const QString &DocumentMiddleName() const { return mType.DocumentMiddleName; }
    bool HasPermissions() const { return mType.HasPermissions; }
    bool ObjectPermissionExecuteOnly() const { return mType.ObjectPermissionExecuteOnly; }
    bool ObjectPermissionExecAndRefOnly() const { return mType.ObjectPermissionExecAndRefOnly; }
    const QString &BlankFieldDisplayName() const { return mType.BlankFieldDisplayName; }
    // The keyword sequences that begin the type's CREATE text on the connection's server.
    SQLKeywordPatterns Parse() const;
    // The type's catalogue statements on the connection's server.
    ServerKind::VersionedStatements Statements() const;

    // --- State ---
    QString Name;
    QString Owner;
    QString DBID;
    bool InSQL = false;
    bool InVSS = false;
    QString CheckedOutBy;
    // The argument types of a routine whose name other routines share (null
    // otherwise): the server needs them to tell the overloads apart, and so
    // does the user.
    QString Signature;

    bool IsNew() const { return mIsNew; }
    // True makes the temporary file of a new object; false deletes it if it was made here.
    void SetIsNew(bool isNew);

    const std::shared_ptr<KORVOSQL> &ActiveDBConnection() const { return mSQL; }
    void SetActiveDBConnection(const std::shared_ptr<KORVOSQL> &connection) { mSQL = connection; }
    const std::shared_ptr<KORVOVSS> &ActiveVSSConnection() const { return mVSS; }
    void SetActiveVSSConnection(const std::shared_ptr<KORVOVSS> &connection);
    const KORVOIconsPtr &Icons() const { return mIcons; }
    void SetIcons(const KORVOIconsPtr &icons) { mIcons = icons; }

    // --- Derived ---
    bool IsEditable() const { return true; }
    bool IsCheckedOut() const { return !CheckedOutBy.isEmpty(); }
    bool IsCheckedOutByMe() const;
    // The object lives on one side only, or on none.
    bool RemovalRequest() const { return !(InSQL && InVSS); }
    const QString &FileExtension() const { return mType.VSSExt; }
    const QString &TreeParentObjectType() const { return mType.ParentObjectType; }
    const QString &TreeParentObjectKey() const { return mType.ParentObjectType; }
    // The object's item in the source-control project.
    QString ItemName() const { return DBID + mType.VSSExt; }
    bool IsDeleted() const;
    // The latest checked-in text against the server's text, white space at both
    // ends ignored, case-sensitive.
    bool SQLAndVSSDiffer() const;
    QDateTime FirstDate() const;
    QDateTime LastDate() const;
    // One row per version: date, comment, version number, action; sorted by date.
    QList<QStringList> DateSummary(bool ascending) const;
    // The drop of the object; empty when the server kind goes by id and the
    // object is gone. forScript: for a script that runs on another database,
    // where the id means nothing, a gone object is dropped by its name.
    QString DropScript(bool forScript = false) const;
    // Drops this object as it stood under an earlier owner and name.
    QString DropScriptAs(const QString &owner, const QString &name) const;
    // Drops the object a CREATE text of the type makes, where no object of this
    // id is left on the server to read it from (a deleted item's last text).
    QString DropScriptOfText(const QString &text) const;
    // Owner and name as a CREATE text of the type writes them (owner may be empty).
    QStringList NameInText(const QString &text) const;
    QString Description() const;
    void SetDescription(const QString &description);

    // The working file; a new object's temporary file, made on first demand.
    QString FileName();
    // Only while new: forgets (and deletes) the temporary file made here and uses path.
    void SetFileName(const QString &path);

    QString IconToUse(bool plain = false) const;
    std::shared_ptr<KORVOFields> GetFields(bool showNullability) const;
    // The nodes under the object in the tree; key is accepted and not used.
    KORVODBTItemsPtr GetItemInfo(bool showOwner, const QString &key, bool noExtras, bool showNullability) const;
    KORVOContextMenu GetContextMenu(bool showOwner) const;
    // The owner's node under the object, when it is to be shown.
    void AddOwnerItem(KORVODBTItems &items) const;

    // Settles InSQL, InVSS, Name, Owner, CheckedOutBy (and DBID of an object that
    // was dropped and recreated) from the two sides.
    void RefreshState();
    // Fresh state as a tree node: KeyChanged holds the old DBID when it changed,
    // RemoveItem is set when the object is not on both sides.
    KORVODBTItemPtr Refresh(bool showOwner);
    std::shared_ptr<KORVOPermissions> GetPermissions(bool quickList, int show) const;

    // --- Version-control operations ---
    // Source 1 source control, 2 the server; any other gives "". asAlter gives
    // the text in the server's replacing form.
    // deleted: a version of the item as it was before it was deleted.
    QString GetContent(int source, long version = -1, bool asAlter = false, bool deleted = false) const;
    bool GetLatestVersion();
    // silent: no box at all, whoever holds the item (a check-out "where possible").
    bool CheckOut(bool silent = false);
    bool UndoCheckout();
    // Proves the text first; a new object is created, an existing one replaced.
    bool CheckIn(const QString &content, const QString &comment);
    // The last check-in stopped because the user took the server's changed text
    // into the working file instead.
    bool ServerTextTaken() const { return mServerTextTaken; }
    // Creates and drops the text under a temporary name; for an existing object
    // the text must keep its name and owner.
    bool TestItem(const QString &content, bool silent);
    // Target 1 source control, 2 the server. Every failing step shows one box.
    bool SyncAdd(int target);
    bool SyncChange(int target);
    bool SyncRemove(int target);

    // --- Rename, delete, undelete ---
    // A rename that stops after source control moved (the old object could not
    // be dropped) returns false with the object already under its new id.
    bool RenameItem(const QString &newName, bool silent);
    bool DeleteItem();
    bool UnDelete(bool silent);

    // --- History and maintenance ---
    // Newest first.
    QList<KORVOHistoryData> History() const;
    bool Rollback(long version, bool silent);
    // Proves the server's text as TestItem does; silent unless told otherwise,
    // since a run goes over many objects.
    bool Recompile(bool silent = true);

    // The id of the object of this name and owner, as the catalogue holds them;
    // empty without a connection or a name.
    QString LookupObjectID(const QString &name, const QString &owner) const;
    // Why the server cannot keep the name the text creates (too long); empty when it can.
    QString NameRefusal(const QString &text) const;
    // Throws SqlError, for the caller's box, when a text from source control
    // cannot be sent as it stands: no CREATE of this type, or a name too long.
    void RefuseUnfitText(const QString &text) const;
    // The server's text, for source control to take; throws SqlError when the
    // server gives none (the object is gone, or its text cannot be read), so
    // that no empty file takes the place of the item's text.
    QString ServerTextForVSS() const;
    // Owner + "." + Name with showOwner and an owner, else Name; with the
    // argument types in brackets when the object has a Signature.
    QString Caption(bool showOwner) const;
    // The tree's text: the caption, and " (Checked out by {user})" while
    // someone holds the check-out. Every path that sets a node's text uses it.
    QString NodeText(bool showOwner) const;

    // Tells the typed object that a new object was checked in for the first time.
    void RaiseNewItemCreated();

private:
    // Boxes go through the UI services of the database connection.
    UiServices *Ui() const;
    void Box(UiServices::Icon icon, const QString &title, const QString &text) const;
    // What goes to source control after the text was sent to the object of id.
    QString SourceControlText(const QString &sent, const QString &id) const;

    // --- Steps that fail ---
    // When error is a lost connection: one box titled "Connection Lost" with
    // the driver's text, what the operation left (state; "Nothing was
    // changed." when empty) and how to go on. False for any other error.
    bool ReportLost(const QString &operation, const SqlError &error, const QString &state = QString()) const;
    // The one box of a failing server step: ReportLost, or the server's text
    // under the operation's title, followed by state.
    void ServerStepFailed(const QString &title, const SqlError &error, const QString &state = QString()) const;
    // Whether a check-in of content may go on over what the server holds now.
    bool ServerChangeSettled(const QString &content, const QString &title, const QString &keptLine);
    // Whether an operation that replaces or drops the server's object may go on:
    // a server text changed outside KORVO is lost only when the user says so
    // (never when silent). consequence says what would become of it.
    bool ServerChangeMayBeLost(const QString &title, const QString &consequence, bool silent);
    // The server's text is not the repository's latest: changed outside KORVO.
    static bool ServerChangedOutside(const QString &server, const QString &latest);
    // Takes away every right but the owner's from the object made anew from
    // source control; false when that failed.
    bool KeepOwnerRightsOnly();
    // Who holds the item's check-out when another user does; empty otherwise
    // and when source control cannot tell.
    QString OtherHolder() const;
    // Where the server tells objects of the type apart by more than their name
    // (PostgreSQL routines): the id of the object the CREATE text makes or
    // replaces (empty when none), the object as the server writes it in
    // signature. No value where the name is what identifies. Throws SqlError.
    std::optional<QString> IdentifyText(const QString &text, QString *signature = nullptr) const;
    // The id of the object a text just created: by the text where the kind
    // identifies by it, else by name and owner. Throws SqlError.
    QString LocateCreated(const QString &text, const QString &name, const QString &owner) const;
    // The drop script of the object of this id (owner and name where the kind goes by name).
    QString DropScriptOf(
        const QString &id, const QString &owner, const QString &name, bool byNameWhenGone = false) const;
    // Drops an object this operation made, as the undo of its step; what is
    // left, as a sentence for the box.
    QString UndoCreate(const QString &id, const QString &owner, const QString &name) const;
    // After source control took a change: the state refresh, which a
    // connection lost meanwhile may not stop from reporting success.
    void RefreshAfterChange();

    QString TemporaryFileName() const;
    // Makes an empty temporary file for a new object's text and remembers it.
    void MakeTemporaryFile();
    // Deletes the temporary file if it was made here, and forgets it.
    void DeleteTemporaryFile();
    // The history rows of the object's item, dates read back.
    QList<QPair<QDateTime, int>> HistoryDates() const;

    const KORVOObjectTypeInfo &mType;
    KORVOTypedObject *mParent;
    std::shared_ptr<KORVOSQL> mSQL;
    std::shared_ptr<KORVOVSS> mVSS;
    KORVOIconsPtr mIcons;
    std::unique_ptr<KORVODescription> mDescription;
    bool mIsNew = false;
    bool mServerTextTaken = false;
    // The server's text the user took into the editor: checking in over it
    // needs no second question.
    QString mTakenServerText;
    QString mTempFile;
    bool mTempFileMadeHere = false;
};
