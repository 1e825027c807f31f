#pragma once

#include "DocGenObjects.h"
#include "DocGenProject.h"

#include <QDialog>

class HelpIntegration;
class QCheckBox;
class QComboBox;
class QFrame;
class QLabel;
class QLineEdit;
class QPushButton;
class QRadioButton;
class UiServices;

// "Automatic Documentation ...": what to document, how, and where to. The
// settings and modules are read from and written to settingsPath.
class frmDocumentGenerationStart : public QDialog
{
public:
    frmDocumentGenerationStart(DocGenSource &source, UiServices &ui, HelpIntegration *help, const QString &settingsPath,
        QWidget *parent = nullptr);

    DocGenProject &Project() { return mProject; }

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void done(int result) override;

private:
    struct OutputType {
        QString Key, Label, FileName;
    };
    void FillModules(const QString &select);
    void UpdateDependentControls();
    void TypeChanged(int row);
    void Browse();
    void BrowseTemplate();
    void OpenModuleManager();
    void Generate();
    void ControlsToProject();
    void Warn(const QString &text, QWidget *focus);

    DocGenSource &mSource;
    UiServices &mUi;
    HelpIntegration *mHelp;
    QString mSettingsPath;
    DocGenProject mProject;
    QList<OutputType> mTypes;
    int mTypeRow = 0;

    QRadioButton *mComplete, *mModule;
    QComboBox *mModules, *mType;
    QPushButton *mOpen, *mBrowse, *mBrowseTemplate, *mGenerate, *mClose;
    QLineEdit *mDocumentName, *mTemplate;
    QLabel *mTemplateLabel;
    QCheckBox *mSummary, *mSummaryPerFile, *mOwnerNames, *mOwnerInOwnColumn, *mEncapsulateOwner, *mEncapsulateObject;
    QFrame *mError;
    QLabel *mErrorText;
};
