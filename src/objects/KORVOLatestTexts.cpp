#include "KORVOLatestTexts.h"

#include "KORVOObjectTypes.h"
#include "KORVOTypedObject.h"
#include "KORVOVSS.h"
#include "ServerKind.h"

QString KORVOLatestTexts::Of(const KORVOTypedObject &object, bool asAlter)
{
    const std::shared_ptr<KORVOVSS> &vss = object.ActiveVSSConnection();
    if (!vss)
        return object.GetContent(1, -1, asAlter);
    auto project = mProjects.find(vss.get());
    const bool fresh = project == mProjects.end();
    if (fresh)
        project = mProjects.insert(vss.get(), {});
    if (fresh || (!project->Checked && (project->Version < 0 || vss->LatestVersion() != project->Version))) {
        if (!vss->ItemContents(project->Texts, &project->Version))
            project->Version = -1;
    }
    project->Checked = true;
    const auto text = project->Texts.constFind(object.Generic().ItemName());
    if (text == project->Texts.cend())
        return object.GetContent(1, -1, asAlter);
    return asAlter ? ServerKindOf(object.ActiveDBConnection()).ReplacingText(*text) : *text;
}

void KORVOLatestTexts::Renew()
{
    for (Project &project : mProjects)
        project.Checked = false;
}
