// Rename, delete and undelete of versioned objects on both server kinds with
// a real Subversion project: the refusals, what each side holds when a rename
// fails at each step, and permissions carried over to the renamed object.
#include "test_operations_fixture.h"

#include "KORVOPermissions.h"

#include <QTest>

using Icon = UiServices::Icon;

namespace
{

// Whether a procedure of that name exists, whatever else shares the name.
bool ProcedureExists(OpsFixture &f, const QString &name)
{
    if (f.scripted) {
        const auto *o = f.scripted->findObject(f.b->Database(), QStringLiteral("dbo"), name);
        return o && o->XType == QLatin1String("P");
    }
    const auto rs = f.b->sql->OpenRecordset(
        QStringLiteral("SELECT count(*) AS n FROM pg_proc WHERE proname = '%1' AND prokind = 'p'").arg(name));
    return rs && rs->Field(QStringLiteral("n")).toInt() == 1;
}

} // namespace

class TestRename : public QObject
{
    Q_OBJECT

    OpsFixture f;
    std::shared_ptr<KORVOVersionedObjects> c;

    bool setUp()
    {
        QFETCH(QString, kind);
        if (!f.Open(kind))
            return false;
        c = f.Collection(ObjectClass::StoredProcedure);
        return true;
    }
    ScriptedUi &ui() { return f.Ui(); }
    QString text(const QString &name, int variant = 1) { return f.Text(ObjectClass::StoredProcedure, name, variant); }

    // A role that may execute the procedure.
    QString grantExecute(const KORVOTypedObject &o)
    {
        if (f.scripted) {
            f.scripted->addRole(f.b->Database(), QStringLiteral("readers"));
            f.b->sql->ExecuteSQL(QStringLiteral("GRANT EXECUTE ON [dbo].[%1] TO [readers]").arg(o.Name()));
            return QStringLiteral("readers");
        }
        auto *pg = static_cast<PgObjectsBackend *>(f.b.get());
        const QString role = QStringLiteral("r_") + pg->db->Database;
        pg->db->superuserExec(QStringLiteral("CREATE ROLE %1").arg(role));
        f.b->sql->ExecuteSQL(QStringLiteral("GRANT EXECUTE ON PROCEDURE dbo.%1(integer) TO %2").arg(o.Name(), role));
        return role;
    }
    void dropRole(const QString &role)
    {
        if (auto *pg = dynamic_cast<PgObjectsBackend *>(f.b.get())) {
            pg->db->superuserExec(QStringLiteral("DROP OWNED BY %1; DROP ROLE %1").arg(role));
        }
    }

private Q_SLOTS:
    void cleanup()
    {
        if (f.b)
            QCOMPARE(ui().pending(), 0);
        c.reset();
        f.b.reset();
        f.scripted = nullptr;
    }

    void refusals_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("state");
        QTest::addColumn<QString>("message");
        for (const QString &kind : { QStringLiteral("PostgreSQL"), QStringLiteral("SQLServer") }) {
            QTest::newRow(qPrintable(kind + QStringLiteral(" new")))
                << kind << QStringLiteral("new") << QStringLiteral("Cannot rename a New Item!");
            QTest::newRow(qPrintable(kind + QStringLiteral(" checked out")))
                << kind << QStringLiteral("checked out")
                << QStringLiteral("Cannot rename a Item! It is currently Checkd Out by alice");
            QTest::newRow(qPrintable(kind + QStringLiteral(" out of sync")))
                << kind << QStringLiteral("out of sync")
                << QStringLiteral("Cannot rename a Item! It is currently out of Sync");
            QTest::newRow(qPrintable(kind + QStringLiteral(" same name")))
                << kind << QStringLiteral("same name")
                << QStringLiteral("Cannot rename a Item! The New name is the same as the old Name");
        }
    }
    void refusals()
    {
        QVERIFY(setUp());
        QFETCH(QString, state);
        QFETCH(QString, message);
        KORVOTypedObjectPtr o = f.CheckedIn(*c, ObjectClass::StoredProcedure, QStringLiteral("usp_r"));
        QVERIFY(o);
        QString newName = QStringLiteral("usp_s");
        if (state == QLatin1String("new")) {
            o = c->NewObject();
        } else if (state == QLatin1String("checked out")) {
            QVERIFY(o->CheckOut());
        } else if (state == QLatin1String("out of sync")) {
            f.b->Create(text(QStringLiteral("usp_sqlonly")), QStringLiteral("usp_sqlonly"));
            bool cancel = false;
            c->RefreshList(cancel);
            o = c->Object(f.Id(QStringLiteral("usp_sqlonly")));
        } else {
            newName = QStringLiteral("USP_R");
        }
        QVERIFY(o);
        const QStringList files = f.Files();
        const QString id = o->DBID();
        f.ExpectBox();
        QVERIFY(!o->RenameItem(newName, false));
        QCOMPARE(ui().boxes.size(), 1);
        QCOMPARE(ui().last().icon, Icon::Critical);
        QCOMPARE(ui().last().title, QStringLiteral("Rename Aborted"));
        QCOMPARE(ui().last().text, message);
        QCOMPARE(o->DBID(), id);
        QCOMPARE(f.Files(), files);
        QVERIFY(!f.Exists(QStringLiteral("usp_s")));

        // Silent: the same refusal without a box.
        QVERIFY(!o->RenameItem(newName, true));
        QCOMPARE(ui().boxes.size(), 1);
    }

    // What each side holds when a rename fails at a step.
    void failures_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("step");
        for (const QString &kind : { QStringLiteral("PostgreSQL"), QStringLiteral("SQLServer") }) {
            for (const char *step : { "create", "not found", "source control" })
                QTest::newRow(qPrintable(kind + QLatin1Char(' ') + QLatin1String(step)))
                    << kind << QString::fromLatin1(step);
        }
    }
    void failures()
    {
        QVERIFY(setUp());
        QFETCH(QString, step);
        KORVOTypedObjectPtr o = f.CheckedIn(*c, ObjectClass::StoredProcedure, QStringLiteral("usp_r"));
        QVERIFY(o);
        const QString id = o->DBID();
        const QString item = id + QStringLiteral(".sp");
        const QString vssBefore = f.Latest(item);
        const int versions = o->Generic().History().size();

        if (step == QLatin1String("create")) {
            f.b->Create(text(QStringLiteral("usp_s")), QStringLiteral("usp_s"));
        } else if (step == QLatin1String("not found")) {
            if (f.IsPostgreSQL()) {
                // A trigger of the new name makes the name ambiguous to the look-up.
                f.b->sql->ExecuteSQL(QStringLiteral("CREATE TRIGGER usp_s AFTER INSERT ON dbo.t_ops FOR EACH ROW "
                                                    "EXECUTE FUNCTION dbo.ops_trg_fn()"));
            } else {
                f.scripted->addStatement(QRegularExpression::escape(SQLServerKind().ObjectIDStatement(
                                             QStringLiteral("usp_s"), QStringLiteral("dbo"))),
                    [](ScriptedSqlServer::Call &) {
                        BatchResult none;
                        none.Results.append(std::make_shared<Recordset>(
                            QStringList { QStringLiteral("id") }, QList<QVariantList>(), -1));
                        return none;
                    });
            }
        } else {
            f.RefuseCommits(true);
        }
        f.ExpectBox();
        QVERIFY(!o->RenameItem(QStringLiteral("usp_s"), false));
        f.RefuseCommits(false);
        QCOMPARE(ui().boxes.size(), 1);
        QCOMPARE(ui().last().icon, Icon::Critical);
        if (step == QLatin1String("create")) {
            QCOMPARE(ui().last().title, QStringLiteral("Could not Rename Item"));
            QVERIFY2(ui().last().text.contains(f.IsPostgreSQL() ? QStringLiteral("already exists")
                                                                : QStringLiteral("There is already an object named "
                                                                                 "'usp_s' in the database.")),
                qPrintable(ui().last().text));
        } else if (step == QLatin1String("not found")) {
            QCOMPARE(ui().last().title, QStringLiteral("Rename Aborted"));
            QCOMPARE(ui().last().text,
                QStringLiteral("Cannot rename a Item! After creating the New object, it could "
                               "not be located in the database!"));
            QVERIFY(ProcedureExists(f, QStringLiteral("usp_s"))); // the new object may exist
        } else {
            QCOMPARE(ui().last().title, QStringLiteral("Could not Rename Item")); // the connector's box
            QVERIFY(ProcedureExists(f, QStringLiteral("usp_s"))); // both objects exist
        }
        QVERIFY(ProcedureExists(f, QStringLiteral("usp_r")));
        QCOMPARE(o->DBID(), id);
        QCOMPARE(o->Name(), QStringLiteral("usp_r"));
        QCOMPARE(f.Files(), QStringList { item });
        QCOMPARE(f.Latest(item), vssBefore);
        QCOMPARE(o->Generic().History().size(), versions);
        QCOMPARE(f.CheckedOutBy(item), QString());
    }

    // Permissions of the old object are restated on the new one; a failing
    // restatement leaves the rename done, with a warning.
    void permissionsCarriedOver_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<bool>("saveFails");
        QTest::newRow("PostgreSQL") << QStringLiteral("PostgreSQL") << false;
        QTest::newRow("SQLServer") << QStringLiteral("SQLServer") << false;
        QTest::newRow("SQLServer save fails") << QStringLiteral("SQLServer") << true;
    }
    void permissionsCarriedOver()
    {
        QVERIFY(setUp());
        QFETCH(bool, saveFails);
        KORVOTypedObjectPtr o = f.CheckedIn(*c, ObjectClass::StoredProcedure, QStringLiteral("usp_r"));
        QVERIFY(o);
        const QString role = grantExecute(*o);
        QCOMPARE(o->GetPermissions(true, 0)->Item(role)->HasExecute, 1);
        if (saveFails)
            f.FailStatements(QStringLiteral("GRANT .*"), QStringLiteral("GRANT permission denied."));
        f.ExpectBox();
        QVERIFY(o->RenameItem(QStringLiteral("usp_s"), false));
        QCOMPARE(o->Name(), QStringLiteral("usp_s"));
        QCOMPARE(ui().last().title, QStringLiteral("Item Successfully Renamed"));
        if (saveFails) {
            QCOMPARE(ui().last().icon, Icon::Warning);
            QCOMPARE(ui().last().text,
                QStringLiteral("WARNING: The permissions of the Old Item could not be transfered to the New Item!"));
            const auto kept = o->GetPermissions(true, 0)->Item(role);
            QVERIFY(!kept || kept->HasExecute == 0);
        } else {
            QCOMPARE(ui().last().icon, Icon::Information);
            const auto carried = o->GetPermissions(true, 0)->Item(role);
            QVERIFY(carried);
            QCOMPARE(carried->HasExecute, 1);
        }
        QVERIFY(!ProcedureExists(f, QStringLiteral("usp_r")));
        o.reset();
        c.reset();
        dropRole(role);
    }

    // Delete drops the object and soft-deletes its file; undelete brings the
    // file back under the new id. An undelete whose name is taken fails and
    // leaves the file deleted.
    void deleteAndUndelete_data() { AddKindRows(); }
    void deleteAndUndelete()
    {
        QVERIFY(setUp());
        KORVOTypedObjectPtr o = f.CheckedIn(*c, ObjectClass::StoredProcedure, QStringLiteral("usp_d"));
        QVERIFY(o);
        o->SetDescription(QStringLiteral("to be kept"));
        const QString item = o->DBID() + QStringLiteral(".sp");
        QVERIFY(o->DeleteItem());
        QVERIFY(!o->InSQL() && !o->InVSS());
        QVERIFY(!f.Exists(QStringLiteral("usp_d")));
        QCOMPARE(f.Files(), QStringList { item + QStringLiteral(".desc") }); // the description stays live
        QVERIFY(f.b->vss->ItemIsDeleted(item));

        // The name is used meanwhile: the server refuses, the file stays deleted.
        f.b->Create(text(QStringLiteral("usp_d"), 2), QStringLiteral("usp_d"));
        c->GetDeletedItems(false);
        f.ExpectBox();
        QVERIFY(!c->UnDeleteObject(QStringLiteral("I") + o->DBID()));
        QCOMPARE(ui().last().title, QStringLiteral("Could not Undelete Item"));
        QVERIFY(f.b->vss->ItemIsDeleted(item));
        f.b->Drop(ObjectClass::StoredProcedure, QStringLiteral("usp_d"));

        const KORVODBTItemsPtr deleted = c->GetDeletedItems(false);
        QCOMPARE(deleted->Count(), 1);
        QVERIFY(c->UnDeleteObject(deleted->Item(0)->Key));
        const QString newId = f.Id(QStringLiteral("usp_d"));
        QVERIFY(!newId.isEmpty());
        QVERIFY(f.Files().contains(newId + QStringLiteral(".sp")));
        QVERIFY(f.b->vss->ItemContent(newId + QStringLiteral(".sp"), false, -1, true, false)
                    .contains(OpsFixture::Marker(ObjectClass::StoredProcedure, 1)));
        QCOMPARE(c->GetDeletedItems(false)->Count(), 0);
        // The history goes on across the delete.
        bool cancel = false;
        c->RefreshList(cancel);
        KORVOTypedObjectPtr back = c->Object(newId);
        QVERIFY(back);
        QVERIFY(back->Generic().History().size() >= 2);
    }
};

QTEST_MAIN(TestRename)
#include "test_rename.moc"
