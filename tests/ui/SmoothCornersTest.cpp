#include "tests/TestProgram.h"
#include "ui/drawing/Shapes.h"

#include <QImage>
#include <QPainter>
#include <cmath>

namespace {

const QRectF Square(10, 20, 190, 190);
constexpr double Radius = 18;

QPainterPath arcs()
{
    QPainterPath path;
    path.addRoundedRect(Square, Radius, Radius);
    return path;
}

/// How far the outline lies below the top side at `x` from the left one.
double depthAt(const QPainterPath &outline, double x)
{
    double outside = 0;
    double inside = Square.height() / 2;
    while (inside - outside > 1e-6) {
        const double middle = (inside + outside) / 2;
        const bool isInside = outline.contains(Square.topLeft() + QPointF(x, middle));
        (isInside ? inside : outside) = middle;
    }
    return inside;
}

/// The curvature of the outline at `x`, from three depths.
double curvatureAt(const QPainterPath &outline, double x)
{
    constexpr double step = 1.5;
    const double before = depthAt(outline, x - step);
    const double here = depthAt(outline, x);
    const double after = depthAt(outline, x + step);
    const double slope = (after - before) / (2 * step);
    return (before - 2 * here + after) / (step * step) / std::pow(1 + slope * slope, 1.5);
}

} // namespace

class SmoothCornersTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void outlineReachesAllSidesAndStaysInside()
    {
        const QRectF bounds = smoothCorners(Square, Radius).boundingRect();
        QVERIFY(std::abs(bounds.left() - Square.left()) < 1e-9);
        QVERIFY(std::abs(bounds.top() - Square.top()) < 1e-9);
        QVERIFY(std::abs(bounds.right() - Square.right()) < 1e-9);
        QVERIFY(std::abs(bounds.bottom() - Square.bottom()) < 1e-9);
    }

    void cornerBeginsEarlierThanAnArc()
    {
        const QPainterPath smooth = smoothCorners(Square, Radius);
        for (const double x : {16.0, 18.0, 20.0, 22.0})
            QVERIFY(depthAt(smooth, x) > depthAt(arcs(), x) + 0.02);
        QVERIFY(depthAt(smooth, 30) < 1e-3);
    }

    void cornerMeetsTheArcOnTheDiagonal()
    {
        const double cut = Radius * (1 - std::sqrt(0.5));
        QVERIFY(std::abs(depthAt(smoothCorners(Square, Radius), cut) - cut) < 0.05);
    }

    void cornerIsACubicSuperellipse()
    {
        // It takes this much of a side, so that it meets the arc of the radius on the diagonal.
        const double reach = Radius * (1 - 1 / std::sqrt(2)) / (1 - 1 / std::cbrt(2));
        const QPainterPath smooth = smoothCorners(Square, Radius);
        for (double x = 3; x < reach; x += 0.25) {
            const double depth = reach - std::cbrt(std::pow(reach, 3) - std::pow(reach - x, 3));
            QVERIFY2(std::abs(depthAt(smooth, x) - depth) < 0.03, qPrintable(QString::number(x)));
        }
    }

    void curvatureGrowsFromNothing()
    {
        const QPainterPath smooth = smoothCorners(Square, Radius);
        QVERIFY(std::abs(curvatureAt(smooth, 24)) < 0.012);
        QVERIFY(curvatureAt(smooth, 18) > curvatureAt(smooth, 24));
        QVERIFY(curvatureAt(smooth, 12) > curvatureAt(smooth, 18));
        // That of an arc is all there at once.
        QVERIFY(curvatureAt(arcs(), 16) > 0.9 / Radius);
    }

    void allCornersAreAlike()
    {
        const QPainterPath smooth = smoothCorners(Square, Radius);
        const QPointF middle = Square.center();
        for (double x = 0.05; x < 30; x += 0.7) {
            for (double y = 0.05; y < 30; y += 0.7) {
                const QPointF offset = Square.topLeft() + QPointF(x, y) - middle;
                const bool isInside = smooth.contains(middle + offset);
                QCOMPARE(smooth.contains(middle + QPointF(-offset.x(), offset.y())), isInside);
                QCOMPARE(smooth.contains(middle + QPointF(offset.x(), -offset.y())), isInside);
                QCOMPARE(smooth.contains(middle - offset), isInside);
            }
        }
    }

    void cornersShareASideThatIsTooShort()
    {
        const QRectF flat(0, 0, 40, 10);
        const QPainterPath smooth = smoothCorners(flat, 18);
        QVERIFY(flat.contains(smooth.boundingRect()));
        QVERIFY(smooth.contains(flat.center()));
        QVERIFY(!smooth.contains(QPointF(0.3, 0.3)));
    }

    void onlyAPictureThatDoesNotFitIsSmoothed()
    {
        QImage picture(20, 20, QImage::Format_RGB32);
        for (int i = 0; i < 400; ++i)
            picture.setPixelColor(i % 20, i / 20, i % 3 ? Qt::black : Qt::white);
        QImage shown(40, 40, QImage::Format_RGB32);
        QPainter painter(&shown);
        QPainterPath outline;
        outline.addRect(10, 10, 20, 20);
        fillWithPicture(painter, outline, QRectF(10, 10, 20, 20), picture);
        QCOMPARE(shown.copy(10, 10, 20, 20), picture);
        fillWithPicture(painter, outline, QRectF(9.5, 9.5, 21, 21), picture);
        const int mixed = shown.pixelColor(20, 20).red();
        QVERIFY2(mixed > 20 && mixed < 235, qPrintable(QString::number(mixed)));
    }

    void hairlineIsCrisp_data()
    {
        QTest::addColumn<double>("scale");
        QTest::addColumn<int>("thickness");
        for (const auto &[scale, thickness] :
            {std::pair(1.0, 1), {1.25, 1}, {1.5, 1}, {1.75, 1}, {2.0, 2}, {3.0, 3}})
            QTest::addRow("%g", scale) << scale << thickness;
    }

    void hairlineIsCrisp()
    {
        QFETCH(const double, scale);
        QFETCH(const int, thickness);
        for (const QRectF &area : {QRectF(30, 28, 190, 190), QRectF(31, 29, 121, 33)}) {
            QImage shown(QSize(300, 300) * scale, QImage::Format_RGB32);
            shown.fill(Qt::white);
            QPainter painter(&shown);
            painter.setRenderHint(QPainter::Antialiasing);
            painter.scale(scale, scale);
            drawHairline(painter, area, 6, Qt::black);
            painter.end();
            // Along two lines through the middle: the first and the last whole pixels of the area, and no others.
            const QPoint middle = (area.center() * scale).toPoint();
            for (int i = 0; i < shown.width(); ++i) {
                const auto isOn = [&](double start, double end) {
                    const int first = qCeil(start * scale);
                    const int last = qFloor(end * scale) - 1;
                    return (i >= first && i < first + thickness) || (i <= last && i > last - thickness);
                };
                const auto isShown = [&](int x, int y, bool isBlack) {
                    return std::abs(shown.pixelColor(x, y).red() - (isBlack ? 0 : 255)) <= 4;
                };
                QVERIFY(isShown(i, middle.y(), isOn(area.left(), area.right())));
                QVERIFY(isShown(middle.x(), i, isOn(area.top(), area.bottom())));
            }
        }
    }

    void hairlineEndsWhereTheCornersDo()
    {
        constexpr int Scale = 20;
        QImage shown(QSize(60, 40) * Scale, QImage::Format_RGB32);
        shown.fill(Qt::white);
        QPainter painter(&shown);
        painter.scale(Scale, Scale);
        painter.fillPath(smoothCorners(QRectF(5, 5, 50, 30), 8), Qt::red);
        drawHairline(painter, QRectF(5, 5, 50, 30), 8, Qt::black);
        painter.end();
        const auto lengthOf = [&](const QColor &color) {
            int length = 0;
            for (int i = 0; i < 20 * Scale; ++i)
                length += shown.pixelColor(i, i) == color;
            return length * std::sqrt(2) / Scale;
        };
        const double before = std::sqrt(2) * (5 + 8 * (1 - std::sqrt(0.5)));
        QVERIFY2(
            std::abs(lengthOf(Qt::white) - before) < 0.1, qPrintable(QString::number(lengthOf(Qt::white))));
        QVERIFY2(std::abs(lengthOf(Qt::black) - 1) < 0.1, qPrintable(QString::number(lengthOf(Qt::black))));
    }

    void pictureNeverMixesAnEdgeWithTheOppositeOne_data()
    {
        QTest::addColumn<double>("scale");
        for (const double scale : {1.0, 1.25, 1.5, 1.75, 2.0})
            QTest::addRow("%g", scale) << scale;
    }

    void pictureNeverMixesAnEdgeWithTheOppositeOne()
    {
        QFETCH(const double, scale);
        for (const QRectF &area : {QRectF(30, 28, 190, 190), QRectF(62, 519, 42, 42)}) {
            const int side = qCeil(area.width() * scale);
            QImage picture(side, side, QImage::Format_RGB32);
            // One quarter is black, as is the ground: the last one, then the first one.
            for (const bool isLast : {true, false}) {
                picture.fill(Qt::white);
                QPainter(&picture).fillRect(
                    QRect(0, 0, side / 2, side / 2).translated(QPoint(side, side) / 2 * isLast), Qt::black);
                QImage shown(QSize(300, 600) * scale, QImage::Format_RGB32);
                shown.fill(Qt::black);
                QPainter painter(&shown);
                painter.scale(scale, scale);
                QPainterPath outline;
                outline.addRect(area);
                fillWithPicture(painter, outline, area, picture);
                painter.end();
                const QPoint corner = isLast ? (area.bottomRight() * scale).toPoint() - QPoint(8, 8)
                                             : (area.topLeft() * scale).toPoint() + QPoint(8, 8);
                for (int i = 0; i < 12; ++i) {
                    const int step = isLast ? i : -i;
                    QCOMPARE(shown.pixelColor(corner + QPoint(step, 0)), QColor(Qt::black));
                    QCOMPARE(shown.pixelColor(corner + QPoint(0, step)), QColor(Qt::black));
                }
            }
        }
    }
};

LUMAVERDINE_TEST(SmoothCornersTest)
#include "SmoothCornersTest.moc"
