#include "ui/PlaylistRowGeometry.h"

#include <algorithm>

namespace {

constexpr int SidePadding = 12;
constexpr int VerticalPadding = 8;
constexpr int Spacing = 12;
constexpr int MarkerWidth = 28;
constexpr int CoverSide = 42;
constexpr int LineSpacing = 3;
constexpr int MenuSide = 26;

int centered(const QRect &row, int height)
{
    return row.top() + (row.height() - height) / 2;
}

} // namespace

PlaylistRowGeometry::PlaylistRowGeometry(const QRect &row, int lengthWidth, int titleHeight, int artistHeight)
    : menu(playlistRowMenu(row))
{
    marker = QRect(row.left() + SidePadding, row.top(), MarkerWidth, row.height());
    const int coverLeft = marker.left() + MarkerWidth + Spacing;
    cover = QRect(coverLeft, centered(row, CoverSide), CoverSide, CoverSide);
    length = QRect(menu.left() - Spacing - lengthWidth, row.top(), lengthWidth, row.height());

    // Two gaps: the flexible space between texts and length has one on either side.
    const int textLeft = cover.left() + CoverSide + Spacing;
    const int textWidth = std::max(0, length.left() - 2 * Spacing - textLeft);
    const int textTop = centered(row, titleHeight + LineSpacing + artistHeight);
    title = QRect(textLeft, textTop, textWidth, titleHeight);
    artist = QRect(textLeft, textTop + titleHeight + LineSpacing, textWidth, artistHeight);
}

int playlistRowHeight(int titleHeight, int artistHeight)
{
    return std::max(CoverSide, titleHeight + LineSpacing + artistHeight) + 2 * VerticalPadding;
}

QRect playlistRowMenu(const QRect &row)
{
    const int left = row.left() + row.width() - SidePadding - MenuSide;
    return {left, centered(row, MenuSide), MenuSide, MenuSide};
}
