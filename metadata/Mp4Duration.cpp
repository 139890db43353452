#include "metadata/FormatReaders.h"

#include "metadata/Mp4Atoms.h"

namespace {

constexpr qint64 FieldsLimit = 64 << 10; // bytes of one atom; an edit list has a few dozen

// An edit list that takes away no more than that takes an encoder's lead-in and padding. Of these the decoder
// plays the padding, so that the whole length is nearer to what is heard.
constexpr double LongestPadding = 0.15; // seconds

/// A length in units of which there are so many in a second.
struct Timing {
    double units = 0;
    double scale = 0;

    [[nodiscard]] double seconds() const { return units / scale; }
};

struct Edit {
    double duration = 0; ///< in units of the movie
    double start = 0; ///< in units of the track's media; negative for silence
};

struct Track {
    bool isAudio = false;
    Timing media;
    QList<Edit> edits;
};

class Mp4Times {
public:
    explicit Mp4Times(MediaSource &source)
        : m_source(source)
        , m_atoms(source)
    {
        m_atoms.forEachInMovie([this](const Mp4Atom &atom) {
            if (atom.name == "mvhd")
                m_movie = timing(atom);
            else if (atom.name == "mvex")
                m_isFragmented = true;
            else if (atom.name == "trak" && !m_track.isAudio)
                readTrack(atom);
        });
    }

    [[nodiscard]] MediaTime duration() const
    {
        const double whole = m_track.media.seconds();
        if (m_isFragmented || !m_track.isAudio || !(whole > 0))
            return {};
        const double edited = editedSeconds();
        return MediaTime::fromSeconds(edited > 0 && edited < whole - LongestPadding ? edited : whole);
    }

private:
    void readTrack(const Mp4Atom &track)
    {
        m_track = {};
        m_atoms.forEachIn(track, [this](const Mp4Atom &atom) {
            if (atom.name == "edts" || atom.name == "mdia")
                m_atoms.forEachIn(atom, [this](const Mp4Atom &inner) { readTrackField(inner); });
        });
    }

    void readTrackField(const Mp4Atom &atom)
    {
        constexpr qint64 kindOffset = 8; // behind version, flags and an unused number
        if (atom.name == "mdhd")
            m_track.media = timing(atom);
        else if (atom.name == "hdlr")
            m_track.isAudio = m_source.read(atom.begin + kindOffset, 4) == "soun";
        else if (atom.name == "elst")
            m_track.edits = edits(atom);
    }

    /// From an atom "mvhd" or "mdhd".
    Timing timing(const Mp4Atom &atom)
    {
        const QByteArray bytes = content(atom);
        Fields fields(bytes);
        const bool isLong = takeVersion(fields) == 1;
        fields.take(isLong ? 16 : 8); // times of creation and change
        const double scale = fields.number<quint32_be>();
        return {isLong ? double(fields.number<quint64_be>()) : fields.number<quint32_be>(), scale};
    }

    QList<Edit> edits(const Mp4Atom &atom)
    {
        const QByteArray bytes = content(atom);
        Fields fields(bytes);
        const bool isLong = takeVersion(fields) == 1;
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

    static int takeVersion(Fields &fields)
    {
        const int version = fields.number<quint8>();
        fields.take(3); // flags
        return version;
    }

    QByteArray content(const Mp4Atom &atom)
    {
        return m_source.read(atom.begin, std::min(atom.end - atom.begin, FieldsLimit));
    }

    /// 0 if there are no edits, or none of stated length.
    [[nodiscard]] double editedSeconds() const
    {
        double seconds = 0;
        for (const Edit &edit : m_track.edits) {
            const double left = m_track.media.seconds() - edit.start / m_track.media.scale;
            if (edit.start >= 0)
                seconds += std::min(edit.duration / m_movie.scale, std::max(left, 0.0));
        }
        return seconds;
    }

    MediaSource &m_source;
    Mp4Atoms m_atoms;
    bool m_isFragmented = false;
    Timing m_movie;
    Track m_track;
};

} // namespace

MediaTime mp4Duration(MediaSource &source)
{
    return Mp4Times(source).duration();
}
