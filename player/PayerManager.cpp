#include "player/PayerManager.h"

#include "files/LocalFile.h"
#include "files/StandardStreams.h"
#include "metadata/MediaBatch.h"

#include <QCoreApplication>
#include <QHash>
#include <QPointer>
#include <QRandomGenerator>
#include <algorithm>
#include <chrono>
#include <cmath>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr auto ProgressInterval = 250ms;
constexpr double RestartThreshold = 3.0; // seconds

/// The tracks of all these files, read in the order in which their media answer.
QHash<QUrl, Track> readTracks(const QList<QUrl> &urls)
{
    QHash<QUrl, Track> tracks;
    MediaBatch media(urls);
    while (const auto file = media.take())
        tracks.insert(file->url, Track(file->url, file->asset));
    return tracks;
}

void printError(const QString &message, const Error &error)
{
    printLine(message + u' ' + error.description.simplified());
}

} // namespace

PlayerManager::PlayerManager(PlatformServices services)
    : m_services(std::move(services))
{
    m_progressTimer.setInterval(ProgressInterval);
    m_progressTimer.setTimerType(Qt::PreciseTimer);
    connect(&m_progressTimer, &QTimer::timeout, this, &PlayerManager::updateProgress);
}

PlayerManager::~PlayerManager()
{
    stopProgressTimer();
    for (const QUrl &url : std::as_const(m_securityScopedURLs))
        m_services.stopAccessing(url);
}

std::optional<qsizetype> PlayerManager::currentIndex() const
{
    if (!currentTrack())
        return std::nullopt;
    const qsizetype index = playlist().indexOf(*currentTrack());
    return index < 0 ? std::nullopt : std::optional(index);
}

double PlayerManager::position() const
{
    return m_audioPlayer && isPlaying() ? m_audioPlayer->currentTime() : currentTime();
}

void PlayerManager::applyVolume(double value)
{
    if (m_audioPlayer)
        m_audioPlayer->setVolume(static_cast<float>(value));
}

// Playback

void PlayerManager::load(const Track &track, bool autoplay)
{
    stopProgressTimer();
    if (auto successor = m_following == track ? m_audioPlayer->takeSuccessor() : nullptr) {
        adopt(std::move(successor));
    } else {
        auto opened = m_services.openAudioPlayer(track.url(), {track.title, track.artist});
        if (opened.isError()) {
            printError(u"No se pudo reproducir el archivo:"_s, opened.error());
            isPlaying = false;
            return;
        }
        adopt(opened.take());
    }

    currentTrack = track;
    currentTime = 0;
    duration = m_audioPlayer->duration();
    m_isStopped = false;
    Q_EMIT positionSet();
    if (autoplay)
        play();
    else
        isPlaying = false;
}

void PlayerManager::adopt(std::shared_ptr<AudioPlayer> player)
{
    m_isFileRead = false;
    m_following.reset();
    player->setDelegate(this);
    player->setVolume(static_cast<float>(volume()));
    player->prepareToPlay();
    m_audioPlayer = std::move(player);
}

void PlayerManager::play()
{
    if (m_audioPlayer) {
        m_audioPlayer->play();
        m_isStopped = false;
        isPlaying = true;
        startProgressTimer();
    } else if (!playlist().isEmpty()) {
        load(playlist().first());
    }
}

void PlayerManager::pause()
{
    if (m_audioPlayer)
        m_audioPlayer->pause();
    isPlaying = false;
    stopProgressTimer();
    updateProgress();
}

void PlayerManager::togglePlayback()
{
    if (!currentTrack()) {
        if (!playlist().isEmpty())
            load(playlist().first());
    } else if (isPlaying()) {
        pause();
    } else {
        play();
    }
}

void PlayerManager::stop()
{
    if (m_audioPlayer) {
        m_audioPlayer->stop();
        moveTo(0);
    }
    currentTime = 0;
    isPlaying = false;
    stopProgressTimer();
    m_isStopped = true;
    Q_EMIT positionSet();
}

void PlayerManager::seek(double time)
{
    if (!m_audioPlayer)
        return;
    // In this order the larger of 0 and what is not a number is 0.
    const double target = std::min(std::max(0.0, time), m_audioPlayer->duration());
    moveTo(target);
    setPosition(target);
}

/// What was to follow is to be found anew at the end of the file.
void PlayerManager::moveTo(double time)
{
    m_isFileRead = false;
    m_following.reset();
    m_audioPlayer->setCurrentTime(time);
}

void PlayerManager::setPosition(double time)
{
    currentTime = time;
    m_isStopped = false;
    Q_EMIT positionSet();
}

// Progress

void PlayerManager::updateProgress()
{
    if (!m_audioPlayer)
        return;
    const AudioPlayer::State state = m_audioPlayer->state();
    currentTime = state.currentTime;
    duration = state.duration;
    if (isPlaying() && !state.isPlaying) {
        isPlaying = false;
        stopProgressTimer();
    }
}

QString PlayerManager::formattedTime(double seconds)
{
    if (!std::isfinite(seconds) || seconds < 0)
        return u"0:00"_s;
    // 2^63: the first double that a signed 64-bit integer cannot hold.
    if (seconds >= 0x1p63)
        qFatal("A time of %g seconds cannot be written", seconds);
    const auto whole = static_cast<qint64>(std::floor(seconds));
    return u"%1:%2"_s.arg(whole / 60).arg(whole % 60, 2, 10, QLatin1Char('0'));
}

// Navigation

void PlayerManager::next()
{
    if (playlist().isEmpty())
        return;
    load(followingTrack());
}

/// The one that next() goes to; the playlist must not be empty.
Track PlayerManager::followingTrack() const
{
    const qsizetype count = playlist().size();
    const std::optional<qsizetype> current = currentIndex();
    if (!isShuffling() || count == 1)
        return playlist().at(current ? (*current + 1) % count : 0);
    // Drawn among the others: the positions behind the current track move up by one.
    const qsizetype pick = QRandomGenerator::system()->bounded(current ? count - 1 : count);
    return playlist().at(current && pick >= *current ? pick + 1 : pick);
}

void PlayerManager::previous()
{
    if (playlist().isEmpty())
        return;
    if (currentTime() > RestartThreshold) {
        seek(0);
        return;
    }
    const std::optional<qsizetype> current = currentIndex();
    const qsizetype last = playlist().size() - 1;
    const qsizetype preceding = current ? (*current > 0 ? *current - 1 : last) : 0;
    load(playlist().at(preceding));
}

// From track to track

void PlayerManager::audioPlayerDidReachEndOfFile(AudioPlayer &player)
{
    const auto handle = [this, reader = &player] {
        if (reader != m_audioPlayer.get())
            return;
        m_isFileRead = true;
        m_following.reset();
        prepareFollowing();
    };
    QMetaObject::invokeMethod(this, handle, Qt::QueuedConnection);
}

void PlayerManager::prepareFollowing()
{
    if (!m_audioPlayer || !m_isFileRead || m_following || !currentTrack() || playlist().isEmpty())
        return;
    m_following = isRepeating() ? *currentTrack() : followingTrack();
    m_audioPlayer->setSuccessor(m_following->url(), {m_following->title, m_following->artist});
    Q_EMIT followingTrackFound(*m_following);
}

/// Something has changed that decides which track follows; that is found once all has changed that changes at once.
void PlayerManager::forgetFollowing()
{
    if (!m_following)
        return;
    m_following.reset();
    if (m_audioPlayer)
        m_audioPlayer->dropSuccessor();
    QMetaObject::invokeMethod(this, &PlayerManager::prepareFollowing, Qt::QueuedConnection);
}

void PlayerManager::audioPlayerDidFinishPlaying(AudioPlayer &, bool)
{
    QMetaObject::invokeMethod(this, &PlayerManager::handleEndOfTrack, Qt::QueuedConnection);
}

void PlayerManager::handleEndOfTrack()
{
    isPlaying = false;
    stopProgressTimer();
    if (isRepeating()) {
        if (auto again = m_audioPlayer ? m_audioPlayer->takeSuccessor() : nullptr) {
            adopt(std::move(again));
            setPosition(0);
        } else {
            seek(0);
        }
        play();
    } else if (const auto following = m_following) {
        load(*following);
    } else {
        next();
    }
}

void PlayerManager::audioPlayerDecodeErrorDidOccur(AudioPlayer &, const std::optional<Error> &error)
{
    // Printed in any case, also if this player is gone by then.
    const auto handle = [self = QPointer<PlayerManager>(this), error] {
        if (self) {
            self->isPlaying = false;
            self->stopProgressTimer();
        }
        if (error)
            printError(u"Error decodificando el audio:"_s, *error);
    };
    QMetaObject::invokeMethod(QCoreApplication::instance(), handle, Qt::QueuedConnection);
}

// Playlist editing

void PlayerManager::addFiles(const QList<QUrl> &urls)
{
    const QList<QUrl> sorted = sortedByFileName(urls);
    QList<QUrl> unlisted = sorted;
    unlisted.removeIf([this](const QUrl &url) { return isListed(standardizedFilePath(url)); });
    const QHash<QUrl, Track> tracks = readTracks(unlisted);
    for (const QUrl &url : sorted) {
        const auto track = tracks.constFind(url);
        if (isListed(track == tracks.constEnd() ? standardizedFilePath(url) : track->filePath()))
            continue;
        if (m_services.startAccessing(url))
            m_securityScopedURLs.append(url);
        append(track == tracks.constEnd() ? Track(url) : *track);
    }

    if (!currentTrack() && !playlist().isEmpty())
        load(playlist().first(), false);
}

bool PlayerManager::isListed(const QByteArray &filePath)
{
    if (!m_listedFiles) {
        m_listedFiles.emplace();
        for (const Track &track : playlist())
            m_listedFiles->insert(track.filePath());
    }
    return m_listedFiles->contains(filePath);
}

void PlayerManager::append(const Track &track)
{
    std::optional<QSet<QByteArray>> listedFiles;
    playlist.mutate([&](QList<Track> &tracks) {
        tracks.append(track);
        listedFiles = std::exchange(m_listedFiles, std::nullopt); // or the write would drop it
    });
    if (listedFiles)
        listedFiles->insert(track.filePath());
    m_listedFiles = std::move(listedFiles);
}

void PlayerManager::removeTrack(const Track &track)
{
    const qsizetype index = playlist().indexOf(track);
    if (index < 0)
        return;
    const bool isCurrent = currentTrack() == track;
    playlist.mutate([index](QList<Track> &tracks) { tracks.removeAt(index); });
    if (!isCurrent)
        return;

    if (m_audioPlayer)
        m_audioPlayer->stop();
    m_audioPlayer.reset();
    currentTrack = std::nullopt;
    isPlaying = false;
    currentTime = 0;
    duration = 0;
    stopProgressTimer();
    if (!playlist().isEmpty())
        load(playlist().first(), false);
}

void PlayerManager::clearPlaylist()
{
    stop();
    m_audioPlayer.reset();
    playlist = {};
    currentTrack = std::nullopt;
    duration = 0;
}

void PlayerManager::moveTrack(const std::set<qsizetype> &from, qsizetype to)
{
    playlist.mutate([&from, to](QList<Track> &tracks) {
        QList<Track> before, moved, after;
        for (qsizetype i = 0; i < tracks.size(); ++i)
            (from.contains(i) ? moved : i < to ? before : after).append(tracks.at(i));
        tracks = before + moved + after;
    });
}
