// The operations that move text between the two sides: reading a side, getting,
// checking out and in, the throw-away compile test, and the three sync steps.
#include "KORVOObjectVSS.h"

#include "KORVOObjectVSSHelpers.h"
#include "KORVOVSS.h"
#include "SQLParser.h"
#include "sql/KORVOSQL.h"

#include <QDateTime>
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

QString KORVOObjectVSS::GetContent(int source, long version, bool asAlter) const
{
    QString text;
    if (source == 1 && mVSS)
        text = mVSS->ItemContent(ItemName(), false, version, false, false);
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

bool KORVOObjectVSS::CheckOut()
{
    if (mIsNew || !mVSS)
        return false;
    const bool ok = mVSS->CheckOut(ItemName(), false);
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
        const QStringList temporary = kind.SplitName(temporaryName);
        std::shared_ptr<KORVOSQL> sql = mSQL;
        const QString dropScript = kind.DropScript(mType.Class, temporary.value(0), temporary.value(1),
            [sql](const QString &statement) { return sql->OpenRecordset(statement); });
        for (const QString &statement : kind.CompileCheckStatements(replaced, dropScript))
            mSQL->ExecuteSQL(statement);
    } catch (const SqlError &error) {
        if (!silent)
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
    if (!mSQL || !mVSS || !TestItem(content, false))
        return false;
    const ServerKind &kind = mSQL->Kind();

    if (mIsNew) {
        const QString written = ExtractNameAfterPattern(Parse(), content);
        const QStringList parts = mSQL->ExtractOwnerAndItemName(written);
        if (written.isEmpty() || parts.value(1).isEmpty()) {
            Box(UiServices::Icon::Critical, title,
                QStringLiteral("Item Name could not be extracted from ") + mType.ObjectDisplayName
                    + QStringLiteral(" content!"));
            return false;
        }
        if (!LookupObjectID(parts.value(1), parts.value(0)).isEmpty()) {
            Box(UiServices::Icon::Critical, title,
                QStringLiteral("Item Name specified ('") + written
                    + QStringLiteral("') already exists in the database!"));
            return false;
        }
        try {
            mSQL->ExecuteSQL(kind.CreatingText(content));
        } catch (const SqlError &error) {
            Box(UiServices::Icon::Critical, title, CleanSQLError(error.Description));
            return false;
        }
        const QString id = LookupObjectID(parts.value(1), parts.value(0));
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
        InVSS = mVSS->AddItem(ItemName(), SourceControlText(content, DBID), false, comment);
        DeleteTemporaryFile();
        RaiseNewItemCreated();
        if (InVSS)
            RefreshState();
        return InVSS;
    }

    // Unless the connection's user owns the object, the text must name the
    // owner, or the replacing statement would address another object.
    QString text = content;
    if (Owner.toLower() != mSQL->DatabaseUserName().toLower()) {
        QString oldName;
        const QString named
            = kind.ReplaceObjectName(Parse(), content, kind.NameForText(mType.Class, Owner, Name), oldName);
        if (!named.isEmpty() && mSQL->ExtractOwnerAndItemName(oldName).value(0).isEmpty())
            text = named;
    }
    try {
        mSQL->ExecuteSQL(kind.ReplacingText(text));
    } catch (const SqlError &error) {
        Box(UiServices::Icon::Critical, title, CleanSQLError(error.Description));
        return false;
    }
    const bool ok = mVSS->CheckIn(ItemName(), SourceControlText(text, DBID), comment, false);
    if (ok)
        RefreshState();
    return ok;
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

bool KORVOObjectVSS::SyncAdd(int target)
{
    if (!mSQL || !mVSS || (target != 1 && target != 2))
        return false;
    const auto notAdded = [&](const QString &description) {
        Box(UiServices::Icon::Critical, QStringLiteral("Item not added"),
            QStringLiteral("Could not add the item ") + Caption(true) + QStringLiteral(" to ")
                + (target == 1 ? QStringLiteral("VSS") : QStringLiteral("SQL"))
                + QStringLiteral("\n\nError Description: ") + description);
        return false;
    };
    try {
        if (target == 1) {
            if (!mVSS->AddItem(ItemName(), mSQL->GetObjectText(DBID), false, QString()))
                return false;
            InVSS = true;
            return true;
        }
        const QString text = mVSS->ItemContent(ItemName(), false, -1, false, false);
        if (IsBlankText(text))
            return notAdded(BlankSourceControlText);
        RefuseUnfitText(text);
        mSQL->ExecuteSQL(mSQL->Kind().CreatingText(text));
        InSQL = true;
        const QString id = LookupObjectID(Name, Owner);
        if (!id.isEmpty()) {
            mVSS->RenameItem(ItemName(), id + mType.VSSExt, false, false, false);
            DBID = id;
        }
        return true;
    } catch (const SqlError &error) {
        return notAdded(error.Description);
    }
}

bool KORVOObjectVSS::SyncChange(int target)
{
    if (!mSQL || !mVSS || (target != 1 && target != 2))
        return false;
    try {
        if (target == 1)
            return mVSS->ChangeItemContent(
                ItemName(), mSQL->GetObjectText(DBID), QStringLiteral("Synchronization"), false);
        const QString text = mVSS->ItemContent(ItemName(), false, -1, false, false);
        RefuseUnfitText(text);
        mSQL->ExecuteSQL(mSQL->Kind().ReplacingText(text));
        return true;
    } catch (const SqlError &error) {
        Box(UiServices::Icon::Critical, QStringLiteral("Item not changed"),
            QStringLiteral("Could not change the item ") + Caption(true) + QStringLiteral(" in ")
                + (target == 1 ? QStringLiteral("VSS") : QStringLiteral("SQL"))
                + QStringLiteral("\n\nError Description: ") + error.Description);
        return false;
    }
}

bool KORVOObjectVSS::SyncRemove(int target)
{
    if (target == 1)
        return mVSS && mVSS->RemoveItem(ItemName(), false);
    if (target == 2 && mSQL) {
        mSQL->ExecuteSQL(DropScript());
        return true;
    }
    return false;
}

bool KORVOObjectVSS::Recompile(bool silent)
{
    return TestItem(GetContent(2, -1, false), silent);
}
