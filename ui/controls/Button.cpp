#include "ui/controls/Button.h"

#include "ui/drawing/ControlState.h"
#include "ui/drawing/DevicePixels.h"

#include <QKeyEvent>

Button::Button(const QString &help)
{
    setHelp(help);
    setFocusPolicy(Qt::TabFocus);
    setAttribute(Qt::WA_Hover);
}

void Button::setHelp(const QString &help)
{
    if (help == toolTip())
        return;
    setToolTip(help);
    setAccessibleName(help);
}

void Button::paintEvent(QPaintEvent *)
{
    const double opacity = !isEnabled() ? DisabledOpacity : isDown() ? PressedOpacity : 1;
    drawAsWhole(*this, opacity, [this](QPainter &painter) {
        const QRectF whole = onWholePixels(painter, rect());
        if (hasFocus())
            drawFocusRing(painter, whole, palette(), cornerRadius());
        const double inset = hasFocus() ? FocusRingRoom : 0;
        draw(painter, whole.adjusted(inset, inset, -inset, -inset), cornerRadius() - inset);
    });
}

void Button::keyPressEvent(QKeyEvent *event)
{
    const bool isReturn = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (isReturn && !event->isAutoRepeat())
        click();
    else
        event->ignore();
}

void Button::keyReleaseEvent(QKeyEvent *event)
{
    event->ignore();
}
