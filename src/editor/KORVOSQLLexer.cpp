#include "KORVOSQLLexer.h"

#include "KORVOQsci.h"

#include <cstring>

namespace
{

// Keywords are looked up in lower case.
const char *const kSharedKeywords
    = "add all alter and any as asc authorization begin between both by cascade case cast check close column commit "
      "constraint create cross current current_date current_time current_timestamp current_user cursor declare "
      "default delete desc distinct drop else end escape except exec execute exists fetch for foreign from full "
      "function grant group having if in index inner insert intersect into is join key left like not null of off "
      "on open option or order outer primary procedure public references return returns revoke right rollback "
      "schema select session_user set some table then to transaction trigger union unique update user using values "
      "view when where while with";
const char *const kSQLServerKeywords
    = " backup break browse bulk checkpoint clustered coalesce compute contains containstable continue convert "
      "dbcc deallocate deny disk distributed double dump errlvl exit file fillfactor freetext freetexttable goto "
      "holdlock identity identity_insert identitycol kill lineno load merge national nocheck noncluster "
      "nonclustered nocount nullif offsets opendatasource openquery openrowset openxml over percent pivot plan "
      "precision print proc raiserror read readtext reconfigure replication restore restrict revert rowcount "
      "rowguidcol rule save securityaudit semantickeyphrasetable setuser shutdown statistics system_user tablesample "
      "textsize top tran truncate try_convert tsequal unpivot updatetext use varying waitfor writetext output "
      "int bigint smallint tinyint bit decimal numeric money float real datetime date time char varchar nchar "
      "nvarchar text ntext varbinary binary uniqueidentifier xml try catch throw";
const char *const kPostgreSQLKeywords
    = " analyse analyze array asymmetric call collate concurrently deferrable do elsif exception false foreach "
      "ilike immutable initially language lateral leading limit localtime localtimestamp loop new notnull "
      "offset old only or overlaps perform placing plpgsql raise record replace returning security setof similar "
      "stable strict symmetric trailing true variadic verbose volatile window "
      "integer bigint smallint boolean numeric decimal real double precision text varchar character varying char "
      "date time timestamp timestamptz interval json jsonb uuid bytea serial bigserial void trigger";

enum Mode { Code = 0, BlockComment = 1, SingleQuoted = 2, DoubleQuoted = 3, Bracketed = 4, DollarQuoted = 5 };

// What is open at a line's end, kept in Scintilla's line state.
struct LexState {
    int mode = Code;
    int depth = 0; // nesting of block comments
    int tag = 0; // 1-based index of the open dollar tag, 0 outside a body
    int inner = 0; // the same for a dollar-quoted string inside a body
};

int Pack(const LexState &s)
{
    return s.mode | (std::min(s.depth, 255) << 3) | (std::min(s.tag, 1023) << 11) | (std::min(s.inner, 1023) << 21);
}

LexState Unpack(int v)
{
    return { v & 7, (v >> 3) & 255, (v >> 11) & 1023, (v >> 21) & 1023 };
}

bool IsDigit(char c)
{
    return c >= '0' && c <= '9';
}

bool IsWordChar(char c, bool postgreSQL)
{
    const auto u = static_cast<unsigned char>(c);
    return (u >= 'a' && u <= 'z') || (u >= 'A' && u <= 'Z') || IsDigit(c) || c == '_' || u >= 0x80
        || (!postgreSQL && (c == '@' || c == '#' || c == '$'));
}

} // namespace

KORVOSQLLexer::KORVOSQLLexer(bool postgreSQL, QObject *parent)
    : QsciLexerSQL(parent)
    , mPostgreSQL(postgreSQL)
{
    mKeywordList = QByteArray(kSharedKeywords) + (postgreSQL ? kPostgreSQLKeywords : kSQLServerKeywords);
    for (const QByteArray &word : mKeywordList.split(' '))
        if (!word.isEmpty())
            mKeywords.insert(word);
    setColor(QColor(0x80, 0x00, 0x80), QsciLexerSQL::QuotedIdentifier);
}

int KORVOSQLLexer::lexerId() const
{
    return QsciScintillaBase::SCLEX_CONTAINER;
}

const char *KORVOSQLLexer::keywords(int set) const
{
    return set == 1 ? mKeywordList.constData() : nullptr;
}

void KORVOSQLLexer::setEditor(QsciScintilla *editor)
{
    if (QsciScintilla *old = this->editor())
        disconnect(old, &QsciScintillaBase::SCN_STYLENEEDED, this, nullptr);
    QsciLexerSQL::setEditor(editor);
    if (editor)
        connect(editor, &QsciScintillaBase::SCN_STYLENEEDED, this, &KORVOSQLLexer::StyleNeeded);
}

void KORVOSQLLexer::StyleNeeded(int position)
{
    StyleRange(int(editor()->SendScintilla(QsciScintillaBase::SCI_GETENDSTYLED)), position);
}

void KORVOSQLLexer::StyleRange(int start, int end)
{
    QsciScintilla *ed = editor();
    if (!ed)
        return;
    const long docLength = ed->SendScintilla(QsciScintillaBase::SCI_GETLENGTH);
    end = int(std::min<long>(end, docLength));
    int line = int(ed->SendScintilla(QsciScintillaBase::SCI_LINEFROMPOSITION, start));
    start = int(ed->SendScintilla(QsciScintillaBase::SCI_POSITIONFROMLINE, line));
    if (start >= end)
        return;
    LexState st
        = line > 0 ? Unpack(int(ed->SendScintilla(QsciScintillaBase::SCI_GETLINESTATE, line - 1))) : LexState {};
    if (st.tag > mTags.size() || st.inner > mTags.size())
        st = LexState {};
    const char *doc = static_cast<const char *>(ed->SendScintillaPtrResult(QsciScintillaBase::SCI_GETCHARACTERPOINTER));

    QByteArray styles;
    styles.reserve(end - start);
    long i = start;
    auto put = [&](long n, int style) {
        styles.append(int(n), char(style));
        i += n;
    };
    // The closing tag of the open body (or of the string inside it) stands at p.
    auto closingTag = [&](long p, int which) {
        if (which == 0 || doc[p] != '$')
            return 0;
        const QByteArray &tag = mTags.at(which - 1);
        return p + tag.size() <= docLength && std::memcmp(doc + p, tag.constData(), size_t(tag.size())) == 0
            ? int(tag.size())
            : 0;
    };
    // A dollar tag ($$ or $name$) stands at p.
    auto dollarTag = [&](long p) -> int {
        if (!mPostgreSQL || doc[p] != '$' || (p > 0 && IsWordChar(doc[p - 1], true)))
            return 0;
        long q = p + 1;
        if (q < docLength && IsDigit(doc[q]))
            return 0; // a parameter such as $1
        while (q < docLength && IsWordChar(doc[q], true))
            ++q;
        return q < docLength && doc[q] == '$' ? int(q - p + 1) : 0;
    };
    auto newLine = [&](long p) {
        if (doc[p] == '\n')
            ed->SendScintilla(QsciScintillaBase::SCI_SETLINESTATE, line++, Pack(st));
    };

    while (i < end) {
        const char c = doc[i];
        const char next = i + 1 < docLength ? doc[i + 1] : '\0';
        if (int n = closingTag(i, st.tag)) {
            st = LexState {};
            put(n, QsciLexerSQL::Operator);
            continue;
        }
        if (st.mode == DollarQuoted) {
            const int n = closingTag(i, st.inner);
            if (n)
                st.mode = Code, st.inner = 0;
            else
                newLine(i);
            put(std::max(n, 1), QsciLexerSQL::SingleQuotedString);
            continue;
        }
        if (st.mode != Code) {
            const int style = st.mode == BlockComment ? QsciLexerSQL::Comment
                : st.mode == SingleQuoted             ? QsciLexerSQL::SingleQuotedString
                : st.mode == DoubleQuoted             ? QsciLexerSQL::DoubleQuotedString
                                                      : QsciLexerSQL::QuotedIdentifier;
            if (st.mode == BlockComment && c == '*' && next == '/') {
                if (--st.depth <= 0)
                    st.mode = Code, st.depth = 0;
                put(2, style);
            } else if (st.mode == BlockComment && mPostgreSQL && c == '/' && next == '*') {
                ++st.depth;
                put(2, style);
            } else if ((st.mode == SingleQuoted && c == '\'') || (st.mode == DoubleQuoted && c == '"')
                || (st.mode == Bracketed && c == ']')) {
                if (next == c)
                    put(2, style); // doubled: an escaped quote
                else
                    st.mode = Code, put(1, style);
            } else {
                newLine(i);
                put(1, style);
            }
            continue;
        }
        if (c == '-' && next == '-') {
            long n = 0;
            while (i + n < docLength && doc[i + n] != '\n' && doc[i + n] != '\r' && !closingTag(i + n, st.tag))
                ++n;
            put(n, QsciLexerSQL::CommentLine);
        } else if (c == '/' && next == '*') {
            st.mode = BlockComment, st.depth = 1;
            put(2, QsciLexerSQL::Comment);
        } else if (c == '\'') {
            st.mode = SingleQuoted;
            put(1, QsciLexerSQL::SingleQuotedString);
        } else if (c == '"') {
            st.mode = DoubleQuoted;
            put(1, QsciLexerSQL::DoubleQuotedString);
        } else if (c == '[' && !mPostgreSQL) {
            st.mode = Bracketed;
            put(1, QsciLexerSQL::QuotedIdentifier);
        } else if (int n = dollarTag(i)) {
            // A body at the top; inside a body, a string of another tag.
            const QByteArray tag(doc + i, n);
            qsizetype index = mTags.indexOf(tag);
            if (index < 0) {
                mTags.append(tag);
                index = mTags.size() - 1;
            }
            if (st.tag == 0) {
                st.tag = int(index + 1);
                put(n, QsciLexerSQL::Operator);
            } else {
                st.mode = DollarQuoted, st.inner = int(index + 1);
                put(n, QsciLexerSQL::SingleQuotedString);
            }
        } else if (IsDigit(c)) {
            long n = 1;
            while (i + n < docLength && (IsWordChar(doc[i + n], true) || doc[i + n] == '.'))
                ++n;
            put(n, QsciLexerSQL::Number);
        } else if (IsWordChar(c, mPostgreSQL)) {
            long n = 1;
            while (i + n < docLength && IsWordChar(doc[i + n], mPostgreSQL))
                ++n;
            const bool keyword = n <= 32 && mKeywords.contains(QByteArray(doc + i, int(n)).toLower());
            put(n, keyword ? QsciLexerSQL::Keyword : QsciLexerSQL::Identifier);
        } else if (c == ' ' || c == '\t' || c == '\r' || c == '\n') {
            newLine(i);
            put(1, QsciLexerSQL::Default);
        } else {
            put(1, QsciLexerSQL::Operator);
        }
    }
    ed->SendScintilla(QsciScintillaBase::SCI_STARTSTYLING, (unsigned long)start, 0L);
    ed->SendScintilla(QsciScintillaBase::SCI_SETSTYLINGEX, (unsigned long)styles.size(), styles.constData());
}
