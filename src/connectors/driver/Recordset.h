#pragma once

#include <QList>
#include <QString>
#include <QStringList>
#include <QVariant>

// One result of a statement, held in memory and read forward only: the field
// names, the rows and the number of rows the statement affected. A NULL value is
// an invalid QVariant. A result of a statement that returns no rows has no
// fields and IsOpen() false.
class Recordset
{
public:
    Recordset() = default;
    Recordset(const QStringList &fieldNames, const QList<QVariantList> &rows, qint64 recordsAffected = -1);

    // The statement returned a row set (possibly with no rows).
    bool IsOpen() const { return mOpen; }
    bool Eof() const { return mPosition >= mRows.size(); }
    bool Bof() const { return mRows.isEmpty() || mPosition < 0; }
    qsizetype RecordCount() const { return mRows.size(); }
    void MoveNext();
    void MoveFirst() { mPosition = 0; }

    const QStringList &FieldNames() const { return mFields; }
    // The value of the named field (case ignored) in the current row. Throws
    // SqlError (3265) for an unknown name and (3021) when there is no current row.
    QVariant Field(const QString &name) const;
    // The same as text; NULL gives an empty string.
    QString FieldText(const QString &name) const { return Field(name).toString(); }
    bool IsNull(const QString &name) const { return !Field(name).isValid(); }
    int FieldIndex(const QString &name) const;

    // Rows affected as the server reported it, -1 when it did not.
    qint64 RecordsAffected() const { return mAffected; }
    const QList<QVariantList> &Rows() const { return mRows; }

    void AppendRow(const QVariantList &row) { mRows.append(row); }
    // Rows the statement returned beyond the connection's row limit, read and
    // not kept.
    qint64 RowsNotKept() const { return mNotKept; }
    void SetRowsNotKept(qint64 rows) { mNotKept = rows; }

private:
    QStringList mFields;
    QList<QVariantList> mRows;
    qsizetype mPosition = 0;
    qint64 mAffected = -1;
    qint64 mNotKept = 0;
    bool mOpen = false;
};
