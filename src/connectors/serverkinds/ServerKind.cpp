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
