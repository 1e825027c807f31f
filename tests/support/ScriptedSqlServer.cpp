#include "ScriptedSqlServer.h"

#include "SQLParser.h"
#include "serverkinds/ServerKind.h"

#include <QTest>

namespace
{

const QString Prefix = QStringLiteral("[Microsoft][ODBC SQL Server Driver][SQL Server]");

QString unbracket(QString text)
{
    text.remove(QLatin1Char('['));
    text.remove(QLatin1Char(']'));
    return text;
}

bool same(const QString &a, const QString &b)
{
    return a.compare(b, Qt::CaseInsensitive) == 0;
}

std::shared_ptr<Recordset> rows(const QStringList &fields, const QList<QVariantList> &data)
{
    return std::make_shared<Recordset>(fields, data, -1);
}

BatchResult one(std::shared_ptr<Recordset> rs)
{
    BatchResult r;
    r.Results.append(std::move(rs));
    return r;
}

BatchResult done(qint64 affected = -1)
{
    return one(std::make_shared<Recordset>(QStringList(), QList<QVariantList>(), affected));
}

// The lines of a text as sp_helptext returns them: each row one line with its
// line end, long lines cut at 255 characters.
QStringList helpTextRows(const QString &text)
{
    QStringList out;
    qsizetype from = 0;
    while (from < text.size()) {
        qsizetype end = text.indexOf(QLatin1Char('\n'), from);
        end = end < 0 ? text.size() : end + 1;
        end = qMin(end, from + 255);
        out.append(text.mid(from, end - from));
        from = end;
    }
    return out;
}

// The object types a kind word of CREATE, ALTER or DROP stands for, the usual one first.
QStringList typesOf(const QString &word)
{
    static const QMap<QString, QStringList> types { { "PROCEDURE", { "P" } }, { "PROC", { "P" } }, { "VIEW", { "V" } },
        { "TRIGGER", { "TR" } }, { "FUNCTION", { "FN", "IF", "TF" } }, { "TABLE", { "U" } } };
    return types.value(word);
}

class ScriptedConnection : public SqlConnection
{
public:
    ScriptedConnection(ScriptedSqlServer &server, ScriptedSqlServer::Session session)
        : mServer(server)
        , mSession(std::move(session))
    {
    }
    bool IsOpen() const override { return mOpen && mServer.alive(mSession); }
    void Close() override { mOpen = false; }
    BatchResult Execute(const QString &sql) override
    {
        if (!mOpen)
            throw SqlError(
                0, QStringLiteral("ODBC"), QStringLiteral("Connection is not open"), QStringLiteral("08003"));
        if (!mServer.alive(mSession)) {
            mOpen = false;
            throw SqlError(0, QStringLiteral("ODBC"),
                QStringLiteral("[Microsoft][ODBC SQL Server Driver]Communication link failure"),
                QStringLiteral("08S01"));
        }
        return mServer.execute(mSession, sql);
    }

private:
    ScriptedSqlServer &mServer;
    ScriptedSqlServer::Session mSession;
    bool mOpen = true;
};

class ScriptedDriver : public SqlDriver
{
public:
    explicit ScriptedDriver(ScriptedSqlServer &server)
        : mServer(server)
    {
    }
    std::unique_ptr<SqlConnection> Open(const QString &connectionString) override
    {
        return std::make_unique<ScriptedConnection>(mServer, mServer.connect(connectionString));
    }

private:
    ScriptedSqlServer &mServer;
};

} // namespace

QString ScriptedSqlServer::Call::literal(int n) const
{
    return match.captured(n).replace(QLatin1String("''"), QLatin1String("'"));
}

QString ScriptedSqlServer::Call::arg(int n) const
{
    QString v = match.captured(n).trimmed();
    if (v.compare(QLatin1String("NULL"), Qt::CaseInsensitive) == 0)
        return QString();
    if (v.startsWith(QLatin1Char('\'')) && v.endsWith(QLatin1Char('\'')) && v.size() >= 2) {
        v = v.mid(1, v.size() - 2);
        v.replace(QLatin1String("''"), QLatin1String("'"));
    }
    return v;
}

ScriptedSqlServer::ScriptedSqlServer(const QString &serverName)
    : mServerName(serverName)
{
    addLogin(QStringLiteral("sa"), QStringLiteral("sa-pw"));
    addDatabase(QStringLiteral("master"));
    ParseCheck = [](const QString &) { return QString(); };
    addBuiltInStatements();
}

SqlError ScriptedSqlServer::serverError(long number, const QString &message, const QString &state)
{
    return SqlError(number, QStringLiteral("Microsoft OLE DB Provider for ODBC Drivers"),
        QStringLiteral("Line 1: ") + Prefix + message, state);
}

ScriptedSqlServer::Database &ScriptedSqlServer::addDatabase(const QString &name)
{
    Database db;
    db.Name = name;
    db.Users.append({ 0, QStringLiteral("public"), QString(), true, {} });
    db.Users.append({ 1, QStringLiteral("dbo"), QStringLiteral("sid:sa"), false, {} });
    db.Users.append({ 2, QStringLiteral("guest"), QString(), false, {} });
    mDatabases.append(db);
    return mDatabases.last();
}

ScriptedSqlServer::Database &ScriptedSqlServer::database(const QString &name)
{
    for (Database &db : mDatabases) {
        if (same(db.Name, name))
            return db;
    }
    QTest::qFail(qPrintable(QStringLiteral("ScriptedSqlServer: no database %1").arg(name)), __FILE__, __LINE__);
    return mDatabases.first();
}

void ScriptedSqlServer::addLogin(const QString &name, const QString &password)
{
    mLogins.append({ name, password, QStringLiteral("sid:") + name.toLower() });
}

int ScriptedSqlServer::addUser(const QString &databaseName, const QString &userName, const QString &login)
{
    Database &db = database(databaseName);
    int uid = 5;
    for (const User &u : db.Users) {
        if (!u.IsRole && u.Uid >= uid)
            uid = u.Uid + 1;
    }
    db.Users.append({ uid, userName, QStringLiteral("sid:") + login.toLower(), false, {} });
    return uid;
}

int ScriptedSqlServer::addRole(const QString &databaseName, const QString &roleName, int uid)
{
    Database &db = database(databaseName);
    if (uid == 0) {
        uid = 16400;
        for (const User &u : db.Users) {
            if (u.IsRole && u.Uid >= uid)
                uid = u.Uid + 1;
        }
    }
    db.Users.append({ uid, roleName, QString(), true, {} });
    return uid;
}

int ScriptedSqlServer::uidOf(const Database &db, const QString &userName) const
{
    for (const User &u : db.Users) {
        if (same(u.Name, userName))
            return u.Uid;
    }
    return -1;
}

QString ScriptedSqlServer::userName(const Database &db, int uid) const
{
    for (const User &u : db.Users) {
        if (u.Uid == uid)
            return u.Name;
    }
    return QString();
}

long ScriptedSqlServer::addObject(const QString &databaseName, const QString &owner, const QString &name,
    const QString &xtype, const QString &text, long parentId)
{
    Database &db = database(databaseName);
    Object o;
    o.Id = mNextId;
    mNextId += 16;
    o.Name = name;
    o.Uid = uidOf(db, owner.isEmpty() ? QStringLiteral("dbo") : owner);
    o.XType = xtype;
    o.Text = text;
    o.ParentId = parentId;
    db.Objects.append(o);
    return o.Id;
}

const ScriptedSqlServer::Object *ScriptedSqlServer::findObject(
    const QString &databaseName, const QString &owner, const QString &name) const
{
    for (const Database &db : mDatabases) {
        if (!same(db.Name, databaseName))
            continue;
        for (const Object &o : db.Objects) {
            if (same(o.Name, name) && (owner.isEmpty() || same(userName(db, o.Uid), owner)))
                return &o;
        }
    }
    return nullptr;
}

const ScriptedSqlServer::Object *ScriptedSqlServer::objectById(const QString &databaseName, long id) const
{
    for (const Database &db : mDatabases) {
        if (!same(db.Name, databaseName))
            continue;
        for (const Object &o : db.Objects) {
            if (o.Id == id)
                return &o;
        }
    }
    return nullptr;
}

ScriptedSqlServer::Object *ScriptedSqlServer::resolve(
    Database &db, const QString &writtenName, const Session &s, const std::function<bool(const Object &)> &pass)
{
    const QStringList parts = SQLServerKind::ExtractOwnerAndItemName(writtenName.trimmed());
    const QList<int> owners = parts[0].isEmpty() ? QList<int> { s.Uid, 1 } : QList<int> { uidOf(db, parts[0]) };
    for (int uid : owners) {
        for (Object &o : db.Objects) {
            if (o.Uid == uid && same(o.Name, parts[1]) && (!pass || pass(o)))
                return &o;
        }
    }
    return nullptr;
}

QString ScriptedSqlServer::exact(const QString &statementTemplate)
{
    static const QRegularExpression placeholder(QStringLiteral("\\{(text|num|raw|lit)\\}"));
    QString out;
    qsizetype from = 0;
    auto it = placeholder.globalMatch(statementTemplate);
    while (it.hasNext()) {
        const QRegularExpressionMatch m = it.next();
        out += QRegularExpression::escape(statementTemplate.mid(from, m.capturedStart() - from));
        const QString kind = m.captured(1);
        if (kind == QLatin1String("text"))
            out += QStringLiteral("(NULL|'(?:[^']|'')*')");
        else if (kind == QLatin1String("lit"))
            out += QStringLiteral("((?:[^']|'')*)");
        else if (kind == QLatin1String("num"))
            out += QStringLiteral("(NULL|-?\\d+(?:\\.\\d+)?)");
        else
            out += QStringLiteral("(.*?)");
        from = m.capturedEnd();
    }
    out += QRegularExpression::escape(statementTemplate.mid(from));
    return out;
}

void ScriptedSqlServer::addStatement(const QString &regex, Handler handler, QRegularExpression::PatternOptions options)
{
    QRegularExpression re(QStringLiteral("\\A(?:") + regex + QStringLiteral(")\\z"),
        options | QRegularExpression::DotMatchesEverythingOption);
    if (!re.isValid())
        QTest::qFail(qPrintable(QStringLiteral("bad statement pattern: ") + regex), __FILE__, __LINE__);
    // Later rules take precedence, so that tests can override built-in answers.
    mRules.prepend({ re, std::move(handler) });
}

void ScriptedSqlServer::stop()
{
    mRunning = false;
    ++mGeneration;
}

std::shared_ptr<SqlDriver> ScriptedSqlServer::driver()
{
    return std::make_shared<ScriptedDriver>(*this);
}

QMap<QString, QString> ScriptedSqlServer::ConnectionValues(const QString &text)
{
    QMap<QString, QString> values;
    qsizetype i = 0;
    while (i < text.size()) {
        const qsizetype eq = text.indexOf(QLatin1Char('='), i);
        if (eq < 0)
            break;
        const QString key = text.mid(i, eq - i).trimmed().toLower();
        QString value;
        i = eq + 1;
        if (i < text.size() && text.at(i) == QLatin1Char('{')) {
            // Braced: anything up to the single "}", a doubled one standing for itself.
            for (++i; i < text.size(); ++i) {
                if (text.at(i) == QLatin1Char('}') && i + 1 < text.size() && text.at(i + 1) == QLatin1Char('}'))
                    value += text.at(i++);
                else if (text.at(i) == QLatin1Char('}'))
                    break;
                else
                    value += text.at(i);
            }
            ++i;
        }
        while (i < text.size() && text.at(i) != QLatin1Char(';'))
            value += text.at(i++);
        values.insert(key, value);
        ++i;
    }
    return values;
}

ScriptedSqlServer::Session ScriptedSqlServer::connect(const QString &connectionString)
{
    const QMap<QString, QString> values = ConnectionValues(connectionString);
    if (values.value(QStringLiteral("driver")) != QLatin1String("SQL Server"))
        throw SqlError(0, QStringLiteral("ODBC"),
            QStringLiteral("[unixODBC][Driver Manager]Data source name not found and no default driver "
                           "specified"),
            QStringLiteral("IM002"));
    if (!mRunning || !same(values.value(QStringLiteral("server")), mServerName))
        throw SqlError(17, QStringLiteral("ODBC"),
            QStringLiteral("[Microsoft][ODBC SQL Server Driver][DBNETLIB]SQL Server does not exist or "
                           "access denied."),
            QStringLiteral("08001"));
    const bool trusted = same(values.value(QStringLiteral("trusted_connection")), QStringLiteral("yes"));
    const QString loginName = trusted ? mTrustedLogin : values.value(QStringLiteral("uid"));
    const Login *login = nullptr;
    for (const Login &l : mLogins) {
        if (same(l.Name, loginName) && (trusted || l.Password == values.value(QStringLiteral("pwd"))))
            login = &l;
    }
    if (!login)
        throw SqlError(18456, QStringLiteral("ODBC"),
            Prefix + QStringLiteral("Login failed for user '%1'.").arg(loginName), QStringLiteral("28000"));
    const QString dbName = values.value(QStringLiteral("database"), QStringLiteral("master"));
    for (Database &db : mDatabases) {
        if (!same(db.Name, dbName))
            continue;
        Session s;
        s.Database = db.Name;
        s.Uid = -1;
        for (const User &u : db.Users) {
            if (u.Sid == login->Sid)
                s.Uid = u.Uid;
        }
        if (s.Uid < 0)
            s.Uid = 2; // guest
        s.Generation = mGeneration;
        return s;
    }
    throw SqlError(4060, QStringLiteral("ODBC"),
        Prefix + QStringLiteral("Cannot open database requested in login '%1'. Login fails.").arg(dbName),
        QStringLiteral("42000"));
}

BatchResult ScriptedSqlServer::execute(Session &session, const QString &sql)
{
    Log.append(sql);
    Database &db = database(session.Database);
    if (session.ParseOnly && sql.trimmed().compare(QLatin1String("SET PARSEONLY OFF"), Qt::CaseInsensitive) != 0) {
        const QString error = ParseCheck(sql);
        if (!error.isEmpty())
            throw serverError(170, error);
        return done();
    }
    for (Rule &rule : mRules) {
        const QRegularExpressionMatch m = rule.Pattern.match(sql);
        if (!m.hasMatch())
            continue;
        Call call { *this, session, db, sql, m };
        return rule.Run(call);
    }
    Refused.append(sql);
    QTest::qFail(qPrintable(QStringLiteral("ScriptedSqlServer: unknown statement: ") + sql), __FILE__, __LINE__);
    throw serverError(50000, QStringLiteral("Statement not known to the scripted server."));
}

BatchResult ScriptedSqlServer::drop(
    Database &db, const QString &kindWord, const QString &name, bool ifExists, const Session &s)
{
    const QString word = kindWord.toUpper();
    Object *o = resolve(db, name, s);
    if (!o || !typesOf(word).contains(o->XType)) {
        if (ifExists)
            return done();
        const QString what = word == QLatin1String("PROC") ? QStringLiteral("procedure") : word.toLower();
        throw serverError(3701,
            QStringLiteral("Cannot drop the %1 '%2', because it does not exist in the system "
                           "catalog.")
                .arg(what, unbracket(name.trimmed())));
    }
    const long id = o->Id;
    db.Objects.removeIf(
        [&](const Object &x) { return x.Id == id || (word == QLatin1String("TABLE") && x.ParentId == id); });
    db.Protections.removeIf([&](const Protection &p) { return p.Id == id; });
    return done();
}

BatchResult ScriptedSqlServer::createOrAlter(Call &call, bool create)
{
    const QString word = call.match.captured(2).toUpper();
    QString xtype = typesOf(word).first();
    static const QRegularExpression table(
        QStringLiteral("RETURNS\\s+TABLE"), QRegularExpression::CaseInsensitiveOption);
    static const QRegularExpression tableVar(QStringLiteral("RETURNS\\s+@"));
    if (xtype == QLatin1String("FN") && table.match(call.sql).hasMatch())
        xtype = QStringLiteral("IF");
    else if (xtype == QLatin1String("FN") && tableVar.match(call.sql).hasMatch())
        xtype = QStringLiteral("TF");
    const QString verb = create ? QStringLiteral("CREATE") : QStringLiteral("ALTER");
    // Either spelling names a procedure.
    const SQLKeywordPatterns keywords = xtype == QLatin1String("P")
        ? SQLKeywordPatterns { { verb, QStringLiteral("PROC") }, { verb, QStringLiteral("PROCEDURE") } }
        : SQLKeywordPatterns { { verb, word } };
    const QString written = ExtractNameAfterPattern(keywords, call.sql);
    if (written.isEmpty() || written.startsWith(QLatin1Char('(')))
        throw serverError(170, QStringLiteral("Incorrect syntax near '%1'.").arg(word));
    const QStringList parts = SQLServerKind::ExtractOwnerAndItemName(written);
    Database &db = call.db;

    long parent = 0;
    if (xtype == QLatin1String("TR")) {
        SQLKeywordPatterns triggerKeywords { { verb, QStringLiteral("TRIGGER") } };
        const QString table = SQLServerKind().ExtractTableNameFromTrigger(call.sql, triggerKeywords);
        Object *t = table.isEmpty() ? nullptr : resolve(db, table, call.session);
        if (!t || (t->XType != QLatin1String("U") && t->XType != QLatin1String("V")))
            throw serverError(208, QStringLiteral("Invalid object name '%1'.").arg(unbracket(table)));
        parent = t->Id;
    }

    if (xtype == QLatin1String("V")) {
        // A view binds its tables when it is made; procedures resolve theirs late.
        static const QRegularExpression source(
            QStringLiteral("\\b(?:FROM|JOIN)\\s+((?:\\[[^\\]]+\\]|\\w+)(?:\\.(?:\\[[^\\]]+\\]|\\w+))?)"),
            QRegularExpression::CaseInsensitiveOption);
        for (auto it = source.globalMatch(call.sql); it.hasNext();) {
            const QString table = it.next().captured(1);
            if (!resolve(db, table, call.session))
                throw serverError(208, QStringLiteral("Invalid object name '%1'.").arg(unbracket(table)));
        }
    }

    Object *existing = resolve(db, written, call.session);
    if (!create) {
        if (!existing || existing->XType != xtype)
            throw serverError(208, QStringLiteral("Invalid object name '%1'.").arg(unbracket(written)));
        // The server keeps the text of an ALTER as a CREATE.
        existing->Text = ReplaceKeyword(call.sql, QStringLiteral("ALTER"), QStringLiteral("CREATE"));
        return done();
    }
    const int uid = parts[0].isEmpty() ? call.session.Uid : uidOf(db, parts[0]);
    if (uid < 0)
        throw serverError(2760,
            QStringLiteral("The specified schema name \"%1\" either does not exist or you do not "
                           "have permission to use it.")
                .arg(parts[0]));
    for (const Object &o : db.Objects) {
        if (o.Uid == uid && same(o.Name, parts[1]))
            throw serverError(
                2714, QStringLiteral("There is already an object named '%1' in the database.").arg(parts[1]));
    }
    Object o;
    o.Id = mNextId;
    mNextId += 16;
    o.Name = parts[1];
    o.Uid = uid;
    o.XType = xtype;
    o.Text = xtype == QLatin1String("U") ? QString() : call.sql;
    o.ParentId = parent;
    db.Objects.append(o);
    return done();
}

void ScriptedSqlServer::addBuiltInStatements()
{
    // Object ids, names, owners and texts.
    addStatement(exact(QStringLiteral("SELECT id FROM sysobjects so INNER JOIN sysusers su ON so.uid = su.uid WHERE "
                                      "so.name =  {text} AND su.name =  {text}")),
        [](Call &c) {
            QList<QVariantList> data;
            for (const Object &o : c.db.Objects) {
                if (same(o.Name, c.arg(1)) && same(c.server.userName(c.db, o.Uid), c.arg(2)))
                    data.append({ QVariant(qlonglong(o.Id)) });
            }
            return one(rows({ QStringLiteral("id") }, data));
        });
    addStatement(exact(QStringLiteral("SELECT id FROM sysobjects WHERE name =  {text}")), [](Call &c) {
        QList<QVariantList> data;
        for (const Object &o : c.db.Objects) {
            if (same(o.Name, c.arg(1)))
                data.append({ QVariant(qlonglong(o.Id)) });
        }
        return one(rows({ QStringLiteral("id") }, data));
    });
    addStatement(exact(QStringLiteral("SELECT so.name AS ObjectName, su.name AS UserName FROM sysobjects so INNER "
                                      "JOIN sysusers su ON so.uid = su.uid WHERE so.id =  {num}")),
        [](Call &c) {
            QList<QVariantList> data;
            for (const Object &o : c.db.Objects) {
                if (QString::number(o.Id) == c.arg(1))
                    data.append({ o.Name, c.server.userName(c.db, o.Uid) });
            }
            return one(rows({ QStringLiteral("ObjectName"), QStringLiteral("UserName") }, data));
        });
    addStatement(exact(QStringLiteral("SELECT name FROM sysusers WHERE uid IN (SELECT uid FROM sysobjects WHERE id = "
                                      "{raw})")),
        [](Call &c) {
            QList<QVariantList> data;
            for (const Object &o : c.db.Objects) {
                if (QString::number(o.Id) == c.match.captured(1).trimmed())
                    data.append({ c.server.userName(c.db, o.Uid) });
            }
            return one(rows({ QStringLiteral("name") }, data));
        });
    addStatement(exact(QStringLiteral("sp_helptext  {text}")), [](Call &c) {
        const Object *o = c.arg(1).isEmpty() ? nullptr : c.server.resolve(c.db, c.arg(1), c.session);
        if (!o || o->XType == QLatin1String("U"))
            throw serverError(15009,
                QStringLiteral("The object '%1' does not exist in database '%2' or is invalid "
                               "for this operation.")
                    .arg(c.arg(1), c.db.Name));
        QList<QVariantList> data;
        for (const QString &line : helpTextRows(o->Text))
            data.append({ line });
        return one(rows({ QStringLiteral("Text") }, data));
    });
    addStatement(exact(QStringLiteral("SELECT su.name AS [DatabaseUserName] FROM [dbo].[sysusers] su INNER JOIN "
                                      "[master].[dbo].[syslogins] sl ON su.sid = sl.sid WHERE LOWER(sl.name) =  "
                                      "{text}")),
        [](Call &c) {
            QList<QVariantList> data;
            for (const Login &l : c.server.mLogins) {
                if (l.Name.toLower() != c.arg(1))
                    continue;
                for (const User &u : c.db.Users) {
                    if (u.Sid == l.Sid)
                        data.append({ u.Name });
                }
            }
            return one(rows({ QStringLiteral("DatabaseUserName") }, data));
        });
    addStatement(exact(QStringLiteral("SELECT name FROM master.dbo.sysdatabases ORDER BY name")), [](Call &c) {
        QStringList names;
        for (const Database &db : c.server.mDatabases)
            names.append(db.Name);
        names.sort(Qt::CaseInsensitive);
        QList<QVariantList> data;
        for (const QString &n : names)
            data.append({ n });
        return one(rows({ QStringLiteral("name") }, data));
    });
    addStatement(exact(QStringLiteral("SET PARSEONLY ON")), [](Call &c) {
        c.session.ParseOnly = true;
        return done();
    });
    addStatement(exact(QStringLiteral("SET PARSEONLY OFF")), [](Call &c) {
        c.session.ParseOnly = false;
        return done();
    });
    // Nothing here waits on a lock: the timeout is taken and not kept.
    addStatement(QStringLiteral("SET LOCK_TIMEOUT -?\\d+"), [](Call &) { return done(); });

    // Programmable objects: CREATE, ALTER, DROP, and the drop script of the kind.
    static const QString leading = QStringLiteral("\\s*(?:(?:--[^\\n]*(?:\\n|\\z)|/\\*.*?\\*/)\\s*)*");
    addStatement(
        leading + QStringLiteral("(CREATE|ALTER)\\s+(PROCEDURE|PROC|VIEW|TRIGGER|FUNCTION|TABLE)\\b.*"),
        [](Call &c) { return c.server.createOrAlter(c, c.match.captured(1).toUpper() == QLatin1String("CREATE")); },
        QRegularExpression::CaseInsensitiveOption);
    addStatement(
        leading + QStringLiteral("DROP\\s+(PROCEDURE|PROC|VIEW|TRIGGER|FUNCTION|TABLE)\\s+(.+?)\\s*;?"),
        [](Call &c) { return c.server.drop(c.db, c.match.captured(1), c.match.captured(2), false, c.session); },
        QRegularExpression::CaseInsensitiveOption);
    addStatement(exact(QStringLiteral("IF EXISTS (SELECT * FROM dbo.sysobjects WHERE id = OBJECT_ID(N'{lit}') AND "
                                      "{raw}) \r\n\t DROP {raw} {raw}")),
        [](Call &c) {
            if (c.literal(1) != c.match.captured(4))
                throw serverError(50000, QStringLiteral("drop script names two objects"));
            return c.server.drop(c.db, c.match.captured(3), c.match.captured(4), true, c.session);
        });
    // A statement run in a transaction that is rolled back: it fails as it would, and leaves the catalogue as it was.
    addStatement(QStringLiteral("BEGIN TRANSACTION\r\n(.*)\r\nROLLBACK TRANSACTION"), [](Call &c) {
        const Database before = c.db;
        try {
            c.server.execute(c.session, c.match.captured(1));
        } catch (...) {
            c.db = before;
            throw;
        }
        c.db = before;
        return done();
    });
}
