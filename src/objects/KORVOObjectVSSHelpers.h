#pragma once

#include "SQLParser.h"

#include <QString>

// A server error's text as the operations show it: the ODBC driver's prefix
// cut off where it leads the text (or follows the "Line {n}: " the driver
// layer puts in front).
QString CleanSQLError(const QString &description);

// The keyword sequences of a type as the "could not be found" message names
// them: "CREATE PROC" or "CREATE PROCEDURE".
QString KeywordSequencesText(const SQLKeywordPatterns &keywords);

// Why a blank source-control text is not run: the connector says nothing about
// a file that is merely empty.
inline const QString BlankSourceControlText = QStringLiteral("The item's text in source control is blank.");
