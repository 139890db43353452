#include "ui/drawing/DevicePixels.h"

#include <QPainter>
#include <cmath>

double devicePixels(const QPainter &painter)
{
    return painter.deviceTransform().m11();
}

void enterDevicePixels(QPainter &painter)
{
    painter.setWorldTransform(painter.deviceTransform().inverted(), true);
}

double hairline(const QPainter &painter)
{
    return std::floor(devicePixels(painter)) / devicePixels(painter);
}

QRectF onWholePixels(const QPainter &painter, const QRectF &area)
{
    const QTransform toPixels = painter.deviceTransform();
    const QRectF exact = toPixels.mapRect(area);
    const QPointF start(std::ceil(exact.left()), std::ceil(exact.top()));
    const QPointF end(std::floor(exact.right()), std::floor(exact.bottom()));
    return toPixels.inverted().mapRect(QRectF(start, end));
}
