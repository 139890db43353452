#include "ui/PlaylistView.h"

#include "ui/PlaylistModel.h"
#include "ui/PlaylistRowDelegate.h"
#include "ui/PlaylistRowGeometry.h"
#include "ui/controls/ScrollBar.h"

#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QMenu>
#include <QMouseEvent>

using namespace Qt::StringLiterals;

namespace {

constexpr int Padding = 10;
constexpr int RowSpacing = 4;
// The list view puts its spacing on all sides of every row; this is what is missing to the padding.
constexpr int SpacingAround = RowSpacing / 2;
constexpr int ExtraPadding = Padding - SpacingAround;

} // namespace

PlaylistView::PlaylistView(PlaylistModel &model)
    : m_model(model)
{
    setModel(&model);
    setItemDelegate(new PlaylistRowDelegate(this));
    setAccessibleName(u"Playlist"_s);
    setUniformItemSizes(true);
    setSpacing(SpacingAround);
    // The bar lies in the padding, and keeps its place where there is nothing to scroll.
    setVerticalScrollBar(new ScrollBar);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    setViewportMargins(ExtraPadding, 0, ExtraPadding - ScrollBar::Width, 0);
    setFrameShape(QFrame::NoFrame);
    viewport()->setAutoFillBackground(false);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollMode(ScrollPerPixel);
    setEditTriggers(NoEditTriggers);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
}

// The padding above the first and below the last row scrolls with them.

int PlaylistView::verticalOffset() const
{
    return QListView::verticalOffset() - ExtraPadding;
}

void PlaylistView::updateGeometries()
{
    QListView::updateGeometries();
    const int overflow = contentsSize().height() + 2 * ExtraPadding - viewport()->height();
    verticalScrollBar()->setRange(0, std::max(0, overflow));
}

// Menus

QModelIndex PlaylistView::menuSquareAt(const QPoint &position) const
{
    const QModelIndex index = indexAt(position);
    return playlistRowMenu(visualRect(index)).contains(position) ? index : QModelIndex();
}

void PlaylistView::openMenu(const QModelIndex &index, const QPoint &globalPosition, bool hasSeparator)
{
    // The menu acts on the track for which it was opened, wherever that has gone by then.
    const Track track = m_model.track(index);
    auto *menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->addAction(u"Reproducir"_s, this, [this, track] { Q_EMIT playRequested(track); });
    if (hasSeparator)
        menu->addSeparator();
    menu->addAction(u"Eliminar de la playlist"_s, this, [this, track] { Q_EMIT removalRequested(track); });
    menu->popup(globalPosition);
}

void PlaylistView::contextMenuEvent(QContextMenuEvent *event)
{
    const bool isByKey = event->reason() == QContextMenuEvent::Keyboard;
    const QModelIndex index = isByKey ? currentIndex() : indexAt(event->pos());
    if (!index.isValid())
        return;
    const QPoint position = isByKey ? visualRect(index).center() : event->pos();
    openMenu(index, viewport()->mapToGlobal(position), false);
}

// Mouse

void PlaylistView::mousePressEvent(QMouseEvent *event)
{
    m_pressedMenu = event->button() == Qt::LeftButton ? menuSquareAt(event->pos()) : QModelIndex();
    QListView::mousePressEvent(event);
}

void PlaylistView::mouseReleaseEvent(QMouseEvent *event)
{
    QListView::mouseReleaseEvent(event);
    const QModelIndex pressed = std::exchange(m_pressedMenu, QModelIndex());
    if (event->button() != Qt::LeftButton || !pressed.isValid() || menuSquareAt(event->pos()) != pressed)
        return;
    const QRect square = playlistRowMenu(visualRect(pressed));
    openMenu(pressed, viewport()->mapToGlobal(square.bottomLeft()), true);
}

void PlaylistView::mouseDoubleClickEvent(QMouseEvent *event)
{
    const QModelIndex index = indexAt(event->pos());
    if (event->button() == Qt::LeftButton && index.isValid() && !menuSquareAt(event->pos()).isValid())
        Q_EMIT playRequested(m_model.track(index));
}

// Keyboard

void PlaylistView::keyPressEvent(QKeyEvent *event)
{
    const QModelIndex index = currentIndex();
    const bool isReturn = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (event->key() == Qt::Key_Space)
        event->ignore();
    else if (isReturn && index.isValid() && !event->isAutoRepeat())
        Q_EMIT playRequested(m_model.track(index));
    else if (event->key() == Qt::Key_Delete && index.isValid())
        Q_EMIT removalRequested(m_model.track(index));
    else
        QListView::keyPressEvent(event);
}
