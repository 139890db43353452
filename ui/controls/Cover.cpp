#include "ui/controls/Cover.h"

#include "desktop/AccessibleFactory.h"
#include "ui/drawing/Colors.h"
#include "ui/drawing/Fonts.h"
#include "ui/drawing/Shapes.h"
#include "ui/drawing/Symbol.h"

#include <QEvent>
#include <QPainter>
#include <QStyle>
#include <QtMath>
#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>

using namespace Qt::StringLiterals;

namespace {

constexpr QSize Extent(190, 190);
constexpr double CornerRadius = 18;
constexpr int FadeDuration = 250; // milliseconds

constexpr double ShadowOpacity = 52.0 / 256; // of which the rasteriser, in whole steps, makes 51 of 255: 0.2
constexpr double ShadowDeviation = 9; // points: half of the blur's radius
constexpr int ShadowMargin = 27; // three deviations: nothing is seen of what lies farther out
constexpr int ShadowDrop = 8;

constexpr int ShadowStep = 4; // points a pixel: what is blurred has no finer details

QLinearGradient groundTint(const QRectF &area, const QPalette &palette)
{
    QLinearGradient tint(area.topLeft(), area.bottomRight());
    tint.setColorAt(0, primaryColor(palette, 0.15));
    tint.setColorAt(1, primaryColor(palette, 0.045));
    return tint;
}

QEasingCurve easeInOut()
{
    QEasingCurve curve(QEasingCurve::BezierSpline);
    curve.addCubicBezierSegment({0.42, 0}, {0.58, 1}, {1, 1});
    return curve;
}

/// Every row blurred by a bell curve, in a picture turned about its diagonal.
QImage blurredRows(const QImage &image)
{
    constexpr int Reach = ShadowMargin / ShadowStep;
    std::array<double, 2 * Reach + 1> bell{};
    for (int i = 0; i <= 2 * Reach; ++i)
        bell[i] = std::exp(-std::pow((i - Reach) * ShadowStep / ShadowDeviation, 2) / 2);
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

/// Lies behind everything in the cover's parent and takes no room in the layout.
class Cover::Shadow : public QWidget {
public:
    Shadow();

    /// Moves behind `cover`; hidden if the cover is, or has no parent.
    void follow(const QWidget &cover);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QRect m_cover{QPoint(ShadowMargin, ShadowMargin - ShadowDrop), Extent}; ///< where it lies on the shadow
    QImage m_density;
};

Cover::Shadow::Shadow()
{
    resize(Extent + 2 * QSize(ShadowMargin, ShadowMargin));
    QImage shape(size() / ShadowStep, QImage::Format_Alpha8);
    shape.fill(Qt::transparent);
    QPainter painter(&shape);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(1.0 / ShadowStep, 1.0 / ShadowStep);
    painter.fillPath(smoothCorners(m_cover.translated(0, ShadowDrop), CornerRadius), Qt::black);
    painter.end();
    m_density = blurredRows(blurredRows(shape));
}

void Cover::Shadow::follow(const QWidget &cover)
{
    if (parentWidget() != cover.parentWidget())
        setParent(cover.parentWidget());
    move(cover.pos() - m_cover.topLeft());
    lower();
    setVisible(parentWidget() && !cover.isHidden());
}

void Cover::Shadow::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
    painter.setOpacity(ShadowOpacity);
    // The cover lets its background shine through, which must not be darker there.
    QPainterPath around = smoothCorners(onWholePixels(painter, m_cover), CornerRadius);
    around.addRect(rect());
    QBrush brush(m_density);
    brush.setTransform(QTransform::fromScale(ShadowStep, ShadowStep));
    painter.fillPath(around, brush);
}

Cover::Cover(ArtworkLoader &artworks)
    : m_artworks(artworks)
    , m_shadow(new Shadow)
{
    installAccessible<Cover, QAccessibleWidget, QAccessible::Graphic>();
    setAccessibleName(tr("Portada"));
    setFixedSize(Extent);
    m_fade.setStartValue(0.0);
    m_fade.setEndValue(1.0);
    m_fade.setDuration(FadeDuration);
    m_fade.setEasingCurve(easeInOut());
    connect(&m_fade, &QVariantAnimation::valueChanged, this, qOverload<>(&QWidget::update));
    connect(&m_fade, &QVariantAnimation::finished, this, [this] { m_former = {}; });
    connect(&artworks, &ArtworkLoader::changed, this, [this](const Fingerprint &picture) {
        if (m_picture && m_picture->fingerprint() == picture)
            showWantedFace();
    });
}

Cover::~Cover()
{
    delete m_shadow;
}

void Cover::setPicture(const QUuid &name, const std::optional<Artwork> &picture)
{
    if (name == m_name)
        return;
    m_name = name;
    m_picture = picture;
    m_artworks.hold(picture);
    showWantedFace();
}

void Cover::prepare(const Artwork &picture)
{
    (void)m_artworks.image(picture, pixels());
}

QSize Cover::pixels() const
{
    return QSize(1, 1) * qFloor(width() * devicePixelRatioF());
}

Cover::Face Cover::wantedFace()
{
    if (!m_picture)
        return {};
    const Fingerprint picture = m_picture->fingerprint();
    const bool isShown = m_face.picture == picture;
    if (isShown && m_face.image.size() == pixels())
        return m_face;
    const ArtworkLoader::Loaded loaded = m_artworks.image(*m_picture, pixels());
    if (!loaded.image.isNull())
        return {false, picture, loaded.image};
    if (loaded.isAwaited)
        return isShown ? m_face : Face{false, {}, {}};
    return {};
}

void Cover::showWantedFace()
{
    const Face face = wantedFace();
    const bool isOther = face.isPlaceholder != m_face.isPlaceholder || face.picture != m_face.picture;
    if (isOther && isVisible() && isMotionWelcome()) {
        m_former = seen();
        m_fade.stop();
        m_fade.start();
    }
    m_face = face;
    update();
}

bool Cover::isMotionWelcome() const
{
    return style()->styleHint(QStyle::SH_Widget_Animation_Duration, nullptr, this) > 0;
}

bool Cover::event(QEvent *event)
{
    const QEvent::Type type = event->type();
    const bool concernsShadow = type == QEvent::ParentChange || type == QEvent::Move
        || type == QEvent::ShowToParent || type == QEvent::HideToParent;
    if (concernsShadow && m_shadow)
        m_shadow->follow(*this);
    return QWidget::event(event);
}

void Cover::paintEvent(QPaintEvent *)
{
    if (!m_face.image.isNull() && m_face.image.size() != pixels())
        showWantedFace(); // the scale has changed
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF face = onWholePixels(painter, rect());
    const QPainterPath outline = smoothCorners(face, CornerRadius);
    painter.fillPath(outline, groundTint(face, palette()));
    if (isFading())
        fillWithPicture(painter, outline, face, seen());
    else if (m_face.isPlaceholder)
        drawPlaceholder(painter);
    else if (!m_face.image.isNull())
        fillWithPicture(painter, outline, face, m_face.image);
    drawHairline(painter, face, CornerRadius, primaryColor(palette(), 0.1));
}

/// What lies on the ground at this moment of the fade.
QImage Cover::seen() const
{
    QImage face(pixels(), QImage::Format_ARGB32_Premultiplied);
    face.setDevicePixelRatio(devicePixelRatioF());
    face.fill(Qt::transparent);
    QPainter painter(&face);
    if (m_face.isPlaceholder)
        drawPlaceholder(painter);
    else if (!m_face.image.isNull())
        painter.drawImage(rect(), m_face.image);
    painter.end();
    face.setDevicePixelRatio(1);
    if (!isFading())
        return face;

    QImage mixed = m_former;
    QPainter mixer(&mixed);
    mixer.setCompositionMode(
        QPainter::CompositionMode_Source); // two pictures never let the ground shine through
    mixer.setOpacity(m_fade.currentValue().toDouble());
    mixer.drawImage(0, 0, face);
    return mixed;
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
