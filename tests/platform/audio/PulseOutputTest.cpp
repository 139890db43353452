#include "platform/audio/AudioPlayer.h"
#include "tests/platform/audio/PositionCapture.h"
#include "tests/platform/audio/RecordingDelegate.h"
#include "tests/platform/audio/WavFile.h"

#include <QDir>
#include <QMetaMethod>
#include <QSet>
#include <QTest>
#include <cmath>

using namespace Qt::StringLiterals;

/// What is heard of a player through a sound server, read off a capture of the position-coded signal.
class PulseOutputTest : public QObject {
    Q_OBJECT

public:
    QSet<PulseDaemon::Kind> failures; ///< the servers that a test has failed with

    /// Names of all tests.
    [[nodiscard]] QStringList functions() const
    {
        const QStringList helpers{
            u"initTestCase"_s, u"initTestCase_data"_s, u"cleanupTestCase"_s, u"init"_s, u"cleanup"_s};
        QStringList names;
        for (int index = metaObject()->methodOffset(); index < metaObject()->methodCount(); ++index) {
            const QString name = QString::fromLatin1(metaObject()->method(index).name());
            if (!helpers.contains(name))
                names.append(name);
        }
        return names;
    }

private:
    QTemporaryDir m_folder;
    QTemporaryDir m_home;
    std::unique_ptr<PulseDaemon> m_daemon;
    std::unique_ptr<PositionCapture> m_capture;
    std::unique_ptr<AudioPlayer> m_player;

    void open(double seconds)
    {
        const QString path = m_folder.filePath(u"sound.wav"_s);
        const auto samples = WavFile::positionCodedSamples(Capture::rate, PositionCapture::length);
        const auto count = std::size_t(seconds * Capture::rate) * 2;
        QVERIFY(WavFile::save(path, WavFile::encoded(std::span(samples).first(count), Capture::rate, 2)));
        m_player = AudioPlayer::open(QUrl::fromLocalFile(path)).take();
        QVERIFY(m_player->prepareToPlay());
        QVERIFY(m_capture->record(0.3));
    }

    void release()
    {
        m_player.reset();
        m_capture.reset();
        m_daemon.reset();
    }

    /// Prints a figure that was read off a capture.
    static void report(const char *name, double milliseconds) { qInfo("%s: %.1f ms", name, milliseconds); }

    /// Whether all from `from` on is free of steps that a ramp over `range` of the gain does not have.
    [[nodiscard]] bool isSmooth(double range, std::int64_t from = 0) const
    {
        return m_capture->steepestStep(from, m_capture->frames()) <= PositionCapture::rampStep(range);
    }

    /// Whether the track is heard from its start on, frame by frame.
    [[nodiscard]] bool isContiguous(std::int64_t first, std::int64_t last) const
    {
        for (std::int64_t frame = first; frame < last; ++frame) {
            if (!m_capture->isSounding(frame)
                || std::abs(m_capture->place(frame) - double(frame - first) / Capture::rate) > 1e-3)
                return false;
        }
        return true;
    }

    /// Plays for half a second; answers the first frame that is heard.
    [[nodiscard]] std::int64_t playAWhile()
    {
        m_player->play();
        return m_capture->record(0.5) ? m_capture->firstFrame(0, true) : m_capture->frames();
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

    void initTestCase_data()
    {
        QTest::addColumn<PulseDaemon::Kind>("kind");
        QTest::newRow("PulseAudio") << PulseDaemon::Kind::PulseAudio;
        QTest::newRow("PipeWire") << PulseDaemon::Kind::PipeWire;
    }

    void init()
    {
        QFETCH_GLOBAL(PulseDaemon::Kind, kind);
        release();
        m_daemon = std::make_unique<PulseDaemon>(kind);
        QVERIFY(m_daemon->start());
        m_capture = std::make_unique<PositionCapture>();
        QVERIFY(m_capture->start());
    }

    void cleanup()
    {
        QFETCH_GLOBAL(PulseDaemon::Kind, kind);
        if (QTest::currentTestFailed())
            failures.insert(kind);
        release();
    }

    void theFirstSamplesAreHeardAsTheyAre()
    {
        open(5);
        const double call = Capture::now();
        QVERIFY(m_player->play());
        QVERIFY(m_capture->record(0.5));
        const std::int64_t first = m_capture->firstFrame(0, true);
        QCOMPARE(float(m_capture->gain(first)), 1.0F);
        QVERIFY(std::abs(m_capture->place(first)) < 1e-4);
        QVERIFY(isContiguous(first, first + 10'000));
        report("play", m_capture->latency(call, first));
        QVERIFY(m_capture->latency(call, first) < 40);
    }

    void hundredPausesAndResumesLoseAndRepeatNothing()
    {
        open(20);
        for (int round = 0; round < 100; ++round) {
            m_player->play();
            QVERIFY(m_capture->record(0.06 + 0.001 * (round % 17)));
            m_player->pause();
            QVERIFY(m_capture->record(0.02 + 0.01 * (round % 11)));
        }
        QVERIFY(m_capture->record(0.2));
        std::int64_t expected = 0;
        for (std::int64_t frame = 0; frame < m_capture->frames(); ++frame) {
            // At the quiet ends of a ramp the place cannot be read to the sample, only counted.
            if (m_capture->gain(frame) == 0)
                continue;
            const double found =
                m_capture->gain(frame) > 0.1 ? m_capture->place(frame) * Capture::rate : double(expected);
            QVERIFY2(std::abs(found - double(expected)) < 1.5,
                qPrintable(u"%1 for %2"_s.arg(found).arg(expected)));
            ++expected;
        }
        QVERIFY(expected > 3 * Capture::rate);
        QVERIFY(isSmooth(1, m_capture->firstFrame(0, true)));
    }

    void pauseIsHeardSoon()
    {
        open(5);
        const std::int64_t first = playAWhile();
        const double call = Capture::now();
        m_player->pause();
        QVERIFY(!m_player->isPlaying());
        QVERIFY(m_capture->record(0.3));
        const std::int64_t silent = m_capture->firstFrame(first, false);
        report("pause", m_capture->latency(call, silent));
        QVERIFY(m_capture->latency(call, silent) > 0);
        QVERIFY(m_capture->latency(call, silent) < 60);
        QVERIFY(isSmooth(1, first));
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
        QVERIFY(m_capture->record(0.3));
        const std::int64_t silent = m_capture->firstFrame(first, false);
        report("stop", m_capture->latency(call, silent));
        QVERIFY(m_capture->latency(call, silent) > 0);
        QVERIFY(m_capture->latency(call, silent) < 60);
        // The step to the start comes while the fade out is under way, and is a fade itself.
        QVERIFY(isSmooth(2, first));
        m_player->play();
        QVERIFY(m_capture->record(0.3));
        const std::int64_t again = m_capture->firstFrame(silent, true);
        QVERIFY(std::abs(m_capture->place(again)) < 1e-4);
    }

    void volumeIsALinearFactorHeardSoon()
    {
        open(5);
        m_player->setVolume(0.75F);
        const std::int64_t first = playAWhile();
        QVERIFY(std::abs(m_capture->gain(m_capture->frames() - 1) - 0.75) < 1e-4);
        const double call = Capture::now();
        m_player->setVolume(0.25F);
        QVERIFY(m_capture->record(0.3));
        QVERIFY(std::abs(m_capture->gain(m_capture->frames() - 1) - 0.25) < 1e-4);
        std::int64_t changed = first;
        while (m_capture->gain(changed) > 0.2501)
            ++changed;
        report("volume", m_capture->latency(call, changed));
        QVERIFY(m_capture->latency(call, changed) > 0);
        QVERIFY(m_capture->latency(call, changed) < 60);
        QVERIFY(isSmooth(0.5, first));
        QVERIFY(isContiguous(first, m_capture->frames()));
    }

    void positionIsWhatIsHeard()
    {
        open(5);
        m_player->play();
        std::vector<std::pair<double, double>> readings;
        for (int reading = 0; reading < 60; ++reading) {
            QVERIFY(m_capture->record(0.03));
            readings.emplace_back(Capture::now(), m_player->currentTime());
        }
        QVERIFY(m_capture->record(0.3));
        const std::int64_t first = m_capture->firstFrame(0, true);
        double worst = 0;
        for (const auto &[time, position] : readings) {
            if (time > m_capture->timeOf(first))
                worst = std::max(worst, std::abs(position - m_capture->place(m_capture->frameAt(time))));
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
        QVERIFY(m_capture->record(0.5));
        std::int64_t landed = first;
        while (landed < m_capture->frames() && m_capture->place(landed) < 5.99)
            ++landed;
        report("seek", m_capture->latency(call, landed));
        QVERIFY(m_capture->latency(call, landed) < 120);
        QVERIFY(m_capture->place(landed) < 6.05);
        QVERIFY(m_player->currentTime() > 6.2 && m_player->currentTime() < 6.6);
        for (std::int64_t frame = first; frame < m_capture->frames(); ++frame)
            QVERIFY(std::abs(m_capture->gain(frame) - 1) < 1e-3);
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
            QVERIFY(m_capture->record(0.01));
        }
        QVERIFY(m_capture->record(0.5));
        const std::int64_t settled = m_capture->frameAt(call + 0.12);
        for (std::int64_t frame = settled; frame < m_capture->frames(); ++frame) {
            const double expected = 4.5 + m_capture->timeOf(frame) - call;
            QVERIFY2(m_capture->place(frame) <= expected && m_capture->place(frame) > expected - 0.12,
                qPrintable(u"%1 for %2"_s.arg(m_capture->place(frame)).arg(expected)));
        }
        for (std::int64_t frame = first + 1; frame < m_capture->frames(); ++frame) {
            QVERIFY(std::abs(m_capture->gain(frame) - 1) < 1e-3);
            // A fade of 16 ms from one end of the track to the other, a few of them at once.
            const double step = std::abs(m_capture->place(frame) - m_capture->place(frame - 1));
            QVERIFY2(step < 5 * 19 / (0.016 * Capture::rate), qPrintable(QString::number(step)));
        }
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
        const std::int64_t first = m_capture->firstFrame(0, true);
        const std::int64_t end = m_capture->firstFrame(first, false);
        QCOMPARE(end - first, std::int64_t(Capture::rate));
        const double late = (delegate.finishTime() - m_capture->timeOf(end)) * 1000;
        report("end reported", late);
        // The capture itself comes a period of the server late.
        QVERIFY(late > -15 && late < 40);
        QVERIFY(m_player->play());
        QVERIFY(m_capture->record(0.3));
        QVERIFY(std::abs(m_capture->place(m_capture->firstFrame(end, true))) < 1e-4);
    }

    void destroyedPlayerFadesOut()
    {
        open(5);
        const std::int64_t first = playAWhile();
        const double call = Capture::now();
        m_player.reset();
        QVERIFY(Capture::now() - call < 0.05);
        QVERIFY(m_capture->record(0.3));
        const std::int64_t silent = m_capture->firstFrame(first, false);
        report("destroy", m_capture->latency(call, silent));
        QVERIFY(m_capture->latency(call, silent) > 0);
        QVERIFY(m_capture->latency(call, silent) < 60);
        QVERIFY(isSmooth(1, first));
    }

    void stallOfTheProcessIsNotHeard()
    {
        open(5);
        const std::int64_t first = playAWhile();
        // The child goes on while this process, threads and all, stands still.
        const QString script =
            u"kill -STOP %1; sleep 0.2; kill -CONT %1"_s.arg(QCoreApplication::applicationPid());
        QVERIFY(QProcess::startDetached(u"sh"_s, {u"-c"_s, script}));
        QVERIFY(m_capture->record(1));
        QVERIFY(isContiguous(first, m_capture->frames()));
    }
};

namespace {

/// Runs one function. PipeWire drops a period now and then on a machine that is too busy for it, whoever
/// plays: what fails there, and there alone, has two more chances.
bool passes(PulseOutputTest &test, const QStringList &arguments)
{
    for (int attempt = 0; attempt < 3; ++attempt) {
        test.failures = {};
        if (QTest::qExec(&test, arguments) == 0)
            return true;
        if (!test.failures.isEmpty() && test.failures != QSet{PulseDaemon::Kind::PipeWire})
            return false;
    }
    return false;
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    PulseOutputTest test;
    if (argc > 1)
        return QTest::qExec(&test, argc, argv);
    bool allPass = true;
    for (const QString &function : test.functions())
        allPass = passes(test, {application.arguments().first(), function}) && allPass;
    return allPass ? 0 : 1;
}
#include "PulseOutputTest.moc"
