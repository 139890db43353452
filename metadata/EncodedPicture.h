#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QImageIOHandler>
#include <QList>
#include <QSize>
#include <optional>

/// A cover picture before it is decoded, as its headers describe it.
///
/// Its parts are what draws it, and all that a decoder may see: texts, colour profiles, previews and further
/// frames may be compressed without a bound. They lie in the bytes that were read, which have to outlive this.
struct EncodedPicture {
    QByteArray format; ///< as QImageReader names it
    QSize size; ///< in pixels, as stored
    QImageIOHandler::Transformations orientation; ///< turns it upright
    qint64 pixelLimit = 16'000'000;
    qint64 decodingMemory = 0; ///< bytes, at most

    QByteArray head; ///< in place of the one in the bytes
    QList<QByteArrayView> parts;

    /// Appends a part; neighbours become one.
    void append(QByteArrayView part);

    [[nodiscard]] qint64 pixels() const { return qint64(size.width()) * size.height(); }
    [[nodiscard]] bool isTurned() const { return orientation & QImageIOHandler::TransformationRotate90; }
    [[nodiscard]] QSize uprightSize() const { return isTurned() ? size.transposed() : size; }
};

/// How a picture is turned and mirrored to stand upright, by the tag "Orientation" in the first directory of
/// its Exif data (CIPA DC-008), which begin with their byte order; not at all if they do not say.
QImageIOHandler::Transformations exifOrientation(QByteArrayView exif);

// Readers of the formats that a cover may have; `bytes` have to begin with the format's mark.

/// Reads the segments of a JPEG (ITU-T T.81) up to its first scan: of those for applications only the two that
/// tell how colours are stored become parts of it. One of several scans may have 64 MiB of coefficients, all of
/// which are kept until the last scan is read, and 400 million pixels times its scans.
std::optional<EncodedPicture> readJpeg(const QByteArray &bytes);

/// Reads the chunks of a PNG (ISO/IEC 15948): only those that draw the picture become its parts.
std::optional<EncodedPicture> readPng(const QByteArray &bytes);

/// Reads the chunks of a WebP (RFC 9649): its picture, or the first frame of its animation, becomes a file with
/// nothing else in it.
std::optional<EncodedPicture> readWebp(const QByteArray &bytes);
