// Scanning a module of 500 generated source files (10 MB of C#, Java, Python and
// SQL-like text) for 1,000 objects, and writing the HTML and the Word document.
#include "DocGenRun.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QRandomGenerator>
#include <QTemporaryDir>

#include <cstdio>

namespace
{

class BenchObject : public DocGenObject
{
public:
    BenchObject(QString name, QString owner, QString display)
        : mName(std::move(name))
        , mOwner(std::move(owner))
        , mDisplay(std::move(display))
    {
    }
    QString Name() const override { return mName; }
    QString Owner() const override { return mOwner; }
    QString Description() const override { return QStringLiteral("Generated object ") + mName; }
    QString ObjectDisplayName() const override { return mDisplay; }
    QString DocumentMiddleName() const override { return QStringLiteral("Parameters"); }
    KORVODBTItemsPtr GetItemInfo(bool, bool, bool) override
    {
        auto items = std::make_shared<KORVODBTItems>();
        items->Add(QStringLiteral("@id"))->Children().Add(QStringLiteral("t"))->Text = QStringLiteral("int");
        return items;
    }

private:
    QString mName, mOwner, mDisplay;
};

class BenchSource : public DocGenSource
{
public:
    QList<Type> Types { { "STOREDPROCEDURES", "Stored Procedures" },
        { "USERDEFINEDFUNCTIONS", "User Defined Functions" }, { "VIEWS", "Views" }, { "TRIGGERS", "Triggers" } };
    QList<DocGenCollection> Collections;
    QList<Type> GetItemsForDocGen() override { return Types; }
    DocGenCollection GetObjectObjects(const QString &key) override
    {
        for (int i = 0; i < Types.size(); ++i)
            if (Types[i].Key == key)
                return Collections[i];
        return {};
    }
};

class QuietSteps : public DocGenSteps
{
public:
    void AddStep(const QString &, const QString &) override { }
    void NextStep() override { QCoreApplication::processEvents(); }
    void SetProgressMax(int) override { }
    void SetProgress(int, const QString &) override { QCoreApplication::processEvents(); }
};

long PeakKilobytes()
{
    QFile status(QStringLiteral("/proc/self/status"));
    status.open(QIODevice::ReadOnly);
    for (const QByteArray &line : status.readAll().split('\n'))
        if (line.startsWith("VmHWM:"))
            return line.mid(6).trimmed().split(' ').first().toLong();
    return -1;
}

// One source file of about `size` bytes in the style of `kind`, naming objects now and then.
QByteArray SourceFile(int kind, qsizetype size, const QStringList &names, QRandomGenerator &random)
{
    static const char *const lines[4][4] = {
        { "    public void Load%1() { var cmd = new SqlCommand(\"%2\", conn); cmd.ExecuteReader(); }",
            "    // calls %2 for the order list %1", "    private int count%1 = 0; if (count%1 < 10) { count%1++; }",
            "    string q%1 = \"SELECT * FROM [dbo].[%2] WHERE id = @id\";" },
        { "    public List<Order> find%1() { return jdbc.query(\"EXEC dbo.%2 ?\", mapper); }",
            "    /* see %2 */ private final String s%1 = \"x\";", "    for (int i = 0; i < %1; i++) { total += i; }",
            "    stmt = conn.prepareCall(\"{call %2(?)}\");" },
        { "def load_%1(db):\n    return db.execute(\"SELECT * FROM %2\")", "    # uses %2",
            "    x%1 = [i for i in range(%1)]", "    cur.callproc('%2', (1, 2))" },
        { "SELECT a.id, b.name FROM %2 a JOIN dbo.other b ON a.id = b.id -- %1", "EXEC [dbo].%2 @p = %1;",
            "UPDATE t SET v = v + %1 WHERE k = 'x';", "INSERT INTO log VALUES (%1, '%2');" },
    };
    QByteArray out;
    while (out.size() < size) {
        const int n = random.bounded(100000);
        out += QString::fromLatin1(lines[kind][random.bounded(4)])
                   .replace(QLatin1String("%1"), QString::number(n))
                   .replace(QLatin1String("%2"), names[random.bounded(int(names.size()))])
                   .toUtf8();
        out += kind == 0 ? "\r\n" : "\n";
    }
    return out;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    QTemporaryDir dir;
    QRandomGenerator random(2026);

    BenchSource source;
    QStringList names;
    const char *const prefixes[] = { "usp_", "fn_", "vw_", "trg_" };
    const char *const display[] = { "Stored Procedure", "User Defined Function", "View", "Trigger" };
    for (int type = 0; type < 4; ++type) {
        DocGenCollection collection { source.Types[type].Text, {} };
        for (int i = 0; i < 250; ++i) {
            const QString name = QLatin1String(prefixes[type]) + QStringLiteral("Object%1").arg(i);
            collection.Objects.append(std::make_shared<BenchObject>(
                name, i % 5 ? QStringLiteral("dbo") : QStringLiteral("sales"), QLatin1String(display[type])));
            names << name;
        }
        source.Collections.append(collection);
    }
    // Names that appear in the text but are no objects, so that most lines hold no reference.
    for (int i = 0; i < 4000; ++i)
        names << QStringLiteral("other_name%1").arg(i);

    DocGenProject project;
    auto module = project.Modules().Add();
    module->Name = QStringLiteral("Benchmark");
    module->Path = dir.path() + QLatin1Char('/');
    const char *const extensions[] = { ".cs", ".java", ".py", ".sql" };
    qsizetype total = 0;
    for (int i = 0; i < 500; ++i) {
        const int kind = i % 4;
        const QString path
            = dir.filePath(QStringLiteral("src%1/file%2%3").arg(i % 10).arg(i).arg(QLatin1String(extensions[kind])));
        QDir().mkpath(QFileInfo(path).path());
        QFile f(path);
        f.open(QIODevice::WriteOnly);
        total += f.write(SourceFile(kind, 20 * 1024, names, random));
        module->Files().Add(path);
    }
    std::printf("module: %d files, %.1f MB, %d objects\n", module->Files().Count(), total / 1048576.0, 1000);

    project.IncludeModuleSummay = project.IncludeModuleSummayPerFile = true;
    project.IncludeOwnerNames = true;
    for (const char *type : { "HTML", "WORD" }) {
        project.DocumentType = QLatin1String(type);
        project.GenerateName
            = dir.filePath(QStringLiteral("doc.") + (project.DocumentType == "HTML" ? "html" : "docx"));
        QuietSteps steps;
        DocGenRun run(source, project, module.get(), steps);
        run.ListSteps();
        QElapsedTimer timer;
        timer.start();
        const auto outcome = run.Run();
        const double seconds = timer.nsecsElapsed() / 1e9;
        int references = 0;
        for (const auto &file : module->Files())
            references += file->FoundCount();
        std::printf("scan and %s: %.2f s (%s), %d references, document %.1f MB\n", type, seconds,
            outcome == DocGenRun::Outcome::Done ? "done" : qPrintable(run.Error()), references,
            QFileInfo(project.GenerateName).size() / 1048576.0);
    }
    std::printf("peak memory (VmHWM): %.0f MB\n", PeakKilobytes() / 1024.0);

    // One file of 100 MB: the largest input the scan is meant to take.
    {
        const QString path = dir.filePath(QStringLiteral("large.sql"));
        QFile f(path);
        f.open(QIODevice::WriteOnly);
        const QByteArray block = SourceFile(3, 1 << 20, names, random);
        for (int i = 0; i < 100; ++i)
            f.write(block);
        f.close();
        DocGenProject large;
        auto single = large.Modules().Add();
        single->Name = QStringLiteral("Large");
        single->Files().Add(path);
        large.DocumentType = QStringLiteral("HTML");
        large.GenerateName = dir.filePath(QStringLiteral("large.html"));
        QuietSteps steps;
        DocGenRun run(source, large, single.get(), steps);
        run.ListSteps();
        QElapsedTimer timer;
        timer.start();
        const auto outcome = run.Run();
        std::printf("one 100 MB file, scan and HTML: %.2f s (%s), %d references; peak memory now %.0f MB\n",
            timer.nsecsElapsed() / 1e9, outcome == DocGenRun::Outcome::Done ? "done" : qPrintable(run.Error()),
            single->Files().Item(1)->FoundCount(), PeakKilobytes() / 1024.0);
    }
    return 0;
}
