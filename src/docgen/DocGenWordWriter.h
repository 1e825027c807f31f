#pragma once

#include "DocGenWriter.h"
#include "DocxDocument.h"

#include <optional>

// The documents of the HTML writer as a word-processing document (.docx),
// built from the project's template.
class DocGenWordWriter : public DocGenWriter
{
public:
    DocGenWordWriter(const DocGenProject &project, DocGenSteps &steps);
    void WriteAll(const QList<DocGenCollection> &collections) override;
    void WriteModule(const DocGenModule &module, const QList<DocGenCollection> &collections,
        const QList<QList<DocGenObjectPtr>> &foundObjects) override;

private:
    void Start();
    void Block(int style, const QString &text);
    // A table of objects of one type; the first call makes it with its header.
    void AddWordObjectRow(std::optional<DocxTable> &table, DocGenObject &object, bool withMiddle);
    void HeaderCell(DocxTable &table, int column, const QString &text);
    void Save();

    const DocGenProject &mProject;
    DocGenSteps &mSteps;
    std::unique_ptr<DocxDocument> mDoc;
};
