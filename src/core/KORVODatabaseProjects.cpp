// The project store of the session: projects as numbered sub-keys of KORVO's
// folder, whose numbers are also the recent-use order (1 = most recent).
#include "KORVODatabase.h"

#include "KORVOProject.h"
#include "KORVOProjects.h"
#include "KORVOSQL.h"
#include "KORVOVSS.h"
#include "Registry.h"

#include <map>

namespace
{

constexpr long Root = Registry::HKEY_CURRENT_USER;

QString Flag(bool on)
{
    return on ? QStringLiteral("1") : QStringLiteral("0");
}

QString ProjectPath(long sequence)
{
    return Registry::SubPath(QString::number(sequence));
}

} // namespace

KORVOProjectPtr KORVODatabase::LoadProjectFromKey(const RegistryKey &key) const
{
    const QString name = key.GetValueData(QStringLiteral("PrjName"));
    if (name.isEmpty())
        return nullptr;
    auto project = std::make_shared<KORVOProject>(mUi);
    project->Name = name;
    project->Sequence = key.Name.toLong();
    project->Default = false;

    KORVOSQL &sql = *project->SQL();
    sql.SetServer(key.GetValueData(QStringLiteral("LastServer")));
    sql.SetDatabase(key.GetValueData(QStringLiteral("LastDatabase")));
    sql.SetUseWinNTAuth(key.GetValueData(QStringLiteral("SQLUseWinAuth")) == QLatin1String("1"));
    sql.SetUserName(key.GetValueData(QStringLiteral("LastUserName")));
    sql.SetStorePassword(key.GetValueData(QStringLiteral("SavePassword")) == QLatin1String("1"));
    // A password counts only when its flag says it was meant to be stored.
    if (sql.StorePassword())
        sql.SetPassword(key.GetValueData(QStringLiteral("Password")));
    // Projects stored before there was a choice of server are SQL Server projects.
    sql.SetKind(ServerKind::FromName(key.GetValueData(QStringLiteral("ServerKind"))));
    sql.CompileTestTimeout = CompileTestTimeout();

    KORVOVSS &vss = *project->VSS();
    vss.IniFile = key.GetValueData(QStringLiteral("VSSFile"));
    vss.ConnectTimeout = SvnConnectTimeout();
    vss.UserName = key.GetValueData(QStringLiteral("VSSUser"));
    vss.Project = key.GetValueData(QStringLiteral("VSSProject"));
    vss.SetGeneralWorkingFolder(key.GetValueData(QStringLiteral("PathInit")));
    vss.StorePassword = key.GetValueData(QStringLiteral("VSSSavePassword")) == QLatin1String("1");
    if (vss.StorePassword)
        vss.Password = key.GetValueData(QStringLiteral("VSSPassword"));
    return project;
}

KORVOProjectPtr KORVODatabase::GetDefaultProject()
{
    // Numeric rather than "1": a higher number set by hand works as well.
    bool numeric = false;
    const long id
        = GetRegistry().GetValue(Root, Registry::Folder(), QStringLiteral("ProjectToOpen")).trimmed().toLong(&numeric);
    if (!numeric || id <= 0)
        return nullptr;
    const auto key = GetRegistry().GetKeyData(Root, ProjectPath(id), true, false);
    KORVOProjectPtr project = LoadProjectFromKey(*key);
    if (project)
        project->Default = true;
    return project;
}

KORVOProjectPtr KORVODatabase::FindProjectByID(long id)
{
    const auto key = GetRegistry().GetKeyData(Root, ProjectPath(id), true, true);
    return LoadProjectFromKey(*key);
}

std::shared_ptr<KORVOProjects> KORVODatabase::FindAllProjects(bool loadValues, bool loadSubKeys)
{
    auto projects = std::make_shared<KORVOProjects>(&mUi);
    const auto folder = GetRegistry().GetKeyData(Root, Registry::Folder(), loadValues, loadSubKeys);
    for (const auto &key : *folder->SubKeys) {
        if (key->GetValueData(QStringLiteral("PrjName")).isEmpty())
            continue;
        // A key whose name is no number cannot be told apart from others by
        // its Sequence: it is no project.
        bool numeric = false;
        key->Name.toLong(&numeric);
        if (!numeric)
            continue;
        if (KORVOProjectPtr project = LoadProjectFromKey(*key))
            projects->Add(QString(), project);
    }
    projects->SortBySequence();
    return projects;
}

bool KORVODatabase::ProjectNameExists(const QString &name, const QString &oldName)
{
    // Keeping one's own name is no clash; a change of case alone is not keeping it.
    if (name == oldName)
        return false;
    const auto keys = GetRegistry().GetAllSubKeys(Root, Registry::Folder(), true, false);
    for (const auto &key : *keys) {
        if (key->GetValueData(QStringLiteral("PrjName")).compare(name, Qt::CaseInsensitive) == 0)
            return true;
    }
    return false;
}

void KORVODatabase::SaveProject(const KORVOProjectPtr &project)
{
    if (project->Sequence == -1)
        project->Sequence = GetRegistryProjectCount() + 1;
    const QString path = ProjectPath(project->Sequence);
    const KORVOSQL &sql = *project->SQL();
    const KORVOVSS &vss = *project->VSS();
    Registry &registry = GetRegistry();
    // The order of writing is part of the layout.
    registry.WriteValue(Root, path, QStringLiteral("PrjName"), project->Name);
    registry.WriteValue(Root, path, QStringLiteral("LastServer"), sql.Server());
    registry.WriteValue(Root, path, QStringLiteral("LastDatabase"), sql.Database());
    registry.WriteValue(Root, path, QStringLiteral("SQLUseWinAuth"), Flag(sql.UseWinNTAuth()));
    registry.WriteValue(Root, path, QStringLiteral("LastUserName"), sql.UserName());
    registry.WriteValue(Root, path, QStringLiteral("Password"), sql.Password());
    registry.WriteValue(Root, path, QStringLiteral("SavePassword"), Flag(sql.StorePassword()));
    registry.WriteValue(Root, path, QStringLiteral("VSSFile"), vss.IniFile);
    registry.WriteValue(Root, path, QStringLiteral("VSSUser"), vss.UserName);
    registry.WriteValue(Root, path, QStringLiteral("VSSPassword"), vss.Password);
    registry.WriteValue(Root, path, QStringLiteral("VSSProject"), vss.Project);
    registry.WriteValue(Root, path, QStringLiteral("VSSSavePassword"), Flag(vss.StorePassword));
    registry.WriteValue(Root, path, QStringLiteral("PathInit"), vss.GeneralWorkingFolder());
    registry.WriteValue(Root, path, QStringLiteral("ServerKind"), sql.Kind().Name());
}

long KORVODatabase::GetRegistryProjectCount()
{
    long highest = 0;
    const auto keys = GetRegistry().GetAllSubKeys(Root, Registry::Folder(), true, false);
    for (const auto &key : *keys) {
        if (key->Name.isEmpty() || key->Name.contains(QLatin1Char('.')))
            continue;
        bool numeric = false;
        const long number = key->Name.toLong(&numeric);
        if (!numeric || key->GetValueData(QStringLiteral("PrjName")).trimmed().isEmpty())
            continue;
        highest = std::max(highest, number);
    }
    return highest;
}

void KORVODatabase::RemoveProject(const KORVOProjectPtr &project)
{
    const long last = GetRegistryProjectCount();
    // Each later project moves one key down, over the one before it.
    for (long id = project->Sequence + 1; id <= last; ++id) {
        KORVOProjectPtr moving = FindProjectByID(id);
        if (!moving)
            continue; // a gap made by hand
        moving->Sequence -= 1;
        SaveProject(moving);
    }
    GetRegistry().DeleteKey(Root, ProjectPath(last));
}

QStringList KORVODatabase::GetMostRecentProject()
{
    QStringList places(5);
    const auto projects = FindAllProjects(true, true);
    for (const KORVOProjectPtr &project : *projects) {
        if (project->Sequence >= 1 && project->Sequence < 5)
            places[project->Sequence] = project->Name;
    }
    QStringList result { QString() };
    for (int i = 1; i < places.size(); ++i) {
        if (!places.at(i).isEmpty())
            result.append(places.at(i));
    }
    return result;
}

void KORVODatabase::MakeProjectMostRecent(long sequence)
{
    if (sequence < 2)
        return;
    std::map<long, KORVOProjectPtr> first;
    const auto projects = FindAllProjects(true, true);
    for (const KORVOProjectPtr &project : *projects) {
        if (project->Sequence >= 1 && project->Sequence <= sequence)
            first[project->Sequence] = project;
    }
    // Downwards, so that each key is written only after its content moved up.
    for (long id = sequence - 1; id >= 1; --id) {
        auto it = first.find(id);
        if (it == first.end())
            continue;
        it->second->Sequence += 1;
        SaveProject(it->second);
    }
    auto opened = first.find(sequence);
    if (opened != first.end()) {
        opened->second->Sequence = 1;
        SaveProject(opened->second);
    }
}
