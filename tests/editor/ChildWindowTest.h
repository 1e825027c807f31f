#pragma once

// What the child windows' tests share: a main window that records what its
// children ask of it, and a session over a test backend.
#include "../objects/test_backend.h"
#include "KORVODatabase.h"
#include "KORVOMainWindowServices.h"
#include "KORVOProject.h"
#include "KORVOWindows.h"

class FakeMain : public KORVOMainWindowServices, public KORVOWindows
{
public:
    QStringList calls;
    QStringList compared; // left and right text of the last comparison

    void KeyPreview(bool, int &, int, long) override { }
    void RefreshItem(const QString &tag, const QString &key, bool refreshParent) override
    {
        calls << QStringLiteral("RefreshItem %1 %2 %3").arg(tag, key).arg(refreshParent);
    }
    void RefreshForms() override { }
    void EditPermissions(const QString &tag, const QString &key, const KORVODBObjectPtr &) override
    {
        calls << QStringLiteral("EditPermissions %1 %2").arg(tag, key);
    }
    void AddChild(QWidget *child) override { child->show(); }
    KORVOWindows &Windows() override { return *this; }
    void Compare(QWidget *, KORVODatabase &, const QString &left, const QString &right, const QString &leftCaption,
        const QString &rightCaption) override
    {
        calls << QStringLiteral("Compare %1 %2").arg(leftCaption, rightCaption);
        compared = { left, right };
    }
    bool ShowHistory(QWidget *, KORVODatabase &, const KORVODBObjectPtr &) override
    {
        calls << QStringLiteral("ShowHistory");
        return true; // as after a rollback
    }
};

// A session over the backend's database; with a project, also over its
// repository as alice. Null when a connection did not open.
inline std::unique_ptr<KORVODatabase> OpenSession(Backend &b, const QString &settingsFile, bool withProject)
{
    auto session = std::make_unique<KORVODatabase>(b.ui, std::make_shared<KORVOObjectFactory>(), nullptr, settingsFile);
    if (!withProject)
        return session;
    auto project = std::make_shared<KORVOProject>(b.ui);
    b.Bind(*project->SQL());
    project->VSS()->OpenConnection(
        b.repo->Url(), "alice", QString(), Backend::Project, b.repo->Folder("session"), true, true);
    if (!project->SQL()->ConnectionOpen() || !project->VSS()->ConnectionOpen())
        return nullptr;
    session->SetProject(project);
    return session;
}
