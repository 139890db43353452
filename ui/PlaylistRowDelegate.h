#pragma once

#include <QPersistentModelIndex>
#include <QRect>
#include <QStyledItemDelegate>

class ArtworkLoader;
struct PlaylistRow;

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

/// Draws the rows of the playlist.
class PlaylistRowDelegate : public QStyledItemDelegate {
    Q_OBJECT

public:
    /// Draws covers that `artworks` has loaded, which is borrowed and outlives it.
    PlaylistRowDelegate(ArtworkLoader &artworks, QObject *parent);

    /// The row whose ellipsis is under the mouse, and whether the mouse holds it down; none by default.
    void setPointedMenu(const QModelIndex &index, bool isPressed);
    [[nodiscard]] QModelIndex pointedMenu() const { return m_pointedMenu; }

    /// Whether the row that has the keyboard focus shows it; not by default.
    void setFocusShown(bool isShown) { m_isFocusShown = isShown; }
    [[nodiscard]] bool isFocusShown() const { return m_isFocusShown; }

    void paint(
        QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const override;
    [[nodiscard]] QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;

private:
    void drawMenu(
        QPainter &painter, const QRect &area, const QPalette &palette, const QModelIndex &index) const;
    void drawSmallArtwork(
        QPainter &painter, const QRect &area, const PlaylistRow &row, const QPalette &palette) const;

    ArtworkLoader &m_artworks;
    QPersistentModelIndex m_pointedMenu;
    bool m_isPressed = false;
    bool m_isFocusShown = false;
};
