#include "decoder/Id3v2Mask.h"

#include "decoder/Id3v2Header.h"

#include <algorithm>

std::int64_t Id3v2Mask::tagSize(std::span<const std::uint8_t> bytes)
{
    return id3v2TagSize(QByteArrayView(bytes.data(), qsizetype(bytes.size())));
}

std::size_t Id3v2Mask::apply(std::span<std::uint8_t> bytes)
{
    constexpr std::size_t version = 3; // position in the header
    if (bytes.size() < Id3v2HeaderSize)
        return bytes.size();
    const std::size_t places = bytes.size() - Id3v2HeaderSize + 1;
    std::size_t ready = places;
    for (std::size_t i = 0; i < places; ++i) {
        if (bytes[i + version] < 2 || bytes[i + version] > 4)
            continue;
        const auto header = bytes.subspan(i, Id3v2HeaderSize);
        if (tagSize(header) == 0)
            continue;
        header[version] = 0;
        ready = std::max(ready, i + version + 1);
    }
    return ready;
}
