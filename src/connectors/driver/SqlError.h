#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <exception>

// The error of the driver layer: a failed open or statement, or a closed
// connection asked to work. Number is the server's error number where it gives
// one (0 otherwise); State the five-character SQLSTATE where known; Description
// the text as the driver delivers it ("Line {n}: {message}" when the server
// named a line of the text sent). Messages holds the server messages (PRINT,
// NOTICE) that arrived before the error. ConnectionLost is set by KORVOSQL
// when the connection was gone after the statement failed (or had gone
// earlier): nothing more can be sent until it is opened again.
class SqlError : public std::exception
{
public:
    SqlError(long number, const QString &source, const QString &description, const QString &state = QString())
        : Number(number)
        , Source(source)
        , Description(description)
        , State(state)
        , mWhat(description.toUtf8())
    {
    }

    const char *what() const noexcept override { return mWhat.constData(); }

    long Number = 0;
    QString Source;
    QString Description;
    QString State;
    QStringList Messages;
    bool ConnectionLost = false;

private:
    QByteArray mWhat;
};
