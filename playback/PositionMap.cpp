#include "playback/PositionMap.h"

bool PositionMap::Piece::continues(const Piece &former) const
{
    return isMoving == former.isMoving && tag == former.tag && value == former.at(start);
}

void PositionMap::append(const Piece &piece)
{
    while (m_end != m_begin && newest().start >= piece.start)
        --m_end;
    if (m_end != m_begin && piece.continues(newest()))
        return;
    if (m_end - m_begin == Capacity)
        ++m_begin;
    m_pieces[m_end++ % Capacity] = piece;
}

PositionMap::Piece PositionMap::pieceAt(std::int64_t frame) const
{
    if (m_end == m_begin)
        return {};
    for (std::size_t index = m_end; index-- != m_begin;) {
        if (m_pieces[index % Capacity].start <= frame)
            return m_pieces[index % Capacity];
    }
    Piece first = m_pieces[m_begin % Capacity];
    first.isMoving = false;
    return first;
}
