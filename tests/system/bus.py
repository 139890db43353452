"""Services of a desktop on the session bus, played by a test."""

import os
import threading

from gi.repository import Gio, GLib


class Service:
    """One object of a service, or some. Answers what is called with `answer(method, arguments)`, a GLib.Variant or
    nothing, on a thread of its own; `sender` asks `path` then. Ends with `close()`."""

    def __init__(self, name, path, interfaces, answer):
        self._path = path
        self._interfaces = {}
        self._answer = answer
        self._context = context = GLib.MainContext()
        context.push_thread_default()
        try:
            # A connection of its own: the shared one belongs to the first session bus of the process.
            flags = Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION
            address = os.environ["DBUS_SESSION_BUS_ADDRESS"]
            self._bus = Gio.DBusConnection.new_for_address_sync(address, flags, None, None)
            self._register(path, interfaces)
        finally:
            context.pop_thread_default()
        self._loop = GLib.MainLoop(context)
        self._thread = threading.Thread(target=self._loop.run, daemon=True)
        self._thread.start()
        self._bus.call_sync("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "RequestName",
                            GLib.Variant("(su)", (name, 0)), None, 0, -1, None)

    def offer(self, path, interfaces):
        """Offers another object, while it answers."""
        self._context.push_thread_default()
        self._register(path, interfaces)
        self._context.pop_thread_default()

    def emit(self, signal, arguments, path=None):
        """A signal of the object at the path: of its first interface."""
        path = path or self._path
        self._bus.emit_signal(None, path, self._interfaces[path], signal, arguments)

    def close(self):
        self._bus.close_sync(None)
        self._loop.quit()
        self._thread.join()

    def _register(self, path, interfaces):
        offered = Gio.DBusNodeInfo.new_for_xml(f"<node>{interfaces}</node>").interfaces
        self._interfaces[path] = offered[0].name
        for interface in offered:
            self._bus.register_object(path, interface, self._called, None, None)

    def _called(self, _bus, sender, path, _interface, method, arguments, invocation):
        self.sender, self.path = sender, path
        invocation.return_value(self._answer(method, arguments.unpack()))
