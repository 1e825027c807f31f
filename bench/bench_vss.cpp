// Times KORVOVSS::Items and KORVOVSS::ItemContent over a project folder of
// 2000 items, on a file:// repository and through svnserve on 127.0.0.1.
#include "KORVOVSS.h"
#include "KORVOVSSItems.h"
#include "ScriptedUi.h"
#include "SvnFixtures.h"
#include "SvnRepository.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTextStream>

#include <algorithm>

namespace
{

constexpr int itemCount = 2000;
constexpr int deletedCount = 50;
constexpr int lockedCount = 20;

QTextStream out(stdout);

QByteArray procedureText(int i)
{
    QByteArray text = "CREATE PROCEDURE [dbo].[usp_bench_" + QByteArray::number(i) + "]\r\n  @id int\r\nAS\r\n";
    for (int line = 0; line < 20; ++line)
        text += "  SELECT id, name, created FROM dbo.orders WHERE id = @id AND line = " + QByteArray::number(line)
            + "\r\n";
    return text;
}

// One commit with every item, then deletions and check-outs by another user.
bool populate(const SvnTestRepository &repo)
{
    if (!repo.MakeFolders({ QStringLiteral("Db/Objects") }))
        return false;
    try {
        SvnRepository svn(repo.Url(), QStringLiteral("setup"), {});
        QList<SvnRepository::Change> adds;
        for (int i = 1; i <= itemCount + deletedCount; ++i)
            adds.append({ SvnRepository::Change::AddFile, QStringLiteral("%1.sp").arg(i), procedureText(i), {}, -1 });
        svn.Commit(QStringLiteral("Db/Objects"), QStringLiteral("bench items"), adds);
        QList<SvnRepository::Change> deletes;
        for (int i = itemCount + 1; i <= itemCount + deletedCount; ++i)
            deletes.append({ SvnRepository::Change::Delete, QStringLiteral("%1.sp").arg(i), std::nullopt, {}, -1 });
        svn.Commit(QStringLiteral("Db/Objects"), QStringLiteral("bench deletes"), deletes);
        for (int i = 1; i <= lockedCount; ++i)
            svn.LockFile(QStringLiteral("Db/Objects/%1.sp").arg(i * 7), {});
    } catch (const VssError &e) {
        out << "populate: " << e.Description() << Qt::endl;
        return false;
    }
    return true;
}

struct Figures {
    double itemsMs = 0, itemsDeletedColdMs = 0, itemsDeletedWarmMs = 0, contentMs = 0, contentVersionMs = 0;
    int items = 0, deleted = 0;
};

double median(QList<double> v)
{
    std::sort(v.begin(), v.end());
    return v.isEmpty() ? 0 : v.at(v.size() / 2);
}

bool measure(KORVOVSS &vss, Figures &f)
{
    QElapsedTimer t;
    QList<double> runs;
    for (int r = 0; r < 5; ++r) {
        t.start();
        f.items = vss.Items(QStringLiteral("*.sp"), false, false)->Count();
        runs.append(t.nsecsElapsed() / 1e6);
    }
    f.itemsMs = median(runs);

    t.start();
    f.deleted = vss.Items(QStringLiteral("*.sp"), true, true)->Count();
    f.itemsDeletedColdMs = t.nsecsElapsed() / 1e6;
    runs.clear();
    for (int r = 0; r < 5; ++r) {
        t.start();
        vss.Items(QStringLiteral("*.sp"), true, false);
        runs.append(t.nsecsElapsed() / 1e6);
    }
    f.itemsDeletedWarmMs = median(runs);

    const auto items = vss.Items(QStringLiteral("*.sp"), false, false);
    t.start();
    qsizetype bytes = 0;
    for (const auto &item : *items)
        bytes += vss.ItemContent(item->Name, false, -1, true, false).size();
    f.contentMs = t.nsecsElapsed() / 1e6;
    qsizetype expected = 0;
    for (int i = 1; i <= itemCount; ++i)
        expected += procedureText(i).size();
    if (bytes != expected) {
        out << "ItemContent read " << bytes << " characters, expected " << expected << Qt::endl;
        return false;
    }

    // A version read by number walks the item's history first.
    const auto history = vss.GetItemHistory(QStringLiteral("1.sp"), false);
    t.start();
    for (int i = 1; i <= 100; ++i)
        vss.ItemContentForVersion(QStringLiteral("%1.sp").arg(i), history.last().VersionNumber, true);
    f.contentVersionMs = t.nsecsElapsed() / 1e6 / 100;
    return f.items == itemCount && f.deleted == deletedCount;
}

void report(const QString &transport, const Figures &f)
{
    out << transport << Qt::endl;
    out << QStringLiteral("  Items(\"*.sp\") of %1 items, median of 5:        %2 ms\n")
               .arg(f.items)
               .arg(f.itemsMs, 0, 'f', 1);
    out << QStringLiteral("  Items with %1 deleted, first (history scan):  %2 ms\n")
               .arg(f.deleted)
               .arg(f.itemsDeletedColdMs, 0, 'f', 1);
    out << QStringLiteral("  Items with deleted, later, median of 5:        %1 ms\n")
               .arg(f.itemsDeletedWarmMs, 0, 'f', 1);
    out << QStringLiteral("  ItemContent of all %1 items:                 %2 ms (%3 ms per item)\n")
               .arg(f.items)
               .arg(f.contentMs, 0, 'f', 0)
               .arg(f.contentMs / std::max(1, f.items), 0, 'f', 2);
    out << QStringLiteral("  ItemContentForVersion, per item:               %1 ms\n")
               .arg(f.contentVersionMs, 0, 'f', 2);
    out.flush();
}

bool run(const QString &transport, const QString &url, const QString &user, const QString &password,
    const SvnTestRepository &repo)
{
    ScriptedUi ui;
    ui.setLenient(true);
    KORVOVSS vss(ui);
    const QString error = vss.OpenConnection(url, user, password, QStringLiteral("$\\Db\\Objects\\"),
        repo.Folder(QStringLiteral("work-") + transport.left(3)), true, true);
    if (!error.isEmpty()) {
        out << transport << ": " << error << Qt::endl;
        return false;
    }
    Figures f;
    const bool ok = measure(vss, f);
    report(transport, f);
    if (!ui.boxes.isEmpty())
        out << "  boxes shown: " << ui.boxes.size() << " (" << ui.boxes.first().text << ")" << Qt::endl;
    return ok && ui.boxes.isEmpty();
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    SvnTestRepository repo;
    QElapsedTimer t;
    t.start();
    if (!repo.IsValid() || !populate(repo))
        return 1;
    out << "Set-up of " << itemCount + deletedCount << " items: " << t.elapsed() << " ms" << Qt::endl;

    bool ok = run(QStringLiteral("file://"), repo.Url(), QStringLiteral("alice"), {}, repo);

    if (!repo.ServeUsers({ { QStringLiteral("alice"), QStringLiteral("pw1") } }))
        return 1;
    SvnServe server(repo.Root());
    if (!server.IsRunning()) {
        out << "svnserve did not start" << Qt::endl;
        return 1;
    }
    ok = run(QStringLiteral("svn:// (svnserve on 127.0.0.1)"), server.Url(QStringLiteral("repo")),
             QStringLiteral("alice"), QStringLiteral("pw1"), repo)
        && ok;
    return ok ? 0 : 1;
}
