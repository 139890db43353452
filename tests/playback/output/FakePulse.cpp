#include "tests/playback/output/FakePulse.h"

#include <algorithm>
#include <list>

struct pa_context {
    pa_context_state_t state = PA_CONTEXT_UNCONNECTED;
    pa_context_notify_cb_t changed = nullptr;
    void *user = nullptr;
    bool isReferenced = true;
};

struct pa_time_event {
    pa_usec_t due;
    pa_time_event_cb_t callback;
    void *user;
};

struct pa_operation {
    pa_stream *stream;
    pa_usec_t asked;
    pa_stream_success_cb_t answer;
    void *user;
    bool isReferenced = true;
};

struct pa_threaded_mainloop { };

namespace {

constexpr int framesPerStep = 48; // of a millisecond

pa_threaded_mainloop loop;
int lockDepth = 0;
std::list<pa_context> contexts;
std::list<pa_operation> questions;
std::list<pa_time_event> timers;
pa_operation otherOperation = {};

/// A callback of libpulse's runs with the lock held.
template <typename Callback, typename... Arguments> void call(Callback callback, Arguments... arguments)
{
    ++lockDepth;
    if (callback)
        callback(arguments...);
    --lockDepth;
}

void noteCall(const pa_stream *stream = nullptr)
{
    FakePulse::instance().misuses += stream && stream->state != PA_STREAM_READY ? 1 : 0;
    FakePulse::instance().misuses += lockDepth > 0 ? 0 : 1;
}

std::string text(const pa_proplist *properties)
{
    char *lines = pa_proplist_to_string(properties);
    std::string result(lines);
    pa_xfree(lines);
    return result;
}

void changeState(pa_context &context, pa_context_state_t state)
{
    context.state = state;
    call(context.changed, &context, context.user);
}

} // namespace

std::int64_t pa_stream::queued() const
{
    return std::int64_t(queue.size()) / channels() - readFrame;
}

FakePulse &FakePulse::instance()
{
    static FakePulse server;
    return server;
}

void FakePulse::reset()
{
    streams.clear();
    questions.clear();
    timers.clear();
    latency = configuredLatency = 10;
    transport = contexts = looks = misuses = operations = 0;
    isRefusing = isRefusingStreams = saysPlayingCorked = false;
}

void FakePulse::settle()
{
    for (pa_context &context : ::contexts) {
        if (context.state == PA_CONTEXT_CONNECTING)
            changeState(context, PA_CONTEXT_READY);
    }
    for (const auto &entry : streams) {
        if (entry->state != PA_STREAM_CREATING)
            continue;
        call(entry->stateChanged, entry.get(), entry->user);
        entry->state = PA_STREAM_READY;
        call(entry->stateChanged, entry.get(), entry->user);
    }
}

void FakePulse::breakConnection(bool isRefusingNext)
{
    isRefusing = isRefusingNext;
    for (pa_context &context : ::contexts) {
        if (PA_CONTEXT_IS_GOOD(context.state))
            changeState(context, PA_CONTEXT_FAILED);
    }
}

void FakePulse::answer()
{
    while (
        std::any_of(questions.begin(), questions.end(), [](const auto &question) { return question.answer; }))
        step(false);
}

void FakePulse::pass(int milliseconds)
{
    for (int passed = 0; passed < milliseconds; ++passed)
        step(false);
}

void FakePulse::passStalled(int milliseconds)
{
    for (int passed = 0; passed < milliseconds; ++passed)
        step(true);
}

void FakePulse::suspend(bool isSuspended)
{
    stream().isSuspended = isSuspended;
    call(stream().suspendedChanged, &stream(), stream().user);
}

void FakePulse::move()
{
    call(stream().moved, &stream(), stream().user);
}

void FakePulse::send(const char *event)
{
    call(stream().event, &stream(), event, nullptr, stream().user);
}

std::int64_t FakePulse::heardFrame()
{
    return std::max<std::int64_t>(stream().readFrame - std::int64_t(latency) * framesPerStep, 0);
}

bool FakePulse::isAtRest() const
{
    const auto isPending = [](const pa_operation &question) {
        return question.isReferenced || question.answer;
    };
    const auto isLeft = [](const pa_context &context) { return context.isReferenced || context.changed; };
    return timers.empty() && std::none_of(questions.begin(), questions.end(), isPending) && operations == 0
        && std::count_if(::contexts.begin(), ::contexts.end(), isLeft) <= 1;
}

void FakePulse::step(bool isStalled)
{
    now += 1000;
    for (const auto &entry : streams) {
        if (entry->state != PA_STREAM_READY || entry->isCorked || entry->isSuspended)
            continue;
        const std::size_t first = std::size_t(entry->readFrame * entry->channels());
        for (std::size_t index = first; index < first + std::size_t(framesPerStep * entry->channels());
             ++index)
            entry->read.push_back(index < entry->queue.size() ? entry->queue[index] : 0);
        entry->readFrame += framesPerStep;
    }
    for (pa_operation &question : questions) {
        pa_stream &asked = *question.stream;
        if (now != question.asked + pa_usec_t(std::max(transport, 1)) * 1000)
            continue;
        asked.timing.read_index = asked.readFrame * asked.channels() * std::int64_t(sizeof(float));
        asked.timing.sink_usec = pa_usec_t(latency) * 1000;
        asked.timing.configured_sink_usec = pa_usec_t(configuredLatency) * 1000;
        asked.timing.transport_usec = pa_usec_t(std::max(transport, 1)) * 1000;
        asked.timing.playing = asked.isSuspended || (asked.isCorked && !saysPlayingCorked) ? 0 : 1;
    }
    if (isStalled)
        return;
    const auto isAnswered = [&](const pa_operation &question) {
        return question.answer && now >= question.asked + pa_usec_t(std::max(2 * transport, 1)) * 1000;
    };
    for (auto due = std::find_if(questions.begin(), questions.end(), isAnswered); due != questions.end();
         due = std::find_if(questions.begin(), questions.end(), isAnswered)) {
        const pa_operation question = *due;
        due->answer = nullptr;
        call(question.answer, question.stream, 1, question.user);
    }
    const auto isDue = [&](const pa_time_event &timer) { return timer.due <= now; };
    for (auto due = std::find_if(timers.begin(), timers.end(), isDue); due != timers.end();
         due = std::find_if(timers.begin(), timers.end(), isDue)) {
        due->due = PA_USEC_INVALID;
        call(due->callback, nullptr, &*due, nullptr, due->user);
    }
}

// What the program calls in libpulse's place

extern "C" {

pa_usec_t pa_rtclock_now()
{
    return FakePulse::instance().now;
}

pa_threaded_mainloop *pa_threaded_mainloop_new()
{
    return &loop;
}

void pa_threaded_mainloop_set_name(pa_threaded_mainloop *, const char *) { }

int pa_threaded_mainloop_start(pa_threaded_mainloop *)
{
    return 0;
}

void pa_threaded_mainloop_stop(pa_threaded_mainloop *) { }

void pa_threaded_mainloop_lock(pa_threaded_mainloop *)
{
    ++lockDepth;
}

void pa_threaded_mainloop_unlock(pa_threaded_mainloop *)
{
    --lockDepth;
}

pa_mainloop_api *pa_threaded_mainloop_get_api(pa_threaded_mainloop *)
{
    static pa_mainloop_api api = {};
    api.time_free = [](pa_time_event *event) {
        timers.remove_if([&](const pa_time_event &timer) { return &timer == event; });
    };
    return &api;
}

pa_context *pa_context_new_with_proplist(pa_mainloop_api *, const char *, const pa_proplist *properties)
{
    FakePulse::instance().application = text(properties);
    FakePulse::instance().cookie.clear();
    ++FakePulse::instance().contexts;
    return &contexts.emplace_back();
}

void pa_context_set_state_callback(pa_context *context, pa_context_notify_cb_t callback, void *user)
{
    context->changed = callback;
    context->user = user;
}

int pa_context_load_cookie_from_file(pa_context *, const char *path)
{
    FakePulse::instance().cookie = path;
    return 0;
}

int pa_context_connect(
    pa_context *context, const char *server, pa_context_flags_t flags, const pa_spawn_api *)
{
    noteCall();
    FakePulse::instance().server = server ? server : "";
    FakePulse::instance().contextFlags = flags;
    if (FakePulse::instance().isRefusing)
        return -1;
    context->state = PA_CONTEXT_CONNECTING;
    return 0;
}

pa_context_state_t pa_context_get_state(const pa_context *context)
{
    return context->state;
}

void pa_context_unref(pa_context *context)
{
    context->isReferenced = false;
}

pa_time_event *pa_context_rttime_new(
    const pa_context *, pa_usec_t due, pa_time_event_cb_t callback, void *user)
{
    return &timers.emplace_back(pa_time_event{due, callback, user});
}

void pa_context_rttime_restart(const pa_context *, pa_time_event *event, pa_usec_t due)
{
    event->due = due;
}

pa_stream *pa_stream_new_with_proplist(pa_context *context, const char *name, const pa_sample_spec *spec,
    const pa_channel_map *, pa_proplist *properties)
{
    noteCall();
    if (FakePulse::instance().isRefusingStreams)
        return nullptr;
    auto &stream = *FakePulse::instance().streams.emplace_back(std::make_unique<pa_stream>());
    stream.context = context;
    stream.spec = *spec;
    stream.name = name;
    stream.properties = text(properties);
    return &stream;
}

int pa_stream_connect_playback(pa_stream *stream, const char *device, const pa_buffer_attr *buffer,
    pa_stream_flags_t flags, const pa_cvolume *volume, pa_stream *)
{
    stream->state = PA_STREAM_CREATING;
    stream->device = device;
    stream->buffer = *buffer;
    stream->flags = flags;
    stream->volume = pa_cvolume_avg(volume);
    return 0;
}

void pa_stream_set_state_callback(pa_stream *stream, pa_stream_notify_cb_t callback, void *user)
{
    stream->stateChanged = callback;
    stream->user = user;
}

void pa_stream_set_suspended_callback(pa_stream *stream, pa_stream_notify_cb_t callback, void *)
{
    stream->suspendedChanged = callback;
}

void pa_stream_set_moved_callback(pa_stream *stream, pa_stream_notify_cb_t callback, void *)
{
    stream->moved = callback;
}

void pa_stream_set_event_callback(pa_stream *stream, pa_stream_event_cb_t callback, void *)
{
    stream->event = callback;
}

pa_stream_state_t pa_stream_get_state(const pa_stream *stream)
{
    return stream->state;
}

pa_context *pa_stream_get_context(const pa_stream *stream)
{
    return stream->context;
}

int pa_stream_is_suspended(const pa_stream *stream)
{
    return stream->isSuspended ? 1 : 0;
}

pa_operation *pa_stream_update_timing_info(pa_stream *stream, pa_stream_success_cb_t answer, void *user)
{
    noteCall(stream);
    ++FakePulse::instance().looks;
    return &questions.emplace_back(pa_operation{stream, FakePulse::instance().now, answer, user});
}

const pa_timing_info *pa_stream_get_timing_info(pa_stream *stream)
{
    return &stream->timing;
}

int pa_stream_write(
    pa_stream *stream, const void *data, std::size_t bytes, pa_free_cb_t, std::int64_t offset, pa_seek_mode_t)
{
    noteCall(stream);
    const auto first = std::size_t(offset) / sizeof(float);
    const auto *samples = static_cast<const float *>(data);
    stream->aheads.push_back(std::int64_t(first) / stream->channels() - stream->readFrame);
    stream->queue.resize(std::max(stream->queue.size(), first + bytes / sizeof(float)));
    std::copy_n(samples, bytes / sizeof(float), stream->queue.begin() + std::ptrdiff_t(first));
    return 0;
}

pa_operation *pa_stream_cork(pa_stream *stream, int isCorked, pa_stream_success_cb_t, void *)
{
    noteCall(stream);
    ++FakePulse::instance().operations;
    stream->isCorked = isCorked != 0;
    ++stream->corkings;
    return &otherOperation;
}

int pa_stream_disconnect(pa_stream *stream)
{
    stream->state = PA_STREAM_TERMINATED;
    return 0;
}

void pa_stream_unref(pa_stream *stream)
{
    stream->isReferenced = false;
}

void pa_operation_cancel(pa_operation *operation)
{
    operation->answer = nullptr;
}

void pa_operation_unref(pa_operation *operation)
{
    operation->isReferenced = false;
    FakePulse::instance().operations -= operation == &otherOperation ? 1 : 0;
}

} // extern "C"
