#pragma once

class ScriptedSqlServer;

// Teaches a scripted SQL Server the statements by which versioned objects and
// their collections read the catalogue: the type lists, the object rows by id
// and by name, the lookup by written name and a trigger's events.
void AddVersionedObjectStatements(ScriptedSqlServer &server);
