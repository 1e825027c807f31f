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

QString PostgreSQLKind::ScriptDependencyStatement(const QStringList &ids) const
{
    QStringList numbers;
    static const QRegularExpression digits(QStringLiteral("^[0-9]+$"));
    for (const QString &id : ids) {
        if (digits.match(id).hasMatch())
            numbers.append(id);
    }
    if (numbers.isEmpty())
        return QString();
    // A view depends through its rewrite rule; the rule stands for its view.
    return QStringLiteral("SELECT DISTINCT x.id::bigint AS \"id\", x.ref::bigint AS \"dependsOn\" FROM (SELECT "
                          "COALESCE(r.ev_class, d.objid) AS id, d.refobjid AS ref FROM pg_catalog.pg_depend d LEFT "
                          "JOIN pg_catalog.pg_rewrite r ON d.classid = 'pg_catalog.pg_rewrite'::regclass AND r.oid "
                          "= d.objid WHERE d.refobjid = ANY('{%1}'::oid[])) x WHERE x.id = ANY('{%1}'::oid[]) AND "
                          "x.id <> x.ref")
        .arg(numbers.join(QLatin1Char(',')));
}
