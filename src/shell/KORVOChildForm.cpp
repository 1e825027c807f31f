#include "KORVOChildForm.h"

#include "KORVODatabase.h"

#include <QCloseEvent>
#include <QLabel>

KORVOChildForm::KORVOChildForm(KORVOMainWindowServices &main, KORVODatabase &database, QWidget *parent)
    : QWidget(parent)
    , mMain(main)
    , mDatabase(database)
{
    MarkAsChild(*this);
    setAttribute(Qt::WA_DeleteOnClose);
}

UiServices &KORVOChildForm::Ui() const
{
    return mDatabase.Ui();
}

QString KORVOChildForm::PanelText(const QString &panel) const
{
    const auto *label = findChild<QLabel *>(panel);
    return label ? label->text() : QString();
}

bool KORVOChildForm::CloseChild(bool force)
{
    if (!force && !ConfirmClose())
        return false;
    mClosing = true;
    Frame()->close();
    return true;
}

void KORVOChildForm::closeEvent(QCloseEvent *e)
{
    if (!mClosing && !ConfirmClose()) {
        e->ignore();
        return;
    }
    mClosing = true;
    ClearChildMarker(this);
    QWidget::closeEvent(e);
}

void KORVOChildForm::ApplyChildSize()
{
    QWidget *frame = Frame();
    const int width = mDatabase.ChildWindowWidth();
    const int height = mDatabase.ChildWindowHeight();
    if (!frame->isMaximized() && width > 0 && height > 0)
        frame->resize(int(width * logicalDpiX() / 1440.0), int(height * logicalDpiY() / 1440.0));
    if (frame != this && mDatabase.ChildWindowState() == 2)
        frame->showMaximized();
}

void KORVOChildForm::StoreChildSize()
{
    QWidget *frame = Frame();
    if (mLoading || !mSizeApplied || !isVisible() || frame->isMinimized())
        return;
    mDatabase.SetChildWindowState(frame->isMaximized() ? 2 : 0);
    if (!frame->isMaximized()) {
        mDatabase.SetChildWindowWidth(qRound(frame->width() * 1440.0 / logicalDpiX()));
        mDatabase.SetChildWindowHeight(qRound(frame->height() * 1440.0 / logicalDpiY()));
    }
}

void KORVOChildForm::showEvent(QShowEvent *e)
{
    QWidget::showEvent(e);
    if (std::exchange(mSizeApplied, true))
        return;
    // Now inside the main window's frame, if there is one.
    ApplyChildSize();
    // The frame changes its state after its size.
    if (auto *sub = qobject_cast<QMdiSubWindow *>(parentWidget()))
        connect(sub, &QMdiSubWindow::windowStateChanged, this, &KORVOChildForm::StoreChildSize);
    FirstShown();
    mLoading = false;
}

void KORVOChildForm::resizeEvent(QResizeEvent *e)
{
    QWidget::resizeEvent(e);
    StoreChildSize();
}
