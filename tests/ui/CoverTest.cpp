#include "ui/controls/Cover.h"
#include "player/Track.h"
#include "tests/TaggedFile.h"
#include "tests/TestProgram.h"
#include "tests/files/FaultyMedium.h"
#include "tests/ui/TestColors.h"

#include <QPalette>
#include <QProxyStyle>
#include <QSignalSpy>
#include <QVariantAnimation>
#include <cmath>

using namespace Qt::StringLiterals;

namespace {

/// A style on a desktop that asks for no animations.
class StillStyle : public QProxyStyle {
public:
    int styleHint(StyleHint hint, const QStyleOption *option, const QWidget *widget,
        QStyleHintReturn *data) const override
    {
        return hint == SH_Widget_Animation_Duration ? 0 : QProxyStyle::styleHint(hint, option, widget, data);
    }
};

/// The shadow of the only cover in `window`, or null.
QWidget *shadowIn(const QWidget &window)
{
    for (QWidget *piece : window.findChildren<QWidget *>()) {
        if (!qobject_cast<Cover *>(piece))
            return piece;
    }
    return nullptr;
}

/// A cover at 60, 50 of a white window without a layout.
struct CoverFixture {
    CoverFiles files;
    ArtworkLoader artworks;
    QWidget window;
    Cover *cover = new Cover(artworks);

    CoverFixture()
    {
        QPalette palette(Qt::black, Qt::white);
        palette.setColor(QPalette::Window, Qt::white);
        palette.setColor(QPalette::WindowText, Qt::black);
        window.setPalette(palette);
        window.resize(320, 320);
        cover->setParent(&window);
        cover->move(60, 50);
        window.show();
        if (!QTest::qWaitForWindowExposed(&window))
            qFatal("the window is not shown");
    }

    [[nodiscard]] Track track(const QColor &color)
    {
        Track track(QUrl(u"file:///nowhere.mp3"_s));
        track.artwork = files.artwork(color);
        return track;
    }

    /// A track whose cover can be drawn at once.
    [[nodiscard]] Track loadedTrack(const QColor &color)
    {
        Track track = this->track(color);
        const auto isLoaded = [&] { return !artworks.image(*track.artwork, cover->size()).image.isNull(); };
        if (!QTest::qWaitFor(isLoaded))
            qFatal("the cover is not loaded");
        return track;
    }

    void setTrack(const Track &track) const { cover->setPicture(track.id(), track.artwork); }

    /// Shows a cover and waits until nothing moves any more.
    void show(const QColor &color)
    {
        setTrack(loadedTrack(color));
        if (!QTest::qWaitFor([&] { return !cover->isFading(); }))
            qFatal("the cover never stops fading");
    }

    [[nodiscard]] QColor center() { return shown().pixelColor(155, 145); }
    [[nodiscard]] QVariantAnimation &fade() const { return *cover->findChild<QVariantAnimation *>(); }
    [[nodiscard]] QImage shown() { return window.grab().toImage(); }
    [[nodiscard]] int brightnessAt(int x, int y) { return shown().pixelColor(x, y).lightness(); }
    [[nodiscard]] QWidget &shadow() const { return *shadowIn(window); }
};

/// How dense a bar from `begin` to `end` is at `at`, blurred over 18 points: by a bell curve of half that deviation.
double blurred(double begin, double end, double at)
{
    const double scale = 18 / std::sqrt(2);
    return (std::erf((end - at) / scale) - std::erf((begin - at) / scale)) / 2;
}

/// Notes that a piece is painted without having been grabbed.
class PaintWatch : public QObject {
public:
    bool eventFilter(QObject *, QEvent *event) override
    {
        wasPainted |= event->type() == QEvent::Paint;
        return false;
    }

    bool wasPainted = false;
};

} // namespace

class CoverTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void shadowLiesAroundTheCoverAndLower()
    {
        CoverFixture f;
        const int above = f.brightnessAt(155, 47);
        const int beside = f.brightnessAt(56, 145);
        const int below = f.brightnessAt(155, 243);
        QVERIFY(below < beside && beside < above && above < 255);
        // Black at 0.2 is 204 on white; the edge of a blur has half of that, eight points further in more.
        QVERIFY2(below > 204 && below < 225, qPrintable(QString::number(below)));
        QCOMPARE(f.brightnessAt(155, 280), 255);
        QCOMPARE(f.brightnessAt(20, 145), 255);
    }

    void shadowFadesWithoutAStep()
    {
        CoverFixture f;
        const QImage shown = f.shown();
        for (int y = 242; y < 285; ++y) {
            const int step = shown.pixelColor(155, y + 1).lightness() - shown.pixelColor(155, y).lightness();
            QVERIFY2(step >= 0 && step <= 4, qPrintable(QString::number(y)));
        }
    }

    void shadowIsABellCurveOfItsOutline()
    {
        CoverFixture f;
        const QImage shown = f.shown();
        for (int i = 1; i <= 45; ++i) {
            for (const QPoint pixel : {QPoint(155, 50 - i), QPoint(155, 239 + i), QPoint(60 - i, 145)}) {
                const int actual = shown.pixelColor(pixel).lightness();
                const double expected =
                    255 * (1 - 0.2 * blurred(60, 250, pixel.x() + 0.5) * blurred(58, 248, pixel.y() + 0.5));
                QVERIFY2(std::abs(actual - expected) <= 1,
                    qPrintable(
                        u"%1, %2: %3 for %4"_s.arg(pixel.x()).arg(pixel.y()).arg(actual).arg(expected)));
            }
        }
    }

    void shadowDoesNotDarkenWhatShinesThrough()
    {
        CoverFixture f;
        f.cover->setPicture({}, {});
        const int withShadow = f.brightnessAt(200, 200);
        f.shadow().hide();
        QCOMPARE(f.brightnessAt(200, 200), withShadow);
    }

    void shadowFollowsItsCover()
    {
        CoverFixture f;
        const QPoint offset = f.shadow().pos() - f.cover->pos();
        f.cover->move(90, 70);
        QCOMPARE(f.shadow().pos() - f.cover->pos(), offset);
        f.cover->hide();
        QVERIFY(!f.shadow().isVisible());
        f.cover->show();
        QVERIFY(f.shadow().isVisible());
        QWidget other;
        f.cover->setParent(&other);
        QCOMPARE(shadowIn(f.window), nullptr);
        QVERIFY(shadowIn(other));
        delete f.cover;
        QCOMPARE(shadowIn(other), nullptr);
    }

    void cornersAreCutSmoothlyFromAPicture()
    {
        CoverFixture f;
        f.shadow().setParent(nullptr);
        f.show(Qt::red);
        const QImage shown = f.shown();
        QCOMPARE(shown.pixelColor(61, 51), QColor(Qt::white));
        QCOMPARE(shown.pixelColor(155, 145), QColor(Qt::red));
        int between = 0;
        for (int x = 60; x < 90; ++x) {
            const int green = shown.pixelColor(x, 52).green();
            between += green > 30 && green < 225;
        }
        QVERIFY2(between > 0, "jagged");
    }

    void hairlineRunsAlongTheEdge()
    {
        CoverFixture f;
        f.show(Qt::white);
        for (const QPoint edge : {QPoint(155, 50), QPoint(155, 239), QPoint(60, 145), QPoint(249, 145)}) {
            const int line = f.shown().pixelColor(edge).lightness();
            QVERIFY2(std::abs(line - 230) <= 2, qPrintable(QString::number(line)));
        }
        QCOMPARE(f.brightnessAt(155, 52), 255);
    }

    void nextTracksCoverFadesIn()
    {
        CoverFixture f;
        f.show(Qt::red);
        f.setTrack(f.loadedTrack(Qt::blue));
        QVERIFY(f.cover->isFading());
        QCOMPARE(f.fade().duration(), 250);
        // It begins and ends slowly. Both pictures are opaque: nothing else shines through on the way.
        for (const auto &[time, blue] : {std::pair(62, 32), std::pair(125, 128), std::pair(188, 223)}) {
            f.fade().setCurrentTime(time);
            const QColor color = f.center();
            QVERIFY2(std::abs(color.blue() - blue) <= 6, qPrintable(color.name()));
            QVERIFY(color.green() < 3 && std::abs(color.red() + color.blue() - 255) < 4);
        }
        QTRY_VERIFY(!f.cover->isFading());
        QCOMPARE(f.center(), QColor(Qt::blue));
    }

    void everyStepOfTheFadeIsPaintedWithoutBeingAskedFor()
    {
        CoverFixture f;
        f.show(Qt::red);
        f.setTrack(f.loadedTrack(Qt::blue));
        f.fade().pause();
        PaintWatch watch;
        f.cover->installEventFilter(&watch);
        for (const int time : {40, 80, 120, 160, 200}) {
            watch.wasPainted = false;
            f.fade().setCurrentTime(time);
            QTRY_VERIFY(watch.wasPainted);
        }
    }

    void changeDuringAFadeContinuesFromWhatIsSeen()
    {
        CoverFixture f;
        f.show(Qt::red);
        f.setTrack(f.loadedTrack(Qt::blue));
        f.fade().setCurrentTime(125);
        const QColor seen = f.center();
        QVERIFY2(std::abs(seen.red() - 128) < 4 && std::abs(seen.blue() - 128) < 4, qPrintable(seen.name()));
        f.setTrack(f.loadedTrack(QColor(0, 255, 0)));
        QCOMPARE(f.fade().currentTime(), 0);
        QCOMPARE(f.center(), seen);
        f.fade().setCurrentTime(125);
        const QColor mixed = f.center();
        QVERIFY2(std::abs(mixed.red() - 64) < 4 && std::abs(mixed.blue() - 64) < 4
                && std::abs(mixed.green() - 128) < 4,
            qPrintable(mixed.name()));
    }

    void currentCoverOutlivesItsFile()
    {
        CoverFixture f;
        const Track track = f.loadedTrack(Qt::red);
        f.setTrack(track);
        QTRY_VERIFY(!f.artworks.image(*track.artwork, {9, 9}).image.isNull());
        QVERIFY(QFile::remove(track.artwork->files().first().toLocalFile()));
        QTRY_VERIFY(!f.artworks.image(*track.artwork, {10, 10}).image.isNull());
    }

    void coverIsLoadedInThePixelsOfItsScreen()
    {
        CoverFixture f;
        const Track track = f.track(Qt::red);
        f.setTrack(track);
        QTRY_COMPARE(f.center(), QColor(Qt::red));
        const QSize pixels = f.cover->size() * f.cover->devicePixelRatioF();
        QVERIFY(!f.artworks.image(*track.artwork, pixels).image.isNull());
    }

    void preparedCoverIsThereAtOnce()
    {
        CoverFixture f;
        StillStyle still;
        f.cover->setStyle(&still);
        const Track track = f.track(Qt::red);
        const QSignalSpy loads(&f.artworks, &ArtworkLoader::changed);
        f.cover->prepare(*track.artwork);
        QTRY_COMPARE(loads.size(), 1);
        QVERIFY(f.center() != QColor(Qt::red));
        f.setTrack(track);
        QCOMPARE(f.center(), QColor(Qt::red));
    }

    void coverStaysUntilItIsLoadedInAnotherSize()
    {
        CoverFixture f;
        StillStyle still;
        f.cover->setStyle(&still);
        const Track track = f.loadedTrack(Qt::red);
        f.setTrack(track);
        const QSignalSpy loads(&f.artworks, &ArtworkLoader::changed);
        f.cover->setFixedSize(200, 200);
        QCOMPARE(f.center(), QColor(Qt::red));
        QTRY_COMPARE(loads.size(), 2); // of the bytes that are held, and in the other size
        const QSize pixels = f.cover->size() * f.cover->devicePixelRatioF();
        QVERIFY(!f.artworks.image(*track.artwork, pixels).image.isNull());
    }

    void coverThatIsStillLoadingFadesInWhenItComes()
    {
        CoverFixture f;
        f.show(Qt::red);
        const Track track = f.track(Qt::blue);
        FaultyMedium medium(track.artwork->files().first().toLocalFile().toUtf8());
        medium.set(FaultyMedium::Fault::Silence);
        f.setTrack(track);
        QVERIFY(f.cover->isFading());
        f.fade().setCurrentTime(125);
        f.fade().pause();
        const QColor seen = f.center();
        QVERIFY2(seen.green() > 80 && std::abs(seen.green() - seen.blue()) < 3, qPrintable(seen.name()));
        medium.set(FaultyMedium::Fault::None);
        QTRY_VERIFY(f.center().blue() > f.center().green() + 40);
        QTRY_VERIFY(!f.cover->isFading());
        QCOMPARE(f.center(), QColor(Qt::blue));
    }

    void nothingStandsInForACoverBefore100Milliseconds()
    {
        CoverFixture f;
        StillStyle still;
        f.cover->setStyle(&still);
        const QImage placeholder = f.cover->grab().toImage();
        const Track track = f.track(Qt::blue);
        FaultyMedium medium(track.artwork->files().first().toLocalFile().toUtf8());
        medium.set(FaultyMedium::Fault::Silence);
        QElapsedTimer timer;
        timer.start();
        f.setTrack(track);
        const QImage ground = f.cover->grab().toImage();
        QVERIFY(ground != placeholder);
        QCOMPARE(ground.pixelColor(4, 95), placeholder.pixelColor(4, 95));
        int darkest = 255;
        for (int y = 50; y < 140; ++y)
            darkest = std::min(darkest, ground.pixelColor(95, y).lightness());
        QVERIFY2(darkest > 210, qPrintable(QString::number(darkest)));
        QTRY_COMPARE(f.cover->grab().toImage(), placeholder);
        QVERIFY2(
            timer.elapsed() >= 100 && timer.elapsed() < 1000, qPrintable(QString::number(timer.elapsed())));
        medium.set(FaultyMedium::Fault::None);
        QTRY_COMPARE(f.center(), QColor(Qt::blue));
    }

    void firstAndLastTrackFadeToo()
    {
        CoverFixture f;
        const QImage placeholder = f.shown();
        f.setTrack(f.loadedTrack(Qt::red));
        QVERIFY(f.cover->isFading());
        f.fade().setCurrentTime(0);
        const QImage start = f.shown();
        int most = 0;
        for (int i = 60; i < 240; ++i)
            most = std::max(most, distance(start.pixelColor(155, i), placeholder.pixelColor(155, i)));
        QVERIFY2(most <= 2, qPrintable(QString::number(most)));
        QTRY_VERIFY(!f.cover->isFading());
        f.cover->setPicture({}, {});
        QVERIFY(f.cover->isFading());
        f.fade().setCurrentTime(125);
        const QPoint besideTheSymbol(80, 155);
        const QColor halfWay = mixed(QColor(Qt::red), 0.5, placeholder.pixelColor(besideTheSymbol));
        QVERIFY(distance(f.shown().pixelColor(besideTheSymbol), halfWay) <= 3);
    }

    void placeholderDoesNotFadeIntoItself()
    {
        CoverFixture f;
        f.setTrack(Track(QUrl(u"file:///a.mp3"_s)));
        QVERIFY(!f.cover->isFading());
        f.setTrack(Track(QUrl(u"file:///b.mp3"_s)));
        QVERIFY(!f.cover->isFading());
    }

    void otherChangesOfTheTrackDoNotFade()
    {
        CoverFixture f;
        Track track = f.loadedTrack(Qt::red);
        f.setTrack(track);
        QTRY_VERIFY(!f.cover->isFading());
        track.title = u"Otro título"_s;
        f.setTrack(track);
        QVERIFY(!f.cover->isFading());
    }

    void nothingMovesWhereTheDesktopAsksForThat()
    {
        CoverFixture f;
        StillStyle still;
        f.cover->setStyle(&still);
        f.setTrack(f.loadedTrack(Qt::red));
        QVERIFY(!f.cover->isFading());
        QCOMPARE(f.center(), QColor(Qt::red));
    }

    void coverThatDoesNotFadeIsPaintedWithoutBeingAskedFor()
    {
        CoverFixture f;
        StillStyle still;
        f.cover->setStyle(&still);
        const Track track = f.loadedTrack(Qt::red);
        QCoreApplication::processEvents();
        PaintWatch watch;
        f.cover->installEventFilter(&watch);
        f.setTrack(track);
        QTRY_VERIFY(watch.wasPainted);
    }

    void hiddenCoverDoesNotFade()
    {
        CoverFixture f;
        f.cover->hide();
        f.setTrack(f.loadedTrack(Qt::red));
        QVERIFY(!f.cover->isFading());
    }
};

LUMAVERDINE_TEST(CoverTest)
#include "CoverTest.moc"
