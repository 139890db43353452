#include "metadata/PictureDecoder.h"

#include <QImageReader>
#include <QTransform>
#include <QtEndian>
#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace {

constexpr qsizetype EncodedLimit = 32 << 20; // bytes
constexpr qint64 MemoryLimit = 96 << 20; // bytes
constexpr int SideLimit = 16'384; // pixels
constexpr QImage::Format DrawnFormat = QImage::Format_ARGB32_Premultiplied;

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

/// How often `target` fits into `region`.
int wholeRatio(QSize region, QSize target)
{
    return std::max(1, std::min(region.width() / target.width(), region.height() / target.height()));
}

/// The region of `image` at a fraction of its size, band by band: a copy of it all would take too much memory.
/// Without its palette, of which scaling would lose the transparency.
QImage reduced(const QImage &image, const QRect &region, int ratio)
{
    if (ratio == 1)
        return image.copy(region).convertToFormat(DrawnFormat);
    QImage result(region.size() / ratio, DrawnFormat);
    for (int y = 0; y < result.height(); ++y) {
        const QRect band(region.left(), region.top() + y * ratio, result.width() * ratio, ratio);
        const QImage line = image.copy(band)
                                .convertToFormat(DrawnFormat)
                                .scaled(result.width(), 1, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
        std::memcpy(result.scanLine(y), line.constScanLine(0), std::size_t(result.width()) * 4);
    }
    return result;
}

/// The region, with fewer than twice the pixels of `target` in each direction if there are that many. A JPEG is
/// decoded at a half, a quarter or an eighth of its size, which takes less memory.
QImage readRegion(QImageReader &reader, const EncodedPicture &picture, QSize target)
{
    const QRect whole = centredRegion(picture.size, target);
    if (picture.format == "jpeg") {
        const int ratio = wholeRatio(whole.size(), target);
        const int divisor = ratio >= 8 ? 8 : ratio >= 4 ? 4 : 2;
        if (ratio > 1)
            reader.setScaledSize((picture.size + QSize(divisor - 1, divisor - 1)) / divisor);
        else
            reader.setClipRect(whole);
    }
    const QImage image = reader.read();
    const QRect region = centredRegion(image.size(), target);
    return reduced(image, region, wholeRatio(region.size(), target));
}

QImage turned(const QImage &image, QImageIOHandler::Transformations orientation)
{
    const QImage mirrored = image.mirrored(orientation & QImageIOHandler::TransformationMirror,
        orientation & QImageIOHandler::TransformationFlip);
    const bool isQuarter = orientation & QImageIOHandler::TransformationRotate90;
    return isQuarter ? mirrored.transformed(QTransform().rotate(90)) : mirrored;
}

} // namespace

std::optional<EncodedPicture> readPicture(const QByteArray &bytes)
{
    if (bytes.size() > EncodedLimit)
        return std::nullopt;
    auto picture = readByContent(bytes);
    return picture && isWithinReason(*picture, bytes.size()) ? std::move(picture) : std::nullopt;
}

QRect centredRegion(QSize size, QSize target)
{
    const QSize region = target.scaled(size, Qt::KeepAspectRatio).expandedTo({1, 1});
    return {QPoint((size.width() - region.width()) / 2, (size.height() - region.height()) / 2), region};
}

QImage decodedPicture(const QByteArray &bytes, QSize pixels, const std::atomic<bool> &isAbandoned,
    std::chrono::milliseconds limit)
{
    const auto picture = readPicture(bytes);
    if (!picture || pixels.isEmpty())
        return {};
    const QSize target = picture->isTurned() ? pixels.transposed() : pixels;
    PictureInput input(*picture, QDeadlineTimer(limit), isAbandoned);
    QImageReader reader(&input, picture->format);
    reader.setAutoDetectImageFormat(false);
    const QImage image = readRegion(reader, *picture, target);
    if (image.isNull() || input.isCutOff())
        return {};
    const QImage scaled = image.scaled(target, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    return turned(scaled, picture->orientation);
}

PictureInput::PictureInput(
    const EncodedPicture &picture, QDeadlineTimer deadline, const std::atomic<bool> &isAbandoned)
    : m_deadline(deadline)
    , m_isAbandoned(isAbandoned)
{
    for (const QByteArrayView part : picture.parts) {
        m_parts.push_back({m_size, part});
        m_size += part.size();
    }
    open(ReadOnly | Unbuffered);
}

qint64 PictureInput::readData(char *data, qint64 most)
{
    m_isCutOff = m_isCutOff || m_isAbandoned || m_deadline.hasExpired();
    if (m_isCutOff)
        return 0;
    const auto isBehind = [](qint64 position, const Part &part) { return position < part.begin; };
    auto part = std::upper_bound(m_parts.begin(), m_parts.end(), pos(), isBehind);
    qint64 done = 0;
    for (--part; done < most && part != m_parts.end(); ++part) {
        const QByteArrayView rest = part->bytes.sliced(pos() + done - part->begin);
        const qint64 length = std::min<qint64>(rest.size(), most - done);
        std::memcpy(data + done, rest.data(), std::size_t(length));
        done += length;
    }
    return done;
}
