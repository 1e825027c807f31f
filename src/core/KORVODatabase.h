#pragma once

#include "KORVODBTItem.h"
#include "KORVOIcons.h"
#include "KORVOObjectCollection.h"
#include "KORVOProject.h"
#include "KORVOSettings.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <functional>
#include <memory>

class KORVOMainWindow;
class KORVOProjects;
class KORVOVSSListingPass;
class UiServices;

// The session's progress events, raised to one listener with the type and
// display name of the collection at work. `cancel` reaches the collection's loop.
class KORVOSessionListener
{
public:
    virtual ~KORVOSessionListener() = default;
    virtual void RetrieveStatusChange(const QString &objectType, const QString &displayName, long position,
                                      long total, bool &cancel) = 0;
    virtual void AddingStatusChange(const QString &objectType, const QString &displayName, long position,
                                    long total, bool &cancel) = 0;
    virtual void CompletedCurrentStatus(const QString &objectType, const QString &displayName) = 0;
};

// The session: the open project, the typed collections bound to it, the icon
// list and the settings. Windows and the tree address objects by tag and key
// only; the session finds the collection that answers to the tag.
class KORVODatabase : public KORVOSettings, private KORVOCollectionStatusSink
{
public:
    using MainWindowFactory = std::function<std::unique_ptr<KORVOMainWindow>()>;

    KORVODatabase(UiServices &ui, std::shared_ptr<KORVOCollectionFactory> collections,
                  MainWindowFactory mainWindow = {}, const QString &settingsFile = {});
    ~KORVODatabase() override;
    KORVODatabase(const KORVODatabase &) = delete;
    KORVODatabase &operator=(const KORVODatabase &) = delete;

    UiServices &Ui() const { return mUi; }

    const KORVOProjectPtr &Project() const { return mProject; }
    // Rebuilds the typed collections against the project's connectors.
    void SetProject(const KORVOProjectPtr &project);
    const KORVOIconsPtr &Icons() const { return mIcons; }
    KORVOMainWindow *MainWindow() const { return mMain.get(); }

    KORVOObjectCollectionPtr StoredProcedures() const { return CollectionByType(mStoredProceduresType); }
    KORVOObjectCollectionPtr Tables() const { return CollectionByType(mTablesType); }
    KORVOObjectCollectionPtr UserDefinedFunctions() const { return CollectionByType(mUserDefinedFunctionsType); }
    KORVOObjectCollectionPtr Views() const { return CollectionByType(mViewsType); }
    KORVOObjectCollectionPtr Triggers() const { return CollectionByType(mTriggersType); }
    // The collections in tree order: stored procedures, tables, user defined
    // functions, views, triggers.
    const QList<KORVOObjectCollectionPtr> &Collections() const { return mObjects; }

    void SetListener(KORVOSessionListener *listener) { mListener = listener; }
    KORVOSessionListener *Listener() const { return mListener; }

    // Opening a project is the only road to the main window.
    void OpenProject(const KORVOProjectPtr &project, bool &ok);

    std::shared_ptr<KORVOFields> GetObjectFields(const QString &key);
    void GetTableName(const QString &tag, const QString &key, QString &owner, QString &name, bool &ok);

    // Project store: numbered sub-keys of KORVO's folder, 1 the most recent.
    KORVOProjectPtr GetDefaultProject();
    KORVOProjectPtr FindProjectByID(long id);
    // Sorted by Sequence.
    std::shared_ptr<KORVOProjects> FindAllProjects(bool loadValues, bool loadSubKeys);
    // Whether another stored project has the name, without regard to case.
    bool ProjectNameExists(const QString &name, const QString &oldName);
    // A new project (Sequence -1) becomes the next free number.
    void SaveProject(const KORVOProjectPtr &project);
    // The highest project number in use, 0 without projects.
    long GetRegistryProjectCount();
    // Removes the project's key and moves the later ones down, keeping no gap.
    void RemoveProject(const KORVOProjectPtr &project);
    // Element 0 empty, then up to four names, the most recent first.
    QStringList GetMostRecentProject();

    KORVODBTItemsPtr GetItemsForNewMenu();
    KORVODBTItemsPtr GetItemsForSyncronisation();
    KORVODBTItemsPtr GetItemsForDocGen() { return GetItemsForSyncronisation(); }
    KORVODBTItemsPtr GetItemsForScriptGen() { return GetItemsForSyncronisation(); }
    KORVODBTItemsPtr GetItemInfo(const QString &tag, const QString &key, bool bOnlyFields = false,
                                 bool bIncludeNullable = false);
    KORVODBTItemsPtr AvailableDBTObjects();
    KORVODBTItemsPtr AvailableEditableObjects();
    // The second set of collections, bound to another database and SQL only.
    QList<KORVOObjectCollectionPtr> SetupAvailableEditableObjectsForAnotherDB(const std::shared_ptr<KORVOSQL> &connector);
    KORVOObjectCollectionPtr GetObjectObjects(const QString &objectType);
    // Held over a pass through several collections, so that the project's
    // repository folder is listed once for all of them (KORVOVSS.h).
    KORVOVSSListingPass ListingPass() const;
    KORVODBObjectPtr GetObject(const QString &tag, const QString &key, bool &fromDeleted);
    QString GetObjectType(const QString &key);
    KORVODBTItemPtr RefreshItem(const QString &tag, const QString &key);
    KORVOContextMenu GetContextMenu(const QString &tag, const QString &key);
    QString GetObjectSubDisplayName(const QString &subType);
    KORVODBObjectPtr NewItemOfType(const QString &subType);
    bool CanOpenObject(const QString &tag, const QString &key);
    bool RenameItem(const QString &tag, const QString &key, const QString &newName);
    bool DeleteItem(const QString &tag, const QString &key);
    QList<KORVODBTItemsPtr> GetObjectsForUndeleteing(const QString &objectType);
    bool UnDeleteItem(const QString &tag, const QString &key);

private:
    void InitObjects();
    void BindCollection(const KORVOObjectCollectionPtr &collection, const std::shared_ptr<KORVOSQL> &sql,
                        const std::shared_ptr<KORVOVSS> &vss);
    KORVOObjectCollectionPtr CollectionByType(const QString &type) const;
    KORVOObjectCollectionPtr FirstWithSubType(const QString &subType) const;
    void MakeProjectMostRecent(long sequence);
    KORVOProjectPtr LoadProjectFromKey(const RegistryKey &key) const;
    KORVODBTItemsPtr WalkCollections(bool editableOnly, bool withPlaceholder);
    bool UserDefinedFunctionsAllowed() const;

    void RetrieveStatusChange(KORVOObjectCollection &source, long position, long total, bool &cancel) override;
    void AddingStatusChange(KORVOObjectCollection &source, long position, long total, bool &cancel) override;
    void CompletedCurrentStatus(KORVOObjectCollection &source) override;

    UiServices &mUi;
    std::shared_ptr<KORVOCollectionFactory> mFactory;
    MainWindowFactory mMainFactory;
    KORVOSessionListener *mListener = nullptr;

    KORVOProjectPtr mProject;
    std::unique_ptr<KORVOMainWindow> mMain;
    QList<KORVOObjectCollectionPtr> mObjects;
    QString mStoredProceduresType, mTablesType, mViewsType, mUserDefinedFunctionsType, mTriggersType;
    KORVOIconsPtr mIcons;
    KORVOObjectCollectionPtr mStoredProcedures, mTables, mUserDefinedFunctions, mViews, mTriggers;
    KORVOObjectCollectionPtr mExtraObjInstSPs, mExtraObjInstTBLs, mExtraObjInstUDFs, mExtraObjInstVWs,
        mExtraObjInstTRGs;
};
