#include "PgTestServer.h"

#include "driver/PgDriver.h"

#include <QCoreApplication>
#include <QDir>
#include <QProcess>
#include <QUuid>

using namespace Qt::StringLiterals;

namespace
{

// Runs the fixture's script: start or stop a cluster in a folder.
bool clusterScript(const QString &command, const QString &socketDir, int timeout)
{
    QProcess p;
    p.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    p.start(u"bash"_s, { QStringLiteral(KORVO_PG_SCRIPT), command, socketDir });
    return p.waitForFinished(timeout) && p.exitStatus() == QProcess::NormalExit && p.exitCode() == 0;
}

} // namespace

QString PgTestServer::conninfo(
    const QString &socketDir, const QString &database, const QString &user, const QString &password)
{
    const auto q = &PgDriver::QuoteConnInfoValue;
    return u"host=%1 port=5432 dbname=%2 user=%3"_s.arg(q(socketDir), q(database), q(user))
        + (password.isEmpty() ? QString() : u" password="_s + q(password));
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
        PgTestServer(Server).superuser()->Execute(u"DROP DATABASE IF EXISTS \"%1\" WITH (FORCE)"_s.arg(Database));
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
        u"SELECT pg_terminate_backend(pid) FROM pg_stat_activity WHERE datname = '%1' AND pid <> pg_backend_pid()"_s
            .arg(Database));
}

PgTestServer::PgTestServer(const QString &socketDir)
    : mSocketDir(socketDir)
{
}

QString PgTestServer::defaultSocketDir()
{
    return QStringLiteral(KORVO_PG_DIR);
}

QString PgTestServer::newClusterDir()
{
    return QDir(QDir::tempPath())
        .absoluteFilePath(u"korvo-pg-%1-%2"_s.arg(QCoreApplication::applicationPid())
                              .arg(QUuid::createUuid().toString(QUuid::Id128).left(8)));
}

bool PgTestServer::available(QString *why) const
{
    try {
        superuser();
        return true;
    } catch (const SqlError &e) {
        if (why)
            *why = u"PostgreSQL test cluster not reachable in %1 (run the tests through ctest, which starts it): %2"_s
                       .arg(mSocketDir, e.Description);
        return false;
    }
}

std::unique_ptr<SqlConnection> PgTestServer::superuser(const QString &database) const
{
    return PgDriver().Open(conninfo(mSocketDir, database, u"postgres"_s));
}

std::unique_ptr<PgTestDatabase> PgTestServer::newDatabase(const QString &name) const
{
    const QString database = u"kt_%1_%2_%3"_s.arg(name.toLower())
                                 .arg(QCoreApplication::applicationPid())
                                 .arg(QUuid::createUuid().toString(QUuid::Id128).left(8));
    superuser()->Execute(u"CREATE DATABASE \"%1\" OWNER korvo"_s.arg(database));
    return std::make_unique<PgTestDatabase>(mSocketDir, database);
}

std::unique_ptr<PgTestDatabase> PgTestServer::freshDatabase(const QString &name)
{
    return PgTestServer().newDatabase(name);
}

bool PgTestServer::startCluster(const QString &socketDir)
{
    return clusterScript(u"start"_s, socketDir, 120000);
}

void PgTestServer::stopCluster(const QString &socketDir)
{
    clusterScript(u"stop"_s, socketDir, 60000);
}
