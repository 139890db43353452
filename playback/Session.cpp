#include "playback/Session.h"

#include "decoder/DecoderModule.h"
#include "files/DetachedThread.h"
#include "playback/output/NullOutput.h"
#include "playback/output/PulseStream.h"

#include <QtGlobal>
#include <algorithm>
#include <cmath>
#include <iterator>
#include <utility>

using namespace std::chrono_literals;
using namespace Qt::StringLiterals;

namespace {

constexpr auto LongestLoss = 15s; // of the sound server
constexpr std::chrono::milliseconds ReconnectPauses[] = {100ms, 250ms, 500ms, 1000ms};
constexpr auto FallbackPolling = 10ms; // an output that wakes nobody is asked this often

constexpr double ReadAhead = 2; // seconds

// What has to be ready before the sound of another position begins.
constexpr double EnoughToBegin = 0.05; // seconds

// A track without frames counts as playing for so long: a list of these can be paused, and keeps no core busy.
constexpr auto EmptyTurn = 50ms;

constexpr int LowestRate = 44'100; // of a stream

constexpr long MostOpenings = 8; // of successors, each of which a medium may hold up for ever

/// What an output takes for a file, whatever follows that: a song behind a mono recording of 8 kHz loses nothing.
AudioFormat streamFormat(AudioFormat own)
{
    return {std::max(own.rate, LowestRate), 2};
}

Result<std::unique_ptr<Decoder>> openDecoder(
    const DecoderModule &module, const QUrl &url, StopFlag stop, const FormatChoice &chooseFormat)
{
    auto file = openRegularFile(url);
    if (file.isError())
        return file.error();
    return module.open(file.take(), std::move(stop), chooseFormat);
}

/// Never 0.
std::uint32_t nextGeneration()
{
    static std::atomic<std::uint32_t> newest = 0;
    return ++newest;
}

void warnOfSilence()
{
    static std::atomic<bool> hasWarned = false;
    if (!hasWarned.exchange(true))
        qWarning("No sound server answers: playing into nothing.");
}

} // namespace

Result<std::shared_ptr<AudioPlayer>> AudioPlayer::open(const QUrl &url, const SoundLabel &label)
{
    const auto module = DecoderModule::load();
    if (module.isError())
        return module.error();
    const auto stop = std::make_shared<std::atomic<bool>>(false);
    auto decoder = callWithTimeout(
        [module = module.value(), url, stop] { return openDecoder(*module, url, stop, streamFormat); });
    if (!decoder) {
        stop->store(true);
        return Error{u"El archivo no responde."_s};
    }
    if (decoder->isError())
        return decoder->error();
    return std::shared_ptr<AudioPlayer>(Session::make(decoder->take(), stop, PulseStream::open, label));
}

std::optional<ReconnectBackoff::Moment> ReconnectBackoff::nextAttempt(Moment now)
{
    if (!m_wasConnected)
        return std::nullopt;
    if (!m_lostAt)
        m_lostAt = now;
    if (now - *m_lostAt > LongestLoss)
        return std::nullopt;
    if (!m_next)
        m_next = now + ReconnectPauses[std::min(m_attempts, std::size(ReconnectPauses) - 1)];
    return m_next;
}

Session::Session(std::unique_ptr<Decoder> decoder, std::shared_ptr<std::atomic<bool>> stop,
    OutputFactory makeOutput, const SoundLabel &label)
    : m_format(decoder->format())
    , m_isLengthUnknown(decoder->duration() <= 0)
    , m_isLengthGuessed(m_isLengthUnknown || decoder->isDurationGuessed())
    , m_makeOutput(std::move(makeOutput))
    , m_label(label)
    , m_isStopped(std::move(stop))
    , m_request{nextGeneration(), 0}
    , m_duration(decoder->duration())
    , m_decoder(std::move(decoder))
    , m_rings{std::make_shared<RingBuffer>(m_format, m_format.frames(ReadAhead), m_wakeup),
          std::make_shared<RingBuffer>(m_format, m_format.frames(ReadAhead), m_wakeup)}
{
}

std::shared_ptr<Session> Session::make(std::unique_ptr<Decoder> decoder,
    std::shared_ptr<std::atomic<bool>> stop, OutputFactory makeOutput, const SoundLabel &label)
{
    const std::shared_ptr<Session> session(
        new Session(std::move(decoder), std::move(stop), std::move(makeOutput), label));
    return {session.get(), [session](Session *) { session->close(); }};
}

void Session::setDelegate(AudioPlayerDelegate *delegate)
{
    const std::lock_guard lock(m_delegateMutex);
    m_delegate = delegate;
    m_wakeup->signal(); // there may be something to tell already
}

void Session::setVolume(float volume)
{
    const std::lock_guard lock(m_mutex);
    m_mix.gain = std::isfinite(volume) ? std::clamp(volume, 0.0F, 1.0F) : 0.0F;
    if (m_output)
        m_output->apply(m_mix);
}

bool Session::prepareToPlay()
{
    {
        const std::lock_guard lock(m_mutex);
        if (!m_output)
            makeOutput();
    }
    return startDecoding();
}

bool Session::startDecoding()
{
    if (!m_isDecoding)
        m_isDecoding = startDetachedThread([self = shared_from_this()] { self->run(); });
    return m_isDecoding;
}

bool Session::play()
{
    if (!prepareToPlay())
        return false;
    const std::lock_guard lock(m_mutex);
    const bool isUnderWay = std::exchange(m_isUnderWay, false);
    if (m_isAtEnd && isUnderWay)
        return true; // over already, of which the delegate is told
    if (m_isAtEnd)
        requestPosition(0);
    const bool isResumed = !std::exchange(m_mix.isPlaying, true);
    if (isResumed)
        m_turnStart = std::chrono::steady_clock::now();
    if ((m_isFallback && isResumed) || m_output->status().state == AudioOutput::State::Failed)
        makeOutput();
    else
        m_output->apply(m_mix);
    return m_output->status().state != AudioOutput::State::Failed;
}

void Session::pause()
{
    const std::lock_guard lock(m_mutex);
    m_mix.isPlaying = false;
    if (m_output)
        m_output->apply(m_mix);
}

void Session::setCurrentTime(double seconds)
{
    if (!std::isfinite(seconds))
        seconds = 0;
    const std::lock_guard lock(m_mutex);
    // The caller may know more of the track than its container says.
    if (m_isLengthUnknown)
        m_duration = std::max(m_duration, seconds);
    requestPosition(std::clamp(seconds, 0.0, m_duration));
}

void Session::close()
{
    setDelegate(nullptr);
    m_isStopped->store(true);
    m_wakeup->signal();
    const std::lock_guard lock(m_mutex);
    forgetSuccessor();
    m_output.reset();
}

AudioPlayer::State Session::state() const
{
    const std::lock_guard lock(m_mutex);
    return {std::min(heardTime(), m_duration), m_duration, m_mix.isPlaying};
}

Session::Request Session::request()
{
    const std::lock_guard lock(m_mutex);
    return m_request;
}

/// Frames on the way to the old place are worth nothing from now on.
void Session::requestPosition(double seconds)
{
    m_isAtEnd = false;
    m_request = {nextGeneration(), seconds};
    m_readyRing.reset();
    forgetSuccessor();
    if (m_output)
        m_output->offer(nullptr);
    m_wakeup->signal();
}

double Session::heardTime() const
{
    if (!m_output)
        return m_request.seconds;
    const Mixer::Position heard = m_output->status().heard;
    if (heard.generation == m_request.generation)
        return heard.seconds;
    const bool hasSuccessorBegun = m_successor.generation != 0 && heard.generation == m_successor.generation;
    return hasSuccessorBegun ? m_duration : m_request.seconds;
}

// The output

std::optional<std::chrono::milliseconds> Session::watchOutput()
{
    const std::lock_guard lock(m_mutex);
    if (!m_output)
        return std::nullopt;
    const AudioOutput::Status status = m_output->status();
    if (status.state == AudioOutput::State::Ready && !m_isFallback)
        m_reconnect.connected();
    if (status.state == AudioOutput::State::Failed)
        return recoverOutput();
    const bool isEnded = status.isEndHeard && status.heard.generation == m_request.generation;
    if (!isEnded)
        offerSuccessor();
    if (!m_mix.isPlaying)
        return std::nullopt;
    const bool isFollowed = status.isEndHeard && status.heard.generation == m_successor.generation;
    const auto rest = isFollowed || isEnded ? restOfTurn() : 0ms;
    if (rest > 0ms)
        return rest;
    if (isFollowed) {
        handOver();
    } else if (isEnded) {
        m_isAtEnd = true;
        m_mix.isPlaying = false;
        m_output->apply(m_mix);
    } else if (m_isFallback) {
        return FallbackPolling;
    }
    return std::nullopt;
}

/// How much longer a track plays that has been heard to its end; positive only if it has no frames.
std::chrono::milliseconds Session::restOfTurn() const
{
    const auto rest = m_turnStart + EmptyTurn - std::chrono::steady_clock::now();
    return m_duration > 0 ? 0ms : std::chrono::ceil<std::chrono::milliseconds>(rest);
}

void Session::makeOutput()
{
    setOutput(m_makeOutput(m_format, m_wakeup, m_label), false);
}

/// Another output begins where the former one was heard last.
void Session::setOutput(std::shared_ptr<AudioOutput> output, bool isFallback)
{
    if (m_output)
        requestPosition(heardTime());
    m_output = std::move(output);
    m_isFallback = isFallback;
    m_output->apply(m_mix);
}

std::optional<std::chrono::milliseconds> Session::recoverOutput()
{
    if (!m_mix.isPlaying)
        return std::nullopt;
    const auto now = std::chrono::steady_clock::now();
    const auto attempt = m_reconnect.nextAttempt(now);
    if (!attempt) {
        fallBack();
        return m_isFallback ? std::optional(FallbackPolling) : std::nullopt;
    }
    if (*attempt > now)
        return std::chrono::ceil<std::chrono::milliseconds>(*attempt - now);
    m_reconnect.attempted();
    makeOutput();
    return std::nullopt;
}

/// No server at all: time goes on without sound. A server that went away and does not return: a pause.
void Session::fallBack()
{
    if (m_reconnect.wasConnected()) {
        qWarning("The sound server has gone away: paused.");
        m_mix.isPlaying = false;
        return;
    }
    warnOfSilence();
    setOutput(std::make_shared<NullOutput>(m_format), true);
}

void Session::tellDelegate()
{
    const auto [ended, ending] = [this] {
        const std::lock_guard lock(m_mutex);
        return std::pair(m_isAtEnd ? m_request.generation : 0, m_ending);
    }();
    const bool isRead = m_ring && m_ring->isFinished() && !ending.error; // behind an error nothing follows
    const std::uint32_t read = isRead ? m_generation : 0;
    const std::lock_guard lock(m_delegateMutex);
    if (!m_delegate)
        return;
    if (std::exchange(m_toldRead, read) != read && read != 0)
        m_delegate->audioPlayerDidReachEndOfFile(*this);
    if (std::exchange(m_toldEnd, ended) == ended || ended == 0)
        return;
    if (ending.error)
        m_delegate->audioPlayerDecodeErrorDidOccur(*this, ending.error);
    else
        m_delegate->audioPlayerDidFinishPlaying(*this, !ending.isDamaged);
}

// The successor

void Session::setSuccessor(const QUrl &url, const SoundLabel &label)
{
    const auto module = DecoderModule::load();
    const auto stop = std::make_shared<std::atomic<bool>>(false);
    {
        const std::lock_guard lock(m_mutex);
        forgetSuccessor();
        m_successor.stop = stop;
    }
    static const auto openings = std::make_shared<int>(); // those that go on have a copy
    if (openings.use_count() > MostOpenings)
        return dropSuccessor();
    const auto open = [former = weak_from_this(), module = module.value(), makeOutput = m_makeOutput,
                          format = m_format, stop, url, label, opening = openings] {
        auto decoder = openDecoder(*module, url, stop, [format](AudioFormat) { return format; });
        const auto session = former.lock();
        if (session && !decoder.isError())
            session->follow(stop, make(decoder.take(), stop, makeOutput, label));
    };
    if (!startDetachedThread(open))
        dropSuccessor();
}

void Session::dropSuccessor()
{
    const std::lock_guard lock(m_mutex);
    forgetSuccessor();
}

std::shared_ptr<AudioPlayer> Session::takeSuccessor()
{
    const std::lock_guard lock(m_mutex);
    return m_successor.hasTakenOver ? std::exchange(m_successor, {}).session : nullptr;
}

void Session::forgetSuccessor()
{
    if (m_successor.stop)
        m_successor.stop->store(true);
    if (m_successor.generation != 0 && m_output)
        m_output->follow(nullptr);
    m_successor = {};
}

void Session::follow(const std::shared_ptr<std::atomic<bool>> &stop, std::shared_ptr<Session> successor)
{
    const std::lock_guard lock(m_mutex);
    if (m_successor.stop != stop)
        return;
    m_successor.session = std::move(successor);
    m_wakeup->signal();
}

/// Behind the ring with the end of the file, as soon as the successor's is ready.
void Session::offerSuccessor()
{
    const bool isRead = m_generation == m_request.generation && m_ring->isFinished();
    if (!isRead || !m_successor.session || m_successor.generation != 0)
        return;
    if (const auto ring = m_successor.session->prepareToFollow(m_wakeup)) {
        m_successor.generation = ring->generation();
        m_output->follow(ring);
    }
}

/// The first ring once it is ready; null before that, of which `former` is told.
std::shared_ptr<RingBuffer> Session::prepareToFollow(std::shared_ptr<Wakeup> former)
{
    {
        const std::lock_guard lock(m_mutex);
        m_former = std::move(former);
    }
    startDecoding();
    const std::lock_guard lock(m_mutex);
    return m_readyRing;
}

/// The first frame of the successor has been heard.
void Session::handOver()
{
    m_isAtEnd = true;
    m_request.seconds = m_duration;
    const Mix mix = std::exchange(m_mix, {false, m_mix.gain});
    m_successor.session->takeOver(std::move(m_output), mix, m_isFallback, m_reconnect);
    m_output = nullptr;
    m_successor.hasTakenOver = true;
}

void Session::takeOver(
    std::shared_ptr<AudioOutput> output, const Mix &mix, bool isFallback, const ReconnectBackoff &reconnect)
{
    const std::lock_guard lock(m_mutex);
    m_output = std::move(output);
    m_mix = mix;
    m_isFallback = isFallback;
    m_reconnect = reconnect;
    m_isUnderWay = true;
    m_turnStart = std::chrono::steady_clock::now();
    m_readyRing.reset();
    m_former.reset();
    m_output->handOver(m_wakeup, m_label);
    m_wakeup->signal();
}

// The decoder thread

void Session::run()
{
    while (!m_isStopped->load()) {
        const bool isBusy = advance();
        const auto timeout = watchOutput();
        tellDelegate();
        if (!isBusy)
            m_wakeup->wait(timeout);
    }
    m_decoder.reset(); // on this thread, because a medium may keep it waiting
}

/// One step of work; false if there is nothing to do before the next signal.
bool Session::advance()
{
    const Request newest = request();
    if (newest.generation != m_generation) {
        startOver(newest);
        return true;
    }
    if (m_ring->isFinished())
        return false;
    return m_undelivered.samples.empty() ? decode() : deliver();
}

void Session::startOver(const Request &request)
{
    const std::int64_t target = std::llround(request.seconds * m_format.rate);
    const bool isFirst = m_generation == 0 && target == 0;
    m_generation = request.generation;
    m_ring.reset();
    {
        // The output gives a ring back under this mutex, and the request has taken back what was offered: one at
        // least is held by nobody.
        const std::lock_guard lock(m_mutex);
        m_ring = m_rings[m_rings[0].use_count() == 1 ? 0 : 1];
    }
    m_ring->reset(m_generation, target);
    m_isOffered = false;
    m_undelivered = {};
    m_position = target;
    setEnding({});
    const auto isObsolete = [this] {
        return m_isStopped->load() || this->request().generation != m_generation;
    };
    if (!isFirst && !m_decoder->seek(target, isObsolete))
        finish(Error{u"No se puede cambiar de posición en el archivo."_s});
}

bool Session::decode()
{
    const Result<DecodedFrames> block = m_decoder->read();
    m_undelivered = block.isError() ? DecodedFrames{} : block.value();
    if (!m_undelivered.samples.empty())
        return deliver();
    finish(block.isError() ? std::optional(block.error()) : std::nullopt);
    return false;
}

/// False if the ring is full.
bool Session::deliver()
{
    const std::int64_t frames = m_ring->write(m_undelivered.samples, m_undelivered.position);
    m_undelivered.samples = m_undelivered.samples.subspan(std::size_t(frames * m_format.channels));
    m_undelivered.position += frames;
    m_position = m_undelivered.position;
    if (m_isLengthGuessed) {
        const std::lock_guard lock(m_mutex);
        m_duration = std::max(m_duration, m_format.seconds(m_position));
    }
    offerWhenReady();
    return m_undelivered.samples.empty();
}

void Session::finish(std::optional<Error> error)
{
    if (m_isLengthGuessed && !error && m_position > m_ring->start()) {
        const std::lock_guard lock(m_mutex);
        m_duration = m_format.seconds(m_position);
    }
    setEnding({m_decoder->isDamaged(), std::move(error)});
    m_ring->finish();
    offerWhenReady();
}

void Session::setEnding(Ending ending)
{
    const std::lock_guard lock(m_mutex);
    m_ending = std::move(ending);
}

void Session::offerWhenReady()
{
    const bool isFull = !m_undelivered.samples.empty();
    const bool isReady =
        isFull || m_ring->isFinished() || m_ring->available() >= m_format.frames(EnoughToBegin);
    const bool isFirstOffer = isReady && !m_isOffered;
    if (!isFirstOffer && !m_ring->takeStarved())
        return;
    m_isOffered = true;
    const std::lock_guard lock(m_mutex);
    if (m_generation != m_request.generation)
        return;
    if (m_output)
        return m_output->offer(m_ring);
    m_readyRing = m_ring;
    if (m_former)
        m_former->signal();
}
