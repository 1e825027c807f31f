#pragma once

#include <QString>
#include <QUrl>

#include <functional>

class QObject;
class UiServices;

// Opens KORVO's manual at a numbered topic. The manual is a folder of HTML
// pages ("help" beside the program) shown in the system's browser; every window
// calls ShowHelp on F1 with its topic number.
class HelpIntegration
{
public:
    // Shows a URL; true when a viewer was started.
    using Opener = std::function<bool(const QUrl &)>;

    // helpFolder empty: "help" in the program's folder. opener empty: the
    // desktop's default browser.
    explicit HelpIntegration(UiServices &ui, const QString &helpFolder = {}, Opener opener = {});

    // 0 opens the manual's start page, 1 to 67 the topic's page and anchor; any
    // other number opens the start page too (its page name is empty).
    void ShowHelp(const QObject *ownerWindow, int topic);

    // "Page.htm" or "Page.htm#Anchor"; empty for numbers outside 1..67.
    static QString TopicPage(int topic);
    static constexpr int TopicCount = 67;

    QString HelpFolder() const { return mHelpFolder; }
    // Whether a help page has been opened by this object.
    bool HelpWindowOpened() const { return mHelpWindowOpened; }

private:
    // Kind 1 is the help file, the manual's start page; other kinds have none.
    QString GetHelpFile(int kind) const;
    bool CheckHelpFile() const;
    void Open(const QString &page);

    UiServices &mUi;
    QString mHelpFolder;
    Opener mOpener;
    bool mHelpWindowOpened = false;
};
