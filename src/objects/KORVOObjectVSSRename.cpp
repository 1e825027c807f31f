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
    // Another user's check-out counts too: source control would refuse the rename.
    if (const QString holder = IsCheckedOut() ? CheckedOutBy : OtherHolder(); !holder.isEmpty())
        return refuse(QStringLiteral("Cannot rename a Item! It is currently Checkd Out by ") + holder);
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
    if (!ServerChangeMayBeLost(aborted,
            QStringLiteral("The renamed object is made from the text in source control, and the server's text is "
                           "dropped with the old name."),
            silent))
        return false;
    const QString title = QStringLiteral("Could not Rename Item");
    const auto failed = [&](const SqlError &error, const QString &state) {
        if (!silent)
            ServerStepFailed(title, error, state);
        return false;
    };
    try {
        mSQL->ExecuteSQL(kind.CreatingText(newText));
    } catch (const SqlError &error) {
        return failed(error, QString());
    }
    QString newId;
    try {
        newId = LocateCreated(newText, newName, Owner);
    } catch (const SqlError &error) {
        return failed(error,
            QStringLiteral("The new object %1 may be on the server; source control and the old object are unchanged.")
                .arg(kind.FormatName(Owner, newName)));
    }
    if (newId.isEmpty())
        return refuse(notLocated);

    // What could refuse a later step is proven before source control moves:
    // the old object can be dropped; its permissions and the new text are read
    // while the old object still exists.
    const QString oldDrop = DropScript();
    std::shared_ptr<KORVOPermissions> permissions;
    QString newSourceText;
    try {
        for (const QString &statement : kind.RehearsalStatements(oldDrop))
            mSQL->ExecuteSQL(statement);
        if (mType.HasPermissions)
            permissions = GetPermissions(true, 0);
        newSourceText = SourceControlText(newText, newId);
    } catch (const SqlError &error) {
        return failed(error, UndoCreate(newId, Owner, newName));
    }

    const QString oldDisplayName = Name;
    if (!mVSS->RenameItemWithNewContent(ItemName(), newId + mType.VSSExt, newSourceText,
            QStringLiteral("Item renamed from [%1] to [%2].").arg(oldDisplayName, newName), true)) {
        if (!silent)
            Box(UiServices::Icon::Critical, title,
                (mVSS->LastError().isEmpty() ? QStringLiteral("Source control did not take the rename.")
                                             : mVSS->LastError())
                    + QStringLiteral("\n\n") + UndoCreate(newId, Owner, newName));
        return false;
    }

    // The description follows the file before the old object goes, so that a
    // failing drop leaves both with the new id.
    mDescription->SetVSSItemName(ItemName());
    mDescription->Rename(newId + mType.VSSExt);
    const QString oldWritten = kind.FormatName(Owner, Name);
    DBID = newId;
    Name = mSQL->ExtractOwnerAndItemName(kind.NameForText(mType.Class, Owner, newName)).value(1);
    Signature = QString();
    try {
        mSQL->ExecuteSQL(oldDrop);
    } catch (const SqlError &error) {
        return failed(error,
            QStringLiteral("Source control and the new object %1 are renamed; the old object %2 stays on the server "
                           "beside it%3.")
                .arg(kind.FormatName(Owner, Name), oldWritten,
                    mType.HasPermissions ? QStringLiteral(", and its permissions were not carried over") : QString()));
    }

    const QString doneTitle = QStringLiteral("Item Successfully Renamed");
    if (mType.HasPermissions && !CarryPermissionsOver(permissions, newId)) {
        if (!silent)
            Box(UiServices::Icon::Warning, doneTitle,
                QStringLiteral("WARNING: The permissions of the Old Item could not be transfered to the New Item!"));
        return true;
    }
    if (!silent)
        Box(UiServices::Icon::Information, doneTitle,
            QStringLiteral("Item was successfully renamed from [%1] to [%2].").arg(oldDisplayName, newName));
    return true;
}

bool KORVOObjectVSS::DeleteItem()
{
    if (!mSQL || !mVSS)
        return false;
    const QString title = QStringLiteral("Could not Delete Item");
    const QString item = ItemName();
    const QString unchanged = QStringLiteral("\n\nNothing was changed.");
    // Source control would refuse to delete an item another user holds, and
    // one it cannot reach it cannot delete: either stops before anything moves.
    try {
        if (mVSS->CheckOutStatus(item) == 1) {
            Box(UiServices::Icon::Critical, title,
                QStringLiteral("The item is checked out by %1.").arg(mVSS->Checkouts(item).join(QStringLiteral(", ")))
                    + unchanged);
            return false;
        }
    } catch (const VssError &error) {
        Box(UiServices::Icon::Critical, title,
            QStringLiteral("Source control could not be asked about the item:\n") + error.Description() + unchanged);
        return false;
    }
    if (!ServerChangeMayBeLost(
            title, QStringLiteral("Deleting the object drops that text from the server."), false))
        return false;
    // The drop is rehearsed (run and rolled back) before source control moves,
    // and the file goes before the object: source control can still refuse at
    // its commit (a hook, a server gone), and a deleted file comes back with
    // Undelete where a dropped object and its grants would not.
    QString drop;
    try {
        drop = DropScript();
        if (!drop.isEmpty()) {
            for (const QString &statement : mSQL->Kind().RehearsalStatements(drop))
                mSQL->ExecuteSQL(statement);
        }
    } catch (const SqlError &error) {
        ServerStepFailed(title, error);
        return false;
    }
    if (!mVSS->RemoveItem(item, true)) {
        Box(UiServices::Icon::Critical, title,
            (mVSS->LastError().isEmpty() ? QStringLiteral("Source control did not delete the file.")
                                         : mVSS->LastError())
                + QStringLiteral("\n\nThe object was not dropped: it is unchanged on the server, and its file "
                                 "stays in source control."));
        return false;
    }
    InVSS = false;
    const QString written = mSQL->Kind().FormatName(Owner, Name);
    if (drop.isEmpty()) {
        // By its name alone another overload would go: there is nothing to drop.
        InSQL = false;
        Box(UiServices::Icon::Warning, QStringLiteral("Item Deleted"),
            QStringLiteral("%1 had already been dropped from the server by another user, so nothing was dropped. Its "
                           "file was deleted in source control.")
                .arg(written));
        return true;
    }
    try {
        mSQL->ExecuteSQL(drop);
    } catch (const SqlError &error) {
        ServerStepFailed(title, error,
            QStringLiteral("The file was deleted in source control; the object %1 stays on the server.").arg(written));
        return false;
    }
    InSQL = false;
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
            ServerStepFailed(notUndeleted, error);
        return false;
    }
    const QString aborted = QStringLiteral("Undelete Aborted");
    QString id;
    try {
        if (const std::optional<QString> identified = IdentifyText(text)) {
            id = *identified;
        } else {
            id = LookupObjectID(Name, Owner);
            if (id.isEmpty()) {
                // An owner that was filled in for a text naming none may not be where
                // the server put the object (a trigger lives in its table's schema).
                const QStringList written = mSQL->ExtractOwnerAndItemName(ExtractNameAfterPattern(Parse(), text));
                if (written.value(0).isEmpty())
                    id = LookupObjectID(Name, QString());
            }
        }
    } catch (const SqlError &error) {
        ServerStepFailed(aborted, error,
            QStringLiteral("The object was created on the server; its file is still deleted in source control."));
        return false;
    }
    if (id.isEmpty()) {
        Box(UiServices::Icon::Critical, aborted,
            QStringLiteral("Cannot undelete the Item! After creating the object, it could not be located in the "
                           "database!"));
        return false;
    }
    if (!mVSS->RenameItem(ItemName(), id + mType.VSSExt, true, false, true)) {
        // The object made from the file goes again: the file stays deleted.
        Box(UiServices::Icon::Critical, aborted,
            QStringLiteral("Cannot undelete the Item! There was a problem renaming the VSS file!")
                + (mVSS->LastError().isEmpty() ? QString() : QStringLiteral("\n") + mVSS->LastError())
                + QStringLiteral("\n\n") + UndoCreate(id, Owner, Name));
        return false;
    }
    DBID = id;
    InSQL = true;
    InVSS = true;
    if (!KeepOwnerRightsOnly() && !silent)
        Box(UiServices::Icon::Warning, QStringLiteral("Item Undeleted"),
            QStringLiteral("The item was undeleted, but the rights the server gives a new object by default could not "
                           "be taken away. Check its permissions."));
    return true;
}

bool KORVOObjectVSS::KeepOwnerRightsOnly()
{
    // The grants of the object that was dropped went with it. A server that
    // lets everyone run a new routine must not give the one made again from
    // source control more than its owner's rights.
    if (!mType.HasPermissions)
        return true;
    std::shared_ptr<KORVOPermissions> permissions;
    try {
        permissions = GetPermissions(true, 0);
    } catch (const SqlError &) {
        return false;
    }
    if (!permissions)
        return false;
    for (const KORVOPermissionPtr &p : *permissions) {
        for (int action = ActionExecute; action <= ActionReferences; ++action)
            p->SetValue(action, PermissionNone);
    }
    return CarryPermissionsOver(permissions, DBID);
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
    // Anyone's check-out stops it, another user's too.
    if (const QString holder = CheckedOutBy.isEmpty() ? OtherHolder() : CheckedOutBy; !holder.isEmpty()) {
        if (!silent)
            Box(UiServices::Icon::Warning, QStringLiteral("Rollback Unsuccessful"),
                QStringLiteral("The item is currently checkedout by '%1'. In order to rollback an item it must be "
                               "checked in!")
                    .arg(holder));
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

    if (!ServerChangeMayBeLost(QStringLiteral("Rollback Unsuccessful"),
            QStringLiteral("The rollback replaces it with the selected version."), silent))
        return false;

    // Failures from here on are shown even when silent: only the refusals
    // above are kept quiet.
    const ServerKind &kind = mSQL->Kind();
    const QString title = QStringLiteral("Could not Rollback Item");
    const QString comment = QStringLiteral("Rollback to version: %1").arg(version);
    const QStringList written = mSQL->ExtractOwnerAndItemName(ExtractNameAfterPattern(Parse(), old));
    if (written.value(1).compare(Name, Qt::CaseInsensitive) == 0) {
        // Checked out first, so that nobody changes the item while the server
        // takes the old text; given back if the server does not.
        if (!mVSS->CheckOut(item, true)) {
            Box(UiServices::Icon::Critical, title,
                (mVSS->LastError().isEmpty() ? QStringLiteral("The item could not be checked out.") : mVSS->LastError())
                    + QStringLiteral("\n\nNothing was changed."));
            return false;
        }
        try {
            QString signature;
            const std::optional<QString> identified = IdentifyText(old, &signature);
            if (identified && *identified != DBID) {
                mVSS->UndoCheckout(item, true);
                Box(UiServices::Icon::Critical, title,
                    QStringLiteral("Version %1 has other argument types (%2): it cannot replace the object.\n\nNothing "
                                   "was changed.")
                        .arg(version)
                        .arg(signature));
                return false;
            }
            mSQL->ExecuteSQL(kind.ReplacingText(old));
        } catch (const SqlError &error) {
            mVSS->UndoCheckout(item, true);
            ServerStepFailed(title, error);
            return false;
        }
        const QString state = QStringLiteral("The server has the text of version %1; source control keeps the newer "
                                             "text, and the item stays checked out to you.")
                                  .arg(version);
        QString sourceText;
        try {
            sourceText = SourceControlText(old, DBID);
        } catch (const SqlError &error) {
            ServerStepFailed(title, error, state);
            return false;
        }
        if (!mVSS->CheckIn(item, sourceText, comment, true)) {
            Box(UiServices::Icon::Critical, title, mVSS->LastError() + QStringLiteral("\n\n") + state);
            return false;
        }
        return true;
    }

    // The old version carried another name: back to it as by a rename.
    try {
        mSQL->ExecuteSQL(kind.CreatingText(old));
    } catch (const SqlError &error) {
        ServerStepFailed(title, error);
        return false;
    }
    const QString writtenName
        = kind.FormatName(written.value(0).isEmpty() ? Owner : written.value(0), written.value(1));
    QString newId;
    try {
        newId = LocateCreated(old, written.value(1), written.value(0));
    } catch (const SqlError &error) {
        ServerStepFailed(title, error,
            QStringLiteral("The object %1 may be on the server; source control and the object are unchanged.")
                .arg(writtenName));
        return false;
    }
    if (newId.isEmpty()) {
        if (!silent)
            Box(UiServices::Icon::Critical, title,
                QStringLiteral("After creating the object, it could not be located in the database!"));
        return false;
    }
    // Proven before source control moves, as in a rename.
    const QString oldDrop = DropScript();
    std::shared_ptr<KORVOPermissions> permissions;
    QString sourceText;
    try {
        for (const QString &statement : kind.RehearsalStatements(oldDrop))
            mSQL->ExecuteSQL(statement);
        permissions = GetPermissions(true, 0);
        sourceText = SourceControlText(old, newId);
    } catch (const SqlError &error) {
        ServerStepFailed(title, error, UndoCreate(newId, written.value(0), written.value(1)));
        return false;
    }
    if (!mVSS->RenameItemWithNewContent(item, newId + mType.VSSExt, sourceText,
            comment + QStringLiteral(". NOTE: Item renamed from [%1] to [%2]").arg(Name, written.value(1)), true)) {
        Box(UiServices::Icon::Critical, title,
            (mVSS->LastError().isEmpty() ? QStringLiteral("Source control did not take the rename.")
                                         : mVSS->LastError())
                + QStringLiteral("\n\n") + UndoCreate(newId, written.value(0), written.value(1)));
        return false;
    }
    mDescription->SetVSSItemName(item);
    mDescription->Rename(newId + mType.VSSExt);
    const QString oldWritten = kind.FormatName(Owner, Name);
    DBID = newId;
    Name = written.value(1);
    Signature = QString();
    try {
        mSQL->ExecuteSQL(oldDrop);
    } catch (const SqlError &error) {
        ServerStepFailed(title, error,
            QStringLiteral("Source control and the object %1 of version %2 are in place; the object %3 stays on the "
                           "server beside it%4.")
                .arg(writtenName)
                .arg(version)
                .arg(oldWritten,
                    mType.HasPermissions ? QStringLiteral(", and its permissions were not carried over") : QString()));
        return false;
    }
    if (mType.HasPermissions && !CarryPermissionsOver(permissions, newId))
        Box(UiServices::Icon::Warning, QStringLiteral("Problem Coping Object Permissions"),
            QStringLiteral("WARNING: The permissions of the Old Item could not be transfered to the New Item!"));
    return true;
}
