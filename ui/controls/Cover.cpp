#include "ui/controls/Cover.h"

#include "ui/Colors.h"
#include "ui/Fonts.h"
#include "ui/Symbol.h"
#include "ui/controls/Roles.h"

#include <QPainter>
#include <QPainterPath>

using namespace Qt::StringLiterals;

namespace {

constexpr double CornerRadius = 18;

QLinearGradient groundTint(const QRect &area, const QPalette &palette)
{
    QLinearGradient tint(area.topLeft(), area.bottomRight());
    tint.setColorAt(0, primaryColor(palette, 0.15));
    tint.setColorAt(1, primaryColor(palette, 0.045));
    return tint;
}

} // namespace

Cover::Cover()
{
    installAccessibleRoles();
    setAccessibleName(u"Portada"_s);
    setFixedSize(190, 190);
}

void Cover::setTrack(const std::optional<Track> &track)
{
    if (track == m_track)
        return;
    m_track = track;
    update();
}

void Cover::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QPainterPath outline;
    outline.addRoundedRect(rect(), CornerRadius, CornerRadius);
    painter.fillPath(outline, groundTint(rect(), palette()));

    if (const QImage picture = this->picture(); picture.isNull()) {
        drawPlaceholder(painter);
    } else {
        painter.setClipPath(outline);
        painter.drawImage(rect(), picture);
        painter.setClipping(false);
    }
    painter.strokePath(outline, QPen(primaryColor(palette(), 0.1), 1));
}

QImage Cover::picture() const
{
    const bool hasArtwork = m_track && m_track->artwork;
    return hasArtwork ? m_track->artwork->scaledToFill(size() * devicePixelRatioF()) : QImage();
}

void Cover::drawPlaceholder(QPainter &painter) const
{
    constexpr int Gap = 12;
    painter.setFont(systemFont(13, QFont::DemiBold));
    const int symbolHeight = symbolExtent(55);
    const int textHeight = painter.fontMetrics().height();
    const int top = (height() - symbolHeight - Gap - textHeight) / 2;
    drawSymbol(painter, QRect(0, top, width(), symbolHeight), u"music.note"_s, 55, secondaryColor(palette()),
        QFont::Light);
    painter.setPen(secondaryColor(palette()));
    painter.drawText(
        QRect(0, top + symbolHeight + Gap, width(), textHeight), Qt::AlignCenter, u"Lumaverdine"_s);
}
