#include "KORVODescription.h"

#include "KORVOVSS.h"

namespace
{
const QString descExt = QStringLiteral(".desc");
}

QString KORVODescription::Description() const
{
    if (mVSSItemName.isEmpty() || !mConnection)
        return {};
    const QString item = mVSSItemName + descExt;
    if (!mConnection->ItemExists(item, false))
        return {};
    const QString text = mConnection->ItemContent(item, false, -1, true, false);
    return text.trimmed().isEmpty() ? QString() : text;
}

void KORVODescription::SetDescription(const QString &value)
{
    // Source control must see a change, so an empty text is stored as one blank.
    const QString text = value.isEmpty() ? QStringLiteral(" ") : value;
    if (mVSSItemName.isEmpty() || !mConnection)
        return;
    const QString item = mVSSItemName + descExt;
    if (mConnection->ItemExists(item, false)) {
        if (mConnection->CheckOut(item, true))
            mConnection->CheckIn(item, text, QStringLiteral("True"), false);
    } else if (!text.trimmed().isEmpty()) {
        mConnection->AddItem(item, text, true, QString());
    }
}

bool KORVODescription::Rename(const QString &newName)
{
    if (!mConnection)
        return false;
    if (!mConnection->RenameItem(mVSSItemName + descExt, newName + descExt, false, true, false))
        return false;
    mVSSItemName = newName;
    return true;
}
