#pragma once

#include "player/Track.h"

#include <QAbstractListModel>
#include <optional>

/// What one row of the playlist shows.
struct PlaylistRow {
    enum class Marker {
        Number,
        Playing, ///< the current track, sounding
        Paused, ///< the current track, silent
    };

    Marker marker = Marker::Number;
    qsizetype number = 1; ///< position in the list, from 1
    QString title;
    QString artist;
    QString length; ///< as "3:05"
    std::optional<Artwork> artwork = std::nullopt;

    [[nodiscard]] bool isCurrent() const { return marker != Marker::Number; }

    /// The row as assistive technology reads it.
    [[nodiscard]] QString spoken() const;
};

/// The playlist as rows keyed by the tracks' ids. A change of the list reaches the view as inserted, removed
/// or moved rows, never as a reset, so that the view keeps its place.
class PlaylistModel : public QAbstractListModel {
    Q_OBJECT

public:
    /// Shows these tracks. Costs nothing if they are the list that is shown already.
    void setTracks(const QList<Track> &tracks);

    /// The marked row is this track's, in this state; announces the rows that look different now.
    void setCurrent(const std::optional<Track> &track, bool isPlaying);

    [[nodiscard]] QModelIndex currentIndex() const; ///< of the marked row; invalid if none is
    [[nodiscard]] const Track &track(const QModelIndex &index) const { return m_tracks.at(index.row()); }
    [[nodiscard]] PlaylistRow playlistRow(const QModelIndex &index) const;

    [[nodiscard]] int rowCount(const QModelIndex &parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex &index, int role) const override;

private:
    void replace(qsizetype first, qsizetype removed, const QList<Track> &tracks, qsizetype inserted);
    bool moveBlock(qsizetype first, qsizetype count, const QList<Track> &tracks);
    [[nodiscard]] QModelIndex indexOf(const std::optional<Track> &track) const;
    void announce(const std::optional<Track> &track);

    QList<Track> m_tracks;
    std::optional<Track> m_current;
    bool m_isPlaying = false;
};
