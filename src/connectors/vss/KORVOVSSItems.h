#pragma once

#include <QHash>
#include <QList>
#include <QString>

#include <memory>

class KORVOVSS;

// One entry of the light item list that KORVOVSS::Items returns.
class KORVOVSSItem
{
public:
    KORVOVSSItem() = default;
    KORVOVSSItem(const QString &name, const QString &checkedOutBy, std::shared_ptr<KORVOVSS> connection)
        : Name(name)
        , CheckedOutBy(checkedOutBy)
        , mConnection(std::move(connection))
    {
    }

    QString Name;
    QString CheckedOutBy;

    bool IsCheckedOut() const { return !CheckedOutBy.isEmpty(); }
    const std::shared_ptr<KORVOVSS> &ActiveVSSConnection() const { return mConnection; }

private:
    friend class KORVOVSSItems;
    std::shared_ptr<KORVOVSS> mConnection;
};

// Items keyed by Name, in the order they were added.
class KORVOVSSItems
{
public:
    explicit KORVOVSSItems(std::shared_ptr<KORVOVSS> connection = nullptr)
        : mConnection(std::move(connection))
    {
    }

    // The item of that name, or null.
    std::shared_ptr<KORVOVSSItem> Item(const QString &name) const;
    // By position, 0-based.
    const std::shared_ptr<KORVOVSSItem> &at(qsizetype index) const { return mItems.at(index); }
    // Adds an item that gets this list's connection; a name already present throws VssError.
    std::shared_ptr<KORVOVSSItem> Add(const QString &name, const QString &checkedOutBy);
    int Count() const { return int(mItems.size()); }

    const std::shared_ptr<KORVOVSS> &ActiveVSSConnection() const { return mConnection; }
    void SetActiveVSSConnection(std::shared_ptr<KORVOVSS> connection) { mConnection = std::move(connection); }

    auto begin() const { return mItems.cbegin(); }
    auto end() const { return mItems.cend(); }

private:
    std::shared_ptr<KORVOVSS> mConnection;
    QList<std::shared_ptr<KORVOVSSItem>> mItems;
    QHash<QString, qsizetype> mIndex;
};
