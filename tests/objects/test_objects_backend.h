#pragma once

// Two sides for the behaviour tests of versioned objects: a database (a fresh
// one on the test run's PostgreSQL cluster, or the scripted SQL Server) and a
// fresh Subversion repository with one project. Each backend writes the same
// objects in its own dialect, so that one test body runs on both kinds.

#include "KORVOVSS.h"
#include "KORVOVSSItems.h"
#include "PgTestServer.h"
#include "ScriptedSqlServer.h"
#include "ScriptedSqlServerTables.h"
#include "ScriptedSqlServerVersioned.h"
#include "ScriptedUi.h"
#include "SvnFixtures.h"
#include "sql/KORVOSQL.h"

#include <QTest>

#include <memory>

class ObjectsBackend
{
public:
    virtual ~ObjectsBackend()
    {
        vss.reset();
        sql.reset();
    }

    // "PostgreSQL" or "SQLServer"; null (with why) when a server is missing.
    static std::unique_ptr<ObjectsBackend> Make(const QString &kind, QString &why);

    static inline const QString Project = QStringLiteral("$\\Db\\Objects\\");

    ScriptedUi ui;
    std::unique_ptr<SvnTestRepository> repo;
    std::shared_ptr<KORVOSQL> sql;
    std::shared_ptr<KORVOVSS> vss;

    virtual bool IsPostgreSQL() const = 0;
    // Binds a connection of another project (the session's own) to this database.
    virtual void Bind(KORVOSQL &other) = 0;
    virtual QString Database() const = 0;

    // CREATE texts in the server's dialect, objects owned by "dbo".
    virtual QString ProcedureText(const QString &name, const QString &body = QStringLiteral("1")) const = 0;
    virtual QString FunctionText(const QString &name) const = 0;
    virtual QString ViewText(const QString &name) const = 0;
    virtual QString TableText(const QString &name) const = 0;
    // A trigger on dbo.table that fires on INSERT and UPDATE.
    virtual QString TriggerText(const QString &name, const QString &table) = 0;
    virtual QString DropText(ObjectClass cls, const QString &name, const QString &table = QString()) const = 0;
    // The parameters ProcedureText declares, as GetFields shows them: name, type.
    virtual QList<QStringList> ProcedureFields() const = 0;

    // Runs a text on the server and returns the id of the object of that name.
    QString Create(const QString &text, const QString &name)
    {
        sql->ExecuteSQL(text);
        return sql->GetObjectID(name, QStringLiteral("dbo"));
    }
    void Drop(ObjectClass cls, const QString &name, const QString &table = QString())
    {
        sql->ExecuteSQL(DropText(cls, name, table));
    }
    // A file in the project, as a user would have added it.
    bool AddFile(const QString &item, const QString &text) { return vss->AddItem(item, text, true, QString()); }
    QStringList Files(const QString &filter = QStringLiteral("*"))
    {
        QStringList names;
        const auto items = vss->Items(filter, false, false);
        for (const auto &item : *items)
            names.append(item->Name);
        return names;
    }

    // A second user of the same project, with a working folder of its own.
    std::shared_ptr<KORVOVSS> OtherUser(const QString &user)
    {
        auto other = std::make_shared<KORVOVSS>(ui);
        other->OpenConnection(repo->Url(), user, QString(), Project, repo->Folder(user), true, true);
        return other;
    }

protected:
    bool OpenVSS(QString &why)
    {
        repo = std::make_unique<SvnTestRepository>();
        if (!repo->IsValid() || !repo->MakeFolders({ QStringLiteral("Db/Objects") })) {
            why = QStringLiteral("no Subversion repository");
            return false;
        }
        vss = std::make_shared<KORVOVSS>(ui);
        why = vss->OpenConnection(
            repo->Url(), QStringLiteral("alice"), QString(), Project, repo->Folder(QStringLiteral("work")), true, true);
        return why.isEmpty();
    }
};

class PgObjectsBackend : public ObjectsBackend
{
public:
    std::unique_ptr<PgTestDatabase> db;
    bool triggerFunction = false;

    ~PgObjectsBackend() override
    {
        vss.reset();
        sql.reset();
        db.reset();
    }

    bool Open(QString &why)
    {
        PgTestServer server;
        if (!server.available(&why))
            return false;
        db = server.newDatabase(QStringLiteral("objects"));
        db->exec(QStringLiteral("CREATE SCHEMA dbo"));
        sql = std::make_shared<KORVOSQL>(ui, ServerKind::PostgreSQL());
        why = sql->OpenConnection(db->Server, db->Database, db->UserName, db->Password, KORVOSQL::UseNTNo, true);
        return why.isEmpty() && OpenVSS(why);
    }
    void Bind(KORVOSQL &other) override
    {
        other.SetKind(ServerKind::PostgreSQL());
        other.OpenConnection(db->Server, db->Database, db->UserName, db->Password, KORVOSQL::UseNTNo, true);
    }
    QString Database() const override { return db->Database; }

    bool IsPostgreSQL() const override { return true; }
    QString ProcedureText(const QString &name, const QString &body) const override
    {
        return QStringLiteral("CREATE PROCEDURE dbo.%1(p_a integer, p_b character varying)\n LANGUAGE sql\nAS $$ "
                              "SELECT %2 $$")
            .arg(name, body);
    }
    QString FunctionText(const QString &name) const override
    {
        return QStringLiteral("CREATE FUNCTION dbo.%1(p_a integer) RETURNS integer LANGUAGE sql AS $$ SELECT p_a $$")
            .arg(name);
    }
    QString ViewText(const QString &name) const override
    {
        return QStringLiteral("CREATE VIEW dbo.%1 AS SELECT 1 AS a").arg(name);
    }
    QString TableText(const QString &name) const override
    {
        return QStringLiteral("CREATE TABLE dbo.%1 (id integer NOT NULL)").arg(name);
    }
    QString TriggerText(const QString &name, const QString &table) override
    {
        if (!triggerFunction) {
            sql->ExecuteSQL(QStringLiteral("CREATE FUNCTION dbo.korvo_trigger_fn() RETURNS trigger LANGUAGE plpgsql "
                                           "AS $$ BEGIN RETURN NEW; END $$"));
            triggerFunction = true;
        }
        return QStringLiteral("CREATE TRIGGER %1 AFTER INSERT OR UPDATE ON dbo.%2 FOR EACH ROW EXECUTE FUNCTION "
                              "dbo.korvo_trigger_fn()")
            .arg(name, table);
    }
    QString DropText(ObjectClass cls, const QString &name, const QString &table) const override
    {
        switch (cls) {
        case ObjectClass::StoredProcedure:
            return QStringLiteral("DROP PROCEDURE dbo.") + name;
        case ObjectClass::UserDefinedFunction:
            return QStringLiteral("DROP FUNCTION dbo.") + name;
        case ObjectClass::View:
            return QStringLiteral("DROP VIEW dbo.") + name;
        case ObjectClass::Table:
            return QStringLiteral("DROP TABLE dbo.") + name;
        case ObjectClass::Trigger:
            return QStringLiteral("DROP TRIGGER %1 ON dbo.%2").arg(name, table);
        }
        return QString();
    }
    QList<QStringList> ProcedureFields() const override
    {
        return { { QStringLiteral("p_a"), QStringLiteral("integer") },
            { QStringLiteral("p_b"), QStringLiteral("character varying") } };
    }
};

class SqlServerObjectsBackend : public ObjectsBackend
{
public:
    ScriptedSqlServer server;

    ~SqlServerObjectsBackend() override
    {
        vss.reset();
        sql.reset();
    }

    bool Open(QString &why)
    {
        server.addDatabase(QStringLiteral("korvotest"));
        AddTableAndPermissionStatements(server);
        AddVersionedObjectStatements(server);
        sql = std::make_shared<KORVOSQL>(ui);
        Bind(*sql);
        why = sql->ConnectionOpen() ? QString() : QStringLiteral("scripted server refused");
        return why.isEmpty() && OpenVSS(why);
    }
    void Bind(KORVOSQL &other) override
    {
        other.SetKind(ServerKind::SQLServer());
        other.SetDriver(server.driver());
        other.OpenConnection(QStringLiteral("SQLTEST"), QStringLiteral("korvotest"), QStringLiteral("sa"),
            QStringLiteral("sa-pw"), KORVOSQL::UseNTNo, true);
    }
    QString Database() const override { return QStringLiteral("korvotest"); }

    bool IsPostgreSQL() const override { return false; }
    QString ProcedureText(const QString &name, const QString &body) const override
    {
        return QStringLiteral("CREATE PROCEDURE [dbo].[%1] @a int, @b varchar(10) AS SELECT %2").arg(name, body);
    }
    QString FunctionText(const QString &name) const override
    {
        return QStringLiteral("CREATE FUNCTION [dbo].[%1] (@a int) RETURNS int AS BEGIN RETURN @a END").arg(name);
    }
    QString ViewText(const QString &name) const override
    {
        return QStringLiteral("CREATE VIEW [dbo].[%1] AS SELECT 1 AS a").arg(name);
    }
    QString TableText(const QString &name) const override
    {
        return QStringLiteral("CREATE TABLE [dbo].[%1] (id int NOT NULL)").arg(name);
    }
    QString TriggerText(const QString &name, const QString &table) override
    {
        return QStringLiteral("CREATE TRIGGER [dbo].[%1] ON [dbo].[%2] FOR INSERT, UPDATE AS SELECT 1")
            .arg(name, table);
    }
    QString DropText(ObjectClass cls, const QString &name, const QString &) const override
    {
        static const QHash<ObjectClass, QString> words { { ObjectClass::StoredProcedure, QStringLiteral("PROCEDURE") },
            { ObjectClass::UserDefinedFunction, QStringLiteral("FUNCTION") },
            { ObjectClass::View, QStringLiteral("VIEW") }, { ObjectClass::Table, QStringLiteral("TABLE") },
            { ObjectClass::Trigger, QStringLiteral("TRIGGER") } };
        return QStringLiteral("DROP %1 [dbo].[%2]").arg(words.value(cls), name);
    }
    QList<QStringList> ProcedureFields() const override
    {
        return { { QStringLiteral("@a"), QStringLiteral("int") },
            { QStringLiteral("@b"), QStringLiteral("varchar(10)") } };
    }
};

inline std::unique_ptr<ObjectsBackend> ObjectsBackend::Make(const QString &kind, QString &why)
{
    if (kind == QLatin1String("PostgreSQL")) {
        auto backend = std::make_unique<PgObjectsBackend>();
        if (!backend->Open(why))
            return nullptr;
        return backend;
    }
    auto backend = std::make_unique<SqlServerObjectsBackend>();
    if (!backend->Open(why))
        return nullptr;
    return backend;
}

// One row per server kind for a data-driven test.
inline void AddKindRows()
{
    QTest::addColumn<QString>("kind");
    QTest::newRow("PostgreSQL") << QStringLiteral("PostgreSQL");
    QTest::newRow("SQLServer") << QStringLiteral("SQLServer");
}
