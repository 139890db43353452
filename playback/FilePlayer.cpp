#include "playback/FilePlayer.h"

#include "decoder/DecoderModule.h"
#include "files/DetachedThread.h"
#include "playback/DecoderThread.h"
#include "playback/output/PulseOutput.h"

#include <algorithm>
#include <cmath>

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
        return std::make_unique<PulseOutput>(std::move(feed), label);
    };
    return std::unique_ptr<AudioPlayer>(std::make_unique<FilePlayer>(decoder->take(), stop, makeOutput));
}

FilePlayer::FilePlayer(
    std::unique_ptr<Decoder> decoder, std::shared_ptr<std::atomic<bool>> stop, OutputFactory makeOutput)
    : m_decoder(std::move(decoder))
    , m_isLengthUnknown(m_decoder->duration() <= 0)
    , m_playback(std::make_shared<Playback>(
          m_decoder->format(), m_decoder->duration(), std::move(stop), std::move(makeOutput)))
{
}

FilePlayer::~FilePlayer()
{
    m_playback->close();
}

void FilePlayer::setDelegate(AudioPlayerDelegate *delegate)
{
    m_playback->setDelegate(this, delegate);
}

void FilePlayer::setVolume(float volume)
{
    m_playback->setGain(std::isfinite(volume) ? std::clamp(volume, 0.0F, 1.0F) : 0.0F);
}

bool FilePlayer::prepareToPlay()
{
    m_playback->prepare();
    if (!m_decoder)
        return true;
    const bool isGuessed = m_decoder->isDurationGuessed() || m_isLengthUnknown;
    return DecoderThread::start(m_playback, m_decoder, isGuessed);
}

bool FilePlayer::play()
{
    return prepareToPlay() && m_playback->play();
}

void FilePlayer::pause()
{
    m_playback->pause();
}

void FilePlayer::stop()
{
    m_playback->pause();
}

double FilePlayer::currentTime() const
{
    return m_playback->currentTime();
}

void FilePlayer::setCurrentTime(double seconds)
{
    if (!std::isfinite(seconds))
        seconds = 0;
    // The caller may know more of the track than its container says.
    if (m_isLengthUnknown)
        m_playback->extendDuration(seconds);
    m_playback->seek(std::clamp(seconds, 0.0, duration()));
}

double FilePlayer::duration() const
{
    return m_playback->duration();
}

bool FilePlayer::isPlaying() const
{
    return m_playback->isPlaying();
}
