#include "mdiMain.h"

#include "KORVODatabase.h"
#include "KORVOWindows.h"
#include "UiServices.h"

#include <QApplication>
#include <QMdiArea>
#include <QScreen>
#include <QSplitter>
#include <QTreeWidget>

namespace {
// The tree keeps only strings: the node's key and its tag.
constexpr int KeyRole = Qt::UserRole;
constexpr int TagRole = Qt::UserRole + 1;
} // namespace

mdiMain::mdiMain(QWidget *parent) : QMainWindow(parent)
{
    setObjectName(QStringLiteral("mdiMain"));
    mSplitter = new QSplitter(this);
    mTree = new QTreeWidget(mSplitter);
    mTree->setObjectName(QStringLiteral("tvwDBT"));
    mTree->setHeaderHidden(true);
    mTree->setRootIsDecorated(true);
    mMdi = new QMdiArea(mSplitter);
    mMdi->setObjectName(QStringLiteral("mdiArea"));
    mSplitter->addWidget(mTree);
    mSplitter->addWidget(mMdi);
    mSplitter->setStretchFactor(1, 1);
    setCentralWidget(mSplitter);
    connect(mTree, &QTreeWidget::itemExpanded, this, &mdiMain::OnExpanded);
}

mdiMain::~mdiMain() = default;

void mdiMain::Init(KORVODatabase *database)
{
    mDatabase = database;
}

void mdiMain::Show()
{
    show();
}

int mdiMain::TwipsToPixels(long twips, bool horizontal) const
{
    const QScreen *screen = QApplication::primaryScreen();
    const double dpi = screen ? (horizontal ? screen->logicalDotsPerInchX() : screen->logicalDotsPerInchY()) : 96.0;
    return int(twips * dpi / 1440.0);
}

void mdiMain::InitDBT(long widthTwips)
{
    mTree->clear();
    if (widthTwips > 0) {
        const int tree = TwipsToPixels(widthTwips, true);
        mSplitter->setSizes({ tree, std::max(1, width() - tree) });
    }
    if (!mDatabase)
        return;
    auto roots = mDatabase->GetItemInfo(QStringLiteral("Start"), QString(), false, true);
    AddNodes(*roots, nullptr, QString(), false);
}

void mdiMain::AddNodes(const KORVODBTItems &items, QTreeWidgetItem *parent, const QString &expandedKeys, bool nested)
{
    if (!nested)
        mRefreshing = true;
    for (const auto &item : items) {
        if (item->RemoveItem)
            continue;
        auto *node = parent ? new QTreeWidgetItem(parent) : new QTreeWidgetItem(mTree);
        node->setData(0, KeyRole, item->Key);
        node->setText(0, item->Text);
        node->setToolTip(0, item->ToolTipText());
        node->setData(0, TagRole, item->Tag);
        AddNodes(item->Children(), node, expandedKeys, true);
        const QString key = item->Key;
        if (item->AutoExpand || (!key.isEmpty() && expandedKeys.contains(key + QLatin1Char(',')))) {
            node->setExpanded(true);
            if (node->childCount() > 0 && node->child(0)->data(0, TagRole).toString() == QLatin1String("temp")) {
                RemoveChildren(node);
                auto children = mDatabase->GetItemInfo(item->Tag, key, false, true);
                AddNodes(*children, node, expandedKeys, true);
            }
        }
    }
    if (!nested)
        mRefreshing = false;
}

void mdiMain::RemoveChildren(QTreeWidgetItem *node)
{
    qDeleteAll(node->takeChildren());
}

void mdiMain::OnExpanded(QTreeWidgetItem *node)
{
    if (node->childCount() == 0)
        return;
    if (mRefreshing) {
        node->setExpanded(false);
        return;
    }
    if (node->child(0)->data(0, TagRole).toString() != QLatin1String("temp") || !mDatabase)
        return;
    QApplication::setOverrideCursor(Qt::WaitCursor);
    RemoveChildren(node);
    auto children = mDatabase->GetItemInfo(node->data(0, TagRole).toString(), node->data(0, KeyRole).toString(),
                                           false, true);
    AddNodes(*children, node, QString(), false);
    QApplication::restoreOverrideCursor();
}

void mdiMain::SetHeightTwips(long height)
{
    resize(width(), TwipsToPixels(height, false));
}

void mdiMain::SetWidthTwips(long w)
{
    resize(TwipsToPixels(w, true), height());
}

void mdiMain::SetWindowState(long state)
{
    setWindowState(state == 2 ? Qt::WindowMaximized : Qt::WindowNoState);
}

void mdiMain::SetDatabaseTreeVisible(bool visible)
{
    mTree->setVisible(visible);
}

void mdiMain::SetExtraPanelVisible(bool)
{
    // The information panel arrives with the frame's final layout.
}

void mdiMain::doTrmResize()
{
    mSplitter->updateGeometry();
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
        StartSync();
        return;
    }
    project->ProjectWasSyncronized(QStringLiteral("NoSyncWanted"));
}

void mdiMain::StartSync()
{
    if (mDatabase && mWindows && mWindows->Synchronise(this, *mDatabase))
        InitDBT(0);
}
