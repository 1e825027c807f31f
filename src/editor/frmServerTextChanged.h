#pragma once

#include "UiServices.h"

#include <QDialog>

class KORVOSettings;

// Asked before a check-in when the object's text on the server changed after
// the check-out began: the server's text beside the user's, and three choices.
class frmServerTextChanged : public QDialog
{
    Q_OBJECT
public:
    frmServerTextChanged(KORVOSettings &settings, UiServices &ui, QWidget *parent, const QString &title,
        const QString &text, const QString &serverText, const QString &myText, bool postgreSQL);

    UiServices::ServerTextChoice Choice() const { return mChoice; }

    // Shows the dialog modal and returns the user's choice; closing it cancels.
    static UiServices::ServerTextChoice Ask(KORVOSettings &settings, UiServices &ui, QWidget *parent,
        const QString &title, const QString &text, const QString &serverText, const QString &myText,
        bool postgreSQL);

private:
    UiServices::ServerTextChoice mChoice = UiServices::ServerTextChoice::Cancel;
};
