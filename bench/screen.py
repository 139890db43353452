"""A bare screen that tells when a program has painted: no window manager, a background of one odd colour."""

import ctypes
import os
import subprocess
import time

from desktop import Timeout, first_line

BACKGROUND = 0xFF00FF
ROW = (500, 450, 200, 1)  # x, y, width, height of the pixels watched: inside a window wherever it is placed
ALL_PLANES = ctypes.c_ulong(-1)
Z_PIXMAP = 2


class Screen:
    """Watches a display server of its own, which ends with the desktop that started it."""

    def __init__(self, desktop):
        server = desktop.start(
            "Xvfb", "-displayfd", "1", "-screen", "0", "1280x900x24", "-nolisten", "tcp", "-noreset",
            stdout=subprocess.PIPE)
        self.name = ":" + first_line(server)
        self._x = ctypes.CDLL("libX11.so.6")
        for function in ("XOpenDisplay", "XDefaultRootWindow", "XGetImage", "XGetPixel"):
            getattr(self._x, function).restype = ctypes.c_void_p if function != "XGetPixel" else ctypes.c_ulong
        self._display = ctypes.c_void_p(self._x.XOpenDisplay(self.name.encode()))
        self._root = ctypes.c_void_p(self._x.XDefaultRootWindow(self._display))
        self._x.XSetWindowBackground(self._display, self._root, ctypes.c_ulong(BACKGROUND))
        self._x.XClearWindow(self._display, self._root)
        self.wait_until_bare()

    def environment(self):
        return {"DISPLAY": self.name}

    def wait_until_painted(self):
        """Returns once a program has painted all of the pixels watched."""
        self._wait_for(lambda pixels: BACKGROUND not in pixels)

    def wait_until_bare(self):
        self._wait_for(lambda pixels: pixels == {BACKGROUND})

    def _wait_for(self, condition, seconds=30):
        deadline = time.monotonic() + seconds
        while not condition(self._pixels()):
            if time.monotonic() > deadline:
                raise Timeout("waited for the screen to change")
            time.sleep(0.0005)

    def _pixels(self):
        image = ctypes.c_void_p(self._x.XGetImage(self._display, self._root, *ROW, ALL_PLANES, Z_PIXMAP))
        pixels = {self._x.XGetPixel(image, x, 0) & 0xFFFFFF for x in range(0, ROW[2], 8)}
        self._x.XDestroyImage(image)
        return pixels
