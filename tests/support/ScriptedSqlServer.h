#pragma once

#include "driver/SqlDriver.h"

#include <QList>
#include <QRegularExpression>
#include <QString>
#include <QStringList>

#include <functional>
#include <memory>

// A stand-in for Microsoft SQL Server in tests. It answers the closed set of
// catalogue statements the SQL Server kind sends from an in-memory catalogue
// (objects, users and roles, logins, protections), and carries out CREATE,
// ALTER and DROP of programmable objects. Any other statement fails the
// running test with the statement's text, so that the kind's statements stay
// character for character what the server expects.
//
// Statements are a table of patterns and handlers; add more with
// addStatement(exact(...), handler). Plug it into a KORVOSQL with
// sql.SetDriver(server.driver()). The server must outlive its connections.
class ScriptedSqlServer
{
public:
    struct Object {
        long Id = 0;
        QString Name;
        int Uid = 1; // owner, a user of the database
        QString XType; // P, V, TR, FN, IF, TF, U
        int Category = 0; // 2 for system objects
        QString Text; // the CREATE text as the server keeps it
        long ParentId = 0; // a trigger's table
    };
    struct User {
        int Uid = 0;
        QString Name;
        QString Sid; // the login's sid; empty for roles
        bool IsRole = false;
        QStringList Roles; // roles the user is a member of
    };
    struct Login {
        QString Name;
        QString Password;
        QString Sid;
    };
    struct Protection {
        long Id = 0;
        int Uid = 0; // grantee
        QString Action; // "Execute", "Select", ...
        QString ProtectType; // "Grant", "Deny"
    };
    struct Database {
        QString Name;
        QList<Object> Objects;
        QList<User> Users;
        QList<Protection> Protections;
    };

    // What a connection carries: its database, its database user, its modes.
    struct Session {
        QString Database;
        int Uid = 1;
        bool ParseOnly = false;
        int Generation = 0;
    };

    // The handler's view of one statement.
    struct Call {
        ScriptedSqlServer &server;
        Session &session;
        Database &db;
        QString sql;
        QRegularExpressionMatch match;
        // The n-th capture as a value: a text literal unquoted, NULL as a null string.
        QString arg(int n) const;
        // Capture n as the inside of a literal: '' read as '.
        QString literal(int n) const;
    };
    using Handler = std::function<BatchResult(Call &)>;

    explicit ScriptedSqlServer(const QString &serverName = QStringLiteral("SQLTEST"));

    // --- The catalogue ---
    // A database with dbo (uid 1, login "sa"), guest (2) and the public role (0).
    Database &addDatabase(const QString &name);
    Database &database(const QString &name);
    void addLogin(const QString &name, const QString &password);
    // Maps a login to a user of a database; returns the uid.
    int addUser(const QString &database, const QString &userName, const QString &login);
    int addRole(const QString &database, const QString &roleName, int uid = 0);
    // Adds an object directly; returns its id.
    long addObject(const QString &database, const QString &owner, const QString &name, const QString &xtype,
        const QString &text = QString(), long parentId = 0);
    const Object *findObject(const QString &database, const QString &owner, const QString &name) const;
    const Object *objectById(const QString &database, long id) const;
    int uidOf(const Database &db, const QString &userName) const;
    // An object by its written name, as OBJECT_ID finds it: an unqualified name
    // under the session's user first, then under dbo; pass filters the candidates.
    Object *resolve(Database &db, const QString &writtenName, const Session &s,
        const std::function<bool(const Object &)> &pass = {});
    QString userName(const Database &db, int uid) const;

    // --- Statements ---
    // A pattern from an exact statement text with placeholders: {text} a text
    // literal as sqlFMTOUT makes it (without its leading blank) or NULL, {num} a
    // number or NULL, {raw} anything up to the next fixed text, {lit} the inside
    // of a literal whose quotes the template writes (Call::literal reads it).
    static QString exact(const QString &statementTemplate);
    void addStatement(const QString &regex, Handler handler,
        QRegularExpression::PatternOptions options = QRegularExpression::NoPatternOption);
    // Decides what a statement sent in parse-only mode gives: an error text or
    // empty. By default every text parses.
    std::function<QString(const QString &sql)> ParseCheck;

    // --- The server's life ---
    // Stopped: open connections fail with a broken link, new ones are refused.
    void stop();
    void start() { mRunning = true; }

    std::shared_ptr<SqlDriver> driver();

    // Every statement received, in order; and those refused as unknown.
    QStringList Log;
    QStringList Refused;

    // Error texts as the Microsoft driver words them.
    static SqlError serverError(long number, const QString &message, const QString &state = QStringLiteral("42000"));

    // Used by the scripted connections.
    BatchResult execute(Session &session, const QString &sql);
    Session connect(const QString &connectionString);
    // An ODBC connection string's values by lower-cased key, braces read as a
    // driver manager reads them.
    static QMap<QString, QString> ConnectionValues(const QString &text);
    bool alive(const Session &session) const { return mRunning && session.Generation == mGeneration; }

private:
    struct Rule {
        QRegularExpression Pattern;
        Handler Run;
    };
    void addBuiltInStatements();
    BatchResult createOrAlter(Call &call, bool create);
    BatchResult drop(Database &db, const QString &kindWord, const QString &name, bool ifExists, const Session &s);

    QString mServerName;
    QList<Database> mDatabases;
    QList<Login> mLogins;
    QList<Rule> mRules;
    QString mTrustedLogin = QStringLiteral("sa"); // the login of a trusted connection
    long mNextId = 1977058079;
    bool mRunning = true;
    int mGeneration = 0;
};
