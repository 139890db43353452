#include "platform/audio/FilePlayer.h"
#include "platform/audio/NullOutput.h"
#include "tests/platform/audio/FakeDecoder.h"
#include "tests/platform/audio/RecordingDelegate.h"

#include <QElapsedTimer>
#include <QTest>
#include <cmath>

namespace {

/// Hands out outputs whose clock the test moves by hand, and remembers the newest.
struct HandOutputs {
    NullOutput *newest = nullptr; ///< owned by its player

    OutputFactory factory()
    {
        return [this](std::shared_ptr<FrameFeed> feed) {
            auto output = std::make_unique<NullOutput>(std::move(feed), NullOutput::Clock::ByHand);
            newest = output.get();
            return output;
        };
    }
};

/// An output whose server is gone from the start.
class FailedOutput final : public AudioOutput {
public:
    explicit FailedOutput(const std::shared_ptr<FrameFeed> &feed) { feed->decoderWakeup().signal(); }
    void apply(const Mix &) override { }
    void refresh() override { }
    [[nodiscard]] Status status() override { return {State::Failed, {}, false}; }
};

} // namespace

/// A player on a decoder and an output of the test's own.
class FilePlayerTest : public QObject {
    Q_OBJECT

private:
    HandOutputs m_outputs;

    std::unique_ptr<FilePlayer> makePlayer(FakeDecoder::Script script = {})
    {
        return makePlayer(script, m_outputs.factory());
    }

    std::unique_ptr<FilePlayer> makePlayer(FakeDecoder::Script script, OutputFactory factory)
    {
        return std::make_unique<FilePlayer>(std::make_unique<FakeDecoder>(script),
            std::make_shared<std::atomic<bool>>(false), std::move(factory));
    }

    /// Lets time pass in small steps, as the decoder thread keeps up, until `condition` holds.
    template <typename Condition> bool playUntil(Condition condition)
    {
        return QTest::qWaitFor([&] {
            m_outputs.newest->advance(1920);
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
        QCOMPARE(m_outputs.newest->advance(100), std::vector<float>(200, 0.0F));
    }

    void playsFromTheStartWithItsVolume()
    {
        const auto player = makePlayer();
        player->setVolume(0.5F);
        QVERIFY(player->play());
        QVERIFY(player->isPlaying());
        QVERIFY(playUntil([&] { return player->currentTime() > 0.1; }));
        const auto samples = m_outputs.newest->advance(10);
        QVERIFY(std::abs(samples[1] - 0.4F) < 1e-6F);
    }

    void volumeIsKeptBetweenZeroAndOne()
    {
        const auto player = makePlayer();
        player->setVolume(7);
        player->play();
        QVERIFY(playUntil([&] { return player->currentTime() > 0.1; }));
        QVERIFY(std::abs(m_outputs.newest->advance(1)[1] - 0.8F) < 1e-6F);
        player->setVolume(std::nanf(""));
        m_outputs.newest->advance(480);
        QCOMPARE(m_outputs.newest->advance(1)[1], 0.0F);
    }

    void pauseKeepsThePosition()
    {
        const auto player = makePlayer();
        player->play();
        QVERIFY(playUntil([&] { return player->currentTime() > 0.5; }));
        player->pause();
        QVERIFY(!player->isPlaying());
        m_outputs.newest->advance(4800);
        const double paused = player->currentTime();
        m_outputs.newest->advance(48000);
        QCOMPARE(player->currentTime(), paused);
        QVERIFY(player->play());
        m_outputs.newest->advance(4800);
        QVERIFY(std::abs(player->currentTime() - paused - 0.1) < 1e-6);
    }

    void seekIsAnsweredAtOnceAndThenHeard()
    {
        const auto player = makePlayer();
        player->play();
        QVERIFY(playUntil([&] { return player->currentTime() > 0.1; }));
        player->setCurrentTime(7);
        QCOMPARE(player->currentTime(), 7.0);
        QVERIFY(playUntil([&] { return player->currentTime() > 7.2; }));
        const auto samples = m_outputs.newest->advance(1);
        QVERIFY(std::abs(double(samples[0]) - 0.2 - 0.06 * player->currentTime()) < 1e-4);
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
        m_outputs.newest->advance(48000);
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
        QCOMPARE(player->currentTime(), 1.0);
        QCOMPARE(delegate.errors(), 0);
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
    }

    void guessedDurationIsCorrected_data()
    {
        QTest::addColumn<double>("claimed");
        QTest::newRow("too short") << 0.2;
        QTest::newRow("too long") << 60.0;
        QTest::newRow("unknown") << 0.0;
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
        m_outputs.newest->advance(4800);
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
        int attempts = 0;
        const auto player = makePlayer({.seconds = 0.3, .claimedSeconds = 0.3}, [&](auto feed) {
            ++attempts;
            return std::make_unique<FailedOutput>(feed);
        });
        player->setDelegate(&delegate);
        QTest::ignoreMessage(QtWarningMsg, "No sound server answers: playing into nothing.");
        player->play();
        QTRY_VERIFY(player->currentTime() > 0.1);
        QTRY_COMPARE(delegate.finishes(), 1);
        const int before = attempts;
        QVERIFY(!player->play());
        QVERIFY(attempts > before);
        QTRY_COMPARE(delegate.finishes(), 2);
    }

    void soundServerThatComesLaterIsPlayedTo()
    {
        bool isThere = false;
        const auto player = makePlayer({}, [&](auto feed) -> std::unique_ptr<AudioOutput> {
            if (isThere)
                return m_outputs.factory()(std::move(feed));
            return std::make_unique<FailedOutput>(feed);
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

QTEST_GUILESS_MAIN(FilePlayerTest)
#include "FilePlayerTest.moc"
