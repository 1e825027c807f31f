// The one-pass scanner against the search it stands for: each object, each of
// its six forms, found one occurrence after the other in the text.
#include "DocGenScanner.h"
#include "DocGenTestSource.h"

#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>

namespace
{

struct Ref {
    int object, at, position, start, end;
    QString context;
    bool operator==(const Ref &) const = default;
};

// The search as written: per object and form, every occurrence ignoring case,
// the characters on both sides tested, the context cut around it.
QList<Ref> Naive(const QString &text, const QList<DocGenObjectPtr> &objects, bool &failed)
{
    QList<Ref> refs;
    failed = false;
    const QString delimiters = QStringLiteral("\t\n\r \"',;{}");
    for (int i = 0; i < objects.size(); ++i) {
        const QString n = objects[i]->Name(), o = objects[i]->Owner();
        for (const QString &f :
            { n, "[" + n + "]", o + "." + n, o + ".[" + n + "]", "[" + o + "]." + n, "[" + o + "].[" + n + "]" }) {
            for (qsizetype at = text.indexOf(f, 0, Qt::CaseInsensitive); at >= 0;
                 at = text.indexOf(f, at + 1, Qt::CaseInsensitive)) {
                if (at == 0) {
                    failed = true;
                    return {};
                }
                const QString after = text.mid(at + f.size(), 1);
                if (!delimiters.contains(text.at(at - 1)) || !(after.isEmpty() || delimiters.contains(after)))
                    continue;
                const int p = int(at + 1);
                QString s = text;
                int offset = p;
                if (p > 23) {
                    s = "..." + text.mid(p - 21);
                    offset = 23;
                }
                const int e = offset + int(f.size());
                if (s.size() > e + 23)
                    s = s.left(e + 20) + "...";
                const int q = int(s.indexOf(f, 0, Qt::CaseInsensitive)) + 1;
                refs.append({ i, int(text.left(p).count(QLatin1Char('\n'))) + 1, p, q - 1, q + int(f.size()), s });
            }
        }
    }
    return refs;
}

// Also tells whether the writers' reading order equals the walk by FoundDetailsGetNext.
QList<Ref> Fast(const QString &text, const QList<DocGenObjectPtr> &objects, bool &failed, bool &sameOrder)
{
    DocGenFile file;
    failed = false;
    try {
        const DocGenMatcher matcher(objects);
        matcher.Record(text, matcher.Find(text, QStringLiteral("f")), file);
    } catch (const DocGenError &) {
        failed = true;
        return {};
    }
    QList<DocGenFileFoundPtr> walk;
    for (auto r = file.FoundDetailsGetNext(0, 0); r; r = file.FoundDetailsGetNext(r->FoundAt, r->CharPosiInContent))
        walk << r;
    sameOrder = walk == file.FoundInReadingOrder();
    QList<Ref> refs;
    for (int i = 1; i <= file.FoundCount(); ++i) {
        const auto f = file.FoundDetails(i);
        refs.append({ int(objects.indexOf(f->ObjectFound)), f->FoundAt, f->CharPosiInContent, f->PositionStart,
            f->PositionEnd, f->FoundString });
    }
    return refs;
}

} // namespace

class TestDocGenScan : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // Random texts over a small alphabet rich in delimiters, brackets and points,
    // and names that are parts of each other.
    void sameAsTheSearchItStandsFor()
    {
        QRandomGenerator random(20);
        const QString alphabet = QStringLiteral("abAB.[] (\t\n\r\"',;{}=_$*+?");
        int references = 0;
        for (int round = 0; round < 300; ++round) {
            QList<DocGenObjectPtr> objects;
            const QStringList names { "a", "ab", "AB", "b.a", "a$", "(a)", "ä", "a*b+", "[a]" };
            const QStringList owners { "b", "ab", "", "a.b" };
            for (int i = 0; i < 6; ++i)
                objects.append(std::make_shared<TestObject>(
                    names[random.bounded(int(names.size()))], owners[random.bounded(int(owners.size()))]));
            QString text = QStringLiteral(" ");
            const int length = random.bounded(1, 120);
            for (int i = 0; i < length; ++i)
                text += random.bounded(10) == 0 ? QStringLiteral("Ä")
                                                : QString(alphabet[random.bounded(int(alphabet.size()))]);
            if (random.bounded(8) == 0)
                text.remove(0, 1); // sometimes a name may stand at the very start
            bool naiveFailed, fastFailed, sameOrder = true;
            const QList<Ref> want = Naive(text, objects, naiveFailed), got = Fast(text, objects, fastFailed, sameOrder);
            QCOMPARE(fastFailed, naiveFailed);
            QVERIFY(sameOrder);
            QCOMPARE(got.size(), want.size());
            for (int i = 0; i < want.size(); ++i)
                QVERIFY2(got[i] == want[i],
                    qPrintable(QStringLiteral("round %1, reference %2 in %3").arg(round).arg(i).arg(text)));
            references += int(want.size());
        }
        QVERIFY(references > 300);
    }

    // Files that are not clean text are read byte for byte; missing ones find nothing.
    void fileKinds_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<int>("found");
        QTest::newRow("utf-8") << QByteArray("\xEF\xBB\xBF\xC3\xA4 usp_a") << 1;
        QTest::newRow("latin-1") << QByteArray("\xE4\xF6 usp_a\n usp_a") << 2;
        QTest::newRow("binary") << QByteArray("\x00\x01\xFF\x00usp_a\x00", 9) << 0;
        QTest::newRow("missing") << QByteArray() << 0;
    }
    void fileKinds()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(int, found);
        QTemporaryDir dir;
        DocGenModule module;
        const QString path = dir.filePath(QStringLiteral("f.txt"));
        if (!bytes.isEmpty()) {
            QFile f(path);
            f.open(QIODevice::WriteOnly);
            f.write(bytes);
        }
        module.Files().Add(path);
        RecordingSteps steps;
        QList<QList<DocGenObjectPtr>> foundObjects;
        DocGenCollection procedures { "Stored Procedures", { std::make_shared<TestObject>("usp_a", "dbo") } };
        ScanModule({ procedures, DocGenCollection() }, module, steps, foundObjects);
        QCOMPARE(module.Files().Item(1)->FoundCount(), found);
        QCOMPARE(foundObjects.size(), 2);
        QCOMPARE(foundObjects[0].size(), found ? 1 : 0);
    }
};

QTEST_GUILESS_MAIN(TestDocGenScan)
#include "test_docgen_scan.moc"
