#pragma once

#include "playback/output/AudioOutput.h"

#include <memory>

class PulseStream;
struct SoundLabel;

/// The AudioOutput of the desktop's sound server: the player's hold on a PulseStream, which outlives it for
/// as long as its last sound takes to fade.
class PulseOutput final : public AudioOutput {
public:
    PulseOutput(std::shared_ptr<FrameFeed> feed, const SoundLabel &label);
    ~PulseOutput() override;

    void apply(const Mix &mix) override;
    void refresh() override;
    [[nodiscard]] Status status() override;

private:
    const std::shared_ptr<PulseStream> m_stream;
};
