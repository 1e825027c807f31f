#include "Registry.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <QSettings>
#include <QStringList>

#include <algorithm>

namespace
{

// The registry API reads names and values into 255-character buffers; longer
// ones are not seen, and KORVO's store keeps that limit.
constexpr int MaxTextLength = 255;

QString RootName(long root)
{
    return root == Registry::HKEY_CURRENT_USER ? QStringLiteral("HKEY_CURRENT_USER") : QString::number(root);
}

QString LastPart(const QString &path)
{
    QString p = path;
    p.replace(QLatin1Char('/'), QLatin1Char('\\'));
    while (p.endsWith(QLatin1Char('\\')))
        p.chop(1);
    return p.mid(p.lastIndexOf(QLatin1Char('\\')) + 1);
}

// Numbered keys (projects) in numeric order ahead of all other names.
bool SubKeyLess(const QString &a, const QString &b)
{
    bool aNum = false, bNum = false;
    const qulonglong an = a.toULongLong(&aNum);
    const qulonglong bn = b.toULongLong(&bNum);
    if (aNum != bNum)
        return aNum;
    if (aNum && an != bn)
        return an < bn;
    return a < b;
}

// Converts what QSettings gives back into the registry's string form. False
// when the value cannot be read (too long).
bool ToRegistryText(const QVariant &v, QString &dataType, QString &text)
{
    switch (v.typeId()) {
    case QMetaType::QString:
        dataType = QString::number(REG_SZ);
        text = v.toString();
        while (text.endsWith(QChar(0)))
            text.chop(1);
        break;
    case QMetaType::QStringList:
        // An unquoted INI value with commas, as typed by hand.
        dataType = QString::number(REG_SZ);
        text = v.toStringList().join(QStringLiteral(", "));
        break;
    case QMetaType::QByteArray: {
        dataType = QString::number(REG_BINARY);
        const QByteArray bytes = v.toByteArray().left(MaxTextLength);
        text = QString::fromLatin1(bytes.toHex(' ').toUpper());
        return true;
    }
    default:
        dataType = QString::number(REG_NONE);
        text.clear();
        break;
    }
    return text.size() <= MaxTextLength;
}

bool UsableValueName(const QString &name)
{
    return !name.isEmpty() && name.size() <= MaxTextLength && !name.contains(QLatin1Char('/'))
        && !name.contains(QLatin1Char('\\'));
}

// Projects keep passwords in the store: only the user may read the file.
void KeepPrivate(const QSettings &settings)
{
    if (settings.format() == QSettings::NativeFormat && QFileInfo(settings.fileName()).isRelative())
        return; // the registry, not a file
    QFile::setPermissions(
        settings.fileName(), QFile::ReadOwner | QFile::WriteOwner | QFile::ReadUser | QFile::WriteUser);
}

} // namespace

std::shared_ptr<RegistryValue> RegistryValues::Item(const QString &name) const
{
    for (const auto &v : mItems) {
        if (v->Name == name)
            return v;
    }
    return nullptr;
}

bool RegistryValues::IsValidItem(const QString &name) const
{
    return Item(name) != nullptr;
}

QString RegistryValues::GetValueData(const QString &name) const
{
    const auto v = Item(name);
    return v ? v->DataValue : QString();
}

void RegistryValues::Add(const QString &name, const QString &dataType, const QString &dataValue)
{
    auto v = std::make_shared<RegistryValue>();
    v->Name = name;
    v->DataType = dataType;
    v->DataValue = dataValue;
    mItems.append(v);
}

std::shared_ptr<RegistryKey> RegistryKeys::Item(const QString &name) const
{
    for (const auto &k : mItems) {
        if (k->Name == name)
            return k;
    }
    return nullptr;
}

RegistryKey::RegistryKey()
    : SubKeys(std::make_shared<RegistryKeys>())
{
}

bool RegistryKey::WriteValues(Registry &registry, bool recursive) const
{
    bool ok = true;
    for (const auto &v : Values)
        ok = registry.WriteValue(Root, Path, v->Name, v->DataValue) && ok;
    if (recursive) {
        for (const auto &k : *SubKeys)
            ok = k->WriteValues(registry, true) && ok;
    }
    return ok;
}

Registry::Registry(const QString &settingsFile)
    : mSettingsFile(settingsFile)
{
    if (mSettingsFile.isEmpty())
        mSettingsFile = qEnvironmentVariable("KORVO_SETTINGS_FILE");
}

std::unique_ptr<QSettings> Registry::Open() const
{
    if (!mSettingsFile.isEmpty())
        return std::make_unique<QSettings>(mSettingsFile, QSettings::IniFormat);
#ifdef Q_OS_WIN
    return std::make_unique<QSettings>(
        QStringLiteral("HKEY_CURRENT_USER\\Software\\KORVO Integration"), QSettings::NativeFormat);
#else
    // The native format here is an INI file; with no application name it is
    // "KORVO Integration.conf" in the user's configuration folder.
    return std::make_unique<QSettings>(
        QSettings::NativeFormat, QSettings::UserScope, QStringLiteral("KORVO Integration"));
#endif
}

bool Registry::SetAsideIfDamaged(QString &copyPath) const
{
    auto s = Open();
    s->allKeys(); // the file is read on first use
    if (s->status() != QSettings::FormatError)
        return false;
    const QString file = s->fileName();
    s.reset();
    copyPath
        = file + QStringLiteral(".damaged-") + QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-hhmmss"));
    if (!QFile::rename(file, copyPath))
        copyPath.clear();
    return true;
}

bool Registry::GroupOf(long root, const QString &path, QString &group)
{
    if (root != HKEY_CURRENT_USER)
        return false;
    QStringList parts
        = QString(path).replace(QLatin1Char('\\'), QLatin1Char('/')).split(QLatin1Char('/'), Qt::SkipEmptyParts);
    const QStringList folder = Folder().split(QLatin1Char('\\'));
    if (parts.size() < folder.size())
        return false;
    for (int i = 0; i < folder.size(); ++i) {
        // Key names compare without regard to case, as in the registry.
        if (parts.at(i).compare(folder.at(i), Qt::CaseInsensitive) != 0)
            return false;
    }
    group = parts.mid(folder.size()).join(QLatin1Char('/'));
    return true;
}

void Registry::ReadValues(QSettings &settings, RegistryValues &values)
{
    for (const QString &name : settings.childKeys()) {
        if (name.size() > MaxTextLength)
            continue;
        QString type, text;
        if (ToRegistryText(settings.value(name), type, text))
            values.Add(name, type, text);
    }
}

bool Registry::KeyExists(long root, const QString &path) const
{
    QString group;
    if (!GroupOf(root, path, group))
        return false;
    auto s = Open();
    s->beginGroup(group);
    return !s->childKeys().isEmpty() || !s->childGroups().isEmpty();
}

bool Registry::KeyValueExists(long root, const QString &path, const QString &valueName) const
{
    QString group;
    if (!GroupOf(root, path, group))
        return false;
    auto s = Open();
    s->beginGroup(group);
    const QStringList names = s->childKeys();
    return std::any_of(names.begin(), names.end(), [&](const QString &n) { return n == valueName; });
}

QString Registry::GetValue(long root, const QString &path, const QString &valueName) const
{
    QString group;
    if (!GroupOf(root, path, group) || !UsableValueName(valueName))
        return {};
    auto s = Open();
    s->beginGroup(group);
    if (!s->contains(valueName))
        return {};
    QString type, text;
    if (!ToRegistryText(s->value(valueName), type, text))
        return {};
    return text;
}

RegistryValues Registry::GetAllValues(long root, const QString &path) const
{
    RegistryValues values;
    QString group;
    if (!GroupOf(root, path, group))
        return values;
    auto s = Open();
    s->beginGroup(group);
    ReadValues(*s, values);
    return values;
}

void Registry::LoadKey(
    QSettings &settings, RegistryKey &key, const QString &group, bool loadValues, bool loadSubKeys) const
{
    if (loadValues) {
        settings.beginGroup(group);
        ReadValues(settings, key.Values);
        settings.endGroup();
    }
    if (loadSubKeys)
        key.SubKeys = LoadSubKeys(settings, key.Root, key.Path, group, loadValues, loadSubKeys);
}

std::shared_ptr<RegistryKeys> Registry::LoadSubKeys(
    QSettings &settings, long root, const QString &path, const QString &group, bool loadValues, bool loadSubKeys) const
{
    auto keys = std::make_shared<RegistryKeys>();
    settings.beginGroup(group);
    QStringList names = settings.childGroups();
    settings.endGroup();
    std::sort(names.begin(), names.end(), SubKeyLess);
    QString base = path;
    while (base.endsWith(QLatin1Char('\\')) || base.endsWith(QLatin1Char('/')))
        base.chop(1);
    for (const QString &name : names) {
        auto key = std::make_shared<RegistryKey>();
        key->Root = root;
        key->Path = base + QLatin1Char('\\') + name;
        key->Key = RootName(root) + QLatin1Char('\\') + key->Path;
        key->Name = name;
        LoadKey(settings, *key, group.isEmpty() ? name : group + QLatin1Char('/') + name, loadValues, loadSubKeys);
        keys->Add(key);
    }
    return keys;
}

std::shared_ptr<RegistryKey> Registry::GetKeyData(
    long root, const QString &path, bool loadValues, bool loadSubKeys) const
{
    auto key = std::make_shared<RegistryKey>();
    key->Root = root;
    key->Path = path;
    key->Key = RootName(root) + QLatin1Char('\\') + path;
    key->Name = LastPart(path);
    QString group;
    if (!GroupOf(root, path, group))
        return key;
    auto s = Open();
    LoadKey(*s, *key, group, loadValues, loadSubKeys);
    return key;
}

std::shared_ptr<RegistryKeys> Registry::GetAllSubKeys(
    long root, const QString &path, bool loadValues, bool loadSubKeys) const
{
    QString group;
    if (!GroupOf(root, path, group))
        return std::make_shared<RegistryKeys>();
    auto s = Open();
    return LoadSubKeys(*s, root, path, group, loadValues, loadSubKeys);
}

bool Registry::WriteValue(long root, const QString &path, const QString &valueName, const QString &value)
{
    QString group;
    if (!GroupOf(root, path, group) || !UsableValueName(valueName))
        return false;
    auto s = Open();
    if (!s->isWritable())
        return false;
    s->beginGroup(group);
    s->setValue(valueName, value);
    s->endGroup();
    s->sync();
    KeepPrivate(*s);
    return s->status() == QSettings::NoError;
}

bool Registry::DeleteKey(long root, const QString &path)
{
    QString group;
    if (!GroupOf(root, path, group))
        return false;
    auto s = Open();
    if (!s->isWritable())
        return false;
    s->beginGroup(group);
    const bool hasValues = !s->childKeys().isEmpty();
    const bool hasSubKeys = !s->childGroups().isEmpty();
    if (hasSubKeys || !hasValues)
        return false;
    s->remove(QString());
    s->endGroup();
    s->sync();
    KeepPrivate(*s);
    return s->status() == QSettings::NoError;
}
