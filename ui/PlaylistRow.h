#pragma once

#include "metadata/Artwork.h"

#include <QMetaType>
#include <QString>
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

Q_DECLARE_METATYPE(PlaylistRow)
