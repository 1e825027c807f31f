#include "StatementParts.h"

namespace StatementParts
{

QString QuotedBody(const QString &text)
{
    QString doubled = text;
    doubled.replace(QLatin1Char('\''), QLatin1String("''"));
    return doubled;
}

QString Quoted(const QString &text)
{
    return QLatin1Char('\'') + QuotedBody(text) + QLatin1Char('\'');
}

QString NumberOrNull(const QString &id)
{
    bool ok = false;
    const qlonglong value = id.trimmed().toLongLong(&ok);
    return ok ? QString::number(value) : QStringLiteral("NULL");
}

QString SqlServerColumnsQuery1()
{
    return QStringLiteral(
        "SELECT c.name AS ColName, c.length AS ColLength, c.xprec AS ColXprec, c.xscale AS ColScale, c.isnullable AS "
        "ColNullable, t.name AS ColType FROM syscolumns c INNER JOIN systypes t ON c.xusertype = t.xusertype WHERE "
        "t.status <> 1 AND c.id = ");
}

QString SqlServerColumnsQuery2()
{
    return QStringLiteral(" ORDER BY c.colid");
}

SqlServerDropParts SqlServerDrop(ObjectClass cls)
{
    switch (cls) {
    case ObjectClass::StoredProcedure:
        return { "') AND OBJECTPROPERTY(id, N'IsProcedure') = 1) ", " DROP PROCEDURE " };
    case ObjectClass::View:
        return { "') AND OBJECTPROPERTY(id, N'IsView') = 1) ", " DROP VIEW " };
    case ObjectClass::Trigger:
        return { "') AND OBJECTPROPERTY(id, N'IsTrigger') = 1) ", " DROP TRIGGER " };
    case ObjectClass::UserDefinedFunction:
        return { "') AND xtype IN (N'FN', N'IF', N'TF') ) ", " DROP FUNCTION " };
    case ObjectClass::Table:
        return { "') AND OBJECTPROPERTY(id, N'IsUserTable') = 1) ", " DROP TABLE " };
    }
    return { "", "" };
}

QString PgUserSchemas()
{
    return QStringLiteral("n.nspname NOT IN ('pg_catalog','information_schema') AND n.nspname NOT LIKE "
                          "'pg\\_toast%' AND n.nspname NOT LIKE 'pg\\_temp\\_%'");
}

QString PgUserObjects(const char *catalogue, const char *oidColumn)
{
    return PgUserSchemas()
        + QStringLiteral(" AND NOT EXISTS (SELECT 1 FROM pg_catalog.pg_depend d WHERE d.classid = "
                         "'pg_catalog.%1'::regclass AND d.objid = %2 AND d.deptype = 'e') ")
              .arg(QLatin1String(catalogue), QLatin1String(oidColumn));
}

PgShape PgShapeOf(ObjectClass cls)
{
    switch (cls) {
    case ObjectClass::StoredProcedure:
    case ObjectClass::UserDefinedFunction:
        return { QStringLiteral("p.oid"), QStringLiteral("p.proname"),
            QStringLiteral("FROM pg_catalog.pg_proc p JOIN pg_catalog.pg_namespace n ON n.oid = p.pronamespace "),
            QStringLiteral("WHERE p.prokind = '%1' AND ")
                    .arg(cls == ObjectClass::StoredProcedure ? QLatin1Char('p') : QLatin1Char('f'))
                + PgUserObjects("pg_proc", "p.oid") };
    case ObjectClass::View:
    case ObjectClass::Table:
        return { QStringLiteral("c.oid"), QStringLiteral("c.relname"),
            QStringLiteral("FROM pg_catalog.pg_class c JOIN pg_catalog.pg_namespace n ON n.oid = c.relnamespace "),
            (cls == ObjectClass::View ? QStringLiteral("WHERE c.relkind = 'v' AND ")
                                      : QStringLiteral("WHERE c.relkind IN ('r','p') AND "))
                + PgUserObjects("pg_class", "c.oid") };
    case ObjectClass::Trigger:
        return { QStringLiteral("t.oid"), QStringLiteral("t.tgname"),
            QStringLiteral("FROM pg_catalog.pg_trigger t JOIN pg_catalog.pg_class c ON c.oid = t.tgrelid "
                           "JOIN pg_catalog.pg_namespace n ON n.oid = c.relnamespace "),
            QStringLiteral("WHERE NOT t.tgisinternal AND ") + PgUserObjects("pg_class", "c.oid") };
    }
    return {};
}

bool PgIsPublic(const QString &grantee)
{
    return grantee.compare(QLatin1String("PUBLIC"), Qt::CaseInsensitive) == 0;
}

} // namespace StatementParts
