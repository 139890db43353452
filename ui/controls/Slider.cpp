#include "ui/controls/Slider.h"

#include "desktop/AccessibleFactory.h"
#include "ui/drawing/Colors.h"
#include "ui/drawing/ControlState.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QWheelEvent>
#include <algorithm>
#include <cmath>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

constexpr double ThumbDiameter = 14;
constexpr double GrooveHeight = 4;

// Around the white of the thumb, which is the same in every scheme.
constexpr QColor Rim(0xbf, 0xbf, 0xbf);
constexpr QColor PointedRim(0x7f, 0x7f, 0x7f);
constexpr double HeldRadius = 3; // of the dot in a thumb that is held

/// The groove as high as whole pixels are; between two, its edges would be blurred.
QRectF onPixels(const QPainter &painter, const QRectF &groove)
{
    const QTransform toPixels = painter.deviceTransform();
    const QRectF exact = toPixels.mapRect(groove);
    const double height = std::round(exact.height());
    const double top = std::round(exact.center().y() - height / 2);
    return toPixels.inverted().mapRect(QRectF(exact.left(), top, exact.width(), height));
}

void drawGroove(QPainter &painter, const QRectF &groove, const QColor &color)
{
    painter.setBrush(color);
    painter.drawRoundedRect(groove, GrooveHeight / 2, GrooveHeight / 2);
}

#if QT_VERSION >= QT_VERSION_CHECK(6, 8, 0)
using WordsInterface = QAccessibleAttributesInterface;
constexpr bool WordsAreDescription = false;
#else
class WordsInterface { };
constexpr bool WordsAreDescription = true;
#endif

/// A slider as assistive technology meets it. Setting its value is a whole edit.
///
/// Its words replace the value in what a reader says. Before Qt 6.8 only numbers can be a value on the bus; the words
/// are the description then.
class SliderAccessible : public QAccessibleWidget, public QAccessibleValueInterface, public WordsInterface {
public:
    explicit SliderAccessible(Slider *slider)
        : QAccessibleWidget(slider, QAccessible::Slider)
        , m_slider(*slider)
    {
    }

    void *interface_cast(QAccessible::InterfaceType type) override
    {
        if (type == QAccessible::ValueInterface)
            return static_cast<QAccessibleValueInterface *>(this);
#if QT_VERSION >= QT_VERSION_CHECK(6, 8, 0)
        if (type == QAccessible::AttributesInterface && !m_slider.spokenWords().isEmpty())
            return static_cast<QAccessibleAttributesInterface *>(this);
#endif
        return QAccessibleWidget::interface_cast(type);
    }

    [[nodiscard]] QString text(QAccessible::Text kind) const override
    {
        if (kind == QAccessible::Description) // not the tooltip, which is the name
            return WordsAreDescription ? m_slider.spokenWords() : QString();
        return kind == QAccessible::Value ? m_slider.spokenWords() : QAccessibleWidget::text(kind);
    }

    void setCurrentValue(const QVariant &value) override
    {
        bool isNumber = false;
        const double number = value.toDouble(&isNumber);
        if (isNumber && std::isfinite(number))
            m_slider.edit(number);
    }

    [[nodiscard]] QVariant currentValue() const override
    {
        return m_slider.value();
    }
    [[nodiscard]] QVariant minimumValue() const override
    {
        return 0.0;
    }
    [[nodiscard]] QVariant maximumValue() const override
    {
        return m_slider.maximum();
    }
    [[nodiscard]] QVariant minimumStepSize() const override
    {
        return m_slider.step();
    }

#if QT_VERSION >= QT_VERSION_CHECK(6, 8, 0)
    [[nodiscard]] QList<QAccessible::Attribute> attributeKeys() const override
    {
        return {QAccessible::Attribute::Custom};
    }
    [[nodiscard]] QVariant attributeValue(QAccessible::Attribute) const override
    {
        return QVariant::fromValue(QHash<QString, QString>{{ u"valuetext"_s, m_slider.spokenWords() }});
    }
#endif

private:
    Slider &m_slider;
};

} // namespace

Slider::Slider(const QString &name)
{
    installAccessible<Slider, SliderAccessible>();
    setAccessibleName(name);
    setFocusPolicy(Qt::StrongFocus);
    setAttribute(Qt::WA_Hover);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

void Slider::setValue(double value)
{
    if (value == m_value)
        return;
    m_value = value;
    update();
    announceMovement();
}

void Slider::setMaximum(double maximum)
{
    if (maximum == m_maximum)
        return;
    m_maximum = maximum;
    update();
    announceMovement();
}

void Slider::setSteps(double step, double pageStep)
{
    m_step = step;
    m_pageStep = pageStep;
}

/// With the keyboard on the slider, a reader would speak every movement aloud, over the music.
void Slider::announceMovement()
{
    if (!hasFocus())
        announceValue();
}

/// Once for all values that are spoken alike, and only if somebody listens.
void Slider::announceValue()
{
    if (!QAccessible::isActive())
        return;
    const QString spoken = m_spokenWords ? spokenWords() : QString::number(m_value);
    if (std::exchange(m_announced, spoken) == spoken)
        return;
    QAccessibleValueChangeEvent value(this, m_value);
    QAccessible::updateAccessibility(&value);
    QAccessibleEvent description(this, QAccessible::DescriptionChanged);
    QAccessible::updateAccessibility(&description);
}

// Editing

void Slider::edit(double value)
{
    if (!isEnabled() || m_isHeld)
        return;
    begin();
    moveTo(value);
    end();
}

void Slider::begin()
{
    m_isHeld = true;
    Q_EMIT editingBegan();
}

void Slider::moveTo(double value)
{
    m_value = std::clamp(value, 0.0, m_maximum);
    update();
    announceValue();
    Q_EMIT edited(m_value);
}

void Slider::end()
{
    if (!m_isHeld)
        return;
    m_isHeld = false;
    Q_EMIT editingEnded();
    update();
}

bool Slider::event(QEvent *event)
{
    const QEvent::Type type = event->type();
    const bool isInterrupted = type == QEvent::Hide || type == QEvent::WindowBlocked
        || (type == QEvent::EnabledChange && !isEnabled());
    if (isInterrupted)
        end();
    if (type == QEvent::HoverEnter || type == QEvent::HoverMove)
        point(static_cast<QHoverEvent *>(event)->position().x());
    else if (type == QEvent::HoverLeave)
        point(std::nullopt);
    return QWidget::event(event);
}

void Slider::focusInEvent(QFocusEvent *event)
{
    m_isFocusShown = showsFocus(event->reason(), m_isFocusShown);
    QWidget::focusInEvent(event);
}

void Slider::focusOutEvent(QFocusEvent *event)
{
    QWidget::focusOutEvent(event);
    // Of what moved in the meantime, but not before readers know that the keyboard is elsewhere.
    QMetaObject::invokeMethod(this, &Slider::announceMovement, Qt::QueuedConnection);
}

// Mouse

void Slider::mousePressEvent(QMouseEvent *event)
{
    if (event->button() != Qt::LeftButton || m_isHeld)
        return;
    m_isFocusShown = false;
    const double x = event->position().x();
    const bool isGrabbed = isOnThumb(x);
    m_grabOffset = isGrabbed ? x - thumbCenter() : 0;
    begin();
    if (!isGrabbed)
        moveTo(valueAt(x));
    update();
}

/// The thumb answers; the groove does not.
void Slider::point(std::optional<double> x)
{
    const bool wasOnThumb = m_pointer && isOnThumb(*m_pointer);
    m_pointer = x;
    if (wasOnThumb != (x && isOnThumb(*x)))
        update();
}

void Slider::mouseMoveEvent(QMouseEvent *event)
{
    if (m_isHeld)
        moveTo(valueAt(event->position().x() - m_grabOffset));
}

void Slider::mouseReleaseEvent(QMouseEvent *event)
{
    if (event->button() == Qt::LeftButton)
        end();
}

void Slider::wheelEvent(QWheelEvent *event)
{
    m_wheelRemainder += event->angleDelta().y();
    const int steps = m_wheelRemainder / QWheelEvent::DefaultDeltasPerStep;
    m_wheelRemainder %= QWheelEvent::DefaultDeltasPerStep;
    if (steps != 0)
        edit(valueAfter(steps * m_step));
}

// Keyboard

/// Sums of steps stay on the decimal numbers that a reader expects: 0.5 and not 0.49999999999999994.
double Slider::valueAfter(double change) const
{
    constexpr double precision = 1e6;
    return std::round((m_value + change) * precision) / precision;
}

std::optional<double> Slider::valueAfterKey(int key) const
{
    switch (key) {
    case Qt::Key_Right:
    case Qt::Key_Up:
        return valueAfter(m_step);
    case Qt::Key_Left:
    case Qt::Key_Down:
        return valueAfter(-m_step);
    case Qt::Key_PageUp:
        return valueAfter(m_pageStep);
    case Qt::Key_PageDown:
        return valueAfter(-m_pageStep);
    case Qt::Key_Home:
        return 0;
    case Qt::Key_End:
        return m_maximum;
    default:
        return std::nullopt;
    }
}

void Slider::keyPressEvent(QKeyEvent *event)
{
    const bool isPlain = (event->modifiers() & ~Qt::KeypadModifier) == Qt::NoModifier;
    if (const auto value = valueAfterKey(event->key()); value && isPlain) {
        m_isFocusShown = true;
        edit(*value);
    } else {
        event->ignore();
    }
}

// Geometry and drawing

double Slider::shownFraction() const
{
    const double fraction = m_value / m_maximum;
    return std::isnan(fraction) ? 0 : std::clamp(fraction, 0.0, 1.0);
}

double Slider::thumbCenter() const
{
    return ThumbDiameter / 2 + shownFraction() * (width() - ThumbDiameter);
}

bool Slider::isOnThumb(double x) const
{
    return std::abs(x - thumbCenter()) <= ThumbDiameter / 2;
}

double Slider::valueAt(double x) const
{
    const double room = std::max(1.0, width() - ThumbDiameter);
    return (x - ThumbDiameter / 2) / room * m_maximum;
}

void Slider::paintEvent(QPaintEvent *)
{
    drawAsWhole(*this, isEnabled() ? 1 : DisabledOpacity, [this](QPainter &painter) { draw(painter); });
}

void Slider::draw(QPainter &painter)
{
    painter.setPen(Qt::NoPen);

    const double middle = height() / 2.0;
    QRectF groove = onPixels(painter, QRectF(0, middle - GrooveHeight / 2, width(), GrooveHeight));
    drawGroove(painter, groove, primaryColor(palette(), 0.16));
    if (shownFraction() > 0) {
        groove.setRight(thumbCenter());
        drawGroove(painter, groove, accentColor(palette()));
    }
    drawThumb(painter);
}

void Slider::drawThumb(QPainter &painter)
{
    const auto drawDisc = [&, middle = QPointF(thumbCenter(), height() / 2.0)](
                              double radius, const QColor &color) {
        painter.setBrush(color);
        painter.drawEllipse(middle, radius, radius);
    };
    double radius = ThumbDiameter / 2;
    if (hasFocus() && m_isFocusShown) {
        // Discs on discs, and not rings: nothing of the groove shines through between them.
        drawDisc(radius, accentMarkColor(palette()));
        drawDisc(radius - FocusRingWidth, windowBackgroundColor(palette()));
        radius -= FocusRingRoom;
    }
    const bool isPointed = isEnabled() && m_pointer && isOnThumb(*m_pointer);
    drawDisc(radius, isPointed || m_isHeld ? PointedRim : Rim);
    drawDisc(radius - 1, Qt::white);
    if (m_isHeld)
        drawDisc(HeldRadius, accentMarkColor(palette(), Qt::white));
}
