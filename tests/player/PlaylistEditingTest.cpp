#include "tests/player/PlayerFixture.h"

#include <QSignalSpy>
#include <QTest>
#include <algorithm>
#include <chrono>

using namespace Qt::StringLiterals;

namespace {

/// Least time, of three tries, that admitting `count` files to an empty player takes.
std::chrono::nanoseconds admissionTime(int count)
{
    QList<QUrl> urls;
    for (int i = 0; i < count; ++i)
        urls.append(PlayerFixture::url(QString::number(i)));
    std::chrono::nanoseconds least = std::chrono::hours(1);
    for (int i = 0; i < 3; ++i) {
        PlayerFixture f;
        const auto start = std::chrono::steady_clock::now();
        f.player.addFiles(urls);
        least = std::min<std::chrono::nanoseconds>(least, std::chrono::steady_clock::now() - start);
    }
    return least;
}

} // namespace

class PlaylistEditingTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void filesAreSortedAndAFileNamedTwiceIsAdmittedOnce()
    {
        PlayerFixture f;
        f.add("baa"_L1);
        QCOMPARE(f.titles(), u"ab"_s);
        QCOMPARE(f.current(), u"a"_s);
        QCOMPARE(f.player.currentTime(), 0.0);
        QVERIFY(!f.player.isPlaying());
        QVERIFY(!f.platform.latest().isPlaying);
    }

    void numbersInNamesCompareByValue()
    {
        PlayerFixture f;
        f.player.addFiles({f.url(u"Track 10.mp3"_s), f.url(u"Track 2.mp3"_s)});
        QCOMPARE(f.track(0).title, u"Track 2"_s);
        QCOMPARE(f.track(1).title, u"Track 10"_s);
    }

    void laterFilesGoBehindTheListedOnes()
    {
        PlayerFixture f;
        f.add("c"_L1);
        f.add("ba"_L1);
        QCOMPARE(f.titles(), u"cab"_s);
    }

    void admissionLeavesAPlayingTrackAlone()
    {
        PlayerFixture f;
        f.add("b"_L1);
        f.player.play();
        f.player.seek(10);
        f.add("ac"_L1);
        QCOMPARE(f.current(), u"b"_s);
        QCOMPARE(f.player.currentTime(), 10.0);
        QVERIFY(f.platform.latest().isPlaying);
        QCOMPARE(f.platform.opened.size(), 1u);
    }

    void admissionAnnouncesOncePerFile()
    {
        PlayerFixture f;
        f.add("a"_L1);
        QSignalSpy changes(&f.player, &PlayerManager::objectWillChange);
        f.add("abcd"_L1);
        QCOMPARE(changes.size(), 3);
    }

    void admissionWithNothingCurrentLoadsTheFirstOfTheWholeList()
    {
        PlayerFixture f;
        f.add("m"_L1);
        f.player.currentTrack = std::nullopt;
        f.add("a"_L1);
        QCOMPARE(f.current(), u"m"_s);
    }

    void pathsThatDifferByDotSegmentsAreTheSameFile()
    {
        PlayerFixture f;
        f.add("a"_L1);
        f.player.addFiles({f.url(u"./a.mp3"_s), f.url(u"x/../a.mp3"_s), f.url(u"x/./y/../../a.mp3"_s)});
        QCOMPARE(f.titles(), u"a"_s);
    }

    void addressesThatAreNotFilesAreAdmittedOneByOne()
    {
        PlayerFixture f;
        f.player.addFiles({QUrl(u"http://a/x.mp3"_s), QUrl(u"http://b/y.mp3"_s), QUrl(u"http://a/x.mp3"_s)});
        QCOMPARE(f.titles(), u"xy"_s);
    }

    void refusedAccessGrantStillAdmits()
    {
        PlayerFixture f;
        f.platform.grantsAccess = false;
        f.add("a"_L1);
        QCOMPARE(f.titles(), u"a"_s);
        QVERIFY(f.platform.grantsTaken.isEmpty());
    }

    void duplicateTakesNoSecondGrant()
    {
        PlayerFixture f;
        f.add("a"_L1);
        f.add("a"_L1);
        QCOMPARE(f.platform.grantsTaken.size(), 1);
    }

    void costOfAdmissionGrowsWithTheFilesAndNotWithTheirSquare()
    {
        // Walking the playlist for each of 16 times the files would take 256 times as long.
        QVERIFY(admissionTime(16'000) < 40 * admissionTime(1'000));
    }

    void removedFileCanBeAdmittedAgainAsANewTrack()
    {
        PlayerFixture f;
        f.add("ab"_L1);
        const Track removed = f.track(0);
        f.player.removeTrack(removed);
        f.add("a"_L1);
        QCOMPARE(f.titles(), u"ba"_s);
        QVERIFY(!(f.track(1) == removed));
        QCOMPARE(f.current(), u"b"_s);
    }

    void removingTheCurrentTrackLoadsTheFirstPaused()
    {
        PlayerFixture f;
        f.add("abc"_L1);
        f.player.load(f.track(1));
        const auto removedPlayer = f.platform.opened.back();
        f.player.removeTrack(f.track(1));
        QCOMPARE(f.titles(), u"ac"_s);
        QCOMPARE(f.current(), u"a"_s);
        QVERIFY(!f.player.isPlaying());
        QVERIFY(removedPlayer->wasStopped);
        QVERIFY(!removedPlayer->isAlive());
    }

    void removingTheOnlyTrackEmptiesThePlayer()
    {
        PlayerFixture f;
        f.add("a"_L1);
        f.player.play();
        f.player.seek(5);
        f.player.removeTrack(f.track(0));
        QVERIFY(f.player.playlist().isEmpty());
        QVERIFY(!f.player.currentTrack());
        QCOMPARE(f.player.currentTime(), 0.0);
        QCOMPARE(f.player.duration(), 0.0);
        QVERIFY(!f.player.isPlaying());
        QVERIFY(!f.platform.latest().isAlive());
    }

    void removingTheCurrentTrackAnnouncesEachWrite()
    {
        PlayerFixture f;
        f.add("a"_L1);
        QSignalSpy changes(&f.player, &PlayerManager::objectWillChange);
        f.player.removeTrack(f.track(0));
        QCOMPARE(changes.size(), 5);
    }

    void removingAnotherTrackLeavesPlaybackAlone()
    {
        PlayerFixture f;
        f.add("abc"_L1);
        f.player.load(f.track(2));
        f.player.seek(9);
        QSignalSpy changes(&f.player, &PlayerManager::objectWillChange);
        f.player.removeTrack(f.track(0));
        QCOMPARE(changes.size(), 1);
        QCOMPARE(f.current(), u"c"_s);
        QCOMPARE(f.player.currentIndex(), std::optional<qsizetype>(1));
        QCOMPARE(f.player.currentTime(), 9.0);
        QVERIFY(f.player.isPlaying());
    }

    void removingATrackThatIsNotListedDoesNothing()
    {
        PlayerFixture f;
        f.add("a"_L1);
        QSignalSpy changes(&f.player, &PlayerManager::objectWillChange);
        f.player.removeTrack(Track(f.track(0).url()));
        QCOMPARE(changes.size(), 0);
        QCOMPARE(f.titles(), u"a"_s);
    }

    void clearingSilencesAndResetsAllButVolumeAndFlags()
    {
        PlayerFixture f;
        f.add("abc"_L1);
        f.player.volume = 0.4;
        f.player.isRepeating = true;
        f.player.isShuffling = true;
        f.player.showFileImporter = true;
        f.player.play();
        f.player.seek(30);
        QSignalSpy changes(&f.player, &PlayerManager::objectWillChange);
        f.player.clearPlaylist();
        QCOMPARE(changes.size(), 5);
        QVERIFY(f.platform.latest().wasStopped);
        QVERIFY(!f.platform.latest().isAlive());
        QVERIFY(f.player.playlist().isEmpty());
        QVERIFY(!f.player.currentTrack());
        QVERIFY(!f.player.isPlaying());
        QCOMPARE(f.player.currentTime(), 0.0);
        QCOMPARE(f.player.duration(), 0.0);
        QCOMPARE(f.player.volume(), 0.4);
        QVERIFY(f.player.isRepeating());
        QVERIFY(f.player.isShuffling());
        QVERIFY(f.player.showFileImporter());
        QVERIFY(f.platform.grantsEnded.isEmpty());
    }

    void moveInsertsTheTracksAsOneBlock_data()
    {
        QTest::addColumn<std::set<qsizetype>>("from");
        QTest::addColumn<qsizetype>("to");
        QTest::addColumn<QString>("result");
        using Set = std::set<qsizetype>;
        QTest::newRow("first to the end of three") << Set{0} << qsizetype(3) << u"bcadef"_s;
        QTest::newRow("to the count") << Set{0} << qsizetype(6) << u"bcdefa"_s;
        QTest::newRow("last to the front") << Set{5} << qsizetype(0) << u"fabcde"_s;
        QTest::newRow("scattered, kept in order") << Set{0, 2, 4} << qsizetype(3) << u"bacedf"_s;
        QTest::newRow("onto itself") << Set{2} << qsizetype(2) << u"abcdef"_s;
        QTest::newRow("just behind itself") << Set{2} << qsizetype(3) << u"abcdef"_s;
        QTest::newRow("nothing") << Set{} << qsizetype(3) << u"abcdef"_s;
        QTest::newRow("positions beyond the list are left out") << Set{1, 9} << qsizetype(6) << u"acdefb"_s;
    }
    void moveInsertsTheTracksAsOneBlock()
    {
        QFETCH(std::set<qsizetype>, from);
        QFETCH(qsizetype, to);
        QFETCH(QString, result);
        PlayerFixture f;
        f.add("abcdef"_L1);
        QSignalSpy changes(&f.player, &PlayerManager::objectWillChange);
        f.player.moveTrack(from, to);
        QCOMPARE(f.titles(), result);
        QCOMPARE(changes.size(), 1);
        QCOMPARE(f.current(), u"a"_s);
    }

    void moveOfTheFirstToThreePutsItLastOfThree()
    {
        PlayerFixture f;
        f.add("abc"_L1);
        f.player.moveTrack({0}, 3);
        QCOMPARE(f.titles(), u"bca"_s);
    }
};

QTEST_GUILESS_MAIN(PlaylistEditingTest)
#include "PlaylistEditingTest.moc"
