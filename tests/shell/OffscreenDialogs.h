#pragma once

// Driving KORVO's windows offscreen by their control names.
#include "ScriptedUi.h"

#include <QApplication>
#include <QComboBox>
#include <QDialog>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <QTimer>

#include <functional>

// Runs f once the next modal dialog has started; closes it if f left it open,
// so that a failing step cannot hang the test.
inline void WhenModal(std::function<void(QDialog &)> f)
{
    QTimer::singleShot(0, [f] {
        auto *dlg = qobject_cast<QDialog *>(QApplication::activeModalWidget());
        if (!dlg) {
            QTest::qFail("no modal dialog", __FILE__, __LINE__);
            return;
        }
        f(*dlg);
        if (dlg->isVisible())
            dlg->reject();
    });
}

template <class T> T *Control(QWidget &w, const QString &name)
{
    T *c = w.findChild<T *>(name);
    if (!c)
        qFatal("no control %s", qPrintable(name));
    return c;
}

inline void Click(QWidget &w, const QString &name, int times = 1)
{
    for (int i = 0; i < times; ++i)
        Control<QPushButton>(w, name)->click();
}

inline QString Text(QWidget &w, const QString &name)
{
    if (auto *combo = w.findChild<QComboBox *>(name))
        return combo->currentText();
    return Control<QLineEdit>(w, name)->text();
}

inline void SetText(QWidget &w, const QString &name, const QString &text)
{
    if (auto *combo = w.findChild<QComboBox *>(name))
        combo->setEditText(text);
    else
        Control<QLineEdit>(w, name)->setText(text);
}

// The control that has (or will get) the focus in the window.
inline QString FocusName(QWidget &w)
{
    QWidget *f = w.focusWidget();
    while (f && f->objectName().isEmpty() && f->parentWidget() != &w)
        f = f->parentWidget();
    if (f && qobject_cast<QComboBox *>(f->parentWidget()))
        f = f->parentWidget(); // the edit box of a combo
    return f ? f->objectName() : QString();
}

// Every box shown so far as "icon|title|text", to compare in one go.
inline QStringList Boxes(const ScriptedUi &ui)
{
    QStringList out;
    for (const ScriptedUi::Box &b : ui.boxes)
        out << QStringLiteral("%1|%2|%3").arg(QLatin1String(iconName(b.icon)), b.title, b.text);
    return out;
}
