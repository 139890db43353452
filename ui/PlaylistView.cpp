#include "ui/PlaylistView.h"

#include "metadata/ArtworkLoader.h"
#include "ui/PlaylistModel.h"
#include "ui/PlaylistRowDelegate.h"
#include "ui/controls/ScrollBar.h"
#include "ui/drawing/ControlState.h"

#include <QAccessible>
#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QMouseEvent>

using namespace Qt::StringLiterals;

namespace {

constexpr int ListPadding = 10;
constexpr int RowSpacing = 4;
// The list view puts its spacing on all sides of every row; this is what is missing to the padding.
constexpr int SpacingAround = RowSpacing / 2;
constexpr int ExtraPadding = ListPadding - SpacingAround;

} // namespace

PlaylistView::PlaylistView(PlaylistModel &model, ArtworkLoader &artworks)
    : m_model(model)
    , m_artworks(artworks)
    , m_delegate(new PlaylistRowDelegate(artworks, this))
{
    installPlaylistAccessible();
    connect(&artworks, &ArtworkLoader::changed, this, &PlaylistView::showArtwork);
    setModel(&model);
    setItemDelegate(m_delegate);
    setAccessibleName(tr("Playlist"));
    setUniformItemSizes(true);
    setSpacing(SpacingAround);
    // The bar lies in the padding, and keeps its place when there is nothing to scroll.
    setVerticalScrollBar(new ScrollBar);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    setViewportMargins(ExtraPadding, 0, ExtraPadding - ScrollBar::Width, 0);
    setFrameShape(QFrame::NoFrame);
    viewport()->setAutoFillBackground(false);
    viewport()->setMouseTracking(true);
    setVerticalScrollMode(ScrollPerPixel);
    setAutoScroll(false);
    connect(verticalScrollBar(), &QScrollBar::valueChanged, this, &PlaylistView::followPointer);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
}

// The padding above the first and below the last row scrolls with them.

int PlaylistView::verticalOffset() const
{
    return QListView::verticalOffset() - ExtraPadding;
}

void PlaylistView::updateGeometries()
{
    QScrollBar &bar = *verticalScrollBar();
    const int value = bar.value(); // which the base class bounds by a range that is too short
    QListView::updateGeometries();
    const int overflow = contentsSize().height() + 2 * ExtraPadding - viewport()->height();
    bar.setRange(0, std::max(0, overflow));
    bar.setValue(value);
}

void PlaylistView::scrollTo(const QModelIndex &index, ScrollHint)
{
    if (!index.isValid())
        return;
    const QRect row = visualRect(index).adjusted(0, -ListPadding, 0, ListPadding);
    const int below = row.bottom() - viewport()->rect().bottom();
    // Of a row that does not fit, the beginning shows.
    verticalScrollBar()->setValue(verticalScrollBar()->value() + std::min(std::max(below, 0), row.top()));
}

// Actions on a row

void PlaylistView::play(const QModelIndex &index)
{
    if (index.isValid())
        Q_EMIT playRequested(m_model.track(index));
}

void PlaylistView::remove(const QModelIndex &index)
{
    if (index.isValid())
        Q_EMIT removalRequested(m_model.track(index));
}

void PlaylistView::openRowMenu(const QModelIndex &index)
{
    scrollTo(index);
    openMenu(index, playlistRowMenu(visualRect(index)), true);
    if (m_menu)
        m_menu->goToFirst();
}

void PlaylistView::openContextMenu(const QModelIndex &index)
{
    scrollTo(index);
    openMenu(index, {visualRect(index).center(), QSize(1, 1)}, false);
    if (m_menu)
        m_menu->goToFirst();
}

void PlaylistView::openMenu(const QModelIndex &index, const QRect &opener, bool hasSeparator)
{
    if (!index.isValid())
        return;
    // The menu acts on the track for which it was opened, wherever that has gone by then.
    const Track track = m_model.track(index);
    auto *menu = new Menu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->setAccessibleName(tr("Más opciones de %1").arg(track.title));
    menu->addAction(tr("Reproducir"), this, [this, track] { Q_EMIT playRequested(track); });
    if (hasSeparator)
        menu->addSeparator();
    const QAction *remove = menu->addDestructive(tr("Eliminar de la playlist"));
    connect(remove, &QAction::triggered, this, [this, track] { Q_EMIT removalRequested(track); });
    connect(menu, &QMenu::aboutToHide, this, &PlaylistView::followPointer);
    m_menu = menu;
    menu->openBeside({viewport()->mapToGlobal(opener.topLeft()), opener.size()});
}

void PlaylistView::contextMenuEvent(QContextMenuEvent *event)
{
    if (event->reason() == QContextMenuEvent::Keyboard)
        openContextMenu(currentIndex());
    else
        openMenu(indexAt(event->pos()), {event->pos(), QSize(1, 1)}, false);
}

// Mouse

QModelIndex PlaylistView::menuSquareAt(const QPoint &position) const
{
    const QModelIndex index = indexAt(position);
    return playlistRowMenu(visualRect(index)).contains(position) ? index : QModelIndex();
}

/// Shows that the mouse is over the ellipsis of a row, or of none.
void PlaylistView::pointAtMenu(const QModelIndex &index)
{
    const QModelIndex former = m_delegate->pointedMenu();
    m_delegate->setPointedMenu(index, index.isValid() && index == m_pressedMenu);
    update(former);
    update(index);
}

/// Nothing tells the list that the mouse has left it for an open menu, or that its rows have moved under it.
void PlaylistView::followPointer()
{
    const QPoint place = viewport()->mapFromGlobal(QCursor::pos());
    pointAtMenu(viewport()->rect().contains(place) ? menuSquareAt(place) : QModelIndex());
}

bool PlaylistView::viewportEvent(QEvent *event)
{
    if (event->type() == QEvent::Leave)
        pointAtMenu({});
    return QListView::viewportEvent(event);
}

void PlaylistView::mousePressEvent(QMouseEvent *event)
{
    setFocusShown(false);
    m_pressedMenu = event->button() == Qt::LeftButton ? menuSquareAt(event->pos()) : QModelIndex();
    QListView::mousePressEvent(event);
    pointAtMenu(menuSquareAt(event->pos()));
}

void PlaylistView::mouseMoveEvent(QMouseEvent *event)
{
    const QModelIndex pointed = menuSquareAt(event->pos());
    if (pointed != m_delegate->pointedMenu())
        pointAtMenu(pointed);
    if (!m_pressedMenu.isValid())
        QListView::mouseMoveEvent(event);
}

void PlaylistView::mouseReleaseEvent(QMouseEvent *event)
{
    QListView::mouseReleaseEvent(event);
    const QModelIndex pressed = std::exchange(m_pressedMenu, QModelIndex());
    const QModelIndex released = menuSquareAt(event->pos());
    pointAtMenu(released);
    if (pressed.isValid() && released == pressed)
        openMenu(pressed, playlistRowMenu(visualRect(pressed)), true);
}

void PlaylistView::mouseDoubleClickEvent(QMouseEvent *event)
{
    if (menuSquareAt(event->pos()).isValid())
        mousePressEvent(event); // the third click of a row in which the second one has closed the menu
    else if (event->button() == Qt::LeftButton)
        play(indexAt(event->pos()));
}

// Covers

/// The first row that is in sight, also between two.
QModelIndex PlaylistView::topRow() const
{
    const QPoint place(viewport()->width() / 2, RowSpacing + ExtraPadding);
    const QModelIndex top = indexAt(place);
    return top.isValid() ? top : indexAt(place + QPoint(0, RowSpacing));
}

QModelIndexList PlaylistView::visibleRows() const
{
    QModelIndexList rows;
    const int top = std::max(topRow().row() - 1, 0);
    for (int row = top; row < m_model.rowCount(); ++row) {
        const QModelIndex index = m_model.index(row);
        if (visualRect(index).top() > viewport()->height())
            break;
        rows.append(index);
    }
    return rows;
}

void PlaylistView::showArtwork(const Fingerprint &picture)
{
    for (const QModelIndex &row : visibleRows()) {
        const auto &artwork = m_model.track(row).artwork;
        if (artwork && artwork->fingerprint() == picture)
            update(row);
    }
}

void PlaylistView::paintEvent(QPaintEvent *event)
{
    QListView::paintEvent(event);
    QList<Artwork> visible;
    for (const QModelIndex &row : visibleRows()) {
        if (const auto &artwork = m_model.track(row).artwork)
            visible.append(*artwork);
    }
    m_artworks.keepOnly(visible);
}

// Keyboard

/// The row at which the keyboard arrives in a list that it has not been in yet: the current track's if that is in sight.
QModelIndex PlaylistView::firstFocus() const
{
    const QModelIndex top = topRow();
    const QModelIndex current = m_model.currentIndex();
    const bool isInSight = viewport()->rect().intersects(visualRect(current));
    return isInSight ? current : top;
}

void PlaylistView::setFocusShown(bool isShown)
{
    m_delegate->setFocusShown(isShown);
    update(currentIndex());
}

void PlaylistView::focusInEvent(QFocusEvent *event)
{
    setFocusShown(showsFocus(event->reason(), m_delegate->isFocusShown()));
    if (!currentIndex().isValid())
        setCurrentIndex(firstFocus());
    QListView::focusInEvent(event);
    // After the toolkit has announced the list itself.
    QMetaObject::invokeMethod(this, &PlaylistView::announceFocusedRow, Qt::QueuedConnection);
}

void PlaylistView::announceFocusedRow()
{
    if (!hasFocus() || !currentIndex().isValid())
        return;
    QAccessibleEvent focus(this, QAccessible::Focus);
    focus.setChild(currentIndex().row());
    QAccessible::updateAccessibility(&focus);
}

QModelIndex PlaylistView::moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers)
{
    const QModelIndex target = QListView::moveCursor(action, modifiers);
    const bool isPage = action == MovePageUp || action == MovePageDown;
    if (!isPage || target != currentIndex())
        return target;
    // In a list with room for less than two rows a page is one.
    return QListView::moveCursor(action == MovePageUp ? MoveUp : MoveDown, modifiers);
}

void PlaylistView::keyPressEvent(QKeyEvent *event)
{
    setFocusShown(true);
    const bool isReturn = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    // A key that is held down counts once: it would empty the list.
    const bool isPlain =
        !event->isAutoRepeat() && (event->modifiers() & ~Qt::KeypadModifier) == Qt::NoModifier;
    const bool isMenuKey = event->key() == Qt::Key_F10 && event->modifiers() == Qt::ShiftModifier;
    if (event->key() == Qt::Key_Space)
        event->ignore(); // it belongs to playback
    else if (isReturn && isPlain)
        play(currentIndex());
    else if (event->key() == Qt::Key_Delete && isPlain)
        remove(currentIndex());
    else if (isMenuKey)
        openContextMenu(currentIndex());
    else
        moveByKey(event);
}

void PlaylistView::moveByKey(QKeyEvent *event)
{
    const QModelIndex former = currentIndex();
    QListView::keyPressEvent(event);
    if (currentIndex() != former)
        scrollTo(currentIndex());
}
