#include "playback/Mixer.h"
#include "tests/TestProgram.h"
#include "tests/playback/WavFile.h"

#include <cmath>

namespace {

constexpr AudioFormat stereo{48000, 2};
constexpr std::int64_t seconds = 1; // of sound in the ring
constexpr std::int64_t queue = 48000 * 4 / 10;
constexpr std::int64_t fade = 48000 * 8 / 1000;

} // namespace

/// An output as a sound server keeps it: what is rendered waits in a queue, and may be made anew until heard.
class MixerTest : public QObject {
    Q_OBJECT

private:
    std::shared_ptr<Wakeup> m_wakeup;
    std::unique_ptr<Mixer> m_mixer;
    std::shared_ptr<RingBuffer> m_ring;
    std::uint32_t m_generation = 0;
    std::int64_t m_heard = 0;
    std::vector<float> m_sound; ///< the track, stereo, position coded
    std::vector<float> m_output; ///< everything that was heard

    void offer(std::int64_t start, std::int64_t frames)
    {
        m_ring = std::make_shared<RingBuffer>(stereo, 96000, m_wakeup);
        m_ring->reset(++m_generation, start);
        add(start, frames);
        m_mixer->offer(m_ring);
    }

    /// Makes frames that a ring of their own holds come behind those of the present one.
    void follow(std::int64_t start, std::int64_t frames)
    {
        m_ring = std::make_shared<RingBuffer>(stereo, 96000, m_wakeup);
        m_ring->reset(++m_generation, start);
        add(start, frames);
        m_mixer->follow(m_ring);
    }

    /// The first `frames` frames are the track's, at full gain from `from` on to the last bit.
    void verifyUncut(std::int64_t frames, std::int64_t from)
    {
        for (auto index = std::size_t(from) * 2; index < std::size_t(frames) * 2; ++index)
            QVERIFY2(m_output[index] == m_sound[index], qPrintable(QString::number(index / 2)));
    }

    void add(std::int64_t start, std::int64_t frames)
    {
        m_ring->write(std::span(m_sound).subspan(std::size_t(start) * 2, std::size_t(frames) * 2), start);
    }

    void change(const Mix &mix)
    {
        m_mixer->change(m_heard, mix);
        fillQueue();
    }

    void fillQueue() { m_mixer->render(std::max<std::int64_t>(m_heard + queue - m_mixer->rendered(), 0)); }

    void hear(std::int64_t frames)
    {
        for (std::int64_t frame = 0; frame < frames; ++frame, ++m_heard) {
            const auto samples = m_mixer->samplesFrom(m_heard);
            m_output.insert(m_output.end(), {samples[0], samples[1]});
            if (frame % 1000 == 0)
                fillQueue();
        }
    }

    [[nodiscard]] double gainAt(std::int64_t frame) const
    {
        return double(m_output[std::size_t(frame) * 2 + 1]) / 0.8;
    }

    /// The track frame that was heard at `frame`; the signal must not be silent there.
    [[nodiscard]] std::int64_t placeAt(std::int64_t frame) const
    {
        const auto index = std::size_t(frame) * 2;
        const double left = double(m_output[index]) / double(m_output[index + 1]) * 0.8;
        return std::llround((left - 0.2) / 0.6 * double(m_sound.size()) / 2);
    }

    void verifyNoStep(double steepest, std::int64_t from = 0)
    {
        for (std::int64_t frame = from + 1; frame < std::int64_t(m_output.size() / 2); ++frame)
            QVERIFY2(
                std::abs(gainAt(frame) - gainAt(frame - 1)) <= steepest, qPrintable(QString::number(frame)));
    }

    /// What is heard begins with the track's first frame, and its gain rises to 1 within the fade.
    void verifyBeginning()
    {
        for (std::int64_t frame = 0; frame < fade; ++frame) {
            QCOMPARE(placeAt(frame), frame);
            QVERIFY(std::abs(gainAt(frame) - double(frame + 1) / double(fade + 1)) < 1e-6);
        }
        QVERIFY(std::abs(gainAt(fade) - 1) < 1e-6);
    }

private Q_SLOTS:
    void init()
    {
        m_sound = WavFile::positionCodedSamples(stereo.rate, seconds * 2);
        m_wakeup = std::make_shared<Wakeup>();
        m_mixer = std::make_unique<Mixer>(stereo);
        m_generation = 0;
        m_heard = 0;
        m_output.clear();
    }

    void trackBeginsWithItsFirstSampleAtOnceAndFadesIn()
    {
        offer(0, 48000);
        change({true, 1});
        hear(fade + 100);
        verifyBeginning();
    }

    void framesThatComeLateStillBeginWithTheFirst()
    {
        m_mixer->change(0, {true, 1});
        m_mixer->render(queue);
        m_heard = 500;
        offer(0, 48000);
        QVERIFY(m_mixer->needsChange({true, 1}));
        change({true, 1});
        hear(fade + 100);
        verifyBeginning();
    }

    void pausesAndResumesLoseAndRepeatNothing()
    {
        offer(0, 96000);
        change({true, 1});
        std::int64_t expected = 0;
        for (int round = 0; round < 10; ++round) {
            hear(1500);
            change({false, 1});
            hear(2000 + round * 37);
            change({true, 1});
        }
        for (std::int64_t frame = 0; frame < m_heard; ++frame) {
            if (gainAt(frame) == 0)
                continue;
            QCOMPARE(placeAt(frame), expected);
            ++expected;
        }
        QCOMPARE(expected, 10 * (1500 + fade));
        verifyNoStep(1.01 / fade);
    }

    void resumeWithinTheFadeOfThePauseHasNoStep()
    {
        offer(0, 96000);
        change({true, 1});
        hear(1000);
        change({false, 1});
        hear(fade / 2);
        change({true, 1});
        hear(2000);
        verifyNoStep(2.0 / fade);
        QVERIFY(std::abs(gainAt(m_heard - 1) - 1) < 1e-6);
    }

    void volumeIsALinearFactorReachedOverARamp()
    {
        offer(0, 96000);
        change({true, 0.75F});
        hear(1000);
        QVERIFY(std::abs(gainAt(999) - 0.75) < 1e-6);
        change({true, 0.25F});
        hear(2000);
        QVERIFY(std::abs(gainAt(1000 + fade) - 0.25) < 1e-6);
        QCOMPARE(placeAt(2999), 2999);
        verifyNoStep(0.51 / fade, fade);
    }

    void volumeZeroIsSilence()
    {
        offer(0, 96000);
        change({true, 0});
        hear(1000);
        QCOMPARE(m_output, std::vector<float>(2000, 0.0F));
    }

    void seekCrossesOverToTheNewPlace()
    {
        offer(0, 48000);
        change({true, 1});
        hear(1000);
        QCOMPARE(m_mixer->positionAt(m_heard).generation, 1U);
        offer(60'000, 30'000);
        QVERIFY(m_mixer->needsChange({true, 1}));
        change({true, 1});
        QCOMPARE(m_mixer->positionAt(m_heard - 1).seconds, 999.0 / 48000);
        QCOMPARE(m_mixer->positionAt(m_heard).seconds, 60'000.0 / 48000);
        QCOMPARE(m_mixer->positionAt(m_heard).generation, 2U);
        hear(3000);
        QCOMPARE(placeAt(3999), 62'999);
        for (std::int64_t frame = fade; frame < m_heard; ++frame)
            QVERIFY(std::abs(gainAt(frame) - 1) < 1e-5);
    }

    void positionHoldsWhileNothingArrives()
    {
        offer(0, 1000);
        change({true, 1});
        hear(3000);
        QCOMPARE(m_mixer->positionAt(m_heard).seconds, 1000.0 / 48000);
        add(1000, 5000);
        QVERIFY(m_mixer->needsChange({true, 1}));
        change({true, 1});
        hear(1000);
        QCOMPARE(placeAt(m_heard - 1), 1999);
        QCOMPARE(m_mixer->positionAt(m_heard).seconds, 2000.0 / 48000);
    }

    void endIsTheFrameAfterTheLast()
    {
        offer(0, 1000);
        m_ring->finish();
        change({true, 1});
        QVERIFY(m_mixer->end());
        QCOMPARE(*m_mixer->end(), 1000);
        QVERIFY(!m_mixer->isEndedAt(999));
        QVERIFY(m_mixer->isEndedAt(1000));
        hear(2000);
        QCOMPARE(placeAt(999), 999);
        QCOMPARE(gainAt(1000), 0.0);
        QCOMPARE(m_mixer->positionAt(m_heard).seconds, 1000.0 / 48000);
    }

    void pauseBeforeTheEndTakesItBack()
    {
        offer(0, 2000);
        m_ring->finish();
        change({true, 1});
        hear(500);
        change({false, 1});
        QVERIFY(!m_mixer->end() && !m_mixer->isEndedAt(100'000));
        hear(1000);
        change({true, 1});
        QCOMPARE(*m_mixer->end(), 1500 + 2000 - 500 - fade);
    }

    void detachedRendererFadesWithoutTakingFrames()
    {
        offer(0, 48000);
        change({true, 1});
        hear(1000);
        const std::int64_t available = m_ring->available();
        m_mixer->detach();
        change({false, 1});
        hear(1000);
        QCOMPARE(m_ring->available(), available);
        QCOMPARE(gainAt(1000 + fade), 0.0);
        verifyNoStep(1.01 / fade);
    }

    void seekFadesForSixteenMillisecondsIfItIsHeardAndForEightIfNot()
    {
        offer(0, 40000);
        change({true, 1});
        hear(5000);
        offer(50000, 40000);
        change({true, 1});
        QCOMPARE(m_mixer->fadeEnd(), 5000 + 2 * fade);
        hear(5000);
        change({false, 1});
        QCOMPARE(m_mixer->fadeEnd(), 10000 + fade);
        hear(5000);
        offer(20000, 40000);
        change({false, 1});
        QCOMPARE(m_mixer->fadeEnd(), 15000 + fade);
        QCOMPARE(m_mixer->positionAt(15000 + fade).seconds, 20000.0 / 48000);
    }

    void volumeDuringTheFadeOfAPauseLosesAndRepeatsNothing()
    {
        offer(0, 96000);
        change({true, 1});
        hear(1000);
        change({false, 1});
        hear(fade / 2);
        change({false, 0.9F});
        hear(2000);
        change({true, 1});
        hear(fade + 10);
        QCOMPARE(placeAt(m_heard - 1), 1000 + fade + fade + 9);
    }

    void changeIsNeededForAnotherMixPlaceOrFramesThatWereMissing()
    {
        const Mix playing{true, 1};
        QVERIFY(!m_mixer->needsChange({}));
        QVERIFY(m_mixer->needsChange(playing));
        offer(0, 1000);
        QVERIFY(m_mixer->needsChange({}));
        change(playing);
        QVERIFY(!m_mixer->needsChange(playing));
        QVERIFY(m_mixer->needsChange({true, 0.5F}));
        add(1000, 40000);
        QVERIFY(m_mixer->needsChange(playing));
        change(playing);
        QVERIFY(!m_mixer->needsChange(playing));
        offer(50000, 40000);
        QVERIFY(m_mixer->needsChange(playing));
        m_mixer->detach();
        QVERIFY(!m_mixer->needsChange(playing));
    }

    void framesThatWereMissingAreOfNoInterestInAPause()
    {
        offer(0, 1000);
        change({true, 1});
        hear(500);
        m_mixer->change(m_heard, {false, 1});
        m_mixer->change(m_heard, {true, 1});
        m_mixer->render(5000);
        m_mixer->change(m_heard, {false, 1});
        add(1000, 5000);
        QVERIFY(!m_mixer->needsChange({false, 1}));
    }

    void framesTheOutputHasSkippedAreSilentAndHoldTheTrack()
    {
        offer(0, 96000);
        change({true, 1});
        hear(queue);
        const std::int64_t skipped = m_mixer->rendered();
        m_mixer->skipTo(skipped - 1);
        QCOMPARE(m_mixer->rendered(), skipped);
        const double held = m_mixer->positionAt(skipped).seconds;
        m_mixer->skipTo(skipped + 5000);
        QCOMPARE(m_mixer->rendered(), skipped + 5000);
        QCOMPARE(m_mixer->positionAt(skipped + 5000).seconds, held);
        m_mixer->render(48);
        QCOMPARE(m_mixer->positionAt(skipped + 4000).seconds, held);
        QCOMPARE(m_mixer->positionAt(skipped + 5048).seconds, held + 0.001);
    }

    void changeReachesBackForHalfOfTheMemoryAtMost()
    {
        offer(0, 96000);
        change({true, 1});
        m_mixer->render(60000 - m_mixer->rendered());
        m_mixer->change(0, {true, 0.5F});
        QCOMPARE(m_mixer->fadeEnd(), 60000 - 24000 + fade);
        m_mixer->change(70000, {true, 1});
        QCOMPARE(m_mixer->fadeEnd(), 60000 + fade);
    }

    void changeAfterTheEndLeavesIt()
    {
        offer(0, 1000);
        m_ring->finish();
        change({true, 1});
        hear(1000);
        change({true, 0.5F});
        QCOMPARE(m_mixer->end(), 1000);
        hear(100);
        change({true, 1});
        QCOMPARE(m_mixer->end(), 1000);
        offer(2000, 1000);
        change({true, 1});
        QVERIFY(!m_mixer->end());
    }

    /// One ring after the other without a seam, whatever is asked of the output meanwhile.
    void followingRingBeginsRightBehindTheLastFrame()
    {
        offer(0, 10000);
        m_ring->finish();
        const auto first = m_ring;
        follow(10000, 10000);
        change({true, 1});
        hear(12000);
        verifyUncut(12000, fade);
        QCOMPARE(m_mixer->end(), 10000);
        QCOMPARE(m_mixer->positionAt(9999).generation, first->generation());
        QCOMPARE(m_mixer->positionAt(10000).generation, m_ring->generation());
        QCOMPARE(m_mixer->positionAt(10000).seconds, stereo.seconds(10000));
    }

    void ringThatFollowsLateReplacesTheSilenceThatIsQueued()
    {
        offer(0, 10000);
        m_ring->finish();
        change({true, 1});
        hear(1000);
        QCOMPARE(m_mixer->end(), 10000);
        follow(10000, 10000);
        m_mixer->render(100); // behind that silence it would come too late
        QVERIFY(m_mixer->needsChange({true, 1}));
        change({true, 1});
        QVERIFY(!m_mixer->needsChange({true, 1}));
        hear(11000);
        verifyUncut(12000, fade);
    }

    void ringThatFollowsWaitsForFramesThatAreMissing()
    {
        offer(0, 10000);
        const auto first = m_ring;
        follow(12000, 10000);
        const auto second = std::exchange(m_ring, first);
        change({true, 1});
        hear(10500);
        QCOMPARE(second->available(), 10000);
        add(10000, 2000);
        m_ring->finish();
        change({true, 1});
        hear(5000);
        for (std::int64_t frame = 10500; frame < 15500; ++frame)
            QCOMPARE(placeAt(frame), frame - 500);
    }

    void ringThatFollowsBehindTheEndFadesIn()
    {
        offer(0, 1000);
        m_ring->finish();
        change({true, 1});
        hear(1500);
        follow(1000, 10000);
        change({true, 1});
        hear(1000);
        for (std::int64_t frame = 1000; frame < 1500; ++frame)
            QCOMPARE(gainAt(frame), 0.0);
        for (std::int64_t frame = 1500; frame < 2500; ++frame)
            QCOMPARE(placeAt(frame), frame - 500);
        QVERIFY(gainAt(1500) < 2.0 / fade);
        QCOMPARE(m_mixer->end(), 1500);
    }

    void pauseAndVolumeAtTheJointLoseNothing()
    {
        offer(0, 10000);
        m_ring->finish();
        follow(10000, 20000);
        change({true, 1});
        hear(9900);
        change({false, 1}); // fades over the joint
        hear(1000);
        change({true, 1});
        hear(1000);
        change({true, 0.5F});
        hear(1000);
        std::int64_t expected = 0;
        for (std::int64_t frame = 0; frame < m_heard; ++frame) {
            if (gainAt(frame) != 0)
                QCOMPARE(placeAt(frame), expected++);
        }
        QCOMPARE(expected, 9900 + fade + 2000);
        QVERIFY(m_mixer->isEndedAt(m_heard)); // of the former ring
    }

    void pauseBeforeTheJointMovesIt()
    {
        offer(0, 10000);
        m_ring->finish();
        follow(10000, 10000);
        change({true, 1});
        hear(5000);
        QCOMPARE(m_mixer->end(), 10000);
        change({false, 1}); // is heard until its fade is over
        QVERIFY(!m_mixer->end());
        hear(2000);
        change({true, 1});
        QCOMPARE(m_mixer->end(), 12000 - fade);
    }

    void ringThatIsTakenBackLeavesSilenceBehindTheEnd()
    {
        offer(0, 10000);
        m_ring->finish();
        const std::uint32_t generation = m_ring->generation();
        follow(20000, 10000);
        change({true, 1});
        hear(1000);
        m_mixer->follow(nullptr);
        QVERIFY(m_mixer->needsChange({true, 1}));
        change({true, 1});
        QVERIFY(!m_mixer->needsChange({true, 1}));
        hear(10000);
        verifyUncut(10000, fade);
        for (std::int64_t frame = 10000; frame < 11000; ++frame)
            QCOMPARE(gainAt(frame), 0.0);
        QCOMPARE(m_mixer->end(), 10000);
        QCOMPARE(m_mixer->positionAt(10500).generation, generation);
        QCOMPARE(m_mixer->positionAt(10500).seconds, stereo.seconds(10000));
    }

    void anotherRingCanFollowInsteadOfTheOneTakenBack()
    {
        offer(0, 10000);
        m_ring->finish();
        follow(30000, 10000);
        change({true, 1});
        hear(1000);
        m_mixer->follow(nullptr);
        follow(10000, 10000);
        change({true, 1});
        hear(11000);
        verifyUncut(12000, fade);
    }

    void ringThatIsHeardFadesOutWhenTakenBack()
    {
        offer(0, 10000);
        m_ring->finish();
        follow(10000, 10000);
        change({true, 1});
        hear(10100);
        m_mixer->follow(nullptr);
        change({true, 1});
        hear(1000);
        verifyUncut(10100, fade);
        QCOMPARE(gainAt(10100 + fade), 0.0);
        verifyNoStep(1.01 / fade);
        QCOMPARE(m_mixer->end(), 10100);
        QCOMPARE(m_mixer->positionAt(m_heard).seconds, stereo.seconds(10000));
    }

    void ringOfAnotherPlaceReplacesBoth()
    {
        offer(0, 10000);
        m_ring->finish();
        follow(10000, 10000);
        change({true, 1});
        hear(10100);
        offer(20000, 10000);
        change({true, 1});
        hear(1000);
        QVERIFY(!m_mixer->end());
        QCOMPARE(placeAt(m_heard - 1), 20999);
    }

    void settledRingHasAnEndAndASuccessorOfItsOwn()
    {
        offer(0, 10000);
        m_ring->finish();
        follow(10000, 5000);
        m_ring->finish();
        change({true, 1});
        hear(10001);
        QVERIFY(m_mixer->isEndedAt(m_heard));
        m_mixer->settle();
        QCOMPARE(m_mixer->end(), 15000);
        QVERIFY(!m_mixer->isEndedAt(m_heard));
        follow(15000, 5000);
        change({true, 1});
        hear(8000);
        verifyUncut(18001, fade);
        m_mixer->settle();
        m_mixer->follow(nullptr);
        QVERIFY(!m_mixer->needsChange({true, 1}));
    }

    void decoderIsWokenWhenHalfOfItsFramesAreGone()
    {
        const auto isWoken = [this] { return m_wakeup->wait(std::chrono::milliseconds(0)); };
        offer(0, 96000);
        change({true, 1});
        m_mixer->render(48000 - m_mixer->rendered());
        QVERIFY(!isWoken());
        m_mixer->render(1);
        QVERIFY(isWoken());
        m_ring->finish();
        m_mixer->render(100);
        QVERIFY(!isWoken());
    }

    void runsOutOfFramesOnceItHasTold()
    {
        offer(0, 1000);
        change({true, 1});
        QVERIFY(m_ring->takeStarved());
        m_ring->finish();
        m_mixer->render(1000);
        QVERIFY(!m_ring->takeStarved());
    }

    void ringThatIsTakenBackIsNotHeard()
    {
        offer(0, 40000);
        change({true, 1});
        const auto first = m_ring;
        hear(5000);
        offer(60000, 30000);
        QVERIFY(m_mixer->needsChange({true, 1}));
        m_mixer->offer(nullptr);
        QVERIFY(!m_mixer->needsChange({true, 1}));
        QCOMPARE(m_ring.use_count(), 1);
        m_mixer->offer(first);
        QVERIFY(!m_mixer->needsChange({true, 1}));
        change({true, 0.5F});
        hear(queue);
        QVERIFY(placeAt(m_heard - 1) < 40000);
        offer(60000, 30000);
        change({true, 1});
        QCOMPARE(first.use_count(), 1);
    }

    void changeThatReachesBackBeforeASeekStaysAtItsTarget()
    {
        offer(0, 40000);
        change({true, 1});
        hear(5000);
        offer(60000, 30000);
        change({true, 1});
        m_mixer->change(m_heard - 1, {true, 0.5F});
        hear(queue + 1000);
        QVERIFY(placeAt(m_heard - 1) > 60000);
        for (std::int64_t frame = 6000; frame < m_heard; ++frame)
            QVERIFY2(placeAt(frame) > 60000, qPrintable(QString::number(frame)));
    }
};

LUMAVERDINE_TEST(MixerTest)
#include "MixerTest.moc"
