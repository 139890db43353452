#include "tests/player/FakeAudioPlayer.h"

using namespace Qt::StringLiterals;

namespace {

QString nameOf(const QUrl &url)
{
    return url.fileName().section(u'.', 0, 0);
}

class FakeAudioPlayer : public AudioPlayer {
public:
    FakeAudioPlayer(FakePlatform &platform, std::shared_ptr<FakePlayerState> state)
        : m_platform(platform)
        , m_state(std::move(state))
    {
        m_state->player = this;
    }
    ~FakeAudioPlayer() override
    {
        m_state->isPlaying = false;
        m_state->delegate = nullptr;
        m_state->player = nullptr;
        note(u"gone"_s);
    }

    void setDelegate(AudioPlayerDelegate *delegate) override
    {
        m_state->delegate = delegate;
        note(u"delegate"_s);
    }
    void setVolume(float volume) override
    {
        m_state->volume = volume;
        note(u"volume %1"_s.arg(double(volume)));
    }
    bool prepareToPlay() override
    {
        note(u"prepare"_s);
        return m_platform.playerAnswer;
    }
    bool play() override
    {
        m_state->isPlaying = true;
        note(u"play"_s);
        return m_platform.playerAnswer;
    }
    void pause() override
    {
        m_state->isPlaying = false;
        note(u"pause"_s);
    }
    void stop() override
    {
        m_state->isPlaying = false;
        note(u"stop"_s);
    }
    State state() const override { return {m_state->currentTime, m_state->duration, m_state->isPlaying}; }
    void setCurrentTime(double seconds) override
    {
        m_state->currentTime = seconds;
        m_state->successor.clear();
        note(u"seek %1"_s.arg(seconds));
    }
    void setSuccessor(const QUrl &url, const SoundLabel &label) override
    {
        m_state->successor = url;
        m_state->successorLabel = label;
        note(u"successor "_s + nameOf(url));
    }
    void dropSuccessor() override
    {
        m_state->successor.clear();
        note(u"no successor"_s);
    }
    std::shared_ptr<AudioPlayer> takeSuccessor() override { return std::exchange(m_state->heir, nullptr); }

private:
    void note(const QString &call) const { m_platform.observer(m_state->name + u' ' + call); }

    FakePlatform &m_platform;
    std::shared_ptr<FakePlayerState> m_state;
};

} // namespace

void FakePlayerState::readToTheEnd() const
{
    delegate->audioPlayerDidReachEndOfFile(*player);
}

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
                observer(u"grant "_s + nameOf(url));
                return grantsAccess;
            },
        .stopAccessing = [this](const QUrl &url) { observer(u"end grant "_s + nameOf(url)); },
    };
}

Result<std::shared_ptr<AudioPlayer>> FakePlatform::open(const QUrl &url, const SoundLabel &label)
{
    observer(u"open "_s + nameOf(url));
    if (unplayableNames.contains(url.fileName()))
        return Error{u"formato desconocido"_s};
    return make(url, label);
}

void FakePlatform::finishIntoSuccessor()
{
    FakePlayerState &former = latest();
    former.heir = make(former.successor, former.successorLabel);
    latest().isPlaying = true;
    former.finish();
}

std::shared_ptr<AudioPlayer> FakePlatform::make(const QUrl &url, const SoundLabel &label)
{
    auto state = std::make_shared<FakePlayerState>();
    state->name = nameOf(url);
    state->label = label;
    state->duration = nextDuration;
    opened.push_back(state);
    return std::make_shared<FakeAudioPlayer>(*this, state);
}
