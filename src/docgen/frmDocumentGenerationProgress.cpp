#include "frmDocumentGenerationProgress.h"

#include "HelpIntegration.h"
#include "UiServices.h"

#include <QApplication>
#include <QCloseEvent>
#include <QHeaderView>
#include <QLabel>
#include <QProgressBar>
#include <QStyle>
#include <QTimer>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace
{
constexpr int HelpTopic = 59;
int Twips(int twips)
{
    return twips / 15;
}
} // namespace

frmDocumentGenerationProgress::frmDocumentGenerationProgress(UiServices &ui, HelpIntegration *help, QWidget *parent)
    : QDialog(parent)
    , mUi(ui)
    , mHelp(help)
{
    setObjectName(QStringLiteral("frmDocumentGenerationProgress"));
    setWindowTitle(QStringLiteral("Document Generation ..."));
    mSteps = new QTreeWidget(this);
    mSteps->setObjectName(QStringLiteral("lvwSteps"));
    mSteps->setHeaderLabels({ QString(), QStringLiteral("Step"), QStringLiteral("Status") });
    mSteps->setRootIsDecorated(false);
    mSteps->setColumnWidth(0, Twips(320));
    mSteps->setColumnWidth(1, Twips(6090));
    mSteps->setColumnWidth(2, Twips(2640));
    mBar = new QProgressBar(this);
    mBar->setObjectName(QStringLiteral("pbrCurrent"));
    mBar->setTextVisible(true);
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(mSteps);
    layout->addWidget(new QLabel(QStringLiteral("Status:"), this));
    layout->addWidget(mBar);
    resize(Twips(9400), 360);

    mTmrAll = new QTimer(this);
    mTmrModule = new QTimer(this);
    for (QTimer *t : { mTmrAll, mTmrModule }) {
        t->setSingleShot(true);
        t->setInterval(0);
        connect(t, &QTimer::timeout, this, &frmDocumentGenerationProgress::RunJob);
    }
    mTmrAll->setObjectName(QStringLiteral("tmrAll"));
    mTmrModule->setObjectName(QStringLiteral("tmrModule"));
}

int frmDocumentGenerationProgress::GenerateAll(DocGenSource &source, const DocGenProject &project)
{
    return Start(source, project, nullptr, mTmrAll);
}

int frmDocumentGenerationProgress::GenerateModule(
    DocGenSource &source, const DocGenProject &project, DocGenModule &module)
{
    return Start(source, project, &module, mTmrModule);
}

int frmDocumentGenerationProgress::Start(
    DocGenSource &source, const DocGenProject &project, DocGenModule *module, QTimer *timer)
{
    mDone = false;
    mSteps->clear();
    mStepCount = mCurrentStep = 0;
    mRun = std::make_unique<DocGenRun>(source, project, module, *this);
    mRun->ListSteps();
    timer->start();
    const int result = exec();
    mRun.reset();
    return result;
}

void frmDocumentGenerationProgress::RunJob()
{
    WaitCursor wait(mUi);
    mRunning = true;
    const auto outcome = mRun->Run();
    mRunning = false;
    if (outcome == DocGenRun::Outcome::NotRun)
        return; // an unknown document type: the window stays
    mDone = outcome == DocGenRun::Outcome::Done;
    // Success is told once the window has gone, a failure while it still shows.
    if (mDone)
        accept();
    DocGenRun::TellOutcome(mUi, outcome, mRun->Error());
    if (!mDone)
        reject();
}

void frmDocumentGenerationProgress::AddStep(const QString &key, const QString &text)
{
    auto *row = new QTreeWidgetItem(mSteps);
    row->setData(0, Qt::UserRole, key);
    row->setText(1, QStringLiteral("Step %1 - %2").arg(++mStepCount).arg(text));
    row->setText(2, QStringLiteral("Not Started"));
}

void frmDocumentGenerationProgress::NextStep()
{
    if (mCurrentStep > 0) {
        if (QTreeWidgetItem *row = mSteps->topLevelItem(mCurrentStep - 1)) {
            row->setText(2, QStringLiteral("Completed"));
            row->setIcon(0, style()->standardIcon(QStyle::SP_DialogApplyButton));
        }
    }
    ++mCurrentStep;
    if (QTreeWidgetItem *row = mSteps->topLevelItem(mCurrentStep - 1)) {
        row->setText(2, QStringLiteral("Initialising"));
        row->setIcon(0, style()->standardIcon(QStyle::SP_ArrowRight));
        mSteps->setCurrentItem(row);
        mSteps->scrollToItem(row);
    }
    mBar->setValue(0);
    mBar->setFormat(QString());
    repaint();
    QApplication::processEvents();
}

void frmDocumentGenerationProgress::SetProgressMax(int maximum)
{
    mBar->setMinimum(0);
    mBar->setMaximum(maximum > 0 ? maximum : 1);
}

void frmDocumentGenerationProgress::SetProgress(int value, const QString &text)
{
    QString percent = QStringLiteral("0%");
    if (mBar->maximum() >= 1 && value >= 1)
        percent = QString::number(qRound(100.0 * value / mBar->maximum())) + QLatin1Char('%');
    const QString prefix = text.isEmpty() ? QString() : text + QStringLiteral(": ");
    mBar->setFormat(prefix + percent);
    if (QTreeWidgetItem *row = mSteps->topLevelItem(mCurrentStep - 1))
        row->setText(2, QStringLiteral("Progress: ") + percent);
    if (value <= mBar->maximum())
        mBar->setValue(value);
    QApplication::processEvents();
}

void frmDocumentGenerationProgress::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_F1 && mHelp) {
        mHelp->ShowHelp(this, HelpTopic);
        return;
    }
    QDialog::keyPressEvent(event);
}

// A run cannot be interrupted: the window closes only by itself.
void frmDocumentGenerationProgress::closeEvent(QCloseEvent *event)
{
    if (mRunning)
        event->ignore();
    else
        QDialog::closeEvent(event);
}

void frmDocumentGenerationProgress::reject()
{
    if (!mRunning)
        QDialog::reject();
}
