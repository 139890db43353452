#include "tests/player/FakeAudioPlayer.h"

using namespace Qt::StringLiterals;

namespace {

class FakeAudioPlayer : public AudioPlayer {
public:
    explicit FakeAudioPlayer(std::shared_ptr<FakePlayerState> state)
        : m_state(std::move(state))
    {
        m_state->player = this;
    }
    ~FakeAudioPlayer() override
    {
        m_state->isPlaying = false;
        m_state->delegate = nullptr;
        m_state->player = nullptr;
    }

    void setDelegate(AudioPlayerDelegate *delegate) override { m_state->delegate = delegate; }
    void setVolume(float volume) override { m_state->volume = volume; }
    bool prepareToPlay() override { return m_state->isPrepared = true; }
    bool play() override { return m_state->isPlaying = true; }
    void pause() override { m_state->isPlaying = false; }
    void stop() override
    {
        m_state->isPlaying = false;
        m_state->wasStopped = true;
    }
    double currentTime() const override { return m_state->currentTime; }
    void setCurrentTime(double seconds) override { m_state->currentTime = seconds; }
    double duration() const override { return m_state->duration; }
    bool isPlaying() const override { return m_state->isPlaying; }

private:
    std::shared_ptr<FakePlayerState> m_state;
};

} // namespace

void FakePlayerState::finish(bool successfully)
{
    isPlaying = false;
    delegate->audioPlayerDidFinishPlaying(*player, successfully);
}

void FakePlayerState::fail(const std::optional<Error> &error)
{
    isPlaying = false;
    delegate->audioPlayerDecodeErrorDidOccur(*player, error);
}

PlatformServices FakePlatform::services()
{
    return {
        .openAudioPlayer = [this](const QUrl &url, const SoundLabel &label) { return open(url, label); },
        .startAccessing =
            [this](const QUrl &url) {
                if (grantsAccess)
                    grantsTaken.append(url);
                return grantsAccess;
            },
        .stopAccessing = [this](const QUrl &url) { grantsEnded.append(url); },
    };
}

Result<std::unique_ptr<AudioPlayer>> FakePlatform::open(const QUrl &url, const SoundLabel &label)
{
    if (unplayableNames.contains(url.fileName()))
        return Error{u"formato desconocido"_s};
    auto state = std::make_shared<FakePlayerState>();
    state->url = url;
    state->label = label;
    state->duration = nextDuration;
    opened.push_back(state);
    return std::unique_ptr<AudioPlayer>(std::make_unique<FakeAudioPlayer>(state));
}
