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
#include <QFile>
#include <QFileInfo>
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
    QString Stored(const QString &key) const { return Store()->value(key).toString(); }
    // Writes "key=value" pairs as another program would.
    void StoreValues(const QStringList &assignments)
    {
        auto s = Store();
        for (const QString &a : assignments)
            s->setValue(a.section(QLatin1Char('='), 0, 0), a.section(QLatin1Char('='), 1));
    }
    QByteArray StoreBytes() const
    {
        QFile f(mFile);
        return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
    }

    KORVOProjectPtr MakeProject(const QString &name, const QString &server = QStringLiteral("srv"))
    {
        auto p = std::make_shared<KORVOProject>(mUi);
        p->Name = name;
        p->SQL()->SetServer(server);
        p->SQL()->SetDatabase(name + "_db");
        p->SQL()->SetUserName(QStringLiteral("sa"));
        p->VSS()->IniFile = "/vss/" + name + "/srcsafe.ini";
        p->VSS()->UserName = QStringLiteral("dev");
        p->VSS()->Project = "$\\" + name + "\\";
        p->VSS()->SetGeneralWorkingFolder("/work/" + name);
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
        for (int i = 1; i <= n; ++i)
            names << s->value(QStringLiteral("%1/PrjName").arg(i), QStringLiteral("-")).toString();
        return names;
    }

    // A source-control connection of the project as the given user.
    static QString Connect(const KORVOProjectPtr &p, SvnTestRepository &repo, const char *user, const char *folder)
    {
        return p->VSS()->OpenConnection(repo.Url(), QLatin1String(user), QString(), p->VSS()->Project,
            repo.Folder(QLatin1String(folder)), false, true);
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
        QVERIFY(list.Add(QStringLiteral("C")));
        QVERIFY(!list.Add(QStringLiteral("ALPHA"))); // a second project of one name
        QCOMPARE(list.Count(), 3);
        QCOMPARE(list.Item(QStringLiteral("beta"))->Name, "Beta");
        QCOMPARE(list.Item(QStringLiteral("alpha"))->Sequence, -1L);
        QVERIFY(!list.Item(QStringLiteral("Gamma")));

        // A new name keeps the project's place.
        QVERIFY(list.ChangeProjectName(QStringLiteral("Beta"), QStringLiteral("Bee")));
        QVERIFY(!list.ChangeProjectName(QStringLiteral("Alpha"), QStringLiteral("c"))); // taken by another
        QVERIFY(list.ChangeProjectName(QStringLiteral("Alpha"), QStringLiteral("alpha"))); // its own in other case
        QStringList order;
        for (const auto &p : list)
            order << p->Name;
        QCOMPARE(order, (QStringList { "alpha", "Bee", "C" }));
        QVERIFY(!list.Item(QStringLiteral("Beta")));
    }

    void sortBySequence_data()
    {
        QTest::addColumn<QList<int>>("sequences"); // of P0, P1, ...
        QTest::addColumn<QStringList>("sorted");
        QTest::newRow("reversed") << QList<int> { 3, 2, 1 } << QStringList { "P2@1", "P1@2", "P0@3" };
        QTest::newRow("gaps beyond the count") << QList<int> { 12, 1, 5 } << QStringList { "P1@1", "P2@5", "P0@12" };
        QTest::newRow("same number, later wins") << QList<int> { 2, 1, 2 } << QStringList { "P1@1", "P2@2" };
        QTest::newRow("unsaved at the end") << QList<int> { -1, 2, 1 } << QStringList { "P2@1", "P1@2", "P0@-1" };
    }

    void sortBySequence()
    {
        QFETCH(QList<int>, sequences);
        QFETCH(QStringList, sorted);
        KORVOProjects list(&mUi);
        for (int i = 0; i < sequences.size(); ++i)
            list.Add(QStringLiteral("P%1").arg(i))->Sequence = sequences.at(i);
        list.SortBySequence();
        QStringList got;
        for (const auto &p : list)
            got << p->Name + "@" + QString::number(p->Sequence);
        QCOMPARE(got, sorted);
    }

    // --- The store ----------------------------------------------------------

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
        QCOMPARE(mDb->GetRegistryProjectCount(), 0L);
        QCOMPARE(p->Sequence, -1L);
        mDb->SaveProject(p);
        QCOMPARE(p->Sequence, 1L);
        QCOMPARE(mDb->GetRegistryProjectCount(), 1L);

        auto s = Store();
        s->beginGroup(QStringLiteral("1"));
        QStringList stored;
        for (const QString &key : s->childKeys())
            stored << key + "=" + s->value(key).toString();
        // Default lives in memory only.
        QStringList expected { "PrjName=Shop", "LastServer=db1", "LastDatabase=Shop_db", "SQLUseWinAuth=0",
            "LastUserName=loginA", "Password=pw,1", "SavePassword=1", "VSSFile=/vss/Shop/srcsafe.ini", "VSSUser=dev",
            "VSSPassword=vss pw", "VSSProject=$\\Shop\\", "VSSSavePassword=0", "PathInit=/work/Shop/",
            "ServerKind=SQLServer" };
        stored.sort();
        expected.sort();
        QCOMPARE(stored, expected);
    }

    // A project read back from key 4 as another program wrote it: name@number,
    // server, database, authentication, user, password after its flag (+ or -),
    // kind, repository, user, project, working folder, password after its flag.
    void loadRules_data()
    {
        QTest::addColumn<QStringList>("stored");
        QTest::addColumn<QString>("loaded");
        const auto row = [](const char *tag, const QStringList &stored, const char *loaded) {
            QTest::newRow(tag) << stored << QString::fromLatin1(loaded);
        };
        row("every value",
            { "PrjName=Hand made", "LastServer=/run/pg", "LastDatabase=shop", "SQLUseWinAuth=1", "LastUserName=me",
                "SavePassword=true", "Password=x", "VSSFile=file:///repo", "VSSUser=me", "VSSProject=$\\A\\",
                "PathInit=/w", "ServerKind=PostgreSQL" },
            "Hand made@4|/run/pg|shop|1|me|-|PostgreSQL|file:///repo|me|$\\A\\|/w/|-");
        row("SQL password with its flag",
            { "PrjName=P", "SavePassword=1", "Password=pw", "VSSSavePassword=0", "VSSPassword=v", "PathInit=/w/" },
            "P@4|||0||+pw|SQLServer||||/w/|-");
        row("VSS password with its flag",
            { "PrjName=P", "SavePassword=0", "Password=pw", "VSSSavePassword=1", "VSSPassword=v", "PathInit=/w/" },
            "P@4|||0||-|SQLServer||||/w/|+v");
        row("unknown kind", { "PrjName=P", "ServerKind=Oracle", "PathInit=/w/" }, "P@4|||0||-|SQLServer||||/w/|-");
    }

    void loadRules()
    {
        QFETCH(QStringList, stored);
        QFETCH(QString, loaded);
        for (QString &assignment : stored)
            assignment.prepend(QStringLiteral("4/"));
        StoreValues(stored);
        const auto p = mDb->FindProjectByID(4);
        QVERIFY(p && !p->Default);
        const auto taken = [](bool flag, const QString &password) { return (flag ? "+" : "-") + password; };
        const KORVOSQL &sql = *p->SQL();
        const KORVOVSS &vss = *p->VSS();
        QCOMPARE(
            (QStringList { p->Name + "@" + QString::number(p->Sequence), sql.Server(), sql.Database(),
                 QString::number(sql.UseWinNTAuth()), sql.StoredUserName(), taken(sql.StorePassword(), sql.Password()),
                 sql.Kind().Name(), vss.IniFile, vss.UserName, vss.Project,
                 QDir::fromNativeSeparators(vss.GeneralWorkingFolder()), taken(vss.StorePassword, vss.Password) })
                .join(QLatin1Char('|')),
            loaded);
        QVERIFY(!mDb->FindProjectByID(5));
    }

    // The store keeps passwords: only the user may read it.
    void storeIsUserOnly()
    {
        auto p = MakeProject(QStringLiteral("Secret"));
        p->SQL()->SetPassword(QStringLiteral("pw"));
        mDb->SaveProject(p);
        QCOMPARE(QFile::permissions(mFile) & ~(QFile::ExeOwner | QFile::ExeUser),
            QFile::ReadOwner | QFile::WriteOwner | QFile::ReadUser | QFile::WriteUser);
    }

    // A store that cannot be read is kept aside with a warning; the program goes on with defaults.
    void damagedStoreIsKeptAside()
    {
        SaveNamed({ QStringLiteral("One") });
        mDb.reset();
        QByteArray damaged = StoreBytes() + "this line is not a setting\n\x01\xff[[\n";
        {
            QFile f(mFile);
            QVERIFY(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
            f.write(damaged);
        }
        mUi.answer(UiServices::Answer::Ok);
        mDb = std::make_unique<KORVODatabase>(
            mUi, std::make_shared<StubCollectionFactory>(), [] { return std::make_unique<StubMainWindow>(); }, mFile);
        QCOMPARE(mUi.last().icon, UiServices::Icon::Warning);
        QVERIFY2(mUi.last().text.contains(QStringLiteral("damaged")), qPrintable(mUi.last().text));
        const QStringList copies = QDir(QFileInfo(mFile).absolutePath()).entryList({ "settings.ini.damaged-*" });
        QCOMPARE(copies.size(), 1);
        QFile copy(QFileInfo(mFile).absolutePath() + QLatin1Char('/') + copies.first());
        QVERIFY(copy.open(QIODevice::ReadOnly));
        QCOMPARE(copy.readAll(), damaged);
        QVERIFY(mUi.last().text.contains(copies.first()));
        QCOMPARE(mDb->FindAllProjects(true, true)->Count(), 0);
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
        QVERIFY(!p || p->Default);
        const auto all = mDb->FindAllProjects(true, true);
        for (const auto &q : *all)
            QVERIFY(!q->Default);
    }

    void countTakesOnlyNumberedProjects()
    {
        SaveNamed({ QStringLiteral("A"), QStringLiteral("B") });
        StoreValues(
            { "5/PrjName=Far", "9.1/PrjName=Dotted", "x12/PrjName=Named", "7/LastServer=no name", "8/PrjName=   " });
        QCOMPARE(mDb->GetRegistryProjectCount(), 5L);
        // A gap made by hand is tolerated by the list too.
        QStringList names;
        const auto all = mDb->FindAllProjects(true, true);
        for (const auto &p : *all)
            names << p->Name + "@" + QString::number(p->Sequence);
        QCOMPARE(names, (QStringList { "A@1", "B@2", "Far@5", "   @8" }));
    }

    void removeRenumbersWithoutGaps_data()
    {
        QTest::addColumn<int>("removed");
        QTest::addColumn<QStringList>("after");
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
        QCOMPARE(Stored(QStringLiteral("2/LastDatabase")), after.at(1) + "_db");
        QCOMPARE(Stored(QStringLiteral("2/VSSProject")), "$\\" + after.at(1) + "\\");
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
        const QByteArray before = StoreBytes();
        auto p = mDb->FindProjectByID(opened);
        bool ok = false;
        mDb->OpenProject(p, ok);
        QVERIFY(ok);
        QCOMPARE(KeyNames(4), after);
        QCOMPARE(Stored(QStringLiteral("1/LastDatabase")), after.first() + "_db");
        // The session's object keeps the number it was opened with.
        QCOMPARE(p->Sequence, long(opened));
        if (opened == 1)
            QCOMPARE(StoreBytes(), before);
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
        QVERIFY(repo.MakeFolders({ QStringLiteral("Shop"), QStringLiteral("P") }));
        auto p = MakeProject(QStringLiteral("Shop"));
        // A closed connection counts as never synchronised.
        QVERIFY(p->IsFirstUserToConnect());
        QCOMPARE(Connect(p, repo, "anna", "wf"), QString());
        QVERIFY(p->IsFirstUserToConnect());

        p->ProjectWasSyncronized(QStringLiteral("NoSyncWanted"));
        QVERIFY(!p->IsFirstUserToConnect());
        p->ProjectWasSyncronized(QStringLiteral("Synchronization"));

        // Newest first, one line each.
        const QString date = QStringLiteral(": \\d\\d\\.\\d\\d\\.\\d{4} \\d\\d:\\d\\d:\\d\\d - anna\r\n");
        QVERIFY(QRegularExpression("^Synchronization" + date + "NoSyncWanted" + date + "$")
                    .match(p->VSS()->ItemContent(QStringLiteral("SyncHistory"), false, -1, false, false))
                    .hasMatch());
        // Released again: nobody is left holding the item.
        QCOMPARE(p->VSS()->CheckOutStatus(QStringLiteral("SyncHistory")), 0);

        // Another user of the project sees the shared answer.
        auto other = MakeProject(QStringLiteral("Shop"));
        QCOMPARE(Connect(other, repo, "ben", "wf2"), QString());
        QVERIFY(!other->IsFirstUserToConnect());

        // An empty history counts as none.
        auto empty = MakeProject(QStringLiteral("P"));
        QCOMPARE(Connect(empty, repo, "anna", "wf3"), QString());
        QVERIFY(empty->VSS()->AddItem(QStringLiteral("SyncHistory"), QString(), false, QString()));
        QVERIFY(empty->VSS()->ItemExists(QStringLiteral("SyncHistory"), false));
        QVERIFY(empty->IsFirstUserToConnect());
    }
};

QTEST_GUILESS_MAIN(TestProjects)
#include "test_projects.moc"
