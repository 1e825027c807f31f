#pragma once

#include "driver/SqlDriver.h"

#include <QString>

#include <memory>

// A database of its own on the test run's PostgreSQL cluster, owned by the
// login role "korvo" (password "korvo-pw"). Server is the cluster's socket
// folder, as a KORVOSQL of the PostgreSQL kind takes it. The database is
// dropped when the object goes.
class PgTestDatabase
{
public:
    PgTestDatabase(const QString &socketDir, const QString &database);
    ~PgTestDatabase();
    PgTestDatabase(const PgTestDatabase &) = delete;
    PgTestDatabase &operator=(const PgTestDatabase &) = delete;

    QString Server;
    QString Database;
    QString UserName = QStringLiteral("korvo");
    QString Password = QStringLiteral("korvo-pw");

    // Runs statements in this database as the owner role; throws SqlError.
    BatchResult exec(const QString &sql);
    // Runs statements in this database as the superuser; throws SqlError.
    BatchResult superuserExec(const QString &sql);
    // Ends every other session on this database, as a server restart would.
    void terminateSessions();

private:
    std::unique_ptr<SqlConnection> mOwner;
};

// The cluster a test talks to: by default the one the CTest fixture "pg" keeps
// for this build folder in the system's temporary folder; benchmarks start
// their own with startCluster(newClusterDir()).
class PgTestServer
{
public:
    explicit PgTestServer(const QString &socketDir = defaultSocketDir());

    static QString defaultSocketDir();
    // True when a server answers on the socket folder; why says what is wrong.
    bool available(QString *why = nullptr) const;
    // A fresh, empty database; the name is made unique for this process.
    std::unique_ptr<PgTestDatabase> newDatabase(const QString &name) const;
    // A connection as the superuser to a database of the cluster.
    std::unique_ptr<SqlConnection> superuser(const QString &database = QStringLiteral("postgres")) const;
    QString socketDir() const { return mSocketDir; }

    // Shorthand on the default cluster.
    static std::unique_ptr<PgTestDatabase> freshDatabase(const QString &name);

    // A folder for a cluster of one's own, not yet made: directly in the
    // system's temporary folder, which the server's user can enter.
    static QString newClusterDir();
    // Starts or stops a cluster of one's own with the fixture's script; stop
    // removes the folder.
    static bool startCluster(const QString &socketDir);
    static void stopCluster(const QString &socketDir);

    static QString conninfo(
        const QString &socketDir, const QString &database, const QString &user, const QString &password = QString());

private:
    QString mSocketDir;
};
