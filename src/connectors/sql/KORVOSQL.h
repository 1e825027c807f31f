#pragma once

#include "UiServices.h"
#include "driver/SqlDriver.h"
#include "serverkinds/ServerKind.h"

#include <QHash>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <memory>
#include <optional>

// The road to the project's database: connection data, a connection opened
// after a test connection, statements and read-only queries, and the object
// names, ids, owners and texts of the catalogue. What differs between servers
// comes from the server kind (SQL Server unless told otherwise).
//
// Errors: members marked "throws" let a server error reach the caller as
// SqlError (see SqlError.h). The others report failure in their result and
// never throw. After any failure ConnectionOpen() tells whether the
// connection is still there.
//
// A lost connection stays closed until the user opens it again: the statement
// that found it gone throws with ConnectionLost set, and from then on every
// statement, query and look-up throws the same at once, without reaching the
// server (see docs/decisions.md). A connection that was closed on purpose, or
// never opened, stays quiet: nothing is run, nothing is returned.
class KORVOSQL
{
public:
    // UseNT argument values of OpenConnection.
    static constexpr int UseStoredAuth = -2;
    static constexpr int UseNTYes = -1;
    static constexpr int UseNTNo = 0;

    explicit KORVOSQL(UiServices &ui, std::shared_ptr<const ServerKind> kind = ServerKind::SQLServer());
    ~KORVOSQL();
    KORVOSQL(const KORVOSQL &) = delete;
    KORVOSQL &operator=(const KORVOSQL &) = delete;

    // --- The server kind and the driver that reaches it ---
    const ServerKind &Kind() const { return *mKind; }
    std::shared_ptr<const ServerKind> KindPtr() const { return mKind; }
    void SetKind(std::shared_ptr<const ServerKind> kind);
    // Replaces the kind's own driver (tests plug in a scripted server here).
    void SetDriver(std::shared_ptr<SqlDriver> driver) { mDriver = std::move(driver); }
    SqlDriver &Driver() const;
    // The user-interface services the connection shows its boxes through; the
    // objects that work on this connection show theirs there too.
    UiServices &Ui() const { return mUi; }

    // --- Connection data ---
    QString Server() const { return mServer; }
    void SetServer(const QString &value) { mServer = value; }
    QString Database() const { return mDatabase; }
    void SetDatabase(const QString &value) { mDatabase = value; }
    // "(Windows authentication)" while UseWinNTAuth is on; the stored text otherwise.
    QString UserName() const;
    void SetUserName(const QString &value) { mUserName = value; }
    // The stored login, whatever UseWinNTAuth says.
    QString StoredUserName() const { return mUserName; }
    QString Password() const { return mPassword; }
    void SetPassword(const QString &value) { mPassword = value; }
    bool StorePassword() const { return mStorePassword; }
    void SetStorePassword(bool value) { mStorePassword = value; }
    bool UseWinNTAuth() const { return mUseWinNTAuth; }
    void SetUseWinNTAuth(bool value) { mUseWinNTAuth = value; }
    bool ConnectionOpen() const { return mConn != nullptr; }
    // The connection went away under a statement; cleared by OpenConnection and CloseConnection.
    bool ConnectionLost() const { return mLost.has_value(); }
    // The open connection; null while closed.
    SqlConnection *DBConn() const { return mConn.get(); }
    bool HasConnected() const { return mHasConnected; }
    // Seconds the statements of a compile test may wait on the server; 0 for
    // no limit. The session sets it from the settings.
    int CompileTestTimeout = 30;

    QString ConnectionString() const;
    QString CreateConnectionString(const QString &server, const QString &database, const QString &userName,
        const QString &password, bool useWinNTAuth) const;

    // Closes, fills empty arguments from the stored values, asks for a missing
    // password, tests the connection and then opens it for good. Returns the
    // error text (raw), empty on success; unless silent, failures show a
    // "Connection Error" box. Throws when the test connection worked but the
    // real one fails.
    QString OpenConnection(const QString &server = QString(), const QString &database = QString(),
        const QString &userName = QString(), const QString &password = QString(), int useNT = UseStoredAuth,
        bool silent = false);
    // Opens and closes a throw-away connection; the driver's error text, empty on success.
    QString TestConnection(
        const QString &server, const QString &database, const QString &userName, const QString &password, bool useNT);
    void CloseConnection();

    // Throws. Does nothing while the connection is closed (throws while it is lost).
    void ExecuteSQL(const QString &sql);
    // Throws. The first row set of the statement, read into memory; null while
    // the connection is closed (throws while lost), a closed recordset when no rows came.
    std::shared_ptr<Recordset> OpenRecordset(const QString &sql);

    // Throw on server errors. Empty when not found or, for an id, when the name
    // is not unique.
    QString GetObjectID(const QString &name, const QString &owner);
    QString GetObjectName(const QString &id, bool includeOwner);
    QString GetObjectOwnerName(const QString &id);
    // The same for the current row of a list query: the row's "owner" where
    // the kind's list carries it, else the owner statement.
    QString GetObjectOwnerName(const QString &id, const Recordset &listRow);
    // Throws. The object's text as the server keeps it, unchanged.
    QString GetObjectText(const QString &id);
    // The texts of every object of the class by id, in one statement, where the
    // server kind can read them so; false where it cannot or the read failed.
    // Throws only when the connection is lost.
    bool GetObjectTexts(ObjectClass cls, QHash<QString, QString> &texts);

    // A SQL literal with a leading blank. type: 0 text, 1 or 3 number, 2 date,
    // 12 always NULL; other types give an empty string.
    static QString sqlFMTOUT(const QVariant &value, int type, bool addComma = false);
    static QString FormatSQLError(const QString &description);
    static bool IsValidObjectName(const QString &name);
    // {owner, name}, split as the server kind writes names.
    QStringList ExtractOwnerAndItemName(const QString &name) const;
    // The table of a trigger as written in its text, or empty.
    QString ExtractTableNameFromTrigger(const QString &text, const SQLKeywordPatterns &patterns) const;
    // Throws on server errors. Empty while closed (throws while lost).
    QString DatabaseUserName();
    // Throws SqlError 1000 while the connection is closed; false when the probe fails.
    bool UserDefinedFunctionsAllowed();

    // --- Server lists and checks (the server kinds answer these themselves) ---
    // Here useNT is a plain flag: any value but 0 means the operating-system login.
    bool SQLDMOInstalled() const { return true; }
    // Element 0 is empty, names from 1.
    QStringList FindServers() const;
    // Element 0 is empty, names from 1. Throws when the server cannot be reached.
    QStringList FindDatabases(const QString &server, const QString &userName, const QString &password, int useNT);
    QString ValidSQLDMOConnectionString(
        const QString &server, const QString &userName, const QString &password, const QString &database, int useNT);
    QString ValidateConnectionInformationADO(
        const QString &server, const QString &userName, const QString &password, const QString &database, int useNT);
    // The server's error text for a text that does not parse, empty when it
    // parses. Throws when the connection for the check cannot be made.
    QString ParseSQL(const QString &sql);

private:
    bool resolveUseNT(int useNT) const;
    // After a failed statement: is the connection still there? If not, it is
    // dropped and the error marked as a lost connection.
    void checkConnection(SqlError *error);
    // Throws the loss again while the connection is lost.
    void throwIfLost() const;

    UiServices &mUi;
    std::shared_ptr<const ServerKind> mKind;
    std::shared_ptr<SqlDriver> mDriver;
    mutable std::shared_ptr<SqlDriver> mKindDriver;
    QString mServer;
    QString mDatabase;
    QString mUserName;
    QString mPassword;
    bool mStorePassword = false;
    std::unique_ptr<SqlConnection> mConn;
    std::optional<SqlError> mLost; // the error that found the connection gone
    bool mHasConnected = false;
    bool mUseWinNTAuth = false;
};
