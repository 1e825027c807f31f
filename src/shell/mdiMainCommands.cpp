// The main window's commands: menus, bars, popup and key table all end in
// DoCommand; the active child is asked through KORVOChildWindow.
#include "HelpIntegration.h"
#include "KORVOExplorerBar.h"
#include "KORVOIconLookup.h"
#include "KORVOProject.h"
#include "KORVOSQL.h"
#include "KORVOTypedObject.h"
#include "KORVOVSS.h"
#include "UiServices.h"
#include "UserDataFolder.h"
#include "frmAbout.h"
#include "frmProjectBrowser.h"
#include "frmRenameObject.h"
#include "frmUndelete.h"
#include "mdiMain.h"

#include <QApplication>
#include <QCloseEvent>
#include <QDate>
#include <QDesktopServices>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMenu>
#include <QMenuBar>
#include <QTime>
#include <QTimer>
#include <QToolBar>
#include <QToolButton>
#include <QTreeWidget>
#include <QUrl>
#include <QUrlQuery>

namespace
{
constexpr long MainHelpContext = 23;
// The tree has the focus: its own help topic.
constexpr int TreeHelpTopic = 34;


// A session pointer handed to windows that want shared ownership; the session
// outlives the main window.
std::shared_ptr<KORVODatabase> Unowned(KORVODatabase *session)
{
    return std::shared_ptr<KORVODatabase>(std::shared_ptr<void>(), session);
}

struct EditRow
{
    const char *button;
    const char *menu;
    bool (KORVOChildWindow::*can)() const;
};
// The child's Can... members and what they switch.
const EditRow EditRows[] = {
    { "EDITBAR:UNDO", "mnuUndo", &KORVOChildWindow::CanUndo },
    { "EDITBAR:REDO", "mnuRedo", &KORVOChildWindow::CanRedo },
    { "EDITBAR:CUT", "mnuCut", &KORVOChildWindow::CanCut },
    { "EDITBAR:COPY", "mnuCopy", &KORVOChildWindow::CanCopy },
    { "EDITBAR:PASTE", "mnuPaste", &KORVOChildWindow::CanPaste },
    { "EDITBAR:FIND", "mnuFind", &KORVOChildWindow::CanFind },
    { nullptr, "mnuReplace", &KORVOChildWindow::CanReplace },
    { "EDITBAR:OPENFILE", "mnuOpenFile", &KORVOChildWindow::CanOpenFile },
    { "EDITBAR:SAVEFILE", "mnuSaveFile", &KORVOChildWindow::CanSaveFile },
    { "EDITBAR:TEST", "mnuTestSQL", &KORVOChildWindow::CanTestSQL },
    { "EDITBAR:GETLATEST", "mnuGetLatest", &KORVOChildWindow::CanGetLatest },
    { "EDITBAR:CHECKOUT", "mnuCheckOut", &KORVOChildWindow::CanCheckOut },
    { "EDITBAR:CHECKIN", "mnuCheckIn", &KORVOChildWindow::CanCheckIn },
    { "EDITBAR:UNDOCHECKOUT", "mnuUndoCheckOut", &KORVOChildWindow::CanUndoCheckOut },
    { "EDITBAR:HISTORY", "mnuHistory", &KORVOChildWindow::CanShowHistory },
    { "EDITBAR:PERMISSIONS", "mnuPermissions", &KORVOChildWindow::CanPermissions },
    { "EDITBAR:DESCRIPTION", "mnuDescription", &KORVOChildWindow::CanDescription },
};

// Sets a state only when it differs, so that a quiet tick touches no widget.
void SetEnabled(QAction *action, bool on)
{
    if (action && action->isEnabled() != on)
        action->setEnabled(on);
}
void SetText(QAction *action, const QString &text)
{
    if (action && action->text() != text)
        action->setText(text);
}
} // namespace

// --- Building ------------------------------------------------------------------

void mdiMain::BuildKeyTable()
{
    constexpr int Shift = 1, Ctrl = 2, Alt = 4;
    mKeys = {
        { 1, Qt::Key_N, Ctrl, false },
        { 10, Qt::Key_Z, Ctrl, false },
        { 11, Qt::Key_Z, Ctrl + Shift, false },
        { 12, Qt::Key_X, Ctrl, false },
        { 13, Qt::Key_C, Ctrl, false },
        { 14, Qt::Key_V, Ctrl, false },
        { 6, Qt::Key_G, Ctrl, false },
        { 8, Qt::Key_O, Ctrl, false },
        { 7, Qt::Key_I, Ctrl, false },
        { 9, Qt::Key_U, Ctrl, false },
        { 33, Qt::Key_M, Ctrl, false },
        { 34, Qt::Key_D, Ctrl, false },
        { 16, Qt::Key_R, Ctrl, false },
        { 29, Qt::Key_F6, Ctrl, false },
        { 30, Qt::Key_F6, Ctrl + Shift, false },
        { 32, Qt::Key_F4, Alt, false },
        { 4, Qt::Key_L, Ctrl, false },
        { 5, Qt::Key_S, Ctrl, false },
        { 52, Qt::Key_T, Ctrl, false },
        { 55, Qt::Key_F, Ctrl, false },
        { 56, Qt::Key_F3, 0, false },
        { 57, Qt::Key_F3, Shift, false },
        { 58, Qt::Key_H, Ctrl, false },
        { 60, Qt::Key_F1, 0, true },
        { 53, Qt::Key_Q, Ctrl, true },
        { 69, Qt::Key_D, Ctrl + Alt, true },
    };
}

QString mdiMain::KeyName(int keyCode, int shift)
{
    QStringList words;
    if (shift & 1)
        words << QStringLiteral("Shift");
    if (shift & 2)
        words << QStringLiteral("Ctrl");
    if (shift & 4)
        words << QStringLiteral("Alt");
    if ((keyCode >= Qt::Key_0 && keyCode <= Qt::Key_9) || (keyCode >= Qt::Key_A && keyCode <= Qt::Key_Z))
        words << QString(QChar(keyCode));
    else if (keyCode == Qt::Key_Tab)
        words << QStringLiteral("Tab");
    else if (keyCode >= Qt::Key_F1 && keyCode <= Qt::Key_F12)
        words << QStringLiteral("F%1").arg(keyCode - Qt::Key_F1 + 1);
    return words.join(QLatin1Char('+'));
}

QAction *mdiMain::MakeAction(const QString &name, const QString &text, long command, const QString &icon)
{
    QString caption = text;
    for (const KeyRow &row : std::as_const(mKeys)) {
        if (row.command == command) {
            caption += QLatin1Char('\t') + KeyName(row.key, row.shift);
            break;
        }
    }
    auto *action = new QAction(caption, this);
    action->setObjectName(name);
    action->setProperty("command", qlonglong(command));
    if (!icon.isEmpty())
        action->setIcon(KORVOActionIconFor(icon));
    connect(action, &QAction::triggered, this, [this, action] {
        DoCommand(action->property("command").toLongLong(), action->objectName(), MainHelpContext);
    });
    mActions.insert(name, action);
    return action;
}

void mdiMain::BuildMenus()
{
    QMenuBar *bar = menuBar();
    bar->setObjectName(QStringLiteral("mainMenu"));

    mnuFile = bar->addMenu(QStringLiteral("&File"));
    mnuFile->setObjectName(QStringLiteral("mnuFile"));
    mnuNewItem = new QMenu(QStringLiteral("&New"), this);
    mnuNewItem->setObjectName(QStringLiteral("mnuNewItem"));
    mnuNewItem->menuAction()->setObjectName(QStringLiteral("mnuNewItem"));
    mnuNewItem->setIcon(KORVOActionIconFor(QStringLiteral("new")));
    mnuFile->addMenu(mnuNewItem);
    mnuFile->addAction(MakeAction(QStringLiteral("mnuEditItem"), QStringLiteral("&Edit"), 2));
    mnuFile->addAction(MakeAction(QStringLiteral("mnuRenameItem"), QStringLiteral("Rena&me"), 43));
    mnuFile->addAction(MakeAction(QStringLiteral("mnuDeleteItem"), QStringLiteral("&Delete"), 3));
    mnuFile->addSeparator();
    mnuFile->addAction(MakeAction(QStringLiteral("mnuOpenFile"), QStringLiteral("&Load"), 4, QStringLiteral("open")));
    mnuFile->addAction(MakeAction(QStringLiteral("mnuSaveFile"), QStringLiteral("&Save"), 5, QStringLiteral("save")));
    mnuFile->addSeparator();
    mnuFile->addAction(MakeAction(QStringLiteral("mnuProjectBrowser"), QStringLiteral("&Project Browser..."), 41));
    mRecentSeparator = mnuFile->addSeparator();
    mnuFile->addAction(MakeAction(QStringLiteral("mnuExit"), QStringLiteral("E&xit"), 32));

    QMenu *edit = bar->addMenu(QStringLiteral("&Edit"));
    edit->setObjectName(QStringLiteral("mnuEdit"));
    edit->addAction(MakeAction(QStringLiteral("mnuUndo"), QStringLiteral("&Undo"), 10, QStringLiteral("undo")));
    edit->addAction(MakeAction(QStringLiteral("mnuRedo"), QStringLiteral("&Redo"), 11, QStringLiteral("redo")));
    edit->addSeparator();
    edit->addAction(MakeAction(QStringLiteral("mnuCut"), QStringLiteral("Cu&t"), 12, QStringLiteral("cut")));
    edit->addAction(MakeAction(QStringLiteral("mnuCopy"), QStringLiteral("&Copy"), 13, QStringLiteral("copy")));
    edit->addAction(MakeAction(QStringLiteral("mnuPaste"), QStringLiteral("&Paste"), 14, QStringLiteral("paste")));
    edit->addSeparator();
    edit->addAction(MakeAction(QStringLiteral("mnuFind"), QStringLiteral("&Find..."), 55, QStringLiteral("find")));
    edit->addAction(MakeAction(QStringLiteral("mnuReplace"), QStringLiteral("R&eplace..."), 58));

    mnuView = bar->addMenu(QStringLiteral("&View"));
    mnuView->setObjectName(QStringLiteral("mnuView"));
    QAction *dbt = MakeAction(QStringLiteral("mnuDBT"), QStringLiteral("&Database Tree"), 36);
    dbt->setCheckable(true);
    mnuView->addAction(dbt);
    QAction *context = MakeAction(QStringLiteral("mnuDBTContext"), QStringLiteral("&Information Panel"), 68);
    context->setCheckable(true);
    mnuView->addAction(context);
    mnuToolbars = mnuView->addMenu(QStringLiteral("&Toolbars"));
    mnuToolbars->setObjectName(QStringLiteral("mnuToolbars"));
    QAction *barDBT = MakeAction(QStringLiteral("mnuToolbarDBT"), QStringLiteral("&Database Tree Bar"), 38);
    barDBT->setCheckable(true);
    mnuToolbars->addAction(barDBT);
    QAction *barEdit = MakeAction(QStringLiteral("mnuToolbarEdit"), QStringLiteral("&Edit Bar"), 39);
    barEdit->setCheckable(true);
    mnuToolbars->addAction(barEdit);
    mnuView->addSeparator();
    mnuView->addAction(MakeAction(QStringLiteral("mnuRefreshNode"), QStringLiteral("Refresh from &here"), 15));
    mnuView->addAction(
        MakeAction(QStringLiteral("mnuRefreshDBT"), QStringLiteral("&Refresh Database Tree"), 16, QStringLiteral("refresh")));
    connect(mnuView, &QMenu::aboutToShow, this, &mdiMain::UpdateViewMenu);
    connect(mnuToolbars, &QMenu::aboutToShow, this, &mdiMain::UpdateViewMenu);

    QMenu *vss = bar->addMenu(QStringLiteral("&Source Control"));
    vss->setObjectName(QStringLiteral("mnuSourceControl"));
    vss->addAction(MakeAction(QStringLiteral("mnuGetLatest"), QStringLiteral("&Get Latest Version"), 6,
                              QStringLiteral("getlatest")));
    vss->addAction(
        MakeAction(QStringLiteral("mnuCheckOut"), QStringLiteral("Check &Out"), 8, QStringLiteral("checkout")));
    vss->addAction(MakeAction(QStringLiteral("mnuCheckIn"), QStringLiteral("Check &In"), 7, QStringLiteral("checkin")));
    vss->addAction(MakeAction(QStringLiteral("mnuUndoCheckOut"), QStringLiteral("&Undo Check Out"), 9,
                              QStringLiteral("undocheckout")));
    vss->addAction(MakeAction(QStringLiteral("mnuHistory"), QStringLiteral("&History"), 54, QStringLiteral("history")));
    vss->addSeparator();
    vss->addAction(MakeAction(QStringLiteral("mnuTestSQL"), QStringLiteral("&Test SQL"), 52, QStringLiteral("test")));
    vss->addAction(MakeAction(QStringLiteral("mnuPermissions"), QStringLiteral("Per&missions"), 33,
                              QStringLiteral("permissions")));
    vss->addAction(MakeAction(QStringLiteral("mnuDescription"), QStringLiteral("&Description"), 34,
                              QStringLiteral("description")));

    QMenu *tools = bar->addMenu(QStringLiteral("&Tools"));
    tools->setObjectName(QStringLiteral("mnuTools"));
    tools->addAction(MakeAction(QStringLiteral("mnuSync"), QStringLiteral("&Synchronize..."), 17, QStringLiteral("sync")));
    tools->addSeparator();
    tools->addAction(MakeAction(QStringLiteral("mnuVSSAdd"), QStringLiteral("Add to &VSS"), 18));
    tools->addAction(MakeAction(QStringLiteral("mnuSQLAdd"), QStringLiteral("&Add to SQL"), 19));
    tools->addAction(MakeAction(QStringLiteral("mnuVSSRemove"), QStringLiteral("D&elete from VSS"), 22));
    tools->addAction(MakeAction(QStringLiteral("mnuSQLRemove"), QStringLiteral("Delete from SQ&L"), 23));
    tools->addSeparator();
    tools->addAction(MakeAction(QStringLiteral("mnuUndelete"), QStringLiteral("&Undelete..."), 59));
    tools->addAction(MakeAction(QStringLiteral("mnuRecompile"), QStringLiteral("Re&compile..."), 70));
    tools->addSeparator();
    tools->addAction(MakeAction(QStringLiteral("mnuQuery"), QStringLiteral("&Query Window"), 53));
    tools->addAction(MakeAction(QStringLiteral("mnuScript"), QStringLiteral("Script &Generator..."), 62));
    tools->addAction(MakeAction(QStringLiteral("mnuDocGen"), QStringLiteral("&Documentation Generator..."), 61));
    tools->addSeparator();
    QAction *dragSub = MakeAction(QStringLiteral("mnuDragSub"), QStringLiteral("D&rag Subnodes"), 69);
    dragSub->setCheckable(true);
    tools->addAction(dragSub);
    tools->addSeparator();
    tools->addAction(MakeAction(QStringLiteral("mnuOptions"), QStringLiteral("&Options..."), 42));

    mnuWindows = bar->addMenu(QStringLiteral("&Window"));
    mnuWindows->setObjectName(QStringLiteral("mnuWindows"));
    mnuWindows->addAction(MakeAction(QStringLiteral("mnuWindowTileHor"), QStringLiteral("Tile &Horizontally"), 24));
    mnuWindows->addAction(MakeAction(QStringLiteral("mnuWindowTileVer"), QStringLiteral("Tile &Vertically"), 25));
    mnuWindows->addAction(MakeAction(QStringLiteral("mnuWindowCascade"), QStringLiteral("&Cascade"), 26));
    mnuWindows->addAction(MakeAction(QStringLiteral("mnuWindowMaxAll"), QStringLiteral("Ma&ximise All"), 27));
    mnuWindows->addAction(MakeAction(QStringLiteral("mnuWindowMinAll"), QStringLiteral("M&inimise All"), 28));
    mnuWindows->addAction(MakeAction(QStringLiteral("mnuWindowNext"), QStringLiteral("&Next"), 29));
    mnuWindows->addAction(MakeAction(QStringLiteral("mnuWindowPrevious"), QStringLiteral("&Previous"), 30));
    connect(mnuWindows, &QMenu::aboutToShow, this, [this] { DoCommand(40, QString(), MainHelpContext); });

    QMenu *help = bar->addMenu(QStringLiteral("&Help"));
    help->setObjectName(QStringLiteral("mnuHelp"));
    help->addAction(
        MakeAction(QStringLiteral("mnuHelpContents"), QStringLiteral("&Contents"), 60, QStringLiteral("help")));
    help->addSeparator();
    QMenu *bug = help->addMenu(QStringLiteral("Report a &Bug"));
    bug->setObjectName(QStringLiteral("mnuBug"));
    bug->addAction(MakeAction(QStringLiteral("mnuBug1"), QStringLiteral("&High Importance"), 45));
    bug->addAction(MakeAction(QStringLiteral("mnuBug2"), QStringLiteral("&Normal Importance"), 46));
    bug->addAction(MakeAction(QStringLiteral("mnuBug3"), QStringLiteral("&Low Importance"), 47));
    QMenu *feature = help->addMenu(QStringLiteral("Request a &Feature"));
    feature->setObjectName(QStringLiteral("mnuFeature"));
    feature->addAction(MakeAction(QStringLiteral("mnuFeature1"), QStringLiteral("&High Importance"), 48));
    feature->addAction(MakeAction(QStringLiteral("mnuFeature2"), QStringLiteral("&Normal Importance"), 49));
    feature->addAction(MakeAction(QStringLiteral("mnuFeature3"), QStringLiteral("&Low Importance"), 50));
    help->addAction(MakeAction(QStringLiteral("mnuVisitWebsite"), QStringLiteral("&Visit the Website"), 51));
    help->addSeparator();
    help->addAction(MakeAction(QStringLiteral("mnuAbout"), QStringLiteral("&About KORVO..."), 44));

    // The tree's popup has actions of its own: showing an entry there must not
    // show it in the main menu.
    mnuPopup = new QMenu(this);
    mnuPopup->setObjectName(QStringLiteral("mnuPopup"));
    auto popupAction = [this](const char *name, const QString &text, long command) {
        auto *action = new QAction(text, mnuPopup);
        action->setObjectName(QString::fromLatin1(name));
        action->setProperty("command", qlonglong(command));
        connect(action, &QAction::triggered, this, [this, action] {
            DoCommand(action->property("command").toLongLong(), action->objectName(), MainHelpContext);
        });
        mnuPopup->addAction(action);
        return action;
    };
    auto popupSpacer = [this](const char *name) {
        QAction *s = mnuPopup->addSeparator();
        s->setObjectName(QString::fromLatin1(name));
    };
    popupAction("mnuPopupGetLatest", QStringLiteral("Get Latest Version"), 6);
    popupAction("mnuPopupCheckIn", QStringLiteral("Check In"), 7);
    popupAction("mnuPopupCheckOut", QStringLiteral("Check out"), 8);
    popupAction("mnuPopupUndoCheckout", QStringLiteral("Undo Check out"), 9);
    popupSpacer("mnuSpacer_1");
    mnuPopup->addMenu(mnuNewItem);
    popupSpacer("mnuSpacer_2");
    popupAction("mnuEditItem", QString(), 2);
    popupAction("mnuRenameItem", QString(), 43);
    popupAction("mnuDeleteItem", QString(), 3);
    popupSpacer("mnuSpacer_3");
    popupAction("mnuPopupEditPermission", QStringLiteral("Edit &Permissions"), 33);
    popupSpacer("mnuSpacer_4");
    popupAction("mnuVSSAdd", QStringLiteral("&Add to VSS"), 18);
    popupAction("mnuSQLAdd", QStringLiteral("&Add to SQL"), 19);
    popupAction("mnuVSSRemove", QStringLiteral("&Delete from VSS"), 22);
    popupAction("mnuSQLRemove", QStringLiteral("&Delete from SQL"), 23);
    popupSpacer("mnuSpacer_5");
    popupAction("mnuRefreshNode", QStringLiteral("&Refresh from here"), 15);
    popupAction("mnuRefresh", QStringLiteral("Refresh Database &Tree"), 16);
}

void mdiMain::BuildToolbars()
{
    auto button = [this](QToolBar *bar, const char *key, const QString &text, long command, const char *icon) {
        QAction *action = MakeAction(QString::fromLatin1(key), text, command, QString::fromLatin1(icon));
        action->setText(text); // buttons show no shortcut
        action->setToolTip(text);
        bar->addAction(action);
        return action;
    };
    auto spacer = [](QToolBar *bar, const char *key) { bar->addSeparator()->setObjectName(QString::fromLatin1(key)); };

    tbrDBT = addToolBar(QStringLiteral("DBTBAR"));
    tbrDBT->setObjectName(QStringLiteral("tbrDBT"));
    tbrDBT->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    mnuToolbarNew = new QMenu(this);
    mnuToolbarNew->setObjectName(QStringLiteral("DBTBAR:NEWITEM:MENU"));
    QAction *newItem = button(tbrDBT, "DBTBAR:NEWITEM", QStringLiteral("New"), 1, "new");
    newItem->setMenu(mnuToolbarNew);
    mNewButton = qobject_cast<QToolButton *>(tbrDBT->widgetForAction(newItem));
    if (mNewButton)
        mNewButton->setPopupMode(QToolButton::MenuButtonPopup);
    spacer(tbrDBT, "DBTBAR:SPACER1");
    button(tbrDBT, "DBTBAR:REFRESH", QStringLiteral("Refresh"), 16, "refresh");
    button(tbrDBT, "DBTBAR:SYNC", QStringLiteral("Synchronize"), 17, "sync");

    tbrEdit = addToolBar(QStringLiteral("EDITBAR"));
    tbrEdit->setObjectName(QStringLiteral("tbrEdit"));
    tbrEdit->setToolButtonStyle(Qt::ToolButtonIconOnly);
    button(tbrEdit, "EDITBAR:UNDO", QStringLiteral("Undo"), 10, "undo");
    button(tbrEdit, "EDITBAR:REDO", QStringLiteral("Redo"), 11, "redo");
    spacer(tbrEdit, "EDITBAR:SPACER1");
    button(tbrEdit, "EDITBAR:CUT", QStringLiteral("Cut"), 12, "cut");
    button(tbrEdit, "EDITBAR:COPY", QStringLiteral("Copy"), 13, "copy");
    button(tbrEdit, "EDITBAR:PASTE", QStringLiteral("Paste"), 14, "paste");
    button(tbrEdit, "EDITBAR:FIND", QStringLiteral("Find"), 55, "find");
    spacer(tbrEdit, "EDITBAR:SPACER2");
    button(tbrEdit, "EDITBAR:TEST", QStringLiteral("Test SQL"), 52, "test");
    spacer(tbrEdit, "EDITBAR:SPACER3");
    button(tbrEdit, "EDITBAR:OPENFILE", QStringLiteral("Open"), 4, "open");
    button(tbrEdit, "EDITBAR:SAVEFILE", QStringLiteral("Save"), 5, "save");
    spacer(tbrEdit, "EDITBAR:SPACER4");
    button(tbrEdit, "EDITBAR:GETLATEST", QStringLiteral("Get Latest Version"), 6, "getlatest");
    button(tbrEdit, "EDITBAR:CHECKOUT", QStringLiteral("Check Out"), 8, "checkout");
    button(tbrEdit, "EDITBAR:CHECKIN", QStringLiteral("Check In"), 7, "checkin");
    button(tbrEdit, "EDITBAR:UNDOCHECKOUT", QStringLiteral("Undo Check Out"), 9, "undocheckout");
    button(tbrEdit, "EDITBAR:HISTORY", QStringLiteral("History"), 54, "history");
    spacer(tbrEdit, "EDITBAR:SPACER5");
    button(tbrEdit, "EDITBAR:PERMISSIONS", QStringLiteral("Permissions"), 33, "permissions");
    button(tbrEdit, "EDITBAR:DESCRIPTION", QStringLiteral("Description"), 34, "description");
}

void mdiMain::RebuildNewMenus()
{
    mnuNewItem->clear();
    mnuToolbarNew->clear();
    for (int row = 1; row <= mNewItems.size(); ++row) {
        const MenuRow &item = mNewItems.at(row - 1);
        const QString text = QStringLiteral("New &") + item.text;
        const QIcon icon = KORVOTreeIcon(item.key.toUpper() + QStringLiteral(":NEW"));
        QAction *entry = mnuNewItem->addAction(icon, text);
        entry->setObjectName(QStringLiteral("NEWITEM:%1").arg(row));
        connect(entry, &QAction::triggered, this, [this, entry] { DoCommand(1, entry->objectName(), MainHelpContext); });
        QAction *button = mnuToolbarNew->addAction(icon, text);
        button->setObjectName(QStringLiteral("DBTBAR:NEWITEM:%1").arg(row));
        connect(button, &QAction::triggered, this, [this, button] { DoCommand(1, button->objectName(), MainHelpContext); });
    }
}

void mdiMain::RebuildRecentProjects()
{
    for (QAction *a : std::as_const(mRecentActions)) {
        mnuFile->removeAction(a);
        a->deleteLater();
    }
    mRecentActions.clear();
    for (int row = 1; row <= mRecentProjects.size(); ++row) {
        auto *entry = new QAction(mRecentProjects.at(row - 1).text, mnuFile);
        entry->setObjectName(QStringLiteral("RECENT:%1").arg(row));
        connect(entry, &QAction::triggered, this, [this, entry] { DoCommand(35, entry->objectName(), MainHelpContext); });
        mnuFile->insertAction(mRecentSeparator, entry);
        mRecentActions.append(entry);
    }
    if (!mRecentActions.isEmpty()) {
        QAction *sep = new QAction(mnuFile);
        sep->setSeparator(true);
        mnuFile->insertAction(mRecentActions.first(), sep);
        mRecentActions.prepend(sep);
    }
}

void mdiMain::UpdateViewMenu()
{
    mActions.value(QStringLiteral("mnuDBT"))->setChecked(mDatabaseTreeVisible);
    QAction *context = mActions.value(QStringLiteral("mnuDBTContext"));
    context->setChecked(mExtraPanelVisible);
    context->setEnabled(mDatabaseTreeVisible);
    mActions.value(QStringLiteral("mnuToolbarDBT"))->setChecked(!tbrDBT->isHidden());
    mActions.value(QStringLiteral("mnuToolbarEdit"))->setChecked(!tbrEdit->isHidden());
}

QMenu *mdiMain::PreparePopup(QTreeWidgetItem *node)
{
    KORVOContextMenu menu;
    if (node && mDatabase)
        menu = mDatabase->GetContextMenu(NodeTag(node), NodeKey(node));
    auto entry = [this](const char *name) { return mnuPopup->findChild<QAction *>(QString::fromLatin1(name)); };
    const bool sourceControl = menu.GetLatestVersion || menu.CheckIn || menu.CheckOut || menu.UndoCheckout;
    const bool sync = menu.AddToVSS || menu.AddToSQL || menu.DeleteFromVSS || menu.DeleteFromSQL;
    entry("mnuPopupGetLatest")->setVisible(menu.GetLatestVersion);
    entry("mnuPopupCheckIn")->setVisible(menu.CheckIn);
    entry("mnuPopupCheckOut")->setVisible(menu.CheckOut);
    entry("mnuPopupUndoCheckout")->setVisible(menu.UndoCheckout);
    entry("mnuSpacer_1")->setVisible(sourceControl);
    entry("mnuSpacer_2")->setVisible(true);
    entry("mnuEditItem")->setText(QStringLiteral("&Edit ") + menu.DisplayName);
    entry("mnuEditItem")->setVisible(menu.Edit);
    entry("mnuRenameItem")->setText(QStringLiteral("Rena&me ") + menu.DisplayName);
    entry("mnuRenameItem")->setVisible(menu.Rename);
    entry("mnuDeleteItem")->setText(QStringLiteral("&Delete ") + menu.DisplayName);
    entry("mnuDeleteItem")->setVisible(menu.Delete);
    entry("mnuSpacer_3")->setVisible(menu.Edit || menu.Delete);
    entry("mnuPopupEditPermission")->setVisible(menu.EditPermissions);
    entry("mnuSpacer_4")->setVisible(menu.EditPermissions);
    entry("mnuVSSAdd")->setVisible(menu.AddToVSS);
    entry("mnuSQLAdd")->setVisible(menu.AddToSQL);
    entry("mnuVSSRemove")->setVisible(menu.DeleteFromVSS);
    entry("mnuSQLRemove")->setVisible(menu.DeleteFromSQL);
    entry("mnuSpacer_5")->setVisible(sync);
    entry("mnuRefreshNode")->setVisible(node != nullptr);
    entry("mnuRefresh")->setVisible(true);
    return mnuPopup;
}

// --- Dispatch ------------------------------------------------------------------

void mdiMain::KeyPreview(bool isKeyDown, int &keyCode, int shift, long helpContext)
{
    // Ctrl+F4 belongs to the child windows unless asked for.
    if (keyCode == Qt::Key_F4 && shift == 2 && !mCatchAltF4)
        return;
    const bool modifier = keyCode == Qt::Key_Control || keyCode == Qt::Key_Shift || keyCode == Qt::Key_Alt
        || keyCode == Qt::Key_Meta;
    if (isKeyDown && !modifier)
        mArmedKeyRow = -1;
    int hit = -1;
    for (int i = 0; i < mKeys.size(); ++i) {
        const KeyRow &row = mKeys.at(i);
        if (row.key != keyCode || row.shift != shift)
            continue;
        if (isKeyDown == row.onRelease) {
            // The press of a release row arms it: the key still fires when the
            // user lets go of Ctrl before the letter.
            if (isKeyDown)
                mArmedKeyRow = i;
            break;
        }
        hit = i;
        break;
    }
    if (!isKeyDown && mArmedKeyRow >= 0 && mKeys.at(mArmedKeyRow).key == keyCode) {
        if (hit < 0)
            hit = mArmedKeyRow;
        mArmedKeyRow = -1;
    }
    if (hit < 0)
        return;
    const long command = mKeys.at(hit).command;
    // F3 and Shift+F3 are the editor's find-next and find-previous.
    if (command == 56 || command == 57)
        return;
    keyCode = 0;
    DoCommand(command, QString(), helpContext);
}

void mdiMain::DoCommand(long commandId, const QString &key, long helpContext)
{
    QPointer<mdiMain> self(this);
    QApplication::setOverrideCursor(Qt::WaitCursor);
    bool restore = true;
    long index = 0;
    if (!key.isEmpty()) {
        bool numeric = false;
        const long n = key.mid(key.lastIndexOf(QLatin1Char(':')) + 1).toLong(&numeric);
        if (numeric)
            index = n;
    }
    QTreeWidgetItem *selected = tvwDBT->currentItem();
    if (selected && !selected->isSelected())
        selected = nullptr;
    KORVOChildWindow *child = ActiveChild();
    const bool fromTree = key.startsWith(QLatin1String("mnuPopup"));

    switch (commandId) {
    case 1:
        NewItem(index);
        break;
    case 2:
        EditItem(NodeTag(selected), NodeKey(selected));
        break;
    case 3:
        DeleteItem();
        break;
    case 6:
    case 7:
    case 8:
    case 9:
        if (fromTree)
            SourceControlFromTree(commandId);
        else
            ChildCommand(commandId, key);
        break;
    case 4:
    case 5:
    case 10:
    case 11:
    case 12:
    case 13:
    case 14:
    case 34:
    case 52:
    case 54:
    case 55:
    case 58:
        ChildCommand(commandId, key);
        break;
    case 15:
        RefreshNode(selected);
        break;
    case 16:
        RefreshAll();
        break;
    case 17:
        if (mDatabase && mWindows->Synchronise(this, *mDatabase))
            RefreshAll();
        break;
    case 18:
        SyncroniseAction(selected, 1, 1);
        break;
    case 19:
        SyncroniseAction(selected, 1, 2);
        break;
    case 22:
        SyncroniseAction(selected, 3, 1);
        break;
    case 23:
        SyncroniseAction(selected, 3, 2);
        break;
    case 24:
        mMdi->tileSubWindows();
        break;
    case 25:
        // Side by side: each child takes the full height and an equal width.
        if (const auto subs = mMdi->subWindowList(); !subs.isEmpty()) {
            const int w = mMdi->viewport()->width() / int(subs.size());
            for (int i = 0; i < subs.size(); ++i) {
                subs.at(i)->showNormal();
                subs.at(i)->setGeometry(i * w, 0, w, mMdi->viewport()->height());
            }
        }
        break;
    case 26:
        mMdi->cascadeSubWindows();
        break;
    case 27:
        for (QMdiSubWindow *sub : mMdi->subWindowList())
            sub->showMaximized();
        break;
    case 28:
        for (QMdiSubWindow *sub : mMdi->subWindowList())
            sub->showMinimized();
        break;
    case 29:
        mMdi->activateNextSubWindow();
        break;
    case 30:
        mMdi->activatePreviousSubWindow();
        break;
    case 31:
        if (index > 0) {
            const auto subs = mMdi->subWindowList(QMdiArea::CreationOrder);
            if (index <= subs.size())
                mMdi->setActiveSubWindow(subs.at(index - 1));
        }
        break;
    case 32:
        QApplication::restoreOverrideCursor();
        restore = false;
        CloseProject();
        break;
    case 33:
        if (key == QLatin1String("mnuPopupEditPermission")) {
            if (selected)
                EditPermissions(NodeTag(selected), NodeKey(selected), nullptr);
        } else if (key.contains(QLatin1Char('|'))) {
            EditPermissions(key.section(QLatin1Char('|'), 0, 0), key.section(QLatin1Char('|'), 1), nullptr);
        } else {
            EditPermissions(QString(), QString(), nullptr);
        }
        break;
    case 35:
        QApplication::restoreOverrideCursor();
        restore = false;
        OpenRecentProject(index, QString());
        break;
    case 36:
        SetDatabaseTreeVisible(!mDatabaseTreeVisible);
        break;
    case 38:
        tbrDBT->setVisible(tbrDBT->isHidden());
        break;
    case 39:
        tbrEdit->setVisible(tbrEdit->isHidden());
        break;
    case 40:
        UpdateWindowList();
        break;
    case 41:
        QApplication::restoreOverrideCursor();
        restore = false;
        ProjectBrowser();
        break;
    case 42:
        if (mDatabase)
            mWindows->Options(this, *mDatabase);
        break;
    case 43:
        RenameItem();
        break;
    case 44: {
        QApplication::restoreOverrideCursor();
        restore = false;
        frmAbout about(this);
        about.exec();
        break;
    }
    case 45:
    case 46:
    case 47:
        SendMail(QStringLiteral("Bug Report - Importance: ")
                     + QStringList { "HIGH", "Normal", "Low" }.at(int(commandId - 45)),
                 QStringLiteral("(Please write the bug details here. The more detail the better and a screen shot is "
                                "also always welcome.)"));
        break;
    case 48:
    case 49:
    case 50:
        SendMail(QStringLiteral("Feature Request - Importance: ")
                     + QStringList { "HIGH", "Normal", "Low" }.at(int(commandId - 48)),
                 QStringLiteral("(Please write the details, of the feature you would like to request, here)"));
        break;
    case 51:
        QDesktopServices::openUrl(frmAbout::WebsiteUrl());
        break;
    case 53:
        if (mDatabase) {
            if (KORVOChildWindow *query = mWindows->OpenQuery(*this, *mDatabase))
                AddChild(query->Widget());
        }
        break;
    case 59:
        if (mDatabase) {
            QApplication::restoreOverrideCursor();
            restore = false;
            frmUndelete undelete(mDatabase->Ui(), this);
            if (undelete.ShowDeletedItems(*mDatabase))
                RefreshAll();
        }
        break;
    case 60:
        QApplication::restoreOverrideCursor();
        restore = false;
        ShowHelp(helpContext);
        break;
    case 61:
    case 66:
        if (mDatabase)
            mWindows->DocumentGenerator(this, *mDatabase);
        break;
    case 62:
    case 67:
        if (mDatabase)
            mWindows->ScriptGenerator(this, *mDatabase);
        break;
    case 68:
        SetExtraPanelVisible(!mExtraPanelVisible);
        break;
    case 69:
        mDragSubnodes = !mDragSubnodes;
        mActions.value(QStringLiteral("mnuDragSub"))->setChecked(mDragSubnodes);
        break;
    case 70:
        if (mDatabase && mWindows->Recompile(this, *mDatabase))
            RefreshAll();
        break;
    default:
        // 56 and 57 (F3) belong to the editor; other numbers do nothing.
        (void)child;
        break;
    }
    if (restore)
        QApplication::restoreOverrideCursor();
    (void)self;
}

void mdiMain::ChildCommand(long command, const QString &)
{
    KORVOChildWindow *child = ActiveChild();
    if (!child)
        return;
    switch (command) {
    case 4:
        if (child->CanOpenFile())
            child->OpenText();
        break;
    case 5:
        if (child->CanSaveFile())
            child->SaveText();
        break;
    case 6:
        if (child->CanGetLatest())
            child->GetLatestVersion();
        break;
    case 7:
        if (child->CanCheckIn())
            child->CheckIn();
        break;
    case 8:
        if (child->CanCheckOut())
            child->CheckOut();
        break;
    case 9:
        if (child->CanUndoCheckOut())
            child->UndoCheckout();
        break;
    case 10:
        if (child->CanUndo())
            child->Undo();
        break;
    case 11:
        if (child->CanRedo())
            child->Redo();
        break;
    case 12:
        if (child->CanCut())
            child->CutText();
        break;
    case 13:
        if (child->CanCopy())
            child->CopyText();
        break;
    case 14:
        if (child->CanPaste())
            child->PasteText();
        break;
    case 34:
        if (child->CanDescription())
            child->ChangeDescription();
        break;
    case 52:
        if (child->CanTestSQL())
            child->TestItem();
        break;
    case 54:
        if (child->CanShowHistory())
            child->ShowHistory();
        break;
    case 55:
        if (child->CanFind())
            child->Find(false, false);
        break;
    case 58:
        if (child->CanReplace())
            child->Replace();
        break;
    default:
        break;
    }
}

// --- Commands on the tree ----------------------------------------------------

QString mdiMain::ExpandTemplate(const QString &text, const QString &tableOwner, const QString &table) const
{
    QString out = text;
    out.replace(QStringLiteral("<DATE>"), QDate::currentDate().toString(QStringLiteral("dd.MM.yyyy")));
    out.replace(QStringLiteral("<TIME>"), QTime::currentTime().toString(QStringLiteral("hh:mm")));
    const KORVOProjectPtr project = mDatabase ? mDatabase->Project() : nullptr;
    out.replace(QStringLiteral("<DONEBYVSS>"), project && project->VSS() ? project->VSS()->UserName : QString());
    out.replace(QStringLiteral("<DONEBYSQL>"), project && project->SQL() ? project->SQL()->UserName() : QString());
    out.replace(QStringLiteral("<TABLEWITHOWNER>"),
                tableOwner.isEmpty() ? table : tableOwner + QLatin1Char('.') + table);
    out.replace(QStringLiteral("<TABLE>"), table);
    out.replace(QStringLiteral("<TABLEOWNER>"), tableOwner);
    return out;
}

KORVODBObjectPtr mdiMain::ObjectAt(const QString &tag, const QString &key) const
{
    if (!mDatabase)
        return nullptr;
    bool fromDeleted = false;
    return mDatabase->GetObject(tag, key, fromDeleted);
}

mdiMain::Selection mdiMain::SelectedObject() const
{
    Selection selection;
    selection.node = tvwDBT->currentItem();
    if (!selection.node)
        return selection;
    selection.tag = NodeTag(selection.node);
    selection.key = NodeKey(selection.node);
    selection.object = ObjectAt(selection.tag, selection.key);
    return selection;
}

void mdiMain::NewItem(long index)
{
    if (!mDatabase || mNewItems.isEmpty())
        return;
    const long row = index == 0 ? 1 : index;
    if (row < 1 || row > mNewItems.size())
        return;
    KORVODBObjectPtr object = mDatabase->NewItemOfType(mNewItems.at(row - 1).key);
    if (!object)
        return;
    QString owner, table;
    if (QTreeWidgetItem *node = tvwDBT->currentItem()) {
        bool ok = false;
        mDatabase->GetTableName(NodeTag(node), NodeKey(node), owner, table, ok);
    }
    auto typed = std::dynamic_pointer_cast<KORVOTypedObject>(object);
    const QString text
        = ExpandTemplate(mDatabase->GetDefaultText(typed ? typed->ParentObjectType() : QString()), owner, table);
    if (KORVOChildWindow *child = mWindows->NewObjectText(*this, *mDatabase, object, text))
        AddChild(child->Widget());
}

void mdiMain::EditItem(const QString &tag, const QString &key)
{
    if (!mDatabase || tag.isEmpty())
        return;
    auto typed = std::dynamic_pointer_cast<KORVOTypedObject>(ObjectAt(tag, key));
    if (!typed || !typed->IsEditable() || !typed->InSQL() || !typed->InVSS())
        return;
    if (KORVOChildWindow *open = FindOpenChild(tag, key, 1)) {
        ActivateChild(open);
        return;
    }
    if (KORVOChildWindow *child = mWindows->OpenObjectText(*this, *mDatabase, typed))
        AddChild(child->Widget());
}

void mdiMain::DeleteItem()
{
    const auto [node, tag, key, object] = SelectedObject();
    if (!object)
        return;
    const QString name = object->Owner().isEmpty()
        ? QStringLiteral("[%1]").arg(object->Name())
        : QStringLiteral("[%1].[%2]").arg(object->Owner(), object->Name());
    QApplication::setOverrideCursor(Qt::ArrowCursor);
    const auto answer = mDatabase->Ui().messageBox(UiServices::Icon::Question, QStringLiteral("Delete Item"),
        QStringLiteral("Are you sure you want to Delete the Item ") + name, UiServices::Buttons::YesNo);
    QApplication::restoreOverrideCursor();
    if (answer != UiServices::Answer::Yes)
        return;
    if (!mDatabase->DeleteItem(tag, key))
        return;
    NotifyChildren(tag, key, true);
    if (QTreeWidgetItem *again = FindNode(key); again && again->parent())
        RefreshNode(again->parent());
}

void mdiMain::RenameItem()
{
    const auto [node, tag, key, object] = SelectedObject();
    if (!object)
        return;
    QApplication::setOverrideCursor(Qt::ArrowCursor);
    frmRenameObject dialog(mDatabase->Ui(), this);
    const QString newName = dialog.RenameItem(this, object->Name(), object->Owner());
    QApplication::restoreOverrideCursor();
    if (newName.isEmpty() || !mDatabase->RenameItem(tag, key, newName))
        return;
    // The collection already holds the object under its new id.
    node->setData(0, Qt::UserRole, QStringLiteral("I") + object->DBID());
    RefreshNode(node);
    RefreshForms();
}

void mdiMain::SourceControlFromTree(long command)
{
    const auto [node, tag, key, object] = SelectedObject();
    auto typed = std::dynamic_pointer_cast<KORVOTypedObject>(object);
    if (!typed)
        return;
    bool done = false;
    switch (command) {
    case 6:
        done = typed->GetLatestVersion();
        break;
    case 7: {
        // From the tree the working copy is what goes in.
        QString text = ReadTextFile(typed->FileName());
        if (text.isEmpty())
            text = typed->GetContent(2);
        done = typed->CheckIn(text, QString());
        break;
    }
    case 8:
        done = typed->CheckOut();
        break;
    case 9:
        done = typed->UndoCheckout();
        break;
    default:
        break;
    }
    RefreshNode(node);
    if (done)
        NotifyChildren(tag, QStringLiteral("I") + typed->DBID(), !typed->InSQL() || !typed->InVSS());
}

void mdiMain::NotifyChildren(const QString &tag, const QString &key, bool closed)
{
    for (long type : { 1L, 2L }) {
        KORVOChildWindow *child = FindOpenChild(tag, key, type);
        if (!child)
            continue;
        if (closed) {
            child->CloseItem(true);
        } else {
            child->GetLatestVersion();
            child->RefreshCaption();
        }
    }
}

void mdiMain::SyncroniseAction(QTreeWidgetItem *node, int action, int target)
{
    if (!node || !mDatabase)
        return;
    auto typed = std::dynamic_pointer_cast<KORVOTypedObject>(ObjectAt(NodeTag(node), NodeKey(node)));
    if (!typed)
        return;
    switch (action) {
    case 1:
        typed->SyncAdd(target);
        break;
    case 2:
        typed->SyncChange(target);
        break;
    case 3:
        typed->SyncRemove(target);
        break;
    default:
        return;
    }
    RefreshNode(node);
}

void mdiMain::EditPermissions(const QString &tag, const QString &key, const KORVODBObjectPtr &object)
{
    if (!mDatabase)
        return;
    QString t = tag, k = key;
    KORVODBObjectPtr o = object;
    if (t.isEmpty() && k.isEmpty()) {
        KORVOChildWindow *child = ActiveChild();
        if (!child || !child->CanPermissions() || !child->CurrentObject())
            return;
        t = child->ObjectTag();
        k = child->ObjectKey();
        o = child->CurrentObject();
    }
    if (!o)
        o = ObjectAt(t, k);
    if (!o)
        return;
    if (KORVOChildWindow *open = FindOpenChild(t, k, 2)) {
        ActivateChild(open);
        return;
    }
    if (KORVOChildWindow *child = mWindows->OpenPermissions(*this, *mDatabase, t, k, o))
        AddChild(child->Widget());
}

// --- Projects, help, mail ------------------------------------------------------

void mdiMain::OpenRecentProject(long index, const QString &name)
{
    QString project = name;
    if (project.isEmpty()) {
        if (index < 2 || index > mRecentProjects.size())
            return; // 1 is the open project
        project = mRecentProjects.at(index - 1).key;
    }
    if (!mDatabase || !mHelp)
        return;
    KORVODatabase *session = mDatabase;
    // Closing the frame must not end the program while the next project opens.
    const bool quit = QApplication::quitOnLastWindowClosed();
    QApplication::setQuitOnLastWindowClosed(false);
    if (!CloseProject()) {
        QApplication::setQuitOnLastWindowClosed(quit);
        return;
    }
    frmProjectBrowser browser(Unowned(session), session->Ui(), *mHelp, nullptr);
    bool ok = false;
    browser.OpenRecentProject(-1, project, ok);
    if (ok) {
        mCommandsOff = false;
        mClosed = false;
        tvwDBT->setCurrentItem(nullptr);
    }
    QApplication::setQuitOnLastWindowClosed(quit);
    if (!ok && quit && QApplication::topLevelWidgets().size() > 0) {
        bool anyVisible = false;
        for (QWidget *w : QApplication::topLevelWidgets())
            anyVisible = anyVisible || w->isVisible();
        if (!anyVisible)
            QCoreApplication::quit();
    }
}

void mdiMain::ProjectBrowser()
{
    if (!mDatabase || !mHelp)
        return;
    KORVOProjectPtr chosen;
    {
        frmProjectBrowser browser(Unowned(mDatabase), mDatabase->Ui(), *mHelp, this);
        chosen = browser.OpenProjectBrowser(mDatabase->Project());
    }
    if (chosen)
        OpenRecentProject(-1, chosen->Name);
}

void mdiMain::ShowHelp(long helpContext)
{
    if (!mHelp)
        return;
    int topic = int(helpContext);
    if (helpContext == MainHelpContext && tvwDBT->hasFocus())
        topic = TreeHelpTopic;
    mHelp->ShowHelp(this, topic);
}

void mdiMain::SendMail(const QString &subject, const QString &body)
{
    QUrl url = frmAbout::MailUrl();
    QUrlQuery query;
    query.addQueryItem(QStringLiteral("subject"), subject);
    query.addQueryItem(QStringLiteral("body"), body);
    url.setQuery(query);
    QDesktopServices::openUrl(url);
}

// --- Children ------------------------------------------------------------------

KORVOChildWindow *mdiMain::ActiveChild() const
{
    QMdiSubWindow *sub = mMdi->activeSubWindow();
    return sub ? AsChildWindow(sub->widget()) : nullptr;
}

QList<KORVOChildWindow *> mdiMain::Children() const
{
    QList<KORVOChildWindow *> children;
    for (QMdiSubWindow *sub : mMdi->subWindowList(QMdiArea::CreationOrder)) {
        if (KORVOChildWindow *child = AsChildWindow(sub->widget()))
            children.append(child);
    }
    return children;
}

KORVOChildWindow *mdiMain::FindOpenChild(const QString &tag, const QString &key, long formType) const
{
    for (KORVOChildWindow *child : Children()) {
        if (child->FormType() == formType && child->ObjectTag() == tag && child->ObjectKey() == key)
            return child;
    }
    return nullptr;
}

void mdiMain::ActivateChild(KORVOChildWindow *child)
{
    if (auto *sub = qobject_cast<QMdiSubWindow *>(child->Widget()->parentWidget()))
        mMdi->setActiveSubWindow(sub);
}

void mdiMain::AddChild(QWidget *child)
{
    if (!child)
        return;
    QMdiSubWindow *sub = mMdi->addSubWindow(child);
    sub->setAttribute(Qt::WA_DeleteOnClose);
    child->show();
    sub->show();
    mMdi->setActiveSubWindow(sub);
}

void mdiMain::SetChildToFocus(KORVOChildWindow *child)
{
    mChildToFocus = child ? child->Widget() : nullptr;
}

void mdiMain::RefreshForms()
{
    for (KORVOChildWindow *child : Children())
        child->RefreshCaption();
}

void mdiMain::PushChildFocus()
{
    KORVOChildWindow *child = AsChildWindow(mChildToFocus);
    if (!child)
        return;
    auto *sub = qobject_cast<QMdiSubWindow *>(mChildToFocus->parentWidget());
    if (!sub || sub == mMdi->activeSubWindow())
        return;
    const QDateTime now = QDateTime::currentDateTime();
    const QDateTime last = mLastFocusTime.isValid() ? mLastFocusTime : now.addDays(-10);
    if (last.msecsTo(now) < 1000)
        return;
    mMdi->setActiveSubWindow(sub);
    mLastFocusTime = now;
    child->SetFocusOfChild();
}

void mdiMain::UpdateCommands()
{
    KORVOChildWindow *child = ActiveChild();
    // Without a child the commands go off once; later ticks return at once.
    if (!child && mCommandsOff)
        return;
    for (const EditRow &row : EditRows) {
        const bool on = child && (child->*row.can)();
        if (row.button)
            SetEnabled(mActions.value(QString::fromLatin1(row.button)), on);
        SetEnabled(mActions.value(QString::fromLatin1(row.menu)), on);
    }
    const QString open = child ? child->OpenFileText() : QStringLiteral("Load");
    const QString save = child ? child->SaveFileText() : QStringLiteral("Save");
    SetText(mActions.value(QStringLiteral("mnuOpenFile")), QLatin1Char('&') + open + QStringLiteral("\tCtrl+L"));
    SetText(mActions.value(QStringLiteral("mnuSaveFile")), QLatin1Char('&') + save + QStringLiteral("\tCtrl+S"));
    // The buttons' own words when no child names them.
    SetText(mActions.value(QStringLiteral("EDITBAR:OPENFILE")), child ? open : QStringLiteral("Open"));
    SetText(mActions.value(QStringLiteral("EDITBAR:SAVEFILE")), save);
    mCommandsOff = !child;
}

void mdiMain::UpdateWindowList()
{
    for (QAction *a : mnuWindows->actions()) {
        if (a->objectName().startsWith(QLatin1String("WINLIST:CHILD:"))) {
            mnuWindows->removeAction(a);
            a->deleteLater();
        }
    }
    const auto subs = mMdi->subWindowList(QMdiArea::CreationOrder);
    bool any = false;
    for (QMdiSubWindow *sub : subs)
        any = any || (AsChildWindow(sub->widget()) && sub->isVisible());
    if (!any)
        return;
    QAction *spacer = mnuWindows->addSeparator();
    spacer->setObjectName(QStringLiteral("WINLIST:CHILD:Spacer"));
    int count = 0;
    for (int i = 0; i < subs.size(); ++i) {
        QMdiSubWindow *sub = subs.at(i);
        KORVOChildWindow *child = AsChildWindow(sub->widget());
        if (!child || !sub->isVisible())
            continue;
        ++count;
        auto *entry = new QAction(QStringLiteral("&%1 %2").arg(count).arg(sub->windowTitle()), mnuWindows);
        entry->setObjectName(QStringLiteral("WINLIST:CHILD:%1").arg(i + 1));
        const int icon = int(child->CurrentIcon()) - 1;
        entry->setData(icon); // the image's number, counted from 0
        if (icon >= 0 && icon < mImageNames.size())
            entry->setIcon(KORVOTreeIcon(mImageNames.at(icon)));
        entry->setCheckable(true);
        entry->setChecked(sub == mMdi->activeSubWindow());
        connect(entry, &QAction::triggered, this, [this, entry] { DoCommand(31, entry->objectName(), MainHelpContext); });
        mnuWindows->addAction(entry);
    }
}

// --- Closing -------------------------------------------------------------------

bool mdiMain::CloseProject()
{
    close();
    return mClosed;
}

void mdiMain::closeEvent(QCloseEvent *event)
{
    mClosed = false;
    // Every child is asked before any closes, so that a refusal keeps them all.
    const QList<KORVOChildWindow *> children = Children();
    for (KORVOChildWindow *child : children) {
        if (!child->QueryClose()) {
            event->ignore();
            return;
        }
    }
    for (KORVOChildWindow *child : children)
        child->CloseItem(true);
    for (QMdiSubWindow *sub : mMdi->subWindowList()) {
        if (AsChildWindow(sub->widget()) && sub->isVisible()) {
            event->ignore();
            return;
        }
    }
    tmr->stop();
    mClosed = true;
    event->accept();
}
