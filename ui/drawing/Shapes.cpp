#include "ui/drawing/Shapes.h"

#include <QImage>
#include <QPainter>
#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

// A corner is a quarter of the superellipse |x|³ + |y|³ = 1: unlike that of a circle, its curvature is 0 at the
// ends. To meet a circle on the diagonal, it needs this much of the sides for each point of the circle's radius.
const double Reach = (1 - std::numbers::sqrt2 / 2) / (1 - std::cbrt(0.5));

constexpr int CornerSteps = 24; // chords a corner: less than a tenth of a pixel off at three times the scale

/// The corner around `center`, from its beginning to its end as one goes clockwise; `turn` is the number of
/// corners passed since the top right one.
void addCorner(QPainterPath &path, QPointF center, double reach, int turn)
{
    const QTransform place = QTransform::fromTranslate(center.x(), center.y()).rotate(90 * turn);
    for (int step = 0; step <= CornerSteps; ++step) {
        const double angle = std::numbers::pi / 2 * step / CornerSteps;
        const QPointF point(std::pow(std::sin(angle), 2.0 / 3), -std::pow(std::cos(angle), 2.0 / 3));
        path.lineTo(place.map(point * reach));
    }
}

} // namespace

double devicePixels(const QPainter &painter)
{
    return painter.deviceTransform().m11();
}

void enterDevicePixels(QPainter &painter)
{
    painter.setWorldTransform(painter.deviceTransform().inverted(), true);
}

void drawLineAcross(QPainter &painter, const QRectF &area, const QColor &color)
{
    // From where the toolkit begins what it shows of a widget: pixels before that are cut off, one behind it may be.
    const QRect pixels = painter.deviceTransform().mapRect(area).toRect();
    const int height = static_cast<int>(devicePixels(painter));
    painter.save();
    enterDevicePixels(painter);
    painter.fillRect(QRect(pixels.topLeft(), QSize(pixels.width(), height)), color);
    painter.restore();
}

QRectF onWholePixels(const QPainter &painter, const QRectF &area)
{
    const QTransform toPixels = painter.deviceTransform();
    const QRectF exact = toPixels.mapRect(area);
    const QPointF start(std::ceil(exact.left()), std::ceil(exact.top()));
    const QPointF end(std::floor(exact.right()), std::floor(exact.bottom()));
    return toPixels.inverted().mapRect(QRectF(start, end));
}

QPainterPath smoothCorners(const QRectF &rect, double radius)
{
    const double reach = std::min({radius * Reach, rect.width() / 2, rect.height() / 2});
    const QRectF centers = rect.adjusted(reach, reach, -reach, -reach);
    QPainterPath path(QPointF(centers.left(), rect.top()));
    addCorner(path, centers.topRight(), reach, 0);
    addCorner(path, centers.bottomRight(), reach, 1);
    addCorner(path, centers.bottomLeft(), reach, 2);
    addCorner(path, centers.topLeft(), reach, 3);
    return path;
}

void fillWithPicture(
    QPainter &painter, const QPainterPath &outline, const QRectF &area, const QImage &picture)
{
    // If pixels do not meet pixels, a brush, which repeats its picture, would mix an edge with the opposite one.
    const QRectF pixels = painter.deviceTransform().mapRect(area);
    const bool fits = pixels == QRectF(pixels.toAlignedRect()) && pixels.size() == QSizeF(picture.size());
    const QRectF covered = fits ? area : area.adjusted(-1, -1, 1, 1);
    // A clip would cut along whole pixels.
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    QBrush brush(picture);
    brush.setTransform(QTransform::fromTranslate(covered.left(), covered.top())
                           .scale(covered.width() / picture.width(), covered.height() / picture.height()));
    painter.fillPath(outline, brush);
}

void drawHairline(QPainter &painter, const QRectF &rect, double radius, const QColor &color)
{
    const double width = std::floor(devicePixels(painter)) / devicePixels(painter);
    const double half = width / 2;
    const QRectF middle = onWholePixels(painter, rect).adjusted(half, half, -half, -half);
    painter.strokePath(smoothCorners(middle, radius - half), QPen(color, width));
}
