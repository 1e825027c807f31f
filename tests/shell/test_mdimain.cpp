// The main window on a real database and repository (both server kinds): the
// tree fetched lazily and refreshed by expanded keys, node texts, rename and
// delete from the tree, the popup's and panel's entries and pictures, New, the
// window list of real children, other projects opened from the menu; and, with
// small fake children, the key table, the polling of the commands, the child
// look-up, closing, status texts, sizes, drags, help and the desktop's links.
#include "HelpIntegration.h"
#include "HelpKeys.h"
#include "KORVOAllWindows.h"
#include "KORVODatabase.h"
#include "KORVOExplorerBar.h"
#include "KORVOIconImages.h"
#include "KORVOObjectFactory.h"
#include "KORVOProject.h"
#include "KORVOTypedObject.h"
#include "OffscreenDialogs.h"
#include "UserDataFolder.h"
#include "frmAbout.h"
#include "frmEditObjectPermissions.h"
#include "frmEditObjectText.h"
#include "frmSQLQuery.h"
#include "multiGrid.h"
#include "SQLTextEditor.h"
#include "mdiMain.h"
#include "test_backend.h"

#include <QAction>
#include <QApplication>
#include <QDesktopServices>
#include <QLabel>
#include <QLineEdit>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMenuBar>
#include <QMenu>
#include <QMouseEvent>
#include <QPointer>
#include <QSplitter>
#include <QTableWidget>
#include <QTemporaryDir>
#include <QTest>
#include <QTreeWidget>
#include <QUrlQuery>

namespace
{

// Records what the main window opens; with real set, opens the real windows too.
class RecordingWindows : public KORVOWindows
{
public:
    QStringList calls;
    KORVOWindows *real = nullptr;
    KORVOChildWindow *NewObjectText(
        KORVOMainWindowServices &, KORVODatabase &, const KORVODBObjectPtr &o, const QString &text) override
    {
        calls << QStringLiteral("new %1 %2").arg(std::static_pointer_cast<KORVOTypedObject>(o)->ObjectType(), text);
        return nullptr;
    }
    KORVOChildWindow *OpenObjectText(KORVOMainWindowServices &m, KORVODatabase &d, const KORVODBObjectPtr &o) override
    {
        calls << QStringLiteral("text ") + o->Name();
        return real ? real->OpenObjectText(m, d, o) : nullptr;
    }
    KORVOChildWindow *OpenPermissions(KORVOMainWindowServices &m, KORVODatabase &d, const QString &tag,
        const QString &key, const KORVODBObjectPtr &o) override
    {
        calls << QStringLiteral("permissions %1|%2").arg(tag, key);
        return real ? real->OpenPermissions(m, d, tag, key, o) : nullptr;
    }
    KORVOChildWindow *OpenQuery(KORVOMainWindowServices &m, KORVODatabase &d) override
    {
        calls << QStringLiteral("query");
        return real ? real->OpenQuery(m, d) : nullptr;
    }
};

// Catches what the desktop would open, so that no browser or mail program starts.
class UrlCatcher : public QObject
{
    Q_OBJECT
public:
    QList<QUrl> urls;
    UrlCatcher()
    {
        for (const char *scheme : { "http", "https", "mailto" })
            QDesktopServices::setUrlHandler(QLatin1String(scheme), this, "open");
    }
    ~UrlCatcher() override
    {
        for (const char *scheme : { "http", "https", "mailto" })
            QDesktopServices::unsetUrlHandler(QLatin1String(scheme));
    }
public Q_SLOTS:
    void open(const QUrl &url) { urls << url; }
};

// Whether the icon is one of KORVO's pictures rather than that of an unknown name.
bool KnownPicture(const QIcon &icon)
{
    const auto render = [](const QIcon &i) { return i.pixmap(QSize(16, 16), 1.0).toImage(); };
    return !icon.isNull() && render(icon) != render(KORVOIconImage(QStringLiteral("-")));
}

// A child that answers every Can... alike and logs the operations it gets.
class FakeChild : public QWidget, public KORVOChildWindow
{
public:
    FakeChild(long type, const QString &tag, const QString &key, QStringList &log)
        : mType(type)
        , mTag(tag)
        , mKey(key)
        , mLog(log)
    {
        MarkAsChild(*this);
        setWindowTitle(QStringLiteral("%1 %2").arg(type).arg(key));
    }
    bool can = true;
    bool refuse = false;
    QString openText = QStringLiteral("Load Text");

    QWidget *Widget() override { return this; }
    long FormType() const override { return mType; }
    QString ObjectKey() const override { return mKey; }
    QString ObjectTag() const override { return mTag; }
    long CurrentIcon() const override { return 1; }
    KORVODBObjectPtr CurrentObject() const override { return nullptr; }
    bool CanPermissions() const override { return can; }
    bool CanDescription() const override { return can; }
    bool CanOpenFile() const override { return can; }
    QString OpenFileText() const override { return openText; }
    bool CanSaveFile() const override { return can; }
    QString SaveFileText() const override { return QStringLiteral("Save Text"); }
    bool CanCut() const override { return can; }
    bool CanCopy() const override { return can; }
    bool CanPaste() const override { return can; }
    bool CanFind() const override { return can; }
    bool CanReplace() const override { return can; }
    bool CanUndo() const override { return can; }
    bool CanRedo() const override { return can; }
    bool CanTestSQL() const override { return can; }
    bool CanGetLatest() const override { return can; }
    bool CanCheckIn() const override { return can; }
    bool CanCheckOut() const override { return can; }
    bool CanUndoCheckOut() const override { return can; }
    bool CanShowHistory() const override { return can; }
    bool QueryClose() override { return !refuse; }
    void RefreshCaption() override { mLog << QStringLiteral("caption"); }
    bool CloseItem(bool) override
    {
        mLog << QStringLiteral("closed %1").arg(mType);
        ClearChildMarker(this);
        parentWidget()->close();
        return true;
    }
    void Undo() override { mLog << QStringLiteral("Undo"); }
    void Redo() override { mLog << QStringLiteral("Redo"); }
    void ChangeDescription() override { mLog << QStringLiteral("Description"); }
    void Find(bool, bool) override { mLog << QStringLiteral("Find"); }
    void FindNext() override { mLog << QStringLiteral("FindNext"); }
    void CopyText() override { mLog << QStringLiteral("Copy"); }
    void SetFocusOfChild() override { mLog << QStringLiteral("focus %1").arg(mKey); }

private:
    long mType;
    QString mTag, mKey;
    QStringList &mLog;
};

// Keys as the keyboard sends them: "+Ctrl" presses, "-Ctrl" lets go, a bare name does both.
void Type(QWidget *widget, const QString &script)
{
    static const QHash<QString, int> keys { { "Ctrl", Qt::Key_Control }, { "Shift", Qt::Key_Shift },
        { "Alt", Qt::Key_Alt }, { "F1", Qt::Key_F1 }, { "F3", Qt::Key_F3 }, { "F5", Qt::Key_F5 },
        { "Return", Qt::Key_Return }, { "Delete", Qt::Key_Delete }, { "Escape", Qt::Key_Escape } };
    static const QHash<int, Qt::KeyboardModifier> modifiers { { Qt::Key_Control, Qt::ControlModifier },
        { Qt::Key_Shift, Qt::ShiftModifier }, { Qt::Key_Alt, Qt::AltModifier } };
    Qt::KeyboardModifiers held;
    for (const QString &step : script.split(' ')) {
        const QString name = step.startsWith('+') || step.startsWith('-') ? step.mid(1) : step;
        const int key = keys.value(name, name.at(0).unicode());
        const QString text = !held && name.size() == 1 ? name.toLower() : QString();
        if (!step.startsWith('-'))
            QTest::simulateEvent(widget, true, key, held |= modifiers.value(key), text, false);
        if (!step.startsWith('+'))
            QTest::simulateEvent(widget, false, key, held &= ~modifiers.value(key), text, false);
    }
}

QStringList VisibleEntries(QMenu *menu)
{
    QStringList names;
    for (QAction *a : menu->actions()) {
        if (a->isVisible())
            names << a->objectName();
    }
    return names;
}

} // namespace

class TestMdiMain : public QObject
{
    Q_OBJECT

    std::unique_ptr<Backend> b;
    QTemporaryDir settings;
    RecordingWindows windows;
    KORVOAllWindows realWindows;
    ScriptedUi quiet; // for the windows made without a server
    QStringList opened; // pages the help object was asked for
    std::unique_ptr<HelpIntegration> help;
    std::unique_ptr<KORVODatabase> session;
    mdiMain *main = nullptr;
    QStringList log;

    // A session on the backend with the main window opened through OpenProject.
    bool open(const std::function<void()> &before = {})
    {
        b = OpenBackend();
        if (!b)
            return false;
        if (before)
            before();
        QFile::remove(settings.filePath("korvo.conf")); // no projects stored by an earlier row
        session = std::make_unique<KORVODatabase>(
            b->ui, std::make_shared<KORVOObjectFactory>(),
            [this] { return std::make_unique<mdiMain>(windows, help.get()); }, settings.filePath("korvo.conf"));
        auto project = std::make_shared<KORVOProject>(b->ui);
        project->Name = QStringLiteral("Shop");
        b->Bind(*project->SQL());
        project->VSS()->OpenConnection(
            b->repo->Url(), "alice", QString(), Backend::Project, b->repo->Folder("main"), true, true);
        b->ui.answer(UiServices::Answer::No); // the first-connection question
        bool ok = false;
        session->OpenProject(project, ok);
        main = static_cast<mdiMain *>(session->MainWindow());
        windows.calls.clear();
        log.clear();
        return ok && main && b->ui.pending() == 0;
    }
    QTreeWidgetItem *node(const QString &key) const { return main->FindNode(key); }
    QTreeWidgetItem *folder() const { return node(session->StoredProcedures()->ObjectType()); }
    QTreeWidgetItem *expand(const QString &key) const
    {
        QTreeWidgetItem *n = node(key);
        if (n)
            n->setExpanded(true);
        return n;
    }
    static bool Unfetched(QTreeWidgetItem *n)
    {
        return n->childCount() == 1 && mdiMain::NodeTag(n->child(0)) == QLatin1String("temp");
    }
    FakeChild *child(long type, const QString &tag, const QString &key)
    {
        auto *c = new FakeChild(type, tag, key, log);
        main->AddChild(c);
        return c;
    }

private Q_SLOTS:
    void initTestCase()
    {
        qputenv("KORVO_DATA_DIR", QFile::encodeName(settings.filePath("data")));
        QFile index(settings.filePath("index.html"));
        QVERIFY(index.open(QIODevice::WriteOnly));
        help = std::make_unique<HelpIntegration>(quiet, settings.path(), [this](const QUrl &url) {
            opened << url.fileName();
            return true;
        });
    }
    void cleanup()
    {
        windows.real = nullptr;
        session.reset();
        b.reset();
        main = nullptr;
    }

    // Lazy fetch, then a refresh that keeps the expanded keys and the filter.
    void treeFetchesOnceAndRefreshKeepsExpandedKeys_data() { AddKindRows(); }
    void treeFetchesOnceAndRefreshKeepsExpandedKeys()
    {
        QString id, other;
        if (!open([&] {
                id = b->Versioned("p_apple");
                other = b->Versioned("p_banana");
            }))
            QSKIP("no backend");
        QVERIFY(Unfetched(folder()));
        QTreeWidgetItem *first = expand(folder()->data(0, Qt::UserRole).toString())->child(0);
        QCOMPARE(mdiMain::NodeKey(first), "I" + id);
        folder()->setExpanded(false);
        folder()->setExpanded(true);
        QCOMPARE(folder()->child(0), first); // expanding again fetches nothing

        // Three levels: folder, object, its permissions folder.
        expand("I" + id);
        QTreeWidgetItem *permissions = expand("P" + id);
        QVERIFY(permissions);
        QVERIFY(!Unfetched(permissions));
        const QString views = session->Views()->ObjectType();
        QVERIFY(Unfetched(node(views)));
        auto *filter = main->findChild<QLineEdit *>("txtFilter");
        filter->setText("APP");
        QVERIFY(node("I" + other)->isHidden());

        main->DoCommand(16);
        QVERIFY(folder()->isExpanded());
        QVERIFY(node("I" + id)->isExpanded());
        QVERIFY(node("P" + id) && node("P" + id)->isExpanded());
        QVERIFY(!Unfetched(node("P" + id)));
        QVERIFY(Unfetched(node(views)));
        QVERIFY(main->Tree()->updatesEnabled());
        QVERIFY(!node("I" + id)->isHidden());
        QVERIFY(node("I" + other)->isHidden());
        QTest::keyClick(filter, Qt::Key_Escape);
        QVERIFY(filter->text().isEmpty());
        QVERIFY(!node("I" + other)->isHidden());
    }

    void deleteAsksFirst_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<bool>("yes");
        for (const char *kind : { "PostgreSQL", "SQLServer" }) {
            QTest::addRow("%s yes", kind) << kind << true;
            QTest::addRow("%s no", kind) << kind << false;
        }
    }
    void deleteAsksFirst()
    {
        QFETCH(bool, yes);
        QString id;
        if (!open([&] { id = b->Versioned("p_gone"); }))
            QSKIP("no backend");
        expand(folder()->data(0, Qt::UserRole).toString());
        main->Tree()->setCurrentItem(node("I" + id));
        FakeChild *text = child(1, "StoredProcedure", "I" + id);
        QPointer<FakeChild> watch(text);
        b->ui.setLenient(true); // the object's own boxes after the question
        b->ui.answer(yes ? UiServices::Answer::Yes : UiServices::Answer::No);
        const int before = b->ui.boxes.size();
        main->DoCommand(3, "mnuDeleteItem");
        QVERIFY(b->ui.boxes.size() > before);
        const ScriptedUi::Box question = b->ui.boxes.at(before);
        QCOMPARE(question.title, "Delete Item");
        QCOMPARE(question.text, "Are you sure you want to Delete the Item [dbo].[p_gone]");
        QCOMPARE(b->Exists("p_gone"), !yes);
        QCOMPARE(bool(node("I" + id)), !yes);
        QCOMPARE(log.contains("closed 1"), yes);
    }

    void popupAndPanelFollowTheFlags_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("state");
        QTest::addColumn<QStringList>("popup");
        QTest::addColumn<QStringList>("panel");
        const QStringList tail { "mnuRefreshNode", "mnuRefresh" };
        for (const char *kind : { "PostgreSQL", "SQLServer" }) {
            QTest::addRow("%s in both", kind)
                << kind << "both"
                << QStringList { "mnuPopupGetLatest", "mnuPopupCheckOut", "mnuSpacer_1", "mnuNewItem", "mnuSpacer_2",
                       "mnuEditItem", "mnuRenameItem", "mnuDeleteItem", "mnuSpacer_3", "mnuPopupEditPermission",
                       "mnuSpacer_4" }
                    + tail
                << QStringList { "RefreshNode", "mnuPopupEditItem", "mnuPopupRenameItem", "mnuPopupDeleteItem",
                       "mnuPopupGetLatest", "mnuPopupCheckOut", "mnuPopupEditPermission" };
            QTest::addRow("%s checked out", kind)
                << kind << "out"
                << QStringList { "mnuPopupCheckIn", "mnuPopupUndoCheckout", "mnuSpacer_1", "mnuNewItem", "mnuSpacer_2",
                       "mnuEditItem", "mnuRenameItem", "mnuDeleteItem", "mnuSpacer_3", "mnuPopupEditPermission",
                       "mnuSpacer_4" }
                    + tail
                << QStringList { "RefreshNode", "mnuPopupEditItem", "mnuPopupRenameItem", "mnuPopupDeleteItem",
                       "mnuPopupCheckIn", "mnuPopupUndoCheckOut", "mnuPopupEditPermission" };
            QTest::addRow("%s folder", kind) << kind << "folder" << QStringList { "mnuNewItem", "mnuSpacer_2" } + tail
                                             << QStringList { "NoItem", "RefreshNode" };
            QTest::addRow("%s only in SQL", kind)
                << kind << "sql"
                << QStringList { "mnuNewItem", "mnuSpacer_2", "mnuPopupEditPermission", "mnuSpacer_4", "mnuVSSAdd",
                       "mnuSQLRemove", "mnuSpacer_5" }
                    + tail
                << QStringList { "RefreshNode", "mnuPopupEditPermission", "mnuPopupAddToVSS", "mnuPopupDeleteFromSQL" };
            QTest::addRow("%s only in VSS", kind)
                << kind << "vss"
                << QStringList { "mnuNewItem", "mnuSpacer_2", "mnuSQLAdd", "mnuVSSRemove", "mnuSpacer_5" } + tail
                << QStringList { "RefreshNode", "mnuPopupAddToSQL", "mnuPopupDeleteFromVSS" };
        }
    }
    void popupAndPanelFollowTheFlags()
    {
        QFETCH(QString, state);
        QFETCH(QStringList, popup);
        QFETCH(QStringList, panel);
        QString id;
        if (!open([&] {
                id = state == "sql" ? b->Create(ObjectClass::StoredProcedure, "p_menu") : b->Versioned("p_menu");
                if (state == "vss")
                    b->Drop(ObjectClass::StoredProcedure, "p_menu");
            }))
            QSKIP("no backend");
        expand(folder()->data(0, Qt::UserRole).toString());
        QTreeWidgetItem *n = state == "folder" ? folder() : node("I" + id);
        main->Tree()->setCurrentItem(n);
        if (state == "out") {
            main->DoCommand(8, "mnuPopupCheckOut");
            n = node("I" + id);
        }
        QCOMPARE(VisibleEntries(main->PreparePopup(n)), popup);
        QCOMPARE(main->ExtraPanel()->ItemKeys("Item"), panel);
        // Every entry shows one of KORVO's pictures, none the picture of a missing name.
        for (const QString &group : { QStringLiteral("Item"), QStringLiteral("Tools") }) {
            for (const QString &key : main->ExtraPanel()->ItemKeys(group)) {
                if (key != "NoItem")
                    QVERIFY2(KnownPicture(main->ExtraPanel()->Item(group, key)->icon(0)), qPrintable(key));
            }
        }
        for (QAction *entry : main->NewMenu()->actions())
            QVERIFY2(KnownPicture(entry->icon()), qPrintable(entry->text()));
    }

    void nodeTextNamesTheCheckOut_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("action");
        QTest::addColumn<bool>("owner");
        QTest::addColumn<QString>("text");
        const QString by = " (Checked out by alice)";
        for (const char *kind : { "PostgreSQL", "SQLServer" }) {
            QTest::addRow("%s check out", kind) << kind << "check out" << false << "p_text" + by;
            QTest::addRow("%s check out, owner", kind) << kind << "check out" << true << "dbo.p_text" + by;
            QTest::addRow("%s check in, owner", kind) << kind << "check in" << true << "dbo.p_text";
            QTest::addRow("%s refresh tree, owner", kind) << kind << "refresh tree" << true << "dbo.p_text" + by;
            QTest::addRow("%s rename, owner", kind) << kind << "rename" << true << "dbo.p_new";
        }
    }
    void nodeTextNamesTheCheckOut()
    {
        QFETCH(QString, action);
        QFETCH(bool, owner);
        QFETCH(QString, text);
        QString id;
        if (!open([&] { id = b->Versioned("p_text"); }))
            QSKIP("no backend");
        session->SetShowOwnerNameInName(owner);
        expand(folder()->data(0, Qt::UserRole).toString());
        main->Tree()->setCurrentItem(node("I" + id));
        if (action == "rename") {
            child(1, "StoredProcedure", "I" + id);
            WhenModal([](QDialog &d) {
                SetText(d, "txtNewName", "p_new");
                Click(d, "cmdRename");
            });
            b->ui.answer(UiServices::Answer::Ok); // "Item Successfully Renamed"
            main->DoCommand(43, "mnuRenameItem");
            QVERIFY(!node("I" + id)); // the node takes the new key
            QVERIFY(log.contains("caption")); // open children re-read their titles
            id = b->Id("p_new");
        } else {
            main->DoCommand(8, "mnuPopupCheckOut");
            if (action == "check in")
                main->DoCommand(7, "mnuPopupCheckIn");
            if (action == "refresh tree")
                main->DoCommand(16);
        }
        QVERIFY(node("I" + id));
        QCOMPARE(node("I" + id)->text(0), text);
    }

    void newOpensTheTypesDefaultText_data() { AddKindRows({ "procedure", "trigger of the selected table" }); }
    void newOpensTheTypesDefaultText()
    {
        QFETCH(QString, row);
        QString table;
        if (!open([&] { table = b->CreateTable("dbo", "t_new"); }))
            QSKIP("no backend");
        const QString text = "<TABLEWITHOWNER>|<TABLE>|<TABLEOWNER>|<DONEBYVSS>|<DATE>";
        const QString today = QDate::currentDate().toString("dd.MM.yyyy");
        QVERIFY(session->SetDefaultText("StoredProcedures", text));
        QVERIFY(session->SetDefaultText("Triggers", text));
        if (row == "procedure") {
            main->DoCommand(1); // index 0: the first row
            QCOMPARE(windows.calls, QStringList { "new StoredProcedure |||alice|" + today });
            return;
        }
        expand(session->Tables()->ObjectType());
        main->Tree()->setCurrentItem(node("I" + table));
        main->NewMenu()->actions().last()->trigger();
        QCOMPARE(windows.calls, QStringList { "new Trigger dbo.t_new|t_new|dbo|alice|" + today });
    }

    void windowListShowsTheChildrensIcons_data() { AddKindRows(); }
    void windowListShowsTheChildrensIcons()
    {
        QString id;
        if (!open([&] { id = b->Versioned("p_icon"); }))
            QSKIP("no backend");
        windows.real = &realWindows;
        expand(folder()->data(0, Qt::UserRole).toString());
        expand("I" + id);
        // A double click on the permissions folder opens its object's permissions, on the object its text.
        main->Tree()->setCurrentItem(node("P" + id));
        main->Tree()->itemDoubleClicked(node("P" + id), 0);
        main->Tree()->setCurrentItem(node("I" + id));
        main->Tree()->itemDoubleClicked(node("I" + id), 0);
        QCOMPARE(windows.calls, QStringList({ "permissions StoredProcedure|I" + id, "text p_icon" }));
        // The menu brings the open windows up instead of opening them again.
        main->DoCommand(33, "mnuPopupEditPermission");
        main->DoCommand(2);
        QCOMPARE(main->Children().size(), 2);
        main->DoCommand(40);
        // Numbered in the order of opening, the active one ticked, each with its window's picture.
        QStringList entries;
        for (QAction *a : main->findChild<QMenu *>("mnuWindows")->actions()) {
            if (a->objectName().startsWith("WINLIST:CHILD:") && !a->isSeparator())
                entries << QStringLiteral("%1%2|%3").arg(a->text(), a->isChecked() ? "*" : "").arg(a->data().toInt());
        }
        bool fromDeleted = false;
        auto object
            = std::static_pointer_cast<KORVOTypedObject>(session->GetObject("StoredProcedure", "I" + id, fromDeleted));
        const int icon = main->GetIconIndex(object->IconToUse(), true);
        QVERIFY(icon >= 0);
        const QList<QMdiSubWindow *> subs = main->MdiArea()->subWindowList(QMdiArea::CreationOrder);
        QCOMPARE(entries,
            QStringList({ QStringLiteral("&1 %1|%2")
                              .arg(subs.at(0)->windowTitle())
                              .arg(main->GetIconIndex("PERMISSIONS", true)),
                QStringLiteral("&2 %1*|%2").arg(subs.at(1)->windowTitle()).arg(icon) }));
        main->DoCommand(31, "WINLIST:CHILD:1");
        QCOMPARE(main->MdiArea()->activeSubWindow(), subs.at(0));
    }

    void projectCommandsOpenAnotherProject_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<int>("command");
        QTest::addColumn<QString>("choice"); // the recent-project entry, or the browser's row
        QTest::addColumn<bool>("refuse");
        QTest::addColumn<QString>("project");
        // Stored projects reopen by their connection settings, which only PostgreSQL has here.
        QTest::newRow("35 the open project") << "PostgreSQL" << 35 << "RECENT:1" << false << "Shop";
        QTest::newRow("35 another") << "PostgreSQL" << 35 << "RECENT:2" << false << "Other";
        QTest::newRow("35 a child refuses") << "PostgreSQL" << 35 << "RECENT:2" << true << "Shop";
        QTest::newRow("41 another") << "PostgreSQL" << 41 << "Other" << false << "Other";
    }
    void projectCommandsOpenAnotherProject()
    {
        QFETCH(int, command);
        QFETCH(QString, choice);
        QFETCH(bool, refuse);
        QFETCH(QString, project);
        QFile::remove(mdiMain::BarLayoutFile());
        if (!open())
            QSKIP("no backend");
        for (const char *name : { "Shop", "Other" }) {
            auto p = std::make_shared<KORVOProject>(b->ui);
            p->Name = QLatin1String(name);
            p->SQL()->SetKind(ServerKind::PostgreSQL());
            p->SQL()->SetServer(b->pg->Server);
            p->SQL()->SetDatabase(b->pg->Database);
            p->SQL()->SetUserName(b->pg->UserName);
            p->SQL()->SetPassword(b->pg->Password);
            p->SQL()->SetStorePassword(true);
            p->VSS()->IniFile = b->repo->Url();
            p->VSS()->UserName = QStringLiteral("alice");
            p->VSS()->StorePassword = true;
            p->VSS()->Project = Backend::Project;
            p->VSS()->SetGeneralWorkingFolder(b->repo->Folder("main"));
            session->SaveProject(p);
        }
        main->InitDBT(0); // the recent-projects table from the store
        QAction *recent = main->findChild<QAction *>("RECENT:2");
        QVERIFY(recent);
        QCOMPARE(recent->text(), "&2 - Other");
        child(1, "StoredProcedure", "I1")->refuse = refuse;
        main->Tree()->setCurrentItem(main->Tree()->topLevelItem(0));
        b->ui.setLenient(true);
        if (command == 41) {
            WhenModal([choice](QDialog &d) {
                auto *list = Control<QTreeWidget>(d, "lvwProjects");
                list->setCurrentItem(list->findItems(choice, Qt::MatchExactly).value(0));
                Click(d, "cmdOpen");
            });
        }
        main->DoCommand(command, command == 35 ? choice : "mnuProjectBrowser");
        QCOMPARE(session->Project()->Name, project);
        QVERIFY(main->isVisible());
        const bool changed = project != "Shop";
        QCOMPARE(main->Children().size(), changed ? 0 : 1);
        if (changed) {
            QCOMPARE(main->windowTitle(), "Other - KORVO");
            QVERIFY(session->Project()->SQL()->ConnectionOpen() && session->Project()->VSS()->ConnectionOpen());
            QVERIFY(!main->Tree()->currentItem());
            QVERIFY(node(session->StoredProcedures()->ObjectType()));
        }
        QVERIFY(!QFile::exists(mdiMain::BarLayoutFile())); // closing and opening leave the bars' layout alone
    }

    // --- Without a server --------------------------------------------------

    void keysFireOnPressOrRelease_data()
    {
        QTest::addColumn<int>("key");
        QTest::addColumn<int>("shift");
        QTest::addColumn<bool>("down");
        QTest::addColumn<bool>("consumed");
        QTest::addColumn<QString>("effect");
        QTest::newRow("Ctrl+Z press") << int(Qt::Key_Z) << 2 << true << true << "Undo";
        QTest::newRow("Ctrl+Z release") << int(Qt::Key_Z) << 2 << false << false << "";
        QTest::newRow("Shift+Ctrl+Z press") << int(Qt::Key_Z) << 3 << true << true << "Redo";
        QTest::newRow("Ctrl+C press") << int(Qt::Key_C) << 2 << true << true << "Copy";
        QTest::newRow("Ctrl+D press") << int(Qt::Key_D) << 2 << true << true << "Description";
        QTest::newRow("Ctrl+Alt+D release") << int(Qt::Key_D) << 6 << false << true << "drag";
        QTest::newRow("Ctrl+Alt+D press") << int(Qt::Key_D) << 6 << true << false << "";
        QTest::newRow("F3 press") << int(Qt::Key_F3) << 0 << true << false << "";
        QTest::newRow("Ctrl+F press") << int(Qt::Key_F) << 2 << true << true << "Find";
        QTest::newRow("F1 press") << int(Qt::Key_F1) << 0 << true << false << "";
        QTest::newRow("F1 release") << int(Qt::Key_F1) << 0 << false << true << "help";
        QTest::newRow("Ctrl+Q release") << int(Qt::Key_Q) << 2 << false << true << "query";
        QTest::newRow("Ctrl+F4 press") << int(Qt::Key_F4) << 2 << true << false << "";
        QTest::newRow("Shift+Q press") << int(Qt::Key_Q) << 1 << true << false << "";
    }
    void keysFireOnPressOrRelease()
    {
        QFETCH(int, key);
        QFETCH(int, shift);
        QFETCH(bool, down);
        QFETCH(bool, consumed);
        QFETCH(QString, effect);
        KORVODatabase db(quiet, std::make_shared<KORVOObjectFactory>(), {}, settings.filePath("keys.conf"));
        mdiMain window(windows, help.get());
        window.Init(&db);
        auto *c = new FakeChild(1, "StoredProcedure", "I1", log);
        window.AddChild(c);
        log.clear();
        windows.calls.clear();
        opened.clear();
        int code = key;
        window.KeyPreview(down, code, shift, 23);
        QCOMPARE(code == 0, consumed);
        QStringList effects = log;
        if (window.DragSubnodes())
            effects << "drag";
        if (!opened.isEmpty())
            effects << "help";
        effects << windows.calls;
        QCOMPARE(effects.join(','), effect);
        // The row's name is the key as the menus write it.
        QCOMPARE(mdiMain::KeyName(key, shift), QString(QTest::currentDataTag()).section(' ', 0, 0));
    }

    // Real key events on the real windows: the tree's pass the main window's filter,
    // the children's their own hooks into the same key table.
    void keysReachTheirWindows_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("target");
        QTest::addColumn<QString>("keys");
        QTest::addColumn<QString>("effect");
        auto row = [](const char *name, const char *target, const char *keys, const char *effect) {
            QTest::newRow(name) << "PostgreSQL" << target << keys << effect;
        };
        row("F1 in the text window", "text", "F1", "help TheEditor.htm");
        row("F1 in the permission editor", "permissions", "F1", "help Permissions.htm");
        row("F1 in the query window", "query", "F1", "help SQLQuery.htm");
        row("F1 on the tree", "tree", "F1", "help DBT.htm");
        row("F3", "text", "F3", "later");
        row("Shift+F3", "text", "+Shift F3 -Shift", "earlier");
        row("Ctrl+Q, Q let go first", "tree", "+Ctrl +Q -Q -Ctrl", "query");
        row("Ctrl+Q, Ctrl let go first", "tree", "+Ctrl +Q -Ctrl -Q", "query");
        row("Ctrl+Q in the text window, Ctrl let go first", "text", "+Ctrl +Q -Ctrl -Q", "query");
        row("Ctrl+Alt+D, Alt let go first", "tree", "+Ctrl +Alt +D -Alt -D -Ctrl", "drag");
        row("Q alone", "tree", "Q", "");
        row("Ctrl+S in the permission editor", "permissions", "+Ctrl S -Ctrl", "box Permissions Saved,saved");
        row("Enter on the tree", "tree", "Return", "text p_keys");
        row("Delete on the tree", "tree", "Delete", "box Delete Item");
        row("Escape in the comparison", "compare", "Escape", "closed");
        row("F5 in the query window", "query", "F5", "ran");
        row("Ctrl+Enter in the query window", "query", "+Ctrl Return -Ctrl", "ran");
        row("typing into a read-only text", "text", "x", "Read only: check the object out (Ctrl+O) to change it.");
    }
    void keysReachTheirWindows()
    {
        QFETCH(QString, target);
        QFETCH(QString, keys);
        QFETCH(QString, effect);
        QString id;
        if (!open([&] { id = b->Versioned("p_keys"); }))
            QSKIP("no backend");
        HelpKeys helpKeys(*help); // as the program has it
        qApp->installEventFilter(&helpKeys);
        windows.real = &realWindows;
        main->show();
        QApplication::setActiveWindow(main);
        expand(folder()->data(0, Qt::UserRole).toString());
        main->Tree()->setCurrentItem(node("I" + id));
        main->Tree()->setFocus();
        QWidget *widget = main->Tree();
        std::function<QStringList()> observe = [] { return QStringList(); };
        if (target == "text") {
            main->DoCommand(2);
            auto *text = dynamic_cast<frmEditObjectText *>(main->ActiveChild());
            QVERIFY(text && text->Editor().Locked());
            SQLTextEditor *editor = &text->Editor();
            QVERIFY(editor->Search("E", false, false, true) && editor->Search("E", false, false, true));
            const long at = editor->SendScintilla(QsciScintillaBase::SCI_GETCURRENTPOS);
            const QString status = text->PanelText("Status");
            observe = [=] {
                const long now = editor->SendScintilla(QsciScintillaBase::SCI_GETCURRENTPOS);
                return QStringList { now > at ? "later" : now < at ? "earlier" : "",
                    text->PanelText("Status") == status ? QString() : text->PanelText("Status") };
            };
            widget = editor;
        } else if (target == "permissions") {
            main->DoCommand(33, "mnuPopupEditPermission");
            auto *permissions = dynamic_cast<frmEditObjectPermissions *>(main->ActiveChild());
            QVERIFY(permissions);
            auto *grid = permissions->findChild<QTableWidget *>("grdPermission");
            grid->setFocus(); // lands on the first grantee's name, where a blank grants nothing
            QTRY_VERIFY(grid->hasFocus() && grid->currentRow() == 0 && grid->currentColumn() == 0);
            permissions->CycleCell(0, 1);
            observe = [=] { return QStringList { permissions->IsDirty() ? "" : "saved" }; };
            widget = grid;
        } else if (target == "query") {
            main->DoCommand(53);
            auto *query = dynamic_cast<frmSQLQuery *>(main->ActiveChild());
            QVERIFY(query);
            query->Editor().SetText("SELECT 1");
            query->SetPanelVisible(false);
            observe = [=] {
                QTest::qWaitFor([=] { return !query->findChild<multiGrid *>()->IsRunning(); });
                return QStringList { query->PanelVisible() ? "ran" : "" };
            };
            widget = &query->Editor();
        } else if (target == "compare") {
            realWindows.Compare(main, *session, "a", "b", "SQL", "VSS");
            QPointer<QWidget> compare = main->findChild<QWidget *>("frmCompareText");
            QVERIFY(compare);
            observe = [=] { return QStringList { compare && compare->isVisible() ? "" : "closed" }; };
            widget = compare->findChild<QWidget *>("txtLeft");
        }
        windows.calls.clear();
        opened.clear();
        b->ui.setLenient(true);
        b->ui.answer(UiServices::Answer::No);
        const int boxes = b->ui.boxes.size();

        Type(widget, keys);
        QStringList effects;
        for (const QString &page : std::as_const(opened))
            effects << "help " + page;
        effects << windows.calls;
        for (int i = boxes; i < b->ui.boxes.size(); ++i)
            effects << "box " + b->ui.boxes.at(i).title;
        if (main->DragSubnodes())
            effects << "drag";
        effects << observe();
        effects.removeAll(QString());
        QCOMPARE(effects.join(','), effect);
    }

    // The help menu opens the main window's page, or the tree's when the tree has the focus.
    void helpMenuOpensTheMainWindowsTopic_data()
    {
        QTest::addColumn<bool>("treeFocused");
        QTest::addColumn<QString>("page");
        QTest::newRow("contents") << false << "TheIDE.htm";
        QTest::newRow("contents, tree focused") << true << "DBT.htm";
    }
    void helpMenuOpensTheMainWindowsTopic()
    {
        QFETCH(bool, treeFocused);
        QFETCH(QString, page);
        mdiMain window(windows, help.get());
        window.show();
        QApplication::setActiveWindow(&window);
        if (treeFocused)
            window.Tree()->setFocus();
        else
            window.findChild<QLineEdit *>("txtFilter")->setFocus();
        QTRY_COMPARE(window.Tree()->hasFocus(), treeFocused);
        opened.clear();
        window.Action("mnuHelpContents")->trigger();
        QCOMPARE(opened, QStringList { page });
    }

    // No two entries of a menu share an access key, so Alt+T, Q reaches one entry.
    void accessKeysDifferWithinEachMenu()
    {
        mdiMain window;
        const auto menus = window.menuBar()->findChildren<QMenu *>();
        QVERIFY(menus.size() > 5);
        for (QMenu *menu : menus) {
            QStringList keys;
            for (QAction *a : menu->actions()) {
                const QString text = a->text().section('\t', 0, 0);
                if (text.contains('&'))
                    keys << text.section('&', 1).left(1).toUpper();
            }
            QCOMPARE(QSet<QString>(keys.begin(), keys.end()).size(), keys.size());
        }
    }

    void commandsFollowTheActiveChild()
    {
        ScriptedUi ui;
        KORVODatabase db(ui, std::make_shared<KORVOObjectFactory>(), {}, settings.filePath("cmd.conf"));
        mdiMain window;
        window.Init(&db);
        window.show();
        QAction *undo = window.Action("EDITBAR:UNDO");
        QAction *load = window.Action("mnuOpenFile");
        int changes = 0;
        for (const char *name : { "EDITBAR:UNDO", "EDITBAR:CUT", "EDITBAR:HISTORY", "mnuOpenFile", "mnuReplace" })
            connect(window.Action(name), &QAction::changed, this, [&changes] { ++changes; });

        window.UpdateCommands();
        QVERIFY(window.CommandsOff());
        QVERIFY(!undo->isEnabled());
        QCOMPARE(load->text(), "&Load\tCtrl+L");
        changes = 0;
        window.UpdateCommands();
        window.UpdateCommands();
        QCOMPARE(changes, 0); // switched off once

        auto *query = new FakeChild(3, QString(), QString(), log);
        query->openText = "Open";
        window.AddChild(query);
        window.UpdateCommands();
        QVERIFY(!window.CommandsOff());
        QVERIFY(undo->isEnabled());
        QCOMPARE(load->text(), "&Open\tCtrl+L");
        QCOMPARE(window.Action("EDITBAR:OPENFILE")->text(), "Open");
        changes = 0;
        window.UpdateCommands();
        QCOMPARE(changes, 0); // nothing changed, nothing touched
        query->can = false;
        window.UpdateCommands();
        QVERIFY(!undo->isEnabled());
        window.DoCommand(10, "mnuUndo");
        QVERIFY(!log.contains("Undo")); // a stale button does nothing

        query->CloseItem(true);
        QTRY_VERIFY(window.MdiArea()->subWindowList().isEmpty());
        window.UpdateCommands();
        QCOMPARE(load->text(), "&Load\tCtrl+L");
    }

    // A text and a permissions window of one object; a plain sub-window is no child.
    void findOpenChildTellsKindsApart()
    {
        mdiMain window;
        window.AddChild(new FakeChild(1, "StoredProcedure", "I7", log));
        window.AddChild(new FakeChild(2, "StoredProcedure", "I7", log));
        window.MdiArea()->addSubWindow(new QWidget)->show();
        QCOMPARE(window.Children().size(), 2);
        QCOMPARE(window.FindOpenChild("StoredProcedure", "I7", 1)->FormType(), 1);
        QCOMPARE(window.FindOpenChild("StoredProcedure", "I7", 2)->FormType(), 2);
        QVERIFY(!window.FindOpenChild("StoredProcedure", "I7", 3));
        QVERIFY(!window.FindOpenChild("StoredProcedure", "I8", 1));
    }

    void closeStopsAtARefusingChild_data()
    {
        QTest::addColumn<bool>("firstRefuses");
        QTest::addColumn<bool>("secondRefuses");
        QTest::newRow("none refuses") << false << false;
        QTest::newRow("first refuses") << true << false;
        QTest::newRow("second refuses") << false << true;
    }
    void closeStopsAtARefusingChild()
    {
        QFETCH(bool, firstRefuses);
        QFETCH(bool, secondRefuses);
        mdiMain window;
        window.show();
        auto *first = new FakeChild(1, "StoredProcedure", "I1", log);
        auto *second = new FakeChild(2, "StoredProcedure", "I1", log);
        first->refuse = firstRefuses;
        second->refuse = secondRefuses;
        window.AddChild(first);
        window.AddChild(second);
        log.clear();
        const bool refused = firstRefuses || secondRefuses;
        QCOMPARE(window.CloseProject(), !refused);
        QCOMPARE(window.isVisible(), refused);
        QCOMPARE(window.Children().size(), refused ? 2 : 0);
        QCOMPARE(log.isEmpty(), refused);
    }

    void pendingFocusIsPushedOncePerSecond()
    {
        mdiMain window;
        window.show();
        auto *a = new FakeChild(1, "StoredProcedure", "I1", log);
        auto *b = new FakeChild(1, "StoredProcedure", "I2", log);
        window.AddChild(a);
        window.AddChild(b);
        log.clear();
        window.SetChildToFocus(b); // already active: nothing to do
        window.PushChildFocus();
        QVERIFY(log.isEmpty());
        window.SetChildToFocus(a);
        window.PushChildFocus();
        QCOMPARE(log, QStringList { "focus I1" });
        QCOMPARE(window.ActiveChild(), a);
        window.SetChildToFocus(b); // within a second of the last push
        window.PushChildFocus();
        QCOMPARE(window.ActiveChild(), a);
    }

    void statusPercentRoundsHalvesToEven_data()
    {
        QTest::addColumn<int>("position");
        QTest::addColumn<int>("total");
        QTest::addColumn<QString>("text");
        QTest::newRow("12.5") << 1 << 8 << "Adding - Stored Procedures: 12%";
        QTest::newRow("37.5") << 3 << 8 << "Adding - Stored Procedures: 38%";
        QTest::newRow("2.5") << 1 << 40 << "Adding - Stored Procedures: 2%";
        QTest::newRow("33.3") << 1 << 3 << "Adding - Stored Procedures: 33%";
        QTest::newRow("no total") << 0 << 0 << "";
    }
    void statusPercentRoundsHalvesToEven()
    {
        QFETCH(int, position);
        QFETCH(int, total);
        QFETCH(QString, text);
        ScriptedUi ui;
        KORVODatabase db(ui, std::make_shared<KORVOObjectFactory>(), {}, settings.filePath("status.conf"));
        mdiMain window;
        window.Init(&db);
        KORVOSessionListener &listener = window;
        bool cancel = false;
        listener.AddingStatusChange("STOREDPROCEDURES", "Stored Procedures", position, total, cancel);
        QCOMPARE(window.findChild<QLabel *>("DBT:STATUS")->text(), text);
        QVERIFY(!cancel);
        listener.CompletedCurrentStatus("STOREDPROCEDURES", "Stored Procedures");
        QVERIFY(window.findChild<QLabel *>("DBT:STATUS")->text().isEmpty());
    }

    void sizesAreStoredOnlyWhenNotLoading()
    {
        ScriptedUi ui;
        KORVODatabase db(ui, std::make_shared<KORVOObjectFactory>(), {}, settings.filePath("sizes.conf"));
        db.SetExtraPanelHeight(-1);
        mdiMain window;
        window.Init(&db);
        window.show();
        window.resize(800, 600);
        const int width = db.WindowWidth();
        window.SetLoading(true);
        window.resize(640, 480);
        QCOMPARE(db.WindowWidth(), width);
        window.SetLoading(false);
        window.resize(700, 500);
        QVERIFY(db.WindowWidth() != width);
        const int normal = db.WindowWidth();
        window.showMaximized();
        QCOMPARE(db.WindowState(), 2);
        QCOMPARE(db.WindowWidth(), normal);

        window.SetExtraPanelVisible(true);
        const QList<int> halves = window.findChild<QSplitter *>("cmdSplitDBT")->sizes();
        QVERIFY(std::abs(halves.at(0) - halves.at(1)) <= 1);
        window.DoCommand(36);
        QVERIFY(!window.DatabaseTreeVisible());
        QVERIFY(!db.DBTVisible());
        window.DoCommand(36);
        QVERIFY(window.findChild<QWidget *>("picBG")->isVisible());

        // The bars' layout is kept in the user's own folder, and only when asked:
        // opening and closing projects leave it alone (projectCommandsOpenAnotherProject).
        const QString layout = "<bars>\n  <bar name=\"DBTBAR\" visible=\"1\"/>\n</bars>\n";
        QVERIFY(window.SaveBarLayout(layout));
        QVERIFY(QFile::exists(settings.filePath("data/" + LoggedOnUserName() + "/barlayout.xml")));
        QCOMPARE(window.LoadBarLayout(), layout);
    }

    void dragCarriesTheTextOrTheFields_data()
    {
        QTest::addColumn<bool>("subnodes");
        QTest::addColumn<QString>("tag");
        QTest::addColumn<QString>("text");
        QTest::newRow("table") << false << "Table"
                               << "orders";
        QTest::newRow("table, subnodes") << true << "Table"
                                         << "id,\nlabel";
        QTest::newRow("procedure, subnodes") << true << "StoredProcedure"
                                             << "orders";
    }
    void dragCarriesTheTextOrTheFields()
    {
        QFETCH(bool, subnodes);
        QFETCH(QString, tag);
        QFETCH(QString, text);
        mdiMain window;
        if (subnodes)
            window.DoCommand(69);
        QCOMPARE(window.Action("mnuDragSub")->isChecked(), subnodes);
        KORVODBTItems items;
        KORVODBTItemPtr table = items.Add("I7");
        table->Text = "orders";
        table->Tag = tag;
        table->Children().Add("OWNER7")->Text = "dbo"; // a leaf, no field
        for (const char *field : { "id", "label" }) {
            KORVODBTItemPtr f = table->Children().Add(QStringLiteral("F7_field_") + field);
            f->Text = QLatin1String(field);
            f->Children().Add(f->Key + "_1")->Text = "int";
        }
        KORVODBTItemPtr triggers = table->Children().Add("T7"); // a folder, not fetched
        triggers->Tag = "Triggers";
        triggers->Children().Add("T7_tmp")->Tag = "temp";
        auto *root = new QTreeWidgetItem(window.Tree());
        window.FillNode(root, items);
        QCOMPARE(window.DragText(root->child(0)), text);
        if (!subnodes)
            return;

        // The mouse rests on a field; a refresh fills the folder anew, and the
        // field's node is gone: no drag may carry it any more.
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        root->setExpanded(true);
        root->child(0)->setExpanded(true);
        QTreeWidgetItem *field = root->child(0)->child(1);
        const QPoint at = window.Tree()->visualItemRect(field).center();
        QMouseEvent hover(QEvent::MouseMove, at, window.Tree()->viewport()->mapToGlobal(at), Qt::NoButton,
            Qt::NoButton, Qt::NoModifier);
        QApplication::sendEvent(window.Tree()->viewport(), &hover);
        QCOMPARE(window.DragNode(), field);
        window.FillNode(root, items);
        QCOMPARE(window.DragNode(), nullptr);
    }

    void linksGoThroughTheDesktop_data()
    {
        QTest::addColumn<int>("command");
        QTest::addColumn<QString>("button"); // in the About box
        QTest::addColumn<QString>("url");
        QTest::addColumn<QString>("subject");
        const QString web = frmAbout::WebsiteUrl().toString(), mail = frmAbout::MailUrl().toString();
        QTest::newRow("about, web") << 44 << "cmdWeb" << web << "";
        QTest::newRow("about, mail") << 44 << "cmdMail" << mail << "";
        QTest::newRow("website") << 51 << "" << web << "";
        QTest::newRow("bug, high") << 45 << "" << mail << "Bug Report - Importance: HIGH";
        QTest::newRow("bug, low") << 47 << "" << mail << "Bug Report - Importance: Low";
        QTest::newRow("feature, normal") << 49 << "" << mail << "Feature Request - Importance: Normal";
    }
    void linksGoThroughTheDesktop()
    {
        QFETCH(int, command);
        QFETCH(QString, button);
        QFETCH(QString, url);
        QFETCH(QString, subject);
        UrlCatcher desktop;
        mdiMain window;
        QString version;
        if (command == 44) {
            WhenModal([&](QDialog &d) {
                version = Control<QLabel>(d, "lblVersion")->text();
                Click(d, button);
                Click(d, "cmdOK");
            });
        }
        window.DoCommand(command, {}, 23);
        QCOMPARE(desktop.urls.size(), 1);
        const QUrl opened = desktop.urls.first();
        QCOMPARE(opened.adjusted(QUrl::RemoveQuery).toString(), url);
        QCOMPARE(QUrlQuery(opened).queryItemValue("subject", QUrl::FullyDecoded), subject);
        if (command == 44) // the version the program was built with
            QVERIFY(version.endsWith(QStringLiteral(" %1.%2").arg(KORVO_VERSION_MAJOR).arg(KORVO_VERSION_MINOR)));
    }
};

QTEST_MAIN(TestMdiMain)
#include "test_mdimain.moc"
