#pragma once

#include "platform/media/MediaSource.h"

#include <taglib/taglib.h>
#include <taglib/tiostream.h>

/// A MediaSource as TagLib reads it: never written to, and dry after so many reads that no healthy file
/// needs, which ends every loop and every recursion that a hostile one leads TagLib into.
class TagLibStream : public TagLib::IOStream {
public:
#if TAGLIB_MAJOR_VERSION >= 2
    using Offset = TagLib::offset_t;
    using Start = TagLib::offset_t;
    using Length = std::size_t;
#else
    using Offset = long;
    using Start = unsigned long;
    using Length = unsigned long;
#endif

    /// `source` is borrowed and outlives the stream.
    explicit TagLibStream(MediaSource &source)
        : m_source(source)
    {
    }

    TagLib::FileName name() const override
    {
        return "";
    }
    TagLib::ByteVector readBlock(Length length) override;
    void writeBlock(const TagLib::ByteVector &) override { }
    void insert(const TagLib::ByteVector &, Start, Length) override { }
    void removeBlock(Start, Length) override { }
    bool readOnly() const override
    {
        return true;
    }
    bool isOpen() const override
    {
        return true;
    }
    void seek(Offset offset, Position from) override;
    Offset tell() const override
    {
        return m_position;
    }
    Offset length() override
    {
        return m_source.size();
    }
    void truncate(Offset) override { }

private:
    MediaSource &m_source;
    Offset m_position = 0;
    int m_readsLeft = 20'000; // as many nested MP4 atoms fit on a stack of 4 MiB
    qint64 m_bytesLeft = 256 << 20;
};
