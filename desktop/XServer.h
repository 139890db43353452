#pragma once

#include <cstdlib>
#include <memory>
#include <string_view>
#include <xcb/xcb.h>

/// The X server that shows the window, asked over the toolkit's connection. Main thread only.
namespace XServer {

/// A reply of the server, to be freed after its last use.
template <typename Reply> std::unique_ptr<Reply, decltype(&std::free)> owned(Reply *reply)
{
    return {reply, &std::free};
}

/// Null if the display is no X server.
[[nodiscard]] xcb_connection_t *connection();

/// The number that the server has, or now makes, for a name; 0 if it does not answer.
[[nodiscard]] xcb_atom_t atom(xcb_connection_t *server, std::string_view name);

/// The window that owns the selection of this name; 0 if none does.
[[nodiscard]] xcb_window_t owner(xcb_connection_t *server, std::string_view selection);

} // namespace XServer

/// Whether the window system shows what lies behind the translucent parts of a window; without that, they are black.
/// It does on Wayland, and on X11 while a compositor runs. Main thread only.
[[nodiscard]] bool isComposited();
