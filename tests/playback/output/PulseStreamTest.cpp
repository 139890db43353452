#include "playback/output/PulseStream.h"
#include "playback/AudioPlayer.h"
#include "tests/TestProgram.h"
#include "tests/playback/WavFile.h"
#include "tests/playback/output/FakePulse.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <cmath>

using namespace Qt::StringLiterals;

namespace {

constexpr AudioFormat stereo{48000, 2};
constexpr std::int64_t frame = 2 * sizeof(float); // bytes
constexpr int fade = 384; // frames

constexpr std::int64_t milliseconds(std::int64_t count)
{
    return count * 48;
}

} // namespace

/// One stream on a server whose clock the test moves: what is queued, overwritten, corked and told, to the frame.
class PulseStreamTest : public QObject {
    Q_OBJECT

private:
    FakePulse &m_server = FakePulse::instance();
    std::shared_ptr<Wakeup> m_wakeup;
    std::shared_ptr<AudioOutput> m_output;
    std::uint32_t m_generation = 0;
    const std::vector<float> m_sound = WavFile::positionCodedSamples(stereo.rate, 2);

    std::shared_ptr<RingBuffer> offer(std::int64_t start, std::int64_t frames)
    {
        auto ring = std::make_shared<RingBuffer>(stereo, 96000);
        ring->reset(++m_generation, start);
        ring->write(std::span(m_sound).subspan(std::size_t(start) * 2, std::size_t(frames) * 2), start);
        m_output->offer(ring);
        return ring;
    }

    void connect()
    {
        m_wakeup = std::make_shared<Wakeup>();
        m_output = PulseStream::open(stereo, m_wakeup, SoundLabel{});
        m_server.settle();
    }

    void play(int time)
    {
        m_output->apply({true, 1});
        m_server.pass(time);
    }

    [[nodiscard]] float gain(std::int64_t read)
    {
        return m_server.stream().read[std::size_t(read) * 2 + 1] / 0.8F;
    }

    /// First frame from `from` on that the server has read as silence; the count of all if there is none.
    [[nodiscard]] std::int64_t firstSilence(std::int64_t from)
    {
        while (from < m_server.stream().readFrame && gain(from) != 0)
            ++from;
        return from;
    }

    /// The frames of the track, in their order, that the server has read with any gain.
    [[nodiscard]] std::vector<std::int64_t> places()
    {
        std::vector<std::int64_t> places;
        const auto &read = m_server.stream().read;
        for (std::size_t index = 0; index < read.size(); index += 2) {
            if (read[index + 1] > 0)
                places.push_back(
                    std::llround((double(read[index] / read[index + 1]) * 0.8 - 0.2) / 0.6 * 96000));
        }
        return places;
    }

    void verifyWhole()
    {
        const auto found = places();
        for (std::size_t index = 0; index < found.size(); ++index)
            QCOMPARE(found[index], std::int64_t(index));
    }

    /// Whether somebody has woken the decoder thread since the last question.
    [[nodiscard]] bool isDecoderWoken() { return m_wakeup->wait(std::chrono::milliseconds(0)); }

private Q_SLOTS:
    void init()
    {
        m_server.reset();
        m_generation = 0;
        connect();
    }

    void cleanup()
    {
        m_output.reset();
        m_server.pass(500);
        QCOMPARE(m_server.misuses, 0);
        QVERIFY(m_server.isAtRest());
        for (const auto &stream : m_server.streams)
            QVERIFY(!stream->isReferenced && !stream->stateChanged && !stream->event && !stream->moved
                && !stream->suspendedChanged);
        for (const auto &stream : m_server.streams)
            QVERIFY(std::all_of(
                stream->aheads.begin(), stream->aheads.end(), [](auto ahead) { return ahead >= 0; }));
        QVERIFY(m_wakeup.use_count() == 1);
    }

    void streamIsAskedForAsItIsPlayed()
    {
        const pa_stream &stream = m_server.stream();
        QVERIFY(m_server.contextFlags & PA_CONTEXT_NOAUTOSPAWN);
        QCOMPARE(stream.spec.format, PA_SAMPLE_FLOAT32NE);
        QCOMPARE(stream.spec.rate, 48000U);
        QCOMPARE(stream.spec.channels, 2);
        QVERIFY(!stream.device);
        QCOMPARE(stream.buffer.tlength, std::uint32_t(milliseconds(400) * frame));
        QCOMPARE(stream.buffer.minreq, std::uint32_t(milliseconds(190) * frame));
        QCOMPARE(stream.buffer.prebuf, 0U);
        QCOMPARE(stream.buffer.maxlength, std::uint32_t(-1));
        QCOMPARE(stream.volume, PA_VOLUME_NORM);
        QCOMPARE(
            int(stream.flags), PA_STREAM_START_CORKED | PA_STREAM_START_UNMUTED | PA_STREAM_RELATIVE_VOLUME);
    }

    void streamIsNamedAfterTheTrack_data()
    {
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("artist");
        QTest::addColumn<QString>("name");
        QTest::newRow("both") << u"El  río\n"_s << u"Ana"_s << u"El río – Ana"_s;
        QTest::newRow("title") << u"El río"_s << QString() << u"El río"_s;
        QTest::newRow("artist") << QString() << u"Ana"_s << u"Ana"_s;
        QTest::newRow("nothing") << QString() << QString() << u"Lumaverdine"_s;
        QTest::newRow("long") << QString(300, u'x') << QString() << QString(200, u'x');
    }

    void streamIsNamedAfterTheTrack()
    {
        QFETCH(QString, title);
        QFETCH(QString, artist);
        QFETCH(QString, name);
        m_output = PulseStream::open(stereo, m_wakeup, SoundLabel{title, artist});
        m_server.settle();
        const auto property = [](const char *key, const QString &value) {
            return value.isEmpty() ? QString() : u"%1 = \"%2\"\n"_s.arg(QLatin1String(key), value);
        };
        QCOMPARE(QString::fromStdString(m_server.stream().name), name);
        const QString shown = QString::fromStdString(m_server.stream().properties);
        QCOMPARE(shown,
            property("media.role", u"music"_s) + property("media.icon_name", u"org.lumaverdine.Lumaverdine"_s)
                + property("media.title", title.simplified().left(200)) + property("media.artist", artist));
        m_output.reset();
    }

    void connectionNamesTheApplication()
    {
        m_server.breakConnection();
        connect();
        const QString shown = QString::fromStdString(m_server.application);
        for (const QString &line : {u"application.name = \"Lumaverdine\"\n"_s,
                 u"application.id = \"org.lumaverdine.Lumaverdine\"\n"_s,
                 u"application.icon_name = \"org.lumaverdine.Lumaverdine\"\n"_s})
            QVERIFY2(shown.contains(line), qPrintable(shown));
    }

    /// Nothing of libpulse's is created in the home folder.
    void serverAndCookieAreThoseThatExist_data()
    {
        QTest::addColumn<QString>("variable"); // one that is set
        QTest::addColumn<QString>("file"); // one that exists
        QTest::addColumn<QString>("server");
        QTest::addColumn<QString>("cookie");
        const QString system = u"unix:/run/pulse/native"_s;
        const QString none = u"/dev/zero"_s;
        QTest::newRow("nothing") << QString() << QString() << system << none;
        QTest::newRow("server") << u"PULSE_SERVER"_s << QString() << QString() << none;
        QTest::newRow("folder of pulse") << u"PULSE_RUNTIME_PATH"_s << QString() << QString() << none;
        QTest::newRow("folder") << u"XDG_RUNTIME_DIR"_s << QString() << QString() << none;
        QTest::newRow("cookie") << u"PULSE_COOKIE"_s << QString() << system << QString();
        QTest::newRow("cookie's file") << QString() << u".config/pulse/cookie"_s << system << QString();
        QTest::newRow("old cookie") << QString() << u".pulse-cookie"_s << system << QString();
        QTest::newRow("link") << QString() << u".config/pulse/a-runtime"_s << QString() << none;
    }

    void serverAndCookieAreThoseThatExist()
    {
        QFETCH(QString, variable);
        QFETCH(QString, file);
        const QTemporaryDir home;
        for (const char *name :
            {"XDG_CONFIG_HOME", "PULSE_SERVER", "PULSE_RUNTIME_PATH", "XDG_RUNTIME_DIR", "PULSE_COOKIE"})
            qunsetenv(name);
        qputenv("HOME", home.path().toUtf8());
        QVERIFY(QDir(home.path()).mkpath(u".config/pulse"_s));
        if (!variable.isEmpty())
            qputenv(variable.toUtf8().constData(), "x");
        if (!file.isEmpty())
            QVERIFY(QFile::link(u"/nowhere"_s, home.filePath(file)));
        if (file.endsWith(u"cookie"))
            QVERIFY(QFile::remove(home.filePath(file)) && WavFile::save(home.filePath(file), "x"));
        m_server.breakConnection();
        connect();
        QTEST(QString::fromStdString(m_server.server), "server");
        QTEST(QString::fromStdString(m_server.cookie), "cookie");
    }

    void playBeforeTheConnectionIsHeardOnceThatIsThere()
    {
        m_server.breakConnection();
        m_wakeup = std::make_shared<Wakeup>();
        m_output = PulseStream::open(stereo, m_wakeup, SoundLabel{});
        offer(0, 96000);
        m_output->apply({true, 1});
        m_server.settle();
        m_server.pass(300);
        QVERIFY(places().size() > 10'000);
        verifyWhole();
    }

    void nothingIsWrittenOrAskedBeforeThePlay()
    {
        offer(0, 96000);
        m_output->apply({false, 0.5F});
        m_server.pass(500);
        QVERIFY(m_server.stream().queue.empty());
        QCOMPARE(m_server.looks, 0);
        QCOMPARE(m_server.stream().corkings, 0);
    }

    void queueHoldsItsLengthAndIsSeldomLookedAt()
    {
        offer(0, 96000);
        m_output->apply({true, 1});
        m_server.pass(2);
        QCOMPARE(m_server.stream().queued(), milliseconds(400 - 1));
        m_server.pass(300);
        const int before = m_server.looks;
        for (int time = 0; time < 1000; ++time) {
            m_server.pass(1);
            QVERIFY(m_server.stream().queued() >= milliseconds(290));
            QVERIFY(m_server.stream().queued() <= milliseconds(400));
        }
        QCOMPARE(m_server.looks - before, 10);
        QCOMPARE(m_server.stream().corkings, 1);
        verifyWhole();
    }

    void stallOfTheProgramIsNotHeard()
    {
        offer(0, 96000);
        play(300);
        m_server.passStalled(280);
        m_server.pass(300);
        verifyWhole();
    }

    void longStallIsSilenceAndThenTheNextFrame()
    {
        offer(0, 96000);
        play(300);
        m_server.passStalled(700);
        m_server.pass(300);
        verifyWhole();
        QVERIFY(gain(m_server.stream().readFrame - 1) > 0.99F);
        const double heard = m_output->status().heard.seconds * 48000;
        QVERIFY(std::abs(double(places().size()) - heard - double(milliseconds(10))) <= 1);
    }

    void positionIsTheFrameThatIsHeard_data()
    {
        QTest::addColumn<int>("latency");
        QTest::addColumn<int>("transport");
        QTest::newRow("at once") << 0 << 0;
        QTest::newRow("usual") << 10 << 0;
        QTest::newRow("slow device") << 150 << 0;
        QTest::newRow("slow answers") << 10 << 30;
    }

    void positionIsTheFrameThatIsHeard()
    {
        QFETCH(int, latency);
        QFETCH(int, transport);
        m_server.latency = latency;
        m_server.transport = transport;
        offer(0, 96000);
        play(200 + 2 * transport);
        for (int time = 0; time < 250; ++time) {
            m_server.pass(1);
            const double off = m_output->status().heard.seconds * 48000 - double(m_server.heardFrame());
            QVERIFY2(std::abs(off) <= 1, qPrintable(QString::number(off)));
        }
    }

    void changeOverwritesALittleBeyondWhatTheDeviceKeeps_data()
    {
        QTest::addColumn<int>("configured");
        QTest::addColumn<int>("transport");
        QTest::addColumn<int>("ahead");
        QTest::newRow("at once") << 0 << 0 << 5;
        QTest::newRow("usual") << 10 << 0 << 15;
        QTest::newRow("slow device") << 100 << 0 << 30;
        QTest::newRow("slow answer") << 10 << 40 << 15;
    }

    void changeOverwritesALittleBeyondWhatTheDeviceKeeps()
    {
        QFETCH(int, configured);
        QFETCH(int, transport);
        QFETCH(int, ahead);
        m_server.configuredLatency = configured;
        m_server.transport = transport;
        offer(0, 96000);
        play(299);
        m_server.answer();
        m_server.stream().aheads.clear();
        m_output->apply({true, 0.5F});
        m_server.answer();
        QVERIFY(!m_server.stream().aheads.empty());
        QCOMPARE(m_server.stream().aheads.front(), milliseconds(ahead));
        const std::int64_t changed = m_server.stream().readFrame + milliseconds(ahead);
        m_server.pass(100);
        QVERIFY(gain(changed - 1) > 0.999F);
        QVERIFY(gain(changed) < 0.999F);
        QVERIFY(std::abs(gain(changed + fade) - 0.5F) < 1e-5F);
        verifyWhole();
    }

    void pauseFadesThenCorksThenSleeps_data()
    {
        QTest::addColumn<int>("transport");
        QTest::addColumn<bool>("saysPlayingCorked");
        QTest::newRow("fast answers") << 0 << false;
        QTest::newRow("slow answers") << 20 << false;
        QTest::newRow("careless answers") << 20 << true;
    }

    void pauseFadesThenCorksThenSleeps()
    {
        QFETCH(int, transport);
        QFETCH(bool, saysPlayingCorked);
        m_server.transport = transport;
        m_server.saysPlayingCorked = saysPlayingCorked;
        offer(0, 96000);
        play(300);
        m_server.answer();
        m_output->apply({false, 1});
        m_server.answer();
        const std::int64_t silent = m_server.stream().readFrame + milliseconds(15) + fade;
        const int asked = m_server.looks;
        while (!m_server.stream().isCorked)
            m_server.pass(1);
        QVERIFY2(m_server.looks - asked <= 3, qPrintable(QString::number(m_server.looks - asked)));
        QCOMPARE(firstSilence(milliseconds(10)), silent);
        // The silence is heard, and a little of it has been read ahead of that.
        const std::int64_t corked = m_server.heardFrame() - silent;
        QVERIFY2(corked >= milliseconds(25) && corked <= milliseconds(28 + 2 * transport),
            qPrintable(QString::number(corked)));
        const double paused = m_output->status().heard.seconds;
        QCOMPARE(paused, double(silent) / 48000);
        const int before = m_server.looks;
        m_server.pass(5000);
        QCOMPARE(m_server.looks, before);
        QCOMPARE(m_output->status().heard.seconds, paused);
        QCOMPARE(m_server.stream().corkings, 2);

        // Nothing of the silence that is queued delays the resume.
        m_server.stream().aheads.clear();
        m_output->apply({true, 1});
        m_server.answer();
        QCOMPARE(m_server.stream().aheads.front(), 0);
        QVERIFY(!m_server.stream().isCorked);
        QCOMPARE(m_output->status().heard.seconds, paused);
        m_server.pass(500);
        verifyWhole();
    }

    void soundThatIsCalledBackDuringTheFadeIsNotCorked()
    {
        offer(0, 96000);
        play(300);
        m_output->apply({false, 1});
        m_server.pass(5);
        m_output->apply({true, 1});
        m_server.pass(300);
        QCOMPARE(m_server.stream().corkings, 1);
        QVERIFY(gain(m_server.stream().readFrame - 1) > 0.99F);
    }

    void requestOfTheServerPausesWhileItLasts()
    {
        offer(0, 96000);
        play(300);
        m_server.send("something else");
        m_server.pass(100);
        QVERIFY(!m_server.stream().isCorked);
        m_server.send(PA_STREAM_EVENT_REQUEST_CORK);
        m_server.pass(100);
        QVERIFY(m_server.stream().isCorked);
        m_output->apply({true, 0.9F});
        m_server.pass(100);
        QVERIFY(m_server.stream().isCorked);
        m_server.send(PA_STREAM_EVENT_REQUEST_UNCORK);
        m_server.pass(100);
        QVERIFY(!m_server.stream().isCorked);
        verifyWhole();
    }

    void sleepingDeviceHoldsThePositionAndIsNotAsked()
    {
        offer(0, 96000);
        play(300);
        m_server.suspend(true);
        m_server.pass(200);
        const double held = m_output->status().heard.seconds;
        QVERIFY(std::abs(held * 48000 - double(m_server.heardFrame())) < milliseconds(3));
        const int before = m_server.looks;
        m_server.pass(3000);
        QCOMPARE(m_server.looks, before);
        QCOMPARE(m_output->status().heard.seconds, held);
        m_server.suspend(false);
        m_server.pass(400);
        QVERIFY(m_output->status().heard.seconds > held + 0.3);
        verifyWhole();
    }

    void pauseWhileTheDeviceSleepsCorksAtOnce()
    {
        offer(0, 96000);
        play(300);
        m_server.suspend(true);
        m_server.pass(100);
        m_output->apply({false, 1});
        m_server.pass(3);
        QVERIFY(m_server.stream().isCorked);
    }

    void changeWhileTheDeviceSleepsIsWrittenWhereItStopped()
    {
        m_server.transport = 40;
        offer(0, 96000);
        play(300);
        m_server.suspend(true);
        m_server.answer();
        m_server.stream().aheads.clear();
        m_output->apply({true, 0.5F});
        m_server.answer();
        QCOMPARE(m_server.stream().aheads.front(), milliseconds(15));
    }

    void anotherDeviceIsAskedAtOnce()
    {
        offer(0, 96000);
        play(300);
        m_server.pass(20);
        const int before = m_server.looks;
        m_server.move();
        QCOMPARE(m_server.looks, before + 1);
    }

    void everyEndIsToldWhenItIsHeard()
    {
        play(1);
        for (int round = 0; round < 2; ++round) { // as of a track that repeats itself
            const auto ring = offer(0, 24000);
            ring->finish();
            m_output->offer(ring);
            m_server.pass(400);
            (void)isDecoderWoken();
            while (m_output->status().heard.seconds < 0.5) {
                QVERIFY(!m_output->status().isEndHeard);
                m_server.pass(1);
            }
            m_server.pass(3);
            QVERIFY(m_output->status().isEndHeard);
            QVERIFY(isDecoderWoken());
            const int before = m_server.looks;
            m_server.pass(300);
            QVERIFY(m_server.looks - before <= 4);
            QVERIFY(!isDecoderWoken());
            QCOMPARE(m_output->status().heard.seconds, 0.5);
        }
    }

    void framesThatComeLateAreHeardWithoutWaitingForTheQueue()
    {
        play(300);
        offer(0, 48000);
        m_server.pass(300);
        QCOMPARE(places().size(), std::size_t(milliseconds(300 - 1 - 15)));
        verifyWhole();
    }

    void closedOutputFadesOutAndLeaves()
    {
        offer(0, 96000);
        play(300);
        m_output.reset();
        m_server.pass(1);
        const std::int64_t silent = m_server.stream().readFrame + milliseconds(15) + fade;
        QVERIFY(m_server.stream().isReferenced);
        m_server.pass(100);
        QVERIFY(!m_server.stream().isReferenced);
        QCOMPARE(m_server.stream().state, PA_STREAM_TERMINATED);
        QCOMPARE(firstSilence(milliseconds(10)), silent);
    }

    void closedOutputThatIsPausedLeavesAtOnce()
    {
        offer(0, 96000);
        m_output->apply({true, 1}); // and has not begun to sound
        QVERIFY(!m_server.isAtRest());
        m_output.reset();
        QVERIFY(!m_server.stream().isReferenced);
        QVERIFY(m_server.isAtRest());
    }

    void closedOutputLeavesItsRingAlone()
    {
        const auto ring = offer(0, 48000);
        play(300);
        m_output.reset();
        QCOMPARE(ring.use_count(), 1);
        const std::int64_t left = ring->available();
        QVERIFY(left > 0);
        m_server.pass(100);
        QCOMPARE(ring->available(), left);
    }

    void changeAfterALongStallIsNotWrittenIntoThePast_data()
    {
        QTest::addColumn<bool>("isPlaying");
        QTest::newRow("volume") << true;
        QTest::newRow("pause") << false;
    }

    void changeAfterALongStallIsNotWrittenIntoThePast()
    {
        QFETCH(bool, isPlaying);
        offer(0, 96000);
        play(300);
        m_server.pass(20);
        m_server.passStalled(700);
        m_output->apply({isPlaying, 0.5F});
        m_server.pass(300);
        QCOMPARE(m_server.stream().isCorked, !isPlaying);
        verifyWhole();
    }

    void failedOutputStaysSoWhenAnotherConnects()
    {
        m_output.reset();
        m_server.breakConnection(true);
        const auto failed = PulseStream::open(stereo, std::make_shared<Wakeup>(), SoundLabel{});
        m_server.reset();
        connect();
        QCOMPARE(m_server.streams.size(), 1U);
        QCOMPARE(failed->status().state, AudioOutput::State::Failed);
        QCOMPARE(m_output->status().state, AudioOutput::State::Ready);
    }

    void lostConnectionFailsForGoodAndKeepsThePosition()
    {
        offer(0, 96000);
        play(300);
        (void)isDecoderWoken();
        m_server.breakConnection();
        const AudioOutput::Status status = m_output->status();
        QCOMPARE(status.state, AudioOutput::State::Failed);
        QVERIFY(isDecoderWoken());
        QVERIFY(std::abs(status.heard.seconds * 48000 - double(m_server.heardFrame())) <= 1);
        m_server.pass(500);
        QCOMPARE(m_output->status().heard.seconds, status.heard.seconds);

        m_server.contexts = 0;
        m_output.reset();
        QVERIFY(!m_server.stream().isReferenced);
        connect();
        QCOMPARE(m_server.contexts, 1);
        QCOMPARE(m_output->status().state, AudioOutput::State::Ready);
        QVERIFY(isDecoderWoken());
    }

    void connectionLostDuringTheFadeOutLeavesNothing()
    {
        offer(0, 96000);
        play(300);
        m_output.reset();
        m_server.breakConnection();
        QVERIFY(!m_server.stream().isReferenced);
        QCOMPARE(m_wakeup.use_count(), 1);
    }

    void refusalIsAFailureAtOnce_data()
    {
        QTest::addColumn<bool>("isStream");
        QTest::newRow("connection") << false;
        QTest::newRow("stream") << true;
    }

    void refusalIsAFailureAtOnce()
    {
        QFETCH(bool, isStream);
        m_output.reset();
        if (!isStream)
            m_server.breakConnection(true);
        m_server.isRefusingStreams = isStream;
        m_wakeup = std::make_shared<Wakeup>();
        m_output = PulseStream::open(stereo, m_wakeup, SoundLabel{});
        QCOMPARE(m_output->status().state, AudioOutput::State::Failed);
        QVERIFY(isDecoderWoken());
        play(100);
        QCOMPARE(m_output->status().state, AudioOutput::State::Failed);
    }

    void streamsShareOneConnection() const
    {
        const int before = m_server.contexts;
        const auto other = PulseStream::open(stereo, std::make_shared<Wakeup>(), SoundLabel{});
        QCOMPARE(other->status().state, AudioOutput::State::Connecting);
        QCOMPARE(m_server.contexts, before);
        QCOMPARE(m_server.streams.size(), 2U);
    }

    void clockFollowsTheSoundButNotBeyondWhatWasWritten()
    {
        PulseClock clock(48000);
        clock.set(1'000'000, 4800, true);
        QCOMPARE(clock.frameAt(1'010'000, 1'000'000), 4800 + 480);
        QCOMPARE(clock.frameAt(2'000'000, 10'000), 10'000);
        QCOMPARE(clock.frameAt(900'000, 1'000'000), 4800);
        QCOMPARE(clock.timeOf(4800 + 48), 1'001'000U);
        QCOMPARE(clock.timeOf(4800), 1'000'000U);
        QCOMPARE(clock.timeOf(100), 1'000'000U);
    }

    void clockStandsStillWhereTheSoundDoes()
    {
        PulseClock clock(48000);
        clock.set(1'000'000, 4800, false);
        QCOMPARE(clock.frameAt(9'000'000, 1'000'000), 4800);
    }

    void clockIsNeverNegative()
    {
        PulseClock clock(48000);
        clock.set(1'000'000, -2400, true);
        QCOMPARE(clock.frameAt(1'000'000, 1'000'000), 0);
    }
};

LUMAVERDINE_TEST(PulseStreamTest)
#include "PulseStreamTest.moc"
