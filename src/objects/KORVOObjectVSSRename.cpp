// Rename, delete and undelete of a versioned object, and its history and
// rollback. A rename is a new object made from the old text, with the file
// moved to the new id and the new text as a version of its history.
#include "KORVOObjectVSS.h"

#include "KORVODescription.h"
#include "KORVOObjectVSSHelpers.h"
#include "KORVOPermissions.h"
#include "KORVOVSS.h"
#include "SQLParser.h"
#include "sql/KORVOSQL.h"

namespace
{

// Restates the permissions read from the old object on the object of newId;
// false when they could not be written.
bool CarryPermissionsOver(const std::shared_ptr<KORVOPermissions> &permissions, const QString &newId)
{
    if (!permissions)
        return true;
    permissions->DatabaseID = newId;
    try {
        return permissions->Save();
    } catch (const SqlError &) {
        return false;
    }
}

} // namespace

bool KORVOObjectVSS::RenameItem(const QString &newName, bool silent)
{
    const QString aborted = QStringLiteral("Rename Aborted");
    auto refuse = [&](const QString &text) {
        if (!silent)
            Box(UiServices::Icon::Critical, aborted, text);
        return false;
    };
    if (mIsNew)
        return refuse(QStringLiteral("Cannot rename a New Item!"));
    if (IsCheckedOut())
        return refuse(QStringLiteral("Cannot rename a Item! It is currently Checkd Out by ") + CheckedOutBy);
    if (!(InSQL && InVSS))
        return refuse(QStringLiteral("Cannot rename a Item! It is currently out of Sync"));
    const QString sameName = QStringLiteral("Cannot rename a Item! The New name is the same as the old Name");
    if (newName.compare(Name, Qt::CaseInsensitive) == 0)
        return refuse(sameName);
    if (!mSQL || !mVSS)
        return false;
    const ServerKind &kind = mSQL->Kind();
    if (const QString tooLong = kind.NameLengthRefusal(newName); !tooLong.isEmpty())
        return refuse(tooLong);

    const QString text = GetContent(1, -1, false);
    QString oldName;
    const QString newText
        = kind.ReplaceObjectName(Parse(), text, kind.NameForText(mType.Class, Owner, newName), oldName);
    if (mSQL->ExtractOwnerAndItemName(oldName).value(1).compare(newName, Qt::CaseInsensitive) == 0)
        return refuse(sameName);

    const QString notLocated = QStringLiteral(
        "Cannot rename a Item! After creating the New object, it could not be located in the database!");
    // A text without its keywords gives nothing to run, so no new object was
    // made: an object that already has the new name must not be taken for it.
    if (newText.isEmpty())
        return refuse(notLocated);
    try {
        mSQL->ExecuteSQL(kind.CreatingText(newText));
    } catch (const SqlError &error) {
        if (!silent)
            Box(UiServices::Icon::Critical, QStringLiteral("Could not Rename Item"), CleanSQLError(error.Description));
        return false;
    }
    const QString newId = LookupObjectID(newName, Owner);
    if (newId.isEmpty())
        return refuse(notLocated);

    // Read while the old object still exists.
    const std::shared_ptr<KORVOPermissions> permissions
        = mType.HasPermissions ? GetPermissions(true, 0) : std::shared_ptr<KORVOPermissions>();

    const QString oldDisplayName = Name;
    if (!mVSS->RenameItemWithNewContent(ItemName(), newId + mType.VSSExt, SourceControlText(newText, newId),
            QStringLiteral("Item renamed from [%1] to [%2].").arg(oldDisplayName, newName), false))
        return false;

    mSQL->ExecuteSQL(DropScript());
    mDescription->SetVSSItemName(ItemName());
    mDescription->Rename(newId + mType.VSSExt);
    DBID = newId;
    Name = mSQL->ExtractOwnerAndItemName(kind.NameForText(mType.Class, Owner, newName)).value(1);

    const QString title = QStringLiteral("Item Successfully Renamed");
    if (mType.HasPermissions && !CarryPermissionsOver(permissions, newId)) {
        if (!silent)
            Box(UiServices::Icon::Warning, title,
                QStringLiteral("WARNING: The permissions of the Old Item could not be transfered to the New Item!"));
        return true;
    }
    if (!silent)
        Box(UiServices::Icon::Information, title,
            QStringLiteral("Item was successfully renamed from [%1] to [%2].").arg(oldDisplayName, newName));
    return true;
}

bool KORVOObjectVSS::DeleteItem()
{
    if (!mSQL || !mVSS)
        return false;
    mSQL->ExecuteSQL(DropScript());
    InSQL = false;
    if (!mVSS->RemoveItem(ItemName(), false))
        return false;
    InVSS = false;
    return true;
}

bool KORVOObjectVSS::UnDelete(bool silent)
{
    if (!mSQL || !mVSS)
        return false;
    const QString text = mVSS->ItemContent(ItemName(), true, -1, false, true);
    const QString notUndeleted = QStringLiteral("Could not Undelete Item");
    if (IsBlankText(text)) {
        if (!silent)
            Box(UiServices::Icon::Critical, notUndeleted, BlankSourceControlText);
        return false;
    }
    try {
        mSQL->ExecuteSQL(mSQL->Kind().CreatingText(text));
    } catch (const SqlError &error) {
        if (!silent)
            Box(UiServices::Icon::Critical, notUndeleted, CleanSQLError(error.Description));
        return false;
    }
    const QString aborted = QStringLiteral("Undelete Aborted");
    QString id = LookupObjectID(Name, Owner);
    if (id.isEmpty()) {
        // An owner that was filled in for a text naming none may not be where
        // the server put the object (a trigger lives in its table's schema).
        const QStringList written = mSQL->ExtractOwnerAndItemName(ExtractNameAfterPattern(Parse(), text));
        if (written.value(0).isEmpty())
            id = LookupObjectID(Name, QString());
    }
    if (id.isEmpty()) {
        Box(UiServices::Icon::Critical, aborted,
            QStringLiteral("Cannot undelete the Item! After creating the object, it could not be located in the "
                           "database!"));
        return false;
    }
    if (!mVSS->RenameItem(ItemName(), id + mType.VSSExt, false, false, true)) {
        Box(UiServices::Icon::Critical, aborted,
            QStringLiteral("Cannot undelete the Item! There was a problem renaming the VSS file!"));
        return false;
    }
    DBID = id;
    InSQL = true;
    InVSS = true;
    return true;
}

QList<KORVOHistoryData> KORVOObjectVSS::History() const
{
    return mVSS ? mVSS->GetItemHistory(ItemName(), false) : QList<KORVOHistoryData>();
}

bool KORVOObjectVSS::Rollback(long version, bool silent)
{
    if (!mSQL || !mVSS)
        return false;
    const QString item = ItemName();
    CheckedOutBy = mVSS->CheckedOutBy(item);
    if (!CheckedOutBy.isEmpty()) {
        if (!silent)
            Box(UiServices::Icon::Warning, QStringLiteral("Rollback Unsuccessful"),
                QStringLiteral("The item is currently checkedout by '%1'. In order to rollback an item it must be "
                               "checked in!")
                    .arg(CheckedOutBy));
        return false;
    }
    const QString current = mVSS->ItemContent(item, false, -1, false, false);
    const QString old = mVSS->ItemContent(item, false, version, false, false);
    if (TextsEqual(current, old, false, false)) {
        if (!silent)
            Box(UiServices::Icon::Warning, QStringLiteral("Rollback not Requred"),
                QStringLiteral("The current version and the selected version are identical!"));
        return false;
    }

    const ServerKind &kind = mSQL->Kind();
    const QString comment = QStringLiteral("Rollback to version: %1").arg(version);
    const QStringList written = mSQL->ExtractOwnerAndItemName(ExtractNameAfterPattern(Parse(), old));
    if (written.value(1).compare(Name, Qt::CaseInsensitive) == 0) {
        // A server error here reaches the caller with nothing changed.
        mSQL->ExecuteSQL(kind.ReplacingText(old));
        mVSS->CheckOut(item, false);
        mVSS->CheckIn(item, SourceControlText(old, DBID), comment, false);
        return true;
    }

    // The old version carried another name: back to it as by a rename.
    const QString rollbackFailed = QStringLiteral("Could not Rollback Item");
    try {
        mSQL->ExecuteSQL(kind.CreatingText(old));
    } catch (const SqlError &error) {
        // Shown even when silent: only the refusals above are kept quiet.
        Box(UiServices::Icon::Critical, rollbackFailed, CleanSQLError(error.Description));
        return false;
    }
    const QString newId = LookupObjectID(written.value(1), written.value(0));
    if (newId.isEmpty()) {
        if (!silent)
            Box(UiServices::Icon::Critical, rollbackFailed,
                QStringLiteral("After creating the object, it could not be located in the database!"));
        return false;
    }
    const std::shared_ptr<KORVOPermissions> permissions = GetPermissions(true, 0);
    if (!mVSS->RenameItemWithNewContent(item, newId + mType.VSSExt, SourceControlText(old, newId),
            comment + QStringLiteral(". NOTE: Item renamed from [%1] to [%2]").arg(Name, written.value(1)), false))
        return false;
    mDescription->SetVSSItemName(item);
    mDescription->Rename(newId + mType.VSSExt);
    mSQL->ExecuteSQL(DropScript());
    DBID = newId;
    Name = written.value(1);
    if (mType.HasPermissions && !CarryPermissionsOver(permissions, newId))
        Box(UiServices::Icon::Warning, QStringLiteral("Problem Coping Object Permissions"),
            QStringLiteral("WARNING: The permissions of the Old Item could not be transfered to the New Item!"));
    return true;
}
