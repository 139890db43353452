#pragma once

#include "metadata/EncodedPicture.h"

#include <QImage>
#include <QRect>
#include <QSize>
#include <atomic>
#include <chrono>

/// The picture in `bytes`, or nothing if they are not a JPEG, PNG, WebP, GIF or BMP, by content, or not one that
/// can be decoded within reason: 32 MiB of bytes, 96 MiB of memory with them, 16,384 pixels a side and 16
/// million in all; 50 million in a JPEG, whose limits for several scans readJpeg() states. Reads headers only.
/// Any thread.
std::optional<EncodedPicture> readPicture(const QByteArray &bytes);

constexpr std::chrono::seconds DecodingLimit(2);

/// The largest region of a picture of `size` that has the proportions of `target`, at its centre.
QRect centredRegion(QSize size, QSize target);

/// The picture in `bytes`, upright, scaled to cover `pixels`, its overflow cut evenly off both sides; null if
/// they are no picture within reason (see readPicture()), its body is damaged, or its input has taken longer
/// than `limit` or has been abandoned. Any thread.
QImage decodedPicture(const QByteArray &bytes, QSize pixels, const std::atomic<bool> &isAbandoned,
    std::chrono::milliseconds limit = DecodingLimit);
