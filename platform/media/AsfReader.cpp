#include "platform/media/AsfReader.h"

#include "platform/media/TextValues.h"

#include <QStringDecoder>
#include <QtEndian>
#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr quint64 HeaderSizeLimit = 64 << 20;
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
constexpr QByteArrayView MetadataLibrary(
    "\x94\x1C\x23\x44\x98\x94\xD1\x49\xA1\x41\x1D\x13\x4E\x45\x70\x54", IdentifierSize);

/// Takes fields from the front of an object; what the object does not hold is empty or 0.
class Fields {
public:
    explicit Fields(QByteArrayView bytes)
        : m_rest(bytes)
    {
    }
    explicit Fields(QByteArray &&) = delete; ///< would not live as long

    [[nodiscard]] bool isEmpty() const { return m_rest.isEmpty(); }
    [[nodiscard]] QByteArrayView rest() const { return m_rest; }

    QByteArrayView take(quint64 length)
    {
        const auto taken = m_rest.first(qsizetype(std::min(length, quint64(m_rest.size()))));
        m_rest = m_rest.sliced(taken.size());
        return taken;
    }

    template <typename Number> Number number()
    {
        const QByteArrayView bytes = take(sizeof(Number));
        return bytes.size() == sizeof(Number) ? qFromLittleEndian<Number>(bytes.data()) : 0;
    }

    QString text(quint64 length) { return QStringDecoder(QStringDecoder::Utf16LE)(take(length)); }

    /// Takes a text and the U+0000 that ends it.
    void skipText()
    {
        while (!isEmpty() && number<quint16>() != 0) { }
    }

private:
    QByteArrayView m_rest;
};

class HeaderReader {
public:
    /// Reads the objects that stand one after the other in `objects`.
    void readObjects(QByteArrayView objects)
    {
        Fields fields(objects);
        while (!fields.isEmpty()) {
            const QByteArrayView identifier = fields.take(IdentifierSize);
            const auto size = fields.number<quint64>();
            if (size < ObjectHeaderSize)
                return;
            readObject(identifier, fields.take(size - ObjectHeaderSize));
        }
    }

    [[nodiscard]] MediaContents takeContents() { return std::move(m_contents); }

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
        } else if (identifier == MetadataLibrary) {
            readMetadataLibrary(fields);
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
        const auto played = fields.number<quint64>() / 10'000; // from units of 100 ns to milliseconds
        fields.take(8);
        const auto preroll = fields.number<quint64>(); // milliseconds
        if (played > preroll)
            m_contents.duration = {qint64(played - preroll), 1000};
    }

    void readContentDescription(Fields &fields)
    {
        const auto titleLength = fields.number<quint16>();
        const auto artistLength = fields.number<quint16>();
        fields.take(6); // lengths of copyright, description, rating
        append(CommonIdentifier::Title, fields.text(titleLength));
        append(CommonIdentifier::Artist, fields.text(artistLength));
    }

    void readExtendedContentDescription(Fields &fields)
    {
        fields.take(2); // count
        while (!fields.isEmpty()) {
            const QString name = fields.text(fields.number<quint16>());
            const auto type = fields.number<quint16>();
            readAttribute(name, type, fields.take(fields.number<quint16>()));
        }
    }

    void readMetadataLibrary(Fields &fields)
    {
        fields.take(2); // count
        while (!fields.isEmpty()) {
            fields.take(4); // language, stream
            const auto nameLength = fields.number<quint16>();
            const auto type = fields.number<quint16>();
            const auto length = fields.number<quint32>();
            const QString name = fields.text(nameLength);
            readAttribute(name, type, fields.take(length));
        }
    }

    void readAttribute(QStringView name, int type, QByteArrayView value)
    {
        constexpr int text = 0;
        constexpr int bytes = 1;
        while (name.endsWith(QChar::Null))
            name.chop(1);
        if (name == u"WM/AlbumTitle"_s && type == text)
            append(CommonIdentifier::AlbumName, Fields(value).text(quint64(value.size())));
        else if (name == u"WM/Picture"_s && type == bytes)
            appendPicture(Fields(value));
    }

    void append(CommonIdentifier identifier, const QString &text)
    {
        if (!text.isEmpty() && m_contents.items.size() < MaxItemsPerTag)
            appendTextValues(m_contents.items, identifier, text);
    }

    void appendPicture(Fields picture)
    {
        picture.take(1); // what it shows
        const auto size = picture.number<quint32>();
        picture.skipText(); // MIME type
        picture.skipText(); // description
        if (m_contents.items.size() < MaxItemsPerTag)
            m_contents.items.append({CommonIdentifier::Artwork, picture.take(size).toByteArray()});
    }

    MediaContents m_contents;
    bool m_isInExtension = false;
};

} // namespace

MediaContents readAsf(MediaSource &source)
{
    constexpr qint64 fixedSize = 30; // of the header object, before the objects that it holds
    const QByteArray head = source.read(0, fixedSize);
    Fields fields(head);
    fields.take(IdentifierSize);
    const auto size = qint64(std::min(fields.number<quint64>(), HeaderSizeLimit));
    const QByteArray objects = source.read(fixedSize, std::max<qint64>(size - fixedSize, 0));
    HeaderReader reader;
    reader.readObjects(objects);
    return reader.takeContents();
}
