#pragma once

#include <QHash>
#include <QString>

class KORVOTypedObject;
class KORVOVSS;

// The latest source-control texts of many objects, read a project at a time
// (one request per connection, on first need) instead of one request per
// object. Meant for one pass over a list: texts checked in after the read are
// not seen. An object whose text did not come that way is read on its own,
// exactly as GetContent(1) reads it, with its failure box.
class KORVOLatestTexts
{
public:
    // GetContent(1, -1, asAlter) of the object.
    QString Of(const KORVOTypedObject &object, bool asAlter = false);

private:
    // Per connection, the texts by item name; empty when the read failed.
    QHash<const KORVOVSS *, QHash<QString, QString>> mProjects;
};
