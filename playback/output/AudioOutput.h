#pragma once

#include "playback/AudioPlayer.h"
#include "playback/Mixer.h"

/// Sounds the frames of the rings that it is offered: one stream on the sound server, or silence of the same length.
///
/// 1. Made for one player, silent. 2. apply() starts, pauses and sets the gain, as often as one likes.
/// 3. Destroying it lets what sounds fade out, without waiting for that; its rings are left alone from then on.
///
/// All calls come from the main thread and the session's decoder thread, never two at a time, and none of them waits for
/// the sound server. If the status changes by itself, the decoder thread is woken.
class AudioOutput {
public:
    enum class State {
        Connecting, ///< nothing is heard yet
        Ready,
        Failed, ///< for good: nothing will be heard any more
    };

    struct Status {
        State state = State::Connecting;
        Mixer::Position heard; ///< at this moment
        bool isEndHeard = false; ///< whether the last frame of the present ring has been heard
    };

    virtual ~AudioOutput() = default;
    AudioOutput(const AudioOutput &) = delete;
    AudioOutput &operator=(const AudioOutput &) = delete;

    /// What is to be heard from now on.
    virtual void apply(const Mix &mix) = 0;

    /// Frames come from `ring` from now on, or from the same one as before if frames have come where they were missing.
    /// Null takes back a ring that no frame has come from yet.
    virtual void offer(std::shared_ptr<RingBuffer> ring) = 0;

    /// Behind the last frame of the present ring come those of `ring`, with none in between. Null takes that back, also
    /// what is queued of it.
    virtual void follow(std::shared_ptr<RingBuffer> ring) = 0;

    /// The ring that follows is heard and the present one from now on. Its session has this `decoder` thread, and the
    /// server is told `label`.
    virtual void handOver(std::shared_ptr<Wakeup> decoder, const SoundLabel &label) = 0;

    [[nodiscard]] virtual Status status() = 0;

protected:
    AudioOutput() = default;
};
