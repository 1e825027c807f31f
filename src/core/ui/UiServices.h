#pragma once

#include <QString>
#include <QStringList>

// The only road from the model to the user. Model and connector classes show
// boxes, pickers and prompts through this interface, never through widgets, so
// that each text can be checked in tests with a scripted double.
class UiServices
{
public:
    enum class Icon { None, Information, Question, Warning, Critical };
    enum class Buttons { Ok, OkCancel, YesNo, YesNoCancel, RetryCancel, AbortRetryIgnore };
    enum class Answer { Ok, Cancel, Yes, No, Retry, Abort, Ignore };

    virtual ~UiServices() = default;

    // A message box; returns the button pressed (closing the box counts as
    // Cancel, or No where there is no Cancel).
    virtual Answer messageBox(Icon icon, const QString &title, const QString &text,
                              Buttons buttons = Buttons::Ok) = 0;

    // File pickers; an empty result means the user cancelled.
    virtual QString openFileName(const QString &title, const QString &folder, const QString &filter) = 0;
    virtual QString saveFileName(const QString &title, const QString &folder, const QString &filter) = 0;
    virtual QString folderName(const QString &title, const QString &folder) = 0;
    // A multi-select open picker. One element is a single full path; with more,
    // the first is the folder and the rest are names in it. Empty: cancelled.
    // Without an override the single picker answers, its text split at NUL
    // characters (so a scripted answer can hold several names).
    virtual QStringList openFileNames(const QString &title, const QString &folder, const QString &filter)
    {
        const QString answer = openFileName(title, folder, filter);
        return answer.isEmpty() ? QStringList() : answer.split(QChar(0));
    }

    // The SQL password prompt: server and database shown read only; the user name
    // may change. True when confirmed; on false both arguments stay as they were.
    virtual bool sqlPassword(const QString &server, const QString &database, QString &userName,
                             QString &password) = 0;
    // The source-control password prompt, the same with the ini file shown.
    virtual bool vssPassword(const QString &iniFile, QString &userName, QString &password) = 0;

    // An object's text on the server changed since its check-out began: the
    // user sees the server's text beside the own and chooses. Without an
    // override a three-button box asks.
    enum class ServerTextChoice { KeepMine, TakeTheirs, Cancel };
    virtual ServerTextChoice serverTextChanged(const QString &title, const QString &text, const QString &serverText,
                                               const QString &myText)
    {
        Q_UNUSED(serverText);
        Q_UNUSED(myText);
        switch (messageBox(Icon::Warning, title,
                           text + QStringLiteral("\n\nYes: check in your text over the server's.\nNo: take the server's "
                                                 "text into the editor.\nCancel: change nothing."),
                           Buttons::YesNoCancel)) {
        case Answer::Yes:
            return ServerTextChoice::KeepMine;
        case Answer::No:
            return ServerTextChoice::TakeTheirs;
        default:
            return ServerTextChoice::Cancel;
        }
    }

    // Wait cursor; calls nest.
    virtual void beginWait() = 0;
    virtual void endWait() = 0;

    // Shorthands for the common boxes.
    void inform(const QString &title, const QString &text) { messageBox(Icon::Information, title, text); }
    void warn(const QString &title, const QString &text) { messageBox(Icon::Warning, title, text); }
    void critical(const QString &title, const QString &text) { messageBox(Icon::Critical, title, text); }
    bool askYesNo(const QString &title, const QString &text, Icon icon = Icon::Question)
    {
        return messageBox(icon, title, text, Buttons::YesNo) == Answer::Yes;
    }
};

// Shows the wait cursor for the lifetime of the guard.
class WaitCursor
{
public:
    explicit WaitCursor(UiServices &ui) : mUi(ui) { mUi.beginWait(); }
    ~WaitCursor() { mUi.endWait(); }
    WaitCursor(const WaitCursor &) = delete;
    WaitCursor &operator=(const WaitCursor &) = delete;

private:
    UiServices &mUi;
};
