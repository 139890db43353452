#include "metadata/EncodedPicture.h"

#include <QtEndian>
#include <algorithm>
#include <array>

namespace {

constexpr qsizetype SignatureSize = 8;
constexpr qsizetype ChunkHeaderSize = 8; // length and kind
constexpr qsizetype ChecksumSize = 4;

bool drawsPicture(QByteArrayView kind)
{
    constexpr std::array<QByteArrayView, 5> kinds{"IHDR", "PLTE", "tRNS", "IDAT", "IEND"};
    return std::find(kinds.begin(), kinds.end(), kind) != kinds.end();
}

void readHeader(EncodedPicture &picture, QByteArrayView header)
{
    constexpr qsizetype size = 13;
    if (header.size() != size)
        return;
    const auto width = qFromBigEndian<quint32>(header.data());
    const auto height = qFromBigEndian<quint32>(header.data() + 4);
    constexpr quint32 most = 1 << 30;
    picture.size = QSize(int(std::min(width, most)), int(std::min(height, most)));
    const bool isDeep = header[8] == 16; // bits a channel
    picture.decodingMemory = (isDeep ? 8 : 4) * picture.pixels();
}

} // namespace

std::optional<EncodedPicture> readPng(const QByteArray &bytes)
{
    EncodedPicture picture;
    picture.format = "png";
    picture.append(QByteArrayView(bytes).first(SignatureSize));
    QByteArrayView rest = QByteArrayView(bytes).sliced(SignatureSize);
    while (rest.size() >= ChunkHeaderSize) {
        const qsizetype length =
            std::min<qsizetype>(qFromBigEndian<quint32>(rest.data()), rest.size() - ChunkHeaderSize);
        const qsizetype whole = std::min(ChunkHeaderSize + length + ChecksumSize, rest.size());
        const QByteArrayView kind = rest.sliced(4, 4), content = rest.sliced(ChunkHeaderSize, length);
        if (kind == "IHDR")
            readHeader(picture, content);
        else if (kind == "eXIf")
            picture.orientation = exifOrientation(content);
        if (drawsPicture(kind))
            picture.append(rest.first(whole));
        rest = rest.sliced(whole);
    }
    return picture;
}
