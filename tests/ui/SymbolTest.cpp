#include "ui/drawing/Symbol.h"
#include "tests/TestProgram.h"
#include "ui/controls/SymbolView.h"

#include <QImage>
#include <QPainter>
#include <QPixmapCache>
#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

const QStringList Names{u"music.note"_s, u"music.note.list"_s, u"shuffle"_s, u"repeat"_s,
    u"backward.end.fill"_s, u"forward.end.fill"_s, u"play.fill"_s, u"pause.fill"_s, u"plus"_s, u"ellipsis"_s,
    u"speaker.slash.fill"_s, u"speaker.wave.1.fill"_s, u"speaker.wave.2.fill"_s, u"speaker.wave.3.fill"_s};

// The sizes at which the window draws symbols, and the scales of its screens.
constexpr int Sizes[] = {13, 16, 23, 42, 55};
constexpr double Scales[] = {1, 1.25, 1.5, 1.75, 2, 3};

QImage drawn(const QString &name, int pixels, QFont::Weight weight = QFont::Normal)
{
    return symbolPixmap(name, pixels, Qt::black, weight).toImage();
}

int alphaAt(const QImage &image, int x, int y)
{
    return qAlpha(reinterpret_cast<const QRgb *>(image.constScanLine(y))[x]);
}

QRect inkOf(const QImage &image)
{
    QRect ink;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (alphaAt(image, x, y) > 0)
                ink |= QRect(x, y, 1, 1);
        }
    }
    return ink;
}

/// All ink, in pixels.
double amountOfInk(const QImage &image)
{
    double amount = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            amount += alphaAt(image, x, y) / 255.0;
    }
    return amount;
}

/// Whether no two pixels differ by more than the last bits of their smoothing.
bool looksLike(const QImage &a, const QImage &b)
{
    for (int y = 0; y < a.height(); ++y) {
        for (int x = 0; x < a.width(); ++x) {
            if (std::abs(alphaAt(a, x, y) - alphaAt(b, x, y)) > 24)
                return false;
        }
    }
    return true;
}

/// Whether a row is made of full and empty pixels only.
bool isSharpRow(const QImage &image, int y)
{
    for (int x = 0; x < image.width(); ++x) {
        if (const int alpha = alphaAt(image, x, y); alpha > 2 && alpha < 253)
            return false;
    }
    return true;
}

/// Whether the middle row of dots has only pixels that are empty or as full as in a circle.
bool isRoundedRow(const QImage &image, int y)
{
    for (int x = 0; x < image.width(); ++x) {
        if (const int alpha = alphaAt(image, x, y); alpha > 2 && alpha < 190)
            return false;
    }
    return true;
}

/// The ink of each piece of a drawing that touches no other, in pixels.
QList<int> amountsOfPieces(const QImage &image)
{
    constexpr int Seen = 96;
    QList<int> amounts;
    QImage left = image;
    for (int y = 0; y < left.height(); ++y) {
        for (int x = 0; x < left.width(); ++x) {
            QList<QPoint> piece;
            const auto take = [&](QPoint at) {
                if (!left.rect().contains(at) || alphaAt(left, at.x(), at.y()) < Seen)
                    return;
                left.setPixelColor(at, Qt::transparent);
                piece.append(at);
            };
            take({x, y});
            qsizetype next = 0;
            while (next < piece.size()) {
                const QPoint at = piece.at(next++);
                for (const QPoint step : {QPoint(1, 0), QPoint(-1, 0), QPoint(0, 1), QPoint(0, -1)})
                    take(at + step);
            }
            if (!piece.isEmpty())
                amounts.append(static_cast<int>(piece.size()));
        }
    }
    return amounts;
}

/// The symbol as it appears at a place of a screen, on white.
QImage onScreen(const QString &name, int pointSize, const QRectF &area, double scale)
{
    QImage screen(QSize(100, 100) * scale, QImage::Format_ARGB32_Premultiplied);
    screen.setDevicePixelRatio(scale);
    screen.fill(Qt::transparent);
    QPainter painter(&screen);
    drawSymbol(painter, area, name, pointSize, Qt::black, QFont::DemiBold);
    return screen;
}

void addNames()
{
    QTest::addColumn<QString>("name");
    for (const QString &name : Names)
        QTest::newRow(qPrintable(name)) << name;
}

void addSizesAndScales()
{
    QTest::addColumn<int>("size");
    QTest::addColumn<double>("scale");
    for (const int size : Sizes) {
        for (const double scale : Scales)
            QTest::addRow("%d at %g", size, scale) << size << scale;
    }
}

} // namespace

class SymbolTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void programsPictureIsANoteOnALeaf()
    {
        for (const int pixels : {16, 48, 128}) {
            const QImage picture = programPicture(pixels);
            QCOMPARE(picture.size(), QSize(pixels, pixels));
            const auto at = [&](double x, double y) { // in units of the drawing
                return picture.pixelColor(qFloor(x * pixels / 128), qFloor(y * pixels / 128));
            };
            for (const QPoint outside : {QPoint(1, 1), QPoint(126, 1), QPoint(1, 126), QPoint(64, 2)})
                QCOMPARE(at(outside.x(), outside.y()).alpha(), 0);
            QVERIFY(at(28, 28).green() > 180 && at(28, 28).red() > 90);
            QVERIFY(at(100, 100).green() < 160 && at(100, 100).red() < 50);
            for (const QPoint head : {QPoint(46, 89), QPoint(84, 79)})
                QCOMPARE(at(head.x(), head.y()), QColor(Qt::white));
            QVERIFY(at(75, 68).red() < 120); // between the stems
        }
    }

    void everySymbolIsDrawnInsideItsSquare_data() { addNames(); }

    void everySymbolIsDrawnInsideItsSquare()
    {
        QFETCH(const QString, name);
        for (const QFont::Weight weight : {QFont::Light, QFont::Normal, QFont::Bold}) {
            const QImage image = drawn(name, 120, weight);
            const QRect ink = inkOf(image);
            QVERIFY(std::max(ink.width(), ink.height()) > image.width() / 2);
            QVERIFY2(image.rect().adjusted(1, 1, -1, -1).contains(ink), "cut at the edge");
        }
    }

    void everySymbolLiesInTheMiddleOfItsSquare_data() { addNames(); }

    void everySymbolLiesInTheMiddleOfItsSquare()
    {
        QFETCH(const QString, name);
        // A speaker stays where it is while its waves come and go.
        const double tolerance = name.startsWith(u"speaker.") ? 45 : 8;
        const QRectF ink = inkOf(drawn(name, 240));
        QVERIFY2(
            std::abs(ink.center().x() - 120) <= tolerance, qPrintable(QString::number(ink.center().x())));
        QVERIFY2(std::abs(ink.center().y() - 120) <= 8, qPrintable(QString::number(ink.center().y())));
    }

    void linesKeepTheirWeightAtEverySize()
    {
        for (int pixels = 17; pixels <= 72; ++pixels) {
            const QImage arm = drawn(u"plus"_s, pixels).copy(pixels / 3, 0, 1, pixels);
            const double ratio = amountOfInk(arm) / (1.65 * pixels / 24);
            // One of two lengths is at most this far away where they differ by two pixels.
            QVERIFY2(std::max(ratio, 1 / ratio) < 1.74, qPrintable(QString::number(pixels)));
        }
    }

    void allSymbolsDiffer()
    {
        QList<QImage> all;
        for (const QString &name : Names) {
            const QImage image = drawn(name, 26);
            QVERIFY2(!all.contains(image), qPrintable(name));
            all.append(image);
        }
    }

    void heavierFontHasHeavierSymbols_data() { addNames(); }

    void heavierFontHasHeavierSymbols()
    {
        QFETCH(const QString, name);
        double lighter = 0;
        for (const QFont::Weight weight :
            {QFont::Light, QFont::Normal, QFont::Medium, QFont::DemiBold, QFont::Bold}) {
            const double ink = amountOfInk(drawn(name, 480, weight));
            QVERIFY2(ink > lighter, qPrintable(QString::number(weight)));
            lighter = ink;
        }
    }

    void symbolHasTheColourAskedFor()
    {
        const QImage image = symbolPixmap(u"pause.fill"_s, 62, QColor(255, 0, 0, 128)).toImage();
        const QRect ink = inkOf(image);
        const QColor inBar = image.pixelColor(ink.left() + 4, ink.center().y());
        QCOMPARE(inBar.alpha(), 128);
        QVERIFY(inBar.red() > 250 && inBar.green() == 0 && inBar.blue() == 0);
    }

    void symmetricSymbolsStaySymmetric_data() { addSizesAndScales(); }

    void symmetricSymbolsStaySymmetric()
    {
        QFETCH(const int, size);
        QFETCH(const double, scale);
        const int pixels = qRound(symbolExtent(size) * scale);
        for (const int side : {pixels, pixels + 1}) {
            for (const QString &name : {u"pause.fill"_s, u"plus"_s, u"ellipsis"_s}) {
                const QImage image = drawn(name, side, QFont::DemiBold);
                QVERIFY2(looksLike(image, image.mirrored(true, false)), qPrintable(name));
                QVERIFY2(looksLike(image, image.mirrored(false, true)), qPrintable(name));
            }
            for (const QString &name : {u"play.fill"_s, u"forward.end.fill"_s, u"speaker.wave.3.fill"_s}) {
                const QImage image = drawn(name, side, QFont::DemiBold);
                QVERIFY2(looksLike(image, image.mirrored(false, true)), qPrintable(name));
            }
            const QImage turned = drawn(u"repeat"_s, side);
            QVERIFY(looksLike(turned, turned.mirrored(true, true)));
            QVERIFY(looksLike(drawn(u"forward.end.fill"_s, side, QFont::DemiBold),
                drawn(u"backward.end.fill"_s, side, QFont::DemiBold).mirrored(true, false)));
        }
    }

    void barsBeginAndEndOnPixels_data() { addSizesAndScales(); }

    void barsBeginAndEndOnPixels()
    {
        QFETCH(const int, size);
        QFETCH(const double, scale);
        const int pixels = qRound(symbolExtent(size) * scale);
        for (const int side : {pixels, pixels + 1}) {
            for (const QFont::Weight weight : {QFont::Normal, QFont::DemiBold, QFont::Bold}) {
                const QImage pause = drawn(u"pause.fill"_s, side, weight);
                QVERIFY(isSharpRow(pause, side / 2));
                const QImage skip = drawn(u"forward.end.fill"_s, side, weight);
                QVERIFY(alphaAt(skip, inkOf(skip).right(), side / 2) > 252);
                QVERIFY(alphaAt(skip, inkOf(skip).left(), side / 2) > 252);
                const QImage plus = drawn(u"plus"_s, side, weight);
                QVERIFY(isSharpRow(plus, side / 3));
                QVERIFY(isSharpRow(plus.transformed(QTransform().rotate(90)), side / 3));
            }
        }
    }

    void dotsAreAlikeAndBeginAndEndOnPixels_data() { addSizesAndScales(); }

    void dotsAreAlikeAndBeginAndEndOnPixels()
    {
        QFETCH(const int, size);
        QFETCH(const double, scale);
        const int pixels = qRound(symbolExtent(size) * scale);
        for (const int side : {pixels, pixels + 1}) {
            const QImage dots = drawn(u"ellipsis"_s, side);
            QVERIFY(isRoundedRow(dots, side / 2));
            const QRect ink = inkOf(dots);
            const QImage first = dots.copy(ink.left(), ink.top(), ink.height(), ink.height());
            QVERIFY(isRoundedRow(first.transformed(QTransform().rotate(90)), ink.height() / 2));
            const int middle = (side - ink.height()) / 2;
            QVERIFY(looksLike(first, dots.copy(middle, ink.top(), ink.height(), ink.height())));
            QVERIFY2(std::abs(ink.height() - 3.65 * side / 24) <= 1.1,
                qPrintable(u"%1 in %2"_s.arg(ink.height()).arg(side)));
        }
    }

    void speakerKeepsItsPlace_data() { addSizesAndScales(); }

    void speakerKeepsItsPlace()
    {
        QFETCH(const int, size);
        QFETCH(const double, scale);
        const int side = qRound(symbolExtent(size) * scale);
        const QImage loud = drawn(u"speaker.wave.3.fill"_s, side);
        for (const QString &name :
            {u"speaker.wave.1.fill"_s, u"speaker.wave.2.fill"_s, u"speaker.slash.fill"_s}) {
            const QImage other = drawn(name, side);
            const bool isSlashed = name == u"speaker.slash.fill";
            for (int y = 0; y < side; ++y) {
                for (int x = 0; x < side * 11 / 24; ++x) {
                    const bool isFarFromSlash = std::abs(y - x - side * 4 / 24) > side * 4 / 24 + 1;
                    if (!isSlashed || isFarFromSlash)
                        QVERIFY(std::abs(alphaAt(loud, x, y) - alphaAt(other, x, y)) <= 24);
                }
            }
        }
    }

    void slashLeavesNoCrumbs()
    {
        for (const double scale : Scales) {
            const int side = qRound(symbolExtent(13) * scale);
            const QList<int> amounts = amountsOfPieces(drawn(u"speaker.slash.fill"_s, side));
            // What is above it, the slash, and what is below.
            QCOMPARE(amounts.size(), 3);
            QVERIFY2(std::ranges::min(amounts) >= 8 * scale * scale,
                qPrintable(QString::number(std::ranges::min(amounts))));
        }
    }

    void inkIsWhatIsSeenOfASymbol()
    {
        const QImage note = drawn(u"music.note"_s, symbolExtent(13));
        const QRect ink = symbolInk(u"music.note"_s, 13);
        QVERIFY(inkOf(note).contains(ink));
        QVERIFY(inkOf(note).width() - ink.width() <= 2);
        QVERIFY(symbolInk(u"music.note"_s, 55, QFont::Bold).width()
            > symbolInk(u"music.note"_s, 55, QFont::Light).width());
        const QRectF square = squareByInk(QRectF(100, 50, 20, 30), u"music.note"_s, 13);
        const QPointF off = QRectF(ink).translated(square.topLeft()).center() - QPointF(110, 65);
        QVERIFY(std::abs(off.x()) <= 0.5 && std::abs(off.y()) <= 0.5);
        QCOMPARE(square.topLeft(), QPointF(square.topLeft().toPoint()));
        QCOMPARE(square.size(), QSizeF(17, 17));
    }

    void viewWithLittleHeightFades()
    {
        SymbolView view(u"music.note.list"_s, 42, QFont::Light);
        const QSize whole = view.sizeHint();
        const auto strongest = [&](int height) {
            view.resize(whole.width(), height);
            QImage image(view.size(), QImage::Format_ARGB32_Premultiplied);
            image.fill(Qt::transparent);
            view.render(&image, {}, {}, {});
            int most = 0;
            for (int i = 0; i < image.width() * image.height(); ++i)
                most = std::max(most, alphaAt(image, i % image.width(), i / image.width()));
            return most;
        };
        const int full = strongest(whole.height());
        QVERIFY(full > 140);
        for (int height = 1; height <= whole.height(); ++height) {
            // From a quarter of the height to half of it.
            const double opacity = std::clamp(4.0 * height / whole.height() - 1, 0.0, 1.0);
            const int shown = strongest(height);
            QVERIFY2(std::abs(shown - full * opacity) <= 0.1 * full,
                qPrintable(u"%1: %2, not %3"_s.arg(height).arg(shown).arg(full * opacity)));
        }
    }

    void symbolIsSharpWhereverItStands_data()
    {
        QTest::addColumn<double>("scale");
        for (const double scale : Scales)
            QTest::addRow("%g", scale) << scale;
    }

    void symbolIsSharpWhereverItStands()
    {
        QFETCH(const double, scale);
        for (const QPointF place : {QPointF(0, 0), QPointF(31, 17), QPointF(30.3, 28.7)}) {
            const QRectF area(place, QSizeF(36, 36));
            const QImage screen = onScreen(u"pause.fill"_s, 23, area, scale);
            const QRect ink = inkOf(screen);
            QVERIFY(isSharpRow(screen, ink.center().y()));
            QVERIFY(std::abs(ink.height() / scale - 20) <= 1.6);
            const QPointF middle = QRectF(ink).center() / scale;
            QVERIFY(std::abs(middle.x() - area.center().x()) <= 0.51 / scale);
            QVERIFY(std::abs(middle.y() - area.center().y()) <= 1.01 / scale);
        }
    }

    void symbolsAreKeptWithinABound()
    {
        QPixmapCache::clear();
        const qint64 first = symbolPixmap(u"plus"_s, 30, Qt::black).cacheKey();
        QCOMPARE(symbolPixmap(u"plus"_s, 30, Qt::black).cacheKey(), first);
        QVERIFY(symbolPixmap(u"plus"_s, 30, Qt::black, QFont::Bold).cacheKey() != first);
        QVERIFY(symbolPixmap(u"plus"_s, 31, Qt::black).cacheKey() != first);
        QVERIFY(symbolPixmap(u"plus"_s, 30, Qt::white).cacheKey() != first);
        for (int pixels = 400; pixels < 440; ++pixels)
            QCOMPARE(symbolPixmap(u"plus"_s, pixels, Qt::black).width(), pixels);
        QVERIFY2(symbolPixmap(u"plus"_s, 30, Qt::black).cacheKey() != first, "nothing is ever let go");
    }
};

LUMAVERDINE_TEST(SymbolTest)
#include "SymbolTest.moc"
