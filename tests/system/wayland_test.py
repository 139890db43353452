"""The window on a Wayland compositor: without a decoration, moved, resized and zoomed through the compositor; its
menus and the picker; its buttons on the side that the desktop uses; sharp where the screen is; ended with the
compositor."""

import os
import re
import subprocess
import unittest

from gi.repository import GLib

from bus import Service
from desktop import PICKER_TITLE, Desktop, Program, end, wait_for, xdotool
from scenario import Scenario

SCREEN = [1280, 900]
BACKGROUND = bytes.fromhex("336699")
MIDDLE = [length // 2 for length in SCREEN]  # lies in the window wherever it opens
LEAST_SIZE = [720, 620]
BOTTOM_RIGHT = 10  # edges of the xdg-shell protocol
TOP_LEFT = 5
PORTAL = "org.freedesktop.portal.Desktop"
WINDOW_GROUP = "org.gnome.desktop.wm.preferences"
PORTAL_INTERFACE = """<interface name="org.freedesktop.portal.Settings">
    <method name="ReadAll"><arg type="as" direction="in"/><arg type="a{sa{sv}}" direction="out"/></method>
    <signal name="SettingChanged"><arg type="s"/><arg type="s"/><arg type="v"/></signal></interface>"""


class WaylandDesktop(Desktop):
    """A desktop whose display shows one compositor, so that xdotool points and types there."""

    def start_compositor(self, *options):
        settings = self.folder / "weston.ini"
        shell = f"[shell]\npanel-position=none\nbackground-color=0xff{BACKGROUND.hex()}\n"
        settings.write_text(shell + "[input-method]\npath=\n")  # no keyboard on the screen
        socket = self.folder / "run" / "compositor"
        compositor = self.start(
            "weston", "--backend=x11-backend.so", "--use-pixman", "--fullscreen", "--idle-time=0",
            f"--config={settings}", f"--width={SCREEN[0]}", f"--height={SCREEN[1]}", f"--socket={socket.name}", *options)
        wait_for(socket.exists, "the compositor")
        wait_for(lambda: super(WaylandDesktop, self).active_window().startswith("Weston"), "the compositor's window")
        # It takes its pointer to be in this corner at first, wherever the display's is.
        xdotool("mousemove", 0, 0)
        os.environ.update(QT_QPA_PLATFORM="wayland", WAYLAND_DISPLAY=socket.name, WAYLAND_DEBUG="client")
        return compositor

    def active_window(self):
        from window import active_window  # needs the desktop's environment

        return active_window()


class Protocol:
    """What the program and its compositor say to one another, read off the program's diagnostics."""

    def __init__(self, path):
        self._path = path
        self._start = path.stat().st_size if path.exists() else 0

    def said(self, pattern):
        """The numbers in the groups of a pattern, for each message that it matches. "@" is any object's number, which
        stands behind a "#" since version 1.23 of Wayland."""
        with open(self._path, "rb") as file:
            file.seek(self._start)
            matches = re.finditer(pattern.replace("@", r"[@#]\d+"), file.read().decode(errors="replace"))
            return [[int(float(group)) for group in match.groups()] for match in matches]

    def wait_for(self, pattern):
        """The numbers of the last message that matches, as soon as there is one."""
        return wait_for(lambda: self.said(pattern), pattern)[-1]


class Wayland(Scenario):
    Desktop = WaylandDesktop

    def start(self, *options):
        self.compositor = self.desktop.start_compositor(*options)
        self.addCleanup(end, self.compositor)
        self.protocol = Protocol(self.desktop.folder / "lumaverdine.log")
        super().start()

    def test_opens_without_a_decoration_and_tells_its_least_size(self):
        self.start()
        self.assertEqual(self.size(), self.window.size())
        self.assertEqual(self.protocol.wait_for(r"xdg_toplevel@\.set_min_size\((\d+), (\d+)\)"), LEAST_SIZE)

    def test_free_part_moves_the_window(self):
        self.start()
        x, y = self.place()
        size = self.size()
        self.drag((x + 500, y + 200), (8, 4), lambda: self.desktop.pointer()[0] > x + 600)
        self.protocol.wait_for(r"xdg_toplevel@\.move")
        self.assertEqual(self.place(), [x + 104, y + 52])
        self.assertEqual(self.size(), size)

    def test_corners_resize_the_window_down_to_its_least_size(self):
        self.start()
        x, y = self.place()
        width, height = self.size()
        self.drag((x + width - 2, y + height - 2), (4, 2), lambda: self.size()[1] > height + 20)
        self.assertEqual(self.gripped(), BOTTOM_RIGHT)
        self.assertEqual(self.place(), [x, y])
        right, bottom = [start + length for start, length in zip((x, y), self.size())]
        self.drag((x + 2, y + 2), (16, 16), lambda: self.asked()[0] < 600 and self.asked()[1] < 500)
        self.assertEqual(self.gripped(), TOP_LEFT)
        self.assertEqual(self.size(), LEAST_SIZE)
        self.assertEqual(self.place(), [right - LEAST_SIZE[0], bottom - LEAST_SIZE[1]])

    def test_double_click_on_the_strip_zooms_and_restores(self):
        self.start()
        x, y = self.place()
        size = self.size()
        self.desktop.double_click(x + 300, y + 14)
        self.wait_for_zoom()
        self.desktop.double_click(300, 14)
        wait_for(lambda: self.size() == size, "the window to be restored")

    def test_buttons_zoom_and_close(self):
        self.start()
        size = self.size()
        self.click(self.place(), "Ampliar")
        self.wait_for_zoom()
        self.click((0, 0), "Restaurar")
        wait_for(lambda: self.size() == size, "the window to be restored")
        self.click(self.place(), "Cerrar")
        self.assertEqual(self.program.process.wait(5), 0)

    def test_button_minimizes(self):
        self.start()
        self.click(self.place(), "Minimizar")
        self.protocol.wait_for(r"xdg_toplevel@\.set_minimized")
        self.desktop.wait_for_window("")

    def test_menus_open_beneath_what_opens_them(self):
        self.start()
        window = self.place()
        self.click(window, "Archivo", role="menu item")
        self.assertEqual(self.popup(), self.beneath("Archivo", role="menu item"))
        self.click(window, "Añadir música…", role="menu item")
        self.desktop.wait_for_window(PICKER_TITLE)

    def test_plays_and_removes_what_is_chosen(self):
        self.tone("one.wav", 440)
        self.start()
        self.program.pick("one.wav")
        self.window.wait_for("one")
        self.desktop.key("space")
        self.capture.wait_for_pitch(440)
        window = self.place()
        self.click(window, "Más opciones")
        self.assertEqual(self.popup(), self.beneath("Más opciones"))
        self.click(window, "Eliminar todas las canciones", role="menu item")
        self.window.wait_for("La playlist está vacía")
        self.capture.wait_for_silence()

    def test_buttons_stand_where_a_portal_says_that_runs(self):
        self.start_portal("close:")
        self.start()
        wait_for(self.has_buttons_at_left, "the buttons to be at the left")
        self.assertIn(WINDOW_GROUP, self.asked_groups)

    def test_buttons_stand_where_the_portal_says(self):
        services = self.desktop.folder / "run" / "dbus-1" / "services"
        services.mkdir(parents=True, exist_ok=True)
        mark = self.desktop.folder / "portal-started"
        service = services / f"{PORTAL}.service"
        service.write_text(f"[D-BUS Service]\nName={PORTAL}\nExec=/usr/bin/touch {mark}\n")
        self.addCleanup(service.unlink)
        self.start()
        self.assertFalse(self.has_buttons_at_left())
        wait_for(mark.exists, "the portal to be started")
        portal = self.start_portal("close,minimize,maximize:")
        wait_for(self.has_buttons_at_left, "the buttons to be at the left")
        self.button_layout = "appmenu:close"
        change = (WINDOW_GROUP, "button-layout", GLib.Variant("s", self.button_layout))
        portal.emit("SettingChanged", GLib.Variant("(ssv)", change))
        wait_for(lambda: not self.has_buttons_at_left(), "the buttons to be at the right")

    def test_texts_rows_and_least_size_are_as_large_as_the_user_wants(self):
        self.tone("one.wav", 440)
        self.tone("two.wav", 440)
        portal = self.start_portal("")
        self.start_with("one.wav", "two.wav")
        distance = self.distance_of_rows()
        scale = ("org.gnome.desktop.interface", "text-scaling-factor", GLib.Variant("d", 1.5))
        portal.emit("SettingChanged", GLib.Variant("(ssv)", scale))
        wait_for(lambda: self.protocol.said(r"xdg_toplevel@\.set_min_size\((1080), (900)\)"), "the least size")
        wait_for(lambda: self.distance_of_rows() > distance, "larger rows")

    def distance_of_rows(self):
        tops = [self.window.extents(name, "list item")[1] for name in self.window.rows()]
        return tops[1] - tops[0]

    def start_portal(self, button_layout):
        self.button_layout = button_layout
        portal = Service(PORTAL, "/org/freedesktop/portal/desktop", PORTAL_INTERFACE, self.settings)
        self.addCleanup(portal.close)
        return portal

    def settings(self, _method, arguments):
        """What the portal answers: the groups that it is asked for."""
        self.asked_groups = arguments[0]
        groups = {WINDOW_GROUP: {"button-layout": GLib.Variant("s", self.button_layout)}}
        asked = {name: settings for name, settings in groups.items() if name in arguments[0]}
        return GLib.Variant("(a{sa{sv}})", (asked,))

    def has_buttons_at_left(self):
        close, menu = self.window.extents("Cerrar", "button"), self.window.extents("Archivo", "menu item")
        return close[0] < menu[0]

    def test_draws_finely_on_a_fine_screen(self):
        self.start("--scale=2")
        self.protocol.wait_for(r"wl_surface@\.set_buffer_scale\(2\)")
        buffer = self.protocol.wait_for(r"create_buffer\(new id wl_buffer@, 0, (\d+), (\d+)")
        self.assertEqual(buffer, [2 * length for length in self.size()])

    def test_corners_show_what_lies_behind(self):
        self.start()
        x, y = self.place()
        right, bottom = [start + length - 1 for start, length in zip((x, y), self.size())]
        corners = [(x, y), (right, y), (x, bottom), (right, bottom)]
        wait_for(lambda: {self.color(*corner) for corner in corners} == {BACKGROUND}, "round corners")
        self.assertNotIn(BACKGROUND, {self.color(x + 360, y), self.color(x + 4, y + 4), self.color(x + 360, bottom)})
        self.desktop.double_click(x + 300, y + 14)
        self.wait_for_zoom()
        wait_for(lambda: self.color(0, 0) != BACKGROUND, "square corners")

    def test_is_known_by_the_name_of_its_desktop_entry(self):
        self.start()
        self.protocol.wait_for(r'xdg_toplevel@\.set_app_id\("org.lumaverdine.Lumaverdine"\)')

    def test_strip_has_a_menu(self):
        self.start()
        x, y = self.place()
        xdotool("mousemove", x + 300, y + 14, "click", 3)
        self.assertEqual(self.popup(), [300, 14])
        self.click((x, y), "Maximizar", role="menu item")
        self.wait_for_zoom()

    def color(self, x, y):
        """The colour of a pixel of the screen."""
        return subprocess.check_output(
            ["import", "-silent", "-window", "root", "-crop", f"1x1+{x}+{y}", "-depth", "8", "RGB:-"])

    def test_ends_with_the_compositor(self):
        compositor = self.desktop.start_compositor()
        program = Program(self.desktop, os.environ["LUMAVERDINE"])
        self.addCleanup(end, program.process)
        end(compositor)
        self.assertIn(program.process.wait(5), (1, 255))  # as versions of the toolkit have it

    def size(self):
        return self.protocol.wait_for(r"xdg_surface@\.set_window_geometry\(0, 0, (\d+), (\d+)\)")

    def asked(self):
        """The size that the compositor has asked for last."""
        return self.protocol.wait_for(r"xdg_toplevel@\.configure\((\d+), (\d+)")

    def gripped(self):
        """The edges that the window was resized by last."""
        return self.protocol.wait_for(r"xdg_toplevel@\.resize\(.*, (\d+)\)")[0]

    def popup(self):
        """Where in the window the last menu opened."""
        return self.protocol.wait_for(r"xdg_popup@\.configure\((\d+), (\d+)")

    def entries(self):
        """The points of the window where the pointer came in."""
        return self.protocol.said(r"wl_pointer@\.enter\(\d+, wl_surface@, ([\d.]+), ([\d.]+)\)")

    def place(self):
        """Where the window lies on the screen. The program is told only where the pointer comes in."""
        xdotool("mousemove", 0, 0)
        leaves = lambda: self.protocol.said(r"wl_pointer@\.leave")
        wait_for(lambda: len(leaves()) == len(self.entries()), "the pointer to leave the window")
        xdotool("mousemove", *MIDDLE)
        entry = wait_for(lambda: len(leaves()) < len(self.entries()) and self.entries()[-1], "the pointer to come in")
        return [place - inner for place, inner in zip(MIDDLE, entry)]

    def wait_for_zoom(self):
        """Waits until the window fills the screen: then it is told of a pointer in the screen's corner."""
        def is_told():
            xdotool("mousemove", 1, 2, "mousemove", 2, 2)
            return self.protocol.said(r"wl_pointer@\.motion\(\d+, (2)\.0+, (2)\.0+\)")

        wait_for(is_told, "the window to fill the screen")
        self.assertEqual(self.size(), SCREEN)

    def drag(self, start, step, is_done):
        """Drags; the compositor has the pointer until it is let go."""
        entries = len(self.entries())
        self.desktop.drag(start, step, is_done)
        wait_for(lambda: len(self.entries()) > entries, "the pointer to come back")

    def beneath(self, name, role="button"):
        """The left end of the line under a control."""
        left, top, _, height = self.window.extents(name, role)
        return [left, top + height]

    def click(self, window, name, role="button"):
        """Clicks on a control of the window that lies at a point of the screen."""
        left, top, width, height = self.window.extents(name, role)
        self.desktop.click(window[0] + left + width // 2, window[1] + top + height // 2)


if __name__ == "__main__":
    unittest.main(verbosity=2, warnings="ignore")
