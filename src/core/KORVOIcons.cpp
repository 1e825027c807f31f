#include "KORVOIcons.h"

void KORVOIcons::Add(const QString &name)
{
    const QString key = name.toUpper();
    if (mKnown.contains(key))
        return;
    mKnown.insert(key);
    mNames.append(key);
}

KORVOIcon KORVOIcons::Item(const QString &name) const
{
    const QString key = name.toUpper();
    return KORVOIcon(mKnown.contains(key) ? key : QStringLiteral("-"));
}

int KORVOIcons::Index(const QString &name) const
{
    const qsizetype at = mNames.indexOf(name.toUpper());
    return at < 0 ? -1 : int(at) + 1;
}
