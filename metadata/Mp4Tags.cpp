#include "metadata/FormatReaders.h"

#include "metadata/Fields.h"
#include "metadata/Mp4Atoms.h"
#include "metadata/TagValues.h"

#include <algorithm>
#include <array>
#include <optional>

namespace {

struct Name {
    QByteArrayView name;
    CommonIdentifier identifier;
};

template <std::size_t Count>
std::optional<CommonIdentifier> identifierOf(QByteArrayView name, const std::array<Name, Count> &names)
{
    const auto found = std::find_if(
        names.begin(), names.end(), [name](const Name &candidate) { return candidate.name == name; });
    return found == names.end() ? std::nullopt : std::optional(found->identifier);
}

/// What a player's own item list and the user data of QuickTime call them.
constexpr std::array ItemNames{
    Name{"\251nam", CommonIdentifier::Title},
    Name{"\251ART", CommonIdentifier::Artist},
    Name{"\251alb", CommonIdentifier::AlbumName},
    Name{"covr", CommonIdentifier::Artwork},
};

constexpr std::array MobileNames{
    Name{"titl", CommonIdentifier::Title},
    Name{"perf", CommonIdentifier::Artist},
    Name{"albm", CommonIdentifier::AlbumName},
};

constexpr std::array KeyNames{
    Name{"title", CommonIdentifier::Title},
    Name{"artist", CommonIdentifier::Artist},
    Name{"album", CommonIdentifier::AlbumName},
    Name{"artwork", CommonIdentifier::Artwork},
};

class Mp4TagReader {
public:
    explicit Mp4TagReader(MediaSource &source)
        : m_source(source)
        , m_atoms(source)
    {
    }

    QList<MetadataItem> items()
    {
        m_atoms.forEachInMovie([this](const Mp4Atom &atom) { readMovieField(atom); });
        return mergedTags({m_items, m_keyed, m_userData});
    }

private:
    QByteArray read(const Mp4Atom &atom) { return m_source.readTag(atom.begin, atom.end - atom.begin); }

    void readMovieField(const Mp4Atom &atom)
    {
        if (atom.name == "meta")
            readMeta(atom);
        else if (atom.name == "udta")
            m_atoms.forEachIn(atom, [this](const Mp4Atom &inner) {
                if (inner.name == "meta")
                    readMeta(inner);
                else
                    readUserData(inner);
            });
    }

    /// Either an item list, or names and then an item list that refers to them by number.
    void readMeta(const Mp4Atom &meta)
    {
        // Four bytes of version and flags, which QuickTime leaves out.
        const bool isPlain = m_source.read(meta.begin + 4, 4) == "hdlr";
        QList<QByteArray> keys;
        m_atoms.forEach(meta.begin + (isPlain ? 0 : 4), meta.end, [this, &keys](const Mp4Atom &atom) {
            if (atom.name == "keys")
                keys = keyNames(read(atom));
            else if (atom.name == "ilst")
                m_atoms.forEachIn(atom, [this, &keys](const Mp4Atom &item) { readItem(item, keys); });
        });
    }

    static QList<QByteArray> keyNames(const QByteArray &bytes)
    {
        constexpr quint32 headerSize = 8; // size, name space
        QList<QByteArray> names;
        Fields fields(bytes);
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
        m_atoms.forEachIn(item, [this, isKeyed, identifier](const Mp4Atom &data) {
            if (data.name == "data")
                readValue(isKeyed ? m_keyed : m_items, *identifier, read(data));
        });
    }

    static void readValue(QList<MetadataItem> &items, CommonIdentifier identifier, const QByteArray &data)
    {
        constexpr quint32 utf16 = 2;
        Fields fields(data);
        const quint32 type = fields.number<quint32_be>();
        fields.take(4); // language
        if (identifier != CommonIdentifier::Artwork)
            appendTextValues(items, identifier, fields.rest(),
                type == utf16 ? TextEncoding::Utf16BigEndian : TextEncoding::Utf8);
        else if (items.size() < MaxItemsPerTag)
            items.append({identifier, fields.rest().toByteArray()});
    }

    void readUserData(const Mp4Atom &atom)
    {
        const auto quickTime = identifierOf(atom.name, ItemNames);
        const auto mobile = identifierOf(atom.name, MobileNames);
        if (!mobile && (!quickTime || quickTime == CommonIdentifier::Artwork))
            return;
        const QByteArray data = read(atom);
        Fields fields(data);
        if (mobile) {
            fields.take(6); // version and flags, language
            appendMobileText(*mobile, fields.rest());
        } else {
            const quint64 size = fields.number<quint16_be>();
            fields.take(2); // language
            appendTextValues(m_userData, *quickTime, fields.take(size), TextEncoding::Unstated);
        }
    }

    void appendMobileText(CommonIdentifier identifier, QByteArrayView text)
    {
        QList<MetadataItem> values; // a track number may follow an album's name
        appendTextValues(
            values, identifier, text, text.startsWith("\xfe\xff") ? TextEncoding::Utf16 : TextEncoding::Utf8);
        m_userData.append(values.first());
    }

    MediaSource &m_source;
    Mp4Atoms m_atoms;
    QList<MetadataItem> m_items;
    QList<MetadataItem> m_keyed;
    QList<MetadataItem> m_userData;
};

} // namespace

QList<MetadataItem> mp4Items(MediaSource &source)
{
    return Mp4TagReader(source).items();
}
