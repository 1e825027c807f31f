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
        if (c == open)
            quoted = open == close ? !quoted : true;
        else if (c == close)
            quoted = false;
        else if (c == QLatin1Char('.') && !quoted)
            split = i;
    }
    QString owner = split >= 0 ? name.left(split) : QString();
    QString item = split >= 0 ? name.mid(split + 1) : name;
    for (QString *part : { &owner, &item }) {
        part->remove(QLatin1Char('['));
        part->remove(QLatin1Char(']'));
    }
    return { owner, item };
}
