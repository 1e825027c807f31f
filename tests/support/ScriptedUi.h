#pragma once

#include "UiServices.h"

#include <QList>
#include <QQueue>
#include <QString>
#include <QStringList>

// A scripted double of the UI services. Every box is recorded with its icon,
// title and text. Answers come from queues filled by the test; a box, picker or
// prompt that nobody queued an answer for fails the running test.
class ScriptedUi : public UiServices
{
public:
    struct Box {
        Icon icon;
        QString title;
        QString text;
        Buttons buttons;
    };

    ~ScriptedUi() override;

    // Queue the answer to the next message box.
    ScriptedUi &answer(Answer a);
    // Queue a picker's result (empty = cancelled).
    ScriptedUi &pick(const QString &path);
    // Queue a password prompt's outcome.
    ScriptedUi &password(bool confirmed, const QString &userName = {}, const QString &password = {});
    // Let boxes pass unanswered (with Ok/Yes) instead of failing the test.
    void setLenient(bool on) { mLenient = on; }

    QList<Box> boxes;
    struct Prompt {
        QString kind; // "SQL" or "VSS"
        QString server, database, iniFile, userName;
    };
    QList<Prompt> prompts;
    QList<QString> pickerTitles;
    // The server's texts shown beside the user's before a check-in.
    QStringList shownServerTexts;
    int waitDepth = 0;
    int waitCalls = 0;

    // Every box so far as "icon|title|text", to compare in one go.
    QStringList boxTexts() const;
    // The last box, or an empty one when none was shown.
    Box last() const { return boxes.isEmpty() ? Box { Icon::None, {}, {}, Buttons::Ok } : boxes.last(); }
    // Remaining queued answers; a test that queued answers expects them used.
    int pending() const { return int(mAnswers.size() + mPicks.size() + mPasswords.size()); }
    void clear();

    Answer messageBox(Icon icon, const QString &title, const QString &text, Buttons buttons) override;
    QString openFileName(const QString &title, const QString &folder, const QString &filter) override;
    QString saveFileName(const QString &title, const QString &folder, const QString &filter) override;
    QString folderName(const QString &title, const QString &folder) override;
    bool sqlPassword(const QString &server, const QString &database, QString &userName, QString &password) override;
    bool vssPassword(const QString &iniFile, QString &userName, QString &password) override;
    void beginWait() override;
    void endWait() override;
    // Recorded, then asked as the plain three-button box (Yes keeps mine).
    ServerTextChoice serverTextChanged(
        const QString &title, const QString &text, const QString &serverText, const QString &myText) override
    {
        shownServerTexts.append(serverText);
        return UiServices::serverTextChanged(title, text, serverText, myText);
    }

private:
    struct PasswordAnswer {
        bool confirmed;
        QString userName, password;
    };
    QString nextPick(const QString &title);
    bool nextPassword(QString &userName, QString &password, const QString &what);

    QQueue<Answer> mAnswers;
    QQueue<QString> mPicks;
    QQueue<PasswordAnswer> mPasswords;
    bool mLenient = false;
};

const char *iconName(UiServices::Icon icon);
