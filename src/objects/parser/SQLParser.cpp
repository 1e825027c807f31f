#include "SQLParser.h"

namespace
{

bool isWhite(QChar c)
{
    const char16_t u = c.unicode();
    return u == 9 || u == 10 || u == 13 || u == 32;
}

enum class ScanState { Normal, BlockComment, LineComment, String, Bracket, DoubleQuote };

// Index of the token after the first keyword sequence, or -1. The first match
// decides: if its sequence ends the text there is no name, and the search stops.
qsizetype findAfterKeywords(const SQLTokens &tokens, const SQLKeywordPatterns &keywords)
{
    QList<QStringList> upper;
    upper.reserve(keywords.size());
    for (const QStringList &row : keywords) {
        QStringList u;
        for (const QString &w : row)
            u.append(w.toUpper());
        upper.append(u);
    }
    const qsizetype count = tokens.size();
    for (qsizetype r = 0; r < count; ++r) {
        if (tokens[r].Kind != SQLTokenKind::Word)
            continue;
        for (const QStringList &row : upper) {
            const qsizetype words = row.size();
            if (words == 0 || r + words > count)
                continue;
            bool match = true;
            for (qsizetype w = 0; w < words && match; ++w)
                match = tokens[r + w].Text.toUpper() == row[w];
            if (match) {
                const qsizetype found = r + words;
                return found < count ? found : -1;
            }
        }
    }
    return -1;
}

// Start and length (1-based start) of the name that begins at token `found`,
// joining the tokens that touch it.
std::pair<int, int> nameSpan(const SQLTokens &tokens, qsizetype found, bool stopAtParenthesis)
{
    const int start = tokens[found].Start;
    int length = tokens[found].Length;
    for (qsizetype j = found + 1; j < tokens.size(); ++j) {
        const SQLToken &t = tokens[j];
        if (t.Start != start + length)
            break;
        if (stopAtParenthesis && t.Text.startsWith(QLatin1Char('(')))
            break;
        length = t.Start + t.Length - start;
    }
    return { start, length };
}

QString replaceSpan(const QString &text, int start, int length, const QString &replacement)
{
    const qsizetype from = qsizetype(start) - 1;
    const qsizetype to = from + length;
    QString result = text.left(from);
    result += replacement;
    if (to < text.size())
        result += QStringView(text).mid(to);
    return result;
}

} // namespace

SQLTokens SplitSQLTokens(const QString &text, bool includeComments, int tag)
{
    SQLTokens rows;
    rows.append(SQLToken { QString(), 1, 0, SQLTokenKind::Word, tag });
    const int n = int(text.size());
    ScanState state = ScanState::Normal;

    // Ends the current token; a delimiter (its length) opens the next one.
    auto endToken = [&](int &i, int delimiterLength) {
        SQLToken &current = rows.last();
        current.Length = int(current.Text.size());
        if (!current.Text.isEmpty())
            rows.append(SQLToken {});
        SQLToken &next = rows.last();
        next.Text.clear();
        next.Start = delimiterLength > 0 ? i : i + 1;
        next.Length = 0;
        next.Kind = SQLTokenKind::Word;
        next.Tag = tag;
        if (delimiterLength > 0) {
            next.Text = text.mid(i - 1, delimiterLength);
            i += delimiterLength - 1;
        }
    };
    auto at = [&](int pos) { return pos >= 1 && pos <= n ? text.at(pos - 1) : QChar(); };

    int i = 1;
    for (; i <= n; ++i) {
        const QChar c = text.at(i - 1);
        switch (state) {
        case ScanState::BlockComment:
            rows.last().Kind = SQLTokenKind::BlockComment;
            rows.last().Text += c;
            if (c == QLatin1Char('*') && at(i + 1) == QLatin1Char('/')) {
                ++i;
                rows.last().Text += QLatin1Char('/');
                endToken(i, 0);
                state = ScanState::Normal;
            }
            break;
        case ScanState::LineComment:
            rows.last().Kind = SQLTokenKind::LineComment;
            if (c == QLatin1Char('\n')) {
                endToken(i, 0);
                state = ScanState::Normal;
            } else {
                rows.last().Text += c;
            }
            break;
        case ScanState::String:
            rows.last().Kind = SQLTokenKind::String;
            rows.last().Text += c;
            if (c == QLatin1Char('\'')) {
                endToken(i, 0);
                state = ScanState::Normal;
            }
            break;
        case ScanState::Bracket:
        case ScanState::DoubleQuote: {
            // A quoted name; its closing character doubled stands for itself.
            const QChar close = state == ScanState::Bracket ? QLatin1Char(']') : QLatin1Char('"');
            rows.last().Kind = SQLTokenKind::Bracketed;
            rows.last().Text += c;
            if (c == close && at(i + 1) == close) {
                ++i;
                rows.last().Text += c;
            } else if (c == close) {
                endToken(i, 0);
                state = ScanState::Normal;
            }
            break;
        }
        case ScanState::Normal:
            if (c == QLatin1Char('/') && at(i + 1) == QLatin1Char('*')) {
                endToken(i, 2);
                state = ScanState::BlockComment;
            } else if (c == QLatin1Char('-') && at(i + 1) == QLatin1Char('-')) {
                endToken(i, 2);
                state = ScanState::LineComment;
            } else if (c == QLatin1Char('\'')) {
                endToken(i, 1);
                state = ScanState::String;
            } else if (c == QLatin1Char('[')) {
                endToken(i, 1);
                state = ScanState::Bracket;
            } else if (c == QLatin1Char('"')) {
                endToken(i, 1);
                state = ScanState::DoubleQuote;
            } else if (isWhite(c)) {
                endToken(i, 0);
            } else if (c == QLatin1Char('(')) {
                endToken(i, 1);
            } else {
                rows.last().Text += c;
            }
            break;
        }
    }
    // The last token runs to the end of the text whatever its own length.
    rows.last().Length = i;
    if (rows.last().Text.isEmpty())
        rows.removeLast();

    if (!includeComments) {
        rows.removeIf([](const SQLToken &t) {
            return t.Kind == SQLTokenKind::BlockComment || t.Kind == SQLTokenKind::LineComment;
        });
    }
    return rows;
}

QString ExtractNameAfterPattern(const SQLKeywordPatterns &keywords, const QString &text)
{
    const SQLTokens tokens = SplitSQLTokens(text, false);
    const qsizetype found = findAfterKeywords(tokens, keywords);
    if (found < 0)
        return QString();
    const auto [start, length] = nameSpan(tokens, found, true);
    return text.mid(start - 1, length);
}

QString ReplaceNameAfterPattern(
    const SQLKeywordPatterns &keywords, const QString &text, const QString &newName, QString &oldName)
{
    oldName.clear();
    const SQLTokens tokens = SplitSQLTokens(text, false);
    const qsizetype found = findAfterKeywords(tokens, keywords);
    if (found < 0)
        return QString();
    const auto [start, length] = nameSpan(tokens, found, false);
    oldName = text.mid(start - 1, length);
    return replaceSpan(text, start, length, newName);
}

std::pair<int, int> NameSpanAfterPattern(
    const SQLKeywordPatterns &keywords, const QString &text, bool stopAtParenthesis)
{
    const SQLTokens tokens = SplitSQLTokens(text, false);
    const qsizetype found = findAfterKeywords(tokens, keywords);
    if (found < 0)
        return { 0, 0 };
    auto span = nameSpan(tokens, found, stopAtParenthesis);
    // The last token's length runs past the text; report what is really there.
    span.second = int(qMin<qsizetype>(span.second, text.size() - span.first + 1));
    return span;
}

QString ReplaceKeyword(const QString &text, const QString &oldWord, const QString &newWord)
{
    const QString wanted = oldWord.toUpper();
    const SQLTokens tokens = SplitSQLTokens(text, false);
    for (const SQLToken &t : tokens) {
        if (t.Kind == SQLTokenKind::Word && t.Text.toUpper() == wanted)
            return replaceSpan(text, t.Start, t.Length, newWord);
    }
    return QString();
}

QStringList SplitBatches(const QString &text)
{
    QStringList parts;
    qsizetype partStart = 0; // 0-based
    const SQLTokens tokens = SplitSQLTokens(text, true);
    for (const SQLToken &t : tokens) {
        if (t.Kind != SQLTokenKind::Word || t.Text.size() != 2
            || t.Text.compare(QLatin1String("go"), Qt::CaseInsensitive) != 0)
            continue;
        const qsizetype tokenStart = t.Start - 1;
        parts.append(tokenStart > partStart ? text.mid(partStart, tokenStart - partStart) : QString());
        partStart = tokenStart + t.Length;
    }
    parts.append(partStart < text.size() ? text.mid(partStart) : QString());
    return parts;
}

QString TrimLeadingWhite(const QString &text)
{
    qsizetype i = 0;
    while (i < text.size() && isWhite(text.at(i)))
        ++i;
    return text.mid(i);
}

QString TrimTrailingWhite(const QString &text)
{
    qsizetype n = text.size();
    while (n > 0 && isWhite(text.at(n - 1)))
        --n;
    return text.left(n);
}

bool TextsEqual(const QString &textA, const QString &textB, bool ignoreLeading, bool ignoreTrailing)
{
    QString a = textA;
    QString b = textB;
    if (ignoreLeading) {
        a = TrimLeadingWhite(a);
        b = TrimLeadingWhite(b);
    }
    if (ignoreTrailing) {
        a = TrimTrailingWhite(a);
        b = TrimTrailingWhite(b);
    }
    return a == b;
}

bool IsBlankText(const QString &text)
{
    const qsizetype n = text.size();
    for (qsizetype i = 0; i < n; ++i) {
        const QChar c = text.at(i);
        if (c == QLatin1Char(' ') || c == QLatin1Char('\t'))
            continue;
        if (c == QLatin1Char('\r') && i + 1 < n && text.at(i + 1) == QLatin1Char('\n')) {
            ++i;
            continue;
        }
        return false;
    }
    return true;
}
