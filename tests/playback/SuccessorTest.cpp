#include "decoder/DecoderModule.h"
#include "tests/TestProgram.h"
#include "tests/files/FaultyMedium.h"
#include "tests/playback/FakeDecoder.h"
#include "tests/playback/HandOutput.h"
#include "tests/playback/RecordingDelegate.h"
#include "tests/playback/WavFile.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QTemporaryDir>
#include <cmath>
#include <random>
#include <thread>

namespace {

constexpr int rate = 48000;
constexpr std::int64_t fadeIn = 400; // frames and more
constexpr long slowFrom = 1'100'000; // bytes: behind what is read to open a file

/// Waits for other threads, no longer than they take.
template <typename Condition> bool isSoon(Condition condition)
{
    const QDeadlineTimer deadline(10'000);
    while (!condition() && !deadline.hasExpired())
        std::this_thread::yield();
    return condition();
}

} // namespace

/// A recording cut into tracks: each sounds right behind the one before.
class SuccessorTest : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_folder;
    const std::vector<float> m_recording = WavFile::positionCodedSamples(rate, 4);
    std::vector<std::shared_ptr<HandOutput>> m_outputs; ///< a decoder thread makes all but the first
    std::atomic<std::size_t> m_outputCount = 0;
    HandOutput *m_output = nullptr; ///< the one that is heard
    std::vector<float> m_heard;
    std::optional<RecordingDelegate> m_delegate;

    /// A file of the frames from `from` to `to`.
    QUrl cut(std::int64_t from, std::int64_t to)
    {
        const auto samples =
            std::span(m_recording).subspan(std::size_t(from) * 2, std::size_t(to - from) * 2);
        const QString path = m_folder.filePath(QStringLiteral("%1-%2.wav").arg(from).arg(to));
        if (!WavFile::save(path, WavFile::encoded(samples, rate, 2)))
            qFatal("%s cannot be written.", qPrintable(path));
        return QUrl::fromLocalFile(path);
    }

    /// Plays `url` up to where its successor can be named.
    std::shared_ptr<AudioPlayer> begin(const QUrl &url)
    {
        const auto stop = std::make_shared<std::atomic<bool>>(false);
        auto decoder = DecoderModule::load().value()->open(openRegularFile(url).take(), stop);
        auto player = Session::make(decoder.take(), stop, factory());
        player->setDelegate(&*m_delegate);
        player->play();
        m_output = m_outputs.front().get();
        return player;
    }

    OutputFactory factory()
    {
        return [this](AudioFormat format, const std::shared_ptr<Wakeup> &decoder, const SoundLabel &label) {
            m_outputs.push_back(std::make_shared<HandOutput>(format, decoder, label));
            ++m_outputCount;
            return m_outputs.back();
        };
    }

    /// Loses the output `frames` frames later, waits for another one, and hears that.
    bool loseOutput(std::int64_t frames)
    {
        m_output->fail(frames);
        if (!isSoon([this] { return m_outputCount == 2; }))
            return false;
        m_output = m_outputs.back().get();
        m_heard.clear();
        return true;
    }

    void hear(std::int64_t frames)
    {
        const auto samples = m_output->advance(frames);
        m_heard.insert(m_heard.end(), samples.begin(), samples.end());
    }

    template <typename Condition> bool hearUntil(Condition condition)
    {
        return QTest::qWaitFor([&] {
            hear(480);
            return condition();
        });
    }

    /// Makes `url` follow `player` and waits until the output has it.
    bool prepare(AudioPlayer &player, const QUrl &url, int endsOfFile = 1)
    {
        if (!isSoon([=, this] { return m_delegate->endsOfFile() == endsOfFile; }))
            return false;
        player.setSuccessor(url, {QStringLiteral("Marea"), QStringLiteral("Los Grillos")});
        return isSoon([this] { return m_output->hasNext(); });
    }

    /// Whether the frames heard since the first fade are those of the recording.
    [[nodiscard]] bool isUncut(std::int64_t frames) const
    {
        return std::equal(
            m_heard.begin() + 2 * fadeIn, m_heard.begin() + 2 * frames, m_recording.begin() + 2 * fadeIn);
    }

    [[nodiscard]] bool isSilent(std::int64_t frame) const { return m_heard[std::size_t(frame) * 2 + 1] == 0; }

    /// Frames that were heard, without silence.
    [[nodiscard]] std::int64_t sounded() const
    {
        std::int64_t count = 0;
        for (std::int64_t frame = 0; frame < std::int64_t(m_heard.size() / 2); ++frame)
            count += isSilent(frame) ? 0 : 1;
        return count;
    }

    /// Whether the frames heard, whatever their gain and the silence between them, are the recording's from `expected`
    /// on, which begins anew behind its end.
    [[nodiscard]] bool isWhole(std::int64_t expected = 0) const
    {
        const auto length = std::int64_t(m_recording.size() / 2);
        for (std::int64_t frame = 0; frame < std::int64_t(m_heard.size() / 2); ++frame) {
            if (isSilent(frame))
                continue;
            const auto index = std::size_t(frame) * 2;
            const double left = double(m_heard[index]) / double(m_heard[index + 1]) * 0.8;
            if (std::llround((left - 0.2) / 0.6 * double(length)) != expected++ % length)
                return false;
        }
        return true;
    }

private Q_SLOTS:
    void init()
    {
        m_heard.clear();
        m_delegate.emplace();
        m_outputs.clear();
        m_outputs.reserve(4);
        m_outputCount = 0;
    }

    void soundsRightBehindTheLastFrame()
    {
        const auto first = begin(cut(0, 30011));
        QVERIFY(prepare(*first, cut(30011, 90000)));
        QVERIFY(!first->takeSuccessor());
        QVERIFY(hearUntil([&] { return m_delegate->finishes() > 0; }));
        QVERIFY(m_delegate->wasSuccessful());
        QVERIFY(!first->isPlaying());
        QCOMPARE(first->currentTime(), first->duration());
        const auto second = first->takeSuccessor();
        QVERIFY(second);
        QVERIFY(!first->takeSuccessor());
        QVERIFY(second->isPlaying());
        QVERIFY(second->currentTime() < 0.1);
        QCOMPARE(m_output->label().title, QStringLiteral("Marea"));
        second->play(); // changes nothing
        second->setVolume(1);
        QVERIFY(hearUntil([&] { return second->currentTime() >= 1; }));
        QVERIFY(isUncut(70000));
        QCOMPARE(m_delegate->finishes(), 1);
    }

    void everyTrackOfAnAlbumFollowsTheOneBefore()
    {
        constexpr std::int64_t ends[] = {9001, 21003, 45007, 90000};
        auto player = begin(cut(0, ends[0]));
        for (std::size_t index = 1; index < std::size(ends); ++index) {
            QVERIFY(prepare(*player, cut(ends[index - 1], ends[index])));
            QVERIFY(hearUntil([&] { return m_delegate->finishes() > 0; }));
            player = player->takeSuccessor();
            QVERIFY(player);
            m_delegate.emplace();
            player->setDelegate(&*m_delegate);
        }
        QVERIFY(hearUntil([&] { return m_delegate->finishes() > 0; }));
        QVERIFY(isUncut(90000));
    }

    void joinsLoseAndRepeatNothing_data()
    {
        QTest::addColumn<bool>("hasPauses");
        QTest::newRow("playing on") << false;
        QTest::newRow("with pauses that fade over joints") << true;
    }
    void joinsLoseAndRepeatNothing()
    {
        QFETCH(const bool, hasPauses);
        std::mt19937 random(19);
        std::vector<QUrl> pieces;
        std::vector<std::int64_t> lengths;
        const auto length = std::int64_t(m_recording.size() / 2);
        for (std::int64_t from = 0; from < length; from += lengths.back()) {
            const std::int64_t frames = 500 + std::int64_t(random() % 3000);
            lengths.push_back(from + frames + 500 < length ? frames : length - from);
            pieces.push_back(cut(from, from + lengths.back()));
        }
        auto player = begin(pieces[0]);
        std::int64_t left = lengths[0]; // frames of the present piece
        const auto hearSound = [&](std::int64_t frames) {
            const std::size_t before = m_heard.size();
            hear(frames);
            for (std::size_t index = before + 1; index < m_heard.size(); index += 2)
                left -= m_heard[index] == 0 ? 0 : 1;
        };
        for (std::size_t join = 1; join <= 1000; ++join) {
            const std::size_t piece = join % pieces.size();
            QVERIFY(prepare(*player, pieces[piece]));
            if (hasPauses && join % 3 == 0) {
                hearSound(std::max<std::int64_t>(left - std::int64_t(random() % 500), 0));
                player->pause();
                hearSound(500);
                player->play();
            }
            hearSound(std::max<std::int64_t>(left, 0) + 1);
            QVERIFY2(isSoon([&] { return m_delegate->finishes() > 0; }), qPrintable(QString::number(join)));
            left += lengths[piece];
            player = player->takeSuccessor();
            QVERIFY(player);
            m_delegate.emplace();
            player->setDelegate(&*m_delegate);
        }
        QVERIFY(isWhole());
        QCOMPARE(sounded() == std::int64_t(m_heard.size() / 2), !hasPauses);
    }

    void successorOfASlowMediumIsHeardWhole()
    {
        const auto first = begin(cut(0, 10000));
        const QUrl url = cut(10000, 160000);
        FaultyMedium medium(url.toLocalFile().toUtf8());
        medium.set(FaultyMedium::Fault::Slowness, slowFrom);
        QVERIFY(prepare(*first, url));
        for (int second = 0; second < 3; ++second)
            hear(rate); // more than has been read
        QVERIFY(sounded() < 3 * rate);
        QVERIFY(hearUntil([&] { return m_delegate->finishes() > 0; }));
        const auto second = first->takeSuccessor();
        QVERIFY(second);
        second->setDelegate(&*m_delegate);
        QVERIFY(hearUntil([&] { return m_delegate->finishes() == 2; }));
        QCOMPARE(sounded(), 160000);
        QVERIFY(isWhole());
    }

    void successorOfAMediumThatDoesNotAnswerCostsNothing()
    {
        const auto first = begin(cut(0, 30000));
        const QUrl url = cut(30000, 40000);
        FaultyMedium medium(url.toLocalFile().toUtf8());
        medium.set(FaultyMedium::Fault::Silence);
        QVERIFY(isSoon([this] { return m_delegate->endsOfFile() > 0; }));
        first->setSuccessor(url, {});
        QVERIFY(isSoon([&] { return medium.faults() > 0; }));
        QVERIFY(hearUntil([&] { return m_delegate->finishes() > 0; }));
        QVERIFY(isUncut(30000));
        QVERIFY(!first->takeSuccessor());
    }

    void mediumThatDoesNotAnswerHoldsUpAFewThreadsAtMost()
    {
        const auto threads = [] { return QDir(QStringLiteral("/proc/self/task")).entryList().size(); };
        const auto first = begin(cut(0, 30000));
        const QUrl url = cut(30000, 40000);
        const auto before = threads();
        {
            FaultyMedium medium(url.toLocalFile().toUtf8());
            medium.set(FaultyMedium::Fault::Silence);
            for (int change = 1; change < 20; ++change) {
                first->setSuccessor(url, {});
                QVERIFY(isSoon([&] { return medium.faults() == std::min(change, 8); }));
            }
            QVERIFY(threads() <= before + 8);
        }
        QVERIFY(isSoon([&] { return threads() <= before; }));
        QVERIFY(prepare(*first, url));
    }

    void droppedSuccessorIsNotReadAnyMore()
    {
        const auto first = begin(cut(0, 30000));
        const QUrl url = cut(30000, 90000);
        FaultyMedium medium(url.toLocalFile().toUtf8());
        medium.set(FaultyMedium::Fault::Slowness);
        first->setSuccessor(url, {});
        QVERIFY(isSoon([&] { return medium.faults() > 0; }));
        first->dropSuccessor();
        const int faults = medium.faults();
        QVERIFY(!QTest::qWaitFor([&] { return medium.faults() > faults + 2; }, 300));
    }

    /// The end of what is still to be heard of the place before is not the end of the track.
    void successorWaitsForThePlaceThatIsSought()
    {
        int pipe[2] = {};
        QVERIFY(pipe2(pipe, O_CLOEXEC) == 0);
        const auto readBlocks = [&](std::size_t count) {
            return write(pipe[1], QByteArray(qsizetype(count), ' ').constData(), count) == ssize_t(count);
        };
        const auto first =
            Session::make(std::make_unique<FakeDecoder>(FakeDecoder::Script{
                              .seconds = 0.1, .claimedSeconds = 0.1, .blocksOn = pipe[0], .blockFrames = 64}),
                std::make_shared<std::atomic<bool>>(false), factory());
        first->setDelegate(&*m_delegate);
        first->play();
        m_output = m_outputs.front().get();
        QVERIFY(readBlocks(4800 / 64 + 1));
        QVERIFY(isSoon([this] { return m_delegate->endsOfFile() > 0; }));
        first->setCurrentTime(0.01);
        first->setSuccessor(cut(60000, 90000), {}); // on news of the end from before
        const auto isOfferedEarly = [&] { return !readBlocks(1) || m_output->hasNext(); };
        QVERIFY(!QTest::qWaitFor(isOfferedEarly, 300)); // 50 ms are not ready by then
        close(pipe[1]);
        QVERIFY(isSoon([this] { return m_output->hasNext(); }));
        hear(480);
        QCOMPARE(first->currentTime(), 0.02);
        close(pipe[0]);
    }

    void outputLostBeforeTheJointComesBackAndGoesOn()
    {
        const auto first = begin(cut(0, 30000));
        QVERIFY(prepare(*first, cut(30000, 90000)));
        hear(27000);
        QVERIFY(loseOutput(600));
        QVERIFY(first->isPlaying());
        QVERIFY(prepare(*first, cut(30000, 90000), 2));
        hear(2401);
        QVERIFY(isSoon([&] { return m_delegate->finishes() > 0; }));
        QVERIFY(first->takeSuccessor());
        QCOMPARE(sounded(), 2401);
        QVERIFY(isWhole(27600));
    }

    /// Nobody knew that it was being heard.
    void outputLostRightBehindTheJointEndsTheTrack()
    {
        const auto first = begin(cut(0, 30000));
        QVERIFY(prepare(*first, cut(30000, 90000)));
        hear(29000);
        QVERIFY(loseOutput(1100));
        QVERIFY(hearUntil([&] { return m_delegate->finishes() > 0; }));
        QVERIFY(!first->takeSuccessor());
        QCOMPARE(first->currentTime(), first->duration());
        QCOMPARE(sounded(), 0);
    }

    void outputLostAfterTheHandOverComesBackInTheSuccessor()
    {
        const auto first = begin(cut(0, 30000));
        QVERIFY(prepare(*first, cut(30000, 90000)));
        hear(30001);
        QVERIFY(isSoon([&] { return m_delegate->finishes() > 0; }));
        const auto second = first->takeSuccessor();
        QVERIFY(second);
        QVERIFY(loseOutput(999));
        QVERIFY(second->isPlaying());
        QCOMPARE(m_output->label().title, QStringLiteral("Marea"));
        QVERIFY(hearUntil([&] { return second->currentTime() > 0.2; }));
        QVERIFY(isWhole(31000));
    }

    /// What is over before anybody asks is told all the same.
    void endOfAShortSuccessorIsToldToItsDelegate()
    {
        const auto first = begin(cut(0, 30000));
        QVERIFY(prepare(*first, cut(30000, 30100)));
        QVERIFY(hearUntil([&] { return m_delegate->finishes() > 0; }));
        hear(48000);
        const auto second = first->takeSuccessor();
        QVERIFY(second);
        QTRY_VERIFY(!second->isPlaying());
        RecordingDelegate delegate;
        second->setDelegate(&delegate);
        QVERIFY(second->play());
        QTRY_COMPARE(delegate.endsOfFile(), 1);
        QTRY_COMPARE(delegate.finishes(), 1);
        QVERIFY(isUncut(30100));
        hear(4800);
        QCOMPARE(sounded(), 30100);
        second->play(); // once more
        hear(4800);
        QVERIFY(hearUntil([&] { return delegate.finishes() == 2; }));
        QCOMPARE(sounded(), 30200);
    }

    void volumeAndPauseAtTheJointAreTheSuccessorsToo()
    {
        const auto first = begin(cut(0, 30000));
        first->setVolume(0.5F);
        QVERIFY(prepare(*first, cut(30000, 90000)));
        QVERIFY(hearUntil([&] { return first->currentTime() > 0.6; }));
        first->pause();
        hear(4800);
        QCOMPARE(m_output->advance(1)[1], 0.0F);
        first->play();
        QVERIFY(hearUntil([&] { return m_delegate->finishes() > 0; }));
        const auto second = first->takeSuccessor();
        QVERIFY(second);
        hear(4800);
        QVERIFY(std::abs(m_output->advance(1)[1] - 0.4F) < 1e-6F);
        second->setCurrentTime(1);
        QVERIFY(hearUntil([&] { return second->currentTime() > 1.05; }));
        second->pause();
        hear(4800);
        QCOMPARE(m_output->advance(1)[1], 0.0F);
    }

    void droppedSuccessorIsNotHeard()
    {
        const auto first = begin(cut(0, 30000));
        QVERIFY(prepare(*first, cut(60000, 90000)));
        QVERIFY(hearUntil([&] { return first->currentTime() > 0.4; }));
        m_output->render(20000); // far into the successor
        first->dropSuccessor();
        QVERIFY(hearUntil([&] { return m_delegate->finishes() > 0; }));
        QVERIFY(!first->takeSuccessor());
        hear(48000);
        QVERIFY(isUncut(30000));
        QVERIFY(std::all_of(
            m_heard.begin() + 2 * 30000, m_heard.end(), [](float sample) { return sample == 0; }));
    }

    void seekDropsTheSuccessorAndIsToldTheEndAgain()
    {
        const auto first = begin(cut(0, 30000));
        QVERIFY(prepare(*first, cut(60000, 90000)));
        QVERIFY(hearUntil([&] { return first->currentTime() > 0.4; }));
        first->setCurrentTime(0.1);
        QVERIFY(!m_output->hasNext());
        QVERIFY(hearUntil([&] { return m_delegate->endsOfFile() == 2; }));
        QVERIFY(hearUntil([&] { return m_delegate->finishes() > 0; }));
        QVERIFY(!first->takeSuccessor());
    }

    void successorOfAnotherFormatIsConverted()
    {
        const auto first = begin(cut(0, 30000));
        std::vector<float> sine;
        sine.reserve(44100);
        for (int frame = 0; frame < 44100; ++frame)
            sine.push_back(float(0.5 * std::sin(2 * M_PI * 441 * frame / 44100)));
        const QString path = m_folder.filePath(QStringLiteral("mono.wav"));
        QVERIFY(WavFile::save(path, WavFile::encoded(sine, 44100, 1)));
        QVERIFY(prepare(*first, QUrl::fromLocalFile(path)));
        QVERIFY(hearUntil([&] { return m_delegate->finishes() > 0; }));
        const auto second = first->takeSuccessor();
        QVERIFY(second);
        QVERIFY(std::abs(second->duration() - 1) < 1e-6);
        second->setDelegate(&*m_delegate);
        QVERIFY(hearUntil([&] { return m_delegate->finishes() == 2; }));
        for (std::int64_t frame = 0; frame < rate; ++frame) {
            const double expected = 0.5 * std::sin(2 * M_PI * 441 * double(frame) / rate);
            for (const std::int64_t channel : {0, 1}) {
                const double actual = double(m_heard[std::size_t((30000 + frame) * 2 + channel)]);
                QVERIFY2(std::abs(actual - expected) < 0.002, qPrintable(QString::number(frame)));
            }
        }
    }

    void fileThatCannotBeOpenedCostsNothing()
    {
        const auto first = begin(cut(0, 30000));
        QVERIFY(QTest::qWaitFor([this] { return m_delegate->endsOfFile() > 0; }));
        first->setSuccessor(QUrl::fromLocalFile(m_folder.filePath(QStringLiteral("gone.wav"))), {});
        QVERIFY(hearUntil([&] { return m_delegate->finishes() > 0; }));
        QVERIFY(isUncut(30000));
        QVERIFY(!first->takeSuccessor());
        QVERIFY(first->play()); // as after any end
        QVERIFY(hearUntil([&] { return m_delegate->finishes() == 2; }));
    }
};

LUMAVERDINE_TEST(SuccessorTest)
#include "SuccessorTest.moc"
