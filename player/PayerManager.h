#pragma once

#include "playback/AudioPlayer.h"
#include "player/Published.h"
#include "player/Track.h"

#include <QList>
#include <QSet>
#include <QTimer>
#include <functional>
#include <memory>
#include <optional>
#include <set>

/// What the player asks of the system it runs on; the system's own by default, fakes in tests.
struct PlatformServices {
    std::function<Result<std::shared_ptr<AudioPlayer>>(const QUrl &, const SoundLabel &)> openAudioPlayer =
        AudioPlayer::open;

    /// Takes the access grant that a sandbox asks for before a chosen file may be read, and gives it back; returns
    /// whether there is one. No sandbox stands between this program and the user's files: it always is.
    std::function<bool(const QUrl &)> startAccessing = [](const QUrl &) { return true; };
    std::function<void(const QUrl &)> stopAccessing = [](const QUrl &) {};
};

/// The player: the playlist, the current track, its sound, and every operation that changes them.
///
/// The one observable object that all views render and all commands call. Operations that need a loaded track
/// do nothing without one; none of them reports an error. Times are seconds. Main thread only, but for the
/// two delegate callbacks.
class PlayerManager : public ObservableObject, private AudioPlayerDelegate {
    Q_OBJECT

public:
    explicit PlayerManager(PlatformServices services = {});
    ~PlayerManager() override;

    Published<QList<Track>> playlist{*this, {}, [this](const auto &) {
                                         m_listedFiles.reset();
                                         forgetFollowing();
                                     }};
    /// A copy of the playlist's entry.
    Published<std::optional<Track>> currentTrack{*this, {}, [this](const auto &) { forgetFollowing(); }};
    Published<bool> isPlaying{*this, false};
    Published<double> currentTime{*this, 0};
    Published<double> duration{*this, 0}; ///< as the audio player reports it
    Published<double> volume{*this, 0.75, [this](double value) { applyVolume(value); }}; ///< linear, 0…1
    Published<bool> isRepeating{*this, false, [this](bool) { forgetFollowing(); }};
    Published<bool> isShuffling{*this, false, [this](bool) { forgetFollowing(); }};
    /// Asks the window for the file picker.
    Published<bool> showFileImporter{*this, false, [this](bool) { Q_EMIT showFileImporterWritten(); }};

    /// Position of the current track in the playlist, found by its id; none if it is not there.
    [[nodiscard]] std::optional<qsizetype> currentIndex() const;

    /// What is heard at this moment if a track is playing, which currentTime follows; else currentTime.
    [[nodiscard]] double position() const;

    /// Whether stop() was called since the last play(), seek() or load().
    [[nodiscard]] bool isStopped() const { return m_isStopped; }

    // Playback

    /// Puts `track` in the audio player and makes it current at 0, sounding or ready. If its file cannot
    /// be opened, says so in one line on standard output; what was loaded before stays and goes on sounding.
    void load(const Track &track, bool autoplay = true);

    void play(); ///< loads the first track if none is loaded
    void pause();
    void togglePlayback();
    void stop(); ///< back to 0; the track stays loaded
    void seek(double time); ///< clamped to 0…the audio player's duration

    // Navigation

    void next(); ///< wraps from the last track to the first; a random other one while shuffling
    void previous(); ///< restarts the track when it is past 3 seconds; always in list order

    // Playlist editing

    /// Appends the files in natural order of their names, without those that are listed already; loads the
    /// first track of the list, paused, if none is current.
    void addFiles(const QList<QUrl> &urls);
    void removeTrack(const Track &track); ///< removing the current one loads the first, paused
    void clearPlaylist();

    /// Moves the tracks at the positions `from`, as one block in their order, before the track that stood at
    /// position `to`; to the end if `to` is the count.
    void moveTrack(const std::set<qsizetype> &from, qsizetype to);

    /// Minutes and two-digit seconds ("62:05"), "0:00" for a negative or not finite time. A time beyond the
    /// range of 64-bit seconds ends the program.
    [[nodiscard]] static QString formattedTime(double seconds);

Q_SIGNALS:
    /// load(), seek() or stop() has set the position, which did not come about by playing on.
    void positionSet();

    /// This track will be the current one in a moment if nothing changes: it is time to read what it shows.
    void followingTrackFound(const Track &track);

    /// Also if the value is the same: who asks for a picker that is open wants to see it.
    void showFileImporterWritten();

private:
    void audioPlayerDidReachEndOfFile(AudioPlayer &player) override;
    void audioPlayerDidFinishPlaying(AudioPlayer &player, bool successfully) override;
    void audioPlayerDecodeErrorDidOccur(AudioPlayer &player, const std::optional<Error> &error) override;
    void handleEndOfTrack();

    void adopt(std::shared_ptr<AudioPlayer> player);
    void moveTo(double time);
    void setPosition(double time);
    void prepareFollowing();
    void forgetFollowing();
    [[nodiscard]] Track followingTrack() const;

    [[nodiscard]] bool isListed(const QByteArray &filePath);
    void append(const Track &track);
    void applyVolume(double value);
    void startProgressTimer() { m_progressTimer.start(); }
    void stopProgressTimer() { m_progressTimer.stop(); }
    void updateProgress();

    PlatformServices m_services;
    std::shared_ptr<AudioPlayer> m_audioPlayer;
    bool m_isFileRead = false; ///< whether m_audioPlayer has decoded all that it will play
    std::optional<Track> m_following; ///< what it goes on with if nothing changes; none before that
    QTimer m_progressTimer{this}; ///< active only while isPlaying
    bool m_isStopped = false;
    QList<QUrl> m_securityScopedURLs; ///< one entry a grant, kept until the end
    std::optional<QSet<QByteArray>> m_listedFiles; ///< their paths; none after a write that is no append()
};
