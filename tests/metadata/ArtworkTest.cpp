#include "metadata/Artwork.h"
#include "tests/MediaFile.h"
#include "tests/TaggedFile.h"
#include "tests/TestProgram.h"
#include "tests/metadata/HeapSize.h"

#include <array>
#include <bit>

using namespace Qt::StringLiterals;

namespace {

QUrl fileCalled(const QString &name)
{
    return QUrl::fromLocalFile(u"/music/"_s + name);
}

/// Each of which alone tells pictures apart.
std::array<quint64, 2> halvesOf(const Fingerprint &picture)
{
    return std::bit_cast<std::array<quint64, 2>>(picture);
}

} // namespace

class ArtworkTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void pictureIsKnownByItsHeader()
    {
        const auto artwork = Artwork::decode(mediaFile("cover.png"), fileCalled(u"a"_s));
        QVERIFY(artwork);
        QCOMPARE(artwork->size(), QSize(48, 32));
        QCOMPARE(artwork->files(), QList<QUrl>({fileCalled(u"a"_s)}));
        QVERIFY(Artwork::decode(mediaFile("damaged.png"), fileCalled(u"a"_s)));
        QVERIFY(!Artwork::decode(mediaFile("song.mp3"), fileCalled(u"a"_s)));
    }

    void sizeIsThatOfTheUprightPicture()
    {
        const auto artwork = Artwork::decode(mediaFile("halves-turned.jpg"), fileCalled(u"a"_s));
        QCOMPARE(artwork->size(), QSize(48, 96));
    }

    void hugeClaimsAreRefusedWithoutMemory_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("huge.png") << mediaFile("huge.png");
        QTest::newRow("huge.jpg") << mediaFile("huge.jpg");
    }
    void hugeClaimsAreRefusedWithoutMemory()
    {
        QFETCH(QByteArray, bytes);
        QVERIFY(!bytes.isEmpty());
        const long before = peakKibibytes();
        QVERIFY(!Artwork::decode(bytes, fileCalled(u"a"_s)));
        QVERIFY(peakKibibytes() - before < 4096);
    }

    void artworksOfTheSamePictureKnowAllItsFiles()
    {
        const QByteArray bytes = mediaFile("cover.jpg");
        const auto first = Artwork::decode(bytes, fileCalled(u"a"_s));
        auto second = Artwork::decode(QByteArray(bytes.constData(), bytes.size()), fileCalled(u"b"_s));
        QCOMPARE(second->fingerprint(), first->fingerprint());
        QCOMPARE(first->files(), QList<QUrl>({fileCalled(u"a"_s), fileCalled(u"b"_s)}));

        auto copy = second;
        second.reset();
        QCOMPARE(first->files().size(), 2);
        copy.reset();
        QCOMPARE(first->files(), QList<QUrl>({fileCalled(u"a"_s)}));
    }

    void picturesThatDifferInOneByteAreApart_data()
    {
        QTest::addColumn<qsizetype>("place");
        QTest::newRow("front") << qsizetype(40);
        QTest::newRow("middle") << mediaFile("cover.jpg").size() / 2;
        QTest::newRow("end") << mediaFile("cover.jpg").size() - 1;
    }
    void picturesThatDifferInOneByteAreApart()
    {
        QFETCH(qsizetype, place);
        QByteArray bytes = mediaFile("cover.jpg");
        const Fingerprint whole(bytes);
        const auto halves = halvesOf(whole);
        QVERIFY(halves[0] != halves[1]);
        bytes[place] = static_cast<char>(bytes[place] ^ 1);
        QVERIFY(!(Fingerprint(bytes) == whole));
        QVERIFY(halvesOf(Fingerprint(bytes))[0] != halves[0]);
        QVERIFY(halvesOf(Fingerprint(bytes))[1] != halves[1]);
        bytes[place] = static_cast<char>(bytes[place] ^ 1);
        QCOMPARE(Fingerprint(bytes), whole);
    }

    void artworksOfManyFilesTakeLittleMemory()
    {
        const QByteArray bytes = mediaFile("cover.jpg") + QByteArray(400'000, 'x');
        QList<QUrl> files;
        for (int i = 0; i < 20'000; ++i)
            files.append(fileCalled(QString::number(i)));
        std::vector<std::optional<Artwork>> artworks;
        artworks.reserve(20'000);
        const double before = heapMebibytes();
        for (qsizetype i = 0; i < 3'000; ++i) // an album each ...
            artworks.push_back(Artwork::decode(bytes + QByteArray::number(i), files[i]));
        for (qsizetype i = 3'000; i < 20'000; ++i) // ... and one of all the others
            artworks.push_back(Artwork::decode(bytes, files[i]));
        const double more = heapMebibytes() - before;
        QVERIFY2(more < 4, qPrintable(QString::number(more)));
        QCOMPARE(artworks.back()->files().size(), 17'000);
    }
};

LUMAVERDINE_TEST(ArtworkTest)
#include "ArtworkTest.moc"
