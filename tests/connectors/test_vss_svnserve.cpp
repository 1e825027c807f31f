// KORVOVSS with two users: against svnserve on 127.0.0.1 with real accounts,
// and on file://, which takes any user name.
#include "KORVOVSS.h"
#include "KORVOVSSItems.h"
#include "ScriptedUi.h"
#include "SvnFixtures.h"
#include "SvnRepository.h"
#include "WorkingFiles.h"

#include <QDir>
#include <QFile>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{
const QString project = u"$\\Db\\"_s;
}

class TestVssSvnserve : public QObject
{
    Q_OBJECT

    std::unique_ptr<SvnTestRepository> mRepo;
    std::unique_ptr<SvnServe> mServer;
    std::unique_ptr<QTemporaryDir> mHome;

    QString url(bool served) const { return served ? mServer->Url(u"repo"_s) : mRepo->Url(); }
    std::shared_ptr<KORVOVSS> connect(ScriptedUi &ui, const QString &user, const QString &password, bool served = true)
    {
        auto vss = std::make_shared<KORVOVSS>(ui);
        const QString error
            = vss->OpenConnection(url(served), user, password, project, mRepo->Folder(u"work-"_s + user), true, false);
        if (!error.isEmpty())
            qWarning("%s", qPrintable(error));
        return vss;
    }
    static void accessRows()
    {
        QTest::addColumn<bool>("served");
        QTest::newRow("svnserve") << true;
        QTest::newRow("file") << false;
    }

private Q_SLOTS:
    void initTestCase()
    {
        // Credentials must never be written to disk: a home of our own shows it.
        mHome = std::make_unique<QTemporaryDir>(
            qEnvironmentVariable("KORVO_TEST_TMP", QDir::tempPath()) + u"/home-XXXXXX"_s);
        QVERIFY(mHome->isValid());
        qputenv("HOME", QFile::encodeName(mHome->path()));
        mRepo = std::make_unique<SvnTestRepository>();
        QVERIFY(mRepo->IsValid());
        QVERIFY(mRepo->MakeFolders({ u"Db"_s }));
        QVERIFY(mRepo->ServeUsers({ { u"alice"_s, u"pw1"_s }, { u"bob"_s, u"pw2"_s } }));
        mServer = std::make_unique<SvnServe>(mRepo->Root());
        QVERIFY2(mServer->IsRunning(), "svnserve did not start");
    }

    void cleanupTestCase()
    {
        QCOMPARE(QDir(mHome->path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot), QStringList());
        mServer.reset();
        mRepo.reset();
    }

    void exclusiveCheckOut_data() { accessRows(); }
    void exclusiveCheckOut()
    {
        QFETCH(bool, served);
        const QString item = served ? u"100.sp"_s : u"110.sp"_s;
        ScriptedUi aliceUi, bobUi;
        auto alice = connect(aliceUi, u"alice"_s, u"pw1"_s, served);
        auto bob = connect(bobUi, u"bob"_s, u"pw2"_s, served);
        QVERIFY(alice->ConnectionOpen() && bob->ConnectionOpen());
        QVERIFY(alice->AddItem(item, u"v1"_s, false, u"by alice"_s));

        QVERIFY(alice->CheckOut(item, false));
        QCOMPARE(alice->CheckOutStatus(item), 2);
        QCOMPARE(bob->CheckOutStatus(item), 1);
        QCOMPARE(bob->Checkouts(item), QStringList { u"alice"_s });
        // Another user's check-out doesn't show through CheckedOutBy or Items.
        QCOMPARE(bob->CheckedOutBy(item), QString());
        const auto listed = bob->Items(item, false, false);
        QVERIFY(listed->Count() == 1 && !listed->at(0)->IsCheckedOut());
        QVERIFY(!bob->CheckOut(item, false));
        QVERIFY(!bob->CheckIn(item, u"bob's text"_s, QString(), false));
        QVERIFY(!bob->UndoCheckout(item, false));
        QVERIFY(!bob->RenameItemWithNewContent(item, item + u".new"_s, u"x"_s, QString(), false));
        // ChangeItemContent doesn't look at the status: the server refuses bob's check-out.
        bobUi.answer(UiServices::Answer::Ok);
        QVERIFY(!bob->ChangeItemContent(item, u"bob's text"_s, QString(), false));
        QCOMPARE(bobUi.boxes.size(), 1);
        QCOMPARE(bobUi.boxes[0].title, u"Could not change Item"_s);
        // Reading works, and ItemContent fetches over bob's own working copy.
        QCOMPARE(bob->ItemContent(item, true, -1, false, false), u"v1"_s);

        QVERIFY(alice->CheckIn(item, u"v2"_s, u"alice's change"_s, false));
        QCOMPARE(bob->CheckOutStatus(item), 0);
        QVERIFY(alice->CheckOut(item, false));
        QVERIFY(alice->UndoCheckout(item, false));
        QVERIFY(bob->CheckOut(item, false));
        QCOMPARE(alice->CheckOutStatus(item), 1);
        QVERIFY(bob->CheckIn(item, u"v3"_s, u"bob's change"_s, false));
        QCOMPARE(alice->ItemContent(item, false, -1, false, false), u"v3"_s);

        QStringList history;
        for (const KORVOHistoryData &h : alice->GetItemHistory(item, false))
            history << h.UserName + u' ' + h.Action;
        QCOMPARE(history, (QStringList { "bob Checked in", "alice Checked in", "alice Created" }));
    }

    // A folder's texts in one request, at an older revision and the latest;
    // ItemContents agrees with ItemContent item by item.
    void folderContents_data() { accessRows(); }
    void folderContents()
    {
        QFETCH(bool, served);
        const QString folder = served ? u"FcServed"_s : u"FcFile"_s;
        QVERIFY(mRepo->MakeFolders({ folder, folder + u"/Sub"_s, folder + u"Empty"_s }));
        SvnRepository svn(url(served), u"alice"_s, u"pw1"_s);
        const QByteArray accents = "CREATE VIEW v AS SELECT '\xc3\xa9\xe2\x82\xac'\r\n";
        const QByteArray latin1 = "SELECT '\xe9'";
        using C = SvnRepository::Change;
        svn.Commit(folder, u"add"_s,
            { { C::AddFile, u"1.sp"_s, QByteArray("one"), {}, -1 }, { C::AddFile, u"2.vw"_s, accents, {}, -1 },
                { C::AddFile, u"3.sp"_s, latin1, {}, -1 }, { C::AddFile, u"4.sp"_s, QByteArray(), {}, -1 } });
        svn.Commit(folder + u"/Sub"_s, u"deeper"_s, { { C::AddFile, u"9.sp"_s, QByteArray("not mine"), {}, -1 } });
        const long asked = svn.LatestRevision();
        svn.Commit(folder, u"later"_s,
            { { C::AddFile, u"5.sp"_s, QByteArray("five"), {}, -1 }, { C::Delete, u"1.sp"_s, {}, {}, -1 } });

        const QHash<QString, QByteArray> then { { u"1.sp"_s, "one" }, { u"2.vw"_s, accents }, { u"3.sp"_s, latin1 },
            { u"4.sp"_s, QByteArray() } };
        QCOMPARE(svn.FolderContents(folder, asked), then);
        QHash<QString, QByteArray> now = then;
        now.remove(u"1.sp"_s);
        now.insert(u"5.sp"_s, "five");
        QCOMPARE(svn.FolderContents(folder), now);
        QVERIFY(svn.FolderContents(folder + u"Empty"_s).isEmpty());
        // The session is back where it was.
        QCOMPARE(svn.FileContent(folder + u"/5.sp"_s), QByteArray("five"));

        ScriptedUi ui;
        KORVOVSS vss(ui);
        QCOMPARE(vss.OpenConnection(url(served), u"alice"_s, u"pw1"_s, u"$\\"_s + folder + u"\\"_s,
                     mRepo->Folder(u"work-fc"_s + folder), true, false),
            QString());
        QHash<QString, QString> texts;
        QVERIFY(vss.ItemContents(texts));
        QCOMPARE(texts.keys().size(), 3); // 3.sp is not UTF-8
        for (const QString &item : { u"2.vw"_s, u"4.sp"_s, u"5.sp"_s })
            QCOMPARE(texts.value(item, u"missing"_s), vss.ItemContent(item, false, -1, true, false));
        QVERIFY(!texts.contains(u"3.sp"_s));
        QVERIFY(ui.boxes.isEmpty());
    }

    void wrongCredentials_data()
    {
        QTest::addColumn<QString>("user");
        QTest::addColumn<QString>("password");
        QTest::newRow("wrong password") << u"alice"_s << u"nope"_s;
        QTest::newRow("blank password") << u"bob"_s << QString();
    }

    void wrongCredentials()
    {
        QFETCH(QString, user);
        QFETCH(QString, password);
        ScriptedUi ui;
        KORVOVSS vss(ui);
        ui.answer(UiServices::Answer::Ok);
        const QString error
            = vss.OpenConnection(url(true), user, password, project, mRepo->Folder(u"w"_s), false, true);
        QVERIFY(!error.isEmpty());
        QVERIFY(!vss.ConnectionOpen());
        QCOMPARE(ui.boxTexts(), QStringList { u"critical|Connection Error|"_s + error });
        QCOMPARE(vss.TestConnection(url(true), user, password, project), error);
    }

    // A host that takes the connection and never answers fails after the
    // connect timeout with a box, instead of holding the window.
    void silentServerTimesOut()
    {
        QTcpServer silent; // never accepts: the kernel completes the handshake alone
        QVERIFY(silent.listen(QHostAddress::LocalHost));
        ScriptedUi ui;
        KORVOVSS vss(ui);
        vss.ConnectTimeout = 1;
        ui.answer(UiServices::Answer::Ok);
        const QString error = vss.OpenConnection(u"svn://127.0.0.1:%1/repo"_s.arg(silent.serverPort()), u"alice"_s,
            u"pw1"_s, project, mRepo->Folder(u"work-silent"_s), false, false);
        QVERIFY2(error.contains(u"did not answer within 1 second"_s), qPrintable(error));
        QCOMPARE(ui.last().title, u"Connection Error"_s);
        QVERIFY(!vss.ConnectionOpen());
    }

    // Last: it stops the server and starts it again.
    void serverDown()
    {
        ScriptedUi ui;
        auto alice = connect(ui, u"alice"_s, u"pw1"_s);
        QVERIFY(alice->AddItem(u"300.sp"_s, u"kept"_s, false, {}));
        mServer->Stop();

        ui.answer(UiServices::Answer::Ok);
        QVERIFY(!alice->CheckOut(u"300.sp"_s, false));
        QCOMPARE(ui.boxes.size(), 1);
        QCOMPARE(ui.boxes[0].title, u"Could not check out"_s);
        QCOMPARE(alice->ItemContent(u"300.sp"_s, false, -1, true, false), QString());
        // The working copy is untouched.
        QCOMPARE(WorkingFiles::ReadText(alice->GetItemFileName(u"300.sp"_s)), u"kept"_s);
        QVERIFY_THROWS_EXCEPTION(VssError, alice->Items(u"*.sp"_s, false, false));
        QVERIFY(!alice->TestConnection(url(true), u"alice"_s, u"pw1"_s, project).isEmpty());

        // Back on the same port, the same connection carries on.
        mServer = std::make_unique<SvnServe>(mRepo->Root(), mServer->Port());
        QVERIFY(mServer->IsRunning());
        QVERIFY(alice->CheckOut(u"300.sp"_s, false));
        QVERIFY(alice->CheckIn(u"300.sp"_s, u"after the restart"_s, {}, false));
    }
};

QTEST_GUILESS_MAIN(TestVssSvnserve)
#include "test_vss_svnserve.moc"
