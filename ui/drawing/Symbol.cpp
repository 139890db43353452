#include "ui/drawing/Symbol.h"

#include "ui/drawing/DevicePixels.h"
#include "ui/drawing/SymbolDrawing.h"

#include <QFile>
#include <QPainter>
#include <QPixmapCache>
#include <QSvgRenderer>
#include <cmath>

using namespace Qt::StringLiterals;

namespace {

// The rasteriser misses parts of pixels where strokes bend, which shows in small symbols.
constexpr int Fineness = 4;

QByteArray drawingNamed(const QString &name)
{
    QFile file(u":/symbols/%1.svg"_s.arg(name));
    const bool isKnown = file.open(QIODevice::ReadOnly);
    Q_ASSERT_X(isKnown, "symbolPixmap", qPrintable(name));
    return isKnown ? file.readAll() : QByteArray();
}

/// How much ink there is at each pixel.
QImage inkOf(const QByteArray &drawing, int pixels)
{
    QSvgRenderer renderer(drawing);
    Q_ASSERT(renderer.isValid());
    QImage fine(QSize(pixels, pixels) * Fineness, QImage::Format_Grayscale8);
    fine.fill(Qt::white);
    QPainter painter(&fine);
    painter.setRenderHint(QPainter::Antialiasing);
    renderer.render(&painter, fine.rect());
    painter.end();
    fine.invertPixels();
    QImage ink = fine.scaled(pixels, pixels, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
                     .convertToFormat(QImage::Format_Grayscale8);
    ink.reinterpretAsFormat(QImage::Format_Alpha8);
    return ink;
}

QPixmap render(const QString &name, int pixels, const QColor &color, QFont::Weight weight)
{
    QImage image(pixels, pixels, QImage::Format_ARGB32_Premultiplied);
    image.fill(color);
    image.setAlphaChannel(inkOf(symbolDrawing(drawingNamed(name), weight, pixels), pixels));
    return QPixmap::fromImage(image);
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
    pixmap = render(name, pixels, color, weight);
    QPixmapCache::insert(key, pixmap);
    return pixmap;
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
