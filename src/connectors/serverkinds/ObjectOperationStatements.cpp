#include "ServerKind.h"
#include "StatementParts.h"

using namespace StatementParts;

// What the object operations (check-in, rename, rollback) ask of the kinds.

QString SQLServerKind::NameForText(ObjectClass, const QString &owner, const QString &name) const
{
    return QuoteIdentifier(owner) + QLatin1Char('.') + QuoteIdentifier(name);
}

bool SQLServerKind::SourceControlTakesServerText() const
{
    return false;
}

QString PostgreSQLKind::NameForText(ObjectClass cls, const QString &owner, const QString &name) const
{
    // A trigger takes its schema from its table and cannot be named with one.
    if (cls == ObjectClass::Trigger || owner.isEmpty())
        return QuoteIdent(name);
    return QuoteIdent(owner) + QLatin1Char('.') + QuoteIdent(name);
}

bool PostgreSQLKind::SourceControlTakesServerText() const
{
    // The server rewrites headers and deparses views: only its own text
    // compares equal afterwards.
    return true;
}

QString SQLServerKind::CreatingText(const QString &createText) const
{
    return createText;
}

QString PostgreSQLKind::CreatingText(const QString &createText) const
{
    // Texts from the server say CREATE OR REPLACE: take the OR REPLACE out of
    // the first CREATE, so that an object of the name is not overwritten.
    const SQLTokens tokens = SplitSQLTokens(createText, false);
    for (qsizetype i = 0; i < tokens.size(); ++i) {
        if (tokens[i].Kind != SQLTokenKind::Word || tokens[i].Text.toUpper() != QLatin1String("CREATE"))
            continue;
        if (i + 2 >= tokens.size() || tokens[i + 1].Text.toUpper() != QLatin1String("OR")
            || tokens[i + 2].Text.toUpper() != QLatin1String("REPLACE"))
            return createText;
        const qsizetype from = tokens[i].Start - 1 + tokens[i].Text.size();
        const qsizetype to = tokens[i + 2].Start - 1 + tokens[i + 2].Text.size();
        return createText.left(from) + createText.mid(to);
    }
    return createText;
}

QStringList SQLServerKind::RehearsalStatements(const QString &statement) const
{
    // A failing DROP ends only its own statement: the rollback still runs.
    return { QStringLiteral("BEGIN TRANSACTION\r\n") + statement + QStringLiteral("\r\nROLLBACK TRANSACTION") };
}

QStringList PostgreSQLKind::RehearsalStatements(const QString &statement) const
{
    return { QStringLiteral("BEGIN; ") + statement + QStringLiteral("\n;ROLLBACK") };
}

namespace
{

bool IsRoutine(ObjectClass cls)
{
    return cls == ObjectClass::StoredProcedure || cls == ObjectClass::UserDefinedFunction;
}

} // namespace

QString PostgreSQLKind::DropObjectScript(ObjectClass cls, const QString &id, const QString &owner, const QString &name,
    const CatalogueReader &read, bool byNameWhenGone) const
{
    bool numeric = false;
    const qlonglong oid = id.trimmed().toLongLong(&numeric);
    if (!IsRoutine(cls) || !numeric || !read)
        return DropScript(cls, owner, name, read);
    // The one routine of this oid, with its argument types. When it is gone
    // there is nothing to drop here: by its name alone the server would take
    // the one sibling overload that is left.
    const auto rs = read(QStringLiteral("SELECT format('DROP %s IF EXISTS %I.%I(%s);', CASE p.prokind WHEN 'p' THEN "
                                        "'PROCEDURE' ELSE 'FUNCTION' END, n.nspname, p.proname, "
                                        "pg_catalog.pg_get_function_identity_arguments(p.oid)) AS \"Script\" FROM "
                                        "pg_catalog.pg_proc p JOIN pg_catalog.pg_namespace n ON n.oid = p.pronamespace "
                                        "WHERE p.oid = %1 AND p.prokind IN ('f','p')")
                             .arg(oid < 0 || oid > 4294967295LL ? QStringLiteral("NULL") : QString::number(oid)));
    if (rs && !rs->Eof())
        return rs->FieldText(QStringLiteral("Script"));
    return byNameWhenGone ? DropScript(cls, owner, name, nullptr) : QString();
}

QString PostgreSQLKind::DropSignatureScript(ObjectClass cls, const QString &signature) const
{
    if (!IsRoutine(cls) || signature.isEmpty())
        return QString();
    return (cls == ObjectClass::StoredProcedure ? QStringLiteral("DROP PROCEDURE IF EXISTS ")
                                                : QStringLiteral("DROP FUNCTION IF EXISTS "))
        + signature + QLatin1Char(';');
}

QString PostgreSQLKind::DropTriggerScript(const QString &name, const QString &table) const
{
    if (name.isEmpty() || table.isEmpty())
        return QString();
    return QStringLiteral("DROP TRIGGER IF EXISTS ") + QuoteIdent(name) + QStringLiteral(" ON ") + table
        + QLatin1Char(';');
}

QString PostgreSQLKind::DropRenamedScript(
    ObjectClass cls, const QString &id, const QString &owner, const QString &name, const CatalogueReader &read) const
{
    bool numeric = false;
    const qlonglong oid = id.trimmed().toLongLong(&numeric);
    const QString key = numeric && oid >= 0 && oid <= 4294967295LL ? QString::number(oid) : QStringLiteral("NULL");
    QString statement;
    if (IsRoutine(cls))
        statement = QStringLiteral("SELECT format('DROP %s IF EXISTS %I.%I(%s);', CASE p.prokind WHEN 'p' THEN "
                                   "'PROCEDURE' ELSE 'FUNCTION' END, %1::text, %2::text, "
                                   "pg_catalog.pg_get_function_identity_arguments(p.oid)) AS \"Script\" FROM "
                                   "pg_catalog.pg_proc p WHERE p.oid = %3 AND p.prokind IN ('f','p')");
    else if (cls == ObjectClass::Trigger)
        statement = QStringLiteral("SELECT format('DROP TRIGGER IF EXISTS %I ON %I.%I;', %2::text, n.nspname, "
                                   "c.relname) AS \"Script\" FROM pg_catalog.pg_trigger t JOIN pg_catalog.pg_class c "
                                   "ON c.oid = t.tgrelid JOIN pg_catalog.pg_namespace n ON n.oid = c.relnamespace "
                                   "WHERE t.oid = %3 AND %1::text IS NOT NULL");
    if (!statement.isEmpty() && read) {
        if (const auto rs = read(statement.arg(Quoted(owner), Quoted(name), key)); rs && !rs->Eof())
            return rs->FieldText(QStringLiteral("Script"));
    }
    // Gone from this server too: the name alone, which the server refuses where
    // overloads share it rather than dropping one of them.
    return DropScript(cls, owner, name, nullptr);
}

QString PostgreSQLKind::TextIdentityStatement(
    ObjectClass cls, const QString &createText, const QString &temporaryName) const
{
    if (!IsRoutine(cls))
        return QString();
    const SQLKeywordPatterns keywords = CreatePatterns(cls);
    QString written;
    if (ReplaceObjectName(keywords, createText, temporaryName, written).isEmpty())
        return QString();
    const QStringList parts = SplitName(written);
    // The throw-away routine goes where the text puts its own, so that it
    // lands in the same schema (and one the user may create in).
    const QString probeName
        = parts.value(0).isEmpty() ? temporaryName : QuoteIdent(parts.value(0)) + QLatin1Char('.') + temporaryName;
    const QString probe = ReplaceObjectName(keywords, createText, probeName, written);
    return QStringLiteral("BEGIN; ") + probe
        + QStringLiteral(
            "\n;SELECT (SELECT p.oid::bigint FROM pg_catalog.pg_proc p WHERE p.pronamespace = "
            "t.pronamespace AND p.proname = %1 AND p.proargtypes = t.proargtypes AND p.prokind = t.prokind) "
            "AS id, format('%I.%I(%s)', n.nspname, %1::text, pg_catalog.oidvectortypes(t.proargtypes)) AS "
            "\"Signature\" FROM pg_catalog.pg_proc t JOIN pg_catalog.pg_namespace n ON n.oid = "
            "t.pronamespace WHERE t.proname = %2; ROLLBACK")
              .arg(Quoted(parts.value(1)), Quoted(temporaryName));
}
