"""The program and the local drive as processes, seen through their windows and diagnostics."""
import json
import os
import subprocess
import threading
import urllib.request
from pathlib import Path
from typing import NamedTuple

from desktop import PATIENCE, Failure, wait_for, windows


class Process:
    """A program whose output is read line by line, and kept in a file."""

    def __init__(self, name, command, environment, folder):
        self.lines = []
        self._file = open(folder / f"{name}.log", "a", encoding="utf-8")
        self.name = name
        self.process = subprocess.Popen(
            [*map(str, command)], env=environment, stdin=subprocess.DEVNULL,
            stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, encoding="utf-8",
            errors="replace")
        self._reader = threading.Thread(target=self._read, daemon=True)
        self._reader.start()

    def _read(self):
        for line in self.process.stdout:
            self.lines.append(line.rstrip("\n"))
            self._file.write(line)
            self._file.flush()

    def said(self, text, after=0):
        """The number of the first line from after on that holds the text, counted from 1."""
        return next((number for number, line in enumerate(self.lines[after:], after + 1)
                     if text in line), 0)

    def wait_said(self, text, after=0):
        def look():
            if self.process.poll() is not None and not self._reader.is_alive():
                if not self.said(text, after):
                    raise Failure(f"{self.name} ended with {self.process.returncode} "
                                  f'before it said "{text}"')
            return self.said(text, after)
        return wait_for(f'{self.name} saying "{text}"', look)

    def end(self, patience=PATIENCE):
        try:
            return self.process.wait(patience)
        except subprocess.TimeoutExpired:
            raise Failure(f"{self.name} did not end within {patience:.0f} s") from None

    def stop(self):
        if self.process.poll() is None:
            self.process.terminate()
            try:
                self.process.wait(10)
            except subprocess.TimeoutExpired:
                self.process.kill()
        self._reader.join(5)
        self.process.stdout.close()
        self._file.close()


class Addresses(NamedTuple):
    """Where the program finds its services."""
    platform: str
    backend: str


class Service(Process):
    """A server that says where it listens; base is its address."""

    def __init__(self, name, command, folder):
        super().__init__(name, command, dict(os.environ), folder)
        number = self.wait_said("listening on ")
        self.base = self.lines[number - 1].split()[-1]


class LocalDrive(Service):
    """A local drive with a product backend before it."""

    def __init__(self, binary, folder, *arguments):
        secret = folder / "control-secret"
        application = folder / "application"
        super().__init__("localdrive", [binary, "--secret-file", secret, "--application",
                                        application, *arguments], folder)
        self._headers = {"Authorization": f"Bearer {secret.read_text().strip()}",
                         "Content-Type": "application/json"}
        self.backend = Service("backend", [
            Path(binary).with_name("moravu-backend"), "--application", application, "--platform",
            self.base, "--port", 0, "--report-log", folder / "reports.log"], folder)
        self.addresses = Addresses(self.base, self.backend.base)

    def stop(self):
        self.backend.stop()
        super().stop()

    def steer(self, route, **body):
        """Posts to /control/."""
        request = urllib.request.Request(f"{self.base}/control/{route}", headers=self._headers,
                                         data=json.dumps(body).encode())
        with urllib.request.urlopen(request) as reply:
            return json.load(reply)


class Program(Process):
    """The program with a home folder of its own, in a Chinese locale; found by no other start
    unless the arguments say so."""

    def __init__(self, binary, home, addresses, folder, arguments=("--new-instance",)):
        self.home = home
        home.mkdir(parents=True, exist_ok=True)
        environment = {name: value for name, value in os.environ.items()
                       if not name.startswith(("QT_", "MORAVU_", "XDG_", "LC_"))}
        environment |= {
            "HOME": str(home), "LANG": "zh_CN.UTF-8", "LC_ALL": "zh_CN.UTF-8",
            "QT_QPA_PLATFORM": "xcb", "QT_LOGGING_RULES": "default.debug=true",
            "QT_ASSUME_STDERR_HAS_CONSOLE": "1",
            "MORAVU_OPENAPI_BASE": addresses.platform, "MORAVU_WEB_BASE": addresses.platform,
            "MORAVU_BACKEND_BASE": addresses.backend}
        super().__init__("program", [binary, *arguments], environment, folder)

    def window(self, title):
        """The window whose title starts with the text, once it is shown."""
        def look():
            if self.process.poll() is not None:
                raise Failure(f"the program ended with {self.process.returncode} "
                              f'before it showed "{title}"')
            return next((window for window in windows(self.process.pid)
                         if window.title.startswith(title) and window.area()), None)
        return wait_for(f'a window "{title}..."', look)

    def shows(self, title):
        return any(window.title.startswith(title) for window in windows(self.process.pid))

    def has_loaded(self, library):
        with open(f"/proc/{self.process.pid}/maps", encoding="utf-8") as maps:
            return library in maps.read()

    def settings(self):
        path = self.home / "moravu/mrsettings.ini"
        return path.read_text(encoding="utf-8") if path.exists() else ""
