#include "KORVODatabase.h"

#include "KORVOMainWindow.h"
#include "KORVOSQL.h"
#include "KORVOVSS.h"

namespace
{

// Icons of the tree that no collection brings, in the order the list holds them.
const char *const kFixedIcons[] = { "NEW", "FIELD", "FIELDDATA", "SYNC:ADDVSS", "SYNC:REMOVEVSS", "SYNC:ADDSQL",
    "SYNC:REMOVESQL", "SYNC", "SYNC:NONE", "SYNC:SQL", "SYNC:VSS", "DIFFERENCE", "PERMISSIONS", "REFRESH",
    "VSS:GETLATESTVERSION", "VSS:CHECKOUT", "VSS:CHECKIN", "VSS:UNDOCHECKOUT", "EDIT:OPENFILE", "EDIT:SAVEFILE",
    "DESCRIPTION", "SEACH:FIND", "EDIT:UNDO", "EDIT:REDO", "EDIT:CUT", "EDIT:COPY", "EDIT:PASTE", "EDIT:TEST", "OWNER",
    "CHECKEDOUTBY", "PERMISSION:USER", "PERMISSION:ROLE", "PERMISSION:NONE", "PERMISSION:GRANT", "PERMISSION:DENY" };

bool isNumeric(const QString &text)
{
    bool ok = false;
    text.trimmed().toDouble(&ok);
    return ok;
}

} // namespace

KORVODatabase::KORVODatabase(UiServices &ui, std::shared_ptr<KORVOCollectionFactory> collections,
    MainWindowFactory mainWindow, const QString &settingsFile)
    : KORVOSettings(settingsFile)
    , mUi(ui)
    , mFactory(std::move(collections))
    , mMainFactory(std::move(mainWindow))
{
    if (QString copy; GetRegistry().SetAsideIfDamaged(copy)) {
        mUi.messageBox(UiServices::Icon::Warning, QStringLiteral("KORVO"),
            QStringLiteral("The settings file could not be read; it is damaged. KORVO goes on with the default "
                           "settings and no projects.\n\n")
                + (copy.isEmpty() ? QStringLiteral("The damaged file could not be kept aside.")
                                  : QStringLiteral("The damaged file was kept as '%1'.").arg(copy)));
    }
    mProject = std::make_shared<KORVOProject>(mUi);
    mIcons = std::make_shared<KORVOIcons>();
    InitObjects();
    for (const auto &collection : std::as_const(mObjects))
        collection->LoadIcons();
    for (const char *name : kFixedIcons)
        mIcons->Add(QString::fromLatin1(name));
}

KORVODatabase::~KORVODatabase()
{
    // The project and the window go before the collections that refer to them.
    mProject.reset();
    mMain.reset();
    mObjects.clear();
    for (auto *field : { &mStoredProcedures, &mTables, &mTriggers, &mUserDefinedFunctions, &mViews, &mExtraObjInstSPs,
             &mExtraObjInstTBLs, &mExtraObjInstTRGs, &mExtraObjInstVWs, &mExtraObjInstUDFs })
        field->reset();
}

void KORVODatabase::SetProject(const KORVOProjectPtr &project)
{
    mProject = project;
    InitObjects();
}

void KORVODatabase::BindCollection(const KORVOObjectCollectionPtr &collection, const std::shared_ptr<KORVOSQL> &sql,
    const std::shared_ptr<KORVOVSS> &vss)
{
    collection->SetActiveDBConnection(sql);
    collection->SetActiveVSSConnection(vss);
    collection->SetIcons(mIcons);
    collection->SetDatabase(this);
    collection->SetStatusSink(this);
}

void KORVODatabase::InitObjects()
{
    using Kind = KORVOCollectionFactory::Kind;
    mStoredProcedures = mFactory->Create(Kind::StoredProcedures);
    mTables = mFactory->Create(Kind::Tables);
    mTriggers = mFactory->Create(Kind::Triggers);
    mViews = mFactory->Create(Kind::Views);
    mUserDefinedFunctions = mFactory->Create(Kind::UserDefinedFunctions);

    for (const auto &collection : { mStoredProcedures, mTables, mViews, mUserDefinedFunctions, mTriggers })
        BindCollection(collection, mProject->SQL(), mProject->VSS());
    mFactory->Link(mTables, mTriggers);

    mObjects = { mStoredProcedures, mTables, mUserDefinedFunctions, mViews, mTriggers };
    mStoredProceduresType = mStoredProcedures->ObjectType();
    mTablesType = mTables->ObjectType();
    mUserDefinedFunctionsType = mUserDefinedFunctions->ObjectType();
    mViewsType = mViews->ObjectType();
    mTriggersType = mTriggers->ObjectType();
}

KORVOObjectCollectionPtr KORVODatabase::CollectionByType(const QString &type) const
{
    for (const auto &collection : mObjects)
        if (collection->ObjectType() == type)
            return collection;
    return nullptr;
}

KORVOObjectCollectionPtr KORVODatabase::FirstWithSubType(const QString &subType) const
{
    for (const auto &collection : mObjects)
        if (collection->SubObjectType() == subType)
            return collection;
    return nullptr;
}

void KORVODatabase::OpenProject(const KORVOProjectPtr &project, bool &ok)
{
    if (!mMain) {
        if (mMainFactory)
            mMain = mMainFactory();
        if (mMain) {
            mMain->SetLoading(true);
            mMain->Init(this);
        }
    } else {
        mMain->SetLoading(true);
        mMain->Hide();
    }
    ok = true;
    SetProject(project);
    if (project->Sequence > 1)
        MakeProjectMostRecent(project->Sequence);
    if (!mMain)
        return;
    mMain->SetCaption(project->Name + QStringLiteral(" - KORVO"));
    mMain->InitDBT(DBTWidth());
    // Written while loading, so that the resize handler does not store it back.
    mMain->SetHeightTwips(WindowHeight());
    mMain->SetWidthTwips(WindowWidth());
    mMain->SetWindowState(WindowState());
    mMain->SetDatabaseTreeVisible(DBTVisible());
    mMain->SetExtraPanelVisible(ExtraPanelVisible());
    mMain->SetLoading(false);
    mMain->Show();
    mMain->doTrmResize();
    mMain->CheckProjectSyncInfo();
}

std::shared_ptr<KORVOFields> KORVODatabase::GetObjectFields(const QString &key)
{
    const QString bare = isNumeric(key) ? key : key.mid(1);
    for (const auto &collection : std::as_const(mObjects)) {
        if (collection->ObjectIsOfThisType(bare)) {
            if (auto object = collection->Item(bare))
                return object->GetFields(false);
            return nullptr;
        }
    }
    return nullptr;
}

void KORVODatabase::GetTableName(const QString &, const QString &key, QString &owner, QString &name, bool &ok)
{
    owner.clear();
    name.clear();
    ok = false;
    if (mTables && mTables->ObjectIsOfThisType(key)) {
        if (auto table = mTables->Item(key)) {
            ok = true;
            owner = table->Owner();
            name = table->Name();
        }
    }
}

KORVODBTItemsPtr KORVODatabase::GetItemsForNewMenu()
{
    auto items = std::make_shared<KORVODBTItems>();
    for (const auto &collection : std::as_const(mObjects))
        if (collection->IsEditable())
            items->Add(collection->SubObjectType())->Text = collection->SubObjectDisplayName();
    return items;
}

KORVODBTItemsPtr KORVODatabase::GetItemsForSyncronisation()
{
    auto items = std::make_shared<KORVODBTItems>();
    for (const auto &collection : std::as_const(mObjects))
        if (collection->IsEditable())
            items->Add(collection->ObjectType())->Text = collection->ObjectDisplayName();
    return items;
}

KORVODBTItemsPtr KORVODatabase::GetItemInfo(
    const QString &tag, const QString &key, bool bOnlyFields, bool bIncludeNullable)
{
    if (tag == QLatin1String("Start"))
        return AvailableDBTObjects();
    if (tag == QLatin1String("Permission")) {
        for (const auto &collection : std::as_const(mObjects)) {
            if (collection->ObjectIsOfThisType(key)) {
                if (auto object = collection->Item(key))
                    return object->GetPermissionItems(ShowPermissionsInDBT());
                break;
            }
        }
        return std::make_shared<KORVODBTItems>();
    }
    for (const auto &collection : std::as_const(mObjects)) {
        if (tag == collection->ObjectType()) {
            KORVODBObjectPtr table;
            if (collection == mTriggers && mTables)
                table = mTables->Item(key);
            auto items = collection->GetItemInfo(ShowOwnerNameInName(), table);
            return items ? items : std::make_shared<KORVODBTItems>();
        }
        if (tag == collection->SubObjectType()) {
            auto object = collection->Item(key);
            if (!object)
                return std::make_shared<KORVODBTItems>();
            auto items = collection->IsEditable()
                ? object->GetItemInfo(ShowOwnerNameInProp(), bOnlyFields, bIncludeNullable)
                : object->GetItemInfo(ShowOwnerNameInProp());
            return items ? items : std::make_shared<KORVODBTItems>();
        }
    }
    return std::make_shared<KORVODBTItems>();
}

bool KORVODatabase::UserDefinedFunctionsAllowed() const
{
    return mProject->SQL() && mProject->SQL()->UserDefinedFunctionsAllowed();
}

KORVODBTItemsPtr KORVODatabase::WalkCollections(bool editableOnly, bool withPlaceholder)
{
    auto items = std::make_shared<KORVODBTItems>();
    const bool udfAllowed = UserDefinedFunctionsAllowed();
    for (const auto &collection : std::as_const(mObjects)) {
        if (!(editableOnly ? collection->IsEditable() : collection->IsRootNode()))
            continue;
        if (collection == mUserDefinedFunctions && !udfAllowed)
            continue;
        auto item = items->Add(collection->ObjectType());
        item->ImageName = mIcons->Item(collection->IconToUse()).Name;
        item->Tag = collection->ObjectType();
        item->Text = collection->ObjectDisplayName();
        if (withPlaceholder)
            item->Children().Add(item->Key + QStringLiteral("_tmp"))->Tag = QStringLiteral("temp");
    }
    return items;
}

KORVODBTItemsPtr KORVODatabase::AvailableDBTObjects()
{
    return WalkCollections(false, true);
}

KORVODBTItemsPtr KORVODatabase::AvailableEditableObjects()
{
    return WalkCollections(true, false);
}

QList<KORVOObjectCollectionPtr> KORVODatabase::SetupAvailableEditableObjectsForAnotherDB(
    const std::shared_ptr<KORVOSQL> &connector)
{
    using Kind = KORVOCollectionFactory::Kind;
    QList<KORVOObjectCollectionPtr> result;
    const bool udfAllowed = UserDefinedFunctionsAllowed();
    const std::pair<KORVOObjectCollectionPtr *, Kind> order[] = { { &mExtraObjInstSPs, Kind::StoredProcedures },
        { &mExtraObjInstTBLs, Kind::Tables }, { &mExtraObjInstTRGs, Kind::Triggers },
        { &mExtraObjInstUDFs, Kind::UserDefinedFunctions }, { &mExtraObjInstVWs, Kind::Views } };
    for (const auto &[field, kind] : order) {
        if (kind == Kind::UserDefinedFunctions && !udfAllowed)
            continue;
        *field = mFactory->Create(kind);
        if (!(*field)->IsEditable()) {
            field->reset();
            continue;
        }
        BindCollection(*field, connector, nullptr);
        (*field)->SetCheckSQLOnly(true);
        result.append(*field);
    }
    return result;
}

KORVOObjectCollectionPtr KORVODatabase::GetObjectObjects(const QString &objectType)
{
    KORVOObjectCollectionPtr last;
    for (const auto &collection : std::as_const(mObjects)) {
        last = collection;
        if (collection->ObjectType() == objectType) {
            bool cancel = false;
            collection->RefreshList(cancel);
            return collection;
        }
    }
    return last;
}

KORVOVSSListingPass KORVODatabase::ListingPass() const
{
    return KORVOVSSListingPass(mProject ? mProject->VSS() : nullptr);
}

KORVODBObjectPtr KORVODatabase::GetObject(const QString &tag, const QString &key, bool &fromDeleted)
{
    if (auto collection = FirstWithSubType(tag))
        return fromDeleted ? collection->Item(key, true) : collection->Item(key);
    return nullptr;
}

QString KORVODatabase::GetObjectType(const QString &key)
{
    for (const auto &collection : std::as_const(mObjects))
        if (collection->ObjectIsOfThisType(key))
            return collection->SubObjectType();
    return {};
}

KORVODBTItemPtr KORVODatabase::RefreshItem(const QString &tag, const QString &key)
{
    for (const auto &collection : std::as_const(mObjects)) {
        if (tag == collection->ObjectType()) {
            auto item = std::make_shared<KORVODBTItem>(collection == mTriggers ? key : collection->ObjectType());
            item->ImageName = collection->IconToUse();
            item->Tag = collection->ObjectType();
            item->Text = collection->ObjectDisplayName();
            return item;
        }
        if (tag == collection->SubObjectType()) {
            auto object = collection->Item(key);
            if (!object)
                return nullptr;
            auto item = object->Refresh(ShowOwnerNameInName());
            if (!item)
                return nullptr;
            if (item->RemoveItem)
                collection->RemoveItem(item->Key);
            else if (!item->KeyChanged.isEmpty())
                collection->ChangeKey(item->KeyChanged);
            return item;
        }
    }
    return nullptr;
}

KORVOContextMenu KORVODatabase::GetContextMenu(const QString &tag, const QString &key)
{
    for (const auto &collection : std::as_const(mObjects)) {
        if (tag == collection->ObjectType())
            return collection->GetContextMenu();
        if (tag == collection->SubObjectType()) {
            if (auto object = collection->Item(key))
                return object->GetContextMenu(ShowOwnerNameInName());
            return {};
        }
    }
    return {};
}

QString KORVODatabase::GetObjectSubDisplayName(const QString &subType)
{
    auto collection = FirstWithSubType(subType);
    return collection ? collection->SubObjectDisplayName() : QString();
}

KORVODBObjectPtr KORVODatabase::NewItemOfType(const QString &subType)
{
    auto collection = FirstWithSubType(subType);
    return collection ? collection->newItem() : nullptr;
}

bool KORVODatabase::CanOpenObject(const QString &tag, const QString &key)
{
    auto collection = FirstWithSubType(tag);
    return collection && collection->ObjectIsOfThisType(key);
}

bool KORVODatabase::RenameItem(const QString &tag, const QString &key, const QString &newName)
{
    auto collection = FirstWithSubType(tag);
    return collection && collection->RenameItem(key, newName);
}

bool KORVODatabase::DeleteItem(const QString &tag, const QString &key)
{
    auto collection = FirstWithSubType(tag);
    return collection && collection->DeleteItem(key);
}

QList<KORVODBTItemsPtr> KORVODatabase::GetObjectsForUndeleteing(const QString &objectType)
{
    QList<KORVODBTItemsPtr> result;
    const KORVOVSSListingPass pass = ListingPass();
    for (const auto &collection : std::as_const(mObjects)) {
        if (!collection->IsEditable())
            continue;
        if (!objectType.isEmpty() && collection->ObjectType() != objectType)
            continue;
        auto items = collection->GetDeletedItems(ShowOwnerNameInName());
        result.append(items ? items : std::make_shared<KORVODBTItems>());
    }
    return result;
}

bool KORVODatabase::UnDeleteItem(const QString &tag, const QString &key)
{
    auto collection = FirstWithSubType(tag);
    return collection && collection->UnDeleteObject(key);
}

void KORVODatabase::RetrieveStatusChange(KORVOObjectCollection &source, long position, long total, bool &cancel)
{
    if (mListener)
        mListener->RetrieveStatusChange(source.ObjectType(), source.ObjectDisplayName(), position, total, cancel);
}

void KORVODatabase::AddingStatusChange(KORVOObjectCollection &source, long position, long total, bool &cancel)
{
    if (mListener)
        mListener->AddingStatusChange(source.ObjectType(), source.ObjectDisplayName(), position, total, cancel);
}

void KORVODatabase::CompletedCurrentStatus(KORVOObjectCollection &source)
{
    if (mListener)
        mListener->CompletedCurrentStatus(source.ObjectType(), source.ObjectDisplayName());
}
