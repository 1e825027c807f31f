#include "KORVOObjectFactory.h"

#include "KORVOTables.h"
#include "KORVOVersionedObjects.h"

KORVOObjectCollectionPtr KORVOObjectFactory::Create(Kind kind)
{
    switch (kind) {
    case Kind::StoredProcedures:
        return std::make_shared<KORVOStoredProcedures>();
    case Kind::Tables:
        return std::make_shared<KORVOTables>();
    case Kind::UserDefinedFunctions:
        return std::make_shared<KORVOUserDefinedFunctions>();
    case Kind::Views:
        return std::make_shared<KORVOViews>();
    case Kind::Triggers:
        return std::make_shared<KORVOTriggers>();
    }
    return nullptr;
}

void KORVOObjectFactory::Link(const KORVOObjectCollectionPtr &tables, const KORVOObjectCollectionPtr &triggers)
{
    if (auto typedTriggers = std::dynamic_pointer_cast<KORVOTriggers>(triggers))
        typedTriggers->SetTables(tables);
    auto typedTables = std::dynamic_pointer_cast<KORVOTables>(tables);
    if (typedTables && triggers) {
        auto info = std::make_shared<KORVOTriggersInfo>();
        info->ObjectType = triggers->ObjectType();
        info->ObjectDisplayName = triggers->ObjectDisplayName();
        info->Icon = triggers->IconToUse();
        typedTables->SetTriggersInfo(info);
    }
}
