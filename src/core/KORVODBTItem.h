#pragma once

#include <QHash>
#include <QList>
#include <QString>

#include <memory>

class KORVODBTItems;

// One node of the database tree as data, before it goes into the control.
class KORVODBTItem
{
public:
    explicit KORVODBTItem(const QString &key = {});

    QString Text;
    QString Key;
    QString Tag;
    QString ImageName;
    bool RemoveItem = false;
    bool AutoExpand = false;
    QString KeyChanged;

    // Reads as Text when nothing was set.
    QString ToolTipText() const { return mToolTipText.isEmpty() ? Text : mToolTipText; }
    void SetToolTipText(const QString &text) { mToolTipText = text; }

    KORVODBTItems &Children() { return *mChildren; }
    const KORVODBTItems &Children() const { return *mChildren; }

private:
    QString mToolTipText;
    std::shared_ptr<KORVODBTItems> mChildren;
};

using KORVODBTItemPtr = std::shared_ptr<KORVODBTItem>;

// Ordered collection of tree nodes keyed by Key.
class KORVODBTItems
{
public:
    // Makes a node with this key, appends and returns it. A key that is already
    // there gives the node that holds it.
    KORVODBTItemPtr Add(const QString &key);
    KORVODBTItemPtr Item(const QString &key) const;
    KORVODBTItemPtr Item(int index) const { return mItems.value(index); } // 0-based
    KORVODBTItemPtr FirstChild() const { return mItems.isEmpty() ? nullptr : mItems.first(); }
    int Count() const { return int(mItems.size()); }

    QList<KORVODBTItemPtr>::const_iterator begin() const { return mItems.cbegin(); }
    QList<KORVODBTItemPtr>::const_iterator end() const { return mItems.cend(); }

private:
    QList<KORVODBTItemPtr> mItems;
    QHash<QString, int> mIndex;
};

using KORVODBTItemsPtr = std::shared_ptr<KORVODBTItems>;
