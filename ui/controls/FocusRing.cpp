#include "ui/controls/FocusRing.h"

#include "ui/Colors.h"

#include <QPainter>

void drawFocusRing(QPainter &painter, const QRect &bounds, const QPalette &palette, double radius)
{
    painter.setPen(QPen(accentColor(palette, 0.8), 2));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(QRectF(bounds).adjusted(1, 1, -1, -1), radius - 1, radius - 1);
}
