#include "platform/audio/decoder/FFmpegProbe.h"
#include "platform/audio/decoder/FFmpegInput.h"

ProbedMedia probeMedia(FileDescriptor file)
{
    auto opened = FFmpegInput::open(std::move(file), nullptr);
    ProbedMedia media;
    if (opened.isError())
        return media;
    media.duration = opened.value()->duration();
    media.isDurationGuessed = opened.value()->isDurationGuessed();
    return media;
}
