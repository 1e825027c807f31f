// The version-control operations of versioned objects on both server kinds
// with a real Subversion project: the whole life of an object of each type;
// what each side holds after a check-in, a rename, an undelete or a rollback
// is refused or fails at a step; the sync operations, undo check-out, the
// owner written into the text, history rows and a recompile that finds a
// dependency gone.
#include "KORVOPermissions.h"
#include "test_backend.h"

#include <QElapsedTimer>
#include <QTest>

using Icon = UiServices::Icon;

class TestOperations : public QObject, BackendTest
{
    Q_OBJECT

    QString text(const QString &name, int variant = 1) { return b->Text(ObjectClass::StoredProcedure, name, variant); }
    static bool change(KORVOTypedObject &o, const QString &content, const QString &comment)
    {
        return o.CheckOut() && o.CheckIn(content, comment);
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
    // "owner.name SQL+VSS same: files" of an object, its id in file names as "#";
    // SQL only when the server's object of the name has the object's id.
    QString sides(KORVOTypedObject &o)
    {
        return QStringLiteral("%1.%2 %3%4 %5: %6")
            .arg(o.Owner(), o.Name(), o.InSQL() && b->Id(o.Name()) == o.DBID() ? "SQL" : "", o.InVSS() ? "+VSS" : "",
                o.SQLAndVSSDiffer() ? "differ" : "same", b->Files().join(' ').replace(o.DBID(), "#"));
    }
    KORVOTypedObjectPtr checkedIn(const QString &name, int variant = 1)
    {
        return b->CheckedIn(*procs, ObjectClass::StoredProcedure, name, variant);
    }
    // The id look-up of dbo's object of that name finds nothing (the scripted
    // server answers no row; PostgreSQL finds routines by their argument types).
    void hideFromLookUp(const QString &name)
    {
        b->scripted->addStatement(
            QRegularExpression::escape(SQLServerKind().ObjectIDStatement(name, "dbo")), [](auto &) {
                BatchResult none;
                none.Results.append(std::make_shared<Recordset>(QStringList { "id" }, QList<QVariantList>(), -1));
                return none;
            });
    }
    // PostgreSQL: the procedure and its schema belong to others, so that KORVO's role cannot drop it.
    void notOwned(const QString &procedure)
    {
        b->pg->superuserExec(QStringLiteral("ALTER SCHEMA dbo OWNER TO postgres; GRANT USAGE, CREATE ON SCHEMA dbo TO "
                                            "korvo; ALTER PROCEDURE dbo.%1 OWNER TO %2")
                                 .arg(procedure, b->CreateRole("r_owner")));
    }
    // What both sides hold of an object: the server's text and the number of
    // versions, then each file with its latest text and who has it checked out.
    QStringList held(KORVOTypedObject &o)
    {
        return QStringList { b->ServerText(o.DBID()), QString::number(o.Generic().History().size()) } + inVSS();
    }
    QStringList inVSS()
    {
        QStringList out;
        for (const QString &f : b->Files())
            out << f << b->Latest(f) << b->CheckedOutBy(f);
        return out;
    }
    static QString fileText(const QString &path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
    }
    // Whether everyone may run the procedure of this id.
    bool publicMayRun(const QString &id)
    {
        const auto everyone = ReadPermissions(b->sql, id, true, false, true, 0)->Item(b->PublicRole());
        return everyone && everyone->HasExecute == PermissionGrant;
    }
    // A procedure that reads a table which can go away later.
    KORVOTypedObjectPtr readingTable()
    {
        b->CreateTable("dbo", "t_gone");
        KORVOTypedObjectPtr o = procs->NewObject();
        return o->CheckIn(text("usp_h", 1).replace("SELECT 1", "SELECT count(*) FROM dbo.t_gone"), "first") ? o
                                                                                                            : nullptr;
    }

private Q_SLOTS:
    void cleanup() { TearDown(); }

    // Create, check in, recompile, check out, change, check in, rename, history,
    // roll back across the rename and to a version of the same name, delete, undelete.
    void lifeOfAnObject_data() { AddKindRows({ "procedure", "view", "function", "trigger" }); }
    void lifeOfAnObject()
    {
        QVERIFY(SetUp());
        QFETCH(QString, row);
        const auto type = ObjectClass(QStringList { "procedure", "table", "function", "view", "trigger" }.indexOf(row));
        const QString ext = "#" + Backend::Ext(type), withDescription = ext + " " + ext + ".desc";
        auto c = b->Collection(type);
        KORVOTypedObjectPtr o = c->NewObject();
        const QString temporary = o->FileName();
        QVERIFY(QFile::exists(temporary));
        QVERIFY(o->CheckIn(b->Text(type, "ops_a", 1), "created"));
        QVERIFY(!o->IsNew() && !QFile::exists(temporary));
        QCOMPARE(sides(*o), "dbo.ops_a SQL+VSS same: " + ext);
        QCOMPARE(c->Object(o->DBID()), o);
        QVERIFY(c->NewItems().isEmpty());
        QCOMPARE(b->TemporaryObjects(), QStringList());
        if (type == ObjectClass::Trigger)
            QCOMPARE(static_cast<KORVOTrigger &>(*o).ParentTableDBID, b->Id("t_ops"));

        // A recompile creates the text under a temporary name and drops it again.
        const QString created = b->ServerText(o->DBID());
        QVERIFY(o->Generic().Recompile(false));
        QCOMPARE(b->ServerText(o->DBID()), created);
        QCOMPARE(b->TemporaryObjects(), QStringList());
        QCOMPARE(o->Generic().History().size(), 1);

        QVERIFY(o->CheckOut());
        QVERIFY(o->IsCheckedOutByMe() && o->IconToUse().endsWith(":CHECKEDOUT"));
        QVERIFY(o->CheckIn(b->Text(type, "ops_a", 2), "changed"));
        QVERIFY(!o->IsCheckedOut());
        QVERIFY(b->ServerText(o->DBID()).contains(Backend::Marker(type, 2)));
        QCOMPARE(sides(*o), "dbo.ops_a SQL+VSS same: " + ext);
        QCOMPARE(b->TemporaryObjects(), QStringList());

        o->SetDescription("orders per customer");
        b->ExpectBox();
        QVERIFY(c->RenameItem("I" + o->DBID(), "ops_b"));
        b->ExpectLastBox(
            Icon::Information, "Item Successfully Renamed", "Item was successfully renamed from [ops_a] to [ops_b].");
        QCOMPARE(c->Object(o->DBID()), o);
        QCOMPARE(sides(*o), "dbo.ops_b SQL+VSS same: " + withDescription);
        QVERIFY(!b->Exists("ops_a"));
        // The comments of the rows are the history window's (test_history).
        const QList<KORVOHistoryData> history = o->Generic().History();
        QCOMPARE(history.size(), 3);
        const long first = history.at(2).VersionNumber, second = history.at(1).VersionNumber;
        QVERIFY(history.at(0).VersionNumber > second && second > first);
        QCOMPARE(history.at(0).UserName, QStringLiteral("alice"));
        QVERIFY(!history.at(0).IsLabel && VersionDateTime(history.at(0).VersionDate).isValid());
        QVERIFY(o->Generic().GetContent(1, first, false).contains(Backend::Marker(type, 1)));

        // The first version names ops_a: the object goes back to that name.
        const QString renamedId = o->DBID();
        QVERIFY(o->Generic().Rollback(first, false));
        c->ChangeKey(renamedId);
        QCOMPARE(c->Object(o->DBID()), o);
        QCOMPARE(sides(*o), "dbo.ops_a SQL+VSS same: " + withDescription);
        QVERIFY(!b->Exists("ops_b"));
        QVERIFY(b->ServerText(o->DBID()).contains(Backend::Marker(type, 1)));
        QCOMPARE(o->Description(), QStringLiteral("orders per customer"));

        // The second version has the same name: replaced in place.
        const QString sameId = o->DBID();
        QVERIFY(o->Generic().Rollback(second, false));
        QCOMPARE(o->DBID(), sameId);
        QVERIFY(b->ServerText(sameId).contains(Backend::Marker(type, 2)));
        QCOMPARE(b->CheckedOutBy(sameId + Backend::Ext(type)), QString());
        QCOMPARE(o->Generic().History().at(0).Comment, QStringLiteral("Rollback to version: %1").arg(second));
        QCOMPARE(sides(*o), "dbo.ops_a SQL+VSS same: " + withDescription);

        QVERIFY(c->DeleteItem("I" + sameId));
        QVERIFY(!b->Exists("ops_a") && !c->Object(sameId));
        QCOMPARE(b->Files(), QStringList { sameId + Backend::Ext(type) + ".desc" }); // the description stays
        QCOMPARE(c->GetDeletedItems(false)->Count(), 1);
        QVERIFY(c->UnDeleteObject("I" + sameId));
        QVERIFY(!c->Object(sameId, true));
        const QString newId = b->Id("ops_a");
        QVERIFY(b->Files().contains(newId + Backend::Ext(type)));
        bool cancel = false;
        c->RefreshList(cancel);
        const KORVOTypedObjectPtr back = c->Object(newId);
        QVERIFY(back);
        QCOMPARE(sides(*back).section(':', 0, 0), QStringLiteral("dbo.ops_a SQL+VSS same"));
        // The history goes on across the delete.
        QVERIFY(back->Generic().History().size() > 1);
    }

    // A check-in refused before anything changes, or failing at a step: the box,
    // and what each side holds afterwards.
    void checkInFailures_data()
    {
        AddStepRows([](bool pg, const StepRow &row) {
            row("name", "Syntax Error", "The Name of the object cannot be changed!");
            row("owner", "Syntax Error", "The Owner of the object cannot be changed!");
            row("keywords", "Syntax Error",
                pg ? "The \"CREATE PROCEDURE\" or \"CREATE OR REPLACE PROCEDURE\" could not be found!"
                   : "The \"CREATE PROC\" or \"CREATE PROCEDURE\" could not be found!");
            row("new under a used name", "Could not Check In Item",
                QStringLiteral("Item Name specified ('%1') already exists in the database!")
                    .arg(pg ? "dbo.usp_one" : "[dbo].[usp_one]"));
            row("syntax", "Syntax Error",
                pg ? "~syntax error at or near \"SELEC\"" : "Line 1: Incorrect syntax near 'SELEC'.");
            // The compile test under another name passes; replacing the object does not.
            row("replace refused", "Could not Check In Item",
                pg ? "~cannot change name of input parameter"
                   : "Line 1: ALTER PROCEDURE permission denied on object 'usp_one'.");
            row("source control", "Could not check in", "~commits are closed");
            // PostgreSQL rolls the compile test back: there is no drop to fail.
            if (!pg)
                row("undroppable temporary", "Syntax Error", "Line 1: Cannot drop the procedure.");
            // The compile test renames the object away from the missing owner; the real create fails.
            row("new object create fails", "Could not Check In Item", "~nosuch");
            row("new object add fails", "Could not add Item", "~commits are closed");
            // The compile test finds a name to replace; the name part is empty.
            row("new object without a name", "Could not Check In Item",
                "Item Name could not be extracted from Stored Procedure content!");
            // PostgreSQL finds a new routine by its argument types, so only the
            // scripted server can lose it.
            if (!pg)
                row("new object not located", "Could not Check In Item",
                    "Item Name could not be added to the Database! After creating the object, it could not be located "
                    "in the database!");
        });
    }
    void checkInFailures()
    {
        QVERIFY(SetUp());
        QFETCH(QString, step);
        const ObjectClass type = ObjectClass::StoredProcedure;
        KORVOTypedObjectPtr o = checkedIn("usp_one");
        QVERIFY(o && o->CheckOut());
        const QStringList before = held(*o);

        QString content = b->Text(type, "usp_one", 2);
        KORVOTypedObjectPtr target = step.startsWith("new") ? procs->NewObject() : o;
        if (step == "name")
            content = b->Text(type, "usp_two", 2);
        else if (step == "owner")
            content.replace("dbo", "other");
        else if (step == "keywords")
            content.replace("CREATE PROCEDURE", "CREATE PROCESS");
        else if (step == "syntax")
            content.replace("SELECT 2", "SELEC 2");
        else if (step == "new object without a name")
            content = b->Text(type, "usp_new").replace("usp_new", "");
        else if (step.startsWith("new object"))
            content = b->Text(type, "usp_new").replace("dbo", step.endsWith("create fails") ? "nosuch" : "dbo");
        if (step == "new object not located")
            hideFromLookUp("usp_new");
        if (step == "syntax" && b->scripted)
            b->FailStatements("\\s*CREATE\\s+PROCEDURE.*\\bSELEC\\b.*", "Incorrect syntax near 'SELEC'.");
        if (step == "replace refused" && b->IsPostgreSQL())
            content.replace("p_a integer", "p_z integer");
        else if (step == "replace refused")
            b->FailStatements("ALTER PROCEDURE \\[dbo\\]\\.\\[usp_one\\].*",
                "ALTER PROCEDURE permission denied on object 'usp_one'.");
        if (step == "undroppable temporary")
            b->FailStatements("IF EXISTS .*\\[sptmp_.*", "Cannot drop the procedure.");
        b->RefuseCommits(step.endsWith("source control") || step.endsWith("add fails"));
        b->ExpectBox();
        QVERIFY(!target->CheckIn(content, "second"));
        b->RefuseCommits(false);
        ExpectRowBox();
        // Only a source-control failure comes after the server changed.
        if (step == "source control")
            QVERIFY(b->ServerText(o->DBID()).contains(Backend::Marker(type, 2)));
        QCOMPARE(held(*o).mid(step == "source control" ? 1 : 0), before.mid(step == "source control" ? 1 : 0));
        QVERIFY(o->IsCheckedOutByMe());
        QVERIFY(!b->Exists("usp_two"));
        QCOMPARE(b->TemporaryObjects().size(), step == "undroppable temporary" ? 1 : 0);
        if (step == "new object create fails") {
            QVERIFY(target->IsNew() && QFile::exists(target->FileName()));
            QCOMPARE(procs->NewItems().size(), 1);
            QVERIFY(!b->Exists("usp_new"));
        } else if (step == "new object without a name" || step == "new object not located") {
            QVERIFY(target->IsNew());
            QCOMPARE(procs->NewItems().size(), 1);
        } else if (step == "new object add fails") {
            QVERIFY(!target->IsNew() && target->InSQL() && !target->InVSS());
            QCOMPARE(target->DBID(), b->Id("usp_new"));
            QCOMPARE(procs->Object(target->DBID()), target);
        }
    }

    // The four sync operations in both directions, and their error boxes.
    void syncOperations_data() { AddKindRows(); }
    void syncOperations()
    {
        QVERIFY(SetUp());
        const ObjectClass type = ObjectClass::StoredProcedure;
        // Only in SQL: added to source control with the server's text.
        const QString sqlOnly = b->Create(type, "usp_sqlonly");
        KORVOTypedObjectPtr o = Refreshed(sqlOnly);
        QVERIFY(o && !o->InVSS());
        QVERIFY(o->Generic().SyncAdd(1) && o->InVSS());
        QCOMPARE(b->Latest(sqlOnly + ".sp"), b->ServerText(sqlOnly));

        // Changed on the server: source control follows, and back.
        b->sql->ExecuteSQL(b->sql->Kind().ReplacingText(b->Text(type, "usp_sqlonly", 2)));
        QVERIFY(o->SQLAndVSSDiffer());
        QVERIFY(o->Generic().SyncChange(1));
        QVERIFY(!o->SQLAndVSSDiffer());
        QCOMPARE(o->Generic().History().at(0).Comment, QStringLiteral("Synchronization"));
        b->sql->ExecuteSQL(b->sql->Kind().ReplacingText(b->Text(type, "usp_sqlonly", 3)));
        QVERIFY(o->Generic().SyncChange(2));
        QVERIFY(b->ServerText(sqlOnly).contains(Backend::Marker(type, 2)));

        // Dropped by another user after the analysis: no empty text reaches source
        // control. SQL Server names the missing object itself.
        KORVOTypedObjectPtr gone = Refreshed(b->Create(type, "usp_gone")), kept = checkedIn("usp_kept");
        QVERIFY(gone && kept);
        b->Drop(type, "usp_gone");
        b->Drop(type, "usp_kept");
        const QString keptItem = kept->DBID() + ".sp", keptText = b->Latest(keptItem),
                      why = b->Pick("The server gave no text for the object.", "~does not exist in database");
        const auto noText = [&](const QString &box) { return why.startsWith('~') ? why : box + why; };
        b->ExpectBox();
        QVERIFY(!gone->Generic().SyncAdd(1));
        b->ExpectLastBox(Icon::Critical, "Item not added",
            noText("Could not add the item dbo.usp_gone to VSS\n\nError Description: "));
        b->ExpectBox();
        QVERIFY(!kept->Generic().SyncChange(1));
        b->ExpectLastBox(Icon::Critical, "Item not changed",
            noText("Could not change the item dbo.usp_kept in VSS\n\nError Description: "));
        QCOMPARE(b->Files(), Sorted({ sqlOnly + ".sp", keptItem }));
        QCOMPARE(b->Latest(keptItem), keptText);
        QVERIFY(kept->Generic().SyncRemove(1));

        // Only in source control: created on the server, the file follows the new id.
        b->AddFile("900001.sp", b->Text(type, "usp_vssonly"));
        KORVOTypedObjectPtr v = Refreshed("900001");
        QVERIFY(v && !v->InSQL());
        QVERIFY(v->Generic().SyncAdd(2) && v->InSQL());
        QCOMPARE(v->DBID(), b->Id("usp_vssonly"));
        QCOMPARE(b->Files(), Sorted({ sqlOnly + ".sp", v->DBID() + ".sp" }));

        // Removal from either side; the state is left to the next refresh.
        QVERIFY(v->Generic().SyncRemove(2) && v->InSQL());
        QVERIFY(!b->Exists("usp_vssonly"));
        QVERIFY(o->Generic().SyncRemove(1));
        QCOMPARE(b->Files(), QStringList { v->DBID() + ".sp" });
        QVERIFY(b->Exists("usp_sqlonly"));

        // A text the server refuses: the box names the object and the side.
        b->AddFile("900002.sp", b->Text(type, "usp_broken").replace("dbo", "nosuch"));
        b->ExpectBox();
        QVERIFY(!Refreshed("900002")->Generic().SyncAdd(2));
        b->ExpectLastBox(Icon::Critical, "Item not added",
            "~Could not add the item nosuch.usp_broken to SQL\n\nError Description: ");
        QVERIFY(b->Files().contains("900002.sp"));
        // A blank text: the connector has nothing to say about it, the box does.
        b->AddFile("900003.sp", " \r\n");
        b->ExpectBox();
        QVERIFY(!Refreshed("900003")->Generic().SyncAdd(2));
        b->ExpectLastBox(Icon::Critical, "Item not added",
            "Could not add the item 900003 to SQL\n\nError Description: The item's text in source control is blank.");

        // Source control holds a text the server will not take in place of the object.
        KORVOTypedObjectPtr w = checkedIn("usp_w");
        QVERIFY(w);
        QString refused = b->Text(type, "usp_w", 2);
        if (b->IsPostgreSQL())
            refused.replace("p_a integer", "p_z integer");
        else
            b->FailStatements("ALTER PROCEDURE \\[dbo\\]\\.\\[usp_w\\].*", "ALTER PROCEDURE permission denied.");
        QVERIFY(b->vss->ChangeItemContent(w->DBID() + ".sp", refused, QString(), true));
        b->ExpectBox();
        QVERIFY(!w->Generic().SyncChange(2));
        b->ExpectLastBox(
            Icon::Critical, "Item not changed", "~Could not change the item dbo.usp_w in SQL\n\nError Description: ");
        QVERIFY(b->ServerText(w->DBID()).contains(Backend::Marker(type, 1)));
    }

    // Undo check-out gives the latest text back; reading either side, as
    // CREATE or in its replacing form.
    void undoCheckoutAndContent_data() { AddKindRows(); }
    void undoCheckoutAndContent()
    {
        QVERIFY(SetUp());
        KORVOTypedObjectPtr o = checkedIn("usp_undo");
        QVERIFY(o);
        const QString item = o->DBID() + ".sp";
        QVERIFY(!o->Generic().UndoCheckout()); // nothing checked out
        QVERIFY(o->CheckOut());
        QFile edit(o->FileName());
        QVERIFY(edit.open(QIODevice::WriteOnly | QIODevice::Truncate));
        edit.write("CREATE PROCEDURE edited");
        edit.close();
        QVERIFY(o->Generic().UndoCheckout());
        QVERIFY(!o->IsCheckedOut());
        QVERIFY(edit.open(QIODevice::ReadOnly));
        QCOMPARE(QString::fromUtf8(edit.readAll()), b->Latest(item));

        QCOMPARE(o->Generic().GetContent(1, -1, false), b->Latest(item));
        QCOMPARE(o->Generic().GetContent(2, -1, false), b->ServerText(o->DBID()));
        QCOMPARE(o->Generic().GetContent(3, -1, false), QString());
        const QString replacing = o->Generic().GetContent(1, -1, true);
        if (b->IsPostgreSQL())
            QVERIFY(replacing.startsWith("CREATE OR REPLACE PROCEDURE"));
        else
            QCOMPARE(replacing, QStringLiteral("ALTER PROCEDURE [dbo].[usp_undo] @a int, @b varchar(10) AS SELECT 1"));
        // A new object has nothing to check out.
        KORVOTypedObjectPtr fresh = procs->NewObject();
        QVERIFY(!fresh->CheckOut());
        QVERIFY(!fresh->Generic().UndoCheckout());
    }

    // A user who does not own the object: the owner is written into the text,
    // so that the replacing statement reaches the object and not one of its own.
    // The owner's own check-in keeps the text.
    void ownerWrittenIntoText_data() { AddKindRows(); }
    void ownerWrittenIntoText()
    {
        QVERIFY(SetUp());
        KORVOTypedObjectPtr o = checkedIn("usp_owned");
        QVERIFY(o);
        QString text = b->Text(ObjectClass::StoredProcedure, "usp_owned", 2);
        if (b->IsPostgreSQL()) {
            // The connection's default owner is "public", not "dbo".
            QCOMPARE(b->sql->DatabaseUserName(), QStringLiteral("public"));
            text.replace("dbo.usp_owned", "usp_owned");
        } else {
            b->CreateUser("x");
            auto asX = std::make_shared<KORVOSQL>(b->ui);
            asX->SetDriver(b->scripted->driver());
            QCOMPARE(asX->OpenConnection("SQLTEST", b->Database(), "x", "x-pw", KORVOSQL::UseNTNo, true), QString());
            o->SetActiveDBConnection(asX);
            text.replace("[dbo].[usp_owned]", "usp_owned");
        }
        QVERIFY(o->CheckOut());
        QVERIFY(o->CheckIn(text, QString()));
        QVERIFY(b->ServerText(o->DBID()).contains(Backend::Marker(ObjectClass::StoredProcedure, 2)));
        QCOMPARE(b->Latest(o->DBID() + ".sp"),
            b->Pick(b->ServerText(o->DBID()), "CREATE PROCEDURE [dbo].[usp_owned] @a int, @b varchar(10) AS SELECT 2"));
        QCOMPARE(b->Id("usp_owned"), o->DBID());
        if (b->IsPostgreSQL())
            return;
        // The object's own user checks in the text as it is; a keyword in a
        // comment above the statement stays.
        o->SetActiveDBConnection(b->sql);
        const QString own = "-- CREATE PROC usp_old was its name\r\nCREATE PROCEDURE usp_owned @a int AS SELECT 3";
        QVERIFY(o->CheckOut() && o->CheckIn(own, QString()));
        QCOMPARE(b->Latest(o->DBID() + ".sp"), own);
        QVERIFY(b->scripted->Log.contains(QString(own).replace("CREATE PROCEDURE", "ALTER PROCEDURE")));
    }

    // A rename refused before anything changes, or failing at a step: the box
    // (and none when silent), and what each side holds afterwards.
    void renameFailures_data()
    {
        AddStepRows([](bool pg, const StepRow &row) {
            row("new", "Rename Aborted", "Cannot rename a New Item!");
            row("checked out", "Rename Aborted", "Cannot rename a Item! It is currently Checkd Out by alice");
            row("out of sync", "Rename Aborted", "Cannot rename a Item! It is currently out of Sync");
            row("same name", "Rename Aborted", "Cannot rename a Item! The New name is the same as the old Name");
            row("create", "Could not Rename Item",
                pg ? "~already exists" : "~There is already an object named 'usp_s' in the database.");
            // PostgreSQL finds the new routine by its name and argument types, whatever else shares the name.
            if (!pg)
                row("not found", "Rename Aborted",
                    "Cannot rename a Item! After creating the New object, it could not be located in the database!");
            row("source control", "Could not Rename Item", "~commits are closed");
            row("no keywords", "Rename Aborted",
                "Cannot rename a Item! After creating the New object, it could not be located in the database!");
            // Proved before source control moves: PostgreSQL's owner check, SQL Server's refusal.
            row("old not droppable", "Could not Rename Item",
                pg ? "~must be owner of procedure dbo.usp_r" : "~Cannot drop the procedure 'usp_r'.");
        });
    }
    void renameFailures()
    {
        QVERIFY(SetUp());
        QFETCH(QString, step);
        KORVOTypedObjectPtr o = checkedIn("usp_r"), target = o;
        QVERIFY(o);
        // A text without its CREATE, towards a name that another object has.
        if (step == "no keywords")
            QVERIFY(b->vss->ChangeItemContent(o->DBID() + ".sp", "-- usp_r", "elsewhere", true));
        if (step == "new") {
            target = procs->NewObject();
        } else if (step == "checked out") {
            QVERIFY(o->CheckOut());
        } else if (step == "out of sync") {
            target = Refreshed(b->Create(ObjectClass::StoredProcedure, "usp_sqlonly"));
        } else if (step == "create" || step == "no keywords") {
            b->Create(ObjectClass::StoredProcedure, "usp_s");
        } else if (step == "old not droppable" && b->IsPostgreSQL()) {
            notOwned("usp_r");
        } else if (step == "old not droppable") {
            b->FailStatements(".*DROP PROCEDURE \\[dbo\\]\\.\\[usp_r\\].*", "Cannot drop the procedure 'usp_r'.");
        } else if (step == "not found") {
            hideFromLookUp("usp_s");
        }
        const QString newName = step == "same name" ? "USP_R" : "usp_s", id = target->DBID();
        const QStringList before = held(*o);
        b->RefuseCommits(step == "source control");
        b->ExpectBox();
        QVERIFY(!target->RenameItem(newName, false));
        b->RefuseCommits(false);
        ExpectRowBox();
        QCOMPARE(target->DBID(), id);
        QCOMPARE(o->Name(), QStringLiteral("usp_r"));
        QCOMPARE(held(*o), before);
        // Refused: nothing was created, and silent there is no box. Failed after
        // the create: the new object is dropped again; one of that name that was
        // there before, or that cannot be located, stays.
        if (step == "create" || step == "not found" || step == "no keywords") {
            QVERIFY(procedureExists("usp_s"));
        } else if (step == "source control" || step == "old not droppable") {
            QVERIFY(!b->Exists("usp_s"));
        } else {
            QVERIFY(!b->Exists("usp_s"));
            QVERIFY(!target->RenameItem(newName, true)); // silent: no box
        }
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
        QVERIFY(SetUp());
        QFETCH(bool, saveFails);
        KORVOTypedObjectPtr o = checkedIn("usp_r");
        QVERIFY(o);
        const QString role = b->CreateRole("r_exec");
        b->sql->ExecuteSQL(
            b->Pick("GRANT EXECUTE ON PROCEDURE dbo.usp_r TO %1", "GRANT EXECUTE ON [dbo].[usp_r] TO [%1]").arg(role));
        QCOMPARE(o->GetPermissions(true, 0)->Item(role)->HasExecute, 1);
        if (b->IsPostgreSQL())
            b->sql->ExecuteSQL("REVOKE EXECUTE ON PROCEDURE dbo.usp_r FROM PUBLIC");
        if (saveFails)
            b->FailStatements("GRANT .*", "GRANT permission denied.");
        b->ExpectBox();
        QVERIFY(o->RenameItem("usp_s", false));
        const auto carried = o->GetPermissions(true, 0)->Item(role);
        if (saveFails) {
            b->ExpectLastBox(Icon::Warning, "Item Successfully Renamed",
                "WARNING: The permissions of the Old Item could not be transfered to the New Item!");
            QVERIFY(!carried || carried->HasExecute == 0);
        } else {
            QCOMPARE(b->ui.last().icon, Icon::Information);
            QVERIFY(carried && carried->HasExecute == 1);
            // The new object gets no right the old one did not have.
            QVERIFY(!publicMayRun(o->DBID()));
        }
    }

    // An undelete by step: one box, the file left deleted, no new object left
    // and the object out of the deleted list, the way free again bringing the
    // first text back; or, for a text naming no owner, the object back under
    // the connection's default owner without a box.
    void undelete_data()
    {
        AddStepRows([](bool pg, const StepRow &row) {
            row("name taken", "Could not Undelete Item", "~usp_d");
            row("source control", "Undelete Aborted",
                "~Cannot undelete the Item! There was a problem renaming the VSS file!");
            row("blank text", "Could not Undelete Item", "The item's text in source control is blank.");
            // PostgreSQL finds the routine by its argument types, so only the
            // scripted server can lose it.
            if (!pg)
                row("not located", "Undelete Aborted",
                    "Cannot undelete the Item! After creating the object, it could not be located in the database!");
            row("no owner in text", "", "");
        });
    }
    void undelete()
    {
        QVERIFY(SetUp());
        QFETCH(QString, step);
        QFETCH(QString, title);
        KORVOTypedObjectPtr o = checkedIn("usp_d");
        QVERIFY(o);
        const QString id = o->DBID(), item = id + ".sp",
                      owner = step == "no owner in text" ? b->Pick("public", "dbo") : "dbo";
        const QString noOwner = b->Pick("CREATE PROCEDURE usp_d(p_a integer) LANGUAGE sql AS $$ SELECT 4 $$",
            "CREATE PROCEDURE usp_d @a int AS SELECT 4");
        if (step == "blank text" || step == "no owner in text")
            QVERIFY(b->vss->ChangeItemContent(item, step == "blank text" ? " \r\n" : noOwner, QString(), true));
        // The server's text is not the one in source control now: the delete asks first.
        if (step == "no owner in text")
            b->ui.answer(UiServices::Answer::Yes);
        QVERIFY(o->DeleteItem());
        QVERIFY(!o->InSQL() && !o->InVSS() && b->vss->ItemIsDeleted(item));
        const QStringList listed = Nodes(*procs->GetDeletedItems(true));
        if (step != "blank text")
            QCOMPARE(
                listed, QStringList { "I" + id + "|" + owner + ".usp_d|StoredProcedure|STOREDPROCEDURE:SQLBROKEN" });
        if (step == "name taken")
            b->Create(ObjectClass::StoredProcedure, "usp_d", 2);
        else if (step == "not located")
            hideFromLookUp("usp_d");
        b->RefuseCommits(step == "source control");
        if (!title.isEmpty())
            b->ExpectBox();
        QCOMPARE(procs->UnDeleteObject("I" + id), title.isEmpty());
        b->RefuseCommits(false);
        if (title.isEmpty()) {
            const QString newId = b->Id("usp_d", owner);
            QVERIFY(!newId.isEmpty());
            QCOMPARE(b->Files(), QStringList { newId + ".sp" });
            QCOMPARE(b->Latest(newId + ".sp"), noOwner);
            // The undeleted routine is not everyone's to run, whatever the server's default.
            QVERIFY(!publicMayRun(newId));
            return;
        }
        ExpectRowBox();
        QVERIFY(b->vss->ItemIsDeleted(item));
        QCOMPARE(b->Files(), QStringList());
        // The object made for the undelete is gone again; the one that took the name stays.
        QCOMPARE(b->Exists("usp_d"), step == "name taken");
        // Tried once, the object leaves the deleted list whatever the outcome:
        // the undelete window reads the list again after each run.
        QVERIFY(!procs->Object("I" + id, true));
        if (step == "blank text") {
            procs->GetDeletedItems(false);
            QVERIFY(!procs->Object("I" + id, true)->UnDelete(true)); // silent: no box
        }
        if (step != "name taken" && step != "source control")
            return;
        if (step == "name taken")
            b->Drop(ObjectClass::StoredProcedure, "usp_d");
        QCOMPARE(procs->GetDeletedItems(false)->Count(), 1);
        QVERIFY(procs->UnDeleteObject("I" + id));
        QVERIFY(b->Latest(b->Id("usp_d") + ".sp").contains(Backend::Marker(ObjectClass::StoredProcedure, 1)));
        QCOMPARE(procs->GetDeletedItems(false)->Count(), 0);
    }

    // A colleague replaced the object on the server after the check-out: the
    // user sees the server's text beside the own and keeps the own, takes the
    // colleague's into the working file (the own kept beside it), or cancels.
    // Nothing is overwritten unasked; a text taken in is checked in unasked.
    void serverChangedSinceCheckOut_data() { AddKindRows({ "keep mine", "take theirs", "cancel" }); }
    void serverChangedSinceCheckOut()
    {
        QVERIFY(SetUp());
        QFETCH(QString, row);
        KORVOTypedObjectPtr o = checkedIn("usp_c");
        QVERIFY(o && o->CheckOut());
        const QString item = o->DBID() + ".sp";
        KORVOSQL colleague(b->ui);
        b->Bind(colleague);
        colleague.ExecuteSQL(colleague.Kind().ReplacingText(text("usp_c", 3)));
        const QString theirs = b->ServerText(o->DBID());
        b->ui.answer(row == "keep mine" ? UiServices::Answer::Yes
                : row == "take theirs"  ? UiServices::Answer::No
                                        : UiServices::Answer::Cancel);
        if (row == "take theirs")
            b->ExpectBox();
        QCOMPARE(o->CheckIn(text("usp_c", 2), "mine"), row == "keep mine");
        QCOMPARE(b->ui.shownServerTexts, QStringList { theirs });
        QCOMPARE(b->ui.boxes.first().title, QStringLiteral("Server Text Changed"));
        const QString ours = Backend::Marker(ObjectClass::StoredProcedure, 2);
        if (row == "keep mine") {
            QVERIFY(b->ServerText(o->DBID()).contains(ours) && b->Latest(item).contains(ours));
            return;
        }
        QCOMPARE(b->ServerText(o->DBID()), theirs);
        QVERIFY(b->Latest(item).contains(Backend::Marker(ObjectClass::StoredProcedure, 1)));
        QVERIFY(o->IsCheckedOutByMe());
        if (row == "cancel")
            return;
        b->ExpectLastBox(Icon::Information, "Server Text Taken", "~Your text is kept in");
        QVERIFY(fileText(o->FileName()).contains(Backend::Marker(ObjectClass::StoredProcedure, 3)));
        QVERIFY(fileText(o->FileName() + ".mine").contains(ours));
        QVERIFY(o->CheckIn(fileText(o->FileName()), "theirs"));
        QCOMPARE(b->ui.shownServerTexts.size(), 1);
        QVERIFY(b->Latest(item).contains(Backend::Marker(ObjectClass::StoredProcedure, 3)));
    }

    // A rollback refused, or failing at a step: the box (none when silent),
    // and what each side holds afterwards.
    void rollbackFailures_data()
    {
        AddStepRows([](bool pg, const StepRow &row) {
            row("checked out", "Rollback Unsuccessful",
                "The item is currently checkedout by 'alice'. In order to rollback an item it must be checked in!",
                Icon::Warning);
            row("identical", "Rollback not Requred", "The current version and the selected version are identical!",
                Icon::Warning);
            row("replace", "Could not Rollback Item", "~t_gone");
            row("check in", "Could not Rollback Item", "~commits are closed");
            row("other name create", "Could not Rollback Item", "~usp_h");
            row("other name source control", "Could not Rollback Item", "~commits are closed");
            row("other name old not droppable", "Could not Rollback Item",
                pg ? "~must be owner of procedure dbo.usp_h2" : "~Cannot drop the procedure 'usp_h2'.");
        });
    }
    void rollbackFailures()
    {
        QVERIFY(SetUp());
        QFETCH(QString, step);
        // The first version reads a table that goes away later.
        KORVOTypedObjectPtr o = readingTable();
        QVERIFY(o);
        const long first = o->Generic().History().at(0).VersionNumber;
        QVERIFY(change(*o, text("usp_h", 2), "second"));
        if (step.startsWith("other name")) {
            b->ExpectBox();
            QVERIFY(o->RenameItem("usp_h2", false));
        }
        const QString id = o->DBID(), name = o->Name(), item = id + ".sp";
        if (step == "checked out") {
            // The object's own state says nothing: the check-out is read afresh.
            QVERIFY(b->vss->CheckOut(item, true));
            QVERIFY(!o->IsCheckedOut());
        } else if (step == "identical") {
            // The third version is the first one again, character for character.
            QVERIFY(change(*o, o->Generic().GetContent(1, first, false), "third"));
        } else if (step == "other name create") {
            b->Create(ObjectClass::StoredProcedure, "usp_h", 3);
        } else if (step == "other name old not droppable" && b->IsPostgreSQL()) {
            notOwned("usp_h2");
        } else if (step == "other name old not droppable") {
            b->FailStatements(".*DROP PROCEDURE \\[dbo\\]\\.\\[usp_h2\\].*", "Cannot drop the procedure 'usp_h2'.");
        }
        const QStringList before = held(*o);
        const int boxes = b->ui.boxes.size();
        if (step == "replace") {
            b->DropTable("dbo", "t_gone");
            if (b->scripted)
                b->FailStatements("ALTER PROCEDURE .*t_gone.*", "Invalid object name 'dbo.t_gone'.");
        }
        b->RefuseCommits(step.endsWith("source control") || step == "check in");
        b->ExpectBox();
        // Stopped at any step, the rollback says so.
        QVERIFY(!o->Generic().Rollback(first, false));
        b->RefuseCommits(false);
        ExpectRowBox(boxes);
        QCOMPARE(o->DBID(), id);
        QCOMPARE(o->Name(), name);
        // Both sides as before; or the server holds the old text and source
        // control the newer one, checked out.
        QStringList expected = before;
        if (step == "check in") {
            QVERIFY(b->ServerText(id).contains("t_gone") && o->SQLAndVSSDiffer());
            expected.first() = b->ServerText(id);
            expected.last() = QStringLiteral("alice");
        }
        QCOMPARE(held(*o), expected);
        if (step == "other name create")
            QVERIFY(b->ServerText(b->Id("usp_h")).contains(Backend::Marker(ObjectClass::StoredProcedure, 3)));
        // The object made from the old version is dropped again.
        if (step == "other name source control" || step == "other name old not droppable")
            QVERIFY(!b->Exists("usp_h"));
        if (step == "checked out" || step == "identical")
            QVERIFY(!o->Generic().Rollback(first, true)); // silent: no box
    }

    // 1. The server drops KORVO's session at a step of an operation (before the
    // statement of the step, or right after it): one box says the connection
    // was lost, nothing reaches source control that the server did not take,
    // the user's text stays in the working file, and after reconnecting the
    // refresh shows what each side holds. A refresh on a lost connection fails
    // loudly and leaves every object as it was.
    void lostConnection_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("op");
        QTest::addColumn<QString>("step");
        for (const char *kind : { "PostgreSQL", "SQLServer" }) {
            const auto row = [kind](const char *op, const char *step) {
                QTest::addRow("%s %s at %s", kind, op, step) << kind << op << step;
            };
            // "earlier": a statement before the operation found the connection gone.
            row("check in", "earlier");
            row("check in", "compile");
            row("check in", "replace");
            if (kind[0] == 'P')
                row("check in", "read back");
            row("sync add to VSS", "earlier");
            row("sync change to VSS", "earlier");
            row("sync add to SQL", "after create");
            row("sync change to SQL", "replace");
            row("delete", "earlier");
            row("rename", "create");
            row("rename", "drop");
            row("undelete", "after create");
            row("rollback", "replace");
            row("rollback to another name", "drop");
            row("refresh", "earlier");
        }
    }
    void lostConnection()
    {
        QVERIFY(SetUp());
        QFETCH(QString, op);
        QFETCH(QString, step);
        KORVOTypedObjectPtr o = checkedIn("usp_l"), target = o;
        QVERIFY(o);
        const long first = o->Generic().History().at(0).VersionNumber;
        const QString id = o->DBID(), item = id + ".sp", mine = text("usp_l", 2);
        if (op.startsWith("rename") || op.startsWith("rollback to"))
            o->SetDescription("follows the file");
        if (op == "check in") {
            QVERIFY(o->CheckOut());
        } else if (op == "sync add to VSS") {
            target = Refreshed(b->Create(ObjectClass::StoredProcedure, "usp_sqlonly"));
        } else if (op == "sync change to VSS") {
            b->sql->ExecuteSQL(b->sql->Kind().ReplacingText(mine));
        } else if (op == "sync add to SQL") {
            QVERIFY(b->AddFile("900001.sp", text("usp_vssonly")));
            target = Refreshed("900001");
        } else if (op == "sync change to SQL") {
            QVERIFY(b->vss->ChangeItemContent(item, mine, "elsewhere", true));
        } else if (op == "undelete") {
            QVERIFY(o->DeleteItem());
            QCOMPARE(procs->GetDeletedItems(false)->Count(), 1);
        } else if (op == "rollback") {
            QVERIFY(change(*o, mine, "second"));
        } else if (op == "rollback to another name") {
            b->ExpectBox();
            QVERIFY(o->RenameItem("usp_l2", false));
        }
        QVERIFY(target);
        const QString key = "I" + target->DBID(),
                      serverBefore = op == "undelete" ? QString() : b->ServerText(o->DBID());
        const QStringList vssBefore = inVSS();

        // Where the session goes: before the step's statement, or after it.
        const QMap<QString, QString> at {
            { "compile", b->Pick("^BEGIN; (SET LOCAL statement_timeout = [0-9]+; )?CREATE PROCEDURE sptmp_", "^CREATE PROCEDURE \\[sptmp_") },
            { "replace", b->Pick("^CREATE OR REPLACE PROCEDURE", "^ALTER PROCEDURE") },
            // The server's text is read before the replace too (has it changed?): the read back follows it.
            { "read back", b->Pick("^CREATE OR REPLACE PROCEDURE", "^ALTER PROCEDURE") },
            { "earlier", "." }, { "after create", b->Pick("^CREATE PROCEDURE dbo\\.", "^CREATE PROCEDURE \\[dbo\\]") },
            { "create", b->Pick("^CREATE PROCEDURE dbo\\.usp_s", "^CREATE PROCEDURE \\[dbo\\]\\.\\[usp_s\\]") },
            { "drop", b->Pick("^DROP PROCEDURE", "^IF EXISTS .*DROP PROCEDURE \\[dbo\\]\\.\\[usp_l") }
        };
        b->LoseConnectionAt(at.value(step), step.startsWith("after") || step == "read back");
        if (step == "earlier")
            QVERIFY_THROWS_EXCEPTION(SqlError, b->sql->GetObjectID("usp_l", "dbo"));
        bool done = true;
        if (op == "refresh") {
            bool cancel = false;
            QVERIFY_THROWS_EXCEPTION(SqlError, procs->RefreshList(cancel));
            QVERIFY_THROWS_EXCEPTION(SqlError, o->Refresh(false));
            QVERIFY(o->InSQL() && o->InVSS());
            QVERIFY(!o->GetContextMenu(false).AddToSQL && !o->GetContextMenu(false).DeleteFromVSS);
            done = false;
        } else {
            b->ExpectBox();
            if (op == "check in")
                done = o->CheckIn(mine, "second");
            else if (op == "sync add to VSS" || op == "sync add to SQL")
                done = target->Generic().SyncAdd(op.endsWith("VSS") ? 1 : 2);
            else if (op.startsWith("sync change"))
                done = o->Generic().SyncChange(op.endsWith("VSS") ? 1 : 2);
            else if (op == "delete")
                done = procs->DeleteItem(key);
            else if (op == "rename")
                done = procs->RenameItem(key, "usp_s");
            else if (op == "undelete")
                done = procs->UnDeleteObject(key);
            else
                done = o->Generic().Rollback(first, false);
            if (op.startsWith("rollback"))
                procs->ChangeKey(key);
        }
        QVERIFY(b->tripping->Tripped());
        QVERIFY(!done);
        if (op != "refresh") {
            QCOMPARE(b->ui.last().title, QStringLiteral("Connection Lost"));
            QVERIFY2(
                b->ui.last().text.contains(QRegularExpression(b->LostConnectionText())), qPrintable(b->ui.last().text));
        }
        // Source control moved only where the box says a rename had reached it.
        if (step != "drop")
            QCOMPARE(inVSS(), vssBefore);
        if (op != "undelete")
            QCOMPARE(b->CheckedOutBy(o->DBID() + ".sp"), QString(op == "check in" ? "alice" : ""));
        if (op == "check in") // the text is where the user left it
            QCOMPARE(fileText(b->vss->GetItemFileName(item)), mine);

        b->Reconnect();
        // The server as the box leaves it: only a step that ran before the loss changed it.
        if (op == "check in")
            QVERIFY(
                b->ServerText(id).contains(Backend::Marker(ObjectClass::StoredProcedure, step == "read back" ? 2 : 1)));
        else if (op == "sync change to SQL" || op == "rollback")
            QCOMPARE(b->ServerText(id), serverBefore);
        QCOMPARE(b->Exists("usp_vssonly"), op == "sync add to SQL");
        QCOMPARE(b->Exists("usp_s"), op == "rename" && step == "drop");
        QCOMPARE(b->Exists("usp_l"), op != "undelete" || step == "after create");
        if (op == "undelete")
            QVERIFY(b->vss->ItemIsDeleted(item));
        if (step == "drop") {
            // Renamed in source control and created; the old object stays, and the refresh shows it alone in SQL.
            const QString renamed = b->Id(op == "rename" ? "usp_s" : "usp_l"),
                          old = b->Id(op == "rename" ? "usp_l" : "usp_l2");
            QCOMPARE(b->Files(), QStringList({ renamed + ".sp", renamed + ".sp.desc" }));
            KORVOTypedObjectPtr left = Refreshed(old), moved = procs->Object(renamed);
            QVERIFY(left && left->InSQL() && !left->InVSS());
            QVERIFY(moved && moved->InSQL() && moved->InVSS() && !moved->SQLAndVSSDiffer());
        }
    }

    // 2. A second user on the same repository (svnserve; alice works here, bob
    // in a working copy of his own). A check-out taken over, or a copy older
    // than the newest version, stops a check-in before the server changes and
    // keeps the text; a check-out, rollback, rename or delete of an item bob
    // holds says who holds it, and nothing changes on either side.
    void secondUser_data()
    {
        AddStepRows([](bool, const StepRow &row) {
            row("stolen lock", "Could not Check In Item", "~checked out by bob");
            row("old copy", "Could not Check In Item", "~changed in source control after your check-out");
            row("check out", "Could not check out", "~checked out by bob");
            row("rollback", "Rollback Unsuccessful", "~checkedout by 'bob'", Icon::Warning);
            row("rename", "Rename Aborted", "Cannot rename a Item! It is currently Checkd Out by bob");
            row("delete", "Could not Delete Item", "~checked out by bob");
            // Source control fails after the check for other holders: the object must not be dropped.
            row("delete refused", "Could not Delete Item", "~commits are closed");
            row("delete with svnserve down", "Could not Delete Item", "~Source control could not be asked");
            row("check out with svnserve frozen", "Could not check out", "~did not answer within 2 seconds");
        });
    }
    void secondUser()
    {
        QVERIFY(SetUp());
        QFETCH(QString, step);
        const QString &op = step;
        KORVOTypedObjectPtr o = checkedIn("usp_u");
        QVERIFY(o);
        const long first = o->Generic().History().at(0).VersionNumber;
        QVERIFY(change(*o, text("usp_u", 2), "second"));
        const bool frozen = op.endsWith("frozen");
        if (frozen) // every call of alice's, not only the connect, waits this long
            b->vss->ConnectTimeout = 2;
        const std::shared_ptr<KORVOVSS> bob = b->ServeTwoUsers();
        QVERIFY(bob);
        const QString id = o->DBID(), item = id + ".sp", mine = text("usp_u", 3);
        const bool checkIn = op == "stolen lock" || op == "old copy";
        const bool sourceControlFails = op.startsWith("delete ") || frozen;
        if (checkIn) {
            QVERIFY(o->CheckOut());
            QVERIFY(b->SvnAs("bob", { "lock", "--force" }, item));
            if (op == "old copy") {
                // Bob checks in a newer version; alice takes the lock again with
                // another program, her working copy still the older one.
                QVERIFY(bob->CheckIn(item, "bob's text", "by bob", true));
                QVERIFY(b->SvnAs("alice", { "lock" }, item));
            }
        } else if (!sourceControlFails) {
            QVERIFY(bob->CheckOut(item, true));
        }
        const QStringList before = held(*o);
        if (op == "delete refused")
            b->RefuseCommits(true);
        else if (op == "delete with svnserve down")
            b->served->Stop();
        else if (frozen)
            QVERIFY(b->served->Freeze(true));
        b->ExpectBox();
        QElapsedTimer clock;
        clock.start();
        if (checkIn)
            QVERIFY(!o->CheckIn(mine, "mine"));
        else if (op == "check out" || frozen)
            QVERIFY(!o->CheckOut());
        else if (op == "rollback")
            QVERIFY(!o->Generic().Rollback(first, false));
        else if (op == "rename")
            QVERIFY(!o->RenameItem("usp_u2", false));
        else
            QVERIFY(!procs->DeleteItem("I" + id));
        ExpectRowBox();
        if (frozen) {
            QVERIFY2(clock.elapsed() < 20000, qPrintable(QString::number(clock.elapsed())));
            QVERIFY(b->served->Freeze(false));
        } else if (op == "delete with svnserve down") {
            const int port = b->served->Port();
            b->served.reset();
            b->served = std::make_unique<SvnServe>(b->repo->Root(), port);
            QVERIFY(b->served->IsRunning());
        }
        b->RefuseCommits(false);
        if (op.startsWith("delete ")) // the box says the object was not dropped
            QVERIFY2(b->ui.last().text.contains(op == "delete refused" ? "The object was not dropped" : "Nothing was changed"),
                qPrintable(b->ui.last().text));
        QCOMPARE(held(*o), before);
        QVERIFY(!b->Exists("usp_u2"));
        if (!checkIn)
            return;
        // The box names the file that keeps the user's text.
        const QRegularExpressionMatch kept = QRegularExpression("kept in '([^']+)'").match(b->ui.last().text);
        QVERIFY2(kept.hasMatch(), qPrintable(b->ui.last().text));
        QFile keptFile(kept.captured(1));
        QVERIFY(keptFile.open(QIODevice::ReadOnly));
        QCOMPARE(QString::fromUtf8(keptFile.readAll()), mine);
        if (op == "old copy") {
            // Source control itself commits against the version the copy is based on.
            QVERIFY(!b->vss->CheckIn(item, mine, "mine", true));
            QCOMPARE(b->Latest(item), QStringLiteral("bob's text"));
        }
    }

    // 4. PostgreSQL overloads: dbo.f(integer) and dbo.f(text), each in source
    // control (and a view on f(integer) where a row says so). Every operation acts on its own
    // overload, one is found by its argument types, a check-in that would change
    // them is refused naming the new signature, and the tree tells them apart.
    void overloads_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("op");
        for (const char *op : { "delete", "sync remove", "rename", "rollback to another name", "undelete",
                 "new overload", "argument type changed", "rename with a dependent view", "caption",
                 "delete after another user dropped it", "rename after another user dropped it" })
            QTest::addRow("PostgreSQL %s", op) << "PostgreSQL" << op;
    }
    void overloads()
    {
        QVERIFY(SetUp());
        QFETCH(QString, op);
        const auto f = [](const QString &name, const QString &type, int v) {
            return QStringLiteral("CREATE FUNCTION dbo.%1(p_a %2) RETURNS integer LANGUAGE sql AS $$ SELECT %3 $$")
                .arg(name, type)
                .arg(v);
        };
        // The oid of a signature, or "" when there is none.
        const auto oid = [this](const QString &signature) {
            const auto rs = b->sql->OpenRecordset(
                QStringLiteral("SELECT to_regprocedure('%1')::oid::bigint AS id").arg(signature));
            return rs->FieldText("id");
        };
        auto udfs = b->Collection(ObjectClass::UserDefinedFunction);
        const auto versioned = [&](const QString &text, const QString &signature) {
            b->sql->ExecuteSQL(text);
            const QString id = oid(signature);
            b->AddFile(id + ".udf", b->ServerText(id));
            return id;
        };
        QString textId;
        if (op == "rollback to another name") {
            // Its first version is named h; renamed to f before f(integer) came.
            textId = versioned(f("h", "text", 2), "dbo.h(text)");
            bool cancel = false;
            udfs->RefreshList(cancel);
            b->ExpectBox();
            QVERIFY(udfs->RenameItem("I" + textId, "f"));
            textId = oid("dbo.f(text)");
            b->sql->ExecuteSQL(f("f", "integer", 1));
            b->AddFile(oid("dbo.f(integer)") + ".udf", b->ServerText(oid("dbo.f(integer)")));
        } else {
            versioned(f("f", "integer", 1), "dbo.f(integer)");
            textId = versioned(f("f", "text", 2), "dbo.f(text)");
        }
        const QString intId = oid("dbo.f(integer)");
        if (op == "rename with a dependent view")
            b->sql->ExecuteSQL("CREATE VIEW dbo.v_f AS SELECT dbo.f(1) AS a");
        bool cancel = false;
        udfs->RefreshList(cancel);
        KORVOTypedObjectPtr ft = udfs->Object(textId), fi = udfs->Object(intId);
        QVERIFY(ft && fi && ft->InSQL() && ft->InVSS() && fi->InSQL() && fi->InVSS());
        const QStringList files = b->Files();

        if (op.endsWith("another user dropped it")) {
            // Only f(integer) is left under the name: a drop by name alone would take it.
            b->pg->exec("DROP FUNCTION dbo.f(text)");
            b->ExpectBox();
            if (op.startsWith("delete")) {
                QVERIFY(udfs->DeleteItem("I" + textId));
                b->ExpectLastBox(Icon::Warning, "Item Deleted", "~already been dropped from the server by another user");
                QCOMPARE(b->Files(), QStringList({ intId + ".udf" }));
            } else {
                // The new object comes from the file; there is no old one left to drop.
                QVERIFY(udfs->RenameItem("I" + textId, "g"));
                QVERIFY(!oid("dbo.g(text)").isEmpty());
            }
        } else if (op == "delete" || op == "sync remove") {
            QVERIFY(op == "delete" ? udfs->DeleteItem("I" + textId) : ft->Generic().SyncRemove(2));
            QCOMPARE(oid("dbo.f(text)"), QString());
        } else if (op == "rename") {
            b->ExpectBox();
            QVERIFY(udfs->RenameItem("I" + textId, "g"));
            QVERIFY(!oid("dbo.g(text)").isEmpty() && oid("dbo.f(text)").isEmpty());
        } else if (op == "rollback to another name") {
            QVERIFY(ft->Generic().Rollback(ft->Generic().History().last().VersionNumber, false));
            QVERIFY(!oid("dbo.h(text)").isEmpty() && oid("dbo.f(text)").isEmpty());
        } else if (op == "undelete") {
            QVERIFY(udfs->DeleteItem("I" + textId));
            // Listed with its argument types: its name is its live sibling's too.
            const QStringList listed = Nodes(*udfs->GetDeletedItems(false));
            QCOMPARE(listed.size(), 1);
            QVERIFY2(listed.first().startsWith("I" + textId + "|f(text)|"), qPrintable(listed.first()));
            QVERIFY(udfs->UnDeleteObject("I" + textId));
            const QString back = oid("dbo.f(text)");
            QVERIFY(!back.isEmpty());
            QCOMPARE(b->Files(), Sorted({ intId + ".udf", back + ".udf" }));
            // Every refresh after it finds both, each with its own file, and says nothing.
            for (int i = 0; i < 2; ++i) {
                udfs->RefreshList(cancel);
                QCOMPARE(udfs->Count(), 2);
                for (const QString &id : { intId, back })
                    QVERIFY(udfs->Object(id) && udfs->Object(id)->InSQL() && udfs->Object(id)->InVSS());
            }
            QCOMPARE(b->Files(), Sorted({ intId + ".udf", back + ".udf" }));
        } else if (op == "new overload") {
            KORVOTypedObjectPtr fd = udfs->NewObject();
            QVERIFY(fd->CheckIn(f("f", "date", 3), "a third"));
            QCOMPARE(fd->DBID(), oid("dbo.f(date)"));
            QCOMPARE(b->Files(), Sorted(files + QStringList { fd->DBID() + ".udf" }));
        } else if (op == "argument type changed") {
            QVERIFY(ft->CheckOut());
            const QString vssBefore = b->Latest(textId + ".udf");
            b->ExpectBox();
            QVERIFY(!ft->CheckIn(f("f", "character varying", 2), "retyped"));
            b->ExpectLastBox(Icon::Critical, "Could not Check In Item", "~dbo.f(character varying)");
            QCOMPARE(oid("dbo.f(character varying)"), QString());
            QCOMPARE(b->Latest(textId + ".udf"), vssBefore);
            QCOMPARE(b->CheckedOutBy(textId + ".udf"), QStringLiteral("alice"));
        } else if (op == "rename with a dependent view") {
            b->ExpectBox();
            QVERIFY(!udfs->RenameItem("I" + intId, "g"));
            b->ExpectLastBox(Icon::Critical, "Could not Rename Item", "~depend");
            QCOMPARE(oid("dbo.g(integer)"), QString());
            QCOMPARE(b->Files(), files);
        } else if (op == "caption") {
            QCOMPARE(Sorted(Nodes(*udfs->GetItemInfo(true, nullptr)).filter("|dbo.f(")),
                Sorted({ "I" + intId + "|dbo.f(integer)|UserDefinedFunction|USERDEFINEDFUNCTION:CHECKEDIN",
                    "I" + textId + "|dbo.f(text)|UserDefinedFunction|USERDEFINEDFUNCTION:CHECKEDIN" }));
            QCOMPARE(fi->GetContextMenu(true).DisplayName, QStringLiteral("dbo.f(integer)"));
        }
        // The sibling is untouched whatever happened to the other.
        QCOMPARE(oid("dbo.f(integer)"), intId);
        QVERIFY(b->ServerText(intId).contains("SELECT 1"));
        QCOMPARE(b->Latest(intId + ".udf"), b->ServerText(intId));
    }

    // Another session holds a lock the compile test needs: the test gives up
    // after the timeout with the server's words instead of waiting for ever.
    void compileTestTimesOut_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::newRow("PostgreSQL") << "PostgreSQL";
    }
    void compileTestTimesOut()
    {
        QVERIFY(SetUp());
        KORVOTypedObjectPtr o = readingTable();
        QVERIFY(o);
        KORVOSQL other(b->ui, ServerKind::PostgreSQL());
        b->Bind(other);
        other.ExecuteSQL("BEGIN; LOCK TABLE dbo.t_gone IN ACCESS EXCLUSIVE MODE");
        b->sql->CompileTestTimeout = 1;
        QElapsedTimer clock;
        clock.start();
        b->ExpectBox();
        QVERIFY(!o->Generic().Recompile(false));
        b->ExpectLastBox(Icon::Critical, "Syntax Error", "~statement timeout");
        QVERIFY(clock.elapsed() < 20000);
        other.ExecuteSQL("ROLLBACK");
        QVERIFY(o->Generic().Recompile());
        QCOMPARE(b->TemporaryObjects(), QStringList());
    }

    // A procedure whose table was dropped no longer compiles; by default the
    // run is silent, and asked not to be it shows the server's error.
    void recompileReportsBrokenDependency_data() { AddKindRows(); }
    void recompileReportsBrokenDependency()
    {
        QVERIFY(SetUp());
        KORVOTypedObjectPtr o = readingTable();
        QVERIFY(o && o->Generic().Recompile());
        b->DropTable("dbo", "t_gone");
        if (b->scripted)
            b->FailStatements("CREATE PROCEDURE \\[sptmp_.*t_gone.*", "Invalid object name 'dbo.t_gone'.");
        const QString before = b->ServerText(o->DBID());
        QVERIFY(!o->Generic().Recompile()); // silent: no box
        b->ExpectBox();
        QVERIFY(!o->Generic().Recompile(false));
        b->ExpectLastBox(Icon::Critical, "Syntax Error", "~t_gone");
        QCOMPARE(b->ServerText(o->DBID()), before);
        QCOMPARE(b->TemporaryObjects(), QStringList());
    }
};

QTEST_MAIN(TestOperations)
#include "test_operations.moc"
