#include "KORVOTables.h"

#include "sql/KORVOSQL.h"

QString KORVOTables::SubObjectType() const
{
    return KORVOTable().ObjectType();
}

QString KORVOTables::SubObjectDisplayName() const
{
    return KORVOTable().ObjectDisplayName();
}

bool KORVOTables::IsEditable() const
{
    return KORVOTable().IsEditable();
}

void KORVOTables::LoadIcons()
{
    if (!mIcons)
        return;
    mIcons->Add(IconToUse());
    mIcons->Add(QStringLiteral("TABLE"));
}

QString KORVOTables::ListKey(const QString &key) const
{
    if (mTables.contains(key))
        return key;
    const QString bare = key.mid(1);
    return mTables.contains(bare) ? bare : QString();
}

KORVOTablePtr KORVOTables::Table(const QString &key) const
{
    const QString k = ListKey(key);
    return k.isEmpty() ? nullptr : mTables.value(k);
}

KORVODBObjectPtr KORVOTables::Item(const QString &key, bool, bool)
{
    return Table(key);
}

KORVOTablePtr KORVOTables::Item(int index) const
{
    return mTables.value(mKeys.value(index));
}

QList<KORVOTablePtr> KORVOTables::List() const
{
    QList<KORVOTablePtr> list;
    list.reserve(mKeys.size());
    for (const QString &key : mKeys)
        list.append(mTables.value(key));
    return list;
}

void KORVOTables::RefreshList(bool &cancel)
{
    if (!mSQL || !mSQL->ConnectionOpen())
        return;
    std::shared_ptr<Recordset> rs = mSQL->OpenRecordset(mSQL->Kind().TableObjectStatements().ListQuery);
    if (!rs || rs->Eof())
        return;

    const long total = long(rs->RecordCount());
    long position = 0;
    RaiseRetrieveStatusChange(position, total, cancel);
    if (cancel)
        return;

    for (; !rs->Eof(); rs->MoveNext()) {
        const QString id = rs->FieldText(QStringLiteral("id"));
        KORVOTablePtr table = mTables.value(id);
        if (!table) {
            table = std::make_shared<KORVOTable>();
            table->SetDBID(id);
            table->SetActiveDBConnection(mSQL);
            table->SetActiveVSSConnection(mVSS);
            table->SetIcons(mIcons);
            table->SetTriggersInfo(mTriggersInfo);
            mTables.insert(id, table);
            mKeys.append(id);
        }
        table->SetName(rs->FieldText(QStringLiteral("name")));
        table->SetOwner(mSQL->GetObjectOwnerName(id, *rs));
        RaiseRetrieveStatusChange(++position, total, cancel);
        if (cancel)
            return;
    }
    RaiseCompletedCurrentStatus();
}

KORVODBTItemsPtr KORVOTables::GetItemInfo(bool showOwner, const KORVODBObjectPtr &)
{
    bool cancel = false;
    RefreshList(cancel);
    if (cancel)
        return nullptr;
    RaiseAddingStatusChange(0, Count(), cancel);
    if (cancel)
        return nullptr;

    auto items = std::make_shared<KORVODBTItems>();
    for (const QString &key : std::as_const(mKeys)) {
        const KORVOTablePtr &table = mTables[key];
        KORVODBTItemPtr item = items->Add(QStringLiteral("I") + table->DBID());
        item->Text = table->Caption(showOwner);
        item->ImageName = table->IconToUse();
        item->Tag = table->ObjectType();
        item->Children().Add(item->Key + QStringLiteral("_tmp"))->Tag = QStringLiteral("temp");
    }
    RaiseCompletedCurrentStatus();
    return items;
}

void KORVOTables::RemoveItem(const QString &key, bool)
{
    bool numeric = false;
    key.toLongLong(&numeric);
    const QString k = numeric ? key : key.mid(1);
    if (mTables.remove(k))
        mKeys.removeOne(k);
}

void KORVOTables::ChangeKey(const QString &oldKey, int position)
{
    const QString k = ListKey(oldKey);
    if (k.isEmpty())
        return;
    KORVOTablePtr table = mTables.take(k);
    mKeys.removeOne(k);
    const QString newKey = table->DBID();
    // A table already listed under the new id gives way to the one that moves.
    if (mTables.remove(newKey))
        mKeys.removeOne(newKey);
    mTables.insert(newKey, table);
    if (position >= 1 && position <= mKeys.size())
        mKeys.insert(position - 1, newKey);
    else
        mKeys.append(newKey);
}
