#include "KORVOProjects.h"

#include <algorithm>
#include <vector>

int KORVOProjects::IndexOf(const QString &key) const
{
    for (int i = 0; i < mItems.size(); ++i) {
        if (mItems.at(i)->Name.compare(key, Qt::CaseInsensitive) == 0)
            return i;
    }
    return -1;
}

KORVOProjectPtr KORVOProjects::Item(const QString &key) const
{
    const int i = IndexOf(key);
    return i < 0 ? nullptr : mItems.at(i);
}

KORVOProjectPtr KORVOProjects::Add(const QString &name, const KORVOProjectPtr &project)
{
    KORVOProjectPtr added = project;
    if (!name.isEmpty() || !added) {
        if (!mUi)
            return nullptr;
        added = std::make_shared<KORVOProject>(*mUi);
        added->Name = name;
    }
    if (IndexOf(added->Name) >= 0)
        return nullptr;
    mItems.append(added);
    return added;
}

void KORVOProjects::Remove(const QString &key)
{
    const int i = IndexOf(key);
    if (i >= 0)
        mItems.removeAt(i);
}

bool KORVOProjects::ChangeProjectName(const QString &oldName, const QString &newName)
{
    const int i = IndexOf(oldName);
    if (i < 0)
        return false;
    const int clash = IndexOf(newName);
    if (clash >= 0 && clash != i)
        return false;
    mItems.at(i)->Name = newName;
    return true;
}

void KORVOProjects::SortBySequence()
{
    // Placement by Sequence into slots that grow as needed; empty slots vanish.
    std::vector<KORVOProjectPtr> slots(mItems.size() + 1);
    QList<KORVOProjectPtr> unsaved;
    for (const KORVOProjectPtr &project : mItems) {
        const long seq = project->Sequence;
        if (seq < 0) {
            unsaved.append(project); // not in the store yet: behind the saved ones
            continue;
        }
        if (size_t(seq) >= slots.size())
            slots.resize(size_t(seq) + 1);
        slots[size_t(seq)] = project;
    }
    mItems.clear();
    for (const KORVOProjectPtr &project : slots) {
        if (project)
            mItems.append(project);
    }
    mItems.append(unsaved);
}
