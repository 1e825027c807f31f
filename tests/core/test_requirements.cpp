#include "SystemRequirements.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

namespace
{

QStringList Suffixes(const QString &prefix, const QStringList &attempts)
{
    QStringList out;
    for (const QString &a : attempts)
        out << (a == prefix ? QStringLiteral("-") : a.mid(prefix.size() + 1));
    return out;
}

} // namespace

class TestRequirements : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void orderOfAttempts_data()
    {
        QTest::addColumn<QString>("className");
        QTest::addColumn<QList<int>>("bounds"); // firstMajor, lastMajor, firstMinor, lastMinor
        QTest::addColumn<QStringList>("suffixes");
        QTest::newRow("ADO") << QStringLiteral("ADODB.Recordset") << QList<int> { 2, 2, 8, 4 }
                             << QStringList { "2.8", "2.7", "2.6", "2.5", "2.4", "2" };
        QTest::newRow("XML") << QStringLiteral("MSXML2.DOMDocument") << QList<int> { 4, 2, 6, 0 }
                             << QStringList { "4.6", "4.5", "4.4", "4.3", "4.2", "4.1", "4.0", "4", "3.6", "3.5", "3.4",
                                    "3.3", "3.2", "3.1", "3.0", "3", "2.6", "2.5", "2.4", "2.3", "2.2", "2.1", "2.0",
                                    "2" };
        QTest::newRow("unversioned") << QStringLiteral("SourceSafe") << QList<int> { 0, 0, -1, -1 }
                                     << QStringList { "-" };
        QTest::newRow("ascending") << QStringLiteral("X") << QList<int> { 1, 2, 0, 1 }
                                   << QStringList { "1.0", "1.1", "1", "2.0", "2.1", "2" };
        QTest::newRow("no minors") << QStringLiteral("X") << QList<int> { 3, 1, -1, -1 }
                                   << QStringList { "3", "2", "1" };
        QTest::newRow("through zero") << QStringLiteral("X") << QList<int> { 1, 0, 2, 2 }
                                      << QStringList { "1.2", "1", "-" };
    }

    // Nothing present: every attempt in order. Present at one attempt: the
    // search ends there with that version ("0" for the unversioned name).
    void orderOfAttempts()
    {
        QFETCH(QString, className);
        QFETCH(QList<int>, bounds);
        QFETCH(QStringList, suffixes);
        QStringList attempts;
        for (qsizetype present = -1; present < suffixes.size(); ++present) {
            attempts.clear();
            SystemRequirements req([&](const QString &name) {
                attempts << name;
                return attempts.size() == present + 1;
            });
            const QString version = req.FindComponentVersion(className, bounds[0], bounds[1], bounds[2], bounds[3]);
            const QString expected = present < 0 ? QString() : suffixes.at(present);
            QCOMPARE(version, expected == QLatin1String("-") ? QStringLiteral("0") : expected);
            QCOMPARE(Suffixes(className, attempts), present < 0 ? suffixes : suffixes.mid(0, present + 1));
        }
    }

    // Versions older than the one shown as needed still pass, down to the end of
    // each range. (What is missing, and a second run: test_frminitialize.)
    void olderVersionsPass()
    {
        SystemRequirements oldOnes([](const QString &n) {
            return n == QLatin1String("SourceSafe") || n == QLatin1String("ADODB.Recordset.2.4")
                || n == QLatin1String("MSXML2.DOMDocument.2.0");
        });
        QVERIFY(oldOnes.CheckAll());
        QCOMPARE(oldOnes.MissingComponentCount(), 0);
    }

    void odbcWithoutSqlServerDriver()
    {
        // unixODBC reads the driver list from $ODBCSYSINI/odbcinst.ini once per
        // process, so the probe runs in a child process of this test.
        QTemporaryDir dir;
        QFile ini(dir.filePath(QStringLiteral("odbcinst.ini")));
        QVERIFY(ini.open(QIODevice::WriteOnly));
        ini.write("[PostgreSQL Unicode]\nDriver=psqlodbcw.so\n[SQL Server Native]\nDriver=x.so\n");
        ini.close();
        const auto probe = [&](const QString &sysIni) {
            QProcess child;
            QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
            if (!sysIni.isEmpty())
                env.insert(QStringLiteral("ODBCSYSINI"), sysIni);
            child.setProcessEnvironment(env);
            child.start(QCoreApplication::applicationFilePath(),
                { QStringLiteral("--probe"), QStringLiteral("ADODB.Recordset.2.8") });
            child.waitForFinished();
            return child.exitCode();
        };
        QCOMPARE(probe(dir.path()), 1);
        QCOMPARE(probe(QString()), 0);
    }

    // The real checks on this machine, which the install script sets up.
    void realProbes_data()
    {
        QTest::addColumn<QString>("className");
        QTest::addColumn<bool>("present");
        QTest::newRow("subversion") << QStringLiteral("SourceSafe") << true;
        QTest::newRow("odbc 2") << QStringLiteral("ADODB.Recordset.2.8") << true;
        QTest::newRow("odbc 2 major") << QStringLiteral("ADODB.Recordset.2") << true;
        QTest::newRow("odbc 7") << QStringLiteral("ADODB.Recordset.7.1") << false;
        QTest::newRow("xml") << QStringLiteral("MSXML2.DOMDocument.4.6") << true;
        QTest::newRow("unversioned ado") << QStringLiteral("ADODB.Recordset") << false;
        QTest::newRow("unknown") << QStringLiteral("Word.Application") << false;
    }

    void realProbes()
    {
        QFETCH(QString, className);
        QFETCH(bool, present);
        QCOMPARE(CanCreateComponent(className), present);
    }
};

// "--probe {class name}" answers one probe by the exit code (0: present).
int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    if (argc == 3 && qstrcmp(argv[1], "--probe") == 0)
        return CanCreateComponent(QString::fromLocal8Bit(argv[2])) ? 0 : 1;
    TestRequirements test;
    return QTest::qExec(&test, argc, argv);
}
#include "test_requirements.moc"
