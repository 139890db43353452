#include "ui/controls/Button.h"

#include "ui/drawing/Colors.h"
#include "ui/drawing/ControlState.h"
#include "ui/drawing/Fonts.h"
#include "ui/drawing/Shapes.h"
#include "ui/drawing/Symbol.h"

#include <QFontMetrics>
#include <QKeyEvent>
#include <QPainter>
#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr int TextSize = 13;
constexpr int SymbolGap = 6;
constexpr QSize TextPadding(12, 6);
constexpr double ButtonCornerRadius = 6;

/// A trace of black or white: on it a text of this colour reads better still.
QColor opposite(const QColor &textColor)
{
    return textColor.lightnessF() > 0.5F ? QColor(0, 0, 0, 24) : QColor(255, 255, 255, 48);
}

} // namespace

Button::Button(Look look, const Symbol &symbol, const QString &help, const QSize &extent)
    : m_look(look)
    , m_symbol(symbol)
    , m_extent(extent)
{
    setHelp(help);
    setFocusPolicy(Qt::TabFocus);
    setAttribute(Qt::WA_Hover);
    connect(this, &QAbstractButton::toggled, this, &Button::clickIfToggled);
}

Button::Button(Look look, const QString &title, const QString &symbol)
    : Button(look, {symbol, TextSize}, {}, {})
{
    setFont(systemFont(TextSize));
    setText(title);
}

void Button::setHelp(const QString &help)
{
    if (help == toolTip())
        return;
    setToolTip(help);
    setAccessibleName(help);
}

void Button::setSymbol(const QString &name)
{
    if (name == m_symbol.name)
        return;
    m_symbol.name = name;
    update();
}

void Button::setActive(bool isActive)
{
    m_isActive = isActive;
    setChecked(isActive);
}

/// Assistive technology toggles a checkable button without clicking it.
void Button::clickIfToggled(bool isChecked)
{
    if (isChecked == m_isActive)
        return;
    setChecked(m_isActive);
    click();
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

bool Button::event(QEvent *event)
{
    if (event->type() == QEvent::ApplicationFontChange && !text().isEmpty())
        setFont(systemFont(TextSize));
    return QAbstractButton::event(event);
}

// Geometry and drawing

int Button::symbolWidth() const
{
    return m_symbol.name.isEmpty() ? 0 : symbolInk(m_symbol.name, TextSize).width() + SymbolGap;
}

QSize Button::sizeHint() const
{
    if (text().isEmpty())
        return m_extent;
    const QFontMetrics metrics(font());
    const QSize content(symbolWidth() + metrics.horizontalAdvance(text()), metrics.height());
    return content + 2 * TextPadding;
}

Button::Colors Button::colors() const
{
    const QPalette &palette = this->palette();
    switch (m_look) {
    case Look::Plain:
        return {isChecked() ? accentColor(palette, 0.13) : Qt::transparent, hoverColor(palette),
            isChecked() ? activeColor(palette) : inactiveColor(palette)};
    case Look::Disc:
        return {primaryColor(palette, isEnabled() && underMouse() ? 0.86 : 1), Qt::transparent,
            windowBackgroundColor(palette)};
    case Look::Bordered:
        return {primaryColor(palette, 0.07), hoverColor(palette), primaryColor(palette)};
    case Look::Prominent:
        return {accentColor(palette), opposite(onAccentColor(palette)), onAccentColor(palette)};
    }
    return {};
}

void Button::paintEvent(QPaintEvent *)
{
    const double opacity = !isEnabled() ? DisabledOpacity : isDown() ? PressedOpacity : 1;
    drawAsWhole(*this, opacity, [this](QPainter &painter) {
        QRectF face = onWholePixels(painter, rect());
        double radius = text().isEmpty() ? std::min(width(), height()) / 2.0 : ButtonCornerRadius;
        if (hasFocus()) {
            drawFocusRing(painter, face, palette(), radius);
            face.adjust(FocusRingRoom, FocusRingRoom, -FocusRingRoom, -FocusRingRoom);
            radius -= FocusRingRoom;
        }
        const Colors colors = this->colors();
        drawGround(painter, face, radius, colors);
        drawContent(painter, colors.content);
    });
}

void Button::drawGround(QPainter &painter, const QRectF &face, double radius, const Colors &colors) const
{
    QPainterPath ground;
    if (text().isEmpty())
        ground.addRoundedRect(face, radius, radius);
    else
        ground = smoothCorners(face, radius);
    painter.fillPath(ground, colors.ground);
    if (isEnabled() && underMouse())
        painter.fillPath(ground, colors.wash);
    if (m_look == Look::Bordered)
        drawHairline(painter, face, radius, primaryColor(palette(), 0.14));
}

void Button::drawContent(QPainter &painter, const QColor &color) const
{
    const auto &[symbol, pointSize, weight] = m_symbol;
    if (text().isEmpty()) {
        // A centred triangle looks off-centre.
        const QRectF area = QRectF(rect()).translated(symbol == u"play.fill" ? 1.5 : 0, 0);
        drawSymbol(painter, area, symbol, pointSize, color, weight);
        return;
    }
    QRect content = rect().adjusted(TextPadding.width(), 0, -TextPadding.width(), 0);
    if (!symbol.isEmpty()) {
        QRect area = content;
        area.setWidth(symbolWidth() - SymbolGap);
        drawSymbol(painter, squareByInk(area, symbol, pointSize), symbol, pointSize, color);
        content.setLeft(content.left() + symbolWidth());
    }
    painter.setPen(color);
    painter.drawText(content, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine, text());
}
