#pragma once

#include "KORVOObjectCollection.h"

// Makes the five typed collections for the session.
class KORVOObjectFactory : public KORVOCollectionFactory
{
public:
    KORVOObjectCollectionPtr Create(Kind kind) override;
    // Triggers reach the tables they show under; tables learn how the folder of
    // their triggers looks.
    void Link(const KORVOObjectCollectionPtr &tables, const KORVOObjectCollectionPtr &triggers) override;
};
