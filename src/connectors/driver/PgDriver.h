#pragma once

#include "SqlDriver.h"

// Connections through libpq. The connection string is a libpq conninfo string
// ("host=... port=... dbname=... user=... password=..."). Error texts are the
// server's primary message, with "Line {n}: " in front when the server gives
// the error's position in the text sent; notices become messages. After an
// error inside a transaction the transaction is rolled back, so that the
// connection stays usable.
class PgDriver : public SqlDriver
{
public:
    std::unique_ptr<SqlConnection> Open(const QString &connectionString) override;

    // Quotes a value for a conninfo string.
    static QString QuoteConnInfoValue(const QString &value);
};
