// The manual as shipped: every help topic reaches an existing page and anchor,
// every page leads back to the start page, and no link or picture is dead.
// Pictures are linked as screenshots/<name>.png, which the build copies from
// docs/screenshots beside the pages.
#include "HelpIntegration.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTest>

namespace
{

const QString HelpDir = QStringLiteral(KORVO_SOURCE_DIR "/help");
const QString PictureDir = QStringLiteral(KORVO_SOURCE_DIR "/docs/screenshots");

QString Read(const QString &path)
{
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? QString::fromUtf8(f.readAll()) : QString();
}

bool HasAnchor(const QString &html, const QString &anchor)
{
    return html.contains(
        QRegularExpression(QStringLiteral("\\b(id|name)=\"%1\"").arg(QRegularExpression::escape(anchor))));
}

QStringList Pages()
{
    return QDir(HelpDir).entryList({ QStringLiteral("*.htm"), QStringLiteral("*.html") }, QDir::Files, QDir::Name);
}

int Words(const QString &html)
{
    QString text = html;
    text.remove(QRegularExpression(QStringLiteral("<head>.*</head>"), QRegularExpression::DotMatchesEverythingOption));
    text.remove(QRegularExpression(QStringLiteral("<[^>]*>")));
    return int(text.split(QRegularExpression(QStringLiteral("\\s+")), Qt::SkipEmptyParts).size());
}

} // namespace

class TestManual : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void topicsReachPageAndAnchor_data()
    {
        QTest::addColumn<int>("topic");
        for (int i = 1; i <= HelpIntegration::TopicCount; ++i)
            QTest::addRow("%d %s", i, qPrintable(HelpIntegration::TopicPage(i))) << i;
    }
    void topicsReachPageAndAnchor()
    {
        QFETCH(int, topic);
        const QString target = HelpIntegration::TopicPage(topic);
        const QString page = target.section(QLatin1Char('#'), 0, 0);
        const QString anchor = target.section(QLatin1Char('#'), 1);
        const QString html = Read(HelpDir + QLatin1Char('/') + page);
        QVERIFY2(!html.isEmpty(), qPrintable(page));
        if (!anchor.isEmpty())
            QVERIFY2(HasAnchor(html, anchor), qPrintable(target));
    }

    void pages_data()
    {
        QTest::addColumn<QString>("page");
        for (const QString &page : Pages())
            QTest::newRow(qPrintable(page)) << page;
    }
    // Each page: back to the start page, no dead link or picture, and enough
    // text unless it only lists links.
    void pages()
    {
        QFETCH(QString, page);
        const QString html = Read(HelpDir + QLatin1Char('/') + page);
        if (page != QLatin1String("index.html"))
            QVERIFY2(html.contains(QLatin1String("href=\"index.html\"")), "no link back to the start page");
        static const QRegularExpression link(QStringLiteral("\\b(href|src)=\"([^\"]*)\""));
        for (auto it = link.globalMatch(html); it.hasNext();) {
            const QString target = it.next().captured(2);
            if (target.contains(QLatin1String("://")) || target.startsWith(QLatin1String("mailto:")))
                continue;
            const QString file = target.section(QLatin1Char('#'), 0, 0);
            const QString anchor = target.section(QLatin1Char('#'), 1);
            QString path = HelpDir + QLatin1Char('/') + file;
            if (file.startsWith(QLatin1String("screenshots/")))
                path = PictureDir + QLatin1Char('/') + file.mid(12);
            QVERIFY2(file.isEmpty() || QFile::exists(path), qPrintable(QStringLiteral("dead link ") + target));
            if (!anchor.isEmpty())
                QVERIFY2(HasAnchor(file.isEmpty() ? html : Read(path), anchor),
                    qPrintable(QStringLiteral("missing anchor ") + target));
        }
        static const QRegularExpression image(QStringLiteral("<img\\b[^>]*>"));
        for (auto it = image.globalMatch(html); it.hasNext();) {
            const QString tag = it.next().captured();
            QVERIFY2(tag.contains(QLatin1String("alt=\"")), qPrintable(QStringLiteral("no alt text: ") + tag));
        }
        const bool linkPage = page == QLatin1String("index.html") || page == QLatin1String("GettingStarted.htm");
        if (!linkPage)
            QVERIFY2(Words(html) >= 150, qPrintable(QStringLiteral("%1 words").arg(Words(html))));
    }

    // Every picture of the windows is shown by a page of the manual or by the README.
    void picturesAreShown()
    {
        QString all = Read(QStringLiteral(KORVO_SOURCE_DIR "/README.md"));
        for (const QString &page : Pages())
            all += Read(HelpDir + QLatin1Char('/') + page);
        const QStringList pictures = QDir(PictureDir).entryList({ QStringLiteral("*.png") }, QDir::Files);
        QVERIFY(!pictures.isEmpty());
        for (const QString &picture : pictures)
            QVERIFY2(all.contains(QLatin1String("screenshots/") + picture), qPrintable(picture + QLatin1String(" unused")));
    }

    void manualIsComplete()
    {
        int words = 0;
        for (const QString &page : Pages())
            words += Words(Read(HelpDir + QLatin1Char('/') + page));
        qInfo("%d words in %d pages", words, int(Pages().size()));
        QVERIFY2(words >= 10000, qPrintable(QString::number(words)));
    }
};

QTEST_MAIN(TestManual)
#include "test_manual.moc"
