#include "ui/controls/Cover.h"

#include "ui/Colors.h"
#include "ui/Fonts.h"
#include "ui/SmoothCorners.h"
#include "ui/Symbol.h"
#include "ui/controls/CoverShadow.h"
#include "ui/controls/Roles.h"

#include <QEvent>
#include <QPainter>
#include <QStyle>

using namespace Qt::StringLiterals;

namespace {

constexpr double CornerRadius = 18;
constexpr int FadeDuration = 250; // milliseconds

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

} // namespace

Cover::Cover()
    : m_shadow(new CoverShadow(CornerRadius))
{
    installAccessibleRoles();
    setAccessibleName(u"Portada"_s);
    setFixedSize(190, 190);
    m_fade.setStartValue(0.0);
    m_fade.setEndValue(1.0);
    m_fade.setDuration(FadeDuration);
    m_fade.setEasingCurve(easeInOut());
    connect(&m_fade, &QVariantAnimation::valueChanged, this, qOverload<>(&QWidget::update));
    connect(&m_fade, &QVariantAnimation::finished, this, [this] { m_previous.reset(); });
}

Cover::~Cover()
{
    delete m_shadow;
}

void Cover::setTrack(const std::optional<Track> &track)
{
    if (track == m_track)
        return;
    m_previous = std::exchange(m_track, track);
    m_fade.stop();
    const bool hasPicture = (m_previous && m_previous->artwork) || (m_track && m_track->artwork);
    if (hasPicture && isVisible() && isMotionWelcome())
        m_fade.start();
    update();
}

bool Cover::isMotionWelcome() const
{
    return style()->styleHint(QStyle::SH_Widget_Animation_Duration, nullptr, this) > 0;
}

bool Cover::event(QEvent *event)
{
    switch (event->type()) {
    case QEvent::ParentChange:
    case QEvent::Move:
    case QEvent::ShowToParent:
    case QEvent::HideToParent:
        if (m_shadow)
            m_shadow->follow(*this);
        break;
    default:
        break;
    }
    return QWidget::event(event);
}

void Cover::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QPainterPath outline = smoothCorners(rect(), CornerRadius);
    painter.fillPath(outline, groundTint(rect(), palette()));

    const QImage picture = this->picture(m_track);
    const double progress = isFading() ? m_fade.currentValue().toDouble() : 1;
    if (isFading()) {
        // A picture that fades over another one never lets the ground shine through both.
        const QImage previous = this->picture(m_previous);
        const bool isCovered = !previous.isNull() && !picture.isNull();
        drawFace(painter, outline, previous, isCovered ? 1 : 1 - progress);
    }
    drawFace(painter, outline, picture, progress);

    drawHairline(painter, rect(), CornerRadius, primaryColor(palette(), 0.1));
}

void Cover::drawFace(
    QPainter &painter, const QPainterPath &outline, const QImage &picture, double opacity) const
{
    painter.setOpacity(opacity);
    if (picture.isNull())
        drawPlaceholder(painter);
    else
        fillWithPicture(painter, outline, rect(), picture);
    painter.setOpacity(1);
}

QImage Cover::picture(const std::optional<Track> &track) const
{
    const bool hasArtwork = track && track->artwork;
    return hasArtwork ? track->artwork->scaledToFill(size() * devicePixelRatioF()) : QImage();
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
