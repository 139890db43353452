#pragma once

#include "player/Track.h"

#include <QListView>

class PlaylistModel;
class QMenu;

/// The scrolling list of the playlist's rows.
///
/// A double click or Return plays a row, Delete removes it; so do the entries of the menu behind its ellipsis
/// and of its context menu. It never scrolls by itself to what plays.
class PlaylistView : public QListView {
    Q_OBJECT

public:
    /// A view of `model`, which is borrowed and outlives it.
    explicit PlaylistView(PlaylistModel &model);

Q_SIGNALS:
    void playRequested(const Track &track);
    void removalRequested(const Track &track);

protected:
    void mousePressEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void updateGeometries() override;
    [[nodiscard]] int verticalOffset() const override;

private:
    [[nodiscard]] QModelIndex menuSquareAt(const QPoint &position) const;
    void openMenu(const QModelIndex &index, const QPoint &globalPosition, bool hasSeparator);

    PlaylistModel &m_model;
    QPersistentModelIndex m_pressedMenu;
};
