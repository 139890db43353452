#include "ui/drawing/DrawAsWhole.h"

#include "ui/drawing/DevicePixels.h"

#include <QPainter>
#include <QWidget>

void drawAsWhole(QWidget &widget, double opacity, const std::function<void(QPainter &)> &draw)
{
    QPainter painter(&widget);
    painter.setRenderHint(QPainter::Antialiasing);
    if (opacity == 1) {
        draw(painter);
        return;
    }
    // The layer lies on the pixels of the window, so that what fits itself to pixels comes out the same.
    const double ratio = devicePixels(painter);
    const QRectF exact = painter.deviceTransform().mapRect(QRectF(widget.rect()));
    const QRect pixels = exact.toAlignedRect();
    QPixmap layer(pixels.size());
    layer.setDevicePixelRatio(ratio);
    layer.fill(Qt::transparent);
    QPainter layerPainter(&layer);
    layerPainter.translate((exact.topLeft() - pixels.topLeft()) / ratio);
    layerPainter.setRenderHint(QPainter::Antialiasing);
    layerPainter.setFont(widget.font());
    draw(layerPainter);
    layerPainter.end();
    layer.setDevicePixelRatio(1);
    enterDevicePixels(painter);
    painter.setOpacity(opacity);
    painter.drawPixmap(pixels.topLeft(), layer);
}
