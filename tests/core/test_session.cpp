#include "KORVODatabase.h"
#include "KORVOMainWindow.h"
#include "ScriptedUi.h"

#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

// Collections and objects made in the test, recording what the session asks.
namespace {

struct FakeObject : KORVODBObject
{
    QString id, name, owner;
    QStringList *log;
    KORVODBTItemPtr refreshResult;

    QString DBID() const override { return id; }
    QString Name() const override { return name; }
    QString Owner() const override { return owner; }
    KORVODBTItemsPtr GetItemInfo(bool showOwner, bool noExtras, bool showNullability) override
    {
        log->append(QStringLiteral("object %1 GetItemInfo %2 %3 %4").arg(id).arg(showOwner).arg(noExtras).arg(showNullability));
        auto items = std::make_shared<KORVODBTItems>();
        items->Add(QStringLiteral("OWNER") + id)->Text = owner;
        return items;
    }
    KORVODBTItemPtr Refresh(bool showOwner) override
    {
        log->append(QStringLiteral("object %1 Refresh %2").arg(id).arg(showOwner));
        return refreshResult;
    }
    KORVOContextMenu GetContextMenu(bool showOwner) override
    {
        KORVOContextMenu menu;
        menu.DisplayName = showOwner ? owner + QLatin1Char('.') + name : name;
        menu.Edit = true;
        return menu;
    }
    std::shared_ptr<KORVOFields> GetFields(bool) override
    {
        log->append(QStringLiteral("object %1 GetFields").arg(id));
        return nullptr;
    }
    KORVODBTItemsPtr GetPermissionItems(int show) override
    {
        log->append(QStringLiteral("object %1 GetPermissionItems %2").arg(id).arg(show));
        return std::make_shared<KORVODBTItems>();
    }
};

struct FakeCollection : KORVOObjectCollection
{
    QString type, display, subType, subDisplay, icon;
    bool root = true, editable = true;
    QStringList *log;
    QMap<QString, std::shared_ptr<FakeObject>> objects; // by DBID
    // When set, RefreshList raises these positions and stops if cancelled.
    int steps = 0;
    bool sqlOnly = false;
    std::shared_ptr<KORVOSQL> sql;
    std::shared_ptr<KORVOVSS> vss;
    KORVODatabase *db = nullptr;
    KORVOIconsPtr icons;

    QString bare(const QString &key) const
    {
        if (objects.contains(key))
            return key;
        return key.mid(1);
    }
    QString ObjectType() const override { return type; }
    QString ObjectDisplayName() const override { return display; }
    QString SubObjectType() const override { return subType; }
    QString SubObjectDisplayName() const override { return subDisplay; }
    bool IsRootNode() const override { return root; }
    bool IsEditable() const override { return editable; }
    QString IconToUse() const override { return icon; }
    void LoadIcons() override { icons->Add(icon); }
    void RefreshList(bool &cancel) override
    {
        log->append(type + QStringLiteral(" RefreshList"));
        for (int i = 0; i <= steps; ++i) {
            RaiseRetrieveStatusChange(i, steps, cancel);
            if (cancel)
                return;
        }
        RaiseCompletedCurrentStatus();
    }
    KORVODBObjectPtr Item(const QString &key, bool deleted, bool) override
    {
        log->append(QStringLiteral("%1 Item %2%3").arg(type, key, deleted ? QStringLiteral(" deleted") : QString()));
        return objects.value(bare(key));
    }
    bool ObjectIsOfThisType(const QString &key) override { return objects.contains(bare(key)); }
    KORVODBTItemsPtr GetItemInfo(bool showOwner, const KORVODBObjectPtr &table) override
    {
        log->append(QStringLiteral("%1 GetItemInfo %2 %3").arg(type).arg(showOwner).arg(table ? table->DBID() : QStringLiteral("-")));
        auto items = std::make_shared<KORVODBTItems>();
        bool cancel = false;
        RaiseAddingStatusChange(0, objects.size(), cancel);
        if (cancel)
            return nullptr;
        for (const auto &o : std::as_const(objects))
            items->Add(QStringLiteral("I") + o->id)->Text = o->name;
        RaiseCompletedCurrentStatus();
        return items;
    }
    KORVOContextMenu GetContextMenu() override { return {}; }
    KORVODBObjectPtr newItem() override
    {
        log->append(type + QStringLiteral(" newItem"));
        auto o = std::make_shared<FakeObject>();
        o->log = log;
        return o;
    }
    bool RenameItem(const QString &key, const QString &newName) override
    {
        log->append(QStringLiteral("%1 RenameItem %2 %3").arg(type, key, newName));
        return true;
    }
    bool DeleteItem(const QString &key) override
    {
        log->append(QStringLiteral("%1 DeleteItem %2").arg(type, key));
        return true;
    }
    KORVODBTItemsPtr GetDeletedItems(bool showOwner) override
    {
        log->append(QStringLiteral("%1 GetDeletedItems %2").arg(type).arg(showOwner));
        auto items = std::make_shared<KORVODBTItems>();
        items->Add(QStringLiteral("I9") + type);
        return items;
    }
    bool UnDeleteObject(const QString &key) override
    {
        log->append(QStringLiteral("%1 UnDeleteObject %2").arg(type, key));
        return true;
    }
    void RemoveItem(const QString &key, bool) override { log->append(QStringLiteral("%1 RemoveItem %2").arg(type, key)); }
    void ChangeKey(const QString &oldKey, int) override { log->append(QStringLiteral("%1 ChangeKey %2").arg(type, oldKey)); }
    void SetActiveDBConnection(const std::shared_ptr<KORVOSQL> &c) override { sql = c; }
    void SetActiveVSSConnection(const std::shared_ptr<KORVOVSS> &c) override { vss = c; }
    void SetIcons(const KORVOIconsPtr &i) override { icons = i; }
    void SetDatabase(KORVODatabase *d) override { db = d; }
    void SetCheckSQLOnly(bool on) override { sqlOnly = on; }
};

struct FakeFactory : KORVOCollectionFactory
{
    QStringList log;
    QList<std::shared_ptr<FakeCollection>> made;
    bool tablesEditable = false;

    KORVOObjectCollectionPtr Create(Kind kind) override
    {
        static const struct
        {
            Kind kind;
            const char *type, *display, *sub, *subDisplay, *icon;
            bool root;
        } table[] = {
            {Kind::StoredProcedures, "StoredProcedures", "Stored Procedures", "StoredProcedure", "Stored Procedure", "STOREDPROCEDURES", true},
            {Kind::Tables, "Tables", "Tables", "Table", "Table", "TABLES", true},
            {Kind::UserDefinedFunctions, "UserDefinedFunctions", "User Defined Functions", "UserDefinedFunction", "User Defined Function", "USERDEFINEDFUNCTIONS", true},
            {Kind::Views, "Views", "Views", "View", "View", "VIEWS", true},
            {Kind::Triggers, "Triggers", "Triggers", "Trigger", "Trigger", "TRIGGERS", false},
        };
        for (const auto &row : table) {
            if (row.kind != kind)
                continue;
            auto c = std::make_shared<FakeCollection>();
            c->type = QLatin1String(row.type);
            c->display = QLatin1String(row.display);
            c->subType = QLatin1String(row.sub);
            c->subDisplay = QLatin1String(row.subDisplay);
            c->icon = QLatin1String(row.icon);
            c->root = row.root;
            c->editable = kind != Kind::Tables || tablesEditable;
            c->log = &log;
            log.append(QStringLiteral("create ") + c->type);
            made.append(c);
            return c;
        }
        return nullptr;
    }
    void Link(const KORVOObjectCollectionPtr &tables, const KORVOObjectCollectionPtr &triggers) override
    {
        log.append(QStringLiteral("link %1 %2").arg(tables->ObjectType(), triggers->ObjectType()));
    }
    std::shared_ptr<FakeCollection> last(const QString &type) const
    {
        for (auto it = made.crbegin(); it != made.crend(); ++it)
            if ((*it)->type == type)
                return *it;
        return nullptr;
    }
    std::shared_ptr<FakeObject> addObject(const QString &type, const QString &id, const QString &name,
                                          const QString &owner = QStringLiteral("dbo"))
    {
        auto o = std::make_shared<FakeObject>();
        o->id = id;
        o->name = name;
        o->owner = owner;
        o->log = &log;
        last(type)->objects.insert(id, o);
        return o;
    }
};

struct RecordingListener : KORVOSessionListener
{
    QStringList events;
    int cancelAt = -1;
    void RetrieveStatusChange(const QString &t, const QString &d, long p, long n, bool &cancel) override
    {
        events.append(QStringLiteral("retrieve %1|%2|%3/%4").arg(t, d).arg(p).arg(n));
        if (p == cancelAt)
            cancel = true;
    }
    void AddingStatusChange(const QString &t, const QString &d, long p, long n, bool &cancel) override
    {
        events.append(QStringLiteral("adding %1|%2|%3/%4").arg(t, d).arg(p).arg(n));
        if (p == cancelAt)
            cancel = true;
    }
    void CompletedCurrentStatus(const QString &t, const QString &d) override
    {
        events.append(QStringLiteral("completed %1|%2").arg(t, d));
    }
};

struct RecordingMainWindow : KORVOMainWindow
{
    QStringList *log;
    void Init(KORVODatabase *) override { log->append(QStringLiteral("main Init")); }
    void SetLoading(bool l) override { log->append(QStringLiteral("main Loading %1").arg(l)); }
    void Hide() override { log->append(QStringLiteral("main Hide")); }
    void Show() override { log->append(QStringLiteral("main Show")); }
    void SetCaption(const QString &c) override { log->append(QStringLiteral("main Caption ") + c); }
    void InitDBT(long w) override { log->append(QStringLiteral("main InitDBT %1").arg(w)); }
    void SetHeightTwips(long h) override { log->append(QStringLiteral("main Height %1").arg(h)); }
    void SetWidthTwips(long w) override { log->append(QStringLiteral("main Width %1").arg(w)); }
    void SetWindowState(long s) override { log->append(QStringLiteral("main State %1").arg(s)); }
    void SetDatabaseTreeVisible(bool v) override { log->append(QStringLiteral("main DBTVisible %1").arg(v)); }
    void SetExtraPanelVisible(bool v) override { log->append(QStringLiteral("main ExtraVisible %1").arg(v)); }
    void doTrmResize() override { log->append(QStringLiteral("main doTrmResize")); }
    void CheckProjectSyncInfo() override { log->append(QStringLiteral("main CheckProjectSyncInfo")); }
};

} // namespace

class TestSession : public QObject
{
    Q_OBJECT

    QTemporaryDir mDir;
    ScriptedUi mUi;
    std::shared_ptr<FakeFactory> mFactory;
    std::unique_ptr<KORVODatabase> mDb;
    QStringList mMainLog;

    QString settingsFile() const { return mDir.filePath(QStringLiteral("KORVO Integration.conf")); }

private Q_SLOTS:
    void init()
    {
        QFile::remove(settingsFile());
        mFactory = std::make_shared<FakeFactory>();
        mMainLog.clear();
        mDb = std::make_unique<KORVODatabase>(
            mUi, mFactory,
            [this] {
                auto w = std::make_unique<RecordingMainWindow>();
                w->log = &mMainLog;
                mMainLog.append(QStringLiteral("main created"));
                return w;
            },
            settingsFile());
        mFactory->addObject(QStringLiteral("StoredProcedures"), QStringLiteral("1"), QStringLiteral("usp_a"));
        mFactory->addObject(QStringLiteral("Tables"), QStringLiteral("5"), QStringLiteral("orders"), QStringLiteral("sales"));
        mFactory->addObject(QStringLiteral("Triggers"), QStringLiteral("7"), QStringLiteral("trg_orders"));
        mFactory->log.clear();
    }

    void constructionBuildsCollectionsInOrder()
    {
        auto factory = std::make_shared<FakeFactory>();
        KORVODatabase db(mUi, factory, {}, settingsFile());
        QCOMPARE(factory->log,
                 QStringList({"create StoredProcedures", "create Tables", "create Triggers", "create Views",
                              "create UserDefinedFunctions", "link Tables Triggers"}));
        QStringList order;
        for (const auto &c : db.Collections())
            order << c->ObjectType();
        QCOMPARE(order, QStringList({"StoredProcedures", "Tables", "UserDefinedFunctions", "Views", "Triggers"}));
        // Each collection is bound to the project's connectors and the session.
        for (const auto &c : factory->made) {
            QCOMPARE(c->db, &db);
            QCOMPARE(c->sql, db.Project()->SQL());
            QCOMPARE(c->vss, db.Project()->VSS());
            QCOMPARE(c->icons, db.Icons());
        }
        // Collection icons come first, in tree order, then the fixed names.
        const QStringList names = db.Icons()->Names();
        QCOMPARE(names.mid(0, 6), QStringList({"STOREDPROCEDURES", "TABLES", "USERDEFINEDFUNCTIONS", "VIEWS",
                                                "TRIGGERS", "NEW"}));
        QCOMPARE(names.last(), QStringLiteral("PERMISSION:DENY"));
        QCOMPARE(names.size(), 5 + 35);
        QVERIFY(names.contains(QStringLiteral("SEACH:FIND")));
        QCOMPARE(db.Icons()->Item(QStringLiteral("no such icon")).Name, QStringLiteral("-"));
        QCOMPARE(db.Icons()->Item(QStringLiteral("sync:none")).Name, QStringLiteral("SYNC:NONE"));
    }

    void getItemInfoDispatch_data()
    {
        QTest::addColumn<QString>("tag");
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("ownerInName");
        QTest::addColumn<QString>("ownerInProp");
        QTest::addColumn<QStringList>("expected");

        QTest::newRow("folder uses ShowOwnerNameInName") << "StoredProcedures" << "StoredProcedures" << "1" << "0"
                                                         << QStringList{"StoredProcedures GetItemInfo 1 -"};
        QTest::newRow("triggers folder under a table") << "Triggers" << "T5" << "0" << "1"
                                                       << QStringList{"Tables Item T5", "Triggers GetItemInfo 0 5"};
        QTest::newRow("editable object uses ShowOwnerNameInProp")
            << "StoredProcedure" << "I1" << "1" << "0"
            << QStringList{"StoredProcedures Item I1", "object 1 GetItemInfo 0 1 1"};
        QTest::newRow("table gets the owner flag only") << "Table" << "I5" << "0" << "1"
                                                        << QStringList{"Tables Item I5", "object 5 GetItemInfo 1 0 0"};
        QTest::newRow("permission folder") << "Permission" << "P1" << "0" << "0"
                                           << QStringList{"StoredProcedures Item P1", "object 1 GetPermissionItems 2"};
        QTest::newRow("unknown tag") << "Nothing" << "I1" << "1" << "1" << QStringList{};
    }

    void getItemInfoDispatch()
    {
        QFETCH(QString, tag);
        QFETCH(QString, key);
        QFETCH(QString, ownerInName);
        QFETCH(QString, ownerInProp);
        QFETCH(QStringList, expected);
        QSettings store(settingsFile(), QSettings::IniFormat);
        store.setValue(QStringLiteral("ItemOwnerName"), ownerInName);
        store.setValue(QStringLiteral("ItemPropOwnerName"), ownerInProp);
        store.setValue(QStringLiteral("ShowPermissionsInDBT"), QStringLiteral("2"));
        store.sync();

        auto items = mDb->GetItemInfo(tag, key, true, true);
        QVERIFY(items);
        QCOMPARE(mFactory->log, expected);
    }

    void statusEventsCarryTypeAndCancel()
    {
        RecordingListener listener;
        listener.cancelAt = 1;
        mDb->SetListener(&listener);
        mFactory->last(QStringLiteral("Views"))->steps = 3;
        auto views = mDb->GetObjectObjects(QStringLiteral("Views"));
        QCOMPARE(views->ObjectType(), QStringLiteral("Views"));
        // The cancel set at position 1 ends the loop before CompletedCurrentStatus.
        QCOMPARE(listener.events, QStringList({"retrieve Views|Views|0/3", "retrieve Views|Views|1/3"}));

        listener.events.clear();
        listener.cancelAt = -1;
        auto items = mDb->GetItemInfo(QStringLiteral("StoredProcedures"), QStringLiteral("StoredProcedures"));
        QCOMPARE(items->Count(), 1);
        QCOMPARE(listener.events,
                 QStringList({"adding StoredProcedures|Stored Procedures|0/1",
                              "completed StoredProcedures|Stored Procedures"}));

        // A cancel while adding gives an empty list, not a partial one.
        listener.events.clear();
        listener.cancelAt = 0;
        items = mDb->GetItemInfo(QStringLiteral("StoredProcedures"), QStringLiteral("StoredProcedures"));
        QVERIFY(items);
        QCOMPARE(items->Count(), 0);
        mDb->SetListener(nullptr);
    }

    void objectLookups()
    {
        mDb->GetObjectFields(QStringLiteral("I5"));
        mDb->GetObjectFields(QStringLiteral("5"));
        QCOMPARE(mFactory->log.filter(QStringLiteral("GetFields")), QStringList({"object 5 GetFields", "object 5 GetFields"}));
        QCOMPARE(mDb->GetObjectType(QStringLiteral("I7")), QStringLiteral("Trigger"));
        QCOMPARE(mDb->GetObjectType(QStringLiteral("I99")), QString());
        QVERIFY(mDb->CanOpenObject(QStringLiteral("StoredProcedure"), QStringLiteral("I1")));
        QVERIFY(!mDb->CanOpenObject(QStringLiteral("View"), QStringLiteral("I1")));
        bool fromDeleted = true;
        mDb->GetObject(QStringLiteral("View"), QStringLiteral("I3"), fromDeleted);
        QCOMPARE(mFactory->log.last(), QStringLiteral("Views Item I3 deleted"));

        QString owner = QStringLiteral("x"), name = QStringLiteral("y");
        bool ok = false;
        mDb->GetTableName(QStringLiteral("ignored"), QStringLiteral("I5"), owner, name, ok);
        QVERIFY(ok);
        QCOMPARE(owner, QStringLiteral("sales"));
        QCOMPARE(name, QStringLiteral("orders"));
        mDb->GetTableName({}, QStringLiteral("I1"), owner, name, ok);
        QVERIFY(!ok);
        QVERIFY(owner.isEmpty() && name.isEmpty());

        const KORVOContextMenu none = mDb->GetContextMenu(QStringLiteral("Unknown"), QStringLiteral("I1"));
        QCOMPARE(none, KORVOContextMenu{});
        QVERIFY(mDb->GetContextMenu(QStringLiteral("StoredProcedure"), QStringLiteral("I1")).Edit);
    }

    void forwardingByFirstArgument()
    {
        QVERIFY(mDb->RenameItem(QStringLiteral("View"), QStringLiteral("I3"), QStringLiteral("v2")));
        QVERIFY(mDb->DeleteItem(QStringLiteral("StoredProcedure"), QStringLiteral("I1")));
        QVERIFY(mDb->UnDeleteItem(QStringLiteral("Trigger"), QStringLiteral("I7")));
        QVERIFY(mDb->NewItemOfType(QStringLiteral("UserDefinedFunction")));
        QCOMPARE(mDb->GetObjectSubDisplayName(QStringLiteral("View")), QStringLiteral("View"));
        QCOMPARE(mFactory->log, QStringList({"Views RenameItem I3 v2", "StoredProcedures DeleteItem I1",
                                             "Triggers UnDeleteObject I7", "UserDefinedFunctions newItem"}));
        QVERIFY(!mDb->RenameItem(QStringLiteral("Views"), QStringLiteral("I3"), QStringLiteral("v2")));
        QVERIFY(!mDb->NewItemOfType(QStringLiteral("Nothing")));
        QCOMPARE(mDb->GetObjectSubDisplayName(QStringLiteral("Nothing")), QString());
    }

    void refreshItem()
    {
        auto folder = mDb->RefreshItem(QStringLiteral("Triggers"), QStringLiteral("T5"));
        QCOMPARE(folder->Key, QStringLiteral("T5"));
        QCOMPARE(folder->Tag, QStringLiteral("Triggers"));
        folder = mDb->RefreshItem(QStringLiteral("Views"), QStringLiteral("whatever"));
        QCOMPARE(folder->Key, QStringLiteral("Views"));
        QCOMPARE(folder->ImageName, QStringLiteral("VIEWS"));

        auto object = mFactory->last(QStringLiteral("StoredProcedures"))->objects.value(QStringLiteral("1"));
        object->refreshResult = std::make_shared<KORVODBTItem>(QStringLiteral("I1"));
        object->refreshResult->RemoveItem = true;
        mDb->RefreshItem(QStringLiteral("StoredProcedure"), QStringLiteral("I1"));
        QCOMPARE(mFactory->log.last(), QStringLiteral("StoredProcedures RemoveItem I1"));
        object->refreshResult = std::make_shared<KORVODBTItem>(QStringLiteral("I11"));
        object->refreshResult->KeyChanged = QStringLiteral("I1");
        mDb->RefreshItem(QStringLiteral("StoredProcedure"), QStringLiteral("I1"));
        QCOMPARE(mFactory->log.last(), QStringLiteral("StoredProcedures ChangeKey I1"));
        QVERIFY(!mDb->RefreshItem(QStringLiteral("Nothing"), QStringLiteral("I1")));
    }

    void itemLists()
    {
        const auto rows = [](const KORVODBTItemsPtr &items) {
            QStringList out;
            for (const auto &i : *items)
                out << i->Key + QLatin1Char('=') + i->Text;
            return out;
        };
        const QStringList sync = rows(mDb->GetItemsForSyncronisation());
        const QStringList docgen = rows(mDb->GetItemsForDocGen());
        const QStringList scriptgen = rows(mDb->GetItemsForScriptGen());
        const QStringList newMenu = rows(mDb->GetItemsForNewMenu());
        QCOMPARE(sync, QStringList({"StoredProcedures=Stored Procedures", "UserDefinedFunctions=User Defined Functions",
                                    "Views=Views", "Triggers=Triggers"}));
        QCOMPARE(docgen, sync);
        QCOMPARE(scriptgen, sync);
        QCOMPARE(newMenu, QStringList({"StoredProcedure=Stored Procedure", "UserDefinedFunction=User Defined Function",
                                       "View=View", "Trigger=Trigger"}));

        QCOMPARE(mDb->GetObjectsForUndeleteing(QString()).size(), 4);
        const auto views = mDb->GetObjectsForUndeleteing(QStringLiteral("Views"));
        QCOMPARE(views.size(), 1);
        QCOMPARE(views.first()->FirstChild()->Key, QStringLiteral("I9Views"));
        QVERIFY(mDb->GetObjectsForUndeleteing(QStringLiteral("Tables")).isEmpty());
    }

    void openProjectDrivesTheMainWindow()
    {
        QSettings store(settingsFile(), QSettings::IniFormat);
        store.setValue(QStringLiteral("WinState"), QStringLiteral("2"));
        store.setValue(QStringLiteral("DatabaseList"), QStringLiteral("0"));
        store.sync();

        auto project = std::make_shared<KORVOProject>(mUi);
        project->Name = QStringLiteral("Demo");
        project->Sequence = 1;
        bool ok = false;
        mDb->OpenProject(project, ok);
        QVERIFY(ok);
        QCOMPARE(mDb->Project(), project);
        // Collections were rebuilt against the new project's connectors.
        QCOMPARE(mFactory->last(QStringLiteral("Views"))->sql, project->SQL());
        QCOMPARE(mMainLog,
                 QStringList({"main created", "main Loading 1", "main Init", "main Caption Demo - KORVO",
                              "main InitDBT 2865", "main Height 8580", "main Width 10320", "main State 2",
                              "main DBTVisible 0", "main ExtraVisible 1", "main Loading 0", "main Show",
                              "main doTrmResize", "main CheckProjectSyncInfo"}));

        // A second opening hides the existing window instead of making another.
        mMainLog.clear();
        mDb->OpenProject(project, ok);
        QCOMPARE(mMainLog.mid(0, 3), QStringList({"main Loading 1", "main Hide", "main Caption Demo - KORVO"}));
        QVERIFY(!mMainLog.contains(QStringLiteral("main created")));
        // Opening wrote nothing to the store for a project that is already first.
        QSettings after(settingsFile(), QSettings::IniFormat);
        QVERIFY(after.childGroups().isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestSession)
#include "test_session.moc"
