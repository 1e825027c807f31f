#pragma once

#include "KORVOPermission.h"

#include <QList>
#include <QString>

#include <memory>

class KORVOSQL;
class KORVODBTItems;

// Who may do what with one database object: read from the server in a quick
// form (only grantees with something set) or a full form (every user and
// every non-fixed role), written back as a complete restatement.
class KORVOPermissions
{
public:
    std::shared_ptr<KORVOSQL> ActiveDBConnection;
    // Only EXECUTE applies (stored procedures).
    bool HasExecuteOnly = false;
    // Only EXECUTE and REFERENCES apply (user defined functions).
    bool HasExecAndRefOnly = false;
    // 0 roles and users, 1 roles only, 2 users only.
    int Show = 0;
    // The object's id.
    QString DatabaseID;
    bool QuickList = false;

    KORVOPermissionPtr Item(const QString &name) const;
    KORVOPermissionPtr Item(int index) const { return mItems.value(index); } // 0-based
    int Count() const { return int(mItems.size()); }
    QList<KORVOPermissionPtr>::const_iterator begin() const { return mItems.cbegin(); }
    QList<KORVOPermissionPtr>::const_iterator end() const { return mItems.cend(); }

    // Empties the collection and reads it from the server in the form QuickList
    // names. An object that is not found leaves it empty.
    void GetItemPermissions();
    // The statements that set every right of every grantee but the owner, each
    // followed by CR LF. With both names given the object is not looked up;
    // otherwise an object that is not found gives an empty text.
    QString CreateScript(const QString &objectName = {}, const QString &ownerName = {});
    // Runs the same statements one by one; false when the object is not found.
    // A failing statement throws, leaving the earlier ones in force;
    // LastStatement then holds it.
    bool Save();
    QString LastStatement;

    // The actions that apply to the object, in the order they are shown and
    // stated.
    QList<int> Actions() const;
    // Whether a right can be denied on this server; where it cannot, a deny
    // value is never read and should not be offered.
    bool CanDeny() const;

private:
    struct ObjectInfo {
        bool Found = false;
        QString OwnerName;
        QString FullName;
    };
    ObjectInfo FindObject() const;
    void ReadFullForm(const ObjectInfo &object);
    void ReadQuickForm(const ObjectInfo &object);
    KORVOPermissionPtr NewPermission(const QString &name, bool isRole, const ObjectInfo &object) const;
    QStringList Statements(const QString &fullName) const;

    QList<KORVOPermissionPtr> mItems;
};

using KORVOPermissionsPtr = std::shared_ptr<KORVOPermissions>;

// A collection for the object of dbid, read from the server in the quick or
// full form.
KORVOPermissionsPtr ReadPermissions(const std::shared_ptr<KORVOSQL> &sql, const QString &dbid, bool executeOnly,
    bool execAndRefOnly, bool quickList, int show);

// The permissions folder "P{dbid}" of an object's node, with a placeholder
// child until it is opened.
void AddPermissionFolderItem(KORVODBTItems &items, const QString &dbid);

// The rows of an object's permissions folder in the tree: for each grantee
// with something set a node "P{id}_value{n}", and under it a node per right
// that is not 0.
std::shared_ptr<KORVODBTItems> GetPermissionItems(const QString &dbid, const KORVOPermissions &permissions);
