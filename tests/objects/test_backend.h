#pragma once

// The two sides of the behaviour tests, on either server kind: a fresh database
// (on the test run's PostgreSQL cluster, or the scripted SQL Server) and a fresh
// Subversion repository with one project. Texts and catalogue set-ups come in
// the server's dialect, so that one test body runs on both kinds.

#include "KORVODBTItem.h"
#include "KORVOObjectFactory.h"
#include "KORVOVSS.h"
#include "KORVOVSSItems.h"
#include "KORVOVersionedObjects.h"
#include "PgTestServer.h"
#include "ScriptedSqlServer.h"
#include "ScriptedSqlServerCatalogue.h"
#include "ScriptedUi.h"
#include "SvnFixtures.h"
#include "driver/SqlError.h"
#include "sql/KORVOSQL.h"

#include <QCoreApplication>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QTest>

#include <functional>
#include <memory>
#include <utility>

// Wraps a driver so that a test can make the server drop KORVO's session at a
// chosen point, as a restart would: just before the first statement that
// matches the armed pattern is sent (or, with after, just before the statement
// that follows it). The statement then fails as it would for real.
class TrippingDriver : public SqlDriver
{
public:
    TrippingDriver(std::shared_ptr<SqlDriver> inner, std::function<void()> dropSessions)
        : mInner(std::move(inner))
        , mDrop(std::move(dropSessions))
    {
    }
    void Arm(const QString &pattern, bool after)
    {
        mTrip = QRegularExpression(pattern, QRegularExpression::DotMatchesEverythingOption);
        mAfter = after;
        mArmed = true;
        mPending = false;
    }
    void Disarm() { mArmed = mPending = false; }
    bool Tripped() const { return mTripped; }
    std::unique_ptr<SqlConnection> Open(const QString &connectionString) override
    {
        return std::make_unique<Connection>(*this, mInner->Open(connectionString));
    }

private:
    class Connection : public SqlConnection
    {
    public:
        Connection(TrippingDriver &driver, std::unique_ptr<SqlConnection> inner)
            : mDriver(driver)
            , mInner(std::move(inner))
        {
        }
        bool IsOpen() const override { return mInner->IsOpen(); }
        void Close() override { mInner->Close(); }
        BatchResult Execute(const QString &sql) override
        {
            mDriver.Before(sql);
            return mInner->Execute(sql);
        }

    private:
        TrippingDriver &mDriver;
        std::unique_ptr<SqlConnection> mInner;
    };

    void Before(const QString &sql)
    {
        if (!mArmed)
            return;
        const bool matches = mTrip.match(sql).hasMatch();
        if (mPending || (matches && !mAfter)) {
            mArmed = mPending = false;
            mTripped = true;
            mDrop();
        } else if (matches) {
            mPending = true; // the next statement fails
        }
    }

    std::shared_ptr<SqlDriver> mInner;
    std::function<void()> mDrop;
    QRegularExpression mTrip;
    bool mArmed = false, mAfter = false, mPending = false, mTripped = false;
};

class Backend
{
public:
    static inline const QString Project = QStringLiteral("$\\Db\\Objects\\");
    static inline const QString Dbo = QStringLiteral("dbo");

    ScriptedUi ui;
    std::unique_ptr<PgTestDatabase> pg; // PostgreSQL only
    std::unique_ptr<ScriptedSqlServer> scripted; // SQL Server only
    std::unique_ptr<SvnTestRepository> repo;
    std::shared_ptr<KORVOSQL> sql;
    std::shared_ptr<KORVOVSS> vss;
    std::shared_ptr<TrippingDriver> tripping; // the driver of sql
    std::unique_ptr<SvnServe> served; // see ServeTwoUsers

    // "PostgreSQL" or "SQLServer"; null, with the reason as a warning, when a side is missing.
    static std::unique_ptr<Backend> Make(const QString &kind, bool withVSS = true)
    {
        auto b = std::make_unique<Backend>();
        QString why = b->Open(kind == QLatin1String("PostgreSQL"), withVSS);
        if (why.isEmpty())
            return b;
        qWarning("%s: %s", qPrintable(kind), qPrintable(why));
        return nullptr;
    }

    ~Backend()
    {
        vss.reset();
        served.reset();
        sql.reset();
        pg.reset();
        // Roles belong to the cluster: they go once their database is gone.
        try {
            for (const QString &r : roles)
                PgTestServer().superuser()->Execute(QStringLiteral("DROP ROLE IF EXISTS ") + r);
        } catch (const SqlError &e) {
            qWarning("dropping test roles: %s", e.what());
        }
    }

    bool IsPostgreSQL() const { return bool(pg); }
    QString Pick(const QString &postgreSQL, const QString &sqlServer) const { return pg ? postgreSQL : sqlServer; }
    QString Database() const { return pg ? pg->Database : QStringLiteral("korvotest"); }

    // Binds a connection of another project (the session's own) to this database.
    void Bind(KORVOSQL &other, const std::shared_ptr<SqlDriver> &driver = nullptr)
    {
        if (pg) {
            other.SetKind(ServerKind::PostgreSQL());
            if (driver)
                other.SetDriver(driver);
            other.OpenConnection(pg->Server, pg->Database, pg->UserName, pg->Password, KORVOSQL::UseNTNo, true);
            return;
        }
        other.SetKind(ServerKind::SQLServer());
        other.SetDriver(driver ? driver : scripted->driver());
        other.OpenConnection("SQLTEST", Database(), "sa", "sa-pw", KORVOSQL::UseNTNo, true);
    }

    // --- A lost connection ---

    // The server drops sql's session before the first statement matching the
    // pattern is sent (after: before the statement that follows it).
    void LoseConnectionAt(const QString &pattern, bool after = false) { tripping->Arm(pattern, after); }
    // The server is back and sql reconnects with what it stored.
    void Reconnect()
    {
        tripping->Disarm();
        if (scripted)
            scripted->start();
        QCOMPARE(sql->OpenConnection(), QString());
    }
    // Words of the driver's own text for a dropped session.
    QString LostConnectionText() const
    {
        return Pick("terminat|server closed the connection", "Communication link failure");
    }

    // --- A second user ---

    // Serves the repository on svnserve to alice (pw1) and bob (pw2), moves
    // vss (alice, same working folder) there and returns bob's connection,
    // with a working folder of his own.
    std::shared_ptr<KORVOVSS> ServeTwoUsers()
    {
        if (!repo->ServeUsers({ { "alice", "pw1" }, { "bob", "pw2" } }))
            return nullptr;
        served = std::make_unique<SvnServe>(repo->Root());
        if (!served->IsRunning())
            return nullptr;
        const QString url = served->Url("repo");
        if (!vss->OpenConnection(url, "alice", "pw1", Project, vss->GeneralWorkingFolder(), true, false).isEmpty())
            return nullptr;
        auto bob = std::make_shared<KORVOVSS>(ui);
        if (!bob->OpenConnection(url, "bob", "pw2", Project, repo->Folder("work-bob"), true, false).isEmpty())
            return nullptr;
        return bob;
    }
    // What another program does to a check-out: "lock" (add --force to steal)
    // or "unlock" an item, as the given svnserve user.
    bool SvnAs(const QString &user, const QStringList &args, const QString &item)
    {
        QProcess p;
        p.start("svn",
            QStringList { "--non-interactive", "--no-auth-cache", "--config-dir", repo->Root() + "/.svnconfig-" + user,
                "--username", user, "--password", user == QLatin1String("alice") ? "pw1" : "pw2" }
                + args + QStringList { served->Url("repo") + "/Db/Objects/" + item });
        if (!p.waitForFinished(30000) || p.exitCode() != 0) {
            qWarning("svn %s: %s", qPrintable(args.join(' ')), p.readAllStandardError().constData());
            return false;
        }
        return true;
    }

    // --- Versioned objects ---

    // A CREATE text of the type owned by dbo; the variant 1..3 shows in its body
    // (a trigger's events). Procedures take the parameters a / b (integer, text).
    QString Text(ObjectClass cls, const QString &name, int variant = 1, const QString &table = QStringLiteral("t_ops"))
    {
        static const QStringList postgreSQL { "CREATE PROCEDURE dbo.%1(p_a integer, p_b character varying)\n "
                                              "LANGUAGE sql\nAS $$ SELECT %2 $$",
            "", "CREATE FUNCTION dbo.%1(p_a integer) RETURNS integer LANGUAGE sql AS $$ SELECT %2 $$",
            "CREATE VIEW dbo.%1 AS SELECT %2 AS a",
            "CREATE TRIGGER %1 AFTER %2 ON dbo.%3 FOR EACH ROW EXECUTE FUNCTION dbo.trg_fn()" };
        static const QStringList sqlServer { "CREATE PROCEDURE [dbo].[%1] @a int, @b varchar(10) AS SELECT %2", "",
            "CREATE FUNCTION [dbo].[%1] (@a int) RETURNS int AS BEGIN RETURN (SELECT %2) END",
            "CREATE VIEW [dbo].[%1] AS SELECT %2 AS a",
            "CREATE TRIGGER [dbo].[%1] ON [dbo].[%3] AFTER %2 AS SELECT 1" };
        const QString text = (pg ? postgreSQL : sqlServer).at(int(cls));
        if (cls != ObjectClass::Trigger)
            return text.arg(name).arg(variant);
        if (pg && !std::exchange(triggerFunction, true))
            pg->exec("CREATE FUNCTION dbo.trg_fn() RETURNS trigger LANGUAGE plpgsql AS $$ BEGIN RETURN NEW; END $$");
        if (table == QLatin1String("t_ops") && !std::exchange(opsTable, true))
            CreateTable(Dbo, table);
        const QStringList events { Pick("INSERT OR UPDATE", "INSERT, UPDATE"), "DELETE", "UPDATE" };
        return text.arg(name, events.value(variant - 1), table);
    }
    // What the server's text of a variant shows of it.
    static QString Marker(ObjectClass cls, int variant)
    {
        if (cls == ObjectClass::Trigger)
            return QStringLiteral("AFTER ") + QStringList { "INSERT", "DELETE", "UPDATE" }.value(variant - 1);
        return QStringLiteral("SELECT %1").arg(variant);
    }
    static QString Ext(ObjectClass cls) { return ObjectTypeInfo(cls).VSSExt; }

    // Creates an object on the server and returns its id.
    QString Create(
        ObjectClass cls, const QString &name, int variant = 1, const QString &table = QStringLiteral("t_ops"))
    {
        return Create(Text(cls, name, variant, table), name);
    }
    QString Create(const QString &text, const QString &name)
    {
        sql->ExecuteSQL(text);
        return Id(name);
    }
    void Drop(ObjectClass cls, const QString &name, const QString &table = QStringLiteral("t_ops"))
    {
        const QString word = QStringList { "PROCEDURE", "TABLE", "FUNCTION", "VIEW", "TRIGGER" }.value(int(cls));
        if (pg && cls == ObjectClass::Trigger)
            sql->ExecuteSQL(QStringLiteral("DROP TRIGGER %1 ON dbo.%2").arg(name, table));
        else
            sql->ExecuteSQL(Pick("DROP %1 dbo.%2", "DROP %1 [dbo].[%2]").arg(word, name));
    }
    QString Id(const QString &name, const QString &owner = Dbo) { return sql->GetObjectID(name, owner); }
    bool Exists(const QString &name) { return !Id(name).isEmpty(); }
    QString ServerText(const QString &id) { return sql->GetObjectText(id); }
    // A procedure on the server with its server text in source control under its id.
    QString Versioned(const QString &name)
    {
        const QString id = Create(ObjectClass::StoredProcedure, name);
        AddFile(id + QStringLiteral(".sp"), ServerText(id));
        return id;
    }

    // A file in the project, as a user would have added it.
    bool AddFile(const QString &item, const QString &text) { return vss->AddItem(item, text, true, QString()); }
    QStringList Files(const QString &filter = QStringLiteral("*"))
    {
        QStringList names;
        const auto items = vss->Items(filter, false, false);
        for (const auto &item : *items)
            names.append(item->Name);
        names.sort();
        return names;
    }
    // The latest checked-in text, whoever holds the check-out.
    QString Latest(const QString &item) { return vss->ItemContent(item, false, -1, true, false); }
    QString CheckedOutBy(const QString &item) { return vss->CheckedOutBy(item); }

    std::shared_ptr<KORVOVersionedObjects> Collection(ObjectClass cls, KORVOCollectionStatusSink *sink = nullptr) const
    {
        // The factory's kinds come in the order of the object classes.
        auto c = std::static_pointer_cast<KORVOVersionedObjects>(
            KORVOObjectFactory().Create(KORVOCollectionFactory::Kind(int(cls))));
        c->SetActiveDBConnection(sql);
        c->SetActiveVSSConnection(vss);
        c->SetIcons(std::make_shared<KORVOIcons>());
        c->SetStatusSink(sink);
        return c;
    }
    // A new object checked in through its collection, which keeps it.
    KORVOTypedObjectPtr CheckedIn(KORVOVersionedObjects &c, ObjectClass cls, const QString &name, int variant = 1)
    {
        KORVOTypedObjectPtr o = c.NewObject();
        return o->CheckIn(Text(cls, name, variant), QStringLiteral("created")) ? o : nullptr;
    }

    // Objects of a compile test that stayed behind.
    QStringList TemporaryObjects()
    {
        QStringList names;
        if (scripted) {
            for (const auto &o : scripted->database(Database()).Objects) {
                if (o.Name.startsWith(QLatin1String("sptmp_")))
                    names.append(o.Name);
            }
            return names;
        }
        const auto rs = sql->OpenRecordset(
            "SELECT proname AS name FROM pg_proc WHERE proname LIKE 'sptmp%' UNION ALL SELECT relname FROM pg_class "
            "WHERE relname LIKE 'sptmp%' UNION ALL SELECT tgname FROM pg_trigger WHERE tgname LIKE 'sptmp%'");
        for (; rs && !rs->Eof(); rs->MoveNext())
            names.append(rs->FieldText(QStringLiteral("name")));
        return names;
    }

    // The repository refuses every commit while on (a pre-commit hook).
    void RefuseCommits(bool on)
    {
        QFile hook(repo->Path() + QStringLiteral("/hooks/pre-commit"));
        if (!on) {
            hook.remove();
            return;
        }
        QVERIFY(hook.open(QIODevice::WriteOnly | QIODevice::Truncate));
        hook.write("#!/bin/sh\necho 'commits are closed' >&2\nexit 1\n");
        hook.close();
        hook.setPermissions(hook.permissions() | QFileDevice::ExeOwner | QFileDevice::ExeUser);
    }

    // Scripted server only: statements matching the pattern fail as a server error would.
    void FailStatements(const QString &pattern, const QString &message)
    {
        QVERIFY(scripted);
        scripted->addStatement(
            pattern,
            [message](ScriptedSqlServer::Call &) -> BatchResult { throw ScriptedSqlServer::serverError(102, message); },
            QRegularExpression::CaseInsensitiveOption);
    }

    // The box the test expects next is answered with OK.
    void ExpectBox() { ui.answer(UiServices::Answer::Ok); }
    // The last box; a text starting "~" is a part of the box's text (a server's own words).
    void ExpectLastBox(UiServices::Icon icon, const QString &title, const QString &text)
    {
        QVERIFY(!ui.boxes.isEmpty());
        QCOMPARE(ui.last().icon, icon);
        QCOMPARE(ui.last().title, title);
        if (text.startsWith(QLatin1Char('~')))
            QVERIFY2(ui.last().text.contains(text.mid(1)), qPrintable(ui.last().text));
        else
            QCOMPARE(ui.last().text, text);
    }

    // --- Tables and permissions ---

    // A table with the columns id (integer, not null), label (varchar(20),
    // nullable) and amount (numeric(10,2), not null); returns its id.
    QString CreateTable(const QString &owner, const QString &name)
    {
        const QString text = QStringLiteral("CREATE TABLE %1 (id int NOT NULL, label varchar(20) NULL, amount "
                                            "numeric(10,2) NOT NULL)")
                                 .arg(StatementName(owner, name));
        // The scripted server keeps no text of a table it creates: its columns come from this one.
        if (scripted)
            return QString::number(scripted->addObject(Database(), owner, name, "U", text));
        sql->ExecuteSQL(text);
        return Id(name, owner);
    }
    void DropTable(const QString &owner, const QString &name)
    {
        sql->ExecuteSQL(QStringLiteral("DROP TABLE ") + StatementName(owner, name));
    }
    // A second owner (schema or user) to make tables under.
    QString MakeOtherOwner()
    {
        if (pg) {
            pg->exec("CREATE SCHEMA sales");
        } else {
            scripted->addLogin("sales", "sales-pw");
            scripted->addUser(Database(), "sales", "sales");
        }
        return QStringLiteral("sales");
    }
    // Roles and users get names of their own per test run; returned is the name.
    QString CreateRole(const QString &base) { return MakeGrantee(base, false, {}); }
    QString CreateUser(const QString &base, const QStringList &memberOf = {})
    {
        return MakeGrantee(base, true, memberOf);
    }
    // The grantee that owns the tables, a role the full form leaves out, the role everyone is in.
    QString OwningGrantee() const { return pg ? pg->UserName : Dbo; }
    QString FixedRole() const { return Pick("pg_read_all_data", "db_datareader"); }
    QString PublicRole() const { return Pick("PUBLIC", "public"); }
    // verb: GRANT or DENY (SQL Server only); action: SELECT ...
    void Protect(
        const QString &verb, const QString &action, const QString &owner, const QString &table, const QString &grantee)
    {
        sql->ExecuteSQL(QStringLiteral("%1 %2 ON %3 TO %4")
                            .arg(verb, action, StatementName(owner, table), StatementGrantee(grantee)));
    }
    // What the server holds for a grantee on a table: sorted "GRANT SELECT", "DENY UPDATE" ...
    QStringList Rights(const QString &owner, const QString &table, const QString &grantee)
    {
        QStringList out;
        if (pg) {
            const QString who = grantee == QLatin1String("PUBLIC")
                ? QStringLiteral("0")
                : QStringLiteral("(SELECT oid FROM pg_roles WHERE rolname = '%1')").arg(grantee);
            auto rs = pg->exec(QStringLiteral("SELECT 'GRANT ' || a.privilege_type AS r FROM pg_class c CROSS JOIN "
                                              "LATERAL aclexplode(coalesce(c.relacl, acldefault('r', c.relowner))) a "
                                              "WHERE c.oid = '%1.%2'::regclass AND a.grantee = %3 ORDER BY 1")
                                   .arg(owner, table, who))
                          .Results.first();
            for (; !rs->Eof(); rs->MoveNext())
                out.append(rs->FieldText(QStringLiteral("r")));
            return out;
        }
        auto &db = scripted->database(Database());
        const auto *o = scripted->findObject(Database(), owner, table);
        for (const ScriptedSqlServer::Protection &p : db.Protections) {
            if (o && p.Id == o->Id && p.Uid == scripted->uidOf(db, grantee))
                out.append(p.ProtectType.toUpper() + QLatin1Char(' ') + p.Action.toUpper());
        }
        out.sort();
        return out;
    }
    // The table's name and a grantee as permission statements write them.
    QString StatementName(const QString &owner, const QString &table) const
    {
        return Pick("%1.%2", "[%1].[%2]").arg(owner, table);
    }
    QString StatementGrantee(const QString &grantee) const { return Pick("%1", "[%1]").arg(grantee); }

private:
    QStringList roles;
    bool triggerFunction = false, opsTable = false;

    QString Open(bool postgreSQL, bool withVSS)
    {
        QString why;
        if (postgreSQL) {
            PgTestServer server;
            if (!server.available(&why))
                return why;
            pg = server.newDatabase(QStringLiteral("objects"));
            pg->exec("CREATE SCHEMA dbo");
            sql = std::make_shared<KORVOSQL>(ui, ServerKind::PostgreSQL());
            // KORVO's sessions to this database end, and the call waits until they have.
            PgTestDatabase *db = pg.get();
            tripping = std::make_shared<TrippingDriver>(ServerKind::PostgreSQL()->DefaultDriver(), [db] {
                db->superuserExec(QStringLiteral("SELECT pg_terminate_backend(pid, 10000) FROM pg_stat_activity "
                                                 "WHERE datname = '%1' AND application_name = 'KORVO'")
                                      .arg(db->Database));
            });
        } else {
            scripted = std::make_unique<ScriptedSqlServer>();
            scripted->addDatabase(Database());
            scripted->addRole(Database(), "db_datareader", 16390); // a fixed role
            AddCatalogueStatements(*scripted);
            sql = std::make_shared<KORVOSQL>(ui);
            ScriptedSqlServer *server = scripted.get();
            tripping = std::make_shared<TrippingDriver>(server->driver(), [server] { server->stop(); });
        }
        Bind(*sql, tripping);
        if (!sql->ConnectionOpen())
            return QStringLiteral("no connection to the database");
        if (!withVSS)
            return QString();
        repo = std::make_unique<SvnTestRepository>();
        if (!repo->IsValid() || !repo->MakeFolders({ QStringLiteral("Db/Objects") }))
            return QStringLiteral("no Subversion repository");
        vss = std::make_shared<KORVOVSS>(ui);
        return vss->OpenConnection(repo->Url(), "alice", QString(), Project, repo->Folder("work"), true, true);
    }

    QString MakeGrantee(const QString &base, bool login, const QStringList &memberOf)
    {
        if (!pg) {
            if (!login) {
                scripted->addRole(Database(), base);
                return base;
            }
            scripted->addLogin(base, base + QStringLiteral("-pw"));
            scripted->addUser(Database(), base, base);
            scripted->database(Database()).Users.last().Roles = memberOf;
            return base;
        }
        static int counter = 0;
        const QString name
            = QStringLiteral("%1_%2_%3").arg(base).arg(QCoreApplication::applicationPid()).arg(++counter);
        pg->superuserExec(QStringLiteral("CREATE ROLE %1%2").arg(name, login ? " LOGIN" : ""));
        // Users go before the roles they are in.
        login ? roles.prepend(name) : roles.append(name);
        for (const QString &r : memberOf)
            pg->superuserExec(QStringLiteral("GRANT %1 TO %2").arg(r, name));
        return name;
    }
};

// The backend of the running data-driven test's "kind".
inline std::unique_ptr<Backend> OpenBackend(bool withVSS = true)
{
    QFETCH(QString, kind);
    return Backend::Make(kind, withVSS);
}

// One row per kind, or "<kind> <name>" rows for each of the names with a column "row" holding the name.
inline void AddKindRows(const QStringList &names = {})
{
    QTest::addColumn<QString>("kind");
    if (!names.isEmpty())
        QTest::addColumn<QString>("row");
    for (const char *kind : { "PostgreSQL", "SQLServer" }) {
        for (const QString &name : names.isEmpty() ? QStringList { QString() } : names) {
            QTestData &row = QTest::addRow("%s%s", kind, qPrintable(name.isEmpty() ? name : " " + name)) << kind;
            if (!names.isEmpty())
                row << name;
        }
    }
}

// A table of operations refused or failing at a step on both kinds: rows
// "<kind> <step>" with the columns kind, step, icon, title and text of the box
// expected; rows(postgreSQL, row) adds the rows of a kind.
struct StepRow {
    const char *kind;
    void operator()(const char *step, const QString &title, const QString &text,
        UiServices::Icon icon = UiServices::Icon::Critical) const
    {
        QTest::addRow("%s %s", kind, step) << QString(kind) << QString(step) << int(icon) << title << text;
    }
};
inline void AddStepRows(const std::function<void(bool postgreSQL, const StepRow &row)> &rows)
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QString>("step");
    QTest::addColumn<int>("icon");
    QTest::addColumn<QString>("title");
    QTest::addColumn<QString>("text");
    for (const char *kind : { "PostgreSQL", "SQLServer" })
        rows(kind[0] == 'P', StepRow { kind });
}

inline QStringList Sorted(QStringList list)
{
    list.sort();
    return list;
}

// "key|text|tag|image" of a node; of each node of a list; the keys of a list.
inline QString Node(const KORVODBTItemPtr &n)
{
    return n ? QStringList { n->Key, n->Text, n->Tag, n->ImageName }.join(QLatin1Char('|')) : QStringLiteral("none");
}
inline QStringList Nodes(const KORVODBTItems &items)
{
    QStringList out;
    for (const auto &n : items)
        out.append(Node(n));
    return out;
}
inline QStringList Keys(const KORVODBTItems &items)
{
    QStringList out;
    for (const auto &n : items)
        out.append(n->Key);
    return out;
}

// Records a collection's status events ("R1/4", "A0/2", "C") and cancels at a
// chosen retrieve position.
class Recorder : public KORVOCollectionStatusSink
{
public:
    QStringList events;
    long cancelAt = -1;

    void RetrieveStatusChange(KORVOObjectCollection &, long position, long total, bool &cancel) override
    {
        events.append(QStringLiteral("R%1/%2").arg(position).arg(total));
        cancel = position == cancelAt;
    }
    void AddingStatusChange(KORVOObjectCollection &, long position, long total, bool &) override
    {
        events.append(QStringLiteral("A%1/%2").arg(position).arg(total));
    }
    void CompletedCurrentStatus(KORVOObjectCollection &) override { events.append(QStringLiteral("C")); }
};

// What the behaviour tests hold per test function: the backend of the row's
// kind and a procedure collection on it, given up in cleanup().
class BackendTest
{
protected:
    std::unique_ptr<Backend> b;
    std::shared_ptr<KORVOVersionedObjects> procs;

    bool SetUp(KORVOCollectionStatusSink *sink = nullptr)
    {
        b = OpenBackend();
        if (b)
            procs = b->Collection(ObjectClass::StoredProcedure, sink);
        return bool(b);
    }
    // Every box a test expected came.
    void TearDown()
    {
        const bool answered = !b || b->ui.pending() == 0;
        procs.reset();
        b.reset();
        QVERIFY(answered);
    }
    // The box of the row (see AddStepRows) came after the given number of boxes, and no other.
    void ExpectRowBox(int before = 0)
    {
        QFETCH(int, icon);
        QFETCH(QString, title);
        QFETCH(QString, text);
        QCOMPARE(b->ui.boxes.size(), before + 1);
        b->ExpectLastBox(UiServices::Icon(icon), title, text);
    }
    KORVOTypedObjectPtr Refreshed(const QString &id)
    {
        bool cancel = false;
        procs->RefreshList(cancel);
        return procs->Object(id);
    }
};
