#include "KORVOSyncResultsModel.h"

#include "KORVODatabase.h"
#include "KORVOTypedObject.h"
#include "sql/KORVOSQL.h"

#include <exception>

namespace
{
const QColor Black(0, 0, 0), White(255, 255, 255);
const QColor LeftRed(210, 0, 0), LeftGreen(0, 190, 0), RightGreen(0, 255, 0), RightRed(255, 0, 0);
} // namespace

const QColor KORVOSyncResultsModel::SQLBack(240, 235, 255);
const QColor KORVOSyncResultsModel::VSSBack(27, 20, 100);

KORVOSyncResultsModel::KORVOSyncResultsModel(QObject *parent)
    : QAbstractTableModel(parent)
{
}

void KORVOSyncResultsModel::InitGrid(const QString &database, const QString &vssProject)
{
    beginResetModel();
    mRows.clear();
    mImages.clear();
    mSyncItems.clear();
    mChangesApplied = false;
    mHeadings[ColSQL] = QStringLiteral("Objects in '%1' Database").arg(database);
    mHeadings[ColSQLType] = QStringLiteral("Objects Type");
    mHeadings[ColButton] = QString();
    mHeadings[ColVSS] = QStringLiteral("Objects in VSS Project '%1'").arg(vssProject);
    mHeadings[ColVSSType] = QStringLiteral("Objects Type");
    endResetModel();
    Q_EMIT headerDataChanged(Qt::Horizontal, 0, ColumnCount - 1);
}

void KORVOSyncResultsModel::FillGrid(const QList<KORVOSyncDifference> &differences)
{
    for (const KORVOSyncDifference &d : differences) {
        if (!d.InVSS)
            AddSyncRow(d.DBID, d.ObjectType, d.QualifiedName, d.ObjectDisplayName, {}, {}, SQLOnlyRow);
        else if (!d.InSQL)
            AddSyncRow(d.DBID, d.ObjectType, {}, {}, d.QualifiedName, d.ObjectDisplayName, VSSOnlyRow);
        else
            AddSyncRow(d.DBID, d.ObjectType, d.QualifiedName, d.ObjectDisplayName, d.QualifiedName, d.ObjectDisplayName,
                ChangedRow);
    }
}

void KORVOSyncResultsModel::AddSyncRow(const QString &dbid, const QString &objectType, const QString &sqlName,
    const QString &sqlType, const QString &vssName, const QString &vssType, int kind)
{
    const int r = int(mRows.size());
    beginInsertRows({}, r, r);
    Row row;
    row.Kind = kind;
    row.Object = { dbid, objectType };
    row.Cells[ColSQL] = sqlName;
    row.Cells[ColSQLType] = sqlType;
    row.Cells[ColVSS] = vssName;
    row.Cells[ColVSSType] = vssType;
    row.LeftText = Black;
    row.RightText = White;
    mRows.append(row);
    mImages.append({ QStringLiteral("NRM"), QStringLiteral("NRM") });
    mSyncItems.append({ dbid, objectType });
    endInsertRows();
}

QString KORVOSyncResultsModel::ActionKey(int direction, int kind)
{
    static const char *const keys[3][3]
        = { { "NRM", "NRM", "NRM" }, { "DEL:L", "ADD:L", "CNG:L" }, { "ADD:R", "DEL:R", "CNG:R" } };
    if (direction < 0 || direction > 2 || kind < 1 || kind > 3)
        return QStringLiteral("NRM");
    return QString::fromLatin1(keys[direction][kind - 1]);
}

QString KORVOSyncResultsModel::RowImageKey(int kind, int direction, int position)
{
    if (direction == NoAction)
        return QStringLiteral("NRM");
    QString key = ActionKey(direction, kind);
    static const char *const edges[] = { "", ":LTR", ":LR", ":LBR" };
    if (position > 0 && position < 4)
        key += QLatin1String(direction == ActOnSQL ? ":R" : ":G") + QLatin1String(edges[position]);
    return key;
}

QStringList KORVOSyncResultsModel::ImageKeys()
{
    QStringList keys { "NRM", "ADD:L", "ADD:R", "CNG:L", "CNG:R", "DEL:L", "DEL:R" };
    const QStringList grouped { "NRM", "DEL:R", "DEL:L", "CNG:R", "CNG:L", "ADD:R", "ADD:L" };
    for (const char *colour : { ":G", ":R" })
        for (const QString &action : grouped)
            for (const char *edge : { ":LTR", ":LR", ":LBR" })
                keys.append(action + QLatin1String(colour) + QLatin1String(edge));
    return keys;
}

int KORVOSyncResultsModel::GetRowDirection(int row) const
{
    const QString &tag = mImages.at(row).Tag;
    if (tag == QLatin1String("NRM"))
        return NoAction;
    return tag.section(QLatin1Char(':'), 1, 1) == QLatin1String("L") ? ActOnSQL : ActOnVSS;
}

QColor KORVOSyncResultsModel::TextColour(int row, int column) const
{
    return column < ColButton ? mRows.at(row).LeftText : mRows.at(row).RightText;
}

void KORVOSyncResultsModel::Click(int row, bool rightButton)
{
    const int old = GetRowDirection(row);
    static const int leftNext[] = { ActOnSQL, ActOnVSS, NoAction };
    static const int rightNext[] = { ActOnSQL, ActOnVSS, ActOnSQL };
    const int next = rightButton ? rightNext[old] : leftNext[old];
    int first = row, last = row;
    if (rightButton) {
        // The run of equal kind and direction around the row, as it stands now.
        const int kind = Kind(row);
        while (first > 0 && GetRowDirection(first - 1) == old && Kind(first - 1) == kind)
            --first;
        while (last + 1 < mRows.size() && GetRowDirection(last + 1) == old && Kind(last + 1) == kind)
            ++last;
    }
    for (int r = first; r <= last; ++r)
        mImages[r].Tag = ActionKey(next, Kind(r));
    RedrawRows();
}

void KORVOSyncResultsModel::MakeAll(int direction)
{
    for (int r = 0; r < mRows.size(); ++r)
        mImages[r].Tag = ActionKey(direction, Kind(r));
    RedrawRows();
}

void KORVOSyncResultsModel::RedrawRows()
{
    const int count = int(qMin(mRows.size(), mImages.size()));
    QList<int> directions(count);
    for (int r = 0; r < count; ++r) {
        Row &row = mRows[r];
        directions[r] = GetRowDirection(r);
        row.Position = 0;
        if (r > 0) {
            Row &above = mRows[r - 1];
            if (directions[r] == directions[r - 1] && row.Kind == above.Kind) {
                row.Position = 2;
                if (above.Position == 0)
                    above.Position = 1;
            } else if (above.Position != 0) {
                above.Position = 3;
            }
        }
        if (r == count - 1 && row.Position == 2)
            row.Position = 3;
    }
    for (int r = 0; r < count; ++r) {
        Row &row = mRows[r];
        const int direction = directions[r];
        mImages[r].Picture = RowImageKey(row.Kind, direction, row.Position);
        QString *cells = row.Cells;
        const auto blank = [cells](int a, int b) { cells[a].clear(), cells[b].clear(); };
        switch (direction * 10 + row.Kind) {
        case 1: // NoAction
            row.LeftText = Black, row.RightText = White;
            blank(ColVSS, ColVSSType);
            break;
        case 2:
            row.LeftText = Black, row.RightText = White;
            blank(ColSQL, ColSQLType);
            break;
        case 3:
            row.LeftText = Black, row.RightText = White;
            break;
        case 11: // ActOnSQL
            row.LeftText = LeftRed;
            blank(ColVSS, ColVSSType);
            break;
        case 12:
            row.LeftText = LeftGreen, row.RightText = White;
            cells[ColSQL] = cells[ColVSS], cells[ColSQLType] = cells[ColVSSType];
            break;
        case 13:
            row.LeftText = LeftGreen, row.RightText = White;
            break;
        case 21: // ActOnVSS
            row.LeftText = Black, row.RightText = RightGreen;
            cells[ColVSS] = cells[ColSQL], cells[ColVSSType] = cells[ColSQLType];
            break;
        case 22:
            row.RightText = RightRed;
            blank(ColSQL, ColSQLType);
            break;
        case 23:
            row.LeftText = Black, row.RightText = RightGreen;
            break;
        }
    }
    if (count > 0)
        Q_EMIT dataChanged(index(0, 0), index(count - 1, ColumnCount - 1));
}

bool KORVOSyncResultsModel::ApplyRow(KORVODatabase &database, int row)
{
    const int direction = GetRowDirection(row);
    if (direction == NoAction || row >= mSyncItems.size())
        return false;
    bool fromDeleted = false;
    const auto object = std::dynamic_pointer_cast<KORVOTypedObject>(
        database.GetObject(mSyncItems.at(row).second, mSyncItems.at(row).first, fromDeleted));
    if (!object)
        return false;
    const int target = direction == ActOnVSS ? 1 : 2;
    switch (Kind(row)) {
    case SQLOnlyRow: // add to source control, or drop in SQL
        return direction == ActOnVSS ? object->SyncAdd(target) : object->SyncRemove(target);
    case VSSOnlyRow: // remove from source control, or create in SQL
        return direction == ActOnVSS ? object->SyncRemove(target) : object->SyncAdd(target);
    case ChangedRow:
        return object->SyncChange(target);
    }
    return false;
}

void KORVOSyncResultsModel::ApplyChanges(KORVODatabase &database, const std::function<void(int, int)> &progress)
{
    const int total = int(mRows.size());
    if (total == 0)
        return;
    QList<QPair<QString, QString>> kept;
    mRemovedRows = QStringLiteral(",");
    int r = total - 1;

    // Runs however the walk ends, so that an error that escapes leaves a grid
    // whose images and items still match its rows.
    struct Finish {
        KORVOSyncResultsModel &m;
        QList<QPair<QString, QString>> &kept;
        int &r;
        const int exceptions = std::uncaught_exceptions();
        ~Finish()
        {
            if (std::uncaught_exceptions() > exceptions) // rows above the failing one were not reached
                kept = m.mSyncItems.mid(0, r + 1) + kept;
            m.mSyncItems = kept;
            m.CompactImages();
            m.RedrawRows();
        }
    } finish { *this, kept, r };

    for (int processed = 1; r >= 0; --r, ++processed) {
        if (ApplyRow(database, r)) {
            mChangesApplied = true;
            mRemovedRows += QString::number(r + 1) + QLatin1Char(',');
            beginRemoveRows({}, r, r);
            mRows.removeAt(r);
            endRemoveRows();
        } else {
            kept.append(mSyncItems.at(r));
        }
        if (progress)
            progress(processed, total);
        // The operation has shown its "Connection Lost" box; every row above
        // would show one more, so they stay as they are.
        if (const auto &sql = database.Project() ? database.Project()->SQL() : nullptr; sql && sql->ConnectionLost()) {
            kept = mSyncItems.mid(0, r) + kept;
            break;
        }
    }
}

void KORVOSyncResultsModel::CompactImages()
{
    int next = 0;
    for (int i = 1; i <= mImages.size(); ++i) {
        if (mRemovedRows.contains(QLatin1Char(',') + QString::number(i) + QLatin1Char(',')))
            continue;
        ++next;
        if (next != i)
            mImages[next - 1] = mImages.at(i - 1);
    }
    mImages.resize(next);
    mRemovedRows = QStringLiteral(",");
}

QVariant KORVOSyncResultsModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= mRows.size())
        return {};
    const Row &row = mRows.at(index.row());
    const int column = index.column();
    const bool hasImage = index.row() < mImages.size();
    switch (role) {
    case Qt::DisplayRole:
        return column == ColButton ? QVariant() : QVariant(row.Cells[column]);
    case Qt::ForegroundRole:
        return column == ColButton ? QVariant() : QVariant(TextColour(index.row(), column));
    case Qt::BackgroundRole:
        return column < ColButton ? SQLBack : column > ColButton ? VSSBack : QVariant();
    case TagRole:
        return hasImage ? mImages.at(index.row()).Tag : QString();
    case KindRole:
        return row.Kind;
    case ImageKeyRole:
        return hasImage ? mImages.at(index.row()).Picture : QString();
    }
    return {};
}

QVariant KORVOSyncResultsModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation == Qt::Horizontal && role == Qt::DisplayRole && section >= 0 && section < ColumnCount)
        return mHeadings[section];
    return QAbstractTableModel::headerData(section, orientation, role);
}
