#include "tests/TestProgram.h"
#include "tests/player/CutSignalFixture.h"

using namespace Qt::StringLiterals;

/// What is heard of shuffle and repeat where one track gives way to the other.
class FlagChangeTest : public CutSignalFixture {
    Q_OBJECT

private Q_SLOTS:
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
};

static const bool isFlagChangeTestRegistered =
    TestProgram::add("FlagChangeTest", [](int, char **) { return FlagChangeTest().run(); });
#include "FlagChangeTest.moc"
