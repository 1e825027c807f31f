#include "KORVOExplorerBar.h"

#include <QApplication>
#include <QHeaderView>

namespace
{
// 0xBBGGRR as the panel's colours are kept.
QColor FromBGR(unsigned bgr)
{
    return QColor(int(bgr & 0xFF), int((bgr >> 8) & 0xFF), int((bgr >> 16) & 0xFF));
}
} // namespace

KORVOExplorerBar::KORVOExplorerBar(QWidget *parent) : QTreeWidget(parent)
{
    setObjectName(QStringLiteral("ebcExtraInfo"));
    setHeaderHidden(true);
    setRootIsDecorated(false);
    setWordWrap(true);
    setIndentation(8);
    setSelectionMode(QAbstractItemView::NoSelection);
    setFocusPolicy(Qt::NoFocus);
    connect(this, &QTreeWidget::itemClicked, this, [this](QTreeWidgetItem *item) {
        if (!item->parent()) {
            item->setExpanded(!item->isExpanded());
            return;
        }
        const long command = item->data(0, CommandRole).toLongLong();
        if (command > 0)
            Q_EMIT ItemClicked(command, item->data(0, KeyRole).toString());
    });
}

void KORVOExplorerBar::Clear()
{
    clear();
}

QTreeWidgetItem *KORVOExplorerBar::AddGroup(const QString &key, const QString &caption)
{
    auto *group = new QTreeWidgetItem(this);
    group->setData(0, KeyRole, key);
    group->setText(0, caption);
    QFont bold = font();
    bold.setBold(true);
    group->setFont(0, bold);
    group->setExpanded(true);
    return group;
}

QTreeWidgetItem *KORVOExplorerBar::Group(const QString &key) const
{
    for (int i = 0; i < topLevelItemCount(); ++i) {
        if (topLevelItem(i)->data(0, KeyRole).toString() == key)
            return topLevelItem(i);
    }
    return nullptr;
}

void KORVOExplorerBar::SetGroupVisible(const QString &key, bool visible)
{
    if (auto *group = Group(key))
        group->setHidden(!visible);
}

QTreeWidgetItem *KORVOExplorerBar::AddItem(const QString &group, const QString &key, const QString &text,
                                           const QString &tip, long command, const QIcon &icon)
{
    auto *parent = Group(group);
    if (!parent)
        return nullptr;
    auto *item = new QTreeWidgetItem(parent);
    item->setData(0, KeyRole, key);
    item->setData(0, CommandRole, qlonglong(command));
    item->setText(0, text);
    item->setToolTip(0, tip.isEmpty() ? text : tip);
    item->setIcon(0, icon);
    if (command > 0)
        item->setForeground(0, palette().link());
    return item;
}

void KORVOExplorerBar::RemoveItems(const QString &group, const QStringList &keep)
{
    auto *parent = Group(group);
    if (!parent)
        return;
    for (int i = parent->childCount() - 1; i >= 0; --i) {
        if (!keep.contains(parent->child(i)->data(0, KeyRole).toString()))
            delete parent->takeChild(i);
    }
}

QStringList KORVOExplorerBar::ItemKeys(const QString &group) const
{
    QStringList keys;
    if (auto *parent = Group(group)) {
        for (int i = 0; i < parent->childCount(); ++i)
            keys.append(parent->child(i)->data(0, KeyRole).toString());
    }
    return keys;
}

QTreeWidgetItem *KORVOExplorerBar::Item(const QString &group, const QString &key) const
{
    if (auto *parent = Group(group)) {
        for (int i = 0; i < parent->childCount(); ++i) {
            if (parent->child(i)->data(0, KeyRole).toString() == key)
                return parent->child(i);
        }
    }
    return nullptr;
}

void KORVOExplorerBar::InitEBARStyle()
{
    setFrameShape(QFrame::StyledPanel);
    setUniformRowHeights(false);
}

void KORVOExplorerBar::ApplyEBARStyle()
{
    // A desktop with its own style sheet keeps its colours.
    if (!styleSheet().isEmpty() || qApp->styleSheet().size() > 0)
        return;
    QPalette p = palette();
    p.setColor(QPalette::Base, FromBGR(0xDFDFDF));
    p.setColor(QPalette::Window, FromBGR(0xCFCFCF));
    p.setColor(QPalette::Highlight, FromBGR(16769480));
    setPalette(p);
    setStyleSheet(QStringLiteral("QTreeView { border: 1px solid %1; }").arg(FromBGR(0x9F9F9F).name()));
    for (int i = 0; i < topLevelItemCount(); ++i)
        topLevelItem(i)->setBackground(0, FromBGR(0xCFCFCF));
}
