#pragma once

class ScriptedSqlServer;

// Teaches a scripted SQL Server the statements by which versioned objects and
// their collections read the catalogue: the type lists, the object rows by id
// and by name, the lookup by written name, a trigger's events, and the
// parameters of procedures and functions (read from their CREATE texts, as
// syscolumns lists them). Add it after AddTableAndPermissionStatements: its
// column answer serves tables too.
void AddVersionedObjectStatements(ScriptedSqlServer &server);
