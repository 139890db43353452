#include "playback/RingBuffer.h"
#include "tests/TestProgram.h"

#include <numeric>
#include <thread>

namespace {

constexpr AudioFormat mono{48000, 1};
constexpr AudioFormat ringFormat{48000, 2};

std::vector<float> counting(std::int64_t first, std::int64_t count)
{
    std::vector<float> samples(static_cast<std::size_t>(count));
    std::iota(samples.begin(), samples.end(), float(first));
    return samples;
}

} // namespace

class RingBufferTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void framesComeOutInOrderAndWithTheirPosition()
    {
        RingBuffer ring(ringFormat, 4);
        const auto samples = counting(0, 6);
        QCOMPARE(ring.write(samples, 100), 3);
        std::vector<float> read(4);
        const auto run = ring.read(read.data(), 2);
        QCOMPARE(run.frames, 2);
        QCOMPARE(run.position, 100);
        QCOMPARE(read, (std::vector<float>{0, 1, 2, 3}));
        QCOMPARE(ring.read(read.data(), 2).position, 102);
    }

    void fullRingTakesNoMore()
    {
        RingBuffer ring(mono, 4);
        QCOMPARE(ring.write(counting(0, 6), 0), 4);
        QCOMPARE(ring.write(counting(4, 2), 4), 0);
        float sample = -1;
        QCOMPARE(ring.read(&sample, 1).frames, 1);
        QCOMPARE(ring.write(counting(4, 2), 4), 1);
    }

    void framesWrapAroundTheEndOfTheRing()
    {
        RingBuffer ring(ringFormat, 5);
        std::int64_t written = 0;
        std::int64_t read = 0;
        for (int round = 0; round < 20; ++round) {
            written += ring.write(counting(2 * written, 2 * 4), written);
            QCOMPARE(ring.available(), written - read);
            std::vector<float> samples(6, -1.0F);
            const auto run = ring.read(samples.data(), 3);
            QCOMPARE(run.position, read);
            samples.resize(std::size_t(2 * run.frames));
            QCOMPARE(samples, counting(2 * read, 2 * run.frames));
            read += run.frames;
        }
        QVERIFY(read > 50);
    }

    void jumpsThatFindNoRoomWaitForTheReader()
    {
        RingBuffer ring(mono, 100);
        for (std::int64_t jump = 0; jump < 32; ++jump)
            QCOMPARE(ring.write(counting(jump, 1), jump * 10), 1);
        QCOMPARE(ring.write(counting(32, 1), 320), 0);
        QCOMPARE(ring.write(counting(32, 1), 311), 1); // goes on where the last one ended
        float sample = 0;
        QCOMPARE(ring.read(&sample, 1).position, 0);
        QCOMPARE(ring.write(counting(33, 1), 330), 1);
        QCOMPARE(ring.read(&sample, 5).frames, 1);
        QCOMPARE(ring.read(&sample, 0).frames, 0);
    }

    void ringThatStartsOverIsEmpty()
    {
        RingBuffer ring(mono, 4);
        ring.write(counting(0, 3), 70);
        ring.finish();
        ring.reset(5, 90);
        QCOMPARE(ring.available(), 0);
        QVERIFY(!ring.isFinished());
        QCOMPARE(ring.generation(), 5U);
        QCOMPARE(ring.start(), 90);
        QCOMPARE(ring.write(counting(0, 4), 73), 4);
        float samples[4];
        QCOMPARE(ring.read(samples, 4).position, 73);
    }

    void runEndsWhereTheTrackJumps()
    {
        RingBuffer ring(mono, 10);
        ring.write(counting(0, 3), 0);
        ring.write(counting(3, 3), 50);
        float samples[10];
        QCOMPARE(ring.read(samples, 10).frames, 3);
        const auto rest = ring.read(samples, 10);
        QCOMPARE(rest.frames, 3);
        QCOMPARE(rest.position, 50);
    }

    void exhaustedOnlyOnceFinishedAndEmpty()
    {
        RingBuffer ring(mono, 4);
        QVERIFY(!ring.isExhausted());
        ring.write(counting(0, 1), 0);
        ring.finish();
        QVERIFY(!ring.isExhausted());
        float sample = 0;
        ring.read(&sample, 1);
        QVERIFY(ring.isExhausted());
    }

    void twoThreadsLoseAndRepeatNothing()
    {
        constexpr std::int64_t total = 1'000'000;
        RingBuffer ring(mono, 1000);
        std::thread writer([&] {
            for (std::int64_t next = 0; next < total;) {
                const std::int64_t written =
                    ring.write(counting(next, std::min<std::int64_t>(77, total - next)), next);
                next += written;
                if (written == 0)
                    std::this_thread::yield();
            }
            ring.finish();
        });
        std::int64_t expected = 0;
        bool isRight = true;
        std::vector<float> samples(123);
        while (!ring.isExhausted()) {
            const auto run = ring.read(samples.data(), 123);
            isRight = isRight && (run.frames == 0 || run.position == expected);
            for (std::int64_t index = 0; index < run.frames; ++index)
                isRight = isRight && samples[std::size_t(index)] == float(expected + index);
            expected += run.frames;
            if (run.frames == 0)
                std::this_thread::yield();
        }
        writer.join();
        QVERIFY(isRight);
        QCOMPARE(expected, total);
    }

    void tellsOnceThatFramesWereMissing()
    {
        RingBuffer ring(mono, 4);
        QVERIFY(!ring.takeStarved());
        ring.noteStarved();
        QVERIFY(ring.takeStarved());
        QVERIFY(!ring.takeStarved());
        ring.noteStarved();
        ring.reset(1, 0);
        QVERIFY(!ring.takeStarved());
    }

    void wakeupsAreNotLost()
    {
        Wakeup wakeup;
        std::atomic<int> news = 0;
        std::thread sleeper([&] {
            while (news < 1000)
                wakeup.wait();
        });
        for (int count = 0; count < 1000; ++count) {
            ++news;
            wakeup.signal();
        }
        sleeper.join();
        QCOMPARE(news.load(), 1000);
    }

    void waitEndsWithItsTimeOrASignal()
    {
        using namespace std::chrono_literals;
        Wakeup wakeup;
        const auto start = std::chrono::steady_clock::now();
        QVERIFY(!wakeup.wait(30ms));
        QVERIFY(std::chrono::steady_clock::now() - start >= 30ms);
        for (int round = 0; round < 2; ++round) {
            wakeup.signal();
            wakeup.signal(); // is one with the former
            QVERIFY(wakeup.wait(10s));
            QVERIFY(!wakeup.wait(0ms));
        }
        wakeup.signal();
        QVERIFY(wakeup.wait());
        QVERIFY(std::chrono::steady_clock::now() - start < 9s);
    }
};

LUMAVERDINE_TEST(RingBufferTest)
#include "RingBufferTest.moc"
