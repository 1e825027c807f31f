// The statements by which versioned objects read their rows, parameters and
// lists, and by which a name read from a text is looked up.
#include "ServerKind.h"
#include "StatementParts.h"

using namespace StatementParts;

ServerKind::VersionedStatements SQLServerKind::VersionedObjectStatements(ObjectClass cls) const
{
    VersionedStatements s;
    s.ParameterQuery1 = SqlServerColumnsQuery1();
    s.ParameterQuery2 = SqlServerColumnsQuery2();
    s.ExistsSQL1 = QStringLiteral("IF EXISTS (SELECT * FROM dbo.sysobjects WHERE id = OBJECT_ID(N'");
    s.DropSQL1 = s.ExistsSQL1;
    s.DBQueryByName = QStringLiteral(" AND so.name = ");
    s.DBQueryByOwner = QStringLiteral(" AND su.name = ");
    s.DBQueryByID = QStringLiteral(" AND so.id = ");

    if (cls == ObjectClass::Table)
        return s;
    const SqlServerDropParts drop = SqlServerDrop(cls);
    s.ExistsSQL2 = QLatin1String(drop.Exists2);
    s.DropSQL2 = s.ExistsSQL2 + QStringLiteral("\r\n\t") + QLatin1String(drop.Keyword);

    const QString start = QStringLiteral("SELECT so.id, so.name, su.name AS [UserName] FROM sysobjects so INNER JOIN "
                                         "sysusers su ON so.uid = su.uid WHERE ");
    if (cls == ObjectClass::UserDefinedFunction) {
        s.DBQueryStart = start + QStringLiteral("so.xtype IN (N'FN', N'IF', N'TF') ");
        s.ListQuery
            = QStringLiteral("SELECT id, name FROM sysobjects WHERE xtype in (N'FN', N'IF', N'TF') ORDER BY name");
        s.LookupQuery
            = QStringLiteral("SELECT id FROM sysobjects WHERE category <> 2 AND xtype in (N'FN', N'IF', N'TF') "
                             "AND id = OBJECT_ID(N'#NAME#')");
    } else {
        const QString property = cls == ObjectClass::StoredProcedure ? QStringLiteral("IsProcedure")
            : cls == ObjectClass::View                               ? QStringLiteral("IsView")
                                                                     : QStringLiteral("IsTrigger");
        s.DBQueryStart = start + QStringLiteral("OBJECTPROPERTY(so.id, N'%1') = 1 ").arg(property);
        s.ListQuery = QStringLiteral("SELECT id, name%1 FROM sysobjects WHERE OBJECTPROPERTY(id, N'%2') = 1 AND "
                                     "category <> 2 ORDER BY name")
                          .arg(cls == ObjectClass::Trigger ? QStringLiteral(", parent_obj") : QString(), property);
        s.LookupQuery
            = QStringLiteral("SELECT id FROM sysobjects WHERE category <> 2 AND OBJECTPROPERTY(id, N'%1') = 1 "
                             "AND id = OBJECT_ID(N'#NAME#')")
                  .arg(property);
    }
    if (cls == ObjectClass::Trigger)
        s.TriggerEventsQuery = QStringLiteral(
            "select ObjectProperty( id, 'ExecIsInsertTrigger') AS 'ISINSERT', ObjectProperty( id, "
            "'ExecIsUpdateTrigger') AS 'ISUPDATE', ObjectProperty( id, 'ExecIsDeleteTrigger') AS 'ISDELETE' from "
            "sysobjects where id = ");
    return s;
}

QString SQLServerKind::ObjectLookupStatement(ObjectClass cls, const QString &nameAsWritten) const
{
    // The name goes in as data of the literal OBJECT_ID reads.
    QString sql = VersionedObjectStatements(cls).LookupQuery;
    return sql.replace(QLatin1String("#NAME#"), QuotedBody(nameAsWritten));
}

ServerKind::VersionedStatements PostgreSQLKind::VersionedObjectStatements(ObjectClass cls) const
{
    VersionedStatements s;
    if (cls == ObjectClass::Table)
        return s;
    const PgShape shape = PgShapeOf(cls);
    // Routines that share their name: field "signature" gives their argument
    // types (NULL for a name of one routine), so that captions tell them apart.
    const bool routine = cls == ObjectClass::StoredProcedure || cls == ObjectClass::UserDefinedFunction;
    const QString signature = routine
        ? QStringLiteral(", CASE WHEN (SELECT count(*) FROM pg_catalog.pg_proc q WHERE q.pronamespace = p.pronamespace "
                         "AND q.proname = p.proname AND q.prokind IN ('f','p')) > 1 THEN "
                         "pg_catalog.oidvectortypes(p.proargtypes) END AS signature")
        : QString();
    s.DBQueryStart = QStringLiteral("SELECT %1::bigint AS id, %2::text AS name, n.nspname::text AS \"UserName\"%3 ")
                         .arg(shape.IdColumn, shape.NameColumn, signature)
        + shape.From + shape.Where;
    s.DBQueryByName = QStringLiteral(" AND %1 = ").arg(shape.NameColumn);
    s.DBQueryByOwner = QStringLiteral(" AND n.nspname = ");
    s.DBQueryByID = QStringLiteral(" AND %1::bigint = ").arg(shape.IdColumn);
    // No size, precision or scale comes with a routine's argument types; an
    // unnamed argument is shown as PostgreSQL names it ($1, $2 ...).
    if (cls == ObjectClass::StoredProcedure || cls == ObjectClass::UserDefinedFunction) {
        s.ParameterQuery1
            = QStringLiteral("SELECT x.\"ColName\", NULL::int AS \"ColLength\", NULL::int AS "
                             "\"ColXprec\", NULL::int AS \"ColScale\", 1 AS \"ColNullable\", x.\"ColType\" "
                             "FROM pg_catalog.pg_proc p CROSS JOIN LATERAL (");
        if (cls == ObjectClass::UserDefinedFunction)
            // The return type comes first, as a row without a name.
            s.ParameterQuery1 += QStringLiteral("SELECT 0::bigint AS ord, ''::text AS \"ColName\", "
                                                "pg_catalog.pg_get_function_result(p.oid) AS \"ColType\" UNION ALL ");
        s.ParameterQuery1 += QStringLiteral(
            "SELECT a.ord, coalesce(nullif(p.proargnames[a.ord], ''), '$' || a.ord), pg_catalog.format_type(a.typ, "
            "NULL) FROM unnest(coalesce(p.proallargtypes, p.proargtypes::oid[])) WITH ORDINALITY a(typ, ord)) x(ord, "
            "\"ColName\", \"ColType\") WHERE p.oid::bigint = ");
        s.ParameterQuery2 = QStringLiteral(" ORDER BY x.ord");
    } else if (cls == ObjectClass::View) {
        s.ParameterQuery1 = AttributeColumnsQuery1();
        s.ParameterQuery2 = AttributeColumnsQuery2();
    }
    // The owner comes with the list, so that a refresh needs no query per object.
    s.ListQuery = QStringLiteral("SELECT %1::bigint AS id, %2::text AS name, n.nspname::text AS owner%3 ")
                      .arg(shape.IdColumn, shape.NameColumn,
                          cls == ObjectClass::Trigger ? QStringLiteral(", t.tgrelid::bigint AS parent_obj") : signature)
        + shape.From + shape.Where + QStringLiteral("ORDER BY 2, 1");
    if (cls == ObjectClass::Trigger)
        s.TriggerEventsQuery = QStringLiteral(
            "SELECT CASE WHEN t.tgtype::int & 4 <> 0 THEN 1 ELSE 0 END AS \"ISINSERT\", CASE WHEN t.tgtype::int & 16 "
            "<> 0 THEN 1 ELSE 0 END AS \"ISUPDATE\", CASE WHEN t.tgtype::int & 8 <> 0 THEN 1 ELSE 0 END AS "
            "\"ISDELETE\" FROM pg_catalog.pg_trigger t WHERE t.oid::bigint = ");
    return s;
}

QString PostgreSQLKind::ObjectLookupStatement(ObjectClass cls, const QString &nameAsWritten) const
{
    const PgShape shape = PgShapeOf(cls);
    const QStringList parts = SplitName(nameAsWritten);
    // Overloads or equal trigger names on several tables give no row: the name
    // alone does not say which object is meant.
    QString sql = QStringLiteral("SELECT min(%1)::bigint AS id ").arg(shape.IdColumn) + shape.From + shape.Where
        + QStringLiteral("AND %1 = ").arg(shape.NameColumn) + Quoted(parts.value(1));
    if (!parts.value(0).isEmpty())
        sql += QStringLiteral(" AND n.nspname = ") + Quoted(parts.value(0));
    return sql + QStringLiteral(" HAVING count(*) = 1");
}
