#pragma once

#include "KORVOWindows.h"
#include "UiServices.h"

class HelpIntegration;

// The real windows behind the shell's window-opener interface. Each window
// library adds its opener here.
class KORVOAllWindows : public KORVOWindows
{
public:
    // The program's one help object, for F1 in the windows; may be null.
    explicit KORVOAllWindows(HelpIntegration *help = nullptr)
        : mHelp(help)
    {
    }

    // Text window and comparison window (korvo_editor).
    KORVOChildWindow *NewObjectText(KORVOMainWindowServices &main, KORVODatabase &session,
        const KORVODBObjectPtr &object, const QString &text) override;
    KORVOChildWindow *OpenObjectText(
        KORVOMainWindowServices &main, KORVODatabase &session, const KORVODBObjectPtr &object) override;
    // Query window (korvo_query).
    KORVOChildWindow *OpenQuery(KORVOMainWindowServices &main, KORVODatabase &session) override;
    void Compare(QWidget *parent, KORVODatabase &session, const QString &leftText, const QString &rightText,
        const QString &leftCaption, const QString &rightCaption) override;
    // Asked before a check-in over a server text changed since the check-out.
    static UiServices::ServerTextChoice ChooseServerText(KORVODatabase &session, const QString &title,
        const QString &text, const QString &serverText, const QString &myText);
    // Documentation generator (korvo_docgen).
    void DocumentGenerator(QWidget *parent, KORVODatabase &session) override;

    // Permission editor (korvo_permissions_window).
    KORVOChildWindow *OpenPermissions(KORVOMainWindowServices &main, KORVODatabase &session, const QString &tag,
        const QString &key, const KORVODBObjectPtr &object) override;

    // History and recompile windows (korvo_history).
    bool ShowHistory(QWidget *parent, KORVODatabase &session, const KORVODBObjectPtr &object) override;
    bool Recompile(QWidget *parent, KORVODatabase &session) override;

    // Synchronisation (korvo_sync).
    bool Synchronise(QWidget *parent, KORVODatabase &session) override;

    // Script generator (korvo_scriptgen).
    void ScriptGenerator(QWidget *parent, KORVODatabase &session) override;

    // Options dialog (korvo_options).
    void Options(QWidget *parent, KORVODatabase &session) override;

private:
    HelpIntegration *mHelp;
};
