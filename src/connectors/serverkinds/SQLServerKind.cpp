#include "ServerKind.h"
#include "StatementParts.h"

#include "driver/OdbcDriver.h"

namespace
{

// A text literal with its leading blank, as KORVOSQL::sqlFMTOUT makes it; the
// statements below keep their own blank before it, so two blanks stand there.
QString textLiteral(const QString &text)
{
    return text.isEmpty() ? QStringLiteral(" NULL") : QLatin1Char(' ') + StatementParts::Quoted(text);
}

// A value of the ODBC connection string: between braces, "}" doubled, when it
// holds anything the string's syntax would read; always so for a password.
QString connectionValue(const QString &value, bool always)
{
    static const QString special = QStringLiteral(";{}=");
    bool needs = always || value != value.trimmed();
    for (const QChar c : value)
        needs = needs || special.contains(c);
    if (!needs)
        return value;
    QString doubled = value;
    doubled.replace(QLatin1Char('}'), QLatin1String("}}"));
    return QLatin1Char('{') + doubled + QLatin1Char('}');
}

} // namespace

QString SQLServerKind::CreateConnectionString(const QString &server, const QString &database, const QString &userName,
    const QString &password, bool useOsLogin) const
{
    const QString start = QStringLiteral("Driver={SQL Server};Server=") + connectionValue(server, false)
        + QStringLiteral(";Database=") + connectionValue(database, false);
    if (useOsLogin)
        return start + QStringLiteral(";Trusted_Connection=yes;");
    return start + QStringLiteral(";Uid=") + connectionValue(userName, false) + QStringLiteral(";Pwd=")
        + connectionValue(password, true) + QStringLiteral(";");
}

std::shared_ptr<SqlDriver> SQLServerKind::DefaultDriver() const
{
    return std::make_shared<OdbcDriver>();
}

ServerKind::ConnectFailure SQLServerKind::ClassifyConnectError(const SqlError &error) const
{
    switch (error.Number) {
    case 4060: // cannot open database requested by the login
    case 911:
        return ConnectFailure::DatabaseMissing;
    case 18456:
    case 18452:
        return ConnectFailure::LoginFailed;
    case 17: // server does not exist or access denied
    case 20009: // FreeTDS: server unavailable or does not exist
        return ConnectFailure::ServerNotFound;
    default:
        break;
    }
    if (error.State == QLatin1String("08001") || error.State == QLatin1String("08S01"))
        return ConnectFailure::ServerNotFound;
    if (error.State == QLatin1String("28000"))
        return ConnectFailure::LoginFailed;
    return ConnectFailure::Other;
}

QString SQLServerKind::DatabaseListStatement() const
{
    return QStringLiteral("SELECT name FROM master.dbo.sysdatabases ORDER BY name");
}

QString SQLServerKind::ObjectIDStatement(const QString &writtenName, const QString &writtenOwner) const
{
    const QString name = UnquoteBracketed(writtenName);
    const QString owner = UnquoteBracketed(writtenOwner);
    if (!owner.isEmpty())
        return QStringLiteral("SELECT id FROM sysobjects so INNER JOIN sysusers su ON so.uid = su.uid WHERE so.name "
                              "= ")
            + textLiteral(name) + QStringLiteral(" AND su.name = ") + textLiteral(owner);
    return QStringLiteral("SELECT id FROM sysobjects WHERE name = ") + textLiteral(name);
}

QString SQLServerKind::ObjectNameStatement(const QString &idLiteral) const
{
    return QStringLiteral("SELECT so.name AS ObjectName, su.name AS UserName FROM sysobjects so INNER JOIN sysusers "
                          "su ON so.uid = su.uid WHERE so.id = ")
        + idLiteral;
}

QString SQLServerKind::ObjectOwnerStatement(const QString &id) const
{
    return QStringLiteral("SELECT name FROM sysusers WHERE uid IN (SELECT uid FROM sysobjects WHERE id = ")
        + StatementParts::NumberOrNull(id) + QStringLiteral(")");
}

QString SQLServerKind::ObjectTextStatement(const QString &, const QString &qualifiedName) const
{
    return QStringLiteral("sp_helptext ") + textLiteral(qualifiedName);
}

QString SQLServerKind::DatabaseUserNameStatement(const QString &loginLiteral) const
{
    return QStringLiteral("SELECT su.name AS [DatabaseUserName] FROM [dbo].[sysusers] su INNER JOIN "
                          "[master].[dbo].[syslogins] sl ON su.sid = sl.sid WHERE LOWER(sl.name) = ")
        + loginLiteral;
}

QStringList SQLServerKind::FunctionProbeStatements() const
{
    return { QStringLiteral("CREATE FUNCTION udfCheck_SQL_SERVER_VERSION () RETURNS INT AS BEGIN RETURN 1 END"),
        QStringLiteral("DROP FUNCTION udfCheck_SQL_SERVER_VERSION") };
}

QString SQLServerKind::QuoteIdentifier(const QString &name) const
{
    return BracketIdent(name);
}

QString SQLServerKind::QuoteLiteral(const QString &text) const
{
    return StatementParts::Quoted(text);
}

QString SQLServerKind::UnquoteName(const QString &written) const
{
    return UnquoteBracketed(written);
}

QString SQLServerKind::NameLengthRefusal(const QString &name) const
{
    constexpr int limit = 128;
    if (name.size() <= limit)
        return QString();
    return QStringLiteral("The name '%1' is %2 characters long. SQL Server keeps names of at most %3 characters.")
        .arg(name)
        .arg(name.size())
        .arg(limit);
}

QString SQLServerKind::FormatName(const QString &owner, const QString &name) const
{
    return Bracketed(owner, name);
}

QString SQLServerKind::BracketIdent(const QString &name)
{
    QString doubled = name;
    doubled.replace(QLatin1Char(']'), QLatin1String("]]"));
    return QLatin1Char('[') + doubled + QLatin1Char(']');
}

QString SQLServerKind::Bracketed(const QString &owner, const QString &name)
{
    return owner.isEmpty() ? BracketIdent(name) : BracketIdent(owner) + QLatin1Char('.') + BracketIdent(name);
}

QString SQLServerKind::UnquoteBracketed(const QString &written)
{
    if (written.size() >= 2 && written.startsWith(QLatin1Char('[')) && written.endsWith(QLatin1Char(']'))) {
        const QString inner = written.mid(1, written.size() - 2);
        if (!inner.contains(QLatin1Char('[')) && !QString(inner).remove(QLatin1String("]]")).contains(QLatin1Char(']')))
            return QString(inner).replace(QLatin1String("]]"), QLatin1String("]"));
    }
    QString plain = written;
    plain.remove(QLatin1Char('['));
    plain.remove(QLatin1Char(']'));
    return plain;
}

QStringList SQLServerKind::SplitName(const QString &name) const
{
    return ExtractOwnerAndItemName(name);
}

QStringList SQLServerKind::ExtractOwnerAndItemName(const QString &name)
{
    QStringList parts = SplitAtOwnerDot(name, QLatin1Char('['), QLatin1Char(']'));
    for (QString &part : parts)
        part = UnquoteBracketed(part);
    return parts;
}

SQLKeywordPatterns SQLServerKind::CreatePatterns(ObjectClass cls) const
{
    switch (cls) {
    case ObjectClass::StoredProcedure:
        return { { "CREATE", "PROC" }, { "CREATE", "PROCEDURE" } };
    case ObjectClass::View:
        return { { "CREATE", "VIEW" } };
    case ObjectClass::Trigger:
        return { { "CREATE", "TRIGGER" } };
    case ObjectClass::UserDefinedFunction:
        return { { "CREATE", "FUNCTION" } };
    case ObjectClass::Table:
        return { { "CREATE", "TABLE" } };
    }
    return {};
}

QString SQLServerKind::ReplacingText(const QString &createText) const
{
    return ReplaceKeyword(createText, QStringLiteral("CREATE"), QStringLiteral("ALTER"));
}

QString SQLServerKind::TemporaryName(const QDateTime &time, int number) const
{
    return QStringLiteral("[sptmp_") + time.toString(QStringLiteral("yyyyMMddhhmmss")) + QLatin1Char('_')
        + QString::number(number) + QLatin1Char(']');
}

QString SQLServerKind::ReplaceObjectName(
    const SQLKeywordPatterns &keywords, const QString &text, const QString &newName, QString &oldName) const
{
    return ReplaceNameAfterPattern(keywords, text, newName, oldName);
}

QString SQLServerKind::ExtractTableNameFromTrigger(const QString &text, const SQLKeywordPatterns &patterns) const
{
    const QString name = ExtractNameAfterPattern(patterns, text);
    // The name in the tokens the tokenizer makes of it.
    QStringList parts;
    qsizetype at = -1;
    if ((at = name.indexOf(QLatin1String("].["))) >= 0)
        parts = { name.left(at + 1), QStringLiteral("."), name.mid(at + 2) };
    else if ((at = name.indexOf(QLatin1String(".["))) >= 0)
        parts = { name.left(at), QStringLiteral("."), name.mid(at + 1) };
    else if ((at = name.indexOf(QLatin1String("]."))) < 0)
        parts = { name };
    else
        parts = { name.left(at + 1), QStringLiteral("."), name.mid(at + 2) };

    SQLKeywordPatterns withName;
    for (const QStringList &row : patterns)
        withName.append(row + parts + QStringList { QStringLiteral("ON") });
    return ExtractNameAfterPattern(withName, text);
}

QString SQLServerKind::DropScript(
    ObjectClass cls, const QString &owner, const QString &name, const CatalogueReader &) const
{
    const StatementParts::SqlServerDropParts parts = StatementParts::SqlServerDrop(cls);
    // The name stands once inside the literal OBJECT_ID reads and once as an identifier.
    const QString bracketed = Bracketed(owner, name);
    return QStringLiteral("IF EXISTS (SELECT * FROM dbo.sysobjects WHERE id = OBJECT_ID(N'")
        + StatementParts::QuotedBody(bracketed) + QLatin1String(parts.Exists2) + QStringLiteral("\r\n\t")
        + QLatin1String(parts.Keyword) + bracketed;
}

QStringList SQLServerKind::CompileCheckStatements(
    const QString &createText, const QString &dropScript, int timeoutSeconds) const
{
    // A CREATE must start its batch: the lock timeout is a statement of its own,
    // for the session, and is put back afterwards.
    if (timeoutSeconds <= 0)
        return { createText, dropScript };
    return { QStringLiteral("SET LOCK_TIMEOUT %1").arg(qint64(timeoutSeconds) * 1000), createText, dropScript,
        CompileCheckCleanup(timeoutSeconds) };
}

QString SQLServerKind::CompileCheckCleanup(int timeoutSeconds) const
{
    return timeoutSeconds > 0 ? QStringLiteral("SET LOCK_TIMEOUT -1") : QString();
}

QString SQLServerKind::PermissionStatement(
    int action, int value, const QString &objectName, const QString &grantee) const
{
    static const char *const actions[] = { "EXECUTE", "SELECT", "INSERT", "UPDATE", "DELETE", "REFERENCES" };
    static const char *const verbs[] = { "REVOKE ", "GRANT ", "DENY " };
    if (value == 3 || value < 0 || value > 3 || action < 1 || action > 6)
        return QString();
    return QLatin1String(verbs[value]) + QLatin1String(actions[action - 1]) + QStringLiteral(" ON ") + objectName
        + QStringLiteral(" TO ") + QuoteIdentifier(grantee);
}
