#pragma once

#include "playback/Playback.h"

/// The loop of a player's decoder thread: reads ahead into the feed, answers requests of a position, and
/// watches over the output. Sleeps without a timer where there is nothing to do.
class DecoderThread {
public:
    /// Starts the thread, which takes `decoder` and ends by itself once `playback` is closed. False where the
    /// system has no thread left; then `decoder` stays where it is.
    [[nodiscard]] static bool start(
        std::shared_ptr<Playback> playback, std::unique_ptr<Decoder> &decoder, bool isGuessed);

private:
    DecoderThread(std::shared_ptr<Playback> playback, std::unique_ptr<Decoder> decoder, bool isGuessed);

    void run();
    bool advance();
    void startOver(const Playback::Request &request);
    bool decode();
    bool deliver();
    void finish(std::optional<Error> error);
    void publishWhenReady();

    const std::shared_ptr<Playback> m_playback;
    std::unique_ptr<Decoder> m_decoder;
    const bool m_isDurationGuessed;

    std::uint32_t m_generation = 0; ///< of the request that is being answered
    RingBuffer *m_ring = nullptr; ///< none before the first request
    DecodedFrames m_undelivered; ///< decoded, but the ring was full
    std::int64_t m_position = 0; ///< track frame after the last one delivered
};
