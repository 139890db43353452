"""The window without a title bar on a real window manager: moved, resized and zoomed by its own edges; its
menus on desktops with a global menu."""

import configparser
import ctypes
import pathlib
import re
import struct
import subprocess
import unittest

from gi.repository import GLib

from bus import Service
from desktop import wait_for, xdotool
from scenario import Scenario

PROJECT = pathlib.Path(__file__).resolve().parent.parent.parent
REGISTRAR = "com.canonical.AppMenu.Registrar"
REGISTRAR_INTERFACE = f"""<interface name="{REGISTRAR}">
    <method name="RegisterWindow"><arg type="u" direction="in"/><arg type="o" direction="in"/></method>
    <method name="UnregisterWindow"><arg type="u" direction="in"/></method></interface>"""
PORTAL = "org.freedesktop.portal.Desktop"
SETTINGS_INTERFACE = """<interface name="org.freedesktop.portal.Settings">
    <method name="ReadAll"><arg type="as" direction="in"/><arg type="a{sa{sv}}" direction="out"/></method></interface>"""
ROLES = dict.fromkeys(("Archivo", "Reproducción"), "menu item") | dict.fromkeys(
    ("Minimizar", "Ampliar", "Cerrar"), "button")
DEFAULT_STRIP = list(ROLES)


class Properties:
    """Sets properties of windows on the X server."""

    def __init__(self):
        self._x = ctypes.CDLL("libX11.so.6")
        self._x.XOpenDisplay.restype = ctypes.c_void_p
        for function in ("XDefaultRootWindow", "XInternAtom", "XCreateSimpleWindow", "XGetPixel"):
            getattr(self._x, function).restype = ctypes.c_ulong
        self._x.XGetImage.restype = ctypes.c_void_p
        self._display = ctypes.c_void_p(self._x.XOpenDisplay(None))
        self.root = self._x.XDefaultRootWindow(self._display)

    def set(self, window, name, value=b""):
        atom = ctypes.c_ulong(self._atom(name))  # of its type, too
        self._x.XChangeProperty(self._display, ctypes.c_ulong(window), atom, atom, 8, 0, value, len(value))
        self._x.XSync(self._display, 0)

    def own(self, selection):
        """A new window that owns a selection and has said so."""
        root, owned = ctypes.c_ulong(self.root), ctypes.c_ulong(self._atom(selection))
        window = self._x.XCreateSimpleWindow(self._display, root, 0, 0, 1, 1, 0, ctypes.c_ulong(0), ctypes.c_ulong(0))
        self._x.XSetSelectionOwner(self._display, owned, ctypes.c_ulong(window), ctypes.c_ulong(0))
        manager = self._atom(b"MANAGER")
        message = struct.pack("iLiPLLi5l", 33, 0, 0, 0, self.root, manager, 32, 0, owned.value, window, 0, 0)
        self._x.XSendEvent(self._display, root, 0, ctypes.c_long(1 << 17), message.ljust(192, b"\0"))
        self._x.XSync(self._display, 0)
        return window

    def pixel(self, window, x, y):
        """The value of a pixel of a window, with its opacity in the highest byte."""
        image = ctypes.c_void_p(
            self._x.XGetImage(self._display, ctypes.c_ulong(window), x, y, 1, 1, ctypes.c_ulong(0xFFFFFFFF), 2))
        value = self._x.XGetPixel(image, 0, 0)
        self._x.XDestroyImage(image)
        return value

    def close(self):
        """Also takes away the windows that were made."""
        self._x.XCloseDisplay(self._display)

    def _atom(self, name):
        return self._x.XInternAtom(self._display, name, 0)


def published(layout):
    """The settings of a desktop: a number, then its layout of window buttons."""
    name, value = b"Gtk/DecorationLayout", layout.encode()
    text = struct.pack("<BxH", 1, len(name)) + name + struct.pack("<II", 0, len(value)) + value
    number = struct.pack("<BxH12sIi", 0, 12, b"Net/Distance", 0, 8)
    return struct.pack("<B3xII", 0, 0, 2) + number + text + b"\0" * (-len(value) % 4)


class Frame(Scenario):
    def test_strip_moves_the_window(self):
        self.start()
        x, y, *size = self.place()
        self.drag((x + 300, y + 14), (4, 2), lambda now: now[0] > x + 20 and now[1] > y + 10)
        self.assertEqual(self.place()[2:], size)

    def test_opens_high_enough_for_what_it_says(self):
        self.start()
        width, height = self.place()[2:]
        self.assertEqual(width, 720)
        self.assertTrue(720 <= height < 800, height)  # as the system's font asks for

    def test_edges_resize_the_window_down_to_its_least_size(self):
        self.start()
        x, y, width, height = self.place()
        self.drag((x + width - 2, y + height - 2), (4, 2), lambda now: now[2] > width + 40 and now[3] > height + 10)
        self.assertEqual(self.place()[:2], [x, y])
        right, bottom = (start + length for start, length in zip((x, y), self.place()[2:]))
        seen = []

        def is_far_beyond(now):
            seen.append(now[2:])
            return self.desktop.pointer()[0] > right - 500

        self.drag((x + 1, y + 1), (16, 16), is_far_beyond)
        wait_for(lambda: self.place() == [right - 720, bottom - 620, 720, 620], "the least size")
        self.assertTrue(all(width >= 720 and height >= 620 for width, height in seen))

    def test_double_click_on_the_strip_zooms_and_restores(self):
        self.start()
        x, y, *size = self.place()
        self.desktop.double_click(x + 300, y + 14)
        wait_for(lambda: self.place() == [0, 0, 1280, 900], "the window to fill the screen")
        wait_for(lambda: self.window.names("button").count("Restaurar") == 1, "the button that restores")
        self.desktop.double_click(300, 14)
        wait_for(lambda: self.place() == [x, y, *size], "the window to be restored")

    def test_buttons_are_read_and_pressed(self):
        self.start()
        for name in ("Minimizar", "Ampliar", "Cerrar"):
            self.assertIn(name, self.window.names("button"))
        self.window.press("Cerrar")
        self.assertEqual(self.program.process.wait(2), 0)

    def test_menus_lie_in_the_window(self):
        self.start()
        self.assertIn("Archivo", self.window.names("menu item"))

    def test_buttons_stand_where_the_desktop_has_them(self):
        desktop = Properties()
        self.addCleanup(desktop.close)
        settings = desktop.own(b"_XSETTINGS_S0")
        desktop.set(settings, b"_XSETTINGS_SETTINGS", published("close,maximize,minimize:menu"))
        self.start()
        self.assertEqual(self.strip(), ["Cerrar", "Ampliar", "Minimizar", "Archivo", "Reproducción"])
        desktop.set(settings, b"_XSETTINGS_SETTINGS", published("menu:minimize,maximize,close"))
        wait_for(lambda: self.strip() == DEFAULT_STRIP, "the buttons to change sides")

    def test_buttons_move_when_the_desktop_begins_to_say_where(self):
        self.start()
        self.assertEqual(self.strip(), DEFAULT_STRIP)
        desktop = Properties()
        self.addCleanup(desktop.close)
        settings = desktop.own(b"_XSETTINGS_S0")
        desktop.set(settings, b"_XSETTINGS_SETTINGS", published("close:"))
        left = ["Cerrar", "Minimizar", "Ampliar", "Archivo", "Reproducción"]
        wait_for(lambda: self.strip() == left, "the buttons to change sides")

    def test_the_portal_is_believed_before_the_x_server(self):
        desktop = Properties()
        self.addCleanup(desktop.close)
        desktop.set(desktop.own(b"_XSETTINGS_S0"), b"_XSETTINGS_SETTINGS", published("close:"))
        asked = []
        portal = Service(PORTAL, "/org/freedesktop/portal/desktop", SETTINGS_INTERFACE,
                         lambda *_: asked.append(1) or GLib.Variant("(a{sa{sv}})", ({},)))
        self.addCleanup(portal.close)
        self.start()
        wait_for(lambda: asked, "the question")
        self.assertEqual(self.strip(), ["Cerrar", "Minimizar", "Ampliar", "Archivo", "Reproducción"])
        layout = ("org.gnome.desktop.wm.preferences", "button-layout", GLib.Variant("s", "menu:close"))
        portal.emit("SettingChanged", GLib.Variant("(ssv)", layout))
        wait_for(lambda: self.strip() == DEFAULT_STRIP, "the buttons to change sides")

    def test_a_theme_that_the_user_names_makes_the_window_dark(self):
        theme = {"QT_QPA_PLATFORMTHEME": "gtk3", "GTK_THEME": "Adwaita:dark", "NO_AT_BRIDGE": "1"}
        self.start(environment=theme)
        screen = Properties()
        self.addCleanup(screen.close)
        wait_for(lambda: screen.pixel(self.handle(), 360, 2) & 0xFF < 0x40, "a dark window")

    def test_corners_are_round_while_there_is_a_compositor(self):
        self.start()
        screen, window = Properties(), self.handle()
        self.addCleanup(screen.close)
        right, bottom = [length - 1 for length in self.place()[2:]]
        corners = [(0, 0), (right, 0), (0, bottom), (right, bottom)]
        opacity = lambda places: {screen.pixel(window, *place) >> 24 for place in places}
        self.assertEqual(opacity([*corners, (4, 0), (360, 0), (360, 300)]), {255})
        compositor = Properties()
        compositor.own(b"_NET_WM_CM_S0")
        wait_for(lambda: opacity(corners) == {0}, "round corners")
        self.assertEqual(opacity([(360, 0), (0, 300), (360, 300), (360, bottom)]), {255})
        self.window.press("Ampliar")
        wait_for(lambda: self.place() == [0, 0, 1280, 900], "the window to fill the screen")
        wait_for(lambda: opacity([(0, 0), (1279, 899)]) == {255}, "square corners")
        self.window.press("Restaurar")
        wait_for(lambda: opacity(corners) == {0}, "round corners again")
        # KWin says so at once when it suspends, and keeps the selection for a while.
        kwin = Service("org.kde.KWin", "/Compositor", "<interface name='org.kde.kwin.Compositing'/>", None)
        self.addCleanup(kwin.close)
        kwin.emit("compositingToggled", GLib.Variant("(b)", (False,)))
        wait_for(lambda: opacity(corners) == {255}, "square corners under a compositor that is suspended")
        kwin.emit("compositingToggled", GLib.Variant("(b)", (True,)))
        wait_for(lambda: opacity(corners) == {0}, "round corners under one that is resumed")
        compositor.close()
        wait_for(lambda: opacity(corners) == {255}, "no pixel that shows what lies behind")

    def test_is_one_program_to_the_desktop(self):
        self.start()
        show = lambda name: subprocess.check_output(["xprop", "-id", str(self.handle()), name], text=True)
        self.assertIn('"lumaverdine", "lumaverdine"', show("WM_CLASS"))
        self.assertEqual(re.findall(r"Icon \((\d+) x", show("_NET_WM_ICON")), ["16", "32", "64"])
        maps = pathlib.Path(f"/proc/{self.program.process.pid}/maps").read_text()
        self.assertIn("/plugins/platforms/", maps)
        self.assertNotIn("/imageformats/", maps)  # which may be missing

    def test_desktop_entry_names_the_program(self):
        path = PROJECT / "packaging/org.lumaverdine.Lumaverdine.desktop"
        entry = configparser.ConfigParser(interpolation=None)
        entry.read(path)
        values = {name: entry["Desktop Entry"].get(name) for name in ("exec", "tryexec", "startupwmclass", "icon")}
        self.assertEqual(values, dict.fromkeys(values, "lumaverdine") | {"icon": path.stem})
        self.assertTrue((path.parent / f"{path.stem}.svg").exists())
        self.assertEqual(entry["Desktop Entry"].get("x-gnome-singlewindow"), "true")

    def test_menus_go_to_a_global_menu(self):
        windows = []
        note = lambda method, arguments: windows.append(arguments[0]) if method == "RegisterWindow" else None
        self.addCleanup(Service(REGISTRAR, "/com/canonical/AppMenu/Registrar", REGISTRAR_INTERFACE, note).close)
        self.start()
        self.assertIn(self.handle(), windows)
        self.assertNotIn("Archivo", self.window.names("menu item"))
        self.desktop.key("ctrl+o")
        self.desktop.wait_for_window("Añadir música")

    def strip(self):
        """The names of the buttons and menus in the strip, from left to right."""
        pieces = [node for node in self.window.showing() if ROLES.get(node.get_name()) == self.window.role_of(node)]
        return [node.get_name() for node in sorted(pieces, key=lambda node: self.window.node_extents(node)[0])]

    def handle(self):
        return int(xdotool("search", "--onlyvisible", "--name", "^Lumaverdine$"))

    def place(self):
        """The window's x, y, width and height on the screen."""
        lines = xdotool("search", "--onlyvisible", "--name", "^Lumaverdine$", "getwindowgeometry", "--shell")
        values = dict(line.split("=") for line in lines.splitlines())
        return [int(values[name]) for name in ("X", "Y", "WIDTH", "HEIGHT")]

    def drag(self, start, step, is_done):
        """Drags until the window's place is right."""
        self.desktop.drag(start, step, lambda: is_done(self.place()))


if __name__ == "__main__":
    unittest.main(verbosity=2, warnings="ignore")
