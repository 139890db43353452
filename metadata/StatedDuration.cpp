#include "metadata/FormatReaders.h"

#include "decoder/Fields.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace {

enum WavCodec : quint16 {
    Pcm = 1,
    MicrosoftAdpcm = 2,
    Float = 3,
    ALaw = 6,
    MuLaw = 7,
    ImaAdpcm = 0x11,
    Gsm = 0x31,
    Extensible = 0xFFFE, // the codec stands further behind
};

struct WavFormat {
    quint16 codec = 0;
    qint64 channels = 0;
    quint32 rate = 0; ///< frames a second
    qint64 blockSize = 0; ///< bytes
    int bits = 0; ///< of one sample
};

WavFormat wavFormat(QByteArrayView bytes)
{
    Fields fields(bytes);
    WavFormat format;
    format.codec = fields.number<quint16_le>();
    format.channels = fields.number<quint16_le>();
    format.rate = fields.number<quint32_le>();
    fields.take(4); // bytes a second
    format.blockSize = fields.number<quint16_le>();
    format.bits = fields.number<quint16_le>();
    fields.take(8); // size of what follows, valid bits, speakers
    if (format.codec == Extensible)
        format.codec = fields.number<quint16_le>();
    return format;
}

/// Frames that a block of `size` bytes holds; the last one may be shorter than the others.
qint64 framesInBlock(const WavFormat &format, qint64 size)
{
    constexpr qint64 imaHeader = 4; // bytes a channel
    constexpr qint64 microsoftHeader = 7;
    constexpr qint64 gsmBlock = 65; // bytes
    const qint64 channels = format.channels;
    switch (format.codec) {
    case ImaAdpcm: // groups of four bytes a channel, and the sample in the header
        return format.bits == 4 && size >= imaHeader * channels
            ? (size - imaHeader * channels) / (4 * channels) * 8 + 1
            : 0;
    case MicrosoftAdpcm: // two samples in the header
        return size >= microsoftHeader * channels ? (size - microsoftHeader * channels) * 2 / channels + 2
                                                  : 0;
    case Gsm:
        return size / gsmBlock * 320;
    default:
        return 0;
    }
}

qint64 frames(const WavFormat &format, qint64 dataSize)
{
    const qint64 frameSize = format.channels * ((format.bits + 7) / 8);
    switch (format.codec) {
    case Pcm:
    case Float:
        return frameSize > 0 ? dataSize / frameSize : 0;
    case ALaw:
    case MuLaw:
        return dataSize / format.channels;
    default:
        return format.blockSize == 0 ? 0
                                     : dataSize / format.blockSize * framesInBlock(format, format.blockSize)
                + framesInBlock(format, dataSize % format.blockSize);
    }
}

/// An 80-bit float of the Motorola 68881, as AIFF states its sample rate.
double extendedFloat(quint16 exponent, quint64 mantissa)
{
    return std::ldexp(double(mantissa), (exponent & 0x7FFF) - 16383 - 63);
}

/// Frames that one that is counted stands for; 0 if the codec does not tell.
int framesInPacket(QByteArrayView codec)
{
    constexpr std::array<QByteArrayView, 13> plain{
        "", "NONE", "sowt", "twos", "raw ", "in24", "in32", "fl32", "FL32", "fl64", "FL64", "ulaw", "alaw"};
    if (codec == QByteArrayView("ima4"))
        return 64;
    return std::find(plain.begin(), plain.end(), codec) == plain.end() ? 0 : 1;
}

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

MediaTime wavDuration(QByteArrayView format, qint64 dataSize)
{
    const WavFormat wav = wavFormat(format);
    if (wav.channels == 0 || wav.rate == 0)
        return {};
    const qint64 length = frames(wav, dataSize);
    if (length <= 0)
        return {};
    return {length, qint32(wav.rate)}; // not numeric if the rate is beyond the range
}

MediaTime aiffDuration(QByteArrayView common)
{
    Fields fields(common);
    fields.take(2); // channels
    const double count = fields.number<quint32_be>();
    fields.take(2); // bits of a sample
    const quint16 exponent = fields.number<quint16_be>();
    const double rate = extendedFloat(exponent, fields.number<quint64_be>());
    const double length = count * framesInPacket(fields.take(4)) / rate;
    return length > 0 ? MediaTime::fromSeconds(length) : MediaTime{};
}

MediaAsset readWavPack(MediaSource &source)
{
    static constexpr std::array rates{6000, 8000, 9600, 11025, 12000, 16000, 22050, 24000, 32000, 44100,
        48000, 64000, 88200, 96000, 192000};
    constexpr quint32 unknown = 0xFFFF'FFFF;
    constexpr quint32 directStream = 0x8000'0000; // counts bytes of eight samples each
    Fields fields(source.read(0, 32));
    fields.take(11); // "wvpk", size, version, the upper bits of where the block starts
    const qint64 high = fields.number<quint8>();
    const quint32 low = fields.number<quint32_le>();
    fields.take(8); // where the block starts, how many samples it holds
    const quint32 flags = fields.number<quint32_le>();
    const std::size_t rate = flags >> 23 & 0xF;
    if (low == 0 || low == unknown || rate >= rates.size() || (flags & directStream))
        return {};
    return {{high * unknown + low, rates[rate]}, {}};
}

MediaAsset readMusepack(MediaSource &source)
{
    static constexpr std::array rates{44100, 48000, 37800, 32000};
    Fields fields(source.read(0, 64));
    fields.take(6); // "MPCK", "SH"
    takeMusepackNumber(fields); // size of the packet
    fields.take(5); // checksum, version
    const qint64 samples = takeMusepackNumber(fields);
    const qint64 silence = takeMusepackNumber(fields);
    const std::size_t rate = std::size_t(fields.number<quint8>()) >> 5;
    if (samples <= silence || rate >= rates.size())
        return {};
    return {{samples - silence, rates[rate]}, {}};
}
