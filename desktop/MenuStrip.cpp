#include "desktop/MenuStrip.h"

#include "desktop/Foreground.h"

#include <QPainter>

void MenuStrip::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    for (QAction *menu : actions())
        drawTitle(painter, *menu, actionGeometry(menu));
}

void MenuStrip::drawTitle(QPainter &painter, const QAction &menu, const QRect &place) const
{
    if (activeAction() == &menu) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(foreground(palette(), HoverOpacity));
        painter.drawRoundedRect(place, 6, 6);
    }
    painter.setPen(foreground(palette(), isActiveWindow() || activeAction() ? 0.8F : 0.62F));
    painter.drawText(place, Qt::AlignCenter | Qt::TextHideMnemonic, menu.text());
}
