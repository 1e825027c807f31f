#pragma once

#include "DocGenRun.h"
#include "DocGenSteps.h"

#include <QDialog>

class HelpIntegration;
class KORVOStepList;
class QTimer;
class UiServices;

// Runs a documentation job modally: lists its steps in the generators' step
// list, starts from a timer so that the window paints first, and closes itself
// when the run has ended.
class frmDocumentGenerationProgress : public QDialog, public DocGenSteps
{
public:
    frmDocumentGenerationProgress(UiServices &ui, HelpIntegration *help, QWidget *parent = nullptr);

    // Both return the dialog's result, which callers ignore.
    int GenerateAll(DocGenSource &source, const DocGenProject &project);
    int GenerateModule(DocGenSource &source, const DocGenProject &project, DocGenModule &module);

    bool Done() const { return mDone; }

    void AddStep(const QString &key, const QString &text) override;
    void NextStep() override;
    void SetProgressMax(int maximum) override;
    void SetProgress(int value, const QString &text) override;

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void closeEvent(QCloseEvent *event) override;
    void reject() override;

private:
    int Start(DocGenSource &source, const DocGenProject &project, DocGenModule *module, QTimer *timer);
    void RunJob();

    UiServices &mUi;
    HelpIntegration *mHelp;
    KORVOStepList *mSteps;
    QTimer *mTmrAll, *mTmrModule;
    std::unique_ptr<DocGenRun> mRun;
    bool mDone = false;
    bool mRunning = false;
};
