#include "platform/audio/decoder/FFmpegProbe.h"

#include "platform/audio/decoder/FFmpegInput.h"

extern "C" {
#include <libavformat/avformat.h>
}

namespace {

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

} // namespace

ProbedMedia probeMedia(FileDescriptor file)
{
    auto opened = FFmpegInput::open(std::move(file), nullptr);
    if (opened.isError())
        return {};
    FFmpegInput &input = *opened.value();
    return {
        .duration = input.duration(),
        .isDurationGuessed = input.isDurationGuessed(),
        .title = textValue(input, "title"),
        .artist = textValue(input, "artist"),
        .album = textValue(input, "album"),
        .picture = firstPicture(*input.format()),
    };
}
