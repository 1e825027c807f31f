#pragma once

#include <QByteArray>
#include <QList>
#include <QPair>
#include <QString>

// The per-user data folder and the text-file routine shared by everything that
// keeps plain text files: default texts, scripts, documents, their XML files.

// {data root}/{user}: the data root is $KORVO_DATA_DIR when set, else the
// application's data location; the user is the login name, at most 25 characters.
QString UserDataFolder();
QString UserDataRoot();
QString LoggedOnUserName();

// The whole file as UTF-8 text; a missing or unreadable file gives empty text.
QString ReadTextFile(const QString &path);

// Writes the text in one piece as UTF-8 without a byte order mark, creating or
// replacing the file: a temporary beside it is renamed over it when complete, so
// a failed write leaves the old file whole. A read-only file is made writable
// for the write and made read-only again afterwards. False when the file could
// not be written, with the system's reason ("No space left on device") in reason.
bool WriteTextFile(const QString &path, const QString &text, QString *reason = nullptr);
// The same for bytes written as they are.
bool WriteFileBytes(const QString &path, const QByteArray &bytes, QString *reason = nullptr);
// Several files written all or none: none is replaced unless all could be written.
bool WriteFilesBytes(const QList<QPair<QString, QByteArray>> &files, QString *reason = nullptr);
