#include "KORVOLatestTexts.h"

#include "KORVOObjectTypes.h"
#include "KORVOTypedObject.h"
#include "KORVOVSS.h"
#include "ServerKind.h"

QString KORVOLatestTexts::Of(const KORVOTypedObject &object, bool asAlter)
{
    const KORVOVSS *vss = object.ActiveVSSConnection().get();
    if (!vss)
        return object.GetContent(1, -1, asAlter);
    auto project = mProjects.find(vss);
    if (project == mProjects.end()) {
        project = mProjects.insert(vss, {});
        object.ActiveVSSConnection()->ItemContents(*project);
    }
    const auto text = project->constFind(object.Generic().ItemName());
    if (text == project->cend())
        return object.GetContent(1, -1, asAlter);
    return asAlter ? ServerKindOf(object.ActiveDBConnection()).ReplacingText(*text) : *text;
}
