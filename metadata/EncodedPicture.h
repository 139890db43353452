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
    QSize size = {}; ///< in pixels, as stored
    QImageIOHandler::Transformations orientation = {}; ///< turns it upright
    qint64 pixelLimit = 16'000'000;
    qint64 decodingMemory = 0; ///< bytes, at most

    QByteArray head = {}; ///< in place of the one in the bytes
    QList<QByteArrayView> parts = {};

    /// Appends a part; neighbours become one.
    void append(QByteArrayView part);

    [[nodiscard]] qint64 pixels() const { return qint64(size.width()) * size.height(); }
    [[nodiscard]] bool isTurned() const { return orientation & QImageIOHandler::TransformationRotate90; }
    [[nodiscard]] QSize uprightSize() const { return isTurned() ? size.transposed() : size; }
};

/// The picture in `bytes`, or nothing if they are not a JPEG, PNG, WebP, GIF or BMP, by content, or not one that
/// can be decoded within reason: 32 MiB of bytes, 96 MiB of memory with them, 16,384 pixels a side and 16
/// million in all. A JPEG may have 50 million; if it has several scans, 64 MiB of coefficients, all of which are kept
/// until the last scan is read, and 400 million pixels times its scans. Reads headers only. Any thread.
std::optional<EncodedPicture> readPicture(const QByteArray &bytes);
