#pragma once

#include "UiServices.h"

#include <functional>

class QWidget;

// UI services on Qt Widgets: message boxes, file dialogs, the two password
// prompts and the override cursor.
class QtUiServices : public UiServices
{
public:
    explicit QtUiServices(QWidget *parent = nullptr) : mParent(parent) {}

    Answer messageBox(Icon icon, const QString &title, const QString &text, Buttons buttons) override;
    QString openFileName(const QString &title, const QString &folder, const QString &filter) override;
    QString saveFileName(const QString &title, const QString &folder, const QString &filter) override;
    QString folderName(const QString &title, const QString &folder) override;
    QStringList openFileNames(const QString &title, const QString &folder, const QString &filter) override;
    bool sqlPassword(const QString &server, const QString &database, QString &userName,
                     QString &password) override;
    bool vssPassword(const QString &iniFile, QString &userName, QString &password) override;
    void beginWait() override;
    void endWait() override;
    ServerTextChoice serverTextChanged(
        const QString &title, const QString &text, const QString &serverText, const QString &myText) override;

    // The window that shows both texts lives in a higher library: the program
    // hands it in. Without it the plain three-button box asks.
    using ServerTextChooser = std::function<ServerTextChoice(
        const QString &title, const QString &text, const QString &serverText, const QString &myText)>;
    void SetServerTextChooser(ServerTextChooser chooser) { mServerTextChooser = std::move(chooser); }

private:
    // The window boxes and dialogs belong to: the given parent, else the active window.
    QWidget *Owner() const;

    QWidget *mParent;
    ServerTextChooser mServerTextChooser;
};
