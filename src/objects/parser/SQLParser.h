#pragma once

#include <QList>
#include <QString>
#include <QStringList>

#include <utility>

// The SQL text helpers: one tokenizer that knows comments, strings, bracketed
// names and white space, and the few operations built on it (the name after a
// keyword sequence, replacing that name or a keyword, cutting a script at its
// "go" words, comparing texts with margins of white space ignored).
//
// All functions are free and keep no state. None of them throws: text they do
// not understand simply gives no match.

enum class SQLTokenKind { Word = 0, BlockComment = 1, LineComment = 2, Bracketed = 3, String = 4 };

struct SQLToken {
    QString Text;
    // 1-based character position of the token in the text.
    int Start = 1;
    // The token's length, except for the last token of a text, whose length is
    // the text's length + 1 so that a replacement of it runs to the end.
    int Length = 0;
    SQLTokenKind Kind = SQLTokenKind::Word;
    int Tag = 0;
};

// Rows in text order; the first token is element 0.
using SQLTokens = QList<SQLToken>;

// Keyword sequences: each row holds words that must follow one another, such
// as {"CREATE", "PROC"} and {"CREATE", "PROCEDURE"}.
using SQLKeywordPatterns = QList<QStringList>;

// Splits a text into tokens. White space (tab, LF, CR, blank) separates words
// and is dropped; "(" begins a new token, so "x(@a" gives "x" and "(@a". With
// includeComments false the comment tokens are left out (positions stay those
// of the text). tag is copied to every token.
SQLTokens SplitSQLTokens(const QString &text, bool includeComments, int tag = 0);

// The name after the first keyword sequence found, as written (brackets and
// dots included, a glued "(" excluded); empty when no sequence is found.
// Keywords in comments or strings never count; comments between them are skipped.
QString ExtractNameAfterPattern(const SQLKeywordPatterns &keywords, const QString &text);

// Replaces the name after the first keyword sequence by newName. A parameter
// list glued to the name ("x(@a") counts as part of the name and is replaced
// with it. oldName receives the replaced text. Empty result (and oldName) when
// no sequence is found.
QString ReplaceNameAfterPattern(
    const SQLKeywordPatterns &keywords, const QString &text, const QString &newName, QString &oldName);

// Where the name after the first keyword sequence stands: 1-based start and
// length in the text, {0, 0} when no sequence is found. With stopAtParenthesis
// the span is that of ExtractNameAfterPattern, otherwise that of
// ReplaceNameAfterPattern.
std::pair<int, int> NameSpanAfterPattern(
    const SQLKeywordPatterns &keywords, const QString &text, bool stopAtParenthesis);

// Replaces the first plain word equal to oldWord (case ignored) by newWord;
// empty result when there is no such word.
QString ReplaceKeyword(const QString &text, const QString &oldWord, const QString &newWord);

// Cuts a script at each plain word "go" (any case; not in comments or strings).
// The parts are returned in order; the text after the last "go" is the last
// part, so there is always at least one.
QStringList SplitBatches(const QString &text);

// Case-sensitive comparison, optionally ignoring white space at either end.
bool TextsEqual(const QString &textA, const QString &textB, bool ignoreLeading, bool ignoreTrailing);

// Drop tab, LF, CR and blank from one end.
QString TrimLeadingWhite(const QString &text);
QString TrimTrailingWhite(const QString &text);

// True when nothing is left once all CR LF pairs, tabs and blanks are removed.
bool IsBlankText(const QString &text);
