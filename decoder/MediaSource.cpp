#include "decoder/MediaSource.h"

#include <algorithm>
#include <cerrno>
#include <sys/stat.h>
#include <unistd.h>

namespace {

QByteArray readFully(int descriptor, qint64 position, qint64 length)
{
    QByteArray bytes(length, Qt::Uninitialized);
    qint64 done = 0;
    while (done < length) {
        const ssize_t count =
            pread(descriptor, bytes.data() + done, std::size_t(length - done), position + done);
        if (count < 0 && errno == EINTR)
            continue; // a signal came between
        if (count <= 0)
            break;
        done += count;
    }
    bytes.truncate(done);
    return bytes;
}

} // namespace

MediaSource::MediaSource(int descriptor)
    : m_descriptor(descriptor)
{
    struct stat status = {};
    if (fstat(descriptor, &status) == 0)
        m_end = status.st_size;
}

QByteArray MediaSource::read(qint64 offset, qint64 length)
{
    constexpr qint64 cacheSize = 4096;
    if (offset < 0 || offset >= size() || length <= 0)
        return {};
    const qint64 position = m_begin + offset;
    length = std::min(length, m_end - position);
    if (length > cacheSize)
        return readFully(m_descriptor, position, length);
    if (position < m_cachePosition || position + length > m_cachePosition + m_cache.size()) {
        m_cache = readFully(m_descriptor, position, cacheSize);
        m_cachePosition = position;
    }
    return m_cache.mid(position - m_cachePosition, length);
}

QByteArray MediaSource::readTag(qint64 offset, qint64 length)
{
    QByteArray bytes = read(offset, std::min(length, m_tagBytesLeft));
    m_tagBytesLeft -= bytes.size();
    return bytes;
}

void MediaSource::dropFront(qint64 length)
{
    m_begin = std::min(m_begin + length, m_end);
}

void MediaSource::dropBack(qint64 length)
{
    m_end = std::max(m_end - length, m_begin);
}
