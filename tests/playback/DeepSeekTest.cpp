#include "decoder/DecoderModule.h"
#include "playback/Session.h"
#include "playback/output/NullOutput.h"
#include "tests/MediaFile.h"
#include "tests/MemoryFile.h"
#include "tests/NumberBytes.h"
#include "tests/TestProgram.h"

#include <QElapsedTimer>
#include <QFile>
#include <QRandomGenerator>
#include <QtEndian>
#include <cmath>
#include <ctime>
#include <sys/resource.h>

using namespace Qt::StringLiterals;

namespace {

constexpr double twoHours = 7200; // seconds

/// A short sound over and over again, for two hours: the sound at any time is known.
struct LongFile {
    QByteArray bytes;
    qint64 period = 0; ///< samples

    /// Of the MPEG frames in tests/media/`name`, each of `frameSamples` samples, `seconds` in all.
    LongFile(const QString &name, int frames, int frameSamples, int rate)
        : period(qint64(frames) * frameSamples)
    {
        const auto repeats = qint64(twoHours * rate / double(period)) + 1;
        bytes = mediaFile(name).repeated(repeats);
        m_frames = repeats * frames;
    }

    /// Puts the header of a variable rate in front: the numbers of frames and bytes, and a table of where the
    /// hundredths of the time lie, which is nowhere near in most files that are not made of repetitions.
    void addXingHeader()
    {
        constexpr qsizetype sideInformation = 9; // of a mono frame of MPEG-2
        constexpr qsizetype frameSize = 261; // 80 kbit/s at 22.05 kHz
        QByteArray table;
        for (int i = 0; i < 100; ++i)
            table.append(char(i * 256 / 100));
        const QByteArray header = bytes.first(4) + QByteArray(sideInformation, '\0') + "Xing" + bigEndian(7)
            + bigEndian(m_frames) + bigEndian(frameSize + bytes.size()) + table;
        bytes.prepend(header.leftJustified(frameSize, '\0'));
    }

private:
    qint64 m_frames = 0;
};

LongFile longFile(const QString &kind)
{
    if (kind == u"constant rate"_s)
        return {u"constant-rate-no-header.mp3"_s, 78, 1152, 44'100};
    LongFile file(u"variable-rate-no-header.mp3"_s, 232, 576, 22'050);
    if (kind == u"variable rate"_s)
        file.addXingHeader();
    return file;
}

/// At least `count` samples from where the decoder stands.
std::vector<float> decode(Decoder &decoder, std::size_t count)
{
    std::vector<float> samples;
    while (samples.size() < count) {
        const auto block = decoder.read();
        if (block.isError() || block.value().samples.empty())
            break;
        samples.insert(samples.end(), block.value().samples.begin(), block.value().samples.end());
    }
    return samples;
}

} // namespace

/// Seeking far in two hours of MP3.
class DeepSeekTest : public QObject {
    Q_OBJECT

private:
    static void addKinds()
    {
        QTest::addColumn<QString>("kind");
        for (const char *kind : {"constant rate", "variable rate", "variable rate, no header"})
            QTest::newRow(kind) << QString::fromLatin1(kind);
    }

    /// What a seek has cost, whatever else the machine has to do.
    struct Cost {
        bool isRight = false; ///< the player tells the target at once, and the sound gets there
        bool hasWaited = false; ///< the call has given up the processor of its own accord
        double call = 0; ///< milliseconds of the calling thread's processor time
        double all = 0; ///< the same of all threads, until the sound is there
    };

    static double processorTime(clockid_t clock)
    {
        timespec time = {};
        clock_gettime(clock, &time);
        return double(time.tv_sec) * 1e3 + double(time.tv_nsec) / 1e6;
    }

    static long waits()
    {
        rusage usage = {};
        getrusage(RUSAGE_THREAD, &usage);
        return usage.ru_nvcsw;
    }

    static Cost seekAndArrive(AudioPlayer &player, double target)
    {
        Cost cost;
        const double allBefore = processorTime(CLOCK_PROCESS_CPUTIME_ID);
        const double before = processorTime(CLOCK_THREAD_CPUTIME_ID);
        const long waitsBefore = waits();
        QElapsedTimer clock;
        clock.start();
        player.setCurrentTime(target);
        const double now = player.currentTime();
        const double elapsed = double(clock.nsecsElapsed()) / 1e9; // the sound may be there by then
        cost.hasWaited = waits() > waitsBefore;
        cost.call = processorTime(CLOCK_THREAD_CPUTIME_ID) - before;
        const bool hasArrived = QTest::qWaitFor([&] { return player.currentTime() > target; }, 60'000);
        cost.all = processorTime(CLOCK_PROCESS_CPUTIME_ID) - allBefore;
        cost.isRight = now >= target && now <= target + elapsed && hasArrived && player.isPlaying();
        return cost;
    }

private Q_SLOTS:
    void seekLandsOnTheSample_data() { addKinds(); }
    void seekLandsOnTheSample()
    {
        QFETCH(QString, kind);
        const LongFile file = longFile(kind);
        const MemoryFile memory(file.bytes);
        const auto decoder = DecoderModule::load().value()->open(memory.open(), nullptr).take();
        const auto first = decode(*decoder, std::size_t(2 * file.period + 5000));
        QRandomGenerator random(5);
        for (int i = 0; i < 10; ++i) {
            const auto end = qint64(twoHours * decoder->format().rate) - 10'000;
            const qint64 target = i == 0 ? end : file.period + random.bounded(end - file.period);
            QVERIFY(decoder->seek(target, {}));
            const auto samples = decode(*decoder, 3000);
            QVERIFY(samples.size() >= 3000);
            double largest = 0;
            for (std::size_t k = 0; k < 3000; ++k) {
                const float expected = first[std::size_t(file.period + target % file.period) + k];
                largest = std::max(largest, double(std::abs(samples[k] - expected)));
            }
            QVERIFY2(largest <= 1e-5, qPrintable(u"%1 at %2"_s.arg(largest).arg(target)));
        }
    }

    void playerAnswersAtOnceAndArrivesSoon_data() { addKinds(); }
    void playerAnswersAtOnceAndArrivesSoon()
    {
        QFETCH(QString, kind);
        const MemoryFile memory(longFile(kind).bytes);
        int waited = 0;
        double call = 0, all = 0;
        QRandomGenerator random(6);
        for (int round = 0; round < 5; ++round) {
            auto decoder = DecoderModule::load().value()->open(memory.open(), nullptr).take();
            const auto player = Session::make(std::move(decoder), std::make_shared<std::atomic<bool>>(false),
                [](AudioFormat format, auto, auto) { return std::make_unique<NullOutput>(format); });
            QVERIFY(player->play());
            for (int i = 0; i < 4; ++i) {
                const double target = i == 0 ? twoHours - 10 : random.bounded(twoHours - 10);
                const Cost cost = seekAndArrive(*player, target);
                QVERIFY2(cost.isRight, qPrintable(QString::number(target)));
                waited += cost.hasWaited ? 1 : 0;
                call = std::max(call, cost.call);
                all = std::max(all, cost.all);
            }
        }
        qInfo("of 20 seeks %d waited; at most %.2f ms in the call and %.0f ms in all", waited, call, all);
        QVERIFY2(waited <= 2, "two threads may want the same lock now and then");
        QVERIFY(call < 5);
        QVERIFY(all < 2000);
    }
};

LUMAVERDINE_TEST(DeepSeekTest)
#include "DeepSeekTest.moc"
