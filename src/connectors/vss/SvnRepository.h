#pragma once

#include "VssError.h"

#include <QByteArray>
#include <QDateTime>
#include <QHash>
#include <QList>
#include <QString>

#include <memory>
#include <optional>

struct apr_pool_t;
struct svn_ra_session_t;
struct svn_error_t;

// One session of Subversion's repository-access library, opened on a URL with
// credentials given by the program (nothing is read from or cached in the
// user's Subversion configuration). Paths are relative to the session URL and
// written with "/" ("A/B/1.sp"); "" is the session URL itself. Every failure
// is thrown as VssError.
class SvnRepository
{
public:
    static constexpr long Head = -1;

    enum class Kind { None, File, Dir };

    struct DirEntry {
        QString Name;
        Kind NodeKind = Kind::None;
    };

    struct Lock {
        QString Path; // absolute repository path
        QString Token;
        QString Owner;
        QString Comment;
        QDateTime Created;
    };

    struct ChangedPath {
        char Action = 'M'; // A, D, R or M
        Kind NodeKind = Kind::None; // None when the server doesn't say
        QString CopyFromPath; // absolute repository path, empty without a copy
        long CopyFromRev = -1;
    };

    struct LogEntry {
        long Revision = -1;
        QString Author;
        QDateTime Date; // UTC
        QString Message;
        QHash<QString, ChangedPath> Changes; // keyed by absolute repository path
    };

    struct RevisionInfo {
        QString Author;
        QDateTime Date;
        QString Message;
    };

    // The last change of a node: its revision, author and date.
    struct LastChange {
        long Revision = -1;
        QString Author;
        QDateTime Date; // UTC
    };

    // One change of a commit, below the commit's folder.
    struct Change {
        enum Op { AddFile, ModifyFile, Delete, AddDir } Operation = ModifyFile;
        QString Name; // a direct child of the folder
        std::optional<QByteArray> Content; // new text of a file; none keeps a copy's text
        QString CopyFrom; // session-relative path of a copy source
        long CopyFromRev = -1;
        // ModifyFile: the revision the new text is based on; the commit fails
        // as out of date when the file changed after it. -1: the latest.
        long BaseRev = -1;
    };

    // connectTimeout (seconds) bounds the wait for an svn:// server to answer,
    // on connecting and on every read and write of every request after it; the
    // protocol itself would wait as long as the network does.
    SvnRepository(const QString &url, const QString &userName, const QString &password, int connectTimeout = 15);
    ~SvnRepository();
    SvnRepository(const SvnRepository &) = delete;
    SvnRepository &operator=(const SvnRepository &) = delete;

    const QString &Url() const { return mUrl; }
    const QString &UserName() const { return mUserName; }

    long LatestRevision();
    Kind CheckPath(const QString &path, long revision = Head);
    QList<DirEntry> ListDir(const QString &path, long revision = Head);
    QByteArray FileContent(const QString &path, long revision = Head);
    // The texts of all files directly in a folder at one revision, keyed by file
    // name, in one request (an update report of an empty folder, as an export
    // makes it) instead of one request per file.
    QHash<QString, QByteArray> FolderContents(const QString &folder, long revision = Head);
    LastChange LastChangeOf(const QString &path);

    // Locks on the files directly in a folder, keyed by file name.
    QHash<QString, Lock> FolderLocks(const QString &folder);
    std::optional<Lock> GetLock(const QString &path);
    void LockFile(const QString &path, const QString &comment);
    void UnlockFile(const QString &path, const QString &token);

    // Log of one path, from start to end (either order), with changed paths.
    QList<LogEntry> Log(const QString &path, long start, long end, bool strictNodeHistory);
    RevisionInfo Revision(long revision);
    // The revision in which path (existing at peg) was deleted, or -1.
    long DeletedRevision(const QString &path, long peg, long end);

    // Commits the changes below folder in one revision and returns its number.
    // Paths in lockTokens are session-relative; their locks are released.
    long Commit(const QString &folder, const QString &message, const QList<Change> &changes,
        const QHash<QString, QString> &lockTokens = {});

    // Absolute repository path ("/...") of a session-relative path, and back.
    QString AbsolutePath(const QString &path) const;
    QString RelativePath(const QString &absolutePath) const;

    // Joins path parts with "/", skipping empty ones.
    static QString Join(const QString &a, const QString &b);
    static QString Parent(const QString &path);
    static QString BaseName(const QString &path);

    // Makes the process ready for Subversion; safe to call more than once.
    static apr_pool_t *RootPool();
    // Throws err as VssError (and clears it); does nothing for null.
    static void Check(svn_error_t *err);

private:
    void Open();
    // Throws VssError when an svn:// server does not answer within the connect timeout.
    void ProbeSvnServer(const QString &url) const;
    svn_ra_session_t *Session();
    // As Check, dropping the session when its connection broke.
    void Call(svn_error_t *err);
    void DropSession();

    struct Auth;
    QString mUrl;
    QString mUserName;
    int mConnectTimeout = 15;
    QString mSessionUrl; // mUrl as the session was opened on (svn:// through KORVO's tunnel)
    QString mRootUrl; // repository root URL, in the session's form
    QString mRootPath; // session URL relative to the repository root, "" or "a/b"
    apr_pool_t *mPool = nullptr; // credentials; outlives the sessions
    apr_pool_t *mSessionPool = nullptr;
    svn_ra_session_t *mSession = nullptr;
    std::unique_ptr<Auth> mAuth;
};
