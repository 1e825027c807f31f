#pragma once

#include <QString>

// A folder where writing fails as on a full disk. As root (where mounting is
// allowed) it is a small tmpfs, filled up by Fill(): writes fail with "No space
// left on device". Elsewhere Fill() lowers the process's file size limit, so a
// write that takes any file beyond room bytes fails with "File too large" (a
// write that fits in part is cut, as on a disk that fills up during it). Files
// put there before Fill() stay readable; texts written to test must exceed room.
class FullDisk
{
public:
    explicit FullDisk(const QString &folder);
    ~FullDisk();
    FullDisk(const FullDisk &) = delete;
    FullDisk &operator=(const FullDisk &) = delete;

    QString Folder() const { return mFolder; }
    QString FilePath(const QString &name) const { return mFolder + QLatin1Char('/') + name; }
    void Fill(qint64 room = 4096);
    // What the system says when a write fails here.
    QString Reason() const;

private:
    QString mFolder;
    bool mMounted = false;
    bool mLimited = false;
};
