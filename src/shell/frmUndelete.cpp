#include "frmUndelete.h"
#include "HelpKeys.h"

#include "KORVODatabase.h"
#include "UiServices.h"

#include <QHBoxLayout>
#include <QHash>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace
{
constexpr int KeyRole = Qt::UserRole;
constexpr int TypeRole = Qt::UserRole + 1;
} // namespace

frmUndelete::frmUndelete(UiServices &ui, QWidget *parent)
    : QDialog(parent)
    , mUi(ui)
{
    HelpKeys::SetTopic(this, 47);
    setObjectName(QStringLiteral("frmUndelete"));
    setWindowTitle(tr("Undelete Objects"));
    mItems = new QTreeWidget(this);
    mItems->setObjectName(QStringLiteral("lvwDeletedItems"));
    mItems->setRootIsDecorated(false);
    mItems->setHeaderLabels({ QStringLiteral("Item Name"), QStringLiteral("Item Type") });
    auto *undelete = new QPushButton(tr("&Undelete"), this);
    undelete->setObjectName(QStringLiteral("cmdUndelete"));
    auto *close = new QPushButton(tr("&Close"), this);
    close->setObjectName(QStringLiteral("cmdClose"));

    auto *layout = new QVBoxLayout(this);
    layout->addWidget(mItems);
    auto *buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(undelete);
    buttons->addWidget(close);
    layout->addLayout(buttons);
    resize(480, 360);

    connect(undelete, &QPushButton::clicked, this, &frmUndelete::cmdUndelete_Click);
    connect(close, &QPushButton::clicked, this, &QDialog::accept);
}

bool frmUndelete::ShowDeletedItems(KORVODatabase &database)
{
    mDatabase = &database;
    mUndeleted = false;
    LoadItems();
    setModal(true);
    exec();
    return mUndeleted;
}

void frmUndelete::LoadItems()
{
    mItems->clear();
    QHash<QString, QString> displayNames; // fetched once per type
    for (const KORVODBTItemsPtr &items : mDatabase->GetObjectsForUndeleteing(QString())) {
        if (!items)
            continue;
        for (const KORVODBTItemPtr &item : *items) {
            auto known = displayNames.constFind(item->Tag);
            if (known == displayNames.constEnd())
                known = displayNames.insert(item->Tag, mDatabase->GetObjectSubDisplayName(item->Tag));
            auto *row = new QTreeWidgetItem(mItems, { item->Text, *known });
            row->setData(0, KeyRole, item->Key);
            row->setData(0, TypeRole, item->Tag);
            row->setFlags(row->flags() | Qt::ItemIsUserCheckable);
            row->setCheckState(0, Qt::Unchecked);
        }
    }
}

void frmUndelete::cmdUndelete_Click()
{
    int successes = 0;
    int failures = 0;
    {
        WaitCursor wait(mUi);
        for (int i = 0; i < mItems->topLevelItemCount(); ++i) {
            QTreeWidgetItem *row = mItems->topLevelItem(i);
            if (row->checkState(0) != Qt::Checked)
                continue;
            if (mDatabase->UnDeleteItem(row->data(0, TypeRole).toString(), row->data(0, KeyRole).toString()))
                ++successes;
            else
                ++failures;
        }
    }
    if (successes + failures == 0)
        return;
    if (failures == 0) {
        mUi.messageBox(UiServices::Icon::Information, QStringLiteral("Undeletion Successful"),
            QStringLiteral("All selected objects have been successfully undeleted."));
    } else if (successes == 0) {
        mUi.messageBox(UiServices::Icon::Critical, QStringLiteral("Undeletion Unsuccessful"),
            QStringLiteral("Non of the selected objects could be successfully undeleted!"));
    } else {
        mUi.messageBox(UiServices::Icon::Warning, QStringLiteral("Undeletion Partly Successful"),
            QStringLiteral("Not all selected objects could be successfully undeleted! Of the %1 selected "
                           "objects, %2%3 successfully undeleted and %4 could not be undeleted!")
                .arg(successes + failures)
                .arg(successes)
                .arg(successes == 1 ? QStringLiteral(" was") : QStringLiteral(" were"))
                .arg(failures));
    }
    if (successes > 0)
        mUndeleted = true;
    LoadItems();
}
