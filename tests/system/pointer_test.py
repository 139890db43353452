"""What the pointer meets in the real window: rows that show in part, menus and where they lie, what lights up under
it, the alert and the picker side by side."""

import subprocess
import unittest

from desktop import PICKER_TITLE, wait_for, xdotool
from scenario import Scenario

ALERT = "No se pudieron importar los archivos"
SCREEN = (1280, 900)
TITLE_BAR = 18  # points at least that the window manager puts above a window


class Pointer(Scenario):
    def start_with_tracks(self, count):
        names = [f"{number:02}.wav" for number in range(count)]
        for name in names:
            self.tone(name, 440, seconds=0.1)
        self.start_with(*names)

    def test_click_on_a_row_that_shows_in_part_scrolls_nothing(self):
        self.start_with_tracks(16)
        x, y, *_ = self.rows()[0]
        xdotool("mousemove", x + 200, y + 20, "click", "--repeat", 1, 5)
        wait_for(lambda: self.rows()[0][1] < y, "the list to scroll")
        hidden = self.rows()
        top = y - 10  # of the list
        cut = next(row for row in hidden if row[1] < top < row[1] + row[3] - 4)
        self.desktop.click(cut[0] + 200, (top + cut[1] + cut[3]) // 2)
        self.capture.listen(1)  # longer than a second click could take
        self.assertEqual(self.rows(), hidden)

    def test_second_click_on_any_ellipsis_removes_nothing(self):
        self.start_with_tracks(8)
        xdotool("windowsize", "--sync", self.handle(), 720, 860)
        window = self.place(self.handle())
        squares = self.ellipses()
        self.assertGreater(len(squares), 4)
        for number, square in enumerate(squares):
            for second in (squares[(number + 1) % len(squares)], square):
                self.desktop.click(*square)
                menu = self.place(self.wait_for_menu())
                self.assertTrue(contains(window, menu), (window, menu))
                self.desktop.click(*second)
                self.close_menus()
        self.assertEqual(len(self.window.rows()), 8)

    def test_buttons_light_up_only_while_the_pointer_is_over_them(self):
        self.start_with_tracks(3)
        button = self.extents("Más opciones")
        self.move_away()
        unlit = self.look(button)
        for place in (button, self.square(self.ellipses()[1])):
            self.move_away()
            idle = self.look(place)
            xdotool("mousemove", *middle(place))
            wait_for(lambda: self.look(place) != idle, "what is under the pointer to light up")
            xdotool("click", 1)
            self.wait_for_menu()
            self.move_away()
            self.close_menus()
            wait_for(lambda: self.look(place) == idle, "the light to go out with the menu")
        self.desktop.click(*middle(button))
        xdotool("mousemove", *middle(self.place(self.wait_for_menu())), "click", 1)
        wait_for(lambda: not self.window.rows(), "the list to be empty")
        wait_for(lambda: self.look(button) == unlit, "the light to go out with the menu that was used")

    def test_alert_opens_over_the_window_and_on_the_screen(self):
        self.start()
        width, height = self.place(self.handle())[2:]
        right, bottom = SCREEN[0] - width, SCREEN[1] - height
        for x, y in ((0, 0), (right, bottom), (right // 2, bottom // 2), (-500, 100), (1100, 100), (200, 800)):
            xdotool("windowmove", self.handle(), x, y)
            wait_for(lambda: self.place(self.handle())[:2] == (x, y), "the window to move")
            self.program.pick("smb://servidor/a.mp3")
            self.window.wait_for("Aceptar")
            alert = wait_for(lambda: self.settled(self.alert_handle()), "the alert to come to rest")
            self.assertTrue(contains((0, TITLE_BAR, SCREEN[0], SCREEN[1] - TITLE_BAR), alert), alert)
            if 0 <= x <= right and 0 <= y <= bottom:
                self.assertLess(abs(middle(alert)[0] - (x + width // 2)), 5)
                self.assertLess(abs(middle(alert)[1] - (y + height // 2)), 25)
            self.desktop.key("Escape")
            wait_for(lambda: not self.window.shows("Aceptar"), "the alert to close")

    def test_picker_works_under_the_alert_and_leaves_it_alone(self):
        self.start()
        self.tone("a.wav", 440, seconds=1)
        self.program.pick("smb://servidor/a.mp3")
        self.window.wait_for(ALERT)
        self.desktop.click(*middle(self.extents("Añadir archivos de audio")))
        self.desktop.wait_for_window(PICKER_TITLE)
        self.desktop.click(*middle(self.extents("Cancelar")))
        wait_for(lambda: not self.window.shows("Cancelar"), "the picker to close")
        self.assertTrue(self.window.shows(ALERT))
        self.desktop.click(*middle(self.extents("Seleccionar música…")))
        self.desktop.wait_for_window(PICKER_TITLE)
        self.window.press("Aceptar")
        wait_for(lambda: not self.window.shows("Aceptar"), "the alert to close")
        self.desktop.wait_for_window(PICKER_TITLE)
        self.desktop.type('"a.wav"')
        self.desktop.key("Return")
        wait_for(lambda: len(self.window.rows()) == 1, "the track in the list")

    # The window

    def handle(self):
        """The player's window, not the alert, which has its title."""
        return min(self.windows("^Lumaverdine$"), key=lambda window: -self.place(window)[2])

    def alert_handle(self):
        return min(self.windows("^Lumaverdine$"), key=lambda window: self.place(window)[2])

    def windows(self, title):
        return xdotool("search", "--onlyvisible", "--name", title).split()

    def place(self, window):
        """Left, top, width and height on the screen."""
        lines = xdotool("getwindowgeometry", "--shell", window).splitlines()
        values = dict(line.split("=") for line in lines)
        return tuple(int(values[name]) for name in ("X", "Y", "WIDTH", "HEIGHT"))

    def settled(self, window):
        """Its place, once it is asked for twice the same."""
        place = self.place(window)
        return place if self.place(window) == place else None

    def wait_for_menu(self):
        """The window of the menu that opens."""
        wait_for(lambda: self.desktop.visible_windows() == 2, "the menu")
        known = self.handle()
        windows = xdotool("search", "--onlyvisible", "--class", "lumaverdine").split()
        return next(window for window in windows if window != known)

    def close_menus(self):
        """The second click may have opened another one."""
        def are_closed():
            self.desktop.key("Escape")
            return self.desktop.visible_windows() == 1

        wait_for(are_closed, "the menus to close")

    def move_away(self):
        x, y, width, _ = self.place(self.handle())
        xdotool("mousemove", x + width // 2, y + 14)

    def look(self, place):
        """The pixels of a part of the screen."""
        left, top, width, height = place
        part = f"{width}x{height}+{left}+{top}"
        return subprocess.check_output(["import", "-silent", "-window", "root", "-crop", part, "-depth", "8", "rgb:-"])

    # Pieces on the screen

    def extents(self, name):
        return self.window.screen_extents(lambda node: (node.get_name(), self.window.role_of(node)) == (name, "button"))

    def rows(self):
        return [self.window.node_extents(node) for node in self.window.row_nodes()]

    def ellipses(self):
        """The middles of the ellipses that show as a whole, with the list's padding, from top to bottom."""
        x, y, width, height = self.place(self.handle())
        return [(left + length - 25, top + high // 2) for left, top, length, high in self.rows()
                if top + high < y + height - 5]

    def square(self, center):
        return center[0] - 13, center[1] - 13, 26, 26


def contains(outer, inner):
    return (outer[0] <= inner[0] and outer[1] <= inner[1] and inner[0] + inner[2] <= outer[0] + outer[2]
            and inner[1] + inner[3] <= outer[1] + outer[3])


def middle(place):
    return place[0] + place[2] // 2, place[1] + place[3] // 2


if __name__ == "__main__":
    unittest.main(verbosity=2, warnings="ignore")
