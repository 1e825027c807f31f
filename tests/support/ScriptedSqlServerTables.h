#pragma once

#include <QList>
#include <QVariantList>

class ScriptedSqlServer;

// Teaches a scripted SQL Server the statements of tables and of the permission
// model: the table list, the table rows by id and by name, sp_helprole,
// sp_helpuser, sp_helprotect, the known-grantee count, and GRANT, DENY and
// REVOKE, which change the server's protections.
void AddTableAndPermissionStatements(ScriptedSqlServer &server);

// The columns of a table as syscolumns lists them (ColName, ColLength,
// ColXprec, ColScale, ColNullable, ColType), read from the CREATE TABLE text
// the table was made with: "name type[(size[, scale])] [NOT] NULL", by commas.
// The parameter statement of AddVersionedObjectStatements answers with these
// for tables.
QList<QVariantList> TableColumnRows(const QString &createTableText);
