// The HTML documents of a module scanned from a small body of sources, and of
// all objects, compared with the expected files character by character.
#include "DocGenRun.h"
#include "DocGenTestSource.h"
#include "ScriptedUi.h"
#include "UserDataFolder.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

class TestDocGenHtml : public QObject
{
    Q_OBJECT

    QString mData = QStringLiteral(KORVO_DOCGEN_DATA);
    QTemporaryDir mOut;

    static TestSource Objects()
    {
        TestSource s;
        auto orders = s.Add(0, "usp_GetOrders", "dbo", "Reads <all> orders\r\nof a customer & \"more\"");
        orders->Items = QStringList { "@id=int", "@flag=bit" };
        s.Add(0, "usp_GetOrdersAll");
        s.Add(1, "fn_Total", "sales", "Sum of an order");
        s.Add(1, "fn_Total", "dbo");
        s.Add(2, "vw_Orders");
        s.Add(3, "trg_Audit", "dbo", "Keeps\ra log");
        return s;
    }

    // The run's output with the data folder written as {DATA}.
    QString Generate(DocGenProject &project, DocGenModule *module, ScriptedUi &ui)
    {
        TestSource source = Objects();
        RecordingSteps steps;
        DocGenRun run(source, project, module, steps);
        run.ListSteps();
        const auto outcome = run.Run();
        DocGenRun::TellOutcome(ui, outcome, run.Error());
        if (outcome != DocGenRun::Outcome::Done)
            return {};
        if (steps.Overrun || steps.States.count(QStringLiteral("Completed")) != steps.States.size())
            return QStringLiteral("a step was left unfinished or its progress overran");
        return ReadTextFile(project.GenerateName).replace(mData, QStringLiteral("{DATA}"));
    }

    void Compare(const QString &actual, const QString &expectedFile)
    {
        const QString path = mData + QStringLiteral("/") + expectedFile;
        if (qEnvironmentVariableIsSet("KORVO_WRITE_EXPECTED"))
            WriteTextFile(path, actual);
        const QStringList want = ReadTextFile(path).split(QStringLiteral("\r\n"));
        const QStringList got = actual.split(QStringLiteral("\r\n"));
        for (int i = 0; i < std::min(want.size(), got.size()); ++i)
            QVERIFY2(want[i] == got[i],
                qPrintable(QStringLiteral("line %1:\n got  %2\n want %3").arg(i + 1).arg(got[i], want[i])));
        QCOMPARE(got.size(), want.size());
    }

    DocGenModulePtr Module(DocGenProject &project)
    {
        auto m = project.Modules().Add();
        m->Name = QStringLiteral("Order \"entry\"");
        m->Project = QStringLiteral("Shop");
        m->CreatedBy = QStringLiteral("ann");
        m->Description = QStringLiteral("Line one\r\nline <two>");
        m->Path = mData + QStringLiteral("/src/");
        for (const char *f : { "/src/Orders.cs", "/src/sub/report.sql", "/outside.py", "/src/missing.txt" })
            m->Files().Add(mData + QLatin1String(f));
        return m;
    }

private Q_SLOTS:
    void module()
    {
        DocGenProject project;
        project.DocumentType = QStringLiteral("HTML");
        project.GenerateName = mOut.filePath(QStringLiteral("module.html"));
        project.IncludeModuleSummay = project.IncludeModuleSummayPerFile = true;
        project.IncludeOwnerNames = project.OwnerInOwnCol = true;
        project.EncapsOwnerNames = true;
        auto m = Module(project);
        ScriptedUi ui;
        ui.answer(UiServices::Answer::Ok);
        Compare(Generate(project, m.get(), ui), QStringLiteral("expected_module.html"));
        QCOMPARE(ui.last().title, QStringLiteral("Document Generated"));
    }

    void allObjects()
    {
        DocGenProject project;
        project.DocumentType = QStringLiteral("HTML");
        project.GenerateName = mOut.filePath(QStringLiteral("all.html"));
        project.IncludeOwnerNames = project.EncapsObjects = true;
        ScriptedUi ui;
        ui.answer(UiServices::Answer::Ok);
        Compare(Generate(project, nullptr, ui), QStringLiteral("expected_all.html"));
    }

    // A failing run shows the error box and leaves an existing document as it was.
    void failureKeepsTheOldDocument_data()
    {
        QTest::addColumn<QString>("firstLine");
        QTest::addColumn<QString>("error");
        QTest::newRow("name at the first character")
            << "usp_GetOrders();"
            << "Invalid procedure call or argument: \"usp_GetOrders\" stands at the first character";
        QTest::newRow("unreadable file") << ""
                                         << "could not be read: it is a folder";
    }
    void failureKeepsTheOldDocument()
    {
        QFETCH(QString, firstLine);
        QFETCH(QString, error);
        QTemporaryDir dir;
        const QString source = dir.filePath(QStringLiteral("a.cs"));
        if (firstLine.isEmpty())
            QDir(dir.path()).mkdir(QStringLiteral("a.cs"));
        else
            WriteTextFile(source, firstLine);
        DocGenProject project;
        project.DocumentType = QStringLiteral("HTML");
        project.GenerateName = dir.filePath(QStringLiteral("doc.html"));
        WriteTextFile(project.GenerateName, QStringLiteral("old"));
        auto m = project.Modules().Add();
        m->Files().Add(source);
        ScriptedUi ui;
        ui.answer(UiServices::Answer::Ok);
        QVERIFY(Generate(project, m.get(), ui).isEmpty());
        QCOMPARE(ui.last().title, QStringLiteral("Document Generation Aborted"));
        QVERIFY2(ui.last().text.startsWith(QStringLiteral("An error occured: ")), qPrintable(ui.last().text));
        QVERIFY2(ui.last().text.contains(error), qPrintable(ui.last().text));
        QVERIFY(ui.last().text.endsWith(QStringLiteral("\n\nDocument could not be generated!")));
        QCOMPARE(ReadTextFile(project.GenerateName), QStringLiteral("old"));
        QVERIFY(QDir(dir.path()).entryList({ "doc.html.*" }, QDir::Files).isEmpty()); // no temporary file left
    }

    void unwritableFolder()
    {
        // A folder that is a file cannot be written, not even by root.
        QTemporaryDir dir;
        WriteTextFile(dir.filePath(QStringLiteral("file")), QString());
        DocGenProject project;
        project.DocumentType = QStringLiteral("HTML");
        project.GenerateName = dir.filePath(QStringLiteral("file/doc.html"));
        ScriptedUi ui;
        ui.answer(UiServices::Answer::Ok);
        QVERIFY(Generate(project, nullptr, ui).isEmpty());
        QVERIFY(ui.last().text.contains(QStringLiteral("could not be written")));
    }

    // A read-only document is replaced, and the new one is writable.
    void readOnlyTarget()
    {
        DocGenProject project;
        project.DocumentType = QStringLiteral("HTML");
        project.GenerateName = mOut.filePath(QStringLiteral("ro.html"));
        WriteTextFile(project.GenerateName, QString());
        QFile::setPermissions(project.GenerateName, QFileDevice::ReadOwner);
        ScriptedUi ui;
        ui.answer(UiServices::Answer::Ok);
        QVERIFY(Generate(project, nullptr, ui).startsWith(QStringLiteral("<!DOCTYPE")));
        QVERIFY(QFileInfo(project.GenerateName).permissions() & QFileDevice::WriteOwner);
    }
};

QTEST_GUILESS_MAIN(TestDocGenHtml)
#include "test_docgen_html.moc"
