#include "ui/Symbol.h"

#include <QPaintDevice>
#include <QPainter>
#include <QPixmapCache>
#include <QSvgRenderer>
#include <cmath>

using namespace Qt::StringLiterals;

namespace {

QPixmap render(const QString &name, int extent, const QColor &color, double devicePixelRatio)
{
    QSvgRenderer drawing(u":/symbols/%1.svg"_s.arg(name));
    Q_ASSERT_X(drawing.isValid(), "symbolPixmap", qPrintable(name));
    const int pixels = qRound(extent * devicePixelRatio);
    QPixmap pixmap(pixels, pixels);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    drawing.render(&painter, QRectF(0, 0, pixels, pixels));
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(pixmap.rect(), color);
    painter.end();
    pixmap.setDevicePixelRatio(devicePixelRatio);
    return pixmap;
}

double onDevicePixel(double coordinate, double devicePixelRatio)
{
    return std::round(coordinate * devicePixelRatio) / devicePixelRatio;
}

} // namespace

int symbolExtent(int pointSize)
{
    // The drawings leave a margin of an eighth on every side of their square.
    return qRound(pointSize * 1.3);
}

QPixmap symbolPixmap(const QString &name, int pointSize, const QColor &color, double devicePixelRatio)
{
    const int extent = symbolExtent(pointSize);
    const QString key =
        u"symbol %1 %2 %3 %4"_s.arg(name).arg(extent).arg(color.name(QColor::HexArgb)).arg(devicePixelRatio);
    QPixmap pixmap;
    if (QPixmapCache::find(key, &pixmap))
        return pixmap;
    pixmap = render(name, extent, color, devicePixelRatio);
    QPixmapCache::insert(key, pixmap);
    return pixmap;
}

void drawSymbol(
    QPainter &painter, const QRectF &area, const QString &name, int pointSize, const QColor &color)
{
    const double ratio = painter.device()->devicePixelRatioF();
    const double extent = symbolExtent(pointSize);
    const QPointF corner = area.center() - QPointF(extent / 2, extent / 2);
    painter.drawPixmap(QPointF(onDevicePixel(corner.x(), ratio), onDevicePixel(corner.y(), ratio)),
        symbolPixmap(name, pointSize, color, ratio));
}
