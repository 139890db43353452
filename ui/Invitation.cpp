#include "ui/Invitation.h"

#include <QEvent>
#include <QtMath>
#include <algorithm>
#include <cmath>
#include <numeric>

namespace {

constexpr int InvitationPadding = 30; // on every side, if there is room
constexpr int Gap = 14;
constexpr int LeastEnd = 12;
constexpr int SmallGap = 8;
constexpr int LeastGap = 2;

/// Part of the way from `start` on, kept between 0 and 1.
double share(double value, double start, double length)
{
    return std::clamp((value - start) / length, 0.0, 1.0);
}

int heightOf(const QWidget &piece, int width)
{
    return piece.hasHeightForWidth() ? piece.heightForWidth(width) : piece.sizeHint().height();
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
    const double full = texts + symbol + 2 * InvitationPadding + 3 * Gap;
    const double gapShare = share(room, withSymbol, full - withSymbol);
    const double gap = std::lerp(SmallGap, Gap, gapShare);
    const double height = symbolShare * symbol;
    const double symbolGap = symbolShare * gap;
    return {.end = (room - texts - height - symbolGap - 2 * gap) / 2,
        .symbol = height,
        .symbolGap = symbolGap,
        .gap = gap};
}

Invitation::Invitation(QWidget *symbol, QWidget *heading, QWidget *text, QWidget *button)
    : m_pieces{symbol, heading, text, button}
{
    for (QWidget *piece : m_pieces)
        piece->setParent(this);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
}

/// Of pieces that are as large as `sizeOf` says, with this height between and around them.
QSize Invitation::stackedSize(QSize (QWidget::*sizeOf)() const, int gaps) const
{
    QSize size(0, gaps);
    for (const QWidget *piece : m_pieces) {
        const QSize part = (piece->*sizeOf)();
        size = {std::max(size.width(), part.width()), size.height() + part.height()};
    }
    return size + QSize(2 * InvitationPadding, 0);
}

QSize Invitation::sizeHint() const
{
    return stackedSize(&QWidget::sizeHint, 2 * InvitationPadding + 3 * Gap);
}

QSize Invitation::minimumSizeHint() const
{
    return stackedSize(&QWidget::minimumSizeHint, 2 * LeastEnd + 2 * LeastGap);
}

bool Invitation::event(QEvent *event)
{
    if (event->type() == QEvent::Resize || event->type() == QEvent::LayoutRequest)
        arrange();
    return QWidget::event(event);
}

void Invitation::arrange()
{
    const auto [symbol, heading, text, button] = m_pieces;
    const int room = width() - 2 * InvitationPadding;
    const int texts = heightOf(*heading, room) + heightOf(*text, room) + heightOf(*button, room);
    const InvitationLengths lengths = invitationLengths(height(), texts, heightOf(*symbol, room));
    double top = lengths.end;
    const auto place = [&](QWidget &piece, int pieceWidth, double pieceHeight, double gap) {
        const int from = qFloor(top);
        piece.setGeometry((width() - pieceWidth) / 2, from, pieceWidth, qFloor(top + pieceHeight) - from);
        top += pieceHeight + gap;
    };
    place(*symbol, symbol->sizeHint().width(), lengths.symbol, lengths.symbolGap);
    place(*heading, room, heightOf(*heading, room), lengths.gap);
    place(*text, room, heightOf(*text, room), lengths.gap);
    place(*button, button->sizeHint().width(), heightOf(*button, room), 0);
}
