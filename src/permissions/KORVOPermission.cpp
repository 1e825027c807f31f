#include "KORVOPermission.h"

#include <array>

namespace
{
const std::array<const char *, 6> ActionWords = { "EXECUTE", "SELECT", "INSERT", "UPDATE", "DELETE", "REFERENCES" };
}

QString PermissionActionWord(int action)
{
    if (action < ActionExecute || action > ActionReferences)
        return {};
    return QString::fromLatin1(ActionWords[action - 1]);
}

int PermissionActionOfWord(const QString &word)
{
    const QString w = word.trimmed().toUpper();
    for (int i = 0; i < int(ActionWords.size()); ++i) {
        if (w == QLatin1String(ActionWords[i]))
            return i + 1;
    }
    return 0;
}

int KORVOPermission::Value(int action) const
{
    switch (action) {
    case ActionExecute:
        return HasExecute;
    case ActionSelect:
        return HasSelect;
    case ActionInsert:
        return HasInsert;
    case ActionUpdate:
        return HasUpdate;
    case ActionDelete:
        return HasDelete;
    case ActionReferences:
        return HasReferences;
    default:
        return PermissionNone;
    }
}

void KORVOPermission::SetValue(int action, int value)
{
    switch (action) {
    case ActionExecute:
        HasExecute = value;
        break;
    case ActionSelect:
        HasSelect = value;
        break;
    case ActionInsert:
        HasInsert = value;
        break;
    case ActionUpdate:
        HasUpdate = value;
        break;
    case ActionDelete:
        HasDelete = value;
        break;
    case ActionReferences:
        HasReferences = value;
        break;
    default:
        break;
    }
}

void ApplyProtectRow(KORVOPermission &permission, const QString &action, const QString &protectType)
{
    const QString type = protectType.trimmed().toUpper();
    int value = PermissionNone;
    if (type == QLatin1String("GRANT"))
        value = PermissionGrant;
    else if (type == QLatin1String("DENY"))
        value = PermissionDeny;
    // Column-level and server-specific rights have no place in the six values.
    permission.SetValue(PermissionActionOfWord(action), value);
}
