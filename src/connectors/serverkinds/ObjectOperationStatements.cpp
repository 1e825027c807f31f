#include "ServerKind.h"

// What the object operations (check-in, rename, rollback) ask of the kinds.

QString SQLServerKind::NameForText(ObjectClass, const QString &owner, const QString &name) const
{
    return QLatin1Char('[') + owner + QStringLiteral("].[") + name + QLatin1Char(']');
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
