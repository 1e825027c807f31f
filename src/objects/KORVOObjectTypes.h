#pragma once

#include "serverkinds/ServerKind.h"

#include <QString>

#include <memory>

class KORVOSQL;

// What tells one programmable object type from another: names, file extension,
// icons and permission limits of the object, and the names of its collection.
// The statements of each type come from the server kind of the connection.
struct KORVOObjectTypeInfo {
    ObjectClass Class;

    // The object.
    QString ObjectType;
    QString ObjectDisplayName;
    QString ParentObjectType;
    QString VSSExt;
    QString IconPrefix;
    QString DocumentMiddleName;
    bool HasPermissions;
    bool ObjectPermissionExecuteOnly;
    bool ObjectPermissionExecAndRefOnly;
    QString BlankFieldDisplayName;

    // Its collection.
    QString CollectionObjectType;
    QString CollectionDisplayName;
    QString CollectionIcon;
    bool IsRootNode;
};

// The table of the four versioned types; cls must not be ObjectClass::Table.
const KORVOObjectTypeInfo &ObjectTypeInfo(ObjectClass cls);

// The server kind of the connection; SQL Server while there is none.
const ServerKind &ServerKindOf(const std::shared_ptr<KORVOSQL> &sql);
