#include "DocGenWordWriter.h"

#include "DocGenText.h"

namespace
{

constexpr int Normal = -1, Heading1 = -2, Heading2 = -3, Heading3 = -4, Heading4 = -5;
constexpr int HeaderShading = 3355443, White = 16777215, FoundColor = 210;

} // namespace

DocGenWordWriter::DocGenWordWriter(const DocGenProject &project, DocGenSteps &steps)
    : mProject(project)
    , mSteps(steps)
{
}

void DocGenWordWriter::Start()
{
    mSteps.NextStep(); // START
    mSteps.SetProgressMax(2);
    mSteps.SetProgress(0, QString());
    mSteps.SetProgress(1, QString());
    QString why;
    mDoc = DocxDocument::Add(mProject.TemplateName, why);
    if (!mDoc) {
        // "document" and "using" run together: that is the message users know.
        QString text = QStringLiteral("Could not open a new document");
        if (!mProject.TemplateName.isEmpty())
            text += QStringLiteral("using template '") + mProject.TemplateName + QLatin1Char('\'');
        throw DocGenError { text + QLatin1Char('.') };
    }
    mSteps.SetProgress(2, QString());
}

void DocGenWordWriter::Block(int style, const QString &text)
{
    DocxRange end = mDoc->EndRange();
    end.SetStyle(style);
    end.SetText(text + QStringLiteral("\r\n"));
}

void DocGenWordWriter::HeaderCell(DocxTable &table, int column, const QString &text)
{
    table.SetCellShading(1, column, HeaderShading);
    DocxRange cell = table.CellRange(1, column);
    cell.SetText(text);
    cell.SetFontColor(White);
    cell.SetFontBold(true);
}

void DocGenWordWriter::AddWordObjectRow(std::optional<DocxTable> &table, DocGenObject &object, bool withMiddle)
{
    const DocGenText text(mProject);
    const bool ownerColumn = text.OwnerColumn();
    QList<double> widths;
    if (!ownerColumn && !withMiddle)
        widths = { 45, 55 };
    else if (!withMiddle)
        widths = { 39, 12, 49 };
    else if (!ownerColumn)
        widths = { 37, 35, 28 };
    else
        widths = { 33, 12, 33, 22 };
    const int columns = int(widths.size());
    if (!table) {
        table = mDoc->AddTable(mDoc->EndRange(), 1, columns);
        table->SetPreferredWidthPercent(100);
        int c = 1;
        HeaderCell(*table, c++, object.ObjectDisplayName() + QStringLiteral(" Name"));
        if (ownerColumn)
            HeaderCell(*table, c++, QStringLiteral("Owner"));
        if (withMiddle)
            HeaderCell(*table, c++, object.DocumentMiddleName());
        HeaderCell(*table, c++, QStringLiteral("Description"));
        for (int i = 0; i < columns; ++i)
            table->SetCellWidthPercent(1, i + 1, widths[i]);
    }
    table->AddRow();
    const int row = table->RowCount();
    for (int i = 0; i < columns; ++i)
        table->SetCellWidthPercent(row, i + 1, widths[i]);
    int c = 1;
    table->CellRange(row, c++).SetText(text.ObjectDisplayText(object, true));
    if (ownerColumn)
        table->CellRange(row, c++).SetText(text.EncapsulateOwner(object.Owner()));
    if (withMiddle) {
        const auto items = object.GetItemInfo(mProject.IncludeOwnerNames, true, false);
        if (items && items->Count() > 0) {
            DocxTable inner = mDoc->AddTable(table->CellRange(row, c), items->Count(), 2);
            inner.SetPreferredWidthPercent(100);
            int r = 0;
            for (const auto &item : *items) {
                ++r;
                inner.SetCellWidthPercent(r, 1, 65);
                inner.SetCellWidthPercent(r, 2, 35);
                inner.CellRange(r, 1).SetText(item->Text);
                const auto child = item->Children().FirstChild();
                inner.CellRange(r, 2).SetText(child ? child->Text : QString());
            }
        }
        ++c;
    }
    table->CellRange(row, c).SetText(object.Description());
}

void DocGenWordWriter::Save()
{
    mSteps.NextStep(); // END
    mSteps.SetProgressMax(1);
    mSteps.SetProgress(0, QString());
    ReplaceFile(mProject.GenerateName, mDoc->Save());
    mSteps.SetProgress(1, QString());
    mDoc.reset();
    mSteps.NextStep();
}

void DocGenWordWriter::WriteAll(const QList<DocGenCollection> &collections)
{
    Start();
    Block(Heading1, QStringLiteral("Database Object Documentation"));
    for (const auto &collection : collections) {
        mSteps.NextStep();
        if (collection.Count() == 0) {
            mSteps.SetProgressMax(1);
            mSteps.SetProgress(1, QString());
            continue;
        }
        mSteps.SetProgressMax(collection.Count() + 2);
        mSteps.SetProgress(0, QString());
        Block(Heading2, collection.ObjectDisplayName);
        std::optional<DocxTable> table;
        int position = 0;
        for (const auto &object : collection.Objects) {
            AddWordObjectRow(table, *object, true);
            mSteps.SetProgress(++position, QString());
        }
    }
    Save();
}

void DocGenWordWriter::WriteModule(const DocGenModule &module, const QList<DocGenCollection> &collections,
    const QList<QList<DocGenObjectPtr>> &foundObjects)
{
    const DocGenText text(mProject);
    Start();
    Block(Heading1, QStringLiteral("Module \"") + module.Name + QLatin1Char('"'));
    Block(Normal, QString());

    std::optional<DocxTable> details;
    const auto detail = [&](const QString &label, const QString &value) {
        if (!details) {
            details = mDoc->AddTable(mDoc->EndRange(), 1, 2);
            details->SetPreferredWidthPercent(100);
        } else {
            details->AddRow();
        }
        const int row = details->RowCount();
        details->SetCellWidthPercent(row, 1, 26);
        details->SetCellWidthPercent(row, 2, 74);
        details->CellRange(row, 1).SetText(label);
        details->CellRange(row, 2).SetText(value);
    };
    detail(QStringLiteral("Name:"), module.Name);
    const auto optional = [&](const char *label, const QString &value) {
        if (!value.isEmpty())
            detail(QLatin1String(label), value);
    };
    optional("Project:", module.Project);
    optional("Created By:", module.CreatedBy);
    optional("Created On:", module.CreatedOn);
    optional("Developed By:", module.DevelopedBy);
    optional("Description:", module.Description);
    optional("Primray Path:", module.Path);
    detail(QStringLiteral("Amount of Files:"), QString::number(module.Files().Count()));

    if (mProject.IncludeModuleSummay) {
        Block(Heading2, QStringLiteral("Summary of Objects used"));
        for (int type = 0; type < collections.size(); ++type) {
            mSteps.NextStep();
            const auto &found = foundObjects.value(type);
            if (found.isEmpty()) {
                mSteps.SetProgressMax(1);
                mSteps.SetProgress(1, QString());
                continue;
            }
            mSteps.SetProgressMax(int(found.size()) + 2);
            mSteps.SetProgress(0, QString());
            Block(Heading3, collections[type].ObjectDisplayName + QLatin1Char(':'));
            std::optional<DocxTable> table;
            int position = 0;
            for (const auto &object : found) {
                AddWordObjectRow(table, *object, true);
                mSteps.SetProgress(++position, QString());
            }
        }
    }
    Block(Normal, QString());
    if (!mDoc->AddParagraphStyle(QStringLiteral("Code"), QStringLiteral("Courier New"), 10, 8421504, 13434879))
        throw DocGenError { QStringLiteral("The template already has a style named \"Code\".") };

    mSteps.NextStep(); // FILES
    const int files = module.Files().Count();
    mSteps.SetProgressMax(2 + files * (mProject.IncludeModuleSummayPerFile ? 4 : 3));
    int position = 0;
    mSteps.SetProgress(position, QString());
    Block(Heading2, QStringLiteral("Files used by Module"));
    const auto twoColumns = [this](const QList<QPair<QString, QString>> &rows) {
        DocxTable table = mDoc->AddTable(mDoc->EndRange(), int(rows.size()), 2);
        table.SetPreferredWidthPercent(100);
        for (int r = 1; r <= rows.size(); ++r) {
            table.SetCellWidthPercent(r, 1, 30);
            table.SetCellWidthPercent(r, 2, 70);
            table.CellRange(r, 1).SetText(rows[r - 1].first);
            table.CellRange(r, 2).SetText(rows[r - 1].second);
        }
    };
    if (!module.Path.isEmpty())
        twoColumns({ { QStringLiteral("Module Primary path:"), module.Path } });
    mSteps.SetProgress(++position, QString());

    const bool ownerColumn = text.OwnerColumn();
    const QList<double> widths
        = ownerColumn ? QList<double> { 8.8, 27.4, 10.7, 53.1 } : QList<double> { 8.8, 36.1, 55.1 };
    for (const auto &file : module.Files()) {
        QString note;
        Block(Heading3, DocGenText::FileDisplayName(module, file->FileName(), note));
        twoColumns(
            { { QStringLiteral("Absolute path:"), file->Path() }, { QStringLiteral("File Name:"), file->Name() } });
        if (!note.isEmpty()) {
            DocxRange end = mDoc->EndRange();
            end.SetStyle(Normal);
            end.SetText(note + QStringLiteral("\r\n"));
            end.SetFontBold(true);
            end.SetLeftIndent(35.4);
        }
        mSteps.SetProgress(++position, QString());

        if (mProject.IncludeModuleSummayPerFile) {
            Block(Heading4, QStringLiteral("Object Summary:"));
            std::optional<DocxTable> table;
            for (int i = 1; i <= file->FoundUniqueCount(); ++i)
                AddWordObjectRow(table, *file->FoundUnique(i), false);
            mSteps.SetProgress(++position, QString());
        }

        Block(Heading4, QStringLiteral("Object References:"));
        DocxTable refs = mDoc->AddTable(mDoc->EndRange(), 1, int(widths.size()));
        refs.SetPreferredWidthPercent(100);
        int c = 1;
        HeaderCell(refs, c++, QStringLiteral("Line"));
        HeaderCell(refs, c++, QStringLiteral("Object"));
        if (ownerColumn)
            HeaderCell(refs, c++, QStringLiteral("Owner"));
        HeaderCell(refs, c++, QStringLiteral("Context"));
        for (int i = 0; i < widths.size(); ++i)
            refs.SetCellWidthPercent(1, i + 1, widths[i]);
        for (const auto &found : file->FoundInReadingOrder()) {
            refs.AddRow();
            const int row = refs.RowCount();
            for (int i = 0; i < widths.size(); ++i)
                refs.SetCellWidthPercent(row, i + 1, widths[i]);
            int col = 1;
            refs.CellRange(row, col++).SetText(QString::number(found->FoundAt));
            refs.CellRange(row, col++).SetText(text.ObjectDisplayText(*found->ObjectFound, true));
            if (ownerColumn)
                refs.CellRange(row, col++).SetText(text.EncapsulateOwner(found->ObjectFound->Owner()));
            // As in the HTML document, the highlight carries the delimiter before the reference.
            const QString &s = found->FoundString;
            const int start = found->PositionStart, end = found->PositionEnd;
            DocxRange context = refs.CellRange(row, col);
            context.SetStyle(QStringLiteral("Code"));
            context.SetText(s.left(start));
            context.InsertAfter(s.mid(std::max(start - 1, 0), end - start), true, FoundColor);
            context.InsertAfter(s.mid(std::max(end - 1, 0)), false, -1);
        }
        position += 2;
        mSteps.SetProgress(position, QString());
    }
    Save();
}
