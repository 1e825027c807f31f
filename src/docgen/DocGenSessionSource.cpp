#include "DocGenObjects.h"

#include "KORVODatabase.h"
#include "KORVOVSS.h"
#include "KORVOVersionedObjects.h"

namespace
{

class SessionObject : public DocGenObject
{
public:
    explicit SessionObject(KORVOTypedObjectPtr object)
        : mObject(std::move(object))
    {
    }
    QString Name() const override { return mObject->Name(); }
    QString Owner() const override { return mObject->Owner(); }
    QString Description() const override { return mObject->Description(); }
    QString ObjectDisplayName() const override { return mObject->ObjectDisplayName(); }
    QString DocumentMiddleName() const override { return mObject->DocumentMiddleName(); }
    KORVODBTItemsPtr GetItemInfo(bool showOwner, bool noExtras, bool showNullability) override
    {
        return mObject->GetItemInfo(showOwner, noExtras, showNullability);
    }

private:
    KORVOTypedObjectPtr mObject;
};

class SessionSource : public DocGenSource
{
public:
    explicit SessionSource(KORVODatabase &session)
        : mSession(session)
    {
    }
    QList<Type> GetItemsForDocGen() override
    {
        QList<Type> types;
        for (const auto &item : *mSession.GetItemsForDocGen())
            types.append({ item->Key, item->Text });
        return types;
    }
    std::shared_ptr<void> HoldListing() override
    {
        const KORVOProjectPtr &project = mSession.Project();
        return std::make_shared<KORVOVSSListingPass>(project ? project->VSS() : nullptr);
    }
    DocGenCollection GetObjectObjects(const QString &key) override
    {
        DocGenCollection result;
        auto collection = std::dynamic_pointer_cast<KORVOVersionedObjects>(mSession.GetObjectObjects(key));
        if (!collection)
            return result;
        result.ObjectDisplayName = collection->ObjectDisplayName();
        // Objects are shared with the session: the same object gives the same wrapper.
        for (const auto &object : *collection) {
            auto &wrapper = mWrappers[object.get()];
            if (!wrapper)
                wrapper = std::make_shared<SessionObject>(object);
            result.Objects.append(wrapper);
        }
        return result;
    }

private:
    KORVODatabase &mSession;
    QHash<const KORVOTypedObject *, DocGenObjectPtr> mWrappers;
};

} // namespace

std::unique_ptr<DocGenSource> MakeSessionSource(KORVODatabase &session)
{
    return std::make_unique<SessionSource>(session);
}
