#include "KORVOAllWindows.h"

#include "KORVODatabase.h"
#include "frmCompareText.h"
#include "frmEditObjectText.h"
#include "frmOptions.h"
#include "sql/KORVOSQL.h"

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

void KORVOAllWindows::Compare(QWidget *parent, KORVODatabase &session, const QString &leftText,
    const QString &rightText, const QString &leftCaption, const QString &rightCaption)
{
    const auto &sql = session.Project() ? session.Project()->SQL() : nullptr;
    const bool postgreSQL = sql && sql->Kind().KindId() == ServerKind::Id::PostgreSQL;
    // Owned by the top window, so that it outlives the text window it was opened from.
    frmCompareText::Show(session, session.Ui(), parent ? parent->window() : nullptr, leftText, rightText, leftCaption,
        rightCaption, postgreSQL);
}

void KORVOAllWindows::Options(QWidget *parent, KORVODatabase &session)
{
    frmOptions::ShowOptions(session, parent ? parent->window() : nullptr);
}
