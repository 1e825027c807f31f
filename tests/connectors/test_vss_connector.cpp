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

using namespace Qt::StringLiterals;

namespace
{

const QString project = u"$\\Db\\Objects\\"_s;

QStringList names(const std::shared_ptr<KORVOVSSItems> &items)
{
    QStringList result;
    for (const auto &item : *items)
        result.append(item->Name + (item->IsCheckedOut() ? u'*' + item->CheckedOutBy : QString()));
    return result;
}

QStringList actions(const QList<KORVOHistoryData> &rows)
{
    QStringList result;
    for (const auto &r : rows)
        result.append(r.Action);
    return result;
}

void writeText(const QString &path, const QString &text)
{
    QFile f(path);
    QVERIFY(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
    f.write(text.toUtf8());
}

// A call that fails, with or without its box.
using Operation = std::function<bool(KORVOVSS &, bool silent)>;

void failure(const char *row, const QString &title, const QString &firstLine, Operation op, const QString &setup = {})
{
    QTest::newRow(row) << setup << title << firstLine << op;
}

} // namespace

Q_DECLARE_METATYPE(Operation)

class TestVssConnector : public QObject
{
    Q_OBJECT

    std::unique_ptr<SvnTestRepository> mRepo;
    std::unique_ptr<ScriptedUi> mUi;
    std::shared_ptr<KORVOVSS> mVss;
    QString mWork;
    std::unique_ptr<SvnTestRepository> mListRepo;
    std::unique_ptr<ScriptedUi> mListUi;
    std::shared_ptr<KORVOVSS> mListVss;

    long head() { return VssDatabase(mRepo->Url(), u"x"_s, {}).Repository().LatestRevision(); }

private Q_SLOTS:
    void init()
    {
        mRepo = std::make_unique<SvnTestRepository>();
        QVERIFY(mRepo->IsValid());
        QVERIFY(mRepo->MakeFolders({ u"Db/Objects"_s, u"Db/Other"_s }));
        mUi = std::make_unique<ScriptedUi>();
        mWork = mRepo->Folder(u"work"_s);
        mVss = std::make_shared<KORVOVSS>(*mUi);
        QCOMPARE(mVss->OpenConnection(mRepo->Url(), u"alice"_s, QString(), project, mWork, false, true), QString());
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
        const QString ini = u"{dir}/srcsafe.ini"_s;
        QTest::newRow("svn URL") << QString() << u"svn://127.0.0.1:3690/db"_s << u"svn://127.0.0.1:3690/db"_s;
        QTest::newRow("ini with a URL") << u"[general]\nURL = svn://host/db\n"_s << ini << u"svn://host/db"_s;
        QTest::newRow("ini key in any case, quoted") << u"url=\"file:///x/y\"\n"_s << ini << u"file:///x/y"_s;
        QTest::newRow("relative file: path") << u"URL = file:repo\n"_s << ini << u"file://{dir}/repo"_s;
        QTest::newRow("relative plain path") << u"URL = ../up/repo\n"_s << ini << u"file://{parent}/up/repo"_s;
        QTest::newRow("folder holding srcsafe.ini") << u"URL = file:r\n"_s << u"{dir}"_s << u"file://{dir}/r"_s;
        QTest::newRow("missing ini file") << QString() << u"{dir}/missing.ini"_s << QString();
        QTest::newRow("ini without URL") << u"[general]\nuser = x\n"_s << ini << QString();
        QTest::newRow("empty argument") << QString() << QString() << QString();
    }

    void resolveUrl()
    {
        QFETCH(QString, iniText);
        QFETCH(QString, argument);
        QFETCH(QString, expected);
        const QString dir = QDir::cleanPath(mRepo->Folder(u"ini"_s));
        if (!iniText.isEmpty())
            writeText(dir + u"/srcsafe.ini"_s, iniText);
        argument.replace("{dir}"_L1, dir);
        expected.replace("{dir}"_L1, dir).replace("{parent}"_L1, QFileInfo(dir).absolutePath());
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
        QTest::addColumn<QString>("folder"); // "!": refused
        QTest::newRow("root") << u"$\\"_s << QString();
        QTest::newRow("forward slashes") << u"$/A/B"_s << u"A/B"_s;
        QTest::newRow("no dollar") << u"A\\B"_s << u"A/B"_s;
        QTest::newRow("blank inside") << u"$\\My Project\\"_s << u"My Project"_s;
        QTest::newRow("dot-dot refused") << u"$\\A\\..\\B"_s << u"!"_s;
    }

    void projectFolder()
    {
        QFETCH(QString, project);
        QFETCH(QString, folder);
        try {
            QCOMPARE(VssDatabase::ProjectFolder(project), folder);
        } catch (const VssError &) {
            QCOMPARE(folder, u"!"_s);
        }
    }

    void openConnection_data()
    {
        QTest::addColumn<QString>("ini"); // {url} of the repository, {root} its folder
        QTest::addColumn<QString>("project");
        QTest::addColumn<QString>("error"); // a part of the expected error; empty for success
        QTest::newRow("URL") << u"{url}"_s << project << QString();
        QTest::newRow("ini file") << u"{root}/srcsafe.ini"_s << project << QString();
        QTest::newRow("root project") << u"{url}"_s << u"$\\"_s << QString();
        QTest::newRow("missing ini file") << u"{root}/nothere.ini"_s << project << u"The ini file"_s;
        QTest::newRow("wrong URL") << u"{url}-missing"_s << project << u"Unable to connect"_s;
        QTest::newRow("missing project") << u"{url}"_s << u"$\\Db\\Nope\\"_s
                                         << u"File or project '$\\Db\\Nope\\' not found"_s;
        QTest::newRow("item as project") << u"{url}"_s << u"$\\Db\\Objects\\x.sp\\"_s << u"not found"_s;
    }

    void openConnection()
    {
        QFETCH(QString, ini);
        QFETCH(QString, project);
        QFETCH(QString, error);
        writeText(mRepo->Root() + u"/srcsafe.ini"_s, u"URL = file:repo\n"_s);
        ini.replace("{url}"_L1, mRepo->Url()).replace("{root}"_L1, mRepo->Root());
        const QString folder = mRepo->Folder(u"w2"_s).chopped(1);
        ScriptedUi ui;
        KORVOVSS vss(ui);
        if (!error.isEmpty())
            ui.answer(UiServices::Answer::Ok);
        const QString result = vss.OpenConnection(ini, u"alice"_s, QString(), project, folder, false, true);
        QCOMPARE(vss.TestConnection(ini, u"alice"_s, QString(), project), result);
        if (error.isEmpty()) {
            QCOMPARE(result, QString());
            QVERIFY(vss.ConnectionOpen());
            // The folder is kept as given, without the setter's separator rule.
            QCOMPARE(vss.GetItemFileName(u"1.sp"_s), folder + u"1.sp"_s);
            return;
        }
        QVERIFY2(result.contains(error), qPrintable(result));
        QVERIFY(!vss.ConnectionOpen());
        // Silent: the same result, no second box.
        QCOMPARE(vss.OpenConnection(ini, u"alice"_s, QString(), project, folder, true, true), result);
        QCOMPARE(ui.boxTexts(), QStringList { u"critical|Connection Error|"_s + result });
    }

    void passwordPrompt_data()
    {
        QTest::addColumn<QString>("setup"); // why no prompt comes; empty: it comes
        QTest::addColumn<bool>("confirm"); // the prompt's answer
        QTest::newRow("prompt confirmed") << QString() << true;
        QTest::newRow("prompt cancelled") << QString() << false;
        QTest::newRow("blank password given") << u"blank given"_s << false;
        QTest::newRow("stored password") << u"stored"_s << false;
        QTest::newRow("connected before") << u"connected before"_s << false;
    }

    void passwordPrompt()
    {
        QFETCH(QString, setup);
        QFETCH(bool, confirm);
        const bool prompted = setup.isEmpty(), refused = prompted && !confirm;
        ScriptedUi ui;
        KORVOVSS vss(ui);
        vss.StorePassword = setup == u"stored"_s;
        vss.IniFile = mRepo->Url();
        vss.UserName = u"alice"_s;
        vss.Project = project;
        vss.SetGeneralWorkingFolder(mWork);
        if (setup == u"connected before"_s) {
            QCOMPARE(vss.OpenConnection({}, {}, {}, {}, {}, false, true), QString());
            vss.CloseConnection();
        }
        if (prompted)
            ui.password(confirm, u"bob"_s, u"secret"_s);
        if (refused)
            ui.answer(UiServices::Answer::Ok).password(false);
        QCOMPARE(vss.OpenConnection({}, {}, {}, {}, {}, false, setup == u"blank given"_s),
            refused ? u"Password was not entered!"_s : QString());
        if (refused) // silent: the same result, no second box
            QCOMPARE(vss.OpenConnection({}, {}, {}, {}, {}, true, false), u"Password was not entered!"_s);
        QCOMPARE(ui.pending(), 0);
        if (prompted)
            QCOMPARE(ui.prompts[0].iniFile + u'|' + ui.prompts[0].userName, mRepo->Url() + u"|alice"_s);
        QCOMPARE(vss.ConnectionOpen(), !refused);
        QCOMPARE(vss.UserName, prompted && confirm ? u"bob"_s : u"alice"_s);
        QCOMPARE(ui.boxTexts().size(), refused ? 1 : 0);
    }

    void projectsAndNewProject_data()
    {
        QTest::addColumn<QString>("parent");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("result");
        const QString db = u"$\\Db\\"_s;
        QTest::newRow("with blank and umlaut") << db << u"Ärger Projekt"_s << QString();
        QTest::newRow("slash") << db << u"a/b"_s << u"The New Project Name 'a/b' is invalid!"_s;
        QTest::newRow("empty") << db << QString() << u"The New Project Name '' is invalid!"_s;
        QTest::newRow("trailing dot") << db << u"x."_s
                                      << u"The Project 'x.' could not be added (Problem with the name structure)!"_s;
        QTest::newRow("leading blank") << u"$\\"_s << u" x"_s
                                       << u"The Project ' x' could not be added (Problem with the name structure)!"_s;
        QTest::newRow("missing parent") << u"$\\Nope\\"_s << u"x"_s << u"File or project '$\\Nope\\' not found"_s;
    }

    void projectsAndNewProject()
    {
        QFETCH(QString, parent);
        QFETCH(QString, name);
        QFETCH(QString, result);
        QCOMPARE(mVss->CreateNewProject(parent, name), result);
        QStringList expected { QString(), u"Objects"_s, u"Other"_s };
        if (result.isEmpty() && parent == u"$\\Db\\"_s) {
            expected.append(name);
            std::sort(expected.begin() + 1, expected.end(),
                [](const QString &a, const QString &b) { return a.compare(b, Qt::CaseInsensitive) < 0; });
        }
        QCOMPARE(mVss->GetProjectSubFolders(u"$\\Db\\"_s), expected);
    }

    void itemsFilter_data()
    {
        QTest::addColumn<QString>("filter");
        QTest::addColumn<bool>("includeDeleted");
        QTest::addColumn<bool>("onlyDeleted");
        QTest::addColumn<QStringList>("expected");
        QTest::newRow("*.sp drops .desc") << u"*.sp"_s << false << false << QStringList { "1.sp", "4.sp*alice" };
        QTest::newRow("*.sp with deleted")
            << u"*.sp"_s << true << false << QStringList { "1.sp", "3.sp", "4.sp*alice" };
        QTest::newRow("only deleted") << u"*.sp"_s << true << true << QStringList { "3.sp" };
        QTest::newRow("only deleted needs include") << u"*.sp"_s << false << true << QStringList {};
        QTest::newRow("case-sensitive") << u"*.SP"_s << false << false << QStringList { "5.SP" };
        QTest::newRow("all") << u"*"_s << false << false
                             << QStringList { "1.sp", "1.sp.desc", "2.vw", "4.sp*alice", "5.SP", "SyncHistory" };
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
            QVERIFY(mListRepo->MakeFolders({ u"Db/Objects"_s }));
            mListUi = std::make_unique<ScriptedUi>();
            mListVss = std::make_shared<KORVOVSS>(*mListUi);
            QCOMPARE(mListVss->OpenConnection(
                         mListRepo->Url(), u"alice"_s, {}, project, mListRepo->Folder(u"work"_s), false, true),
                QString());
            for (const char *n : { "1.sp", "1.sp.desc", "2.vw", "3.sp", "4.sp", "5.SP", "SyncHistory" })
                QVERIFY(mListVss->AddItem(QLatin1String(n), u"text of "_s + QLatin1String(n), false, {}));
            QVERIFY(mListVss->RemoveItem(u"3.sp"_s, false));
            QVERIFY(mListVss->CheckOut(u"4.sp"_s, false));
            // A sub-project is not an item.
            QVERIFY(mListRepo->MakeFolders({ u"Db/Objects/Sub.sp"_s }));
        }
        const auto items = mListVss->Items(filter, includeDeleted, onlyDeleted);
        QCOMPARE(names(items), expected);
        if (!expected.isEmpty())
            QCOMPARE(items->Item(items->at(0)->Name), items->at(0));
        QVERIFY(!items->Item(u"nothing"_s));
        // Within a pass the same, from a listing another filter made first.
        const KORVOVSSListingPass pass(mListVss);
        QVERIFY(!mListVss->Items(u"*.vw"_s, false, false)->Item(u"nothing"_s));
        QCOMPARE(names(mListVss->Items(filter, includeDeleted, onlyDeleted)), expected);
        QCOMPARE(names(mListVss->Items(u"*.sp"_s, false, false)), (QStringList { "1.sp", "4.sp*alice" }));
    }

    // A pass lists once: another user's change shows after it, a change made
    // through the connection at once.
    void listingPass()
    {
        const KORVOVSSListingPass outer(mVss);
        QCOMPARE(names(mVss->Items(u"*.sp"_s, false, false)), QStringList {});
        SvnRepository(mRepo->Url(), u"bob"_s, {})
            .Commit(u"Db/Objects"_s, {}, { { SvnRepository::Change::AddFile, u"60.sp"_s, QByteArray("x"), {}, -1 } });
        {
            const KORVOVSSListingPass inner(mVss);
            QCOMPARE(names(mVss->Items(u"*.sp"_s, false, false)), QStringList {});
        }
        QCOMPARE(names(mVss->Items(u"*.sp"_s, false, false)), QStringList {});
        QVERIFY(mVss->AddItem(u"61.sp"_s, u"y"_s, false, {}));
        QCOMPARE(names(mVss->Items(u"*.sp"_s, false, false)), (QStringList { "60.sp", "61.sp" }));
        QVERIFY(mVss->CheckOut(u"61.sp"_s, false));
        QCOMPARE(names(mVss->Items(u"*.sp"_s, true, false)), (QStringList { "60.sp", "61.sp*alice" }));
    }

    void workingCopiesAndCheckOut()
    {
        const QString item = u"10.sp"_s, local = mWork + item;
        const QString v1 = u"CREATE PROCEDURE a AS SELECT 1"_s, v2 = u"CREATE PROCEDURE a AS SELECT 2"_s;
        // The check-out status, who holds it, and whether the working copy is read-only.
        const auto state = [&] {
            return u"%1|%2|%3"_s.arg(mVss->CheckOutStatus(item))
                .arg(mVss->CheckedOutBy(item), WorkingFiles::IsReadOnly(local) ? u"ro"_s : u"rw"_s);
        };
        QVERIFY(mVss->AddItem(item, v1, false, u"first"_s));
        QCOMPARE(WorkingFiles::ReadText(local), v1);
        QCOMPARE(state(), u"0||ro"_s);

        QVERIFY(mVss->CheckOut(item, false));
        QCOMPARE(state(), u"2|alice|rw"_s);
        QVERIFY(!mVss->CheckOut(item, false)); // refused without a message

        // The user's own text is read from the working copy; the checked-in text
        // through a scratch copy that leaves no file behind.
        writeText(local, v2);
        QCOMPARE(mVss->ItemContent(item, true, -1, false, false), v2);
        QCOMPARE(mVss->ItemContent(item, false, -1, false, false), v1);
        QCOMPARE(QDir(mWork).entryList(QDir::Files), QStringList { item });
        // GetLatestVersion leaves a checked-out working copy alone.
        QVERIFY(mVss->GetLatestVersion(item, false));
        QCOMPARE(WorkingFiles::ReadText(local), v2);

        // Check-in with empty content takes the working copy as it stands.
        QVERIFY(mVss->CheckIn(item, QString(), u"second"_s, false));
        QCOMPARE(state(), u"0||ro"_s);
        QVERIFY(!mVss->CheckIn(item, u"x"_s, QString(), false));
        QVERIFY(!mVss->UndoCheckout(item, false));

        // Undo: the lock goes and the working copy is the latest text again.
        QVERIFY(mVss->CheckOut(item, false));
        writeText(local, u"scribble"_s);
        QVERIFY(mVss->UndoCheckout(item, false));
        QCOMPARE(state(), u"0||ro"_s);
        QCOMPARE(WorkingFiles::ReadText(local), v2);

        // A check-in of unchanged text only ends the check-out.
        QVERIFY(mVss->CheckOut(item, false));
        QVERIFY(mVss->CheckIn(item, v2, u"same"_s, false));
        const auto history = mVss->GetItemHistory(item, false);
        QCOMPARE(actions(history), (QStringList { "Checked in", "Created" }));
        QCOMPARE(history[0].Comment, u"second"_s);

        // ChangeItemContent goes through a check-out of its own.
        QVERIFY(mVss->ChangeItemContent(item, u"v3"_s, u"Synchronization"_s, false));
        QCOMPARE(state(), u"0||ro"_s);
        QCOMPARE(mVss->ItemContent(item, true, -1, false, false), u"v3"_s);
        QCOMPARE(mVss->GetItemHistory(item, false).first().Comment, u"Synchronization"_s);

        // The project's dates run from its first version to its last.
        QDateTime first, last;
        mVss->GetDate(first, last);
        QCOMPARE(first.toString(QLatin1String(VersionDateFormat)), history.last().VersionDate);
        QVERIFY(first <= last && last <= QDateTime::currentDateTime().addSecs(2));
    }

    void historyFollowsTheItem_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("blanks, percent, hash") << u"my 50% #1.sp"_s;
        QTest::newRow("umlauts") << u"Größe ändern.sp"_s;
        QTest::newRow("cjk") << u"表.vw"_s;
    }

    // Renames, a delete with a new add, and undeletes under a new name and under
    // its own keep one history, whose versions read back by number.
    void historyFollowsTheItem()
    {
        QFETCH(QString, name);
        const QString n1 = u"1 "_s + name, n2 = u"2 "_s + name, n3 = u"3 "_s + name;
        QVERIFY(mVss->AddItem(name, u"text 1"_s, false, u"c1"_s));
        QCOMPARE(names(mVss->Items(u"*"_s, false, false)), QStringList { name });
        QVERIFY(mVss->CheckOut(name, false));
        QVERIFY(mVss->CheckIn(name, u"text 2"_s, u"ü"_s, false));
        QVERIFY(mVss->RenameItemWithNewContent(name, n1, u"text 3"_s, u"Item renamed from [a] to [b]."_s, false));
        QVERIFY(!mVss->ItemExists(name));
        QVERIFY(!mVss->ItemIsDeleted(name)); // renamed, not deleted
        QCOMPARE(mVss->CheckOutStatus(n1), 0);
        // The working file keeps the old name, and no temporary file stays behind.
        QCOMPARE(QDir(mWork).entryList(QDir::Files), QStringList { name });
        QVERIFY(mVss->RenameItem(n1, n2, false, true, false));

        QVERIFY(mVss->RemoveItem(n2, false));
        QVERIFY(!QFileInfo::exists(mWork + n2));
        QVERIFY(!mVss->ItemExists(n2, false));
        QVERIFY(mVss->ItemExists(n2, true));
        QVERIFY(mVss->ItemIsDeleted(n2));
        QCOMPARE(mVss->ItemContent(n2, true, -1, false, true), u"text 3"_s);
        QVERIFY_THROWS_EXCEPTION(VssError, mVss->GetItemHistory(n2, false));
        QCOMPARE(actions(mVss->GetItemHistory(n2, true)).first(), u"Deleted"_s);
        // Adding the name again continues the old history, with the new text newest.
        QVERIFY(mVss->AddItem(n2, u"text 4"_s, false, u"again"_s));
        QVERIFY(!mVss->ItemIsDeleted(n2));
        QCOMPARE(mVss->ItemContent(n2, false, -1, false, false), u"text 4"_s);
        QVERIFY(WorkingFiles::IsReadOnly(mWork + n2));

        // Undelete under a new name (as an undeleted object gets a new id), then under its own.
        QVERIFY(mVss->RemoveItem(n2, false));
        QVERIFY(mVss->RenameItem(n2, n3, false, false, true));
        QVERIFY(!mVss->ItemIsDeleted(n2));
        QVERIFY(!mVss->ItemExists(n2));
        QVERIFY(mVss->RemoveItem(n3, false));
        QVERIFY(mVss->RenameItem(n3, n3, false, true, true));
        QCOMPARE(mVss->ItemContent(n3, false, -1, false, false), u"text 4"_s);

        const auto h = mVss->GetItemHistory(n3, false);
        QCOMPARE(actions(h),
            (QStringList { "Recovered", "Deleted", "Recovered", "Deleted", "Recovered", "Deleted", "Renamed", "Renamed",
                "Checked in", "Created" }));
        QCOMPARE((QStringList { h[4].Comment, h[7].Comment, h[8].Comment, h[9].Comment }),
            (QStringList { "again", "Item renamed from [a] to [b].", "ü", "c1" }));
        QStringList texts;
        for (int i : { 9, 7, 4 })
            texts << mVss->ItemContentForVersion(n3, h[i].VersionNumber, false);
        texts << mVss->ItemContent(n3, false, h[8].VersionNumber, false, false);
        QCOMPARE(texts, (QStringList { "text 1", "text 3", "text 4", "text 2" }));
        // Neither a number that isn't a version nor OnlyIfExists on a missing item shows a message.
        QCOMPARE(mVss->ItemContentForVersion(n3, 999999, false), QString());
        QVERIFY(!mVss->RenameItem(u"nothing.sp"_s, u"x.sp"_s, false, true, false));
    }

    // A label is a copy of the project folder under tags; a moved project
    // folder keeps its items' history, labels included.
    void labelsAndMovedProject()
    {
        const QString item = u"50.sp"_s;
        QVERIFY(mVss->AddItem(item, u"release text"_s, false, {}));
        QVERIFY(mRepo->Copy(u"Db/Objects"_s, u"Db/tags/v1.0"_s, u"Release 1"_s));
        QVERIFY(mVss->ChangeItemContent(item, u"later text"_s, u"after"_s, false));
        // An item added after the label doesn't carry it.
        QVERIFY(mVss->AddItem(u"51.sp"_s, u"x"_s, false, {}));
        QCOMPARE(actions(mVss->GetItemHistory(u"51.sp"_s, false)), QStringList { "Created" });
        // The tags folder is not part of the project.
        QCOMPARE(names(mVss->Items(u"*"_s, true, false)), (QStringList { "50.sp", "51.sp" }));

        QVERIFY(mRepo->Svn(
            { u"move"_s, u"-m"_s, u"move"_s, mRepo->Url() + u"/Db/Objects"_s, mRepo->Url() + u"/Db/Moved"_s }));
        KORVOVSS moved(*mUi);
        QCOMPARE(moved.OpenConnection(
                     mRepo->Url(), u"alice"_s, {}, u"$\\Db\\Moved\\"_s, mRepo->Folder(u"moved"_s), false, true),
            QString());
        const auto history = moved.GetItemHistory(item, false);
        QCOMPARE(actions(history), (QStringList { "Moved", "Checked in", "Labeled 'v1.0'", "Created" }));
        QVERIFY(history[2].IsLabel && !history[1].IsLabel);
        QCOMPARE((QStringList { history[2].LabelComment, history[2].UserName, history[1].LabelComment }),
            (QStringList { "Release 1", "setup", "" }));
        QCOMPARE(moved.ItemContentForVersion(item, history[2].VersionNumber, false), u"release text"_s);
    }

    // Descriptions as KORVODescription keeps them; renames with their object are
    // tested with the objects.
    void descriptions()
    {
        QVERIFY(mVss->AddItem(u"60.sp"_s, u"x"_s, false, {}));
        KORVODescription d;
        d.SetActiveVSSConnection(mVss);
        d.SetVSSItemName(u"60.sp"_s);
        QCOMPARE(d.Description(), QString());
        // A blank description makes no item.
        d.SetDescription(u"   "_s);
        QVERIFY(!mVss->ItemExists(u"60.sp.desc"_s));
        d.SetDescription(u"Keeps the orders"_s);
        d.SetDescription(u"Keeps all orders"_s);
        QCOMPARE(d.Description(), u"Keeps all orders"_s);
        QCOMPARE(mVss->GetItemHistory(u"60.sp.desc"_s, false).first().Comment, u"True"_s);
        // Emptying it checks in one blank, which reads as "".
        d.SetDescription(QString());
        QCOMPARE(d.Description(), QString());
        QCOMPARE(mVss->ItemContent(u"60.sp.desc"_s, false, -1, true, false), u" "_s);
        d.SetVSSItemName(u"70.sp"_s);
        QVERIFY(!d.Rename(u"71.sp"_s)); // nothing to rename, and no message
    }

    void failureBoxes_data()
    {
        QTest::addColumn<QString>("setup"); // "checked out": a.sp is; "closed": the connection is
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("firstLine");
        QTest::addColumn<Operation>("operation");
        static const QString no = u"no.sp"_s, a = u"a.sp"_s, b = u"b.sp"_s, content = u"Could not get Item Content"_s,
                             rename = u"Could not Rename Item"_s, change = u"Could not change Item"_s;
        failure("ItemContent deleted", content,
            u"An error ocuured while trying to retrieve the contents for item 'a.sp'."_s,
            [](KORVOVSS &v, bool s) { return !v.ItemContent(a, false, -1, s, true).isEmpty(); });
        failure("ItemContentForVersion", content,
            u"An error ocuured while trying to retrieve the contents for item 'no.sp', version '3'."_s,
            [](KORVOVSS &v, bool s) { return !v.ItemContent(no, false, 3, s, false).isEmpty(); });
        failure("RemoveItem", u"Could not remove Item"_s,
            u"An error ocuured while trying to remove the item 'no.sp'."_s,
            [](KORVOVSS &v, bool s) { return v.RemoveItem(no, s); });
        failure("AddItem", u"Could not add Item"_s, u"An error ocuured while trying to remove the item 'a.sp'."_s,
            [](KORVOVSS &v, bool s) { return v.AddItem(a, u"other"_s, s, {}); });
        failure("AddItem bad name", u"Could not add Item"_s,
            u"An error ocuured while trying to remove the item 'x\x01y.sp'."_s,
            [](KORVOVSS &v, bool s) { return v.AddItem(u"x\x01y.sp"_s, u"x"_s, s, {}); });
        failure("ChangeItemContent", change, u"An error ocuured while trying to change the item 'no.sp'."_s,
            [](KORVOVSS &v, bool s) { return v.ChangeItemContent(no, u"x"_s, {}, s); });
        failure(
            "ChangeItemContent own check-out", change, u"An error ocuured while trying to change the item 'a.sp'."_s,
            [](KORVOVSS &v, bool s) { return v.ChangeItemContent(a, u"x"_s, {}, s); }, u"checked out"_s);
        failure("GetLatestVersion", u"Could not get latest version"_s,
            u"An error ocuured while trying to get the latest version of the item 'no.sp'."_s,
            [](KORVOVSS &v, bool s) { return v.GetLatestVersion(no, s); });
        failure("CheckOut", u"Could not check out"_s, u"An error ocuured while trying to check out the item 'no.sp'."_s,
            [](KORVOVSS &v, bool s) { return v.CheckOut(no, s); });
        failure("CheckIn", u"Could not check in"_s, u"An error ocuured while trying to check in the item 'no.sp'."_s,
            [](KORVOVSS &v, bool s) { return v.CheckIn(no, u"x"_s, {}, s); });
        failure("UndoCheckout", u"Could not undo check out"_s,
            u"An error ocuured while trying to undo the check out for the item 'no.sp'."_s,
            [](KORVOVSS &v, bool s) { return v.UndoCheckout(no, s); });
        failure("RenameItem onto existing", rename, u"An error ocuured while renaming the item 'a.sp' to 'b.sp."_s,
            [](KORVOVSS &v, bool s) { return v.RenameItem(a, b, s, false, false); });
        failure("RenameItemWithNewContent", rename, u"An error ocuured while renaming the item 'a.sp' to 'b.sp."_s,
            [](KORVOVSS &v, bool s) { return v.RenameItemWithNewContent(a, b, u"new"_s, u"c"_s, s); });
        failure(
            "closed connection", u"Could not check out"_s,
            u"An error ocuured while trying to check out the item 'a.sp'."_s,
            [](KORVOVSS &v, bool s) { return v.CheckOut(a, s); }, u"closed"_s);
    }

    void failureBoxes()
    {
        QFETCH(QString, setup);
        QFETCH(QString, title);
        QFETCH(QString, firstLine);
        QFETCH(Operation, operation);
        QVERIFY(mVss->AddItem(u"a.sp"_s, u"text a"_s, false, {}));
        QVERIFY(mVss->AddItem(u"b.sp"_s, u"text b"_s, false, {}));
        if (setup == u"checked out"_s)
            QVERIFY(mVss->CheckOut(u"a.sp"_s, false));
        if (setup == u"closed"_s)
            mVss->CloseConnection();
        const long before = head();

        mUi->answer(UiServices::Answer::Ok);
        QVERIFY(!operation(*mVss, false));
        // Silent: the same outcome without a box.
        QVERIFY(!operation(*mVss, true));
        // One box: the first line, then the reason in parentheses.
        const QStringList lines = mUi->boxTexts().join(u'\n').split(u'\n');
        QCOMPARE(lines.size(), 2);
        QCOMPARE(lines[0], u"critical|"_s + title + u'|' + firstLine);
        QVERIFY2(lines[1].size() > 2 && lines[1].startsWith(u'(') && lines[1].endsWith(u')'), qPrintable(lines[1]));
        if (setup == u"closed"_s)
            return;
        // Nothing was committed, and nothing is left checked out that wasn't before.
        QCOMPARE(head(), before);
        QCOMPARE(mVss->CheckOutStatus(u"a.sp"_s), setup.isEmpty() ? 0 : 2);
        QCOMPARE(mVss->ItemContent(u"a.sp"_s, false, -1, false, false), u"text a"_s);
    }

    void errorsWithoutHandlerReachCaller()
    {
        QVERIFY_THROWS_EXCEPTION(VssError, mVss->Item(u"no.sp"_s));
        QVERIFY_THROWS_EXCEPTION(VssError, mVss->CheckedOutBy(u"no.sp"_s));
        QVERIFY_THROWS_EXCEPTION(VssError, mVss->GetItemHistory(u"no.sp"_s, false));
        QVERIFY_THROWS_EXCEPTION(VssError, mVss->GetProjectSubFolders(u"$\\Nope\\"_s));
        mVss->CloseConnection();
        QDateTime first, last;
        QVERIFY_THROWS_EXCEPTION(VssError, mVss->Items(u"*.sp"_s, false, false));
        QVERIFY_THROWS_EXCEPTION(VssError, mVss->GetDate(first, last));
        QVERIFY_THROWS_EXCEPTION(VssError, mVss->GetProjectSubFolders(u"$\\"_s));
        // Look-ups answer false instead.
        QVERIFY(!mVss->ItemExists(u"a.sp"_s));
        QVERIFY(!mVss->ItemIsDeleted(u"a.sp"_s));
    }
};

QTEST_GUILESS_MAIN(TestVssConnector)
#include "test_vss_connector.moc"
