#include "ui/drawing/SymbolDrawing.h"

#include <QPolygonF>
#include <QXmlStreamReader>
#include <QXmlStreamWriter>
#include <QtMath>
#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

namespace {

constexpr double Grid = 24; // units a side
constexpr double Tie = 1e-6; // what is this near to a half is one

/// Units: 1.65 for a regular font.
double strokeWidth(QFont::Weight weight)
{
    return 0.65 + 0.0025 * static_cast<int>(weight);
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

/// Fits circles and shapes that are given by points, with the strokes around them, to the pixels.
class PixelFit {
public:
    PixelFit(double stroke, int pixels)
        : m_stroke(stroke)
        , m_pixels(pixels)
        , m_scale(pixels / Grid)
    {
    }

    void fitCircle(QXmlStreamAttributes &attributes) const
    {
        const auto number = [&](QLatin1StringView name) { return attributes.value(name).toDouble(); };
        // The middle one of several can only be centred; all of them are as large as it.
        const double exact = (2 * number("r"_L1) + m_stroke) * m_scale;
        const double diameter = centrableLength(exact, m_pixels) / m_scale;
        const double inner = std::max(0.0, diameter - m_stroke);
        const Span across = fitted(number("cx"_L1) - inner / 2, inner);
        const Span down = fitted(number("cy"_L1) - inner / 2, inner);
        attributes.clear();
        attributes.append(u"cx"_s, QString::number(across.start + across.length / 2, 'f', 6));
        attributes.append(u"cy"_s, QString::number(down.start + down.length / 2, 'f', 6));
        attributes.append(u"r"_s, QString::number(inner / 2, 'f', 6));
    }

    void fitPoints(QXmlStreamAttributes &attributes) const
    {
        QPolygonF points = parsed(attributes.value(u"points"_s));
        const QRectF box = points.boundingRect();
        const Span across = fitted(box.left(), box.width());
        const Span down = fitted(box.top(), box.height());
        // A line along an axis is as thick as its stroke.
        const double stroke = box.width() == 0 ? across.length : box.height() == 0 ? down.length : m_stroke;
        for (QPointF &point : points) {
            point.setX(moved(point.x() - box.left(), box.width(), across, stroke));
            point.setY(moved(point.y() - box.top(), box.height(), down, stroke));
        }
        attributes.clear();
        attributes.append(u"points"_s, written(points));
        attributes.append(u"stroke-width"_s, QString::number(stroke));
    }

private:
    /// Where a shape that begins at `start` comes to lie with its stroke, in units.
    [[nodiscard]] Span fitted(double start, double length) const
    {
        const Span inked{(start - m_stroke / 2) * m_scale, (length + m_stroke) * m_scale};
        const Span whole = onPixels(inked, m_pixels);
        return {whole.start / m_scale, whole.length / m_scale};
    }

    static double moved(double offset, double length, const Span &target, double stroke)
    {
        const double share = length == 0 ? 0 : offset / length;
        return target.start + stroke / 2 + share * (target.length - stroke);
    }

    static QPolygonF parsed(QStringView text)
    {
        QPolygonF points;
        for (const QStringView pair : text.split(u' ')) {
            const qsizetype comma = pair.indexOf(u',');
            points.append({pair.first(comma).toDouble(), pair.sliced(comma + 1).toDouble()});
        }
        return points;
    }

    static QString written(const QPolygonF &points)
    {
        QStringList pairs;
        for (const QPointF &point : points)
            pairs.append(u"%1,%2"_s.arg(point.x(), 0, 'f', 6).arg(point.y(), 0, 'f', 6));
        return pairs.join(u' ');
    }

    double m_stroke;
    int m_pixels;
    double m_scale; ///< pixels a unit
};

} // namespace

int centrableLength(double length, int room)
{
    const int odd = room % 2;
    const int shorter = 2 * qFloor((length - odd) / 2) + odd;
    const int longer = shorter + 2;
    return length * length < shorter * longer ? shorter : longer;
}

QByteArray symbolDrawing(const QByteArray &svg, QFont::Weight weight, int pixels)
{
    const double stroke = strokeWidth(weight);
    const PixelFit pixelFit(stroke, pixels);
    QByteArray drawing;
    QXmlStreamWriter writer(&drawing);
    QXmlStreamReader reader(svg);
    reader.setNamespaceProcessing(false);
    while (!reader.atEnd()) {
        reader.readNext();
        if (reader.isEndElement())
            writer.writeEndElement();
        if (!reader.isStartElement())
            continue;
        QXmlStreamAttributes attributes = reader.attributes();
        if (reader.name() == u"svg")
            attributes.append(u"stroke-width"_s, QString::number(stroke));
        else if (attributes.hasAttribute(u"points"_s))
            pixelFit.fitPoints(attributes);
        else if (reader.name() == u"circle")
            pixelFit.fitCircle(attributes);
        writer.writeStartElement(reader.name().toString());
        writer.writeAttributes(attributes);
    }
    return drawing;
}
