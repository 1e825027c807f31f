#pragma once

#include "TextDiff.h"

#include <QWidget>

class KORVOSettings;
class QLabel;
class QPushButton;
class SQLTextEditor;
class UiServices;

// Two texts side by side, read-only, with the changed lines marked and the
// changed characters inside them highlighted. The two sides scroll together;
// Next and Previous go from difference to difference. Its place on the screen is
// kept in the diff settings.
class frmCompareText : public QWidget
{
    Q_OBJECT
public:
    // Marker numbers of the lines: changed on both sides, only on the left, only on the right.
    enum Marker { Changed = 0, Removed = 1, Added = 2 };

    frmCompareText(KORVOSettings &settings, UiServices &ui, QWidget *parent = nullptr);

    // Shows the texts; the captions say which side is which.
    void Compare(const QString &leftText, const QString &rightText, const QString &leftCaption,
        const QString &rightCaption, bool postgreSQL);

    // Opens a window of its own that deletes itself when closed.
    static frmCompareText *Show(KORVOSettings &settings, UiServices &ui, QWidget *parent, const QString &leftText,
        const QString &rightText, const QString &leftCaption, const QString &rightCaption, bool postgreSQL);

    const TextDiff &Differences() const { return mDiff; }
    // The marked lines of a side, from 0.
    QList<int> MarkedLines(bool left) const;
    // The highlighted pieces of a side's text, in order.
    QStringList HighlightedTexts(bool left) const;
    int CurrentDifference() const { return mCurrent; }
    void NextDifference();
    void PreviousDifference();

protected:
    void closeEvent(QCloseEvent *e) override;
    void keyPressEvent(QKeyEvent *e) override;

private:
    void GoToDifference(int index);
    void Follow(bool fromLeft);
    void ApplySettings();
    SQLTextEditor *Editor(bool left) const;

    KORVOSettings &mSettings;
    SQLTextEditor *txtLeft;
    SQLTextEditor *txtRight;
    QLabel *lblLeft;
    QLabel *lblRight;
    QLabel *lblDifferences;
    QPushButton *cmdPrevious;
    QPushButton *cmdNext;
    TextDiff mDiff;
    int mCurrent = -1;
    bool mFollowing = false;
};
