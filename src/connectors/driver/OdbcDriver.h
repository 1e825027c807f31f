#pragma once

#include "SqlDriver.h"

// Connections through the ODBC driver manager (unixODBC on Linux). The
// connection string goes to the driver manager as it stands, so
// "Driver={SQL Server};..." reaches whatever driver is registered under that
// name. Error texts are the driver's, with "Line {n}: " in front where the
// driver reports the server's line (SQL Server drivers do).
class OdbcDriver : public SqlDriver
{
public:
    std::unique_ptr<SqlConnection> Open(const QString &connectionString) override;
};
