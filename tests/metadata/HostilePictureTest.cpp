#include "metadata/PictureDecoder.h"
#include "tests/NumberBytes.h"
#include "tests/TaggedFile.h"
#include "tests/TestProgram.h"

#include <QImageWriter>
#include <QProcess>
#include <functional>

using namespace Qt::StringLiterals;

namespace {

// How they are made

QImage flatImage(QSize size, QImage::Format format = QImage::Format_RGB32)
{
    QImage image(size, format);
    image.fill(Qt::gray);
    return image;
}

QByteArray deflated(qsizetype size, char byte = '\0')
{
    return qCompress(QByteArray(size, byte), 9).sliced(4);
}

quint32 checksum(const QByteArray &bytes)
{
    quint32 sum = ~0U;
    for (const char byte : bytes) {
        sum ^= quint8(byte);
        for (int bit = 0; bit < 8; ++bit)
            sum = sum >> 1 ^ (sum & 1 ? 0xEDB88320U : 0);
    }
    return ~sum;
}

QByteArray pngChunk(const char *kind, const QByteArray &content)
{
    const QByteArray named = kind + content;
    return bigEndian(content.size()) + named + bigEndian(checksum(named));
}

struct Png {
    QSize size{64, 64};
    char depth = 8; // bits
    char colour = 2; // RGB
    int bytesPerPixel = 3;
    bool isInterlaced = false;
    QByteArray extra = {}; // chunks before those of the pixels
};

/// Black all over.
QByteArray encoded(const Png &png)
{
    const qsizetype line = 2 + qsizetype(png.size.width()) * png.bytesPerPixel; // a passes' lines are shorter
    const QByteArray header = bigEndian(png.size.width()) + bigEndian(png.size.height()) + png.depth
        + png.colour + QByteArray(2, '\0') + char(png.isInterlaced);
    return "\x89PNG\r\n\x1a\n" + pngChunk("IHDR", header) + png.extra
        + pngChunk("IDAT", deflated(line * (png.size.height() + 8))) + pngChunk("IEND", {});
}

QByteArray jpeg(QSize size, bool isProgressive, QImage::Format format = QImage::Format_RGB32)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    QImageWriter writer(&buffer, "jpeg");
    writer.setProgressiveScanWrite(isProgressive);
    if (!writer.write(flatImage(size, format)))
        qFatal("The picture cannot be encoded.");
    return bytes;
}

/// A progressive picture whose last scan comes `count` times.
QByteArray jpegWithScans(QSize size, int count)
{
    const QByteArray bytes = jpeg(size, true);
    const qsizetype last = bytes.lastIndexOf("\xff\xda");
    const qsizetype end = bytes.lastIndexOf("\xff\xd9");
    return bytes.first(last) + bytes.sliced(last, end - last).repeated(count) + bytes.sliced(end);
}

/// A picture whose first scan has one of three colours only.
QByteArray jpegInPlanes(QSize size)
{
    QByteArray bytes = jpeg(size, false);
    const qsizetype scan = bytes.indexOf("\xff\xda");
    return bytes.first(scan) + QByteArray("\xff\xda\0\x08\1\1\0\0\x3f\0", 10) + bytes.sliced(scan + 14);
}

QByteArray jpegWithSegments(char marker, const QByteArray &begin, int count)
{
    const QByteArray bytes = jpeg({64, 64}, false);
    const QByteArray segment = "\xff" + QByteArray(1, marker) + "\xff\xff" + begin.leftJustified(65533, 'x');
    return bytes.first(2) + segment.repeated(count) + bytes.sliced(2);
}

QByteArray chunk(const char *kind, const QByteArray &content)
{
    return kind + littleEndian(content.size()) + content + QByteArray(content.size() % 2, '\0');
}

/// The head of an extended WebP with these flags, of 16,384 pixels a side.
QByteArray extendedHead(char flags)
{
    return chunk("VP8X", flags + QByteArray("\0\0\0\xff\x3f\0\xff\x3f\0", 9));
}

QByteArray webp(const QByteArray &chunks)
{
    return chunk("RIFF", "WEBP" + chunks);
}

QByteArray frameOf(const QByteArray &still)
{
    return chunk("ANMF", QByteArray(16, '\0') + still.sliced(12));
}

QByteArray losslessHeader(quint32 width, quint32 height)
{
    return webp(
        chunk("VP8L", "\x2f" + littleEndian((height - 1) << 14 | (width - 1)) + QByteArray(64, '\0')));
}

QImage transparentImage(QSize size)
{
    QImage image = flatImage(size, QImage::Format_ARGB32);
    for (int y = 0; y < size.height(); y += 7)
        image.setPixelColor(y % size.width(), y, QColor(10, 200, 30, y % 255));
    return image;
}

/// One pixel on a screen of this size.
QByteArray gif(quint16 width, quint16 height)
{
    return "GIF89a" + littleEndian(quint32(height) << 16 | width)
        + QByteArray("\x80\0\0\0\0\0\xff\xff\xff", 9)
        + QByteArray("\x2c\0\0\0\0\1\0\1\0\0\2\2\x44\1\0\x3b", 16);
}

/// A header, a palette of 256 colours and few pixels.
QByteArray bmp(qint32 width, qint32 height, char depth, char compression)
{
    const QByteArray content = littleEndian(40) + littleEndian(width) + littleEndian(height)
        + QByteArray("\1\0", 2) + depth + '\0' + compression + QByteArray(23, '\0') + QByteArray(1024, 'x');
    return "BM" + littleEndian(0) + littleEndian(0) + littleEndian(14 + quint32(content.size())) + content
        + QByteArray("\x09\1", 2).repeated(500);
}

} // namespace

/// Whatever a picture says: no more than 100 MiB of memory, no longer than 3 seconds.
class HostilePictureTest : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_folder;

private Q_SLOTS:
    void takesNoMoreThanItMay_data()
    {
        QTest::addColumn<std::function<QByteArray()>>("make");
        QTest::addColumn<QByteArray>("answer");
        QTest::addColumn<QString>("sound"); // a picture of the same format
        const auto row = [](const char *name, const char *answer, const std::function<QByteArray()> &make) {
            const QByteArray format = QByteArray(name).split(',').first().toLower();
            QTest::newRow(name) << make << QByteArray(answer)
                                << (format == "jpeg" ? u"cover.jpg"_s
                                                     : u"cover."_s + QString::fromLatin1(format));
        };
        constexpr QSize most(4000, 4000), more(4001, 4000);
        constexpr qsizetype large = 20'000'000;

        const auto withChunk = [](const char *kind, const QByteArray &begin, int count) {
            return encoded(Png{.extra = pngChunk(kind, begin + deflated(large / 4, 'A')).repeated(count)});
        };
        row("PNG, inflating texts", "drawn", [=] { return withChunk("zTXt", {"a\0\0", 3}, 50); });
        row("PNG, inflating long text", "drawn", [=] { return withChunk("iTXt", {"a\0\1\0\0\0", 6}, 50); });
        row("PNG, inflating profile", "drawn", [=] { return withChunk("iCCP", {"a\0\0", 3}, 1); });
        row("PNG, long Exif data", "drawn",
            [=] { return encoded(Png{.extra = pngChunk("eXIf", "MM" + QByteArray(large, '\0'))}); });
        row("PNG, 16 Mpx", "drawn", [=] { return encoded(Png{most}); });
        row("PNG, 16 Mpx, interlaced", "drawn", [=] {
            return encoded(Png{.size = most, .colour = 6, .bytesPerPixel = 4, .isInterlaced = true});
        });
        row("PNG, over 16 Mpx", "refused", [=] { return encoded(Png{more}); });
        row("PNG, 11 Mpx, 16 bits", "drawn", [=] {
            return encoded(Png{.size = {3300, 3300}, .depth = 16, .colour = 6, .bytesPerPixel = 8});
        });
        row("PNG, 16 Mpx, 16 bits", "refused",
            [=] { return encoded(Png{.size = most, .depth = 16, .colour = 6, .bytesPerPixel = 8}); });
        row("PNG, a thread", "drawn", [=] { return encoded(Png{{16'384, 1}}); });
        row("PNG, too long a thread", "refused", [=] { return encoded(Png{{16'385, 1}}); });

        row("JPEG, 50 Mpx", "drawn", [=] { return jpeg({7071, 7071}, false); });
        row("JPEG, over 50 Mpx", "refused", [=] { return jpeg({7072, 7072}, false); });
        row("JPEG, 50 Mpx, progressive", "refused", [=] { return jpeg({7071, 7071}, true); });
        row("JPEG, 50 Mpx, plane by plane", "refused", [=] { return jpegInPlanes({7071, 7071}); });
        row("JPEG, 64 MiB of coefficients", "drawn", [=] {
            return jpeg({5792, 5792}, true, QImage::Format_Grayscale8);
        });
        row("JPEG, more than 64 MiB of coefficients", "refused", [=] {
            return jpeg({5792, 5793}, true, QImage::Format_Grayscale8);
        });
        row("JPEG, 400 Mpx scanned", "drawn", [=] { return jpegWithScans({2000, 2000}, 91); });
        row("JPEG, more than 400 Mpx scanned", "refused", [=] { return jpegWithScans({2000, 2000}, 92); });
        row("JPEG, scanned 500 times", "refused", [=] { return jpegWithScans({4000, 4000}, 500); });
        row("JPEG, long profile", "drawn", [=] { return jpegWithSegments('\xe2', "ICC_PROFILE", 400); });
        row("JPEG, much for applications", "drawn", [=] { return jpegWithSegments('\xe1', "Exif", 400); });
        row("JPEG, long comments", "drawn", [=] { return jpegWithSegments('\xfe', {}, 400); });

        row("WebP, 16 Mpx", "drawn", [=] { return encoded(flatImage(most), "WEBP", 50); });
        row("WebP, over 16 Mpx", "refused", [=] { return encoded(flatImage(more), "WEBP", 50); });
        row("WebP, 10 Mpx, lossless", "drawn", [=] { return encoded(flatImage({3200, 3200}), "WEBP", 100); });
        row("WebP, 16 Mpx, lossless", "refused", [=] { return losslessHeader(4000, 4000); });
        row("WebP, 10 Mpx, transparent", "drawn", [=] {
            return encoded(transparentImage({3200, 3200}), "WEBP", 50);
        });
        row("WebP, animated on a large screen", "drawn", [=] {
            const QByteArray frame = frameOf(encoded(flatImage({64, 64}), "WEBP"));
            return webp(extendedHead('\x02') + chunk("ANIM", QByteArray(6, '\0')) + frame.repeated(1000));
        });
        row("WebP, long profile and texts", "drawn", [=] {
            const QByteArray content = QByteArray(large / 3, 'x');
            return webp(extendedHead('\x2c') + chunk("ICCP", content)
                + encoded(flatImage({64, 64}), "WEBP").sliced(12) + chunk("EXIF", content)
                + chunk("XMP ", content));
        });

        row("GIF, 16 Mpx", "drawn", [=] { return gif(4000, 4000); });
        row("GIF, over 16 Mpx", "refused", [=] { return gif(4001, 4000); });

        row("BMP, 16 Mpx", "drawn", [=] { return bmp(4000, 4000, 8, 1); });
        row("BMP, over 16 Mpx", "refused", [=] { return bmp(4001, 4000, 8, 1); });
        row("BMP, over 16 Mpx, from the top", "refused", [=] { return bmp(4001, -4000, 8, 1); });
        row("BMP, no height", "refused", [=] { return bmp(4000, std::numeric_limits<qint32>::min(), 8, 1); });

        row("PNG, 32 MiB", "drawn", [=] {
            return encoded(flatImage({64, 64}), "PNG").leftJustified(32 << 20, 'x');
        });
        row("PNG, more than 32 MiB", "refused", [=] {
            return encoded(flatImage({64, 64}), "PNG").leftJustified((32 << 20) + 1, 'x');
        });
    }
    void takesNoMoreThanItMay()
    {
        using Make = std::function<QByteArray()>;
        QFETCH(Make, make);
        QFETCH(QByteArray, answer);
        QFile file(m_folder.filePath(u"picture"_s));
        QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(make()) > 0);
        file.close();

        QFETCH(QString, sound);
        QProcess child;
        child.start(
            QStringLiteral(DECODE_PICTURE), {QStringLiteral(TEST_MEDIA "/") + sound, file.fileName()});
        QVERIFY(child.waitForFinished(120'000));
        QCOMPARE(child.exitCode(), 0);
        const QByteArrayList said = child.readAllStandardOutput().trimmed().split(' ');
        QCOMPARE(said.size(), 3);
        QCOMPARE(said[0], answer);
        QVERIFY2(said[2].toInt() <= 3000, said[2] + " ms");
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
        QVERIFY2(said[1].toInt() <= 100 * 1024, said[1] + " KiB");
#endif
    }

    void inputEndsWhenItsTimeIsUp()
    {
        const QByteArray bytes = encoded(Png());
        const auto picture = readPicture(bytes);
        std::atomic<bool> isAbandoned = false;
        PictureInput endless(*picture, QDeadlineTimer(QDeadlineTimer::Forever), isAbandoned);
        QCOMPARE(endless.read(8), bytes.first(8));
        QCOMPARE(endless.readAll(), bytes.sliced(8));
        QVERIFY(!endless.isCutOff());

        PictureInput late(*picture, QDeadlineTimer(0), isAbandoned);
        QVERIFY(late.read(8).isEmpty() && late.isCutOff());

        PictureInput abandoned(*picture, QDeadlineTimer(QDeadlineTimer::Forever), isAbandoned);
        QCOMPARE(abandoned.read(8), bytes.first(8));
        isAbandoned = true;
        QVERIFY(abandoned.read(8).isEmpty() && abandoned.isCutOff());
    }

    void decoderSeesOnlyWhatDrawsThePicture()
    {
        const QByteArray plain = encoded(Png());
        const QByteArray text = pngChunk("tEXt", "a secret"), end = pngChunk("IEND", {});
        QByteArray bytes = encoded(Png{.extra = text});
        bytes.insert(bytes.size() - end.size(), text);
        const auto picture = readPicture(bytes);
        const std::atomic<bool> isAbandoned = false;
        PictureInput input(*picture, QDeadlineTimer(QDeadlineTimer::Forever), isAbandoned);
        QCOMPARE(input.size(), plain.size());
        QCOMPARE(input.readAll(), plain);
        QVERIFY(input.seek(40));
        QCOMPARE(input.readAll(), plain.sliced(40));
    }
};

LUMAVERDINE_TEST(HostilePictureTest)
#include "HostilePictureTest.moc"
