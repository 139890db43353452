#include "platform/audio/AudioPlayer.h"

#include "platform/audio/BoundedCall.h"
#include "platform/audio/DecoderModule.h"
#include "platform/audio/FilePlayer.h"
#include "platform/audio/PulseOutput.h"

#include <atomic>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

// A medium that does not answer, such as a network folder whose server is gone, must not freeze the window.
constexpr auto longestOpening = 3s;

Result<std::unique_ptr<Decoder>> openDecoder(const QUrl &url, StopFlag stop)
{
    auto file = openRegularFile(url);
    if (file.isError())
        return file.error();
    const auto module = DecoderModule::load();
    if (module.isError())
        return module.error();
    return module.value()->open(file.take(), std::move(stop));
}

} // namespace

Result<std::unique_ptr<AudioPlayer>> AudioPlayer::open(const QUrl &url, const SoundLabel &label)
{
    const auto stop = std::make_shared<std::atomic<bool>>(false);
    auto decoder = callWithin<Result<std::unique_ptr<Decoder>>>(
        longestOpening, [url, stop] { return openDecoder(url, stop); });
    if (!decoder) {
        stop->store(true);
        return Error{u"El archivo no responde."_s};
    }
    if (decoder->isError())
        return decoder->error();
    const auto makeOutput = [label](std::shared_ptr<FrameFeed> feed) {
        return std::make_unique<PulseOutput>(std::move(feed), label);
    };
    return std::unique_ptr<AudioPlayer>(std::make_unique<FilePlayer>(decoder->take(), stop, makeOutput));
}
