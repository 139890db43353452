#include "player/Track.h"
#include "metadata/MediaAsset.h"
#include "tests/MediaFile.h"
#include "tests/TestProgram.h"

#include <QFile>
#include <QTemporaryDir>
#include <cmath>
#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace {

const QString UnknownArtist = u"Artista desconocido"_s;
const QString UnknownAlbum = u"Álbum desconocido"_s;

Track mediaTrack(const QString &name)
{
    return Track(mediaUrl(name));
}

} // namespace

class TrackTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void fileWithoutTagsHasDefaultsAndTheContainersDuration()
    {
        const Track track = mediaTrack(u"song.mp3"_s);
        QCOMPARE(track.title, u"song"_s);
        QCOMPARE(track.artist, UnknownArtist);
        QCOMPARE(track.album, UnknownAlbum);
        QVERIFY(!track.artwork);
        QVERIFY(std::abs(track.duration - 2) < 0.05);
    }

    void tagsReplaceTheDefaults()
    {
        const Track track = mediaTrack(u"id3v2.3.mp3"_s);
        QCOMPARE(track.title, u"Título 2.3"_s);
        QCOMPARE(track.artist, u"Artist 2.3"_s);
        QCOMPARE(track.album, u"Álbum 2.3"_s);
        QVERIFY(track.artwork);
        QCOMPARE(track.artwork->size(), QSize(64, 64));
    }

    void firstOfSeveralValuesIsTaken()
    {
        const Track track = mediaTrack(u"several-values.mp3"_s);
        QCOMPARE(track.title, u"First title"_s);
        QCOMPARE(track.artist, u"First artist"_s);
        QCOMPARE(track.album, u"First album"_s);
    }

    void emptyTitleLeavesTheFileName()
    {
        const Track track = mediaTrack(u"empty-title.mp3"_s);
        QCOMPARE(track.title, u"empty-title"_s);
        QCOMPARE(track.artist, u"Artist"_s);
    }

    void firstItemCountsWhateverItHolds()
    {
        const QByteArray bytes("x");
        const Track track(QUrl(u"file:///m/song.mp3"_s),
            MediaAsset{{3, 2},
                {{CommonIdentifier::Title, QString()}, {CommonIdentifier::Title, u"Later"_s},
                    {CommonIdentifier::Artist, {}, bytes}, {CommonIdentifier::Artist, u"Later"_s},
                    {CommonIdentifier::Artwork, u"text"_s}, {CommonIdentifier::Artwork, {}, bytes},
                    {CommonIdentifier::AlbumName, u"Album"_s}, {CommonIdentifier::AlbumName, u"Later"_s}}});
        QCOMPARE(track.title, u"song"_s);
        QCOMPARE(track.artist, UnknownArtist);
        QCOMPARE(track.album, u"Album"_s);
        QCOMPARE(track.duration, 1.5);
        QVERIFY(!track.artwork);
    }

    void titleOfOneBlankIsTakenAsItStands() { QCOMPARE(mediaTrack(u"blank-title.mp3"_s).title, u" "_s); }

    void fileNameLosesItsLastExtensionOnly_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("title");
        QTest::newRow("blank") << u"/m/01 Intro.mp3"_s << u"01 Intro"_s;
        QTest::newRow("several dots") << u"/m/a.b.mp3"_s << u"a.b"_s;
        QTest::newRow("no extension") << u"/m/Intro"_s << u"Intro"_s;
        QTest::newRow("dot in the folder") << u"/m.d/Intro"_s << u"Intro"_s;
        QTest::newRow("final dot") << u"/m/Intro."_s << u"Intro."_s;
        QTest::newRow("leading dot") << u"/m/.hidden"_s << u".hidden"_s;
        QTest::newRow("reserved characters") << u"/m/100% #1?.mp3"_s << u"100% #1?"_s;
    }
    void fileNameLosesItsLastExtensionOnly()
    {
        QFETCH(QString, path);
        QTEST(Track(QUrl::fromLocalFile(path)).title, "title");
    }

    void unknownLengthIsZero_data()
    {
        QTest::addColumn<QString>("name");
        for (const char *name : {"picture.mp3", "hls.mp3", "empty.mp3", "truncated.m4a", "missing.mp3"})
            QTest::newRow(name) << QString::fromLatin1(name);
    }
    void unknownLengthIsZero()
    {
        QFETCH(QString, name);
        const Track track = mediaTrack(name);
        QCOMPARE(track.duration, 0.0);
        QCOMPARE(track.artist, UnknownArtist);
        QVERIFY(!track.artwork);
    }

    void displayedDurationIsFinite_data()
    {
        QTest::addColumn<qint64>("value");
        QTest::addColumn<qint32>("timescale");
        QTest::addColumn<double>("seconds");
        QTest::newRow("indefinite") << qint64(5) << -1 << 0.0;
        QTest::newRow("infinite") << qint64(5) << 0 << 0.0;
        QTest::newRow("negatively infinite") << qint64(-5) << 0 << 0.0;
        QTest::newRow("not a number") << qint64(0) << 0 << 0.0;
        QTest::newRow("nothing") << qint64(0) << 1000 << 0.0;
        QTest::newRow("rational") << qint64(44100 * 3) << 88200 << 1.5;
    }
    void displayedDurationIsFinite()
    {
        QFETCH(qint64, value);
        QFETCH(qint32, timescale);
        QTEST(displayedDuration({value, timescale}), "seconds");
    }

    void onlyTheFirstPictureIsTried()
    {
        const Track track = mediaTrack(u"two-pictures-first-broken.mp3"_s);
        QCOMPARE(track.title, u"Broken cover"_s);
        QVERIFY(!track.artwork);
    }

    void firstPictureIsTheCoverWhateverItsKind()
    {
        QCOMPARE(mediaTrack(u"two-pictures.mp3"_s).artwork->size(), QSize(48, 32));
    }

    void linkedPictureIsNone() { QVERIFY(!mediaTrack(u"linked-picture.mp3"_s).artwork); }

    void coverBeyondReasonIsNoneAndTheRestIsRead()
    {
        for (const auto &name : {u"huge-cover-png.mp3"_s, u"huge-cover-jpeg.mp3"_s}) {
            const Track track = mediaTrack(name);
            QVERIFY(!track.artwork);
            QVERIFY(track.title.startsWith(u"Huge"));
            QCOMPARE(track.duration, 2.0);
        }
    }

    void twoTracksOfOneFileAreNotEqual()
    {
        QVERIFY(!(mediaTrack(u"song.mp3"_s) == mediaTrack(u"song.mp3"_s)));
    }

    void copyIsEqualWhateverItsFields()
    {
        const Track track = mediaTrack(u"song.mp3"_s);
        Track copy = track;
        copy.title = u"Another"_s;
        QVERIFY(copy == track);
        QCOMPARE(track.title, u"song"_s);
        QCOMPARE(copy.url(), track.url());
    }

    void pathsThatAreNoRegularFileAreReadAtOnce()
    {
        QTemporaryDir folder;
        const QString fifo = folder.filePath(u"pipe.mp3"_s);
        QCOMPARE(mkfifo(fifo.toUtf8().constData(), 0600), 0);
        for (const QString &path : {fifo, folder.path(), u"/dev/zero"_s}) {
            const Track track(QUrl::fromLocalFile(path));
            QCOMPARE(track.duration, 0.0);
            QVERIFY(!track.title.isEmpty());
        }
    }

    void urlIsKeptUnchanged()
    {
        const QUrl url(u"file:///m/%FF%23.mp3?query"_s);
        QCOMPARE(Track(url).url(), url);
    }
};

LUMAVERDINE_TEST(TrackTest)
#include "TrackTest.moc"
