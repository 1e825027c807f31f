#include "QtUiServices.h"

#include "frmSQLPassword.h"
#include "frmVSSPassword.h"

#include <QApplication>
#include <QFileDialog>
#include <QFileInfo>
#include <QMessageBox>

namespace {

QMessageBox::StandardButtons standardButtons(UiServices::Buttons b)
{
    switch (b) {
    case UiServices::Buttons::Ok: return QMessageBox::Ok;
    case UiServices::Buttons::OkCancel: return QMessageBox::Ok | QMessageBox::Cancel;
    case UiServices::Buttons::YesNo: return QMessageBox::Yes | QMessageBox::No;
    case UiServices::Buttons::YesNoCancel: return QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel;
    case UiServices::Buttons::RetryCancel: return QMessageBox::Retry | QMessageBox::Cancel;
    case UiServices::Buttons::AbortRetryIgnore: return QMessageBox::Abort | QMessageBox::Retry | QMessageBox::Ignore;
    }
    return QMessageBox::Ok;
}

QMessageBox::Icon boxIcon(UiServices::Icon i)
{
    switch (i) {
    case UiServices::Icon::None: return QMessageBox::NoIcon;
    case UiServices::Icon::Information: return QMessageBox::Information;
    case UiServices::Icon::Question: return QMessageBox::Question;
    case UiServices::Icon::Warning: return QMessageBox::Warning;
    case UiServices::Icon::Critical: return QMessageBox::Critical;
    }
    return QMessageBox::NoIcon;
}

UiServices::Answer toAnswer(int button, UiServices::Buttons buttons)
{
    switch (button) {
    case QMessageBox::Ok: return UiServices::Answer::Ok;
    case QMessageBox::Yes: return UiServices::Answer::Yes;
    case QMessageBox::No: return UiServices::Answer::No;
    case QMessageBox::Retry: return UiServices::Answer::Retry;
    case QMessageBox::Abort: return UiServices::Answer::Abort;
    case QMessageBox::Ignore: return UiServices::Answer::Ignore;
    default: break;
    }
    return buttons == UiServices::Buttons::YesNo ? UiServices::Answer::No : UiServices::Answer::Cancel;
}

// A box or prompt shown while the wait cursor is on gets the normal cursor
// for as long as it is up.
class NormalCursorWhileAsking
{
public:
    NormalCursorWhileAsking() : mActive(QApplication::overrideCursor() != nullptr)
    {
        if (mActive)
            QApplication::setOverrideCursor(Qt::ArrowCursor);
    }
    ~NormalCursorWhileAsking()
    {
        if (mActive)
            QApplication::restoreOverrideCursor();
    }

private:
    bool mActive;
};

} // namespace

UiServices::Answer QtUiServices::messageBox(Icon icon, const QString &title, const QString &text, Buttons buttons)
{
    NormalCursorWhileAsking normal;
    QMessageBox box(boxIcon(icon), title, text, standardButtons(buttons), Owner());
    if (buttons == Buttons::YesNo)
        box.setEscapeButton(QMessageBox::No);
    return toAnswer(box.exec(), buttons);
}

UiServices::ServerTextChoice QtUiServices::serverTextChanged(
    const QString &title, const QString &text, const QString &serverText, const QString &myText)
{
    if (!mServerTextChooser)
        return UiServices::serverTextChanged(title, text, serverText, myText);
    NormalCursorWhileAsking normal;
    return mServerTextChooser(title, text, serverText, myText);
}

QString QtUiServices::openFileName(const QString &title, const QString &folder, const QString &filter)
{
    NormalCursorWhileAsking normal;
    return QFileDialog::getOpenFileName(Owner(), title, folder, filter);
}

QStringList QtUiServices::openFileNames(const QString &title, const QString &folder, const QString &filter)
{
    NormalCursorWhileAsking normal;
    const QStringList paths = QFileDialog::getOpenFileNames(Owner(), title, folder, filter);
    if (paths.size() < 2)
        return paths;
    // The folder first, then the names, as the picker of old answered.
    QStringList answer { QFileInfo(paths.first()).absolutePath() };
    for (const QString &path : paths)
        answer << QFileInfo(path).fileName();
    return answer;
}

QString QtUiServices::saveFileName(const QString &title, const QString &folder, const QString &filter)
{
    NormalCursorWhileAsking normal;
    return QFileDialog::getSaveFileName(Owner(), title, folder, filter);
}

QString QtUiServices::folderName(const QString &title, const QString &folder)
{
    NormalCursorWhileAsking normal;
    return QFileDialog::getExistingDirectory(Owner(), title, folder);
}

bool QtUiServices::sqlPassword(const QString &server, const QString &database, QString &userName, QString &password)
{
    NormalCursorWhileAsking normal;
    frmSQLPassword dlg(*this, Owner());
    return dlg.GetUserNameAndPassword(server, database, userName, password);
}

bool QtUiServices::vssPassword(const QString &iniFile, QString &userName, QString &password)
{
    NormalCursorWhileAsking normal;
    frmVSSPassword dlg(*this, Owner());
    return dlg.GetUserNameAndPassword(iniFile, userName, password);
}

QWidget *QtUiServices::Owner() const
{
    return mParent ? mParent : QApplication::activeWindow();
}

void QtUiServices::beginWait()
{
    QApplication::setOverrideCursor(Qt::WaitCursor);
}

void QtUiServices::endWait()
{
    QApplication::restoreOverrideCursor();
}
