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
        if (!parts.value(1).isEmpty())
            ParentTableDBID = Generic().LookupObjectID(parts.value(1), parts.value(0));
    }
    return true;
}
