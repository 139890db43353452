#include "playback/output/PulseStream.h"

#include "files/ProgramId.h"

#include <QByteArray>
#include <QStringList>
#include <string_view>

namespace {

constexpr double QueueLength = 0.4; // seconds; what a stall of this process may last

// What the server keeps for its device is the queue less twice the request: 20 ms, so that a change is heard
// soon.
constexpr double RequestLength = 0.19;

// The server may read on while new frames are on their way to it, as much as it keeps for its device at once.
// What lies beyond that and this little can still be overwritten for certain; a change must not take too
// long, though.
constexpr double OverwriteMargin = 0.005;
constexpr double LongestOverwriteMargin = 0.03;

// A fade is cut off if the stream is corked as soon as it has been read: some servers read ahead.
constexpr double CorkMargin = 0.025;

// What a mixer can show of a name; tags can be of any length.
constexpr qsizetype LongestName = 200;

constexpr pa_usec_t UsualLook = 100'000; // microseconds
constexpr pa_usec_t StartingLook = 10'000; // until the server says that it moves on

/// On one line, in UTF-8.
QByteArray displayed(const QString &text)
{
    return text.simplified().left(LongestName).toUtf8();
}

using Properties = std::unique_ptr<pa_proplist, decltype(&pa_proplist_free)>;

Properties streamProperties(const SoundLabel &label)
{
    Properties holder(pa_proplist_new(), pa_proplist_free);
    pa_proplist *properties = holder.get();
    pa_proplist_sets(properties, PA_PROP_MEDIA_ROLE, "music");
    pa_proplist_sets(properties, PA_PROP_MEDIA_ICON_NAME, ProgramId);
    if (!label.title.isEmpty())
        pa_proplist_sets(properties, PA_PROP_MEDIA_TITLE, displayed(label.title).constData());
    if (!label.artist.isEmpty())
        pa_proplist_sets(properties, PA_PROP_MEDIA_ARTIST, displayed(label.artist).constData());
    return holder;
}

/// Nobody waits for it.
void unrefOperation(pa_operation *operation)
{
    if (operation)
        pa_operation_unref(operation);
}

/// "Title – Artist", or what there is of it.
QByteArray streamName(const SoundLabel &label)
{
    QStringList parts{label.title, label.artist};
    parts.removeAll(QString());
    return parts.isEmpty() ? QByteArray("Lumaverdine") : displayed(parts.join(QStringLiteral(" – ")));
}

} // namespace

PulseStream::PulseStream(AudioFormat format, std::shared_ptr<Wakeup> decoder, const SoundLabel &label)
    : m_format(format)
    , m_decoder(std::move(decoder))
    , m_label(label)
    , m_frameSize(std::int64_t(sizeof(float)) * format.channels)
    , m_mixer(format)
    , m_clock(format.rate)
{
}

std::shared_ptr<AudioOutput> PulseStream::open(
    AudioFormat format, std::shared_ptr<Wakeup> decoder, const SoundLabel &label)
{
    const std::shared_ptr<PulseStream> stream(new PulseStream(format, std::move(decoder), label));
    const std::lock_guard lock(PulseConnection::instance());
    stream->connect();
    return {static_cast<AudioOutput *>(stream.get()), [stream](AudioOutput *) { stream->close(); }};
}

void PulseStream::connect()
{
    PulseConnection &connection = PulseConnection::instance();
    connection.add(this, [self = shared_from_this()](pa_context *ready) {
        ready ? self->handleConnected(ready) : self->handleLoss();
    });
    pa_context *context = connection.context();
    if (!context)
        fail();
    else if (pa_context_get_state(context) == PA_CONTEXT_READY)
        handleConnected(context);
}

void PulseStream::apply(const Mix &mix)
{
    const std::lock_guard lock(PulseConnection::instance());
    m_mix = mix;
    update();
}

void PulseStream::offer(std::shared_ptr<RingBuffer> ring)
{
    const std::lock_guard lock(PulseConnection::instance());
    m_mixer.offer(std::move(ring));
    update();
}

void PulseStream::follow(std::shared_ptr<RingBuffer> ring)
{
    const std::lock_guard lock(PulseConnection::instance());
    m_mixer.follow(std::move(ring));
    update();
}

void PulseStream::handOver(std::shared_ptr<Wakeup> decoder, const SoundLabel &label)
{
    const std::lock_guard lock(PulseConnection::instance());
    m_decoder = std::move(decoder);
    m_label = label;
    m_mixer.settle();
    m_isEndNoted = false;
    if (m_state != State::Ready)
        return;
    const Properties properties = streamProperties(m_label);
    unrefOperation(
        pa_stream_proplist_update(m_stream, PA_UPDATE_REPLACE, properties.get(), nullptr, nullptr));
    unrefOperation(pa_stream_set_name(m_stream, streamName(m_label).constData(), nullptr, nullptr));
    update();
}

void PulseStream::update()
{
    if (m_state != State::Ready || m_question || (m_isCorked && !shouldPlay()))
        return;
    const auto answer = [](pa_stream *, int, void *self) {
        static_cast<PulseStream *>(self)->forgetQuestion();
        static_cast<PulseStream *>(self)->act();
    };
    m_askedAt = pa_rtclock_now();
    m_question = pa_stream_update_timing_info(m_stream, answer, this);
}

void PulseStream::forgetQuestion()
{
    if (!m_question)
        return;
    pa_operation_cancel(m_question);
    pa_operation_unref(m_question);
    m_question = nullptr;
}

void PulseStream::close()
{
    const std::lock_guard lock(PulseConnection::instance());
    m_isClosing = true;
    m_mixer.detach();
    if (m_state != State::Ready || m_isCorked)
        drop();
    else
        update();
}

AudioOutput::Status PulseStream::status()
{
    const std::lock_guard lock(PulseConnection::instance());
    return {m_state, m_mixer.positionAt(heardFrame()), isEndHeard()};
}

void PulseStream::handleConnected(pa_context *context)
{
    if (m_stream || m_state == State::Failed)
        return;
    if (!connectStream(context))
        fail();
}

void PulseStream::handleLoss()
{
    const auto self = shared_from_this();
    fail();
    if (m_isClosing)
        drop();
}

bool PulseStream::connectStream(pa_context *context)
{
    const pa_sample_spec spec{
        PA_SAMPLE_FLOAT32NE, std::uint32_t(m_format.rate), std::uint8_t(m_format.channels)};
    const Properties properties = streamProperties(m_label);
    m_stream = pa_stream_new_with_proplist(
        context, streamName(m_label).constData(), &spec, nullptr, properties.get());
    if (!m_stream)
        return false;
    setCallbacks();

    const auto bytes = [&](double seconds) { return std::uint32_t(m_format.frames(seconds) * m_frameSize); };
    constexpr auto unset = std::uint32_t(-1);
    const pa_buffer_attr buffer{unset, bytes(QueueLength), 0, bytes(RequestLength), unset};
    // Full volume, whatever the server remembers of a former run: the gain is in the samples.
    pa_cvolume full;
    pa_cvolume_set(&full, spec.channels, PA_VOLUME_NORM);
    const auto flags =
        pa_stream_flags_t(PA_STREAM_START_CORKED | PA_STREAM_START_UNMUTED | PA_STREAM_RELATIVE_VOLUME);
    return pa_stream_connect_playback(m_stream, nullptr, &buffer, flags, &full, nullptr) >= 0;
}

void PulseStream::setCallbacks()
{
    const auto stateChanged = [](pa_stream *, void *self) {
        static_cast<PulseStream *>(self)->handleState();
    };
    const auto changed = [](pa_stream *, void *self) { static_cast<PulseStream *>(self)->update(); };
    const auto event = [](pa_stream *, const char *name, pa_proplist *, void *self) {
        static_cast<PulseStream *>(self)->handleEvent(name);
    };
    pa_stream_set_state_callback(m_stream, stateChanged, this);
    pa_stream_set_suspended_callback(m_stream, changed, this);
    pa_stream_set_moved_callback(m_stream, changed, this);
    pa_stream_set_event_callback(m_stream, event, this);
}

void PulseStream::handleState()
{
    const pa_stream_state_t state = pa_stream_get_state(m_stream);
    if (!PA_STREAM_IS_GOOD(state))
        return handleLoss();
    if (state != PA_STREAM_READY)
        return;
    m_state = State::Ready;
    m_decoder->signal();
    update();
}

void PulseStream::handleEvent(const char *name)
{
    const std::string_view event(name);
    if (event == PA_STREAM_EVENT_REQUEST_CORK)
        m_isHeld = true;
    else if (event == PA_STREAM_EVENT_REQUEST_UNCORK)
        m_isHeld = false;
    update();
}

void PulseStream::fail()
{
    stopClock();
    m_state = State::Failed;
    m_decoder->signal();
}

/// The last thing that a stream does: it is destroyed by it, unless the caller holds it.
void PulseStream::drop()
{
    if (m_timer)
        PulseConnection::instance().loop()->time_free(m_timer);
    m_timer = nullptr;
    m_state = State::Failed;
    forgetQuestion();
    if (m_stream) {
        pa_stream_set_state_callback(m_stream, nullptr, nullptr);
        pa_stream_set_suspended_callback(m_stream, nullptr, nullptr);
        pa_stream_set_moved_callback(m_stream, nullptr, nullptr);
        pa_stream_set_event_callback(m_stream, nullptr, nullptr);
        pa_stream_disconnect(m_stream);
        pa_stream_unref(m_stream);
        m_stream = nullptr;
    }
    PulseConnection::instance().remove(this);
}

void PulseStream::act()
{
    const pa_timing_info *info = m_state == State::Ready ? pa_stream_get_timing_info(m_stream) : nullptr;
    if (!info || info->read_index_corrupt)
        return schedule();
    followServer(*info);
    const std::int64_t readFrame =
        std::max<std::int64_t>(info->read_index, 0) / m_frameSize + framesSince(*info);
    const double margin =
        std::min(OverwriteMargin + double(info->configured_sink_usec) / 1e6, LongestOverwriteMargin);
    const Mix mix{shouldPlay(), m_mix.gain};
    if (m_mixer.needsChange(mix))
        changeQueued(readFrame, m_isCorked ? 0 : margin, mix);
    if (mix.isPlaying)
        fillQueue(readFrame);
    if (mix.isPlaying && m_isCorked)
        setCorked(false);
    else if (!mix.isPlaying && isSilenceHeard())
        setCorked(true);
    noteEnd();
    if (m_isClosing && m_isCorked)
        drop();
    else
        schedule();
}

/// How far the server has moved on since it answered: on a busy machine its answer is old when it is read.
std::int64_t PulseStream::framesSince(const pa_timing_info &info) const
{
    if (!info.playing || m_isCorked)
        return 0;
    const auto age = std::int64_t(pa_rtclock_now() - m_askedAt) - std::int64_t(info.transport_usec);
    return std::max<std::int64_t>(age, 0) * m_format.rate / 1'000'000;
}

void PulseStream::followServer(const pa_timing_info &info)
{
    const std::int64_t latency = std::int64_t(info.sink_usec) * m_format.rate / 1'000'000;
    const std::int64_t heard = info.read_index / m_frameSize - latency + framesSince(info);
    if (info.playing && !m_isCorked)
        m_clock.set(pa_rtclock_now(), heard, true);
    else
        stopClock();
}

/// What is heard now is heard until further notice.
void PulseStream::stopClock()
{
    m_clock.set(pa_rtclock_now(), heardFrame(), false);
}

/// Makes what the server has queued anew, as late as it still can be.
void PulseStream::changeQueued(std::int64_t readFrame, double margin, const Mix &mix)
{
    m_mixer.skipTo(readFrame);
    const std::int64_t from = std::min(readFrame + m_format.frames(margin), m_mixer.rendered());
    m_mixer.change(from, mix);
    write(from);
    m_isEndNoted = false;
}

void PulseStream::fillQueue(std::int64_t readFrame)
{
    m_mixer.skipTo(readFrame);
    const std::int64_t from = m_mixer.rendered();
    m_mixer.render(readFrame + m_format.frames(QueueLength) - from);
    write(from);
}

void PulseStream::write(std::int64_t from)
{
    while (from < m_mixer.rendered()) {
        const std::span<const float> samples = m_mixer.samplesFrom(from);
        pa_stream_write(
            m_stream, samples.data(), samples.size_bytes(), nullptr, from * m_frameSize, PA_SEEK_ABSOLUTE);
        from += std::int64_t(samples.size_bytes()) / m_frameSize;
    }
}

void PulseStream::setCorked(bool isCorked)
{
    if (isCorked == m_isCorked)
        return;
    if (isCorked)
        stopClock();
    m_isCorked = isCorked;
    unrefOperation(pa_stream_cork(m_stream, isCorked ? 1 : 0, nullptr, nullptr));
}

void PulseStream::noteEnd()
{
    if (m_isEndNoted || !isEndHeard())
        return;
    m_isEndNoted = true;
    m_decoder->signal();
}

/// Looks again when there is something to do next.
void PulseStream::schedule()
{
    if (m_isCorked || m_state != State::Ready || isSuspended())
        return;
    const pa_usec_t now = pa_rtclock_now();
    pa_usec_t next = now + (m_clock.isMoving() ? UsualLook : StartingLook);
    if (m_clock.isMoving() && !shouldPlay())
        next = std::min(next, m_clock.timeOf(silentFrame()) + 1000);
    else if (m_clock.isMoving() && m_mixer.end() && !m_isEndNoted)
        next = std::min(next, m_clock.timeOf(*m_mixer.end()) + 1000);

    const auto due = [](pa_mainloop_api *, pa_time_event *, const timeval *, void *self) {
        static_cast<PulseStream *>(self)->update();
    };
    pa_context *context = pa_stream_get_context(m_stream);
    if (m_timer)
        pa_context_rttime_restart(context, m_timer, next);
    else
        m_timer = pa_context_rttime_new(context, next, due, this);
}

/// Whether the sink plays nothing at all until further notice.
bool PulseStream::isSuspended() const
{
    return pa_stream_is_suspended(m_stream) > 0;
}

bool PulseStream::isSilenceHeard() const
{
    if (m_isCorked || isSuspended())
        return !m_isCorked;
    return heardFrame() >= std::min(silentFrame(), m_mixer.rendered());
}

/// From which on the stream may be corked after a fade.
std::int64_t PulseStream::silentFrame() const
{
    return m_mixer.fadeEnd() + m_format.frames(CorkMargin);
}

bool PulseStream::isEndHeard() const
{
    return m_mixer.isEndedAt(heardFrame());
}

std::int64_t PulseStream::heardFrame() const
{
    return m_clock.frameAt(pa_rtclock_now(), m_mixer.rendered());
}
