// The session dispatching to the real collections on both server kinds with a
// Subversion project: folders in their order, objects by tag and key, a node
// refreshed after its object was recreated, tables with their triggers, the
// second set of collections for another database, and progress events.
#include "KORVODatabase.h"
#include "KORVOFields.h"
#include "KORVOObjectFactory.h"
#include "KORVOProject.h"
#include "KORVOTypedObject.h"
#include "test_objects_backend.h"

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
    void AddingStatusChange(const QString &type, const QString &name, long position, long total, bool &) override
    {
        events.append(QStringLiteral("A %1 %2 %3/%4").arg(type, name).arg(position).arg(total));
    }
    void CompletedCurrentStatus(const QString &type, const QString &name) override
    {
        events.append(QStringLiteral("C %1 %2").arg(type, name));
    }
};

QStringList keys(const KORVODBTItemsPtr &items)
{
    QStringList out;
    if (items) {
        for (const auto &item : *items)
            out.append(item->Key);
    }
    return out;
}

} // namespace

class TestSessionObjects : public QObject
{
    Q_OBJECT

    std::unique_ptr<ObjectsBackend> b;
    QTemporaryDir settings;
    std::unique_ptr<KORVODatabase> session;
    KORVOProjectPtr project;
    Listener listener;

    bool setUp(bool refuseFunctions = false)
    {
        QFETCH(QString, kind);
        QString why;
        b = ObjectsBackend::Make(kind, why);
        if (!b) {
            qWarning("%s", qPrintable(why));
            return false;
        }
        if (refuseFunctions) {
            // The probe's own function already there makes the probe fail.
            b->sql->ExecuteSQL(b->IsPostgreSQL()
                    ? QStringLiteral("CREATE FUNCTION udfcheck_sql_server_version() RETURNS integer "
                                     "LANGUAGE sql AS 'SELECT 1'")
                    : QStringLiteral("CREATE FUNCTION udfCheck_SQL_SERVER_VERSION () RETURNS INT AS "
                                     "BEGIN RETURN 1 END"));
        }
        session = std::make_unique<KORVODatabase>(b->ui, std::make_shared<KORVOObjectFactory>(),
            KORVODatabase::MainWindowFactory(), settings.filePath(QStringLiteral("korvo.conf")));
        session->SetListener(&listener);
        project = std::make_shared<KORVOProject>(b->ui);
        b->Bind(*project->SQL());
        project->VSS()->OpenConnection(b->repo->Url(), QStringLiteral("alice"), QString(), ObjectsBackend::Project,
            b->repo->Folder(QStringLiteral("session")), true, true);
        if (!project->SQL()->ConnectionOpen() || !project->VSS()->ConnectionOpen())
            return false;
        session->SetProject(project);
        session->SetShowOwnerNameInName(true);
        session->SetShowOwnerNameInProp(false);
        listener.events.clear();
        return true;
    }

    QString versioned(const QString &name)
    {
        const QString id = b->Create(b->ProcedureText(name), name);
        b->AddFile(id + QStringLiteral(".sp"), b->sql->GetObjectText(id));
        return id;
    }

private Q_SLOTS:
    void cleanup()
    {
        session.reset();
        project.reset();
        b.reset();
    }

    void foldersInTheirOrder_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<bool>("refuse");
        QTest::addColumn<QStringList>("roots");
        const QStringList all { "StoredProcedures", "Tables", "UserDefinedFunctions", "Views" };
        const QStringList withoutFunctions { "StoredProcedures", "Tables", "Views" };
        for (const QString &kind : { QStringLiteral("PostgreSQL"), QStringLiteral("SQLServer") }) {
            QTest::addRow("%s", qPrintable(kind)) << kind << false << all;
            QTest::addRow("%s refusing functions", qPrintable(kind)) << kind << true << withoutFunctions;
        }
    }
    void foldersInTheirOrder()
    {
        QFETCH(bool, refuse);
        QFETCH(QStringList, roots);
        QVERIFY(setUp(refuse));
        QStringList types;
        for (const auto &c : session->Collections())
            types.append(c->ObjectType());
        QCOMPARE(types, QStringList({ "StoredProcedures", "Tables", "UserDefinedFunctions", "Views", "Triggers" }));

        KORVODBTItemsPtr items = session->GetItemInfo(QStringLiteral("Start"), QString());
        QCOMPARE(keys(items), roots);
        QCOMPARE(items->Item(QStringLiteral("StoredProcedures"))->ImageName, QStringLiteral("STOREDPROCEDURES"));
        QCOMPARE(items->Item(QStringLiteral("Views"))->Children().FirstChild()->Key, QStringLiteral("Views_tmp"));
        // Triggers are editable, though not a root folder.
        QCOMPARE(keys(session->AvailableEditableObjects()),
            QStringList(roots).filter(QRegularExpression("^(?!Tables)")) << QStringLiteral("Triggers"));
        QCOMPARE(keys(session->GetItemsForNewMenu()),
            QStringList({ "StoredProcedure", "UserDefinedFunction", "View", "Trigger" }));
        QVERIFY(session->Icons()->Names().contains(QStringLiteral("TRIGGER:DELETE")));

        // The second set follows the same probe and sees SQL only.
        const QString id = versioned(QStringLiteral("usp_a"));
        auto other = std::make_shared<KORVOSQL>(b->ui);
        b->Bind(*other);
        const QList<KORVOObjectCollectionPtr> second = session->SetupAvailableEditableObjectsForAnotherDB(other);
        QStringList secondTypes;
        for (const auto &c : second)
            secondTypes.append(c->ObjectType());
        QCOMPARE(secondTypes,
            refuse ? QStringList({ "StoredProcedures", "Triggers", "Views" })
                   : QStringList({ "StoredProcedures", "Triggers", "UserDefinedFunctions", "Views" }));
        bool cancel = false;
        second.first()->RefreshList(cancel);
        auto procedure = std::dynamic_pointer_cast<KORVOTypedObject>(second.first()->Item(id));
        QVERIFY(procedure);
        QVERIFY(procedure->InSQL());
        QVERIFY(!procedure->InVSS());
        QCOMPARE(listener.events.last(), QStringLiteral("C StoredProcedures Stored Procedures"));
    }

    void objectsByTagAndKey_data() { AddKindRows(); }
    void objectsByTagAndKey()
    {
        QVERIFY(setUp());
        const QString id = versioned(QStringLiteral("usp_a"));
        const QString key = QStringLiteral("I") + id;

        KORVODBTItemsPtr folder
            = session->GetItemInfo(QStringLiteral("StoredProcedures"), QStringLiteral("StoredProcedures"));
        QCOMPARE(keys(folder), QStringList { key });
        QCOMPARE(folder->FirstChild()->Text, QStringLiteral("dbo.usp_a"));
        QCOMPARE(listener.events.first(), QStringLiteral("R StoredProcedures Stored Procedures 0/3"));
        QCOMPARE(listener.events.last(), QStringLiteral("C StoredProcedures Stored Procedures"));

        // Under an object the owner shows by the other setting.
        KORVODBTItemsPtr nodes = session->GetItemInfo(QStringLiteral("StoredProcedure"), key, false, true);
        QCOMPARE(keys(nodes),
            QStringList({ QStringLiteral("F%1_field_1").arg(id), QStringLiteral("F%1_field_2").arg(id),
                QStringLiteral("P") + id }));
        QCOMPARE(nodes->FirstChild()->Children().Count(), 2);
        session->SetShowOwnerNameInProp(true);
        nodes = session->GetItemInfo(QStringLiteral("StoredProcedure"), key, true, false);
        QCOMPARE(
            keys(nodes), QStringList({ QStringLiteral("F%1_field_1").arg(id), QStringLiteral("F%1_field_2").arg(id) }));
        QCOMPARE(nodes->FirstChild()->Children().Count(), 1);
        QVERIFY(session->GetItemInfo(QStringLiteral("Permission"), QStringLiteral("P") + id));

        bool fromDeleted = false;
        KORVODBObjectPtr object = session->GetObject(QStringLiteral("StoredProcedure"), key, fromDeleted);
        QVERIFY(object);
        QCOMPARE(object->Name(), QStringLiteral("usp_a"));
        QVERIFY(!session->GetObject(QStringLiteral("View"), key, fromDeleted));
        QCOMPARE(session->GetObjectType(key), QStringLiteral("StoredProcedure"));
        QVERIFY(session->CanOpenObject(QStringLiteral("StoredProcedure"), id));
        QCOMPARE(session->GetObjectFields(key)->Count(), 2);
        QCOMPARE(session->GetObjectFields(id)->Count(), 2);

        const KORVOContextMenu menu = session->GetContextMenu(QStringLiteral("StoredProcedure"), key);
        QVERIFY(menu.CheckOut && menu.Edit && !menu.CheckIn);
        QCOMPARE(menu.DisplayName, QStringLiteral("dbo.usp_a"));
        QCOMPARE(session->GetContextMenu(QStringLiteral("StoredProcedures"), QString()), KORVOContextMenu());

        // Rename and delete through the session: the object moves to its new
        // id, and then leaves the collection.
        b->ui.answer(UiServices::Answer::Ok);
        QVERIFY(session->RenameItem(QStringLiteral("StoredProcedure"), key, QStringLiteral("usp_b")));
        QCOMPARE(b->ui.last().title, QStringLiteral("Item Successfully Renamed"));
        const QString renamed = QStringLiteral("I") + b->sql->GetObjectID(QStringLiteral("usp_b"), QStringLiteral("dbo"));
        QVERIFY(!session->GetObject(QStringLiteral("StoredProcedure"), key, fromDeleted));
        QVERIFY(session->GetObject(QStringLiteral("StoredProcedure"), renamed, fromDeleted));
        QVERIFY(session->DeleteItem(QStringLiteral("StoredProcedure"), renamed));
        QVERIFY(!session->GetObject(QStringLiteral("StoredProcedure"), renamed, fromDeleted));
        QCOMPARE(b->ui.boxes.size(), 1);
    }

    void listsReloadOnEveryCall_data() { AddKindRows(); }
    void listsReloadOnEveryCall()
    {
        QVERIFY(setUp());
        b->Create(b->ViewText(QStringLiteral("vw_a")), QStringLiteral("vw_a"));
        KORVOObjectCollectionPtr views = session->GetObjectObjects(QStringLiteral("Views"));
        QVERIFY(views->ObjectIsOfThisType(b->sql->GetObjectID(QStringLiteral("vw_a"), QStringLiteral("dbo"))));
        const QString second = b->Create(b->ViewText(QStringLiteral("vw_b")), QStringLiteral("vw_b"));
        QVERIFY(!views->ObjectIsOfThisType(second));
        QCOMPARE(session->GetObjectObjects(QStringLiteral("Views")), views);
        QVERIFY(views->ObjectIsOfThisType(second));
    }

    void recreatedObjectNodeFollows_data() { AddKindRows(); }
    void recreatedObjectNodeFollows()
    {
        QVERIFY(setUp());
        const QString oldId = versioned(QStringLiteral("usp_a"));
        session->GetItemInfo(QStringLiteral("StoredProcedures"), QStringLiteral("StoredProcedures"));
        b->Drop(ObjectClass::StoredProcedure, QStringLiteral("usp_a"));
        const QString newId = b->Create(b->ProcedureText(QStringLiteral("usp_a")), QStringLiteral("usp_a"));

        KORVODBTItemPtr item = session->RefreshItem(QStringLiteral("StoredProcedure"), QStringLiteral("I") + oldId);
        QVERIFY(item);
        QCOMPARE(item->Key, QStringLiteral("I") + newId);
        QCOMPARE(item->KeyChanged, oldId);
        QCOMPARE(item->Text, QStringLiteral("dbo.usp_a"));
        bool fromDeleted = false;
        QVERIFY(session->GetObject(QStringLiteral("StoredProcedure"), QStringLiteral("I") + newId, fromDeleted));
        QVERIFY(!session->GetObject(QStringLiteral("StoredProcedure"), QStringLiteral("I") + oldId, fromDeleted));

        // The next listing moves the file to the new id.
        session->GetItemInfo(QStringLiteral("StoredProcedures"), QStringLiteral("StoredProcedures"));
        QCOMPARE(b->Files(QStringLiteral("*.sp")), QStringList { newId + QStringLiteral(".sp") });

        // Gone on both sides: the node goes.
        b->Drop(ObjectClass::StoredProcedure, QStringLiteral("usp_a"));
        QVERIFY(b->vss->RemoveItem(newId + QStringLiteral(".sp"), true));
        item = session->RefreshItem(QStringLiteral("StoredProcedure"), QStringLiteral("I") + newId);
        QVERIFY(item->RemoveItem);
        QVERIFY(!session->GetObject(QStringLiteral("StoredProcedure"), QStringLiteral("I") + newId, fromDeleted));

        const KORVODBTItemPtr folder = session->RefreshItem(QStringLiteral("StoredProcedures"), QStringLiteral("x"));
        QCOMPARE(folder->Key, QStringLiteral("StoredProcedures"));
        QCOMPARE(folder->Text, QStringLiteral("Stored Procedures"));
    }

    void tablesWithTheirTriggers_data() { AddKindRows(); }
    void tablesWithTheirTriggers()
    {
        QVERIFY(setUp());
        const QString t1 = b->Create(b->TableText(QStringLiteral("t1")), QStringLiteral("t1"));
        const QString t2 = b->Create(b->TableText(QStringLiteral("t2")), QStringLiteral("t2"));
        const QString x
            = b->Create(b->TriggerText(QStringLiteral("trg_x"), QStringLiteral("t1")), QStringLiteral("trg_x"));
        b->Create(b->TriggerText(QStringLiteral("trg_y"), QStringLiteral("t2")), QStringLiteral("trg_y"));

        QCOMPARE(keys(session->GetItemInfo(QStringLiteral("Tables"), QStringLiteral("Tables"))),
            QStringList({ QStringLiteral("I") + t1, QStringLiteral("I") + t2 }));
        KORVODBTItemsPtr nodes = session->GetItemInfo(QStringLiteral("Table"), QStringLiteral("I") + t1);
        KORVODBTItemPtr triggersNode = nodes->Item(QStringLiteral("T") + t1);
        QVERIFY(triggersNode);
        QCOMPARE(triggersNode->Tag, QStringLiteral("Triggers"));
        QCOMPARE(triggersNode->Text, QStringLiteral("Triggers"));
        QCOMPARE(triggersNode->ImageName, QStringLiteral("TRIGGERS"));
        QCOMPARE(keys(session->GetItemInfo(QStringLiteral("Triggers"), QStringLiteral("T") + t1)),
            QStringList { QStringLiteral("I") + x });
        QCOMPARE(
            session->RefreshItem(QStringLiteral("Triggers"), QStringLiteral("T") + t1)->Key, QStringLiteral("T") + t1);

        // A table dropped and recreated under its name keeps its node.
        b->Drop(ObjectClass::Table, QStringLiteral("t2"));
        const QString t2new = b->Create(b->TableText(QStringLiteral("t2")), QStringLiteral("t2"));
        KORVODBTItemPtr item = session->RefreshItem(QStringLiteral("Table"), QStringLiteral("I") + t2);
        QVERIFY(item);
        QVERIFY(!item->RemoveItem);
        QCOMPARE(item->Key, QStringLiteral("I") + t2new);
        QCOMPARE(item->KeyChanged, t2);
        bool fromDeleted = false;
        QVERIFY(session->GetObject(QStringLiteral("Table"), QStringLiteral("I") + t2new, fromDeleted));
        QString owner, name;
        bool ok = false;
        session->GetTableName(QString(), QStringLiteral("I") + t2new, owner, name, ok);
        QVERIFY(ok);
        QCOMPARE(owner + QLatin1Char('.') + name, QStringLiteral("dbo.t2"));
    }
};

QTEST_GUILESS_MAIN(TestSessionObjects)
#include "test_session_objects.moc"
