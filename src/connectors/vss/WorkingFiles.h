#pragma once

#include <QByteArray>
#include <QString>

// The working folder's files: plain UTF-8 text; a file that this user has not
// checked out is kept read-only. Failures throw VssError.
namespace WorkingFiles
{

// The whole file; a missing or empty file gives "". Throws VssError for a file
// that is not UTF-8, which could not come back out unchanged.
QString ReadText(const QString &path);
// The text of a file's bytes as ReadText gives it; throws VssError for bytes
// that are not UTF-8.
QString DecodeText(const QByteArray &bytes);
// Creates the file anew (a new file replaces an old one), keeping a read-only
// attribute that was set.
void WriteNew(const QString &path, const QString &text);
// Opens the file for writing, creating it if needed, keeping a read-only
// attribute that was set.
void Overwrite(const QString &path, const QString &text);
// Puts a copy from source control in place, read-only unless writable is set.
void Fetch(const QString &path, const QByteArray &content, bool writable);
// Deletes the file if it exists, through a read-only attribute.
void ForceDelete(const QString &path);
bool IsReadOnly(const QString &path);
void SetReadOnly(const QString &path, bool readOnly);
QByteArray ReadBytes(const QString &path);

} // namespace WorkingFiles
