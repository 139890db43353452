#include "decoder/DecoderModule.h"
#include "decoder/FFmpegDecoder.h"
#include "decoder/FFmpegProbe.h"

extern "C" {
#include <libavutil/log.h>
#include <libavutil/mem.h>
}

namespace {

class FFmpegModule final : public DecoderModule {
public:
    FFmpegModule()
    {
        av_log_set_level(AV_LOG_QUIET);
        // A damaged length field must not cost the machine its memory.
        av_max_alloc(std::size_t(64) << 20);
    }

    Result<std::unique_ptr<Decoder>> open(FileDescriptor file, StopFlag stop) const override
    {
        return FFmpegDecoder::open(std::move(file), std::move(stop));
    }

    ProbedMedia probe(FileDescriptor file) const override { return probeMedia(std::move(file)); }
};

} // namespace

extern "C" __attribute__((visibility("default"))) const DecoderModule *lumaverdineDecoderModule()
{
    static const FFmpegModule module;
    return &module;
}
