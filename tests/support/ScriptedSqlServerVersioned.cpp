#include "ScriptedSqlServerVersioned.h"

#include "SQLParser.h"
#include "ScriptedSqlServer.h"
#include "ScriptedSqlServerTables.h"
#include "serverkinds/ServerKind.h"

#include <QRegularExpression>

namespace
{

using Object = ScriptedSqlServer::Object;
using Call = ScriptedSqlServer::Call;

BatchResult rowsOf(const QStringList &fields, const QList<QVariantList> &data)
{
    BatchResult result;
    result.Results.append(std::make_shared<Recordset>(fields, data, -1));
    return result;
}

struct TypeTest {
    QString property; // as OBJECTPROPERTY names it; empty for functions
    QStringList xtypes;
};

const QList<TypeTest> &typeTests()
{
    static const QList<TypeTest> tests { { QStringLiteral("IsProcedure"), { QStringLiteral("P") } },
        { QStringLiteral("IsView"), { QStringLiteral("V") } },
        { QStringLiteral("IsTrigger"), { QStringLiteral("TR") } },
        { QString(), { QStringLiteral("FN"), QStringLiteral("IF"), QStringLiteral("TF") } } };
    return tests;
}

bool nameLess(const Object *a, const Object *b)
{
    return a->Name.compare(b->Name, Qt::CaseInsensitive) < 0;
}

// The parameters of a procedure or function as syscolumns lists them, read
// from its CREATE text: the return value of a scalar function first, without
// a name, then "@name type[(size[, scale])]".
QList<QVariantList> parameterRows(const Object &o)
{
    QList<QVariantList> rows;
    static const QRegularExpression as(QStringLiteral("\\bAS\\b"), QRegularExpression::CaseInsensitiveOption);
    const qsizetype end = o.Text.indexOf(as);
    const QString header = end < 0 ? o.Text : o.Text.left(end);
    auto row = [](const QString &name, const QString &type, const QString &size, const QString &scale) {
        const QString t = type.toLower();
        const bool precise = t == QLatin1String("numeric") || t == QLatin1String("decimal");
        return QVariantList { name, QVariant(size.isEmpty() ? 4 : size.toInt()), QVariant(precise ? size.toInt() : 0),
            QVariant(precise ? scale.toInt() : 0), QVariant(1), t };
    };
    static const QRegularExpression returns(
        QStringLiteral("RETURNS\\s+(\\w+)(?:\\s*\\(\\s*(\\d+)(?:\\s*,\\s*(\\d+))?\\s*\\))?"),
        QRegularExpression::CaseInsensitiveOption);
    if (o.XType == QLatin1String("FN")) {
        const QRegularExpressionMatch m = returns.match(header);
        if (m.hasMatch())
            rows.append(row(QString(), m.captured(1), m.captured(2), m.captured(3)));
    }
    static const QRegularExpression parameter(
        QStringLiteral("@(\\w+)\\s+(\\w+)(?:\\s*\\(\\s*(\\d+)(?:\\s*,\\s*(\\d+))?\\s*\\))?"));
    auto it = parameter.globalMatch(header);
    while (it.hasNext()) {
        const QRegularExpressionMatch m = it.next();
        rows.append(row(QLatin1Char('@') + m.captured(1), m.captured(2), m.captured(3), m.captured(4)));
    }
    return rows;
}

} // namespace

void AddVersionedObjectStatements(ScriptedSqlServer &server)
{
    const SQLServerKind kind;
    for (ObjectClass cls :
        { ObjectClass::StoredProcedure, ObjectClass::View, ObjectClass::Trigger, ObjectClass::UserDefinedFunction }) {
        const ServerKind::VersionedStatements s = kind.VersionedObjectStatements(cls);
        const TypeTest test = typeTests().at(cls == ObjectClass::StoredProcedure ? 0
                : cls == ObjectClass::View                                       ? 1
                : cls == ObjectClass::Trigger                                    ? 2
                                                                                 : 3);
        const bool isTrigger = cls == ObjectClass::Trigger;
        // Functions are listed with system ones; the other lists leave category 2 out.
        const bool withSystem = cls == ObjectClass::UserDefinedFunction;

        server.addStatement(ScriptedSqlServer::exact(s.ListQuery), [test, isTrigger, withSystem](Call &c) {
            QList<const Object *> found;
            for (const Object &o : c.db.Objects) {
                if (test.xtypes.contains(o.XType) && (withSystem || o.Category != 2))
                    found.append(&o);
            }
            std::stable_sort(found.begin(), found.end(), nameLess);
            QList<QVariantList> data;
            for (const Object *o : found) {
                QVariantList row { QVariant(qlonglong(o->Id)), o->Name };
                if (isTrigger)
                    row.append(QVariant(qlonglong(o->ParentId)));
                data.append(row);
            }
            QStringList fields { QStringLiteral("id"), QStringLiteral("name") };
            if (isTrigger)
                fields.append(QStringLiteral("parent_obj"));
            return rowsOf(fields, data);
        });

        const QStringList rowFields { QStringLiteral("id"), QStringLiteral("name"), QStringLiteral("UserName") };
        server.addStatement(ScriptedSqlServer::exact(s.DBQueryStart + s.DBQueryByID + QStringLiteral(" {num}")),
            [test, rowFields](Call &c) {
                QList<QVariantList> data;
                for (const Object &o : c.db.Objects) {
                    if (test.xtypes.contains(o.XType) && QString::number(o.Id) == c.arg(1))
                        data.append({ QVariant(qlonglong(o.Id)), o.Name, c.server.userName(c.db, o.Uid) });
                }
                return rowsOf(rowFields, data);
            });
        server.addStatement(ScriptedSqlServer::exact(s.DBQueryStart + s.DBQueryByName + QStringLiteral(" {text}")
                                + s.DBQueryByOwner + QStringLiteral(" {text}")),
            [test, rowFields](Call &c) {
                QList<QVariantList> data;
                for (const Object &o : c.db.Objects) {
                    if (test.xtypes.contains(o.XType) && !c.arg(1).isNull() && !c.arg(2).isNull()
                        && o.Name.compare(c.arg(1), Qt::CaseInsensitive) == 0
                        && c.server.userName(c.db, o.Uid).compare(c.arg(2), Qt::CaseInsensitive) == 0)
                        data.append({ QVariant(qlonglong(o.Id)), o.Name, c.server.userName(c.db, o.Uid) });
                }
                return rowsOf(rowFields, data);
            });

        QString lookup = s.LookupQuery;
        lookup.replace(QLatin1String("#NAME#"), QLatin1String("{raw}"));
        server.addStatement(ScriptedSqlServer::exact(lookup), [test](Call &c) {
            QList<QVariantList> data;
            // OBJECT_ID resolves the name as the session sees it.
            const QStringList parts = SQLServerKind::ExtractOwnerAndItemName(c.match.captured(1));
            const int owner = parts.value(0).isEmpty() ? -1 : c.server.uidOf(c.db, parts.value(0));
            for (int uid : owner >= 0 ? QList<int> { owner } : QList<int> { c.session.Uid, 1 }) {
                for (const Object &o : c.db.Objects) {
                    if (data.isEmpty() && o.Uid == uid && o.Name.compare(parts.value(1), Qt::CaseInsensitive) == 0
                        && test.xtypes.contains(o.XType) && o.Category != 2)
                        data.append({ QVariant(qlonglong(o.Id)) });
                }
            }
            return rowsOf({ QStringLiteral("id") }, data);
        });
    }

    // Parameters of procedures and functions; tables keep the columns of their CREATE text.
    const ServerKind::VersionedStatements any = kind.VersionedObjectStatements(ObjectClass::StoredProcedure);
    server.addStatement(
        ScriptedSqlServer::exact(any.ParameterQuery1 + QStringLiteral("{num}") + any.ParameterQuery2), [](Call &c) {
            QList<QVariantList> data;
            for (const Object &o : c.db.Objects) {
                if (QString::number(o.Id) != c.arg(1))
                    continue;
                data = o.XType == QLatin1String("U") ? TableColumnRows(o.Text) : parameterRows(o);
            }
            return rowsOf({ QStringLiteral("ColName"), QStringLiteral("ColLength"), QStringLiteral("ColXprec"),
                              QStringLiteral("ColScale"), QStringLiteral("ColNullable"), QStringLiteral("ColType") },
                data);
        });

    const QString events = kind.VersionedObjectStatements(ObjectClass::Trigger).TriggerEventsQuery;
    server.addStatement(ScriptedSqlServer::exact(events + QStringLiteral("{raw}")), [](Call &c) {
        static const QRegularExpression fires(
            QStringLiteral(
                "\\b(?:FOR|AFTER|INSTEAD\\s+OF)\\s+((?:INSERT|UPDATE|DELETE)(?:\\s*,\\s*(?:INSERT|UPDATE|DELETE))*)"),
            QRegularExpression::CaseInsensitiveOption);
        QList<QVariantList> data;
        for (const Object &o : c.db.Objects) {
            if (QString::number(o.Id) != c.match.captured(1).trimmed() || o.XType != QLatin1String("TR"))
                continue;
            const QString list = fires.match(o.Text).captured(1).toUpper();
            data.append({ QVariant(list.contains(QLatin1String("INSERT")) ? 1 : 0),
                QVariant(list.contains(QLatin1String("UPDATE")) ? 1 : 0),
                QVariant(list.contains(QLatin1String("DELETE")) ? 1 : 0) });
        }
        return rowsOf({ QStringLiteral("ISINSERT"), QStringLiteral("ISUPDATE"), QStringLiteral("ISDELETE") }, data);
    });
}
