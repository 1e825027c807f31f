// The .docx documents, read back with python-docx; and, with the label
// "office", converted to PDF by LibreOffice where it is installed.
#include "DocGenRun.h"
#include "DocGenTestSource.h"
#include "ScriptedUi.h"
#include "UserDataFolder.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

class TestDocGenWord : public QObject
{
    Q_OBJECT

    QString mData = QStringLiteral(KORVO_DOCGEN_DATA);
    QTemporaryDir mOut;

    static QString Python()
    {
        // The system's interpreter holds the Debian package python3-docx.
        return QFile::exists(QStringLiteral("/usr/bin/python3")) ? QStringLiteral("/usr/bin/python3")
                                                                 : QStringLiteral("python3");
    }

    static QByteArray Tool(const QStringList &arguments)
    {
        QProcess p;
        p.start(Python(), QStringList { QStringLiteral(KORVO_DOCX_TOOL) } + arguments);
        p.waitForFinished(60000);
        if (p.exitCode() != 0)
            qWarning("%s", p.readAllStandardError().constData());
        return p.readAllStandardOutput();
    }

    static TestSource Objects()
    {
        TestSource s;
        s.Add(0, "usp_GetOrders", "dbo", "Reads orders\r\nof a customer")->Items
            = QStringList { "@id=int", "@flag=bit" };
        s.Add(1, "fn_Total", "sales", "Sum");
        s.Add(2, "vw_Orders");
        return s;
    }

    // Runs the module (or all objects) into a .docx; the outcome box's title.
    QString Generate(DocGenProject &project, bool module)
    {
        auto m = project.Modules().Add();
        m->Name = QStringLiteral("Orders");
        m->Path = mData + QStringLiteral("/src/");
        for (const char *f : { "/src/Orders.cs", "/outside.py" })
            m->Files().Add(mData + QLatin1String(f));
        project.DocumentType = QStringLiteral("WORD");
        TestSource source = Objects();
        RecordingSteps steps;
        DocGenRun run(source, project, module ? m.get() : nullptr, steps);
        run.ListSteps();
        ScriptedUi ui;
        ui.answer(UiServices::Answer::Ok);
        const auto outcome = run.Run();
        DocGenRun::TellOutcome(ui, outcome, run.Error());
        return ui.last().title + QLatin1Char('|') + ui.last().text;
    }

    QJsonObject Read(const QString &path)
    {
        const QJsonDocument doc = QJsonDocument::fromJson(Tool({ QStringLiteral("read"), path }));
        return doc.object();
    }

    static QStringList Strings(const QJsonValue &v)
    {
        QStringList out;
        for (const auto &x : v.toArray())
            out << (x.isArray() ? Strings(x).join(QLatin1Char('|')) : x.toString());
        return out;
    }

private Q_SLOTS:
    void initTestCase()
    {
        if (QProcess::execute(Python(), { QStringLiteral("-c"), QStringLiteral("import docx") }) != 0)
            QFAIL("python3-docx is missing (scripts/install-deps installs it)");
    }

    void moduleDocument()
    {
        DocGenProject project;
        project.GenerateName = mOut.filePath(QStringLiteral("module.docx"));
        project.IncludeModuleSummay = project.IncludeModuleSummayPerFile = true;
        project.IncludeOwnerNames = project.OwnerInOwnCol = true;
        QCOMPARE(
            Generate(project, true), QStringLiteral("Document Generated|Document has been successfully generated!"));
        const QJsonObject doc = Read(project.GenerateName);
        const QStringList paragraphs = Strings(doc.value("paragraphs"));
        for (const char *p : { "Heading 1|Module \"Orders\"", "Heading 2|Summary of Objects used",
                 "Heading 3|Stored Procedures:", "Heading 2|Files used by Module",
                 "Heading 3|Orders.cs:", "Heading 3|@outside.py:", "Heading 4|Object Summary:",
                 "Heading 4|Object References:", "Normal|Note: this object resides outside the module path!" })
            QVERIFY2(paragraphs.contains(QLatin1String(p)), p);
        const QStringList tables = Strings(doc.value("tables"));
        QVERIFY(tables.first().startsWith(QStringLiteral("Name:|Orders|Primray Path:|")));
        QVERIFY(tables.contains(QStringLiteral(
            "Stored Procedure Name|Owner|Parameters|Description|usp_GetOrders|dbo||Reads orders\nof a customer")));
        // The references of Orders.cs in reading order, the context with its leading delimiter in bold.
        const QString refs = tables.filter(QStringLiteral("Line|Object|Owner|Context")).first();
        QVERIFY2(refs.startsWith(QStringLiteral("Line|Object|Owner|Context|2|usp_GetOrders|dbo|...eads orders through  "
                                                "usp_GetOrders\nclass Orders {\n  ...|4|")),
            qPrintable(refs));
        QCOMPARE(Strings(doc.value("nested")), QStringList { "@id|int|@flag|bit" });
        QVERIFY(Strings(doc.value("boldInCode")).contains(QStringLiteral(" usp_GetOrders")));
        QVERIFY(Strings(doc.value("styles")).contains(QStringLiteral("Code")));
    }

    void allObjects()
    {
        DocGenProject project;
        project.GenerateName = mOut.filePath(QStringLiteral("all.docx"));
        QCOMPARE(Generate(project, false).section('|', 0, 0), QStringLiteral("Document Generated"));
        const QJsonObject doc = Read(project.GenerateName);
        const QStringList paragraphs = Strings(doc.value("paragraphs"));
        // The last, empty paragraph keeps the style of the block before it.
        QCOMPARE(paragraphs.filter(QRegularExpression(QStringLiteral("^Heading.*[^|]$"))),
            (QStringList { "Heading 1|Database Object Documentation", "Heading 2|Stored Procedures",
                "Heading 2|User Defined Functions", "Heading 2|Views" }));
        QCOMPARE(Strings(doc.value("tables")).at(2), QStringLiteral("View Name|Fields|Description|vw_Orders||"));
    }

    // A template gives its styles and page size, and its content type does not pass over.
    void templates_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("outcome");
        QTest::newRow("template") << "good"
                                  << "Document Generated";
        QTest::newRow("template with a Code style")
            << "code"
            << "An error occured: The template already has a style named \"Code\".";
        QTest::newRow("not a document") << "bad"
                                        << "An error occured: Could not open a new documentusing template '%1'.";
    }
    void templates()
    {
        QFETCH(QString, kind);
        QFETCH(QString, outcome);
        DocGenProject project;
        project.TemplateName = mOut.filePath(kind + QStringLiteral(".dotx"));
        project.GenerateName = mOut.filePath(kind + QStringLiteral(".docx"));
        if (kind == QLatin1String("bad")) {
            WriteTextFile(project.TemplateName, QStringLiteral("no zip"));
        } else {
            QStringList arguments { QStringLiteral("template"), project.TemplateName };
            if (kind == QLatin1String("code"))
                arguments << QStringLiteral("code");
            Tool(arguments);
        }
        const QString got = Generate(project, true);
        if (outcome.contains(QLatin1String("%1")))
            outcome = outcome.arg(project.TemplateName);
        QVERIFY2(got.contains(outcome), qPrintable(got));
        if (kind != QLatin1String("good")) {
            QVERIFY(!QFile::exists(project.GenerateName));
            return;
        }
        const QJsonObject doc = Read(project.GenerateName);
        QCOMPARE(doc.value("main").toString(), QStringLiteral("document.main+xml"));
        QCOMPARE(doc.value("pageWidth").toInt(), 12240); // the template's Letter size
        QVERIFY(Strings(doc.value("styles")).contains(QStringLiteral("Intense Quote")));
        QVERIFY(Strings(doc.value("paragraphs")).contains(QStringLiteral("Heading 1|Module \"Orders\"")));
    }

    // Run by the test labelled "office" only.
    void office()
    {
        if (!qEnvironmentVariableIsSet("KORVO_OFFICE_TEST"))
            QSKIP("run as test_docgen_office");
        const QString soffice = QStandardPaths::findExecutable(QStringLiteral("soffice"));
        if (soffice.isEmpty())
            QSKIP("LibreOffice (soffice) is not installed: the PDF conversion is not checked");
        DocGenProject project;
        project.GenerateName = mOut.filePath(QStringLiteral("office.docx"));
        project.IncludeModuleSummay = true;
        QCOMPARE(Generate(project, true).section('|', 0, 0), QStringLiteral("Document Generated"));
        QProcess p;
        p.start(soffice,
            { "--headless", "-env:UserInstallation=file://" + mOut.filePath("lo"), "--convert-to", "pdf", "--outdir",
                mOut.path(), project.GenerateName });
        QVERIFY(p.waitForFinished(180000));
        const QString pdf = mOut.filePath(QStringLiteral("office.pdf"));
        QVERIFY2(QFile::exists(pdf), p.readAllStandardError().constData());
        const QString pdftotext = QStandardPaths::findExecutable(QStringLiteral("pdftotext"));
        if (pdftotext.isEmpty())
            QSKIP("pdftotext (poppler-utils) is not installed: the PDF's text is not checked");
        QProcess t;
        t.start(pdftotext, { pdf, "-" });
        QVERIFY(t.waitForFinished(60000));
        const QString text = QString::fromUtf8(t.readAllStandardOutput());
        for (const char *s : { "Module \"Orders\"", "Summary of Objects used", "Object References:", "usp_GetOrders" })
            QVERIFY2(text.contains(QLatin1String(s)), s);
    }
};

QTEST_GUILESS_MAIN(TestDocGenWord)
#include "test_docgen_word.moc"
