#include "KORVOVSSItems.h"

#include "VssError.h"

std::shared_ptr<KORVOVSSItem> KORVOVSSItems::Item(const QString &name) const
{
    const auto it = mIndex.constFind(name);
    return it == mIndex.cend() ? nullptr : mItems.at(*it);
}

std::shared_ptr<KORVOVSSItem> KORVOVSSItems::Add(const QString &name, const QString &checkedOutBy)
{
    if (mIndex.contains(name))
        throw VssError(QStringLiteral("The item '%1' is already in the list").arg(name));
    auto item = std::make_shared<KORVOVSSItem>(name, checkedOutBy, mConnection);
    mIndex.insert(name, mItems.size());
    mItems.append(item);
    return item;
}
