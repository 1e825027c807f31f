// The permission model on both server kinds: the quick and the full form, the
// tree rows, the script and the restating save, deny only where the server has it.
#include "../objects/test_backend.h"

#include "KORVOPermissions.h"

#include <QtTest>

namespace
{

KORVOPermissionsPtr Read(Backend &b, const QString &id, bool quick, int show = 0)
{
    auto p = std::make_shared<KORVOPermissions>();
    p->ActiveDBConnection = b.sql;
    p->DatabaseID = id;
    p->QuickList = quick;
    p->Show = show;
    p->GetItemPermissions();
    return p;
}

QStringList Names(const KORVOPermissions &p)
{
    QStringList names;
    for (const KORVOPermissionPtr &row : p)
        names.append(row->Name);
    return names;
}

// "S I U D R X" values of a row, e.g. "1 0 2 0 0 0".
QString Values(const KORVOPermissionPtr &p)
{
    if (!p)
        return QStringLiteral("none");
    return QStringLiteral("%1 %2 %3 %4 %5 %6")
        .arg(p->HasSelect)
        .arg(p->HasInsert)
        .arg(p->HasUpdate)
        .arg(p->HasDelete)
        .arg(p->HasReferences)
        .arg(p->HasExecute);
}

// The situation the tests start from: dbo.t_perm with a role and a user that
// have rights, three roles without, and a user in those three.
struct Situation {
    QString table = QStringLiteral("t_perm"), id, reader, writer, busy;
    QStringList roles;

    explicit Situation(Backend &b)
    {
        id = b.CreateTable("dbo", table);
        reader = b.CreateRole("r_reader");
        for (const char *r : { "r_a", "r_b", "r_c" })
            roles.append(b.CreateRole(r));
        writer = b.CreateUser("u_writer");
        busy = b.CreateUser("u_busy", roles);
        b.Protect("GRANT", "SELECT", "dbo", table, reader);
        b.Protect("GRANT", "SELECT", "dbo", table, writer);
        b.Protect("GRANT", "INSERT", "dbo", table, writer);
    }
};

} // namespace

class TestPermissions : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void applyProtectRow_data()
    {
        QTest::addColumn<QString>("action");
        QTest::addColumn<QString>("protectType");
        QTest::addColumn<QString>("expected");
        const auto row = [](const char *name, const char *action, const char *type, const char *expected) {
            QTest::newRow(name) << action << type << expected;
        };
        // DELETE starts granted.
        row("grant select", "Select", "Grant     ", "1 0 0 1 0 0");
        row("deny update", " update ", "DENY", "0 0 2 1 0 0");
        row("execute", "Execute", "Grant", "0 0 0 1 0 1");
        row("references", "References", "grant", "0 0 0 1 1 0");
        row("with grant option is no grant", "Insert", "Grant_WGO", "0 0 0 1 0 0");
        row("other word clears", "Delete", "Revoke", "0 0 0 0 0 0");
        row("other actions ignored", "TRUNCATE", "Grant", "0 0 0 1 0 0");
    }
    void applyProtectRow()
    {
        QFETCH(QString, action);
        QFETCH(QString, protectType);
        QFETCH(QString, expected);
        auto p = std::make_shared<KORVOPermission>();
        p->HasDelete = 1;
        ApplyProtectRow(*p, action, protectType);
        QCOMPARE(Values(p), expected);
    }

    void quickForm_data() { AddKindRows(); }
    void quickForm()
    {
        auto b = OpenBackend(false);
        QVERIFY(b);
        const Situation s(*b);
        KORVOPermissionsPtr all = Read(*b, s.id, true);
        QCOMPARE(Values(all->Item(s.reader)), QStringLiteral("1 0 0 0 0 0"));
        QCOMPARE(Values(all->Item(s.writer)), QStringLiteral("1 1 0 0 0 0"));
        // Only grantees with something set.
        QVERIFY(!all->Item(s.roles[0]));
        QVERIFY(!all->Item(s.busy));
        QVERIFY(all->Item(s.reader)->IsRole);
        // SQL Server takes every grantee it knows for a role; PostgreSQL tells login roles apart.
        QCOMPARE(all->Item(s.writer)->IsRole, !b->IsPostgreSQL());
        QStringList roles, users;
        for (const KORVOPermissionPtr &row : *all) {
            QVERIFY(row->HasAnyPermissionSet());
            QCOMPARE(row->IsOwner, row->Name == b->OwningGrantee());
            (row->IsRole ? roles : users).append(row->Name);
        }
        // Show 1 keeps the roles, 2 the others.
        QCOMPARE(Names(*Read(*b, s.id, true, 1)), roles);
        QCOMPARE(Names(*Read(*b, s.id, true, 2)), users);

        // The tree's rows: one per grantee, one child per right set.
        KORVODBTItemsPtr items = GetPermissionItems(s.id, *all);
        QCOMPARE(items->Count(), all->Count());
        for (int n = 0; n < all->Count(); ++n) {
            const KORVOPermissionPtr row = all->Item(n);
            const QString key = QStringLiteral("P%1_value%2").arg(s.id).arg(n + 1);
            QCOMPARE(Node(items->Item(key)), key + "|" + row->Name + "||PERMISSION:" + (row->IsRole ? "ROLE" : "USER"));
            if (row->Name == s.writer)
                QCOMPARE(Nodes(items->Item(key)->Children()),
                    QStringList({ key + "_1|SELECT||PERMISSION:GRANT", key + "_2|INSERT||PERMISSION:GRANT" }));
        }
    }

    void fullForm_data() { AddKindRows(); }
    void fullForm()
    {
        auto b = OpenBackend(false);
        QVERIFY(b);
        const Situation s(*b);
        KORVOPermissionsPtr all = Read(*b, s.id, false);
        const QStringList names = Names(*all);
        // Every user and every role that is not a fixed one, each once; roles first.
        for (const QString &name : QStringList { s.reader, s.writer, s.busy, b->PublicRole() } + s.roles)
            QCOMPARE(names.count(name), 1);
        QVERIFY(!names.contains(b->FixedRole()));
        QVERIFY(names.indexOf(s.reader) < names.indexOf(s.writer));
        QCOMPARE(Values(all->Item(s.reader)), QStringLiteral("1 0 0 0 0 0"));
        QCOMPARE(Values(all->Item(s.writer)), QStringLiteral("1 1 0 0 0 0"));
        QCOMPARE(Values(all->Item(s.busy)), QStringLiteral("0 0 0 0 0 0"));
        QVERIFY(!all->Item(s.busy)->HasAnyPermissionSet());
        QVERIFY(all->Item(s.roles[1])->IsRole && !all->Item(s.busy)->IsRole);
        QVERIFY(all->Item(b->OwningGrantee())->IsOwner);
        QCOMPARE(std::count_if(all->begin(), all->end(), [](const KORVOPermissionPtr &p) { return p->IsOwner; }), 1);

        for (int show : { 1, 2 }) {
            KORVOPermissionsPtr part = Read(*b, s.id, false, show);
            QVERIFY(part->Count() > 0);
            for (const KORVOPermissionPtr &row : *part)
                QVERIFY2(row->IsRole == (show == 1), qPrintable(row->Name));
        }
        QCOMPARE(Read(*b, s.id, false, 1)->Count() + Read(*b, s.id, false, 2)->Count(), all->Count());
    }

    void createScript_data() { AddKindRows(); }
    void createScript()
    {
        auto b = OpenBackend(false);
        QVERIFY(b);
        const Situation s(*b);
        KORVOPermissionsPtr quick = Read(*b, s.id, true);
        auto statement = [&](const QString &verb, const QString &action, const QString &grantee) {
            return QStringLiteral("%1 %2 ON %3%4%5\r\n")
                .arg(verb, action, b->StatementName("dbo", s.table),
                    verb == QLatin1String("REVOKE") && b->IsPostgreSQL() ? " FROM " : " TO ",
                    b->StatementGrantee(grantee));
        };
        const QStringList actions { "SELECT", "INSERT", "UPDATE", "DELETE", "REFERENCES" };
        QString expected;
        for (const KORVOPermissionPtr &row : *quick) {
            for (int i = 0; !row->IsOwner && i < actions.size(); ++i)
                expected += statement(row->Value(ActionSelect + i) == 1 ? "GRANT" : "REVOKE", actions[i], row->Name);
        }
        // The reader's block, exactly.
        QVERIFY(expected.contains(statement("GRANT", "SELECT", s.reader) + statement("REVOKE", "INSERT", s.reader)
            + statement("REVOKE", "UPDATE", s.reader) + statement("REVOKE", "DELETE", s.reader)
            + statement("REVOKE", "REFERENCES", s.reader)));
        QCOMPARE(quick->CreateScript(), expected);
        // With the names given the object is not looked up.
        QCOMPARE(quick->CreateScript(s.table, "dbo"), expected);
        // The owner's row yields nothing; PostgreSQL lists the owner's own rights.
        QCOMPARE(bool(quick->Item(b->OwningGrantee())), b->IsPostgreSQL());
        QVERIFY(!expected.contains(b->StatementGrantee(b->OwningGrantee()) + "\r\n"));
    }

    void saveRestatesEverything_data() { AddKindRows(); }
    void saveRestatesEverything()
    {
        auto b = OpenBackend(false);
        QVERIFY(b);
        const Situation s(*b);
        KORVOPermissionsPtr full = Read(*b, s.id, false);
        full->Item(s.reader)->HasSelect = 0;
        full->Item(s.reader)->HasInsert = 1;
        full->Item(s.writer)->HasSelect = 0;
        full->Item(s.writer)->HasInsert = 0;
        full->Item(s.roles[2])->HasUpdate = 1;
        // A right given behind the editor's back is taken away: the list is restated.
        b->Protect("GRANT", "DELETE", "dbo", s.table, s.busy);
        const QStringList ownerBefore = b->Rights("dbo", s.table, b->OwningGrantee());

        QVERIFY(full->Save());
        QCOMPARE(b->Rights("dbo", s.table, s.reader), QStringList { "GRANT INSERT" });
        QCOMPARE(b->Rights("dbo", s.table, s.writer), QStringList());
        QCOMPARE(b->Rights("dbo", s.table, s.roles[2]), QStringList { "GRANT UPDATE" });
        QCOMPARE(b->Rights("dbo", s.table, s.busy), QStringList());
        QCOMPARE(b->Rights("dbo", s.table, b->OwningGrantee()), ownerBefore);
        KORVOPermissionsPtr again = Read(*b, s.id, false);
        QCOMPARE(Values(again->Item(s.reader)), QStringLiteral("0 1 0 0 0 0"));
        QCOMPARE(Values(again->Item(s.roles[2])), QStringLiteral("0 0 1 0 0 0"));
    }

    // An object that is gone gives no rows, no script and no save.
    void missingObject_data() { AddKindRows(); }
    void missingObject()
    {
        auto b = OpenBackend(false);
        QVERIFY(b);
        const QString id = b->CreateTable("dbo", "t_lost");
        b->Protect("GRANT", "SELECT", "dbo", "t_lost", b->PublicRole());
        KORVOPermissionsPtr full = Read(*b, id, false);
        QVERIFY(full->Count() > 0);
        b->DropTable("dbo", "t_lost");
        QVERIFY(full->CreateScript().isEmpty());
        QVERIFY(!full->Save());
        QCOMPARE(Read(*b, id, true)->Count(), 0);
        QCOMPARE(Read(*b, id, false)->Count(), 0);
        QCOMPARE(Read(*b, "x1", false)->Count(), 0);
    }

    void deny_data() { AddKindRows(); }
    void deny()
    {
        auto b = OpenBackend(false);
        QVERIFY(b);
        const Situation s(*b);
        KORVOPermissionsPtr quick = Read(*b, s.id, true);
        QCOMPARE(quick->CanDeny(), !b->IsPostgreSQL());
        if (b->IsPostgreSQL()) {
            // No deny is read, and none is offered: every value is 0 or 1.
            for (bool q : { true, false }) {
                const KORVOPermissionsPtr rows = Read(*b, s.id, q);
                for (const KORVOPermissionPtr &row : *rows) {
                    for (int a = ActionExecute; a <= ActionReferences; ++a)
                        QVERIFY(row->Value(a) == 0 || row->Value(a) == 1);
                }
            }
            // A deny value that reaches the model anyway gives no statement.
            quick->Item(s.writer)->HasUpdate = PermissionDeny;
            const QString script = quick->CreateScript();
            QVERIFY(!script.contains("DENY") && !script.contains("UPDATE ON dbo.t_perm FROM " + s.writer));
            return;
        }
        b->Protect("DENY", "UPDATE", "dbo", s.table, s.writer);
        quick = Read(*b, s.id, true);
        QCOMPARE(Values(quick->Item(s.writer)), QStringLiteral("1 1 2 0 0 0"));
        QVERIFY(
            quick->CreateScript().contains(QStringLiteral("DENY UPDATE ON [dbo].[t_perm] TO [%1]\r\n").arg(s.writer)));
        const QString key = QStringLiteral("P%1_value%2").arg(s.id).arg(Names(*quick).indexOf(s.writer) + 1);
        const KORVODBTItemPtr writer = GetPermissionItems(s.id, *quick)->Item(key);
        QCOMPARE(Node(writer->Children().Item(2)), key + "_3|UPDATE||PERMISSION:DENY");
        QVERIFY(quick->Save());
        QCOMPARE(b->Rights("dbo", s.table, s.writer), QStringList({ "DENY UPDATE", "GRANT INSERT", "GRANT SELECT" }));
    }

    // PostgreSQL routines: a function knows EXECUTE only, and runs for PUBLIC
    // unless revoked; a procedure's statements name its signature.
    void postgresRoutines()
    {
        auto b = Backend::Make("PostgreSQL", false);
        QVERIFY(b);
        const QString reader = b->CreateRole("r_exec");
        b->pg->exec(QStringLiteral("CREATE FUNCTION dbo.f_twice(a integer) RETURNS integer LANGUAGE sql AS 'SELECT a "
                                   "* 2'; CREATE PROCEDURE dbo.p_noop() LANGUAGE sql AS 'SELECT 1'; GRANT EXECUTE ON "
                                   "FUNCTION dbo.f_twice(a integer) TO %1")
                        .arg(reader));
        auto f = std::make_shared<KORVOPermissions>();
        f->ActiveDBConnection = b->sql;
        f->DatabaseID = b->Id("f_twice");
        f->HasExecAndRefOnly = true;
        f->GetItemPermissions();
        QCOMPARE(f->Actions(), QList<int> { ActionExecute });
        QCOMPARE(f->Item(reader)->HasExecute, 1);
        QCOMPARE(f->Item("PUBLIC")->HasExecute, 1);
        f->Item("PUBLIC")->HasExecute = 0;
        const QString script = f->CreateScript();
        QVERIFY(!script.contains("REFERENCES"));
        QVERIFY(
            script.contains(QStringLiteral("GRANT EXECUTE ON FUNCTION dbo.f_twice(a integer) TO %1\r\n").arg(reader)));
        QVERIFY(script.contains("REVOKE EXECUTE ON FUNCTION dbo.f_twice(a integer) FROM PUBLIC\r\n"));
        QVERIFY(f->Save());
        f->GetItemPermissions();
        QCOMPARE(f->Item("PUBLIC")->HasExecute, 0);
        QCOMPARE(f->Item(reader)->HasExecute, 1);

        auto p = std::make_shared<KORVOPermissions>();
        p->ActiveDBConnection = b->sql;
        p->DatabaseID = b->Id("p_noop");
        p->HasExecuteOnly = p->QuickList = true;
        p->GetItemPermissions();
        QVERIFY(p->CreateScript().contains("EXECUTE ON PROCEDURE dbo.p_noop() "));
        QCOMPARE(p->CreateScript("p_noop", "dbo").section('\n', 0, 0),
            p->CreateScript().section('\n', 0, 0).replace("p_noop()", "p_noop"));
    }
};

QTEST_GUILESS_MAIN(TestPermissions)
#include "test_permissions.moc"
