#pragma once

#include "decoder/Fields.h"
#include "decoder/MediaSource.h"

#include <algorithm>
#include <cstdint>
#include <optional>

/// A part of an MP4 or QuickTime file, which may hold others.
struct Mp4Atom {
    QByteArray name; ///< four bytes
    qint64 begin = 0; ///< of its content
    qint64 end = 0;
};

/// Walks through the atoms of a file, a bounded number of them in all.
class Mp4Walk {
public:
    explicit Mp4Walk(MediaSource &source)
        : m_source(source)
    {
    }

    [[nodiscard]] Mp4Atom file() const { return {{}, 0, m_source.size()}; }

    /// The file's movie, which describes all else: the first one counts. Empty if there is none.
    [[nodiscard]] Mp4Atom movie()
    {
        Mp4Atom movie;
        forEach(file(), [&movie](const Mp4Atom &atom) {
            if (movie.name.isEmpty() && atom.name == "moov")
                movie = atom;
        });
        return movie;
    }

    /// Calls `use` with the atoms of another one, one behind the other.
    template <typename Use> void forEach(const Mp4Atom &whole, Use use)
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
            use(Mp4Atom{name, std::min(begin + headerSize, next), next});
            begin = next;
        }
    }

    /// The content of an atom "meta": behind four bytes of version and flags, which QuickTime leaves out.
    [[nodiscard]] Mp4Atom metaContent(const Mp4Atom &meta)
    {
        const bool isPlain = m_source.read(meta.begin + 4, 4) == "hdlr";
        return {{}, meta.begin + (isPlain ? 0 : 4), meta.end};
    }

private:
    MediaSource &m_source;
    int m_atomsLeft = 10'000;
};

/// How long the first audio track of an MP4 or QuickTime file plays, and from where in its media.
struct Mp4Sound {
    std::int64_t unitsPerSecond = 0; ///< positive
    std::int64_t length = 0; ///< units; positive
    std::optional<std::int64_t> begin; ///< units; nothing if all packets play, or several parts of them
};

/// Reads it from the edit list or, if that leaves everything, from a GaplessComment that agrees with the packets.
///
/// The length is exact also if the movie counts in milliseconds: it is that of the comment, or all that lies behind the
/// edit's begin, if it is as long as the edit within one unit of the movie. Of fragments the last one tells where the media
/// end, if that is all of one track and says when it begins; else nothing. Of several audio tracks only the length is told.
std::optional<Mp4Sound> mp4Sound(MediaSource &source);
