#include "ui/controls/SymbolButton.h"

#include "ui/drawing/Colors.h"
#include "ui/drawing/Symbol.h"

#include <QPainter>
#include <QPainterPath>

SymbolButton::SymbolButton(
    const QString &symbol, int pointSize, QFont::Weight weight, const QString &help, const QSize &extent)
    : Button(help)
    , m_symbol(symbol)
    , m_pointSize(pointSize)
    , m_weight(weight)
    , m_extent(extent)
{
    connect(this, &QAbstractButton::toggled, this, &SymbolButton::clickIfToggled);
}

void SymbolButton::setActive(bool isActive)
{
    m_isActive = isActive;
    setChecked(isActive);
}

/// Assistive technology toggles a checkable button without clicking it.
void SymbolButton::clickIfToggled(bool isChecked)
{
    if (isChecked == m_isActive)
        return;
    setChecked(m_isActive);
    click();
}

void SymbolButton::draw(QPainter &painter, const QRectF &face, double radius)
{
    QPainterPath ground;
    ground.addRoundedRect(face, radius, radius);
    if (isChecked())
        painter.fillPath(ground, accentColor(palette(), 0.13));
    if (isHovered())
        painter.fillPath(ground, hoverColor(palette()));
    const QColor color = isChecked() ? activeColor(palette()) : inactiveColor(palette());
    drawSymbol(painter, rect(), m_symbol, m_pointSize, color, m_weight);
}
