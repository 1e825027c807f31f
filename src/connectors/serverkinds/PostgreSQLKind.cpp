#include "ServerKind.h"
#include "StatementParts.h"

#include "driver/PgDriver.h"

#include <QRegularExpression>

using namespace StatementParts;

namespace
{

// Every programmable object and table with id, name and owner (schema). Oids
// come from one counter, so within a database they do not collide in practice
// across the three catalogues. With an id the filter sits inside each branch on
// the oid itself, so that the catalogue's oid indexes serve the lookup.
QString objectsUnion(QString id = QString())
{
    // An oid is unsigned 32-bit; a number outside that names no object.
    if (!id.isEmpty() && (id.toLongLong() < 0 || id.toLongLong() > 4294967295LL))
        id = QStringLiteral("NULL");
    const QString p = id.isEmpty() ? QString() : QStringLiteral(" AND p.oid = ") + id;
    const QString c = id.isEmpty() ? QString() : QStringLiteral(" AND c.oid = ") + id;
    const QString t = id.isEmpty() ? QString() : QStringLiteral(" AND t.oid = ") + id;
    return QStringLiteral("(SELECT p.oid::bigint AS id, p.proname AS name, n.nspname AS owner, n.nspname AS nspname "
                          "FROM pg_catalog.pg_proc p JOIN pg_catalog.pg_namespace n ON n.oid = p.pronamespace "
                          "WHERE p.prokind IN ('f','p')%1 "
                          "UNION ALL SELECT c.oid::bigint, c.relname, n.nspname, n.nspname "
                          "FROM pg_catalog.pg_class c JOIN pg_catalog.pg_namespace n ON n.oid = c.relnamespace "
                          "WHERE c.relkind IN ('v','r','p')%2 "
                          "UNION ALL SELECT t.oid::bigint, t.tgname, n.nspname, n.nspname "
                          "FROM pg_catalog.pg_trigger t JOIN pg_catalog.pg_class c ON c.oid = t.tgrelid "
                          "JOIN pg_catalog.pg_namespace n ON n.oid = c.relnamespace WHERE NOT t.tgisinternal%3) o")
        .arg(p, c, t);
}

} // namespace

QString PostgreSQLKind::QuoteIdent(const QString &identifier)
{
    static const QRegularExpression plain(QStringLiteral("^[a-z_][a-z0-9_$]*$"));
    if (plain.match(identifier).hasMatch())
        return identifier;
    QString doubled = identifier;
    doubled.replace(QLatin1Char('"'), QLatin1String("\"\""));
    return QLatin1Char('"') + doubled + QLatin1Char('"');
}

QString PostgreSQLKind::FoldIdent(const QString &identifier)
{
    const QString t = identifier.trimmed();
    if (t.size() >= 2 && t.startsWith(QLatin1Char('"')) && t.endsWith(QLatin1Char('"'))) {
        QString inner = t.mid(1, t.size() - 2);
        inner.replace(QLatin1String("\"\""), QLatin1String("\""));
        return inner;
    }
    // The server folds A to Z only, whatever the database's encoding.
    QString folded = t;
    for (QChar &c : folded) {
        if (c >= QLatin1Char('A') && c <= QLatin1Char('Z'))
            c = QChar(c.unicode() + ('a' - 'A'));
    }
    return folded;
}

QString PostgreSQLKind::QuoteIdentifier(const QString &name) const
{
    return QuoteIdent(name);
}

QString PostgreSQLKind::QuoteLiteral(const QString &text) const
{
    // standard_conforming_strings is on: a backslash is an ordinary character.
    return Quoted(text);
}

QString PostgreSQLKind::UnquoteName(const QString &written) const
{
    // A name bracketed as SQL Server writes it keeps what stands inside.
    const QString t = written.trimmed();
    if (t.size() >= 2 && t.startsWith(QLatin1Char('[')) && t.endsWith(QLatin1Char(']')))
        return SQLServerKind::UnquoteBracketed(t);
    return FoldIdent(t);
}

QString PostgreSQLKind::NameLengthRefusal(const QString &name) const
{
    // NAMEDATALEN - 1; a longer name would be cut short by the server.
    constexpr int limit = 63;
    const qsizetype bytes = name.toUtf8().size();
    if (bytes <= limit)
        return QString();
    return QStringLiteral("The name '%1' is %2 bytes long. PostgreSQL keeps names of at most %3 bytes.")
        .arg(name)
        .arg(bytes)
        .arg(limit);
}

QString PostgreSQLKind::CreateConnectionString(const QString &server, const QString &database, const QString &userName,
    const QString &password, bool useOsLogin) const
{
    QString host = server.trimmed();
    QString port;
    static const QRegularExpression withPort(QStringLiteral("^(.*):(\\d+)$"));
    const QRegularExpressionMatch m = withPort.match(host);
    if (m.hasMatch()) {
        host = m.captured(1);
        port = m.captured(2);
    }
    QStringList parts;
    if (!host.isEmpty())
        parts << QStringLiteral("host=") + PgDriver::QuoteConnInfoValue(host);
    if (!port.isEmpty())
        parts << QStringLiteral("port=") + port;
    if (!database.isEmpty())
        parts << QStringLiteral("dbname=") + PgDriver::QuoteConnInfoValue(database);
    if (!useOsLogin) {
        parts << QStringLiteral("user=") + PgDriver::QuoteConnInfoValue(userName);
        parts << QStringLiteral("password=") + PgDriver::QuoteConnInfoValue(password);
    }
    parts << QStringLiteral("connect_timeout=10") << QStringLiteral("application_name=KORVO");
    return parts.join(QLatin1Char(' '));
}

std::shared_ptr<SqlDriver> PostgreSQLKind::DefaultDriver() const
{
    return std::make_shared<PgDriver>();
}

ServerKind::ConnectFailure PostgreSQLKind::ClassifyConnectError(const SqlError &error) const
{
    const QString &text = error.Description;
    static const QRegularExpression database(QStringLiteral("database \".*\" does not exist"));
    static const QRegularExpression role(QStringLiteral("role \".*\" does not exist"));
    if (error.State == QLatin1String("3D000") || database.match(text).hasMatch())
        return ConnectFailure::DatabaseMissing;
    if (error.State == QLatin1String("28P01") || error.State == QLatin1String("28000")
        || text.contains(QLatin1String("password authentication failed"))
        || text.contains(QLatin1String("no password supplied")) || text.contains(QLatin1String("authentication failed"))
        || role.match(text).hasMatch())
        return ConnectFailure::LoginFailed;
    if (text.contains(QLatin1String("could not connect")) || text.contains(QLatin1String("Connection refused"))
        || text.contains(QLatin1String("No such file or directory"))
        || text.contains(QLatin1String("could not translate host name")) || text.contains(QLatin1String("timeout")))
        return ConnectFailure::ServerNotFound;
    return ConnectFailure::Other;
}

QString PostgreSQLKind::DatabaseListStatement() const
{
    return QStringLiteral("SELECT datname AS name FROM pg_catalog.pg_database WHERE NOT datistemplate AND datallowconn "
                          "ORDER BY 1");
}

QString PostgreSQLKind::ObjectIDStatement(const QString &name, const QString &owner) const
{
    QString sql = QStringLiteral("SELECT o.id AS id FROM ") + objectsUnion() + QStringLiteral(" WHERE o.name = ")
        + Quoted(UnquoteName(name));
    if (!owner.isEmpty())
        sql += QStringLiteral(" AND o.owner = ") + Quoted(UnquoteName(owner));
    else
        sql += QStringLiteral(" AND ")
            + PgUserSchemas().replace(QLatin1String("n.nspname"), QLatin1String("o.nspname"));
    return sql;
}

QString PostgreSQLKind::ObjectNameStatement(const QString &idLiteral) const
{
    return QStringLiteral("SELECT o.name AS \"ObjectName\", o.owner AS \"UserName\" FROM ")
        + objectsUnion(NumberOrNull(idLiteral));
}

QString PostgreSQLKind::ObjectOwnerStatement(const QString &id) const
{
    return QStringLiteral("SELECT o.owner AS name FROM ") + objectsUnion(NumberOrNull(id));
}

QString PostgreSQLKind::ObjectTextStatement(const QString &id, const QString &) const
{
    const QString oid = NumberOrNull(id);
    // With only pg_catalog on the search path every name in the text comes out
    // qualified, whatever the reader's own path.
    return QStringLiteral("BEGIN; SET LOCAL search_path = pg_catalog; "
                          "SELECT pg_get_functiondef(p.oid) AS \"Text\" FROM pg_proc p WHERE p.oid = %1 "
                          "AND p.prokind IN ('f','p') "
                          "UNION ALL SELECT format('CREATE OR REPLACE VIEW %I.%I AS', n.nspname, c.relname) || E'\\n' "
                          "|| pg_get_viewdef(c.oid, true) FROM pg_class c JOIN pg_namespace n ON n.oid = "
                          "c.relnamespace WHERE c.oid = %1 AND c.relkind = 'v' "
                          "UNION ALL SELECT pg_get_triggerdef(t.oid, true) FROM pg_trigger t WHERE t.oid = %1 "
                          "AND NOT t.tgisinternal; COMMIT")
        .arg(oid);
}

QString PostgreSQLKind::ObjectTextsStatement(ObjectClass cls) const
{
    // The expressions of ObjectTextStatement, over the whole class.
    QString select;
    switch (cls) {
    case ObjectClass::StoredProcedure:
    case ObjectClass::UserDefinedFunction:
        select = QStringLiteral("SELECT p.oid::bigint AS \"Id\", pg_get_functiondef(p.oid) AS \"Text\" FROM pg_proc p "
                                "WHERE p.prokind = '%1'")
                     .arg(cls == ObjectClass::StoredProcedure ? QLatin1Char('p') : QLatin1Char('f'));
        break;
    case ObjectClass::View:
        select = QStringLiteral("SELECT c.oid::bigint AS \"Id\", format('CREATE OR REPLACE VIEW %I.%I AS', n.nspname, "
                                "c.relname) || E'\\n' || pg_get_viewdef(c.oid, true) AS \"Text\" FROM pg_class c "
                                "JOIN pg_namespace n ON n.oid = c.relnamespace WHERE c.relkind = 'v' AND n.nspname "
                                "NOT IN ('pg_catalog', 'information_schema')");
        break;
    case ObjectClass::Trigger:
        select = QStringLiteral("SELECT t.oid::bigint AS \"Id\", pg_get_triggerdef(t.oid, true) AS \"Text\" FROM "
                                "pg_trigger t WHERE NOT t.tgisinternal");
        break;
    default:
        return QString();
    }
    return QStringLiteral("BEGIN; SET LOCAL search_path = pg_catalog; ") + select + QStringLiteral("; COMMIT");
}

QString PostgreSQLKind::DatabaseUserNameStatement(const QString &) const
{
    return QStringLiteral("SELECT current_schema() AS \"DatabaseUserName\"");
}

QStringList PostgreSQLKind::FunctionProbeStatements() const
{
    return { QStringLiteral("CREATE FUNCTION udfcheck_sql_server_version() RETURNS integer LANGUAGE sql AS 'SELECT 1'"),
        QStringLiteral("DROP FUNCTION udfcheck_sql_server_version()") };
}

QString PostgreSQLKind::FormatName(const QString &owner, const QString &name) const
{
    return owner.isEmpty() ? QuoteIdent(name) : QuoteIdent(owner) + QLatin1Char('.') + QuoteIdent(name);
}

QStringList PostgreSQLKind::SplitName(const QString &name) const
{
    // Brackets mean nothing here, but names may come from texts of the other kind.
    QStringList parts = SplitAtOwnerDot(name, QLatin1Char('"'), QLatin1Char('"'));
    for (QString &part : parts)
        part = UnquoteName(part);
    return parts;
}

SQLKeywordPatterns PostgreSQLKind::CreatePatterns(ObjectClass cls) const
{
    switch (cls) {
    case ObjectClass::StoredProcedure:
        return { { "CREATE", "PROCEDURE" }, { "CREATE", "OR", "REPLACE", "PROCEDURE" } };
    case ObjectClass::View:
        return { { "CREATE", "VIEW" }, { "CREATE", "OR", "REPLACE", "VIEW" } };
    case ObjectClass::Trigger:
        return { { "CREATE", "TRIGGER" }, { "CREATE", "OR", "REPLACE", "TRIGGER" },
            { "CREATE", "CONSTRAINT", "TRIGGER" } };
    case ObjectClass::UserDefinedFunction:
        return { { "CREATE", "FUNCTION" }, { "CREATE", "OR", "REPLACE", "FUNCTION" } };
    case ObjectClass::Table:
        return { { "CREATE", "TABLE" } };
    }
    return {};
}

QString PostgreSQLKind::ReplacingText(const QString &createText) const
{
    const SQLTokens tokens = SplitSQLTokens(createText, false);
    for (qsizetype i = 0; i < tokens.size(); ++i) {
        if (tokens[i].Kind != SQLTokenKind::Word || tokens[i].Text.toUpper() != QLatin1String("CREATE"))
            continue;
        const QString next = i + 1 < tokens.size() ? tokens[i + 1].Text.toUpper() : QString();
        // Already replacing; or a kind of object that has no replacing form,
        // whose CREATE then fails honestly when the object exists.
        if (next == QLatin1String("OR") || next == QLatin1String("CONSTRAINT") || next == QLatin1String("TABLE")
            || next == QLatin1String("MATERIALIZED"))
            return createText;
        return ReplaceKeyword(createText, QStringLiteral("CREATE"), QStringLiteral("CREATE OR REPLACE"));
    }
    return QString();
}

QString PostgreSQLKind::TemporaryName(const QDateTime &time, int number) const
{
    return QStringLiteral("sptmp_") + time.toString(QStringLiteral("yyyyMMddhhmmss")) + QLatin1Char('_')
        + QString::number(number);
}

QString PostgreSQLKind::ReplaceObjectName(
    const SQLKeywordPatterns &keywords, const QString &text, const QString &newName, QString &oldName) const
{
    // A function's header glues its parameter list to the name: keep the list.
    const auto [start, length] = NameSpanAfterPattern(keywords, text, true);
    if (start == 0) {
        oldName.clear();
        return QString();
    }
    oldName = text.mid(start - 1, length);
    return text.left(start - 1) + newName + text.mid(start - 1 + length);
}

QString PostgreSQLKind::ExtractTableNameFromTrigger(const QString &text, const SQLKeywordPatterns &patterns) const
{
    // The events stand between the name and ON: take the first ON after the name.
    const auto [start, length] = NameSpanAfterPattern(patterns, text, true);
    if (start == 0)
        return QString();
    const SQLTokens tokens = SplitSQLTokens(text, false);
    for (qsizetype i = 0; i + 1 < tokens.size(); ++i) {
        const SQLToken &t = tokens[i];
        if (t.Start < start + length || t.Kind != SQLTokenKind::Word || t.Text.toUpper() != QLatin1String("ON"))
            continue;
        SQLKeywordPatterns on { { t.Text } };
        const int from = tokens[i].Start - 1;
        return ExtractNameAfterPattern(on, text.mid(from));
    }
    return QString();
}

QString PostgreSQLKind::DropScript(
    ObjectClass cls, const QString &owner, const QString &name, const CatalogueReader &read) const
{
    // Owner and name arrive as the catalogue holds them, not folded again.
    const QString schemaTest = owner.isEmpty() ? QStringLiteral("n.nspname = current_schema()")
                                               : QStringLiteral("n.nspname = ") + Quoted(owner);
    const QString qualified = FormatName(owner, name);
    auto scripts = [&](const QString &sql) {
        QStringList out;
        if (read) {
            if (const auto rs = read(sql)) {
                for (; !rs->Eof(); rs->MoveNext())
                    out << rs->FieldText(QStringLiteral("Script"));
            }
        }
        return out.join(QStringLiteral("\r\n"));
    };
    switch (cls) {
    case ObjectClass::StoredProcedure:
    case ObjectClass::UserDefinedFunction: {
        const QString found = scripts(
            QStringLiteral("SELECT format('DROP %s IF EXISTS %I.%I(%s);', CASE p.prokind WHEN 'p' THEN 'PROCEDURE' "
                           "ELSE 'FUNCTION' END, n.nspname, p.proname, pg_get_function_identity_arguments(p.oid)) AS "
                           "\"Script\" FROM pg_catalog.pg_proc p JOIN pg_catalog.pg_namespace n ON n.oid = "
                           "p.pronamespace WHERE p.prokind IN ('f','p') AND p.proname = %1 AND %2 ORDER BY p.oid")
                .arg(Quoted(name), schemaTest));
        if (!found.isEmpty())
            return found;
        return (cls == ObjectClass::StoredProcedure ? QStringLiteral("DROP PROCEDURE IF EXISTS ")
                                                    : QStringLiteral("DROP FUNCTION IF EXISTS "))
            + qualified + QLatin1Char(';');
    }
    case ObjectClass::View:
        return QStringLiteral("DROP VIEW IF EXISTS ") + qualified + QLatin1Char(';');
    case ObjectClass::Table:
        return QStringLiteral("DROP TABLE IF EXISTS ") + qualified + QLatin1Char(';');
    case ObjectClass::Trigger:
        // A trigger is dropped from its table; without one there is nothing to drop.
        return scripts(QStringLiteral("SELECT format('DROP TRIGGER IF EXISTS %I ON %I.%I;', t.tgname, n.nspname, "
                                      "c.relname) AS \"Script\" FROM pg_catalog.pg_trigger t JOIN pg_catalog.pg_class "
                                      "c ON c.oid = t.tgrelid JOIN pg_catalog.pg_namespace n ON n.oid = "
                                      "c.relnamespace WHERE NOT t.tgisinternal AND t.tgname = %1 AND %2")
                           .arg(Quoted(name), schemaTest));
    }
    return QString();
}

QStringList PostgreSQLKind::CompileCheckStatements(const QString &createText, const QString &, int timeoutSeconds) const
{
    // Created and rolled back: nothing stays, and the line numbers of errors
    // still match the text (BEGIN, and the timeout that ends with the
    // transaction, stand on its first line).
    const QString timeout = timeoutSeconds > 0
        ? QStringLiteral("SET LOCAL statement_timeout = %1; ").arg(qint64(timeoutSeconds) * 1000)
        : QString();
    return { QStringLiteral("BEGIN; ") + timeout + createText + QStringLiteral("\n;ROLLBACK") };
}

QString PostgreSQLKind::PermissionStatement(
    int action, int value, const QString &objectName, const QString &grantee) const
{
    static const char *const actions[] = { "EXECUTE", "SELECT", "INSERT", "UPDATE", "DELETE", "REFERENCES" };
    if (action < 1 || action > 6 || (value != 0 && value != 1))
        return QString();
    const QString who = PgIsPublic(grantee) ? QStringLiteral("PUBLIC") : QuoteIdent(grantee);
    if (value == 0)
        return QStringLiteral("REVOKE ") + QLatin1String(actions[action - 1]) + QStringLiteral(" ON ") + objectName
            + QStringLiteral(" FROM ") + who;
    return QStringLiteral("GRANT ") + QLatin1String(actions[action - 1]) + QStringLiteral(" ON ") + objectName
        + QStringLiteral(" TO ") + who;
}

QString PostgreSQLKind::ParseOnlyMissingText() const
{
    return QStringLiteral("PostgreSQL has no parse-only mode. Could not parse query");
}

QString PostgreSQLKind::AttributeColumnsQuery1()
{
    // The type name carries its size; the size fields stay NULL.
    return QStringLiteral(
        "SELECT a.attname::text AS \"ColName\", NULL::int AS \"ColLength\", NULL::int AS \"ColXprec\", NULL::int "
        "AS \"ColScale\", CASE WHEN a.attnotnull THEN 0 ELSE 1 END AS \"ColNullable\", "
        "pg_catalog.format_type(a.atttypid, a.atttypmod) AS \"ColType\" FROM pg_catalog.pg_attribute a WHERE "
        "a.attnum > 0 AND NOT a.attisdropped AND a.attrelid::bigint = ");
}
