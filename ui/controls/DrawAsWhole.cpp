#include "ui/controls/DrawAsWhole.h"

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
    const double ratio = widget.devicePixelRatioF();
    QPixmap layer((QSizeF(widget.size()) * ratio).toSize());
    layer.setDevicePixelRatio(ratio);
    layer.fill(Qt::transparent);
    QPainter layerPainter(&layer);
    layerPainter.setRenderHint(QPainter::Antialiasing);
    layerPainter.setFont(widget.font());
    draw(layerPainter);
    layerPainter.end();
    painter.setOpacity(opacity);
    painter.drawPixmap(0, 0, layer);
}
