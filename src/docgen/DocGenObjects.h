#pragma once

#include "KORVODBTItem.h"

#include <QList>
#include <QString>

#include <memory>

// What the documentation asks of one database object. The session's objects are
// wrapped in it; tests and the benchmark give their own.
class DocGenObject
{
public:
    virtual ~DocGenObject() = default;
    virtual QString Name() const = 0;
    virtual QString Owner() const = 0;
    virtual QString Description() const = 0;
    // "Stored Procedure" and the name of its sub-items ("Parameters").
    virtual QString ObjectDisplayName() const = 0;
    virtual QString DocumentMiddleName() const = 0;
    // The object's sub-items (parameters, fields) as tree nodes.
    virtual KORVODBTItemsPtr GetItemInfo(bool showOwner, bool noExtras, bool showNullability) = 0;
};

using DocGenObjectPtr = std::shared_ptr<DocGenObject>;

// The objects of one type, as the session's GetObjectObjects gives them.
struct DocGenCollection {
    QString ObjectDisplayName; // "Stored Procedures"
    QList<DocGenObjectPtr> Objects;
    int Count() const { return int(Objects.size()); }
};

// The object types a documentation covers and their objects.
class DocGenSource
{
public:
    struct Type {
        QString Key;
        QString Text;
    };
    virtual ~DocGenSource() = default;
    // The editable types in the session's order (GetItemsForDocGen).
    virtual QList<Type> GetItemsForDocGen() = 0;
    // Refreshes the type's list and gives its objects (GetObjectObjects).
    virtual DocGenCollection GetObjectObjects(const QString &key) = 0;
    // Held while the types are read one after the other, so that their
    // repository folder is listed once; null where nothing is listed.
    virtual std::shared_ptr<void> HoldListing() { return nullptr; }
};

class KORVODatabase;
// The session's objects behind DocGenSource.
std::unique_ptr<DocGenSource> MakeSessionSource(KORVODatabase &session);
