// The typed collections on both server kinds with a real Subversion project:
// the merge of the SQL list with the file list, the renames it makes, keys,
// the tree items, deleted items and the status events.
#include "KORVOTables.h"
#include "test_backend.h"

#include <QTest>

namespace
{

// Records the collection's events and cancels at a chosen retrieve position.
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

// "name:SQL+VSS" per object, in list order.
QStringList states(const KORVOVersionedObjects &objects)
{
    QStringList out;
    for (const auto &o : objects) {
        const QStringList sides
            = QStringList { o->InSQL() ? "SQL" : "", o->InVSS() ? "VSS" : "" }.filter(QRegularExpression("."));
        out.append(o->Name() + QLatin1Char(':') + sides.join(QLatin1Char('+')));
    }
    return out;
}

} // namespace

class TestCollections : public QObject
{
    Q_OBJECT

    std::unique_ptr<Backend> b;
    std::shared_ptr<KORVOVersionedObjects> procs;
    Recorder recorder;

    bool setUp()
    {
        b = OpenBackend();
        if (b)
            procs = collection(ObjectClass::StoredProcedure);
        recorder = Recorder();
        return bool(b);
    }
    std::shared_ptr<KORVOVersionedObjects> collection(ObjectClass cls) { return b->Collection(cls, &recorder); }
    void refresh(KORVOObjectCollection &c)
    {
        bool cancel = false;
        c.RefreshList(cancel);
        QVERIFY(!cancel);
    }

private Q_SLOTS:
    void cleanup()
    {
        procs.reset();
        b.reset();
    }

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
        QStringList icons;
        for (const auto &o : *procs)
            icons.append(o->IconToUse());
        QCOMPARE(icons.mid(0, 3),
            QStringList({ "STOREDPROCEDURE:VSSBROKEN", "STOREDPROCEDURE:CHECKEDIN", "STOREDPROCEDURE:SQLBROKEN" }));
        QCOMPARE(recorder.events.last(), QStringLiteral("C"));

        // The next refresh drops what left the server and keeps the others in place.
        b->Drop(ObjectClass::StoredProcedure, "usp_a");
        refresh(*procs);
        QCOMPARE(states(*procs), QStringList({ "usp_b:SQL+VSS", "usp_gone:VSS", "900002:VSS" }));
    }

    // An object dropped and recreated under its name keeps its file under the new id.
    void recreatedObjectKeepsItsFile_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<bool>("refreshedBefore");
        for (const char *kind : { "PostgreSQL", "SQLServer" }) {
            QTest::addRow("%s fresh list", kind) << kind << false;
            QTest::addRow("%s list refreshed before", kind) << kind << true;
        }
    }
    void recreatedObjectKeepsItsFile()
    {
        QVERIFY(setUp());
        QFETCH(bool, refreshedBefore);
        const QString oldId = b->Versioned("usp_x");
        b->AddFile(oldId + ".sp.desc", "kept");
        if (refreshedBefore)
            refresh(*procs);
        b->Drop(ObjectClass::StoredProcedure, "usp_x");
        const QString newId = b->Create(ObjectClass::StoredProcedure, "usp_x");
        QVERIFY(newId != oldId);
        refresh(*procs);
        QCOMPARE(states(*procs), QStringList { "usp_x:SQL+VSS" });
        QCOMPARE(procs->At(0)->DBID(), newId);
        QVERIFY(!procs->Object(oldId));
        // Only the file moves; its description stays under the old name.
        QCOMPARE(b->Files(), Sorted({ newId + ".sp", oldId + ".sp.desc" }));
        QVERIFY(b->ui.boxes.isEmpty());
    }

    // Files of the old form "owner.name.ext" go to the object's id with their
    // description (a view's as ".sp.desc", like any type's); a file naming no
    // object stays and shows nothing.
    void oldFormFilesAreRenamed_data() { AddKindRows(); }
    void oldFormFilesAreRenamed()
    {
        QVERIFY(setUp());
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
        refresh(*procs);
        auto views = collection(ObjectClass::View);
        refresh(*views);
        QCOMPARE(states(*procs), QStringList({ "usp_x:SQL+VSS", "usp_y:SQL+VSS" }));
        QCOMPARE(states(*views), QStringList { "vw_a:SQL+VSS" });
        QCOMPARE(
            b->Files(), Sorted({ x + ".sp", x + ".sp.desc", y + ".sp", "nonsense.sp", v + ".vw", v + ".sp.desc" }));
        QCOMPARE(procs->Object(x)->Description(), QStringLiteral("the x"));
    }

    void checkSQLOnlyIgnoresFiles_data() { AddKindRows(); }
    void checkSQLOnlyIgnoresFiles()
    {
        QVERIFY(setUp());
        b->Versioned("usp_a");
        b->AddFile("900001.sp", b->Text(ObjectClass::StoredProcedure, "usp_gone"));
        procs->SetCheckSQLOnly(true);
        refresh(*procs);
        QCOMPARE(states(*procs), QStringList { "usp_a:SQL" });
        QCOMPARE(recorder.events, QStringList({ "R0/2", "R2/2", "C" }));
    }

    void cancelDuringSqlRows_data() { AddKindRows(); }
    void cancelDuringSqlRows()
    {
        QVERIFY(setUp());
        b->Versioned("usp_a");
        b->Versioned("usp_b");
        b->AddFile("900001.sp", b->Text(ObjectClass::StoredProcedure, "usp_gone"));
        refresh(*procs);
        QCOMPARE(procs->Count(), 3);
        recorder.events.clear();
        recorder.cancelAt = 2; // after the first SQL row
        bool cancel = false;
        procs->RefreshList(cancel);
        QVERIFY(cancel);
        // Total: two steps per SQL row and one per file.
        QCOMPARE(recorder.events, QStringList({ "R0/7", "R2/7" }));
        // The first object has its SQL row but not yet its file; the others
        // keep the cleared flags, and nothing was removed.
        QCOMPARE(states(*procs), QStringList({ "usp_a:SQL", "usp_b:", "usp_gone:" }));
    }

    void treeItems_data() { AddKindRows(); }
    void treeItems()
    {
        QVERIFY(setUp());
        const QString a = b->Versioned("usp_a");
        const QString c = b->Create(ObjectClass::StoredProcedure, "usp_c");
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

        // A new object stays out of the main list until it has its id, and then
        // goes in by name.
        KORVOTypedObjectPtr fresh = procs->NewObject();
        QVERIFY(fresh->IsNew());
        QCOMPARE(fresh->IconToUse(), QStringLiteral("STOREDPROCEDURE:NEW"));
        QCOMPARE(procs->Count(), 2);
        fresh->Generic().Name = "usp_f";
        fresh->Generic().DBID = "777";
        fresh->NewItemCreated_Event();
        QCOMPARE(procs->At(1), fresh);
        QVERIFY(procs->NewItems().isEmpty());

        // ChangeKey moves an object to its present id, at a position or last.
        fresh->Generic().DBID = "778";
        procs->ChangeKey("I777", 1);
        QCOMPARE(procs->At(0), fresh);
        QVERIFY(!procs->Object("777"));
        QCOMPARE(procs->Object("I778"), fresh);
        fresh->Generic().DBID = "779";
        procs->ChangeKey("778", 9);
        QCOMPARE(procs->At(2), fresh);
        procs->RemoveItem("I779");
        procs->RemoveItem(a);
        QCOMPARE(states(*procs), QStringList { "usp_m:SQL+VSS" });
    }

    void deletedItems_data() { AddKindRows(); }
    void deletedItems()
    {
        QVERIFY(setUp());
        const QString a = b->Versioned("usp_a");
        QVERIFY(b->vss->RemoveItem(a + ".sp", true));
        b->Drop(ObjectClass::StoredProcedure, "usp_a");
        KORVODBTItemsPtr items = procs->GetDeletedItems(true);
        QVERIFY(items);
        QCOMPARE(Nodes(*items), QStringList { "I" + a + "|dbo.usp_a|StoredProcedure|STOREDPROCEDURE:SQLBROKEN" });
        QVERIFY(procs->Object("I" + a, true));
        QVERIFY(!procs->Object(a));
        QCOMPARE(recorder.events, QStringList({ "R0/1", "R1/1", "C" }));
    }

    // Triggers know their table, fire on events shown as children, list under
    // their table only, and a deleted one's caption names its table.
    void triggers_data() { AddKindRows(); }
    void triggers()
    {
        QVERIFY(setUp());
        const QString t1 = b->CreateTable("dbo", "t1"), t2 = b->CreateTable("dbo", "t2");
        const QString x = b->Create(ObjectClass::Trigger, "trg_x", 1, "t1");
        const QString y = b->Create(ObjectClass::Trigger, "trg_y", 1, "t2");
        b->AddFile(y + ".trg", b->ServerText(y));
        auto triggers = collection(ObjectClass::Trigger);
        QVERIFY(!triggers->IsRootNode());
        refresh(*triggers);
        QCOMPARE(states(*triggers), QStringList({ "trg_x:SQL", "trg_y:SQL+VSS" }));
        auto trigger = std::dynamic_pointer_cast<KORVOTrigger>(triggers->Object(x));
        QCOMPARE(trigger->ParentTableDBID, t1);
        QCOMPARE(trigger->GetFields(true)->Count(), 0);
        QCOMPARE(Nodes(*trigger->GetItemInfo(false)),
            QStringList({ "INSERT" + x + "|INSERT||TRIGGER:INSERT", "UPDATE" + x + "|UPDATE||TRIGGER:UPDATE" }));

        KORVOTables tables;
        tables.SetActiveDBConnection(b->sql);
        refresh(tables);
        QCOMPARE(Keys(*triggers->GetItemInfo(false, tables.Table(t2))), QStringList { "I" + y });
        QCOMPARE(triggers->GetItemInfo(false)->Count(), 2);

        QVERIFY(b->vss->RemoveItem(y + ".trg", true));
        KORVODBTItemsPtr deleted = triggers->GetDeletedItems(false);
        QCOMPARE(deleted->Count(), 1);
        QCOMPARE(deleted->FirstChild()->Text, "trg_y on " + b->StatementName("dbo", "t2"));
    }
};

QTEST_GUILESS_MAIN(TestCollections)
#include "test_collections.moc"
