#include "ScriptedSqlServerCatalogue.h"

#include "ScriptedSqlServer.h"
#include "serverkinds/ServerKind.h"

#include <QRegularExpression>

namespace
{

using Call = ScriptedSqlServer::Call;
using Object = ScriptedSqlServer::Object;
using User = ScriptedSqlServer::User;
using Protection = ScriptedSqlServer::Protection;

bool same(const QString &a, const QString &b)
{
    return a.compare(b, Qt::CaseInsensitive) == 0;
}

QString user(Call &c, int uid)
{
    return c.server.userName(c.db, uid);
}

BatchResult rows(const QStringList &fields, const QList<QVariantList> &data = {})
{
    BatchResult r;
    r.Results.append(std::make_shared<Recordset>(fields, data, -1));
    return r;
}

template <class T> QList<const T *> sortedByName(const QList<T> &all, const std::function<bool(const T &)> &pass)
{
    QList<const T *> found;
    for (const T &x : all) {
        if (pass(x))
            found.append(&x);
    }
    std::stable_sort(found.begin(), found.end(),
        [](const T *a, const T *b) { return a->Name.compare(b->Name, Qt::CaseInsensitive) < 0; });
    return found;
}

// Fields id, name, UserName of the objects that pass.
BatchResult objectRows(Call &c, const std::function<bool(const Object &)> &pass)
{
    QList<QVariantList> data;
    for (const Object &o : c.db.Objects) {
        if (pass(o))
            data.append({ qlonglong(o.Id), o.Name, user(c, o.Uid) });
    }
    return rows({ "id", "name", "UserName" }, data);
}

// "Select" for SELECT: sp_helprotect spells actions and protect types so.
QString word(const QString &upper)
{
    return upper.left(1) + upper.mid(1).toLower();
}

// The columns of a table or the parameters of a procedure or function as
// syscolumns lists them (ColName, ColLength, ColXprec, ColScale, ColNullable,
// ColType), read from its CREATE text: "name type[(size[, scale])] [NOT NULL]"
// inside the table's parentheses, "@name type[(size[, scale])]" before AS
// otherwise, after the return value of a scalar function, which has no name.
QList<QVariantList> columnRows(const Object &o)
{
    static const QString type = QStringLiteral("\\s+(\\w+)(?:\\s*\\(\\s*(\\d+)(?:\\s*,\\s*(\\d+))?\\s*\\))?");
    static const QRegularExpression column(
        QStringLiteral("\\[?(\\w+)\\]?") + type + QStringLiteral("(\\s+NOT\\s+NULL)?"),
        QRegularExpression::CaseInsensitiveOption);
    static const QRegularExpression parameter(QStringLiteral("(@\\w+)") + type);
    static const QRegularExpression returns(
        QStringLiteral("RETURNS()") + type, QRegularExpression::CaseInsensitiveOption);
    static const QRegularExpression as(QStringLiteral("\\bAS\\b"), QRegularExpression::CaseInsensitiveOption);
    const auto row = [](const QRegularExpressionMatch &m) {
        const QString t = m.captured(2).toLower();
        const bool precise = t == QLatin1String("numeric") || t == QLatin1String("decimal");
        const int size = m.captured(3).toInt();
        return QVariantList { m.captured(1), m.capturedLength(3) ? size : 4, precise ? size : 0,
            precise ? m.captured(4).toInt() : 0, m.capturedLength(5) ? 0 : 1, t };
    };
    QList<QVariantList> out;
    if (o.XType == QLatin1String("U")) {
        const qsizetype open = o.Text.indexOf(QLatin1Char('('));
        for (auto it = column.globalMatch(o.Text.mid(open + 1, o.Text.lastIndexOf(QLatin1Char(')')) - open - 1));
             it.hasNext();)
            out.append(row(it.next()));
        return out;
    }
    const QString header = o.Text.left(o.Text.indexOf(as));
    if (o.XType == QLatin1String("FN") && returns.match(header).hasMatch())
        out.append(row(returns.match(header)));
    for (auto it = parameter.globalMatch(header); it.hasNext();)
        out.append(row(it.next()));
    return out;
}

} // namespace

void AddCatalogueStatements(ScriptedSqlServer &server)
{
    // Tables and the permission model.
    const QString tableRows = QStringLiteral("SELECT so.id, so.name, su.name AS [UserName] FROM sysobjects so INNER "
                                             "JOIN sysusers su ON so.uid = su.uid WHERE ");
    server.addStatement(
        ScriptedSqlServer::exact(
            "SELECT id, name FROM sysobjects WHERE OBJECTPROPERTY(id, N'IsUserTable') = 1 ORDER BY name"),
        [](Call &c) {
            QList<QVariantList> data;
            for (const Object *o :
                sortedByName<Object>(c.db.Objects, [](const Object &o) { return o.XType == QLatin1String("U"); }))
                data.append({ qlonglong(o->Id), o->Name });
            return rows({ "id", "name" }, data);
        });
    server.addStatement(ScriptedSqlServer::exact(tableRows + "so.id =  {num}"),
        [](Call &c) { return objectRows(c, [&](const Object &o) { return QString::number(o.Id) == c.arg(1); }); });
    server.addStatement(
        ScriptedSqlServer::exact(tableRows + "OBJECTPROPERTY(so.id, N'IsUserTable') = 1 AND so.name =  {text}")
            + "(?: AND su\\.name =  (NULL|'(?:[^']|'')*'))?",
        [](Call &c) {
            const bool byOwner = c.match.capturedLength(2) > 0;
            return objectRows(c, [&](const Object &o) {
                return o.XType == QLatin1String("U") && same(o.Name, c.arg(1))
                    && (!byOwner || same(user(c, o.Uid), c.arg(2)));
            });
        });
    server.addStatement(
        ScriptedSqlServer::exact("SELECT so.name AS [ObjectName], su.name AS [OwnerName] FROM "
                                 "sysobjects so INNER JOIN sysusers su ON so.uid = su.uid WHERE so.id = "
                                 "{num} "),
        [](Call &c) {
            const Object *o = c.server.objectById(c.db.Name, c.arg(1).toLong());
            return rows({ "ObjectName", "OwnerName" },
                o ? QList<QVariantList> { { o->Name, user(c, o->Uid) } } : QList<QVariantList>());
        });
    server.addStatement(ScriptedSqlServer::exact("EXECUTE sp_helprole"), [](Call &c) {
        QList<QVariantList> data;
        for (const User &u : c.db.Users) {
            if (u.IsRole)
                data.append({ u.Name, u.Uid, 0 });
        }
        return rows({ "RoleName", "RoleId", "IsAppRole" }, data);
    });
    // One row per user and role it belongs to, ordered by user.
    server.addStatement(ScriptedSqlServer::exact("EXECUTE sp_helpuser"), [](Call &c) {
        QList<QVariantList> data;
        for (const User *u : sortedByName<User>(c.db.Users, [](const User &u) { return !u.IsRole; })) {
            for (const QString &role : u->Roles.isEmpty() ? QStringList { "public" } : u->Roles)
                data.append({ u->Name, role, u->Sid.mid(4), c.db.Name, u->Uid, u->Sid });
        }
        return rows({ "UserName", "RoleName", "LoginName", "DefDBName", "UserID", "SID" }, data);
    });
    server.addStatement(
        ScriptedSqlServer::exact("EXECUTE sp_helprotect {text}") + "(?:,(NULL|'(?:[^']|'')*'))?", [](Call &c) {
            const Object *o = c.server.resolve(c.db, c.arg(1), c.session);
            const bool oneGrantee = c.match.capturedLength(2) > 0;
            QList<const Protection *> found;
            for (const Protection &p : c.db.Protections) {
                if (o && p.Id == o->Id && (!oneGrantee || same(user(c, p.Uid), c.arg(2))))
                    found.append(&p);
            }
            if (found.isEmpty())
                throw ScriptedSqlServer::serverError(15330, "There are no matching rows on which to report.");
            std::stable_sort(found.begin(), found.end(), [&](const Protection *a, const Protection *b) {
                return user(c, a->Uid).compare(user(c, b->Uid), Qt::CaseInsensitive) < 0;
            });
            QList<QVariantList> data;
            for (const Protection *p : found)
                data.append({ user(c, o->Uid), o->Name, user(c, p->Uid), "dbo", p->ProtectType.leftJustified(10),
                    p->Action, "." });
            return rows({ "Owner", "Object", "Grantee", "Grantor", "ProtectType", "Action", "Column" }, data);
        });
    server.addStatement(
        ScriptedSqlServer::exact("SELECT COUNT(*) As [Exists] FROM sysusers WHERE name = {text}"), [](Call &c) {
            const auto n = std::count_if(
                c.db.Users.begin(), c.db.Users.end(), [&](const User &u) { return same(u.Name, c.arg(1)); });
            return rows({ "Exists" }, { { int(n) } });
        });
    server.addStatement(
        "(GRANT|DENY|REVOKE) (EXECUTE|SELECT|INSERT|UPDATE|DELETE|REFERENCES) ON (.+) TO (\\[(?:[^\\]]|\\]\\])*\\])",
        [](Call &c) {
            const Object *o = c.server.resolve(c.db, c.match.captured(3), c.session);
            const QString grantee = SQLServerKind::UnquoteBracketed(c.match.captured(4));
            if (!o)
                throw ScriptedSqlServer::serverError(
                    15151, QStringLiteral("Cannot find the object '%1'.").arg(c.match.captured(3)));
            const int uid = c.server.uidOf(c.db, grantee);
            if (uid < 0)
                throw ScriptedSqlServer::serverError(15151,
                    QStringLiteral("Cannot find the user '%1', because it does not exist or you do not have "
                                   "permission.")
                        .arg(grantee));
            const QString action = word(c.match.captured(2));
            c.db.Protections.removeIf(
                [&](const Protection &p) { return p.Id == o->Id && p.Uid == uid && same(p.Action, action); });
            if (c.match.captured(1) != QLatin1String("REVOKE"))
                c.db.Protections.append({ o->Id, uid, action, word(c.match.captured(1)) });
            return rows({});
        });

    // Versioned objects; their parameter statement gives the columns of tables too.
    const SQLServerKind kind;
    for (ObjectClass cls :
        { ObjectClass::StoredProcedure, ObjectClass::View, ObjectClass::Trigger, ObjectClass::UserDefinedFunction }) {
        const ServerKind::VersionedStatements s = kind.VersionedObjectStatements(cls);
        const QStringList xtypes = cls == ObjectClass::StoredProcedure ? QStringList { "P" }
            : cls == ObjectClass::View                                 ? QStringList { "V" }
            : cls == ObjectClass::Trigger                              ? QStringList { "TR" }
                                                                       : QStringList { "FN", "IF", "TF" };
        const bool isTrigger = cls == ObjectClass::Trigger;
        // Functions are listed with system ones; the other lists leave category 2 out.
        const bool withSystem = cls == ObjectClass::UserDefinedFunction;

        server.addStatement(ScriptedSqlServer::exact(s.ListQuery), [=](Call &c) {
            QList<QVariantList> data;
            for (const Object *o : sortedByName<Object>(c.db.Objects,
                     [&](const Object &o) { return xtypes.contains(o.XType) && (withSystem || o.Category != 2); })) {
                data.append({ qlonglong(o->Id), o->Name });
                if (isTrigger)
                    data.last().append(qlonglong(o->ParentId));
            }
            return rows(isTrigger ? QStringList { "id", "name", "parent_obj" } : QStringList { "id", "name" }, data);
        });
        server.addStatement(ScriptedSqlServer::exact(s.DBQueryStart + s.DBQueryByID + " {num}"), [=](Call &c) {
            return objectRows(
                c, [&](const Object &o) { return xtypes.contains(o.XType) && QString::number(o.Id) == c.arg(1); });
        });
        server.addStatement(
            ScriptedSqlServer::exact(s.DBQueryStart + s.DBQueryByName + " {text}" + s.DBQueryByOwner + " {text}"),
            [=](Call &c) {
                return objectRows(c, [&](const Object &o) {
                    return xtypes.contains(o.XType) && !c.arg(1).isNull() && !c.arg(2).isNull()
                        && same(o.Name, c.arg(1)) && same(user(c, o.Uid), c.arg(2));
                });
            });
        server.addStatement(
            ScriptedSqlServer::exact(QString(s.LookupQuery).replace(QLatin1String("#NAME#"), QLatin1String("{lit}"))),
            [=](Call &c) {
                const Object *o = c.server.resolve(c.db, c.literal(1), c.session,
                    [&](const Object &o) { return xtypes.contains(o.XType) && o.Category != 2; });
                return rows({ "id" }, o ? QList<QVariantList> { { qlonglong(o->Id) } } : QList<QVariantList>());
            });
    }

    const ServerKind::VersionedStatements any = kind.VersionedObjectStatements(ObjectClass::StoredProcedure);
    server.addStatement(ScriptedSqlServer::exact(any.ParameterQuery1 + "{num}" + any.ParameterQuery2), [](Call &c) {
        const Object *o = c.server.objectById(c.db.Name, c.arg(1).toLong());
        return rows({ "ColName", "ColLength", "ColXprec", "ColScale", "ColNullable", "ColType" },
            o ? columnRows(*o) : QList<QVariantList>());
    });

    const QString events = kind.VersionedObjectStatements(ObjectClass::Trigger).TriggerEventsQuery;
    server.addStatement(ScriptedSqlServer::exact(events + "{raw}"), [](Call &c) {
        static const QRegularExpression fires(
            "\\b(?:FOR|AFTER|INSTEAD\\s+OF)\\s+((?:INSERT|UPDATE|DELETE)(?:\\s*,\\s*(?:INSERT|UPDATE|DELETE))*)",
            QRegularExpression::CaseInsensitiveOption);
        const Object *o = c.server.objectById(c.db.Name, c.match.captured(1).trimmed().toLong());
        QList<QVariantList> data;
        if (o && o->XType == QLatin1String("TR")) {
            const QString list = fires.match(o->Text).captured(1).toUpper();
            data.append({ int(list.contains("INSERT")), int(list.contains("UPDATE")), int(list.contains("DELETE")) });
        }
        return rows({ "ISINSERT", "ISUPDATE", "ISDELETE" }, data);
    });
}
