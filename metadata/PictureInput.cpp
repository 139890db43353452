#include "metadata/PictureInput.h"

#include <algorithm>
#include <cstring>

PictureInput::PictureInput(
    const EncodedPicture &picture, QDeadlineTimer deadline, const std::atomic<bool> &isAbandoned)
    : m_deadline(deadline)
    , m_isAbandoned(isAbandoned)
{
    for (const QByteArrayView part : picture.parts) {
        m_parts.push_back({m_size, part});
        m_size += part.size();
    }
    open(ReadOnly | Unbuffered);
}

qint64 PictureInput::readData(char *data, qint64 most)
{
    m_isCutOff = m_isCutOff || m_isAbandoned || m_deadline.hasExpired();
    if (m_isCutOff)
        return 0;
    const auto isBehind = [](qint64 position, const Part &part) { return position < part.begin; };
    auto part = std::upper_bound(m_parts.begin(), m_parts.end(), pos(), isBehind);
    qint64 done = 0;
    for (--part; done < most && part != m_parts.end(); ++part) {
        const QByteArrayView rest = part->bytes.sliced(pos() + done - part->begin);
        const qint64 length = std::min<qint64>(rest.size(), most - done);
        std::memcpy(data + done, rest.data(), std::size_t(length));
        done += length;
    }
    return done;
}
