// The typed collections on both server kinds with a real Subversion project:
// the merge of the SQL list with the file list, the renames it makes, keys,
// the tree items, deleted items and the status events.
#include "KORVOFields.h"
#include "KORVOVSSItems.h"
#include "KORVOVersionedObjects.h"
#include "test_objects_backend.h"

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
        if (position == cancelAt)
            cancel = true;
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
        QString sides;
        if (o->InSQL())
            sides += QStringLiteral("SQL");
        if (o->InVSS())
            sides += sides.isEmpty() ? QStringLiteral("VSS") : QStringLiteral("+VSS");
        out.append(o->Name() + QLatin1Char(':') + sides);
    }
    return out;
}

} // namespace

class TestCollections : public QObject
{
    Q_OBJECT

    std::unique_ptr<ObjectsBackend> b;
    std::shared_ptr<KORVOStoredProcedures> procs;
    Recorder recorder;

    bool setUp()
    {
        QFETCH(QString, kind);
        QString why;
        b = ObjectsBackend::Make(kind, why);
        if (!b) {
            qWarning("%s", qPrintable(why));
            return false;
        }
        procs = Collection<KORVOStoredProcedures>();
        recorder.events.clear();
        recorder.cancelAt = -1;
        return true;
    }

    template <class T> std::shared_ptr<T> Collection()
    {
        auto c = std::make_shared<T>();
        c->SetActiveDBConnection(b->sql);
        c->SetActiveVSSConnection(b->vss);
        c->SetIcons(std::make_shared<KORVOIcons>());
        c->SetStatusSink(&recorder);
        return c;
    }

    void refresh(KORVOObjectCollection &c)
    {
        bool cancel = false;
        c.RefreshList(cancel);
        QVERIFY(!cancel);
    }

    // Creates a procedure and puts its server text in source control under its id.
    QString versioned(const QString &name)
    {
        const QString id = b->Create(b->ProcedureText(name), name);
        b->AddFile(id + QStringLiteral(".sp"), b->sql->GetObjectText(id));
        return id;
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
        versioned(QStringLiteral("usp_b"));
        b->Create(b->ProcedureText(QStringLiteral("usp_a")), QStringLiteral("usp_a"));
        // A file whose id SQL does not know and whose text names nothing there.
        b->AddFile(QStringLiteral("900001.sp"), b->ProcedureText(QStringLiteral("usp_gone")));
        // A file without any CREATE text: its name stands in.
        b->AddFile(QStringLiteral("900002.sp"), QStringLiteral("-- nothing here"));

        refresh(*procs);
        QCOMPARE(states(*procs),
            QStringList({ QStringLiteral("usp_a:SQL"), QStringLiteral("usp_b:SQL+VSS"), QStringLiteral("usp_gone:VSS"),
                QStringLiteral("900002:VSS") }));
        const auto gone = procs->Object(QStringLiteral("900001"));
        QVERIFY(gone);
        QCOMPARE(gone->Owner(), QStringLiteral("dbo"));
        QCOMPARE(procs->Object(QStringLiteral("900002"))->Owner(), QString());
        QCOMPARE(gone->IconToUse(), QStringLiteral("STOREDPROCEDURE:SQLBROKEN"));
        QCOMPARE(procs->At(0)->IconToUse(), QStringLiteral("STOREDPROCEDURE:VSSBROKEN"));
        QCOMPARE(procs->At(1)->IconToUse(), QStringLiteral("STOREDPROCEDURE:CHECKEDIN"));
        QCOMPARE(recorder.events.last(), QStringLiteral("C"));

        // A second refresh after the SQL-only object was dropped removes it and
        // keeps the others in place.
        b->Drop(ObjectClass::StoredProcedure, QStringLiteral("usp_a"));
        refresh(*procs);
        QCOMPARE(states(*procs),
            QStringList(
                { QStringLiteral("usp_b:SQL+VSS"), QStringLiteral("usp_gone:VSS"), QStringLiteral("900002:VSS") }));
    }

    void recreatedObjectKeepsItsFile_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<bool>("refreshedBefore");
        for (const QString &kind : { QStringLiteral("PostgreSQL"), QStringLiteral("SQLServer") }) {
            QTest::addRow("%s fresh list", qPrintable(kind)) << kind << false;
            QTest::addRow("%s list refreshed before", qPrintable(kind)) << kind << true;
        }
    }
    void recreatedObjectKeepsItsFile()
    {
        QVERIFY(setUp());
        QFETCH(bool, refreshedBefore);
        const QString oldId = versioned(QStringLiteral("usp_x"));
        b->AddFile(oldId + QStringLiteral(".sp.desc"), QStringLiteral("kept"));
        if (refreshedBefore)
            refresh(*procs);
        b->Drop(ObjectClass::StoredProcedure, QStringLiteral("usp_x"));
        const QString newId = b->Create(b->ProcedureText(QStringLiteral("usp_x")), QStringLiteral("usp_x"));
        QVERIFY(newId != oldId);

        refresh(*procs);
        QCOMPARE(states(*procs), QStringList { QStringLiteral("usp_x:SQL+VSS") });
        QCOMPARE(procs->At(0)->DBID(), newId);
        QVERIFY(!procs->Object(oldId));
        // Only the file moves; its description stays under the old name.
        QStringList files = b->Files();
        files.sort();
        QStringList expected { newId + QStringLiteral(".sp"), oldId + QStringLiteral(".sp.desc") };
        expected.sort();
        QCOMPARE(files, expected);
        QVERIFY(b->ui.boxes.isEmpty());
    }

    void oldFormFilesAreRenamed_data() { AddKindRows(); }
    void oldFormFilesAreRenamed()
    {
        QVERIFY(setUp());
        const QString x = b->Create(b->ProcedureText(QStringLiteral("usp_x")), QStringLiteral("usp_x"));
        const QString y = b->Create(b->ProcedureText(QStringLiteral("usp_y")), QStringLiteral("usp_y"));
        b->AddFile(QStringLiteral("dbo.usp_x.sp"), b->ProcedureText(QStringLiteral("usp_x")));
        b->AddFile(QStringLiteral("dbo.usp_x.sp.desc"), QStringLiteral("the x"));
        // Without an owner the file means dbo's object.
        b->AddFile(QStringLiteral("usp_y.sp"), b->ProcedureText(QStringLiteral("usp_y")));
        b->AddFile(QStringLiteral("nonsense.sp"), QStringLiteral("CREATE PROCEDURE nothing AS SELECT 1"));

        refresh(*procs);
        QCOMPARE(states(*procs), QStringList({ QStringLiteral("usp_x:SQL+VSS"), QStringLiteral("usp_y:SQL+VSS") }));
        QStringList expected { x + QStringLiteral(".sp"), x + QStringLiteral(".sp.desc"), y + QStringLiteral(".sp"),
            QStringLiteral("nonsense.sp") };
        QStringList files = b->Files();
        expected.sort();
        files.sort();
        QCOMPARE(files, expected);
        QCOMPARE(procs->Object(x)->Description(), QStringLiteral("the x"));
    }

    void checkSQLOnlyIgnoresFiles_data() { AddKindRows(); }
    void checkSQLOnlyIgnoresFiles()
    {
        QVERIFY(setUp());
        versioned(QStringLiteral("usp_a"));
        b->AddFile(QStringLiteral("900001.sp"), b->ProcedureText(QStringLiteral("usp_gone")));
        procs->SetCheckSQLOnly(true);
        refresh(*procs);
        QCOMPARE(states(*procs), QStringList { QStringLiteral("usp_a:SQL") });
        QCOMPARE(recorder.events, QStringList({ QStringLiteral("R0/2"), QStringLiteral("R2/2"), QStringLiteral("C") }));
    }

    void cancelDuringSqlRows_data() { AddKindRows(); }
    void cancelDuringSqlRows()
    {
        QVERIFY(setUp());
        versioned(QStringLiteral("usp_a"));
        versioned(QStringLiteral("usp_b"));
        b->AddFile(QStringLiteral("900001.sp"), b->ProcedureText(QStringLiteral("usp_gone")));
        refresh(*procs);
        QCOMPARE(procs->Count(), 3);
        recorder.events.clear();
        recorder.cancelAt = 2; // after the first SQL row

        bool cancel = false;
        procs->RefreshList(cancel);
        QVERIFY(cancel);
        // Total: two steps per SQL row and one per file.
        QCOMPARE(recorder.events, QStringList({ QStringLiteral("R0/7"), QStringLiteral("R2/7") }));
        // The first object has its SQL row but not yet its file; the others
        // keep the cleared flags, and nothing was removed.
        QCOMPARE(states(*procs),
            QStringList({ QStringLiteral("usp_a:SQL"), QStringLiteral("usp_b:"), QStringLiteral("usp_gone:") }));
    }

    void treeItems_data() { AddKindRows(); }
    void treeItems()
    {
        QVERIFY(setUp());
        const QString a = versioned(QStringLiteral("usp_a"));
        const QString c = b->Create(b->ProcedureText(QStringLiteral("usp_c")), QStringLiteral("usp_c"));
        b->AddFile(a + QStringLiteral(".sp.desc"), QStringLiteral("About a"));
        QVERIFY(b->vss->CheckOut(a + QStringLiteral(".sp"), true));

        KORVODBTItemsPtr items = procs->GetItemInfo(true);
        QVERIFY(items);
        QCOMPARE(items->Count(), 2);
        KORVODBTItemPtr first = items->Item(QStringLiteral("I") + a);
        QVERIFY(first);
        QCOMPARE(first->Text, QStringLiteral("dbo.usp_a (Checked out by alice)"));
        QCOMPARE(first->ImageName, QStringLiteral("STOREDPROCEDURE:CHECKEDOUT"));
        QCOMPARE(first->Tag, QStringLiteral("StoredProcedure"));
        QCOMPARE(first->ToolTipText(), QStringLiteral("About a"));
        QCOMPARE(first->Children().Count(), 1);
        QCOMPARE(first->Children().FirstChild()->Key, QStringLiteral("I") + a + QStringLiteral("_tmp"));
        QCOMPARE(first->Children().FirstChild()->Tag, QStringLiteral("temp"));
        KORVODBTItemPtr second = items->Item(QStringLiteral("I") + c);
        QCOMPARE(second->Text, QStringLiteral("dbo.usp_c"));
        QCOMPARE(second->ToolTipText(), QStringLiteral("dbo.usp_c"));
        QCOMPARE(recorder.events.mid(recorder.events.indexOf(QStringLiteral("A0/2"))),
            QStringList(
                { QStringLiteral("A0/2"), QStringLiteral("A1/2"), QStringLiteral("A2/2"), QStringLiteral("C") }));

        items = procs->GetItemInfo(false);
        QCOMPARE(items->Item(QStringLiteral("I") + c)->Text, QStringLiteral("usp_c"));

        recorder.cancelAt = 0;
        QVERIFY(!procs->GetItemInfo(false));
    }

    void keysAndNewItems_data() { AddKindRows(); }
    void keysAndNewItems()
    {
        QVERIFY(setUp());
        const QString a = versioned(QStringLiteral("usp_a"));
        const QString m = versioned(QStringLiteral("usp_m"));
        refresh(*procs);
        QCOMPARE(procs->Object(a), procs->Object(QStringLiteral("I") + a));
        QVERIFY(procs->ObjectIsOfThisType(QStringLiteral("I") + m));
        QVERIFY(procs->IsStoredProcedure(m));
        QVERIFY(!procs->IsStoredProcedure(QStringLiteral("I123")));
        QVERIFY_THROWS_EXCEPTION(std::out_of_range, procs->Object(QStringLiteral("I123"), false, false));

        // A new object stays out of the main list until it has its id, and then
        // goes in by name.
        KORVOTypedObjectPtr fresh = procs->NewObject();
        QVERIFY(fresh->IsNew());
        QCOMPARE(fresh->IconToUse(), QStringLiteral("STOREDPROCEDURE:NEW"));
        QCOMPARE(procs->Count(), 2);
        fresh->Generic().Name = QStringLiteral("usp_f");
        fresh->Generic().DBID = QStringLiteral("777");
        fresh->NewItemCreated_Event();
        QCOMPARE(procs->Count(), 3);
        QCOMPARE(procs->At(1), fresh);
        QVERIFY(procs->NewItems().isEmpty());

        // ChangeKey moves an object to its present id, at a position or last.
        fresh->Generic().DBID = QStringLiteral("778");
        procs->ChangeKey(QStringLiteral("I777"), 1);
        QCOMPARE(procs->At(0), fresh);
        QVERIFY(!procs->Object(QStringLiteral("777")));
        QCOMPARE(procs->Object(QStringLiteral("I778")), fresh);
        fresh->Generic().DBID = QStringLiteral("779");
        procs->ChangeKey(QStringLiteral("778"), 9);
        QCOMPARE(procs->At(2), fresh);

        procs->RemoveItem(QStringLiteral("I779"));
        procs->RemoveItem(a);
        QCOMPARE(procs->Count(), 1);
        QCOMPARE(procs->At(0)->DBID(), m);
    }

    void deletedItems_data() { AddKindRows(); }
    void deletedItems()
    {
        QVERIFY(setUp());
        const QString a = versioned(QStringLiteral("usp_a"));
        QVERIFY(b->vss->RemoveItem(a + QStringLiteral(".sp"), true));
        b->Drop(ObjectClass::StoredProcedure, QStringLiteral("usp_a"));

        KORVODBTItemsPtr items = procs->GetDeletedItems(true);
        QVERIFY(items);
        QCOMPARE(items->Count(), 1);
        QCOMPARE(items->FirstChild()->Key, QStringLiteral("I") + a);
        QCOMPARE(items->FirstChild()->Text, QStringLiteral("dbo.usp_a"));
        QCOMPARE(items->FirstChild()->ImageName, QStringLiteral("STOREDPROCEDURE:SQLBROKEN"));
        QVERIFY(procs->Object(QStringLiteral("I") + a, true));
        QVERIFY(!procs->Object(a));
        QCOMPARE(recorder.events, QStringList({ QStringLiteral("R0/1"), QStringLiteral("R1/1"), QStringLiteral("C") }));
        // Undelete brings the object back under a new id; it leaves the deleted list.
        QVERIFY(procs->UnDeleteObject(QStringLiteral("I") + a));
        QVERIFY(!procs->Object(a, true));
        QVERIFY(!b->sql->GetObjectID(QStringLiteral("usp_a"), QStringLiteral("dbo")).isEmpty());
    }

    void triggers_data() { AddKindRows(); }
    void triggers()
    {
        QVERIFY(setUp());
        const QString t1 = b->Create(b->TableText(QStringLiteral("t1")), QStringLiteral("t1"));
        const QString t2 = b->Create(b->TableText(QStringLiteral("t2")), QStringLiteral("t2"));
        const QString x
            = b->Create(b->TriggerText(QStringLiteral("trg_x"), QStringLiteral("t1")), QStringLiteral("trg_x"));
        const QString y
            = b->Create(b->TriggerText(QStringLiteral("trg_y"), QStringLiteral("t2")), QStringLiteral("trg_y"));
        b->AddFile(y + QStringLiteral(".trg"), b->sql->GetObjectText(y));
        auto triggers = Collection<KORVOTriggers>();
        QVERIFY(!triggers->IsRootNode());

        refresh(*triggers);
        QCOMPARE(states(*triggers), QStringList({ QStringLiteral("trg_x:SQL"), QStringLiteral("trg_y:SQL+VSS") }));
        auto trigger = std::dynamic_pointer_cast<KORVOTrigger>(triggers->Object(x));
        QCOMPARE(trigger->ParentTableDBID, t1);
        QCOMPARE(trigger->GetFields(true)->Count(), 0);

        // The events the trigger fires on are its children.
        KORVODBTItemsPtr events = trigger->GetItemInfo(false);
        QStringList words;
        for (const auto &e : *events)
            words.append(e->Key + QLatin1Char('|') + e->Text + QLatin1Char('|') + e->ImageName);
        QCOMPARE(words,
            QStringList({ QStringLiteral("INSERT") + x + QStringLiteral("|INSERT|TRIGGER:INSERT"),
                QStringLiteral("UPDATE") + x + QStringLiteral("|UPDATE|TRIGGER:UPDATE") }));

        // Under a table only its own triggers show.
        struct Table : KORVODBObject {
            QString id;
            QString DBID() const override { return id; }
            QString Name() const override { return {}; }
            QString Owner() const override { return {}; }
            KORVODBTItemsPtr GetItemInfo(bool, bool, bool) override { return {}; }
            KORVODBTItemPtr Refresh(bool) override { return {}; }
            KORVOContextMenu GetContextMenu(bool) override { return {}; }
            std::shared_ptr<KORVOFields> GetFields(bool) override { return {}; }
            KORVODBTItemsPtr GetPermissionItems(int) override { return {}; }
        };
        auto table = std::make_shared<Table>();
        table->id = t2;
        KORVODBTItemsPtr under = triggers->GetItemInfo(false, table);
        QCOMPARE(under->Count(), 1);
        QCOMPARE(under->FirstChild()->Key, QStringLiteral("I") + y);
        QCOMPARE(triggers->GetItemInfo(false)->Count(), 2);

        // A deleted trigger's caption names its table.
        QVERIFY(b->vss->RemoveItem(y + QStringLiteral(".trg"), true));
        KORVODBTItemsPtr deleted = triggers->GetDeletedItems(false);
        QCOMPARE(deleted->Count(), 1);
        const QString table2 = b->IsPostgreSQL() ? QStringLiteral("dbo.t2") : QStringLiteral("[dbo].[t2]");
        QCOMPARE(deleted->FirstChild()->Text, QStringLiteral("trg_y on ") + table2);
    }

    void typeTables_data() { AddKindRows(); }
    void typeTables()
    {
        QVERIFY(setUp());
        const QString f = b->Create(b->FunctionText(QStringLiteral("udf_a")), QStringLiteral("udf_a"));
        const QString v = b->Create(b->ViewText(QStringLiteral("vw_a")), QStringLiteral("vw_a"));
        auto functions = Collection<KORVOUserDefinedFunctions>();
        auto views = Collection<KORVOViews>();
        // Old view files rename their description to ".sp.desc" like any type.
        b->AddFile(QStringLiteral("dbo.vw_a.vw"), b->ViewText(QStringLiteral("vw_a")));
        b->AddFile(QStringLiteral("dbo.vw_a.vw.desc"), QStringLiteral("v"));
        refresh(*functions);
        refresh(*views);
        QCOMPARE(states(*functions), QStringList { QStringLiteral("udf_a:SQL") });
        QCOMPARE(states(*views), QStringList { QStringLiteral("vw_a:SQL+VSS") });
        QVERIFY(b->Files().contains(v + QStringLiteral(".sp.desc")));
        QVERIFY(b->Files().contains(v + QStringLiteral(".vw")));
        QCOMPARE(functions->Object(f)->IconToUse(), QStringLiteral("USERDEFINEDFUNCTION:VSSBROKEN"));

        QCOMPARE(functions->ObjectType(), QStringLiteral("UserDefinedFunctions"));
        QCOMPARE(functions->SubObjectType(), QStringLiteral("UserDefinedFunction"));
        QCOMPARE(functions->SubObjectDisplayName(), QStringLiteral("User Defined Function"));
        QCOMPARE(views->ObjectDisplayName(), QStringLiteral("Views"));
        QCOMPARE(views->IconToUse(), QStringLiteral("VIEWS"));
    }

    void loadIcons()
    {
        auto icons = std::make_shared<KORVOIcons>();
        KORVOTriggers triggers;
        triggers.SetIcons(icons);
        triggers.LoadIcons();
        QCOMPARE(icons->Names(),
            QStringList({ "TRIGGERS", "TRIGGER", "TRIGGER:NEW", "TRIGGER:VSSBROKEN", "TRIGGER:SQLBROKEN",
                "TRIGGER:CHECKEDIN", "TRIGGER:CHECKEDINOUT", "TRIGGER:CHECKEDOUT", "TRIGGER:INSERT", "TRIGGER:UPDATE",
                "TRIGGER:DELETE" }));
    }
};

QTEST_GUILESS_MAIN(TestCollections)
#include "test_collections.moc"
