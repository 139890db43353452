#pragma once

#include "metadata/Fields.h"
#include "metadata/MediaSource.h"

#include <QByteArray>
#include <algorithm>

struct Mp4Atom {
    QByteArray name; ///< four bytes
    qint64 begin = 0; ///< of its content
    qint64 end = 0;
};

/// Walks through the atoms of one file, through a bounded number of them in all.
class Mp4Atoms {
public:
    explicit Mp4Atoms(MediaSource &source)
        : m_source(source)
    {
    }

    /// Calls `use` with the atoms one behind the other between two offsets.
    template <typename Use> void forEach(qint64 begin, qint64 end, Use use)
    {
        constexpr qint64 shortHeader = 8; // size, name
        constexpr qint64 longHeader = 16; // with a size of 64 bits behind them
        while (begin + shortHeader <= end && m_atomsLeft-- > 0) {
            const QByteArray header = m_source.read(begin, longHeader);
            Fields fields(header);
            quint64 size = fields.number<quint32_be>();
            const QByteArray name = fields.take(4).toByteArray();
            const qint64 headerSize = size == 1 ? longHeader : shortHeader;
            if (size == 1)
                size = fields.number<quint64_be>();
            if (size == 0) // up to the end
                size = quint64(end - begin);
            if (header.size() < shortHeader || size < quint64(headerSize))
                return;
            const qint64 next = begin + qint64(std::min(size, quint64(end - begin)));
            use(Mp4Atom{name, std::min(begin + headerSize, next), next});
            begin = next;
        }
    }

    /// The same with those in `atom`.
    template <typename Use> void forEachIn(const Mp4Atom &atom, Use use)
    {
        forEach(atom.begin, atom.end, use);
    }

    /// The same with those in the first atom "moov", which describes all the others.
    template <typename Use> void forEachInMovie(Use use)
    {
        bool isFound = false;
        forEach(0, m_source.size(), [this, &isFound, &use](const Mp4Atom &atom) {
            if (isFound || atom.name != "moov")
                return;
            isFound = true;
            forEachIn(atom, use);
        });
    }

private:
    MediaSource &m_source;
    int m_atomsLeft = 10'000;
};
