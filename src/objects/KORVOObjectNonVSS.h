#pragma once

#include "KORVOContextMenu.h"
#include "KORVODBTItem.h"
#include "KORVOFields.h"
#include "KORVOIcons.h"
#include "KORVOPermissions.h"

#include <QString>

#include <memory>

class KORVOSQL;
class KORVOVSS;

// An object that lives on the SQL side only: no text, no versions. Its typed
// owner fills the descriptor (type names, icon, statements).
class KORVOObjectNonVSS
{
public:
    QString ObjectType;
    QString ObjectDisplayName;
    // Columns: ParameterQuery1 + DBID + ParameterQuery2.
    QString ParameterQuery1;
    QString ParameterQuery2;
    // The object by id: DBQuery + id literal.
    QString DBQuery;
    QString BlankFieldDisplayName;
    // The object by name (and owner): DBQueryByName + name [+ DBQueryByOwner + owner].
    QString DBQueryByName;
    QString DBQueryByOwner;

    QString Name;
    QString Owner;
    QString DBID;

    std::shared_ptr<KORVOSQL> ActiveDBConnection;
    std::shared_ptr<KORVOVSS> ActiveVSSConnection;
    KORVOIconsPtr Icons;
    QString IconToUse;

    bool HasPermissions = true;
    bool ObjectPermissionExecuteOnly = false;
    bool ObjectPermissionExecAndRefOnly = false;
    bool IsEditable() const { return false; }

    // One field per column, each with its type and its nullability below it.
    KORVOFieldsPtr GetFields();
    // The owner (with showOwner), the fields, and the permissions folder.
    KORVODBTItemsPtr GetItemInfo(bool showOwner);
    // Reads the object anew. When the id has gone, a table of the same name
    // (and owner) takes its place: the node keeps its place and KeyChanged
    // holds the old id. When none is found RemoveItem is set.
    KORVODBTItemPtr Refresh(bool showOwner);
    KORVOContextMenu GetContextMenu() const;
    // Empty unless the object has permissions.
    KORVOPermissionsPtr GetPermissions(bool quickList, int show);

    // The caption of the object's node.
    QString Caption(bool showOwner) const;
};
