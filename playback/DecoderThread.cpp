#include "playback/DecoderThread.h"

#include "files/DetachedThread.h"

#include <cmath>

namespace {

// What has to be ready before the sound of another position begins.
constexpr double EnoughToBegin = 0.05; // seconds

} // namespace

DecoderThread::DecoderThread(
    std::shared_ptr<Playback> playback, std::unique_ptr<Decoder> decoder, bool isGuessed)
    : m_playback(std::move(playback))
    , m_decoder(std::move(decoder))
    , m_isDurationGuessed(isGuessed)
{
}

bool DecoderThread::start(
    std::shared_ptr<Playback> playback, std::unique_ptr<Decoder> &decoder, bool isGuessed)
{
    const std::shared_ptr<DecoderThread> self(
        new DecoderThread(std::move(playback), std::move(decoder), isGuessed));
    if (startDetachedThread([self] { self->run(); }))
        return true;
    decoder = std::move(self->m_decoder);
    return false;
}

void DecoderThread::run()
{
    while (!m_playback->isStopped()) {
        const bool isBusy = advance();
        const auto timeout = m_playback->watchOutput();
        if (!isBusy)
            m_playback->feed().decoderWakeup().wait(timeout);
    }
}

/// One step of work; false where there is nothing to do before the next signal.
bool DecoderThread::advance()
{
    const Playback::Request request = m_playback->request();
    if (request.generation != m_generation) {
        startOver(request);
        return true;
    }
    if (m_ring->isFinished())
        return false;
    return m_undelivered.samples.empty() ? decode() : deliver();
}

void DecoderThread::startOver(const Playback::Request &request)
{
    const AudioFormat format = m_decoder->format();
    const std::int64_t target = std::llround(request.seconds * format.rate);
    const bool isFirst = m_generation == 0 && target == 0;
    m_generation = request.generation;
    m_ring = &m_playback->feed().startOver(m_generation, target);
    m_undelivered = {};
    m_position = target;
    m_playback->setEnding({});
    const auto isObsolete = [this] {
        return m_playback->isStopped() || m_playback->request().generation != m_generation;
    };
    if (!isFirst && !m_decoder->seek(target, isObsolete))
        finish(Error{QStringLiteral("No se puede cambiar de posición en el archivo.")});
}

bool DecoderThread::decode()
{
    const Result<DecodedFrames> block = m_decoder->read();
    m_undelivered = block.isError() ? DecodedFrames{} : block.value();
    if (!m_undelivered.samples.empty())
        return deliver();
    finish(block.isError() ? std::optional(block.error()) : std::nullopt);
    return false;
}

/// False where the ring is full.
bool DecoderThread::deliver()
{
    const std::int64_t frames = m_ring->write(m_undelivered.samples, m_undelivered.position);
    const auto samples = std::size_t(frames * m_decoder->format().channels);
    m_undelivered.samples = m_undelivered.samples.subspan(samples);
    m_undelivered.position += frames;
    m_position = m_undelivered.position;
    if (m_isDurationGuessed)
        m_playback->extendDuration(m_decoder->format().seconds(m_position));
    publishWhenReady();
    return m_undelivered.samples.empty();
}

void DecoderThread::finish(std::optional<Error> error)
{
    if (m_isDurationGuessed && !error && m_position > m_ring->start())
        m_playback->setDuration(m_decoder->format().seconds(m_position));
    m_playback->setEnding({m_decoder->isDamaged(), std::move(error)});
    m_ring->finish();
    publishWhenReady();
}

void DecoderThread::publishWhenReady()
{
    FrameFeed &feed = m_playback->feed();
    const bool isFull = !m_undelivered.samples.empty();
    const bool isReady =
        isFull || m_ring->isFinished() || m_ring->available() >= m_decoder->format().frames(EnoughToBegin);
    if (!feed.isPublished() && isReady) {
        feed.publish();
        m_playback->framesReady();
    } else if (feed.takeStarved()) {
        m_playback->framesReady();
    }
}
