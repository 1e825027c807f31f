// The statements by which versioned objects read their rows, parameters and
// lists, and by which a name read from a text is looked up.
#include "ServerKind.h"

namespace
{

QString pgLiteral(const QString &text)
{
    QString doubled = text;
    doubled.replace(QLatin1Char('\''), QLatin1String("''"));
    return QLatin1Char('\'') + doubled + QLatin1Char('\'');
}

// Objects outside the system schemas, and not brought in by an extension.
QString pgUserObjects(const char *catalogue, const char *oidColumn)
{
    return QStringLiteral("n.nspname NOT IN ('pg_catalog','information_schema') AND n.nspname NOT LIKE 'pg\\_toast%' "
                          "AND n.nspname NOT LIKE 'pg\\_temp\\_%' AND NOT EXISTS (SELECT 1 FROM pg_catalog.pg_depend "
                          "d WHERE d.classid = 'pg_catalog.%1'::regclass AND d.objid = %2 AND d.deptype = 'e') ")
        .arg(QLatin1String(catalogue), QLatin1String(oidColumn));
}

// The FROM and WHERE of all user objects of one class, with the columns id,
// name and schema reachable as p.oid / p.proname etc.
struct PgShape {
    QString idColumn, nameColumn, from, where;
};

PgShape pgShape(ObjectClass cls)
{
    switch (cls) {
    case ObjectClass::StoredProcedure:
    case ObjectClass::UserDefinedFunction:
        return { QStringLiteral("p.oid"), QStringLiteral("p.proname"),
            QStringLiteral("FROM pg_catalog.pg_proc p JOIN pg_catalog.pg_namespace n ON n.oid = p.pronamespace "),
            QStringLiteral("WHERE p.prokind = '%1' AND ")
                    .arg(cls == ObjectClass::StoredProcedure ? QLatin1Char('p') : QLatin1Char('f'))
                + pgUserObjects("pg_proc", "p.oid") };
    case ObjectClass::View:
    case ObjectClass::Table:
        return { QStringLiteral("c.oid"), QStringLiteral("c.relname"),
            QStringLiteral("FROM pg_catalog.pg_class c JOIN pg_catalog.pg_namespace n ON n.oid = c.relnamespace "),
            (cls == ObjectClass::View ? QStringLiteral("WHERE c.relkind = 'v' AND ")
                                      : QStringLiteral("WHERE c.relkind IN ('r','p') AND "))
                + pgUserObjects("pg_class", "c.oid") };
    case ObjectClass::Trigger:
        return { QStringLiteral("t.oid"), QStringLiteral("t.tgname"),
            QStringLiteral("FROM pg_catalog.pg_trigger t JOIN pg_catalog.pg_class c ON c.oid = t.tgrelid "
                           "JOIN pg_catalog.pg_namespace n ON n.oid = c.relnamespace "),
            QStringLiteral("WHERE NOT t.tgisinternal AND ") + pgUserObjects("pg_class", "c.oid") };
    }
    return {};
}

} // namespace

ServerKind::VersionedStatements SQLServerKind::VersionedObjectStatements(ObjectClass cls) const
{
    VersionedStatements s;
    s.ParameterQuery1 = QStringLiteral(
        "SELECT c.name AS ColName, c.length AS ColLength, c.xprec AS ColXprec, c.xscale AS ColScale, c.isnullable AS "
        "ColNullable, t.name AS ColType FROM syscolumns c INNER JOIN systypes t ON c.xusertype = t.xusertype WHERE "
        "t.status <> 1 AND c.id = ");
    s.ParameterQuery2 = QStringLiteral(" ORDER BY c.colid");
    s.ExistsSQL1 = QStringLiteral("IF EXISTS (SELECT * FROM dbo.sysobjects WHERE id = OBJECT_ID(N'");
    s.DropSQL1 = s.ExistsSQL1;
    s.DBQueryByName = QStringLiteral(" AND so.name = ");
    s.DBQueryByOwner = QStringLiteral(" AND su.name = ");
    s.DBQueryByID = QStringLiteral(" AND so.id = ");

    const QString start = QStringLiteral("SELECT so.id, so.name, su.name AS [UserName] FROM sysobjects so INNER JOIN "
                                         "sysusers su ON so.uid = su.uid WHERE ");
    QString property, dropKeyword;
    switch (cls) {
    case ObjectClass::StoredProcedure:
        property = QStringLiteral("IsProcedure");
        dropKeyword = QStringLiteral(" DROP PROCEDURE ");
        break;
    case ObjectClass::View:
        property = QStringLiteral("IsView");
        dropKeyword = QStringLiteral(" DROP VIEW ");
        break;
    case ObjectClass::Trigger:
        property = QStringLiteral("IsTrigger");
        dropKeyword = QStringLiteral(" DROP TRIGGER ");
        break;
    case ObjectClass::UserDefinedFunction:
        dropKeyword = QStringLiteral(" DROP FUNCTION ");
        break;
    case ObjectClass::Table:
        return s;
    }
    if (cls == ObjectClass::UserDefinedFunction) {
        s.DBQueryStart = start + QStringLiteral("so.xtype IN (N'FN', N'IF', N'TF') ");
        s.ExistsSQL2 = QStringLiteral("') AND xtype IN (N'FN', N'IF', N'TF') ) ");
        s.ListQuery
            = QStringLiteral("SELECT id, name FROM sysobjects WHERE xtype in (N'FN', N'IF', N'TF') ORDER BY name");
        s.LookupQuery
            = QStringLiteral("SELECT id FROM sysobjects WHERE category <> 2 AND xtype in (N'FN', N'IF', N'TF') "
                             "AND id = OBJECT_ID(N'#NAME#')");
    } else {
        s.DBQueryStart = start + QStringLiteral("OBJECTPROPERTY(so.id, N'%1') = 1 ").arg(property);
        s.ExistsSQL2 = QStringLiteral("') AND OBJECTPROPERTY(id, N'%1') = 1) ").arg(property);
        if (cls == ObjectClass::Trigger)
            s.ListQuery = QStringLiteral("SELECT id, name, parent_obj FROM sysobjects WHERE OBJECTPROPERTY(id, "
                                         "N'IsTrigger') = 1")
                + QStringLiteral(" AND category <> 2 ORDER BY name");
        else
            s.ListQuery = QStringLiteral("SELECT id, name FROM sysobjects WHERE OBJECTPROPERTY(id, N'%1') = 1 AND "
                                         "category <> 2 ORDER BY name")
                              .arg(property);
        s.LookupQuery
            = QStringLiteral("SELECT id FROM sysobjects WHERE category <> 2 AND OBJECTPROPERTY(id, N'%1') = 1 "
                             "AND id = OBJECT_ID(N'#NAME#')")
                  .arg(property);
    }
    s.DropSQL2 = s.ExistsSQL2 + QStringLiteral("\r\n\t") + dropKeyword;
    if (cls == ObjectClass::Trigger)
        s.TriggerEventsQuery = QStringLiteral(
            "select ObjectProperty( id, 'ExecIsInsertTrigger') AS 'ISINSERT', ObjectProperty( id, "
            "'ExecIsUpdateTrigger') AS 'ISUPDATE', ObjectProperty( id, 'ExecIsDeleteTrigger') AS 'ISDELETE' from "
            "sysobjects where id = ");
    return s;
}

QString SQLServerKind::ObjectLookupStatement(ObjectClass cls, const QString &nameAsWritten) const
{
    QString sql = VersionedObjectStatements(cls).LookupQuery;
    return sql.replace(QLatin1String("#NAME#"), nameAsWritten);
}

ServerKind::VersionedStatements PostgreSQLKind::VersionedObjectStatements(ObjectClass cls) const
{
    VersionedStatements s;
    if (cls == ObjectClass::Table)
        return s;
    const PgShape shape = pgShape(cls);
    s.DBQueryStart = QStringLiteral("SELECT %1::bigint AS id, %2::text AS name, n.nspname::text AS \"UserName\" ")
                         .arg(shape.idColumn, shape.nameColumn)
        + shape.from + shape.where;
    s.DBQueryByName = QStringLiteral(" AND %1 = ").arg(shape.nameColumn);
    s.DBQueryByOwner = QStringLiteral(" AND n.nspname = ");
    s.DBQueryByID = QStringLiteral(" AND %1::bigint = ").arg(shape.idColumn);
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
    s.ListQuery = QStringLiteral("SELECT %1::bigint AS id, %2::text AS name%3 ")
                      .arg(shape.idColumn, shape.nameColumn,
                          cls == ObjectClass::Trigger ? QStringLiteral(", t.tgrelid::bigint AS parent_obj") : QString())
        + shape.from + shape.where + QStringLiteral("ORDER BY 2, 1");
    if (cls == ObjectClass::Trigger)
        s.TriggerEventsQuery = QStringLiteral(
            "SELECT CASE WHEN t.tgtype::int & 4 <> 0 THEN 1 ELSE 0 END AS \"ISINSERT\", CASE WHEN t.tgtype::int & 16 "
            "<> 0 THEN 1 ELSE 0 END AS \"ISUPDATE\", CASE WHEN t.tgtype::int & 8 <> 0 THEN 1 ELSE 0 END AS "
            "\"ISDELETE\" FROM pg_catalog.pg_trigger t WHERE t.oid::bigint = ");
    return s;
}

QString PostgreSQLKind::ObjectLookupStatement(ObjectClass cls, const QString &nameAsWritten) const
{
    const PgShape shape = pgShape(cls);
    const QStringList parts = SplitName(nameAsWritten);
    // Overloads or equal trigger names on several tables give no row: the name
    // alone does not say which object is meant.
    QString sql = QStringLiteral("SELECT min(%1)::bigint AS id ").arg(shape.idColumn) + shape.from + shape.where
        + QStringLiteral("AND %1 = ").arg(shape.nameColumn) + pgLiteral(parts.value(1));
    if (!parts.value(0).isEmpty())
        sql += QStringLiteral(" AND n.nspname = ") + pgLiteral(parts.value(0));
    return sql + QStringLiteral(" HAVING count(*) = 1");
}
