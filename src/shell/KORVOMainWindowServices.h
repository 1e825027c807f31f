#pragma once

#include "KORVOObjectCollection.h"

#include <QString>

class KORVOWindows;
class QWidget;

// What child windows and dialogs ask of the main window. mdiMain implements it;
// children get it when they are created, so they never name the main window's
// class.
class KORVOMainWindowServices
{
public:
    virtual ~KORVOMainWindowServices() = default;

    // A child's key events go through the main window's key table first. A hit
    // runs the command and sets keyCode to 0.
    virtual void KeyPreview(bool isKeyDown, int &keyCode, int shift, long helpContext) = 0;
    // After a change of an object's state, so that the tree follows.
    virtual void RefreshItem(const QString &tag, const QString &key, bool refreshParent) = 0;
    // Every child re-reads its caption (after a rename or a change of settings).
    virtual void RefreshForms() = 0;
    virtual void EditPermissions(const QString &tag, const QString &key, const KORVODBObjectPtr &object) = 0;
    // Shows the given widget as a child window in the multiple-document area.
    virtual void AddChild(QWidget *child) = 0;
    // Opens the windows of other libraries (history, comparison, ...).
    virtual KORVOWindows &Windows() = 0;
};
