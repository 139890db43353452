#include "playback/output/NullOutput.h"
#include "tests/TestProgram.h"
#include "tests/playback/FakeDecoder.h"
#include "tests/playback/HandOutput.h"
#include "tests/playback/RecordingDelegate.h"

#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QScopeGuard>
#include <cmath>
#include <cstring>

using namespace std::chrono_literals;

namespace {

/// What an output answers, and what was asked of all that follow the same script.
struct OutputScript {
    std::atomic<AudioOutput::State> state = AudioOutput::State::Failed;
    std::atomic<double> heard = 0;
    std::atomic<std::uint32_t> generation = 0;
    std::atomic<bool> isEndHeard = false;
    std::atomic<bool> isPlaying = false; ///< what was applied last
    std::shared_ptr<Wakeup> decoder;
    std::shared_ptr<RingBuffer> next; ///< the one that follows
    std::shared_ptr<RingBuffer> ring; ///< the one offered last, unless it was taken back
    std::atomic<int> made = 0, alive = 0, offers = 0, questions = 0;
};

class ScriptedOutput final : public AudioOutput {
public:
    ScriptedOutput(std::shared_ptr<Wakeup> decoder, OutputScript &script)
        : m_script(script)
    {
        ++m_script.made;
        ++m_script.alive;
        m_script.decoder = std::move(decoder);
        m_script.decoder->signal();
    }
    ~ScriptedOutput() override { --m_script.alive; }
    void apply(const Mix &mix) override { m_script.isPlaying = mix.isPlaying; }
    void offer(std::shared_ptr<RingBuffer> ring) override
    {
        m_script.ring = std::move(ring);
        m_script.offers += m_script.ring ? 1 : 0;
    }
    void follow(std::shared_ptr<RingBuffer> ring) override { m_script.next = std::move(ring); }
    void handOver(std::shared_ptr<Wakeup> decoder, const SoundLabel &) override
    {
        m_script.decoder = std::move(decoder);
    }
    [[nodiscard]] Status status() override
    {
        ++m_script.questions;
        return {m_script.state, {m_script.heard, m_script.generation}, m_script.isEndHeard};
    }

private:
    OutputScript &m_script;
};

OutputFactory factoryOf(OutputScript &script)
{
    return [&script](AudioFormat, std::shared_ptr<Wakeup> decoder, const SoundLabel &) {
        return std::make_unique<ScriptedOutput>(std::move(decoder), script);
    };
}

/// A session whose decoder thread waits for its medium once it has been started, so that the test does its work.
class WaitingSession {
public:
    explicit WaitingSession(OutputScript &script)
    {
        if (pipe2(m_pipe, O_CLOEXEC) != 0)
            qFatal("No pipe.");
        session = Session::make(std::make_unique<FakeDecoder>(FakeDecoder::Script{
                                    .isReading = m_isReading, .isGone = m_isGone, .blocksOn = m_pipe[0]}),
            stop, factoryOf(script));
    }
    ~WaitingSession()
    {
        session.reset();
        close(m_pipe[1]);
        if (*m_isReading && !QTest::qWaitFor([this] { return m_isGone->load(); }))
            qFatal("The decoder thread does not end.");
        close(m_pipe[0]);
    }
    WaitingSession(const WaitingSession &) = delete;
    WaitingSession &operator=(const WaitingSession &) = delete;

    /// Makes the output and starts the decoder thread.
    bool prepare()
    {
        return session->prepareToPlay() && QTest::qWaitFor([this] { return m_isReading->load(); });
    }

    const std::shared_ptr<std::atomic<bool>> stop = std::make_shared<std::atomic<bool>>(false);
    std::shared_ptr<Session> session;

private:
    int m_pipe[2] = {};
    const std::shared_ptr<std::atomic<bool>> m_isReading = std::make_shared<std::atomic<bool>>(false);
    const std::shared_ptr<std::atomic<bool>> m_isGone = std::make_shared<std::atomic<bool>>(false);
};

} // namespace

/// A player on a decoder and an output of the test's own.
class SessionTest : public QObject {
    Q_OBJECT

private:
    HandOutput *m_output = nullptr; ///< the newest; owned by its player

    std::shared_ptr<AudioPlayer> makePlayer(const FakeDecoder::Script &script = {})
    {
        return makePlayer(script, HandOutput::factory(m_output));
    }

    std::shared_ptr<AudioPlayer> makePlayer(const FakeDecoder::Script &script, OutputFactory factory)
    {
        return Session::make(std::make_unique<FakeDecoder>(script),
            std::make_shared<std::atomic<bool>>(false), std::move(factory));
    }

    /// Lets time pass in small steps, as the decoder thread keeps up, until `condition` holds.
    template <typename Condition> bool playUntil(Condition condition)
    {
        return QTest::qWaitFor([&] {
            m_output->advance(1920);
            return condition();
        });
    }

private Q_SLOTS:
    void isSilentUntilPlayed()
    {
        const auto player = makePlayer();
        QVERIFY(player->prepareToPlay());
        QVERIFY(!player->isPlaying());
        QCOMPARE(player->currentTime(), 0.0);
        QCOMPARE(player->duration(), 10.0);
        QCOMPARE(m_output->advance(100), std::vector<float>(200, 0.0F));
    }

    void playsFromTheStartWithItsVolume()
    {
        const auto player = makePlayer();
        player->setVolume(0.5F);
        QVERIFY(player->play());
        QVERIFY(player->isPlaying());
        QVERIFY(playUntil([&] { return player->currentTime() > 0.1; }));
        const auto samples = m_output->advance(10);
        QVERIFY(std::abs(samples[1] - 0.4F) < 1e-6F);
    }

    void volumeIsKeptBetweenZeroAndOne()
    {
        const auto player = makePlayer();
        player->setVolume(7);
        player->play();
        QVERIFY(playUntil([&] { return player->currentTime() > 0.1; }));
        QVERIFY(std::abs(m_output->advance(1)[1] - 0.8F) < 1e-6F);
        player->setVolume(0.1F);
        m_output->advance(480);
        QVERIFY(std::abs(m_output->advance(1)[1] - 0.08F) < 1e-6F);
        player->setVolume(std::nanf(""));
        m_output->advance(480);
        QCOMPARE(m_output->advance(1)[1], 0.0F);
    }

    void pauseKeepsThePosition_data()
    {
        QTest::addColumn<bool>("isStop");
        QTest::newRow("pause") << false;
        QTest::newRow("stop") << true;
    }

    void pauseKeepsThePosition()
    {
        QFETCH(bool, isStop);
        const auto player = makePlayer();
        player->play();
        QVERIFY(playUntil([&] { return player->currentTime() > 0.5; }));
        if (isStop)
            player->stop();
        else
            player->pause();
        QVERIFY(!player->isPlaying());
        m_output->advance(4800);
        const double paused = player->currentTime();
        m_output->advance(48000);
        QCOMPARE(player->currentTime(), paused);
        QVERIFY(player->play());
        m_output->advance(4800);
        QVERIFY(std::abs(player->currentTime() - paused - 0.1) < 1e-6);
    }

    void seekIsAnsweredAtOnceAndThenHeard()
    {
        const auto player = makePlayer({.blockFrames = 200'000}); // more than is read ahead
        player->play();
        QVERIFY(playUntil([&] { return player->currentTime() > 0.1; }));
        player->setCurrentTime(7);
        QCOMPARE(player->currentTime(), 7.0);
        QVERIFY(playUntil([&] { return player->currentTime() != 7; }));
        QVERIFY(player->currentTime() > 7);
        QVERIFY(playUntil([&] { return player->currentTime() > 7.2; }));
        const auto samples = m_output->advance(1);
        QVERIFY(std::abs(double(samples[0]) - 0.2 - 0.06 * player->currentTime()) < 1e-4);
    }

    void playFromTheStartSeeksNowhere()
    {
        const auto seeks = std::make_shared<std::atomic<int>>(0);
        const auto player = makePlayer({.seeks = seeks});
        player->play();
        QVERIFY(playUntil([&] { return player->currentTime() > 0.5; }));
        QCOMPARE(*seeks, 0);
        player->setCurrentTime(0);
        m_output->advance(1); // what follows is the start, however soon
        QVERIFY(playUntil([&] { return *seeks == 1 && player->currentTime() > 0.1; }));
        QVERIFY(player->currentTime() < 0.4);
        QVERIFY(std::abs(double(m_output->advance(1)[0]) - 0.2 - 0.06 * player->currentTime()) < 1e-4);
    }

    void firstPlaceElsewhereIsSought()
    {
        const auto seeks = std::make_shared<std::atomic<int>>(0);
        const auto player = makePlayer({.seeks = seeks});
        player->setCurrentTime(5);
        player->play();
        QVERIFY(playUntil([&] { return player->currentTime() > 5.1; }));
        QCOMPARE(*seeks, 1);
    }

    void placeThatCannotBeSoughtIsAnError()
    {
        RecordingDelegate delegate;
        const auto player = makePlayer({.isFixed = true});
        player->setDelegate(&delegate);
        player->setCurrentTime(5);
        player->play();
        QVERIFY(playUntil([&] { return delegate.errors() == 1; }));
        QVERIFY(delegate.wasErrorNamed());
        QCOMPARE(player->duration(), 10.0);
    }

    void longSeekIsGivenUpForTheNext()
    {
        const auto isSeeking = std::make_shared<std::atomic<bool>>(false);
        const auto player = makePlayer({.neverReaches = 7, .isSeeking = isSeeking});
        player->play();
        player->setCurrentTime(7);
        QVERIFY(QTest::qWaitFor([&] { return isSeeking->load(); }));
        player->setCurrentTime(3);
        QVERIFY(playUntil([&] { return player->currentTime() > 3.1; }));
        QVERIFY(player->isPlaying());
    }

    void longSeekEndsWithItsPlayer()
    {
        const auto isSeeking = std::make_shared<std::atomic<bool>>(false);
        const auto isGone = std::make_shared<std::atomic<bool>>(false);
        auto player = makePlayer({.isGone = isGone, .neverReaches = 7, .isSeeking = isSeeking});
        player->play();
        player->setCurrentTime(7);
        QVERIFY(QTest::qWaitFor([&] { return isSeeking->load(); }));
        player.reset();
        QVERIFY(QTest::qWaitFor([&] { return isGone->load(); }));
    }

    void seekWhilePausedStaysPaused()
    {
        const auto player = makePlayer();
        player->prepareToPlay();
        player->setCurrentTime(3);
        m_output->advance(48000);
        QVERIFY(!player->isPlaying());
        QCOMPARE(player->currentTime(), 3.0);
        player->play();
        QVERIFY(playUntil([&] { return player->currentTime() > 3.1; }));
        QVERIFY(player->currentTime() < 3.2);
    }

    void lastOfManySeeksWins()
    {
        const auto player = makePlayer();
        player->play();
        for (int target = 1; target <= 90; ++target)
            player->setCurrentTime(target / 10.0);
        QCOMPARE(player->currentTime(), 9.0);
        QVERIFY(playUntil([&] { return player->currentTime() > 9.05; }));
        QVERIFY(player->currentTime() < 9.2);
    }

    /// The position-coded signal tells which place each sample is from.
    void manySeeksNeverMixPlaces()
    {
        constexpr double longestFade = 0.02; // seconds
        const auto player = makePlayer({.blockFrames = 480});
        player->setVolume(1);
        player->play();
        for (int seek = 0; seek < 500; ++seek) {
            const double target = 0.5 + seek * 37 % 89 / 10.0;
            player->setCurrentTime(target);
            const QDeadlineTimer deadline(30'000);
            while (player->currentTime() < target + longestFade && !deadline.hasExpired())
                m_output->advance(96);
            const double place = player->currentTime();
            const std::vector<float> sound = m_output->advance(1);
            QVERIFY(std::abs((sound[0] - 0.2) / 0.6 * 10 - place) < 0.0001);
            QVERIFY(place < target + 1);
        }
    }

    void seekIsClamped()
    {
        const auto player = makePlayer();
        player->setCurrentTime(-5);
        QCOMPARE(player->currentTime(), 0.0);
        player->setCurrentTime(500);
        QCOMPARE(player->currentTime(), 10.0);
        player->setCurrentTime(std::nan(""));
        QCOMPARE(player->currentTime(), 0.0);
    }

    void unknownLengthLimitsNoSeek()
    {
        const auto player = makePlayer({.claimedSeconds = 0});
        player->setCurrentTime(7);
        QCOMPARE(player->currentTime(), 7.0);
        player->play();
        QVERIFY(playUntil([&] { return player->currentTime() > 7.2; }));
        QVERIFY(playUntil([&] { return !player->isPlaying(); }));
        QCOMPARE(player->duration(), 10.0);
        player->setCurrentTime(12);
        QCOMPARE(player->duration(), 12.0);
    }

    void oneSecondIsAKnownLength()
    {
        const auto player = makePlayer({.seconds = 1, .claimedSeconds = 1});
        player->setCurrentTime(7);
        QCOMPARE(player->duration(), 1.0);
    }

    void endIsReportedOnceItWasHeard()
    {
        RecordingDelegate delegate;
        const auto player = makePlayer({.seconds = 1, .claimedSeconds = 1});
        player->setDelegate(&delegate);
        player->play();
        QVERIFY(playUntil([&] { return player->currentTime() > 0.9; }));
        QCOMPARE(delegate.finishes(), 0);
        QVERIFY(playUntil([&] { return delegate.finishes() == 1; }));
        QVERIFY(delegate.wasSuccessful());
        QVERIFY(!player->isPlaying());
        QVERIFY(!delegate.wasPlaying());
        QCOMPARE(player->currentTime(), 1.0);
        QCOMPARE(delegate.errors(), 0);
        player->setCurrentTime(0.6);
        player->play();
        QVERIFY(playUntil([&] { return player->currentTime() > 0.65; }));
        QVERIFY(playUntil([&] { return delegate.finishes() == 2; }));
    }

    void soundOfAnyLengthIsPlayedToItsEnd_data()
    {
        QTest::addColumn<double>("length");
        QTest::addColumn<qint64>("block");
        QTest::addColumn<qint64>("hole");
        QTest::newRow("nothing") << 0.0 << qint64(1152) << qint64(0);
        QTest::newRow("less than is waited for") << 0.01 << qint64(1152) << qint64(0);
        QTest::newRow("more jumps than the ring knows") << 0.2 << qint64(10) << qint64(100);
    }

    void soundOfAnyLengthIsPlayedToItsEnd()
    {
        QFETCH(double, length);
        QFETCH(qint64, block);
        QFETCH(qint64, hole);
        RecordingDelegate delegate;
        const auto player = makePlayer({.seconds = length, .blockFrames = block, .hole = hole});
        player->setDelegate(&delegate);
        player->play();
        QVERIFY(playUntil([&] { return delegate.finishes() == 1; }));
    }

    void framesAreHandedOverInFiftyMillisecondsAndWhenTheyWereMissed()
    {
        int pipe[2];
        QCOMPARE(pipe2(pipe, O_CLOEXEC), 0);
        OutputScript script;
        script.state = AudioOutput::State::Ready;
        const auto isGone = std::make_shared<std::atomic<bool>>(false);
        auto player = makePlayer({.isGone = isGone, .blocksOn = pipe[0]}, factoryOf(script));
        const auto letRead = [&](const char *blocks) {
            const int before = script.questions;
            const auto count = ssize_t(std::strlen(blocks));
            return write(pipe[1], blocks, std::size_t(count)) == count
                && QTest::qWaitFor([&] { return script.questions >= before + int(count); });
        };
        player->play();
        QTRY_VERIFY(script.questions > 0);
        QVERIFY(letRead("12"));
        player->setCurrentTime(1);
        QVERIFY(letRead("312")); // the first of which is of the former place
        QCOMPARE(script.offers, 0);
        QVERIFY(letRead("3"));
        QCOMPARE(script.offers, 1);
        QVERIFY(letRead("4"));
        QCOMPARE(script.offers, 1);
        script.ring->noteStarved();
        QVERIFY(letRead("56"));
        QCOMPARE(script.offers, 2);
        player->setCurrentTime(2);
        QVERIFY(!script.ring); // taken back
        close(pipe[1]);
        player.reset();
        QTRY_VERIFY(*isGone);
        close(pipe[0]);
    }

    void placeIsReadIntoTheRingThatTheOutputDoesNotHold()
    {
        OutputScript script;
        script.state = AudioOutput::State::Ready;
        const auto player = makePlayer({}, factoryOf(script));
        player->play();
        QTRY_COMPARE(script.offers, 1);
        auto held = script.ring;
        QCOMPARE(held->capacity(), 2 * FakeDecoder::rate);
        for (int place = 2; place < 9; ++place) {
            const RingBuffer *former = held.get();
            player->setCurrentTime(place);
            QVERIFY(QTest::qWaitFor([&] { return script.offers == place; }));
            QVERIFY(script.ring.get() != former);
            QCOMPARE(script.ring->start(), place * FakeDecoder::rate);
            QCOMPARE(former->start(), place == 2 ? 0 : (place - 1) * FakeDecoder::rate);
            held = script.ring;
        }
    }

    void decoderThreadSleepsOnceTheTrackIsRead()
    {
        OutputScript script;
        script.state = AudioOutput::State::Ready;
        const auto player = makePlayer({.seconds = 0.5, .claimedSeconds = 0.5}, factoryOf(script));
        player->play();
        QTRY_COMPARE(script.offers, 1);
        int before = -1;
        QTRY_COMPARE(std::exchange(before, script.questions), script.questions);
        QVERIFY(!QTest::qWaitFor([&] { return script.questions > before + 20; }, 50));
    }

    void outputThatIsLostIsReplacedWhereItWasHeardLast()
    {
        OutputScript script;
        script.state = AudioOutput::State::Connecting;
        WaitingSession waiting(script);
        Session *const session = waiting.session.get();
        QVERIFY(waiting.prepare());
        QVERIFY(session->play());
        QCOMPARE(session->watchOutput(), std::nullopt);
        script.state = AudioOutput::State::Ready;
        script.heard = 4.5;
        script.generation = session->request().generation;
        QCOMPARE(session->watchOutput(), std::nullopt);
        QVERIFY(session->play());
        QCOMPARE(script.made, 1);
        script.state = AudioOutput::State::Failed;
        for (const int longest : {100, 250}) {
            const auto pause = session->watchOutput();
            QVERIFY(pause && pause->count() <= longest && pause->count() > longest / 2);
            const int made = script.made;
            QVERIFY(QTest::qWaitFor([&] { return !session->watchOutput(); }));
            QCOMPARE(script.made, made + 1);
            QCOMPARE(script.alive, 1);
            QVERIFY(script.isPlaying);
            QCOMPARE(session->request().seconds, 4.5);
            QVERIFY(session->state().isPlaying);
        }
        session->pause();
        QCOMPARE(session->watchOutput(), std::nullopt);
        QVERIFY(!session->play()); // which tries at once
        QCOMPARE(script.made, 4);
        script.state = AudioOutput::State::Ready;
        QCOMPARE(session->watchOutput(), std::nullopt);
        script.state = AudioOutput::State::Failed;
        const auto pause = session->watchOutput();
        QVERIFY(pause && pause->count() <= 100);
    }

    void endIsThatOfTheNewestRequestWhilePlaying()
    {
        OutputScript script;
        RecordingDelegate delegate;
        script.state = AudioOutput::State::Ready;
        script.isEndHeard = true;
        WaitingSession waiting(script);
        Session *const session = waiting.session.get();
        script.generation = session->request().generation;
        session->setDelegate(&delegate);
        QVERIFY(waiting.prepare());
        QVERIFY(waiting.prepare());
        QCOMPARE(script.made, 1);
        session->watchOutput();
        session->tellDelegate();
        session->play();
        session->setCurrentTime(3);
        session->watchOutput();
        session->tellDelegate();
        QCOMPARE(delegate.finishes(), 0);
        script.generation = session->request().generation;
        session->watchOutput();
        session->tellDelegate();
        QCOMPARE(delegate.finishes(), 1);
        QVERIFY(!script.isPlaying && !session->state().isPlaying);
        session->play();
        QCOMPARE(session->request().seconds, 0.0);
        const auto isWoken = [&] { return script.decoder->wait(0ms); };
        QVERIFY(isWoken() && !isWoken());
        session->setCurrentTime(2);
        QVERIFY(isWoken());
        session->play();
        QCOMPARE(session->request().seconds, 2.0);
        session->close();
        QCOMPARE(script.alive, 0);
        QVERIFY(*waiting.stop);
        QVERIFY(isWoken());
        QCOMPARE(delegate.finishes(), 1);
    }

    void nothingIsHeardOfAPlayerThatIsGone()
    {
        OutputScript script;
        RecordingDelegate delegate;
        script.state = AudioOutput::State::Ready;
        script.isEndHeard = true;
        WaitingSession waiting(script);
        Session *const session = waiting.session.get();
        script.generation = session->request().generation;
        session->setDelegate(&delegate);
        QVERIFY(waiting.prepare());
        session->close();
        session->play();
        session->watchOutput();
        session->tellDelegate();
        QCOMPARE(delegate.finishes(), 0);
    }

    void playsAgainAfterTheEnd_data()
    {
        QTest::addColumn<bool>("isRewound");
        QTest::newRow("rewound") << true;
        QTest::newRow("as it is") << false;
    }

    void playsAgainAfterTheEnd()
    {
        QFETCH(bool, isRewound);
        RecordingDelegate delegate;
        const auto player = makePlayer({.seconds = 0.5, .claimedSeconds = 0.5});
        player->setDelegate(&delegate);
        for (int round = 1; round <= 5; ++round) {
            if (isRewound)
                player->setCurrentTime(0);
            QVERIFY(player->play());
            QVERIFY(player->isPlaying());
            QVERIFY(player->currentTime() < 0.1);
            QVERIFY(playUntil([&] { return delegate.finishes() == round; }));
        }
    }

    void damagedTrackDoesNotFinishSuccessfully()
    {
        RecordingDelegate delegate;
        const auto player = makePlayer({.seconds = 0.1, .claimedSeconds = 0.1, .isDamaged = true});
        player->setDelegate(&delegate);
        player->play();
        QVERIFY(playUntil([&] { return delegate.finishes() == 1; }));
        QVERIFY(!delegate.wasSuccessful());
    }

    void decodeErrorIsReportedOnceWhatWasDecodedIsHeard()
    {
        RecordingDelegate delegate;
        const auto player = makePlayer({.failsAt = 0.5});
        player->setDelegate(&delegate);
        player->play();
        QVERIFY(playUntil([&] { return player->currentTime() > 0.4; }));
        QCOMPARE(delegate.errors(), 0);
        QVERIFY(playUntil([&] { return delegate.errors() == 1; }));
        QVERIFY(delegate.wasErrorNamed());
        QVERIFY(!player->isPlaying());
        QCOMPARE(delegate.finishes(), 0);
        QCOMPARE(delegate.endsOfFile(), 0); // or another track would go on
    }

    void guessedDurationIsCorrected_data()
    {
        QTest::addColumn<double>("claimed");
        QTest::newRow("too short") << 0.2;
        QTest::newRow("too long") << 60.0;
        QTest::newRow("unknown") << 0.0;
    }

    void durationThatIsStatedStays()
    {
        RecordingDelegate delegate;
        const auto player = makePlayer({.seconds = 1, .claimedSeconds = 0.2});
        player->setDelegate(&delegate);
        player->play();
        QVERIFY(playUntil([&] { return delegate.finishes() == 1; }));
        QCOMPARE(player->duration(), 0.2);
        QCOMPARE(player->currentTime(), 0.2); // no place is beyond it
    }

    void guessGrowsWithTheTrackAndOutlivesAnErrorOrASeekBeyondTheEnd()
    {
        RecordingDelegate delegate;
        auto player = makePlayer({.claimedSeconds = 0.2, .isGuessed = true});
        player->prepareToPlay();
        QTRY_VERIFY(player->duration() > 1);
        player = makePlayer({.isGuessed = true, .failsAt = 0.5});
        player->setDelegate(&delegate);
        player->play();
        QVERIFY(playUntil([&] { return delegate.errors() == 1; }));
        QCOMPARE(player->duration(), 10.0);
        player = makePlayer({.seconds = 1, .claimedSeconds = 60, .isGuessed = true});
        player->setDelegate(&delegate);
        player->setCurrentTime(50);
        player->play();
        QVERIFY(playUntil([&] { return delegate.finishes() == 1; }));
        QCOMPARE(player->duration(), 60.0);
    }

    void guessedDurationIsCorrected()
    {
        QFETCH(double, claimed);
        RecordingDelegate delegate;
        const auto player = makePlayer({.seconds = 1, .claimedSeconds = claimed, .isGuessed = claimed > 0});
        player->setDelegate(&delegate);
        player->play();
        QVERIFY(playUntil([&] { return delegate.finishes() == 1; }));
        QCOMPARE(player->duration(), 1.0);
        QCOMPARE(player->currentTime(), 1.0);
    }

    void delegateThatWasTakenAwayHearsNothing()
    {
        RecordingDelegate former;
        RecordingDelegate delegate;
        const auto player = makePlayer({.seconds = 0.1, .claimedSeconds = 0.1});
        player->setDelegate(&former);
        player->setDelegate(&delegate);
        player->play();
        QVERIFY(playUntil([&] { return delegate.finishes() == 1; }));
        QCOMPARE(former.finishes(), 0);
    }

    void destructionDoesNotWaitForAMediumThatDoesNotAnswer()
    {
        int pipe[2];
        QCOMPARE(pipe2(pipe, O_CLOEXEC), 0);
        const auto isGone = std::make_shared<std::atomic<bool>>(false);
        const auto isReading = std::make_shared<std::atomic<bool>>(false);
        auto player = makePlayer({.isReading = isReading, .isGone = isGone, .blocksOn = pipe[0]});
        player->play();
        QTRY_VERIFY(*isReading);
        m_output->advance(4800);
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(player->currentTime(), 0.0);
        player->setCurrentTime(5);
        player->pause();
        player.reset();
        QVERIFY(timer.elapsed() < 100);
        QVERIFY(!*isGone);
        QCOMPARE(write(pipe[1], "x", 1), 1);
        QTRY_VERIFY(*isGone);
        close(pipe[0]);
        close(pipe[1]);
    }

    void decoderIsDestroyedSoonAfterThePlayer()
    {
        const auto isGone = std::make_shared<std::atomic<bool>>(false);
        auto player = makePlayer({.isGone = isGone});
        player->play();
        player.reset();
        QTRY_VERIFY(*isGone);
    }

    void timeAdvancesWithoutASoundServer()
    {
        RecordingDelegate delegate;
        OutputScript script;
        const auto player = makePlayer({.seconds = 0.3, .claimedSeconds = 0.3}, factoryOf(script));
        player->setDelegate(&delegate);
        static std::atomic<int> warnings = 0;
        const auto former =
            qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &text) {
                warnings += text.startsWith(u"No sound server answers") ? 1 : 0;
            });
        const auto restore = qScopeGuard([former] { qInstallMessageHandler(former); });
        player->play();
        QTRY_VERIFY(player->currentTime() > 0.1);
        QCOMPARE(warnings, 1);
        QTRY_COMPARE(delegate.finishes(), 1);
        const int before = script.made;
        QVERIFY(!player->play());
        QVERIFY(script.made > before);
        QTRY_COMPARE(delegate.finishes(), 2);
        QCOMPARE(warnings, 1); // told once
    }

    void timeWithoutASoundServerPassesUnobserved()
    {
        constexpr AudioFormat mono{FakeDecoder::rate, 1};
        NullOutput output(mono);
        std::uint32_t generation = 0;
        const auto offer = [&](std::int64_t start) {
            const auto ring = std::make_shared<RingBuffer>(mono, FakeDecoder::rate);
            ring->reset(++generation, start);
            ring->write(std::vector<float>(FakeDecoder::rate), start);
            output.offer(ring);
        };
        const auto letPass = [](std::chrono::milliseconds time) {
            const auto end = std::chrono::steady_clock::now() + time;
            while (std::chrono::steady_clock::now() < end)
                std::this_thread::yield();
        };
        offer(0);
        output.apply({true, 1});
        letPass(60ms);
        output.apply({false, 1});
        const double paused = output.status().heard.seconds;
        QVERIFY(paused >= 0.06);
        letPass(20ms);
        QCOMPARE(output.status().heard.seconds, paused);
        output.apply({true, 1});
        letPass(60ms);
        QElapsedTimer timer;
        timer.start();
        offer(5 * FakeDecoder::rate);
        const double place = output.status().heard.seconds;
        QVERIFY(place >= 5 && place <= 5.001 + double(timer.nsecsElapsed()) / 1e9);
    }

    void soundServerThatComesLaterIsPlayedTo()
    {
        bool isThere = false;
        OutputScript script;
        const auto player = makePlayer({}, [&](AudioFormat format, const auto &decoder, const auto &label) {
            return (isThere ? HandOutput::factory(m_output) : factoryOf(script))(format, decoder, label);
        });
        QVERIFY(!player->play());
        QTRY_VERIFY(player->currentTime() > 0.1);
        player->pause();
        isThere = true;
        QVERIFY(player->play());
        const double before = player->currentTime();
        QVERIFY(playUntil([&] { return player->currentTime() > before + 0.1; }));
    }
};

LUMAVERDINE_TEST(SessionTest)
#include "SessionTest.moc"
