#pragma once

#include "KORVOHistoryData.h"
#include "VssError.h"

#include <QDateTime>
#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>

#include <memory>

class UiServices;
class VssDatabase;
class KORVOVSSItem;
class KORVOVSSItems;

// The road to source control. Items are files addressed by bare name in the
// current project; their working copies live in GeneralWorkingFolder. The back
// end is a Subversion repository (VssDatabase). Operations with a failure box
// show it unless Silent and return false or ""; Items, Item, CheckedOutBy,
// GetItemHistory, GetDate and GetProjectSubFolders throw VssError instead.
class KORVOVSS : public std::enable_shared_from_this<KORVOVSS>
{
public:
    explicit KORVOVSS(UiServices &ui);
    ~KORVOVSS();

    // A repository URL, or the path of an ini file naming one.
    QString IniFile;
    QString UserName;
    QString Password;
    bool StorePassword = false;
    QString Project; // "$\A\B\"
    // Seconds an svn:// server has to answer before the connection fails.
    int ConnectTimeout = 15;

    QString GeneralWorkingFolder() const { return mGeneralWorkingFolder; }
    // Appends the path separator when it is missing.
    void SetGeneralWorkingFolder(const QString &folder);
    bool ConnectionOpen() const { return mDatabase != nullptr; }

    QString OpenConnection(const QString &iniFile, const QString &userName, const QString &password,
        const QString &project, const QString &workingFolder, bool silent, bool blankPasswordGiven);
    void CloseConnection();
    QString TestConnection(
        const QString &iniFile, const QString &userName, const QString &password, const QString &project);
    // Element 0 is empty, the sub-projects follow.
    QStringList GetProjectSubFolders(const QString &project);
    QString CreateNewProject(const QString &parent, const QString &name);

    QString GetItemFileName(const QString &item) const;
    std::shared_ptr<KORVOVSSItems> Items(const QString &filter, bool includeDeleted, bool onlyDeleted);
    // See KORVOVSSListingPass; passes nest.
    void BeginListingPass() { ++mPasses; }
    void EndListingPass();
    std::shared_ptr<KORVOVSSItem> Item(const QString &item);
    QString CheckedOutBy(const QString &item);
    bool ItemExists(const QString &item, bool deleted = false);
    bool ItemIsDeleted(const QString &item);
    QString ItemContent(const QString &item, bool useWorkingCopy, long version, bool silent, bool deleted);
    QString ItemContentForVersion(const QString &item, long version, bool silent, bool deleted = false);
    // What ItemContent(item, false, -1, true, false) gives for every live item of
    // the project, read in one request, keyed by item name, without touching the
    // working folder. An item whose text could not be read that way is left out
    // (its own ItemContent reports why). False, with texts empty, when the
    // request failed. version: see LatestVersion.
    bool ItemContents(QHash<QString, QString> &texts, long *version = nullptr);
    // A number that grows with every change made in source control: texts read
    // at the number it still gives are still the latest. -1 when unknown.
    long LatestVersion();
    bool AddItem(const QString &item, const QString &content, bool silent, const QString &comment);
    bool ChangeItemContent(const QString &item, const QString &content, const QString &comment, bool silent);
    bool RemoveItem(const QString &item, bool silent);
    bool RenameItem(const QString &oldName, const QString &newName, bool silent, bool onlyIfExists, bool deleted);
    bool RenameItemWithNewContent(
        const QString &oldName, const QString &newName, const QString &content, const QString &comment, bool silent);
    bool GetLatestVersion(const QString &item, bool silent);
    bool CheckOut(const QString &item, bool silent);
    bool CheckIn(const QString &item, const QString &content, const QString &comment, bool silent);
    bool UndoCheckout(const QString &item, bool silent);
    // Newest first.
    QList<KORVOHistoryData> GetItemHistory(const QString &item, bool deleted);
    // first and last start at 2100-01-01 and 1900-01-01 and stay so without versions.
    void GetDate(QDateTime &first, QDateTime &last);

    // The item's status as the back end counts it: 0 not checked out, 1 checked
    // out to another user, 2 checked out to this user. Throws VssError.
    int CheckOutStatus(const QString &item);
    // Who holds the check-out of an item, whoever it is. Throws VssError.
    QStringList Checkouts(const QString &item);

    // Before a check-in changes anything anywhere: what stands in the way of
    // committing the item's text (another user's check-out, a check-out taken
    // away, a version newer than the one the working copy is based on, source
    // control out of reach), as a sentence; empty when nothing does.
    QString CheckInObstacle(const QString &item);
    // Keeps a user's text that is not in source control yet: in the item's
    // working file, or with aside in "<item>.mine" beside it, which no fetch
    // overwrites. The path of the file that holds it; empty when it could not
    // be written.
    QString KeepText(const QString &item, const QString &content, bool aside);
    // The description of the last failure of an operation with a failure box,
    // shown or not; empty after the operation succeeded.
    const QString &LastError() const { return mLastError; }

private:
    VssDatabase &Database();
    void Failed(bool silent, const QString &title, const QString &firstLine, const VssError &error);
    QString OpenDatabase(const QString &iniFile, const QString &userName, const QString &password,
        const QString &project, std::unique_ptr<VssDatabase> *keep);
    static QString TemporaryName();
    // The text through a scratch file beside the working copies, which is gone afterwards.
    QString ReadThroughScratch(const QString &scratchName, const QByteArray &content);
    struct Listing;
    // The listing of the project folder kept for the open pass.
    const Listing &PassListing(bool includeDeleted);

    UiServices &mUi;
    QString mLastError;
    QString mGeneralWorkingFolder;
    std::unique_ptr<VssDatabase> mDatabase;
    bool mHasConnected = false;
    int mPasses = 0;
    std::unique_ptr<Listing> mListing;
};

// While one is alive, Items answers every filter from one listing of the
// project folder (one get-dir, one get-locks), filtered in memory: a pass over
// all object types lists the folder once, not once per type. Changes made
// through the connection make the next Items list afresh; changes of other
// users show in the next pass. A null connection makes no pass.
class KORVOVSSListingPass
{
public:
    explicit KORVOVSSListingPass(std::shared_ptr<KORVOVSS> vss);
    ~KORVOVSSListingPass();
    KORVOVSSListingPass(const KORVOVSSListingPass &) = delete;
    KORVOVSSListingPass &operator=(const KORVOVSSListingPass &) = delete;

private:
    std::shared_ptr<KORVOVSS> mVSS;
};
