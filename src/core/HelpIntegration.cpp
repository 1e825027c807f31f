#include "HelpIntegration.h"

#include "UiServices.h"

#include <QCoreApplication>
#include <QDesktopServices>
#include <QFileInfo>

namespace
{

const char *const Topics[HelpIntegration::TopicCount] = {
    "Introduction.htm",
    "GettingStarted.htm",
    "GettingStarted_Firstly.htm",
    "GettingStarted_Step1.htm",
    "GettingStarted_Step2.htm",
    "GettingStarted_Step2.htm#ProjectDetails",
    "GettingStarted_Step2.htm#SQLServer",
    "GettingStarted_Step2.htm#SQLDB",
    "GettingStarted_Step2.htm#VSSDB",
    "GettingStarted_Step2.htm#VSSProject",
    "GettingStarted_Step2.htm#OpenProject",
    "GettingStarted_Step3.htm",
    "GettingStarted_Step4.htm",
    "GettingStarted_Step4.htm#Create",
    "GettingStarted_Step4.htm#Edit",
    "GettingStarted_Step5.htm",
    "GettingStarted_Step5.htm#ReadOnly",
    "GettingStarted_Step5.htm#Edit",
    "GettingStarted_Conclusion.htm",
    "ProjectManager.htm",
    "ProjectManager.htm#Browser",
    "ProjectManager.htm#Wizard",
    "TheIDE.htm",
    "Options.htm",
    "Options.htm#General",
    "Options.htm#View",
    "Options.htm#DefaultTexts",
    "Options.htm#Editor",
    "Options.htm#ChangesMade",
    "Options.htm#NewObjects",
    "Options.htm#EditingObjects",
    "Options.htm#ObjectPermissions",
    "Options.htm#Permissions",
    "DBT.htm",
    "TheEditor.htm",
    "Descriptions.htm",
    "Descriptions.htm#Edit",
    "Descriptions.htm#Save",
    "Permissions.htm",
    "Permissions.htm#Edit",
    "Permissions.htm#Icons",
    "Permissions.htm#Save",
    "ObjectMaint.htm",
    "ObjectMaint.htm#Editing",
    "ObjectMaint.htm#Renaming",
    "ObjectMaint.htm#Deleting",
    "ObjectMaint.htm#Undeleting",
    "ObjectMaint.htm#History",
    "ObjectMaint.htm#Rollback",
    "Synchronization.htm",
    "Synchronization.htm#ActionButtons",
    "Synchronization.htm#Apply",
    "Synchronization.htm#Example",
    "Synchronization.htm#Single",
    "Synchronization.htm#Grouped",
    "SQLQuery.htm",
    "Feedback.htm",
    "Manual.htm",
    "AutoDoc.htm",
    "AutoDoc.htm#Settings",
    "AutoDoc.htm#ModMan",
    "ScriptGenerator.htm",
    "ScriptGenerator.htm#VSS",
    "ScriptGenerator.htm#Compare",
    "ScriptGenerator.htm#Complete",
    "ScriptGenerator.htm#Custom",
    "ScriptGenerator.htm#Destination",
};

} // namespace

HelpIntegration::HelpIntegration(UiServices &ui, const QString &helpFolder, Opener opener)
    : mUi(ui)
    , mHelpFolder(helpFolder)
    , mOpener(std::move(opener))
{
    if (mHelpFolder.isEmpty())
        mHelpFolder = QCoreApplication::applicationDirPath() + QStringLiteral("/help");
    if (!mOpener)
        mOpener = [](const QUrl &url) { return QDesktopServices::openUrl(url); };
}

QString HelpIntegration::TopicPage(int topic)
{
    if (topic < 1 || topic > TopicCount)
        return {};
    return QString::fromLatin1(Topics[topic - 1]);
}

QString HelpIntegration::GetHelpFile(int kind) const
{
    if (kind != 1)
        return {};
    return mHelpFolder + QStringLiteral("/index.html");
}

bool HelpIntegration::CheckHelpFile() const
{
    if (QFileInfo::exists(GetHelpFile(1)))
        return true;
    mUi.warn(QStringLiteral("No help available!"), QStringLiteral("The help file is could not be found!"));
    return false;
}

void HelpIntegration::ShowHelp(const QObject *ownerWindow, int topic)
{
    // The browser is not a child of the calling window.
    Q_UNUSED(ownerWindow);
    const QString page = topic == 0 ? QString() : TopicPage(topic);
    if (!CheckHelpFile())
        return;
    Open(page);
}

void HelpIntegration::Open(const QString &page)
{
    // An empty page name is the help file's own start page.
    const int hash = page.indexOf(QLatin1Char('#'));
    const QString file = hash < 0 ? page : page.left(hash);
    QUrl url = QUrl::fromLocalFile(file.isEmpty() ? GetHelpFile(1) : mHelpFolder + QLatin1Char('/') + file);
    if (hash >= 0)
        url.setFragment(page.mid(hash + 1));
    if (mOpener(url))
        mHelpWindowOpened = true;
}
