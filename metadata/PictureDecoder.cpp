#include "metadata/PictureDecoder.h"

#include <QImageReader>
#include <QTransform>
#include <algorithm>
#include <cstring>

namespace {

constexpr QImage::Format DrawnFormat = QImage::Format_ARGB32_Premultiplied;

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
        if (ratio > 1) // rounded down: of a size above the fraction the next larger one would be decoded
            reader.setScaledSize({picture.size.width() / divisor, picture.size.height() / divisor});
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
