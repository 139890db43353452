#include "ui/PlaylistAccessible.h"

#include "ui/PlaylistModel.h"
#include "ui/PlaylistRowAccessible.h"
#include "ui/PlaylistView.h"

#include <QMenu>

PlaylistAccessible::PlaylistAccessible(PlaylistView *view)
    : QAccessibleWidget(view, QAccessible::List)
    , m_view(*view)
{
}

PlaylistAccessible::~PlaylistAccessible()
{
    for (const QAccessible::Id row : std::as_const(m_rows))
        QAccessible::deleteAccessibleInterface(row);
}

void *PlaylistAccessible::interface_cast(QAccessible::InterfaceType type)
{
    if (type == QAccessible::TableInterface)
        return static_cast<QAccessibleTableInterface *>(this);
    return QAccessibleWidget::interface_cast(type);
}

// Rows first, then the menu that is open.

int PlaylistAccessible::childCount() const
{
    return rowCount() + (m_view.openedMenu() ? 1 : 0);
}

QAccessibleInterface *PlaylistAccessible::child(int index) const
{
    if (index >= 0 && index == rowCount())
        return QAccessible::queryAccessibleInterface(m_view.openedMenu());
    return cellAt(index, 0);
}

int PlaylistAccessible::indexOfChild(const QAccessibleInterface *child) const
{
    if (!child)
        return -1;
    if (child->object())
        return child->object() == m_view.openedMenu() ? rowCount() : -1;
    return static_cast<const PlaylistRowAccessible *>(child)->index().row();
}

QAccessibleInterface *PlaylistAccessible::childAt(int x, int y) const
{
    const QModelIndex index = m_view.indexAt(m_view.viewport()->mapFromGlobal(QPoint(x, y)));
    return index.isValid() ? cellAt(index.row(), 0) : nullptr;
}

QAccessibleInterface *PlaylistAccessible::focusChild() const
{
    return m_view.hasFocus() ? cellAt(m_view.currentIndex().row(), 0) : nullptr;
}

// Rows

int PlaylistAccessible::rowCount() const
{
    return m_view.playlist().rowCount();
}

QAccessibleInterface *PlaylistAccessible::cellAt(int row, int column) const
{
    if (row < 0 || row >= rowCount() || column != 0)
        return nullptr;
    const QModelIndex index = m_view.playlist().index(row);
    QAccessible::Id &id = m_rows[m_view.playlist().track(index).id()];
    if (auto *known = id ? QAccessible::accessibleInterface(id) : nullptr; known && known->isValid())
        return known;
    if (id)
        QAccessible::deleteAccessibleInterface(id);
    auto *made = new PlaylistRowAccessible(m_view, index);
    id = QAccessible::registerAccessibleInterface(made);
    return made;
}

QList<int> PlaylistAccessible::selectedRows() const
{
    const QModelIndex current = m_view.currentIndex();
    return m_view.selectionModel()->isSelected(current) ? QList<int>{current.row()} : QList<int>();
}

QList<QAccessibleInterface *> PlaylistAccessible::selectedCells() const
{
    QList<QAccessibleInterface *> cells;
    for (const int row : selectedRows())
        cells.append(cellAt(row, 0));
    return cells;
}

bool PlaylistAccessible::selectRow(int row)
{
    m_view.setCurrentIndex(m_view.playlist().index(row));
    return isRowSelected(row);
}

void PlaylistAccessible::modelChange(QAccessibleTableModelChangeEvent *)
{
    m_rows.removeIf([](const auto &entry) {
        const QAccessibleInterface *row = QAccessible::accessibleInterface(entry.value());
        const bool isGone = !row || !row->isValid();
        if (row && isGone)
            QAccessible::deleteAccessibleInterface(entry.value());
        return isGone;
    });
}
