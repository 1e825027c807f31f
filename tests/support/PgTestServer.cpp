#include "PgTestServer.h"

#include "driver/PgDriver.h"

#include <QCoreApplication>
#include <QDir>
#include <QProcess>
#include <QProcessEnvironment>
#include <QUuid>

QString PgTestServer::conninfo(
    const QString &socketDir, const QString &database, const QString &user, const QString &password)
{
    QString s = QStringLiteral("host=%1 port=5432 dbname=%2 user=%3")
                    .arg(PgDriver::QuoteConnInfoValue(socketDir), PgDriver::QuoteConnInfoValue(database),
                        PgDriver::QuoteConnInfoValue(user));
    if (!password.isEmpty())
        s += QStringLiteral(" password=") + PgDriver::QuoteConnInfoValue(password);
    return s;
}

PgTestDatabase::PgTestDatabase(const QString &socketDir, const QString &database)
    : Server(socketDir)
    , Database(database)
{
}

PgTestDatabase::~PgTestDatabase()
{
    mOwner.reset();
    try {
        PgTestServer(Server).superuser()->Execute(
            QStringLiteral("DROP DATABASE IF EXISTS \"%1\" WITH (FORCE)").arg(Database));
    } catch (const SqlError &e) {
        qWarning("could not drop test database %s: %s", qPrintable(Database), e.what());
    }
}

BatchResult PgTestDatabase::exec(const QString &sql)
{
    if (!mOwner || !mOwner->IsOpen())
        mOwner = PgDriver().Open(PgTestServer::conninfo(Server, Database, UserName, Password));
    return mOwner->Execute(sql);
}

BatchResult PgTestDatabase::superuserExec(const QString &sql)
{
    return PgTestServer(Server).superuser(Database)->Execute(sql);
}

void PgTestDatabase::terminateSessions()
{
    PgTestServer(Server).superuser()->Execute(
        QStringLiteral("SELECT pg_terminate_backend(pid) FROM pg_stat_activity WHERE datname = '%1' AND pid <> "
                       "pg_backend_pid()")
            .arg(Database));
}

PgTestServer::PgTestServer(const QString &socketDir)
    : mSocketDir(socketDir)
{
}

QString PgTestServer::defaultSocketDir()
{
    QString tmp = QProcessEnvironment::systemEnvironment().value(QStringLiteral("KORVO_TEST_TMP"));
    if (tmp.isEmpty())
        tmp = QDir::tempPath();
    return QDir(tmp).absoluteFilePath(QStringLiteral("pg"));
}

bool PgTestServer::available(QString *why) const
{
    try {
        superuser();
        return true;
    } catch (const SqlError &e) {
        if (why)
            *why = QStringLiteral("PostgreSQL test cluster not reachable in %1 (run the tests through ctest, "
                                  "which starts it): %2")
                       .arg(mSocketDir, e.Description);
        return false;
    }
}

std::unique_ptr<SqlConnection> PgTestServer::superuser(const QString &database) const
{
    return PgDriver().Open(conninfo(mSocketDir, database, QStringLiteral("postgres")));
}

std::unique_ptr<PgTestDatabase> PgTestServer::newDatabase(const QString &name) const
{
    const QString database = QStringLiteral("kt_%1_%2_%3")
                                 .arg(name.toLower())
                                 .arg(QCoreApplication::applicationPid())
                                 .arg(QUuid::createUuid().toString(QUuid::Id128).left(8));
    superuser()->Execute(QStringLiteral("CREATE DATABASE \"%1\" OWNER korvo").arg(database));
    return std::make_unique<PgTestDatabase>(mSocketDir, database);
}

std::unique_ptr<PgTestDatabase> PgTestServer::freshDatabase(const QString &name)
{
    return PgTestServer().newDatabase(name);
}

bool PgTestServer::startCluster(const QString &socketDir)
{
    QProcess p;
    p.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    p.start(QStringLiteral("bash"), { QStringLiteral(KORVO_PG_SCRIPT), QStringLiteral("start"), socketDir });
    return p.waitForFinished(120000) && p.exitStatus() == QProcess::NormalExit && p.exitCode() == 0;
}

void PgTestServer::stopCluster(const QString &socketDir)
{
    QProcess p;
    p.start(QStringLiteral("bash"), { QStringLiteral(KORVO_PG_SCRIPT), QStringLiteral("stop"), socketDir });
    p.waitForFinished(60000);
}
