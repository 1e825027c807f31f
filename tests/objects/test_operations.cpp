// The version-control operations of versioned objects on both server kinds
// with a real Subversion project: the whole life of an object of each type,
// what each side holds after each failing step of a check-in, the name and
// owner checks of the compile test, and the sync operations.
#include "test_operations_fixture.h"

#include "SQLParser.h"

#include <QTest>

using Icon = UiServices::Icon;

class TestOperations : public QObject
{
    Q_OBJECT

    OpsFixture f;

    bool setUp()
    {
        QFETCH(QString, kind);
        return f.Open(kind);
    }
    ScriptedUi &ui() { return f.Ui(); }
    void expectLastBox(Icon icon, const QString &title, const QString &text)
    {
        QVERIFY(!ui().boxes.isEmpty());
        QCOMPARE(ui().last().icon, icon);
        QCOMPARE(ui().last().title, title);
        QCOMPARE(ui().last().text, text);
    }

private Q_SLOTS:
    void cleanup()
    {
        if (f.b)
            QCOMPARE(ui().pending(), 0);
        f.b.reset();
        f.scripted = nullptr;
    }

    // Create, check in, check out, change, check in, rename, history, roll back
    // across the rename and to a version of the same name, delete, undelete.
    void lifeOfAnObject_data() { AddKindAndTypeRows(); }
    void lifeOfAnObject()
    {
        QVERIFY(setUp());
        QFETCH(int, cls);
        const auto type = ObjectClass(cls);
        const QString ext = OpsFixture::Ext(type);
        const QString nameA = QStringLiteral("ops_a"), nameB = QStringLiteral("ops_b");
        auto c = f.Collection(type);

        KORVOTypedObjectPtr o = c->NewObject();
        const QString temporary = o->FileName();
        QVERIFY(QFile::exists(temporary));
        QVERIFY(o->CheckIn(f.Text(type, nameA, 1), QStringLiteral("created")));
        QVERIFY(!o->IsNew());
        QVERIFY(!QFile::exists(temporary));
        QVERIFY(o->InSQL() && o->InVSS());
        QCOMPARE(o->Name(), nameA);
        QCOMPARE(o->Owner(), QStringLiteral("dbo"));
        QCOMPARE(o->DBID(), f.Id(nameA));
        QCOMPARE(c->Object(o->DBID()), o);
        QVERIFY(c->NewItems().isEmpty());
        QCOMPARE(f.Files(), QStringList { o->DBID() + ext });
        QVERIFY(!o->SQLAndVSSDiffer());
        QCOMPARE(f.TemporaryObjects(), QStringList());
        if (type == ObjectClass::Trigger)
            QCOMPARE(static_cast<KORVOTrigger &>(*o).ParentTableDBID, f.Id(QStringLiteral("t_ops")));

        QVERIFY(o->CheckOut());
        QVERIFY(o->IsCheckedOutByMe());
        QVERIFY(o->IconToUse().endsWith(QLatin1String(":CHECKEDOUT")));
        QVERIFY(o->CheckIn(f.Text(type, nameA, 2), QStringLiteral("changed")));
        QVERIFY(!o->IsCheckedOut());
        QVERIFY(f.ServerText(o->DBID()).contains(OpsFixture::Marker(type, 2)));
        QVERIFY(!o->SQLAndVSSDiffer());
        QCOMPARE(f.TemporaryObjects(), QStringList());

        const QString firstId = o->DBID();
        o->SetDescription(QStringLiteral("orders per customer"));
        f.ExpectBox();
        QVERIFY(c->RenameItem(QStringLiteral("I") + firstId, nameB));
        QCOMPARE(c->Object(o->DBID()), o);
        expectLastBox(Icon::Information, QStringLiteral("Item Successfully Renamed"),
            QStringLiteral("Item was successfully renamed from [ops_a] to [ops_b]."));
        QCOMPARE(o->Name(), nameB);
        QVERIFY(o->DBID() != firstId);
        QCOMPARE(o->DBID(), f.Id(nameB));
        QVERIFY(!f.Exists(nameA));
        QCOMPARE(f.Files(), QStringList({ o->DBID() + ext, o->DBID() + ext + QStringLiteral(".desc") }));
        QCOMPARE(o->Description(), QStringLiteral("orders per customer"));
        QVERIFY(!o->SQLAndVSSDiffer());

        QList<KORVOHistoryData> history = o->Generic().History();
        QCOMPARE(history.size(), 3);
        QCOMPARE(history.at(0).Comment, QStringLiteral("Item renamed from [ops_a] to [ops_b]."));
        QCOMPARE(history.at(1).Comment, QStringLiteral("changed"));
        QCOMPARE(history.at(2).Comment, QStringLiteral("created"));
        const long first = history.at(2).VersionNumber;
        const long second = history.at(1).VersionNumber;

        // The first version names ops_a: the object goes back to that name.
        const QString renamedId = o->DBID();
        QVERIFY(o->Generic().Rollback(first, false));
        c->ChangeKey(renamedId);
        QCOMPARE(c->Object(o->DBID()), o);
        QCOMPARE(o->Name(), nameA);
        QCOMPARE(o->DBID(), f.Id(nameA));
        QVERIFY(!f.Exists(nameB));
        QVERIFY(f.ServerText(o->DBID()).contains(OpsFixture::Marker(type, 1)));
        QCOMPARE(f.Files(), QStringList({ o->DBID() + ext, o->DBID() + ext + QStringLiteral(".desc") }));
        QCOMPARE(o->Description(), QStringLiteral("orders per customer"));
        QVERIFY(!o->SQLAndVSSDiffer());
        history = o->Generic().History();
        QCOMPARE(history.size(), 4);
        QCOMPARE(history.at(0).Comment,
            QStringLiteral("Rollback to version: %1. NOTE: Item renamed from [ops_b] to [ops_a]").arg(first));

        // The second version has the same name: replaced in place.
        const QString sameId = o->DBID();
        QVERIFY(o->Generic().Rollback(second, false));
        QCOMPARE(o->DBID(), sameId);
        QVERIFY(f.ServerText(sameId).contains(OpsFixture::Marker(type, 2)));
        QCOMPARE(f.CheckedOutBy(sameId + ext), QString());
        QCOMPARE(o->Generic().History().at(0).Comment, QStringLiteral("Rollback to version: %1").arg(second));
        QVERIFY(!o->SQLAndVSSDiffer());

        QVERIFY(c->DeleteItem(QStringLiteral("I") + sameId));
        QVERIFY(!f.Exists(nameA));
        QCOMPARE(f.Files(), QStringList { sameId + ext + QStringLiteral(".desc") }); // the description stays
        QVERIFY(!c->Object(sameId));

        const KORVODBTItemsPtr deleted = c->GetDeletedItems(false);
        QCOMPARE(deleted->Count(), 1);
        QVERIFY(c->UnDeleteObject(QStringLiteral("I") + sameId));
        const QString newId = f.Id(nameA);
        QVERIFY(!newId.isEmpty());
        QVERIFY(f.Files().contains(newId + ext));
        bool cancel = false;
        c->RefreshList(cancel);
        const KORVOTypedObjectPtr back = c->Object(newId);
        QVERIFY(back);
        QVERIFY(back->InSQL() && back->InVSS());
        QVERIFY(!back->SQLAndVSSDiffer());
        QVERIFY(ui().boxes.size() == 1);
    }

    // What each side holds after a check-in fails at each step.
    void checkInFailures_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("step");
        for (const QString &kind : { QStringLiteral("PostgreSQL"), QStringLiteral("SQLServer") }) {
            for (const char *step : { "syntax", "replace refused", "source control", "undroppable temporary" }) {
                if (kind == QLatin1String("PostgreSQL") && QByteArray(step) == "undroppable temporary")
                    continue; // the compile test is rolled back there: there is no drop to fail
                QTest::newRow(qPrintable(kind + QLatin1Char(' ') + QLatin1String(step)))
                    << kind << QString::fromLatin1(step);
            }
        }
    }
    void checkInFailures()
    {
        QVERIFY(setUp());
        QFETCH(QString, step);
        const ObjectClass type = ObjectClass::StoredProcedure;
        auto c = f.Collection(type);
        KORVOTypedObjectPtr o = f.CheckedIn(*c, type, QStringLiteral("usp_fail"), 1);
        QVERIFY(o);
        const QString item = o->DBID() + QStringLiteral(".sp");
        QVERIFY(o->CheckOut());
        const QString serverBefore = f.ServerText(o->DBID());
        const QString vssBefore = f.Latest(item);

        QString text = f.Text(type, QStringLiteral("usp_fail"), 2);
        bool serverChanged = false;
        if (step == QLatin1String("syntax")) {
            text.replace(QLatin1String("SELECT 2"), QLatin1String("SELEC 2"));
            if (f.scripted)
                f.FailStatements(QStringLiteral("\\s*CREATE\\s+PROCEDURE.*\\bSELEC\\b.*"),
                    QStringLiteral("Incorrect syntax near 'SELEC'."));
            f.ExpectBox();
        } else if (step == QLatin1String("replace refused")) {
            // The compile test under another name passes; replacing the object does not.
            if (f.IsPostgreSQL())
                text.replace(QLatin1String("p_a integer"), QLatin1String("p_z integer"));
            else
                f.FailStatements(QStringLiteral("ALTER PROCEDURE \\[dbo\\]\\.\\[usp_fail\\].*"),
                    QStringLiteral("ALTER PROCEDURE permission denied on object 'usp_fail'."));
            f.ExpectBox();
        } else if (step == QLatin1String("source control")) {
            f.RefuseCommits(true);
            f.ExpectBox(); // the connector's own box
            serverChanged = true;
        } else {
            f.FailStatements(QStringLiteral("IF EXISTS .*\\[sptmp_.*"), QStringLiteral("Cannot drop the procedure."));
            f.ExpectBox();
        }

        QVERIFY(!o->CheckIn(text, QStringLiteral("second")));
        f.RefuseCommits(false);
        QCOMPARE(ui().boxes.size(), 1);
        if (step == QLatin1String("syntax")) {
            QCOMPARE(ui().last().title, QStringLiteral("Syntax Error"));
            QCOMPARE(ui().last().icon, Icon::Critical);
            if (f.scripted)
                QCOMPARE(ui().last().text, QStringLiteral("Line 1: Incorrect syntax near 'SELEC'."));
            else
                QVERIFY2(ui().last().text.contains(QLatin1String("syntax error at or near \"SELEC\"")),
                    qPrintable(ui().last().text));
        } else if (step == QLatin1String("replace refused")) {
            QCOMPARE(ui().last().title, QStringLiteral("Could not Check In Item"));
            if (f.scripted)
                QCOMPARE(ui().last().text,
                    QStringLiteral("Line 1: ALTER PROCEDURE permission denied on object 'usp_fail'."));
            else
                QVERIFY2(ui().last().text.contains(QLatin1String("cannot change name of input parameter")),
                    qPrintable(ui().last().text));
        } else if (step == QLatin1String("source control")) {
            QCOMPARE(ui().last().title, QStringLiteral("Could not check in"));
        } else {
            QCOMPARE(ui().last().title, QStringLiteral("Syntax Error"));
            QCOMPARE(ui().last().text, QStringLiteral("Line 1: Cannot drop the procedure."));
        }

        if (serverChanged) {
            QVERIFY(f.ServerText(o->DBID()).contains(OpsFixture::Marker(type, 2)));
        } else {
            QCOMPARE(f.ServerText(o->DBID()), serverBefore);
        }
        QCOMPARE(f.Latest(item), vssBefore);
        QCOMPARE(f.CheckedOutBy(item), QStringLiteral("alice"));
        QVERIFY(o->IsCheckedOutByMe());
        if (step == QLatin1String("undroppable temporary"))
            QCOMPARE(f.TemporaryObjects().size(), 1);
        else
            QCOMPARE(f.TemporaryObjects(), QStringList());
    }

    // A new object: the create fails, or the file cannot be added.
    void newObjectFailures_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<bool>("createFails");
        for (const QString &kind : { QStringLiteral("PostgreSQL"), QStringLiteral("SQLServer") }) {
            QTest::newRow(qPrintable(kind + QStringLiteral(" create fails"))) << kind << true;
            QTest::newRow(qPrintable(kind + QStringLiteral(" add fails"))) << kind << false;
        }
    }
    void newObjectFailures()
    {
        QVERIFY(setUp());
        QFETCH(bool, createFails);
        auto c = f.Collection(ObjectClass::StoredProcedure);
        KORVOTypedObjectPtr o = c->NewObject();
        QString text = f.Text(ObjectClass::StoredProcedure, QStringLiteral("usp_new"));
        if (createFails) {
            // The compile test renames the object away from the missing owner; the real create fails.
            text.replace(QLatin1String("dbo"), QLatin1String("nosuch"));
        } else {
            f.RefuseCommits(true);
        }
        f.ExpectBox();
        QVERIFY(!o->CheckIn(text, QString()));
        f.RefuseCommits(false);
        QCOMPARE(ui().boxes.size(), 1);
        QCOMPARE(f.Files(), QStringList());
        if (createFails) {
            QCOMPARE(ui().last().title, QStringLiteral("Could not Check In Item"));
            QVERIFY2(ui().last().text.contains(QLatin1String("nosuch")), qPrintable(ui().last().text));
            QVERIFY(o->IsNew());
            QVERIFY(QFile::exists(o->FileName()));
            QCOMPARE(c->NewItems().size(), 1);
            QVERIFY(!f.Exists(QStringLiteral("usp_new")));
        } else {
            QCOMPARE(ui().last().title, QStringLiteral("Could not add Item"));
            QVERIFY(!o->IsNew());
            QVERIFY(o->InSQL());
            QVERIFY(!o->InVSS());
            QCOMPARE(o->DBID(), f.Id(QStringLiteral("usp_new")));
            QCOMPARE(c->Object(o->DBID()), o);
        }
    }

    // The name checks of a check-in, before anything changes.
    void checkInRefusals_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("change");
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("sqlServerText");
        QTest::addColumn<QString>("postgreSQLText");
        for (const QString &kind : { QStringLiteral("PostgreSQL"), QStringLiteral("SQLServer") }) {
            QTest::newRow(qPrintable(kind + QStringLiteral(" name")))
                << kind << QStringLiteral("name") << QStringLiteral("Syntax Error")
                << QStringLiteral("The Name of the object cannot be changed!")
                << QStringLiteral("The Name of the object cannot be changed!");
            QTest::newRow(qPrintable(kind + QStringLiteral(" owner")))
                << kind << QStringLiteral("owner") << QStringLiteral("Syntax Error")
                << QStringLiteral("The Owner of the object cannot be changed!")
                << QStringLiteral("The Owner of the object cannot be changed!");
            QTest::newRow(qPrintable(kind + QStringLiteral(" no keywords")))
                << kind << QStringLiteral("keywords") << QStringLiteral("Syntax Error")
                << QStringLiteral("The \"CREATE PROC\" or \"CREATE PROCEDURE\" could not be found!")
                << QStringLiteral("The \"CREATE PROCEDURE\" or \"CREATE OR REPLACE PROCEDURE\" could not be found!");
            QTest::newRow(qPrintable(kind + QStringLiteral(" new under a used name")))
                << kind << QStringLiteral("exists") << QStringLiteral("Could not Check In Item")
                << QStringLiteral("Item Name specified ('[dbo].[usp_one]') already exists in the database!")
                << QStringLiteral("Item Name specified ('dbo.usp_one') already exists in the database!");
        }
    }
    void checkInRefusals()
    {
        QVERIFY(setUp());
        QFETCH(QString, change);
        QFETCH(QString, title);
        QFETCH(QString, sqlServerText);
        QFETCH(QString, postgreSQLText);
        const ObjectClass type = ObjectClass::StoredProcedure;
        auto c = f.Collection(type);
        KORVOTypedObjectPtr o = f.CheckedIn(*c, type, QStringLiteral("usp_one"), 1);
        QVERIFY(o);
        QVERIFY(o->CheckOut());
        const QString serverBefore = f.ServerText(o->DBID());
        const QString vssBefore = f.Latest(o->DBID() + QStringLiteral(".sp"));

        QString text = f.Text(type, QStringLiteral("usp_one"), 2);
        KORVOTypedObjectPtr target = o;
        if (change == QLatin1String("name"))
            text = f.Text(type, QStringLiteral("usp_two"), 2);
        else if (change == QLatin1String("owner"))
            text.replace(QLatin1String("dbo"), QLatin1String("other"));
        else if (change == QLatin1String("keywords"))
            text.replace(QLatin1String("CREATE PROCEDURE"), QLatin1String("CREATE PROCESS"));
        else
            target = c->NewObject();
        f.ExpectBox();
        QVERIFY(!target->CheckIn(text, QString()));
        QCOMPARE(ui().boxes.size(), 1);
        expectLastBox(Icon::Critical, title, f.IsPostgreSQL() ? postgreSQLText : sqlServerText);
        QCOMPARE(f.ServerText(o->DBID()), serverBefore);
        QCOMPARE(f.Latest(o->DBID() + QStringLiteral(".sp")), vssBefore);
        QVERIFY(!f.Exists(QStringLiteral("usp_two")));
        QCOMPARE(f.TemporaryObjects(), QStringList());
        QCOMPARE(f.Files().size(), 1);
    }

    // The four sync operations in both directions, and their error boxes.
    void syncOperations_data() { AddKindRows(); }
    void syncOperations()
    {
        QVERIFY(setUp());
        const ObjectClass type = ObjectClass::StoredProcedure;
        auto c = f.Collection(type);

        // Only in SQL: added to source control with the server's text.
        const QString sqlOnly = f.b->Create(f.Text(type, QStringLiteral("usp_sqlonly")), QStringLiteral("usp_sqlonly"));
        bool cancel = false;
        c->RefreshList(cancel);
        KORVOTypedObjectPtr o = c->Object(sqlOnly);
        QVERIFY(o && !o->InVSS());
        QVERIFY(o->Generic().SyncAdd(1));
        QVERIFY(o->InVSS());
        QCOMPARE(f.Latest(sqlOnly + QStringLiteral(".sp")), f.ServerText(sqlOnly));

        // Changed on the server: source control follows, and back.
        f.b->sql->ExecuteSQL(f.b->sql->Kind().ReplacingText(f.Text(type, QStringLiteral("usp_sqlonly"), 2)));
        QVERIFY(o->SQLAndVSSDiffer());
        QVERIFY(o->Generic().SyncChange(1));
        QVERIFY(!o->SQLAndVSSDiffer());
        QCOMPARE(o->Generic().History().at(0).Comment, QStringLiteral("Synchronization"));
        f.b->sql->ExecuteSQL(f.b->sql->Kind().ReplacingText(f.Text(type, QStringLiteral("usp_sqlonly"), 3)));
        QVERIFY(o->Generic().SyncChange(2));
        QVERIFY(f.ServerText(sqlOnly).contains(OpsFixture::Marker(type, 2)));

        // Only in source control: created on the server, the file follows the new id.
        f.b->AddFile(QStringLiteral("900001.sp"), f.Text(type, QStringLiteral("usp_vssonly")));
        c->RefreshList(cancel);
        KORVOTypedObjectPtr v = c->Object(QStringLiteral("900001"));
        QVERIFY(v && !v->InSQL());
        QVERIFY(v->Generic().SyncAdd(2));
        const QString created = f.Id(QStringLiteral("usp_vssonly"));
        QVERIFY(!created.isEmpty());
        QCOMPARE(v->DBID(), created);
        QVERIFY(v->InSQL());
        QVERIFY(f.Files().contains(created + QStringLiteral(".sp")));
        QVERIFY(!f.Files().contains(QStringLiteral("900001.sp")));

        // Removal from either side; the state is left to the next refresh.
        QVERIFY(v->Generic().SyncRemove(2));
        QVERIFY(!f.Exists(QStringLiteral("usp_vssonly")));
        QVERIFY(v->InSQL());
        QVERIFY(o->Generic().SyncRemove(1));
        QVERIFY(!f.Files().contains(sqlOnly + QStringLiteral(".sp")));
        QVERIFY(f.Exists(QStringLiteral("usp_sqlonly")));

        // A text the server refuses: the box names the object and the side.
        f.b->AddFile(QStringLiteral("900002.sp"),
            f.Text(type, QStringLiteral("usp_broken")).replace(QLatin1String("dbo"), QLatin1String("nosuch")));
        c->RefreshList(cancel);
        KORVOTypedObjectPtr clash = c->Object(QStringLiteral("900002"));
        QVERIFY(clash);
        f.ExpectBox();
        QVERIFY(!clash->Generic().SyncAdd(2));
        QCOMPARE(ui().last().title, QStringLiteral("Item not added"));
        QVERIFY2(ui().last().text.startsWith(
                     QStringLiteral("Could not add the item nosuch.usp_broken to SQL\n\nError Description: ")),
            qPrintable(ui().last().text));
        QVERIFY(f.Files().contains(QStringLiteral("900002.sp")));

        // Source control holds a text the server will not take in place of the object.
        KORVOTypedObjectPtr w = f.CheckedIn(*c, type, QStringLiteral("usp_w"));
        QVERIFY(w);
        QString refused = f.Text(type, QStringLiteral("usp_w"), 2);
        if (f.IsPostgreSQL())
            refused.replace(QLatin1String("p_a integer"), QLatin1String("p_z integer"));
        else
            f.FailStatements(QStringLiteral("ALTER PROCEDURE \\[dbo\\]\\.\\[usp_w\\].*"),
                QStringLiteral("ALTER PROCEDURE permission denied on object 'usp_w'."));
        QVERIFY(f.b->vss->ChangeItemContent(w->DBID() + QStringLiteral(".sp"), refused, QString(), true));
        f.ExpectBox();
        QVERIFY(!w->Generic().SyncChange(2));
        QCOMPARE(ui().last().title, QStringLiteral("Item not changed"));
        QVERIFY2(ui().last().text.startsWith(
                     QStringLiteral("Could not change the item dbo.usp_w in SQL\n\nError Description: ")),
            qPrintable(ui().last().text));
        QVERIFY(f.ServerText(w->DBID()).contains(OpsFixture::Marker(type, 1)));
    }

    // Undo check-out gives the latest text back; reading either side, as
    // CREATE or in its replacing form.
    void undoCheckoutAndContent_data() { AddKindRows(); }
    void undoCheckoutAndContent()
    {
        QVERIFY(setUp());
        const ObjectClass type = ObjectClass::StoredProcedure;
        auto c = f.Collection(type);
        KORVOTypedObjectPtr o = f.CheckedIn(*c, type, QStringLiteral("usp_undo"));
        QVERIFY(o);
        QVERIFY(!o->Generic().UndoCheckout()); // nothing checked out
        QVERIFY(o->CheckOut());
        const QString file = o->FileName();
        QFile edit(file);
        QVERIFY(edit.open(QIODevice::WriteOnly | QIODevice::Truncate));
        edit.write("CREATE PROCEDURE edited");
        edit.close();
        QVERIFY(o->Generic().UndoCheckout());
        QVERIFY(!o->IsCheckedOut());
        QFile back(file);
        QVERIFY(back.open(QIODevice::ReadOnly));
        QCOMPARE(QString::fromUtf8(back.readAll()), f.Latest(o->DBID() + QStringLiteral(".sp")));

        const QString vss = o->Generic().GetContent(1, -1, false);
        QCOMPARE(vss, f.Latest(o->DBID() + QStringLiteral(".sp")));
        QCOMPARE(o->Generic().GetContent(2, -1, false), f.ServerText(o->DBID()));
        QCOMPARE(o->Generic().GetContent(3, -1, false), QString());
        const QString replacing = o->Generic().GetContent(1, -1, true);
        if (f.IsPostgreSQL())
            QVERIFY(replacing.startsWith(QLatin1String("CREATE OR REPLACE PROCEDURE")));
        else
            QCOMPARE(replacing, QStringLiteral("ALTER PROCEDURE [dbo].[usp_undo] @a int AS SELECT 1"));
        // A new object has nothing to check out.
        KORVOTypedObjectPtr fresh = c->NewObject();
        QVERIFY(!fresh->CheckOut());
        QVERIFY(!fresh->Generic().UndoCheckout());
    }

    // A user who does not own the object: the owner is written into the text,
    // so that the replacing statement reaches the object and not one of its own.
    void ownerWrittenIntoText_data() { AddKindRows(); }
    void ownerWrittenIntoText()
    {
        QVERIFY(setUp());
        const ObjectClass type = ObjectClass::StoredProcedure;
        auto c = f.Collection(type);
        KORVOTypedObjectPtr o = f.CheckedIn(*c, type, QStringLiteral("usp_owned"));
        QVERIFY(o);
        QString text = f.Text(type, QStringLiteral("usp_owned"), 2);
        if (f.IsPostgreSQL()) {
            // The connection's default owner is "public", not "dbo".
            QCOMPARE(f.b->sql->DatabaseUserName(), QStringLiteral("public"));
            text.replace(QLatin1String("dbo.usp_owned"), QLatin1String("usp_owned"));
        } else {
            f.scripted->addLogin(QStringLiteral("x"), QStringLiteral("x-pw"));
            f.scripted->addUser(f.b->Database(), QStringLiteral("x"), QStringLiteral("x"));
            auto asX = std::make_shared<KORVOSQL>(ui());
            asX->SetDriver(f.scripted->driver());
            QCOMPARE(asX->OpenConnection(QStringLiteral("SQLTEST"), f.b->Database(), QStringLiteral("x"),
                         QStringLiteral("x-pw"), KORVOSQL::UseNTNo, true),
                QString());
            o->SetActiveDBConnection(asX);
            text.replace(QLatin1String("[dbo].[usp_owned]"), QLatin1String("usp_owned"));
        }
        QVERIFY(o->CheckOut());
        QVERIFY(o->CheckIn(text, QString()));
        QVERIFY(f.ServerText(o->DBID()).contains(OpsFixture::Marker(type, 2)));
        const QString stored = f.Latest(o->DBID() + QStringLiteral(".sp"));
        if (f.IsPostgreSQL())
            QCOMPARE(stored, f.ServerText(o->DBID()));
        else
            QCOMPARE(stored, QStringLiteral("CREATE PROCEDURE [dbo].[usp_owned] @a int AS SELECT 2"));
        QCOMPARE(f.Id(QStringLiteral("usp_owned")), o->DBID());
    }

    // The object's own user checks in without a change of the text; a
    // keyword in a comment above the statement stays as it is.
    void ownUserKeepsText()
    {
        OpsFixture g;
        QVERIFY(g.Open(QStringLiteral("SQLServer")));
        auto c = g.Collection(ObjectClass::StoredProcedure);
        KORVOTypedObjectPtr o = g.CheckedIn(*c, ObjectClass::StoredProcedure, QStringLiteral("usp_mine"));
        QVERIFY(o);
        QVERIFY(o->CheckOut());
        const QString text
            = QStringLiteral("-- CREATE PROC usp_old was its name\r\nCREATE PROCEDURE usp_mine @a int AS SELECT 2");
        QVERIFY(o->CheckIn(text, QString()));
        QCOMPARE(g.Latest(o->DBID() + QStringLiteral(".sp")), text);
        QVERIFY(g.scripted->Log.contains(
            QStringLiteral("-- CREATE PROC usp_old was its name\r\nALTER PROCEDURE usp_mine @a int AS SELECT 2")));
        QCOMPARE(g.Ui().boxes.size(), 0);
    }
};

QTEST_MAIN(TestOperations)
#include "test_operations.moc"
