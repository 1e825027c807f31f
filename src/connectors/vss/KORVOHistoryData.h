#pragma once

#include <QDateTime>
#include <QString>

// One row of an item's history, filled by the source-control connector.
struct KORVOHistoryData {
    long VersionNumber = 0;
    QString UserName;
    QString Action; // "Created", "Checked in", "Renamed", "Deleted", "Recovered"; labels begin with "Label"
    QString VersionDate; // local time, VersionDateFormat
    QString Comment;
    bool IsLabel = false;
    QString LabelComment;
};

// How VersionDate is written; VersionDateTime reads it back for comparisons.
inline constexpr const char *VersionDateFormat = "dd.MM.yyyy hh:mm:ss";
inline QDateTime VersionDateTime(const QString &versionDate)
{
    return QDateTime::fromString(versionDate, QLatin1String(VersionDateFormat));
}
