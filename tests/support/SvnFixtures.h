#pragma once

#include <QMap>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <memory>

// A throw-away Subversion repository made with svnadmin in a fresh folder below
// $KORVO_TEST_TMP (or the system's temporary folder), removed at the end.
class SvnTestRepository
{
public:
    explicit SvnTestRepository(const QString &name = QStringLiteral("repo"));

    bool IsValid() const { return mValid; }
    QString Root() const { return mDir.path(); } // the folder that holds the repository
    QString Path() const { return mDir.filePath(mName); } // the repository itself
    QString Url() const; // file:// URL of the repository
    // A fresh, empty folder below the root, with a trailing separator.
    QString Folder(const QString &name) const;

    // Runs the svn command-line client with the test's own configuration; true on success.
    bool Svn(const QStringList &args, QString *output = nullptr) const;
    // Makes folders ("A/B" and so on) in one commit.
    bool MakeFolders(const QStringList &paths) const;
    // Copies a folder of the repository to another path (a tag), with a log message.
    bool Copy(const QString &from, const QString &to, const QString &message) const;
    // Lets svnserve serve this repository to the given users (name -> password).
    bool ServeUsers(const QMap<QString, QString> &users) const;

private:
    QTemporaryDir mDir;
    QString mName;
    bool mValid = false;
};

// svnserve on 127.0.0.1 on a free port, serving a folder of repositories, with
// connections in threads so that stopping it ends every session;
// stopped when the object goes.
class SvnServe
{
public:
    // port 0 takes a free one.
    explicit SvnServe(const QString &root, int port = 0);
    ~SvnServe();

    bool IsRunning() const { return mPort > 0 && mProcess.state() == QProcess::Running; }
    int Port() const { return mPort; }
    QString Url(const QString &repository) const;
    void Stop();
    // Stops (SIGSTOP) or thaws the server: frozen it keeps its connections and
    // takes new ones, but answers nothing.
    bool Freeze(bool on);

private:
    QProcess mProcess;
    int mPort = 0;
};
