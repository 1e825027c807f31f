#include "KORVOIconImages.h"

#include <QHash>
#include <QImage>
#include <QTest>

namespace
{

QImage Render(const QIcon &icon, int size = 16)
{
    return icon.pixmap(QSize(size, size), 1.0).toImage().convertToFormat(QImage::Format_ARGB32);
}

QByteArray Bytes(const QImage &image)
{
    return QByteArray(reinterpret_cast<const char *>(image.constBits()), image.sizeInBytes());
}

bool IsBlank(const QImage &image)
{
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            if (qAlpha(image.pixel(x, y)) != 0)
                return false;
    return true;
}

} // namespace

class TestIconImages : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        KORVOInitIconTheme();
        // Which names draw which picture, to find two names that look alike.
        for (const QString &name : KORVOIconNames())
            mNamesByPicture[Bytes(Render(KORVOIconImage(name), 24))] << name;
    }

    void everyNameHasAPictureOfItsOwn_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("kind");
        for (const QString &name : KORVOIconNames())
            QTest::newRow(qPrintable(name)) << name << QStringLiteral("icon");
        for (const QString &word : KORVOActionNames())
            QTest::newRow(qPrintable(QStringLiteral("action ") + word)) << word << QStringLiteral("action");
        for (const char *name : { "", "NOSUCHICON", "STOREDPROCEDURE:CHECKEDSIDEWAYS", "VIEW:INSERT", "TABLES:NEW",
                                  "ADD", "ADD:X", "NRM:L", "ADD:L:B:LTR", "ADD:L:R:TOP", "CNG:R:G" })
            QTest::newRow(name) << QString::fromLatin1(name) << QStringLiteral("unknown");
    }

    void everyNameHasAPictureOfItsOwn()
    {
        QFETCH(QString, name);
        QFETCH(QString, kind);
        const QImage unknown = Render(KORVOIconImage(QStringLiteral("-")));
        if (kind == QLatin1String("unknown")) {
            QCOMPARE(Render(KORVOIconImage(name)), unknown);
            return;
        }
        const QIcon icon = kind == QLatin1String("action") ? KORVOActionIcon(name) : KORVOIconImage(name);
        QVERIFY(!icon.isNull());
        const QImage picture = Render(icon);
        QVERIFY(!IsBlank(picture));
        if (kind == QLatin1String("action")) {
            QCOMPARE(KORVOActionIcon(name.toUpper()).cacheKey(), icon.cacheKey());
            return;
        }
        QCOMPARE(Render(KORVOIconImage(name.toLower())), picture);
        // On a screen of twice the density the picture is drawn with twice the pixels.
        const QPixmap dense = icon.pixmap(QSize(16, 16), 2.0);
        QCOMPARE(dense.size(), QSize(32, 32));
        QCOMPARE(dense.devicePixelRatio(), 2.0);
        if (name != QLatin1String("-"))
            QVERIFY2(picture != unknown, "draws the picture of an unknown name");
        // Composed pictures of different types and states, and all other names, look different.
        const QStringList alike = mNamesByPicture.value(Bytes(Render(icon, 24)));
        QVERIFY2(alike == QStringList{ name }, qPrintable(alike.join(QStringLiteral(", "))));
    }

private:
    QHash<QByteArray, QStringList> mNamesByPicture;
};

QTEST_MAIN(TestIconImages)
#include "test_iconimages.moc"
