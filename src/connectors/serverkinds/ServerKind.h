#pragma once

#include "SQLParser.h"
#include "driver/SqlDriver.h"

#include <QDateTime>
#include <QString>
#include <QStringList>

#include <functional>
#include <memory>

// The kinds of programmable and unversioned objects, in the order used everywhere.
enum class ObjectClass { StoredProcedure, Table, UserDefinedFunction, View, Trigger };

// Everything that differs between database servers: the statements sent to the
// catalogue, the forms of object texts, connection strings, drop and permission
// statements, the checks. KORVOSQL and the object model above it only ask the
// kind and never test which kind it is.
//
// Statement members return SQL text; the field names their results must carry
// are named in each comment. Names given to statement members have brackets
// and quotes removed already where the comment says so. Kinds hold no state
// and are shared.
class ServerKind
{
public:
    enum class Id { SQLServer, PostgreSQL };
    // What went wrong with a connection attempt, as far as the kind can tell.
    enum class ConnectFailure { Other, ServerNotFound, LoginFailed, DatabaseMissing };

    virtual ~ServerKind() = default;

    // The kinds. A stored name that is empty or unknown means SQL Server.
    static std::shared_ptr<const ServerKind> SQLServer();
    static std::shared_ptr<const ServerKind> PostgreSQL();
    static std::shared_ptr<const ServerKind> FromName(const QString &storedName);
    static std::shared_ptr<const ServerKind> FromId(Id id);

    virtual Id KindId() const = 0;
    // The name stored with a project: "SQLServer", "PostgreSQL".
    virtual QString Name() const = 0;
    // The name shown to the user.
    virtual QString DisplayName() const = 0;

    // --- Connections ---
    virtual QString CreateConnectionString(const QString &server, const QString &database, const QString &userName,
        const QString &password, bool useOsLogin) const = 0;
    // The driver that understands the kind's connection strings.
    virtual std::shared_ptr<SqlDriver> DefaultDriver() const = 0;
    // The database to connect to when none is named (server-wide questions).
    virtual QString MaintenanceDatabase() const = 0;
    virtual ConnectFailure ClassifyConnectError(const SqlError &error) const = 0;
    // Lists the databases: field "name".
    virtual QString DatabaseListStatement() const = 0;
    // Database names compare with or without case.
    virtual Qt::CaseSensitivity NameCase() const = 0;
    // Servers known without asking the network; usually none.
    virtual QStringList KnownServers() const { return {}; }

    // --- Catalogue ---
    // The id(s) of objects with this name (and owner, when not empty): field "id".
    // Name and owner arrive as written, quoted or not (UnquoteName).
    virtual QString ObjectIDStatement(const QString &name, const QString &owner) const = 0;
    // Fields "ObjectName" and "UserName" of the object with this id (a number literal
    // as sqlFMTOUT makes it, with its leading blank, possibly " NULL").
    virtual QString ObjectNameStatement(const QString &idLiteral) const = 0;
    // Field "name": the owner of the object with this id, the id put in as it stands.
    virtual QString ObjectOwnerStatement(const QString &id) const = 0;
    // Field "Text" of all rows, concatenated, is the object's text. qualifiedName is
    // the object's name as ObjectNameStatement and FormatName made it (may be empty).
    virtual QString ObjectTextStatement(const QString &id, const QString &qualifiedName) const = 0;
    // Whether ObjectTextStatement reads qualifiedName; where not, the name is
    // not looked up first.
    virtual bool ObjectTextNeedsName() const { return true; }
    // Field "DatabaseUserName": the database user (SQL Server) or default owner of
    // the connection. loginLiteral is the lower-cased login as sqlFMTOUT makes it.
    virtual QString DatabaseUserNameStatement(const QString &loginLiteral) const = 0;
    // Statements that succeed only where user defined functions can be made.
    virtual QStringList FunctionProbeStatements() const = 0;

    // --- Quoting ---
    // Every name and text a statement carries goes in through these two, so
    // that it reaches the server as an identifier or as data, never as text of
    // the statement itself.
    virtual QString QuoteIdentifier(const QString &name) const = 0;
    virtual QString QuoteLiteral(const QString &text) const = 0;
    // One part of a name as written (quoted or not) back to the name itself.
    virtual QString UnquoteName(const QString &written) const = 0;
    // Why the server cannot keep this name whole; empty when it can.
    virtual QString NameLengthRefusal(const QString &name) const = 0;

    // --- Names and texts ---
    // An object name as the kind writes it: "[o].[n]" on SQL Server.
    virtual QString FormatName(const QString &owner, const QString &name) const = 0;
    // The owner and name in a written name, without brackets or quotes.
    virtual QStringList SplitName(const QString &name) const = 0;
    // The keyword sequences that begin an object's CREATE text.
    virtual SQLKeywordPatterns CreatePatterns(ObjectClass cls) const = 0;
    // The text that replaces the existing object with this CREATE text (an ALTER,
    // a CREATE OR REPLACE); empty when the text has no CREATE.
    virtual QString ReplacingText(const QString &createText) const = 0;
    // A throw-away object name for compile checks, from a time and a number.
    virtual QString TemporaryName(const QDateTime &time, int number) const = 0;
    // Puts newName in place of the name after the keywords; see ReplaceNameAfterPattern.
    virtual QString ReplaceObjectName(
        const SQLKeywordPatterns &keywords, const QString &text, const QString &newName, QString &oldName) const = 0;
    // The table of a trigger as written in its text, or empty.
    virtual QString ExtractTableNameFromTrigger(const QString &text, const SQLKeywordPatterns &patterns) const = 0;

    // --- Changes ---
    // Runs a query and returns its first row set: lets a kind read the catalogue
    // while it writes a statement.
    using CatalogueReader = std::function<std::shared_ptr<Recordset>(const QString &sql)>;
    // A text that drops the object if it exists.
    virtual QString DropScript(
        ObjectClass cls, const QString &owner, const QString &name, const CatalogueReader &read) const = 0;
    // A text that drops the object of this id if it exists. Kinds whose names
    // identify objects drop by owner and name (DropScript); PostgreSQL drops a
    // routine by its oid, with its argument types, and never a sibling overload.
    // When no routine has the oid any more (another user dropped it) the text
    // is empty, or, with byNameWhenGone (a script for another database, where
    // the oid means nothing), the drop by owner and name.
    virtual QString DropObjectScript(ObjectClass cls, const QString &id, const QString &owner, const QString &name,
        const CatalogueReader &read, bool byNameWhenGone = false) const
    {
        Q_UNUSED(id);
        Q_UNUSED(byNameWhenGone);
        return DropScript(cls, owner, name, read);
    }
    // A text that drops the object of this id as it stood under an earlier
    // owner and name (before a rename), on a server where the earlier name may
    // still exist. The catalogue gives what the name alone does not (argument
    // types, a trigger's table).
    virtual QString DropRenamedScript(ObjectClass cls, const QString &id, const QString &owner, const QString &name,
        const CatalogueReader &read) const
    {
        Q_UNUSED(id);
        Q_UNUSED(read);
        return DropScript(cls, owner, name, nullptr);
    }
    // A text that drops the routine of this signature ("schema.name(types)", as
    // TextIdentityStatement gives it); empty where names alone identify objects.
    virtual QString DropSignatureScript(ObjectClass cls, const QString &signature) const
    {
        Q_UNUSED(cls);
        Q_UNUSED(signature);
        return QString();
    }
    // A text that drops a trigger of this name on the table as a trigger's text
    // writes it; empty where the name alone is enough (DropScript).
    virtual QString DropTriggerScript(const QString &name, const QString &table) const
    {
        Q_UNUSED(name);
        Q_UNUSED(table);
        return QString();
    }
    // The statements that prove a CREATE text (already under a temporary name)
    // on the server and leave nothing behind. dropScript drops the temporary
    // object. With timeoutSeconds the check fails instead of waiting longer on
    // the server (a lock another session holds).
    virtual QStringList CompileCheckStatements(
        const QString &createText, const QString &dropScript, int timeoutSeconds = 0) const = 0;
    // What puts the session back after CompileCheckStatements with a timeout
    // failed part-way; empty where nothing outlasts the check.
    virtual QString CompileCheckCleanup(int timeoutSeconds) const
    {
        Q_UNUSED(timeoutSeconds);
        return QString();
    }
    // Whether CompileCheckStatements uses its dropScript; where the check is
    // rolled back there is nothing to drop and the script need not be written.
    virtual bool CompileCheckDrops() const { return true; }
    // The statements that run a statement (a drop) in a transaction that is
    // rolled back: they fail as the statement would, and change nothing.
    virtual QStringList RehearsalStatements(const QString &statement) const = 0;
    // The statement whose one row names the object a CREATE text makes or
    // replaces, where the name alone does not identify it (PostgreSQL routines:
    // one name, several argument lists): field "id" (NULL when there is none)
    // and field "Signature", the object as the server writes it with its
    // argument types. The text is made under temporaryName in a transaction
    // that is rolled back, so that the server itself reads the argument types.
    // Empty where the name identifies the object (ObjectLookupStatement).
    virtual QString TextIdentityStatement(
        ObjectClass cls, const QString &createText, const QString &temporaryName) const
    {
        Q_UNUSED(cls);
        Q_UNUSED(createText);
        Q_UNUSED(temporaryName);
        return QString();
    }
    // One permission statement; value 0 revoke, 1 grant, 2 deny, 3 owner (no
    // statement). action 1 EXECUTE, 2 SELECT, 3 INSERT, 4 UPDATE, 5 DELETE, 6 REFERENCES.
    virtual QString PermissionStatement(
        int action, int value, const QString &objectName, const QString &grantee) const = 0;
    virtual bool SupportsDeny() const = 0;

    // --- Tables and permissions (unversioned objects, permission model) ---
    // Statements of the table object; ids and names arrive as sqlFMTOUT makes them.
    struct TableStatements
    {
        QString ListQuery; // fields "id", "name" (and "owner" where the kind has it), ordered by name
        QString DBQuery; // + id: fields "id", "name", "UserName"
        QString DBQueryByName; // + name [+ DBQueryByOwner + owner]: the same fields
        QString DBQueryByOwner;
        QString ParameterQuery1; // + id + ParameterQuery2: fields "ColName", "ColLength",
        QString ParameterQuery2; // "ColXprec", "ColScale", "ColNullable", "ColType"
    };
    virtual TableStatements TableObjectStatements() const = 0;
    // Finds an object by id (as it stands) for its permissions: fields
    // "ObjectName" and "OwnerName", the grantee that owns the object.
    virtual QString PermissionObjectStatement(const QString &id, ObjectClass cls) const = 0;
    // The object's name as permission statements write it, from that row.
    virtual QString PermissionObjectNameFromRow(const Recordset &row, ObjectClass cls) const = 0;
    // The same from a given owner and name.
    virtual QString PermissionObjectName(const QString &owner, const QString &name, ObjectClass cls) const = 0;
    // Grantees of the full form: roles (fields "RoleID", "RoleName") and users
    // ("UserID", "UserName"); a user may come once per role it belongs to.
    virtual QString PermissionRolesStatement() const = 0;
    virtual QString PermissionUsersStatement() const = 0;
    // Whether a role row of this id is listed; fixed roles are not.
    virtual bool PermissionRoleListed(qint64 roleId) const = 0;
    // One grantee's rights on the object: fields "Action", "ProtectType". May
    // fail when there are none.
    virtual QString GranteeRightsStatement(
        const QString &objectName, const QString &id, ObjectClass cls, const QString &grantee) const = 0;
    // Everybody's rights on the object, one grantee's rows together: fields
    // "Grantee", "Action", "ProtectType". May fail when there are none.
    virtual QString ObjectRightsStatement(const QString &objectName, const QString &id, ObjectClass cls) const = 0;
    // Field "Exists" is 1 for a grantee taken as a role in the quick form.
    virtual QString KnownGranteeStatement(const QString &grantee) const = 0;
    // Whether this right exists for objects of the class.
    virtual bool PermissionApplies(int action, ObjectClass cls) const = 0;
    // A grantee the quick form lists even without rights, because a new object
    // gives it rights by default: restating the list must take them away again.
    virtual QString DefaultGrantee() const { return QString(); }

    // --- Versioned objects (procedures, views, triggers, functions and their lists) ---
    struct VersionedStatements {
        // DBQueryStart + DBQueryByID + id, or + DBQueryByName + name + DBQueryByOwner +
        // owner (literals as sqlFMTOUT makes them): fields "id", "name", "UserName".
        QString DBQueryStart, DBQueryByName, DBQueryByOwner, DBQueryByID;
        // + id + ParameterQuery2: fields "ColName", "ColLength", "ColXprec", "ColScale",
        // "ColNullable", "ColType" in column order; empty where the type has none.
        QString ParameterQuery1, ParameterQuery2;
        // ExistsSQL1 + name + ExistsSQL2 tests for the object; DropSQL likewise drops it.
        QString ExistsSQL1, ExistsSQL2, DropSQL1, DropSQL2;
        // All objects of the type: fields "id", "name" (and "parent_obj", the table, for triggers).
        QString ListQuery;
        // The lookup by name with "#NAME#" in place of the name, where the kind has one.
        QString LookupQuery;
        // Triggers: + id gives fields "ISINSERT", "ISUPDATE", "ISDELETE", 1 when it fires on that event.
        QString TriggerEventsQuery;
    };
    virtual VersionedStatements VersionedObjectStatements(ObjectClass cls) const = 0;
    // Field "id" of the one object of the class that a name, as written after the
    // CREATE keywords of a text, names; no row when there is none.
    virtual QString ObjectLookupStatement(ObjectClass cls, const QString &nameAsWritten) const = 0;

    // --- Object operations (check-in, rename, rollback of versioned objects) ---
    // The name put into an object's CREATE text in place of the name it carries,
    // for an object of this owner and name.
    virtual QString NameForText(ObjectClass cls, const QString &owner, const QString &name) const = 0;
    // Whether source control takes the object's text as the server keeps it after
    // a change, rather than the text that was sent, so that both sides compare equal.
    virtual bool SourceControlTakesServerText() const = 0;
    // The form of a CREATE text that makes a new object and fails when one of
    // that name exists (a replacing CREATE would overwrite it silently).
    virtual QString CreatingText(const QString &createText) const = 0;

    // --- Parse-only check ---
    // The statement that switches a fresh connection to parse-only; empty when the
    // kind has none, and then ParseOnlyMissingText() is the check's error text.
    virtual QString ParseOnlyStatement() const = 0;
    virtual QString ParseOnlyMissingText() const { return QString(); }

    // --- Reading many objects at once (synchronisation) ---
    // One statement with the fields "Id" and "Text" for every object of the class,
    // each text exactly what ObjectTextStatement gives for that id; empty where
    // the kind reads texts one object at a time.
    virtual QString ObjectTextsStatement(ObjectClass cls) const
    {
        (void)cls;
        return QString();
    }

    // --- Generated scripts (the script generator) ---
    // The line that ends a batch; empty where each statement ends itself.
    virtual QString ScriptBatchSeparator() const { return QStringLiteral("GO"); }
    // Lines written before everything else.
    virtual QStringList ScriptPreamble() const { return {}; }
    // One statement as a script writes it, with the end mark the kind needs.
    virtual QString ScriptStatement(const QString &text) const { return text; }
    // A text of one statement per line, each line as ScriptStatement writes it.
    virtual QString ScriptStatementLines(const QString &text) const { return text; }
    // Fields "id" and "dependsOn": which of these objects (ids as DBID gives them)
    // need which other of them to exist first. Empty where the kind keeps the
    // order of the list.
    virtual QString ScriptDependencyStatement(const QStringList &ids) const
    {
        (void)ids;
        return QString();
    }
    // Fields "id" and "Text" of many objects at once, each object's rows
    // together and in order, their texts as ObjectTextStatement gives them.
    // Empty where the kind reads texts one by one.
    // Every routine's argument types where the server tells overloads apart:
    // fields "id" and "types". Empty where names alone identify objects.
    virtual QString ArgumentTypesStatement() const { return QString(); }
    virtual QString ScriptTextsStatement(const QStringList &ids) const
    {
        (void)ids;
        return QString();
    }

protected:
    // Splits "owner.name" at the first "." outside quoting (open and close may be
    // the same character; a doubled close inside stands for itself). The parts
    // stay as written.
    static QStringList SplitAtOwnerDot(const QString &name, QChar open, QChar close);
};

// Microsoft SQL Server, over ODBC; statements as the catalogue of sysobjects and
// sysusers wants them.
class SQLServerKind : public ServerKind
{
public:
    Id KindId() const override { return Id::SQLServer; }
    QString Name() const override { return QStringLiteral("SQLServer"); }
    QString DisplayName() const override { return QStringLiteral("Microsoft SQL Server"); }

    QString CreateConnectionString(const QString &server, const QString &database, const QString &userName,
        const QString &password, bool useOsLogin) const override;
    std::shared_ptr<SqlDriver> DefaultDriver() const override;
    QString MaintenanceDatabase() const override { return QStringLiteral("master"); }
    ConnectFailure ClassifyConnectError(const SqlError &error) const override;
    QString DatabaseListStatement() const override;
    Qt::CaseSensitivity NameCase() const override { return Qt::CaseInsensitive; }

    QString ObjectIDStatement(const QString &name, const QString &owner) const override;
    QString ObjectNameStatement(const QString &idLiteral) const override;
    QString ObjectOwnerStatement(const QString &id) const override;
    QString ObjectTextStatement(const QString &id, const QString &qualifiedName) const override;
    QString DatabaseUserNameStatement(const QString &loginLiteral) const override;
    QStringList FunctionProbeStatements() const override;

    QString QuoteIdentifier(const QString &name) const override;
    QString QuoteLiteral(const QString &text) const override;
    QString UnquoteName(const QString &written) const override;
    QString NameLengthRefusal(const QString &name) const override;

    QString FormatName(const QString &owner, const QString &name) const override;
    QStringList SplitName(const QString &name) const override;
    SQLKeywordPatterns CreatePatterns(ObjectClass cls) const override;
    QString ReplacingText(const QString &createText) const override;
    QString TemporaryName(const QDateTime &time, int number) const override;
    QString ReplaceObjectName(const SQLKeywordPatterns &keywords, const QString &text, const QString &newName,
        QString &oldName) const override;
    QString ExtractTableNameFromTrigger(const QString &text, const SQLKeywordPatterns &patterns) const override;

    QString DropScript(
        ObjectClass cls, const QString &owner, const QString &name, const CatalogueReader &read) const override;
    QStringList CompileCheckStatements(
        const QString &createText, const QString &dropScript, int timeoutSeconds = 0) const override;
    QString CompileCheckCleanup(int timeoutSeconds) const override;
    QStringList RehearsalStatements(const QString &statement) const override;
    QString PermissionStatement(
        int action, int value, const QString &objectName, const QString &grantee) const override;
    bool SupportsDeny() const override { return true; }

    // Tables and permissions
    TableStatements TableObjectStatements() const override;
    QString PermissionObjectStatement(const QString &id, ObjectClass cls) const override;
    QString PermissionObjectNameFromRow(const Recordset &row, ObjectClass cls) const override;
    QString PermissionObjectName(const QString &owner, const QString &name, ObjectClass cls) const override;
    QString PermissionRolesStatement() const override;
    QString PermissionUsersStatement() const override;
    bool PermissionRoleListed(qint64 roleId) const override;
    QString GranteeRightsStatement(
        const QString &objectName, const QString &id, ObjectClass cls, const QString &grantee) const override;
    QString ObjectRightsStatement(const QString &objectName, const QString &id, ObjectClass cls) const override;
    QString KnownGranteeStatement(const QString &grantee) const override;
    bool PermissionApplies(int action, ObjectClass cls) const override;

    // Versioned objects
    VersionedStatements VersionedObjectStatements(ObjectClass cls) const override;
    QString ObjectLookupStatement(ObjectClass cls, const QString &nameAsWritten) const override;

    // Object operations
    QString NameForText(ObjectClass cls, const QString &owner, const QString &name) const override;
    bool SourceControlTakesServerText() const override;
    QString CreatingText(const QString &createText) const override;

    QString ParseOnlyStatement() const override { return QStringLiteral("SET PARSEONLY ON"); }

    // The owner/name split of a bracketed or dotted name: the first "." outside
    // brackets; both parts unquoted (UnquoteBracketed).
    static QStringList ExtractOwnerAndItemName(const QString &name);
    // "[" + owner + "].[" + name + "]", or "[" + name + "]" without owner; a "]"
    // inside is doubled.
    static QString Bracketed(const QString &owner, const QString &name);
    static QString BracketIdent(const QString &name);
    // "[a]]b]" gives "a]b"; a part that is not one bracketed name loses its brackets.
    static QString UnquoteBracketed(const QString &written);
};

// PostgreSQL over libpq. Owners are schemas, ids are oids; texts come from the
// server's own definition functions, so the server's canonical form is what
// goes to source control.
class PostgreSQLKind : public ServerKind
{
public:
    Id KindId() const override { return Id::PostgreSQL; }
    QString Name() const override { return QStringLiteral("PostgreSQL"); }
    QString DisplayName() const override { return QStringLiteral("PostgreSQL"); }

    // server: "host", "host:port", a socket folder, or a socket folder ":port".
    // useOsLogin: the operating-system login, with no user name or password sent.
    QString CreateConnectionString(const QString &server, const QString &database, const QString &userName,
        const QString &password, bool useOsLogin) const override;
    std::shared_ptr<SqlDriver> DefaultDriver() const override;
    QString MaintenanceDatabase() const override { return QStringLiteral("postgres"); }
    ConnectFailure ClassifyConnectError(const SqlError &error) const override;
    QString DatabaseListStatement() const override;
    Qt::CaseSensitivity NameCase() const override { return Qt::CaseSensitive; }

    QString ObjectIDStatement(const QString &name, const QString &owner) const override;
    QString ObjectNameStatement(const QString &idLiteral) const override;
    QString ObjectOwnerStatement(const QString &id) const override;
    QString ObjectTextStatement(const QString &id, const QString &qualifiedName) const override;
    bool ObjectTextNeedsName() const override { return false; }
    QString ObjectTextsStatement(ObjectClass cls) const override;
    QString DatabaseUserNameStatement(const QString &loginLiteral) const override;
    QStringList FunctionProbeStatements() const override;

    QString QuoteIdentifier(const QString &name) const override;
    QString QuoteLiteral(const QString &text) const override;
    QString UnquoteName(const QString &written) const override;
    QString NameLengthRefusal(const QString &name) const override;

    QString FormatName(const QString &owner, const QString &name) const override;
    QStringList SplitName(const QString &name) const override;
    SQLKeywordPatterns CreatePatterns(ObjectClass cls) const override;
    QString ReplacingText(const QString &createText) const override;
    QString TemporaryName(const QDateTime &time, int number) const override;
    QString ReplaceObjectName(const SQLKeywordPatterns &keywords, const QString &text, const QString &newName,
        QString &oldName) const override;
    QString ExtractTableNameFromTrigger(const QString &text, const SQLKeywordPatterns &patterns) const override;

    QString DropScript(
        ObjectClass cls, const QString &owner, const QString &name, const CatalogueReader &read) const override;
    QString DropTriggerScript(const QString &name, const QString &table) const override;
    QString DropSignatureScript(ObjectClass cls, const QString &signature) const override;
    QString DropRenamedScript(ObjectClass cls, const QString &id, const QString &owner, const QString &name,
        const CatalogueReader &read) const override;
    QString DropObjectScript(ObjectClass cls, const QString &id, const QString &owner, const QString &name,
        const CatalogueReader &read, bool byNameWhenGone = false) const override;
    QStringList CompileCheckStatements(
        const QString &createText, const QString &dropScript, int timeoutSeconds = 0) const override;
    bool CompileCheckDrops() const override { return false; }
    QStringList RehearsalStatements(const QString &statement) const override;
    QString TextIdentityStatement(
        ObjectClass cls, const QString &createText, const QString &temporaryName) const override;
    QString PermissionStatement(
        int action, int value, const QString &objectName, const QString &grantee) const override;
    bool SupportsDeny() const override { return false; }

    // Tables and permissions
    TableStatements TableObjectStatements() const override;
    QString PermissionObjectStatement(const QString &id, ObjectClass cls) const override;
    QString PermissionObjectNameFromRow(const Recordset &row, ObjectClass cls) const override;
    QString PermissionObjectName(const QString &owner, const QString &name, ObjectClass cls) const override;
    QString PermissionRolesStatement() const override;
    QString PermissionUsersStatement() const override;
    bool PermissionRoleListed(qint64 roleId) const override;
    QString GranteeRightsStatement(
        const QString &objectName, const QString &id, ObjectClass cls, const QString &grantee) const override;
    QString ObjectRightsStatement(const QString &objectName, const QString &id, ObjectClass cls) const override;
    QString KnownGranteeStatement(const QString &grantee) const override;
    bool PermissionApplies(int action, ObjectClass cls) const override;
    QString DefaultGrantee() const override { return QStringLiteral("PUBLIC"); }

    // Versioned objects
    VersionedStatements VersionedObjectStatements(ObjectClass cls) const override;
    QString ObjectLookupStatement(ObjectClass cls, const QString &nameAsWritten) const override;

    // Object operations
    QString NameForText(ObjectClass cls, const QString &owner, const QString &name) const override;
    bool SourceControlTakesServerText() const override;
    QString CreatingText(const QString &createText) const override;

    QString ParseOnlyStatement() const override { return QString(); }
    QString ParseOnlyMissingText() const override;

    // Generated scripts
    QString ScriptBatchSeparator() const override { return QString(); }
    QStringList ScriptPreamble() const override;
    QString ScriptStatement(const QString &text) const override;
    QString ScriptStatementLines(const QString &text) const override;
    QString ScriptDependencyStatement(const QStringList &ids) const override;
    QString ScriptTextsStatement(const QStringList &ids) const override;
    QString ArgumentTypesStatement() const override;

    // An identifier as PostgreSQL prints it: quoted only when it must be.
    static QString QuoteIdent(const QString &identifier);
    // A name as PostgreSQL reads it: quoted parts kept, unquoted ones folded to
    // lower case, ASCII letters only, as the server does.
    static QString FoldIdent(const QString &identifier);
    // Column rows of a table or view: + oid + AttributeColumnsQuery2.
    static QString AttributeColumnsQuery1();
    static QString AttributeColumnsQuery2() { return QStringLiteral(" ORDER BY a.attnum"); }
};
