#include "frmProjectBrowser.h"

#include "HelpIntegration.h"
#include "KORVODatabase.h"
#include "KORVOProject.h"
#include "KORVOProjects.h"
#include "KORVOSQL.h"
#include "KORVOVSS.h"
#include "UiServices.h"
#include "frmProjectDetails.h"
#include "frmSystem.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace
{
constexpr int TagRole = Qt::UserRole;

bool SameSettings(const KORVOProject &a, const KORVOProject &b)
{
    const KORVOSQL &sa = *a.SQL(), &sb = *b.SQL();
    const KORVOVSS &va = *a.VSS(), &vb = *b.VSS();
    return a.Name == b.Name && sa.Database() == sb.Database() && sa.Server() == sb.Server()
        && sa.UserName() == sb.UserName() && sa.Password() == sb.Password() && sa.UseWinNTAuth() == sb.UseWinNTAuth()
        && va.UserName == vb.UserName && va.Password == vb.Password && va.IniFile == vb.IniFile
        && va.Project == vb.Project;
}
} // namespace

frmProjectBrowser::frmProjectBrowser(
    std::shared_ptr<KORVODatabase> database, UiServices &ui, HelpIntegration &help, QWidget *parent)
    : QDialog(parent)
    , mDatabase(std::move(database))
    , mUi(ui)
    , mHelp(help)
{
    setObjectName(QStringLiteral("frmProjectBrowser"));
    setWindowTitle(QStringLiteral("Project Browser"));

    lvwProjects = new QTreeWidget(this);
    lvwProjects->setObjectName(QStringLiteral("lvwProjects"));
    lvwProjects->setRootIsDecorated(false);
    lvwProjects->setSelectionBehavior(QAbstractItemView::SelectRows);
    lvwProjects->setSelectionMode(QAbstractItemView::SingleSelection);
    lvwProjects->setHeaderLabels({ QStringLiteral("Name"), QStringLiteral("SQL Server"), QStringLiteral("SQL Database"),
        QStringLiteral("VSS Ini File") });
    const int widths[] = { 1695, 1275, 1485, 3000 };
    for (int i = 0; i < 4; ++i)
        lvwProjects->setColumnWidth(i, TwipsToPixelsX(this, widths[i]));

    chkMostResent = new QCheckBox(QStringLiteral("Open most recent project at start-up"), this);
    chkMostResent->setObjectName(QStringLiteral("chkMostResent"));

    auto button = [this](const QString &name, const QString &text) {
        auto *b = new QPushButton(text, this);
        b->setObjectName(name);
        b->setAutoDefault(false);
        return b;
    };
    cmdOpen = button(QStringLiteral("cmdOpen"), QStringLiteral("&Open"));
    cmdOpen->setDefault(true);
    cmdNew = button(QStringLiteral("cmdNew"), QStringLiteral("&New"));
    cmdEdit = button(QStringLiteral("cmdEdit"), QStringLiteral("&Edit"));
    cmdRemove = button(QStringLiteral("cmdRemove"), QStringLiteral("&Remove"));
    cmdClose = button(QStringLiteral("Close"), QStringLiteral("&Close"));

    auto *buttons = new QVBoxLayout;
    for (QPushButton *b : { cmdOpen, cmdNew, cmdEdit, cmdRemove })
        buttons->addWidget(b);
    buttons->addStretch();
    buttons->addWidget(cmdClose);
    auto *top = new QHBoxLayout;
    top->addWidget(lvwProjects, 1);
    top->addLayout(buttons);
    auto *layout = new QVBoxLayout(this);
    layout->addLayout(top);
    layout->addWidget(chkMostResent);
    resize(TwipsToPixelsX(this, 1695 + 1275 + 1485 + 3000) + 140, 320);

    connect(cmdOpen, &QPushButton::clicked, this, &frmProjectBrowser::cmdOpen_Click);
    connect(cmdNew, &QPushButton::clicked, this, &frmProjectBrowser::cmdNew_Click);
    connect(cmdEdit, &QPushButton::clicked, this, &frmProjectBrowser::cmdEdit_Click);
    connect(cmdRemove, &QPushButton::clicked, this, &frmProjectBrowser::cmdRemove_Click);
    connect(cmdClose, &QPushButton::clicked, this, &QDialog::reject);
    connect(chkMostResent, &QCheckBox::clicked, this, &frmProjectBrowser::chkMostResent_Click);
    // The double-clicked row is the one under the mouse, selected by the press.
    connect(lvwProjects, &QTreeWidget::itemDoubleClicked, this, [this](QTreeWidgetItem *row) {
        lvwProjects->setCurrentItem(row);
        lvwProjects_DblClick();
    });
}

frmProjectBrowser::~frmProjectBrowser() = default;

std::shared_ptr<KORVOProject> frmProjectBrowser::ProjectBrowser(std::shared_ptr<KORVOProjects> projects, bool modal)
{
    mProjects = projects ? std::move(projects) : mDatabase->FindAllProjects(true, true);
    mSelected.reset();
    mReturnOnly = modal;
    mFromMainWindow = false;
    FillList();
    if (!modal) {
        setModal(false);
        show();
        return nullptr;
    }
    exec();
    return mSelected;
}

std::shared_ptr<KORVOProject> frmProjectBrowser::OpenProjectBrowser(const std::shared_ptr<KORVOProject> &currentProject)
{
    mSelected.reset();
    mFromMainWindow = true;
    mReturnOnly = true;
    mProjects = mDatabase->FindAllProjects(true, true);
    FillList();
    exec();
    mFromMainWindow = false;
    if (mSelected && currentProject && SameSettings(*mSelected, *currentProject))
        return nullptr; // the open project, unchanged: nothing to reopen
    return mSelected;
}

void frmProjectBrowser::OpenRecentProject(long sequence, const QString &name, bool &ok)
{
    ok = false;
    mReturnOnly = false;
    mProjects = mDatabase->FindAllProjects(true, true);
    for (const auto &project : *mProjects) {
        if ((!name.isEmpty() && project->Name == name) || (sequence >= 0 && project->Sequence == sequence)) {
            ok = OpenSelectedProject(project);
            return;
        }
    }
    mUi.messageBox(UiServices::Icon::Critical, QStringLiteral("Unable to open project"),
        QStringLiteral("Project could not be found in the project list!"));
}

void frmProjectBrowser::FillList()
{
    lvwProjects->clear();
    for (const auto &project : *mProjects) {
        auto *row = new QTreeWidgetItem(lvwProjects);
        row->setText(0, project->Name);
        row->setData(0, TagRole, project->Default ? QStringLiteral("1") : QStringLiteral("0"));
        row->setText(1, project->SQL()->Server());
        row->setText(2, project->SQL()->Database());
        row->setText(3, project->VSS()->IniFile);
    }
    chkMostResent->setChecked(mDatabase->OpenMostRecent());
}

void frmProjectBrowser::ReloadList()
{
    mProjects = mDatabase->FindAllProjects(true, true);
    FillList();
}

QTreeWidgetItem *frmProjectBrowser::SelectedRow() const
{
    const QList<QTreeWidgetItem *> rows = lvwProjects->selectedItems();
    return rows.isEmpty() ? nullptr : rows.first();
}

std::shared_ptr<KORVOProject> frmProjectBrowser::ProjectOfRow(const QTreeWidgetItem *row) const
{
    return row && mProjects ? mProjects->Item(row->text(0)) : nullptr;
}

bool frmProjectBrowser::OpenSelectedProject(const std::shared_ptr<KORVOProject> &project)
{
    // The connectors show their own prompts and messages.
    if (!project->SQL()->ConnectionOpen()) {
        if (!project->SQL()->OpenConnection({}, {}, {}, {}, KORVOSQL::UseStoredAuth, false).isEmpty())
            return false;
    }
    if (!project->VSS()->ConnectionOpen()) {
        if (!project->VSS()->OpenConnection({}, {}, {}, {}, {}, false, false).isEmpty())
            return false;
    }
    if (mReturnOnly) {
        mSelected = project;
        return true;
    }
    bool ok = false;
    mDatabase->OpenProject(project, ok);
    return ok;
}

void frmProjectBrowser::cmdOpen_Click()
{
    QTreeWidgetItem *row = SelectedRow();
    if (lvwProjects->topLevelItemCount() == 0 || !row)
        return;
    WaitCursor wait(mUi);
    if (mFromMainWindow) {
        mSelected = ProjectOfRow(row);
        accept();
        return;
    }
    lvwProjects->setCursor(Qt::WaitCursor);
    const auto project = ProjectOfRow(row);
    const bool opened = project && OpenSelectedProject(project);
    lvwProjects->unsetCursor();
    if (opened)
        accept();
}

void frmProjectBrowser::cmdNew_Click()
{
    std::unique_ptr<frmProjectDetails> wizard;
    {
        WaitCursor wait(mUi);
        wizard = std::make_unique<frmProjectDetails>(*mDatabase, mUi, &mHelp, this);
    }
    const std::shared_ptr<KORVOProject> project = wizard->newProject();
    if (!project)
        return;
    mDatabase->SaveProject(project);
    ReloadList();
}

void frmProjectBrowser::cmdEdit_Click()
{
    const auto project = ProjectOfRow(SelectedRow());
    if (!project)
        return;
    frmProjectDetails wizard(*mDatabase, mUi, &mHelp, this);
    if (!wizard.EditProject(project))
        return;
    mDatabase->SaveProject(project);
    ReloadList();
}

void frmProjectBrowser::cmdRemove_Click()
{
    QTreeWidgetItem *row = SelectedRow();
    if (!row)
        return;
    const QString name = row->text(0);
    // The missing word is how the question has always read.
    if (mUi.messageBox(UiServices::Icon::Question, QStringLiteral("Remove Project"),
            QStringLiteral("Are you sure you want to the project '%1'?").arg(name), UiServices::Buttons::YesNo)
        == UiServices::Answer::No)
        return;
    if (const auto project = ProjectOfRow(row))
        mDatabase->RemoveProject(project);
    ReloadList();
}

void frmProjectBrowser::chkMostResent_Click()
{
    mDatabase->SetOpenMostRecent(chkMostResent->isChecked());
}

void frmProjectBrowser::lvwProjects_DblClick()
{
    cmdOpen_Click();
}

void frmProjectBrowser::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_F1) {
        mHelp.ShowHelp(this, HelpTopic);
        return;
    }
    QDialog::keyPressEvent(event);
}
