#pragma once

#include <QObject>

class HelpIntegration;
class QWidget;

// F1 for the windows that name their help topic instead of handling the key
// themselves: installed on the application, it opens the topic of the nearest
// widget, from the one with the focus outwards, that has one.
class HelpKeys : public QObject
{
    Q_OBJECT
public:
    explicit HelpKeys(HelpIntegration &help, QObject *parent = nullptr);

    static void SetTopic(QWidget *window, int topic);
    // The topic F1 opens from the widget; 0 when none is named.
    static int TopicOf(const QWidget *widget);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    HelpIntegration &mHelp;
};
