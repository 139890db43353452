#include "metadata/FormatReaders.h"

#include "metadata/Fields.h"
#include "metadata/TagValues.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr quint64 ObjectHeaderSize = 24; // what it is, and its size
constexpr qsizetype IdentifierSize = 16;

// Identifiers as they stand in a file.
constexpr QByteArrayView FileProperties(
    "\xA1\xDC\xAB\x8C\x47\xA9\xCF\x11\x8E\xE4\x00\xC0\x0C\x20\x53\x65", IdentifierSize);
constexpr QByteArrayView ContentDescription(
    "\x33\x26\xB2\x75\x8E\x66\xCF\x11\xA6\xD9\x00\xAA\x00\x62\xCE\x6C", IdentifierSize);
constexpr QByteArrayView ExtendedContentDescription(
    "\x40\xA4\xD0\xD2\x07\xE3\xD2\x11\x97\xF0\x00\xA0\xC9\x5E\xA8\x50", IdentifierSize);
constexpr QByteArrayView HeaderExtension(
    "\xB5\x03\xBF\x5F\x2E\xA9\xCF\x11\x8E\xE3\x00\xC0\x0C\x20\x53\x65", IdentifierSize);
constexpr QByteArrayView Metadata(
    "\xEA\xCB\xF8\xC5\xAF\x5B\x77\x48\x84\x67\xAA\x8C\x44\xFA\x4C\xCA", IdentifierSize);
constexpr QByteArrayView MetadataLibrary(
    "\x94\x1C\x23\x44\x98\x94\xD1\x49\xA1\x41\x1D\x13\x4E\x45\x70\x54", IdentifierSize);

/// Takes a text and the U+0000 that ends it.
void skipText(Fields &fields)
{
    while (fields.number<quint16_le>() != 0) { } // 0 at the end too
}

QString takeText(Fields &fields, quint64 length)
{
    return decodedText(fields.take(length), TextEncoding::Utf16);
}

class HeaderReader {
public:
    /// Reads the objects that stand one after the other in `objects`.
    void readObjects(QByteArrayView objects)
    {
        Fields fields(objects);
        while (!fields.isEmpty() && m_entriesLeft-- > 0) {
            const QByteArrayView identifier = fields.take(IdentifierSize);
            const auto size = fields.number<quint64_le>();
            if (size < ObjectHeaderSize)
                return;
            readObject(identifier, fields.take(size - ObjectHeaderSize));
        }
    }

    /// The content description counts first, then the extended one, the metadata and the metadata library, in
    /// whichever order the file stores them.
    [[nodiscard]] MediaContents contents() const
    {
        const auto pictures =
            metadataItems(m_extendedDescription + m_metadata + m_library, CommonIdentifier::Artwork);
        return {
            m_duration, mergedTags({pictures, m_description, m_extendedDescription, m_metadata, m_library})};
    }

private:
    void readObject(QByteArrayView identifier, QByteArrayView content)
    {
        Fields fields(content);
        if (identifier == FileProperties) {
            readFileProperties(fields);
        } else if (identifier == ContentDescription) {
            readContentDescription(fields);
        } else if (identifier == ExtendedContentDescription) {
            readExtendedContentDescription(fields);
        } else if (identifier == Metadata) {
            readMetadata(fields, m_metadata);
        } else if (identifier == MetadataLibrary) {
            readMetadata(fields, m_library);
        } else if (identifier == HeaderExtension && !m_isInExtension) {
            m_isInExtension = true;
            fields.take(22);
            readObjects(fields.rest());
            m_isInExtension = false;
        }
    }

    void readFileProperties(Fields &fields)
    {
        fields.take(40);
        const auto played = fields.number<quint64_le>() / 10'000; // from units of 100 ns to milliseconds
        fields.take(8);
        const auto preroll = fields.number<quint64_le>(); // milliseconds
        if (played > preroll)
            m_duration = {qint64(played - preroll), 1000};
    }

    void readContentDescription(Fields &fields)
    {
        const auto titleLength = fields.number<quint16_le>();
        const auto artistLength = fields.number<quint16_le>();
        fields.take(6); // lengths of copyright, description, rating
        append(m_description, CommonIdentifier::Title, fields.take(titleLength));
        append(m_description, CommonIdentifier::Artist, fields.take(artistLength));
    }

    void readExtendedContentDescription(Fields &fields)
    {
        fields.take(2); // count
        while (!fields.isEmpty() && m_entriesLeft-- > 0) {
            const QString name = takeText(fields, fields.number<quint16_le>());
            const auto type = fields.number<quint16_le>();
            readAttribute(m_extendedDescription, name, type, fields.take(fields.number<quint16_le>()));
        }
    }

    void readMetadata(Fields &fields, QList<MetadataItem> &items)
    {
        fields.take(2); // count
        while (!fields.isEmpty() && m_entriesLeft-- > 0) {
            fields.take(4); // language, stream
            const auto nameLength = fields.number<quint16_le>();
            const auto type = fields.number<quint16_le>();
            const auto length = fields.number<quint32_le>();
            const QString name = takeText(fields, nameLength);
            readAttribute(items, name, type, fields.take(length));
        }
    }

    static void readAttribute(QList<MetadataItem> &items, QStringView name, int type, QByteArrayView value)
    {
        constexpr int text = 0;
        constexpr int bytes = 1;
        while (name.endsWith(QChar::Null))
            name.chop(1);
        if (name == u"Title"_s && type == text)
            append(items, CommonIdentifier::Title, value);
        else if (name == u"Author"_s && type == text)
            append(items, CommonIdentifier::Artist, value);
        else if (name == u"WM/AlbumTitle"_s && type == text)
            append(items, CommonIdentifier::AlbumName, value);
        else if (name == u"WM/Picture"_s && type == bytes)
            appendPicture(items, Fields(value));
    }

    static void append(QList<MetadataItem> &items, CommonIdentifier identifier, QByteArrayView text)
    {
        if (text.size() >= 2 && !text.startsWith(QByteArrayView("\0\0", 2)))
            appendTextValues(items, identifier, text, TextEncoding::Utf16);
    }

    static void appendPicture(QList<MetadataItem> &items, Fields picture)
    {
        picture.take(1); // what it shows
        const auto size = picture.number<quint32_le>();
        skipText(picture); // MIME type
        skipText(picture); // description
        if (items.size() < MaxItemsPerTag)
            items.append({CommonIdentifier::Artwork, picture.take(size).toByteArray()});
    }

    MediaTime m_duration;
    QList<MetadataItem> m_description;
    QList<MetadataItem> m_extendedDescription;
    QList<MetadataItem> m_metadata;
    QList<MetadataItem> m_library;
    bool m_isInExtension = false;
    int m_entriesLeft = MaxEntriesPerTag; ///< objects and attributes
};

} // namespace

MediaContents readAsf(MediaSource &source)
{
    constexpr qint64 fixedSize = 30; // of the header object, before the objects that it holds
    const QByteArray head = source.read(0, fixedSize);
    Fields fields(head);
    fields.take(IdentifierSize);
    const auto size = qint64(std::min(fields.number<quint64_le>(), quint64(source.size())));
    const QByteArray objects = source.readTag(fixedSize, size - fixedSize);
    HeaderReader reader;
    reader.readObjects(objects);
    return reader.contents();
}
