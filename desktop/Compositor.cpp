#include "desktop/Compositor.h"

#include "desktop/XServer.h"

#include <QGuiApplication>

using namespace Qt::StringLiterals;

bool isComposited()
{
    xcb_connection_t *server = XServer::connection();
    if (!server)
        return QGuiApplication::platformName().startsWith(u"wayland"_s);
    // Extended Window Manager Hints, "_NET_WM_CM_Sn": a compositor owns this selection.
    const xcb_atom_t selection = XServer::existingAtom(server, "_NET_WM_CM_S0");
    if (!selection)
        return false;
    const auto owner = XServer::owned(
        xcb_get_selection_owner_reply(server, xcb_get_selection_owner(server, selection), nullptr));
    return owner && owner->owner != XCB_WINDOW_NONE;
}
