#include "KORVOField.h"

#include "KORVOFields.h"

KORVOField::KORVOField(const QString &name)
    : Name(name)
    , mChildren(std::make_shared<KORVOFields>())
{
}
