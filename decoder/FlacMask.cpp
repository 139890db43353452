#include "decoder/ContainerMask.h"

#include <QtEndian>
#include <array>

std::size_t FlacMask::apply(std::span<std::uint8_t> bytes, std::int64_t position, const Look &look)
{
    constexpr std::uint8_t last = 0x80;
    constexpr std::uint8_t padding = 1;
    constexpr std::uint8_t comments = 4;
    const std::int64_t end = position + std::int64_t(bytes.size());
    while (m_nextBlock < end) {
        const std::int64_t block = m_nextBlock;
        std::array<std::uint8_t, 4> header = {};
        look(block, header);
        const std::uint8_t type = header[0];
        const auto size = qFromBigEndian<std::uint32_t>(header.data()) & 0xFF'FFFF;
        m_nextBlock = type & last ? INT64_MAX : block + std::int64_t(header.size()) + size;
        if ((type & ~last) == comments && block >= position)
            bytes[std::size_t(block - position)] = (type & last) | padding;
    }
    return bytes.size();
}
