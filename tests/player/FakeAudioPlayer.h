#pragma once

#include "player/PayerManager.h"

#include <QStringList>
#include <vector>

/// What a fake audio player was told and what it reports; outlives the player.
struct FakePlayerState {
    QString name; ///< of its file, without the extension
    SoundLabel label;
    AudioPlayerDelegate *delegate = nullptr;
    AudioPlayer *player = nullptr; ///< null once the player is destroyed
    float volume = -1;
    bool isPlaying = false;
    double currentTime = 0;
    double duration = 0;
    QUrl successor; ///< what it is to go on with; empty for nothing
    SoundLabel successorLabel;
    std::shared_ptr<AudioPlayer> heir; ///< the successor that has taken over

    [[nodiscard]] bool isAlive() const { return player != nullptr; }

    /// What a real player does when the track's last sample has been decoded.
    void readToTheEnd() const;

    /// And when it has been heard.
    void finish(bool successfully = true);
    void fail(const std::optional<Error> &error);
};

/// Stands in for the system: opens silent players, remembers them, and grants access to files.
class FakePlatform {
public:
    /// Services that borrow this platform.
    PlatformServices services();

    double nextDuration = 100; ///< seconds, of the players opened from now on
    QStringList unplayableNames; ///< file names that fail to open
    bool grantsAccess = true;
    bool playerAnswer = true; ///< to prepareToPlay() and play()

    /// Is told every call that changes something, in words: "open a", "a volume 0.5", "grant a", "a gone".
    std::function<void(const QString &)> observer = [](const QString &) {};

    /// The latest player ends, and its successor sounds, which is the latest from now on.
    void finishIntoSuccessor();

    std::vector<std::shared_ptr<FakePlayerState>> opened; ///< oldest first

    /// The player opened last; a precondition is that there is one.
    [[nodiscard]] FakePlayerState &latest() const { return *opened.back(); }

private:
    std::shared_ptr<AudioPlayer> make(const QUrl &url, const SoundLabel &label);
    Result<std::shared_ptr<AudioPlayer>> open(const QUrl &url, const SoundLabel &label);
};
