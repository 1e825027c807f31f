#pragma once

#include "KORVOWindows.h"

// The real windows behind the shell's window-opener interface. Each window
// library adds its opener here.
class KORVOAllWindows : public KORVOWindows
{
public:
    // Text window and comparison window (korvo_editor).
    KORVOChildWindow *NewObjectText(KORVOMainWindowServices &main, KORVODatabase &session,
        const KORVODBObjectPtr &object, const QString &text) override;
    KORVOChildWindow *OpenObjectText(
        KORVOMainWindowServices &main, KORVODatabase &session, const KORVODBObjectPtr &object) override;
    void Compare(QWidget *parent, KORVODatabase &session, const QString &leftText, const QString &rightText,
        const QString &leftCaption, const QString &rightCaption) override;
    // Options dialog (korvo_options).
    void Options(QWidget *parent, KORVODatabase &session) override;
};
