#pragma once

#include "KORVOLatestTexts.h"

#include <QDateTime>
#include <QHash>
#include <QList>
#include <QString>

#include <memory>

class KORVOSQL;
class KORVOStepProgress;
class ScriptCreator;
class ScriptCreatorObject;
class ServerKind;

// Writes the script of a job: a banner and the sections of drops, creations,
// updates, drops and permissions, each framed by comment blocks. What differs
// between servers (batch separators, statement ends, the order of objects that
// depend on each other) comes from the server kind.
class ScriptEmitter
{
public:
    ScriptEmitter(const ScriptCreator &job, const ServerKind &kind, KORVOStepProgress &steps, const bool &interrupted);

    // The steps of a run, for the step list.
    void AddSteps();
    enum class Result { Written, Interrupted, WriteFailed, TextMissing };
    // Builds the text in memory and writes it to fileName in one piece at the end.
    Result Run(const QString &fileName);
    // The text of the last run that was not interrupted.
    const QString &Script() const { return mScript; }
    // After TextMissing: the object whose text could not be read.
    const QString &MissingText() const { return mMissing; }
    // Why the last write failed, as the system says it.
    const QString &WriteError() const { return mWriteError; }

    static QString Banner(const QDateTime &created);

private:
    using Entry = std::shared_ptr<ScriptCreatorObject>;
    enum class Section { PreDrop, Add, Update, Drop, Permissions };

    Result Build(const QString &fileName);
    // Written, Interrupted or TextMissing.
    Result BuildSection(Section section, QString &script);
    QString EntryText(Section section, const ScriptCreatorObject &entry) const;
    void AppendSection(QString &script, const QString &section, const QString &title) const;
    void AppendStatement(QString &buffer, const QString &text) const;
    void AppendPermissions(QString &buffer, const QString &text) const;
    // The list's order with the taken entries rearranged so that an object comes
    // after (or, for drops, before) the objects it depends on.
    QList<Entry> Ordered(const QList<Entry> &taken, bool drops);
    void ReadDependencies();

    const ScriptCreator &mJob;
    const ServerKind &mKind;
    KORVOStepProgress &mSteps;
    const bool &mInterrupted;
    QString mScript;
    QString mMissing;
    QString mWriteError;
    bool mDependenciesRead = false;
    // The latest texts of the run, read a project at a time.
    mutable KORVOLatestTexts mLatest;
    // Per entry, the entries it needs first.
    QHash<const ScriptCreatorObject *, QList<const ScriptCreatorObject *>> mNeeds;
};
