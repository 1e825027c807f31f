#include "KORVOSQL.h"

#include <QDateTime>

namespace
{

const QString ConnectionErrorTitle = QStringLiteral("Connection Error");

bool isNumeric(const QVariant &value)
{
    switch (value.typeId()) {
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Double:
    case QMetaType::Float:
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::Long:
    case QMetaType::ULong:
        return true;
    case QMetaType::QString:
    case QMetaType::QByteArray: {
        bool ok = false;
        value.toString().trimmed().toDouble(&ok);
        return ok;
    }
    default:
        return false;
    }
}

QDateTime asDate(const QVariant &value)
{
    switch (value.typeId()) {
    case QMetaType::QDateTime:
        return value.toDateTime();
    case QMetaType::QDate:
        return value.toDate().startOfDay();
    case QMetaType::QString: {
        const QString text = value.toString().trimmed();
        for (const char *format : { "dd.MM.yyyy hh:mm:ss", "dd.MM.yyyy hh:mm", "dd.MM.yyyy", "yyyy-MM-dd hh:mm:ss",
                 "yyyy-MM-dd hh:mm", "yyyy-MM-dd" }) {
            const QDateTime dt = QDateTime::fromString(text, QLatin1String(format));
            if (dt.isValid())
                return dt;
        }
        return QDateTime::fromString(text, Qt::ISODate);
    }
    default:
        return QDateTime();
    }
}

// The drivers hand statements on as C strings, which end at a NUL: refuse a
// text with one rather than send the part before it.
void refuseNul(const QString &sql)
{
    const qsizetype at = sql.indexOf(QChar(0));
    if (at < 0)
        return;
    const qsizetype line = QStringView(sql).left(at).count(QLatin1Char('\n')) + 1;
    throw SqlError(0, QStringLiteral("KORVOSQL"),
        QStringLiteral("The text holds a NUL character (code 0) on line %1, which cannot be sent to the server. "
                       "Remove it and try again.")
            .arg(line));
}

} // namespace

KORVOSQL::KORVOSQL(UiServices &ui, std::shared_ptr<const ServerKind> kind)
    : mUi(ui)
{
    SetKind(std::move(kind));
}

// The connection goes with the instance; it is not closed on the server first.
KORVOSQL::~KORVOSQL() = default;

void KORVOSQL::SetKind(std::shared_ptr<const ServerKind> kind)
{
    mKind = kind ? std::move(kind) : ServerKind::SQLServer();
    mKindDriver.reset();
}

SqlDriver &KORVOSQL::Driver() const
{
    if (mDriver)
        return *mDriver;
    if (!mKindDriver)
        mKindDriver = mKind->DefaultDriver();
    return *mKindDriver;
}

QString KORVOSQL::UserName() const
{
    return mUseWinNTAuth ? QStringLiteral("(Windows authentication)") : mUserName;
}

QString KORVOSQL::ConnectionString() const
{
    return CreateConnectionString(mServer, mDatabase, mUserName, mPassword, mUseWinNTAuth);
}

QString KORVOSQL::CreateConnectionString(const QString &server, const QString &database, const QString &userName,
    const QString &password, bool useWinNTAuth) const
{
    return mKind->CreateConnectionString(server, database, userName, password, useWinNTAuth);
}

bool KORVOSQL::resolveUseNT(int useNT) const
{
    if (useNT == UseStoredAuth)
        return mUseWinNTAuth;
    return useNT == UseNTYes;
}

QString KORVOSQL::OpenConnection(const QString &server, const QString &database, const QString &userName,
    const QString &password, int useNT, bool silent)
{
    // A lost connection stays lost until a new one is open: a reconnect that
    // fails must not turn it into a quietly closed one.
    const std::optional<SqlError> lost = mLost;
    CloseConnection();
    mLost = lost;
    const QString srv = server.isEmpty() ? mServer : server;
    const QString db = database.isEmpty() ? mDatabase : database;
    QString user = userName.isEmpty() ? mUserName : userName;
    QString pwd = password.isEmpty() ? mPassword : password;
    const bool nt = resolveUseNT(useNT);

    if (pwd.isEmpty() && !nt && !mHasConnected && !mStorePassword) {
        if (!mUi.sqlPassword(srv, db, user, pwd)) {
            const QString text = QStringLiteral("Password was not entered!");
            if (!silent)
                mUi.messageBox(UiServices::Icon::Critical, ConnectionErrorTitle, text);
            return text;
        }
    }

    // A throw-away test first; an error of the real open after a good test
    // passes to the caller.
    const QString result = TestConnection(srv, db, user, pwd, nt);
    if (!result.isEmpty()) {
        if (!silent)
            mUi.messageBox(UiServices::Icon::Critical, ConnectionErrorTitle, FormatSQLError(result));
        return result;
    }
    mConn = Driver().Open(CreateConnectionString(srv, db, user, pwd, nt));
    mLost.reset();
    mServer = srv;
    mDatabase = db;
    mUserName = user;
    mPassword = pwd;
    mHasConnected = true;
    mUseWinNTAuth = nt;
    return QString();
}

QString KORVOSQL::TestConnection(
    const QString &server, const QString &database, const QString &userName, const QString &password, bool useNT)
{
    try {
        std::unique_ptr<SqlConnection> test
            = Driver().Open(CreateConnectionString(server, database, userName, password, useNT));
        test->Close();
        return QString();
    } catch (const SqlError &e) {
        return e.Description;
    } catch (const std::exception &e) {
        return QString::fromUtf8(e.what());
    }
}

void KORVOSQL::CloseConnection()
{
    if (mConn)
        mConn->Close();
    mConn.reset();
    mLost.reset();
}

void KORVOSQL::checkConnection(SqlError *error)
{
    if (!mConn || mConn->IsOpen())
        return;
    mConn.reset();
    if (error) {
        error->ConnectionLost = true;
        mLost = *error;
    } else {
        mLost = SqlError(0, QStringLiteral("KORVOSQL"), QStringLiteral("The connection to the server was lost"),
            QStringLiteral("08006"));
        mLost->ConnectionLost = true;
    }
}

void KORVOSQL::throwIfLost() const
{
    if (mLost)
        throw *mLost;
}

void KORVOSQL::ExecuteSQL(const QString &sql)
{
    throwIfLost();
    if (!mConn)
        return;
    refuseNul(sql);
    try {
        mConn->Execute(sql);
    } catch (SqlError &error) {
        checkConnection(&error);
        throw;
    } catch (...) {
        checkConnection(nullptr);
        throw;
    }
}

std::shared_ptr<Recordset> KORVOSQL::OpenRecordset(const QString &sql)
{
    throwIfLost();
    if (!mConn)
        return nullptr;
    refuseNul(sql);
    try {
        return mConn->OpenRecordset(sql);
    } catch (SqlError &error) {
        checkConnection(&error);
        throw;
    } catch (...) {
        checkConnection(nullptr);
        throw;
    }
}

QString KORVOSQL::GetObjectID(const QString &name, const QString &owner)
{
    const auto rs = OpenRecordset(mKind->ObjectIDStatement(name, owner));
    if (rs && !rs->Eof() && rs->RecordCount() == 1)
        return rs->FieldText(QStringLiteral("id"));
    return QString();
}

QString KORVOSQL::GetObjectName(const QString &id, bool includeOwner)
{
    const auto rs = OpenRecordset(mKind->ObjectNameStatement(sqlFMTOUT(id, 1)));
    if (!rs || rs->Eof())
        return QString();
    return mKind->FormatName(includeOwner ? rs->FieldText(QStringLiteral("UserName")) : QString(),
        rs->FieldText(QStringLiteral("ObjectName")));
}

QString KORVOSQL::GetObjectOwnerName(const QString &id)
{
    const auto rs = OpenRecordset(mKind->ObjectOwnerStatement(id));
    if (!rs || rs->Eof())
        return QString();
    return rs->FieldText(QStringLiteral("name"));
}

QString KORVOSQL::GetObjectOwnerName(const QString &id, const Recordset &listRow)
{
    if (listRow.FieldIndex(QStringLiteral("owner")) >= 0)
        return listRow.FieldText(QStringLiteral("owner"));
    return GetObjectOwnerName(id);
}

QString KORVOSQL::GetObjectText(const QString &id)
{
    const QString name = mKind->ObjectTextNeedsName() ? GetObjectName(id, true) : QString();
    const auto rs = OpenRecordset(mKind->ObjectTextStatement(id, name));
    QString text;
    if (!rs)
        return text;
    for (; !rs->Eof(); rs->MoveNext())
        text += rs->FieldText(QStringLiteral("Text"));
    return text;
}

bool KORVOSQL::GetObjectTexts(ObjectClass cls, QHash<QString, QString> &texts)
{
    const QString statement = mKind->ObjectTextsStatement(cls);
    if (statement.isEmpty())
        return false;
    try {
        const auto rs = OpenRecordset(statement);
        if (!rs)
            return false;
        for (; !rs->Eof(); rs->MoveNext())
            texts[rs->FieldText(QStringLiteral("Id"))] += rs->FieldText(QStringLiteral("Text"));
        return true;
    } catch (const SqlError &error) {
        // One object the server cannot give a text for fails the whole read:
        // the objects are then read one at a time, and only that one fails.
        if (error.ConnectionLost)
            throw;
        texts.clear();
        return false;
    }
}

QString KORVOSQL::sqlFMTOUT(const QVariant &value, int type, bool addComma)
{
    QString result;
    if (!value.isValid() || value.isNull()) {
        result = QStringLiteral(" NULL");
    } else {
        switch (type) {
        case 12:
            result = QStringLiteral(" NULL");
            break;
        case 0: {
            QString text = value.toString();
            if (text.isEmpty()) {
                result = QStringLiteral(" NULL");
            } else {
                text.replace(QLatin1Char('\''), QLatin1String("''"));
                result = QStringLiteral(" '") + text + QLatin1Char('\'');
            }
            break;
        }
        case 1:
        case 3:
            result = isNumeric(value) ? QLatin1Char(' ') + value.toString() : QStringLiteral(" NULL");
            break;
        case 2: {
            const QDateTime date = asDate(value);
            result = date.isValid()
                ? QStringLiteral(" '") + date.toString(QStringLiteral("dd.MM.yyyy hh:mm:ss")) + QLatin1Char('\'')
                : QStringLiteral(" NULL");
            break;
        }
        default:
            break;
        }
    }
    if (addComma)
        result += QLatin1Char(',');
    return result;
}

QString KORVOSQL::FormatSQLError(const QString &description)
{
    QString text = description;
    text.remove(QStringLiteral("[Microsoft][ODBC SQL Server Driver][Shared Memory]"), Qt::CaseSensitive);
    text.remove(QStringLiteral("[Microsoft][ODBC SQL Server Driver][SQL Server]"), Qt::CaseSensitive);
    return text;
}

bool KORVOSQL::IsValidObjectName(const QString &name)
{
    if (name.toLower() == QLatin1String("as"))
        return false;
    return !(name.startsWith(QLatin1Char('(')) || name.startsWith(QLatin1Char('@')));
}

QStringList KORVOSQL::ExtractOwnerAndItemName(const QString &name) const
{
    return mKind->SplitName(name);
}

QString KORVOSQL::ExtractTableNameFromTrigger(const QString &text, const SQLKeywordPatterns &patterns) const
{
    return mKind->ExtractTableNameFromTrigger(text, patterns);
}

QString KORVOSQL::DatabaseUserName()
{
    throwIfLost();
    if (!mConn)
        return QString();
    const auto rs = OpenRecordset(mKind->DatabaseUserNameStatement(sqlFMTOUT(mUserName.toLower(), 0)));
    if (!rs || rs->Eof())
        return QString();
    return rs->FieldText(QStringLiteral("DatabaseUserName"));
}

bool KORVOSQL::UserDefinedFunctionsAllowed()
{
    if (!mConn)
        throw SqlError(1000, QStringLiteral("KORVOSQL"), QStringLiteral("Connection is not open"));
    try {
        for (const QString &sql : mKind->FunctionProbeStatements())
            ExecuteSQL(sql);
    } catch (const SqlError &) {
        return false;
    }
    return true;
}

QStringList KORVOSQL::FindServers() const
{
    return QStringList { QString() } + mKind->KnownServers();
}

QStringList KORVOSQL::FindDatabases(const QString &server, const QString &userName, const QString &password, int useNT)
{
    QStringList names { QString() };
    std::unique_ptr<SqlConnection> conn
        = Driver().Open(CreateConnectionString(server, mKind->MaintenanceDatabase(), userName, password, useNT != 0));
    const auto rs = conn->OpenRecordset(mKind->DatabaseListStatement());
    for (; !rs->Eof(); rs->MoveNext())
        names.append(rs->FieldText(QStringLiteral("name")));
    conn->Close();
    return names;
}

QString KORVOSQL::ValidSQLDMOConnectionString(
    const QString &server, const QString &userName, const QString &password, const QString &database, int useNT)
{
    try {
        // Connecting to the database itself tells a missing database from a refused login.
        std::unique_ptr<SqlConnection> conn = Driver().Open(CreateConnectionString(
            server, database.isEmpty() ? mKind->MaintenanceDatabase() : database, userName, password, useNT != 0));
        conn->Close();
        return QString();
    } catch (const SqlError &e) {
        switch (mKind->ClassifyConnectError(e)) {
        case ServerKind::ConnectFailure::DatabaseMissing:
            return QStringLiteral("Database '%1' does not exist.").arg(database);
        case ServerKind::ConnectFailure::LoginFailed:
            return QStringLiteral("Login failed for user '%1'.").arg(userName);
        case ServerKind::ConnectFailure::ServerNotFound:
            return QStringLiteral("SQL Server '%1' does not exist or access denied.").arg(server);
        case ServerKind::ConnectFailure::Other:
            break;
        }
        return e.Description;
    }
}

QString KORVOSQL::ValidateConnectionInformationADO(
    const QString &server, const QString &userName, const QString &password, const QString &database, int useNT)
{
    const QString result = TestConnection(server, database, userName, password, useNT != 0);
    return result.isEmpty() ? result : FormatSQLError(result);
}

QString KORVOSQL::ParseSQL(const QString &sql)
{
    const QString parseOnly = mKind->ParseOnlyStatement();
    if (parseOnly.isEmpty())
        return mKind->ParseOnlyMissingText();
    std::unique_ptr<SqlConnection> conn = Driver().Open(ConnectionString());
    try {
        conn->Execute(parseOnly);
        conn->Execute(sql);
    } catch (const SqlError &e) {
        conn->Close();
        return e.Description;
    }
    conn->Close();
    return QString();
}
