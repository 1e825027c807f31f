#pragma once

#include <QDialog>
#include <QStringList>

class KORVODatabase;
class QComboBox;
class QLabel;
class QProgressBar;
class QPushButton;

// Tests every object, or those of one type, by compiling its server text under
// a temporary name. Objects that fail are checked out so that they stand out
// in the tree; the server is not changed.
class frmRecompile : public QDialog
{
    Q_OBJECT
public:
    explicit frmRecompile(KORVODatabase &database, QWidget *parent = nullptr);

    // Fills the window and shows it modal; true when some object reported errors.
    bool StartRecompile();
    // Fills the type list; StartRecompile does it before showing.
    void Fill();
    // The run of cmdStart; ends with the closing box and closes the window.
    void Start();
    void Cancel() { mCancel = true; }

    int ErrorCount() const { return mErrorCount; }
    bool HadErrors() const { return mHadErrors; }

private:
    void Step();

    KORVODatabase &mDatabase;
    QStringList mTypeKeys; // beside the entries after the first
    bool mCancel = false;
    bool mHadErrors = false;
    int mErrorCount = 0;

    QComboBox *cboObjects;
    QPushButton *cmdStart;
    QPushButton *cmdCancel;
    QProgressBar *pbr;
    QLabel *Label1;
    QLabel *Label2;
};
