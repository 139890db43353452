#include "metadata/FormatReaders.h"

#include "decoder/Fields.h"
#include "metadata/TagValues.h"

#include <algorithm>

namespace {

constexpr quint64 ObjectHeaderSize = 24; // what it is, and its size
constexpr qsizetype IdentifierSize = 16;

// Identifiers, byte for byte as they stand in a file, in hexadecimal.
constexpr QByteArrayView FileProperties = "a1dcab8c47a9cf118ee400c00c205365";
constexpr QByteArrayView ContentDescription = "3326b2758e66cf11a6d900aa0062ce6c";
constexpr QByteArrayView ExtendedContentDescription = "40a4d0d207e3d21197f000a0c95ea850";
constexpr QByteArrayView HeaderExtension = "b503bf5f2ea9cf118ee300c00c205365";
constexpr QByteArrayView Metadata = "eacbf8c5af5b77488467aa8c44fa4cca";
constexpr QByteArrayView MetadataLibrary = "941c23449894d149a1411d134e457054";

/// Takes a text and the U+0000 that ends it.
void skipText(Fields &fields)
{
    while (fields.number<quint16_le>() != 0) { } // 0 at the end too
}

class HeaderReader {
public:
    /// Reads the objects that stand one after the other in `objects`.
    void readObjects(QByteArrayView objects)
    {
        Fields fields(objects);
        while (!fields.isEmpty() && m_entriesLeft-- > 0) {
            const QByteArray identifier = fields.take(IdentifierSize).toByteArray().toHex();
            const auto size = fields.number<quint64_le>();
            if (size < ObjectHeaderSize)
                return;
            readObject(identifier, fields.take(size - ObjectHeaderSize));
        }
    }

    /// The content description counts first, then the extended one, the metadata and the metadata library, in
    /// whichever order the file stores them.
    [[nodiscard]] MediaAsset asset() const
    {
        const auto pictures =
            metadataItems(m_extendedDescription + m_metadata + m_library, CommonIdentifier::Artwork);
        return {
            m_duration, mergedTags({pictures, m_description, m_extendedDescription, m_metadata, m_library})};
    }

private:
    void readObject(const QByteArray &identifier, QByteArrayView content)
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
            const QByteArrayView name = fields.take(fields.number<quint16_le>());
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
            const QByteArrayView name = fields.take(nameLength);
            readAttribute(items, name, type, fields.take(length));
        }
    }

    static void readAttribute(QList<MetadataItem> &items, QByteArrayView name, int type, QByteArrayView value)
    {
        constexpr FieldNames names{"Title", "Author", "WM/AlbumTitle", "WM/Picture"};
        constexpr int text = 0;
        constexpr int bytes = 1;
        const QString decoded = decodedText(name, TextEncoding::Utf16); // may end in zeros
        const auto identifier = identifierOf(decoded.toUtf8().constData(), names);
        if (identifier == CommonIdentifier::Artwork && type == bytes)
            readPicture(items, Fields(value));
        else if (identifier && identifier != CommonIdentifier::Artwork && type == text)
            append(items, *identifier, value);
    }

    static void append(QList<MetadataItem> &items, CommonIdentifier identifier, QByteArrayView text)
    {
        if (text.size() >= 2 && !text.startsWith(QByteArrayView("\0\0", 2)))
            appendText(items, identifier, text, TextEncoding::Utf16);
    }

    static void readPicture(QList<MetadataItem> &items, Fields picture)
    {
        picture.take(1); // what it shows
        const auto size = picture.number<quint32_le>();
        skipText(picture); // MIME type
        skipText(picture); // description
        appendPicture(items, picture.take(size));
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

MediaAsset readAsf(MediaSource &source)
{
    constexpr qint64 fixedSize = 30; // of the header object, before the objects that it holds
    Fields fields(source.read(0, fixedSize));
    fields.take(IdentifierSize);
    const auto size = qint64(std::min(fields.number<quint64_le>(), quint64(source.size())));
    const QByteArray objects = source.readTag(fixedSize, size - fixedSize);
    HeaderReader reader;
    reader.readObjects(objects);
    return reader.asset();
}
