#include "ui/controls/SymbolView.h"

#include "ui/drawing/Colors.h"
#include "ui/drawing/Symbol.h"

#include <QPainter>
#include <algorithm>

SymbolView::SymbolView(const QString &symbol, int pointSize, QFont::Weight weight)
    : m_first(symbol)
    , m_symbol(symbol)
    , m_pointSize(pointSize)
    , m_weight(weight)
{
}

void SymbolView::setSymbol(const QString &symbol)
{
    if (symbol == m_symbol)
        return;
    m_symbol = symbol;
    update();
}

QSize SymbolView::sizeHint() const
{
    return symbolInk(m_first, m_pointSize, m_weight).size();
}

void SymbolView::paintEvent(QPaintEvent *)
{
    const double fit = std::min(1.0, static_cast<double>(height()) / sizeHint().height());
    const double opacity = std::clamp((fit - 0.25) / (0.5 - 0.25), 0.0, 1.0);
    if (opacity == 0)
        return;
    const int pointSize = qRound(m_pointSize * fit);
    QPainter painter(this);
    painter.setOpacity(opacity);
    drawSymbol(painter, squareByInk(rect(), m_first, pointSize, m_weight), m_symbol, pointSize,
        secondaryColor(palette()), m_weight);
}
