#include "DocGenText.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryFile>

#include <filesystem>
#include <system_error>

QString DocGenText::EscapeHTML(const QString &text, bool useNonBreakingSpace)
{
    if (text.isEmpty())
        return useNonBreakingSpace ? QStringLiteral("&nbsp;") : QString();
    // This order, "&" after "<" and ">", is how the documents have always looked.
    QString out = text;
    out.replace(QLatin1Char('<'), QLatin1String("&lt;"));
    out.replace(QLatin1Char('>'), QLatin1String("&gt;"));
    out.replace(QLatin1Char('&'), QLatin1String("&amp;"));
    out.replace(QLatin1Char('"'), QLatin1String("&quot;"));
    out.replace(QLatin1String("\r\n"), QLatin1String("<br>"));
    out.replace(QLatin1Char('\n'), QLatin1String("<br>"));
    return out;
}

QString DocGenText::EncapsulateOwner(const QString &owner) const
{
    return mProject.EncapsOwnerNames ? QLatin1Char('[') + owner + QLatin1Char(']') : owner;
}

QString DocGenText::ObjectDisplayText(const DocGenObject &object, bool inTable) const
{
    QString text = object.Name();
    if (mProject.EncapsObjects)
        text = QLatin1Char('[') + text + QLatin1Char(']');
    if (mProject.IncludeOwnerNames && !(inTable && mProject.OwnerInOwnCol))
        text = EncapsulateOwner(object.Owner()) + QLatin1Char('.') + text;
    return text;
}

QString DocGenText::FileDisplayName(const DocGenModule &module, const QString &fileName, QString &note)
{
    if (module.Path.isEmpty())
        return fileName;
    QString text;
    if (fileName.contains(module.Path)) {
        note.clear();
        text = fileName.mid(module.Path.size());
        text.replace(QDir::separator(), QLatin1Char(':'));
    } else {
        note = QStringLiteral("Note: this object resides outside the module path!");
        text = QLatin1Char('@') + NameOf(fileName);
    }
    return text + QLatin1Char(':');
}

QString DocGenText::FolderOf(const QString &fileName)
{
    DocGenFile file;
    file.SetFileName(fileName);
    return file.Path();
}

QString DocGenText::NameOf(const QString &fileName)
{
    DocGenFile file;
    file.SetFileName(fileName);
    return file.Name();
}

void ReplaceFile(const QString &path, const QByteArray &bytes)
{
    const QFileInfo target(path);
    QTemporaryFile temp(target.absolutePath() + QLatin1Char('/') + target.fileName() + QStringLiteral(".XXXXXX"));
    temp.setAutoRemove(true);
    if (!temp.open() || temp.write(bytes) != bytes.size() || !temp.flush())
        throw DocGenError { QStringLiteral("The document %1 could not be written: %2").arg(path, temp.errorString()) };
    temp.setPermissions(
        QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ReadGroup | QFileDevice::ReadOther);
    temp.close();
    if (target.exists() && !target.isWritable())
        QFile(path).setPermissions(QFile(path).permissions() | QFileDevice::WriteOwner | QFileDevice::WriteUser);
    std::error_code error;
    std::filesystem::rename(
        QFile::encodeName(temp.fileName()).toStdString(), QFile::encodeName(path).toStdString(), error);
    if (error)
        throw DocGenError { QStringLiteral("The document %1 could not be written: %2")
                                .arg(path, QString::fromStdString(error.message())) };
    temp.setAutoRemove(false);
}
