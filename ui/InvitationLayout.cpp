#include "ui/InvitationLayout.h"

#include <QWidget>
#include <QtMath>
#include <algorithm>
#include <cmath>
#include <numeric>

namespace {

constexpr int Padding = 30; // on every side, if there is room
constexpr int Gap = 14;
constexpr int LeastEnd = 12;
constexpr int SmallGap = 8;
constexpr int LeastGap = 2;

/// Part of the way from `start` on, kept between 0 and 1.
double share(double value, double start, double length)
{
    return std::clamp((value - start) / length, 0.0, 1.0);
}

} // namespace

InvitationLengths invitationLengths(double room, double texts, double symbol)
{
    const double least = texts + 2 * LeastEnd + 2 * SmallGap;
    if (room < least) {
        const double gap = std::max<double>(LeastGap, (room - texts - 2 * LeastEnd) / 2);
        return {.end = LeastEnd, .symbol = 0, .symbolGap = 0, .gap = gap};
    }
    const double symbolShare = share(room, least, symbol + SmallGap);
    const double withSymbol = least + symbol + SmallGap;
    const double full = texts + symbol + 2 * Padding + 3 * Gap;
    const double gapShare = share(room, withSymbol, full - withSymbol);
    const double gap = std::lerp(SmallGap, Gap, gapShare);
    const double height = symbolShare * symbol;
    const double symbolGap = symbolShare * gap;
    return {.end = (room - texts - height - symbolGap - 2 * gap) / 2,
        .symbol = height,
        .symbolGap = symbolGap,
        .gap = gap};
}

InvitationLayout::InvitationLayout(QWidget *symbol, QWidget *heading, QWidget *text, QWidget *button)
{
    for (QWidget *piece : {symbol, heading, text, button})
        addWidget(piece);
}

InvitationLayout::~InvitationLayout()
{
    qDeleteAll(m_items);
}

QLayoutItem *InvitationLayout::takeAt(int index)
{
    return index < count() ? m_items.takeAt(index) : nullptr;
}

Qt::Orientations InvitationLayout::expandingDirections() const
{
    return Qt::Horizontal | Qt::Vertical;
}

QSize InvitationLayout::sizeHint() const
{
    QSize size(0, 2 * Padding + 3 * Gap);
    for (const QLayoutItem *item : m_items)
        size = {std::max(size.width(), item->sizeHint().width()), size.height() + item->sizeHint().height()};
    return size + QSize(2 * Padding, 0);
}

QSize InvitationLayout::minimumSize() const
{
    QSize size(0, 2 * LeastEnd + 2 * LeastGap);
    for (const QLayoutItem *item : m_items)
        size = {std::max(size.width(), item->minimumSize().width()),
            size.height() + item->minimumSize().height()};
    return size + QSize(2 * Padding, 0);
}

int InvitationLayout::heightOf(int index, int width) const
{
    const QLayoutItem &item = *m_items[index];
    return item.hasHeightForWidth() ? item.heightForWidth(width) : item.sizeHint().height();
}

void InvitationLayout::setGeometry(const QRect &area)
{
    QLayout::setGeometry(area);
    enum { Symbol, Heading, Text, Button };
    const int width = area.width() - 2 * Padding;
    const int texts = heightOf(Heading, width) + heightOf(Text, width) + heightOf(Button, width);
    const InvitationLengths lengths = invitationLengths(area.height(), texts, heightOf(Symbol, width));
    double top = area.top() + lengths.end;
    const auto place = [&](int index, int itemWidth, double height, double gap) {
        const int left = area.left() + (area.width() - itemWidth) / 2;
        const int from = qFloor(top);
        m_items[index]->setGeometry(QRect(left, from, itemWidth, qFloor(top + height) - from));
        top += height + gap;
    };
    place(Symbol, m_items[Symbol]->sizeHint().width(), lengths.symbol, lengths.symbolGap);
    place(Heading, width, heightOf(Heading, width), lengths.gap);
    place(Text, width, heightOf(Text, width), lengths.gap);
    place(Button, m_items[Button]->sizeHint().width(), heightOf(Button, width), 0);
}
