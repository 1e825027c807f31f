#pragma once

#include <QList>
#include <QString>

#include <memory>

class QSettings;

// Access to KORVO's per-user store. Paths are written the registry way
// ("Software\KORVO Integration\3", "\" or "/" as separator) and are relative to
// the root. Everything below the folder "Software\KORVO Integration" lives in one
// QSettings store: an INI file "KORVO Integration.conf" in the user's
// configuration folder, or HKEY_CURRENT_USER\Software\KORVO Integration on
// Windows. Keys outside that folder do not exist: reading them gives the empty
// result and writing them fails.

// The registry types a value reports in DataType, as decimal text.
enum RegistryDataType : long { REG_NONE = 0, REG_SZ = 1, REG_BINARY = 3 };

class RegistryValue
{
public:
    QString Name;
    QString DataType; // the registry type as decimal text
    QString DataValue;
};

// Values of one key, in the store's order, found by exact name.
class RegistryValues
{
public:
    std::shared_ptr<RegistryValue> Item(const QString &name) const;
    std::shared_ptr<RegistryValue> Item(int index) const { return mItems.value(index); }
    int Count() const { return int(mItems.size()); }
    bool IsValidItem(const QString &name) const;
    // The value's text, empty when there is no such value.
    QString GetValueData(const QString &name) const;

    auto begin() const { return mItems.begin(); }
    auto end() const { return mItems.end(); }

private:
    friend class Registry;
    friend class RegistryKey;
    void Add(const QString &name, const QString &dataType, const QString &dataValue);
    QList<std::shared_ptr<RegistryValue>> mItems;
};

class RegistryKeys;

class RegistryKey
{
public:
    RegistryKey();

    QString Key; // "{root}\{path}"
    QString Name; // last part of the path
    QString Path;
    long Root = 0;
    RegistryValues Values;
    std::shared_ptr<RegistryKeys> SubKeys;

    QString GetValueData(const QString &name) const { return Values.GetValueData(name); }

    // Writes every value of this key back to the store through the given
    // registry, and with recursive also those of its sub-keys. True when every
    // write succeeded.
    bool WriteValues(class Registry &registry, bool recursive = false) const;
};

// Sub-keys in order: numeric names first in numeric order, then the rest by name.
class RegistryKeys
{
public:
    std::shared_ptr<RegistryKey> Item(int index) const { return mItems.value(index); }
    std::shared_ptr<RegistryKey> Item(const QString &name) const;
    void Add(const std::shared_ptr<RegistryKey> &key) { mItems.append(key); }
    int Count() const { return int(mItems.size()); }

    auto begin() const { return mItems.begin(); }
    auto end() const { return mItems.end(); }

private:
    QList<std::shared_ptr<RegistryKey>> mItems;
};

class Registry
{
public:
    // The only root KORVO uses.
    static constexpr long HKEY_CURRENT_USER = long(0x80000001);
    // The folder of KORVO's settings and projects below the root.
    static QString Folder() { return QStringLiteral("Software\\KORVO Integration"); }
    // "{Folder}\{name}", the path of a sub-key of the folder.
    static QString SubPath(const QString &name) { return Folder() + QLatin1Char('\\') + name; }

    // With an empty settingsFile the store is $KORVO_SETTINGS_FILE when set, else
    // the user's own store; a given path is an INI file (used by tests).
    explicit Registry(const QString &settingsFile = {});

    // The INI file in use, or empty when the native store is used.
    QString SettingsFile() const { return mSettingsFile; }

    bool KeyExists(long root, const QString &path) const;
    bool KeyValueExists(long root, const QString &path, const QString &valueName) const;
    QString GetValue(long root, const QString &path, const QString &valueName) const;
    RegistryValues GetAllValues(long root, const QString &path) const;
    std::shared_ptr<RegistryKey> GetKeyData(long root, const QString &path, bool loadValues, bool loadSubKeys) const;
    std::shared_ptr<RegistryKeys> GetAllSubKeys(
        long root, const QString &path, bool loadValues, bool loadSubKeys) const;
    bool WriteValue(long root, const QString &path, const QString &valueName, const QString &value);
    // Removes the key with its values; fails when it has sub-keys or is missing.
    bool DeleteKey(long root, const QString &path);
    // A store file that cannot be read is moved aside to copyPath (empty when
    // even that failed), so that the program goes on with the defaults.
    bool SetAsideIfDamaged(QString &copyPath) const;

private:
    std::unique_ptr<QSettings> Open() const;
    // The QSettings group of a path, or nothing when the path is outside the folder.
    static bool GroupOf(long root, const QString &path, QString &group);
    void LoadKey(QSettings &settings, RegistryKey &key, const QString &group, bool loadValues, bool loadSubKeys) const;
    std::shared_ptr<RegistryKeys> LoadSubKeys(QSettings &settings, long root, const QString &path, const QString &group,
        bool loadValues, bool loadSubKeys) const;
    static void ReadValues(QSettings &settings, RegistryValues &values);

    QString mSettingsFile;
};
