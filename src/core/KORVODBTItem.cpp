#include "KORVODBTItem.h"

KORVODBTItem::KORVODBTItem(const QString &key) : Key(key), mChildren(std::make_shared<KORVODBTItems>())
{
}

namespace
{
// Most lists hold one node (a folder's placeholder): up to this size a scan
// finds a key, and no hash is kept; a hash costs over a kilobyte however few
// keys it holds.
constexpr qsizetype kIndexFrom = 16;
} // namespace

KORVODBTItemPtr KORVODBTItems::Add(const QString &key)
{
    if (KORVODBTItemPtr found = Item(key))
        return found;
    auto item = std::make_shared<KORVODBTItem>(key);
    mItems.append(item);
    if (mItems.size() == kIndexFrom) {
        for (qsizetype i = 0; i < mItems.size(); ++i)
            mIndex.insert(mItems.at(i)->Key, int(i));
    } else if (mItems.size() > kIndexFrom) {
        mIndex.insert(key, int(mItems.size() - 1));
    }
    return item;
}

KORVODBTItemPtr KORVODBTItems::Item(const QString &key) const
{
    if (mItems.size() < kIndexFrom) {
        for (const KORVODBTItemPtr &item : mItems) {
            if (item->Key == key)
                return item;
        }
        return nullptr;
    }
    auto it = mIndex.constFind(key);
    return it == mIndex.cend() ? nullptr : mItems.at(*it);
}
