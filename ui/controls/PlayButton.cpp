#include "ui/controls/PlayButton.h"

#include "ui/Colors.h"
#include "ui/Symbol.h"

#include <QPainter>
#include <cmath>

using namespace Qt::StringLiterals;

namespace {

/// The largest part of an area that ends with whole pixels: a part of one would be cut off at the button's edge.
QRectF onWholePixels(const QPainter &painter, const QRectF &area)
{
    const QTransform toPixels = painter.deviceTransform();
    const QRectF exact = toPixels.mapRect(area);
    const QPointF start(std::ceil(exact.left()), std::ceil(exact.top()));
    const QPointF end(std::floor(exact.right()), std::floor(exact.bottom()));
    return toPixels.inverted().mapRect(QRectF(start, end));
}

} // namespace

PlayButton::PlayButton()
    : Button(u"Reproducir"_s)
{
}

void PlayButton::setPlaying(bool isPlaying)
{
    if (isPlaying == m_isPlaying)
        return;
    m_isPlaying = isPlaying;
    setHelp(isPlaying ? u"Pausar"_s : u"Reproducir"_s);
    update();
}

QString PlayButton::symbol() const
{
    return m_isPlaying ? u"pause.fill"_s : u"play.fill"_s;
}

double PlayButton::symbolOffset() const
{
    // A centred triangle looks off-centre.
    return m_isPlaying ? 0 : 1.5;
}

void PlayButton::draw(QPainter &painter)
{
    painter.setPen(Qt::NoPen);
    painter.setBrush(primaryColor(palette(), isHovered() ? 0.86 : 1));
    painter.drawEllipse(onWholePixels(painter, rect()));
    const QRectF area = QRectF(rect()).translated(symbolOffset(), 0);
    drawSymbol(painter, area, symbol(), 23, windowBackgroundColor(palette()), QFont::Bold);
}
