#pragma once

#include <QList>
#include <QString>

#include <stdexcept>

// The one exception type of the source-control back end. Operations of KORVOVSS
// that have a failure handler catch it and show (or return) its Description;
// Items, Item, CheckedOutBy, GetItemHistory, GetDate and GetProjectSubFolders
// have none and let it reach their caller.
class VssError : public std::runtime_error
{
public:
    // Codes of our own, beside Subversion's and APR's numbers.
    enum : int {
        NotOpen = 1, // no open connection
        NotFound = 160013, // the same number as Subversion's "path not found"
        AlreadyExists = 160020,
        InvalidName = 2,
        BadNameStructure = 3,
        IniFile = 4, // missing or unreadable ini file
    };

    explicit VssError(const QString &description, int code = 0, QList<int> causes = {});

    const QString &Description() const { return mDescription; }
    // The code of the deepest cause, or one of our own.
    int Code() const { return mCode; }
    // True when any link of the error chain carries this code (errors that come
    // over the network arrive wrapped).
    bool Is(int code) const { return mCode == code || mCauses.contains(code); }

private:
    QString mDescription;
    int mCode;
    QList<int> mCauses;
};
