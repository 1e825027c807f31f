#include "SystemRequirements.h"

#include <QDomDocument>
#include <QLibrary>
#include <QRegularExpression>

#include <cstring>

namespace
{

// Loads the library of exactly this version; QLibrary alone would fall back to
// an unversioned name.
bool Loads(const QString &name, int version)
{
#if defined(Q_OS_WIN)
    QLibrary lib(name + QLatin1Char('-') + QString::number(version));
#elif defined(Q_OS_MACOS)
    QLibrary lib(QStringLiteral("lib%1.%2.dylib").arg(name).arg(version));
#else
    QLibrary lib(QStringLiteral("lib%1.so.%2").arg(name).arg(version));
#endif
    // Not unloaded again: the connectors use the same libraries.
    return lib.load();
}

using GetInstalledDrivers = int (*)(char *buffer, unsigned short size, unsigned short *out);

// Asks the ODBC installer library for the registered drivers (odbcinst.ini).
bool SqlServerDriverRegistered()
{
    QLibrary inst(QStringLiteral("odbcinst"), 2);
    auto fn = reinterpret_cast<GetInstalledDrivers>(inst.resolve("SQLGetInstalledDrivers"));
    if (!fn)
        return false;
    QByteArray buffer(16384, '\0');
    unsigned short used = 0;
    if (!fn(buffer.data(), static_cast<unsigned short>(buffer.size() - 2), &used))
        return false;
    // A list of names, each ending in a NUL, the list ending in an empty name.
    const char *p = buffer.constData();
    const char *end = p + buffer.size();
    while (p < end && *p) {
        if (std::strcmp(p, "SQL Server") == 0)
            return true;
        p += std::strlen(p) + 1;
    }
    return false;
}

bool SubversionPresent()
{
    return Loads(QStringLiteral("svn_ra-1"), 1) && Loads(QStringLiteral("svn_ra_local-1"), 1);
}

bool OdbcPresent(int major)
{
    return Loads(QStringLiteral("odbc"), major) && SqlServerDriverRegistered();
}

bool XmlDomPresent()
{
    QDomDocument doc;
    return bool(doc.setContent(QStringLiteral("<probe a=\"1\"><b/></probe>")))
        && doc.documentElement().attribute(QStringLiteral("a")) == QLatin1String("1");
}

} // namespace

const QList<ComponentRequirement> &RequiredComponents()
{
    static const QList<ComponentRequirement> table = {
        { QStringLiteral("SourceSafe"), 0, 0, -1, -1, QStringLiteral("Visual SourceSafe"), QStringLiteral("6.0"),
            QStringLiteral("https://packages.debian.org/bookworm/libsvn1") },
        { QStringLiteral("ADODB.Recordset"), 2, 2, 8, 4, QStringLiteral("ADO"), QStringLiteral("2.5"),
            QStringLiteral("https://packages.debian.org/bookworm/tdsodbc") },
        { QStringLiteral("MSXML2.DOMDocument"), 4, 2, 6, 0, QStringLiteral("XML Parser"), QStringLiteral("3.0"),
            QStringLiteral("https://packages.debian.org/bookworm/libqt6xml6") },
    };
    return table;
}

bool CanCreateComponent(const QString &className)
{
    if (className == QLatin1String("SourceSafe"))
        return SubversionPresent();
    static const QRegularExpression versioned(
        QStringLiteral("^(ADODB\\.Recordset|MSXML2\\.DOMDocument)\\.(\\d+)(\\.\\d+)?$"));
    const auto m = versioned.match(className);
    if (!m.hasMatch())
        return false;
    if (m.captured(1) == QLatin1String("ADODB.Recordset"))
        return OdbcPresent(m.captured(2).toInt());
    return XmlDomPresent();
}

SystemRequirements::SystemRequirements(Probe probe)
    : mProbe(std::move(probe))
{
    if (!mProbe)
        mProbe = CanCreateComponent;
}

QString SystemRequirements::FindComponentVersion(
    const QString &className, int firstMajor, int lastMajor, int firstMinor, int lastMinor) const
{
    const int majorStep = firstMajor > lastMajor ? -1 : 1;
    const int minorStep = firstMinor > lastMinor ? -1 : 1;
    for (int major = firstMajor; major != lastMajor + majorStep; major += majorStep) {
        if (major == 0) {
            if (mProbe(className))
                return QStringLiteral("0");
            continue;
        }
        if (firstMinor > -1) {
            for (int minor = firstMinor; minor != lastMinor + minorStep; minor += minorStep) {
                if (mProbe(QStringLiteral("%1.%2.%3").arg(className).arg(major).arg(minor)))
                    return QStringLiteral("%1.%2").arg(major).arg(minor);
            }
        }
        if (mProbe(QStringLiteral("%1.%2").arg(className).arg(major)))
            return QString::number(major);
    }
    return {};
}

bool SystemRequirements::CheckAll()
{
    mMissing.clear();
    for (const ComponentRequirement &r : RequiredComponents()) {
        if (FindComponentVersion(r.className, r.firstMajor, r.lastMajor, r.firstMinor, r.lastMinor).isEmpty())
            AddMissingComponent(r.displayName, r.minVersion, r.location);
    }
    return mMissing.isEmpty();
}

void SystemRequirements::AddMissingComponent(const QString &name, const QString &minVersion, const QString &location)
{
    mMissing.append({ name, minVersion, location });
}
