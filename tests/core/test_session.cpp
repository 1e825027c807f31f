#include "KORVODatabase.h"
#include "KORVOMainWindow.h"
#include "ScriptedUi.h"
#include "StubCollections.h"

#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

// Collections and objects made in the test, recording what the session asks.
namespace
{

// Notes calls in a shared log and answers them.
struct Recorder {
    QStringList *log = nullptr;
    static QString Part(const QString &s) { return s; }
    static QString Part(const char *s) { return QString::fromUtf8(s); }
    static QString Part(qlonglong n) { return QString::number(n); }
    // One line of the log: the parts with blanks between, flags as 1 and 0.
    template <class... T> static QString Words(const T &...parts)
    {
        return QStringList { Part(parts)... }.join(QLatin1Char(' '));
    }
    template <class R = bool> R Logged(const QString &line, R result = true)
    {
        log->append(line);
        return result;
    }
    static KORVODBTItemsPtr NoItems() { return std::make_shared<KORVODBTItems>(); }
};

struct FakeObject : KORVODBObject, Recorder {
    QString id, name, owner;

    QString DBID() const override { return id; }
    QString Name() const override { return name; }
    QString Owner() const override { return owner; }
    KORVODBTItemsPtr GetItemInfo(bool o, bool x, bool n) override
    {
        return Logged(Words("object", id, "GetItemInfo", o, x, n), NoItems());
    }
    KORVODBTItemPtr Refresh(bool) override { return nullptr; }
    KORVOContextMenu GetContextMenu(bool) override { return {}; }
    std::shared_ptr<KORVOFields> GetFields(bool) override { return nullptr; }
    KORVODBTItemsPtr GetPermissionItems(int s) override
    {
        return Logged(Words("object", id, "GetPermissionItems", s), NoItems());
    }
};

struct FakeCollection : StubCollection, Recorder {
    using StubCollection::StubCollection;
    QString display;
    bool root = true, editable = true;
    QMap<QString, std::shared_ptr<FakeObject>> objects; // by DBID
    int steps = 0; // RefreshList raises the positions 0..steps, stopping when cancelled
    std::shared_ptr<KORVOSQL> sql;

    QString Bare(const QString &key) const { return objects.contains(key) ? key : key.mid(1); }
    QString ObjectDisplayName() const override { return display; }
    QString SubObjectType() const override { return ObjectType().chopped(1); }
    QString SubObjectDisplayName() const override { return display.chopped(1); }
    bool IsRootNode() const override { return root; }
    bool IsEditable() const override { return editable; }
    void RefreshList(bool &cancel) override
    {
        Logged(Words(ObjectType(), "RefreshList"));
        for (int i = 0; i <= steps && !cancel; ++i)
            RaiseRetrieveStatusChange(i, steps, cancel);
        if (!cancel)
            RaiseCompletedCurrentStatus();
    }
    KORVODBObjectPtr Item(const QString &key, bool deleted, bool) override
    {
        Logged(Words(ObjectType(), "Item", key) + (deleted ? " deleted" : ""));
        return objects.value(Bare(key));
    }
    bool ObjectIsOfThisType(const QString &key) override { return objects.contains(Bare(key)); }
    KORVODBTItemsPtr GetItemInfo(bool showOwner, const KORVODBObjectPtr &table) override
    {
        Logged(Words(ObjectType(), "GetItemInfo", showOwner, table ? table->DBID() : "-"));
        bool cancel = false;
        RaiseAddingStatusChange(0, objects.size(), cancel);
        if (cancel)
            return nullptr;
        auto items = std::make_shared<KORVODBTItems>();
        for (const auto &o : std::as_const(objects))
            items->Add("I" + o->id)->Text = o->name;
        RaiseCompletedCurrentStatus();
        return items;
    }
    KORVODBObjectPtr newItem() override
    {
        return Logged(Words(ObjectType(), "newItem"), std::make_shared<FakeObject>());
    }
    bool RenameItem(const QString &k, const QString &to) override
    {
        return Logged(Words(ObjectType(), "RenameItem", k, to));
    }
    KORVODBTItemsPtr GetDeletedItems(bool) override
    {
        auto items = std::make_shared<KORVODBTItems>();
        items->Add("I9" + ObjectType());
        return items;
    }
    bool UnDeleteObject(const QString &key) override { return Logged(Words(ObjectType(), "UnDeleteObject", key)); }
    void SetActiveDBConnection(const std::shared_ptr<KORVOSQL> &c) override { sql = c; }
};

struct FakeFactory : KORVOCollectionFactory {
    QStringList log;
    QList<std::shared_ptr<FakeCollection>> made;

    KORVOObjectCollectionPtr Create(Kind kind) override
    {
        static const char *const names[][2] = { { "StoredProcedures", "Stored Procedures" }, { "Tables", "Tables" },
            { "UserDefinedFunctions", "User Defined Functions" }, { "Views", "Views" }, { "Triggers", "Triggers" } };
        auto c = std::make_shared<FakeCollection>(QLatin1String(names[int(kind)][0]));
        c->display = QLatin1String(names[int(kind)][1]);
        c->root = kind != Kind::Triggers;
        c->editable = kind != Kind::Tables;
        c->log = &log;
        made << c;
        return c;
    }
    void Link(const KORVOObjectCollectionPtr &, const KORVOObjectCollectionPtr &) override { }
    std::shared_ptr<FakeCollection> last(const QString &type) const
    {
        for (auto it = made.crbegin(); it != made.crend(); ++it) {
            if ((*it)->ObjectType() == type)
                return *it;
        }
        return nullptr;
    }
    void addObject(const char *type, const char *id, const char *name, const char *owner = "dbo")
    {
        auto o = std::make_shared<FakeObject>();
        o->id = QLatin1String(id);
        o->name = QLatin1String(name);
        o->owner = QLatin1String(owner);
        o->log = &log;
        last(QLatin1String(type))->objects.insert(o->id, o);
    }
};

struct RecordingListener : KORVOSessionListener {
    QStringList events;
    int cancelAt = -1;
    void Note(const char *what, const QString &t, const QString &d, long p, long n, bool &cancel)
    {
        events << QStringLiteral("%1 %2|%3|%4/%5").arg(QLatin1String(what), t, d).arg(p).arg(n);
        cancel = cancel || p == cancelAt;
    }
    void RetrieveStatusChange(const QString &t, const QString &d, long p, long n, bool &cancel) override
    {
        Note("retrieve", t, d, p, n, cancel);
    }
    void AddingStatusChange(const QString &t, const QString &d, long p, long n, bool &cancel) override
    {
        Note("adding", t, d, p, n, cancel);
    }
    void CompletedCurrentStatus(const QString &t, const QString &d) override { events << "completed " + t + "|" + d; }
};

struct RecordingMainWindow : KORVOMainWindow, Recorder {
    void Init(KORVODatabase *) override { *log << "main Init"; }
    void SetLoading(bool l) override { *log << Recorder::Words("main Loading", l); }
    void Hide() override { *log << "main Hide"; }
    void Show() override { *log << "main Show"; }
    void SetCaption(const QString &c) override { *log << "main Caption " + c; }
    void InitDBT(long w) override { *log << Recorder::Words("main InitDBT", w); }
    void SetHeightTwips(long h) override { *log << Recorder::Words("main Height", h); }
    void SetWidthTwips(long w) override { *log << Recorder::Words("main Width", w); }
    void SetWindowState(long s) override { *log << Recorder::Words("main State", s); }
    void SetDatabaseTreeVisible(bool v) override { *log << Recorder::Words("main DBTVisible", v); }
    void SetExtraPanelVisible(bool v) override { *log << Recorder::Words("main ExtraVisible", v); }
    void doTrmResize() override { *log << "main doTrmResize"; }
    void CheckProjectSyncInfo() override { *log << "main CheckProjectSyncInfo"; }
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
    void Store(const QString &name, const QString &value)
    {
        QSettings(settingsFile(), QSettings::IniFormat).setValue(name, value);
    }

private Q_SLOTS:
    void init()
    {
        QFile::remove(settingsFile());
        mFactory = std::make_shared<FakeFactory>();
        mMainLog.clear();
        auto makeMain = [this] {
            auto w = std::make_unique<RecordingMainWindow>();
            w->log = &mMainLog;
            mMainLog << "main created";
            return w;
        };
        mDb = std::make_unique<KORVODatabase>(mUi, mFactory, makeMain, settingsFile());
        mFactory->addObject("StoredProcedures", "1", "usp_a");
        mFactory->addObject("Tables", "5", "orders", "sales");
        mFactory->addObject("Triggers", "7", "trg_orders");
        mFactory->log.clear();
    }

    void getItemInfoDispatch_data()
    {
        QTest::addColumn<QString>("tag");
        QTest::addColumn<QString>("key");
        QTest::addColumn<int>("ownerInName");
        QTest::addColumn<int>("ownerInProp");
        QTest::addColumn<QStringList>("expected");
        auto row = [](const char *name, const char *tag, const char *key, int inName, int inProp, QStringList log) {
            QTest::newRow(name) << tag << key << inName << inProp << log;
        };
        row("folder uses ShowOwnerNameInName", "StoredProcedures", "StoredProcedures", 1, 0,
            { "StoredProcedures GetItemInfo 1 -" });
        row("editable object uses ShowOwnerNameInProp", "StoredProcedure", "I1", 1, 0,
            { "StoredProcedures Item I1", "object 1 GetItemInfo 0 1 1" });
        row("table gets the owner flag only", "Table", "I5", 0, 1, { "Tables Item I5", "object 5 GetItemInfo 1 0 0" });
        row("permission folder", "Permission", "P1", 0, 0,
            { "StoredProcedures Item P1", "object 1 GetPermissionItems 2" });
        row("unknown tag", "Nothing", "I1", 1, 1, {});
    }

    void getItemInfoDispatch()
    {
        QFETCH(QString, tag);
        QFETCH(QString, key);
        QFETCH(int, ownerInName);
        QFETCH(int, ownerInProp);
        QFETCH(QStringList, expected);
        Store(QStringLiteral("ItemOwnerName"), QString::number(ownerInName));
        Store(QStringLiteral("ItemPropOwnerName"), QString::number(ownerInProp));
        Store(QStringLiteral("ShowPermissionsInDBT"), QStringLiteral("2"));
        QVERIFY(mDb->GetItemInfo(tag, key, true, true));
        QCOMPARE(mFactory->log, expected);
    }

    void statusEventsCarryTypeAndCancel()
    {
        RecordingListener listener;
        listener.cancelAt = 1;
        mDb->SetListener(&listener);
        mFactory->last(QStringLiteral("Views"))->steps = 3;
        QCOMPARE(mDb->GetObjectObjects(QStringLiteral("Views"))->ObjectType(), "Views");
        // The cancel set at position 1 ends the loop before CompletedCurrentStatus.
        QCOMPARE(listener.events, QStringList({ "retrieve Views|Views|0/3", "retrieve Views|Views|1/3" }));

        listener.events.clear();
        listener.cancelAt = -1;
        const QString procs = QStringLiteral("StoredProcedures");
        QCOMPARE(mDb->GetItemInfo(procs, procs)->Count(), 1);
        QCOMPARE(listener.events,
            QStringList(
                { "adding StoredProcedures|Stored Procedures|0/1", "completed StoredProcedures|Stored Procedures" }));

        // A cancel while adding gives an empty list, not a partial one.
        listener.cancelAt = 0;
        const auto items = mDb->GetItemInfo(procs, procs);
        QVERIFY(items);
        QCOMPARE(items->Count(), 0);
        mDb->SetListener(nullptr);
    }

    // Calls go to the collection the type names; what the session answers when
    // no collection or object fits. (The real collections' answers are in
    // test_session_objects.)
    void dispatchByType()
    {
        QVERIFY(mDb->RenameItem(QStringLiteral("View"), QStringLiteral("I3"), QStringLiteral("v2")));
        QVERIFY(mDb->UnDeleteItem(QStringLiteral("Trigger"), QStringLiteral("I7")));
        QVERIFY(mDb->NewItemOfType(QStringLiteral("UserDefinedFunction")));
        bool fromDeleted = true;
        mDb->GetObject(QStringLiteral("View"), QStringLiteral("I3"), fromDeleted);
        QCOMPARE(mFactory->log,
            QStringList({ "Views RenameItem I3 v2", "Triggers UnDeleteObject I7", "UserDefinedFunctions newItem",
                "Views Item I3 deleted" }));
        QCOMPARE(mDb->GetObjectSubDisplayName(QStringLiteral("View")), "View");
        // A folder's type is not an object's type.
        QVERIFY(!mDb->RenameItem(QStringLiteral("Views"), QStringLiteral("I3"), QStringLiteral("v2")));
        QVERIFY(!mDb->NewItemOfType(QStringLiteral("Nothing")));
        QCOMPARE(mDb->GetObjectSubDisplayName(QStringLiteral("Nothing")), QString());
        QVERIFY(!mDb->RefreshItem(QStringLiteral("Nothing"), QStringLiteral("I1")));
        QCOMPARE(mDb->GetObjectType(QStringLiteral("I99")), QString());
        QVERIFY(!mDb->CanOpenObject(QStringLiteral("View"), QStringLiteral("I1")));
        QCOMPARE(mDb->GetContextMenu(QStringLiteral("Unknown"), QStringLiteral("I1")), KORVOContextMenu {});

        QString owner = QStringLiteral("x"), name = QStringLiteral("y");
        bool ok = true;
        mDb->GetTableName({}, QStringLiteral("I1"), owner, name, ok);
        QVERIFY(!ok);
        QVERIFY(owner.isEmpty() && name.isEmpty());
    }

    void itemLists()
    {
        const auto rows = [](const KORVODBTItemsPtr &items) {
            QStringList out;
            for (const auto &i : *items)
                out << i->Key + "=" + i->Text;
            return out;
        };
        const QStringList sync = rows(mDb->GetItemsForSyncronisation());
        QCOMPARE(sync,
            QStringList({ "StoredProcedures=Stored Procedures", "UserDefinedFunctions=User Defined Functions",
                "Views=Views", "Triggers=Triggers" }));
        QCOMPARE(rows(mDb->GetItemsForDocGen()), sync);
        QCOMPARE(rows(mDb->GetItemsForScriptGen()), sync);

        QCOMPARE(mDb->GetObjectsForUndeleteing(QString()).size(), 4);
        const auto views = mDb->GetObjectsForUndeleteing(QStringLiteral("Views"));
        QCOMPARE(views.size(), 1);
        QCOMPARE(views.first()->FirstChild()->Key, "I9Views");
        QVERIFY(mDb->GetObjectsForUndeleteing(QStringLiteral("Tables")).isEmpty());
    }

    void openProjectDrivesTheMainWindow()
    {
        Store(QStringLiteral("WinState"), QStringLiteral("2"));
        Store(QStringLiteral("DatabaseList"), QStringLiteral("0"));
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
            QStringList(
                { "main created", "main Loading 1", "main Init", "main Caption Demo - KORVO", "main InitDBT 2865",
                    "main Height 8580", "main Width 10320", "main State 2", "main DBTVisible 0", "main ExtraVisible 1",
                    "main Loading 0", "main Show", "main doTrmResize", "main CheckProjectSyncInfo" }));

        // A second opening hides the existing window instead of making another.
        mMainLog.clear();
        mDb->OpenProject(project, ok);
        QCOMPARE(mMainLog.mid(0, 3), QStringList({ "main Loading 1", "main Hide", "main Caption Demo - KORVO" }));
        QVERIFY(!mMainLog.contains(QStringLiteral("main created")));
        // Opening wrote nothing to the store for a project that is already first.
        QVERIFY(QSettings(settingsFile(), QSettings::IniFormat).childGroups().isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestSession)
#include "test_session.moc"
