// The permission model on both server kinds: the quick and the full form, the
// tree rows, deny only where the server has it, a missing object, routines.
#include "../objects/test_backend.h"

#include "KORVOPermissions.h"

#include <QtTest>

namespace
{

QStringList Names(const KORVOPermissions &p)
{
    QStringList names;
    for (const KORVOPermissionPtr &row : p)
        names.append(row->Name);
    return names;
}

// "S I U D R X" values of a row, e.g. "1 0 2 0 0 0"; -1 each for a grantee not listed.
QString Values(const KORVOPermissionPtr &p)
{
    QStringList values;
    for (int a : { ActionSelect, ActionInsert, ActionUpdate, ActionDelete, ActionReferences, ActionExecute })
        values.append(QString::number(p ? p->Value(a) : -1));
    return values.join(QLatin1Char(' '));
}

} // namespace

class TestPermissions : public QObject
{
    Q_OBJECT

    std::unique_ptr<Backend> b;
    // dbo.t_perm with a role and a user that have rights, three roles without,
    // and a user in those three.
    const QString table = QStringLiteral("t_perm");
    QString id, reader, writer, busy;
    QStringList roles;

    bool setUp()
    {
        if (!(b = OpenBackend(false)))
            return false;
        id = b->CreateTable("dbo", table);
        reader = b->CreateRole("r_reader");
        roles = QStringList { b->CreateRole("r_a"), b->CreateRole("r_b"), b->CreateRole("r_c") };
        writer = b->CreateUser("u_writer");
        busy = b->CreateUser("u_busy", roles);
        b->Protect("GRANT", "SELECT", "dbo", table, reader);
        b->Protect("GRANT", "SELECT", "dbo", table, writer);
        b->Protect("GRANT", "INSERT", "dbo", table, writer);
        return true;
    }
    KORVOPermissionsPtr read(bool quick, int show = 0, const QString &object = QString())
    {
        auto p = std::make_shared<KORVOPermissions>();
        p->ActiveDBConnection = b->sql;
        p->DatabaseID = object.isEmpty() ? id : object;
        p->QuickList = quick;
        p->Show = show;
        p->GetItemPermissions();
        return p;
    }
    QStringList rights(const QString &grantee) { return b->Rights("dbo", table, grantee); }

private Q_SLOTS:
    void cleanup() { b.reset(); }

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

    // The quick form lists grantees with something set, the full form every
    // user and every role that is not a fixed one, roles first; show 1 keeps
    // the roles, 2 the others.
    void forms_data() { AddKindRows({ "quick", "full" }); }
    void forms()
    {
        QVERIFY(setUp());
        QFETCH(QString, row);
        const bool quick = row == "quick";
        KORVOPermissionsPtr all = read(quick);
        const QStringList names = Names(*all);
        QCOMPARE(Values(all->Item(reader)), QStringLiteral("1 0 0 0 0 0"));
        QCOMPARE(Values(all->Item(writer)), QStringLiteral("1 1 0 0 0 0"));
        QCOMPARE(Values(all->Item(busy)), QString(quick ? "-1 -1 -1 -1 -1 -1" : "0 0 0 0 0 0"));
        QCOMPARE(bool(all->Item(roles[0])), !quick);
        QVERIFY(all->Item(reader)->IsRole);
        QStringList shownRoles, users;
        for (const KORVOPermissionPtr &p : *all) {
            // PostgreSQL lists PUBLIC, whose default right a restatement must take away.
            QVERIFY(!quick || p->HasAnyPermissionSet() || p->Name == b->sql->Kind().DefaultGrantee());
            QCOMPARE(p->IsOwner, p->Name == b->OwningGrantee());
            (p->IsRole ? shownRoles : users).append(p->Name);
        }
        QCOMPARE(Names(*read(quick, 1)), shownRoles);
        QCOMPARE(Names(*read(quick, 2)), users);
        if (!quick) {
            for (const QString &name :
                QStringList { reader, writer, busy, b->PublicRole(), b->OwningGrantee() } + roles)
                QCOMPARE(names.count(name), 1);
            QVERIFY(!names.contains(b->FixedRole()));
            QVERIFY(names.indexOf(reader) < names.indexOf(writer));
            QVERIFY(!all->Item(busy)->IsRole && !all->Item(busy)->HasAnyPermissionSet());
            return;
        }
        // SQL Server takes every grantee it knows for a role; PostgreSQL tells login roles apart.
        QCOMPARE(all->Item(writer)->IsRole, !b->IsPostgreSQL());
        // The tree's rows: one per grantee, one child per right set.
        // The tree leaves out PUBLIC, listed last on PostgreSQL when it holds nothing.
        KORVODBTItemsPtr items = GetPermissionItems(id, *all);
        QCOMPARE(items->Count(), all->Count() - (b->IsPostgreSQL() ? 1 : 0));
        for (int n = 0; n < items->Count(); ++n) {
            const KORVOPermissionPtr p = all->Item(n);
            const QString key = QStringLiteral("P%1_value%2").arg(id).arg(n + 1);
            QCOMPARE(Node(items->Item(key)), key + "|" + p->Name + "||PERMISSION:" + (p->IsRole ? "ROLE" : "USER"));
            if (p->Name == writer)
                QCOMPARE(Nodes(items->Item(key)->Children()),
                    QStringList({ key + "_1|SELECT||PERMISSION:GRANT", key + "_2|INSERT||PERMISSION:GRANT" }));
        }
    }

    // An object that is gone gives no rows, no script and no save.
    void missingObject_data() { AddKindRows(); }
    void missingObject()
    {
        QVERIFY(setUp());
        KORVOPermissionsPtr full = read(false);
        b->DropTable("dbo", table);
        QVERIFY(full->CreateScript().isEmpty());
        QVERIFY(!full->Save());
        QCOMPARE(read(true)->Count(), 0);
        QCOMPARE(read(false)->Count(), 0);
        QCOMPARE(read(false, 0, "x1")->Count(), 0);
    }

    void deny_data() { AddKindRows(); }
    void deny()
    {
        QVERIFY(setUp());
        KORVOPermissionsPtr quick = read(true);
        QCOMPARE(quick->CanDeny(), !b->IsPostgreSQL());
        if (b->IsPostgreSQL()) {
            // A deny value that reaches the model anyway gives no statement.
            quick->Item(writer)->HasUpdate = PermissionDeny;
            const QString script = quick->CreateScript();
            QVERIFY(!script.contains("DENY") && !script.contains("UPDATE ON dbo.t_perm FROM " + writer));
            return;
        }
        b->Protect("DENY", "UPDATE", "dbo", table, writer);
        quick = read(true);
        QCOMPARE(Values(quick->Item(writer)), QStringLiteral("1 1 2 0 0 0"));
        QVERIFY(
            quick->CreateScript().contains(QStringLiteral("DENY UPDATE ON [dbo].[t_perm] TO [%1]\r\n").arg(writer)));
        const QString key = QStringLiteral("P%1_value%2").arg(id).arg(Names(*quick).indexOf(writer) + 1);
        QCOMPARE(
            Node(GetPermissionItems(id, *quick)->Item(key)->Children().Item(2)), key + "_3|UPDATE||PERMISSION:DENY");
        QVERIFY(quick->Save());
        QCOMPARE(rights(writer), QStringList({ "DENY UPDATE", "GRANT INSERT", "GRANT SELECT" }));
    }

    // PostgreSQL routines: a function knows EXECUTE only, and runs for PUBLIC
    // unless revoked; a procedure's statements name its signature.
    void postgresRoutines()
    {
        QVERIFY((b = Backend::Make("PostgreSQL", false)));
        reader = b->CreateRole("r_exec");
        b->pg->exec(QStringLiteral("CREATE FUNCTION dbo.f_twice(a integer) RETURNS integer LANGUAGE sql AS 'SELECT a "
                                   "* 2'; CREATE PROCEDURE dbo.p_noop() LANGUAGE sql AS 'SELECT 1'; GRANT EXECUTE ON "
                                   "FUNCTION dbo.f_twice(a integer) TO %1")
                        .arg(reader));
        KORVOPermissionsPtr f = std::make_shared<KORVOPermissions>();
        f->ActiveDBConnection = b->sql;
        f->DatabaseID = b->Id("f_twice");
        f->HasExecAndRefOnly = true;
        f->GetItemPermissions();
        QCOMPARE(f->Actions(), QList<int> { ActionExecute });
        QCOMPARE(Values(f->Item(reader)), QStringLiteral("0 0 0 0 0 1"));
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

        f->DatabaseID = b->Id("p_noop");
        f->HasExecAndRefOnly = false;
        f->HasExecuteOnly = f->QuickList = true;
        f->GetItemPermissions();
        QVERIFY(f->CreateScript().contains("EXECUTE ON PROCEDURE dbo.p_noop() "));
        // Named by owner and name, a routine still carries its argument types: overloads share names.
        QCOMPARE(f->CreateScript("p_noop", "dbo"), f->CreateScript());
    }
};

QTEST_GUILESS_MAIN(TestPermissions)
#include "test_permissions.moc"
