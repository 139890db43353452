#include "metadata/EncodedPicture.h"

#include <QtEndian>
#include <algorithm>

namespace {

constexpr qint64 PixelLimit = 50'000'000;
constexpr qint64 ScannedPixelLimit = 400'000'000; // pixels times scans
constexpr qint64 CoefficientLimit = 64 << 20; // bytes
constexpr qint64 UsualMemory = 8 << 20; // bytes; it is decoded at a fraction of its size

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

struct Frame {
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
Frame readFrame(quint8 marker, QByteArrayView header)
{
    constexpr qsizetype fixedSize = 6, componentSize = 3;
    constexpr qint64 blockSide = 8, blockBytes = blockSide * blockSide * 2;
    Frame frame;
    if (header.size() < fixedSize || header.size() < fixedSize + quint8(header[5]) * componentSize)
        return frame;
    frame.isProgressive = marker == Progressive;
    frame.components = quint8(header[5]);
    const QSize size(qFromBigEndian<quint16>(header.data() + 3), qFromBigEndian<quint16>(header.data() + 1));

    int across = 1, down = 1, blocks = 0; // of the largest component, and all, in the least unit of a scan
    for (int i = 0; i < frame.components; ++i) {
        const auto sampling = quint8(header[fixedSize + i * componentSize + 1]);
        across = std::max(across, sampling >> 4);
        down = std::max(down, sampling & 15);
        blocks += (sampling >> 4) * (sampling & 15);
    }
    frame.size = size;
    frame.coefficients = dividedUp(size.width(), blockSide * across)
        * dividedUp(size.height(), blockSide * down) * blocks * blockBytes;
    return frame;
}

bool isKept(quint8 marker)
{
    const bool isForApplications = marker >= Jfif && marker <= LastApplication;
    return marker == Jfif || marker == Adobe || !(isForApplications || marker == Comment);
}

bool isFrame(quint8 marker)
{
    return marker == Baseline || marker == ExtendedSequential || marker == Progressive;
}

/// The picture whose first scan begins with `scans`.
std::optional<EncodedPicture> readScans(EncodedPicture picture, const Frame &frame, QByteArrayView scans)
{
    constexpr qsizetype componentsAt = 4;
    if (scans.size() <= componentsAt)
        return std::nullopt;
    picture.append(scans);
    picture.size = frame.size;
    picture.pixelLimit = PixelLimit;
    picture.decodingMemory = UsualMemory;
    if (!frame.isProgressive && quint8(scans[componentsAt]) == frame.components)
        return picture;
    picture.decodingMemory += frame.coefficients;
    // Coded samples never look like a marker.
    const qint64 count = scans.count("\xff\xda");
    const bool isWithinReason =
        frame.coefficients <= CoefficientLimit && picture.pixels() * count <= ScannedPixelLimit;
    return isWithinReason ? std::optional(picture) : std::nullopt;
}

} // namespace

std::optional<EncodedPicture> readJpeg(const QByteArray &bytes)
{
    constexpr qsizetype markerSize = 2, lengthSize = 2;
    EncodedPicture picture;
    picture.format = "jpeg";
    picture.append(QByteArrayView(bytes).first(markerSize));
    Frame frame;
    QByteArrayView rest = QByteArrayView(bytes).sliced(markerSize);
    while (rest.size() >= markerSize + lengthSize && rest.startsWith('\xff')) {
        const auto marker = quint8(rest[1]);
        if (marker == 0xFF) { // padding
            rest = rest.sliced(1);
            continue;
        }
        if (marker == StartOfScan)
            return readScans(picture, frame, rest);
        const qsizetype length = markerSize + qFromBigEndian<quint16>(rest.data() + markerSize);
        if (length > rest.size() || length < markerSize + lengthSize)
            break;
        const QByteArrayView content = rest.first(length).sliced(markerSize + lengthSize);
        if (isFrame(marker))
            frame = readFrame(marker, content);
        else if (marker == Exif && content.startsWith(QByteArrayView("Exif\0\0", 6)))
            picture.orientation = exifOrientation(content.sliced(6));
        if (isKept(marker))
            picture.append(rest.first(length));
        rest = rest.sliced(length);
    }
    return std::nullopt;
}
