#include "frmScriptCreator.h"

#include "HelpIntegration.h"
#include "KORVOStepList.h"
#include "KORVOVSS.h"
#include "ScriptCreator.h"
#include "ScriptEmitter.h"
#include "ScriptObjectSelection.h"
#include "SelectAllOnFocus.h"
#include "UserDataFolder.h"
#include "sql/KORVOSQL.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QCloseEvent>
#include <QComboBox>
#include <QDateTimeEdit>
#include <QDir>
#include <QFileInfo>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QRadioButton>
#include <QTreeWidget>
#include <QVBoxLayout>

#include <functional>

namespace
{

const QString WindowsAuthText = QStringLiteral("(Windows authentication)");
const QString InvalidData = QStringLiteral("Invalid Data");
constexpr int TagRole = Qt::UserRole;
constexpr int KeyRole = Qt::UserRole + 1;

// A combo box that fills its list just before dropping it down.
class DropDownComboBox : public QComboBox
{
public:
    using QComboBox::QComboBox;
    std::function<void()> BeforeDropDown;
    void showPopup() override
    {
        if (BeforeDropDown)
            BeforeDropDown();
        QComboBox::showPopup();
    }
};

int Pixels(const QWidget *widget, int twips)
{
    return twips * widget->logicalDpiX() / (15 * 96);
}

// Holds the wait cursor from construction until released or destroyed.
class Hourglass
{
public:
    explicit Hourglass(UiServices &ui)
        : mUi(ui)
    {
        mUi.beginWait();
    }
    ~Hourglass() { Release(); }
    void Release()
    {
        if (std::exchange(mOn, false))
            mUi.endWait();
    }

private:
    UiServices &mUi;
    bool mOn = true;
};

} // namespace

frmScriptCreator::frmScriptCreator(KORVODatabase &session, HelpIntegration *help, QWidget *parent)
    : QDialog(parent)
    , mSession(session)
    , mUi(session.Ui())
    , mHelp(help)
    , mOuterListener(session.Listener())
{
    const KORVOProjectPtr &project = mSession.Project();
    mScript = std::make_unique<ScriptCreator>(
        mUi, project && project->SQL() ? project->SQL()->KindPtr() : ServerKind::SQLServer());
    setObjectName(QStringLiteral("frmScriptCreator"));
    setWindowTitle(QStringLiteral("Script Generation ..."));
    BuildControls();
    ShowFrame(fraStart, optType->button(1));
    LoadSettings();
    mSession.SetListener(this);
}

frmScriptCreator::~frmScriptCreator()
{
    mSession.SetListener(mOuterListener);
}

void frmScriptCreator::StartScriptGenerator(KORVODatabase &session, HelpIntegration *help, QWidget *parent)
{
    frmScriptCreator window(session, help, parent);
    window.exec();
}

QString frmScriptCreator::SettingsPath() const
{
    const KORVOProjectPtr &project = mSession.Project();
    return ScriptCreator::SettingsPath(project ? project->Name : QString());
}

void frmScriptCreator::ShowStepList()
{
    ShowFrame(fraProgress, cmdCancel);
}

QGroupBox *frmScriptCreator::Page(const QString &name, const QString &caption)
{
    auto *page = new QGroupBox(caption, this);
    page->setObjectName(name);
    mPages.append(page);
    return page;
}

void frmScriptCreator::BuildControls()
{
    auto *layout = new QVBoxLayout(this);

    fraStart
        = Page(QStringLiteral("fraStart"), QStringLiteral("Select the Type of script you would like to create ..."));
    {
        auto *v = new QVBoxLayout(fraStart);
        optType = new QButtonGroup(this);
        const QString captions[]
            = { QStringLiteral("Use Visual SourceSafe time frame"), QStringLiteral("Compare to another database"),
                  QStringLiteral("Create script for all supported database objects"),
                  QStringLiteral("Custom script (You can specify the objects you would like to script)") };
        for (int i = 1; i <= 4; ++i) {
            auto *option = new QRadioButton(captions[i - 1], fraStart);
            option->setObjectName(QStringLiteral("optType_%1").arg(i));
            optType->addButton(option, i);
            v->addWidget(option);
        }
        v->addStretch();
        connect(optType, &QButtonGroup::idClicked, this,
            [this] { chkDropObjectsFirst->setVisible(SelectedOption() == 3 || SelectedOption() == 4); });
    }

    fraVSS = Page(QStringLiteral("fraVSS"), QStringLiteral("Visual SourceSafe time frame to use ..."));
    {
        auto *g = new QGridLayout(fraVSS);
        dtpFrom = new QDateTimeEdit(fraVSS);
        dtpFrom->setObjectName(QStringLiteral("dtpFrom"));
        dtpUntil = new QDateTimeEdit(fraVSS);
        dtpUntil->setObjectName(QStringLiteral("dtpUntil"));
        for (QDateTimeEdit *picker : { dtpFrom, dtpUntil }) {
            picker->setCalendarPopup(true);
            picker->setDisplayFormat(QStringLiteral("dd.MM.yyyy hh:mm:ss"));
        }
        auto *lblFrom = new QLabel(QStringLiteral("&Get changes made from:"), fraVSS);
        lblFrom->setBuddy(dtpFrom);
        lblUntil = new QLabel(QStringLiteral("&Until:"), fraVSS);
        lblUntil->setObjectName(QStringLiteral("lblUntil"));
        lblUntil->setBuddy(dtpUntil);
        chkUntil = new QCheckBox(QStringLiteral("&Today"), fraVSS);
        chkUntil->setObjectName(QStringLiteral("chkUntil"));
        g->addWidget(lblFrom, 0, 0);
        g->addWidget(dtpFrom, 0, 1);
        g->addWidget(lblUntil, 1, 0);
        g->addWidget(dtpUntil, 1, 1);
        g->addWidget(chkUntil, 1, 2);
        g->setRowStretch(2, 1);
        connect(chkUntil, &QCheckBox::toggled, this, [this](bool on) {
            dtpUntil->setEnabled(!on);
            lblUntil->setEnabled(!on);
        });
    }

    fraAnotherDB = Page(
        QStringLiteral("fraAnotherDB"), QStringLiteral("Connection information for comparing to another database ..."));
    {
        auto *g = new QGridLayout(fraAnotherDB);
        txtSQLServer = new QLineEdit(fraAnotherDB);
        txtSQLServer->setObjectName(QStringLiteral("txtSQLServer"));
        cboSQLServer = new QComboBox(fraAnotherDB);
        cboSQLServer->setObjectName(QStringLiteral("cboSQLServer"));
        cboSQLServer->setEditable(true);
        cboSQLServer->hide();
        cmdSQLServer = new QPushButton(QStringLiteral("..."), fraAnotherDB);
        cmdSQLServer->setObjectName(QStringLiteral("cmdSQLServer"));
        lblSQLUserName = new QLabel(QStringLiteral("&User name:"), fraAnotherDB);
        lblSQLUserName->setObjectName(QStringLiteral("lblSQLUserName"));
        txtSQLUsername = new QLineEdit(fraAnotherDB);
        txtSQLUsername->setObjectName(QStringLiteral("txtSQLUsername"));
        lblSQLUserName->setBuddy(txtSQLUsername);
        lblSQLPassword = new QLabel(QStringLiteral("&Password:"), fraAnotherDB);
        lblSQLPassword->setObjectName(QStringLiteral("lblSQLPassword"));
        txtSQLPassword = new QLineEdit(fraAnotherDB);
        txtSQLPassword->setObjectName(QStringLiteral("txtSQLPassword"));
        txtSQLPassword->setEchoMode(QLineEdit::Password);
        lblSQLPassword->setBuddy(txtSQLPassword);
        chkUseWindowsAuth = new QCheckBox(QStringLiteral("Use &windows authentication"), fraAnotherDB);
        chkUseWindowsAuth->setObjectName(QStringLiteral("chkUseWindowsAuth"));
        auto *databases = new DropDownComboBox(fraAnotherDB);
        databases->BeforeDropDown = [this] { FillDatabaseList(); };
        cboSQLDatabase = databases;
        cboSQLDatabase->setObjectName(QStringLiteral("cboSQLDatabase"));
        cboSQLDatabase->setEditable(true);
        fraSQLError = new QGroupBox(fraAnotherDB);
        fraSQLError->setObjectName(QStringLiteral("fraSQLError"));
        lblSQLServerErrorLabel = new QLabel(fraSQLError);
        lblSQLServerErrorLabel->setObjectName(QStringLiteral("lblSQLServerErrorLabel"));
        lblSQLServerErrorLabel->setWordWrap(true);
        (new QVBoxLayout(fraSQLError))->addWidget(lblSQLServerErrorLabel);
        fraSQLError->hide();

        auto *server = new QHBoxLayout;
        server->addWidget(txtSQLServer, 1);
        server->addWidget(cboSQLServer, 1);
        server->addWidget(cmdSQLServer);
        g->addWidget(new QLabel(QStringLiteral("&Server:"), fraAnotherDB), 0, 0);
        g->addLayout(server, 0, 1);
        g->addWidget(chkUseWindowsAuth, 1, 1);
        g->addWidget(lblSQLUserName, 2, 0);
        g->addWidget(txtSQLUsername, 2, 1);
        g->addWidget(lblSQLPassword, 3, 0);
        g->addWidget(txtSQLPassword, 3, 1);
        g->addWidget(new QLabel(QStringLiteral("&Database:"), fraAnotherDB), 4, 0);
        g->addWidget(cboSQLDatabase, 4, 1);
        g->addWidget(fraSQLError, 5, 0, 1, 2);
        g->setRowStretch(6, 1);
        connect(cmdSQLServer, &QPushButton::clicked, this, &frmScriptCreator::BrowseServers);
        connect(cboSQLServer, &QComboBox::currentTextChanged, txtSQLServer, &QLineEdit::setText);
        connect(chkUseWindowsAuth, &QCheckBox::toggled, this, &frmScriptCreator::WindowsAuthChanged);
    }

    fraCustom = Page(QStringLiteral("fraCustom"), QStringLiteral("Select objects to script ..."));
    {
        lvwItems = new QTreeWidget(fraCustom);
        lvwItems->setObjectName(QStringLiteral("lvwItems"));
        lvwItems->setColumnCount(2);
        lvwItems->setHeaderLabels({ QStringLiteral("Object Name"), QStringLiteral("Object Type") });
        lvwItems->setColumnWidth(0, Pixels(this, 5655));
        lvwItems->setColumnWidth(1, Pixels(this, 1995));
        lvwItems->setRootIsDecorated(false);
        lvwItems->setSelectionMode(QAbstractItemView::ExtendedSelection);
        lvwItems->setSortingEnabled(true);
        lvwItems->sortByColumn(0, Qt::AscendingOrder);
        lvwItems->setContextMenuPolicy(Qt::CustomContextMenu);
        (new QVBoxLayout(fraCustom))->addWidget(lvwItems);
        mnuPopup = new QMenu(this);
        mnuPopup->setObjectName(QStringLiteral("mnuPopup"));
        const struct {
            const char *name, *caption;
            bool all, check;
        } items[]
            = { { "mnuCheckAll", "&Check All", true, true }, { "mnuCheckSelection", "Ch&eck Selection", false, true },
                  { "mnuUncheckSelection", "Uncheck &Selection", false, false },
                  { "mnuUncheckAll", "&Uncheck All", true, false } };
        for (const auto &item : items) {
            QAction *action = mnuPopup->addAction(QString::fromLatin1(item.caption));
            action->setObjectName(QString::fromLatin1(item.name));
            connect(action, &QAction::triggered, this,
                [this, all = item.all, check = item.check] { CheckRows(all, check); });
        }
        connect(lvwItems, &QWidget::customContextMenuRequested, this,
            [this](const QPoint &at) { mnuPopup->popup(lvwItems->viewport()->mapToGlobal(at)); });
    }

    fraProgress = Page(QStringLiteral("fraProgress"), QStringLiteral("Progress ..."));
    mStepList = new KORVOStepList(fraProgress);
    (new QVBoxLayout(fraProgress))->addWidget(mStepList);

    fraFinish = Page(QStringLiteral("fraFinish"), QStringLiteral("Destination ..."));
    {
        auto *g = new QGridLayout(fraFinish);
        txtFileLocation = new QLineEdit(fraFinish);
        txtFileLocation->setObjectName(QStringLiteral("txtFileLocation"));
        auto *label = new QLabel(QStringLiteral("&Script file name:"), fraFinish);
        label->setBuddy(txtFileLocation);
        cmdCreateFile = new QPushButton(QStringLiteral("&..."), fraFinish);
        cmdCreateFile->setObjectName(QStringLiteral("cmdCreateFile"));
        chkDropObjectsFirst = new QCheckBox(QStringLiteral("&Drop objects at the beginning of the script"), fraFinish);
        chkDropObjectsFirst->setObjectName(QStringLiteral("chkDropObjectsFirst"));
        chkCreatePermission = new QCheckBox(QStringLiteral("&Mirror object permissions"), fraFinish);
        chkCreatePermission->setObjectName(QStringLiteral("chkCreatePermission"));
        g->addWidget(label, 0, 0, 1, 2);
        g->addWidget(txtFileLocation, 1, 0);
        g->addWidget(cmdCreateFile, 1, 1);
        g->addWidget(chkDropObjectsFirst, 2, 0, 1, 2);
        g->addWidget(chkCreatePermission, 3, 0, 1, 2);
        g->setRowStretch(4, 1);
        connect(cmdCreateFile, &QPushButton::clicked, this, &frmScriptCreator::ChooseFile);
        connect(txtFileLocation, &QLineEdit::textChanged, this, &frmScriptCreator::SettingsTouched);
        connect(chkDropObjectsFirst, &QCheckBox::toggled, this, &frmScriptCreator::SettingsTouched);
        connect(chkCreatePermission, &QCheckBox::toggled, this, &frmScriptCreator::SettingsTouched);
    }

    for (QGroupBox *page : std::as_const(mPages))
        layout->addWidget(page, 1);

    auto *buttons = new QHBoxLayout;
    cmdBack = new QPushButton(QStringLiteral("< &Back"), this);
    cmdBack->setObjectName(QStringLiteral("cmdBack"));
    cmdNext = new QPushButton(QStringLiteral("Next >"), this);
    cmdNext->setObjectName(QStringLiteral("cmdNext"));
    cmdFinished = new QPushButton(QStringLiteral("Finished"), this);
    cmdFinished->setObjectName(QStringLiteral("cmdFinished"));
    cmdCancel = new QPushButton(QStringLiteral("Cancel"), this);
    cmdCancel->setObjectName(QStringLiteral("cmdCancel"));
    buttons->addStretch();
    for (QPushButton *b : { cmdBack, cmdNext, cmdFinished, cmdCancel }) {
        b->setAutoDefault(false);
        buttons->addWidget(b);
    }
    layout->addLayout(buttons);
    connect(cmdBack, &QPushButton::clicked, this, &frmScriptCreator::Back);
    connect(cmdNext, &QPushButton::clicked, this, &frmScriptCreator::Next);
    connect(cmdFinished, &QPushButton::clicked, this, &frmScriptCreator::Finish);
    connect(cmdCancel, &QPushButton::clicked, this, &QWidget::close);

    SelectAllOnFocus::Install(this);
    resize(620, 440);
}

void frmScriptCreator::LoadSettings()
{
    // The data root may be missing too on a fresh account.
    QDir().mkpath(UserDataFolder());
    mScript->LoadDocumentSettings(SettingsPath());

    if (QAbstractButton *option = optType->button(mScript->OptionSelected))
        option->setChecked(true);
    const std::shared_ptr<KORVOSQL> &sql = mScript->SQLConnection();
    txtSQLServer->setText(sql->Server());
    txtSQLUsername->setText(sql->StoredUserName());
    chkUseWindowsAuth->setChecked(sql->UseWinNTAuth());
    WindowsAuthChanged();
    cboSQLDatabase->setEditText(sql->Database());
    txtFileLocation->setText(mScript->FileName);
    chkCreatePermission->setChecked(mScript->CreatePermission);
    chkDropObjectsFirst->setChecked(mScript->DropObjects);
    chkUntil->setChecked(mScript->VSSIsToday);
    chkDropObjectsFirst->setVisible(SelectedOption() == 3 || SelectedOption() == 4);

    QDateTime first(QDate(2100, 1, 1), QTime(0, 0)), last(QDate(1900, 1, 1), QTime(0, 0));
    const KORVOProjectPtr &project = mSession.Project();
    if ((mScript->VSSStart.isEmpty() || mScript->VSSEnd.isEmpty()) && project && project->VSS()) {
        try {
            project->VSS()->GetDate(first, last);
        } catch (const std::exception &) {
            // Without a history the pickers keep their defaults.
        }
    }
    dtpFrom->setDateTime(mScript->VSSStart.isEmpty() ? first : ScriptCreator::TextDate(mScript->VSSStart));
    dtpUntil->setDateTime(mScript->VSSEnd.isEmpty() ? last : ScriptCreator::TextDate(mScript->VSSEnd));
}

QString frmScriptCreator::SaveSettings(bool tell)
{
    mScript->OptionSelected = SelectedOption();
    mScript->FileName = txtFileLocation->text();
    mScript->DropObjects = chkDropObjectsFirst->isChecked();
    mScript->CreatePermission = chkCreatePermission->isChecked();
    mScript->VSSIsToday = chkUntil->isChecked();
    mScript->VSSStart = ScriptCreator::DateText(dtpFrom->dateTime());
    mScript->VSSEnd = ScriptCreator::DateText(dtpUntil->dateTime());
    const std::shared_ptr<KORVOSQL> &sql = mScript->SQLConnection();
    sql->SetServer(txtSQLServer->text());
    const QString user = txtSQLUsername->text();
    sql->SetUserName(user == WindowsAuthText ? QString() : user);
    sql->SetUseWinNTAuth(chkUseWindowsAuth->isChecked());
    sql->SetDatabase(cboSQLDatabase->currentText());
    QString why;
    if (mScript->SaveDocumentSettings(SettingsPath(), &why))
        return QString();
    why = QStringLiteral("The wizard's settings could not be saved to '%1': %2.").arg(SettingsPath(), why);
    if (tell)
        mUi.messageBox(UiServices::Icon::Warning, QStringLiteral("Settings Not Saved"), why);
    return why;
}

int frmScriptCreator::SelectedOption() const
{
    return qMax(0, optType->checkedId());
}

void frmScriptCreator::ShowFrame(QWidget *page, QWidget *focus, QWidget *spareFocus)
{
    Hourglass wait(mUi);
    for (QGroupBox *p : std::as_const(mPages))
        p->setVisible(p == page);
    if (focus && focus->isVisibleTo(this) && focus->isEnabled())
        focus->setFocus();
    else if (spareFocus && spareFocus->isVisibleTo(this))
        spareFocus->setFocus();
    mCurrentFrame = page;
    cmdCancel->setText(QStringLiteral("Cancel"));
    cmdBack->setEnabled(page != fraProgress && page != fraStart);
    cmdFinished->setEnabled(page == fraFinish);
    cmdNext->setEnabled(page != fraProgress && page != fraFinish);
    cmdFinished->setDefault(cmdFinished->isEnabled());
    cmdNext->setDefault(!cmdFinished->isEnabled());
    chkDropObjectsFirst->setVisible(SelectedOption() == 3 || SelectedOption() == 4);
}

void frmScriptCreator::Invalid(const QString &text, QWidget *focus)
{
    mUi.messageBox(UiServices::Icon::Warning, InvalidData, text);
    if (focus)
        focus->setFocus();
}

void frmScriptCreator::Next()
{
    if (mCurrentFrame == fraStart) {
        switch (SelectedOption()) {
        case 1:
            ShowFrame(fraVSS, dtpFrom);
            return;
        case 2:
            ShowFrame(fraAnotherDB, txtSQLServer, cboSQLServer);
            return;
        case 3:
        case 4:
            StartCollection();
            return;
        default:
            Invalid(QStringLiteral("Please specify the Type of script you would like to create!"), nullptr);
            return;
        }
    }
    if (mCurrentFrame == fraVSS) {
        if (NextFromVSS())
            StartCollection();
    } else if (mCurrentFrame == fraAnotherDB) {
        if (NextFromAnotherDB())
            StartCollection();
    } else if (mCurrentFrame == fraCustom) {
        NextFromCustom();
    }
}

bool frmScriptCreator::NextFromVSS()
{
    const QDateTime from = dtpFrom->dateTime(), until = dtpUntil->dateTime();
    if (!from.isValid()) {
        Invalid(QStringLiteral("No From date specified!"), dtpFrom);
        return false;
    }
    if (!chkUntil->isChecked() && !until.isValid()) {
        Invalid(QStringLiteral("No Until date specified!"), dtpFrom);
        return false;
    }
    if (!chkUntil->isChecked() && until.secsTo(from) > 0) {
        Invalid(QStringLiteral("Until date must be after From date!"), dtpUntil);
        return false;
    }
    if (chkUntil->isChecked() && QDateTime::currentDateTime().secsTo(from) > 0) {
        Invalid(QStringLiteral("From date must be in the past!"), dtpFrom);
        return false;
    }
    return true;
}

bool frmScriptCreator::NextFromAnotherDB()
{
    const QString server = txtSQLServer->text();
    const bool winAuth = chkUseWindowsAuth->isChecked();
    const QString user = winAuth ? QString() : txtSQLUsername->text();
    const QString password = winAuth ? QString() : txtSQLPassword->text();
    const QString database = cboSQLDatabase->currentText();
    if (server.isEmpty()) {
        Invalid(QStringLiteral("Server is Missing!"),
            txtSQLServer->isVisibleTo(this) ? static_cast<QWidget *>(txtSQLServer) : cboSQLServer);
        return false;
    }
    if (!winAuth && user.isEmpty()) {
        Invalid(QStringLiteral("Username is Missing!"), txtSQLUsername);
        return false;
    }
    if (database.isEmpty()) {
        Invalid(QStringLiteral("Database is Missing!"), cboSQLDatabase);
        return false;
    }
    const std::shared_ptr<KORVOSQL> &sql = mScript->SQLConnection();
    Hourglass wait(mUi);
    const QString error = sql->TestConnection(server, database, user, password, winAuth);
    wait.Release();
    if (!error.isEmpty()) {
        Invalid(QStringLiteral("Could not connect to specified database! The error was: \n")
                + KORVOSQL::FormatSQLError(error),
            cboSQLDatabase);
        return false;
    }
    Hourglass open(mUi);
    sql->OpenConnection(server, database, user, password, winAuth ? KORVOSQL::UseNTYes : KORVOSQL::UseNTNo, true);
    bool ownAllows = false, otherAllows = false;
    try {
        const KORVOProjectPtr &project = mSession.Project();
        ownAllows = project && project->SQL() && project->SQL()->UserDefinedFunctionsAllowed();
        otherAllows = sql->UserDefinedFunctionsAllowed();
    } catch (const std::exception &) {
        // A closed connection answers as one without functions.
    }
    if (ownAllows && !otherAllows) {
        open.Release();
        if (!mUi.askYesNo(QStringLiteral("Continue anyway?"),
                QStringLiteral("WARNING: The specified SQL Server does not support User Defined Functions! This could "
                               "cause the script not to work when it is run on the specified database. Are you sure "
                               "you want to continue?"))) {
            sql->CloseConnection();
            cboSQLDatabase->setFocus();
            return false;
        }
    }
    sql->CloseConnection();
    return true;
}

void frmScriptCreator::NextFromCustom()
{
    Hourglass wait(mUi);
    bool any = false;
    for (int i = 0; i < lvwItems->topLevelItemCount() && !any; ++i)
        any = lvwItems->topLevelItem(i)->checkState(0) == Qt::Checked;
    if (!any) {
        wait.Release();
        Invalid(QStringLiteral("No Objects have been selected!"), lvwItems);
        return;
    }
    RebuildCustomJob();
    ShowFrame(fraFinish, cmdCreateFile);
}

void frmScriptCreator::RebuildCustomJob()
{
    ScriptCreatorObjects &list = mScript->ObjectsToScript();
    list.Clear();
    for (int i = 0; i < lvwItems->topLevelItemCount(); ++i) {
        QTreeWidgetItem *row = lvwItems->topLevelItem(i);
        if (row->checkState(0) != Qt::Checked)
            continue;
        bool fromDeleted = false;
        auto object = std::dynamic_pointer_cast<KORVOTypedObject>(
            mSession.GetObject(row->data(0, TagRole).toString(), row->data(0, KeyRole).toString(), fromDeleted));
        if (!object)
            continue;
        ScriptCreatorObjectPtr entry = list.Add();
        entry->Action = ScriptCreatorObject::Add;
        entry->ScriptObject = object;
    }
}

void frmScriptCreator::Back()
{
    if (mCurrentFrame == fraVSS || mCurrentFrame == fraAnotherDB || mCurrentFrame == fraCustom) {
        ShowFrame(fraStart, optType->checkedButton());
    } else if (mCurrentFrame == fraFinish) {
        switch (SelectedOption()) {
        case 1:
            ShowFrame(fraVSS, dtpFrom);
            break;
        case 2:
            ShowFrame(fraAnotherDB, txtSQLServer, cboSQLServer);
            break;
        case 4:
            ShowFrame(fraCustom, lvwItems);
            break;
        default:
            ShowFrame(fraStart, optType->checkedButton());
            break;
        }
    }
}

void frmScriptCreator::StartCollection()
{
    const int option = SelectedOption();
    if (option == 4 && mCustomListFilled) {
        ShowFrame(fraCustom, lvwItems);
        return;
    }
    Hourglass wait(mUi);
    mIdle = false;
    fraProgress->setTitle(QString());
    ShowFrame(fraProgress, cmdCancel);
    mStepList->ClearSteps();
    static const QString captions[] = { QString(), QStringLiteral("Creating object list for time frame ..."),
        QStringLiteral("Comparing to the specified database ..."),
        QStringLiteral("Finding all objects that need to be scripted ..."),
        QStringLiteral("Finding relevant information ...") };
    fraProgress->setTitle(captions[option]);
    try {
        switch (option) {
        case 1:
            RunTimeFrame();
            break;
        case 2:
            RunCompare();
            break;
        default:
            RunCompleteOrCustom(option == 3);
            break;
        }
    } catch (...) {
        mIdle = true;
        throw;
    }
    mIdle = true;
    if (mInterrupted)
        close();
}

void frmScriptCreator::RunTimeFrame()
{
    ScriptObjectSelection selection(mSession, *mScript, *mStepList, mInterrupted);
    const int count = selection.TimeFrame(dtpFrom->dateTime(), dtpUntil->dateTime());
    if (mInterrupted)
        return;
    if (count > 0) {
        ShowFrame(fraFinish, cmdCreateFile);
        return;
    }
    mStepList->EndStep(QStringLiteral("No Objects Found!"));
    mUi.messageBox(UiServices::Icon::Information, QStringLiteral("No Objects Found to Script"),
        QStringLiteral("No objects to be scripted were found for the specified time frame!"));
    ShowFrame(fraVSS, dtpFrom);
}

void frmScriptCreator::RunCompare()
{
    const std::shared_ptr<KORVOSQL> &sql = mScript->SQLConnection();
    sql->SetServer(txtSQLServer->text());
    const bool winAuth = chkUseWindowsAuth->isChecked();
    sql->SetUseWinNTAuth(winAuth);
    sql->SetUserName(winAuth ? QString() : txtSQLUsername->text());
    sql->SetPassword(winAuth ? QString() : txtSQLPassword->text());
    sql->SetDatabase(cboSQLDatabase->currentText());

    ScriptObjectSelection selection(mSession, *mScript, *mStepList, mInterrupted);
    int count = 0;
    QString error;
    const auto result = selection.Compare(count, error);
    if (result == ScriptObjectSelection::CompareResult::Interrupted)
        return;
    if (result == ScriptObjectSelection::CompareResult::ConnectionFailed) {
        mUi.messageBox(UiServices::Icon::Warning, QStringLiteral("Invalid Connection"),
            QStringLiteral("Could not connect to specified database! The error was: \n")
                + KORVOSQL::FormatSQLError(error));
        ShowFrame(fraAnotherDB, cboSQLDatabase);
        return;
    }
    if (count > 0) {
        ShowFrame(fraFinish, cmdCreateFile);
        return;
    }
    mUi.messageBox(UiServices::Icon::Information, QStringLiteral("No Objects Found to Script"),
        QStringLiteral("No objects to be scripted were found for the specified database! The current project and the "
                       "specified database are identical."));
    ShowFrame(fraAnotherDB, txtSQLPassword, cboSQLServer);
}

void frmScriptCreator::RunCompleteOrCustom(bool complete)
{
    ScriptObjectSelection selection(mSession, *mScript, *mStepList, mInterrupted);
    const QList<KORVOTypedObjectPtr> objects = selection.Complete(complete);
    if (mInterrupted)
        return;
    if (complete) {
        ShowFrame(fraFinish, cmdCreateFile);
        return;
    }
    FillCustomList(objects);
    ShowFrame(fraCustom, lvwItems);
    mCustomListFilled = true;
}

void frmScriptCreator::FillCustomList(const QList<KORVOTypedObjectPtr> &objects)
{
    const bool showOwner = mSession.ShowOwnerNameInName();
    lvwItems->setSortingEnabled(false);
    lvwItems->clear();
    for (const KORVOTypedObjectPtr &object : objects) {
        auto *row = new QTreeWidgetItem(lvwItems);
        row->setText(0, object->Generic().Caption(showOwner));
        row->setText(1, object->ObjectDisplayName());
        row->setData(0, KeyRole, QStringLiteral("I") + object->DBID());
        row->setData(0, TagRole, object->ObjectType());
        row->setData(1, Qt::UserRole, object->IconToUse());
        row->setCheckState(0, Qt::Unchecked);
    }
    lvwItems->setSortingEnabled(true);
    lvwItems->sortByColumn(0, Qt::AscendingOrder);
}

void frmScriptCreator::CheckRows(bool all, bool check)
{
    for (int i = 0; i < lvwItems->topLevelItemCount(); ++i) {
        QTreeWidgetItem *row = lvwItems->topLevelItem(i);
        if (all || row->isSelected())
            row->setCheckState(0, check ? Qt::Checked : Qt::Unchecked);
    }
}

void frmScriptCreator::Finish()
{
    const QString fileName = txtFileLocation->text();
    if (fileName.isEmpty()) {
        Invalid(QStringLiteral("No Script file name specifed!"), cmdCreateFile);
        return;
    }
    if (QFileInfo::exists(fileName)
        && mUi.messageBox(UiServices::Icon::Question, QStringLiteral("Overwrite File?"),
               QStringLiteral("The specified Script file name already exists. Would you like to overwrite the file?"),
               UiServices::Buttons::YesNo)
            != UiServices::Answer::Yes) {
        cmdCreateFile->setFocus();
        return;
    }
    Hourglass wait(mUi);
    // Told with the script's outcome, in the same box.
    const QString settingsError = SaveSettings(false);
    const QString settingsNote = settingsError.isEmpty() ? QString() : QStringLiteral("\n\n") + settingsError;
    ShowFrame(fraProgress, cmdCancel);
    cmdBack->setEnabled(false);
    cmdFinished->setEnabled(false);
    mStepList->SetProgressMax(0);
    mStepList->ClearSteps();

    ScriptEmitter emitter(*mScript, mScript->SQLConnection()->Kind(), *mStepList, mInterrupted);
    emitter.AddSteps();
    mEmitting = true;
    ScriptEmitter::Result result;
    try {
        result = emitter.Run(fileName);
    } catch (...) {
        mEmitting = false;
        throw;
    }
    mEmitting = false;
    if (result == ScriptEmitter::Result::Interrupted) {
        close();
        return;
    }
    if (result == ScriptEmitter::Result::TextMissing) {
        wait.Release();
        mUi.messageBox(UiServices::Icon::Critical, QStringLiteral("Script Not Generated"),
            QStringLiteral("The text of %1 could not be read from source control, so the script would be "
                           "incomplete. No script file was written.")
                .arg(emitter.MissingText()));
        ShowFrame(fraFinish, txtFileLocation);
        return;
    }
    if (result == ScriptEmitter::Result::WriteFailed) {
        wait.Release();
        const QFileInfo target(fileName);
        const QString why = !target.absoluteDir().exists()
            ? QStringLiteral("The folder '%1' does not exist.").arg(QDir::toNativeSeparators(target.absolutePath()))
            : emitter.WriteError() + QLatin1Char('.');
        mUi.messageBox(UiServices::Icon::Critical, QStringLiteral("Script Not Saved"),
            QStringLiteral("The script file '%1' could not be written: ").arg(fileName) + why
                + (target.exists() ? QStringLiteral(" The file that was there is unchanged.") : QString())
                + settingsNote);
        ShowFrame(fraFinish, txtFileLocation);
        return;
    }
    ShowFrame(fraFinish, cmdCancel);
    cmdFinished->setEnabled(false);
    cmdCancel->setText(QStringLiteral("Close"));
    cmdCancel->setFocus();
    wait.Release();
    mUi.messageBox(UiServices::Icon::Information, QStringLiteral("Operation Successful"),
        QStringLiteral("Script was successfully generated!") + settingsNote);
}

void frmScriptCreator::FillDatabaseList()
{
    const QString server = txtSQLServer->text();
    const bool winAuth = chkUseWindowsAuth->isChecked();
    const QString user = winAuth ? QString() : txtSQLUsername->text();
    const QString password = txtSQLPassword->text();
    if (mDatabaseListValid
        && (server != mLastServer || user != mLastUserName || password != mLastPassword || winAuth != mLastWinAuth))
        mDatabaseListValid = false;
    if (mDatabaseListValid)
        return;
    Hourglass wait(mUi);
    const QString text = cboSQLDatabase->currentText();
    cboSQLDatabase->clear();
    const std::shared_ptr<KORVOSQL> &sql = mScript->SQLConnection();
    if (!server.isEmpty() && (!user.isEmpty() || winAuth) && sql->SQLDMOInstalled()) {
        fraSQLError->hide();
        const int useNT = winAuth ? KORVOSQL::UseNTYes : KORVOSQL::UseNTNo;
        const QString error = sql->ValidSQLDMOConnectionString(server, user, password, QString(), useNT);
        if (error.isEmpty()) {
            try {
                const QStringList names = sql->FindDatabases(server, user, password, useNT);
                for (int i = 1; i < names.size(); ++i)
                    cboSQLDatabase->addItem(names.at(i));
            } catch (const std::exception &e) {
                lblSQLServerErrorLabel->setText(
                    QStringLiteral("The database list could not be filled due to the following error:\n")
                    + KORVOSQL::FormatSQLError(QString::fromLocal8Bit(e.what())));
                fraSQLError->show();
            }
        } else {
            lblSQLServerErrorLabel->setText(
                QStringLiteral("The database list could not be filled due to the following error:\n")
                + KORVOSQL::FormatSQLError(error));
            fraSQLError->show();
        }
    }
    cboSQLDatabase->setEditText(text);
    mLastServer = server;
    mLastUserName = user;
    mLastPassword = password;
    mLastWinAuth = winAuth;
    mDatabaseListValid = true;
}

void frmScriptCreator::BrowseServers()
{
    const std::shared_ptr<KORVOSQL> &sql = mScript->SQLConnection();
    if (!sql->SQLDMOInstalled())
        return;
    Hourglass wait(mUi);
    const QStringList servers = sql->FindServers();
    if (servers.size() <= 1) {
        txtSQLServer->setFocus();
        return;
    }
    const QString text = txtSQLServer->text();
    cboSQLServer->clear();
    for (int i = 1; i < servers.size(); ++i)
        cboSQLServer->addItem(servers.at(i));
    cboSQLServer->setEditText(text);
    cboSQLServer->show();
    txtSQLServer->hide();
    cboSQLServer->setFocus();
}

void frmScriptCreator::WindowsAuthChanged()
{
    const bool on = chkUseWindowsAuth->isChecked();
    for (QWidget *w :
        std::initializer_list<QWidget *> { lblSQLUserName, txtSQLUsername, lblSQLPassword, txtSQLPassword })
        w->setEnabled(!on);
    if (on && txtSQLUsername->text().isEmpty())
        txtSQLUsername->setText(WindowsAuthText);
    else if (!on && txtSQLUsername->text() == WindowsAuthText)
        txtSQLUsername->clear();
}

void frmScriptCreator::ChooseFile()
{
    const QString name = mUi.saveFileName(QStringLiteral("Save Script As ..."), txtFileLocation->text(),
        QStringLiteral("Script Files (*.sql)|*.sql|All Files (*.*)|*.*"));
    if (!name.isEmpty())
        txtFileLocation->setText(name);
}

void frmScriptCreator::SettingsTouched()
{
    // A finished job may be run again with other settings.
    cmdFinished->setEnabled(true);
    cmdCancel->setText(QStringLiteral("Cancel"));
}

void frmScriptCreator::RetrieveStatusChange(const QString &, const QString &, long position, long total, bool &cancel)
{
    if (position == 0)
        mStepList->SetProgressMax(total);
    mStepList->SetProgress(position, QString());
    cancel = mInterrupted;
}

void frmScriptCreator::closeEvent(QCloseEvent *event)
{
    if (mEmitting) {
        // No question during the emission: closing stops it, and no file is written.
        mInterrupted = true;
        event->accept();
        return;
    }
    if (!mIdle && !mInterrupted) {
        event->ignore();
        if (mUi.messageBox(UiServices::Icon::Question, QStringLiteral("Are you sure?"),
                QStringLiteral("Are you sure you want to interrupt the process now?"), UiServices::Buttons::YesNo)
            == UiServices::Answer::Yes)
            mInterrupted = true;
        SaveSettings();
        return;
    }
    Hourglass wait(mUi);
    SaveSettings();
    event->accept();
}

void frmScriptCreator::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_F1 && mHelp) {
        mHelp->ShowHelp(this, HelpTopic);
        return;
    }
    // Escape goes through the same test as the close button.
    if (event->key() == Qt::Key_Escape) {
        close();
        return;
    }
    QDialog::keyPressEvent(event);
}
