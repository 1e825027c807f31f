#include "frmOptions.h"

#include "HelpIntegration.h"
#include "KORVODBTItem.h"
#include "KORVODatabase.h"
#include "SQLTextEditor.h"
#include "UiServices.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QDropEvent>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QListWidget>
#include <QMimeData>
#include <QPushButton>
#include <QRadioButton>
#include <QSpinBox>
#include <QStackedWidget>
#include <QTimer>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace
{

constexpr int KeyRole = Qt::UserRole;
constexpr int FrameRole = Qt::UserRole + 1;
constexpr int TopicRole = Qt::UserRole + 2;

struct Page {
    const char *caption;
    const char *key;
    const char *parent;
    const char *frame;
    int topic;
};

// The category tree in order; "Changes Made" opens the frame of its first child.
const Page Pages[] = {
    { "General", "GENERAL", "", "GENERAL", 25 },
    { "View", "VIEW", "", "VIEW", 26 },
    { "Default Text", "DEFAULTTEXT", "", "DEFAULTTEXT", 27 },
    { "Editor", "EDITOR", "", "EDITOR", 28 },
    { "Changes Made", "EDITOR:CHANGESMADE", "EDITOR", "EDITOR:CHANGESMADE:NEW", 29 },
    { "New Objects", "EDITOR:CHANGESMADE:NEW", "EDITOR:CHANGESMADE", "EDITOR:CHANGESMADE:NEW", 30 },
    { "Editing Objects", "EDITOR:CHANGESMADE:EDIT", "EDITOR:CHANGESMADE", "EDITOR:CHANGESMADE:EDIT", 31 },
    { "Object Permissions", "EDITOR:CHANGESMADE:PERMISSION", "EDITOR:CHANGESMADE", "EDITOR:CHANGESMADE:PERMISSION",
        32 },
    { "Permissions", "PERMISSIONS", "", "PERMISSIONS", 33 },
};

struct Tag {
    const char *text;
    const char *tag;
};

const Tag Tags[] = {
    { "<DATE> - Date Created (dd.mm.yyyy)", "<DATE>" },
    { "<TIME> - Date Created (hh:mm)", "<TIME>" },
    { "<DONEBYVSS> - Created By (VSS Username)", "<DONEBYVSS>" },
    { "<DONEBYSQL> - Created By (SQL Username)", "<DONEBYSQL>" },
    { "<TABLEWITHOWNER> - Complete Table Name (Triggers Only)", "<TABLEWITHOWNER>" },
    { "<TABLE> - Table Name (Triggers Only)", "<TABLE>" },
    { "<TABLEOWNER> - Table Owner Name (Triggers Only)", "<TABLEOWNER>" },
};

const int EditValues[] = { 1, 2, 4, 5 };

// The tag list: a drag carries the row's tag, not its shown text.
class TagList : public QListWidget
{
public:
    using QListWidget::QListWidget;

protected:
    QMimeData *mimeData(const QList<QListWidgetItem *> &items) const override
    {
        auto *data = new QMimeData;
        if (!items.isEmpty())
            data->setText(items.first()->data(KeyRole).toString());
        return data;
    }
};

QCheckBox *Check(QWidget *frame, QLayout *layout, const char *name, const QString &caption)
{
    auto *box = new QCheckBox(caption, frame);
    box->setObjectName(QLatin1String(name));
    layout->addWidget(box);
    return box;
}

QButtonGroup *Options(
    QWidget *frame, QLayout *layout, const char *name, const QString &label, const QStringList &captions)
{
    layout->addWidget(new QLabel(label, frame));
    auto *group = new QButtonGroup(frame);
    group->setObjectName(QLatin1String(name));
    for (int i = 0; i < captions.size(); ++i) {
        auto *button = new QRadioButton(captions[i], frame);
        button->setObjectName(QStringLiteral("%1_%2").arg(QLatin1String(name)).arg(i));
        group->addButton(button, i);
        layout->addWidget(button);
    }
    return group;
}

void SetGroup(QButtonGroup *group, int index)
{
    // All off first: an exclusive group cannot clear its last button.
    group->setExclusive(false);
    for (auto *button : group->buttons())
        button->setChecked(false);
    if (auto *button = group->button(index))
        button->setChecked(true);
    group->setExclusive(true);
}

} // namespace

int frmOptions::EditIndexToValue(int index)
{
    return index >= 0 && index < 4 ? EditValues[index] : 0;
}

int frmOptions::EditValueToIndex(int value)
{
    for (int i = 0; i < 4; ++i)
        if (EditValues[i] == value)
            return i;
    return -1;
}

frmOptions::frmOptions(KORVODatabase &session, QWidget *parent, std::function<void()> refreshStatusBar,
    HelpIntegration *help, std::shared_ptr<KORVODBTItems> types)
    : QDialog(parent)
    , mSession(session)
    , mRefreshStatusBar(std::move(refreshStatusBar))
    , mHelp(help)
{
    setObjectName(QStringLiteral("frmOptions"));
    setWindowTitle(tr("Options ..."));
    BuildPages();

    // Opening: the first page, the held texts, the settings, nothing dirty yet.
    mTree->setCurrentItem(mTree->topLevelItem(0));
    if (!types)
        types = mSession.AvailableEditableObjects();
    for (int i = 0; i < types->Count(); ++i) {
        const auto item = types->Item(i);
        mDefaultTypes->addItem(item->Text, item->Tag);
        mTypes.append(item->Tag);
        mTexts.append(mSession.GetDefaultText(item->Tag));
    }
    if (!mTypes.isEmpty()) {
        mOnView = 0;
        mDefaultText->SetText(mTexts.first());
    }
    mDefaultText->setModified(false);
    connect(mDefaultTypes, &QComboBox::currentIndexChanged, this, &frmOptions::DefaultTypeChanged);
    LoadSettings();
    mDirty = false;
    mApply->setEnabled(false);
    mDefaultDirtyTimer->start();
}

frmOptions::~frmOptions() = default;

void frmOptions::BuildPages()
{
    auto *main = new QVBoxLayout(this);
    auto *row = new QHBoxLayout;
    main->addLayout(row);

    mTree = new QTreeWidget(this);
    mTree->setObjectName(QStringLiteral("tvwCaterogies"));
    mTree->setHeaderHidden(true);
    mTree->setMaximumWidth(180);
    row->addWidget(mTree);
    mFrames = new QStackedWidget(this);
    row->addWidget(mFrames, 1);

    QHash<QString, QTreeWidgetItem *> nodes;
    for (const Page &page : Pages) {
        auto *parentNode = nodes.value(QLatin1String(page.parent));
        auto *node = parentNode ? new QTreeWidgetItem(parentNode) : new QTreeWidgetItem(mTree);
        node->setText(0, tr(page.caption));
        node->setData(0, KeyRole, QLatin1String(page.key));
        node->setData(0, FrameRole, QLatin1String(page.frame));
        node->setData(0, TopicRole, page.topic);
        nodes.insert(QLatin1String(page.key), node);
    }
    mTree->expandAll();

    auto frame = [this](const QString &key, const QString &caption) {
        auto *box = new QGroupBox(caption, mFrames);
        box->setObjectName(QStringLiteral("fraOptions_%1").arg(mFrames->count()));
        box->setProperty("key", key);
        mFrames->addWidget(box);
        return box;
    };

    auto *general = frame(QStringLiteral("GENERAL"), tr("General Settings ..."));
    auto *l = new QVBoxLayout(general);
    mShowProjectBrowser
        = Check(general, l, "chkShowProjectBrowser", tr("Show Project Browser when application starts"));
    auto *limitRow = new QHBoxLayout;
    limitRow->addWidget(new QLabel(tr("Rows shown of each result in the SQL Query window (0 for all):"), general));
    mQueryRowLimit = new QSpinBox(general);
    mQueryRowLimit->setObjectName(QStringLiteral("txtQueryRowLimit"));
    mQueryRowLimit->setRange(0, 100000000);
    mQueryRowLimit->setSingleStep(10000);
    mQueryRowLimit->setGroupSeparatorShown(true);
    limitRow->addWidget(mQueryRowLimit);
    limitRow->addStretch();
    l->addLayout(limitRow);
    l->addStretch();

    auto *view = frame(QStringLiteral("VIEW"), tr("View Settings ..."));
    l = new QVBoxLayout(view);
    mMainToolbar = Check(view, l, "chkMainToolbar", tr("Show the statusbar in Main project window"));
    mShowDescription
        = Check(view, l, "chkShowDescription", tr("Show the Description of the selected Object (at the bottom)"));
    l->addWidget(new QLabel(tr("Show the Owner Name of an Object ..."), view));
    l->addWidget(new QLabel(tr("In the Database Tree ..."), view));
    mShowInName = Check(view, l, "chkShowInName", tr("In the Objects' name"));
    mShowInProperty = Check(view, l, "chkShowInProperty", tr("In the Objects' property list"));
    l->addStretch();

    auto *texts = frame(QStringLiteral("DEFAULTTEXT"), tr("Default Texts ..."));
    l = new QVBoxLayout(texts);
    l->addWidget(new QLabel(tr("Select an Object Type:"), texts));
    mDefaultTypes = new QComboBox(texts);
    mDefaultTypes->setObjectName(QStringLiteral("cboDefaultText"));
    l->addWidget(mDefaultTypes);
    mDefaultText = new SQLTextEditor(mSession.Ui(), texts);
    mDefaultText->setObjectName(QStringLiteral("txtDefaultText"));
    mDefaultText->viewport()->setAcceptDrops(true);
    mDefaultText->viewport()->installEventFilter(this);
    mDefaultText->installEventFilter(this);
    l->addWidget(mDefaultText, 1);
    l->addWidget(new QLabel(tr("The following tags can be used:"), texts));
    mTags = new TagList(texts);
    mTags->setObjectName(QStringLiteral("lvwTags"));
    mTags->setDragEnabled(true);
    mTags->setDragDropMode(QAbstractItemView::DragOnly);
    for (const Tag &tag : Tags) {
        auto *item = new QListWidgetItem(QLatin1String(tag.text), mTags);
        item->setData(KeyRole, QLatin1String(tag.tag));
    }
    mTags->setMaximumHeight(130);
    l->addWidget(mTags);

    auto *editor = frame(QStringLiteral("EDITOR"), tr("Editor Settings ..."));
    l = new QVBoxLayout(editor);
    mPromptDescription
        = Check(editor, l, "chkPromptDescription", tr("Show Description prompt when a New Object is created"));
    mShowPermissionOnNew
        = Check(editor, l, "chkShowPermissionOnNew", tr("Show Object Permission window when a New Object is created"));
    mShowComment
        = Check(editor, l, "chkShowComment", tr("Always display Comment prompt when adding/check in an object"));
    l->addStretch();

    const QString note = tr("(i.e. do not display the \"Action to take ...\" prompt)");
    auto *changesNew = frame(QStringLiteral("EDITOR:CHANGESMADE:NEW"), tr("Changes Made: New Object ..."));
    l = new QVBoxLayout(changesNew);
    mOptNew = Options(changesNew, l, "optNew", tr("When a New Object has unsaved changed, the default should be:"),
        { tr("Check In"), tr("Save Text"), tr("Discard Changes") });
    mUseDefaultNew = Check(changesNew, l, "chkUseDefaultNew", tr("Always use this as the default"));
    l->addWidget(new QLabel(note, changesNew));
    l->addStretch();

    auto *changesEdit = frame(QStringLiteral("EDITOR:CHANGESMADE:EDIT"), tr("Changes Made: Editing an Object ..."));
    l = new QVBoxLayout(changesEdit);
    mOptEdit = Options(changesEdit, l, "optEdit", tr("When an Object has unsaved changes, the default should be:"),
        { tr("Check In"), tr("Save Text"), tr("Undo Check Out"), tr("Keep Checked Out and Discard Changes") });
    mUseDefaultEdit = Check(changesEdit, l, "chkUseDefaultEdit", tr("Always use this as the default"));
    l->addWidget(new QLabel(note, changesEdit));
    l->addStretch();

    auto *changesPermission
        = frame(QStringLiteral("EDITOR:CHANGESMADE:PERMISSION"), tr("Changes Made: Editing an Object Permissions ..."));
    l = new QVBoxLayout(changesPermission);
    mOptPermission = Options(changesPermission, l, "optPermission",
        tr("When an Object has unsaved changes, the default should be:"),
        { tr("Always Prompt me that there are unsaved changes"), tr("Always Discard the changes made"),
            tr("Always Save the changes made") });
    l->addStretch();

    auto *permissions = frame(QStringLiteral("PERMISSIONS"), tr("Permission Settings ..."));
    l = new QVBoxLayout(permissions);
    const QStringList who = { tr("Show both Roles and Users"), tr("Only show Roles"), tr("Only show Users") };
    mOptDBTPermission = Options(permissions, l, "optDBTPermission", tr("In the Database Tree show:"), who);
    mOptEditorPermission = Options(permissions, l, "optEditorPermission", tr("In the Permission Editor:"), who);
    l->addStretch();

    auto *buttons = new QHBoxLayout;
    buttons->addStretch();
    auto *ok = new QPushButton(tr("OK"), this);
    ok->setObjectName(QStringLiteral("cmdOK"));
    ok->setDefault(true);
    auto *cancel = new QPushButton(tr("Cancel"), this);
    cancel->setObjectName(QStringLiteral("cmdCancel"));
    mApply = new QPushButton(tr("Apply"), this);
    mApply->setObjectName(QStringLiteral("cmdApply"));
    buttons->addWidget(ok);
    buttons->addWidget(cancel);
    buttons->addWidget(mApply);
    main->addLayout(buttons);

    connect(ok, &QPushButton::clicked, this, [this] {
        if (SaveOptions())
            accept();
    });
    connect(cancel, &QPushButton::clicked, this, &frmOptions::reject);
    connect(mApply, &QPushButton::clicked, this, &frmOptions::SaveOptions);
    connect(mTree, &QTreeWidget::currentItemChanged, this, [this](QTreeWidgetItem *node) { ShowPageOf(node); });

    for (auto *box : findChildren<QCheckBox *>())
        connect(box, &QCheckBox::clicked, this, &frmOptions::SetDirty);
    connect(mQueryRowLimit, &QSpinBox::valueChanged, this, &frmOptions::SetDirty);
    for (auto *group : { mOptNew, mOptEdit, mOptPermission, mOptDBTPermission, mOptEditorPermission })
        connect(group, &QButtonGroup::buttonClicked, this, &frmOptions::SetDirty);

    mDefaultDirtyTimer = new QTimer(this);
    mDefaultDirtyTimer->setObjectName(QStringLiteral("tmrDefaultDirty"));
    mDefaultDirtyTimer->setInterval(250);
    connect(mDefaultDirtyTimer, &QTimer::timeout, this, &frmOptions::CheckDefaultDirty);
    resize(720, 480);
}

void frmOptions::LoadSettings()
{
    mShowProjectBrowser->setChecked(!mSession.OpenMostRecent());
    mQueryRowLimit->setValue(mSession.QueryRowLimit());
    mMainToolbar->setChecked(mSession.ShowMainStatusBar());
    mShowDescription->setChecked(mSession.ShowDescriptionInDBT());
    mShowInName->setChecked(mSession.ShowOwnerNameInName());
    mShowInProperty->setChecked(mSession.ShowOwnerNameInProp());
    mPromptDescription->setChecked(mSession.ShowDescriptionPrompt());
    mShowPermissionOnNew->setChecked(mSession.ShowPermissionsOnNewObjectCreate());
    mShowComment->setChecked(mSession.ShowCommentPrompt());
    mUseDefaultNew->setChecked(!mSession.ShowSaveChangesNew());
    mUseDefaultEdit->setChecked(!mSession.ShowSaveChangesEdit());
    SetGroup(mOptNew, NewValueToIndex(mSession.SaveChangesNewDefault()));
    SetGroup(mOptEdit, EditValueToIndex(mSession.SaveChangesEditDefault()));
    SetGroup(mOptPermission, mSession.ShowSaveChangesPermission());
    SetGroup(mOptDBTPermission, mSession.ShowPermissionsInDBT());
    SetGroup(mOptEditorPermission, mSession.ShowPermissionsInEditor());
}

void frmOptions::ShowOptions(KORVODatabase &session, QWidget *parent, std::function<void()> refreshStatusBar)
{
    frmOptions dialog(session, parent, std::move(refreshStatusBar));
    dialog.exec();
}

void frmOptions::SetDirty()
{
    mDirty = true;
    mApply->setEnabled(true);
}

void frmOptions::CheckDefaultDirty()
{
    if (!mDirty && mDefaultText->IsModified())
        SetDirty();
}

void frmOptions::ShowPageOf(QTreeWidgetItem *node)
{
    if (!node)
        return;
    const QString frame = node->data(0, FrameRole).toString();
    for (int i = 0; i < mFrames->count(); ++i)
        if (mFrames->widget(i)->property("key").toString() == frame)
            mFrames->setCurrentIndex(i);
}

void frmOptions::DefaultTypeChanged(int index)
{
    // Only the editor's text for the type on view moves; the others stay held.
    const bool modified = mDefaultText->IsModified();
    if (mOnView >= 0 && mOnView < mTexts.size())
        mTexts[mOnView] = mDefaultText->Text();
    mOnView = index;
    mDefaultText->SetText(index >= 0 && index < mTexts.size() ? mTexts[index] : QString());
    mDefaultText->setModified(modified);
}

QString frmOptions::HeldDefaultText(int index) const
{
    if (index == mOnView)
        return mDefaultText->Text();
    return index >= 0 && index < mTexts.size() ? mTexts[index] : QString();
}

bool frmOptions::SaveOptions()
{
    if (mOnView >= 0 && mOnView < mTexts.size() && mDefaultText->Text() != mTexts[mOnView])
        mTexts[mOnView] = mDefaultText->Text();
    // All texts or none, and nothing else saved when they fail: the dialog stays
    // open with the user's texts.
    QString why;
    if (!mSession.SetDefaultTexts(mTypes, mTexts, &why)) {
        mSession.Ui().critical(tr("Options not Saved"),
            tr("The default texts could not be saved: %1.\n\nNo option was changed; the dialog keeps your changes.")
                .arg(why));
        return false;
    }

    mSession.SetShowMainStatusBar(mMainToolbar->isChecked());
    mSession.SetShowDescriptionPrompt(mPromptDescription->isChecked());
    mSession.SetShowPermissionsOnNewObjectCreate(mShowPermissionOnNew->isChecked());
    mSession.SetShowCommentPrompt(mShowComment->isChecked());
    mSession.SetShowDescriptionInDBT(mShowDescription->isChecked());
    mSession.SetShowOwnerNameInName(mShowInName->isChecked());
    mSession.SetShowOwnerNameInProp(mShowInProperty->isChecked());
    mSession.SetOpenMostRecent(!mShowProjectBrowser->isChecked());
    mSession.SetQueryRowLimit(mQueryRowLimit->value());
    mSession.SetShowSaveChangesEdit(!mUseDefaultEdit->isChecked());
    mSession.SetShowSaveChangesNew(!mUseDefaultNew->isChecked());
    mSession.SetShowSaveChangesPermission(mOptPermission->checkedId());
    mSession.SetShowPermissionsInDBT(mOptDBTPermission->checkedId());
    mSession.SetShowPermissionsInEditor(mOptEditorPermission->checkedId());
    mSession.SetSaveChangesNewDefault(NewIndexToValue(mOptNew->checkedId()));
    mSession.SetSaveChangesEditDefault(EditIndexToValue(mOptEdit->checkedId()));

    if (mRefreshStatusBar)
        mRefreshStatusBar();
    mDefaultText->setModified(false);
    mDirty = false;
    mApply->setEnabled(false);
    return true;
}

bool frmOptions::MayClose()
{
    if (!mDirty)
        return true;
    switch (mSession.Ui().messageBox(UiServices::Icon::Question, tr("Save changes made?"),
        tr("Would you like to save the changes made?"), UiServices::Buttons::YesNoCancel)) {
    case UiServices::Answer::Yes:
        return SaveOptions();
    case UiServices::Answer::No:
        return true;
    default:
        return false;
    }
}

void frmOptions::reject()
{
    if (MayClose())
        QDialog::reject();
}

int frmOptions::CurrentHelpTopic() const
{
    const auto *node = mTree->currentItem();
    return node ? node->data(0, TopicRole).toInt() : 24;
}

void frmOptions::keyPressEvent(QKeyEvent *e)
{
    if (e->key() == Qt::Key_F1) {
        if (mHelp)
            mHelp->ShowHelp(this, CurrentHelpTopic());
        else
            HelpIntegration(mSession.Ui()).ShowHelp(this, CurrentHelpTopic());
        return;
    }
    QDialog::keyPressEvent(e);
}

bool frmOptions::eventFilter(QObject *watched, QEvent *e)
{
    if (watched == mDefaultText && e->type() == QEvent::KeyPress && static_cast<QKeyEvent *>(e)->key() == Qt::Key_F1) {
        keyPressEvent(static_cast<QKeyEvent *>(e));
        return true;
    }
    if (watched == mDefaultText && e->type() == QEvent::KeyPress) {
        // The editor binds redo to Ctrl+Y only; Ctrl+Shift+Z is the other common key.
        auto *key = static_cast<QKeyEvent *>(e);
        if (key->key() == Qt::Key_Z && key->modifiers() == (Qt::ControlModifier | Qt::ShiftModifier)) {
            mDefaultText->Redo();
            return true;
        }
    }
    if ((watched == mDefaultText || watched == mDefaultText->viewport()) && e->type() == QEvent::Drop) {
        // A tag dropped from the list goes in where it was dropped.
        auto *drop = static_cast<QDropEvent *>(e);
        if (!drop->mimeData()->hasText() || mDefaultText->Locked())
            return false;
        QPoint p = drop->position().toPoint();
        if (watched == mDefaultText)
            p = mDefaultText->viewport()->mapFrom(mDefaultText, p);
        const long pos = mDefaultText->SendScintilla(QsciScintillaBase::SCI_POSITIONFROMPOINT, p.x(), p.y());
        const QByteArray text = drop->mimeData()->text().toUtf8();
        mDefaultText->SendScintilla(
            QsciScintillaBase::SCI_INSERTTEXT, static_cast<unsigned long>(pos), text.constData());
        mDefaultText->SendScintilla(QsciScintillaBase::SCI_GOTOPOS, static_cast<unsigned long>(pos + text.size()));
        drop->acceptProposedAction();
        return true;
    }
    return QDialog::eventFilter(watched, e);
}
