#pragma once

#include <QImage>
#include <QRect>
#include <QSize>
#include <atomic>
#include <chrono>

constexpr std::chrono::seconds DecodingLimit(2);

/// The largest region of a picture of `size` that has the proportions of `target`, at its centre.
QRect centredRegion(QSize size, QSize target);

/// The picture in `bytes`, upright, scaled to cover `pixels`, its overflow cut evenly off both sides; null if
/// they are no picture within reason (see readPicture()), its body is damaged, or its input has taken longer
/// than `limit` or has been abandoned. Any thread.
QImage decodedPicture(const QByteArray &bytes, QSize pixels, const std::atomic<bool> &isAbandoned,
    std::chrono::milliseconds limit = DecodingLimit);
