#include "SvnFixtures.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QThread>
#include <QUrl>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace
{

QString tempBase()
{
    const QString base = qEnvironmentVariable("KORVO_TEST_TMP", QDir::tempPath());
    QDir().mkpath(base);
    return base;
}

bool writeFile(const QString &path, const QString &text)
{
    QFile f(path);
    if (!f.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return false;
    return f.write(text.toUtf8()) >= 0;
}

bool listening(int port)
{
    const int s = ::socket(AF_INET, SOCK_STREAM, 0);
    if (s < 0)
        return false;
    sockaddr_in addr {};
    addr.sin_family = AF_INET;
    addr.sin_port = htons(quint16(port));
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const bool ok = ::connect(s, reinterpret_cast<sockaddr *>(&addr), sizeof addr) == 0;
    ::close(s);
    return ok;
}

} // namespace

int FreeLocalPort()
{
    const int s = ::socket(AF_INET, SOCK_STREAM, 0);
    if (s < 0)
        return 0;
    sockaddr_in addr {};
    addr.sin_family = AF_INET;
    addr.sin_port = 0;
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t len = sizeof addr;
    int port = 0;
    if (::bind(s, reinterpret_cast<sockaddr *>(&addr), sizeof addr) == 0
        && ::getsockname(s, reinterpret_cast<sockaddr *>(&addr), &len) == 0)
        port = ntohs(addr.sin_port);
    ::close(s);
    return port;
}

SvnTestRepository::SvnTestRepository(const QString &name)
    : mDir(tempBase() + QStringLiteral("/svn-XXXXXX"))
    , mName(name)
{
    if (!mDir.isValid())
        return;
    mValid = QProcess::execute(QStringLiteral("svnadmin"), { QStringLiteral("create"), Path() }) == 0;
}

QString SvnTestRepository::Path() const
{
    return mDir.filePath(mName);
}

QString SvnTestRepository::Url() const
{
    return QUrl::fromLocalFile(Path()).toString(QUrl::FullyEncoded);
}

QString SvnTestRepository::Folder(const QString &name) const
{
    const QString path = mDir.filePath(name);
    QDir(path).removeRecursively();
    QDir().mkpath(path);
    return path + QLatin1Char('/');
}

bool SvnTestRepository::Svn(const QStringList &args, QString *output) const
{
    QProcess p;
    p.start(QStringLiteral("svn"),
        QStringList { QStringLiteral("--non-interactive"), QStringLiteral("--no-auth-cache"),
            QStringLiteral("--config-dir"), mDir.filePath(QStringLiteral(".svnconfig")), QStringLiteral("--username"),
            QStringLiteral("setup") }
            + args);
    if (!p.waitForFinished(30000))
        return false;
    if (output)
        *output = QString::fromUtf8(p.readAllStandardOutput());
    if (p.exitCode() != 0)
        qWarning("svn %s: %s", qPrintable(args.join(QLatin1Char(' '))), p.readAllStandardError().constData());
    return p.exitStatus() == QProcess::NormalExit && p.exitCode() == 0;
}

bool SvnTestRepository::MakeFolders(const QStringList &paths) const
{
    QStringList args { QStringLiteral("mkdir"), QStringLiteral("--parents"), QStringLiteral("-m"),
        QStringLiteral("folders") };
    for (const QString &p : paths)
        args.append(Url() + QLatin1Char('/') + p);
    return Svn(args);
}

bool SvnTestRepository::Copy(const QString &from, const QString &to, const QString &message) const
{
    return Svn({ QStringLiteral("copy"), QStringLiteral("--parents"), QStringLiteral("-m"), message,
        Url() + QLatin1Char('/') + from, Url() + QLatin1Char('/') + to });
}

bool SvnTestRepository::ServeUsers(const QMap<QString, QString> &users) const
{
    QString passwd = QStringLiteral("[users]\n");
    QString authz = QStringLiteral("[/]\n");
    for (auto it = users.cbegin(); it != users.cend(); ++it) {
        passwd += it.key() + QStringLiteral(" = ") + it.value() + QLatin1Char('\n');
        authz += it.key() + QStringLiteral(" = rw\n");
    }
    const QString conf = Path() + QStringLiteral("/conf/");
    return writeFile(conf + QStringLiteral("svnserve.conf"),
               QStringLiteral("[general]\nanon-access = none\nauth-access = write\npassword-db = passwd\n"
                              "authz-db = authz\nrealm = test\n"))
        && writeFile(conf + QStringLiteral("passwd"), passwd) && writeFile(conf + QStringLiteral("authz"), authz);
}

SvnServe::SvnServe(const QString &root, int fixedPort)
{
    // A port that was free a moment ago may be taken in between: try a few.
    for (int attempt = 0; attempt < 5 && mPort == 0; ++attempt) {
        const int port = fixedPort > 0 ? fixedPort : FreeLocalPort();
        if (port == 0)
            continue;
        mProcess.start(QStringLiteral("svnserve"),
            { QStringLiteral("-d"), QStringLiteral("--foreground"), QStringLiteral("--threads"),
                QStringLiteral("--listen-host"), QStringLiteral("127.0.0.1"), QStringLiteral("--listen-port"),
                QString::number(port), QStringLiteral("-r"), root });
        if (!mProcess.waitForStarted(5000))
            continue;
        QElapsedTimer timer;
        timer.start();
        while (timer.elapsed() < 5000 && mProcess.state() == QProcess::Running) {
            if (listening(port)) {
                mPort = port;
                break;
            }
            QThread::msleep(20);
        }
        if (mPort == 0)
            Stop();
    }
}

SvnServe::~SvnServe()
{
    Stop();
}

void SvnServe::Stop()
{
    if (mProcess.state() != QProcess::NotRunning) {
        mProcess.terminate();
        if (!mProcess.waitForFinished(3000)) {
            mProcess.kill();
            mProcess.waitForFinished(3000);
        }
    }
}

QString SvnServe::Url(const QString &repository) const
{
    return QStringLiteral("svn://127.0.0.1:%1/%2").arg(mPort).arg(repository);
}
