#pragma once

#include "player/Track.h"
#include "ui/controls/Menu.h"

#include <QListView>
#include <QPointer>

class ArtworkLoader;
class Fingerprint;
class PlaylistModel;
class PlaylistRowDelegate;

/// The scrolling list of the playlist's rows.
///
/// A double click or Return plays a row, Delete removes it; so do the entries of the menu behind its ellipsis
/// and of its context menu. Typing the beginning of a title goes there. Only keys scroll to a row: neither a
/// click does nor what plays.
class PlaylistView : public QListView {
    Q_OBJECT

public:
    /// A view of `model` with the covers of `artworks`; both are borrowed and outlive it.
    PlaylistView(PlaylistModel &model, ArtworkLoader &artworks);

    [[nodiscard]] const PlaylistModel &playlist() const { return m_model; }
    [[nodiscard]] Menu *openedMenu() const { return m_menu; } ///< null while no row has its menu open

    void play(const QModelIndex &index);
    void remove(const QModelIndex &index);

    /// Scrolls until the row is in sight with the list's padding around it, no further.
    void scrollTo(const QModelIndex &index, ScrollHint = EnsureVisible) override;

    // Both scroll to the row, and go to the first entry.
    void openRowMenu(const QModelIndex &index); ///< what the ellipsis pulls down
    void openContextMenu(const QModelIndex &index); ///< in the middle of the row

Q_SIGNALS:
    void playRequested(const Track &track);
    void removalRequested(const Track &track);

protected:
    bool viewportEvent(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void focusInEvent(QFocusEvent *event) override;
    [[nodiscard]] QModelIndex moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers) override;
    void updateGeometries() override;
    [[nodiscard]] int verticalOffset() const override;

private:
    static void installPlaylistAccessible(); ///< in PlaylistAccessible.cpp
    [[nodiscard]] QModelIndex menuSquareAt(const QPoint &position) const;
    [[nodiscard]] QModelIndex topRow() const;
    [[nodiscard]] QModelIndexList visibleRows() const;
    [[nodiscard]] QModelIndex firstFocus() const;
    void showArtwork(const Fingerprint &picture);
    void announceFocusedRow();
    void moveByKey(QKeyEvent *event);
    void setFocusShown(bool isShown);
    void pointAtMenu(const QModelIndex &index);
    void followPointer();
    void openMenu(const QModelIndex &index, const QRect &opener, bool hasSeparator);

    PlaylistModel &m_model;
    ArtworkLoader &m_artworks;
    PlaylistRowDelegate *m_delegate;
    QPersistentModelIndex m_pressedMenu;
    QPointer<Menu> m_menu;
};
