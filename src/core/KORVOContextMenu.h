#pragma once

#include <QString>

// What may be done to a tree node. Everything starts off.
struct KORVOContextMenu
{
    bool Edit = false;
    bool Rename = false;
    bool Delete = false;
    QString DisplayName;
    bool AddToVSS = false;
    bool AddToSQL = false;
    bool DeleteFromVSS = false;
    bool DeleteFromSQL = false;
    bool EditPermissions = false;
    bool GetLatestVersion = false;
    bool CheckIn = false;
    bool CheckOut = false;
    bool UndoCheckout = false;

    bool operator==(const KORVOContextMenu &) const = default;
};
