#include "KORVOProject.h"

#include "KORVOSQL.h"
#include "KORVOVSS.h"

#include <QDateTime>

KORVOProject::KORVOProject(UiServices &ui)
    : mSQL(std::make_shared<KORVOSQL>(ui))
    , mVSS(std::make_shared<KORVOVSS>(ui))
{
}

KORVOProject::~KORVOProject() = default;

bool KORVOProject::IsFirstUserToConnect() const
{
    if (!mVSS->ConnectionOpen())
        return true;
    if (!mVSS->ItemExists(SyncHistoryItem(), false))
        return true;
    return mVSS->ItemContent(SyncHistoryItem(), false, -1, false, false).isEmpty();
}

void KORVOProject::ProjectWasSyncronized(const QString &text)
{
    const bool exists = mVSS->ItemExists(SyncHistoryItem(), false);
    const QString oldHistory = exists ? mVSS->ItemContent(SyncHistoryItem(), false, -1, false, false) : QString();
    const QString line = text + QStringLiteral(": ")
        + QDateTime::currentDateTime().toString(QStringLiteral("dd.MM.yyyy hh:mm:ss")) + QStringLiteral(" - ")
        + mVSS->UserName + QStringLiteral("\r\n");
    const QString history = line + oldHistory;
    if (exists) {
        // Someone else holding the item: the line is lost, quietly.
        if (mVSS->CheckOut(SyncHistoryItem(), true))
            mVSS->CheckIn(SyncHistoryItem(), history, QString(), false);
    } else {
        mVSS->AddItem(SyncHistoryItem(), history, false, QString());
    }
}
