#include "tests/player/PlayerFixture.h"

#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;

class PlayerStateTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void freshPlayerHasItsInitialValues()
    {
        const PlayerManager player;
        QVERIFY(player.playlist().isEmpty());
        QVERIFY(!player.currentTrack());
        QVERIFY(!player.isPlaying());
        QCOMPARE(player.currentTime(), 0.0);
        QCOMPARE(player.duration(), 0.0);
        QCOMPARE(player.volume(), 0.75);
        QVERIFY(!player.isRepeating());
        QVERIFY(!player.isShuffling());
        QVERIFY(!player.showFileImporter());
        QVERIFY(!player.currentIndex());
    }

    void volumeWithoutAudioPlayerWaitsForTheNextOne()
    {
        PlayerFixture f;
        QSignalSpy changes(&f.player, &PlayerManager::objectWillChange);
        f.player.volume = 0.3;
        QCOMPARE(changes.size(), 1);
        QVERIFY(f.platform.opened.empty());
        f.add("a"_L1);
        QCOMPARE(f.platform.latest().volume, 0.3f);
    }

    void volumeReachesTheLivePlayer()
    {
        PlayerFixture f;
        f.add("a"_L1);
        QCOMPARE(f.platform.latest().volume, 0.75f);
        f.player.volume = 0.1;
        QCOMPARE(f.platform.latest().volume, 0.1f);
    }

    void everyPropertyAnnouncesOncePerWrite()
    {
        PlayerFixture f;
        QSignalSpy changes(&f.player, &PlayerManager::objectWillChange);
        f.player.playlist = {};
        f.player.currentTrack = std::nullopt;
        f.player.isPlaying = false;
        f.player.currentTime = 0;
        f.player.duration = 0;
        f.player.volume = 0.75;
        f.player.isRepeating = false;
        f.player.isShuffling = false;
        f.player.showFileImporter = false;
        QCOMPARE(changes.size(), 9);
    }

    void equalWriteOfIsPlayingIsAnnounced()
    {
        PlayerFixture f;
        QSignalSpy changes(&f.player, &PlayerManager::objectWillChange);
        f.player.isPlaying = f.player.isPlaying();
        QCOMPARE(changes.size(), 1);
    }

    void currentIndexFollowsTheCurrentTrack()
    {
        PlayerFixture f;
        f.add("abc"_L1);
        f.player.load(f.track(2));
        QCOMPARE(f.player.currentIndex(), std::optional<qsizetype>(2));
    }

    void currentIndexIsNoneWithoutACurrentTrack()
    {
        PlayerFixture f;
        f.platform.unplayableNames = {u"a.mp3"_s};
        f.add("ab"_L1);
        QCOMPARE(f.titles(), u"ab"_s);
        QVERIFY(!f.player.currentIndex());
    }

    void currentIndexIsFoundByIdAndNotByUrl()
    {
        PlayerFixture f;
        f.add("ab"_L1);
        f.player.currentTrack = Track(f.track(1).url());
        QVERIFY(!f.player.currentIndex());
    }

    void teardownEndsAccessOncePerGrant()
    {
        FakePlatform platform;
        const QUrl a = PlayerFixture::url(u"a.mp3"_s), b = PlayerFixture::url(u"b.mp3"_s);
        {
            PlayerManager player(platform.services());
            player.addFiles({a});
            player.removeTrack(player.playlist().first());
            player.addFiles({a});
            player.addFiles({b});
            QVERIFY(platform.grantsEnded.isEmpty());
        }
        QCOMPARE(platform.grantsEnded, QList<QUrl>({a, a, b}));
    }

    void teardownReleasesTheAudioPlayer()
    {
        FakePlatform platform;
        {
            PlayerManager player(platform.services());
            player.addFiles({PlayerFixture::url(u"a.mp3"_s)});
            player.play();
            QVERIFY(platform.latest().isAlive());
        }
        QVERIFY(!platform.latest().isAlive());
        QVERIFY(!platform.latest().wasStopped);
    }
};

QTEST_GUILESS_MAIN(PlayerStateTest)
#include "PlayerStateTest.moc"
