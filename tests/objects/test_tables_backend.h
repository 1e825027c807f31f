#pragma once

// One database for the behaviour tests of tables and permissions: a fresh
// database on the test run's PostgreSQL cluster, or the scripted SQL Server.
// Each backend sets up the same situations in its own catalogue, so that one
// test body runs against both kinds.

#include "PgTestServer.h"
#include "ScriptedSqlServer.h"
#include "ScriptedSqlServerTables.h"
#include "ScriptedSqlServerVersioned.h"
#include "ScriptedUi.h"
#include "sql/KORVOSQL.h"

#include <QCoreApplication>
#include <QTest>

#include <memory>

class TestBackend
{
public:
    virtual ~TestBackend() = default;

    // "PostgreSQL" or "SQLServer"; null (with why) when the server is missing.
    static std::unique_ptr<TestBackend> Make(const QString &kind, QString &why);

    ScriptedUi ui;
    std::shared_ptr<KORVOSQL> sql;

    virtual bool IsPostgreSQL() const = 0;
    // The owner tables are made under, and the grantee that owns them.
    virtual QString DefaultOwner() const = 0;
    virtual QString OwningGrantee() const = 0;
    // A second owner (schema or user) to make tables under.
    virtual QString MakeOtherOwner() = 0;
    // A table with the columns id (integer, not null), label (varchar(20),
    // nullable) and amount (numeric(10,2), not null); returns its id.
    virtual QString CreateTable(const QString &owner, const QString &name) = 0;
    // The type texts of those three columns.
    virtual QStringList ColumnTypes() const = 0;
    virtual void DropTable(const QString &owner, const QString &name) = 0;
    // Roles and users get names of their own per test run; returned is the name.
    virtual QString CreateRole(const QString &base) = 0;
    virtual QString CreateUser(const QString &base, const QStringList &roles = {}) = 0;
    // A role the full form must leave out.
    virtual QString FixedRole() const = 0;
    // The role every grantee belongs to.
    virtual QString PublicRole() const = 0;
    // action: "SELECT" ...; on PostgreSQL deny does not exist.
    virtual void Grant(const QString &owner, const QString &table, const QString &action, const QString &grantee) = 0;
    virtual void Deny(const QString &owner, const QString &table, const QString &action, const QString &grantee) = 0;
    // What the server holds for a grantee on a table: sorted "GRANT SELECT", "DENY UPDATE" ...
    virtual QStringList Rights(const QString &owner, const QString &table, const QString &grantee) = 0;
    // The table's name as permission statements write it.
    virtual QString StatementName(const QString &owner, const QString &table) const = 0;
    // A grantee as permission statements write it after TO or FROM.
    virtual QString StatementGrantee(const QString &grantee) const = 0;
};

// --- PostgreSQL ---

class PgBackend : public TestBackend
{
public:
    std::unique_ptr<PgTestDatabase> db;
    QStringList roles;

    ~PgBackend() override
    {
        sql.reset();
        db.reset();
        if (roles.isEmpty())
            return;
        // Roles belong to the cluster: drop them once the database is gone.
        try {
            auto su = PgTestServer().superuser();
            for (const QString &r : roles)
                su->Execute(QStringLiteral("DROP ROLE IF EXISTS ") + r);
        } catch (const SqlError &e) {
            qWarning("dropping test roles: %s", e.what());
        }
    }

    bool Open(QString &why)
    {
        PgTestServer server;
        if (!server.available(&why))
            return false;
        db = server.newDatabase(QStringLiteral("tables"));
        sql = std::make_shared<KORVOSQL>(ui, ServerKind::PostgreSQL());
        why = sql->OpenConnection(db->Server, db->Database, db->UserName, db->Password, KORVOSQL::UseNTNo, true);
        return why.isEmpty();
    }

    bool IsPostgreSQL() const override { return true; }
    QString DefaultOwner() const override { return QStringLiteral("public"); }
    QString OwningGrantee() const override { return db->UserName; }
    QString MakeOtherOwner() override
    {
        db->exec(QStringLiteral("CREATE SCHEMA sales"));
        return QStringLiteral("sales");
    }
    QString CreateTable(const QString &owner, const QString &name) override
    {
        const QString qualified = owner + QLatin1Char('.') + name;
        db->exec(QStringLiteral("CREATE TABLE %1 (id integer NOT NULL, label varchar(20), amount numeric(10,2) NOT "
                                "NULL)")
                     .arg(qualified));
        auto rs = db->exec(QStringLiteral("SELECT '%1'::regclass::oid::bigint AS id").arg(qualified)).Results.first();
        return rs->FieldText(QStringLiteral("id"));
    }
    QStringList ColumnTypes() const override
    {
        return { QStringLiteral("integer"), QStringLiteral("character varying(20)"), QStringLiteral("numeric(10,2)") };
    }
    void DropTable(const QString &owner, const QString &name) override
    {
        db->exec(QStringLiteral("DROP TABLE %1.%2").arg(owner, name));
    }
    QString Unique(const QString &base)
    {
        static int counter = 0;
        return QStringLiteral("%1_%2_%3").arg(base).arg(QCoreApplication::applicationPid()).arg(++counter);
    }
    QString CreateRole(const QString &base) override
    {
        const QString name = Unique(base);
        db->superuserExec(QStringLiteral("CREATE ROLE ") + name);
        roles.append(name);
        return name;
    }
    QString CreateUser(const QString &base, const QStringList &memberOf) override
    {
        const QString name = Unique(base);
        db->superuserExec(QStringLiteral("CREATE ROLE %1 LOGIN").arg(name));
        roles.prepend(name);
        for (const QString &r : memberOf)
            db->superuserExec(QStringLiteral("GRANT %1 TO %2").arg(r, name));
        return name;
    }
    QString FixedRole() const override { return QStringLiteral("pg_read_all_data"); }
    QString PublicRole() const override { return QStringLiteral("PUBLIC"); }
    void Grant(const QString &owner, const QString &table, const QString &action, const QString &grantee) override
    {
        db->exec(QStringLiteral("GRANT %1 ON %2.%3 TO %4").arg(action, owner, table, grantee));
    }
    void Deny(const QString &, const QString &, const QString &, const QString &) override
    {
        QFAIL("PostgreSQL has no deny");
    }
    QStringList Rights(const QString &owner, const QString &table, const QString &grantee) override
    {
        const QString who = grantee == QLatin1String("PUBLIC")
            ? QStringLiteral("0")
            : QStringLiteral("(SELECT oid FROM pg_roles WHERE rolname = '%1')").arg(grantee);
        auto rs = db->exec(QStringLiteral("SELECT 'GRANT ' || a.privilege_type AS r FROM pg_class c CROSS JOIN LATERAL "
                                          "aclexplode(coalesce(c.relacl, acldefault('r', c.relowner))) a WHERE c.oid "
                                          "= '%1.%2'::regclass AND a.grantee = %3 ORDER BY 1")
                               .arg(owner, table, who))
                      .Results.first();
        QStringList out;
        for (; !rs->Eof(); rs->MoveNext())
            out.append(rs->FieldText(QStringLiteral("r")));
        return out;
    }
    QString StatementName(const QString &owner, const QString &table) const override
    {
        return owner + QLatin1Char('.') + table;
    }
    QString StatementGrantee(const QString &grantee) const override { return grantee; }
};

// --- Scripted SQL Server ---

class SqlServerBackend : public TestBackend
{
public:
    ScriptedSqlServer server;
    const QString dbName = QStringLiteral("shop");

    ~SqlServerBackend() override { sql.reset(); }

    bool Open(QString &why)
    {
        server.addDatabase(dbName);
        // A fixed database role, which the full form leaves out.
        server.addRole(dbName, QStringLiteral("db_datareader"), 16390);
        AddVersionedObjectStatements(server);
        AddTableAndPermissionStatements(server);
        sql = std::make_shared<KORVOSQL>(ui, ServerKind::SQLServer());
        sql->SetDriver(server.driver());
        why = sql->OpenConnection(
            QStringLiteral("SQLTEST"), dbName, QStringLiteral("sa"), QStringLiteral("sa-pw"), KORVOSQL::UseNTNo, true);
        return why.isEmpty();
    }

    ScriptedSqlServer::Database &db() { return server.database(dbName); }

    bool IsPostgreSQL() const override { return false; }
    QString DefaultOwner() const override { return QStringLiteral("dbo"); }
    QString OwningGrantee() const override { return QStringLiteral("dbo"); }
    QString MakeOtherOwner() override
    {
        server.addLogin(QStringLiteral("sales"), QStringLiteral("sales-pw"));
        server.addUser(dbName, QStringLiteral("sales"), QStringLiteral("sales"));
        return QStringLiteral("sales");
    }
    QString CreateTable(const QString &owner, const QString &name) override
    {
        return QString::number(server.addObject(dbName, owner, name, QStringLiteral("U"),
            QStringLiteral("CREATE TABLE [%1].[%2] (id int NOT NULL, label "
                           "varchar(20) NULL, amount numeric(10,2) NOT NULL)")
                .arg(owner, name)));
    }
    QStringList ColumnTypes() const override
    {
        return { QStringLiteral("int"), QStringLiteral("varchar(20)"), QStringLiteral("numeric(10, 2)") };
    }
    void DropTable(const QString &owner, const QString &name) override
    {
        const int uid = server.uidOf(db(), owner);
        db().Objects.removeIf([&](const ScriptedSqlServer::Object &o) { return o.Uid == uid && o.Name == name; });
    }
    QString CreateRole(const QString &base) override
    {
        server.addRole(dbName, base);
        return base;
    }
    QString CreateUser(const QString &base, const QStringList &roles) override
    {
        server.addLogin(base, base + QStringLiteral("-pw"));
        server.addUser(dbName, base, base);
        db().Users.last().Roles = roles;
        return base;
    }
    QString FixedRole() const override { return QStringLiteral("db_datareader"); }
    QString PublicRole() const override { return QStringLiteral("public"); }
    long TableId(const QString &owner, const QString &table)
    {
        const ScriptedSqlServer::Object *o = server.findObject(dbName, owner, table);
        return o ? o->Id : 0;
    }
    void Protect(
        const QString &owner, const QString &table, const QString &action, const QString &grantee, const QString &type)
    {
        const QString word = action.left(1) + action.mid(1).toLower();
        db().Protections.append({ TableId(owner, table), server.uidOf(db(), grantee), word, type });
    }
    void Grant(const QString &owner, const QString &table, const QString &action, const QString &grantee) override
    {
        Protect(owner, table, action, grantee, QStringLiteral("Grant"));
    }
    void Deny(const QString &owner, const QString &table, const QString &action, const QString &grantee) override
    {
        Protect(owner, table, action, grantee, QStringLiteral("Deny"));
    }
    QStringList Rights(const QString &owner, const QString &table, const QString &grantee) override
    {
        const long id = TableId(owner, table);
        const int uid = server.uidOf(db(), grantee);
        QStringList out;
        for (const ScriptedSqlServer::Protection &p : db().Protections) {
            if (p.Id == id && p.Uid == uid)
                out.append(p.ProtectType.toUpper() + QLatin1Char(' ') + p.Action.toUpper());
        }
        out.sort();
        return out;
    }
    QString StatementName(const QString &owner, const QString &table) const override
    {
        return QStringLiteral("[%1].[%2]").arg(owner, table);
    }
    QString StatementGrantee(const QString &grantee) const override
    {
        return QLatin1Char('[') + grantee + QLatin1Char(']');
    }
};

inline std::unique_ptr<TestBackend> TestBackend::Make(const QString &kind, QString &why)
{
    if (kind == QLatin1String("PostgreSQL")) {
        auto b = std::make_unique<PgBackend>();
        if (!b->Open(why))
            return nullptr;
        return b;
    }
    auto b = std::make_unique<SqlServerBackend>();
    if (!b->Open(why))
        return nullptr;
    return b;
}

// Adds the kind column to a data-driven test: one row per kind.
#define KORVO_BACKEND_DATA()                                                                                           \
    QTest::addColumn<QString>("kind");                                                                                 \
    QTest::newRow("PostgreSQL") << QStringLiteral("PostgreSQL");                                                       \
    QTest::newRow("SQLServer") << QStringLiteral("SQLServer")

#define KORVO_BACKEND(var)                                                                                             \
    QFETCH(QString, kind);                                                                                             \
    QString why_##var;                                                                                                 \
    std::unique_ptr<TestBackend> var = TestBackend::Make(kind, why_##var);                                             \
    if (!var)                                                                                                          \
    QFAIL(qPrintable(kind + QStringLiteral(": ") + why_##var))
