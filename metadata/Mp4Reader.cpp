#include "metadata/FormatReaders.h"

#include "metadata/Fields.h"
#include "metadata/TagValues.h"

#include <algorithm>

namespace {

constexpr FieldNames ItemNames{
    "\251nam", "\251ART", "\251alb", "covr"}; // the user data of QuickTime has them, too
constexpr FieldNames KeyNames{"title", "artist", "album", "artwork"};
constexpr FieldNames MobileNames{"titl", "perf", "albm"};

// An edit list that takes away no more than that takes an encoder's lead-in and padding. Of these the decoder
// plays the padding, so that the whole length is nearer to what is heard.
constexpr double LongestPadding = 0.15; // seconds

struct Atom {
    QByteArray name; ///< four bytes
    qint64 begin = 0; ///< of its content
    qint64 end = 0;
};

/// A length in units of which there are so many in a second.
struct Timing {
    double units = 0;
    double scale = 0;
};

struct Edit {
    double duration = 0; ///< in units of the movie
    double start = 0; ///< in units of the track's media; negative for silence
};

struct AudioTrack {
    bool isAudio = false;
    Timing media;
    QList<Edit> edits;
};

class Mp4Reader {
public:
    explicit Mp4Reader(MediaSource &source)
        : m_source(source)
    {
    }

    /// Reads the first movie, which describes all else.
    MediaAsset asset()
    {
        bool isFound = false;
        forEachAtom({{}, 0, m_source.size()}, [this, &isFound](const Atom &atom) {
            if (isFound || atom.name != "moov")
                return;
            isFound = true;
            forEachAtom(atom, [this](const Atom &field) { readMovieField(field); });
        });
        return {duration(), mergedTags({m_items, m_keyed, m_userData})};
    }

private:
    /// Calls `use` with the atoms in another one, one behind the other; with a bounded number of them in all.
    template <typename Use> void forEachAtom(const Atom &whole, Use use)
    {
        constexpr qint64 shortHeader = 8; // size, name
        constexpr qint64 longHeader = 16; // with a size of 64 bits behind them
        for (qint64 begin = whole.begin; begin + shortHeader <= whole.end && m_atomsLeft-- > 0;) {
            Fields header(m_source.read(begin, longHeader));
            const bool isCut = header.rest().size() < shortHeader;
            quint64 size = header.number<quint32_be>();
            const QByteArray name = header.take(4).toByteArray();
            const qint64 headerSize = size == 1 ? longHeader : shortHeader;
            if (size == 1)
                size = header.number<quint64_be>();
            if (size == 0) // up to the end
                size = quint64(whole.end - begin);
            if (isCut || size < quint64(headerSize))
                return;
            const qint64 next = begin + qint64(std::min(size, quint64(whole.end - begin)));
            use(Atom{name, std::min(begin + headerSize, next), next});
            begin = next;
        }
    }

    void readMovieField(const Atom &atom)
    {
        if (atom.name == "mvhd")
            m_movie = timing(atom);
        else if (atom.name == "mvex")
            m_isFragmented = true;
        else if (atom.name == "trak" && !m_track.isAudio)
            readTrack(atom);
        else if (atom.name == "meta")
            readMeta(atom);
        else if (atom.name == "udta")
            forEachAtom(atom, [this](const Atom &inner) {
                if (inner.name == "meta")
                    readMeta(inner);
                else
                    readUserData(inner);
            });
    }

    // The length

    void readTrack(const Atom &track)
    {
        m_track = {};
        forEachAtom(track, [this](const Atom &atom) {
            if (atom.name == "edts" || atom.name == "mdia")
                forEachAtom(atom, [this](const Atom &inner) { readTrackField(inner); });
        });
    }

    void readTrackField(const Atom &atom)
    {
        constexpr qint64 kindOffset = 8; // behind version, flags and an unused number
        if (atom.name == "mdhd")
            m_track.media = timing(atom);
        else if (atom.name == "hdlr")
            m_track.isAudio = m_source.read(atom.begin + kindOffset, 4) == "soun";
        else if (atom.name == "elst")
            m_track.edits = edits(atom);
    }

    /// The fields of an atom whose numbers may have 32 or 64 bits.
    Fields versionedFields(const Atom &atom, bool &isLong)
    {
        constexpr qint64 most = 64 << 10; // bytes; an edit list has a few dozen
        Fields fields(m_source.read(atom.begin, std::min(atom.end - atom.begin, most)));
        isLong = fields.number<quint8>() == 1;
        fields.take(3); // flags
        return fields;
    }

    /// From an atom "mvhd" or "mdhd".
    Timing timing(const Atom &atom)
    {
        bool isLong = false;
        Fields fields = versionedFields(atom, isLong);
        fields.take(isLong ? 16 : 8); // times of creation and change
        const double scale = fields.number<quint32_be>();
        return {isLong ? double(fields.number<quint64_be>()) : fields.number<quint32_be>(), scale};
    }

    QList<Edit> edits(const Atom &atom)
    {
        bool isLong = false;
        Fields fields = versionedFields(atom, isLong);
        QList<Edit> edits;
        for (quint32 left = fields.number<quint32_be>(); left > 0 && !fields.isEmpty(); --left) {
            const double duration =
                isLong ? double(fields.number<quint64_be>()) : fields.number<quint32_be>();
            const double start = isLong ? double(fields.number<qint64_be>()) : fields.number<qint32_be>();
            fields.take(4); // speed
            edits.append({duration, start});
        }
        return edits;
    }

    [[nodiscard]] MediaTime duration() const
    {
        const Timing &media = m_track.media;
        const double whole = media.units / media.scale;
        if (m_isFragmented || !m_track.isAudio || !(whole > 0))
            return {};
        double edited = 0; // stays that if there are no edits, or none of stated length
        for (const Edit &edit : m_track.edits) {
            if (edit.start >= 0)
                edited +=
                    std::min(edit.duration / m_movie.scale, std::max(whole - edit.start / media.scale, 0.0));
        }
        return MediaTime::fromSeconds(edited > 0 && edited < whole - LongestPadding ? edited : whole);
    }

    // The tags

    QByteArray readTag(const Atom &atom) { return m_source.readTag(atom.begin, atom.end - atom.begin); }

    /// Either an item list, or names and then an item list that refers to them by number.
    void readMeta(const Atom &meta)
    {
        // Four bytes of version and flags, which QuickTime leaves out.
        const bool isPlain = m_source.read(meta.begin + 4, 4) == "hdlr";
        QList<QByteArray> keys;
        forEachAtom({{}, meta.begin + (isPlain ? 0 : 4), meta.end}, [this, &keys](const Atom &atom) {
            if (atom.name == "keys")
                keys = keyNames(Fields(readTag(atom)));
            else if (atom.name == "ilst")
                forEachAtom(atom, [this, &keys](const Atom &item) { readItem(item, keys); });
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

    void readItem(const Atom &item, const QList<QByteArray> &keys)
    {
        const qsizetype number = qFromBigEndian<quint32>(item.name.constData());
        const bool isKeyed = number >= 1 && number <= keys.size();
        const QByteArray key = isKeyed ? keys[number - 1] : QByteArray();
        const auto identifier = isKeyed ? identifierOf(key.sliced(key.lastIndexOf('.') + 1), KeyNames)
                                        : identifierOf(item.name, ItemNames);
        if (!identifier)
            return;
        forEachAtom(item, [this, isKeyed, identifier](const Atom &data) {
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

    void readUserData(const Atom &atom)
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
    int m_atomsLeft = 10'000;
    bool m_isFragmented = false;
    Timing m_movie;
    AudioTrack m_track; ///< the first of sound, or the last one if there is none
    QList<MetadataItem> m_items;
    QList<MetadataItem> m_keyed;
    QList<MetadataItem> m_userData;
};

} // namespace

MediaAsset readMp4(MediaSource &source)
{
    return Mp4Reader(source).asset();
}
