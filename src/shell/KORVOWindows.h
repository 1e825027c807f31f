#pragma once

#include "KORVOObjectCollection.h"

#include <QString>

class KORVOChildWindow;
class KORVODatabase;
class KORVOMainWindowServices;
class QWidget;

// The one place through which a window opens another window of a different
// library. The shell knows only this interface; the program (app/) implements it
// with the real windows, so that the window libraries need not know each other.
// A window that is not there answers with nothing.
class KORVOWindows
{
public:
    virtual ~KORVOWindows() = default;

    // Text window (commands 1 and 2): a new object from its expanded default
    // text, or an existing object. The child is shown by the main window.
    virtual KORVOChildWindow *NewObjectText(KORVOMainWindowServices &main, KORVODatabase &session,
                                            const KORVODBObjectPtr &object, const QString &text)
    {
        (void)main, (void)session, (void)object, (void)text;
        return nullptr;
    }
    virtual KORVOChildWindow *OpenObjectText(KORVOMainWindowServices &main, KORVODatabase &session,
                                             const KORVODBObjectPtr &object)
    {
        (void)main, (void)session, (void)object;
        return nullptr;
    }
    // Permissions editor (command 33).
    virtual KORVOChildWindow *OpenPermissions(KORVOMainWindowServices &main, KORVODatabase &session,
                                              const QString &tag, const QString &key, const KORVODBObjectPtr &object)
    {
        (void)main, (void)session, (void)tag, (void)key, (void)object;
        return nullptr;
    }
    // Query window (command 53).
    virtual KORVOChildWindow *OpenQuery(KORVOMainWindowServices &main, KORVODatabase &session)
    {
        (void)main, (void)session;
        return nullptr;
    }

    // Modal windows. Those that can change the database answer true when they did,
    // so that the caller refreshes the tree.
    virtual bool Synchronise(QWidget *parent, KORVODatabase &session)
    {
        (void)parent, (void)session;
        return false;
    }
    virtual bool Recompile(QWidget *parent, KORVODatabase &session)
    {
        (void)parent, (void)session;
        return false;
    }
    virtual bool ShowHistory(QWidget *parent, KORVODatabase &session, const KORVODBObjectPtr &object)
    {
        (void)parent, (void)session, (void)object;
        return false;
    }
    virtual void ScriptGenerator(QWidget *parent, KORVODatabase &session) { (void)parent, (void)session; }
    virtual void DocumentGenerator(QWidget *parent, KORVODatabase &session) { (void)parent, (void)session; }
    virtual void Options(QWidget *parent, KORVODatabase &session) { (void)parent, (void)session; }

    // Two texts side by side with their differences marked.
    virtual void Compare(QWidget *parent, KORVODatabase &session, const QString &leftText, const QString &rightText,
                         const QString &leftCaption, const QString &rightCaption)
    {
        (void)parent, (void)session, (void)leftText, (void)rightText, (void)leftCaption, (void)rightCaption;
    }
};
