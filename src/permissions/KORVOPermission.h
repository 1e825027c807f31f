#pragma once

#include <QString>

#include <memory>

// A permission value: what one grantee has for one kind of access.
enum KORVOPermissionValue : int {
    PermissionNone = 0,
    PermissionGrant = 1,
    PermissionDeny = 2,
    PermissionOwner = 3,
};

// The kinds of access, numbered as the statement builder counts them.
enum KORVOPermissionAction : int {
    ActionExecute = 1,
    ActionSelect = 2,
    ActionInsert = 3,
    ActionUpdate = 4,
    ActionDelete = 5,
    ActionReferences = 6,
};

// The word of an action ("EXECUTE" ... "REFERENCES"); empty outside 1..6.
QString PermissionActionWord(int action);
// The action of a word, case and surrounding blanks ignored; 0 for others.
int PermissionActionOfWord(const QString &word);

// One role or user with a value for each kind of access on one object.
class KORVOPermission
{
public:
    QString Name;
    bool IsRole = false;
    bool IsOwner = false;
    bool HasExecuteOnly = false;
    bool HasExecAndRefOnly = false;

    int HasSelect = PermissionNone;
    int HasInsert = PermissionNone;
    int HasUpdate = PermissionNone;
    int HasDelete = PermissionNone;
    int HasReferences = PermissionNone;
    int HasExecute = PermissionNone;

    bool HasAnyPermissionSet() const
    {
        return HasSelect || HasInsert || HasUpdate || HasDelete || HasReferences || HasExecute;
    }

    // The value of an action by its number; 0 outside 1..6.
    int Value(int action) const;
    void SetValue(int action, int value);
};

using KORVOPermissionPtr = std::shared_ptr<KORVOPermission>;

// Reads one row of a rights listing into the permission: the action names the
// value, the protect type ("Grant", "Deny", blanks and case ignored) gives 1 or
// 2, anything else 0. Actions other than the six are ignored.
void ApplyProtectRow(KORVOPermission &permission, const QString &action, const QString &protectType);
