#include "OdbcDriver.h"

#include <QRegularExpression>

#include <chrono>
#include <thread>

#include <sql.h>
#include <sqlext.h>
#include <sqlucode.h>

namespace
{

// Diagnostic field of SQL Server drivers (Microsoft's and FreeTDS): the line of
// the batch an error refers to.
constexpr SQLSMALLINT DiagSsLine = -1154;

const QString Source = QStringLiteral("ODBC");

const SQLWCHAR *wide(const QString &text)
{
    static_assert(sizeof(SQLWCHAR) == sizeof(char16_t), "ODBC wide characters must be UTF-16");
    return reinterpret_cast<const SQLWCHAR *>(text.utf16());
}

QString fromWide(const SQLWCHAR *text, qsizetype length)
{
    return QString::fromUtf16(reinterpret_cast<const char16_t *>(text), length);
}

struct Diagnostic {
    QString state;
    long native = 0;
    QString text;
};

QList<Diagnostic> diagnostics(SQLSMALLINT type, SQLHANDLE handle)
{
    QList<Diagnostic> out;
    for (SQLSMALLINT record = 1; record < 100; ++record) {
        SQLWCHAR state[6] = {};
        SQLINTEGER native = 0;
        SQLSMALLINT length = 0;
        std::vector<SQLWCHAR> message(1024);
        SQLRETURN rc = SQLGetDiagRecW(
            type, handle, record, state, &native, message.data(), SQLSMALLINT(message.size()), &length);
        if (!SQL_SUCCEEDED(rc))
            break;
        if (length >= SQLSMALLINT(message.size())) {
            message.resize(size_t(length) + 1);
            SQLGetDiagRecW(type, handle, record, state, &native, message.data(), SQLSMALLINT(message.size()), &length);
        }
        Diagnostic d;
        d.state = fromWide(state, 5);
        d.native = native;
        d.text = fromWide(message.data(), qMin<qsizetype>(length, qsizetype(message.size()) - 1));
        SQLUSMALLINT line = 0;
        if (SQL_SUCCEEDED(SQLGetDiagFieldW(type, handle, record, DiagSsLine, &line, SQL_IS_USMALLINT, nullptr))
            && line > 0)
            d.text = QStringLiteral("Line %1: %2").arg(line).arg(d.text);
        out.append(d);
    }
    return out;
}

// Informational records (PRINT, NOTICE, warnings) as opposed to errors.
bool isInfo(const Diagnostic &d)
{
    return d.state.startsWith(QLatin1String("00")) || d.state.startsWith(QLatin1String("01"));
}

// psqlODBC (with OptionalErrors=1) appends "STATEMENT_POSITION: n;" to its
// text: turned into the line of the statement, as SQL Server drivers give it.
QString withLine(const QString &text, const QString &sql)
{
    static const QRegularExpression position(QStringLiteral("\\s*STATEMENT_POSITION: (\\d+);?"));
    const QRegularExpressionMatch m = position.match(text);
    if (!m.hasMatch() || sql.isEmpty() || text.startsWith(QLatin1String("Line ")))
        return text;
    QString rest = text;
    rest.remove(m.capturedStart(), m.capturedLength());
    return QStringLiteral("Line %1: %2").arg(LineOfPosition(sql, m.captured(1).toLongLong())).arg(rest);
}

SqlError errorFrom(const QList<Diagnostic> &records, const QStringList &messages, const QString &sql = QString())
{
    const Diagnostic *first = nullptr;
    for (const Diagnostic &d : records) {
        if (!isInfo(d)) {
            first = &d;
            break;
        }
    }
    if (!first && !records.isEmpty())
        first = &records.first();
    SqlError error = first ? SqlError(first->native, Source, withLine(first->text, sql), first->state)
                           : SqlError(0, Source, QStringLiteral("Unknown ODBC error"));
    error.Messages = messages;
    return error;
}

class OdbcConnection : public SqlConnection
{
public:
    OdbcConnection() = default;
    ~OdbcConnection() override { Close(); }

    void open(const QString &connectionString)
    {
        SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &mEnv);
        SQLSetEnvAttr(mEnv, SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
        SQLAllocHandle(SQL_HANDLE_DBC, mEnv, &mDbc);
        SQLSetConnectAttrW(mDbc, SQL_ATTR_LOGIN_TIMEOUT, reinterpret_cast<SQLPOINTER>(15), 0);
        SQLWCHAR out[1024];
        SQLSMALLINT outLength = 0;
        const SQLRETURN rc = SQLDriverConnectW(mDbc, nullptr, const_cast<SQLWCHAR *>(wide(connectionString)), SQL_NTS,
            out, 1024, &outLength, SQL_DRIVER_NOPROMPT);
        if (!SQL_SUCCEEDED(rc)) {
            const SqlError error = errorFrom(diagnostics(SQL_HANDLE_DBC, mDbc), {});
            Close();
            throw error;
        }
        mOpen = true;
        // Drivers that can run a statement without blocking let the wait
        // handler run meanwhile, and so Cancel reach the statement.
        SQLUINTEGER mode = SQL_AM_NONE;
        if (SQL_SUCCEEDED(SQLGetInfoW(mDbc, SQL_ASYNC_MODE, &mode, sizeof(mode), nullptr)))
            mAsyncMode = mode;
    }

    bool IsOpen() const override { return mOpen; }

    void Close() override
    {
        if (mDbc) {
            if (mOpen)
                SQLDisconnect(mDbc);
            SQLFreeHandle(SQL_HANDLE_DBC, mDbc);
            mDbc = SQL_NULL_HDBC;
        }
        if (mEnv) {
            SQLFreeHandle(SQL_HANDLE_ENV, mEnv);
            mEnv = SQL_NULL_HENV;
        }
        mOpen = false;
    }

    BatchResult Execute(const QString &sql) override
    {
        if (!mOpen)
            throw SqlError(0, Source, QStringLiteral("Connection is not open"), QStringLiteral("08003"));
        // Asynchronous only where someone waits; everything else blocks as before.
        const bool async = mWaitHandler && (mAsyncMode == SQL_AM_STATEMENT || mAsyncMode == SQL_AM_CONNECTION);
        if (mAsyncMode == SQL_AM_CONNECTION)
            SQLSetConnectAttrW(mDbc, SQL_ATTR_ASYNC_ENABLE, asyncValue(async), SQL_IS_UINTEGER);
        SQLHSTMT stmt = SQL_NULL_HSTMT;
        if (!SQL_SUCCEEDED(SQLAllocHandle(SQL_HANDLE_STMT, mDbc, &stmt))) {
            try {
                fail(diagnostics(SQL_HANDLE_DBC, mDbc), {});
            } catch (...) {
                if (mBroken)
                    Close();
                throw;
            }
        }
        if (async && mAsyncMode == SQL_AM_STATEMENT)
            SQLSetStmtAttrW(stmt, SQL_ATTR_ASYNC_ENABLE, asyncValue(true), SQL_IS_UINTEGER);
        BatchResult result;
        mCurrentSql = sql;
        mStmt = stmt;
        try {
            SQLRETURN rc = poll([&] { return SQLExecDirectW(stmt, const_cast<SQLWCHAR *>(wide(sql)), SQL_NTS); });
            for (;;) {
                check(rc, stmt, result.Messages);
                if (rc != SQL_NO_DATA || result.Results.isEmpty())
                    result.Results.append(readResult(stmt, result.Messages));
                rc = poll([&] { return SQLMoreResults(stmt); });
                if (rc == SQL_NO_DATA)
                    break;
            }
        } catch (...) {
            // A handler that threw may leave a call running: stop it before the handle goes.
            if (async)
                SQLCancel(stmt);
            mStmt = SQL_NULL_HSTMT;
            SQLFreeHandle(SQL_HANDLE_STMT, stmt);
            if (mBroken)
                Close();
            throw;
        }
        mStmt = SQL_NULL_HSTMT;
        SQLFreeHandle(SQL_HANDLE_STMT, stmt);
        return result;
    }

    void Cancel() override
    {
        if (mStmt)
            SQLCancel(mStmt);
    }

private:
    static SQLPOINTER asyncValue(bool on)
    {
        return reinterpret_cast<SQLPOINTER>(on ? SQL_ASYNC_ENABLE_ON : SQL_ASYNC_ENABLE_OFF);
    }

    // Runs an ODBC call; on an asynchronous statement repeats it, with the same
    // arguments, until it no longer answers SQL_STILL_EXECUTING, running the
    // wait handler (which may call Cancel) in between. Blocking calls return at once.
    template <typename Call>
    SQLRETURN poll(Call call)
    {
        SQLRETURN rc = call();
        while (rc == SQL_STILL_EXECUTING) {
            if (mWaitHandler)
                mWaitHandler();
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
            rc = call();
        }
        return rc;
    }

    // Collects messages of an informational return and throws on an error.
    void check(SQLRETURN rc, SQLHSTMT stmt, QStringList &messages)
    {
        if (rc == SQL_SUCCESS || rc == SQL_NO_DATA)
            return;
        const QList<Diagnostic> records = diagnostics(SQL_HANDLE_STMT, stmt);
        if (rc == SQL_SUCCESS_WITH_INFO) {
            for (const Diagnostic &d : records)
                messages.append(d.text);
            return;
        }
        fail(records, messages);
    }

    [[noreturn]] void fail(const QList<Diagnostic> &records, const QStringList &messages)
    {
        const SqlError error = errorFrom(records, messages, mCurrentSql);
        // A broken link leaves the connection unusable; it is closed once the
        // statement handle is gone.
        SQLUINTEGER dead = SQL_CD_FALSE;
        if (error.State.startsWith(QLatin1String("08"))
            || (SQL_SUCCEEDED(SQLGetConnectAttrW(mDbc, SQL_ATTR_CONNECTION_DEAD, &dead, 0, nullptr))
                && dead == SQL_CD_TRUE))
            mBroken = true;
        throw error;
    }

    std::shared_ptr<Recordset> readResult(SQLHSTMT stmt, QStringList &messages)
    {
        SQLSMALLINT columns = 0;
        poll([&] { return SQLNumResultCols(stmt, &columns); });
        SQLLEN affected = -1;
        SQLRowCount(stmt, &affected);
        if (columns <= 0)
            return std::make_shared<Recordset>(QStringList(), QList<QVariantList>(), affected);

        QStringList names;
        QList<SQLSMALLINT> types;
        for (SQLUSMALLINT c = 1; c <= SQLUSMALLINT(columns); ++c) {
            SQLWCHAR name[512];
            SQLSMALLINT nameLength = 0, type = 0, digits = 0, nullable = 0;
            SQLULEN size = 0;
            poll([&] { return SQLDescribeColW(stmt, c, name, 512, &nameLength, &type, &size, &digits, &nullable); });
            names.append(fromWide(name, qMin<qsizetype>(nameLength, 511)));
            types.append(type);
        }
        QList<QVariantList> rows;
        qint64 notKept = 0;
        for (;;) {
            const SQLRETURN rc = poll([&] { return SQLFetch(stmt); });
            if (rc == SQL_NO_DATA)
                break;
            check(rc, stmt, messages);
            if (mRowLimit > 0 && rows.size() >= mRowLimit) {
                ++notKept;
                continue;
            }
            QVariantList row;
            row.reserve(columns);
            for (SQLUSMALLINT c = 1; c <= SQLUSMALLINT(columns); ++c)
                row.append(readValue(stmt, c, types[c - 1], messages));
            rows.append(row);
        }
        auto rs = std::make_shared<Recordset>(names, rows, affected);
        rs->SetRowsNotKept(notKept);
        return rs;
    }

    QVariant readValue(SQLHSTMT stmt, SQLUSMALLINT column, SQLSMALLINT type, QStringList &messages)
    {
        QString text;
        SQLWCHAR buffer[2048];
        constexpr qsizetype capacity = 2048;
        for (bool first = true;; first = false) {
            SQLLEN indicator = 0;
            const SQLRETURN rc
                = poll([&] { return SQLGetData(stmt, column, SQL_C_WCHAR, buffer, sizeof(buffer), &indicator); });
            if (rc == SQL_NO_DATA)
                break;
            if (!SQL_SUCCEEDED(rc))
                check(rc, stmt, messages);
            if (indicator == SQL_NULL_DATA)
                return first ? QVariant() : QVariant(text);
            // Truncated: the buffer is full but for its terminator.
            const bool truncated = indicator == SQL_NO_TOTAL || indicator >= SQLLEN(sizeof(buffer));
            const qsizetype chars = truncated ? capacity - 1 : qsizetype(indicator) / qsizetype(sizeof(SQLWCHAR));
            text += fromWide(buffer, chars);
            if (!truncated)
                break;
        }
        switch (type) {
        case SQL_INTEGER:
        case SQL_SMALLINT:
        case SQL_TINYINT:
        case SQL_BIGINT:
        case SQL_BIT: {
            bool ok = false;
            const qlonglong v = text.toLongLong(&ok);
            return ok ? QVariant(v) : QVariant(text);
        }
        case SQL_REAL:
        case SQL_FLOAT:
        case SQL_DOUBLE: {
            bool ok = false;
            const double v = text.toDouble(&ok);
            return ok ? QVariant(v) : QVariant(text);
        }
        default:
            return text;
        }
    }

    QString mCurrentSql; // the text being run, for error positions
    // The statement being run, for Cancel: reached from the wait handler when
    // the driver runs statements asynchronously.
    SQLHSTMT mStmt = SQL_NULL_HSTMT;
    SQLUINTEGER mAsyncMode = SQL_AM_NONE; // what SQL_ASYNC_MODE answered
    bool mBroken = false;
    SQLHENV mEnv = SQL_NULL_HENV;
    SQLHDBC mDbc = SQL_NULL_HDBC;
    bool mOpen = false;
};

} // namespace

std::unique_ptr<SqlConnection> OdbcDriver::Open(const QString &connectionString)
{
    auto connection = std::make_unique<OdbcConnection>();
    connection->open(connectionString);
    return connection;
}
