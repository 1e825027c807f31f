#pragma once

#include <QDialog>

class QPlainTextEdit;

// Asks for the comment that goes with a check-in.
class frmComment : public QDialog
{
    Q_OBJECT
public:
    explicit frmComment(QWidget *parent = nullptr);

    // Modal; true with the text on OK, false with an empty comment on Cancel.
    bool GetComment(QString &comment);

private:
    QPlainTextEdit *mComment;
};
