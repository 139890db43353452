#pragma once

#include "playback/AudioPlayer.h"
#include "playback/output/AudioOutput.h"
#include "playback/output/PulseConnection.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <pulse/pulseaudio.h>

/// Which frame is heard now, from the last time the server said so. Times are microseconds of one monotonic
/// clock.
class PulseClock {
public:
    explicit PulseClock(int rate)
        : m_rate(rate)
    {
    }

    /// At `time`, `frame` was heard, and the sound was moving on or not.
    void set(std::uint64_t time, std::int64_t frame, bool isMoving)
    {
        m_time = time;
        m_frame = frame;
        m_isMoving = isMoving;
    }

    [[nodiscard]] bool isMoving() const { return m_isMoving; }

    /// Frame 0 or later; it cannot be beyond what was `written`.
    [[nodiscard]] std::int64_t frameAt(std::uint64_t time, std::int64_t written) const
    {
        const std::int64_t passed =
            m_isMoving && time > m_time ? std::int64_t(time - m_time) * m_rate / 1'000'000 : 0;
        return std::clamp<std::int64_t>(m_frame + passed, 0, std::max<std::int64_t>(written, 0));
    }

    /// When `frame` is heard if the sound moves on.
    [[nodiscard]] std::uint64_t timeOf(std::int64_t frame) const
    {
        return m_time + std::uint64_t(std::max<std::int64_t>(frame - m_frame, 0) * 1'000'000 / m_rate);
    }

private:
    int m_rate;
    std::uint64_t m_time = 0;
    std::int64_t m_frame = 0;
    bool m_isMoving = false;
};

/// The AudioOutput of the desktop: one stream on the sound server. Everything runs with the connection's lock held.
///
/// 1. open() asks for the connection; if it is ready, a corked, empty stream is made on it.
/// 2. Whatever may change what is to be heard calls update(), which asks the server how far it has played. The
///    answer leads to act(), the one place where frames are written, where the stream is corked and uncorked,
///    and where the next look is scheduled.
/// 3. act() keeps 400 ms queued on the server. A change does not wait for them: it overwrites what is queued,
///    from a little after the frame the server reads next.
/// 4. A pause fades, lets the silence be heard, and corks the stream then. close() does the same, but drops
///    the stream in the end. Until then the connection keeps it alive.
/// 5. handleLoss() is final: another connection needs another stream.
class PulseStream final : public AudioOutput, public std::enable_shared_from_this<PulseStream> {
public:
    /// The server is told `label`. What this returns closes the stream when it is destroyed.
    static std::shared_ptr<AudioOutput> open(
        AudioFormat format, std::shared_ptr<Wakeup> decoder, const SoundLabel &label);

    void apply(const Mix &mix) override;
    void offer(std::shared_ptr<RingBuffer> ring) override;
    void follow(std::shared_ptr<RingBuffer> ring) override;
    void handOver(std::shared_ptr<Wakeup> decoder, const SoundLabel &label) override;
    [[nodiscard]] Status status() override;

private:
    PulseStream(AudioFormat format, std::shared_ptr<Wakeup> decoder, const SoundLabel &label);

    void connect();
    void handleConnected(pa_context *context);
    void handleLoss();
    void close();
    bool connectStream(pa_context *context);
    void setCallbacks();
    void handleState();
    void handleEvent(const char *name);
    void fail();
    void drop();
    void forgetQuestion();

    void update();
    void act();
    [[nodiscard]] std::int64_t framesSince(const pa_timing_info &info) const;
    void followServer(const pa_timing_info &info);
    void stopClock();
    void changeQueued(std::int64_t readFrame, double margin, const Mix &mix);
    void fillQueue(std::int64_t readFrame);
    void write(std::int64_t from);
    void setCorked(bool isCorked);
    void noteEnd();
    void schedule();

    [[nodiscard]] bool shouldPlay() const { return m_mix.isPlaying && !m_isHeld && !m_isClosing; }
    [[nodiscard]] bool isSuspended() const;
    [[nodiscard]] bool isSilenceHeard() const;
    [[nodiscard]] std::int64_t silentFrame() const;
    [[nodiscard]] bool isEndHeard() const;
    [[nodiscard]] std::int64_t heardFrame() const;

    const AudioFormat m_format;
    std::shared_ptr<Wakeup> m_decoder;
    SoundLabel m_label;
    const std::int64_t m_frameSize; ///< bytes
    Mixer m_mixer;
    PulseClock m_clock;
    Mix m_mix;

    State m_state = State::Connecting;
    pa_stream *m_stream = nullptr;
    pa_time_event *m_timer = nullptr;
    bool m_isCorked = true;
    pa_operation *m_question = nullptr; ///< whose answer is on its way
    pa_usec_t m_askedAt = 0;
    bool m_isHeld = false; ///< whether the server has asked for a pause, as during a call
    bool m_isClosing = false;
    bool m_isEndNoted = false;
};
