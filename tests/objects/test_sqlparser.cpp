#include "SQLParser.h"

#include <QRandomGenerator>
#include <QTest>

namespace
{

const SQLKeywordPatterns procKeywords { { "CREATE", "PROC" }, { "CREATE", "PROCEDURE" } };
const SQLKeywordPatterns viewKeywords { { "CREATE", "VIEW" } };
const SQLKeywordPatterns triggerKeywords { { "CREATE", "TRIGGER" } };

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
    void tokens_data();
    void tokens();
    void tokensWithoutComments();
    void tagIsCopied();
    void extractName_data();
    void extractName();
    void replaceName_data();
    void replaceName();
    void replaceKeyword_data();
    void replaceKeyword();
    void splitBatches_data();
    void splitBatches();
    void textsEqual_data();
    void textsEqual();
    void blankText_data();
    void blankText();
    void garbageNeverBreaks();
};

void TestSqlParser::tokens_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("expected");

    // The last token's length is the text's length + 1.
    QTest::newRow("words") << "ab  cd"
                           << "ab|1|2|0 cd|5|7|0";
    QTest::newRow("trailing blank keeps length") << "ab "
                                                 << "ab|1|2|0";
    QTest::newRow("empty") << ""
                           << "";
    QTest::newRow("only white") << " \t\r\n"
                                << "";
    QTest::newRow("paren starts token") << "x(@a int)"
                                        << "x|1|1|0 (@a|2|3|0 int)|6|10|0";
    QTest::newRow("paren after blank") << "p (@a)"
                                       << "p|1|1|0 (@a)|3|7|0";
    QTest::newRow("dot is no separator") << "dbo.usp_x y"
                                         << "dbo.usp_x|1|9|0 y|11|12|0";
    QTest::newRow("brackets split") << "[dbo].[x] y"
                                    << "[dbo]|1|5|3 .|6|1|0 [x]|7|3|3 y|11|12|0";
    QTest::newRow("bracket keeps blanks") << "[a b] c"
                                          << "[a b]|1|5|3 c|7|8|0";
    QTest::newRow("block comment") << "a/* x */b"
                                   << "a|1|1|0 /* x */|2|7|1 b|9|10|0";
    QTest::newRow("block comment star slash") << "/**/x"
                                              << "/**/|1|4|1 x|5|6|0";
    QTest::newRow("line comment ends at LF") << "a -- c\r\nb"
                                             << "a|1|1|0 -- c\r|3|5|2 b|9|10|0";
    QTest::newRow("string") << "x 'a b' y"
                            << "x|1|1|0 'a b'|3|5|4 y|9|10|0";
    QTest::newRow("doubled quote two strings") << "'a''b'"
                                               << "'a'|1|3|4 'b'|4|3|4";
    QTest::newRow("comment marks in string") << "'--/*' z"
                                             << "'--/*'|1|6|4 z|8|9|0";
    QTest::newRow("unterminated string runs to end") << "a 'bc"
                                                     << "a|1|1|0 'bc|3|6|4";
    QTest::newRow("unterminated comment runs to end") << "a /* b"
                                                      << "a|1|1|0 /* b|3|7|1";
    // An opening delimiter with nothing after it never reached its state.
    QTest::newRow("quote at very end") << "a '"
                                       << "a|1|1|0 '|3|4|0";
    QTest::newRow("line comment at end without LF") << "x --c"
                                                    << "x|1|1|0 --c|3|6|2";
    QTest::newRow("bracket then paren") << "[t](a"
                                        << "[t]|1|3|3 (a|4|6|0";
    QTest::newRow("single char") << "x"
                                 << "x|1|2|0";
    QTest::newRow("lone slash and dash") << "a/b-c"
                                         << "a/b-c|1|6|0";
}

void TestSqlParser::tokens()
{
    QFETCH(QString, text);
    QFETCH(QString, expected);
    QCOMPARE(describe(SplitSQLTokens(text, true)), expected);
}

void TestSqlParser::tokensWithoutComments()
{
    const SQLTokens t = SplitSQLTokens(QStringLiteral("/* a */ b -- c\nd"), false);
    QCOMPARE(describe(t), QStringLiteral("b|9|1|0 d|16|17|0"));
    // A trailing comment leaves the word before it with its own length.
    QCOMPARE(describe(SplitSQLTokens(QStringLiteral("x /*c*/"), false)), QStringLiteral("x|1|1|0"));
}

void TestSqlParser::tagIsCopied()
{
    const SQLTokens t = SplitSQLTokens(QStringLiteral("a 'b' [c] /*d*/"), true, 7);
    QCOMPARE(t.size(), 4);
    for (const SQLToken &token : t)
        QCOMPARE(token.Tag, 7);
}

void TestSqlParser::extractName_data()
{
    QTest::addColumn<SQLKeywordPatterns>("keywords");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("name");

    QTest::newRow("keyword in comment skipped") << procKeywords << "/* CREATE PROC a */ CREATE PROCEDURE [dbo].[b] AS"
                                                << "[dbo].[b]";
    QTest::newRow("line comment skipped") << viewKeywords << "-- CREATE VIEW x\r\nCREATE VIEW y AS"
                                          << "y";
    QTest::newRow("glued parameter list") << procKeywords << "CREATE PROC x(@a int) AS"
                                          << "x";
    QTest::newRow("case and dots") << procKeywords << "create procedure dbo.x AS"
                                   << "dbo.x";
    QTest::newRow("comment between keywords") << procKeywords << "CREATE /* c */ PROC\n--x\n p AS"
                                              << "p";
    QTest::newRow("keyword in string never counts") << viewKeywords << "SELECT 'CREATE VIEW a'"
                                                    << "";
    QTest::newRow("alter not recognised") << procKeywords << "ALTER PROCEDURE p AS"
                                          << "";
    QTest::newRow("first create wins") << viewKeywords << "CREATE VIEW a AS SELECT 1 CREATE VIEW b"
                                       << "a";
    QTest::newRow("name at very end") << viewKeywords << "CREATE VIEW [dbo].[v]"
                                      << "[dbo].[v]";
    QTest::newRow("keywords at very end") << viewKeywords << "CREATE VIEW"
                                          << "";
    QTest::newRow("second sequence of the array") << procKeywords << "CREATE PROCEDURE p AS"
                                                  << "p";
    QTest::newRow("bracketed name with blank") << viewKeywords << "CREATE VIEW [my view] AS"
                                               << "[my view]";
    QTest::newRow("mixed owner form") << viewKeywords << "CREATE VIEW dbo.[v x]\nAS"
                                      << "dbo.[v x]";
    QTest::newRow("comment glued to name stops it") << viewKeywords << "CREATE VIEW v/*c*/AS"
                                                    << "v";
    QTest::newRow("second keyword may be bracketed")
        << SQLKeywordPatterns { { "CREATE", "[PROC]" } } << "CREATE [proc] p"
        << "p";
    QTest::newRow("first keyword must be a word") << SQLKeywordPatterns { { "[CREATE]", "VIEW" } } << "[create] view v"
                                                  << "";
    QTest::newRow("three words") << SQLKeywordPatterns { { "CREATE", "OR", "REPLACE" } }
                                 << "create or replace function public.f(a int)"
                                 << "function";
    QTest::newRow("trigger name") << triggerKeywords << "CREATE TRIGGER [dbo].[tr] ON [dbo].[t] FOR INSERT"
                                  << "[dbo].[tr]";
    QTest::newRow("no keywords at all") << SQLKeywordPatterns {} << "CREATE VIEW v"
                                        << "";
    QTest::newRow("empty text") << viewKeywords << ""
                                << "";
}

void TestSqlParser::extractName()
{
    QFETCH(SQLKeywordPatterns, keywords);
    QFETCH(QString, text);
    QFETCH(QString, name);
    QCOMPARE(ExtractNameAfterPattern(keywords, text), name);
}

void TestSqlParser::replaceName_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("newName");
    QTest::addColumn<QString>("result");
    QTest::addColumn<QString>("oldName");

    QTest::newRow("glued list goes with the name") << "CREATE PROC x(@a int) AS"
                                                   << "[t]"
                                                   << "CREATE PROC [t] int) AS"
                                                   << "x(@a";
    QTest::newRow("bracketed owner") << "CREATE PROCEDURE [dbo].[b]\r\nAS SELECT 1"
                                     << "[sptmp_1]"
                                     << "CREATE PROCEDURE [sptmp_1]\r\nAS SELECT 1"
                                     << "[dbo].[b]";
    QTest::newRow("name at end replaced to end") << "CREATE PROC p"
                                                 << "[q]"
                                                 << "CREATE PROC [q]"
                                                 << "p";
    QTest::newRow("comment before kept") << "/*h*/\nCREATE PROC p AS"
                                         << "z"
                                         << "/*h*/\nCREATE PROC z AS"
                                         << "p";
    QTest::newRow("not found") << "SELECT 1"
                               << "z"
                               << ""
                               << "";
}

void TestSqlParser::replaceName()
{
    QFETCH(QString, text);
    QFETCH(QString, newName);
    QFETCH(QString, result);
    QFETCH(QString, oldName);
    QString old = QStringLiteral("stale");
    QCOMPARE(ReplaceNameAfterPattern(procKeywords, text, newName, old), result);
    QCOMPARE(old, oldName);
}

void TestSqlParser::replaceKeyword_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("oldWord");
    QTest::addColumn<QString>("newWord");
    QTest::addColumn<QString>("result");

    QTest::newRow("only the word outside the comment") << "/* CREATE */ CREATE PROC x"
                                                       << "CREATE"
                                                       << "ALTER"
                                                       << "/* CREATE */ ALTER PROC x";
    QTest::newRow("first of two") << "create view a as select 1 create"
                                  << "CREATE"
                                  << "ALTER"
                                  << "ALTER view a as select 1 create";
    QTest::newRow("missing word gives empty") << "SELECT 1"
                                              << "CREATE"
                                              << "ALTER"
                                              << "";
    QTest::newRow("string does not count") << "'CREATE' CREATE"
                                           << "CREATE"
                                           << "ALTER"
                                           << "'CREATE' ALTER";
    QTest::newRow("word at end") << "x CREATE"
                                 << "create"
                                 << "ALTER"
                                 << "x ALTER";
    QTest::newRow("glued paren is another word") << "CREATE("
                                                 << "CREATE"
                                                 << "X"
                                                 << "X(";
    QTest::newRow("longer form") << "CREATE TRIGGER t"
                                 << "CREATE"
                                 << "CREATE OR REPLACE"
                                 << "CREATE OR REPLACE TRIGGER t";
    QTest::newRow("part of a word is no match") << "CREATED x"
                                                << "CREATE"
                                                << "ALTER"
                                                << "";
}

void TestSqlParser::replaceKeyword()
{
    QFETCH(QString, text);
    QFETCH(QString, oldWord);
    QFETCH(QString, newWord);
    QFETCH(QString, result);
    QCOMPARE(ReplaceKeyword(text, oldWord, newWord), result);
}

void TestSqlParser::splitBatches_data()
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

void TestSqlParser::splitBatches()
{
    QFETCH(QString, text);
    QFETCH(QStringList, parts);
    const QStringList got = SplitBatches(text);
    QCOMPARE(got, parts);
    // The parts and the "go" words between them make up the whole text.
    QCOMPARE(TextsEqual(got.join(QString()), text, false, false), got.size() == 1);
}

void TestSqlParser::textsEqual_data()
{
    QTest::addColumn<QString>("a");
    QTest::addColumn<QString>("b");
    QTest::addColumn<bool>("leading");
    QTest::addColumn<bool>("trailing");
    QTest::addColumn<bool>("equal");

    QTest::newRow("margins ignored") << "  a\r\n"
                                     << "a" << true << true << true;
    QTest::newRow("case counts") << "A"
                                 << "a" << true << true << false;
    QTest::newRow("leading only") << "\t a "
                                  << "a " << true << false << true;
    QTest::newRow("leading not ignored") << " a"
                                         << "a" << false << true << false;
    QTest::newRow("trailing only") << "a\n"
                                   << "a" << false << true << true;
    QTest::newRow("inner white counts") << "a  b"
                                        << "a b" << true << true << false;
    QTest::newRow("only white is empty") << " \r\n\t"
                                         << "" << true << true << true;
    QTest::newRow("other white is not trimmed") << QString(QChar(0xa0)) + "a"
                                                << "a" << true << true << false;
    QTest::newRow("exact") << "x\r\n"
                           << "x\n"
                           << false << false << false;
}

void TestSqlParser::textsEqual()
{
    QFETCH(QString, a);
    QFETCH(QString, b);
    QFETCH(bool, leading);
    QFETCH(bool, trailing);
    QFETCH(bool, equal);
    QCOMPARE(TextsEqual(a, b, leading, trailing), equal);
    QCOMPARE(TextsEqual(b, a, leading, trailing), equal);
}

void TestSqlParser::blankText_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("blank");
    QTest::newRow("empty") << "" << true;
    QTest::newRow("blanks tabs crlf") << " \t\r\n \r\n" << true;
    QTest::newRow("lone LF") << "\n" << false;
    QTest::newRow("lone CR") << " \r" << false;
    QTest::newRow("text") << "  x " << false;
}

void TestSqlParser::blankText()
{
    QFETCH(QString, text);
    QFETCH(bool, blank);
    QCOMPARE(IsBlankText(text), blank);
}

// Random fragments of SQL syntax: no function may crash, read past the text or
// lose characters of it.
void TestSqlParser::garbageNeverBreaks()
{
    const QStringList pieces { "CREATE", " ", "PROC", "(", "[", "]", "'", "/*", "*/", "--", "\n", "\r", "go", ".", "x",
        "*", "/", "-", "\t", "view" };
    QRandomGenerator rng(4711);
    for (int round = 0; round < 2000; ++round) {
        QString text;
        const int n = int(rng.bounded(12));
        for (int k = 0; k < n; ++k)
            text += pieces[int(rng.bounded(pieces.size()))];
        const SQLTokens tokens = SplitSQLTokens(text, true);
        for (const SQLToken &t : tokens) {
            QVERIFY(t.Start >= 1);
            QVERIFY(t.Start + t.Text.size() - 1 <= text.size());
            QCOMPARE(text.mid(t.Start - 1, t.Text.size()), t.Text);
        }
        QString old;
        const QString replaced = ReplaceNameAfterPattern(procKeywords, text, QStringLiteral("N"), old);
        if (!replaced.isEmpty())
            QCOMPARE(replaced.size(), text.size() - old.size() + 1);
        ExtractNameAfterPattern(procKeywords, text);
        ReplaceKeyword(text, QStringLiteral("create"), QStringLiteral("ALTER"));
        const QStringList parts = SplitBatches(text);
        QVERIFY(!parts.isEmpty());
        qsizetype total = 0;
        for (const QString &p : parts)
            total += p.size();
        QCOMPARE(total + 2 * (parts.size() - 1), text.size());
    }
}

QTEST_APPLESS_MAIN(TestSqlParser)
#include "test_sqlparser.moc"
