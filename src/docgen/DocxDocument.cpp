#include "DocxDocument.h"

#include <QFile>
#include <QHash>
#include <QRegularExpression>
#include <QXmlStreamReader>
#include <QXmlStreamWriter>

#include <zip.h>

namespace
{

const QString W = QStringLiteral("http://schemas.openxmlformats.org/wordprocessingml/2006/main");

struct Run {
    QString text;
    bool bold = false;
    int color = -1; // automatic
};

struct Para {
    QString style;
    double indent = -1;
    QList<Run> runs;
};

struct Block {
    int table = -1; // a table, or else the paragraph
    Para para;
};

using Container = QList<Block>;

struct Cell {
    Container content { Block() };
    double width = -1;
    int shading = -1;
};

struct Table {
    int columns = 0;
    double width = -1;
    QList<QList<Cell>> rows;
};

QString Hex(int color)
{
    // The word processor's integers keep red in the lowest byte.
    return QStringLiteral("%1%2%3")
        .arg(color & 0xFF, 2, 16, QLatin1Char('0'))
        .arg((color >> 8) & 0xFF, 2, 16, QLatin1Char('0'))
        .arg((color >> 16) & 0xFF, 2, 16, QLatin1Char('0'))
        .toUpper();
}

// Characters XML cannot hold (controls of binary files, lone surrogates) become U+FFFD.
QString XmlSafe(const QString &text)
{
    QString out = text;
    for (qsizetype i = 0; i < out.size(); ++i) {
        const char16_t c = out.at(i).unicode();
        if ((c < 0x20 && c != 9) || c == 0xFFFE || c == 0xFFFF)
            out[i] = QChar(0xFFFD);
        else if (QChar::isHighSurrogate(c) && i + 1 < out.size() && QChar::isLowSurrogate(out.at(i + 1).unicode()))
            ++i;
        else if (QChar::isSurrogate(c))
            out[i] = QChar(0xFFFD);
    }
    return out;
}

QStringList SplitParagraphs(const QString &text)
{
    static const QRegularExpression marks(QStringLiteral("\r\n|\r|\n"));
    return text.split(marks);
}

const char *const DefaultStyles = R"(<?xml version="1.0" encoding="UTF-8" standalone="yes"?>
<w:styles xmlns:w="http://schemas.openxmlformats.org/wordprocessingml/2006/main"><w:docDefaults><w:rPrDefault><w:rPr><w:rFonts w:ascii="Calibri" w:hAnsi="Calibri" w:eastAsia="Calibri" w:cs="Calibri"/><w:sz w:val="20"/><w:szCs w:val="20"/><w:lang w:val="en-GB"/></w:rPr></w:rPrDefault><w:pPrDefault><w:pPr><w:spacing w:after="80"/></w:pPr></w:pPrDefault></w:docDefaults><w:style w:type="paragraph" w:default="1" w:styleId="Normal"><w:name w:val="Normal"/><w:qFormat/></w:style><w:style w:type="paragraph" w:styleId="Heading1"><w:name w:val="heading 1"/><w:basedOn w:val="Normal"/><w:next w:val="Normal"/><w:uiPriority w:val="9"/><w:qFormat/><w:pPr><w:keepNext/><w:spacing w:before="360" w:after="120"/><w:outlineLvl w:val="0"/></w:pPr><w:rPr><w:b/><w:color w:val="002157"/><w:sz w:val="32"/><w:szCs w:val="32"/></w:rPr></w:style><w:style w:type="paragraph" w:styleId="Heading2"><w:name w:val="heading 2"/><w:basedOn w:val="Normal"/><w:next w:val="Normal"/><w:uiPriority w:val="9"/><w:qFormat/><w:pPr><w:keepNext/><w:spacing w:before="300" w:after="100"/><w:outlineLvl w:val="1"/></w:pPr><w:rPr><w:b/><w:color w:val="002157"/><w:sz w:val="28"/><w:szCs w:val="28"/></w:rPr></w:style><w:style w:type="paragraph" w:styleId="Heading3"><w:name w:val="heading 3"/><w:basedOn w:val="Normal"/><w:next w:val="Normal"/><w:uiPriority w:val="9"/><w:qFormat/><w:pPr><w:keepNext/><w:spacing w:before="240" w:after="80"/><w:outlineLvl w:val="2"/></w:pPr><w:rPr><w:b/><w:color w:val="002157"/><w:sz w:val="24"/><w:szCs w:val="24"/></w:rPr></w:style><w:style w:type="paragraph" w:styleId="Heading4"><w:name w:val="heading 4"/><w:basedOn w:val="Normal"/><w:next w:val="Normal"/><w:uiPriority w:val="9"/><w:qFormat/><w:pPr><w:keepNext/><w:spacing w:before="200" w:after="60"/><w:outlineLvl w:val="3"/></w:pPr><w:rPr><w:b/><w:i/><w:color w:val="002157"/><w:sz w:val="22"/><w:szCs w:val="22"/></w:rPr></w:style><w:style w:type="table" w:default="1" w:styleId="TableNormal"><w:name w:val="Normal Table"/><w:uiPriority w:val="99"/><w:semiHidden/><w:tblPr><w:tblInd w:w="0" w:type="dxa"/><w:tblCellMar><w:top w:w="0" w:type="dxa"/><w:left w:w="108" w:type="dxa"/><w:bottom w:w="0" w:type="dxa"/><w:right w:w="108" w:type="dxa"/></w:tblCellMar></w:tblPr></w:style></w:styles>)";

const char *const Settings = R"(<?xml version="1.0" encoding="UTF-8" standalone="yes"?>
<w:settings xmlns:w="http://schemas.openxmlformats.org/wordprocessingml/2006/main"><w:defaultTabStop w:val="720"/><w:characterSpacingControl w:val="doNotCompress"/><w:compat><w:compatSetting w:name="compatibilityMode" w:uri="http://schemas.microsoft.com/office/word" w:val="15"/></w:compat></w:settings>)";

QByteArray ReadZipEntry(zip_t *archive, const char *name)
{
    zip_stat_t stat;
    if (zip_stat(archive, name, 0, &stat) != 0 || !(stat.valid & ZIP_STAT_SIZE))
        return {};
    zip_file_t *file = zip_fopen(archive, name, 0);
    if (!file)
        return {};
    QByteArray data(qsizetype(stat.size), Qt::Uninitialized);
    const zip_int64_t read = zip_fread(file, data.data(), stat.size);
    zip_fclose(file);
    return read == zip_int64_t(stat.size) ? data : QByteArray();
}

} // namespace

struct DocxDocument::Impl {
    Container body { Block() };
    QList<Table> tables;
    QString styles; // styles.xml
    QString addedStyles; // inserted before its end
    QHash<QString, QString> styleIdByName; // lower-case name -> id
    QString normalId = QStringLiteral("Normal");
    QByteArray theme, numbering;
    QList<QPair<QString, QString>> pageSize, pageMargins; // attributes of w:pgSz and w:pgMar

    Container &ContainerOf(int table, int row, int column)
    {
        return table < 0 ? body : tables[table].rows[row - 1][column - 1].content;
    }

    void ReadStyles()
    {
        QXmlStreamReader r(styles);
        QString id, type;
        bool isDefault = false;
        while (!r.atEnd()) {
            r.readNext();
            if (!r.isStartElement())
                continue;
            if (r.name() == QLatin1String("style")) {
                id = r.attributes().value(W, QStringLiteral("styleId")).toString();
                type = r.attributes().value(W, QStringLiteral("type")).toString();
                const auto d = r.attributes().value(W, QStringLiteral("default"));
                isDefault = d == QLatin1String("1") || d == QLatin1String("true");
                if (type == QLatin1String("paragraph") && isDefault)
                    normalId = id;
            } else if (r.name() == QLatin1String("name") && !id.isEmpty()) {
                styleIdByName.insert(r.attributes().value(W, QStringLiteral("val")).toString().toLower(), id);
                styleIdByName.insert(QStringLiteral("#id:") + id.toLower(), id);
            }
        }
    }

    QString BuiltinStyle(int id)
    {
        if (id == -1)
            return normalId;
        const int level = -id - 1; // heading 1..4
        const QString name = QStringLiteral("heading %1").arg(level);
        if (const auto it = styleIdByName.constFind(name); it != styleIdByName.cend())
            return *it;
        // A template without this heading gets the default's definition.
        const QString styleId = QStringLiteral("Heading%1").arg(level);
        const int sizes[] = { 32, 28, 24, 22 };
        addedStyles += QStringLiteral("<w:style w:type=\"paragraph\" w:styleId=\"%1\"><w:name w:val=\"%2\"/>"
                                      "<w:basedOn w:val=\"%3\"/><w:next w:val=\"%3\"/><w:qFormat/><w:pPr><w:keepNext/>"
                                      "<w:outlineLvl w:val=\"%4\"/></w:pPr><w:rPr><w:b/><w:sz w:val=\"%5\"/></w:rPr>"
                                      "</w:style>")
                           .arg(styleId, name, normalId)
                           .arg(level - 1)
                           .arg(sizes[level - 1]);
        styleIdByName.insert(name, styleId);
        return styleId;
    }

    void WriteParagraph(QXmlStreamWriter &w, const Para &p) const
    {
        w.writeStartElement(QStringLiteral("w:p"));
        if (!p.style.isEmpty() || p.indent >= 0) {
            w.writeStartElement(QStringLiteral("w:pPr"));
            if (!p.style.isEmpty()) {
                w.writeEmptyElement(QStringLiteral("w:pStyle"));
                w.writeAttribute(QStringLiteral("w:val"), p.style);
            }
            if (p.indent >= 0) {
                w.writeEmptyElement(QStringLiteral("w:ind"));
                w.writeAttribute(QStringLiteral("w:left"), QString::number(qRound(p.indent * 20)));
            }
            w.writeEndElement();
        }
        for (const Run &run : p.runs) {
            if (run.text.isEmpty())
                continue;
            w.writeStartElement(QStringLiteral("w:r"));
            if (run.bold || run.color >= 0) {
                w.writeStartElement(QStringLiteral("w:rPr"));
                if (run.bold)
                    w.writeEmptyElement(QStringLiteral("w:b"));
                if (run.color >= 0) {
                    w.writeEmptyElement(QStringLiteral("w:color"));
                    w.writeAttribute(QStringLiteral("w:val"), Hex(run.color));
                }
                w.writeEndElement();
            }
            const QStringList pieces = XmlSafe(run.text).split(QLatin1Char('\t'));
            for (qsizetype i = 0; i < pieces.size(); ++i) {
                if (i > 0)
                    w.writeEmptyElement(QStringLiteral("w:tab"));
                if (pieces[i].isEmpty())
                    continue;
                w.writeStartElement(QStringLiteral("w:t"));
                w.writeAttribute(QStringLiteral("xml:space"), QStringLiteral("preserve"));
                w.writeCharacters(pieces[i]);
                w.writeEndElement();
            }
            w.writeEndElement();
        }
        w.writeEndElement();
    }

    void WriteContainer(QXmlStreamWriter &w, const Container &c, int textWidth) const
    {
        for (const Block &b : c) {
            if (b.table < 0)
                WriteParagraph(w, b.para);
            else
                WriteTable(w, tables[b.table], textWidth);
        }
    }

    void WriteTable(QXmlStreamWriter &w, const Table &t, int textWidth) const
    {
        const int width = t.width > 0 ? qRound(textWidth * t.width / 100) : textWidth;
        w.writeStartElement(QStringLiteral("w:tbl"));
        w.writeStartElement(QStringLiteral("w:tblPr"));
        w.writeEmptyElement(QStringLiteral("w:tblW"));
        if (t.width > 0) {
            w.writeAttribute(QStringLiteral("w:w"), QString::number(qRound(t.width * 50)));
            w.writeAttribute(QStringLiteral("w:type"), QStringLiteral("pct"));
        } else {
            w.writeAttribute(QStringLiteral("w:w"), QStringLiteral("0"));
            w.writeAttribute(QStringLiteral("w:type"), QStringLiteral("auto"));
        }
        w.writeStartElement(QStringLiteral("w:tblBorders"));
        for (const char *side : { "top", "left", "bottom", "right", "insideH", "insideV" }) {
            w.writeEmptyElement(QStringLiteral("w:") + QLatin1String(side));
            w.writeAttribute(QStringLiteral("w:val"), QStringLiteral("single"));
            w.writeAttribute(QStringLiteral("w:sz"), QStringLiteral("4"));
            w.writeAttribute(QStringLiteral("w:space"), QStringLiteral("0"));
            w.writeAttribute(QStringLiteral("w:color"), QStringLiteral("auto"));
        }
        w.writeEndElement();
        w.writeEndElement(); // tblPr
        w.writeStartElement(QStringLiteral("w:tblGrid"));
        for (int c = 0; c < t.columns; ++c) {
            const double pct = t.rows.isEmpty() ? -1 : t.rows.first()[c].width;
            w.writeEmptyElement(QStringLiteral("w:gridCol"));
            w.writeAttribute(
                QStringLiteral("w:w"), QString::number(pct > 0 ? qRound(width * pct / 100) : width / t.columns));
        }
        w.writeEndElement();
        for (const auto &row : t.rows) {
            w.writeStartElement(QStringLiteral("w:tr"));
            for (int c = 0; c < row.size(); ++c) {
                const Cell &cell = row[c];
                const int cellWidth = cell.width > 0 ? qRound(width * cell.width / 100) : width / t.columns;
                w.writeStartElement(QStringLiteral("w:tc"));
                w.writeStartElement(QStringLiteral("w:tcPr"));
                w.writeEmptyElement(QStringLiteral("w:tcW"));
                if (cell.width > 0) {
                    w.writeAttribute(QStringLiteral("w:w"), QString::number(qRound(cell.width * 50)));
                    w.writeAttribute(QStringLiteral("w:type"), QStringLiteral("pct"));
                } else {
                    w.writeAttribute(QStringLiteral("w:w"), QString::number(cellWidth));
                    w.writeAttribute(QStringLiteral("w:type"), QStringLiteral("dxa"));
                }
                if (cell.shading >= 0) {
                    w.writeEmptyElement(QStringLiteral("w:shd"));
                    w.writeAttribute(QStringLiteral("w:val"), QStringLiteral("clear"));
                    w.writeAttribute(QStringLiteral("w:color"), QStringLiteral("auto"));
                    w.writeAttribute(QStringLiteral("w:fill"), Hex(cell.shading));
                }
                w.writeEndElement();
                WriteContainer(w, cell.content, cellWidth);
                w.writeEndElement();
            }
            w.writeEndElement();
        }
        w.writeEndElement();
    }
};

// --- DocxRange ---

QPair<int, int> DocxRange::Span(int size) const
{
    if (mInserted.first < 0)
        return mTable < 0 ? qMakePair(size - 1, size) : qMakePair(0, size);
    return { mInserted.first, std::min(mInserted.second, size) };
}

void DocxRange::SetStyle(int builtinId)
{
    auto &d = *mDoc->d;
    const QString id = d.BuiltinStyle(builtinId);
    Container &c = d.ContainerOf(mTable, mRow, mColumn);
    if (mTable < 0)
        c.last().para.style = id;
    else
        for (Block &b : c)
            b.para.style = id;
}

void DocxRange::SetStyle(const QString &name)
{
    auto &d = *mDoc->d;
    const QString id = d.styleIdByName.value(name.toLower(), name);
    Container &c = d.ContainerOf(mTable, mRow, mColumn);
    if (mTable < 0)
        c.last().para.style = id;
    else
        for (Block &b : c)
            b.para.style = id;
}

void DocxRange::SetText(const QString &text)
{
    Container &c = mDoc->d->ContainerOf(mTable, mRow, mColumn);
    if (mTable >= 0) {
        // A cell's text replaces its content; its paragraphs keep the first one's style.
        Para first = c.first().para;
        first.runs.clear();
        c = Container { Block { -1, first } };
    }
    const int first = int(c.size()) - 1;
    const QStringList pieces = SplitParagraphs(text);
    for (qsizetype i = 0; i < pieces.size(); ++i) {
        if (i > 0) {
            Block next;
            next.para.style = c.last().para.style;
            next.para.indent = c.last().para.indent;
            c.append(next);
        }
        if (!pieces[i].isEmpty())
            c.last().para.runs.append({ pieces[i], false, -1 });
    }
    // The range now spans the new text; at the end of the document that is
    // without the empty paragraph that follows it.
    const bool endsInMark = pieces.size() > 1 && pieces.last().isEmpty();
    mInserted = { first, int(c.size()) - (mTable < 0 && endsInMark ? 1 : 0) };
}

void DocxRange::InsertAfter(const QString &text, bool bold, int color)
{
    Container &c = mDoc->d->ContainerOf(mTable, mRow, mColumn);
    const QStringList pieces = SplitParagraphs(text);
    for (qsizetype i = 0; i < pieces.size(); ++i) {
        if (i > 0) {
            Block next;
            next.para.style = c.last().para.style;
            c.append(next);
        }
        if (!pieces[i].isEmpty())
            c.last().para.runs.append({ pieces[i], bold, color });
    }
}

void DocxRange::SetFontBold(bool bold)
{
    Container &c = mDoc->d->ContainerOf(mTable, mRow, mColumn);
    const auto span = Span(int(c.size()));
    for (int i = span.first; i < span.second; ++i)
        for (Run &run : c[i].para.runs)
            run.bold = bold;
}

void DocxRange::SetFontColor(int color)
{
    Container &c = mDoc->d->ContainerOf(mTable, mRow, mColumn);
    const auto span = Span(int(c.size()));
    for (int i = span.first; i < span.second; ++i)
        for (Run &run : c[i].para.runs)
            run.color = color;
}

void DocxRange::SetLeftIndent(double points)
{
    Container &c = mDoc->d->ContainerOf(mTable, mRow, mColumn);
    const auto span = Span(int(c.size()));
    for (int i = span.first; i < span.second; ++i)
        c[i].para.indent = points;
}

// --- DocxTable ---

void DocxTable::SetPreferredWidthPercent(double percent)
{
    mDoc->d->tables[mIndex].width = percent;
}

void DocxTable::AddRow()
{
    Table &t = mDoc->d->tables[mIndex];
    t.rows.append(QList<Cell>(t.columns));
}

int DocxTable::RowCount() const
{
    return int(mDoc->d->tables[mIndex].rows.size());
}

DocxRange DocxTable::CellRange(int row, int column)
{
    return DocxRange(mDoc, mIndex, row, column);
}

void DocxTable::SetCellWidthPercent(int row, int column, double percent)
{
    mDoc->d->tables[mIndex].rows[row - 1][column - 1].width = percent;
}

void DocxTable::SetCellShading(int row, int column, int color)
{
    mDoc->d->tables[mIndex].rows[row - 1][column - 1].shading = color;
}

// --- DocxDocument ---

DocxDocument::DocxDocument()
    : d(std::make_unique<Impl>())
{
}

DocxDocument::~DocxDocument() = default;

std::unique_ptr<DocxDocument> DocxDocument::Add(const QString &templateName, QString &error)
{
    std::unique_ptr<DocxDocument> doc(new DocxDocument());
    Impl &d = *doc->d;
    if (templateName.isEmpty()) {
        d.styles = QString::fromUtf8(DefaultStyles);
    } else {
        int code = 0;
        zip_t *archive = zip_open(QFile::encodeName(templateName).constData(), ZIP_RDONLY, &code);
        if (!archive) {
            zip_error_t e;
            zip_error_init_with_code(&e, code);
            error = QString::fromUtf8(zip_error_strerror(&e));
            zip_error_fini(&e);
            return nullptr;
        }
        const QByteArray styles = ReadZipEntry(archive, "word/styles.xml");
        const QByteArray body = ReadZipEntry(archive, "word/document.xml");
        d.theme = ReadZipEntry(archive, "word/theme/theme1.xml");
        d.numbering = ReadZipEntry(archive, "word/numbering.xml");
        zip_close(archive);
        if (styles.isEmpty() || body.isEmpty()) {
            error = QStringLiteral("it holds no word-processing document");
            return nullptr;
        }
        d.styles = QString::fromUtf8(styles);
        // The page set-up: size and margins of the last section.
        QXmlStreamReader r(body);
        while (!r.atEnd()) {
            r.readNext();
            if (!r.isStartElement() || r.namespaceUri() != W)
                continue;
            if (r.name() == QLatin1String("pgSz") || r.name() == QLatin1String("pgMar")) {
                auto &into = r.name() == QLatin1String("pgSz") ? d.pageSize : d.pageMargins;
                into.clear();
                for (const auto &a : r.attributes())
                    if (a.namespaceUri() == W)
                        into.append({ a.name().toString(), a.value().toString() });
            }
        }
        if (r.hasError()) {
            error = QStringLiteral("its document is no valid XML");
            return nullptr;
        }
    }
    d.ReadStyles();
    if (d.styleIdByName.isEmpty() && !templateName.isEmpty()) {
        error = QStringLiteral("its styles cannot be read");
        return nullptr;
    }
    return doc;
}

DocxTable DocxDocument::AddTable(const DocxRange &at, int rows, int columns)
{
    Table t;
    t.columns = columns;
    t.rows = QList<QList<Cell>>(rows, QList<Cell>(columns));
    d->tables.append(t);
    const int index = int(d->tables.size() - 1);
    Container &c = d->ContainerOf(at.mTable, at.mRow, at.mColumn);
    // The table takes the place before the container's last paragraph.
    c.insert(c.size() - 1, Block { index, Para() });
    return DocxTable(this, index);
}

bool DocxDocument::AddParagraphStyle(const QString &name, const QString &font, double size, int color, int shading)
{
    if (d->styleIdByName.contains(name.toLower()) || d->styleIdByName.contains(QStringLiteral("#id:") + name.toLower()))
        return false;
    QString id = name;
    id.remove(QLatin1Char(' '));
    d->addedStyles += QStringLiteral("<w:style w:type=\"paragraph\" w:customStyle=\"1\" w:styleId=\"%1\">"
                                     "<w:name w:val=\"%2\"/><w:basedOn w:val=\"%3\"/><w:qFormat/>"
                                     "<w:pPr><w:shd w:val=\"clear\" w:color=\"auto\" w:fill=\"%4\"/></w:pPr>"
                                     "<w:rPr><w:rFonts w:ascii=\"%5\" w:hAnsi=\"%5\" w:cs=\"%5\"/>"
                                     "<w:color w:val=\"%6\"/><w:sz w:val=\"%7\"/><w:szCs w:val=\"%7\"/></w:rPr>"
                                     "</w:style>")
                          .arg(id, name.toHtmlEscaped(), d->normalId, Hex(shading), font.toHtmlEscaped(), Hex(color))
                          .arg(qRound(size * 2));
    d->styleIdByName.insert(name.toLower(), id);
    return true;
}

QByteArray DocxDocument::Save() const
{
    // Page set-up: the template's, or A4 with margins of 2 cm.
    QList<QPair<QString, QString>> size = d->pageSize, margins = d->pageMargins;
    if (size.isEmpty())
        size = { { "w", "11906" }, { "h", "16838" } };
    if (margins.isEmpty())
        margins = { { "top", "1134" }, { "right", "1134" }, { "bottom", "1134" }, { "left", "1134" },
            { "header", "709" }, { "footer", "709" }, { "gutter", "0" } };
    const auto twips = [](const QList<QPair<QString, QString>> &list, const char *name, int fallback) {
        for (const auto &a : list)
            if (a.first == QLatin1String(name))
                return a.second.toInt();
        return fallback;
    };
    const int textWidth
        = std::max(1440, twips(size, "w", 11906) - twips(margins, "left", 1134) - twips(margins, "right", 1134));

    QByteArray document;
    QXmlStreamWriter w(&document);
    w.writeStartDocument(QStringLiteral("1.0"), true);
    w.writeStartElement(QStringLiteral("w:document"));
    w.writeNamespace(W, QStringLiteral("w"));
    w.writeNamespace(
        QStringLiteral("http://schemas.openxmlformats.org/officeDocument/2006/relationships"), QStringLiteral("r"));
    w.writeStartElement(QStringLiteral("w:body"));
    d->WriteContainer(w, d->body, textWidth);
    w.writeStartElement(QStringLiteral("w:sectPr"));
    w.writeEmptyElement(QStringLiteral("w:pgSz"));
    for (const auto &a : size)
        w.writeAttribute(QStringLiteral("w:") + a.first, a.second);
    w.writeEmptyElement(QStringLiteral("w:pgMar"));
    for (const auto &a : margins)
        w.writeAttribute(QStringLiteral("w:") + a.first, a.second);
    w.writeEndElement();
    w.writeEndElement();
    w.writeEndElement();
    w.writeEndDocument();

    QString styles = d->styles;
    styles.insert(styles.lastIndexOf(QStringLiteral("</w:styles>")), d->addedStyles);

    QString types = QStringLiteral(
        "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n"
        "<Types xmlns=\"http://schemas.openxmlformats.org/package/2006/content-types\">"
        "<Default Extension=\"rels\" ContentType=\"application/vnd.openxmlformats-package.relationships+xml\"/>"
        "<Default Extension=\"xml\" ContentType=\"application/xml\"/>"
        "<Override PartName=\"/word/document.xml\" "
        "ContentType=\"application/vnd.openxmlformats-officedocument.wordprocessingml.document.main+xml\"/>"
        "<Override PartName=\"/word/styles.xml\" "
        "ContentType=\"application/vnd.openxmlformats-officedocument.wordprocessingml.styles+xml\"/>"
        "<Override PartName=\"/word/settings.xml\" "
        "ContentType=\"application/vnd.openxmlformats-officedocument.wordprocessingml.settings+xml\"/>");
    QString rels = QStringLiteral(
        "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n"
        "<Relationships xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\">"
        "<Relationship Id=\"rId1\" "
        "Type=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships/styles\" Target=\"styles.xml\"/>"
        "<Relationship Id=\"rId2\" "
        "Type=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships/settings\" "
        "Target=\"settings.xml\"/>");
    if (!d->theme.isEmpty()) {
        types += QStringLiteral("<Override PartName=\"/word/theme/theme1.xml\" "
                                "ContentType=\"application/vnd.openxmlformats-officedocument.theme+xml\"/>");
        rels += QStringLiteral("<Relationship Id=\"rId3\" "
                               "Type=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships/theme\" "
                               "Target=\"theme/theme1.xml\"/>");
    }
    if (!d->numbering.isEmpty()) {
        types += QStringLiteral(
            "<Override PartName=\"/word/numbering.xml\" "
            "ContentType=\"application/vnd.openxmlformats-officedocument.wordprocessingml.numbering+xml\"/>");
        rels += QStringLiteral("<Relationship Id=\"rId4\" "
                               "Type=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships/numbering\" "
                               "Target=\"numbering.xml\"/>");
    }
    types += QStringLiteral("</Types>");
    rels += QStringLiteral("</Relationships>");
    const QString rootRels
        = QStringLiteral("<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n"
                         "<Relationships xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\">"
                         "<Relationship Id=\"rId1\" "
                         "Type=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships/officeDocument\" "
                         "Target=\"word/document.xml\"/></Relationships>");

    const QList<QPair<const char *, QByteArray>> parts {
        { "[Content_Types].xml", types.toUtf8() },
        { "_rels/.rels", rootRels.toUtf8() },
        { "word/document.xml", document },
        { "word/_rels/document.xml.rels", rels.toUtf8() },
        { "word/styles.xml", styles.toUtf8() },
        { "word/settings.xml", QByteArray(Settings) },
        { "word/theme/theme1.xml", d->theme },
        { "word/numbering.xml", d->numbering },
    };

    zip_error_t error;
    zip_error_init(&error);
    zip_source_t *memory = zip_source_buffer_create(nullptr, 0, 0, &error);
    zip_source_keep(memory);
    zip_t *archive = zip_open_from_source(memory, ZIP_TRUNCATE, &error);
    for (const auto &part : parts) {
        if (part.second.isEmpty())
            continue;
        zip_source_t *source = zip_source_buffer(archive, part.second.constData(), zip_uint64_t(part.second.size()), 0);
        const zip_int64_t index = zip_file_add(archive, part.first, source, ZIP_FL_ENC_UTF_8);
        // The fastest deflate: a large document's XML shrinks nearly as well.
        if (index >= 0)
            zip_set_file_compression(archive, zip_uint64_t(index), ZIP_CM_DEFLATE, 1);
    }
    zip_close(archive);
    QByteArray bytes;
    if (zip_source_open(memory) == 0) {
        zip_source_seek(memory, 0, SEEK_END);
        bytes.resize(qsizetype(zip_source_tell(memory)));
        zip_source_seek(memory, 0, SEEK_SET);
        zip_source_read(memory, bytes.data(), zip_uint64_t(bytes.size()));
        zip_source_close(memory);
    }
    zip_source_free(memory);
    zip_error_fini(&error);
    return bytes;
}
