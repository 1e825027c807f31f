// The module store "{project}_documents.xml".
#include "DocGenProject.h"
#include "UserDataFolder.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

class TestDocGenModel : public QObject
{
    Q_OBJECT

    QTemporaryDir mDir;

    QString Write(const QByteArray &xml)
    {
        const QString path = mDir.filePath(QStringLiteral("p_documents.xml"));
        WriteTextFile(path, QString::fromUtf8(xml));
        return path;
    }

private Q_SLOTS:
    void roundTrip()
    {
        DocGenProject p;
        p.CurrentModule = QStringLiteral("Billing");
        p.TemplateName = QStringLiteral("/t/a & b.dotx");
        p.DocumentType = QStringLiteral("WORD");
        p.GenerateName = QStringLiteral("/out/doc.docx");
        p.GenerateNameAlt = QStringLiteral("/out/doc.html");
        p.OptionSelected = 1;
        p.IncludeModuleSummay = p.OwnerInOwnCol = true;
        auto m = p.Modules().Add();
        m->Name = QStringLiteral("Billing");
        m->Description = QStringLiteral("two\r\nlines <b>");
        m->DevelopedBy = QStringLiteral("team\nA");
        m->Path = QStringLiteral("/src");
        m->Files().Add(QStringLiteral("/src/a.cs"));
        m->Files().Add(QStringLiteral("/src/B.cs"));
        p.Modules().Add()->Name = QStringLiteral("Second");
        const QString path = mDir.filePath(QStringLiteral("rt.xml"));
        QVERIFY(p.SaveDocumentSettings(path));

        const QString text = ReadTextFile(path);
        QVERIFY(text.startsWith("<ModuleManager><Settings currmodule=\"Billing\" templatename=\"/t/a &amp; b.dotx\" "
                                "generatename=\"/out/doc.docx\" generatenamealt=\"/out/doc.html\" documentype=\"WORD\" "
                                "option=\"1\" showsummary=\"yes\" showsummaryperfile=\"no\" ownernames=\"no\" "
                                "encapsulateowner=\"no\" encapsulateobject=\"no\" ownerowncol=\"yes\"/><Modules>"
                                "<Module name=\"Billing\" project=\"\" createdby=\"\" createdon=\"\"><Description>"));
        QVERIFY(!text.contains('\n') || text.count('\n') == 2); // only the line breaks of the texts

        DocGenProject q;
        q.LoadDocumentSettings(path);
        QCOMPARE(q.CurrentModule, p.CurrentModule);
        QCOMPARE(q.TemplateName, p.TemplateName);
        QCOMPARE(q.GenerateNameAlt, p.GenerateNameAlt);
        QCOMPARE(q.OptionSelected, 1);
        QVERIFY(q.IncludeModuleSummay && q.OwnerInOwnCol && !q.IncludeOwnerNames);
        QCOMPARE(q.Modules().Count(), 2);
        // XML reads every line end as a line feed; the dialog makes pairs again.
        QCOMPARE(q.Modules().Item(1)->Description, QStringLiteral("two\nlines <b>"));
        QCOMPARE(q.Modules().Item(1)->DevelopedBy, m->DevelopedBy);
        QCOMPARE(q.Modules().Item(1)->Files().Count(), 2);
        QCOMPARE(q.Modules().Item(2)->Index, 2);
    }

    void reading_data()
    {
        QTest::addColumn<QByteArray>("xml");
        QTest::addColumn<int>("option");
        QTest::addColumn<bool>("summary");
        QTest::addColumn<int>("modules");
        QTest::addColumn<int>("files");
        QTest::addColumn<QString>("description");
        QTest::newRow("option 3 taken, YES in capitals")
            << QByteArray("<ModuleManager><Settings OPTION=\"3\" showsummary=\"YES\"/><Modules/></ModuleManager>") << 3
            << true << 0 << 0 << "";
        QTest::newRow("option out of range")
            << QByteArray("<ModuleManager><Settings option=\"4\" showsummary=\"y\"/></ModuleManager>") << 2 << false
            << 0 << 0 << "";
        QTest::newRow("file repeated in other case, no description")
            << QByteArray("<ModuleManager><Modules><Module "
                          "name=\"m\"><File>/a/X.cs</File><File>/a/x.CS</File></Module></Modules></ModuleManager>")
            << 2 << false << 1 << 1 << "";
        QTest::newRow("other root") << QByteArray("<Other><Settings option=\"1\"/></Other>") << 2 << false << 1 << 0
                                    << "keep";
        QTest::newRow("invalid xml") << QByteArray("<ModuleManager><Settings option=\"1\"") << 2 << false << 1 << 0
                                     << "keep";
        QTest::newRow("no modules element clears")
            << QByteArray("<ModuleManager><Settings option=\"1\"/></ModuleManager>") << 1 << false << 0 << 0 << "";
    }
    void reading()
    {
        QFETCH(QByteArray, xml);
        DocGenProject p;
        p.Modules().Add()->Description = QStringLiteral("keep");
        p.LoadDocumentSettings(Write(xml));
        QTEST(p.OptionSelected, "option");
        QTEST(p.IncludeModuleSummay, "summary");
        QTEST(p.Modules().Count(), "modules");
        if (p.Modules().Count()) {
            QTEST(p.Modules().Item(1)->Files().Count(), "files");
            QTEST(p.Modules().Item(1)->Description, "description");
        }
    }

    void modulesReindex()
    {
        DocGenModules list;
        for (int i = 0; i < 3; ++i)
            list.Add();
        auto third = list.Item(3);
        list.Remove(2);
        QCOMPARE(third->Index, 2);
        list.Clear();
        QCOMPARE(list.Add()->Index, 1);
    }
};

QTEST_GUILESS_MAIN(TestDocGenModel)
#include "test_docgen_model.moc"
