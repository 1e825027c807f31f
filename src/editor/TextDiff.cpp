#include "TextDiff.h"

#include "SQLParser.h"

#include <apr_general.h>
#include <svn_diff.h>
#include <svn_pools.h>
#include <svn_string.h>

#include <QByteArray>
#include <QStringList>

namespace
{

// One pool for one comparison; APR is initialised per use, which it counts.
class Pool
{
public:
    Pool()
    {
        apr_initialize();
        mPool = svn_pool_create(nullptr);
    }
    ~Pool()
    {
        svn_pool_destroy(mPool);
        apr_terminate();
    }
    Pool(const Pool &) = delete;
    Pool &operator=(const Pool &) = delete;
    apr_pool_t *get() const { return mPool; }

private:
    apr_pool_t *mPool;
};

struct Range {
    int leftStart, leftCount, rightStart, rightCount;
};

// The changed token ranges of two texts whose tokens are their lines.
QList<Range> DiffLines(const QByteArray &left, const QByteArray &right, apr_pool_t *pool)
{
    svn_diff_t *diff = nullptr;
    const svn_string_t l { left.constData(), apr_size_t(left.size()) };
    const svn_string_t r { right.constData(), apr_size_t(right.size()) };
    svn_diff_file_options_t *options = svn_diff_file_options_create(pool);
    if (svn_error_t *err = svn_diff_mem_string_diff(&diff, &l, &r, options, pool)) {
        svn_error_clear(err);
        return { { 0, int(left.count('\n')) + 1, 0, int(right.count('\n')) + 1 } };
    }
    QList<Range> ranges;
    svn_diff_output_fns_t fns {};
    fns.output_diff_modified = [](void *baton, apr_off_t ls, apr_off_t lc, apr_off_t rs, apr_off_t rc, apr_off_t,
                                   apr_off_t) -> svn_error_t * {
        static_cast<QList<Range> *>(baton)->append({ int(ls), int(lc), int(rs), int(rc) });
        return SVN_NO_ERROR;
    };
    svn_error_clear(svn_diff_output2(diff, &ranges, &fns, nullptr, nullptr));
    return ranges;
}

// A text cut into lines: their texts and where each starts.
struct Lines {
    QStringList text;
    int firstLine = 0; // of the whole text
    int firstColumn = 0; // of the first line in the whole text
};

// The compared part of a text: without white space at its ends.
Lines CoreLines(const QString &whole, QByteArray &core)
{
    Lines out;
    const QString trimmed = TrimTrailingWhite(TrimLeadingWhite(whole));
    const qsizetype lead = trimmed.isEmpty() ? 0 : whole.size() - TrimLeadingWhite(whole).size();
    for (qsizetype i = 0; i < lead; ++i) {
        const QChar c = whole.at(i);
        if (c == QLatin1Char('\n')
            || (c == QLatin1Char('\r') && (i + 1 >= lead || whole.at(i + 1) != QLatin1Char('\n')))) {
            ++out.firstLine;
            out.firstColumn = 0;
        } else if (c != QLatin1Char('\r')) {
            ++out.firstColumn;
        }
    }
    core = trimmed.toUtf8();
    qsizetype start = 0;
    for (qsizetype i = 0; i < trimmed.size(); ++i) {
        const QChar c = trimmed.at(i);
        if (c != QLatin1Char('\n') && c != QLatin1Char('\r'))
            continue;
        out.text.append(trimmed.mid(start, i - start));
        if (c == QLatin1Char('\r') && i + 1 < trimmed.size() && trimmed.at(i + 1) == QLatin1Char('\n'))
            ++i;
        start = i + 1;
    }
    if (!trimmed.isEmpty())
        out.text.append(trimmed.mid(start));
    return out;
}

// A line as one token per UTF-16 unit, so that the line diff compares characters.
QByteArray CharacterTokens(const QString &line)
{
    QByteArray out;
    out.reserve(line.size() * 5);
    for (const QChar c : line)
        out.append(QByteArray::number(c.unicode(), 16)).append('\n');
    return out;
}

// How alike two lines are, from their common start and end (indentation left
// out), 0 to 1: cheap enough for every pair of lines of a changed block.
double Likeness(const QString &a, const QString &b)
{
    const QStringView x = QStringView(a).trimmed();
    const QStringView y = QStringView(b).trimmed();
    const qsizetype longest = std::max(x.size(), y.size());
    if (longest == 0)
        return 1;
    const qsizetype shortest = std::min(x.size(), y.size());
    qsizetype prefix = 0;
    while (prefix < shortest && x.at(prefix) == y.at(prefix))
        ++prefix;
    qsizetype suffix = 0;
    while (suffix < shortest - prefix && x.at(x.size() - 1 - suffix) == y.at(y.size() - 1 - suffix))
        ++suffix;
    return double(prefix + suffix) / double(longest);
}

// Which lines of a changed block are the same line edited: in order, each left
// line takes the next right line alike enough, so that an inserted line is not
// compared character by character with the line it happens to stand beside.
// Large blocks pair by position, as a pairwise look would cost too much.
QList<std::pair<int, int>> PairChangedLines(const QStringList &left, const QStringList &right)
{
    QList<std::pair<int, int>> pairs;
    if (qsizetype(left.size()) * right.size() > 10000) {
        for (int k = 0; k < std::min(left.size(), right.size()); ++k)
            pairs.append({ k, k });
        return pairs;
    }
    int next = 0;
    for (int i = 0; i < left.size() && next < right.size(); ++i) {
        for (int j = next; j < right.size(); ++j) {
            if (Likeness(left.at(i), right.at(j)) >= 0.4) {
                pairs.append({ i, j });
                next = j + 1;
                break;
            }
        }
    }
    return pairs;
}

} // namespace

int TextDiff::MapLine(int line, bool fromLeft) const
{
    int from = fromLeft ? leftFirstLine : rightFirstLine;
    int to = fromLeft ? rightFirstLine : leftFirstLine;
    for (const TextDiffHunk &h : hunks) {
        const int start = fromLeft ? h.leftStart : h.rightStart;
        const int count = fromLeft ? h.leftCount : h.rightCount;
        const int otherStart = fromLeft ? h.rightStart : h.leftStart;
        const int otherCount = fromLeft ? h.rightCount : h.leftCount;
        if (line < start)
            break;
        if (line < start + count)
            return otherStart + std::min(line - start, std::max(otherCount - 1, 0));
        from = start + count;
        to = otherStart + otherCount;
    }
    return std::max(0, to + (line - from));
}

TextDiff CompareTexts(const QString &left, const QString &right)
{
    TextDiff result;
    QByteArray leftCore, rightCore;
    const Lines l = CoreLines(left, leftCore);
    const Lines r = CoreLines(right, rightCore);
    result.leftFirstLine = l.firstLine;
    result.rightFirstLine = r.firstLine;
    if (leftCore == rightCore)
        return result;

    Pool pool;
    auto addSpan = [](QList<TextDiffSpan> &spans, const Lines &lines, int line, int column, int length) {
        spans.append({ line + lines.firstLine, column + (line == 0 ? lines.firstColumn : 0), length });
    };
    for (const Range &range : DiffLines(leftCore, rightCore, pool.get())) {
        result.hunks.append(
            { range.leftStart + l.firstLine, range.leftCount, range.rightStart + r.firstLine, range.rightCount });
        // Lines changed in place: mark the characters that differ.
        const QStringList leftBlock = l.text.mid(range.leftStart, range.leftCount);
        const QStringList rightBlock = r.text.mid(range.rightStart, range.rightCount);
        for (const auto &[i, j] : PairChangedLines(leftBlock, rightBlock)) {
            const int leftLine = range.leftStart + i;
            const int rightLine = range.rightStart + j;
            const QString &a = leftBlock.at(i);
            const QString &b = rightBlock.at(j);
            for (const Range &c : DiffLines(CharacterTokens(a), CharacterTokens(b), pool.get())) {
                if (c.leftCount > 0)
                    addSpan(result.leftSpans, l, leftLine, c.leftStart, c.leftCount);
                if (c.rightCount > 0)
                    addSpan(result.rightSpans, r, rightLine, c.rightStart, c.rightCount);
            }
        }
    }
    return result;
}
