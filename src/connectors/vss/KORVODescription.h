#pragma once

#include <QString>

#include <memory>

class KORVOVSS;

// An object's free-text description, kept in the source-control item
// VSSItemName + ".desc" beside the object's own item.
class KORVODescription
{
public:
    void SetVSSItemName(const QString &name) { mVSSItemName = name; }
    const std::shared_ptr<KORVOVSS> &ActiveVSSConnection() const { return mConnection; }
    void SetActiveVSSConnection(std::shared_ptr<KORVOVSS> connection) { mConnection = std::move(connection); }

    QString Description() const;
    void SetDescription(const QString &value);
    bool Rename(const QString &newName);

private:
    QString mVSSItemName;
    std::shared_ptr<KORVOVSS> mConnection;
};
