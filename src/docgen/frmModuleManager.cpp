#include "frmModuleManager.h"

#include "HelpIntegration.h"
#include "frmModuleMaint.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

frmModuleManager::frmModuleManager(DocGenProject &project, UiServices &ui, HelpIntegration *help, QWidget *parent)
    : QDialog(parent)
    , mProject(project)
    , mUi(ui)
    , mHelp(help)
{
    setObjectName(QStringLiteral("frmModuleManager"));
    setWindowTitle(QStringLiteral("Module Manager ..."));
    mList = new QListWidget(this);
    mList->setObjectName(QStringLiteral("lstModules"));
    const auto button = [this](const char *text, const char *name) {
        auto *b = new QPushButton(QLatin1String(text), this);
        b->setObjectName(QLatin1String(name));
        b->setAutoDefault(false);
        return b;
    };
    QPushButton *add = button("&New", "cmdAdd"), *edit = button("&Edit", "cmdEdit"),
                *remove = button("&Remove", "cmdRemove"), *close = button("Close", "cmdCLose");
    auto *buttons = new QVBoxLayout;
    for (QPushButton *b : { add, edit, remove })
        buttons->addWidget(b);
    buttons->addStretch();
    buttons->addWidget(close);
    auto *layout = new QHBoxLayout(this);
    layout->addWidget(mList, 1);
    layout->addLayout(buttons);

    connect(add, &QPushButton::clicked, this, [this] {
        if (frmModuleMaint::NewModule(mProject, mUi, mHelp, this))
            Fill(mProject.Modules().Count() - 1);
    });
    connect(edit, &QPushButton::clicked, this, &frmModuleManager::Edit);
    connect(mList, &QListWidget::itemDoubleClicked, this, &frmModuleManager::Edit);
    connect(remove, &QPushButton::clicked, this, [this] {
        const int row = mList->currentRow();
        if (row < 0 || !mList->currentItem()->isSelected())
            return;
        mProject.Modules().Remove(mList->currentItem()->data(Qt::UserRole).toInt());
        Fill(-1);
    });
    connect(close, &QPushButton::clicked, this, &QDialog::accept);
    Fill(-1);
}

void frmModuleManager::ModuleManager(DocGenProject &project, UiServices &ui, HelpIntegration *help, QWidget *parent)
{
    frmModuleManager dlg(project, ui, help, parent);
    dlg.exec();
}

void frmModuleManager::Fill(int select)
{
    mList->clear();
    for (const auto &module : mProject.Modules()) {
        auto *item = new QListWidgetItem(module->Name, mList);
        item->setData(Qt::UserRole, module->Index);
    }
    if (select >= 0 && select < mList->count())
        mList->setCurrentRow(select);
}

void frmModuleManager::Edit()
{
    const int row = mList->currentRow();
    if (row < 0 || !mList->currentItem()->isSelected())
        return;
    if (frmModuleMaint::EditModule(mProject, mList->currentItem()->data(Qt::UserRole).toInt(), mUi, mHelp, this))
        Fill(row);
}

void frmModuleManager::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_F1 && mHelp) {
        mHelp->ShowHelp(this, 61);
        return;
    }
    QDialog::keyPressEvent(event);
}
