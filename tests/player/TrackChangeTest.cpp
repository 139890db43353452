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

    /// Fills the playlist with the signal cut at `ends`, in seconds, as one file a piece.
    void addCut(const std::vector<double> &ends)
    {
        m_player = std::make_unique<PlayerManager>();
        const auto signal = WavFile::positionCodedSamples(Capture::rate, PositionCapture::length);
        QList<QUrl> urls;
        std::int64_t from = 0;
        for (const double end : ends) {
            const std::int64_t to = std::llround(end * Capture::rate);
            const QString path = filePath(QString::number(urls.size() + 1) + u".wav"_s);
            const auto piece = std::span(signal).subspan(std::size_t(from) * 2, std::size_t(to - from) * 2);
            QVERIFY(WavFile::save(path, WavFile::encoded(piece, Capture::rate, 2)));
            urls.append(QUrl::fromLocalFile(path));
            from = to;
        }
        m_player->addFiles(urls);
        m_player->volume = 1;
        QCOMPARE(m_player->playlist().size(), urls.size());
        QVERIFY(capture().record(0.3));
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

    void repeatedTrackFollowsItselfWithoutASeam()
    {
        addCut({0.70001});
        m_player->isRepeating = true;
        m_player->play();
        QVERIFY(capture().record(3));
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

    void trackThatShuffleHasDrawnFollowsWithoutASeam()
    {
        constexpr double length = 0.7; // seconds a track
        addCut({length, 2 * length, 3 * length, 4 * length});
        m_player->isShuffling = true;
        QStringList drawn;
        QStringList played;
        QObject::connect(m_player.get(), &PlayerManager::followingTrackFound,
            [&drawn](const Track &track) { drawn.append(track.title); });
        QObject::connect(m_player.get(), &PlayerManager::positionSet,
            [&, this] { played.append(m_player->currentTrack()->title); });
        m_player->play();
        QVERIFY(QTest::qWaitFor([&] { return drawn.size() > 2; }));
        QCOMPARE(played, drawn.first(2));
        QVERIFY(capture().record(0.1));
        std::int64_t start = capture().firstFrame(0, true);
        played.prepend(u"1"_s);
        for (const QString &title : std::as_const(played)) {
            const std::int64_t end =
                std::min(start + std::int64_t(length * Capture::rate), capture().frames());
            QVERIFY2(isContiguous(start, end, (title.toInt() - 1) * length), qPrintable(title));
            start = end;
        }
    }

    /// Each change has come to the server when it is taken back.
    void changeThatIsTakenBackIsHeardAsNone()
    {
        constexpr double length = 0.7; // seconds a track
        addCut({length, 2 * length, 3 * length});
        QString following;
        QObject::connect(m_player.get(), &PlayerManager::followingTrackFound,
            [&following](const Track &track) { following = track.title; });
        const auto change = [&](Published<bool> &flag, bool value) {
            following.clear();
            flag = value;
            return QTest::qWaitFor([&] { return !following.isEmpty(); }) && capture().record(0.05);
        };
        m_player->play();
        QVERIFY(QTest::qWaitFor([&] { return m_player->position() > 0.45; }));
        QVERIFY(change(m_player->isRepeating, true));
        QCOMPARE(following, u"1"_s);
        QVERIFY(change(m_player->isRepeating, false));
        QVERIFY(QTest::qWaitFor([&] { return m_player->currentIndex() == 1; }));
        QVERIFY(QTest::qWaitFor([&] { return m_player->position() > 0.45; }));
        QVERIFY(change(m_player->isShuffling, true));
        QVERIFY(change(m_player->isShuffling, false));
        QCOMPARE(following, u"3"_s);
        QVERIFY(QTest::qWaitFor([&] { return m_player->currentIndex() == 2; }));
        QVERIFY(capture().record(0.3));
        const std::int64_t start = capture().firstFrame(0, true);
        QVERIFY(isContiguous(start, capture().frames()));
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
