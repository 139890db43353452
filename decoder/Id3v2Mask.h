#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

/// Keeps FFmpeg's reader of ID3v2 tags away from them: it inflates compressed frames without a bound, whatever
/// container they stand in. The tags that a player shows are read by metadata/.
namespace Id3v2Mask {

/// Bytes of the tag that `bytes` begin with, 0 if they begin with none. Ten bytes are enough to tell.
[[nodiscard]] std::int64_t tagSize(std::span<const std::uint8_t> bytes);

/// Gives every tag that FFmpeg would read, wherever its header stands in `bytes`, a version that it does not
/// know: FFmpeg passes over the tag then. Answers how many bytes are ready: the last ones have to be read again
/// with what follows, which tells whether a header starts in them, unless they are all there is.
///
/// In sound, one of 23 thousand million places looks like a header by chance: 34 of its bits are known.
[[nodiscard]] std::size_t apply(std::span<std::uint8_t> bytes);

} // namespace Id3v2Mask
