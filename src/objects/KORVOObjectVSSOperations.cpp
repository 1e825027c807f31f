// The operations that move text between the two sides: reading a side, getting,
// checking out and in, the throw-away compile test, and the three sync steps.
#include "KORVOObjectVSS.h"

#include "KORVOObjectVSSHelpers.h"
#include "KORVOVSS.h"
#include "SQLParser.h"
#include "sql/KORVOSQL.h"

#include <QDateTime>
#include <QFile>
#include <QRandomGenerator>
#include <QRegularExpression>

QString CleanSQLError(const QString &description)
{
    static const QString prefix = QStringLiteral("[Microsoft][ODBC SQL Server Driver][SQL Server]");
    if (description.startsWith(prefix))
        return description.mid(prefix.size());
    // The driver layer puts the server's line in front: "Line 3: [Microsoft]...".
    static const QRegularExpression line(QStringLiteral("^Line \\d+: "));
    const QRegularExpressionMatch m = line.match(description);
    if (m.hasMatch() && description.mid(m.capturedLength()).startsWith(prefix))
        return m.captured(0) + description.mid(m.capturedLength() + prefix.size());
    return description;
}

QString KeywordSequencesText(const SQLKeywordPatterns &keywords)
{
    QStringList quoted;
    for (const QStringList &sequence : keywords)
        quoted.append(QLatin1Char('"') + sequence.join(QLatin1Char(' ')).toUpper() + QLatin1Char('"'));
    if (quoted.size() < 2)
        return quoted.join(QString());
    const QString last = quoted.takeLast();
    return quoted.join(QStringLiteral(", ")) + QStringLiteral(" or ") + last;
}

UiServices *KORVOObjectVSS::Ui() const
{
    return mSQL ? &mSQL->Ui() : nullptr;
}

void KORVOObjectVSS::Box(UiServices::Icon icon, const QString &title, const QString &text) const
{
    if (UiServices *ui = Ui())
        ui->messageBox(icon, title, text);
}

QString KORVOObjectVSS::LookupObjectID(const QString &name, const QString &owner) const
{
    if (!mSQL || name.isEmpty())
        return QString();
    // Names arrive as the catalogue holds them: write them so that the kind
    // reads them back unchanged.
    const ServerKind &kind = mSQL->Kind();
    return mSQL->GetObjectID(
        kind.FormatName(QString(), name), owner.isEmpty() ? QString() : kind.FormatName(QString(), owner));
}

QString KORVOObjectVSS::NameRefusal(const QString &text) const
{
    const QString written = ExtractNameAfterPattern(Parse(), text);
    if (written.isEmpty() || !mSQL)
        return QString();
    for (const QString &part : mSQL->ExtractOwnerAndItemName(written)) {
        if (const QString refusal = mSQL->Kind().NameLengthRefusal(part); !refusal.isEmpty())
            return refusal;
    }
    return QString();
}

QString KORVOObjectVSS::SourceControlText(const QString &sent, const QString &id) const
{
    if (!mSQL->Kind().SourceControlTakesServerText())
        return sent;
    const QString server = mSQL->GetObjectText(id);
    return server.isEmpty() ? sent : server;
}

bool KORVOObjectVSS::ReportLost(const QString &operation, const SqlError &error, const QString &state) const
{
    if (!error.ConnectionLost)
        return false;
    Box(UiServices::Icon::Critical, QStringLiteral("Connection Lost"),
        operation + QStringLiteral(": the connection to the database server was lost.\n")
            + KORVOSQL::FormatSQLError(error.Description) + QStringLiteral("\n\n")
            + (state.isEmpty() ? QStringLiteral("Nothing was changed.") : state)
            + QStringLiteral("\nOpen the project again to reconnect."));
    return true;
}

void KORVOObjectVSS::ServerStepFailed(const QString &title, const SqlError &error, const QString &state) const
{
    if (!ReportLost(title, error, state))
        Box(UiServices::Icon::Critical, title,
            CleanSQLError(error.Description) + (state.isEmpty() ? QString() : QStringLiteral("\n\n") + state));
}

QString KORVOObjectVSS::OtherHolder() const
{
    if (!mVSS || mIsNew)
        return QString();
    try {
        if (mVSS->CheckOutStatus(ItemName()) != 1)
            return QString();
        return mVSS->Checkouts(ItemName()).join(QStringLiteral(", "));
    } catch (const VssError &) {
        return QString();
    }
}

std::optional<QString> KORVOObjectVSS::IdentifyText(const QString &text, QString *signature) const
{
    if (!mSQL)
        return std::nullopt;
    const ServerKind &kind = mSQL->Kind();
    const QString statement = kind.TextIdentityStatement(mType.Class, text,
        kind.TemporaryName(QDateTime::currentDateTime(), QRandomGenerator::global()->bounded(2001) + 1));
    if (statement.isEmpty())
        return std::nullopt;
    const std::shared_ptr<Recordset> row = mSQL->OpenRecordset(statement);
    if (!row || row->Eof())
        return QString();
    if (signature)
        *signature = row->FieldText(QStringLiteral("Signature"));
    return row->FieldText(QStringLiteral("id"));
}

QString KORVOObjectVSS::LocateCreated(const QString &text, const QString &name, const QString &owner) const
{
    if (const std::optional<QString> id = IdentifyText(text))
        return *id;
    return LookupObjectID(name, owner);
}

QString KORVOObjectVSS::DropScriptOf(
    const QString &id, const QString &owner, const QString &name, bool byNameWhenGone) const
{
    std::shared_ptr<KORVOSQL> sql = mSQL;
    return ServerKindOf(mSQL).DropObjectScript(
        mType.Class, id, owner, name,
        [sql](const QString &statement) -> std::shared_ptr<Recordset> {
            return sql ? sql->OpenRecordset(statement) : nullptr;
        },
        byNameWhenGone);
}

QString KORVOObjectVSS::DropScriptAs(const QString &owner, const QString &name) const
{
    std::shared_ptr<KORVOSQL> sql = mSQL;
    return ServerKindOf(mSQL).DropRenamedScript(
        mType.Class, DBID, owner, name, [sql](const QString &statement) -> std::shared_ptr<Recordset> {
            return sql ? sql->OpenRecordset(statement) : nullptr;
        });
}

QString KORVOObjectVSS::DropScriptOfText(const QString &text) const
{
    if (!mSQL)
        return QString();
    // Where overloads share a name, the server reads the argument types from the
    // text; a drop by name alone could take a sibling or fail as not unique.
    QString signature;
    try {
        IdentifyText(text, &signature);
    } catch (const SqlError &) {
    }
    if (const QString drop = mSQL->Kind().DropSignatureScript(mType.Class, signature); !drop.isEmpty())
        return drop;
    const QStringList written = NameInText(text);
    if (written.value(1).isEmpty())
        return DropScript(true);
    // A trigger is dropped from the table its text names.
    if (mType.Class == ObjectClass::Trigger) {
        const QString drop = mSQL->Kind().DropTriggerScript(
            written.value(1), mSQL->Kind().ExtractTableNameFromTrigger(text, Parse()));
        if (!drop.isEmpty())
            return drop;
    }
    return DropScriptOf(QString(), written.value(0).isEmpty() ? Owner : written.value(0), written.value(1), true);
}

QStringList KORVOObjectVSS::NameInText(const QString &text) const
{
    if (!mSQL)
        return {};
    return mSQL->ExtractOwnerAndItemName(ExtractNameAfterPattern(Parse(), text));
}

QString KORVOObjectVSS::UndoCreate(const QString &id, const QString &owner, const QString &name) const
{
    const QString written = ServerKindOf(mSQL).FormatName(owner, name);
    try {
        mSQL->ExecuteSQL(DropScriptOf(id, owner, name));
        return QStringLiteral("The object %1 made for it was dropped again; nothing was changed.").arg(written);
    } catch (const SqlError &error) {
        return QStringLiteral("The object %1 made for it could not be dropped again (%2): it stays on the server; "
                              "source control is unchanged.")
            .arg(written, KORVOSQL::FormatSQLError(error.Description));
    }
}

void KORVOObjectVSS::RefreshAfterChange()
{
    try {
        RefreshState();
    } catch (const SqlError &) {
        // Source control has it: the next command says that the connection is gone.
        CheckedOutBy.clear();
    }
}

QString KORVOObjectVSS::GetContent(int source, long version, bool asAlter, bool deleted) const
{
    QString text;
    if (source == 1 && mVSS)
        text = mVSS->ItemContent(ItemName(), false, version, false, deleted);
    else if (source == 2 && mSQL)
        text = mSQL->GetObjectText(DBID);
    else
        return QString();
    if (asAlter)
        text = ServerKindOf(mSQL).ReplacingText(text);
    return text;
}

bool KORVOObjectVSS::GetLatestVersion()
{
    const bool ok = mVSS && mVSS->GetLatestVersion(ItemName(), false);
    RefreshState();
    return ok;
}

bool KORVOObjectVSS::CheckOut(bool silent)
{
    if (mIsNew || !mVSS)
        return false;
    const bool ok = mVSS->CheckOut(ItemName(), silent);
    // The connector says nothing when another user holds the item: say who.
    if (const QString holder = ok || silent ? QString() : OtherHolder(); !holder.isEmpty())
        Box(UiServices::Icon::Critical, QStringLiteral("Could not check out"),
            QStringLiteral("The item is checked out by %1.").arg(holder));
    RefreshState();
    return ok;
}

bool KORVOObjectVSS::UndoCheckout()
{
    if (mIsNew || !mVSS)
        return false;
    if (!mVSS->UndoCheckout(ItemName(), false))
        return false;
    return GetLatestVersion();
}

bool KORVOObjectVSS::TestItem(const QString &content, bool silent)
{
    if (!mSQL)
        return false;
    const ServerKind &kind = mSQL->Kind();
    const int number = QRandomGenerator::global()->bounded(2001) + 1;
    const QString temporaryName = kind.TemporaryName(QDateTime::currentDateTime(), number);
    const QString syntaxError = QStringLiteral("Syntax Error");

    QString oldName;
    const QString replaced = kind.ReplaceObjectName(Parse(), content, temporaryName, oldName);
    if (replaced.isEmpty()) {
        if (!silent)
            Box(UiServices::Icon::Critical, syntaxError,
                QStringLiteral("The ") + KeywordSequencesText(Parse()) + QStringLiteral(" could not be found!"));
        return false;
    }

    try {
        QString dropScript;
        if (kind.CompileCheckDrops()) {
            const QStringList temporary = kind.SplitName(temporaryName);
            std::shared_ptr<KORVOSQL> sql = mSQL;
            dropScript = kind.DropScript(mType.Class, temporary.value(0), temporary.value(1),
                [sql](const QString &statement) { return sql->OpenRecordset(statement); });
        }
        for (const QString &statement : kind.CompileCheckStatements(replaced, dropScript, mSQL->CompileTestTimeout))
            mSQL->ExecuteSQL(statement);
    } catch (const SqlError &error) {
        if (const QString cleanup = kind.CompileCheckCleanup(mSQL->CompileTestTimeout);
            !cleanup.isEmpty() && !error.ConnectionLost) {
            try {
                mSQL->ExecuteSQL(cleanup);
            } catch (const SqlError &) {
            }
        }
        if (!silent && !ReportLost(QStringLiteral("Could not test the item"), error))
            Box(UiServices::Icon::Critical, syntaxError, CleanSQLError(error.Description));
        return false;
    }

    if (mIsNew)
        return true;
    const QStringList written = mSQL->ExtractOwnerAndItemName(oldName);
    QString refusal;
    if (!written.value(0).isEmpty() && written.value(0).compare(Owner, Qt::CaseInsensitive) != 0)
        refusal = QStringLiteral("The Owner of the object cannot be changed!");
    else if (written.value(1).compare(Name, Qt::CaseInsensitive) != 0)
        refusal = QStringLiteral("The Name of the object cannot be changed!");
    if (refusal.isEmpty())
        return true;
    if (!silent)
        Box(UiServices::Icon::Critical, syntaxError, refusal);
    return false;
}

bool KORVOObjectVSS::CheckIn(const QString &content, const QString &comment)
{
    const QString title = QStringLiteral("Could not Check In Item");
    if (mSQL && mIsNew) {
        // The server would cut the name short and create the object under another name.
        if (const QString refusal = NameRefusal(content); !refusal.isEmpty()) {
            Box(UiServices::Icon::Critical, title, refusal);
            return false;
        }
    }
    if (!mSQL || !mVSS)
        return false;
    const ServerKind &kind = mSQL->Kind();

    // The user's text is kept whatever happens: in a new object's temporary
    // file, or in the item's working file. Whatever stands in the way of the
    // commit is found before the server changes.
    QString kept;
    if (mIsNew) {
        QFile file(FileName());
        if (!content.isEmpty() && file.open(QIODevice::WriteOnly | QIODevice::Truncate)
            && file.write(content.toUtf8()) >= 0)
            kept = file.fileName();
    } else {
        const QString obstacle = mVSS->CheckInObstacle(ItemName());
        if (!obstacle.isEmpty()) {
            kept = mVSS->KeepText(ItemName(), content, true);
            Box(UiServices::Icon::Critical, title,
                obstacle + QStringLiteral("\n\nNothing was changed.")
                    + (kept.isEmpty() ? QString() : QStringLiteral(" Your text is kept in '%1'.").arg(kept)));
            return false;
        }
        if (!content.isEmpty())
            kept = mVSS->KeepText(ItemName(), content, false);
    }
    const QString keptLine = kept.isEmpty() ? QString() : QStringLiteral(" Your text is kept in '%1'.").arg(kept);

    mServerTextTaken = false;
    if (!mIsNew && !ServerChangeSettled(content, title, keptLine))
        return false;

    if (!TestItem(content, false))
        return false;

    if (mIsNew) {
        const QString written = ExtractNameAfterPattern(Parse(), content);
        const QStringList parts = mSQL->ExtractOwnerAndItemName(written);
        if (written.isEmpty() || parts.value(1).isEmpty()) {
            Box(UiServices::Icon::Critical, title,
                QStringLiteral("Item Name could not be extracted from ") + mType.ObjectDisplayName
                    + QStringLiteral(" content!"));
            return false;
        }
        try {
            // Where the server tells objects apart by their argument types, a
            // new overload of a used name is no clash.
            const std::optional<QString> same = IdentifyText(content);
            if (!(same ? *same : LookupObjectID(parts.value(1), parts.value(0))).isEmpty()) {
                Box(UiServices::Icon::Critical, title,
                    QStringLiteral("Item Name specified ('") + written
                        + QStringLiteral("') already exists in the database!"));
                return false;
            }
            mSQL->ExecuteSQL(kind.CreatingText(content));
        } catch (const SqlError &error) {
            ServerStepFailed(
                title, error, error.ConnectionLost ? QStringLiteral("Nothing was changed.") + keptLine : QString());
            return false;
        }
        QString id;
        try {
            id = LocateCreated(content, parts.value(1), parts.value(0));
        } catch (const SqlError &error) {
            ServerStepFailed(title, error,
                QStringLiteral("The object was created on the server; it is not in source control.") + keptLine);
            return false;
        }
        if (id.isEmpty()) {
            Box(UiServices::Icon::Critical, title,
                QStringLiteral("Item Name could not be added to the Database! After creating the object, it could "
                               "not be located in the database!"));
            return false;
        }
        DBID = id;
        // Not new any more; the temporary file stays until the text is in source control.
        mIsNew = false;
        InSQL = true;
        try {
            InVSS = mVSS->AddItem(ItemName(), SourceControlText(content, DBID), false, comment);
        } catch (const SqlError &error) {
            InVSS = false;
            ServerStepFailed(
                title, error, QStringLiteral("The object was created on the server; it is not in source control."));
        }
        DeleteTemporaryFile();
        RaiseNewItemCreated();
        if (InVSS)
            RefreshAfterChange();
        return InVSS;
    }

    QString text = content;
    try {
        // Unless the connection's user owns the object, the text must name the
        // owner, or the replacing statement would address another object.
        if (Owner.toLower() != mSQL->DatabaseUserName().toLower()) {
            QString oldName;
            const QString named
                = kind.ReplaceObjectName(Parse(), content, kind.NameForText(mType.Class, Owner, Name), oldName);
            if (!named.isEmpty() && mSQL->ExtractOwnerAndItemName(oldName).value(0).isEmpty())
                text = named;
        }
        // A text that identifies another object (a routine's argument types
        // changed) would make or replace that one, not this.
        QString signature;
        const std::optional<QString> identified = IdentifyText(text, &signature);
        if (identified && *identified != DBID) {
            Box(UiServices::Icon::Critical, title,
                (identified->isEmpty()
                        ? QStringLiteral("The argument types of the object cannot be changed! The text would create %1 "
                                         "as a new object beside it.")
                        : QStringLiteral("The argument types of the object cannot be changed! The text would replace "
                                         "the other object %1."))
                        .arg(signature)
                    + QStringLiteral("\n\nNothing was changed.") + keptLine);
            return false;
        }
        mSQL->ExecuteSQL(kind.ReplacingText(text));
    } catch (const SqlError &error) {
        ServerStepFailed(
            title, error, error.ConnectionLost ? QStringLiteral("Nothing was changed.") + keptLine : QString());
        return false;
    }
    QString sourceText;
    try {
        sourceText = SourceControlText(text, DBID);
    } catch (const SqlError &error) {
        ServerStepFailed(title, error,
            QStringLiteral("The server has the new text; source control has not, and the item stays checked out to "
                           "you.")
                + keptLine);
        return false;
    }
    const bool ok = mVSS->CheckIn(ItemName(), sourceText, comment, false);
    if (ok)
        RefreshAfterChange();
    return ok;
}

bool KORVOObjectVSS::ServerChangeSettled(const QString &content, const QString &title, const QString &keptLine)
{
    QString server;
    try {
        server = mSQL->GetObjectText(DBID);
    } catch (const SqlError &error) {
        ServerStepFailed(title, error, QStringLiteral("Nothing was changed.") + keptLine);
        return false;
    }
    // Dropped behind KORVO's back: the check-in makes it again and loses nothing.
    if (IsBlankText(server))
        return true;
    // The lock kept the repository's text as it was when the check-out began.
    const QString started = mVSS->ItemContent(ItemName(), false, -1, true, false);
    if (!mVSS->LastError().isEmpty() && IsBlankText(started)) {
        Box(UiServices::Icon::Critical, title, mVSS->LastError() + QStringLiteral("\n\nNothing was changed.") + keptLine);
        return false;
    }
    if (!ServerChangedOutside(server, started) || TextsEqual(content, server, true, true)
        || (!mTakenServerText.isEmpty() && TextsEqual(mTakenServerText, server, true, true)))
        return true;
    UiServices *ui = Ui();
    if (!ui)
        return false;
    const QString caption = Caption(true);
    switch (ui->serverTextChanged(QStringLiteral("Server Text Changed"),
        QStringLiteral("The text of %1 on the server was changed after it was checked out, and that change is not in "
                       "source control.")
            .arg(caption),
        server, content)) {
    case UiServices::ServerTextChoice::KeepMine:
        return true;
    case UiServices::ServerTextChoice::TakeTheirs: {
        const QString mine = mVSS->KeepText(ItemName(), content, true);
        if (mVSS->KeepText(ItemName(), server, false).isEmpty()) {
            Box(UiServices::Icon::Critical, title,
                QStringLiteral("The server's text could not be written to the working file.\n\nNothing was changed.")
                    + keptLine);
            return false;
        }
        mServerTextTaken = true;
        mTakenServerText = server;
        Box(UiServices::Icon::Information, QStringLiteral("Server Text Taken"),
            QStringLiteral("The server's text of %1 is in the editor now; nothing was checked in.").arg(caption)
                + (mine.isEmpty() ? QString() : QStringLiteral(" Your text is kept in '%1'.").arg(mine)));
        return false;
    }
    case UiServices::ServerTextChoice::Cancel:
        break;
    }
    return false;
}

bool KORVOObjectVSS::ServerChangedOutside(const QString &server, const QString &latest)
{
    // A blank side is a gone object or an unreadable item: nothing to lose there.
    return !IsBlankText(server) && !IsBlankText(latest) && !TextsEqual(latest, server, true, true);
}

bool KORVOObjectVSS::ServerChangeMayBeLost(const QString &title, const QString &consequence, bool silent)
{
    QString server;
    try {
        server = mSQL->GetObjectText(DBID);
    } catch (const SqlError &) {
        // The operation's own first statement meets the same fault and says so.
        return true;
    }
    if (!ServerChangedOutside(server, mVSS->ItemContent(ItemName(), false, -1, true, false)))
        return true;
    if (silent)
        return false;
    UiServices *ui = Ui();
    return ui
        && ui->messageBox(UiServices::Icon::Warning, title,
               QStringLiteral("The text of %1 on the server was changed outside KORVO and is not in source control. %2"
                              "\n\nGo on anyway?")
                   .arg(Caption(true), consequence),
               UiServices::Buttons::YesNo)
        == UiServices::Answer::Yes;
}

void KORVOObjectVSS::RefuseUnfitText(const QString &text) const
{
    // Without its CREATE keywords a text would run as whatever it is, and
    // create or change nothing while the operation reports success.
    if (ExtractNameAfterPattern(Parse(), text).isEmpty())
        throw SqlError(0, QStringLiteral("KORVO"),
            QStringLiteral("The text is not a CREATE statement of a ") + mType.ObjectDisplayName
                + QStringLiteral(": the ") + KeywordSequencesText(Parse()) + QStringLiteral(" could not be found!"));
    if (const QString refusal = NameRefusal(text); !refusal.isEmpty())
        throw SqlError(0, QStringLiteral("KORVO"), refusal);
}

QString KORVOObjectVSS::ServerTextForVSS() const
{
    QString text = mSQL->GetObjectText(DBID);
    if (IsBlankText(text))
        throw SqlError(0, QStringLiteral("KORVO"), QStringLiteral("The server gave no text for the object."));
    return text;
}

bool KORVOObjectVSS::SyncAdd(int target)
{
    if (!mSQL || !mVSS || (target != 1 && target != 2))
        return false;
    const QString title = QStringLiteral("Item not added");
    const auto notAdded = [&](const QString &description) {
        Box(UiServices::Icon::Critical, title,
            QStringLiteral("Could not add the item ") + Caption(true) + QStringLiteral(" to ")
                + (target == 1 ? QStringLiteral("VSS") : QStringLiteral("SQL"))
                + QStringLiteral("\n\nError Description: ") + description);
        return false;
    };
    const auto failed = [&](const SqlError &error, const QString &state) {
        return ReportLost(title, error, state) ? false : notAdded(error.Description);
    };
    QString text;
    try {
        if (target == 1) {
            if (!mVSS->AddItem(ItemName(), ServerTextForVSS(), false, QString()))
                return false;
            InVSS = true;
            return true;
        }
        text = mVSS->ItemContent(ItemName(), false, -1, false, false);
        if (IsBlankText(text))
            return notAdded(BlankSourceControlText);
        RefuseUnfitText(text);
        mSQL->ExecuteSQL(mSQL->Kind().CreatingText(text));
        InSQL = true;
    } catch (const SqlError &error) {
        return failed(error, QString());
    }
    QString id;
    try {
        id = LocateCreated(text, Name, Owner);
    } catch (const SqlError &error) {
        return failed(error,
            QStringLiteral("The object was created on the server; its file keeps its old name until "
                           "the next refresh finds the object."));
    }
    if (!id.isEmpty()) {
        mVSS->RenameItem(ItemName(), id + mType.VSSExt, false, false, false);
        DBID = id;
        if (!KeepOwnerRightsOnly())
            Box(UiServices::Icon::Warning, title,
                QStringLiteral("The item %1 was added to SQL, but the rights the server gives a new object by default "
                               "could not be taken away. Check its permissions.")
                    .arg(Caption(true)));
    }
    return true;
}

bool KORVOObjectVSS::SyncChange(int target)
{
    if (!mSQL || !mVSS || (target != 1 && target != 2))
        return false;
    const QString title = QStringLiteral("Item not changed");
    const auto failed = [&](const QString &description) {
        Box(UiServices::Icon::Critical, title,
            QStringLiteral("Could not change the item ") + Caption(true) + QStringLiteral(" in ")
                + (target == 1 ? QStringLiteral("VSS") : QStringLiteral("SQL"))
                + QStringLiteral("\n\nError Description: ") + description);
        return false;
    };
    try {
        if (target == 1)
            return mVSS->ChangeItemContent(ItemName(), ServerTextForVSS(), QStringLiteral("Synchronization"), false);
        const QString text = mVSS->ItemContent(ItemName(), false, -1, false, false);
        RefuseUnfitText(text);
        QString signature;
        const std::optional<QString> identified = IdentifyText(text, &signature);
        if (identified && *identified != DBID)
            return failed(
                QStringLiteral("The argument types of the object cannot be changed! The text would %1 %2.")
                    .arg(identified->isEmpty() ? QStringLiteral("create") : QStringLiteral("replace"), signature));
        mSQL->ExecuteSQL(mSQL->Kind().ReplacingText(text));
        return true;
    } catch (const SqlError &error) {
        if (!ReportLost(title, error))
            failed(error.Description);
        return false;
    }
}

bool KORVOObjectVSS::SyncRemove(int target)
{
    if (target == 1)
        return mVSS && mVSS->RemoveItem(ItemName(), false);
    if (target != 2 || !mSQL)
        return false;
    // A refused drop is the caller's to handle (synchronisation lets it reach the
    // application's error box); only a lost connection stops here with its box.
    try {
        mSQL->ExecuteSQL(DropScript());
        return true;
    } catch (const SqlError &error) {
        if (!ReportLost(QStringLiteral("Item not removed"), error))
            throw;
        return false;
    }
}

bool KORVOObjectVSS::Recompile(bool silent)
{
    return TestItem(GetContent(2, -1, false), silent);
}
