#include "frmServerTextChanged.h"

#include "frmCompareText.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

frmServerTextChanged::frmServerTextChanged(KORVOSettings &settings, UiServices &ui, QWidget *parent,
    const QString &title, const QString &text, const QString &serverText, const QString &myText, bool postgreSQL)
    : QDialog(parent)
{
    setObjectName(QStringLiteral("frmServerTextChanged"));
    setWindowTitle(title);
    auto *lblText = new QLabel(text, this);
    lblText->setObjectName(QStringLiteral("lblText"));
    lblText->setWordWrap(true);

    // The comparison window, embedded: its own Close button would only hide it.
    auto *compare = new frmCompareText(settings, ui, this);
    compare->setWindowFlags(Qt::Widget);
    if (auto *close = compare->findChild<QPushButton *>(QStringLiteral("cmdClose")))
        close->hide();
    compare->Compare(serverText, myText, tr("On the server now"), tr("Your text"), postgreSQL);

    auto *buttons = new QDialogButtonBox(this);
    auto add = [&](const QString &caption, const char *name, UiServices::ServerTextChoice choice,
                   QDialogButtonBox::ButtonRole role) {
        QPushButton *b = buttons->addButton(caption, role);
        b->setObjectName(QLatin1String(name));
        connect(b, &QPushButton::clicked, this, [this, choice] {
            mChoice = choice;
            choice == UiServices::ServerTextChoice::Cancel ? reject() : accept();
        });
        return b;
    };
    add(tr("&Keep Mine"), "cmdKeepMine", UiServices::ServerTextChoice::KeepMine, QDialogButtonBox::AcceptRole);
    add(tr("&Take Theirs"), "cmdTakeTheirs", UiServices::ServerTextChoice::TakeTheirs, QDialogButtonBox::ActionRole);
    add(tr("Cancel"), "cmdCancel", UiServices::ServerTextChoice::Cancel, QDialogButtonBox::RejectRole)
        ->setDefault(true);

    auto *layout = new QVBoxLayout(this);
    layout->addWidget(lblText);
    layout->addWidget(compare, 1);
    layout->addWidget(buttons);
    resize(900, 600);
}

UiServices::ServerTextChoice frmServerTextChanged::Ask(KORVOSettings &settings, UiServices &ui, QWidget *parent,
    const QString &title, const QString &text, const QString &serverText, const QString &myText, bool postgreSQL)
{
    frmServerTextChanged dialog(settings, ui, parent, title, text, serverText, myText, postgreSQL);
    dialog.exec();
    return dialog.Choice();
}
