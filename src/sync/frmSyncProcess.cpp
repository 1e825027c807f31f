#include "frmSyncProcess.h"

#include "HelpIntegration.h"
#include "KORVOIconImages.h"
#include "KORVOProject.h"
#include "KorvoApplication.h"
#include "UiServices.h"
#include "frmSyncResults.h"

#include <QApplication>
#include <QHeaderView>
#include <QKeyEvent>
#include <QProgressBar>
#include <QTimer>
#include <QTreeWidget>
#include <QVBoxLayout>

#include <cmath>

namespace
{
constexpr int HelpTopic = 50;
} // namespace

frmSyncProcess::frmSyncProcess(KORVOWindows &windows, HelpIntegration *help, QWidget *parent)
    : QDialog(parent)
    , mWindows(windows)
    , mHelp(help)
{
    setObjectName(QStringLiteral("frmSyncProcess"));
    setWindowTitle(QStringLiteral("Synchronization Process ..."));
    setModal(true);
    resize(560, 360);
    auto *layout = new QVBoxLayout(this);
    lvwSteps = new QTreeWidget(this);
    lvwSteps->setObjectName(QStringLiteral("lvwSteps"));
    lvwSteps->setRootIsDecorated(false);
    lvwSteps->setSelectionMode(QAbstractItemView::NoSelection);
    layout->addWidget(lvwSteps);
    pbrCurrent = new QProgressBar(this);
    pbrCurrent->setObjectName(QStringLiteral("pbrCurrent"));
    pbrCurrent->setTextVisible(true);
    layout->addWidget(pbrCurrent);
    tmr = new QTimer(this);
    tmr->setObjectName(QStringLiteral("tmr"));
    tmr->setSingleShot(true);
    connect(tmr, &QTimer::timeout, this, &frmSyncProcess::Tick);
}

frmSyncProcess::~frmSyncProcess() = default;

bool frmSyncProcess::StartSync(KORVODatabase &database)
{
    msdbCurrent = &database;
    // The session gets its own listener back on every road out.
    struct Restore {
        frmSyncProcess *w;
        KORVODatabase &database;
        KORVOSessionListener *previous;
        ~Restore()
        {
            database.SetListener(previous);
            w->msdbCurrent = nullptr;
        }
    } restore { this, database, database.Listener() };
    database.SetListener(this);
    mAnalysis = std::make_unique<KORVOSyncAnalysis>(database);
    mFailure.clear();
    InitSteps();
    BuildSteps();
    // The first step's status line paints the window before any work.
    tmr->start(0);
    exec();

    // A partial list would pass for the truth: a failed analysis opens no
    // results and leaves no history line, so it will be offered again.
    if (!mFailure.isEmpty()) {
        database.Ui().messageBox(UiServices::Icon::Critical, QStringLiteral("Synchronization Failed"),
            mFailure
                + QStringLiteral("\n\nNothing was changed and the synchronization was not recorded. Start it again "
                                 "when the cause is put right."));
        return false;
    }
    bool changed = false;
    const QList<KORVOSyncDifference> differences = mAnalysis->Differences();
    database.SetListener(restore.previous);
    if (!differences.isEmpty()) {
        frmSyncResults results(mWindows, mHelp, parentWidget());
        changed = results.ShowSyncProblems(database, differences);
    } else {
        database.Ui().inform(QStringLiteral("No Synchronization Needed"), QStringLiteral("Everything is in Sync"));
    }
    if (database.Project())
        database.Project()->ProjectWasSyncronized(QStringLiteral("Synchronization"));
    return changed;
}

void frmSyncProcess::InitSteps()
{
    lvwSteps->clear();
    lvwSteps->setColumnCount(3);
    lvwSteps->setHeaderLabels({ QString(), QStringLiteral("Step"), QStringLiteral("Status") });
    lvwSteps->header()->resizeSection(0, 28);
    lvwSteps->header()->resizeSection(1, 340);
}

void frmSyncProcess::BuildSteps()
{
    const QList<KORVOSyncStep> &steps = mAnalysis->BuildSteps();
    for (int i = 0; i < steps.size(); ++i) {
        auto *line = new QTreeWidgetItem(lvwSteps);
        line->setData(0, Qt::UserRole, steps.at(i).StepKind + steps.at(i).ObjectType);
        line->setText(1, QStringLiteral("Step %1 - %2").arg(i + 1).arg(steps.at(i).StepText));
        line->setText(2, QStringLiteral("Not Started"));
    }
}

void frmSyncProcess::Tick()
{
    QApplication::setOverrideCursor(Qt::WaitCursor);
    // The window closes whatever happens in the steps; an error still reaches the caller.
    struct Close {
        frmSyncProcess *w;
        ~Close()
        {
            QApplication::restoreOverrideCursor();
            w->mRunning = false;
            w->accept();
        }
    } close { this };
    mRunning = true;
    try {
        for (mCurrentStep = 0; mCurrentStep < mAnalysis->Steps().size(); ++mCurrentStep)
            mAnalysis->RunStep(mCurrentStep, *this);
    } catch (const std::exception &error) {
        // The rest of the steps stay "Not Started"; StartSync shows the one box.
        SetStepStatus(mCurrentStep, QStringLiteral("Failed"), -1);
        const KORVOSyncStep &step = mAnalysis->Steps().at(mCurrentStep);
        mFailure = QStringLiteral("The synchronization analysis failed at step %1 - %2:\n\n%3")
                       .arg(mCurrentStep + 1)
                       .arg(step.StepText, KorvoApplication::ErrorText(error));
    }
}

void frmSyncProcess::SetStepStatus(int step, const QString &text, int icon)
{
    QTreeWidgetItem *line = lvwSteps->topLevelItem(step);
    if (!line)
        return;
    static const char *const icons[] = { "", "refresh", "checkin" };
    line->setIcon(0, icon > 0 && icon < 3 ? KORVOActionIcon(QLatin1String(icons[icon])) : QIcon());
    line->setData(0, Qt::UserRole + 1, icon);
    line->setText(2, text);
    lvwSteps->scrollToItem(line);
    repaint();
    QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
}

void frmSyncProcess::CompareStarted(int, long count)
{
    pbrCurrent->setMinimum(0);
    if (count > 0)
        pbrCurrent->setMaximum(int(count));
    pbrCurrent->setValue(0);
    mProgress = 0;
    mPainted.invalidate();
}

void frmSyncProcess::ObjectCompared(int step, long, long count)
{
    ShowProgress(mProgress + 1, count, step);
}

void frmSyncProcess::RetrieveStatusChange(const QString &, const QString &, long position, long total, bool &)
{
    if (mCurrentStep >= 0)
        ShowProgress(position, total, mCurrentStep);
}

void frmSyncProcess::ShowProgress(long current, long maximum, int step)
{
    mProgress = current;
    if (step != mProgressStep) {
        mProgressStep = step;
        mPainted.invalidate();
    }
    // Painting per object would cost more than the comparison: the progress
    // shows at most every 50 ms, and always at the end of a step.
    if (current < maximum && mPainted.isValid() && !mPainted.hasExpired(50))
        return;
    mPainted.start();
    if (maximum != 0 && maximum != pbrCurrent->maximum())
        pbrCurrent->setMaximum(int(maximum));
    if (current >= 1 && current <= maximum) {
        pbrCurrent->setValue(int(current));
        // Halves go to the even number.
        const int percent = int(std::nearbyint(double(current) / double(maximum) * 100.0));
        pbrCurrent->setFormat(QStringLiteral("%1%").arg(percent));
        // A status line per object would cost more than the comparison: only a new percentage is shown.
        if (QTreeWidgetItem *line = lvwSteps->topLevelItem(step);
            line && line->text(2) != QStringLiteral("Progress: %1%").arg(percent))
            SetStepStatus(step, QStringLiteral("Progress: %1%").arg(percent), 1);
    }
}

void frmSyncProcess::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_F1 && !(event->modifiers() & Qt::ShiftModifier)) {
        if (mHelp)
            mHelp->ShowHelp(this, HelpTopic);
        return;
    }
    // No key stops the run.
    if (event->key() == Qt::Key_Escape)
        return;
    QDialog::keyPressEvent(event);
}

void frmSyncProcess::reject()
{
    // The window has no way of being stopped: once started, all steps run.
    if (!mRunning && !tmr->isActive())
        QDialog::reject();
}
