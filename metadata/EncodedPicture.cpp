#include "metadata/EncodedPicture.h"

#include "metadata/JpegPicture.h"
#include "metadata/PngPicture.h"
#include "metadata/WebpPicture.h"

#include <QtEndian>
#include <algorithm>
#include <cstdlib>

namespace {

constexpr qsizetype EncodedLimit = 32 << 20; // bytes
constexpr qint64 MemoryLimit = 96 << 20; // bytes
constexpr int SideLimit = 16'384; // pixels

EncodedPicture wholePicture(const char *format, const QByteArray &bytes, QSize size)
{
    EncodedPicture picture;
    picture.format = format;
    picture.size = size;
    picture.decodingMemory = 4 * picture.pixels();
    picture.append(bytes);
    return picture;
}

std::optional<EncodedPicture> readGif(const QByteArray &bytes)
{
    constexpr qsizetype headerSize = 13;
    if (bytes.size() < headerSize)
        return std::nullopt;
    const QSize size(
        qFromLittleEndian<quint16>(bytes.data() + 6), qFromLittleEndian<quint16>(bytes.data() + 8));
    return wholePicture("gif", bytes, size);
}

/// A negative height means that the rows are stored from the top down.
std::optional<EncodedPicture> readBmp(const QByteArray &bytes)
{
    constexpr qsizetype fileHeaderSize = 14, oldHeaderSize = 12, headerSize = 40;
    if (bytes.size() < fileHeaderSize + headerSize)
        return std::nullopt;
    const char *header = bytes.data() + fileHeaderSize;
    switch (qFromLittleEndian<quint32>(header)) {
    case oldHeaderSize:
        return wholePicture("bmp", bytes,
            {qFromLittleEndian<qint16>(header + 4), std::abs(qFromLittleEndian<qint16>(header + 6))});
    case headerSize:
    case 64:
    case 108:
    case 124:
        break;
    default:
        return std::nullopt;
    }
    const qint64 height = qFromLittleEndian<qint32>(header + 8);
    return wholePicture("bmp", bytes,
        {qFromLittleEndian<qint32>(header + 4), int(std::min<qint64>(std::abs(height), SideLimit + 1))});
}

std::optional<EncodedPicture> readByContent(const QByteArray &bytes)
{
    if (bytes.startsWith("\xff\xd8\xff"))
        return readJpeg(bytes);
    if (bytes.startsWith("\x89PNG\r\n\x1a\n"))
        return readPng(bytes);
    if (bytes.startsWith("RIFF") && bytes.indexOf("WEBP", 8) == 8)
        return readWebp(bytes);
    if (bytes.startsWith("GIF8"))
        return readGif(bytes);
    if (bytes.startsWith("BM"))
        return readBmp(bytes);
    return std::nullopt;
}

bool isWithinReason(const EncodedPicture &picture, qsizetype encoded)
{
    return !picture.size.isEmpty() && std::max(picture.size.width(), picture.size.height()) <= SideLimit
        && picture.pixels() <= picture.pixelLimit && picture.decodingMemory + encoded <= MemoryLimit;
}

} // namespace

void EncodedPicture::append(QByteArrayView part)
{
    const bool isNeighbour = !parts.isEmpty() && parts.last().end() == part.begin();
    if (isNeighbour)
        parts.last() = QByteArrayView(parts.last().begin(), part.end());
    else
        parts.append(part);
}

std::optional<EncodedPicture> readPicture(const QByteArray &bytes)
{
    if (bytes.size() > EncodedLimit)
        return std::nullopt;
    auto picture = readByContent(bytes);
    return picture && isWithinReason(*picture, bytes.size()) ? std::move(picture) : std::nullopt;
}
