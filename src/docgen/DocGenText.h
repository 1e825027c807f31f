#pragma once

#include "DocGenProject.h"
#include "DocGenSteps.h"

#include <QString>

// The texts both writers derive from the project's switches.
class DocGenText
{
public:
    explicit DocGenText(const DocGenProject &project)
        : mProject(project)
    {
    }

    static QString EscapeHTML(const QString &text, bool useNonBreakingSpace);
    // The owner, in brackets when EncapsOwnerNames is set.
    QString EncapsulateOwner(const QString &owner) const;
    // The object's name as shown; in a table with an owner column, without owner.
    QString ObjectDisplayText(const DocGenObject &object, bool inTable) const;
    // The file's name relative to the module path with ":" for separators and a
    // closing ":", or "@name:" with a note for a file outside it.
    static QString FileDisplayName(const DocGenModule &module, const QString &fileName, QString &note);
    bool OwnerColumn() const { return mProject.IncludeOwnerNames && mProject.OwnerInOwnCol; }

    // The folder of a file name including the last separator, and the rest.
    static QString FolderOf(const QString &fileName);
    static QString NameOf(const QString &fileName);

private:
    const DocGenProject &mProject;
};

// Replaces the file at `path` in one step: the bytes go to a temporary file in
// the same folder, which then takes the name, so that a failed run never
// leaves a half-written document. An existing file is replaced even when it is
// read-only. Throws DocGenError.
void ReplaceFile(const QString &path, const QByteArray &bytes);
