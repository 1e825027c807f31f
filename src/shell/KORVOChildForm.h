#pragma once

#include "KORVOChildWindow.h"

#include <QWidget>

class KORVODatabase;
class KORVOMainWindowServices;
class UiServices;

// The widget of a child window: marks itself as a child, keeps its frame's
// size and state in the settings (one size, in twips, for all child windows)
// and closes only when ConfirmClose agrees or the close is forced.
class KORVOChildForm : public QWidget, public KORVOChildWindow
{
    Q_OBJECT
public:
    KORVOChildForm(KORVOMainWindowServices &main, KORVODatabase &database, QWidget *parent);

    QWidget *Widget() final { return this; }
    // Source control and the object's properties are offered only by the
    // windows that show a versioned object.
    bool CanPermissions() const override { return false; }
    bool CanDescription() const override { return false; }
    bool CanTestSQL() const override { return false; }
    bool CanGetLatest() const override { return false; }
    bool CanCheckIn() const override { return false; }
    bool CanCheckOut() const override { return false; }
    bool CanUndoCheckOut() const override { return false; }
    bool CanShowHistory() const override { return false; }
    bool QueryClose() override { return ConfirmClose(); }
    // Whether the window may close; asks what to do with its changes.
    virtual bool ConfirmClose() = 0;

    // The text of a status panel, by its object name.
    QString PanelText(const QString &panel) const;

protected:
    // Closes the frame, asking first unless forced; false when the user kept it.
    bool CloseChild(bool force);
    // Sizes the frame from the settings; maximises it when the last child was.
    void ApplyChildSize();
    // Keeps the frame's state, and its size in normal state, in the settings.
    void StoreChildSize();
    QWidget *Frame() { return ChildFrame(this); }
    UiServices &Ui() const;
    // Once, when the window is first shown in its frame.
    virtual void FirstShown() {}

    void closeEvent(QCloseEvent *e) override;
    void resizeEvent(QResizeEvent *e) override;
    void showEvent(QShowEvent *e) override;

    KORVOMainWindowServices &mMain;
    KORVODatabase &mDatabase;
    // Sizes are stored only once the window is shown and loaded.
    bool mLoading = true;
    bool mClosing = false;

private:
    bool mSizeApplied = false;
};
