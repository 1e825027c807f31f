#include "frmProjectDetails.h"

#include "HelpIntegration.h"
#include "KORVODatabase.h"
#include "KORVOSQL.h"
#include "KORVOVSS.h"
#include "SelectAllOnFocus.h"
#include "ServerKind.h"
#include "UiServices.h"
#include "frmVSSProjectBrowser.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QFileInfo>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalBlocker>
#include <QStackedWidget>
#include <QVBoxLayout>

#include <exception>

namespace
{

const QString InvalidData = QStringLiteral("Invalid Data");

QLabel *Note(const QString &text, QWidget *parent)
{
    auto *label = new QLabel(text, parent);
    label->setWordWrap(true);
    return label;
}

QLineEdit *Edit(const QString &name, QWidget *parent, bool password = false)
{
    auto *edit = new QLineEdit(parent);
    edit->setObjectName(name);
    if (password)
        edit->setEchoMode(QLineEdit::Password);
    return edit;
}

QPushButton *Button(const QString &name, const QString &text, QWidget *parent)
{
    auto *button = new QPushButton(text, parent);
    button->setObjectName(name);
    button->setAutoDefault(false);
    return button;
}

// A source-control "ini file" may be a repository URL; only a path can be missing.
bool IsRepositoryUrl(const QString &iniFile)
{
    return iniFile.contains(QStringLiteral("://"));
}

} // namespace

frmProjectDetails::frmProjectDetails(KORVODatabase &database, UiServices &ui, HelpIntegration *help, QWidget *parent)
    : QDialog(parent)
    , mDatabase(database)
    , mUi(ui)
    , mHelp(help)
{
    setObjectName(QStringLiteral("frmProjectDetails"));
    setWindowTitle(QStringLiteral("Project Wizard - New Project"));
    setModal(true);

    mSteps = new QStackedWidget(this);
    mSteps->setObjectName(QStringLiteral("fraSteps"));
    const QStringList captions { QString(), QStringLiteral("Project Details ..."),
        QStringLiteral("SQL Server Settings ..."), QStringLiteral("SQL Database Settings ..."),
        QStringLiteral("Visual SourceSafe Settings ..."), QStringLiteral("VSS Project Settings ...") };
    for (int i = 1; i <= 5; ++i) {
        fraStep[i] = new QGroupBox(captions.at(i), mSteps);
        fraStep[i]->setObjectName(QStringLiteral("fraStep_%1").arg(i));
        mSteps->addWidget(fraStep[i]);
    }

    // Step 1.
    {
        auto *grid = new QGridLayout(fraStep[1]);
        grid->addWidget(
            Note(QStringLiteral("Specify a unique name that can be used to identify the Project."), fraStep[1]), 0, 0,
            1, 3);
        txtProjectName = Edit(QStringLiteral("txtProjectName"), fraStep[1]);
        grid->addWidget(new QLabel(QStringLiteral("Project Name:"), fraStep[1]), 1, 0);
        grid->addWidget(txtProjectName, 1, 1, 1, 2);
        grid->addWidget(Note(QStringLiteral("The Working Folder specifies the location where items will be checked "
                                            "out to."),
                            fraStep[1]),
            2, 0, 1, 3);
        txtWorkingFolder = Edit(QStringLiteral("txtWorkingFolder"), fraStep[1]);
        cmdWFBrowse = Button(QStringLiteral("cmdWFBrowse"), QStringLiteral("..."), fraStep[1]);
        grid->addWidget(new QLabel(QStringLiteral("Working Folder:"), fraStep[1]), 3, 0);
        grid->addWidget(txtWorkingFolder, 3, 1);
        grid->addWidget(cmdWFBrowse, 3, 2);
        grid->setRowStretch(4, 1);
    }
    // Step 2.
    {
        auto *grid = new QGridLayout(fraStep[2]);
        grid->addWidget(Note(QStringLiteral("Specify the Microsoft SQL Server Name to connect to and the related "
                                            "Login information."),
                            fraStep[2]),
            0, 0, 1, 3);
        cboServerKind = new QComboBox(fraStep[2]);
        cboServerKind->setObjectName(QStringLiteral("cboServerKind"));
        for (const auto &kind : { ServerKind::SQLServer(), ServerKind::PostgreSQL() })
            cboServerKind->addItem(kind->DisplayName(), kind->Name());
        grid->addWidget(new QLabel(QStringLiteral("Server Type:"), fraStep[2]), 1, 0);
        grid->addWidget(cboServerKind, 1, 1, 1, 2);
        txtSQLServer = Edit(QStringLiteral("txtSQLServer"), fraStep[2]);
        cboSQLServer = new QComboBox(fraStep[2]);
        cboSQLServer->setObjectName(QStringLiteral("cboSQLServer"));
        cboSQLServer->setEditable(true);
        cmdSQLServer = Button(QStringLiteral("cmdSQLServer"), QStringLiteral("..."), fraStep[2]);
        auto *serverRow = new QHBoxLayout;
        serverRow->addWidget(txtSQLServer);
        serverRow->addWidget(cboSQLServer);
        grid->addWidget(new QLabel(QStringLiteral("SQL Server:"), fraStep[2]), 2, 0);
        grid->addLayout(serverRow, 2, 1);
        grid->addWidget(cmdSQLServer, 2, 2);
        chkUseWindowsAuth = new QCheckBox(QStringLiteral("Use Windows Authentication"), fraStep[2]);
        chkUseWindowsAuth->setObjectName(QStringLiteral("chkUseWindowsAuth"));
        grid->addWidget(chkUseWindowsAuth, 3, 1, 1, 2);
        lblSQLUsername = new QLabel(QStringLiteral("Username:"), fraStep[2]);
        lblSQLUsername->setObjectName(QStringLiteral("lblSQLUsername"));
        txtSQLUsername = Edit(QStringLiteral("txtSQLUsername"), fraStep[2]);
        grid->addWidget(lblSQLUsername, 4, 0);
        grid->addWidget(txtSQLUsername, 4, 1, 1, 2);
        lblSQLPassword = new QLabel(QStringLiteral("Password:"), fraStep[2]);
        lblSQLPassword->setObjectName(QStringLiteral("lblSQLPassword"));
        txtSQLPassword = Edit(QStringLiteral("txtSQLPassword"), fraStep[2], true);
        grid->addWidget(lblSQLPassword, 5, 0);
        grid->addWidget(txtSQLPassword, 5, 1, 1, 2);
        grid->setRowStretch(6, 1);
    }
    // Step 3.
    {
        auto *grid = new QGridLayout(fraStep[3]);
        grid->addWidget(Note(QStringLiteral("Specify the Database to connect to and specify whether the SQL Password "
                                            "should be saved in the registry. NOTE that the password will not be "
                                            "encrypted."),
                            fraStep[3]),
            0, 0, 1, 2);
        cboSQLDatabase = new QComboBox(fraStep[3]);
        cboSQLDatabase->setObjectName(QStringLiteral("cboSQLDatabase"));
        cboSQLDatabase->setEditable(true);
        grid->addWidget(new QLabel(QStringLiteral("Database:"), fraStep[3]), 1, 0);
        grid->addWidget(cboSQLDatabase, 1, 1);
        chkSQLStorePassword = new QCheckBox(QStringLiteral("Store SQL Password"), fraStep[3]);
        chkSQLStorePassword->setObjectName(QStringLiteral("chkSQLStorePassword"));
        grid->addWidget(chkSQLStorePassword, 2, 1);
        lblSQLServerErrorLabel = Note(QStringLiteral("The Database list could not be filled due to the following "
                                                     "error:"),
            fraStep[3]);
        lblSQLServerErrorLabel->setObjectName(QStringLiteral("lblSQLServerErrorLabel"));
        lblSQLServerError = Note(QString(), fraStep[3]);
        lblSQLServerError->setObjectName(QStringLiteral("lblSQLServerError"));
        grid->addWidget(lblSQLServerErrorLabel, 3, 0, 1, 2);
        grid->addWidget(lblSQLServerError, 4, 0, 1, 2);
        grid->setRowStretch(5, 1);
    }
    // Step 4.
    {
        auto *grid = new QGridLayout(fraStep[4]);
        grid->addWidget(Note(QStringLiteral("Specify the Microsoft Visual SourceSafe Database to connect to and the "
                                            "relevant Login infomation."),
                            fraStep[4]),
            0, 0, 1, 3);
        txtVSSIniFile = Edit(QStringLiteral("txtVSSIniFile"), fraStep[4]);
        cmdVSSIniFile = Button(QStringLiteral("cmdVSSIniFile"), QStringLiteral("..."), fraStep[4]);
        grid->addWidget(new QLabel(QStringLiteral("Ini File:"), fraStep[4]), 1, 0);
        grid->addWidget(txtVSSIniFile, 1, 1);
        grid->addWidget(cmdVSSIniFile, 1, 2);
        txtVSSUserName = Edit(QStringLiteral("txtVSSUserName"), fraStep[4]);
        grid->addWidget(new QLabel(QStringLiteral("Username:"), fraStep[4]), 2, 0);
        grid->addWidget(txtVSSUserName, 2, 1, 1, 2);
        txtVSSPassword = Edit(QStringLiteral("txtVSSPassword"), fraStep[4], true);
        grid->addWidget(new QLabel(QStringLiteral("Password:"), fraStep[4]), 3, 0);
        grid->addWidget(txtVSSPassword, 3, 1, 1, 2);
        grid->setRowStretch(4, 1);
    }
    // Step 5.
    {
        auto *grid = new QGridLayout(fraStep[5]);
        grid->addWidget(Note(QStringLiteral("Specify the VSS Project that will be used for this project and specify "
                                            "whether the VSS Password should be stored in the Registry. NOTE that "
                                            "the password will not be encrypted."),
                            fraStep[5]),
            0, 0, 1, 3);
        txtVSSProject = Edit(QStringLiteral("txtVSSProject"), fraStep[5]);
        cmdVSSProject = Button(QStringLiteral("cmdVSSProject"), QStringLiteral("..."), fraStep[5]);
        grid->addWidget(new QLabel(QStringLiteral("VSS Project:"), fraStep[5]), 1, 0);
        grid->addWidget(txtVSSProject, 1, 1);
        grid->addWidget(cmdVSSProject, 1, 2);
        chkVSSStorePassword = new QCheckBox(QStringLiteral("Store VSS Password"), fraStep[5]);
        chkVSSStorePassword->setObjectName(QStringLiteral("chkVSSStorePassword"));
        grid->addWidget(chkVSSStorePassword, 2, 1, 1, 2);
        lblVSSErrorLabel
            = Note(QStringLiteral("The VSS connection could not be made due to the following error:"), fraStep[5]);
        lblVSSErrorLabel->setObjectName(QStringLiteral("lblVSSErrorLabel"));
        lblVSSError = Note(QString(), fraStep[5]);
        lblVSSError->setObjectName(QStringLiteral("lblVSSError"));
        grid->addWidget(lblVSSErrorLabel, 3, 0, 1, 3);
        grid->addWidget(lblVSSError, 4, 0, 1, 3);
        grid->setRowStretch(5, 1);
    }

    cmdBack = Button(QStringLiteral("cmdBack"), QStringLiteral("&Back"), this);
    cmdNext = Button(QStringLiteral("cmdNext"), QStringLiteral("Next"), this);
    cmdFinished = Button(QStringLiteral("cmdFinished"), QStringLiteral("&Finished"), this);
    cmdCancel = Button(QStringLiteral("cmdCancel"), QStringLiteral("Cancel"), this);
    auto *buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(cmdBack);
    buttons->addWidget(cmdNext);
    buttons->addWidget(cmdFinished);
    buttons->addWidget(cmdCancel);
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(mSteps);
    layout->addLayout(buttons);
    resize(520, 320);

    connect(cmdNext, &QPushButton::clicked, this, &frmProjectDetails::cmdNext_Click);
    connect(cmdBack, &QPushButton::clicked, this, &frmProjectDetails::cmdBack_Click);
    connect(cmdFinished, &QPushButton::clicked, this, &frmProjectDetails::cmdFinished_Click);
    connect(cmdCancel, &QPushButton::clicked, this, &QDialog::reject);
    connect(chkUseWindowsAuth, &QCheckBox::clicked, this, &frmProjectDetails::chkUseWindowsAuth_Click);
    connect(cmdSQLServer, &QPushButton::clicked, this, &frmProjectDetails::cmdSQLServer_Click);
    connect(cmdVSSIniFile, &QPushButton::clicked, this, &frmProjectDetails::cmdVSSIniFile_Click);
    connect(cmdWFBrowse, &QPushButton::clicked, this, &frmProjectDetails::cmdWFBrowse_Click);
    connect(cmdVSSProject, &QPushButton::clicked, this, &frmProjectDetails::cmdVSSProject_Click);
    connect(cboServerKind, &QComboBox::currentIndexChanged, this, &frmProjectDetails::ApplyServerKind);
    SelectAllOnFocus::Install(this);
}

frmProjectDetails::~frmProjectDetails() = default;

KORVOProjectPtr frmProjectDetails::newProject()
{
    mEditing = false;
    mProject = MakeProject ? MakeProject() : std::make_shared<KORVOProject>(mUi);
    Setup();
    exec();
    return mCancelled ? nullptr : mProject;
}

KORVOProjectPtr frmProjectDetails::EditProject(const KORVOProjectPtr &project)
{
    mEditing = true;
    mProject = project;
    // Tests of the connection set the connector's kind; a cancel puts it back.
    const auto kind = project->SQL()->KindPtr();
    Setup();
    exec();
    if (mCancelled) {
        project->SQL()->SetKind(kind);
        return nullptr;
    }
    return mProject;
}

void frmProjectDetails::Setup()
{
    mCancelled = true;
    mFinishing = false;
    if (!mEditing)
        mProject->Sequence = -1;
    mOldName = mEditing ? mProject->Name : QString();
    setWindowTitle(
        mEditing ? QStringLiteral("Project Wizard - Project Details") : QStringLiteral("Project Wizard - New Project"));
    lblSQLServerErrorLabel->hide();
    lblSQLServerError->hide();
    lblVSSErrorLabel->hide();
    lblVSSError->hide();
    // A new project's connectors are empty, so this clears the controls too.
    FillFromProject();
    ShowStep(1);
}

void frmProjectDetails::FillFromProject()
{
    const KORVOSQL &sql = *mProject->SQL();
    const KORVOVSS &vss = *mProject->VSS();
    txtProjectName->setText(mProject->Name);
    txtWorkingFolder->setText(vss.GeneralWorkingFolder());
    {
        const QSignalBlocker quiet(cboServerKind);
        cboServerKind->setCurrentIndex(std::max(0, cboServerKind->findData(sql.Kind().Name())));
    }
    ApplyServerListing();
    txtSQLServer->setText(sql.Server());
    cboSQLServer->setEditText(sql.Server());
    chkUseWindowsAuth->setChecked(sql.UseWinNTAuth());
    txtSQLUsername->setText(sql.UserName());
    txtSQLPassword->setText(sql.Password());
    chkUseWindowsAuth_Click();
    cboSQLDatabase->clear();
    cboSQLDatabase->setEditText(sql.Database());
    chkSQLStorePassword->setChecked(sql.StorePassword());
    txtVSSIniFile->setText(vss.IniFile);
    txtVSSUserName->setText(vss.UserName);
    txtVSSPassword->setText(vss.Password);
    txtVSSProject->setText(vss.Project);
    chkVSSStorePassword->setChecked(vss.StorePassword);
}

void frmProjectDetails::ApplyServerKind()
{
    mProject->SQL()->SetKind(ServerKind::FromName(cboServerKind->currentData().toString()));
    ApplyServerListing();
}

void frmProjectDetails::ApplyServerListing()
{
    // Without a component that lists servers the name is typed.
    const bool listing = mProject->SQL()->SQLDMOInstalled();
    const QString server = SQLServerText();
    cboSQLServer->setVisible(listing);
    cmdSQLServer->setVisible(listing);
    txtSQLServer->setVisible(!listing);
    txtSQLServer->setText(server);
    cboSQLServer->setEditText(server);
}

QString frmProjectDetails::SQLServerText() const
{
    return cboSQLServer->isVisibleTo(fraStep[2]) ? cboSQLServer->currentText() : txtSQLServer->text();
}

QWidget *frmProjectDetails::SQLServerControl() const
{
    return cboSQLServer->isVisibleTo(fraStep[2]) ? static_cast<QWidget *>(cboSQLServer) : txtSQLServer;
}

void frmProjectDetails::ShowStep(int step)
{
    mStep = step;
    mSteps->setCurrentWidget(fraStep[step]);
    cmdBack->setEnabled(step > 1);
    cmdNext->setEnabled(step < 5);
    cmdFinished->setEnabled(step == 5);
    QWidget *first = nullptr;
    switch (step) {
    case 1:
        first = txtProjectName;
        break;
    case 2:
        first = cboServerKind;
        break;
    case 3:
        first = cboSQLDatabase;
        break;
    case 4:
        first = txtVSSIniFile;
        break;
    case 5:
        first = txtVSSProject;
        break;
    }
    first->setFocus();
}

void frmProjectDetails::Invalid(const QString &text, QWidget *focus)
{
    mUi.messageBox(UiServices::Icon::Warning, InvalidData, text);
    focus->setFocus();
}

bool frmProjectDetails::ValidateStep(int step)
{
    // While finishing, a failing step is brought up before its message.
    auto fail = [&](const QString &text, QWidget *focus) {
        if (mFinishing)
            ShowStep(step);
        Invalid(text, focus);
        return false;
    };
    switch (step) {
    case 1:
        if (Blank(txtProjectName->text()))
            return fail(QStringLiteral("No Project Name specified!"), txtProjectName);
        if (mDatabase.ProjectNameExists(txtProjectName->text().trimmed(), mOldName))
            return fail(QStringLiteral("The specified Project Name already exists!"), txtProjectName);
        if (Blank(txtWorkingFolder->text()))
            return fail(QStringLiteral("No Working Folder specified!"), txtWorkingFolder);
        if (!QFileInfo(txtWorkingFolder->text().trimmed()).isDir())
            return fail(QStringLiteral("The specified Working Folder does not exist!"), txtWorkingFolder);
        return true;
    case 2:
        if (Blank(SQLServerText()))
            return fail(QStringLiteral("No SQL Server specified!"), SQLServerControl());
        if (!chkUseWindowsAuth->isChecked() && Blank(txtSQLUsername->text()))
            return fail(QStringLiteral("No Username specified!"), txtSQLUsername);
        FillDatabaseList();
        return true;
    case 3:
        if (Blank(cboSQLDatabase->currentText()))
            return fail(QStringLiteral("No Database specified!"), cboSQLDatabase);
        if (!TestSQLConnection()) {
            if (mFinishing)
                ShowStep(step);
            return false;
        }
        return true;
    case 4:
        if (Blank(txtVSSIniFile->text()))
            return fail(QStringLiteral("No Ini File specified!"), txtVSSIniFile);
        if (!IsRepositoryUrl(txtVSSIniFile->text().trimmed()) && !QFileInfo::exists(txtVSSIniFile->text().trimmed()))
            return fail(QStringLiteral("The specified Ini File does not exist!"), txtVSSIniFile);
        if (Blank(txtVSSUserName->text()))
            return fail(QStringLiteral("No Username specified!"), txtVSSUserName);
        // Only a question here: the project, asked for next, is what must connect.
        TestVSSConnection(false);
        return true;
    case 5:
        if (Blank(txtVSSProject->text()))
            return fail(QStringLiteral("No Project specified!"), txtVSSProject);
        if (!TestVSSConnection(true)) {
            if (mFinishing)
                ShowStep(step);
            return false;
        }
        return true;
    }
    return false;
}

void frmProjectDetails::FillDatabaseList()
{
    KORVOSQL &sql = *mProject->SQL();
    const int useNT = chkUseWindowsAuth->isChecked() ? -1 : 0;
    const QString server = SQLServerText().trimmed();
    const QString user = chkUseWindowsAuth->isChecked() ? QString() : txtSQLUsername->text();
    const QString current = cboSQLDatabase->currentText();
    lblSQLServerErrorLabel->hide();
    lblSQLServerError->hide();
    WaitCursor wait(mUi);

    auto showError = [&](const QString &error) {
        lblSQLServerErrorLabel->show();
        lblSQLServerError->setText(error);
        lblSQLServerError->show();
    };
    const QString error = sql.ValidSQLDMOConnectionString(server, user, txtSQLPassword->text(), QString(), useNT);
    if (!error.isEmpty()) {
        showError(error);
        return;
    }
    if (!sql.SQLDMOInstalled()) {
        lblSQLServerError->setText(QStringLiteral(
            "NOTE: The database list could not be generated because the Microsoft SQLDMO component is not installed on "
            "your machine. It is recommended that you install the Microsoft SQL Server Client components."));
        lblSQLServerError->show();
        return;
    }
    QStringList names;
    try {
        names = sql.FindDatabases(server, user, txtSQLPassword->text(), useNT);
    } catch (const std::exception &e) {
        showError(QString::fromUtf8(e.what()));
        return;
    }
    cboSQLDatabase->clear();
    for (int i = 1; i < names.size(); ++i)
        cboSQLDatabase->addItem(names.at(i));
    const int keep = cboSQLDatabase->findText(current, Qt::MatchFixedString);
    if (keep >= 0)
        cboSQLDatabase->setCurrentIndex(keep);
    else
        cboSQLDatabase->setEditText(current);
}

bool frmProjectDetails::TestSQLConnection()
{
    KORVOSQL &sql = *mProject->SQL();
    const bool windowsAuth = chkUseWindowsAuth->isChecked();
    QString user = windowsAuth ? QString() : txtSQLUsername->text();
    QString password = txtSQLPassword->text();
    const QString server = SQLServerText().trimmed();
    const QString database = cboSQLDatabase->currentText().trimmed();
    QString error;
    bool asked = false;
    if (password.isEmpty() && !windowsAuth && !chkSQLStorePassword->isChecked()) {
        asked = true;
        if (!mUi.sqlPassword(server, database, user, password))
            error = QStringLiteral("Password was not entered!");
    }
    if (error.isEmpty()) {
        WaitCursor wait(mUi);
        error = sql.TestConnection(server, database, user, password, windowsAuth);
    }
    if (asked)
        txtSQLPassword->setText(password);
    return error.isEmpty() || ContinueAnyway(QStringLiteral("database"), error);
}

bool frmProjectDetails::ContinueAnyway(const QString &what, const QString &error)
{
    return mUi.askYesNo(InvalidData,
        QStringLiteral("Could not connect to the specified %1. Would you like to continue anyway?\nThe following "
                       "error occured:\n")
                .arg(what)
            + error,
        UiServices::Icon::Warning);
}

bool frmProjectDetails::TestVSSConnection(bool withProject)
{
    KORVOVSS &vss = *mProject->VSS();
    const QString iniFile = txtVSSIniFile->text().trimmed();
    QString user = txtVSSUserName->text();
    QString password = txtVSSPassword->text();
    if (!withProject) {
        lblVSSErrorLabel->hide();
        lblVSSError->hide();
    }
    QString error;
    bool asked = false;
    if (password.isEmpty() && !chkVSSStorePassword->isChecked()) {
        asked = true;
        if (!mUi.vssPassword(iniFile, user, password))
            error = QStringLiteral("Password was not entered!");
    }
    if (error.isEmpty()) {
        WaitCursor wait(mUi);
        error = vss.TestConnection(iniFile, user, password, withProject ? txtVSSProject->text().trimmed() : QString());
    }
    if (asked)
        txtVSSPassword->setText(password);
    if (error.isEmpty()) {
        lblVSSErrorLabel->hide();
        lblVSSError->hide();
        return true;
    }
    if (withProject) {
        lblVSSError->setText(error);
        lblVSSErrorLabel->show();
        lblVSSError->show();
    }
    return ContinueAnyway(QStringLiteral("project"), error);
}

void frmProjectDetails::cmdNext_Click()
{
    if (!ValidateStep(mStep))
        return;
    if (mStep < 5)
        ShowStep(mStep + 1);
}

void frmProjectDetails::cmdBack_Click()
{
    if (mStep > 1)
        ShowStep(mStep - 1);
}

void frmProjectDetails::cmdFinished_Click()
{
    // The connection tests show the wait cursor themselves; the boxes between
    // them are answered with the ordinary one.
    mFinishing = true;
    for (int step = 1; step <= 5; ++step) {
        if (!ValidateStep(step)) {
            mFinishing = false;
            return;
        }
    }
    mFinishing = false;

    KORVOSQL &sql = *mProject->SQL();
    KORVOVSS &vss = *mProject->VSS();
    mProject->Name = txtProjectName->text().trimmed();
    sql.SetKind(ServerKind::FromName(cboServerKind->currentData().toString()));
    sql.SetServer(SQLServerText().trimmed());
    sql.SetUseWinNTAuth(chkUseWindowsAuth->isChecked());
    if (sql.UseWinNTAuth()) {
        sql.SetUserName(QString());
        sql.SetPassword(QString());
        sql.SetStorePassword(false);
    } else {
        sql.SetUserName(txtSQLUsername->text());
        sql.SetPassword(txtSQLPassword->text());
        sql.SetStorePassword(chkSQLStorePassword->isChecked());
    }
    sql.SetDatabase(cboSQLDatabase->currentText().trimmed());
    vss.IniFile = txtVSSIniFile->text().trimmed();
    vss.UserName = txtVSSUserName->text();
    vss.Password = txtVSSPassword->text();
    vss.Project = txtVSSProject->text().trimmed();
    vss.StorePassword = chkVSSStorePassword->isChecked();
    vss.SetGeneralWorkingFolder(txtWorkingFolder->text().trimmed());
    mCancelled = false;
    accept();
}

void frmProjectDetails::chkUseWindowsAuth_Click()
{
    const bool on = chkUseWindowsAuth->isChecked();
    if (on) {
        txtSQLUsername->setText(WindowsAuthenticationText());
        txtSQLPassword->clear();
    } else if (txtSQLUsername->text() == WindowsAuthenticationText()) {
        txtSQLUsername->clear();
    }
    txtSQLUsername->setEnabled(!on);
    txtSQLPassword->setEnabled(!on);
    lblSQLUsername->setEnabled(!on);
    lblSQLPassword->setEnabled(!on);
    chkSQLStorePassword->setEnabled(!on);
}

void frmProjectDetails::cmdSQLServer_Click()
{
    KORVOSQL &sql = *mProject->SQL();
    if (!sql.SQLDMOInstalled())
        return;
    WaitCursor wait(mUi);
    const QString current = cboSQLServer->currentText();
    const QStringList servers = sql.FindServers();
    cboSQLServer->clear();
    for (int i = 1; i < servers.size(); ++i)
        cboSQLServer->addItem(servers.at(i));
    cboSQLServer->setEditText(current);
}

void frmProjectDetails::cmdVSSIniFile_Click()
{
    const QString current = txtVSSIniFile->text().trimmed();
    const QString start = current.isEmpty() || IsRepositoryUrl(current)
        ? QStringLiteral("srcsafe.ini")
        : QDir(QFileInfo(current).absolutePath()).filePath(QStringLiteral("srcsafe.ini"));
    const QString file
        = mUi.openFileName(QStringLiteral("Select the Microsoft Visual SourceSafe Database File (srcsafe.ini)"), start,
            QStringLiteral("Microsoft Visual SourceSafe Database Files (srcsafe.ini)"));
    if (!file.isEmpty())
        txtVSSIniFile->setText(QDir::toNativeSeparators(file));
}

void frmProjectDetails::cmdWFBrowse_Click()
{
    // A folder picker: on this desktop there is no need to pick a file and cut
    // off its name.
    const QString folder = mUi.folderName(
        QStringLiteral("Select the Working Folder (the filename will be ignored)"), txtWorkingFolder->text().trimmed());
    if (!folder.isEmpty())
        txtWorkingFolder->setText(QDir::toNativeSeparators(folder));
}

void frmProjectDetails::cmdVSSProject_Click()
{
    KORVOVSS &vss = *mProject->VSS();
    QString error;
    {
        WaitCursor wait(mUi);
        error = vss.OpenConnection(txtVSSIniFile->text().trimmed(), txtVSSUserName->text(), txtVSSPassword->text(),
            QStringLiteral("$\\"), QString(), true, true);
    }
    if (!error.isEmpty()) {
        mUi.messageBox(
            UiServices::Icon::Warning, InvalidData, QStringLiteral("Cannot connect to Visual SourceSafe Database"));
        return;
    }
    frmVSSProjectBrowser browser(mUi, mHelp, this);
    const QString folder = browser.GetFolder(vss, txtVSSProject->text().trimmed());
    if (!folder.isEmpty())
        txtVSSProject->setText(folder);
}

void frmProjectDetails::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_F1 && mHelp) {
        mHelp->ShowHelp(this, HelpTopic(mStep));
        return;
    }
    QDialog::keyPressEvent(event);
}
