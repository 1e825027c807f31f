// The SQL editor (files, locking, undo, colouring, search) and the comparison window.
#include "../shell/OffscreenDialogs.h"
#include "KORVOSettings.h"
#include "SQLParser.h"
#include "SQLTextEditor.h"
#include "frmCompareText.h"

#include <QFile>
#include <QLabel>
#include <QTemporaryDir>
#include <QTest>

class TestSQLEditor : public QObject
{
    Q_OBJECT

    QTemporaryDir dir;
    ScriptedUi ui;

    QString WriteFile(const QString &name, const QByteArray &bytes, bool readOnly = false)
    {
        const QString path = dir.filePath(name);
        QFile::setPermissions(path, QFileDevice::ReadOwner | QFileDevice::WriteOwner);
        QFile f(path);
        if (!f.open(QIODevice::WriteOnly | QIODevice::Truncate))
            qFatal("cannot write %s", qPrintable(path));
        f.write(bytes);
        f.close();
        if (readOnly)
            QFile::setPermissions(path, QFileDevice::ReadOwner);
        return path;
    }
    static QByteArray Read(const QString &path)
    {
        QFile f(path);
        return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray("<missing>");
    }
    static int StyleAt(SQLTextEditor &e, const QByteArray &what, int from = 0)
    {
        const int pos = int(e.Bytes().indexOf(what, from));
        return pos < 0 ? -1 : int(e.SendScintilla(QsciScintillaBase::SCI_GETSTYLEAT, pos));
    }

private Q_SLOTS:
    void cleanup()
    {
        QCOMPARE(ui.pending(), 0);
        ui.clear();
    }

    // Bytes that are not UTF-8, NUL characters and mixed line ends go back as
    // they came; an edit elsewhere leaves them alone.
    void bytesSurviveLoadAndSave_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("latin-1") << QByteArray("SELECT 'caf\xe9', '\xff\xfe'\r\n");
        QTest::newRow("nul") << QByteArray("SELECT 1\0\0 -- x\r\n", 17);
        QTest::newRow("mixed line ends") << QByteArray("a\r\nb\nc\rd\n\r\n");
        QTest::newRow("utf-8") << QByteArray("SELECT 'Grüße' -- \xe2\x82\xac");
    }
    void bytesSurviveLoadAndSave()
    {
        QFETCH(QByteArray, bytes);
        SQLTextEditor e(ui);
        const QString path = WriteFile(QStringLiteral("bytes.sql"), bytes);
        QVERIFY(e.LoadFile(path));
        QCOMPARE(e.Bytes(), bytes);
        QVERIFY(!e.IsModified());
        QVERIFY(e.SaveFile(QString()));
        QCOMPARE(Read(path), bytes);

        e.setCursorPosition(0, 0);
        e.Paste(QStringLiteral("-- é\n"));
        QVERIFY(e.IsModified());
        QVERIFY(e.SaveFile(QString()));
        QVERIFY(!e.IsModified());
        QCOMPARE(Read(path), QByteArray("-- \xc3\xa9\n") + bytes);
    }

    void lockedFollowsTheFile()
    {
        SQLTextEditor e(ui);
        QVERIFY(e.LoadFile(WriteFile(QStringLiteral("ro.sql"), "SELECT 1", true)));
        QVERIFY(e.Locked());
        e.Paste(QStringLiteral("x"));
        QCOMPARE(e.Text(), QStringLiteral("SELECT 1"));
        QVERIFY(e.LoadFile(WriteFile(QStringLiteral("rw.sql"), "SELECT 2")));
        QVERIFY(!e.Locked());
        e.Paste(QStringLiteral("x"));
        QCOMPARE(e.Text(), QStringLiteral("xSELECT 2"));
    }

    // A file that vanished or cannot be read: a box, and the text stays.
    void missingFileKeepsText()
    {
        SQLTextEditor e(ui);
        const QString path = WriteFile(QStringLiteral("gone.sql"), "SELECT 1");
        QVERIFY(e.LoadFile(path));
        e.SetText(QStringLiteral("SELECT 2"));
        QFile::remove(path);
        ui.answer(UiServices::Answer::Ok);
        QVERIFY(!e.SaveFile(QString()));
        QVERIFY(!QFile::exists(path));
        ui.answer(UiServices::Answer::Ok);
        QVERIFY(!e.LoadFile(path));
        ui.answer(UiServices::Answer::Ok);
        QVERIFY(!e.LoadFile(dir.path())); // a folder cannot be read as a file
        QCOMPARE(e.Text(), QStringLiteral("SELECT 2"));
        QVERIFY(e.IsModified());
        QCOMPARE(Boxes(ui),
            (QStringList { "critical|File not Saved|The text could not be saved to '" + path
                    + "': the file no longer exists. The text in the editor was kept.",
                "critical|File not Loaded|The file '" + path
                    + "' could not be loaded: it does not exist. The text in the editor was kept.",
                "critical|File not Loaded|The file '" + dir.path()
                    + "' could not be loaded: it cannot be read. The text in the editor was kept." }));
    }

    // A dollar-quoted body with an odd apostrophe does not turn the rest into a string.
    void colouring_data()
    {
        QTest::addColumn<bool>("postgreSQL");
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QByteArray>("at");
        QTest::addColumn<int>("style");
        const QByteArray body
            = "CREATE FUNCTION f() RETURNS text AS $body$\nSELECT 'it;\n$body$ LANGUAGE sql;\nSELECT 1;";
        QTest::newRow("after a body") << true << body << QByteArray("LANGUAGE") << int(QsciLexerSQL::Keyword);
        QTest::newRow("string inside a body")
            << true << body << QByteArray("'it") << int(QsciLexerSQL::SingleQuotedString);
        QTest::newRow("dollar literal") << true << QByteArray("SELECT $q$it's$q$;\nSELECT 1;") << QByteArray("1;")
                                        << int(QsciLexerSQL::Number);
        const QByteArray nested = "AS $f$ BEGIN RETURN $q$don't$q$; END; $f$";
        QTest::newRow("string of another tag in a body")
            << true << nested << QByteArray("END") << int(QsciLexerSQL::Keyword);
        QTest::newRow("parameter is no tag")
            << true << QByteArray("SELECT $1, 'a$' FROM t") << QByteArray("FROM") << int(QsciLexerSQL::Keyword);
        QTest::newRow("bracketed name") << false << QByteArray("SELECT [from] FROM t") << QByteArray("from]")
                                        << int(QsciLexerSQL::QuotedIdentifier);
        QTest::newRow("block comment") << false << QByteArray("/* select\n'x */ SELECT @a") << QByteArray("'x")
                                       << int(QsciLexerSQL::Comment);
        QTest::newRow("line comment") << false << QByteArray("-- it's\nSELECT 1") << QByteArray("SELECT")
                                      << int(QsciLexerSQL::Keyword);
    }
    void colouring()
    {
        QFETCH(bool, postgreSQL);
        QFETCH(QByteArray, text);
        QFETCH(QByteArray, at);
        QFETCH(int, style);
        SQLTextEditor e(ui);
        e.SetServerKind(postgreSQL);
        e.SetBytes(text);
        e.ColourAll();
        QCOMPARE(StyleAt(e, at), style);
    }

    void findAndReplace()
    {
        SQLTextEditor e(ui);
        e.SetText(QStringLiteral("select a from t\nselect b from u"));
        WhenModal([](QDialog &d) {
            SetText(d, QStringLiteral("txtFind"), QStringLiteral("FROM"));
            Click(d, QStringLiteral("cmdFindNext"));
        });
        e.Find();
        int line = -1, index = -1;
        e.getCursorPosition(&line, &index);
        QCOMPARE(e.SelectedText(), QStringLiteral("from"));
        QCOMPARE(line, 0);
        e.FindNext();
        e.getCursorPosition(&line, &index);
        QCOMPARE(line, 1);
        e.FindPrevious();
        e.getCursorPosition(&line, &index);
        QCOMPARE(line, 0);
        ui.answer(UiServices::Answer::Ok);
        QVERIFY(!e.Search(QStringLiteral("FROM"), true, false, true));
        QCOMPARE(Boxes(ui).last(), QStringLiteral("information|Find|Cannot find \"FROM\"."));
        QCOMPARE(e.ReplaceAll(QStringLiteral("select"), QStringLiteral("SELECT"), false, true), 2);
        QCOMPARE(e.Text(), QStringLiteral("SELECT a from t\nSELECT b from u"));
    }

    // Marked lines and highlighted characters; the window agrees with the
    // synchronisation's comparison on whether the texts differ.
    void comparison_data()
    {
        QTest::addColumn<QString>("left");
        QTest::addColumn<QString>("right");
        QTest::addColumn<QList<int>>("leftLines");
        QTest::addColumn<QList<int>>("rightLines");
        QTest::addColumn<QStringList>("highlighted"); // left pieces, then "|", then right pieces
        QTest::newRow("insertion") << "a\nb\nc"
                                   << "a\nb\nx\ny\nc" << QList<int> {} << QList<int> { 2, 3 } << QStringList { "|" };
        QTest::newRow("deletion") << "a\nb\nc\nd"
                                  << "a\nd" << QList<int> { 1, 2 } << QList<int> {} << QStringList { "|" };
        QTest::newRow("changed line") << "SELECT total\nFROM t"
                                      << "SELECT subtotal\nFROM t" << QList<int> { 0 } << QList<int> { 0 }
                                      << QStringList { "|", "sub" };
        QTest::newRow("inserted line beside a changed one") << "a\n-- note\n  INSERT x VALUES (1)\nb"
                                                            << "a\n  INSERT x VALUES (2)\nb" << QList<int> { 1, 2 }
                                                            << QList<int> { 1 } << QStringList { "1", "|", "2" };
        QTest::newRow("outer white space only")
            << "\n\n  SELECT 1\n"
            << "SELECT 1 \r\n\t" << QList<int> {} << QList<int> {} << QStringList { "|" };
        QTest::newRow("change after outer white space")
            << "\r\n  SELECT 1"
            << "SELECT 2\n"
            << QList<int> { 1 } << QList<int> { 0 } << QStringList { "1", "|", "2" };
        QTest::newRow("line ends inside") << "a\r\nb"
                                          << "a\nb" << QList<int> { 0 } << QList<int> { 0 } << QStringList { "|" };
        QTest::newRow("inner blank") << "a\n\nb"
                                     << "a\nb" << QList<int> { 1 } << QList<int> {} << QStringList { "|" };
    }
    void comparison()
    {
        QFETCH(QString, left);
        QFETCH(QString, right);
        QFETCH(QList<int>, leftLines);
        QFETCH(QList<int>, rightLines);
        QFETCH(QStringList, highlighted);
        QTemporaryDir settingsDir;
        KORVOSettings settings(settingsDir.filePath(QStringLiteral("settings.conf")));
        frmCompareText w(settings, ui);
        w.Compare(left, right, QStringLiteral("SQL"), QStringLiteral("VSS"), false);
        QCOMPARE(w.MarkedLines(true), leftLines);
        QCOMPARE(w.MarkedLines(false), rightLines);
        QCOMPARE(w.HighlightedTexts(true) + QStringList { "|" } + w.HighlightedTexts(false), highlighted);
        QCOMPARE(w.Differences().hunks.isEmpty(), TextsEqual(left, right, true, true));
        QCOMPARE(Control<QLabel>(w, QStringLiteral("lblDifferences"))->text() == QLatin1String("No differences."),
            leftLines.isEmpty() && rightLines.isEmpty());
    }

    // Next and previous go from difference to difference; the sides scroll together;
    // the window's place is kept in the diff settings.
    void navigationAndPlace()
    {
        QStringList a, b;
        for (int i = 0; i < 300; ++i)
            a << QStringLiteral("line %1").arg(i);
        b = a;
        b[100] = QStringLiteral("changed");
        b.insert(200, QStringLiteral("inserted"));
        QTemporaryDir settingsDir;
        KORVOSettings settings(settingsDir.filePath(QStringLiteral("settings.conf")));
        settings.SetDiffRect(QStringLiteral("20, 30, 620, 430"));
        auto *w = frmCompareText::Show(settings, ui, nullptr, a.join('\n'), b.join('\n'), "1", "2", false);
        QPointer<frmCompareText> alive(w);
        QCOMPARE(w->geometry(), QRect(20, 30, 600, 400));
        QCOMPARE(w->CurrentDifference(), 0);
        w->NextDifference();
        QCOMPARE(w->Differences().hunks.at(w->CurrentDifference()).rightStart, 200);
        auto *left = Control<SQLTextEditor>(*w, QStringLiteral("txtLeft"));
        auto *right = Control<SQLTextEditor>(*w, QStringLiteral("txtRight"));
        left->setFirstVisibleLine(250);
        QTRY_COMPARE(right->firstVisibleLine(), 251);
        w->PreviousDifference();
        QCOMPARE(w->CurrentDifference(), 0);
        w->setGeometry(40, 50, 600, 400);
        w->close();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(!alive);
        QCOMPARE(settings.diffRect(), QStringLiteral("40, 50, 640, 450"));
    }
};

QTEST_MAIN(TestSQLEditor)
#include "test_sqleditor.moc"
