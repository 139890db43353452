#include "ui/controls/SymbolButton.h"

#include "ui/Colors.h"
#include "ui/Symbol.h"

#include <QPainter>

SymbolButton::SymbolButton(
    const QString &symbol, int pointSize, QFont::Weight weight, const QString &help, const QSize &extent)
    : Button(help)
    , m_symbol(symbol)
    , m_pointSize(pointSize)
    , m_weight(weight)
    , m_extent(extent)
{
    connect(this, &QAbstractButton::toggled, this, &SymbolButton::clickWhereToggled);
}

void SymbolButton::setActive(bool isActive)
{
    m_isActive = isActive;
    setChecked(isActive);
}

/// Assistive technology toggles a checkable button without clicking it.
void SymbolButton::clickWhereToggled(bool isChecked)
{
    if (isChecked == m_isActive)
        return;
    setChecked(m_isActive);
    click();
}

QColor SymbolButton::groundColor() const
{
    if (isChecked())
        return accentColor(palette(), isHovered() ? 0.2 : 0.13);
    return isHovered() ? primaryColor(palette(), 0.07) : QColor(Qt::transparent);
}

void SymbolButton::draw(QPainter &painter)
{
    painter.setPen(Qt::NoPen);
    painter.setBrush(groundColor());
    painter.drawRoundedRect(rect(), cornerRadius(), cornerRadius());
    const QColor color =
        isChecked() ? accentColor(palette()) : primaryColor(palette(), isHovered() ? 1 : 0.82);
    drawSymbol(painter, rect(), m_symbol, m_pointSize, color, m_weight);
}
