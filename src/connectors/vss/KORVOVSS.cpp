#include "KORVOVSS.h"

#include "KORVOVSSItems.h"
#include "UiServices.h"
#include "VssDatabase.h"
#include "WorkingFiles.h"

#include <QDir>
#include <QFileInfo>
#include <QRandomGenerator>

namespace
{

const QString connectionError = QStringLiteral("Connection Error");
const QString renameTitle = QStringLiteral("Could not Rename Item");
const QString contentTitle = QStringLiteral("Could not get Item Content");

QString renameLine(const QString &oldName, const QString &newName)
{
    return QStringLiteral("An error ocuured while renaming the item '%1' to '%2.").arg(oldName, newName);
}

QString contentLine(const QString &item)
{
    return QStringLiteral("An error ocuured while trying to retrieve the contents for item '%1'.").arg(item);
}

} // namespace

struct KORVOVSS::Listing {
    const VssDatabase *Of = nullptr;
    long Changes = -1;
    bool WithDeleted = false;
    QList<VssDatabase::ItemInfo> Items;
};

KORVOVSSListingPass::KORVOVSSListingPass(std::shared_ptr<KORVOVSS> vss)
    : mVSS(std::move(vss))
{
    if (mVSS)
        mVSS->BeginListingPass();
}

KORVOVSSListingPass::~KORVOVSSListingPass()
{
    if (mVSS)
        mVSS->EndListingPass();
}

KORVOVSS::KORVOVSS(UiServices &ui)
    : mUi(ui)
{
}

KORVOVSS::~KORVOVSS() = default;

void KORVOVSS::SetGeneralWorkingFolder(const QString &folder)
{
    mGeneralWorkingFolder = folder;
    if (!folder.endsWith(QLatin1Char('/')) && !folder.endsWith(QDir::separator()))
        mGeneralWorkingFolder += QDir::separator();
}

VssDatabase &KORVOVSS::Database()
{
    if (!mDatabase)
        throw VssError(QStringLiteral("The connection to source control is not open"), VssError::NotOpen);
    return *mDatabase;
}

void KORVOVSS::Failed(bool silent, const QString &title, const QString &firstLine, const VssError &error)
{
    mLastError = firstLine + QLatin1Char('\n') + QLatin1Char('(') + error.Description() + QLatin1Char(')');
    if (!silent)
        mUi.critical(title, firstLine + QLatin1Char('\n') + QLatin1Char('(') + error.Description() + QLatin1Char(')'));
}

QString KORVOVSS::OpenConnection(const QString &iniFile, const QString &userName, const QString &password,
    const QString &project, const QString &workingFolder, bool silent, bool blankPasswordGiven)
{
    CloseConnection();
    const QString ini = iniFile.isEmpty() ? IniFile : iniFile;
    QString user = userName.isEmpty() ? UserName : userName;
    QString pwd = password.isEmpty() ? Password : password;
    const QString proj = project.isEmpty() ? Project : project;
    const QString folder = workingFolder.isEmpty() ? mGeneralWorkingFolder : workingFolder;

    if (pwd.isEmpty() && !blankPasswordGiven && !mHasConnected && !StorePassword) {
        if (!mUi.vssPassword(ini, user, pwd)) {
            const QString result = QStringLiteral("Password was not entered!");
            if (!silent)
                mUi.critical(connectionError, result);
            return result;
        }
    }

    // The session of the test becomes the connection's, so that opening costs one.
    std::unique_ptr<VssDatabase> database;
    const QString error = OpenDatabase(ini, user, pwd, proj, &database);
    if (!error.isEmpty()) {
        if (!silent)
            mUi.critical(connectionError, error);
        return error;
    }
    mDatabase = std::move(database); // already on proj
    mHasConnected = true;
    IniFile = ini;
    UserName = user;
    Password = pwd;
    Project = proj;
    mGeneralWorkingFolder = folder; // as given, without the setter's separator rule
    return {};
}

void KORVOVSS::CloseConnection()
{
    mListing.reset();
    mDatabase.reset();
}

void KORVOVSS::EndListingPass()
{
    if (mPasses > 0 && --mPasses == 0)
        mListing.reset(); // the next pass sees other users' changes
}

const KORVOVSS::Listing &KORVOVSS::PassListing(bool includeDeleted)
{
    VssDatabase &db = Database();
    const bool fresh = mListing && mListing->Of == &db && mListing->Changes == db.Changes();
    if (fresh && includeDeleted && !mListing->WithDeleted) {
        mListing->Items = db.WithDeleted(std::move(mListing->Items));
        mListing->WithDeleted = true;
    } else if (!fresh) {
        auto listing = std::make_unique<Listing>();
        listing->Of = &db;
        listing->Changes = db.Changes();
        listing->WithDeleted = includeDeleted;
        listing->Items = db.Items(includeDeleted);
        mListing = std::move(listing);
    }
    return *mListing;
}

QString KORVOVSS::OpenDatabase(const QString &iniFile, const QString &userName, const QString &password,
    const QString &project, std::unique_ptr<VssDatabase> *keep)
{
    try {
        auto database = std::make_unique<VssDatabase>(iniFile, userName, password, ConnectTimeout);
        // A request of the server's, so that a wrong password shows here.
        database->Repository().LatestRevision();
        if (!project.isEmpty()) {
            database->SetCurrentProject(project);
            database->CheckProject(project);
        }
        if (keep)
            *keep = std::move(database);
        return {};
    } catch (const VssError &e) {
        return e.Description();
    }
}

QString KORVOVSS::TestConnection(
    const QString &iniFile, const QString &userName, const QString &password, const QString &project)
{
    return OpenDatabase(iniFile, userName, password, project, nullptr);
}

QStringList KORVOVSS::GetProjectSubFolders(const QString &project)
{
    QStringList names { QString() };
    names += Database().SubProjects(project);
    return names;
}

QString KORVOVSS::CreateNewProject(const QString &parent, const QString &name)
{
    try {
        Database().NewSubproject(parent, name);
        return {};
    } catch (const VssError &e) {
        if (e.Is(VssError::AlreadyExists))
            return QStringLiteral("The Project '%1' already exists!").arg(name);
        if (e.Code() == VssError::BadNameStructure)
            return QStringLiteral("The Project '%1' could not be added (Problem with the name structure)!").arg(name);
        if (e.Code() == VssError::InvalidName)
            return QStringLiteral("The New Project Name '%1' is invalid!").arg(name);
        return e.Description();
    }
}

QString KORVOVSS::GetItemFileName(const QString &item) const
{
    return mGeneralWorkingFolder + item;
}

std::shared_ptr<KORVOVSSItems> KORVOVSS::Items(const QString &filter, bool includeDeleted, bool onlyDeleted)
{
    // "*.sp": the rest after the first character must end the name, case-sensitively.
    const QString ending = filter.mid(1);
    auto items = std::make_shared<KORVOVSSItems>(weak_from_this().lock());
    QList<VssDatabase::ItemInfo> listed;
    if (mPasses == 0)
        listed = Database().Items(includeDeleted);
    // The live items of a listing with the deleted ones are those of one without.
    const QList<VssDatabase::ItemInfo> &infos = mPasses > 0 ? PassListing(includeDeleted).Items : listed;
    for (const auto &info : infos) {
        if (!info.Name.endsWith(ending, Qt::CaseSensitive))
            continue;
        if (!includeDeleted && info.Deleted)
            continue;
        if (onlyDeleted && !info.Deleted)
            continue;
        // What CheckedOutBy would answer: only our own check-out shows.
        items->Add(info.Name, info.Status == VssDatabase::CheckedOutToMe ? UserName : QString());
    }
    return items;
}

std::shared_ptr<KORVOVSSItem> KORVOVSS::Item(const QString &item)
{
    const auto info = Database().Item(item, false);
    return std::make_shared<KORVOVSSItem>(
        info.Name, info.Status == VssDatabase::CheckedOutToMe ? UserName : QString(), weak_from_this().lock());
}

QString KORVOVSS::CheckedOutBy(const QString &item)
{
    // Only a check-out of this user shows: another user's gives "" by design.
    if (Database().Item(item, false).Status == VssDatabase::CheckedOutToMe)
        return UserName;
    return {};
}

int KORVOVSS::CheckOutStatus(const QString &item)
{
    return Database().Item(item, false).Status;
}

QStringList KORVOVSS::Checkouts(const QString &item)
{
    return Database().Checkouts(item);
}

QString KORVOVSS::CheckInObstacle(const QString &item)
{
    try {
        VssDatabase &db = Database();
        const auto info = db.Item(item, false);
        if (info.Status == VssDatabase::CheckedOutToOther)
            return QStringLiteral("The item is checked out by %1 now: your check-out of it was taken over.")
                .arg(info.LockOwner);
        if (info.Status == VssDatabase::NotCheckedOut)
            return QStringLiteral("The item is not checked out to you any more: your check-out of it was taken away.");
        if (const auto newer = db.NewerThanWorkingCopy(item))
            return QStringLiteral("The item was changed in source control after your check-out (version %1 by %2): "
                                  "your working copy is older than the newest version.")
                .arg(newer->Revision)
                .arg(newer->Author);
        return {};
    } catch (const VssError &e) {
        return QStringLiteral("Source control could not tell whether the item is checked out to you (%1).")
            .arg(e.Description());
    }
}

QString KORVOVSS::KeepText(const QString &item, const QString &content, bool aside)
{
    const QString path = GetItemFileName(aside ? item + QStringLiteral(".mine") : item);
    try {
        WorkingFiles::Overwrite(path, content);
        return path;
    } catch (const VssError &) {
        return {};
    }
}

bool KORVOVSS::ItemExists(const QString &item, bool deleted)
{
    try {
        return Database().Exists(item, deleted);
    } catch (const VssError &) {
        return false;
    }
}

bool KORVOVSS::ItemIsDeleted(const QString &item)
{
    return ItemExists(item, true);
}

QString KORVOVSS::ItemContent(const QString &item, bool useWorkingCopy, long version, bool silent, bool deleted)
{
    mLastError.clear();
    if (version != -1)
        return ItemContentForVersion(item, version, silent, deleted);
    try {
        VssDatabase &db = Database();
        const auto info = db.Item(item, deleted);
        const QString local = GetItemFileName(item);
        const bool mine = info.Status == VssDatabase::CheckedOutToMe;
        if (mine && useWorkingCopy && QFileInfo::exists(local))
            return WorkingFiles::ReadText(local); // the user's own text, not yet checked in
        if (mine) {
            // Through a scratch copy, so that the working copy stays as it is.
            return ReadThroughScratch(QStringLiteral("tmp.") + item, db.Get(item, deleted));
        }
        WorkingFiles::Fetch(local, db.Get(item, deleted), false);
        return WorkingFiles::ReadText(local);
    } catch (const VssError &e) {
        Failed(silent, contentTitle, contentLine(item), e);
        return {};
    }
}

long KORVOVSS::LatestVersion()
{
    try {
        return Database().Repository().LatestRevision();
    } catch (const VssError &) {
        return -1;
    }
}

bool KORVOVSS::ItemContents(QHash<QString, QString> &texts, long *version)
{
    texts.clear();
    try {
        const QHash<QString, QByteArray> all = Database().GetAll(version);
        texts.reserve(all.size());
        for (auto it = all.cbegin(); it != all.cend(); ++it) {
            try {
                texts.insert(it.key(), WorkingFiles::DecodeText(it.value()));
            } catch (const VssError &) {
                // Not UTF-8: left to ItemContent, which says so.
            }
        }
        return true;
    } catch (const VssError &) {
        texts.clear();
        return false;
    }
}

QString KORVOVSS::TemporaryName()
{
    // Seeded afresh at each call, as the name only needs to differ from the last.
    QRandomGenerator random(quint32(QDateTime::currentMSecsSinceEpoch()));
    const int number = qRound(random.generateDouble() * 1000 + 1);
    return QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMddhhmmss")) + QString::number(number)
        + QStringLiteral(".tmp");
}

QString KORVOVSS::ReadThroughScratch(const QString &scratchName, const QByteArray &content)
{
    const QString scratch = GetItemFileName(scratchName);
    WorkingFiles::Fetch(scratch, content, false);
    QString text;
    try {
        text = WorkingFiles::ReadText(scratch);
    } catch (const VssError &) {
        WorkingFiles::ForceDelete(scratch);
        throw;
    }
    WorkingFiles::ForceDelete(scratch);
    return text;
}

QString KORVOVSS::ItemContentForVersion(const QString &item, long version, bool silent, bool deleted)
{
    try {
        VssDatabase &db = Database();
        const auto versions = db.Versions(item, deleted);
        const auto it = std::find_if(
            versions.cbegin(), versions.cend(), [&](const VssDatabase::Version &v) { return v.Number == version; });
        if (it == versions.cend())
            return {};
        return ReadThroughScratch(TemporaryName(), db.VersionContent(*it));
    } catch (const VssError &e) {
        Failed(silent, contentTitle,
            QStringLiteral("An error ocuured while trying to retrieve the contents for item '%1', version '%2'.")
                .arg(item)
                .arg(version),
            e);
        return {};
    }
}

bool KORVOVSS::AddItem(const QString &item, const QString &content, bool silent, const QString &comment)
{
    mLastError.clear();
    try {
        VssDatabase &db = Database();
        const QString local = GetItemFileName(item);
        if (ItemExists(item, true)) {
            // The item lies deleted: it comes back with the new text as its newest
            // version, in one commit, so that its history goes on.
            WorkingFiles::Fetch(local, db.Get(item, true), true);
            WorkingFiles::Overwrite(local, content);
            db.Recover(item, item, WorkingFiles::ReadBytes(local), comment);
        } else {
            WorkingFiles::WriteNew(local, content);
            db.Add(item, WorkingFiles::ReadBytes(local), comment);
        }
        WorkingFiles::SetReadOnly(local, true);
        return true;
    } catch (const VssError &e) {
        Failed(silent, QStringLiteral("Could not add Item"),
            QStringLiteral("An error ocuured while trying to remove the item '%1'.").arg(item), e);
        return false;
    }
}

bool KORVOVSS::ChangeItemContent(const QString &item, const QString &content, const QString &comment, bool silent)
{
    mLastError.clear();
    try {
        VssDatabase &db = Database();
        const QString local = GetItemFileName(item);
        WorkingFiles::Fetch(local, db.Checkout(item), true);
        WorkingFiles::Overwrite(local, content);
        db.Checkin(item, WorkingFiles::ReadBytes(local), comment);
        WorkingFiles::SetReadOnly(local, true);
        return true;
    } catch (const VssError &e) {
        Failed(silent, QStringLiteral("Could not change Item"),
            QStringLiteral("An error ocuured while trying to change the item '%1'.").arg(item), e);
        return false;
    }
}

bool KORVOVSS::RemoveItem(const QString &item, bool silent)
{
    mLastError.clear();
    try {
        VssDatabase &db = Database();
        WorkingFiles::ForceDelete(GetItemFileName(item));
        db.Delete(item);
        return true;
    } catch (const VssError &e) {
        Failed(silent, QStringLiteral("Could not remove Item"),
            QStringLiteral("An error ocuured while trying to remove the item '%1'.").arg(item), e);
        return false;
    }
}

bool KORVOVSS::RenameItem(const QString &oldName, const QString &newName, bool silent, bool onlyIfExists, bool deleted)
{
    mLastError.clear();
    try {
        VssDatabase &db = Database();
        if (!ItemExists(oldName, deleted) && onlyIfExists)
            return false;
        const auto info = db.Item(oldName, deleted);
        if (info.Status != VssDatabase::NotCheckedOut)
            return false;
        if (info.Deleted && deleted)
            db.Recover(oldName, newName, std::nullopt, QString()); // undelete and rename in one
        else if (oldName != newName)
            db.Rename(oldName, newName, std::nullopt, QString());
        return true;
    } catch (const VssError &e) {
        Failed(silent, renameTitle, renameLine(oldName, newName), e);
        return false;
    }
}

bool KORVOVSS::RenameItemWithNewContent(
    const QString &oldName, const QString &newName, const QString &content, const QString &comment, bool silent)
{
    mLastError.clear();
    try {
        VssDatabase &db = Database();
        if (db.Item(oldName, false).Status != VssDatabase::NotCheckedOut)
            return false;
        const QString local = GetItemFileName(oldName);
        WorkingFiles::Fetch(local, db.Checkout(oldName), true);
        WorkingFiles::Overwrite(local, content);
        try {
            // The new text and the new name go in one commit.
            db.Rename(oldName, newName, WorkingFiles::ReadBytes(local), comment);
        } catch (const VssError &) {
            // Nothing was committed: give the check-out and the working copy back.
            try {
                WorkingFiles::Fetch(local, db.UndoCheckout(oldName), false);
            } catch (const VssError &) {
            }
            throw;
        }
        WorkingFiles::SetReadOnly(local, true);
        return true;
    } catch (const VssError &e) {
        Failed(silent, renameTitle, renameLine(oldName, newName), e);
        return false;
    }
}

bool KORVOVSS::GetLatestVersion(const QString &item, bool silent)
{
    try {
        VssDatabase &db = Database();
        if (db.Item(item, false).Status != VssDatabase::CheckedOutToMe)
            WorkingFiles::Fetch(GetItemFileName(item), db.Get(item, false), false);
        return true;
    } catch (const VssError &e) {
        Failed(silent, QStringLiteral("Could not get latest version"),
            QStringLiteral("An error ocuured while trying to get the latest version of the item '%1'.").arg(item), e);
        return false;
    }
}

bool KORVOVSS::CheckOut(const QString &item, bool silent)
{
    mLastError.clear();
    try {
        VssDatabase &db = Database();
        if (db.Item(item, false).Status != VssDatabase::NotCheckedOut)
            return false;
        WorkingFiles::Fetch(GetItemFileName(item), db.Checkout(item), true);
        return true;
    } catch (const VssError &e) {
        Failed(silent, QStringLiteral("Could not check out"),
            QStringLiteral("An error ocuured while trying to check out the item '%1'.").arg(item), e);
        return false;
    }
}

bool KORVOVSS::CheckIn(const QString &item, const QString &content, const QString &comment, bool silent)
{
    mLastError.clear();
    try {
        VssDatabase &db = Database();
        if (db.Item(item, false).Status != VssDatabase::CheckedOutToMe)
            return false;
        const QString local = GetItemFileName(item);
        if (!content.isEmpty())
            WorkingFiles::Overwrite(local, content);
        else if (!QFileInfo::exists(local))
            throw VssError(QStringLiteral("The working copy '%1' was not found").arg(QDir::toNativeSeparators(local)));
        db.Checkin(item, WorkingFiles::ReadBytes(local), comment);
        WorkingFiles::SetReadOnly(local, true);
        return true;
    } catch (const VssError &e) {
        Failed(silent, QStringLiteral("Could not check in"),
            QStringLiteral("An error ocuured while trying to check in the item '%1'.").arg(item), e);
        return false;
    }
}

bool KORVOVSS::UndoCheckout(const QString &item, bool silent)
{
    mLastError.clear();
    try {
        VssDatabase &db = Database();
        if (db.Item(item, false).Status != VssDatabase::CheckedOutToMe)
            return false;
        WorkingFiles::Fetch(GetItemFileName(item), db.UndoCheckout(item), false);
        return true;
    } catch (const VssError &e) {
        Failed(silent, QStringLiteral("Could not undo check out"),
            QStringLiteral("An error ocuured while trying to undo the check out for the item '%1'.").arg(item), e);
        return false;
    }
}

QList<KORVOHistoryData> KORVOVSS::GetItemHistory(const QString &item, bool deleted)
{
    QList<KORVOHistoryData> rows;
    for (const auto &v : Database().Versions(item, deleted)) {
        KORVOHistoryData row;
        row.VersionNumber = v.Number;
        row.UserName = v.UserName;
        row.Action = v.Action;
        row.VersionDate = v.Date.toLocalTime().toString(QLatin1String(VersionDateFormat));
        row.Comment = v.Comment;
        if (row.Action.left(5) == QLatin1String("Label")) {
            row.IsLabel = true;
            row.LabelComment = v.LabelComment;
        }
        rows.append(row);
    }
    return rows;
}

void KORVOVSS::GetDate(QDateTime &first, QDateTime &last)
{
    first = QDateTime(QDate(2100, 1, 1), QTime(0, 0));
    last = QDateTime(QDate(1900, 1, 1), QTime(0, 0));
    Database().DateRange(first, last);
    first = first.toLocalTime();
    last = last.toLocalTime();
}
