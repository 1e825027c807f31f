#pragma once

#include "KORVOSyncAnalysis.h"

#include <QDialog>

class HelpIntegration;
class KORVODatabase;
class KORVOSyncResultsModel;
class KORVOWindows;
class QProgressBar;
class QPushButton;
class QTableView;

// "Synchronization Results ...": one row per difference, SQL on the left, source
// control on the right, and between them the action image the user clicks
// through. Apply runs the marked rows; the window closes when none is left.
class frmSyncResults : public QDialog
{
    Q_OBJECT
public:
    frmSyncResults(KORVOWindows &windows, HelpIntegration *help = nullptr, QWidget *parent = nullptr);
    ~frmSyncResults() override;

    // Runs modally; true when any row was applied.
    bool ShowSyncProblems(KORVODatabase &database, const QList<KORVOSyncDifference> &differences);

    // Fills the grid without showing the window.
    void Fill(KORVODatabase &database, const QList<KORVOSyncDifference> &differences);

    KORVOSyncResultsModel &Model() const { return *mModel; }
    QTableView *Grid() const { return grd; }

    // The action image of a row was clicked (0-based row).
    void ImageReleased(int row, Qt::MouseButton button);
    void ApplyClicked();
    // Opens the comparison of the row's two texts; only rows whose texts differ.
    void CompareRow(int row);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void done(int result) override;

private:
    // Whether the window may close: asks while rows remain.
    bool MayClose();

    KORVOWindows &mWindows;
    HelpIntegration *mHelp;
    KORVODatabase *mDatabase = nullptr;
    KORVOSyncResultsModel *mModel;
    QTableView *grd;
    QPushButton *cmdInSQL, *cmdInVSS, *cmdApply, *cmdClose;
    QProgressBar *pbrSync;
};
