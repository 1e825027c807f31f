#include "KORVOAllWindows.h"

#include "DocGenProject.h"
#include "KORVODatabase.h"
#include "frmCompareText.h"
#include "frmServerTextChanged.h"
#include "frmDocumentGenerationStart.h"
#include "frmEditObjectPermissions.h"
#include "frmEditObjectText.h"
#include "frmItemHistory.h"
#include "frmRecompile.h"
#include "frmScriptCreator.h"
#include "frmSyncProcess.h"
#include "frmSQLQuery.h"
#include "frmOptions.h"
#include "sql/KORVOSQL.h"

#include <QApplication>
#include <QWidget>

namespace
{

KORVOChildWindow *TextWindow(KORVOMainWindowServices &main, KORVODatabase &session, const KORVODBObjectPtr &object,
    const QString &text, bool asNew)
{
    auto typed = std::dynamic_pointer_cast<KORVOTypedObject>(object);
    if (!typed)
        return nullptr;
    auto *w = new frmEditObjectText(main, session);
    asNew ? w->NewObject(typed, text) : w->OpenObject(typed);
    return w;
}

} // namespace

KORVOChildWindow *KORVOAllWindows::NewObjectText(
    KORVOMainWindowServices &main, KORVODatabase &session, const KORVODBObjectPtr &object, const QString &text)
{
    return TextWindow(main, session, object, text, true);
}

KORVOChildWindow *KORVOAllWindows::OpenObjectText(
    KORVOMainWindowServices &main, KORVODatabase &session, const KORVODBObjectPtr &object)
{
    return TextWindow(main, session, object, QString(), false);
}

KORVOChildWindow *KORVOAllWindows::OpenQuery(KORVOMainWindowServices &main, KORVODatabase &session)
{
    auto *w = new frmSQLQuery(main, session);
    w->OpenSQLQuery();
    return w;
}

void KORVOAllWindows::Compare(QWidget *parent, KORVODatabase &session, const QString &leftText,
    const QString &rightText, const QString &leftCaption, const QString &rightCaption)
{
    const auto &sql = session.Project() ? session.Project()->SQL() : nullptr;
    const bool postgreSQL = sql && sql->Kind().KindId() == ServerKind::Id::PostgreSQL;
    // Owned by the top window, so that it outlives the text window it was opened from.
    frmCompareText::Show(session, session.Ui(), parent ? parent->window() : nullptr, leftText, rightText, leftCaption,
        rightCaption, postgreSQL);
}

UiServices::ServerTextChoice KORVOAllWindows::ChooseServerText(KORVODatabase &session, const QString &title,
    const QString &text, const QString &serverText, const QString &myText)
{
    const auto &sql = session.Project() ? session.Project()->SQL() : nullptr;
    const bool postgreSQL = sql && sql->Kind().KindId() == ServerKind::Id::PostgreSQL;
    return frmServerTextChanged::Ask(
        session, session.Ui(), QApplication::activeWindow(), title, text, serverText, myText, postgreSQL);
}

void KORVOAllWindows::DocumentGenerator(QWidget *parent, KORVODatabase &session)
{
    if (!session.Project())
        return;
    const auto source = MakeSessionSource(session);
    frmDocumentGenerationStart start(
        *source, session.Ui(), mHelp, DocGenProject::SettingsPath(session.Project()->Name), parent);
    start.exec();
}

KORVOChildWindow *KORVOAllWindows::OpenPermissions(KORVOMainWindowServices &main, KORVODatabase &session,
    const QString &tag, const QString &key, const KORVODBObjectPtr &object)
{
    (void)tag, (void)key;
    auto typed = std::dynamic_pointer_cast<KORVOTypedObject>(object);
    if (!typed)
        return nullptr;
    auto *w = new frmEditObjectPermissions(main, session);
    w->EditObjectPermissions(typed);
    return w;
}

bool KORVOAllWindows::ShowHistory(QWidget *parent, KORVODatabase &session, const KORVODBObjectPtr &object)
{
    auto typed = std::dynamic_pointer_cast<KORVOTypedObject>(object);
    if (!typed)
        return false;
    frmItemHistory w(session, *this, parent ? parent->window() : nullptr);
    return w.ShowHistory(typed);
}

bool KORVOAllWindows::Recompile(QWidget *parent, KORVODatabase &session)
{
    frmRecompile w(session, parent ? parent->window() : nullptr);
    return w.StartRecompile();
}

bool KORVOAllWindows::Synchronise(QWidget *parent, KORVODatabase &session)
{
    frmSyncProcess window(*this, mHelp, parent);
    return window.StartSync(session);
}

void KORVOAllWindows::ScriptGenerator(QWidget *parent, KORVODatabase &session)
{
    frmScriptCreator::StartScriptGenerator(session, mHelp, parent);
}

void KORVOAllWindows::Options(QWidget *parent, KORVODatabase &session)
{
    frmOptions::ShowOptions(session, parent ? parent->window() : nullptr);
}
