#include "UserDataFolder.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>

#include <cerrno>
#include <cstring>
#include <memory>
#include <vector>

#ifdef Q_OS_UNIX
#include <pwd.h>
#include <unistd.h>
#endif

namespace
{
constexpr int MaxUserNameLength = 25;
}

QString LoggedOnUserName()
{
    QString name;
#ifdef Q_OS_UNIX
    if (const passwd *pw = getpwuid(geteuid()))
        name = QString::fromLocal8Bit(pw->pw_name);
#endif
    if (name.isEmpty())
        name = qEnvironmentVariable("USER", qEnvironmentVariable("USERNAME"));
    return name.left(MaxUserNameLength);
}

QString UserDataRoot()
{
    const QString root = qEnvironmentVariable("KORVO_DATA_DIR");
    if (!root.isEmpty())
        return QDir::cleanPath(root);
    return QStandardPaths::writableLocation(QStandardPaths::AppDataLocation);
}

QString UserDataFolder()
{
    return UserDataRoot() + QLatin1Char('/') + LoggedOnUserName();
}

QString ReadTextFile(const QString &path)
{
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly))
        return {};
    QByteArray bytes = f.readAll();
    // Files saved by other editors may start with a byte order mark.
    if (bytes.startsWith("\xEF\xBB\xBF"))
        bytes.remove(0, 3);
    return QString::fromUtf8(bytes);
}

bool WriteTextFile(const QString &path, const QString &text, QString *reason)
{
    return WriteFileBytes(path, text.toUtf8(), reason);
}

bool WriteFileBytes(const QString &path, const QByteArray &bytes, QString *reason)
{
    return WriteFilesBytes({ { path, bytes } }, reason);
}

bool WriteFilesBytes(const QList<QPair<QString, QByteArray>> &files, QString *reason)
{
    // The "User" flags describe the caller's access, not the file's mode.
    constexpr auto userFlags = QFileDevice::ReadUser | QFileDevice::WriteUser | QFileDevice::ExeUser;
    struct Target {
        std::unique_ptr<QSaveFile> file;
        QFileDevice::Permissions before;
        bool readOnly = false;
    };
    std::vector<Target> targets;
    auto restore = [&targets] {
        for (Target &t : targets) {
            if (t.readOnly)
                QFile::setPermissions(t.file->fileName(), t.before);
        }
    };
    auto fail = [&](const QString &path, const QString &why) {
        for (Target &t : targets)
            t.file->cancelWriting();
        targets.clear(); // removes the temporaries
        if (reason)
            *reason = files.size() > 1 ? QStringLiteral("%1: %2").arg(path, why) : why;
        return false;
    };
    // Each file goes to a temporary beside it; only when all are complete are
    // they renamed over the old ones, so a full disk or a broken write leaves
    // the old files as they were.
    for (const auto &[path, bytes] : files) {
        const QFileInfo info(path);
        Target t;
        t.before = info.exists() ? QFile::permissions(path) & ~userFlags : QFileDevice::Permissions();
        t.readOnly = info.exists() && !(t.before & QFileDevice::WriteOwner);
        if (info.exists() && !info.isFile()) {
            restore();
            return fail(path, QStringLiteral("it is not a file"));
        }
        if (t.readOnly && !QFile::setPermissions(path, t.before | QFileDevice::WriteOwner)) {
            restore();
            return fail(path, QStringLiteral("the file is read-only"));
        }
        t.file = std::make_unique<QSaveFile>(path);
        QSaveFile &f = *t.file;
        targets.push_back(std::move(t));
        if (!f.open(QIODevice::WriteOnly | QIODevice::Unbuffered)) {
            const QString why = f.errorString();
            restore();
            return fail(path, why);
        }
        // Unbuffered, so that the write's own errno is at hand: a disk that fills
        // up during a write takes part of it and fails the rest, which Qt
        // reports as a short write without a reason.
        errno = 0;
        const qint64 written = f.write(bytes);
        const int error = errno;
        if (written != bytes.size()) {
            const QString why = f.error() == QFileDevice::NoError || error != 0
                ? QString::fromLocal8Bit(std::strerror(error ? error : EIO))
                : f.errorString();
            restore();
            return fail(path, why);
        }
    }
    bool ok = true;
    for (Target &t : targets) {
        if (ok && !t.file->commit()) {
            ok = false;
            if (reason)
                *reason = t.file->errorString();
        } else if (!ok) {
            t.file->cancelWriting();
        }
    }
    restore();
    return ok;
}
