#pragma once

#include "DocGenObjects.h"

#include <QList>
#include <QString>

#include <memory>

// One reference to a database object found in a source file.
struct DocGenFileFound {
    DocGenObjectPtr ObjectFound;
    int FoundAt = 0; // line, from 1
    QString FoundString; // the context around the reference
    int PositionStart = 0; // 0-based offset of the reference in FoundString
    int PositionEnd = 0; // 1-based character behind the reference in FoundString
    int CharPosiInContent = 0; // 1-based position of the reference in the file's text
};

using DocGenFileFoundPtr = std::shared_ptr<DocGenFileFound>;

// A source file of a module and what a scan found in it.
class DocGenFile
{
public:
    QString FileName() const { return mFileName; }
    // Also sets Path, Name and Extenstion.
    void SetFileName(const QString &fileName);
    // The text behind the last point of Name, or all of Name without a point.
    QString Extenstion() const { return mExtension; }
    // Up to and including the last separator; empty without one.
    QString Path() const { return mPath; }
    QString Name() const { return mName; }

    int FoundCount() const { return int(mFound.size()); }
    int FoundUniqueCount() const { return int(mUnique.size()); }
    void FoundClear();
    // 1-based, in the order of finding.
    DocGenFileFoundPtr FoundDetails(int position) const { return mFound.value(position - 1); }
    // The reference that comes next in reading order after (line, character),
    // or nothing; the first of equal places wins.
    DocGenFileFoundPtr FoundDetailsGetNext(int line, int character) const;
    // The references as walking FoundDetailsGetNext from (0, 0) gives them, in
    // n log n rather than n squared steps.
    QList<DocGenFileFoundPtr> FoundInReadingOrder() const;
    DocGenObjectPtr FoundUnique(int position) const { return mUnique.value(position - 1); }
    DocGenFileFoundPtr AddFoundDetails();
    // Appended unless the very same object is there already.
    void AddFoundUnique(const DocGenObjectPtr &object);

private:
    QString mFileName, mPath, mName, mExtension;
    QList<DocGenFileFoundPtr> mFound;
    QList<DocGenObjectPtr> mUnique;
};

using DocGenFilePtr = std::shared_ptr<DocGenFile>;

// The files of a module, keyed by full file name.
class DocGenFiles
{
public:
    DocGenFilePtr Item(int position) const { return mFiles.value(position - 1); } // 1-based
    // A duplicate name is the caller's error: test FileExitst first.
    DocGenFilePtr Add(const QString &fileName);
    // Whether a file of this name is listed, without regard to case.
    bool FileExitst(const QString &fileName) const;
    int Count() const { return int(mFiles.size()); }
    void Clear() { mFiles.clear(); }

    QList<DocGenFilePtr>::const_iterator begin() const { return mFiles.cbegin(); }
    QList<DocGenFilePtr>::const_iterator end() const { return mFiles.cend(); }

private:
    QList<DocGenFilePtr> mFiles;
};

// A named set of source files.
class DocGenModule
{
public:
    int Index = 0; // place in Modules, kept by the list
    QString Name;
    QString CreatedOn;
    QString DevelopedBy;
    QString Project; // the user's own project name
    QString Description;
    QString CreatedBy;
    QString Path; // primary module path

    DocGenFiles &Files() { return mFiles; }
    const DocGenFiles &Files() const { return mFiles; }

private:
    DocGenFiles mFiles;
};

using DocGenModulePtr = std::shared_ptr<DocGenModule>;

class DocGenModules
{
public:
    DocGenModulePtr Item(int position) const { return mModules.value(position - 1); } // 1-based
    // A new empty module at the end.
    DocGenModulePtr Add();
    int Count() const { return int(mModules.size()); }
    void Clear() { mModules.clear(); }
    void Remove(int position);

    QList<DocGenModulePtr>::const_iterator begin() const { return mModules.cbegin(); }
    QList<DocGenModulePtr>::const_iterator end() const { return mModules.cend(); }

private:
    void ReIndexItems();
    QList<DocGenModulePtr> mModules;
};

// The documentation settings and modules of one user and project, kept in
// "{project}_documents.xml".
class DocGenProject
{
public:
    DocGenModules &Modules() { return mModules; }
    const DocGenModules &Modules() const { return mModules; }

    QString CurrentModule;
    QString TemplateName;
    QString DocumentType; // "HTML" or "WORD"
    QString GenerateName;
    QString GenerateNameAlt;
    int OptionSelected = 2; // 1 the selected module, 2 all objects
    bool IncludeModuleSummay = false;
    bool IncludeModuleSummayPerFile = false;
    bool EncapsOwnerNames = false;
    bool EncapsObjects = false;
    bool OwnerInOwnCol = false;
    bool IncludeOwnerNames = false;

    // A missing file or one that is no such document changes nothing.
    void LoadDocumentSettings(const QString &path);
    // False when the file could not be written.
    bool SaveDocumentSettings(const QString &path, QString *reason = nullptr) const;

    // {user data folder}/{project}_documents.xml
    static QString SettingsPath(const QString &projectName);

private:
    DocGenModules mModules;
};
