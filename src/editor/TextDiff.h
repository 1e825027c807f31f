#pragma once

#include <QList>
#include <QString>

// Where two texts differ, line by line and, inside changed lines, character by
// character, from Subversion's diff. White space at both ends of a text is left
// out of the comparison, as the synchronisation compares texts, so that the two
// never disagree on whether texts differ. Lines count from 0 and are those of the
// whole texts; a line ends at LF, CR LF or CR.
struct TextDiffHunk {
    int leftStart = 0;
    int leftCount = 0;
    int rightStart = 0;
    int rightCount = 0;
};

struct TextDiffSpan {
    int line = 0;
    int column = 0; // in UTF-16 units
    int length = 0;
};

struct TextDiff {
    QList<TextDiffHunk> hunks;
    QList<TextDiffSpan> leftSpans;
    QList<TextDiffSpan> rightSpans;
    // The lines of the two texts where their compared parts begin.
    int leftFirstLine = 0;
    int rightFirstLine = 0;

    // The line of the other side that corresponds to a line of one side.
    int MapLine(int line, bool fromLeft) const;
};

TextDiff CompareTexts(const QString &left, const QString &right);
