#include "frmAbout.h"

#include <QApplication>
#include <QDesktopServices>
#include <QDialogButtonBox>
#include <QLabel>
#include <QPushButton>
#include <QUrl>
#include <QVBoxLayout>

frmAbout::frmAbout(QWidget *parent) : QDialog(parent)
{
    setObjectName(QStringLiteral("frmAbout"));
    setWindowTitle(QStringLiteral("About KORVO"));
    auto *layout = new QVBoxLayout(this);
    auto *title = new QLabel(QStringLiteral("<h2>KORVO</h2>"), this);
    title->setObjectName(QStringLiteral("lblTitle"));
    layout->addWidget(title);
    auto *text = new QLabel(
        QStringLiteral("A workbench for database developers: the programmable objects of a database under version "
                       "control."),
        this);
    text->setWordWrap(true);
    layout->addWidget(text);
    auto *version = new QLabel(VersionText(), this);
    version->setObjectName(QStringLiteral("lblVersion"));
    layout->addWidget(version);

    auto *web = new QPushButton(WebsiteUrl().toString(), this);
    web->setObjectName(QStringLiteral("cmdWeb"));
    web->setFlat(true);
    connect(web, &QPushButton::clicked, this, [] { QDesktopServices::openUrl(WebsiteUrl()); });
    layout->addWidget(web);
    auto *mail = new QPushButton(MailUrl().path(), this);
    mail->setObjectName(QStringLiteral("cmdMail"));
    mail->setFlat(true);
    connect(mail, &QPushButton::clicked, this, [] { QDesktopServices::openUrl(MailUrl()); });
    layout->addWidget(mail);

    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok, this);
    buttons->button(QDialogButtonBox::Ok)->setObjectName(QStringLiteral("cmdOK"));
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    layout->addWidget(buttons);
}

QString frmAbout::VersionText()
{
    return QStringLiteral("Version: %1.%2").arg(KORVO_VERSION_MAJOR).arg(KORVO_VERSION_MINOR);
}

QUrl frmAbout::WebsiteUrl()
{
    return QUrl(QStringLiteral("https://korvo.example.org/"));
}

QUrl frmAbout::MailUrl()
{
    return QUrl(QStringLiteral("mailto:support@korvo.example.org"));
}
