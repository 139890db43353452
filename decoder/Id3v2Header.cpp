#include "decoder/Id3v2Header.h"

#include <algorithm>

quint32 id3v2Number(QByteArrayView bytes, int bitsPerByte)
{
    quint32 number = 0;
    for (const char byte : bytes)
        number = number << bitsPerByte | (quint32(byte) & ((1U << bitsPerByte) - 1));
    return number;
}

qint64 id3v2TagSize(QByteArrayView header)
{
    constexpr char footer = 0x10;
    const bool isMarked = header.startsWith("ID3") || header.startsWith("ea3");
    if (header.size() < Id3v2HeaderSize || !isMarked || header[3] == '\xff')
        return 0;
    const QByteArrayView size = header.sliced(6, 4);
    if (std::any_of(size.begin(), size.end(), [](char byte) { return byte & 0x80; }))
        return 0;
    const bool hasFooter = header[3] == 4 && (header[5] & footer);
    return Id3v2HeaderSize + qint64(id3v2Number(size, 7)) + (hasFooter ? Id3v2HeaderSize : 0);
}

std::size_t hideId3v2Tags(std::span<std::uint8_t> bytes)
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
        if (id3v2TagSize(QByteArrayView(header.data(), Id3v2HeaderSize)) == 0)
            continue;
        header[version] = 0;
        ready = std::max(ready, i + version + 1);
    }
    return ready;
}
