#include "frmDocumentGenerationProgress.h"

#include "HelpIntegration.h"
#include "KORVOStepList.h"
#include "UiServices.h"

#include <QCloseEvent>
#include <QScopeGuard>
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
    mSteps = new KORVOStepList(this);
    // This window is wider than the script generator's.
    mSteps->Steps()->setColumnWidth(1, Twips(6090));
    mSteps->Steps()->setColumnWidth(2, Twips(2640));
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(mSteps);
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
    mSteps->ClearSteps();
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
    auto outcome = DocGenRun::Outcome::Failed;
    QString error;
    {
        // Any error ends the run (a lost connection while the objects are read
        // is not the generator's own): the window must close whatever happened.
        mRunning = true;
        const auto stopped = qScopeGuard([this] { mRunning = false; });
        try {
            outcome = mRun->Run();
            error = mRun->Error();
        } catch (const std::exception &e) {
            error = QString::fromUtf8(e.what());
        }
    }
    if (outcome == DocGenRun::Outcome::NotRun)
        return; // an unknown document type: the window stays
    mDone = outcome == DocGenRun::Outcome::Done;
    // Success is told once the window has gone, a failure while it still shows.
    if (mDone)
        accept();
    DocGenRun::TellOutcome(mUi, outcome, error);
    if (!mDone)
        reject();
}

void frmDocumentGenerationProgress::AddStep(const QString &key, const QString &text)
{
    mSteps->AddStep(key, text);
}

void frmDocumentGenerationProgress::NextStep()
{
    mSteps->NextStep();
}

void frmDocumentGenerationProgress::SetProgressMax(int maximum)
{
    mSteps->SetProgressMax(maximum);
}

void frmDocumentGenerationProgress::SetProgress(int value, const QString &text)
{
    mSteps->SetProgress(value, text);
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
