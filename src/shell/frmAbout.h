#pragma once

#include <QDialog>

// The About box: the program's version and the product's web page and mail.
class frmAbout : public QDialog
{
    Q_OBJECT
public:
    explicit frmAbout(QWidget *parent = nullptr);

    static QString VersionText();
    static QUrl WebsiteUrl();
    static QUrl MailUrl();
};
