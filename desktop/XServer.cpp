#include "desktop/XServer.h"

#include <QGuiApplication>

using namespace Qt::StringLiterals;

xcb_connection_t *XServer::connection()
{
    const auto *x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    return x11 ? x11->connection() : nullptr;
}

xcb_atom_t XServer::atom(xcb_connection_t *server, std::string_view name)
{
    const auto request = xcb_intern_atom(server, 0, static_cast<std::uint16_t>(name.size()), name.data());
    const auto reply = owned(xcb_intern_atom_reply(server, request, nullptr));
    return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

xcb_window_t XServer::owner(xcb_connection_t *server, std::string_view selection)
{
    const auto request = xcb_get_selection_owner(server, atom(server, selection));
    const auto reply = owned(xcb_get_selection_owner_reply(server, request, nullptr));
    return reply ? reply->owner : xcb_window_t{XCB_WINDOW_NONE};
}

bool isComposited()
{
    if (xcb_connection_t *server = XServer::connection())
        return XServer::owner(server, "_NET_WM_CM_S0") != XCB_WINDOW_NONE; // Extended Window Manager Hints
    return QGuiApplication::platformName().startsWith(u"wayland"_s);
}
