"""The window without a title bar on a real window manager: moved, resized and zoomed by its own edges; the blur
behind it where one is offered; its menus on desktops with a global menu."""

import ctypes
import os
import unittest

from gi.repository import Gio, GLib

from desktop import wait_for, xdotool
from scenario import Scenario

BLUR = b"_KDE_NET_WM_BLUR_BEHIND_REGION"
REGISTRAR = "com.canonical.AppMenu.Registrar"
REGISTRAR_INTERFACE = f"""<node><interface name="{REGISTRAR}"><method name="RegisterWindow">
    <arg type="u" direction="in"/><arg type="o" direction="in"/></method></interface></node>"""


class Properties:
    """Sets and reads properties of windows on the X server."""

    def __init__(self):
        self._x = ctypes.CDLL("libX11.so.6")
        self._x.XOpenDisplay.restype = ctypes.c_void_p
        self._x.XListProperties.restype = ctypes.POINTER(ctypes.c_ulong)
        for function in ("XDefaultRootWindow", "XInternAtom"):
            getattr(self._x, function).restype = ctypes.c_ulong
        self._display = ctypes.c_void_p(self._x.XOpenDisplay(None))
        self.root = self._x.XDefaultRootWindow(self._display)

    def set(self, window, name):
        atom, cardinal = ctypes.c_ulong(self._atom(name)), ctypes.c_ulong(6)
        self._x.XChangeProperty(self._display, ctypes.c_ulong(window), atom, cardinal, 32, 0, b"\0" * 8, 1)
        self._x.XSync(self._display, 0)

    def remove(self, window, name):
        self._x.XDeleteProperty(self._display, ctypes.c_ulong(window), ctypes.c_ulong(self._atom(name)))
        self._x.XSync(self._display, 0)

    def has(self, window, name):
        count = ctypes.c_int()
        atoms = self._x.XListProperties(self._display, ctypes.c_ulong(window), ctypes.byref(count))
        return self._atom(name) in atoms[: count.value]

    def _atom(self, name):
        return self._x.XInternAtom(self._display, name, 0)


class Frame(Scenario):
    def test_strip_moves_the_window(self):
        self.start()
        x, y, *size = self.place()
        self.drag((x + 300, y + 14), (2, 1), lambda now: now[0] > x + 20 and now[1] > y + 10)
        self.assertEqual(self.place()[2:], size)

    def test_opens_high_enough_for_what_it_says(self):
        self.start()
        width, height = self.place()[2:]
        self.assertEqual(width, 720)
        self.assertTrue(720 <= height < 800, height)  # as the system's font asks for

    def test_edges_resize_the_window_down_to_its_least_size(self):
        self.start()
        x, y, width, height = self.place()
        self.drag((x + width - 2, y + height - 2), (2, 1), lambda now: now[2] > width + 40 and now[3] > height + 10)
        self.assertEqual(self.place()[:2], [x, y])
        right, bottom = (start + length for start, length in zip((x, y), self.place()[2:]))
        seen = []

        def is_far_beyond(now):
            seen.append(now[2:])
            return self.desktop.pointer()[0] > right - 500

        self.drag((x + 1, y + 1), (8, 8), is_far_beyond)
        wait_for(lambda: self.place() == [right - 720, bottom - 620, 720, 620], "the least size")
        self.assertTrue(all(width >= 720 and height >= 620 for width, height in seen))

    def test_double_click_on_the_strip_zooms_and_restores(self):
        self.start()
        x, y, *size = self.place()
        self.desktop.double_click(x + 300, y + 14)
        wait_for(lambda: self.place() == [0, 0, 1280, 900], "the window to fill the screen")
        wait_for(lambda: self.window.names("push button").count("Restaurar") == 1, "the button that restores")
        self.desktop.double_click(300, 14)
        wait_for(lambda: self.place() == [x, y, *size], "the window to be restored")

    def test_buttons_are_read_and_pressed(self):
        self.start()
        for name in ("Minimizar", "Ampliar", "Cerrar"):
            self.assertIn(name, self.window.names("push button"))
        self.window.press("Cerrar")
        self.assertEqual(self.program.process.wait(2), 0)

    def test_blur_is_asked_for_where_it_is_offered(self):
        properties = Properties()
        properties.set(properties.root, BLUR)
        self.addCleanup(properties.remove, properties.root, BLUR)
        self.start()
        wait_for(lambda: properties.has(self.handle(), BLUR), "the window to ask for blur")

    def test_no_blur_is_asked_for_elsewhere(self):
        self.start()
        self.assertFalse(Properties().has(self.handle(), BLUR))

    def test_menus_lie_in_the_window(self):
        self.start()
        self.assertIn("Archivo", self.window.names("menu item"))

    def test_menus_go_to_a_global_menu(self):
        windows = self.serve_global_menu()
        self.start()
        self.served(lambda: self.handle() in windows, "the window's menus in the global menu")
        self.assertNotIn("Archivo", self.window.names("menu item"))
        self.desktop.key("ctrl+o")
        self.desktop.wait_for_window("Añadir música")

    def serve_global_menu(self):
        """A global menu on the session bus; returns the list of the windows that register with it."""
        windows = []
        # A connection of its own: the shared one belongs to the first session bus of the process.
        flags = Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION
        bus = Gio.DBusConnection.new_for_address_sync(os.environ["DBUS_SESSION_BUS_ADDRESS"], flags, None, None)
        self.addCleanup(bus.close_sync, None)

        def called(_bus, _sender, _path, _interface, _method, parameters, invocation):
            windows.append(parameters.unpack()[0])
            invocation.return_value(None)

        interface = Gio.DBusNodeInfo.new_for_xml(REGISTRAR_INTERFACE).interfaces[0]
        bus.register_object("/com/canonical/AppMenu/Registrar", interface, called, None, None)
        request = GLib.Variant("(su)", (REGISTRAR, 0))
        bus.call_sync("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "RequestName",
                      request, None, 0, -1, None)
        return windows

    def served(self, condition, what):
        """Waits for a condition while calls from the bus are answered."""
        def step():
            while GLib.MainContext.default().iteration(False):
                pass
            return condition()

        wait_for(step, what)

    def handle(self):
        return int(xdotool("search", "--onlyvisible", "--name", "^Lumaverdine$"))

    def place(self):
        """The window's x, y, width and height on the screen."""
        lines = xdotool("getwindowgeometry", "--shell", self.handle()).splitlines()
        values = dict(line.split("=") for line in lines)
        return [int(values[name]) for name in ("X", "Y", "WIDTH", "HEIGHT")]

    def drag(self, start, step, is_done):
        """Drags until the window's place is right."""
        self.desktop.drag(start, step, lambda: is_done(self.place()))


if __name__ == "__main__":
    unittest.main(verbosity=2, warnings="ignore")
