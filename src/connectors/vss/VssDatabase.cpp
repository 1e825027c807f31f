#include "VssDatabase.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSet>
#include <QUrl>

#include <algorithm>

namespace
{

bool hasScheme(const QString &s)
{
    static const QRegularExpression re(QStringLiteral("^[A-Za-z][A-Za-z0-9+.-]*://"));
    return re.match(s).hasMatch();
}

QString fileUrl(const QString &path)
{
    return QUrl::fromLocalFile(QDir::cleanPath(path)).toString(QUrl::FullyEncoded);
}

// Parent of an absolute repository path; "/" is its own top.
QString absParent(const QString &abs)
{
    const qsizetype i = abs.lastIndexOf(QLatin1Char('/'));
    return i <= 0 ? QStringLiteral("/") : abs.left(i);
}

bool lessByName(const QString &a, const QString &b)
{
    const int c = QString::compare(a, b, Qt::CaseInsensitive);
    return c != 0 ? c < 0 : a < b;
}

} // namespace

QString VssDatabase::ResolveUrl(const QString &iniFile)
{
    const QString given = iniFile.trimmed();
    if (given.isEmpty())
        throw VssError(QStringLiteral("No source-control database was given"), VssError::IniFile);
    if (hasScheme(given))
        return given;

    QFileInfo info(given);
    if (info.isDir())
        info = QFileInfo(QDir(given).filePath(QStringLiteral("srcsafe.ini")));
    QFile file(info.filePath());
    if (!info.isFile() || !file.open(QIODevice::ReadOnly))
        throw VssError(QStringLiteral("The ini file '%1' was not found").arg(given), VssError::IniFile);

    static const QRegularExpression line(
        QStringLiteral("^\\s*URL\\s*=\\s*(.*?)\\s*$"), QRegularExpression::CaseInsensitiveOption);
    QString url;
    for (const QString &l : QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'))) {
        const auto m = line.match(l.trimmed());
        if (m.hasMatch()) {
            url = m.captured(1);
            break;
        }
    }
    if (url.size() >= 2 && url.startsWith(QLatin1Char('"')) && url.endsWith(QLatin1Char('"')))
        url = url.mid(1, url.size() - 2);
    if (url.isEmpty())
        throw VssError(QStringLiteral("The ini file '%1' names no URL").arg(given), VssError::IniFile);
    if (hasScheme(url))
        return url;
    // "file:relative/path", or a plain path: taken from the ini file's folder.
    QString local = url;
    if (local.startsWith(QStringLiteral("file:"), Qt::CaseInsensitive))
        local = local.mid(5);
    return fileUrl(QDir(info.absolutePath()).absoluteFilePath(local));
}

QString VssDatabase::ProjectFolder(const QString &project)
{
    QString p = project.trimmed();
    if (p.startsWith(QLatin1Char('$')))
        p = p.mid(1);
    p.replace(QLatin1Char('\\'), QLatin1Char('/'));
    const QStringList parts = p.split(QLatin1Char('/'), Qt::SkipEmptyParts);
    for (const QString &part : parts)
        if (part == QLatin1String(".") || part == QLatin1String(".."))
            throw VssError(QStringLiteral("'%1' is not a valid project path").arg(project), VssError::InvalidName);
    return parts.join(QLatin1Char('/'));
}

VssDatabase::VssDatabase(const QString &iniFile, const QString &userName, const QString &password, int connectTimeout)
    : mRepo(ResolveUrl(iniFile), userName, password, connectTimeout)
{
}

void VssDatabase::SetCurrentProject(const QString &project)
{
    ++mChanges;
    mFolder = ProjectFolder(project);
}

void VssDatabase::CheckProject(const QString &project)
{
    const QString folder = ProjectFolder(project);
    if (mRepo.CheckPath(folder) != SvnRepository::Kind::Dir)
        throw VssError(QStringLiteral("File or project '%1' not found").arg(project), VssError::NotFound);
}

QStringList VssDatabase::SubProjects(const QString &project)
{
    QStringList names;
    for (const auto &e : mRepo.ListDir(ProjectFolder(project)))
        if (e.NodeKind == SvnRepository::Kind::Dir)
            names.append(e.Name);
    std::sort(names.begin(), names.end(), lessByName);
    return names;
}

void VssDatabase::NewSubproject(const QString &parent, const QString &name)
{
    ++mChanges;
    static const QString forbidden = QStringLiteral("\\/:*?\"<>|;,$@");
    if (name.trimmed().isEmpty() || std::any_of(name.begin(), name.end(), [](QChar c) {
            return forbidden.contains(c) || c.category() == QChar::Other_Control;
        }))
        throw VssError(QStringLiteral("'%1' is not a valid project name").arg(name), VssError::InvalidName);
    if (name != name.trimmed() || name.startsWith(QLatin1Char('.')) || name.endsWith(QLatin1Char('.')))
        throw VssError(
            QStringLiteral("'%1' may not begin or end with a blank or a dot").arg(name), VssError::BadNameStructure);
    const QString folder = ProjectFolder(parent);
    if (mRepo.CheckPath(folder) != SvnRepository::Kind::Dir)
        throw VssError(QStringLiteral("File or project '%1' not found").arg(parent), VssError::NotFound);
    if (mRepo.CheckPath(SvnRepository::Join(folder, name)) != SvnRepository::Kind::None)
        throw VssError(QStringLiteral("'%1' already exists").arg(name), VssError::AlreadyExists);
    mRepo.Commit(folder, QString(), { { SvnRepository::Change::AddDir, name, std::nullopt, {}, -1 } });
}

QString VssDatabase::Spec(const QString &name) const
{
    QString folder = mFolder;
    folder.replace(QLatin1Char('/'), QLatin1Char('\\'));
    return QStringLiteral("$\\") + (folder.isEmpty() ? QString() : folder + QLatin1Char('\\')) + name;
}

void VssDatabase::NotFound(const QString &name) const
{
    throw VssError(QStringLiteral("File or project '%1' not found").arg(Spec(name)), VssError::NotFound);
}

QString VssDatabase::ItemPath(const QString &name) const
{
    // An item is a file directly in the project folder.
    if (name.isEmpty() || name.contains(QLatin1Char('/')) || name == QLatin1String(".") || name == QLatin1String(".."))
        throw VssError(QStringLiteral("'%1' is not a valid item name").arg(name), VssError::InvalidName);
    return SvnRepository::Join(mFolder, name);
}

QString VssDatabase::LiveItemPath(const QString &name)
{
    const QString path = ItemPath(name);
    if (mRepo.CheckPath(path) != SvnRepository::Kind::File)
        NotFound(name);
    return path;
}

void VssDatabase::CheckNameFree(const QString &name)
{
    if (mRepo.CheckPath(ItemPath(name)) != SvnRepository::Kind::None)
        throw VssError(
            QStringLiteral("An item with the name '%1' already exists").arg(Spec(name)), VssError::AlreadyExists);
}

int VssDatabase::LockStatus(const QString &lockOwner) const
{
    return lockOwner == UserName() ? CheckedOutToMe : CheckedOutToOther;
}

const VssDatabase::FolderScan &VssDatabase::Scan()
{
    // The folder's history is read once and then only from where it was left.
    const long head = mRepo.LatestRevision();
    if (mScan.Folder != mFolder || mScan.UpTo > head)
        mScan = FolderScan { mFolder, 0, {}, {}, {} };
    if (mScan.UpTo >= head)
        return mScan;
    if (mRepo.CheckPath(mFolder, head) != SvnRepository::Kind::Dir)
        NotFound(QString());
    QList<SvnRepository::LogEntry> entries = mRepo.Log(mFolder, mScan.UpTo + 1, head, true);
    std::sort(entries.begin(), entries.end(), [](const auto &a, const auto &b) { return a.Revision < b.Revision; });
    const QString folderAbs = mRepo.AbsolutePath(mFolder);
    for (const auto &e : entries) {
        for (auto it = e.Changes.cbegin(); it != e.Changes.cend(); ++it)
            if ((it.key() == folderAbs || folderAbs.startsWith(it.key() + QLatin1Char('/')))
                && (it->Action == 'D' || it->Action == 'R'))
                mScan.Names.clear(); // the folder itself was replaced
        bool touched = false;
        for (auto it = e.Changes.cbegin(); it != e.Changes.cend(); ++it) {
            if (absParent(it.key()) != folderAbs || it->NodeKind == SvnRepository::Kind::Dir)
                continue;
            touched = true;
            NameEntry &n = mScan.Names[SvnRepository::BaseName(it.key())];
            if (it->Action == 'D') {
                // A file deleted as the source of a copy in the same revision was renamed.
                const QString path = it.key();
                const bool renamed = std::any_of(
                    e.Changes.cbegin(), e.Changes.cend(), [&](const auto &c) { return c.CopyFromPath == path; });
                n = renamed ? NameEntry { NameState::Gone, -1 } : NameEntry { NameState::Deleted, e.Revision };
            } else {
                n = NameEntry { NameState::Live, -1 };
                // Undeleted under another name: the old name no longer lies deleted.
                if (!it->CopyFromPath.isEmpty() && absParent(it->CopyFromPath) == folderAbs) {
                    const auto source = mScan.Names.find(SvnRepository::BaseName(it->CopyFromPath));
                    if (source != mScan.Names.end() && source->State == NameState::Deleted
                        && it->CopyFromRev < source->Revision)
                        *source = NameEntry { NameState::Gone, -1 };
                }
            }
        }
        if (touched && e.Date.isValid()) {
            if (!mScan.First.isValid() || e.Date < mScan.First)
                mScan.First = e.Date;
            if (!mScan.Last.isValid() || e.Date > mScan.Last)
                mScan.Last = e.Date;
        }
    }
    mScan.UpTo = head;
    return mScan;
}

long VssDatabase::DeletionRevision(const QString &name)
{
    const QString path = ItemPath(name);
    const auto &names = Scan().Names;
    const auto it = names.constFind(name);
    if (it == names.cend() || it->State != NameState::Deleted || mRepo.CheckPath(path) != SvnRepository::Kind::None)
        NotFound(name);
    return it->Revision;
}

QList<VssDatabase::ItemInfo> VssDatabase::Items(bool includeDeleted)
{
    const auto entries = mRepo.ListDir(mFolder);
    const auto locks = mRepo.FolderLocks(mFolder);
    QList<ItemInfo> items;
    for (const auto &e : entries) {
        if (e.NodeKind != SvnRepository::Kind::File)
            continue;
        ItemInfo info { e.Name, false, NotCheckedOut, {} };
        const auto lock = locks.constFind(e.Name);
        if (lock != locks.cend()) {
            info.LockOwner = lock->Owner;
            info.Status = LockStatus(lock->Owner);
        }
        items.append(info);
    }
    if (includeDeleted)
        return WithDeleted(std::move(items));
    std::sort(
        items.begin(), items.end(), [](const ItemInfo &a, const ItemInfo &b) { return lessByName(a.Name, b.Name); });
    return items;
}

QList<VssDatabase::ItemInfo> VssDatabase::WithDeleted(QList<ItemInfo> live)
{
    QSet<QString> names;
    for (const ItemInfo &info : std::as_const(live))
        names.insert(info.Name);
    const auto &scanned = Scan().Names;
    for (auto it = scanned.cbegin(); it != scanned.cend(); ++it)
        if (it->State == NameState::Deleted && !names.contains(it.key()))
            live.append(ItemInfo { it.key(), true, NotCheckedOut, {} });
    std::sort(
        live.begin(), live.end(), [](const ItemInfo &a, const ItemInfo &b) { return lessByName(a.Name, b.Name); });
    return live;
}

VssDatabase::ItemInfo VssDatabase::Item(const QString &name, bool deleted)
{
    if (deleted) {
        DeletionRevision(name);
        return ItemInfo { name, true, NotCheckedOut, {} };
    }
    const QString path = LiveItemPath(name);
    ItemInfo info { name, false, NotCheckedOut, {} };
    if (const auto lock = mRepo.GetLock(path)) {
        info.LockOwner = lock->Owner;
        info.Status = LockStatus(lock->Owner);
    }
    return info;
}

bool VssDatabase::Exists(const QString &name, bool deleted)
{
    try {
        if (!deleted)
            return mRepo.CheckPath(ItemPath(name)) == SvnRepository::Kind::File;
        DeletionRevision(name);
        return true;
    } catch (const VssError &e) {
        if (e.Code() == VssError::NotFound || e.Code() == VssError::InvalidName)
            return false;
        throw;
    }
}

QStringList VssDatabase::Checkouts(const QString &name)
{
    const ItemInfo info = Item(name, false);
    return info.LockOwner.isEmpty() ? QStringList() : QStringList { info.LockOwner };
}

QByteArray VssDatabase::Get(const QString &name, bool deleted)
{
    const QString path = ItemPath(name);
    if (deleted)
        return mRepo.FileContent(path, DeletionRevision(name) - 1);
    return mRepo.FileContent(path);
}

QHash<QString, QByteArray> VssDatabase::GetAll(long *revision)
{
    const long head = mRepo.LatestRevision();
    if (revision)
        *revision = head;
    return mRepo.FolderContents(mFolder, head);
}

std::optional<SvnRepository::Lock> VssDatabase::OwnLock(const QString &name)
{
    auto lock = mRepo.GetLock(ItemPath(name));
    if (lock && lock->Owner == UserName())
        return lock;
    return std::nullopt;
}

SvnRepository::Lock VssDatabase::RequireOwnLock(const QString &name)
{
    const auto lock = OwnLock(name);
    if (!lock)
        throw VssError(QStringLiteral("File '%1' is not checked out to %2").arg(Spec(name), UserName()));
    return *lock;
}

QByteArray VssDatabase::Checkout(const QString &name)
{
    ++mChanges;
    const QString path = LiveItemPath(name);
    mRepo.LockFile(path, QString());
    // Locked, the file cannot change under us: the latest revision is the base.
    const long base = mRepo.LatestRevision();
    QByteArray content = mRepo.FileContent(path, base);
    mBase.insert(name, base);
    return content;
}

long VssDatabase::BaseRevision(const QString &name, const SvnRepository::Lock &lock)
{
    const auto recorded = mBase.constFind(name);
    if (recorded != mBase.cend())
        return *recorded;
    const SvnRepository::LastChange last = mRepo.LastChangeOf(ItemPath(name));
    return last.Date <= lock.Created ? last.Revision : last.Revision - 1;
}

std::optional<SvnRepository::LastChange> VssDatabase::NewerThanWorkingCopy(const QString &name)
{
    const SvnRepository::Lock lock = RequireOwnLock(name);
    const long base = BaseRevision(name, lock);
    const SvnRepository::LastChange last = mRepo.LastChangeOf(ItemPath(name));
    if (last.Revision > base)
        return last;
    return std::nullopt;
}

void VssDatabase::Checkin(const QString &name, const QByteArray &content, const QString &comment)
{
    ++mChanges;
    const QString path = ItemPath(name);
    const SvnRepository::Lock lock = RequireOwnLock(name);
    if (mRepo.FileContent(path) == content) {
        mRepo.UnlockFile(path, lock.Token); // nothing to commit: only the check-out ends
    } else {
        SvnRepository::Change change { SvnRepository::Change::ModifyFile, name, content, {}, -1 };
        change.BaseRev = BaseRevision(name, lock);
        mRepo.Commit(mFolder, comment, { change }, { { path, lock.Token } });
    }
    mBase.remove(name);
}

QByteArray VssDatabase::UndoCheckout(const QString &name)
{
    ++mChanges;
    const QString path = ItemPath(name);
    const SvnRepository::Lock lock = RequireOwnLock(name);
    mRepo.UnlockFile(path, lock.Token);
    mBase.remove(name);
    return mRepo.FileContent(path);
}

void VssDatabase::Add(const QString &name, const QByteArray &content, const QString &comment)
{
    ++mChanges;
    CheckNameFree(name);
    mRepo.Commit(mFolder, comment, { { SvnRepository::Change::AddFile, name, content, {}, -1 } });
}

void VssDatabase::Delete(const QString &name)
{
    ++mChanges;
    const QString path = LiveItemPath(name);
    QHash<QString, QString> tokens;
    if (const auto lock = OwnLock(name))
        tokens.insert(path, lock->Token);
    mRepo.Commit(mFolder, QString(), { { SvnRepository::Change::Delete, name, std::nullopt, {}, -1 } }, tokens);
}

void VssDatabase::Recover(
    const QString &name, const QString &newName, const std::optional<QByteArray> &content, const QString &comment)
{
    ++mChanges;
    const long deletedAt = DeletionRevision(name);
    CheckNameFree(newName);
    mRepo.Commit(
        mFolder, comment, { { SvnRepository::Change::AddFile, newName, content, ItemPath(name), deletedAt - 1 } });
}

void VssDatabase::Rename(
    const QString &oldName, const QString &newName, const std::optional<QByteArray> &content, const QString &comment)
{
    ++mChanges;
    const QString oldPath = LiveItemPath(oldName);
    CheckNameFree(newName);
    QHash<QString, QString> tokens;
    if (const auto lock = OwnLock(oldName))
        tokens.insert(oldPath, lock->Token);
    const long head = mRepo.LatestRevision();
    mRepo.Commit(mFolder, comment,
        { { SvnRepository::Change::AddFile, newName, content, oldPath, head },
            { SvnRepository::Change::Delete, oldName, std::nullopt, {}, -1 } },
        tokens);
    mBase.remove(oldName);
}

QList<VssDatabase::Label> VssDatabase::Labels()
{
    if (mFolder.isEmpty())
        return {};
    const QString tags = SvnRepository::Join(SvnRepository::Parent(mFolder), QStringLiteral("tags"));
    const long head = mRepo.LatestRevision();
    if (mLabelsAt == head && mLabelsFolder == tags)
        return mLabels;
    mLabels.clear();
    mLabelsAt = head;
    mLabelsFolder = tags;
    if (mRepo.CheckPath(tags, head) != SvnRepository::Kind::Dir)
        return mLabels;
    QSet<QString> present;
    for (const auto &e : mRepo.ListDir(tags, head))
        present.insert(e.Name);
    const QString tagsAbs = mRepo.AbsolutePath(tags);
    QSet<QString> seen;
    for (const auto &e : mRepo.Log(tags, head, 0, true)) { // newest first: the first add of a name is the tag now
        for (auto it = e.Changes.cbegin(); it != e.Changes.cend(); ++it) {
            const QString name = SvnRepository::BaseName(it.key());
            if (absParent(it.key()) != tagsAbs || (it->Action != 'A' && it->Action != 'R') || it->CopyFromPath.isEmpty()
                || !present.contains(name) || seen.contains(name))
                continue;
            seen.insert(name);
            mLabels.append(
                Label { name, e.Revision, { e.Author, e.Date, e.Message }, it->CopyFromPath, it->CopyFromRev });
        }
    }
    return mLabels;
}

QList<VssDatabase::Version> VssDatabase::Versions(const QString &name, bool deleted)
{
    // Either branch fails first for an item that is not there.
    const QString path = deleted ? ItemPath(name) : LiveItemPath(name);
    QList<Version> rows;
    long peg;
    if (deleted) {
        const long deletedAt = DeletionRevision(name);
        peg = deletedAt - 1;
        const auto info = mRepo.Revision(deletedAt);
        rows.append(
            Version { deletedAt, info.Author, QStringLiteral("Deleted"), info.Date, info.Message, {}, path, peg });
    } else {
        peg = mRepo.LatestRevision();
    }

    struct Copy {
        qsizetype Row;
        QString Source;
        long SourceRevision, Revision;
    };
    QList<Copy> copies;
    QString current = mRepo.AbsolutePath(path);
    for (const auto &e : mRepo.Log(path, peg, 0, false)) {
        Version v { e.Revision, e.Author, QStringLiteral("Checked in"), e.Date, e.Message, {},
            mRepo.RelativePath(current), e.Revision };
        const auto it = e.Changes.constFind(current);
        if (it != e.Changes.cend()) {
            if (!it->CopyFromPath.isEmpty()) {
                const auto source = e.Changes.constFind(it->CopyFromPath);
                if (source != e.Changes.cend() && (source->Action == 'D' || source->Action == 'R')) {
                    v.Action = QStringLiteral("Renamed");
                } else {
                    v.Action = QStringLiteral("Recovered");
                    copies.append({ rows.size(), it->CopyFromPath, it->CopyFromRev, e.Revision });
                }
                current = it->CopyFromPath;
            } else if (it->Action != 'M') {
                v.Action = QStringLiteral("Created");
            }
        } else {
            // The project folder itself was copied or moved here.
            for (auto c = e.Changes.cbegin(); c != e.Changes.cend(); ++c)
                if (!c->CopyFromPath.isEmpty() && current.startsWith(c.key() + QLatin1Char('/'))) {
                    current = c->CopyFromPath + current.mid(c.key().size());
                    v.Action = QStringLiteral("Moved");
                    break;
                }
        }
        rows.append(v);
    }
    // A copy whose source was gone before it is an undelete; its deletion is a row too.
    for (const Copy &c : copies) {
        const QString source = mRepo.RelativePath(c.Source);
        const long deletedAt
            = c.SourceRevision < c.Revision - 1 ? mRepo.DeletedRevision(source, c.SourceRevision, c.Revision - 1) : -1;
        if (deletedAt < 0) {
            rows[c.Row].Action = QStringLiteral("Branched");
            continue;
        }
        const auto info = mRepo.Revision(deletedAt);
        rows.append(Version {
            deletedAt, info.Author, QStringLiteral("Deleted"), info.Date, info.Message, {}, source, deletedAt - 1 });
    }
    std::stable_sort(rows.begin(), rows.end(), [](const Version &a, const Version &b) { return a.Number > b.Number; });

    // Labels: the tag copied the project folder at a revision in which this item lay in it.
    QList<Version> labels;
    for (const Label &l : Labels()) {
        const auto at
            = std::find_if(rows.cbegin(), rows.cend(), [&](const Version &v) { return v.Number <= l.SourceRevision; });
        if (at == rows.cend() || at->Action == QLatin1String("Deleted")
            || absParent(mRepo.AbsolutePath(at->Path)) != l.SourcePath)
            continue;
        labels.append(Version { l.Revision, l.Info.Author, QStringLiteral("Labeled '%1'").arg(l.Name), l.Info.Date,
            l.Info.Message, l.Info.Message, at->Path, l.SourceRevision });
    }
    rows.append(labels);
    std::stable_sort(rows.begin(), rows.end(), [](const Version &a, const Version &b) { return a.Number > b.Number; });
    return rows;
}

QByteArray VssDatabase::VersionContent(const Version &version)
{
    return mRepo.FileContent(version.Path, version.Revision);
}

void VssDatabase::DateRange(QDateTime &first, QDateTime &last)
{
    const FolderScan &scan = Scan();
    QList<QDateTime> dates { scan.First, scan.Last };
    const QString folderAbs = mRepo.AbsolutePath(mFolder);
    for (const Label &l : Labels())
        if (l.SourcePath == folderAbs)
            dates.append(l.Info.Date);
    for (const QDateTime &d : dates) {
        if (!d.isValid())
            continue;
        if (d.toSecsSinceEpoch() < first.toSecsSinceEpoch())
            first = d;
        if (d.toSecsSinceEpoch() > last.toSecsSinceEpoch())
            last = d;
    }
}
