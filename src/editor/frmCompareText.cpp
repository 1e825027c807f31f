#include "frmCompareText.h"
#include "HelpKeys.h"

#include "KORVOSettings.h"
#include "SQLTextEditor.h"

#include <QCloseEvent>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QPushButton>
#include <QScrollBar>

namespace
{

constexpr int kCharIndicator = 8;

void SetUpMarkers(SQLTextEditor &e)
{
    e.setCaretLineVisible(false); // it would hide the marks of the caret's line
    const QColor colours[] = { QColor(0xff, 0xf3, 0xb0), QColor(0xff, 0xd0, 0xd0), QColor(0xc8, 0xf0, 0xc8) };
    for (int m = 0; m < 3; ++m) {
        e.markerDefine(QsciScintilla::Background, m);
        e.setMarkerBackgroundColor(colours[m], m);
    }
    e.indicatorDefine(QsciScintilla::FullBoxIndicator, kCharIndicator);
    e.setIndicatorForegroundColor(QColor(0xff, 0x90, 0x00, 120), kCharIndicator);
    e.setIndicatorDrawUnder(true, kCharIndicator);
}

} // namespace

frmCompareText::frmCompareText(KORVOSettings &settings, UiServices &ui, QWidget *parent)
    : QWidget(parent, Qt::Window)
    , mSettings(settings)
{
    HelpKeys::SetTopic(this, 35);
    setObjectName(QStringLiteral("frmCompareText"));
    auto makeSide = [&](const QString &name, QLabel *&label) {
        label = new QLabel(this);
        label->setObjectName(QStringLiteral("lbl") + name);
        auto *e = new SQLTextEditor(ui, this);
        e->setObjectName(QStringLiteral("txt") + name);
        SetUpMarkers(*e);
        return e;
    };
    txtLeft = makeSide(QStringLiteral("Left"), lblLeft);
    txtRight = makeSide(QStringLiteral("Right"), lblRight);

    lblDifferences = new QLabel(this);
    lblDifferences->setObjectName(QStringLiteral("lblDifferences"));
    cmdPrevious = new QPushButton(tr("&Previous Difference"), this);
    cmdPrevious->setObjectName(QStringLiteral("cmdPrevious"));
    cmdNext = new QPushButton(tr("&Next Difference"), this);
    cmdNext->setObjectName(QStringLiteral("cmdNext"));
    auto *cmdClose = new QPushButton(tr("&Close"), this);
    cmdClose->setObjectName(QStringLiteral("cmdClose"));
    connect(cmdPrevious, &QPushButton::clicked, this, &frmCompareText::PreviousDifference);
    connect(cmdNext, &QPushButton::clicked, this, &frmCompareText::NextDifference);
    connect(cmdClose, &QPushButton::clicked, this, &QWidget::close);

    auto *grid = new QGridLayout(this);
    grid->addWidget(lblLeft, 0, 0);
    grid->addWidget(lblRight, 0, 1);
    grid->addWidget(txtLeft, 1, 0);
    grid->addWidget(txtRight, 1, 1);
    auto *bottom = new QHBoxLayout;
    bottom->addWidget(lblDifferences, 1);
    bottom->addWidget(cmdPrevious);
    bottom->addWidget(cmdNext);
    bottom->addWidget(cmdClose);
    grid->addLayout(bottom, 2, 0, 1, 2);

    for (bool left : { true, false }) {
        SQLTextEditor *e = Editor(left);
        // Escape closes the window, as in a dialog; the editors would take it otherwise.
        connect(e, &SQLTextEditor::bcKeyDown, this, [this](int &key, int shift) {
            if (key == Qt::Key_Escape && shift == 0) {
                key = 0;
                close();
            }
        });
        // Scintilla moves its scroll bar with signals blocked: it reports scrolling as an update.
        connect(e, &QsciScintillaBase::SCN_UPDATEUI, this, [this, left](int updated) {
            if (updated & QsciScintillaBase::SC_UPDATE_V_SCROLL)
                Follow(left);
        });
        connect(e->horizontalScrollBar(), &QScrollBar::valueChanged, this, [this, left](int value) {
            if (std::exchange(mFollowing, true))
                return;
            Editor(!left)->horizontalScrollBar()->setValue(value);
            mFollowing = false;
        });
    }
    ApplySettings();
}

SQLTextEditor *frmCompareText::Editor(bool left) const
{
    return left ? txtLeft : txtRight;
}

void frmCompareText::ApplySettings()
{
    const int left = mSettings.diffLeft();
    const int top = mSettings.diffTop();
    setGeometry(left, top, std::max(mSettings.diffRight() - left, 200), std::max(mSettings.diffBottom() - top, 150));
    if (mSettings.diffMaximized())
        setWindowState(windowState() | Qt::WindowMaximized);
}

void frmCompareText::keyPressEvent(QKeyEvent *e)
{
    if (e->key() == Qt::Key_Escape && e->modifiers() == Qt::NoModifier)
        close();
    else
        QWidget::keyPressEvent(e);
}

void frmCompareText::closeEvent(QCloseEvent *e)
{
    const QRect r = isMaximized() || isMinimized() ? normalGeometry() : geometry();
    mSettings.SetDiffRect(QStringLiteral("%1, %2, %3, %4")
                              .arg(r.left())
                              .arg(r.top())
                              .arg(r.left() + r.width())
                              .arg(r.top() + r.height()));
    mSettings.SetDiffMaximized(isMaximized());
    QWidget::closeEvent(e);
}

void frmCompareText::Compare(const QString &leftText, const QString &rightText, const QString &leftCaption,
    const QString &rightCaption, bool postgreSQL)
{
    setWindowTitle(tr("Compare - %1 (left) with %2 (right)").arg(leftCaption, rightCaption));
    lblLeft->setText(tr("Left: %1").arg(leftCaption));
    lblRight->setText(tr("Right: %1").arg(rightCaption));
    mDiff = CompareTexts(leftText, rightText);
    for (bool left : { true, false }) {
        SQLTextEditor *e = Editor(left);
        e->SetServerKind(postgreSQL);
        SetUpMarkers(*e);
        e->SetLocked(false);
        e->SetText(left ? leftText : rightText);
        e->SendScintilla(QsciScintillaBase::SCI_EMPTYUNDOBUFFER);
        e->SendScintilla(QsciScintillaBase::SCI_SETSAVEPOINT);
        e->SetLocked(true);
        e->markerDeleteAll();
        for (const TextDiffHunk &h : mDiff.hunks) {
            const int start = left ? h.leftStart : h.rightStart;
            const int count = left ? h.leftCount : h.rightCount;
            const int other = left ? h.rightCount : h.leftCount;
            const int marker = other == 0 ? (left ? Removed : Added) : Changed;
            for (int line = start; line < start + count; ++line)
                e->markerAdd(line, marker);
        }
        for (const TextDiffSpan &s : left ? mDiff.leftSpans : mDiff.rightSpans)
            e->fillIndicatorRange(s.line, s.column, s.line, s.column + s.length, kCharIndicator);
    }
    const int n = int(mDiff.hunks.size());
    lblDifferences->setText(n == 0 ? tr("No differences.")
            : n == 1               ? tr("1 difference.")
                                   : tr("%1 differences.").arg(n));
    cmdNext->setEnabled(n > 0);
    cmdPrevious->setEnabled(n > 0);
    mCurrent = -1;
    if (n > 0)
        GoToDifference(0);
}

frmCompareText *frmCompareText::Show(KORVOSettings &settings, UiServices &ui, QWidget *parent, const QString &leftText,
    const QString &rightText, const QString &leftCaption, const QString &rightCaption, bool postgreSQL)
{
    auto *w = new frmCompareText(settings, ui, parent);
    w->setAttribute(Qt::WA_DeleteOnClose);
    w->Compare(leftText, rightText, leftCaption, rightCaption, postgreSQL);
    w->show();
    return w;
}

QList<int> frmCompareText::MarkedLines(bool left) const
{
    QList<int> lines;
    SQLTextEditor *e = Editor(left);
    const unsigned mask = (1u << Changed) | (1u << Removed) | (1u << Added);
    for (int line = e->markerFindNext(0, mask); line >= 0; line = e->markerFindNext(line + 1, mask))
        lines.append(line);
    return lines;
}

QStringList frmCompareText::HighlightedTexts(bool left) const
{
    QStringList out;
    SQLTextEditor *e = Editor(left);
    const QByteArray bytes = e->Bytes();
    const long length = e->SendScintilla(QsciScintillaBase::SCI_GETLENGTH);
    for (long pos = 0; pos < length;) {
        const long end = e->SendScintilla(QsciScintillaBase::SCI_INDICATOREND, kCharIndicator, pos);
        if (e->SendScintilla(QsciScintillaBase::SCI_INDICATORVALUEAT, kCharIndicator, pos) != 0)
            out.append(QString::fromUtf8(bytes.mid(pos, end - pos)));
        if (end <= pos)
            break;
        pos = end;
    }
    return out;
}

void frmCompareText::GoToDifference(int index)
{
    if (index < 0 || index >= mDiff.hunks.size())
        return;
    mCurrent = index;
    const TextDiffHunk &h = mDiff.hunks.at(index);
    mFollowing = true;
    txtLeft->setFirstVisibleLine(std::max(h.leftStart - 3, 0));
    txtRight->setFirstVisibleLine(std::max(h.rightStart - 3, 0));
    txtLeft->setCursorPosition(h.leftStart, 0);
    txtRight->setCursorPosition(h.rightStart, 0);
    mFollowing = false;
}

void frmCompareText::NextDifference()
{
    GoToDifference(std::min(mCurrent + 1, int(mDiff.hunks.size()) - 1));
}

void frmCompareText::PreviousDifference()
{
    GoToDifference(std::max(mCurrent - 1, 0));
}

void frmCompareText::Follow(bool fromLeft)
{
    if (std::exchange(mFollowing, true))
        return;
    Editor(!fromLeft)->setFirstVisibleLine(mDiff.MapLine(Editor(fromLeft)->firstVisibleLine(), fromLeft));
    mFollowing = false;
}
