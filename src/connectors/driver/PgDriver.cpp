#include "PgDriver.h"

#include <libpq-fe.h>

#include <QElapsedTimer>

#include <optional>

#include <poll.h>

namespace
{

const QString Source = QStringLiteral("libpq");

// Type oids of pg_type that map onto numbers and Booleans.
constexpr Oid BoolOid = 16, Int8Oid = 20, Int2Oid = 21, Int4Oid = 23, OidOid = 26, Float4Oid = 700, Float8Oid = 701;

QString connectionMessage(PGconn *conn)
{
    return QString::fromUtf8(PQerrorMessage(conn)).trimmed();
}

QVariant valueOf(const PGresult *res, int row, int column)
{
    if (PQgetisnull(res, row, column))
        return QVariant();
    const QString text = QString::fromUtf8(PQgetvalue(res, row, column), PQgetlength(res, row, column));
    switch (PQftype(res, column)) {
    case Int2Oid:
    case Int4Oid:
    case Int8Oid:
    case OidOid:
        return text.toLongLong();
    case Float4Oid:
    case Float8Oid:
        return text.toDouble();
    case BoolOid:
        return text == QLatin1String("t");
    default:
        return text;
    }
}

class PgConnection : public SqlConnection
{
public:
    explicit PgConnection(PGconn *conn)
        : mConn(conn)
    {
        PQsetNoticeReceiver(mConn, &PgConnection::onNotice, this);
        PQsetClientEncoding(mConn, "UTF8");
    }
    ~PgConnection() override { Close(); }

    bool IsOpen() const override { return mConn && PQstatus(mConn) == CONNECTION_OK; }

    void Close() override
    {
        if (mConn) {
            PQfinish(mConn);
            mConn = nullptr;
        }
    }

    BatchResult Execute(const QString &sql) override
    {
        if (!IsOpen())
            throw SqlError(0, Source, QStringLiteral("Connection is not open"), QStringLiteral("08003"));
        BatchResult result;
        mNotices = &result.Messages;
        std::optional<SqlError> error;
        if (!PQsendQuery(mConn, sql.toUtf8().constData())) {
            error = SqlError(0, Source, connectionMessage(mConn), QStringLiteral("08006"));
        } else {
            // With a row limit the rows come one by one, so neither libpq nor
            // KORVO ever holds more of a row set than the limit.
            const bool streamed = mRowLimit > 0 && PQsetSingleRowMode(mConn);
            std::optional<Streamed> rows;
            mSinceEvents.start();
            while (PGresult *res = nextResult()) {
                switch (PQresultStatus(res)) {
                case PGRES_SINGLE_TUPLE:
                    if (!rows)
                        rows.emplace(Streamed { fieldNames(res) });
                    if (rows->rows.size() < mRowLimit) {
                        rows->rows.append(rowOf(res, 0));
                        if (rows->rows.size() == mRowLimit && mLimitHandler) {
                            QList<std::shared_ptr<Recordset>> soFar = result.Results;
                            soFar.append(makeRows(rows->names, rows->rows, 0, res));
                            mLimitHandler(soFar);
                        }
                    } else {
                        ++rows->notKept;
                    }
                    break;
                case PGRES_TUPLES_OK:
                    if (streamed && rows) {
                        result.Results.append(rows->Finish(res));
                        rows.reset();
                    } else {
                        result.Results.append(readRows(res, mRowLimit));
                    }
                    break;
                case PGRES_COMMAND_OK: {
                    const QByteArray count = PQcmdTuples(res);
                    result.Results.append(std::make_shared<Recordset>(
                        QStringList(), QList<QVariantList>(), count.isEmpty() ? -1 : count.toLongLong()));
                    break;
                }
                case PGRES_EMPTY_QUERY:
                    break;
                case PGRES_COPY_IN:
                case PGRES_COPY_OUT:
                case PGRES_COPY_BOTH:
                    if (!error)
                        error = SqlError(0, Source, QStringLiteral("COPY is not supported here"));
                    PQclear(res);
                    // Leaving copy mode makes the server end the statement.
                    PQputCopyEnd(mConn, "not supported");
                    continue;
                default:
                    if (!error)
                        error = errorOf(res, sql);
                    break;
                }
                PQclear(res);
            }
        }
        mNotices = nullptr;
        if (error) {
            error->Messages = result.Messages;
            if (mConn && PQstatus(mConn) == CONNECTION_OK && PQtransactionStatus(mConn) == PQTRANS_INERROR)
                PQclear(PQexec(mConn, "ROLLBACK"));
            throw *error;
        }
        return result;
    }

    void Cancel() override
    {
        if (!mConn || PQtransactionStatus(mConn) != PQTRANS_ACTIVE)
            return;
        if (PGcancel *cancel = PQgetCancel(mConn)) {
            char message[256];
            PQcancel(cancel, message, sizeof message);
            PQfreeCancel(cancel);
        }
    }

private:
    // The next result; with a wait handler the socket is polled instead of
    // blocking in libpq, so that the caller's events run meanwhile.
    PGresult *nextResult()
    {
        if (mWaitHandler) {
            const int socket = PQsocket(mConn);
            while (socket >= 0 && PQisBusy(mConn)) {
                pollfd fd { socket, POLLIN, 0 };
                if (poll(&fd, 1, 20) > 0 && !PQconsumeInput(mConn))
                    break; // the connection broke: PQgetResult reports it
                mWaitHandler();
                mSinceEvents.restart();
            }
            // Rows streaming in keep libpq reading, never waiting: the caller's
            // events run all the same.
            if (mSinceEvents.elapsed() > 50) {
                mWaitHandler();
                mSinceEvents.restart();
            }
        }
        return PQgetResult(mConn);
    }

    static SqlError errorOf(const PGresult *res, const QString &sql)
    {
        QString text = QString::fromUtf8(PQresultErrorField(res, PG_DIAG_MESSAGE_PRIMARY));
        if (text.isEmpty())
            text = QString::fromUtf8(PQresultErrorMessage(res)).trimmed();
        const char *position = PQresultErrorField(res, PG_DIAG_STATEMENT_POSITION);
        if (position && *position)
            text = QStringLiteral("Line %1: %2").arg(LineOfPosition(sql, QByteArray(position).toLongLong())).arg(text);
        return SqlError(0, Source, text, QString::fromLatin1(PQresultErrorField(res, PG_DIAG_SQLSTATE)));
    }

    static QStringList fieldNames(const PGresult *res)
    {
        QStringList names;
        const int columns = PQnfields(res);
        for (int c = 0; c < columns; ++c)
            names.append(QString::fromUtf8(PQfname(res, c)));
        return names;
    }

    static QVariantList rowOf(const PGresult *res, int r)
    {
        const int columns = PQnfields(res);
        QVariantList row;
        row.reserve(columns);
        for (int c = 0; c < columns; ++c)
            row.append(valueOf(res, r, c));
        return row;
    }

    static std::shared_ptr<Recordset> makeRows(
        const QStringList &names, const QList<QVariantList> &rows, qint64 notKept, const PGresult *end)
    {
        const QByteArray affected = PQcmdTuples(const_cast<PGresult *>(end));
        std::shared_ptr<Recordset> rs;
        if (names.isEmpty()) // a row set without columns still counts as one
            rs = std::make_shared<Recordset>(QStringList { QString() }, QList<QVariantList>(), rows.size() + notKept);
        else
            rs = std::make_shared<Recordset>(names, rows, affected.isEmpty() ? -1 : affected.toLongLong());
        rs->SetRowsNotKept(notKept);
        return rs;
    }

    // A row set arriving a row at a time, up to the limit.
    struct Streamed {
        QStringList names;
        QList<QVariantList> rows;
        qint64 notKept = 0;
        std::shared_ptr<Recordset> Finish(const PGresult *end) const { return makeRows(names, rows, notKept, end); }
    };

    static std::shared_ptr<Recordset> readRows(const PGresult *res, qint64 limit)
    {
        const int count = PQntuples(res);
        const int kept = limit > 0 ? int(qMin<qint64>(count, limit)) : count;
        QList<QVariantList> rows;
        rows.reserve(kept);
        for (int r = 0; r < kept; ++r)
            rows.append(rowOf(res, r));
        return makeRows(fieldNames(res), rows, count - kept, res);
    }

    static void onNotice(void *arg, const PGresult *res)
    {
        auto *self = static_cast<PgConnection *>(arg);
        if (self->mNotices)
            self->mNotices->append(QString::fromUtf8(PQresultErrorField(res, PG_DIAG_MESSAGE_PRIMARY)));
    }

    PGconn *mConn = nullptr;
    QStringList *mNotices = nullptr;
    QElapsedTimer mSinceEvents;
};

} // namespace

QString PgDriver::QuoteConnInfoValue(const QString &value)
{
    QString out = value;
    out.replace(QLatin1Char('\\'), QLatin1String("\\\\"));
    out.replace(QLatin1Char('\''), QLatin1String("\\'"));
    return QLatin1Char('\'') + out + QLatin1Char('\'');
}

std::unique_ptr<SqlConnection> PgDriver::Open(const QString &connectionString)
{
    PGconn *conn = PQconnectdb(connectionString.toUtf8().constData());
    if (!conn)
        throw SqlError(0, Source, QStringLiteral("Out of memory"));
    if (PQstatus(conn) != CONNECTION_OK) {
        const QString message = connectionMessage(conn);
        PQfinish(conn);
        throw SqlError(0, Source, message, QStringLiteral("08001"));
    }
    return std::make_unique<PgConnection>(conn);
}
