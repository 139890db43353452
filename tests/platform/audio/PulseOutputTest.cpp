#include "platform/audio/AudioPlayer.h"
#include "tests/platform/audio/PulseDaemon.h"
#include "tests/platform/audio/RecordingDelegate.h"
#include "tests/platform/audio/WavFile.h"

#include <QDir>
#include <QTest>
#include <cmath>

using namespace Qt::StringLiterals;

namespace {

constexpr double length = 20; // of the position-coded track, in seconds
constexpr double fade = 0.008;

} // namespace

/// What is heard of a player through a sound server, read off a capture of the position-coded signal.
class PulseOutputTest : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_folder;
    QTemporaryDir m_home;
    std::unique_ptr<PulseDaemon> m_daemon;
    std::unique_ptr<Capture> m_capture;
    std::unique_ptr<AudioPlayer> m_player;

    void open(double seconds)
    {
        const QString path = m_folder.filePath(u"sound.wav"_s);
        const auto samples = WavFile::positionCodedSamples(Capture::rate, length);
        const auto count = std::size_t(seconds * Capture::rate) * 2;
        QVERIFY(WavFile::save(path, WavFile::encoded(std::span(samples).first(count), Capture::rate, 2)));
        m_player = AudioPlayer::open(QUrl::fromLocalFile(path)).take();
        QVERIFY(m_player->prepareToPlay());
        QVERIFY(m_capture->record(0.3));
    }

    [[nodiscard]] double gain(std::int64_t frame) const { return double(m_capture->right(frame)) / 0.8; }
    [[nodiscard]] bool isSounding(std::int64_t frame) const { return gain(frame) > 1e-4; }

    /// Track position of a captured frame, in seconds.
    [[nodiscard]] double place(std::int64_t frame) const
    {
        return (double(m_capture->left(frame)) / double(m_capture->right(frame)) * 0.8 - 0.2) / 0.6 * length;
    }

    [[nodiscard]] std::int64_t firstFrame(std::int64_t from, bool sounding) const
    {
        while (from < m_capture->frames() && isSounding(from) != sounding)
            ++from;
        return from;
    }

    [[nodiscard]] double latency(double call, std::int64_t frame) const
    {
        return (m_capture->timeOf(frame) - call) * 1000;
    }

    /// No gain step between neighbouring samples above what a ramp of 8 ms over `range` has.
    void verifyNoClick(double range, std::int64_t from = 0)
    {
        const double steepest = range / (fade * Capture::rate) * 1.1;
        for (std::int64_t frame = from + 1; frame < m_capture->frames(); ++frame) {
            const double step = std::abs(gain(frame) - gain(frame - 1));
            QVERIFY2(step <= steepest, qPrintable(u"%1 at %2"_s.arg(step).arg(frame)));
        }
    }

private Q_SLOTS:
    void initTestCase()
    {
        qputenv("HOME", m_home.path().toUtf8());
        for (const char *name : {"XDG_CONFIG_HOME", "XDG_RUNTIME_DIR", "PULSE_RUNTIME_PATH", "PULSE_COOKIE"})
            qunsetenv(name);
    }

    void cleanupTestCase()
    {
        QVERIFY2(QDir(m_home.path())
                     .isEmpty(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot),
            "something was created in the home folder");
    }

    void init()
    {
        m_daemon = std::make_unique<PulseDaemon>();
        QVERIFY(m_daemon->start());
        m_capture = std::make_unique<Capture>();
        QVERIFY(m_capture->start());
    }

    void cleanup()
    {
        m_player.reset();
        m_capture.reset();
        m_daemon.reset();
    }

    void theFirstSamplesAreHeardAsTheyAre()
    {
        open(5);
        const double call = Capture::now();
        QVERIFY(m_player->play());
        QVERIFY(m_capture->record(0.5));
        const std::int64_t first = firstFrame(0, true);
        QCOMPARE(float(gain(first)), 1.0F);
        QVERIFY(std::abs(place(first)) < 1e-4);
        for (std::int64_t frame = first; frame < first + 10'000; ++frame)
            QVERIFY(std::abs(place(frame) - double(frame - first) / Capture::rate) < 1e-3);
        qInfo("play heard after %.1f ms", latency(call, first));
    }

    void pauseAndResumeLoseAndRepeatNothing()
    {
        open(10);
        std::vector<std::int64_t> places;
        for (int round = 0; round < 10; ++round) {
            m_player->play();
            QVERIFY(m_capture->record(0.11 + 0.013 * round));
            m_player->pause();
            QVERIFY(m_capture->record(0.03 + 0.02 * round));
        }
        QVERIFY(m_capture->record(0.2));
        std::int64_t expected = 0;
        for (std::int64_t frame = 0; frame < m_capture->frames(); ++frame) {
            // At the quiet ends of a ramp the place cannot be read to the sample, only counted.
            if (gain(frame) == 0)
                continue;
            if (gain(frame) > 0.1)
                QVERIFY2(std::abs(place(frame) * Capture::rate - double(expected)) < 1.5,
                    qPrintable(u"%1 for %2"_s.arg(place(frame) * Capture::rate).arg(expected)));
            ++expected;
        }
        QVERIFY(expected > Capture::rate);
        verifyNoClick(1, firstFrame(0, true));
    }

    void pauseIsHeardSoon()
    {
        open(5);
        m_player->play();
        QVERIFY(m_capture->record(0.5));
        const double call = Capture::now();
        m_player->pause();
        QVERIFY(!m_player->isPlaying());
        QVERIFY(m_capture->record(0.3));
        const std::int64_t silent = firstFrame(m_capture->frameAt(call), false);
        QVERIFY(silent < m_capture->frames());
        qInfo("pause silent after %.1f ms", latency(call, silent));
        QVERIFY(latency(call, silent) < 150);
        const double heard =
            place(firstFrame(0, true)) + double(silent - firstFrame(0, true)) / Capture::rate;
        QVERIFY2(std::abs(m_player->currentTime() - heard) < 0.02,
            qPrintable(u"%1 %2"_s.arg(m_player->currentTime()).arg(heard)));
    }

    void volumeIsALinearFactorHeardSoon()
    {
        open(5);
        m_player->setVolume(0.75F);
        m_player->play();
        QVERIFY(m_capture->record(0.5));
        const std::int64_t first = firstFrame(0, true);
        QVERIFY(std::abs(gain(m_capture->frames() - 1) - 0.75) < 1e-4);
        const double call = Capture::now();
        m_player->setVolume(0.25F);
        QVERIFY(m_capture->record(0.3));
        QVERIFY(std::abs(gain(m_capture->frames() - 1) - 0.25) < 1e-4);
        std::int64_t changed = m_capture->frameAt(call);
        while (gain(changed) > 0.2501)
            ++changed;
        qInfo("volume heard after %.1f ms", latency(call, changed));
        QVERIFY(latency(call, changed) < 150);
        verifyNoClick(0.5, first);
    }

    void positionIsWhatIsHeard()
    {
        open(5);
        m_player->play();
        double worst = 0;
        std::vector<std::pair<double, double>> readings;
        for (int reading = 0; reading < 60; ++reading) {
            QVERIFY(m_capture->record(0.03));
            readings.emplace_back(Capture::now(), m_player->currentTime());
        }
        QVERIFY(m_capture->record(0.3));
        const std::int64_t first = firstFrame(0, true);
        for (const auto &[time, position] : readings) {
            if (time > m_capture->timeOf(first))
                worst = std::max(worst, std::abs(position - place(m_capture->frameAt(time))));
        }
        qInfo("position at most %.1f ms off", worst * 1000);
        QVERIFY(worst < 0.02);
    }

    void seekCrossesOverToTheTarget()
    {
        open(10);
        m_player->play();
        QVERIFY(m_capture->record(0.5));
        const std::int64_t first = firstFrame(0, true);
        const double call = Capture::now();
        m_player->setCurrentTime(6);
        QCOMPARE(m_player->currentTime(), 6.0);
        QVERIFY(m_capture->record(0.5));
        std::int64_t landed = m_capture->frameAt(call);
        while (landed < m_capture->frames() && place(landed) < 5.99)
            ++landed;
        qInfo("seek heard after %.1f ms", latency(call, landed));
        QVERIFY(latency(call, landed) < 250);
        QVERIFY(place(landed) < 6.05);
        QVERIFY(m_player->currentTime() > 6.2 && m_player->currentTime() < 6.6);
        for (std::int64_t frame = first; frame < m_capture->frames(); ++frame)
            QVERIFY(std::abs(gain(frame) - 1) < 1e-3);
    }

    void endIsReportedWhenItWasHeard()
    {
        open(1);
        RecordingDelegate delegate;
        m_player->setDelegate(&delegate);
        m_player->play();
        QVERIFY(m_capture->record(1.5));
        QCOMPARE(delegate.finishes(), 1);
        QVERIFY(delegate.wasSuccessful());
        QVERIFY(!m_player->isPlaying());
        const std::int64_t first = firstFrame(0, true);
        const std::int64_t end = firstFrame(first, false);
        QCOMPARE(end - first, std::int64_t(Capture::rate));
        const double late = delegate.finishTime() - m_capture->timeOf(end);
        qInfo("end reported %.1f ms after the last sample", late * 1000);
        QVERIFY(late > -0.02 && late < 0.1);
        QVERIFY(m_player->play());
        QVERIFY(m_capture->record(0.3));
        QVERIFY(std::abs(place(firstFrame(end, true))) < 1e-4);
    }

    void destroyedPlayerFadesOut()
    {
        open(5);
        m_player->play();
        QVERIFY(m_capture->record(0.5));
        const std::int64_t first = firstFrame(0, true);
        const double call = Capture::now();
        m_player.reset();
        QVERIFY(Capture::now() - call < 0.05);
        QVERIFY(m_capture->record(0.3));
        const std::int64_t silent = firstFrame(m_capture->frameAt(call), false);
        qInfo("destroyed silent after %.1f ms", latency(call, silent));
        QVERIFY(latency(call, silent) < 150);
        verifyNoClick(1, first);
    }

    void stallOfTheProcessIsNotHeard()
    {
        open(5);
        m_player->play();
        QVERIFY(m_capture->record(0.5));
        // The child goes on while this process, threads and all, stands still.
        const QString script =
            u"kill -STOP %1; sleep 0.2; kill -CONT %1"_s.arg(QCoreApplication::applicationPid());
        QVERIFY(QProcess::startDetached(u"sh"_s, {u"-c"_s, script}));
        QVERIFY(m_capture->record(1));
        const std::int64_t first = firstFrame(0, true);
        for (std::int64_t frame = first; frame < m_capture->frames(); ++frame)
            QVERIFY(std::abs(place(frame) - double(frame - first) / Capture::rate) < 1e-3);
    }
};

QTEST_GUILESS_MAIN(PulseOutputTest)
#include "PulseOutputTest.moc"
