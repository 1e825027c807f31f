#pragma once

#include <QList>
#include <QPair>
#include <QString>

#include <memory>

class DocxDocument;

// An Office Open XML word-processing document built the way a writer drives a
// word processor: text and tables are only ever appended at the end, through
// ranges. Colours are given as the word processor's integers (0xBBGGRR).
class DocxRange
{
public:
    // Built-in paragraph styles by their word-processor ids: -1 normal, -2 to
    // -5 heading 1 to 4.
    void SetStyle(int builtinId);
    void SetStyle(const QString &name);
    // At the end of the document, inserts the text (each carriage return and
    // line feed, or either alone, ends a paragraph); in a cell, replaces the
    // cell's text.
    void SetText(const QString &text);
    // Font and indent apply to the text the range's SetText put in.
    // Adds text behind the range's text in this font (color -1: automatic).
    void InsertAfter(const QString &text, bool bold, int color);
    void SetFontBold(bool bold);
    void SetFontColor(int color);
    void SetLeftIndent(double points);

private:
    friend class DocxDocument;
    friend class DocxTable;
    DocxRange(DocxDocument *doc, int table, int row, int column)
        : mDoc(doc)
        , mTable(table)
        , mRow(row)
        , mColumn(column)
    {
    }
    DocxDocument *mDoc;
    int mTable, mRow, mColumn; // mTable -1: the end of the document
    QPair<int, int> mInserted { -1,
        -1 }; // blocks the range spans; none set: all of a cell, the last paragraph of the document
    QPair<int, int> Span(int size) const;
};

class DocxTable
{
public:
    void SetPreferredWidthPercent(double percent);
    void AddRow();
    int RowCount() const;
    // 1-based.
    DocxRange CellRange(int row, int column);
    void SetCellWidthPercent(int row, int column, double percent);
    void SetCellShading(int row, int column, int color);

private:
    friend class DocxDocument;
    DocxTable(DocxDocument *doc, int index)
        : mDoc(doc)
        , mIndex(index)
    {
    }
    DocxDocument *mDoc;
    int mIndex;
};

class DocxDocument
{
public:
    // Documents.Add: a new document with the styles and page set-up of the
    // template (.dotx or .docx), or of a clean default set when the name is
    // empty. Null, with the reason in `error`, when the template cannot be used.
    static std::unique_ptr<DocxDocument> Add(const QString &templateName, QString &error);
    ~DocxDocument();

    // The empty range just before the last paragraph mark.
    DocxRange EndRange() { return DocxRange(this, -1, 0, 0); }
    DocxTable AddTable(const DocxRange &at, int rows, int columns);
    // A new paragraph style; false when a style of this name exists.
    bool AddParagraphStyle(const QString &name, const QString &font, double size, int color, int shading);
    // The package's bytes.
    QByteArray Save() const;

    struct Impl;

private:
    DocxDocument();
    friend class DocxRange;
    friend class DocxTable;
    std::unique_ptr<Impl> d;
};
