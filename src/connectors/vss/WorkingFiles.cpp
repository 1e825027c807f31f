#include "WorkingFiles.h"

#include "VssError.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace WorkingFiles
{

namespace
{

constexpr QFile::Permissions writeBits = QFile::WriteOwner | QFile::WriteUser | QFile::WriteGroup | QFile::WriteOther;

[[noreturn]] void fail(const QString &path, const QFile &file)
{
    throw VssError(
        QStringLiteral("Could not write the file '%1': %2").arg(QDir::toNativeSeparators(path), file.errorString()));
}

void ensureFolder(const QString &path)
{
    const QString folder = QFileInfo(path).absolutePath();
    if (!QDir().mkpath(folder))
        throw VssError(QStringLiteral("Could not create the folder '%1'").arg(QDir::toNativeSeparators(folder)));
}

void write(const QString &path, const QByteArray &data, bool anew)
{
    ensureFolder(path);
    const bool wasReadOnly = QFileInfo::exists(path) && IsReadOnly(path);
    if (wasReadOnly)
        SetReadOnly(path, false);
    if (anew && QFileInfo::exists(path))
        QFile::remove(path);
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(data) != data.size() || !file.flush())
        fail(path, file);
    file.close();
    if (wasReadOnly)
        SetReadOnly(path, true);
}

} // namespace

QByteArray ReadBytes(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return file.readAll();
}

QString ReadText(const QString &path)
{
    return DecodeText(ReadBytes(path));
}

QString DecodeText(const QByteArray &bytes)
{
    // A byte that is not UTF-8 would become U+FFFD and be written back so:
    // refuse the text instead of changing it.
    QString text = QString::fromUtf8(bytes);
    const QByteArray again = text.toUtf8();
    if (again == bytes)
        return text;
    qsizetype at = 0;
    while (at < bytes.size() && at < again.size() && bytes.at(at) == again.at(at))
        ++at;
    throw VssError(QStringLiteral("The file is not UTF-8 text: byte 0x%1 at offset %2 is not UTF-8. KORVO keeps "
                                  "texts as UTF-8 and leaves the file unchanged; convert it to UTF-8 and try again.")
                       .arg(quint8(bytes.at(at)), 2, 16, QLatin1Char('0'))
                       .arg(at));
}

void WriteNew(const QString &path, const QString &text)
{
    write(path, text.toUtf8(), true);
}

void Overwrite(const QString &path, const QString &text)
{
    write(path, text.toUtf8(), false);
}

void Fetch(const QString &path, const QByteArray &content, bool writable)
{
    ensureFolder(path);
    if (QFileInfo::exists(path))
        SetReadOnly(path, false);
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(content) != content.size()
        || !file.flush())
        fail(path, file);
    file.close();
    SetReadOnly(path, !writable);
}

void ForceDelete(const QString &path)
{
    if (!QFileInfo::exists(path))
        return;
    SetReadOnly(path, false);
    QFile file(path);
    if (!file.remove())
        throw VssError(QStringLiteral("Could not delete the file '%1': %2")
                           .arg(QDir::toNativeSeparators(path), file.errorString()));
}

bool IsReadOnly(const QString &path)
{
    // The owner bits: the "user" bits say what this process may do, which for root is everything.
    return !(QFile::permissions(path) & QFile::WriteOwner);
}

void SetReadOnly(const QString &path, bool readOnly)
{
    QFile::Permissions p = QFile::permissions(path);
    p = readOnly ? (p & ~writeBits) : (p | QFile::WriteOwner | QFile::WriteUser);
    QFile::setPermissions(path, p);
}

} // namespace WorkingFiles
