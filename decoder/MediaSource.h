#pragma once

#include <QByteArray>

/// The bytes of one open media file, read by position, without the tags that were dropped at its two ends.
///
/// What is asked for beyond the end, or cannot be read, is missing from the answer: no call fails. Borrows
/// the descriptor. One thread at a time.
class MediaSource {
public:
    explicit MediaSource(int descriptor);

    /// Bytes between the two ends.
    [[nodiscard]] qint64 size() const { return m_end - m_begin; }

    /// Up to `length` bytes from `offset`.
    [[nodiscard]] QByteArray read(qint64 offset, qint64 length);

    /// As read(), of a tag. Of a file's tags 32 MiB are read in all, because readers hold up to three copies of them at
    /// a time; what lies behind is missing.
    [[nodiscard]] QByteArray readTag(qint64 offset, qint64 length);

    /// Moves an end inwards; later offsets count from the new beginning.
    void dropFront(qint64 length);
    void dropBack(qint64 length);

private:
    int m_descriptor;
    qint64 m_begin = 0;
    qint64 m_end = 0;
    qint64 m_tagBytesLeft = 32 << 20;
    QByteArray m_cache; ///< small neighbouring reads are one call of the system
    qint64 m_cachePosition = 0;
};
