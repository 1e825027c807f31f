// Times opening a 2 MB object text (read from source control into the working
// file, loaded into the editor and coloured), and the comparison of two
// 10,000-line texts that differ in 1% of their lines.
#include "KORVOSettings.h"
#include "KORVOVSS.h"
#include "SQLTextEditor.h"
#include "ScriptedUi.h"
#include "SvnFixtures.h"
#include "TextDiff.h"
#include "frmCompareText.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTextStream>

namespace
{

QTextStream out(stdout);

// A PostgreSQL function whose dollar-quoted body holds lines until the text has the size.
QString FunctionText(qsizetype size)
{
    QString text = QStringLiteral("CREATE OR REPLACE FUNCTION dbo.big_report(p_id integer)\n RETURNS integer\n "
                                  "LANGUAGE plpgsql\nAS $function$\nDECLARE v integer := 0;\nBEGIN\n");
    for (int line = 0; text.size() < size; ++line)
        text += QStringLiteral("  SELECT count(*) INTO v FROM dbo.orders o WHERE o.id = p_id AND o.line = %1; -- "
                               "it's line %1\n")
                    .arg(line);
    return text + QStringLiteral("  RETURN v;\nEND;\n$function$\n");
}

double Ms(const QElapsedTimer &t)
{
    return double(t.nsecsElapsed()) / 1e6;
}

void OpenLargeText()
{
    SvnTestRepository repo;
    if (!repo.IsValid() || !repo.MakeFolders({ QStringLiteral("Db/Objects") })) {
        out << "no Subversion repository" << Qt::endl;
        return;
    }
    ScriptedUi ui;
    KORVOVSS vss(ui);
    const QString why = vss.OpenConnection(
        repo.Url(), "alice", QString(), QStringLiteral("$\\Db\\Objects\\"), repo.Folder("work"), true, true);
    const QString text = FunctionText(2 * 1024 * 1024);
    if (!why.isEmpty() || !vss.AddItem(QStringLiteral("1.udf"), text, false, QString())) {
        out << "cannot set up the item: " << why << Qt::endl;
        return;
    }
    SQLTextEditor editor(ui);
    editor.SetServerKind(true);
    editor.resize(800, 600);
    editor.show();
    for (int run = 0; run < 3; ++run) {
        QFile::remove(vss.GetItemFileName(QStringLiteral("1.udf")));
        QElapsedTimer t;
        t.start();
        vss.GetLatestVersion(QStringLiteral("1.udf"), false);
        const double fetched = Ms(t);
        editor.LoadFile(vss.GetItemFileName(QStringLiteral("1.udf")));
        const double loaded = Ms(t);
        editor.ColourAll();
        const double coloured = Ms(t);
        out << QStringLiteral("open %1 KB text: fetched %2 ms, loaded %3 ms, coloured %4 ms (total)\n")
                   .arg(editor.Bytes().size() / 1024)
                   .arg(fetched, 0, 'f', 1)
                   .arg(loaded, 0, 'f', 1)
                   .arg(coloured, 0, 'f', 1);
    }
}

void CompareLargeTexts()
{
    QStringList left;
    for (int i = 0; i < 10000; ++i)
        left << QStringLiteral("  SELECT id, name, total FROM dbo.orders WHERE id = %1 AND state = 'open';").arg(i);
    QStringList right = left;
    for (int i = 50; i < right.size(); i += 100)
        right[i].replace(QStringLiteral("open"), QStringLiteral("closed")); // 100 changed lines
    const QString a = left.join(QLatin1Char('\n'));
    const QString b = right.join(QLatin1Char('\n'));

    QTemporaryDir dir;
    KORVOSettings settings(dir.filePath(QStringLiteral("settings.conf")));
    ScriptedUi ui;
    for (int run = 0; run < 3; ++run) {
        QElapsedTimer t;
        t.start();
        const TextDiff diff = CompareTexts(a, b);
        const double diffed = Ms(t);
        t.restart();
        frmCompareText w(settings, ui);
        w.Compare(a, b, QStringLiteral("SQL"), QStringLiteral("VSS"), true);
        const double shown = Ms(t);
        out << QStringLiteral("compare 10,000 lines, %1 changed: diff %2 ms; window filled and marked %3 ms\n")
                   .arg(diff.hunks.size())
                   .arg(diffed, 0, 'f', 1)
                   .arg(shown, 0, 'f', 1);
    }
}

} // namespace

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    OpenLargeText();
    CompareLargeTexts();
    out.flush();
    return 0;
}
