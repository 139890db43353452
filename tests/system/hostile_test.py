"""What is no music under a name of music: admitted, one line on standard output for each failed load, no hang,
and nothing but the chosen files is opened."""

import os
import random
import re
import shutil
import unittest
import urllib.parse

from desktop import wait_for
from scenario import Scenario

LINE = "No se pudo reproducir el archivo: "


class Hostile(Scenario):
    def setUp(self):
        super().setUp()
        self.outside = self.desktop.folder / "outside"
        self.outside.mkdir(exist_ok=True)
        self.canary = self.outside / "canary.mp3"
        self.tone("tone.wav", 440).rename(self.canary)

    def write(self, name, content):
        path = self.desktop.music / name
        path.write_bytes(content if isinstance(content, bytes) else content.encode())
        return path.as_uri()

    def hostile_files(self):
        canary = self.canary.as_uri()
        os.mkfifo(self.desktop.music / "fifo.mp3")
        (self.desktop.music / "folder.mp3").mkdir()
        return [
            self.write("01 empty.mp3", b""),
            self.write("02 random.mp3", random.Random(1).randbytes(20000)),
            self.write("03 picture.mp3", b"\xff\xd8\xff\xe0\x00\x10JFIF\x00" + bytes(2000) + b"\xff\xd9"),
            self.write("04 hls.mp3", f"#EXTM3U\n#EXT-X-TARGETDURATION:10\n#EXTINF:10,\n{canary}\n#EXT-X-ENDLIST\n"),
            self.write("05 hls.m4a", f"#EXTM3U\n#EXT-X-TARGETDURATION:10\n#EXTINF:10,\n{self.canary}\n"),
            self.write("06 concat.mp3", f"ffconcat version 1.0\nfile '{self.canary}'\n"),
            self.write("07 session.mp3", "v=0\no=- 0 0 IN IP4 127.0.0.1\ns=x\nc=IN IP4 127.0.0.1\nm=audio 5004 RTP/AVP 0\n"),
            self.write("08 text.wav", "no sound at all"),
            (self.desktop.music / "fifo.mp3").as_uri(),
            (self.desktop.music / "folder.mp3").as_uri(),
            (self.desktop.music / "vanished.mp3").as_uri(),
            "file:///dev/zero",
        ]

    def play_every_row(self, count):
        """Plays one row after the other by keys, waiting for the line that each of them prints."""
        self.wait_for_lines(1)  # of the first one's loading, when it was admitted
        self.desktop.click(*self.window.middle_of_row(0))
        for index in range(count):
            self.desktop.key("Return")
            self.wait_for_lines(index + 2)
            self.desktop.key("Down")

    def wait_for_lines(self, count):
        wait_for(lambda: len(self.program.lines()) >= count, f"line {count} of standard output")

    def test_each_is_listed_and_each_failed_load_prints_one_line(self):
        files = self.hostile_files()
        self.start_with(*files)
        self.play_every_row(len(files))
        self.assertEqual(len(self.program.lines()), len(files) + 1)
        for line in self.program.lines():
            self.assertRegex(line, f"^{LINE}.+")
        self.assertTrue(self.window.shows("Sin reproducción"))

    def test_a_good_file_among_them_plays(self):
        self.start_with(self.write("01 empty.mp3", b""), self.canary.as_uri())
        self.desktop.click(*self.window.middle_of_row(1))
        self.desktop.key("Return")
        self.capture.wait_for_pitch(440)

    def test_failed_loads_are_survived_without_a_standard_output(self):
        bad, good = self.write("01 empty.mp3", b""), self.canary.as_uri()
        for redirection in (">&-", ">&- 2>&-", "> >(true)", "> >(true) 2>&1", ">/dev/full"):
            with self.subTest(redirection):
                noisy = {"QT_LOGGING_RULES": "qt.core.library.debug=true"}  # on standard error
                self.start_with(bad, good, prefix=["bash", "-c", f'exec "$0" {redirection}'], environment=noisy)
                self.desktop.click(*self.window.middle_of_row(1))
                self.desktop.key("Return")
                self.capture.wait_for_pitch(440)
                self.program.quit()
                self.capture.wait_for_silence()

    def test_nothing_but_the_chosen_files_is_opened(self):
        trace = self.desktop.folder / "opened.txt"
        files = self.hostile_files()
        calls = "trace=open,openat,openat2,connect"
        self.start_with(*files, prefix=["strace", "-f", "--seccomp-bpf", "-o", trace, "-e", calls])
        self.play_every_row(len(files))
        self.program.quit()
        text = trace.read_text(errors="replace")
        self.assertIn("04 hls.mp3", text)
        self.assertNotIn(str(self.outside), text)
        self.assertIsNone(re.search(r"sa_family=AF_INET6?\b", text))

    def mapped_libraries(self):
        """The files that the program runs code from."""
        lines = open(f"/proc/{self.program.process.pid}/maps").read().splitlines()
        return {line.split(maxsplit=5)[5] for line in lines if ".so" in line}

    def test_libraries_in_the_folder_where_it_is_started_are_left_alone(self):
        self.tone("a.wav", 440)
        self.start_with("a.wav")
        planted = self.desktop.folder / "planted"
        planted.mkdir()
        for library in self.mapped_libraries():
            shutil.copy(library, planted)
        self.assertGreater(len(list(planted.glob("*libpulse*"))), 0)
        self.program.quit()
        self.start_with("a.wav", prefix=["env", "-C", planted])
        self.desktop.key("space")
        self.capture.wait_for_pitch(440)
        planted_ones = [path for path in self.mapped_libraries() if path.startswith(str(planted))]
        self.program.quit()
        self.assertEqual(planted_ones, [])

    def test_names_of_any_bytes_are_opened_as_they_are(self):
        path = os.fsencode(self.desktop.music) + b"/100% #1? \xff\xc3.wav"
        os.rename(self.tone("plain.wav", 440), path)
        self.start_with("file://" + urllib.parse.quote(path))
        self.desktop.key("space")
        self.capture.wait_for_pitch(440)


if __name__ == "__main__":
    unittest.main(verbosity=2, warnings="ignore")
