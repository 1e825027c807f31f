#include "DocGenProject.h"

#include "UserDataFolder.h"

#include <QDir>
#include <QDomDocument>
#include <QFile>
#include <QXmlStreamWriter>

#include <algorithm>

namespace
{

int LastSeparator(const QString &fileName)
{
#ifdef Q_OS_WIN
    return std::max(fileName.lastIndexOf(QLatin1Char('\\')), fileName.lastIndexOf(QLatin1Char('/')));
#else
    return fileName.lastIndexOf(QLatin1Char('/'));
#endif
}

QString YesNo(bool on)
{
    return on ? QStringLiteral("yes") : QStringLiteral("no");
}

bool IsYes(const QString &value)
{
    return value.toLower() == QLatin1String("yes");
}

} // namespace

// --- DocGenFile ---

void DocGenFile::SetFileName(const QString &fileName)
{
    mFileName = fileName;
    const int cut = LastSeparator(fileName);
    mPath = fileName.left(cut + 1);
    mName = fileName.mid(cut + 1);
    const int point = mName.lastIndexOf(QLatin1Char('.'));
    mExtension = point < 0 ? mName : mName.mid(point + 1);
}

void DocGenFile::FoundClear()
{
    mFound.clear();
    mUnique.clear();
}

DocGenFileFoundPtr DocGenFile::FoundDetailsGetNext(int line, int character) const
{
    DocGenFileFoundPtr best;
    for (const auto &found : mFound) {
        const bool after = found->FoundAt > line || (found->FoundAt == line && found->CharPosiInContent > character);
        if (!after)
            continue;
        if (!best || found->FoundAt < best->FoundAt
            || (found->FoundAt == best->FoundAt && found->CharPosiInContent < best->CharPosiInContent))
            best = found;
    }
    return best;
}

QList<DocGenFileFoundPtr> DocGenFile::FoundInReadingOrder() const
{
    QList<DocGenFileFoundPtr> order = mFound;
    // Stable: of references at one place the first found stays first, and the
    // walk shows only that one.
    std::stable_sort(order.begin(), order.end(), [](const DocGenFileFoundPtr &a, const DocGenFileFoundPtr &b) {
        return std::tie(a->FoundAt, a->CharPosiInContent) < std::tie(b->FoundAt, b->CharPosiInContent);
    });
    const auto samePlace = [](const DocGenFileFoundPtr &a, const DocGenFileFoundPtr &b) {
        return a->FoundAt == b->FoundAt && a->CharPosiInContent == b->CharPosiInContent;
    };
    order.erase(std::unique(order.begin(), order.end(), samePlace), order.end());
    // A place at or before line 0, character 0 is never reached by the walk.
    while (!order.isEmpty() && !(order.first()->FoundAt > 0 || order.first()->CharPosiInContent > 0))
        order.removeFirst();
    return order;
}

DocGenFileFoundPtr DocGenFile::AddFoundDetails()
{
    mFound.append(std::make_shared<DocGenFileFound>());
    return mFound.last();
}

void DocGenFile::AddFoundUnique(const DocGenObjectPtr &object)
{
    if (!mUnique.contains(object))
        mUnique.append(object);
}

// --- DocGenFiles ---

DocGenFilePtr DocGenFiles::Add(const QString &fileName)
{
    auto file = std::make_shared<DocGenFile>();
    file->SetFileName(fileName);
    mFiles.append(file);
    return file;
}

bool DocGenFiles::FileExitst(const QString &fileName) const
{
    for (const auto &file : mFiles)
        if (file->FileName().compare(fileName, Qt::CaseInsensitive) == 0)
            return true;
    return false;
}

// --- DocGenModules ---

DocGenModulePtr DocGenModules::Add()
{
    mModules.append(std::make_shared<DocGenModule>());
    ReIndexItems();
    return mModules.last();
}

void DocGenModules::Remove(int position)
{
    if (position >= 1 && position <= mModules.size())
        mModules.removeAt(position - 1);
    ReIndexItems();
}

void DocGenModules::ReIndexItems()
{
    for (int i = 0; i < mModules.size(); ++i)
        mModules[i]->Index = i + 1;
}

// --- DocGenProject ---

QString DocGenProject::SettingsPath(const QString &projectName)
{
    return UserDataFolder() + QLatin1Char('/') + projectName + QStringLiteral("_documents.xml");
}

void DocGenProject::LoadDocumentSettings(const QString &path)
{
    if (!QFile::exists(path))
        return;
    QDomDocument doc;
    // Invalid XML leaves the document empty, and so the project unchanged.
    if (!doc.setContent(ReadTextFile(path)))
        return;
    const QDomElement root = doc.documentElement();
    if (root.tagName() != QLatin1String("ModuleManager"))
        return;

    const QDomElement settings = root.firstChildElement(QStringLiteral("Settings"));
    const QDomNamedNodeMap attributes = settings.attributes();
    for (int i = 0; i < attributes.count(); ++i) {
        const QDomAttr a = attributes.item(i).toAttr();
        const QString name = a.name().toLower();
        const QString value = a.value();
        if (name == QLatin1String("currmodule"))
            CurrentModule = value;
        else if (name == QLatin1String("templatename"))
            TemplateName = value;
        else if (name == QLatin1String("generatename"))
            GenerateName = value;
        else if (name == QLatin1String("generatenamealt"))
            GenerateNameAlt = value;
        else if (name == QLatin1String("documentype"))
            DocumentType = value;
        else if (name == QLatin1String("option")) {
            bool numeric = false;
            const double option = value.trimmed().toDouble(&numeric);
            if (numeric && qRound(option) >= 1 && qRound(option) <= 3)
                OptionSelected = qRound(option);
        } else if (name == QLatin1String("showsummary"))
            IncludeModuleSummay = IsYes(value);
        else if (name == QLatin1String("showsummaryperfile"))
            IncludeModuleSummayPerFile = IsYes(value);
        else if (name == QLatin1String("ownernames"))
            IncludeOwnerNames = IsYes(value);
        else if (name == QLatin1String("encapsulateowner"))
            EncapsOwnerNames = IsYes(value);
        else if (name == QLatin1String("encapsulateobject"))
            EncapsObjects = IsYes(value);
        else if (name == QLatin1String("ownerowncol"))
            OwnerInOwnCol = IsYes(value);
    }

    mModules.Clear();
    const QDomElement modules = root.firstChildElement(QStringLiteral("Modules"));
    for (QDomElement m = modules.firstChildElement(QStringLiteral("Module")); !m.isNull();
         m = m.nextSiblingElement(QStringLiteral("Module"))) {
        const DocGenModulePtr module = mModules.Add();
        const QDomNamedNodeMap ma = m.attributes();
        for (int i = 0; i < ma.count(); ++i) {
            const QDomAttr a = ma.item(i).toAttr();
            const QString name = a.name().toLower();
            if (name == QLatin1String("name"))
                module->Name = a.value();
            else if (name == QLatin1String("project"))
                module->Project = a.value();
            else if (name == QLatin1String("createdby"))
                module->CreatedBy = a.value();
            else if (name == QLatin1String("createdon"))
                module->CreatedOn = a.value();
        }
        const auto text = [&m](const char *element, QString &into) {
            const QDomElement e = m.firstChildElement(QLatin1String(element));
            if (!e.isNull())
                into = e.text();
        };
        text("Description", module->Description);
        text("DevelopedBy", module->DevelopedBy);
        text("PrimaryPath", module->Path);
        for (QDomElement f = m.firstChildElement(QStringLiteral("File")); !f.isNull();
             f = f.nextSiblingElement(QStringLiteral("File")))
            if (!module->Files().FileExitst(f.text()))
                module->Files().Add(f.text());
    }
}

bool DocGenProject::SaveDocumentSettings(const QString &path, QString *reason) const
{
    // A stream writer keeps the attributes in the order they are written; the
    // text is one line with no declaration.
    QString text;
    QXmlStreamWriter w(&text);
    w.writeStartElement(QStringLiteral("ModuleManager"));
    w.writeStartElement(QStringLiteral("Settings"));
    w.writeAttribute(QStringLiteral("currmodule"), CurrentModule);
    w.writeAttribute(QStringLiteral("templatename"), TemplateName);
    w.writeAttribute(QStringLiteral("generatename"), GenerateName);
    w.writeAttribute(QStringLiteral("generatenamealt"), GenerateNameAlt);
    w.writeAttribute(QStringLiteral("documentype"), DocumentType);
    w.writeAttribute(QStringLiteral("option"), QString::number(OptionSelected));
    w.writeAttribute(QStringLiteral("showsummary"), YesNo(IncludeModuleSummay));
    w.writeAttribute(QStringLiteral("showsummaryperfile"), YesNo(IncludeModuleSummayPerFile));
    w.writeAttribute(QStringLiteral("ownernames"), YesNo(IncludeOwnerNames));
    w.writeAttribute(QStringLiteral("encapsulateowner"), YesNo(EncapsOwnerNames));
    w.writeAttribute(QStringLiteral("encapsulateobject"), YesNo(EncapsObjects));
    w.writeAttribute(QStringLiteral("ownerowncol"), YesNo(OwnerInOwnCol));
    w.writeEndElement();
    w.writeStartElement(QStringLiteral("Modules"));
    for (const auto &module : mModules) {
        w.writeStartElement(QStringLiteral("Module"));
        w.writeAttribute(QStringLiteral("name"), module->Name);
        w.writeAttribute(QStringLiteral("project"), module->Project);
        w.writeAttribute(QStringLiteral("createdby"), module->CreatedBy);
        w.writeAttribute(QStringLiteral("createdon"), module->CreatedOn);
        w.writeTextElement(QStringLiteral("Description"), module->Description);
        w.writeTextElement(QStringLiteral("DevelopedBy"), module->DevelopedBy);
        w.writeTextElement(QStringLiteral("PrimaryPath"), module->Path);
        for (const auto &file : module->Files())
            w.writeTextElement(QStringLiteral("File"), file->FileName());
        w.writeEndElement();
    }
    w.writeEndElement();
    w.writeEndElement();
    return WriteTextFile(path, text, reason);
}
