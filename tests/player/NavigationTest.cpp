#include "tests/player/PlayerFixture.h"
#include "tests/player/StandardOutput.h"

#include <QSignalSpy>
#include <QTest>
#include <map>
#include <thread>

using namespace Qt::StringLiterals;

class NavigationTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void nextAndPreviousOnAnEmptyPlaylistDoNothing()
    {
        PlayerFixture f;
        QSignalSpy changes(&f.player, &PlayerManager::objectWillChange);
        f.player.next();
        f.player.previous();
        QCOMPARE(changes.size(), 0);
    }

    void nextStepsAndPlays()
    {
        PlayerFixture f;
        f.add("abc"_L1);
        f.player.next();
        QCOMPARE(f.current(), u"b"_s);
        QVERIFY(f.player.isPlaying());
    }

    void nextWrapsFromTheLastToTheFirst()
    {
        PlayerFixture f;
        f.add("abc"_L1);
        f.player.load(f.track(2), false);
        f.player.isRepeating = true;
        f.player.next();
        QCOMPARE(f.current(), u"a"_s);
        QVERIFY(f.player.isPlaying());
    }

    void previousWrapsFromTheFirstToTheLast()
    {
        PlayerFixture f;
        f.add("abc"_L1);
        f.player.seek(3.0);
        f.player.previous();
        QCOMPARE(f.current(), u"c"_s);
        QVERIFY(f.player.isPlaying());
    }

    void previousStepsBack()
    {
        PlayerFixture f;
        f.add("abc"_L1);
        f.player.load(f.track(2));
        f.player.previous();
        QCOMPARE(f.current(), u"b"_s);
    }

    void previousPastThreeSecondsRestartsTheTrack()
    {
        PlayerFixture f;
        f.add("abc"_L1);
        f.player.seek(3.01);
        f.player.previous();
        QCOMPARE(f.current(), u"a"_s);
        QCOMPARE(f.player.currentTime(), 0.0);
        QVERIFY(!f.player.isPlaying());
        QCOMPARE(f.platform.opened.size(), 1u);

        f.player.play();
        f.player.seek(50);
        f.player.previous();
        QCOMPARE(f.current(), u"a"_s);
        QVERIFY(f.player.isPlaying());
    }

    void previousReadsThePublishedPosition()
    {
        PlayerFixture f;
        f.add("abc"_L1);
        f.platform.latest().currentTime = 50; // the live position, not yet published by a tick
        f.player.previous();
        QCOMPARE(f.current(), u"c"_s);
    }

    void previousIgnoresShuffle()
    {
        PlayerFixture f;
        f.add("abcdefgh"_L1);
        f.player.isShuffling = true;
        f.player.load(f.track(4));
        f.player.previous();
        QCOMPARE(f.current(), u"d"_s);
    }

    void withoutACurrentTrackBothLoadTheFirst()
    {
        PlayerFixture f;
        f.platform.unplayableNames = {u"a.mp3"_s};
        standardOutputOf([&] { f.add("abc"_L1); });
        QCOMPARE(f.current(), u"-"_s);
        f.platform.unplayableNames.clear();
        f.player.next();
        QCOMPARE(f.current(), u"a"_s);

        f.player.currentTrack = std::nullopt;
        f.player.previous();
        QCOMPARE(f.current(), u"a"_s);
    }

    void shuffleOfTwoTracksAlternates()
    {
        PlayerFixture f;
        f.add("ab"_L1);
        f.player.isShuffling = true;
        for (int i = 0; i < 10; ++i) {
            f.player.next();
            QCOMPARE(f.current(), i % 2 == 0 ? u"b"_s : u"a"_s);
        }
    }

    void shuffleOfOneTrackReloadsIt()
    {
        PlayerFixture f;
        f.add("a"_L1);
        f.player.isShuffling = true;
        f.player.next();
        QCOMPARE(f.current(), u"a"_s);
        QCOMPARE(f.platform.opened.size(), 2u);
        QVERIFY(f.player.isPlaying());
    }

    void shufflePicksEveryOtherTrackAlike()
    {
        PlayerFixture f;
        f.add("abcde"_L1);
        f.player.isShuffling = true;
        std::map<QString, int> picks;
        for (int i = 0; i < 2000; ++i) {
            f.player.load(f.track(2), false);
            f.player.next();
            ++picks[f.current()];
        }
        QVERIFY(!picks.contains(u"c"_s));
        QCOMPARE(picks.size(), 4u);
        // 500 expected each, standard deviation 19: five of them on either side fail once in a million runs.
        for (const auto &[title, count] : picks)
            QVERIFY2(count > 400 && count < 600, qPrintable(title));
    }

    void shuffleWithoutACurrentTrackMayPickAnyone()
    {
        PlayerFixture f;
        f.add("abc"_L1);
        f.player.isShuffling = true;
        std::map<QString, int> picks;
        for (int i = 0; i < 300; ++i) {
            f.player.currentTrack = std::nullopt;
            f.player.next();
            ++picks[f.current()];
        }
        QCOMPARE(picks.size(), 3u);
    }

    void endOfTrackStepsToTheNext()
    {
        PlayerFixture f;
        f.add("abc"_L1);
        f.player.play();
        f.platform.latest().finish();
        QTRY_COMPARE(f.current(), u"b"_s);
        QVERIFY(f.player.isPlaying());
    }

    void endOfTheLastTrackStartsTheFirst()
    {
        PlayerFixture f;
        f.add("ab"_L1);
        f.player.load(f.track(1));
        f.platform.latest().finish();
        QTRY_COMPARE(f.current(), u"a"_s);
        QVERIFY(f.player.isPlaying());
    }

    void endOfTheOnlyTrackPlaysItAgain()
    {
        PlayerFixture f;
        f.add("a"_L1);
        f.player.play();
        f.platform.latest().finish();
        QTRY_COMPARE(f.platform.opened.size(), 2u);
        QVERIFY(f.player.isPlaying());
    }

    void endOfTrackWithRepeatPlaysTheSameAudioPlayerAgain()
    {
        PlayerFixture f;
        f.add("abc"_L1);
        f.player.isRepeating = true;
        f.player.isShuffling = true;
        f.player.play();
        f.platform.latest().currentTime = 100;
        f.platform.latest().finish();
        QTRY_COMPARE(f.platform.latest().currentTime, 0.0);
        QVERIFY(f.platform.latest().isPlaying);
        QCOMPARE(f.player.currentTime(), 0.0);
        QVERIFY(f.player.isPlaying());
        QCOMPARE(f.platform.opened.size(), 1u);
    }

    void badEndCountsAsAnEnd()
    {
        PlayerFixture f;
        f.add("ab"_L1);
        f.player.play();
        f.platform.latest().finish(false);
        QTRY_COMPARE(f.current(), u"b"_s);
    }

    void endIsHandledAfterWhatWasAlreadyQueued()
    {
        PlayerFixture f;
        f.add("abc"_L1);
        f.player.play();
        QString currentWhenQueuedWorkRan;
        QMetaObject::invokeMethod(
            &f.player, [&] { currentWhenQueuedWorkRan = f.current(); }, Qt::QueuedConnection);
        f.platform.latest().finish();
        QCOMPARE(f.current(), u"a"_s);
        QTRY_COMPARE(f.current(), u"b"_s);
        QCOMPARE(currentWhenQueuedWorkRan, u"a"_s);
    }

    void callbacksMayComeFromAnotherThread()
    {
        PlayerFixture f;
        f.add("ab"_L1);
        f.player.play();
        std::thread([&] { f.platform.latest().finish(); }).join();
        QTRY_COMPARE(f.current(), u"b"_s);
    }

    void callbackThatArrivesDuringTeardownIsDropped()
    {
        FakePlatform platform;
        {
            PlayerManager player(platform.services());
            player.addFiles({PlayerFixture::url(u"a.mp3"_s)});
            player.play();
            platform.latest().finish();
        }
        QCoreApplication::processEvents();
        QCOMPARE(platform.opened.size(), 1u);
    }

    void decodeErrorClearsThePlaybackStateAndKeepsTheTrack()
    {
        PlayerFixture f;
        f.add("ab"_L1);
        f.player.play();
        const QByteArray written = standardOutputOf([&] {
            f.platform.latest().fail(Error{u"paquete roto"_s});
            QTRY_VERIFY(!f.player.isPlaying());
        });
        QCOMPARE(written, "Error decodificando el audio: paquete roto\n"_ba);
        QCOMPARE(f.current(), u"a"_s);
        QVERIFY(f.platform.latest().isAlive());
        QSignalSpy changes(&f.player, &PlayerManager::objectWillChange);
        QVERIFY2(!changes.wait(600), "the timer is gone");
    }

    void decodeErrorIsToldAlsoAfterTeardown()
    {
        FakePlatform platform;
        const QByteArray written = standardOutputOf([&] {
            {
                PlayerManager player(platform.services());
                player.addFiles({PlayerFixture::url(u"a.mp3"_s)});
                platform.latest().fail(Error{u"paquete roto"_s});
            }
            QCoreApplication::processEvents();
        });
        QCOMPARE(written, "Error decodificando el audio: paquete roto\n"_ba);
    }

    void decodeErrorWithoutAnErrorPrintsNothing()
    {
        PlayerFixture f;
        f.add("a"_L1);
        f.player.play();
        const QByteArray written = standardOutputOf([&] {
            f.platform.latest().fail(std::nullopt);
            QTRY_VERIFY(!f.player.isPlaying());
        });
        QCOMPARE(written, QByteArray());
    }
};

QTEST_GUILESS_MAIN(NavigationTest)
#include "NavigationTest.moc"
