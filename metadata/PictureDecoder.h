#pragma once

#include "metadata/EncodedPicture.h"

#include <QDeadlineTimer>
#include <QIODevice>
#include <QImage>
#include <QRect>
#include <QSize>
#include <atomic>
#include <chrono>
#include <vector>

constexpr std::chrono::seconds DecodingLimit(2);

/// The largest region of a picture of `size` that has the proportions of `target`, at its centre.
QRect centredRegion(QSize size, QSize target);

/// The picture in `bytes`, upright, scaled to cover `pixels`, its overflow cut evenly off both sides; null if
/// they are no picture within reason (see readPicture()), its body is damaged, or its input has taken longer
/// than `limit` or has been abandoned. Any thread.
QImage decodedPicture(const QByteArray &bytes, QSize pixels, const std::atomic<bool> &isAbandoned,
    std::chrono::milliseconds limit = DecodingLimit);

/// The parts of a picture as one file, which ends before its end once its time is up, so that a decoder gives
/// up. Borrows both arguments.
class PictureInput : public QIODevice {
public:
    /// Ends at `deadline`, or as soon as `isAbandoned`.
    PictureInput(
        const EncodedPicture &picture, QDeadlineTimer deadline, const std::atomic<bool> &isAbandoned);

    [[nodiscard]] bool isCutOff() const { return m_isCutOff; }
    [[nodiscard]] qint64 size() const override { return m_size; }

protected:
    qint64 readData(char *data, qint64 most) override;
    qint64 writeData(const char *, qint64) override { return -1; }

private:
    struct Part {
        qint64 begin; ///< offset in the file
        QByteArrayView bytes;
    };

    std::vector<Part> m_parts;
    qint64 m_size = 0;
    QDeadlineTimer m_deadline;
    const std::atomic<bool> &m_isAbandoned;
    bool m_isCutOff = false;
};
