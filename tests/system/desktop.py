"""A desktop of its own for the program under test: display, window manager, session bus, sound server, ears.

Everything it starts lives in one temporary folder and ends with it. Works as root and without a sound card.
"""

import array
import math
import os
import pathlib
import shutil
import signal
import subprocess
import tempfile
import time

RATE = 48000  # frames a second of the capture
PICKER_TITLE = "Añadir música"


class Timeout(AssertionError):
    """What was waited for did not come about."""


def wait_for(condition, what, seconds=30):
    """The first true value of `condition()`; raises Timeout naming `what` after `seconds`."""
    began = time.monotonic()
    while True:
        asked = time.monotonic()
        if value := condition():
            return value
        now = time.monotonic()
        if now > began + seconds:
            raise Timeout(f"waited {seconds} s for {what}")
        # What is costly to ask, or takes its time, is asked less often.
        time.sleep(max(0.02, 3 * (now - asked), min(0.1, (now - began) / 10)))


def xdotool(*arguments):
    """What xdotool answers: it presses keys and buttons, asks for windows."""
    return subprocess.run(["xdotool", *map(str, arguments)], check=True, capture_output=True, text=True).stdout


class Desktop:
    """Use it in a `with` statement. One a process: it sets the process's environment."""

    def __enter__(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="desktop-"))
        self.home = self._make("home")  # of the programs under test
        self.music = self._make("home/Music")
        self.processes = []
        self.sound_server = None
        for name in ("WAYLAND_DISPLAY", "SESSION_MANAGER", "QT_QPA_PLATFORM", "XAUTHORITY", "PULSE_COOKIE"):
            os.environ.pop(name, None)
        os.environ.update(
            HOME=str(self._make("services")),
            XDG_RUNTIME_DIR=str(self._make("run")),
            XDG_CONFIG_DIRS=str(self.folder / "none"),
            GSETTINGS_BACKEND="memory",
            LC_ALL="C.UTF-8",
            DBUS_SESSION_BUS_ADDRESS=f"unix:path={self.folder}/bus",
            PULSE_SERVER=f"unix:{self.folder}/sound",
        )
        try:
            self._start_display()
            self._start_session_bus()
            self.start_sound_server()
            self.capture = Capture(self)
        except BaseException:
            self.__exit__()
            raise
        return self

    def __exit__(self, *_):
        for process in reversed(self.processes):
            end(process)
        shutil.rmtree(self.folder, ignore_errors=True)

    def start(self, *command, environment=None, **keywords):
        """Starts a process that ends with the desktop, or with this one however it ends; its diagnostics go to a
        log in the folder."""
        log = open(self.folder / f"{pathlib.Path(command[0]).name}.log", "ab")
        process = subprocess.Popen(
            ["setpriv", "--pdeathsig", "TERM", *map(str, command)],
            env=os.environ | (environment or {}),
            stdin=subprocess.DEVNULL,
            stderr=log,
            **{"stdout": log, **keywords},
        )
        log.close()
        self.processes.append(process)
        return process

    def start_sound_server(self):
        """A PulseAudio that plays into nothing. Its "norewinds" keeps the idle sink from rendering ahead."""
        state = self._make("sound-state")
        self.sound_server = self.start(
            "pulseaudio", "-n", "--daemonize=no", "--exit-idle-time=-1", "--use-pid-file=no", "--disable-shm=1",
            "--realtime=no", "--high-priority=no", "--log-target=stderr",
            "-L", f"module-native-protocol-unix socket={self.folder}/sound auth-anonymous=1",
            "-L", f"module-null-sink sink_name=ears rate={RATE} channels=2 format=float32le norewinds=1",
            environment={"HOME": str(state), "PULSE_RUNTIME_PATH": str(state), "PULSE_STATE_PATH": str(state)},
        )
        answers = lambda: subprocess.run(["pactl", "info"], capture_output=True).returncode == 0
        wait_for(answers, "the sound server")

    def key(self, *keys):
        """Presses keys on the keyboard ("ctrl+o"), whatever has the focus."""
        xdotool("key", "--clearmodifiers", "--delay", 4, *keys)

    def type(self, text):
        xdotool("type", "--clearmodifiers", "--delay", 4, text)

    def active_window(self):
        """The title of the window that has the keyboard; empty for none.

        What the window manager calls active may be a window that is gone, whose number a new one has."""
        answer = subprocess.run(["xdotool", "getwindowfocus", "getwindowname"], capture_output=True)
        return answer.stdout.decode(errors="replace").strip()

    def wait_for_window(self, title, seconds=30):
        wait_for(lambda: self.active_window() == title, f"the window “{title}”", seconds)

    def pointer(self):
        """The pointer's x and y on the screen."""
        values = dict(line.split("=") for line in xdotool("getmouselocation", "--shell").splitlines())
        return int(values["X"]), int(values["Y"])

    def click(self, x, y):
        xdotool("mousemove", x, y, "click", 1)

    def double_click(self, x, y):
        xdotool("mousemove", x, y, "click", "--repeat", 2, "--delay", 50, 1)

    def drag(self, start, step, is_done):
        """Drags from a point, step by step until `is_done()`; then lets go."""
        def drag_on():
            xdotool("mousemove_relative", "--", *step)
            return is_done()

        xdotool("mousemove", *start, "mousedown", 1)
        try:
            wait_for(drag_on, "the window to follow the pointer", seconds=10)
        finally:
            xdotool("mouseup", 1)

    def close_window(self, title):
        """Asks a window to close through the window manager."""
        xdotool("search", "--onlyvisible", "--name", f"^{title}$", "windowactivate", "--sync")
        self.key("alt+F4")

    def visible_windows(self):
        """How many windows of the program show, menus included."""
        command = ["xdotool", "search", "--onlyvisible", "--class", "lumaverdine"]
        return len(subprocess.run(command, capture_output=True).stdout.split())

    def picture(self, path):
        subprocess.run(["import", "-silent", "-window", "root", str(path)], check=True)

    def _make(self, name):
        folder = self.folder / name
        folder.mkdir(mode=0o700, exist_ok=True)
        return folder

    def _start_display(self):
        server = self.start(
            "Xvfb", "-displayfd", "1", "-screen", "0", "1280x900x24", "-nolisten", "tcp", "-noreset",
            stdout=subprocess.PIPE)
        os.environ["DISPLAY"] = ":" + first_line(server)
        ready = self.folder / "window-manager-ready"
        self.start("openbox", "--sm-disable", "--startup", f"touch {ready}")
        wait_for(ready.exists, "the window manager")

    def _start_session_bus(self):
        """Of this machine's services it starts the accessibility bus only: a portal would show a picker of its own."""
        services = self.folder / "run" / "dbus-1" / "services"
        services.mkdir(parents=True)
        for accessibility in pathlib.Path("/usr/share/dbus-1/services").glob("org.a11y.Bus.service"):
            shutil.copy(accessibility, services)
        configuration = self.folder / "bus.conf"
        configuration.write_text(
            f"<busconfig><listen>{os.environ['DBUS_SESSION_BUS_ADDRESS']}</listen><servicedir>{services}</servicedir>"
            "<policy context='default'><allow send_destination='*' eavesdrop='true'/><allow eavesdrop='true'/>"
            "<allow own='*'/></policy></busconfig>")
        bus = self.start(
            "dbus-daemon", f"--config-file={configuration}", "--nofork", "--nopidfile", "--print-address=1",
            stdout=subprocess.PIPE)
        first_line(bus)


class Capture:
    """Listens to everything that the null sink plays. Positions are frames since it began to listen."""

    FRAME = 8  # bytes: two 32-bit floats

    def __init__(self, desktop):
        self.path = desktop.folder / "capture.f32"
        with open(self.path, "wb") as file:
            self.process = desktop.start(
                "parec", "-d", "ears.monitor", "--format=float32le", f"--rate={RATE}", "--channels=2",
                "--latency-msec=10", "--raw", stdout=file)
        wait_for(self.now, "the first captured sound")

    def now(self):
        return self.path.stat().st_size // self.FRAME

    def frames(self, start, end=None):
        """The left and the right channel from `start` to `end`, or to now."""
        end = self.now() if end is None else end
        both = array.array("f")
        with open(self.path, "rb") as file:
            file.seek(start * self.FRAME)
            both.frombytes(file.read(max(0, end - start) * self.FRAME))
        return both[0::2], both[1::2]

    def latest(self, seconds):
        """The left channel of the last `seconds`."""
        now = self.now()
        return self.frames(max(0, now - int(seconds * RATE)), now)[0]

    def wait_until(self, frame, seconds=30):
        wait_for(lambda: self.now() >= frame, "the capture to go on", seconds)

    def listen(self, seconds):
        """The left channel of the next `seconds`."""
        start = self.now()
        end = start + int(seconds * RATE)
        self.wait_until(end, seconds + 30)
        return self.frames(start, end)[0]

    def wait_for_pitch(self, hertz, seconds=30):
        """Waits until a tenth of a second sounds at `hertz`, within 2 %."""
        sounds = lambda: abs(pitch(self.latest(0.1)) / hertz - 1) < 0.02
        wait_for(sounds, f"a tone of {hertz} Hz", seconds)

    def wait_for_silence(self, seconds=30):
        wait_for(lambda: peak(self.latest(0.2)) < 1e-4, "silence", seconds)


def peak(samples):
    return max(map(abs, samples), default=0.0)


def pitch(samples):
    """Hertz of a pure tone, from its rising zero crossings; 0 for silence."""
    if peak(samples) < 0.01:
        return 0.0
    crossings = [
        index - samples[index] / (samples[index] - samples[index - 1])
        for index in range(1, len(samples))
        if samples[index - 1] < 0 <= samples[index]
    ]
    if len(crossings) < 2:
        return 0.0
    return (len(crossings) - 1) * RATE / (crossings[-1] - crossings[0])


def amplitude(samples):
    """The amplitude of a sine, from its power."""
    return math.sqrt(2 * sum(value * value for value in samples) / max(1, len(samples)))


class Program:
    """One run of the player, with the desktop's home as its own."""

    def __init__(self, desktop, binary, prefix=(), environment=None):
        self.desktop = desktop
        self.output = desktop.folder / f"output-{len(desktop.processes)}.txt"
        with open(self.output, "wb") as file:
            self.process = desktop.start(
                *prefix, binary, stdout=file,
                environment={"HOME": str(desktop.home), "QT_LINUX_ACCESSIBILITY_ALWAYS_ON": "1"} | (environment or {}))
        desktop.wait_for_window("Lumaverdine")

    def lines(self):
        """What it has printed on standard output."""
        return self.output.read_text(errors="replace").splitlines()

    def pick(self, *names):
        """Chooses files in the picker by keys: names in its folder, paths or addresses."""
        self.desktop.key("ctrl+o")
        self.desktop.wait_for_window(PICKER_TITLE)
        self.desktop.type(" ".join(f'"{name}"' for name in names))
        self.desktop.key("Return")
        wait_for(lambda: self.desktop.active_window() not in (PICKER_TITLE, ""), "the picker to close")

    def quit(self, seconds=10):
        """Ctrl+Q; returns how long the program took to end, in seconds."""
        began = time.monotonic()
        self.desktop.key("ctrl+q")
        self.process.wait(seconds)
        return time.monotonic() - began


def first_line(process):
    """What a process with a piped output says first: it is ready then."""
    with process.stdout as output:
        return output.readline().decode().strip()


def end(process, seconds=5):
    """Ends one process that was started here, however it resists."""
    if process.poll() is None:
        process.send_signal(signal.SIGCONT)
        process.terminate()
        try:
            process.wait(seconds)
        except subprocess.TimeoutExpired:
            process.kill()
            process.wait()
