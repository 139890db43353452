#include "ui/drawing/Symbol.h"

#include "ui/drawing/Shapes.h"

#include <QPainter>
#include <QPainterPath>
#include <QPixmapCache>
#include <QtMath>
#include <algorithm>
#include <cmath>
#include <span>
#include <string_view>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

/// A part of a drawing in ui/symbols: an outline in a grid of 24 units a side, with a stroke along it.
struct SymbolShape {
    /// What is laid on whole pixels: circles, which stay as large as each other, or the extent of some points.
    enum class Fit { None, Circle, Points };

    std::u16string_view symbol; ///< the name of the drawing
    Fit fit;
    bool isFilled;
    bool isErased; ///< takes away what was drawn before it
    Qt::PenCapStyle ends;
    double stroke; ///< units; 0 for what suits the weight of a font
    std::span<const QPainterPath::Element> outline;
};

// SymbolShapes: those of all drawings, those of one in the order in which they are drawn. The build makes it from the
// SVG files.
#include "ui/SymbolShapes.inc"

constexpr double Grid = 24; // units a side of a drawing
constexpr double Tie = 1e-6; // what is this near to a half is one

// The rasteriser misses parts of pixels where strokes bend, which shows in small symbols.
constexpr int Fineness = 4;

/// Units: 1.65 for a regular font.
double strokeWidth(QFont::Weight weight)
{
    return 0.65 + 0.0025 * static_cast<int>(weight);
}

/// The whole number nearest to `length`, by their ratio, that lies in the middle of `room` without halves; at
/// least 1.
int centrableLength(double length, int room)
{
    const int odd = room % 2;
    const int shorter = 2 * qFloor((length - odd) / 2) + odd;
    const int longer = shorter + 2;
    return length * length < shorter * longer ? shorter : longer;
}

/// Along one axis, in pixels.
struct Span {
    double start;
    double length;
};

/// The nearest span on whole pixels. Both halves of the drawing are treated alike, as in a mirror.
Span onPixels(const Span &span, int pixels)
{
    const double middle = span.start + span.length / 2;
    const bool isCentred = std::abs(middle - pixels / 2.0) < Tie;
    if (isCentred) {
        const int length = centrableLength(span.length, pixels);
        return {(pixels - length) / 2.0, static_cast<double>(length)};
    }
    const double length = std::max(1.0, std::round(span.length + Tie));
    const double start = middle - length / 2;
    const bool isBeforeMiddle = middle < pixels / 2.0;
    return {isBeforeMiddle ? std::floor(start + 0.5 + Tie) : std::ceil(start - 0.5 - Tie), length};
}

QPainterPath pathOf(const SymbolShape &shape)
{
    QPainterPath path;
    const auto &points = shape.outline;
    if (shape.fit == SymbolShape::Fit::Circle)
        path.addEllipse(QRectF(points[0], points[1]));
    else
        path.moveTo(points[0]);
    for (std::size_t i = path.elementCount(); i < points.size(); i = path.elementCount()) {
        if (points[i].isMoveTo())
            path.moveTo(points[i]);
        else if (points[i].isLineTo())
            path.lineTo(points[i]);
        else
            path.cubicTo(points[i], points[i + 1], points[i + 2]);
    }
    return path;
}

/// Lays a circle, or what is given by its points, with its stroke on whole pixels.
void fit(QPainterPath &path, double &stroke, SymbolShape::Fit kind, int pixels)
{
    const double scale = pixels / Grid;
    const QRectF box = path.controlPointRect();
    QSizeF inked = box.size() + QSizeF(stroke, stroke);
    // The middle one of several circles can only be centred; all of them are as large as it.
    if (kind == SymbolShape::Fit::Circle)
        inked = QSizeF(1, 1) * (centrableLength(inked.width() * scale, pixels) / scale);
    const auto fitted = [&](double middle, double length) {
        const Span span = onPixels({(middle - length / 2) * scale, length * scale}, pixels);
        return Span{span.start / scale, span.length / scale};
    };
    const Span across = fitted(box.center().x(), inked.width());
    const Span down = fitted(box.center().y(), inked.height());
    // A line along an axis is as thick as its stroke.
    stroke = box.width() == 0 ? across.length : box.height() == 0 ? down.length : stroke;
    const auto factor = [&](double length, double whole) {
        return length == 0 ? 0 : (whole - stroke) / length;
    };
    path = QTransform::fromTranslate(across.start + across.length / 2, down.start + down.length / 2)
               .scale(factor(box.width(), across.length), factor(box.height(), down.length))
               .translate(-box.center().x(), -box.center().y())
               .map(path);
}

/// Draws a symbol in black in its grid, to be `pixels` wide and high: strokes are as wide as the weight asks for, and
/// circles and what is given by its points (polygons, and lines along an axis) begin and end on whole pixels. What is
/// symmetric stays so.
void drawShapes(QPainter &painter, const QString &name, QFont::Weight weight, int pixels)
{
    [[maybe_unused]] bool isKnown = false;
    for (const SymbolShape &shape : SymbolShapes) {
        if (name != QStringView(shape.symbol))
            continue;
        isKnown = true;
        QPainterPath path = pathOf(shape);
        double stroke = shape.stroke > 0 ? shape.stroke : strokeWidth(weight);
        if (shape.fit != SymbolShape::Fit::None)
            fit(path, stroke, shape.fit, pixels);
        painter.setCompositionMode(
            shape.isErased ? QPainter::CompositionMode_DestinationOut : QPainter::CompositionMode_SourceOver);
        painter.setPen(QPen(Qt::black, stroke, Qt::SolidLine, shape.ends, Qt::RoundJoin));
        painter.setBrush(shape.isFilled ? QBrush(Qt::black) : QBrush());
        painter.drawPath(path);
    }
    Q_ASSERT_X(isKnown, "drawShapes", qPrintable(name));
}

/// The symbol in black.
QImage render(const QString &name, int pixels, QFont::Weight weight)
{
    QImage ink(QSize(pixels, pixels) * Fineness, QImage::Format_Alpha8);
    ink.fill(Qt::transparent);
    QPainter painter(&ink);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(ink.width() / Grid, ink.height() / Grid);
    drawShapes(painter, name, weight, pixels);
    painter.end();
    return ink.scaled(pixels, pixels, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
        .convertToFormat(QImage::Format_ARGB32_Premultiplied);
}

} // namespace

int symbolExtent(int pointSize)
{
    // The drawings leave a margin of an eighth on every side of their square.
    return qRound(pointSize * 1.3);
}

QPixmap symbolPixmap(const QString &name, int pixels, const QColor &color, QFont::Weight weight)
{
    const QString key =
        u"symbol %1 %2 %3 %4"_s.arg(name).arg(pixels).arg(color.name(QColor::HexArgb)).arg(weight);
    QPixmap pixmap;
    if (QPixmapCache::find(key, &pixmap))
        return pixmap;
    QImage image = color == Qt::black ? render(name, pixels, weight)
                                      : symbolPixmap(name, pixels, Qt::black, weight).toImage();
    QPainter painter(&image);
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(image.rect(), color);
    painter.end();
    pixmap = QPixmap::fromImage(image);
    QPixmapCache::insert(key, pixmap);
    return pixmap;
}

QImage programPicture(int pixels)
{
    constexpr double Side = 128; // units of the drawing
    QLinearGradient leaf(0, 0, Side, Side);
    leaf.setColorAt(1.0 / 16, QColor(0x7bd88f));
    leaf.setColorAt(15.0 / 16, QColor(0x0f7a5f));
    QImage picture(pixels, pixels, QImage::Format_ARGB32_Premultiplied);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(pixels / Side, pixels / Side);
    QBrush brush(leaf);
    for (const SymbolShape &shape : SymbolShapes) {
        if (shape.symbol == u"org.lumaverdine.Lumaverdine")
            painter.fillPath(pathOf(shape), std::exchange(brush, Qt::white)); // the first one is the ground
    }
    return picture;
}

QRect symbolInk(const QString &name, int pointSize, QFont::Weight weight)
{
    constexpr int HardlySeen = 16; // of 255
    const QImage image = symbolPixmap(name, symbolExtent(pointSize), Qt::black, weight).toImage();
    QRect ink;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (qAlpha(image.pixel(x, y)) > HardlySeen)
                ink |= QRect(x, y, 1, 1);
        }
    }
    return ink;
}

void drawSymbol(QPainter &painter, const QRectF &area, const QString &name, int pointSize,
    const QColor &color, QFont::Weight weight)
{
    const QPointF middle = painter.deviceTransform().mapRect(area).center();
    const QPoint doubled(qRound(2 * middle.x()), qRound(2 * middle.y()));
    const int pixels = centrableLength(symbolExtent(pointSize) * devicePixels(painter), doubled.x());
    const QPixmap pixmap = symbolPixmap(name, pixels, color, weight);
    painter.save();
    enterDevicePixels(painter);
    painter.drawPixmap(
        QPointF((doubled.x() - pixels) / 2.0, std::floor((doubled.y() - pixels) / 2.0)), pixmap);
    painter.restore();
}

QRectF squareByInk(const QRectF &area, const QString &name, int pointSize, QFont::Weight weight)
{
    const QPointF corner = area.center() - QRectF(symbolInk(name, pointSize, weight)).center();
    // On whole points, where the symbol is as large as its ink was measured.
    return {QPointF(std::floor(corner.x()), std::floor(corner.y())), QSizeF(1, 1) * symbolExtent(pointSize)};
}
