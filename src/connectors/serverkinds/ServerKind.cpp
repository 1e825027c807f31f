#include "ServerKind.h"

std::shared_ptr<const ServerKind> ServerKind::SQLServer()
{
    static const auto kind = std::make_shared<const SQLServerKind>();
    return kind;
}

std::shared_ptr<const ServerKind> ServerKind::PostgreSQL()
{
    static const auto kind = std::make_shared<const PostgreSQLKind>();
    return kind;
}

std::shared_ptr<const ServerKind> ServerKind::FromName(const QString &storedName)
{
    if (storedName.compare(QLatin1String("PostgreSQL"), Qt::CaseInsensitive) == 0)
        return PostgreSQL();
    return SQLServer();
}

std::shared_ptr<const ServerKind> ServerKind::FromId(Id id)
{
    return id == Id::PostgreSQL ? PostgreSQL() : SQLServer();
}

QStringList ServerKind::SplitAtOwnerDot(const QString &name, QChar open, QChar close)
{
    bool quoted = false;
    qsizetype split = -1;
    for (qsizetype i = 0; i < name.size() && split < 0; ++i) {
        const QChar c = name.at(i);
        if (quoted && c == close) {
            if (i + 1 < name.size() && name.at(i + 1) == close)
                ++i; // doubled: part of the name
            else
                quoted = false;
        } else if (!quoted && c == open) {
            quoted = true;
        } else if (!quoted && c == QLatin1Char('.')) {
            split = i;
        }
    }
    if (split < 0)
        return { QString(), name };
    return { name.left(split), name.mid(split + 1) };
}
