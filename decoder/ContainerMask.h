#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <span>

/// Hides from FFmpeg's reader of a container what would cost it more than a healthy file ever does. One mask for one
/// container.
class ContainerMask {
public:
    /// Fills `bytes` with those of the container that stand at `position`; answers how many there were.
    using Look = std::function<std::size_t(std::int64_t position, std::span<std::uint8_t> bytes)>;

    virtual ~ContainerMask() = default;
    ContainerMask(const ContainerMask &) = delete;
    ContainerMask &operator=(const ContainerMask &) = delete;

    /// Masks `bytes`, which stand at `position`. Answers how many are ready: the last ones have to be read again
    /// with what follows, which tells what they are, unless they are all there is.
    [[nodiscard]] virtual std::size_t apply(
        std::span<std::uint8_t> bytes, std::int64_t position, const Look &look) = 0;

protected:
    ContainerMask() = default;
};

/// Shows FLAC's blocks of comments as padding: FFmpeg compares each comment with all others. For the headers, which
/// are read in order.
class FlacMask final : public ContainerMask {
public:
    [[nodiscard]] std::size_t apply(
        std::span<std::uint8_t> bytes, std::int64_t position, const Look &look) override;

private:
    std::int64_t m_nextBlock = 4; ///< where its header stands, behind "fLaC"
};

/// Hides headers of Matroska's codecs that are compressed, each of which may inflate to 30 MB, more tags than anybody
/// writes, each of which is compared with all others, the comments in long headers of FLAC likewise, and chapters,
/// which a player of tracks has no use for. For the headers, which are read in order. Each such element gets an
/// identifier, or a size, that FFmpeg passes over.
class MatroskaMask final : public ContainerMask {
public:
    [[nodiscard]] std::size_t apply(
        std::span<std::uint8_t> bytes, std::int64_t position, const Look &look) override;

private:
    int m_compressedHeaders = 0;
    int m_tags = 0;
    std::int64_t m_flacBlockSize = -1; ///< where the size of FLAC's second block stands; -1 if there is none
};

/// Hides all comments of Ogg that go on behind the page that they begin on: FFmpeg compares each one with all others
/// and joins those of one name again and again. The list becomes empty, whatever follows it. For the whole file, in
/// which one stream may follow another; what is read again is masked again.
class OggMask final : public ContainerMask {
public:
    [[nodiscard]] std::size_t apply(
        std::span<std::uint8_t> bytes, std::int64_t position, const Look &look) override;

private:
    void lookAtPage(std::int64_t position, const Look &look);
    void hideComments(std::int64_t position, std::span<std::uint8_t> page, std::size_t comments);

    bool m_hasFlac = false; ///< whether a stream so far is FLAC
    bool m_hasSpeex = false; ///< or Speex, or CELT, which begins alike
    std::map<std::int64_t, std::uint8_t> m_changes; ///< bytes by their positions, from the reader's on
};
