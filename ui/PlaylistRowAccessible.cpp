#include "ui/PlaylistRowAccessible.h"

#include "ui/PlaylistMenuAccessible.h"
#include "ui/PlaylistModel.h"
#include "ui/PlaylistView.h"

using namespace Qt::StringLiterals;

PlaylistRowAccessible::PlaylistRowAccessible(PlaylistView &view, const QModelIndex &index)
    : m_view(view)
    , m_index(index)
{
}

PlaylistRowAccessible::~PlaylistRowAccessible()
{
    if (m_menuButton)
        QAccessible::deleteAccessibleInterface(m_menuButton);
}

void *PlaylistRowAccessible::interface_cast(QAccessible::InterfaceType type)
{
    return type == QAccessible::ActionInterface ? static_cast<QAccessibleActionInterface *>(this) : nullptr;
}

QAccessibleInterface *PlaylistRowAccessible::parent() const
{
    return QAccessible::queryAccessibleInterface(&m_view);
}

QAccessibleInterface *PlaylistRowAccessible::child(int index) const
{
    if (index != 0)
        return nullptr;
    if (!m_menuButton)
        m_menuButton = QAccessible::registerAccessibleInterface(new PlaylistMenuAccessible(m_view, *this));
    return QAccessible::accessibleInterface(m_menuButton);
}

int PlaylistRowAccessible::indexOfChild(const QAccessibleInterface *child) const
{
    return child && child == this->child(0) ? 0 : -1;
}

QAccessibleInterface *PlaylistRowAccessible::childAt(int x, int y) const
{
    QAccessibleInterface *menuButton = child(0);
    return menuButton->rect().contains(x, y) ? menuButton : nullptr;
}

QString PlaylistRowAccessible::text(QAccessible::Text kind) const
{
    return kind == QAccessible::Name ? m_index.data(Qt::AccessibleTextRole).toString() : QString();
}

QRect PlaylistRowAccessible::rect() const
{
    const QRect row = m_view.visualRect(m_index);
    return {m_view.viewport()->mapToGlobal(row.topLeft()), row.size()};
}

QAccessible::State PlaylistRowAccessible::state() const
{
    using Marker = PlaylistRow::Marker;
    const auto row = m_index.data(PlaylistModel::RowRole).value<PlaylistRow>();
    QAccessible::State state;
    state.focusable = true;
    state.selectable = true;
    state.selected = m_view.selectionModel()->isSelected(m_index);
    state.focused = m_view.hasFocus() && m_view.currentIndex() == m_index;
    state.active = row.isCurrent();
    state.animated = row.marker == Marker::Playing;
    state.invisible = !m_view.isVisible();
    state.offscreen = !m_view.viewport()->rect().intersects(m_view.visualRect(m_index));
    return state;
}

// Actions

QStringList PlaylistRowAccessible::actionNames() const
{
    return {pressAction(), showMenuAction(), setFocusAction()};
}

QString PlaylistRowAccessible::localizedActionName(const QString &name) const
{
    if (name == pressAction())
        return u"Reproducir"_s;
    return name == showMenuAction() ? u"Más opciones"_s : u"Ir a la fila"_s;
}

QString PlaylistRowAccessible::localizedActionDescription(const QString &name) const
{
    if (name == pressAction())
        return u"Reproduce la canción desde el principio"_s;
    return name == showMenuAction() ? u"Abre el menú de la canción"_s : u"Lleva el teclado a la fila"_s;
}

void PlaylistRowAccessible::doAction(const QString &name)
{
    if (name == pressAction()) {
        m_view.play(m_index);
    } else if (name == showMenuAction()) {
        m_view.openContextMenu(m_index);
    } else if (name == setFocusAction()) {
        m_view.setCurrentIndex(m_index);
        m_view.scrollTo(m_index);
        m_view.setFocus();
    }
}
