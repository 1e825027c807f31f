#include "Registry.h"

#include <QDir>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

// The store is checked from outside through QSettings on the same file, so the
// tests see what another process (or the next start) would see.
class TestRegistry : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<QTemporaryDir> mDir;
    QString mFile;
    static constexpr long HKCU = Registry::HKEY_CURRENT_USER;
    static QString Folder() { return Registry::Folder(); }
    static QString Sub(const char *name) { return Registry::SubPath(QLatin1String(name)); }
    QString Outside(const QString &key) const { return QSettings(mFile, QSettings::IniFormat).value(key).toString(); }
    // "name(value=data ... sub-key(...) ...)", the key as loaded.
    static QString Tree(const RegistryKey &key)
    {
        QStringList parts;
        for (const auto &v : key.Values)
            parts << v->Name + "=" + v->DataValue;
        for (const auto &sub : *key.SubKeys)
            parts << Tree(*sub);
        return key.Name + "(" + parts.join(QLatin1Char(' ')) + ")";
    }

private Q_SLOTS:
    void initTestCase()
    {
        // The user's own store lands in this folder, not in the real home.
        const QString root = qEnvironmentVariable("KORVO_TEST_TMP", QDir::tempPath());
        QDir().mkpath(root);
        mDir = std::make_unique<QTemporaryDir>(root + QStringLiteral("/registry-XXXXXX"));
        QVERIFY(mDir->isValid());
        qputenv("XDG_CONFIG_HOME", QFile::encodeName(mDir->filePath(QStringLiteral("xdg"))));
        qunsetenv("KORVO_SETTINGS_FILE");
    }

    void init()
    {
        static int n = 0;
        mFile = mDir->filePath(QStringLiteral("store%1.ini").arg(++n));
    }

    void pathsAndRoots_data()
    {
        QTest::addColumn<long>("root");
        QTest::addColumn<QString>("path");
        QTest::addColumn<bool>("inStore");
        QTest::newRow("folder") << HKCU << "Software\\KORVO Integration" << true;
        QTest::newRow("trailing separator") << HKCU << "Software\\KORVO Integration\\" << true;
        QTest::newRow("other case") << HKCU << "SOFTWARE\\korvo integration" << true;
        QTest::newRow("slashes") << HKCU << "Software/KORVO Integration" << true;
        QTest::newRow("other folder") << HKCU << "Software\\Other" << false;
        QTest::newRow("parent") << HKCU << "Software" << false;
        QTest::newRow("other root") << long(0x80000002) << "Software\\KORVO Integration" << false;
    }

    void pathsAndRoots()
    {
        QFETCH(long, root);
        QFETCH(QString, path);
        QFETCH(bool, inStore);
        Registry reg(mFile);
        const QString name = QStringLiteral("ShowCommentPrompt");
        QCOMPARE(reg.WriteValue(root, path, name, QStringLiteral("0")), inStore);
        QCOMPARE(reg.KeyExists(root, path), inStore);
        QCOMPARE(reg.KeyValueExists(root, path, name), inStore);
        QCOMPARE(reg.GetValue(root, path, name), inStore ? "0" : QString());
        QCOMPARE(QSettings(mFile, QSettings::IniFormat).allKeys(), inStore ? QStringList { name } : QStringList());
    }

    void valueNamesCompareExactly()
    {
        Registry reg(mFile);
        reg.WriteValue(HKCU, Folder(), QStringLiteral("PrjName"), QStringLiteral("x"));
        QVERIFY(reg.KeyValueExists(HKCU, Folder(), QStringLiteral("PrjName")));
        QVERIFY(!reg.KeyValueExists(HKCU, Folder(), QStringLiteral("prjname")));
        QVERIFY(!reg.KeyValueExists(HKCU, Folder(), QStringLiteral("PrjNam")));
        // Names that would nest in the store are refused.
        for (const char *bad : { "a/b", "a\\b", "" })
            QVERIFY(!reg.WriteValue(HKCU, Folder(), QLatin1String(bad), QStringLiteral("x")));
    }

    // Sub-keys in numeric order, then by name; the flags choose values, sub-keys or both.
    void subKeysInNumericOrderWithValuesAndRecursion()
    {
        Registry reg(mFile);
        for (const char *n : { "10", "2", "abc", "1", "1.5" })
            reg.WriteValue(HKCU, Sub(n), QStringLiteral("PrjName"), QStringLiteral("P") + QLatin1String(n));
        reg.WriteValue(HKCU, Sub("2\\Inner"), QStringLiteral("Deep"), QStringLiteral("yes"));
        reg.WriteValue(HKCU, Folder(), QStringLiteral("ProjectToOpen"), QStringLiteral("1"));
        QCOMPARE(Tree(*reg.GetKeyData(HKCU, Folder(), true, true)),
            "KORVO Integration(ProjectToOpen=1 1(PrjName=P1) 2(PrjName=P2 Inner(Deep=yes)) 10(PrjName=P10) "
            "1.5(PrjName=P1.5) abc(PrjName=Pabc))");
        QCOMPARE(Tree(*reg.GetKeyData(HKCU, Folder(), true, false)), "KORVO Integration(ProjectToOpen=1)");
        QCOMPARE(
            Tree(*reg.GetKeyData(HKCU, Folder(), false, true)), "KORVO Integration(1() 2(Inner()) 10() 1.5() abc())");
        QCOMPARE(reg.GetAllSubKeys(HKCU, Folder(), true, true)->Item(QStringLiteral("2"))->SubKeys->Item(0)->Key,
            "HKEY_CURRENT_USER\\Software\\KORVO Integration\\2\\Inner");
    }

    void valueConversion()
    {
        {
            QSettings outside(mFile, QSettings::IniFormat);
            outside.setValue(QStringLiteral("Bin"), QByteArray("\x0a\xff\x10", 3));
            outside.setValue(QStringLiteral("Text"), QStringLiteral("plain"));
            outside.setValue(QStringLiteral("Len255"), QString(255, QLatin1Char('x')));
            outside.setValue(QStringLiteral("Len256"), QString(256, QLatin1Char('y')));
            outside.setValue(QString(256, QLatin1Char('n')), QStringLiteral("long name"));
            outside.setValue(QStringLiteral("BigBin"), QByteArray(300, '\x01'));
        }
        Registry reg(mFile);
        // Longer names and texts are not read; binary data is cut to what fits.
        QStringList read; // name:type:text, long texts by their size
        for (const auto &v : reg.GetAllValues(HKCU, Folder()))
            read << v->Name + ":" + v->DataType + ":"
                    + (v->DataValue.size() > 20 ? QString::number(v->DataValue.size()) : v->DataValue);
        read.sort();
        QCOMPARE(read, (QStringList { "BigBin:3:764", "Bin:3:0A FF 10", "Len255:1:255", "Text:1:plain" }));
        QCOMPARE(reg.GetValue(HKCU, Folder(), QStringLiteral("Len256")), QString());
        QCOMPARE(reg.GetAllValues(HKCU, Folder()).GetValueData(QStringLiteral("missing")), QString());
    }

    void deleteKey()
    {
        Registry reg(mFile);
        reg.WriteValue(HKCU, Sub("1"), QStringLiteral("PrjName"), QStringLiteral("A"));
        reg.WriteValue(HKCU, Sub("2"), QStringLiteral("PrjName"), QStringLiteral("B"));
        reg.WriteValue(HKCU, Sub("2\\Sub"), QStringLiteral("X"), QStringLiteral("1"));
        QVERIFY(!reg.DeleteKey(HKCU, Sub("2"))); // has a sub-key
        QVERIFY(!reg.DeleteKey(HKCU, Sub("3"))); // missing
        QVERIFY(reg.DeleteKey(HKCU, Sub("1")));
        QCOMPARE(QSettings(mFile, QSettings::IniFormat).childGroups(), QStringList { "2" });
        QCOMPARE(Outside(QStringLiteral("2/PrjName")), "B");
        QVERIFY(reg.DeleteKey(HKCU, Sub("2\\Sub")));
        QVERIFY(reg.DeleteKey(HKCU, Sub("2")));
        QVERIFY(QSettings(mFile, QSettings::IniFormat).allKeys().isEmpty());
    }

    void keyWritesItsValuesBack()
    {
        Registry source(mFile);
        source.WriteValue(HKCU, Sub("3"), QStringLiteral("PrjName"), QStringLiteral("Three"));
        source.WriteValue(HKCU, Sub("3"), QStringLiteral("SQLServer"), QStringLiteral("db1"));
        source.WriteValue(HKCU, Sub("3\\Sub"), QStringLiteral("Deep"), QStringLiteral("d"));
        const auto key = source.GetKeyData(HKCU, Sub("3"), true, true);

        mFile += QStringLiteral(".copy");
        Registry target(mFile);
        QVERIFY(key->WriteValues(target, false));
        QCOMPARE(QSettings(mFile, QSettings::IniFormat).allKeys(), (QStringList { "3/PrjName", "3/SQLServer" }));
        key->Values.Item(QStringLiteral("SQLServer"))->DataValue = QStringLiteral("db2");
        QVERIFY(key->WriteValues(target, true));
        QCOMPARE(Outside(QStringLiteral("3/SQLServer")), "db2");
        QCOMPARE(Outside(QStringLiteral("3/Sub/Deep")), "d");
    }

    void userStoreFileName()
    {
        Registry reg;
        QVERIFY(reg.SettingsFile().isEmpty());
        QVERIFY(reg.WriteValue(HKCU, Folder(), QStringLiteral("WinState"), QStringLiteral("2")));
        const QString expected = mDir->filePath(QStringLiteral("xdg/KORVO Integration.conf"));
        QCOMPARE(QSettings(expected, QSettings::IniFormat).value(QStringLiteral("WinState")).toString(), "2");

        qputenv("KORVO_SETTINGS_FILE", QFile::encodeName(mFile));
        Registry fromEnv;
        qunsetenv("KORVO_SETTINGS_FILE");
        QCOMPARE(fromEnv.SettingsFile(), mFile);
        QCOMPARE(fromEnv.GetValue(HKCU, Folder(), QStringLiteral("WinState")), QString());
    }
};

QTEST_GUILESS_MAIN(TestRegistry)
#include "test_registry.moc"
