#pragma once

#include <QHash>
#include <QString>

class KORVOTypedObject;
class KORVOVSS;

// The latest source-control texts of many objects, read a project at a time
// (one request per connection, on first need) instead of one request per
// object. Between two calls of Renew the texts are those of the first read;
// after Renew, the next text asked for checks that nothing has changed in
// source control since, and reads again if something has. An object whose
// text did not come that way is read on its own, exactly as GetContent(1)
// reads it, with its failure box.
class KORVOLatestTexts
{
public:
    // GetContent(1, -1, asAlter) of the object.
    QString Of(const KORVOTypedObject &object, bool asAlter = false);
    void Renew();

private:
    struct Project {
        long Version = -1; // -1: the read failed
        bool Checked = true;
        QHash<QString, QString> Texts;
    };
    QHash<const KORVOVSS *, Project> mProjects;
};
