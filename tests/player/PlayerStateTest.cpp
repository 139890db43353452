#include "tests/TestProgram.h"
#include "tests/player/PlayerFixture.h"

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

    void everyFileMayBeReadWithoutASandbox()
    {
        const PlatformServices services;
        const QUrl url = PlayerFixture::url(u"a.mp3"_s);
        QVERIFY(services.startAccessing(url));
        services.stopAccessing(url);
    }

    void currentIndexFollowsTheCurrentTrack()
    {
        PlayerFixture f;
        f.add("abc"_L1);
        f.player.load(f.track(2));
        QCOMPARE(f.player.currentIndex(), std::optional<qsizetype>(2));
        f.player.removeTrack(f.track(0));
        QCOMPARE(f.player.currentIndex(), std::optional<qsizetype>(1));
        f.player.currentTrack = std::nullopt;
        QVERIFY(!f.player.currentIndex());
    }

    void currentIndexIsFoundByIdAndNotByUrl()
    {
        PlayerFixture f;
        f.add("ab"_L1);
        f.player.currentTrack = Track(f.track(1).url());
        QVERIFY(!f.player.currentIndex());
    }

    void loadTellsTheMixerTitleAndArtist()
    {
        PlayerFixture f;
        f.add("a"_L1);
        QCOMPARE(f.platform.latest().label.title, u"a"_s);
        QCOMPARE(f.platform.latest().label.artist, u"Artista desconocido"_s);
    }
};

LUMAVERDINE_TEST(PlayerStateTest)
#include "PlayerStateTest.moc"
