#include "ui/controls/Backdrop.h"

#include "ui/drawing/Colors.h"
#include "ui/drawing/Shapes.h"

#include <QPaintEvent>
#include <QPainter>
#include <algorithm>
#include <array>

namespace {

constexpr int Steps = 512; // along the diagonal, so many that each is a small part of a colour's

// Bayer's matrix for ordered dithering: in which order the pixels of a square take on the next colour.
constexpr int Side = 4;
constexpr std::array<int, 16> Order{0, 8, 2, 10, 12, 4, 14, 6, 3, 11, 1, 9, 15, 7, 13, 5};

double tintAt(double share)
{
    return share < 0.5 ? 0.04 * (1 - 2 * share) : 0.025 * (2 * share - 1);
}

} // namespace

void Backdrop::paintEvent(QPaintEvent *event)
{
    mixColors();
    QPainter painter(this);
    const QTransform toPixels = painter.deviceTransform();
    const QRectF whole = toPixels.mapRect(QRectF(rect()));
    enterDevicePixels(painter);
    for (const QRect &part : event->region())
        drawPart(painter, toPixels.mapRect(QRectF(part)).toAlignedRect(), whole);
}

void Backdrop::mixColors()
{
    const QColor ground = windowBackgroundColor(palette());
    const QColor primary = primaryColor(palette());
    if (ground == m_ground && primary == m_primary)
        return;
    m_ground = ground;
    m_primary = primary;
    m_colors.clear();
    const QRgb under = ground.rgb();
    const QRgb over = primary.rgb();
    for (int step = 0; step <= Steps + 1; ++step) { // with one for what begins beyond the last pixel
        const double tint = tintAt(std::min(1.0, static_cast<double>(step) / Steps));
        for (const int place : Order) {
            const auto mix = [&](int bottom, int top) {
                return static_cast<int>(bottom + (top - bottom) * tint + (place + 0.5) / Order.size());
            };
            m_colors.append(qRgb(mix(qRed(under), qRed(over)), mix(qGreen(under), qGreen(over)),
                mix(qBlue(under), qBlue(over))));
        }
    }
}

/// In strips, so that a large window needs no picture of its size.
void Backdrop::drawPart(QPainter &painter, const QRect &part, const QRectF &whole) const
{
    constexpr int StripHeight = 16;
    constexpr quint32 Unit = 1 << 16; // of a step, in whole numbers
    constexpr quint32 Last = Steps * Unit;
    const QPointF step = QPointF(whole.width(), whole.height())
        * (Last / (whole.width() * whole.width() + whole.height() * whole.height()));
    const int stepAcross = qRound(step.x());
    const QPoint corner = whole.toAlignedRect().topLeft();
    QImage strip(part.width(), std::min(part.height(), StripHeight), QImage::Format_RGB32);
    for (int top = part.top(); top <= part.bottom(); top += StripHeight) {
        const int height = std::min(StripHeight, part.bottom() + 1 - top);
        for (int y = top; y < top + height; ++y) {
            // The same for a pixel whatever part is drawn.
            quint32 place = qRound((y - corner.y()) * step.y()) + (part.left() - corner.x()) * stepAcross;
            auto *pixel = reinterpret_cast<QRgb *>(strip.scanLine(y - top));
            const QRgb *colors = m_colors.constData() + static_cast<qsizetype>(y % Side * Side);
            const quint32 end = part.right() + 1;
            for (quint32 x = part.left(); x < end; ++x, place += stepAcross)
                *pixel++ = colors[place / Unit * 16 + x % Side];
        }
        painter.drawImage(QPoint(part.left(), top), strip, QRect(0, 0, part.width(), height));
    }
}
