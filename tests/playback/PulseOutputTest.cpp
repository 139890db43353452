#include "playback/AudioPlayer.h"
#include "tests/TestProgram.h"
#include "tests/playback/RecordingDelegate.h"
#include "tests/playback/SoundServerFixture.h"

#include <cmath>

using namespace Qt::StringLiterals;

/// What is heard of a player through a sound server, read off a capture of the position-coded signal.
class PulseOutputTest : public SoundServerFixture {
    Q_OBJECT

private:
    std::shared_ptr<AudioPlayer> m_player;

    void stopSound() override { m_player.reset(); }

    void open(double seconds)
    {
        const QString path = filePath(u"sound.wav"_s);
        QVERIFY(PositionCapture::saveTrack(path, seconds));
        m_player = AudioPlayer::open(QUrl::fromLocalFile(path)).take();
        QVERIFY(m_player->prepareToPlay());
        QVERIFY(capture().record(0.3));
    }

    /// Plays for half a second; answers the first frame that is heard.
    [[nodiscard]] std::int64_t playAWhile()
    {
        m_player->play();
        return capture().record(0.5) ? capture().firstFrame(0, true) : capture().frames();
    }

private Q_SLOTS:
    void playIsHeardAtOnceFromTheFirstSampleOn()
    {
        open(5);
        const double call = Capture::now();
        QVERIFY(m_player->play());
        QVERIFY(capture().record(0.5));
        const std::int64_t first = capture().firstFrame(0, true);
        QVERIFY(capture().isSmooth(1));
        QVERIFY(std::abs(capture().place(first)) < 1e-4);
        QVERIFY(isContiguous(first, first + 10'000));
        report("play", capture().latency(call, first));
        QVERIFY(capture().latency(call, first) < 40);
    }

    void hundredPausesAndResumesLoseAndRepeatNothing()
    {
        open(20);
        for (int round = 0; round < 100; ++round) {
            m_player->play();
            QVERIFY(capture().record(0.06 + 0.001 * (round % 17)));
            m_player->pause();
            QVERIFY(capture().record(0.02 + 0.01 * (round % 11)));
        }
        QVERIFY(capture().record(0.2));
        std::int64_t expected = 0;
        for (std::int64_t frame = 0; frame < capture().frames(); ++frame) {
            // At the quiet ends of a ramp the place cannot be read to the sample, only counted.
            if (capture().gain(frame) == 0)
                continue;
            const double found =
                capture().gain(frame) > 0.1 ? capture().place(frame) * Capture::rate : double(expected);
            if (mayBeDropped(found - double(expected)))
                expected = std::llround(found);
            QVERIFY2(std::abs(found - double(expected)) < 1.5,
                qPrintable(u"%1 for %2"_s.arg(found).arg(expected)));
            ++expected;
        }
        QVERIFY(expected > std::int64_t(3) * Capture::rate);
        QVERIFY(capture().isSmooth(1, capture().firstFrame(0, true)));
    }

    void pauseIsHeardSoon()
    {
        open(5);
        const std::int64_t first = playAWhile();
        const double call = Capture::now();
        m_player->pause();
        QVERIFY(!m_player->isPlaying());
        QVERIFY(capture().record(0.3));
        const std::int64_t silent = capture().firstFrame(first, false);
        report("pause", capture().latency(call, silent));
        QVERIFY(capture().latency(call, silent) > 0);
        QVERIFY(capture().latency(call, silent) < 60);
        QVERIFY(capture().isSmooth(1, first));
        const double heard = double(silent - first) / Capture::rate;
        QVERIFY2(std::abs(m_player->currentTime() - heard) < 0.02,
            qPrintable(u"%1 %2"_s.arg(m_player->currentTime()).arg(heard)));
    }

    void stopAndPlayStartOver()
    {
        open(5);
        const std::int64_t first = playAWhile();
        const double call = Capture::now();
        m_player->stop();
        m_player->setCurrentTime(0);
        QVERIFY(capture().record(0.3));
        const std::int64_t silent = capture().firstFrame(first, false);
        report("stop", capture().latency(call, silent));
        QVERIFY(capture().latency(call, silent) > 0);
        QVERIFY(capture().latency(call, silent) < 60);
        // The step to the start comes while the fade out is under way, and is a fade itself.
        QVERIFY(capture().isSmooth(2, first));
        m_player->play();
        QVERIFY(capture().record(0.3));
        const std::int64_t again = capture().firstFrame(silent, true);
        QVERIFY(std::abs(capture().place(again)) < 1e-4);
    }

    void volumeIsALinearFactorHeardSoon()
    {
        open(5);
        m_player->setVolume(0.75F);
        const std::int64_t first = playAWhile();
        QVERIFY(std::abs(capture().gain(capture().frames() - 1) - 0.75) < 1e-4);
        const double call = Capture::now();
        m_player->setVolume(0.25F);
        QVERIFY(capture().record(0.3));
        QVERIFY(std::abs(capture().gain(capture().frames() - 1) - 0.25) < 1e-4);
        std::int64_t changed = first + PositionCapture::fade;
        while (capture().gain(changed) > 0.2501)
            ++changed;
        report("volume", capture().latency(call, changed));
        QVERIFY(capture().latency(call, changed) > 0);
        QVERIFY(capture().latency(call, changed) < 60);
        QVERIFY(capture().isSmooth(0.5, first + PositionCapture::fade));
        QVERIFY(isContiguous(first, capture().frames()));
    }

    void positionIsWhatIsHeard()
    {
        open(5);
        m_player->play();
        std::vector<std::pair<double, double>> readings;
        for (int reading = 0; reading < 60; ++reading) {
            QVERIFY(capture().record(0.03));
            readings.emplace_back(Capture::now(), m_player->currentTime());
        }
        QVERIFY(capture().record(0.3));
        const std::int64_t first = capture().firstFrame(0, true);
        double worst = 0;
        for (const auto &[time, position] : readings) {
            if (time > capture().timeOf(first))
                worst = std::max(worst, std::abs(position - capture().place(capture().frameAt(time))));
        }
        report("position off", worst * 1000);
        QVERIFY(worst < 0.02);
    }

    void seekCrossesOverToTheTarget()
    {
        open(10);
        const std::int64_t first = playAWhile();
        const double call = Capture::now();
        m_player->setCurrentTime(6);
        QCOMPARE(m_player->currentTime(), 6.0);
        QVERIFY(capture().record(0.5));
        std::int64_t landed = first;
        while (landed < capture().frames() && capture().place(landed) < 5.99)
            ++landed;
        report("seek", capture().latency(call, landed));
        QVERIFY(capture().latency(call, landed) < 120);
        QVERIFY(capture().place(landed) < 6.05);
        QVERIFY(m_player->currentTime() > 6.2 && m_player->currentTime() < 6.6);
        for (std::int64_t frame = first + PositionCapture::fade; frame < capture().frames(); ++frame)
            QVERIFY(std::abs(capture().gain(frame) - 1) < 1e-3);
    }

    void burstOfSeeksEndsAtTheLastTarget()
    {
        open(20);
        const std::int64_t first = playAWhile();
        // Down, with each target nearer to the start than the one before: what is stale is further on.
        double call = 0;
        for (int step = 0; step < 30; ++step) {
            call = Capture::now();
            m_player->setCurrentTime(19 - 0.5 * step);
            QVERIFY(capture().record(0.01));
        }
        QVERIFY(capture().record(0.5));
        const std::int64_t settled = capture().frameAt(call + 0.12);
        for (std::int64_t frame = settled; frame < capture().frames(); ++frame) {
            const double expected = 4.5 + capture().timeOf(frame) - call;
            QVERIFY2(capture().place(frame) <= expected && capture().place(frame) > expected - 0.12,
                qPrintable(u"%1 for %2"_s.arg(capture().place(frame)).arg(expected)));
        }
        // Fades of 16 ms from one end of the track to the other: those of seeks that come while the server stands still
        // begin at one frame and add up. Without fades it leaps by half a second at least.
        const double steepest = 16 * 19 / (0.016 * Capture::rate);
        int leaps = 0;
        for (std::int64_t frame = first + PositionCapture::fade; frame < capture().frames(); ++frame) {
            QVERIFY(std::abs(capture().gain(frame) - 1) < 1e-3);
            const double step = std::abs(capture().place(frame) - capture().place(frame - 1));
            leaps += step < steepest ? 0 : 1;
        }
        // One for a period that the server drops during a fade; a player that does not fade leaps at each seek.
        QVERIFY2(leaps <= (dropsPeriods() ? 2 : 0), qPrintable(QString::number(leaps)));
    }

    void endIsReportedWhenItWasHeard()
    {
        open(1);
        RecordingDelegate delegate;
        m_player->setDelegate(&delegate);
        m_player->play();
        QVERIFY(capture().record(1.5));
        QCOMPARE(delegate.finishes(), 1);
        QVERIFY(delegate.wasSuccessful());
        QVERIFY(!m_player->isPlaying());
        const std::int64_t first = capture().firstFrame(0, true);
        const std::int64_t end = capture().firstFrame(first, false);
        QCOMPARE(end - first, std::int64_t(Capture::rate));
        const double late = (delegate.finishTime() - capture().timeOf(end)) * 1000;
        report("end reported", late);
        // The capture itself comes a period of the server late.
        QVERIFY(late > -15 && late < 40);
        QVERIFY(m_player->play());
        QVERIFY(capture().record(0.3));
        QVERIFY(std::abs(capture().place(capture().firstFrame(end, true))) < 1e-4);
    }

    void destroyedPlayerFadesOut()
    {
        open(5);
        const std::int64_t first = playAWhile();
        const double call = Capture::now();
        m_player.reset();
        QVERIFY(Capture::now() - call < 0.05);
        QVERIFY(capture().record(0.3));
        const std::int64_t silent = capture().firstFrame(first, false);
        report("destroy", capture().latency(call, silent));
        QVERIFY(capture().latency(call, silent) > 0);
        QVERIFY(capture().latency(call, silent) < 60);
        QVERIFY(capture().isSmooth(1, first));
    }

    void stallOfTheProcessIsNotHeard()
    {
        open(5);
        const std::int64_t first = playAWhile();
        // The child goes on while this process, threads and all, stands still.
        const QString script =
            u"kill -STOP %1; sleep 0.2; kill -CONT %1"_s.arg(QCoreApplication::applicationPid());
        QVERIFY(QProcess::startDetached(u"sh"_s, {u"-c"_s, script}));
        QVERIFY(capture().record(1));
        QVERIFY(isContiguous(first, capture().frames()));
    }
};

static const bool isPulseOutputTestRegistered =
    TestProgram::add("PulseOutputTest", [](int, char **) { return PulseOutputTest().run(); });
#include "PulseOutputTest.moc"
