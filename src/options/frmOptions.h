#pragma once

#include <QDialog>
#include <QList>
#include <QString>
#include <QStringList>

#include <functional>
#include <memory>

class HelpIntegration;
class KORVODBTItems;
class KORVODatabase;
class QButtonGroup;
class QCheckBox;
class QComboBox;
class QListWidget;
class QPushButton;
class QSpinBox;
class QStackedWidget;
class QTimer;
class QTreeWidget;
class QTreeWidgetItem;
class SQLTextEditor;

// The per-user settings and the default text each new object type starts
// with. Edits are held in the dialog until Apply or OK writes them all.
class frmOptions : public QDialog
{
    Q_OBJECT
public:
    // refreshStatusBar runs after every save so that the main window shows the
    // new settings; help empty: the manual beside the program.
    // types: the object types whose default texts are offered, as items with
    // Text and Tag; null: the session's editable types (which asks the server).
    frmOptions(KORVODatabase &session, QWidget *parent = nullptr, std::function<void()> refreshStatusBar = {},
        HelpIntegration *help = nullptr, std::shared_ptr<KORVODBTItems> types = nullptr);
    ~frmOptions() override;

    // Fills the dialog and shows it modally.
    static void ShowOptions(
        KORVODatabase &session, QWidget *parent = nullptr, std::function<void()> refreshStatusBar = {});

    // Writes every setting and default text; true when done.
    bool SaveOptions();
    bool IsDirty() const { return mDirty; }
    // The help topic of the page on view (24 with no page selected).
    int CurrentHelpTopic() const;
    // The default text held for the object type at the chooser's index.
    QString HeldDefaultText(int index) const;

    // Stored value <-> button index of the option groups.
    static int NewIndexToValue(int index) { return index < 0 ? 0 : index + 1; }
    static int NewValueToIndex(int value) { return value >= 1 && value <= 3 ? value - 1 : -1; }
    static int EditIndexToValue(int index);
    static int EditValueToIndex(int value);

protected:
    void keyPressEvent(QKeyEvent *e) override;
    bool eventFilter(QObject *watched, QEvent *e) override;

public Q_SLOTS:
    void reject() override;

private:
    void BuildPages();
    void LoadSettings();
    void SetDirty();
    void ShowPageOf(QTreeWidgetItem *node);
    void DefaultTypeChanged(int index);
    void CheckDefaultDirty();
    // The closing question; true when the dialog may close.
    bool MayClose();

    KORVODatabase &mSession;
    std::function<void()> mRefreshStatusBar;
    HelpIntegration *mHelp;

    QTreeWidget *mTree = nullptr;
    QStackedWidget *mFrames = nullptr;
    QSpinBox *mQueryRowLimit = nullptr;
    QCheckBox *mShowProjectBrowser = nullptr, *mMainToolbar = nullptr, *mShowDescription = nullptr,
              *mShowInName = nullptr, *mShowInProperty = nullptr, *mPromptDescription = nullptr,
              *mShowPermissionOnNew = nullptr, *mShowComment = nullptr, *mUseDefaultNew = nullptr,
              *mUseDefaultEdit = nullptr;
    QButtonGroup *mOptNew = nullptr, *mOptEdit = nullptr, *mOptPermission = nullptr, *mOptDBTPermission = nullptr,
                 *mOptEditorPermission = nullptr;
    QComboBox *mDefaultTypes = nullptr;
    SQLTextEditor *mDefaultText = nullptr;
    QListWidget *mTags = nullptr;
    QPushButton *mApply = nullptr;
    QTimer *mDefaultDirtyTimer = nullptr;

    QStringList mTypes;
    QStringList mTexts;
    int mOnView = -1;
    bool mDirty = false;
    bool mClosingByOK = false;
};
