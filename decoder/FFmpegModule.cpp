#include "decoder/DecoderModule.h"
#include "decoder/FFmpegDecoder.h"

#include <chrono>

extern "C" {
#include <libavformat/avformat.h>
#include <libavutil/log.h>
#include <libavutil/mem.h>
}

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds LongestCount(1);

/// Seconds that the packets last which are left; nothing if one does not tell or they are too many.
std::optional<double> lengthOfPackets(FFmpegInput &input, Clock::time_point deadline)
{
    const AVStream &stream = *input.audioStream();
    const AVRational frameTime{1, stream.codecpar->sample_rate};
    if (frameTime.den <= 0)
        return std::nullopt;
    std::int64_t frames = 0;
    AVPacket *packet = av_packet_alloc();
    int result = AVERROR(ENOMEM);
    while (packet && Clock::now() < deadline && (result = input.readPacket(packet)) >= 0
        && packet->duration > 0) {
        // The time of a frame may be no whole number of the stream's units, so that their sum would drift.
        frames = av_sat_add64(frames, av_rescale_q(packet->duration, stream.time_base, frameTime));
        av_packet_unref(packet);
    }
    av_packet_free(&packet);
    if (result != AVERROR_EOF || frames <= 0)
        return std::nullopt;
    return double(frames) * av_q2d(frameTime);
}

/// Seconds of what is decoded; nothing if it takes too long.
std::optional<double> lengthOfSound(const FFmpegInput &input, Clock::time_point deadline)
{
    if (Clock::now() >= deadline)
        return std::nullopt;
    auto again = input.openAgain();
    if (again.isError())
        return std::nullopt;
    const auto decoder = FFmpegDecoder::open(again.take());
    if (decoder.isError())
        return std::nullopt;
    std::int64_t frames = 0;
    while (Clock::now() < deadline) {
        const auto block = decoder.value()->read();
        if (block.isError())
            return std::nullopt;
        if (block.value().samples.empty())
            return decoder.value()->format().seconds(frames);
        frames += std::int64_t(block.value().samples.size()) / decoder.value()->format().channels;
    }
    return std::nullopt;
}

/// A container's word is taken if it has one; a guess only if the sound is too long to count.
std::optional<double> duration(FFmpegInput &input)
{
    const auto stated = input.duration();
    if (stated && (!input.isDurationGuessed() || input.isPcm()))
        return stated;
    const auto deadline = Clock::now() + LongestCount;
    if (const auto packets = lengthOfPackets(input, deadline))
        return packets;
    const auto sound = lengthOfSound(input, deadline);
    return sound ? sound : stated;
}

/// The value of the audio stream (Ogg) or of the whole container (the others).
std::optional<QString> textValue(FFmpegInput &input, const char *key)
{
    for (const AVDictionary *tags : {input.format()->metadata, input.audioStream()->metadata}) {
        if (const AVDictionaryEntry *entry = av_dict_get(tags, key, nullptr, 0))
            return QString::fromUtf8(entry->value);
    }
    return std::nullopt;
}

std::optional<QByteArray> firstPicture(const AVFormatContext &format)
{
    for (unsigned int i = 0; i < format.nb_streams; ++i) {
        const AVPacket &picture = format.streams[i]->attached_pic;
        if (picture.size > 0)
            return QByteArray(reinterpret_cast<const char *>(picture.data), picture.size);
    }
    return std::nullopt;
}

class FFmpegModule final : public DecoderModule {
public:
    FFmpegModule()
    {
        av_log_set_level(AV_LOG_QUIET);
        // A damaged length field must not cost the machine its memory.
        av_max_alloc(std::size_t(64) << 20);
    }

    Result<std::unique_ptr<Decoder>> open(
        FileDescriptor file, StopFlag stop, const FormatChoice &chooseFormat) const override
    {
        auto input = FFmpegInput::open(std::move(file), std::move(stop));
        if (input.isError())
            return input.error();
        return FFmpegDecoder::open(input.take(), chooseFormat);
    }

    ProbedMedia probe(FileDescriptor file) const override
    {
        auto opened = FFmpegInput::open(std::move(file), nullptr);
        if (opened.isError())
            return {};
        FFmpegInput &input = *opened.value();
        return {
            .duration = duration(input),
            .title = textValue(input, "title"),
            .artist = textValue(input, "artist"),
            .album = textValue(input, "album"),
            .picture = firstPicture(*input.format()),
        };
    }
};

} // namespace

extern "C" __attribute__((visibility("default"))) const DecoderModule *lumaverdineDecoderModule()
{
    static const FFmpegModule module;
    return &module;
}
