#pragma once

#include "KORVODBTItem.h"
#include "KORVOMainWindow.h"

#include <QMainWindow>

class KORVODatabase;
class KORVOWindows;
class QMdiArea;
class QSplitter;
class QTreeWidget;
class QTreeWidgetItem;

// The main window: the database tree on the left, child windows on the right.
class mdiMain : public QMainWindow, public KORVOMainWindow
{
    Q_OBJECT
public:
    explicit mdiMain(QWidget *parent = nullptr);
    ~mdiMain() override;

    void Init(KORVODatabase *database) override;
    void SetLoading(bool loading) override { mLoading = loading; }
    bool Loading() const { return mLoading; }
    void Hide() override { hide(); }
    void Show() override;
    void SetCaption(const QString &caption) override { setWindowTitle(caption); }
    void InitDBT(long widthTwips) override;
    void SetHeightTwips(long height) override;
    void SetWidthTwips(long width) override;
    void SetWindowState(long state) override;
    void SetDatabaseTreeVisible(bool visible) override;
    void SetExtraPanelVisible(bool visible) override;
    void doTrmResize() override;
    void CheckProjectSyncInfo() override;

    QTreeWidget *Tree() const { return mTree; }
    // The opener of the other libraries' windows; none opens nothing.
    void SetWindows(KORVOWindows *windows) { mWindows = windows; }
    // The synchronisation command: refreshes the tree when anything was changed.
    void StartSync();

private:
    void AddNodes(const KORVODBTItems &items, QTreeWidgetItem *parent, const QString &expandedKeys, bool nested);
    void OnExpanded(QTreeWidgetItem *node);
    void RemoveChildren(QTreeWidgetItem *node);
    int TwipsToPixels(long twips, bool horizontal) const;

    KORVODatabase *mDatabase = nullptr;
    KORVOWindows *mWindows = nullptr;
    QSplitter *mSplitter;
    QTreeWidget *mTree;
    QMdiArea *mMdi;
    bool mLoading = false;
    bool mRefreshing = false;
};
