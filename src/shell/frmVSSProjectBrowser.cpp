#include "frmVSSProjectBrowser.h"

#include "HelpIntegration.h"
#include "KORVOVSS.h"
#include "UiServices.h"
#include "frmVSSNewProject.h"

#include <QAction>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QMenu>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace
{
const QString RootKey = QStringLiteral("$\\");
} // namespace

frmVSSProjectBrowser::frmVSSProjectBrowser(UiServices &ui, HelpIntegration *help, QWidget *parent)
    : QDialog(parent)
    , mUi(ui)
    , mHelp(help)
{
    setObjectName(QStringLiteral("frmVSSProjectBrowser"));
    setWindowTitle(QStringLiteral("VSS Project Browser"));
    tvwVSSProjects = new QTreeWidget(this);
    tvwVSSProjects->setObjectName(QStringLiteral("tvwVSSProjects"));
    tvwVSSProjects->setHeaderHidden(true);
    tvwVSSProjects->setContextMenuPolicy(Qt::CustomContextMenu);

    cmdOK = new QPushButton(QStringLiteral("OK"), this);
    cmdOK->setObjectName(QStringLiteral("cmdOK"));
    cmdOK->setDefault(true);
    cmdCancel = new QPushButton(QStringLiteral("Cancel"), this);
    cmdCancel->setObjectName(QStringLiteral("cmdCancel"));
    cmdNewProject = new QPushButton(QStringLiteral("New Project"), this);
    cmdNewProject->setObjectName(QStringLiteral("cmdNewProject"));
    cmdNewProject->setAutoDefault(false);

    mnuPopup = new QMenu(this);
    mnuPopup->setObjectName(QStringLiteral("mnuPopup"));
    QAction *mnuNewProject = mnuPopup->addAction(QStringLiteral("New Project"));
    mnuNewProject->setObjectName(QStringLiteral("mnuNewProject"));

    auto *buttons = new QHBoxLayout;
    buttons->addWidget(cmdNewProject);
    buttons->addStretch();
    buttons->addWidget(cmdOK);
    buttons->addWidget(cmdCancel);
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(tvwVSSProjects);
    layout->addLayout(buttons);
    resize(360, 420);

    connect(tvwVSSProjects, &QTreeWidget::itemExpanded, this, &frmVSSProjectBrowser::tvwVSSProjects_Expand);
    connect(tvwVSSProjects, &QWidget::customContextMenuRequested, this, [this](const QPoint &pos) {
        if (QTreeWidgetItem *node = tvwVSSProjects->itemAt(pos))
            tvwVSSProjects->setCurrentItem(node);
        mnuPopup->popup(tvwVSSProjects->viewport()->mapToGlobal(pos));
    });
    connect(mnuNewProject, &QAction::triggered, this, &frmVSSProjectBrowser::cmdNewProject_Click);
    connect(cmdNewProject, &QPushButton::clicked, this, &frmVSSProjectBrowser::cmdNewProject_Click);
    connect(cmdOK, &QPushButton::clicked, this, &frmVSSProjectBrowser::cmdOK_Click);
    // Only OK sets a result.
    connect(cmdCancel, &QPushButton::clicked, this, &QDialog::reject);
}

frmVSSProjectBrowser::~frmVSSProjectBrowser() = default;

QString frmVSSProjectBrowser::GetFolder(KORVOVSS &vss, const QString &startFolder)
{
    mVSS = &vss;
    mResult.clear();
    tvwVSSProjects->clear();
    AddNode(nullptr, QStringLiteral("$"), RootKey);
    QString start = startFolder;
    if (!start.endsWith(QLatin1Char('\\')))
        start += QLatin1Char('\\');
    OpenAlong(start);
    tvwVSSProjects->setFocus();
    exec();
    return mResult;
}

QTreeWidgetItem *frmVSSProjectBrowser::AddNode(QTreeWidgetItem *parent, const QString &text, const QString &key)
{
    auto *node = parent ? new QTreeWidgetItem(parent) : new QTreeWidgetItem(tvwVSSProjects);
    node->setText(0, text);
    node->setData(0, KeyRole, key);
    // A placeholder makes the node expandable until it is opened.
    auto *placeholder = new QTreeWidgetItem(node);
    placeholder->setData(0, KeyRole, key + QStringLiteral("_tmp"));
    placeholder->setData(0, TagRole, QStringLiteral("temp"));
    return node;
}

void frmVSSProjectBrowser::FillChildren(QTreeWidgetItem *node)
{
    const QString key = node->data(0, KeyRole).toString();
    QStringList names;
    try {
        WaitCursor wait(mUi);
        names = mVSS->GetProjectSubFolders(key);
    } catch (const VssError &error) {
        mUi.critical(windowTitle(), error.Description());
        return;
    }
    qDeleteAll(node->takeChildren());
    for (int i = 1; i < names.size(); ++i)
        AddNode(node, names.at(i), key + names.at(i) + QLatin1Char('\\'));
}

void frmVSSProjectBrowser::tvwVSSProjects_Expand(QTreeWidgetItem *node)
{
    if (mFilling || node->childCount() == 0)
        return;
    if (node->child(0)->data(0, TagRole).toString() != QLatin1String("temp"))
        return;
    mFilling = true;
    FillChildren(node);
    mFilling = false;
}

QTreeWidgetItem *frmVSSProjectBrowser::FindNode(const QString &key) const
{
    QList<QTreeWidgetItem *> open { tvwVSSProjects->topLevelItem(0) };
    while (!open.isEmpty()) {
        QTreeWidgetItem *node = open.takeFirst();
        if (!node)
            continue;
        if (node->data(0, KeyRole).toString().compare(key, Qt::CaseInsensitive) == 0)
            return node;
        for (int i = 0; i < node->childCount(); ++i)
            open.append(node->child(i));
    }
    return nullptr;
}

void frmVSSProjectBrowser::OpenAlong(const QString &startFolder)
{
    QTreeWidgetItem *node = tvwVSSProjects->topLevelItem(0);
    if (!startFolder.startsWith(RootKey, Qt::CaseInsensitive)) {
        node->setExpanded(true);
        return;
    }
    QTreeWidgetItem *last = node;
    while (node) {
        node->setExpanded(true);
        last = node;
        QTreeWidgetItem *next = nullptr;
        for (int i = 0; i < node->childCount() && !next; ++i) {
            QTreeWidgetItem *child = node->child(i);
            const QString key = child->data(0, KeyRole).toString();
            if (child->data(0, TagRole).toString() != QLatin1String("temp")
                && startFolder.startsWith(key, Qt::CaseInsensitive))
                next = child;
        }
        node = next;
    }
    tvwVSSProjects->setCurrentItem(last);
    tvwVSSProjects->scrollToItem(last);
}

QTreeWidgetItem *frmVSSProjectBrowser::SelectedNode()
{
    QTreeWidgetItem *node = tvwVSSProjects->currentItem();
    if (node && node->isSelected())
        return node;
    mUi.warn(QStringLiteral("Invalid Data"), QStringLiteral("No Project selected!"));
    tvwVSSProjects->setFocus();
    return nullptr;
}

void frmVSSProjectBrowser::cmdOK_Click()
{
    QTreeWidgetItem *node = SelectedNode();
    if (!node)
        return;
    mResult = node->data(0, KeyRole).toString();
    accept();
}

void frmVSSProjectBrowser::cmdNewProject_Click()
{
    QTreeWidgetItem *node = SelectedNode();
    if (!node)
        return;
    frmVSSNewProject ask(mUi, mHelp, this);
    const QString name = ask.NewVSSProjectName();
    if (name.isEmpty())
        return;
    const QString parentKey = node->data(0, KeyRole).toString();
    QString error;
    {
        WaitCursor wait(mUi);
        error = mVSS->CreateNewProject(parentKey, name);
    }
    if (!error.isEmpty()) {
        mUi.critical(QStringLiteral("Could not create folder"), error);
        return;
    }
    mFilling = true;
    FillChildren(node);
    node->setExpanded(true);
    mFilling = false;
    if (QTreeWidgetItem *created = FindNode(parentKey + name + QLatin1Char('\\')))
        tvwVSSProjects->setCurrentItem(created);
}

void frmVSSProjectBrowser::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_F1 && mHelp) {
        mHelp->ShowHelp(this, HelpTopic);
        return;
    }
    QDialog::keyPressEvent(event);
}
