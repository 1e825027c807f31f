// The main window on a real database and repository (both server kinds): the
// tree fetched lazily and refreshed by expanded keys, rename and delete from the
// tree, the popup's entries; and, with small fake children, the key table, the
// polling of the commands, the child look-up, closing, status texts and sizes.
#include "HelpIntegration.h"
#include "KORVODatabase.h"
#include "KORVOExplorerBar.h"
#include "KORVOObjectFactory.h"
#include "KORVOProject.h"
#include "OffscreenDialogs.h"
#include "mdiMain.h"
#include "test_backend.h"

#include <QAction>
#include <QLabel>
#include <QLineEdit>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMenu>
#include <QPointer>
#include <QSplitter>
#include <QTemporaryDir>
#include <QTest>
#include <QTreeWidget>

namespace
{

class RecordingWindows : public KORVOWindows
{
public:
    QStringList calls;
    KORVOChildWindow *OpenObjectText(KORVOMainWindowServices &, KORVODatabase &, const KORVODBObjectPtr &o) override
    {
        calls << QStringLiteral("text ") + o->Name();
        return nullptr;
    }
    KORVOChildWindow *OpenPermissions(KORVOMainWindowServices &, KORVODatabase &, const QString &tag,
                                      const QString &key, const KORVODBObjectPtr &) override
    {
        calls << QStringLiteral("permissions %1|%2").arg(tag, key);
        return nullptr;
    }
    KORVOChildWindow *OpenQuery(KORVOMainWindowServices &, KORVODatabase &) override
    {
        calls << QStringLiteral("query");
        return nullptr;
    }
};

// A child that answers every Can... alike and logs the operations it gets.
class FakeChild : public QWidget, public KORVOChildWindow
{
public:
    FakeChild(long type, const QString &tag, const QString &key, QStringList &log)
        : mType(type), mTag(tag), mKey(key), mLog(log)
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
        help = std::make_unique<HelpIntegration>(b->ui, settings.path(), [this](const QUrl &url) {
            opened << url.fileName();
            return true;
        });
        session = std::make_unique<KORVODatabase>(b->ui, std::make_shared<KORVOObjectFactory>(),
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
    void cleanup()
    {
        session.reset();
        b.reset();
        main = nullptr;
    }

    void treeFetchesOnceAndRefreshKeepsExpandedKeys_data() { AddKindRows(); }
    void treeFetchesOnceAndRefreshKeepsExpandedKeys()
    {
        QString id;
        if (!open([&] { id = b->Versioned("p_one"); }))
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

        main->DoCommand(16);
        QVERIFY(folder()->isExpanded());
        QVERIFY(node("I" + id)->isExpanded());
        QVERIFY(node("P" + id) && node("P" + id)->isExpanded());
        QVERIFY(!Unfetched(node("P" + id)));
        QVERIFY(Unfetched(node(views)));
        QVERIFY(main->Tree()->updatesEnabled());
    }

    void filterNarrowsExpandedFolders_data() { AddKindRows(); }
    void filterNarrowsExpandedFolders()
    {
        QString one, two;
        if (!open([&] {
                one = b->Versioned("p_apple");
                two = b->Versioned("p_banana");
            }))
            QSKIP("no backend");
        expand(folder()->data(0, Qt::UserRole).toString());
        auto *filter = main->findChild<QLineEdit *>("txtFilter");
        filter->setText("APP");
        QVERIFY(!node("I" + one)->isHidden());
        QVERIFY(node("I" + two)->isHidden());
        main->DoCommand(16); // a refresh keeps the filter
        QVERIFY(node("I" + two)->isHidden());
        QTest::keyClick(filter, Qt::Key_Escape);
        QVERIFY(filter->text().isEmpty());
        QVERIFY(!node("I" + two)->isHidden());
    }

    void renameGivesTheNodeItsNewKey_data() { AddKindRows(); }
    void renameGivesTheNodeItsNewKey()
    {
        QString id;
        if (!open([&] { id = b->Versioned("p_old"); }))
            QSKIP("no backend");
        main->Tree()->setCurrentItem(expand(folder()->data(0, Qt::UserRole).toString())->child(0));
        QStringList captions;
        FakeChild *text = child(1, "StoredProcedure", "I" + id);
        (void)text;
        WhenModal([](QDialog &d) {
            SetText(d, "txtNewName", "p_new");
            Click(d, "cmdRename");
        });
        b->ui.answer(UiServices::Answer::Ok); // "Item Successfully Renamed"
        main->DoCommand(43, "mnuRenameItem");
        const QString newId = b->Id("p_new");
        QVERIFY(!newId.isEmpty());
        QVERIFY(newId != id);
        QVERIFY(!node("I" + id));
        QVERIFY(node("I" + newId));
        QVERIFY(node("I" + newId)->text(0).contains("p_new"));
        QVERIFY(log.contains("caption")); // open children re-read their titles
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
                                 "mnuEditItem", "mnuRenameItem", "mnuDeleteItem", "mnuSpacer_3",
                                 "mnuPopupEditPermission", "mnuSpacer_4" }
                       + tail
                << QStringList { "RefreshNode", "mnuPopupEditItem", "mnuPopupRenameItem", "mnuPopupDeleteItem",
                                 "mnuPopupGetLatest", "mnuPopupCheckOut", "mnuPopupEditPermission" };
            QTest::addRow("%s checked out", kind)
                << kind << "out"
                << QStringList { "mnuPopupCheckIn", "mnuPopupUndoCheckout", "mnuSpacer_1", "mnuNewItem",
                                 "mnuSpacer_2", "mnuEditItem", "mnuRenameItem", "mnuDeleteItem", "mnuSpacer_3",
                                 "mnuPopupEditPermission", "mnuSpacer_4" }
                       + tail
                << QStringList { "RefreshNode", "mnuPopupEditItem", "mnuPopupRenameItem", "mnuPopupDeleteItem",
                                 "mnuPopupCheckIn", "mnuPopupUndoCheckOut", "mnuPopupEditPermission" };
            QTest::addRow("%s folder", kind) << kind << "folder"
                                             << QStringList { "mnuNewItem", "mnuSpacer_2" } + tail
                                             << QStringList { "NoItem", "RefreshNode" };
        }
    }
    void popupAndPanelFollowTheFlags()
    {
        QFETCH(QString, state);
        QFETCH(QStringList, popup);
        QFETCH(QStringList, panel);
        QString id;
        if (!open([&] { id = b->Versioned("p_menu"); }))
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
        QCOMPARE(main->ExtraPanel()->ItemKeys("Tools"), QStringList({ "REFRESH", "SYNC" }));
    }

    void doubleClickOnPermissionsFolderUsesTheObject_data() { AddKindRows(); }
    void doubleClickOnPermissionsFolderUsesTheObject()
    {
        QString id;
        if (!open([&] { id = b->Versioned("p_perm"); }))
            QSKIP("no backend");
        expand(folder()->data(0, Qt::UserRole).toString());
        expand("I" + id);
        QTreeWidgetItem *permissions = node("P" + id);
        QVERIFY(permissions);
        main->Tree()->setCurrentItem(permissions);
        main->Tree()->itemDoubleClicked(permissions, 0);
        main->Tree()->setCurrentItem(node("I" + id));
        main->Tree()->itemDoubleClicked(node("I" + id), 0);
        QCOMPARE(windows.calls,
                 QStringList({ "permissions StoredProcedure|I" + id, "text p_perm" }));
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
        QTest::newRow("Ctrl+Shift+Z press") << int(Qt::Key_Z) << 3 << true << true << "Redo";
        QTest::newRow("Ctrl+C press") << int(Qt::Key_C) << 2 << true << true << "Copy";
        QTest::newRow("Ctrl+D press") << int(Qt::Key_D) << 2 << true << true << "Description";
        QTest::newRow("Ctrl+D release") << int(Qt::Key_D) << 2 << false << false << "";
        QTest::newRow("Ctrl+Alt+D release") << int(Qt::Key_D) << 6 << false << true << "drag";
        QTest::newRow("Ctrl+Alt+D press") << int(Qt::Key_D) << 6 << true << false << "";
        QTest::newRow("F3 press") << int(Qt::Key_F3) << 0 << true << true << "";
        QTest::newRow("Ctrl+F press") << int(Qt::Key_F) << 2 << true << true << "Find";
        QTest::newRow("F1 press") << int(Qt::Key_F1) << 0 << true << false << "";
        QTest::newRow("F1 release") << int(Qt::Key_F1) << 0 << false << true << "help";
        QTest::newRow("Ctrl+Q press") << int(Qt::Key_Q) << 2 << true << false << "";
        QTest::newRow("Ctrl+Q release") << int(Qt::Key_Q) << 2 << false << true << "query";
        QTest::newRow("Ctrl+F4 press") << int(Qt::Key_F4) << 2 << true << false << "";
        QTest::newRow("Shift+Q press") << int(Qt::Key_Q) << 1 << true << false << "";
    }
    void keysFireOnPressOrRelease()
    {
        QFile index(settings.filePath("index.html"));
        QVERIFY(index.open(QIODevice::WriteOnly));
        index.close();
        QFETCH(int, key);
        QFETCH(int, shift);
        QFETCH(bool, down);
        QFETCH(bool, consumed);
        QFETCH(QString, effect);
        ScriptedUi ui;
        HelpIntegration help(ui, settings.path(), [this](const QUrl &url) {
            opened << url.fileName();
            return true;
        });
        KORVODatabase db(ui, std::make_shared<KORVOObjectFactory>(), {}, settings.filePath("keys.conf"));
        mdiMain window(windows, &help);
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
        QCOMPARE(window.Action("mnuSaveFile")->text(), "&Save\tCtrl+S");
    }

    void findOpenChildTellsKindsApart_data()
    {
        QTest::addColumn<int>("type");
        QTest::addColumn<QString>("key");
        QTest::addColumn<int>("found"); // 0 none, else the FormType found
        QTest::newRow("text") << 1 << "I7" << 1;
        QTest::newRow("permissions") << 2 << "I7" << 2;
        QTest::newRow("query") << 3 << "I7" << 0;
        QTest::newRow("other key") << 1 << "I8" << 0;
    }
    void findOpenChildTellsKindsApart()
    {
        QFETCH(int, type);
        QFETCH(QString, key);
        QFETCH(int, found);
        mdiMain window;
        window.AddChild(new FakeChild(1, "StoredProcedure", "I7", log));
        window.AddChild(new FakeChild(2, "StoredProcedure", "I7", log));
        auto *plain = new QWidget; // no marker: not a child
        window.MdiArea()->addSubWindow(plain)->show();
        KORVOChildWindow *c = window.FindOpenChild("StoredProcedure", key, type);
        QCOMPARE(c ? int(c->FormType()) : 0, found);
        QCOMPARE(window.Children().size(), 2);
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

    void windowListNamesTheChildren()
    {
        mdiMain window;
        window.show();
        window.AddChild(new FakeChild(1, "StoredProcedure", "I1", log));
        window.AddChild(new FakeChild(2, "StoredProcedure", "I2", log));
        window.DoCommand(40);
        QStringList entries;
        for (QAction *a : window.findChild<QMenu *>("mnuWindows")->actions()) {
            if (a->objectName().startsWith("WINLIST:CHILD:"))
                entries << a->objectName() + '=' + a->text() + (a->isChecked() ? "*" : "");
        }
        QCOMPARE(entries, QStringList({ "WINLIST:CHILD:Spacer=", "WINLIST:CHILD:1=&1 1 I1",
                                        "WINLIST:CHILD:2=&2 2 I2*" }));
        window.DoCommand(31, "WINLIST:CHILD:1");
        QCOMPARE(window.MdiArea()->activeSubWindow()->windowTitle(), "1 I1");
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
    }

    void templateAndCaptions()
    {
        mdiMain window;
        const QString text = window.ExpandTemplate("<TABLEWITHOWNER> <TABLE> <TABLEOWNER> <DATE>", "sales", "orders");
        QCOMPARE(text, "sales.orders orders sales " + QDate::currentDate().toString("dd.MM.yyyy"));
        QCOMPARE(window.ExpandTemplate("<TABLEWITHOWNER>", "", "orders"), "orders");
        QCOMPARE(mdiMain::KeyName(Qt::Key_Z, 3), "Shift+Ctrl+Z");
        QCOMPARE(mdiMain::KeyName(Qt::Key_F4, 4), "Alt+F4");
        QCOMPARE(window.Action("mnuUndo")->text(), "&Undo\tCtrl+Z");
        QCOMPARE(window.Action("mnuHelpContents")->text(), "&Contents\tF1");
        QCOMPARE(window.Action("EDITBAR:UNDO")->text(), "Undo");
    }

};

QTEST_MAIN(TestMdiMain)
#include "test_mdimain.moc"
