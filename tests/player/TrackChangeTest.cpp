#include "player/PayerManager.h"
#include "tests/TestProgram.h"
#include "tests/playback/SoundServerFixture.h"

using namespace Qt::StringLiterals;

/// What is heard where one track gives way to another, read off a capture of position-coded tracks.
class TrackChangeTest : public SoundServerFixture {
    Q_OBJECT

private:
    std::unique_ptr<PlayerManager> m_player;

    void stopSound() override { m_player.reset(); }

    /// Fills the playlist with `count` tracks of that length, the first one ready to play.
    void add(int count, double seconds)
    {
        m_player = std::make_unique<PlayerManager>();
        QList<QUrl> urls;
        for (int number = 1; number <= count; ++number) {
            const QString path = filePath(QString::number(number) + u".wav"_s);
            QVERIFY(PositionCapture::saveTrack(path, seconds));
            urls.append(QUrl::fromLocalFile(path));
        }
        m_player->addFiles(urls);
        m_player->volume = 1;
        QCOMPARE(m_player->playlist().size(), count);
        QVERIFY(capture().record(0.3));
    }

    /// Lets the tracks play one after the other, all of them `seconds` long; answers how long the silence
    /// between two of them was in the middle of `steps`, in milliseconds. Nothing if a frame was missing.
    std::optional<double> medianSilence(int steps, double seconds)
    {
        m_player->play();
        std::vector<double> silences;
        std::int64_t start = waitForFrame(0, true);
        std::int64_t from = start;
        while (int(silences.size()) < steps) {
            const std::int64_t end = waitForFrame(from, false);
            from = waitForFrame(end, true);
            if (from == capture().frames())
                return std::nullopt;
            if (mayBeDropped(double(from - end)) && capture().place(from) > capture().place(end - 1) - 0.1)
                continue;
            if (!isWhole(start, end, seconds))
                return std::nullopt;
            silences.push_back(double(from - end) / Capture::rate * 1000);
            start = from;
        }
        std::sort(silences.begin(), silences.end());
        qInfo("silence between two tracks: %.1f to %.1f ms", silences.front(), silences.back());
        return silences[silences.size() / 2];
    }

    /// Whether a track of that length is heard from `start` to `end` without a hole; where a server drops
    /// periods, whether it is heard to its end.
    bool isWhole(std::int64_t start, std::int64_t end, double seconds)
    {
        const bool isComplete = dropsPeriods()
            ? std::abs(capture().place(end - 1) - seconds) < 0.011
            : end - start == std::int64_t(seconds * Capture::rate) && capture().isContiguous(start, end);
        if (!isComplete)
            qWarning(
                "heard to %.4f s in %.4f s", capture().place(end - 1), double(end - start) / Capture::rate);
        return isComplete;
    }

    /// As PositionCapture::firstFrame(), of a capture that goes on until there is such a frame.
    std::int64_t waitForFrame(std::int64_t from, bool sounding)
    {
        std::int64_t frame = capture().firstFrame(from, sounding);
        while (frame == capture().frames() && capture().frames() < from + std::int64_t(5) * Capture::rate
            && capture().record(0.1))
            frame = capture().firstFrame(frame, sounding);
        return frame;
    }

private Q_SLOTS:
    void nextTrackTakesOverWithoutAClickOrAHole()
    {
        add(2, 10);
        m_player->play();
        QVERIFY(capture().record(1));
        const std::int64_t first = capture().firstFrame(0, true);
        const std::int64_t called = capture().frames();
        const double call = Capture::now();
        m_player->next();
        QVERIFY(capture().record(0.5));
        QVERIFY(m_player->isPlaying());

        // The two may overlap while one fades out and the other in.
        std::int64_t settled = called;
        std::int64_t silent = 0;
        while (settled < capture().frames()
            && (std::abs(capture().gain(settled) - 1) > 1e-4 || capture().place(settled) > 0.2))
            silent += capture().isSounding(settled++) ? 0 : 1;
        report("heard alone", capture().latency(call, settled));
        report("hole", double(silent) / Capture::rate * 1000);
        QVERIFY(silent < Capture::rate * 120 / 1000);
        QVERIFY(capture().latency(call, settled) < 120);
        QVERIFY(isContiguous(settled, capture().frames(), capture().place(settled)));
        QVERIFY(capture().isSmooth(2, first));
    }

    void trackThatCannotBeLoadedLeavesTheOtherSounding()
    {
        add(2, 10);
        m_player->play();
        QVERIFY(capture().record(0.5));
        QVERIFY(WavFile::save(filePath(u"2.wav"_s), "no sound"));
        m_player->next();
        QVERIFY(!m_player->isPlaying());
        QVERIFY(capture().record(0.5));
        QCOMPARE(m_player->currentIndex(), std::optional<qsizetype>(0));
        const std::int64_t first = capture().firstFrame(0, true);
        QVERIFY(capture().frames() - first > Capture::rate / 2);
        QVERIFY(isContiguous(first, capture().frames()));
    }

    void tracksFollowEachOtherSoonAndInFull()
    {
        add(11, 0.5);
        const auto silence = medianSilence(10, 0.5);
        QVERIFY(silence);
        report("median of 10 steps", *silence);
        QVERIFY(*silence < 60);
        QCOMPARE(m_player->currentIndex(), std::optional<qsizetype>(10));
    }

    void repeatedTrackFollowsItselfSoonAndInFull()
    {
        add(2, 0.5);
        m_player->isRepeating = true;
        const auto silence = medianSilence(10, 0.5);
        QVERIFY(silence);
        report("median of 10 repeats", *silence);
        QVERIFY(*silence < 60);
        QCOMPARE(m_player->currentIndex(), std::optional<qsizetype>(0));
    }
};

static const bool isTrackChangeTestRegistered =
    TestProgram::add("TrackChangeTest", [](int, char **) { return TrackChangeTest().run(); });
#include "TrackChangeTest.moc"
