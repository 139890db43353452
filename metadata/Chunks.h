#pragma once

#include "metadata/MediaSource.h"

#include <QByteArray>
#include <QtEndian>
#include <algorithm>
#include <cstring>

struct Chunk {
    QByteArray name; ///< four bytes
    qint64 offset = 0; ///< of its data
    qint64 size = 0; ///< of its data, as far as the file goes
};

/// Calls `use(chunk)` with every chunk between the offsets `begin` and `end`: a name, a size of the type
/// `Number`, the data, and a zero that makes their length even, which some writers leave out.
template <typename Number, typename Use>
void forEachChunk(MediaSource &source, qint64 begin, qint64 end, Use use)
{
    constexpr int chunkLimit = 1000;
    constexpr qint64 headerSize = 4 + sizeof(Number);
    for (int i = 0; i < chunkLimit && begin + headerSize <= end; ++i) {
        const QByteArray header = source.read(begin, headerSize);
        if (header.size() < headerSize)
            return;
        Number stated;
        std::memcpy(&stated, header.constData() + 4, sizeof stated);
        begin += headerSize;
        const auto size = qint64(std::min<quint64>(stated, quint64(end - begin)));
        use(Chunk{header.first(4), begin, size});
        begin += size;
        if ((size & 1) && source.read(begin, 1) == QByteArray(1, '\0'))
            ++begin;
    }
}
