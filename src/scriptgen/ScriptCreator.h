#pragma once

#include "KORVOTypedObject.h"

#include <QList>
#include <QString>

#include <memory>

class KORVOSQL;
class ServerKind;
class UiServices;

// One entry of a script job: an object and what the script does with it.
class ScriptCreatorObject
{
public:
    enum Actions { Add = 1, Update = 2, Drop = 3, Nothing = 4 };

    int Index = 0; // 1-based, kept by the list
    KORVOTypedObjectPtr ScriptObject;
    int Action = 0;
    int VersionNumber = -1; // -1: the latest version
    bool Deleted = false; // the object's item is deleted in source control
    QString DropText; // drops the object under an earlier name; empty: its own drop
    bool Recreated = false; // an update of an object made anew: its permissions are stated too
};

using ScriptCreatorObjectPtr = std::shared_ptr<ScriptCreatorObject>;

// The objects of one run, in the order in which the script writes them.
class ScriptCreatorObjects
{
public:
    ScriptCreatorObjectPtr Item(int position) const { return mItems.value(position - 1); } // 1-based
    // A new entry at the end; the caller fills it in.
    ScriptCreatorObjectPtr Add();
    int Count() const { return int(mItems.size()); }
    void Clear() { mItems.clear(); }
    void Remove(int position);

    QList<ScriptCreatorObjectPtr>::const_iterator begin() const { return mItems.cbegin(); }
    QList<ScriptCreatorObjectPtr>::const_iterator end() const { return mItems.cend(); }

private:
    void ReIndexItems();
    QList<ScriptCreatorObjectPtr> mItems;
};

// The state of one run of the script generator. Its settings, but not its
// objects, are kept per user and project in "{project}_scripts.xml".
class ScriptCreator
{
public:
    enum Options { TimeFrame = 1, Compare = 2, Complete = 3, Custom = 4 };

    // The connection to the other database is of the given kind, unconnected.
    ScriptCreator(UiServices &ui, std::shared_ptr<const ServerKind> kind);
    ~ScriptCreator();

    int OptionSelected = 0;
    const std::shared_ptr<KORVOSQL> &SQLConnection() const { return mSQL; }
    ScriptCreatorObjects &ObjectsToScript() { return mObjects; }
    const ScriptCreatorObjects &ObjectsToScript() const { return mObjects; }
    QString FileName;
    QString VSSStart; // dates as DateText makes them
    QString VSSEnd;
    bool VSSIsToday = false;
    bool DropObjects = false;
    bool CreatePermission = false;

    // A missing file changes nothing; unreadable contents are passed over.
    void LoadDocumentSettings(const QString &path);
    // False when the file could not be written; the job is unchanged either way.
    bool SaveDocumentSettings(const QString &path, QString *reason = nullptr) const;

    // The text form of the time frame's dates in the file, and back (invalid when not a date).
    static QString DateText(const QDateTime &date);
    static QDateTime TextDate(const QString &text);
    // {user data folder}/{project}_scripts.xml
    static QString SettingsPath(const QString &projectName);

private:
    std::shared_ptr<KORVOSQL> mSQL;
    ScriptCreatorObjects mObjects;
};
