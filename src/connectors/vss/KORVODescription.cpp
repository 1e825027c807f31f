#include "KORVODescription.h"

#include "KORVOVSS.h"

#include <algorithm>

namespace
{
const QString descExt = QStringLiteral(".desc");

// Only blanks count as empty here; a text of line breaks is kept as it is.
bool onlyBlanks(const QString &text)
{
    return std::all_of(text.cbegin(), text.cend(), [](QChar c) { return c == QLatin1Char(' '); });
}
}

QString KORVODescription::Description() const
{
    if (mVSSItemName.isEmpty() || !mConnection)
        return {};
    const QString item = mVSSItemName + descExt;
    if (!mConnection->ItemExists(item, false))
        return {};
    const QString text = mConnection->ItemContent(item, false, -1, true, false);
    return onlyBlanks(text) ? QString() : text;
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
    } else if (!onlyBlanks(text)) {
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
