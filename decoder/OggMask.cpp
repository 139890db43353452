#include "decoder/ContainerMask.h"

#include <QtEndian>
#include <algorithm>
#include <array>
#include <string_view>
#include <vector>

extern "C" {
#include <libavutil/crc.h>
}

namespace {

constexpr std::string_view PageMark("OggS\0", 5); // with the only version there is
constexpr std::size_t FlagsOffset = 5;
constexpr std::size_t ChecksumOffset = 22;
constexpr std::size_t HeaderSize = 27; // before the lengths of the page's segments
constexpr std::size_t MostSegments = 255;
constexpr std::uint8_t WholeSegment = 255; // the packet goes on in the next one

bool startsWith(std::span<const std::uint8_t> bytes, std::string_view mark)
{
    return bytes.size() >= mark.size()
        && std::equal(mark.begin(), mark.end(), bytes.begin(),
            [](char character, std::uint8_t byte) { return std::uint8_t(character) == byte; });
}

struct Page {
    std::size_t content = 0; ///< where it begins
    std::size_t size = 0;
    std::size_t lastPacket = 0; ///< where the one begins that goes on behind the page; `size` if none does
};

Page layoutOf(std::span<const std::uint8_t> header)
{
    constexpr std::uint8_t continued = 1;
    Page page{.content = HeaderSize + header[HeaderSize - 1]};
    page.size = page.lastPacket = page.content;
    for (const std::uint8_t segment : header.subspan(HeaderSize, header[HeaderSize - 1])) {
        page.size += segment;
        if (segment < WholeSegment)
            page.lastPacket = page.size;
    }
    if (page.lastPacket == page.content && (header[FlagsOffset] & continued))
        page.lastPacket = page.size; // it began earlier
    return page;
}

} // namespace

std::size_t OggMask::apply(std::span<std::uint8_t> bytes, std::int64_t position, const Look &look)
{
    m_changes.erase(m_changes.begin(), m_changes.lower_bound(position));
    const auto next = [&](auto from) {
        return std::search(from, bytes.end(), PageMark.begin(), PageMark.end());
    };
    for (auto page = next(bytes.begin()); page != bytes.end(); page = next(page + 1))
        lookAtPage(position + (page - bytes.begin()), look);
    const std::int64_t end = position + std::int64_t(bytes.size());
    for (auto change = m_changes.begin(); change != m_changes.end() && change->first < end; ++change)
        bytes[std::size_t(change->first - position)] = change->second;
    return bytes.size() < PageMark.size() ? bytes.size() : bytes.size() - PageMark.size() + 1;
}

void OggMask::lookAtPage(std::int64_t position, const Look &look)
{
    constexpr std::size_t longestMark = 8;
    std::array<std::uint8_t, HeaderSize + MostSegments + longestMark> header = {};
    if (look(position, header) <= HeaderSize)
        return;
    const Page page = layoutOf(header);
    const auto content = std::span(header).subspan(page.content);
    m_hasFlac = m_hasFlac || startsWith(content, "\177FLAC");
    m_hasSpeex = m_hasSpeex || startsWith(content, "Speex   ") || startsWith(content, "CELT    ");
    if (page.lastPacket == page.size)
        return;

    std::vector<std::uint8_t> bytes(page.size);
    if (look(position, bytes) < bytes.size())
        return;
    const auto packet = std::span(bytes).subspan(page.lastPacket);
    if (startsWith(packet, "\3vorbis") || startsWith(packet, "\x81theora") || startsWith(packet, "OVP80\2"))
        hideComments(position, bytes, page.lastPacket + 7);
    else if (startsWith(packet, "OpusTags"))
        hideComments(position, bytes, page.lastPacket + 8);
    else if (m_hasFlac && (packet[0] & 0x7F) == 4)
        hideComments(position, bytes, page.lastPacket + 4);
    else if (m_hasSpeex)
        hideComments(position, bytes, page.lastPacket);
}

/// Makes the maker's name and the list empty. The page gets the checksum of what it says then: FFmpeg does not read
/// it without.
void OggMask::hideComments(std::int64_t position, std::span<std::uint8_t> page, std::size_t comments)
{
    const auto checksum = page.subspan(ChecksumOffset, 4);
    const auto sizes = page.subspan(comments, 8);
    std::ranges::fill(checksum, 0);
    std::ranges::fill(sizes, 0);
    qToBigEndian(av_crc(av_crc_get_table(AV_CRC_32_IEEE), 0, page.data(), page.size()), checksum.data());
    for (const auto &changed : {checksum, sizes}) {
        for (const std::uint8_t &byte : changed)
            m_changes[position + (&byte - page.data())] = byte;
    }
}
