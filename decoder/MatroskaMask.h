#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

/// Hides from FFmpeg's reader of Matroska what would cost it more than a healthy file ever does: headers of
/// codecs that are compressed, each of which may inflate to 30 MB, more tags than anybody writes, each of which is
/// compared with all others, the comments in long headers of FLAC likewise, and chapters, which a player of tracks
/// has no use for. One mask for the headers of one container, which are read in order.
class MatroskaMask {
public:
    /// Gives each such element in `bytes` an identifier, or a size, that FFmpeg passes over. Answers how many bytes are
    /// ready: the last ones have to be read again with what follows, unless they are all there is.
    [[nodiscard]] std::size_t apply(std::span<std::uint8_t> bytes);

private:
    int m_compressedHeaders = 0;
    int m_tags = 0;

    /// Position of the size of FLAC's second block, counted from the next byte; far behind if there is none.
    std::int64_t m_flacBlockSize = INT64_MIN / 2;
};
