// Versioned objects and their collections on both server kinds with a real
// Subversion project: the merge of the SQL list with the file list and the
// renames it makes, status events and cancel, keys, tree items, triggers,
// state icons and menus, the difference test, nodes under an object and
// their drop script, the object's files.
#include "KORVOFields.h"
#include "test_backend.h"

#include <QFileInfo>
#include <QTest>

namespace
{

// "name:SQL+VSS" per object, in list order.
QStringList states(const KORVOVersionedObjects &objects)
{
    QStringList out;
    for (const auto &o : objects) {
        QStringList sides;
        if (o->InSQL())
            sides << "SQL";
        if (o->InVSS())
            sides << "VSS";
        out.append(o->Name() + ":" + sides.join("+"));
    }
    return out;
}

} // namespace

class TestObjects : public QObject, BackendTest
{
    Q_OBJECT

    Recorder recorder;

    bool setUp()
    {
        recorder = Recorder();
        return SetUp(&recorder);
    }
    void refresh(KORVOObjectCollection &c)
    {
        bool cancel = false;
        c.RefreshList(cancel);
        QVERIFY(!cancel);
    }

private Q_SLOTS:
    void cleanup() { TearDown(); }

    // Both sides merged; a cancel after the first SQL row, a refresh of SQL
    // only, and a refresh after an object left the server.
    void mergesBothSides_data() { AddKindRows(); }
    void mergesBothSides()
    {
        QVERIFY(setUp());
        b->Versioned("usp_b");
        b->Create(ObjectClass::StoredProcedure, "usp_a");
        // A file whose id SQL does not know and whose text names nothing there.
        b->AddFile("900001.sp", b->Text(ObjectClass::StoredProcedure, "usp_gone"));
        // A file without any CREATE text: its name stands in.
        b->AddFile("900002.sp", "-- nothing here");
        refresh(*procs);
        QCOMPARE(states(*procs), QStringList({ "usp_a:SQL", "usp_b:SQL+VSS", "usp_gone:VSS", "900002:VSS" }));
        QCOMPARE(procs->Object("900001")->Owner(), QStringLiteral("dbo"));
        QCOMPARE(procs->Object("900002")->Owner(), QString());
        QCOMPARE(recorder.events.last(), QStringLiteral("C"));

        // Total: two steps per SQL row and one per file. The first object has
        // its SQL row but not yet its file; the others keep the cleared flags,
        // and nothing was removed.
        recorder.events.clear();
        recorder.cancelAt = 2;
        bool cancel = false;
        procs->RefreshList(cancel);
        QVERIFY(cancel);
        QCOMPARE(recorder.events, QStringList({ "R0/7", "R2/7" }));
        QCOMPARE(states(*procs), QStringList({ "usp_a:SQL", "usp_b:", "usp_gone:", "900002:" }));

        recorder.events.clear();
        recorder.cancelAt = -1;
        procs->SetCheckSQLOnly(true);
        refresh(*procs);
        QCOMPARE(states(*procs), QStringList({ "usp_a:SQL", "usp_b:SQL" }));
        QCOMPARE(recorder.events, QStringList({ "R0/4", "R2/4", "R4/4", "C" }));

        procs->SetCheckSQLOnly(false);
        b->Drop(ObjectClass::StoredProcedure, "usp_a");
        refresh(*procs);
        QCOMPARE(states(*procs), QStringList({ "usp_b:SQL+VSS", "usp_gone:VSS", "900002:VSS" }));
    }

    // Files of the old form "owner.name.ext" go to the object's id with their
    // description (a view's as ".sp.desc", like any type's); a file naming no
    // object stays and shows nothing. A rename that fails shows its box, and
    // the refresh goes on with the file under its old name, which shows nothing.
    void oldFormFilesAreRenamed_data() { AddKindRows({ "renamed", "rename fails" }); }
    void oldFormFilesAreRenamed()
    {
        QVERIFY(setUp());
        QFETCH(QString, row);
        const QString x = b->Create(ObjectClass::StoredProcedure, "usp_x");
        const QString y = b->Create(ObjectClass::StoredProcedure, "usp_y");
        const QString v = b->Create(ObjectClass::View, "vw_a");
        b->AddFile("dbo.usp_x.sp", b->Text(ObjectClass::StoredProcedure, "usp_x"));
        b->AddFile("dbo.usp_x.sp.desc", "the x");
        // Without an owner the file means dbo's object.
        b->AddFile("usp_y.sp", b->Text(ObjectClass::StoredProcedure, "usp_y"));
        b->AddFile("nonsense.sp", "CREATE PROCEDURE nothing AS SELECT 1");
        b->AddFile("dbo.vw_a.vw", b->Text(ObjectClass::View, "vw_a"));
        b->AddFile("dbo.vw_a.vw.desc", "v");
        auto views = b->Collection(ObjectClass::View);
        if (row == "rename fails") {
            b->RefuseCommits(true);
            for (int i = 0; i < 3; ++i)
                b->ExpectBox();
            refresh(*procs);
            refresh(*views);
            b->RefuseCommits(false);
            QCOMPARE(states(*procs), QStringList({ "usp_x:SQL", "usp_y:SQL" }));
            QCOMPARE(states(*views), QStringList { "vw_a:SQL" });
            QCOMPARE(b->ui.boxes.size(), 3);
            b->ExpectLastBox(UiServices::Icon::Critical, "Could not Rename Item", "~dbo.vw_a.vw");
            QCOMPARE(b->Files(),
                Sorted({ "dbo.usp_x.sp", "dbo.usp_x.sp.desc", "usp_y.sp", "nonsense.sp", "dbo.vw_a.vw",
                    "dbo.vw_a.vw.desc" }));
            return;
        }
        refresh(*procs);
        refresh(*views);
        QCOMPARE(states(*procs), QStringList({ "usp_x:SQL+VSS", "usp_y:SQL+VSS" }));
        QCOMPARE(states(*views), QStringList { "vw_a:SQL+VSS" });
        QCOMPARE(
            b->Files(), Sorted({ x + ".sp", x + ".sp.desc", y + ".sp", "nonsense.sp", v + ".vw", v + ".sp.desc" }));
        QCOMPARE(procs->Object(x)->Description(), QStringLiteral("the x"));
    }

    void treeItems_data() { AddKindRows(); }
    void treeItems()
    {
        QVERIFY(setUp());
        const QString a = b->Versioned("usp_a"), c = b->Create(ObjectClass::StoredProcedure, "usp_c");
        b->AddFile(a + ".sp.desc", "About a");
        QVERIFY(b->vss->CheckOut(a + ".sp", true));
        KORVODBTItemsPtr items = procs->GetItemInfo(true);
        QVERIFY(items);
        QCOMPARE(Nodes(*items),
            QStringList({ "I" + a + "|dbo.usp_a (Checked out by alice)|StoredProcedure|STOREDPROCEDURE:CHECKEDOUT",
                "I" + c + "|dbo.usp_c|StoredProcedure|STOREDPROCEDURE:VSSBROKEN" }));
        QCOMPARE(items->Item(0)->ToolTipText(), QStringLiteral("About a"));
        QCOMPARE(items->Item(1)->ToolTipText(), QStringLiteral("dbo.usp_c"));
        QCOMPARE(Nodes(items->Item(0)->Children()), QStringList { "I" + a + "_tmp||temp|" });
        QCOMPARE(recorder.events.mid(recorder.events.indexOf("A0/2")), QStringList({ "A0/2", "A1/2", "A2/2", "C" }));
        QCOMPARE(procs->GetItemInfo(false)->Item("I" + c)->Text, QStringLiteral("usp_c"));
        recorder.cancelAt = 0;
        QVERIFY(!procs->GetItemInfo(false));
    }

    // Both key forms. A new object stays out of the main list until it has its
    // id, and then goes in before the first object of a greater name: first,
    // after its namesake, or last. ChangeKey moves an object to its present id,
    // at a position or last.
    void keysAndNewItems_data() { AddKindRows(); }
    void keysAndNewItems()
    {
        QVERIFY(setUp());
        const QString a = b->Versioned("usp_a"), m = b->Versioned("usp_m");
        refresh(*procs);
        QCOMPARE(procs->Object(a), procs->Object("I" + a));
        QVERIFY(procs->ObjectIsOfThisType("I" + m));
        QVERIFY(!procs->ObjectIsOfThisType("I123"));
        QVERIFY_THROWS_EXCEPTION(std::out_of_range, procs->Object("I123", false, false));

        KORVOTypedObjectPtr fresh;
        for (const char *name : { "usp_m", "usp_0", "usp_z" }) {
            const int count = procs->Count();
            fresh = procs->NewObject();
            QVERIFY(fresh->IsNew() && procs->Count() == count);
            fresh->Generic().Name = name;
            fresh->Generic().DBID = QString::number(775 + count); // 777, 778, 779
            fresh->NewItemCreated_Event();
        }
        QCOMPARE(states(*procs), QStringList({ "usp_0:", "usp_a:SQL+VSS", "usp_m:SQL+VSS", "usp_m:", "usp_z:" }));
        QCOMPARE(procs->Object("I779"), fresh);
        QVERIFY(procs->NewItems().isEmpty());

        fresh->Generic().DBID = "780";
        procs->ChangeKey("I779", 1);
        QCOMPARE(procs->At(0), fresh);
        QVERIFY(!procs->Object("779"));
        QCOMPARE(procs->Object("I780"), fresh);
        fresh->Generic().DBID = "781";
        procs->ChangeKey("780", 9);
        QCOMPARE(procs->At(4), fresh);
        procs->RemoveItem("I781");
        procs->RemoveItem(a);
        QCOMPARE(states(*procs), QStringList({ "usp_0:", "usp_m:SQL+VSS", "usp_m:" }));
    }

    // Triggers know their table, fire on events shown as children, and a
    // deleted one's caption names its table.
    void triggers_data() { AddKindRows(); }
    void triggers()
    {
        QVERIFY(setUp());
        const QString t1 = b->CreateTable("dbo", "t1");
        b->CreateTable("dbo", "t2");
        const QString x = b->Create(ObjectClass::Trigger, "trg_x", 1, "t1");
        const QString y = b->Create(ObjectClass::Trigger, "trg_y", 1, "t2");
        b->AddFile(y + ".trg", b->ServerText(y));
        auto triggers = b->Collection(ObjectClass::Trigger);
        refresh(*triggers);
        QCOMPARE(states(*triggers), QStringList({ "trg_x:SQL", "trg_y:SQL+VSS" }));
        auto trigger = std::dynamic_pointer_cast<KORVOTrigger>(triggers->Object(x));
        QCOMPARE(trigger->ParentTableDBID, t1);
        QCOMPARE(trigger->GetFields(true)->Count(), 0);
        QCOMPARE(Nodes(*trigger->GetItemInfo(false)),
            QStringList({ "INSERT" + x + "|INSERT||TRIGGER:INSERT", "UPDATE" + x + "|UPDATE||TRIGGER:UPDATE" }));

        QVERIFY(b->vss->RemoveItem(y + ".trg", true));
        KORVODBTItemsPtr deleted = triggers->GetDeletedItems(false);
        QCOMPARE(deleted->Count(), 1);
        QCOMPARE(deleted->FirstChild()->Text, "trg_y on " + b->StatementName("dbo", "t2"));
    }

    // The menus of the other states are the main window's popup test
    // (test_mdimain); another user's check-out is seen only here.
    void iconsAndMenusByState_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("state");
        QTest::addColumn<QString>("icon");
        const QList<QStringList> rows { { "checked in", "CHECKEDIN" }, { "checked out by me", "CHECKEDOUT" },
            { "checked out by another", "CHECKEDINOUT" }, { "only in SQL", "VSSBROKEN" },
            { "only in VSS", "SQLBROKEN" } };
        for (const char *kind : { "PostgreSQL", "SQLServer" }) {
            for (const QStringList &r : rows)
                QTest::addRow("%s %s", kind, qPrintable(r[0])) << kind << r[0] << r[1];
        }
    }
    void iconsAndMenusByState()
    {
        QVERIFY(setUp());
        QFETCH(QString, state);
        QFETCH(QString, icon);
        QString id = QStringLiteral("900001");
        if (state == "only in SQL")
            id = b->Create(ObjectClass::StoredProcedure, "usp_x");
        else if (state == "only in VSS")
            b->AddFile(id + ".sp", b->Text(ObjectClass::StoredProcedure, "usp_x"));
        else
            id = b->Versioned("usp_x");
        // The list shows only our own check-outs; another user's shows after the
        // object's own refresh.
        if (state == "checked out by me")
            QVERIFY(b->vss->CheckOut(id + ".sp", true));
        KORVOTypedObjectPtr o = Refreshed(id);
        QVERIFY(o);
        if (state == "checked out by another")
            o->Generic().CheckedOutBy = QStringLiteral("bob");
        QCOMPARE(o->IconToUse(false), "STOREDPROCEDURE:" + icon);
        QCOMPARE(o->IconToUse(true), QStringLiteral("STOREDPROCEDURE"));
        const KORVOContextMenu menu = o->GetContextMenu(false);
        QCOMPARE(menu.DisplayName, QStringLiteral("usp_x"));
        if (state == "checked out by another")
            QVERIFY(menu.Edit && menu.GetLatestVersion && !menu.CheckOut && !menu.CheckIn && !menu.UndoCheckout);
        QCOMPARE(o->RemovalRequest(), state.startsWith("only"));
    }

    void differenceIgnoresOnlyMargins_data() { AddKindRows(); }
    void differenceIgnoresOnlyMargins()
    {
        QVERIFY(setUp());
        const QString id = b->Create(ObjectClass::StoredProcedure, "usp_x");
        const QString text = b->ServerText(id).trimmed(), item = id + ".sp";
        b->AddFile(item, "\r\n\t " + text + "\r\n\r\n");
        KORVOTypedObjectPtr o = Refreshed(id);
        QVERIFY(!o->SQLAndVSSDiffer());
        // Case counts, and so does white space inside the text.
        for (const QString &changed : { QString(text).replace("CREATE", "create"), QString(text).replace(" ", "  ") }) {
            QVERIFY(b->vss->ChangeItemContent(item, changed, QString(), true));
            QVERIFY(o->SQLAndVSSDiffer());
        }
        // The latest checked-in text counts, not the user's working copy.
        QVERIFY(b->vss->ChangeItemContent(item, text, QString(), true));
        QVERIFY(b->vss->CheckOut(item, true));
        QFile working(b->vss->GetItemFileName(item));
        QVERIFY(working.open(QIODevice::WriteOnly | QIODevice::Truncate));
        working.write("changed");
        working.close();
        QVERIFY(!o->SQLAndVSSDiffer());
    }

    // Owner, fields with their details, permissions and the out-of-sync or
    // check-out hint; the drop script removes the object.
    void nodesUnderObject_data() { AddKindRows(); }
    void nodesUnderObject()
    {
        QVERIFY(setUp());
        const QString id = b->Create(ObjectClass::StoredProcedure, "usp_x");
        const QString checkedOut = b->Versioned("usp_y");
        QVERIFY(b->vss->CheckOut(checkedOut + ".sp", true));
        b->AddFile("900001.sp", b->Text(ObjectClass::StoredProcedure, "usp_gone"));
        KORVOTypedObjectPtr o = Refreshed(id);

        const QString f = "F" + id + "_field_";
        KORVODBTItemsPtr nodes = o->GetItemInfo(true, false, true);
        QCOMPARE(Nodes(*nodes),
            QStringList({ "OWNER" + id + "|dbo||OWNER", f + "1|" + b->Pick("p_a", "@a") + "||FIELD",
                f + "2|" + b->Pick("p_b", "@b") + "||FIELD", "P" + id + "|Permission|Permission|PERMISSIONS",
                "NOTINVSS" + id + "|Item out of sync (not in VSS)||STOREDPROCEDURE:VSSBROKEN" }));
        QCOMPARE(Nodes(nodes->Item(f + "1")->Children()),
            QStringList({ f + "1_1|" + b->Pick("integer", "int") + "||FIELDDATA", f + "1_2|Nullable||FIELDDATA" }));
        QCOMPARE(Nodes(nodes->Item("P" + id)->Children()), QStringList { "P" + id + "_temp||temp|" });

        QCOMPARE(Nodes(*procs->Object("900001")->GetItemInfo(true)),
            QStringList({ "OWNER900001|dbo||OWNER",
                "NOTINSQL900001|Item out of sync (not in SQL)||STOREDPROCEDURE:SQLBROKEN" }));
        nodes = procs->Object(checkedOut)->GetItemInfo(false);
        QVERIFY(!nodes->Item("OWNER" + checkedOut));
        QCOMPARE(
            Node(nodes->Item(nodes->Count() - 1)), "CHECKEDOUT" + checkedOut + "|Checked out by alice||CHECKEDOUTBY");

        b->sql->ExecuteSQL(o->DropScript());
        QVERIFY(!b->Exists("usp_x"));
    }

    void objectFiles_data() { AddKindRows(); }
    void objectFiles()
    {
        QVERIFY(setUp());
        KORVOTypedObjectPtr fresh = procs->NewObject();
        const QString temporary = fresh->FileName();
        QVERIFY(QFile::exists(temporary));
        QCOMPARE(QFileInfo(temporary).absolutePath(), QFileInfo(b->vss->GetItemFileName("x")).absolutePath());
        QCOMPARE(fresh->FileName(), temporary);

        // A path given while new replaces the temporary file, which goes; the
        // path given is not deleted with the object.
        const QString mine = b->repo->Folder("mine") + "own.sql";
        QFile own(mine);
        QVERIFY(own.open(QIODevice::WriteOnly));
        own.close();
        fresh->SetFileName(mine);
        QVERIFY(!QFile::exists(temporary));
        QCOMPARE(fresh->FileName(), mine);
        fresh.reset();
        procs = b->Collection(ObjectClass::StoredProcedure); // the old one held the new object
        QVERIFY(QFile::exists(mine));

        // An object in source control has its working file fetched on demand.
        const QString id = b->Versioned("usp_x");
        KORVOTypedObjectPtr o = Refreshed(id);
        const QString working = b->vss->GetItemFileName(id + ".sp");
        QFile::remove(working);
        QCOMPARE(o->FileName(), working);
        QVERIFY(QFile::exists(working));
    }
};

QTEST_GUILESS_MAIN(TestObjects)
#include "test_objects.moc"
