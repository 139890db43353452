#include "metadata/EncodedPicture.h"

#include <QtEndian>
#include <algorithm>

namespace {

constexpr qsizetype RiffHeaderSize = 12;
constexpr qsizetype ChunkHeaderSize = 8;

struct Chunk {
    QByteArrayView kind;
    QByteArrayView whole; ///< with its header
    QByteArrayView content;
};

/// Takes the first chunk off `bytes`, cut off at their end; they have to hold its header.
Chunk takeChunk(QByteArrayView &bytes)
{
    const qsizetype length =
        std::min<qsizetype>(qFromLittleEndian<quint32>(bytes.data() + 4), bytes.size() - ChunkHeaderSize);
    const qsizetype padded = std::min(ChunkHeaderSize + length + length % 2, bytes.size());
    const Chunk chunk{bytes.first(4), bytes.first(padded), bytes.sliced(ChunkHeaderSize, length)};
    bytes = bytes.sliced(padded);
    return chunk;
}

QSize lossySize(QByteArrayView content)
{
    constexpr qsizetype headerSize = 10;
    constexpr int sizeBits = 0x3FFF;
    if (content.size() < headerSize || content.sliced(3, 3) != QByteArrayView("\x9d\x01\x2a"))
        return {};
    return {qFromLittleEndian<quint16>(content.data() + 6) & sizeBits,
        qFromLittleEndian<quint16>(content.data() + 8) & sizeBits};
}

QSize losslessSize(QByteArrayView content)
{
    constexpr qsizetype headerSize = 5;
    constexpr quint32 sizeBits = 0x3FFF;
    if (content.size() < headerSize || content[0] != '\x2f')
        return {};
    const auto sizes = qFromLittleEndian<quint32>(content.data() + 1);
    return {int(sizes & sizeBits) + 1, int(sizes >> 14 & sizeBits) + 1};
}

QByteArray littleEndian(qint64 number, qsizetype bytes)
{
    QByteArray text;
    for (qsizetype i = 0; i < bytes; ++i)
        text.append(char(number >> (8 * i) & 0xFF));
    return text;
}

/// The head of a file with `size` bytes of chunks that are not in it.
QByteArray riffHead(QSize canvas, bool isTransparent, qint64 size)
{
    constexpr char transparency = 0x10;
    QByteArray extended;
    if (isTransparent)
        extended = "VP8X" + littleEndian(10, 4) + transparency + QByteArray(3, '\0')
            + littleEndian(canvas.width() - 1, 3) + littleEndian(canvas.height() - 1, 3);
    return "RIFF" + littleEndian(4 + extended.size() + size, 4) + "WEBP" + extended;
}

class WebpReader {
public:
    std::optional<EncodedPicture> read(const QByteArray &bytes)
    {
        QByteArrayView rest = QByteArrayView(bytes).sliced(RiffHeaderSize);
        while (rest.size() >= ChunkHeaderSize) {
            const Chunk chunk = takeChunk(rest);
            if (chunk.kind == "EXIF")
                m_picture.orientation = exifOrientation(chunk.content);
            else if (chunk.kind == "ANMF")
                takeFrame(chunk.content);
            else
                takePixels(chunk);
        }
        if (m_pixels.isEmpty() || m_picture.size.isEmpty())
            return std::nullopt;
        const bool isTransparent = !m_isLossless && !m_transparency.isEmpty();
        // Pixels of lossless pictures and of transparency are kept beside those that are drawn.
        const int bytesPerPixel = m_isLossless || isTransparent ? 9 : 4;
        m_picture.format = "webp";
        m_picture.decodingMemory = bytesPerPixel * m_picture.pixels() + bytes.size();
        const qint64 size = m_pixels.size() + (isTransparent ? m_transparency.size() : 0);
        m_picture.head = riffHead(m_picture.size, isTransparent, size);
        m_picture.append(m_picture.head);
        if (isTransparent)
            m_picture.append(m_transparency);
        m_picture.append(m_pixels);
        return m_picture;
    }

private:
    void takeFrame(QByteArrayView frame)
    {
        constexpr qsizetype headerSize = 16;
        QByteArrayView rest = frame.sliced(std::min(headerSize, frame.size()));
        while (rest.size() >= ChunkHeaderSize)
            takePixels(takeChunk(rest));
    }

    void takePixels(const Chunk &chunk)
    {
        if (!m_pixels.isEmpty())
            return;
        m_isLossless = chunk.kind == "VP8L";
        if (chunk.kind == "ALPH") {
            m_transparency = chunk.whole;
        } else if (m_isLossless || chunk.kind == "VP8 ") {
            m_pixels = chunk.whole;
            m_picture.size = m_isLossless ? losslessSize(chunk.content) : lossySize(chunk.content);
        }
    }

    EncodedPicture m_picture;
    QByteArrayView m_transparency;
    QByteArrayView m_pixels;
    bool m_isLossless = false;
};

} // namespace

std::optional<EncodedPicture> readWebp(const QByteArray &bytes)
{
    return WebpReader().read(bytes);
}
