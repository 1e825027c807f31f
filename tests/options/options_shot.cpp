// The picture of the options dialog for the manual: the default-text page with a
// sample text. Writes docs/screenshots/options.png, or the file named on the command line.
#include "KORVODBTItem.h"
#include "KORVODatabase.h"
#include "SQLTextEditor.h"
#include "ScriptedUi.h"
#include "StubCollections.h"
#include "frmOptions.h"

#include <QApplication>
#include <QComboBox>
#include <QPixmap>
#include <QTemporaryDir>
#include <QTreeWidget>
#include <QTreeWidgetItemIterator>

#include <cstdio>

int main(int argc, char **argv)
{
    QApplication app(argc, argv);
    const QString out
        = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral(KORVO_SOURCE_DIR "/docs/screenshots/options.png");
    QTemporaryDir dir;
    qputenv("KORVO_DATA_DIR", dir.filePath(QStringLiteral("data")).toUtf8());
    ScriptedUi ui;
    ui.setLenient(true);
    KORVODatabase session(ui, std::make_shared<StubCollectionFactory>(), {}, dir.filePath(QStringLiteral("s.conf")));
    auto types = std::make_shared<KORVODBTItems>();
    for (const char *name : { "Stored Procedures", "Views", "Triggers", "User Defined Functions" }) {
        auto item = types->Add(QLatin1String(name));
        item->Text = item->Tag = QLatin1String(name);
    }
    frmOptions dialog(session, nullptr, {}, nullptr, types);
    auto *tree = dialog.findChild<QTreeWidget *>(QStringLiteral("tvwCaterogies"));
    for (QTreeWidgetItemIterator it(tree); *it; ++it)
        if ((*it)->data(0, Qt::UserRole).toString() == QLatin1String("DEFAULTTEXT"))
            tree->setCurrentItem(*it);
    dialog.findChild<SQLTextEditor *>(QStringLiteral("txtDefaultText"))
        ->SetText(QStringLiteral("-- Created <DATE> <TIME> by <DONEBYVSS>\nCREATE PROCEDURE dbo.NewProcedure\nAS\n"
                                 "BEGIN\n    SET NOCOUNT ON\nEND\n"));
    dialog.resize(760, 500);
    dialog.show();
    QApplication::processEvents();
    if (!dialog.grab().save(out)) {
        std::fprintf(stderr, "cannot write %s\n", qPrintable(out));
        return 1;
    }
    return 0;
}
