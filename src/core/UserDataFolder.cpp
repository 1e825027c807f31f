#include "UserDataFolder.h"

#include <QDir>
#include <QFile>
#include <QStandardPaths>

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

bool WriteTextFile(const QString &path, const QString &text)
{
    // The "User" flags describe the caller's access, not the file's mode.
    constexpr auto userFlags = QFileDevice::ReadUser | QFileDevice::WriteUser | QFileDevice::ExeUser;
    QFile f(path);
    const bool existed = f.exists();
    const QFileDevice::Permissions before = existed ? f.permissions() & ~userFlags : QFileDevice::Permissions();
    const bool readOnly = existed && !(before & QFileDevice::WriteOwner);
    if (readOnly && !f.setPermissions(before | QFileDevice::WriteOwner))
        return false;

    bool ok = f.open(QIODevice::WriteOnly | QIODevice::Truncate);
    if (ok) {
        const QByteArray bytes = text.toUtf8();
        ok = f.write(bytes) == bytes.size();
        f.close();
        ok = ok && f.error() == QFileDevice::NoError;
    }
    if (readOnly)
        f.setPermissions(before);
    return ok;
}
