#include "ui/controls/Cover.h"
#include "ui/controls/CoverShadow.h"

#include <QBuffer>
#include <QPalette>
#include <QProxyStyle>
#include <QTest>
#include <QVariantAnimation>

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

Track trackWithCover(const QColor &color)
{
    QImage image(300, 300, QImage::Format_RGB32);
    image.fill(color);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    Track track(QUrl(u"file:///nowhere.mp3"_s));
    track.artwork = Artwork::decode(bytes);
    return track;
}

/// A cover at 60, 50 of a white window without a layout.
struct CoverFixture {
    QWidget window;
    Cover *cover = new Cover;

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

    [[nodiscard]] QImage shown() { return window.grab().toImage(); }
    [[nodiscard]] int brightnessAt(int x, int y) { return shown().pixelColor(x, y).lightness(); }
    [[nodiscard]] CoverShadow &shadow() const { return *window.findChild<CoverShadow *>(); }
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

    void shadowDoesNotDarkenWhatShinesThrough()
    {
        CoverFixture f;
        f.cover->setTrack({});
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
        QCOMPARE(f.window.findChild<CoverShadow *>(), nullptr);
        QVERIFY(other.findChild<CoverShadow *>());
        delete f.cover;
        QCOMPARE(other.findChild<CoverShadow *>(), nullptr);
    }

    void cornersAreCutSmoothlyFromAPicture()
    {
        CoverFixture f;
        f.shadow().setParent(nullptr);
        f.cover->setTrack(trackWithCover(Qt::red));
        QTRY_VERIFY(!f.cover->isFading());
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
        f.cover->setTrack(trackWithCover(Qt::white));
        QTRY_VERIFY(!f.cover->isFading());
        for (const QPoint edge : {QPoint(155, 50), QPoint(155, 239), QPoint(60, 145), QPoint(249, 145)}) {
            const int line = f.shown().pixelColor(edge).lightness();
            QVERIFY2(std::abs(line - 230) <= 2, qPrintable(QString::number(line)));
        }
        QCOMPARE(f.brightnessAt(155, 52), 255);
    }

    void nextTracksCoverFadesIn()
    {
        CoverFixture f;
        f.cover->setTrack(trackWithCover(Qt::red));
        QTRY_VERIFY(!f.cover->isFading());
        f.cover->setTrack(trackWithCover(Qt::blue));
        QVERIFY(f.cover->isFading());
        auto &fade = *f.cover->findChild<QVariantAnimation *>();
        QCOMPARE(fade.duration(), 250);
        // It begins and ends slowly. Both pictures are opaque: nothing else shines through on the way.
        for (const auto &[time, blue] : {std::pair(62, 32), std::pair(125, 128), std::pair(188, 223)}) {
            fade.setCurrentTime(time);
            const QColor color = f.shown().pixelColor(155, 145);
            QVERIFY2(std::abs(color.blue() - blue) <= 6, qPrintable(color.name()));
            QVERIFY(color.green() < 3 && std::abs(color.red() + color.blue() - 255) < 4);
        }
        QTRY_VERIFY(!f.cover->isFading());
        QCOMPARE(f.shown().pixelColor(155, 145), QColor(Qt::blue));
    }

    void firstAndLastTrackFadeToo()
    {
        CoverFixture f;
        f.cover->setTrack(trackWithCover(Qt::red));
        QVERIFY(f.cover->isFading());
        QTRY_VERIFY(!f.cover->isFading());
        f.cover->setTrack({});
        QVERIFY(f.cover->isFading());
    }

    void placeholderDoesNotFadeIntoItself()
    {
        CoverFixture f;
        f.cover->setTrack(Track(QUrl(u"file:///a.mp3"_s)));
        QVERIFY(!f.cover->isFading());
        f.cover->setTrack(Track(QUrl(u"file:///b.mp3"_s)));
        QVERIFY(!f.cover->isFading());
    }

    void otherChangesOfTheTrackDoNotFade()
    {
        CoverFixture f;
        Track track = trackWithCover(Qt::red);
        f.cover->setTrack(track);
        QTRY_VERIFY(!f.cover->isFading());
        track.title = u"Otro título"_s;
        f.cover->setTrack(track);
        QVERIFY(!f.cover->isFading());
    }

    void nothingMovesWhereTheDesktopAsksForThat()
    {
        CoverFixture f;
        StillStyle still;
        f.cover->setStyle(&still);
        f.cover->setTrack(trackWithCover(Qt::red));
        QVERIFY(!f.cover->isFading());
        QCOMPARE(f.shown().pixelColor(155, 145), QColor(Qt::red));
    }

    void hiddenCoverDoesNotFade()
    {
        Cover cover;
        cover.setTrack(trackWithCover(Qt::red));
        QVERIFY(!cover.isFading());
    }
};

QTEST_MAIN(CoverTest)
#include "CoverTest.moc"
