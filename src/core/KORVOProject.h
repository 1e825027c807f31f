#pragma once

#include <QString>

#include <memory>

class KORVOSQL;
class KORVOVSS;
class UiServices;

// A project: one database, one source-control project, a working folder. The
// connectors carry the stored data; the project only names and numbers them.
class KORVOProject
{
public:
    explicit KORVOProject(UiServices &ui);
    ~KORVOProject();

    QString Name;
    long Sequence = -1; // -1: not saved yet
    bool Default = false;

    const std::shared_ptr<KORVOSQL> &SQL() const { return mSQL; }
    const std::shared_ptr<KORVOVSS> &VSS() const { return mVSS; }

    // Whether nobody has synchronised the project nor declined to: true while the
    // source-control item "SyncHistory" is missing or empty, and while the
    // source-control connection is closed.
    bool IsFirstUserToConnect() const;
    // Puts "{text}: {date time} - {user}" in front of "SyncHistory". Callers pass
    // "Synchronization" or "NoSyncWanted".
    void ProjectWasSyncronized(const QString &text);

    // The source-control item that holds what all users share about the project.
    static QString SyncHistoryItem() { return QStringLiteral("SyncHistory"); }

private:
    std::shared_ptr<KORVOSQL> mSQL;
    std::shared_ptr<KORVOVSS> mVSS;
};

using KORVOProjectPtr = std::shared_ptr<KORVOProject>;
