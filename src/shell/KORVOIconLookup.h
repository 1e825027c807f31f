#pragma once

#include <QIcon>
#include <QString>

// The pictures of the tree's icon names and of the generic actions. One place,
// so that the windows need not know where the pictures come from.
inline QIcon KORVOTreeIcon(const QString &iconName)
{
    (void)iconName;
    return {};
}

inline QIcon KORVOActionIconFor(const QString &action)
{
    (void)action;
    return {};
}
