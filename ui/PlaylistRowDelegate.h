#pragma once

#include <QFont>
#include <QStyledItemDelegate>

struct PlaylistRow;
struct PlaylistRowGeometry;

/// Draws the rows of the playlist.
class PlaylistRowDelegate : public QStyledItemDelegate {
    Q_OBJECT

public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(
        QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const override;
    [[nodiscard]] QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;
};
