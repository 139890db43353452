#include "decoder/Mp4Track.h"

#include "decoder/GaplessComment.h"

#include <QList>
#include <cmath>

namespace {

/// A length in units of which there are so many in a second.
struct Timing {
    double units = 0;
    double scale = 0;
};

struct Edit {
    double duration = 0; ///< in units of the movie; infinite if it lasts to the end of the media
    double start = 0; ///< in units of the track's media; negative for silence
};

struct AudioTrack {
    bool isAudio = false;
    Timing media;
    QList<Edit> edits; ///< without silence
};

class Mp4SoundReader {
public:
    explicit Mp4SoundReader(MediaSource &source)
        : m_source(source)
        , m_walk(source)
    {
    }

    /// Reads the first movie, which describes all else.
    std::optional<Mp4Sound> sound()
    {
        bool isFound = false;
        m_walk.forEach([this, &isFound](const Mp4Atom &atom) {
            if (!isFound && atom.name == "moov")
                m_walk.forEach(atom, [this](const Mp4Atom &field) { readMovieField(field); });
            isFound = isFound || atom.name == "moov";
        });
        const Timing &media = m_track.media;
        if (m_isFragmented || !(media.units > 0 && media.units < LongestMedia && media.scale > 0))
            return std::nullopt;
        Mp4Sound sound = editedSound();
        sound.unitsPerSecond = std::int64_t(media.scale);
        if (m_hasSeveralTracks)
            sound.begin.reset();
        return sound;
    }

private:
    static constexpr double LongestMedia = 1e15; // units; exact as a double
    static constexpr std::int64_t LongestDelay = 16'384; // frames of an encoder; beyond it music was cut off

    void readMovieField(const Mp4Atom &atom)
    {
        if (atom.name == "mvhd")
            m_movie = timing(atom);
        else if (atom.name == "mvex")
            m_isFragmented = true;
        else if (atom.name == "trak")
            readTrack(atom);
        else if (atom.name == "udta")
            m_walk.forEach(atom, [this](const Mp4Atom &inner) { readUserData(inner); });
    }

    void readTrack(const Mp4Atom &atom)
    {
        AudioTrack track;
        m_walk.forEach(atom, [this, &track](const Mp4Atom &part) {
            if (part.name == "edts" || part.name == "mdia")
                m_walk.forEach(part, [this, &track](const Mp4Atom &field) { readTrackField(track, field); });
        });
        if (!track.isAudio)
            return;
        m_hasSeveralTracks = m_track.isAudio;
        if (!m_track.isAudio)
            m_track = track;
    }

    void readTrackField(AudioTrack &track, const Mp4Atom &atom)
    {
        constexpr qint64 kindOffset = 8; // behind version, flags and an unused number
        if (atom.name == "mdhd")
            track.media = timing(atom);
        else if (atom.name == "hdlr")
            track.isAudio = m_source.read(atom.begin + kindOffset, 4) == "soun";
        else if (atom.name == "elst")
            track.edits = edits(atom);
    }

    /// The comment is an item of the list that the usual tags stand in.
    void readUserData(const Mp4Atom &meta)
    {
        static constexpr qint64 most = 1024; // bytes of one item; the comment has 200
        if (meta.name != "meta")
            return;
        m_walk.forEach(m_walk.metaContent(meta), [this](const Mp4Atom &list) {
            if (list.name != "ilst")
                return;
            m_walk.forEach(list, [this](const Mp4Atom &item) {
                if (item.name == "----" && !m_comment)
                    m_comment =
                        gaplessComment(m_source.read(item.begin, std::min(item.end - item.begin, most)));
            });
        });
    }

    /// The fields of an atom whose numbers may have 32 or 64 bits.
    Fields versionedFields(const Mp4Atom &atom, bool &isLong)
    {
        constexpr qint64 most = 64 << 10; // bytes; an edit list has a few dozen
        Fields fields(m_source.read(atom.begin, std::min(atom.end - atom.begin, most)));
        isLong = fields.number<quint8>() == 1;
        fields.take(3); // flags
        return fields;
    }

    /// From an atom "mvhd" or "mdhd".
    Timing timing(const Mp4Atom &atom)
    {
        bool isLong = false;
        Fields fields = versionedFields(atom, isLong);
        fields.take(isLong ? 16 : 8); // times of creation and change
        const double scale = fields.number<quint32_be>();
        return {isLong ? double(fields.number<quint64_be>()) : fields.number<quint32_be>(), scale};
    }

    QList<Edit> edits(const Mp4Atom &atom)
    {
        bool isLong = false;
        Fields fields = versionedFields(atom, isLong);
        QList<Edit> edits;
        for (quint32 left = fields.number<quint32_be>(); left > 0 && !fields.isEmpty(); --left) {
            const double duration =
                isLong ? double(fields.number<quint64_be>()) : fields.number<quint32_be>();
            const double start = isLong ? double(fields.number<qint64_be>()) : fields.number<qint32_be>();
            fields.take(4); // speed
            if (start >= 0)
                edits.append({duration > 0 ? duration : INFINITY, start});
        }
        return edits;
    }

    [[nodiscard]] Mp4Sound editedSound() const
    {
        const double units = m_track.media.units;
        const double unit = m_track.media.scale / m_movie.scale; // of the movie, in those of the media
        double edited = 0; // stays that if there are no edits, or none of stated length
        for (const Edit &edit : m_track.edits)
            edited += std::clamp(units - edit.start, 0.0, edit.duration * unit);
        if (!(edited > 0))
            return uneditedSound();
        const Edit &edit = m_track.edits.first();
        if (m_track.edits.size() > 1 || edit.start > double(LongestDelay))
            return {.length = std::llround(edited), .begin = {}};
        const auto isMeant = [&](double length) { return std::abs(length - edit.duration * unit) < unit; };
        const Mp4Sound whole = uneditedSound();
        if (whole.begin && edit.start == 0 && isMeant(units))
            return whole;
        const double rest = units - edit.start;
        if (m_comment && isMeant(double(m_comment->length)))
            edited = double(m_comment->length);
        else if (isMeant(rest))
            edited = rest;
        return {.length = std::llround(edited), .begin = std::int64_t(edit.start)};
    }

    /// What the comment says, if it agrees with the packets, the last of which may count in full or as far as it sounds.
    [[nodiscard]] Mp4Sound uneditedSound() const
    {
        constexpr std::int64_t longestPacket = 2048;
        const auto units = std::int64_t(m_track.media.units);
        const bool isTrue = m_comment && m_comment->length > 0 && m_comment->delay <= LongestDelay
            && std::abs(m_comment->total() - units) <= longestPacket;
        return isTrue ? Mp4Sound{.length = m_comment->length, .begin = m_comment->delay}
                      : Mp4Sound{.length = units, .begin = {}};
    }

    MediaSource &m_source;
    Mp4Walk m_walk;
    bool m_isFragmented = false;
    bool m_hasSeveralTracks = false;
    Timing m_movie;
    AudioTrack m_track; ///< the first of sound
    std::optional<GaplessComment> m_comment;
};

} // namespace

std::optional<Mp4Sound> mp4Sound(MediaSource &source)
{
    return Mp4SoundReader(source).sound();
}
