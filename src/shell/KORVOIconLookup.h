#pragma once

#include "KORVOIconImages.h"

// The pictures of the tree's icon names and of the generic actions. One place,
// so that the windows need not know where the pictures come from.
inline QIcon KORVOTreeIcon(const QString &iconName)
{
    return KORVOIconImage(iconName);
}

inline QIcon KORVOActionIconFor(const QString &action)
{
    return KORVOActionIcon(action);
}
