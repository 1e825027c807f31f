#include "frmInitialize.h"

#include "HelpIntegration.h"
#include "KORVODatabase.h"
#include "KORVOProject.h"
#include "KORVOProjects.h"
#include "KORVOSQL.h"
#include "KORVOVSS.h"
#include "frmProjectBrowser.h"
#include "frmSystem.h"

#include <QKeyEvent>
#include <QLabel>
#include <QThread>
#include <QTimer>
#include <QVBoxLayout>

namespace
{
const QString Title = QStringLiteral("KORVO");
}

frmInitialize::frmInitialize(
    UiServices &ui, HelpIntegration &help, SessionFactory makeSession, SystemRequirements::Probe probe, QWidget *parent)
    : QWidget(parent)
    , mUi(ui)
    , mHelp(help)
    , mMakeSession(std::move(makeSession))
    , mProbe(std::move(probe))
{
    setObjectName(QStringLiteral("frmInitialize"));
    setWindowTitle(QStringLiteral("KORVO - Initializing"));

    lblStatus = new QLabel(this);
    lblStatus->setObjectName(QStringLiteral("lblStatus"));
    lblVersion = new QLabel(this);
    lblVersion->setObjectName(QStringLiteral("lblVersion"));
    auto *name = new QLabel(QStringLiteral("<b>KORVO</b>"), this);
    name->setAlignment(Qt::AlignCenter);
    QFont big = name->font();
    big.setPointSizeF(big.pointSizeF() * 2);
    name->setFont(big);

    auto *layout = new QVBoxLayout(this);
    layout->addWidget(name);
    layout->addStretch();
    layout->addWidget(lblStatus);
    layout->addWidget(lblVersion);
    resize(380, 160);

    // One tick only, and not before StartKORVO.
    tmr = new QTimer(this);
    tmr->setObjectName(QStringLiteral("tmr"));
    tmr->setInterval(100);
    tmr->setSingleShot(true);
    connect(tmr, &QTimer::timeout, this, &frmInitialize::tmr_Timer);
}

frmInitialize::~frmInitialize() = default;

void frmInitialize::StartKORVO()
{
    lblStatus->clear();
    lblVersion->setText(QStringLiteral("Version: %1.%2").arg(KORVO_VERSION_MAJOR).arg(KORVO_VERSION_MINOR));
    tmr->start();
    show();
}

void frmInitialize::ShowStatus(const QString &text)
{
    lblStatus->setText(text + QStringLiteral(" ..."));
    // The tick does not return to the event loop while it works.
    repaint();
    Q_EMIT statusShown(lblStatus->text());
    QThread::msleep(100);
}

void frmInitialize::tmr_Timer()
{
    tmr->stop();

    ShowStatus(QStringLiteral("Initializing %1 Database").arg(Title));
    mDatabase = mMakeSession();

    ShowStatus(QStringLiteral("Initializing %1 Projects").arg(Title));
    mProjects = std::make_shared<KORVOProjects>(&mUi);

    ShowStatus(QStringLiteral("Checking System Requirements"));
    {
        frmSystem system(mUi, mHelp, mProbe, {}, this);
        if (!system.SystemRequirementsOK()) {
            close();
            return;
        }
    }

    ShowStatus(QStringLiteral("Finding Most Recent %1 Project").arg(Title));
    const std::shared_ptr<KORVOProject> project = mDatabase->GetDefaultProject();
    if (project && OpenMostRecentProject(project)) {
        close();
        return;
    }

    ShowStatus(QStringLiteral("Finding %1 Projects").arg(Title));
    mProjects = mDatabase->FindAllProjects(true, true);

    ShowStatus(QStringLiteral("Initializing Project Browser"));
    auto *browser = new frmProjectBrowser(mDatabase, mUi, mHelp);
    browser->setAttribute(Qt::WA_DeleteOnClose);
    mBrowser = browser;
    browser->ProjectBrowser(mProjects, false);

    close();
}

bool frmInitialize::OpenMostRecentProject(const std::shared_ptr<KORVOProject> &project)
{
    // The connectors show their own prompts and messages; nothing is added here.
    ShowStatus(QStringLiteral("Opening Most Recent Project - Connecting to SQL"));
    try {
        if (!project->SQL()->ConnectionOpen()) {
            const QString error = project->SQL()->OpenConnection({}, {}, {}, {}, KORVOSQL::UseStoredAuth, false);
            if (!error.isEmpty())
                return false;
        }
    } catch (const std::exception &) {
        // The test connection worked but the real one did not: the browser opens.
        return false;
    }

    ShowStatus(QStringLiteral("Opening Most Recent Project - Connecting to VSS"));
    if (!project->VSS()->ConnectionOpen()) {
        const QString error = project->VSS()->OpenConnection({}, {}, {}, {}, {}, false, false);
        if (!error.isEmpty())
            return false;
    }

    ShowStatus(QStringLiteral("Opening Most Recent Project"));
    bool ok = false;
    mDatabase->OpenProject(project, ok);
    return ok;
}

void frmInitialize::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_F1) {
        mHelp.ShowHelp(this, HelpTopic);
        return;
    }
    QWidget::keyPressEvent(event);
}
