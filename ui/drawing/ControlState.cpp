#include "ui/drawing/ControlState.h"

#include "ui/drawing/Colors.h"
#include "ui/drawing/Shapes.h"

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

void drawFocusRing(QPainter &painter, const QRectF &bounds, const QPalette &palette, double radius)
{
    constexpr double Middle = FocusRingWidth / 2;
    painter.setPen(QPen(accentMarkColor(palette), FocusRingWidth));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(
        bounds.adjusted(Middle, Middle, -Middle, -Middle), radius - Middle, radius - Middle);
}

bool showsFocus(Qt::FocusReason reason, bool didShow)
{
    const bool isByKey = reason == Qt::TabFocusReason || reason == Qt::BacktabFocusReason;
    return isByKey || (didShow && reason != Qt::MouseFocusReason);
}
