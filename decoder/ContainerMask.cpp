#include "decoder/ContainerMask.h"

#include <QtEndian>
#include <algorithm>
#include <array>
#include <bit>
#include <map>
#include <vector>

extern "C" {
#include <libavutil/crc.h>
}

namespace {

bool startsWith(std::span<const std::uint8_t> bytes, std::string_view mark)
{
    return bytes.size() >= mark.size()
        && std::equal(mark.begin(), mark.end(), bytes.begin(),
            [](char character, std::uint8_t byte) { return std::uint8_t(character) == byte; });
}

/// Shows FLAC's blocks of comments as padding: FFmpeg compares each comment with all others.
class FlacMask final : public ContainerMask {
public:
    std::size_t apply(std::span<std::uint8_t> bytes, std::int64_t position, const Look &look) override
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

private:
    std::int64_t m_nextBlock = 4; ///< where its header stands, behind "fLaC"
};

// Matroska

constexpr int MostTags = 4000; // chance brings about 500 in all that may be read

constexpr std::uint64_t LongestFlacHeader = 64 << 10; // bytes, which hold thousands of comments

constexpr std::size_t IdSize = 2;
constexpr std::size_t LongestNumber = 8;
constexpr std::size_t LongestField = IdSize + LongestNumber + LongestNumber; // identifier, size, number

struct ElementSize {
    std::size_t width = 0; ///< bytes of the size itself; 0 if there is none
    std::uint64_t value = 0;
};

ElementSize elementSize(std::span<const std::uint8_t> bytes)
{
    const std::size_t width = bytes.empty() ? 0 : std::size_t(std::countl_zero(bytes[0])) + 1;
    if (width == 0 || width > LongestNumber || width > bytes.size())
        return {};
    std::uint64_t value = bytes[0] ^ (0x80U >> (width - 1));
    for (std::size_t i = 1; i < width; ++i)
        value = value << 8 | bytes[i];
    return {width, value};
}

/// Whether an element, whose size and number `bytes` begin with, says that a codec's header is compressed.
bool isHeadersScope(std::span<const std::uint8_t> bytes)
{
    constexpr std::uint8_t codecHeader = 2;
    const auto [width, size] = elementSize(bytes);
    const std::size_t rest = bytes.size() - width;
    return size > 0 && size <= std::min(rest, LongestNumber) && (bytes[width + size - 1] & codecHeader) != 0;
}

/// Whether the ContentEncoding whose size stands at `position` says that a codec's header is compressed, or has more
/// fields than anybody writes. A scope counts only if it begins behind the size or where another field ends: bytes of a
/// picture pass for all this once in 50 GB, whereas any scope comes by chance once in 4 MB.
bool encodesCodecHeader(std::int64_t position, const ContainerMask::Look &look)
{
    constexpr std::string_view scope = "\x50\x32";
    constexpr std::size_t widestId = 4;
    constexpr int mostFields = 64;
    std::array<std::uint8_t, LongestField> bytes = {};
    const auto at = [&](std::int64_t place) { return std::span(bytes).first(look(place, bytes)); };
    const ElementSize all = elementSize(at(position));
    std::int64_t next = position + std::int64_t(all.width);
    const std::int64_t end = next + std::int64_t(all.value);
    for (int fields = 0; next < end; ++fields) {
        const auto field = at(next);
        const std::size_t id = field.empty() ? 0 : std::size_t(std::countl_zero(field[0])) + 1;
        const auto [width, size] = elementSize(field.subspan(std::min(id, field.size())));
        if (width == 0 || id > widestId)
            return false;
        if (fields == mostFields || (startsWith(field, scope) && isHeadersScope(field.subspan(id))))
            return true;
        next += std::int64_t(id + width + size);
    }
    return false;
}

/// Bytes from the size of a codec's header, which `bytes` begin with, to the size of the block behind the first
/// one of FLAC; 0 if it is another codec or short.
std::int64_t toSecondFlacBlock(std::span<const std::uint8_t> bytes)
{
    constexpr std::string_view mark = "fLaC";
    constexpr std::int64_t firstBlock = 4 + 34;
    constexpr std::int64_t type = 1;
    const auto [width, size] = elementSize(bytes);
    const auto content = bytes.subspan(width);
    if (size <= LongestFlacHeader || !startsWith(content, mark))
        return 0;
    return std::int64_t(width + mark.size()) + firstBlock + type;
}

/// Hides headers of Matroska's codecs that are compressed, each of which may inflate to 30 MB, more tags than anybody
/// writes, each of which is compared with all others, the comments in long headers of FLAC likewise, and chapters,
/// which a player of tracks has no use for. Each such element gets an identifier, or a size, that FFmpeg passes over.
class MatroskaMask final : public ContainerMask {
public:
    std::size_t apply(std::span<std::uint8_t> bytes, std::int64_t position, const Look &look) override
    {
        constexpr std::uint8_t unknown = 0x40; // instead of an identifier's first byte, of the same width
        constexpr std::uint8_t unknownWide = 0x11;
        constexpr std::array<std::uint8_t, 4> chapters = {0x10, 0x43, 0xA7, 0x70};
        const std::size_t ready =
            bytes.size() < LongestField ? bytes.size() : bytes.size() - LongestField + 1;
        for (std::size_t i = 0; i < ready && i + IdSize <= bytes.size(); ++i) {
            const int id = bytes[i] << 8 | bytes[i + 1];
            const auto behindId = position + std::int64_t(i + IdSize);
            if ((id == 0x6240 && encodesCodecHeader(behindId, look)) || (id == 0x67C8 && ++m_tags > MostTags))
                bytes[i] = unknown;
            if (std::ranges::equal(bytes.subspan(i, std::min(bytes.size() - i, chapters.size())), chapters))
                bytes[i] = unknownWide;
            const std::int64_t distance = id == 0x63A2 ? toSecondFlacBlock(bytes.subspan(i + IdSize)) : 0;
            if (distance > 0)
                m_flacBlockSize = behindId + distance;
        }
        if (m_flacBlockSize >= 0) {
            for (std::int64_t i = m_flacBlockSize - position; i < m_flacBlockSize - position + 3; ++i) {
                if (i >= 0 && i < std::int64_t(bytes.size()))
                    bytes[std::size_t(i)] = 0xFF;
            }
        }
        return ready;
    }

private:
    int m_tags = 0;
    std::int64_t m_flacBlockSize = -1; ///< where the size of FLAC's second block stands; -1 if there is none
};

// Ogg

constexpr std::string_view PageMark("OggS\0", 5); // with the only version there is
constexpr std::size_t FlagsOffset = 5;
constexpr std::size_t ChecksumOffset = 22;
constexpr std::size_t HeaderSize = 27; // before the lengths of the page's segments
constexpr std::size_t MostSegments = 255;
constexpr std::uint8_t WholeSegment = 255; // the packet goes on in the next one

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

/// Hides all comments of Ogg that go on behind the page that they begin on: FFmpeg compares each one with all others
/// and joins those of one name again and again. The list becomes empty, whatever follows it.
class OggMask final : public ContainerMask {
public:
    std::size_t apply(std::span<std::uint8_t> bytes, std::int64_t position, const Look &look) override
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

private:
    void lookAtPage(std::int64_t position, const Look &look)
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
        if (startsWith(packet, "\3vorbis") || startsWith(packet, "\x81theora")
            || startsWith(packet, "OVP80\2"))
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
    void hideComments(std::int64_t position, std::span<std::uint8_t> page, std::size_t comments)
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

    bool m_hasFlac = false; ///< whether a stream so far is FLAC
    bool m_hasSpeex = false; ///< or Speex, or CELT, which begins alike
    std::map<std::int64_t, std::uint8_t> m_changes; ///< bytes by their positions, from the reader's on
};

} // namespace

std::unique_ptr<ContainerMask> ContainerMask::forDemuxer(std::string_view name)
{
    if (name == "flac")
        return std::make_unique<FlacMask>();
    if (name == "ogg")
        return std::make_unique<OggMask>();
    if (name.starts_with("matroska"))
        return std::make_unique<MatroskaMask>();
    return nullptr;
}
