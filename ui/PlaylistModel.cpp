#include "ui/PlaylistModel.h"

#include "player/PayerManager.h"

#include <algorithm>

QString PlaylistRow::spoken() const
{
    QString text = PlaylistModel::tr("%1, %2, %3");
    if (marker == Marker::Playing)
        text = PlaylistModel::tr("%1, %2, %3, actual, reproduciendo");
    else if (marker == Marker::Paused)
        text = PlaylistModel::tr("%1, %2, %3, actual, en pausa");
    return text.arg(title, artist, length);
}

PlaylistRow PlaylistModel::playlistRow(const QModelIndex &index) const
{
    using Marker = PlaylistRow::Marker;
    const Track &track = this->track(index);
    const Marker currentMarker = m_isPlaying ? Marker::Playing : Marker::Paused;
    return {
        .marker = m_current == track ? currentMarker : Marker::Number,
        .number = index.row() + 1,
        .title = track.title,
        .artist = track.artist,
        .length = PlayerManager::formattedTime(track.duration),
        .artwork = track.artwork,
    };
}

int PlaylistModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_tracks.size());
}

QVariant PlaylistModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid))
        return {};
    switch (role) {
    case Qt::DisplayRole:
        return track(index).title;
    case Qt::AccessibleTextRole:
        return playlistRow(index).spoken();
    default:
        return {};
    }
}

void PlaylistModel::setTracks(const QList<Track> &tracks)
{
    // The copy kept here shares its storage with the list it was made from until that one is written.
    if (tracks.constData() == m_tracks.constData() && tracks.size() == m_tracks.size())
        return;

    const qsizetype shorter = std::min(m_tracks.size(), tracks.size());
    const auto front = std::mismatch(m_tracks.cbegin(), m_tracks.cbegin() + shorter, tracks.cbegin());
    const qsizetype first = front.first - m_tracks.cbegin();
    const auto back =
        std::mismatch(m_tracks.crbegin(), m_tracks.crbegin() + (shorter - first), tracks.crbegin());
    const qsizetype kept = first + (back.first - m_tracks.crbegin());

    const qsizetype removed = m_tracks.size() - kept;
    const qsizetype inserted = tracks.size() - kept;
    if (removed != inserted || !moveBlock(first, removed, tracks))
        replace(first, removed, tracks, inserted);
    m_tracks = tracks;
}

/// Moves one of two neighbouring blocks before the other, if that is all in which the rows first…first+count
/// differ from `tracks`. Returns whether it is.
bool PlaylistModel::moveBlock(qsizetype first, qsizetype count, const QList<Track> &tracks)
{
    const auto begin = m_tracks.cbegin() + first;
    const auto end = begin + count;
    const auto wanted = tracks.cbegin() + first;
    const auto newFirst = count > 0 ? std::find(begin, end, *wanted) : end;
    const bool isRotated = newFirst != end && std::equal(newFirst, end, wanted)
        && std::equal(begin, newFirst, wanted + (end - newFirst));
    if (!isRotated)
        return false;
    const int from = static_cast<int>(newFirst - m_tracks.cbegin());
    const int last = static_cast<int>(end - m_tracks.cbegin()) - 1;
    if (!beginMoveRows({}, from, last, {}, static_cast<int>(first)))
        return false;
    m_tracks = tracks;
    endMoveRows();
    return true;
}

void PlaylistModel::replace(
    qsizetype first, qsizetype removed, const QList<Track> &tracks, qsizetype inserted)
{
    if (removed > 0) {
        beginRemoveRows({}, static_cast<int>(first), static_cast<int>(first + removed) - 1);
        m_tracks.remove(first, removed);
        endRemoveRows();
    }
    if (inserted > 0) {
        beginInsertRows({}, static_cast<int>(first), static_cast<int>(first + inserted) - 1);
        m_tracks = tracks;
        endInsertRows();
    }
}

void PlaylistModel::setCurrent(const std::optional<Track> &track, bool isPlaying)
{
    if (track == m_current && isPlaying == m_isPlaying)
        return;
    const std::optional<Track> former = std::exchange(m_current, track);
    m_isPlaying = isPlaying;
    if (former != track)
        announce(former);
    announce(track);
}

QModelIndex PlaylistModel::currentIndex() const
{
    return indexOf(m_current);
}

QModelIndex PlaylistModel::indexOf(const std::optional<Track> &track) const
{
    return index(track ? static_cast<int>(m_tracks.indexOf(*track)) : -1);
}

void PlaylistModel::announce(const std::optional<Track> &track)
{
    const QModelIndex changed = indexOf(track);
    if (changed.isValid())
        Q_EMIT dataChanged(changed, changed);
}
