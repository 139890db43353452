#include "tests/ui/Pieces.h"

#include "ui/drawing/Shapes.h"
#include "ui/drawing/Symbol.h"

#include <QFontMetricsF>
#include <QMap>
#include <QPaintEngine>
#include <QPainter>
#include <cmath>
#include <cstdlib>

using namespace Qt::StringLiterals;

namespace {

QColor atOpacity(QColor color, double opacity)
{
    color.setAlphaF(static_cast<float>(opacity));
    return color;
}

QLinearGradient across(const QRectF &place, const QList<QColor> &colors)
{
    QLinearGradient gradient(place.topLeft(), place.bottomRight());
    for (qsizetype i = 0; i < colors.size(); ++i)
        gradient.setColorAt(static_cast<double>(i) / static_cast<double>(colors.size() - 1), colors[i]);
    return gradient;
}

/// How much of a grey picture remains in each row after a blur.
QImage blurredRows(const QImage &image, double sigma)
{
    const int reach = qCeil(3 * sigma);
    QList<double> weights;
    double sum = 0;
    for (int i = -reach; i <= reach; ++i)
        sum += weights.emplace_back(std::exp(-i * i / (2 * sigma * sigma)));
    QImage blurred = image;
    for (int y = 0; y < image.height(); ++y) {
        const uchar *from = image.constScanLine(y);
        for (int x = 0; x < image.width(); ++x) {
            double value = 0;
            for (int i = std::max(-reach, -x); i <= std::min(reach, image.width() - 1 - x); ++i)
                value += weights.at(i + reach) * from[x + i];
            blurred.scanLine(y)[x] = static_cast<uchar>(std::lround(value / sum));
        }
    }
    return blurred;
}

int distance(QRgb a, QRgb b)
{
    if (a == b)
        return 0;
    return std::max(
        {std::abs(qRed(a) - qRed(b)), std::abs(qGreen(a) - qGreen(b)), std::abs(qBlue(a) - qBlue(b))});
}

class TextEngine : public QPaintEngine {
public:
    TextEngine()
        : QPaintEngine(AllFeatures)
    {
    }

    bool begin(QPaintDevice *) override { return true; }
    bool end() override { return true; }
    void updateState(const QPaintEngineState &) override { }
    void drawPixmap(const QRectF &, const QPixmap &, const QRectF &) override { }
    void drawImage(const QRectF &, const QImage &, const QRectF &, Qt::ImageConversionFlags) override { }
    void drawPath(const QPainterPath &) override { }
    void drawTextItem(const QPointF &, const QTextItem &item) override
    {
        const QFont font = item.font();
        texts.append(u"%1: %2 pixels, weight %3, %4"_s.arg(item.text())
                         .arg(font.pixelSize())
                         .arg(font.weight())
                         .arg(font.family()));
    }
    [[nodiscard]] Type type() const override { return User; }

    QStringList texts;
};

/// A device that shows nothing.
class TextRecorder : public QPaintDevice {
public:
    [[nodiscard]] QPaintEngine *paintEngine() const override { return &m_engine; }
    [[nodiscard]] QStringList texts() const
    {
        QStringList sorted = m_engine.texts;
        sorted.sort();
        return sorted;
    }

protected:
    [[nodiscard]] int metric(PaintDeviceMetric metric) const override
    {
        switch (metric) {
        case PdmWidth:
        case PdmHeight:
            return 1000;
        case PdmDpiX:
        case PdmDpiY:
            return 96;
        default:
            return QPaintDevice::metric(metric);
        }
    }

private:
    mutable TextEngine m_engine;
};

} // namespace

QPalette Scheme::palette() const
{
    QPalette palette(text, window);
    palette.setColor(QPalette::Window, window);
    palette.setColor(QPalette::WindowText, text);
    palette.setColor(QPalette::Highlight, accentColor);
#if QT_VERSION >= QT_VERSION_CHECK(6, 6, 0)
    palette.setColor(QPalette::Accent, accentColor);
#endif
    return palette;
}

QColor Scheme::primary(double opacity) const
{
    return atOpacity(text, opacity);
}

QColor Scheme::accent(double opacity) const
{
    return atOpacity(accentColor, opacity);
}

Drawing fill(const QColor &color)
{
    return [=](QPainter &painter, const QRectF &place) { painter.fillRect(place, color); };
}

Drawing circle(const QColor &color)
{
    return [=](QPainter &painter, const QRectF &place) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(color);
        painter.drawEllipse(place);
    };
}

Drawing corners(double radius, const QColor &color)
{
    return [=](QPainter &painter, const QRectF &place) {
        painter.fillPath(smoothCorners(place, radius), color);
    };
}

Drawing hairline(double radius, const QColor &color)
{
    return [=](QPainter &painter, const QRectF &place) { drawHairline(painter, place, radius, color); };
}

Drawing gradient(const QList<QColor> &colors)
{
    return [=](QPainter &painter, const QRectF &place) { painter.fillRect(place, across(place, colors)); };
}

Drawing corners(double radius, const QList<QColor> &colors)
{
    return [=](QPainter &painter, const QRectF &place) {
        painter.fillPath(smoothCorners(place, radius), across(place, colors));
    };
}

Drawing shadow(const QRectF &square, double cornerRadius, double opacity, double blurRadius, double drop)
{
    const QRectF area = square.adjusted(-60, -60, 60, 60).translated(0, drop);
    QImage density(area.size().toSize(), QImage::Format_Grayscale8);
    density.fill(Qt::black);
    QPainter shape(&density);
    shape.setRenderHint(QPainter::Antialiasing);
    shape.translate(-area.topLeft());
    shape.fillPath(smoothCorners(square.translated(0, drop), cornerRadius), Qt::white);
    shape.end();
    const QTransform quarter = QTransform().rotate(90);
    density = blurredRows(blurredRows(density, blurRadius / 2).transformed(quarter), blurRadius / 2);
    QImage blurred(density.size(), QImage::Format_RGBA64_Premultiplied);
    blurred.fill(atOpacity(Qt::black, opacity));
    density.reinterpretAsFormat(QImage::Format_Alpha8);
    blurred.setAlphaChannel(density);
    QPainter cut(&blurred);
    cut.setRenderHint(QPainter::Antialiasing);
    cut.setCompositionMode(QPainter::CompositionMode_DestinationOut);
    cut.translate(-area.topLeft());
    cut.fillPath(smoothCorners(square, cornerRadius), Qt::black);
    cut.end();
    return [=](QPainter &painter, const QRectF &) { painter.drawImage(area.topLeft(), blurred); };
}

Drawing symbol(const QString &name, int size, const QColor &color, QFont::Weight weight)
{
    return [=](QPainter &painter, const QRectF &place) {
        drawSymbol(painter, place, name, size, color, weight);
    };
}

Drawing text(const QString &text, const QFont &font, const QColor &color, Qt::Alignment alignment)
{
    return [=](QPainter &painter, const QRectF &place) {
        const QFontMetricsF metrics(font);
        const bool fits = metrics.horizontalAdvance(text) < place.width() + 1;
        const QString line = fits ? text : metrics.elidedText(text, Qt::ElideRight, place.width());
        const double free = place.width() - metrics.horizontalAdvance(line);
        const double left = alignment.testFlag(Qt::AlignRight) ? free
            : alignment.testFlag(Qt::AlignHCenter)             ? free / 2
                                                               : 0;
        const double top = std::floor((place.height() - QFontMetrics(font).height()) / 2);
        painter.setFont(font);
        painter.setPen(color);
        painter.drawText(place.topLeft() + QPointF(left, top + metrics.ascent()), line);
    };
}

Drawing all(const QList<Drawing> &drawings)
{
    return [=](QPainter &painter, const QRectF &place) {
        for (const Drawing &drawing : drawings)
            drawing(painter, place);
    };
}

Drawing faded(double opacity, const Drawing &drawing)
{
    return [=](QPainter &painter, const QRectF &place) {
        QImage layer(
            painter.device()->width(), painter.device()->height(), QImage::Format_ARGB32_Premultiplied);
        layer.fill(Qt::transparent);
        QPainter onLayer(&layer);
        onLayer.setRenderHint(QPainter::Antialiasing);
        drawing(onLayer, place);
        onLayer.end();
        painter.setOpacity(opacity);
        painter.drawImage(0, 0, layer);
        painter.setOpacity(1);
    };
}

int lineHeight(const QFont &font)
{
    return qCeil(QFontMetricsF(font).height());
}

void draw(const QList<Piece> &pieces, QPaintDevice &device)
{
    QPainter painter(&device);
    painter.setRenderHint(QPainter::Antialiasing);
    for (const Piece &piece : pieces) {
        if (piece.drawing)
            piece.drawing(painter, piece.place);
    }
}

QStringList textsIn(const std::function<void(QPaintDevice &device)> &draw)
{
    TextRecorder recorder;
    draw(recorder);
    return recorder.texts();
}

QImage pictureOf(const QList<Piece> &pieces, QSize size)
{
    QImage picture(size, QImage::Format_ARGB32_Premultiplied);
    draw(pieces, picture);
    return picture;
}

QString differences(const QImage &shown, const QImage &expected, const QList<Piece> &pieces)
{
    QMap<qsizetype, std::pair<int, QString>> found; // by piece: how many pixels, and the first of them
    for (int y = 0; y < shown.height(); ++y) {
        const auto *shownLine = reinterpret_cast<const QRgb *>(shown.constScanLine(y));
        const auto *expectedLine = reinterpret_cast<const QRgb *>(expected.constScanLine(y));
        for (int x = 0; x < shown.width(); ++x) {
            const int apart = distance(shownLine[x], expectedLine[x]);
            if (apart <= 1)
                continue;
            qsizetype piece = pieces.size() - 1;
            while (piece > 0 && !pieces[piece].place.contains(QPointF(x + 0.5, y + 0.5)))
                --piece;
            if (!pieces[piece].drawing || apart <= pieces[piece].tolerance)
                continue;
            auto &[count, first] = found[piece];
            if (++count == 1)
                first = u"%1, %2 is %3, not %4"_s.arg(x).arg(y).arg(
                    shown.pixelColor(x, y).name(), expected.pixelColor(x, y).name());
        }
    }
    QStringList lines;
    for (const auto &[piece, difference] : found.asKeyValueRange())
        lines.append(
            u"%1: %2 pixels; %3"_s.arg(pieces[piece].name).arg(difference.first).arg(difference.second));
    return lines.join(u'\n');
}
