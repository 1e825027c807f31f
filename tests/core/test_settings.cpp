#include "KORVOSettings.h"
#include "UserDataFolder.h"

#include <QDir>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

namespace
{

// Every setting by its value name, read as a variant so that one table covers all.
struct Setting {
    const char *name;
    QVariant (*get)(KORVOSettings &);
};
#define SETTING(name, getter)                                                                                          \
    {                                                                                                                  \
        name, [](KORVOSettings &s) { return QVariant(s.getter()); }                                                    \
    }
const Setting Settings[] = {
    SETTING("ProjectToOpen", OpenMostRecent),
    SETTING("WinHeight", WindowHeight),
    SETTING("WinWidth", WindowWidth),
    SETTING("WinState", WindowState),
    SETTING("DatabaseListWidth", DBTWidth),
    SETTING("DatabaseList", DBTVisible),
    SETTING("ExtraInfo", ExtraPanelVisible),
    SETTING("ExtraInfoHeight", ExtraPanelHeight),
    SETTING("DiffLeft", diffLeft),
    SETTING("DiffTop", diffTop),
    SETTING("DiffRight", diffRight),
    SETTING("DiffBottom", diffBottom),
    SETTING("DiffMax", diffMaximized),
    SETTING("ShowMainStatusBar", ShowMainStatusBar),
    SETTING("ShowDescriptionPrompt", ShowDescriptionPrompt),
    SETTING("ShowDescriptionInDBT", ShowDescriptionInDBT),
    SETTING("ItemOwnerName", ShowOwnerNameInName),
    SETTING("ItemPropOwnerName", ShowOwnerNameInProp),
    SETTING("DocGenFileName", DocGenFileName),
    SETTING("DocGenTempalte", DocGenTempalte),
    SETTING("ShowSaveChangesPromptNew", ShowSaveChangesNew),
    SETTING("ShowSaveChangesPromptEdit", ShowSaveChangesEdit),
    SETTING("ShowSaveChangesPermission", ShowSaveChangesPermission),
    SETTING("SaveChangesEditDefault", SaveChangesEditDefault),
    SETTING("SaveChangesNewDefault", SaveChangesNewDefault),
    SETTING("ShowPermissionsOnNewObjectCreate", ShowPermissionsOnNewObjectCreate),
    SETTING("ShowCommentPrompt", ShowCommentPrompt),
    SETTING("ChildWindowState", ChildWindowState),
    SETTING("ChildWindowWidth", ChildWindowWidth),
    SETTING("ChildWindowHeight", ChildWindowHeight),
    SETTING("ShowPermissionsInDBT", ShowPermissionsInDBT),
    SETTING("ShowPermissionsInEditor", ShowPermissionsInEditor),
};
#undef SETTING

QVariant Get(KORVOSettings &s, const QString &name)
{
    for (const Setting &setting : Settings) {
        if (name == QLatin1String(setting.name))
            return setting.get(s);
    }
    return QStringLiteral("no setting %1").arg(name);
}

} // namespace

class TestSettings : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<QTemporaryDir> mDir;
    QString mFile;

    // Values as another program (or an older KORVO) left them, "Name=text;Name=text".
    void Store(const QString &assignments)
    {
        QSettings outside(mFile, QSettings::IniFormat);
        for (const QString &a : assignments.split(QLatin1Char(';'), Qt::SkipEmptyParts))
            outside.setValue(a.section(QLatin1Char('='), 0, 0), a.section(QLatin1Char('='), 1));
    }
    QString Stored(const QString &name) { return QSettings(mFile, QSettings::IniFormat).value(name).toString(); }

private Q_SLOTS:
    void initTestCase()
    {
        const QString root = qEnvironmentVariable("KORVO_TEST_TMP", QDir::tempPath());
        QDir().mkpath(root);
        mDir = std::make_unique<QTemporaryDir>(root + QStringLiteral("/settings-XXXXXX"));
        QVERIFY(mDir->isValid());
        qputenv("KORVO_DATA_DIR", QFile::encodeName(mDir->filePath(QStringLiteral("data"))));
    }

    void init()
    {
        static int n = 0;
        mFile = mDir->filePath(QStringLiteral("settings%1.ini").arg(++n));
    }

    // Reading any setting with nothing stored writes nothing.
    void readingWritesNothing()
    {
        KORVOSettings s(mFile);
        s.SetScreen(ScreenMetrics::FromPixels(1024, 768));
        s.DocGenType();
        for (const Setting &setting : Settings)
            setting.get(s);
        QVERIFY(!QFile::exists(mFile));
    }

    void numericRules_data()
    {
        QTest::addColumn<QString>("stored");
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("expected");
        QTest::addColumn<int>("dpi");
        // Each stored text of one setting with what reading it gives, after the
        // values in `before`. A 1024 x 768 screen at 96 dpi is 15360 x 11520
        // twips; at 120 dpi a 1000 x 800 screen is 12000 x 9600 twips.
        using Cases = std::initializer_list<std::pair<const char *, int>>;
        auto rows = [](const char *name, Cases cases, int dpi = 96, const char *before = "") {
            for (const auto &[text, expected] : cases) {
                // No text: the setting itself is not stored.
                const QString stored = QLatin1String(before)
                    + (text ? QStringLiteral("%1=%2").arg(QLatin1String(name), QLatin1String(text)) : QString());
                QTest::addRow("%s %s at %d dpi", name, qPrintable(stored), dpi) << stored << name << expected << dpi;
            }
        };
        rows("WinHeight", { { "1000", 8580 }, { "1001", 1001 }, { "11519", 11519 }, { "11520", 8580 } });
        rows("WinHeight", { { " 2000 ", 2000 }, { "tall", 8580 } });
        rows("WinHeight", { { "9599", 9599 }, { "9600", 8580 } }, 120);
        rows("WinWidth", { { "1000", 10320 }, { "1001", 1001 }, { "15359", 15359 }, { "15360", 10320 } });
        rows("WinWidth", { { "12000", 10320 } }, 120);
        rows("WinState", { { "1", 0 }, { "2", 2 }, { "3", 0 } }); // minimised is never restored
        rows("DatabaseListWidth", { { "0", 2865 }, { "1", 1 }, { "15359", 15359 }, { "15360", 2865 } });
        rows("ExtraInfoHeight", { { "0", -1 }, { "1", 1 }, { "767", 767 }, { "768", -1 } }); // pixels
        rows("ExtraInfoHeight", { { "799", 799 }, { "800", -1 } }, 120);
        rows("DiffLeft", { { "0", 100 }, { "1", 1 }, { "1023", 1023 }, { "1024", 100 } });
        rows("DiffTop", { { "767", 767 }, { "768", 100 } });
        rows("DiffRight", { { "100", 600 }, { "101", 101 }, { "1024", 600 } }); // above the default left
        rows("DiffRight", { { "50", 600 }, { nullptr, 600 } }, 96, "DiffLeft=900;");
        rows("DiffBottom", { { "301", 301 }, { "300", 400 } }, 96, "DiffTop=300;");
        rows("DiffBottom", { { "768", 400 } });
        rows("SaveChangesEditDefault", { { "1.5", 0 }, { "1", 1 }, { " 3 ", 3 }, { "2.0", 2 } });
        rows("SaveChangesNewDefault", { { "-1", 0 }, { "7", 7 }, { "1e12", 0 } });
        rows("ChildWindowState", { { "2", 2 }, { "1", 0 }, { " ", 0 } });
        rows("ChildWindowWidth", { { "0", 5000 }, { "1", 1 }, { "7.5", 5000 } });
        rows("ChildWindowHeight", { { "90000", 90000 }, { "big", 5000 } });
        rows("ShowSaveChangesPermission", { { "1", 1 }, { "2", 2 }, { "3", 0 }, { " 1", 0 }, { "2.0", 0 } });
        rows("ShowPermissionsInDBT", { { "2", 2 }, { "-1", 0 } });
        rows("ShowPermissionsInEditor", { { "1", 1 }, { nullptr, 0 } });
    }

    void numericRules()
    {
        QFETCH(QString, stored);
        QFETCH(QString, name);
        QFETCH(int, expected);
        QFETCH(int, dpi);
        Store(stored);
        KORVOSettings s(mFile);
        s.SetScreen(dpi == 96 ? ScreenMetrics::FromPixels(1024, 768) : ScreenMetrics::FromPixels(1000, 800, dpi, dpi));
        QCOMPARE(Get(s, name).toInt(), expected);
    }

    void booleanKinds_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<bool>("notZero");
        for (const char *n : { "ProjectToOpen", "DiffMax", "ShowDescriptionPrompt", "ShowDescriptionInDBT",
                 "ItemOwnerName", "ItemPropOwnerName", "ShowPermissionsOnNewObjectCreate" })
            QTest::newRow(n) << QString::fromLatin1(n) << false;
        for (const char *n : { "DatabaseList", "ExtraInfo", "ShowMainStatusBar", "ShowSaveChangesPromptNew",
                 "ShowSaveChangesPromptEdit", "ShowCommentPrompt" })
            QTest::newRow(n) << QString::fromLatin1(n) << true;
    }

    void booleanKinds()
    {
        QFETCH(QString, name);
        QFETCH(bool, notZero);
        KORVOSettings s(mFile);
        QCOMPARE(Get(s, name).toBool(), notZero); // absent
        // "only 1" is true for "1" alone; "not 0" is false for "0" alone.
        const std::pair<const char *, bool> texts[] = { { "1", true }, { "0", false }, { "", notZero },
            { "yes", notZero }, { " 1", notZero }, { "00", notZero } };
        for (const auto &[text, expected] : texts) {
            Store(name + QLatin1Char('=') + QLatin1String(text));
            QVERIFY2(Get(s, name).toBool() == expected, text);
        }
    }

    void docGenTypeOddity()
    {
        KORVOSettings s(mFile);
        Store(QStringLiteral("DocGenType=2"));
        QCOMPARE(s.DocGenType(), 0);
        QVERIFY(!QSettings(mFile, QSettings::IniFormat).contains(QStringLiteral("ItemOwnerName")));

        Store(QStringLiteral("DocGenType=1;ItemOwnerName=0"));
        QVERIFY(!s.ShowOwnerNameInName());
        QCOMPARE(s.DocGenType(), 0);
        QVERIFY(s.ShowOwnerNameInName());
        QCOMPARE(Stored(QStringLiteral("ItemOwnerName")), "1");
    }

    void diffRect_data()
    {
        QTest::addColumn<QString>("before");
        QTest::addColumn<QString>("written");
        QTest::addColumn<QString>("stored"); // DiffLeft, DiffTop, DiffRight, DiffBottom
        auto row = [](const char *tag, const char *before, const char *written, const char *stored) {
            QTest::newRow(tag) << before << written << stored;
        };
        row("all numeric", "", "10,20,300,400", "10|20|300|400");
        row("third not numeric keeps its setting", "DiffRight=555", "10,20,x,40", "10|20|555|40");
        row("third not numeric, nothing stored", "", "10,20,,40", "10|20||40");
        row("more parts ignored", "", "1,2,3,4,5", "1|2|3|4");
        row("too few parts", "", "7,8", "7|8||");
    }

    void diffRect()
    {
        QFETCH(QString, before);
        QFETCH(QString, written);
        QFETCH(QString, stored);
        Store(before);
        KORVOSettings s(mFile);
        s.SetDiffRect(written);
        QStringList got;
        for (const char *name : { "DiffLeft", "DiffTop", "DiffRight", "DiffBottom" })
            got << Stored(QLatin1String(name));
        QCOMPARE(got.join(QLatin1Char('|')), stored);
        // Reading gives each part by its own rule: right not above left shows its default.
        Store(QStringLiteral("DiffLeft=10;DiffTop=20;DiffRight=5;DiffBottom=700"));
        s.SetScreen(ScreenMetrics::FromPixels(1024, 768));
        QCOMPARE(s.diffRect(), "10, 20, 600, 700");
    }

    void defaultTexts()
    {
        KORVOSettings s(mFile);
        const QString folder = UserDataFolder();
        QVERIFY(folder.startsWith(mDir->filePath(QStringLiteral("data/"))));
        QCOMPARE(folder.section(QLatin1Char('/'), -1), LoggedOnUserName());
        QVERIFY(LoggedOnUserName().size() <= 25);

        QCOMPARE(s.GetDefaultText(QStringLiteral("StoredProcedure")), QString());
        QVERIFY(!QDir(folder).exists()); // reading creates nothing

        const QString text = QStringLiteral("CREATE PROCEDURE dbo.[New]\r\nAS\r\n-- Grüße\r\n");
        QVERIFY(s.SetDefaultText(QStringLiteral("StoredProcedure"), text));
        const QString path = folder + QStringLiteral("/StoredProcedure.default");
        QFile f(path);
        QVERIFY(f.open(QIODevice::ReadOnly));
        QCOMPARE(f.readAll(), text.toUtf8()); // no byte order mark, line ends as given
        QCOMPARE(s.GetDefaultText(QStringLiteral("StoredProcedure")), text);
        QCOMPARE(s.GetDefaultText(QStringLiteral("View")), QString());

        // A read-only file is rewritten and stays read-only.
        const auto readOnly = QFileDevice::ReadOwner | QFileDevice::ReadGroup;
        QVERIFY(QFile::setPermissions(path, readOnly));
        QVERIFY(s.SetDefaultText(QStringLiteral("StoredProcedure"), QStringLiteral("short")));
        QCOMPARE(s.GetDefaultText(QStringLiteral("StoredProcedure")), "short");
        const auto userFlags = QFileDevice::ReadUser | QFileDevice::WriteUser | QFileDevice::ExeUser;
        QCOMPARE(QFile::permissions(path) & ~userFlags, readOnly);
    }

    void textFileRoutine()
    {
        const QString path = mDir->filePath(QStringLiteral("bom.txt"));
        QFile f(path);
        QVERIFY(f.open(QIODevice::WriteOnly));
        f.write("\xEF\xBB\xBFwith mark");
        f.close();
        QCOMPARE(ReadTextFile(path), "with mark");
        QCOMPARE(ReadTextFile(mDir->filePath(QStringLiteral("missing.txt"))), QString());
        QVERIFY(!WriteTextFile(mDir->filePath(QStringLiteral("no/such/folder.txt")), QStringLiteral("x")));
        QVERIFY(WriteTextFile(path, QString()));
        QCOMPARE(QFileInfo(path).size(), 0);
    }
};

QTEST_GUILESS_MAIN(TestSettings)
#include "test_settings.moc"
