#include "KORVOFields.h"

#include "KORVODBTItem.h"
#include "driver/Recordset.h"

#include <QVariant>

KORVOFieldPtr KORVOFields::Add(const QString &name)
{
    auto field = std::make_shared<KORVOField>(name);
    mItems.append(field);
    return field;
}

QString FieldTypeText(const Recordset &columns)
{
    const QString type = columns.FieldText(QStringLiteral("ColType"));
    // A server that puts the size into the type name leaves the size fields
    // NULL; the type then stands as it is.
    if (type == QLatin1String("numeric") || type == QLatin1String("decimal")) {
        if (!columns.IsNull(QStringLiteral("ColXprec")))
            return type + QLatin1Char('(') + columns.FieldText(QStringLiteral("ColXprec")) + QStringLiteral(", ")
                + columns.FieldText(QStringLiteral("ColScale")) + QLatin1Char(')');
    } else if (type == QLatin1String("varchar") || type == QLatin1String("char") || type == QLatin1String("nchar")
        || type == QLatin1String("nvarchar")) {
        if (!columns.IsNull(QStringLiteral("ColLength")))
            return type + QLatin1Char('(') + columns.FieldText(QStringLiteral("ColLength")) + QLatin1Char(')');
    }
    return type;
}

static bool IsTrue(const QVariant &value)
{
    if (!value.isValid())
        return false;
    if (value.typeId() == QMetaType::Bool)
        return value.toBool();
    const QString text = value.toString().trimmed().toLower();
    return !(
        text.isEmpty() || text == QLatin1String("0") || text == QLatin1String("f") || text == QLatin1String("false"));
}

KORVOFieldsPtr FieldsFromColumns(Recordset &columns, const QString &blankFieldDisplayName, bool showNullability)
{
    auto fields = std::make_shared<KORVOFields>();
    for (; !columns.Eof(); columns.MoveNext()) {
        QString name = columns.FieldText(QStringLiteral("ColName"));
        const bool blank = name.isEmpty();
        if (blank)
            name = blankFieldDisplayName;
        if (name.isEmpty())
            continue;
        KORVOFieldPtr field = fields->Add(name);
        field->Children().Add(FieldTypeText(columns));
        if (showNullability && !blank)
            field->Children().Add(IsTrue(columns.Field(QStringLiteral("ColNullable")))
                    ? QStringLiteral("Nullable")
                    : QStringLiteral("Not Nullable"));
    }
    return fields;
}

void AddFieldItems(KORVODBTItems &items, const QString &dbid, const KORVOFields &fields)
{
    int n = 0;
    for (const KORVOFieldPtr &field : fields) {
        KORVODBTItemPtr node = items.Add(QStringLiteral("F%1_field_%2").arg(dbid).arg(++n));
        node->Text = field->Name;
        node->ImageName = QStringLiteral("FIELD");
        int m = 0;
        for (const KORVOFieldPtr &detail : field->Children()) {
            KORVODBTItemPtr child = node->Children().Add(node->Key + QLatin1Char('_') + QString::number(++m));
            child->Text = detail->Name;
            child->ImageName = QStringLiteral("FIELDDATA");
        }
    }
}
