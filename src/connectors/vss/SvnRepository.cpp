#include "SvnRepository.h"

#include <QElapsedTimer>
#include <QTcpSocket>
#include <QUrl>

#include <apr_general.h>
#include <apr_md5.h>
#include <apr_network_io.h>
#include <apr_poll.h>
#include <apr_hash.h>
#include <apr_tables.h>
#include <svn_auth.h>
#include <svn_checksum.h>
#include <svn_delta.h>
#include <svn_dirent_uri.h>
#include <svn_dso.h>
#include <svn_error.h>
#include <svn_hash.h>
#include <svn_path.h>
#include <svn_pools.h>
#include <svn_props.h>
#include <svn_ra.h>
#include <svn_string.h>
#include <svn_time.h>

#include <QSet>

#include <algorithm>
#include <iterator>

#include <QTimeZone>
#include <csignal>
#include <cstring>

VssError::VssError(const QString &description, int code, QList<int> causes)
    : std::runtime_error(description.toStdString())
    , mDescription(description)
    , mCode(code)
    , mCauses(std::move(causes))
{
}

namespace
{

// A scratch pool that is destroyed with the scope.
class Pool
{
public:
    explicit Pool(apr_pool_t *parent)
        : mPool(svn_pool_create(parent))
    {
    }
    ~Pool() { svn_pool_destroy(mPool); }
    Pool(const Pool &) = delete;
    Pool &operator=(const Pool &) = delete;
    operator apr_pool_t *() const { return mPool; }

private:
    apr_pool_t *mPool;
};

QByteArray utf8(const QString &s)
{
    return s.toUtf8();
}

QString fromSvn(const char *s)
{
    return s ? QString::fromUtf8(s) : QString();
}

QDateTime fromSvnTime(apr_time_t t)
{
    return QDateTime::fromMSecsSinceEpoch(qint64(t / 1000), Qt::UTC);
}

QDateTime fromSvnDate(const char *text, apr_pool_t *pool)
{
    apr_time_t t = 0;
    if (!text)
        return {};
    svn_error_t *err = svn_time_from_cstring(&t, text, pool);
    if (err) {
        svn_error_clear(err);
        return {};
    }
    return fromSvnTime(t);
}

SvnRepository::Kind kindOf(svn_node_kind_t k)
{
    switch (k) {
    case svn_node_file:
        return SvnRepository::Kind::File;
    case svn_node_dir:
        return SvnRepository::Kind::Dir;
    default:
        return SvnRepository::Kind::None;
    }
}

// Callbacks must never let a C++ exception through; they copy what they get.
struct LockBaton {
    apr_pool_t *pool;
    svn_error_t *error = nullptr;
};

svn_error_t *lockCallback(
    void *baton, const char *, svn_boolean_t, const svn_lock_t *, svn_error_t *raErr, apr_pool_t *)
{
    auto *b = static_cast<LockBaton *>(baton);
    if (raErr && !b->error)
        b->error = svn_error_dup(raErr);
    return SVN_NO_ERROR;
}

struct LogBaton {
    QList<SvnRepository::LogEntry> *entries;
};

svn_error_t *logReceiver(void *baton, svn_log_entry_t *entry, apr_pool_t *pool)
{
    auto *b = static_cast<LogBaton *>(baton);
    if (!SVN_IS_VALID_REVNUM(entry->revision))
        return SVN_NO_ERROR; // end of merged-revision children; we ask for none
    SvnRepository::LogEntry e;
    e.Revision = entry->revision;
    if (entry->revprops) {
        e.Author = fromSvn(svn_prop_get_value(entry->revprops, SVN_PROP_REVISION_AUTHOR));
        e.Message = fromSvn(svn_prop_get_value(entry->revprops, SVN_PROP_REVISION_LOG));
        e.Date = fromSvnDate(svn_prop_get_value(entry->revprops, SVN_PROP_REVISION_DATE), pool);
    }
    if (entry->changed_paths2) {
        for (apr_hash_index_t *hi = apr_hash_first(pool, entry->changed_paths2); hi; hi = apr_hash_next(hi)) {
            const void *key;
            void *val;
            apr_hash_this(hi, &key, nullptr, &val);
            auto *cp = static_cast<svn_log_changed_path2_t *>(val);
            SvnRepository::ChangedPath c;
            c.Action = cp->action;
            c.NodeKind = kindOf(cp->node_kind);
            c.CopyFromPath = fromSvn(cp->copyfrom_path);
            c.CopyFromRev = cp->copyfrom_path ? long(cp->copyfrom_rev) : -1;
            e.Changes.insert(fromSvn(static_cast<const char *>(key)), c);
        }
    }
    b->entries->append(std::move(e));
    return SVN_NO_ERROR;
}

struct CommitBaton {
    long revision = -1;
    QString postCommitError;
};

svn_error_t *commitCallback(const svn_commit_info_t *info, void *baton, apr_pool_t *)
{
    auto *b = static_cast<CommitBaton *>(baton);
    b->revision = info->revision;
    b->postCommitError = fromSvn(info->post_commit_err);
    return SVN_NO_ERROR;
}

// The prompts are never shown: credentials come from the program through the
// default-username and default-password parameters. Reaching a prompt means
// they were refused.
svn_error_t *noSimplePrompt(svn_auth_cred_simple_t **, void *, const char *, const char *, svn_boolean_t, apr_pool_t *)
{
    return svn_error_create(SVN_ERR_AUTHN_FAILED, nullptr, "Invalid user name or password");
}

svn_error_t *noUsernamePrompt(svn_auth_cred_username_t **, void *, const char *, svn_boolean_t, apr_pool_t *)
{
    return svn_error_create(SVN_ERR_AUTHN_FAILED, nullptr, "No user name given");
}

const char *dupInPool(apr_pool_t *pool, const QString &s)
{
    return apr_pstrdup(pool, utf8(s).constData());
}

// The editor of FolderContents: every file of the folder arrives as an added
// file whose text is a delta against nothing.
struct FolderEditBaton {
    QHash<QString, QByteArray> *texts;
};

struct FolderFileBaton {
    FolderEditBaton *edit;
    const char *name;
    svn_stringbuf_t *text;
    unsigned char digest[APR_MD5_DIGESTSIZE];
    bool applied;
};

svn_error_t *folderOpenRoot(void *editBaton, svn_revnum_t, apr_pool_t *, void **rootBaton)
{
    *rootBaton = editBaton;
    return SVN_NO_ERROR;
}

// Sub-folders are not asked for; should one come, its files are passed over.
svn_error_t *folderAddDirectory(const char *, void *, const char *, svn_revnum_t, apr_pool_t *, void **childBaton)
{
    *childBaton = nullptr;
    return SVN_NO_ERROR;
}

svn_error_t *folderAddFile(const char *path, void *parentBaton, const char *, svn_revnum_t, apr_pool_t *filePool,
    void **fileBaton)
{
    auto *b = static_cast<FolderFileBaton *>(apr_pcalloc(filePool, sizeof(FolderFileBaton)));
    b->edit = static_cast<FolderEditBaton *>(parentBaton);
    b->name = apr_pstrdup(filePool, path);
    b->text = svn_stringbuf_create_empty(filePool);
    *fileBaton = b;
    return SVN_NO_ERROR;
}

svn_error_t *folderApplyTextDelta(void *fileBaton, const char *, apr_pool_t *pool,
    svn_txdelta_window_handler_t *handler, void **handlerBaton)
{
    auto *b = static_cast<FolderFileBaton *>(fileBaton);
    b->applied = true;
    svn_txdelta_apply(svn_stream_empty(pool), svn_stream_from_stringbuf(b->text, pool), b->digest, b->name, pool,
        handler, handlerBaton);
    return SVN_NO_ERROR;
}

svn_error_t *folderCloseFile(void *fileBaton, const char *textChecksum, apr_pool_t *pool)
{
    auto *b = static_cast<FolderFileBaton *>(fileBaton);
    if (textChecksum && b->applied) {
        svn_checksum_t *expected = nullptr;
        SVN_ERR(svn_checksum_parse_hex(&expected, svn_checksum_md5, textChecksum, pool));
        const svn_checksum_t actual { b->digest, svn_checksum_md5 };
        if (expected && !svn_checksum_match(expected, &actual))
            return svn_checksum_mismatch_err(expected, &actual, pool, "Text of '%s' arrived damaged", b->name);
    }
    if (!b->edit)
        return SVN_NO_ERROR;
    try {
        b->edit->texts->insert(QString::fromUtf8(b->name), QByteArray(b->text->data, qsizetype(b->text->len)));
    } catch (...) {
        return svn_error_create(APR_ENOMEM, nullptr, "Out of memory reading a folder's texts");
    }
    return SVN_NO_ERROR;
}

// svn:// sessions run through a "tunnel" of our own: the same protocol over a
// socket that KORVO opens, so that every read and write waits at most the
// connect timeout. Without it a server that stops answering in the middle of a
// request (frozen, or its host gone) holds the window until the network gives up.
const char TunnelName[] = "korvo";

struct TunnelSocket {
    apr_socket_t *socket;
    int seconds;
    const char *where;
};

svn_error_t *tunnelTimedOut(const TunnelSocket *t)
{
    return svn_error_createf(SVN_ERR_RA_SVN_IO_ERROR, nullptr,
        "The Subversion server %s did not answer within %d second%s (setting \"SvnConnectTimeout\")", t->where,
        t->seconds, t->seconds == 1 ? "" : "s");
}

svn_error_t *tunnelRead(void *baton, char *buffer, apr_size_t *len)
{
    const auto *t = static_cast<const TunnelSocket *>(baton);
    const apr_status_t status = apr_socket_recv(t->socket, buffer, len);
    if (APR_STATUS_IS_TIMEUP(status) || APR_STATUS_IS_EAGAIN(status))
        return tunnelTimedOut(t);
    if (status && !APR_STATUS_IS_EOF(status))
        return svn_error_wrap_apr(status, "Can't read from connection");
    return SVN_NO_ERROR;
}

svn_error_t *tunnelReadFull(void *baton, char *buffer, apr_size_t *len)
{
    apr_size_t done = 0;
    while (done < *len) {
        apr_size_t part = *len - done;
        SVN_ERR(tunnelRead(baton, buffer + done, &part));
        if (part == 0)
            break;
        done += part;
    }
    *len = done;
    return SVN_NO_ERROR;
}

svn_error_t *tunnelWrite(void *baton, const char *data, apr_size_t *len)
{
    const auto *t = static_cast<const TunnelSocket *>(baton);
    apr_size_t done = 0;
    while (done < *len) {
        apr_size_t part = *len - done;
        const apr_status_t status = apr_socket_send(t->socket, data + done, &part);
        if (APR_STATUS_IS_TIMEUP(status) || APR_STATUS_IS_EAGAIN(status))
            return tunnelTimedOut(t);
        if (status)
            return svn_error_wrap_apr(status, "Can't write to connection");
        done += part;
    }
    return SVN_NO_ERROR;
}

svn_error_t *tunnelDataAvailable(void *baton, svn_boolean_t *available)
{
    const auto *t = static_cast<const TunnelSocket *>(baton);
    apr_pollfd_t fd {};
    fd.desc_type = APR_POLL_SOCKET;
    fd.desc.s = t->socket;
    fd.reqevents = APR_POLLIN;
    apr_int32_t signalled = 0;
    const apr_status_t status = apr_poll(&fd, 1, &signalled, 0);
    *available = status == APR_SUCCESS && signalled > 0;
    return SVN_NO_ERROR;
}

svn_boolean_t checkTunnel(void *, const char *name)
{
    return std::strcmp(name, TunnelName) == 0;
}

svn_error_t *openTunnel(svn_stream_t **request, svn_stream_t **response, svn_ra_close_tunnel_func_t *closeFunc,
    void **closeBaton, void *tunnelBaton, const char *, const char *, const char *hostname, int port,
    svn_cancel_func_t, void *, apr_pool_t *pool)
{
    const int seconds = std::max(1, *static_cast<const int *>(tunnelBaton));
    if (port <= 0)
        port = 3690; // svnserve's port
    apr_sockaddr_t *address = nullptr;
    apr_status_t status = apr_sockaddr_info_get(&address, hostname, APR_UNSPEC, apr_port_t(port), 0, pool);
    if (status)
        return svn_error_wrap_apr(status, "Unknown hostname '%s'", hostname);
    apr_socket_t *socket = nullptr;
    status = apr_socket_create(&socket, address->family, SOCK_STREAM, APR_PROTO_TCP, pool);
    if (status)
        return svn_error_wrap_apr(status, "Can't create socket");
    apr_socket_timeout_set(socket, apr_interval_time_t(seconds) * APR_USEC_PER_SEC);
    auto *t = static_cast<TunnelSocket *>(apr_pcalloc(pool, sizeof(TunnelSocket)));
    *t = { socket, seconds, apr_psprintf(pool, "%s:%d", hostname, port) };
    status = apr_socket_connect(socket, address);
    if (APR_STATUS_IS_TIMEUP(status))
        return tunnelTimedOut(t);
    if (status)
        return svn_error_wrap_apr(status, "Can't connect to host '%s'", hostname);
    svn_stream_t *in = svn_stream_create(t, pool);
    svn_stream_set_read2(in, tunnelRead, tunnelReadFull);
    svn_stream_set_data_available(in, tunnelDataAvailable);
    svn_stream_t *out = svn_stream_create(t, pool);
    svn_stream_set_write(out, tunnelWrite);
    *request = out;
    *response = in;
    *closeFunc = nullptr; // the socket closes with its pool
    *closeBaton = nullptr;
    return SVN_NO_ERROR;
}

} // namespace

namespace
{

} // namespace

struct SvnRepository::Auth {
    svn_auth_baton_t *baton = nullptr;
};

apr_pool_t *SvnRepository::RootPool()
{
    // Initialised once per process, on first use.
    static apr_pool_t *root = [] {
        apr_initialize();
#ifdef SIGPIPE
        // A server that goes away must give an error on the next request, not end the program.
        std::signal(SIGPIPE, SIG_IGN);
#endif
        svn_error_clear(svn_dso_initialize2());
        // A non-canonical path must give an error, not abort the process.
        svn_error_set_malfunction_handler(svn_error_raise_on_malfunction);
        apr_pool_t *p = svn_pool_create(nullptr);
        svn_error_clear(svn_ra_initialize(p));
        return p;
    }();
    return root;
}

void SvnRepository::Check(svn_error_t *err)
{
    if (!err)
        return;
    err = svn_error_purge_tracing(err);
    QStringList messages;
    QList<int> causes;
    char buf[512];
    for (svn_error_t *e = err; e; e = e->child) {
        causes.append(int(e->apr_err));
        const QString m = QString::fromUtf8(svn_err_best_message(e, buf, sizeof buf)).trimmed();
        if (!m.isEmpty() && !messages.contains(m))
            messages.append(m);
    }
    const int code = int(svn_error_root_cause(err)->apr_err);
    svn_error_clear(err);
    throw VssError(messages.join(QStringLiteral(": ")), code, causes);
}

SvnRepository::SvnRepository(const QString &url, const QString &userName, const QString &password, int connectTimeout)
    : mUrl(url)
    , mUserName(userName)
    , mConnectTimeout(connectTimeout)
    , mAuth(std::make_unique<Auth>())
{
    mPool = svn_pool_create(RootPool());
    apr_array_header_t *providers = apr_array_make(mPool, 2, sizeof(svn_auth_provider_object_t *));
    svn_auth_provider_object_t *provider;
    svn_auth_get_simple_prompt_provider(&provider, noSimplePrompt, nullptr, 0, mPool);
    APR_ARRAY_PUSH(providers, svn_auth_provider_object_t *) = provider;
    svn_auth_get_username_prompt_provider(&provider, noUsernamePrompt, nullptr, 0, mPool);
    APR_ARRAY_PUSH(providers, svn_auth_provider_object_t *) = provider;
    svn_auth_open(&mAuth->baton, providers, mPool);
    // Parameter values are not copied: they live as long as this object.
    svn_auth_set_parameter(mAuth->baton, SVN_AUTH_PARAM_DEFAULT_USERNAME, dupInPool(mPool, userName));
    svn_auth_set_parameter(mAuth->baton, SVN_AUTH_PARAM_DEFAULT_PASSWORD, dupInPool(mPool, password));
    svn_auth_set_parameter(mAuth->baton, SVN_AUTH_PARAM_NO_AUTH_CACHE, "");
    svn_auth_set_parameter(mAuth->baton, SVN_AUTH_PARAM_NON_INTERACTIVE, "");
    try {
        Open();
    } catch (...) {
        svn_pool_destroy(mPool);
        throw;
    }
}

void SvnRepository::ProbeSvnServer(const QString &url) const
{
    // ra_svn connects and reads the greeting without a time limit: an
    // unreachable or silent host would hang the window. Ask first, bounded.
    const QUrl u(url);
    if (u.scheme() != QLatin1String("svn"))
        return;
    const int ms = std::max(1, mConnectTimeout) * 1000;
    const QString where = QStringLiteral("%1:%2").arg(u.host()).arg(u.port(3690));
    const QString limit = QStringLiteral("within %1 second%2 (setting \"SvnConnectTimeout\")")
                              .arg(std::max(1, mConnectTimeout))
                              .arg(mConnectTimeout == 1 ? QString() : QStringLiteral("s"));
    QElapsedTimer clock;
    clock.start();
    QTcpSocket socket;
    socket.connectToHost(u.host(), quint16(u.port(3690)));
    if (!socket.waitForConnected(ms))
        throw VssError(QStringLiteral("Could not connect to the Subversion server %1 %2: %3")
                           .arg(where, limit, socket.errorString()));
    if (!socket.waitForReadyRead(int(std::max<qint64>(1, ms - clock.elapsed()))))
        throw VssError(QStringLiteral("The Subversion server %1 did not answer %2").arg(where, limit));
    socket.abort();
}

void SvnRepository::Open()
{
    apr_pool_t *pool = svn_pool_create(mPool);
    try {
        svn_ra_callbacks2_t *callbacks;
        Check(svn_ra_create_callbacks(&callbacks, pool));
        callbacks->auth_baton = mAuth->baton;

        const QByteArray raw = utf8(mUrl);
        const char *canonical = nullptr;
        Check(svn_uri_canonicalize_safe(&canonical, nullptr, raw.constData(), pool, pool));
        if (!svn_path_is_url(canonical))
            throw VssError(QStringLiteral("'%1' is not a repository URL").arg(mUrl), VssError::IniFile);
        ProbeSvnServer(fromSvn(canonical));
        // An svn:// URL is opened as svn+korvo:// on the same host, through openTunnel.
        const char *session_url = canonical;
        if (std::strncmp(canonical, "svn://", 6) == 0) {
            session_url = apr_pstrcat(pool, "svn+", TunnelName, canonical + 3, SVN_VA_NULL);
            callbacks->check_tunnel_func = checkTunnel;
            callbacks->open_tunnel_func = openTunnel;
            callbacks->tunnel_baton = &mConnectTimeout;
        }
        const char *corrected = nullptr;
        const char *redirect = nullptr;
        // No configuration: nothing of the user's Subversion set-up is read.
        svn_ra_session_t *session = nullptr;
        Check(svn_ra_open5(&session, &corrected, &redirect, session_url, nullptr, callbacks, nullptr, nullptr, pool));
        if (!session)
            throw VssError(QStringLiteral("The repository has moved to '%1'").arg(fromSvn(corrected)));
        const char *root = nullptr;
        Check(svn_ra_get_repos_root2(session, &root, pool));
        const char *rel = nullptr;
        Check(svn_ra_get_path_relative_to_root(session, &rel, session_url, pool));
        mUrl = fromSvn(canonical);
        mSessionUrl = fromSvn(session_url);
        mRootUrl = fromSvn(root);
        mRootPath = fromSvn(rel);
        mSession = session;
        mSessionPool = pool;
    } catch (...) {
        svn_pool_destroy(pool);
        throw;
    }
}

svn_ra_session_t *SvnRepository::Session()
{
    if (!mSession)
        Open();
    return mSession;
}

void SvnRepository::Call(svn_error_t *err)
{
    if (!err)
        return;
    // A connection that broke is dropped, and the next request opens a new one.
    static const apr_status_t broken[] = { SVN_ERR_RA_SVN_CONNECTION_CLOSED, SVN_ERR_RA_SVN_IO_ERROR };
    bool drop = std::any_of(std::begin(broken), std::end(broken),
        [&](apr_status_t code) { return svn_error_find_cause(err, code) != nullptr; });
    for (svn_error_t *e = err; e && !drop; e = e->child)
        drop = APR_STATUS_IS_ECONNRESET(e->apr_err) || APR_STATUS_IS_EPIPE(e->apr_err)
            || APR_STATUS_IS_ECONNREFUSED(e->apr_err);
    if (drop)
        DropSession();
    Check(err);
}

void SvnRepository::DropSession()
{
    if (!mSessionPool)
        return;
    svn_pool_destroy(mSessionPool);
    mSessionPool = nullptr;
    mSession = nullptr;
}

SvnRepository::~SvnRepository()
{
    // Destroying the pools closes the session.
    svn_pool_destroy(mPool);
}

QString SvnRepository::Join(const QString &a, const QString &b)
{
    if (a.isEmpty())
        return b;
    if (b.isEmpty())
        return a;
    return a + QLatin1Char('/') + b;
}

QString SvnRepository::Parent(const QString &path)
{
    const qsizetype i = path.lastIndexOf(QLatin1Char('/'));
    return i < 0 ? QString() : path.left(i);
}

QString SvnRepository::BaseName(const QString &path)
{
    return path.mid(path.lastIndexOf(QLatin1Char('/')) + 1);
}

QString SvnRepository::AbsolutePath(const QString &path) const
{
    return QLatin1Char('/') + Join(mRootPath, path);
}

QString SvnRepository::RelativePath(const QString &absolutePath) const
{
    QString p = absolutePath.mid(1);
    if (mRootPath.isEmpty())
        return p;
    if (p == mRootPath)
        return {};
    if (p.startsWith(mRootPath + QLatin1Char('/')))
        return p.mid(mRootPath.size() + 1);
    return QStringLiteral("../") + p; // outside the session; only ever compared
}

long SvnRepository::LatestRevision()
{
    Pool pool(mPool);
    svn_revnum_t rev = SVN_INVALID_REVNUM;
    Call(svn_ra_get_latest_revnum(Session(), &rev, pool));
    return long(rev);
}

SvnRepository::Kind SvnRepository::CheckPath(const QString &path, long revision)
{
    Pool pool(mPool);
    svn_node_kind_t kind = svn_node_none;
    Call(svn_ra_check_path(Session(), utf8(path).constData(), revision, &kind, pool));
    return kindOf(kind);
}

QList<SvnRepository::DirEntry> SvnRepository::ListDir(const QString &path, long revision)
{
    Pool pool(mPool);
    apr_hash_t *dirents = nullptr;
    Call(svn_ra_get_dir2(
        Session(), &dirents, nullptr, nullptr, utf8(path).constData(), revision, SVN_DIRENT_KIND, pool));
    QList<DirEntry> result;
    for (apr_hash_index_t *hi = apr_hash_first(pool, dirents); hi; hi = apr_hash_next(hi)) {
        const void *key;
        void *val;
        apr_hash_this(hi, &key, nullptr, &val);
        result.append({ fromSvn(static_cast<const char *>(key)), kindOf(static_cast<svn_dirent_t *>(val)->kind) });
    }
    return result;
}

QByteArray SvnRepository::FileContent(const QString &path, long revision)
{
    Pool pool(mPool);
    svn_stringbuf_t *buf = svn_stringbuf_create_empty(pool);
    svn_stream_t *stream = svn_stream_from_stringbuf(buf, pool);
    Call(svn_ra_get_file(Session(), utf8(path).constData(), revision, stream, nullptr, nullptr, pool));
    return QByteArray(buf->data, qsizetype(buf->len));
}

QHash<QString, QByteArray> SvnRepository::FolderContents(const QString &folder, long revision)
{
    Pool pool(mPool);
    const svn_revnum_t rev = revision >= 0 ? svn_revnum_t(revision) : svn_revnum_t(LatestRevision());
    svn_ra_session_t *session = Session();
    const char *home = dupInPool(pool, mSessionUrl);
    const char *folderUrl = svn_path_url_add_component2(home, dupInPool(pool, folder), pool);
    QHash<QString, QByteArray> texts;
    FolderEditBaton editBaton { &texts };
    svn_delta_editor_t *editor = svn_delta_default_editor(pool);
    editor->open_root = folderOpenRoot;
    editor->add_directory = folderAddDirectory;
    editor->add_file = folderAddFile;
    editor->apply_textdelta = folderApplyTextDelta;
    editor->close_file = folderCloseFile;

    // The session moves to the folder for the update and back afterwards. The
    // report says we hold the folder empty at the revision asked for, so every
    // file is sent whole.
    auto fetch = [&]() -> svn_error_t * {
        SVN_ERR(svn_ra_reparent(session, folderUrl, pool));
        const svn_ra_reporter3_t *reporter = nullptr;
        void *reportBaton = nullptr;
        SVN_ERR(svn_ra_do_update3(session, &reporter, &reportBaton, rev, "", svn_depth_files, FALSE, FALSE, editor,
            &editBaton, pool, pool));
        if (svn_error_t *err = reporter->set_path(reportBaton, "", rev, svn_depth_files, TRUE, nullptr, pool)) {
            svn_error_clear(reporter->abort_report(reportBaton, pool));
            return err;
        }
        SVN_ERR(reporter->finish_report(reportBaton, pool));
        return svn_ra_reparent(session, home, pool);
    };
    if (svn_error_t *err = fetch()) {
        // Where the session stands after a failure is unknown: the next request opens a new one.
        DropSession();
        Check(err);
    }
    return texts;
}

SvnRepository::LastChange SvnRepository::LastChangeOf(const QString &path)
{
    Pool pool(mPool);
    svn_dirent_t *dirent = nullptr;
    Call(svn_ra_stat(Session(), utf8(path).constData(), SVN_INVALID_REVNUM, &dirent, pool));
    if (!dirent)
        throw VssError(QStringLiteral("'%1' was not found").arg(path), VssError::NotFound);
    return { long(dirent->created_rev), fromSvn(dirent->last_author), fromSvnTime(dirent->time) };
}

static SvnRepository::Lock copyLock(const svn_lock_t *l)
{
    return { fromSvn(l->path), fromSvn(l->token), fromSvn(l->owner), fromSvn(l->comment),
        fromSvnTime(l->creation_date) };
}

QHash<QString, SvnRepository::Lock> SvnRepository::FolderLocks(const QString &folder)
{
    Pool pool(mPool);
    apr_hash_t *locks = nullptr;
    Call(svn_ra_get_locks2(Session(), &locks, utf8(folder).constData(), svn_depth_files, pool));
    const QString prefix = AbsolutePath(folder) + QLatin1Char('/');
    QHash<QString, Lock> result;
    for (apr_hash_index_t *hi = apr_hash_first(pool, locks); hi; hi = apr_hash_next(hi)) {
        const void *key;
        void *val;
        apr_hash_this(hi, &key, nullptr, &val);
        const QString path = fromSvn(static_cast<const char *>(key));
        if (path.startsWith(prefix) && !path.mid(prefix.size()).contains(QLatin1Char('/')))
            result.insert(path.mid(prefix.size()), copyLock(static_cast<const svn_lock_t *>(val)));
    }
    return result;
}

std::optional<SvnRepository::Lock> SvnRepository::GetLock(const QString &path)
{
    Pool pool(mPool);
    svn_lock_t *lock = nullptr;
    Call(svn_ra_get_lock(Session(), &lock, utf8(path).constData(), pool));
    if (!lock)
        return std::nullopt;
    return copyLock(lock);
}

void SvnRepository::LockFile(const QString &path, const QString &comment)
{
    Pool pool(mPool);
    apr_hash_t *revs = apr_hash_make(pool);
    auto *rev = static_cast<svn_revnum_t *>(apr_palloc(pool, sizeof(svn_revnum_t)));
    *rev = SVN_INVALID_REVNUM;
    svn_hash_sets(revs, dupInPool(pool, path), rev);
    LockBaton baton { pool };
    Call(svn_ra_lock(
        Session(), revs, comment.isEmpty() ? nullptr : dupInPool(pool, comment), FALSE, lockCallback, &baton, pool));
    // Per-path failures (locked by someone else) arrive only in the callback.
    Check(baton.error);
}

void SvnRepository::UnlockFile(const QString &path, const QString &token)
{
    Pool pool(mPool);
    apr_hash_t *tokens = apr_hash_make(pool);
    svn_hash_sets(tokens, dupInPool(pool, path), dupInPool(pool, token));
    LockBaton baton { pool };
    Call(svn_ra_unlock(Session(), tokens, FALSE, lockCallback, &baton, pool));
    Check(baton.error);
}

QList<SvnRepository::LogEntry> SvnRepository::Log(const QString &path, long start, long end, bool strictNodeHistory)
{
    Pool pool(mPool);
    apr_array_header_t *paths = apr_array_make(pool, 1, sizeof(const char *));
    APR_ARRAY_PUSH(paths, const char *) = dupInPool(pool, path);
    apr_array_header_t *revprops = apr_array_make(pool, 3, sizeof(const char *));
    APR_ARRAY_PUSH(revprops, const char *) = SVN_PROP_REVISION_AUTHOR;
    APR_ARRAY_PUSH(revprops, const char *) = SVN_PROP_REVISION_DATE;
    APR_ARRAY_PUSH(revprops, const char *) = SVN_PROP_REVISION_LOG;
    QList<LogEntry> entries;
    LogBaton baton { &entries };
    Call(svn_ra_get_log2(
        Session(), paths, start, end, 0, TRUE, strictNodeHistory, FALSE, revprops, logReceiver, &baton, pool));
    return entries;
}

SvnRepository::RevisionInfo SvnRepository::Revision(long revision)
{
    Pool pool(mPool);
    apr_hash_t *props = nullptr;
    Call(svn_ra_rev_proplist(Session(), revision, &props, pool));
    auto value = [&](const char *name) {
        const svn_string_t *v = static_cast<const svn_string_t *>(svn_hash_gets(props, name));
        return v ? QString::fromUtf8(v->data, qsizetype(v->len)) : QString();
    };
    RevisionInfo info;
    info.Author = value(SVN_PROP_REVISION_AUTHOR);
    info.Message = value(SVN_PROP_REVISION_LOG);
    info.Date = fromSvnDate(utf8(value(SVN_PROP_REVISION_DATE)).constData(), pool);
    return info;
}

long SvnRepository::DeletedRevision(const QString &path, long peg, long end)
{
    Pool pool(mPool);
    svn_revnum_t deleted = SVN_INVALID_REVNUM;
    Call(svn_ra_get_deleted_rev(Session(), utf8(path).constData(), peg, end, &deleted, pool));
    return SVN_IS_VALID_REVNUM(deleted) ? long(deleted) : -1;
}

long SvnRepository::Commit(const QString &folder, const QString &message, const QList<Change> &changes,
    const QHash<QString, QString> &lockTokens)
{
    Pool pool(mPool);
    for (const Change &c : changes) {
        if (c.Name.isEmpty() || c.Name.contains(QLatin1Char('/')))
            throw VssError(QStringLiteral("The name '%1' is not valid").arg(c.Name), VssError::InvalidName);
        Check(svn_path_check_valid(dupInPool(pool, Join(folder, c.Name)), pool));
    }
    // The base revision of every opened node: the latest, unless a change names
    // the revision its text is based on (then a newer version makes the commit
    // fail as out of date instead of being overwritten).
    const svn_revnum_t head = LatestRevision();

    apr_hash_t *revprops = apr_hash_make(pool);
    svn_hash_sets(revprops, SVN_PROP_REVISION_LOG, svn_string_create(utf8(message).constData(), pool));
    apr_hash_t *tokens = apr_hash_make(pool);
    for (auto it = lockTokens.cbegin(); it != lockTokens.cend(); ++it)
        svn_hash_sets(tokens, dupInPool(pool, it.key()), dupInPool(pool, it.value()));

    const svn_delta_editor_t *editor = nullptr;
    void *editBaton = nullptr;
    CommitBaton commitBaton;
    Call(svn_ra_get_commit_editor3(
        Session(), &editor, &editBaton, revprops, commitCallback, &commitBaton, tokens, FALSE, pool));

    // Drives the editor; on any error the edit is aborted so that nothing is left
    // half-written in the repository.
    auto drive = [&]() -> svn_error_t * {
        void *root = nullptr;
        SVN_ERR(editor->open_root(editBaton, head, pool, &root));
        QList<void *> dirs { root };
        QString opened;
        for (const QString &part : folder.split(QLatin1Char('/'), Qt::SkipEmptyParts)) {
            opened = Join(opened, part);
            void *child = nullptr;
            SVN_ERR(editor->open_directory(dupInPool(pool, opened), dirs.last(), head, pool, &child));
            dirs.append(child);
        }
        for (const Change &c : changes) {
            const char *path = dupInPool(pool, Join(folder, c.Name));
            const char *copyFrom = nullptr;
            if (!c.CopyFrom.isEmpty())
                copyFrom = svn_path_url_add_component2(dupInPool(pool, mSessionUrl), dupInPool(pool, c.CopyFrom), pool);
            switch (c.Operation) {
            case Change::Delete:
                SVN_ERR(editor->delete_entry(path, head, dirs.last(), pool));
                break;
            case Change::AddDir: {
                void *dir = nullptr;
                SVN_ERR(editor->add_directory(
                    path, dirs.last(), copyFrom, copyFrom ? c.CopyFromRev : SVN_INVALID_REVNUM, pool, &dir));
                SVN_ERR(editor->close_directory(dir, pool));
                break;
            }
            case Change::AddFile:
            case Change::ModifyFile: {
                void *file = nullptr;
                if (c.Operation == Change::AddFile)
                    SVN_ERR(editor->add_file(
                        path, dirs.last(), copyFrom, copyFrom ? c.CopyFromRev : SVN_INVALID_REVNUM, pool, &file));
                else
                    SVN_ERR(editor->open_file(path, dirs.last(), c.BaseRev >= 0 ? c.BaseRev : head, pool, &file));
                const char *checksum = nullptr;
                if (c.Content) {
                    svn_txdelta_window_handler_t handler;
                    void *handlerBaton;
                    SVN_ERR(editor->apply_textdelta(file, nullptr, pool, &handler, &handlerBaton));
                    svn_string_t text { c.Content->constData(), apr_size_t(c.Content->size()) };
                    // An empty text is the end of the delta alone: a window of
                    // one empty instruction is refused over svn://.
                    if (text.len > 0)
                        SVN_ERR(svn_txdelta_send_string(&text, handler, handlerBaton, pool));
                    else
                        SVN_ERR(handler(nullptr, handlerBaton));
                    svn_checksum_t *md5;
                    SVN_ERR(svn_checksum(&md5, svn_checksum_md5, text.data, text.len, pool));
                    checksum = svn_checksum_to_cstring(md5, pool);
                }
                SVN_ERR(editor->close_file(file, checksum, pool));
                break;
            }
            }
        }
        while (!dirs.isEmpty())
            SVN_ERR(editor->close_directory(dirs.takeLast(), pool));
        return editor->close_edit(editBaton, pool);
    };
    if (svn_error_t *err = drive()) {
        svn_error_clear(editor->abort_edit(editBaton, pool));
        Call(err);
    }
    if (!commitBaton.postCommitError.isEmpty())
        qWarning("post-commit: %s", qPrintable(commitBaton.postCommitError));
    return commitBaton.revision;
}
