#include "KORVOSettings.h"
#include "UserDataFolder.h"

#include <QDir>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

#include <functional>
#include <map>

using Getter = std::function<QVariant(KORVOSettings &)>;
using Setter = std::function<void(KORVOSettings &)>;
Q_DECLARE_METATYPE(Setter)

namespace
{

// Every setting by its value name, read as a variant so that one table covers all.
const std::map<QString, Getter> &Getters()
{
    static const std::map<QString, Getter> g = {
        { "ProjectToOpen", [](KORVOSettings &s) { return QVariant(s.OpenMostRecent()); } },
        { "WinHeight", [](KORVOSettings &s) { return QVariant(s.WindowHeight()); } },
        { "WinWidth", [](KORVOSettings &s) { return QVariant(s.WindowWidth()); } },
        { "WinState", [](KORVOSettings &s) { return QVariant(s.WindowState()); } },
        { "DatabaseListWidth", [](KORVOSettings &s) { return QVariant(s.DBTWidth()); } },
        { "DatabaseList", [](KORVOSettings &s) { return QVariant(s.DBTVisible()); } },
        { "ExtraInfo", [](KORVOSettings &s) { return QVariant(s.ExtraPanelVisible()); } },
        { "ExtraInfoHeight", [](KORVOSettings &s) { return QVariant(s.ExtraPanelHeight()); } },
        { "DiffLeft", [](KORVOSettings &s) { return QVariant(s.diffLeft()); } },
        { "DiffTop", [](KORVOSettings &s) { return QVariant(s.diffTop()); } },
        { "DiffRight", [](KORVOSettings &s) { return QVariant(s.diffRight()); } },
        { "DiffBottom", [](KORVOSettings &s) { return QVariant(s.diffBottom()); } },
        { "DiffMax", [](KORVOSettings &s) { return QVariant(s.diffMaximized()); } },
        { "ShowMainStatusBar", [](KORVOSettings &s) { return QVariant(s.ShowMainStatusBar()); } },
        { "ShowDescriptionPrompt", [](KORVOSettings &s) { return QVariant(s.ShowDescriptionPrompt()); } },
        { "ShowDescriptionInDBT", [](KORVOSettings &s) { return QVariant(s.ShowDescriptionInDBT()); } },
        { "ItemOwnerName", [](KORVOSettings &s) { return QVariant(s.ShowOwnerNameInName()); } },
        { "ItemPropOwnerName", [](KORVOSettings &s) { return QVariant(s.ShowOwnerNameInProp()); } },
        { "DocGenFileName", [](KORVOSettings &s) { return QVariant(s.DocGenFileName()); } },
        { "DocGenTempalte", [](KORVOSettings &s) { return QVariant(s.DocGenTempalte()); } },
        { "ShowSaveChangesPromptNew", [](KORVOSettings &s) { return QVariant(s.ShowSaveChangesNew()); } },
        { "ShowSaveChangesPromptEdit", [](KORVOSettings &s) { return QVariant(s.ShowSaveChangesEdit()); } },
        { "ShowSaveChangesPermission", [](KORVOSettings &s) { return QVariant(s.ShowSaveChangesPermission()); } },
        { "SaveChangesEditDefault", [](KORVOSettings &s) { return QVariant(s.SaveChangesEditDefault()); } },
        { "SaveChangesNewDefault", [](KORVOSettings &s) { return QVariant(s.SaveChangesNewDefault()); } },
        { "ShowPermissionsOnNewObjectCreate",
            [](KORVOSettings &s) { return QVariant(s.ShowPermissionsOnNewObjectCreate()); } },
        { "ShowCommentPrompt", [](KORVOSettings &s) { return QVariant(s.ShowCommentPrompt()); } },
        { "ChildWindowState", [](KORVOSettings &s) { return QVariant(s.ChildWindowState()); } },
        { "ChildWindowWidth", [](KORVOSettings &s) { return QVariant(s.ChildWindowWidth()); } },
        { "ChildWindowHeight", [](KORVOSettings &s) { return QVariant(s.ChildWindowHeight()); } },
        { "ShowPermissionsInDBT", [](KORVOSettings &s) { return QVariant(s.ShowPermissionsInDBT()); } },
        { "ShowPermissionsInEditor", [](KORVOSettings &s) { return QVariant(s.ShowPermissionsInEditor()); } },
    };
    return g;
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
        for (const QString &a : assignments.split(QLatin1Char(';'), Qt::SkipEmptyParts)) {
            const int eq = a.indexOf(QLatin1Char('='));
            outside.setValue(a.left(eq), a.mid(eq + 1));
        }
    }
    QString Stored(const QString &name)
    {
        QSettings outside(mFile, QSettings::IniFormat);
        return outside.value(name).toString();
    }

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

    void freshUserGetsDefaultsAndNothingIsWritten_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QVariant>("expected");
        const std::pair<const char *, QVariant> defaults[] = {
            { "ProjectToOpen", false },
            { "WinHeight", 8580 },
            { "WinWidth", 10320 },
            { "WinState", 0 },
            { "DatabaseListWidth", 2865 },
            { "DatabaseList", true },
            { "ExtraInfo", true },
            { "ExtraInfoHeight", -1 },
            { "DiffLeft", 100 },
            { "DiffTop", 100 },
            { "DiffRight", 600 },
            { "DiffBottom", 400 },
            { "DiffMax", false },
            { "ShowMainStatusBar", true },
            { "ShowDescriptionPrompt", false },
            { "ShowDescriptionInDBT", false },
            { "ItemOwnerName", false },
            { "ItemPropOwnerName", false },
            { "DocGenFileName", QString() },
            { "DocGenTempalte", QString() },
            { "ShowSaveChangesPromptNew", true },
            { "ShowSaveChangesPromptEdit", true },
            { "ShowSaveChangesPermission", 0 },
            { "SaveChangesEditDefault", 0 },
            { "SaveChangesNewDefault", 0 },
            { "ShowPermissionsOnNewObjectCreate", false },
            { "ShowCommentPrompt", true },
            { "ChildWindowState", 0 },
            { "ChildWindowWidth", 5000 },
            { "ChildWindowHeight", 5000 },
            { "ShowPermissionsInDBT", 0 },
            { "ShowPermissionsInEditor", 0 },
        };
        QCOMPARE(std::size(defaults), Getters().size());
        for (const auto &[name, value] : defaults)
            QTest::newRow(name) << QString::fromLatin1(name) << value;
    }

    void freshUserGetsDefaultsAndNothingIsWritten()
    {
        QFETCH(QString, name);
        QFETCH(QVariant, expected);
        KORVOSettings s(mFile);
        s.SetScreen(ScreenMetrics::FromPixels(1024, 768));
        QCOMPARE(Getters().at(name)(s), expected);
        QCOMPARE(s.DocGenType(), 0);
        QCOMPARE(s.diffRect(), QStringLiteral("100, 100, 600, 400"));
        QVERIFY(!QFile::exists(mFile));
    }

    void numericRules_data()
    {
        QTest::addColumn<QString>("stored");
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("expected");
        QTest::addColumn<int>("dpi");
        // A 1024 x 768 screen at 96 dpi is 15360 x 11520 twips; at 120 dpi a
        // 1000 x 800 screen is 12000 x 9600 twips.
        struct Row {
            const char *tag, *stored, *name;
            int expected, dpi = 96;
        };
        const Row rows[] = {
            { "height 1000 too small", "WinHeight=1000", "WinHeight", 8580 },
            { "height 1001", "WinHeight=1001", "WinHeight", 1001 },
            { "height below screen", "WinHeight=11519", "WinHeight", 11519 },
            { "height equal screen", "WinHeight=11520", "WinHeight", 8580 },
            { "height blanks around", "WinHeight= 2000 ", "WinHeight", 2000 },
            { "height text", "WinHeight=tall", "WinHeight", 8580 },
            { "height empty", "WinHeight=", "WinHeight", 8580 },
            { "height 120dpi below", "WinHeight=9599", "WinHeight", 9599, 120 },
            { "height 120dpi equal", "WinHeight=9600", "WinHeight", 8580, 120 },
            { "width 1000", "WinWidth=1000", "WinWidth", 10320 },
            { "width 1001", "WinWidth=1001", "WinWidth", 1001 },
            { "width below screen", "WinWidth=15359", "WinWidth", 15359 },
            { "width equal screen", "WinWidth=15360", "WinWidth", 10320 },
            { "width 120dpi equal", "WinWidth=12000", "WinWidth", 10320, 120 },
            { "state 0", "WinState=0", "WinState", 0 },
            { "state 1 never restored", "WinState=1", "WinState", 0 },
            { "state 2", "WinState=2", "WinState", 2 },
            { "state 3", "WinState=3", "WinState", 0 },
            { "tree width 0", "DatabaseListWidth=0", "DatabaseListWidth", 2865 },
            { "tree width 1", "DatabaseListWidth=1", "DatabaseListWidth", 1 },
            { "tree width below screen", "DatabaseListWidth=15359", "DatabaseListWidth", 15359 },
            { "tree width equal screen", "DatabaseListWidth=15360", "DatabaseListWidth", 2865 },
            { "extra height 0", "ExtraInfoHeight=0", "ExtraInfoHeight", -1 },
            { "extra height 1", "ExtraInfoHeight=1", "ExtraInfoHeight", 1 },
            { "extra height below pixels", "ExtraInfoHeight=767", "ExtraInfoHeight", 767 },
            { "extra height equal pixels", "ExtraInfoHeight=768", "ExtraInfoHeight", -1 },
            { "extra height 120dpi pixels", "ExtraInfoHeight=799", "ExtraInfoHeight", 799, 120 },
            { "extra height 120dpi equal", "ExtraInfoHeight=800", "ExtraInfoHeight", -1, 120 },
            { "diff left 0", "DiffLeft=0", "DiffLeft", 100 },
            { "diff left 1", "DiffLeft=1", "DiffLeft", 1 },
            { "diff left below", "DiffLeft=1023", "DiffLeft", 1023 },
            { "diff left equal", "DiffLeft=1024", "DiffLeft", 100 },
            { "diff top below", "DiffTop=767", "DiffTop", 767 },
            { "diff top equal", "DiffTop=768", "DiffTop", 100 },
            { "diff right at default left", "DiffRight=100", "DiffRight", 600 },
            { "diff right above left", "DiffRight=101", "DiffRight", 101 },
            { "diff right equal screen", "DiffRight=1024", "DiffRight", 600 },
            { "diff right below large left", "DiffLeft=900;DiffRight=50", "DiffRight", 600 },
            { "diff right large left default", "DiffLeft=900", "DiffRight", 600 },
            { "diff bottom above top", "DiffTop=300;DiffBottom=301", "DiffBottom", 301 },
            { "diff bottom equal top", "DiffTop=300;DiffBottom=300", "DiffBottom", 400 },
            { "diff bottom equal screen", "DiffBottom=768", "DiffBottom", 400 },
            { "edit default 1.5 not whole", "SaveChangesEditDefault=1.5", "SaveChangesEditDefault", 0 },
            { "edit default 0", "SaveChangesEditDefault=0", "SaveChangesEditDefault", 0 },
            { "edit default 1", "SaveChangesEditDefault=1", "SaveChangesEditDefault", 1 },
            { "edit default trimmed", "SaveChangesEditDefault= 3 ", "SaveChangesEditDefault", 3 },
            { "edit default 2.0 is whole", "SaveChangesEditDefault=2.0", "SaveChangesEditDefault", 2 },
            { "new default negative", "SaveChangesNewDefault=-1", "SaveChangesNewDefault", 0 },
            { "new default 7", "SaveChangesNewDefault=7", "SaveChangesNewDefault", 7 },
            { "new default too large", "SaveChangesNewDefault=1e12", "SaveChangesNewDefault", 0 },
            { "child state 2", "ChildWindowState=2", "ChildWindowState", 2 },
            { "child state 1", "ChildWindowState=1", "ChildWindowState", 0 },
            { "child state blank", "ChildWindowState= ", "ChildWindowState", 0 },
            { "child width 0", "ChildWindowWidth=0", "ChildWindowWidth", 5000 },
            { "child width 1", "ChildWindowWidth=1", "ChildWindowWidth", 1 },
            { "child width 7.5", "ChildWindowWidth=7.5", "ChildWindowWidth", 5000 },
            { "child height 90000", "ChildWindowHeight=90000", "ChildWindowHeight", 90000 },
            { "child height text", "ChildWindowHeight=big", "ChildWindowHeight", 5000 },
            { "save permission 1", "ShowSaveChangesPermission=1", "ShowSaveChangesPermission", 1 },
            { "save permission 2", "ShowSaveChangesPermission=2", "ShowSaveChangesPermission", 2 },
            { "save permission 3", "ShowSaveChangesPermission=3", "ShowSaveChangesPermission", 0 },
            { "save permission blank 1", "ShowSaveChangesPermission= 1", "ShowSaveChangesPermission", 0 },
            { "save permission 2.0", "ShowSaveChangesPermission=2.0", "ShowSaveChangesPermission", 0 },
            { "permissions in tree 2", "ShowPermissionsInDBT=2", "ShowPermissionsInDBT", 2 },
            { "permissions in tree -1", "ShowPermissionsInDBT=-1", "ShowPermissionsInDBT", 0 },
            { "permissions in editor 1", "ShowPermissionsInEditor=1", "ShowPermissionsInEditor", 1 },
        };
        for (const Row &r : rows)
            QTest::newRow(r.tag) << QString::fromLatin1(r.stored) << QString::fromLatin1(r.name) << r.expected << r.dpi;
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
        QCOMPARE(Getters().at(name)(s).toInt(), expected);
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
        const auto get = [&] { return Getters().at(name)(s).toBool(); };
        QCOMPARE(get(), notZero); // absent
        // "only 1" is true for "1" alone; "not 0" is false for "0" alone.
        const std::pair<const char *, bool> texts[] = { { "1", true }, { "0", false }, { "", notZero },
            { "yes", notZero }, { " 1", notZero }, { "00", notZero } };
        for (const auto &[text, expected] : texts) {
            Store(name + QLatin1Char('=') + QLatin1String(text));
            QVERIFY2(get() == expected, text);
        }
    }

    void settersWriteTheirValueName_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("text");
        QTest::addColumn<Setter>("set");
        auto row = [](const char *name, const char *text, Setter set) {
            QTest::newRow(name) << QString::fromLatin1(name) << QString::fromLatin1(text) << set;
        };
        row("ProjectToOpen", "1", [](KORVOSettings &s) { s.SetOpenMostRecent(true); });
        row("WinHeight", "5", [](KORVOSettings &s) { s.SetWindowHeight(5); }); // stored although unusable
        row("WinWidth", "4000", [](KORVOSettings &s) { s.SetWindowWidth(4000); });
        row("WinState", "1", [](KORVOSettings &s) { s.SetWindowState(1); });
        row("DatabaseListWidth", "3000", [](KORVOSettings &s) { s.SetDBTWidth(3000); });
        row("DatabaseList", "0", [](KORVOSettings &s) { s.SetDBTVisible(false); });
        row("ExtraInfo", "0", [](KORVOSettings &s) { s.SetExtraPanelVisible(false); });
        row("ExtraInfoHeight", "-1", [](KORVOSettings &s) { s.SetExtraPanelHeight(-1); });
        row("DiffLeft", "11", [](KORVOSettings &s) { s.SetDiffLeft(11); });
        row("DiffTop", "12", [](KORVOSettings &s) { s.SetDiffTop(12); });
        row("DiffRight", "13", [](KORVOSettings &s) { s.SetDiffRight(13); });
        row("DiffBottom", "14", [](KORVOSettings &s) { s.SetDiffBottom(14); });
        row("DiffMax", "1", [](KORVOSettings &s) { s.SetDiffMaximized(true); });
        row("ShowMainStatusBar", "0", [](KORVOSettings &s) { s.SetShowMainStatusBar(false); });
        row("ShowDescriptionPrompt", "1", [](KORVOSettings &s) { s.SetShowDescriptionPrompt(true); });
        row("ShowDescriptionInDBT", "1", [](KORVOSettings &s) { s.SetShowDescriptionInDBT(true); });
        row("ItemOwnerName", "1", [](KORVOSettings &s) { s.SetShowOwnerNameInName(true); });
        row("ItemPropOwnerName", "1", [](KORVOSettings &s) { s.SetShowOwnerNameInProp(true); });
        row("DocGenType", "1", [](KORVOSettings &s) { s.SetDocGenType(1); });
        row("DocGenFileName", "/tmp/doc.html", [](KORVOSettings &s) { s.SetDocGenFileName("/tmp/doc.html"); });
        row("DocGenTempalte", "t.dotx", [](KORVOSettings &s) { s.SetDocGenTempalte("t.dotx"); });
        row("ShowSaveChangesPromptNew", "0", [](KORVOSettings &s) { s.SetShowSaveChangesNew(false); });
        row("ShowSaveChangesPromptEdit", "0", [](KORVOSettings &s) { s.SetShowSaveChangesEdit(false); });
        row("ShowSaveChangesPermission", "2", [](KORVOSettings &s) { s.SetShowSaveChangesPermission(2); });
        row("SaveChangesEditDefault", "6", [](KORVOSettings &s) { s.SetSaveChangesEditDefault(6); });
        row("SaveChangesNewDefault", "7", [](KORVOSettings &s) { s.SetSaveChangesNewDefault(7); });
        row("ShowPermissionsOnNewObjectCreate", "1",
            [](KORVOSettings &s) { s.SetShowPermissionsOnNewObjectCreate(true); });
        row("ShowCommentPrompt", "0", [](KORVOSettings &s) { s.SetShowCommentPrompt(false); });
        row("ChildWindowState", "2", [](KORVOSettings &s) { s.SetChildWindowState(2); });
        row("ChildWindowWidth", "800", [](KORVOSettings &s) { s.SetChildWindowWidth(800); });
        row("ChildWindowHeight", "900", [](KORVOSettings &s) { s.SetChildWindowHeight(900); });
        row("ShowPermissionsInDBT", "1", [](KORVOSettings &s) { s.SetShowPermissionsInDBT(1); });
        row("ShowPermissionsInEditor", "2", [](KORVOSettings &s) { s.SetShowPermissionsInEditor(2); });
    }

    void settersWriteTheirValueName()
    {
        QFETCH(QString, name);
        QFETCH(QString, text);
        QFETCH(Setter, set);
        KORVOSettings s(mFile);
        set(s);
        QSettings outside(mFile, QSettings::IniFormat);
        QCOMPARE(outside.allKeys(), QStringList { name });
        QCOMPARE(outside.value(name).toString(), text);
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
        QCOMPARE(Stored(QStringLiteral("ItemOwnerName")), QStringLiteral("1"));
    }

    void diffRect_data()
    {
        QTest::addColumn<QString>("before");
        QTest::addColumn<QString>("written");
        QTest::addColumn<QStringList>("stored"); // DiffLeft, DiffTop, DiffRight, DiffBottom
        QTest::newRow("all numeric") << QString() << QStringLiteral("10,20,300,400")
                                     << QStringList { "10", "20", "300", "400" };
        QTest::newRow("blanks") << QString() << QStringLiteral("10, 20, 300, 400")
                                << QStringList { "10", "20", "300", "400" };
        QTest::newRow("third not numeric keeps its setting") << QStringLiteral(
            "DiffRight=555") << QStringLiteral("10,20,x,40") << QStringList { "10", "20", "555", "40" };
        QTest::newRow("third not numeric, nothing stored")
            << QString() << QStringLiteral("10,20,,40") << QStringList { "10", "20", "", "40" };
        QTest::newRow("more parts ignored")
            << QString() << QStringLiteral("1,2,3,4,5") << QStringList { "1", "2", "3", "4" };
        QTest::newRow("too few parts") << QString() << QStringLiteral("7,8") << QStringList { "7", "8", "", "" };
    }

    void diffRect()
    {
        QFETCH(QString, before);
        QFETCH(QString, written);
        QFETCH(QStringList, stored);
        Store(before);
        KORVOSettings s(mFile);
        s.SetDiffRect(written);
        const QStringList names = { "DiffLeft", "DiffTop", "DiffRight", "DiffBottom" };
        for (int i = 0; i < 4; ++i)
            QCOMPARE(Stored(names[i]), stored[i]);
    }

    void diffRectReadsTheFourSettings()
    {
        Store(QStringLiteral("DiffLeft=10;DiffTop=20;DiffRight=5;DiffBottom=700"));
        KORVOSettings s(mFile);
        s.SetScreen(ScreenMetrics::FromPixels(1024, 768));
        // Right is not above left, so its default shows.
        QCOMPARE(s.diffRect(), QStringLiteral("10, 20, 600, 700"));
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
        f.close();
        QCOMPARE(s.GetDefaultText(QStringLiteral("StoredProcedure")), text);
        QCOMPARE(s.GetDefaultText(QStringLiteral("View")), QString());

        // A read-only file is rewritten and stays read-only.
        const auto readOnly = QFileDevice::ReadOwner | QFileDevice::ReadGroup;
        QVERIFY(QFile::setPermissions(path, readOnly));
        QVERIFY(s.SetDefaultText(QStringLiteral("StoredProcedure"), QStringLiteral("short")));
        QCOMPARE(s.GetDefaultText(QStringLiteral("StoredProcedure")), QStringLiteral("short"));
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
        QCOMPARE(ReadTextFile(path), QStringLiteral("with mark"));
        QCOMPARE(ReadTextFile(mDir->filePath(QStringLiteral("missing.txt"))), QString());
        QVERIFY(!WriteTextFile(mDir->filePath(QStringLiteral("no/such/folder.txt")), QStringLiteral("x")));
        QVERIFY(WriteTextFile(path, QString()));
        QCOMPARE(QFileInfo(path).size(), 0);
    }
};

QTEST_GUILESS_MAIN(TestSettings)
#include "test_settings.moc"
