// Rename, delete and undelete of versioned objects on both server kinds with
// a real Subversion project: the refusals, what each side holds when a rename
// or an undelete fails, and permissions carried over to the renamed object.
#include "KORVOPermissions.h"
#include "test_backend.h"

#include <QTest>

using Icon = UiServices::Icon;

class TestRename : public QObject
{
    Q_OBJECT

    std::unique_ptr<Backend> b;
    std::shared_ptr<KORVOVersionedObjects> c;

    bool setUp()
    {
        b = OpenBackend();
        if (b)
            c = b->Collection(ObjectClass::StoredProcedure);
        return bool(b);
    }
    // Whether a procedure of that name exists, whatever else shares the name.
    bool procedureExists(const QString &name)
    {
        if (b->scripted) {
            const auto *o = b->scripted->findObject(b->Database(), "dbo", name);
            return o && o->XType == QLatin1String("P");
        }
        const auto rs = b->sql->OpenRecordset(
            QStringLiteral("SELECT count(*) AS n FROM pg_proc WHERE proname = '%1' AND prokind = 'p'").arg(name));
        return rs && rs->FieldText("n") == QLatin1String("1");
    }

private Q_SLOTS:
    void cleanup()
    {
        if (b)
            QCOMPARE(b->ui.pending(), 0);
        c.reset();
        b.reset();
    }

    void refusals_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("state");
        QTest::addColumn<QString>("message");
        for (const char *kind : { "PostgreSQL", "SQLServer" }) {
            QTest::addRow("%s new", kind) << kind << "new"
                                          << "Cannot rename a New Item!";
            QTest::addRow("%s checked out", kind) << kind << "checked out"
                                                  << "Cannot rename a Item! It is currently Checkd Out by alice";
            QTest::addRow("%s out of sync", kind) << kind << "out of sync"
                                                  << "Cannot rename a Item! It is currently out of Sync";
            QTest::addRow("%s same name", kind) << kind << "same name"
                                                << "Cannot rename a Item! The New name is the same as the old Name";
        }
    }
    void refusals()
    {
        QVERIFY(setUp());
        QFETCH(QString, state);
        QFETCH(QString, message);
        KORVOTypedObjectPtr o = b->CheckedIn(*c, ObjectClass::StoredProcedure, "usp_r");
        QVERIFY(o);
        const QString newName = state == "same name" ? "USP_R" : "usp_s";
        if (state == "new") {
            o = c->NewObject();
        } else if (state == "checked out") {
            QVERIFY(o->CheckOut());
        } else if (state == "out of sync") {
            const QString id = b->Create(ObjectClass::StoredProcedure, "usp_sqlonly");
            bool cancel = false;
            c->RefreshList(cancel);
            o = c->Object(id);
        }
        QVERIFY(o);
        const QStringList files = b->Files();
        const QString id = o->DBID();
        b->ExpectBox();
        QVERIFY(!o->RenameItem(newName, false));
        QCOMPARE(b->ui.boxes.size(), 1);
        b->ExpectLastBox(Icon::Critical, "Rename Aborted", message);
        QCOMPARE(o->DBID(), id);
        QCOMPARE(b->Files(), files);
        QVERIFY(!b->Exists("usp_s"));
        // Silent: the same refusal without a box.
        QVERIFY(!o->RenameItem(newName, true));
        QCOMPARE(b->ui.boxes.size(), 1);
    }

    // What each side holds when a rename fails at a step.
    void failures_data() { AddKindRows({ "create", "not found", "source control" }); }
    void failures()
    {
        QVERIFY(setUp());
        QFETCH(QString, row);
        KORVOTypedObjectPtr o = b->CheckedIn(*c, ObjectClass::StoredProcedure, "usp_r");
        QVERIFY(o);
        const QString id = o->DBID(), item = id + ".sp", vssBefore = b->Latest(item);
        const int versions = o->Generic().History().size();
        if (row == "create") {
            b->Create(ObjectClass::StoredProcedure, "usp_s");
        } else if (row == "not found" && b->IsPostgreSQL()) {
            // A trigger of the new name makes the name ambiguous to the look-up.
            b->Create(ObjectClass::Trigger, "usp_s");
        } else if (row == "not found") {
            b->scripted->addStatement(
                QRegularExpression::escape(SQLServerKind().ObjectIDStatement("usp_s", "dbo")), [](auto &) {
                    BatchResult none;
                    none.Results.append(std::make_shared<Recordset>(QStringList { "id" }, QList<QVariantList>(), -1));
                    return none;
                });
        }
        b->RefuseCommits(row == "source control");
        b->ExpectBox();
        QVERIFY(!o->RenameItem("usp_s", false));
        b->RefuseCommits(false);
        QCOMPARE(b->ui.boxes.size(), 1);
        QCOMPARE(b->ui.last().icon, Icon::Critical);
        if (row == "create") {
            QCOMPARE(b->ui.last().title, QStringLiteral("Could not Rename Item"));
            QVERIFY2(b->ui.last().text.contains(
                         b->Pick("already exists", "There is already an object named 'usp_s' in the database.")),
                qPrintable(b->ui.last().text));
        } else if (row == "not found") {
            b->ExpectLastBox(Icon::Critical, "Rename Aborted",
                "Cannot rename a Item! After creating the New object, it could not be located in the database!");
        } else {
            QCOMPARE(b->ui.last().title, QStringLiteral("Could not Rename Item")); // the connector's box
        }
        // The new object may be left behind; the old one is kept.
        QVERIFY(procedureExists("usp_s") && procedureExists("usp_r"));
        QCOMPARE(o->DBID(), id);
        QCOMPARE(o->Name(), QStringLiteral("usp_r"));
        QCOMPARE(b->Files(), QStringList { item });
        QCOMPARE(b->Latest(item), vssBefore);
        QCOMPARE(o->Generic().History().size(), versions);
        QCOMPARE(b->CheckedOutBy(item), QString());
    }

    // Permissions of the old object are restated on the new one; a failing
    // restatement leaves the rename done, with a warning.
    void permissionsCarriedOver_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<bool>("saveFails");
        QTest::newRow("PostgreSQL") << "PostgreSQL" << false;
        QTest::newRow("SQLServer") << "SQLServer" << false;
        QTest::newRow("SQLServer save fails") << "SQLServer" << true;
    }
    void permissionsCarriedOver()
    {
        QVERIFY(setUp());
        QFETCH(bool, saveFails);
        KORVOTypedObjectPtr o = b->CheckedIn(*c, ObjectClass::StoredProcedure, "usp_r");
        QVERIFY(o);
        const QString role = b->CreateRole("r_exec");
        b->sql->ExecuteSQL(
            b->Pick("GRANT EXECUTE ON PROCEDURE dbo.usp_r TO %1", "GRANT EXECUTE ON [dbo].[usp_r] TO [%1]").arg(role));
        QCOMPARE(o->GetPermissions(true, 0)->Item(role)->HasExecute, 1);
        if (saveFails)
            b->FailStatements("GRANT .*", "GRANT permission denied.");
        b->ExpectBox();
        QVERIFY(o->RenameItem("usp_s", false));
        QCOMPARE(o->Name(), QStringLiteral("usp_s"));
        QVERIFY(!procedureExists("usp_r"));
        const auto carried = o->GetPermissions(true, 0)->Item(role);
        if (saveFails) {
            b->ExpectLastBox(Icon::Warning, "Item Successfully Renamed",
                "WARNING: The permissions of the Old Item could not be transfered to the New Item!");
            QVERIFY(!carried || carried->HasExecute == 0);
        } else {
            QCOMPARE(b->ui.last().title, QStringLiteral("Item Successfully Renamed"));
            QCOMPARE(b->ui.last().icon, Icon::Information);
            QVERIFY(carried && carried->HasExecute == 1);
        }
    }

    // An undelete whose name is taken meanwhile fails and leaves the file
    // deleted; once the name is free it brings the first text back.
    void undeleteOfATakenName_data() { AddKindRows(); }
    void undeleteOfATakenName()
    {
        QVERIFY(setUp());
        KORVOTypedObjectPtr o = b->CheckedIn(*c, ObjectClass::StoredProcedure, "usp_d");
        QVERIFY(o);
        const QString item = o->DBID() + ".sp";
        QVERIFY(o->DeleteItem());
        QVERIFY(!o->InSQL() && !o->InVSS());
        QVERIFY(b->vss->ItemIsDeleted(item));

        b->Create(ObjectClass::StoredProcedure, "usp_d", 2);
        c->GetDeletedItems(false);
        b->ExpectBox();
        QVERIFY(!c->UnDeleteObject("I" + o->DBID()));
        QCOMPARE(b->ui.last().title, QStringLiteral("Could not Undelete Item"));
        QVERIFY(b->vss->ItemIsDeleted(item));
        b->Drop(ObjectClass::StoredProcedure, "usp_d");

        const KORVODBTItemsPtr deleted = c->GetDeletedItems(false);
        QCOMPARE(deleted->Count(), 1);
        QVERIFY(c->UnDeleteObject(deleted->Item(0)->Key));
        const QString newId = b->Id("usp_d");
        QVERIFY(b->Latest(newId + ".sp").contains(Backend::Marker(ObjectClass::StoredProcedure, 1)));
        QCOMPARE(c->GetDeletedItems(false)->Count(), 0);
    }
};

QTEST_MAIN(TestRename)
#include "test_rename.moc"
