#pragma once

#include <QEvent>
#include <QLineEdit>
#include <QObject>
#include <QTimer>
#include <QWidget>

// Entering a text box selects its whole text, so that typing replaces it.
class SelectAllOnFocus : public QObject
{
public:
    // Watches every line edit below `root`, the boxes of editable combos too.
    static void Install(QWidget *root)
    {
        auto *filter = new SelectAllOnFocus(root);
        for (QLineEdit *edit : root->findChildren<QLineEdit *>())
            edit->installEventFilter(filter);
    }

protected:
    using QObject::QObject;

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::FocusIn) {
            // After the focus event, or the click that gave the focus undoes it.
            if (auto *edit = qobject_cast<QLineEdit *>(watched))
                QTimer::singleShot(0, edit, &QLineEdit::selectAll);
        }
        return QObject::eventFilter(watched, event);
    }
};
