// Writes the documentation examples in docs/examples from the demo project:
// all objects as HTML, and the module "Shop application" over
// docs/examples/demo-app as HTML and Word. Run it through scripts/docgen-examples.
#include "DocGenRun.h"
#include "KORVODatabase.h"
#include "KORVOObjectFactory.h"
#include "KORVOSQL.h"
#include "KORVOVSS.h"
#include "ScriptedUi.h"

#include <QCoreApplication>
#include <QDir>
#include <QDirIterator>

#include <cstdio>

namespace
{
class PrintedSteps : public DocGenSteps
{
public:
    void AddStep(const QString &, const QString &) override { }
    void NextStep() override { }
    void SetProgressMax(int) override { }
    void SetProgress(int, const QString &) override { }
};
} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    if (argc < 2) {
        std::fprintf(stderr, "usage: docgen_examples <docs/examples folder>\n");
        return 2;
    }
    const QDir out(QString::fromLocal8Bit(argv[1]));
    ScriptedUi ui;
    ui.setLenient(true);
    KORVODatabase session(ui, std::make_shared<KORVOObjectFactory>());
    const auto project = session.GetDefaultProject();
    if (!project) {
        std::fprintf(stderr, "no demo project\n");
        return 1;
    }
    QString error = project->SQL()->OpenConnection({}, {}, {}, {}, KORVOSQL::UseStoredAuth, false);
    if (error.isEmpty())
        error = project->VSS()->OpenConnection({}, {}, {}, {}, {}, false, false);
    if (!error.isEmpty()) {
        std::fprintf(stderr, "%s\n", qPrintable(error));
        return 1;
    }
    session.SetProject(project);
    const auto source = MakeSessionSource(session);

    DocGenProject doc;
    doc.IncludeOwnerNames = true;
    doc.OwnerInOwnCol = true;
    doc.IncludeModuleSummay = true;
    auto module = doc.Modules().Add();
    module->Name = QStringLiteral("Shop application");
    module->Project = QStringLiteral("KORVO Demo");
    module->CreatedBy = QStringLiteral("demo");
    module->Description = QStringLiteral("Web pages and nightly jobs of the demo shop.");
    module->Path = out.filePath(QStringLiteral("demo-app/src")) + QLatin1Char('/');
    QDirIterator files(module->Path, QDir::Files, QDirIterator::Subdirectories);
    QStringList names;
    while (files.hasNext())
        names << files.next();
    names.sort();
    for (const QString &name : std::as_const(names))
        module->Files().Add(name);

    const struct {
        const char *type, *file;
        bool module;
    } runs[] = { { "HTML", "demo_all_objects.html", false }, { "HTML", "demo_module.html", true },
        { "WORD", "demo_module.docx", true } };
    for (const auto &run : runs) {
        doc.DocumentType = QLatin1String(run.type);
        doc.GenerateName = out.filePath(QLatin1String(run.file));
        PrintedSteps steps;
        DocGenRun job(*source, doc, run.module ? module.get() : nullptr, steps);
        job.ListSteps();
        if (job.Run() != DocGenRun::Outcome::Done) {
            std::fprintf(stderr, "%s: %s\n", run.file, qPrintable(job.Error()));
            return 1;
        }
        std::printf("wrote %s\n", qPrintable(doc.GenerateName));
    }
    return 0;
}
