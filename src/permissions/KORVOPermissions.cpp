#include "KORVOPermissions.h"

#include "KORVODBTItem.h"
#include "sql/KORVOSQL.h"

#include <optional>

namespace
{

// The permission kind of the object follows from the two type flags.
ObjectClass ClassOf(bool executeOnly, bool execAndRefOnly)
{
    if (executeOnly)
        return ObjectClass::StoredProcedure;
    if (execAndRefOnly)
        return ObjectClass::UserDefinedFunction;
    return ObjectClass::Table;
}

QList<int> ActionsFor(bool executeOnly, bool execAndRefOnly)
{
    if (executeOnly)
        return { ActionExecute };
    if (execAndRefOnly)
        return { ActionExecute, ActionReferences };
    return { ActionSelect, ActionInsert, ActionUpdate, ActionDelete, ActionReferences };
}

} // namespace

KORVOPermissionPtr KORVOPermissions::Item(const QString &name) const
{
    for (const KORVOPermissionPtr &p : mItems) {
        if (p->Name == name)
            return p;
    }
    return nullptr;
}

KORVOPermissions::ObjectInfo KORVOPermissions::FindObject() const
{
    ObjectInfo info;
    if (!ActiveDBConnection)
        return info;
    // Only a number can name an object; anything else finds nothing.
    bool numeric = false;
    DatabaseID.trimmed().toLongLong(&numeric);
    if (!numeric)
        return info;
    const ServerKind &kind = ActiveDBConnection->Kind();
    const ObjectClass cls = ClassOf(HasExecuteOnly, HasExecAndRefOnly);
    std::shared_ptr<Recordset> rs = ActiveDBConnection->OpenRecordset(kind.PermissionObjectStatement(DatabaseID, cls));
    if (!rs || rs->Eof())
        return info;
    info.Found = true;
    info.OwnerName = rs->FieldText(QStringLiteral("OwnerName"));
    info.FullName = kind.PermissionObjectNameFromRow(*rs, cls);
    return info;
}

KORVOPermissionPtr KORVOPermissions::NewPermission(const QString &name, bool isRole, const ObjectInfo &object) const
{
    auto permission = std::make_shared<KORVOPermission>();
    permission->Name = name;
    permission->IsRole = isRole;
    permission->IsOwner = name == object.OwnerName;
    permission->HasExecuteOnly = HasExecuteOnly;
    permission->HasExecAndRefOnly = HasExecAndRefOnly;
    return permission;
}

void KORVOPermissions::GetItemPermissions()
{
    mItems.clear();
    const ObjectInfo object = FindObject();
    if (!object.Found)
        return;
    if (QuickList)
        ReadQuickForm(object);
    else
        ReadFullForm(object);
}

void KORVOPermissions::ReadFullForm(const ObjectInfo &object)
{
    KORVOSQL &sql = *ActiveDBConnection;
    const ServerKind &kind = sql.Kind();
    const ObjectClass cls = ClassOf(HasExecuteOnly, HasExecAndRefOnly);

    struct Source {
        QString Statement, IdField, NameField;
        bool IsRole;
    };
    QList<Source> sources;
    if (Show != 2)
        sources.append({ kind.PermissionRolesStatement(), QStringLiteral("RoleID"), QStringLiteral("RoleName"), true });
    if (Show != 1)
        sources.append(
            { kind.PermissionUsersStatement(), QStringLiteral("UserID"), QStringLiteral("UserName"), false });

    for (const Source &source : sources) {
        std::shared_ptr<Recordset> rs = sql.OpenRecordset(source.Statement);
        if (!rs)
            return;
        QString lastName;
        for (; !rs->Eof(); rs->MoveNext()) {
            if (source.IsRole && !kind.PermissionRoleListed(rs->Field(source.IdField).toLongLong()))
                continue;
            const QString name = rs->FieldText(source.NameField);
            // The user list names a user once for each of its roles.
            if (name == lastName)
                continue;
            lastName = name;
            if (Item(name))
                continue;
            KORVOPermissionPtr permission = NewPermission(name, source.IsRole, object);
            try {
                std::shared_ptr<Recordset> rights
                    = sql.OpenRecordset(kind.GranteeRightsStatement(object.FullName, DatabaseID, cls, name));
                for (; rights && !rights->Eof(); rights->MoveNext())
                    ApplyProtectRow(*permission, rights->FieldText(QStringLiteral("Action")),
                        rights->FieldText(QStringLiteral("ProtectType")));
            } catch (const SqlError &) {
                // No rights at all is reported as an error: the row keeps its zeros.
            }
            mItems.append(permission);
        }
    }
}

void KORVOPermissions::ReadQuickForm(const ObjectInfo &object)
{
    KORVOSQL &sql = *ActiveDBConnection;
    const ServerKind &kind = sql.Kind();
    const ObjectClass cls = ClassOf(HasExecuteOnly, HasExecAndRefOnly);

    std::shared_ptr<Recordset> rs;
    try {
        rs = sql.OpenRecordset(kind.ObjectRightsStatement(object.FullName, DatabaseID, cls));
    } catch (const SqlError &) {
        // An object without any rights is reported as an error.
        return;
    }
    if (!rs)
        return;

    KORVOPermissionPtr current;
    std::optional<QString> askedGrantee;
    bool isRole = false;
    for (; !rs->Eof(); rs->MoveNext()) {
        const QString grantee = rs->FieldText(QStringLiteral("Grantee"));
        // The listing gives a grantee's rights in a run of rows: ask about it once per run.
        if (askedGrantee != grantee) {
            std::shared_ptr<Recordset> known = sql.OpenRecordset(kind.KnownGranteeStatement(grantee));
            isRole = known && !known->Eof() && known->Field(QStringLiteral("Exists")).toLongLong() == 1;
            askedGrantee = grantee;
        }
        if ((Show == 1 && !isRole) || (Show == 2 && isRole))
            continue;
        if (!current || current->Name != grantee) {
            if (current && !Item(current->Name))
                mItems.append(current);
            current = NewPermission(grantee, isRole, object);
        }
        ApplyProtectRow(
            *current, rs->FieldText(QStringLiteral("Action")), rs->FieldText(QStringLiteral("ProtectType")));
    }
    if (current && !Item(current->Name))
        mItems.append(current);
    // A routine made anew on PostgreSQL may be run by everyone: a grantee who
    // holds nothing here must be listed so that restating revokes it.
    if (const QString everyone = kind.DefaultGrantee(); !everyone.isEmpty() && Show != 2 && !Item(everyone))
        mItems.append(NewPermission(everyone, true, object));
}

QStringList KORVOPermissions::Statements(const QString &fullName) const
{
    QStringList statements;
    if (!ActiveDBConnection)
        return statements;
    const ServerKind &kind = ActiveDBConnection->Kind();
    const ObjectClass cls = ClassOf(HasExecuteOnly, HasExecAndRefOnly);
    for (const KORVOPermissionPtr &p : mItems) {
        if (p->IsOwner)
            continue;
        for (int action : ActionsFor(p->HasExecuteOnly, p->HasExecAndRefOnly)) {
            if (!kind.PermissionApplies(action, cls))
                continue;
            // A right that is not set is stated as revoked: the whole list is restated.
            const QString statement = kind.PermissionStatement(action, p->Value(action), fullName, p->Name);
            if (!statement.isEmpty())
                statements.append(statement);
        }
    }
    return statements;
}

QString KORVOPermissions::CreateScript(const QString &objectName, const QString &ownerName)
{
    if (!ActiveDBConnection)
        return {};
    QString fullName;
    if (!objectName.isEmpty() && !ownerName.isEmpty()) {
        fullName = ActiveDBConnection->Kind().PermissionObjectName(
            ownerName, objectName, ClassOf(HasExecuteOnly, HasExecAndRefOnly));
        // Where routines are told apart by their argument types, the name alone
        // may stand for several: the catalogue's name of this one carries them.
        if (const ObjectInfo object = FindObject(); object.Found && object.FullName.startsWith(fullName + '('))
            fullName = object.FullName;
    } else {
        const ObjectInfo object = FindObject();
        if (!object.Found)
            return {};
        fullName = object.FullName;
    }
    QString script;
    for (const QString &statement : Statements(fullName))
        script += statement + QStringLiteral("\r\n");
    return script;
}

bool KORVOPermissions::Save()
{
    const ObjectInfo object = FindObject();
    if (!object.Found)
        return false;
    for (const QString &statement : Statements(object.FullName)) {
        LastStatement = statement;
        ActiveDBConnection->ExecuteSQL(statement);
    }
    return true;
}

QList<int> KORVOPermissions::Actions() const
{
    QList<int> actions = ActionsFor(HasExecuteOnly, HasExecAndRefOnly);
    if (ActiveDBConnection) {
        const ServerKind &kind = ActiveDBConnection->Kind();
        const ObjectClass cls = ClassOf(HasExecuteOnly, HasExecAndRefOnly);
        actions.removeIf([&](int action) { return !kind.PermissionApplies(action, cls); });
    }
    return actions;
}

bool KORVOPermissions::CanDeny() const
{
    return !ActiveDBConnection || ActiveDBConnection->Kind().SupportsDeny();
}

KORVOPermissionsPtr ReadPermissions(const std::shared_ptr<KORVOSQL> &sql, const QString &dbid, bool executeOnly,
    bool execAndRefOnly, bool quickList, int show)
{
    auto permissions = std::make_shared<KORVOPermissions>();
    permissions->ActiveDBConnection = sql;
    permissions->DatabaseID = dbid;
    permissions->HasExecuteOnly = executeOnly;
    permissions->HasExecAndRefOnly = execAndRefOnly;
    permissions->QuickList = quickList;
    permissions->Show = show;
    permissions->GetItemPermissions();
    return permissions;
}

void AddPermissionFolderItem(KORVODBTItems &items, const QString &dbid)
{
    KORVODBTItemPtr folder = items.Add(QStringLiteral("P") + dbid);
    folder->Text = QStringLiteral("Permission");
    folder->Tag = QStringLiteral("Permission");
    folder->ImageName = QStringLiteral("PERMISSIONS");
    folder->Children().Add(folder->Key + QStringLiteral("_temp"))->Tag = QStringLiteral("temp");
}

std::shared_ptr<KORVODBTItems> GetPermissionItems(const QString &dbid, const KORVOPermissions &permissions)
{
    auto items = std::make_shared<KORVODBTItems>();
    int n = 0;
    for (const KORVOPermissionPtr &p : permissions) {
        if (!p->HasAnyPermissionSet())
            continue;
        KORVODBTItemPtr row = items->Add(QStringLiteral("P%1_value%2").arg(dbid).arg(++n));
        row->Text = p->Name;
        row->ImageName = p->IsRole ? QStringLiteral("PERMISSION:ROLE") : QStringLiteral("PERMISSION:USER");
        int m = 0;
        for (int action : ActionsFor(p->HasExecuteOnly, p->HasExecAndRefOnly)) {
            const int value = p->Value(action);
            if (value == PermissionNone)
                continue;
            KORVODBTItemPtr right = row->Children().Add(row->Key + QLatin1Char('_') + QString::number(++m));
            right->Text = PermissionActionWord(action);
            right->ImageName
                = value == PermissionGrant ? QStringLiteral("PERMISSION:GRANT") : QStringLiteral("PERMISSION:DENY");
        }
    }
    return items;
}
