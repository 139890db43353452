#pragma once

#include "files/FileAccess.h"
#include "playback/AudioPlayer.h"

#include <functional>

/// What the player asks of the system it runs on; the system's own by default, fakes in tests.
struct PlatformServices {
    std::function<Result<std::unique_ptr<AudioPlayer>>(const QUrl &, const SoundLabel &)> openAudioPlayer =
        AudioPlayer::open;
    std::function<bool(const QUrl &)> startAccessing = startAccessingSecurityScopedResource;
    std::function<void(const QUrl &)> stopAccessing = stopAccessingSecurityScopedResource;
};
