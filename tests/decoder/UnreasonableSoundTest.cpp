#include "decoder/DecoderModule.h"
#include "tests/MemoryFile.h"
#include "tests/NumberBytes.h"
#include "tests/TestProgram.h"
#include "tests/decoder/ReadAll.h"
#include "tests/playback/WavFile.h"

#include <algorithm>
#include <limits>

namespace {

constexpr int soundRate = 48000;
constexpr float noNumber = std::numeric_limits<float>::quiet_NaN();
constexpr float infinite = std::numeric_limits<float>::infinity();

std::vector<float> soundOf(const QByteArray &bytes)
{
    const MemoryFile file(bytes);
    return readAll(*DecoderModule::load().value()->open(file.open(), nullptr).take());
}

template <typename T> QByteArray bigEndians(const std::vector<T> &values)
{
    QByteArray bytes;
    for (const T value : values)
        bytes += bigEndian<T>(value);
    return bytes;
}

QByteArray aiffChunk(const char *name, const QByteArray &content)
{
    return name + bigEndian(content.size()) + content;
}

/// Mono AIFF-C of the sample format `kind`.
QByteArray aiff(const char *kind, int bits, int frames, const QByteArray &samples)
{
    const QByteArray eightKilohertz("\x40\x0b\xfa\0\0\0\0\0\0\0", 10);
    const QByteArray common = bigEndians<quint16>({1, 0, quint16(frames), quint16(bits)}) + eightKilohertz
        + kind + QByteArray(2, '\0');
    return aiffChunk("FORM",
        "AIFC" + aiffChunk("FVER", bigEndian(0xA2805140)) + aiffChunk("COMM", common)
            + aiffChunk("SSND", QByteArray(8, '\0') + samples));
}

QByteArray core(const QByteArray &samples)
{
    const QByteArray description =
        bigEndian<double>(soundRate) + "lpcm" + bigEndians<quint32>({1, 4, 1, 1, 32}); // big-endian float
    return "caff" + bigEndians<quint16>({1, 0}) + "desc" + bigEndian<quint64>(32) + description + "data"
        + bigEndian<quint64>(samples.size() + 4) + bigEndian(0) + samples;
}

} // namespace

/// Files whose samples are no numbers, or far beyond full scale: what is played is neither.
class UnreasonableSoundTest : public QObject {
    Q_OBJECT

private:
    const std::vector<float> m_strange{0.5F, noNumber, -noNumber, infinite, -infinite, 3e38F, -3e38F, 8,
        8.001F, -8, -8.001F, 7.5F, -0.25F, 0};
    const std::vector<float> m_reasonable{0.5F, 0, 0, 8, -8, 8, -8, 8, 8, -8, -8, 7.5F, -0.25F, 0};

private Q_SLOTS:
    void wav() { QCOMPARE(soundOf(WavFile::encoded(m_strange, soundRate, 1)), m_reasonable); }

    void coreAudio() { QCOMPARE(soundOf(core(bigEndians(m_strange))), m_reasonable); }

    void aiffOfFloats()
    {
        QCOMPARE(soundOf(aiff("fl32", 32, int(m_strange.size()), bigEndians(m_strange))), m_reasonable);
    }

    void aiffOfDoubles()
    {
        std::vector<double> strange(m_strange.begin(), m_strange.end());
        strange.push_back(1e300);
        auto reasonable = m_reasonable;
        reasonable.push_back(8);
        QCOMPARE(soundOf(aiff("fl64", 64, int(strange.size()), bigEndians(strange))), reasonable);
    }

    void whatIsNoNumberLeavesTheOtherChannels()
    {
        std::vector<float> samples(size_t(6 * soundRate), 0.5F);
        for (size_t i = 0; i < samples.size(); i += 6)
            samples[i] = noNumber; // the left one
        const auto mixed = soundOf(WavFile::encoded(samples, soundRate, 6));
        QCOMPARE(mixed.size(), size_t(2 * soundRate));
        QVERIFY(std::all_of(mixed.begin(), mixed.end(), [](float sample) { return sample > 0.1F; }));
    }

    void whatIsNoNumberLeavesItsNeighbours()
    {
        std::vector<float> samples(38'400, 0.5F);
        samples[20'000] = noNumber;
        samples[30'000] = 3e38F;
        const auto resampled = soundOf(WavFile::encoded(samples, 384'000, 1));
        QVERIFY(resampled.size() > 19'000);
        const std::span inner(resampled.data() + 100, 18'900);
        QVERIFY(*std::min_element(inner.begin(), inner.end()) > -2);
        QVERIFY(std::none_of(inner.begin(), inner.end(), [](float sample) { return sample == 0; }));
    }

    void resamplingDoesNotOvershoot()
    {
        std::vector<float> samples(38'400);
        for (size_t i = 0; i < samples.size(); ++i)
            samples[i] = i / 50 % 2 ? 8.0F : -8.0F;
        const auto resampled = soundOf(WavFile::encoded(samples, 384'000, 1));
        const auto [least, most] = std::minmax_element(resampled.begin(), resampled.end());
        QCOMPARE(*least, -8.0F);
        QCOMPARE(*most, 8.0F);
    }
};

LUMAVERDINE_TEST(UnreasonableSoundTest)
#include "UnreasonableSoundTest.moc"
