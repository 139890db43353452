#pragma once

#include "playback/AudioPlayer.h"
#include "playback/Session.h"

#include <algorithm>
#include <cmath>

/// The AudioPlayer of one decoder: the main thread's handle on a Session, which its destructor closes.
class FilePlayer final : public AudioPlayer {
public:
    /// See Session.
    FilePlayer(
        std::unique_ptr<Decoder> decoder, std::shared_ptr<std::atomic<bool>> stop, OutputFactory makeOutput)
        : m_session(std::make_shared<Session>(std::move(decoder), std::move(stop), std::move(makeOutput)))
    {
    }
    ~FilePlayer() override { m_session->close(); }

    void setDelegate(AudioPlayerDelegate *delegate) override { m_session->setDelegate(this, delegate); }
    void setVolume(float volume) override
    {
        m_session->setGain(std::isfinite(volume) ? std::clamp(volume, 0.0F, 1.0F) : 0.0F);
    }
    bool prepareToPlay() override
    {
        m_session->prepare();
        return m_session->startDecoding();
    }
    bool play() override { return prepareToPlay() && m_session->play(); }
    void pause() override { m_session->pause(); }
    void stop() override { m_session->pause(); }
    void setCurrentTime(double seconds) override { m_session->seek(std::isfinite(seconds) ? seconds : 0); }
    [[nodiscard]] State state() const override { return m_session->state(); }

private:
    const std::shared_ptr<Session> m_session;
};
