#pragma once

#include <QList>
#include <QString>

#include <functional>

// The components KORVO needs at run time and the probe that looks for them.
// Each component is asked for by a class name, newest version first; on this
// platform a class name is answered by a run-time check (see CanCreateComponent).

struct ComponentRequirement {
    QString className;
    int firstMajor, lastMajor, firstMinor, lastMinor;
    QString displayName;
    QString minVersion; // shown to the user; the probe may accept older versions
    QString location; // where to get it
};

struct MissingComponent {
    QString name;
    QString minVersion;
    QString location;
};

// The requirement table, in the order of the checks.
const QList<ComponentRequirement> &RequiredComponents();

// Whether the component behind a (versioned) class name is present here:
//  "SourceSafe": Subversion's repository-access library and its local access
//      module load.
//  "ADODB.Recordset.{major}[.{minor}]": the ODBC driver manager of that major
//      library version loads and a driver named "SQL Server" is registered; the
//      minor version is not told apart.
//  "MSXML2.DOMDocument.{major}[.{minor}]": the XML DOM (QtXml) loads and parses;
//      every version name is answered by it.
// Any other name is not present.
bool CanCreateComponent(const QString &className);

class SystemRequirements
{
public:
    using Probe = std::function<bool(const QString &className)>;

    // probe empty: CanCreateComponent.
    explicit SystemRequirements(Probe probe = {});

    // The version found, newest first; empty when none of the names tried exists.
    QString FindComponentVersion(
        const QString &className, int firstMajor, int lastMajor, int firstMinor, int lastMinor) const;

    // Empties the missing list, then probes every required component and lists
    // the ones not found. True when nothing is missing.
    bool CheckAll();

    void AddMissingComponent(const QString &name, const QString &minVersion, const QString &location);
    int MissingComponentCount() const { return int(mMissing.size()); }
    const QList<MissingComponent> &MissingComponents() const { return mMissing; }
    void ClearMissingComponents() { mMissing.clear(); }

private:
    Probe mProbe;
    QList<MissingComponent> mMissing;
};
