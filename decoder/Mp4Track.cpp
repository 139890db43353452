#include "decoder/Mp4Track.h"

#include "decoder/GaplessComment.h"

#include <QList>
#include <bit>
#include <cmath>
#include <utility>

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

/// Those of an atom that starts with a version and flags.
class VersionedFields : public Fields {
public:
    explicit VersionedFields(QByteArray bytes)
        : Fields(std::move(bytes))
        , m_start(number<quint32_be>())
    {
    }

    [[nodiscard]] quint32 flags(quint32 among) const { return m_start & among; }

    double time() { return isLong() ? double(number<quint64_be>()) : number<quint32_be>(); }
    double signedTime() { return isLong() ? double(number<qint64_be>()) : number<qint32_be>(); }

private:
    [[nodiscard]] bool isLong() const { return m_start >> 24 == 1; }

    quint32 m_start;
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

    std::optional<Mp4Sound> sound()
    {
        m_walk.forEach(m_walk.movie(), [this](const Mp4Atom &field) { readMovieField(field); });
        if (m_isFragmented)
            readLastFragment();
        const Timing &media = m_track.media;
        if (!(media.units > 0 && media.units < LongestMedia && media.scale > 0))
            return std::nullopt;
        Mp4Sound sound = editedSound();
        sound.unitsPerSecond = std::int64_t(media.scale);
        if (m_hasSeveralSounds)
            sound.begin.reset();
        return sound;
    }

private:
    static constexpr double LongestMedia = 1e15; // units; exact as a double
    static constexpr std::int64_t LongestDelay = 16'384; // frames of an encoder; beyond it music was cut off
    static constexpr qint64 LongestFragment = 4 << 20; // bytes without the sound; hours of packets

    void readMovieField(const Mp4Atom &atom)
    {
        if (atom.name == "mvhd")
            m_movie = timing(atom);
        else if (atom.name == "mvex")
            readExtension(atom);
        else if (atom.name == "trak")
            readTrack(atom);
        else if (atom.name == "udta")
            m_walk.forEach(atom, [this](const Mp4Atom &inner) { readUserData(inner); });
    }

    void readExtension(const Mp4Atom &atom)
    {
        m_isFragmented = true;
        m_walk.forEach(atom, [this](const Mp4Atom &field) {
            if (field.name != "trex")
                return;
            VersionedFields fields = versionedFields(field);
            fields.take(8); // track, kind of packets
            m_packetUnits = fields.number<quint32_be>();
        });
    }

    /// The media end where it does; nobody knows where if it is not of one track alone, or does not say where it begins.
    void readLastFragment()
    {
        Mp4Atom last;
        m_walk.forEach(m_walk.file(), [&last](const Mp4Atom &atom) {
            if (atom.name == "moof")
                last = atom;
        });
        m_track.media.units = NAN;
        if (m_tracks != 1 || last.end - last.begin > LongestFragment)
            return;
        m_walk.forEach(last, [this](const Mp4Atom &part) {
            if (part.name == "traf")
                m_walk.forEach(part, [this](const Mp4Atom &field) { readFragmentField(field); });
        });
    }

    void readFragmentField(const Mp4Atom &atom)
    {
        VersionedFields fields = versionedFields(atom, LongestFragment);
        if (atom.name == "tfhd") {
            fields.take(4); // track
            fields.take(fields.flags(0x1) ? 8 : 0); // where the data is
            fields.take(fields.flags(0x2) ? 4 : 0); // kind of packets
            if (fields.flags(0x8))
                m_packetUnits = fields.number<quint32_be>();
        } else if (atom.name == "tfdt") {
            m_track.media.units = fields.time();
        } else if (atom.name == "trun") {
            m_track.media.units += runUnits(fields);
        }
    }

    /// What a run of packets lasts.
    [[nodiscard]] double runUnits(VersionedFields &run) const
    {
        constexpr quint32 haveUnits = 0x100, haveOthers = 0xE00; // of a packet, four bytes each
        const quint32 packets = run.number<quint32_be>();
        run.take(run.flags(0x1) ? 4 : 0); // where the data is
        run.take(run.flags(0x4) ? 4 : 0); // flags of the first packet
        if (!run.flags(haveUnits))
            return packets * m_packetUnits;
        double units = 0;
        for (quint32 left = packets; left > 0 && !run.isEmpty(); --left) {
            units += run.number<quint32_be>();
            run.take(4 * quint64(std::popcount(run.flags(haveOthers))));
        }
        return units;
    }

    void readTrack(const Mp4Atom &atom)
    {
        ++m_tracks;
        AudioTrack track;
        m_walk.forEach(atom, [this, &track](const Mp4Atom &part) {
            if (part.name == "edts" || part.name == "mdia")
                m_walk.forEach(part, [this, &track](const Mp4Atom &field) { readTrackField(track, field); });
        });
        if (!track.isAudio)
            return;
        m_hasSeveralSounds = m_track.isAudio;
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

    VersionedFields versionedFields(const Mp4Atom &atom, qint64 most = 64 << 10)
    {
        return VersionedFields(m_source.read(atom.begin, std::min(atom.end - atom.begin, most)));
    }

    /// From an atom "mvhd" or "mdhd".
    Timing timing(const Mp4Atom &atom)
    {
        VersionedFields fields = versionedFields(atom);
        fields.time(); // of creation
        fields.time(); // of change
        const double scale = fields.number<quint32_be>();
        return {fields.time(), scale};
    }

    QList<Edit> edits(const Mp4Atom &atom)
    {
        VersionedFields fields = versionedFields(atom);
        QList<Edit> edits;
        for (quint32 left = fields.number<quint32_be>(); left > 0 && !fields.isEmpty(); --left) {
            const double duration = fields.time();
            const double start = fields.signedTime();
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
        if (m_track.edits.size() > 1)
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
    int m_tracks = 0; ///< of whatever
    bool m_isFragmented = false;
    double m_packetUnits = 0; ///< of a packet that does not tell, in those of the media
    bool m_hasSeveralSounds = false;
    Timing m_movie;
    AudioTrack m_track; ///< the first of sound
    std::optional<GaplessComment> m_comment;
};

} // namespace

std::optional<Mp4Sound> mp4Sound(MediaSource &source)
{
    return Mp4SoundReader(source).sound();
}
