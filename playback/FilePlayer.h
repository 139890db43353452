#pragma once

#include "playback/AudioPlayer.h"
#include "playback/Playback.h"

#include <memory>

/// The AudioPlayer of one decoder: the main thread's thin handle on a Playback.
///
/// 1. Opened: the decoder is at hand, no thread runs, no sound server is asked. 2. prepareToPlay(), or what
/// needs it, starts the decoder thread and makes the output. 3. The destructor ends the sound; the decoder
/// thread ends by itself, and nobody waits for it.
class FilePlayer final : public AudioPlayer {
public:
    /// `stop` is the flag that `decoder` gives up at; the player sets it when it is destroyed.
    FilePlayer(
        std::unique_ptr<Decoder> decoder, std::shared_ptr<std::atomic<bool>> stop, OutputFactory makeOutput);
    ~FilePlayer() override;

    void setDelegate(AudioPlayerDelegate *delegate) override;
    void setVolume(float volume) override;
    bool prepareToPlay() override;
    bool play() override;
    void pause() override;
    void stop() override;
    [[nodiscard]] double currentTime() const override;
    void setCurrentTime(double seconds) override;
    [[nodiscard]] double duration() const override;
    [[nodiscard]] bool isPlaying() const override;

private:
    std::unique_ptr<Decoder> m_decoder; ///< until the decoder thread has it
    const bool m_isLengthUnknown;
    const std::shared_ptr<Playback> m_playback;
};
