// Synchronisation on both server kinds: the analysis, the results window driven
// by its controls, and applying rows, with both sides checked after each apply.
#include "../editor/ChildWindowTest.h"
#include "KORVOSyncResultsModel.h"
#include "OffscreenDialogs.h"
#include "SvnRepository.h"
#include "VssDatabase.h"
#include "frmSyncProcess.h"
#include "frmSyncResults.h"

#include <QApplication>
#include <QProgressBar>
#include <QTableView>
#include <QTemporaryDir>
#include <QTreeWidget>

namespace
{
const QString Procedure = ObjectTypeInfo(ObjectClass::StoredProcedure).ObjectType;
const QString Function = ObjectTypeInfo(ObjectClass::UserDefinedFunction).ObjectType;

class Steps : public KORVOSyncAnalysis::Observer
{
public:
    void SetStepStatus(int, const QString &, int) override { }
    void CompareStarted(int, long) override { }
    void ObjectCompared(int, long, long) override { }
};
} // namespace

class TestSync : public QObject
{
    Q_OBJECT

    std::unique_ptr<Backend> b;
    QTemporaryDir settings;
    std::unique_ptr<KORVODatabase> session;
    FakeMain windows; // records the comparisons

    bool setUp()
    {
        b = OpenBackend();
        return b && (session = OpenSession(*b, settings.filePath("korvo.conf"), true));
    }
    // Changes the server's text of an object outside KORVO.
    void alter(ObjectClass cls, const QString &name, int variant)
    {
        b->sql->ExecuteSQL(b->sql->Kind().ReplacingText(b->Text(cls, name, variant)));
    }
    // The four procedures of the differences: one equal but for outer white
    // space, one changed on the server, one on the server only, one in source
    // control only (under an id the server never gave).
    void makeDifferences()
    {
        const QString same = b->Create(ObjectClass::StoredProcedure, "p_a_same");
        QVERIFY(b->AddFile(same + ".sp", "\r\n\t " + b->ServerText(same) + " \n"));
        b->Versioned("p_b_changed");
        alter(ObjectClass::StoredProcedure, "p_b_changed", 2);
        b->Create(ObjectClass::StoredProcedure, "p_c_sqlonly");
        QVERIFY(b->AddFile("900000001.sp", b->Text(ObjectClass::StoredProcedure, "p_d_vssonly")));
        b->Create(ObjectClass::StoredProcedure, "p_e_sqlonly");
    }
    // The differences of a whole analysis.
    QList<KORVOSyncDifference> analyse()
    {
        KORVOSyncAnalysis analysis(*session);
        analysis.BuildSteps();
        Steps observer;
        analysis.Run(observer);
        return analysis.Differences();
    }
    QString qualified(const QString &name) const { return Backend::Dbo + '.' + name; }
    QStringList rows(const frmSyncResults &w) const
    {
        QStringList out;
        const KORVOSyncResultsModel &m = w.Model();
        for (int r = 0; r < m.rowCount(); ++r)
            out.append(QStringLiteral("%1|%2|%3").arg(m.Cell(r, 0), m.Tag(r), m.Cell(r, 3)));
        return out;
    }
    // A click on the action image of a row, as the user makes it.
    static void clickImage(frmSyncResults &w, int row, Qt::MouseButton button = Qt::LeftButton)
    {
        QTableView *grd = w.Grid();
        const QRect cell = grd->visualRect(grd->model()->index(row, KORVOSyncResultsModel::ColButton));
        QTest::mouseClick(grd->viewport(), button, {}, cell.center());
    }

private Q_SLOTS:
    void cleanup()
    {
        session.reset();
        b.reset();
    }

    void analysis_data() { AddKindRows(); }
    void analysis()
    {
        if (!setUp())
            QSKIP("no server");
        makeDifferences();
        // A file with a numeric name and no CREATE in it is shown under its file name, without a box.
        QVERIFY(b->AddFile("900000002.sp", "-- nothing to create here"));
        // A file that is not UTF-8 gets its box and counts as differing; the rest goes on.
        const QString latin = b->Create(ObjectClass::StoredProcedure, "p_f_latin");
        SvnRepository(b->repo->Url(), "alice", {})
            .Commit(VssDatabase::ProjectFolder(Backend::Project), "latin-1",
                { { SvnRepository::Change::AddFile, latin + ".sp", QByteArray("SELECT '\xe9'"), {}, -1 } });
        // Overloads are named with their argument types.
        QStringList overloads;
        if (b->IsPostgreSQL()) {
            for (const char *type : { "integer", "text" }) {
                b->sql->ExecuteSQL(
                    QStringLiteral("CREATE FUNCTION dbo.f_ov(p_a %1) RETURNS integer LANGUAGE sql AS $$ SELECT 1 $$")
                        .arg(type));
                overloads << Function + ",1,0,0," + qualified("f_ov(%1)").arg(type) + ",User Defined Function";
            }
        }
        b->ExpectBox();
        QStringList found;
        for (const KORVOSyncDifference &d : analyse())
            found.append(d.Row().mid(1).join(','));
        QCOMPARE(found.join('\n'),
            (QStringList({ Procedure + ",1,1,1," + qualified("p_b_changed") + ",Stored Procedure",
                 Procedure + ",1,0,0," + qualified("p_c_sqlonly") + ",Stored Procedure",
                 Procedure + ",1,0,0," + qualified("p_e_sqlonly") + ",Stored Procedure",
                 Procedure + ",1,1,1," + qualified("p_f_latin") + ",Stored Procedure",
                 Procedure + ",0,1,0," + qualified("p_d_vssonly") + ",Stored Procedure",
                 Procedure + ",0,1,0,900000002,Stored Procedure" })
                + overloads)
                .join('\n'));
        QCOMPARE(b->ui.boxes.size(), 1);
        QCOMPARE(b->ui.last().title, QString("Could not get Item Content"));
    }

    // A connection lost between steps ends the analysis with the server's error
    // (the application's box shows it); what the finished steps found stays.
    void analysisLosesConnection_data() { AddKindRows(); }
    void analysisLosesConnection()
    {
        if (!setUp())
            QSKIP("no server");
        b->Bind(*session->Project()->SQL(), b->tripping);
        makeDifferences();
        b->Create(ObjectClass::View, "v_sqlonly");
        KORVOSyncAnalysis analysis(*session);
        Steps observer;
        const int steps = int(analysis.BuildSteps().size());
        analysis.RunStep(0, observer);
        analysis.RunStep(1, observer);
        const int found = int(analysis.Differences().size());
        QCOMPARE(found, 4);
        b->LoseConnectionAt(".");
        try {
            for (int step = 2; step < steps; ++step)
                analysis.RunStep(step, observer);
            QFAIL("the analysis went on without its server");
        } catch (const SqlError &e) {
            QVERIFY(e.ConnectionLost);
        }
        QVERIFY(b->tripping->Tripped());
        QCOMPARE(int(analysis.Differences().size()), found);
    }

    // Rows set by clicks and applied; failing rows stay with their marks and
    // the kept items stand in reverse.
    void apply_data() { AddKindRows(); }
    void apply()
    {
        if (!setUp())
            QSKIP("no server");
        makeDifferences();
        frmSyncResults w(windows);
        w.Fill(*session, analyse());
        w.show();
        QVERIFY(QTest::qWaitForWindowExposed(&w));
        const QString changed = qualified("p_b_changed"), sqlOnly = qualified("p_c_sqlonly"),
                      other = qualified("p_e_sqlonly"), vssOnly = qualified("p_d_vssonly");

        // Changed: to VSS; on the server only: drop one, add the other to VSS; in VSS only: create.
        clickImage(w, 0), clickImage(w, 0);
        clickImage(w, 1);
        clickImage(w, 2), clickImage(w, 2);
        clickImage(w, 3);
        QCOMPARE(rows(w),
            QStringList({ changed + "|CNG:R|" + changed, sqlOnly + "|DEL:L|", other + "|ADD:R|" + other,
                vssOnly + "|ADD:L|" + vssOnly }));
        // The repository refuses commits: the two rows acting on VSS fail with a box each.
        b->RefuseCommits(true);
        b->ui.setLenient(true);
        const int boxes = int(b->ui.boxes.size());
        Click(w, "cmdApply");
        b->ui.setLenient(false);
        // The created object's file cannot take its new id either: a third box, and the row still counts as done.
        QCOMPARE(int(b->ui.boxes.size()) - boxes, 3);
        QCOMPARE(rows(w), QStringList({ changed + "|CNG:R|" + changed, other + "|ADD:R|" + other }));
        QVERIFY(w.Model().ChangesApplied());
        QVERIFY(w.isVisible());
        const QString otherId = b->Id("p_e_sqlonly"), changedId = b->Id("p_b_changed");
        QCOMPARE(w.Model().SyncItems(),
            (QList<QPair<QString, QString>> { { otherId, Procedure }, { changedId, Procedure } }));
        QVERIFY(!b->Exists("p_c_sqlonly"));
        const QString created = b->Id("p_d_vssonly");
        QVERIFY(!created.isEmpty());
        QVERIFY(b->Files().contains("900000001.sp"));
        QVERIFY(!b->Files().contains(otherId + ".sp"));
        QVERIFY(b->Latest(changedId + ".sp").contains(Backend::Marker(ObjectClass::StoredProcedure, 1)));

        // A double click compares the row's own object, and only from its names and types.
        QTableView *grd = w.Grid();
        windows.calls.clear();
        for (int column : { int(KORVOSyncResultsModel::ColButton), int(KORVOSyncResultsModel::ColVSSType) }) {
            const QPoint at = grd->visualRect(grd->model()->index(0, column)).center();
            QTest::mouseClick(grd->viewport(), Qt::LeftButton, {}, at);
            QTest::mouseDClick(grd->viewport(), Qt::LeftButton, {}, at);
        }
        QCOMPARE(windows.calls, QStringList { "Compare " + changed + " in SQL " + changed + " in VSS" });
        QVERIFY(windows.compared.value(0).contains(Backend::Marker(ObjectClass::StoredProcedure, 2)));
        for (int i = 0; i < 3 && !rows(w).first().startsWith(changed + "|CNG:R|"); ++i)
            clickImage(w, 0); // undoes the double click's own clicks on the image

        // Row 0 looks up the object of the last kept row (p_e_sqlonly, not in VSS to
        // change), row 1 that of p_b_changed (already in VSS to add).
        b->RefuseCommits(false);
        b->ui.setLenient(true);
        Click(w, "cmdApply");
        b->ui.setLenient(false);
        // Neither mirrored call can succeed: both rows stay and both sides are as they were.
        QCOMPARE(w.Model().rowCount(), 2);
        QVERIFY(!b->Files().contains(otherId + ".sp"));
        QVERIFY(b->Latest(changedId + ".sp").contains(Backend::Marker(ObjectClass::StoredProcedure, 1)));
        QVERIFY(b->ServerText(changedId).contains(Backend::Marker(ObjectClass::StoredProcedure, 2)));

        // Closing with rows left asks; No keeps the window.
        b->ui.answer(UiServices::Answer::No);
        Click(w, "cmdClose");
        QVERIFY(w.isVisible());
        QCOMPARE(b->ui.last().title, QString("Close Synchronization Results?"));
        b->ui.answer(UiServices::Answer::Yes);
        Click(w, "cmdClose");
        QVERIFY(!w.isVisible());
    }

    // A fresh window over a fresh analysis applies the rest and closes by itself.
    void applyAll_data() { AddKindRows(); }
    void applyAll()
    {
        if (!setUp())
            QSKIP("no server");
        makeDifferences();
        frmSyncResults w(windows);
        w.Fill(*session, analyse());
        w.show();
        Click(w, "cmdInVSS");
        b->ExpectBox();
        Click(w, "cmdApply");
        b->ExpectLastBox(UiServices::Icon::Information, "In Sync", "Everything is now in Sync.");
        QVERIFY(!w.isVisible());
        const QString changedId = b->Id("p_b_changed");
        QVERIFY(b->Latest(changedId + ".sp").contains(Backend::Marker(ObjectClass::StoredProcedure, 2)));
        QVERIFY(b->Files().contains(b->Id("p_c_sqlonly") + ".sp"));
        QVERIFY(!b->Files().contains("900000001.sp"));
        QVERIFY(!b->Exists("p_d_vssonly"));
        QVERIFY(analyse().isEmpty()); // nothing is left to synchronise
    }

    // A DROP the server refuses escapes the apply; what was done stays done and
    // the window stays usable.
    void dropRefused_data() { AddKindRows(); }
    void dropRefused()
    {
        if (!setUp())
            QSKIP("no server");
        const QString keep = b->Create(ObjectClass::UserDefinedFunction, "f_a_used");
        const QString gone = b->Create(ObjectClass::UserDefinedFunction, "f_b_unused");
        if (b->IsPostgreSQL())
            b->sql->ExecuteSQL("CREATE VIEW dbo.v_user AS SELECT dbo.f_a_used(1) AS a");
        else
            b->FailStatements("IF EXISTS [\\s\\S]*f_a_used[\\s\\S]*", "Cannot drop the function");
        session->GetObjectObjects(session->UserDefinedFunctions()->ObjectType());
        frmSyncResults w(windows);
        w.Fill(*session,
            { { keep, Function, true, false, false, qualified("f_a_used"), "User Defined Function" },
                { gone, Function, true, false, false, qualified("f_b_unused"), "User Defined Function" } });
        w.show();
        Click(w, "cmdInSQL");
        QVERIFY_THROWS_EXCEPTION(SqlError, Click(w, "cmdApply"));
        QVERIFY(!b->Exists("f_b_unused"));
        QVERIFY(b->Exists("f_a_used"));
        QCOMPARE(rows(w), QStringList({ qualified("f_a_used") + "|DEL:L|" }));
        QCOMPARE(w.Model().SyncItems(), (QList<QPair<QString, QString>> { { keep, Function } }));
        QVERIFY(Control<QPushButton>(w, "cmdApply")->isEnabled());
        QVERIFY(Control<QPushButton>(w, "cmdClose")->isEnabled());
        QVERIFY(!Control<QProgressBar>(w, "pbrSync")->isVisible());
        QVERIFY(w.Model().ChangesApplied());
    }

    // The server goes away under the first row applied: one box, and every
    // row above it stays as it was marked.
    void applyLosesConnection_data() { AddKindRows(); }
    void applyLosesConnection()
    {
        if (!setUp())
            QSKIP("no server");
        b->Bind(*session->Project()->SQL(), b->tripping);
        makeDifferences();
        frmSyncResults w(windows);
        w.Fill(*session, analyse());
        w.show();
        Click(w, "cmdInSQL");
        const QStringList marked = rows(w);
        QCOMPARE(marked.size(), 4);
        b->LoseConnectionAt(".");
        b->ExpectBox();
        Click(w, "cmdApply");
        QVERIFY(b->tripping->Tripped());
        QCOMPARE(b->ui.boxes.size(), 1);
        QCOMPARE(b->ui.last().title, QString("Connection Lost"));
        QCOMPARE(rows(w), marked);
        QCOMPARE(w.Model().SyncItems().size(), 4);
    }

    // The whole command: steps, the box when all is in step, the history line.
    // An analysis that fails at a step says so, opens no results, writes no
    // history line and gives the session its listener back.
    void startSync_data() { AddKindRows({ "in sync", "lost" }); }
    void startSync()
    {
        if (!setUp())
            QSKIP("no server");
        QFETCH(QString, row);
        b->Versioned("p_same");
        frmSyncProcess process(windows);
        auto *steps = Control<QTreeWidget>(process, "lvwSteps");
        struct : KORVOSessionListener {
            void RetrieveStatusChange(const QString &, const QString &, long, long, bool &) override { }
            void AddingStatusChange(const QString &, const QString &, long, long, bool &) override { }
            void CompletedCurrentStatus(const QString &, const QString &) override { }
        } mine;
        session->SetListener(&mine);
        b->ExpectBox();
        if (row == "lost") {
            b->Create(ObjectClass::StoredProcedure, "p_sqlonly");
            b->Bind(*session->Project()->SQL(), b->tripping);
            // Views are the third step's refresh: stored procedures were found and compared.
            b->LoseConnectionAt(b->Pick("relkind = 'v' AND", "N'IsView'"));
            QVERIFY(!process.StartSync(*session));
            QVERIFY(b->tripping->Tripped());
            QCOMPARE(b->ui.boxes.size(), 1);
            b->ExpectLastBox(UiServices::Icon::Critical, "Synchronization Failed", "~failed at step ");
            QCOMPARE(steps->topLevelItem(0)->text(2), QString("Completed"));
            QCOMPARE(steps->topLevelItem(steps->topLevelItemCount() - 1)->text(2), QString("Not Started"));
            QVERIFY(!b->Files().contains("SyncHistory"));
            QVERIFY(session->Project()->IsFirstUserToConnect());
            QCOMPARE(session->Listener(), &mine);
            return;
        }
        QVERIFY(!process.StartSync(*session));
        b->ExpectLastBox(UiServices::Icon::Information, "No Synchronization Needed", "Everything is in Sync");
        QCOMPARE(steps->topLevelItemCount(), 8);
        for (int i = 0; i < 8; ++i)
            QCOMPARE(steps->topLevelItem(i)->text(2), QString("Completed"));
        QVERIFY(b->Latest("SyncHistory").startsWith("Synchronization: "));
        QVERIFY(!session->Project()->IsFirstUserToConnect());
        QCOMPARE(session->Listener(), &mine);
    }
};

QTEST_MAIN(TestSync)
#include "test_sync.moc"
