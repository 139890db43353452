#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

/// Maps one count of frames to another, in pieces that either advance together or hold still: what an output
/// has played to what the listener heard of the track. Keeps the newest pieces only; never allocates.
class PositionMap {
public:
    struct Piece {
        std::int64_t start = 0; ///< from here on, up to the next piece,
        std::int64_t value = 0; ///< this and what follows it, or this alone
        bool isMoving = false;
        std::uint32_t tag = 0;

        [[nodiscard]] std::int64_t at(std::int64_t frame) const
        {
            return isMoving ? value + (frame - start) : value;
        }
        [[nodiscard]] bool continues(const Piece &former) const;
    };

    /// From `piece.start` on the map follows `piece`; what it said of that range before is forgotten.
    void append(const Piece &piece);

    /// The piece that `frame` lies in; before all of them, the first one, held still; a zero piece if
    /// there is none.
    [[nodiscard]] Piece pieceAt(std::int64_t frame) const;

    [[nodiscard]] std::int64_t at(std::int64_t frame) const { return pieceAt(frame).at(frame); }

private:
    static constexpr std::size_t Capacity = 32;

    [[nodiscard]] const Piece &newest() const { return m_pieces[(m_end - 1) % Capacity]; }

    std::array<Piece, Capacity> m_pieces;
    std::size_t m_begin = 0; ///< counts up for ever, as m_end does
    std::size_t m_end = 0;
};
