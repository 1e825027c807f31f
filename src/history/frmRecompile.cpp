#include "frmRecompile.h"

#include "KORVODatabase.h"
#include "KORVOVSS.h"
#include "KORVOVersionedObjects.h"
#include "driver/SqlError.h"
#include "sql/KORVOSQL.h"
#include "ui/UiServices.h"

#include <QComboBox>
#include <QCoreApplication>
#include <QGridLayout>
#include <QHash>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>

frmRecompile::frmRecompile(KORVODatabase &database, QWidget *parent)
    : QDialog(parent)
    , mDatabase(database)
{
    setObjectName(QStringLiteral("frmRecompile"));
    setWindowTitle(QStringLiteral("Recompile"));
    Label1 = new QLabel(QStringLiteral("Recompile every object of the type below under a temporary name; objects "
                                       "that report errors are checked out."),
        this);
    Label1->setObjectName(QStringLiteral("Label1"));
    Label1->setWordWrap(true);
    Label2 = new QLabel(QStringLiteral("Objects:"), this);
    Label2->setObjectName(QStringLiteral("Label2"));
    cboObjects = new QComboBox(this);
    cboObjects->setObjectName(QStringLiteral("cboObjects"));
    cmdStart = new QPushButton(QStringLiteral("&Start"), this);
    cmdStart->setObjectName(QStringLiteral("cmdStart"));
    cmdCancel = new QPushButton(QStringLiteral("&Cancel"), this);
    cmdCancel->setObjectName(QStringLiteral("cmdCancel"));
    cmdCancel->setEnabled(false);
    pbr = new QProgressBar(this);
    pbr->setObjectName(QStringLiteral("pbr"));
    pbr->setTextVisible(true);
    pbr->hide();

    auto *grid = new QGridLayout(this);
    grid->addWidget(Label1, 0, 0, 1, 3);
    grid->addWidget(Label2, 1, 0);
    grid->addWidget(cboObjects, 1, 1, 1, 2);
    grid->addWidget(pbr, 2, 0, 1, 3);
    grid->addWidget(cmdStart, 3, 1);
    grid->addWidget(cmdCancel, 3, 2);
    grid->setColumnStretch(0, 1);
    // Wide enough that the explanation reads in two lines, not five.
    setMinimumWidth(fontMetrics().averageCharWidth() * 56);

    connect(cmdStart, &QPushButton::clicked, this, &frmRecompile::Start);
    connect(cmdCancel, &QPushButton::clicked, this, &frmRecompile::Cancel);
}

bool frmRecompile::StartRecompile()
{
    Fill();
    exec();
    return mHadErrors;
}

void frmRecompile::Fill()
{
    cboObjects->clear();
    mTypeKeys.clear();
    cboObjects->addItem(QStringLiteral("-- All objects --"));
    for (const KORVOObjectCollectionPtr &c : mDatabase.Collections()) {
        if (!std::dynamic_pointer_cast<KORVOVersionedObjects>(c))
            continue; // tables have nothing to compile
        cboObjects->addItem(c->ObjectDisplayName());
        mTypeKeys.append(c->ObjectType());
    }
    cboObjects->setCurrentIndex(0);
    pbr->setRange(0, 1);
    pbr->setValue(0);
}

void frmRecompile::Step()
{
    pbr->setValue(qMin(pbr->value() + 1, pbr->maximum()));
    pbr->setFormat(QStringLiteral("%1%").arg(pbr->maximum() ? pbr->value() * 100 / pbr->maximum() : 100));
}

void frmRecompile::Start()
{
    UiServices &ui = mDatabase.Ui();
    {
        WaitCursor wait(ui);
        cmdStart->setEnabled(false);
        cmdCancel->setEnabled(true);
        pbr->show();
        adjustSize();
        mCancel = mHadErrors = false;
        mErrorCount = 0;
        pbr->setFormat(QStringLiteral("Preparing ..."));
        pbr->repaint();

        const QString selected = mTypeKeys.value(cboObjects->currentIndex() - 1);
        QList<std::shared_ptr<KORVOVersionedObjects>> chosen;
        int total = 0;
        const KORVOVSSListingPass listing = mDatabase.ListingPass();
        for (const KORVOObjectCollectionPtr &c : mDatabase.Collections()) {
            if (cboObjects->currentIndex() != 0 && c->ObjectType() != selected)
                continue;
            auto objects
                = std::dynamic_pointer_cast<KORVOVersionedObjects>(mDatabase.GetObjectObjects(c->ObjectType()));
            if (!objects)
                continue;
            chosen.append(objects);
            total += objects->Count();
        }
        pbr->setRange(0, total);
        pbr->setValue(0);

        int step = 0;
        for (const auto &objects : std::as_const(chosen)) {
            // The texts of the whole type in one query where the server offers
            // it; an object it does not give is read on its own.
            QHash<QString, QString> texts;
            if (objects->Count() > 0 && objects->ActiveDBConnection()) {
                try {
                    objects->ActiveDBConnection()->GetObjectTexts(objects->Type().Class, texts);
                } catch (const SqlError &) {
                    texts.clear();
                }
            }
            for (const KORVOTypedObjectPtr &o : *objects) {
                bool fine = false;
                try {
                    const auto text = texts.constFind(o->DBID());
                    fine = text != texts.cend() ? o->RecompileText(*text) : o->Recompile();
                } catch (const SqlError &) {
                    // A text that cannot be read counts as an error of this object only.
                }
                if (!fine) {
                    mHadErrors = true;
                    // "Where possible": a check-out that cannot be had is passed over without a box.
                    if (!o->IsCheckedOut()) {
                        try {
                            o->CheckOut(true);
                        } catch (const SqlError &) {
                        }
                    }
                    ++mErrorCount;
                }
                Step();
                // The queue runs every fifth step, which is what lets cmdCancel through.
                if (++step % 5 == 0)
                    QCoreApplication::processEvents();
                if (mCancel)
                    break;
            }
            QCoreApplication::processEvents();
            if (mCancel)
                break;
        }
        cmdCancel->setEnabled(false);
    }

    const QString title = mCancel ? QStringLiteral("Recompile Aborted") : QStringLiteral("Recompile Complete");
    QString text;
    if (mCancel)
        text = mHadErrors ? QStringLiteral("Recompile cancelled by user! %1 of the processed object(s) reported errors "
                                           "during the recompile and have been checked out (where possible)")
                                .arg(mErrorCount)
                          : QStringLiteral("Recompile cancelled by user! All objects, that were processed, recompile "
                                           "without reporting any errors.");
    else
        text = mHadErrors ? QStringLiteral("Recompile complete. %1 object(s) reported errors during the recompile and "
                                           "have been checked out (where possible)")
                                .arg(mErrorCount)
                          : QStringLiteral("Recompile complete. All objects recompile without reporting any errors.");
    ui.messageBox(mHadErrors || mCancel ? UiServices::Icon::Warning : UiServices::Icon::Information, title, text);
    accept();
}
