#include "metadata/MediaSource.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr qint64 CacheSize = 4096;

qint64 readFully(int descriptor, char *buffer, qint64 position, qint64 length)
{
    qint64 done = 0;
    while (done < length) {
        const ssize_t count =
            pread(descriptor, buffer + done, static_cast<std::size_t>(length - done), position + done);
        if (count < 0 && errno == EINTR)
            continue; // a signal came between
        if (count <= 0)
            break;
        done += count;
    }
    return done;
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
    QByteArray bytes(std::clamp<qint64>(length, 0, std::max<qint64>(size() - offset, 0)), Qt::Uninitialized);
    bytes.truncate(readInto(bytes.data(), offset, bytes.size()));
    return bytes;
}

QByteArray MediaSource::readTag(qint64 offset, qint64 length)
{
    QByteArray bytes = read(offset, std::min(length, m_tagBytesLeft));
    m_tagBytesLeft -= bytes.size();
    return bytes;
}

qint64 MediaSource::readInto(char *buffer, qint64 offset, qint64 length)
{
    if (offset < 0 || offset >= size() || length <= 0)
        return 0;
    const qint64 position = m_begin + offset;
    length = std::min(length, m_end - position);
    if (length > CacheSize)
        return readFully(m_descriptor, buffer, position, length);

    if (!isCached(position, length)) {
        m_cache.resize(CacheSize);
        m_cache.truncate(readFully(m_descriptor, m_cache.data(), position, CacheSize));
        m_cachePosition = position;
    }
    length = std::min<qint64>(length, m_cachePosition + m_cache.size() - position);
    std::memcpy(buffer, m_cache.constData() + (position - m_cachePosition), static_cast<std::size_t>(length));
    return length;
}

void MediaSource::dropFront(qint64 length)
{
    m_begin = std::min(m_begin + length, m_end);
}

void MediaSource::dropBack(qint64 length)
{
    m_end = std::max(m_end - length, m_begin);
}

bool MediaSource::isCached(qint64 position, qint64 length) const
{
    return position >= m_cachePosition && position + length <= m_cachePosition + m_cache.size();
}
