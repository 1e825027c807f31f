#pragma once

#include "SvnRepository.h"

#include <QDateTime>
#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>

// The source-control database as KORVOVSS sees it, kept in a Subversion
// repository: projects are folders ("$\A\B\" is the folder A/B below the
// database URL), items are the files directly in a project folder, a check-out
// is a lock owned by the user, a deleted item is found in the folder's history
// and comes back as a copy from before its deletion, and labels are copies of
// the project folder in a folder "tags" beside it. One repository session is
// kept for the lifetime of the object. Every failure is thrown as VssError.
class VssDatabase
{
public:
    // Check-out status of an item, as SourceSafe counts it.
    enum Status { NotCheckedOut = 0, CheckedOutToOther = 1, CheckedOutToMe = 2 };

    struct ItemInfo {
        QString Name;
        bool Deleted = false;
        int Status = NotCheckedOut;
        QString LockOwner;
    };

    struct Version {
        long Number = 0; // the revision
        QString UserName;
        QString Action;
        QDateTime Date; // UTC
        QString Comment;
        QString LabelComment;
        // Where this version's text is read from.
        QString Path; // session-relative
        long Revision = -1;
    };

    // The repository URL of an ini-file argument: a URL as it stands, or the path
    // of an ini file (by convention srcsafe.ini) with a line "URL = ...", whose
    // relative file: paths are taken from the ini file's folder.
    static QString ResolveUrl(const QString &iniFile);
    // "$\A\B\" (or "$/A/B") as the folder "A/B"; "$\" is "".
    static QString ProjectFolder(const QString &project);

    VssDatabase(const QString &iniFile, const QString &userName, const QString &password, int connectTimeout = 15);

    SvnRepository &Repository() { return mRepo; }
    const QString &UserName() const { return mRepo.UserName(); }

    void SetCurrentProject(const QString &project);
    const QString &CurrentFolder() const { return mFolder; }
    // Fails unless the project exists as a folder.
    void CheckProject(const QString &project);
    QStringList SubProjects(const QString &project);
    void NewSubproject(const QString &parent, const QString &name);

    // Items of the current project, in name order.
    QList<ItemInfo> Items(bool includeDeleted);
    // The live items of Items(false) with the deleted ones added, as Items(true)
    // gives them, without listing the folder again.
    QList<ItemInfo> WithDeleted(QList<ItemInfo> live);
    // A live item (deleted false) or one that lies deleted (deleted true).
    ItemInfo Item(const QString &name, bool deleted);
    bool Exists(const QString &name, bool deleted);
    QStringList Checkouts(const QString &name);

    // The latest text; of a deleted item, the text it had when it was deleted.
    QByteArray Get(const QString &name, bool deleted);
    // The latest texts of all live items of the current project, keyed by
    // name, read in one request; revision tells which version they are of.
    QHash<QString, QByteArray> GetAll(long *revision = nullptr);
    // Locks the item for the user and returns its latest text; the working
    // copy made of it is based on that version.
    QByteArray Checkout(const QString &name);
    // Commits the text against the version the user's working copy is based
    // on and releases the user's lock; unchanged text only releases the lock.
    // A newer version makes it fail as out of date.
    void Checkin(const QString &name, const QByteArray &content, const QString &comment);
    // The change that makes the user's working copy of an item checked out to
    // the user older than the newest version, if there is one.
    std::optional<SvnRepository::LastChange> NewerThanWorkingCopy(const QString &name);
    // Releases the user's lock and returns the latest text.
    QByteArray UndoCheckout(const QString &name);
    void Add(const QString &name, const QByteArray &content, const QString &comment);
    void Delete(const QString &name);
    // A deleted item comes back under newName (which may be its own name),
    // copied from the revision before its deletion so that its history goes on;
    // with content, that text is its new version.
    void Recover(
        const QString &name, const QString &newName, const std::optional<QByteArray> &content, const QString &comment);
    // A live item takes a new name, with history; with content, also new text.
    // A check-out of the user's own on the old name is used and released.
    void Rename(const QString &oldName, const QString &newName, const std::optional<QByteArray> &content,
        const QString &comment);

    // History of an item, newest first, following renames and undeletes, with
    // "Deleted" rows and label rows.
    QList<Version> Versions(const QString &name, bool deleted);
    QByteArray VersionContent(const Version &version);
    // Earliest and latest date of any version of any item of the project;
    // both stay as given when there is none.
    void DateRange(QDateTime &first, QDateTime &last);

    // Grows before every change this object makes (items, locks, the current
    // project), so that a listing kept aside can tell it is out of date.
    long Changes() const { return mChanges; }

    // "$\A\B\name" for messages.
    QString Spec(const QString &name) const;

private:
    enum class NameState { Live, Deleted, Gone };
    struct NameEntry {
        NameState State = NameState::Live;
        long Revision = -1; // of the deletion
    };
    struct FolderScan {
        QString Folder;
        long UpTo = 0;
        QHash<QString, NameEntry> Names;
        QDateTime First, Last;
    };
    struct Label {
        QString Name;
        long Revision = -1;
        SvnRepository::RevisionInfo Info;
        QString SourcePath; // absolute
        long SourceRevision = -1;
    };

    QString ItemPath(const QString &name) const;
    // The path of a live item; fails unless a file of that name is there.
    QString LiveItemPath(const QString &name);
    // Fails when anything of that name is there.
    void CheckNameFree(const QString &name);
    int LockStatus(const QString &lockOwner) const;
    const FolderScan &Scan();
    long DeletionRevision(const QString &name);
    QList<Label> Labels();
    std::optional<SvnRepository::Lock> OwnLock(const QString &name);
    // The user's own lock; fails when the item is not checked out to the user.
    SvnRepository::Lock RequireOwnLock(const QString &name);
    // The version the working copy of an item checked out to the user is based
    // on: the one fetched at check-out; for a check-out this object did not
    // make, the item's last change if it came before the lock, else one older.
    long BaseRevision(const QString &name, const SvnRepository::Lock &lock);
    [[noreturn]] void NotFound(const QString &name) const;

    SvnRepository mRepo;
    QString mFolder;
    FolderScan mScan;
    QHash<QString, long> mBase; // item -> revision of the check-out's text
    long mLabelsAt = -1;
    QString mLabelsFolder;
    QList<Label> mLabels;
    long mChanges = 0;
};
