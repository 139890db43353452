#include "metadata/StatedDuration.h"

#include "metadata/Fields.h"

#include <array>

namespace {

/// Seven bits a byte, the highest bit set in all but the last.
qint64 takeMusepackNumber(Fields &fields)
{
    constexpr int longest = 8; // bytes
    qint64 number = 0;
    for (int i = 0; i < longest; ++i) {
        const int byte = fields.number<quint8>();
        number = number << 7 | (byte & 0x7F);
        if (!(byte & 0x80))
            break;
    }
    return number;
}

} // namespace

MediaTime wavPackDuration(MediaSource &source)
{
    static constexpr std::array rates{6000, 8000, 9600, 11025, 12000, 16000, 22050, 24000, 32000, 44100,
        48000, 64000, 88200, 96000, 192000};
    constexpr quint32 unknown = 0xFFFF'FFFF;
    constexpr quint32 directStream = 0x8000'0000; // counts bytes of eight samples each
    const QByteArray header = source.read(0, 32);
    Fields fields(header);
    fields.take(11); // "wvpk", size, version, the upper bits of where the block starts
    const qint64 high = fields.number<quint8>();
    const quint32 low = fields.number<quint32_le>();
    fields.take(8); // where the block starts, how many samples it holds
    const quint32 flags = fields.number<quint32_le>();
    const std::size_t rate = flags >> 23 & 0xF;
    if (low == 0 || low == unknown || rate >= rates.size() || (flags & directStream))
        return {};
    return {high * unknown + low, rates[rate]};
}

MediaTime musepackDuration(MediaSource &source)
{
    static constexpr std::array rates{44100, 48000, 37800, 32000};
    const QByteArray header = source.read(0, 64);
    Fields fields(header);
    fields.take(6); // "MPCK", "SH"
    takeMusepackNumber(fields); // size of the packet
    fields.take(5); // checksum, version
    const qint64 samples = takeMusepackNumber(fields);
    const qint64 silence = takeMusepackNumber(fields);
    const std::size_t rate = std::size_t(fields.number<quint8>()) >> 5;
    if (samples <= silence || rate >= rates.size())
        return {};
    return {samples - silence, rates[rate]};
}
