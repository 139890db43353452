#include "playback/FilePlayer.h"

#include "decoder/DecoderModule.h"
#include "files/DetachedThread.h"
#include "playback/output/PulseStream.h"

using namespace Qt::StringLiterals;

namespace {

Result<std::unique_ptr<Decoder>> openDecoder(const DecoderModule &module, const QUrl &url, StopFlag stop)
{
    auto file = openRegularFile(url);
    if (file.isError())
        return file.error();
    return module.open(file.take(), std::move(stop));
}

} // namespace

Result<std::unique_ptr<AudioPlayer>> AudioPlayer::open(const QUrl &url, const SoundLabel &label)
{
    const auto module = DecoderModule::load();
    if (module.isError())
        return module.error();
    const auto stop = std::make_shared<std::atomic<bool>>(false);
    auto decoder =
        callWithTimeout([module = module.value(), url, stop] { return openDecoder(*module, url, stop); });
    if (!decoder) {
        stop->store(true);
        return Error{u"El archivo no responde."_s};
    }
    if (decoder->isError())
        return decoder->error();
    const auto makeOutput = [label](std::shared_ptr<FrameFeed> feed) {
        return PulseStream::open(std::move(feed), label);
    };
    return std::unique_ptr<AudioPlayer>(std::make_unique<FilePlayer>(decoder->take(), stop, makeOutput));
}
