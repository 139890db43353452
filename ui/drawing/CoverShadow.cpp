#include "ui/drawing/CoverShadow.h"

#include "ui/drawing/DevicePixels.h"
#include "ui/drawing/SmoothCorners.h"

#include <QPainter>
#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>

namespace {

constexpr double Opacity = 52.0 / 256; // of which the rasteriser, in whole steps, makes 51 of 255: 0.2
constexpr double Deviation = 9; // points: half of the blur's radius
constexpr int Margin = 27; // three deviations: nothing is seen of what lies farther out
constexpr int Drop = 8;

constexpr int Step = 4; // points a pixel: what is blurred has no finer details

/// Every row blurred by a bell curve, in a picture turned about its diagonal.
QImage blurredRows(const QImage &image)
{
    constexpr int Reach = Margin / Step;
    std::array<double, 2 * Reach + 1> bell{};
    for (int i = 0; i <= 2 * Reach; ++i)
        bell[i] = std::exp(-std::pow((i - Reach) * Step / Deviation, 2) / 2);
    const double sum = std::accumulate(bell.begin(), bell.end(), 0.0);
    QImage blurred(image.height(), image.width(), QImage::Format_Alpha8);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const int first = std::max(0, x - Reach);
            const uchar *row = image.constScanLine(y);
            const double density = std::inner_product(row + first,
                row + std::min(x + Reach + 1, image.width()), bell.begin() + (first - x + Reach), 0.0);
            blurred.scanLine(x)[y] = static_cast<uchar>(std::lround(density / sum));
        }
    }
    return blurred;
}

} // namespace

CoverShadow::CoverShadow(const QSize &cover, double radius)
    : m_cover(QPoint(Margin, Margin - Drop), cover)
    , m_radius(radius)
{
    resize(cover + 2 * QSize(Margin, Margin));
    QImage shape(size() / Step, QImage::Format_Alpha8);
    shape.fill(Qt::transparent);
    QPainter painter(&shape);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(1.0 / Step, 1.0 / Step);
    painter.fillPath(smoothCorners(m_cover.translated(0, Drop), radius), Qt::black);
    painter.end();
    m_density = blurredRows(blurredRows(shape));
}

void CoverShadow::follow(const QWidget &cover)
{
    if (parentWidget() != cover.parentWidget())
        setParent(cover.parentWidget());
    move(cover.pos() - m_cover.topLeft());
    lower();
    setVisible(parentWidget() && !cover.isHidden());
}

void CoverShadow::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
    painter.setOpacity(Opacity);
    // The cover lets its background shine through, which must not be darker there.
    QPainterPath around = smoothCorners(onWholePixels(painter, m_cover), m_radius);
    around.addRect(rect());
    QBrush brush(m_density);
    brush.setTransform(QTransform::fromScale(Step, Step));
    painter.fillPath(around, brush);
}
