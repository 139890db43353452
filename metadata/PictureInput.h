#pragma once

#include "metadata/EncodedPicture.h"

#include <QDeadlineTimer>
#include <QIODevice>
#include <atomic>
#include <vector>

/// The parts of a picture as one file, which ends before its end once its time is up, so that a decoder gives
/// up. Borrows both arguments.
class PictureInput : public QIODevice {
    Q_OBJECT

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
