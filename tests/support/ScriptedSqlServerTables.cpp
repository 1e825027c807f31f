// The scripted server's answers to the statements of tables, their columns and
// the permission model: the table list and lookups, sp_helprole,
// sp_helpuser, sp_helprotect, and GRANT, DENY and REVOKE.
#include "ScriptedSqlServerTables.h"

#include "ScriptedSqlServer.h"

#include "serverkinds/ServerKind.h"

#include <QMap>
#include <QRegularExpression>

namespace
{

bool same(const QString &a, const QString &b)
{
    return a.compare(b, Qt::CaseInsensitive) == 0;
}

BatchResult table(const QStringList &fields, const QList<QVariantList> &data)
{
    BatchResult r;
    r.Results.append(std::make_shared<Recordset>(fields, data, -1));
    return r;
}

BatchResult done()
{
    BatchResult r;
    r.Results.append(std::make_shared<Recordset>(QStringList(), QList<QVariantList>(), -1));
    return r;
}

using Call = ScriptedSqlServer::Call;
using Object = ScriptedSqlServer::Object;
using User = ScriptedSqlServer::User;
using Protection = ScriptedSqlServer::Protection;

// An object by its written name: without an owner the session's user's
// object comes first, then dbo's.
const Object *resolve(Call &c, const QString &written)
{
    const QStringList parts = SQLServerKind::ExtractOwnerAndItemName(written.trimmed());
    QList<int> owners;
    if (parts[0].isEmpty())
        owners << c.session.Uid << 1;
    else
        owners << c.server.uidOf(c.db, parts[0]);
    for (int uid : owners) {
        for (const Object &o : c.db.Objects) {
            if (o.Uid == uid && same(o.Name, parts[1]))
                return &o;
        }
    }
    return nullptr;
}

// sp_helprotect spells actions in mixed case and pads the protect type.
QString actionWord(const QString &upper)
{
    return upper.left(1) + upper.mid(1).toLower();
}

} // namespace

void AddTableAndPermissionStatements(ScriptedSqlServer &server)
{
    const QString tableColumns = QStringLiteral("SELECT so.id, so.name, su.name AS [UserName] FROM sysobjects so INNER "
                                                "JOIN sysusers su ON so.uid = su.uid WHERE ");
    const QStringList tableFields { QStringLiteral("id"), QStringLiteral("name"), QStringLiteral("UserName") };

    server.addStatement(
        ScriptedSqlServer::exact(QStringLiteral(
            "SELECT id, name FROM sysobjects WHERE OBJECTPROPERTY(id, N'IsUserTable') = 1 ORDER BY name")),
        [](Call &c) {
            QList<const Object *> tables;
            for (const Object &o : c.db.Objects) {
                if (o.XType == QLatin1String("U"))
                    tables.append(&o);
            }
            std::stable_sort(tables.begin(), tables.end(),
                [](const Object *a, const Object *b) { return a->Name.compare(b->Name, Qt::CaseInsensitive) < 0; });
            QList<QVariantList> data;
            for (const Object *o : tables)
                data.append({ qlonglong(o->Id), o->Name });
            return table({ QStringLiteral("id"), QStringLiteral("name") }, data);
        });
    server.addStatement(
        ScriptedSqlServer::exact(tableColumns + QStringLiteral("so.id =  {num}")), [tableFields](Call &c) {
            QList<QVariantList> data;
            for (const Object &o : c.db.Objects) {
                if (QString::number(o.Id) == c.arg(1))
                    data.append({ qlonglong(o.Id), o.Name, c.server.userName(c.db, o.Uid) });
            }
            return table(tableFields, data);
        });
    server.addStatement(ScriptedSqlServer::exact(tableColumns
                            + QStringLiteral("OBJECTPROPERTY(so.id, N'IsUserTable') = 1 AND so.name =  {text}"))
            + QStringLiteral("(?: AND su\\.name =  (NULL|'(?:[^']|'')*'))?"),
        [tableFields](Call &c) {
            const bool byOwner = c.match.capturedLength(2) > 0;
            QList<QVariantList> data;
            for (const Object &o : c.db.Objects) {
                const QString owner = c.server.userName(c.db, o.Uid);
                if (o.XType == QLatin1String("U") && same(o.Name, c.arg(1)) && (!byOwner || same(owner, c.arg(2))))
                    data.append({ qlonglong(o.Id), o.Name, owner });
            }
            return table(tableFields, data);
        });
    // Permissions.
    server.addStatement(ScriptedSqlServer::exact(QStringLiteral(
                            "SELECT so.name AS [ObjectName], su.name AS [OwnerName] FROM sysobjects so INNER "
                            "JOIN sysusers su ON so.uid = su.uid WHERE so.id = {num} ")),
        [](Call &c) {
            QList<QVariantList> data;
            for (const Object &o : c.db.Objects) {
                if (QString::number(o.Id) == c.arg(1))
                    data.append({ o.Name, c.server.userName(c.db, o.Uid) });
            }
            return table({ QStringLiteral("ObjectName"), QStringLiteral("OwnerName") }, data);
        });
    server.addStatement(ScriptedSqlServer::exact(QStringLiteral("EXECUTE sp_helprole")), [](Call &c) {
        QList<QVariantList> data;
        for (const User &u : c.db.Users) {
            if (u.IsRole)
                data.append({ u.Name, u.Uid, 0 });
        }
        return table({ QStringLiteral("RoleName"), QStringLiteral("RoleId"), QStringLiteral("IsAppRole") }, data);
    });
    // One row per user and role it belongs to, ordered by user.
    server.addStatement(ScriptedSqlServer::exact(QStringLiteral("EXECUTE sp_helpuser")), [](Call &c) {
        QList<const User *> users;
        for (const User &u : c.db.Users) {
            if (!u.IsRole)
                users.append(&u);
        }
        std::stable_sort(users.begin(), users.end(),
            [](const User *a, const User *b) { return a->Name.compare(b->Name, Qt::CaseInsensitive) < 0; });
        QList<QVariantList> data;
        for (const User *u : users) {
            const QStringList roles = u->Roles.isEmpty() ? QStringList { QStringLiteral("public") } : u->Roles;
            for (const QString &role : roles)
                data.append({ u->Name, role, u->Sid.mid(4), c.db.Name, u->Uid, u->Sid });
        }
        return table({ QStringLiteral("UserName"), QStringLiteral("RoleName"), QStringLiteral("LoginName"),
                         QStringLiteral("DefDBName"), QStringLiteral("UserID"), QStringLiteral("SID") },
            data);
    });
    server.addStatement(ScriptedSqlServer::exact(QStringLiteral("EXECUTE sp_helprotect {text}"))
            + QStringLiteral("(?:,(NULL|'(?:[^']|'')*'))?"),
        [](Call &c) {
            const Object *o = resolve(c, c.arg(1));
            const bool oneGrantee = c.match.capturedLength(2) > 0;
            QList<const Protection *> found;
            for (const Protection &p : c.db.Protections) {
                if (o && p.Id == o->Id && (!oneGrantee || same(c.server.userName(c.db, p.Uid), c.arg(2))))
                    found.append(&p);
            }
            if (found.isEmpty())
                throw ScriptedSqlServer::serverError(
                    15330, QStringLiteral("There are no matching rows on which to report."));
            std::stable_sort(found.begin(), found.end(), [&](const Protection *a, const Protection *b) {
                return c.server.userName(c.db, a->Uid).compare(c.server.userName(c.db, b->Uid), Qt::CaseInsensitive)
                    < 0;
            });
            QList<QVariantList> data;
            for (const Protection *p : found)
                data.append({ c.server.userName(c.db, o->Uid), o->Name, c.server.userName(c.db, p->Uid),
                    QStringLiteral("dbo"), p->ProtectType.leftJustified(10), p->Action, QStringLiteral(".") });
            return table({ QStringLiteral("Owner"), QStringLiteral("Object"), QStringLiteral("Grantee"),
                             QStringLiteral("Grantor"), QStringLiteral("ProtectType"), QStringLiteral("Action"),
                             QStringLiteral("Column") },
                data);
        });
    server.addStatement(
        ScriptedSqlServer::exact(QStringLiteral("SELECT COUNT(*) As [Exists] FROM sysusers WHERE name = {text}")),
        [](Call &c) {
            int count = 0;
            for (const User &u : c.db.Users) {
                if (same(u.Name, c.arg(1)))
                    ++count;
            }
            return table({ QStringLiteral("Exists") }, { { count } });
        });
    server.addStatement(
        QStringLiteral("(GRANT|DENY|REVOKE) (EXECUTE|SELECT|INSERT|UPDATE|DELETE|REFERENCES) ON (.+) TO "
                       "\\[(.*)\\]"),
        [](Call &c) {
            const Object *o = resolve(c, c.match.captured(3));
            if (!o)
                throw ScriptedSqlServer::serverError(15151,
                    QStringLiteral("Cannot find the object '%1'.").arg(c.match.captured(3)), QStringLiteral("42000"));
            const int uid = c.server.uidOf(c.db, c.match.captured(4));
            if (uid < 0)
                throw ScriptedSqlServer::serverError(15151,
                    QStringLiteral("Cannot find the user '%1', because it does not exist or you do not have "
                                   "permission.")
                        .arg(c.match.captured(4)));
            const QString action = actionWord(c.match.captured(2));
            c.db.Protections.removeIf(
                [&](const Protection &p) { return p.Id == o->Id && p.Uid == uid && same(p.Action, action); });
            const QString verb = c.match.captured(1);
            if (verb != QLatin1String("REVOKE"))
                c.db.Protections.append({ o->Id, uid, action, actionWord(verb) });
            return done();
        });
}

QList<QVariantList> TableColumnRows(const QString &createTableText)
{
    QList<QVariantList> rows;
    const qsizetype open = createTableText.indexOf(QLatin1Char('('));
    const qsizetype close = createTableText.lastIndexOf(QLatin1Char(')'));
    if (open < 0 || close <= open)
        return rows;
    // Split the column list at the commas outside parentheses.
    QStringList columns;
    int depth = 0;
    QString current;
    for (QChar ch : QStringView(createTableText).mid(open + 1, close - open - 1)) {
        if (ch == QLatin1Char('('))
            ++depth;
        else if (ch == QLatin1Char(')'))
            --depth;
        if (ch == QLatin1Char(',') && depth == 0) {
            columns.append(current);
            current.clear();
        } else {
            current += ch;
        }
    }
    columns.append(current);

    static const QRegularExpression column(
        QStringLiteral("^\\s*\\[?(\\w+)\\]?\\s+(\\w+)(?:\\s*\\(\\s*(\\d+)(?:\\s*,\\s*(\\d+))?\\s*\\))?(.*)$"),
        QRegularExpression::CaseInsensitiveOption | QRegularExpression::DotMatchesEverythingOption);
    static const QRegularExpression notNull(
        QStringLiteral("\\bNOT\\s+NULL\\b"), QRegularExpression::CaseInsensitiveOption);
    static const QMap<QString, int> fixedLength { { QStringLiteral("int"), 4 }, { QStringLiteral("smallint"), 2 },
        { QStringLiteral("bigint"), 8 }, { QStringLiteral("datetime"), 8 }, { QStringLiteral("bit"), 1 } };
    for (const QString &text : columns) {
        const QRegularExpressionMatch m = column.match(text);
        if (!m.hasMatch())
            continue;
        const QString type = m.captured(2).toLower();
        const bool precise = type == QLatin1String("numeric") || type == QLatin1String("decimal");
        const int size = m.captured(3).toInt();
        const int length = precise ? (size <= 9 ? 5 : size <= 19 ? 9 : 13) : fixedLength.value(type, size);
        rows.append({ m.captured(1), length, precise ? size : (type == QLatin1String("int") ? 10 : 0),
            precise ? m.captured(4).toInt() : 0, notNull.match(m.captured(5)).hasMatch() ? 0 : 1, type });
    }
    return rows;
}
