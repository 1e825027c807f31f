#include "KORVOTypedObject.h"

#include "sql/KORVOSQL.h"

bool KORVOTrigger::CheckIn(const QString &content, const QString &comment)
{
    const bool wasNew = IsNew();
    if (!KORVOTypedObject::CheckIn(content, comment))
        return false;
    const std::shared_ptr<KORVOSQL> &sql = ActiveDBConnection();
    if (wasNew && sql) {
        const QString table = sql->ExtractTableNameFromTrigger(GetContent(1, -1, false), Parse());
        const QStringList parts = sql->ExtractOwnerAndItemName(table);
        const ServerKind &kind = sql->Kind();
        if (!parts.value(1).isEmpty())
            ParentTableDBID = sql->GetObjectID(kind.FormatName(QString(), parts.value(1)),
                parts.value(0).isEmpty() ? QString() : kind.FormatName(QString(), parts.value(0)));
    }
    return true;
}
