#include "frmSyncResults.h"

#include "HelpIntegration.h"
#include "KORVODatabase.h"
#include "KORVOIconImages.h"
#include "KORVOSyncResultsModel.h"
#include "KORVOTypedObject.h"
#include "KORVOWindows.h"
#include "UiServices.h"
#include "sql/KORVOSQL.h"
#include "vss/KORVOVSS.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QMouseEvent>
#include <QPainter>
#include <QProgressBar>
#include <QPushButton>
#include <QStyledItemDelegate>
#include <QTableView>
#include <QVBoxLayout>

#include <cmath>

namespace
{
constexpr int HelpTopic = 50;
constexpr int RowHeight = 20;

// The action cell: the row's picture over the whole cell, so that the brackets
// of neighbouring rows join into one.
class ActionDelegate : public QStyledItemDelegate
{
public:
    using QStyledItemDelegate::QStyledItemDelegate;
    void paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const override
    {
        const QString key = index.data(KORVOSyncResultsModel::ImageKeyRole).toString();
        painter->fillRect(option.rect, option.palette.base());
        KORVOIconImage(key).paint(painter, option.rect);
    }
};
} // namespace

frmSyncResults::frmSyncResults(KORVOWindows &windows, HelpIntegration *help, QWidget *parent)
    : QDialog(parent)
    , mWindows(windows)
    , mHelp(help)
    , mModel(new KORVOSyncResultsModel(this))
{
    setObjectName(QStringLiteral("frmSyncResults"));
    setWindowTitle(QStringLiteral("Synchronization Results ..."));
    setModal(true);
    resize(820, 480);

    auto *layout = new QVBoxLayout(this);
    auto *buttons = new QHBoxLayout;
    cmdInSQL = new QPushButton(QStringLiteral("< Make all changes in SQL"), this);
    cmdInSQL->setObjectName(QStringLiteral("cmdInSQL"));
    cmdInVSS = new QPushButton(QStringLiteral("Make all changes in VSS >"), this);
    cmdInVSS->setObjectName(QStringLiteral("cmdInVSS"));
    buttons->addWidget(cmdInSQL);
    buttons->addStretch();
    buttons->addWidget(cmdInVSS);
    layout->addLayout(buttons);

    grd = new QTableView(this);
    grd->setObjectName(QStringLiteral("grd"));
    grd->setModel(mModel);
    grd->setItemDelegateForColumn(KORVOSyncResultsModel::ColButton, new ActionDelegate(grd));
    grd->verticalHeader()->hide();
    grd->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    grd->verticalHeader()->setDefaultSectionSize(RowHeight);
    grd->setShowGrid(false);
    grd->setSelectionMode(QAbstractItemView::NoSelection);
    grd->setEditTriggers(QAbstractItemView::NoEditTriggers);
    grd->setWordWrap(false);
    QHeaderView *header = grd->horizontalHeader();
    header->setSectionResizeMode(QHeaderView::Interactive);
    header->resizeSection(KORVOSyncResultsModel::ColSQL, 250);
    header->resizeSection(KORVOSyncResultsModel::ColSQLType, 120);
    header->resizeSection(KORVOSyncResultsModel::ColVSS, 250);
    header->resizeSection(KORVOSyncResultsModel::ColVSSType, 120);
    // The action column keeps its width.
    header->setSectionResizeMode(KORVOSyncResultsModel::ColButton, QHeaderView::Fixed);
    header->resizeSection(KORVOSyncResultsModel::ColButton, 44);
    grd->viewport()->installEventFilter(this);
    layout->addWidget(grd);

    pbrSync = new QProgressBar(this);
    pbrSync->setObjectName(QStringLiteral("pbrSync"));
    pbrSync->setTextVisible(true);
    pbrSync->hide();
    layout->addWidget(pbrSync);

    auto *bottom = new QHBoxLayout;
    cmdApply = new QPushButton(QStringLiteral("Apply the specified Changes"), this);
    cmdApply->setObjectName(QStringLiteral("cmdApply"));
    cmdClose = new QPushButton(QStringLiteral("Close"), this);
    cmdClose->setObjectName(QStringLiteral("cmdClose"));
    cmdApply->setAutoDefault(false);
    cmdClose->setAutoDefault(false);
    bottom->addStretch();
    bottom->addWidget(cmdApply);
    bottom->addWidget(cmdClose);
    layout->addLayout(bottom);

    connect(cmdInSQL, &QPushButton::clicked, this, [this] { mModel->MakeAll(KORVOSyncResultsModel::ActOnSQL); });
    connect(cmdInVSS, &QPushButton::clicked, this, [this] { mModel->MakeAll(KORVOSyncResultsModel::ActOnVSS); });
    connect(cmdApply, &QPushButton::clicked, this, &frmSyncResults::ApplyClicked);
    connect(cmdClose, &QPushButton::clicked, this, &QDialog::close);
    // The action image takes clicks, however quick: only the names and types open the comparison.
    connect(grd, &QTableView::doubleClicked, this, [this](const QModelIndex &index) {
        if (index.column() != KORVOSyncResultsModel::ColButton)
            CompareRow(index.row());
    });
}

frmSyncResults::~frmSyncResults() = default;

bool frmSyncResults::ShowSyncProblems(KORVODatabase &database, const QList<KORVOSyncDifference> &differences)
{
    Fill(database, differences);
    exec();
    return mModel->ChangesApplied();
}

void frmSyncResults::Fill(KORVODatabase &database, const QList<KORVOSyncDifference> &differences)
{
    mDatabase = &database;
    const KORVOProjectPtr &project = database.Project();
    mModel->InitGrid(project && project->SQL() ? project->SQL()->Database() : QString(),
        project && project->VSS() ? project->VSS()->Project : QString());
    mModel->FillGrid(differences);
    mModel->RedrawRows();
}

void frmSyncResults::ImageReleased(int row, Qt::MouseButton button)
{
    if (row >= 0 && row < mModel->rowCount())
        mModel->Click(row, button == Qt::RightButton);
}

bool frmSyncResults::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == grd->viewport() && event->type() == QEvent::MouseButtonRelease) {
        auto *mouse = static_cast<QMouseEvent *>(event);
        const QModelIndex index = grd->indexAt(mouse->position().toPoint());
        if (index.isValid() && index.column() == KORVOSyncResultsModel::ColButton) {
            ImageReleased(index.row(), mouse->button());
            return true;
        }
    }
    return QDialog::eventFilter(watched, event);
}

void frmSyncResults::ApplyClicked()
{
    if (!mDatabase)
        return;
    QApplication::setOverrideCursor(Qt::WaitCursor);
    const int total = mModel->rowCount();
    if (total > 0) {
        pbrSync->setRange(0, total);
        pbrSync->setValue(0);
        pbrSync->setFormat(QStringLiteral("0%"));
        pbrSync->show();
        cmdApply->setEnabled(false);
        cmdClose->setEnabled(false);
        repaint();
    }
    {
        // Put back however the run ends; an error the operations leave unhandled
        // still goes on to the application's error box.
        struct Restore {
            frmSyncResults *w;
            ~Restore()
            {
                w->grd->setUpdatesEnabled(true);
                w->pbrSync->hide();
                w->cmdApply->setEnabled(true);
                w->cmdClose->setEnabled(true);
                QApplication::restoreOverrideCursor();
            }
        } restore { this };
        grd->setUpdatesEnabled(false);
        mModel->ApplyChanges(*mDatabase, [this](int processed, int count) {
            pbrSync->setValue(processed);
            pbrSync->setFormat(
                QStringLiteral("%1%").arg(int(std::nearbyint(double(processed) / double(count) * 100.0))));
            pbrSync->repaint();
        });
    }
    if (mModel->rowCount() == 0 && total > 0) {
        mDatabase->Ui().inform(QStringLiteral("In Sync"), QStringLiteral("Everything is now in Sync."));
        accept();
    }
}

void frmSyncResults::CompareRow(int row)
{
    if (!mDatabase || row < 0 || row >= mModel->rowCount() || mModel->Kind(row) != KORVOSyncResultsModel::ChangedRow)
        return;
    const auto &item = mModel->RowObject(row);
    bool fromDeleted = false;
    const auto object
        = std::dynamic_pointer_cast<KORVOTypedObject>(mDatabase->GetObject(item.second, item.first, fromDeleted));
    if (!object)
        return;
    const QString name = mModel->Cell(row, KORVOSyncResultsModel::ColSQL);
    mWindows.Compare(this, *mDatabase, object->GetContent(2), object->GetContent(1),
        QStringLiteral("%1 in SQL").arg(name), QStringLiteral("%1 in VSS").arg(name));
}

bool frmSyncResults::MayClose()
{
    if (mModel->rowCount() == 0 || !mDatabase)
        return true;
    return mDatabase->Ui().askYesNo(QStringLiteral("Close Synchronization Results?"),
        QStringLiteral("There are still items that are not in Sync!\n\nAre you sure you "
                       "want to close the Synchronization Results now?"));
}

void frmSyncResults::done(int result)
{
    // Every road out (button, close box, Escape, window menu) comes here.
    if (!cmdClose->isEnabled() || !MayClose())
        return;
    QDialog::done(result);
}

void frmSyncResults::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_F1 && !(event->modifiers() & Qt::ShiftModifier)) {
        if (mHelp)
            mHelp->ShowHelp(this, HelpTopic);
        return;
    }
    QDialog::keyPressEvent(event);
}
