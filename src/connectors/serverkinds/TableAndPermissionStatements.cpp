// The statements by which tables read their rows and columns, and by which the
// permission model reads and restates the rights on an object.
#include "ServerKind.h"
#include "StatementParts.h"

using namespace StatementParts;

namespace
{

bool isRoutine(ObjectClass cls)
{
    return cls == ObjectClass::StoredProcedure || cls == ObjectClass::UserDefinedFunction;
}

// The object's id, ACL and owner, under the names x.oid, x.acl, x.owner, and
// the kind letter acldefault wants.
QString pgAclSource(ObjectClass cls, QChar &aclKind)
{
    if (isRoutine(cls)) {
        aclKind = QLatin1Char('f');
        return QStringLiteral("(SELECT p.oid, p.proacl AS acl, p.proowner AS owner FROM pg_catalog.pg_proc p) x");
    }
    aclKind = QLatin1Char('r');
    return QStringLiteral("(SELECT c.oid, c.relacl AS acl, c.relowner AS owner FROM pg_catalog.pg_class c) x");
}

// Every single right on the object; a NULL ACL stands for the defaults.
QString pgRights(ObjectClass cls, const QString &id)
{
    QChar aclKind;
    const QString source = pgAclSource(cls, aclKind);
    return QStringLiteral("FROM ") + source
        + QStringLiteral(" CROSS JOIN LATERAL pg_catalog.aclexplode(coalesce(x.acl, pg_catalog.acldefault('%1', "
                         "x.owner))) a WHERE x.oid::bigint = %2")
              .arg(aclKind)
              .arg(NumberOrNull(id));
}

} // namespace

// --- SQL Server ---

ServerKind::TableStatements SQLServerKind::TableObjectStatements() const
{
    TableStatements s;
    s.ListQuery
        = QStringLiteral("SELECT id, name FROM sysobjects WHERE OBJECTPROPERTY(id, N'IsUserTable') = 1 ORDER BY name");
    s.DBQuery
        = QStringLiteral("SELECT so.id, so.name, su.name AS [UserName] FROM sysobjects so INNER JOIN sysusers su ON "
                         "so.uid = su.uid WHERE so.id = ");
    s.DBQueryByName
        = QStringLiteral("SELECT so.id, so.name, su.name AS [UserName] FROM sysobjects so INNER JOIN sysusers "
                         "su ON so.uid = su.uid WHERE OBJECTPROPERTY(so.id, N'IsUserTable') = 1 AND so.name = ");
    s.DBQueryByOwner = QStringLiteral(" AND su.name = ");
    s.ParameterQuery1 = SqlServerColumnsQuery1();
    s.ParameterQuery2 = SqlServerColumnsQuery2();
    return s;
}

QString SQLServerKind::PermissionObjectStatement(const QString &id, ObjectClass) const
{
    return QStringLiteral("SELECT so.name AS [ObjectName], su.name AS [OwnerName] FROM sysobjects so INNER JOIN "
                          "sysusers su ON so.uid = su.uid WHERE so.id = ")
        + NumberOrNull(id) + QLatin1Char(' ');
}

QString SQLServerKind::PermissionObjectNameFromRow(const Recordset &row, ObjectClass cls) const
{
    return PermissionObjectName(
        row.FieldText(QStringLiteral("OwnerName")), row.FieldText(QStringLiteral("ObjectName")), cls);
}

QString SQLServerKind::PermissionObjectName(const QString &owner, const QString &name, ObjectClass) const
{
    return QuoteIdentifier(owner) + QLatin1Char('.') + QuoteIdentifier(name);
}

QString SQLServerKind::PermissionRolesStatement() const
{
    return QStringLiteral("EXECUTE sp_helprole");
}

QString SQLServerKind::PermissionUsersStatement() const
{
    return QStringLiteral("EXECUTE sp_helpuser");
}

bool SQLServerKind::PermissionRoleListed(qint64 roleId) const
{
    // 0 is public; the fixed database roles lie between it and 16400.
    return roleId == 0 || roleId >= 16400;
}

QString SQLServerKind::GranteeRightsStatement(
    const QString &objectName, const QString &, ObjectClass, const QString &grantee) const
{
    return QStringLiteral("EXECUTE sp_helprotect ") + Quoted(objectName) + QLatin1Char(',') + Quoted(grantee);
}

QString SQLServerKind::ObjectRightsStatement(const QString &objectName, const QString &, ObjectClass) const
{
    return QStringLiteral("EXECUTE sp_helprotect ") + Quoted(objectName);
}

QString SQLServerKind::KnownGranteeStatement(const QString &grantee) const
{
    return QStringLiteral("SELECT COUNT(*) As [Exists] FROM sysusers WHERE name = ") + Quoted(grantee);
}

bool SQLServerKind::PermissionApplies(int, ObjectClass) const
{
    return true;
}

// --- PostgreSQL ---

ServerKind::TableStatements PostgreSQLKind::TableObjectStatements() const
{
    TableStatements s;
    const QString columns
        = QStringLiteral("SELECT c.oid::bigint AS id, c.relname::text AS name, n.nspname::text AS \"UserName\" ");
    const PgShape shape = PgShapeOf(ObjectClass::Table);
    const QString tables = shape.From + shape.Where;
    s.ListQuery = QStringLiteral("SELECT c.oid::bigint AS id, c.relname::text AS name, n.nspname::text AS owner ") + tables
        + QStringLiteral("ORDER BY 2, 1");
    s.DBQuery = columns + tables + QStringLiteral("AND c.oid::bigint = ");
    s.DBQueryByName = columns + tables + QStringLiteral("AND c.relname = ");
    s.DBQueryByOwner = QStringLiteral(" AND n.nspname = ");
    s.ParameterQuery1 = AttributeColumnsQuery1();
    s.ParameterQuery2 = AttributeColumnsQuery2();
    return s;
}

QString PostgreSQLKind::PermissionObjectStatement(const QString &id, ObjectClass cls) const
{
    // OwnerName is the owning role, which holds every right without a grant;
    // the schema and the argument list make the name statements use.
    if (isRoutine(cls))
        return QStringLiteral(
                   "SELECT p.proname::text AS \"ObjectName\", pg_catalog.pg_get_userbyid(p.proowner)::text AS "
                   "\"OwnerName\", n.nspname::text AS \"SchemaName\", "
                   "pg_catalog.pg_get_function_identity_arguments(p.oid) AS \"Signature\" FROM pg_catalog.pg_proc p "
                   "JOIN pg_catalog.pg_namespace n ON n.oid = p.pronamespace WHERE p.prokind = '%1' AND p.oid::bigint "
                   "= ")
                   .arg(cls == ObjectClass::StoredProcedure ? QLatin1Char('p') : QLatin1Char('f'))
            + NumberOrNull(id);
    return QStringLiteral("SELECT c.relname::text AS \"ObjectName\", pg_catalog.pg_get_userbyid(c.relowner)::text AS "
                          "\"OwnerName\", n.nspname::text AS \"SchemaName\", ''::text AS \"Signature\" FROM "
                          "pg_catalog.pg_class c JOIN pg_catalog.pg_namespace n ON n.oid = c.relnamespace WHERE "
                          "c.relkind IN ('r','p','v') AND c.oid::bigint = ")
        + NumberOrNull(id);
}

QString PostgreSQLKind::PermissionObjectNameFromRow(const Recordset &row, ObjectClass cls) const
{
    QString name = PermissionObjectName(
        row.FieldText(QStringLiteral("SchemaName")), row.FieldText(QStringLiteral("ObjectName")), cls);
    if (isRoutine(cls))
        name += QLatin1Char('(') + row.FieldText(QStringLiteral("Signature")) + QLatin1Char(')');
    return name;
}

QString PostgreSQLKind::PermissionObjectName(const QString &owner, const QString &name, ObjectClass cls) const
{
    // Without an argument list a routine's name must be unique in its schema.
    QString prefix;
    if (cls == ObjectClass::StoredProcedure)
        prefix = QStringLiteral("PROCEDURE ");
    else if (cls == ObjectClass::UserDefinedFunction)
        prefix = QStringLiteral("FUNCTION ");
    return prefix + FormatName(owner, name);
}

QString PostgreSQLKind::PermissionRolesStatement() const
{
    // PUBLIC stands first, as public does on SQL Server.
    return QStringLiteral("SELECT q.\"RoleID\", q.\"RoleName\" FROM (SELECT 0 AS o, 0::bigint AS \"RoleID\", "
                          "'PUBLIC'::text AS \"RoleName\" UNION ALL SELECT 1, r.oid::bigint, r.rolname::text FROM "
                          "pg_catalog.pg_roles r WHERE NOT r.rolcanlogin AND r.rolname !~ '^pg_') q ORDER BY q.o, 2");
}

QString PostgreSQLKind::PermissionUsersStatement() const
{
    return QStringLiteral(
        "SELECT r.oid::bigint AS \"UserID\", r.rolname::text AS \"UserName\" FROM pg_catalog.pg_roles "
        "r WHERE r.rolcanlogin AND r.rolname !~ '^pg_' ORDER BY 2");
}

bool PostgreSQLKind::PermissionRoleListed(qint64) const
{
    // The predefined roles are left out by the statement already.
    return true;
}

QString PostgreSQLKind::GranteeRightsStatement(
    const QString &, const QString &id, ObjectClass cls, const QString &grantee) const
{
    const QString granteeOid = PgIsPublic(grantee)
        ? QStringLiteral("0")
        : QStringLiteral("(SELECT r.oid FROM pg_catalog.pg_roles r WHERE r.rolname = %1)").arg(Quoted(grantee));
    // There is no deny: every right read is a grant.
    return QStringLiteral("SELECT a.privilege_type::text AS \"Action\", 'Grant'::text AS \"ProtectType\" ")
        + pgRights(cls, id) + QStringLiteral(" AND a.grantee = ") + granteeOid;
}

QString PostgreSQLKind::ObjectRightsStatement(const QString &, const QString &id, ObjectClass cls) const
{
    return QStringLiteral("SELECT CASE WHEN a.grantee = 0 THEN 'PUBLIC' ELSE "
                          "pg_catalog.pg_get_userbyid(a.grantee)::text END AS \"Grantee\", a.privilege_type::text AS "
                          "\"Action\", 'Grant'::text AS \"ProtectType\" ")
        + pgRights(cls, id) + QStringLiteral(" ORDER BY 1, 2");
}

QString PostgreSQLKind::KnownGranteeStatement(const QString &grantee) const
{
    // Roles that cannot log in, and PUBLIC, count as roles; login roles as users.
    return QStringLiteral("SELECT count(*)::int AS \"Exists\" FROM (SELECT 1 WHERE %1 UNION ALL SELECT 1 FROM "
                          "pg_catalog.pg_roles r WHERE r.rolname = %2 AND NOT r.rolcanlogin) k")
        .arg(PgIsPublic(grantee) ? QStringLiteral("true") : QStringLiteral("false"), Quoted(grantee));
}

bool PostgreSQLKind::PermissionApplies(int action, ObjectClass cls) const
{
    // Routines know EXECUTE only; relations everything else.
    if (isRoutine(cls))
        return action == 1;
    return action != 1;
}
