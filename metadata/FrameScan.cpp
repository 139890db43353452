#include "decoder/XingHeader.h"
#include "metadata/FormatReaders.h"

#include <QtEndian>
#include <algorithm>
#include <array>
#include <optional>

namespace {

constexpr qint64 SearchLimit = 64 << 10; // junk in front of the first frame
constexpr qint64 CountLimit = 64 << 20; // beyond it the rest is taken to be like the part before
constexpr int ChainLength = 3; // frames in a row that make a stream
constexpr int LossLimit = 16; // places where the count may lose the stream and find it again

struct Frame {
    qint64 position = 0;
    int bytes = 0;
    int samples = 0;
    int rate = 0; ///< samples per second
    int bitRate = 0; ///< bits per second; 0 in ADTS, which does not state it
    quint32 kind = 0; ///< the header's bits that stay the same throughout a stream
};

std::optional<Frame> adtsFrame(qint64 position, QByteArrayView header)
{
    static constexpr std::array rates{
        96000, 88200, 64000, 48000, 44100, 32000, 24000, 22050, 16000, 12000, 11025, 8000, 7350};
    const auto bits = qFromBigEndian<quint64>(header.data());
    const std::size_t rateIndex = bits >> 42 & 0xF;
    const int bytes = static_cast<int>(bits >> 21 & 0x1FFF);
    const int blocks = static_cast<int>(bits >> 8 & 3) + 1;
    if (rateIndex >= rates.size() || bytes < 7)
        return std::nullopt;
    return Frame{
        position, bytes, 1024 * blocks, rates[rateIndex], 0, static_cast<quint32>(bits >> 32) & 0xFFFE'FC00};
}

/// Kilobits per second; one row for each of MPEG-1 layer I, II, III, MPEG-2 layer I, and its II and III.
constexpr std::array<std::array<int, 14>, 5> BitRates{{
    {32, 64, 96, 128, 160, 192, 224, 256, 288, 320, 352, 384, 416, 448},
    {32, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, 384},
    {32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320},
    {32, 48, 56, 64, 80, 96, 112, 128, 144, 160, 176, 192, 224, 256},
    {8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160},
}};

std::optional<Frame> mpegFrame(qint64 position, quint32 bits)
{
    static constexpr std::array rates{44100, 48000, 32000};
    const quint32 version = bits >> 19 & 3; // 3: MPEG-1, 2: MPEG-2, 0: MPEG-2.5
    const quint32 layer = 4 - (bits >> 17 & 3);
    const quint32 bitRateIndex = bits >> 12 & 0xF;
    const quint32 rateIndex = bits >> 10 & 3;
    if (version == 1 || layer == 4 || bitRateIndex == 0 || bitRateIndex == 15 || rateIndex == 3)
        return std::nullopt;

    const bool isFirst = version == 3;
    const int rate = rates[rateIndex] >> (isFirst ? 0 : version == 2 ? 1 : 2);
    const std::size_t row = isFirst ? layer - 1 : layer == 1 ? 3 : 4;
    const int bitRate = BitRates[row][bitRateIndex - 1] * 1000;
    const int padding = static_cast<int>(bits >> 9 & 1);
    const int samples = layer == 1 ? 384 : layer == 3 && !isFirst ? 576 : 1152;
    const int slot = layer == 1 ? 4 : 1;
    return Frame{position, (samples / 8 / slot * bitRate / rate + padding) * slot, samples, rate, bitRate,
        bits & 0xFFFE'0C00};
}

std::optional<Frame> frameAt(MediaSource &source, qint64 position)
{
    constexpr qint64 headerSize = 8;
    const QByteArray header = source.read(position, headerSize);
    if (header.size() < headerSize)
        return std::nullopt;
    const auto bits = qFromBigEndian<quint32>(header.data());
    if ((bits & 0xFFE0'0000) != 0xFFE0'0000)
        return std::nullopt;
    return (bits & 0xFFF6'0000) == 0xFFF0'0000 ? adtsFrame(position, header) : mpegFrame(position, bits);
}

/// The frame at `position` if enough of its kind follow it.
std::optional<Frame> chainAt(MediaSource &source, qint64 position)
{
    const std::optional<Frame> first = frameAt(source, position);
    std::optional<Frame> frame = first;
    for (int i = 1; frame && i < ChainLength; ++i) {
        frame = frameAt(source, frame->position + frame->bytes);
        if (!frame || frame->kind != first->kind)
            return std::nullopt;
    }
    return first;
}

std::optional<Frame> findChain(MediaSource &source, qint64 from)
{
    if (const auto first = chainAt(source, from))
        return first; // without a large read
    const QByteArray block = source.read(from, SearchLimit);
    for (qsizetype i = block.indexOf('\xff'); i >= 0; i = block.indexOf('\xff', i + 1)) {
        if (const auto first = chainAt(source, from + i))
            return first;
    }
    return std::nullopt;
}

/// The length that a header in the first frame states; not numeric if there is none.
MediaTime statedDuration(const Frame &frame, const QByteArray &content)
{
    const auto number = [&content](qsizetype offset) {
        return offset + 4 <= content.size() ? qFromBigEndian<quint32>(content.constData() + offset) : 0;
    };
    if (content.indexOf("VBRI") == 36 && number(50) > 0)
        return {qint64(number(50)) * frame.samples, frame.rate};

    const auto xing = xingHeader(content);
    if (!xing || xing->frames == 0)
        return {};
    const qint64 samples = xing->frames * frame.samples - xing->delay - xing->padding;
    return {std::max<qint64>(samples, 0), frame.rate};
}

/// Whether frames all over the stream have the bit rate of the first.
bool isConstantRate(MediaSource &source, const Frame &first)
{
    constexpr int probes = 8;
    for (int i = 1; i < probes; ++i) {
        const auto frame = findChain(source, first.position + (source.size() - first.position) / probes * i);
        if (!frame || frame->bitRate != first.bitRate)
            return false;
    }
    return true;
}

MediaTime countedDuration(MediaSource &source, const Frame &first)
{
    const qint64 begin = first.position;
    qint64 samples = 0;
    qint64 position = begin;
    const qint64 end = std::min(source.size(), begin + CountLimit);
    for (int losses = 0; position < end && losses < LossLimit;) {
        if (const auto frame = frameAt(source, position)) {
            samples += frame->samples;
            position += frame->bytes;
        } else if (const auto next = findChain(source, position)) {
            position = next->position;
            ++losses;
        } else {
            return {samples, first.rate};
        }
    }
    const double share = double(std::min(position, source.size()) - begin) / double(source.size() - begin);
    return {static_cast<qint64>(double(samples) / share), first.rate};
}

} // namespace

MediaTime scannedDuration(MediaSource &source)
{
    const std::optional<Frame> first = findChain(source, 0);
    if (!first)
        return {};
    const MediaTime stated = statedDuration(*first, source.read(first->position, first->bytes));
    if (stated.isNumeric())
        return stated;
    if (first->bitRate > 0 && isConstantRate(source, *first))
        return {(source.size() - first->position) * 8 * first->rate / first->bitRate, first->rate};
    return countedDuration(source, *first);
}
