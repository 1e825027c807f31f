#pragma once

#include "DocGenProject.h"
#include "DocGenSteps.h"

#include <QList>

// Lays out the results of a documentation job. Both writers walk the same steps
// and write to the project's GenerateName; errors are thrown as DocGenError.
class DocGenWriter
{
public:
    virtual ~DocGenWriter() = default;
    // All objects of the collections, one section per type.
    virtual void WriteAll(const QList<DocGenCollection> &collections) = 0;
    // The module with what the scan found: per type the distinct objects, and per
    // file its references.
    virtual void WriteModule(const DocGenModule &module, const QList<DocGenCollection> &collections,
        const QList<QList<DocGenObjectPtr>> &foundObjects)
        = 0;
};

class DocGenHtmlWriter : public DocGenWriter
{
public:
    DocGenHtmlWriter(const DocGenProject &project, DocGenSteps &steps);
    void WriteAll(const QList<DocGenCollection> &collections) override;
    void WriteModule(const DocGenModule &module, const QList<DocGenCollection> &collections,
        const QList<QList<DocGenObjectPtr>> &foundObjects) override;

    // The document as it was written last.
    const QString &Buffer() const { return mBuffer; }

private:
    void AddHTMLLine(const QString &text, int indent = 0);
    void AddHTMLHead(const QString &title);
    void AddHTMLFoot();
    void AddObjectRow(DocGenObject &object, int &position, bool &writeHeader, bool withMiddle);
    void AddDetailsRow(const QString &label, const QString &value);
    void Save();

    const DocGenProject &mProject;
    DocGenSteps &mSteps;
    QString mBuffer;
};
