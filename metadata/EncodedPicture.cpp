#include "metadata/EncodedPicture.h"

#include "decoder/Fields.h"

#include <algorithm>
#include <array>
#include <cstdlib>

namespace {

constexpr qsizetype EncodedLimit = 32 << 20; // bytes
constexpr qint64 MemoryLimit = 96 << 20; // bytes
constexpr int SideLimit = 16'384; // pixels

/// How a picture is turned and mirrored to stand upright, by the tag "Orientation" in the first directory of
/// its Exif data (CIPA DC-008), which begin with their byte order; not at all if they do not say.
QImageIOHandler::Transformations exifOrientation(QByteArrayView exif)
{
    static constexpr std::array transformations{QImageIOHandler::TransformationNone,
        QImageIOHandler::TransformationNone, QImageIOHandler::TransformationMirror,
        QImageIOHandler::TransformationRotate180, QImageIOHandler::TransformationFlip,
        QImageIOHandler::TransformationFlipAndRotate90, QImageIOHandler::TransformationRotate90,
        QImageIOHandler::TransformationMirrorAndRotate90, QImageIOHandler::TransformationRotate270};
    constexpr quint16 orientationTag = 0x0112;
    constexpr qint64 entrySize = 12;
    const bool isBigEndian = exif.startsWith(QByteArrayView("MM\0*", 4));
    if (!isBigEndian && !exif.startsWith(QByteArrayView("II*\0", 4)))
        return transformations[0];
    const auto at = [exif](qint64 offset) {
        Fields fields(exif);
        fields.take(quint64(offset));
        return fields;
    };
    const auto shortNumber = [&](qint64 offset) {
        return isBigEndian ? at(offset).number<quint16_be>() : at(offset).number<quint16_le>();
    };
    const qint64 directory = isBigEndian ? at(4).number<quint32_be>() : at(4).number<quint32_le>();
    const int entries = shortNumber(directory);
    for (qint64 entry = directory + 2; entry < directory + 2 + entries * entrySize; entry += entrySize) {
        if (shortNumber(entry) == orientationTag) {
            const std::size_t orientation = shortNumber(entry + 8);
            return transformations[orientation < transformations.size() ? orientation : 0];
        }
    }
    return transformations[0];
}

// JPEG (ITU-T T.81)

enum Marker : quint8 {
    Baseline = 0xC0,
    ExtendedSequential = 0xC1,
    Progressive = 0xC2,
    StartOfScan = 0xDA,
    Jfif = 0xE0,
    Exif = 0xE1,
    Adobe = 0xEE,
    LastApplication = 0xEF,
    Comment = 0xFE,
};

struct JpegFrame {
    bool isProgressive = false;
    QSize size;
    int components = 0;
    qint64 coefficients = 0; ///< bytes
};

qint64 dividedUp(qint64 number, qint64 divisor)
{
    return (number + divisor - 1) / divisor;
}

/// The frame header from its precision on; one that is not whole has no size.
JpegFrame readFrame(quint8 marker, Fields header)
{
    constexpr qsizetype componentSize = 3;
    constexpr qint64 blockSide = 8, blockBytes = blockSide * blockSide * 2;
    header.take(1); // precision
    const int height = header.number<quint16_be>();
    const int width = header.number<quint16_be>();
    JpegFrame frame{
        .isProgressive = marker == Progressive, .size = {}, .components = header.number<quint8>()};
    if (frame.components == 0 || header.rest().size() < frame.components * componentSize)
        return frame;
    int across = 1, down = 1, blocks = 0; // of the largest component, and all, in the least unit of a scan
    for (int i = 0; i < frame.components; ++i) {
        const auto sampling = quint8(header.take(componentSize)[1]);
        across = std::max(across, sampling >> 4);
        down = std::max(down, sampling & 15);
        blocks += (sampling >> 4) * (sampling & 15);
    }
    frame.size = {width, height};
    frame.coefficients =
        dividedUp(width, blockSide * across) * dividedUp(height, blockSide * down) * blocks * blockBytes;
    return frame;
}

/// Of the segments for applications only the two that tell how colours are stored.
bool drawsPicture(quint8 marker)
{
    const bool isForApplications = marker >= Jfif && marker <= LastApplication;
    return marker == Jfif || marker == Adobe || !(isForApplications || marker == Comment);
}

/// The picture whose first scan begins with `scans`.
std::optional<EncodedPicture> readScans(EncodedPicture picture, const JpegFrame &frame, QByteArrayView scans)
{
    constexpr qint64 pixelLimit = 50'000'000;
    constexpr qint64 scannedPixelLimit = 400'000'000; // pixels times scans
    constexpr qint64 coefficientLimit = 64 << 20; // bytes
    constexpr qint64 usualMemory = 8 << 20; // bytes; it is decoded at a fraction of its size
    constexpr qsizetype componentsAt = 4;
    if (scans.size() <= componentsAt)
        return std::nullopt;
    picture.append(scans);
    picture.size = frame.size;
    picture.pixelLimit = pixelLimit;
    picture.decodingMemory = usualMemory;
    if (!frame.isProgressive && quint8(scans[componentsAt]) == frame.components)
        return picture;
    picture.decodingMemory += frame.coefficients;
    // Coded samples never look like a marker.
    const qint64 count = scans.count("\xff\xda");
    const bool isWithinReason =
        frame.coefficients <= coefficientLimit && picture.pixels() * count <= scannedPixelLimit;
    return isWithinReason ? std::optional(picture) : std::nullopt;
}

/// Reads the segments up to the first scan.
std::optional<EncodedPicture> readJpeg(QByteArrayView bytes)
{
    constexpr qsizetype markerSize = 2, headerSize = 4; // a segment's marker and length
    EncodedPicture picture{.format = "jpeg"};
    picture.append(bytes.first(markerSize));
    JpegFrame frame;
    QByteArrayView rest = bytes.sliced(markerSize);
    while (rest.size() >= headerSize && rest.startsWith('\xff')) {
        const auto marker = quint8(rest[1]);
        if (marker == 0xFF) { // padding
            rest = rest.sliced(1);
            continue;
        }
        if (marker == StartOfScan)
            return readScans(picture, frame, rest);
        const qsizetype length = markerSize + qFromBigEndian<quint16>(rest.data() + markerSize);
        if (length > rest.size() || length < headerSize)
            break;
        const QByteArrayView content = rest.first(length).sliced(headerSize);
        if (marker == Baseline || marker == ExtendedSequential || marker == Progressive)
            frame = readFrame(marker, Fields(content));
        else if (marker == Exif && content.startsWith(QByteArrayView("Exif\0\0", 6)))
            picture.orientation = exifOrientation(content.sliced(6));
        if (drawsPicture(marker))
            picture.append(rest.first(length));
        rest = rest.sliced(length);
    }
    return std::nullopt;
}

// PNG (ISO/IEC 15948) and WebP (RFC 9649)

constexpr qsizetype ChunkHeaderSize = 8; // length and kind, in WebP the other way round

struct PictureChunk {
    QByteArrayView kind;
    QByteArrayView whole; ///< with its header and what follows its content
    QByteArrayView content;
};

/// Takes the first chunk off `bytes`, cut off at their end; they have to hold its header.
PictureChunk takeChunk(QByteArrayView &bytes, bool isPng)
{
    const qsizetype stated =
        isPng ? qFromBigEndian<quint32>(bytes.data()) : qFromLittleEndian<quint32>(bytes.data() + 4);
    const qsizetype length = std::min(stated, bytes.size() - ChunkHeaderSize);
    const qsizetype trailer = isPng ? 4 : length % 2; // a checksum, or padding
    const auto whole = bytes.first(std::min(ChunkHeaderSize + length + trailer, bytes.size()));
    bytes = bytes.sliced(whole.size());
    return {whole.sliced(isPng ? 4 : 0, 4), whole, whole.sliced(ChunkHeaderSize, length)};
}

/// Reads the chunks of a PNG: only those that draw the picture become its parts.
std::optional<EncodedPicture> readPng(QByteArrayView bytes)
{
    static constexpr std::array<QByteArrayView, 5> drawing{"IHDR", "PLTE", "tRNS", "IDAT", "IEND"};
    constexpr qsizetype signatureSize = 8, headerSize = 13;
    EncodedPicture picture{.format = "png"};
    picture.append(bytes.first(signatureSize));
    QByteArrayView rest = bytes.sliced(signatureSize);
    while (rest.size() >= ChunkHeaderSize) {
        const PictureChunk chunk = takeChunk(rest, true);
        if (chunk.kind == "IHDR" && chunk.content.size() == headerSize) {
            constexpr quint32 most = 1 << 30;
            Fields header(chunk.content);
            const quint32 width = header.number<quint32_be>(), height = header.number<quint32_be>();
            picture.size = QSize(int(std::min(width, most)), int(std::min(height, most)));
            const bool isDeep = header.number<quint8>() == 16; // bits a channel
            picture.decodingMemory = (isDeep ? 8 : 4) * picture.pixels();
        } else if (chunk.kind == "eXIf") {
            picture.orientation = exifOrientation(chunk.content);
        }
        if (std::find(drawing.begin(), drawing.end(), chunk.kind) != drawing.end())
            picture.append(chunk.whole);
    }
    return picture;
}

QSize lossySize(Fields content)
{
    constexpr int sizeBits = 0x3FFF;
    content.take(3);
    const bool isMarked = content.take(3) == QByteArrayView("\x9d\x01\x2a");
    const int width = content.number<quint16_le>() & sizeBits;
    const int height = content.number<quint16_le>() & sizeBits;
    return isMarked ? QSize(width, height) : QSize();
}

QSize losslessSize(Fields content)
{
    constexpr quint32 sizeBits = 0x3FFF;
    const bool isWhole = content.take(1) == "\x2f" && content.rest().size() >= 4;
    const quint32 sizes = content.number<quint32_le>();
    return isWhole ? QSize(int(sizes & sizeBits) + 1, int(sizes >> 14 & sizeBits) + 1) : QSize();
}

QByteArray littleEndian(qint64 number, qsizetype bytes)
{
    const quint64 swapped = qToLittleEndian(quint64(number));
    return QByteArray(reinterpret_cast<const char *>(&swapped), bytes);
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

/// Reads the chunks of a WebP: its picture, or the first frame of its animation, becomes a file with nothing else in
/// it.
std::optional<EncodedPicture> readWebp(QByteArrayView bytes)
{
    constexpr qsizetype riffHeaderSize = 12, frameHeaderSize = 16;
    EncodedPicture picture{.format = "webp"};
    QByteArrayView rest = bytes.sliced(riffHeaderSize), transparency, pixels;
    bool isLossless = false;
    while (rest.size() >= ChunkHeaderSize) {
        const PictureChunk chunk = takeChunk(rest, false);
        if (chunk.kind == "EXIF") {
            picture.orientation = exifOrientation(chunk.content);
        } else if (chunk.kind == "ANMF") { // its content is more chunks
            const qsizetype headers = ChunkHeaderSize + std::min(frameHeaderSize, chunk.content.size());
            rest = bytes.last(rest.size() + chunk.whole.size() - headers);
        } else if (chunk.kind == "ALPH" && pixels.isEmpty()) {
            transparency = chunk.whole;
        } else if ((chunk.kind == "VP8L" || chunk.kind == "VP8 ") && pixels.isEmpty()) {
            pixels = chunk.whole;
            isLossless = chunk.kind == "VP8L";
            const Fields content(chunk.content);
            picture.size = isLossless ? losslessSize(content) : lossySize(content);
        }
    }
    if (pixels.isEmpty() || picture.size.isEmpty())
        return std::nullopt;
    if (isLossless)
        transparency = {};
    // Pixels of lossless pictures and of transparency are kept beside those that are drawn.
    const bool isTransparent = !transparency.isEmpty();
    picture.decodingMemory = (isLossless || isTransparent ? 9 : 4) * picture.pixels() + bytes.size();
    picture.head = riffHead(picture.size, isTransparent, pixels.size() + transparency.size());
    picture.append(picture.head);
    if (isTransparent)
        picture.append(transparency);
    picture.append(pixels);
    return picture;
}

// GIF and BMP, of which the whole bytes are handed on

constexpr qsizetype GifHeaderSize = 13, BmpHeadersSize = 54;

EncodedPicture wholePicture(const char *format, QByteArrayView bytes, QSize size)
{
    EncodedPicture picture{.format = format, .size = size};
    picture.decodingMemory = 4 * picture.pixels();
    picture.append(bytes);
    return picture;
}

std::optional<EncodedPicture> readGif(QByteArrayView bytes)
{
    Fields header(bytes);
    header.take(6); // mark and version
    const int width = header.number<quint16_le>();
    return wholePicture("gif", bytes, {width, header.number<quint16_le>()});
}

/// A negative height means that the rows are stored from the top down.
std::optional<EncodedPicture> readBmp(QByteArrayView bytes)
{
    constexpr std::array<quint32, 4> headerSizes{40, 64, 108, 124};
    constexpr quint32 oldHeaderSize = 12;
    Fields header(bytes);
    header.take(14); // of the file
    const quint32 headerSize = header.number<quint32_le>();
    const bool isOld = headerSize == oldHeaderSize;
    if (!isOld && std::find(headerSizes.begin(), headerSizes.end(), headerSize) == headerSizes.end())
        return std::nullopt;
    const int width = isOld ? header.number<qint16_le>() : header.number<qint32_le>();
    const qint64 height = isOld ? header.number<qint16_le>() : header.number<qint32_le>();
    return wholePicture("bmp", bytes, {width, int(std::min<qint64>(std::abs(height), SideLimit + 1))});
}

std::optional<EncodedPicture> readByContent(QByteArrayView bytes)
{
    if (bytes.startsWith("\xff\xd8\xff"))
        return readJpeg(bytes);
    if (bytes.startsWith("\x89PNG\r\n\x1a\n"))
        return readPng(bytes);
    if (bytes.startsWith("RIFF") && bytes.sliced(4).indexOf("WEBP") == 4)
        return readWebp(bytes);
    if (bytes.startsWith("GIF8") && bytes.size() >= GifHeaderSize)
        return readGif(bytes);
    if (bytes.startsWith("BM") && bytes.size() >= BmpHeadersSize)
        return readBmp(bytes);
    return std::nullopt;
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
    const bool isWithinReason = picture && !picture->size.isEmpty()
        && std::max(picture->size.width(), picture->size.height()) <= SideLimit
        && picture->pixels() <= picture->pixelLimit && picture->decodingMemory + bytes.size() <= MemoryLimit;
    return isWithinReason ? std::move(picture) : std::nullopt;
}
