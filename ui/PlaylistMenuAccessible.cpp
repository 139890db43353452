#include "ui/PlaylistMenuAccessible.h"

#include "ui/PlaylistModel.h"
#include "ui/PlaylistRowAccessible.h"
#include "ui/PlaylistRowGeometry.h"
#include "ui/PlaylistView.h"

using namespace Qt::StringLiterals;

PlaylistMenuAccessible::PlaylistMenuAccessible(PlaylistView &view, const PlaylistRowAccessible &row)
    : m_view(view)
    , m_row(row)
{
}

void *PlaylistMenuAccessible::interface_cast(QAccessible::InterfaceType type)
{
    return type == QAccessible::ActionInterface ? static_cast<QAccessibleActionInterface *>(this) : nullptr;
}

bool PlaylistMenuAccessible::isValid() const
{
    return m_row.isValid();
}

QAccessibleInterface *PlaylistMenuAccessible::parent() const
{
    return QAccessible::queryAccessibleInterface(&m_view)->child(m_row.index().row());
}

QString PlaylistMenuAccessible::text(QAccessible::Text kind) const
{
    if (kind != QAccessible::Name)
        return {};
    return u"Más opciones de %1"_s.arg(m_row.index().data(Qt::DisplayRole).toString());
}

QRect PlaylistMenuAccessible::rect() const
{
    return playlistRowMenu(m_row.rect());
}

QAccessible::State PlaylistMenuAccessible::state() const
{
    const QAccessible::State row = m_row.state();
    QAccessible::State state;
    state.hasPopup = true;
    state.invisible = row.invisible;
    state.offscreen = row.offscreen;
    return state;
}

void PlaylistMenuAccessible::doAction(const QString &name)
{
    if (name == pressAction())
        m_view.openRowMenu(m_row.index());
}
