#include "frmSystem.h"

#include "HelpIntegration.h"
#include "UiServices.h"

#include <QDesktopServices>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

#include <cmath>

int TwipsToPixelsX(const QWidget *widget, int twips)
{
    // 1440 twips to the inch.
    return int(std::lround(twips * widget->logicalDpiX() / 1440.0));
}

frmSystem::frmSystem(
    UiServices &ui, HelpIntegration &help, SystemRequirements::Probe probe, UrlOpener openUrl, QWidget *parent)
    : QDialog(parent)
    , mUi(ui)
    , mHelp(help)
    , mOpenUrl(std::move(openUrl))
    , mRequirements(std::move(probe))
{
    setObjectName(QStringLiteral("frmSystem"));
    setWindowTitle(QStringLiteral("System Requirements not met!"));
    if (!mOpenUrl)
        mOpenUrl = [](const QUrl &url) { return QDesktopServices::openUrl(url); };

    lblError = new QLabel(QStringLiteral("Your system does not meet all the requirements! Please ensure that you "
                                         "have the required components installed before using KORVO."),
        this);
    lblError->setObjectName(QStringLiteral("lblError"));
    lblError->setWordWrap(true);

    lvwError = new QTreeWidget(this);
    lvwError->setObjectName(QStringLiteral("lvwError"));
    lvwError->setRootIsDecorated(false);
    lvwError->setSelectionBehavior(QAbstractItemView::SelectRows);
    lvwError->setHeaderLabels(
        { QStringLiteral("Missing Component"), QStringLiteral("Min Version Required"), QStringLiteral("URL") });
    lvwError->header()->setStretchLastSection(false);
    lvwError->setColumnWidth(0, TwipsToPixelsX(this, 1830));
    lvwError->setColumnWidth(1, TwipsToPixelsX(this, 1800));
    lvwError->setColumnWidth(2, TwipsToPixelsX(this, 3820));
    connect(lvwError, &QTreeWidget::itemClicked, this, &frmSystem::lvwError_ItemClick);

    cmdContinue = new QPushButton(QStringLiteral("Continue Anyway"), this);
    cmdContinue->setObjectName(QStringLiteral("cmdContinue"));
    cmdClose = new QPushButton(QStringLiteral("Close KORVO"), this);
    cmdClose->setObjectName(QStringLiteral("cmdClose"));
    cmdClose->setDefault(true);
    connect(cmdContinue, &QPushButton::clicked, this, &frmSystem::cmdContinue_Click);
    connect(cmdClose, &QPushButton::clicked, this, &QDialog::reject);

    auto *buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(cmdContinue);
    buttons->addWidget(cmdClose);
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(lblError);
    layout->addWidget(lvwError);
    layout->addLayout(buttons);
    resize(TwipsToPixelsX(this, 1830 + 1800 + 3820) + 40, 260);
}

QString frmSystem::FindComponentVersion(
    const QString &className, int firstMajor, int lastMajor, int firstMinor, int lastMinor) const
{
    return mRequirements.FindComponentVersion(className, firstMajor, lastMajor, firstMinor, lastMinor);
}

void frmSystem::AddMissingComponent(const QString &name, const QString &minVersion, const QString &location)
{
    mRequirements.AddMissingComponent(name, minVersion, location);
}

bool frmSystem::SystemRequirementsOK()
{
    if (mRequirements.CheckAll())
        return true;

    lvwError->clear();
    for (const MissingComponent &m : mRequirements.MissingComponents())
        new QTreeWidgetItem(lvwError, { m.name, m.minVersion, m.location });
    // Only "Continue Anyway" accepts.
    return exec() == QDialog::Accepted;
}

void frmSystem::cmdContinue_Click()
{
    const auto answer = mUi.messageBox(UiServices::Icon::Warning, QStringLiteral("Continue Anyway?"),
        QStringLiteral("WARNING: If you continue, KORVO may crash at any time!\n\n"
                       "Are you sure you wish to continue?"),
        UiServices::Buttons::YesNo);
    if (answer == UiServices::Answer::No)
        return;
    accept();
}

void frmSystem::lvwError_ItemClick(QTreeWidgetItem *item)
{
    if (item)
        mOpenUrl(QUrl(item->text(2)));
}

void frmSystem::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_F1) {
        mHelp.ShowHelp(this, HelpTopic);
        return;
    }
    QDialog::keyPressEvent(event);
}
