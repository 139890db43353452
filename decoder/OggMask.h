#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <span>

/// Hides from FFmpeg's reader of Ogg all comments that go on behind the page that they begin on: it compares each
/// one with all others and joins those of one name again and again. The list becomes empty, whatever follows it.
class OggMask {
public:
    /// Fills `bytes` with those of the file that stand at `position`; answers how many there were.
    using Look = std::function<std::size_t(std::int64_t position, std::span<std::uint8_t> bytes)>;

    /// Masks `bytes`, which stand at `position`. Answers how many are ready: the last ones have to be read again
    /// with what follows, which tells whether a page starts in them, unless they are all there is.
    [[nodiscard]] std::size_t apply(std::span<std::uint8_t> bytes, std::int64_t position, const Look &look);

private:
    void lookAtPage(std::int64_t position, const Look &look);
    void hideComments(std::int64_t position, std::span<std::uint8_t> page, std::size_t comments);

    bool m_hasFlac = false; ///< whether a stream so far is FLAC
    bool m_hasSpeex = false; ///< or Speex, or CELT, which begins alike

    /// Bytes by their positions. Those behind the reader are forgotten; a page that is read again is looked at again.
    std::map<std::int64_t, std::uint8_t> m_changes;
};
