#include "KORVODBTItem.h"

KORVODBTItem::KORVODBTItem(const QString &key) : Key(key), mChildren(std::make_shared<KORVODBTItems>())
{
}

KORVODBTItemPtr KORVODBTItems::Add(const QString &key)
{
    if (auto it = mIndex.constFind(key); it != mIndex.cend())
        return mItems.at(*it);
    auto item = std::make_shared<KORVODBTItem>(key);
    mIndex.insert(key, int(mItems.size()));
    mItems.append(item);
    return item;
}

KORVODBTItemPtr KORVODBTItems::Item(const QString &key) const
{
    auto it = mIndex.constFind(key);
    return it == mIndex.cend() ? nullptr : mItems.at(*it);
}
