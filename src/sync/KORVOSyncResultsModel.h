#pragma once

#include "KORVOSyncAnalysis.h"

#include <QAbstractTableModel>
#include <QColor>
#include <QList>
#include <QPair>
#include <QString>

#include <functional>

class KORVODatabase;

// The rows of the synchronisation results: one per difference, SQL on the left,
// source control on the right, an action key between them. The key (the row's
// tag) is the row's whole state; colours, preview cells and group brackets are
// derived from it by RedrawRows. Rows are 0-based here.
class KORVOSyncResultsModel : public QAbstractTableModel
{
    Q_OBJECT
public:
    enum Kind { SQLOnlyRow = 1, VSSOnlyRow = 2, ChangedRow = 3 };
    enum Direction { NoAction = 0, ActOnSQL = 1, ActOnVSS = 2 };
    enum Column { ColSQL, ColSQLType, ColButton, ColVSS, ColVSSType, ColumnCount };
    // The row's tag, its kind, and the picture key its action cell shows.
    static constexpr int TagRole = Qt::UserRole;
    static constexpr int KindRole = Qt::UserRole + 1;
    static constexpr int ImageKeyRole = Qt::UserRole + 2;

    static const QColor SQLBack, VSSBack;

    explicit KORVOSyncResultsModel(QObject *parent = nullptr);

    // Headings carry the database's and the source-control project's names.
    void InitGrid(const QString &database, const QString &vssProject);
    void FillGrid(const QList<KORVOSyncDifference> &differences);
    void AddSyncRow(const QString &dbid, const QString &objectType, const QString &sqlName, const QString &sqlType,
        const QString &vssName, const QString &vssType, int kind);

    static QString ActionKey(int direction, int kind);
    static QString RowImageKey(int kind, int direction, int position);
    // The 49 keys of the picture list, in its order.
    static QStringList ImageKeys();

    int Kind(int row) const { return mRows.at(row).Kind; }
    // The tag of the row's action image.
    QString Tag(int row) const { return mImages.at(row).Tag; }
    int GetRowDirection(int row) const;
    // The picture the row's action image shows.
    QString ImageKey(int row) const { return mImages.at(row).Picture; }
    QString Cell(int row, int column) const { return mRows.at(row).Cells[column]; }
    // DBID and ObjectType of the object the row shows, whatever SyncItems holds.
    const QPair<QString, QString> &RowObject(int row) const { return mRows.at(row).Object; }
    QColor TextColour(int row, int column) const;
    // DBID and ObjectType that applying a row uses; after a run with kept rows
    // they stand in the reverse of the grid's order.
    const QList<QPair<QString, QString>> &SyncItems() const { return mSyncItems; }

    // A release of the mouse on the row's action image.
    void Click(int row, bool rightButton);
    // Every row to one direction (the two "make all" buttons).
    void MakeAll(int direction);
    void RedrawRows();

    // Applies the marked rows from the bottom up; rows that succeed leave the
    // grid. progress(processed, total) after each row. A server error that an
    // operation does not handle is not caught: it ends the run, and the rows
    // done so far stay done and gone. A lost connection ends the run after the
    // row that found it; the rows above stay.
    void ApplyChanges(KORVODatabase &database, const std::function<void(int, int)> &progress);
    bool ChangesApplied() const { return mChangesApplied; }

    int rowCount(const QModelIndex &parent = {}) const override { return parent.isValid() ? 0 : int(mRows.size()); }
    int columnCount(const QModelIndex &parent = {}) const override { return parent.isValid() ? 0 : ColumnCount; }
    QVariant data(const QModelIndex &index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    struct Row {
        QString Cells[ColumnCount];
        QPair<QString, QString> Object;
        int Kind = 0;
        int Position = 0;
        QColor LeftText, RightText;
    };
    // The action images stand beside the grid, one per row, and are compacted
    // only after a run has removed rows.
    struct Image {
        QString Tag;
        QString Picture;
    };
    bool ApplyRow(KORVODatabase &database, int row);
    void CompactImages();

    QString mHeadings[ColumnCount];
    QList<Row> mRows;
    QList<Image> mImages;
    QString mRemovedRows;
    QList<QPair<QString, QString>> mSyncItems;
    bool mChangesApplied = false;
};
