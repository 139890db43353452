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

void SymbolButton::draw(QPainter &painter)
{
    if (isChecked()) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(accentColor(palette(), 0.13));
        painter.drawEllipse(rect());
    }
    const QColor color =
        isChecked() ? accentColor(palette()) : primaryColor(palette(), underMouse() ? 1 : 0.82);
    drawSymbol(painter, rect(), m_symbol, m_pointSize, color, m_weight);
}
