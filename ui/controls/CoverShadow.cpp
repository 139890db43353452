#include "ui/controls/CoverShadow.h"

#include "ui/SmoothCorners.h"

#include <QPainter>
#include <QPixmapCache>
#include <algorithm>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

constexpr double Opacity = 0.2;
constexpr int BlurRadius = 18;
constexpr int Drop = 8;

// Blurred by three means over a radius's width each, which come close to a bell curve, the shadow reaches this
// far.
constexpr int Margin = BlurRadius * 3 / 2;

/// Replaces every value by the mean of the `window` values around it in its row; `window` is odd.
void blurRows(QImage &image, int window)
{
    const int reach = window / 2;
    std::vector<uchar> row(static_cast<std::size_t>(image.width() + 2 * window));
    for (int y = 0; y < image.height(); ++y) {
        uchar *pixels = image.scanLine(y);
        std::copy_n(pixels, image.width(), row.begin() + window);
        int sum = 0;
        for (auto entering = row.begin() + window - reach; entering < row.begin() + window + reach;
             ++entering)
            sum += *entering;
        auto entering = row.begin() + window + reach;
        for (int x = 0; x < image.width(); ++x, ++entering) {
            sum += *entering;
            pixels[x] = static_cast<uchar>((sum + reach) / window);
            sum -= *(entering - (window - 1));
        }
    }
}

QImage blurred(QImage image, int window)
{
    for (int pass = 0; pass < 3; ++pass)
        blurRows(image, window);
    return image;
}

/// How dense the shadow is at each pixel, for one of this many points with its outline at the margin.
QImage density(QSize points, const QPainterPath &outline, double ratio)
{
    QImage shape(points * ratio, QImage::Format_Grayscale8);
    shape.fill(Qt::black);
    QPainter painter(&shape);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(ratio, ratio);
    painter.fillPath(outline, Qt::white);
    painter.end();
    const int window = qRound(BlurRadius * ratio) | 1;
    const QTransform quarter = QTransform().rotate(90);
    QImage blurredShape = blurred(blurred(shape, window).transformed(quarter), window);
    blurredShape.reinterpretAsFormat(QImage::Format_Alpha8);
    return blurredShape;
}

QPixmap drawn(QSize points, double radius, double ratio)
{
    const QRectF square = QRectF(QPointF(), points).adjusted(Margin, Margin, -Margin, -Margin);
    QImage image(points * ratio, QImage::Format_ARGB32_Premultiplied);
    image.fill(QColor::fromRgbF(0, 0, 0, Opacity));
    image.setAlphaChannel(density(points, smoothCorners(square, radius), ratio));

    // The cover lets its background shine through, which must not be darker there.
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(ratio, ratio);
    painter.setCompositionMode(QPainter::CompositionMode_DestinationOut);
    const QRectF cover = square.translated(0, -Drop).adjusted(0.5, 0.5, -0.5, -0.5);
    painter.fillPath(smoothCorners(cover, radius), Qt::black);
    painter.end();
    image.setDevicePixelRatio(ratio);
    return QPixmap::fromImage(image);
}

} // namespace

CoverShadow::CoverShadow(double radius)
    : m_radius(radius)
{
    setAttribute(Qt::WA_TransparentForMouseEvents);
}

void CoverShadow::follow(const QWidget &cover)
{
    if (parentWidget() != cover.parentWidget())
        setParent(cover.parentWidget());
    setGeometry(cover.geometry().translated(0, Drop).adjusted(-Margin, -Margin, Margin, Margin));
    lower();
    setVisible(parentWidget() && !cover.isHidden());
}

void CoverShadow::paintEvent(QPaintEvent *)
{
    const double ratio = devicePixelRatioF();
    const QString key = u"shadow %1 %2 %3"_s.arg(width()).arg(m_radius).arg(ratio);
    QPixmap pixmap;
    if (!QPixmapCache::find(key, &pixmap)) {
        pixmap = drawn(size(), m_radius, ratio);
        QPixmapCache::insert(key, pixmap);
    }
    QPainter(this).drawPixmap(0, 0, pixmap);
}
