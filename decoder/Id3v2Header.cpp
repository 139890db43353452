#include "decoder/Id3v2Header.h"

#include <algorithm>

quint32 syncsafeNumber(QByteArrayView bytes)
{
    quint32 number = 0;
    for (const char byte : bytes)
        number = number << 7 | (static_cast<quint8>(byte) & 0x7F);
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
    return Id3v2HeaderSize + qint64(syncsafeNumber(size)) + (hasFooter ? Id3v2HeaderSize : 0);
}
