// The project store read back through QSettings, the project list, and the
// shared "SyncHistory" of a source-control project.
#include "KORVODatabase.h"
#include "KORVOProject.h"
#include "KORVOProjects.h"
#include "KORVOSQL.h"
#include "KORVOVSS.h"
#include "ScriptedUi.h"
#include "StubCollections.h"
#include "SvnFixtures.h"

#include <QDir>
#include <QRegularExpression>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

class TestProjects : public QObject
{
    Q_OBJECT

private:
    ScriptedUi mUi;
    std::unique_ptr<QTemporaryDir> mDir, mStoreDir;
    QString mFile;
    std::unique_ptr<KORVODatabase> mDb;

    std::unique_ptr<QSettings> Store() const { return std::make_unique<QSettings>(mFile, QSettings::IniFormat); }

    KORVOProjectPtr MakeProject(const QString &name, const QString &server = QStringLiteral("srv"))
    {
        auto p = std::make_shared<KORVOProject>(mUi);
        p->Name = name;
        p->SQL()->SetServer(server);
        p->SQL()->SetDatabase(name + QStringLiteral("_db"));
        p->SQL()->SetUserName(QStringLiteral("sa"));
        p->VSS()->IniFile = QStringLiteral("/vss/") + name + QStringLiteral("/srcsafe.ini");
        p->VSS()->UserName = QStringLiteral("dev");
        p->VSS()->Project = QStringLiteral("$\\") + name + QStringLiteral("\\");
        p->VSS()->SetGeneralWorkingFolder(QStringLiteral("/work/") + name);
        return p;
    }

    // Saves new projects named in order; they become keys 1, 2, ...
    void SaveNamed(const QStringList &names)
    {
        for (const QString &n : names)
            mDb->SaveProject(MakeProject(n));
    }

    // The names of keys 1..n as stored, "-" for a missing key.
    QStringList KeyNames(int n) const
    {
        auto s = Store();
        QStringList names;
        for (int i = 1; i <= n; ++i) {
            const QString key = QString::number(i) + QStringLiteral("/PrjName");
            names << (s->contains(key) ? s->value(key).toString() : QStringLiteral("-"));
        }
        return names;
    }

private Q_SLOTS:
    void init()
    {
        mUi.clear();
        const QString root = qEnvironmentVariable("KORVO_TEST_TMP", QDir::tempPath());
        QDir().mkpath(root);
        mDir = std::make_unique<QTemporaryDir>(root + QStringLiteral("/projects-XXXXXX"));
        QVERIFY(mDir->isValid());
        // Every stored value is synced to disk on its own; memory-backed files
        // keep the many writes of these tests quick.
        mStoreDir = std::make_unique<QTemporaryDir>(QDir(QStringLiteral("/dev/shm")).exists()
                ? QStringLiteral("/dev/shm/korvo-projects-XXXXXX")
                : mDir->filePath(QStringLiteral("store-XXXXXX")));
        QVERIFY(mStoreDir->isValid());
        mFile = mStoreDir->filePath(QStringLiteral("settings.ini"));
        mDb = std::make_unique<KORVODatabase>(
            mUi, std::make_shared<StubCollectionFactory>(), [] { return std::make_unique<StubMainWindow>(); }, mFile);
    }

    void cleanup()
    {
        mDb.reset();
        QCOMPARE(mUi.pending(), 0);
    }

    // --- The list ---------------------------------------------------------

    void listIsKeyedByNameWithoutCase()
    {
        KORVOProjects list(&mUi);
        QVERIFY(list.Add(QStringLiteral("Alpha")));
        QVERIFY(list.Add(QString(), MakeProject(QStringLiteral("Beta"))));
        QVERIFY(!list.Add(QStringLiteral("ALPHA"))); // a second project of one name
        QCOMPARE(list.Count(), 2);
        QCOMPARE(list.Item(QStringLiteral("beta"))->Name, QStringLiteral("Beta"));
        QCOMPARE(list.Item(QStringLiteral("alpha"))->Sequence, -1L);
        QVERIFY(!list.Item(QStringLiteral("Gamma")));
    }

    void changeProjectNameKeepsThePlace()
    {
        KORVOProjects list(&mUi);
        for (const char *n : { "A", "B", "C" })
            list.Add(QString::fromLatin1(n));
        QVERIFY(list.ChangeProjectName(QStringLiteral("B"), QStringLiteral("Bee")));
        QVERIFY(!list.ChangeProjectName(QStringLiteral("A"), QStringLiteral("c"))); // taken by another
        QVERIFY(list.ChangeProjectName(QStringLiteral("A"), QStringLiteral("a"))); // its own name in other case
        QStringList order;
        for (const auto &p : list)
            order << p->Name;
        QCOMPARE(order, (QStringList { "a", "Bee", "C" }));
        QVERIFY(!list.Item(QStringLiteral("B")));
    }

    void sortBySequence_data()
    {
        QTest::addColumn<QList<int>>("sequences");
        QTest::addColumn<QList<int>>("sorted");
        QTest::newRow("reversed") << QList<int> { 3, 2, 1 } << QList<int> { 1, 2, 3 };
        QTest::newRow("gaps beyond the count") << QList<int> { 12, 1, 5 } << QList<int> { 1, 5, 12 };
        QTest::newRow("same number, later wins") << QList<int> { 2, 1, 2 } << QList<int> { 1, 2 };
        QTest::newRow("unsaved at the end") << QList<int> { -1, 2, 1 } << QList<int> { 1, 2, -1 };
    }

    void sortBySequence()
    {
        QFETCH(QList<int>, sequences);
        QFETCH(QList<int>, sorted);
        KORVOProjects list(&mUi);
        for (int i = 0; i < sequences.size(); ++i)
            list.Add(QStringLiteral("P%1").arg(i))->Sequence = sequences.at(i);
        list.SortBySequence();
        QList<int> got;
        for (const auto &p : list)
            got << int(p->Sequence);
        QCOMPARE(got, sorted);
        if (sequences == QList<int> { 2, 1, 2 })
            QCOMPARE(list.Item(2)->Name, QStringLiteral("P2"));
    }

    // --- The store ----------------------------------------------------------

    void firstSavedProjectBecomesKeyOne()
    {
        QCOMPARE(mDb->GetRegistryProjectCount(), 0L);
        auto p = MakeProject(QStringLiteral("First"));
        QCOMPARE(p->Sequence, -1L);
        mDb->SaveProject(p);
        QCOMPARE(p->Sequence, 1L);
        mDb->SaveProject(MakeProject(QStringLiteral("Second")));
        QCOMPARE(KeyNames(3), (QStringList { "First", "Second", "-" }));
        QCOMPARE(mDb->GetRegistryProjectCount(), 2L);
    }

    void savedLayoutValueByValue()
    {
        auto p = MakeProject(QStringLiteral("Shop"), QStringLiteral("db1"));
        p->SQL()->SetUseWinNTAuth(false);
        p->SQL()->SetUserName(QStringLiteral("loginA"));
        p->SQL()->SetPassword(QStringLiteral("pw,1"));
        p->SQL()->SetStorePassword(true);
        p->VSS()->Password = QStringLiteral("vss pw");
        p->VSS()->StorePassword = false;
        p->Default = true;
        mDb->SaveProject(p);

        auto s = Store();
        s->beginGroup(QStringLiteral("1"));
        const QList<QPair<QString, QString>> expected {
            { "PrjName", "Shop" },
            { "LastServer", "db1" },
            { "LastDatabase", "Shop_db" },
            { "SQLUseWinAuth", "0" },
            { "LastUserName", "loginA" },
            { "Password", "pw,1" },
            { "SavePassword", "1" },
            { "VSSFile", "/vss/Shop/srcsafe.ini" },
            { "VSSUser", "dev" },
            { "VSSPassword", "vss pw" },
            { "VSSProject", "$\\Shop\\" },
            { "VSSSavePassword", "0" },
            { "PathInit", "/work/Shop/" },
            { "ServerKind", "SQLServer" },
        };
        for (const auto &[name, value] : expected)
            QCOMPARE(s->value(name).toString(), value);
        // Default lives in memory only.
        QCOMPARE(s->childKeys().size(), expected.size());
    }

    void passwordCountsOnlyWithItsFlag_data()
    {
        QTest::addColumn<bool>("sqlFlag");
        QTest::addColumn<bool>("vssFlag");
        QTest::newRow("both stored") << true << true;
        QTest::newRow("none stored") << false << false;
        QTest::newRow("only SQL") << true << false;
        QTest::newRow("only VSS") << false << true;
    }

    void passwordCountsOnlyWithItsFlag()
    {
        QFETCH(bool, sqlFlag);
        QFETCH(bool, vssFlag);
        auto p = MakeProject(QStringLiteral("Secret"));
        p->SQL()->SetPassword(QStringLiteral("sqlpw"));
        p->SQL()->SetStorePassword(sqlFlag);
        p->VSS()->Password = QStringLiteral("vsspw");
        p->VSS()->StorePassword = vssFlag;
        mDb->SaveProject(p);
        // The text is written whatever the flag says...
        QCOMPARE(Store()->value(QStringLiteral("1/Password")).toString(), QStringLiteral("sqlpw"));
        QCOMPARE(Store()->value(QStringLiteral("1/VSSPassword")).toString(), QStringLiteral("vsspw"));
        // ...and read only when the flag says so.
        auto loaded = mDb->FindProjectByID(1);
        QVERIFY(loaded);
        QCOMPARE(loaded->SQL()->Password(), sqlFlag ? QStringLiteral("sqlpw") : QString());
        QCOMPARE(loaded->SQL()->StorePassword(), sqlFlag);
        QCOMPARE(loaded->VSS()->Password, vssFlag ? QStringLiteral("vsspw") : QString());
        QCOMPARE(loaded->VSS()->StorePassword, vssFlag);
    }

    void loadReadsEveryValue()
    {
        auto s = Store();
        s->beginGroup(QStringLiteral("4"));
        s->setValue(QStringLiteral("PrjName"), QStringLiteral("Hand made"));
        s->setValue(QStringLiteral("LastServer"), QStringLiteral("/run/pg"));
        s->setValue(QStringLiteral("LastDatabase"), QStringLiteral("shop"));
        s->setValue(QStringLiteral("SQLUseWinAuth"), QStringLiteral("1"));
        s->setValue(QStringLiteral("LastUserName"), QStringLiteral("(Windows authentication)"));
        s->setValue(QStringLiteral("SavePassword"), QStringLiteral("true")); // only "1" counts
        s->setValue(QStringLiteral("Password"), QStringLiteral("x"));
        s->setValue(QStringLiteral("VSSFile"), QStringLiteral("file:///repo"));
        s->setValue(QStringLiteral("VSSUser"), QStringLiteral("me"));
        s->setValue(QStringLiteral("VSSProject"), QStringLiteral("$\\A\\"));
        s->setValue(QStringLiteral("PathInit"), QStringLiteral("/w"));
        s->setValue(QStringLiteral("ServerKind"), QStringLiteral("PostgreSQL"));
        s->endGroup();
        s->sync();

        auto p = mDb->FindProjectByID(4);
        QVERIFY(p);
        QCOMPARE(p->Name, QStringLiteral("Hand made"));
        QCOMPARE(p->Sequence, 4L);
        QVERIFY(!p->Default);
        QCOMPARE(p->SQL()->Server(), QStringLiteral("/run/pg"));
        QCOMPARE(p->SQL()->Database(), QStringLiteral("shop"));
        QVERIFY(p->SQL()->UseWinNTAuth());
        QVERIFY(!p->SQL()->StorePassword());
        QCOMPARE(p->SQL()->Password(), QString());
        QCOMPARE(p->SQL()->Kind().Name(), QStringLiteral("PostgreSQL"));
        QCOMPARE(p->VSS()->IniFile, QStringLiteral("file:///repo"));
        QCOMPARE(p->VSS()->UserName, QStringLiteral("me"));
        QCOMPARE(p->VSS()->Project, QStringLiteral("$\\A\\"));
        QCOMPARE(p->VSS()->GeneralWorkingFolder(), QDir::toNativeSeparators(QStringLiteral("/w/")));
        QVERIFY(!mDb->FindProjectByID(5));
    }

    void serverKindRoundTrip_data()
    {
        QTest::addColumn<QString>("stored");
        QTest::addColumn<QString>("kind");
        QTest::newRow("absent") << QString() << QStringLiteral("SQLServer");
        QTest::newRow("PostgreSQL") << QStringLiteral("PostgreSQL") << QStringLiteral("PostgreSQL");
        QTest::newRow("unknown") << QStringLiteral("Oracle") << QStringLiteral("SQLServer");
    }

    void serverKindRoundTrip()
    {
        QFETCH(QString, stored);
        QFETCH(QString, kind);
        SaveNamed({ QStringLiteral("K") });
        {
            auto s = Store();
            if (stored.isEmpty())
                s->remove(QStringLiteral("1/ServerKind"));
            else
                s->setValue(QStringLiteral("1/ServerKind"), stored);
        }
        auto p = mDb->FindProjectByID(1);
        QCOMPARE(p->SQL()->Kind().Name(), kind);
        mDb->SaveProject(p);
        QCOMPARE(Store()->value(QStringLiteral("1/ServerKind")).toString(), kind);
    }

    void defaultProject_data()
    {
        QTest::addColumn<QString>("projectToOpen");
        QTest::addColumn<QString>("expected");
        QTest::newRow("on") << QStringLiteral("1") << QStringLiteral("One");
        QTest::newRow("set by hand") << QStringLiteral("2") << QStringLiteral("Two");
        QTest::newRow("off") << QStringLiteral("0") << QString();
        QTest::newRow("not numeric") << QStringLiteral("yes") << QString();
        QTest::newRow("missing key") << QStringLiteral("3") << QString();
        QTest::newRow("absent") << QString() << QString();
    }

    void defaultProject()
    {
        QFETCH(QString, projectToOpen);
        QFETCH(QString, expected);
        SaveNamed({ QStringLiteral("One"), QStringLiteral("Two") });
        if (!projectToOpen.isNull())
            Store()->setValue(QStringLiteral("ProjectToOpen"), projectToOpen);
        auto p = mDb->GetDefaultProject();
        QCOMPARE(p ? p->Name : QString(), expected);
        if (p)
            QVERIFY(p->Default);
        const auto all = mDb->FindAllProjects(true, true);
        for (const auto &q : *all)
            QVERIFY(!q->Default);
    }

    void countTakesOnlyNumberedProjects()
    {
        SaveNamed({ QStringLiteral("A"), QStringLiteral("B") });
        auto s = Store();
        s->setValue(QStringLiteral("5/PrjName"), QStringLiteral("Far"));
        s->setValue(QStringLiteral("9.1/PrjName"), QStringLiteral("Dotted"));
        s->setValue(QStringLiteral("x12/PrjName"), QStringLiteral("Named"));
        s->setValue(QStringLiteral("7/LastServer"), QStringLiteral("no name"));
        s->setValue(QStringLiteral("8/PrjName"), QStringLiteral("   "));
        s->sync();
        QCOMPARE(mDb->GetRegistryProjectCount(), 5L);
        // A gap made by hand is tolerated by the list too.
        QStringList names;
        const auto all = mDb->FindAllProjects(true, true);
        for (const auto &p : *all)
            names << p->Name + QLatin1Char('@') + QString::number(p->Sequence);
        QCOMPARE(names, (QStringList { "A@1", "B@2", "Far@5", "   @8" }));
    }

    void projectNameExists_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("oldName");
        QTest::addColumn<bool>("exists");
        QTest::newRow("keeps its name") << "Alpha"
                                        << "Alpha" << false;
        QTest::newRow("only the case changes") << "ALPHA"
                                               << "Alpha" << true;
        QTest::newRow("another's name in other case") << "beta"
                                                      << "Alpha" << true;
        QTest::newRow("new and unique") << "Gamma"
                                        << "" << false;
        QTest::newRow("new, name taken") << "alpha"
                                         << "" << true;
    }

    void projectNameExists()
    {
        QFETCH(QString, name);
        QFETCH(QString, oldName);
        QFETCH(bool, exists);
        SaveNamed({ QStringLiteral("Alpha"), QStringLiteral("Beta") });
        QCOMPARE(mDb->ProjectNameExists(name, oldName), exists);
    }

    void removeRenumbersWithoutGaps_data()
    {
        QTest::addColumn<int>("removed");
        QTest::addColumn<QStringList>("after");
        QTest::newRow("2 of 3") << 2 << QStringList { "P1", "P3", "-" };
        QTest::newRow("1 of 3") << 1 << QStringList { "P2", "P3", "-" };
        QTest::newRow("last") << 3 << QStringList { "P1", "P2", "-" };
    }

    void removeRenumbersWithoutGaps()
    {
        QFETCH(int, removed);
        QFETCH(QStringList, after);
        SaveNamed({ QStringLiteral("P1"), QStringLiteral("P2"), QStringLiteral("P3") });
        mDb->RemoveProject(mDb->FindProjectByID(removed));
        QCOMPARE(KeyNames(3), after);
        // The moved project took all its values along.
        if (removed == 2) {
            QCOMPARE(Store()->value(QStringLiteral("2/LastDatabase")).toString(), QStringLiteral("P3_db"));
            QCOMPARE(Store()->value(QStringLiteral("2/VSSProject")).toString(), QStringLiteral("$\\P3\\"));
        }
        QVERIFY(!Store()->childGroups().contains(QStringLiteral("3")));
    }

    void openingRotatesTheRecentKeys_data()
    {
        QTest::addColumn<int>("opened");
        QTest::addColumn<QStringList>("after");
        QTest::newRow("3 of 3") << 3 << QStringList { "P3", "P1", "P2", "P4" };
        QTest::newRow("2 of 4") << 2 << QStringList { "P2", "P1", "P3", "P4" };
        QTest::newRow("1 stays") << 1 << QStringList { "P1", "P2", "P3", "P4" };
    }

    void openingRotatesTheRecentKeys()
    {
        QFETCH(int, opened);
        QFETCH(QStringList, after);
        SaveNamed({ QStringLiteral("P1"), QStringLiteral("P2"), QStringLiteral("P3"), QStringLiteral("P4") });
        const QByteArray before = [this] {
            QFile f(mFile);
            f.open(QIODevice::ReadOnly);
            return f.readAll();
        }();
        auto p = mDb->FindProjectByID(opened);
        bool ok = false;
        mDb->OpenProject(p, ok);
        QVERIFY(ok);
        QCOMPARE(KeyNames(4), after);
        QCOMPARE(Store()->value(QStringLiteral("1/LastDatabase")).toString(), after.first() + QStringLiteral("_db"));
        // The session's object keeps the number it was opened with.
        QCOMPARE(p->Sequence, long(opened));
        if (opened == 1) {
            QFile f(mFile);
            f.open(QIODevice::ReadOnly);
            QCOMPARE(f.readAll(), before);
        }
    }

    void mostRecentNames()
    {
        SaveNamed({ "P1", "P2", "P3", "P4", "P5" });
        QCOMPARE(mDb->GetMostRecentProject(), (QStringList { "", "P1", "P2", "P3", "P4" }));
        mDb->RemoveProject(mDb->FindProjectByID(1));
        mDb->RemoveProject(mDb->FindProjectByID(1));
        QCOMPARE(mDb->GetMostRecentProject(), (QStringList { "", "P3", "P4", "P5" }));
    }

    // --- The shared synchronisation history ---------------------------------

    void syncHistory()
    {
        SvnTestRepository repo;
        QVERIFY(repo.IsValid());
        QVERIFY(repo.MakeFolders({ QStringLiteral("Shop") }));
        auto p = MakeProject(QStringLiteral("Shop"));
        // A closed connection counts as never synchronised.
        QVERIFY(p->IsFirstUserToConnect());
        const QString error = p->VSS()->OpenConnection(repo.Url(), QStringLiteral("anna"), QString(),
            QStringLiteral("$\\Shop\\"), repo.Folder(QStringLiteral("wf")), false, true);
        QCOMPARE(error, QString());
        QVERIFY(p->IsFirstUserToConnect());

        p->ProjectWasSyncronized(QStringLiteral("NoSyncWanted"));
        QVERIFY(!p->IsFirstUserToConnect());
        p->ProjectWasSyncronized(QStringLiteral("Synchronization"));

        const QString history = p->VSS()->ItemContent(QStringLiteral("SyncHistory"), false, -1, false, false);
        const QStringList lines = history.split(QStringLiteral("\r\n"));
        QCOMPARE(lines.size(), 3);
        QCOMPARE(lines.at(2), QString());
        const QRegularExpression line(QStringLiteral("^(\\w+): \\d\\d\\.\\d\\d\\.\\d{4} \\d\\d:\\d\\d:\\d\\d - anna$"));
        QCOMPARE(line.match(lines.at(0)).captured(1), QStringLiteral("Synchronization"));
        QCOMPARE(line.match(lines.at(1)).captured(1), QStringLiteral("NoSyncWanted"));
        // Released again: nobody is left holding the item.
        QCOMPARE(p->VSS()->CheckOutStatus(QStringLiteral("SyncHistory")), 0);

        // Another user of the project sees the shared answer.
        auto other = MakeProject(QStringLiteral("Shop"));
        QCOMPARE(other->VSS()->OpenConnection(repo.Url(), QStringLiteral("ben"), QString(), QStringLiteral("$\\Shop\\"),
                     repo.Folder(QStringLiteral("wf2")), false, true),
            QString());
        QVERIFY(!other->IsFirstUserToConnect());
    }

    void emptySyncHistoryCountsAsNone()
    {
        SvnTestRepository repo;
        QVERIFY(repo.MakeFolders({ QStringLiteral("P") }));
        auto p = MakeProject(QStringLiteral("P"));
        QCOMPARE(p->VSS()->OpenConnection(repo.Url(), QStringLiteral("anna"), QString(), QStringLiteral("$\\P\\"),
                     repo.Folder(QStringLiteral("wf")), false, true),
            QString());
        QVERIFY(p->VSS()->AddItem(QStringLiteral("SyncHistory"), QString(), false, QString()));
        QVERIFY(p->VSS()->ItemExists(QStringLiteral("SyncHistory"), false));
        QVERIFY(p->IsFirstUserToConnect());
    }
};

QTEST_GUILESS_MAIN(TestProjects)
#include "test_projects.moc"
