// KORVOVSS on throw-away file:// repositories.
#include "KORVODescription.h"
#include "KORVOVSS.h"
#include "KORVOVSSItems.h"
#include "ScriptedUi.h"
#include "SvnFixtures.h"
#include "VssDatabase.h"
#include "WorkingFiles.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTest>

namespace
{

const QString project = QStringLiteral("$\\Db\\Objects\\");

QStringList names(const std::shared_ptr<KORVOVSSItems> &items)
{
    QStringList result;
    for (const auto &item : *items)
        result.append(item->Name + (item->IsCheckedOut() ? QLatin1Char('*') + item->CheckedOutBy : QString()));
    return result;
}

QStringList actions(const QList<KORVOHistoryData> &rows)
{
    QStringList result;
    for (const auto &r : rows)
        result.append(r.Action);
    return result;
}

void writeText(const QString &path, const QByteArray &text)
{
    QFile f(path);
    QVERIFY(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
    f.write(text);
}

} // namespace

class TestVssConnector : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<SvnTestRepository> mRepo;
    std::unique_ptr<ScriptedUi> mUi;
    std::shared_ptr<KORVOVSS> mVss;
    QString mWork;
    std::unique_ptr<SvnTestRepository> mListRepo;
    std::unique_ptr<ScriptedUi> mListUi;
    std::shared_ptr<KORVOVSS> mListVss;

    // A connection of user on the test repository, with a working folder of its own.
    std::shared_ptr<KORVOVSS> connect(ScriptedUi &ui, const QString &user, const QString &folder)
    {
        auto vss = std::make_shared<KORVOVSS>(ui);
        const QString error = vss->OpenConnection(mRepo->Url(), user, QString(), project, folder, false, true);
        if (!error.isEmpty())
            qWarning("%s", qPrintable(error));
        return vss;
    }

private Q_SLOTS:
    void init()
    {
        mRepo = std::make_unique<SvnTestRepository>();
        QVERIFY(mRepo->IsValid());
        QVERIFY(mRepo->MakeFolders({ QStringLiteral("Db/Objects"), QStringLiteral("Db/Other") }));
        mUi = std::make_unique<ScriptedUi>();
        mWork = mRepo->Folder(QStringLiteral("work"));
        mVss = connect(*mUi, QStringLiteral("alice"), mWork);
        QVERIFY(mVss->ConnectionOpen());
    }

    void cleanup()
    {
        mVss.reset();
        mUi.reset();
        mRepo.reset();
    }

    void resolveUrl_data()
    {
        QTest::addColumn<QString>("iniText"); // empty: no ini file is written
        QTest::addColumn<QString>("argument"); // {dir} is the ini file's folder
        QTest::addColumn<QString>("expected"); // empty: an error is expected
        QTest::newRow("file URL as it stands") << QString() << "file:///srv/svn/db"
                                               << "file:///srv/svn/db";
        QTest::newRow("svn URL") << QString() << "svn://127.0.0.1:3690/db"
                                 << "svn://127.0.0.1:3690/db";
        QTest::newRow("https URL") << QString() << "https://example.org/svn/db"
                                   << "https://example.org/svn/db";
        QTest::newRow("ini with a URL") << "[general]\nURL = svn://host/db\n"
                                        << "{dir}/srcsafe.ini"
                                        << "svn://host/db";
        QTest::newRow("ini key in any case, quoted") << "url=\"file:///x/y\"\n"
                                                     << "{dir}/srcsafe.ini"
                                                     << "file:///x/y";
        QTest::newRow("relative file: path") << "URL = file:repo\n"
                                             << "{dir}/srcsafe.ini"
                                             << "file://{dir}/repo";
        QTest::newRow("relative plain path") << "URL = ../up/repo\n"
                                             << "{dir}/srcsafe.ini"
                                             << "file://{parent}/up/repo";
        QTest::newRow("folder holding srcsafe.ini") << "URL = file:r\n"
                                                    << "{dir}"
                                                    << "file://{dir}/r";
        QTest::newRow("missing ini file") << QString() << "{dir}/missing.ini" << QString();
        QTest::newRow("ini without URL") << "[general]\nuser = x\n"
                                         << "{dir}/srcsafe.ini" << QString();
        QTest::newRow("empty argument") << QString() << "" << QString();
    }

    void resolveUrl()
    {
        QFETCH(QString, iniText);
        QFETCH(QString, argument);
        QFETCH(QString, expected);
        const QString dir = QDir::cleanPath(mRepo->Folder(QStringLiteral("ini")));
        if (!iniText.isEmpty())
            writeText(dir + QStringLiteral("/srcsafe.ini"), iniText.toUtf8());
        const QString parent = QFileInfo(dir).absolutePath();
        argument.replace(QLatin1String("{dir}"), dir);
        expected.replace(QLatin1String("{dir}"), dir).replace(QLatin1String("{parent}"), parent);
        try {
            const QString url = VssDatabase::ResolveUrl(argument);
            QVERIFY2(!expected.isEmpty(), qPrintable(url));
            QCOMPARE(url, expected);
        } catch (const VssError &e) {
            QVERIFY2(expected.isEmpty(), qPrintable(e.Description()));
            QCOMPARE(e.Code(), int(VssError::IniFile));
        }
    }

    void projectFolder_data()
    {
        QTest::addColumn<QString>("project");
        QTest::addColumn<QString>("folder");
        QTest::newRow("root") << "$\\"
                              << "";
        QTest::newRow("bare dollar") << "$"
                                     << "";
        QTest::newRow("two levels") << "$\\A\\B\\"
                                    << "A/B";
        QTest::newRow("forward slashes") << "$/A/B"
                                         << "A/B";
        QTest::newRow("no dollar") << "A\\B"
                                   << "A/B";
        QTest::newRow("blank inside") << "$\\My Project\\"
                                      << "My Project";
        QTest::newRow("dot-dot refused") << "$\\A\\..\\B"
                                         << "!";
    }

    void projectFolder()
    {
        QFETCH(QString, project);
        QFETCH(QString, folder);
        try {
            QCOMPARE(VssDatabase::ProjectFolder(project), folder);
        } catch (const VssError &) {
            QCOMPARE(folder, QStringLiteral("!"));
        }
    }

    void openConnection_data()
    {
        QTest::addColumn<QString>("ini"); // {url} of the repository, {root} its folder
        QTest::addColumn<QString>("project");
        QTest::addColumn<QString>("error"); // a part of the expected error; empty for success
        QTest::newRow("URL") << "{url}" << project << "";
        QTest::newRow("ini file") << "{root}/srcsafe.ini" << project << "";
        QTest::newRow("root project") << "{url}"
                                      << "$\\"
                                      << "";
        QTest::newRow("missing ini file") << "{root}/nothere.ini" << project << "The ini file";
        QTest::newRow("wrong URL") << "{url}-missing" << project << "Unable to connect";
        QTest::newRow("missing project") << "{url}"
                                         << "$\\Db\\Nope\\"
                                         << "File or project '$\\Db\\Nope\\' not found";
        QTest::newRow("item as project") << "{url}"
                                         << "$\\Db\\Objects\\x.sp\\"
                                         << "not found";
    }

    void openConnection()
    {
        QFETCH(QString, ini);
        QFETCH(QString, project);
        QFETCH(QString, error);
        writeText(mRepo->Root() + QStringLiteral("/srcsafe.ini"), "URL = file:repo\n");
        ini.replace(QLatin1String("{url}"), mRepo->Url()).replace(QLatin1String("{root}"), mRepo->Root());
        const QString folder = mRepo->Folder(QStringLiteral("w2"));
        const QString noSeparator = folder.chopped(1);

        ScriptedUi ui;
        KORVOVSS vss(ui);
        if (!error.isEmpty())
            ui.answer(UiServices::Answer::Ok);
        const QString result
            = vss.OpenConnection(ini, QStringLiteral("alice"), QString(), project, noSeparator, false, true);
        if (error.isEmpty()) {
            QCOMPARE(result, QString());
            QVERIFY(ui.boxes.isEmpty());
            QVERIFY(vss.ConnectionOpen());
            QCOMPARE(vss.IniFile, ini);
            QCOMPARE(vss.Project, project);
            // Stored as given, without the setter's separator rule.
            QCOMPARE(vss.GeneralWorkingFolder(), noSeparator);
            QCOMPARE(vss.GetItemFileName(QStringLiteral("1.sp")), noSeparator + QStringLiteral("1.sp"));
            QCOMPARE(vss.TestConnection(ini, QStringLiteral("alice"), QString(), project), QString());
        } else {
            QVERIFY2(result.contains(error), qPrintable(result));
            QVERIFY(!vss.ConnectionOpen());
            QCOMPARE(ui.boxes.size(), 1);
            QCOMPARE(ui.boxes[0].icon, UiServices::Icon::Critical);
            QCOMPARE(ui.boxes[0].title, QStringLiteral("Connection Error"));
            QCOMPARE(ui.boxes[0].text, result);
            QCOMPARE(vss.TestConnection(ini, QStringLiteral("alice"), QString(), project), result);
            // Silent: the same result, no box.
            QCOMPARE(vss.OpenConnection(ini, QStringLiteral("alice"), QString(), project, folder, true, true), result);
            QCOMPARE(ui.boxes.size(), 1);
        }
    }

    void passwordPrompt_data()
    {
        QTest::addColumn<bool>("storePassword");
        QTest::addColumn<bool>("blankGiven");
        QTest::addColumn<bool>("connectedBefore");
        QTest::addColumn<bool>("confirm"); // the prompt's answer, if it comes
        QTest::addColumn<bool>("silent");
        QTest::addColumn<bool>("prompted");
        QTest::addColumn<QString>("result");
        QTest::newRow("prompt confirmed") << false << false << false << true << false << true << "";
        QTest::newRow("prompt cancelled")
            << false << false << false << false << false << true << "Password was not entered!";
        QTest::newRow("prompt cancelled, silent")
            << false << false << false << false << true << true << "Password was not entered!";
        QTest::newRow("blank password given") << false << true << false << false << false << false << "";
        QTest::newRow("stored password") << true << false << false << false << false << false << "";
        QTest::newRow("connected before") << false << false << true << false << false << false << "";
    }

    void passwordPrompt()
    {
        QFETCH(bool, storePassword);
        QFETCH(bool, blankGiven);
        QFETCH(bool, connectedBefore);
        QFETCH(bool, confirm);
        QFETCH(bool, silent);
        QFETCH(bool, prompted);
        QFETCH(QString, result);
        ScriptedUi ui;
        KORVOVSS vss(ui);
        vss.StorePassword = storePassword;
        vss.IniFile = mRepo->Url();
        vss.UserName = QStringLiteral("alice");
        vss.Project = project;
        vss.SetGeneralWorkingFolder(mWork);
        if (connectedBefore) {
            QCOMPARE(vss.OpenConnection({}, {}, {}, {}, {}, false, true), QString());
            vss.CloseConnection();
            QVERIFY(!vss.ConnectionOpen());
        }
        if (prompted)
            ui.password(confirm, QStringLiteral("bob"), QStringLiteral("secret"));
        if (!result.isEmpty() && !silent)
            ui.answer(UiServices::Answer::Ok);
        QCOMPARE(vss.OpenConnection({}, {}, {}, {}, {}, silent, blankGiven), result);
        QCOMPARE(ui.prompts.size(), prompted ? 1 : 0);
        QCOMPARE(ui.pending(), 0);
        if (prompted) {
            QCOMPARE(ui.prompts[0].iniFile, mRepo->Url());
            QCOMPARE(ui.prompts[0].userName, QStringLiteral("alice"));
        }
        if (result.isEmpty()) {
            QVERIFY(vss.ConnectionOpen());
            QCOMPARE(vss.UserName, prompted ? QStringLiteral("bob") : QStringLiteral("alice"));
        } else {
            QVERIFY(!vss.ConnectionOpen());
            QCOMPARE(vss.UserName, QStringLiteral("alice"));
            QCOMPARE(ui.boxes.size(), silent ? 0 : 1);
            if (!silent)
                QCOMPARE(ui.boxes[0].title, QStringLiteral("Connection Error"));
        }
    }

    void projectsAndNewProject_data()
    {
        QTest::addColumn<QString>("parent");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("result");
        QTest::newRow("new") << "$\\Db\\"
                             << "Fresh"
                             << "";
        QTest::newRow("with blank and umlaut") << "$\\Db\\"
                                               << "Ärger Projekt"
                                               << "";
        QTest::newRow("exists") << "$\\Db\\"
                                << "Objects"
                                << "The Project 'Objects' already exists!";
        QTest::newRow("slash") << "$\\Db\\"
                               << "a/b"
                               << "The New Project Name 'a/b' is invalid!";
        QTest::newRow("empty") << "$\\Db\\"
                               << ""
                               << "The New Project Name '' is invalid!";
        QTest::newRow("trailing dot") << "$\\Db\\"
                                      << "x."
                                      << "The Project 'x.' could not be added (Problem with the name structure)!";
        QTest::newRow("leading blank") << "$\\"
                                       << " x"
                                       << "The Project ' x' could not be added (Problem with the name structure)!";
        QTest::newRow("missing parent") << "$\\Nope\\"
                                        << "x"
                                        << "File or project '$\\Nope\\' not found";
    }

    void projectsAndNewProject()
    {
        QFETCH(QString, parent);
        QFETCH(QString, name);
        QFETCH(QString, result);
        QCOMPARE(mVss->CreateNewProject(parent, name), result);
        QStringList expected { QString(), QStringLiteral("Objects"), QStringLiteral("Other") };
        if (result.isEmpty() && parent == QLatin1String("$\\Db\\")) {
            expected.append(name);
            std::sort(expected.begin() + 1, expected.end(),
                [](const QString &a, const QString &b) { return a.compare(b, Qt::CaseInsensitive) < 0; });
        }
        QCOMPARE(mVss->GetProjectSubFolders(QStringLiteral("$\\Db\\")), expected);
        QVERIFY(mUi->boxes.isEmpty());
    }

    void itemsFilter_data()
    {
        QTest::addColumn<QString>("filter");
        QTest::addColumn<bool>("includeDeleted");
        QTest::addColumn<bool>("onlyDeleted");
        QTest::addColumn<QStringList>("expected");
        QTest::newRow("*.sp drops .desc") << "*.sp" << false << false << QStringList { "1.sp", "4.sp*alice" };
        QTest::newRow("*.sp with deleted") << "*.sp" << true << false << QStringList { "1.sp", "3.sp", "4.sp*alice" };
        QTest::newRow("only deleted") << "*.sp" << true << true << QStringList { "3.sp" };
        QTest::newRow("only deleted needs include") << "*.sp" << false << true << QStringList {};
        QTest::newRow("case-sensitive") << "*.SP" << false << false << QStringList { "5.SP" };
        QTest::newRow("*.desc") << "*.desc" << true << false << QStringList { "1.sp.desc" };
        QTest::newRow("all") << "*" << false << false
                             << QStringList { "1.sp", "1.sp.desc", "2.vw", "4.sp*alice", "5.SP", "SyncHistory" };
        QTest::newRow("empty filter") << "" << false << false
                                      << QStringList { "1.sp", "1.sp.desc", "2.vw", "4.sp*alice", "5.SP",
                                             "SyncHistory" };
    }

    void itemsFilter()
    {
        QFETCH(QString, filter);
        QFETCH(bool, includeDeleted);
        QFETCH(bool, onlyDeleted);
        QFETCH(QStringList, expected);
        // The rows only read: one project serves them all.
        if (!mListVss) {
            mListRepo = std::make_unique<SvnTestRepository>();
            QVERIFY(mListRepo->MakeFolders({ QStringLiteral("Db/Objects") }));
            mListUi = std::make_unique<ScriptedUi>();
            mListVss = std::make_shared<KORVOVSS>(*mListUi);
            QCOMPARE(mListVss->OpenConnection(mListRepo->Url(), QStringLiteral("alice"), {}, project,
                         mListRepo->Folder(QStringLiteral("work")), false, true),
                QString());
            for (const char *n : { "1.sp", "1.sp.desc", "2.vw", "3.sp", "4.sp", "5.SP", "SyncHistory" })
                QVERIFY(
                    mListVss->AddItem(QLatin1String(n), QStringLiteral("text of %1").arg(QLatin1String(n)), false, {}));
            QVERIFY(mListVss->RemoveItem(QStringLiteral("3.sp"), false));
            QVERIFY(mListVss->CheckOut(QStringLiteral("4.sp"), false));
            // A sub-project is not an item.
            QVERIFY(mListRepo->MakeFolders({ QStringLiteral("Db/Objects/Sub.sp") }));
        }
        const auto &vss = mListVss;
        const auto items = vss->Items(filter, includeDeleted, onlyDeleted);
        QCOMPARE(names(items), expected);
        QCOMPARE(items->Count(), expected.size());
        QCOMPARE(items->ActiveVSSConnection(), vss);
        if (!expected.isEmpty()) {
            QCOMPARE(items->at(0)->ActiveVSSConnection(), vss);
            QCOMPARE(items->Item(items->at(0)->Name), items->at(0));
        }
        QVERIFY(!items->Item(QStringLiteral("nothing")));
    }

    void workingCopiesAndCheckOut()
    {
        const QString item = QStringLiteral("10.sp");
        const QString local = mVss->GetItemFileName(item);
        QCOMPARE(local, mWork + item);
        QVERIFY(mVss->AddItem(item, QStringLiteral("CREATE PROCEDURE a AS SELECT 1"), false, QStringLiteral("first")));
        QVERIFY(QFileInfo::exists(local));
        QVERIFY(WorkingFiles::IsReadOnly(local));
        QCOMPARE(mVss->CheckOutStatus(item), 0);
        QCOMPARE(mVss->CheckedOutBy(item), QString());

        QVERIFY(mVss->CheckOut(item, false));
        QCOMPARE(mVss->CheckOutStatus(item), 2);
        QCOMPARE(mVss->CheckedOutBy(item), QStringLiteral("alice"));
        QCOMPARE(mVss->Checkouts(item), QStringList { QStringLiteral("alice") });
        QCOMPARE(mVss->Item(item)->CheckedOutBy, QStringLiteral("alice"));
        QVERIFY(!WorkingFiles::IsReadOnly(local));
        // A second check-out is refused without a message.
        QVERIFY(!mVss->CheckOut(item, false));

        // The user's own text is read from the working copy; the checked-in text
        // through a scratch copy that leaves the working copy alone.
        writeText(local, "CREATE PROCEDURE a AS SELECT 2");
        QCOMPARE(mVss->ItemContent(item, true, -1, false, false), QStringLiteral("CREATE PROCEDURE a AS SELECT 2"));
        QCOMPARE(mVss->ItemContent(item, false, -1, false, false), QStringLiteral("CREATE PROCEDURE a AS SELECT 1"));
        QCOMPARE(WorkingFiles::ReadText(local), QStringLiteral("CREATE PROCEDURE a AS SELECT 2"));
        QVERIFY(!QFileInfo::exists(mWork + QStringLiteral("tmp.") + item));
        // GetLatestVersion leaves a checked-out working copy alone.
        QVERIFY(mVss->GetLatestVersion(item, false));
        QCOMPARE(WorkingFiles::ReadText(local), QStringLiteral("CREATE PROCEDURE a AS SELECT 2"));

        // Check-in with empty content takes the working copy as it stands.
        QVERIFY(mVss->CheckIn(item, QString(), QStringLiteral("second"), false));
        QCOMPARE(mVss->CheckOutStatus(item), 0);
        QVERIFY(WorkingFiles::IsReadOnly(local));
        QVERIFY(!mVss->CheckIn(item, QStringLiteral("x"), QString(), false));
        QVERIFY(!mVss->UndoCheckout(item, false));

        // Undo: the lock goes and the working copy is the latest text again.
        QVERIFY(mVss->CheckOut(item, false));
        writeText(local, "scribble");
        QVERIFY(mVss->UndoCheckout(item, false));
        QCOMPARE(mVss->CheckOutStatus(item), 0);
        QCOMPARE(WorkingFiles::ReadText(local), QStringLiteral("CREATE PROCEDURE a AS SELECT 2"));
        QVERIFY(WorkingFiles::IsReadOnly(local));

        // A check-in of unchanged text only ends the check-out.
        QVERIFY(mVss->CheckOut(item, false));
        QVERIFY(mVss->CheckIn(item, QStringLiteral("CREATE PROCEDURE a AS SELECT 2"), QStringLiteral("same"), false));
        const auto history = mVss->GetItemHistory(item, false);
        QCOMPARE(actions(history), (QStringList { "Checked in", "Created" }));
        QCOMPARE(history[0].Comment, QStringLiteral("second"));
        QCOMPARE(history[1].Comment, QStringLiteral("first"));
        QCOMPARE(history[0].UserName, QStringLiteral("alice"));
        QVERIFY(history[0].VersionNumber > history[1].VersionNumber);
        QVERIFY(VersionDateTime(history[0].VersionDate).isValid());

        // ChangeItemContent goes through a check-out of its own.
        QVERIFY(mVss->ChangeItemContent(item, QStringLiteral("v3"), QStringLiteral("Synchronization"), false));
        QCOMPARE(mVss->CheckOutStatus(item), 0);
        QCOMPARE(mVss->ItemContent(item, true, -1, false, false), QStringLiteral("v3"));
        QCOMPARE(mVss->GetItemHistory(item, false).first().Comment, QStringLiteral("Synchronization"));
        QVERIFY(mUi->boxes.isEmpty());
    }

    void otherUsersCheckOut()
    {
        // file:// takes any user name, which is enough to tell two owners apart.
        const QString item = QStringLiteral("7.sp");
        QVERIFY(mVss->AddItem(item, QStringLiteral("v1"), false, {}));
        ScriptedUi bobUi;
        auto bob = connect(bobUi, QStringLiteral("bob"), mRepo->Folder(QStringLiteral("bob")));
        QVERIFY(bob->ConnectionOpen());

        QVERIFY(mVss->CheckOut(item, false));
        QCOMPARE(bob->CheckOutStatus(item), 1);
        QCOMPARE(bob->Checkouts(item), QStringList { QStringLiteral("alice") });
        // Another user's check-out doesn't show through CheckedOutBy or Items.
        QCOMPARE(bob->CheckedOutBy(item), QString());
        QCOMPARE(names(bob->Items(QStringLiteral("*.sp"), false, false)), QStringList { item });
        QVERIFY(!bob->CheckOut(item, false));
        QVERIFY(!bob->CheckIn(item, QStringLiteral("bob's"), QString(), false));
        QVERIFY(!bob->UndoCheckout(item, false));
        QVERIFY(!bob->RenameItem(item, QStringLiteral("8.sp"), false, false, false));
        // Reading works, and ItemContent fetches over bob's own working copy.
        QCOMPARE(bob->ItemContent(item, true, -1, false, false), QStringLiteral("v1"));

        QVERIFY(mVss->UndoCheckout(item, false));
        QVERIFY(bob->CheckOut(item, false));
        QCOMPARE(mVss->CheckOutStatus(item), 1);
        QVERIFY(bob->CheckIn(item, QStringLiteral("v2"), QStringLiteral("by bob"), false));
        QCOMPARE(mVss->ItemContent(item, false, -1, false, false), QStringLiteral("v2"));
        QCOMPARE(mVss->GetItemHistory(item, false).first().UserName, QStringLiteral("bob"));
        QVERIFY(mUi->boxes.isEmpty());
        QVERIFY(bobUi.boxes.isEmpty());
    }

    void renameKeepsHistory()
    {
        QVERIFY(mVss->AddItem(QStringLiteral("10.sp"), QStringLiteral("text 1"), false, QStringLiteral("c1")));
        QVERIFY(
            mVss->ChangeItemContent(QStringLiteral("10.sp"), QStringLiteral("text 2"), QStringLiteral("c2"), false));
        const auto before = mVss->GetItemHistory(QStringLiteral("10.sp"), false);
        QCOMPARE(before.size(), 2);

        QVERIFY(mVss->RenameItemWithNewContent(QStringLiteral("10.sp"), QStringLiteral("20.sp"),
            QStringLiteral("text 3"), QStringLiteral("Item renamed from [a] to [b]."), false));
        QVERIFY(!mVss->ItemExists(QStringLiteral("10.sp")));
        QVERIFY(!mVss->ItemIsDeleted(QStringLiteral("10.sp"))); // renamed, not deleted
        QCOMPARE(mVss->CheckOutStatus(QStringLiteral("20.sp")), 0);
        // The working file keeps the old name.
        QVERIFY(QFileInfo::exists(mWork + QStringLiteral("10.sp")));

        QVERIFY(mVss->RenameItem(QStringLiteral("20.sp"), QStringLiteral("30.sp"), false, true, false));
        const auto history = mVss->GetItemHistory(QStringLiteral("30.sp"), false);
        QCOMPARE(actions(history), (QStringList { "Renamed", "Renamed", "Checked in", "Created" }));
        QCOMPARE(history[1].Comment, QStringLiteral("Item renamed from [a] to [b]."));
        QCOMPARE(history[2].VersionNumber, before[0].VersionNumber);
        // Versions read by number give the text of that version, under whatever name it had.
        QCOMPARE(mVss->ItemContentForVersion(QStringLiteral("30.sp"), before[1].VersionNumber, false),
            QStringLiteral("text 1"));
        QCOMPARE(mVss->ItemContent(QStringLiteral("30.sp"), false, before[0].VersionNumber, false, false),
            QStringLiteral("text 2"));
        QCOMPARE(mVss->ItemContentForVersion(QStringLiteral("30.sp"), history[1].VersionNumber, false),
            QStringLiteral("text 3"));
        // No temporary files stay behind.
        QCOMPARE(QDir(mWork).entryList({ QStringLiteral("*.tmp") }, QDir::Files), QStringList());
        // A number that isn't a version gives "" without a message.
        QCOMPARE(mVss->ItemContentForVersion(QStringLiteral("30.sp"), 999, false), QString());
        // OnlyIfExists on a missing item: false, no message.
        QVERIFY(!mVss->RenameItem(QStringLiteral("nothing.sp"), QStringLiteral("x.sp"), false, true, false));
        QVERIFY(mUi->boxes.isEmpty());
    }

    void deleteAddAndUndelete()
    {
        const QString item = QStringLiteral("40.sp");
        QVERIFY(mVss->AddItem(item, QStringLiteral("old text"), false, QStringLiteral("made")));
        const long created = mVss->GetItemHistory(item, false).first().VersionNumber;
        QVERIFY(mVss->RemoveItem(item, false));
        QVERIFY(!QFileInfo::exists(mWork + item));
        QVERIFY(!mVss->ItemExists(item, false));
        QVERIFY(mVss->ItemExists(item, true));
        QVERIFY(mVss->ItemIsDeleted(item));
        QCOMPARE(actions(mVss->GetItemHistory(item, true)), (QStringList { "Deleted", "Created" }));
        QCOMPARE(mVss->ItemContent(item, true, -1, false, true), QStringLiteral("old text"));
        QVERIFY_THROWS_EXCEPTION(VssError, mVss->GetItemHistory(item, false));

        // Adding the name again continues the old history, with the new text newest.
        QVERIFY(mVss->AddItem(item, QStringLiteral("new text"), false, QStringLiteral("again")));
        QVERIFY(!mVss->ItemIsDeleted(item));
        const auto history = mVss->GetItemHistory(item, false);
        QCOMPARE(actions(history), (QStringList { "Recovered", "Deleted", "Created" }));
        QCOMPARE(history[0].Comment, QStringLiteral("again"));
        QCOMPARE(mVss->ItemContent(item, false, -1, false, false), QStringLiteral("new text"));
        QCOMPARE(mVss->ItemContentForVersion(item, created, false), QStringLiteral("old text"));
        QVERIFY(WorkingFiles::IsReadOnly(mWork + item));

        // Undelete under a new name (as an undeleted object gets a new id).
        QVERIFY(mVss->RemoveItem(item, false));
        QVERIFY(mVss->RenameItem(item, QStringLiteral("41.sp"), false, false, true));
        QVERIFY(!mVss->ItemIsDeleted(item));
        QVERIFY(!mVss->ItemExists(item));
        QCOMPARE(actions(mVss->GetItemHistory(QStringLiteral("41.sp"), false)),
            (QStringList { "Recovered", "Deleted", "Recovered", "Deleted", "Created" }));
        QCOMPARE(mVss->ItemContentForVersion(QStringLiteral("41.sp"), created, false), QStringLiteral("old text"));

        // Undelete under its own name.
        QVERIFY(mVss->RemoveItem(QStringLiteral("41.sp"), false));
        QVERIFY(mVss->RenameItem(QStringLiteral("41.sp"), QStringLiteral("41.sp"), false, true, true));
        QCOMPARE(mVss->ItemContent(QStringLiteral("41.sp"), false, -1, false, false), QStringLiteral("new text"));
        QVERIFY(mUi->boxes.isEmpty());
    }

    void labels()
    {
        const QString item = QStringLiteral("50.sp");
        QVERIFY(mVss->AddItem(item, QStringLiteral("release text"), false, {}));
        QVERIFY(mRepo->Copy(QStringLiteral("Db/Objects"), QStringLiteral("Db/tags/v1.0"), QStringLiteral("Release 1")));
        QVERIFY(mVss->ChangeItemContent(item, QStringLiteral("later text"), QStringLiteral("after"), false));
        // An item added after the label doesn't carry it.
        QVERIFY(mVss->AddItem(QStringLiteral("51.sp"), QStringLiteral("x"), false, {}));

        const auto history = mVss->GetItemHistory(item, false);
        QCOMPARE(actions(history), (QStringList { "Checked in", "Labeled 'v1.0'", "Created" }));
        QVERIFY(history[1].IsLabel);
        QCOMPARE(history[1].LabelComment, QStringLiteral("Release 1"));
        QVERIFY(!history[0].IsLabel);
        QCOMPARE(history[0].LabelComment, QString());
        QCOMPARE(history[1].UserName, QStringLiteral("setup"));
        QCOMPARE(mVss->ItemContentForVersion(item, history[1].VersionNumber, false), QStringLiteral("release text"));
        QCOMPARE(actions(mVss->GetItemHistory(QStringLiteral("51.sp"), false)), QStringList { "Created" });
        // The tags folder is not part of the project.
        QCOMPARE(names(mVss->Items(QStringLiteral("*"), true, false)), (QStringList { "50.sp", "51.sp" }));
    }

    void movedProjectKeepsHistory()
    {
        QVERIFY(mVss->AddItem(QStringLiteral("80.sp"), QStringLiteral("before the move"), false, {}));
        QVERIFY(mRepo->Svn({ QStringLiteral("move"), QStringLiteral("-m"), QStringLiteral("move"),
            mRepo->Url() + QStringLiteral("/Db/Objects"), mRepo->Url() + QStringLiteral("/Db/Moved") }));
        ScriptedUi ui;
        KORVOVSS moved(ui);
        QCOMPARE(moved.OpenConnection(mRepo->Url(), QStringLiteral("alice"), {}, QStringLiteral("$\\Db\\Moved\\"),
                     mRepo->Folder(QStringLiteral("moved")), false, true),
            QString());
        const auto history = moved.GetItemHistory(QStringLiteral("80.sp"), false);
        QCOMPARE(actions(history), (QStringList { "Moved", "Created" }));
        QCOMPARE(moved.ItemContentForVersion(QStringLiteral("80.sp"), history[1].VersionNumber, false),
            QStringLiteral("before the move"));
        QVERIFY(ui.boxes.isEmpty());
    }

    void getDate()
    {
        QDateTime first, last;
        mVss->GetDate(first, last);
        QCOMPARE(first.date(), QDate(2100, 1, 1));
        QCOMPARE(last.date(), QDate(1900, 1, 1));

        const QDateTime start = QDateTime::currentDateTime().addSecs(-2);
        QVERIFY(mVss->AddItem(QStringLiteral("1.sp"), QStringLiteral("a"), false, {}));
        QVERIFY(mVss->AddItem(QStringLiteral("2.sp"), QStringLiteral("b"), false, {}));
        QVERIFY(mVss->RemoveItem(QStringLiteral("2.sp"), false));
        mVss->GetDate(first, last);
        const QDateTime end = QDateTime::currentDateTime().addSecs(2);
        QVERIFY(first >= start && first <= last && last <= end);
        const auto h = mVss->GetItemHistory(QStringLiteral("1.sp"), false);
        QCOMPARE(first.toString(QLatin1String(VersionDateFormat)), h.first().VersionDate);
    }

    void descriptions()
    {
        QVERIFY(mVss->AddItem(QStringLiteral("60.sp"), QStringLiteral("x"), false, {}));
        KORVODescription d;
        d.SetActiveVSSConnection(mVss);
        d.SetVSSItemName(QStringLiteral("60.sp"));
        QCOMPARE(d.Description(), QString());
        // A blank description makes no item.
        d.SetDescription(QString());
        d.SetDescription(QStringLiteral("   "));
        QVERIFY(!mVss->ItemExists(QStringLiteral("60.sp.desc")));

        d.SetDescription(QStringLiteral("Keeps the orders"));
        QVERIFY(mVss->ItemExists(QStringLiteral("60.sp.desc")));
        QCOMPARE(d.Description(), QStringLiteral("Keeps the orders"));
        d.SetDescription(QStringLiteral("Keeps all orders"));
        QCOMPARE(d.Description(), QStringLiteral("Keeps all orders"));
        QCOMPARE(mVss->GetItemHistory(QStringLiteral("60.sp.desc"), false).first().Comment, QStringLiteral("True"));
        // Emptying it checks in one blank, which reads as "".
        d.SetDescription(QString());
        QCOMPARE(d.Description(), QString());
        QCOMPARE(mVss->ItemContent(QStringLiteral("60.sp.desc"), false, -1, true, false), QStringLiteral(" "));
        QCOMPARE(mVss->GetItemHistory(QStringLiteral("60.sp.desc"), false).size(), 3);

        d.SetDescription(QStringLiteral("again"));
        QVERIFY(d.Rename(QStringLiteral("61.sp")));
        QVERIFY(!mVss->ItemExists(QStringLiteral("60.sp.desc")));
        QCOMPARE(d.Description(), QStringLiteral("again"));
        KORVODescription none;
        none.SetActiveVSSConnection(mVss);
        QCOMPARE(none.Description(), QString());
        none.SetVSSItemName(QStringLiteral("70.sp"));
        QVERIFY(!none.Rename(QStringLiteral("71.sp"))); // nothing to rename, and no message
        QVERIFY(mUi->boxes.isEmpty());
    }

    void unusualNames_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("text");
        QTest::newRow("blanks") << "my proc.sp"
                                << "SELECT 'a b'";
        QTest::newRow("umlauts") << "Größe ändern.sp"
                                 << "-- Grüße";
        QTest::newRow("cjk") << "表.vw"
                             << "SELECT '日本'";
        QTest::newRow("percent and hash") << "50% #1.sp"
                                          << "x";
    }

    void unusualNames()
    {
        QFETCH(QString, name);
        QFETCH(QString, text);
        const QString renamed = QStringLiteral("new ") + name;
        QVERIFY(mVss->AddItem(name, text, false, {}));
        QCOMPARE(names(mVss->Items(QStringLiteral("*"), false, false)), QStringList { name });
        QVERIFY(mVss->CheckOut(name, false));
        QVERIFY(mVss->CheckIn(name, text + QStringLiteral(" 2"), QStringLiteral("ü"), false));
        QVERIFY(mVss->RenameItem(name, renamed, false, true, false));
        QCOMPARE(mVss->ItemContent(renamed, false, -1, false, false), text + QStringLiteral(" 2"));
        QVERIFY(mVss->RemoveItem(renamed, false));
        QVERIFY(mVss->ItemIsDeleted(renamed));
        QVERIFY(mVss->AddItem(renamed, text, false, {}));
        const auto history = mVss->GetItemHistory(renamed, false);
        QCOMPARE(actions(history), (QStringList { "Recovered", "Deleted", "Renamed", "Checked in", "Created" }));
        QCOMPARE(history[3].Comment, QStringLiteral("ü"));
        QCOMPARE(mVss->ItemContentForVersion(renamed, history.last().VersionNumber, false), text);
        QVERIFY(mUi->boxes.isEmpty());
    }

    void failureBoxes_data()
    {
        QTest::addColumn<QString>("operation");
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("firstLine");
        QTest::newRow("ItemContent") << "ItemContent"
                                     << "Could not get Item Content"
                                     << "An error ocuured while trying to retrieve the contents for item 'no.sp'.";
        QTest::newRow("ItemContent deleted")
            << "ItemContentDeleted"
            << "Could not get Item Content"
            << "An error ocuured while trying to retrieve the contents for item 'a.sp'.";
        QTest::newRow("ItemContentForVersion")
            << "ItemContentForVersion"
            << "Could not get Item Content"
            << "An error ocuured while trying to retrieve the contents for item 'no.sp', version '3'.";
        QTest::newRow("RemoveItem") << "RemoveItem"
                                    << "Could not remove Item"
                                    << "An error ocuured while trying to remove the item 'no.sp'.";
        QTest::newRow("AddItem") << "AddItem"
                                 << "Could not add Item"
                                 << "An error ocuured while trying to remove the item 'a.sp'.";
        QTest::newRow("AddItem bad name") << "AddItemBadName"
                                          << "Could not add Item"
                                          << "An error ocuured while trying to remove the item 'x\x01y.sp'.";
        QTest::newRow("ChangeItemContent") << "ChangeItemContent"
                                           << "Could not change Item"
                                           << "An error ocuured while trying to change the item 'no.sp'.";
        QTest::newRow("ChangeItemContent own check-out") << "ChangeItemContentCheckedOut"
                                                         << "Could not change Item"
                                                         << "An error ocuured while trying to change the item 'a.sp'.";
        QTest::newRow("GetLatestVersion")
            << "GetLatestVersion"
            << "Could not get latest version"
            << "An error ocuured while trying to get the latest version of the item 'no.sp'.";
        QTest::newRow("CheckOut") << "CheckOut"
                                  << "Could not check out"
                                  << "An error ocuured while trying to check out the item 'no.sp'.";
        QTest::newRow("CheckIn") << "CheckIn"
                                 << "Could not check in"
                                 << "An error ocuured while trying to check in the item 'no.sp'.";
        QTest::newRow("UndoCheckout") << "UndoCheckout"
                                      << "Could not undo check out"
                                      << "An error ocuured while trying to undo the check out for the item 'no.sp'.";
        QTest::newRow("RenameItem onto existing") << "RenameItem"
                                                  << "Could not Rename Item"
                                                  << "An error ocuured while renaming the item 'a.sp' to 'b.sp.";
        QTest::newRow("RenameItem missing") << "RenameItemMissing"
                                            << "Could not Rename Item"
                                            << "An error ocuured while renaming the item 'no.sp' to 'b.sp.";
        QTest::newRow("RenameItemWithNewContent") << "RenameItemWithNewContent"
                                                  << "Could not Rename Item"
                                                  << "An error ocuured while renaming the item 'a.sp' to 'b.sp.";
        QTest::newRow("closed connection") << "Closed"
                                           << "Could not check out"
                                           << "An error ocuured while trying to check out the item 'a.sp'.";
    }

    void failureBoxes()
    {
        QFETCH(QString, operation);
        QFETCH(QString, title);
        QFETCH(QString, firstLine);
        QVERIFY(mVss->AddItem(QStringLiteral("a.sp"), QStringLiteral("text a"), false, {}));
        QVERIFY(mVss->AddItem(QStringLiteral("b.sp"), QStringLiteral("text b"), false, {}));
        if (operation == QLatin1String("ChangeItemContentCheckedOut"))
            QVERIFY(mVss->CheckOut(QStringLiteral("a.sp"), false));
        if (operation == QLatin1String("Closed"))
            mVss->CloseConnection();
        const long head = VssDatabase(mRepo->Url(), QStringLiteral("x"), {}).Repository().LatestRevision();

        auto run = [&](bool silent) -> bool {
            const QString no = QStringLiteral("no.sp"), a = QStringLiteral("a.sp"), b = QStringLiteral("b.sp");
            if (operation == QLatin1String("ItemContent"))
                return !mVss->ItemContent(no, false, -1, silent, false).isEmpty();
            if (operation == QLatin1String("ItemContentDeleted"))
                return !mVss->ItemContent(a, false, -1, silent, true).isEmpty();
            if (operation == QLatin1String("ItemContentForVersion"))
                return !mVss->ItemContent(no, false, 3, silent, false).isEmpty();
            if (operation == QLatin1String("RemoveItem"))
                return mVss->RemoveItem(no, silent);
            if (operation == QLatin1String("AddItem"))
                return mVss->AddItem(a, QStringLiteral("other"), silent, {});
            if (operation == QLatin1String("AddItemBadName"))
                return mVss->AddItem(QStringLiteral("x\x01y.sp"), QStringLiteral("x"), silent, {});
            if (operation.startsWith(QLatin1String("ChangeItemContent")))
                return mVss->ChangeItemContent(
                    operation.endsWith(QLatin1String("Out")) ? a : no, QStringLiteral("x"), {}, silent);
            if (operation == QLatin1String("GetLatestVersion"))
                return mVss->GetLatestVersion(no, silent);
            if (operation == QLatin1String("CheckOut"))
                return mVss->CheckOut(no, silent);
            if (operation == QLatin1String("CheckIn"))
                return mVss->CheckIn(no, QStringLiteral("x"), {}, silent);
            if (operation == QLatin1String("UndoCheckout"))
                return mVss->UndoCheckout(no, silent);
            if (operation == QLatin1String("RenameItem"))
                return mVss->RenameItem(a, b, silent, false, false);
            if (operation == QLatin1String("RenameItemMissing"))
                return mVss->RenameItem(no, b, silent, false, false);
            if (operation == QLatin1String("RenameItemWithNewContent"))
                return mVss->RenameItemWithNewContent(a, b, QStringLiteral("new"), QStringLiteral("c"), silent);
            if (operation == QLatin1String("Closed"))
                return mVss->CheckOut(a, silent);
            qFatal("unknown operation");
        };

        mUi->answer(UiServices::Answer::Ok);
        QVERIFY(!run(false));
        QCOMPARE(mUi->boxes.size(), 1);
        const auto box = mUi->boxes[0];
        QCOMPARE(box.icon, UiServices::Icon::Critical);
        QCOMPARE(box.title, title);
        const QStringList lines = box.text.split(QLatin1Char('\n'));
        QCOMPARE(lines.size(), 2);
        QCOMPARE(lines[0], firstLine);
        QVERIFY2(lines[1].startsWith(QLatin1Char('(')) && lines[1].endsWith(QLatin1Char(')')) && lines[1].size() > 2,
            qPrintable(lines[1]));
        // Silent: the same outcome without a box.
        QVERIFY(!run(true));
        QCOMPARE(mUi->boxes.size(), 1);

        if (operation != QLatin1String("Closed")) {
            // Nothing was committed, and nothing is left checked out that wasn't before.
            QCOMPARE(VssDatabase(mRepo->Url(), QStringLiteral("x"), {}).Repository().LatestRevision(), head);
            QCOMPARE(mVss->CheckOutStatus(QStringLiteral("a.sp")),
                operation == QLatin1String("ChangeItemContentCheckedOut") ? 2 : 0);
            QCOMPARE(mVss->ItemContent(QStringLiteral("a.sp"), false, -1, false, false), QStringLiteral("text a"));
        }
    }

    void errorsWithoutHandlerReachCaller()
    {
        QVERIFY_THROWS_EXCEPTION(VssError, mVss->Item(QStringLiteral("no.sp")));
        QVERIFY_THROWS_EXCEPTION(VssError, mVss->CheckedOutBy(QStringLiteral("no.sp")));
        QVERIFY_THROWS_EXCEPTION(VssError, mVss->GetItemHistory(QStringLiteral("no.sp"), false));
        QVERIFY_THROWS_EXCEPTION(VssError, mVss->GetProjectSubFolders(QStringLiteral("$\\Nope\\")));
        mVss->CloseConnection();
        QDateTime first, last;
        QVERIFY_THROWS_EXCEPTION(VssError, mVss->Items(QStringLiteral("*.sp"), false, false));
        QVERIFY_THROWS_EXCEPTION(VssError, mVss->GetDate(first, last));
        QVERIFY_THROWS_EXCEPTION(VssError, mVss->GetProjectSubFolders(QStringLiteral("$\\")));
        // Look-ups answer false instead.
        QVERIFY(!mVss->ItemExists(QStringLiteral("a.sp")));
        QVERIFY(!mVss->ItemIsDeleted(QStringLiteral("a.sp")));
        QVERIFY(mUi->boxes.isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestVssConnector)
#include "test_vss_connector.moc"
