#include "decoder/ContainerMask.h"

#include <algorithm>
#include <array>
#include <bit>
#include <string_view>

namespace {

// One compressed header is affordable. Two in one file do not come about by chance, but one does: a place in a
// picture or in a codec's header is taken for one once in four million.
constexpr int MostCompressedHeaders = 1;
constexpr int MostTags = 4000; // chance brings about 500 in all that may be read

constexpr std::uint64_t LongestFlacHeader = 64 << 10; // bytes, which hold thousands of comments

constexpr std::size_t IdSize = 2;
constexpr std::size_t LongestNumber = 8;
constexpr std::size_t LongestScope = IdSize + LongestNumber + LongestNumber; // identifier, size, value

struct ElementSize {
    std::size_t width = 0; ///< bytes of the size itself; 0 if there is none
    std::uint64_t value = 0;
};

ElementSize elementSize(std::span<const std::uint8_t> bytes)
{
    const std::size_t width = bytes.empty() ? 0 : std::size_t(std::countl_zero(bytes[0])) + 1;
    if (width == 0 || width > LongestNumber || width > bytes.size())
        return {};
    std::uint64_t value = bytes[0] ^ (0x80U >> (width - 1));
    for (std::size_t i = 1; i < width; ++i)
        value = value << 8 | bytes[i];
    return {width, value};
}

/// Whether an element, whose size and number `bytes` begin with, says that a codec's header is compressed.
bool isHeadersScope(std::span<const std::uint8_t> bytes)
{
    constexpr std::uint8_t codecHeader = 2;
    const auto [width, size] = elementSize(bytes);
    const std::size_t rest = bytes.size() - width;
    return size > 0 && size <= std::min(rest, LongestNumber) && (bytes[width + size - 1] & codecHeader) != 0;
}

/// Bytes from the size of a codec's header, which `bytes` begin with, to the size of the block behind the first
/// one of FLAC; 0 if it is another codec or short.
std::int64_t toSecondFlacBlock(std::span<const std::uint8_t> bytes)
{
    constexpr std::string_view mark = "fLaC";
    constexpr std::int64_t firstBlock = 4 + 34;
    constexpr std::int64_t type = 1;
    const auto [width, size] = elementSize(bytes);
    const auto content = bytes.subspan(width);
    if (size <= LongestFlacHeader || content.size() < mark.size()
        || !std::equal(mark.begin(), mark.end(), content.begin()))
        return 0;
    return std::int64_t(width + mark.size()) + firstBlock + type;
}

} // namespace

std::size_t MatroskaMask::apply(std::span<std::uint8_t> bytes, std::int64_t position, const Look &)
{
    constexpr std::uint8_t unknown = 0x40; // instead of an identifier's first byte, of the same width
    constexpr std::uint8_t unknownWide = 0x11;
    constexpr std::array<std::uint8_t, 4> chapters = {0x10, 0x43, 0xA7, 0x70};
    const std::size_t ready = bytes.size() < LongestScope ? bytes.size() : bytes.size() - LongestScope + 1;
    for (std::size_t i = 0; i < ready && i + IdSize <= bytes.size(); ++i) {
        const int id = bytes[i] << 8 | bytes[i + 1];
        const bool isHeader = id == 0x5032 && isHeadersScope(bytes.subspan(i + IdSize));
        if ((isHeader && ++m_compressedHeaders > MostCompressedHeaders)
            || (id == 0x67C8 && ++m_tags > MostTags))
            bytes[i] = unknown;
        if (std::ranges::equal(bytes.subspan(i, std::min(bytes.size() - i, chapters.size())), chapters))
            bytes[i] = unknownWide;
        const std::int64_t distance = id == 0x63A2 ? toSecondFlacBlock(bytes.subspan(i + IdSize)) : 0;
        if (distance > 0)
            m_flacBlockSize = position + std::int64_t(i + IdSize) + distance;
    }
    if (m_flacBlockSize >= 0) {
        for (std::int64_t i = m_flacBlockSize - position; i < m_flacBlockSize - position + 3; ++i) {
            if (i >= 0 && i < std::int64_t(bytes.size()))
                bytes[std::size_t(i)] = 0xFF;
        }
    }
    return ready;
}
