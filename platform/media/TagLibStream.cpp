#include "platform/media/TagLibStream.h"

#include <algorithm>

TagLib::ByteVector TagLibStream::readBlock(Length length)
{
    const qint64 available = std::max<qint64>(m_source.size() - m_position, 0);
    const auto wanted = std::min<quint64>(length, static_cast<quint64>(std::min(available, m_bytesLeft)));
    if (wanted == 0 || m_readsLeft-- <= 0)
        return {};

    TagLib::ByteVector block(static_cast<unsigned int>(wanted));
    const qint64 count = m_source.readInto(block.data(), m_position, static_cast<qint64>(wanted));
    block.resize(static_cast<unsigned int>(count));
    m_position += count;
    m_bytesLeft -= count;
    return block;
}

void TagLibStream::seek(Offset offset, Position from)
{
    const Offset base = from == Beginning ? 0 : from == Current ? m_position : length();
    m_position = std::clamp<qint64>(base + std::clamp<qint64>(offset, -length(), length()), 0, length());
}
