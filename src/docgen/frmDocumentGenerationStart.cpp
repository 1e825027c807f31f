#include "frmDocumentGenerationStart.h"

#include "HelpIntegration.h"
#include "SelectAllOnFocus.h"
#include "UiServices.h"
#include "frmDocumentGenerationProgress.h"
#include "frmModuleManager.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QFileInfo>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

namespace
{
constexpr int HelpTopic = 60;
const QString InvalidData = QStringLiteral("Invalid Data");
const QString NoModule = QStringLiteral("-- Select a Module --");

template <class T> T *Named(T *w, const char *name)
{
    w->setObjectName(QLatin1String(name));
    return w;
}
} // namespace

frmDocumentGenerationStart::frmDocumentGenerationStart(
    DocGenSource &source, UiServices &ui, HelpIntegration *help, const QString &settingsPath, QWidget *parent)
    : QDialog(parent)
    , mSource(source)
    , mUi(ui)
    , mHelp(help)
    , mSettingsPath(settingsPath)
{
    setObjectName(QStringLiteral("frmDocumentGenerationStart"));
    setWindowTitle(QStringLiteral("Automatic Documentation ..."));
    mComplete
        = Named(new QRadioButton(QStringLiteral("Generate complete &SQL object documentation"), this), "optComplete");
    mModule
        = Named(new QRadioButton(QStringLiteral("Generate documentation for selected &module:"), this), "optModule");
    mModules = Named(new QComboBox(this), "cboModules");
    mOpen = Named(new QPushButton(QStringLiteral("&Open Module Manager"), this), "cmdOpen");
    mType = Named(new QComboBox(this), "cboType");
    mDocumentName = Named(new QLineEdit(this), "txtDocumentName");
    mBrowse = Named(new QPushButton(QStringLiteral("&..."), this), "cmdBrowse");
    mTemplateLabel = Named(new QLabel(QStringLiteral("Use Word &template:"), this), "lblTemplate");
    mTemplate = Named(new QLineEdit(this), "txtTemplate");
    mTemplateLabel->setBuddy(mTemplate);
    mBrowseTemplate = Named(new QPushButton(QStringLiteral("&..."), this), "cmdBrowseTemplate");
    mSummary = Named(
        new QCheckBox(QStringLiteral("&Include object summary before module documenation"), this), "chkObjectSummary");
    mSummaryPerFile
        = Named(new QCheckBox(QStringLiteral("In&clude object summary per file"), this), "chkObjectSummaryPerFile");
    mOwnerNames = Named(new QCheckBox(QStringLiteral("Include object owner &names"), this), "chkOwnerNames");
    mOwnerInOwnColumn
        = Named(new QCheckBox(QStringLiteral("&Display owner name in seperate column"), this), "chkOwnerInOwnColumn");
    mEncapsulateOwner
        = Named(new QCheckBox(QStringLiteral("&Encapsulate owner name with \"[ ]\""), this), "chkEncapsulateOwner");
    mEncapsulateObject
        = Named(new QCheckBox(QStringLiteral("Enca&psulate object name with \"[ ]\""), this), "chkEncapsulateObject");
    mGenerate = Named(new QPushButton(QStringLiteral("Generate Document"), this), "cmdGenerate");
    mClose = Named(new QPushButton(QStringLiteral("Close"), this), "cmdClose");
    mError = Named(new QFrame(this), "fraError");
    mErrorText = Named(new QLabel(mError), "lblError");
    (new QHBoxLayout(mError))->addWidget(mErrorText);
    mError->hide();

    auto *grid = new QGridLayout;
    grid->addWidget(mComplete, 0, 0, 1, 3);
    grid->addWidget(mModule, 1, 0, 1, 3);
    grid->addWidget(mModules, 2, 0, 1, 2);
    grid->addWidget(mOpen, 2, 2);
    auto *typeLabel = new QLabel(QStringLiteral("Output type:"), this);
    typeLabel->setBuddy(mType);
    grid->addWidget(typeLabel, 3, 0);
    grid->addWidget(mType, 3, 1, 1, 2);
    auto *nameLabel = new QLabel(QStringLiteral("&File name:"), this);
    nameLabel->setBuddy(mDocumentName);
    grid->addWidget(nameLabel, 4, 0);
    grid->addWidget(mDocumentName, 4, 1);
    grid->addWidget(mBrowse, 4, 2);
    grid->addWidget(mTemplateLabel, 5, 0);
    grid->addWidget(mTemplate, 5, 1);
    grid->addWidget(mBrowseTemplate, 5, 2);
    int row = 6;
    for (QCheckBox *c :
        { mSummary, mSummaryPerFile, mOwnerNames, mOwnerInOwnColumn, mEncapsulateOwner, mEncapsulateObject })
        grid->addWidget(c, row++, 0, 1, 3);
    // The extra width goes to the names, not to the buttons beside them.
    grid->setColumnStretch(1, 1);
    auto *buttons = new QHBoxLayout;
    buttons->addWidget(mError, 1);
    buttons->addWidget(mGenerate);
    buttons->addWidget(mClose);
    auto *layout = new QVBoxLayout(this);
    layout->addLayout(grid);
    layout->addLayout(buttons);
    SelectAllOnFocus::Install(this);

    // Documents are always written by KORVO itself, so both types are offered.
    mTypes = { { QStringLiteral("HTML"), QStringLiteral("HTML"), {} },
        { QStringLiteral("WORD"), QStringLiteral("Microsoft Word"), {} } };
    for (const auto &type : std::as_const(mTypes))
        mType->addItem(type.Label);
    mType->setCurrentIndex(0);

    QDir().mkpath(QFileInfo(mSettingsPath).path());
    mProject.LoadDocumentSettings(mSettingsPath);
    FillModules(mProject.CurrentModule);
    mModule->setChecked(mProject.OptionSelected == 1);
    mComplete->setChecked(mProject.OptionSelected == 2);
    mTemplate->setText(mProject.TemplateName);
    mSummary->setChecked(mProject.IncludeModuleSummay);
    mSummaryPerFile->setChecked(mProject.IncludeModuleSummayPerFile);
    mOwnerNames->setChecked(mProject.IncludeOwnerNames);
    mOwnerInOwnColumn->setChecked(mProject.OwnerInOwnCol);
    mEncapsulateOwner->setChecked(mProject.EncapsOwnerNames);
    mEncapsulateObject->setChecked(mProject.EncapsObjects);
    int selected = 0;
    for (int i = 0; i < mTypes.size(); ++i)
        if (mTypes[i].Key == mProject.DocumentType)
            selected = i;
    mTypes[selected].FileName = mProject.GenerateName;
    if (mTypes.size() > 1)
        mTypes[selected == 0 ? 1 : 0].FileName = mProject.GenerateNameAlt;
    mTypeRow = selected;
    mType->setCurrentIndex(selected);
    mDocumentName->setText(mTypes[selected].FileName);
    TypeChanged(selected);
    UpdateDependentControls();

    connect(mModule, &QRadioButton::toggled, this, &frmDocumentGenerationStart::UpdateDependentControls);
    connect(mOwnerNames, &QCheckBox::toggled, this, &frmDocumentGenerationStart::UpdateDependentControls);
    connect(mModules, &QComboBox::activated, this, [this](int row) {
        if (row > 0)
            mModule->setChecked(true);
    });
    connect(mType, &QComboBox::currentIndexChanged, this, &frmDocumentGenerationStart::TypeChanged);
    connect(mBrowse, &QPushButton::clicked, this, &frmDocumentGenerationStart::Browse);
    connect(mBrowseTemplate, &QPushButton::clicked, this, &frmDocumentGenerationStart::BrowseTemplate);
    connect(mOpen, &QPushButton::clicked, this, &frmDocumentGenerationStart::OpenModuleManager);
    connect(mGenerate, &QPushButton::clicked, this, &frmDocumentGenerationStart::Generate);
    connect(mClose, &QPushButton::clicked, this, &QDialog::accept);
}

void frmDocumentGenerationStart::FillModules(const QString &select)
{
    mModules->clear();
    mModules->addItem(NoModule, 0);
    int selected = 0;
    for (const auto &module : mProject.Modules()) {
        mModules->addItem(module->Name, module->Index);
        if (!selected && module->Name.compare(select, Qt::CaseInsensitive) == 0)
            selected = mModules->count() - 1;
    }
    mModules->setCurrentIndex(selected);
}

void frmDocumentGenerationStart::UpdateDependentControls()
{
    mSummary->setEnabled(mModule->isChecked());
    mSummaryPerFile->setEnabled(mModule->isChecked());
    mOwnerInOwnColumn->setEnabled(mOwnerNames->isChecked());
    mEncapsulateOwner->setEnabled(mOwnerNames->isChecked());
}

void frmDocumentGenerationStart::TypeChanged(int row)
{
    if (row < 0 || row >= mTypes.size())
        return;
    if (row != mTypeRow) {
        mTypes[mTypeRow].FileName = mDocumentName->text();
        mDocumentName->setText(mTypes[row].FileName);
        mTypeRow = row;
    }
    const bool word = mTypes[row].Key == QLatin1String("WORD");
    for (QWidget *w : std::initializer_list<QWidget *> { mTemplateLabel, mTemplate, mBrowseTemplate })
        w->setEnabled(word);
}

void frmDocumentGenerationStart::Browse()
{
    const bool word = mTypes[mTypeRow].Key == QLatin1String("WORD");
    const QString answer = mUi.saveFileName(QStringLiteral("Save Document As ..."), mDocumentName->text(),
        word ? QStringLiteral("Microsoft Word Files (*.docx);;All Files (*)")
             : QStringLiteral("HTML Files (*.htm *.html);;All Files (*)"));
    if (!answer.isEmpty())
        mDocumentName->setText(answer);
}

void frmDocumentGenerationStart::BrowseTemplate()
{
    const QString answer = mUi.openFileName(QStringLiteral("Select a Template ..."), mTemplate->text(),
        QStringLiteral("Microsoft Word Template Files (*.dotx *.docx);;All Files (*)"));
    if (!answer.isEmpty())
        mTemplate->setText(answer);
}

void frmDocumentGenerationStart::OpenModuleManager()
{
    const QString selected = mModules->currentIndex() > 0 ? mModules->currentText() : QString();
    frmModuleManager::ModuleManager(mProject, mUi, mHelp, this);
    FillModules(selected);
}

void frmDocumentGenerationStart::Warn(const QString &text, QWidget *focus)
{
    mUi.messageBox(UiServices::Icon::Warning, InvalidData, text);
    focus->setFocus();
}

void frmDocumentGenerationStart::Generate()
{
    if (mModule->isChecked() && mModules->currentIndex() <= 0)
        return Warn(QStringLiteral("No Module has been selected!"), mModules);
    const QString fileName = mDocumentName->text().trimmed();
    if (fileName.isEmpty())
        return Warn(QStringLiteral("No File Name has been specified!"), mBrowse);
    if (QFileInfo::exists(fileName)
        && !mUi.askYesNo(QStringLiteral("Overwrite File?"),
            QStringLiteral("The specified File Name already exists. Would you like to Overwrite the file?"))) {
        mBrowseTemplate->setFocus(); // the template button, as users have always known it
        return;
    }
    const QString templateName = mTemplate->text().trimmed();
    if (!templateName.isEmpty() && !QFileInfo::exists(templateName))
        return Warn(QStringLiteral("The Word Template file specified does not exist!"), mBrowseTemplate);
    DocGenModulePtr module;
    if (mModule->isChecked()) {
        module = mProject.Modules().Item(mModules->currentData().toInt());
        for (const auto &file : module->Files()) {
            if (QFileInfo::exists(file->FileName()))
                continue;
            if (!mUi.askYesNo(QStringLiteral("Continue Anyway?"),
                    QStringLiteral("WARNING: Some of the files assigned to this module no longer exist! Are "
                                   "you sure you would like to continue?"))) {
                mOpen->setFocus();
                return;
            }
            break;
        }
    }
    {
        WaitCursor wait(mUi);
        ControlsToProject();
        frmDocumentGenerationProgress progress(mUi, mHelp, this);
        if (module)
            progress.GenerateModule(mSource, mProject, *module);
        else
            progress.GenerateAll(mSource, mProject);
    }
}

void frmDocumentGenerationStart::ControlsToProject()
{
    mTypes[mTypeRow].FileName = mDocumentName->text();
    mProject.CurrentModule = mModules->currentIndex() > 0 ? mModules->currentText() : QString();
    mProject.GenerateName = mDocumentName->text();
    mProject.GenerateNameAlt = mTypes.size() > 1 ? mTypes[mTypeRow == 0 ? 1 : 0].FileName : QString();
    mProject.TemplateName = mTemplate->text();
    mProject.IncludeModuleSummay = mSummary->isChecked();
    mProject.IncludeModuleSummayPerFile = mSummaryPerFile->isChecked();
    mProject.IncludeOwnerNames = mOwnerNames->isChecked();
    mProject.OwnerInOwnCol = mOwnerInOwnColumn->isChecked();
    mProject.EncapsOwnerNames = mEncapsulateOwner->isChecked();
    mProject.EncapsObjects = mEncapsulateObject->isChecked();
    mProject.OptionSelected = mModule->isChecked() ? 1 : 2;
    mProject.DocumentType = mTypes[mTypeRow].Key;
}

// Every close keeps the settings and the modules.
void frmDocumentGenerationStart::done(int result)
{
    ControlsToProject();
    QString why;
    if (!mProject.SaveDocumentSettings(mSettingsPath, &why))
        mUi.messageBox(UiServices::Icon::Warning, QStringLiteral("Automatic Documentation"),
            QStringLiteral("The settings could not be saved to %1: %2.").arg(mSettingsPath, why));
    QDialog::done(result);
}

void frmDocumentGenerationStart::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_F1 && mHelp) {
        mHelp->ShowHelp(this, HelpTopic);
        return;
    }
    QDialog::keyPressEvent(event);
}
