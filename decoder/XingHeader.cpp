#include "decoder/XingHeader.h"

#include <QtEndian>
#include <algorithm>

std::optional<XingHeader> xingHeader(QByteArrayView frame)
{
    constexpr qsizetype lastPlace = 36; // in stereo MPEG-1
    constexpr quint32 hasFrames = 1, hasBytes = 2, hasTable = 4, hasQuality = 8;
    const auto number = [&frame](qsizetype offset) {
        return offset + 4 <= frame.size() ? qFromBigEndian<quint32>(frame.data() + offset) : 0;
    };
    const qsizetype begin = std::max(frame.indexOf("Xing"), frame.indexOf("Info"));
    if (begin < 0 || begin > lastPlace)
        return std::nullopt;
    const quint32 fields = number(begin + 4);
    XingHeader header{.frames = fields & hasFrames ? number(begin + 8) : 0};
    const qsizetype encoder = begin + 8 + (fields & hasFrames ? 4 : 0) + (fields & hasBytes ? 4 : 0)
        + (fields & hasTable ? 100 : 0) + (fields & hasQuality ? 4 : 0);
    const QByteArrayView name = frame.sliced(std::min(encoder, frame.size()));
    if (name.startsWith("LAME") || name.startsWith("Lav")) {
        const quint32 edges = number(encoder + 20) & 0xFF'FFFF; // 12 bits of delay, 12 of padding
        header.delay = int(edges >> 12);
        header.padding = int(edges & 0xFFF);
    }
    return header;
}
