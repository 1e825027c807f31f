#pragma once

#include "Recordset.h"
#include "SqlError.h"

#include <QString>
#include <QStringList>

#include <functional>
#include <memory>

// All that one call to the server produced: a result per statement, in order
// (row sets and row counts alike), and the server's messages.
struct BatchResult {
    QList<std::shared_ptr<Recordset>> Results;
    QStringList Messages;
};

// An open connection to a server.
class SqlConnection
{
public:
    virtual ~SqlConnection() = default;

    // False after Close() and once the server has gone away.
    virtual bool IsOpen() const = 0;
    virtual void Close() = 0;

    // Runs a text of one or more statements. Throws SqlError on the first
    // failing statement (the results before it are lost, its messages kept in
    // the error) and when the connection is not open.
    virtual BatchResult Execute(const QString &sql) = 0;

    // A window that must stay usable while the server works sets a handler; a
    // connection that can wait without blocking calls it every few milliseconds
    // until the statement ends (the handler may call Cancel). Connections that
    // cannot wait that way never call it.
    void SetWaitHandler(std::function<void()> handler) { mWaitHandler = std::move(handler); }
    // Asks the server to stop the running statement, which then fails with the
    // server's error. Does nothing when no statement runs.
    virtual void Cancel() {}
    // Rows kept of each row set from now on (0 keeps all); the rest are read
    // from the server and counted, not held, so memory stays bounded whatever
    // a statement returns. Connections that cannot stream keep all.
    void SetRowLimit(qint64 rows) { mRowLimit = qMax<qint64>(0, rows); }
    // Where rows stream in, called once a row set reaches the row limit with the
    // results of the text so far, the last being that row set as it will stay,
    // so that a window can show them while the rest of the rows are counted.
    using LimitHandler = std::function<void(const QList<std::shared_ptr<Recordset>> &)>;
    void SetLimitHandler(LimitHandler handler) { mLimitHandler = std::move(handler); }

    // The first row set of Execute(sql); a closed, empty recordset when no
    // statement returned rows. Throws as Execute.
    std::shared_ptr<Recordset> OpenRecordset(const QString &sql)
    {
        BatchResult result = Execute(sql);
        for (const std::shared_ptr<Recordset> &r : result.Results) {
            if (r->IsOpen())
                return r;
        }
        return std::make_shared<Recordset>();
    }

protected:
    std::function<void()> mWaitHandler;
    qint64 mRowLimit = 0;
    LimitHandler mLimitHandler;
};

// Opens connections from connection strings. Throws SqlError when the server
// refuses or cannot be reached.
class SqlDriver
{
public:
    virtual ~SqlDriver() = default;
    virtual std::unique_ptr<SqlConnection> Open(const QString &connectionString) = 0;
};

// The line (1-based) of a character position (1-based) in a text.
inline int LineOfPosition(const QString &text, qsizetype position)
{
    const qsizetype end = qBound(qsizetype(0), position - 1, text.size());
    return int(QStringView(text).left(end).count(QLatin1Char('\n'))) + 1;
}
