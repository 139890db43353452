#include "tests/player/PlayerFixture.h"
#include "tests/player/StandardOutput.h"

#include <QSignalSpy>
#include <QTest>
#include <limits>

using namespace Qt::StringLiterals;

class PlaybackTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void playOnAnEmptyPlayerDoesNothing()
    {
        PlayerFixture f;
        QSignalSpy changes(&f.player, &PlayerManager::objectWillChange);
        f.player.play();
        f.player.togglePlayback();
        QCOMPARE(changes.size(), 0);
        QVERIFY(f.platform.opened.empty());
    }

    void playWithNothingLoadedLoadsTheFirstTrack()
    {
        PlayerFixture f;
        f.platform.unplayableNames = {u"a.mp3"_s};
        f.add("ab"_L1);
        f.platform.unplayableNames.clear();
        f.player.play();
        QCOMPARE(f.current(), u"a"_s);
        QVERIFY(f.platform.latest().isPlaying);
    }

    void toggleWithNothingLoadedLoadsAndPlaysTheFirstTrack()
    {
        PlayerFixture f;
        f.player.playlist = {Track(f.url(u"a.mp3"_s)), Track(f.url(u"b.mp3"_s))};
        f.player.togglePlayback();
        QCOMPARE(f.current(), u"a"_s);
        QVERIFY(f.player.isPlaying());
        QVERIFY(f.platform.latest().isPlaying);
    }

    void toggleAlternatesBetweenPlayAndPause()
    {
        PlayerFixture f;
        f.add("a"_L1);
        f.player.togglePlayback();
        QVERIFY(f.player.isPlaying());
        f.player.togglePlayback();
        QVERIFY(!f.player.isPlaying());
        QVERIFY(!f.platform.latest().isPlaying);
    }

    void toggleFollowsThePublishedFlag()
    {
        PlayerFixture f;
        f.add("a"_L1);
        f.player.play();
        f.platform.latest().isPlaying = false;
        f.player.togglePlayback();
        QVERIFY(!f.player.isPlaying());
    }

    void loadWithoutAutoplayIsReadyAtZero()
    {
        PlayerFixture f;
        f.add("ab"_L1);
        f.player.play();
        f.platform.nextDuration = 12.5;
        f.player.load(f.track(1), false);
        QVERIFY(!f.player.isPlaying());
        QCOMPARE(f.player.currentTime(), 0.0);
        QCOMPARE(f.player.duration(), 12.5);
        QVERIFY(f.platform.latest().isPrepared);
        QVERIFY(!f.platform.latest().isPlaying);
    }

    void loadPlaysByDefaultAndReleasesTheFormerPlayer()
    {
        PlayerFixture f;
        f.add("ab"_L1);
        f.player.play();
        f.player.load(f.track(1));
        QVERIFY(!f.platform.opened.at(0)->isAlive());
        QVERIFY(!f.platform.opened.at(0)->wasStopped);
        QVERIFY(f.platform.opened.at(1)->isPlaying);
        QCOMPARE(f.current(), u"b"_s);
    }

    void loadTellsTheMixerTitleAndArtist()
    {
        PlayerFixture f;
        f.add("a"_L1);
        QCOMPARE(f.platform.latest().label.title, u"a"_s);
        QCOMPARE(f.platform.latest().label.artist, u"Artista desconocido"_s);
    }

    void loadAnnouncesFourWrites()
    {
        PlayerFixture f;
        f.add("ab"_L1);
        QSignalSpy changes(&f.player, &PlayerManager::objectWillChange);
        f.player.load(f.track(1), false);
        QCOMPARE(changes.size(), 4);
        f.player.load(f.track(1));
        QCOMPARE(changes.size(), 8);
    }

    void loadOfTheCurrentTrackStartsItAgain()
    {
        PlayerFixture f;
        f.add("a"_L1);
        f.player.seek(40);
        f.player.load(f.track(0));
        QCOMPARE(f.player.currentTime(), 0.0);
        QCOMPARE(f.platform.opened.size(), 2u);
    }

    void failedLoadKeepsTheFormerTrackSounding()
    {
        PlayerFixture f;
        f.add("ab"_L1);
        f.player.play();
        f.player.seek(7);
        f.platform.unplayableNames = {u"b.mp3"_s};
        const QByteArray written = standardOutputOf([&] { f.player.load(f.track(1)); });
        QCOMPARE(written, "No se pudo reproducir el archivo: formato desconocido\n"_ba);
        QVERIFY(!f.player.isPlaying());
        QCOMPARE(f.current(), u"a"_s);
        QCOMPARE(f.player.currentTime(), 7.0);
        QCOMPARE(f.player.duration(), 100.0);
        QVERIFY(f.platform.latest().isPlaying);
        QVERIFY(!f.platform.latest().wasStopped);
    }

    void failedLoadStopsTheProgress()
    {
        PlayerFixture f;
        f.add("ab"_L1);
        f.player.play();
        f.platform.unplayableNames = {u"b.mp3"_s};
        standardOutputOf([&] { f.player.load(f.track(1)); });
        f.platform.latest().currentTime = 50;
        QSignalSpy changes(&f.player, &PlayerManager::objectWillChange);
        QVERIFY(!changes.wait(600));
        QCOMPARE(f.player.currentTime(), 0.0);
    }

    void playerLeftByAFailedLoadStillAdvancesTheQueueAtItsEnd()
    {
        PlayerFixture f;
        f.add("abc"_L1);
        f.player.play();
        f.platform.unplayableNames = {u"c.mp3"_s};
        standardOutputOf([&] { f.player.load(f.track(2)); });
        f.platform.latest().finish();
        QTRY_COMPARE(f.current(), u"b"_s);
        QVERIFY(f.player.isPlaying());
    }

    void pauseTakesThePositionOfThePlayer()
    {
        PlayerFixture f;
        f.add("a"_L1);
        f.player.play();
        f.platform.latest().currentTime = 3.125;
        f.player.pause();
        QCOMPARE(f.player.currentTime(), 3.125);
        QVERIFY(!f.platform.latest().isPlaying);
    }

    void pauseWithoutATrackOnlyWritesTheFlag()
    {
        PlayerFixture f;
        QSignalSpy changes(&f.player, &PlayerManager::objectWillChange);
        f.player.pause();
        QCOMPARE(changes.size(), 1);
    }

    void stopRewindsAndKeepsTheTrack()
    {
        PlayerFixture f;
        f.add("a"_L1);
        f.player.play();
        f.platform.latest().currentTime = 30;
        f.player.stop();
        QVERIFY(f.platform.latest().wasStopped);
        QCOMPARE(f.platform.latest().currentTime, 0.0);
        QCOMPARE(f.player.currentTime(), 0.0);
        QCOMPARE(f.player.duration(), 100.0);
        QCOMPARE(f.current(), u"a"_s);
        QVERIFY(!f.player.isPlaying());

        f.player.play();
        QCOMPARE(f.platform.opened.size(), 1u);
        QVERIFY(f.platform.latest().isPlaying);
    }

    void seekIsClampedToTheTrack_data()
    {
        constexpr double infinity = std::numeric_limits<double>::infinity();
        QTest::addColumn<double>("target");
        QTest::addColumn<double>("position");
        QTest::newRow("before the start") << -5.0 << 0.0;
        QTest::newRow("inside") << 41.5 << 41.5;
        QTest::newRow("past the end") << 1000.0 << 100.0;
        QTest::newRow("infinity") << infinity << 100.0;
        QTest::newRow("minus infinity") << -infinity << 0.0;
    }
    void seekIsClampedToTheTrack()
    {
        QFETCH(double, target);
        QFETCH(double, position);
        PlayerFixture f;
        f.add("a"_L1);
        f.player.seek(20);
        f.player.seek(target);
        QCOMPARE(f.player.currentTime(), position);
        QCOMPARE(f.platform.latest().currentTime, position);
    }

    void seekKeepsPlayingAndPausedAsTheyAre()
    {
        PlayerFixture f;
        f.add("a"_L1);
        f.player.seek(10);
        QVERIFY(!f.player.isPlaying());
        f.player.play();
        f.player.seek(20);
        QVERIFY(f.player.isPlaying());
        QVERIFY(f.platform.latest().isPlaying);
    }

    void seekWithoutATrackDoesNothing()
    {
        PlayerFixture f;
        QSignalSpy changes(&f.player, &PlayerManager::objectWillChange);
        f.player.seek(10);
        QCOMPARE(changes.size(), 0);
        QCOMPARE(f.player.currentTime(), 0.0);
    }

    void errorTextOfSeveralLinesIsPrintedAsOne()
    {
        PlayerFixture f;
        f.add("a"_L1);
        const QByteArray written = standardOutputOf([&] {
            f.platform.latest().fail(Error{u"datos\ndañados"_s});
            QCoreApplication::processEvents();
        });
        QCOMPARE(written, "Error decodificando el audio: datos dañados\n"_ba);
    }
};

QTEST_GUILESS_MAIN(PlaybackTest)
#include "PlaybackTest.moc"
