#pragma once

#include "platform/PlatformServices.h"

#include <QStringList>
#include <vector>

/// What a fake audio player was told and what it reports; outlives the player.
struct FakePlayerState {
    QUrl url;
    SoundLabel label;
    AudioPlayerDelegate *delegate = nullptr;
    AudioPlayer *player = nullptr; ///< null once the player is destroyed
    float volume = -1;
    bool isPrepared = false;
    bool isPlaying = false;
    bool wasStopped = false;
    double currentTime = 0;
    double duration = 0;

    [[nodiscard]] bool isAlive() const { return player != nullptr; }

    /// What a real player does when the track's last sample has been heard.
    void finish(bool successfully = true);
    void fail(const std::optional<Error> &error);
};

/// Stands in for the system: opens silent players, remembers them, and counts access grants.
class FakePlatform {
public:
    /// Services that borrow this platform.
    PlatformServices services();

    double nextDuration = 100; ///< seconds, of the players opened from now on
    QStringList unplayableNames; ///< file names that fail to open
    bool grantsAccess = true;

    std::vector<std::shared_ptr<FakePlayerState>> opened; ///< oldest first
    QList<QUrl> grantsTaken;
    QList<QUrl> grantsEnded;

    /// The player opened last; a precondition is that there is one.
    [[nodiscard]] FakePlayerState &latest() const { return *opened.back(); }

private:
    Result<std::unique_ptr<AudioPlayer>> open(const QUrl &url, const SoundLabel &label);
};
