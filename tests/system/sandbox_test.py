"""The player inside a sandbox with the holes of Flatpak's manifest: it reads only what was picked, and misses nothing.

One desktop a process: each other class is run by its name.
"""

import itertools
import json
import os
import pathlib
import re
import shutil
import subprocess
import tempfile
import unittest

from gi.repository import GLib

import admission_test
import desktop
import frame_test
import playback_test
import wayland_test
from desktop import wait_for, xdotool
from mpris_test import MEDIA, NAME, PLAYER, Shell
from portal import Portal
from scenario import Scenario

HERE = pathlib.Path(__file__).resolve().parent
PROJECT = HERE.parent.parent
ID = "org.lumaverdine.Lumaverdine"
MANIFEST = PROJECT / "packaging" / "flatpak" / f"{ID}.yml"


class Program(desktop.Program):
    """The player in the sandbox. What is picked, the portal hands over as documents: each time as new ones."""

    documents = itertools.count(1)

    def __init__(self, desktop, binary, portal, **keywords):
        self.portal = portal
        super().__init__(desktop, binary, prefix=(HERE / "sandbox",), **keywords)

    def pick(self, *names):
        before = len(self.portal.all("OpenFile"))
        self.desktop.key("ctrl+o")
        wait_for(lambda: len(self.portal.all("OpenFile")) > before, "the portal to be asked")
        handle, (*_, options) = self.portal.all("OpenFile")[-1]
        assert b"/doc/" not in bytes(options.get("current_folder", b"")), options
        uris = [name if ":" in name else self.document(self.desktop.music / name) for name in names]
        self.portal.respond(handle, 0, {"uris": GLib.Variant("as", uris)})

    def document(self, file):
        name = f"{next(self.documents):08x}/{file.name}"
        granted = self.desktop.folder / "run" / "doc" / "by-app" / ID / name
        granted.parent.mkdir()
        shutil.copy(file, granted)
        os.setxattr(granted, "user.document-portal.host-path", bytes(file))
        return pathlib.Path(f"/run/user/{os.getuid()}/doc", name).as_uri()


class Inside(Scenario):
    def start_unread(self, **keywords):
        self.portal = Portal({"org.freedesktop.appearance": {"color-scheme": GLib.Variant("u", 1)}})
        self.addCleanup(self.portal.close)
        self.program = Program(self.desktop, os.environ["LUMAVERDINE"], self.portal, **keywords)
        self.addCleanup(self._end_program)

    def _end_program(self):
        super()._end_program()
        wait_for(lambda: self.desktop.visible_windows() == 0, "the sandbox to end behind its process")


class Playback(Inside, playback_test.Playback):
    pass


class Wayland(Inside):
    Desktop = wayland_test.WaylandDesktop

    def test_window_is_there_where_no_x_server_is_seen(self):
        self.addCleanup(desktop.end, self.desktop.start_compositor())
        self.start()
        self.window.wait_for("Sin canciones")


class Sandbox(Inside, admission_test.Admission):
    # These are about the toolkit's dialog, which is never shown in a sandbox.
    test_a_location_on_another_machine_is_reported = None
    test_cancelling_leaves_everything_as_it_was = None
    test_the_window_plays_on_behind_the_open_picker = None

    def setUp(self):
        super().setUp()
        self.shell = Shell(os.environ["DBUS_SESSION_BUS_ADDRESS"])

    def test_only_what_was_picked_can_be_read(self):
        file = self.tone("a.wav", 440)
        self.start()
        self.program.pick(file.as_uri())
        wait_for(self.program.lines, "the failure")
        self.assertEqual(self.program.lines(), ["No se pudo reproducir el archivo: El archivo no existe."])

    def test_documents_have_their_tags_and_covers(self):
        shutil.copy(MEDIA / "id3v2.3.mp3", self.desktop.music / "c.mp3")
        self.start_with("c.mp3")
        self.window.wait_for("Portada")
        self.shell.wait_for_player()
        cover = wait_for(lambda: self.shell.get("Metadata").get("mpris:artUrl"), "the cover")
        self.assertEqual(self.shell.get("Metadata")["xesam:artist"], ["Artist 2.3"])
        folder, _, name = cover.rpartition("/")
        self.assertEqual(folder, f"file:///run/user/{os.getuid()}/app/{ID}")
        file = self.desktop.folder / "run" / "app" / ID / name
        self.assertIn(file.read_bytes(), (MEDIA / "id3v2.3.mp3").read_bytes())
        self.program.quit()
        self.assertFalse(file.exists())

    def test_desktop_is_kept_awake_and_followed(self):
        self.tone("a.wav", 440)
        self.start_with("a.wav")
        screen = frame_test.Properties()
        self.addCleanup(screen.close)
        window = int(xdotool("search", "--onlyvisible", "--name", "^Lumaverdine$"))
        wait_for(lambda: screen.pixel(window, 360, 2) & 0xFF < 0x40, "a dark window")
        self.shell.wait_for_player()
        self.shell.ask(PLAYER, "Play")
        self.capture.wait_for_pitch(440)
        wait_for(lambda: self.portal.all("Inhibit"), "suspend to be inhibited")
        self.shell.ask(PLAYER, "Pause")
        wait_for(lambda: self.portal.closed == ["Inhibit"], "suspend to be allowed")
        self.program.quit()
        kept = [file for file in self.desktop.home.rglob("*") if file.is_file()]
        self.assertEqual(kept, [self.desktop.music / "a.wav"])

    def test_second_player_takes_a_name_that_no_process_number_tells(self):
        self.start()
        self.shell.wait_for_player()
        second = Program(self.desktop, os.environ["LUMAVERDINE"], self.portal)
        self.addCleanup(desktop.end, second.process)
        names = lambda: self.shell.ask(
            "org.freedesktop.DBus", "ListNames", None, "org.freedesktop.DBus", "/org/freedesktop/DBus").unpack()[0]
        name = wait_for(lambda: next((n for n in names() if n.startswith(f"{NAME}.instance")), None), "its name")
        self.assertGreater(int(name.removeprefix(f"{NAME}.instance")), 2**32)
        self.assertEqual(self.shell.get("PlaybackStatus", name), "Stopped")


class Manifest(unittest.TestCase):
    def test_manifest_is_read_and_builds_the_ffmpeg_of_the_other_packages(self):
        with tempfile.TemporaryDirectory() as folder:  # for what it leaves behind
            command = ["flatpak-builder", "--show-manifest", MANIFEST]
            shown = subprocess.run(command, check=True, capture_output=True, cwd=folder)
        ffmpeg = json.loads(shown.stdout)["modules"][0]["sources"][0]
        values = dict(re.findall(r"^(\w+)=(\S+)$", (PROJECT / "decoder" / "ffmpeg.conf").read_text(), re.MULTILINE))
        self.assertEqual(ffmpeg["sha256"], values["sha256"])
        self.assertTrue(ffmpeg["url"].endswith(f"/ffmpeg-{values['version']}.tar.xz"), ffmpeg["url"])


if __name__ == "__main__":
    unittest.main(defaultTest=("Sandbox", "Manifest"), verbosity=2, warnings="ignore")
