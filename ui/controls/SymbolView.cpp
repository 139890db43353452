#include "ui/controls/SymbolView.h"

#include "ui/Colors.h"
#include "ui/Symbol.h"

#include <QPainter>
#include <algorithm>

SymbolView::SymbolView(const QString &symbol, int pointSize, QFont::Weight weight)
    : m_symbol(symbol)
    , m_pointSize(pointSize)
    , m_weight(weight)
{
    setSizePolicy(QSizePolicy::Maximum, QSizePolicy::Maximum);
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
    return QSize(1, 1) * symbolExtent(m_pointSize);
}

void SymbolView::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    const double fit = std::min(1.0, static_cast<double>(height()) / sizeHint().height());
    drawSymbol(painter, rect(), m_symbol, qRound(m_pointSize * fit), secondaryColor(palette()), m_weight);
}
