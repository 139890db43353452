#pragma once

#include "files/Result.h"

#include <QString>
#include <QUrl>
#include <memory>
#include <optional>

class AudioPlayer;

/// Hears of what happens to an AudioPlayer. Called from any thread, never after the player has been
/// given up; an implementation must only hand the news over to its own thread.
class AudioPlayerDelegate {
public:
    virtual ~AudioPlayerDelegate() = default;

    /// The last sample of the track has been decoded and will be heard in a moment: it is time for setSuccessor().
    /// Again after every seek.
    virtual void audioPlayerDidReachEndOfFile(AudioPlayer &player) = 0;

    /// The last sample of the track has been heard; `successfully` is false if part of it was damaged.
    virtual void audioPlayerDidFinishPlaying(AudioPlayer &player, bool successfully) = 0;

    /// Decoding has failed for good and playback has ended; `error` says why if that is known.
    virtual void audioPlayerDecodeErrorDidOccur(AudioPlayer &player, const std::optional<Error> &error) = 0;
};

/// What the desktop's mixer shows of a player, as plain text; empty if there is nothing to tell.
struct SoundLabel {
    QString title;
    QString artist;
};

/// Plays one audio file.
///
/// All calls come from the main thread, and none of them but open() waits for the sound server or for another
/// thread. Times are seconds from the start of the track. Giving up a player ends its sound at once.
class AudioPlayer {
public:
    struct State {
        double currentTime = 0; ///< the position that is heard, from 0 to `duration`
        double duration = 0; ///< length of the track; finite, never negative, 0 if it is not known
        bool isPlaying = false; ///< after play(), until pause(), stop(), the end of the track or its failure
    };

    virtual ~AudioPlayer() = default;
    AudioPlayer(const AudioPlayer &) = delete;
    AudioPlayer &operator=(const AudioPlayer &) = delete;

    /// Opens the local regular file behind `url`, and no other, for playback on the system's default output.
    /// Fails with a readable description if the file cannot be opened or holds no sound that is
    /// understood. Needs no sound server, which is told `label` later on, and never the file's path.
    /// What it returns has one owner, who gives the player up by dropping it.
    ///
    /// Main thread, which waits while the file is opened and its first frames are decoded on another one: for
    /// 3 seconds at most if its medium does not answer. That is a failure, too.
    static Result<std::shared_ptr<AudioPlayer>> open(const QUrl &url, const SoundLabel &label = {});

    /// The receiver of the callbacks, borrowed, or null for none. Once this returns, the former one is not
    /// called any more.
    virtual void setDelegate(AudioPlayerDelegate *delegate) = 0;

    /// Linear gain from 0 (silence) to 1, heard at once, also while sounding.
    virtual void setVolume(float volume) = 0;

    /// Decodes ahead so that play() sounds at once; false if that is not possible.
    virtual bool prepareToPlay() = 0;

    /// Starts or resumes; after the end of the track, from its start. False if it is known at once that
    /// nothing will sound; whether a sound server answers is only known later.
    virtual bool play() = 0;

    /// Falls silent and keeps the position.
    virtual void pause() = 0;

    /// Falls silent; the position is reset separately with setCurrentTime().
    virtual void stop() = 0;

    /// Seeks, while playing or paused; clamped to 0…duration(). currentTime() answers the target from now on.
    virtual void setCurrentTime(double seconds) = 0;

    /// Opens the file behind `url` on another thread, to sound right behind the last sample of this one, with no
    /// frame in between and in the format of the same stream. Nothing is heard of it if that fails or comes too
    /// late. Any seek drops it, and so does another successor.
    virtual void setSuccessor(const QUrl &url, const SoundLabel &label) = 0;

    /// What follows is silence again, also if frames of the successor are queued.
    virtual void dropSuccessor() = 0;

    /// The successor, once it has taken over: it is the one that sounds or is paused, and this player has ended. Null
    /// if there is none. Whoever takes it owns it.
    virtual std::shared_ptr<AudioPlayer> takeSuccessor() = 0;

    /// All at one moment.
    [[nodiscard]] virtual State state() const = 0;

    [[nodiscard]] double currentTime() const { return state().currentTime; }
    [[nodiscard]] double duration() const { return state().duration; }
    [[nodiscard]] bool isPlaying() const { return state().isPlaying; }

protected:
    AudioPlayer() = default;
};
