#include "platform/media/FrameScan.h"

#include <QTemporaryFile>
#include <QTest>

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

MediaTime scanned(const QByteArray &bytes)
{
    QTemporaryFile file;
    if (!file.open() || file.write(bytes) != bytes.size() || !file.flush())
        qFatal("The temporary folder is not writable.");
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
        QTest::newRow("two rates") << Slow.repeated(700) + Fast.repeated(300) << 1152e3 << 0.0 << 44100;
        QTest::newRow("ends in the middle of a frame")
            << Slow.repeated(5) + Fast.repeated(5) + Fast.first(100) << 1152.0 * 11 << 0.0 << 44100;
        QTest::newRow("interrupted") << Slow.repeated(5) + QByteArray(5000, 'x') + Fast.repeated(5)
                                     << 1152.0 * 10 << 0.0 << 44100;
        QTest::newRow("junk in front")
            << QByteArray(60'000, '\xff') + (Slow + Fast).repeated(5) << 1152.0 * 10 << 0.0 << 44100;
        QTest::newRow("layer I") << frame(0xFFFF'9400, 288).repeated(1000) << 384e3 << 0.0 << 48000;
        QTest::newRow("layer II") << frame(0xFFFD'A400, 576).repeated(100) << 1152e2 << 0.0 << 48000;
        QTest::newRow("MPEG-2") << frame(0xFFF3'8400, 192).repeated(1000) << 576e3 << 0.0 << 24000;
        QTest::newRow("MPEG-2.5") << frame(0xFFE3'8800, 576).repeated(100) << 576e2 << 0.0 << 8000;
        QTest::newRow("ADTS") << Adts.repeated(50) << 1024.0 * 50 << 0.0 << 48000;
        QTest::newRow("Xing header") << withText(Slow, 36, QByteArray("Xing\0\0\0\1\0\0\x10\0", 12))
                + Slow.repeated(3) << 1152.0 * 4096
                                     << 0.0 << 44100;
        QTest::newRow("VBRI header") << withText(Slow, 36,
                                            "VBRI" + QByteArray(10, '\0') + QByteArray("\0\0\x10\0", 4))
                + Slow.repeated(3) << 1152.0 * 4096
                                     << 0.0 << 44100;
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

    void delayAndPaddingOfTheEncoderAreTakenOff()
    {
        const QByteArray info = QByteArray("Info\0\0\0\1\0\0\0\x0a", 12) + "LAME3.100" + QByteArray(12, '\0')
            + QByteArray("\x24\x04\x6c", 3); // 576 in front, 1,132 behind
        const MediaTime time = scanned(withText(Slow, 36, info) + Slow.repeated(10));
        QCOMPARE(time.value, 11520 - 576 - 1132);
    }

    void paddingBeyondTheLengthLeavesNothing()
    {
        const QByteArray info = QByteArray("Info\0\0\0\1\0\0\0\1", 12) + "LAME3.100" + QByteArray(12, '\0')
            + QByteArray(3, '\xff');
        QCOMPARE(scanned(withText(Slow, 36, info) + Slow.repeated(10)).value, 0);
    }

    void whatHoldsNoStreamIsNotNumeric_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("nothing") << QByteArray();
        QTest::newRow("zeros") << QByteArray(100'000, '\0');
        QTest::newRow("ones") << QByteArray(100'000, '\xff');
        QTest::newRow("two frames") << Slow.repeated(2);
        QTest::newRow("frames of several kinds") << (Slow + frame(0xFFF3'8000, 208)).repeated(10);
        QTest::newRow("frames too far behind") << QByteArray(100'000, '\0') + Slow.repeated(10);
    }
    void whatHoldsNoStreamIsNotNumeric()
    {
        QFETCH(QByteArray, bytes);
        QVERIFY(!scanned(bytes).isNumeric());
    }
};

QTEST_GUILESS_MAIN(FrameScanTest)
#include "FrameScanTest.moc"
