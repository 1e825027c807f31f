#include "KORVOStepList.h"

#include <QApplication>
#include <QHeaderView>
#include <QLabel>
#include <QProgressBar>
#include <QStyle>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace
{

constexpr int KeyRole = Qt::UserRole;

// Column widths are kept in twips, 15 to the pixel at 96 dpi.
int Pixels(const QWidget *widget, int twips)
{
    return twips * widget->logicalDpiX() / (15 * 96);
}

} // namespace

KORVOStepList::KORVOStepList(QWidget *parent)
    : QWidget(parent)
    , mSteps(new QTreeWidget(this))
    , mBar(new QProgressBar(this))
    , mStatus(new QLabel(QStringLiteral("Status:"), this))
{
    mSteps->setObjectName(QStringLiteral("lvwSteps"));
    mBar->setObjectName(QStringLiteral("pbrCurrent"));
    mStatus->setObjectName(QStringLiteral("lblStatus"));
    mSteps->setColumnCount(3);
    mSteps->setHeaderLabels({ QString(), QStringLiteral("Step"), QStringLiteral("Status") });
    mSteps->setRootIsDecorated(false);
    mSteps->setUniformRowHeights(true);
    mSteps->setSelectionMode(QAbstractItemView::SingleSelection);
    const int widths[] = { 320, 5505, 1815 };
    for (int i = 0; i < 3; ++i)
        mSteps->setColumnWidth(i, Pixels(this, widths[i]));
    mBar->setTextVisible(true);
    mBar->setAlignment(Qt::AlignCenter);

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(mSteps, 1);
    layout->addWidget(mStatus);
    layout->addWidget(mBar);
    SetProgressMax(0);
    SetProgress(0, QString());
}

void KORVOStepList::ClearSteps()
{
    mPending = false;
    mShown.invalidate();
    mSteps->clear();
    mCurrentStep = 0;
}

void KORVOStepList::AddStep(const QString &key, const QString &text)
{
    auto *row = new QTreeWidgetItem(mSteps);
    row->setData(0, KeyRole, key);
    row->setText(1, QStringLiteral("Step %1 - %2").arg(mSteps->topLevelItemCount()).arg(text));
    row->setText(2, QStringLiteral("Not Started"));
}

QTreeWidgetItem *KORVOStepList::Step(const QString &key) const
{
    for (int i = 0; i < mSteps->topLevelItemCount(); ++i) {
        if (mSteps->topLevelItem(i)->data(0, KeyRole).toString() == key)
            return mSteps->topLevelItem(i);
    }
    return nullptr;
}

QTreeWidgetItem *KORVOStepList::Running() const
{
    return mCurrentStep > 0 ? mSteps->topLevelItem(mCurrentStep - 1) : nullptr;
}

void KORVOStepList::Show(QTreeWidgetItem *row)
{
    mSteps->setCurrentItem(row);
    mSteps->scrollToItem(row);
}

void KORVOStepList::NextStep()
{
    if (QTreeWidgetItem *done = Running()) {
        done->setText(2, QStringLiteral("Completed"));
        done->setIcon(0, style()->standardIcon(QStyle::SP_DialogApplyButton));
        done->setData(0, Qt::UserRole + 1, 2);
    }
    mPending = false;
    mShown.invalidate();
    ++mCurrentStep;
    if (QTreeWidgetItem *row = Running()) {
        row->setText(2, QStringLiteral("Initialising"));
        row->setIcon(0, style()->standardIcon(QStyle::SP_ArrowRight));
        row->setData(0, Qt::UserRole + 1, 1);
        Show(row);
    }
    mBar->setValue(0);
    mBar->setFormat(QString());
    Pump();
}

void KORVOStepList::EndStep(const QString &status)
{
    ShowProgress();
    if (QTreeWidgetItem *row = Running()) {
        row->setText(2, status);
        row->setIcon(0, style()->standardIcon(QStyle::SP_DialogApplyButton));
        row->setData(0, Qt::UserRole + 1, 2);
        Show(row);
    }
}

void KORVOStepList::SetProgressMax(long maximum)
{
    mMaximum = maximum > 0 ? maximum : 1;
    mBar->setMinimum(0);
    mBar->setMaximum(int(mMaximum));
}

void KORVOStepList::SetProgress(long value, const QString &text)
{
    mValue = value;
    mText = text;
    mPending = true;
    if (!mShown.isValid() || value >= mMaximum || mShown.hasExpired(50))
        ShowProgress();
}

void KORVOStepList::ShowProgress()
{
    if (!mPending)
        return;
    mPending = false;
    const long value = mValue;
    const QString &text = mText;
    QString percent = QStringLiteral("0%");
    if (mMaximum >= 1 && value >= 1)
        percent = QString::number(double(value) / double(mMaximum) * 100.0, 'f', 0) + QLatin1Char('%');
    const QString shown = text.isEmpty() ? percent : text + QStringLiteral(": ") + percent;
    // The bar replaces only %p, %v and %m; a "%%" would show as two signs.
    mBar->setFormat(shown);
    if (QTreeWidgetItem *row = Running())
        row->setText(2, QStringLiteral("Progress: ") + percent);
    if (value <= mMaximum)
        mBar->setValue(int(value));
    Pump();
    mShown.start();
}

void KORVOStepList::Pump()
{
    repaint();
    QApplication::processEvents();
}
