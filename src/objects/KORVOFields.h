#pragma once

#include "KORVOField.h"

#include <QList>
#include <QString>

#include <memory>

class KORVODBTItems;
class Recordset;

// Ordered list of fields, in the order they were added.
class KORVOFields
{
public:
    // Makes a field with this name, appends and returns it.
    KORVOFieldPtr Add(const QString &name);
    KORVOFieldPtr Item(int index) const { return mItems.value(index); } // 0-based
    int Count() const { return int(mItems.size()); }

    QList<KORVOFieldPtr>::const_iterator begin() const { return mItems.cbegin(); }
    QList<KORVOFieldPtr>::const_iterator end() const { return mItems.cend(); }

private:
    QList<KORVOFieldPtr> mItems;
};

using KORVOFieldsPtr = std::shared_ptr<KORVOFields>;

// Builds the field list from a column query's rows (fields ColName, ColLength,
// ColXprec, ColScale, ColNullable, ColType). A row with an empty name takes
// blankFieldDisplayName and gets no nullability line; a row whose name is still
// empty is left out. Each field's first child is its type text, the second its
// nullability when showNullability is true.
KORVOFieldsPtr FieldsFromColumns(Recordset &columns, const QString &blankFieldDisplayName, bool showNullability);

// The tree nodes of an object's fields: "F{dbid}_field_{n}" per field, and
// under it "{key}_{m}" per child text.
void AddFieldItems(KORVODBTItems &items, const QString &dbid, const KORVOFields &fields);

// The type text of one column row: sizes are added for numeric, decimal and
// the character types when the row carries them.
QString FieldTypeText(const Recordset &columns);
