#include "ScriptCreator.h"

#include "UserDataFolder.h"
#include "sql/KORVOSQL.h"

#include <QDomDocument>
#include <QFile>
#include <QXmlStreamWriter>

namespace
{

QString YesNo(bool flag)
{
    return flag ? QStringLiteral("yes") : QStringLiteral("no");
}

// Calls take(name, value) for each attribute of the element, names lower-cased.
template <typename Take> void ReadAttributes(const QDomElement &element, Take take)
{
    if (element.isNull())
        return;
    const QDomNamedNodeMap attributes = element.attributes();
    for (int i = 0; i < attributes.count(); ++i) {
        const QDomAttr attribute = attributes.item(i).toAttr();
        take(attribute.name().toLower(), attribute.value());
    }
}

} // namespace

ScriptCreatorObjectPtr ScriptCreatorObjects::Add()
{
    mItems.append(std::make_shared<ScriptCreatorObject>());
    ReIndexItems();
    return mItems.last();
}

void ScriptCreatorObjects::Remove(int position)
{
    if (position < 1 || position > mItems.size())
        return;
    mItems.removeAt(position - 1);
    ReIndexItems();
}

void ScriptCreatorObjects::ReIndexItems()
{
    for (int i = 0; i < mItems.size(); ++i)
        mItems[i]->Index = i + 1;
}

ScriptCreator::ScriptCreator(UiServices &ui, std::shared_ptr<const ServerKind> kind)
    : mSQL(std::make_shared<KORVOSQL>(ui, std::move(kind)))
{
}

ScriptCreator::~ScriptCreator() = default;

QString ScriptCreator::DateText(const QDateTime &date)
{
    return date.toString(Qt::ISODate);
}

QDateTime ScriptCreator::TextDate(const QString &text)
{
    return QDateTime::fromString(text, Qt::ISODate);
}

QString ScriptCreator::SettingsPath(const QString &projectName)
{
    return UserDataFolder() + QLatin1Char('/') + projectName + QStringLiteral("_scripts.xml");
}

void ScriptCreator::LoadDocumentSettings(const QString &path)
{
    if (!QFile::exists(path))
        return;
    QDomDocument document;
    if (!document.setContent(ReadTextFile(path)))
        return;
    const QDomElement root = document.documentElement();
    if (root.tagName() != QLatin1String("ScriptCreator"))
        return;

    ReadAttributes(
        root.firstChildElement(QStringLiteral("Settings")), [this](const QString &name, const QString &value) {
            if (name == QLatin1String("option")) {
                bool numeric = false;
                const int option = value.toInt(&numeric);
                if (numeric && option >= 1 && option <= 4)
                    OptionSelected = option;
            } else if (name == QLatin1String("filename")) {
                FileName = value;
            } else if (name == QLatin1String("dropobjects")) {
                DropObjects = value == QLatin1String("yes");
            } else if (name == QLatin1String("createpermission")) {
                CreatePermission = value == QLatin1String("yes");
            }
        });
    ReadAttributes(
        root.firstChildElement(QStringLiteral("Database")), [this](const QString &name, const QString &value) {
            if (name == QLatin1String("server"))
                mSQL->SetServer(value);
            else if (name == QLatin1String("username"))
                mSQL->SetUserName(value);
            else if (name == QLatin1String("usewinauth"))
                mSQL->SetUseWinNTAuth(value == QLatin1String("yes"));
            else if (name == QLatin1String("database"))
                mSQL->SetDatabase(value);
        });
    ReadAttributes(root.firstChildElement(QStringLiteral("VSS")), [this](const QString &name, const QString &value) {
        if (name == QLatin1String("from") && TextDate(value).isValid())
            VSSStart = value;
        else if (name == QLatin1String("until") && TextDate(value).isValid())
            VSSEnd = value;
        else if (name == QLatin1String("today"))
            VSSIsToday = value == QLatin1String("yes");
    });
}

bool ScriptCreator::SaveDocumentSettings(const QString &path, QString *reason) const
{
    // A stream writer keeps the attributes in the order written, which the DOM
    // does not; the text is one line with no declaration.
    QString text;
    QXmlStreamWriter xml(&text);
    xml.writeStartElement(QStringLiteral("ScriptCreator"));

    xml.writeEmptyElement(QStringLiteral("Settings"));
    xml.writeAttribute(QStringLiteral("option"), QString::number(OptionSelected));
    xml.writeAttribute(QStringLiteral("filename"), FileName);
    xml.writeAttribute(QStringLiteral("dropobjects"), YesNo(DropObjects));
    xml.writeAttribute(QStringLiteral("createpermission"), YesNo(CreatePermission));

    // Never the password.
    xml.writeEmptyElement(QStringLiteral("Database"));
    xml.writeAttribute(QStringLiteral("server"), mSQL->Server());
    xml.writeAttribute(QStringLiteral("username"), mSQL->StoredUserName());
    xml.writeAttribute(QStringLiteral("usewinauth"), YesNo(mSQL->UseWinNTAuth()));
    xml.writeAttribute(QStringLiteral("database"), mSQL->Database());

    xml.writeEmptyElement(QStringLiteral("VSS"));
    xml.writeAttribute(QStringLiteral("from"), VSSStart);
    xml.writeAttribute(QStringLiteral("until"), VSSEnd);
    xml.writeAttribute(QStringLiteral("today"), YesNo(VSSIsToday));

    xml.writeEndElement();
    return WriteTextFile(path, text, reason);
}
