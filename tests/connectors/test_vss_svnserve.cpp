// KORVOVSS against svnserve on 127.0.0.1 with two real users.
#include "KORVOVSS.h"
#include "KORVOVSSItems.h"
#include "ScriptedUi.h"
#include "SvnFixtures.h"
#include "WorkingFiles.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

namespace
{
const QString project = QStringLiteral("$\\Db\\");
}

class TestVssSvnserve : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<SvnTestRepository> mRepo;
    std::unique_ptr<SvnServe> mServer;
    std::unique_ptr<QTemporaryDir> mHome;

    std::shared_ptr<KORVOVSS> connect(ScriptedUi &ui, const QString &user, const QString &password)
    {
        auto vss = std::make_shared<KORVOVSS>(ui);
        const QString error = vss->OpenConnection(mServer->Url(QStringLiteral("repo")), user, password, project,
            mRepo->Folder(QStringLiteral("work-") + user), true, false);
        if (!error.isEmpty())
            qWarning("%s", qPrintable(error));
        return vss;
    }

private Q_SLOTS:
    void initTestCase()
    {
        // Credentials must never be written to disk: a home of our own shows it.
        mHome = std::make_unique<QTemporaryDir>(
            qEnvironmentVariable("KORVO_TEST_TMP", QDir::tempPath()) + QStringLiteral("/home-XXXXXX"));
        QVERIFY(mHome->isValid());
        qputenv("HOME", QFile::encodeName(mHome->path()));
        mRepo = std::make_unique<SvnTestRepository>();
        QVERIFY(mRepo->IsValid());
        QVERIFY(mRepo->MakeFolders({ QStringLiteral("Db") }));
        QVERIFY(mRepo->ServeUsers(
            { { QStringLiteral("alice"), QStringLiteral("pw1") }, { QStringLiteral("bob"), QStringLiteral("pw2") } }));
        mServer = std::make_unique<SvnServe>(mRepo->Root());
        QVERIFY2(mServer->IsRunning(), "svnserve did not start");
    }

    void cleanupTestCase()
    {
        QVERIFY(!QFileInfo::exists(mHome->filePath(QStringLiteral(".subversion/auth"))));
        QCOMPARE(QDir(mHome->path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot), QStringList());
        mServer.reset();
        mRepo.reset();
    }

    void exclusiveCheckOut()
    {
        ScriptedUi aliceUi, bobUi;
        auto alice = connect(aliceUi, QStringLiteral("alice"), QStringLiteral("pw1"));
        auto bob = connect(bobUi, QStringLiteral("bob"), QStringLiteral("pw2"));
        QVERIFY(alice->ConnectionOpen());
        QVERIFY(bob->ConnectionOpen());
        const QString item = QStringLiteral("100.sp");
        QVERIFY(alice->AddItem(item, QStringLiteral("v1"), false, QStringLiteral("by alice")));

        QVERIFY(alice->CheckOut(item, false));
        QCOMPARE(alice->CheckOutStatus(item), 2);
        QCOMPARE(bob->CheckOutStatus(item), 1);
        QCOMPARE(bob->Checkouts(item), QStringList { QStringLiteral("alice") });
        QCOMPARE(bob->CheckedOutBy(item), QString());
        QVERIFY(!bob->CheckOut(item, false));
        QVERIFY(!bob->CheckIn(item, QStringLiteral("bob's text"), QString(), false));
        QVERIFY(!bob->RenameItemWithNewContent(item, QStringLiteral("101.sp"), QStringLiteral("x"), QString(), false));
        // ChangeItemContent doesn't look at the status: the server refuses bob's check-out.
        bobUi.answer(UiServices::Answer::Ok);
        QVERIFY(!bob->ChangeItemContent(item, QStringLiteral("bob's text"), QString(), false));
        QCOMPARE(bobUi.boxes.size(), 1);
        QCOMPARE(bobUi.boxes[0].title, QStringLiteral("Could not change Item"));
        QCOMPARE(alice->ItemContent(item, false, -1, false, false), QStringLiteral("v1"));

        QVERIFY(alice->CheckIn(item, QStringLiteral("v2"), QStringLiteral("alice's change"), false));
        QCOMPARE(bob->CheckOutStatus(item), 0);
        QVERIFY(alice->CheckOut(item, false));
        QVERIFY(alice->UndoCheckout(item, false));
        QVERIFY(bob->CheckOut(item, false));
        QCOMPARE(alice->CheckOutStatus(item), 1);
        QVERIFY(bob->CheckIn(item, QStringLiteral("v3"), QStringLiteral("bob's change"), false));
        QCOMPARE(alice->ItemContent(item, false, -1, false, false), QStringLiteral("v3"));

        const auto history = alice->GetItemHistory(item, false);
        QCOMPARE(history.size(), 3);
        QCOMPARE(history[0].UserName, QStringLiteral("bob"));
        QCOMPARE(history[1].UserName, QStringLiteral("alice"));
        QCOMPARE(history[2].Action, QStringLiteral("Created"));
        QVERIFY(aliceUi.boxes.isEmpty());
    }

    void historyOverTheWire()
    {
        ScriptedUi ui;
        auto alice = connect(ui, QStringLiteral("alice"), QStringLiteral("pw1"));
        QVERIFY(alice->AddItem(QStringLiteral("200.sp"), QStringLiteral("one"), false, {}));
        const long first = alice->GetItemHistory(QStringLiteral("200.sp"), false).first().VersionNumber;
        QVERIFY(alice->RenameItemWithNewContent(QStringLiteral("200.sp"), QStringLiteral("201.sp"),
            QStringLiteral("two"), QStringLiteral("renamed"), false));
        QVERIFY(alice->RemoveItem(QStringLiteral("201.sp"), false));
        QVERIFY(alice->AddItem(QStringLiteral("201.sp"), QStringLiteral("three"), false, {}));
        QStringList actions;
        for (const auto &row : alice->GetItemHistory(QStringLiteral("201.sp"), false))
            actions.append(row.Action);
        QCOMPARE(actions, (QStringList { "Recovered", "Deleted", "Renamed", "Created" }));
        QCOMPARE(alice->ItemContentForVersion(QStringLiteral("201.sp"), first, false), QStringLiteral("one"));
        QVERIFY(alice->Items(QStringLiteral("*.sp"), true, true)->Count() == 0);
        QVERIFY(ui.boxes.isEmpty());
    }

    void wrongCredentials_data()
    {
        QTest::addColumn<QString>("user");
        QTest::addColumn<QString>("password");
        QTest::newRow("wrong password") << "alice"
                                        << "nope";
        QTest::newRow("unknown user") << "mallory"
                                      << "pw1";
        QTest::newRow("blank password") << "bob"
                                        << "";
    }

    void wrongCredentials()
    {
        QFETCH(QString, user);
        QFETCH(QString, password);
        ScriptedUi ui;
        KORVOVSS vss(ui);
        ui.answer(UiServices::Answer::Ok);
        const QString url = mServer->Url(QStringLiteral("repo"));
        const QString error
            = vss.OpenConnection(url, user, password, project, mRepo->Folder(QStringLiteral("w")), false, true);
        QVERIFY(!error.isEmpty());
        QVERIFY(!vss.ConnectionOpen());
        QCOMPARE(ui.boxes.size(), 1);
        QCOMPARE(ui.boxes[0].title, QStringLiteral("Connection Error"));
        QCOMPARE(ui.boxes[0].text, error);
        QCOMPARE(vss.TestConnection(url, user, password, project), error);
    }

    // Last: it stops the server and starts it again.
    void serverDown()
    {
        ScriptedUi ui;
        auto alice = connect(ui, QStringLiteral("alice"), QStringLiteral("pw1"));
        QVERIFY(alice->AddItem(QStringLiteral("300.sp"), QStringLiteral("kept"), false, {}));
        const QString local = alice->GetItemFileName(QStringLiteral("300.sp"));
        mServer->Stop();

        ui.answer(UiServices::Answer::Ok);
        QVERIFY(!alice->CheckOut(QStringLiteral("300.sp"), false));
        QCOMPARE(ui.boxes.size(), 1);
        QCOMPARE(ui.boxes[0].title, QStringLiteral("Could not check out"));
        QCOMPARE(alice->ItemContent(QStringLiteral("300.sp"), false, -1, true, false), QString());
        // The working copy is untouched.
        QCOMPARE(WorkingFiles::ReadText(local), QStringLiteral("kept"));
        QVERIFY_THROWS_EXCEPTION(VssError, alice->Items(QStringLiteral("*.sp"), false, false));
        QVERIFY(!alice
                     ->TestConnection(
                         mServer->Url(QStringLiteral("repo")), QStringLiteral("alice"), QStringLiteral("pw1"), project)
                     .isEmpty());

        // Back on the same port, the same connection carries on.
        const int port = mServer->Port();
        mServer = std::make_unique<SvnServe>(mRepo->Root(), port);
        QVERIFY(mServer->IsRunning());
        QVERIFY(alice->CheckOut(QStringLiteral("300.sp"), false));
        QVERIFY(alice->CheckIn(QStringLiteral("300.sp"), QStringLiteral("after the restart"), {}, false));
        QCOMPARE(ui.boxes.size(), 1);
    }
};

QTEST_GUILESS_MAIN(TestVssSvnserve)
#include "test_vss_svnserve.moc"
