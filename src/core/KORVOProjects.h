#pragma once

#include "KORVOProject.h"

#include <QList>
#include <QString>

class UiServices;

// The projects in a fixed order, found by name without regard to case.
class KORVOProjects
{
public:
    // The UI services are handed to projects that Add makes; without them Add
    // only takes given projects.
    explicit KORVOProjects(UiServices *ui = nullptr)
        : mUi(ui)
    {
    }

    // Nothing when no project has that name.
    KORVOProjectPtr Item(const QString &key) const;
    // 1-based, as the list is walked.
    KORVOProjectPtr Item(int index) const { return mItems.value(index - 1); }
    int Count() const { return int(mItems.size()); }

    // With an empty name the given project goes in under its own Name; with a
    // name a new empty project of that name is made instead. Returns what was
    // added, or nothing when the name is taken (or there is nothing to add).
    KORVOProjectPtr Add(const QString &name, const KORVOProjectPtr &project = nullptr);
    void Remove(const QString &key);
    // Renames the project and keeps its place between the same neighbours.
    bool ChangeProjectName(const QString &oldName, const QString &newName);
    // Reorders by Sequence; of two projects with one Sequence the later stays.
    // Unsaved projects (Sequence -1) keep their order behind the others.
    void SortBySequence();

    auto begin() const { return mItems.begin(); }
    auto end() const { return mItems.end(); }

private:
    int IndexOf(const QString &key) const;

    UiServices *mUi;
    QList<KORVOProjectPtr> mItems;
};

using KORVOProjectsPtr = std::shared_ptr<KORVOProjects>;
