#include "decoder/FlacTimestamp.h"

#include <bit>

namespace {

constexpr std::size_t NumberOffset = 4; // after synchronisation, block size, rate, channels and sample size

/// A number coded as UTF-8 codes a character, in up to seven bytes.
std::optional<std::int64_t> codedNumber(std::span<const std::uint8_t> bytes)
{
    if (bytes.empty())
        return std::nullopt;
    const int ones = std::countl_one(bytes[0]);
    const std::size_t length = ones == 0 ? 1 : std::size_t(ones);
    if (ones == 1 || ones == 8 || bytes.size() < length)
        return std::nullopt;
    std::int64_t number = bytes[0] & (0xFF >> (ones + 1));
    for (const std::uint8_t byte : bytes.subspan(1, length - 1)) {
        if ((byte & 0xC0) != 0x80)
            return std::nullopt;
        number = number << 6 | (byte & 0x3F);
    }
    return number;
}

} // namespace

std::optional<std::int64_t> flacFramePosition(std::span<const std::uint8_t> frame, int blockSize)
{
    if (frame.size() <= NumberOffset || frame[0] != 0xFF || (frame[1] & 0xFE) != 0xF8)
        return std::nullopt;
    const auto number = codedNumber(frame.subspan(NumberOffset));
    const bool countsSamples = frame[1] & 1;
    if (!number || (!countsSamples && blockSize <= 0))
        return std::nullopt;
    return countsSamples ? *number : *number * blockSize;
}

std::int64_t flacLength(std::span<const std::uint8_t> streamInfo)
{
    constexpr std::size_t offset = 13; // behind sizes, rate, channels and sample size; 36 bits
    if (streamInfo.size() < offset + 5)
        return 0;
    std::int64_t length = streamInfo[offset] & 0xF;
    for (const std::uint8_t byte : streamInfo.subspan(offset + 1, 4))
        length = length << 8 | byte;
    return length;
}

int flacBlockSize(std::span<const std::uint8_t> streamInfo)
{
    if (streamInfo.size() < 4)
        return 0;
    const int smallest = streamInfo[0] << 8 | streamInfo[1];
    const int largest = streamInfo[2] << 8 | streamInfo[3];
    return smallest == largest ? largest : 0;
}
