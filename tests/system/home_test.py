"""Nothing is kept: a run in which files were picked and played leaves the home folder as it was, on every desktop."""

import hashlib
import os
import re
import unittest

from desktop import wait_for
from scenario import Scenario

# GTK would be a second program of the same process on the accessibility bus.
GTK = {"QT_QPA_PLATFORMTHEME": "gtk3", "NO_AT_BRIDGE": "1"}
# What desktops tell their programs.
DESKTOPS = {
    "none": {},
    "GNOME": {"XDG_CURRENT_DESKTOP": "GNOME", "XDG_SESSION_DESKTOP": "gnome", "DESKTOP_SESSION": "gnome",
              "GNOME_DESKTOP_SESSION_ID": "this-is-deprecated"} | GTK,
    "XFCE": {"XDG_CURRENT_DESKTOP": "XFCE", "DESKTOP_SESSION": "xfce"} | GTK,
    "KDE": {"XDG_CURRENT_DESKTOP": "KDE", "DESKTOP_SESSION": "plasma", "KDE_FULL_SESSION": "true",
            "KDE_SESSION_VERSION": "5", "QT_QPA_PLATFORMTHEME": "kde"},
}
# The user's settings are where they are outside of tests.
REAL_SETTINGS = ("env", "-u", "GSETTINGS_BACKEND", "-u", "XDG_CONFIG_DIRS")

# Calls that change a file or a folder, as strace writes them; the devices keep nothing.
CHANGES = re.compile(
    r"O_WRONLY|O_RDWR|O_CREAT| (creat|mkdir|mknod|link|symlink|rename|unlink|rmdir|truncate|f?chmod|[fl]?chown|f?utime)\w*\(")
DEVICES = re.compile(r'"/dev/(null|zero)"')



class Home(Scenario):
    def tree(self):
        """Everything below the home folder: kind, size, time of change and content."""
        tree = {}
        for path in sorted(self.desktop.home.rglob("*")):
            status = path.lstat()
            content = hashlib.sha256(path.read_bytes()).hexdigest() if path.is_file() else ""
            tree[str(path)] = (status.st_mode, status.st_size, status.st_mtime_ns, content)
        return tree

    def test_picking_and_playing_leaves_the_home_as_it_was(self):
        for desktop, environment in DESKTOPS.items():
            with self.subTest(desktop):
                self.check_a_run_on(environment)

    def check_a_run_on(self, environment):
        for name, hertz in (("a.wav", 440), ("b.wav", 660)):
            self.tone(name, hertz)
        before = self.tree()
        self.assertEqual(len(before), 3, list(before))
        self.start_with("a.wav", "b.wav", environment=environment, prefix=REAL_SETTINGS)
        self.check_theme(environment)
        self.desktop.key("space")
        self.capture.wait_for_pitch(440)
        self.window.set_value("Volumen", 50)
        self.program.pick("a.wav", "b.wav")
        self.desktop.wait_for_window("Lumaverdine")
        self.desktop.key("ctrl+Right")
        self.capture.wait_for_pitch(660)
        self.program.quit()
        self.capture.wait_for_silence()
        self.assertEqual(self.tree(), before)

    def test_nothing_is_written_anywhere(self):
        self.tone("a.wav", 440)
        trace = self.desktop.folder / "trace"
        tracer = ["strace", "-f", "--seccomp-bpf", "-z", "-o", trace, "-e", "trace=%file"]
        self.start_with("a.wav", prefix=[*tracer, *REAL_SETTINGS])
        self.desktop.key("space")
        self.capture.wait_for_pitch(440)
        self.program.quit()
        calls = trace.read_text().splitlines()
        self.assertTrue(any("a.wav" in call for call in calls))
        self.assertEqual([call for call in calls if CHANGES.search(call) and not DEVICES.search(call)], [])

    def check_theme(self, environment):
        """GTK's platform theme is installed for this test; with it, the picker could be GTK's own."""
        maps = open(f"/proc/{self.program.process.pid}/maps").read()
        self.assertEqual("libqgtk3.so" in maps, environment.get("QT_QPA_PLATFORMTHEME") == "gtk3")

    def test_no_desktop_has_its_toolkit_loaded(self):
        for theme in ("", "one-that-is-not-installed"):
            self.start_unread(environment=DESKTOPS["GNOME"] | {"QT_QPA_PLATFORMTHEME": theme, "QT_STYLE_OVERRIDE": "gtk3"})
            maps = open(f"/proc/{self.program.process.pid}/maps").read()
            self.assertIn("libQt6Widgets", maps)
            for library in ("libqgtk3", "libgtk-", "libKF"):
                self.assertNotIn(library, maps)
            self.program.quit()

    def test_nor_does_a_run_without_a_session_bus(self):
        before = self.tree()
        starter = self.desktop.folder / "programs" / "dbus-launch"  # what the bus library would call to have a bus
        mark = self.desktop.folder / "bus-started"
        starter.parent.mkdir()
        starter.write_text(f"#!/bin/sh\ntouch {mark}\nexit 1\n")
        starter.chmod(0o700)
        bus = {"DBUS_SESSION_BUS_ADDRESS": "", "PATH": f"{starter.parent}:{os.environ['PATH']}"}
        self.start_unread(environment=bus)
        self.desktop.key("ctrl+o")
        wait_for(lambda: self.desktop.visible_windows() == 2, "the picker")
        self.desktop.key("Escape")
        self.desktop.wait_for_window("Lumaverdine")
        self.program.quit()
        self.assertEqual(self.tree(), before)
        self.assertFalse(mark.exists(), "a bus has been started")

    def test_the_users_own_bus_is_joined_if_none_is_named(self):
        own = self.desktop.folder / "run" / "bus"
        own.symlink_to(self.desktop.folder / "bus")
        self.addCleanup(own.unlink)
        self.start(environment={"DBUS_SESSION_BUS_ADDRESS": ""})  # and read over that bus

    def test_no_session_is_taken_part_in(self):
        self.start(environment={"SESSION_MANAGER": "local/here:@/tmp/.ICE-unix/0"})
        self.assertNotIn("Session management", (self.desktop.folder / "lumaverdine.log").read_text())


if __name__ == "__main__":
    unittest.main(verbosity=2, warnings="ignore")
