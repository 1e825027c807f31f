#pragma once

#include "KORVOQsci.h"

#include <QByteArray>
#include <QList>
#include <QSet>

// SQL colouring that knows the server kind. Scintilla's own SQL lexer takes a
// PostgreSQL dollar-quoted body for a string that never ends as soon as the body
// holds an odd apostrophe, so the lexing is done here, in the container, with
// QsciLexerSQL's styles and colours. Inside a $tag$ body the text is lexed as
// code, and nothing opened inside it (string, comment) outlives the closing tag.
class KORVOSQLLexer : public QsciLexerSQL
{
    Q_OBJECT
public:
    explicit KORVOSQLLexer(bool postgreSQL, QObject *parent = nullptr);

    const char *lexer() const override { return nullptr; }
    int lexerId() const override;
    const char *keywords(int set) const override;
    void setEditor(QsciScintilla *editor) override;

    // Styles [start, end) of the attached editor's document.
    void StyleRange(int start, int end);

private:
    void StyleNeeded(int position);

    bool mPostgreSQL;
    QByteArray mKeywordList;
    QSet<QByteArray> mKeywords;
    // Dollar tags met so far; a line's state refers to one by its index + 1.
    QList<QByteArray> mTags;
};
