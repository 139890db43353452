#include "platform/media/Artwork.h"

#include <QBuffer>
#include <QFile>
#include <QTest>
#include <malloc.h>
#include <sys/resource.h>

using namespace Qt::StringLiterals;

namespace {

QByteArray mediaFile(const char *name)
{
    QFile file(QStringLiteral(TEST_MEDIA "/") + QString::fromLatin1(name));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

double heapMebibytes()
{
    const struct mallinfo2 info = mallinfo2();
    return static_cast<double>(info.uordblks + info.hblkhd) / (1 << 20);
}

long peakKilobytes()
{
    rusage usage = {};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

bool isReddish(QColor colour)
{
    return colour.red() > 200 && colour.green() < 60 && colour.blue() < 60;
}

bool isBluish(QColor colour)
{
    return colour.blue() > 200 && colour.green() < 60 && colour.red() < 60;
}

} // namespace

class ArtworkTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void centredRegionCutsEvenly_data()
    {
        QTest::addColumn<QSize>("size");
        QTest::addColumn<QSize>("target");
        QTest::addColumn<QRect>("region");
        QTest::newRow("same") << QSize(50, 50) << QSize(10, 10) << QRect(0, 0, 50, 50);
        QTest::newRow("wide") << QSize(100, 50) << QSize(10, 10) << QRect(25, 0, 50, 50);
        QTest::newRow("high") << QSize(50, 100) << QSize(10, 10) << QRect(0, 25, 50, 50);
        QTest::newRow("wide target") << QSize(60, 60) << QSize(20, 10) << QRect(0, 15, 60, 30);
        QTest::newRow("thread") << QSize(1, 9000) << QSize(300, 100) << QRect(0, 4499, 1, 1);
    }
    void centredRegionCutsEvenly()
    {
        QFETCH(QSize, size);
        QFETCH(QSize, target);
        QTEST(centredRegion(size, target), "region");
    }

    void knowsTheFormatsByContent_data()
    {
        QTest::addColumn<QSize>("size");
        QTest::newRow("cover.jpg") << QSize(64, 64);
        QTest::newRow("cover.png") << QSize(48, 32);
        QTest::newRow("cover.webp") << QSize(40, 40);
        QTest::newRow("cover.gif") << QSize(20, 20);
        QTest::newRow("cover.bmp") << QSize(16, 12);
    }
    void knowsTheFormatsByContent()
    {
        const auto artwork = Artwork::decode(mediaFile(QTest::currentDataTag()));
        QVERIFY(artwork);
        QTEST(artwork->size(), "size");
        QCOMPARE(artwork->scaledToFill({24, 24}).size(), QSize(24, 24));
    }

    void bytesThatAreNoPictureAreNone_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("nothing") << QByteArray();
        QTest::newRow("text") << QByteArray("http://127.0.0.1/cover.jpg");
        QTest::newRow("vector drawing")
            << QByteArray("<svg xmlns='http://www.w3.org/2000/svg' width='9' height='9'/>");
        QTest::newRow("music") << mediaFile("song.mp3");
        QTest::newRow("broken JPEG") << mediaFile("broken.jpg");
        QTest::newRow("JPEG mark only") << QByteArray("\xff\xd8\xff\xe0");
        QTest::newRow("PNG mark only") << QByteArray("\x89PNG\r\n\x1a\n");
        QTest::newRow("bitmap mark only") << QByteArray("BM and what follows is a text");
    }
    void bytesThatAreNoPictureAreNone()
    {
        QFETCH(QByteArray, bytes);
        QVERIFY(!Artwork::decode(bytes));
    }

    void hugeClaimsAreRefusedWithoutMemory_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("huge.png") << mediaFile("huge.png");
        QTest::newRow("huge.jpg") << mediaFile("huge.jpg");
    }
    void hugeClaimsAreRefusedWithoutMemory()
    {
        QFETCH(QByteArray, bytes);
        QVERIFY(!bytes.isEmpty());
        const long before = peakKilobytes();
        QVERIFY(!Artwork::decode(bytes));
        QVERIFY(peakKilobytes() - before < 4096);
    }

    void pictureNearTheLimitIsDrawn()
    {
        QByteArray bytes;
        QBuffer buffer(&bytes);
        QImage large(7000, 7000, QImage::Format_RGB32);
        large.fill(Qt::green);
        QVERIFY(large.save(&buffer, "png"));
        large = {};
        const auto artwork = Artwork::decode(bytes);
        QVERIFY(artwork);
        QCOMPARE(artwork->scaledToFill({42, 42}).pixelColor(21, 21), QColor(Qt::green));
    }

    void damagedBodyGivesANullImage()
    {
        const auto artwork = Artwork::decode(mediaFile("damaged.png"));
        QVERIFY(artwork);
        QCOMPARE(artwork->size(), QSize(64, 64));
        QVERIFY(artwork->scaledToFill({32, 32}).isNull());
        QVERIFY(artwork->scaledToFill({32, 32}).isNull());
    }

    void emptyTargetGivesANullImage()
    {
        QVERIFY(Artwork::decode(mediaFile("cover.png"))->scaledToFill({}).isNull());
    }

    void overflowIsCutEvenlyOffBothSides()
    {
        const QImage image = Artwork::decode(mediaFile("halves.jpg"))->scaledToFill({32, 32});
        QCOMPARE(image.size(), QSize(32, 32));
        QVERIFY(isReddish(image.pixelColor(8, 16)));
        QVERIFY(isBluish(image.pixelColor(24, 16)));
    }

    void smallPictureIsScaledUp()
    {
        const QImage image = Artwork::decode(mediaFile("halves.jpg"))->scaledToFill({400, 200});
        QCOMPARE(image.size(), QSize(400, 200));
        QVERIFY(isReddish(image.pixelColor(180, 100)));
        QVERIFY(isBluish(image.pixelColor(220, 100)));
    }

    void orientationOfTheCameraIsRespected()
    {
        const auto artwork = Artwork::decode(mediaFile("halves-turned.jpg"));
        QCOMPARE(artwork->size(), QSize(48, 96));
        const QImage image = artwork->scaledToFill({48, 96});
        QCOMPARE(image.size(), QSize(48, 96));
        QVERIFY(isReddish(image.pixelColor(24, 20)));
        QVERIFY(isBluish(image.pixelColor(24, 76)));
    }

    void sameBytesAreKeptOnce()
    {
        const QByteArray bytes = mediaFile("cover.jpg");
        const QByteArray copy(bytes.constData(), bytes.size());
        const auto first = Artwork::decode(bytes);
        const auto second = Artwork::decode(copy);
        QVERIFY(copy.constData() != bytes.constData());
        QCOMPARE(second->encoded().constData(), first->encoded().constData());
    }

    void picturesThatDifferInOneByteAreNotTaken()
    {
        QByteArray bytes = mediaFile("cover.jpg");
        const auto first = Artwork::decode(bytes);
        bytes[bytes.size() - 3] = static_cast<char>(bytes[bytes.size() - 3] ^ 1);
        const auto second = Artwork::decode(bytes);
        QVERIFY(second);
        QVERIFY(second->encoded() != first->encoded());
    }

    void bytesAreFreedWithTheLastArtwork()
    {
        const QByteArray bytes = mediaFile("cover.png");
        QByteArray copy(bytes.constData(), bytes.size());
        auto artwork = Artwork::decode(copy);
        QVERIFY(!copy.isDetached());
        artwork.reset();
        QVERIFY(copy.isDetached());
    }

    void scaledPicturesAreKeptWithinABound()
    {
        const auto artwork = Artwork::decode(mediaFile("cover.bmp"));
        const QImage small = artwork->scaledToFill({100, 100});
        QCOMPARE(artwork->scaledToFill({100, 100}).cacheKey(), small.cacheKey());
        for (int side = 1000; side < 1012; ++side) // 48 MB in all
            QVERIFY(!artwork->scaledToFill({side, side}).isNull());
        QVERIFY(artwork->scaledToFill({100, 100}).cacheKey() != small.cacheKey());
    }

    void whatIsDecodedTakes32MebibytesAtMost()
    {
        const auto artwork = Artwork::decode(mediaFile("cover.bmp"));
        const double before = heapMebibytes();
        for (int side = 500; side < 600; ++side) // 115 MiB in all
            QVERIFY(!artwork->scaledToFill({side, side}).isNull());
        QVERIFY(heapMebibytes() - before < 33);
    }
};

QTEST_MAIN(ArtworkTest)
#include "ArtworkTest.moc"
