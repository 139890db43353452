#include "metadata/FormatReaders.h"

#include "decoder/Mp4Track.h"
#include "metadata/TagValues.h"

#include <algorithm>

namespace {

constexpr FieldNames ItemNames{
    "\251nam", "\251ART", "\251alb", "covr"}; // the user data of QuickTime has them, too
constexpr FieldNames KeyNames{"title", "artist", "album", "artwork"};
constexpr FieldNames MobileNames{"titl", "perf", "albm"};

class Mp4Reader {
public:
    explicit Mp4Reader(MediaSource &source)
        : m_source(source)
        , m_walk(source)
    {
    }

    MediaAsset asset()
    {
        m_walk.forEach(m_walk.movie(), [this](const Mp4Atom &field) { readMovieField(field); });
        const auto sound = mp4Sound(m_source);
        const auto duration = sound ? MediaTime{sound->length, qint32(sound->unitsPerSecond)} : MediaTime();
        return {duration, mergedTags({m_items, m_keyed, m_userData})};
    }

private:
    void readMovieField(const Mp4Atom &atom)
    {
        if (atom.name == "meta")
            readMeta(atom);
        else if (atom.name == "udta")
            m_walk.forEach(atom, [this](const Mp4Atom &inner) {
                if (inner.name == "meta")
                    readMeta(inner);
                else
                    readUserData(inner);
            });
    }

    QByteArray readTag(const Mp4Atom &atom) { return m_source.readTag(atom.begin, atom.end - atom.begin); }

    /// Either an item list, or names and then an item list that refers to them by number.
    void readMeta(const Mp4Atom &meta)
    {
        QList<QByteArray> keys;
        m_walk.forEach(m_walk.metaContent(meta), [this, &keys](const Mp4Atom &atom) {
            if (atom.name == "keys")
                keys = keyNames(Fields(readTag(atom)));
            else if (atom.name == "ilst")
                m_walk.forEach(atom, [this, &keys](const Mp4Atom &item) { readItem(item, keys); });
        });
    }

    static QList<QByteArray> keyNames(Fields fields)
    {
        constexpr quint32 headerSize = 8; // size, name space
        QList<QByteArray> names;
        fields.take(8); // version and flags, count
        while (!fields.isEmpty() && names.size() < MaxEntriesPerTag) {
            const quint32 size = fields.number<quint32_be>();
            fields.take(4);
            names.append(fields.take(size < headerSize ? 0 : size - headerSize).toByteArray());
        }
        return names;
    }

    void readItem(const Mp4Atom &item, const QList<QByteArray> &keys)
    {
        const qsizetype number = qFromBigEndian<quint32>(item.name.constData());
        const bool isKeyed = number >= 1 && number <= keys.size();
        const QByteArray key = isKeyed ? keys[number - 1] : QByteArray();
        const auto identifier = isKeyed ? identifierOf(key.sliced(key.lastIndexOf('.') + 1), KeyNames)
                                        : identifierOf(item.name, ItemNames);
        if (!identifier)
            return;
        m_walk.forEach(item, [this, isKeyed, identifier](const Mp4Atom &data) {
            if (data.name == "data")
                readValue(isKeyed ? m_keyed : m_items, *identifier, Fields(readTag(data)));
        });
    }

    static void readValue(QList<MetadataItem> &items, CommonIdentifier identifier, Fields data)
    {
        const bool isUtf16 = data.number<quint32_be>() == 2;
        data.take(4); // language
        if (identifier == CommonIdentifier::Artwork)
            appendPicture(items, data.rest());
        else
            appendText(
                items, identifier, data.rest(), isUtf16 ? TextEncoding::Utf16BigEndian : TextEncoding::Utf8);
    }

    void readUserData(const Mp4Atom &atom)
    {
        const auto quickTime = identifierOf(atom.name, ItemNames);
        const auto mobile = identifierOf(atom.name, MobileNames);
        if (mobile) {
            Fields fields(readTag(atom));
            fields.take(6); // version and flags, language
            appendMobileText(*mobile, fields.rest());
        } else if (quickTime && quickTime != CommonIdentifier::Artwork) {
            Fields fields(readTag(atom));
            const quint64 size = fields.number<quint16_be>();
            fields.take(2); // language
            appendText(m_userData, *quickTime, fields.take(size), TextEncoding::Unstated);
        }
    }

    void appendMobileText(CommonIdentifier identifier, QByteArrayView text)
    {
        QList<MetadataItem> values; // a track number may follow an album's name
        appendText(
            values, identifier, text, text.startsWith("\xfe\xff") ? TextEncoding::Utf16 : TextEncoding::Utf8);
        m_userData.append(values.first());
    }

    MediaSource &m_source;
    Mp4Walk m_walk;
    QList<MetadataItem> m_items;
    QList<MetadataItem> m_keyed;
    QList<MetadataItem> m_userData;
};

} // namespace

MediaAsset readMp4(MediaSource &source)
{
    return Mp4Reader(source).asset();
}
