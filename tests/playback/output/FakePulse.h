#pragma once

#include <cstdint>
#include <memory>
#include <pulse/pulseaudio.h>
#include <string>
#include <vector>

/// A stream on the fake server.
struct pa_stream {
    pa_context *context = nullptr;
    pa_stream_state_t state = PA_STREAM_UNCONNECTED;
    pa_sample_spec spec = {};
    pa_buffer_attr buffer = {};
    pa_stream_flags_t flags = PA_STREAM_NOFLAGS;
    pa_volume_t volume = PA_VOLUME_MUTED;
    const char *device = nullptr;
    std::string name;
    std::string properties;
    bool isCorked = true;
    int corkings = 0; ///< calls of pa_stream_cork()
    bool isSuspended = false;
    bool isReferenced = true;
    pa_timing_info timing = {};
    std::vector<float> queue; ///< all that was written, from frame 0 on
    std::vector<float> read; ///< all that the server has played, with silence where nothing was written
    std::int64_t readFrame = 0;
    std::vector<std::int64_t> aheads; ///< of each write, how far it began beyond what was read, in frames
    pa_stream_notify_cb_t stateChanged = nullptr;
    pa_stream_notify_cb_t suspendedChanged = nullptr;
    pa_stream_notify_cb_t moved = nullptr;
    pa_stream_event_cb_t event = nullptr;
    void *user = nullptr;

    [[nodiscard]] std::int64_t channels() const { return spec.channels; }
    [[nodiscard]] std::int64_t
    queued() const; ///< frames that are still to be read; negative after an underrun
};

/// Stands in for libpulse in a program that links it: a sound server whose clock is moved by hand. It hears a frame
/// `latency` after it was read, and its answers take `transport` each way.
class FakePulse {
public:
    static FakePulse &instance();

    /// Forgets everything but the clock and the connection.
    void reset();

    /// Makes what was asked of the server so far happen: connections are ready, streams are.
    void settle();

    /// The connection to the server breaks; the next one is refused if so wished.
    void breakConnection(bool isRefusingNext = false);

    /// Lets time pass until no question is left without an answer.
    void answer();

    /// Lets milliseconds pass.
    void pass(int milliseconds);

    /// As pass(), while the program stands still.
    void passStalled(int milliseconds);

    void suspend(bool isSuspended);
    void move(); ///< the stream goes to another device
    void send(const char *event);

    [[nodiscard]] pa_stream &stream() { return *streams.back(); }
    [[nodiscard]] std::int64_t heardFrame(); ///< of stream()

    /// Whether no timer runs, no question is held or unanswered, and no connection but the newest is.
    [[nodiscard]] bool isAtRest() const;

    pa_usec_t now = 1'000'000;
    int latency = 10; ///< milliseconds
    int configuredLatency = 10;
    int transport = 0;
    bool saysPlayingCorked = false; ///< some servers do
    std::vector<std::unique_ptr<pa_stream>> streams;
    int contexts = 0; ///< connections that have been tried
    std::string application; ///< properties of the newest one
    std::string cookie; ///< file of the newest one, empty for that which libpulse finds
    std::string server;
    pa_context_flags_t contextFlags = PA_CONTEXT_NOFLAGS;
    int looks = 0; ///< questions after the timing
    int misuses = 0; ///< calls that were made without the loop's lock, or of a stream that is not ready
    bool isRefusing = false; ///< whether new connections fail at once
    bool isRefusingStreams = false;
    int operations = 0; ///< other than questions, that are held

private:
    void step(bool isStalled);
};
