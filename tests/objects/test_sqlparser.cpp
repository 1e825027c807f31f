#include "SQLParser.h"

#include <QRandomGenerator>
#include <QTest>

namespace
{

const SQLKeywordPatterns procKeywords { { "CREATE", "PROC" }, { "CREATE", "PROCEDURE" } };
const SQLKeywordPatterns viewKeywords { { "CREATE", "VIEW" } };

// "text|start|length|kind" per token, joined by blanks.
QString describe(const SQLTokens &tokens)
{
    QStringList out;
    for (const SQLToken &t : tokens)
        out << QStringLiteral("%1|%2|%3|%4").arg(t.Text).arg(t.Start).arg(t.Length).arg(int(t.Kind));
    return out.join(QLatin1Char(' '));
}

} // namespace

class TestSqlParser : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void tokens_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("expected");
        QTest::addColumn<bool>("comments");
        const auto row = [](const char *name, const QString &text, const QString &expected, bool comments = true) {
            QTest::newRow(name) << text << expected << comments;
        };
        // The last token's length is the text's length + 1.
        row("words", "ab  cd", "ab|1|2|0 cd|5|7|0");
        row("trailing blank keeps length", "ab ", "ab|1|2|0");
        row("empty", "", "");
        row("only white", " \t\r\n", "");
        row("single char", "x", "x|1|2|0");
        row("paren starts token", "x(@a int)", "x|1|1|0 (@a|2|3|0 int)|6|10|0");
        row("paren after blank", "p (@a)", "p|1|1|0 (@a)|3|7|0");
        row("dot is no separator", "dbo.usp_x y", "dbo.usp_x|1|9|0 y|11|12|0");
        row("brackets split", "[dbo].[x] y", "[dbo]|1|5|3 .|6|1|0 [x]|7|3|3 y|11|12|0");
        row("bracket keeps blanks", "[a b] c", "[a b]|1|5|3 c|7|8|0");
        row("bracket then paren", "[t](a", "[t]|1|3|3 (a|4|6|0");
        row("block comment", "a/* x */b", "a|1|1|0 /* x */|2|7|1 b|9|10|0");
        row("block comment star slash", "/**/x", "/**/|1|4|1 x|5|6|0");
        row("line comment ends at LF", "a -- c\r\nb", "a|1|1|0 -- c\r|3|5|2 b|9|10|0");
        row("line comment at end without LF", "x --c", "x|1|1|0 --c|3|6|2");
        row("string", "x 'a b' y", "x|1|1|0 'a b'|3|5|4 y|9|10|0");
        row("doubled quote two strings", "'a''b'", "'a'|1|3|4 'b'|4|3|4");
        row("comment marks in string", "'--/*' z", "'--/*'|1|6|4 z|8|9|0");
        row("unterminated string runs to end", "a 'bc", "a|1|1|0 'bc|3|6|4");
        row("unterminated comment runs to end", "a /* b", "a|1|1|0 /* b|3|7|1");
        // An opening delimiter with nothing after it never reached its state.
        row("quote at very end", "a '", "a|1|1|0 '|3|4|0");
        row("lone slash and dash", "a/b-c", "a/b-c|1|6|0");
        // Without comments the positions stay those of the text; a trailing
        // comment leaves the word before it with its own length.
        row("comments left out", "/* a */ b -- c\nd", "b|9|1|0 d|16|17|0", false);
        row("trailing comment left out", "x /*c*/", "x|1|1|0", false);
    }

    void tokens()
    {
        QFETCH(QString, text);
        QFETCH(QString, expected);
        QFETCH(bool, comments);
        const SQLTokens tokens = SplitSQLTokens(text, comments, 7);
        QCOMPARE(describe(tokens), expected);
        for (const SQLToken &t : tokens)
            QCOMPARE(t.Tag, 7);
    }

    void extractName_data()
    {
        QTest::addColumn<SQLKeywordPatterns>("keywords");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("name");
        const auto row = [](const char *name, const SQLKeywordPatterns &k, const QString &text,
                             const QString &expected) { QTest::newRow(name) << k << text << expected; };
        row("keyword in comment skipped", procKeywords, "/* CREATE PROC a */ CREATE PROCEDURE [dbo].[b] AS",
            "[dbo].[b]");
        row("line comment skipped", viewKeywords, "-- CREATE VIEW x\r\nCREATE VIEW y AS", "y");
        row("glued parameter list", procKeywords, "CREATE PROC x(@a int) AS", "x");
        row("case and dots", procKeywords, "create procedure dbo.x AS", "dbo.x");
        row("comment between keywords", procKeywords, "CREATE /* c */ PROC\n--x\n p AS", "p");
        row("keyword in string never counts", viewKeywords, "SELECT 'CREATE VIEW a'", "");
        row("alter not recognised", procKeywords, "ALTER PROCEDURE p AS", "");
        row("first create wins", viewKeywords, "CREATE VIEW a AS SELECT 1 CREATE VIEW b", "a");
        row("name at very end", viewKeywords, "CREATE VIEW [dbo].[v]", "[dbo].[v]");
        row("keywords at very end", viewKeywords, "CREATE VIEW", "");
        row("bracketed name with blank", viewKeywords, "CREATE VIEW [my view] AS", "[my view]");
        row("mixed owner form", viewKeywords, "CREATE VIEW dbo.[v x]\nAS", "dbo.[v x]");
        row("comment glued to name stops it", viewKeywords, "CREATE VIEW v/*c*/AS", "v");
        row("second keyword may be bracketed", { { "CREATE", "[PROC]" } }, "CREATE [proc] p", "p");
        row("first keyword must be a word", { { "[CREATE]", "VIEW" } }, "[create] view v", "");
        row("three words", { { "CREATE", "OR", "REPLACE" } }, "create or replace function public.f(a int)", "function");
        row("no keywords at all", {}, "CREATE VIEW v", "");
        row("empty text", viewKeywords, "", "");
    }

    void extractName()
    {
        QFETCH(SQLKeywordPatterns, keywords);
        QFETCH(QString, text);
        QFETCH(QString, name);
        QCOMPARE(ExtractNameAfterPattern(keywords, text), name);
    }

    void replaceName_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("newName");
        QTest::addColumn<QString>("result");
        QTest::addColumn<QString>("oldName");
        const auto row = [](const char *name, const QString &text, const QString &newName, const QString &result,
                             const QString &oldName) { QTest::newRow(name) << text << newName << result << oldName; };
        // A glued parameter list and a bracketed owner: test_kind_text's temporary names.
        row("name at end replaced to end", "CREATE PROC p", "[q]", "CREATE PROC [q]", "p");
        row("comment before kept", "/*h*/\nCREATE PROC p AS", "z", "/*h*/\nCREATE PROC z AS", "p");
        row("not found", "SELECT 1", "z", "", "");
    }

    void replaceName()
    {
        QFETCH(QString, text);
        QFETCH(QString, newName);
        QFETCH(QString, result);
        QFETCH(QString, oldName);
        QString old = QStringLiteral("stale");
        QCOMPARE(ReplaceNameAfterPattern(procKeywords, text, newName, old), result);
        QCOMPARE(old, oldName);
    }

    void replaceKeyword_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("oldWord");
        QTest::addColumn<QString>("newWord");
        QTest::addColumn<QString>("result");
        const auto row = [](const char *name, const QString &text, const QString &old, const QString &result,
                             const QString &newWord = QStringLiteral("ALTER")) {
            QTest::newRow(name) << text << old << newWord << result;
        };
        // A word in a comment: test_kind_text's SQL Server replacing text.
        row("first of two", "create view a as select 1 create", "CREATE", "ALTER view a as select 1 create");
        row("missing word gives empty", "SELECT 1", "CREATE", "");
        row("string does not count", "'CREATE' CREATE", "CREATE", "'CREATE' ALTER");
        row("word at end", "x CREATE", "create", "x ALTER");
        row("glued paren is another word", "CREATE(", "CREATE", "ALTER(");
        row("longer form", "CREATE TRIGGER t", "CREATE", "CREATE OR REPLACE TRIGGER t", "CREATE OR REPLACE");
        row("part of a word is no match", "CREATED x", "CREATE", "");
    }

    void replaceKeyword()
    {
        QFETCH(QString, text);
        QFETCH(QString, oldWord);
        QFETCH(QString, newWord);
        QFETCH(QString, result);
        QCOMPARE(ReplaceKeyword(text, oldWord, newWord), result);
    }

    void splitBatches_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QStringList>("parts");
        QTest::newRow("go in string") << "select 'go'" << QStringList { "select 'go'" };
        QTest::newRow("two batches") << "select 1\r\ngo\r\nselect 2" << QStringList { "select 1\r\n", "\r\nselect 2" };
        QTest::newRow("capital GO") << "a\nGO\nb" << QStringList { "a\n", "\nb" };
        QTest::newRow("go in comments") << "a -- go\n/* go */ b" << QStringList { "a -- go\n/* go */ b" };
        QTest::newRow("go not alone on a line") << "select 1 go select 2" << QStringList { "select 1 ", " select 2" };
        QTest::newRow("go in a longer word") << "goto going ago" << QStringList { "goto going ago" };
        QTest::newRow("go at end") << "a\ngo" << QStringList { "a\n", "" };
        QTest::newRow("go at start") << "go\na" << QStringList { "", "\na" };
        QTest::newRow("blank batch between") << "a\ngo\n  \ngo\nb" << QStringList { "a\n", "\n  \n", "\nb" };
        QTest::newRow("empty text") << "" << QStringList { "" };
        QTest::newRow("bracketed go") << "[go]" << QStringList { "[go]" };
    }

    void splitBatches()
    {
        QFETCH(QString, text);
        QFETCH(QStringList, parts);
        QCOMPARE(SplitBatches(text), parts);
    }

    void textsEqual_data()
    {
        QTest::addColumn<QString>("a");
        QTest::addColumn<QString>("b");
        QTest::addColumn<bool>("leading");
        QTest::addColumn<bool>("trailing");
        QTest::addColumn<bool>("equal");
        const auto row = [](const char *name, const QString &a, const QString &b, bool lead, bool trail, bool equal) {
            QTest::newRow(name) << a << b << lead << trail << equal;
        };
        row("margins ignored", "  a\r\n", "a", true, true, true);
        row("case counts", "A", "a", true, true, false);
        row("leading only", "\t a ", "a ", true, false, true);
        row("leading not ignored", " a", "a", false, true, false);
        row("trailing only", "a\n", "a", false, true, true);
        row("inner white counts", "a  b", "a b", true, true, false);
        row("only white is empty", " \r\n\t", "", true, true, true);
        row("other white is not trimmed", QString(QChar(0xa0)) + "a", "a", true, true, false);
        row("exact", "x\r\n", "x\n", false, false, false);
    }

    void textsEqual()
    {
        QFETCH(QString, a);
        QFETCH(QString, b);
        QFETCH(bool, leading);
        QFETCH(bool, trailing);
        QFETCH(bool, equal);
        QCOMPARE(TextsEqual(a, b, leading, trailing), equal);
        QCOMPARE(TextsEqual(b, a, leading, trailing), equal);
    }

    void blankText_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("blank");
        QTest::newRow("empty") << "" << true;
        QTest::newRow("blanks tabs crlf") << " \t\r\n \r\n" << true;
        QTest::newRow("lone LF") << "\n" << false;
        QTest::newRow("lone CR") << " \r" << false;
        QTest::newRow("text") << "  x " << false;
    }

    void blankText()
    {
        QFETCH(QString, text);
        QFETCH(bool, blank);
        QCOMPARE(IsBlankText(text), blank);
    }

    // Random fragments of SQL syntax: no function may crash, read past the text or
    // lose characters of it.
    void garbageNeverBreaks()
    {
        const QStringList pieces { "CREATE", " ", "PROC", "(", "[", "]", "'", "/*", "*/", "--", "\n", "\r", "go", ".",
            "x", "*", "/", "-", "\t", "view" };
        QRandomGenerator rng(4711);
        for (int round = 0; round < 2000; ++round) {
            QString text;
            for (int k = int(rng.bounded(12)); k > 0; --k)
                text += pieces[int(rng.bounded(pieces.size()))];
            for (const SQLToken &t : SplitSQLTokens(text, true)) {
                QVERIFY(t.Start >= 1 && t.Start + t.Text.size() - 1 <= text.size());
                QCOMPARE(text.mid(t.Start - 1, t.Text.size()), t.Text);
            }
            QString old;
            const QString replaced = ReplaceNameAfterPattern(procKeywords, text, QStringLiteral("N"), old);
            if (!replaced.isEmpty())
                QCOMPARE(replaced.size(), text.size() - old.size() + 1);
            ExtractNameAfterPattern(procKeywords, text);
            ReplaceKeyword(text, QStringLiteral("create"), QStringLiteral("ALTER"));
            // The parts and the two-letter "go" words between them make up the text.
            const QStringList parts = SplitBatches(text);
            QVERIFY(!parts.isEmpty());
            QCOMPARE(parts.join(QString()).size() + 2 * (parts.size() - 1), text.size());
        }
    }
};

QTEST_APPLESS_MAIN(TestSqlParser)
#include "test_sqlparser.moc"
