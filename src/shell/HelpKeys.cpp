#include "HelpKeys.h"

#include "HelpIntegration.h"

#include <QKeyEvent>
#include <QWidget>

namespace
{
const char *const TopicProperty = "korvoHelpTopic";
}

HelpKeys::HelpKeys(HelpIntegration &help, QObject *parent)
    : QObject(parent)
    , mHelp(help)
{
}

void HelpKeys::SetTopic(QWidget *window, int topic)
{
    window->setProperty(TopicProperty, topic);
}

int HelpKeys::TopicOf(const QWidget *widget)
{
    // Not beyond the window: a dialog's parent is the window it was opened from.
    for (; widget; widget = widget->isWindow() ? nullptr : widget->parentWidget()) {
        const int topic = widget->property(TopicProperty).toInt();
        if (topic > 0)
            return topic;
    }
    return 0;
}

bool HelpKeys::eventFilter(QObject *watched, QEvent *event)
{
    // Only the key press itself: the filter sees the event once per receiver, and
    // a press that reached a widget first is not handed on to its parents here.
    if (event->type() != QEvent::KeyPress || !watched->isWidgetType())
        return false;
    auto *key = static_cast<QKeyEvent *>(event);
    if (key->key() != Qt::Key_F1 || (key->modifiers() & Qt::ShiftModifier) || key->isAutoRepeat())
        return false;
    auto *widget = static_cast<QWidget *>(watched);
    const int topic = TopicOf(widget);
    if (topic <= 0)
        return false;
    mHelp.ShowHelp(widget->window(), topic);
    return true;
}
