#include "ServerKind.h"

#include <QRegularExpression>

QStringList PostgreSQLKind::ScriptPreamble() const
{
    // Functions may name objects the script makes later on.
    return { QStringLiteral("SET check_function_bodies = off;") };
}

QString PostgreSQLKind::ScriptStatement(const QString &text) const
{
    qsizetype end = text.size();
    while (end > 0 && text.at(end - 1).isSpace())
        --end;
    if (end == 0 || text.at(end - 1) == QLatin1Char(';'))
        return text;
    // A trailing line comment would swallow the semicolon.
    const SQLTokens tokens = SplitSQLTokens(text.left(end), false);
    const bool lineComment = !tokens.isEmpty() && tokens.last().Kind == SQLTokenKind::LineComment
        && tokens.last().Start - 1 + tokens.last().Text.size() >= end;
    return text.left(end) + (lineComment ? QStringLiteral("\r\n;") : QStringLiteral(";")) + text.mid(end);
}

QString PostgreSQLKind::ScriptStatementLines(const QString &text) const
{
    QStringList lines = text.split(QLatin1Char('\n'));
    for (QString &line : lines) {
        const bool cr = line.endsWith(QLatin1Char('\r'));
        const QString statement = cr ? line.chopped(1) : line;
        line = ScriptStatement(statement) + (cr ? QStringLiteral("\r") : QString());
    }
    return lines.join(QLatin1Char('\n'));
}

namespace
{

// The ids that are oids, as the body of an oid[] literal.
QString OidList(const QStringList &ids)
{
    QStringList numbers;
    static const QRegularExpression digits(QStringLiteral("^[0-9]+$"));
    for (const QString &id : ids) {
        if (digits.match(id).hasMatch())
            numbers.append(id);
    }
    return numbers.join(QLatin1Char(','));
}

} // namespace

QString PostgreSQLKind::ArgumentTypesStatement() const
{
    return QStringLiteral("SELECT p.oid::bigint AS id, pg_catalog.oidvectortypes(p.proargtypes) AS types FROM "
                          "pg_catalog.pg_proc p WHERE p.prokind IN ('f','p') AND p.pronamespace <> "
                          "'pg_catalog'::regnamespace AND p.pronamespace <> 'information_schema'::regnamespace");
}

QString PostgreSQLKind::ScriptTextsStatement(const QStringList &ids) const
{
    const QString oids = OidList(ids);
    if (oids.isEmpty())
        return QString();
    // The texts of ObjectTextStatement, for many objects in one read.
    return QStringLiteral(
        "BEGIN; SET LOCAL search_path = pg_catalog; "
        "SELECT p.oid::bigint AS \"id\", pg_get_functiondef(p.oid) AS \"Text\" FROM pg_proc p WHERE "
        "p.oid = ANY('{%1}'::oid[]) AND p.prokind IN ('f','p') "
        "UNION ALL SELECT c.oid::bigint, format('CREATE OR REPLACE VIEW %I.%I AS', n.nspname, "
        "c.relname) || E'\\n' || pg_get_viewdef(c.oid, true) FROM pg_class c JOIN pg_namespace n ON "
        "n.oid = c.relnamespace WHERE c.oid = ANY('{%1}'::oid[]) AND c.relkind = 'v' "
        "UNION ALL SELECT t.oid::bigint, pg_get_triggerdef(t.oid, true) FROM pg_trigger t WHERE t.oid "
        "= ANY('{%1}'::oid[]) AND NOT t.tgisinternal; COMMIT")
        .arg(oids);
}

QString PostgreSQLKind::ScriptDependencyStatement(const QStringList &ids) const
{
    const QString numbers = OidList(ids);
    if (numbers.isEmpty())
        return QString();
    // A view depends through its rewrite rule; the rule stands for its view.
    return QStringLiteral("SELECT DISTINCT x.id::bigint AS \"id\", x.ref::bigint AS \"dependsOn\" FROM (SELECT "
                          "COALESCE(r.ev_class, d.objid) AS id, d.refobjid AS ref FROM pg_catalog.pg_depend d LEFT "
                          "JOIN pg_catalog.pg_rewrite r ON d.classid = 'pg_catalog.pg_rewrite'::regclass AND r.oid "
                          "= d.objid WHERE d.refobjid = ANY('{%1}'::oid[])) x WHERE x.id = ANY('{%1}'::oid[]) AND "
                          "x.id <> x.ref")
        .arg(numbers);
}
