"""Windows of an X display seen from outside: found by title, looked at, clicked and typed into."""
import os
import re
import subprocess
import time
from dataclasses import dataclass


class Failure(Exception):
    """Something that was to be seen did not come."""


# Sanitizer builds and busy machines are slow; what comes at all comes well before this.
PATIENCE = float(os.environ.get("MORAVU_TOUR_PATIENCE", "60"))


def wait_for(what, condition, patience=None, pause=0.05):
    """The first true result of condition(); a Failure that names what when none comes."""
    patience = patience or PATIENCE
    end = time.monotonic() + patience
    while True:
        result = condition()
        if result:
            return result
        if time.monotonic() > end:
            raise Failure(f"{what}: not seen within {patience:.0f} s")
        time.sleep(pause)


def output_of(*command):
    return subprocess.run([*map(str, command)], stdout=subprocess.PIPE,
                          stderr=subprocess.DEVNULL, check=False).stdout


def xdotool(*arguments):
    return output_of("xdotool", *arguments).decode()


@dataclass(frozen=True)
class Area:
    """A rectangle of the screen, in pixels."""
    x: int
    y: int
    width: int
    height: int

    def inset(self, left, top, right, bottom):
        return Area(self.x + left, self.y + top,
                    self.width - left - right, self.height - top - bottom)

    def _grab(self, *target):
        # Without a frame rate ffmpeg waits for a second frame.
        return output_of("ffmpeg", "-loglevel", "error", "-f", "x11grab", "-draw_mouse", "0",
                         "-framerate", "25", "-video_size", f"{self.width}x{self.height}",
                         "-i", f"{os.environ['DISPLAY']}+{self.x},{self.y}", "-frames:v", "1",
                         *target)

    def save(self, path):
        self._grab("-y", path)

    def pixels(self):
        """Rows of three bytes for each pixel."""
        data = self._grab("-f", "rawvideo", "-pix_fmt", "rgb24", "-")
        step = self.width * 3
        return [data[start:start + step] for start in range(0, len(data), step)]

    def runs(self, colour, length):
        """The rows that hold at least length pixels of the colour in a row: (y, x) of each."""
        pattern = colour * length
        for y, row in enumerate(self.pixels()):
            x = row.find(pattern)
            if x >= 0:
                yield self.y + y, self.x + x // 3


def screen():
    width, height = map(int, xdotool("getdisplaygeometry").split())
    return Area(0, 0, width, height)


@dataclass(frozen=True)
class Window:
    id: str
    title: str

    def area(self):
        """Where the window's inside lies on the screen; no area once the window is gone."""
        text = output_of("xwininfo", "-id", self.id).decode()
        numbers = [re.search(rf"^ *{name}: *(-?\d+)", text, re.MULTILINE)
                   for name in ("Absolute upper-left X", "Absolute upper-left Y",
                                "Width", "Height")]
        return Area(*(int(number[1]) for number in numbers)) if all(numbers) else None

    def activate(self):
        xdotool("windowactivate", "--sync", self.id)

    def place(self, area):
        xdotool("windowsize", "--sync", self.id, area.width, area.height)
        xdotool("windowmove", "--sync", self.id, area.x, area.y)

    def close(self):
        """Closes the window as the desktop's own key does, so that the program may refuse."""
        self.activate()
        xdotool("key", "alt+F4")


def windows(pid):
    """The visible windows of a process that have a title."""
    ids = xdotool("search", "--all", "--onlyvisible", "--pid", pid, "--name", ".").split()
    named = (Window(number, xdotool("getwindowname", number).strip()) for number in ids)
    return [window for window in named if window.title]


def click(x, y, times=1):
    xdotool("mousemove", x, y, "click", "--repeat", times, "--delay", 60, 1)


def press(key):
    xdotool("key", key)
