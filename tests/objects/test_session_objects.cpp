// The session dispatching to the real collections on both server kinds with a
// Subversion project: folders in their order, objects by tag and key, a node
// refreshed after its object was recreated, tables with their triggers, the
// second set of collections for another database, and progress events.
#include "KORVODatabase.h"
#include "KORVOFields.h"
#include "KORVOObjectFactory.h"
#include "KORVOProject.h"
#include "test_backend.h"

#include <QTemporaryDir>
#include <QTest>

namespace
{

class Listener : public KORVOSessionListener
{
public:
    QStringList events;
    void RetrieveStatusChange(const QString &type, const QString &name, long position, long total, bool &) override
    {
        events.append(QStringLiteral("R %1 %2 %3/%4").arg(type, name).arg(position).arg(total));
    }
    void AddingStatusChange(const QString &, const QString &, long, long, bool &) override { }
    void CompletedCurrentStatus(const QString &type, const QString &name) override
    {
        events.append(QStringLiteral("C %1 %2").arg(type, name));
    }
};

QStringList types(const QList<KORVOObjectCollectionPtr> &collections)
{
    QStringList out;
    for (const auto &c : collections)
        out.append(c->ObjectType());
    return out;
}

} // namespace

class TestSessionObjects : public QObject
{
    Q_OBJECT

    std::unique_ptr<Backend> b;
    QTemporaryDir settings;
    std::unique_ptr<KORVODatabase> session;
    Listener listener;
    bool fromDeleted = false;

    bool setUp(bool refuseFunctions = false)
    {
        b = OpenBackend();
        if (!b)
            return false;
        // The probe's own function already there makes the probe fail.
        if (refuseFunctions)
            b->sql->ExecuteSQL(b->Pick("CREATE FUNCTION udfcheck_sql_server_version() RETURNS integer LANGUAGE sql AS "
                                       "'SELECT 1'",
                "CREATE FUNCTION udfCheck_SQL_SERVER_VERSION () RETURNS INT AS BEGIN RETURN 1 END"));
        session = std::make_unique<KORVODatabase>(b->ui, std::make_shared<KORVOObjectFactory>(),
            KORVODatabase::MainWindowFactory(), settings.filePath("korvo.conf"));
        session->SetListener(&listener);
        auto project = std::make_shared<KORVOProject>(b->ui);
        b->Bind(*project->SQL());
        project->VSS()->OpenConnection(
            b->repo->Url(), "alice", QString(), Backend::Project, b->repo->Folder("session"), true, true);
        if (!project->SQL()->ConnectionOpen() || !project->VSS()->ConnectionOpen())
            return false;
        session->SetProject(project);
        session->SetShowOwnerNameInName(true);
        session->SetShowOwnerNameInProp(false);
        listener.events.clear();
        return true;
    }
    KORVODBObjectPtr object(const QString &tag, const QString &key)
    {
        return session->GetObject(tag, key, fromDeleted);
    }

private Q_SLOTS:
    void cleanup()
    {
        session.reset();
        b.reset();
    }

    // No function folder when the probe is refused; the second set follows the
    // same probe and sees SQL only. (The order of the collections and the lists
    // of folders are test_session's.)
    void foldersInTheirOrder_data() { AddKindRows({ QString(), "refusing functions" }); }
    void foldersInTheirOrder()
    {
        QFETCH(QString, row);
        const bool refuse = !row.isEmpty();
        QVERIFY(setUp(refuse));
        const QStringList roots = QStringList({ "StoredProcedures", "Tables", "UserDefinedFunctions", "Views" })
                                      .filter(QRegularExpression(refuse ? "^(?!User)" : ""));
        QCOMPARE(Keys(*session->GetItemInfo("Start", QString())), roots);
        // Triggers are editable, though not a root folder.
        QCOMPARE(Keys(*session->AvailableEditableObjects()),
            QStringList(roots).filter(QRegularExpression("^(?!Tables)")) << "Triggers");

        const QString id = b->Versioned("usp_a");
        auto other = std::make_shared<KORVOSQL>(b->ui);
        b->Bind(*other);
        const QList<KORVOObjectCollectionPtr> second = session->SetupAvailableEditableObjectsForAnotherDB(other);
        QCOMPARE(types(second),
            QStringList({ "StoredProcedures", "Triggers", "UserDefinedFunctions", "Views" })
                .filter(QRegularExpression(refuse ? "^(?!User)" : "")));
        bool cancel = false;
        second.first()->RefreshList(cancel);
        auto procedure = std::dynamic_pointer_cast<KORVOTypedObject>(second.first()->Item(id));
        QVERIFY(procedure && procedure->InSQL() && !procedure->InVSS());
        QCOMPARE(listener.events.last(), QStringLiteral("C StoredProcedures Stored Procedures"));
    }

    void objectsByTagAndKey_data() { AddKindRows(); }
    void objectsByTagAndKey()
    {
        QVERIFY(setUp());
        const QString id = b->Versioned("usp_a"), key = "I" + id, f = "F" + id + "_field_";
        KORVODBTItemsPtr folder = session->GetItemInfo("StoredProcedures", "StoredProcedures");
        QCOMPARE(Nodes(*folder), QStringList { key + "|dbo.usp_a|StoredProcedure|STOREDPROCEDURE:CHECKEDIN" });

        // Under an object the owner shows by the other setting.
        KORVODBTItemsPtr nodes = session->GetItemInfo("StoredProcedure", key, false, true);
        QCOMPARE(Keys(*nodes), QStringList({ f + "1", f + "2", "P" + id }));
        QCOMPARE(nodes->FirstChild()->Children().Count(), 2);
        session->SetShowOwnerNameInProp(true);
        nodes = session->GetItemInfo("StoredProcedure", key, true, false);
        QCOMPARE(Keys(*nodes), QStringList({ f + "1", f + "2" }));
        QCOMPARE(nodes->FirstChild()->Children().Count(), 1);
        QVERIFY(session->GetItemInfo("Permission", "P" + id));

        QCOMPARE(object("StoredProcedure", key)->Name(), QStringLiteral("usp_a"));
        QVERIFY(!object("View", key));
        QCOMPARE(session->GetObjectType(key), QStringLiteral("StoredProcedure"));
        QVERIFY(session->CanOpenObject("StoredProcedure", id));
        QCOMPARE(session->GetObjectFields(key)->Count(), 2);
        QCOMPARE(session->GetObjectFields(id)->Count(), 2);
        // Menus, rename and delete through the session are the main window's
        // (test_mdimain: popupAndPanelFollowTheFlags, renameGivesTheNodeItsNewKey, deleteAsksFirst).
    }

    void listsReloadOnEveryCall_data() { AddKindRows(); }
    void listsReloadOnEveryCall()
    {
        QVERIFY(setUp());
        const QString first = b->Create(ObjectClass::View, "vw_a");
        KORVOObjectCollectionPtr views = session->GetObjectObjects("Views");
        QVERIFY(views->ObjectIsOfThisType(first));
        const QString second = b->Create(ObjectClass::View, "vw_b");
        QVERIFY(!views->ObjectIsOfThisType(second));
        QCOMPARE(session->GetObjectObjects("Views"), views);
        QVERIFY(views->ObjectIsOfThisType(second));
    }

    // An object dropped and recreated under its name: a node listed before
    // follows it to the new id; the next listing moves its file (not its
    // description) to the new id; gone from both sides, the node goes.
    void recreatedObjectKeepsItsFile_data() { AddKindRows({ "fresh list", "listed before" }); }
    void recreatedObjectKeepsItsFile()
    {
        QVERIFY(setUp());
        QFETCH(QString, row);
        const QString oldId = b->Versioned("usp_a");
        b->AddFile(oldId + ".sp.desc", "kept");
        if (row == "listed before")
            session->GetItemInfo("StoredProcedures", "StoredProcedures");
        b->Drop(ObjectClass::StoredProcedure, "usp_a");
        const QString newId = b->Create(ObjectClass::StoredProcedure, "usp_a");
        QVERIFY(newId != oldId);
        if (row == "listed before") {
            KORVODBTItemPtr item = session->RefreshItem("StoredProcedure", "I" + oldId);
            QCOMPARE(Node(item), "I" + newId + "|dbo.usp_a|StoredProcedure|STOREDPROCEDURE:CHECKEDIN");
            QCOMPARE(item->KeyChanged, oldId);
            QVERIFY(!item->RemoveItem);
        }
        QCOMPARE(Keys(*session->GetItemInfo("StoredProcedures", "StoredProcedures")), QStringList { "I" + newId });
        QVERIFY(!object("StoredProcedure", "I" + oldId));
        QCOMPARE(b->Files(), Sorted({ newId + ".sp", oldId + ".sp.desc" }));
        QVERIFY(b->ui.boxes.isEmpty());

        b->Drop(ObjectClass::StoredProcedure, "usp_a");
        QVERIFY(b->vss->RemoveItem(newId + ".sp", true));
        KORVOTypedObjectPtr o = std::dynamic_pointer_cast<KORVOTypedObject>(object("StoredProcedure", "I" + newId));
        KORVODBTItemPtr item = session->RefreshItem("StoredProcedure", "I" + newId);
        QVERIFY(item->RemoveItem && item->KeyChanged.isEmpty());
        QVERIFY(o->Name().isEmpty());
        QVERIFY(!object("StoredProcedure", "I" + newId));
    }

    // A table's triggers folder lists its own triggers. (A table recreated
    // under its name is in test_tables.)
    void tablesWithTheirTriggers_data() { AddKindRows(); }
    void tablesWithTheirTriggers()
    {
        QVERIFY(setUp());
        const QString t1 = b->CreateTable("dbo", "t1"), t2 = b->CreateTable("dbo", "t2");
        const QString x = b->Create(ObjectClass::Trigger, "trg_x", 1, "t1");
        b->Create(ObjectClass::Trigger, "trg_y", 1, "t2");
        QCOMPARE(Keys(*session->GetItemInfo("Tables", "Tables")), QStringList({ "I" + t1, "I" + t2 }));
        QCOMPARE(Keys(*session->GetItemInfo("Triggers", "T" + t1)), QStringList { "I" + x });
        QCOMPARE(session->RefreshItem("Triggers", "T" + t1)->Key, "T" + t1);
        QString owner, name;
        bool ok = false;
        session->GetTableName(QString(), "I" + t2, owner, name, ok);
        QVERIFY(ok);
        QCOMPARE(owner + "." + name, QStringLiteral("dbo.t2"));
    }
};

QTEST_GUILESS_MAIN(TestSessionObjects)
#include "test_session_objects.moc"
