#include "KORVOSettings.h"

#include "UserDataFolder.h"

#include <QDir>
#include <QGuiApplication>
#include <QLocale>
#include <QScreen>

#include <cmath>
#include <limits>

namespace
{

// A stored number as the settings read it: trimmed text that converts as a
// whole; empty or anything else is not numeric.
bool ToNumber(const QString &text, double &number)
{
    const QString t = text.trimmed();
    if (t.isEmpty())
        return false;
    bool ok = false;
    number = QLocale::c().toDouble(t, &ok);
    return ok && std::isfinite(number);
}

// The Long a number converts to, rounding half to even; false beyond its range.
bool ToLong(double number, int &value)
{
    const double rounded = std::nearbyint(number);
    if (rounded < std::numeric_limits<int>::min() || rounded > std::numeric_limits<int>::max())
        return false;
    value = int(rounded);
    return true;
}

bool IsWhole(double number)
{
    return std::floor(number) == number;
}

// A stored number passing the test, converted; the fallback otherwise.
template <typename Test> int ReadNumber(const QString &text, int fallback, Test test)
{
    double n = 0;
    int value = 0;
    if (ToNumber(text, n) && test(n) && ToLong(n, value))
        return value;
    return fallback;
}

} // namespace

ScreenMetrics ScreenMetrics::FromPixels(double width, double height, double dpiX, double dpiY)
{
    ScreenMetrics m;
    m.twipsPerPixelX = 1440.0 / dpiX;
    m.twipsPerPixelY = 1440.0 / dpiY;
    m.widthTwips = width * m.twipsPerPixelX;
    m.heightTwips = height * m.twipsPerPixelY;
    return m;
}

KORVOSettings::KORVOSettings(const QString &settingsFile)
    : mRegistry(settingsFile)
{
}

ScreenMetrics KORVOSettings::Screen() const
{
    if (mScreen)
        return *mScreen;
    if (qobject_cast<QGuiApplication *>(QCoreApplication::instance())) {
        if (const QScreen *s = QGuiApplication::primaryScreen())
            return ScreenMetrics::FromPixels(
                s->size().width(), s->size().height(), s->logicalDotsPerInchX(), s->logicalDotsPerInchY());
    }
    return ScreenMetrics::FromPixels(1024, 768);
}

QString KORVOSettings::ReadSetting(const QString &name) const
{
    // Values only: the projects below the folder are not loaded.
    return mRegistry.GetKeyData(Registry::HKEY_CURRENT_USER, Registry::Folder(), true, false)->GetValueData(name);
}

void KORVOSettings::WriteSetting(const QString &name, const QString &value)
{
    mRegistry.WriteValue(Registry::HKEY_CURRENT_USER, Registry::Folder(), name, value);
}

bool KORVOSettings::OnlyOne(const QString &name) const
{
    return ReadSetting(name) == QLatin1String("1");
}

bool KORVOSettings::NotZero(const QString &name) const
{
    return ReadSetting(name) != QLatin1String("0");
}

void KORVOSettings::WriteBool(const QString &name, bool value)
{
    WriteSetting(name, value ? QStringLiteral("1") : QStringLiteral("0"));
}

void KORVOSettings::WriteNumber(const QString &name, int value)
{
    WriteSetting(name, QString::number(value));
}

int KORVOSettings::OneOrTwo(const QString &name) const
{
    const QString text = ReadSetting(name);
    if (text == QLatin1String("1"))
        return 1;
    if (text == QLatin1String("2"))
        return 2;
    return 0;
}

int KORVOSettings::WholeAtLeastOne(const QString &name, int fallback) const
{
    return ReadNumber(ReadSetting(name), fallback, [](double n) { return IsWhole(n) && n >= 1; });
}

bool KORVOSettings::OpenMostRecent() const
{
    return OnlyOne(QStringLiteral("ProjectToOpen"));
}

void KORVOSettings::SetOpenMostRecent(bool value)
{
    WriteBool(QStringLiteral("ProjectToOpen"), value);
}

int KORVOSettings::WindowHeight() const
{
    const double screen = Screen().heightTwips;
    return ReadNumber(
        ReadSetting(QStringLiteral("WinHeight")), 8580, [&](double n) { return n >= 1001 && n < screen; });
}

void KORVOSettings::SetWindowHeight(int value)
{
    WriteNumber(QStringLiteral("WinHeight"), value);
}

int KORVOSettings::WindowWidth() const
{
    const double screen = Screen().widthTwips;
    return ReadNumber(
        ReadSetting(QStringLiteral("WinWidth")), 10320, [&](double n) { return n >= 1001 && n < screen; });
}

void KORVOSettings::SetWindowWidth(int value)
{
    WriteNumber(QStringLiteral("WinWidth"), value);
}

int KORVOSettings::WindowState() const
{
    // A minimised window (1) is never restored.
    return ReadNumber(ReadSetting(QStringLiteral("WinState")), 0, [](double n) { return n == 2 || n == 0; });
}

void KORVOSettings::SetWindowState(int value)
{
    WriteNumber(QStringLiteral("WinState"), value);
}

int KORVOSettings::DBTWidth() const
{
    const double screen = Screen().widthTwips;
    return ReadNumber(
        ReadSetting(QStringLiteral("DatabaseListWidth")), 2865, [&](double n) { return n >= 1 && n < screen; });
}

void KORVOSettings::SetDBTWidth(int value)
{
    WriteNumber(QStringLiteral("DatabaseListWidth"), value);
}

bool KORVOSettings::DBTVisible() const
{
    return NotZero(QStringLiteral("DatabaseList"));
}

void KORVOSettings::SetDBTVisible(bool value)
{
    WriteBool(QStringLiteral("DatabaseList"), value);
}

bool KORVOSettings::ExtraPanelVisible() const
{
    return NotZero(QStringLiteral("ExtraInfo"));
}

void KORVOSettings::SetExtraPanelVisible(bool value)
{
    WriteBool(QStringLiteral("ExtraInfo"), value);
}

int KORVOSettings::ExtraPanelHeight() const
{
    // Bounded by the screen in pixels although the height is used in twips.
    const double screen = Screen().heightPixels();
    return ReadNumber(
        ReadSetting(QStringLiteral("ExtraInfoHeight")), -1, [&](double n) { return n > 0 && n < screen; });
}

void KORVOSettings::SetExtraPanelHeight(int value)
{
    WriteNumber(QStringLiteral("ExtraInfoHeight"), value);
}

int KORVOSettings::diffLeft() const
{
    const double screen = Screen().widthPixels();
    return ReadNumber(ReadSetting(QStringLiteral("DiffLeft")), 100, [&](double n) { return n > 0 && n < screen; });
}

void KORVOSettings::SetDiffLeft(int value)
{
    WriteNumber(QStringLiteral("DiffLeft"), value);
}

int KORVOSettings::diffTop() const
{
    const double screen = Screen().heightPixels();
    return ReadNumber(ReadSetting(QStringLiteral("DiffTop")), 100, [&](double n) { return n > 0 && n < screen; });
}

void KORVOSettings::SetDiffTop(int value)
{
    WriteNumber(QStringLiteral("DiffTop"), value);
}

int KORVOSettings::diffRight() const
{
    // The default is not checked against diffLeft: a large left edge stays wrong.
    const double screen = Screen().widthPixels();
    const int left = diffLeft();
    return ReadNumber(ReadSetting(QStringLiteral("DiffRight")), 600, [&](double n) { return n < screen && n > left; });
}

void KORVOSettings::SetDiffRight(int value)
{
    WriteNumber(QStringLiteral("DiffRight"), value);
}

int KORVOSettings::diffBottom() const
{
    const double screen = Screen().heightPixels();
    const int top = diffTop();
    return ReadNumber(ReadSetting(QStringLiteral("DiffBottom")), 400, [&](double n) { return n < screen && n > top; });
}

void KORVOSettings::SetDiffBottom(int value)
{
    WriteNumber(QStringLiteral("DiffBottom"), value);
}

bool KORVOSettings::diffMaximized() const
{
    return OnlyOne(QStringLiteral("DiffMax"));
}

void KORVOSettings::SetDiffMaximized(bool value)
{
    WriteBool(QStringLiteral("DiffMax"), value);
}

QString KORVOSettings::diffRect() const
{
    return QStringLiteral("%1, %2, %3, %4").arg(diffLeft()).arg(diffTop()).arg(diffRight()).arg(diffBottom());
}

void KORVOSettings::SetDiffRect(const QString &value)
{
    // A switch rather than a table of member pointers, which GCC's bounds
    // sanitizer misreads.
    const QStringList parts = value.split(QLatin1Char(','));
    for (int i = 0; i < 4 && i < parts.size(); ++i) {
        double n = 0;
        int v = 0;
        if (!ToNumber(parts.at(i), n) || !ToLong(n, v))
            continue;
        switch (i) {
        case 0:
            SetDiffLeft(v);
            break;
        case 1:
            SetDiffTop(v);
            break;
        case 2:
            SetDiffRight(v);
            break;
        default:
            SetDiffBottom(v);
            break;
        }
    }
}

bool KORVOSettings::ShowMainStatusBar() const
{
    return NotZero(QStringLiteral("ShowMainStatusBar"));
}

void KORVOSettings::SetShowMainStatusBar(bool value)
{
    WriteBool(QStringLiteral("ShowMainStatusBar"), value);
}

bool KORVOSettings::ShowDescriptionPrompt() const
{
    return OnlyOne(QStringLiteral("ShowDescriptionPrompt"));
}

void KORVOSettings::SetShowDescriptionPrompt(bool value)
{
    WriteBool(QStringLiteral("ShowDescriptionPrompt"), value);
}

bool KORVOSettings::ShowDescriptionInDBT() const
{
    return OnlyOne(QStringLiteral("ShowDescriptionInDBT"));
}

void KORVOSettings::SetShowDescriptionInDBT(bool value)
{
    WriteBool(QStringLiteral("ShowDescriptionInDBT"), value);
}

bool KORVOSettings::ShowOwnerNameInName() const
{
    return OnlyOne(QStringLiteral("ItemOwnerName"));
}

void KORVOSettings::SetShowOwnerNameInName(bool value)
{
    WriteBool(QStringLiteral("ItemOwnerName"), value);
}

bool KORVOSettings::ShowOwnerNameInProp() const
{
    return OnlyOne(QStringLiteral("ItemPropOwnerName"));
}

void KORVOSettings::SetShowOwnerNameInProp(bool value)
{
    WriteBool(QStringLiteral("ItemPropOwnerName"), value);
}

int KORVOSettings::DocGenType()
{
    // Kept as it always behaved: the stored type never comes back, and a "1"
    // turns owner names on in the tree.
    if (ReadSetting(QStringLiteral("DocGenType")) == QLatin1String("1"))
        SetShowOwnerNameInName(true);
    return 0;
}

void KORVOSettings::SetDocGenType(int value)
{
    WriteNumber(QStringLiteral("DocGenType"), value);
}

QString KORVOSettings::DocGenFileName() const
{
    return ReadSetting(QStringLiteral("DocGenFileName"));
}

void KORVOSettings::SetDocGenFileName(const QString &value)
{
    WriteSetting(QStringLiteral("DocGenFileName"), value);
}

QString KORVOSettings::DocGenTempalte() const
{
    return ReadSetting(QStringLiteral("DocGenTempalte"));
}

void KORVOSettings::SetDocGenTempalte(const QString &value)
{
    WriteSetting(QStringLiteral("DocGenTempalte"), value);
}

bool KORVOSettings::ShowSaveChangesNew() const
{
    return NotZero(QStringLiteral("ShowSaveChangesPromptNew"));
}

void KORVOSettings::SetShowSaveChangesNew(bool value)
{
    WriteBool(QStringLiteral("ShowSaveChangesPromptNew"), value);
}

bool KORVOSettings::ShowSaveChangesEdit() const
{
    return NotZero(QStringLiteral("ShowSaveChangesPromptEdit"));
}

void KORVOSettings::SetShowSaveChangesEdit(bool value)
{
    WriteBool(QStringLiteral("ShowSaveChangesPromptEdit"), value);
}

int KORVOSettings::ShowSaveChangesPermission() const
{
    return OneOrTwo(QStringLiteral("ShowSaveChangesPermission"));
}

void KORVOSettings::SetShowSaveChangesPermission(int value)
{
    WriteNumber(QStringLiteral("ShowSaveChangesPermission"), value);
}

int KORVOSettings::SaveChangesEditDefault() const
{
    return WholeAtLeastOne(QStringLiteral("SaveChangesEditDefault"), 0);
}

void KORVOSettings::SetSaveChangesEditDefault(int value)
{
    WriteNumber(QStringLiteral("SaveChangesEditDefault"), value);
}

int KORVOSettings::SaveChangesNewDefault() const
{
    return WholeAtLeastOne(QStringLiteral("SaveChangesNewDefault"), 0);
}

void KORVOSettings::SetSaveChangesNewDefault(int value)
{
    WriteNumber(QStringLiteral("SaveChangesNewDefault"), value);
}

bool KORVOSettings::ShowPermissionsOnNewObjectCreate() const
{
    return OnlyOne(QStringLiteral("ShowPermissionsOnNewObjectCreate"));
}

void KORVOSettings::SetShowPermissionsOnNewObjectCreate(bool value)
{
    WriteBool(QStringLiteral("ShowPermissionsOnNewObjectCreate"), value);
}

bool KORVOSettings::ShowCommentPrompt() const
{
    return NotZero(QStringLiteral("ShowCommentPrompt"));
}

void KORVOSettings::SetShowCommentPrompt(bool value)
{
    WriteBool(QStringLiteral("ShowCommentPrompt"), value);
}

int KORVOSettings::ChildWindowState() const
{
    return ReadNumber(ReadSetting(QStringLiteral("ChildWindowState")), 0, [](double n) { return n == 0 || n == 2; });
}

void KORVOSettings::SetChildWindowState(int value)
{
    WriteNumber(QStringLiteral("ChildWindowState"), value);
}

int KORVOSettings::SvnConnectTimeout() const
{
    return WholeAtLeastOne(QStringLiteral("SvnConnectTimeout"), 15);
}

void KORVOSettings::SetSvnConnectTimeout(int seconds)
{
    WriteNumber(QStringLiteral("SvnConnectTimeout"), seconds);
}

int KORVOSettings::CompileTestTimeout() const
{
    return WholeAtLeastOne(QStringLiteral("CompileTestTimeout"), 30);
}

void KORVOSettings::SetCompileTestTimeout(int seconds)
{
    WriteNumber(QStringLiteral("CompileTestTimeout"), seconds);
}

int KORVOSettings::ChildWindowWidth() const
{
    return WholeAtLeastOne(QStringLiteral("ChildWindowWidth"), 5000);
}

void KORVOSettings::SetChildWindowWidth(int value)
{
    WriteNumber(QStringLiteral("ChildWindowWidth"), value);
}

int KORVOSettings::ChildWindowHeight() const
{
    return WholeAtLeastOne(QStringLiteral("ChildWindowHeight"), 5000);
}

void KORVOSettings::SetChildWindowHeight(int value)
{
    WriteNumber(QStringLiteral("ChildWindowHeight"), value);
}

int KORVOSettings::ShowPermissionsInDBT() const
{
    return OneOrTwo(QStringLiteral("ShowPermissionsInDBT"));
}

void KORVOSettings::SetShowPermissionsInDBT(int value)
{
    WriteNumber(QStringLiteral("ShowPermissionsInDBT"), value);
}

int KORVOSettings::ShowPermissionsInEditor() const
{
    return OneOrTwo(QStringLiteral("ShowPermissionsInEditor"));
}

void KORVOSettings::SetShowPermissionsInEditor(int value)
{
    WriteNumber(QStringLiteral("ShowPermissionsInEditor"), value);
}

QString KORVOSettings::GetDefaultText(const QString &type) const
{
    return ReadTextFile(UserDataFolder() + QLatin1Char('/') + type + QStringLiteral(".default"));
}

bool KORVOSettings::SetDefaultText(const QString &type, const QString &text, QString *reason)
{
    return SetDefaultTexts({ type }, { text }, reason);
}

bool KORVOSettings::SetDefaultTexts(const QStringList &types, const QStringList &texts, QString *reason)
{
    const QString folder = UserDataFolder();
    if (!QDir().mkpath(folder)) {
        if (reason)
            *reason = QStringLiteral("the folder '%1' cannot be made").arg(folder);
        return false;
    }
    QList<QPair<QString, QByteArray>> files;
    for (qsizetype i = 0; i < types.size(); ++i)
        files.append({ folder + QLatin1Char('/') + types.at(i) + QStringLiteral(".default"), texts.value(i).toUtf8() });
    return WriteFilesBytes(files, reason);
}

int KORVOSettings::QueryRowLimit() const
{
    return ReadNumber(
        ReadSetting(QStringLiteral("QueryRowLimit")), 100000, [](double n) { return IsWhole(n) && n >= 0; });
}

void KORVOSettings::SetQueryRowLimit(int rows)
{
    WriteNumber(QStringLiteral("QueryRowLimit"), rows);
}
