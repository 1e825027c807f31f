#include "Recordset.h"

#include "SqlError.h"

Recordset::Recordset(const QStringList &fieldNames, const QList<QVariantList> &rows, qint64 recordsAffected)
    : mFields(fieldNames)
    , mRows(rows)
    , mAffected(recordsAffected)
    , mOpen(!fieldNames.isEmpty())
{
}

void Recordset::MoveNext()
{
    if (mPosition < mRows.size())
        ++mPosition;
}

int Recordset::FieldIndex(const QString &name) const
{
    for (int i = 0; i < mFields.size(); ++i) {
        if (mFields[i].compare(name, Qt::CaseInsensitive) == 0)
            return i;
    }
    return -1;
}

QVariant Recordset::Field(const QString &name) const
{
    const int index = FieldIndex(name);
    if (index < 0)
        throw SqlError(3265, QStringLiteral("Recordset"),
            QStringLiteral("Item cannot be found in the collection corresponding to the requested name "
                           "or ordinal: %1")
                .arg(name));
    if (Eof())
        throw SqlError(3021, QStringLiteral("Recordset"),
            QStringLiteral("Either BOF or EOF is True, or the current record has been deleted."));
    const QVariantList &row = mRows[mPosition];
    return index < row.size() ? row[index] : QVariant();
}
