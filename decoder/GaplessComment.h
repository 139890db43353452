#pragma once

#include <QByteArrayView>
#include <cstdint>
#include <cstdlib>
#include <optional>

/// What some encoders of AAC and MP3 say of their sound in a comment named "iTunSMPB", in an ID3v2 tag or in the item
/// list of an MP4 file. In frames, each below 2^31 but the length.
struct GaplessComment {
    std::int64_t delay = 0; ///< in front of the sound; of MP3 without that of a decoder
    std::int64_t padding = 0; ///< behind it
    std::int64_t length = 0; ///< of the sound itself, below 2^52

    [[nodiscard]] std::int64_t total() const { return delay + length + padding; }

    /// Whether it tells of MP3 that lasts `frames`, give or take what tags behind it seem to last, or its own ends.
    [[nodiscard]] bool agreesWith(std::int64_t frames) const { return std::abs(total() - frames) <= 4096; }
};

/// The first one in the tag or atom `bytes`, as text of one or two bytes a character; nothing if it holds none.
std::optional<GaplessComment> gaplessComment(QByteArrayView bytes);
