#include "frmItemHistory.h"

#include "KORVODatabase.h"
#include "KORVOIconImages.h"
#include "KORVOWindows.h"
#include "driver/SqlError.h"
#include "sql/KORVOSQL.h"
#include "ui/UiServices.h"

#include <QAction>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QToolBar>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace
{
constexpr int kIndexRole = Qt::UserRole;
}

frmItemHistory::frmItemHistory(KORVODatabase &database, KORVOWindows &windows, QWidget *parent)
    : QDialog(parent)
    , mDatabase(database)
    , mWindows(windows)
{
    setObjectName(QStringLiteral("frmItemHistory"));
    setWindowTitle(QStringLiteral("History"));
    resize(640, 400);

    ebcHistory = new QToolBar(this);
    ebcHistory->setObjectName(QStringLiteral("ebcHistory"));
    ebcHistory->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    ebcHistory->setWindowTitle(QStringLiteral("Tools"));
    auto tool = [this](const QString &key, const QString &caption, const QString &tip) {
        QAction *a = ebcHistory->addAction(KORVOIconImage(key), caption);
        a->setObjectName(key);
        a->setToolTip(tip);
        return a;
    };
    mLabel = tool(QStringLiteral("LABEL"), QString(), QString());
    mRollback
        = tool(QStringLiteral("ROLLBACK"), QStringLiteral("Rollback"), QStringLiteral("Rollback to selected object"));
    mCompare = ebcHistory->addAction(KORVOIconImage(QStringLiteral("DIFFERENCE")), QStringLiteral("Compare"));
    mCompare->setObjectName(QStringLiteral("COMPARE"));
    mCompare->setToolTip(QStringLiteral("Compare the two selected versions"));
    mClose = tool(QStringLiteral("CLOSE"), QStringLiteral("Close"), QStringLiteral("Close history window"));
    connect(mLabel, &QAction::triggered, this, &frmItemHistory::ToggleLabels);
    connect(mRollback, &QAction::triggered, this, &frmItemHistory::Rollback);
    connect(mCompare, &QAction::triggered, this, &frmItemHistory::CompareVersions);
    connect(mClose, &QAction::triggered, this, &QDialog::accept);

    lvwHistory = new QTreeWidget(this);
    lvwHistory->setObjectName(QStringLiteral("lvwHistory"));
    lvwHistory->setRootIsDecorated(false);
    lvwHistory->setSelectionMode(QAbstractItemView::ExtendedSelection);
    lvwHistory->setHeaderLabels({ QStringLiteral("Version"), QStringLiteral("User"), QStringLiteral("Action"),
        QStringLiteral("Date"), QStringLiteral("Comment") });
    connect(lvwHistory, &QTreeWidget::itemSelectionChanged, this, &frmItemHistory::SelectionChanged);
    connect(lvwHistory, &QTreeWidget::currentItemChanged, this, &frmItemHistory::SelectionChanged);

    auto *band = new QWidget(this);
    band->setObjectName(QStringLiteral("Comment"));
    lblComment = new QLabel(QStringLiteral("Comment"), band);
    lblComment->setObjectName(QStringLiteral("lblComment"));
    CommentText = new QLineEdit(band);
    CommentText->setObjectName(QStringLiteral("CommentText"));
    CommentText->setReadOnly(true);
    auto *bandLayout = new QVBoxLayout(band);
    bandLayout->setContentsMargins(4, 0, 4, 4);
    bandLayout->addWidget(lblComment);
    bandLayout->addWidget(CommentText);

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(ebcHistory);
    layout->addWidget(lvwHistory, 1);
    layout->addWidget(band);
}

bool frmItemHistory::ShowHistory(const KORVOTypedObjectPtr &object)
{
    SetObject(object);
    exec();
    mItem.reset(); // held only while open
    return mRolledBack;
}

void frmItemHistory::SetObject(const KORVOTypedObjectPtr &object)
{
    mItem = object;
    setWindowTitle(QStringLiteral("History of ") + object->Generic().Caption(false) + QStringLiteral(" (") + object->ObjectDisplayName()
        + QLatin1Char(')'));
    LoadHistory();
}

void frmItemHistory::LoadHistory()
{
    WaitCursor wait(mDatabase.Ui());
    mLabel->setText(
        (mShowLabels ? QStringLiteral("Hide") : QStringLiteral("Show")) + QStringLiteral(" labeled versions"));
    lvwHistory->clear();
    mHistory = mItem ? mItem->History() : QList<KORVOHistoryData>();
    QList<QTreeWidgetItem *> rows;
    for (int i = 0; i < mHistory.size(); ++i) {
        const KORVOHistoryData &h = mHistory[i];
        if (h.IsLabel && !mShowLabels)
            continue;
        auto *row = new QTreeWidgetItem({ h.IsLabel ? QString() : QString::number(h.VersionNumber), h.UserName,
            h.Action, h.VersionDate, h.Comment });
        if (h.IsLabel)
            row->setIcon(0, KORVOIconImage(QStringLiteral("LABEL")));
        row->setData(0, kIndexRole, i);
        rows.append(row);
    }
    lvwHistory->addTopLevelItems(rows);
    for (int c = 0; c < 4; ++c)
        lvwHistory->resizeColumnToContents(c);
    SelectionChanged();
}

void frmItemHistory::ToggleLabels()
{
    mShowLabels = !mShowLabels;
    LoadHistory();
}

QTreeWidgetItem *frmItemHistory::SelectedRow() const
{
    QTreeWidgetItem *row = lvwHistory->currentItem();
    if (row && row->isSelected())
        return row;
    const QList<QTreeWidgetItem *> selected = lvwHistory->selectedItems();
    return selected.isEmpty() ? nullptr : selected.first();
}

const KORVOHistoryData *frmItemHistory::SelectedData() const
{
    const QTreeWidgetItem *row = SelectedRow();
    return row ? &mHistory[row->data(0, kIndexRole).toInt()] : nullptr;
}

void frmItemHistory::SelectionChanged()
{
    const KORVOHistoryData *h = SelectedData();
    QTreeWidgetItem *row = SelectedRow();
    lblComment->setText(h && h->IsLabel ? QStringLiteral("Label Comment") : QStringLiteral("Comment"));
    CommentText->setText(h ? (h->IsLabel ? h->LabelComment : h->Comment) : QString());
    // The first row shown is the current version, whether labels are shown or not.
    mRollback->setEnabled(h && !h->IsLabel && lvwHistory->indexOfTopLevelItem(row) > 0);
    int versions = 0;
    for (const QTreeWidgetItem *r : lvwHistory->selectedItems())
        versions += mHistory[r->data(0, kIndexRole).toInt()].IsLabel ? 0 : 1;
    mCompare->setEnabled(versions == 2);
}

void frmItemHistory::Rollback()
{
    UiServices &ui = mDatabase.Ui();
    const KORVOHistoryData *h = SelectedData();
    if (!mItem || lvwHistory->topLevelItemCount() == 0 || !h)
        return;
    if (lvwHistory->indexOfTopLevelItem(SelectedRow()) == 0) {
        ui.messageBox(UiServices::Icon::Information, QStringLiteral("Cannot Rollback"),
            QStringLiteral("Cannot Rollback to the current version!"));
        return;
    }
    if (h->IsLabel)
        return;
    const long version = h->VersionNumber;
    if (ui.messageBox(UiServices::Icon::Question, QStringLiteral("Are you sure?"),
            QStringLiteral("Are you sure that you would like to Rollback to Version %1?").arg(version),
            UiServices::Buttons::YesNo)
        != UiServices::Answer::Yes)
        return;
    bool done = false;
    {
        WaitCursor wait(ui);
        try {
            done = mItem->Rollback(version, false);
        } catch (const SqlError &e) {
            // The ALTER of a same-name rollback failed: nothing has changed.
            ui.messageBox(UiServices::Icon::Critical, QStringLiteral("Could not Rollback Item"),
                KORVOSQL::FormatSQLError(e.Description));
        }
        if (done) {
            mRolledBack = true;
            LoadHistory();
        }
    }
    if (done)
        ui.messageBox(UiServices::Icon::Information, QStringLiteral("Rollback Successful"),
            QStringLiteral("Rollback was successful!"));
}

void frmItemHistory::CompareVersions()
{
    QList<const KORVOHistoryData *> chosen;
    for (const QTreeWidgetItem *r : lvwHistory->selectedItems()) {
        const KORVOHistoryData &h = mHistory[r->data(0, kIndexRole).toInt()];
        if (!h.IsLabel)
            chosen.append(&h);
    }
    if (!mItem || chosen.size() != 2)
        return;
    std::sort(chosen.begin(), chosen.end(),
        [](const KORVOHistoryData *a, const KORVOHistoryData *b) { return a->VersionNumber < b->VersionNumber; });
    QString texts[2];
    {
        WaitCursor wait(mDatabase.Ui());
        for (int i = 0; i < 2; ++i)
            texts[i] = mItem->GetContent(1, chosen[i]->VersionNumber);
    }
    mWindows.Compare(this, mDatabase, texts[0], texts[1], QStringLiteral("Version %1").arg(chosen[0]->VersionNumber),
        QStringLiteral("Version %1").arg(chosen[1]->VersionNumber));
}
