#include "desktop/XServer.h"

#include <QGuiApplication>

namespace {

xcb_atom_t internAtom(xcb_connection_t *server, std::string_view name, bool onlyIfExists)
{
    const auto size = static_cast<std::uint16_t>(name.size());
    const auto request = xcb_intern_atom(server, onlyIfExists ? 1 : 0, size, name.data());
    const auto reply = XServer::owned(xcb_intern_atom_reply(server, request, nullptr));
    return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

} // namespace

xcb_connection_t *XServer::connection()
{
    const auto *x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    return x11 ? x11->connection() : nullptr;
}

xcb_atom_t XServer::atom(xcb_connection_t *server, std::string_view name)
{
    return internAtom(server, name, false);
}

xcb_atom_t XServer::existingAtom(xcb_connection_t *server, std::string_view name)
{
    return internAtom(server, name, true);
}
