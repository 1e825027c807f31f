#include "KORVOScreenshots.h"

#include "KORVODatabase.h"
#include "KORVOTypedObject.h"
#include "mdiMain.h"

#include <QApplication>
#include <QSplitter>
#include <QTreeWidget>

QList<KORVOScreenshot> KORVOScreenshots()
{
    return {
        { QStringLiteral("main-window"), &ShootMainWindow },
    };
}

namespace
{
QTreeWidgetItem *Folder(mdiMain &main, const KORVOObjectCollectionPtr &collection)
{
    return collection ? main.FindNode(collection->ObjectType()) : nullptr;
}
} // namespace

bool ShootMainWindow(KORVOScreenshotContext &context)
{
    mdiMain &main = context.main;
    main.showNormal();
    main.resize(1200, 760);
    main.findChild<QSplitter *>(QStringLiteral("cmdSplit"))->setSizes({ 340, 860 });
    QApplication::processEvents();
    QTreeWidget *tree = main.Tree();
    for (const auto &collection : { context.session.StoredProcedures(), context.session.Views() }) {
        if (QTreeWidgetItem *folder = Folder(main, collection))
            folder->setExpanded(true);
    }
    // An object opened down to its permissions, selected so that the panel fills.
    if (QTreeWidgetItem *procedures = Folder(main, context.session.StoredProcedures());
        procedures && procedures->childCount() > 0) {
        QTreeWidgetItem *object = procedures->child(0);
        object->setExpanded(true);
        tree->setCurrentItem(object);
        tree->scrollToItem(procedures);
    }
    QApplication::processEvents();
    return context.save(main, QStringLiteral("main-window"));
}
