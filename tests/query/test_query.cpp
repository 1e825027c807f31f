// The query window and its result panel: batches with results, counts, notices
// and errors mapped to editor lines, a selection run, cancelling, bad input, and
// the window's files and closing; on PostgreSQL and on the scripted SQL Server.
#include "../editor/ChildWindowTest.h"
#include "FullDisk.h"
#include "KORVOAllWindows.h"
#include "SQLTextEditor.h"
#include "UserDataFolder.h"
#include "frmSQLQuery.h"
#include "multiGrid.h"

#include <QAction>
#include <QElapsedTimer>
#include <QFile>
#include <QPointer>
#include <QTableView>
#include <QTemporaryDir>
#include <QTimer>

#include <optional>

namespace
{

// "header|header" then one "cell|cell" per row of a grid.
QStringList GridText(QTableView *grid)
{
    QStringList out;
    const QAbstractItemModel *m = grid->model();
    QStringList header;
    for (int c = 1; c < m->columnCount(); ++c)
        header << m->headerData(c, Qt::Horizontal).toString();
    out << header.join(QLatin1Char('|'));
    for (int r = 0; r < m->rowCount(); ++r) {
        QStringList row;
        for (int c = 1; c < m->columnCount(); ++c)
            row << m->index(r, c).data().toString();
        out << row.join(QLatin1Char('|'));
    }
    return out;
}

} // namespace

class TestQuery : public QObject
{
    Q_OBJECT

    QTemporaryDir dir;
    std::unique_ptr<Backend> b;
    std::unique_ptr<KORVODatabase> session;
    FakeMain main;
    QPointer<frmSQLQuery> w;

    bool Open(const QString &kind)
    {
        b = Backend::Make(kind);
        if (!b)
            return false;
        session = OpenSession(*b, dir.filePath(QStringLiteral("settings.conf")), true);
        w = static_cast<frmSQLQuery *>(KORVOAllWindows().OpenQuery(main, *session));
        w->resize(800, 600);
        main.AddChild(w);
        return true;
    }
    // Runs the text (or the selection from line to line, 0-based) through the toolbar.
    QString Run(const QString &text, int fromLine = -1, int toLine = -1)
    {
        w->Editor().SetText(text);
        if (fromLine >= 0)
            w->Editor().setSelection(fromLine, 0, toLine, 0);
        w->findChild<QAction *>(QStringLiteral("SQWBAR:EXECUTE"))->trigger();
        [&] { QCOMPARE(w->Editor().Text(), text); }();
        return w->Results().MessagesText();
    }

private Q_SLOTS:
    void cleanup()
    {
        if (w) {
            w->CloseItem(true);
            delete w;
        }
        session.reset();
        const bool answered = !b || b->ui.pending() == 0;
        b.reset();
        QVERIFY(answered);
    }

    // Three batches: rows with a NULL and an unnamed column, counts, a notice,
    // and an error in the third batch pointed at its line in the editor.
    void batchesOnPostgreSQL()
    {
        if (!Open(QStringLiteral("PostgreSQL")))
            QSKIP("no server");
        const QString messages = Run(QStringLiteral("create temp table t(a int, b text);\n"
                                                    "insert into t values (1, 'x'), (2, null);\n"
                                                    "GO\n"
                                                    "select a, b from t order by a;\n"
                                                    "select 1 + 1; -- go\n"
                                                    "do $$ begin raise notice 'hello'; end $$;\n"
                                                    "go\n"
                                                    "   \n"
                                                    "select nosuchcolumn from t;\n"));
        multiGrid &g = w->Results();
        QCOMPARE(g.GridCount(), 2);
        QCOMPARE(GridText(g.Grid(1)), QStringList({ "a|b", "1|x", "2|(null)" }));
        QCOMPARE(GridText(g.Grid(2)), QStringList({ "(No column name)", "2" }));
        QCOMPARE(g.Grid(1)->model()->index(0, 0).data().toInt(), 1);
        QVERIFY2(messages.contains("(2 rows affected)\n\n(2 rows affected)\n\n(1 row affected)"), qPrintable(messages));
        QVERIFY(messages.contains("hello"));
        QVERIFY2(messages.contains("Line 3: column \"nosuchcolumn\" does not exist\n(Line 9 in editor)"),
            qPrintable(messages));
        QVERIFY(g.ShowingMessages());
        QVERIFY(w->PanelVisible());
    }

    // The selection's lines count from its start.
    void selectionRun()
    {
        if (!Open(QStringLiteral("PostgreSQL")))
            QSKIP("no server");
        const QString messages
            = Run(QStringLiteral("select 1;\nselect 2;\ngo\nselect * from nowhere;\nselect 3;\n"), 1, 4);
        QVERIFY2(messages.contains("(Line 3 in editor)"), qPrintable(messages));
        QCOMPARE(w->Results().GridCount(), 1);
        QCOMPARE(GridText(w->Results().Grid(1)), QStringList({ "(No column name)", "2" }));
    }

    // The server's "Line n:" of the text sent, less the added first line.
    void lineCorrectionOnSQLServer()
    {
        if (!Open(QStringLiteral("SQLServer")))
            QSKIP("no server");
        b->scripted->addStatement(
            ScriptedSqlServer::exact("select 1\r\nSELECT name FROM things\r\n"), [](ScriptedSqlServer::Call &) {
                BatchResult r;
                r.Results << std::make_shared<Recordset>(QStringList { QString() }, QList<QVariantList> { { 1 } })
                          << std::make_shared<Recordset>(
                                 QStringList { "name", "" }, QList<QVariantList> { { "a", QVariant() } });
                return r;
            });
        b->scripted->addStatement(
            QStringLiteral("^select 1\\r\\n\\r\\n\\s*\\r\\nSELEC oops$"), [](auto &) -> BatchResult {
                throw SqlError(102, "ODBC",
                    "Line 4: [Microsoft][ODBC SQL Server Driver][SQL Server]Incorrect syntax near 'oops'.");
            });
        multiGrid &g = w->Results();
        g.ExecuteQuery(QStringLiteral("SELECT name FROM things\r\ngo\r\n  \r\nSELEC oops"));
        QCOMPARE(g.GridCount(), 1);
        QCOMPARE(GridText(g.Grid(1)), QStringList({ "name|(No column name)", "a|(null)" }));
        QCOMPARE(g.MessagesText(),
            QStringLiteral("\n(1 row affected)\n\nLine 3: Incorrect syntax near 'oops'.\n(Line 4 in editor)\n"));
        QVERIFY(b->scripted->Refused.isEmpty());
        QCOMPARE(multiGrid::FormatSQLError("Invalid object name 'x'.", 1, { "a\r\n" }), "Invalid object name 'x'.");
    }

    // A long query stops on Cancel and the window runs the next one.
    void cancel()
    {
        if (!Open(QStringLiteral("PostgreSQL")))
            QSKIP("no server");
        QTimer::singleShot(300, w, [this] { w->findChild<QAction *>(QStringLiteral("SQWBAR:CANCEL"))->trigger(); });
        QElapsedTimer clock;
        clock.start();
        const QString messages = Run(QStringLiteral("select pg_sleep(30)\ngo\nselect 2"));
        QVERIFY(clock.elapsed() < 10000);
        QVERIFY2(messages.contains("canceling statement due to user request"), qPrintable(messages));
        QVERIFY(messages.contains("The query was cancelled"));
        QCOMPARE(w->Results().GridCount(), 0);
        Run(QStringLiteral("select 42"));
        QCOMPARE(GridText(w->Results().Grid(1)), QStringList({ "(No column name)", "42" }));
        QVERIFY(w->findChild<QAction *>(QStringLiteral("SQWBAR:EXECUTE"))->isEnabled());
    }

    void badInput_data()
    {
        QTest::addColumn<QString>("sql");
        QTest::addColumn<QString>("message");
        QTest::addColumn<QString>("cell"); // of the first grid, or empty for none
        QTest::newRow("unterminated string") << "select 'abc"
                                             << "unterminated quoted string"
                                             << "";
        QTest::newRow("unterminated comment") << "select 1 /* x"
                                              << "unterminated /* comment"
                                              << "";
        QTest::newRow("separator in string") << "select 'a\ngo\nb'"
                                             << "(1 row affected)"
                                             << "a\ngo\nb";
        QTest::newRow("binary") << "select '\\x00ff'::bytea"
                                << "(1 row affected)"
                                << "\\x00ff";
        QTest::newRow("wide cell") << "select repeat('x', 100000)"
                                   << "(1 row affected)" << QString(1000, 'x') + QChar(0x2026);
        QTest::newRow("no columns") << "select"
                                    << "(1 row affected)"
                                    << "";
        QTest::newRow("nothing returned") << "create temp table e(a int)"
                                          << "(-1 row affected)"
                                          << "";
        QTest::newRow("connection lost") << "select pg_terminate_backend(pg_backend_pid())\ngo\nselect 1"
                                         << "The connection to the server was lost"
                                         << "";
    }
    void badInput()
    {
        QFETCH(QString, sql);
        QFETCH(QString, message);
        QFETCH(QString, cell);
        if (!Open(QStringLiteral("PostgreSQL")))
            QSKIP("no server");
        const QString messages = Run(sql);
        QVERIFY2(messages.contains(message), qPrintable(messages));
        QCOMPARE(w->Results().GridCount(), cell.isEmpty() ? 0 : 1);
        if (!cell.isEmpty())
            QCOMPARE(w->Results().Grid(1)->model()->index(0, 1).data().toString(), cell);
    }

    // Blanks run nothing; saving asks for a name once, then closing asks nothing;
    // opening over changes asks first.
    void filesAndClosing()
    {
        if (!Open(QStringLiteral("PostgreSQL")))
            QSKIP("no server");
        QVERIFY(w->Editor().Text().isEmpty());
        Run(QStringLiteral(" \n\t"));
        QVERIFY(!w->PanelVisible());

        const QString path = dir.filePath(QStringLiteral("q.sql"));
        w->Editor().SetText(QStringLiteral("select 7"));
        b->ui.pick(path).answer(UiServices::Answer::Ok);
        QVERIFY(w->SaveText(true));
        QCOMPARE(b->ui.last().title, QStringLiteral("SQL Query Saved"));
        QCOMPARE(b->ui.pickerTitles.last(), QStringLiteral("Save SQL Query"));
        QCOMPARE(ReadTextFile(path), QStringLiteral("select 7"));
        QVERIFY(!w->Editor().IsModified());

        w->Editor().SetText(QStringLiteral("changed"));
        b->ui.answer(UiServices::Answer::No);
        w->OpenText();
        QCOMPARE(b->ui.last().title, QStringLiteral("Discard Changes Made?"));
        b->ui.answer(UiServices::Answer::Cancel);
        QVERIFY(!w->CloseItem(false));
        QCOMPARE(b->ui.last().title, QStringLiteral("Save SQL"));
        b->ui.answer(UiServices::Answer::Yes).answer(UiServices::Answer::Ok);
        QVERIFY(w->CloseItem(false));
        QCOMPARE(ReadTextFile(path), QStringLiteral("changed"));
    }

    // Saving writes the whole file or keeps the old one: a failure keeps the window
    // modified and open with the system's reason. A file that is not UTF-8 is
    // saved back in its own bytes; a character it cannot hold asks first.
    void saving_data()
    {
        QTest::addColumn<QString>("target"); // under "full/" on a full disk
        QTest::addColumn<QByteArray>("before"); // opened in the window when not empty
        QTest::addColumn<QString>("added");
        QTest::addColumn<QString>("question"); // answered Yes or No
        QTest::addColumn<QByteArray>("after"); // empty: unchanged
        QTest::addColumn<QString>("box");
        const QByteArray latin1("select 'caf\xe9'\r\n");
        QTest::newRow("path through a file") << "file/q.sql" << QByteArray() << "select 1"
                                             << "" << QByteArray() << "SQL Query not Saved";
        QTest::newRow("full disk") << "full/q.sql" << QByteArray(6000, '-') << QString(6000, 'x') << "" << QByteArray()
                                   << "SQL Query not Saved";
        QTest::newRow("8-bit file kept") << "l.sql" << latin1 << "-- more"
                                         << "" << latin1 + "-- more"
                                         << "SQL Query Saved";
        QTest::newRow("8-bit file, euro, No") << "l.sql" << latin1 << "-- \u20ac"
                                              << "No" << QByteArray() << "Save as UTF-8?";
        QTest::newRow("8-bit file, euro, Yes")
            << "l.sql" << latin1 << "-- \u20ac"
            << "Yes" << QString("select 'caf\u00e9'\r\n-- \u20ac").toUtf8() << "SQL Query Saved";
        QTest::newRow("UTF-8 with BOM kept")
            << "b.sql" << QByteArray("\xEF\xBB\xBFselect '\xC3\xA9'\n") << "x"
            << "" << QByteArray("\xEF\xBB\xBFselect '\xC3\xA9'\nx") << "SQL Query Saved";
    }
    void saving()
    {
        QFETCH(QString, target);
        QFETCH(QByteArray, before);
        QFETCH(QString, added);
        QFETCH(QString, question);
        QFETCH(QByteArray, after);
        QFETCH(QString, box);
        if (!Open(QStringLiteral("PostgreSQL")))
            QSKIP("no server");
        QVERIFY(WriteTextFile(dir.filePath("file"), "a file, not a folder"));
        std::optional<FullDisk> disk;
        if (target.startsWith("full"))
            disk.emplace(dir.filePath("full"));
        const QString path = dir.filePath(target);
        if (!before.isEmpty()) {
            QVERIFY(WriteFileBytes(path, before));
            b->ui.pick(path);
            w->OpenText();
        }
        if (disk)
            disk->Fill();
        w->Editor().SetText(w->Editor().Text() + added);
        if (before.isEmpty())
            b->ui.pick(path);
        if (!question.isEmpty())
            b->ui.answer(question == "Yes" ? UiServices::Answer::Yes : UiServices::Answer::No);
        if (question != "No")
            b->ui.answer(UiServices::Answer::Ok);
        const bool saved = after.size() > 0;
        QCOMPARE(w->SaveText(true), saved);
        QCOMPARE(b->ui.last().title, box);
        QCOMPARE(w->Editor().IsModified(), !saved);
        QFile file(path);
        QCOMPARE(file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray(), saved ? after : before);
        if (disk) {
            QVERIFY2(b->ui.last().text.contains(disk->Reason()), qPrintable(b->ui.last().text));
            // Closing saves again, fails again, and the window stays.
            b->ui.answer(UiServices::Answer::Yes).answer(UiServices::Answer::Ok);
            QVERIFY(!w->CloseItem(false));
            QCOMPARE(b->ui.last().title, box);
        }
        QVERIFY(QDir(dir.path()).entryList({ "*.sql.*" }, QDir::Files).isEmpty()); // no temporary left
    }

    // Each row set stops at the row limit with a line on the Messages page,
    // statements of one batch alike; the count stays the statement's.
    void rowLimit()
    {
        if (!Open(QStringLiteral("PostgreSQL")))
            QSKIP("no server");
        session->SetQueryRowLimit(10);
        const QString messages = Run(QStringLiteral("select g from generate_series(1, 25) g;\n"
                                                    "select 'a' as x;\nselect g from generate_series(1, 10) g"));
        multiGrid &g = w->Results();
        QCOMPARE(g.GridCount(), 3);
        QCOMPARE(g.Grid(1)->model()->rowCount(), 10);
        QCOMPARE(g.Grid(1)->model()->index(9, 1).data().toString(), "10");
        QCOMPARE(GridText(g.Grid(2)), QStringList({ "x", "a" }));
        QCOMPARE(g.Grid(3)->model()->rowCount(), 10);
        QVERIFY2(messages.contains("(25 rows affected)\n(Only the first 10 rows are shown: 15 more rows were not "
                                   "shown. The row limit is set in Options, General.)\n\n(1 row affected)\n\n"
                                   "(10 rows affected)\n"),
            qPrintable(messages));
        QCOMPARE(messages.count("not shown"), 1);
    }

    // An error that is no server's (here out of memory) passes through, and the
    // panel still stops running, so that the window can be closed.
    void errorLeavesRunning()
    {
        if (!Open(QStringLiteral("SQLServer")))
            QSKIP("no server");
        b->scripted->addStatement(
            ScriptedSqlServer::exact("select 1\r\nhuge"), [](auto &) -> BatchResult { throw std::bad_alloc(); });
        QVERIFY_THROWS_EXCEPTION(std::bad_alloc, w->Results().ExecuteQuery(QStringLiteral("huge")));
        QVERIFY(!w->Results().IsRunning());
        QVERIFY(w->findChild<QAction *>(QStringLiteral("SQWBAR:EXECUTE"))->isEnabled());
        QVERIFY(w->CloseItem(false));
    }
};

QTEST_MAIN(TestQuery)
#include "test_query.moc"
