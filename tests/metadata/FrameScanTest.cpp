#include "metadata/FormatReaders.h"
#include "tests/NumberBytes.h"
#include "tests/TestProgram.h"

#include <QTemporaryFile>
#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

/// An MPEG audio frame with nothing behind its header.
QByteArray frame(quint32 header, int size)
{
    QByteArray bytes(size, '\0');
    for (int i = 0; i < 4; ++i)
        bytes[i] = static_cast<char>(header >> (24 - 8 * i));
    return bytes;
}

/// MPEG-1 layer III at 44,100 Hz: 1,152 samples, 128 kbit/s in 417 bytes or 320 kbit/s in 1,044.
const QByteArray Slow = frame(0xFFFB'9000, 417);
const QByteArray Fast = frame(0xFFFB'E000, 1044);

/// ADTS AAC-LC at 48,000 Hz: 1,024 samples in 32 bytes.
const QByteArray Adts("\xff\xf1\x4c\x80\x04\x00\xfc\x00"
                      "........................",
    32);

/// Zeros fill the stream up to `size`.
MediaTime scanned(const QByteArray &bytes, qint64 size = 0)
{
    QTemporaryFile file;
    if (!file.open() || file.write(bytes) != bytes.size() || !file.flush())
        qFatal("The temporary folder is not writable.");
    file.resize(std::max<qint64>(size, bytes.size()));
    MediaSource source(file.handle());
    return scannedDuration(source);
}

QByteArray withText(QByteArray frame, qsizetype offset, const QByteArray &text)
{
    return frame.replace(offset, text.size(), text);
}

} // namespace

/// The length of streams that have no container.
class FrameScanTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void countsSamples_data()
    {
        QTest::addColumn<QByteArray>("stream");
        QTest::addColumn<double>("samples");
        QTest::addColumn<double>("tolerance");
        QTest::addColumn<int>("rate");

        QTest::newRow("constant rate") << Slow.repeated(1000) << 1152e3 << 1152.0 * 3 << 44100;
        QTest::newRow("constant rate, by its size")
            << Slow.repeated(1000) + QByteArray(3000, 'x') << 420e3 * 8 * 44'100 / 128'000 << 0.5 << 44100;
        QTest::newRow("another rate at the first eighth")
            << Slow.repeated(100) + Fast.repeated(5) + Slow.repeated(700) << 1152.0 * 805 << 0.0 << 44100;
        QTest::newRow("another rate at the last eighth")
            << Slow.repeated(708) + Fast.repeated(5) + Slow.repeated(92) << 1152.0 * 805 << 0.0 << 44100;
        QTest::newRow("nothing behind")
            << Slow.repeated(200) + QByteArray(900'000, '\0') << 1152.0 * 200 << 0.0 << 44100;
        QTest::newRow("three frames") << Slow.repeated(3) << 1152.0 * 3 << 0.0 << 44100;
        const QByteArray junk(100, 'x');
        QTest::newRow("lost too often") << (Slow + Fast).repeated(2).append(junk).repeated(15)
                + Fast.repeated(4) + junk + Fast.repeated(10)
                                        << 1152.0 * 64 * 60'046 / 49'606 << 1.0 << 44100;
        QTest::newRow("two rates") << Slow.repeated(700) + Fast.repeated(300) << 1152e3 << 0.0 << 44100;
        QTest::newRow("ends in the middle of a frame")
            << Slow.repeated(5) + Fast.repeated(5) + Fast.first(100) << 1152.0 * 11 << 0.0 << 44100;
        QTest::newRow("interrupted") << Slow.repeated(5) + QByteArray(5000, 'x') + Fast.repeated(5)
                                     << 1152.0 * 10 << 0.0 << 44100;
        QTest::newRow("junk in front")
            << QByteArray(65'535, '\xff') + (Slow + Fast).repeated(5) << 1152.0 * 10 << 0.0 << 44100;
        const auto mixed = [](quint32 header, int size, quint32 otherHeader, int otherSize) {
            return (frame(header, size) + frame(otherHeader, otherSize)).repeated(50);
        };
        QTest::newRow("layer I") << mixed(0xFFFF'9800, 432, 0xFFFF'A800, 480) << 384e2 << 0.0 << 32000;
        QTest::newRow("layer II") << mixed(0xFFFD'9000, 522, 0xFFFD'A000, 626) << 1152e2 << 0.0 << 44100;
        QTest::newRow("MPEG-2") << mixed(0xFFF3'8400, 192, 0xFFF3'9400, 240) << 576e2 << 0.0 << 24000;
        QTest::newRow("MPEG-2.5") << mixed(0xFFE3'8800, 576, 0xFFE3'9800, 720) << 576e2 << 0.0 << 8000;
        QTest::newRow("ADTS, headers alone")
            << QByteArray::fromHex("fff14c8000e0fc").repeated(50) << 1024.0 * 49 << 0.0 << 48000;
        QTest::newRow("ADTS") << Adts.repeated(50) << 1024.0 * 50 << 0.0 << 48000;
        const auto header = [](const QByteArray &text, quint32 flags, quint32 count) {
            return text + bigEndian(flags) + bigEndian(count);
        };
        const auto stream = [](const QByteArray &first) { return first + Slow + Fast + Slow; };
        QTest::newRow("Xing header") << stream(withText(Slow, 36, header("Xing", 1, 4096))) << 1152.0 * 4096
                                     << 0.0 << 44100;
        QTest::newRow("Xing header, no count")
            << stream(withText(Slow, 36, header("Xing", 2, 4096))) << 1152.0 * 4 << 0.0 << 44100;
        QTest::newRow("Xing header, count of nothing")
            << stream(withText(Slow, 36, header("Xing", 1, 0))) << 1152.0 * 4 << 0.0 << 44100;
        QTest::newRow("Xing header too far behind")
            << stream(withText(Slow, 37, header("Xing", 1, 4096))) << 1152.0 * 4 << 0.0 << 44100;
        const QByteArray most = header("Xing", 1, 0x7F7F'7F7F);
        QTest::newRow("Xing header up to the end")
            << withText(frame(0xFFF3'1600, 25), 13, most) + frame(0xFFF3'1400, 24).repeated(9)
            << 576.0 * 0x7F7F'7F7F << 0.0 << 24000;
        QTest::newRow("Xing header cut off")
            << withText(frame(0xFFF3'1400, 24), 13, most.chopped(1)) + frame(0xFFF3'2400, 48).repeated(9)
            << 576.0 * 10 << 0.0 << 24000;
        const QByteArray behindVbri(10, '\0');
        QTest::newRow("VBRI header") << stream(withText(Slow, 36, "VBRI" + behindVbri + bigEndian(4096)))
                                     << 1152.0 * 4096 << 0.0 << 44100;
        QTest::newRow("VBRI header, count of nothing")
            << stream(withText(Slow, 36, "VBRI" + behindVbri + bigEndian(0))) << 1152.0 * 4 << 0.0 << 44100;
    }
    void countsSamples()
    {
        QFETCH(QByteArray, stream);
        QFETCH(double, samples);
        QFETCH(double, tolerance);
        const MediaTime time = scanned(stream);
        QTEST(int(time.timescale), "rate");
        QVERIFY2(qAbs(double(time.value) - samples) <= tolerance, qPrintable(QString::number(time.value)));
    }

    void everyBitRateIsKnown_data()
    {
        QTest::addColumn<quint32>("header"); // without the bit rate; 48,000 Hz, or half of it
        QTest::addColumn<QList<int>>("bitRates"); // kbit/s
        QTest::addColumn<int>("samples");
        QTest::addColumn<int>("rate");
        const QList<int> halfFirst{32, 48, 56, 64, 80, 96, 112, 128, 144, 160, 176, 192, 224, 256};
        const QList<int> half{8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160};
        QTest::newRow("layer I") << 0xFFFF'0400U
                                 << QList<int>{32, 64, 96, 128, 160, 192, 224, 256, 288, 320, 352, 384, 416,
                                        448}
                                 << 384 << 48000;
        QTest::newRow("layer II") << 0xFFFD'0400U
                                  << QList<int>{32, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320,
                                         384}
                                  << 1152 << 48000;
        QTest::newRow("layer III") << 0xFFFB'0400U
                                   << QList<int>{32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256,
                                          320}
                                   << 1152 << 48000;
        QTest::newRow("MPEG-2 layer I") << 0xFFF7'0400U << halfFirst << 384 << 24000;
        QTest::newRow("MPEG-2 layer II") << 0xFFF5'0400U << half << 1152 << 24000;
        QTest::newRow("MPEG-2 layer III") << 0xFFF3'0400U << half << 576 << 24000;
    }
    void everyBitRateIsKnown()
    {
        QFETCH(quint32, header);
        QFETCH(QList<int>, bitRates);
        QFETCH(int, samples);
        QFETCH(int, rate);
        for (int i = 0; i < bitRates.size(); ++i) {
            const int size = samples * bitRates[i] * 125 / rate; // there is nothing to round
            const MediaTime time = scanned(frame(header | quint32(i + 1) << 12, size).repeated(100));
            QCOMPARE(time.value, 100 * samples);
            QCOMPARE(time.timescale, rate);
        }
        QVERIFY(!scanned(frame(header | 15 << 12, 500).repeated(100)).isNumeric());
    }

    void everyRateOfAdtsIsKnown()
    {
        const QList<int> rates{
            96000, 88200, 64000, 48000, 44100, 32000, 24000, 22050, 16000, 12000, 11025, 8000, 7350};
        for (int i = 0; i < rates.size(); ++i) {
            const QByteArray one = withText(Adts, 2, QByteArray(1, static_cast<char>(0x40 | i << 2)));
            const MediaTime time = scanned(one.repeated(50));
            QCOMPARE(time.value, 1024 * 50);
            QCOMPARE(time.timescale, rates[i]);
        }
        QVERIFY(!scanned(withText(Adts, 2, "\x74").repeated(50)).isNumeric()); // no rate
    }

    void blocksOfAnAdtsFrameAreCounted()
    {
        for (int blocks = 1; blocks <= 4; ++blocks) {
            const QByteArray one = withText(Adts, 6, QByteArray(1, static_cast<char>(0xFC | (blocks - 1))));
            QCOMPARE(scanned(one.repeated(50)).value, 1024 * blocks * 50);
        }
    }

    void delayAndPaddingOfTheEncoderAreTakenOff_data()
    {
        QTest::addColumn<quint32>("flags");
        QTest::addColumn<QByteArray>("encoder");
        QTest::addColumn<int>("edges");
        QTest::newRow("first encoder") << 1U << "LAME3.100"_ba << 576 + 3073;
        QTest::newRow("second encoder") << 1U << "Lavc60.31"_ba << 576 + 3073;
        QTest::newRow("unknown encoder") << 1U << "xxxxxxxxx"_ba << 0;
        QTest::newRow("size") << 3U << "LAME3.100"_ba << 576 + 3073;
        QTest::newRow("table of contents") << 5U << "LAME3.100"_ba << 576 + 3073;
        QTest::newRow("quality") << 9U << "LAME3.100"_ba << 576 + 3073;
    }
    void delayAndPaddingOfTheEncoderAreTakenOff()
    {
        QFETCH(quint32, flags);
        QFETCH(QByteArray, encoder);
        const QByteArray fields((flags & 2 ? 4 : 0) + (flags & 4 ? 100 : 0) + (flags & 8 ? 4 : 0), 'x');
        const QByteArray info = "Info" + bigEndian(flags) + bigEndian(10) + fields + encoder
            + QByteArray(12, '\xff') + QByteArray::fromHex("240c01"); // 576 in front, 3,073 behind
        QTEST(11'520 - int(scanned(withText(Slow, 36, info) + Slow.repeated(10)).value), "edges");
    }

    void paddingBeyondTheLengthLeavesNothing()
    {
        const QByteArray info = QByteArray("Info\0\0\0\1\0\0\0\1", 12) + "LAME3.100" + QByteArray(12, '\0')
            + QByteArray(3, '\xff');
        QCOMPARE(scanned(withText(Slow, 36, info) + Slow.repeated(10)).value, 0);
    }

    void restOfALongStreamIsTakenToBeLikeTheFirst64Mebibytes()
    {
        const QByteArray header = QByteArray::fromHex("fff14c820000fc00"); // 4,096 bytes
        const QByteArray one = header.leftJustified(4096, '\0');
        const QByteArray fourfold = withText(one, 6, "\xff");
        const MediaTime time = scanned(one.repeated(63 * 256) + fourfold.repeated(256), 128 << 20);
        QCOMPARE(time.value, 2 * 256 * (63 + 4) * 1024);
    }

    void whatHoldsNoStreamIsNotNumeric_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("nothing") << QByteArray();
        QTest::newRow("zeros") << QByteArray(100'000, '\0');
        QTest::newRow("ones") << QByteArray(100'000, '\xff');
        QTest::newRow("two frames") << Slow.repeated(2);
        QTest::newRow("frames of several kinds") << (Slow + frame(0xFFF3'8000, 208)).repeated(10);
        QTest::newRow("frames too far behind") << QByteArray(65'536, '\xff') + Slow.repeated(10);
        QTest::newRow("reserved version") << frame(0xFFEB'9000, 522).repeated(10);
        QTest::newRow("reserved layer") << frame(0xFFE1'9000, 1044).repeated(10);
        QTest::newRow("no bit rate") << frame(0xFFFB'0000, 1253).repeated(10);
        QTest::newRow("ADTS of two rates") << (Adts + withText(Adts, 2, "\x50")).repeated(10);
        QTest::newRow("ADTS of no length") << withText(Adts, 4, "\0\0"_ba).repeated(10);
        QTest::newRow("ADTS shorter than its header") << QByteArray::fromHex("fff14c8000c0").repeated(50);
    }
    void whatHoldsNoStreamIsNotNumeric()
    {
        QFETCH(QByteArray, bytes);
        QVERIFY(!scanned(bytes).isNumeric());
    }
};

LUMAVERDINE_TEST(FrameScanTest)
#include "FrameScanTest.moc"
