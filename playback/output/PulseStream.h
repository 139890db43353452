#pragma once

#include "playback/AudioPlayer.h"
#include "playback/output/AudioOutput.h"
#include "playback/output/PulseClock.h"
#include "playback/output/PulseConnection.h"

#include <memory>
#include <pulse/pulseaudio.h>

/// One player's stream on the sound server. Everything runs with the connection's lock held.
///
/// 1. open() asks for the connection; once it is ready, a corked, empty stream is made on it.
/// 2. Whatever may change what is to be heard calls update(), which asks the server how far it has played. The
///    answer leads to act(), the one place where frames are written, where the stream is corked and uncorked,
///    and where the next look is scheduled.
/// 3. act() keeps 400 ms queued on the server. A change does not wait for them: it overwrites what is queued,
///    from a little after the frame the server reads next.
/// 4. A pause fades, lets the silence be heard, and corks the stream then. close() does the same, but drops
///    the stream in the end.
/// 5. handleLoss() is final: another connection needs another stream.
class PulseStream final : public PulseClient, public std::enable_shared_from_this<PulseStream> {
public:
    PulseStream(std::shared_ptr<FrameFeed> feed, const SoundLabel &label);

    void open();
    void apply(const Mix &mix);
    void update();
    void close();
    [[nodiscard]] AudioOutput::Status status() const;

    void handleConnected(pa_context *context) override;
    void handleLoss() override;

private:
    bool connectStream(pa_context *context);
    void setCallbacks();
    void handleState();
    void handleEvent(const char *name);
    void fail();
    void drop();
    void forgetQuestion();

    void act();
    [[nodiscard]] std::int64_t framesSince(const pa_timing_info &info) const;
    void followServer(const pa_timing_info &info);
    void changeQueued(std::int64_t readFrame, double margin, const Mix &mix);
    void fillQueue(std::int64_t readFrame);
    void write(std::int64_t from);
    void setCorked(bool isCorked);
    void noteEnd();
    void schedule();

    [[nodiscard]] bool shallSound() const { return m_mix.isPlaying && !m_isHeld && !m_isClosing; }
    [[nodiscard]] bool isSuspended() const;
    [[nodiscard]] bool isSilenceHeard() const;
    [[nodiscard]] bool isEndHeard() const;
    [[nodiscard]] std::int64_t heardFrame() const;

    const std::shared_ptr<FrameFeed> m_feed;
    const SoundLabel m_label;
    const std::int64_t m_frameSize; ///< bytes
    Mixer m_mixer;
    PulseClock m_clock;
    Mix m_mix;

    AudioOutput::State m_state = AudioOutput::State::Connecting;
    pa_stream *m_stream = nullptr;
    pa_time_event *m_timer = nullptr;
    bool m_isCorked = true;
    pa_operation *m_question = nullptr; ///< whose answer is on its way
    pa_usec_t m_askedAt = 0;
    bool m_isHeld = false; ///< whether the server has asked for a pause, as during a call
    bool m_isClosing = false;
    bool m_isEndNoted = false;
};
