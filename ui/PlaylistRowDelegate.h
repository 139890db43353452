#pragma once

#include <QPersistentModelIndex>
#include <QStyledItemDelegate>

class ArtworkLoader;
struct PlaylistRow;

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
