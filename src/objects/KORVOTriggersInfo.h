#pragma once

#include <QString>

#include <memory>

// How the folder of a table's triggers looks; its owner fills it from the
// triggers collection.
class KORVOTriggersInfo
{
public:
    QString ObjectType;
    QString ObjectDisplayName;
    QString Icon;
};

using KORVOTriggersInfoPtr = std::shared_ptr<KORVOTriggersInfo>;
