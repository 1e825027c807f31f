#pragma once

#include "KORVOObjectCollection.h"

#include <QString>
#include <QMdiSubWindow>
#include <QVariant>
#include <QWidget>

// What the main window asks of every child window (text editor, permissions
// editor, query window). The main window polls the Can... members on every tick
// of its timer, so they only read fields the child keeps up to date itself; the
// operations are called only when the matching Can... answered true.
//
// A child is a QWidget (shown inside a QMdiSubWindow) that implements this
// interface and carries the dynamic property "ALLOWEDIT" (see MarkAsChild).
class KORVOChildWindow
{
public:
    virtual ~KORVOChildWindow() = default;

    // The widget shown in the multiple-document area.
    virtual QWidget *Widget() = 0;

    // 1 text editor, 2 permissions editor, 3 query window.
    virtual long FormType() const = 0;
    virtual QString ObjectKey() const = 0;
    virtual QString ObjectTag() const = 0;
    // Image number of the window's icon, counted from 1.
    virtual long CurrentIcon() const = 0;
    virtual KORVODBObjectPtr CurrentObject() const = 0;

    virtual bool CanPermissions() const = 0;
    virtual bool CanDescription() const = 0;
    virtual bool CanOpenFile() const = 0;
    virtual QString OpenFileText() const = 0;
    virtual bool CanSaveFile() const = 0;
    virtual QString SaveFileText() const = 0;
    virtual bool CanCut() const = 0;
    virtual bool CanCopy() const = 0;
    virtual bool CanPaste() const = 0;
    virtual bool CanFind() const = 0;
    virtual bool CanReplace() const = 0;
    virtual bool CanUndo() const = 0;
    virtual bool CanRedo() const = 0;
    virtual bool CanTestSQL() const = 0;
    virtual bool CanGetLatest() const = 0;
    virtual bool CanCheckIn() const = 0;
    virtual bool CanCheckOut() const = 0;
    virtual bool CanUndoCheckOut() const = 0;
    virtual bool CanShowHistory() const = 0;

    // The child's own question before the main window closes: false keeps
    // every window open. Asked of all children before any of them closes.
    virtual bool QueryClose() { return true; }
    virtual void RefreshCaption() = 0;
    // Closes the child; with force no question is asked. False when the child
    // refused to close.
    virtual bool CloseItem(bool force) = 0;

    // Operations a child needs only where its Can... member can be true.
    virtual void OpenText() {}
    virtual void SaveText() {}
    virtual void TestItem() {}
    virtual void GetLatestVersion() {}
    virtual void CheckOut() {}
    virtual void CheckIn() {}
    virtual void ShowHistory() {}
    virtual void UndoCheckout() {}
    virtual void ChangeDescription() {}
    virtual void Undo() {}
    virtual void Redo() {}
    virtual void CopyText() {}
    virtual void CutText() {}
    virtual void PasteText() {}
    virtual void Find(bool next, bool previous) { (void)next, (void)previous; }
    virtual void FindNext() {}
    virtual void FindPrevious() {}
    virtual void Replace() {}
    virtual void SetFocusOfChild() {}
};

// The marker that makes a window a child for the main window.
inline constexpr const char *kChildMarker = "ALLOWEDIT";
inline constexpr const char *kChildInterface = "KORVOChildWindow";

// Sets the marker on the child's widget and lets the main window find the
// interface from the widget. A child drops the marker with ClearChildMarker
// once it has really closed.
inline void MarkAsChild(KORVOChildWindow &child)
{
    child.Widget()->setProperty(kChildMarker, true);
    child.Widget()->setProperty(kChildInterface, QVariant::fromValue(static_cast<void *>(&child)));
}
inline void ClearChildMarker(QWidget *widget)
{
    widget->setProperty(kChildMarker, QVariant());
}
// The child behind a widget that carries the marker, or nothing.
inline KORVOChildWindow *AsChildWindow(const QWidget *widget)
{
    if (!widget || !widget->property(kChildMarker).toBool())
        return nullptr;
    return static_cast<KORVOChildWindow *>(widget->property(kChildInterface).value<void *>());
}

// The window that frames a child: its sub-window in the multiple-document area,
// or the child itself when it is shown on its own (as in tests).
inline QWidget *ChildFrame(QWidget *child)
{
    if (auto *sub = qobject_cast<QMdiSubWindow *>(child->parentWidget()))
        return sub;
    return child;
}
