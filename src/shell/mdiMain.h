#pragma once

#include "KORVOChildWindow.h"
#include "KORVODBTItem.h"
#include "KORVODatabase.h"
#include "KORVOMainWindow.h"
#include "KORVOMainWindowServices.h"
#include "KORVOWindows.h"

#include <QDateTime>
#include <QHash>
#include <QMainWindow>
#include <QPoint>
#include <QPersistentModelIndex>
#include <QPointer>

#include <memory>

class HelpIntegration;
class KORVOExplorerBar;
class QAction;
class QLabel;
class QLineEdit;
class QMdiArea;
class QMdiSubWindow;
class QMenu;
class QProgressBar;
class QSplitter;
class QTimer;
class QToolBar;
class QToolButton;
class QTreeWidget;
class QTreeWidgetItem;

// The main window: the database tree on the left with the information panel
// under it, child windows on the right. Every user action becomes a numbered
// command in DoCommand; children are known only through KORVOChildWindow.
class mdiMain : public QMainWindow,
                public KORVOMainWindow,
                public KORVOMainWindowServices,
                public KORVOSessionListener
{
    Q_OBJECT
public:
    // Without windows: every window of another library answers with nothing.
    explicit mdiMain(QWidget *parent = nullptr);
    mdiMain(KORVOWindows &windows, HelpIntegration *help, QWidget *parent = nullptr);
    ~mdiMain() override;

    // --- Opening a project ---
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
    bool DatabaseTreeVisible() const { return mDatabaseTreeVisible; }
    void SetExtraPanelVisible(bool visible) override;
    bool ExtraPanelVisible() const { return mExtraPanelVisible; }
    void doTrmResize() override;
    void CheckProjectSyncInfo() override;

    bool CatchAltF4() const { return mCatchAltF4; }
    void SetCatchAltF4(bool on) { mCatchAltF4 = on; }
    bool DragSubnodes() const { return mDragSubnodes; }

    // --- Tree ---
    // The image's position in the image list (1-based, or 0-based when asked);
    // -1 for a name that is not there.
    int GetIconIndex(const QString &name, bool zeroBased) const;
    void RefreshItem(const QString &tag, const QString &key, bool refreshParent) override;
    void RefreshNode(QTreeWidgetItem *node);
    QTreeWidgetItem *FindNode(const QString &key) const;
    // Replaces the node's children by the items, as an expansion does.
    void FillNode(QTreeWidgetItem *node, const KORVODBTItems &items);
    static QString NodeKey(const QTreeWidgetItem *node);
    static QString NodeTag(const QTreeWidgetItem *node);
    // The text a drag from the node carries.
    QString DragText(QTreeWidgetItem *node) const;
    // The node a drag started now would carry (the last one under the mouse); null when none, or when it is gone.
    QTreeWidgetItem *DragNode() const;
    void UpdateExtraPanel();

    // --- Commands ---
    void DoCommand(long commandId, const QString &key = {}, long helpContext = 23);
    void KeyPreview(bool isKeyDown, int &keyCode, int shift, long helpContext) override;
    void SyncroniseAction(QTreeWidgetItem *node, int action, int target);
    void EditPermissions(const QString &tag, const QString &key, const KORVODBObjectPtr &object) override;
    // Closes the main window with its children; false when a child refused.
    bool CloseProject();
    // Shows the popup's entries as the node allows; the popup itself.
    QMenu *PreparePopup(QTreeWidgetItem *node);
    // "<DATE>", "<TIME>", the users and the table of a default text.
    QString ExpandTemplate(const QString &text, const QString &tableOwner, const QString &table) const;
    // "Shift+Ctrl+Z" and the like.
    static QString KeyName(int keyCode, int shift);

    // --- Children ---
    void RefreshForms() override;
    void AddChild(QWidget *child) override;
    KORVOWindows &Windows() override { return *mWindows; }
    KORVOChildWindow *ActiveChild() const;
    KORVOChildWindow *FindOpenChild(const QString &tag, const QString &key, long formType) const;
    QList<KORVOChildWindow *> Children() const;
    // One tick of the timer: pending focus, then the commands.
    void PushChildFocus();
    void UpdateCommands();
    void SetChildToFocus(KORVOChildWindow *child);
    bool CommandsOff() const { return mCommandsOff; }

    // The saved bar layout in the per-user data folder; nothing calls these at
    // start or close.
    QString LoadBarLayout() const;
    bool SaveBarLayout(const QString &layout) const;
    static QString BarLayoutFile();

    // The session's progress, shown in the pane "DBT:STATUS".
    void RetrieveStatusChange(const QString &objectType, const QString &displayName, long position, long total,
                              bool &cancel) override;
    void AddingStatusChange(const QString &objectType, const QString &displayName, long position, long total,
                            bool &cancel) override;
    void CompletedCurrentStatus(const QString &objectType, const QString &displayName) override;
    // Percent of position in total, halves to the even neighbour.
    static long StatusPercent(long position, long total);

    QTreeWidget *Tree() const { return tvwDBT; }
    QMdiArea *MdiArea() const { return mMdi; }
    KORVOExplorerBar *ExtraPanel() const { return ebcExtraInfo; }
    QAction *Action(const QString &name) const { return mActions.value(name); }
    QMenu *Popup() const { return mnuPopup; }
    QMenu *NewMenu() const { return mnuNewItem; }
    QTimer *Timer() const { return tmr; }

protected:
    void closeEvent(QCloseEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void changeEvent(QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void keyReleaseEvent(QKeyEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    struct KeyRow
    {
        long command;
        int key;
        int shift;
        bool onRelease;
    };
    struct MenuRow
    {
        QString key;
        QString text;
    };

    void BuildFrame();
    void BuildMenus();
    void BuildToolbars();
    void BuildKeyTable();
    QAction *MakeAction(const QString &name, const QString &text, long command, const QString &icon = {});
    void RebuildNewMenus();
    void RebuildRecentProjects();
    void UpdateViewMenu();
    void UpdateWindowList();

    void AddNodes(const KORVODBTItems &items, QTreeWidgetItem *parent, const QString &expandedKeys, bool nested);
    void OnExpanded(QTreeWidgetItem *node);
    void RemoveChildren(QTreeWidgetItem *node);
    // Enter and Delete on the tree's current node; false for other keys.
    bool TreeKey(int keyCode);
    void SetNodeImage(QTreeWidgetItem *node, const QString &imageName);
    QString ExpandedKeys() const;
    void RefreshAll();
    void ApplyFilter();
    void ShowNodeFiltered(QTreeWidgetItem *node);

    // The object behind a node's tag and key, or nothing.
    KORVODBObjectPtr ObjectAt(const QString &tag, const QString &key) const;
    struct Selection
    {
        QTreeWidgetItem *node = nullptr;
        QString tag, key;
        KORVODBObjectPtr object; // none without a session, a node or an object behind it
    };
    // The current node of the tree, its tag and key, and its object.
    Selection SelectedObject() const;
    void ActivateChild(KORVOChildWindow *child);
    void NewItem(long index);
    void EditItem(const QString &tag, const QString &key);
    void DeleteItem();
    void RenameItem();
    void SourceControlFromTree(long command);
    void NotifyChildren(const QString &tag, const QString &key, bool closed);
    void ChildCommand(long command, const QString &key);
    void OpenRecentProject(long index, const QString &name);
    void ProjectBrowser();
    void ShowHelp(long helpContext);
    void SendMail(const QString &subject, const QString &body);

    void OnTreeContextMenu(const QPoint &pos);
    void OnTreeDoubleClick(QTreeWidgetItem *node);
    void StartDrag();

    void ShowStatus(const QString &verb, const QString &displayName, long position, long total);

    int TwipsToPixels(long twips, bool horizontal) const;
    long PixelsToTwips(int pixels, bool horizontal) const;
    QIcon ImageIcon(const QString &name) const;

    KORVOWindows mNoWindows;
    KORVOWindows *mWindows;
    HelpIntegration *mHelp = nullptr;
    KORVODatabase *mDatabase = nullptr;

    // Frame
    QSplitter *cmdSplit = nullptr;
    QWidget *picBG = nullptr;
    QSplitter *cmdSplitDBT = nullptr;
    QWidget *picDBT = nullptr;
    QLineEdit *txtFilter = nullptr;
    QTreeWidget *tvwDBT = nullptr;
    QWidget *picSplitPanel = nullptr;
    KORVOExplorerBar *ebcExtraInfo = nullptr;
    QMdiArea *mMdi = nullptr;
    QLabel *mStatusPane = nullptr;
    QProgressBar *mProgress = nullptr;
    QToolBar *tbrDBT = nullptr;
    QToolBar *tbrEdit = nullptr;
    QToolButton *mNewButton = nullptr;
    QTimer *tmr = nullptr;
    QMenu *mnuPopup = nullptr;
    QMenu *mnuNewItem = nullptr;
    QMenu *mnuToolbarNew = nullptr;
    QMenu *mnuFile = nullptr;
    QMenu *mnuView = nullptr;
    QMenu *mnuToolbars = nullptr;
    QMenu *mnuWindows = nullptr;
    QAction *mRecentSeparator = nullptr;
    QList<QAction *> mRecentActions;
    QHash<QString, QAction *> mActions;

    QList<KeyRow> mKeys;
    int mArmedKeyRow = -1; // a release row whose key is down
    QList<MenuRow> mNewItems;
    QList<MenuRow> mRecentProjects;
    QStringList mImageNames;

    bool mLoading = false;
    bool mRefreshing = false;
    bool mDatabaseTreeVisible = true;
    bool mExtraPanelVisible = true;
    bool mCatchAltF4 = false;
    bool mDragSubnodes = false;
    bool mCommandsOff = false;
    bool mClosed = false;
    bool mFirstStart = true;
    QPointer<QWidget> mChildToFocus;
    QDateTime mLastFocusTime;
    QPoint mMousePos;
    // The node under the mouse that a drag would carry. Held by a persistent
    // index: a refresh that deletes the node (or any folder above it) leaves
    // it invalid instead of dangling.
    QPersistentModelIndex mDragIndex;
    void SetDragNode(QTreeWidgetItem *node);
    QPoint mDragStart;
};
