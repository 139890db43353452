#include "ui/controls/TextButton.h"

#include "ui/drawing/Colors.h"
#include "ui/drawing/Fonts.h"
#include "ui/drawing/SmoothCorners.h"
#include "ui/drawing/Symbol.h"

#include <QFontMetrics>
#include <QPainter>

namespace {

constexpr int TextSize = 13;
constexpr int SymbolGap = 6;
constexpr QSize Padding(12, 6);
constexpr double CornerRadius = 6;

/// A trace of black or white: on it a text of this colour reads better still.
QColor opposite(const QColor &textColor)
{
    return textColor.lightnessF() > 0.5F ? QColor(0, 0, 0, 24) : QColor(255, 255, 255, 48);
}

} // namespace

TextButton::TextButton(Look look, const QString &title, const QString &symbol)
    : Button({})
    , m_look(look)
    , m_symbol(symbol)
{
    setFont(systemFont(TextSize));
    setText(title);
}

int TextButton::symbolWidth() const
{
    return m_symbol.isEmpty() ? 0 : symbolInk(m_symbol, TextSize).width() + SymbolGap;
}

QSize TextButton::sizeHint() const
{
    const QFontMetrics metrics(font());
    const QSize content(symbolWidth() + metrics.horizontalAdvance(text()), metrics.height());
    return content + 2 * Padding;
}

QColor TextButton::textColor() const
{
    return m_look == Look::Prominent ? onAccentColor(palette()) : primaryColor(palette());
}

double TextButton::cornerRadius() const
{
    return CornerRadius;
}

void TextButton::drawFrame(QPainter &painter, const QRectF &face, double radius)
{
    const bool isProminent = m_look == Look::Prominent;
    const QPainterPath frame = smoothCorners(face, radius);
    painter.fillPath(frame, isProminent ? accentColor(palette()) : primaryColor(palette(), 0.07));
    if (isHovered())
        painter.fillPath(frame, isProminent ? opposite(textColor()) : hoverColor(palette()));
    if (!isProminent)
        drawHairline(painter, face, radius, primaryColor(palette(), 0.14));
}

void TextButton::draw(QPainter &painter, const QRectF &face, double radius)
{
    drawFrame(painter, face, radius);
    QRect content = rect().adjusted(Padding.width(), 0, -Padding.width(), 0);
    if (!m_symbol.isEmpty()) {
        QRect symbolArea = content;
        symbolArea.setWidth(symbolInk(m_symbol, TextSize).width());
        const QRectF square = squareByInk(symbolArea, m_symbol, TextSize);
        drawSymbol(painter, square, m_symbol, TextSize, textColor());
        content.setLeft(content.left() + symbolWidth());
    }
    painter.setPen(textColor());
    painter.drawText(content, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine, text());
}
