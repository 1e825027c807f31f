// The start and module dialogs, driven offscreen by their controls' names.
#include "DocGenTestSource.h"
#include "KORVOStepList.h"
#include "OffscreenDialogs.h"
#include "UserDataFolder.h"
#include "frmDocumentGenerationStart.h"
#include "frmModuleMaint.h"

#include <QCheckBox>
#include <QFile>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QRadioButton>
#include <QTemporaryDir>
#include <QTreeWidget>

class TestDocGenDialogs : public QObject
{
    Q_OBJECT

    QTemporaryDir mDir;

    QString Touch(const QString &name)
    {
        WriteTextFile(mDir.filePath(name), QStringLiteral(" usp_a "));
        return mDir.filePath(name);
    }

    // A settings file with one module whose second file is missing.
    QString Settings(const QString &documentType = QStringLiteral("WORD"))
    {
        DocGenProject p;
        p.DocumentType = documentType;
        p.GenerateName = mDir.filePath(QStringLiteral("doc.docx"));
        p.GenerateNameAlt = mDir.filePath(QStringLiteral("doc.html"));
        p.CurrentModule = QStringLiteral("SHOP");
        p.OptionSelected = 1;
        auto m = p.Modules().Add();
        m->Name = QStringLiteral("Shop");
        m->Files().Add(Touch(QStringLiteral("a.cs")));
        m->Files().Add(mDir.filePath(QStringLiteral("gone.cs")));
        const QString path = mDir.filePath(QStringLiteral("user/p_documents.xml"));
        QDir().mkpath(mDir.filePath(QStringLiteral("user")));
        p.SaveDocumentSettings(path);
        return path;
    }

private Q_SLOTS:
    void startLoadsAndSaves()
    {
        TestSource source;
        ScriptedUi ui;
        const QString path = Settings();
        {
            frmDocumentGenerationStart dlg(source, ui, nullptr, path);
            QCOMPARE(Text(dlg, "cboModules"), QStringLiteral("Shop")); // found ignoring case
            QVERIFY(Control<QRadioButton>(dlg, "optModule")->isChecked());
            QCOMPARE(Text(dlg, "cboType"), QStringLiteral("Microsoft Word"));
            QCOMPARE(Text(dlg, "txtDocumentName"), mDir.filePath("doc.docx"));
            QVERIFY(Control<QLineEdit>(dlg, "txtTemplate")->isEnabled());
            QVERIFY(!Control<QCheckBox>(dlg, "chkOwnerInOwnColumn")->isEnabled());
            Control<QCheckBox>(dlg, "chkOwnerNames")->setChecked(true);
            QVERIFY(Control<QCheckBox>(dlg, "chkOwnerInOwnColumn")->isEnabled());
            // Each type keeps its own file name.
            Control<QComboBox>(dlg, "cboType")->setCurrentIndex(0);
            QCOMPARE(Text(dlg, "txtDocumentName"), mDir.filePath("doc.html"));
            QVERIFY(!Control<QLineEdit>(dlg, "txtTemplate")->isEnabled());
            SetText(dlg, "txtDocumentName", mDir.filePath("new.html"));
            Click(dlg, "cmdClose");
        }
        DocGenProject saved;
        saved.LoadDocumentSettings(path);
        QCOMPARE(saved.DocumentType, QStringLiteral("HTML"));
        QCOMPARE(saved.GenerateName, mDir.filePath("new.html"));
        QCOMPARE(saved.GenerateNameAlt, mDir.filePath("doc.docx"));
        QVERIFY(saved.IncludeOwnerNames);
        QCOMPARE(saved.Modules().Count(), 1);
    }

    void generateChecks_data()
    {
        QTest::addColumn<QString>("setup");
        QTest::addColumn<QString>("box");
        QTest::addColumn<QString>("focus");
        QTest::newRow("no module") << "nomodule"
                                   << "No Module has been selected!"
                                   << "cboModules";
        QTest::newRow("no file name") << "noname"
                                      << "No File Name has been specified!"
                                      << "cmdBrowse";
        QTest::newRow("file exists, No")
            << "exists"
            << "The specified File Name already exists. Would you like to Overwrite the file?"
            << "cmdBrowseTemplate";
        QTest::newRow("template missing") << "template"
                                          << "The Word Template file specified does not exist!"
                                          << "cmdBrowseTemplate";
        // The template's controls are disabled for HTML, and keep no focus.
        QTest::newRow("template missing, HTML") << "templatehtml"
                                                << "The Word Template file specified does not exist!"
                                                << "-";
        QTest::newRow("module file missing, No") << "missing"
                                                 << "WARNING: Some of the files assigned to this module no longer "
                                                    "exist! Are you sure you would like to continue?"
                                                 << "cmdOpen";
    }
    void generateChecks()
    {
        QFETCH(QString, setup);
        QFETCH(QString, box);
        QFETCH(QString, focus);
        TestSource source;
        ScriptedUi ui;
        frmDocumentGenerationStart dlg(source, ui, nullptr, Settings(setup == "templatehtml" ? "HTML" : "WORD"));
        dlg.show();
        SetText(dlg, "txtDocumentName", mDir.filePath(setup + ".doc"));
        if (setup == "nomodule")
            Control<QComboBox>(dlg, "cboModules")->setCurrentIndex(0);
        if (setup == "noname")
            SetText(dlg, "txtDocumentName", "  ");
        if (setup == "exists") {
            SetText(dlg, "txtDocumentName", Touch("exists.doc"));
            ui.answer(UiServices::Answer::No);
        }
        if (setup == "nomodule" || setup == "noname" || setup.startsWith("template"))
            ui.answer(UiServices::Answer::Ok);
        if (setup.startsWith("template"))
            SetText(dlg, "txtTemplate", mDir.filePath("none.dotx"));
        if (setup == "missing")
            ui.answer(UiServices::Answer::No);
        Click(dlg, "cmdGenerate");
        QCOMPARE(ui.last().text, box);
        if (focus != "-")
            QCOMPARE(FocusName(dlg), focus);
        QCOMPARE(ui.pending(), 0);
        ui.setLenient(true);
    }

    // All objects as HTML: the progress window runs and closes, then the message.
    // An error that is not the generator's own (the server gone while the
    // objects are read) ends the run too: one box, and the window closes.
    void generateAll_data()
    {
        QTest::addColumn<bool>("lost");
        QTest::addColumn<QString>("box");
        QTest::newRow("done") << false << "information|Document Generated|Document has been successfully generated!";
        QTest::newRow("connection lost")
            << true
            << "critical|Document Generation Aborted|An error occured: server closed the connection unexpectedly"
               "\n\nDocument could not be generated!";
    }
    void generateAll()
    {
        QFETCH(bool, lost);
        QFETCH(QString, box);
        TestSource source;
        source.Add(0, "usp_a");
        source.LoseConnection = lost;
        ScriptedUi ui;
        frmDocumentGenerationStart dlg(source, ui, nullptr, Settings(QStringLiteral("HTML")));
        Control<QRadioButton>(dlg, "optComplete")->setChecked(true);
        const QString target = mDir.filePath(lost ? "lost.html" : "all.html");
        SetText(dlg, "txtDocumentName", target);
        ui.answer(UiServices::Answer::Ok);
        // A progress window left running would never return from Click.
        Click(dlg, "cmdGenerate");
        QCOMPARE(Boxes(ui), QStringList { box });
        QCOMPARE(ReadTextFile(target).contains("<td>usp_a</td>"), !lost);
        QVERIFY(QApplication::activeModalWidget() == nullptr || QApplication::activeModalWidget() == &dlg);
        ui.setLenient(true);
    }

    // The shared step list as the progress window drives it: the bar's text and
    // the running step's status.
    void stepProgress_data()
    {
        QTest::addColumn<int>("maximum");
        QTest::addColumn<int>("value");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("bar");
        QTest::addColumn<QString>("status");
        QTest::addColumn<int>("from"); // the calls go from here up to value
        QTest::newRow("half with text") << 4 << 2 << "Scanning"
                                        << "Scanning: 50%"
                                        << "Progress: 50%" << 2;
        QTest::newRow("rounded") << 3 << 2 << ""
                                 << "67%"
                                 << "Progress: 67%" << 2;
        QTest::newRow("no maximum") << 0 << 1 << ""
                                    << "100%"
                                    << "Progress: 100%" << 1;
        // Not every call is painted, but the last one is.
        QTest::newRow("the last of many") << 20000 << 20000 << ""
                                          << "100%"
                                          << "Progress: 100%" << 1;
    }
    void stepProgress()
    {
        QFETCH(int, maximum);
        QFETCH(int, value);
        QFETCH(QString, text);
        KORVOStepList list;
        list.AddStep(QStringLiteral("A"), QStringLiteral("Scan"));
        list.AddStep(QStringLiteral("B"), QStringLiteral("Write"));
        list.NextStep();
        list.NextStep();
        list.SetProgressMax(maximum);
        QFETCH(int, from);
        for (int v = from; v <= value; ++v)
            list.SetProgress(v, text);
        QTEST(list.Bar()->text(), "bar");
        QTEST(list.Steps()->topLevelItem(1)->text(2), "status");
        QCOMPARE(list.Steps()->topLevelItem(0)->text(2), QStringLiteral("Completed"));
    }

    void moduleSaveChecks_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("path");
        QTest::addColumn<bool>("withFile");
        QTest::addColumn<QString>("box");
        QTest::addColumn<QString>("focus");
        QTest::newRow("no name") << " "
                                 << "" << false << "Module Name is missing!"
                                 << "txtName";
        QTest::newRow("no path") << "m"
                                 << "" << false << "Primary module path is missing!"
                                 << "cmdBrowse";
        QTest::newRow("path missing") << "m"
                                      << "/nonexistent/x" << false
                                      << "The specified Primary module path does not exist!"
                                      << "cmdBrowse";
        QTest::newRow("no files") << "m"
                                  << "." << false << "At least one File must be specified!"
                                  << "cmdAdd";
        QTest::newRow("missing file, No")
            << "m"
            << "." << true
            << "Some of the files listed do not exist! Would you like to save the modules details anyway?"
            << "cmdRemove";
    }
    void moduleSaveChecks()
    {
        QFETCH(QString, name);
        QFETCH(QString, path);
        QFETCH(bool, withFile);
        QFETCH(QString, box);
        QFETCH(QString, focus);
        DocGenProject project;
        ScriptedUi ui;
        frmModuleMaint dlg(project, ui, nullptr);
        WhenModal([&](QDialog &d) {
            SetText(d, "txtName", name);
            SetText(d, "txtPath", path == "." ? mDir.path() : path);
            if (withFile) {
                ui.pick(mDir.path() + QChar(0) + "a.cs" + QChar(0) + "gone.cs");
                Click(d, "cmdAdd");
            }
            ui.answer(withFile ? UiServices::Answer::No : UiServices::Answer::Ok);
            Click(d, "cmdSave");
            QCOMPARE(ui.last().text, box);
            QCOMPARE(FocusName(d), focus);
            if (withFile) {
                const auto selected = Control<QTreeWidget>(d, "lvwFiles")->selectedItems();
                QCOMPARE(selected.size(), 1);
                QCOMPARE(selected.first()->text(0), mDir.filePath("gone.cs"));
            }
            ui.answer(UiServices::Answer::Yes); // discard the changes on the way out
        });
        QVERIFY(!dlg.Open(-1));
        QCOMPARE(project.Modules().Count(), 0);
        ui.setLenient(true);
    }

    // One file picked alone or among several gives the same row; other capitals add nothing.
    void addFilesAndSave()
    {
        DocGenProject project;
        ScriptedUi ui;
        const QString a = Touch("a.cs"), b = Touch("b.cs");
        frmModuleMaint dlg(project, ui, nullptr);
        WhenModal([&](QDialog &d) {
            SetText(d, "txtName", "Shop");
            SetText(d, "txtPath", mDir.path());
            Control<QPlainTextEdit>(d, "txtDescription")->setPlainText("two\nlines");
            ui.pick(a);
            Click(d, "cmdAdd");
            ui.pick(mDir.path() + QChar(0) + "A.CS" + QChar(0) + "b.cs");
            Click(d, "cmdAdd");
            QCOMPARE(Control<QTreeWidget>(d, "lvwFiles")->topLevelItemCount(), 2);
            QVERIFY(!Control<QFrame>(d, "fraError")->isVisibleTo(&d));
            Click(d, "cmdSave");
        });
        QVERIFY(dlg.Open(-1));
        QCOMPARE(project.Modules().Count(), 1);
        const auto m = project.Modules().Item(1);
        QCOMPARE(m->Description, QStringLiteral("two\nlines"));
        QCOMPARE(m->Files().Count(), 2);
        QCOMPARE(m->Files().Item(2)->FileName(), b);
    }
};

QTEST_MAIN(TestDocGenDialogs)
#include "test_docgen_dialogs.moc"
