#include "metadata/ArtworkLoader.h"
#include "metadata/PictureDecoder.h"
#include "tests/TaggedFile.h"
#include "tests/TestProgram.h"
#include "tests/files/FaultyMedium.h"
#include "tests/metadata/HeapSize.h"

#include <QElapsedTimer>
#include <QSignalSpy>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using Fault = FaultyMedium::Fault;

namespace {

constexpr QSize Small(42, 42);

struct LoaderFixture {
    CoverFiles files;
    ArtworkLoader loader;

    explicit LoaderFixture(const ArtworkLimits &limits = {})
        : loader(limits)
    {
    }

    [[nodiscard]] QImage image(const Artwork &artwork, QSize pixels = Small)
    {
        return loader.image(artwork, pixels).image;
    }
    [[nodiscard]] bool isAwaited(const Artwork &artwork, QSize pixels = Small)
    {
        return loader.image(artwork, pixels).isAwaited;
    }

    /// Asks once and waits for the answer; null if the picture does not come.
    [[nodiscard]] QImage loaded(const Artwork &artwork, QSize pixels = Small)
    {
        QSignalSpy changes(&loader, &ArtworkLoader::changed);
        QImage image = this->image(artwork, pixels);
        while (image.isNull() && changes.wait(5000)) {
            if (const auto answer = loader.image(artwork, pixels); !answer.isAwaited)
                image = answer.image;
        }
        return image;
    }
};

QByteArray pathOf(const Artwork &artwork)
{
    return artwork.files().first().toLocalFile().toUtf8();
}

} // namespace

class ArtworkLoaderTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void pictureComesFromItsFileAndIsKept()
    {
        LoaderFixture f({.lateness = 1h});
        const auto red = f.files.artwork(Qt::red);
        QVERIFY(f.image(*red).isNull());
        QVERIFY(f.isAwaited(*red));
        QSignalSpy changes(&f.loader, &ArtworkLoader::changed);
        QTRY_VERIFY(!f.image(*red).isNull());
        QCOMPARE(changes.size(), 1);
        QCOMPARE(changes.first().first().value<Fingerprint>(), red->fingerprint());
        const QImage image = f.image(*red);
        QCOMPARE(image.size(), Small);
        QCOMPARE(image.pixelColor(20, 20), QColor(Qt::red));
        QVERIFY(!f.isAwaited(*red));
        QCOMPARE(f.image(*red).cacheKey(), image.cacheKey());
        QCOMPARE(f.image(*f.files.artwork(Qt::red)).cacheKey(), image.cacheKey());
    }

    void nextFileIsReadIfOneIsGone_data()
    {
        QTest::addColumn<int>("what");
        QTest::newRow("gone") << 0;
        QTest::newRow("other bytes") << 1;
        QTest::newRow("no answer") << 2;
    }
    void nextFileIsReadIfOneIsGone()
    {
        QFETCH(int, what);
        LoaderFixture f;
        const auto first = f.files.artwork(Qt::red);
        const auto second = f.files.artwork(Qt::red);
        const auto third = f.files.artwork(Qt::red);
        FaultyMedium medium(pathOf(*first));
        if (what == 2)
            medium.set(Fault::Silence);
        for (const QUrl &file : first->files().first(2)) {
            if (what == 0)
                QVERIFY(QFile::remove(file.toLocalFile()));
            if (what == 1)
                f.files.save(QUrl(file).fileName(), encoded(QImage(9, 9, QImage::Format_RGB32), "PNG"));
        }
        QCOMPARE(f.loaded(*third).pixelColor(20, 20), QColor(Qt::red));
    }

    void limitsAreThese()
    {
        QCOMPARE(ArtworkLimits().cache, 32 * 1024 * 1024);
        QCOMPARE(ArtworkLimits().lateness, 100ms);
        QCOMPARE(ArtworkLimits().reading, 5s);
        QCOMPARE(ArtworkLimits().nextTry, 10s);
        QCOMPARE(DecodingLimit, 2s);
    }

    void fileIsTriedAgainInGoodTime_data()
    {
        QTest::addColumn<bool>("isTime");
        QTest::newRow("not yet") << false;
        QTest::newRow("by then") << true;
    }
    void fileIsTriedAgainInGoodTime()
    {
        QFETCH(bool, isTime);
        LoaderFixture f({.lateness = 1h, .nextTry = isTime ? 0ms : 1h});
        const auto red = f.files.artwork(Qt::red);
        const QString path = red->files().first().toLocalFile();
        QVERIFY(QFile::rename(path, path + u'~'));
        QSignalSpy changes(&f.loader, &ArtworkLoader::changed);
        QVERIFY(f.image(*red).isNull());
        QVERIFY(changes.wait());
        QVERIFY(!f.isAwaited(*red)); // also if it is tried again
        QVERIFY(QFile::rename(path + u'~', path));
        QVERIFY(f.image(*red).isNull());
        QVERIFY(!f.loaded(*f.files.artwork(Qt::blue)).isNull());
        if (isTime)
            QTRY_VERIFY(!f.image(*red).isNull());
        else
            QVERIFY(f.image(*red).isNull());
    }

    void noOtherFileIsReadWhenTimeIsOver()
    {
        LoaderFixture f({.lateness = 1h, .reading = 0ms});
        const auto first = f.files.artwork(Qt::red);
        const auto second = f.files.artwork(Qt::red);
        QVERIFY(QFile::remove(first->files().first().toLocalFile()));
        QSignalSpy changes(&f.loader, &ArtworkLoader::changed);
        QVERIFY(f.image(*second).isNull());
        QVERIFY(changes.wait());
        QVERIFY(f.image(*second).isNull());
    }

    void withoutAnyFileThereIsNone()
    {
        LoaderFixture f;
        const auto red = f.files.artwork(Qt::red);
        QVERIFY(QFile::remove(red->files().first().toLocalFile()));
        (void)f.image(*red);
        QTRY_VERIFY(!f.isAwaited(*red));
        QVERIFY(f.image(*red).isNull());
    }

    void placeholderIsDueAfter100Milliseconds()
    {
        LoaderFixture f;
        const auto red = f.files.artwork(Qt::red);
        FaultyMedium medium(pathOf(*red));
        medium.set(Fault::Silence);
        QSignalSpy changes(&f.loader, &ArtworkLoader::changed);
        QElapsedTimer timer;
        timer.start();
        QVERIFY(f.isAwaited(*red));
        QVERIFY(changes.wait());
        QVERIFY2(
            timer.elapsed() >= 100 && timer.elapsed() < 1000, qPrintable(QString::number(timer.elapsed())));
        QVERIFY(!f.isAwaited(*red));
        QVERIFY(f.image(*red).isNull());
        medium.set(Fault::None);
        QTRY_VERIFY(!f.image(*red).isNull());
    }

    void whatWasAskedForLastComesFirst()
    {
        LoaderFixture f;
        const auto blocking = f.files.artwork(Qt::white);
        FaultyMedium medium(pathOf(*blocking));
        medium.set(Fault::Silence);
        (void)f.image(*blocking);
        QTRY_COMPARE(medium.faults(), 1); // from now on all others wait
        const auto red = f.files.artwork(Qt::red), blue = f.files.artwork(Qt::blue),
                   held = f.files.artwork(Qt::green), gray = f.files.artwork(Qt::gray);
        f.loader.hold(held);
        for (const auto &artwork : {held, red, blue, gray, red})
            (void)f.image(*artwork);
        QList<Fingerprint> order;
        connect(&f.loader, &ArtworkLoader::changed, &f.loader, [&](const Fingerprint &picture) {
            if (!order.contains(picture) && picture != blocking->fingerprint()
                && !f.image(picture == red->fingerprint()     ? *red
                             : picture == blue->fingerprint() ? *blue
                             : picture == gray->fingerprint() ? *gray
                                                              : *held)
                        .isNull())
                order.append(picture);
        });
        medium.set(Fault::None);
        QTRY_COMPARE(order.size(), 4);
        QCOMPARE(order,
            QList<Fingerprint>(
                {held->fingerprint(), red->fingerprint(), gray->fingerprint(), blue->fingerprint()}));
    }

    void whatIsNoLongerVisibleIsDropped()
    {
        LoaderFixture f;
        const auto blocking = f.files.artwork(Qt::white);
        FaultyMedium medium(pathOf(*blocking));
        medium.set(Fault::Silence);
        (void)f.image(*blocking);
        QTRY_COMPARE(medium.faults(), 1);
        const auto red = f.files.artwork(Qt::red), blue = f.files.artwork(Qt::blue),
                   held = f.files.artwork(Qt::green);
        f.loader.hold(held);
        for (const auto &artwork : {held, red, blue})
            (void)f.image(*artwork);
        f.loader.keepOnly({*blue});
        QSignalSpy changes(&f.loader, &ArtworkLoader::changed);
        medium.set(Fault::None);
        QTRY_VERIFY(!f.image(*blue).isNull() && !f.image(*held).isNull());
        for (const auto &change : std::as_const(changes))
            QVERIFY(change.first().value<Fingerprint>() != red->fingerprint());
        QTRY_VERIFY(!f.image(*red).isNull()); // it is visible again
    }

    void heldPictureOutlivesItsFile()
    {
        LoaderFixture f;
        const auto red = f.files.artwork(Qt::red);
        f.loader.hold(red);
        QVERIFY(!f.loaded(*red).isNull());
        QVERIFY(QFile::remove(red->files().first().toLocalFile()));
        QCOMPARE(f.loaded(*red, {100, 100}).pixelColor(50, 50), QColor(Qt::red));
        f.loader.hold({});
        QVERIFY(f.image(*red, {101, 101}).isNull());
        QTRY_VERIFY(!f.isAwaited(*red, {101, 101}));
        QVERIFY(f.image(*red, {101, 101}).isNull());
    }

    void pictureThatIsDrawnAlreadyCanBeHeldToo()
    {
        LoaderFixture f;
        const auto red = f.files.artwork(Qt::red);
        QVERIFY(!f.loaded(*red).isNull());
        QSignalSpy changes(&f.loader, &ArtworkLoader::changed);
        f.loader.hold(red);
        QTRY_COMPARE(changes.size(), 1);
        QVERIFY(QFile::remove(red->files().first().toLocalFile()));
        QCOMPARE(f.loaded(*red, {100, 100}).pixelColor(50, 50), QColor(Qt::red));
    }

    void imagesAreKeptWithinABound()
    {
        LoaderFixture f;
        const auto red = f.files.artwork(Qt::red);
        const QImage small = f.loaded(*red, {100, 100});
        const double before = heapMebibytes();
        for (int side = 500; side < 600; ++side) // 115 MiB in all
            QVERIFY(!f.loaded(*red, {side, side}).isNull());
        const double more = heapMebibytes() - before;
        QVERIFY2(more < 36, qPrintable(QString::number(more)));
        for (int side = 580; side < 600; ++side) // 27 MiB
            QVERIFY(!f.image(*red, {side, side}).isNull());
        QVERIFY(f.image(*red, {100, 100}).isNull());
    }

    void endWaitsForNothing()
    {
        const CoverFiles files;
        auto f = std::make_unique<LoaderFixture>();
        const auto red = f->files.artwork(Qt::red);
        FaultyMedium medium(pathOf(*red));
        medium.set(Fault::Silence);
        (void)f->image(*red);
        QTRY_COMPARE(medium.faults(), 1);
        QElapsedTimer timer;
        timer.start();
        f.reset();
        QVERIFY2(timer.elapsed() < 50, qPrintable(QString::number(timer.elapsed())));
    }
};

LUMAVERDINE_TEST(ArtworkLoaderTest)
#include "ArtworkLoaderTest.moc"
