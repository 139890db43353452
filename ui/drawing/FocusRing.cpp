#include "ui/drawing/FocusRing.h"

#include "ui/drawing/Colors.h"

#include <QPainter>

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
    switch (reason) {
    case Qt::TabFocusReason:
    case Qt::BacktabFocusReason:
        return true;
    case Qt::MouseFocusReason:
        return false;
    default:
        return didShow;
    }
}
