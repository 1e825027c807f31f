#pragma once

#include "ServerKind.h"

#include <QString>

// Pieces of statement text that the kinds' statement files share.
namespace StatementParts
{

// A text literal: every ' doubled, no leading blank. Both kinds read literals so.
QString Quoted(const QString &text);
// The same without the enclosing quotes, for statements that write them.
QString QuotedBody(const QString &text);
// A number for an id, or NULL, so that nothing but a number reaches the text.
QString NumberOrNull(const QString &id);

// SQL Server: the columns of a table, view or routine: + id + SqlServerColumnsQuery2.
QString SqlServerColumnsQuery1();
QString SqlServerColumnsQuery2();
// SQL Server: the second half of the existence test and the drop keyword of each class.
struct SqlServerDropParts {
    const char *Exists2;
    const char *Keyword;
};
SqlServerDropParts SqlServerDrop(ObjectClass cls);

// PostgreSQL: schemas other than the system's (the namespace under the alias n).
QString PgUserSchemas();
// PostgreSQL: objects in user schemas, and not brought in by an extension.
QString PgUserObjects(const char *catalogue, const char *oidColumn);
// PostgreSQL: the FROM and WHERE of all user objects of one class, with the
// columns id, name and schema reachable as p.oid / p.proname etc.
struct PgShape {
    QString IdColumn, NameColumn, From, Where;
};
PgShape PgShapeOf(ObjectClass cls);
bool PgIsPublic(const QString &grantee);

} // namespace StatementParts
