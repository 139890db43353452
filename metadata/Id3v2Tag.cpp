#include "decoder/Id3v2Header.h"
#include "metadata/FormatReaders.h"
#include "metadata/TagValues.h"

#include <algorithm>

namespace {

enum TagFlag { Unsynchronised = 0x80, Extended = 0x40 };

QByteArray withoutUnsynchronisation(QByteArrayView data)
{
    QByteArray plain;
    plain.reserve(data.size());
    for (qsizetype i = 0; i < data.size(); ++i) {
        plain.append(data[i]);
        if (data[i] == '\xff' && i + 1 < data.size() && data[i + 1] == '\0')
            ++i;
    }
    return plain;
}

/// Whether something in `data` looks like the start of a sound frame, which unsynchronisation leaves nowhere.
bool hasSynchronisation(QByteArrayView data)
{
    const auto found = std::adjacent_find(data.begin(), data.end(),
        [](char first, char second) { return first == '\xff' && static_cast<quint8>(second) >= 0xE0; });
    return found != data.end();
}

bool isFrameIdentifier(QByteArrayView bytes)
{
    return std::all_of(
        bytes.begin(), bytes.end(), [](char c) { return (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9'); });
}

TextEncoding textEncoding(char code)
{
    return quint8(code) < quint8(TextEncoding::Utf8) ? TextEncoding(code) : TextEncoding::Utf8;
}

/// Where the text at `begin` ends, its terminator included.
qsizetype endOfText(char encoding, QByteArrayView data, qsizetype begin)
{
    const qsizetype unit = encoding == 1 || encoding == 2 ? 2 : 1;
    for (qsizetype i = begin; i + unit <= data.size(); i += unit) {
        if (data[i] == '\0' && data[i + unit - 1] == '\0')
            return i + unit;
    }
    return data.size();
}

/// Walks the frames of one tag.
class FrameReader {
public:
    /// `isUnsynchronised` is what the tag's header says, which in 2.4 counts for each frame alone. `comment` may be null.
    FrameReader(
        int version, bool isUnsynchronised, QByteArrayView frames, std::optional<GaplessComment> *comment)
        : m_version(version)
        , m_isUnsynchronised(isUnsynchronised)
        , m_rest(frames)
        , m_comment(comment)
    {
    }

    QList<MetadataItem> items()
    {
        for (int i = 0;
             i < MaxEntriesPerTag && isFrameIdentifier(m_rest.first(std::min(idSize(), m_rest.size())))
             && m_rest.size() > headerSize();
             ++i)
            readFrame();
        return std::move(m_items);
    }

private:
    [[nodiscard]] qsizetype idSize() const { return m_version == 2 ? 3 : 4; }
    [[nodiscard]] qsizetype headerSize() const { return m_version == 2 ? 6 : 10; }

    void readFrame()
    {
        constexpr FieldNames names{"TIT2", "TPE1", "TALB", "APIC"}, shortNames{"TT2", "TP1", "TAL", "PIC"};
        const QByteArrayView name = m_rest.first(idSize());
        const auto identifier = identifierOf(name, m_version == 2 ? shortNames : names);
        const quint8 flags = m_version == 2 ? 0 : static_cast<quint8>(m_rest[9]);
        const qsizetype size = std::min(frameSize(), m_rest.size() - headerSize());
        const QByteArrayView content = m_rest.sliced(headerSize(), size);
        if (identifier)
            readContent(*identifier, flags, content);
        else if (m_comment && !*m_comment && name == (m_version == 2 ? "COM" : "COMM"))
            *m_comment = gaplessComment(content);
        m_rest = m_rest.sliced(headerSize() + size);
    }

    [[nodiscard]] qsizetype frameSize() const
    {
        const QByteArrayView bytes = m_rest.sliced(idSize(), m_version == 2 ? 3 : 4);
        const qsizetype plain = id3v2Number(bytes, 8);
        const qsizetype syncsafe = id3v2Number(bytes, 7);
        if (m_version != 4)
            return plain;
        // Some writers of 2.4 leave the size as 2.3 has it, which shows where the next frame starts.
        return !isFrameEnd(syncsafe) && isFrameEnd(plain) ? plain : syncsafe;
    }

    [[nodiscard]] bool isFrameEnd(qsizetype size) const
    {
        const qsizetype end = headerSize() + size;
        if (end + headerSize() >= m_rest.size())
            return end <= m_rest.size();
        return m_rest[end] == '\0' || isFrameIdentifier(m_rest.sliced(end, idSize()));
    }

    void readContent(CommonIdentifier identifier, quint8 flags, QByteArrayView data)
    {
        const bool isFour = m_version == 4;
        if (flags & (isFour ? 0x0C : 0xC0)) // compressed, encrypted
            return;
        const qsizetype extra =
            isFour ? (flags & 0x40 ? 1 : 0) + (flags & 0x01 ? 4 : 0) : (flags & 0x20 ? 1 : 0);
        data = data.sliced(std::min(extra, data.size()));
        QByteArray plain;
        if (isFour && ((flags & 0x02) || (m_isUnsynchronised && !hasSynchronisation(data)))) {
            plain = withoutUnsynchronisation(data);
            data = plain;
        }
        if (data.isEmpty())
            return;
        if (identifier == CommonIdentifier::Artwork)
            readPicture(data);
        else
            appendText(m_items, identifier, data.sliced(1), textEncoding(data[0]));
    }

    void readPicture(QByteArrayView data)
    {
        const qsizetype kind = m_version == 2 ? 4 : endOfText(0, data, 1);
        if (kind >= data.size())
            return;
        const qsizetype begin = endOfText(data[0], data, kind + 1);
        appendPicture(m_items, pictureFrom(data, begin));
    }

    int m_version;
    bool m_isUnsynchronised;
    QByteArrayView m_rest;
    std::optional<GaplessComment> *m_comment;
    QList<MetadataItem> m_items;
};

/// The frames behind the extended header, which says its own size: with itself in 2.4, without in 2.3. Some
/// writers only say that there is one.
QByteArrayView withoutExtendedHeader(int version, QByteArrayView body)
{
    if (body.size() < 4)
        return {};
    if (isFrameIdentifier(body.first(4)))
        return body;
    const qsizetype size =
        version == 4 ? id3v2Number(body.first(4), 7) : id3v2Number(body.first(4), 8) + qsizetype(4);
    return body.sliced(std::min(size, body.size()));
}

} // namespace

QList<MetadataItem> id3v2Items(QByteArrayView tag, std::optional<GaplessComment> *comment)
{
    if (id3v2TagSize(tag) == 0)
        return {};
    const int version = static_cast<quint8>(tag[3]);
    const char flags = tag[5];
    const bool isUnsynchronised = flags & Unsynchronised;
    if (version < 2 || version > 4)
        return {};

    QByteArrayView body = tag.sliced(Id3v2HeaderSize);
    QByteArray plain;
    if (isUnsynchronised && version < 4) {
        plain = withoutUnsynchronisation(body);
        body = plain;
    }
    if ((flags & Extended) && version > 2)
        body = withoutExtendedHeader(version, body);
    return FrameReader(version, isUnsynchronised, body, comment).items();
}
