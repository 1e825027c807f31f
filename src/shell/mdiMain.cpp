#include "mdiMain.h"

#include "KORVOExplorerBar.h"
#include "KORVOIconLookup.h"
#include "KORVOTypedObject.h"
#include "UiServices.h"
#include "UserDataFolder.h"

#include <QApplication>
#include <QCloseEvent>
#include <QDir>
#include <QDrag>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMenu>
#include <QMenuBar>
#include <QMimeData>
#include <QProgressBar>
#include <QScreen>
#include <QSignalBlocker>
#include <QSplitter>
#include <QStatusBar>
#include <QTimer>
#include <QToolBar>
#include <QToolButton>
#include <QTreeWidget>
#include <QVBoxLayout>

#include <cmath>

namespace
{
// The tree keeps only strings: the node's key and its tag.
constexpr int KeyRole = Qt::UserRole;
constexpr int TagRole = Qt::UserRole + 1;
constexpr long MainHelpContext = 23;

const QString Temp = QStringLiteral("temp");

bool HasTempChild(const QTreeWidgetItem *node)
{
    return node->childCount() > 0 && node->child(0)->data(0, TagRole).toString() == Temp;
}
} // namespace

mdiMain::mdiMain(QWidget *parent) : mdiMain(mNoWindows, nullptr, parent) { }

mdiMain::mdiMain(KORVOWindows &windows, HelpIntegration *help, QWidget *parent)
    : QMainWindow(parent), mWindows(&windows), mHelp(help)
{
    setObjectName(QStringLiteral("mdiMain"));
    BuildFrame();
    BuildKeyTable();
    BuildMenus();
    BuildToolbars();
    tmr = new QTimer(this);
    tmr->setObjectName(QStringLiteral("tmr"));
    tmr->setInterval(10);
    connect(tmr, &QTimer::timeout, this, [this] {
        PushChildFocus();
        UpdateCommands();
    });
    // Keys that reach no child go through the key table.
    qApp->installEventFilter(this);
}

mdiMain::~mdiMain()
{
    qApp->removeEventFilter(this);
    if (mDatabase)
        mDatabase->SetListener(nullptr);
}

// --- Frame -------------------------------------------------------------------

void mdiMain::BuildFrame()
{
    cmdSplit = new QSplitter(Qt::Horizontal, this);
    cmdSplit->setObjectName(QStringLiteral("cmdSplit"));
    cmdSplit->setHandleWidth(6);

    picBG = new QWidget(cmdSplit);
    picBG->setObjectName(QStringLiteral("picBG"));
    auto *bgLayout = new QVBoxLayout(picBG);
    bgLayout->setContentsMargins(0, 0, 0, 0);
    cmdSplitDBT = new QSplitter(Qt::Vertical, picBG);
    cmdSplitDBT->setObjectName(QStringLiteral("cmdSplitDBT"));
    cmdSplitDBT->setHandleWidth(6);
    bgLayout->addWidget(cmdSplitDBT);

    picDBT = new QWidget(cmdSplitDBT);
    picDBT->setObjectName(QStringLiteral("picDBT"));
    auto *dbtLayout = new QVBoxLayout(picDBT);
    dbtLayout->setContentsMargins(0, 0, 0, 0);
    dbtLayout->setSpacing(2);
    txtFilter = new QLineEdit(picDBT);
    txtFilter->setObjectName(QStringLiteral("txtFilter"));
    txtFilter->setPlaceholderText(QStringLiteral("Filter by name"));
    txtFilter->setClearButtonEnabled(true);
    txtFilter->installEventFilter(this);
    dbtLayout->addWidget(txtFilter);
    tvwDBT = new QTreeWidget(picDBT);
    tvwDBT->setObjectName(QStringLiteral("tvwDBT"));
    tvwDBT->setHeaderHidden(true);
    tvwDBT->setRootIsDecorated(true);
    tvwDBT->setUniformRowHeights(true);
    tvwDBT->setContextMenuPolicy(Qt::CustomContextMenu);
    tvwDBT->setDragEnabled(false); // drags start by hand, with the node's text
    tvwDBT->setExpandsOnDoubleClick(false);
    tvwDBT->viewport()->installEventFilter(this);
    tvwDBT->installEventFilter(this);
    dbtLayout->addWidget(tvwDBT);

    picSplitPanel = new QWidget(cmdSplitDBT);
    picSplitPanel->setObjectName(QStringLiteral("picSplitPanel"));
    auto *panelLayout = new QVBoxLayout(picSplitPanel);
    panelLayout->setContentsMargins(0, 0, 0, 0);
    ebcExtraInfo = new KORVOExplorerBar(picSplitPanel);
    panelLayout->addWidget(ebcExtraInfo);
    picSplitPanel->installEventFilter(this);
    cmdSplitDBT->addWidget(picDBT);
    cmdSplitDBT->addWidget(picSplitPanel);
    cmdSplitDBT->setStretchFactor(0, 1);
    cmdSplitDBT->setStretchFactor(1, 1);

    mMdi = new QMdiArea(cmdSplit);
    mMdi->setObjectName(QStringLiteral("mdiArea"));
    mMdi->setAcceptDrops(true);
    mMdi->installEventFilter(this);
    mMdi->viewport()->setAcceptDrops(true);
    mMdi->viewport()->installEventFilter(this);
    cmdSplit->addWidget(picBG);
    cmdSplit->addWidget(mMdi);
    cmdSplit->setStretchFactor(0, 0);
    cmdSplit->setStretchFactor(1, 1);
    cmdSplit->setCollapsible(1, false);
    setCentralWidget(cmdSplit);

    statusBar()->setObjectName(QStringLiteral("picStatusBar"));
    mStatusPane = new QLabel(this);
    mStatusPane->setObjectName(QStringLiteral("DBT:STATUS"));
    statusBar()->addWidget(mStatusPane, 1);
    mProgress = new QProgressBar(this);
    mProgress->setObjectName(QStringLiteral("DBT:PROGRESS"));
    mProgress->setRange(0, 100);
    mProgress->setMaximumWidth(160);
    mProgress->hide();
    statusBar()->addPermanentWidget(mProgress);

    connect(tvwDBT, &QTreeWidget::itemExpanded, this, &mdiMain::OnExpanded);
    connect(tvwDBT, &QTreeWidget::itemSelectionChanged, this, &mdiMain::UpdateExtraPanel);
    connect(tvwDBT, &QTreeWidget::customContextMenuRequested, this, &mdiMain::OnTreeContextMenu);
    connect(tvwDBT, &QTreeWidget::itemDoubleClicked, this, &mdiMain::OnTreeDoubleClick);
    connect(ebcExtraInfo, &KORVOExplorerBar::ItemClicked, this,
            [this](long command, const QString &key) { DoCommand(command, key, MainHelpContext); });
    connect(txtFilter, &QLineEdit::textChanged, this, &mdiMain::ApplyFilter);
    connect(cmdSplitDBT, &QSplitter::splitterMoved, this, [this] {
        if (!mLoading && mDatabase)
            mDatabase->SetExtraPanelHeight(int(PixelsToTwips(picSplitPanel->height(), false)));
    });
}

void mdiMain::Init(KORVODatabase *database)
{
    mChildToFocus.clear();
    mDatabase = database;
    if (mDatabase)
        mDatabase->SetListener(this);
    mClosed = false;
}

void mdiMain::Show()
{
    show();
}

namespace
{
double ScreenDpi(bool horizontal)
{
    const QScreen *screen = QApplication::primaryScreen();
    return screen ? (horizontal ? screen->logicalDotsPerInchX() : screen->logicalDotsPerInchY()) : 96.0;
}
} // namespace

int mdiMain::TwipsToPixels(long twips, bool horizontal) const
{
    return int(twips * ScreenDpi(horizontal) / 1440.0);
}

long mdiMain::PixelsToTwips(int pixels, bool horizontal) const
{
    return std::lround(pixels * 1440.0 / ScreenDpi(horizontal));
}

void mdiMain::SetHeightTwips(long height)
{
    resize(width(), std::max(200, TwipsToPixels(height, false)));
}

void mdiMain::SetWidthTwips(long w)
{
    resize(std::max(300, TwipsToPixels(w, true)), height());
}

void mdiMain::SetWindowState(long state)
{
    setWindowState(state == 2 ? Qt::WindowMaximized : Qt::WindowNoState);
}

void mdiMain::SetDatabaseTreeVisible(bool visible)
{
    mDatabaseTreeVisible = visible;
    if (mDatabase)
        mDatabase->SetDBTVisible(visible);
    picBG->setVisible(visible);
    if (visible && mDatabase) {
        const int w = TwipsToPixels(mDatabase->DBTWidth(), true);
        if (w > 0)
            cmdSplit->setSizes({ w, std::max(1, width() - w) });
    }
}

void mdiMain::SetExtraPanelVisible(bool visible)
{
    mExtraPanelVisible = visible;
    if (mDatabase)
        mDatabase->SetExtraPanelVisible(visible);
    picSplitPanel->setVisible(visible);
    if (!visible)
        return;
    const int total = std::max(2, cmdSplitDBT->height());
    const long stored = mDatabase ? mDatabase->ExtraPanelHeight() : -1;
    // No stored height yet: the left panel is split in halves.
    const int lower = stored == -1 ? total / 2 : std::min(total - 1, TwipsToPixels(stored, false));
    const bool loading = std::exchange(mLoading, true);
    cmdSplitDBT->setSizes({ total - lower, lower });
    mLoading = loading;
}

void mdiMain::doTrmResize()
{
    cmdSplit->updateGeometry();
}

void mdiMain::resizeEvent(QResizeEvent *event)
{
    QMainWindow::resizeEvent(event);
    statusBar()->setSizeGripEnabled(windowState() == Qt::WindowNoState);
    if (mLoading || !mDatabase)
        return;
    if (windowState() & Qt::WindowMinimized)
        return;
    const bool maximised = windowState() & Qt::WindowMaximized;
    mDatabase->SetWindowState(maximised ? 2 : 0);
    // A maximised window keeps the last normal size in the store.
    if (!maximised) {
        mDatabase->SetWindowHeight(int(PixelsToTwips(height(), false)));
        mDatabase->SetWindowWidth(int(PixelsToTwips(width(), true)));
    }
}

void mdiMain::changeEvent(QEvent *event)
{
    QMainWindow::changeEvent(event);
    if (event->type() == QEvent::WindowStateChange && !mLoading && mDatabase) {
        if (!(windowState() & Qt::WindowMinimized))
            mDatabase->SetWindowState(windowState() & Qt::WindowMaximized ? 2 : 0);
    }
}

QString mdiMain::BarLayoutFile()
{
    return UserDataFolder() + QDir::separator() + QStringLiteral("barlayout.xml");
}

QString mdiMain::LoadBarLayout() const
{
    return ReadTextFile(BarLayoutFile());
}

bool mdiMain::SaveBarLayout(const QString &layout) const
{
    QDir().mkpath(UserDataFolder());
    return WriteTextFile(BarLayoutFile(), layout);
}

void mdiMain::CheckProjectSyncInfo()
{
    // Asked once the window is visible. The answer is shared by every user of
    // the project through its "SyncHistory" item.
    if (!mDatabase || !mDatabase->Project())
        return;
    const KORVOProjectPtr &project = mDatabase->Project();
    if (!project->IsFirstUserToConnect())
        return;
    const UiServices::Answer answer = mDatabase->Ui().messageBox(UiServices::Icon::Question,
        QStringLiteral("Start Synchronization Process?"),
        QStringLiteral("This is the first time anyone has connected to this project. Would you like to Synchronize?"),
        UiServices::Buttons::YesNo);
    if (answer == UiServices::Answer::Yes) {
        // The synchronisation command records its own run in the history.
        DoCommand(17, QString(), MainHelpContext);
        return;
    }
    project->ProjectWasSyncronized(QStringLiteral("NoSyncWanted"));
}

// --- Tree --------------------------------------------------------------------

QString mdiMain::NodeKey(const QTreeWidgetItem *node)
{
    return node ? node->data(0, KeyRole).toString() : QString();
}

QString mdiMain::NodeTag(const QTreeWidgetItem *node)
{
    return node ? node->data(0, TagRole).toString() : QString();
}

QIcon mdiMain::ImageIcon(const QString &name) const
{
    return KORVOTreeIcon(name);
}

int mdiMain::GetIconIndex(const QString &name, bool zeroBased) const
{
    const QString upper = name.toUpper();
    for (int i = 0; i < mImageNames.size(); ++i) {
        if (mImageNames.at(i) == upper)
            return zeroBased ? i : i + 1;
    }
    return -1;
}

void mdiMain::SetNodeImage(QTreeWidgetItem *node, const QString &imageName)
{
    if (!imageName.isEmpty() && GetIconIndex(imageName, false) > 0)
        node->setIcon(0, ImageIcon(imageName.toUpper()));
    else
        node->setIcon(0, QIcon());
}

void mdiMain::InitDBT(long widthTwips)
{
    // The frame is set up anew at each opening.
    statusBar()->setVisible(!mDatabase || mDatabase->ShowMainStatusBar());
    mClosed = false;
    mRefreshing = false;
    SetDragNode(nullptr);
    txtFilter->clear();

    ebcExtraInfo->Clear();
    ebcExtraInfo->InitEBARStyle();
    ebcExtraInfo->AddGroup(QStringLiteral("Item"), QStringLiteral("Selected Item"));
    ebcExtraInfo->AddGroup(QStringLiteral("Tools"), QStringLiteral("Functions Available"));
    ebcExtraInfo->AddItem(QStringLiteral("Tools"), QStringLiteral("REFRESH"), QStringLiteral("Refresh"),
                          QStringLiteral("Refresh Database Tree"), 16, ImageIcon(QStringLiteral("REFRESH")));
    ebcExtraInfo->AddItem(QStringLiteral("Tools"), QStringLiteral("SYNC"), QStringLiteral("Sync"),
                          QStringLiteral("Synchronize SQL and VSS"), 17, ImageIcon(QStringLiteral("SYNC")));
    ebcExtraInfo->AddGroup(QStringLiteral("Description"), QStringLiteral("Description"));
    ebcExtraInfo->SetGroupVisible(QStringLiteral("Description"), false);
    ebcExtraInfo->ApplyEBARStyle();

    tvwDBT->setIndentation(16);
    tvwDBT->clear();
    if (widthTwips > 0) {
        const int tree = TwipsToPixels(widthTwips, true);
        cmdSplit->setSizes({ tree, std::max(1, width() - tree) });
    }

    mImageNames.clear();
    if (mDatabase && mDatabase->Icons())
        mImageNames = mDatabase->Icons()->Names();

    mFirstStart = true;
    if (mDatabase) {
        auto roots = mDatabase->GetItemInfo(QStringLiteral("Start"), QString(), false, true);
        if (roots)
            AddNodes(*roots, nullptr, QString(), false);
    }
    UpdateExtraPanel();

    mNewItems.clear();
    if (mDatabase) {
        if (auto items = mDatabase->GetItemsForNewMenu()) {
            for (const auto &item : *items)
                mNewItems.append({ item->Key, item->Text });
        }
    }
    mRecentProjects.clear();
    if (mDatabase) {
        const QStringList recent = mDatabase->GetMostRecentProject();
        for (int i = 1; i < recent.size(); ++i) {
            if (!recent.at(i).isEmpty())
                mRecentProjects.append({ recent.at(i), QStringLiteral("&%1 - %2").arg(i).arg(recent.at(i)) });
        }
    }
    RebuildNewMenus();
    RebuildRecentProjects();
    tvwDBT->setFocus();
    mCommandsOff = false;
    UpdateCommands();
    tmr->start();
}

void mdiMain::AddNodes(const KORVODBTItems &items, QTreeWidgetItem *parent, const QString &expandedKeys, bool nested)
{
    if (!nested)
        mRefreshing = true;
    QList<QTreeWidgetItem *> added;
    for (const auto &item : items) {
        if (item->RemoveItem)
            continue;
        auto *node = new QTreeWidgetItem();
        node->setData(0, KeyRole, item->Key);
        node->setText(0, item->Text);
        node->setToolTip(0, item->ToolTipText());
        node->setData(0, TagRole, item->Tag);
        SetNodeImage(node, item->ImageName);
        // Children go in before the node joins the tree, so that a folder of
        // thousands of objects is inserted in one step.
        AddNodes(item->Children(), node, expandedKeys, true);
        added.append(node);
    }
    if (parent)
        parent->addChildren(added);
    else
        tvwDBT->addTopLevelItems(added);
    // Expanding needs the node in the tree.
    int index = 0;
    for (const auto &item : items) {
        if (item->RemoveItem)
            continue;
        QTreeWidgetItem *node = added.at(index++);
        const QString key = item->Key;
        if (!item->AutoExpand && (key.isEmpty() || !expandedKeys.contains(key + QLatin1Char(','))))
            continue;
        {
            // Expanding by program is not the user's expansion: no fetch here.
            const QSignalBlocker quiet(tvwDBT);
            node->setExpanded(true);
        }
        if (HasTempChild(node) && mDatabase) {
            RemoveChildren(node);
            if (auto children = mDatabase->GetItemInfo(item->Tag, key, false, true))
                AddNodes(*children, node, expandedKeys, true);
        }
    }
    if (!txtFilter->text().isEmpty()) {
        for (QTreeWidgetItem *node : std::as_const(added))
            ShowNodeFiltered(node);
    }
    if (!nested)
        mRefreshing = false;
}

void mdiMain::RemoveChildren(QTreeWidgetItem *node)
{
    qDeleteAll(node->takeChildren());
}

QTreeWidgetItem *mdiMain::DragNode() const
{
    return mDragIndex.isValid() ? tvwDBT->itemFromIndex(mDragIndex) : nullptr;
}

void mdiMain::SetDragNode(QTreeWidgetItem *node)
{
    mDragIndex = node ? QPersistentModelIndex(tvwDBT->indexFromItem(node)) : QPersistentModelIndex();
}

void mdiMain::OnExpanded(QTreeWidgetItem *node)
{
    if (node->childCount() == 0)
        return;
    if (mRefreshing) {
        node->setExpanded(false);
        return;
    }
    if (!HasTempChild(node) || !mDatabase)
        return;
    mDatabase->Ui().beginWait();
    if (auto children = mDatabase->GetItemInfo(NodeTag(node), NodeKey(node), false, true))
        FillNode(node, *children);
    else
        RemoveChildren(node);
    mDatabase->Ui().endWait();
}

void mdiMain::FillNode(QTreeWidgetItem *node, const KORVODBTItems &items)
{
    tvwDBT->setUpdatesEnabled(false);
    RemoveChildren(node);
    AddNodes(items, node, QString(), false);
    tvwDBT->setUpdatesEnabled(true);
}

QString mdiMain::ExpandedKeys() const
{
    QString keys;
    for (QTreeWidgetItemIterator it(tvwDBT); *it; ++it) {
        const QString key = NodeKey(*it);
        if ((*it)->isExpanded() && !key.isEmpty())
            keys += key + QLatin1Char(',');
    }
    return keys;
}

void mdiMain::RefreshNode(QTreeWidgetItem *node)
{
    if (!node || !mDatabase)
        return;
    mRefreshing = true;
    const KORVODBTItemPtr item = mDatabase->RefreshItem(NodeTag(node), NodeKey(node));
    mRefreshing = false;
    if (!item)
        return;
    mRefreshing = true;
    if (item->RemoveItem) {
        delete node;
        mRefreshing = false;
        UpdateExtraPanel();
        return;
    }
    tvwDBT->setUpdatesEnabled(false);
    SetNodeImage(node, item->ImageName);
    node->setData(0, KeyRole, item->Key);
    node->setData(0, TagRole, item->Tag);
    node->setText(0, item->Text);
    node->setToolTip(0, item->ToolTipText());
    const QString expanded = ExpandedKeys();
    // Children never fetched stay unfetched.
    if (!HasTempChild(node)) {
        RemoveChildren(node);
        if (auto children = mDatabase->GetItemInfo(item->Tag, NodeKey(node), false, true))
            AddNodes(*children, node, expanded, true);
    }
    mRefreshing = false;
    tvwDBT->setUpdatesEnabled(true);
    tvwDBT->viewport()->update();
    if (QTreeWidgetItem *current = tvwDBT->currentItem())
        tvwDBT->scrollToItem(current);
    else
        tvwDBT->scrollToItem(node);
    UpdateExtraPanel();
}

void mdiMain::RefreshAll()
{
    QList<QTreeWidgetItem *> roots;
    for (int i = 0; i < tvwDBT->topLevelItemCount(); ++i)
        roots.append(tvwDBT->topLevelItem(i));
    for (QTreeWidgetItem *root : std::as_const(roots))
        RefreshNode(root);
}

QTreeWidgetItem *mdiMain::FindNode(const QString &key) const
{
    for (QTreeWidgetItemIterator it(tvwDBT); *it; ++it) {
        if (NodeKey(*it) == key)
            return *it;
    }
    return nullptr;
}

void mdiMain::RefreshItem(const QString &tag, const QString &key, bool refreshParent)
{
    for (QTreeWidgetItemIterator it(tvwDBT); *it; ++it) {
        if (NodeKey(*it) == key && NodeTag(*it) == tag) {
            QTreeWidgetItem *node = *it;
            RefreshNode(refreshParent && node->parent() ? node->parent() : node);
            return;
        }
    }
}

void mdiMain::UpdateExtraPanel()
{
    if (!ebcExtraInfo->Group(QStringLiteral("Item")))
        return;
    QTreeWidgetItem *node = tvwDBT->currentItem();
    if (node && !node->isSelected())
        node = nullptr;
    const KORVODBObjectPtr object = node ? ObjectAt(NodeTag(node), NodeKey(node)) : nullptr;
    ebcExtraInfo->setUpdatesEnabled(false);
    ebcExtraInfo->RemoveItems(QStringLiteral("Item"));
    ebcExtraInfo->RemoveItems(QStringLiteral("Tools"), { QStringLiteral("REFRESH"), QStringLiteral("SYNC") });
    if (!node || !object) {
        ebcExtraInfo->AddItem(QStringLiteral("Item"), QStringLiteral("NoItem"),
                              mFirstStart ? QStringLiteral("No item is currently selected")
                                          : QStringLiteral("No object is currently selected"),
                              {}, 0);
    }
    if (node) {
        mFirstStart = false;
        ebcExtraInfo->AddItem(QStringLiteral("Item"), QStringLiteral("RefreshNode"), QStringLiteral("Refresh from here"),
                              QStringLiteral("Refresh from here"), 15, ImageIcon(QStringLiteral("REFRESH")));
    }
    QString description;
    if (object && mDatabase) {
        const KORVOContextMenu menu = mDatabase->GetContextMenu(NodeTag(node), NodeKey(node));
        struct Row
        {
            bool on;
            const char *key;
            QString text;
            long command;
            const char *icon;
        };
        const Row rows[] = {
            { menu.Edit, "mnuPopupEditItem", QStringLiteral("Edit ") + menu.DisplayName, 2, "EDIT" },
            { menu.Rename, "mnuPopupRenameItem", QStringLiteral("Rename ") + menu.DisplayName, 43, "RENAME" },
            { menu.Delete, "mnuPopupDeleteItem", QStringLiteral("Delete ") + menu.DisplayName, 3, "DELETE" },
            { menu.GetLatestVersion, "mnuPopupGetLatest", QStringLiteral("Get Latest Version"), 6,
              "VSS:GETLATESTVERSION" },
            { menu.CheckIn, "mnuPopupCheckIn", QStringLiteral("Check In"), 7, "VSS:CHECKIN" },
            { menu.CheckOut, "mnuPopupCheckOut", QStringLiteral("Check Out"), 8, "VSS:CHECKOUT" },
            { menu.UndoCheckout, "mnuPopupUndoCheckOut", QStringLiteral("Undo Check Out"), 9, "VSS:UNDOCHECKOUT" },
            { menu.EditPermissions, "mnuPopupEditPermission", QStringLiteral("Permissions"), 33, "PERMISSIONS" },
            { menu.AddToVSS, "mnuPopupAddToVSS", QStringLiteral("Add object to VSS"), 18, "SYNC:ADDVSS" },
            { menu.AddToSQL, "mnuPopupAddToSQL", QStringLiteral("Add object to SQL"), 19, "SYNC:ADDSQL" },
            { menu.DeleteFromVSS, "mnuPopupDeleteFromVSS", QStringLiteral("Remove object to VSS"), 22,
              "SYNC:REMOVEVSS" },
            { menu.DeleteFromSQL, "mnuPopupDeleteFromSQL", QStringLiteral("Remove object to SQL"), 23,
              "SYNC:REMOVESQL" },
        };
        for (const Row &row : rows) {
            if (row.on)
                ebcExtraInfo->AddItem(QStringLiteral("Item"), QString::fromLatin1(row.key), row.text, row.text,
                                      row.command, ImageIcon(QString::fromLatin1(row.icon)));
        }
        if (auto typed = std::dynamic_pointer_cast<KORVOTypedObject>(object); typed && typed->IsEditable())
            description = typed->Description();
    }
    ebcExtraInfo->RemoveItems(QStringLiteral("Description"));
    if (!description.trimmed().isEmpty())
        ebcExtraInfo->AddItem(QStringLiteral("Description"), QStringLiteral("DescriptionText"), description, {}, 0);
    ebcExtraInfo->SetGroupVisible(QStringLiteral("Description"), !description.trimmed().isEmpty());
    ebcExtraInfo->setUpdatesEnabled(true);
}

QString mdiMain::DragText(QTreeWidgetItem *node) const
{
    if (!node)
        return {};
    if (!mDragSubnodes || NodeTag(node) != QLatin1String("Table"))
        return node->text(0);
    // A table's fields are its children whose first child is a plain leaf.
    QStringList fields;
    for (int i = 0; i < node->childCount(); ++i) {
        QTreeWidgetItem *child = node->child(i);
        if (child->childCount() > 0 && NodeTag(child->child(0)).isEmpty())
            fields.append(child->text(0));
    }
    return fields.join(QStringLiteral(",\n"));
}

void mdiMain::StartDrag()
{
    QTreeWidgetItem *node = DragNode();
    if (!node)
        return;
    auto *mime = new QMimeData;
    mime->setText(DragText(node));
    auto *drag = new QDrag(tvwDBT);
    drag->setMimeData(mime);
    drag->exec(Qt::CopyAction);
    // The drag runs its own event loop: a refresh in it may have deleted the node.
    if ((node = DragNode()))
        tvwDBT->setCurrentItem(node);
    SetDragNode(nullptr);
    UpdateExtraPanel();
}

// The filter hides objects whose names do not contain the text; it reads only
// what the tree already holds.
void mdiMain::ShowNodeFiltered(QTreeWidgetItem *node)
{
    const QString filter = txtFilter->text().trimmed();
    QTreeWidgetItem *parent = node->parent();
    const bool isObject = parent && !parent->parent() && mDatabase && NodeKey(node).startsWith(QLatin1Char('I'));
    if (!isObject || filter.isEmpty()) {
        node->setHidden(false);
        return;
    }
    node->setHidden(!node->text(0).contains(filter, Qt::CaseInsensitive));
}

void mdiMain::ApplyFilter()
{
    tvwDBT->setUpdatesEnabled(false);
    for (int i = 0; i < tvwDBT->topLevelItemCount(); ++i) {
        QTreeWidgetItem *folder = tvwDBT->topLevelItem(i);
        for (int j = 0; j < folder->childCount(); ++j)
            ShowNodeFiltered(folder->child(j));
    }
    tvwDBT->setUpdatesEnabled(true);
}

// --- Events ------------------------------------------------------------------

bool mdiMain::eventFilter(QObject *watched, QEvent *event)
{
    if (!mMdi || !tmr) // still being built
        return false;
    const QEvent::Type type = event->type();
    if (watched == txtFilter && type == QEvent::KeyPress
        && static_cast<QKeyEvent *>(event)->key() == Qt::Key_Escape) {
        txtFilter->clear();
        return true;
    }
    if (watched == tvwDBT->viewport()) {
        const bool isMouse = type == QEvent::MouseButtonPress || type == QEvent::MouseMove
            || type == QEvent::MouseButtonRelease;
        if (!isMouse) // the viewport gets move, paint and other events too
            return false;
        auto *mouse = static_cast<QMouseEvent *>(event);
        switch (type) {
        case QEvent::MouseButtonPress:
            mMousePos = mouse->position().toPoint();
            mDragStart = mMousePos;
            break;
        case QEvent::MouseMove:
            if (!(mouse->buttons() & Qt::LeftButton)) {
                SetDragNode(tvwDBT->itemAt(mouse->position().toPoint()));
            } else if (DragNode()
                       && (mouse->position().toPoint() - mDragStart).manhattanLength()
                           >= QApplication::startDragDistance()) {
                StartDrag();
                return true;
            }
            break;
        case QEvent::MouseButtonRelease:
            if (mouse->button() != Qt::LeftButton || !(mouse->buttons() & Qt::LeftButton))
                SetDragNode(mouse->button() == Qt::LeftButton ? tvwDBT->itemAt(mouse->position().toPoint()) : nullptr);
            break;
        default:
            break;
        }
        return false;
    }
    if (watched == picSplitPanel && type == QEvent::Resize) {
        if (!mLoading && mDatabaseTreeVisible && mDatabase && isVisible())
            mDatabase->SetDBTWidth(int(PixelsToTwips(picSplitPanel->width(), true)));
        return false;
    }
    if ((watched == mMdi || watched == mMdi->viewport())
        && (type == QEvent::DragEnter || type == QEvent::DragMove || type == QEvent::Drop)) {
        auto *drop = static_cast<QDropEvent *>(event);
        QTreeWidgetItem *node = DragNode();
        const bool opens = node && mDatabase && drop->mimeData()->hasText()
            && drop->mimeData()->text() == node->text(0) && mDatabase->CanOpenObject(NodeTag(node), NodeKey(node));
        if (!opens)
            return false;
        drop->setDropAction(Qt::CopyAction);
        drop->accept();
        if (type == QEvent::Drop) {
            EditItem(NodeTag(node), NodeKey(node));
            tvwDBT->setCurrentItem(node);
            SetDragNode(nullptr);
        }
        return true;
    }
    if ((type == QEvent::KeyPress || type == QEvent::KeyRelease) && isActiveWindow()) {
        // Keys of the tree and of the frame go through the key table. Children
        // call KeyPreview themselves.
        auto *widget = qobject_cast<QWidget *>(watched);
        if (!widget || widget->window() != this || watched == txtFilter)
            return false;
        for (QWidget *w = widget; w; w = w->parentWidget()) {
            if (AsChildWindow(w))
                return false;
        }
        auto *key = static_cast<QKeyEvent *>(event);
        if (key->isAutoRepeat() && type == QEvent::KeyRelease)
            return false;
        const Qt::KeyboardModifiers m = key->modifiers();
        const int shift = (m & Qt::ShiftModifier ? 1 : 0) | (m & Qt::ControlModifier ? 2 : 0)
            | (m & Qt::AltModifier ? 4 : 0);
        int code = key->key();
        KeyPreview(type == QEvent::KeyPress, code, shift, MainHelpContext);
        if (code == 0)
            return true;
        return watched == tvwDBT && type == QEvent::KeyPress && shift == 0 && TreeKey(code);
    }
    return QMainWindow::eventFilter(watched, event);
}

void mdiMain::keyPressEvent(QKeyEvent *event)
{
    QMainWindow::keyPressEvent(event);
}

void mdiMain::keyReleaseEvent(QKeyEvent *event)
{
    QMainWindow::keyReleaseEvent(event);
}

void mdiMain::OnTreeContextMenu(const QPoint &pos)
{
    QTreeWidgetItem *node = tvwDBT->itemAt(pos);
    if (node)
        tvwDBT->setCurrentItem(node);
    SetDragNode(nullptr);
    QMenu *popup = PreparePopup(tvwDBT->currentItem());
    popup->popup(tvwDBT->viewport()->mapToGlobal(pos));
}

void mdiMain::OnTreeDoubleClick(QTreeWidgetItem *node)
{
    if (node) {
        tvwDBT->setCurrentItem(node);
        if (NodeTag(node) == QLatin1String("Permission") && node->parent())
            DoCommand(33, NodeTag(node->parent()) + QLatin1Char('|') + NodeKey(node->parent()), MainHelpContext);
        else
            DoCommand(2, QString(), MainHelpContext);
    }
    UpdateExtraPanel();
}

bool mdiMain::TreeKey(int keyCode)
{
    QTreeWidgetItem *node = tvwDBT->currentItem();
    if (!node || !mDatabase)
        return false;
    const QString tag = NodeTag(node);
    const QString key = NodeKey(node);
    if (keyCode == Qt::Key_Return || keyCode == Qt::Key_Enter) {
        // Enter opens what a double-click opens; on a folder it folds or unfolds.
        if (tag == QLatin1String("Permission") || mDatabase->CanOpenObject(tag, key))
            OnTreeDoubleClick(node);
        else if (node->childCount() > 0)
            node->setExpanded(!node->isExpanded());
        return true;
    }
    if (keyCode == Qt::Key_Delete) {
        if (mDatabase->GetContextMenu(tag, key).Delete)
            DoCommand(3, QStringLiteral("mnuDeleteItem"), MainHelpContext);
        return true;
    }
    return false;
}

// --- Status ------------------------------------------------------------------

long mdiMain::StatusPercent(long position, long total)
{
    // The default rounding mode sends halves to the even neighbour.
    return long(std::nearbyint(double(position) * 100.0 / double(total)));
}

void mdiMain::ShowStatus(const QString &verb, const QString &displayName, long position, long total)
{
    if (total <= 0)
        return;
    const long percent = StatusPercent(position, total);
    mStatusPane->setText(QStringLiteral("%1 - %2: %3%").arg(verb, displayName).arg(percent));
    mProgress->setValue(int(std::clamp(percent, 0L, 100L)));
    mProgress->show();
}

void mdiMain::RetrieveStatusChange(const QString &, const QString &displayName, long position, long total, bool &)
{
    ShowStatus(QStringLiteral("Getting"), displayName, position, total);
}

void mdiMain::AddingStatusChange(const QString &, const QString &displayName, long position, long total, bool &)
{
    ShowStatus(QStringLiteral("Adding"), displayName, position, total);
}

void mdiMain::CompletedCurrentStatus(const QString &, const QString &)
{
    mStatusPane->clear();
    mProgress->hide();
}
