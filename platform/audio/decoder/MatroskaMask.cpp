#include "platform/audio/decoder/MatroskaMask.h"

#include <algorithm>
#include <array>
#include <bit>

namespace {

// One compressed header is affordable. Two in one file do not come about by chance, but one does: a place in a
// picture or in a codec's header is taken for one once in four million.
constexpr int MostCompressedHeaders = 1;
constexpr int MostTags = 4000; // chance brings about 500 in all that may be read

constexpr std::size_t IdSize = 2;
constexpr std::size_t LongestNumber = 8;
constexpr std::size_t LongestScope = IdSize + LongestNumber + LongestNumber; // identifier, size, value

/// Whether an element, whose size and number `bytes` begin with, says that a codec's header is compressed.
bool isHeadersScope(std::span<const std::uint8_t> bytes)
{
    constexpr std::uint8_t codecHeader = 2;
    if (bytes.empty())
        return false;
    const std::size_t width = std::size_t(std::countl_zero(bytes[0])) + 1;
    if (width > LongestNumber || width > bytes.size())
        return false;
    std::uint64_t size = bytes[0] ^ (0x80U >> (width - 1));
    for (std::size_t i = 1; i < width; ++i)
        size = size << 8 | bytes[i];
    const std::size_t rest = bytes.size() - width;
    return size > 0 && size <= std::min(rest, LongestNumber) && (bytes[width + size - 1] & codecHeader) != 0;
}

} // namespace

std::size_t MatroskaMask::apply(std::span<std::uint8_t> bytes)
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
    }
    return ready;
}
