#include "tests/TestProgram.h"
#include "tests/player/Journal.h"
#include "tests/player/PlayerFixture.h"

#include <QScopeGuard>
#include <set>

using namespace Qt::StringLiterals;

namespace {

void settle()
{
    QCoreApplication::processEvents();
}

/// A player of tracks named by letters; the first one plays and its file has been read to the end.
struct EndingFixture : PlayerFixture {
    explicit EndingFixture(QLatin1StringView letters = "abc"_L1)
    {
        add(letters);
        player.play();
        settle();
        platform.observer = [this](const QString &call) { calls.append(call); };
    }
    ~EndingFixture()
    {
        platform.observer = [](const QString &) {};
    }
    void readToTheEnd()
    {
        state().readToTheEnd();
        settle();
    }
    FakePlayerState &state() { return *platform.opened.back(); }

    /// What the audio player goes on with: "b", or "" for nothing.
    QString successor() { return state().successor.fileName().section(u'.', 0, 0); }

    QStringList calls; ///< of the platform
};

} // namespace

/// What the player goes on with at the end of a track, and what it does about it before.
class FollowingTrackTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void nothingFollowsBeforeTheFileIsRead()
    {
        EndingFixture f;
        QString found;
        QObject::connect(&f.player, &PlayerManager::followingTrackFound,
            [&found](const Track &track) { found += track.title; });
        QCOMPARE(f.successor(), u""_s);
        f.readToTheEnd();
        QCOMPARE(found, u"b"_s);
        QCOMPARE(f.successor(), u"b"_s);
        QCOMPARE(f.state().successorLabel.title, u"b"_s);
        QCOMPARE(f.current(), u"a"_s);
    }

    void isTheNextOneTheSameOneOrTheFirst()
    {
        EndingFixture f;
        f.player.isRepeating = true;
        f.readToTheEnd();
        QCOMPARE(f.successor(), u"a"_s);
        f.player.isRepeating = false;
        QCOMPARE(f.successor(), u""_s);
        settle();
        QCOMPARE(f.successor(), u"b"_s);
        f.player.load(f.track(2));
        f.readToTheEnd();
        QCOMPARE(f.successor(), u"a"_s);
    }

    void isTheOneThatShuffleHasDrawn()
    {
        std::set<QString> drawn;
        for (int round = 0; round < 60; ++round) {
            EndingFixture f("abcd"_L1);
            f.player.isShuffling = true;
            f.readToTheEnd();
            const QString following = f.successor();
            drawn.insert(following);
            f.state().finish();
            settle();
            QCOMPARE(f.current(), following);
        }
        QCOMPARE(drawn, (std::set{u"b"_s, u"c"_s, u"d"_s}));
    }

    void isFoundAnewWhenAnythingChanges_data()
    {
        using Change = std::function<void(PlayerFixture &)>;
        QTest::addColumn<Change>("change");
        QTest::addColumn<QString>("following");
        const auto row = [](const char *name, const QString &following, const Change &change) {
            QTest::newRow(name) << change << following;
        };
        row("remove it", u"c"_s, [](auto &f) { f.player.removeTrack(f.track(1)); });
        row("move it", u"c"_s, [](auto &f) { f.player.moveTrack({1}, 3); });
        row("move the current one", u"c"_s, [](auto &f) { f.player.moveTrack({0}, 2); });
        row("repeat", u"a"_s, [](auto &f) { f.player.isRepeating = true; });
        row("add", u"b"_s, [](auto &f) { f.add("xyz"_L1); });
        row("pause and go on", u"b"_s, [](auto &f) {
            f.player.pause();
            f.player.play();
        });
    }
    void isFoundAnewWhenAnythingChanges()
    {
        QFETCH(const std::function<void(PlayerFixture &)>, change);
        QFETCH(const QString, following);
        EndingFixture f;
        f.readToTheEnd();
        change(f);
        settle();
        QCOMPARE(f.successor(), following);
    }

    void trackBehindTheLastOneFollowsInsteadOfTheFirst()
    {
        EndingFixture f;
        f.player.load(f.track(2));
        f.readToTheEnd();
        QCOMPARE(f.successor(), u"a"_s);
        f.add("d"_L1);
        settle();
        QCOMPARE(f.successor(), u"d"_s);
    }

    void isFoundOnceForChangesThatComeTogether()
    {
        EndingFixture f;
        f.readToTheEnd();
        f.calls.clear();
        f.add("defghijklmnop"_L1);
        f.player.isShuffling = true;
        f.player.isShuffling = false;
        settle();
        QCOMPARE(f.calls.filter(u"no successor"_s).size(), 1);
        QCOMPARE(f.calls.filter(u" successor b"_s).size(), 1);
    }

    void isForgottenUntilTheFileIsReadAgain_data()
    {
        using Change = std::function<void(PlayerFixture &)>;
        QTest::addColumn<Change>("change");
        QTest::newRow("seek") << Change([](auto &f) { f.player.seek(1); });
        QTest::newRow("stop") << Change([](auto &f) { f.player.stop(); });
    }
    void isForgottenUntilTheFileIsReadAgain()
    {
        QFETCH(const std::function<void(PlayerFixture &)>, change);
        EndingFixture f;
        f.readToTheEnd();
        change(f);
        f.player.isRepeating = true;
        settle();
        QCOMPARE(f.successor(), u""_s);
        f.readToTheEnd();
        QCOMPARE(f.successor(), u"a"_s);
    }

    void isNotFoundBeforeTheFileIsReadAgainAlsoIfTheChangeCameFirst_data()
    {
        using Change = std::function<void(PlayerFixture &)>;
        QTest::addColumn<Change>("change");
        QTest::newRow("seek") << Change([](auto &f) { f.player.seek(1); });
        QTest::newRow("another track") << Change([](auto &f) { f.player.load(f.track(2)); });
    }
    void isNotFoundBeforeTheFileIsReadAgainAlsoIfTheChangeCameFirst()
    {
        QFETCH(const std::function<void(PlayerFixture &)>, change);
        EndingFixture f;
        f.readToTheEnd();
        f.player.isRepeating = true;
        change(f);
        settle();
        QCOMPARE(f.successor(), u""_s);
    }

    /// As when the sound server has gone and come back.
    void isPreparedAgainWhenTheFileIsReadAgain()
    {
        EndingFixture f;
        f.readToTheEnd();
        f.state().successor.clear();
        f.readToTheEnd();
        QCOMPARE(f.successor(), u"b"_s);
    }

    void trackThatIsAskedForIsOpenedAlsoIfAnotherOneSoundsAlready()
    {
        EndingFixture f;
        f.readToTheEnd();
        f.platform.finishIntoSuccessor();
        f.calls.clear();
        f.player.load(f.track(2));
        QCOMPARE(f.calls.filter(u"open"_s), QStringList(u"open c"_s));
    }

    void newsOfAPlayerThatIsGoneChangeNothing()
    {
        EndingFixture f;
        f.state().readToTheEnd();
        f.player.next();
        settle();
        QCOMPARE(f.current(), u"b"_s);
        QCOMPARE(f.successor(), u""_s);
    }

    void successorThatSoundsIsNotOpenedAgain()
    {
        EndingFixture f;
        f.player.volume = 0.25;
        f.readToTheEnd();
        f.calls.clear();
        f.platform.finishIntoSuccessor();
        settle();
        QCOMPARE(f.current(), u"b"_s);
        QVERIFY(f.player.isPlaying());
        QVERIFY(f.state().isPlaying);
        QCOMPARE(f.state().volume, 0.25F);
        QCOMPARE(f.calls.filter(u"open"_s), QStringList());
        QCOMPARE(f.calls.filter(u"seek"_s), QStringList());
        f.state().currentTime = 7;
        f.readToTheEnd();
        QCOMPARE(f.successor(), u"c"_s);
        QTRY_COMPARE(f.player.currentTime(), 7.0);
    }

    void repeatedTrackThatSoundsIsNotSought()
    {
        EndingFixture f;
        f.player.isRepeating = true;
        f.readToTheEnd();
        f.calls.clear();
        f.platform.finishIntoSuccessor();
        settle();
        QCOMPARE(f.current(), u"a"_s);
        QVERIFY(f.player.isPlaying());
        QCOMPARE(f.calls.filter(u"open"_s), QStringList());
        QCOMPARE(f.calls.filter(u"seek"_s), QStringList());
    }

    /// Nobody who observes the player can tell a successor that sounded from one that is loaded.
    void everyWriteIsTheSameWithAndWithoutASuccessor_data()
    {
        QTest::addColumn<bool>("isRepeating");
        QTest::newRow("next") << false;
        QTest::newRow("repeat") << true;
    }
    void everyWriteIsTheSameWithAndWithoutASuccessor()
    {
        QFETCH(const bool, isRepeating);
        const auto writes = [isRepeating](bool hasSuccessor) {
            PlayerFixture f;
            f.add("abc"_L1);
            f.player.isRepeating = isRepeating;
            f.player.play();
            settle();
            f.platform.latest().currentTime = 99;
            f.platform.latest().readToTheEnd();
            settle();
            int positions = 0;
            QObject::connect(&f.player, &PlayerManager::positionSet, [&] { ++positions; });
            Journal journal(f.platform, f.player);
            QStringList entries = journal
                                      .record([&] {
                                          if (hasSuccessor)
                                              f.platform.finishIntoSuccessor();
                                          else
                                              f.platform.latest().finish();
                                          settle();
                                      })
                                      .split(u", "_s);
            entries.removeIf([](const QString &entry) { // what is said to and by the platform
                return entry.startsWith(u"open") || (entry.size() > 2 && entry.at(1) == u' ');
            });
            return entries.join(u", "_s) + u' ' + QString::number(positions);
        };
        const QString without = writes(false);
        QVERIFY2(without.contains(u"isPlaying true"), qPrintable(without));
        QCOMPARE(writes(true), without);
    }

    void successorThatCannotBeOpenedIsSaidOnceAtTheEnd()
    {
        EndingFixture f;
        f.platform.unplayableNames = {u"b.mp3"_s};
        f.readToTheEnd();
        Journal journal(f.platform, f.player);
        const QString end = journal.record([&] {
            f.state().finish();
            settle();
        });
        QCOMPARE(end.count(u"prints"), 1);
        QVERIFY(!f.player.isPlaying());
        QCOMPARE(f.current(), u"a"_s);
    }

    void nextByTheUserOpensTheTrackFromItsStart()
    {
        EndingFixture f;
        f.readToTheEnd();
        f.calls.clear();
        f.player.next();
        QCOMPARE(f.current(), u"b"_s);
        QCOMPARE(f.calls.filter(u"open"_s), QStringList(u"open b"_s));
    }

    void clearedPlaylistGoesOnWithNothing()
    {
        EndingFixture f;
        f.readToTheEnd();
        f.player.clearPlaylist();
        settle();
        QCOMPARE(f.current(), u"-"_s);
    }
};

LUMAVERDINE_TEST(FollowingTrackTest)
#include "FollowingTrackTest.moc"
