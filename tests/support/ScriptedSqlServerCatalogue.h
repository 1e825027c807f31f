#pragma once

class ScriptedSqlServer;

// Teaches a scripted SQL Server the catalogue statements of versioned objects,
// tables and the permission model: the type lists, the object rows by id and by
// name, the lookup by written name, a trigger's events, the parameters of
// procedures and functions and the columns of tables (read from their CREATE
// texts, as syscolumns lists them), sp_helprole, sp_helpuser, sp_helprotect,
// the known-grantee count, and GRANT, DENY and REVOKE, which change the
// server's protections.
void AddCatalogueStatements(ScriptedSqlServer &server);
