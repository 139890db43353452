#include "metadata/PictureDecoder.h"
#include "tests/MediaFile.h"
#include "tests/NumberBytes.h"
#include "tests/TaggedFile.h"
#include "tests/TestProgram.h"

#include <limits>

using namespace Qt::StringLiterals;

namespace {

/// Red, blue, green and white quarters, row by row.
QImage quartersImage()
{
    QImage image(48, 32, QImage::Format_RGB32);
    for (int y = 0; y < 32; ++y) {
        for (int x = 0; x < 48; ++x)
            image.setPixelColor(x, y,
                y < 16       ? (x < 24 ? Qt::red : Qt::blue)
                    : x < 24 ? Qt::green
                             : Qt::white);
    }
    return image;
}

QByteArray quarters(const char *format)
{
    return encoded(quartersImage(), format, 100);
}

QChar nameOf(const QColor &colour)
{
    const bool red = colour.red() > 128, green = colour.green() > 128, blue = colour.blue() > 128;
    return red ? (green && blue ? u'w' : u'r') : green ? u'g' : u'b';
}

/// Exif data of two tags, the second of which is the orientation.
QByteArray exifWithOrientation(quint16 orientation, bool isBigEndian)
{
    const auto number = [&]<typename T>(
                            T value) { return isBigEndian ? bigEndian<T>(value) : littleEndian<T>(value); };
    const auto entry = [&](quint16 tag, quint16 value) {
        return number(tag) + number(quint16(3)) + number(quint32(1)) + number(value) + number(quint16(0));
    };
    return (isBigEndian ? QByteArray("MM") : QByteArray("II")) + number(quint16(42)) + number(quint32(8))
        + number(quint16(2)) + entry(0x0103, 6) + entry(0x0112, orientation) + number(quint32(0));
}

QByteArray jpegWithExif(const QByteArray &jpeg, const QByteArray &exif)
{
    const QByteArray content = QByteArray("Exif\0\0", 6) + exif;
    return jpeg.first(2) + "\xff\xe1" + bigEndian<quint16>(content.size() + 2) + content + jpeg.sliced(2);
}

QByteArray pngWithExif(const QByteArray &png, const QByteArray &exif)
{
    constexpr qsizetype header = 8 + 25;
    return png.first(header) + bigEndian(exif.size()) + "eXIf" + exif + "sums" + png.sliced(header);
}

QByteArray riffChunk(const char *kind, const QByteArray &content)
{
    return kind + littleEndian(content.size()) + content + QByteArray(content.size() % 2, '\0');
}

QByteArray riff(const QByteArray &chunks)
{
    return riffChunk("RIFF", "WEBP" + chunks);
}

QByteArray webpWithExif(const QByteArray &webp, const QByteArray &exif)
{
    return riff(riffChunk("VP8X", QByteArray("\x08\0\0\0\x2f\0\0\x1f\0\0", 10)) + webp.sliced(12)
        + riffChunk("EXIF", exif));
}

QByteArray animatedWebp(const QList<QByteArray> &frames)
{
    QByteArray chunks = riffChunk("VP8X", QByteArray("\x02\0\0\0\x2f\0\0\x1f\0\0", 10))
        + riffChunk("ANIM", QByteArray(6, '\0'));
    for (const QByteArray &frame : frames)
        chunks +=
            riffChunk("ANMF", QByteArray("\0\0\0\0\0\0\x2f\0\0\x1f\0\0\x64\0\0\0", 16) + frame.sliced(12));
    return riff(chunks);
}

QImage decoded(const QByteArray &bytes, QSize pixels)
{
    return decodedPicture(bytes, pixels, false);
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

class PictureDecoderTest : public QObject {
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
        QTest::addColumn<QColor>("colour");
        QTest::newRow("cover.jpg") << QSize(64, 64) << QColor(255, 165, 0);
        QTest::newRow("cover.png") << QSize(48, 32) << QColor(0, 128, 0);
        QTest::newRow("cover.webp") << QSize(40, 40) << QColor(128, 0, 128);
        QTest::newRow("cover.gif") << QSize(20, 20) << QColor(255, 255, 0);
        QTest::newRow("cover.bmp") << QSize(16, 12) << QColor(0, 255, 255);
    }
    void knowsTheFormatsByContent()
    {
        QFETCH(QColor, colour);
        const QByteArray bytes = mediaFile(QTest::currentDataTag());
        const auto picture = readPicture(bytes);
        QVERIFY(picture);
        QTEST(picture->uprightSize(), "size");
        const QImage image = decoded(bytes, {24, 24});
        QCOMPARE(image.size(), QSize(24, 24));
        const QColor shown = image.pixelColor(12, 12);
        const auto isNear = [](int a, int b) { return std::abs(a - b) < 12; };
        QVERIFY2(isNear(shown.red(), colour.red()) && isNear(shown.green(), colour.green())
                && isNear(shown.blue(), colour.blue()),
            qPrintable(shown.name()));
    }

    void headersTellSizeAndMemory_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QSize>("size"); // empty if it is no picture
        QTest::addColumn<qint64>("memory");
        const QSize size(100, 50), none;
        const auto row = [](const char *name, const QByteArray &bytes, QSize pixels, qint64 memory) {
            QTest::newRow(name) << bytes << pixels << memory;
        };
        const auto jpeg = [](const QByteArray &frame, const QByteArray &scan) {
            return QByteArray::fromHex("ffd8" + frame + scan);
        };
        constexpr qint64 jpegMemory = 8 << 20, coefficients = 7 * 4 * 5 * 64 * 2;
        const QByteArray frame = "0011080032006403012100021100031200", scan = "ffda000c03010002000300003f00";
        row("JPEG", jpeg("ffc0" + frame, scan), size, jpegMemory);
        row("JPEG, extended", jpeg("ffc1" + frame, scan), size, jpegMemory);
        row("JPEG, progressive", jpeg("ffc2" + frame, scan), size, jpegMemory + coefficients);
        row("JPEG, plane by plane", jpeg("ffc0" + frame, "ffda0008010100003f00"), size,
            jpegMemory + coefficients);
        row("JPEG, filled up", jpeg("ffffffc0" + frame, scan), size, jpegMemory);
        row("JPEG, frame cut off", jpeg("ffc0000b0800320064020121", scan), none, 0);
        row("JPEG, lossless", jpeg("ffc3" + frame, scan), none, 0);
        row("JPEG, scan cut off", jpeg("ffc0" + frame, scan.first(8)), none, 0);

        const auto bmp = [&](int header, const QByteArray &sides) {
            return ("BM" + QByteArray(12, 'x') + littleEndian(header) + sides).leftJustified(54, 'x');
        };
        for (const int header : {40, 64, 108, 124})
            row(qPrintable(u"BMP, %1"_s.arg(header)), bmp(header, littleEndian(100) + littleEndian(50)), size,
                20'000);
        row("BMP, 52", bmp(52, littleEndian(100) + littleEndian(50)), none, 0);
        row("BMP, old", bmp(12, littleEndian<qint16>(100) + littleEndian<qint16>(-50)), size, 20'000);
        const auto tall = [&](int height) { return bmp(40, littleEndian(1) + littleEndian(height)); };
        row("BMP, as tall as may be", tall(-16'384), {1, 16'384}, 65'536);
        row("BMP, too tall", tall(-16'385), none, 0);
        row("BMP, tallest", tall(std::numeric_limits<int>::min()), none, 0);
        row("BMP, cut off", bmp(40, littleEndian(100) + littleEndian(50)).chopped(1), none, 0);

        const QByteArray sides = littleEndian<quint16>(100) + littleEndian<quint16>(50);
        row("GIF", "GIF89a" + sides + "xxx", size, 20'000);
        row("GIF, cut off", "GIF89a" + sides + "xx", none, 0);

        const auto png = [](char depth, QSize pixels) {
            return "\x89PNG\r\n\x1a\n" + bigEndian(13) + "IHDR" + bigEndian(pixels.width())
                + bigEndian(pixels.height()) + depth + "xxxxxxxx";
        };
        row("PNG", png(8, size), size, 20'000);
        row("PNG, 16 bits", png(16, size), size, 40'000);
        constexpr QSize large(4096, 3071); // a row less than 96 MiB
        row("PNG, as much memory as may be", png(16, large), large, (96 << 20) - 32'768);
        row("PNG, too much memory", png(16, {4096, 3072}), none, 0);

        const QByteArray lossy = "xxx\x9d\x01\x2a" + sides, lossless = "\x2f" + littleEndian(49 << 14 | 99);
        row("WebP", riff(riffChunk("VP8 ", lossy)), size, 20'000 + 30);
        row("WebP, scaled",
            riff(riffChunk("VP8 ", QByteArray(lossy).replace(7, 1, "\x40").replace(9, 1, "\x80"))), size,
            20'000 + 30);
        row("WebP, cut off", riff(riffChunk("VP8 ", lossy.chopped(1))), none, 0);
        row("WebP, no key frame", riff(riffChunk("VP8 ", QByteArray(lossy).replace(3, 1, "x"))), none, 0);
        row("WebP, transparent", riff(riffChunk("ALPH", "xx") + riffChunk("VP8 ", lossy)), size, 45'000 + 40);
        row("WebP, lossless", riff(riffChunk("VP8L", lossless)), size, 45'000 + 26);
        row("WebP, lossless, cut off", riff(riffChunk("VP8L", lossless.chopped(1))), none, 0);
        row("WebP, lossless, other mark", riff(riffChunk("VP8L", "x" + lossless.sliced(1))), none, 0);
    }
    void headersTellSizeAndMemory()
    {
        QFETCH(QByteArray, bytes);
        const EncodedPicture picture = readPicture(bytes).value_or(EncodedPicture());
        QTEST(picture.size, "size");
        QTEST(picture.decodingMemory, "memory");
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
        QTest::newRow("WebP mark only") << QByteArray("RIFF\4\0\0\0WEBP", 12);
        QTest::newRow("WebP in another RIFF") << mediaFile("cover.webp").replace(8, 4, "WAVE");
        QTest::newRow("WebP in another frame") << mediaFile("cover.webp").replace(0, 4, "RIFX");
        QTest::newRow("GIF mark only") << QByteArray("GIF89a");
        QTest::newRow("bitmap mark only") << QByteArray("BM and what follows is a text");
        QTest::newRow("bitmap with a text for a header")
            << "BM" + QByteArray("and what follows is a longer text").repeated(4);
    }
    void bytesThatAreNoPictureAreNone()
    {
        QFETCH(QByteArray, bytes);
        QVERIFY(!readPicture(bytes));
        QVERIFY(decoded(bytes, {42, 42}).isNull());
    }

    void damagedBodyGivesANullImage()
    {
        const QByteArray bytes = mediaFile("damaged.png");
        QCOMPARE(readPicture(bytes)->size, QSize(64, 64));
        QVERIFY(decoded(bytes, {32, 32}).isNull());
    }

    void emptyTargetGivesANullImage() { QVERIFY(decoded(mediaFile("cover.png"), {}).isNull()); }

    void abandonedPictureIsNull()
    {
        QVERIFY(decodedPicture(mediaFile("cover.png"), {9, 9}, true).isNull());
        QVERIFY(decodedPicture(mediaFile("cover.jpg"), {9, 9}, true).isNull());
        QVERIFY(decodedPicture(mediaFile("cover.jpg"), {9, 9}, false, std::chrono::seconds(0)).isNull());
    }

    void overflowIsCutEvenlyOffBothSides_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("jpeg") << mediaFile("halves.jpg");
        QTest::newRow("png") << encoded(QImage::fromData(mediaFile("halves.jpg")), "PNG");
        QTest::newRow("large jpeg") << encoded(
            QImage::fromData(mediaFile("halves.jpg")).scaled(1501, 755), "JPEG");
        QTest::newRow("large png") << encoded(
            QImage::fromData(mediaFile("halves.jpg")).scaled(1501, 755), "PNG");
    }
    void overflowIsCutEvenlyOffBothSides()
    {
        QFETCH(QByteArray, bytes);
        const QImage image = decoded(bytes, {32, 32});
        QCOMPARE(image.size(), QSize(32, 32));
        for (const int y : {1, 16, 30}) {
            QVERIFY(isReddish(image.pixelColor(1, y)) && isReddish(image.pixelColor(13, y)));
            QVERIFY(isBluish(image.pixelColor(18, y)) && isBluish(image.pixelColor(30, y)));
        }
    }

    void smallPictureIsScaledUp()
    {
        const QImage image = decoded(mediaFile("halves.jpg"), {400, 200});
        QCOMPARE(image.size(), QSize(400, 200));
        QVERIFY(isReddish(image.pixelColor(180, 100)));
        QVERIFY(isBluish(image.pixelColor(220, 100)));
    }

    void paletteIsKept()
    {
        QImage image(90, 90, QImage::Format_Indexed8);
        image.setColorTable({qRgb(0, 0, 255), qRgb(255, 0, 0)});
        image.fill(1);
        QCOMPARE(decoded(encoded(image, "PNG"), {30, 30}).pixelColor(15, 15), QColor(Qt::red));
    }

    void transparencyIsKept()
    {
        QImage image(90, 90, QImage::Format_ARGB32);
        image.fill(QColor(255, 0, 0, 128));
        QImage withPalette(90, 90, QImage::Format_Indexed8);
        withPalette.setColorTable({qRgb(0, 0, 255), qRgba(255, 0, 0, 128)});
        withPalette.fill(1);
        for (const QByteArray &bytes :
            {encoded(image, "PNG"), encoded(image, "WEBP"), encoded(withPalette, "PNG")}) {
            for (const int side : {30, 60}) { // a whole ratio, and none
                const QColor shown = decoded(bytes, {side, side}).pixelColor(15, 15);
                QVERIFY2(std::abs(shown.alpha() - 128) < 4 && shown.red() > 240, bytes.left(4));
            }
        }
    }

    void pictureStandsUpright_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("quarters"); // of the upright picture, row by row
        const char *const upright[] = {
            "rbgw", "rbgw", "brwg", "wgbr", "gwrb", "rgbw", "grwb", "wbgr", "bwrg"};
        for (quint8 orientation = 1; orientation <= 8; ++orientation) {
            for (const bool isBigEndian : {false, true}) {
                const QByteArray exif = exifWithOrientation(orientation, isBigEndian);
                const auto name = [&](const char *format) {
                    return QByteArray(format) + (isBigEndian ? " MM " : " II ")
                        + QByteArray::number(orientation);
                };
                const QString expected = QString::fromLatin1(upright[orientation]);
                QTest::newRow(name("JPEG")) << jpegWithExif(quarters("JPEG"), exif) << expected;
                QTest::newRow(name("PNG")) << pngWithExif(quarters("PNG"), exif) << expected;
                QTest::newRow(name("WebP")) << webpWithExif(quarters("WEBP"), exif) << expected;
            }
        }
        QTest::newRow("unknown") << jpegWithExif(quarters("JPEG"), exifWithOrientation(15, true))
                                 << u"rbgw"_s;
        QTest::newRow("not there") << jpegWithExif(quarters("JPEG"), "MM") << u"rbgw"_s;
        QTest::newRow("cut off") << jpegWithExif(quarters("JPEG"), exifWithOrientation(6, true).first(16))
                                 << u"rbgw"_s;
    }
    void pictureStandsUpright()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(QString, quarters);
        const QSize size = readPicture(bytes)->uprightSize();
        const bool isTurned = quarters.startsWith(u"rg") || quarters.startsWith(u"gr")
            || quarters.startsWith(u"wb") || quarters.startsWith(u"bw");
        QCOMPARE(size, isTurned ? QSize(32, 48) : QSize(48, 32));
        const QImage image = decoded(bytes, size);
        QCOMPARE(image.size(), size);
        QString seen;
        for (const int y : {size.height() / 4, size.height() * 3 / 4}) {
            for (const int x : {size.width() / 4, size.width() * 3 / 4})
                seen += nameOf(image.pixelColor(x, y));
        }
        QCOMPARE(seen, quarters);
    }

    void bitmapThatIsStoredFromTheTopIsDrawnSo()
    {
        QByteArray bytes = encoded(quartersImage(), "BMP");
        const auto height = qFromLittleEndian<qint32>(bytes.constData() + 22);
        bytes.replace(22, 4, littleEndian<qint32>(-height));
        QCOMPARE(readPicture(bytes)->size, QSize(48, 32));
        const QImage image = decoded(bytes, {48, 32});
        QCOMPARE(image, decoded(encoded(quartersImage().mirrored(), "BMP"), {48, 32}));
        QCOMPARE(nameOf(image.pixelColor(12, 8)), u'g');
    }

    void firstFrameOfAnAnimationIsDrawn()
    {
        const QByteArray still = quarters("WEBP");
        const QByteArray bytes = animatedWebp({still, encoded(QImage(48, 32, QImage::Format_RGB32), "WEBP")});
        QCOMPARE(readPicture(bytes)->size, QSize(48, 32));
        QCOMPARE(decoded(bytes, {48, 32}), decoded(still, {48, 32}));
    }
};

LUMAVERDINE_TEST(PictureDecoderTest)
#include "PictureDecoderTest.moc"
