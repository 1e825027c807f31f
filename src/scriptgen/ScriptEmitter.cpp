#include "ScriptEmitter.h"

#include "KORVOPermissions.h"
#include "KORVOStepProgress.h"
#include "ScriptCreator.h"
#include "ServerKind.h"
#include "UserDataFolder.h"
#include "sql/KORVOSQL.h"

#include <QSet>

#include <algorithm>
#include <queue>

namespace
{

const QString LineEnd = QStringLiteral("\r\n");
const QString Stars = QString(64, QLatin1Char('*'));

void AppendLine(QString &buffer, const QString &text)
{
    buffer += text;
    buffer += LineEnd;
}

QString Padded(const QString &title, int width)
{
    return title.size() >= width ? title : title + QString(width - title.size(), QLatin1Char(' '));
}

bool Takes(int section, const ScriptCreatorObject &entry)
{
    const int action = entry.Action;
    switch (section) {
    case 0: // drop everything first
        return true;
    case 1: // creations
        return action == ScriptCreatorObject::Add;
    case 4: // the permissions of objects made on the target
        return action == ScriptCreatorObject::Add || (action == ScriptCreatorObject::Update && entry.Recreated);
    case 2:
        return action == ScriptCreatorObject::Update;
    default:
        return action == ScriptCreatorObject::Drop;
    }
}

} // namespace

ScriptEmitter::ScriptEmitter(
    const ScriptCreator &job, const ServerKind &kind, KORVOStepProgress &steps, const bool &interrupted)
    : mJob(job)
    , mKind(kind)
    , mSteps(steps)
    , mInterrupted(interrupted)
{
}

void ScriptEmitter::AddSteps()
{
    const bool wholeDatabase
        = mJob.OptionSelected == ScriptCreator::Complete || mJob.OptionSelected == ScriptCreator::Custom;
    if (wholeDatabase && mJob.DropObjects)
        mSteps.AddStep(QStringLiteral("PREDROP"), QStringLiteral("Create script to drop objects"));
    mSteps.AddStep(QStringLiteral("ADD"), QStringLiteral("Create Script to Create Objects"));
    if (!wholeDatabase) {
        mSteps.AddStep(QStringLiteral("UPDATE"), QStringLiteral("Create script to alter Objects"));
        mSteps.AddStep(QStringLiteral("DROP"), QStringLiteral("Create script to drop Objects"));
    }
    if (mJob.CreatePermission)
        mSteps.AddStep(QStringLiteral("PERMISSIONS"), QStringLiteral("Create script to mirror object permissions"));
    mSteps.AddStep(QStringLiteral("SAVE"), QStringLiteral("Save script to script file"));
}

QString ScriptEmitter::Banner(const QDateTime &created)
{
    QString banner;
    AppendLine(banner, QLatin1Char('/') + Stars);
    AppendLine(banner, QStringLiteral(" ***                                                          ***"));
    AppendLine(banner, QStringLiteral(" ***       The Script file was created using                  ***"));
    AppendLine(banner, QStringLiteral(" ***               KORVO v2.0 professional                    ***"));
    AppendLine(banner, QStringLiteral(" ***                                                          ***"));
    AppendLine(banner,
        QStringLiteral(" ***       Date Created:  ") + created.toString(QStringLiteral("dd.MM.yyyy hh:mm:ss"))
            + QStringLiteral("                 ***"));
    AppendLine(banner, QStringLiteral(" ***                                                          ***"));
    AppendLine(banner, QLatin1Char(' ') + Stars + QLatin1Char('/'));
    AppendLine(banner, QString());
    AppendLine(banner, QString());
    return banner;
}

ScriptEmitter::Result ScriptEmitter::Run(const QString &fileName)
{
    mScript.clear();
    mMissing.clear();
    mDependenciesRead = false;
    mNeeds.clear();
    mLatest = {};
    // Objects of another database whose comparison closed its connection are
    // read again for their drop texts and dependencies; closed again afterwards.
    QList<KORVOSQL *> reopened;
    for (const Entry &entry : mJob.ObjectsToScript()) {
        KORVOSQL *sql = entry->ScriptObject->ActiveDBConnection().get();
        if (sql && !sql->ConnectionOpen() && !sql->Server().isEmpty() && !reopened.contains(sql)
            && sql->OpenConnection(sql->Server(), sql->Database(), sql->StoredUserName(), sql->Password(),
                      sql->UseWinNTAuth() ? KORVOSQL::UseNTYes : KORVOSQL::UseNTNo, true)
                   .isEmpty())
            reopened.append(sql);
    }
    const Result result = Build(fileName);
    for (KORVOSQL *sql : reopened)
        sql->CloseConnection();
    return result;
}

ScriptEmitter::Result ScriptEmitter::Build(const QString &fileName)
{
    const bool wholeDatabase
        = mJob.OptionSelected == ScriptCreator::Complete || mJob.OptionSelected == ScriptCreator::Custom;
    QString script;
    struct Plan {
        Section section;
        bool runs;
    };
    const Plan plan[] = { { Section::PreDrop, wholeDatabase && mJob.DropObjects }, { Section::Add, true },
        { Section::Update, !wholeDatabase }, { Section::Drop, !wholeDatabase },
        { Section::Permissions, mJob.CreatePermission } };
    for (const Plan &p : plan) {
        if (!p.runs)
            continue;
        if (const Result result = BuildSection(p.section, script); result != Result::Written)
            return result;
    }

    mSteps.NextStep();
    mSteps.SetProgressMax(2);
    mSteps.SetProgress(0, QString());
    QString preamble;
    for (const QString &line : mKind.ScriptPreamble())
        AppendLine(preamble, line);
    script = preamble + Banner(QDateTime::currentDateTime()) + script;
    mSteps.SetProgress(1, QString());
    if (!WriteTextFile(fileName, script, &mWriteError))
        return Result::WriteFailed;
    mSteps.SetProgress(2, QString());
    mScript = script;
    return Result::Written;
}

ScriptEmitter::Result ScriptEmitter::BuildSection(Section section, QString &script)
{
    static const QString titles[] = { QStringLiteral("Drop all objects if they exist"),
        QStringLiteral("Create objects"), QStringLiteral("Update objects"), QStringLiteral("Drop objects"),
        QStringLiteral("Set Permissions for Added objects") };
    const ScriptCreatorObjects &list = mJob.ObjectsToScript();
    mSteps.NextStep();
    mSteps.SetProgressMax(list.Count());
    mSteps.SetProgress(0, QString());

    QList<Entry> taken;
    for (const Entry &entry : list) {
        if (Takes(int(section), *entry))
            taken.append(entry);
    }
    const bool drops = section == Section::PreDrop || section == Section::Drop;
    const QList<Entry> order = Ordered(taken, drops);

    // Every entry counts in the progress, taken or not.
    QString buffer;
    long position = 0;
    qsizetype next = 0;
    for (const Entry &entry : list) {
        if (Takes(int(section), *entry)) {
            const ScriptCreatorObject &taken = *order.at(next++);
            const QString text = EntryText(section, taken);
            // A text that could not be read must not leave the object out of a
            // script reported as complete; only permissions may be empty.
            if ((section == Section::Add || section == Section::Update) && text.trimmed().isEmpty()) {
                mMissing = taken.ScriptObject->Generic().Caption(true);
                if (taken.VersionNumber != -1)
                    mMissing += QStringLiteral(" (version %1)").arg(taken.VersionNumber);
                return Result::TextMissing;
            }
            if (section == Section::Permissions)
                AppendPermissions(buffer, text);
            else
                AppendStatement(buffer, text);
        }
        mSteps.SetProgress(++position, QString());
        if (mInterrupted)
            return Result::Interrupted;
    }
    AppendSection(script, buffer, titles[int(section)]);
    return Result::Written;
}

QString ScriptEmitter::EntryText(Section section, const ScriptCreatorObject &entry) const
{
    const KORVOTypedObject &object = *entry.ScriptObject;
    switch (section) {
    case Section::PreDrop:
        return mKind.ScriptStatement(object.DropScript());
    case Section::Drop:
        if (!entry.DropText.isEmpty())
            return mKind.ScriptStatement(entry.DropText);
        // A deleted object is gone from the server: its last text says what to drop.
        if (entry.Deleted && !object.InSQL())
            return mKind.ScriptStatement(object.DropScriptOfText(object.GetContent(1, -1, false, true)));
        return mKind.ScriptStatement(object.DropScript());
    case Section::Add:
    case Section::Update: {
        const bool asAlter = section == Section::Update;
        return mKind.ScriptStatement(entry.VersionNumber == -1
                ? mLatest.Of(object, asAlter)
                : object.GetContent(1, entry.VersionNumber, asAlter, entry.Deleted));
    }
    case Section::Permissions:
        return mKind.ScriptStatementLines(object.GetPermissions(false, 0)->CreateScript(object.Name(), object.Owner()));
    }
    return QString();
}

void ScriptEmitter::AppendPermissions(QString &buffer, const QString &text) const
{
    // An object without permissions leaves no trace.
    if (!text.isEmpty())
        AppendStatement(buffer, text);
}

void ScriptEmitter::AppendStatement(QString &buffer, const QString &text) const
{
    AppendLine(buffer, text);
    const QString separator = mKind.ScriptBatchSeparator();
    if (!separator.isEmpty())
        AppendLine(buffer, separator);
    AppendLine(buffer, QString());
}

void ScriptEmitter::AppendSection(QString &script, const QString &section, const QString &title) const
{
    if (section.isEmpty())
        return;
    const QString separator = mKind.ScriptBatchSeparator();
    AppendLine(script, QLatin1Char('/') + Stars);
    AppendLine(script, QStringLiteral(" *** Start: ") + Padded(title, 49) + QStringLiteral(" ***"));
    AppendLine(script, QLatin1Char(' ') + Stars + QLatin1Char('/'));
    if (!separator.isEmpty())
        AppendLine(script, separator);
    AppendLine(script, QString());
    script += section;
    AppendLine(script, QLatin1Char('/') + Stars);
    AppendLine(script, QStringLiteral(" *** End: ") + Padded(title, 51) + QStringLiteral(" ***"));
    AppendLine(script, QLatin1Char(' ') + Stars + QLatin1Char('/'));
    AppendLine(script, QString());
    if (!separator.isEmpty())
        AppendLine(script, separator);
    AppendLine(script, QString());
}

void ScriptEmitter::ReadDependencies()
{
    mDependenciesRead = true;
    // One catalogue query per connection for all entries of the run.
    QHash<KORVOSQL *, QHash<QString, const ScriptCreatorObject *>> byConnection;
    for (const Entry &entry : mJob.ObjectsToScript()) {
        if (KORVOSQL *sql = entry->ScriptObject->ActiveDBConnection().get())
            byConnection[sql].insert(entry->ScriptObject->DBID(), entry.get());
    }
    for (auto it = byConnection.cbegin(); it != byConnection.cend(); ++it) {
        const QString statement = mKind.ScriptDependencyStatement(it.value().keys());
        if (statement.isEmpty() || !it.key()->ConnectionOpen())
            continue;
        const std::shared_ptr<Recordset> rows = it.key()->OpenRecordset(statement);
        for (; rows && rows->IsOpen() && !rows->Eof(); rows->MoveNext()) {
            const ScriptCreatorObject *object = it.value().value(rows->FieldText(QStringLiteral("id")));
            const ScriptCreatorObject *needed = it.value().value(rows->FieldText(QStringLiteral("dependsOn")));
            if (object && needed && object != needed)
                mNeeds[object].append(needed);
        }
    }
}

QList<ScriptEmitter::Entry> ScriptEmitter::Ordered(const QList<Entry> &listed, bool drops)
{
    if (listed.size() < 2)
        return listed;
    QList<Entry> taken = listed;
    // Objects deleted from the server have no dependencies to read: where the
    // kind orders by them, drops go by type the other way round (triggers and
    // views before the routines they use).
    if (drops && !mKind.ScriptDependencyStatement({ QStringLiteral("0") }).isEmpty())
        std::stable_sort(taken.begin(), taken.end(), [](const Entry &a, const Entry &b) {
            return int(a->ScriptObject->Generic().Type().Class) > int(b->ScriptObject->Generic().Type().Class);
        });
    if (!mDependenciesRead)
        ReadDependencies();
    if (mNeeds.isEmpty())
        return taken;

    // Kahn's algorithm taking the earliest ready entry, so that the list's order
    // stands wherever no dependency says otherwise.
    QHash<const ScriptCreatorObject *, int> position;
    for (int i = 0; i < taken.size(); ++i)
        position.insert(taken.at(i).get(), i);
    QList<QList<int>> after(taken.size());
    QList<int> waiting(taken.size(), 0);
    for (int i = 0; i < taken.size(); ++i) {
        for (const ScriptCreatorObject *needed : mNeeds.value(taken.at(i).get())) {
            const int j = position.value(needed, -1);
            if (j < 0)
                continue;
            // Creations put the needed object first, drops last.
            const int first = drops ? i : j, second = drops ? j : i;
            after[first].append(second);
            ++waiting[second];
        }
    }
    std::priority_queue<int, std::vector<int>, std::greater<int>> ready;
    for (int i = 0; i < taken.size(); ++i) {
        if (waiting.at(i) == 0)
            ready.push(i);
    }
    QList<Entry> out;
    QList<bool> done(taken.size(), false);
    while (!ready.empty()) {
        const int i = ready.top();
        ready.pop();
        out.append(taken.at(i));
        done[i] = true;
        for (int k : after.at(i)) {
            if (--waiting[k] == 0)
                ready.push(k);
        }
    }
    // A cycle cannot be ordered: the rest keeps the list's order.
    for (int i = 0; i < taken.size(); ++i) {
        if (!done.at(i))
            out.append(taken.at(i));
    }
    return out;
}
