#include "tests/TestProgram.h"
#include "tests/player/CutSignalFixture.h"

using namespace Qt::StringLiterals;

/// What is heard where one track gives way to another, read off a capture of position-coded tracks.
class TrackChangeTest : public CutSignalFixture {
    Q_OBJECT

private:
    /// Fills the playlist with `count` tracks of that length, the first one ready to play.
    void addTracks(int count, double seconds)
    {
        QList<QUrl> urls;
        for (int number = 1; number <= count; ++number) {
            const QString path = filePath(QString::number(number) + u".wav"_s);
            QVERIFY(PositionCapture::saveTrack(path, seconds));
            urls.append(QUrl::fromLocalFile(path));
        }
        add(urls);
    }

private Q_SLOTS:
    void nextTrackTakesOverWithoutAClickOrAHole()
    {
        addTracks(2, 10);
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
        addTracks(2, 10);
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

    void repeatedTrackFollowsItselfWithoutASeam()
    {
        addCut({0.70001});
        m_player->isRepeating = true;
        m_player->play();
        QVERIFY(capture().record(2.4));
        const auto length = std::int64_t(0.70001 * Capture::rate);
        std::int64_t start = capture().firstFrame(0, true);
        for (int round = 0; round < 3; ++round, start += length)
            QVERIFY(isContiguous(start, start + length));
        QCOMPARE(m_player->currentIndex(), std::optional<qsizetype>(0));
    }

    void tracksOfAFewFramesAreHeardInTheirOrder()
    {
        constexpr int count = 20;
        std::vector<double> ends{0.3};
        for (int index = 0; index < count; ++index)
            ends.push_back(ends.back() + (index % 2 == 0 ? 100.0 : 1.0) / Capture::rate);
        ends.push_back(1);
        addCut(ends);
        m_player->play();
        QVERIFY(QTest::qWaitFor([&] { return m_player->currentIndex() == count + 1; }));
        QVERIFY(QTest::qWaitFor([&] { return m_player->position() > 0.5; }));
        QVERIFY(capture().record(0.5));
        std::int64_t silent = 0;
        std::int64_t heard = 0;
        for (std::int64_t frame = capture().firstFrame(0, true); heard < Capture::rate * 3 / 4; ++frame) {
            QVERIFY(frame < capture().frames());
            if (capture().isSounding(frame))
                QCOMPARE(std::llround(capture().place(frame) * Capture::rate), heard++);
            else
                ++silent;
        }
        const double silence = double(silent) / Capture::rate * 1000 / (count + 1);
        report("silence before a track of a few frames, mean", silence);
        QVERIFY(silence < 50);
    }

    void nothingOfTheNextTrackIsHeardBeforeItsTurn()
    {
        addCut({1, 2});
        const auto waitFor = [this](double position) {
            return QTest::qWaitFor([&] { return m_player->position() > position; }) && capture().record(0.05);
        };
        const auto isHeardWithin = [this](std::int64_t from, double least, double greatest) {
            for (; from < capture().frames(); ++from) {
                if (capture().gain(from) > 0.01
                    && (capture().place(from) < least || capture().place(from) > greatest))
                    return false;
            }
            return true;
        };
        m_player->play();
        QVERIFY(waitFor(0.7)); // the next track is queued
        m_player->pause();
        QVERIFY(capture().record(0.3));
        m_player->play();
        m_player->isRepeating = true;
        QVERIFY(QTest::qWaitFor([this] { return m_player->position() < 0.5; }));
        QVERIFY(waitFor(0.7)); // it is queued to follow itself
        m_player->seek(0.5);
        m_player->isRepeating = false;
        QVERIFY(waitFor(0.7));
        QVERIFY(isHeardWithin(0, 0, 1));
        m_player->next();
        QCOMPARE(m_player->currentIndex(), std::optional<qsizetype>(1));
        QVERIFY(capture().record(0.2));
        const std::int64_t settled = capture().frames();
        QVERIFY(waitFor(0.4));
        QVERIFY(isHeardWithin(settled, 1, 2));
    }

    void changeOfMindIsHeardAsIfNothingHadBeenPrepared()
    {
        addCut({1, 2, 3});
        m_player->play();
        QVERIFY(capture().record(0.3));
        const std::int64_t start = capture().firstFrame(0, true);
        QVERIFY(QTest::qWaitFor([&] { return m_player->position() > 0.8; }));
        m_player->removeTrack(m_player->playlist().at(1)); // the third one follows now
        QVERIFY(capture().record(1));
        QVERIFY(isContiguous(start, start + Capture::rate));
        const std::int64_t second = capture().firstFrame(start + Capture::rate, true);
        report("silence before the third", double(second - start - Capture::rate) / Capture::rate * 1000);
        QVERIFY(isContiguous(second, second + Capture::rate / 5, 2));
    }
};

static const bool isTrackChangeTestRegistered =
    TestProgram::add("TrackChangeTest", [](int, char **) { return TrackChangeTest().run(); });
#include "TrackChangeTest.moc"
