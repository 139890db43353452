#include "playback/Playback.h"

#include "playback/output/NullOutput.h"

#include <QtGlobal>
#include <algorithm>
#include <iterator>

using namespace std::chrono_literals;

namespace {

constexpr auto LongestLoss = 15s; // of the sound server
constexpr std::chrono::milliseconds ReconnectPauses[] = {100ms, 250ms, 500ms, 1000ms};
constexpr auto FallbackLook = 10ms; // an output that nothing wakes for is looked at this often

void warnOfSilence()
{
    static std::atomic<bool> hasWarned = false;
    if (!hasWarned.exchange(true))
        qWarning("No sound server answers: playing into nothing.");
}

} // namespace

void ReconnectPlan::connected()
{
    *this = {};
    m_wasConnected = true;
}

std::optional<ReconnectPlan::Moment> ReconnectPlan::nextAttempt(Moment now)
{
    if (!m_wasConnected)
        return std::nullopt;
    if (!m_lostAt)
        m_lostAt = now;
    if (now - *m_lostAt > LongestLoss)
        return std::nullopt;
    if (!m_next)
        m_next = now
            + ReconnectPauses[std::min<std::size_t>(std::size_t(m_attempts), std::size(ReconnectPauses) - 1)];
    return m_next;
}

void ReconnectPlan::attempted()
{
    ++m_attempts;
    m_next.reset();
}

Playback::Playback(
    AudioFormat format, double duration, std::shared_ptr<std::atomic<bool>> stop, OutputFactory makeOutput)
    : m_makeOutput(std::move(makeOutput))
    , m_feed(std::make_shared<FrameFeed>(format))
    , m_isStopped(std::move(stop))
    , m_duration(duration)
{
    m_feed->request(m_request.generation);
}

void Playback::setDelegate(AudioPlayer *player, AudioPlayerDelegate *delegate)
{
    const std::lock_guard lock(m_delegateMutex);
    m_player = player;
    m_delegate = delegate;
}

void Playback::prepare()
{
    const std::lock_guard lock(m_mutex);
    if (!m_output)
        makeOutput();
}

bool Playback::play()
{
    const std::lock_guard lock(m_mutex);
    if (m_isAtEnd)
        requestPosition(0);
    m_mix.isPlaying = true;
    if (!m_output || m_isFallback || m_output->status().state == AudioOutput::State::Failed)
        makeOutput();
    else
        m_output->apply(m_mix);
    return m_output->status().state != AudioOutput::State::Failed;
}

void Playback::pause()
{
    const std::lock_guard lock(m_mutex);
    m_mix.isPlaying = false;
    if (m_output)
        m_output->apply(m_mix);
}

void Playback::setGain(float gain)
{
    const std::lock_guard lock(m_mutex);
    m_mix.gain = gain;
    if (m_output)
        m_output->apply(m_mix);
}

void Playback::seek(double seconds)
{
    const std::lock_guard lock(m_mutex);
    requestPosition(seconds);
}

void Playback::close()
{
    setDelegate(nullptr, nullptr);
    m_isStopped->store(true);
    std::unique_ptr<AudioOutput> output;
    {
        const std::lock_guard lock(m_mutex);
        output = std::move(m_output);
    }
    m_feed->decoderWakeup().signal();
}

double Playback::currentTime()
{
    const std::lock_guard lock(m_mutex);
    return std::min(heardTime(), m_duration);
}

double Playback::duration()
{
    const std::lock_guard lock(m_mutex);
    return m_duration;
}

bool Playback::isPlaying()
{
    const std::lock_guard lock(m_mutex);
    return m_mix.isPlaying;
}

Playback::Request Playback::request()
{
    const std::lock_guard lock(m_mutex);
    return m_request;
}

void Playback::framesReady()
{
    const std::lock_guard lock(m_mutex);
    if (m_output)
        m_output->refresh();
}

void Playback::setEnding(Ending ending)
{
    const std::lock_guard lock(m_mutex);
    m_ending = std::move(ending);
}

void Playback::setDuration(double seconds)
{
    const std::lock_guard lock(m_mutex);
    m_duration = seconds;
}

void Playback::extendDuration(double seconds)
{
    const std::lock_guard lock(m_mutex);
    m_duration = std::max(m_duration, seconds);
}

std::optional<std::chrono::milliseconds> Playback::watchOutput()
{
    std::unique_lock lock(m_mutex);
    if (!m_output)
        return std::nullopt;
    const AudioOutput::Status status = m_output->status();
    if (status.state == AudioOutput::State::Ready && !m_isFallback)
        m_reconnect.connected();
    if (status.state == AudioOutput::State::Failed)
        return recoverOutput();
    if (!m_mix.isPlaying)
        return std::nullopt;
    if (!status.isEndHeard || status.heard.generation != m_request.generation)
        return m_isFallback ? std::optional(FallbackLook) : std::nullopt;
    m_isAtEnd = true;
    m_mix.isPlaying = false;
    m_output->apply(m_mix);
    const Ending ending = m_ending;
    lock.unlock();
    reportEnd(ending);
    return std::nullopt;
}

/// Frames on the way to the old place are worth nothing from now on.
void Playback::requestPosition(double seconds)
{
    m_isAtEnd = false;
    m_request = {m_request.generation + 1, seconds};
    m_feed->request(m_request.generation);
    m_feed->decoderWakeup().signal();
}

void Playback::makeOutput()
{
    setOutput(m_makeOutput(m_feed), false);
}

/// Another output begins where the former one was heard last.
void Playback::setOutput(std::unique_ptr<AudioOutput> output, bool isFallback)
{
    if (m_output)
        requestPosition(heardTime());
    m_output = std::move(output);
    m_isFallback = isFallback;
    m_output->apply(m_mix);
}

std::optional<std::chrono::milliseconds> Playback::recoverOutput()
{
    if (!m_mix.isPlaying)
        return std::nullopt;
    const auto now = std::chrono::steady_clock::now();
    const auto attempt = m_reconnect.nextAttempt(now);
    if (!attempt) {
        fallBack();
        return m_isFallback ? std::optional(FallbackLook) : std::nullopt;
    }
    if (*attempt > now)
        return std::chrono::ceil<std::chrono::milliseconds>(*attempt - now);
    m_reconnect.attempted();
    makeOutput();
    return std::nullopt;
}

/// No server at all: time goes on without sound. A server that went away and does not return: a pause.
void Playback::fallBack()
{
    if (m_reconnect.wasConnected()) {
        qWarning("The sound server has gone away: paused.");
        m_mix.isPlaying = false;
        return;
    }
    warnOfSilence();
    setOutput(std::make_unique<NullOutput>(m_feed), true);
}

double Playback::heardTime()
{
    if (!m_output)
        return m_request.seconds;
    const Mixer::Position heard = m_output->status().heard;
    return heard.generation == m_request.generation ? heard.seconds : m_request.seconds;
}

void Playback::reportEnd(const Ending &ending)
{
    const std::lock_guard lock(m_delegateMutex);
    if (!m_delegate)
        return;
    if (ending.error)
        m_delegate->audioPlayerDecodeErrorDidOccur(*m_player, ending.error);
    else
        m_delegate->audioPlayerDidFinishPlaying(*m_player, !ending.isDamaged);
}
