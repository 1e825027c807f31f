#pragma once

#include <QList>
#include <QSet>
#include <QString>

#include <memory>

class KORVOIcon
{
public:
    explicit KORVOIcon(const QString &name) : Name(name) {}
    QString Name;
};

// The named icons known to the tree. Names are kept in upper case; a name that
// was never added resolves to an icon named "-".
class KORVOIcons
{
public:
    void Add(const QString &name);
    KORVOIcon Item(const QString &name) const;
    int Count() const { return int(mNames.size()); }
    const QList<QString> &Names() const { return mNames; }
    // The name's place in the list, counted from 1; -1 for a name not there.
    int Index(const QString &name) const;

private:
    QList<QString> mNames;
    QSet<QString> mKnown;
};

using KORVOIconsPtr = std::shared_ptr<KORVOIcons>;
