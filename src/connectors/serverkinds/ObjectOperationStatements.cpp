#include "ServerKind.h"

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
