#include "SvnFixtures.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTcpServer>
#include <QTcpSocket>
#include <QThread>
#include <QUrl>

#include <csignal>

using namespace Qt::StringLiterals;

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
    return f.open(QIODevice::WriteOnly | QIODevice::Truncate) && f.write(text.toUtf8()) >= 0;
}

bool listening(int port)
{
    QTcpSocket socket;
    socket.connectToHost(QHostAddress::LocalHost, quint16(port));
    return socket.waitForConnected(1000);
}

// A TCP port on 127.0.0.1 that nobody listens on at the moment.
int FreeLocalPort()
{
    QTcpServer probe;
    return probe.listen(QHostAddress::LocalHost) ? probe.serverPort() : 0;
}

} // namespace

SvnTestRepository::SvnTestRepository(const QString &name)
    : mDir(tempBase() + u"/svn-XXXXXX"_s)
    , mName(name)
{
    mValid = mDir.isValid() && QProcess::execute(u"svnadmin"_s, { u"create"_s, Path() }) == 0;
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
    return path + u'/';
}

bool SvnTestRepository::Svn(const QStringList &args, QString *output) const
{
    QProcess p;
    p.start(u"svn"_s,
        QStringList { u"--non-interactive"_s, u"--no-auth-cache"_s, u"--config-dir"_s, mDir.filePath(u".svnconfig"_s),
            u"--username"_s, u"setup"_s }
            + args);
    if (!p.waitForFinished(30000))
        return false;
    if (output)
        *output = QString::fromUtf8(p.readAllStandardOutput());
    if (p.exitCode() != 0)
        qWarning("svn %s: %s", qPrintable(args.join(u' ')), p.readAllStandardError().constData());
    return p.exitStatus() == QProcess::NormalExit && p.exitCode() == 0;
}

bool SvnTestRepository::MakeFolders(const QStringList &paths) const
{
    QStringList args { u"mkdir"_s, u"--parents"_s, u"-m"_s, u"folders"_s };
    for (const QString &p : paths)
        args.append(Url() + u'/' + p);
    return Svn(args);
}

bool SvnTestRepository::Copy(const QString &from, const QString &to, const QString &message) const
{
    return Svn({ u"copy"_s, u"--parents"_s, u"-m"_s, message, Url() + u'/' + from, Url() + u'/' + to });
}

bool SvnTestRepository::ServeUsers(const QMap<QString, QString> &users) const
{
    QString passwd = u"[users]\n"_s, authz = u"[/]\n"_s;
    for (auto it = users.cbegin(); it != users.cend(); ++it) {
        passwd += it.key() + u" = "_s + it.value() + u'\n';
        authz += it.key() + u" = rw\n"_s;
    }
    const QString conf = Path() + u"/conf/"_s;
    return writeFile(conf + u"svnserve.conf"_s,
               u"[general]\nanon-access = none\nauth-access = write\npassword-db = passwd\nauthz-db = authz\n"
               "realm = test\n"_s)
        && writeFile(conf + u"passwd"_s, passwd) && writeFile(conf + u"authz"_s, authz);
}

SvnServe::SvnServe(const QString &root, int fixedPort)
{
    // A port that was free a moment ago may be taken in between: try a few.
    for (int attempt = 0; attempt < 5 && mPort == 0; ++attempt) {
        const int port = fixedPort > 0 ? fixedPort : FreeLocalPort();
        if (port == 0)
            continue;
        mProcess.start(u"svnserve"_s,
            { u"-d"_s, u"--foreground"_s, u"--threads"_s, u"--listen-host"_s, u"127.0.0.1"_s, u"--listen-port"_s,
                QString::number(port), u"-r"_s, root });
        if (!mProcess.waitForStarted(5000))
            continue;
        QElapsedTimer timer;
        timer.start();
        while (mPort == 0 && timer.elapsed() < 5000 && mProcess.state() == QProcess::Running) {
            if (listening(port))
                mPort = port;
            else
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
    if (mProcess.state() == QProcess::NotRunning)
        return;
    Freeze(false);
    mProcess.terminate();
    if (!mProcess.waitForFinished(3000)) {
        mProcess.kill();
        mProcess.waitForFinished(3000);
    }
}

bool SvnServe::Freeze(bool on)
{
    const qint64 pid = mProcess.processId();
    return pid > 0 && ::kill(pid_t(pid), on ? SIGSTOP : SIGCONT) == 0;
}

QString SvnServe::Url(const QString &repository) const
{
    return u"svn://127.0.0.1:%1/%2"_s.arg(mPort).arg(repository);
}
