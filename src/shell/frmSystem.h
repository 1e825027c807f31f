#pragma once

#include "SystemRequirements.h"

#include <QDialog>
#include <QUrl>

#include <functional>

class HelpIntegration;
class QLabel;
class QPushButton;
class QTreeWidget;
class QTreeWidgetItem;
class UiServices;

// Lists the components KORVO needs and did not find, and lets the user close
// KORVO or continue anyway.
class frmSystem : public QDialog
{
    Q_OBJECT
public:
    using UrlOpener = std::function<bool(const QUrl &)>;

    // probe empty: the real component checks; openUrl empty: the default browser.
    frmSystem(UiServices &ui, HelpIntegration &help, SystemRequirements::Probe probe = {}, UrlOpener openUrl = {},
        QWidget *parent = nullptr);

    // Probes every component; true when nothing is missing, else the result of
    // the dialog: true only when the user chose to continue anyway.
    bool SystemRequirementsOK();
    QString FindComponentVersion(
        const QString &className, int firstMajor, int lastMajor, int firstMinor, int lastMinor) const;
    void AddMissingComponent(const QString &name, const QString &minVersion, const QString &location);
    int MissingComponentCount() const { return mRequirements.MissingComponentCount(); }

    static constexpr int HelpTopic = 3;

protected:
    void keyPressEvent(QKeyEvent *event) override;

private:
    void cmdContinue_Click();
    void lvwError_ItemClick(QTreeWidgetItem *item);

    UiServices &mUi;
    HelpIntegration &mHelp;
    UrlOpener mOpenUrl;
    SystemRequirements mRequirements;

    QLabel *lblError;
    QTreeWidget *lvwError;
    QPushButton *cmdContinue;
    QPushButton *cmdClose;
};

// Pixels for a width in twips on the given widget's screen.
int TwipsToPixelsX(const QWidget *widget, int twips);
