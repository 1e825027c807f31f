#include "KORVOObjectVSS.h"

#include "KORVODescription.h"
#include "KORVOFields.h"
#include "KORVOPermissions.h"
#include "KORVOTypedObject.h"
#include "KORVOVSS.h"
#include "SQLParser.h"
#include "driver/SqlError.h"
#include "sql/KORVOSQL.h"

#include <QDir>
#include <QFile>
#include <QRandomGenerator>

namespace
{

// Deletes a file even when it is read-only.
void ForceRemove(const QString &path)
{
    if (path.isEmpty() || !QFile::exists(path))
        return;
    QFile::setPermissions(path, QFile::permissions(path) | QFileDevice::WriteOwner);
    QFile::remove(path);
}

void AddNode(KORVODBTItems &items, const QString &key, const QString &text, const QString &image)
{
    KORVODBTItemPtr item = items.Add(key);
    item->Text = text;
    item->ImageName = image;
}

} // namespace

KORVOObjectVSS::KORVOObjectVSS(const KORVOObjectTypeInfo &type, KORVOTypedObject *parent)
    : mType(type)
    , mParent(parent)
    , mDescription(std::make_unique<KORVODescription>())
{
}

KORVOObjectVSS::~KORVOObjectVSS()
{
    if (mTempFileMadeHere)
        ForceRemove(mTempFile);
}

SQLKeywordPatterns KORVOObjectVSS::Parse() const
{
    return ServerKindOf(mSQL).CreatePatterns(mType.Class);
}

ServerKind::VersionedStatements KORVOObjectVSS::Statements() const
{
    return ServerKindOf(mSQL).VersionedObjectStatements(mType.Class);
}

void KORVOObjectVSS::SetActiveVSSConnection(const std::shared_ptr<KORVOVSS> &connection)
{
    mVSS = connection;
    mDescription->SetActiveVSSConnection(connection);
}

void KORVOObjectVSS::SetIsNew(bool isNew)
{
    mIsNew = isNew;
    DeleteTemporaryFile();
    if (isNew)
        MakeTemporaryFile();
}

QString KORVOObjectVSS::TemporaryFileName() const
{
    QString folder = mVSS ? mVSS->GeneralWorkingFolder() : QString();
    if (folder.isEmpty())
        folder = QDir::tempPath();
    if (!folder.endsWith(QLatin1Char('/')) && !folder.endsWith(QDir::separator()))
        folder += QDir::separator();
    const int number = QRandomGenerator::global()->bounded(2001) + 1;
    return folder + mType.ObjectType + QLatin1Char('_')
        + QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMddHHmmss")) + QLatin1Char('_')
        + QString::number(number) + mType.VSSExt;
}

void KORVOObjectVSS::MakeTemporaryFile()
{
    mTempFile = TemporaryFileName();
    mTempFileMadeHere = true;
    QFile file(mTempFile);
    if (file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        file.close();
}

void KORVOObjectVSS::DeleteTemporaryFile()
{
    if (mTempFileMadeHere)
        ForceRemove(mTempFile);
    mTempFile.clear();
    mTempFileMadeHere = false;
}

QString KORVOObjectVSS::FileName()
{
    if (mIsNew) {
        if (mTempFile.isEmpty())
            MakeTemporaryFile();
        return mTempFile;
    }
    if (!mVSS)
        return QString();
    const QString path = mVSS->GetItemFileName(ItemName());
    if (!QFile::exists(path))
        mVSS->GetLatestVersion(ItemName(), false);
    return path;
}

void KORVOObjectVSS::SetFileName(const QString &path)
{
    if (!mIsNew)
        return;
    DeleteTemporaryFile();
    mTempFile = path;
}

bool KORVOObjectVSS::IsCheckedOutByMe() const
{
    return mVSS && CheckedOutBy == mVSS->UserName;
}

bool KORVOObjectVSS::IsDeleted() const
{
    return mVSS && mVSS->ItemIsDeleted(ItemName());
}

bool KORVOObjectVSS::SQLAndVSSDiffer() const
{
    const QString latest = mVSS ? mVSS->ItemContent(ItemName(), false, -1, false, false) : QString();
    const QString server = mSQL ? mSQL->GetObjectText(DBID) : QString();
    return !TextsEqual(latest, server, true, true);
}

QList<QPair<QDateTime, int>> KORVOObjectVSS::HistoryDates() const
{
    QList<QPair<QDateTime, int>> dates;
    if (!mVSS)
        return dates;
    const QList<KORVOHistoryData> history = mVSS->GetItemHistory(ItemName(), IsDeleted());
    for (int i = 0; i < history.size(); ++i)
        dates.append({ VersionDateTime(history.at(i).VersionDate), i });
    return dates;
}

QDateTime KORVOObjectVSS::FirstDate() const
{
    QDateTime first(QDate(2100, 1, 1), QTime(0, 0));
    for (const auto &row : HistoryDates()) {
        if (row.first.isValid() && row.first.secsTo(first) > 0)
            first = row.first;
    }
    return first;
}

QDateTime KORVOObjectVSS::LastDate() const
{
    QDateTime last(QDate(1900, 1, 1), QTime(0, 0));
    for (const auto &row : HistoryDates()) {
        if (row.first.isValid() && last.secsTo(row.first) > 0)
            last = row.first;
    }
    return last;
}

QList<QStringList> KORVOObjectVSS::DateSummary(bool ascending) const
{
    QList<QStringList> rows;
    QList<QDateTime> dates;
    if (!mVSS)
        return rows;
    for (const KORVOHistoryData &version : mVSS->GetItemHistory(ItemName(), IsDeleted())) {
        rows.append({ version.VersionDate, version.Comment, QString::number(version.VersionNumber), version.Action });
        dates.append(VersionDateTime(version.VersionDate));
    }
    // An exchange sort over all pairs, so that equal dates keep their order.
    for (qsizetype i = 0; i < rows.size(); ++i) {
        for (qsizetype j = i + 1; j < rows.size(); ++j) {
            const qint64 diff = dates.at(j).secsTo(dates.at(i)); // > 0: row i is later
            if ((ascending && diff > 0) || (!ascending && diff < 0)) {
                rows.swapItemsAt(i, j);
                dates.swapItemsAt(i, j);
            }
        }
    }
    return rows;
}

QString KORVOObjectVSS::DropScript(bool forScript) const
{
    return DropScriptOf(DBID, Owner, Name, forScript);
}

QString KORVOObjectVSS::Description() const
{
    if (!mVSS)
        return QString();
    mDescription->SetVSSItemName(ItemName());
    return mDescription->Description();
}

void KORVOObjectVSS::SetDescription(const QString &description)
{
    if (!mVSS)
        return;
    mDescription->SetVSSItemName(ItemName());
    mDescription->SetDescription(description);
}

QString KORVOObjectVSS::IconToUse(bool plain) const
{
    if (plain)
        return mType.IconPrefix.chopped(1);
    QString state;
    if (mIsNew)
        state = QStringLiteral("NEW");
    else if (!InSQL)
        state = QStringLiteral("SQLBROKEN");
    else if (InVSS && !IsCheckedOut())
        state = QStringLiteral("CHECKEDIN");
    else if (InVSS && IsCheckedOutByMe())
        state = QStringLiteral("CHECKEDOUT");
    else if (InVSS)
        state = QStringLiteral("CHECKEDINOUT");
    else
        state = QStringLiteral("VSSBROKEN");
    return mType.IconPrefix + state;
}

std::shared_ptr<KORVOFields> KORVOObjectVSS::GetFields(bool showNullability) const
{
    const ServerKind::VersionedStatements statements = Statements();
    if (!mSQL || statements.ParameterQuery1.isEmpty())
        return std::make_shared<KORVOFields>();
    const std::shared_ptr<Recordset> columns
        = mSQL->OpenRecordset(statements.ParameterQuery1 + DBID + statements.ParameterQuery2);
    if (!columns || !columns->IsOpen())
        return std::make_shared<KORVOFields>();
    return FieldsFromColumns(*columns, mType.BlankFieldDisplayName, showNullability);
}

QString KORVOObjectVSS::Caption(bool showOwner) const
{
    const QString name = Signature.isNull() ? Name : Name + QLatin1Char('(') + Signature + QLatin1Char(')');
    return showOwner && !Owner.isEmpty() ? Owner + QLatin1Char('.') + name : name;
}

QString KORVOObjectVSS::NodeText(bool showOwner) const
{
    const QString caption = Caption(showOwner);
    return CheckedOutBy.isEmpty() ? caption : caption + QStringLiteral(" (Checked out by ") + CheckedOutBy + QLatin1Char(')');
}

void KORVOObjectVSS::AddOwnerItem(KORVODBTItems &items) const
{
    if (!Owner.isEmpty())
        AddNode(items, QStringLiteral("OWNER") + DBID, Owner, QStringLiteral("OWNER"));
}

KORVODBTItemsPtr KORVOObjectVSS::GetItemInfo(bool showOwner, const QString &, bool noExtras, bool showNullability) const
{
    auto items = std::make_shared<KORVODBTItems>();
    if (!InSQL) {
        if (showOwner)
            AddOwnerItem(*items);
        AddNode(*items, QStringLiteral("NOTINSQL") + DBID, QStringLiteral("Item out of sync (not in SQL)"),
            IconToUse(false));
        return items;
    }
    if (showOwner && !noExtras)
        AddOwnerItem(*items);
    AddFieldItems(*items, DBID, *GetFields(showNullability));
    if (noExtras)
        return items;
    AddPermissionFolderItem(*items, DBID);
    if (!InVSS)
        AddNode(*items, QStringLiteral("NOTINVSS") + DBID, QStringLiteral("Item out of sync (not in VSS)"),
            IconToUse(false));
    if (!CheckedOutBy.isEmpty())
        AddNode(*items, QStringLiteral("CHECKEDOUT") + DBID, QStringLiteral("Checked out by ") + CheckedOutBy,
            QStringLiteral("CHECKEDOUTBY"));
    return items;
}

KORVOContextMenu KORVOObjectVSS::GetContextMenu(bool showOwner) const
{
    KORVOContextMenu menu;
    menu.DisplayName = Caption(showOwner);
    if (InVSS && !InSQL) {
        menu.AddToSQL = true;
        menu.DeleteFromVSS = true;
    } else if (InSQL && !InVSS) {
        menu.AddToVSS = true;
        menu.DeleteFromSQL = true;
        menu.EditPermissions = mType.HasPermissions;
    } else {
        menu.Edit = true;
        menu.Rename = true;
        menu.Delete = true;
        menu.EditPermissions = mType.HasPermissions;
        if (IsCheckedOutByMe()) {
            menu.CheckIn = true;
            menu.UndoCheckout = true;
        } else if (IsCheckedOut()) {
            menu.GetLatestVersion = true;
        } else {
            menu.GetLatestVersion = true;
            menu.CheckOut = true;
        }
    }
    return menu;
}

void KORVOObjectVSS::RefreshState()
{
    const ServerKind::VersionedStatements statements = Statements();
    std::shared_ptr<Recordset> row;
    if (mSQL)
        row = mSQL->OpenRecordset(statements.DBQueryStart + statements.DBQueryByID + KORVOSQL::sqlFMTOUT(DBID, 1));
    InSQL = row && !row->Eof();
    if (InSQL) {
        Name = row->FieldText(QStringLiteral("name"));
        Owner = row->FieldText(QStringLiteral("UserName"));
        Signature = row->FieldIndex(QStringLiteral("signature")) >= 0 ? row->FieldText(QStringLiteral("signature"))
                                                                      : QString();
    } else {
        Signature = QString();
    }

    // The file keeps its name even when the id is found to have moved on: it is
    // renamed by the next list refresh.
    const QString item = ItemName();
    InVSS = mVSS && mVSS->ItemExists(item, false);
    if (InVSS && !InSQL) {
        // Someone may have dropped and recreated the object: look for it by the
        // name in the file's text.
        const QString text = mVSS->ItemContent(item, true, -1, false, false);
        QString name = ExtractNameAfterPattern(Parse(), text);
        if (!KORVOSQL::IsValidObjectName(name))
            name.clear();
        QString owner;
        if (!name.isEmpty()) {
            const QStringList parts = ServerKindOf(mSQL).SplitName(name);
            owner = parts.value(0);
            name = parts.value(1);
            // Where the name does not identify the object (overloads), the
            // text's argument types do; a text the server cannot read names none.
            std::optional<QString> identified;
            try {
                identified = IdentifyText(text);
            } catch (const SqlError &error) {
                if (error.ConnectionLost)
                    throw;
                identified = QString();
            }
            if (identified && !identified->isEmpty()) {
                InSQL = true;
                DBID = *identified;
            } else if (mSQL && !identified) {
                row = mSQL->OpenRecordset(statements.DBQueryStart + statements.DBQueryByName
                    + KORVOSQL::sqlFMTOUT(name, 0) + statements.DBQueryByOwner + KORVOSQL::sqlFMTOUT(owner, 0));
                if (row && !row->Eof()) {
                    InSQL = true;
                    DBID = row->FieldText(QStringLiteral("id"));
                }
            }
        } else {
            name = DBID;
        }
        Name = name;
        Owner = owner;
    }
    if (InVSS)
        CheckedOutBy = mVSS->CheckedOutBy(item);
    if (!InSQL && !InVSS) {
        Name.clear();
        Owner.clear();
    }
}

KORVODBTItemPtr KORVOObjectVSS::Refresh(bool showOwner)
{
    const QString oldID = DBID;
    RefreshState();
    auto item = std::make_shared<KORVODBTItem>(QStringLiteral("I") + DBID);
    item->Tag = mType.ObjectType;
    item->ImageName = IconToUse(false);
    item->Text = NodeText(showOwner);
    item->KeyChanged = DBID == oldID ? QString() : oldID;
    item->RemoveItem = !(InSQL && InVSS);
    if (!item->RemoveItem)
        item->SetToolTipText(Description());
    return item;
}

std::shared_ptr<KORVOPermissions> KORVOObjectVSS::GetPermissions(bool quickList, int show) const
{
    if (!mType.HasPermissions || mIsNew || !InSQL)
        return std::make_shared<KORVOPermissions>();
    return ReadPermissions(
        mSQL, DBID, mType.ObjectPermissionExecuteOnly, mType.ObjectPermissionExecAndRefOnly, quickList, show);
}

void KORVOObjectVSS::RaiseNewItemCreated()
{
    if (mParent)
        mParent->NewItemCreated_Event();
}
