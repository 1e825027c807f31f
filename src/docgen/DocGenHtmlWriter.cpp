#include "DocGenWriter.h"

#include "DocGenText.h"

namespace
{

const char *const StyleRules[] = {
    "body { font: normal normal 100 12px Verdana, Arial, Helvetica, sans-serif; color: #002157; margin: 0px 0px 50px "
    "0px; background-color: #E7EDF5; }",
    "h1 { font-size: 19px; margin: 15px 5px 15px 20px; }",
    "h2 { font-size: 17px; margin: 25px 5px 15px 20px; }",
    "h3 { font-size: 15px; margin: 10px 5px 10px 20px; }",
    "h4 { font-size: 13px; margin: 10px 5px 10px 50px; }",
    "a:link { color: #0054A6; text-decoration: none; }",
    "a:visited { color: #818181; text-decoration: none; }",
    "a:active { color: #A5BAFF; text-decoration: none; }",
    "a:hover { color: #A5BAFF; text-decoration: underline; }",
    "hr { margin-top: 20px; border: 1px solid #002157; height: 2px; width: 400px; }",
    "hr.sub { margin-top: 15px; width: 200px; height: 1px;  }",
    "table { border: 1px solid #002157; width: 700px; margin-left: 50px; margin-right: 50px; }",
    "table.filelist { width: 400px; margin: 15px 10px 20px 50px; }",
    "table.filelist td { padding-left: 20px; }",
    "th { padding: 1px 1px 1px 1px; font-weight: bold; font-size: 13px; color: #E7EDF5; background-color: #002157; "
    "border: 1px solid #002157; border-top-width: 0px; }",
    "td { padding: 1px 1px 1px 1px; font-size: 12px; border: 1px solid #002157; border-top-width: 0px; vertical-align "
    ": top; }",
    "td.line { text-align: right; padding-right: 5px; }",
    "td.note { padding-left: 50px; padding-top: 10px; padding-bottom: 10px; font-weight: bold; }",
    "table.frameless { width:100%; border: 0px; margin: 0px 0px 0px 0px; }",
    "table.frameless td { border: 0px; }",
    "table.details { border: 0px; }",
    "table.details td { border: 0px; }",
    "table.back { border: 0px; margin-top: 20px; }",
    "table.back td { border: 0px; }",
    ".bold { font-weight: bold; }",
    ".code { font-family: \"Courier New\", Courier, monospace; color: #808080; background-color: #FFFFCC; }",
    ".contextobject { font-weight: bold; color: #d20000; }",
    "div#pagecontent { width: 800px; margin: 15px 5px 0px 15px; }",
};

const QString DetailsTable
    = QStringLiteral("<table border=\"0\" cellspacing=\"0\" cellpadding=\"0\" class=\"details\">");

QString Esc(const QString &text, bool nbsp = true)
{
    return DocGenText::EscapeHTML(text, nbsp);
}

} // namespace

DocGenHtmlWriter::DocGenHtmlWriter(const DocGenProject &project, DocGenSteps &steps)
    : mProject(project)
    , mSteps(steps)
{
}

void DocGenHtmlWriter::AddHTMLLine(const QString &text, int indent)
{
    mBuffer += QString(indent, QLatin1Char('\t'));
    mBuffer += text;
    mBuffer += QLatin1String("\r\n");
}

void DocGenHtmlWriter::AddHTMLHead(const QString &title)
{
    mBuffer.clear();
    AddHTMLLine(QStringLiteral("<!DOCTYPE HTML PUBLIC \"-//W3C//DTD HTML 4.01 Transitional//EN\">"));
    AddHTMLLine(QStringLiteral("<html>"));
    AddHTMLLine(QStringLiteral("<head>"));
    AddHTMLLine(QStringLiteral("<title>") + title + QStringLiteral("</title>"), 1);
    AddHTMLLine(QStringLiteral("<style type=\"text/css\">"), 1);
    for (const char *rule : StyleRules)
        AddHTMLLine(QString::fromLatin1(rule), 2);
    AddHTMLLine(QStringLiteral("</style>"), 1);
    AddHTMLLine(QStringLiteral("</head>"));
    AddHTMLLine(QStringLiteral("<body>"));
    AddHTMLLine(QStringLiteral("<div id=\"pagecontent\">"));
}

void DocGenHtmlWriter::AddHTMLFoot()
{
    AddHTMLLine(QStringLiteral("</div>"));
    AddHTMLLine(QStringLiteral("</body>"));
    AddHTMLLine(QStringLiteral("</html>"));
}

void DocGenHtmlWriter::AddObjectRow(DocGenObject &object, int &position, bool &writeHeader, bool withMiddle)
{
    const DocGenText text(mProject);
    const bool ownerColumn = text.OwnerColumn();
    if (writeHeader) {
        writeHeader = false;
        QString name, owner, middle, description;
        if (ownerColumn && withMiddle)
            name = "30%", owner = "8%", middle = "25%", description = "37%";
        else if (ownerColumn)
            name = "39%", owner = "12%", description = "49%";
        else if (withMiddle)
            name = "35%", middle = "25%", description = "40%";
        else
            name = "45%", description = "55%";
        AddHTMLLine(QStringLiteral("<table border=\"1\" cellspacing=\"0\" cellpadding=\"0\">"));
        AddHTMLLine(QStringLiteral("<tr>"));
        AddHTMLLine(
            QStringLiteral("<th width=\"%1\">%2 Name</th>").arg(name, Esc(object.ObjectDisplayName(), false)), 1);
        if (ownerColumn)
            AddHTMLLine(QStringLiteral("<th width=\"%1\">Owner</th>").arg(owner), 1);
        if (withMiddle)
            AddHTMLLine(QStringLiteral("<th width=\"%1\">%2</th>").arg(middle, Esc(object.DocumentMiddleName())), 1);
        AddHTMLLine(QStringLiteral("<th width=\"%1\">Description</th>").arg(description), 1);
        AddHTMLLine(QStringLiteral("</tr>"));
        if (position >= -1)
            mSteps.SetProgress(++position, QString());
    }
    AddHTMLLine(QStringLiteral("<tr>"));
    AddHTMLLine(QStringLiteral("<td>") + Esc(text.ObjectDisplayText(object, true)) + QStringLiteral("</td>"), 1);
    if (ownerColumn)
        AddHTMLLine(QStringLiteral("<td>") + Esc(text.EncapsulateOwner(object.Owner())) + QStringLiteral("</td>"), 1);
    if (withMiddle) {
        QString middle;
        const auto items = object.GetItemInfo(mProject.IncludeOwnerNames, true, false);
        const auto add = [&middle](const QString &line, int indent) {
            middle += QString(indent, QLatin1Char('\t')) + line + QLatin1String("\r\n");
        };
        if (!items || items->Count() == 0) {
            add(QStringLiteral("&nbsp;"), 2);
        } else {
            add(QStringLiteral("<table border=\"0\" cellspacing=\"0\" cellpadding=\"0\" class=\"frameless\">"), 2);
            for (const auto &item : *items) {
                add(QStringLiteral("<tr>"), 2);
                add(QStringLiteral("<td width=\"65%\">") + item->Text + QStringLiteral("</td>"), 3);
                const auto child = item->Children().FirstChild();
                add(QStringLiteral("<td width=\"35%\">") + Esc(child ? child->Text : QString())
                        + QStringLiteral("</td>"),
                    3);
                add(QStringLiteral("</tr>"), 2);
            }
            add(QStringLiteral("</table>"), 2);
        }
        AddHTMLLine(QStringLiteral("<td>"), 1);
        AddHTMLLine(middle);
        AddHTMLLine(QStringLiteral("</td>"), 1);
    }
    AddHTMLLine(QStringLiteral("<td>") + Esc(object.Description()) + QStringLiteral("</td>"), 1);
    AddHTMLLine(QStringLiteral("</tr>"));
    if (position >= -1)
        mSteps.SetProgress(++position, QString());
}

void DocGenHtmlWriter::AddDetailsRow(const QString &label, const QString &value)
{
    AddHTMLLine(QStringLiteral("<tr>"));
    AddHTMLLine(label, 1);
    AddHTMLLine(QStringLiteral("<td>") + Esc(value) + QStringLiteral("</td>"), 1);
    AddHTMLLine(QStringLiteral("</tr>"));
}

void DocGenHtmlWriter::Save()
{
    ReplaceFile(mProject.GenerateName, mBuffer.toUtf8());
}

void DocGenHtmlWriter::WriteAll(const QList<DocGenCollection> &collections)
{
    mSteps.NextStep(); // START
    mSteps.SetProgressMax(2);
    mSteps.SetProgress(0, QString());
    AddHTMLHead(QStringLiteral("Database Object Documentation"));
    mSteps.SetProgress(1, QString());
    AddHTMLLine(QStringLiteral("<h1>Database Object Documentation</h1>"));
    mSteps.SetProgress(2, QString());

    bool first = true;
    for (const auto &collection : collections) {
        mSteps.NextStep();
        if (collection.Count() == 0) {
            mSteps.SetProgressMax(1);
            mSteps.SetProgress(1, QString());
            continue;
        }
        mSteps.SetProgressMax(collection.Count() + 2);
        mSteps.SetProgress(0, QString());
        if (!std::exchange(first, false))
            AddHTMLLine(QStringLiteral("<hr class=\"sub\">"));
        AddHTMLLine(QStringLiteral("<h2>") + Esc(collection.ObjectDisplayName) + QStringLiteral("</h2>"));
        int position = 0;
        bool header = true;
        for (const auto &object : collection.Objects)
            AddObjectRow(*object, position, header, true);
        AddHTMLLine(QStringLiteral("</table>"));
    }

    AddHTMLLine(QStringLiteral("<hr>"));
    AddHTMLFoot();
    mSteps.NextStep(); // END
    mSteps.SetProgressMax(1);
    Save();
    mSteps.SetProgress(1, QString());
    mSteps.NextStep();
}

void DocGenHtmlWriter::WriteModule(const DocGenModule &module, const QList<DocGenCollection> &collections,
    const QList<QList<DocGenObjectPtr>> &foundObjects)
{
    const DocGenText text(mProject);
    mSteps.NextStep(); // START
    mSteps.SetProgressMax(3);
    mSteps.SetProgress(0, QString());
    const QString quoted = Esc(QLatin1Char('"') + module.Name + QLatin1Char('"'), false);
    AddHTMLHead(QStringLiteral("Module ") + quoted);
    mSteps.SetProgress(1, QString());
    AddHTMLLine(QStringLiteral("<h1>Module ") + quoted + QStringLiteral("</h1>"));
    mSteps.SetProgress(2, QString());

    AddHTMLLine(DetailsTable);
    AddDetailsRow(QStringLiteral("<td width=\"150\"><span class=\"bold\">Name:</span></td>"), module.Name);
    const auto optional = [this](const char *label, const QString &value) {
        if (!value.isEmpty())
            AddDetailsRow(QStringLiteral("<td><span class=\"bold\">%1</span></td>").arg(QLatin1String(label)), value);
    };
    optional("Project:", module.Project);
    optional("Created By:", module.CreatedBy);
    optional("Created On:", module.CreatedOn);
    optional("Developed By:", module.DevelopedBy);
    optional("Description:", module.Description);
    optional("Primray Path:", module.Path);
    AddDetailsRow(QStringLiteral("<td><span class=\"bold\">Amount of Files:</span></td>"),
        QString::number(module.Files().Count()));
    AddHTMLLine(QStringLiteral("</table>"));
    AddHTMLLine(QStringLiteral("<hr>"));
    mSteps.SetProgress(3, QString());

    if (mProject.IncludeModuleSummay) {
        AddHTMLLine(QStringLiteral("<h2>Summary of Objects used</h2>"));
        bool first = true;
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
            if (!std::exchange(first, false))
                AddHTMLLine(QStringLiteral("<hr class=\"sub\">"));
            AddHTMLLine(QStringLiteral("<h4>") + Esc(collections[type].ObjectDisplayName) + QStringLiteral(":</h4>"));
            int position = 0;
            bool header = true;
            for (const auto &object : found)
                AddObjectRow(*object, position, header, true);
            AddHTMLLine(QStringLiteral("</table>"));
        }
    }

    mSteps.NextStep(); // FILES
    const int files = module.Files().Count();
    mSteps.SetProgressMax(2 + files * (mProject.IncludeModuleSummayPerFile ? 4 : 3));
    int position = 0;
    mSteps.SetProgress(position, QString());
    AddHTMLLine(QStringLiteral("<hr>"));
    AddHTMLLine(QStringLiteral("<a name=\"filelist\"></a><h2>Files Used</h2>"));
    if (!module.Path.isEmpty()) {
        AddHTMLLine(DetailsTable);
        AddDetailsRow(
            QStringLiteral("<td width=\"150\"><span class=\"bold\">Module Primary path:</span></td>"), module.Path);
        AddHTMLLine(QStringLiteral("</table>"));
    }
    AddHTMLLine(QStringLiteral("<table border=\"0\" cellspacing=\"0\" cellpadding=\"0\" class=\"filelist\">"));
    AddHTMLLine(QStringLiteral("<tr>"));
    AddHTMLLine(QStringLiteral("<th width=\"100%\">Overview</th>"), 1);
    AddHTMLLine(QStringLiteral("</tr>"));
    int number = 0;
    for (const auto &file : module.Files()) {
        QString note;
        AddHTMLLine(QStringLiteral("<tr>"));
        AddHTMLLine(QStringLiteral("<td><a href=\"#file%1\">%2</a></td>")
                        .arg(++number)
                        .arg(Esc(DocGenText::FileDisplayName(module, file->FileName(), note))),
            1);
        AddHTMLLine(QStringLiteral("</tr>"));
    }
    AddHTMLLine(QStringLiteral("</table>"));
    mSteps.SetProgress(++position, QString());

    const bool ownerColumn = text.OwnerColumn();
    number = 0;
    for (const auto &file : module.Files()) {
        QString note;
        const QString shortName = Esc(DocGenText::FileDisplayName(module, file->FileName(), note));
        AddHTMLLine(QStringLiteral("<hr class=\"sub\">"));
        AddHTMLLine(QStringLiteral("<a name=\"file%1\"></a><h3>%2</h3>").arg(++number).arg(shortName));
        AddHTMLLine(DetailsTable);
        AddDetailsRow(
            QStringLiteral("<td width=\"150\"><span class=\"bold\">Absolute path:</span></td>"), file->Path());
        AddDetailsRow(QStringLiteral("<td><span class=\"bold\">File Name:</span></td>"), file->Name());
        if (!note.isEmpty()) {
            AddHTMLLine(QStringLiteral("<tr>"));
            AddHTMLLine(QStringLiteral("<td colspan=\"2\" class=\"note\">") + Esc(note) + QStringLiteral("</td>"), 1);
            AddHTMLLine(QStringLiteral("</tr>"));
        }
        AddHTMLLine(QStringLiteral("</table>"));
        mSteps.SetProgress(++position, QString());

        if (mProject.IncludeModuleSummayPerFile) {
            AddHTMLLine(QStringLiteral("<h4>Object Summary:</h4>"));
            bool header = true;
            int none = -2;
            for (int i = 1; i <= file->FoundUniqueCount(); ++i)
                AddObjectRow(*file->FoundUnique(i), none, header, false);
            AddHTMLLine(QStringLiteral("</table>"));
            mSteps.SetProgress(++position, QString());
        }

        AddHTMLLine(QStringLiteral("<h4>Object References:</h4>"));
        AddHTMLLine(QStringLiteral("<table border=\"0\" cellspacing=\"0\" cellpadding=\"0\">"));
        AddHTMLLine(QStringLiteral("<tr>"));
        AddHTMLLine(QStringLiteral("<th width=\"7%\">Line</th>"), 1);
        if (ownerColumn) {
            AddHTMLLine(QStringLiteral("<th width=\"23%\">Object</th>"), 1);
            AddHTMLLine(QStringLiteral("<th width=\"12%\">Owner</th>"), 1);
        } else {
            AddHTMLLine(QStringLiteral("<th width=\"35%\">Object</th>"), 1);
        }
        AddHTMLLine(QStringLiteral("<th width=\"58%\">Context</th>"), 1);
        AddHTMLLine(QStringLiteral("</tr>"));
        for (const auto &found : file->FoundInReadingOrder()) {
            const QString &s = found->FoundString;
            const int start = found->PositionStart, end = found->PositionEnd;
            AddHTMLLine(QStringLiteral("<tr>"));
            AddHTMLLine(QStringLiteral("<td class=\"line\">%1</td>").arg(found->FoundAt), 1);
            AddHTMLLine(QStringLiteral("<td>") + Esc(text.ObjectDisplayText(*found->ObjectFound, true))
                    + QStringLiteral("</td>"),
                1);
            if (ownerColumn)
                AddHTMLLine(QStringLiteral("<td>") + Esc(text.EncapsulateOwner(found->ObjectFound->Owner()))
                        + QStringLiteral("</td>"),
                    1);
            // The highlight begins one character early, at the delimiter before the reference.
            AddHTMLLine(QStringLiteral("<td class=\"code\">") + Esc(s.left(start), false)
                    + QStringLiteral("<span class=\"contextobject\">")
                    + Esc(s.mid(std::max(start - 1, 0), end - start), false) + QStringLiteral("</span>")
                    + Esc(s.mid(std::max(end - 1, 0)), false) + QStringLiteral("</td>"),
                1);
            AddHTMLLine(QStringLiteral("</tr>"));
        }
        AddHTMLLine(QStringLiteral("</table>"));
        AddHTMLLine(QStringLiteral("<table border=\"0\" cellspacing=\"0\" cellpadding=\"0\" class=\"back\">"));
        AddHTMLLine(QStringLiteral("<tr>"));
        AddHTMLLine(QStringLiteral("<td align=\"right\"><a href=\"#filelist\">Back to Overview</a></td>"), 1);
        AddHTMLLine(QStringLiteral("</tr>"));
        AddHTMLLine(QStringLiteral("</table>"));
        position += 2;
        mSteps.SetProgress(position, QString());
    }

    AddHTMLLine(QStringLiteral("<hr>"));
    AddHTMLFoot();
    mSteps.NextStep(); // END
    mSteps.SetProgressMax(1);
    mSteps.SetProgress(0, QString());
    Save();
    mSteps.SetProgress(1, QString());
    mSteps.NextStep();
}
