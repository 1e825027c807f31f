#include "KORVOScreenshots.h"

#include "KORVOAllWindows.h"
#include "KORVODatabase.h"
#include "KORVOTypedObject.h"
#include "SQLTextEditor.h"
#include "frmCompareText.h"
#include "frmDocumentGenerationStart.h"
#include "frmEditObjectText.h"
#include "frmItemHistory.h"
#include "frmOptions.h"
#include "frmProjectBrowser.h"
#include "frmProjectDetails.h"
#include "frmRecompile.h"
#include "frmSQLQuery.h"
#include "frmScriptCreator.h"
#include "frmServerTextChanged.h"
#include "frmSyncResults.h"
#include "mdiMain.h"
#include "multiGrid.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDeadlineTimer>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QPointer>
#include <QSplitter>
#include <QTableView>
#include <QTimer>
#include <QTreeWidget>
#include <QTreeWidgetItemIterator>

#include <cstdio>

namespace
{

bool ShootSyncResults(KORVOScreenshotContext &context);
bool ShootTextReadOnly(KORVOScreenshotContext &context);
bool ShootTextCheckedOut(KORVOScreenshotContext &context);
bool ShootPermissions(KORVOScreenshotContext &context);
bool ShootHistory(KORVOScreenshotContext &context);
bool ShootQuery(KORVOScreenshotContext &context);
bool ShootScriptGenerator(KORVOScreenshotContext &context);
bool ShootDocGenerator(KORVOScreenshotContext &context);
bool ShootRecompile(KORVOScreenshotContext &context);
bool ShootProjects(KORVOScreenshotContext &context);
bool ShootOptions(KORVOScreenshotContext &context);
bool ShootServerTextChanged(KORVOScreenshotContext &context);

} // namespace

QList<KORVOScreenshot> KORVOScreenshots()
{
    return {
        // The sync results picture saves compare.png as well, from its usp_restock row.
        { QStringLiteral("sync-results"), &ShootSyncResults, true },
        { QStringLiteral("main-window"), &ShootMainWindow },
        { QStringLiteral("text-window-readonly"), &ShootTextReadOnly },
        { QStringLiteral("text-window-checkedout"), &ShootTextCheckedOut },
        { QStringLiteral("permissions"), &ShootPermissions },
        { QStringLiteral("history"), &ShootHistory },
        // The query window's Results page, and query-messages.png of its Messages page.
        { QStringLiteral("query"), &ShootQuery },
        { QStringLiteral("script-generator"), &ShootScriptGenerator },
        { QStringLiteral("doc-generator"), &ShootDocGenerator },
        // The project browser, and project-details.png from its Edit button.
        { QStringLiteral("project-browser"), &ShootProjects },
        { QStringLiteral("options"), &ShootOptions },
        { QStringLiteral("server-text-changed"), &ShootServerTextChanged },
        // Last: objects that fail to compile are checked out.
        { QStringLiteral("recompile"), &ShootRecompile },
    };
}

namespace
{

QTreeWidgetItem *Folder(mdiMain &main, const KORVOObjectCollectionPtr &collection)
{
    return collection ? main.FindNode(collection->ObjectType()) : nullptr;
}

// The tree's node of the named object in a folder, the folder opened.
QTreeWidgetItem *Node(mdiMain &main, const KORVOObjectCollectionPtr &collection, const QString &name)
{
    QTreeWidgetItem *folder = Folder(main, collection);
    if (!folder)
        return nullptr;
    folder->setExpanded(true);
    for (int i = 0; i < folder->childCount(); ++i) {
        const QString text = folder->child(i)->text(0);
        if (text == name || text.startsWith(name + QStringLiteral(" (Checked out by ")))
            return folder->child(i);
    }
    std::fprintf(stderr, "screenshots: no object %s\n", qPrintable(name));
    return nullptr;
}

KORVOTypedObjectPtr Object(KORVOScreenshotContext &context, QTreeWidgetItem *node)
{
    if (!node)
        return nullptr;
    bool fromDeleted = false;
    return std::dynamic_pointer_cast<KORVOTypedObject>(
        context.session.GetObject(mdiMain::NodeTag(node), mdiMain::NodeKey(node), fromDeleted));
}

void Settle()
{
    for (int i = 0; i < 5; ++i)
        QApplication::processEvents();
}

// The main window at the size of the pictures, the tree narrowed.
void MainAtSize(mdiMain &main, int width = 1100, int height = 720, int treeWidth = 270)
{
    main.showNormal();
    main.resize(width, height);
    if (auto *split = main.findChild<QSplitter *>(QStringLiteral("cmdSplit")))
        split->setSizes({ treeWidth, width - treeWidth });
    Settle();
}

// Selects the node and runs a command of the main window on it, as from the tree's menu.
void Command(mdiMain &main, QTreeWidgetItem *node, long command, const QString &key = {})
{
    main.Tree()->setCurrentItem(node);
    main.Tree()->scrollToItem(node);
    main.DoCommand(command, key);
    Settle();
}

// Closes every child window of the main window.
void CloseChildren(mdiMain &main)
{
    main.MdiArea()->closeAllSubWindows();
    Settle();
}

// Runs act on the modal window W once it is up: the command that opens the
// window blocks until act has closed it.
template <class W> void WhenModal(std::function<void(W &)> act, int waitMs = 60000)
{
    auto *timer = new QTimer;
    timer->setInterval(50);
    const QDeadlineTimer deadline(waitMs);
    QObject::connect(timer, &QTimer::timeout, [timer, deadline, act] {
        if (auto *w = dynamic_cast<W *>(QApplication::activeModalWidget())) {
            timer->stop();
            timer->deleteLater();
            Settle();
            act(*w);
        } else if (deadline.hasExpired()) {
            timer->stop();
            timer->deleteLater();
            std::fprintf(stderr, "screenshots: the window did not open\n");
        }
    });
    timer->start();
}

// Places a child window's frame in the main window: by default filling the
// area, not maximised, so that its caption shows.
void PlaceFrame(mdiMain &main, QMdiSubWindow *sub, QSize size = {})
{
    sub->showNormal();
    sub->setGeometry(QRect(QPoint(0, 0), size.isValid() ? size : main.MdiArea()->viewport()->size()));
    main.MdiArea()->setActiveSubWindow(sub);
    Settle();
}

// The first child window of type W in the main window, placed.
template <class W> W *Child(mdiMain &main)
{
    for (QMdiSubWindow *sub : main.MdiArea()->subWindowList()) {
        if (auto *w = dynamic_cast<W *>(sub->widget())) {
            PlaceFrame(main, sub);
            return w;
        }
    }
    std::fprintf(stderr, "screenshots: no child window\n");
    return nullptr;
}

bool ShootSyncResults(KORVOScreenshotContext &context)
{
    bool saved = false;
    WhenModal<frmSyncResults>([&](frmSyncResults &results) {
        // As wide as the grid's columns.
        results.resize(820, 400);
        Settle();
        saved = results.Grid()->model()->rowCount() > 0 && context.save(results, QStringLiteral("sync-results"));
        // A double click on the changed procedure's row compares its two texts.
        const QAbstractItemModel &model = *results.Grid()->model();
        for (int row = 0; row < model.rowCount(); ++row) {
            bool restock = false;
            for (int column = 0; column < model.columnCount(); ++column)
                restock = restock || model.index(row, column).data().toString().contains(QLatin1String("usp_restock"));
            if (!restock)
                continue;
            results.CompareRow(row);
            Settle();
            for (QWidget *w : QApplication::topLevelWidgets()) {
                if (auto *compare = qobject_cast<frmCompareText *>(w); compare && compare->isVisible()) {
                    compare->resize(1000, 560);
                    Settle();
                    saved = context.save(*compare, QStringLiteral("compare")) && saved;
                    compare->close();
                }
            }
            break;
        }
        context.answers.yesTo << QStringLiteral("Close Synchronization Results?");
        results.close();
        context.answers.yesTo.removeAll(QStringLiteral("Close Synchronization Results?"));
    });
    context.main.DoCommand(17);
    Settle();
    return saved;
}

bool ShootTextReadOnly(KORVOScreenshotContext &context)
{
    mdiMain &main = context.main;
    MainAtSize(main);
    Command(main, Node(main, context.session.Views(), QStringLiteral("vw_customer_overview")), 2);
    auto *text = Child<frmEditObjectText>(main);
    const bool saved = text && context.save(main, QStringLiteral("text-window-readonly"));
    CloseChildren(main);
    return saved;
}

bool ShootTextCheckedOut(KORVOScreenshotContext &context)
{
    mdiMain &main = context.main;
    MainAtSize(main);
    // The demo's checked-out procedure.
    Command(main, Node(main, context.session.StoredProcedures(), QStringLiteral("usp_add_customer")), 2);
    auto *text = Child<frmEditObjectText>(main);
    if (!text)
        return false;
    SQLTextEditor &editor = text->Editor();
    editor.setFocus();
    editor.setCursorPosition(3, 0);
    editor.insert(QStringLiteral("    -- Names are stored as typed; the e-mail address in lower case.\n"));
    editor.setCursorPosition(3, 66);
    Settle();
    const bool saved = context.save(main, QStringLiteral("text-window-checkedout"));
    text->CloseItem(true);
    CloseChildren(main);
    return saved;
}

bool ShootPermissions(KORVOScreenshotContext &context)
{
    mdiMain &main = context.main;
    MainAtSize(main);
    QTreeWidgetItem *node = Node(main, context.session.Views(), QStringLiteral("vw_monthly_sales"));
    if (!node)
        return false;
    main.Tree()->setCurrentItem(node);
    main.EditPermissions(mdiMain::NodeTag(node), mdiMain::NodeKey(node), Object(context, node));
    Settle();
    QMdiSubWindow *sub = main.MdiArea()->activeSubWindow();
    if (!sub)
        return false;
    PlaceFrame(main, sub, QSize(520, 440));
    const bool saved = context.save(main, QStringLiteral("permissions"));
    CloseChildren(main);
    return saved;
}

// A few versions of a function: each a checked-out, changed and checked-in text.
void MakeVersions(const KORVOTypedObjectPtr &object)
{
    const QString notes[] = { QStringLiteral("-- Cancelled items do not count."),
        QStringLiteral("-- Rounded to cents."), QStringLiteral("-- Zero for an order without items.") };
    const QString comments[] = { QStringLiteral("Ignore cancelled items"), QStringLiteral("Round the total"),
        QStringLiteral("Document the empty order") };
    for (int i = 0; i < 3; ++i) {
        if (!object->CheckOut()) {
            std::fprintf(stderr, "screenshots: could not check out %s\n", qPrintable(object->Name()));
            return;
        }
        QString text = object->GetContent(1);
        text.replace(QStringLiteral("$function$\n"), QStringLiteral("$function$\n") + notes[i] + QLatin1Char('\n'));
        if (!object->CheckIn(text, comments[i]))
            std::fprintf(stderr, "screenshots: could not check in %s\n", qPrintable(object->Name()));
    }
}

bool ShootHistory(KORVOScreenshotContext &context)
{
    mdiMain &main = context.main;
    QTreeWidgetItem *node = Node(main, context.session.UserDefinedFunctions(), QStringLiteral("fn_order_total"));
    const KORVOTypedObjectPtr object = Object(context, node);
    if (!object)
        return false;
    MakeVersions(object);
    main.RefreshNode(node);
    bool saved = false;
    WhenModal<frmItemHistory>([&](frmItemHistory &history) {
        history.resize(760, 460);
        // The two newest versions, ready for Compare.
        if (auto *list = history.findChild<QTreeWidget *>(QStringLiteral("lvwHistory"));
            list && list->topLevelItemCount() > 1) {
            list->setCurrentItem(list->topLevelItem(0));
            list->topLevelItem(1)->setSelected(true);
        }
        Settle();
        saved = context.save(history, QStringLiteral("history"));
        history.reject();
    });
    context.windows.ShowHistory(&main, context.session, object);
    return saved;
}

bool ShootQuery(KORVOScreenshotContext &context)
{
    mdiMain &main = context.main;
    MainAtSize(main);
    main.Tree()->setCurrentItem(nullptr);
    main.DoCommand(53);
    Settle();
    auto *query = Child<frmSQLQuery>(main);
    if (!query)
        return false;
    query->Editor().SetText(
        QStringLiteral("SELECT sku, name, unit_price FROM products ORDER BY unit_price DESC LIMIT 3;\n"
                       "SELECT w.city, sum(s.quantity) AS items\n"
                       "  FROM stock s JOIN warehouses w USING (warehouse_id) GROUP BY w.city ORDER BY w.city;\n"
                       "DO $$ BEGIN RAISE NOTICE 'Stock counted on %', current_date; END $$;\n"));
    query->Execute();
    const QDeadlineTimer deadline(30000);
    while (query->Results().IsRunning() && !deadline.hasExpired())
        QApplication::processEvents(QEventLoop::AllEvents, 50);
    // The text is short: most of the height goes to the results.
    if (auto *split = query->findChild<QSplitter *>(QStringLiteral("splitter")))
        split->setSizes({ 110, split->height() - 110 });
    Settle();
    bool saved = context.save(main, QStringLiteral("query"));
    // The same run's Messages page: the row counts and the notice.
    if (auto *messages = query->findChild<QAbstractButton *>(QStringLiteral("cmdMessages"))) {
        messages->click();
        Settle();
        saved = context.save(main, QStringLiteral("query-messages")) && saved;
    }
    query->Editor().SetText(QString());
    query->CloseItem(true);
    CloseChildren(main);
    return saved;
}

// Opens a modal window W with the main window's command, readies it, saves its
// picture and closes it.
template <class W>
bool ShootDialog(KORVOScreenshotContext &context, long command, const QString &name, std::function<void(W &)> ready)
{
    bool saved = false;
    WhenModal<W>([&](W &window) {
        ready(window);
        Settle();
        saved = context.save(window, name);
        window.reject();
    });
    context.main.DoCommand(command);
    return saved;
}

bool ShootScriptGenerator(KORVOScreenshotContext &context)
{
    return ShootDialog<frmScriptCreator>(context, 62, QStringLiteral("script-generator"), [](frmScriptCreator &wizard) {
        wizard.resize(720, 520);
        if (auto *complete = wizard.findChild<QAbstractButton *>(QStringLiteral("optType_3")))
            complete->click();
        if (auto *next = wizard.findChild<QAbstractButton *>(QStringLiteral("cmdNext")))
            next->click();
        const QDeadlineTimer deadline(60000);
        while (!wizard.Idle() && !deadline.hasExpired())
            QApplication::processEvents(QEventLoop::AllEvents, 50);
        wizard.ShowStepList();
    });
}

bool ShootDocGenerator(KORVOScreenshotContext &context)
{
    return ShootDialog<frmDocumentGenerationStart>(context, 61, QStringLiteral("doc-generator"),
        [](frmDocumentGenerationStart &start) { start.resize(560, start.sizeHint().height()); });
}

bool ShootOptions(KORVOScreenshotContext &context)
{
    return ShootDialog<frmOptions>(context, 42, QStringLiteral("options"), [](frmOptions &options) {
        // The page of the default texts, whose editor shows the most.
        auto *tree = options.findChild<QTreeWidget *>(QStringLiteral("tvwCaterogies"));
        for (QTreeWidgetItemIterator it(tree); tree && *it; ++it)
            if ((*it)->data(0, Qt::UserRole).toString() == QLatin1String("DEFAULTTEXT"))
                tree->setCurrentItem(*it);
        // The demo keeps no default text: one as a user would type it, not saved.
        if (auto *text = options.findChild<SQLTextEditor *>(QStringLiteral("txtDefaultText")))
            text->SetText(
                QStringLiteral("-- Created <DATE> <TIME> by <DONEBYVSS>\nCREATE PROCEDURE dbo.new_procedure()\n"
                               "LANGUAGE sql\nAS $$\n    SELECT 1;\n$$;\n"));
        options.resize(760, 500);
    });
}

bool ShootRecompile(KORVOScreenshotContext &context)
{
    bool saved = false;
    WhenModal<frmRecompile>([&](frmRecompile &recompile) {
        // The run ends with a box; the window is grabbed as it shows it.
        context.answers.onBox = [&](const QString &title) {
            if (title.startsWith(QLatin1String("Recompile")))
                saved = context.save(recompile, QStringLiteral("recompile"));
        };
        if (auto *start = recompile.findChild<QAbstractButton *>(QStringLiteral("cmdStart")))
            start->click();
        context.answers.onBox = nullptr;
        if (recompile.isVisible())
            recompile.reject();
    });
    context.main.DoCommand(70);
    return saved;
}

// The question before a check-in over a colleague's change: usp_restock with
// an urgent fix on the server and the user's own change beside it.
bool ShootServerTextChanged(KORVOScreenshotContext &context)
{
    const KORVOTypedObjectPtr object
        = Object(context, Node(context.main, context.session.StoredProcedures(), QStringLiteral("usp_restock")));
    if (!object)
        return false;
    QStringList theirs = object->GetContent(1).split(QLatin1Char('\n'));
    QStringList mine = theirs;
    theirs.insert(qMin<qsizetype>(4, theirs.size()), QStringLiteral("    -- urgent fix: never restock a negative quantity"));
    mine.insert(qMax<qsizetype>(0, mine.size() - 2), QStringLiteral("    -- restock in batches of ten"));
    frmServerTextChanged dialog(context.session, context.session.Ui(), &context.main, QStringLiteral("Server Text Changed"),
        QStringLiteral("The text of public.usp_restock on the server was changed after it was checked out, and that "
                       "change is not in source control."),
        theirs.join(QLatin1Char('\n')), mine.join(QLatin1Char('\n')), true);
    dialog.resize(980, 560);
    dialog.show();
    Settle();
    const bool saved = context.save(dialog, QStringLiteral("server-text-changed"));
    dialog.reject();
    return saved;
}

bool ShootProjects(KORVOScreenshotContext &context)
{
    bool saved = false;
    WhenModal<frmProjectBrowser>([&](frmProjectBrowser &browser) {
        browser.resize(900, 300);
        if (auto *list = browser.findChild<QTreeWidget *>(); list && list->topLevelItemCount()) {
            list->setCurrentItem(list->topLevelItem(0));
            for (int column = 0; column < list->columnCount(); ++column)
                list->resizeColumnToContents(column);
        }
        Settle();
        saved = context.save(browser, QStringLiteral("project-browser"));
        WhenModal<frmProjectDetails>([&](frmProjectDetails &details) {
            saved = context.save(details, QStringLiteral("project-details")) && saved;
            details.reject();
        });
        if (auto *edit = browser.findChild<QAbstractButton *>(QStringLiteral("cmdEdit")))
            edit->click();
        browser.reject();
    });
    context.main.DoCommand(41);
    return saved;
}

} // namespace

bool ShootMainWindow(KORVOScreenshotContext &context)
{
    mdiMain &main = context.main;
    main.showNormal();
    main.resize(1200, 760);
    main.findChild<QSplitter *>(QStringLiteral("cmdSplit"))->setSizes({ 340, 860 });
    QApplication::processEvents();
    QTreeWidget *tree = main.Tree();
    for (const auto &collection : { context.session.StoredProcedures(), context.session.Views() }) {
        if (QTreeWidgetItem *folder = Folder(main, collection))
            folder->setExpanded(true);
    }
    // An object opened down to its permissions, selected so that the panel fills.
    if (QTreeWidgetItem *procedures = Folder(main, context.session.StoredProcedures());
        procedures && procedures->childCount() > 0) {
        QTreeWidgetItem *object = procedures->child(0);
        object->setExpanded(true);
        tree->setCurrentItem(object);
        tree->scrollToItem(procedures);
    }
    QApplication::processEvents();
    const bool saved = context.save(main, QStringLiteral("main-window"));
    if (QTreeWidgetItem *procedures = Folder(main, context.session.StoredProcedures());
        procedures && procedures->childCount() > 0)
        procedures->child(0)->setExpanded(false);
    return saved;
}
