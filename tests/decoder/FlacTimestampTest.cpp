#include "decoder/FlacTimestamp.h"
#include "tests/TestProgram.h"

#include <array>

namespace {

template <typename... Bytes> auto bytes(Bytes... values)
{
    return std::array<std::uint8_t, sizeof...(values)>{std::uint8_t(values)...};
}

} // namespace

class FlacTimestampTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void frameNumberCountsBlocks()
    {
        QCOMPARE(flacFramePosition(bytes(0xFF, 0xF8, 0xC9, 0x18, 0x05, 0), 4096), 5 * 4096);
        QCOMPARE(flacFramePosition(bytes(0xFF, 0xF8, 0xC9, 0x18, 0xC4, 0x80), 4096), 0x100 * 4096);
    }

    void sampleNumberIsThePosition()
    {
        QCOMPARE(flacFramePosition(bytes(0xFF, 0xF9, 0xC9, 0x18, 0xE1, 0x80, 0x81), 0), 0x1001);
        QCOMPARE(
            flacFramePosition(bytes(0xFF, 0xF9, 0xC9, 0x18, 0xFE, 0x81, 0x80, 0x80, 0x80, 0x80, 0x80), 0),
            std::int64_t(1) << 30);
    }

    void whatIsNoFrameHasNoPosition()
    {
        QVERIFY(!flacFramePosition({}, 4096));
        QVERIFY(!flacFramePosition(bytes(0xFF, 0xF8, 0xC9, 0x18), 4096));
        QVERIFY(!flacFramePosition(bytes(0xFF, 0xFB, 0xC9, 0x18, 0x05, 0), 4096));
        QVERIFY(!flacFramePosition(bytes(0xFF, 0xF8, 0xC9, 0x18, 0xE1, 0x80), 4096));
        QVERIFY(!flacFramePosition(bytes(0xFF, 0xF8, 0xC9, 0x18, 0xC4, 0x00), 4096));
        QVERIFY(!flacFramePosition(bytes(0xFF, 0xF8, 0xC9, 0x18, 0xFF, 0x80), 4096));
        QVERIFY(!flacFramePosition(bytes(0xFF, 0xF8, 0xC9, 0x18, 0x05, 0), 0));
    }

    void lengthIsThatOfTheStreamInfo()
    {
        const auto info = bytes(
            0x10, 0, 0x10, 0, 0, 0, 0, 0, 0, 0, 0x0A, 0xC4, 0x42, 0xF5, 0x12, 0x34, 0x56, 0x78, 0xFF, 0xFF);
        QCOMPARE(flacLength(info), std::int64_t(0x5'1234'5678));
        QCOMPARE(flacLength(std::span(info).first(18)), std::int64_t(0x5'1234'5678));
        QCOMPARE(flacLength(std::span(info).first(17)), 0);
        QCOMPARE(flacLength({}), 0);
    }

    void blockSizeIsKnownWhereItDoesNotVary()
    {
        QCOMPARE(flacBlockSize(bytes(0x10, 0x00, 0x10, 0x00)), 4096);
        QCOMPARE(flacBlockSize(bytes(0x00, 0x10, 0x10, 0x00)), 0);
        QCOMPARE(flacBlockSize({}), 0);
    }
};

LUMAVERDINE_TEST(FlacTimestampTest)
#include "FlacTimestampTest.moc"
