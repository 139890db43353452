#pragma once

#include <QRect>

/// Where the pieces of a playlist row lie inside the row's rectangle.
struct PlaylistRowGeometry {
    PlaylistRowGeometry(const QRect &row, int lengthWidth, int titleHeight, int artistHeight);

    QRect marker;
    QRect cover;
    QRect title;
    QRect artist;
    QRect length;
    QRect menu; ///< the square that opens the row's menu
};

/// Height of a row whose two lines of text are this tall.
[[nodiscard]] int playlistRowHeight(int titleHeight, int artistHeight);

/// The menu square alone, which depends on the row's rectangle only.
[[nodiscard]] QRect playlistRowMenu(const QRect &row);
