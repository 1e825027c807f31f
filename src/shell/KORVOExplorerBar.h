#pragma once

#include <QTreeWidget>

// The information panel: collapsible groups of clickable items. Each item
// carries a key and a command number; a click reports both.
class KORVOExplorerBar : public QTreeWidget
{
    Q_OBJECT
public:
    explicit KORVOExplorerBar(QWidget *parent = nullptr);

    void Clear();
    QTreeWidgetItem *AddGroup(const QString &key, const QString &caption);
    QTreeWidgetItem *Group(const QString &key) const;
    void SetGroupVisible(const QString &key, bool visible);
    QTreeWidgetItem *AddItem(const QString &group, const QString &key, const QString &text, const QString &tip,
                             long command, const QIcon &icon = {});
    // Removes the group's items whose keys are not in keep.
    void RemoveItems(const QString &group, const QStringList &keep = {});
    QStringList ItemKeys(const QString &group) const;
    QTreeWidgetItem *Item(const QString &group, const QString &key) const;

    // Colours of the panel unless the desktop's theme is in effect.
    void InitEBARStyle();
    void ApplyEBARStyle();

    static constexpr int KeyRole = Qt::UserRole;
    static constexpr int CommandRole = Qt::UserRole + 1;

Q_SIGNALS:
    void ItemClicked(long command, const QString &key);
};
